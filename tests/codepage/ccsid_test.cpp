// KivClCCSID: the table row by row, lookups by number and by text, the
// queries, equality, byte-order marks and the cached system CCSID.
#include <gtest/gtest.h>
#include <unicode/ucnv.h>

#include <cctype>
#include <cstdint>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "kiv_ccsid.hpp"
#include "kiv_ccsid_table.hpp"
#include "kiv_converter.hpp"

namespace {

using kiv::detail::gs_castCSIDDatabase;
using kiv::detail::kCCSIDTableSize;

constexpr std::uint32_t kASCII = 1;
constexpr std::uint32_t kEBCDIC = 2;
constexpr std::uint32_t kDBCS = 4;
constexpr std::uint32_t kSBCS = 8;
constexpr std::uint32_t kUCS2 = 64;

struct ListedRow {
  std::uint32_t ccsid;
  std::string name;
  std::uint32_t properties;
};

struct Group {
  std::string header;
  std::uint32_t properties = 0;
  std::vector<ListedRow> rows;
};

std::uint32_t propertiesOfHeader(const std::string& header) {
  std::istringstream words(header);
  std::uint32_t bits = 0;
  for (std::string word; words >> word;) {
    if (word == "ASCII")
      bits |= kASCII;
    else if (word == "EBCDIC")
      bits |= kEBCDIC;
    else if (word == "DBCS")
      bits |= kDBCS;
    else if (word == "SBCS")
      bits |= kSBCS;
    else if (word == "UCS2")
      bits |= kUCS2;
    else if (word != "none")
      ADD_FAILURE() << "unknown property word " << word;
  }
  return bits;
}

/// The grouped list of CCSIDs from which the table source is generated,
/// read from the generator itself: the one place where the rows are typed.
std::vector<Group> readGroupedList() {
  std::ifstream in(KIV_CCSID_GENERATOR);
  EXPECT_TRUE(in.good()) << "cannot read " << KIV_CCSID_GENERATOR;
  std::vector<Group> groups;
  bool inside = false;
  const std::regex header(R"(^\[([A-Za-z0-9 ]+)\] (\d+)$)");
  const std::regex row(R"re((\d+)(?: \("([^"]+)"\))?)re");
  for (std::string line; std::getline(in, line);) {
    if (line == "# BEGIN GROUPED_ROWS") inside = true;
    if (line == "# END GROUPED_ROWS") break;
    if (!inside || line.rfind("GROUPED_ROWS", 0) == 0 || line == "\"\"\"") continue;
    std::smatch match;
    if (std::regex_match(line, match, header)) {
      groups.push_back({match[1], propertiesOfHeader(match[1]), {}});
      continue;
    }
    for (auto it = std::sregex_iterator(line.begin(), line.end(), row);
         it != std::sregex_iterator(); ++it) {
      EXPECT_FALSE(groups.empty());
      if (groups.empty()) break;
      const auto ccsid = static_cast<std::uint32_t>(std::stoul((*it)[1]));
      const std::string name = (*it)[2].matched ? std::string((*it)[2]) : std::to_string(ccsid);
      groups.back().rows.push_back({ccsid, name, groups.back().properties});
    }
  }
  return groups;
}

std::uint32_t propertiesOf(const KivClCCSID& c) {
  return (c.isASCII() ? kASCII : 0) | (c.isEBCDIC() ? kEBCDIC : 0) | (c.isDBCS() ? kDBCS : 0) |
         (c.isSBCS() ? kSBCS : 0) | (c.isUCS2() ? kUCS2 : 0);
}

/// The CCSID that ICU itself gives the code page `name`, or -2 when it
/// cannot open it.
int icuCCSIDOf(const char* name) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(name, &status);
  if (U_FAILURE(status)) return -2;
  const int ccsid = ucnv_getCCSID(converter, &status);
  ucnv_close(converter);
  return ccsid;
}

