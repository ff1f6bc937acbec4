/// \file
/// KIV Library: processes and process launching.
///
/// Small property classes carry the id of a process (KivClProcessProperty)
/// and of a thread (KivClThreadProperty); KivClProcess ends another process.
/// A launcher (KivClNewSyncProcess, KivClNewAsyncProcess) runs an executable
/// (KivClExeFile, kiv_exefile.hpp) with an argument list built up argument by
/// argument:
///
/// ~~~{.cpp}
///   KivClExeFile exe("sh");               // completed along "PATH"
///   KivClNewSyncProcess run(exe);         // argument 0: the executable's name
///   run.addArgument("-c");
///   run.addArgument("exit 3");
///   if (run.launch()) code = run.getExitCode();   // 3
/// ~~~
///
/// Steps of every launch: the error is set to PROCESS_COULD_NOT_LAUNCH /
/// UNKNOWN_PROCESS in advance and one more NUL is appended to the argument
/// stream (prepareLaunch); all buffered C output streams are flushed
/// (fflush(NULL)) so that the child does not write them a second time; then
/// fork. The child builds its argument array with the memory manager
/// (kivMalloc) and calls execve with the executable's name text and the
/// current environment. There is NO search along "PATH" at this point: the
/// name was completed when the KivClExeFile was made, and a bare name that was
/// not found there is run relative to the current directory. When execve
/// fails, the child frees the array and calls exit(-1), so it ends with
/// status 255 (and runs the process's exit handlers, as exit does).
///
/// Synchronous launch: the parent waits for ANY child of the process (wait),
/// not only for the one it started. A status of 0xFF00 (exit status 255) is
/// taken for a failed execve: launch() returns false with the error set in
/// advance. Otherwise the error is cleared and the exit code is the status
/// shifted right by 8.
///
/// Asynchronous launch: the child sets SIGCHLD to "ignore" before execve, so
/// the program started inherits that disposition; the parent sets SIGCHLD to
/// "ignore" for the whole calling process (so that the system reaps its
/// children and none becomes a zombie), calls waitpid(pid, WNOHANG) once,
/// clears the error and keeps the child's process id. A failed execve is not
/// seen by an asynchronous launch: it returns true with the id of a child
/// that ends at once with status 255.
///
/// Deliberately unusual, kept so (do not "fix"):
///   - A program that itself exits with 255 is reported as not launched.
///   - The synchronous wait collects whichever child ends first: a child that
///     the caller started otherwise and that has ended (or ends first) is
///     taken for the launched program, whose own status is then left
///     uncollected.
///   - After any asynchronous launch the calling process ignores SIGCHLD for
///     good. A later synchronous launch then waits until every child of the
///     process has ended and collects no status at all: it returns true with
///     exit code 0 whatever the program did (also for a program that could
///     not be run). Its result is not meaningful; the library does not
///     restore the disposition.
///   - A child ended by a signal has a status below 256, so a synchronous
///     launch reports success with exit code 0 for it.
///   - Each launch appends one more NUL to the argument stream. The argument
///     count does not change, so a second launch runs with the same arguments,
///     and arguments added after a launch follow an empty one: a launcher with
///     "a", launched, then given "b" runs the second time with "a" and the
///     empty text ("b" is beyond the count). Build a fresh launcher per run.
///
/// Descriptors: every descriptor the library itself opens (files, streams,
/// catalogs, directory walks, dynamic libraries) is close-on-exec, so a
/// launched program inherits none of them. Descriptors that the caller
/// opened without close-on-exec are inherited as usual.
///
/// Result fields: the exit code (synchronous) and the process id
/// (asynchronous) are 0 before any launch. When fork fails they hold errno,
/// and the error class is OUT_OF_MEMORY for ENOMEM, else UNKNOWN_PROCESS.
/// A synchronous launch reported as not launched leaves the exit code as it
/// was.
///
/// Choices made here where the rules leave room:
///   - A wait interrupted by a signal (EINTR) is repeated. When the wait
///     fails otherwise (there is no child to collect, see above) the status
///     counts as 0.
///   - When the argument array cannot be allocated in the child, the memory
///     manager's exception is caught in the child and the child ends through
///     exit(-1) like a failed execve: an exception must not travel back into
///     the caller's code running in a copy of the caller's process.
///   - KivClProcess::kill refuses the ids 0 and above 2147483647 (they are
///     not process ids; kill(2) would take them for the process group or for
///     every process) with PROCESS_COULD_NOT_KILL / INVALID_DATA.
///   - addArgument also takes int and unsigned int (forwarded to the long and
///     unsigned long forms), so that a literal such as 3 is not ambiguous.
///
/// Ownership: a launcher refers to its executable without owning it; the
/// executable must outlive the launcher. The argument stream is owned by the
/// launcher and allocated through the memory manager; addArgument throws the
/// manager's KivClExceptionFatal when memory is exhausted (the stream is then
/// unchanged). Failure: launch() and kill() report through the object's
/// last-error record and their bool result; nothing else fails. Thread
/// safety: none. fork in a process with several threads copies only the
/// calling thread; the SIGCHLD disposition is process-wide.
#ifndef KIV_PROCESS_HPP
#define KIV_PROCESS_HPP

