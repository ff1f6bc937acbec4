// Tests of the INI writer: the exact bytes of every item, the quoting and
// escapes, what is never written, the opening of the stream, and round
// trips through the parser.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "inifile_test_support.hpp"
#include "kiv_inisave.hpp"
#include "kiv_test_support.hpp"

using kivtest::commentOf;
using kivtest::dumpModel;
using kivtest::loadText;
using kivtest::valueOf;

namespace {

using kivtest::readFile;

class IniSaveTest : public ::testing::Test {
 protected:
  IniSaveTest() : path(dir / "out.ini"), writer(KivClFilename(path.c_str())) {}

  // Loads the written file into a fresh model.
  std::string reloaded(bool continuation = false) {
    KivClIniFile ini(KivClFilename(path.c_str()));
    EXPECT_TRUE(ini.load(continuation));
    return dumpModel(ini);
  }

  kivtest::TempDir dir;
  std::string path;
  KivClIniFileSave writer;
  std::ofstream stream;
};

// --- The model -----------------------------------------------------------------

TEST_F(IniSaveTest, SingleOptionModelSavesExactly) {
  ASSERT_TRUE(writer.addSection("A"));
  ASSERT_TRUE(writer.addOption("A", "k", "v"));
  EXPECT_TRUE(writer.save());
  EXPECT_EQ(readFile(path), "\n[A]\nk\t= v\n");
}

TEST_F(IniSaveTest, SaveWritesSectionsOptionsAndTheirCommentsButNotHeaderComments) {
  ASSERT_TRUE(loadText(writer,
                       "; file comment\n[one] ; header comment\na = 1 ; first\n\nb = 2\n"
                       "[two]\nc = x y\n"));
  EXPECT_TRUE(writer.save());
  EXPECT_EQ(readFile(path), "\n[one]\na\t= 1\t; first\nb\t= 2\n\n[two]\nc\t= x y\n");
}

TEST_F(IniSaveTest, EmptyValuesDeletedOptionsAndDeletedSectionsAreNotWritten) {
  ASSERT_TRUE(loadText(writer, "[gone]\nx = 1\n[keep]\nempty =\ndel = 1\nk = v\n"));
  ASSERT_TRUE(writer.deleteSection("gone"));
  ASSERT_TRUE(writer.deleteOption("keep", "del"));
  EXPECT_TRUE(writer.save());
  EXPECT_EQ(readFile(path), "\n[keep]\nk\t= v\n");
}

TEST_F(IniSaveTest, OptionWithEmptyNameIsNotWritten) {
  ASSERT_TRUE(loadText(writer, "[s]\n=x\nk = v\n"));
  EXPECT_TRUE(writer.save());
  EXPECT_EQ(readFile(path), "\n[s]\nk\t= v\n");
}

TEST_F(IniSaveTest, SaveToAGivenStreamUsesItAsItIs) {
  ASSERT_TRUE(writer.addSection("s"));
  ASSERT_TRUE(writer.addOption("s", "k", "v"));
  const std::string other = dir / "other.ini";
  std::ofstream out(other, std::ios::binary);
  EXPECT_TRUE(writer.save(out));
  EXPECT_EQ(readFile(other), "\n[s]\nk\t= v\n");
  EXPECT_FALSE(std::filesystem::exists(path));
  // The writer counts as opened: item writers do not open that stream.
  EXPECT_FALSE(writer.saveSection(stream, "t", nullptr));
  EXPECT_FALSE(stream.is_open());
}

TEST_F(IniSaveTest, SecondSaveAppendsAnotherCopyToTheSameStream) {
  ASSERT_TRUE(writer.addSection("s"));
  ASSERT_TRUE(writer.addOption("s", "k", "v"));
  EXPECT_TRUE(writer.save());
  EXPECT_TRUE(writer.save());
  EXPECT_EQ(readFile(path), "\n[s]\nk\t= v\n\n[s]\nk\t= v\n");
}

TEST_F(IniSaveTest, SaveEmptiesAnExistingFile) {
  {
    std::ofstream old(path);
    old << "old content that is much longer than the new one\n";
  }
  ASSERT_TRUE(writer.addSection("s"));
  EXPECT_TRUE(writer.save());
  EXPECT_EQ(readFile(path), "\n[s]\n");
}

TEST_F(IniSaveTest, FileThatCannotBeOpenedFailsEverySave) {
  KivClIniFileSave bad(KivClFilename((dir / "no/such/dir/x.ini").c_str()));
  bad.addSection("s");
  bad.addOption("s", "k", "v");
  EXPECT_FALSE(bad.save());
  std::ofstream s;
  EXPECT_FALSE(bad.saveSection(s, "s", nullptr));
  EXPECT_FALSE(bad.saveOption(s, "k", "v", nullptr));
  EXPECT_FALSE(bad.saveOption(s, "n", 1, nullptr));
}

TEST_F(IniSaveTest, ItemWritersFailWhenTheirStreamCannotBeOpened) {
  KivClIniFileSave bad(KivClFilename((dir / "missing/x.ini").c_str()));
  std::ofstream s;
  EXPECT_FALSE(bad.saveOption(s, "k", "v", nullptr));
  EXPECT_FALSE(bad.saveOptionBool(s, "b", true, nullptr));
  EXPECT_FALSE(bad.saveOption(s, "c", 'c', nullptr));
}

// --- Item writers ----------------------------------------------------------------

TEST_F(IniSaveTest, ItemWritersProduceTheLineLayout) {
  EXPECT_TRUE(writer.saveSection(stream, "sec", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "name", "value", "a comment"));
  EXPECT_TRUE(writer.saveOption(stream, "plain", "p", ""));
  EXPECT_TRUE(writer.saveSection(stream, "other", "why"));
  stream.close();
  EXPECT_EQ(readFile(path), "\n[sec]\nname\t= value\t; a comment\nplain\t= p\n\n[other]\t; why\n");
}

TEST_F(IniSaveTest, ItemWritersOpenTheStreamOnlyOnce) {
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  EXPECT_TRUE(stream.is_open());
  EXPECT_TRUE(writer.saveOption(stream, "a", "1", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "b", "2", nullptr));
  stream.close();
  EXPECT_EQ(readFile(path), "\n[s]\na\t= 1\nb\t= 2\n");
}

TEST_F(IniSaveTest, EmptyStringValueWritesNothingAndDoesNotOpen) {
  EXPECT_TRUE(writer.saveOption(stream, "n", "", "comment"));
  EXPECT_TRUE(writer.saveOption(stream, "n", nullptr, "comment"));
  EXPECT_FALSE(stream.is_open());
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_TRUE(writer.saveOption(stream, "k", "v", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "n", "", "comment"));
  stream.close();
  EXPECT_EQ(readFile(path), "k\t= v\n");
}

TEST_F(IniSaveTest, ValueWithSemicolonIsQuotedAndReadsBack) {
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "v", "a;b", nullptr));
  stream.close();
  EXPECT_EQ(readFile(path), "\n[s]\nv\t= \"a;b\"\n");
  EXPECT_EQ(reloaded(), "[\"s\"]\n  \"v\" = \"a;b\" ; \"\"\n");
}

