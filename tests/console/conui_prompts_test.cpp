// Console UI prompts and progress indicator: questions on standard output,
// answers from standard input, bad answers repeated until a good one comes,
// and the exact bytes of the spinner. Each case runs
// programs/conui_prompt_prog.cpp as a child process with its standard input
// fed by the test.

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "conui_child.hpp"
#include "kiv_test_support.hpp"

namespace {

using conuitest::bar;
using kivtest::ChildResult;

using Env = std::map<std::string, std::string>;

ChildResult runPrompt(const Env& env, const std::string& input,
                      const std::vector<std::string>& args = {}) {
  kivtest::ChildRun run = conuitest::conuiRun(KIV_CONUI_PROMPT_PROG, "prog", args, env);
  run.input = input;
  run.outputLimit = 256 * 1024;
  return kivtest::runChild(run);
}

// The text of one prompt: bar, question and hint, default line.
// `defaultLabel` is the catalog's text for "default".
std::string promptText(const std::string& question, const std::string& hint,
                       const std::string& defaultAnswer,
                       const std::string& defaultLabel = "default") {
  std::string text = std::string(74, '-') + "\n " + question;
  if (!hint.empty()) text += " (" + hint + ")";
  text += ":\n";
  text += defaultAnswer.empty() ? " " : " (" + defaultLabel + ": " + defaultAnswer + "): ";
  return text;
}

// The error display of a bad answer, on standard output.
std::string badAnswer(const std::string& why) {
  return "\n" + bar() + "prog: An error occurred:\n      Invalid value specified: " + why + "\n";
}

std::string ending(const std::string& result, const std::string& buffer) {
  return "\nRESULT=" + result + "\nBUFFER=" + buffer + "\nREACHED\n";
}

// ---------------------------------------------------------------------------
// prompt and promptString
// ---------------------------------------------------------------------------

TEST(ConsoleUIPrompts, PromptShowsQuestionHintAndDefault) {
  const ChildResult r = runPrompt({{"KIVTEST_SCENARIO", "prompt"},
                                   {"KIVTEST_QUESTION", "Name"},
                                   {"KIVTEST_HINT", "any text"},
                                   {"KIVTEST_DEFAULT", "none"}},
                                  "Joe\n");
  EXPECT_EQ(r.out, promptText("Name", "any text", "none") + ending("Joe", "Joe"));
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.exitCode, 0);
}

TEST(ConsoleUIPrompts, PromptWithoutHintAndDefaultEndsWithABlank) {
  const ChildResult r =
      runPrompt({{"KIVTEST_SCENARIO", "prompt"}, {"KIVTEST_QUESTION", "Name"}}, "\n");
  EXPECT_EQ(r.out, promptText("Name", "", "") + ending("", ""));
}

TEST(ConsoleUIPrompts, EmptyAnswerTakesTheDefault) {
  const Env env = {{"KIVTEST_SCENARIO", "string"},
                   {"KIVTEST_QUESTION", "Output file"},
                   {"KIVTEST_DEFAULT", "out.txt"}};
  ChildResult r = runPrompt(env, "\n");
  EXPECT_EQ(r.out, promptText("Output file", "", "out.txt") + ending("out.txt", "out.txt"));
  r = runPrompt(env, "mine.txt\n");
  EXPECT_EQ(r.out, promptText("Output file", "", "out.txt") + ending("mine.txt", "mine.txt"));
}

TEST(ConsoleUIPrompts, PromptStringWithQuestionId) {
  const ChildResult r =
      runPrompt({{"KIVTEST_SCENARIO", "string-id"}, {"KIVTEST_ID", "150"}}, "answer\n");
  EXPECT_EQ(r.out, promptText("Trace Controller", "", "") + ending("answer", "answer"));
}

TEST(ConsoleUIPrompts, PromptsIgnoreQuietMode) {
  const ChildResult r = runPrompt({{"KIVTEST_SCENARIO", "string"}, {"KIVTEST_QUESTION", "Name"}},
                                  "Ann\n", {"-quiet"});
  EXPECT_EQ(r.out, promptText("Name", "", "") + ending("Ann", "Ann"));
}

