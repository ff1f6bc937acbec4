// Runs the installed kivini as a child process (through kivtest::runChild)
// in a working directory of the test; files for it are written and read in
// kivtest::TempDir directories.
#ifndef KIVINI_TEST_SUPPORT_HPP
#define KIVINI_TEST_SUPPORT_HPP

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "kiv_child_support.hpp"
#include "kiv_test_support.hpp"

namespace kivinitest {

/// What one run of kivini left behind.
using Result = kivtest::ChildResult;

/// The value of HOME in the child, so that $(HOME) substitutes a known text.
inline const char* const kHome = "/home/kivtest";

/// The user and group that permission tests run kivini as when the tests
/// run as root, whose rights would pass every permission check ("nobody").
inline constexpr uid_t kOtherUser = 65534;
inline constexpr gid_t kOtherGroup = 65534;

inline std::string readAll(const std::string& path) { return kivtest::readRequiredFile(path); }
inline void writeAll(const std::string& path, const std::string& text) {
  kivtest::writeFile(path, text);
}

inline bool exists(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

/// The names in a directory, sorted (hidden ones included).
using kivtest::directoryEntries;
inline std::vector<std::string> entries(const std::string& directory) {
  return directoryEntries(directory);
}

/// How kivini runs: kivtest::consoleProgramRun with HOME=kHome, plus
/// `extraEnv`, in `cwd`, with `input` on standard input.
inline kivtest::ChildRun kiviniRun(const std::vector<std::string>& args, const std::string& cwd,
                                   const std::map<std::string, std::string>& extraEnv = {},
                                   const std::string& input = {}) {
  kivtest::ChildRun run = kivtest::consoleProgramRun(KIVINI_PROGRAM, KIVINI_PROGRAM, args);
  run.env["HOME"] = kHome;
  for (const auto& [name, value] : extraEnv) run.env[name] = value;
  run.cwd = cwd;
  run.input = input;
  return run;
}

/// Runs kivini with `args` in the directory `cwd`.
inline Result run(const std::vector<std::string>& args, const std::string& cwd,
                  const std::map<std::string, std::string>& extraEnv = {}) {
  return kivtest::runChild(kiviniRun(args, cwd, extraEnv));
}

/// Runs kivini with `input` on its standard input.
inline Result runWithInput(const std::vector<std::string>& args, const std::string& cwd,
                           const std::string& input) {
  return kivtest::runChild(kiviniRun(args, cwd, {}, input));
}

/// Runs kivini as a user without root's rights: kOtherUser when the tests
/// run as root, the test's own user otherwise.
inline Result runWithoutRootRights(const std::vector<std::string>& args, const std::string& cwd) {
  const kivtest::ChildRun run = kiviniRun(args, cwd);
  if (::geteuid() != 0) return kivtest::runChild(run);
  return kivtest::runInFork(
      [&run] {
        if (::setgroups(0, nullptr) != 0 || ::setgid(kOtherGroup) != 0 ||
            ::setuid(kOtherUser) != 0) {
          _exit(126);
        }
        std::vector<char*> argv;
        for (const std::string& argument : run.argv)
          argv.push_back(const_cast<char*>(argument.c_str()));
        argv.push_back(nullptr);
        ::execv(run.program.c_str(), argv.data());
        _exit(127);
      },
      run);
}

/// The error display of the console UI for `message` (with its inserts
/// already joined by ": ").
inline std::string errorDisplay(const std::string& message) {
  return "\n" + std::string(74, '-') + "\nkivini: An error occurred:\n        " + message + "\n";
}

/// The bell that ends a run with a status other than 0 and 1; the tool
/// rings it on standard error.
inline const std::string kBell = "\a";

/// The usage display of the console UI (after a bad command line it goes
/// to standard error, for -h to standard output).
inline const std::string kUsageDisplay =
    "\nUsage: kivini [-h|-H|-?|-copyright] [-quiet]\n"
    "              -sections <file> [-strict]\n"
    "              -options <file> <section> [-strict]\n"
    "              -get <file> <section> <option> [-bool] [-strict]\n"
    "              -set <file> <section> <option> <value> [-strict]\n"
    "              -delete <file> <section> [<option>] [-strict]\n"
    "              -check <file> [-strict]\n"
    "\n";

}  // namespace kivinitest

#endif
