// Runs a piece of a trace test in a child process, so that the trace
// singleton and the environment variables start fresh in every case, and
// reads trace files back entry by entry.
#ifndef KIV_TRACE_CHILD_HPP
#define KIV_TRACE_CHILD_HPP

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "kiv_traceentry.hpp"
#include "kiv_tracesettings.hpp"

/// A check inside a child: on failure it names itself on standard error and
/// makes the child exit with the line number.
#define KIV_CHILD_CHECK(condition)                                                      \
  do {                                                                                  \
    if (!(condition)) {                                                                 \
      std::fprintf(stderr, "%s:%d: child check failed: %s\n", __FILE__, __LINE__,       \
                   #condition);                                                         \
      std::fflush(stderr);                                                              \
      _exit(__LINE__ % 250 + 1);                                                        \
    }                                                                                   \
  } while (false)

namespace kivtest {

/// Runs `body` in a forked child with `variables` set (name, value) and
/// returns its wait status. The child ends with exit(0) after the body, so
/// that static destructors run as at a normal process end, unless
/// `quickExit` asks for _exit(0).
inline int runTraceChild(const std::vector<std::pair<std::string, std::string>>& variables,
                         const std::function<void()>& body, bool quickExit = false) {
  std::fflush(stdout);
  std::fflush(stderr);
  const pid_t child = fork();
  if (child == 0) {
    for (const auto& [name, value] : variables) setenv(name.c_str(), value.c_str(), 1);
    body();
    if (quickExit) _exit(0);
    std::exit(0);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

/// The child ended normally with status 0.
inline ::testing::AssertionResult childSucceeded(int status) {
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << (WIFEXITED(status) ? "child exited with " + std::to_string(WEXITSTATUS(status))
                               : "child ended by signal " + std::to_string(WTERMSIG(status)));
}

/// One entry of a trace file, as read back.
struct ReadEntry {
  KivEnTraceDataType type;
  KivEnTraceDetail detail;
  unsigned short componentId;
  std::uint32_t threadId;
  std::string function;
  std::string message;
  std::string data;
};

/// Every entry of the trace file `path`, read with KivClTraceFileEntry over
/// an environment of `key` (made with keep file true, so that reading never
/// clears the file).
inline std::vector<ReadEntry> readTraceFile(const std::string& path, const char* key) {
  std::vector<ReadEntry> entries;
  std::ifstream in(path, std::ios::binary);
  if (!in) return entries;
  const KivClTraceEnvironment environment(key, nullptr, true);
  KivClTraceFileEntry entry(environment);
  while (in.peek() != std::char_traits<char>::eof()) {
    entry.read(in);
    if (entry.getRecordLength() == 0) break;  // the fixed part could not be read
    ReadEntry read{entry.getType(),        entry.getDetail(),  entry.getComponentId(),
                   entry.getThreadId(),    entry.getFunctionName(), entry.getMessage(),
                   std::string(entry.getDataLength(), '\0')};
    if (!read.data.empty() && !in.read(read.data.data(), static_cast<std::streamsize>(read.data.size()))) {
      break;
    }
    entries.push_back(std::move(read));
  }
  return entries;
}

}  // namespace kivtest

#endif