TEST(ConsoleUIPrompts, LinesAreReadOneAfterTheOther) {
  const ChildResult r =
      runPrompt({{"KIVTEST_SCENARIO", "twice"}, {"KIVTEST_QUESTION", "Q"}}, "first\nsecond\n");
  EXPECT_EQ(r.out, promptText("Q", "", "") + "\nRESULT=first\n" + promptText("Q", "", "") +
                       ending("second", "second"));
}

TEST(ConsoleUIPrompts, OverlongAnswerIsCutTo80CharactersAndTheLineDropped) {
  const std::string longLine(100, 'x');
  const ChildResult r =
      runPrompt({{"KIVTEST_SCENARIO", "twice"}, {"KIVTEST_QUESTION", "Q"}}, longLine + "\nnext\n");
  const std::string cut(80, 'x');
  EXPECT_EQ(r.out, promptText("Q", "", "") + "\nRESULT=" + cut + "\n" + promptText("Q", "", "") +
                       ending("next", "next"));
  // Exactly 80 characters fit whole.
  const ChildResult exact =
      runPrompt({{"KIVTEST_SCENARIO", "twice"}, {"KIVTEST_QUESTION", "Q"}}, cut + "\nnext\n");
  EXPECT_EQ(exact.out, r.out);
}

TEST(ConsoleUIPrompts, EndOfInputGivesAnEmptyAnswerOrTheDefault) {
  ChildResult r = runPrompt({{"KIVTEST_SCENARIO", "string"}, {"KIVTEST_QUESTION", "Q"}}, "");
  EXPECT_EQ(r.out, promptText("Q", "", "") + ending("", ""));
  r = runPrompt(
      {{"KIVTEST_SCENARIO", "string"}, {"KIVTEST_QUESTION", "Q"}, {"KIVTEST_DEFAULT", "d"}}, "");
  EXPECT_EQ(r.out, promptText("Q", "", "d") + ending("d", "d"));
  // A last line without its newline is still an answer.
  r = runPrompt({{"KIVTEST_SCENARIO", "string"}, {"KIVTEST_QUESTION", "Q"}}, "tail");
  EXPECT_EQ(r.out, promptText("Q", "", "") + ending("tail", "tail"));
}

TEST(ConsoleUIPrompts, PromptForKeyWaitsForOneLine) {
  const ChildResult r =
      runPrompt({{"KIVTEST_SCENARIO", "key"}, {"KIVTEST_QUESTION", "Q"}}, "ignored\nkept\n");
  EXPECT_EQ(r.out, " === Press <ENTER> to continue ===\n" + promptText("Q", "", "") +
                       ending("kept", "kept"));
}

// ---------------------------------------------------------------------------
// promptNumval
// ---------------------------------------------------------------------------

Env numval(long min, long max, long defaultValue) {
  return {{"KIVTEST_SCENARIO", "numval"},
          {"KIVTEST_QUESTION", "How many"},
          {"KIVTEST_MIN", std::to_string(min)},
          {"KIVTEST_MAX", std::to_string(max)},
          {"KIVTEST_DEFAULT", std::to_string(defaultValue)}};
}

std::string numvalPrompt(long min, long max, long defaultValue) {
  return promptText("How many", "min.: " + std::to_string(min) + ", max.: " + std::to_string(max),
                    std::to_string(defaultValue));
}

TEST(ConsoleUIPrompts, NumvalEmptyAnswerGivesTheDefault) {
  const ChildResult r = runPrompt(numval(1, 10, 5), "\n");
  EXPECT_EQ(r.out, numvalPrompt(1, 10, 5) + ending("5", "5"));
}

TEST(ConsoleUIPrompts, NumvalAcceptsNegativeAnswers) {
  const ChildResult r = runPrompt(numval(-10, 10, 0), "-3\n");
  EXPECT_EQ(r.out, numvalPrompt(-10, 10, 0) + ending("-3", "-3"));
}

