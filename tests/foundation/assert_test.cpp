// The assertion report, byte for byte, from a child process whose standard
// error is captured; and the abort that follows it.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>

#include <string>

#include "kiv_child_support.hpp"
#include "kiv_memmgr.hpp"

namespace {

using kivtest::ChildResult;

std::string tail(pid_t pid) { return "\n***       PROCESS ID: " + std::to_string(pid) + "\n\n\n"; }

bool abortedBySignal(const ChildResult& r) { return r.signal == SIGABRT; }

TEST(AssertionReport, PlainAssertionHasTheFixedLayout) {
  const ChildResult r = kivtest::runInFork([] { kiv__assert("p != 0", "kiv_file.cpp", 1234); });
  EXPECT_TRUE(abortedBySignal(r));
  EXPECT_EQ(r.err,
            "\n*** INTERNAL ERROR OCCURED ***\n"
            "*** ASSERTION FAILED: p != 0"
            "\n***             LINE: 1234"
            "\n***           MODULE: kiv_file.cpp" +
                tail(r.pid));
}

TEST(AssertionReport, MessageAndFunctionAddTwoLines) {
  const ChildResult r = kivtest::runInFork(
      [] { kiv__assert_msg("n < 10", "a/b.cpp", 7, "KivClX::run", "bad count"); });
  EXPECT_TRUE(abortedBySignal(r));
  EXPECT_EQ(r.err,
            "\n*** INTERNAL ERROR OCCURED ***\n"
            "*** bad count ***\n"
            "***         FUNCTION: KivClX::run\n"
            "*** ASSERTION FAILED: n < 10"
            "\n***             LINE: 7"
            "\n***           MODULE: a/b.cpp" +
                tail(r.pid));
}

TEST(AssertionReport, MessageWithoutFunctionHasNoFunctionLine) {
  const ChildResult r =
      kivtest::runInFork([] { kiv__assert_msg("x", "m.cpp", 1, nullptr, "why"); });
  EXPECT_TRUE(abortedBySignal(r));
  EXPECT_EQ(r.err,
            "\n*** INTERNAL ERROR OCCURED ***\n"
            "*** why ***\n"
            "*** ASSERTION FAILED: x"
            "\n***             LINE: 1"
            "\n***           MODULE: m.cpp" +
                tail(r.pid));
}

TEST(AssertionReport, FunctionWithoutMessageIsNotPrinted) {
  const ChildResult r = kivtest::runInFork([] { kiv__assert_msg("x", "m.cpp", 2, "fn", nullptr); });
  EXPECT_TRUE(abortedBySignal(r));
  EXPECT_EQ(r.err.find("FUNCTION"), std::string::npos);
  EXPECT_EQ(r.err,
            "\n*** INTERNAL ERROR OCCURED ***\n"
            "*** ASSERTION FAILED: x"
            "\n***             LINE: 2"
            "\n***           MODULE: m.cpp" +
                tail(r.pid));
}

TEST(AssertionReport, LineIsPrintedUnsigned) {
  const ChildResult r = kivtest::runInFork([] { kiv__assert("e", "m", 4294967295u); });
  EXPECT_NE(r.err.find("\n***             LINE: 4294967295\n"), std::string::npos);
}

TEST(AssertionReport, AbortsAlsoWhenNoPopupIsRequested) {
  const ChildResult r = kivtest::runInFork([] {
    setenv("KIV_NO_ASSERT_POPUP", "yes", 1);
    kiv__assert("e", "m", 3);
  });
  EXPECT_TRUE(abortedBySignal(r));
  EXPECT_NE(r.err.find("*** ASSERTION FAILED: e\n"), std::string::npos);
}

// An assertion that fires while the first one is being handled (here from
// the handler of the abort signal) still writes its report, then aborts at
// once.
void assertAgain(int) { kiv__assert("second", "handler.cpp", 2); }

TEST(AssertionReport, SecondAssertionDuringTheFirstReportsAndAborts) {
  const ChildResult r = kivtest::runInFork([] {
    // One-shot handler: the abort of the second assertion ends the process.
    struct sigaction action {};
    action.sa_handler = assertAgain;
    action.sa_flags = SA_RESETHAND;
    sigaction(SIGABRT, &action, nullptr);
    kiv__assert("first", "main.cpp", 1);
  });
  EXPECT_TRUE(abortedBySignal(r));
  const auto report = [&](const std::string& expr, const std::string& module, int line) {
    return "\n*** INTERNAL ERROR OCCURED ***\n*** ASSERTION FAILED: " + expr +
           "\n***             LINE: " + std::to_string(line) + "\n***           MODULE: " + module +
           tail(r.pid);
  };
  EXPECT_EQ(r.err, report("first", "main.cpp", 1) + report("second", "handler.cpp", 2));
}

TEST(AssertionReportDeathTest, DiesWithTheReportOnStandardError) {
  EXPECT_DEATH(kiv__assert("1 == 2", "death.cpp", 99),
               "\\*\\*\\* INTERNAL ERROR OCCURED \\*\\*\\*\n"
               "\\*\\*\\* ASSERTION FAILED: 1 == 2\n"
               "\\*\\*\\*             LINE: 99\n"
               "\\*\\*\\*           MODULE: death.cpp\n"
               "\\*\\*\\*       PROCESS ID: [0-9]+\n");
}

}  // namespace
