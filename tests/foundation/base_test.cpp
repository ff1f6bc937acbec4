// Library identity, 16-bit byte order, sleeping, the timer and the
// developer print helpers.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <sstream>
#include <string>

#include "kiv_base.hpp"
#include "kiv_config.hpp"
#include "kiv_test_support.hpp"

namespace {

// ---------------------------------------------------------------------------
// Library identity
// ---------------------------------------------------------------------------

TEST(LibraryIdentity, ReportsLevelBuildDateAndPlatform) {
  EXPECT_STREQ(kivLibraryGetLevel(), "KIVLibR5-24");
  EXPECT_STREQ(kivLibraryGetTod(), "Mar  8 2009");
  EXPECT_TRUE(kivLibraryIsShipCode());
  EXPECT_EQ(kivGetOperatingSystemId(), 8);
  EXPECT_EQ(kivGetTimeStamp(), 0u);
}

TEST(LibraryIdentity, VersionTextJoinsTheThreeNumbers) {
  EXPECT_EQ(KIV_VERSION_MAJOR, 5);
  EXPECT_EQ(KIV_VERSION_MINOR, 24);
  EXPECT_GE(KIV_VERSION_PATCH, 0);
  EXPECT_EQ(std::string(KIV_VERSION), std::to_string(KIV_VERSION_MAJOR) + "." +
                                          std::to_string(KIV_VERSION_MINOR) + "." +
                                          std::to_string(KIV_VERSION_PATCH));
  // The level text stays what it has always been.
  EXPECT_STREQ(kivLibraryGetLevel(), "KIVLibR5-24");
}

// ---------------------------------------------------------------------------
// 16-bit byte order
// ---------------------------------------------------------------------------

TEST(ByteOrder, SwapOfFiveBytesExchangesTwoPairsAndLeavesLastByte) {
  unsigned char bytes[] = {1, 2, 3, 4, 5, 6};
  kivEndianConvertW16Swap(bytes, 5);
  const unsigned char expected[] = {2, 1, 4, 3, 5, 6};
  EXPECT_EQ(0, std::memcmp(bytes, expected, sizeof bytes));
}

TEST(ByteOrder, SwapExchangesBytesOfEveryUnit) {
  unsigned char bytes[] = {0x12, 0x34, 0x56, 0x78, 0x9a, 0xbc, 0xff};
  kivEndianConvertW16Swap(bytes, 6);
  const unsigned char expected[] = {0x34, 0x12, 0x78, 0x56, 0xbc, 0x9a, 0xff};
  EXPECT_EQ(0, std::memcmp(bytes, expected, sizeof bytes));
}

TEST(ByteOrder, SwapOfOneUnitTurnsLittleIntoBigEndian) {
  std::uint16_t unit = 0x1234;
  kivEndianConvertW16Swap(&unit, 2);
  EXPECT_EQ(unit, 0x3412);
}

TEST(ByteOrder, SwapTwiceRestoresBuffer) {
  unsigned char bytes[] = {1, 2, 3, 4, 5, 6, 7, 8};
  kivEndianConvertW16Swap(bytes, 8);
  kivEndianConvertW16Swap(bytes, 8);
  const unsigned char expected[] = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(0, std::memcmp(bytes, expected, sizeof bytes));
}

TEST(ByteOrder, LengthZeroOrOneOrNullBufferDoesNothing) {
  unsigned char bytes[] = {1, 2};
  kivEndianConvertW16Swap(bytes, 0);
  EXPECT_EQ(bytes[0], 1);
  EXPECT_EQ(bytes[1], 2);
  kivEndianConvertW16Swap(bytes, 1);
  EXPECT_EQ(bytes[0], 1);
  EXPECT_EQ(bytes[1], 2);
  kivEndianConvertW16Swap(nullptr, 4);
}

TEST(ByteOrder, LittleEndianConversionsAreIdentityOnThisHost) {
  unsigned char bytes[] = {1, 2, 3, 4};
  kivEndianConvertW16HostToLittle(bytes, 4);
  kivEndianConvertW16LittleToHost(bytes, 4);
  const unsigned char expected[] = {1, 2, 3, 4};
  EXPECT_EQ(0, std::memcmp(bytes, expected, sizeof bytes));
}

TEST(ByteOrder, BigEndianConversionsSwap) {
  for (auto convert : {kivEndianConvertW16HostToBig, kivEndianConvertW16BigToHost,
                       kivEndianConvertW16LittleToBig, kivEndianConvertW16BigToLittle}) {
    unsigned char bytes[] = {1, 2, 3, 4, 5};
    convert(bytes, 5);
    const unsigned char expected[] = {2, 1, 4, 3, 5};
    EXPECT_EQ(0, std::memcmp(bytes, expected, sizeof bytes));
  }
}

// ---------------------------------------------------------------------------
// Sleeping
// ---------------------------------------------------------------------------

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(Sleep, MicroSecondsSleepsAtLeastTheGivenTime) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(kivSleepMicroSeconds(1000), 0);
  EXPECT_GE(secondsSince(start), 0.0009);
}