TEST(ConsoleUIPrompts, NumvalLoneMinusIsNotNumericAndIsAskedAgain) {
  const ChildResult r = runPrompt(numval(1, 10, 5), "-\n4\n");
  EXPECT_EQ(r.out, numvalPrompt(1, 10, 5) + badAnswer("Please enter a numeric value") +
                       numvalPrompt(1, 10, 5) + ending("4", "4"));
  EXPECT_EQ(r.err, "");
}

TEST(ConsoleUIPrompts, NumvalReadsUpToTheFirstNonDigit) {
  const ChildResult r = runPrompt(numval(1, 20, 5), "12abc\n");
  EXPECT_EQ(r.out, numvalPrompt(1, 20, 5) + ending("12", "12abc"));
}

TEST(ConsoleUIPrompts, NumvalRejectsLettersAndValuesOutsideTheLimits) {
  const ChildResult r = runPrompt(numval(1, 20, 5), "abc\n25\n0\n 7\n20\n");
  const std::string p = numvalPrompt(1, 20, 5);
  EXPECT_EQ(r.out, p + badAnswer("Please enter a numeric value") +            //
                       p + badAnswer("Please enter a value within limits") +  //
                       p + badAnswer("Please enter a value within limits") +  //
                       p + badAnswer("Please enter a numeric value") +        //
                       p + ending("20", "20"));
}

TEST(ConsoleUIPrompts, NumvalLimitsAreIncluded) {
  EXPECT_EQ(runPrompt(numval(1, 20, 5), "1\n").out, numvalPrompt(1, 20, 5) + ending("1", "1"));
  EXPECT_EQ(runPrompt(numval(-5, -1, -2), "-5\n").out,
            numvalPrompt(-5, -1, -2) + ending("-5", "-5"));
}

TEST(ConsoleUIPrompts, NumvalWithQuestionId) {
  Env env = numval(1, 10, 5);
  env["KIVTEST_SCENARIO"] = "numval-id";
  env["KIVTEST_ID"] = "186";  // "Number of entries"
  const ChildResult r = runPrompt(env, "9\n");
  EXPECT_EQ(r.out, promptText("Number of entries", "min.: 1, max.: 10", "5") + ending("9", "9"));
}

TEST(ConsoleUIPrompts, NumvalAtEndOfInputSettlesForTheDefaultWithinLimits) {
  // The default lies outside the limits: one complaint, then the nearest
  // limit instead of asking for ever.
  const ChildResult r = runPrompt(numval(1, 10, 50), "");
  EXPECT_FALSE(r.killed);
  EXPECT_EQ(r.out, numvalPrompt(1, 10, 50) + badAnswer("Please enter a value within limits") +
                       ending("10", "50"));
}

// ---------------------------------------------------------------------------
// promptYesNo
// ---------------------------------------------------------------------------

Env yesNo(bool defaultYes) {
  return {{"KIVTEST_SCENARIO", "yesno"},
          {"KIVTEST_QUESTION", "Proceed"},
          {"KIVTEST_DEFAULT", defaultYes ? "1" : "0"}};
}

TEST(ConsoleUIPrompts, YesNoAcceptsBothCases) {
  const std::string p = promptText("Proceed", "Y/N", "Y");
  EXPECT_EQ(runPrompt(yesNo(true), "y\n").out, p + ending("1", "y"));
  EXPECT_EQ(runPrompt(yesNo(true), "Yes please\n").out, p + ending("1", "Yes please"));
  EXPECT_EQ(runPrompt(yesNo(true), "n\n").out, p + ending("0", "n"));
  EXPECT_EQ(runPrompt(yesNo(true), "NO\n").out, p + ending("0", "NO"));
}

TEST(ConsoleUIPrompts, YesNoEmptyAnswerTakesTheDefault) {
  EXPECT_EQ(runPrompt(yesNo(true), "\n").out, promptText("Proceed", "Y/N", "Y") + ending("1", "Y"));
  EXPECT_EQ(runPrompt(yesNo(false), "\n").out,
            promptText("Proceed", "Y/N", "N") + ending("0", "N"));
}

