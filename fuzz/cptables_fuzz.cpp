// Fuzz target of the conversions by the built-in tables.
//
// Input: a table byte, then the source.
//   table % 62   one of the 49 single-byte tables, the 11 double-byte tables
//                or the UCS-2 to 500 and to 850 tables
// The source goes through the converter the library chooses for that CCSID
// (which must be the table method), in an exact-size heap copy, so that the
// sanitizers see any read beyond it. The double-byte ASCII walk reads the
// byte behind a lead byte in the last position on purpose: there the copy
// has one byte more, the last byte of the input, not counted in the size.
// The output must equal a plain walk over the table data written here, the
// source must be consumed as the method says, and an incomplete input must
// be reported.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <vector>

#include "../codepage/kiv_cptables.hpp"
#include "kiv_converter.hpp"
#include "kiv_fuzz_support.hpp"

namespace {

using kiv::detail::gs_castConversionTablesSBCS2UCS2;
using kiv::detail::gs_castDBCSConversionTableEntries;

constexpr std::size_t kSingle = std::size(gs_castConversionTablesSBCS2UCS2);
constexpr std::size_t kDouble = std::size(gs_castDBCSConversionTableEntries);

std::uint16_t bigEndian(const unsigned char* p) {
  return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}

// A heap copy of exactly `size` bytes, without a terminator.
std::unique_ptr<char[]> exactBytes(const std::uint8_t* data, std::size_t size) {
  std::unique_ptr<char[]> copy(new char[size]);
  if (size > 0) std::memcpy(copy.get(), data, size);
  return copy;
}

std::uint16_t newLineRule(std::uint16_t unit) { return unit == 0x0085 ? 0x000A : unit; }

std::uint16_t pairValue(const _KivStDBCSConversionTableEntry& entry, unsigned char lead,
                        unsigned char trail) {
  const unsigned int ward = entry.aucWardNumbers[lead];
  if (ward == 0 || ward > entry.ulBlockCount) return 0xFFFD;
  return bigEndian(entry.pucWardData + (ward - 1) * 512 + 2 * trail);
}

std::vector<std::uint16_t> unitsOf(const std::vector<char>& bytes, unsigned long written) {
  std::vector<std::uint16_t> units(written / 2);
  if (!units.empty()) std::memcpy(units.data(), bytes.data(), written);
  return units;
}

void checkSingleByte(const _KivStConversionTableSBCS2UCS2& table, const std::uint8_t* data,
                     std::size_t size) {
  const KivClCodePage2UnicodeConverter converter(table.ulCCSID);
  const bool ebcdic = KivClCCSID(table.ulCCSID).isEBCDIC();
  KIV_FUZZ_CHECK(converter.getMethod() == (ebcdic ? &kivConvertByTablesSBCS_EBCDICtoUCS2
                                                  : &kivConvertByTablesSBCS_ASCIItoUCS2));
  const std::unique_ptr<char[]> source = exactBytes(data, size);
  std::vector<char> target(2 * size + 1);
  const char* cursor = source.get();
  const unsigned long written = converter.convertBytes(target.data(), target.size(), &cursor, size);
  KIV_FUZZ_CHECK(written == 2 * size);
  KIV_FUZZ_CHECK(cursor == source.get() + size);
  const std::vector<std::uint16_t> units = unitsOf(target, written);
  for (std::size_t i = 0; i < size; ++i) {
    std::uint16_t expected = bigEndian(table.aucValues + 2 * data[i]);
    if (ebcdic) expected = newLineRule(expected);
    KIV_FUZZ_CHECK(units[i] == expected);
  }
}

void checkDoubleByte(const _KivStDBCSConversionTableEntry& entry, const std::uint8_t* data,
                     std::size_t size) {
  const KivClCodePage2UnicodeConverter converter(entry.ulCCSID);
  const bool ebcdic = entry.ucIsEBCDIC != 0;
  KIV_FUZZ_CHECK(converter.getMethod() == (ebcdic ? &kivConvertByTablesDBCS_EBCDICtoUCS2
                                                  : &kivConvertByTablesDBCS_ASCIItoUCS2));
  // The ASCII walk may read one byte behind the size: give it the last
  // input byte there.
  const std::size_t given = !ebcdic && size > 0 ? size - 1 : size;
  const std::unique_ptr<char[]> source = exactBytes(data, size);
  std::vector<char> target(2 * size + 2);
  const char* cursor = source.get();
  const unsigned long written =
      converter.convertBytes(target.data(), target.size(), &cursor, given);
  const std::vector<std::uint16_t> units = unitsOf(target, written);

  std::vector<std::uint16_t> expected;
  std::size_t consumed = 0;
  bool incomplete = false;
  if (ebcdic) {
    bool doubleByte = false;
    std::size_t i = 0;
    while (i < given) {
      const unsigned char byte = data[i++];
      if (!doubleByte) {
        if (byte == 0x0E) {
          doubleByte = true;
        } else {
          expected.push_back(newLineRule(bigEndian(entry.pucWardData + 512 + 2 * byte)));
        }
      } else if (byte == 0x0F) {
        doubleByte = false;
      } else if (i < given) {
        expected.push_back(newLineRule(pairValue(entry, byte, data[i++])));
      } else {
        break;
      }
    }
    incomplete = doubleByte;
    consumed = given;
  } else {
    std::size_t i = 0;
    while (i < given) {
      const unsigned char byte = data[i];
      if (entry.pucLeadBytes[byte] != 0) {
        expected.push_back(pairValue(entry, byte, data[i + 1]));
        i += 2;
      } else {
        expected.push_back(bigEndian(entry.pucWardData + 512 + 2 * byte));
        ++i;
      }
    }
    consumed = i;
  }
  KIV_FUZZ_CHECK(units == expected);
  KIV_FUZZ_CHECK(cursor == source.get() + consumed);
  KIV_FUZZ_CHECK((converter.getLastError().id == KIV_CPCONVERTER_INCOMPLETE) == incomplete);
  KIV_FUZZ_CHECK(incomplete || converter.getLastError().id == 0);
}

void checkReverse(unsigned int ccsid, const std::uint8_t* data, std::size_t size) {
  const KivClUnicode2CodePageConverter converter(ccsid);
  KIV_FUZZ_CHECK(converter.getMethod() == &kivConvertByTablesUCS2toSBCS);
  const unsigned char* table = kivGetUCS2toSBCSTable(ccsid);
  const std::unique_ptr<char[]> source = exactBytes(data, size);
  std::vector<char> target(size / 2 + 1);
  const char* cursor = source.get();
  const unsigned long written = converter.convertBytes(target.data(), target.size(), &cursor, size);
  KIV_FUZZ_CHECK(written == size / 2);
  KIV_FUZZ_CHECK(cursor == source.get() + 2 * (size / 2));
  for (std::size_t i = 0; i < size / 2; ++i) {
    std::uint16_t unit;
    std::memcpy(&unit, data + 2 * i, sizeof unit);
    KIV_FUZZ_CHECK(static_cast<unsigned char>(target[i]) ==
                   table[table[unit >> 8] * 256u + (unit & 0xFFu)]);
  }
  KIV_FUZZ_CHECK((converter.getLastError().id == KIV_CPCONVERTER_INCOMPLETE) == (size % 2 != 0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t which = data[0] % (kSingle + kDouble + 2);
  ++data;
  --size;
  if (which < kSingle) {
    checkSingleByte(gs_castConversionTablesSBCS2UCS2[which], data, size);
  } else if (which < kSingle + kDouble) {
    checkDoubleByte(gs_castDBCSConversionTableEntries[which - kSingle], data, size);
  } else {
    checkReverse(which == kSingle + kDouble ? 500 : 850, data, size);
  }
  return 0;
}
