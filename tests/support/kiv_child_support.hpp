// Child processes for the tests: a program of the build tree or of the
// system, run with chosen arguments, environment changes and working
// directory; or a function of the test itself, run in a forked copy of the
// test process. The child's standard input is fed from a string and then
// closed; its standard output, standard error and the way it ended are
// collected. A child that runs too long or writes too much is killed, so
// that a runaway child fails its test instead of hanging the whole run.
//
// Not for tests that must watch a child while it runs (they need its
// process id before it ends) or that check how the library itself starts
// and reaps processes: those fork on their own.
#ifndef KIV_CHILD_SUPPORT_HPP
#define KIV_CHILD_SUPPORT_HPP

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

extern char** environ;

namespace kivtest {

/// What a child process left behind.
struct ChildResult {
  std::string out;      ///< standard output
  std::string err;      ///< standard error
  int exitCode = -1;    ///< exit code, or -1 when it did not exit normally
  int signal = 0;       ///< the signal that ended it, or 0
  bool killed = false;  ///< killed here (time or output limit reached)
  pid_t pid = -1;       ///< the process id it had
};

/// How to run a child. For a function run in a forked child, `program` and
/// `argv` do not apply; everything else does.
struct ChildRun {
  std::string program;            ///< path of the executable (no search along PATH)
  std::vector<std::string> argv;  ///< argv[0] included; empty: the program path alone
  /// Inherited variables whose "NAME=value" text begins with one of these
  /// prefixes are left out ("LC_" drops every LC_ variable, "HOME=" just HOME).
  std::vector<std::string> dropEnv;
  std::map<std::string, std::string> env;  ///< set in the child, replacing inherited values
  std::string cwd;                         ///< working directory; empty: the test's own
  std::string input;                       ///< fed to standard input, which is then closed
  int timeoutMs = 30000;                   ///< then the child is killed
  std::size_t outputLimit = 1 << 20;       ///< bytes per stream, then the child is killed
};

namespace detail {

// A pipe whose ends are closed on exec and when it goes out of scope.
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

// The three standard streams of a child, seen from the test.
struct ChildPipes {
  Pipe in, out, err;

  // Closes the child's ends in the test once the child has its copies.
  void closeChildEnds() {
    in.closeEnd(0);
    out.closeEnd(1);
    err.closeEnd(1);
  }
};

inline bool isDropped(const char* entry, const ChildRun& run) {
  for (const std::string& prefix : run.dropEnv) {
    if (std::strncmp(entry, prefix.c_str(), prefix.size()) == 0) return true;
  }
  const char* equals = std::strchr(entry, '=');
  const std::string name =
      equals != nullptr ? std::string(entry, static_cast<std::size_t>(equals - entry)) : entry;
  return run.env.count(name) != 0;
}

// The child's environment as "NAME=value" texts: the test's own, changed
// as `run` says.
inline std::vector<std::string> childEnvironment(const ChildRun& run) {
  std::vector<std::string> entries;
  for (char** e = environ; *e != nullptr; ++e) {
    if (!isDropped(*e, run)) entries.emplace_back(*e);
  }
  for (const auto& [name, value] : run.env) entries.push_back(name + "=" + value);
  return entries;
}

inline std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

// Ignores SIGPIPE while it lives: a child that stops reading its input
// must not end the test process.
class IgnoreSigpipe {
 public:
  IgnoreSigpipe() {
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &m_previous);
  }
  ~IgnoreSigpipe() { sigaction(SIGPIPE, &m_previous, nullptr); }
  IgnoreSigpipe(const IgnoreSigpipe&) = delete;
  IgnoreSigpipe& operator=(const IgnoreSigpipe&) = delete;

 private:
  struct sigaction m_previous {};
};

// Feeds the input, collects both outputs until the child closes them,
// kills it at a limit, and reaps it.
inline ChildResult collect(pid_t pid, ChildPipes& pipes, const ChildRun& run) {
  Pipe& in = pipes.in;
  Pipe& out = pipes.out;
  Pipe& err = pipes.err;
  pipes.closeChildEnds();
  const IgnoreSigpipe ignoreSigpipe;
  ChildResult result;
  result.pid = pid;
  std::size_t written = 0;
  if (run.input.empty()) in.closeEnd(1);
  if (in.fd[1] >= 0) fcntl(in.fd[1], F_SETFL, O_NONBLOCK);

  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(run.timeoutMs);
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
        const ssize_t w = write(p.fd, run.input.data() + written, run.input.size() - written);
        if (w > 0) written += static_cast<std::size_t>(w);
        if (w < 0 && errno != EAGAIN) in.closeEnd(1);
        if (written == run.input.size()) in.closeEnd(1);
        continue;
      }
      char buffer[65536];
      const ssize_t r = read(p.fd, buffer, sizeof(buffer));
      std::string& target = p.fd == out.fd[0] ? result.out : result.err;
      if (r > 0) {
        target.append(buffer, static_cast<std::size_t>(r));
        if (target.size() > run.outputLimit) result.killed = true;
      } else if (r == 0 || errno != EINTR) {
        (p.fd == out.fd[0] ? out : err).closeEnd(0);
      }
    }
    if (result.killed) break;
  }
  if (result.killed) kill(pid, SIGKILL);
  in.closeEnd(1);
  int status = 0;
  pid_t waited = -1;
  while ((waited = waitpid(pid, &status, 0)) < 0 && errno == EINTR) {
  }
  // Without its status (SIGCHLD ignored, say) nothing can be told.
  if (waited != pid) throw std::runtime_error("waitpid failed");
  if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