TEST(ConsoleUIPrompts, YesNoAsksAgainAfterAnyOtherLetter) {
  const ChildResult r = runPrompt(yesNo(false), "x\n ja\ny\n");
  const std::string p = promptText("Proceed", "Y/N", "N");
  EXPECT_EQ(r.out, p + badAnswer("Please use: Y/N") + p + badAnswer("Please use: Y/N") + p +
                       ending("1", "y"));
  EXPECT_EQ(r.err, "");
}

TEST(ConsoleUIPrompts, YesNoAtEndOfInputSettlesForTheDefault) {
  // The last line, without its newline, is no valid answer, and no other
  // can come.
  const ChildResult r = runPrompt(yesNo(false), "maybe");
  EXPECT_FALSE(r.killed);
  EXPECT_EQ(r.out, promptText("Proceed", "Y/N", "N") + badAnswer("Please use: Y/N") +
                       ending("0", "maybe"));
}

TEST(ConsoleUIPrompts, YesNoWithQuestionId) {
  Env env = yesNo(true);
  env["KIVTEST_SCENARIO"] = "yesno-id";
  env["KIVTEST_ID"] = "177";  // "Trace enabled"
  EXPECT_EQ(runPrompt(env, "n\n").out, promptText("Trace enabled", "Y/N", "Y") + ending("0", "n"));
}

TEST(ConsoleUIPrompts, YesNoComparesWithTheLettersAsTheyStandInTheCatalog) {
  // A catalog of the program's own whose yes word begins with a lower-case
  // letter: the answer is converted to upper case, the catalog's letter is
  // not, so neither "j" nor "J" is ever a yes; "n" is a no.
  kivtest::TempDir dir;
  const std::string source = dir / "yesno.msg";
  std::ofstream(source) << "$quote \"\n"
                           "$set 1\n"
                           "1 \"[OWN-CATALOG]\"\n"
                           "3 \"ja\"\n"
                           "4 \"Nein\"\n"
                           "5 \"J/N\"\n"
                           "11 \"vorgabe\"\n"
                           "14 \"Fehler\"\n"
                           "30 \"Falsch\"\n"
                           "33 \"Bitte\"\n";
  const ChildResult gencat =
      kivtest::runProgram(KIV_TEST_GENCAT, {dir / "yesno.cat", source}, {{"LC_ALL", "C"}});
  ASSERT_EQ(gencat.exitCode, 0) << gencat.err;
  Env env = yesNo(false);
  env["KIVTEST_CATALOG"] = dir / "yesno";
  env["KIVTEST_NOINIT"] = "1";
  const std::string p = promptText("Proceed", "J/N", "N", "vorgabe");
  const std::string bad = "\n" + bar() + "prog: Fehler:\n      Falsch: Bitte: J/N\n";
  ChildResult r = runPrompt(env, "j\nJ\nn\n");
  EXPECT_EQ(r.out, p + bad + p + bad + p + ending("0", "n"));
  // The default letter is the catalog's "N", which passes.
  r = runPrompt(env, "\n");
  EXPECT_EQ(r.out, p + ending("0", "N"));
}

// ---------------------------------------------------------------------------
// Progress indicator
// ---------------------------------------------------------------------------

const std::string gs_wipe = "\r" + std::string(80, ' ') + "\r";

TEST(ConsoleUIPrompts, SpinnerTurnsThroughItsFourCharacters) {
  const ChildResult r = runPrompt({{"KIVTEST_SCENARIO", "spinner"}, {"KIVTEST_STEPS", "5"}}, "");
  EXPECT_EQ(r.out, "\r | \r / \r - \r \\ \r | " + gs_wipe + "REACHED\n");
}

TEST(ConsoleUIPrompts, SpinnerShowsTextsAndRestarts) {
  const ChildResult r = runPrompt({{"KIVTEST_SCENARIO", "spinner-text"}}, "");
  EXPECT_EQ(r.out, "\r | a \r / b \r - \r | again " + gs_wipe + "REACHED\n");
}

TEST(ConsoleUIPrompts, SpinnerIsSilentInQuietMode) {
  const ChildResult r =
      runPrompt({{"KIVTEST_SCENARIO", "spinner"}, {"KIVTEST_STEPS", "3"}}, "", {"-quiet"});
  EXPECT_EQ(r.out, "REACHED\n");
}

}  // namespace