TEST_F(IniSaveTest, ControlCharactersAreEscapedInsideQuotes) {
  EXPECT_TRUE(writer.saveOption(stream, "t", "a\tb", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "all", "\a\b\f\n\r\t\v\\\x01\x1f\x7f\"'", nullptr));
  stream.close();
  EXPECT_EQ(readFile(path),
            "t\t= \"a\\tb\"\n"
            "all\t= \"\\a\\b\\f\\n\\r\\t\\v\\\\\\x01\\x1f\\x7f\"'\"\n");
}

TEST_F(IniSaveTest, BackslashWithoutControlCharacterIsWrittenBare) {
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "p", "C:\\dir\\x41", nullptr));
  stream.close();
  EXPECT_EQ(readFile(path), "\n[s]\np\t= C:\\dir\\x41\n");
  EXPECT_EQ(reloaded(), "[\"s\"]\n  \"p\" = \"C:\\\\dir\\\\x41\" ; \"\"\n");
}

TEST_F(IniSaveTest, QuotedBackslashReadsBack) {
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "p", "a\\b;c\td", nullptr));
  stream.close();
  KivClIniFile ini(KivClFilename(path.c_str()));
  ASSERT_TRUE(ini.load(false));
  EXPECT_EQ(valueOf(ini, "s", "p"), "a\\b;c\td");
}

