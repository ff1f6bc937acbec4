// Runs a console program of the test tree as a child process: its argument
// vector and environment are chosen by the test, its standard input is fed
// from a string, and its standard output, standard error and exit status are
// collected. A child that runs too long or writes too much is killed, so a
// test of a runaway display fails instead of hanging.
#ifndef KIV_CONUI_CHILD_HPP
#define KIV_CONUI_CHILD_HPP

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

namespace conuitest {

/// What a child process left behind.
struct ChildResult {
  std::string out;      ///< standard output
  std::string err;      ///< standard error
  int exitCode = -1;    ///< exit code, or -1 when it did not exit normally
  int signal = 0;       ///< the signal that ended it, or 0
  bool killed = false;  ///< killed by the harness (time or output limit)
};

/// How to run a child.
struct ChildSpec {
  std::string program;                     ///< path of the executable
  std::vector<std::string> argv;           ///< argv[0] included
  std::map<std::string, std::string> env;  ///< added to the cleaned environment
  std::string input;                       ///< fed to standard input, then closed
  int timeoutMs = 30000;                   ///< then the child is killed
  std::size_t outputLimit = 1 << 20;       ///< bytes per stream, then it is killed
};

namespace detail {

inline bool isDroppedVariable(const std::string& entry) {
  static const char* const dropped[] = {
      "NLSPATH=", "KIV_CONSOLEUI_QUOTE_STRINGS=", "KIVTEST_", "LC_", "LANG=", "LANGUAGE="};
  for (const char* prefix : dropped) {
    if (entry.compare(0, std::strlen(prefix), prefix) == 0) return true;
  }
  return false;
}

struct Pipe {
  int fd[2] = {-1, -1};
  Pipe() {
    if (pipe2(fd, O_CLOEXEC) != 0) throw std::runtime_error("pipe2 failed");
  }
  ~Pipe() {
    closeEnd(0);
    closeEnd(1);
  }
  void closeEnd(int i) {
    if (fd[i] >= 0) close(fd[i]);
    fd[i] = -1;
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
};

}  // namespace detail

/// Runs the child described by `spec`. The environment is the test's own,
/// without catalog, locale, quoting and test-scenario variables, with
/// LC_ALL=C, plus `spec.env`.
inline ChildResult runChild(const ChildSpec& spec) {
  std::vector<std::string> envStrings;
  for (char** e = environ; *e != nullptr; ++e) {
    if (!detail::isDroppedVariable(*e)) envStrings.emplace_back(*e);
  }
  envStrings.emplace_back("LC_ALL=C");
  for (const auto& [name, value] : spec.env) envStrings.push_back(name + "=" + value);
  std::vector<char*> envp;
  for (auto& s : envStrings) envp.push_back(s.data());
  envp.push_back(nullptr);
  std::vector<std::string> args = spec.argv;
  std::vector<char*> argv;
  for (auto& s : args) argv.push_back(s.data());
  argv.push_back(nullptr);

  detail::Pipe in, out, err;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in.fd[0], 0);
  posix_spawn_file_actions_adddup2(&actions, out.fd[1], 1);
  posix_spawn_file_actions_adddup2(&actions, err.fd[1], 2);
  pid_t pid = -1;
  const int rc =
      posix_spawn(&pid, spec.program.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) throw std::runtime_error("posix_spawn failed for " + spec.program);
  in.closeEnd(0);
  out.closeEnd(1);
  err.closeEnd(1);

  ChildResult result;
  std::size_t written = 0;
  if (spec.input.empty()) in.closeEnd(1);
  if (in.fd[1] >= 0) fcntl(in.fd[1], F_SETFL, O_NONBLOCK);
  // A child that stops reading must not kill the harness.
  struct sigaction ignore {};
  struct sigaction previous {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, &previous);

  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::milliseconds(spec.timeoutMs);
  while (out.fd[0] >= 0 || err.fd[0] >= 0) {
    std::vector<pollfd> fds;
    if (out.fd[0] >= 0) fds.push_back({out.fd[0], POLLIN, 0});
    if (err.fd[0] >= 0) fds.push_back({err.fd[0], POLLIN, 0});
    if (in.fd[1] >= 0) fds.push_back({in.fd[1], POLLOUT, 0});
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                          deadline - std::chrono::steady_clock::now())
                          .count();
    if (left <= 0) {
      result.killed = true;
      break;
    }
    const int n = poll(fds.data(), fds.size(), static_cast<int>(left));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) break;
    for (const pollfd& p : fds) {
      if (p.revents == 0) continue;
      if (p.fd == in.fd[1]) {
        const ssize_t w = write(p.fd, spec.input.data() + written, spec.input.size() - written);
        if (w > 0) written += static_cast<std::size_t>(w);
        if (w < 0 && errno != EAGAIN) in.closeEnd(1);
        if (written == spec.input.size()) in.closeEnd(1);
        continue;
      }
      char buffer[65536];
      const ssize_t r = read(p.fd, buffer, sizeof(buffer));
      std::string& target = p.fd == out.fd[0] ? result.out : result.err;
      if (r > 0) {
        target.append(buffer, static_cast<std::size_t>(r));
        if (target.size() > spec.outputLimit) result.killed = true;
      } else if (r == 0 || errno != EINTR) {
        (p.fd == out.fd[0] ? out : err).closeEnd(0);
      }
    }
    if (result.killed) break;
  }
  if (result.killed) kill(pid, SIGKILL);
  in.closeEnd(1);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  sigaction(SIGPIPE, &previous, nullptr);
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

/// The contents of a file of the test data (golden files).
inline std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

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
