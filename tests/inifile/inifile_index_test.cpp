// The lookup index of getSection and getOption against a plain walk of the
// lists: random models, changed in every way the library's members allow
// (loads, the editing operations, deleted names, and members called on the
// records directly), each change followed by enough lookups that the index
// is built and used. Every answer must be the walk's: the first record in
// list order whose name matches without regard to case. A second group
// switches the case mapping under a built index (the process's locale and a
// thread's own locale), with a Latin-1 locale made by localedef.
#include <gtest/gtest.h>

#include <locale.h>
#include <cctype>
#include <clocale>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "inifile_test_support.hpp"
#include "kiv_inifile.hpp"
#include "kiv_latin1_locale.hpp"
#include "kiv_test_support.hpp"

namespace {

// The walk's comparison written plainly: every character upper-cased
// through the locale's table.
bool referenceNamesEqual(const char* a, const char* b) {
  for (;; ++a, ++b) {
    if (std::toupper(static_cast<int>(*a)) != std::toupper(static_cast<int>(*b))) return false;
    if (*a == '\0') return true;
  }
}

const KivClIniFileSection* referenceSection(const KivClIniFile& ini, const char* name) {
  for (const KivClIniFileSection* s = ini.getFirstSection(); s != nullptr; s = s->getNext())
    if (referenceNamesEqual(s->getName(), name)) return s;
  return nullptr;
}

const KivClIniFileOption* referenceOption(const KivClIniFileSection* section, const char* name) {
  if (section == nullptr) return nullptr;
  for (const KivClIniFileOption* o = section->getFirstOption(); o != nullptr; o = o->getNext())
    if (referenceNamesEqual(o->getName(), name)) return o;
  return nullptr;
}

// Names drawn from a few characters in both cases, so that the same name
// occurs in several spellings and several times; some are long, so that
// they are compared in words.
class NamePool {
 public:
  explicit NamePool(unsigned seed) : m_random(seed) {}

  std::string name() {
    static const char letters[] = "aAbB_1";
    std::string text;
    if (pick(4) == 0) text = pick(2) == 0 ? "Option_Long_Name_" : "OPTION_long_NAME_";
    const std::size_t length = pick(4);
    for (std::size_t i = 0; i < length; ++i) text += letters[pick(sizeof letters - 1)];
    return text;
  }

  std::size_t pick(std::size_t count) {
    return std::uniform_int_distribution<std::size_t>(0, count - 1)(m_random);
  }

  // A text of headers and options in the file syntax.
  std::string text() {
    std::string t;
    for (std::size_t s = pick(4); s > 0; --s) {
      t += "[" + name() + "]\n";
      for (std::size_t o = pick(6); o > 0; --o)
        t += name() + " = " + std::to_string(pick(1000)) + " ; c" + std::to_string(pick(9)) + "\n";
    }
    return t;
  }

