// The trace filter: detail texts, ids, component sets and component id lists.

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "kiv_tracefilter.hpp"

namespace {

/// The enabled ids among 0 to 255.
std::set<unsigned> enabledIds(const KivClTraceFilter& filter) {
  std::set<unsigned> ids;
  for (unsigned id = 0; id <= 255; ++id) {
    if (filter.isComponentIdEnabled(static_cast<unsigned short>(id))) ids.insert(id);
  }
  return ids;
}

std::set<unsigned> range(unsigned first, unsigned last) {
  std::set<unsigned> ids;
  for (unsigned id = first; id <= last; ++id) ids.insert(id);
  return ids;
}

/// A filter with a cleared set and the list applied.
KivClTraceFilter clearedWithList(const char* list) {
  KivClTraceFilter filter;
  filter.disableAllComponentIds();
  filter.enableComponentIds(list);
  return filter;
}

KivEnTraceDetail detailOf(const char* text) {
  KivClTraceFilter filter;
  filter.setDetail(text);
  return filter.getDetail();
}

TEST(TraceFilter, DefaultsAreLowDetailNoIdFiltersAndEveryComponent) {
  KivClTraceFilter filter;
  EXPECT_EQ(filter.getDetail(), KIV_TRACE_DETAIL_LOW);
  EXPECT_EQ(filter.getProcessId(), 0u);
  EXPECT_EQ(filter.getThreadId(), 0u);
  EXPECT_EQ(enabledIds(filter), range(0, 255));
  EXPECT_FALSE(filter.usesCompIdFilter());
}

TEST(TraceFilter, RecordLayoutIsDetailProcessThreadThenSetBits) {
  KivClTraceFilter filter;
  filter.setDetail(KIV_TRACE_DETAIL_HIGH);
  filter.setProcessId("0x");  // no digits after the 0
  filter.setProcessId("513");
  filter.setThreadId("7");
  filter.disableAllComponentIds();
  filter.enableComponentId(9);  // bit 1 of byte 1
  unsigned char bytes[sizeof filter];
  std::memcpy(bytes, &filter, sizeof filter);
  ASSERT_EQ(sizeof bytes, 44u);
  std::uint32_t word = 0;
  std::memcpy(&word, bytes, 4);
  EXPECT_EQ(word, 3u);
  std::memcpy(&word, bytes + 4, 4);
  EXPECT_EQ(word, 513u);
  std::memcpy(&word, bytes + 8, 4);
  EXPECT_EQ(word, 7u);
  for (std::size_t i = 12; i < 44; ++i) {
    EXPECT_EQ(bytes[i], i == 13 ? 0x02 : 0x00) << "set byte " << i - 12;
  }
}

TEST(TraceFilter, DetailTextsCompareTheirPrefixWithoutCase) {
  EXPECT_EQ(detailOf("medium"), KIV_TRACE_DETAIL_MED);
  EXPECT_EQ(detailOf("Highest"), KIV_TRACE_DETAIL_HIGH);
  EXPECT_EQ(detailOf("low"), KIV_TRACE_DETAIL_LOW);
  EXPECT_EQ(detailOf("none"), KIV_TRACE_DETAIL_OFF);
  EXPECT_EQ(detailOf("HIGH"), KIV_TRACE_DETAIL_HIGH);
  EXPECT_EQ(detailOf("MeD"), KIV_TRACE_DETAIL_MED);
  EXPECT_EQ(detailOf("lowest"), KIV_TRACE_DETAIL_LOW);
  EXPECT_EQ(detailOf("hi"), KIV_TRACE_DETAIL_OFF);
  EXPECT_EQ(detailOf("me"), KIV_TRACE_DETAIL_OFF);
  EXPECT_EQ(detailOf(" low"), KIV_TRACE_DETAIL_OFF);
  EXPECT_EQ(detailOf(""), KIV_TRACE_DETAIL_OFF);
  EXPECT_EQ(detailOf(nullptr), KIV_TRACE_DETAIL_OFF);
}

TEST(TraceFilter, DetailTextTakesEveryLevelEvenFromAHigherOne) {
  KivClTraceFilter filter;
  filter.setDetail("HIGH");
  filter.setDetail("off");
  EXPECT_EQ(filter.getDetail(), KIV_TRACE_DETAIL_OFF);
}

TEST(TraceFilter, DetailNamesForTheFourLevelsAndNullBeyond) {
  EXPECT_STREQ(KivClTraceFilter::getDetailAsCString(KIV_TRACE_DETAIL_OFF), "OFF");
  EXPECT_STREQ(KivClTraceFilter::getDetailAsCString(KIV_TRACE_DETAIL_LOW), "LOW");
  EXPECT_STREQ(KivClTraceFilter::getDetailAsCString(KIV_TRACE_DETAIL_MED), "MED");
  EXPECT_STREQ(KivClTraceFilter::getDetailAsCString(KIV_TRACE_DETAIL_HIGH), "HIGH");
  EXPECT_EQ(KivClTraceFilter::getDetailAsCString(static_cast<KivEnTraceDetail>(4)), nullptr);
}

TEST(TraceFilter, ProcessAndThreadIdsTakeTheLeadingNumber) {
  KivClTraceFilter filter;
  filter.setProcessId("42abc");
  filter.setThreadId("17 and more");
  EXPECT_EQ(filter.getProcessId(), 42u);
  EXPECT_EQ(filter.getThreadId(), 17u);
  filter.setProcessId("abc");
  filter.setThreadId(nullptr);
  EXPECT_EQ(filter.getProcessId(), 0u);
  EXPECT_EQ(filter.getThreadId(), 0u);
}

TEST(TraceFilter, SingleIdsSetAndClearTheirOwnBitOnly) {
  KivClTraceFilter filter;
  filter.disableComponentId(200);
  std::set<unsigned> expected = range(0, 255);
  expected.erase(200);
  EXPECT_EQ(enabledIds(filter), expected);
  filter.disableAllComponentIds();
  filter.enableComponentId(8);
  filter.enableComponentId(255);
  EXPECT_EQ(enabledIds(filter), (std::set<unsigned>{8, 255}));
  filter.enableComponentId(256);  // beyond the set: ignored
  filter.disableComponentId(300);
  EXPECT_EQ(enabledIds(filter), (std::set<unsigned>{8, 255}));
  filter.enableAllComponentIds();
  EXPECT_EQ(enabledIds(filter), range(0, 255));
}

TEST(TraceFilter, RangesIgnoreFirstZeroTakeLastZeroAsFirstAndCapAt255) {
  KivClTraceFilter filter;
  filter.disableAllComponentIds();
  filter.setComponentIdSet(0, 10, true);
  EXPECT_TRUE(enabledIds(filter).empty());
  filter.setComponentIdSet(12, 0, true);
  EXPECT_EQ(enabledIds(filter), (std::set<unsigned>{12}));
  filter.setComponentIdSet(250, 1000, true);
  std::set<unsigned> expected = range(250, 255);
  expected.insert(12);
  EXPECT_EQ(enabledIds(filter), expected);
  filter.setComponentIdSet(300, 400, true);  // first above the capped last
  EXPECT_EQ(enabledIds(filter), expected);
  filter.setComponentIdSet(20, 10, true);  // first above last
  EXPECT_EQ(enabledIds(filter), expected);
  filter.setComponentIdSet(251, 254, false);
  EXPECT_EQ(enabledIds(filter), (std::set<unsigned>{12, 250, 255}));
}

TEST(TraceFilter, ListEnablesARangeThenDisablesOneOfIt) {
  EXPECT_EQ(enabledIds(clearedWithList("1.5,-3")), (std::set<unsigned>{1, 2, 4, 5}));
}

TEST(TraceFilter, ListStarEnablesEveryIdButTheDisabledOne) {
  std::set<unsigned> expected = range(1, 255);
  expected.erase(7);
  EXPECT_EQ(enabledIds(clearedWithList("*,-7")), expected);
}

TEST(TraceFilter, ListOfOneIdAbove255ChangesNothing) {
  EXPECT_TRUE(enabledIds(clearedWithList("300")).empty());
  EXPECT_EQ(enabledIds(clearedWithList("250.300")), range(250, 255));
}

TEST(TraceFilter, ListWithOneOrTwoDotsMeansARange) {
  EXPECT_EQ(enabledIds(clearedWithList("3.7")), range(3, 7));
  EXPECT_EQ(enabledIds(clearedWithList("3..7")), range(3, 7));
}

TEST(TraceFilter, ListModeBelongsToItsItem) {
  // "-" disables 4 only; the next item is back to enabling.
  KivClTraceFilter filter;
  filter.disableAllComponentIds();
  filter.enableComponentIds("2.6,-4,9");
  EXPECT_EQ(enabledIds(filter), (std::set<unsigned>{2, 3, 5, 6, 9}));
  // "+" after "-" in one item enables again; the sign may stand anywhere.
  filter.enableComponentIds("4-+");
  EXPECT_EQ(enabledIds(filter), (std::set<unsigned>{2, 3, 4, 5, 6, 9}));
  filter.enableComponentIds("5-");
  EXPECT_EQ(enabledIds(filter), (std::set<unsigned>{2, 3, 4, 6, 9}));
}

TEST(TraceFilter, ListItemsWithoutNumberApplyNothing) {
  KivClTraceFilter filter;
  filter.enableComponentIds("-");
  filter.enableComponentIds("-,,x,.");
  EXPECT_EQ(enabledIds(filter), range(0, 255));
  filter.enableComponentIds(nullptr);
  filter.enableComponentIds("");
  EXPECT_EQ(enabledIds(filter), range(0, 255));
}

TEST(TraceFilter, ListIgnoresOtherCharactersAndKeepsTheRestOfTheSet) {
  KivClTraceFilter filter;
  filter.disableAllComponentIds();
  filter.enableComponentId(100);
  filter.enableComponentIds(" 1 0 ; x20");  // digits 1, 0 and 20: the last number wins
  EXPECT_EQ(enabledIds(filter), (std::set<unsigned>{20, 100}));
}

TEST(TraceFilter, ListNumbersBeyond16BitsDoNotWrapOntoSmallIds) {
  // 65537 would be 1 if it wrapped at 16 bits.
  EXPECT_TRUE(enabledIds(clearedWithList("65537")).empty());
  EXPECT_TRUE(enabledIds(clearedWithList("99999999999999999999999")).empty());
  EXPECT_EQ(enabledIds(clearedWithList("254.65537")), range(254, 255));
}

TEST(TraceFilter, ListStarThenLastNumberNarrowsTheRange) {
  // "*" sets 1 to 255; a later number after "." replaces the last id.
  EXPECT_EQ(enabledIds(clearedWithList("*.3")), range(1, 3));
}

TEST(TraceFilter, CompIdFilterIsUsedOnceAnIdFrom1To255IsOff) {
  KivClTraceFilter filter;
  EXPECT_FALSE(filter.usesCompIdFilter());
  filter.disableComponentId(0);
  EXPECT_FALSE(filter.usesCompIdFilter());
  filter.disableComponentId(255);
  EXPECT_TRUE(filter.usesCompIdFilter());
  filter.enableComponentId(255);
  filter.disableComponentId(1);
  EXPECT_TRUE(filter.usesCompIdFilter());
  filter.enableComponentId(1);
  EXPECT_FALSE(filter.usesCompIdFilter());
}

TEST(TraceFilter, ComponentZeroPassesEverySet) {
  KivClTraceFilter filter;
  filter.disableAllComponentIds();
  EXPECT_TRUE(filter.passesComponentId(0));
  EXPECT_FALSE(filter.passesComponentId(1));
  EXPECT_TRUE(filter.passesRecording(KIV_TRACE_DETAIL_LOW, 0));
  EXPECT_FALSE(filter.passesRecording(KIV_TRACE_DETAIL_LOW, 5));
  filter.enableComponentId(5);
  EXPECT_TRUE(filter.passesRecording(KIV_TRACE_DETAIL_LOW, 5));
}

TEST(TraceFilter, RecordingRuleComparesDetailAndIgnoresIds) {
  KivClTraceFilter filter;  // detail LOW
  filter.setProcessId("42");
  filter.setThreadId("3");
  EXPECT_TRUE(filter.passesRecording(KIV_TRACE_DETAIL_OFF, 1));
  EXPECT_TRUE(filter.passesRecording(KIV_TRACE_DETAIL_LOW, 1));
  EXPECT_FALSE(filter.passesRecording(KIV_TRACE_DETAIL_MED, 1));
  filter.setDetail(KIV_TRACE_DETAIL_OFF);
  EXPECT_TRUE(filter.passesRecording(KIV_TRACE_DETAIL_OFF, 1));
  EXPECT_FALSE(filter.passesRecording(KIV_TRACE_DETAIL_LOW, 1));
}

TEST(TraceFilter, FormattingRuleAlsoMatchesProcessAndThread) {
  KivClTraceFilter filter;
  EXPECT_TRUE(filter.passes(KIV_TRACE_DETAIL_LOW, 1, 99, 98));
  filter.setProcessId("42");
  EXPECT_TRUE(filter.passes(KIV_TRACE_DETAIL_LOW, 1, 42, 98));
  EXPECT_FALSE(filter.passes(KIV_TRACE_DETAIL_LOW, 1, 43, 98));
  filter.setThreadId("7");
  EXPECT_TRUE(filter.passes(KIV_TRACE_DETAIL_LOW, 1, 42, 7));
  EXPECT_FALSE(filter.passes(KIV_TRACE_DETAIL_LOW, 1, 42, 8));
  EXPECT_FALSE(filter.passes(KIV_TRACE_DETAIL_HIGH, 1, 42, 7));
  filter.disableComponentId(1);
  EXPECT_FALSE(filter.passes(KIV_TRACE_DETAIL_LOW, 1, 42, 7));
  EXPECT_TRUE(filter.passes(KIV_TRACE_DETAIL_LOW, 0, 42, 7));
}

}  // namespace
