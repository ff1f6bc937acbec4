// Runs kivini as a child process in a working directory of the test and
// collects its standard output, standard error and exit status; files for
// it are written and read in kivtest::TempDir directories.
#ifndef KIVINI_TEST_SUPPORT_HPP
#define KIVINI_TEST_SUPPORT_HPP

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "kiv_test_support.hpp"

extern char** environ;

namespace kivinitest {

/// What one run of kivini left behind.
struct Result {
  std::string out;  ///< standard output
  std::string err;  ///< standard error
  int status = -1;  ///< exit status; -1 when it did not exit normally
};

/// The value of HOME in the child, so that $(HOME) substitutes a known text.
inline const char* const kHome = "/home/kivtest";

inline std::string readAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

inline void writeAll(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  if (!out.flush()) throw std::runtime_error("cannot write " + path);
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

/// Runs kivini with `args` in the directory `cwd`. The environment is the
/// test's own without catalog, locale and quoting variables, with LC_ALL=C
/// and HOME=kHome, plus `extraEnv`.
inline Result run(const std::vector<std::string>& args, const std::string& cwd,
                  const std::map<std::string, std::string>& extraEnv = {}) {
  static const char* const dropped[] = {
      "NLSPATH=", "KIV_CONSOLEUI_QUOTE_STRINGS=", "LC_", "LANG=", "LANGUAGE=", "HOME="};
  std::vector<std::string> env;
  for (char** e = environ; *e != nullptr; ++e) {
    bool keep = true;
    for (const char* prefix : dropped) {
      if (std::strncmp(*e, prefix, std::strlen(prefix)) == 0) keep = false;
    }
    if (keep) env.emplace_back(*e);
  }
  env.emplace_back("LC_ALL=C");
  env.emplace_back(std::string("HOME=") + kHome);
  for (const auto& [name, value] : extraEnv) env.push_back(name + "=" + value);

  std::vector<std::string> argStrings{KIVINI_PROGRAM};
  argStrings.insert(argStrings.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (auto& s : argStrings) argv.push_back(s.data());
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (auto& s : env) envp.push_back(s.data());
  envp.push_back(nullptr);

  // The outputs go to files of a directory of their own, so that the
  // working directory holds only what kivini made there.
  const kivtest::TempDir outputs;
  const std::string outName = outputs / "out";
  const std::string errName = outputs / "err";

  const pid_t pid = ::fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    const int out = ::open(outName.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int err = ::open(errName.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int in = ::open("/dev/null", O_RDONLY);
    if (out < 0 || err < 0 || in < 0 || ::dup2(in, 0) < 0 || ::dup2(out, 1) < 0 ||
        ::dup2(err, 2) < 0 || ::chdir(cwd.c_str()) != 0) {
      ::_exit(127);
    }
    ::execve(argv[0], argv.data(), envp.data());
    ::_exit(127);
  }
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) throw std::runtime_error("waitpid failed");
  }
  Result result;
  result.out = readAll(outName);
  result.err = readAll(errName);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
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
