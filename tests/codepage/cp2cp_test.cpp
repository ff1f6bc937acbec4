// Code page to code page conversion: pairs through ICU and through iconv
// compared with direct ICU and iconv conversions of the same bytes, the
// shortcuts for equal CCSIDs and UCS-2, the intermediate buffer, resuming
// after a full target, and the size rules.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cp_test_support.hpp"
#include "kiv_alloc_support.hpp"
#include "kiv_converter.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::ucs2Bytes;
using kivtest::ucs2Text;

// A text with Latin, Greek, Cyrillic, Japanese and Chinese characters.
const std::u16string kMixedText =
    u"Grüße, café! Ωμέγα Жизнь \u3042\u3044\u30A2\u4E00\u4E8C\u65E5\u672C 0123 ~";

std::string allBytes() {
  std::string bytes;
  for (int b = 0; b < 256; ++b) bytes += static_cast<char>(b);
  return bytes;
}

// Converts by ICU directly: source code page to UCS-2 to target code page.
std::string icuDirect(unsigned int from, unsigned int to, const std::string& bytes) {
  kivtest::UniqueUConverter source = kivtest::openIcuLikeTheLibrary(from);
  kivtest::UniqueUConverter target = kivtest::openIcuLikeTheLibrary(to);
  return kivtest::icuFromUnicode(target.get(), kivtest::icuToUnicode(source.get(), bytes));
}

// Sample text of a code page served by ICU: every byte of a single-byte
// code page, else the mixed text as that code page writes it.
std::string icuSample(unsigned int ccsid) {
  if (KivClCCSID(ccsid).isSBCS()) return allBytes();
  kivtest::UniqueUConverter converter = kivtest::openIcuLikeTheLibrary(ccsid);
  return kivtest::icuFromUnicode(converter.get(), kMixedText);
}

struct Pair {
  unsigned int from;
  unsigned int to;
};

TEST(CodePage2CodePage, PairsThroughIcuMatchIcu) {
  // From 37 and the other code pages with a built-in table the result is
  // ICU's too, except for the EBCDIC new line (cptables_data_test.cpp).
  const Pair pairs[] = {{1047, 37},  {1252, 37},   {943, 1386},  {1386, 943},  {949, 1364},
                        {1392, 1047}, {33722, 1252}, {1208, 943}, {850, 1140},  {874, 1160},
                        {1047, 819}, {65500, 1047}, {1251, 1025}};
  for (const Pair& pair : pairs) {
    SCOPED_TRACE(std::to_string(pair.from) + " to " + std::to_string(pair.to));
    const KivClCodePage2CodePageConverter converter(pair.from, pair.to);
    ASSERT_TRUE(converter.isSupported());
    std::string sample;
    std::string expected;
    if (pair.from == 1208 || pair.from == 65500) {
      const char* name = pair.from == 1208 ? "UTF-8" : "UTF-16BE";
      UErrorCode status = U_ZERO_ERROR;
      kivtest::UniqueUConverter unicode(ucnv_open(name, &status));
      sample = kivtest::icuFromUnicode(unicode.get(), kMixedText);
      kivtest::UniqueUConverter target = kivtest::openIcuLikeTheLibrary(pair.to);
      expected = kivtest::icuFromUnicode(target.get(), kMixedText);
    } else {
      sample = icuSample(pair.from);
      expected = icuDirect(pair.from, pair.to, sample);
    }
    ASSERT_FALSE(expected.empty());
    EXPECT_EQ(kivtest::convertAll(converter, sample), expected);
    EXPECT_KIV_NO_ERROR(converter);
  }
}

TEST(CodePage2CodePage, ToUtf8ThroughIcuMatchesIcu) {
  for (unsigned int ccsid : {943u, 949u, 1047u, 1392u}) {
    SCOPED_TRACE(ccsid);
    const KivClCodePage2UTF8Converter converter(ccsid);
    EXPECT_EQ(converter.getTargetCCSID().getCCSID(), 1208u);
    UErrorCode status = U_ZERO_ERROR;
    kivtest::UniqueUConverter utf8(ucnv_open("UTF-8", &status));
    kivtest::UniqueUConverter source = kivtest::openIcuLikeTheLibrary(ccsid);
    const std::string sample = icuSample(ccsid);
    EXPECT_EQ(kivtest::convertAll(converter, sample),
              kivtest::icuFromUnicode(utf8.get(), kivtest::icuToUnicode(source.get(), sample)));
  }
}

