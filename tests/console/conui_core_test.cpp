// Console UI core: construction, the built-in switches (-quiet,
// -copyright, -h/-H/-?), the command line check and its error reports, the
// argument queries in all naming forms and widths, and the exit codes.
// Everything that writes to the console or ends the process runs in a child
// program (programs/conui_core_prog.cpp); its exact output and exit status
// are checked.

#include <gtest/gtest.h>

#include <clocale>
#include <fstream>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "conui_child.hpp"
#include "kiv_argv.hpp"
#include "kiv_conui.hpp"
#include "kiv_test_support.hpp"

namespace {

using conuitest::bar;
using conuitest::display;
using kivtest::ChildResult;

using Env = std::map<std::string, std::string>;

const std::string gs_usageLine = "\nUsage: prog [-h|-H|-?|-copyright] [-quiet]\n";
const std::string gs_usageIndent(12, ' ');  // "Usage: prog "

// Runs the core program as "/some/dir/prog.exe" (process name "prog") with
// `args` after it.
ChildResult runCore(const std::vector<std::string>& args, const Env& env = {},
                    const std::string& argv0 = "/some/dir/prog.exe") {
  return kivtest::runChild(conuitest::conuiRun(KIV_CONUI_CORE_PROG, argv0, args, env));
}

// The usage display of a one-line usage string for the process "prog".
std::string usageDisplay(const std::string& usage) {
  return gs_usageLine + gs_usageIndent + usage + "\n";
}

// The fatal display of a missing switch and its help hint.
std::string missingWithHint(const std::string& name) {
  return display("prog", "A fatal error occurred", "Missing command line switch: " + name) +
         "    " + "  (Specify '-h' for help)\n";
}

// ---------------------------------------------------------------------------
// Set-up, title and built-in switches
// ---------------------------------------------------------------------------

TEST(ConsoleUICore, RunsThroughWithoutArgumentsAndWritesNothing) {
  const ChildResult r = runCore({}, {{"KIVTEST_USAGE", "(-key <key>) [-v]"}});
  EXPECT_EQ(r.out, "REACHED\n");
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.exitCode, 0);
}

TEST(ConsoleUICore, ShowsTitleAndLevelAfterTheProcessName) {
  const ChildResult r = runCore({}, {{"KIVTEST_TITLE", "My tool"}, {"KIVTEST_LEVEL", "1.0"}});
  EXPECT_EQ(r.out, "\nprog - My tool   1.0\nREACHED\n");
  EXPECT_EQ(r.exitCode, 0);
}

TEST(ConsoleUICore, InitWithIdsTakesTitleAndLevelFromTheCatalog) {
  // 150 is "Trace Controller", 17 is "Usage".
  ChildResult r = runCore({}, {{"KIVTEST_TITLE_ID", "150"}, {"KIVTEST_LEVEL_ID", "17"}});
  EXPECT_EQ(r.out, "\nprog - Trace Controller   Usage\nREACHED\n");
  // Id 0 is never valid, and id 500 cannot be loaded: both give no text.
  r = runCore({}, {{"KIVTEST_TITLE_ID", "0"}, {"KIVTEST_LEVEL_ID", "500"}});
  EXPECT_EQ(r.out, "REACHED\n");
  r = runCore({}, {{"KIVTEST_TITLE_ID", "500"}, {"KIVTEST_LEVEL_ID", "3"}});
  EXPECT_EQ(r.out, "   YES\nREACHED\n");
}

TEST(ConsoleUICore, QuietDiscardsTheOutputStream) {
  const ChildResult r =
      runCore({"-quiet"}, {{"KIVTEST_TITLE", "My tool"}, {"KIVTEST_USAGE", "[-v]"}});
  EXPECT_EQ(r.out, "REACHED\n");
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.exitCode, 0);
}

TEST(ConsoleUICore, QuietStillReportsCommandLineErrorsOnStandardError) {
  const ChildResult r =
      runCore({"-quiet", "-x"}, {{"KIVTEST_TITLE", "My tool"}, {"KIVTEST_USAGE", "[-v]"}});
  EXPECT_EQ(r.err, display("prog", "An error occurred", "Unknown command line argument: -x"));
  // The usage display always goes to standard output; the title and the
  // beep went to the discarded stream.
  EXPECT_EQ(r.out, usageDisplay("[-v]") + "\n");
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUICore, CopyrightSwitchShowsTheCopyrightAndExits201) {
  const ChildResult r = runCore({"-copyright"}, {{"KIVTEST_TITLE", "My tool"}});
  EXPECT_EQ(r.exitCode, 201);
  EXPECT_EQ(r.err, "");
  ASSERT_EQ(r.out.rfind("\nprog - My tool\n\n  Copyright\n  " + std::string(72, '-') + "\n", 0), 0u)
      << r.out;
  EXPECT_NE(r.out.find("  PLTX Level..........................: KIVLibR5-24\n"), std::string::npos);
  EXPECT_EQ(r.out.back(), '\a');
  EXPECT_EQ(r.out.find("REACHED"), std::string::npos);
}

