/// \file
/// KIV Library: coded character set identifiers (CCSIDs).
///
/// A CCSID is the number by which the library names a code page. `KivClCCSID`
/// holds one such number together with its row in the library's constant
/// table of 430 known CCSIDs (429 code pages and a sentinel row 0, CCSID 0,
/// name "???", no properties, which stands for every unknown number). A row
/// gives the code page's name and its properties: ASCII- or EBCDIC-based,
/// single-byte (SBCS), double-byte (DBCS, which includes mixed and multi-byte
/// sets) or UCS-2. The converters ask these questions before they choose a
/// conversion method.
///
/// The row is looked up lazily: a CCSID made from a number finds its row by
/// binary search the first time a query needs it, and keeps it.
///
/// Deliberate behaviour, kept as it is:
/// - Names are not unique. Extended CCSIDs carry the name of their base code
///   page (4133 is "037"), and several rows share a name ("UCS-2" is 13488,
///   17584 and 61955). Text is matched to the FIRST row of that name in
///   ascending CCSID order, so "UCS-2" gives 13488 and "437" gives 437.
/// - Text that is neither a number nor a known name keeps the number found
///   behind its first digit ("CP850" is 850, "ISO-8859-1" is 8859) but is
///   always invalid, even when that number is in the table: the text did not
///   name a code page the library knows.
/// - 65501 and 13488 are the same code page and compare equal; 65500 (UCS-2
///   big-endian) equals neither. 1200, 17584 and 61955 are UCS-2 in host byte
///   order too, yet compare equal only to themselves.
/// - The library runs on little-endian hosts only: every UCS-2 CCSID except
///   65500 is UCS-2 in host (little-endian) byte order.
/// - The system CCSID is asked of ICU once per process and then cached; later
///   changes of the locale or of ICU's default code page are not seen. The
///   name of ICU's default code page is taken from ICU's public
///   `ucnv_getDefaultName()` (ICU's internal default-code-page query is not
///   part of its interface). The name is opened with `ucnv_open` and its
///   CCSID read with `ucnv_getCCSID`; when ICU cannot name or open it, or
///   reports -1, the system CCSID is 1208 (UTF-8). A build without ICU
///   always reports 1208. Note that ICU builds for Linux treat UTF-8 as the
///   platform's only charset: there `ucnv_getDefaultName()` is "UTF-8"
///   whatever the locale, so the system CCSID is 1208.
///
/// Ownership: a `KivClCCSID` is a small value (a number and a pointer into the
/// constant table); names returned point into that table and live as long as
/// the program. Failure: nothing throws and nothing keeps an error record; an
/// unknown CCSID is simply invalid, named "???" and without properties.
/// Thread safety: the table is constant. The lazy lookup writes the object's
/// own row pointer, so one object shared between threads needs the caller's
/// lock (or a query made once before sharing it); distinct objects are
/// independent. The cached system CCSID is set without a lock: two threads
/// asking for it first at the same time both ask ICU and store the same value.
#ifndef KIV_CCSID_HPP
#define KIV_CCSID_HPP

#include <cstdint>
#include <type_traits>

#include "kiv_export.hpp"

/// CCSID numbers that the library refers to by name. Any other CCSID is
/// written as its number: a `KivEnCCSID` may hold any 32-bit value.
enum KivEnCCSID : std::uint32_t {
  KIV_CCSID_NONE = 0,                    ///< no CCSID
  KIV_CCSID_EBCDIC_037 = 37,             ///< EBCDIC, US and Canada
  KIV_CCSID_EBCDIC_500 = 500,            ///< EBCDIC, international Latin-1
  KIV_CCSID_ISO8859_1 = 819,             ///< ISO 8859-1 (Latin-1)
  KIV_CCSID_PC_850 = 850,                ///< PC code page 850 (multilingual Latin-1)
  KIV_CCSID_UCS2_1200 = 1200,            ///< "ISO10646-1": UCS-2 in host byte order
  KIV_CCSID_UTF8 = 1208,                 ///< UTF-8
  KIV_CCSID_GB18030 = 1392,              ///< GB 18030
  KIV_CCSID_UCS2 = 13488,                ///< UCS-2 in host byte order: the converters' pivot
  KIV_CCSID_UCS2_17584 = 17584,          ///< UCS-2 in host byte order
  KIV_CCSID_UCS2_61955 = 61955,          ///< UCS-2 in host byte order
  KIV_CCSID_UCS2_BIG_ENDIAN = 65500,     ///< UCS-2, always big-endian
  KIV_CCSID_UCS2_LITTLE_ENDIAN = 65501,  ///< UCS-2, always little-endian; equal to 13488
};

