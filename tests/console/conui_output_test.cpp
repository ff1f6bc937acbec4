// Console UI output: headers and message lines, the error, warning,
// information, fatal and exception displays, label-value lines in every
// value type and justification style, hex dumps, error record lines, the
// text display with tagged and "@" lines, and the usage, help, title and
// copyright displays. Each case runs programs/conui_output_prog.cpp as a
// child process and checks its exact output; the longer outputs are golden
// files in tests/console/data.

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "conui_child.hpp"

namespace {

using conuitest::bar;
using conuitest::display;
using kivtest::ChildResult;

using Env = std::map<std::string, std::string>;

const std::string gs_reached = "REACHED\n";

ChildResult runOutput(const Env& env, const std::vector<std::string>& args = {}) {
  kivtest::ChildRun run = conuitest::conuiRun(KIV_CONUI_OUTPUT_PROG, "/bin/prog", args, env);
  // A runaway display (billions of blanks) is cut off early.
  run.outputLimit = 64 * 1024;
  run.timeoutMs = 20000;
  return kivtest::runChild(run);
}

ChildResult scenario(const std::string& name, Env env = {},
                     const std::vector<std::string>& args = {}) {
  env["KIVTEST_SCENARIO"] = name;
  return runOutput(env, args);
}

std::string golden(const std::string& name) {
  return conuitest::readFile(std::string(KIV_CONUI_DATA_DIR) + "/" + name);
}

// One label-value line of the label `label` with the value "value".
std::string labelLine(const std::string& label, Env env = {}) {
  env["KIVTEST_LABEL"] = label;
  const ChildResult r = runOutput(env);
  EXPECT_FALSE(r.killed) << "runaway output for label " << label;
  if (r.killed) return "<runaway output of " + std::to_string(r.out.size()) + " bytes>";
  EXPECT_EQ(r.exitCode, 0);
  if (r.out.size() < gs_reached.size()) return r.out;
  return r.out.substr(0, r.out.size() - gs_reached.size());
}

// ---------------------------------------------------------------------------
// Displays
// ---------------------------------------------------------------------------

TEST(ConsoleUIOutput, ErrorDisplayHasBarNameLabelAndIndentedMessage) {
  const ChildResult r = scenario("error");
  EXPECT_EQ(r.err,
            "\n" + bar() + "prog: An error occurred:\n      Cannot open the file: a.txt: denied\n");
  EXPECT_EQ(r.out, gs_reached);
}

TEST(ConsoleUIOutput, MessageLinesLeaveOutNullInserts) {
  const ChildResult r = scenario("error-four");
  EXPECT_EQ(r.err, display("prog", "An error occurred", "Four: 1: 3: 4"));
}

TEST(ConsoleUIOutput, ErrorOnAGivenStream) {
  const ChildResult r = scenario("error-stream");
  EXPECT_EQ(r.out, display("prog", "An error occurred", "On the output: one: two") + gs_reached);
  EXPECT_EQ(r.err, "");
}

TEST(ConsoleUIOutput, WarningGoesToTheErrorStream) {
  const ChildResult r = scenario("warning");
  EXPECT_EQ(r.err, display("prog", "Warning", "Careful: disk almost full"));
  EXPECT_EQ(r.out, gs_reached);
}

TEST(ConsoleUIOutput, InfoGoesToTheOutputStream) {
  ChildResult r = scenario("info");
  EXPECT_EQ(r.out, display("prog", "Status", "All done: 3 files") + gs_reached);
  EXPECT_EQ(r.err, "");
  // Without a text the header is not continued.
  r = scenario("info-title");
  EXPECT_EQ(r.out, "\n" + bar() + "prog: Status only\n" + gs_reached);
}

TEST(ConsoleUIOutput, FatalShowsTheDisplayBeepsAndExitsWithTheCode) {
  const ChildResult r = scenario("fatal");
  EXPECT_EQ(r.err, display("prog", "A fatal error occurred", "Cannot go on: reason"));
  EXPECT_EQ(r.out, "\a");
  EXPECT_EQ(r.exitCode, 9);
}

TEST(ConsoleUIOutput, ExceptionDisplayShowsTheRecordVerbosely) {
  const ChildResult r = scenario("exception");
  EXPECT_EQ(r.err, display("prog", "An exception occurred", "Caught it: while saving"));
  // The record lines are format lines, written on the output stream.
  EXPECT_EQ(r.out,
            "  Error ID............................: FILE_COULD_NOT_REMOVE\n"
            "  Error ID............................: 1000402\n"
            "  Error Class.........................: IO_NOT_EXISTENT\n"
            "  Error Severity......................: FATAL\n"
            "  Recommended Action..................: TERMINATE\n"
            "  Cause for exception.................: the file is gone\n"
            "  Exception occured in module.........: filesystem/kiv_file.cpp:120\n"
            "  Exception occured in line...........: 120\n" +
                gs_reached);
}

TEST(ConsoleUIOutput, HeadersAndMessageLines) {
  const ChildResult r = scenario("headers");
  EXPECT_EQ(r.out, "\n" + bar() + "prog: Plain\n" +                       //
                       "\n" + bar() + "prog: More:\n      continued\n" +  //
                       "\n" + bar() + "prog: Informational message\n" +   //
                       "\n" + bar() + "prog: Usage:\n      text: second: fourth\n" +
                       ": subsequent\n" + gs_reached);
}

TEST(ConsoleUIOutput, BarIndentationBeepAndFormatHeaders) {
  const ChildResult r = scenario("pieces");
  EXPECT_EQ(r.out, bar() + "\n" + "    ***\n" + "\a\n" + "\n  Format header\n  " +
                       std::string(72, '-') + "\n" + "\n  Level\n  " + std::string(72, '-') + "\n" +
                       gs_reached);
}

TEST(ConsoleUIOutput, RedirectedOutputStreamAlsoTakesErrors) {
  const ChildResult r = scenario("redirect");
  EXPECT_EQ(r.out, "captured<<" +
                       display("prog", "An error occurred", "Redirected error").substr(0) + "\n" +
                       bar() + "prog: Redirected info\n>>\n" + gs_reached);
  EXPECT_EQ(r.err, "");
}

TEST(ConsoleUIOutput, QuietModeDiscardsDisplaysAndIgnoresRedirection) {
  const ChildResult r = scenario("quiet-displays", {}, {"-quiet"});
  EXPECT_EQ(r.out, "quiet=1 captured=0\n" + gs_reached);
  EXPECT_EQ(r.err, "");
}

// ---------------------------------------------------------------------------
// Label-value lines
// ---------------------------------------------------------------------------

TEST(ConsoleUIOutput, LeftLabelIsFilledWithDotsToTheWidth) {
  EXPECT_EQ(labelLine("Trace file"), "  Trace file" + std::string(26, '.') + ": value\n");
  EXPECT_EQ(labelLine("Trace file", {{"KIVTEST_FILL", "_"}}),
            "  Trace file" + std::string(26, '_') + ": value\n");
  EXPECT_EQ(labelLine("", {{"KIVTEST_WIDTH", "3"}}), "  ...: value\n");
}

TEST(ConsoleUIOutput, RightLabelIsPrecededByBlanks) {
  EXPECT_EQ(labelLine("Trace file", {{"KIVTEST_STYLE", "1"}}),
            "  " + std::string(26, ' ') + "Trace file: value\n");
}

TEST(ConsoleUIOutput, CentredLabelSubtractsBothParitiesOnTheRight) {
  const Env centred = {{"KIVTEST_STYLE", "2"}};
  // Even width, even length: 13 + 10 + 13.
  EXPECT_EQ(labelLine("Trace file", centred),
            "  " + std::string(13, ' ') + "Trace file" + std::string(13, ' ') + ": value\n");
  // Even width, odd length: h = 18 - 2 = 16, then 16 - 1 = 15.
  EXPECT_EQ(labelLine("Level", centred),
            "  " + std::string(16, ' ') + "Level" + std::string(15, ' ') + ": value\n");
  // Odd width, odd length: h = 17 - 2 = 15, then 15 - 2 = 13 (two short).
  Env odd = centred;
  odd["KIVTEST_WIDTH"] = "35";
  EXPECT_EQ(labelLine("Level", odd),
            "  " + std::string(15, ' ') + "Level" + std::string(13, ' ') + ": value\n");
  // Odd width, even length: h = 17 - 5 = 12, then 12 - 1 = 11.
  EXPECT_EQ(labelLine("Trace file", odd),
            "  " + std::string(12, ' ') + "Trace file" + std::string(11, ' ') + ": value\n");
}

TEST(ConsoleUIOutput, CentredLabelWritesNoBlanksWhenTheRightCountIsNegative) {
  // Width 35 and a label of 35 characters: h = 0 and the right-hand count
  // is 0 - (1 + 1) = -2. No blanks at all, never a wrapped-around count.
  Env odd = {{"KIVTEST_STYLE", "2"}, {"KIVTEST_WIDTH", "35"}};
  const std::string label35(35, 'L');
  EXPECT_EQ(labelLine(label35, odd), "  " + label35 + ": value\n");
  // A longer label counts as the width: the same.
  const std::string label40(40, 'M');
  EXPECT_EQ(labelLine(label40, odd), "  " + label40 + ": value\n");
  // Width 1, empty label: 0 - (1 + 0) = -1.
  odd["KIVTEST_WIDTH"] = "1";
  EXPECT_EQ(labelLine("", odd), "  : value\n");
}

TEST(ConsoleUIOutput, LongLabelIsWrittenWholeWithoutFill) {
  const std::string label40 = "A label of exactly forty characters long";
  ASSERT_EQ(label40.size(), 40u);
  for (const char* style : {"0", "1", "2"}) {
    EXPECT_EQ(labelLine(label40, {{"KIVTEST_STYLE", style}}), "  " + label40 + ": value\n")
        << "style " << style;
  }
}

TEST(ConsoleUIOutput, EveryValueTypeInEveryStyle) {
  for (const char* name : {"left", "right", "centred"}) {
    const std::string style = name[0] == 'l' ? "0" : name[0] == 'r' ? "1" : "2";
    const ChildResult r = scenario("values", {{"KIVTEST_STYLE", style}});
    EXPECT_EQ(r.out, golden(std::string("conui_values_") + name + ".txt")) << name;
  }
}

TEST(ConsoleUIOutput, QuoteStringsVariableQuotesStringsAndCharacters) {
  const ChildResult r = scenario(
      "values",
      {{"KIV_CONSOLEUI_QUOTE_STRINGS", "yes"}, {"KIVTEST_WIDTH", "20"}, {"KIVTEST_FILL", "_"}});
  EXPECT_EQ(r.out, golden("conui_values_quoted.txt"));
  // Values other than yes, on, true and 1 leave quoting off.
  const ChildResult off = scenario("values", {{"KIV_CONSOLEUI_QUOTE_STRINGS", "no"}});
  EXPECT_EQ(off.out, golden("conui_values_left.txt"));
}

TEST(ConsoleUIOutput, HexDumpShowsLinesOf16BytesWithOffsets) {
  const ChildResult r = scenario("dump");
  const std::string rule = "  " + std::string(72, '-') + "\n";
  EXPECT_EQ(
      r.out,
      "\n  Zero bytes\n" + rule +  //
          "\n  Sixteen bytes\n" + rule +
          "  00000000: 48 65 6C 6C 6F 20 57 6F  72 6C 64 2C 20 74 68 69 | Hello World, thi\n"
          "\n  Bytes\n" +
          rule +
          "  00000000: 48 65 6C 6C 6F 20 57 6F  72 6C 64 2C 20 74 68 69 | Hello World, thi\n"
          "  00000010: 73 __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | s_______________\n"
          "\n  Twenty-nine bytes\n" +
          rule +
          "  00000000: 48 65 6C 6C 6F 20 57 6F  72 6C 64 2C 20 74 68 69 | Hello World, thi\n"
          "  00000010: 73 20 69 73 20 61 20 64  75 6D 70 0A 7F __ __ __ | s is a dump..___\n" +
          gs_reached);
}

// ---------------------------------------------------------------------------
// Error record lines
// ---------------------------------------------------------------------------

TEST(ConsoleUIOutput, ErrorIdClassSeverityAndActionByName) {
  const ChildResult r = scenario("errid");
  EXPECT_EQ(r.out,
            "  Error ID............................: FILE_COULD_NOT_REMOVE\n"
            "  Error ID............................: CONUI_USAGE\n"
            "  Error ID............................: 201\n"
            "  Error ID............................: 424242\n"
            "  Error Class.........................: IO_NOT_EXISTENT\n"
            "  Error Severity......................: FATAL\n"
            "  Recommended Action..................: RETRYDELAY\n"
            "  Error Class.........................: 42\n"
            "  Error Severity......................: 3\n" +
                gs_reached);
}

TEST(ConsoleUIOutput, ClearedErrorRecordPrintsNothingTersely) {
  EXPECT_EQ(scenario("record-cleared").out, gs_reached);
  EXPECT_EQ(scenario("user-cleared").out, gs_reached);
}

TEST(ConsoleUIOutput, ClearedErrorRecordPrintsEveryFieldVerbosely) {
  EXPECT_EQ(scenario("record-cleared-verbose").out,
            "  Error ID............................: NO_ERROR\n"
            "  Error ID............................: 0\n"
            "  Error Class.........................: UNKNOWN\n" +
                gs_reached);
  EXPECT_EQ(scenario("user-cleared-verbose").out,
            "  Error ID............................: NO_ERROR\n"
            "  Error ID............................: 0\n"
            "  Error Class.........................: UNKNOWN\n"
            "  Error Severity......................: NONE\n"
            "  Recommended Action..................: IGNORE\n" +
                gs_reached);
}

TEST(ConsoleUIOutput, ErrorRecordWithoutClassStopsAfterTheId) {
  EXPECT_EQ(scenario("record-no-class").out,
            "  Error ID............................: FILE_COULD_NOT_COPY\n" + gs_reached);
  EXPECT_EQ(scenario("record-full").out,
            "  Error ID............................: FILE_COULD_NOT_COPY\n"
            "  Error Class.........................: IO_PERMISSION_DENIED\n" +
                gs_reached);
}

TEST(ConsoleUIOutput, UserErrorShowsOnlyTheFieldsThatAreSet) {
  EXPECT_EQ(scenario("user-partial").out,
            "  Error ID............................: MEMMGR_ZERO_SIZE_OBJECT\n"
            "  Error Severity......................: WARNING\n" +
                gs_reached);
}

TEST(ConsoleUIOutput, ExceptionRecordTerseAndVerbose) {
  EXPECT_EQ(scenario("exception-terse").out,
            "  Error ID............................: FILE_COULD_NOT_REMOVE\n"
            "  Error Class.........................: IO_NOT_EXISTENT\n"
            "  Error Severity......................: FATAL\n"
            "  Recommended Action..................: TERMINATE\n" +
                gs_reached);
  // Without a cause there is no cause line; the function line is never
  // shown.
  const ChildResult r = scenario("exception-no-cause");
  EXPECT_EQ(r.out,
            "  Error ID............................: CONUI_USAGE\n"
            "  Error ID............................: 201\n"
            "  Error Class.........................: UNKNOWN\n"
            "  Error Severity......................: NONE\n"
            "  Recommended Action..................: IGNORE\n"
            "  Exception occured in module.........: m.cpp:3\n"
            "  Exception occured in line...........: 3\n" +
                gs_reached);
}

// ---------------------------------------------------------------------------
// Text display
// ---------------------------------------------------------------------------

std::string displayed(const std::string& text, int indent, bool usage, Env env = {}) {
  env["KIVTEST_TEXT"] = text;
  env["KIVTEST_INDENT"] = std::to_string(indent);
  if (usage) env["KIVTEST_USAGE_MODE"] = "1";
  const ChildResult r = scenario("display", std::move(env));
  EXPECT_EQ(r.exitCode, 0);
  const std::string tail = "|\n" + gs_reached;
  if (r.out.size() < tail.size()) return r.out;
  return r.out.substr(0, r.out.size() - tail.size());
}

TEST(ConsoleUIOutput, DisplayIndentsAfterEveryNewlineAndEndsTheLastLine) {
  EXPECT_EQ(displayed("one\ntwo", 3, false), "one\n   two\n");
  // A text that ends with a newline gets no extra end of line; the
  // indentation after its newline is written all the same.
  EXPECT_EQ(displayed("one\n", 2, false), "one\n  ");
  EXPECT_EQ(displayed("", 2, false), "\n");
}

TEST(ConsoleUIOutput, DisplayShowsTaggedLinesWithoutTheMark) {
  EXPECT_EQ(displayed("[-a]\n![-b]\n[-c]", 1, false), "[-a]\n [-b]\n [-c]\n");
}

TEST(ConsoleUIOutput, DisplayHidesTaggedLinesWhenAsked) {
  for (const char* flag : {"KIVTEST_HIDE_TAGGED", "KIVTEST_DISABLE_TAGGED"}) {
    const Env env = {{flag, "1"}};
    // A line beginning with "!" does not appear at all.
    EXPECT_EQ(displayed("[-a]\n![-b]\n[-c]", 1, false, env), "[-a]\n [-c]\n") << flag;
    EXPECT_EQ(displayed("![-b]\n[-c]", 1, false, env), "[-c]\n") << flag;
    // A "!" inside a line hides the rest of it together with its newline.
    EXPECT_EQ(displayed("[-a] ![-b]\n[-c]", 1, false, env), "[-a] [-c]\n") << flag;
  }
}

TEST(ConsoleUIOutput, DisplayShowsALineOfOnlyAtAsOneEmptyLine) {
  EXPECT_EQ(displayed("one\n@\ntwo", 2, false), "one\n  \n  two\n");
  // Only in the first column.
  EXPECT_EQ(displayed("a@b\n x@", 0, false), "a@b\n x@\n");
  EXPECT_EQ(displayed("@\nx", 0, false), "\nx\n");
}

TEST(ConsoleUIOutput, DisplayInUsageModeLeavesOutQuotesAndParentheses) {
  EXPECT_EQ(displayed("(-key <key>) \"text\" [(-i <i>)]", 0, true), "-key <key> text [-i <i>]\n");
  EXPECT_EQ(displayed("(-key <key>) \"text\"", 0, false), "(-key <key>) \"text\"\n");
}

// ---------------------------------------------------------------------------
// Usage, help, title and copyright
// ---------------------------------------------------------------------------

const char* const gs_usage = "(-key <key>) \"a comment\"\n![-secret]  [-v]\n<file>...";

TEST(ConsoleUIOutput, UsageDisplayListsTheBuiltInSwitchesAndAlignsTheUsage) {
  const ChildResult r = scenario("usage", {{"KIVTEST_USAGE", gs_usage}});
  const std::string indent(12, ' ');
  EXPECT_EQ(r.out, "\nUsage: prog [-h|-H|-?|-copyright] [-quiet]\n" + indent +
                       "-key <key> a comment\n" + indent + "[-secret]  [-v]\n" + indent +
                       "<file>...\n" + gs_reached);
}

TEST(ConsoleUIOutput, UsageDisplayHidesTaggedLines) {
  const ChildResult r =
      scenario("usage", {{"KIVTEST_USAGE", gs_usage}, {"KIVTEST_HIDE_TAGGED", "1"}});
  const std::string indent(12, ' ');
  EXPECT_EQ(r.out, "\nUsage: prog [-h|-H|-?|-copyright] [-quiet]\n" + indent +
                       "-key <key> a comment\n" + indent + "<file>...\n" + gs_reached);
}

TEST(ConsoleUIOutput, UsageDisplayWithExitEndsWith201) {
  const ChildResult r = scenario("usage-exit", {{"KIVTEST_USAGE", "[-v]"}});
  EXPECT_EQ(r.out,
            "\nUsage: prog [-h|-H|-?|-copyright] [-quiet]\n" + std::string(12, ' ') + "[-v]\n\n\a");
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUIOutput, UsageDisplayWithoutCatalogTextsListsNoSwitches) {
  // Without the switch list the first line is not ended: the indentation
  // and the usage follow the process name on the same line.
  const ChildResult r = scenario(
      "usage", {{"KIVTEST_USAGE", "[-v]\n[-w]"}, {"KIVTEST_CATALOG", "/nonexistent/none"}});
  const std::string label = "UNABLE TO LOAD MESSAGE CATALOG: /nonexistent/none.cat";
  const std::string indent(label.size() + 4 + 3, ' ');
  EXPECT_EQ(r.out, "\n" + label + ": prog" + indent + "[-v]\n" + indent + "[-w]\n" + gs_reached);
}

TEST(ConsoleUIOutput, HelpDisplayAlignsTheHelpText) {
  const ChildResult r = scenario(
      "help", {{"KIVTEST_USAGE", "[-v]"}, {"KIVTEST_HELP", "-v  verbose\n!-x  tagged\n@\nmore"}});
  EXPECT_EQ(r.out, "\nHelp: -v  verbose\n      -x  tagged\n      \n      more\n" + gs_reached);
  EXPECT_EQ(r.exitCode, 0);
}

TEST(ConsoleUIOutput, HelpDisplayWithoutHelpTextLeavesItsLineOpen) {
  // The indentation and the text, but no end of line: what comes next
  // (here the program's own line, or the beep of the exit) follows on the
  // same line.
  ChildResult r = scenario("help");
  EXPECT_EQ(r.out, "    Sorry, no additional help available" + gs_reached);
  r = scenario("help-exit");
  EXPECT_EQ(r.out, "    Sorry, no additional help available\a");
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUIOutput, UsageHelpDisplaySetsBothTexts) {
  const ChildResult r = scenario("usage-help");
  EXPECT_EQ(r.out, "\nUsage: prog [-h|-H|-?|-copyright] [-quiet]\n" + std::string(12, ' ') +
                       "[-v] <file>\n\nHelp: -v  verbose\n\a");
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUIOutput, TitleDisplayVariants) {
  const ChildResult r = scenario("title");
  EXPECT_EQ(r.out, "\nprog - Title only\n\nprog - Title   L2\n   Level only\n" + gs_reached);
}

std::string withoutCompileDate(std::string text) {
  const std::string key = "  Compile date........................: ";
  const std::string::size_type at = text.find(key);
  if (at == std::string::npos) return text;
  const std::string::size_type end = text.find('\n', at);
  return text.replace(at + key.size(), end - at - key.size(), "<date>");
}

TEST(ConsoleUIOutput, CopyrightDisplayShowsBannerAndLevels) {
  const ChildResult r =
      scenario("copyright", {{"KIVTEST_CRLEVEL", "Tool 2.1"}, {"KIVTEST_CRDATE", "2024-05-01"}});
  EXPECT_EQ(withoutCompileDate(r.out), golden("conui_copyright.txt"));
  EXPECT_EQ(r.exitCode, 201);
}

TEST(ConsoleUIOutput, CopyrightDisplayIgnoresQuietMode) {
  const ChildResult r = scenario("copyright", {}, {"-quiet"});
  EXPECT_EQ(r.exitCode, 201);
  EXPECT_EQ(r.out.rfind("\n  Copyright\n", 0), 0u) << r.out;
  // Without a level of the program there is one level block.
  EXPECT_EQ(r.out.find("Tool"), std::string::npos);
  EXPECT_EQ(r.out.find("  Level\n"), r.out.rfind("  Level\n"));
  EXPECT_EQ(r.out.back(), '\a');
}

}  // namespace
