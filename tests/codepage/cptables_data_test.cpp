// The built-in tables against their sources, position by position, and the
// table methods on the real tables. The list of sources is the one the
// generator writes (data/cptable_sources.txt); every table whose source is
// ICU or glibc iconv is read again here, through the same decoding code the
// generator uses, and compared on all its positions. The tables taken from
// the JDK or npm are compared by the generator's own check wherever those
// are installed; here they get the structural checks only.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "../../codepage/kiv_cptables.hpp"
#include "cp_test_support.hpp"
#include "cpsource.hpp"
#include "kiv_converter.hpp"
#include "kiv_test_support.hpp"

namespace {

constexpr std::uint16_t kReplacement = 0xFFFD;
constexpr std::uint16_t kSub = 0x001A;

struct Range {
  unsigned int low;
  unsigned int high;
};

struct SourceLine {
  std::string family;  // sbcs, dbcs or reverse
  unsigned int ccsid = 0;
  bool ebcdic = false;
  std::vector<Range> ranges;  // sbcs: positions from the source; dbcs: lead bytes
  std::string source;
};

std::vector<Range> parseRanges(const std::string& text) {
  std::vector<Range> ranges;
  if (text == "-") return ranges;
  std::istringstream in(text);
  std::string item;
  while (std::getline(in, item, ',')) {
    ranges.push_back({static_cast<unsigned int>(std::stoul(item.substr(0, 2), nullptr, 16)),
                      static_cast<unsigned int>(std::stoul(item.substr(3, 2), nullptr, 16))});
  }
  return ranges;
}

bool inRanges(unsigned int value, const std::vector<Range>& ranges) {
  for (const Range& r : ranges) {
    if (value >= r.low && value <= r.high) return true;
  }
  return false;
}

std::vector<SourceLine> readSources() {
  std::ifstream in(KIV_CPTABLE_SOURCES);
  std::vector<SourceLine> lines;
  std::string text;
  while (std::getline(in, text)) {
    if (text.empty() || text[0] == '#') continue;
    std::istringstream fields(text);
    SourceLine line;
    fields >> line.family >> line.ccsid;
    std::string a, b;
    if (line.family == "sbcs") {
      fields >> line.source >> a;
      line.ranges = parseRanges(a);
    } else if (line.family == "dbcs") {
      fields >> a >> b >> line.source;
      line.ebcdic = a == "ebcdic";
      line.ranges = parseRanges(b);
    } else {
      fields >> line.source;
    }
    lines.push_back(line);
  }
  return lines;
}

std::uint16_t bigEndian(const unsigned char* p) {
  return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}

bool readByTheseTests(const std::string& source) {
  return source.rfind("icu:", 0) == 0 || source.rfind("iconv:", 0) == 0;
}

std::uint16_t unitOr(std::int32_t decoded, std::uint16_t otherwise) {
  return decoded >= 0 ? static_cast<std::uint16_t>(decoded) : otherwise;
}

TEST(BuiltInTables, TheSourceListNamesEveryTableOnce) {
  const std::vector<SourceLine> lines = readSources();
  std::vector<unsigned int> sbcs, dbcs, reverse;
  for (const SourceLine& line : lines) {
    (line.family == "sbcs" ? sbcs : line.family == "dbcs" ? dbcs : reverse).push_back(line.ccsid);
  }
  ASSERT_EQ(sbcs.size(), 49u);
  ASSERT_EQ(dbcs.size(), 11u);
  ASSERT_EQ(reverse, (std::vector<unsigned int>{500, 850}));
  for (std::size_t i = 0; i < sbcs.size(); ++i) {
    EXPECT_EQ(kiv::detail::gs_castConversionTablesSBCS2UCS2[i].ulCCSID, sbcs[i]);
  }
  for (std::size_t i = 0; i < dbcs.size(); ++i) {
    EXPECT_EQ(kiv::detail::gs_castDBCSConversionTableEntries[i].ulCCSID, dbcs[i]);
  }
}

TEST(BuiltInTables, SingleByteTablesEqualTheirSourcesOnEveryPosition) {
  int compared = 0;
  for (const SourceLine& line : readSources()) {
    if (line.family != "sbcs" || !readByTheseTests(line.source)) continue;
    SCOPED_TRACE(std::to_string(line.ccsid) + " from " + line.source);
    auto source = kivcpsource::openSource(line.source);
    ASSERT_NE(source, nullptr) << "ICU and glibc iconv are dependencies of the library";
    const unsigned char* table = kivGetSBCStoUCS2Table(line.ccsid);
    ASSERT_NE(table, nullptr);
    for (unsigned int b = 0; b < 256; ++b) {
      const unsigned char byte = static_cast<unsigned char>(b);
      const std::uint16_t expected =
          inRanges(b, line.ranges) ? unitOr(source->decode(&byte, 1), kReplacement) : kReplacement;
      ASSERT_EQ(bigEndian(table + 2 * b), expected) << "byte " << b;
    }
    ++compared;
  }
  // All but the two tables from the JDK and the one from npm and ICU.
  EXPECT_EQ(compared, 46);
}

TEST(BuiltInTables, The924ControlsComeFromIcus1047) {
  auto icu1047 = kivcpsource::openIcuCCSID(1047);
  ASSERT_NE(icu1047, nullptr);
  const unsigned char* table = kivGetSBCStoUCS2Table(924);
  ASSERT_NE(table, nullptr);
  for (unsigned int b = 0; b < 256; ++b) {
    if (b > 0x3F && b != 0xFF) continue;
    const unsigned char byte = static_cast<unsigned char>(b);
    EXPECT_EQ(bigEndian(table + 2 * b), unitOr(icu1047->decode(&byte, 1), kReplacement)) << b;
  }
  // The euro sign of the Latin-9 form, from the npm data.
  EXPECT_EQ(bigEndian(table + 2 * 0x9F), 0x20AC);
}

// The value of a lead/trail pair in a double-byte table, as the methods
// find it.
std::uint16_t pairValue(const _KivStDBCSConversionTableEntry& entry, unsigned int lead,
                        unsigned int trail) {
  const unsigned int ward = entry.aucWardNumbers[lead];
  return bigEndian(entry.pucWardData + (ward - 1) * 512 + 2 * trail);
}

TEST(BuiltInTables, DoubleByteTablesAreWellFormed) {
  for (const SourceLine& line : readSources()) {
    if (line.family != "dbcs") continue;
    SCOPED_TRACE(line.ccsid);
    bool ebcdic = !line.ebcdic;
    const _KivStDBCSConversionTableEntry* entry = kivGetDBCStoUCS2Table(line.ccsid, ebcdic);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(ebcdic, line.ebcdic);
    unsigned int highest = 0;
    for (unsigned int b = 0; b < 256; ++b) {
      const unsigned int ward = entry->aucWardNumbers[b];
      highest = std::max(highest, ward);
      const bool lead = line.ebcdic ? b != 0x0F : inRanges(b, line.ranges);
      // Every byte that can lead has a ward inside the data; the others none.
      if (lead) {
        EXPECT_GE(ward, 1u) << b;
        EXPECT_NE(ward, 2u) << b;  // block 1 holds the single bytes
      } else if (!line.ebcdic) {
        EXPECT_EQ(ward, 0u) << b;
      }
      if (!line.ebcdic) {
        EXPECT_EQ(entry->pucLeadBytes[b] != 0, lead) << b;
      }
    }
    EXPECT_EQ(entry->ulBlockCount, highest);  // the highest ward number used
    if (line.ebcdic) {
      EXPECT_EQ(entry->pucLeadBytes, nullptr);
    }
    for (unsigned int t = 0; t < 256; ++t) {
      EXPECT_EQ(bigEndian(entry->pucWardData + 2 * t), kReplacement);  // block 0
    }
  }
}

TEST(BuiltInTables, DoubleByteTablesEqualTheirSourcesOnEveryPosition) {
  int compared = 0;
  for (const SourceLine& line : readSources()) {
    if (line.family != "dbcs" || !readByTheseTests(line.source)) continue;
    SCOPED_TRACE(std::to_string(line.ccsid) + " from " + line.source);
    auto source = kivcpsource::openSource(line.source);
    ASSERT_NE(source, nullptr);
    bool ebcdic = false;
    const _KivStDBCSConversionTableEntry* entry = kivGetDBCStoUCS2Table(line.ccsid, ebcdic);
    ASSERT_NE(entry, nullptr);
    for (unsigned int b = 0; b < 256; ++b) {
      const unsigned char byte = static_cast<unsigned char>(b);
      ASSERT_EQ(bigEndian(entry->pucWardData + 512 + 2 * b),
                unitOr(source->decode(&byte, 1), kSub))
          << "single byte " << b;
    }
    for (unsigned int lead = 0; lead < 256; ++lead) {
      if (line.ebcdic ? lead == 0x0F : !inRanges(lead, line.ranges)) continue;
      for (unsigned int trail = 0; trail < 256; ++trail) {
        const unsigned char plain[2] = {static_cast<unsigned char>(lead),
                                        static_cast<unsigned char>(trail)};
        const unsigned char framed[4] = {0x0E, plain[0], plain[1], 0x0F};
        const std::int32_t decoded =
            line.ebcdic ? source->decode(framed, 4) : source->decode(plain, 2);
        ASSERT_EQ(pairValue(*entry, lead, trail), unitOr(decoded, kReplacement))
            << "pair " << lead << " " << trail;
      }
    }
    ++compared;
  }
  EXPECT_EQ(compared, 9);  // all but the two from the JDK
}

TEST(BuiltInTables, ReverseTablesEqualIcusFromUnicodeOnEveryUnit) {
  for (unsigned int ccsid : {500u, 850u}) {
    SCOPED_TRACE(ccsid);
    kivtest::UniqueUConverter icu = kivtest::openIcuLikeTheLibrary(ccsid);
    ASSERT_NE(icu, nullptr);
    const unsigned char* table = kivGetUCS2toSBCSTable(ccsid);
    ASSERT_NE(table, nullptr);
    char substitution[4];
    int8_t length = sizeof substitution;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_getSubstChars(icu.get(), substitution, &length, &status);
    ASSERT_EQ(length, 1);
    std::u16string all;
    std::string expectedAll;
    int dropped = 0;
    for (unsigned int u = 0; u < 0x10000; ++u) {
      std::u16string one(1, static_cast<char16_t>(u));
      // ICU writes its substitution byte for what it cannot map, and drops
      // the default-ignorable units it cannot map; the table writes one
      // byte per unit, the substitution byte for both. A lone surrogate
      // gives the substitution byte too.
      std::string expected = u >= 0xD800 && u <= 0xDFFF
                                 ? std::string(1, substitution[0])
                                 : kivtest::icuFromUnicode(icu.get(), one);
      if (expected.empty()) {
        expected.assign(1, substitution[0]);
        ++dropped;
      }
      ASSERT_EQ(expected.size(), 1u) << u;
      ASSERT_EQ(table[table[u >> 8] * 256u + (u & 0xFFu)], static_cast<unsigned char>(expected[0]))
          << u;
      all += one;
      expectedAll += expected;
    }
    EXPECT_LT(dropped, 400);  // only the default-ignorable ones
    // The converter runs the same table over the whole range at once.
    const KivClUnicode2CodePageConverter converter(ccsid);
    ASSERT_EQ(converter.getMethod(), &kivConvertByTablesUCS2toSBCS);
    EXPECT_EQ(kivtest::convertAll(converter, kivtest::ucs2Bytes(all)), expectedAll);
  }
}

// ---------------------------------------------------- the methods on real tables

std::u16string toUnicode(const KivClConverterABase& converter, const std::string& bytes) {
  return kivtest::ucs2Text(kivtest::convertAll(converter, bytes));
}

TEST(BuiltInTables, Ebcdic37NewLineBecomesLineFeed) {
  const KivClCodePage2UnicodeConverter converter(37);
  EXPECT_EQ(toUnicode(converter, "\x15"), u"\n");
  EXPECT_EQ(toUnicode(converter, "\xC1"), u"A");
  EXPECT_EQ(toUnicode(converter, "\x25"), u"\n");  // the line feed itself
  // The table itself keeps the new line character.
  EXPECT_EQ(bigEndian(kivGetSBCStoUCS2Table(37) + 2 * 0x15), 0x0085);
  EXPECT_KIV_NO_ERROR(converter);
}

TEST(BuiltInTables, SingleByteConversionsMatchIcuExceptTheEbcdicNewLine) {
  std::string all;
  for (unsigned int b = 0; b < 256; ++b) all += static_cast<char>(b);
  for (unsigned int ccsid : {37u, 273u, 500u, 437u, 850u, 1252u, 1250u, 819u}) {
    SCOPED_TRACE(ccsid);
    kivtest::UniqueUConverter icu = kivtest::openIcuLikeTheLibrary(ccsid);
    std::u16string expected = kivtest::icuToUnicode(icu.get(), all);
    ASSERT_EQ(expected.size(), 256u);
    if (KivClCCSID(ccsid).isEBCDIC()) {
      for (char16_t& unit : expected) {
        if (unit == 0x0085) unit = u'\n';
      }
    }
    EXPECT_EQ(toUnicode(KivClCodePage2UnicodeConverter(ccsid), all), expected);
  }
}

TEST(BuiltInTables, SingleByteConversionOfEveryLengthAndAlignment) {
  // The conversion works on eight bytes at a time with a byte-wise tail;
  // every length and start around that must give the table's units.
  std::string bytes;
  for (unsigned int i = 0; i < 64; ++i) bytes += static_cast<char>((i * 37 + 11) & 0xFF);
  for (unsigned int ccsid : {37u, 1252u}) {
    const KivClCodePage2UnicodeConverter converter(ccsid);
    const unsigned char* table = kivGetSBCStoUCS2Table(ccsid);
    for (std::size_t start = 0; start < 8; ++start) {
      for (std::size_t length = 0; length + start <= bytes.size(); ++length) {
        std::u16string expected;
        for (std::size_t i = start; i < start + length; ++i) {
          std::uint16_t unit = bigEndian(table + 2 * static_cast<unsigned char>(bytes[i]));
          if (ccsid == 37 && unit == 0x0085) unit = u'\n';
          expected += static_cast<char16_t>(unit);
        }
        std::u16string got(length, u'\0');
        ASSERT_EQ(converter.convertBytes(reinterpret_cast<char*>(got.data()), 2 * length,
                                         bytes.data() + start, length),
                  2 * length);
        ASSERT_EQ(got, expected) << ccsid << " " << start << " " << length;
      }
    }
  }
}

TEST(BuiltInTables, EbcdicDoubleByteWalksShiftOutAndShiftIn) {
  const KivClCodePage2UnicodeConverter converter(930);
  kivtest::UniqueUConverter icu = kivtest::openIcuLikeTheLibrary(930);
  const std::u16string expected = kivtest::icuToUnicode(icu.get(), "\x0E\x45\x41\x0F\xC1");
  ASSERT_EQ(expected.size(), 2u);
  EXPECT_EQ(toUnicode(converter, "\x0E\x45\x41\x0F\xC1"), expected);
  EXPECT_KIV_NO_ERROR(converter);
  // Without the closing shift-in: one unit, the source consumed, incomplete.
  const char source[] = "\x0E\x45\x41";
  const char* cursor = source;
  char target[16];
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 3), 2u);
  EXPECT_EQ(cursor, source + 3);
  std::uint16_t unit;
  std::memcpy(&unit, target, 2);
  EXPECT_EQ(unit, expected[0]);
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INCOMPLETE, USER_DATA_ERROR);
}