 private:
  std::mt19937 m_random;
};

template <typename Record>
std::vector<Record*> listOf(Record* first) {
  std::vector<Record*> records;
  for (Record* r = first; r != nullptr; r = r->getNext()) records.push_back(r);
  return records;
}

// Asks every name of `names` as a section and, in each, every name as an
// option (string and typed forms), and compares with the walk.
void expectWalkAnswers(const KivClIniFile& ini, const std::vector<std::string>& names,
                       const std::string& context) {
  for (const std::string& sectionName : names) {
    const KivClIniFileSection* expected = referenceSection(ini, sectionName.c_str());
    ASSERT_EQ(ini.getSection(sectionName.c_str()), expected != nullptr)
        << context << " section '" << sectionName << "'";
    ASSERT_EQ(ini.getCurrentSection(), expected) << context << " section '" << sectionName << "'";
    for (const std::string& optionName : names) {
      const KivClIniFileOption* option = referenceOption(expected, optionName.c_str());
      const char* value = nullptr;
      const char* comment = nullptr;
      ASSERT_EQ(ini.getOption(optionName.c_str(), value, comment), option != nullptr)
          << context << " [" << sectionName << "] " << optionName;
      if (option == nullptr) {
        EXPECT_EQ(value, nullptr);
        continue;
      }
      EXPECT_EQ(value, option->getValue()) << context << " [" << sectionName << "] " << optionName;
      EXPECT_EQ(comment, option->getComment());
      long number = -1;
      ASSERT_TRUE(ini.getOption(optionName.c_str(), number));
      EXPECT_EQ(number, std::atol(option->getValue()));
    }
  }
  EXPECT_FALSE(ini.getSection(nullptr));
  EXPECT_EQ(ini.getCurrentSection(), nullptr);
}

// One random change through the file or through a record's own members.
std::string changeOnce(KivClIniFile& ini, NamePool& pool) {
  const std::vector<KivClIniFileSection*> sections = listOf(ini.getFirstSection());
  KivClIniFileSection* section = sections.empty() ? nullptr : sections[pool.pick(sections.size())];
  std::vector<KivClIniFileOption*> options;
  if (section != nullptr) options = listOf(section->getFirstOption());
  KivClIniFileOption* option = options.empty() ? nullptr : options[pool.pick(options.size())];
  const std::string a = pool.name();
  const std::string b = pool.name();
  const std::string value = std::to_string(pool.pick(1000));
  switch (pool.pick(12)) {
    case 0:
      kivtest::loadText(ini, pool.text(), pool.pick(2) == 0);
      return "load";
    case 1:
      ini.addSection(a.c_str());
      return "addSection " + a;
    case 2:
      ini.addOption(a.c_str(), b.c_str(), value.c_str());
      return "addOption " + a + " " + b;
    case 3:
      ini.setNewValue(a.c_str(), b.c_str(), value.c_str());
      return "setNewValue " + a + " " + b;
    case 4:
      ini.deleteOption(a.c_str(), b.c_str());
      return "deleteOption " + a + " " + b;
    case 5:
      ini.deleteSection(a.c_str());
      return "deleteSection " + a;
    case 6:
      if (section != nullptr) section->deleteContents();
      return "section->deleteContents";
    case 7:
      if (option != nullptr) option->deleteContents();
      return "option->deleteContents";
    case 8:
      if (option != nullptr) {
        option->appendOption(new KivClIniFileOption(a.c_str(), value.c_str()));
      } else if (section != nullptr) {
        section->setFirstOption(new KivClIniFileOption(a.c_str(), value.c_str()));
      }
      return "appendOption/setFirstOption " + a;
    case 9:
      if (section != nullptr) section->appendSection(new KivClIniFileSection(a.c_str()));
      return "appendSection " + a;
    case 10:
      if (option != nullptr) option->setNewValue(value.c_str());
      return "option->setNewValue";
    default: {
      KivClIniFileSectionCursor cursor(ini);
      if (cursor.setTo(a.c_str())) {
        KivClIniFileOptionCursor options(cursor);
        if (options.setTo(b.c_str())) ini.deleteOption(options);
      }
      return "deleteOption(cursor) " + a + " " + b;
    }
  }
}

TEST(IniFileIndexTest, AnswersAsTheWalkAfterEveryKindOfChange) {
  for (unsigned seed = 1; seed <= 12; ++seed) {
    NamePool pool(seed);
    KivClIniFile ini(kivtest::unusedIniName());
    kivtest::loadText(ini, pool.text() + pool.text(), seed % 2 == 0);
    std::vector<std::string> names{""};
    for (int i = 0; i < 24; ++i) names.push_back(pool.name());
    expectWalkAnswers(ini, names, "seed " + std::to_string(seed) + " first load");
    for (int step = 0; step < 60; ++step) {
      const std::string change = changeOnce(ini, pool);
      expectWalkAnswers(
          ini, names,
          "seed " + std::to_string(seed) + " step " + std::to_string(step) + " " + change);
      if (HasFatalFailure()) return;
    }
  }
}

TEST(IniFileIndexTest, AnswersAsTheWalkInAFileOfManyNames) {
  // Enough names that the index holds thousands and its buckets collide.
  std::string text;
  for (int s = 0; s < 60; ++s) {
    text += "[Component_" + std::to_string(s % 50) + "]\n";
    for (int o = 0; o < 70; ++o)
      text +=
          "Option_" + std::to_string((o * 7 + s) % 64) + " = " + std::to_string(s * 100 + o) + "\n";
  }
  KivClIniFile ini(kivtest::unusedIniName());
  ASSERT_TRUE(kivtest::loadText(ini, text));
  std::vector<std::string> names{"", "component_7", "COMPONENT_49", "component_50"};
  for (int o = 0; o < 66; o += 5) names.push_back("OPTION_" + std::to_string(o));
  expectWalkAnswers(ini, names, "many");
  ASSERT_TRUE(ini.deleteOption("component_7", "option_1"));
  expectWalkAnswers(ini, names, "many, after a delete");
}

// ---------------------------------------------------------------------------
// The case mapping changes under a built index
// ---------------------------------------------------------------------------

class IniFileIndexLocaleTest : public kivtest::Latin1LocaleTest {
 protected:
  // A file whose second section is named with an upper-case 0xC9, behind
  // many sections so that lookups build the index.
  void load() {
    std::string text;
    for (int s = 0; s < 80; ++s) text += "[filler" + std::to_string(s) + "]\nx = 1\n";
    text += "[caf\xC9]\nname = upper\n";
    ASSERT_TRUE(kivtest::loadText(m_ini, text));
  }