TEST(CCSIDTable, GroupsHaveTheirSizesAndProperties) {
  const std::vector<Group> groups = readGroupedList();
  const std::vector<std::pair<std::uint32_t, std::size_t>> expected = {{kASCII | kSBCS, 84},
                                                                       {kEBCDIC | kSBCS, 40},
                                                                       {kASCII, 170},
                                                                       {kEBCDIC, 80},
                                                                       {kASCII | kDBCS, 29},
                                                                       {kEBCDIC | kDBCS, 15},
                                                                       {kUCS2, 6},
                                                                       {kSBCS, 3},
                                                                       {0, 2}};
  ASSERT_EQ(groups.size(), expected.size());
  std::size_t total = 0;
  for (std::size_t i = 0; i < groups.size(); ++i) {
    EXPECT_EQ(groups[i].properties, expected[i].first) << groups[i].header;
    EXPECT_EQ(groups[i].rows.size(), expected[i].second) << groups[i].header;
    total += groups[i].rows.size();
  }
  EXPECT_EQ(total, 429u);
  EXPECT_EQ(kCCSIDTableSize, 430u);
}

TEST(CCSIDTable, EveryListedRowIsInTheTableWithItsNameAndProperties) {
  std::map<std::uint32_t, ListedRow> listed;
  for (const Group& group : readGroupedList()) {
    for (const ListedRow& row : group.rows) {
      EXPECT_TRUE(listed.emplace(row.ccsid, row).second) << "listed twice: " << row.ccsid;
    }
  }
  ASSERT_EQ(listed.size(), 429u);

  // Every compiled row after the sentinel is a listed row, with its name and
  // properties, and every listed row is compiled: equal counts, no repeats.
  for (std::size_t i = 1; i < kCCSIDTableSize; ++i) {
    const _KivStCCSIDEntry& entry = gs_castCSIDDatabase[i];
    const auto it = listed.find(entry.ulCCSID);
    ASSERT_NE(it, listed.end()) << "row " << i << " has the unlisted CCSID " << entry.ulCCSID;
    EXPECT_STREQ(entry.pszName, it->second.name.c_str()) << entry.ulCCSID;
    EXPECT_EQ(entry.ulProperties, it->second.properties) << entry.ulCCSID;
  }

  // And through the public queries, by number.
  for (const auto& [ccsid, row] : listed) {
    const KivClCCSID c(ccsid);
    EXPECT_EQ(c.getCCSID(), ccsid);
    EXPECT_TRUE(c.isValid()) << ccsid;
    EXPECT_STREQ(c.getName(), row.name.c_str()) << ccsid;
    EXPECT_EQ(propertiesOf(c), row.properties) << ccsid;
  }
}

TEST(CCSIDTable, SentinelComesFirstAndRowsAscend) {
  EXPECT_EQ(gs_castCSIDDatabase[0].ulCCSID, 0u);
  EXPECT_STREQ(gs_castCSIDDatabase[0].pszName, "???");
  EXPECT_EQ(gs_castCSIDDatabase[0].ulProperties, 0u);
  for (std::size_t i = 2; i < kCCSIDTableSize; ++i) {
    EXPECT_LT(gs_castCSIDDatabase[i - 1].ulCCSID, gs_castCSIDDatabase[i].ulCCSID) << "row " << i;
  }
  EXPECT_EQ(gs_castCSIDDatabase[1].ulCCSID, 37u);
  EXPECT_EQ(gs_castCSIDDatabase[kCCSIDTableSize - 1].ulCCSID, 65501u);
}

TEST(CCSIDTable, NumbersBetweenRowsAreUnknown) {
  for (std::size_t i = 1; i + 1 < kCCSIDTableSize; ++i) {
    const std::uint32_t gap = gs_castCSIDDatabase[i].ulCCSID + 1;
    if (gap == gs_castCSIDDatabase[i + 1].ulCCSID) continue;
    const KivClCCSID c(gap);
    EXPECT_FALSE(c.isValid()) << gap;
    EXPECT_STREQ(c.getName(), "???") << gap;
  }
  EXPECT_FALSE(KivClCCSID(36).isValid());
  EXPECT_FALSE(KivClCCSID(65502).isValid());
  EXPECT_FALSE(KivClCCSID(0xFFFFFFFFu).isValid());
}

TEST(CCSID, ZeroAndUnknownNumbersAreInvalidWithoutProperties) {
  for (const std::uint32_t number : {0u, 1234u}) {
    const KivClCCSID c(number);
    EXPECT_EQ(c.getCCSID(), number);
    EXPECT_FALSE(c.isValid()) << number;
    EXPECT_STREQ(c.getName(), "???");
    EXPECT_EQ(propertiesOf(c), 0u);
  }
  const KivClCCSID none;
  EXPECT_EQ(none.getCCSID(), 0u);
  EXPECT_FALSE(none.isValid());
}