TEST(BuiltInTables, EbcdicDoubleByteNewLineBecomesLineFeed) {
  const KivClCodePage2UnicodeConverter converter(939);
  EXPECT_EQ(toUnicode(converter, "\x15\x25"), u"\n\n");
}

TEST(BuiltInTables, AsciiDoubleByteLeadByteLastTakesTheByteBehindTheSource) {
  const KivClCodePage2UnicodeConverter converter(301);
  // The byte behind the given size is part of the buffer, as the method
  // reads it: 0x88 0x9F is the first kanji of JIS X 0208 level 1.
  const char buffer[3] = {'A', '\x88', '\x9F'};
  const char* cursor = buffer;
  char target[8];
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 2), 4u);
  EXPECT_EQ(cursor, buffer + 3);  // one byte beyond the given size
  std::u16string units(2, u'\0');
  std::memcpy(&units[0], target, 4);
  EXPECT_EQ(units, u"A\u4E9C");
}

TEST(BuiltInTables, AsciiDoubleByteMatchesIcuOnText) {
  kivtest::UniqueUConverter icu = kivtest::openIcuLikeTheLibrary(943);
  const std::u16string text = u"Kanji \u65E5\u672C\u8A9E, kana \u30AB\u30BF\u30AB\u30CA, \uFF76\uFF85.";
  const std::string bytes = kivtest::icuFromUnicode(icu.get(), text);
  ASSERT_FALSE(bytes.empty());
  EXPECT_EQ(toUnicode(KivClCodePage2UnicodeConverter(941), bytes), text);
}

