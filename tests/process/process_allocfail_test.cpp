// Launcher arguments when memory runs out: every growth of the argument
// stream, and the argument array that the child builds, is refused in turn.
// A refusal in the caller ends in the memory manager's fatal exception and
// keeps the arguments added before it; a refusal in the child is a launch
// that failed. Either way the same launcher then runs the program with all
// of its arguments.
#include <gtest/gtest.h>

#include <cstdint>
#include <iterator>
#include <string>

#include "kiv_allocfail_support.hpp"
#include "kiv_exefile.hpp"
#include "kiv_filename.hpp"
#include "kiv_process.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::AllocationFailureRun;

const std::string gs_sLong1(100, 'l');
const std::string gs_sLong2(300, 'm');

// The shell exits with 42 only when it received exactly these arguments.
const std::string gs_sScript = "test $# = 6 && test \"$*\" = 'alpha " + gs_sLong1 + " -12 7 " +
                               gs_sLong2 + " ' && exit 42; exit 1";

// Adds argument number `index` (0 is the first after the program name): the
// texts as texts, the two numbers as numbers. False when there is none.
bool addArgument(KivClNewSyncProcess& launcher, std::uint32_t index) {
  const char* const texts[] = {"-c",    gs_sScript.c_str(), "sh",
                               "alpha", gs_sLong1.c_str(),  nullptr,
                               nullptr, gs_sLong2.c_str(),  ""};
  if (index >= std::size(texts)) return false;
  if (index == 5) {
    launcher.addArgument(-12L);
  } else if (index == 6) {
    launcher.addArgument(7UL);
  } else {
    launcher.addArgument(texts[index]);
  }
  return true;
}

// Adds the arguments that the launcher does not hold yet, then launches.
bool addRestAndLaunch(KivClNewSyncProcess& launcher) {
  while (addArgument(launcher, launcher.getArgumentCount() - 1)) {
  }
  return launcher.launch();
}

TEST(LauncherAllocationFailure, ArgumentsSurviveARefusalAndTheProgramRunsWithAllOfThem) {
  const KivClExeFile shell(KivClFilename("/bin/sh"));
  long childRefusals = 0;
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    KivClNewSyncProcess launcher(shell);
    bool launched = false;
    if (run.inject([&] { launched = addRestAndLaunch(launcher); })) {
      if (!launched) {
        // Refused in the child, where the counter does not see it: the
        // child could not build its argument array and ended with 255.
        run.markReached();
        ++childRefusals;
        EXPECT_KIV_ERROR(launcher, PROCESS_COULD_NOT_LAUNCH, UNKNOWN_PROCESS);
        EXPECT_EQ(launcher.getArgumentCount(), 10u);
        launched = launcher.launch();
      }
    } else {
      // The arguments added before the refusal are all there: the rest
      // completes them (the shell checks every one).
      launched = addRestAndLaunch(launcher);
    }
    ASSERT_TRUE(launched);
    EXPECT_KIV_NO_ERROR(launcher);
    EXPECT_EQ(launcher.getExitCode(), 42);
  });
  EXPECT_EQ(childRefusals, 1);
  // Beyond the 64 bytes that the constructor took, the stream grows to 512
  // bytes for the script and to 1024 for the rest; then the child's array;
  // then nothing.
  EXPECT_EQ(runs, 4);
}

}  // namespace