TEST(CCSID, RowsWithoutPropertiesAndSingleByteOnlyRows) {
  for (const std::uint32_t number : {259u, 4352u}) {
    const KivClCCSID c(number);
    EXPECT_TRUE(c.isValid()) << number;
    EXPECT_EQ(propertiesOf(c), 0u) << number;
  }
  EXPECT_STREQ(KivClCCSID(4352).getName(), "256");
  for (const std::uint32_t number : {806u, 813u, 838u}) {
    const KivClCCSID c(number);
    EXPECT_TRUE(c.isValid()) << number;
    EXPECT_TRUE(c.isSBCS()) << number;
    EXPECT_FALSE(c.isASCII()) << number;
    EXPECT_FALSE(c.isEBCDIC()) << number;
    EXPECT_FALSE(c.isDBCS()) << number;
  }
  EXPECT_STREQ(KivClCCSID(813).getName(), "ISO8859-7");
}

TEST(CCSID, EnumerationValuesNameTheirCodePages) {
  EXPECT_STREQ(KivClCCSID(KIV_CCSID_UTF8).getName(), "UTF-8");
  EXPECT_STREQ(KivClCCSID(KIV_CCSID_ISO8859_1).getName(), "ISO8859-1");
  EXPECT_STREQ(KivClCCSID(KIV_CCSID_UCS2).getName(), "UCS-2");
  EXPECT_STREQ(KivClCCSID(KIV_CCSID_UCS2_1200).getName(), "ISO10646-1");
  EXPECT_STREQ(KivClCCSID(KIV_CCSID_UCS2_BIG_ENDIAN).getName(), "UCS-2B");
  EXPECT_STREQ(KivClCCSID(KIV_CCSID_UCS2_LITTLE_ENDIAN).getName(), "UCS-2L");
  EXPECT_STREQ(KivClCCSID(KIV_CCSID_GB18030).getName(), "GB-18030");
  EXPECT_STREQ(KivClCCSID(KIV_CCSID_EBCDIC_037).getName(), "37");
  EXPECT_TRUE(KivClCCSID(KIV_CCSID_EBCDIC_500).isEBCDIC());
  EXPECT_TRUE(KivClCCSID(KIV_CCSID_PC_850).isASCII());
}

TEST(CCSID, PropertiesAreLookedUpOnceAndAgreeBeforeAndAfter) {
  const KivClCCSID lazy(930);
  const KivClCCSID eager(930);
  eager.determineProperties();
  eager.determineProperties();
  EXPECT_EQ(propertiesOf(lazy), kEBCDIC | kDBCS);
  EXPECT_EQ(propertiesOf(eager), kEBCDIC | kDBCS);
  EXPECT_STREQ(lazy.getName(), eager.getName());
  // A copy made before the lookup looks up for itself.
  const KivClCCSID copy = KivClCCSID(4133);
  EXPECT_STREQ(copy.getName(), "037");
}

TEST(CCSIDText, NumbersAndNamesOfTheSameCodePage) {
  const KivClCCSID number("819");
  const KivClCCSID name("iso8859-1");
  EXPECT_EQ(number.getCCSID(), 819u);
  EXPECT_TRUE(number.isValid());
  EXPECT_EQ(name.getCCSID(), 819u);
  EXPECT_TRUE(name.isValid());
  EXPECT_TRUE(name.isASCII());
  EXPECT_TRUE(name.isSBCS());
}