TEST(ConsoleUICore, CopyrightIsShownEvenInQuietMode) {
  const ChildResult r = runCore({"-quiet", "-copyright"}, {{"KIVTEST_TITLE", "My tool"},
                                                           {"KIVTEST_CRLEVEL", "Tool 2.1"},
                                                           {"KIVTEST_CRDATE", "2024-05-01"}});
  EXPECT_EQ(r.exitCode, 201);
  // The title went to the quiet stream; the copyright display did not.
  EXPECT_EQ(r.out.rfind("\n  Copyright\n", 0), 0u) << r.out;
  EXPECT_NE(r.out.find("  PLTX Level..........................: Tool 2.1\n"
                       "  Compile date........................: 2024-05-01\n"),
            std::string::npos)
      << r.out;
}

TEST(ConsoleUICore, CatalogWithoutTextsIgnoresQuietAndCopyright) {
  const ChildResult r =
      runCore({"-quiet", "-copyright"},
              {{"KIVTEST_CATALOG", "/nonexistent/kiv/none"}, {"KIVTEST_TITLE", "My tool"}});
  EXPECT_EQ(r.out, "\nprog - My tool\nREACHED\n");
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.exitCode, 0);
}

// ---------------------------------------------------------------------------
// Help switches
// ---------------------------------------------------------------------------

// A help switch as typed, and a word for it in the test list.
struct HelpSwitchCase {
  const char* text;
  const char* name;
};

void PrintTo(const HelpSwitchCase& c, std::ostream* os) { *os << '"' << c.text << '"'; }

class HelpSwitch : public ::testing::TestWithParam<HelpSwitchCase> {};

TEST_P(HelpSwitch, ShowsUsageAndHelpAndExits201BeforeTheCheck) {
  // -x is not legal, but the help switch is handled first.
  const ChildResult r = runCore({"-x", GetParam().text, "-y"},
                                {{"KIVTEST_USAGE", "[-v]"}, {"KIVTEST_HELP", "-v  verbose"}});
  EXPECT_EQ(r.out, usageDisplay("[-v]") + "\nHelp: -v  verbose\n\a");
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.exitCode, 201);
}

INSTANTIATE_TEST_SUITE_P(ConsoleUICore, HelpSwitch,
                         ::testing::Values(HelpSwitchCase{"-h", "LowerCaseH"},
                                           HelpSwitchCase{"-H", "UpperCaseH"},
                                           HelpSwitchCase{"-?", "QuestionMark"}),
                         kivtest::NameMember{});

TEST(ConsoleUICore, HelpWithoutHelpTextSaysSo) {
  const ChildResult r = runCore({"-h"}, {{"KIVTEST_USAGE", "[-v]"}});
  EXPECT_EQ(r.out, usageDisplay("[-v]") + "    Sorry, no additional help available\a");
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUICore, HelpSwitchWorksWithoutUsageString) {
  const ChildResult r = runCore({"-h"}, {{"KIVTEST_USAGE_ID", "0"}});
  EXPECT_EQ(r.out,
            gs_usageLine + gs_usageIndent + "\n" + "    Sorry, no additional help available\a");
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUICore, UsageAndHelpByIdShowTheTraceControllerTexts) {
  const ChildResult r =
      runCore({"-h"}, {{"KIVTEST_USAGE_ID", "151"}, {"KIVTEST_HELP_ID", "152"}}, "/usr/bin/trcctl");
  EXPECT_EQ(r.out, conuitest::readFile(KIV_CONUI_DATA_DIR "/conui_trace_help.txt"));
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUICore, HelpIdZeroMeansNoHelp) {
  const ChildResult r =
      runCore({"-?"}, {{"KIVTEST_USAGE_ID", "151"}, {"KIVTEST_HELP_ID", "0"}}, "trcctl");
  const std::string sorry = "      Sorry, no additional help available\a";
  ASSERT_GE(r.out.size(), sorry.size());
  EXPECT_EQ(r.out.substr(r.out.size() - sorry.size()), sorry);
  EXPECT_EQ(r.exitCode, 201);
}

// ---------------------------------------------------------------------------
// The command line check
// ---------------------------------------------------------------------------

