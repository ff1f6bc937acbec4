// Launches whose fork fails. This program defines its own fork(), which
// the library's launchers call instead of the system's: it fails with a
// chosen errno while a test asks for it and forwards to the system's fork
// otherwise. A program of its own, so that no other test runs with it.

#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstring>

#include "kiv_exefile.hpp"
#include "kiv_process.hpp"
#include "kiv_test_support.hpp"

namespace {

int gs_forkErrno = 0;  // 0: fork works
int gs_forkCalls = 0;

using ForkFunction = pid_t (*)();

ForkFunction systemFork() {
  static ForkFunction function = [] {
    void* symbol = ::dlsym(RTLD_NEXT, "fork");
    ForkFunction result = nullptr;
    std::memcpy(&result, &symbol, sizeof result);
    return result;
  }();
  return function;
}

// Makes fork fail with `error` while it lives.
class ForkFailure {
 public:
  explicit ForkFailure(int error) { gs_forkErrno = error; }
  ~ForkFailure() { gs_forkErrno = 0; }
  ForkFailure(const ForkFailure&) = delete;
  ForkFailure& operator=(const ForkFailure&) = delete;
};

bool sigchldIgnored() {
  struct sigaction current {};
  ::sigaction(SIGCHLD, nullptr, &current);
  return current.sa_handler == SIG_IGN;
}

}  // namespace

extern "C" pid_t fork(void) {
  ++gs_forkCalls;
  if (gs_forkErrno != 0) {
    errno = gs_forkErrno;
    return -1;
  }
  return systemFork()();
}

namespace {

TEST(ForkFailureTest, SyncLaunchReportsOutOfMemory) {
  const KivClExeFile exe("/bin/true");
  KivClNewSyncProcess run(exe);
  const int callsBefore = gs_forkCalls;
  {
    ForkFailure failure(ENOMEM);
    EXPECT_FALSE(run.launch());
  }
  EXPECT_EQ(gs_forkCalls, callsBefore + 1);
  EXPECT_KIV_ERROR(run, PROCESS_COULD_NOT_LAUNCH, OUT_OF_MEMORY);
  EXPECT_EQ(run.getExitCode(), ENOMEM);
}

TEST(ForkFailureTest, SyncLaunchReportsOtherFailureAsUnknownProcess) {
  const KivClExeFile exe("/bin/true");
  KivClNewSyncProcess run(exe);
  {
    ForkFailure failure(EAGAIN);
    EXPECT_FALSE(run.launch());
  }
  EXPECT_KIV_ERROR(run, PROCESS_COULD_NOT_LAUNCH, UNKNOWN_PROCESS);
  EXPECT_EQ(run.getExitCode(), EAGAIN);
}

TEST(ForkFailureTest, SyncLaunchSucceedsOnceForkWorksAgain) {
  const KivClExeFile exe("/bin/sh");
  KivClNewSyncProcess run(exe);
  run.addArgument("-c");
  run.addArgument("exit 6");
  {
    ForkFailure failure(ENOMEM);
    ASSERT_FALSE(run.launch());
  }
  EXPECT_TRUE(run.launch());
  EXPECT_KIV_NO_ERROR(run);
  EXPECT_EQ(run.getExitCode(), 6);
}

TEST(ForkFailureTest, AsyncLaunchReportsErrnoAsProcessIdAndKeepsSigchld) {
  const KivClExeFile exe("/bin/true");
  KivClNewAsyncProcess outOfMemory(exe);
  {
    ForkFailure failure(ENOMEM);
    EXPECT_FALSE(outOfMemory.launch());
  }
  EXPECT_KIV_ERROR(outOfMemory, PROCESS_COULD_NOT_LAUNCH, OUT_OF_MEMORY);
  EXPECT_EQ(outOfMemory.getProcessId(), ENOMEM);

  KivClNewAsyncProcess tooMany(exe);
  {
    ForkFailure failure(EAGAIN);
    EXPECT_FALSE(tooMany.launch());
  }
  EXPECT_KIV_ERROR(tooMany, PROCESS_COULD_NOT_LAUNCH, UNKNOWN_PROCESS);
  EXPECT_EQ(tooMany.getProcessId(), EAGAIN);
  // The disposition changes only after a successful fork.
  EXPECT_FALSE(sigchldIgnored());
}

}  // namespace
