// The converter framework: construction, what a converter reports about
// itself, the conversion calls and their error record, the size rules,
// deinit and re-initialisation, and the byte-order marks.
#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <string>

#include "cp_test_support.hpp"
#include "kiv_converter.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::ucs2Bytes;
using kivtest::ucs2Text;

// A CCSID of the table that neither the built-in tables, nor ICU, nor
// iconv know (method_choice_test proves that for the installed ones).
constexpr unsigned int kUnknown = 259;
// A code page that ICU serves (EBCDIC, 0xC1 is 'A').
constexpr unsigned int kIcuServed = 1047;
// A code page that only iconv serves: 4946 is named "850".
constexpr unsigned int kIconvServed = 4946;

TEST(Converter, ConstructorsSetTheirPairOfCCSIDs) {
  const KivClCodePage2UnicodeConverter toUnicode(850);
  EXPECT_EQ(toUnicode.getSourceCCSID().getCCSID(), 850u);
  EXPECT_EQ(toUnicode.getTargetCCSID().getCCSID(), 13488u);
  const KivClUnicode2CodePageConverter fromUnicode(850);
  EXPECT_EQ(fromUnicode.getSourceCCSID().getCCSID(), 13488u);
  EXPECT_EQ(fromUnicode.getTargetCCSID().getCCSID(), 850u);
  const KivClCodePage2CodePageConverter between(437, 850);
  EXPECT_EQ(between.getSourceCCSID().getCCSID(), 437u);
  EXPECT_EQ(between.getTargetCCSID().getCCSID(), 850u);
  const KivClCodePage2UTF8Converter toUtf8(850);
  EXPECT_EQ(toUtf8.getSourceCCSID().getCCSID(), 850u);
  EXPECT_EQ(toUtf8.getTargetCCSID().getCCSID(), 1208u);
  EXPECT_KIV_NO_ERROR(toUnicode);
  EXPECT_KIV_NO_ERROR(between);
}

// An invalid CCSID is named "???", which the C library's iconv would read as
// the locale's code set; no converter may take that for the page.
TEST(Converter, InvalidCodePageIsNeverServedByIconv) {
  for (const unsigned int ccsid : {4u, 12345u}) {
    ASSERT_STREQ(KivClCCSID(ccsid).getName(), "???");
    EXPECT_FALSE(KivClCodePage2CodePageConverter(ccsid, 850).isSupported()) << ccsid;
    EXPECT_FALSE(KivClCodePage2CodePageConverter(850, ccsid).isSupported()) << ccsid;
    const KivClCodePage2UnicodeConverter toUnicode(ccsid);
    const KivClUnicode2CodePageConverter fromUnicode(ccsid);
    const KivClCodePage2UTF8Converter toUtf8(ccsid);
    for (const KivClConverterABase* converter :
         {static_cast<const KivClConverterABase*>(&toUnicode),
          static_cast<const KivClConverterABase*>(&fromUnicode),
          static_cast<const KivClConverterABase*>(&toUtf8)}) {
      EXPECT_FALSE(converter->isSupported()) << ccsid;
      EXPECT_EQ(converter->getMethod(), &kivConvertError) << ccsid;
      char target[16];
      const char* const text = "AB";
      const char* source = text;
      EXPECT_EQ(converter->convertBytes(target, sizeof target, &source, 2), 0u) << ccsid;
      EXPECT_EQ(source, text) << ccsid;
      EXPECT_KIV_ERROR(*converter, CPCONVERTER_UNSUPPORTED, INCONSISTENT_SITUATION);
    }
  }
}

TEST(Converter, UnknownCodePageIsUnsupportedAndNeedsIconv) {
  const KivClCodePage2UnicodeConverter toUnicode(kUnknown);
  const KivClUnicode2CodePageConverter fromUnicode(kUnknown);
  for (const KivClConverterABase* converter :
       {static_cast<const KivClConverterABase*>(&toUnicode),
        static_cast<const KivClConverterABase*>(&fromUnicode)}) {
    EXPECT_FALSE(converter->isSupported());
    EXPECT_TRUE(converter->requiresExternalICONVRoutine());
    EXPECT_FALSE(converter->requiresExternalICUData());
    EXPECT_EQ(converter->getMethod(), &kivConvertError);
    EXPECT_EQ(converter->getMethodData(), nullptr);
    for (int attempt = 0; attempt < 2; ++attempt) {
      char target[16];
      const char* const text = "AB";
      const char* source = text;
      EXPECT_EQ(converter->convertBytes(target, sizeof target, &source, 2), 0u);
      EXPECT_EQ(source, text);  // nothing consumed
      EXPECT_KIV_ERROR(*converter, CPCONVERTER_UNSUPPORTED, INCONSISTENT_SITUATION);
    }
  }
}

