// The ICU back end: the error map row by row, KivClIcuInterface, the ICU
// converters opened by CCSID, and the two ICU conversion methods.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "cp_test_support.hpp"
#include "kiv_converter.hpp"
#include "kiv_exception.hpp"
#include "kiv_icu.hpp"
#include "kiv_test_support.hpp"

namespace {

using C = KivEnErrorClass;
using S = KivEnErrorSeverity;
using A = KivEnErrorAction;
using kivtest::ucs2Bytes;
using kivtest::ucs2Text;

struct Row {
  std::int32_t code;
  long id;
  std::int32_t errorClass;
  std::int32_t severity;
  std::int32_t action;
};

// The map as the library documents it, typed once here.
const Row kMap[] = {
    {0, 0, 0, 0, 0},
    {1, 1001102, 100, 1, 7},
    {2, 1001103, 0, 1, 5},
    {3, 1001104, 0, 1, 5},
    {4, 1001105, 500, 1, 5},
    {5, 1001106, 0, 8, 7},
    {6, 1001107, 101, 1, 5},
    {7, 1001108, 200, 1, 6},
    {8, 1001109, 101, 1, 5},
    {9, 1001110, 101, 1, 5},
    {10, 1000902, 202, 1, 5},
    {11, 1000904, 202, 1, 5},
    {12, 1000902, 202, 1, 5},
    {13, 1001111, 101, 1, 5},
    {14, 1001112, 500, 1, 5},
    {15, 1000903, 101, 1, 5},
    {16, 1001113, 1, 1, 5},
    {17, 1001114, 101, 1, 5},
    {18, 1001115, 202, 1, 5},
    {19, 1001116, 202, 1, 5},
    {20, 1001117, 201, 1, 5},
    {66568, 1001118, 0, 0, 0},
};

TEST(IcuErrorMap, EveryRow) {
  for (const Row& row : kMap) {
    SCOPED_TRACE(row.code);
    const auto code = static_cast<UErrorCode>(row.code);
    const _KivStIcuRc2KivIdMapEntry& entry = KivClIcuInterface::getKivEntryForIcuError(code);
    EXPECT_EQ(entry.icuCode, row.code);
    EXPECT_EQ(entry.id, row.id);
    EXPECT_EQ(static_cast<std::int32_t>(entry.errorClass), row.errorClass);
    EXPECT_EQ(static_cast<std::int32_t>(entry.severity), row.severity);
    EXPECT_EQ(static_cast<std::int32_t>(entry.action), row.action);
    EXPECT_EQ(KivClIcuInterface::getKivErrorIdForIcuError(code), row.id);
    EXPECT_EQ(static_cast<std::int32_t>(KivClIcuInterface::getKivErrorClassForIcuError(code)),
              row.errorClass);
    EXPECT_EQ(static_cast<std::int32_t>(KivClIcuInterface::getKivErrorSeverityForIcuError(code)),
              row.severity);
    EXPECT_EQ(static_cast<std::int32_t>(KivClIcuInterface::getKivErrorActionForIcuError(code)),
              row.action);

    _KivStError error{12345, C::LOGIC};
    KivClIcuInterface::mapIcuError(error, code);
    EXPECT_EQ(error.id, row.id);
    EXPECT_EQ(static_cast<std::int32_t>(error.errorClass), row.errorClass);
    _KivStUserError userError{12345, C::LOGIC, S::PANIC, A::PANIC};
    KivClIcuInterface::mapIcuError(userError, code);
    EXPECT_EQ(userError.id, row.id);
    EXPECT_EQ(static_cast<std::int32_t>(userError.errorClass), row.errorClass);
    EXPECT_EQ(static_cast<std::int32_t>(userError.severity), row.severity);
    EXPECT_EQ(static_cast<std::int32_t>(userError.action), row.action);
  }
}

TEST(IcuErrorMap, TheCodesAreIcusOwn) {
  EXPECT_EQ(U_ILLEGAL_ARGUMENT_ERROR, 1);
  EXPECT_EQ(U_INVALID_CHAR_FOUND, 10);
  EXPECT_EQ(U_BUFFER_OVERFLOW_ERROR, 15);
  EXPECT_EQ(U_NO_SPACE_AVAILABLE, 20);
}

void expectUnexpected(UErrorCode code) {
  SCOPED_TRACE(static_cast<int>(code));
  try {
    KivClIcuInterface::getKivEntryForIcuError(code);
    ADD_FAILURE() << "no exception";
  } catch (const KivClException& e) {
    EXPECT_EQ(e.getError().id, KIV_ICU_UNEXPECTED_ICU_ERROR);
    EXPECT_STREQ(e.getCause(), "Unexpected ICU error");
    ASSERT_NE(e.getModule(), nullptr);
    EXPECT_NE(std::string(e.getModule()).find("kiv_icu.cpp:"), std::string::npos);
    EXPECT_NE(e.getLine(), 0u);
  }
}

TEST(IcuErrorMap, CodesOutsideTheMapThrowUnexpected) {
  expectUnexpected(static_cast<UErrorCode>(21));
  expectUnexpected(U_INVALID_STATE_ERROR);
  expectUnexpected(static_cast<UErrorCode>(66567));
  expectUnexpected(static_cast<UErrorCode>(66569));
  // Warnings are negative and not in the map either.
  expectUnexpected(U_AMBIGUOUS_ALIAS_WARNING);
  expectUnexpected(U_USING_FALLBACK_WARNING);
  _KivStError error{};
  EXPECT_THROW(KivClIcuInterface::mapIcuError(error, U_INVALID_STATE_ERROR), KivClException);
  EXPECT_THROW(KivClIcuInterface::getKivErrorIdForIcuError(static_cast<UErrorCode>(-1)),
               KivClException);
}

TEST(IcuErrorMap, HandleIcuErrorCodeThrowsTheMappedRecord) {
  EXPECT_NO_THROW(KivClIcuInterface::handleIcuErrorCode(U_ZERO_ERROR));
  EXPECT_NO_THROW(KivClIcuInterface::handleIcuErrorCode(U_AMBIGUOUS_ALIAS_WARNING));
  EXPECT_NO_THROW(KivClIcuInterface::handleIcuErrorCode(static_cast<UErrorCode>(-12345)));
  try {
    KivClIcuInterface::handleIcuErrorCode(U_BUFFER_OVERFLOW_ERROR);
    ADD_FAILURE() << "no exception";
  } catch (const KivClException& e) {
    const _KivStUserError expected{KIV_CPCONVERTER_TOO_BIG, C::USER_DATA_ERROR, S::INFO,
                                   A::USER};
    EXPECT_EQ(e.getError(), expected);
    EXPECT_STREQ(e.getCause(), "");
    EXPECT_NE(e.getModule(), nullptr);
  }
  try {
    KivClIcuInterface::handleIcuErrorCode(U_MEMORY_ALLOCATION_ERROR);
    ADD_FAILURE() << "no exception";
  } catch (const KivClException& e) {
    const _KivStUserError expected{KIV_ICU_MEMORY_ALLOCATION_ERROR, C::OUT_OF_MEMORY, S::INFO,
                                   A::TERMINATE};
    EXPECT_EQ(e.getError(), expected);
  }
  try {
    KivClIcuInterface::handleIcuErrorCode(static_cast<UErrorCode>(21));
    ADD_FAILURE() << "no exception";
  } catch (const KivClException& e) {
    EXPECT_EQ(e.getError().id, KIV_ICU_UNEXPECTED_ICU_ERROR);
  }
}

struct ConverterDeleter {
  void operator()(UConverter* converter) const { kivDeleteICUConverter(converter); }
};
using LibraryConverter = std::unique_ptr<UConverter, ConverterDeleter>;

LibraryConverter open(unsigned int ccsid, _KivStError& error) {
  return LibraryConverter(kivGetICUConverter(ccsid, error));
}

TEST(IcuConverters, VsubVpuaNamesAreFoundByTheirEnding) {
  const char* name942 = KivClIcuInterface::getVsubVpuaConverterName(false);
  const char* name943 = KivClIcuInterface::getVsubVpuaConverterName(true);
  const char* expected942 = kivtest::icuNameEndingIn("942_VSUB_VPUA");
  const char* expected943 = kivtest::icuNameEndingIn("943_VSUB_VPUA");
  ASSERT_NE(expected942, nullptr) << "the installed ICU has no 942_VSUB_VPUA converter";
  ASSERT_NE(expected943, nullptr) << "the installed ICU has no 943_VSUB_VPUA converter";
  EXPECT_STREQ(name942, expected942);
  EXPECT_STREQ(name943, expected943);
  const std::string text942(name942);
  EXPECT_EQ(text942.substr(text942.size() - 13), "942_VSUB_VPUA");
  // Asked again: the same text (kept, not searched again).
  EXPECT_EQ(KivClIcuInterface::getVsubVpuaConverterName(false), name942);
}

TEST(IcuConverters, SpecialCCSIDsOpenTheirNamedConverters) {
  _KivStError error{};
  const LibraryConverter c932 = open(932, error);
  const LibraryConverter c942 = open(942, error);
  const LibraryConverter c943 = open(943, error);
  const LibraryConverter c1392 = open(1392, error);
  const LibraryConverter c65502 = open(65502, error);
  ASSERT_TRUE(c932 && c942 && c943 && c1392 && c65502);
  EXPECT_EQ(error, _KivStError{});
  UErrorCode status = U_ZERO_ERROR;
  const kivtest::UniqueUConverter vpua942(
      ucnv_open(kivtest::icuNameEndingIn("942_VSUB_VPUA"), &status));
  const kivtest::UniqueUConverter vpua943(
      ucnv_open(kivtest::icuNameEndingIn("943_VSUB_VPUA"), &status));
  const kivtest::UniqueUConverter gb18030(ucnv_open("gb18030", &status));
  const kivtest::UniqueUConverter lmbcs(ucnv_open("LMBCS", &status));
  ASSERT_TRUE(U_SUCCESS(status));
  EXPECT_EQ(kivtest::icuName(c932.get()), kivtest::icuName(vpua942.get()));
  EXPECT_EQ(kivtest::icuName(c942.get()), kivtest::icuName(vpua942.get()));
  EXPECT_EQ(kivtest::icuName(c943.get()), kivtest::icuName(vpua943.get()));
  EXPECT_EQ(kivtest::icuName(c1392.get()), kivtest::icuName(gb18030.get()));
  EXPECT_EQ(kivtest::icuName(c65502.get()), kivtest::icuName(lmbcs.get()));
  // 943 is not opened by its plain CCSID, which ICU resolves elsewhere.
  const kivtest::UniqueUConverter byCCSID(ucnv_openCCSID(943, kivtest::kIcuCCSIDs, &status));
  EXPECT_NE(kivtest::icuName(c943.get()), kivtest::icuName(byCCSID.get()));
}

TEST(IcuConverters, OtherCCSIDsOpenByIcusCCSID) {
  for (unsigned int ccsid : {37u, 819u, 1047u, 1252u, 33722u, 1386u}) {
    SCOPED_TRACE(ccsid);
    _KivStError error{};
    const LibraryConverter converter = open(ccsid, error);
    ASSERT_NE(converter, nullptr);
    UErrorCode status = U_ZERO_ERROR;
    const kivtest::UniqueUConverter direct(
        ucnv_openCCSID(static_cast<std::int32_t>(ccsid), kivtest::kIcuCCSIDs, &status));
    EXPECT_EQ(kivtest::icuName(converter.get()), kivtest::icuName(direct.get()));
    EXPECT_EQ(ucnv_getCCSID(converter.get(), &status), static_cast<std::int32_t>(ccsid));
  }
}

TEST(IcuConverters, FallbackMappingsAreOn) {
  _KivStError error{};
  const LibraryConverter converter = open(1047, error);
  ASSERT_NE(converter, nullptr);
  EXPECT_TRUE(ucnv_usesFallback(converter.get()));
}

TEST(IcuConverters, EveryCallHandsOutItsOwnConverter) {
  _KivStError error{};
  const LibraryConverter first = open(1047, error);
  const LibraryConverter second = open(1047, error);
  ASSERT_TRUE(first && second);
  EXPECT_NE(first.get(), second.get());
  EXPECT_EQ(kivtest::icuName(first.get()), kivtest::icuName(second.get()));
  EXPECT_TRUE(ucnv_usesFallback(second.get()));
  // What one converter keeps back after a full target stays its own.
  const std::u16string text = u"ABC";
  char target[8];
  char* out = target;
  const UChar* in = text.data();
  UErrorCode status = U_ZERO_ERROR;
  ucnv_fromUnicode(first.get(), &out, target + 1, &in, text.data() + 3, nullptr, true, &status);
  EXPECT_EQ(status, U_BUFFER_OVERFLOW_ERROR);
  EXPECT_EQ(kivtest::icuFromUnicode(second.get(), u"Z"), "\xE9");
}

TEST(IcuConverters, ConvertersForManyThreadsAtOnce) {
  const unsigned int ccsids[] = {37, 273, 277, 278, 280, 284, 285, 297, 871, 1140, 1141, 1142};
  std::vector<std::thread> threads;
  std::vector<int> failures(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < 50; ++round) {
        for (unsigned int ccsid : ccsids) {
          const KivClCodePage2UnicodeConverter converter(ccsid);
          if (ucs2Text(kivtest::convertAll(converter, "\xC1\xF1")) != u"A1") ++failures[t];
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(4, 0));
}

TEST(IcuConverters, FailureIsMappedIntoTheRecord) {
  for (unsigned int ccsid : {259u, 99999u}) {
    SCOPED_TRACE(ccsid);
    UErrorCode status = U_ZERO_ERROR;
    ucnv_close(ucnv_openCCSID(static_cast<std::int32_t>(ccsid), kivtest::kIcuCCSIDs, &status));
    ASSERT_TRUE(U_FAILURE(status));
    _KivStError error{};
    EXPECT_EQ(kivGetICUConverter(ccsid, error), nullptr);
    EXPECT_EQ(error.id, KivClIcuInterface::getKivErrorIdForIcuError(status));
    EXPECT_EQ(error.errorClass, KivClIcuInterface::getKivErrorClassForIcuError(status));
    EXPECT_NE(error.id, 0);
  }
  kivDeleteICUConverter(nullptr);  // ignored
}

TEST(IcuMethods, ToUnicodeMatchesIcuAndAdvancesTheSource) {
  const KivClCodePage2UnicodeConverter converter(943);
  ASSERT_EQ(converter.getMethod(), &kivConvertByAlgorithmIcuToUnicode);
  const kivtest::UniqueUConverter direct = kivtest::openIcuLikeTheLibrary(943);
  const std::string source = "A\x82\xA0\x88\x9F" "z";
  char target[64];
  const char* cursor = source.data();
  const unsigned long written = converter.convertBytes(target, sizeof target, &cursor, source.size());
  EXPECT_EQ(cursor, source.data() + source.size());
  EXPECT_EQ(ucs2Text(std::string(target, written)), kivtest::icuToUnicode(direct.get(), source));
  EXPECT_EQ(written, 8u);
  EXPECT_KIV_NO_ERROR(converter);
}

TEST(IcuMethods, FromUnicodeMatchesIcu) {
  const KivClUnicode2CodePageConverter converter(943);
  ASSERT_EQ(converter.getMethod(), &kivConvertByAlgorithmIcuFromUnicode);
  const kivtest::UniqueUConverter direct = kivtest::openIcuLikeTheLibrary(943);
  const std::u16string text = u"A\u3042\u4E9Cz\uFF71";
  const std::string source = ucs2Bytes(text);
  char target[64];
  const char* cursor = source.data();
  const unsigned long written = converter.convertBytes(target, sizeof target, &cursor, source.size());
  EXPECT_EQ(cursor, source.data() + source.size());
  EXPECT_EQ(std::string(target, written), kivtest::icuFromUnicode(direct.get(), text));
  EXPECT_KIV_NO_ERROR(converter);
}

TEST(IcuMethods, BufferOverflowIsTooBigWithUserDataClass) {
  const KivClCodePage2UnicodeConverter converter(1047);
  char target[4];
  const char* cursor = "\xC1\xC2\xC3";
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 3), 4u);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_TOO_BIG, USER_DATA_ERROR);
  EXPECT_EQ(ucs2Text(std::string(target, 4)), u"AB");

  const KivClUnicode2CodePageConverter back(1047);
  const std::string units = ucs2Bytes(u"ABC");
  EXPECT_EQ(back.convertBytes(target, 2, units.data(), units.size()), 2u);
  EXPECT_KIV_ERROR(back, CPCONVERTER_TOO_BIG, USER_DATA_ERROR);
}

