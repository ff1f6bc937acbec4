// The trace buffer manager: header, ring writes, hand-overs, flush, and the
// access guard's lock.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "kiv_tracebuffer.hpp"
#include "kiv_traceentry.hpp"
#include "trace_test_env.hpp"

namespace {

constexpr unsigned long kSize = 4096;
constexpr unsigned long kData = kSize - 48;

// One hand-over as the callback saw it, copied out of the buffer.
struct HandOver {
  const char* first;
  std::uint64_t firstLength;
  const char* second;
  std::uint64_t secondLength;
  std::string bytes;  // first part then second part
};

struct Recorder {
  std::vector<HandOver> calls;
  bool throwOnCall = false;
};

void record(const _KivStTraceBufferCallBackInfo& info) {
  auto* recorder = static_cast<Recorder*>(info.pvUserData);
  HandOver h{info.pchFirstPart, info.ulFirstPartLength, info.pchSecondPart, info.ulSecondPartLength,
             std::string()};
  h.bytes.assign(info.pchFirstPart, info.ulFirstPartLength);
  if (info.pchSecondPart != nullptr) h.bytes.append(info.pchSecondPart, info.ulSecondPartLength);
  recorder->calls.push_back(h);
  if (recorder->throwOnCall) throw std::runtime_error("callback failed");
}

// Bytes that differ from write to write, so that misplaced bytes show.
std::string pattern(unsigned long length, unsigned seed) {
  std::string s(length, '\0');
  for (unsigned long i = 0; i < length; ++i) s[i] = static_cast<char>('A' + (i * 7 + seed) % 26);
  return s;
}

// Waits up to 10 seconds for `done`; a lock that never comes back leaves
// the waiting thread behind (detached) instead of hanging the test.
bool finishes(std::thread& thread, const std::atomic<bool>& done) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!done && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  if (done) {
    thread.join();
    return true;
  }
  thread.detach();
  return false;
}

class TraceBuffer : public ::testing::Test {
 protected:
  TraceBuffer() : m_buffer(kSize, '\0'), m_key("buffertest", "KIVTRACEINSTANCE0") {}

  char* buffer() { return m_buffer.data(); }
  char* first() { return m_buffer.data() + 48; }
  char* last() { return m_buffer.data() + kSize - 1; }

  void writeRaw(KivClTraceBufferManager& manager, const std::string& bytes) {
    KivClTraceBufferAccessSemaphore guard(m_key);
    manager.write(bytes.data(), bytes.size());
  }

  std::vector<char> m_buffer;
  KivClResourceKeySemaphore m_key;
  Recorder m_recorder;
};

TEST_F(TraceBuffer, FreshHeaderOfA4096ByteBuffer) {
  m_buffer.assign(kSize, '\0');
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  EXPECT_EQ(std::memcmp(buffer(), "KIVT", 4), 0);
  std::uint32_t reserved;
  std::memcpy(&reserved, buffer() + 4, 4);
  EXPECT_EQ(reserved, 0u);
  const _KivStTraceBufferHeader* header = manager.getHeader();
  EXPECT_EQ(static_cast<const void*>(header), static_cast<const void*>(buffer()));
  EXPECT_EQ(header->ulDataSize, kData);
  EXPECT_EQ(manager.getDataSize(), 4048u);
  EXPECT_EQ(header->pchFirst, buffer() + 48);
  EXPECT_EQ(header->pchLast, buffer() + 4095);
  EXPECT_EQ(header->pchSave, first());
  EXPECT_EQ(header->pchWrite, first());
  // The header fields lie at the offsets of the buffer format.
  char* at16;
  char* at40;
  std::memcpy(&at16, buffer() + 16, sizeof at16);
  std::memcpy(&at40, buffer() + 40, sizeof at40);
  EXPECT_EQ(at16, first());
  EXPECT_EQ(at40, first());
  EXPECT_EQ(manager.getCallBack(), nullptr);
  EXPECT_FALSE(manager.isUnsaved());
  EXPECT_EQ(&manager.getResourceKey(), &m_key);
}

TEST_F(TraceBuffer, ExistingHeaderIsTakenOverWithItsPositions) {
  {
    KivClTraceBufferManager manager(m_key, buffer(), kSize);
    writeRaw(manager, pattern(300, 1));
    manager.setCallBack(record, &m_recorder);
    KivClTraceBufferAccessSemaphore guard(m_key);
    manager.overflow();  // save position moves to 300
  }
  // A size that would give other positions is ignored for a taken-over buffer.
  KivClTraceBufferManager again(m_key, buffer(), 8192);
  EXPECT_EQ(again.getDataSize(), kData);
  EXPECT_EQ(again.getHeader()->pchWrite, first() + 300);
  EXPECT_EQ(again.getHeader()->pchSave, first() + 300);
  EXPECT_EQ(again.getHeader()->pchLast, last());
  writeRaw(again, "xyz");
  EXPECT_EQ(std::string(first() + 300, 3), "xyz");
}