TEST(ConsoleUICore, ReportsEveryUnknownArgumentThenShowsUsage) {
  const ChildResult r = runCore({"-x", "foo", "-v"}, {{"KIVTEST_USAGE", "[-v]"}});
  EXPECT_EQ(r.err, display("prog", "An error occurred", "Unknown command line argument: -x") +
                       display("prog", "An error occurred", "Unknown command line argument: foo"));
  EXPECT_EQ(r.out, usageDisplay("[-v]") + "\n\a");
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUICore, AcceptsFreeArgumentsWhenTheUsageHasAFreeValue) {
  const ChildResult r = runCore({"a.txt", "-v", "b.txt"}, {{"KIVTEST_USAGE", "[-v] <file>..."}});
  EXPECT_EQ(r.out, "REACHED\n");
  EXPECT_EQ(r.err, "");
}

TEST(ConsoleUICore, AcceptsSwitchValuesAndTheQuietSwitch) {
  const ChildResult r = runCore({"-key", "abc", "-quiet"}, {{"KIVTEST_USAGE", "(-key <key>)"}});
  EXPECT_EQ(r.out, "REACHED\n");
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.exitCode, 0);
}

TEST(ConsoleUICore, ReportsTheCopyrightSwitchWhenTheCatalogHasNoTexts) {
  // Without texts the built-in switches are not handled, and the check does
  // not exempt -copyright.
  const ChildResult r = runCore(
      {"-copyright"}, {{"KIVTEST_CATALOG", "/nonexistent/none"}, {"KIVTEST_USAGE", "[-v]"}});
  // Every text, header and message alike, is the catalog's fallback text.
  const std::string fallback = "UNABLE TO LOAD MESSAGE CATALOG: /nonexistent/none.cat";
  EXPECT_EQ(r.err, display("prog", fallback, fallback + ": -copyright"));
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUICore, ReportsARepeatedSwitchOnceForEveryLaterOccurrence) {
  const std::string repeated =
      display("prog", "An error occurred", "Illegal repetition of command line argument: -v");
  ChildResult r = runCore({"-v", "-v"}, {{"KIVTEST_USAGE", "[-v]"}});
  EXPECT_EQ(r.err, repeated);
  EXPECT_EQ(r.exitCode, 201);
  // Three times: two reports at the first occurrence, one at the second.
  r = runCore({"-v", "-v", "-v"}, {{"KIVTEST_USAGE", "[-v]"}});
  EXPECT_EQ(r.err, repeated + repeated + repeated);
  EXPECT_EQ(r.out, usageDisplay("[-v]") + "\n\a");
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUICore, RejectsTaggedArgumentsWhenTaggedLinesAreDisabled) {
  const Env env = {{"KIVTEST_USAGE", "[-v]\n![-secret]"}, {"KIVTEST_DISABLE_TAGGED", "1"}};
  const ChildResult r = runCore({"-secret"}, env);
  EXPECT_EQ(r.err,
            display("prog", "An error occurred", "Command line argument not allowed: -secret"));
  // The tagged line is not shown: after the newline only the indentation
  // remains, and the text's missing final newline is added.
  EXPECT_EQ(r.out, gs_usageLine + gs_usageIndent + "[-v]\n" + gs_usageIndent + "\n\n\a");
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUICore, AcceptsTaggedArgumentsOtherwise) {
  ChildResult r = runCore({"-secret"}, {{"KIVTEST_USAGE", "[-v]\n![-secret]"}});
  EXPECT_EQ(r.out, "REACHED\n");
  EXPECT_EQ(r.exitCode, 0);
  // Hidden lines are still legal when they are only hidden.
  r = runCore({"-secret"}, {{"KIVTEST_USAGE", "[-v]\n![-secret]"}, {"KIVTEST_HIDE_TAGGED", "1"}});
  EXPECT_EQ(r.out, "REACHED\n");
  EXPECT_EQ(r.exitCode, 0);
}

// ---------------------------------------------------------------------------
// Switch queries and missing switches
// ---------------------------------------------------------------------------

TEST(ConsoleUICore, HasArgSwitchInAllNamingForms) {
  const Env usage = {{"KIVTEST_USAGE", "[-v] [-k] [-display]"}};
  auto query = [&](const std::string& scenario, const std::string& name,
                   const std::vector<std::string>& args) {
    Env env = usage;
    env["KIVTEST_SCENARIO"] = scenario;
    env["KIVTEST_NAME"] = name;
    env["KIVTEST_ID"] = "159";  // "display"
    return runCore(args, env).out;
  };
  EXPECT_EQ(query("has-switch-name", "v", {"-k", "-v"}), "result=1\nREACHED\n");
  EXPECT_EQ(query("has-switch-name", "-v", {"-v"}), "result=1\nREACHED\n");
  EXPECT_EQ(query("has-switch-name", "V", {"-v"}), "result=0\nREACHED\n");
  EXPECT_EQ(query("has-switch-name", "v", {"-k"}), "result=0\nREACHED\n");
  EXPECT_EQ(query("has-switch-char", "k", {"-v", "-k"}), "result=1\nREACHED\n");
  EXPECT_EQ(query("has-switch-char", "k", {"-v"}), "result=0\nREACHED\n");
  EXPECT_EQ(query("has-switch-id", "", {"-display"}), "result=1\nREACHED\n");
  EXPECT_EQ(query("has-switch-id", "", {"-v"}), "result=0\nREACHED\n");
}