TEST(Sleep, MilliSecondsSleepsAtLeastTheGivenTime) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(kivSleepMilliSeconds(2), 0);
  EXPECT_GE(secondsSince(start), 0.0019);
}

TEST(Sleep, MicroSecondsSplitsIntoSecondsAndMicroseconds) {
  // 1000001 microseconds: one second and one microsecond.
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(kivSleepMicroSeconds(1000001), 0);
  EXPECT_GE(secondsSince(start), 0.999);
}

TEST(Sleep, ZeroDurationsReturnZero) {
  EXPECT_EQ(kivSleepMicroSeconds(0), 0);
  EXPECT_EQ(kivSleepMilliSeconds(0), 0);
  EXPECT_EQ(kivSleepSeconds(0), 0u);
  EXPECT_EQ(kivSleepMinutes(0), 0u);
  EXPECT_EQ(kivSleepHours(0), 0u);
}

// Installs a handler for SIGALRM without SA_RESTART and arms a one-shot
// repeating timer, so that a sleep is interrupted after `microseconds` (and
// again every `microseconds`, should the first signal come before the sleep
// began); restores the old handler and timer afterwards.
class InterruptingTimer {
 public:
  explicit InterruptingTimer(long microseconds) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigemptyset(&action.sa_mask);
    sigaction(SIGALRM, &action, &m_oldAction);
    itimerval timer{};
    timer.it_value.tv_usec = microseconds;
    timer.it_interval.tv_usec = microseconds;
    setitimer(ITIMER_REAL, &timer, &m_oldTimer);
  }
  ~InterruptingTimer() {
    itimerval off{};
    setitimer(ITIMER_REAL, &off, nullptr);
    sigaction(SIGALRM, &m_oldAction, nullptr);
    setitimer(ITIMER_REAL, &m_oldTimer, nullptr);
  }
  InterruptingTimer(const InterruptingTimer&) = delete;
  InterruptingTimer& operator=(const InterruptingTimer&) = delete;

 private:
  struct sigaction m_oldAction {};
  itimerval m_oldTimer{};
};

TEST(Sleep, InterruptedMicroSecondsReturnsMinusOne) {
  InterruptingTimer timer(20000);
  EXPECT_EQ(kivSleepMicroSeconds(30000000), -1);
}

TEST(Sleep, InterruptedSecondsReturnsTimeLeft) {
  InterruptingTimer timer(20000);
  const unsigned int left = kivSleepSeconds(30);
  EXPECT_GE(left, 29u);
  EXPECT_LE(left, 30u);
}

TEST(Sleep, MinutesAreSixtySeconds) {
  InterruptingTimer timer(20000);
  const unsigned int left = kivSleepMinutes(2);
  EXPECT_GE(left, 119u);
  EXPECT_LE(left, 120u);
}

TEST(Sleep, HoursAreSixtyMinutes) {
  InterruptingTimer timer(20000);
  const unsigned int left = kivSleepHours(1);
  EXPECT_GE(left, 3599u);
  EXPECT_LE(left, 3600u);
}

TEST(Sleep, OverlongMinutesAreCappedInsteadOfWrapping) {
  // 71582789 minutes are more seconds than 32 bits hold; wrapping would give
  // a sleep of 44 seconds.
  InterruptingTimer timer(20000);
  const unsigned int left = kivSleepMinutes(71582789u);
  EXPECT_GE(left, std::numeric_limits<std::uint32_t>::max() - 1);
}

TEST(Sleep, OverlongHoursAreCappedInsteadOfWrapping) {
  InterruptingTimer timer(20000);
  const unsigned int left = kivSleepHours(std::numeric_limits<std::uint32_t>::max());
  EXPECT_GE(left, std::numeric_limits<std::uint32_t>::max() - 1);
}

// ---------------------------------------------------------------------------
// KivClTiming
// ---------------------------------------------------------------------------

TEST(Timing, InitSetsAllValuesToZero) {
  KivClTiming timing(true);
  kivSleepMicroSeconds(1000);
  timing.stop();
  EXPECT_GT(timing.getTotal(), 0.0);
  timing.init(false);
  EXPECT_EQ(timing.getStartTime(), 0.0);
  EXPECT_EQ(timing.getStopTime(), 0.0);
  EXPECT_EQ(timing.getLastInterval(), 0.0);
  EXPECT_EQ(timing.getTotal(), 0.0);
  const KivClTiming fresh;
  EXPECT_EQ(fresh.getStartTime(), 0.0);
  EXPECT_EQ(fresh.getTotal(), 0.0);
}

TEST(Timing, InitWithTrueAlsoSetsAllValuesToZero) {
  KivClTiming timing(true);
  EXPECT_GT(timing.getStartTime(), 0.0);
  kivSleepMicroSeconds(1000);
  timing.stop();
  timing.init(true);
  EXPECT_EQ(timing.getStartTime(), 0.0);
  EXPECT_EQ(timing.getStopTime(), 0.0);
  EXPECT_EQ(timing.getLastInterval(), 0.0);
  EXPECT_EQ(timing.getTotal(), 0.0);
}