TEST(CCSIDText, UnknownNameKeepsItsNumberButIsInvalid) {
  const KivClCCSID hyphen("ISO-8859-1");
  EXPECT_EQ(hyphen.getCCSID(), 8859u);
  EXPECT_FALSE(hyphen.isValid());
  EXPECT_STREQ(hyphen.getName(), "???");

  // 850 is in the table, yet the text did not name a known code page.
  const KivClCCSID prefixed("CP850");
  EXPECT_EQ(prefixed.getCCSID(), 850u);
  EXPECT_FALSE(prefixed.isValid());
  EXPECT_EQ(propertiesOf(prefixed), 0u);
  EXPECT_TRUE(KivClCCSID(850).isValid());

  const KivClCCSID digitsInside("x12y34");
  EXPECT_EQ(digitsInside.getCCSID(), 12u);
  EXPECT_FALSE(digitsInside.isValid());

  for (const char* text : {"", "abc", "UTF", "UTF-8 ", " 819"}) {
    const KivClCCSID c(text);
    EXPECT_FALSE(c.isValid()) << '"' << text << '"';
  }
  EXPECT_EQ(KivClCCSID(" 819").getCCSID(), 819u);
  EXPECT_EQ(KivClCCSID("abc").getCCSID(), 0u);
  EXPECT_EQ(KivClCCSID(static_cast<const char*>(nullptr)).getCCSID(), 0u);
  EXPECT_FALSE(KivClCCSID(static_cast<const char*>(nullptr)).isValid());
}

TEST(CCSIDText, FirstRowOfARepeatedNameWins) {
  EXPECT_EQ(KivClCCSID("UTF-8").getCCSID(), 1208u);
  EXPECT_EQ(KivClCCSID("utf-8").getCCSID(), 1208u);
  EXPECT_EQ(KivClCCSID("UCS-2").getCCSID(), 13488u);
  EXPECT_EQ(KivClCCSID("ucs-2b").getCCSID(), 65500u);
  EXPECT_EQ(KivClCCSID("UCS-2L").getCCSID(), 65501u);
  EXPECT_EQ(KivClCCSID("GB-18030").getCCSID(), 1392u);
  EXPECT_EQ(KivClCCSID("ZOR33722").getCCSID(), 954u);
  EXPECT_EQ(KivClCCSID("ISO8859-7").getCCSID(), 813u);
  EXPECT_EQ(KivClCCSID("ISO10646-1").getCCSID(), 1200u);
  EXPECT_TRUE(KivClCCSID("UCS-2").isUCS2());
  // The sentinel's own name finds the sentinel: CCSID 0, invalid.
  EXPECT_EQ(KivClCCSID("???").getCCSID(), 0u);
  EXPECT_FALSE(KivClCCSID("???").isValid());
}

TEST(CCSIDText, LeadingDigitMeansANumberEvenWhenANameMatches) {
  // "037" is the name of 4133, but text that starts with a digit is a number.
  const KivClCCSID c("037");
  EXPECT_EQ(c.getCCSID(), 37u);
  EXPECT_TRUE(c.isValid());
  EXPECT_STREQ(c.getName(), "37");
  // atoi stops at the first non-digit.
  EXPECT_EQ(KivClCCSID("819abc").getCCSID(), 819u);
  EXPECT_TRUE(KivClCCSID("819abc").isValid());
  EXPECT_EQ(KivClCCSID("1234").getCCSID(), 1234u);
  EXPECT_FALSE(KivClCCSID("1234").isValid());
  EXPECT_EQ(KivClCCSID("0").getCCSID(), 0u);
  EXPECT_FALSE(KivClCCSID("0").isValid());
}

TEST(CCSIDText, NumbersBeyondThirtyTwoBitsSaturate) {
  // 4294967733 is 2^32 + 437: it must not wrap round to a real CCSID.
  const KivClCCSID c("4294967733");
  EXPECT_EQ(c.getCCSID(), 0xFFFFFFFFu);
  EXPECT_FALSE(c.isValid());
  EXPECT_EQ(KivClCCSID("CP99999999999999999999").getCCSID(), 0xFFFFFFFFu);
  EXPECT_EQ(KivClCCSID("4294967295").getCCSID(), 0xFFFFFFFFu);
  EXPECT_EQ(KivClCCSID("4294967294").getCCSID(), 0xFFFFFFFEu);
}

TEST(CCSIDText, EveryNameFindsTheFirstRowOfThatName) {
  std::map<std::string, std::uint32_t> first;  // upper-cased name -> first CCSID
  for (std::size_t i = 1; i < kCCSIDTableSize; ++i) {
    std::string name = gs_castCSIDDatabase[i].pszName;
    for (char& ch : name) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    first.emplace(name, gs_castCSIDDatabase[i].ulCCSID);
  }
  for (const auto& [name, ccsid] : first) {
    if (name[0] >= '0' && name[0] <= '9') continue;  // read as numbers
    const KivClCCSID c(name.c_str());
    EXPECT_EQ(c.getCCSID(), ccsid) << name;
    EXPECT_TRUE(c.isValid()) << name;
  }
}

