// A console tool for the tests of the console UI core: the built-in
// switches, the usage and help switches, the command line check, the
// argument queries and the ends of the process.
//
// Scenarios (KIVTEST_SCENARIO) besides the set-up of conui_prog_common.hpp:
//   "" (none)                        the set-up alone, then REACHED
//   <kind>-<what>-<form>             one argument query:
//       kind  has | req
//       what  switch | string | short | int | long
//       form  name (KIVTEST_NAME) | char (first letter of KIVTEST_NAME) |
//             id (message KIVTEST_ID)
//     prints "result=<0|1>" and, for values, "value=<value>"
//   fatal-missing-name / fatal-missing-char
//                                    fatalMissingArg(KIVTEST_NAME)
//   exit                             processExit(KIVTEST_CODE)
//   show-usage                       displayUsage(false), then REACHED

#include <iostream>
#include <string>

#include "conui_prog_common.hpp"

namespace {

using conuiprog::env;
using conuiprog::envLong;
using conuiprog::envString;

template <class Value>
bool queryNumber(const KivClConsoleUI& ui, bool required, const std::string& form,
                 const std::string& name, unsigned long id, Value& value) {
  if (form == "name") {
    if (!required) return ui.hasArgNumval(name.c_str(), value);
    ui.reqArgNumval(name.c_str(), value);
  } else if (form == "char") {
    if (!required) return ui.hasArgNumval(name[0], value);
    ui.reqArgNumval(name[0], value);
  } else {
    if (!required) return ui.hasArgNumval(id, value);
    ui.reqArgNumval(id, value);
  }
  return true;
}

int runQuery(const KivClConsoleUI& ui, const std::string& scenario) {
  const std::string::size_type first = scenario.find('-');
  const std::string::size_type second = scenario.find('-', first + 1);
  const bool required = scenario.compare(0, first, "req") == 0;
  const std::string what = scenario.substr(first + 1, second - first - 1);
  const std::string form = scenario.substr(second + 1);
  const std::string name = envString("KIVTEST_NAME", "x");
  const unsigned long id = static_cast<unsigned long>(envLong("KIVTEST_ID"));
  bool result = true;

  if (what == "switch") {
    if (form == "name") {
      if (required)
        ui.reqArgSwitch(name.c_str());
      else
        result = ui.hasArgSwitch(name.c_str());
    } else if (form == "char") {
      if (required)
        ui.reqArgSwitch(name[0]);
      else
        result = ui.hasArgSwitch(name[0]);
    } else {
      if (required)
        ui.reqArgSwitch(id);
      else
        result = ui.hasArgSwitch(id);
    }
    std::cout << "result=" << result << std::endl;
  } else if (what == "string") {
    const char* value = "(unset)";
    if (form == "name") {
      if (required)
        ui.reqArgString(name.c_str(), value);
      else
        result = ui.hasArgString(name.c_str(), value);
    } else if (form == "char") {
      if (required)
        ui.reqArgString(name[0], value);
      else
        result = ui.hasArgString(name[0], value);
    } else {
      if (required)
        ui.reqArgString(id, value);
      else
        result = ui.hasArgString(id, value);
    }
    std::cout << "result=" << result << "\nvalue=" << value << std::endl;
  } else if (what == "short") {
    short value = 111;
    result = queryNumber(ui, required, form, name, id, value);
    std::cout << "result=" << result << "\nvalue=" << value << std::endl;
  } else if (what == "int") {
    int value = 111;
    result = queryNumber(ui, required, form, name, id, value);
    std::cout << "result=" << result << "\nvalue=" << value << std::endl;
  } else {
    long value = 111;
    result = queryNumber(ui, required, form, name, id, value);
    std::cout << "result=" << result << "\nvalue=" << value << std::endl;
  }
  return conuiprog::reached();
}

}  // namespace

int main(int argc, char** argv) {
  std::unique_ptr<KivClConsoleUI> ui = conuiprog::makeUi(argc, argv);
  conuiprog::setUp(*ui);
  const std::string scenario = envString("KIVTEST_SCENARIO");
  if (scenario.empty()) return conuiprog::reached();
  if (scenario == "fatal-missing-name") ui->fatalMissingArg(envString("KIVTEST_NAME").c_str());
  if (scenario == "fatal-missing-char") ui->fatalMissingArg(envString("KIVTEST_NAME", "x")[0]);
  if (scenario == "exit") ui->processExit(static_cast<unsigned long>(envLong("KIVTEST_CODE")));
  if (scenario == "show-usage") {
    ui->displayUsage(false);
    return conuiprog::reached();
  }
  if (scenario.compare(0, 4, "has-") == 0 || scenario.compare(0, 4, "req-") == 0) {
    return runQuery(*ui, scenario);
  }
  std::cerr << "unknown scenario " << scenario << std::endl;
  return 99;
}
