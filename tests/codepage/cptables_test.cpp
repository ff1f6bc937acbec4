// The built-in table lookups and the table methods. The lookups must find
// exactly the tables the library carries; the methods are checked on small
// tables made here, through a converter that takes a method and its table
// (cptables_data_test.cpp checks the real tables against their sources).
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "../../codepage/kiv_cptables.hpp"
#include "kiv_converter.hpp"
#include "kiv_test_support.hpp"

namespace {

// A converter that runs a given method on a given table.
class TableConverter : public KivClCodePage2UnicodeConverter {
 public:
  TableConverter(KivPfuConvert method, const void* table) : KivClCodePage2UnicodeConverter(37) {
    deinit();
    setMethod(method, table);
  }
};

std::vector<std::uint16_t> unitsOf(const char* bytes, unsigned long size) {
  std::vector<std::uint16_t> units(size / 2);
  if (!units.empty()) std::memcpy(units.data(), bytes, units.size() * 2);
  return units;
}

void putBigEndian(unsigned char* p, std::uint16_t value) {
  p[0] = static_cast<unsigned char>(value >> 8);
  p[1] = static_cast<unsigned char>(value & 0xFF);
}

// A single-byte table: byte b gives 0x0100 + b, except 0x15 (EBCDIC new
// line) and 0xC1 ('A').
std::array<unsigned char, 512> singleByteTable() {
  std::array<unsigned char, 512> table{};
  for (unsigned int b = 0; b < 256; ++b) putBigEndian(&table[2 * b], static_cast<std::uint16_t>(0x0100 + b));
  putBigEndian(&table[2 * 0x15], 0x0085);
  putBigEndian(&table[2 * 0xC1], 0x0041);
  return table;
}

// A double-byte table with three blocks: block 0 unused, block 1 the single
// bytes (0x0200 + b, 0x15 is the EBCDIC new line), block 2 the characters
// of lead bytes 0x45 and 0x81 (0x4E00 + trail).
struct DoubleByteTable {
  std::vector<unsigned char> ward = std::vector<unsigned char>(3 * 512);
  std::array<unsigned char, 256> leadBytes{};
  _KivStDBCSConversionTableEntry entry{};

