// A console tool for the tests of the prompts and the progress indicator,
// after the set-up of conui_prog_common.hpp. Scenarios (KIVTEST_SCENARIO):
//   prompt        prompt(KIVTEST_QUESTION, KIVTEST_HINT, KIVTEST_DEFAULT)
//   string        promptString(KIVTEST_QUESTION, KIVTEST_DEFAULT)
//   string-id     promptString(KIVTEST_ID, KIVTEST_DEFAULT)
//   numval        promptNumval(KIVTEST_QUESTION, KIVTEST_MIN, KIVTEST_MAX,
//                 KIVTEST_DEFAULT)
//   numval-id     the same with question message KIVTEST_ID
//   yesno         promptYesNo(KIVTEST_QUESTION, KIVTEST_DEFAULT == "1")
//   yesno-id      the same with question message KIVTEST_ID
//   twice         promptString twice (two lines read one after the other)
//   key           promptForKey(), then promptString (the next line)
//   spinner       progressStart, KIVTEST_STEPS steps without text, stop
//   spinner-text  progressStart, steps with texts "a", "b", null, stop
// Each prompt scenario prints "RESULT=<answer>" and the input buffer
// afterwards as "BUFFER=<text>".

#include <iostream>
#include <string>

#include "conui_prog_common.hpp"

namespace {

using conuiprog::env;
using conuiprog::envLong;
using conuiprog::envString;

void printBuffer(const KivClConsoleUI& ui) {
  std::cout << "\nBUFFER=" << ui.getParams().getInputBuffer() << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
  std::unique_ptr<KivClConsoleUI> ui = conuiprog::makeUi(argc, argv);
  conuiprog::setUp(*ui);
  const std::string scenario = envString("KIVTEST_SCENARIO");
  const char* question = env("KIVTEST_QUESTION");
  const unsigned long questionId = static_cast<unsigned long>(envLong("KIVTEST_ID"));

  if (scenario == "prompt") {
    const char* answer = ui->prompt(question, env("KIVTEST_HINT"), env("KIVTEST_DEFAULT"));
    std::cout << "\nRESULT=" << answer;
    printBuffer(*ui);
  } else if (scenario == "string") {
    const char* answer = ui->promptString(question, env("KIVTEST_DEFAULT"));
    std::cout << "\nRESULT=" << answer;
    printBuffer(*ui);
  } else if (scenario == "string-id") {
    const char* answer = ui->promptString(questionId, env("KIVTEST_DEFAULT"));
    std::cout << "\nRESULT=" << answer;
    printBuffer(*ui);
  } else if (scenario == "numval" || scenario == "numval-id") {
    const long min = envLong("KIVTEST_MIN");
    const long max = envLong("KIVTEST_MAX");
    const long value = envLong("KIVTEST_DEFAULT");
    const long result = scenario == "numval" ? ui->promptNumval(question, min, max, value)
                                             : ui->promptNumval(questionId, min, max, value);
    std::cout << "\nRESULT=" << result;
    printBuffer(*ui);
  } else if (scenario == "yesno" || scenario == "yesno-id") {
    const bool defaultYes = envString("KIVTEST_DEFAULT") == "1";
    const bool result = scenario == "yesno" ? ui->promptYesNo(question, defaultYes)
                                            : ui->promptYesNo(questionId, defaultYes);
    std::cout << "\nRESULT=" << result;
    printBuffer(*ui);
  } else if (scenario == "twice") {
    const char* first = ui->promptString(question);
    std::cout << "\nRESULT=" << first << std::endl;
    const char* second = ui->promptString(question);
    std::cout << "\nRESULT=" << second;
    printBuffer(*ui);
  } else if (scenario == "key") {
    ui->promptForKey();
    const char* answer = ui->promptString(question);
    std::cout << "\nRESULT=" << answer;
    printBuffer(*ui);
  } else if (scenario == "spinner") {
    ui->progressStart();
    for (long i = 0; i < envLong("KIVTEST_STEPS"); ++i) ui->progressStep();
    ui->progressStop();
  } else if (scenario == "spinner-text") {
    ui->progressStart();
    ui->progressStep("a");
    ui->progressStep("b");
    ui->progressStep(nullptr);
    ui->progressStart();
    ui->progressStep("again");
    ui->progressStop();
  } else {
    std::cerr << "unknown scenario" << std::endl;
    return 99;
  }
  return conuiprog::reached();
}