TEST(ConsoleUICore, ReqArgSwitchGoesOnWhenPresent) {
  const ChildResult r = runCore(
      {"-k"},
      {{"KIVTEST_SCENARIO", "req-switch-char"}, {"KIVTEST_NAME", "k"}, {"KIVTEST_USAGE", "[-k]"}});
  EXPECT_EQ(r.out, "result=1\nREACHED\n");
  EXPECT_EQ(r.exitCode, 0);
}

TEST(ConsoleUICore, MissingRequiredSwitchWithUsageExits201AfterTheUsage) {
  for (const char* form : {"name", "id"}) {
    const ChildResult r = runCore({}, {{"KIVTEST_SCENARIO", std::string("req-switch-") + form},
                                       {"KIVTEST_NAME", "key"},
                                       {"KIVTEST_ID", "153"},  // "key"
                                       {"KIVTEST_USAGE", "(-key <key>)"}});
    EXPECT_EQ(r.err, missingWithHint("key")) << form;
    EXPECT_EQ(r.out, usageDisplay("-key <key>") + "\n\a") << form;
    EXPECT_EQ(r.exitCode, 201) << form;
  }
}

TEST(ConsoleUICore, MissingRequiredSwitchWithoutUsageExits202) {
  ChildResult r = runCore({}, {{"KIVTEST_SCENARIO", "req-switch-name"}, {"KIVTEST_NAME", "key"}});
  EXPECT_EQ(r.err, display("prog", "A fatal error occurred", "Missing command line switch: key"));
  EXPECT_EQ(r.out, "\a");
  EXPECT_EQ(r.exitCode, 202);
  // The one-character form names the switch with its "-".
  r = runCore({}, {{"KIVTEST_SCENARIO", "req-switch-char"}, {"KIVTEST_NAME", "k"}});
  EXPECT_EQ(r.err, display("prog", "A fatal error occurred", "Missing command line switch: -k"));
  EXPECT_EQ(r.exitCode, 202);
}

TEST(ConsoleUICore, FatalMissingArgInBothForms) {
  ChildResult r = runCore({}, {{"KIVTEST_SCENARIO", "fatal-missing-char"}, {"KIVTEST_NAME", "z"}});
  EXPECT_EQ(r.err, display("prog", "A fatal error occurred", "Missing command line switch: -z"));
  EXPECT_EQ(r.exitCode, 202);
  r = runCore({}, {{"KIVTEST_SCENARIO", "fatal-missing-name"},
                   {"KIVTEST_NAME", "out"},
                   {"KIVTEST_USAGE", "[-v]"}});
  EXPECT_EQ(r.err, missingWithHint("out"));
  EXPECT_EQ(r.out, usageDisplay("[-v]") + "\n\a");
  EXPECT_EQ(r.exitCode, 201);
}

// ---------------------------------------------------------------------------
// String queries
// ---------------------------------------------------------------------------

ChildResult stringQuery(const std::string& scenario, const std::vector<std::string>& args,
                        const std::string& name = "key") {
  return runCore(
      args,
      {{"KIVTEST_SCENARIO", scenario}, {"KIVTEST_NAME", name}, {"KIVTEST_ID", "153"}});  // "key"
}

TEST(ConsoleUICore, HasArgStringReturnsTheValueAfterTheFirstOccurrence) {
  EXPECT_EQ(stringQuery("has-string-name", {"-key", "abc", "-key", "def"}).out,
            "result=1\nvalue=abc\nREACHED\n");
  EXPECT_EQ(stringQuery("has-string-name", {"-v", "-key", "-5"}).out,
            "result=1\nvalue=-5\nREACHED\n");
  EXPECT_EQ(stringQuery("has-string-char", {"-k", "val"}, "k").out,
            "result=1\nvalue=val\nREACHED\n");
  EXPECT_EQ(stringQuery("has-string-id", {"-key", "byid"}).out, "result=1\nvalue=byid\nREACHED\n");
  EXPECT_EQ(stringQuery("req-string-name", {"-key", "req"}).out, "result=1\nvalue=req\nREACHED\n");
}

