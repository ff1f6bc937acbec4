// Runs the console programs of the test tree as child processes (through
// kivtest::runChild) in a known setting, and builds the displays that the
// tests expect from them.
#ifndef KIV_CONUI_CHILD_HPP
#define KIV_CONUI_CHILD_HPP

#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "kiv_child_support.hpp"
#include "kiv_test_support.hpp"

namespace conuitest {

/// A run of the console program `program` as `argv0` with `args`: the
/// setting of kivtest::consoleProgramRun, also without inherited
/// test-scenario variables (KIVTEST_...), plus `env`.
inline kivtest::ChildRun conuiRun(const std::string& program, const std::string& argv0,
                                  const std::vector<std::string>& args,
                                  const std::map<std::string, std::string>& env) {
  kivtest::ChildRun run = kivtest::consoleProgramRun(program, argv0, args);
  run.dropEnv.push_back("KIVTEST_");
  for (const auto& [name, value] : env) run.env[name] = value;
  return run;
}

/// The contents of a file of the test data (golden files).
inline std::string readFile(const std::string& path) { return kivtest::readRequiredFile(path); }

/// The horizontal bar of the displays: 74 "-" and a newline.
inline std::string bar() { return std::string(74, '-') + "\n"; }

/// An error-style display: an empty line, the bar, "name: label:" and the
/// message line indented by the name's length.
inline std::string display(const std::string& name, const std::string& label,
                           const std::string& message) {
  return "\n" + bar() + name + ": " + label + ":\n" + std::string(name.size(), ' ') + "  " +
         message + "\n";
}

}  // namespace conuitest

#endif
