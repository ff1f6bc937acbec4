// The trace settings record: defaults, placement in caller memory, flags.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "kiv_tracesettings.hpp"

namespace {

std::uint32_t wordAt(const unsigned char* bytes, std::size_t offset) {
  std::uint32_t word = 0;
  std::memcpy(&word, bytes + offset, sizeof word);
  return word;
}

TEST(TraceSettings, OwnRecordStartsWithSignatureFlags3AndDefaultFilter) {
  KivClTraceSettings settings;
  EXPECT_EQ(settings.getSignature(), 0x4B49u);
  EXPECT_EQ(settings.getFlags(), 3u);
  EXPECT_TRUE(settings.hasFlag(KIV_TRACE_FLAG_COMPRESS));
  EXPECT_TRUE(settings.hasFlag(KIV_TRACE_FLAG_AUTOSAVE));
  EXPECT_FALSE(settings.hasFlag(KIV_TRACE_FLAG_AUTOCLEAR));
  EXPECT_FALSE(settings.hasFlag(KIV_TRACE_FLAG_AUTOFLUSH));
  EXPECT_FALSE(settings.hasFlag(KIV_TRACE_FLAG_VERBOSE));
  EXPECT_EQ(settings.getFilter().getDetail(), KIV_TRACE_DETAIL_LOW);
  EXPECT_EQ(settings.getFilter().getProcessId(), 0u);
  EXPECT_EQ(settings.getFilter().getThreadId(), 0u);
  EXPECT_FALSE(settings.getFilter().usesCompIdFilter());
}

TEST(TraceSettings, RecordIsLaidInCallerMemoryInItsFixedLayout) {
  alignas(8) unsigned char memory[KivClTraceSettings::RECORD_SIZE + 4];
  std::memset(memory, 0xAB, sizeof memory);
  KivClTraceSettings settings(memory);
  ASSERT_EQ(KivClTraceSettings::RECORD_SIZE, 52u);
  EXPECT_EQ(static_cast<const void*>(settings.getRecord()), static_cast<const void*>(memory));
  EXPECT_EQ(wordAt(memory, 0), 0x4B49u);
  EXPECT_EQ(wordAt(memory, 4), 3u);
  EXPECT_EQ(wordAt(memory, 8), 1u);   // detail LOW
  EXPECT_EQ(wordAt(memory, 12), 0u);  // process id
  EXPECT_EQ(wordAt(memory, 16), 0u);  // thread id
  for (std::size_t i = 20; i < 52; ++i) EXPECT_EQ(memory[i], 0xFF) << "set byte " << i - 20;
  for (std::size_t i = 52; i < sizeof memory; ++i) EXPECT_EQ(memory[i], 0xAB) << "beyond, " << i;

  // Changes through the object land in the caller's memory.
  settings.addFlags(KIV_TRACE_FLAG_VERBOSE);
  settings.getFilter().setDetail(KIV_TRACE_DETAIL_HIGH);
  settings.getFilter().disableComponentId(3);
  EXPECT_EQ(wordAt(memory, 4), 19u);
  EXPECT_EQ(wordAt(memory, 8), 3u);
  EXPECT_EQ(memory[20], 0xF7);
}

TEST(TraceSettings, ConstructionOverAnOldRecordWritesAFreshOne) {
  alignas(8) unsigned char memory[KivClTraceSettings::RECORD_SIZE];
  {
    KivClTraceSettings first(memory);
    first.setFlags(0xFFFF);
    first.getFilter().setDetail(KIV_TRACE_DETAIL_OFF);
    first.getFilter().disableAllComponentIds();
  }
  KivClTraceSettings second(memory);
  EXPECT_EQ(second.getFlags(), 3u);
  EXPECT_EQ(second.getFilter().getDetail(), KIV_TRACE_DETAIL_LOW);
  EXPECT_FALSE(second.getFilter().usesCompIdFilter());
}

TEST(TraceSettings, NullMemoryMeansTheRecordInsideTheObject) {
  KivClTraceSettings settings(nullptr);
  ASSERT_NE(settings.getRecord(), nullptr);
  EXPECT_EQ(settings.getSignature(), 0x4B49u);
  EXPECT_EQ(settings.getFlags(), 3u);
}

TEST(TraceSettings, AddFlagsOnlySetsBits) {
  KivClTraceSettings settings;
  settings.addFlags(KIV_TRACE_FLAG_AUTOFLUSH);
  EXPECT_EQ(settings.getFlags(), 11u);
  settings.addFlags(KIV_TRACE_FLAG_COMPRESS);  // already set: no change
  EXPECT_EQ(settings.getFlags(), 11u);
  settings.addFlags(0);
  EXPECT_EQ(settings.getFlags(), 11u);
  EXPECT_TRUE(settings.hasFlag(KIV_TRACE_FLAG_AUTOFLUSH | KIV_TRACE_FLAG_AUTOSAVE));
  EXPECT_FALSE(settings.hasFlag(KIV_TRACE_FLAG_AUTOFLUSH | KIV_TRACE_FLAG_AUTOCLEAR));
}

TEST(TraceSettings, InitResetsSignatureAndFlagsButKeepsTheFilter) {
  KivClTraceSettings settings;
  settings.setFlags(0xFFFF);
  settings.getFilter().setDetail(KIV_TRACE_DETAIL_MED);
  settings.init();
  EXPECT_EQ(settings.getSignature(), 0x4B49u);
  EXPECT_EQ(settings.getFlags(), 3u);
  EXPECT_EQ(settings.getFilter().getDetail(), KIV_TRACE_DETAIL_MED);
}

}  // namespace