TEST(CCSID, UCS2ByteOrders) {
  const KivClCCSID big(65500);
  EXPECT_TRUE(big.isUCS2());
  EXPECT_TRUE(big.isUCS2BigEndian());
  EXPECT_FALSE(big.isUCS2LittleEndian());
  EXPECT_FALSE(big.isUCS2HostEndian());
  for (const std::uint32_t number : {65501u, 13488u, 17584u, 1200u, 61955u}) {
    const KivClCCSID c(number);
    EXPECT_TRUE(c.isUCS2()) << number;
    EXPECT_FALSE(c.isUCS2BigEndian()) << number;
    EXPECT_TRUE(c.isUCS2LittleEndian()) << number;
    EXPECT_TRUE(c.isUCS2HostEndian()) << number;
  }
  for (const std::uint32_t number : {0u, 819u, 1208u, 1234u}) {
    const KivClCCSID c(number);
    EXPECT_FALSE(c.isUCS2BigEndian()) << number;
    EXPECT_FALSE(c.isUCS2LittleEndian()) << number;
    EXPECT_FALSE(c.isUCS2HostEndian()) << number;
  }
}

TEST(CCSID, LittleEndianUCS2EqualsUCS2ButOtherUCS2CCSIDsDoNot) {
  EXPECT_TRUE(KivClCCSID(65501) == KIV_CCSID_UCS2);
  EXPECT_TRUE(KivClCCSID(13488) == KIV_CCSID_UCS2_LITTLE_ENDIAN);
  EXPECT_TRUE(KivClCCSID(65501) == KIV_CCSID_UCS2_LITTLE_ENDIAN);
  EXPECT_TRUE(KivClCCSID(65501) == KivClCCSID(13488));
  EXPECT_FALSE(KivClCCSID(65500) == KIV_CCSID_UCS2);
  EXPECT_FALSE(KivClCCSID(65500) == KIV_CCSID_UCS2_LITTLE_ENDIAN);
  EXPECT_TRUE(KivClCCSID(65500) != KivClCCSID(13488));
  EXPECT_FALSE(KivClCCSID(1200) == KIV_CCSID_UCS2);
  EXPECT_FALSE(KivClCCSID(17584) == KivClCCSID(13488));
  EXPECT_TRUE(KivClCCSID(1200) == KivClCCSID(1200));
  EXPECT_TRUE(KivClCCSID(819) == KivClCCSID("ISO8859-1"));
  EXPECT_TRUE(KivClCCSID(819) != KivClCCSID(850));
  // Numbers compare, validity does not: "CP850" is invalid but is 850.
  EXPECT_TRUE(KivClCCSID("CP850") == KivClCCSID(850));
  EXPECT_TRUE(KivClCCSID() == KIV_CCSID_NONE);
}

TEST(CCSID, ByteOrderMarksGiveTheUCS2CCSIDs) {
  EXPECT_EQ(KivClCCSID::getCCSIDForUCS2EndianId("\xFE\xFF"), KIV_CCSID_UCS2_BIG_ENDIAN);
  EXPECT_EQ(KivClCCSID::getCCSIDForUCS2EndianId("\xFF\xFE"), KIV_CCSID_UCS2_LITTLE_ENDIAN);
  EXPECT_EQ(KivClCCSID::getCCSIDForUCS2EndianId("\xFE\xFF"
                                                "abc"),
            65500u);
  EXPECT_EQ(KivClCCSID::getCCSIDForUCS2EndianId("\xFF\xFE\x41"), 65501u);
  for (const char* other : {"", "\xFE", "\xFF", "\xFE\xFE", "\xFF\xFF", "AB", "\xEF\xBB\xBF"}) {
    EXPECT_EQ(KivClCCSID::getCCSIDForUCS2EndianId(other), KIV_CCSID_NONE);
  }
  EXPECT_EQ(KivClCCSID::getCCSIDForUCS2EndianId(nullptr), KIV_CCSID_NONE);

  EXPECT_EQ(KivClCCSID::getCCSIDForUCS2EndianId(KivClConverterABase::getUCS2BigEndianId()), 65500u);
  EXPECT_EQ(KivClCCSID::getCCSIDForUCS2EndianId(KivClConverterABase::getUCS2LittleEndianId()),
            65501u);
  EXPECT_EQ(KivClCCSID::getCCSIDForUCS2EndianId(KivClConverterABase::getUCS2HostEndianId()),
            65501u);
}

