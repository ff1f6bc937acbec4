// Checks the compiled language and territory tables against the ISO 639 and
// ISO 3166 files of the iso-codes package (KIV_ISO_CODES_DIR), independently
// of the generator that made them: every territory's three-letter code,
// numeric id and name, and every language's code and name.
#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "kiv_language.hpp"

namespace {

using Language = KivClLanguage::KivEnLanguage;
using Territory = KivClLanguage::KivEnTerritory;
using Entry = std::map<std::string, std::string>;

// Reads the one shape that the iso-codes files have: an object whose member
// `key` is an array of flat objects with string values. Anything else throws.
class IsoCodesReader {
 public:
  static std::vector<Entry> read(const std::string& file, const std::string& key) {
    std::ifstream in(std::string(KIV_ISO_CODES_DIR) + "/" + file, std::ios::binary);
    if (!in) throw std::runtime_error("cannot open " + file);
    std::ostringstream text;
    text << in.rdbuf();
    IsoCodesReader reader(text.str());
    return reader.document(key);
  }

 private:
  explicit IsoCodesReader(std::string text) : m_text(std::move(text)) {}

  std::vector<Entry> document(const std::string& key) {
    std::vector<Entry> entries;
    bool found = false;
    expect('{');
    do {
      const std::string name = string();
      expect(':');
      if (name != key) throw std::runtime_error("unexpected member " + name);
      found = true;
      expect('[');
      if (!peek(']')) {
        do entries.push_back(object());
        while (accept(','));
      }
      expect(']');
    } while (accept(','));
    expect('}');
    if (!found) throw std::runtime_error("no member " + key);
    return entries;
  }

  Entry object() {
    Entry entry;
    expect('{');
    do {
      const std::string name = string();
      expect(':');
      entry[name] = string();
    } while (accept(','));
    expect('}');
    return entry;
  }

  std::string string() {
    expect('"');
    std::string out;
    while (m_pos < m_text.size() && m_text[m_pos] != '"') {
      char c = m_text[m_pos++];
      if (c == '\\') {
        if (m_pos >= m_text.size()) break;
        c = m_text[m_pos++];
        switch (c) {
          case 'n':
            c = '\n';
            break;
          case 't':
            c = '\t';
            break;
          case '"':
          case '\\':
          case '/':
            break;
          case 'u':
            appendEscapedCodePoint(out);
            continue;
          default:
            throw std::runtime_error("unsupported escape");
        }
      }
      out += c;
    }
    expect('"');
    return out;
  }

  void appendEscapedCodePoint(std::string& out) {
    if (m_pos + 4 > m_text.size()) throw std::runtime_error("short \\u escape");
    const unsigned long cp = std::stoul(m_text.substr(m_pos, 4), nullptr, 16);
    m_pos += 4;
    if (cp < 0x80) {
      out += static_cast<char>(cp);
    } else if (cp < 0x800) {
      out += static_cast<char>(0xC0 | (cp >> 6));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
      out += static_cast<char>(0xE0 | (cp >> 12));
      out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (cp & 0x3F));
    }
  }

  void skipBlanks() {
    while (m_pos < m_text.size() && (m_text[m_pos] == ' ' || m_text[m_pos] == '\n' ||
                                     m_text[m_pos] == '\r' || m_text[m_pos] == '\t')) {
      ++m_pos;
    }
  }
  bool peek(char c) {
    skipBlanks();
    return m_pos < m_text.size() && m_text[m_pos] == c;
  }
  bool accept(char c) {
    if (!peek(c)) return false;
    ++m_pos;
    return true;
  }
  void expect(char c) {
    if (!accept(c)) {
      throw std::runtime_error(std::string("expected '") + c + "' at offset " +
                               std::to_string(m_pos));
    }
  }

  std::string m_text;
  std::size_t m_pos = 0;
};

// Folds a UTF-8 name to ASCII as the tables do: letters of the Latin-1
// supplement lose their accents; any other non-ASCII character becomes "\x7f"
// so that the comparison fails and shows it.
std::string asciiFold(const std::string& utf8) {
  static const char kLatin1Letters[] =
      "AAAAAA\x7f"
      "CEEEEIIII\x7fNOOOOO\x7f\x7fUUUUY\x7f\x7f"
      "aaaaaa\x7f"
      "ceeeeiiii\x7fnooooo\x7f\x7fuuuuy\x7fy";
  static_assert(sizeof(kLatin1Letters) == 64 + 1, "one letter per code point U+00C0..U+00FF");
  std::string out;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto c = static_cast<unsigned char>(utf8[i]);
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if ((c == 0xC3) && i + 1 < utf8.size()) {
      const auto next = static_cast<unsigned char>(utf8[++i]);
      out += kLatin1Letters[(next & 0x3F) + 0x00];
    } else {
      out += '\x7f';
    }
  }
  return out;
}

std::string lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