TEST_F(IniSaveTest, DoubleQuoteIsWrittenBareAndStartsAQuotedStringWhenRead) {
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "q", "say \"hi\" now", nullptr));
  stream.close();
  EXPECT_EQ(readFile(path), "\n[s]\nq\t= say \"hi\" now\n");
  EXPECT_EQ(reloaded(), "[\"s\"]\n  \"q\" = \"say hi now\" ; \"\"\n");
}

TEST_F(IniSaveTest, OuterBlanksAreWrittenBareAndLostWhenRead) {
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "b", "  x  ", nullptr));
  stream.close();
  EXPECT_EQ(readFile(path), "\n[s]\nb\t=   x  \n");
  EXPECT_EQ(reloaded(), "[\"s\"]\n  \"b\" = \"x\" ; \"\"\n");
}

TEST_F(IniSaveTest, DollarParenthesisIsWrittenBareAndSubstitutedAgain) {
  kivtest::EnvGuard var("KIV_INI_SAVE_VAR");
  var.set("subst");
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "d", "<$(KIV_INI_SAVE_VAR)>", nullptr));
  stream.close();
  EXPECT_EQ(readFile(path), "\n[s]\nd\t= <$(KIV_INI_SAVE_VAR)>\n");
  EXPECT_EQ(reloaded(), "[\"s\"]\n  \"d\" = \"<subst>\" ; \"\"\n");
}

TEST_F(IniSaveTest, ControlCharacterBeforeAHexDigitReadsBackAsOneByte) {
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "h",
                                "\x01"
                                "a",
                                nullptr));
  stream.close();
  EXPECT_EQ(readFile(path), "\n[s]\nh\t= \"\\x01a\"\n");
  EXPECT_EQ(reloaded(), "[\"s\"]\n  \"h\" = \"\\x1a\" ; \"\"\n");
}

TEST_F(IniSaveTest, CharacterOptionIsWrittenInSingleQuotes) {
  EXPECT_TRUE(writer.saveOption(stream, "n", 'x', nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "one", '\x01', nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "tab", '\t', "c"));
  EXPECT_TRUE(writer.saveOption(stream, "q", '\'', nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "nul", '\0', nullptr));
  stream.close();
  EXPECT_EQ(readFile(path),
            "n\t= 'x'\none\t= '\\x01'\ntab\t= '\\t'\t; c\nq\t= '''\nnul\t= '\\x00'\n");
}

TEST_F(IniSaveTest, CharacterOptionsReadBack) {
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  const char chars[] = {'x', '\x01', '\t', '"', ';', '\\', ' ', '\x7f'};
  for (std::size_t i = 0; i < sizeof chars; ++i)
    EXPECT_TRUE(writer.saveOption(stream, ("c" + std::to_string(i)).c_str(), chars[i], nullptr));
  stream.close();
  KivClIniFile ini(KivClFilename(path.c_str()));
  ASSERT_TRUE(ini.load(false));
  ASSERT_TRUE(ini.getSection("s"));
  for (std::size_t i = 0; i < sizeof chars; ++i) {
    char c = '?';
    ASSERT_TRUE(ini.getOption(("c" + std::to_string(i)).c_str(), c));
    EXPECT_EQ(c, chars[i]) << i;
  }
}

TEST_F(IniSaveTest, SingleQuoteCharacterReadsBackAsNulThroughTheCharGetter) {
  // The parser decodes ''' to the value "'"; the char getter then sees a
  // value beginning with a quote and decodes it once more, as a lone quote.
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "q", '\'', nullptr));
  stream.close();
  KivClIniFile ini(KivClFilename(path.c_str()));
  ASSERT_TRUE(ini.load(false));
  EXPECT_EQ(valueOf(ini, "s", "q"), "'");
  ASSERT_TRUE(ini.getSection("s"));
  char c = '?';
  ASSERT_TRUE(ini.getOption("q", c));
  EXPECT_EQ(c, '\0');
}

TEST_F(IniSaveTest, BooleansAreOnAndOffAndReadBack) {
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  EXPECT_TRUE(writer.saveOptionBool(stream, "t", true, nullptr));
  EXPECT_TRUE(writer.saveOptionBool(stream, "f", false, "no"));
  stream.close();
  EXPECT_EQ(readFile(path), "\n[s]\nt\t= ON\nf\t= OFF\t; no\n");
  KivClIniFile ini(KivClFilename(path.c_str()));
  ASSERT_TRUE(ini.load(false));
  ASSERT_TRUE(ini.getSection("s"));
  bool t = false;
  bool f = true;
  ASSERT_TRUE(ini.getOptionBool("t", t));
  ASSERT_TRUE(ini.getOptionBool("f", f));
  EXPECT_TRUE(t);
  EXPECT_FALSE(f);
}