/// One row of the constant CCSID table (defined inside the library).
struct _KivStCCSIDEntry;

/// A CCSID number and, once a query needed it, its row of the CCSID table.
class KIV_EXPORT KivClCCSID {
 public:
  /// The CCSID `ccsid`; its row is looked up when first needed.
  KivClCCSID(KivEnCCSID ccsid = KIV_CCSID_NONE) noexcept  // NOLINT: converts on purpose
      : m_ulCCSID(ccsid) {}
  /// Any CCSID number (converts implicitly, like the enumeration).
  template <typename Integer, std::enable_if_t<std::is_integral_v<Integer>, int> = 0>
  KivClCCSID(Integer ccsid) noexcept  // NOLINT: converts on purpose
      : m_ulCCSID(static_cast<std::uint32_t>(ccsid)) {}

  /// The CCSID named by `text`:
  /// 1. text beginning with a decimal digit: the number `atoi(text)`, its row
  ///    looked up at once ("819" is 819);
  /// 2. else the first row, in ascending CCSID order, whose name equals the
  ///    text without regard to case (strcmpi): "UTF-8" is 1208, "iso8859-1"
  ///    819, "UCS-2" 13488, "UCS-2B" 65500, "037" 4133;
  /// 3. else the number behind the text's first digit (0 when it has none),
  ///    and the object is invalid whatever that number is ("CP850": 850,
  ///    invalid).
  /// A null text is the empty text: CCSID 0, invalid.
  explicit KivClCCSID(const char* text) noexcept;

  /// The CCSID number.
  std::uint32_t getCCSID() const noexcept { return m_ulCCSID; }

  /// Looks up the row of the number if that has not happened yet: the row
  /// found by binary search, or the sentinel row for an unknown number.
  /// Every query below does this first.
  void determineProperties() const noexcept;

  /// True when the number is not 0 and has a row of its own (text that named
  /// no known code page is never valid, see the text constructor).
  bool isValid() const noexcept;
  /// The row's name: mostly the number in decimal ("850"), the base code
  /// page's number for extended CCSIDs (4133: "037"), or a character-set
  /// name ("UTF-8", "ISO8859-1"); "???" for an invalid CCSID. Never null.
  const char* getName() const noexcept;
  /// ASCII-based code page.
  bool isASCII() const noexcept;
  /// EBCDIC-based code page.
  bool isEBCDIC() const noexcept;
  /// Single-byte code page.
  bool isSBCS() const noexcept;
  /// Double-byte code page (including mixed single/double-byte and
  /// multi-byte sets such as GB 18030).
  bool isDBCS() const noexcept;
  /// One of the six UCS-2 CCSIDs.
  bool isUCS2() const noexcept;
  /// The number is 65500 (UCS-2, big-endian). Needs no row.
  bool isUCS2BigEndian() const noexcept;
  /// The number is 65501, 13488, 17584, 1200 or 61955. Needs no row.
  bool isUCS2LittleEndian() const noexcept;
  /// The same as isUCS2LittleEndian(): this library runs on little-endian
  /// hosts only.
  bool isUCS2HostEndian() const noexcept;

  /// Equal numbers, or equal after 65501 is replaced by 13488 on both sides.
  bool operator==(KivEnCCSID other) const noexcept;
  /// The same comparison with the number of `other`.
  bool operator==(const KivClCCSID& other) const noexcept {
    return *this == static_cast<KivEnCCSID>(other.m_ulCCSID);
  }
  /// Not operator==.
  bool operator!=(KivEnCCSID other) const noexcept { return !(*this == other); }
  /// Not operator==.
  bool operator!=(const KivClCCSID& other) const noexcept { return !(*this == other); }

  /// The CCSID for a UCS-2 byte-order mark: 65500 when `id` begins with the
  /// bytes 0xFE 0xFF, 65501 when it begins with 0xFF 0xFE, else 0 (also for
  /// a null id). `id` must hold two bytes or end (NUL) before them.
  static KivEnCCSID getCCSIDForUCS2EndianId(const char* id) noexcept;

  /// The CCSID of the running system; the same as getConsoleCCSID().
  static KivEnCCSID getSystemCCSID() noexcept;
  /// The CCSID of ICU's default code page (see the banner), determined on
  /// the first call and cached for the life of the process;
  /// 1208 (UTF-8) when ICU cannot name or open that code page (see the
  /// banner). An ICU converter whose CCSID is 0 gives 0, which is not
  /// cached.
  static KivEnCCSID getConsoleCCSID() noexcept;

 private:
  std::uint32_t m_ulCCSID;
  /// null until resolved; then the row found, or the sentinel row
  mutable const _KivStCCSIDEntry* m_pstEntry = nullptr;
};

#endif