TEST(Timing, WallClockTimeIsTheTimeOfDayInSeconds) {
  const KivClTiming timing;
  const double before = static_cast<double>(std::time(nullptr));
  const double now = timing.wallClockTime();
  const double after = static_cast<double>(std::time(nullptr));
  EXPECT_GE(now, before);
  EXPECT_LT(now, after + 1.0);
  // Microseconds are part of the value.
  timeval tv{};
  gettimeofday(&tv, nullptr);
  EXPECT_NEAR(timing.wallClockTime(), static_cast<double>(tv.tv_sec) + tv.tv_usec * 1e-6, 0.5);
}

TEST(Timing, WallClockTimeAdvancesOverASleep) {
  const KivClTiming timing;
  const double first = timing.wallClockTime();
  kivSleepMicroSeconds(2000);
  EXPECT_GE(timing.wallClockTime() - first, 0.0015);
}

TEST(Timing, StopRecordsIntervalAndAddsItToTotal) {
  KivClTiming timing;
  timing.start();
  EXPECT_GT(timing.getStartTime(), 0.0);
  kivSleepMicroSeconds(2000);
  const double first = timing.stop();
  EXPECT_GE(first, 0.0015);
  EXPECT_EQ(first, timing.getLastInterval());
  EXPECT_EQ(timing.getStopTime() - timing.getStartTime(), first);
  timing.start();
  kivSleepMicroSeconds(1000);
  EXPECT_GE(timing.elapsed(), 0.0008);
  const double second = timing.stop();
  EXPECT_GE(second, 0.0008);
  EXPECT_DOUBLE_EQ(timing.getTotal(), first + second);
}

// ---------------------------------------------------------------------------
// kiv_tprint and kiv_tprintf
// ---------------------------------------------------------------------------

TEST(TPrint, WritesNamePartAndLineAndReturnsTheStream) {
  std::ostringstream out;
  std::ostream& returned = kiv_tprint(out, "/src/foundation/kiv_base.cpp", 42);
  EXPECT_EQ(&returned, &out);
  returned << "value " << 7;
  EXPECT_EQ(out.str(), "[kiv_base.cpp:42] value 7");
}

TEST(TPrint, FileWithoutDirectoryIsWrittenWhole) {
  std::ostringstream out;
  kiv_tprint(out, "main.cpp", 1);
  EXPECT_EQ(out.str(), "[main.cpp:1] ");
}

TEST(TPrint, EdgeFileNames) {
  std::ostringstream out;
  kiv_tprint(out, "dir/", -3);
  kiv_tprint(out, nullptr, 0);
  kiv_tprint(out, "", 5);
  EXPECT_EQ(out.str(), "[:-3] [:0] [:5] ");
}

// Runs `body` with standard output redirected to a temporary file and
// returns what it wrote.
std::string captureStdout(const std::function<void()>& body) {
  kivtest::TempDir dir;
  const std::string path = dir / "stdout.txt";
  std::fflush(stdout);
  const int saved = dup(STDOUT_FILENO);
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (saved < 0 || file < 0) {
    ADD_FAILURE() << "cannot redirect standard output";
    return {};
  }
  dup2(file, STDOUT_FILENO);
  close(file);
  body();
  std::fflush(stdout);
  dup2(saved, STDOUT_FILENO);
  close(saved);
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

TEST(TPrintf, PrefixesFullFileAndLineAndAddsNewline) {
  const std::string out =
      captureStdout([] { kiv_tprintf("/src/foundation/x.cpp", 12, "value %d of %s", 5, "six"); });
  EXPECT_EQ(out, "[/src/foundation/x.cpp:12] value 5 of six\n");
}

TEST(TPrintf, FormatWithNewlineGetsNoNewlineOfItsOwn) {
  const std::string out = captureStdout([] { kiv_tprintf("x.cpp", 3, "done\n"); });
  EXPECT_EQ(out, "[x.cpp:3] done\n");
}

TEST(TPrintf, NewlineAnywhereInFormatSuppressesTheExtraNewline) {
  const std::string out = captureStdout([] { kiv_tprintf("x.cpp", 3, "a\nb %d", 1); });
  EXPECT_EQ(out, "[x.cpp:3] a\nb 1");
}

TEST(TPrintf, NewlineInAnArgumentDoesNotCount) {
  const std::string out = captureStdout([] { kiv_tprintf("x.cpp", 4, "%s", "line\n"); });
  EXPECT_EQ(out, "[x.cpp:4] line\n\n");
}

TEST(TPrintf, EmptyOrNullFormatPrintsPrefixAndNewline) {
  // Called through a pointer: the compiler's format check would reject the
  // empty and the null format, which are exactly what is tested here.
  void (*volatile print)(const char*, int, const char*, ...) = kiv_tprintf;
  const std::string out = captureStdout([print] {
    print("f.cpp", 1, "");
    print(nullptr, 2, nullptr);
  });
  EXPECT_EQ(out, "[f.cpp:1] \n[:2] \n");
}

}  // namespace
