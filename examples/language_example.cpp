// Languages and territories: KivClLanguage parses a tag such as "en-us",
// "de_DE" or "fr" into two indices of the library's constant tables (143
// languages, 242 territories), and turns them back into codes, English
// names and one number that a program can store and unpack later.
// Unknown codes never fail loudly: they give the invalid index, whose code
// and name are "??".
#include <kiv_language.hpp>

#include <cstdio>
#include <initializer_list>
#include <iostream>

int main() {
  std::printf("tables: %u languages, %u territories\n",
              KivClLanguage::getNumberOfLanguagesSupported(),
              KivClLanguage::getNumberOfTerritoriesSupported());

  // Parse a few tags: case does not matter, "-" or "_" separates the codes.
  for (const char* tag : {"en-us", "DE_de", "pt-BR", "fr", "x-all", "eng", "en-xx"}) {
    const KivClLanguage language(tag);
    // The extractions write into a buffer of cv_uiCodeBufferSize bytes.
    char shortCode[KivClLanguage::cv_uiCodeBufferSize];
    char longCode[KivClLanguage::cv_uiCodeBufferSize];
    char isoCode[KivClLanguage::cv_uiCodeBufferSize];
    language.extractShortCode(shortCode);   // always with a territory: "fr-**"
    language.extractLongCode(longCode);     // the three-letter territory: "en-usa"
    language.extractISOShortCode(isoCode);  // without an unspecified territory: "fr"
    std::printf("%-6s valid %-3s short %-6s long %-7s ISO %-6s printed ", tag,
                language.isValid() ? "yes" : "no", shortCode, longCode, isoCode);
    std::cout << language << '\n';  // "??" for an invalid language or territory
  }

  // Names and numbers come from the tables, by index.
  const KivClLanguage swiss("de-ch");
  const KivClLanguage::KivEnTerritory territory = swiss.getTerritory();
  std::printf(
      "de-ch: %s in %s (%s, ISO number %u)\n", KivClLanguage::getLanguageName(swiss.getLanguage()),
      KivClLanguage::getTerritoryName(territory), KivClLanguage::getTerritoryCodeLong(territory),
      KivClLanguage::getTerritoryIdNumber(territory));

  // The enumerators name every row; old and new codes are separate rows.
  using Language = KivClLanguage::KivEnLanguage;
  for (const Language code :
       {Language::LANGUAGE_HE, Language::LANGUAGE_IW, Language::LANGUAGE_NB}) {
    std::printf("language %d: %s, %s\n", static_cast<int>(code),
                KivClLanguage::getLanguageCode(code), KivClLanguage::getLanguageName(code));
  }

  // One number holds both indices; the number constructor unpacks it.
  const unsigned int number = swiss.asNumber();
  const KivClLanguage restored(number);
  std::printf("de-ch as a number: 0x%08x, unpacked %s\n", number,
              restored == swiss ? "to the same language" : "to something else");
  return restored == swiss ? 0 : 1;
}
