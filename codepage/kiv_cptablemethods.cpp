// The conversion methods that use the built-in tables. The method data of
// the converter is the table. Table values are big-endian; output UCS-2 is
// written in host byte order. None of the methods to UCS-2 looks at the
// target size: the caller provides two bytes per source byte.
#include <cstdint>
#include <cstring>

#include "kiv_converter.hpp"
#include "kiv_cptables.hpp"

#include <iterator>

namespace {

constexpr unsigned int kBlockBytes = 512;
constexpr std::uint16_t kEbcdicNewLine = 0x0085;
constexpr std::uint16_t kLineFeed = 0x000A;
constexpr std::uint16_t kReplacement = 0xFFFD;
constexpr unsigned char kShiftOut = 0x0E;
constexpr unsigned char kShiftIn = 0x0F;

std::uint16_t bigEndianValue(const unsigned char* p) {
  return static_cast<std::uint16_t>((p[0] << 8) | p[1]);
}

char* storeUnit(char* target, std::uint16_t unit) {
  std::memcpy(target, &unit, sizeof unit);
  return target + sizeof unit;
}

// The value of trail byte `trail` in the block of lead byte `lead`; a lead
// byte whose ward number lies outside the data gives U+FFFD rather than a
// read beyond the table.
std::uint16_t doubleByteValue(const _KivStDBCSConversionTableEntry& table, unsigned char lead,
                              unsigned char trail) {
  const unsigned int ward = table.aucWardNumbers[lead];
  if (ward == 0 || ward > table.ulBlockCount) return kReplacement;
  return bigEndianValue(table.pucWardData + (ward - 1) * kBlockBytes + 2u * trail);
}

std::uint16_t singleByteValue(const _KivStDBCSConversionTableEntry& table, unsigned char byte) {
  return bigEndianValue(table.pucWardData + kBlockBytes + 2u * byte);
}

// Host-order copies of the built-in single-byte tables, made once, at the
// first single-byte conversion: converting is then one load and one store
// per byte, with no byte swap. The EBCDIC copies have the new line already
// written as a line feed.
struct HostOrderTables {
  std::uint16_t plain[std::size(kiv::detail::gs_castConversionTablesSBCS2UCS2)][256];
  std::uint16_t ebcdic[std::size(kiv::detail::gs_castConversionTablesSBCS2UCS2)][256];

  HostOrderTables() {
    const auto& tables = kiv::detail::gs_castConversionTablesSBCS2UCS2;
    for (std::size_t t = 0; t < std::size(tables); ++t) {
      for (unsigned int b = 0; b < 256; ++b) {
        const std::uint16_t unit = bigEndianValue(tables[t].aucValues + 2 * b);
        plain[t][b] = unit;
        ebcdic[t][b] = unit == kEbcdicNewLine ? kLineFeed : unit;
      }
    }
  }
};

// The host-order copy of `table` when it is one of the built-in tables, or
// null for a table from elsewhere.
const std::uint16_t* hostOrderCopy(const unsigned char* table, bool ebcdic) {
  const auto& tables = kiv::detail::gs_castConversionTablesSBCS2UCS2;
  const auto first = reinterpret_cast<std::uintptr_t>(tables[0].aucValues);
  const auto at = reinterpret_cast<std::uintptr_t>(table);
  if (at < first) return nullptr;
  const std::uintptr_t offset = at - first;
  const std::size_t index = offset / sizeof tables[0];
  if (offset % sizeof tables[0] != 0 || index >= std::size(tables)) return nullptr;
  static const HostOrderTables copies;
  return ebcdic ? copies.ebcdic[index] : copies.plain[index];
}

unsigned long convertSingleBytes(KivClConverterABase::_KivStConverter& record, bool ebcdic) {
  const auto* table = static_cast<const unsigned char*>(record.pConverter->getMethodData());
  const auto* source = reinterpret_cast<const unsigned char*>(*record.ppSource);
  const unsigned long size = record.ulSourceSize;
  char* target = record.pTarget;
  if (const std::uint16_t* units = hostOrderCopy(table, ebcdic)) {
    unsigned long i = 0;
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    // Eight bytes at a time, their units gathered into two 64-bit stores:
    // one store per byte is what limits the plain loop.
    for (; i + 8 <= size; i += 8) {
      std::uint64_t bytes;
      std::memcpy(&bytes, source + i, sizeof bytes);
      std::uint64_t low = 0;
      std::uint64_t high = 0;
      for (unsigned int k = 0; k < 4; ++k) {
        low |= static_cast<std::uint64_t>(units[(bytes >> (8 * k)) & 0xFF]) << (16 * k);
        high |= static_cast<std::uint64_t>(units[(bytes >> (8 * k + 32)) & 0xFF]) << (16 * k);
      }
      std::memcpy(target + 2 * i, &low, sizeof low);
      std::memcpy(target + 2 * i + 8, &high, sizeof high);
    }
#endif
    for (; i < size; ++i) storeUnit(target + 2 * i, units[source[i]]);
  } else {
    for (unsigned long i = 0; i < size; ++i) {
      std::uint16_t unit = bigEndianValue(table + 2u * source[i]);
      if (ebcdic && unit == kEbcdicNewLine) unit = kLineFeed;
      storeUnit(target + 2 * i, unit);
    }
  }
  *record.ppSource += size;
  return 2 * size;
}

}  // namespace