TEST(Converter, ConvertErrorMethodSetsUnsupported) {
  const KivClCodePage2UnicodeConverter converter(kUnknown);
  char target[4];
  const char* const text = "x";
  const char* source = text;
  KivClConverterABase::_KivStConverter record{&converter, target, sizeof target, &source, 1};
  EXPECT_EQ(kivConvertError(record), 0u);
  EXPECT_EQ(source, text);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_UNSUPPORTED, INCONSISTENT_SITUATION);
}

TEST(Converter, PointerFormAdvancesTheSourceAndValueFormDoesNot) {
  const KivClCodePage2UnicodeConverter converter(kIcuServed);
  ASSERT_TRUE(converter.requiresExternalICUData());
  const std::string source = "\xC1\xC2\xC3";
  char target[16];
  const char* cursor = source.data();
  EXPECT_EQ(converter.convertBytes(target, sizeof target, cursor, 3), 6u);
  EXPECT_EQ(cursor, source.data());
  EXPECT_EQ(ucs2Text(std::string(target, 6)), u"ABC");
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 3), 6u);
  EXPECT_EQ(cursor, source.data() + 3);
}

TEST(Converter, EveryConversionClearsTheErrorFirst) {
  const KivClUnicode2CodePageConverter converter(65501);
  char target[8];
  EXPECT_EQ(converter.convertBytes(target, sizeof target, "AbC", 3), 2u);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INCOMPLETE, USER_DATA_ERROR);
  EXPECT_EQ(converter.convertBytes(target, sizeof target, "AbCd", 4), 4u);
  EXPECT_KIV_NO_ERROR(converter);
}

TEST(Converter, UnicodeTo65501CopiesTheCompleteUnitsOfAnOddCount) {
  const KivClUnicode2CodePageConverter converter(65501);
  EXPECT_EQ(converter.getMethod(), &kivConvertByCopying);
  char target[8] = {};
  const char* source = "AbC";
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &source, 3), 2u);
  EXPECT_EQ(std::string(target, 2), "Ab");
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INCOMPLETE, USER_DATA_ERROR);
}

TEST(Converter, FixedMethodsOfTheUnicodeCCSIDs) {
  EXPECT_EQ(KivClCodePage2UnicodeConverter(65500).getMethod(), &kivConvertByEndianSwap);
  EXPECT_EQ(KivClUnicode2CodePageConverter(65500).getMethod(), &kivConvertByEndianSwap);
  for (unsigned int ccsid : {1200u, 13488u, 17584u, 61955u, 65501u}) {
    SCOPED_TRACE(ccsid);
    EXPECT_EQ(KivClCodePage2UnicodeConverter(ccsid).getMethod(), &kivConvertByCopying);
    EXPECT_EQ(KivClUnicode2CodePageConverter(ccsid).getMethod(), &kivConvertByCopying);
  }
  EXPECT_EQ(KivClCodePage2UnicodeConverter(1208).getMethod(), &kivConvertByAlgorithmUTF8toUCS2);
  EXPECT_EQ(KivClUnicode2CodePageConverter(1208).getMethod(), &kivConvertByAlgorithmUCS2toUTF8);
  EXPECT_EQ(KivClUnicode2CodePageConverter(819).getMethod(), &kivConvertByAlgorithmUCS2to819);
  // 819 to UCS-2 has no algorithm: its built-in table serves it.
  EXPECT_EQ(KivClCodePage2UnicodeConverter(819).getMethod(), &kivConvertByTablesSBCS_ASCIItoUCS2);
}