  // Asks often enough that the index is built and used.
  bool found(const char* name) {
    bool result = false;
    for (int i = 0; i < 20; ++i) result = m_ini.getSection(name);
    return result;
  }

  KivClIniFile m_ini{kivtest::unusedIniName()};
};

TEST_F(IniFileIndexLocaleTest, FollowsTheProcessLocale) {
  load();
  ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
  EXPECT_FALSE(found("caf\xE9"));
  ASSERT_NE(std::setlocale(LC_CTYPE, "latin1"), nullptr);
  ASSERT_TRUE(found("caf\xE9"));
  EXPECT_STREQ(m_ini.getCurrentSection()->getName(), "caf\xC9");
  ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
  EXPECT_FALSE(found("caf\xE9"));
  EXPECT_TRUE(found("CAF\xC9"));
}

TEST_F(IniFileIndexLocaleTest, FollowsAThreadLocale) {
  load();
  ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
  EXPECT_FALSE(found("caf\xE9"));
  // A copy of the process's locale while it is Latin-1 (newlocale would
  // read LOCPATH itself, and the C library keeps that memory).
  ASSERT_NE(std::setlocale(LC_CTYPE, "latin1"), nullptr);
  const locale_t latin1 = duplocale(LC_GLOBAL_LOCALE);
  ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
  ASSERT_NE(latin1, static_cast<locale_t>(nullptr));
  EXPECT_FALSE(found("caf\xE9"));
  const locale_t before = uselocale(latin1);
  const bool inLatin1 = found("caf\xE9");
  uselocale(before);
  freelocale(latin1);
  EXPECT_TRUE(inLatin1);
  EXPECT_FALSE(found("caf\xE9"));
  // Built under the thread locale's walk, the index answers again after
  // it, with the process's mapping.
  EXPECT_TRUE(found("Caf\xC9"));
}

TEST_F(IniFileIndexLocaleTest, FollowsASetlocaleOfAnotherThread) {
  load();
  ASSERT_NE(std::setlocale(LC_CTYPE, "C"), nullptr);
  EXPECT_FALSE(found("caf\xE9"));
  // toupper follows the process's locale at once, whichever thread set it.
  std::thread([] { std::setlocale(LC_CTYPE, "latin1"); }).join();
  ASSERT_STREQ(std::setlocale(LC_CTYPE, nullptr), "latin1");
  EXPECT_TRUE(found("caf\xE9"));
  std::thread([] { std::setlocale(LC_CTYPE, "C"); }).join();
  EXPECT_FALSE(found("caf\xE9"));
}

}  // namespace
