// The method a converter chooses, for every CCSID of the table and a few
// outside it, in both directions. The expected method is worked out here
// from the stated order of preference and from what the installed ICU and
// glibc iconv actually open; nothing is taken from the library.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../../codepage/kiv_ccsid_table.hpp"
#include "../../codepage/kiv_cptables.hpp"
#include "cp_test_support.hpp"
#include "kiv_converter.hpp"

namespace {

using Method = KivClConverterABase::KivPfuConvert;

struct Expected {
  Method method;
  std::string icuConverter;  // ICU's name of the converter, for the ICU methods
};

std::vector<unsigned int> ccsidsToCheck() {
  std::vector<unsigned int> ccsids;
  for (std::size_t i = 1; i < kiv::detail::kCCSIDTableSize; ++i) {
    ccsids.push_back(kiv::detail::gs_castCSIDDatabase[i].ulCCSID);
  }
  // Outside the table: none, unknown numbers, and the one number that ICU
  // opens by name although the table lacks it.
  for (unsigned int extra : {0u, 1234u, 65502u, 65535u, 99999u}) ccsids.push_back(extra);
  return ccsids;
}

bool isHostUCS2(unsigned int ccsid) {
  return ccsid == 1200 || ccsid == 13488 || ccsid == 17584 || ccsid == 61955;
}

// ICU first, then iconv, for the CCSID that serves the code page side.
Expected expectExternal(unsigned int served, bool toUnicode) {
  if (kivtest::UniqueUConverter icu = kivtest::openIcuLikeTheLibrary(served)) {
    return {toUnicode ? &kivConvertByAlgorithmIcuToUnicode : &kivConvertByAlgorithmIcuFromUnicode,
            kivtest::icuName(icu.get())};
  }
  // An invalid CCSID's name, "???", is never given to iconv: the C library
  // would open the locale's code set for it.
  const KivClCCSID page(served);
  const char* name = page.getName();
  const bool iconv = page.isValid() && (toUnicode ? kivtest::iconvOpens("UCS-2", name)
                                                  : kivtest::iconvOpens(name, "UCS-2"));
  return {iconv ? &kivConvertByUsingIconv : &kivConvertError, ""};
}

Expected expectToUnicode(unsigned int ccsid) {
  if (ccsid == 65500) return {&kivConvertByEndianSwap, ""};
  if (isHostUCS2(ccsid) || ccsid == 65501) return {&kivConvertByCopying, ""};
  if (ccsid == 1208) return {&kivConvertByAlgorithmUTF8toUCS2, ""};
  unsigned int served = ccsid;
  switch (ccsid) {
    case 5026: served = 930; break;
    case 5035: served = 939; break;
    case 938: served = 948; break;
    case 936: served = 1386; break;
    case 5488: case 18030: served = 1392; break;
    case 954: served = 33722; break;
    default: break;
  }
  if (kivGetSBCStoUCS2Table(served) != nullptr) {
    return {KivClCCSID(ccsid).isEBCDIC() ? &kivConvertByTablesSBCS_EBCDICtoUCS2
                                          : &kivConvertByTablesSBCS_ASCIItoUCS2, ""};
  }
  bool ebcdic = false;
  if (kivGetDBCStoUCS2Table(served, ebcdic) != nullptr) {
    return {ebcdic ? &kivConvertByTablesDBCS_EBCDICtoUCS2 : &kivConvertByTablesDBCS_ASCIItoUCS2,
            ""};
  }
  return expectExternal(served, true);
}

Expected expectFromUnicode(unsigned int ccsid) {
  if (ccsid == 819) return {&kivConvertByAlgorithmUCS2to819, ""};
  if ((ccsid == 500 || ccsid == 850) && kivGetUCS2toSBCSTable(ccsid) != nullptr) {
    return {&kivConvertByTablesUCS2toSBCS, ""};
  }
  if (isHostUCS2(ccsid)) return {&kivConvertByCopying, ""};
  if (ccsid == 1208) return {&kivConvertByAlgorithmUCS2toUTF8, ""};
  if (ccsid == 65500) return {&kivConvertByEndianSwap, ""};
  if (ccsid == 65501) return {&kivConvertByCopying, ""};
  return expectExternal(ccsid == 5488 || ccsid == 18030 ? 1392 : ccsid, false);
}

bool isIcu(Method method) {
  return method == &kivConvertByAlgorithmIcuToUnicode ||
         method == &kivConvertByAlgorithmIcuFromUnicode;
}

void checkConverter(const KivClConverterABase& converter, const Expected& expected) {
  EXPECT_EQ(converter.getMethod(), expected.method);
  EXPECT_EQ(converter.isSupported(), expected.method != &kivConvertError);
  EXPECT_EQ(converter.requiresExternalICUData(), isIcu(expected.method));
  EXPECT_EQ(converter.requiresExternalICONVRoutine(),
            expected.method == &kivConvertByUsingIconv || expected.method == &kivConvertError);
  if (isIcu(expected.method)) {
    EXPECT_EQ(kivtest::icuName(converter.getMethodData()), expected.icuConverter);
  }
  const bool iconv = expected.method == &kivConvertByUsingIconv;
  EXPECT_EQ(converter.getIconvDescriptor() != reinterpret_cast<void*>(-1), iconv);
}

TEST(MethodChoice, CodePageToUnicodeForEveryCCSID) {
  for (unsigned int ccsid : ccsidsToCheck()) {
    SCOPED_TRACE(ccsid);
    const KivClCodePage2UnicodeConverter converter(ccsid);
    checkConverter(converter, expectToUnicode(ccsid));
  }
}

TEST(MethodChoice, UnicodeToCodePageForEveryCCSID) {
  for (unsigned int ccsid : ccsidsToCheck()) {
    SCOPED_TRACE(ccsid);
    const KivClUnicode2CodePageConverter converter(ccsid);
    checkConverter(converter, expectFromUnicode(ccsid));
  }
}

// The installed ICU and iconv must leave every kind of outcome to check:
// otherwise the two tests above would prove less than they claim.
TEST(MethodChoice, TheInstalledBackEndsGiveEveryKindOfOutcome) {
  int icu = 0, iconv = 0, unsupported = 0;
  for (unsigned int ccsid : ccsidsToCheck()) {
    const Method method = expectToUnicode(ccsid).method;
    icu += isIcu(method);
    iconv += method == &kivConvertByUsingIconv;
    unsupported += method == &kivConvertError;
  }
  EXPECT_GT(icu, 100);
  EXPECT_GT(iconv, 10);
  EXPECT_GT(unsupported, 10);
}

TEST(MethodChoice, BuiltInTablesComeBeforeIcuAndIconv) {
  // Each of these code pages is also known to ICU, so only the order of the
  // rules decides.
  struct Case {
    unsigned int ccsid;
    Method toUnicode;
  };
  for (const Case& c : {Case{37, &kivConvertByTablesSBCS_EBCDICtoUCS2},
                        Case{500, &kivConvertByTablesSBCS_EBCDICtoUCS2},
                        Case{13121, &kivConvertByTablesSBCS_EBCDICtoUCS2},
                        Case{437, &kivConvertByTablesSBCS_ASCIItoUCS2},
                        Case{1252, &kivConvertByTablesSBCS_ASCIItoUCS2},
                        Case{819, &kivConvertByTablesSBCS_ASCIItoUCS2},
                        Case{930, &kivConvertByTablesDBCS_EBCDICtoUCS2},
                        Case{4933, &kivConvertByTablesDBCS_EBCDICtoUCS2},
                        Case{301, &kivConvertByTablesDBCS_ASCIItoUCS2},
                        Case{941, &kivConvertByTablesDBCS_ASCIItoUCS2}}) {
    SCOPED_TRACE(c.ccsid);
    const KivClCodePage2UnicodeConverter converter(c.ccsid);
    EXPECT_EQ(converter.getMethod(), c.toUnicode);
    EXPECT_FALSE(converter.requiresExternalICUData());
    EXPECT_FALSE(converter.requiresExternalICONVRoutine());
    bool ebcdic = false;
    const void* table = kivGetSBCStoUCS2Table(c.ccsid);
    if (table == nullptr) table = kivGetDBCStoUCS2Table(c.ccsid, ebcdic);
    EXPECT_EQ(converter.getMethodData(), table);
  }
  // From UCS-2 only 500 and 850 have tables; 37 and 1252 go to ICU.
  for (unsigned int ccsid : {500u, 850u}) {
    const KivClUnicode2CodePageConverter converter(ccsid);
    EXPECT_EQ(converter.getMethod(), &kivConvertByTablesUCS2toSBCS);
    EXPECT_EQ(converter.getMethodData(), kivGetUCS2toSBCSTable(ccsid));
  }
  for (unsigned int ccsid : {37u, 1252u, 930u}) {
    EXPECT_EQ(KivClUnicode2CodePageConverter(ccsid).getMethod(),
              &kivConvertByAlgorithmIcuFromUnicode);
  }
}

TEST(MethodChoice, ReplacedCCSIDsReachTheBackEndAsTheirReplacement) {
  // 954 is opened by ICU as 33722, 936 as 1386, 5488 and 18030 as GB 18030.
  for (auto [ccsid, served] : {std::pair{954u, 33722u}, std::pair{936u, 1386u},
                               std::pair{5488u, 1392u}, std::pair{18030u, 1392u}}) {
    SCOPED_TRACE(ccsid);
    const KivClCodePage2UnicodeConverter converter(ccsid);
    kivtest::UniqueUConverter icu = kivtest::openIcuLikeTheLibrary(served);
    ASSERT_NE(icu, nullptr);
    ASSERT_TRUE(converter.requiresExternalICUData());
    EXPECT_EQ(kivtest::icuName(converter.getMethodData()), kivtest::icuName(icu.get()));
  }
  // 5026, 5035 and 938 are served by the built-in tables of 930, 939 and 948.
  for (auto [ccsid, served] :
       {std::pair{5026u, 930u}, std::pair{5035u, 939u}, std::pair{938u, 948u}}) {
    SCOPED_TRACE(ccsid);
    const KivClCodePage2UnicodeConverter converter(ccsid);
    bool ebcdic = false;
    const _KivStDBCSConversionTableEntry* table = kivGetDBCStoUCS2Table(served, ebcdic);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(converter.getMethodData(), table);
    EXPECT_EQ(converter.getMethod(), ebcdic ? &kivConvertByTablesDBCS_EBCDICtoUCS2
                                            : &kivConvertByTablesDBCS_ASCIItoUCS2);
  }
  // From UCS-2 only the GB 18030 numbers are replaced.
  const KivClUnicode2CodePageConverter to5488(5488);
  EXPECT_EQ(kivtest::icuName(to5488.getMethodData()), "gb18030");
}

}  // namespace
