// Runs kivini as a child process (through kivtest::runChild) in a working
// directory of the test; files for it are written and read in
// kivtest::TempDir directories.
#ifndef KIVINI_TEST_SUPPORT_HPP
#define KIVINI_TEST_SUPPORT_HPP

#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "kiv_child_support.hpp"
#include "kiv_test_support.hpp"

namespace kivinitest {

/// What one run of kivini left behind.
using Result = kivtest::ChildResult;

/// The value of HOME in the child, so that $(HOME) substitutes a known text.
inline const char* const kHome = "/home/kivtest";

inline std::string readAll(const std::string& path) { return kivtest::readRequiredFile(path); }
inline void writeAll(const std::string& path, const std::string& text) {
  kivtest::writeFile(path, text);
}

inline bool exists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

/// The names in a directory, sorted.
inline std::vector<std::string> entries(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

/// Runs kivini with `args` in the directory `cwd`, in the setting of
/// kivtest::consoleProgramRun with HOME=kHome, plus `extraEnv`.
inline Result run(const std::vector<std::string>& args, const std::string& cwd,
                  const std::map<std::string, std::string>& extraEnv = {}) {
  kivtest::ChildRun run = kivtest::consoleProgramRun(KIVINI_PROGRAM, KIVINI_PROGRAM, args);
  run.env["HOME"] = kHome;
  for (const auto& [name, value] : extraEnv) run.env[name] = value;
  run.cwd = cwd;
  return kivtest::runChild(run);
}

/// The bell that the console UI rings before ending with a status other
/// than 0.
inline const std::string kBell = "\a";

/// The error display of the console UI for `message` (with its inserts
/// already joined by ": ").
inline std::string errorDisplay(const std::string& message) {
  return "\n" + std::string(74, '-') + "\nkivini: An error occurred:\n        " + message + "\n";
}

/// The usage display that ends a bad command line (status 201).
inline const std::string kUsageDisplay =
    "\nUsage: kivini [-h|-H|-?|-copyright] [-quiet]\n"
    "              -sections <file>\n"
    "              -options <file> <section>\n"
    "              -get <file> <section> <option> [-bool]\n"
    "              -set <file> <section> <option> <value>\n"
    "              -delete <file> <section> [<option>]\n"
    "              -check <file>\n"
    "\n";

}  // namespace kivinitest

#endif
