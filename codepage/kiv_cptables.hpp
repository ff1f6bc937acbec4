// The built-in conversion tables and their lookups (private to the library).
//
// Three families of constant tables serve the commonest code pages without
// ICU or iconv:
//   - single-byte code page to UCS-2: 256 big-endian UCS-2 values per CCSID;
//   - double-byte code page to UCS-2: per CCSID a ward number for every
//     lead byte, the ward data (blocks of 256 big-endian UCS-2 values,
//     counted from 0: the characters of lead byte b are in block
//     ward[b] - 1, and block 1 holds the single-byte characters) and, for
//     ASCII-based code pages, a table that marks the lead bytes;
//   - UCS-2 to single-byte: two levels of 256-byte pages (page 0 gives, per
//     high byte of a unit, the page that holds the results for its low byte).
// The lookups binary-search these tables by CCSID and answer null for a
// CCSID without a table. The table data lives in tables/, written by
// scripts/gen_cptables.py from the mapping data installed on the machine
// that ran it; tables/README.md names the source of every table.
#ifndef KIV_CPTABLES_HPP
#define KIV_CPTABLES_HPP

#include <cstddef>
#include <cstdint>

/// A single-byte code page to UCS-2.
struct _KivStConversionTableSBCS2UCS2 {
  /// the CCSID the table serves
  std::uint32_t ulCCSID;
  /// the UCS-2 value of every byte 0x00 to 0xFF, each high byte first
  unsigned char aucValues[512];
};

/// A double-byte (mixed) code page to UCS-2.
struct _KivStDBCSConversionTableEntry {
  /// the CCSID the table serves
  std::uint32_t ulCCSID;
  /// 1 for an EBCDIC code page (shift-out/shift-in), 0 for an ASCII one
  unsigned char ucIsEBCDIC;
  /// per byte value b: the 1-based number of the 512-byte ward block that
  /// holds the characters with lead byte b
  unsigned char aucWardNumbers[256];
  /// number of 512-byte blocks at pucWardData
  std::uint32_t ulBlockCount;
  /// ulBlockCount blocks of 256 big-endian UCS-2 values, counted from 0;
  /// block 1 (bytes 512 to 1023) holds the single bytes
  const unsigned char* pucWardData;
  /// per byte value: non-zero for a lead byte (ASCII-based code pages only)
  const unsigned char* pucLeadBytes;
};

/// A UCS-2 to single-byte table of its CCSID.
struct _KivStConversionTableUCS22SBCS {
  /// the CCSID the table serves
  std::uint32_t ulCCSID;
  /// the two-level table: page 0, then the pages it refers to
  const unsigned char* pucTable;
};

namespace kiv::detail {

/// The 49 single-byte tables, the 11 double-byte tables, and the UCS-2 to
/// 500 and to 850 tables, each family sorted by ascending CCSID.
extern const _KivStConversionTableSBCS2UCS2 gs_castConversionTablesSBCS2UCS2[49];
extern const _KivStDBCSConversionTableEntry gs_castDBCSConversionTableEntries[11];
extern const unsigned char gs_acConversionTable_13488_to_500[];
extern const unsigned char gs_acConversionTable_13488_to_850[];

/// The same families as the lookups search them, with their counts.
extern const _KivStConversionTableSBCS2UCS2* const gs_pcastConversionTablesSBCS2UCS2;
extern const std::size_t gs_ulConversionTablesSBCS2UCS2Count;
extern const _KivStDBCSConversionTableEntry* const gs_pcastDBCSConversionTableEntries;
extern const std::size_t gs_ulDBCSConversionTableEntriesCount;
extern const _KivStConversionTableUCS22SBCS* const gs_pcastConversionTablesUCS22SBCS;
extern const std::size_t gs_ulConversionTablesUCS22SBCSCount;

}  // namespace kiv::detail

/// bsearch comparisons of two entries by their 32-bit CCSID fields.
int kivCompareConversionTableEntriesSBCS2UCS2(const void* a, const void* b);
int kivCompareConversionTableEntriesDBCS2UCS2(const void* a, const void* b);

/// The 512-byte value array of the single-byte table of `ccsid`, or null.
const unsigned char* kivGetSBCStoUCS2Table(unsigned int ccsid);
/// The double-byte table entry of `ccsid` with `isEBCDIC` set from its
/// flag, or null with `isEBCDIC` left unchanged.
const _KivStDBCSConversionTableEntry* kivGetDBCStoUCS2Table(unsigned int ccsid, bool& isEBCDIC);
/// The two-level UCS-2 to single-byte table of `ccsid`, or null.
const unsigned char* kivGetUCS2toSBCSTable(unsigned int ccsid);

#endif