#include <cstddef>
#include <cstdint>

#include "kiv_error.hpp"
#include "kiv_export.hpp"

class KivClExeFile;

/// The id of a process.
class KIV_EXPORT KivClProcessProperty {
 public:
  /// The current process (getpid()).
  KivClProcessProperty() noexcept;
  /// The process with the given id.
  explicit KivClProcessProperty(std::uint32_t processId) noexcept : m_ulProcessId(processId) {}

  /// The process id.
  std::uint32_t getProcessId() const noexcept { return m_ulProcessId; }

 protected:
  std::uint32_t m_ulProcessId;  ///< the platform's pid_t value
};

/// The id of a thread. The library runs no threads of its own, so the
/// default is 0.
class KIV_EXPORT KivClThreadProperty {
 public:
  /// Thread id 0.
  KivClThreadProperty() noexcept : m_ulThreadId(0) {}
  /// The given thread id.
  explicit KivClThreadProperty(std::uint32_t threadId) noexcept : m_ulThreadId(threadId) {}

  /// The thread id.
  std::uint32_t getThreadId() const noexcept { return m_ulThreadId; }

 private:
  std::uint32_t m_ulThreadId;
};

/// A process that can be ended. The error record is cleared at
/// construction.
class KIV_EXPORT KivClProcess : public KivClProcessProperty {
 public:
  /// The current process.
  KivClProcess() noexcept : m_error{} {}
  /// The process with the given id.
  explicit KivClProcess(std::uint32_t processId) noexcept
      : KivClProcessProperty(processId), m_error{} {}

  /// Sends SIGTERM (signal 15) to the process. The error is set to
  /// PROCESS_COULD_NOT_KILL / INVALID_DATA in advance; on success it is
  /// cleared and the result is true. False when the signal could not be sent
  /// (no such process, no permission) and for the ids 0 and above
  /// 2147483647, which name no single process. kill() of the current process
  /// ends it unless SIGTERM is handled.
  bool kill() noexcept;

  /// The result of the last kill(); both fields 0 after a success.
  const _KivStError& getLastError() const noexcept { return m_error; }

 private:
  _KivStError m_error;
};

/// Common part of the launchers: the executable, the argument stream and the
/// launch steps up to fork and execve (see the banner).
class KIV_EXPORT KivClNewProcessABase {
 public:
  virtual ~KivClNewProcessABase();

  /// Runs the executable with the arguments added so far. True when the
  /// program was started (and, for a synchronous launch, did not report a
  /// failed execve); the result field and the last error tell more.
  virtual bool launch() = 0;