TEST_F(IniSaveTest, NumbersAreDecimalWhateverTheStreamWasSetTo) {
  EXPECT_TRUE(writer.saveOption(stream, "i", -42, nullptr));
  stream << std::hex << std::uppercase;
  EXPECT_TRUE(writer.saveOption(stream, "u", 4294967295u, nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "l", LONG_MIN, nullptr));
  stream << std::hex;
  EXPECT_TRUE(writer.saveOption(stream, "ul", ULONG_MAX, "max"));
  EXPECT_TRUE(writer.saveOption(stream, "z", 0, nullptr));
  stream.close();
  EXPECT_EQ(readFile(path),
            "i\t= -42\nu\t= 4294967295\nl\t= -9223372036854775808\n"
            "ul\t= 18446744073709551615\t; max\nz\t= 0\n");
}

TEST_F(IniSaveTest, NumbersReadBack) {
  EXPECT_TRUE(writer.saveSection(stream, "s", nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "i", INT_MIN, nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "u", UINT_MAX, nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "l", LONG_MAX, nullptr));
  EXPECT_TRUE(writer.saveOption(stream, "ul", ULONG_MAX, nullptr));
  stream.close();
  KivClIniFile ini(KivClFilename(path.c_str()));
  ASSERT_TRUE(ini.load(false));
  ASSERT_TRUE(ini.getSection("s"));
  int i = 0;
  unsigned int u = 0;
  long l = 0;
  unsigned long ul = 0;
  ASSERT_TRUE(ini.getOption("i", i));
  ASSERT_TRUE(ini.getOption("u", u));
  ASSERT_TRUE(ini.getOption("l", l));
  ASSERT_TRUE(ini.getOption("ul", ul));
  EXPECT_EQ(i, INT_MIN);
  EXPECT_EQ(u, UINT_MAX);
  EXPECT_EQ(l, LONG_MAX);
  EXPECT_EQ(ul, ULONG_MAX);
}

TEST_F(IniSaveTest, DestructorFlushesTheMemberStream) {
  {
    KivClIniFileSave scoped(KivClFilename((dir / "scoped.ini").c_str()));
    scoped.addSection("s");
    scoped.addOption("s", "k", "v");
    EXPECT_TRUE(scoped.save());
  }
  EXPECT_EQ(readFile(dir / "scoped.ini"), "\n[s]\nk\t= v\n");
}

// --- Round trips -------------------------------------------------------------------

// Printable characters that survive a bare write: no double or single
// quote, no "$" (so no "$(").
const std::string gs_sBareSafe = [] {
  std::string s;
  for (char c = ' '; c <= '~'; ++c)
    if (c != '"' && c != '\'' && c != '$') s += c;
  return s;
}();

std::string randomText(std::mt19937& rng, const std::string& alphabet, std::size_t minLength,
                       std::size_t maxLength) {
  std::uniform_int_distribution<std::size_t> length(minLength, maxLength);
  std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
  std::string s(length(rng), ' ');
  for (char& c : s) c = alphabet[pick(rng)];
  return s;
}

// A value without blanks at its ends.
std::string randomValue(std::mt19937& rng, const std::string& alphabet) {
  std::string v = randomText(rng, alphabet, 1, 120);
  v.front() = 'v';
  v.back() = 'w';
  return v;
}

// A name of letters and digits, unique by its index.
std::string nameFor(const char* prefix, int index, std::mt19937& rng) {
  return prefix + std::to_string(index) + "_" + randomText(rng, "abcxyzABCXYZ019_.-", 0, 12);
}

struct Expected {
  std::string section;
  std::string name;
  std::string value;
  std::string comment;
};