TEST(Converter, ChoosingLeavesIcusRefusalInTheRecordUntilTheFirstConversion) {
  UErrorCode status = U_ZERO_ERROR;
  ucnv_close(ucnv_openCCSID(static_cast<std::int32_t>(kIconvServed), kivtest::kIcuCCSIDs, &status));
  ASSERT_EQ(status, U_FILE_ACCESS_ERROR);
  for (unsigned int ccsid : {kIconvServed, kUnknown}) {
    SCOPED_TRACE(ccsid);
    const KivClCodePage2UnicodeConverter converter(ccsid);
    EXPECT_KIV_ERROR(converter, ICU_FILE_ACCESS_ERROR, IO_PROBLEM);
  }
  const KivClCodePage2UnicodeConverter converter(kIconvServed);
  char target[4];
  EXPECT_EQ(converter.convertBytes(target, sizeof target, "A", 1), 2u);
  EXPECT_KIV_NO_ERROR(converter);
}

TEST(Converter, IconvServedCodePageConvertsAndNeedsIconv) {
  const KivClCodePage2UnicodeConverter toUnicode(kIconvServed);
  ASSERT_EQ(toUnicode.getMethod(), &kivConvertByUsingIconv);
  EXPECT_TRUE(toUnicode.isSupported());
  EXPECT_TRUE(toUnicode.requiresExternalICONVRoutine());
  EXPECT_FALSE(toUnicode.requiresExternalICUData());
  EXPECT_EQ(ucs2Text(kivtest::convertAll(toUnicode, "A\x82")), u"A\u00E9");
  const KivClUnicode2CodePageConverter fromUnicode(kIconvServed);
  ASSERT_EQ(fromUnicode.getMethod(), &kivConvertByUsingIconv);
  EXPECT_EQ(kivtest::convertAll(fromUnicode, ucs2Bytes(u"A\u00E9")), "A\x82");
}

TEST(Converter, DeinitReleasesTheMethodAndItsData) {
  KivClCodePage2UnicodeConverter icu(kIcuServed);
  ASSERT_NE(icu.getMethodData(), nullptr);
  icu.deinit();
  EXPECT_EQ(icu.getMethodData(), nullptr);
  EXPECT_FALSE(icu.isSupported());
  EXPECT_EQ(icu.getSourceCCSID().getCCSID(), kIcuServed);
  char target[4];
  EXPECT_EQ(icu.convertBytes(target, sizeof target, "\xC1", 1), 0u);
  EXPECT_KIV_ERROR(icu, CPCONVERTER_UNSUPPORTED, INCONSISTENT_SITUATION);

  KivClCodePage2UnicodeConverter iconv(kIconvServed);
  ASSERT_NE(iconv.getIconvDescriptor(), reinterpret_cast<void*>(-1));
  iconv.deinit();
  EXPECT_EQ(iconv.getIconvDescriptor(), reinterpret_cast<void*>(-1));
  EXPECT_FALSE(iconv.isSupported());
  iconv.deinit();  // twice is harmless
  EXPECT_FALSE(iconv.isSupported());
}

TEST(Converter, SetConverterErrorKeepsTheDataUntilDeinit) {
  KivClCodePage2UnicodeConverter converter(kIcuServed);
  const void* data = converter.getMethodData();
  converter.setConverterError();
  EXPECT_FALSE(converter.isSupported());
  EXPECT_TRUE(converter.requiresExternalICONVRoutine());
  EXPECT_EQ(converter.getMethodData(), data);
  char target[4];
  EXPECT_EQ(converter.convertBytes(target, sizeof target, "\xC1", 1), 0u);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_UNSUPPORTED, INCONSISTENT_SITUATION);
  converter.deinit();
  EXPECT_EQ(converter.getMethodData(), nullptr);
}