TEST(ConsoleUICore, HasArgStringIsFalseWhenTheSwitchIsAbsent) {
  const ChildResult r = stringQuery("has-string-name", {"abc"});
  EXPECT_EQ(r.out, "result=0\nvalue=(unset)\nREACHED\n");
  EXPECT_EQ(r.exitCode, 0);
}

TEST(ConsoleUICore, StringSwitchWithoutValueExits203) {
  const std::string expected =
      display("prog", "A fatal error occurred", "No value specified for command line switch: key");
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"-key"}, std::vector<std::string>{"-key", "-v"}}) {
    const ChildResult r = stringQuery("has-string-name", args);
    EXPECT_EQ(r.err, expected);
    EXPECT_EQ(r.out, "\a");
    EXPECT_EQ(r.exitCode, 203);
  }
  const ChildResult r = stringQuery("req-string-char", {"-k"}, "k");
  EXPECT_EQ(r.err, display("prog", "A fatal error occurred",
                           "No value specified for command line switch: -k"));
  EXPECT_EQ(r.exitCode, 203);
}

TEST(ConsoleUICore, MissingRequiredStringSwitchIsFatal) {
  ChildResult r = stringQuery("req-string-id", {});
  EXPECT_EQ(r.err, display("prog", "A fatal error occurred", "Missing command line switch: key"));
  EXPECT_EQ(r.exitCode, 202);
  r = runCore({}, {{"KIVTEST_SCENARIO", "req-string-name"},
                   {"KIVTEST_NAME", "key"},
                   {"KIVTEST_USAGE", "(-key <key>)"}});
  EXPECT_EQ(r.err, missingWithHint("key"));
  EXPECT_EQ(r.exitCode, 201);
}

// ---------------------------------------------------------------------------
// Numeric queries
// ---------------------------------------------------------------------------

ChildResult numberQuery(const std::string& scenario, const std::vector<std::string>& args,
                        const std::string& name = "n") {
  return runCore(args, {{"KIVTEST_SCENARIO", scenario},
                        {"KIVTEST_NAME", name},
                        {"KIVTEST_ID", "171"},  // "fpid"
                        {"KIVTEST_USAGE", "(-n <number>) (-fpid <pid>) <file>..."}});
}

TEST(ConsoleUICore, NumericValueMayStartWithAnApostropheOrAMinus) {
  EXPECT_EQ(numberQuery("has-long-name", {"-n", "'-5"}).out, "result=1\nvalue=-5\nREACHED\n");
  EXPECT_EQ(numberQuery("has-long-name", {"-n", "-5"}).out, "result=1\nvalue=-5\nREACHED\n");
  EXPECT_EQ(numberQuery("has-long-name", {"-n", "'17"}).out, "result=1\nvalue=17\nREACHED\n");
  EXPECT_EQ(numberQuery("has-long-name", {"-n", "42"}).out, "result=1\nvalue=42\nREACHED\n");
}

TEST(ConsoleUICore, NumericValueIsReadUpToTheFirstNonDigit) {
  EXPECT_EQ(numberQuery("has-int-name", {"-n", "12abc"}).out, "result=1\nvalue=12\nREACHED\n");
  // A lone minus passes the check and reads as 0. (With a usage string the
  // command line check would reject it first: a lone "-" is a switch.)
  const ChildResult r =
      runCore({"-n", "-"}, {{"KIVTEST_SCENARIO", "has-int-name"}, {"KIVTEST_NAME", "n"}});
  EXPECT_EQ(r.out, "result=1\nvalue=0\nREACHED\n");
}

TEST(ConsoleUICore, NumericValueIsCutToTheWidthAskedFor) {
  EXPECT_EQ(numberQuery("has-short-name", {"-n", "70000"}).out, "result=1\nvalue=4464\nREACHED\n");
  EXPECT_EQ(numberQuery("has-int-name", {"-n", "5000000000"}).out,
            "result=1\nvalue=705032704\nREACHED\n");
  EXPECT_EQ(numberQuery("has-long-name", {"-n", "5000000000"}).out,
            "result=1\nvalue=5000000000\nREACHED\n");
}

TEST(ConsoleUICore, NumericQueriesInAllNamingFormsAndWidths) {
  for (const char* width : {"short", "int", "long"}) {
    for (const char* kind : {"has", "req"}) {
      const std::string prefix = std::string(kind) + "-" + width + "-";
      EXPECT_EQ(numberQuery(prefix + "name", {"-n", "31"}).out, "result=1\nvalue=31\nREACHED\n")
          << prefix;
      EXPECT_EQ(numberQuery(prefix + "char", {"x", "-n", "-32"}).out,
                "result=1\nvalue=-32\nREACHED\n")
          << prefix;
      EXPECT_EQ(numberQuery(prefix + "id", {"-fpid", "33"}).out, "result=1\nvalue=33\nREACHED\n")
          << prefix;
    }
    EXPECT_EQ(numberQuery(std::string("has-") + width + "-name", {"x"}).out,
              "result=0\nvalue=111\nREACHED\n");
  }
}