// The bytes 0x20 to 0xFF of `from` that iconv converts to `to` one by one.
std::string iconvSample(const char* from, const char* to) {
  std::string sample;
  for (int b = 0x20; b < 0x100; ++b) {
    const std::string one(1, static_cast<char>(b));
    if (kivtest::iconvConvert(to, from, one)) sample += one;
  }
  return sample;
}

TEST(CodePage2CodePage, PairsThroughIconvMatchIconv) {
  const Pair pairs[] = {{4946, 61699}, {25440, 4946}, {4596, 9047},  {1046, 4946},
                        {4970, 4947},  {61699, 4596}, {9047, 25428}, {4965, 13152},
                        {29537, 4946}, {33205, 1046}, {4947, 61699}, {61696, 4946}};
  for (const Pair& pair : pairs) {
    SCOPED_TRACE(std::to_string(pair.from) + " to " + std::to_string(pair.to));
    const KivClCodePage2CodePageConverter converter(pair.from, pair.to);
    ASSERT_TRUE(converter.isSupported());
    ASSERT_TRUE(converter.requiresExternalICONVRoutine());
    ASSERT_FALSE(converter.requiresExternalICUData());
    const char* from = KivClCCSID(pair.from).getName();
    const char* to = KivClCCSID(pair.to).getName();
    const std::string sample = iconvSample(from, to);
    ASSERT_GT(sample.size(), 60u);
    EXPECT_EQ(kivtest::convertAll(converter, sample), kivtest::iconvConvert(to, from, sample).value());
    EXPECT_KIV_NO_ERROR(converter);
  }
}

TEST(CodePage2CodePage, IconvAndIcuHalvesTogether) {
  // 4946 is code page 850 by iconv; 850 itself is served by ICU.
  const KivClCodePage2CodePageConverter mixed(4946, 1047);
  EXPECT_TRUE(mixed.requiresExternalICONVRoutine());
  EXPECT_TRUE(mixed.requiresExternalICUData());
  const std::string sample = iconvSample("850", "UCS-2");
  kivtest::UniqueUConverter target = kivtest::openIcuLikeTheLibrary(1047);
  const std::u16string text = ucs2Text(kivtest::iconvConvert("UCS-2", "850", sample).value());
  EXPECT_EQ(kivtest::convertAll(mixed, sample), kivtest::icuFromUnicode(target.get(), text));
}

TEST(CodePage2CodePage, EqualCCSIDsCopyAndLeaveTheRecordAlone) {
  const KivClCodePage2CodePageConverter converter(819, 819);
  converter.setError(KIV_CPCONVERTER_BAD_DESCR, KivEnErrorClass::INVALID_DATA);
  const std::string source = "\x80\xFFxyz";
  char target[3];
  const char* cursor = source.data();
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, source.size()), 3u);
  EXPECT_EQ(std::string(target, 3), "\x80\xFFx");
  EXPECT_EQ(cursor, source.data() + 3);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_BAD_DESCR, INVALID_DATA);
  // 13488 and 65501 are the same code page.
  for (auto [from, to] : {Pair{13488, 65501}, Pair{65501, 13488}}) {
    const KivClCodePage2CodePageConverter same(from, to);
    char out[8];
    EXPECT_EQ(same.convertBytes(out, sizeof out, "abcde", 5), 5u);
    EXPECT_EQ(std::string(out, 5), "abcde");
    EXPECT_KIV_NO_ERROR(same);
  }
  // An unsupported code page copies to itself; the record keeps what ICU
  // said when the method was chosen.
  const KivClCodePage2CodePageConverter unsupported(259, 259);
  const _KivStError fromConstruction = unsupported.getLastError();
  EXPECT_NE(fromConstruction.id, KIV_NO_ERROR);
  char out[8];
  EXPECT_EQ(unsupported.convertBytes(out, sizeof out, "abcde", 5), 5u);
  EXPECT_EQ(unsupported.getLastError(), fromConstruction);
}

