// Tests of KivClLanguage: the two tables, parsing, lookups by binary search,
// packing into a number, the four code extractions and the stream output.
#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "kiv_language.hpp"
#include "kiv_language_tables.hpp"

// Readable failure messages for the two index types: "25 (en)".
void PrintTo(KivClLanguage::KivEnLanguage language, std::ostream* os) {
  *os << static_cast<std::int32_t>(language) << " (" << KivClLanguage::getLanguageCode(language)
      << ")";
}
void PrintTo(KivClLanguage::KivEnTerritory territory, std::ostream* os) {
  *os << static_cast<std::int32_t>(territory) << " ("
      << KivClLanguage::getTerritoryCodeShort(territory) << ")";
}

namespace {

using Language = KivClLanguage::KivEnLanguage;
using Territory = KivClLanguage::KivEnTerritory;

// The numbering of languages and territories that callers store: written out
// here independently of the generator, so that a reordered table fails.
const char* const kLanguageCodes[] = {
    "**", "aa", "ab", "af", "am", "ar", "as", "ay", "az", "ba", "be", "bg", "bh", "bi", "bn", "bo",
    "br", "ca", "co", "cs", "cy", "da", "de", "dz", "el", "en", "eo", "es", "et", "eu", "fa", "fi",
    "fj", "fo", "fr", "fy", "ga", "gd", "gl", "gn", "gu", "ha", "he", "hi", "hr", "hu", "hy", "ia",
    "id", "ie", "ik", "is", "it", "iu", "iw", "ja", "jv", "ka", "kk", "kl", "km", "kn", "ko", "ks",
    "ku", "ky", "la", "ln", "lo", "lt", "lv", "mg", "mi", "mk", "ml", "mn", "mo", "mr", "ms", "mt",
    "my", "na", "nb", "ne", "nl", "nn", "no", "oc", "om", "or", "pa", "pl", "ps", "pt", "qu", "rm",
    "rn", "ro", "ru", "rw", "sa", "sd", "sg", "sh", "si", "sk", "sl", "sm", "sn", "so", "sq", "sr",
    "ss", "st", "su", "sv", "sw", "ta", "te", "tg", "th", "ti", "tk", "tl", "tn", "to", "tr", "ts",
    "tt", "tw", "ug", "uk", "ur", "uz", "vi", "vo", "wo", "xh", "yi", "yo", "za", "zh", "zu"};

const char* const kTerritoryCodes[] = {
    "**", "aa", "ad", "ae", "af", "ag", "ai", "al", "am", "an", "ao", "aq", "ar", "as", "at", "au",
    "aw", "az", "ba", "bb", "bd", "be", "bf", "bg", "bh", "bi", "bj", "bm", "bn", "bo", "br", "bs",
    "bt", "bv", "bw", "by", "bz", "ca", "cc", "cf", "cg", "ch", "ci", "ck", "cl", "cm", "cn", "co",
    "cr", "cu", "cv", "cx", "cy", "cz", "de", "dj", "dk", "dm", "do", "dz", "ec", "ee", "eg", "eh",
    "er", "es", "et", "fi", "fj", "fk", "fm", "fo", "fr", "fx", "ga", "gb", "gd", "ge", "gf", "gh",
    "gi", "gl", "gm", "gn", "gp", "gq", "gr", "gs", "gt", "gu", "gw", "gy", "hk", "hm", "hn", "hr",
    "ht", "hu", "id", "ie", "il", "in", "io", "iq", "ir", "is", "it", "jm", "jo", "jp", "ke", "kg",
    "kh", "ki", "km", "kn", "kp", "kr", "kw", "ky", "kz", "la", "lb", "lc", "li", "lk", "lr", "ls",
    "lt", "lu", "lv", "ly", "ma", "mc", "md", "mg", "mh", "mk", "ml", "mm", "mn", "mo", "mp", "mq",
    "mr", "ms", "mt", "mu", "mv", "mw", "mx", "my", "mz", "na", "nc", "ne", "nf", "ng", "ni", "nl",
    "no", "np", "nr", "nu", "nz", "om", "pa", "pe", "pf", "pg", "ph", "pk", "pl", "pm", "pn", "pr",
    "pt", "pw", "py", "qa", "re", "ro", "ru", "rw", "sa", "sb", "sc", "sd", "se", "sg", "sh", "si",
    "sj", "sk", "sl", "sm", "sn", "so", "sp", "sr", "st", "sv", "sy", "sz", "tc", "td", "tf", "tg",
    "th", "tj", "tk", "tm", "tn", "to", "tp", "tr", "tt", "tv", "tw", "tz", "ua", "ug", "um", "us",
    "uy", "uz", "va", "vc", "ve", "vg", "vi", "vn", "vu", "wf", "ws", "ye", "yt", "yu", "za", "zm",
    "zr", "zw"};

constexpr unsigned int kLanguages = 143;
constexpr unsigned int kTerritories = 242;

Language lang(unsigned int index) { return static_cast<Language>(index); }
Territory terr(unsigned int index) { return static_cast<Territory>(index); }

std::string upper(std::string text) {
  for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return text;
}

std::string printed(const KivClLanguage& language) {
  std::ostringstream stream;
  stream << language;
  return stream.str();
}

std::string shortCode(const KivClLanguage& l) {
  char buffer[KivClLanguage::cv_uiCodeBufferSize];
  return l.extractShortCode(buffer);
}
std::string longCode(const KivClLanguage& l) {
  char buffer[KivClLanguage::cv_uiCodeBufferSize];
  return l.extractLongCode(buffer);
}
std::string isoShortCode(const KivClLanguage& l) {
  char buffer[KivClLanguage::cv_uiCodeBufferSize];
  return l.extractISOShortCode(buffer);
}
std::string isoLongCode(const KivClLanguage& l) {
  char buffer[KivClLanguage::cv_uiCodeBufferSize];
  return l.extractISOLongCode(buffer);
}

// strcmp after ASCII lower-casing, the order of the tables.
int compareFolded(const std::string& a, const std::string& b) {
  std::string la = a, lb = b;
  for (char& c : la) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  for (char& c : lb) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return la.compare(lb);
}

// ---------------------------------------------------------------------------
// The tables
// ---------------------------------------------------------------------------

TEST(LanguageTables, HaveOneHundredFortyThreeLanguagesAndTwoHundredFortyTwoTerritories) {
  EXPECT_EQ(KivClLanguage::getNumberOfLanguagesSupported(), kLanguages);
  EXPECT_EQ(KivClLanguage::getNumberOfTerritoriesSupported(), kTerritories);
  EXPECT_EQ(static_cast<unsigned int>(Language::LANGUAGE_INVALID), kLanguages);
  EXPECT_EQ(static_cast<unsigned int>(Territory::TERRITORY_INVALID), kTerritories);
  EXPECT_EQ(std::size(kLanguageCodes), kLanguages);
  EXPECT_EQ(std::size(kTerritoryCodes), kTerritories);
}

TEST(LanguageTables, LanguageCodesAreInTheLibrarysNumbering) {
  for (unsigned int i = 0; i < kLanguages; ++i) {
    EXPECT_STREQ(KivClLanguage::getLanguageCode(lang(i)), kLanguageCodes[i]) << "row " << i;
  }
}

TEST(LanguageTables, TerritoryCodesAreInTheLibrarysNumbering) {
  for (unsigned int i = 0; i < kTerritories; ++i) {
    EXPECT_STREQ(KivClLanguage::getTerritoryCodeShort(terr(i)), kTerritoryCodes[i]) << "row " << i;
  }
}

TEST(LanguageTables, AreSortedWithoutRegardToCaseAndHoldNoDuplicates) {
  for (unsigned int i = 1; i < kLanguages; ++i) {
    EXPECT_LT(compareFolded(KivClLanguage::getLanguageCode(lang(i - 1)),
                            KivClLanguage::getLanguageCode(lang(i))),
              0)
        << "language row " << i;
  }
  for (unsigned int i = 1; i < kTerritories; ++i) {
    EXPECT_LT(compareFolded(KivClLanguage::getTerritoryCodeShort(terr(i - 1)),
                            KivClLanguage::getTerritoryCodeShort(terr(i))),
              0)
        << "territory row " << i;
  }
}

TEST(LanguageTables, TerritoryRowsCarryTheirOwnIndex) {
  for (unsigned int i = 0; i < kTerritories; ++i) {
    EXPECT_EQ(kiv::detail::gs_acpszTerritoryInfo[i].enTerritory, terr(i)) << "row " << i;
  }
}

TEST(LanguageTables, CodesAreLowerCaseLettersAndNamesArePrintableAscii) {
  auto lowerLetters = [](const std::string& code, std::size_t length) {
    if (code.size() != length) return false;
    for (char c : code) {
      if (c < 'a' || c > 'z') return false;
    }
    return true;
  };
  auto printableAscii = [](const std::string& name) {
    if (name.empty()) return false;
    for (char c : name) {
      if (c < 0x20 || c > 0x7E) return false;
    }
    return true;
  };
  for (unsigned int i = 1; i < kLanguages; ++i) {
    EXPECT_TRUE(lowerLetters(KivClLanguage::getLanguageCode(lang(i)), 2)) << "row " << i;
    EXPECT_TRUE(printableAscii(KivClLanguage::getLanguageName(lang(i)))) << "row " << i;
  }
  for (unsigned int i = 1; i < kTerritories; ++i) {
    EXPECT_TRUE(lowerLetters(KivClLanguage::getTerritoryCodeShort(terr(i)), 2)) << "row " << i;
    EXPECT_TRUE(lowerLetters(KivClLanguage::getTerritoryCodeLong(terr(i)), 3)) << "row " << i;
    EXPECT_TRUE(printableAscii(KivClLanguage::getTerritoryName(terr(i)))) << "row " << i;
    EXPECT_LT(KivClLanguage::getTerritoryIdNumber(terr(i)), 1000u) << "row " << i;
  }
}

TEST(LanguageTables, RowZeroIsTheUnspecifiedEntry) {
  EXPECT_STREQ(KivClLanguage::getLanguageCode(Language::LANGUAGE_UNSPECIFIED), "**");
  EXPECT_STREQ(KivClLanguage::getLanguageName(Language::LANGUAGE_UNSPECIFIED), "Unspecified");
  EXPECT_STREQ(KivClLanguage::getTerritoryCodeShort(Territory::TERRITORY_UNSPECIFIED), "**");
  EXPECT_STREQ(KivClLanguage::getTerritoryCodeLong(Territory::TERRITORY_UNSPECIFIED), "***");
  EXPECT_EQ(KivClLanguage::getTerritoryIdNumber(Territory::TERRITORY_UNSPECIFIED), 0u);
  EXPECT_STREQ(KivClLanguage::getTerritoryName(Territory::TERRITORY_UNSPECIFIED), "Unspecified");
}

TEST(LanguageTables, OldAndNewLanguageCodesAreSeparateRows) {
  EXPECT_STREQ(KivClLanguage::getLanguageName(Language::LANGUAGE_IW), "Hebrew");
  EXPECT_STREQ(KivClLanguage::getLanguageName(Language::LANGUAGE_HE), "Hebrew");
  EXPECT_NE(Language::LANGUAGE_IW, Language::LANGUAGE_HE);
  EXPECT_EQ(KivClLanguage("in").getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(KivClLanguage("id").getLanguage(), Language::LANGUAGE_ID);
  EXPECT_STREQ(KivClLanguage::getLanguageName(Language::LANGUAGE_ID), "Indonesian");
  EXPECT_STREQ(KivClLanguage::getLanguageName(Language::LANGUAGE_NO), "Norwegian");
  EXPECT_STREQ(KivClLanguage::getLanguageName(Language::LANGUAGE_NB), "Norwegian (Bokmal)");
  EXPECT_STREQ(KivClLanguage::getLanguageName(Language::LANGUAGE_NN), "Norwegian (Nynorsk)");
  EXPECT_STREQ(KivClLanguage::getLanguageName(Language::LANGUAGE_SH), "Serbo-Croatian");
  EXPECT_STREQ(KivClLanguage::getLanguageName(Language::LANGUAGE_MO), "Moldavian");
  EXPECT_STREQ(KivClLanguage::getLanguageName(Language::LANGUAGE_EN), "English");
  EXPECT_STREQ(KivClLanguage::getLanguageName(Language::LANGUAGE_DE), "German");
}

struct TerritoryRowExpectation {
  Territory territory;
  const char* shortCode;
  const char* longCode;
  std::uint32_t number;
  const char* name;
};

TEST(LanguageTables, TellingTerritoryRowsHaveTheirOwnCodesNumbersAndNames) {
  const TerritoryRowExpectation rows[] = {
      {Territory::TERRITORY_AA, "aa", "ara", 0, "Arabic"},
      {Territory::TERRITORY_FX, "fx", "fxx", 249, "France Metropolitan"},
      {Territory::TERRITORY_SP, "sp", "ser", 0, "Serbia"},
      {Territory::TERRITORY_TP, "tp", "tmp", 626, "East Timor"},
      {Territory::TERRITORY_YU, "yu", "yug", 891, "Yugoslavia"},
      {Territory::TERRITORY_ZR, "zr", "zar", 180, "Zaire"},
      {Territory::TERRITORY_GB, "gb", "gbr", 826, "United Kingdom"},
      {Territory::TERRITORY_US, "us", "usa", 840, "United States"},
      {Territory::TERRITORY_DE, "de", "deu", 276, "Germany"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.shortCode);
    EXPECT_STREQ(KivClLanguage::getTerritoryCodeShort(row.territory), row.shortCode);
    EXPECT_STREQ(KivClLanguage::getTerritoryCodeLong(row.territory), row.longCode);
    EXPECT_EQ(KivClLanguage::getTerritoryIdNumber(row.territory), row.number);
    EXPECT_STREQ(KivClLanguage::getTerritoryName(row.territory), row.name);
  }
}

TEST(LanguageTables, CombiningCharacterIsTheHyphen) {
  EXPECT_STREQ(KivClLanguage::cv_cpszCombiningCharString, "-");
}

// ---------------------------------------------------------------------------
// Lookups by index
// ---------------------------------------------------------------------------

TEST(LanguageLookup, IndicesAtOrBeyondTheTablesGiveQuestionMarks) {
  for (std::int32_t index : {143, 144, 242, 65535, 1 << 20, -1, -143}) {
    SCOPED_TRACE(index);
    EXPECT_STREQ(KivClLanguage::getLanguageCode(static_cast<Language>(index)), "??");
    EXPECT_STREQ(KivClLanguage::getLanguageName(static_cast<Language>(index)), "??");
  }
  for (std::int32_t index : {242, 243, 65535, 1 << 20, -1, -242}) {
    SCOPED_TRACE(index);
    EXPECT_STREQ(KivClLanguage::getTerritoryCodeShort(static_cast<Territory>(index)), "??");
    EXPECT_STREQ(KivClLanguage::getTerritoryCodeLong(static_cast<Territory>(index)), "??");
    EXPECT_STREQ(KivClLanguage::getTerritoryName(static_cast<Territory>(index)), "??");
    EXPECT_EQ(KivClLanguage::getTerritoryIdNumber(static_cast<Territory>(index)), 0xFFFFFFFFu);
  }
}

TEST(LanguageLookup, LastRowsAreStillInsideTheTables) {
  EXPECT_STREQ(KivClLanguage::getLanguageCode(lang(142)), "zu");
  EXPECT_STREQ(KivClLanguage::getLanguageName(lang(142)), "Zulu");
  EXPECT_STREQ(KivClLanguage::getTerritoryCodeShort(terr(241)), "zw");
  EXPECT_STREQ(KivClLanguage::getTerritoryCodeLong(terr(241)), "zwe");
  EXPECT_EQ(KivClLanguage::getTerritoryIdNumber(terr(241)), 716u);
}

// ---------------------------------------------------------------------------
// Every row through parsing, its codes and its number
// ---------------------------------------------------------------------------

TEST(LanguageRoundTrip, EveryLanguageRowThroughItsCodesAndItsNumber) {
  for (unsigned int i = 0; i < kLanguages; ++i) {
    const std::string code = kLanguageCodes[i];
    SCOPED_TRACE(code);
    const KivClLanguage parsed(code.c_str());
    EXPECT_EQ(parsed.getLanguage(), lang(i));
    EXPECT_EQ(parsed.getTerritory(), Territory::TERRITORY_UNSPECIFIED);
    EXPECT_EQ(KivClLanguage(upper(code).c_str()), parsed);
    EXPECT_EQ(KivClLanguage((code + "-**").c_str()), parsed);

    EXPECT_EQ(parsed.asNumber(), i << 16);
    EXPECT_EQ(KivClLanguage(parsed.asNumber()), parsed);

    EXPECT_EQ(shortCode(parsed), code + "-**");
    EXPECT_EQ(longCode(parsed), code + "-***");
    EXPECT_EQ(isoShortCode(parsed), code);
    EXPECT_EQ(isoLongCode(parsed), code);
    EXPECT_EQ(KivClLanguage(shortCode(parsed).c_str()), parsed);
    EXPECT_EQ(KivClLanguage(isoShortCode(parsed).c_str()), parsed);
    EXPECT_EQ(printed(parsed), code);
  }
}

TEST(LanguageRoundTrip, EveryTerritoryRowThroughItsCodesAndItsNumber) {
  for (unsigned int i = 0; i < kTerritories; ++i) {
    const std::string code = kTerritoryCodes[i];
    const std::string longCodeText = KivClLanguage::getTerritoryCodeLong(terr(i));
    SCOPED_TRACE(code);
    const KivClLanguage parsed(("en-" + code).c_str());
    EXPECT_EQ(parsed.getLanguage(), Language::LANGUAGE_EN);
    EXPECT_EQ(parsed.getTerritory(), terr(i));
    EXPECT_EQ(KivClLanguage(("EN_" + upper(code)).c_str()), parsed);
    EXPECT_EQ(KivClLanguage(("en_" + code).c_str()), parsed);

    EXPECT_EQ(parsed.asNumber(), (25u << 16) | i);
    EXPECT_EQ(KivClLanguage(parsed.asNumber()), parsed);

    EXPECT_EQ(shortCode(parsed), "en-" + code);
    EXPECT_EQ(longCode(parsed), "en-" + longCodeText);
    const bool given = i != 0;
    EXPECT_EQ(isoShortCode(parsed), given ? "en-" + code : std::string("en"));
    EXPECT_EQ(isoLongCode(parsed), given ? "en-" + longCodeText : std::string("en"));
    EXPECT_EQ(KivClLanguage(shortCode(parsed).c_str()), parsed);
    EXPECT_EQ(KivClLanguage(isoShortCode(parsed).c_str()), parsed);
    EXPECT_EQ(printed(parsed), given ? "en-" + code : std::string("en"));
  }
}

TEST(LanguageRoundTrip, EveryPairSurvivesItsNumberAndItsShortCode) {
  for (unsigned int l = 0; l < kLanguages; ++l) {
    for (unsigned int t = 0; t < kTerritories; ++t) {
      const KivClLanguage fromNumber((l << 16) | t);
      ASSERT_EQ(fromNumber.getLanguage(), lang(l));
      ASSERT_EQ(fromNumber.getTerritory(), terr(t));
      ASSERT_EQ(fromNumber.asNumber(), (l << 16) | t);
      ASSERT_EQ(KivClLanguage(shortCode(fromNumber).c_str()), fromNumber)
          << kLanguageCodes[l] << "-" << kTerritoryCodes[t];
    }
  }
}

// ---------------------------------------------------------------------------
// Parsing
// ---------------------------------------------------------------------------

TEST(LanguageParse, EnUsInAnySpellingGivesTheSameLanguageAndTerritory) {
  const KivClLanguage lower("en-us");
  EXPECT_EQ(lower.getLanguage(), Language::LANGUAGE_EN);
  EXPECT_EQ(lower.getTerritory(), Territory::TERRITORY_US);
  EXPECT_EQ(KivClLanguage("EN_US"), lower);
  EXPECT_EQ(KivClLanguage("en-US"), lower);
  EXPECT_EQ(KivClLanguage("En_uS"), lower);
  EXPECT_EQ(isoShortCode(KivClLanguage("EN_US")), "en-us");
  EXPECT_EQ(isoShortCode(KivClLanguage("en-US")), "en-us");
  EXPECT_EQ(isoLongCode(KivClLanguage("EN_US")), "en-usa");
}

TEST(LanguageParse, LanguageAloneHasTheUnspecifiedTerritory) {
  const KivClLanguage en("en");
  EXPECT_EQ(en.getLanguage(), Language::LANGUAGE_EN);
  EXPECT_EQ(en.getTerritory(), Territory::TERRITORY_UNSPECIFIED);
  EXPECT_EQ(shortCode(en), "en-**");
  EXPECT_EQ(longCode(en), "en-***");
  EXPECT_EQ(isoShortCode(en), "en");
  EXPECT_EQ(isoLongCode(en), "en");
}

TEST(LanguageParse, ThreeLetterLanguageCodeIsInvalid) {
  const KivClLanguage eng("eng");
  EXPECT_EQ(eng.getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(eng.getTerritory(), Territory::TERRITORY_UNSPECIFIED);
  EXPECT_FALSE(eng.isValid());
  EXPECT_EQ(printed(eng), "??");
  EXPECT_EQ(KivClLanguage("eng-us").getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(KivClLanguage("eng-us").getTerritory(), Territory::TERRITORY_US);
  EXPECT_EQ(KivClLanguage("enx").getLanguage(), Language::LANGUAGE_INVALID);
}

TEST(LanguageParse, UnknownTerritoryIsInvalidAndPrintsQuestionMarks) {
  const KivClLanguage enxx("en-xx");
  EXPECT_EQ(enxx.getLanguage(), Language::LANGUAGE_EN);
  EXPECT_EQ(enxx.getTerritory(), Territory::TERRITORY_INVALID);
  EXPECT_FALSE(enxx.isValid());
  EXPECT_EQ(printed(enxx), "??");
  EXPECT_EQ(shortCode(enxx), "en-??");
  EXPECT_EQ(longCode(enxx), "en-??");
  EXPECT_EQ(isoShortCode(enxx), "en");
  EXPECT_EQ(isoLongCode(enxx), "en");
}

TEST(LanguageParse, XAllAndXUnspecifiedGiveTheUnspecifiedRows) {
  for (const char* tag : {"x-all", "X-ALL", "X-All", "x-unspecified", "X-UNSPECIFIED"}) {
    SCOPED_TRACE(tag);
    const KivClLanguage all(tag);
    EXPECT_EQ(all.getLanguage(), Language::LANGUAGE_UNSPECIFIED);
    EXPECT_EQ(all.getTerritory(), Territory::TERRITORY_UNSPECIFIED);
    EXPECT_EQ(printed(all), "**");
    EXPECT_EQ(shortCode(all), "**-**");
    EXPECT_EQ(isoShortCode(all), "**");
    EXPECT_EQ(all.asNumber(), 0u);
  }
}

TEST(LanguageParse, XAllIsRecognisedOnlyAsTheWholeText) {
  // Anything else starting with "x-" is an ordinary language tag: its
  // territory is the text behind the hyphen and "x-" is no language code.
  const KivClLanguage longer("x-all-us");
  EXPECT_EQ(longer.getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(longer.getTerritory(), Territory::TERRITORY_INVALID);
  const KivClLanguage shorter("x-al");
  EXPECT_EQ(shorter.getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(shorter.getTerritory(), Territory::TERRITORY_AL);
}

TEST(LanguageParse, HyphenIsPreferredToUnderscoreAsTheSeparator) {
  const KivClLanguage mixed("en_gb-de");
  EXPECT_EQ(mixed.getLanguage(), Language::LANGUAGE_EN);
  EXPECT_EQ(mixed.getTerritory(), Territory::TERRITORY_DE);
  // With a hyphen anywhere, an underscore is part of the territory text.
  EXPECT_EQ(KivClLanguage("en-us_x").getTerritory(), Territory::TERRITORY_INVALID);
}

TEST(LanguageParse, TerritoryIsTheWholeTextBehindTheSeparator) {
  EXPECT_EQ(KivClLanguage("en-us-posix").getTerritory(), Territory::TERRITORY_INVALID);
  EXPECT_EQ(KivClLanguage("en-usa").getTerritory(), Territory::TERRITORY_INVALID);
  EXPECT_EQ(KivClLanguage("en-u").getTerritory(), Territory::TERRITORY_INVALID);
  EXPECT_EQ(KivClLanguage("en-").getTerritory(), Territory::TERRITORY_INVALID);
  EXPECT_EQ(KivClLanguage("en-").getLanguage(), Language::LANGUAGE_EN);
}

TEST(LanguageParse, LanguageMustBeTheFirstTwoCharacters) {
  const KivClLanguage early("e-us");
  EXPECT_EQ(early.getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(early.getTerritory(), Territory::TERRITORY_US);
  const KivClLanguage noLanguage("-us");
  EXPECT_EQ(noLanguage.getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(noLanguage.getTerritory(), Territory::TERRITORY_US);
}

TEST(LanguageParse, ShortAndEmptyTextsGiveTheInvalidLanguage) {
  const KivClLanguage empty("");
  EXPECT_EQ(empty.getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(empty.getTerritory(), Territory::TERRITORY_UNSPECIFIED);
  const KivClLanguage one("e");
  EXPECT_EQ(one.getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(one.getTerritory(), Territory::TERRITORY_UNSPECIFIED);
  const KivClLanguage separatorOnly("-");
  EXPECT_EQ(separatorOnly.getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(separatorOnly.getTerritory(), Territory::TERRITORY_INVALID);
}

TEST(LanguageParse, NullTextGivesBothInvalid) {
  const KivClLanguage none(static_cast<const char*>(nullptr));
  EXPECT_EQ(none.getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(none.getTerritory(), Territory::TERRITORY_INVALID);
  EXPECT_EQ(printed(none), "??");
}

TEST(LanguageParse, UnspecifiedCodesAreFoundLikeAnyOther) {
  const KivClLanguage stars("**-**");
  EXPECT_EQ(stars.getLanguage(), Language::LANGUAGE_UNSPECIFIED);
  EXPECT_EQ(stars.getTerritory(), Territory::TERRITORY_UNSPECIFIED);
  const KivClLanguage anyLanguage("**-us");
  EXPECT_EQ(anyLanguage.getLanguage(), Language::LANGUAGE_UNSPECIFIED);
  EXPECT_EQ(anyLanguage.getTerritory(), Territory::TERRITORY_US);
  EXPECT_EQ(printed(anyLanguage), "**-us");
}

TEST(LanguageParse, AbsentCodesAreNotFound) {
  // Before the first row, between rows, after the last row, withdrawn and
  // newer codes that the tables do not hold, non-letters.
  for (const char* code : {"!!", "*a", "a*", "ac", "in", "ji", "jw", "xx", "zz", "{{", "a"}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(KivClLanguage(code).getLanguage(), Language::LANGUAGE_INVALID);
  }
  for (const char* code : {"!!", "*", "***", "ab", "cs", "rs", "me", "ax", "tl", "xx", "zz", "{{",
                           "z", "aaa", "u s", "\xc3\xa9"}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(KivClLanguage((std::string("en-") + code).c_str()).getTerritory(),
              Territory::TERRITORY_INVALID);
  }
}

TEST(LanguageParse, InitReplacesBothIndices) {
  KivClLanguage language("en-us");
  language.init("de");
  EXPECT_EQ(language.getLanguage(), Language::LANGUAGE_DE);
  EXPECT_EQ(language.getTerritory(), Territory::TERRITORY_UNSPECIFIED);
  language.init("fr_CA");
  EXPECT_EQ(language.getLanguage(), Language::LANGUAGE_FR);
  EXPECT_EQ(language.getTerritory(), Territory::TERRITORY_CA);
  language.init("xx-yy");
  EXPECT_EQ(language.getLanguage(), Language::LANGUAGE_INVALID);
  EXPECT_EQ(language.getTerritory(), Territory::TERRITORY_INVALID);
  language.init("x-all");
  EXPECT_EQ(language.getLanguage(), Language::LANGUAGE_UNSPECIFIED);
  EXPECT_EQ(language.getTerritory(), Territory::TERRITORY_UNSPECIFIED);
}

// ---------------------------------------------------------------------------
// The packed number
// ---------------------------------------------------------------------------

TEST(LanguageNumber, DeDeSurvivesItsNumber) {
  const KivClLanguage dede("de-de");
  const KivClLanguage copy(dede.asNumber());
  EXPECT_EQ(copy, dede);
  EXPECT_EQ(dede.asNumber(), (22u << 16) | 54u);
  EXPECT_EQ(copy.getLanguage(), Language::LANGUAGE_DE);
  EXPECT_EQ(copy.getTerritory(), Territory::TERRITORY_DE);
}

TEST(LanguageNumber, InvalidIndicesArePackedAsTheyAre) {
  const KivClLanguage invalid("xx-yy");
  EXPECT_EQ(invalid.asNumber(), (143u << 16) | 242u);
  EXPECT_EQ(KivClLanguage(invalid.asNumber()), invalid);
}

TEST(LanguageNumber, IndicesBeyondTheTablesAreKeptAndCountAsInvalid) {
  const KivClLanguage beyond(0xFFFFFFFFu);
  EXPECT_EQ(static_cast<std::int32_t>(beyond.getLanguage()), 0xFFFF);
  EXPECT_EQ(static_cast<std::int32_t>(beyond.getTerritory()), 0xFFFF);
  EXPECT_EQ(beyond.asNumber(), 0xFFFFFFFFu);
  EXPECT_FALSE(beyond.isValid());
  EXPECT_EQ(printed(beyond), "??");
  EXPECT_EQ(shortCode(beyond), "?\?-??");
  EXPECT_EQ(longCode(beyond), "?\?-??");
  // Only the territories 0 and 242 are left out; 0xFFFF is neither.
  EXPECT_EQ(isoShortCode(beyond), "?\?-??");
  EXPECT_EQ(isoLongCode(beyond), "?\?-??");

  // A valid language with a territory just beyond the table, and the
  // packed numbers whose territory is exactly 0 or 242.
  const KivClLanguage enBeyond((25u << 16) | 243u);
  EXPECT_EQ(isoShortCode(enBeyond), "en-??");
  EXPECT_EQ(isoLongCode(enBeyond), "en-??");
  EXPECT_EQ(isoShortCode(KivClLanguage(0xFFFF0000u)), "??");
  EXPECT_EQ(isoLongCode(KivClLanguage((25u << 16) | 242u)), "en");

  const KivClLanguage languageOnly((200u << 16) | 1u);
  EXPECT_FALSE(languageOnly.isValid());
  EXPECT_EQ(printed(languageOnly), "??");
  EXPECT_EQ(shortCode(languageOnly), "?\?-aa");
}

TEST(LanguageNumber, ZeroIsTheUnspecifiedLanguageAndTerritory) {
  const KivClLanguage zero(0u);
  EXPECT_EQ(zero, KivClLanguage("x-all"));
  EXPECT_TRUE(zero.isValid());
}

TEST(LanguageNumber, EqualityComparesBothIndices) {
  EXPECT_EQ(KivClLanguage("en-us"), KivClLanguage("EN_US"));
  EXPECT_NE(KivClLanguage("en-us"), KivClLanguage("en-gb"));
  EXPECT_NE(KivClLanguage("en-us"), KivClLanguage("de-us"));
  EXPECT_NE(KivClLanguage("en"), KivClLanguage("en-us"));
}

// ---------------------------------------------------------------------------
// Extraction into the caller's buffer
// ---------------------------------------------------------------------------

TEST(LanguageExtract, ReturnsTheCallersBuffer) {
  const KivClLanguage ptbr("pt-BR");
  char buffer[KivClLanguage::cv_uiCodeBufferSize];
  EXPECT_EQ(ptbr.extractShortCode(buffer), buffer);
  EXPECT_STREQ(buffer, "pt-br");
  EXPECT_EQ(ptbr.extractLongCode(buffer), buffer);
  EXPECT_STREQ(buffer, "pt-bra");
  EXPECT_EQ(ptbr.extractISOShortCode(buffer), buffer);
  EXPECT_STREQ(buffer, "pt-br");
  EXPECT_EQ(ptbr.extractISOLongCode(buffer), buffer);
  EXPECT_STREQ(buffer, "pt-bra");
}

TEST(LanguageExtract, NullBufferWritesNothingAndReturnsNull) {
  const KivClLanguage ptbr("pt-BR");
  EXPECT_EQ(ptbr.extractShortCode(nullptr), nullptr);
  EXPECT_EQ(ptbr.extractLongCode(nullptr), nullptr);
  EXPECT_EQ(ptbr.extractISOShortCode(nullptr), nullptr);
  EXPECT_EQ(ptbr.extractISOLongCode(nullptr), nullptr);
}

TEST(LanguageExtract, NeverWritesPastTheStatedBufferSize) {
  // A guard zone behind the buffer must stay untouched for every kind of
  // object: valid, unspecified, invalid and beyond the tables.
  const std::vector<KivClLanguage> languages = {
      KivClLanguage("zu-zw"), KivClLanguage("en"),        KivClLanguage("x-all"),
      KivClLanguage("xx-yy"), KivClLanguage(0xFFFFFFFFu), KivClLanguage("eng-usa")};
  for (const auto& language : languages) {
    using Extract = char* (KivClLanguage::*)(char*) const;
    for (Extract extract :
         {&KivClLanguage::extractShortCode, &KivClLanguage::extractLongCode,
          &KivClLanguage::extractISOShortCode, &KivClLanguage::extractISOLongCode}) {
      std::array<char, KivClLanguage::cv_uiCodeBufferSize + 8> memory;
      memory.fill('#');
      (language.*extract)(memory.data());
      const std::size_t length = std::strlen(memory.data());
      EXPECT_LT(length, KivClLanguage::cv_uiCodeBufferSize);
      for (std::size_t i = length + 1; i < memory.size(); ++i) EXPECT_EQ(memory[i], '#');
    }
  }
}

// ---------------------------------------------------------------------------
// Stream output
// ---------------------------------------------------------------------------

TEST(LanguageStream, WritesLanguageAndTerritoryCodesAsStored) {
  EXPECT_EQ(printed(KivClLanguage("EN-US")), "en-us");
  EXPECT_EQ(printed(KivClLanguage("de_CH")), "de-ch");
  EXPECT_EQ(printed(KivClLanguage("ja")), "ja");
  EXPECT_EQ(printed(KivClLanguage("x-unspecified")), "**");
  EXPECT_EQ(printed(KivClLanguage("en-xx")), "??");
  EXPECT_EQ(printed(KivClLanguage("eng")), "??");
  EXPECT_EQ(printed(KivClLanguage("xx")), "??");
}

TEST(LanguageStream, AppendsToTheStreamAndReturnsIt) {
  std::ostringstream stream;
  stream << "[" << KivClLanguage("sr-sp") << "|" << KivClLanguage("sr-xx") << "]";
  EXPECT_EQ(stream.str(), "[sr-sp|??]");
}

}  // namespace