TEST(ConsoleUICore, NonNumericValueExits204) {
  for (const char* value : {"abc", "''5", "", "+5"}) {
    const ChildResult r = numberQuery("has-long-name", {"-n", value});
    EXPECT_EQ(r.err, display("prog", "A fatal error occurred",
                             "Non-numeric value specified for numeric command line switch: n"))
        << value;
    EXPECT_EQ(r.out, "\a") << value;
    EXPECT_EQ(r.exitCode, 204) << value;
  }
}

TEST(ConsoleUICore, NumericSwitchWithoutValueExits203) {
  const ChildResult r = numberQuery("req-short-char", {"x", "-n"});
  EXPECT_EQ(r.err, display("prog", "A fatal error occurred",
                           "No numeric value specified for command line switch: -n"));
  EXPECT_EQ(r.exitCode, 203);
}

TEST(ConsoleUICore, NumericValueMayLookLikeASwitch) {
  // The next argument is taken whatever it is; "-v" passes the check by its
  // minus sign and reads as 0.
  const ChildResult r =
      runCore({"-n", "-v"}, {{"KIVTEST_SCENARIO", "has-long-name"}, {"KIVTEST_NAME", "n"}});
  EXPECT_EQ(r.exitCode, 0);
  EXPECT_EQ(r.out, "result=1\nvalue=0\nREACHED\n");
}

TEST(ConsoleUICore, MissingRequiredNumericSwitchIsFatal) {
  const ChildResult r = numberQuery("req-int-name", {"a.txt"});
  EXPECT_EQ(r.err, missingWithHint("n"));
  EXPECT_EQ(r.exitCode, 201);
}

// ---------------------------------------------------------------------------
// Exits
// ---------------------------------------------------------------------------

TEST(ConsoleUICore, ProcessExitBeepsOnlyForNonZeroCodes) {
  ChildResult r = runCore({}, {{"KIVTEST_SCENARIO", "exit"}, {"KIVTEST_CODE", "0"}});
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.exitCode, 0);
  r = runCore({}, {{"KIVTEST_SCENARIO", "exit"}, {"KIVTEST_CODE", "7"}});
  EXPECT_EQ(r.out, "\a");
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.exitCode, 7);
  // In quiet mode the beep goes to the discarded stream.
  r = runCore({"-quiet"}, {{"KIVTEST_SCENARIO", "exit"}, {"KIVTEST_CODE", "7"}});
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.exitCode, 7);
}

// ---------------------------------------------------------------------------
// Catalogs: the library's own one along NLSPATH, and a program's own one
// with the library's texts at an offset
// ---------------------------------------------------------------------------

TEST(ConsoleUICore, UsesTheLibrarysCatalogFileWhenItIsFound) {
  {
    kivtest::EnvGuard nlspath("NLSPATH");
    nlspath.set(std::string(KIV_TEST_CATALOG_DIR) + "/%N");
    const char* locale = std::setlocale(LC_ALL, nullptr);
    const std::string saved = locale != nullptr ? locale : "C";
    const char* argv[] = {"prog"};
    {
      KivClConsoleUI ui(1, argv);
      EXPECT_TRUE(ui.getMessageCatalog().isOpen());
    }
    std::setlocale(LC_ALL, saved.c_str());
  }
  const ChildResult r = runCore(
      {"-h"}, {{"KIVTEST_USAGE", "[-v]"}, {"NLSPATH", std::string(KIV_TEST_CATALOG_DIR) + "/%N"}});
  EXPECT_EQ(r.out, usageDisplay("[-v]") + "    Sorry, no additional help available\a");
  EXPECT_EQ(r.exitCode, 201);
}

class OwnCatalog : public ::testing::Test {
 protected:
  OwnCatalog() {
    const std::string source = m_dir / "own.msg";
    std::ofstream(source) << "$quote \"\n"
                             "$set 1\n"
                             "1 \"[OWN-CATALOG]\"\n"
                             "5 \"[-v] <file>\"\n"
                             "6 \"Own title\"\n"
                             "7 \"-v  talk a lot\"\n"
                             "1008 \"x\"\n"
                             "1009 \"legal\"\n"
                             "1010 \"silent\"\n"
                             "1013 \"FATAL\"\n"
                             "1014 \"ERR\"\n"
                             "1017 \"Use\"\n"
                             "1018 \"Hint\"\n"
                             "1021 \"(try -x)\"\n"
                             "1023 \"Unknown arg\"\n"
                             "1026 \"Missing\"\n";
    const kivtest::ChildResult gencat =
        kivtest::runProgram(KIV_TEST_GENCAT, {m_dir / "own.cat", source}, {{"LC_ALL", "C"}});
    if (gencat.exitCode != 0) throw std::runtime_error("gencat failed: " + gencat.err);
  }

