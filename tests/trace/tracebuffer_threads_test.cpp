// Several threads writing entries through one buffer manager: the access
// guard must keep every entry (record and data) in one piece, and every
// hand-over must see whole entries in the order they were written.
//
// Labelled "threads", so `make tsan` runs it under ThreadSanitizer.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "kiv_tracebuffer.hpp"
#include "kiv_traceentry.hpp"
#include "trace_test_env.hpp"

namespace {

constexpr int kThreads = 4;
constexpr int kEntriesPerThread = 50000;
constexpr unsigned long kBufferSize = 4096;

// Collects what the callback is handed; runs under the guard, so it needs
// no lock of its own (ThreadSanitizer checks that claim).
struct Sink {
  std::string bytes;
  int calls = 0;
};

void collect(const _KivStTraceBufferCallBackInfo& info) {
  auto* sink = static_cast<Sink*>(info.pvUserData);
  sink->bytes.append(info.pchFirstPart, info.ulFirstPartLength);
  if (info.pchSecondPart != nullptr)
    sink->bytes.append(info.pchSecondPart, info.ulSecondPartLength);
  ++sink->calls;
}

// The data of entry `seq` of thread `thread`: names both, then filler of a
// length that varies with them, so that entries of all sizes cross the wrap.
std::string dataOf(int thread, int seq) {
  char head[32];
  std::snprintf(head, sizeof head, "T%d#%d:", thread, seq);
  const std::size_t fill = static_cast<std::size_t>((seq * 37 + thread * 11) % 400);
  return std::string(head) + std::string(fill, static_cast<char>('a' + thread));
}

TEST(TraceBufferThreads, EntriesOfSeveralThreadsNeverInterleave) {
  kivtest::TraceTestEnvironment env("kivt1threads", 4,
                                    KIV_TRACE_FLAG_COMPRESS | KIV_TRACE_FLAG_AUTOSAVE);
  std::vector<char> buffer(kBufferSize, '\0');
  const KivClResourceKeySemaphore key("kivt1threads", "KIVTRACEINSTANCE0");
  KivClTraceBufferManager manager(key, buffer.data(), kBufferSize);
  Sink sink;
  manager.setCallBack(collect, &sink);

  std::atomic<int> ready{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      ++ready;
      while (ready < kThreads) std::this_thread::yield();
      for (int seq = 0; seq < kEntriesPerThread; ++seq) {
        const std::string data = dataOf(t, seq);
        const std::string message = "entry " + std::to_string(seq);
        const KivClTraceEntry entry(env.environment(), KIV_TRACE_DETAIL_LOW,
                                    static_cast<unsigned short>(t + 1), KIV_TRACE_TYPE_CSTRING,
                                    "writer", message.c_str(), data.data(), data.size());
        manager.write(entry);
        if (seq % 500 == 0) manager.flush();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  manager.flush();

  std::istringstream in(sink.bytes);
  KivClTraceFileEntry entry(env.environment());
  std::vector<int> next(kThreads, 0);
  int total = 0;
  while (entry.read(in)) {
    const int t = entry.getComponentId() - 1;
    ASSERT_GE(t, 0);
    ASSERT_LT(t, kThreads);
    std::string data(entry.getDataLength(), '\0');
    in.read(&data[0], static_cast<std::streamsize>(data.size()));
    ASSERT_EQ(static_cast<std::size_t>(in.gcount()), data.size());
    const int seq = next[static_cast<std::size_t>(t)]++;
    ASSERT_EQ(data, dataOf(t, seq)) << "entry " << total;
    ASSERT_EQ(std::string(entry.getMessage()), "entry " + std::to_string(seq));
    ASSERT_STREQ(entry.getFunctionName(), "writer");
    ASSERT_EQ(entry.getThreadId(), 0u);
    ++total;
  }
  EXPECT_EQ(total, kThreads * kEntriesPerThread);
  for (int t = 0; t < kThreads; ++t)
    EXPECT_EQ(next[static_cast<std::size_t>(t)], kEntriesPerThread);
  EXPECT_GT(sink.calls, 100);
}

}  // namespace
