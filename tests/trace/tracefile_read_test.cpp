// Reading trace files back entry by entry: files written through the trace
// environment's autosave, then cut short and damaged.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "kiv_traceentry.hpp"
#include "trace_test_env.hpp"

namespace {

struct Written {
  KivEnTraceDetail detail;
  unsigned short componentId;
  KivEnTraceDataType type;
  std::string function;
  std::string message;
  std::string data;
  bool compressed;
};

struct Read {
  KivEnTraceDetail detail;
  unsigned short componentId;
  KivEnTraceDataType type;
  std::uint32_t processId;
  std::uint32_t threadId;
  std::string function;
  std::string message;
  std::string data;
  bool compressed;
  unsigned long recordLength;
};

std::string randomText(std::mt19937& rng, std::size_t maxLength) {
  static const std::string chars =
      "abcdefghijklmnopqrstuvwxyz ABCDEFGHIJKLMNOPQRSTUVWXYZ,&*:_~()<>0123456789.#/";
  std::uniform_int_distribution<std::size_t> length(0, maxLength);
  std::uniform_int_distribution<std::size_t> pick(0, chars.size() - 1);
  std::string text(length(rng), ' ');
  for (char& c : text) c = chars[pick(rng)];
  return text;
}

// Writes `count` random entries through the environment (compression
// switched per entry) and flushes them to its trace file.
std::vector<Written> writeEntries(KivClTraceEnvironment& env, std::mt19937& rng, int count) {
  std::vector<Written> written;
  std::uniform_int_distribution<int> detail(0, 3);
  std::uniform_int_distribution<int> component(0, 255);
  std::uniform_int_distribution<int> coin(0, 1);
  for (int i = 0; i < count; ++i) {
    Written w{static_cast<KivEnTraceDetail>(detail(rng)),
              static_cast<unsigned short>(component(rng)),
              KIV_TRACE_TYPE_DATA,
              randomText(rng, 100),
              randomText(rng, 100),
              randomText(rng, 300),
              coin(rng) == 1};
    env.getSettings().setFlags(KIV_TRACE_FLAG_AUTOSAVE |
                               (w.compressed ? KIV_TRACE_FLAG_COMPRESS : 0));
    const KivClTraceEntry entry(env, w.detail, w.componentId, w.type, w.function.c_str(),
                                w.message.c_str(), w.data.data(), w.data.size());
    env.add(entry);
    written.push_back(w);
  }
  env.flush();
  return written;
}

// Reads entries until read() is false; data bytes are read when they are
// there and skipped (up to the end) otherwise.
std::vector<Read> readEntries(const std::string& path, const KivClTraceEnvironment& env) {
  std::ifstream in(path, std::ios::binary);
  std::vector<Read> result;
  KivClTraceFileEntry entry(env);
  while (entry.read(in)) {
    // Damaged texts may hold zero characters: take the lengths, not strlen.
    Read r{entry.getDetail(),
           entry.getComponentId(),
           entry.getType(),
           entry.getProcessId(),
           entry.getThreadId(),
           std::string(entry.getFunctionName(), entry.getFunctionNameLength()),
           std::string(entry.getMessage(), entry.getMessageLength()),
           std::string(),
           entry.isCompressed(),
           entry.getRecordLength()};
    EXPECT_EQ(entry.getFunctionName()[entry.getFunctionNameLength()], '\0');
    EXPECT_EQ(entry.getMessage()[entry.getMessageLength()], '\0');
    const unsigned long length = entry.getDataLength();
    if (length <= 4096) {
      r.data.resize(length);
      in.read(&r.data[0], static_cast<std::streamsize>(length));
      r.data.resize(static_cast<std::size_t>(in.gcount()));
    } else {
      in.ignore(static_cast<std::streamsize>(length));
    }
    result.push_back(r);
  }
  return result;
}

void expectSame(const Written& w, const Read& r, std::size_t index) {
  EXPECT_EQ(r.detail, w.detail) << index;
  EXPECT_EQ(r.componentId, w.componentId) << index;
  EXPECT_EQ(r.type, w.type) << index;
  EXPECT_EQ(r.function, w.function) << index;
  EXPECT_EQ(r.message, w.message) << index;
  EXPECT_EQ(r.data, w.data) << index;
  EXPECT_EQ(r.compressed, w.compressed) << index;
}

std::string fileBytes(const std::string& path) { return kivtest::readRequiredFile(path); }

class TraceFileRead : public ::testing::Test {
 protected:
  TraceFileRead() : m_env("kivt1fileread", 4, KIV_TRACE_FLAG_AUTOSAVE | KIV_TRACE_FLAG_COMPRESS) {}
  KivClTraceEnvironment& env() { return m_env.environment(); }
  kivtest::TraceTestEnvironment m_env;
};

TEST_F(TraceFileRead, EveryEntryComesBackAsWritten) {
  std::mt19937 rng(1);
  const std::vector<Written> written = writeEntries(env(), rng, 200);  // many turns of the ring
  const std::vector<Read> read = readEntries(m_env.file(), env());
  ASSERT_EQ(read.size(), written.size());
  for (std::size_t i = 0; i < read.size(); ++i) {
    expectSame(written[i], read[i], i);
    EXPECT_EQ(read[i].processId, env().getProcessId());
    EXPECT_EQ(read[i].threadId, 0u);
  }
}

TEST_F(TraceFileRead, CompressedTextsAreCountedForTheCompressionRate) {
  std::mt19937 rng(2);
  const std::vector<Written> written = writeEntries(env(), rng, 40);
  const std::uint64_t charsBefore = env().getUncompressedTotal();
  const std::uint64_t storedBefore = env().getStoredTotal();
  std::uint64_t chars = 0;
  std::uint64_t stored = 0;
  std::vector<char> out(KivClTraceEntry::TEXT_LIMIT + 1);
  for (const Written& w : written) {
    if (!w.compressed) continue;
    chars += w.message.size() + w.function.size();
    stored += KivClTraceEntry::compressCString(out.data(), w.message.c_str(), 255);
    stored += KivClTraceEntry::compressCString(out.data(), w.function.c_str(), 255);
  }
  ASSERT_GT(chars, 0u);
  const std::vector<Read> read = readEntries(m_env.file(), env());
  ASSERT_EQ(read.size(), written.size());
  EXPECT_EQ(env().getUncompressedTotal() - charsBefore, chars);
  EXPECT_EQ(env().getStoredTotal() - storedBefore, stored);
}

TEST_F(TraceFileRead, EmptyFileReadsNothing) {
  kivtest::writeFile(m_env.file(), "");
  EXPECT_TRUE(readEntries(m_env.file(), env()).empty());
}

TEST_F(TraceFileRead, ReadingStopsAtAFixedPartThatCannotBeReadWhole) {
  std::mt19937 rng(3);
  const std::vector<Written> written = writeEntries(env(), rng, 5);
  const std::string bytes = fileBytes(m_env.file());
  kivtest::writeFile(m_env.file(), bytes + std::string(19, '\x01'));
  const std::vector<Read> read = readEntries(m_env.file(), env());
  ASSERT_EQ(read.size(), 5u);
  for (std::size_t i = 0; i < read.size(); ++i) expectSame(written[i], read[i], i);
  // The entry that cannot be read is cleared, not left half filled.
  std::ifstream in(m_env.file(), std::ios::binary);
  in.seekg(static_cast<std::streamoff>(bytes.size()));
  KivClTraceFileEntry entry(env());
  EXPECT_FALSE(entry.read(in));
  EXPECT_EQ(entry.getRecordLength(), 0u);
  EXPECT_EQ(entry.getRecord()[1], '\0');  // the 19 bytes read are not kept
  EXPECT_EQ(entry.getDataLength(), 0u);
}

TEST_F(TraceFileRead, LastEntryWithoutDataAtTheVeryEndIsRead) {
  const KivClTraceEntry entry(env(), KIV_TRACE_DETAIL_LOW, 3, KIV_TRACE_TYPE_NO_DATA, "fn", "last",
                              "", 0);
  env().add(entry);
  env().flush();
  std::ifstream in(m_env.file(), std::ios::binary);
  KivClTraceFileEntry read(env());
  ASSERT_TRUE(read.read(in));
  EXPECT_STREQ(read.getMessage(), "last");
  EXPECT_STREQ(read.getFunctionName(), "fn");
  EXPECT_EQ(read.getRecordLength(), entry.getRecordLength());
  EXPECT_EQ(std::string(read.getRecord(), read.getRecordLength()),
            std::string(entry.getRecord(), entry.getRecordLength()));
  EXPECT_FALSE(read.read(in));
  EXPECT_EQ(read.getRecordLength(), 0u);
  EXPECT_EQ(read.getType(), KIV_TRACE_TYPE_NONE);
}

TEST_F(TraceFileRead, TruncatedFilesEndAtTheFirstEntryCutShort) {
  std::mt19937 rng(4);
  const std::vector<Written> written = writeEntries(env(), rng, 12);
  const std::string bytes = fileBytes(m_env.file());
  // Where each entry's record (fixed part and texts) ends in the file.
  std::vector<std::size_t> recordEnds;
  {
    std::ifstream in(m_env.file(), std::ios::binary);
    KivClTraceFileEntry entry(env());
    std::size_t at = 0;
    while (entry.read(in)) {
      recordEnds.push_back(at + entry.getRecordLength());
      at += entry.getRecordLength() + entry.getDataLength();
      in.ignore(static_cast<std::streamsize>(entry.getDataLength()));
    }
    ASSERT_EQ(at, bytes.size());
  }
  ASSERT_EQ(recordEnds.size(), written.size());
  const std::string cut = m_env.dir() / "cut.trc";
  for (std::size_t size = 0; size <= bytes.size(); ++size) {
    kivtest::writeFile(cut, bytes.substr(0, size));
    const std::vector<Read> read = readEntries(cut, env());
    const auto expected = static_cast<std::size_t>(std::count_if(
        recordEnds.begin(), recordEnds.end(), [&](std::size_t e) { return e <= size; }));
    ASSERT_EQ(read.size(), expected) << "cut at " << size;
    for (std::size_t i = 0; i + 1 < read.size(); ++i) expectSame(written[i], read[i], i);
    if (!read.empty()) {
      // The last entry read may have lost data bytes, nothing else.
      const Read& r = read.back();
      const Written& w = written[read.size() - 1];
      EXPECT_EQ(r.message, w.message);
      EXPECT_EQ(r.function, w.function);
      EXPECT_EQ(r.data, w.data.substr(0, r.data.size()));
    }
  }
}

TEST_F(TraceFileRead, DamagedFilesAreReadWithoutStrayAccess) {
  std::mt19937 rng(5);
  writeEntries(env(), rng, 30);
  const std::string bytes = fileBytes(m_env.file());
  const std::string damaged = m_env.dir() / "damaged.trc";
  std::uniform_int_distribution<std::size_t> position(0, bytes.size() - 1);
  std::uniform_int_distribution<int> flips(1, 8);
  std::uniform_int_distribution<int> mask(1, 255);
  for (int round = 0; round < 400; ++round) {
    std::string copy = bytes;
    for (int f = flips(rng); f > 0; --f) {
      copy[position(rng)] ^= static_cast<char>(mask(rng));
    }
    if (round % 3 == 0) copy.resize(position(rng));
    kivtest::writeFile(damaged, copy);
    const std::vector<Read> read = readEntries(damaged, env());
    // Every entry read used at least its fixed part of the file.
    ASSERT_LE(read.size() * 20, copy.size()) << "round " << round;
    for (const Read& r : read) {
      ASSERT_LE(r.recordLength, 20u + 255u + 255u);
      ASSERT_LE(r.message.size(), 340u);
      ASSERT_LE(r.function.size(), 340u);
    }
  }
}

TEST_F(TraceFileRead, FlippedDataByteChangesOnlyThatEntrysData) {
  std::mt19937 rng(6);
  const std::vector<Written> written = writeEntries(env(), rng, 3);
  std::string bytes = fileBytes(m_env.file());
  // The first entry's data starts after its record.
  std::ifstream in(m_env.file(), std::ios::binary);
  KivClTraceFileEntry first(env());
  ASSERT_TRUE(first.read(in));
  ASSERT_GT(first.getDataLength(), 0u);
  bytes[first.getRecordLength()] ^= 0x20;
  kivtest::writeFile(m_env.file(), bytes);
  const std::vector<Read> read = readEntries(m_env.file(), env());
  ASSERT_EQ(read.size(), 3u);
  std::string data = written[0].data;
  data[0] ^= 0x20;
  EXPECT_EQ(read[0].data, data);
  expectSame(written[1], read[1], 1);
  expectSame(written[2], read[2], 2);
}

}  // namespace
