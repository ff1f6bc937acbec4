// Fuzz target of language tags.
//
// Input: a language tag (up to the first NUL byte); its first four bytes
// are also read as a packed number. The parsed language and territory are
// compared with a reference that scans the tables row by row: "x-all" and
// "x-unspecified" give both unspecified; the territory is the text behind
// the first "-" (else the first "_"), compared whole; the language is the
// first two characters when a third follows only as "-", "_" or the end.
// The packed number must give the same object back, and every extracted
// code and the stream output must be the documented join of the table
// codes, written into buffers of exactly the documented size. Objects made
// from arbitrary numbers must answer "??" for indices beyond the tables.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>

#include "kiv_fuzz_support.hpp"
#include "kiv_language.hpp"

namespace {

using Language = KivClLanguage::KivEnLanguage;
using Territory = KivClLanguage::KivEnTerritory;

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool sameCode(const std::string& a, const char* b) {
  if (a.size() != std::strlen(b)) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (lowerAscii(a[i]) != lowerAscii(b[i])) return false;
  }
  return true;
}

Language referenceLanguage(const std::string& code) {
  const unsigned int rows = KivClLanguage::getNumberOfLanguagesSupported();
  for (unsigned int i = 0; i < rows; ++i) {
    if (sameCode(code, KivClLanguage::getLanguageCode(static_cast<Language>(i)))) {
      return static_cast<Language>(i);
    }
  }
  return static_cast<Language>(rows);
}

Territory referenceTerritory(const std::string& code) {
  const unsigned int rows = KivClLanguage::getNumberOfTerritoriesSupported();
  for (unsigned int i = 0; i < rows; ++i) {
    if (sameCode(code, KivClLanguage::getTerritoryCodeShort(static_cast<Territory>(i)))) {
      return static_cast<Territory>(i);
    }
  }
  return static_cast<Territory>(rows);
}

void reference(const std::string& tag, Language& language, Territory& territory) {
  if (sameCode(tag, "x-all") || sameCode(tag, "x-unspecified")) {
    language = Language::LANGUAGE_UNSPECIFIED;
    territory = Territory::TERRITORY_UNSPECIFIED;
    return;
  }
  std::size_t separator = tag.find('-');
  if (separator == std::string::npos) separator = tag.find('_');
  territory = separator == std::string::npos ? Territory::TERRITORY_UNSPECIFIED
                                             : referenceTerritory(tag.substr(separator + 1));
  const bool twoLetters = tag.size() >= 2 && (tag.size() == 2 || tag[2] == '-' || tag[2] == '_');
  language = twoLetters ? referenceLanguage(tag.substr(0, 2)) : Language::LANGUAGE_INVALID;
}

using Extract = char* (KivClLanguage::*)(char*) const;

std::string extract(const KivClLanguage& object, Extract member) {
  std::unique_ptr<char[]> buffer(new char[KivClLanguage::cv_uiCodeBufferSize]);
  KIV_FUZZ_CHECK((object.*member)(buffer.get()) == buffer.get());
  return buffer.get();
}

void checkCodes(const KivClLanguage& object) {
  const Language language = object.getLanguage();
  const Territory territory = object.getTerritory();
  const std::string code = KivClLanguage::getLanguageCode(language);
  const bool given =
      territory != Territory::TERRITORY_UNSPECIFIED && territory != Territory::TERRITORY_INVALID;
  const std::string shortCode = KivClLanguage::getTerritoryCodeShort(territory);
  const std::string longCode = KivClLanguage::getTerritoryCodeLong(territory);
  KIV_FUZZ_CHECK(extract(object, &KivClLanguage::extractShortCode) == code + "-" + shortCode);
  KIV_FUZZ_CHECK(extract(object, &KivClLanguage::extractLongCode) == code + "-" + longCode);
  KIV_FUZZ_CHECK(extract(object, &KivClLanguage::extractISOShortCode) ==
                 (given ? code + "-" + shortCode : code));
  KIV_FUZZ_CHECK(extract(object, &KivClLanguage::extractISOLongCode) ==
                 (given ? code + "-" + longCode : code));

  const bool languageValid =
      static_cast<std::uint32_t>(language) < KivClLanguage::getNumberOfLanguagesSupported();
  const bool territoryValid =
      static_cast<std::uint32_t>(territory) < KivClLanguage::getNumberOfTerritoriesSupported();
  KIV_FUZZ_CHECK(object.isValid() == (languageValid && territoryValid));
  if (!languageValid) {
    KIV_FUZZ_CHECK(code == "??");
    KIV_FUZZ_CHECK(std::strcmp(KivClLanguage::getLanguageName(language), "??") == 0);
  }
  if (!territoryValid) {
    KIV_FUZZ_CHECK(shortCode == "??" && longCode == "??");
    KIV_FUZZ_CHECK(std::strcmp(KivClLanguage::getTerritoryName(territory), "??") == 0);
    KIV_FUZZ_CHECK(KivClLanguage::getTerritoryIdNumber(territory) == 0xFFFFFFFFu);
  }

  std::ostringstream printed;
  printed << object;
  std::string expected = "??";
  if (languageValid && territoryValid) {
    expected = code;
    if (territory != Territory::TERRITORY_UNSPECIFIED) expected += "-" + shortCode;
  }
  KIV_FUZZ_CHECK(printed.str() == expected);

  const KivClLanguage unpacked(object.asNumber());
  if (static_cast<std::uint32_t>(language) <= 0xFFFF &&
      static_cast<std::uint32_t>(territory) <= 0xFFFF) {
    KIV_FUZZ_CHECK(unpacked == object);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto* text = reinterpret_cast<const char*>(data);
  const std::string tag(text, std::find(text, text + size, '\0'));
  std::unique_ptr<char[]> exact = kivfuzz::exactCopy(tag);

  const KivClLanguage parsed(exact.get());
  Language language;
  Territory territory;
  reference(tag, language, territory);
  KIV_FUZZ_CHECK(parsed.getLanguage() == language);
  KIV_FUZZ_CHECK(parsed.getTerritory() == territory);
  checkCodes(parsed);

  KivClLanguage again(static_cast<unsigned int>(0));
  again.init(exact.get());
  KIV_FUZZ_CHECK(again == parsed);

  if (size >= 4) {
    std::uint32_t number = 0;
    std::memcpy(&number, data, sizeof number);
    const KivClLanguage fromNumber(static_cast<unsigned int>(number));
    KIV_FUZZ_CHECK(fromNumber.asNumber() == number);
    checkCodes(fromNumber);
  }
  return 0;
}