std::string upper(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

std::map<std::string, std::vector<Entry>> byAlpha2(const std::vector<Entry>& entries) {
  std::map<std::string, std::vector<Entry>> index;
  for (const auto& entry : entries) {
    const auto code = entry.find("alpha_2");
    if (code != entry.end()) index[lower(code->second)].push_back(entry);
  }
  return index;
}

TEST(LanguageIsoCodes, AsciiFoldDropsAccentsOfLatinLetters) {
  EXPECT_EQ(asciiFold("C\xc3\xb4te d'Ivoire"), "Cote d'Ivoire");
  EXPECT_EQ(asciiFold("R\xc3\xa9union"), "Reunion");
  EXPECT_EQ(asciiFold("\xc3\x85land"), "Aland");
  EXPECT_EQ(asciiFold("\xc3\x86"), "\x7f");
}

// Every territory row other than the library's own ("aa", "sp") is the ISO
// 3166-1 entry of its code or, for a withdrawn code, its ISO 3166-3 entry.
// The withdrawn codes whose ISO names are long forms keep short names.
TEST(LanguageIsoCodes, TerritoriesAgreeWithIso3166) {
  const auto current = byAlpha2(IsoCodesReader::read("iso_3166-1.json", "3166-1"));
  const auto withdrawn = byAlpha2(IsoCodesReader::read("iso_3166-3.json", "3166-3"));
  const std::map<std::string, std::string> ownNames = {
      {"fx", "France Metropolitan"}, {"yu", "Yugoslavia"}, {"zr", "Zaire"}};
  ASSERT_GT(current.size(), 200u);

  unsigned int fromCurrent = 0;
  unsigned int fromWithdrawn = 0;
  for (unsigned int i = 1; i < KivClLanguage::getNumberOfTerritoriesSupported(); ++i) {
    const auto territory = static_cast<Territory>(i);
    const std::string code = KivClLanguage::getTerritoryCodeShort(territory);
    SCOPED_TRACE(code);
    if (code == "aa" || code == "sp") continue;

    const Entry* entry = nullptr;
    if (const auto it = current.find(code); it != current.end()) {
      ASSERT_EQ(it->second.size(), 1u);
      entry = &it->second.front();
      ++fromCurrent;
    } else if (const auto old = withdrawn.find(code); old != withdrawn.end()) {
      ASSERT_EQ(old->second.size(), 1u);
      entry = &old->second.front();
      ++fromWithdrawn;
    }
    ASSERT_NE(entry, nullptr) << "no ISO 3166 entry";

    EXPECT_EQ(upper(code), entry->at("alpha_2"));
    EXPECT_EQ(KivClLanguage::getTerritoryCodeLong(territory), lower(entry->at("alpha_3")));
    const auto numeric = entry->find("numeric");
    const std::uint32_t number =
        numeric == entry->end() ? 0u : static_cast<std::uint32_t>(std::stoul(numeric->second));
    EXPECT_EQ(KivClLanguage::getTerritoryIdNumber(territory), number);
    const auto own = ownNames.find(code);
    EXPECT_EQ(KivClLanguage::getTerritoryName(territory),
              own != ownNames.end() ? own->second : asciiFold(entry->at("name")));
  }
  // Five rows are withdrawn codes: an, fx, tp, yu, zr.
  EXPECT_EQ(fromWithdrawn, 5u);
  EXPECT_EQ(fromCurrent, KivClLanguage::getNumberOfTerritoriesSupported() - 1 - 2 - 5);
}

// Every language row other than the library's own is an ISO 639-1 code;
// its name is the ISO 639-3 name (without the "(macrolanguage)" note) or,
// for a code that ISO 639-3 does not list, the first ISO 639-2 name.
TEST(LanguageIsoCodes, LanguagesAgreeWithIso639) {
  const auto part3 = byAlpha2(IsoCodesReader::read("iso_639-3.json", "639-3"));
  const auto part2 = byAlpha2(IsoCodesReader::read("iso_639-2.json", "639-2"));
  const std::map<std::string, std::string> ownNames = {{"iw", "Hebrew"},
                                                       {"he", "Hebrew"},
                                                       {"mo", "Moldavian"},
                                                       {"nb", "Norwegian (Bokmal)"},
                                                       {"nn", "Norwegian (Nynorsk)"},
                                                       {"sh", "Serbo-Croatian"}};
  const std::string note = " (macrolanguage)";
  ASSERT_GT(part3.size(), 100u);
  ASSERT_GT(part2.size(), 100u);

  for (unsigned int i = 1; i < KivClLanguage::getNumberOfLanguagesSupported(); ++i) {
    const auto language = static_cast<Language>(i);
    const std::string code = KivClLanguage::getLanguageCode(language);
    SCOPED_TRACE(code);
    const bool inIso = part3.count(code) != 0 || part2.count(code) != 0;
    // "iw" and "mo" are withdrawn ISO 639-1 codes; every other row is current.
    EXPECT_EQ(inIso, code != "iw" && code != "mo");

    std::string expected;
    if (const auto own = ownNames.find(code); own != ownNames.end()) {
      expected = own->second;
    } else if (const auto it = part3.find(code); it != part3.end()) {
      expected = it->second.front().at("name");
      if (expected.size() > note.size() &&
          expected.compare(expected.size() - note.size(), note.size(), note) == 0) {
        expected.erase(expected.size() - note.size());
      }
    } else if (const auto old = part2.find(code); old != part2.end()) {
      expected = old->second.front().at("name");
      expected = expected.substr(0, expected.find(';'));
    }
    EXPECT_EQ(KivClLanguage::getLanguageName(language), asciiFold(expected));
  }
}

}  // namespace
