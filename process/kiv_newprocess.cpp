// Launchers: the argument stream and the synchronous and asynchronous
// launch over fork and execve.

#include <errno.h>
#include <signal.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "kiv_base.hpp"
#include "kiv_exefile.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_process.hpp"

extern "C" char** environ;

namespace {

// The status of a child that ended with exit status 255: how the child
// reports an execve that failed.
constexpr int gs_nExecFailedStatus = 0xFF00;

// The child side of a launch; never returns. Runs between fork and execve
// in a copy of the caller's process, so it must not unwind into the
// caller's code: every way out ends the child.
[[noreturn]] void runChild(const char* path, const char* arguments, std::uint32_t count,
                           bool ignoreChildSignal) {
  char** argv = nullptr;
  try {
    argv = static_cast<char**>(kivMalloc((static_cast<std::size_t>(count) + 1) * sizeof(char*)));
  } catch (...) {
    std::exit(-1);
  }
  // The stream holds the arguments back to back, each ended by its NUL.
  const char* next = arguments;
  for (std::uint32_t i = 0; i < count; ++i) {
    argv[i] = const_cast<char*>(next);
    next += std::strlen(next) + 1;
  }
  argv[count] = nullptr;
  if (ignoreChildSignal) ::signal(SIGCHLD, SIG_IGN);
  ::execve(path, argv, environ);
  kivFree(argv);
  std::exit(-1);
}

// wait() for any child, repeated when a signal interrupts it. The status
// stays 0 when there is nothing to collect.
int waitForAnyChild() {
  int status = 0;
  while (::wait(&status) == -1 && errno == EINTR) {
  }
  return status;
}

}  // namespace

// ---------------------------------------------------------------------------
// KivClNewProcessABase
// ---------------------------------------------------------------------------

KivClNewProcessABase::KivClNewProcessABase(const KivClExeFile& executable)
    : m_error{},
      m_rclExecutable(executable),
      m_pchArguments(nullptr),
      m_ulArgumentsLength(0),
      m_ulArgumentsCapacity(0),
      m_ulArgumentCount(0) {
  addArgument(executable.getAsCString());
}

KivClNewProcessABase::~KivClNewProcessABase() { kivFree(m_pchArguments); }

void KivClNewProcessABase::appendToStream(const char* bytes, std::size_t count) {
  const std::size_t needed = m_ulArgumentsLength + count;
  if (needed > m_ulArgumentsCapacity) {
    std::size_t capacity = m_ulArgumentsCapacity < 64 ? 64 : m_ulArgumentsCapacity;
    while (capacity < needed) capacity *= 2;
    // A fresh block rather than kivRealloc: a user memory manager may have
    // no reallocation function. The stream stays as it was when this throws.
    char* grown = static_cast<char*>(kivMalloc(capacity));
    if (m_ulArgumentsLength != 0) std::memcpy(grown, m_pchArguments, m_ulArgumentsLength);
    kivFree(m_pchArguments);
    m_pchArguments = grown;
    m_ulArgumentsCapacity = capacity;
  }
  if (count != 0) std::memcpy(m_pchArguments + m_ulArgumentsLength, bytes, count);
  m_ulArgumentsLength = needed;
}

void KivClNewProcessABase::addArgument(const char* text) {
  if (text == nullptr) return;
  appendToStream(text, std::strlen(text) + 1);
  ++m_ulArgumentCount;
}

void KivClNewProcessABase::addArgument(long value) {
  char buffer[KIV_TOA_BUFFER_SIZE_64];
  kivLtoa(value, buffer);
  addArgument(buffer);
}

void KivClNewProcessABase::addArgument(unsigned long value) {
  char buffer[KIV_TOA_BUFFER_SIZE_64];
  kivULtoa(value, buffer);
  addArgument(buffer);
}

void KivClNewProcessABase::prepareLaunch() {
  m_error = {KIV_PROCESS_COULD_NOT_LAUNCH, KivEnErrorClass::UNKNOWN_PROCESS};
  appendToStream("", 1);
}

std::int32_t KivClNewProcessABase::startChild(bool ignoreChildSignalInChild, int& forkErrno) {
  prepareLaunch();
  // Whatever the C streams still buffer would otherwise be in the child's
  // copy too, and a child that cannot exec flushes it a second time when it
  // exits.
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid == -1) {
    forkErrno = errno;
    if (forkErrno == ENOMEM) m_error.errorClass = KivEnErrorClass::OUT_OF_MEMORY;
    return -1;
  }
  if (pid == 0) {
    runChild(m_rclExecutable.getAsCString(), m_pchArguments, m_ulArgumentCount,
             ignoreChildSignalInChild);
  }
  forkErrno = 0;
  return static_cast<std::int32_t>(pid);
}

// ---------------------------------------------------------------------------
// KivClNewSyncProcess
// ---------------------------------------------------------------------------

KivClNewSyncProcess::KivClNewSyncProcess(const KivClExeFile& executable)
    : KivClNewProcessABase(executable), m_llExitCode(0) {}

KivClNewSyncProcess::~KivClNewSyncProcess() = default;

bool KivClNewSyncProcess::launch() {
  int forkErrno = 0;
  if (startChild(false, forkErrno) == -1) {
    m_llExitCode = forkErrno;
    return false;
  }
  // Any child: whichever child of the process ends first is collected.
  const int status = waitForAnyChild();
  if (status == gs_nExecFailedStatus) return false;
  m_error = {};
  m_llExitCode = status >> 8;
  return true;
}

// ---------------------------------------------------------------------------
// KivClNewAsyncProcess
// ---------------------------------------------------------------------------

KivClNewAsyncProcess::KivClNewAsyncProcess(const KivClExeFile& executable)
    : KivClNewProcessABase(executable), m_lProcessId(0) {}

KivClNewAsyncProcess::~KivClNewAsyncProcess() = default;

bool KivClNewAsyncProcess::launch() {
  int forkErrno = 0;
  const std::int32_t pid = startChild(true, forkErrno);
  if (pid == -1) {
    m_lProcessId = forkErrno;
    return false;
  }
  // From now on the system reaps the children of this process, so this
  // child never becomes a zombie; a later synchronous wait collects nothing.
  ::signal(SIGCHLD, SIG_IGN);
  int status = 0;
  ::waitpid(pid, &status, WNOHANG);
  m_error = {};
  m_lProcessId = pid;
  return true;
}