  ChildResult run(const std::vector<std::string>& args, Env env = {}) {
    env.emplace("KIVTEST_CATALOG", m_dir / "own");
    env.emplace("KIVTEST_BASE", "1000");
    env.emplace("KIVTEST_TITLE_ID", "6");
    env.emplace("KIVTEST_USAGE_ID", "5");
    env.emplace("KIVTEST_HELP_ID", "7");
    return runCore(args, env);
  }

  kivtest::TempDir m_dir;
};

TEST_F(OwnCatalog, TakesTheLibraryTextsAtTheMessageIdBase) {
  const ChildResult r = run({"-bogus"});
  EXPECT_EQ(r.err, display("prog", "ERR", "Unknown arg: -bogus"));
  EXPECT_EQ(r.out,
            "\nprog - Own title\n"
            "\nUse: prog [-x|-legal] [-silent]\n" +
                std::string(10, ' ') + "[-v] <file>\n\n\a");
  EXPECT_EQ(r.exitCode, 201);
}

TEST_F(OwnCatalog, BuiltInSwitchesAreNamedByTheCatalog) {
  ChildResult r = run({"-silent", "a.txt"});
  EXPECT_EQ(r.out, "REACHED\n");
  r = run({"-x"});
  EXPECT_EQ(r.out,
            "\nprog - Own title\n"
            "\nUse: prog [-x|-legal] [-silent]\n" +
                std::string(10, ' ') + "[-v] <file>\n\nHint: -v  talk a lot\n\a");
  EXPECT_EQ(r.exitCode, 201);
  // -h is no help switch of this catalog.
  r = run({"-h"});
  EXPECT_NE(r.err.find("Unknown arg: -h"), std::string::npos) << r.err;
}

TEST_F(OwnCatalog, HasNoFallbackForMissingTexts) {
  // Message 1022 (no help) is missing, and no built-in table stands in.
  const ChildResult r = run({"-x"}, {{"KIVTEST_HELP_ID", "0"}});
  EXPECT_NE(r.out.find("    UNABLE TO LOAD MESSAGE #1022 FROM CATALOG: " + (m_dir / "own.cat")),
            std::string::npos)
      << r.out;
  EXPECT_EQ(r.exitCode, 201);
}

// ---------------------------------------------------------------------------
// In-process: accessors and the cursors built on a console UI
// ---------------------------------------------------------------------------

class ConsoleUIInProcess : public ::testing::Test {
 protected:
  ConsoleUIInProcess() {
    m_nlspath.set("/nonexistent/%N");
    const char* locale = std::setlocale(LC_ALL, nullptr);
    m_locale = locale != nullptr ? locale : "C";
  }
  ~ConsoleUIInProcess() override { std::setlocale(LC_ALL, m_locale.c_str()); }

  kivtest::EnvGuard m_nlspath{"NLSPATH"};
  std::string m_locale;
};

TEST_F(ConsoleUIInProcess, KeepsArgumentsAndProcessName) {
  const char* argv[] = {"/usr/local/bin/mytool.exe", "-v", "a", nullptr};
  KivClConsoleUI ui(3, argv);
  EXPECT_EQ(ui.getArgc(), 3);
  EXPECT_EQ(ui.getArgv(), argv);
  EXPECT_STREQ(ui.getProcessName(), "mytool");
  EXPECT_EQ(ui.getMessageIdBase(), 0u);
  EXPECT_TRUE(ui.getMessageCatalog().isDefaultCatalog());
  EXPECT_EQ(ui.getMessageCatalog().getStringTableSize(), 221u);
  EXPECT_FALSE(ui.hasUsage());
  EXPECT_STREQ(ui.getUsage(), "");
  EXPECT_EQ(ui.getHelp(), nullptr);
  EXPECT_FALSE(ui.mustBeQuiet());
  ui.setUsage("[-v] <file>", "help");
  EXPECT_TRUE(ui.hasUsage());
  EXPECT_STREQ(ui.getUsage(), "[-v] <file>");
  EXPECT_STREQ(ui.getHelp(), "help");
}

