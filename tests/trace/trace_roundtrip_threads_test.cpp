// A traced run from four threads through a small buffer with autosave:
// 100,000 entries of random sizes, from no data to beyond the clip limit,
// read back from the trace file entry by entry. Every entry must be there
// once, in its thread's order, and unchanged. Runs in a child process so
// that the trace singleton starts fresh; `make tsan` runs it under
// ThreadSanitizer (label "threads").
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "kiv_process.hpp"
#include "kiv_test_support.hpp"
#include "kiv_trace.hpp"
#include "trace_child.hpp"

namespace {

constexpr int kThreads = 4;
constexpr int kEntriesPerThread = 25000;
constexpr unsigned long kBufferSize = 4096;            // the smallest buffer
constexpr unsigned long kClipLimit = kBufferSize - 48;  // its data area

// The size of entry `sequence` of thread `thread`: mostly short, some
// longer, one in a hundred beyond the clip limit; a few with no data.
unsigned long sizeOf(int thread, int sequence) {
  std::minstd_rand random(static_cast<unsigned>(thread * 1000003 + sequence));
  const unsigned roll = random() % 100;
  if (roll < 5) return 0;
  if (roll < 90) return random() % 64;
  if (roll < 99) return 64 + random() % 960;
  return kClipLimit - 20 + random() % 200;
}

// The message of an entry names its thread and sequence number; its data
// begins with the same and goes on with bytes that depend on both.
std::string messageOf(int thread, int sequence) {
  return "t" + std::to_string(thread) + " s" + std::to_string(sequence);
}

std::string dataOf(int thread, int sequence) {
  std::string data = messageOf(thread, sequence) + "|";
  const unsigned long size = sizeOf(thread, sequence);
  for (unsigned long i = data.size(); i < size; ++i) {
    data += static_cast<char>((thread * 31 + sequence * 7 + static_cast<int>(i)) & 0xFF);
  }
  data.resize(size);
  return data;
}

void traceThread(int thread) {
  const std::string function = "worker" + std::to_string(thread);
  for (int sequence = 0; sequence < kEntriesPerThread; ++sequence) {
    const std::string message = messageOf(thread, sequence);
    const std::string data = dataOf(thread, sequence);
    if (kivTraceIsEnabled()) {
      kivTraceDump(KIV_TRACE_DETAIL_LOW, static_cast<unsigned short>(thread + 1),
                   KIV_TRACE_TYPE_DATA, function.c_str(), message.c_str(), data.data(),
                   data.size());
    }
  }
}

TEST(TraceRoundTrip, FourThreadsThroughASmallBufferLoseNothing) {
  kivtest::TempDir dir;
  const std::string file = dir / "trace.trc";
  const int status = kivtest::runTraceChild(
      {{"RTTEST_TRACE_ACTIVE", "1"},
       {"RTTEST_TRACE_BUFSIZE", "4"},
       {"RTTEST_TRACE_FILE", file}},
      [] {
        kivTraceCreateInstance("rttest", nullptr);
        KIV_CHILD_CHECK(kivTraceIsEnabled());
        KIV_CHILD_CHECK(KivClTraceInstance_getInstance()->getEnvironment().getBufferSize() ==
                        kClipLimit);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) threads.emplace_back(traceThread, t);
        for (std::thread& thread : threads) thread.join();
        kivTraceDeleteInstance();
      });
  ASSERT_TRUE(kivtest::childSucceeded(status));

  const std::vector<kivtest::ReadEntry> entries = kivtest::readTraceFile(file, "rttest");
  ASSERT_EQ(entries.size(), static_cast<std::size_t>(kThreads * kEntriesPerThread));
  std::map<int, int> next;  // per thread, the sequence number expected next
  const std::uint32_t threadId = KivClThreadProperty().getThreadId();
  for (const kivtest::ReadEntry& entry : entries) {
    int thread = -1;
    int sequence = -1;
    ASSERT_EQ(std::sscanf(entry.message.c_str(), "t%d s%d", &thread, &sequence), 2)
        << entry.message;
    ASSERT_TRUE(thread >= 0 && thread < kThreads) << entry.message;
    ASSERT_EQ(sequence, next[thread]) << "thread " << thread;  // none lost, doubled or reordered
    ++next[thread];
    ASSERT_EQ(entry.message, messageOf(thread, sequence));
    ASSERT_EQ(entry.function, "worker" + std::to_string(thread));
    ASSERT_EQ(entry.componentId, thread + 1);
    ASSERT_EQ(entry.threadId, threadId);  // the record's thread id as the library gives it
    const std::string expected = dataOf(thread, sequence);
    if (expected.size() > kClipLimit) {
      ASSERT_EQ(entry.type, KIV_TRACE_TYPE_DATA_CLIPPED);
      ASSERT_EQ(entry.data, expected.substr(0, kClipLimit));
    } else {
      ASSERT_EQ(entry.type, KIV_TRACE_TYPE_DATA);
      ASSERT_EQ(entry.data, expected);
    }
  }
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(next[t], kEntriesPerThread);
}

}  // namespace