  explicit DoubleByteTable(bool ebcdic) {
    for (unsigned int b = 0; b < 256; ++b) {
      putBigEndian(&ward[512 + 2 * b], static_cast<std::uint16_t>(0x0200 + b));
      putBigEndian(&ward[1024 + 2 * b], static_cast<std::uint16_t>(0x4E00 + b));
    }
    putBigEndian(&ward[512 + 2 * 0x15], 0x0085);
    leadBytes[0x81] = 1;
    entry.ulCCSID = ebcdic ? 930 : 301;
    entry.ucIsEBCDIC = ebcdic ? 1 : 0;
    entry.aucWardNumbers[0x45] = 3;
    entry.aucWardNumbers[0x81] = 3;
    entry.aucWardNumbers[0x90] = 9;  // beyond the data
    entry.ulBlockCount = 3;
    entry.pucWardData = ward.data();
    entry.pucLeadBytes = leadBytes.data();
  }
};

constexpr unsigned int kSingleByteTables[] = {
    37,   273,  274,  277,  278,  280,  284,  285,  290,  297,  420,  423,  424,
    437,  500,  737,  819,  833,  836,  838,  850,  852,  870,  871,  875,  891,
    895,  924,  1025, 1026, 1027, 1040, 1041, 1043, 1046, 1088, 1112, 1114, 1115,
    1122, 1123, 1142, 1145, 1155, 1163, 1250, 1252, 9048, 13121};
constexpr unsigned int kDoubleByteTables[] = {301,  927,  930,  939,  941, 948,
                                              1351, 1394, 4930, 4933, 5039};
constexpr unsigned int kEbcdicDoubleByteTables[] = {930, 939, 4930, 4933};

template <std::size_t N>
bool listed(const unsigned int (&list)[N], unsigned int ccsid) {
  return std::find(std::begin(list), std::end(list), ccsid) != std::end(list);
}

TEST(CodePageTables, LookupsFindExactlyTheTablesTheLibraryCarries) {
  EXPECT_EQ(std::size(kSingleByteTables), 49u);
  EXPECT_EQ(std::size(kDoubleByteTables), 11u);
  for (unsigned int ccsid = 0; ccsid <= 70000; ++ccsid) {
    const unsigned char* single = kivGetSBCStoUCS2Table(ccsid);
    ASSERT_EQ(single != nullptr, listed(kSingleByteTables, ccsid)) << ccsid;
    bool ebcdic = ccsid % 2 == 0;  // either way, it must come back unchanged when nothing is found
    const bool before = ebcdic;
    const _KivStDBCSConversionTableEntry* entry = kivGetDBCStoUCS2Table(ccsid, ebcdic);
    ASSERT_EQ(entry != nullptr, listed(kDoubleByteTables, ccsid)) << ccsid;
    if (entry != nullptr) {
      EXPECT_EQ(entry->ulCCSID, ccsid);
      EXPECT_EQ(ebcdic, listed(kEbcdicDoubleByteTables, ccsid)) << ccsid;
    } else {
      EXPECT_EQ(ebcdic, before) << ccsid;
    }
    ASSERT_EQ(kivGetUCS2toSBCSTable(ccsid) != nullptr, ccsid == 500 || ccsid == 850) << ccsid;
  }
  for (unsigned int ccsid : {0xFFFFFFFFu, 0x80000025u}) {
    bool ebcdic = true;
    EXPECT_EQ(kivGetSBCStoUCS2Table(ccsid), nullptr);
    EXPECT_EQ(kivGetDBCStoUCS2Table(ccsid, ebcdic), nullptr);
    EXPECT_EQ(kivGetUCS2toSBCSTable(ccsid), nullptr);
  }
}

TEST(CodePageTables, LookupsAnswerWithTheTablesThemselves) {
  using namespace kiv::detail;
  for (const auto& table : gs_castConversionTablesSBCS2UCS2) {
    EXPECT_EQ(kivGetSBCStoUCS2Table(table.ulCCSID), table.aucValues);
  }
  for (const auto& entry : gs_castDBCSConversionTableEntries) {
    bool ebcdic = false;
    EXPECT_EQ(kivGetDBCStoUCS2Table(entry.ulCCSID, ebcdic), &entry);
  }
  EXPECT_EQ(kivGetUCS2toSBCSTable(500), gs_acConversionTable_13488_to_500);
  EXPECT_EQ(kivGetUCS2toSBCSTable(850), gs_acConversionTable_13488_to_850);
}

TEST(CodePageTables, CodePagesWithoutATableFindNoneInAnyFamily) {
  for (unsigned int ccsid : {1208u, 1392u, 13488u, 1047u, 943u}) {
    SCOPED_TRACE(ccsid);
    bool ebcdic = true;
    EXPECT_EQ(kivGetSBCStoUCS2Table(ccsid), nullptr);
    EXPECT_EQ(kivGetDBCStoUCS2Table(ccsid, ebcdic), nullptr);
    EXPECT_TRUE(ebcdic);
    EXPECT_EQ(kivGetUCS2toSBCSTable(ccsid), nullptr);
  }
}

TEST(CodePageTables, CompareEntriesByTheirCCSIDField) {
  const std::uint32_t low = 37;
  const std::uint32_t high = 0x80000000u;  // compared unsigned, not by subtraction
  EXPECT_LT(kivCompareConversionTableEntriesSBCS2UCS2(&low, &high), 0);
  EXPECT_GT(kivCompareConversionTableEntriesSBCS2UCS2(&high, &low), 0);
  EXPECT_EQ(kivCompareConversionTableEntriesDBCS2UCS2(&low, &low), 0);
  EXPECT_LT(kivCompareConversionTableEntriesDBCS2UCS2(&low, &high), 0);
}

TEST(CodePageTables, SingleByteAsciiWritesEveryByteAndIgnoresTheTargetSize) {
  const auto table = singleByteTable();
  TableConverter converter(&kivConvertByTablesSBCS_ASCIItoUCS2, table.data());
  const char source[] = {'\x15', '\xC1', '\x00', '\xFF'};
  char target[8];
  const char* cursor = source;
  EXPECT_EQ(converter.convertBytes(target, 0, &cursor, 4), 8u);
  EXPECT_EQ(cursor, source + 4);
  EXPECT_EQ(unitsOf(target, 8), (std::vector<std::uint16_t>{0x0085, 0x0041, 0x0100, 0x01FF}));
  EXPECT_KIV_NO_ERROR(converter);
}

TEST(CodePageTables, SingleByteEbcdicWritesNewLineAsLineFeed) {
  const auto table = singleByteTable();
  TableConverter converter(&kivConvertByTablesSBCS_EBCDICtoUCS2, table.data());
  const char source[] = {'\x15', '\xC1'};
  char target[4];
  EXPECT_EQ(converter.convertBytes(target, sizeof target, source, 2), 4u);
  EXPECT_EQ(unitsOf(target, 4), (std::vector<std::uint16_t>{0x000A, 0x0041}));
}

TEST(CodePageTables, DoubleByteAsciiTakesLeadAndTrailBytes) {
  DoubleByteTable table(false);
  TableConverter converter(&kivConvertByTablesDBCS_ASCIItoUCS2, &table.entry);
  const char source[] = {'\x41', '\x81', '\x42', '\x15'};
  char target[8];
  const char* cursor = source;
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 4), 6u);
  EXPECT_EQ(cursor, source + 4);
  // No new-line substitution on an ASCII code page.
  EXPECT_EQ(unitsOf(target, 6), (std::vector<std::uint16_t>{0x0241, 0x4E42, 0x0085}));
}