// In a forked child: makes the pipes its standard streams and applies the
// environment and directory of `run`. Returns an empty text or what failed.
inline std::string enterForkedChild(ChildPipes& pipes, const ChildRun& run) {
  if (dup2(pipes.in.fd[0], STDIN_FILENO) < 0 || dup2(pipes.out.fd[1], STDOUT_FILENO) < 0 ||
      dup2(pipes.err.fd[1], STDERR_FILENO) < 0) {
    return "dup2 failed";
  }
  for (Pipe* pipe : {&pipes.in, &pipes.out, &pipes.err}) {
    for (int& fd : pipe->fd) {
      if (fd > STDERR_FILENO) close(fd);
      fd = -1;
    }
  }
  std::vector<std::string> dropped;
  for (char** e = environ; *e != nullptr; ++e) {
    if (isDropped(*e, run)) dropped.emplace_back(*e, std::strcspn(*e, "="));
  }
  for (const std::string& name : dropped) unsetenv(name.c_str());
  for (const auto& [name, value] : run.env) setenv(name.c_str(), value.c_str(), 1);
  if (!run.cwd.empty() && chdir(run.cwd.c_str()) != 0) return "cannot enter " + run.cwd;
  return {};
}

}  // namespace detail

/// Runs the program of `run` as a child process. Throws std::runtime_error
/// when it cannot be started (no such program, no such directory).
inline ChildResult runChild(const ChildRun& run) {
  std::vector<std::string> envStrings = detail::childEnvironment(run);
  std::vector<char*> envp = detail::pointers(envStrings);
  std::vector<std::string> args =
      run.argv.empty() ? std::vector<std::string>{run.program} : run.argv;
  std::vector<char*> argv = detail::pointers(args);

  detail::ChildPipes pipes;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipes.in.fd[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, pipes.out.fd[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, pipes.err.fd[1], STDERR_FILENO);
  if (!run.cwd.empty()) posix_spawn_file_actions_addchdir_np(&actions, run.cwd.c_str());
  pid_t pid = -1;
  const int rc =
      posix_spawn(&pid, run.program.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  if (rc != 0) {
    const std::string where = run.cwd.empty() ? std::string() : " in " + run.cwd;
    throw std::runtime_error("cannot run " + run.program + where + ": " + std::strerror(rc));
  }
  return detail::collect(pid, pipes, run);
}

/// Runs `program` with the arguments `args` (argv[0] is the program path)
/// and the test's environment with `env` set.
inline ChildResult runProgram(const std::string& program, const std::vector<std::string>& args,
                              const std::map<std::string, std::string>& env = {}) {
  ChildRun run;
  run.program = program;
  run.argv.push_back(program);
  run.argv.insert(run.argv.end(), args.begin(), args.end());
  run.env = env;
  return runChild(run);
}

/// Runs `body` in a forked copy of the test process, set up as `run` says.
/// The child ends with exit code 0 when `body` returns; `body` may also end
/// it by itself (exit, abort, a signal). An exception that leaves `body` is
/// reported on standard error and ends the child with exit code 1, so that
/// the copy never goes on to run the remaining tests.
inline ChildResult runInFork(const std::function<void()>& body, const ChildRun& run = {}) {
  detail::ChildPipes pipes;
  // Nothing buffered in the test process may be written twice.
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) throw std::runtime_error("fork failed");
  if (pid == 0) {
    const std::string failure = detail::enterForkedChild(pipes, run);
    if (!failure.empty()) {
      std::fprintf(stderr, "kivtest child: %s\n", failure.c_str());
      std::fflush(stderr);
      _exit(127);
    }
    try {
      body();
    } catch (const std::exception& e) {
      std::fprintf(stderr, "kivtest child: exception: %s\n", e.what());
      std::fflush(stderr);
      _exit(1);
    } catch (...) {
      std::fprintf(stderr, "kivtest child: exception\n");
      std::fflush(stderr);
      _exit(1);
    }
    std::fflush(nullptr);
    _exit(0);
  }
  return detail::collect(pid, pipes, run);
}

/// A run of a console program in a neutral setting: the test's environment
/// without the variables that choose message catalogs, locale and quoting,
/// and with LC_ALL=C, so that the program writes its built-in texts.
inline ChildRun consoleProgramRun(const std::string& program, const std::string& argv0,
                                  const std::vector<std::string>& args) {
  ChildRun run;
  run.program = program;
  run.argv.push_back(argv0);
  run.argv.insert(run.argv.end(), args.begin(), args.end());
  run.dropEnv = {"NLSPATH=", "KIV_CONSOLEUI_QUOTE_STRINGS=", "LC_", "LANG=", "LANGUAGE="};
  run.env["LC_ALL"] = "C";
  return run;
}

}  // namespace kivtest

#endif