/// Points the system CCSID's name source at `name` and forgets the cached
/// CCSID for the life of one test; puts ICU's own source back afterwards.
class SystemCCSID : public ::testing::Test {
 protected:
  void SetUp() override { kiv::detail::forgetSystemCCSID(); }
  void TearDown() override {
    kiv::detail::gs_pfuDefaultCodePageName = m_original;
    kiv::detail::forgetSystemCCSID();
  }
  static void nameSourceGives(const char* name) {
    s_name = name;
    kiv::detail::gs_pfuDefaultCodePageName = [] { return s_name; };
  }

 private:
  static inline const char* s_name = nullptr;
  kiv::detail::DefaultCodePageNameSource m_original = kiv::detail::gs_pfuDefaultCodePageName;
};

TEST_F(SystemCCSID, IsTheCCSIDOfICUsDefaultCodePage) {
  const int expected = icuCCSIDOf(ucnv_getDefaultName());
  ASSERT_GT(expected, 0) << ucnv_getDefaultName();
  EXPECT_EQ(static_cast<int>(KivClCCSID::getSystemCCSID()), expected);
  EXPECT_EQ(KivClCCSID::getConsoleCCSID(), KivClCCSID::getSystemCCSID());
}

TEST_F(SystemCCSID, IsAskedOnceAndCachedForTheLifeOfTheProcess) {
  nameSourceGives("ibm-850");
  EXPECT_EQ(KivClCCSID::getSystemCCSID(), 850u);
  nameSourceGives("ISO-8859-1");
  EXPECT_EQ(KivClCCSID::getSystemCCSID(), 850u);
  EXPECT_EQ(KivClCCSID::getConsoleCCSID(), 850u);
  kiv::detail::forgetSystemCCSID();
  EXPECT_EQ(KivClCCSID::getConsoleCCSID(), 819u);
}

TEST_F(SystemCCSID, IsUTF8AndStaysSoWhenICUCannotNameTheCodePage) {
  nameSourceGives(nullptr);
  EXPECT_EQ(KivClCCSID::getSystemCCSID(), KIV_CCSID_UTF8);
  nameSourceGives("ibm-850");
  EXPECT_EQ(KivClCCSID::getSystemCCSID(), KIV_CCSID_UTF8);
}

TEST_F(SystemCCSID, IsUTF8WhenICUCannotOpenTheCodePage) {
  nameSourceGives("no-such-code-page");
  EXPECT_EQ(KivClCCSID::getConsoleCCSID(), KIV_CCSID_UTF8);
}

TEST_F(SystemCCSID, CodePageNamesGiveICUsCCSIDOrUTF8) {
  EXPECT_EQ(kiv::detail::ccsidOfIcuCodePage(nullptr), 1208u);
  EXPECT_EQ(kiv::detail::ccsidOfIcuCodePage(""), 1208u);
  EXPECT_EQ(kiv::detail::ccsidOfIcuCodePage("no-such-code-page"), 1208u);
  EXPECT_EQ(kiv::detail::ccsidOfIcuCodePage("ibm-850"), 850u);
  EXPECT_EQ(kiv::detail::ccsidOfIcuCodePage("ISO-8859-1"), 819u);
  EXPECT_EQ(kiv::detail::ccsidOfIcuCodePage("US-ASCII"),
            static_cast<std::uint32_t>(icuCCSIDOf("US-ASCII")));
}

TEST_F(SystemCCSID, AConverterWithoutCCSIDGivesZeroWhichIsNotCached) {
  // ICU knows HZ but gives it no CCSID (0, not -1): only -1 means failure.
  ASSERT_EQ(icuCCSIDOf("HZ"), 0);
  EXPECT_EQ(kiv::detail::ccsidOfIcuCodePage("HZ"), 0u);
  nameSourceGives("HZ");
  EXPECT_EQ(KivClCCSID::getSystemCCSID(), 0u);
  nameSourceGives("ibm-850");
  EXPECT_EQ(KivClCCSID::getSystemCCSID(), 850u);
}

}  // namespace