TEST(CodePageTables, DoubleByteAsciiLeadByteLastTakesTheByteBehindTheSource) {
  DoubleByteTable table(false);
  TableConverter converter(&kivConvertByTablesDBCS_ASCIItoUCS2, &table.entry);
  const char source[] = {'\x41', '\x81', '\x43'};
  char target[8];
  const char* cursor = source;
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 2), 4u);
  EXPECT_EQ(cursor, source + 3);  // one byte beyond the given size is consumed
  EXPECT_EQ(unitsOf(target, 4), (std::vector<std::uint16_t>{0x0241, 0x4E43}));
}

TEST(CodePageTables, DoubleByteWardOutsideTheDataGivesReplacement) {
  DoubleByteTable table(false);
  table.leadBytes[0x90] = 1;
  TableConverter converter(&kivConvertByTablesDBCS_ASCIItoUCS2, &table.entry);
  const char source[] = {'\x90', '\x41'};
  char target[2];
  EXPECT_EQ(converter.convertBytes(target, sizeof target, source, 2), 2u);
  EXPECT_EQ(unitsOf(target, 2), (std::vector<std::uint16_t>{0xFFFD}));
}

TEST(CodePageTables, DoubleByteEbcdicWalksShiftOutAndShiftIn) {
  DoubleByteTable table(true);
  TableConverter converter(&kivConvertByTablesDBCS_EBCDICtoUCS2, &table.entry);
  const char source[] = {'\x0E', '\x45', '\x41', '\x0F', '\xC1', '\x15'};
  char target[8];
  const char* cursor = source;
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 6), 6u);
  EXPECT_EQ(cursor, source + 6);
  EXPECT_EQ(unitsOf(target, 6), (std::vector<std::uint16_t>{0x4E41, 0x02C1, 0x000A}));
  EXPECT_KIV_NO_ERROR(converter);
}

TEST(CodePageTables, DoubleByteEbcdicWithoutShiftInIsIncomplete) {
  DoubleByteTable table(true);
  TableConverter converter(&kivConvertByTablesDBCS_EBCDICtoUCS2, &table.entry);
  const char source[] = {'\x0E', '\x45', '\x41', '\x45'};
  char target[8];
  const char* cursor = source;
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 3), 2u);
  EXPECT_EQ(unitsOf(target, 2), (std::vector<std::uint16_t>{0x4E41}));
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INCOMPLETE, USER_DATA_ERROR);
  EXPECT_EQ(cursor, source + 3);
  // A lead byte without its trail byte is not completed from behind the
  // source: the conversion ends incomplete with that byte consumed.
  cursor = source;
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 4), 2u);
  EXPECT_EQ(cursor, source + 4);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INCOMPLETE, USER_DATA_ERROR);
}

TEST(CodePageTables, UnicodeToSingleByteUsesTwoLevelsAndReportsAnOddByte) {
  // Page 0 sends high byte 0x00 to page 1 and 0x20 to page 2 (and every
  // other high byte to page 0 itself).
  std::vector<unsigned char> table(3 * 256, 0);
  table[0x00] = 1;
  table[0x20] = 2;
  for (unsigned int b = 0; b < 256; ++b) {
    table[256 + b] = static_cast<unsigned char>(b);
    table[512 + b] = 0x3F;
  }
  table[512 + 0xAC] = 0x9F;  // U+20AC
  TableConverter converter(&kivConvertByTablesUCS2toSBCS, table.data());
  const std::uint16_t units[] = {0x0041, 0x20AC, 0x00E9};
  char source[7];
  std::memcpy(source, units, 6);
  source[6] = 'x';
  char target[3] = {};
  const char* cursor = source;
  EXPECT_EQ(converter.convertBytes(target, 0, &cursor, 7), 3u);
  EXPECT_EQ(cursor, source + 6);
  EXPECT_EQ(std::string(target, 3), std::string("\x41\x9F\xE9", 3));
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INCOMPLETE, USER_DATA_ERROR);
}

}  // namespace
