// KivClLanguage: parsing of language tags, lookups in the constant
// tables, code extraction and stream output.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>

#include "kiv_language.hpp"
#include "kiv_language_tables.hpp"

const char* const KivClLanguage::cv_cpszCombiningCharString = "-";

namespace {

using kiv::detail::gs_acpszLanguageInfo;
using kiv::detail::gs_acpszTerritoryInfo;
using kiv::detail::kLanguageRowCount;
using kiv::detail::kTerritoryRowCount;
using kiv::detail::LanguageRow;
using kiv::detail::TerritoryRow;
using Language = KivClLanguage::KivEnLanguage;
using Territory = KivClLanguage::KivEnTerritory;

/// What every lookup of an index beyond its table returns.
constexpr const char* gs_cpszInvalidCode = "??";
constexpr std::uint32_t kInvalidIdNumber = 0xFFFFFFFFu;
constexpr char kAlternativeSeparator = '_';

/// ASCII lower case. The codes are plain ASCII letters and "*"; folding
/// through the locale would let a Turkish "I" miss "it".
char foldAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

/// strcmp without regard to ASCII case; the order of the tables.
int compareCodes(const char* a, const char* b) {
  for (;; ++a, ++b) {
    const auto ca = static_cast<unsigned char>(foldAscii(*a));
    const auto cb = static_cast<unsigned char>(foldAscii(*b));
    if (ca != cb || ca == '\0') return static_cast<int>(ca) - static_cast<int>(cb);
  }
}

bool equalsIgnoringCase(const char* a, const char* b) { return compareCodes(a, b) == 0; }

/// Binary search for `code` in the code column of a sorted table; the row
/// index, or `rowCount` (the invalid index) when the code is absent.
template <typename Row>
std::size_t findRow(const Row* rows, std::size_t rowCount, const char* Row::*column,
                    const char* code) {
  const Row* end = rows + rowCount;
  const Row* found = std::lower_bound(rows, end, code, [column](const Row& row, const char* key) {
    return compareCodes(row.*column, key) < 0;
  });
  if (found == end || compareCodes(found->*column, code) != 0) return rowCount;
  return static_cast<std::size_t>(found - rows);
}

Language findLanguage(const char* code) {
  return static_cast<Language>(
      findRow(gs_acpszLanguageInfo, kLanguageRowCount, &LanguageRow::pszCode, code));
}

Territory findTerritory(const char* code) {
  return static_cast<Territory>(
      findRow(gs_acpszTerritoryInfo, kTerritoryRowCount, &TerritoryRow::pszCodeShort, code));
}

/// The row of an index, or null for an index outside the table (negative
/// values included: they wrap to large unsigned numbers).
template <typename Row, std::size_t N, typename Index>
const Row* rowAt(const Row (&rows)[N], Index index) {
  const auto i = static_cast<std::uint32_t>(index);
  return i < N ? &rows[i] : nullptr;
}

const LanguageRow* languageRow(Language language) { return rowAt(gs_acpszLanguageInfo, language); }

const TerritoryRow* territoryRow(Territory territory) {
  return rowAt(gs_acpszTerritoryInfo, territory);
}

/// A column of a row, or what a lookup beyond the table answers when there
/// is no row.
template <typename Row, typename T>
T columnOf(const Row* row, T Row::*column, T invalid) {
  return row != nullptr ? row->*column : invalid;
}

/// Appends a text at `out` and returns the position behind it.
char* append(char* out, const char* text) {
  const std::size_t length = std::strlen(text);
  std::memcpy(out, text, length);
  return out + length;
}

/// Writes the language code and, when `territoryCode` is not null, the
/// combining character and the territory code into a buffer of
/// KivClLanguage::cv_uiCodeBufferSize bytes: two letters (or "??"), the
/// combining character and at most three letters, so never more than six
/// characters and the NUL.
char* joinCodes(char* buffer, const char* languageCode, const char* territoryCode) {
  if (buffer == nullptr) return nullptr;
  char* out = append(buffer, languageCode);
  if (territoryCode != nullptr) {
    out = append(out, KivClLanguage::cv_cpszCombiningCharString);
    out = append(out, territoryCode);
  }
  *out = '\0';
  return buffer;
}

/// Whether the ISO extractions write the territory: for every index but the
/// two that mean "none given" (unspecified) and "not found" (invalid). An
/// index beyond the table is neither, so it is written, as "??".
bool territoryIsGiven(Territory territory) {
  return territory != Territory::TERRITORY_UNSPECIFIED &&
         territory != Territory::TERRITORY_INVALID;
}

}  // namespace

KivClLanguage::KivClLanguage(const char* tag)
    : m_enLanguage(Language::LANGUAGE_INVALID), m_enTerritory(Territory::TERRITORY_INVALID) {
  init(tag);
}

KivClLanguage::KivClLanguage(unsigned int number)
    : m_enLanguage(static_cast<Language>(number >> 16)),
      m_enTerritory(static_cast<Territory>(number & 0xFFFFu)) {}