TEST(CodePage2CodePage, UnicodeSourceOrTargetRunsOneHalfWithoutTheBuffer) {
  kivtest::ScopedUserMemoryManager memory;
  const KivClCodePage2CodePageConverter fromUnicode(1200, 1047);
  const std::string units = ucs2Bytes(u"ABC");
  char target[8];
  EXPECT_EQ(fromUnicode.convertBytes(target, sizeof target, units.data(), units.size()), 3u);
  EXPECT_EQ(std::string(target, 3), "\xC1\xC2\xC3");
  // The half's error record is copied: ICU's full target.
  EXPECT_EQ(fromUnicode.convertBytes(target, 2, units.data(), units.size()), 2u);
  EXPECT_KIV_ERROR(fromUnicode, CPCONVERTER_TOO_BIG, USER_DATA_ERROR);

  const KivClCodePage2CodePageConverter toUnicode(1047, 13488);
  EXPECT_EQ(toUnicode.convertBytes(target, sizeof target, "\xC1\xC2", 2), 4u);
  EXPECT_EQ(ucs2Text(std::string(target, 4)), u"AB");
  EXPECT_EQ(memory.allocations(), 0);
}

TEST(CodePage2CodePage, BufferComesFromTheMemoryManagerAndIsKept) {
  kivtest::ScopedUserMemoryManager memory;
  {
    const KivClCodePage2CodePageConverter converter(1047, 37);
    const std::string small(10, '\xC1');
    EXPECT_EQ(kivtest::convertAll(converter, small).size(), 10u);
    EXPECT_EQ(memory.allocations(), 1);
    EXPECT_EQ(memory.lastSize(), 20u + 32769u);  // bound for 10 bytes, plus slack
    EXPECT_EQ(kivtest::convertAll(converter, small).size(), 10u);
    EXPECT_EQ(memory.allocations(), 1);
    const std::string large(20000, '\xC1');
    EXPECT_EQ(kivtest::convertAll(converter, large), std::string(20000, '\xC1'));
    EXPECT_EQ(memory.allocations(), 2);
    EXPECT_EQ(memory.releases(), 1);
    EXPECT_EQ(memory.lastSize(), 40000u + 32769u);
  }
  EXPECT_EQ(memory.releases(), 2);
}

TEST(CodePage2CodePage, NoBufferMakesTheFirstHalfUnsupported) {
  kivtest::ScopedUserMemoryManager memory;
  const KivClCodePage2CodePageConverter converter(1047, 37);
  ASSERT_TRUE(converter.isSupported());
  memory.failAlways();
  char target[8];
  const char* const source = "\xC1\xC2";
  const char* cursor = source;
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 2), 0u);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_NO_TMP_BUFFER, OUT_OF_MEMORY);
  EXPECT_EQ(cursor, source);
  EXPECT_FALSE(converter.isSupported());
  // With memory again, the buffer is found but the first half stays
  // unsupported.
  memory.neverFail();
  EXPECT_EQ(converter.convertBytes(target, sizeof target, source, 2), 0u);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_UNSUPPORTED, INCONSISTENT_SITUATION);
  EXPECT_EQ(memory.allocations(), 1);
}

TEST(CodePage2CodePage, IncompleteCharacterAtTheEndIsReportedAfterTheRest) {
  const KivClCodePage2CodePageConverter converter(1208, 1047);
  const std::string source = "AB\xE2";
  char target[8];
  const char* cursor = source.data();
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, source.size()), 2u);
  EXPECT_EQ(std::string(target, 2), "\xC1\xC2");
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INCOMPLETE, USER_DATA_ERROR);
  EXPECT_EQ(cursor, source.data() + 2);  // resumable at the incomplete character
}

TEST(CodePage2CodePage, FirstHalfFailureWritesNothing) {
  // Byte 0x9B has no place in code page 864 as iconv knows it.
  const KivClCodePage2CodePageConverter converter(25440, 1047);
  ASSERT_EQ(converter.getMethod(), &kivConvertByUsingIconv);
  char target[16];
  EXPECT_EQ(converter.convertBytes(target, sizeof target, "AB\x9B" "CD", 5), 0u);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INVALID_SEQ, USER_DATA_ERROR);
}