TEST_F(ConsoleUIInProcess, CopiesUsageAndHelpTexts) {
  const char* argv[] = {"prog"};
  KivClConsoleUI ui(1, argv);
  std::string usage = "[-a]";
  ui.setUsage(usage.c_str(), nullptr);
  usage[2] = 'b';
  EXPECT_STREQ(ui.getUsage(), "[-a]");
  ui.setUsage(nullptr);
  EXPECT_FALSE(ui.hasUsage());
}

TEST_F(ConsoleUIInProcess, ANamedCatalogGetsNoTableAndKeepsItsBase) {
  const char* argv[] = {"prog"};
  KivClConsoleUI ui(1, argv, KivClFilename("/nonexistent/own"), 500);
  ui.init();
  EXPECT_EQ(ui.getMessageIdBase(), 500u);
  EXPECT_FALSE(ui.getMessageCatalog().isDefaultCatalog());
  EXPECT_EQ(ui.getMessageCatalog().getStringTable(), nullptr);
  EXPECT_FALSE(ui.getMessageCatalog().isOpen());
}

TEST_F(ConsoleUIInProcess, EmptyCommandLineIsHandled) {
  KivClConsoleUI ui(0, static_cast<const char**>(nullptr));
  EXPECT_EQ(ui.getArgc(), 0);
  EXPECT_STREQ(ui.getProcessName(), "");
  EXPECT_FALSE(ui.hasArgSwitch("v"));
  KivClArgvCursor cursor(ui);
  EXPECT_FALSE(cursor.setToFirst());
}

TEST_F(ConsoleUIInProcess, CursorsWalkTheConsoleUIArguments) {
  const char* argv[] = {"prog", "-key", "abc", "def", "-v", "ghi"};
  KivClConsoleUI ui(6, argv);
  ui.setUsage("(-key <key>) [-v] <file>...");
  KivClArgvCursor plain(ui);
  ASSERT_TRUE(plain.setToFirst());
  EXPECT_STREQ(plain.getAsCString(), "-key");
  EXPECT_STREQ(plain.getArgv0(), "prog");
  KivClArgvCheckCursor check(ui);
  EXPECT_STREQ(check.getUsage(), ui.getUsage());
  ASSERT_TRUE(check.setToFirst());
  EXPECT_TRUE(check.reqArg());
  KivClArgvFreeCursor freeArgs(ui);
  std::vector<std::string> visited;
  for (bool valid = freeArgs.setToFirst(); valid; valid = freeArgs.setToNext()) {
    visited.emplace_back(freeArgs.getAsCString());
  }
  EXPECT_EQ(visited, (std::vector<std::string>{"def", "ghi"}));
}

TEST_F(ConsoleUIInProcess, QueriesThatFindTheirValueDoNotEndTheProcess) {
  const char* argv[] = {"prog", "-n", "'-12", "-s", "str", "-c"};
  KivClConsoleUI ui(6, argv);
  long number = 0;
  EXPECT_TRUE(ui.hasArgNumval("n", number));
  EXPECT_EQ(number, -12);
  short small = 0;
  EXPECT_TRUE(ui.hasArgNumval('n', small));
  EXPECT_EQ(small, -12);
  const char* text = nullptr;
  EXPECT_TRUE(ui.hasArgString("-s", text));
  EXPECT_STREQ(text, "str");
  EXPECT_TRUE(ui.hasArgSwitch('c'));
  EXPECT_FALSE(ui.hasArgSwitch("C"));
  EXPECT_FALSE(ui.hasArgString("absent", text));
  EXPECT_STREQ(text, "str");
  int whole = 5;
  EXPECT_FALSE(ui.hasArgNumval(154UL, whole));  // "instance"
  EXPECT_EQ(whole, 5);
}

TEST_F(ConsoleUIInProcess, FormatSettersChangeTheParameters) {
  const char* argv[] = {"prog"};
  KivClConsoleUI ui(1, argv);
  ui.setFormatWidth(20);
  ui.setFormatStyle(KivClConsoleUI::KivEnFormatStyle::CENTRED);
  ui.setFormatFillChar('_');
  ui.hideTaggedLines();
  EXPECT_EQ(ui.getParams().getFormatWidth(), 20u);
  EXPECT_EQ(ui.getParams().getFormatStyle(), KivEnFormatStyle::CENTRED);
  EXPECT_EQ(ui.getParams().getFormatFillChar(), '_');
  EXPECT_TRUE(ui.getParams().isHideTaggedLines());
  ui.hideTaggedLines(false);
  EXPECT_FALSE(ui.getParams().isHideTaggedLines());
  ui.disableTaggedLines();
  EXPECT_TRUE(ui.getParams().isDisableTaggedLines());
}

}  // namespace