void KivClLanguage::init(const char* tag) {
  if (tag == nullptr) {
    m_enLanguage = Language::LANGUAGE_INVALID;
    m_enTerritory = Territory::TERRITORY_INVALID;
    return;
  }
  if (equalsIgnoringCase(tag, "x-all") || equalsIgnoringCase(tag, "x-unspecified")) {
    m_enLanguage = Language::LANGUAGE_UNSPECIFIED;
    m_enTerritory = Territory::TERRITORY_UNSPECIFIED;
    return;
  }

  const char* separator = std::strchr(tag, cv_cpszCombiningCharString[0]);
  if (separator == nullptr) separator = std::strchr(tag, kAlternativeSeparator);
  m_enTerritory =
      separator != nullptr ? findTerritory(separator + 1) : Territory::TERRITORY_UNSPECIFIED;

  // The language code is exactly the first two characters. Reading the third
  // only after the first two are known to be there keeps short texts safe.
  if (tag[0] == '\0' || tag[1] == '\0') {
    m_enLanguage = Language::LANGUAGE_INVALID;
    return;
  }
  const char third = tag[2];
  if (third != '\0' && third != cv_cpszCombiningCharString[0] && third != kAlternativeSeparator) {
    m_enLanguage = Language::LANGUAGE_INVALID;
    return;
  }
  const char code[3] = {tag[0], tag[1], '\0'};
  m_enLanguage = findLanguage(code);
}

unsigned int KivClLanguage::asNumber() const {
  const auto language = static_cast<unsigned int>(m_enLanguage) & 0xFFFFu;
  const auto territory = static_cast<unsigned int>(m_enTerritory) & 0xFFFFu;
  return (language << 16) | territory;
}

bool KivClLanguage::isValid() const {
  return languageRow(m_enLanguage) != nullptr && territoryRow(m_enTerritory) != nullptr;
}

char* KivClLanguage::extractShortCode(char* buffer) const {
  return joinCodes(buffer, getLanguageCode(m_enLanguage), getTerritoryCodeShort(m_enTerritory));
}

char* KivClLanguage::extractLongCode(char* buffer) const {
  return joinCodes(buffer, getLanguageCode(m_enLanguage), getTerritoryCodeLong(m_enTerritory));
}

char* KivClLanguage::extractISOShortCode(char* buffer) const {
  return joinCodes(
      buffer, getLanguageCode(m_enLanguage),
      territoryIsGiven(m_enTerritory) ? getTerritoryCodeShort(m_enTerritory) : nullptr);
}

char* KivClLanguage::extractISOLongCode(char* buffer) const {
  return joinCodes(buffer, getLanguageCode(m_enLanguage),
                   territoryIsGiven(m_enTerritory) ? getTerritoryCodeLong(m_enTerritory) : nullptr);
}

const char* KivClLanguage::getLanguageCode(KivEnLanguage language) {
  return columnOf(languageRow(language), &LanguageRow::pszCode, gs_cpszInvalidCode);
}

const char* KivClLanguage::getLanguageName(KivEnLanguage language) {
  return columnOf(languageRow(language), &LanguageRow::pszName, gs_cpszInvalidCode);
}

const char* KivClLanguage::getTerritoryCodeShort(KivEnTerritory territory) {
  return columnOf(territoryRow(territory), &TerritoryRow::pszCodeShort, gs_cpszInvalidCode);
}

const char* KivClLanguage::getTerritoryCodeLong(KivEnTerritory territory) {
  return columnOf(territoryRow(territory), &TerritoryRow::pszCodeLong, gs_cpszInvalidCode);
}

const char* KivClLanguage::getTerritoryName(KivEnTerritory territory) {
  return columnOf(territoryRow(territory), &TerritoryRow::pszName, gs_cpszInvalidCode);
}

std::uint32_t KivClLanguage::getTerritoryIdNumber(KivEnTerritory territory) {
  return columnOf(territoryRow(territory), &TerritoryRow::uiIdNumber, kInvalidIdNumber);
}

unsigned int KivClLanguage::getNumberOfLanguagesSupported() {
  return static_cast<unsigned int>(kLanguageRowCount);
}

unsigned int KivClLanguage::getNumberOfTerritoriesSupported() {
  return static_cast<unsigned int>(kTerritoryRowCount);
}

std::ostream& operator<<(std::ostream& stream, const KivClLanguage& language) {
  if (!language.isValid()) return stream << gs_cpszInvalidCode;
  stream << KivClLanguage::getLanguageCode(language.getLanguage());
  if (language.getTerritory() != KivClLanguage::KivEnTerritory::TERRITORY_UNSPECIFIED) {
    stream << KivClLanguage::cv_cpszCombiningCharString
           << KivClLanguage::getTerritoryCodeShort(language.getTerritory());
  }
  return stream;
}