  /// Appends `text` as the next argument; a null text is ignored (the
  /// empty text is an argument). Throws KivClExceptionFatal when memory is
  /// exhausted.
  void addArgument(const char* text);
  /// Appends `value` in decimal ("-42") as the next argument.
  void addArgument(long value);
  /// Appends `value` in decimal as the next argument.
  void addArgument(unsigned long value);
  /// addArgument(long(value)).
  void addArgument(int value) { addArgument(static_cast<long>(value)); }
  /// addArgument((unsigned long)value).
  void addArgument(unsigned int value) { addArgument(static_cast<unsigned long>(value)); }

  /// First step of every launch: sets the error to PROCESS_COULD_NOT_LAUNCH
  /// / UNKNOWN_PROCESS in advance and appends one more NUL to the argument
  /// stream (see the banner for what that does to later arguments).
  void prepareLaunch();

  /// Number of arguments in the stream, the program name included (1 after
  /// construction).
  std::uint32_t getArgumentCount() const noexcept { return m_ulArgumentCount; }
  /// The executable that is run.
  const KivClExeFile& getExecutable() const noexcept { return m_rclExecutable; }
  /// The result of the last launch; both fields 0 before any launch and
  /// after a success.
  const _KivStError& getLastError() const noexcept { return m_error; }

  KivClNewProcessABase(const KivClNewProcessABase&) = delete;
  KivClNewProcessABase& operator=(const KivClNewProcessABase&) = delete;

 protected:
  /// Clears the error and makes the executable's name text the first
  /// argument. `executable` is not owned and must outlive the launcher.
  explicit KivClNewProcessABase(const KivClExeFile& executable);

  /// Steps 1 to 4 of a launch: prepareLaunch(), fflush(NULL), fork; the
  /// child execs (setting SIGCHLD to ignore first when
  /// `ignoreChildSignalInChild`) and never returns. Returns the child's id
  /// in the parent, or -1 when fork failed: the error class then tells
  /// ENOMEM (OUT_OF_MEMORY) from other errors and `forkErrno` holds errno.
  std::int32_t startChild(bool ignoreChildSignalInChild, int& forkErrno);

  _KivStError m_error;  ///< result of the last launch

 private:
  void appendToStream(const char* bytes, std::size_t count);

  const KivClExeFile& m_rclExecutable;  ///< what to run (not owned)
  char* m_pchArguments;                 ///< the arguments, each followed by a NUL
  std::size_t m_ulArgumentsLength;      ///< bytes used in m_pchArguments
  std::size_t m_ulArgumentsCapacity;    ///< bytes allocated for m_pchArguments
  std::uint32_t m_ulArgumentCount;      ///< arguments in the stream, name included
};

/// Runs a program and waits for a child of the process to end - any child,
/// not necessarily the program it started (see the banner).
class KIV_EXPORT KivClNewSyncProcess : public KivClNewProcessABase {
 public:
  /// A launcher for `executable` (not owned); exit code 0.
  explicit KivClNewSyncProcess(const KivClExeFile& executable);
  ~KivClNewSyncProcess() override;

  /// Starts the program and waits for a child of the process to end. The
  /// wait takes ANY child (wait(), kept so on purpose): in a process with
  /// other children, one of them that ends first is taken for the program,
  /// and its status gives the result and the exit code. False when fork
  /// failed or the child collected ended with status 255 (a failed execve
  /// or a program that exits with 255).
  bool launch() override;

  /// The exit code of the last successful launch (0 before any launch), or
  /// errno when fork failed.
  std::int64_t getExitCode() const noexcept { return m_llExitCode; }

 private:
  std::int64_t m_llExitCode;
};

/// Starts a program without waiting for it (see the banner: the calling
/// process ignores SIGCHLD from then on).
class KIV_EXPORT KivClNewAsyncProcess : public KivClNewProcessABase {
 public:
  /// A launcher for `executable` (not owned); process id 0.
  explicit KivClNewAsyncProcess(const KivClExeFile& executable);
  ~KivClNewAsyncProcess() override;

  /// Starts the program and returns at once. False only when fork failed.
  bool launch() override;

  /// The id of the child started by the last successful launch (0 before
  /// any launch), or errno when fork failed.
  std::int32_t getProcessId() const noexcept { return m_lProcessId; }

 private:
  std::int32_t m_lProcessId;
};

#endif