TEST(IcuMethods, TruncatedInputIsFlushedLikeIcuDoes) {
  // Every call flushes: ICU substitutes a character cut off at the end, and
  // the next conversion starts afresh without the lead byte.
  const KivClCodePage2UnicodeConverter converter(943);
  const kivtest::UniqueUConverter direct = kivtest::openIcuLikeTheLibrary(943);
  const std::string truncated = "A\x82";
  EXPECT_EQ(ucs2Text(kivtest::convertAll(converter, truncated)),
            kivtest::icuToUnicode(direct.get(), truncated));
  EXPECT_KIV_NO_ERROR(converter);
  EXPECT_EQ(ucs2Text(kivtest::convertAll(converter, "B")), u"B");
}

TEST(IcuMethods, OddUnicodeSizeConvertsTheCompleteUnits) {
  const KivClUnicode2CodePageConverter converter(1047);
  const std::string source = ucs2Bytes(u"AB") + "x";
  char target[8];
  const char* cursor = source.data();
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, source.size()), 2u);
  EXPECT_EQ(std::string(target, 2), "\xC1\xC2");
  EXPECT_EQ(cursor, source.data() + 4);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INCOMPLETE, USER_DATA_ERROR);
  // A full target is the more urgent news.
  cursor = source.data();
  EXPECT_EQ(converter.convertBytes(target, 1, &cursor, source.size()), 1u);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_TOO_BIG, USER_DATA_ERROR);
}

}  // namespace