unsigned long kivConvertByTablesSBCS_ASCIItoUCS2(KivClConverterABase::_KivStConverter& record) {
  return convertSingleBytes(record, false);
}

unsigned long kivConvertByTablesSBCS_EBCDICtoUCS2(KivClConverterABase::_KivStConverter& record) {
  return convertSingleBytes(record, true);
}

unsigned long kivConvertByTablesDBCS_ASCIItoUCS2(KivClConverterABase::_KivStConverter& record) {
  const auto& table =
      *static_cast<const _KivStDBCSConversionTableEntry*>(record.pConverter->getMethodData());
  const auto* source = reinterpret_cast<const unsigned char*>(*record.ppSource);
  char* target = record.pTarget;
  unsigned long i = 0;
  while (i < record.ulSourceSize) {
    const unsigned char byte = source[i];
    if (table.pucLeadBytes[byte] != 0) {
      // A lead byte in the last position takes the byte behind the source
      // as its trail byte, and consumes it.
      target = storeUnit(target, doubleByteValue(table, byte, source[i + 1]));
      i += 2;
    } else {
      target = storeUnit(target, singleByteValue(table, byte));
      ++i;
    }
  }
  *record.ppSource += i;
  return static_cast<unsigned long>(target - record.pTarget);
}

unsigned long kivConvertByTablesDBCS_EBCDICtoUCS2(KivClConverterABase::_KivStConverter& record) {
  const auto& table =
      *static_cast<const _KivStDBCSConversionTableEntry*>(record.pConverter->getMethodData());
  const auto* source = reinterpret_cast<const unsigned char*>(*record.ppSource);
  char* target = record.pTarget;
  bool doubleByte = false;  // every call starts in single-byte state
  unsigned long i = 0;
  while (i < record.ulSourceSize) {
    const unsigned char byte = source[i++];
    std::uint16_t unit;
    if (!doubleByte) {
      if (byte == kShiftOut) {
        doubleByte = true;
        continue;
      }
      unit = singleByteValue(table, byte);
    } else {
      if (byte == kShiftIn) {
        doubleByte = false;
        continue;
      }
      // Unlike the ASCII walk this one never reads behind the source: a
      // lead byte without its trail byte ends the input incomplete.
      if (i == record.ulSourceSize) break;
      unit = doubleByteValue(table, byte, source[i++]);
    }
    target = storeUnit(target, unit == kEbcdicNewLine ? kLineFeed : unit);
  }
  if (doubleByte) {
    record.pConverter->setError(KIV_CPCONVERTER_INCOMPLETE, KivEnErrorClass::USER_DATA_ERROR);
  }
  *record.ppSource += record.ulSourceSize;
  return static_cast<unsigned long>(target - record.pTarget);
}

unsigned long kivConvertByTablesUCS2toSBCS(KivClConverterABase::_KivStConverter& record) {
  if (record.ulSourceSize % 2 != 0) {
    record.pConverter->setError(KIV_CPCONVERTER_INCOMPLETE, KivEnErrorClass::USER_DATA_ERROR);
  }
  const auto* table = static_cast<const unsigned char*>(record.pConverter->getMethodData());
  const char* source = *record.ppSource;
  const unsigned long units = record.ulSourceSize / 2;
  for (unsigned long i = 0; i < units; ++i) {
    std::uint16_t unit;
    std::memcpy(&unit, source + 2 * i, sizeof unit);
    record.pTarget[i] =
        static_cast<char>(table[table[unit >> 8] * 256u + (unit & 0xFFu)]);
  }
  *record.ppSource += 2 * units;
  return units;
}
