// Trace entries: the record built from the caller's arguments.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kiv_traceentry.hpp"
#include "trace_test_env.hpp"

namespace {

std::uint32_t wordAt(const KivClTraceEntry& entry, unsigned long offset) {
  std::uint32_t value;
  std::memcpy(&value, entry.getRecord() + offset, sizeof value);
  return value;
}

unsigned byteAt(const KivClTraceEntry& entry, unsigned long offset) {
  return static_cast<unsigned char>(entry.getRecord()[offset]);
}

std::string compressed(const std::string& text) {
  std::vector<char> out(KivClTraceEntry::TEXT_LIMIT + 1);
  const unsigned long n =
      KivClTraceEntry::compressCString(out.data(), text.c_str(), KivClTraceEntry::TEXT_LIMIT);
  return std::string(out.data(), n);
}

class TraceEntry : public ::testing::Test {
 protected:
  TraceEntry() : m_env("kivt1entry", 4, KIV_TRACE_FLAG_COMPRESS | KIV_TRACE_FLAG_AUTOSAVE) {}
  KivClTraceEnvironment& env() { return m_env.environment(); }
  kivtest::TraceTestEnvironment m_env;
};

TEST_F(TraceEntry, RecordFieldsOfACompressedEntry) {
  const std::int32_t value = -5;
  const KivClTraceEntry entry(env(), KIV_TRACE_DETAIL_MED, 7, KIV_TRACE_TYPE_INT32, "Func", "Hello",
                              &value, sizeof value);
  // Type 15, compressed (bit 5), detail 2 in bits 6-7.
  EXPECT_EQ(byteAt(entry, 0), 15u | 0x20u | (2u << 6));
  EXPECT_EQ(entry.getType(), KIV_TRACE_TYPE_INT32);
  EXPECT_EQ(entry.getDetail(), KIV_TRACE_DETAIL_MED);
  EXPECT_TRUE(entry.isCompressed());
  EXPECT_EQ(byteAt(entry, 1), 7u);
  EXPECT_EQ(entry.getComponentId(), 7u);
  const std::string message = compressed("Hello");
  const std::string function = compressed("Func");
  EXPECT_EQ(byteAt(entry, 2), message.size());
  EXPECT_EQ(byteAt(entry, 3), function.size());
  EXPECT_EQ(entry.getStoredMessageLength(), 4u);
  EXPECT_EQ(entry.getStoredFunctionLength(), 3u);
  EXPECT_EQ(wordAt(entry, 4), 0u);  // time stamp
  EXPECT_EQ(wordAt(entry, 8), static_cast<std::uint32_t>(getpid()));
  EXPECT_EQ(entry.getProcessId(), env().getProcessId());
  EXPECT_EQ(wordAt(entry, 12), 0u);  // thread id: 0 on this platform
  EXPECT_EQ(entry.getThreadId(), 0u);
  EXPECT_EQ(wordAt(entry, 16), 4u);
  EXPECT_EQ(entry.getDataLength(), 4u);
  // Message before function name.
  EXPECT_EQ(std::string(entry.getRecord() + 20, 4), message);
  EXPECT_EQ(std::string(entry.getRecord() + 24, 3), function);
  EXPECT_EQ(entry.getRecordLength(), 27u);
  EXPECT_EQ(entry.getData(), &value);
  EXPECT_EQ(&entry.getEnvironment(), &env());
}

TEST_F(TraceEntry, UncompressedTextsAreCopiedAndCutAt255) {
  env().getSettings().setFlags(KIV_TRACE_FLAG_AUTOSAVE);
  const std::string longMessage(300, 'm');
  const std::string longFunction(256, 'f');
  const KivClTraceEntry entry(env(), KIV_TRACE_DETAIL_HIGH, 1, KIV_TRACE_TYPE_NO_DATA,
                              longFunction.c_str(), longMessage.c_str(), "", 0);
  EXPECT_FALSE(entry.isCompressed());
  EXPECT_EQ(byteAt(entry, 0), 3u | (3u << 6));
  EXPECT_EQ(entry.getStoredMessageLength(), 255u);
  EXPECT_EQ(entry.getStoredFunctionLength(), 255u);
  EXPECT_EQ(entry.getRecordLength(), 530u);
  EXPECT_EQ(std::string(entry.getRecord() + 20, 255), std::string(255, 'm'));
  EXPECT_EQ(std::string(entry.getRecord() + 275, 255), std::string(255, 'f'));

  const KivClTraceEntry plain(env(), KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_NO_DATA, "fn", "msg 1",
                              "", 0);
  EXPECT_EQ(plain.getRecordLength(), 27u);
  EXPECT_EQ(std::string(plain.getRecord() + 20, 7), "msg 1fn");
}

TEST_F(TraceEntry, ComponentIdKeepsItsLow8Bits) {
  const KivClTraceEntry entry(env(), KIV_TRACE_DETAIL_LOW, 300, KIV_TRACE_TYPE_NO_DATA, "", "", "",
                              0);
  EXPECT_EQ(entry.getComponentId(), 44u);
  const KivClTraceEntry top(env(), KIV_TRACE_DETAIL_LOW, 0xFFFF, KIV_TRACE_TYPE_NO_DATA, "", "", "",
                            0);
  EXPECT_EQ(top.getComponentId(), 255u);
}

TEST_F(TraceEntry, DataLongerThanTheDataAreaIsClipped) {
  ASSERT_EQ(env().getBufferSize(), 4048u);
  const std::vector<char> data(5000, 'd');
  const KivClTraceEntry entry(env(), KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_CSTRING, "", "",
                              data.data(), data.size());
  EXPECT_EQ(entry.getType(), KIV_TRACE_TYPE_DATA_CLIPPED);
  EXPECT_EQ(entry.getDataLength(), 4048u);
  EXPECT_EQ(entry.getData(), data.data());
  // Exactly the data area is not clipped.
  const KivClTraceEntry exact(env(), KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_CSTRING, "", "",
                              data.data(), 4048);
  EXPECT_EQ(exact.getType(), KIV_TRACE_TYPE_CSTRING);
  EXPECT_EQ(exact.getDataLength(), 4048u);
}

TEST_F(TraceEntry, NullDataBecomesTypeSixWithoutData) {
  const KivClTraceEntry entry(env(), KIV_TRACE_DETAIL_MED, 1, KIV_TRACE_TYPE_DATA, "f", "m",
                              nullptr, 10);
  EXPECT_EQ(entry.getType(), KIV_TRACE_TYPE_DATA_NULL);
  EXPECT_EQ(entry.getDataLength(), 0u);
  EXPECT_EQ(entry.getData(), nullptr);
  EXPECT_EQ(entry.getDetail(), KIV_TRACE_DETAIL_MED);
  EXPECT_TRUE(entry.isCompressed());
  // Null also wins over a length beyond the data area.
  const KivClTraceEntry huge(env(), KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_DATA, "", "", nullptr,
                             100000);
  EXPECT_EQ(huge.getType(), KIV_TRACE_TYPE_DATA_NULL);
  EXPECT_EQ(huge.getDataLength(), 0u);
}

TEST_F(TraceEntry, EmptyTextsGiveRecordLength20) {
  const KivClTraceEntry entry(env(), KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_NO_DATA, "", "", "",
                              0);
  EXPECT_EQ(entry.getRecordLength(), 20u);
  EXPECT_EQ(byteAt(entry, 2), 0u);
  EXPECT_EQ(byteAt(entry, 3), 0u);
  const KivClTraceEntry nulls(env(), KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_NO_DATA, nullptr,
                              nullptr, "", 0);
  EXPECT_EQ(nulls.getRecordLength(), 20u);
}

TEST_F(TraceEntry, EmptyEntryIsCleared) {
  const KivClTraceEntry entry(env());
  EXPECT_EQ(entry.getRecordLength(), 0u);
  EXPECT_EQ(entry.getData(), nullptr);
  for (unsigned long i = 0; i < KivClTraceEntry::RECORD_AREA_SIZE; ++i) {
    ASSERT_EQ(entry.getRecord()[i], '\0') << i;
  }
  EXPECT_EQ(entry.getType(), KIV_TRACE_TYPE_NONE);
  EXPECT_EQ(entry.getDetail(), KIV_TRACE_DETAIL_OFF);
}

TEST_F(TraceEntry, SetTypeKeepsDetailAndClearsCompressionBit) {
  KivClTraceEntry entry(env(), KIV_TRACE_DETAIL_HIGH, 1, KIV_TRACE_TYPE_DATA, "f", "m", "x", 1);
  ASSERT_TRUE(entry.isCompressed());
  entry.setType(KIV_TRACE_TYPE_LONG_DOUBLE);
  EXPECT_EQ(entry.getType(), KIV_TRACE_TYPE_LONG_DOUBLE);
  EXPECT_EQ(entry.getDetail(), KIV_TRACE_DETAIL_HIGH);
  EXPECT_FALSE(entry.isCompressed());
  EXPECT_EQ(byteAt(entry, 0), 21u | 0xC0u);
  entry.setDetail(KIV_TRACE_DETAIL_LOW);
  EXPECT_EQ(byteAt(entry, 0), 21u | 0x40u);
  EXPECT_EQ(entry.getType(), KIV_TRACE_TYPE_LONG_DOUBLE);
  // Detail keeps bits 0-5, compression bit included.
  KivClTraceEntry other(env(), KIV_TRACE_DETAIL_OFF, 1, KIV_TRACE_TYPE_BOOL, "f", "m", "x", 1);
  other.setDetail(KIV_TRACE_DETAIL_MED);
  EXPECT_EQ(byteAt(other, 0), 10u | 0x20u | 0x80u);
}

TEST_F(TraceEntry, TypeAndDetailUseOnlyTheirBits) {
  const KivClTraceEntry entry(env(), static_cast<KivEnTraceDetail>(7), 1,
                              static_cast<KivEnTraceDataType>(0x3F), "", "", "", 0);
  EXPECT_EQ(byteAt(entry, 0), 0x1Fu | 0x20u | 0xC0u);
}

TEST_F(TraceEntry, CompressedTextThatWouldNeed256BytesDropsItsLastCharacter) {
  // 334 coded characters and two escaped ones end at bit 2032; an escaped
  // character begun there would end in a 256th byte.
  const std::string head = "11" + std::string(334, 'a');
  const std::string message = head + "9";
  const KivClTraceEntry entry(env(), KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_NO_DATA,
                              message.c_str(), message.c_str(), "", 0);
  EXPECT_EQ(entry.getStoredMessageLength(), 254u);
  EXPECT_EQ(entry.getStoredFunctionLength(), 254u);
  EXPECT_EQ(entry.getRecordLength(), 20u + 254u + 254u);
  std::vector<char> out(400);
  const unsigned long n =
      KivClTraceEntry::deCompressCString(out.data(), entry.getRecord() + 20, 254);
  EXPECT_EQ(std::string(out.data(), n), head);
  const unsigned long f =
      KivClTraceEntry::deCompressCString(out.data(), entry.getRecord() + 20 + 254, 254);
  EXPECT_EQ(std::string(out.data(), f), head);
  // Escapes begun at bits 2028 and 2030 are dropped the same way.
  for (const std::string& start : {std::string(338, 'b'), "1" + std::string(336, 'b')}) {
    const std::string text = start + "9";
    const KivClTraceEntry e(env(), KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_NO_DATA, "",
                            text.c_str(), "", 0);
    ASSERT_EQ(e.getStoredMessageLength(), 254u);
    const unsigned long m = KivClTraceEntry::deCompressCString(out.data(), e.getRecord() + 20, 254);
    EXPECT_EQ(std::string(out.data(), m), start);
  }
}

TEST_F(TraceEntry, CompressedTextOf255BytesIsKept) {
  const std::string text = "11" + std::string(334, 'a') + "bz";
  const KivClTraceEntry entry(env(), KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_NO_DATA, "",
                              text.c_str(), "", 0);
  EXPECT_EQ(entry.getStoredMessageLength(), 255u);
  EXPECT_EQ(std::string(entry.getRecord() + 20, 255), compressed(text));
}

}  // namespace