TEST_F(TraceBuffer, ShortWriteAdvancesWithoutHandOver) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  manager.setCallBack(record, &m_recorder);
  const std::string bytes = pattern(100, 2);
  writeRaw(manager, bytes);
  writeRaw(manager, "");
  EXPECT_TRUE(m_recorder.calls.empty());
  EXPECT_EQ(manager.getHeader()->pchWrite, first() + 100);
  EXPECT_EQ(std::string(first(), 100), bytes);
  EXPECT_EQ(first()[100], '\0');
}

TEST_F(TraceBuffer, WriteEndingAtLastByteHandsOverOnePartAndRestartsAtFirst) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  manager.setCallBack(record, &m_recorder);
  const std::string a = pattern(4000, 3);
  const std::string b = pattern(48, 4);
  writeRaw(manager, a);
  EXPECT_TRUE(m_recorder.calls.empty());
  writeRaw(manager, b);
  ASSERT_EQ(m_recorder.calls.size(), 1u);
  const HandOver& h = m_recorder.calls[0];
  EXPECT_EQ(h.first, first());
  EXPECT_EQ(h.firstLength, kData);
  EXPECT_EQ(h.second, nullptr);
  EXPECT_EQ(h.secondLength, 0u);
  EXPECT_EQ(h.bytes, a + b);
  EXPECT_EQ(manager.getHeader()->pchWrite, first());
  EXPECT_EQ(manager.getHeader()->pchSave, last() + 1);
  EXPECT_EQ(last()[0], b.back());
}

TEST_F(TraceBuffer, LongerWriteWrapsAfterHandingOverTheFullTurn) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  manager.setCallBack(record, &m_recorder);
  const std::string a = pattern(4000, 5);
  const std::string b = pattern(100, 6);
  writeRaw(manager, a);
  writeRaw(manager, b);
  ASSERT_EQ(m_recorder.calls.size(), 1u);
  EXPECT_EQ(m_recorder.calls[0].first, first());
  EXPECT_EQ(m_recorder.calls[0].firstLength, kData);
  EXPECT_EQ(m_recorder.calls[0].second, nullptr);
  EXPECT_EQ(m_recorder.calls[0].bytes, a + b.substr(0, 48));
  EXPECT_EQ(manager.getHeader()->pchWrite, first() + 52);
  EXPECT_EQ(std::string(first(), 52), b.substr(48));
  // The bytes after the wrap follow as the second part of the next hand-over.
  {
    KivClTraceBufferAccessSemaphore guard(m_key);
    manager.overflow();
  }
  ASSERT_EQ(m_recorder.calls.size(), 2u);
  const HandOver& h = m_recorder.calls[1];
  EXPECT_EQ(h.first, last() + 1);
  EXPECT_EQ(h.firstLength, 0u);
  EXPECT_EQ(h.second, first());
  EXPECT_EQ(h.secondLength, 52u);
  EXPECT_EQ(h.bytes, b.substr(48));
  EXPECT_EQ(manager.getHeader()->pchSave, first() + 52);
}

TEST_F(TraceBuffer, WriteOfTheWholeDataAreaAtFirstHandsOverOnce) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  manager.setCallBack(record, &m_recorder);
  const std::string all = pattern(kData, 7);
  writeRaw(manager, all);
  ASSERT_EQ(m_recorder.calls.size(), 1u);
  EXPECT_EQ(m_recorder.calls[0].bytes, all);
  EXPECT_EQ(manager.getHeader()->pchWrite, first());
}

TEST_F(TraceBuffer, HandOverInTwoPartsWhenSavePositionLiesAfterWritePosition) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  const std::string a = pattern(1000, 8);
  writeRaw(manager, a);
  manager.setCallBack(record, &m_recorder);
  {
    KivClTraceBufferAccessSemaphore guard(m_key);
    manager.overflow();
  }
  ASSERT_EQ(m_recorder.calls.size(), 1u);
  EXPECT_EQ(m_recorder.calls[0].first, first());
  EXPECT_EQ(m_recorder.calls[0].firstLength, 1000u);
  EXPECT_EQ(m_recorder.calls[0].second, nullptr);
  // Wrap with the callback removed: the save position stays at 1000.
  manager.setCallBack(nullptr, nullptr);
  const std::string b = pattern(3100, 9);
  writeRaw(manager, b);
  EXPECT_EQ(manager.getHeader()->pchSave, first() + 1000);
  EXPECT_EQ(manager.getHeader()->pchWrite, first() + 52);
  manager.setCallBack(record, &m_recorder);
  {
    KivClTraceBufferAccessSemaphore guard(m_key);
    manager.overflow();
  }
  ASSERT_EQ(m_recorder.calls.size(), 2u);
  const HandOver& h = m_recorder.calls[1];
  EXPECT_EQ(h.first, first() + 1000);
  EXPECT_EQ(h.firstLength, kData - 1000);
  EXPECT_EQ(h.second, first());
  EXPECT_EQ(h.secondLength, 52u);
  EXPECT_EQ(h.bytes, b);
  EXPECT_EQ(manager.getHeader()->pchSave, first() + 52);
}