TEST(BuiltInTables, UnicodeTo500OfAnOddByteCountConvertsTheCompleteUnits) {
  const KivClUnicode2CodePageConverter converter(500);
  const std::string source = kivtest::ucs2Bytes(u"AB") + "x";
  const char* cursor = source.data();
  char target[8] = {};
  EXPECT_EQ(converter.convertBytes(target, sizeof target, &cursor, 5), 2u);
  EXPECT_EQ(cursor, source.data() + 4);
  EXPECT_EQ(std::string(target, 2), "\xC1\xC2");
  EXPECT_KIV_ERROR(converter, CPCONVERTER_INCOMPLETE, USER_DATA_ERROR);
}

TEST(BuiltInTables, CodePageToCodePageThroughTwoTables) {
  // 37 to UCS-2 by its table, UCS-2 to 500 by the reverse table.
  const KivClCodePage2CodePageConverter converter(37, 500);
  kivtest::UniqueUConverter icu37 = kivtest::openIcuLikeTheLibrary(37);
  kivtest::UniqueUConverter icu500 = kivtest::openIcuLikeTheLibrary(500);
  std::string all;
  for (unsigned int b = 0; b < 256; ++b) all += static_cast<char>(b);
  std::u16string text = kivtest::icuToUnicode(icu37.get(), all);
  for (char16_t& unit : text) {
    if (unit == 0x0085) unit = u'\n';
  }
  EXPECT_EQ(kivtest::convertAll(converter, all), kivtest::icuFromUnicode(icu500.get(), text));
  EXPECT_KIV_NO_ERROR(converter);
}

}  // namespace