// Converts `source` into targets of `targetSize` bytes, calling again while
// source is left or the target was full; returns everything written.
std::string convertInSmallTargets(const KivClConverterABase& converter, const std::string& source,
                                  unsigned long targetSize, int* calls = nullptr) {
  std::string collected;
  const char* cursor = source.data();
  const char* const end = source.data() + source.size();
  int count = 0;
  std::vector<char> target(targetSize + 8, '#');
  do {
    const unsigned long written = converter.convertBytes(
        target.data(), targetSize, &cursor, static_cast<unsigned long>(end - cursor));
    EXPECT_LE(written, targetSize);
    EXPECT_EQ(std::string(target.data() + targetSize, 8), std::string(8, '#'));  // not overrun
    collected.append(target.data(), written);
    ++count;
  } while ((cursor < end || converter.getLastError().id == KIV_CPCONVERTER_TOO_BIG) &&
           count < 10000);
  if (calls != nullptr) *calls = count;
  return collected;
}

TEST(CodePage2CodePage, FullTargetResumesWithoutLossOrRepeat) {
  const Pair pairs[] = {{37, 1047},   {943, 1386},  {1392, 943},   {4946, 61699},
                        {1047, 819},  {13488, 819}, {1208, 1047},  {1047, 65500},
                        {65500, 13488}, {1200, 13488}, {943, 1200}};
  for (const Pair& pair : pairs) {
    SCOPED_TRACE(std::to_string(pair.from) + " to " + std::to_string(pair.to));
    const KivClCodePage2CodePageConverter converter(pair.from, pair.to);
    std::string sample;
    if (pair.from == 13488) {
      sample = ucs2Bytes(u"Grüße, café! 0123456789");
    } else if (pair.from == 1208) {
      sample = "Gr\xC3\xBC\xC3\x9F" "e, caf\xC3\xA9! 0123456789";
    } else if (pair.from == 65500) {
      sample = std::string("\0G\0r\0\xFC\0\xDF\x30\x42\0z", 12);
    } else if (pair.from == 1200) {
      sample = ucs2Bytes(u"Gr\u00FC\u00DF\u3042z");
    } else if (pair.from == 4946) {
      sample = iconvSample("850", "ISO8859-7");
    } else {
      sample = icuSample(pair.from);
    }
    const std::string expected = kivtest::convertAll(converter, sample);
    ASSERT_FALSE(expected.empty());
    // A UCS-2 target needs room for one unit; odd sizes are full when the
    // next unit does not fit, never a cut unit.
    const bool toUnicode = KivClCCSID(pair.to).isUCS2();
    for (unsigned long size : {1ul, 2ul, 3ul, 5ul, 64ul}) {
      if (toUnicode && size < 2) continue;
      SCOPED_TRACE(size);
      int calls = 0;
      EXPECT_EQ(convertInSmallTargets(converter, sample, size, &calls), expected);
      EXPECT_GE(static_cast<unsigned long>(calls), expected.size() / size);
      EXPECT_KIV_NO_ERROR(converter);
    }
  }
}

TEST(CodePage2CodePage, HeldBackTextComesBeforeNewSource) {
  const KivClCodePage2CodePageConverter converter(37, 1047);
  char target[4];
  const std::string first = "\xC1\xC2\xC3\xC4\xC5\xC6";
  const char* cursor = first.data();
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, first.size()), 4u);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_TOO_BIG, USER_DATA_ERROR);
  EXPECT_EQ(cursor, first.data() + first.size());  // all taken into the buffer
  char wide[16];
  EXPECT_EQ(converter.convertBytes(wide, sizeof wide, "\xF1\xF2", 2), 4u);
  EXPECT_EQ(std::string(wide, 4), "\xC5\xC6\xF1\xF2");
  EXPECT_KIV_NO_ERROR(converter);
}