TEST_F(TraceBuffer, SavePositionEqualToWritePositionHandsOverTheWholeRing) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  manager.setCallBack(record, &m_recorder);
  writeRaw(manager, pattern(100, 1));
  {
    KivClTraceBufferAccessSemaphore guard(m_key);
    manager.overflow();
  }
  ASSERT_EQ(m_recorder.calls.size(), 1u);
  // Exactly one turn of the ring while no callback is installed brings the
  // write position back to the save position.
  manager.setCallBack(nullptr, nullptr);
  const std::string turn = pattern(kData, 2);
  writeRaw(manager, turn.substr(0, 2000));
  writeRaw(manager, turn.substr(2000));
  ASSERT_EQ(manager.getHeader()->pchWrite, first() + 100);
  ASSERT_EQ(manager.getHeader()->pchSave, first() + 100);
  manager.setCallBack(record, &m_recorder);
  {
    KivClTraceBufferAccessSemaphore guard(m_key);
    manager.overflow();
  }
  ASSERT_EQ(m_recorder.calls.size(), 2u);
  const HandOver& h = m_recorder.calls[1];
  EXPECT_EQ(h.first, first() + 100);
  EXPECT_EQ(h.firstLength, kData - 100);
  EXPECT_EQ(h.second, first());
  EXPECT_EQ(h.secondLength, 100u);
  EXPECT_EQ(h.bytes, turn);
}

TEST_F(TraceBuffer, WithoutCallbackOldestBytesAreOverwrittenSilently) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  std::string all;
  for (unsigned i = 0; i < 50; ++i) {
    const std::string piece = pattern(100, i);
    writeRaw(manager, piece);
    all += piece;
  }
  // 5000 bytes through 4048: the ring holds the last 4048, starting at
  // the write position (5000 - 4048 = 952).
  EXPECT_EQ(manager.getHeader()->pchWrite, first() + 952);
  EXPECT_EQ(manager.getHeader()->pchSave, first());
  const std::string ring(first(), kData);
  EXPECT_EQ(ring.substr(952) + ring.substr(0, 952), all.substr(5000 - kData));
  // Installing a callback later reports nothing by itself.
  manager.setCallBack(record, &m_recorder);
  EXPECT_TRUE(m_recorder.calls.empty());
}

TEST_F(TraceBuffer, OverflowWithoutCallbackKeepsSavePosition) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  writeRaw(manager, pattern(10, 1));
  KivClTraceBufferAccessSemaphore guard(m_key);
  manager.overflow();
  EXPECT_EQ(manager.getHeader()->pchSave, first());
}

class TraceBufferEntries : public TraceBuffer {
 protected:
  TraceBufferEntries() : m_env("kivt1bufentries", 4, KIV_TRACE_FLAG_COMPRESS) {}
  kivtest::TraceTestEnvironment m_env;
};

TEST_F(TraceBufferEntries, FlushHandsOverExactlyTheBytesSinceTheLastHandOver) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  manager.setCallBack(record, &m_recorder);
  manager.flush();
  EXPECT_TRUE(m_recorder.calls.empty());
  // A raw write alone does not make the buffer unsaved.
  writeRaw(manager, "raw");
  manager.flush();
  EXPECT_TRUE(m_recorder.calls.empty());

  const std::string data = "some data bytes";
  const KivClTraceEntry entry(m_env.environment(), KIV_TRACE_DETAIL_LOW, 5, KIV_TRACE_TYPE_DATA,
                              "function", "message", data.data(), data.size());
  manager.write(entry);
  EXPECT_TRUE(manager.isUnsaved());
  EXPECT_TRUE(m_recorder.calls.empty());
  manager.flush();
  EXPECT_FALSE(manager.isUnsaved());
  ASSERT_EQ(m_recorder.calls.size(), 1u);
  EXPECT_EQ(m_recorder.calls[0].first, first());
  EXPECT_EQ(m_recorder.calls[0].bytes,
            "raw" + std::string(entry.getRecord(), entry.getRecordLength()) + data);
  manager.flush();
  EXPECT_EQ(m_recorder.calls.size(), 1u);

  manager.write(entry);
  manager.flush();
  ASSERT_EQ(m_recorder.calls.size(), 2u);
  EXPECT_EQ(m_recorder.calls[1].first, first() + 3 + entry.getRecordLength() + data.size());
  EXPECT_EQ(m_recorder.calls[1].bytes,
            std::string(entry.getRecord(), entry.getRecordLength()) + data);
}