TEST(Converter, InitNewCodePage2UnicodeChoosesAgain) {
  KivClCodePage2UnicodeConverter converter(1208);
  EXPECT_EQ(ucs2Text(kivtest::convertAll(converter, "\xC3\xA9")), u"\u00E9");
  converter.initNewCodePage2Unicode(kIcuServed);
  EXPECT_EQ(converter.getSourceCCSID().getCCSID(), kIcuServed);
  EXPECT_TRUE(converter.requiresExternalICUData());
  EXPECT_EQ(ucs2Text(kivtest::convertAll(converter, "\xC1")), u"A");
  converter.initNewCodePage2Unicode(kIconvServed);
  EXPECT_EQ(converter.getMethod(), &kivConvertByUsingIconv);
  EXPECT_EQ(converter.getMethodData(), nullptr);
  EXPECT_EQ(ucs2Text(kivtest::convertAll(converter, "\x82")), u"\u00E9");
  converter.initNewCodePage2Unicode(kUnknown);
  EXPECT_FALSE(converter.isSupported());
  EXPECT_EQ(converter.getIconvDescriptor(), reinterpret_cast<void*>(-1));
  converter.initNewCodePage2Unicode(65500);
  EXPECT_EQ(converter.getMethod(), &kivConvertByEndianSwap);
}

TEST(Converter, ByteOrderMarks) {
  EXPECT_EQ(std::string(KivClConverterABase::getUCS2BigEndianId()), "\xFE\xFF");
  EXPECT_EQ(std::string(KivClConverterABase::getUCS2LittleEndianId()), "\xFF\xFE");
  EXPECT_EQ(std::string(KivClConverterABase::getUCS2HostEndianId()), "\xFF\xFE");
  EXPECT_TRUE(KivClConverterABase::isUCS2BigEndianId("\xFE\xFF"));
  EXPECT_TRUE(KivClConverterABase::isUCS2BigEndianId("\xFE\xFFzz"));
  EXPECT_FALSE(KivClConverterABase::isUCS2BigEndianId("\xFF\xFE"));
  EXPECT_FALSE(KivClConverterABase::isUCS2BigEndianId("\xFE"));
  EXPECT_FALSE(KivClConverterABase::isUCS2BigEndianId(""));
  EXPECT_FALSE(KivClConverterABase::isUCS2BigEndianId(nullptr));
  EXPECT_TRUE(KivClConverterABase::isUCS2LittleEndianId("\xFF\xFE"));
  EXPECT_FALSE(KivClConverterABase::isUCS2LittleEndianId("\xFE\xFF"));
  EXPECT_FALSE(KivClConverterABase::isUCS2LittleEndianId("\xFF"));
  EXPECT_FALSE(KivClConverterABase::isUCS2LittleEndianId(nullptr));
}

struct SizeCase {
  unsigned int ccsid;
  unsigned long forLength7;
  unsigned long forSize7;
};

TEST(Converter, MaximumSizesFromCodePageToUnicode) {
  const SizeCase cases[] = {
      {1392, 28, 14},   // GB 18030: 4n per character, 2n per byte
      {5488, 14, 14},   // the rule names 1392 alone
      {850, 14, 14},    {1208, 14, 14}, {943, 14, 14},
      {1200, 14, 7},    {13488, 14, 7}, {65500, 14, 7}, {65501, 14, 7},  // UCS-2: n per byte
      {kUnknown, 14, 14},
  };
  for (const SizeCase& c : cases) {
    SCOPED_TRACE(c.ccsid);
    const KivClCodePage2UnicodeConverter converter(c.ccsid);
    EXPECT_EQ(converter.getMaximumSizeForLength(7), c.forLength7);
    EXPECT_EQ(converter.getMaximumSizeForSize(7), c.forSize7);
  }
}

TEST(Converter, MaximumSizesFromUnicodeToCodePage) {
  const SizeCase cases[] = {
      {1208, 35, 9},     // 5n; (7 / 2) * 3
      {1392, 28, 7},     // 4n; n
      {1200, 14, 7},     {65500, 14, 7}, {65501, 14, 7},  // UCS-2 target: n
      {850, 14, 3},      {37, 14, 3},    {819, 14, 3},   // single-byte: n / 2
      {943, 14, 6},      {930, 14, 6},   // double-byte: n rounded down to even
      {367, 14, 6},      {259, 14, 6},   // neither mark: as double-byte
  };
  for (const SizeCase& c : cases) {
    SCOPED_TRACE(c.ccsid);
    const KivClUnicode2CodePageConverter converter(c.ccsid);
    EXPECT_EQ(converter.getMaximumSizeForLength(7), c.forLength7);
    EXPECT_EQ(converter.getMaximumSizeForSize(7), c.forSize7);
  }
}

}  // namespace