TEST_F(IniSaveTest, RandomPrintableModelsSurviveSaveAndLoad) {
  std::mt19937 rng(20240611u);
  std::vector<Expected> expected;
  for (int s = 0; s < 40; ++s) {
    const std::string section = nameFor("sec", s, rng) + " with blanks";
    ASSERT_TRUE(writer.addSection(section.c_str()));
    for (int o = 0; o < 25; ++o) {
      const std::string name = nameFor("opt", o, rng);
      // Every third value holds a ";" and so is written in quotes; inside
      // quotes single quotes and "$(" are plain text too.
      std::string alphabet = gs_sBareSafe;
      std::string value = randomValue(rng, alphabet);
      if (o % 3 == 0) {
        alphabet += "'$(";
        value = randomValue(rng, alphabet) + ";" + randomValue(rng, alphabet);
      }
      ASSERT_TRUE(writer.addOption(section.c_str(), name.c_str(), value.c_str()));
      expected.push_back({section, name, value, ""});
    }
  }
  EXPECT_TRUE(writer.save());
  KivClIniFile ini(KivClFilename(path.c_str()));
  kivtest::IniErrorLog log;
  log.attach(ini);
  ASSERT_TRUE(ini.load(false));
  EXPECT_TRUE(log.calls.empty());
  for (const Expected& e : expected) {
    ASSERT_EQ(valueOf(ini, e.section, e.name), e.value) << e.section << "/" << e.name;
    ASSERT_EQ(commentOf(ini, e.section, e.name), e.comment);
  }
}

TEST_F(IniSaveTest, RandomItemsWithCommentsSurviveWriteAndLoad) {
  std::mt19937 rng(77u);
  std::vector<Expected> expected;
  const std::string commentAlphabet = gs_sBareSafe + "\"'$;";
  for (int s = 0; s < 30; ++s) {
    const std::string section = nameFor("S", s, rng);
    ASSERT_TRUE(writer.saveSection(stream, section.c_str(), nullptr));
    for (int o = 0; o < 30; ++o) {
      const std::string name = nameFor("o", o, rng);
      const std::string value = randomValue(rng, gs_sBareSafe);
      // A comment keeps everything but its leading blanks.
      std::string comment = o % 4 == 0 ? "" : randomText(rng, commentAlphabet, 1, 80);
      if (!comment.empty()) comment.front() = 'c';
      ASSERT_TRUE(writer.saveOption(stream, name.c_str(), value.c_str(), comment.c_str()));
      expected.push_back({section, name, value, comment});
    }
  }
  stream.close();
  KivClIniFile ini(KivClFilename(path.c_str()));
  ASSERT_TRUE(ini.load(false));
  for (const Expected& e : expected) {
    ASSERT_EQ(valueOf(ini, e.section, e.name), e.value) << e.section << "/" << e.name;
    ASSERT_EQ(commentOf(ini, e.section, e.name), e.comment) << e.section << "/" << e.name;
  }
}

TEST_F(IniSaveTest, RandomControlCharactersSurviveTheirEscapes) {
  // Any byte from 1 to 127 except "\"", and never a hexadecimal digit right
  // behind a control character (the one known collision of "\x" escapes).
  std::mt19937 rng(4242u);
  std::uniform_int_distribution<int> byte(1, 127);
  std::vector<std::string> values;
  ASSERT_TRUE(writer.addSection("s"));
  for (int i = 0; i < 300; ++i) {
    std::string v = "<";
    while (v.size() < 60) {
      const char c = static_cast<char>(byte(rng));
      if (c == '"') continue;
      const auto previous = static_cast<unsigned char>(v.back());
      if (std::iscntrl(previous) != 0 && std::isxdigit(static_cast<unsigned char>(c)) != 0)
        continue;
      v += c;
    }
    v += '>';
    values.push_back(v);
    ASSERT_TRUE(writer.addOption("s", ("v" + std::to_string(i)).c_str(), v.c_str()));
  }
  EXPECT_TRUE(writer.save());
  KivClIniFile ini(KivClFilename(path.c_str()));
  ASSERT_TRUE(ini.load(false));
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::string name = "v" + std::to_string(i);
    const std::string& v = values[i];
    // Values that need no quotes are written bare: blanks or a "'" or "$("
    // change them when read back, so only the quoted ones are compared.
    if (v.find(';') == std::string::npos && std::none_of(v.begin(), v.end(), [](char c) {
          return std::iscntrl(static_cast<unsigned char>(c)) != 0;
        }))
      continue;
    EXPECT_EQ(valueOf(ini, "s", name), v) << name;
  }
}

}  // namespace
