// KivClCCSID: the lazy row lookup, parsing of CCSID texts, the queries and
// the system CCSID taken from ICU.
#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "kiv_base.hpp"
#include "kiv_ccsid.hpp"
#include "kiv_ccsid_table.hpp"
#include "kiv_config.hpp"
#include "kiv_converter.hpp"

#if KIV_HAVE_ICU
#include <unicode/ucnv.h>
#endif

using kiv::detail::gs_castCSIDDatabase;
using kiv::detail::kCCSIDTableSize;

namespace {

const _KivStCCSIDEntry* const gs_pstSentinel = &gs_castCSIDDatabase[0];

/// The CCSID used when ICU cannot tell the system's code page.
constexpr std::uint32_t kFallbackSystemCCSID = KIV_CCSID_UTF8;

/// The cached system CCSID; 0 until determined. Relaxed atomics: every
/// thread that races on the first call computes and stores the same value.
std::atomic<std::uint32_t> cv_ulSystemCCSID{0};

/// Compares the CCSID fields of two rows, for bsearch.
int kivCompareCCSIDNameEntries(const void* a, const void* b) {
  const std::uint32_t left = static_cast<const _KivStCCSIDEntry*>(a)->ulCCSID;
  const std::uint32_t right = static_cast<const _KivStCCSIDEntry*>(b)->ulCCSID;
  return left < right ? -1 : (left > right ? 1 : 0);
}

/// The row of `ccsid`, or the sentinel row. Row 0 is the sentinel and
/// stays out of the search: its CCSID 0 is "unknown", not a code page.
const _KivStCCSIDEntry* findEntry(std::uint32_t ccsid) {
  const _KivStCCSIDEntry key{ccsid, nullptr, 0};
  const void* found = std::bsearch(&key, gs_castCSIDDatabase + 1, kCCSIDTableSize - 1,
                                   sizeof(_KivStCCSIDEntry), kivCompareCCSIDNameEntries);
  return found != nullptr ? static_cast<const _KivStCCSIDEntry*>(found) : gs_pstSentinel;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// The decimal number at the start of `text` (atoi of a text that begins
/// with a digit). Numbers beyond 32 bits saturate at 0xFFFFFFFF, which no
/// row has, instead of wrapping round to some real CCSID.
std::uint32_t parseNumber(const char* text) {
  std::uint64_t value = 0;
  for (; isDigit(*text); ++text) {
    value = value * 10 + static_cast<std::uint64_t>(*text - '0');
    if (value > 0xFFFFFFFFu) return 0xFFFFFFFFu;
  }
  return static_cast<std::uint32_t>(value);
}

/// 65501 (UCS-2 little-endian) is the same code page as 13488 (UCS-2).
std::uint32_t canonicalForEquality(std::uint32_t ccsid) {
  return ccsid == KIV_CCSID_UCS2_LITTLE_ENDIAN ? static_cast<std::uint32_t>(KIV_CCSID_UCS2) : ccsid;
}

}  // namespace

KivClCCSID::KivClCCSID(const char* text) noexcept : m_ulCCSID(0) {
  if (text == nullptr) text = "";
  if (isDigit(*text)) {
    m_ulCCSID = parseNumber(text);
    m_pstEntry = findEntry(m_ulCCSID);
    return;
  }
  // Names repeat (extended CCSIDs carry their base code page's name), so the
  // FIRST matching row in ascending order wins.
  for (const _KivStCCSIDEntry& row : gs_castCSIDDatabase) {
    if (strcmpi(row.pszName, text) == 0) {
      m_ulCCSID = row.ulCCSID;
      m_pstEntry = &row;
      return;
    }
  }
  // Not a known name: keep the number the text carries, but never call it
  // valid, whatever that number is.
  const char* digits = text;
  while (*digits != '\0' && !isDigit(*digits)) ++digits;
  m_ulCCSID = parseNumber(digits);
  m_pstEntry = gs_pstSentinel;
}

void KivClCCSID::determineProperties() const noexcept {
  if (m_pstEntry == nullptr) m_pstEntry = findEntry(m_ulCCSID);
}

bool KivClCCSID::isValid() const noexcept {
  determineProperties();
  return m_ulCCSID != 0 && m_pstEntry != gs_pstSentinel;
}

const char* KivClCCSID::getName() const noexcept {
  determineProperties();
  return m_pstEntry->pszName;
}

bool KivClCCSID::isASCII() const noexcept {
  determineProperties();
  return (m_pstEntry->ulProperties & kiv::detail::kCCSIDASCII) != 0;
}

bool KivClCCSID::isEBCDIC() const noexcept {
  determineProperties();
  return (m_pstEntry->ulProperties & kiv::detail::kCCSIDEBCDIC) != 0;
}

bool KivClCCSID::isSBCS() const noexcept {
  determineProperties();
  return (m_pstEntry->ulProperties & kiv::detail::kCCSIDSBCS) != 0;
}

bool KivClCCSID::isDBCS() const noexcept {
  determineProperties();
  return (m_pstEntry->ulProperties & kiv::detail::kCCSIDDBCS) != 0;
}

bool KivClCCSID::isUCS2() const noexcept {
  determineProperties();
  return (m_pstEntry->ulProperties & kiv::detail::kCCSIDUCS2) != 0;
}

bool KivClCCSID::isUCS2BigEndian() const noexcept { return m_ulCCSID == KIV_CCSID_UCS2_BIG_ENDIAN; }

bool KivClCCSID::isUCS2LittleEndian() const noexcept {
  switch (m_ulCCSID) {
    case KIV_CCSID_UCS2_LITTLE_ENDIAN:
    case KIV_CCSID_UCS2:
    case KIV_CCSID_UCS2_17584:
    case KIV_CCSID_UCS2_1200:
    case KIV_CCSID_UCS2_61955:
      return true;
    default:
      return false;
  }
}

bool KivClCCSID::isUCS2HostEndian() const noexcept {
  // Only little-endian hosts run this library.
  return isUCS2LittleEndian();
}

bool KivClCCSID::operator==(KivEnCCSID other) const noexcept {
  return m_ulCCSID == other || canonicalForEquality(m_ulCCSID) == canonicalForEquality(other);
}

KivEnCCSID KivClCCSID::getCCSIDForUCS2EndianId(const char* id) noexcept {
  if (id == nullptr) return KIV_CCSID_NONE;
  if (KivClConverterABase::isUCS2BigEndianId(id)) return KIV_CCSID_UCS2_BIG_ENDIAN;
  if (KivClConverterABase::isUCS2LittleEndianId(id)) return KIV_CCSID_UCS2_LITTLE_ENDIAN;
  return KIV_CCSID_NONE;
}

KivEnCCSID KivClCCSID::getSystemCCSID() noexcept { return getConsoleCCSID(); }

KivEnCCSID KivClCCSID::getConsoleCCSID() noexcept {
  std::uint32_t ccsid = cv_ulSystemCCSID.load(std::memory_order_relaxed);
  if (ccsid != 0) return static_cast<KivEnCCSID>(ccsid);
  ccsid = kiv::detail::ccsidOfIcuCodePage(kiv::detail::gs_pfuDefaultCodePageName());
  cv_ulSystemCCSID.store(ccsid, std::memory_order_relaxed);
  return static_cast<KivEnCCSID>(ccsid);
}

namespace {

/// ICU's public name of its default code page.
const char* icuDefaultCodePageName() {
#if KIV_HAVE_ICU
  return ucnv_getDefaultName();
#else
  return nullptr;
#endif
}

}  // namespace

kiv::detail::DefaultCodePageNameSource kiv::detail::gs_pfuDefaultCodePageName =
    icuDefaultCodePageName;

void kiv::detail::forgetSystemCCSID() noexcept {
  cv_ulSystemCCSID.store(0, std::memory_order_relaxed);
}

std::uint32_t kiv::detail::ccsidOfIcuCodePage(const char* codePageName) noexcept {
#if KIV_HAVE_ICU
  // ucnv_open(null) would open ICU's default converter instead of
  // reporting that there is no name.
  if (codePageName == nullptr || *codePageName == '\0') return kFallbackSystemCCSID;
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(codePageName, &status);
  if (U_FAILURE(status) || converter == nullptr) return kFallbackSystemCCSID;
  const std::int32_t ccsid = ucnv_getCCSID(converter, &status);
  ucnv_close(converter);
  if (U_FAILURE(status) || ccsid == -1) return kFallbackSystemCCSID;
  return static_cast<std::uint32_t>(ccsid);
#else
  (void)codePageName;
  return kFallbackSystemCCSID;
#endif
}