TEST(CodePage2CodePage, FailureDropsHeldBackText) {
  // 0x82 (e acute in code page 850) has no place in ISO 8859-7.
  const KivClCodePage2CodePageConverter converter(4946, 61699);
  ASSERT_EQ(converter.getMethod(), &kivConvertByUsingIconv);
  const std::string source = "ABCDE\x82" "FG";
  int calls = 0;
  EXPECT_EQ(convertInSmallTargets(converter, source, 2, &calls), "ABCDE");
  EXPECT_EQ(calls, 3);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INVALID_SEQ, USER_DATA_ERROR);
  // Nothing is left over for the next call.
  char target[8];
  EXPECT_EQ(converter.convertBytes(target, sizeof target, "", 0), 0u);
  EXPECT_KIV_NO_ERROR(converter);
  EXPECT_EQ(kivtest::convertAll(converter, source), "ABCDE");
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INVALID_SEQ, USER_DATA_ERROR);
}

TEST(CodePage2CodePage, DeinitDropsHeldBackText) {
  KivClCodePage2CodePageConverter converter(37, 1047);
  char target[2];
  EXPECT_EQ(converter.convertBytes(target, sizeof target, "\xC1\xC2\xC3\xC4", 4), 2u);
  converter.initNewCodePage2Unicode(500);
  EXPECT_EQ(converter.getSourceCCSID().getCCSID(), 500u);
  EXPECT_EQ(converter.getTargetCCSID().getCCSID(), 1047u);
  char wide[8];
  EXPECT_EQ(converter.convertBytes(wide, sizeof wide, "\xF1", 1), 1u);
  EXPECT_EQ(std::string(wide, 1), "\xF1");
}

TEST(CodePage2CodePage, Utf8TargetLosesTheCharacterThatDidNotFit) {
  // The UCS-2 to UTF-8 half consumes the character it has no room for.
  const KivClCodePage2CodePageConverter converter(1047, 1208);
  EXPECT_EQ(convertInSmallTargets(converter, "\xC1\xC2\xC3\xC4\xC5", 2), "ABDE");
}

TEST(CodePage2CodePage, SupportAndBackEndsOfEitherHalf) {
  EXPECT_FALSE(KivClCodePage2CodePageConverter(1047, 259).isSupported());
  EXPECT_FALSE(KivClCodePage2CodePageConverter(259, 1047).isSupported());
  EXPECT_TRUE(KivClCodePage2CodePageConverter(1047, 259).requiresExternalICONVRoutine());
  EXPECT_TRUE(KivClCodePage2CodePageConverter(1047, 259).requiresExternalICUData());
  EXPECT_FALSE(KivClCodePage2CodePageConverter(1208, 819).requiresExternalICUData());
  EXPECT_FALSE(KivClCodePage2CodePageConverter(1208, 819).requiresExternalICONVRoutine());
  EXPECT_TRUE(KivClCodePage2CodePageConverter(4946, 1208).requiresExternalICONVRoutine());
  EXPECT_TRUE(KivClCodePage2CodePageConverter(1208, 4946).requiresExternalICONVRoutine());
  EXPECT_TRUE(KivClCodePage2CodePageConverter(1208, 1047).requiresExternalICUData());
}

TEST(CodePage2CodePage, MaximumSizes) {
  struct Case {
    Pair pair;
    unsigned long forLength7;
    unsigned long forSize7;
  };
  const Case cases[] = {
      {{819, 819}, 14, 7},      // equal: n
      {{1392, 1208}, 35, 14},   // 1392 source: the first half's bound
      {{1200, 850}, 14, 3},     // UCS-2 source: the second half's bound
      {{1047, 1208}, 35, 21},   // min(35, (14 / 2) * 3)
      {{1047, 850}, 14, 7},     // min(14, 14 / 2)
      {{943, 1392}, 28, 14},    // min(28, 14)
      {{943, 943}, 14, 7},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::to_string(c.pair.from) + " to " + std::to_string(c.pair.to));
    const KivClCodePage2CodePageConverter converter(c.pair.from, c.pair.to);
    EXPECT_EQ(converter.getMaximumSizeForLength(7), c.forLength7);
    EXPECT_EQ(converter.getMaximumSizeForSize(7), c.forSize7);
  }
}

}  // namespace
