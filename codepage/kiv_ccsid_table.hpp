// The constant CCSID table behind KivClCCSID (private to the library). Its
// rows are generated into kiv_ccsid_table.cpp by scripts/gen_ccsid_table.py;
// edit the script's grouped list, never the rows.
#ifndef KIV_CCSID_TABLE_HPP
#define KIV_CCSID_TABLE_HPP

#include <cstddef>
#include <cstdint>

#include "kiv_ccsid.hpp"

/// One row of the CCSID table.
struct _KivStCCSIDEntry {
  /// the CCSID number
  std::uint32_t ulCCSID;
  /// the name under which the code page is known; never null
  const char* pszName;
  /// property bits, see kiv::detail::kCCSIDASCII and the others
  std::uint32_t ulProperties;
};

namespace kiv::detail {

/// Property bits of a row.
inline constexpr std::uint32_t kCCSIDASCII = 1;
inline constexpr std::uint32_t kCCSIDEBCDIC = 2;
inline constexpr std::uint32_t kCCSIDDBCS = 4;
inline constexpr std::uint32_t kCCSIDSBCS = 8;
inline constexpr std::uint32_t kCCSIDUCS2 = 64;

/// 429 code pages and the sentinel row 0 (CCSID 0, "???", no properties).
inline constexpr std::size_t kCCSIDTableSize = 430;

/// Row 0 is the sentinel; rows 1 to 429 are sorted by ascending CCSID.
extern const _KivStCCSIDEntry gs_castCSIDDatabase[kCCSIDTableSize];

/// The CCSID that ICU gives the code page named `codePageName`: opened with
/// ucnv_open and asked with ucnv_getCCSID. 1208 when the name is null or
/// empty, when ICU cannot open it, when ICU reports -1, and in a build
/// without ICU.
std::uint32_t ccsidOfIcuCodePage(const char* codePageName) noexcept;

/// Where KivClCCSID::getConsoleCCSID() takes the name of ICU's default code
/// page from: ucnv_getDefaultName() (null in a build without ICU). Tests
/// point it elsewhere, because ICU's own default cannot be changed on every
/// platform.
using DefaultCodePageNameSource = const char* (*)();
extern DefaultCodePageNameSource gs_pfuDefaultCodePageName;

/// Forgets the cached system CCSID, so that the next query asks again.
/// For tests only: the library itself never forgets it.
void forgetSystemCCSID() noexcept;

}  // namespace kiv::detail

#endif
