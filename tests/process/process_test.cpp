// Process and thread properties, ending processes, and launching programs
// synchronously and asynchronously with real child processes.
//
// The arguments a child received are checked with kiv_test_child, which
// writes them to a file. Asynchronous launches make the whole process ignore
// SIGCHLD for good, so every test that launches asynchronously runs inside a
// death test (a child process of its own) and reports through its exit code:
// the rest of this program keeps the default disposition.

#include "kiv_process.hpp"

#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "kiv_alloc_support.hpp"
#include "kiv_child_support.hpp"
#include "kiv_exefile.hpp"
#include "kiv_test_support.hpp"

namespace {

constexpr const char* kChild = KIV_TEST_CHILD_PATH;

// ---------------------------------------------------------------------------
// Helpers
// ---------------------------------------------------------------------------

bool fileExists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

using kivtest::readFile;

void writeFile(const std::string& path, const std::string& text, mode_t mode) {
  std::ofstream(path, std::ios::binary) << text;
  ::chmod(path.c_str(), mode);
}

// What kiv_test_child recorded: its SIGCHLD disposition and its arguments.
struct ChildRecord {
  std::string sigchld;
  std::vector<std::string> arguments;
};

ChildRecord readRecord(const std::string& path) {
  const std::string text = readFile(path);
  ChildRecord record;
  const std::size_t newline = text.find('\n');
  if (newline == std::string::npos) return record;
  record.sigchld = text.substr(0, newline);
  for (std::size_t start = newline + 1; start < text.size();) {
    const std::size_t end = text.find('\0', start);
    if (end == std::string::npos) break;
    record.arguments.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return record;
}

// Polls until `condition` holds or about ten seconds have passed.
template <class Condition>
bool eventually(Condition condition) {
  for (int i = 0; i < 1000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return condition();
}

std::string procDir(pid_t pid) { return "/proc/" + std::to_string(pid); }

// The state letter and parent id from /proc/<pid>/stat ('?' and -1 when the
// process is gone).
struct ProcStat {
  char state = '?';
  pid_t parent = -1;
};

ProcStat readProcStat(pid_t pid) {
  const std::string text = readFile(procDir(pid) + "/stat");
  ProcStat stat;
  const std::size_t paren = text.rfind(')');
  if (paren == std::string::npos) return stat;
  std::istringstream fields(text.substr(paren + 1));
  long parent = -1;
  fields >> stat.state >> parent;
  stat.parent = static_cast<pid_t>(parent);
  return stat;
}

bool sigchldIgnored() {
  struct sigaction current {};
  ::sigaction(SIGCHLD, nullptr, &current);
  return current.sa_handler == SIG_IGN;
}

// Inside a death test: a failed check prints itself and ends the child
// with exit code 1, which the death test reports together with the text.
#define CHILD_CHECK(condition)                                                     \
  do {                                                                             \
    if (!(condition)) {                                                            \
      std::fprintf(stderr, "check failed at line %d: %s\n", __LINE__, #condition); \
      std::fflush(stderr);                                                         \
      std::_Exit(1);                                                               \
    }                                                                              \
  } while (0)

// Runs `body` in a child process of its own (a death test) and expects it
// to pass all its CHILD_CHECKs.
#define EXPECT_PASSES_IN_OWN_PROCESS(body) \
  EXPECT_EXIT(                             \
      {                                    \
        body();                            \
        std::fflush(nullptr);              \
        std::_Exit(0);                     \
      },                                   \
      ::testing::ExitedWithCode(0), "")

// A temporary directory and the variables that drive kiv_test_child.
class ChildFixture : public ::testing::Test {
 protected:
  ChildFixture() : m_output(m_dir / "record"), m_outputGuard("KIV_TEST_CHILD_OUTPUT") {
    m_outputGuard.set(m_output);
    m_exitGuard.unset();
  }

  void setChildExitCode(int code) { m_exitGuard.set(std::to_string(code)); }
  ChildRecord record() const { return readRecord(m_output); }

  kivtest::TempDir m_dir;
  std::string m_output;
  kivtest::EnvGuard m_outputGuard;
  kivtest::EnvGuard m_exitGuard{"KIV_TEST_CHILD_EXIT"};
};

// ---------------------------------------------------------------------------
// Properties
// ---------------------------------------------------------------------------

TEST(ProcessPropertyTest, DefaultsToCurrentProcess) {
  EXPECT_EQ(KivClProcessProperty().getProcessId(), static_cast<std::uint32_t>(::getpid()));
}

TEST(ProcessPropertyTest, KeepsGivenId) {
  EXPECT_EQ(KivClProcessProperty(4242).getProcessId(), 4242u);
}

TEST(ThreadPropertyTest, DefaultsToZero) { EXPECT_EQ(KivClThreadProperty().getThreadId(), 0u); }

TEST(ThreadPropertyTest, KeepsGivenId) { EXPECT_EQ(KivClThreadProperty(17).getThreadId(), 17u); }

TEST(ProcessTest, StartsWithClearedErrorForCurrentProcess) {
  const KivClProcess process;
  EXPECT_EQ(process.getProcessId(), static_cast<std::uint32_t>(::getpid()));
  EXPECT_KIV_NO_ERROR(process);
  EXPECT_KIV_NO_ERROR(KivClProcess(12345));
}

// ---------------------------------------------------------------------------
// kill
// ---------------------------------------------------------------------------

TEST(ProcessTest, KillEndsChildWithSigterm) {
  const pid_t pid = ::fork();
  ASSERT_NE(pid, -1);
  if (pid == 0) {
    for (;;) ::pause();
  }
  KivClProcess process(static_cast<std::uint32_t>(pid));
  EXPECT_TRUE(process.kill());
  EXPECT_KIV_NO_ERROR(process);
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(ProcessTest, KillOfMissingProcessFails) {
  // Process ids stay below pid_max, so pid_max itself names no process.
  long pidMax = 0;
  std::ifstream("/proc/sys/kernel/pid_max") >> pidMax;
  ASSERT_GT(pidMax, 1);
  KivClProcess process(static_cast<std::uint32_t>(pidMax));
  EXPECT_FALSE(process.kill());
  EXPECT_KIV_ERROR(process, PROCESS_COULD_NOT_KILL, INVALID_DATA);
}

TEST(ProcessTest, KillKeepsErrorUntilNextSuccess) {
  long pidMax = 0;
  std::ifstream("/proc/sys/kernel/pid_max") >> pidMax;
  KivClProcess process(static_cast<std::uint32_t>(pidMax));
  EXPECT_FALSE(process.kill());
  EXPECT_FALSE(process.kill());
  EXPECT_KIV_ERROR(process, PROCESS_COULD_NOT_KILL, INVALID_DATA);
}

TEST(ProcessTest, KillRefusesIdThatIsNoProcessId) {
  // 2^31 turns into the most negative pid_t, which names no process group.
  KivClProcess process(0x80000000u);
  EXPECT_FALSE(process.kill());
  EXPECT_KIV_ERROR(process, PROCESS_COULD_NOT_KILL, INVALID_DATA);
}

TEST(ProcessTest, KillRefusesIdZeroInsteadOfSignallingProcessGroup) {
  // Run in a process group of its own, so that a regression could only end
  // that child.
  const kivtest::ChildResult r = kivtest::runInFork([] {
    ::setpgid(0, 0);
    KivClProcess process(0);
    const bool killed = process.kill();
    const bool errorSet = process.getLastError() ==
                          _KivStError{KIV_PROCESS_COULD_NOT_KILL, KivEnErrorClass::INVALID_DATA};
    std::_Exit(!killed && errorSet ? 0 : 1);
  });
  ASSERT_EQ(r.signal, 0) << "child ended by signal " << r.signal;
  EXPECT_EQ(r.exitCode, 0);
}

TEST(ProcessDeathTest, KillOfCurrentProcessEndsIt) {
  EXPECT_EXIT(
      {
        KivClProcess self;
        self.kill();
        std::_Exit(0);
      },
      ::testing::KilledBySignal(SIGTERM), "");
}

// ---------------------------------------------------------------------------
// Synchronous launch: results
// ---------------------------------------------------------------------------

TEST(SyncProcessTest, StartsWithClearedErrorExitCodeZeroAndProgramName) {
  const KivClExeFile exe("/bin/sh");
  const KivClNewSyncProcess run(exe);
  EXPECT_KIV_NO_ERROR(run);
  EXPECT_EQ(run.getExitCode(), 0);
  EXPECT_EQ(run.getArgumentCount(), 1u);
  EXPECT_EQ(&run.getExecutable(), &exe);
}

TEST(SyncProcessTest, ReturnsExitCodeOfProgram) {
  const KivClExeFile exe("/bin/sh");
  KivClNewSyncProcess run(exe);
  run.addArgument("-c");
  run.addArgument("exit 3");
  EXPECT_TRUE(run.launch());
  EXPECT_EQ(run.getExitCode(), 3);
  EXPECT_KIV_NO_ERROR(run);
}

TEST(SyncProcessTest, RunsTrueAndFalse) {
  const KivClExeFile trueExe("/bin/true");
  KivClNewSyncProcess runTrue(trueExe);
  EXPECT_TRUE(runTrue.launch());
  EXPECT_EQ(runTrue.getExitCode(), 0);
  EXPECT_KIV_NO_ERROR(runTrue);

  const KivClExeFile falseExe("/bin/false");
  KivClNewSyncProcess runFalse(falseExe);
  EXPECT_TRUE(runFalse.launch());
  EXPECT_EQ(runFalse.getExitCode(), 1);
}

TEST(SyncProcessTest, RunsBareNameCompletedAlongPath) {
  kivtest::EnvGuard path("PATH");
  path.set("/usr/bin:/bin");
  const KivClExeFile exe("sh");
  ASSERT_TRUE(exe.isFoundInSystemPath());
  KivClNewSyncProcess run(exe);
  run.addArgument("-c");
  run.addArgument("exit 42");
  EXPECT_TRUE(run.launch());
  EXPECT_EQ(run.getExitCode(), 42);
}

TEST(SyncProcessTest, MissingFileIsNotLaunched) {
  kivtest::TempDir dir;
  const KivClExeFile exe((dir / "missing").c_str());
  KivClNewSyncProcess run(exe);
  EXPECT_FALSE(run.launch());
  EXPECT_KIV_ERROR(run, PROCESS_COULD_NOT_LAUNCH, UNKNOWN_PROCESS);
  EXPECT_EQ(run.getExitCode(), 0);
}

TEST(SyncProcessTest, BareNameIsNotSearchedAlongPathAtLaunch) {
  // The name is completed when the executable is made; PATH set afterwards
  // is not searched by the launch.
  kivtest::TempDir dir;
  kivtest::EnvGuard path("PATH");
  path.set(dir.path());
  const KivClExeFile exe("sh");
  ASSERT_FALSE(exe.isFoundInSystemPath());
  path.set("/usr/bin:/bin");
  kivtest::CwdGuard cwd;
  ASSERT_EQ(::chdir(dir.path().c_str()), 0);
  KivClNewSyncProcess run(exe);
  run.addArgument("-c");
  run.addArgument("exit 0");
  EXPECT_FALSE(run.launch());
  EXPECT_KIV_ERROR(run, PROCESS_COULD_NOT_LAUNCH, UNKNOWN_PROCESS);
}

TEST(SyncProcessTest, BareNameRunsRelativeToCurrentDirectory) {
  kivtest::TempDir dir;
  writeFile(dir / "kivtool", "#!/bin/sh\nexit 9\n", 0755);
  kivtest::EnvGuard path("PATH");
  path.unset();
  kivtest::CwdGuard cwd;
  ASSERT_EQ(::chdir(dir.path().c_str()), 0);
  const KivClExeFile exe("kivtool");
  ASSERT_STREQ(exe.getAsCString(), "kivtool");
  KivClNewSyncProcess run(exe);
  EXPECT_TRUE(run.launch());
  EXPECT_EQ(run.getExitCode(), 9);
}

TEST(SyncProcessTest, FileWithoutExecutePermissionIsNotLaunched) {
  kivtest::TempDir dir;
  writeFile(dir / "script", "#!/bin/sh\nexit 0\n", 0644);
  const KivClExeFile exe((dir / "script").c_str());
  KivClNewSyncProcess run(exe);
  EXPECT_FALSE(run.launch());
  EXPECT_KIV_ERROR(run, PROCESS_COULD_NOT_LAUNCH, UNKNOWN_PROCESS);
}

TEST(SyncProcessTest, ProgramExitingWith255IsReportedAsNotLaunched) {
  const KivClExeFile exe("/bin/sh");
  KivClNewSyncProcess run(exe);
  run.addArgument("-c");
  run.addArgument("exit 255");
  EXPECT_FALSE(run.launch());
  EXPECT_KIV_ERROR(run, PROCESS_COULD_NOT_LAUNCH, UNKNOWN_PROCESS);
  EXPECT_EQ(run.getExitCode(), 0);
}

TEST(SyncProcessTest, ProgramExitingWith254IsLaunched) {
  const KivClExeFile exe("/bin/sh");
  KivClNewSyncProcess run(exe);
  run.addArgument("-c");
  run.addArgument("exit 254");
  EXPECT_TRUE(run.launch());
  EXPECT_EQ(run.getExitCode(), 254);
}

TEST(SyncProcessTest, ChildEndedBySignalReportsExitCodeZero) {
  const KivClExeFile exe("/bin/sh");
  KivClNewSyncProcess run(exe);
  run.addArgument("-c");
  run.addArgument("kill -TERM $$");
  EXPECT_TRUE(run.launch());
  EXPECT_EQ(run.getExitCode(), 0);
  EXPECT_KIV_NO_ERROR(run);
}

TEST(SyncProcessTest, FailedLaunchKeepsEarlierExitCode) {
  kivtest::TempDir dir;
  writeFile(dir / "prog", "#!/bin/sh\nexit $1\n", 0755);
  const KivClExeFile exe((dir / "prog").c_str());
  KivClNewSyncProcess run(exe);
  run.addArgument(5);
  ASSERT_TRUE(run.launch());
  ASSERT_EQ(run.getExitCode(), 5);
  // The program is gone now: the second launch's child cannot exec.
  ASSERT_EQ(::unlink((dir / "prog").c_str()), 0);
  EXPECT_FALSE(run.launch());
  EXPECT_KIV_ERROR(run, PROCESS_COULD_NOT_LAUNCH, UNKNOWN_PROCESS);
  EXPECT_EQ(run.getExitCode(), 5);
}

TEST(SyncProcessTest, SuccessClearsErrorOfEarlierFailure) {
  kivtest::TempDir dir;
  const std::string prog = dir / "prog";
  const KivClExeFile exe(prog.c_str());
  KivClNewSyncProcess run(exe);
  ASSERT_FALSE(run.launch());
  writeFile(prog, "#!/bin/sh\nexit 4\n", 0755);
  EXPECT_TRUE(run.launch());
  EXPECT_KIV_NO_ERROR(run);
  EXPECT_EQ(run.getExitCode(), 4);
}

TEST(SyncProcessTest, LeavesSigchldDispositionAlone) {
  ASSERT_FALSE(sigchldIgnored());
  const KivClExeFile exe("/bin/true");
  KivClNewSyncProcess run(exe);
  ASSERT_TRUE(run.launch());
  EXPECT_FALSE(sigchldIgnored());
}

TEST(SyncProcessTest, WaitsForAnyChildNotOnlyItsOwn) {
  // A child of our own that has already ended is collected by the launch's
  // wait in place of the program it starts.
  const pid_t other = ::fork();
  ASSERT_NE(other, -1);
  if (other == 0) std::_Exit(7);
  siginfo_t info{};
  ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(other), &info, WEXITED | WNOWAIT), 0);

  const KivClExeFile exe("/bin/sh");
  KivClNewSyncProcess run(exe);
  run.addArgument("-c");
  run.addArgument("sleep 0.2; exit 3");
  EXPECT_TRUE(run.launch());
  EXPECT_EQ(run.getExitCode(), 7);
  // The earlier child is gone; the program's own status is still there.
  EXPECT_EQ(::waitpid(other, nullptr, WNOHANG), -1);
  int status = 0;
  const pid_t launched = ::wait(&status);
  ASSERT_GT(launched, 0);
  EXPECT_NE(launched, other);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 3);
}

TEST(SyncProcessTest, FlushesBufferedOutputBeforeFork) {
  kivtest::TempDir dir;
  const std::string path = dir / "out";
  FILE* file = std::fopen(path.c_str(), "w");
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(std::setvbuf(file, nullptr, _IOFBF, 4096), 0);
  std::fputs("once", file);
  ASSERT_EQ(readFile(path), "");  // still in the buffer

  // The child cannot exec and ends through exit(), which flushes whatever
  // its copy of the buffer holds.
  const KivClExeFile exe((dir / "missing").c_str());
  KivClNewSyncProcess run(exe);
  EXPECT_FALSE(run.launch());
  EXPECT_EQ(readFile(path), "once");
  std::fclose(file);
  EXPECT_EQ(readFile(path), "once");
}

TEST(SyncProcessDeathTest, ArgumentArrayAllocationFailureInChildEndsOnlyTheChild) {
  // The memory manager fails every request made in the child. The child
  // must end like a failed exec instead of returning into this code.
  const auto body = [&] {
    static pid_t parent = ::getpid();
    kivtest::ScopedUserMemoryManager memory;
    memory.failWhen([](std::size_t) { return ::getpid() != parent; });
    const KivClExeFile exe("/bin/true");
    KivClNewSyncProcess run(exe);
    const bool launched = run.launch();
    CHILD_CHECK(::getpid() == parent);
    CHILD_CHECK(!launched);
    CHILD_CHECK(run.getLastError() ==
                (_KivStError{KIV_PROCESS_COULD_NOT_LAUNCH, KivEnErrorClass::UNKNOWN_PROCESS}));
  };
  EXPECT_PASSES_IN_OWN_PROCESS(body);
}

// ---------------------------------------------------------------------------
// Arguments
// ---------------------------------------------------------------------------

using ArgumentTest = ChildFixture;

TEST_F(ArgumentTest, ArriveInOrderAfterProgramName) {
  const KivClExeFile exe(kChild);
  KivClNewSyncProcess run(exe);
  run.addArgument("alpha");
  run.addArgument("two words");
  run.addArgument("");
  run.addArgument("last");
  EXPECT_EQ(run.getArgumentCount(), 5u);
  ASSERT_TRUE(run.launch());
  EXPECT_EQ(run.getExitCode(), 0);
  const std::vector<std::string> expected{exe.getAsCString(), "alpha", "two words", "", "last"};
  EXPECT_EQ(record().arguments, expected);
}

TEST_F(ArgumentTest, ProgramNameIsExecutableFullName) {
  kivtest::EnvGuard path("PATH");
  const std::string childDir = std::string(kChild).substr(0, std::string(kChild).rfind('/'));
  path.set("/nonexistent:" + childDir);
  const KivClExeFile exe("kiv_test_child");
  ASSERT_TRUE(exe.isFoundInSystemPath());
  KivClNewSyncProcess run(exe);
  ASSERT_TRUE(run.launch());
  const std::vector<std::string> expected{childDir + "/kiv_test_child"};
  EXPECT_EQ(record().arguments, expected);
}

TEST_F(ArgumentTest, NullTextAddsNothing) {
  const KivClExeFile exe(kChild);
  KivClNewSyncProcess run(exe);
  run.addArgument("a");
  run.addArgument(static_cast<const char*>(nullptr));
  run.addArgument("b");
  EXPECT_EQ(run.getArgumentCount(), 3u);
  ASSERT_TRUE(run.launch());
  const std::vector<std::string> expected{kChild, "a", "b"};
  EXPECT_EQ(record().arguments, expected);
}

TEST_F(ArgumentTest, NumbersArriveInDecimalWithSign) {
  const KivClExeFile exe(kChild);
  KivClNewSyncProcess run(exe);
  run.addArgument(-42L);
  run.addArgument(LONG_MIN);
  run.addArgument(ULONG_MAX);
  run.addArgument(0);
  run.addArgument(7u);
  run.addArgument(-1);
  ASSERT_TRUE(run.launch());
  const std::vector<std::string> expected{
      kChild, "-42", "-9223372036854775808", "18446744073709551615", "0", "7", "-1"};
  EXPECT_EQ(record().arguments, expected);
}

TEST_F(ArgumentTest, LongArgumentsArriveWhole) {
  const KivClExeFile exe(kChild);
  KivClNewSyncProcess run(exe);
  const std::string big(100000, 'x');
  for (int i = 0; i < 50; ++i) run.addArgument(i);
  run.addArgument(big.c_str());
  ASSERT_TRUE(run.launch());
  const std::vector<std::string> arguments = record().arguments;
  ASSERT_EQ(arguments.size(), 52u);
  EXPECT_EQ(arguments[1], "0");
  EXPECT_EQ(arguments[50], "49");
  EXPECT_EQ(arguments[51], big);
}

TEST_F(ArgumentTest, ChildGetsExitCodeAndDefaultSigchld) {
  setChildExitCode(17);
  const KivClExeFile exe(kChild);
  KivClNewSyncProcess run(exe);
  ASSERT_TRUE(run.launch());
  EXPECT_EQ(run.getExitCode(), 17);
  EXPECT_EQ(record().sigchld, "SIGCHLD=DFL");
}

TEST_F(ArgumentTest, SecondLaunchRunsWithSameArguments) {
  const KivClExeFile exe(kChild);
  KivClNewSyncProcess run(exe);
  run.addArgument("a");
  ASSERT_TRUE(run.launch());
  ASSERT_EQ(::unlink(m_output.c_str()), 0);
  ASSERT_TRUE(run.launch());
  const std::vector<std::string> expected{kChild, "a"};
  EXPECT_EQ(record().arguments, expected);
  EXPECT_EQ(run.getArgumentCount(), 2u);
}

TEST_F(ArgumentTest, ArgumentsAddedAfterLaunchFollowEmptyOne) {
  // The launch appended a NUL: "b" comes after an empty argument and, with
  // the count at 3, only the empty one is passed.
  const KivClExeFile exe(kChild);
  KivClNewSyncProcess run(exe);
  run.addArgument("a");
  ASSERT_TRUE(run.launch());
  run.addArgument("b");
  EXPECT_EQ(run.getArgumentCount(), 3u);
  ASSERT_TRUE(run.launch());
  const std::vector<std::string> expected{kChild, "a", ""};
  EXPECT_EQ(record().arguments, expected);
}

TEST_F(ArgumentTest, PrepareLaunchSetsErrorInAdvance) {
  const KivClExeFile exe(kChild);
  KivClNewSyncProcess run(exe);
  run.prepareLaunch();
  EXPECT_KIV_ERROR(run, PROCESS_COULD_NOT_LAUNCH, UNKNOWN_PROCESS);
  EXPECT_EQ(run.getArgumentCount(), 1u);
  // The NUL it appended shows as an empty argument, and "x" after it is
  // beyond the count.
  run.addArgument("x");
  EXPECT_EQ(run.getArgumentCount(), 2u);
  ASSERT_TRUE(run.launch());
  EXPECT_KIV_NO_ERROR(run);
  const std::vector<std::string> expected{kChild, ""};
  EXPECT_EQ(record().arguments, expected);
}

TEST_F(ArgumentTest, ChildSeesCurrentEnvironment) {
  kivtest::EnvGuard exitCode("KIV_TEST_CHILD_EXIT");
  exitCode.set("23");
  const KivClExeFile exe(kChild);
  KivClNewSyncProcess run(exe);
  ASSERT_TRUE(run.launch());
  EXPECT_EQ(run.getExitCode(), 23);
}

// ---------------------------------------------------------------------------
// Asynchronous launch (each test in a process of its own)
// ---------------------------------------------------------------------------

TEST(AsyncProcessTest, StartsWithClearedErrorAndProcessIdZero) {
  const KivClExeFile exe("/bin/true");
  const KivClNewAsyncProcess run(exe);
  EXPECT_KIV_NO_ERROR(run);
  EXPECT_EQ(run.getProcessId(), 0);
  EXPECT_EQ(run.getArgumentCount(), 1u);
}

TEST(AsyncProcessDeathTest, ReturnsAtOnceWithChildProcessId) {
  const auto body = [&] {
    const KivClExeFile exe("/bin/sleep");
    KivClNewAsyncProcess run(exe);
    run.addArgument("30");
    CHILD_CHECK(run.launch());
    CHILD_CHECK(run.getLastError() == _KivStError{});
    const pid_t pid = run.getProcessId();
    CHILD_CHECK(pid > 0);
    // Still running, and our child.
    const ProcStat stat = readProcStat(pid);
    CHILD_CHECK(stat.parent == ::getpid());
    CHILD_CHECK(stat.state != 'Z' && stat.state != '?');
    KivClProcess child(static_cast<std::uint32_t>(pid));
    CHILD_CHECK(child.kill());
    // Reaped by the system: no zombie is left behind.
    CHILD_CHECK(eventually([pid] { return !fileExists(procDir(pid)); }));
  };
  EXPECT_PASSES_IN_OWN_PROCESS(body);
}

TEST(AsyncProcessDeathTest, ChildLeavesNoZombie) {
  const auto body = [&] {
    const KivClExeFile exe("/bin/true");
    KivClNewAsyncProcess run(exe);
    CHILD_CHECK(run.launch());
    const pid_t pid = run.getProcessId();
    CHILD_CHECK(pid > 0);
    CHILD_CHECK(eventually([pid] { return !fileExists(procDir(pid)); }));
    errno = 0;
    CHILD_CHECK(::waitpid(pid, nullptr, WNOHANG) == -1 && errno == ECHILD);
  };
  EXPECT_PASSES_IN_OWN_PROCESS(body);
}

TEST(AsyncProcessDeathTest, CallerAndProgramIgnoreSigchld) {
  kivtest::TempDir dir;
  const auto body = [&] {
    const std::string output = dir / "record";
    ::setenv("KIV_TEST_CHILD_OUTPUT", output.c_str(), 1);
    ::unsetenv("KIV_TEST_CHILD_EXIT");
    CHILD_CHECK(!sigchldIgnored());
    const KivClExeFile exe(kChild);
    KivClNewAsyncProcess run(exe);
    run.addArgument("one");
    run.addArgument(-5L);
    CHILD_CHECK(run.launch());
    CHILD_CHECK(sigchldIgnored());
    CHILD_CHECK(eventually([&output] { return fileExists(output); }));
    const ChildRecord record = readRecord(output);
    CHILD_CHECK(record.sigchld == "SIGCHLD=IGN");
    CHILD_CHECK((record.arguments == std::vector<std::string>{kChild, "one", "-5"}));
  };
  EXPECT_PASSES_IN_OWN_PROCESS(body);
}

TEST(AsyncProcessDeathTest, MissingFileStillReturnsProcessId) {
  kivtest::TempDir dir;
  const auto body = [&] {
    const KivClExeFile exe((dir / "missing").c_str());
    KivClNewAsyncProcess run(exe);
    CHILD_CHECK(run.launch());
    CHILD_CHECK(run.getLastError() == _KivStError{});
    const pid_t pid = run.getProcessId();
    CHILD_CHECK(pid > 0);
    CHILD_CHECK(eventually([pid] { return !fileExists(procDir(pid)); }));
  };
  EXPECT_PASSES_IN_OWN_PROCESS(body);
}

TEST(AsyncProcessDeathTest, LaterSyncLaunchCollectsNoExitCode) {
  // After an asynchronous launch the process ignores SIGCHLD: a synchronous
  // launch then waits for every child, collects no status and reports
  // success with exit code 0 whatever the program did.
  kivtest::TempDir dir;
  const auto body = [&] {
    const KivClExeFile trueExe("/bin/true");
    KivClNewAsyncProcess async(trueExe);
    CHILD_CHECK(async.launch());

    const KivClExeFile sh("/bin/sh");
    KivClNewSyncProcess exit3(sh);
    exit3.addArgument("-c");
    exit3.addArgument("exit 3");
    CHILD_CHECK(exit3.launch());
    CHILD_CHECK(exit3.getExitCode() == 0);
    CHILD_CHECK(exit3.getLastError() == _KivStError{});

    const KivClExeFile missing((dir / "missing").c_str());
    KivClNewSyncProcess notRun(missing);
    CHILD_CHECK(notRun.launch());
    CHILD_CHECK(notRun.getExitCode() == 0);
  };
  EXPECT_PASSES_IN_OWN_PROCESS(body);
}

TEST(AsyncProcessDeathTest, LaterSyncLaunchWaitsForRunningAsyncChild) {
  kivtest::TempDir dir;
  const auto body = [&] {
    const std::string marker = dir / "marker";
    const KivClExeFile sh("/bin/sh");
    KivClNewAsyncProcess async(sh);
    async.addArgument("-c");
    async.addArgument(("sleep 0.3; : > '" + marker + "'").c_str());
    CHILD_CHECK(async.launch());
    const KivClExeFile trueExe("/bin/true");
    KivClNewSyncProcess run(trueExe);
    CHILD_CHECK(run.launch());
    // The wait returned only when no child was left, the asynchronous one
    // included.
    CHILD_CHECK(fileExists(marker));
  };
  EXPECT_PASSES_IN_OWN_PROCESS(body);
}

}  // namespace
