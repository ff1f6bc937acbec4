// The constant language and territory tables behind KivClLanguage (private to
// the library). The rows are generated into kiv_language_tables.cpp by
// scripts/gen_language_tables.py; both tables are sorted by their two-letter
// codes without regard to case, and row i of each is the enumerator of value i.
#ifndef KIV_LANGUAGE_TABLES_HPP
#define KIV_LANGUAGE_TABLES_HPP

#include <cstddef>
#include <cstdint>

#include "kiv_language.hpp"

namespace kiv::detail {

/// One language: two-letter code (lower case) and English name.
struct LanguageRow {
  const char* pszCode;
  const char* pszName;
};

/// One territory: two- and three-letter codes (lower case), ISO 3166 numeric
/// id (0 where there is none), English name, and the row's own index.
struct TerritoryRow {
  const char* pszCodeShort;
  const char* pszCodeLong;
  std::uint32_t uiIdNumber;
  const char* pszName;
  KivClLanguage::KivEnTerritory enTerritory;
};

inline constexpr std::size_t kLanguageRowCount =
    static_cast<std::size_t>(KivClLanguage::KivEnLanguage::LANGUAGE_INVALID);
inline constexpr std::size_t kTerritoryRowCount =
    static_cast<std::size_t>(KivClLanguage::KivEnTerritory::TERRITORY_INVALID);

extern const LanguageRow gs_acpszLanguageInfo[kLanguageRowCount];
extern const TerritoryRow gs_acpszTerritoryInfo[kTerritoryRowCount];

}  // namespace kiv::detail

#endif