TEST_F(TraceBufferEntries, EntryIsWrittenAsRecordThenDataAcrossTheWrap) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  manager.setCallBack(record, &m_recorder);
  writeRaw(manager, pattern(kData - 10, 1));  // 10 bytes of room left
  const std::string data = pattern(500, 2);
  const KivClTraceEntry entry(m_env.environment(), KIV_TRACE_DETAIL_HIGH, 1, KIV_TRACE_TYPE_DATA,
                              "wrapping", "entry", data.data(), data.size());
  manager.write(entry);
  const std::string expected = std::string(entry.getRecord(), entry.getRecordLength()) + data;
  ASSERT_EQ(m_recorder.calls.size(), 1u);
  EXPECT_EQ(m_recorder.calls[0].bytes.substr(kData - 10), expected.substr(0, 10));
  manager.flush();
  ASSERT_EQ(m_recorder.calls.size(), 2u);
  EXPECT_EQ(m_recorder.calls[1].firstLength, 0u);
  EXPECT_EQ(m_recorder.calls[1].bytes, expected.substr(10));
}

TEST_F(TraceBufferEntries, NullDataEntryWritesTheRecordOnly) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  manager.setCallBack(record, &m_recorder);
  const KivClTraceEntry entry(m_env.environment(), KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "",
                              "", nullptr, 10);
  manager.write(entry);
  manager.flush();
  ASSERT_EQ(m_recorder.calls.size(), 1u);
  EXPECT_EQ(m_recorder.calls[0].bytes.size(), 20u);
}

TEST_F(TraceBufferEntries, GuardIsReleasedWhenTheCallbackThrows) {
  KivClTraceBufferManager manager(m_key, buffer(), kSize);
  manager.setCallBack(record, &m_recorder);
  m_recorder.throwOnCall = true;
  const std::string data = pattern(kData - 20, 3);
  const KivClTraceEntry entry(m_env.environment(), KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "",
                              "", data.data(), data.size());
  EXPECT_THROW(manager.write(entry), std::runtime_error);
  EXPECT_EQ(m_recorder.calls.size(), 1u);
  EXPECT_THROW(manager.flush(), std::runtime_error);
  // Another thread can take the lock again. (Static: a thread left behind
  // by a failure must not refer to the fixture.)
  static const KivClResourceKeySemaphore* key;
  static std::atomic<bool> taken{false};
  key = &m_key;
  std::thread other([] {
    KivClTraceBufferAccessSemaphore guard(*key);
    taken = true;
  });
  ASSERT_TRUE(finishes(other, taken)) << "the lock stayed held after an exception";
}

TEST(TraceBufferGuard, IsRecursiveOnOneThread) {
  static const KivClResourceKeySemaphore key("recursive", nullptr);
  static std::atomic<bool> done{false};
  std::thread nested([] {
    KivClTraceBufferAccessSemaphore outer(key);
    {
      KivClTraceBufferAccessSemaphore inner(key);
      KivClTraceBufferAccessSemaphore innermost(key);
    }
    done = true;
  });
  ASSERT_TRUE(finishes(nested, done)) << "a nested guard on one thread blocked";
  // All takes were given back: another thread gets the lock.
  static std::atomic<bool> again{false};
  std::thread other([] {
    KivClTraceBufferAccessSemaphore guard(key);
    again = true;
  });
  EXPECT_TRUE(finishes(other, again));
}

TEST(TraceBufferGuard, KeepsOtherThreadsOutWhileHeld) {
  const KivClResourceKeySemaphore key("exclusive", nullptr);
  std::atomic<bool> started{false};
  std::atomic<bool> entered{false};
  std::thread other;
  {
    KivClTraceBufferAccessSemaphore guard(key);
    { KivClTraceBufferAccessSemaphore nested(key); }
    other = std::thread([&] {
      started = true;
      KivClTraceBufferAccessSemaphore guard2(key);
      entered = true;
    });
    while (!started) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    // The nested release above gave back only one take: still held.
    EXPECT_FALSE(entered);
  }
  other.join();
  EXPECT_TRUE(entered);
}

TEST(TraceBufferGuard, CopiedKeysHaveLocksOfTheirOwn) {
  const KivClResourceKeySemaphore key("copied", nullptr);
  const KivClResourceKeySemaphore copy(key);
  KivClTraceBufferAccessSemaphore guard(key);
  std::atomic<bool> entered{false};
  std::thread other([&] {
    KivClTraceBufferAccessSemaphore guard2(copy);
    entered = true;
  });
  other.join();
  EXPECT_TRUE(entered);
}

}  // namespace
