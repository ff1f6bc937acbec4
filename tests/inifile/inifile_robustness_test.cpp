// Bad input never crashes the parser or writes past an option's buffer:
// random bytes, random text built from the syntax's special characters,
// very long lines, long runs of continuation lines, unterminated quotes and
// "$(" without ")". The sanitizer builds turn any stray write into a failure;
// the checks here also hold every text inside its record.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

#include "inifile_test_support.hpp"
#include "kiv_inifile.hpp"
#include "kiv_test_support.hpp"

using kivtest::loadText;

namespace {

// Every text of every record lies inside the record's buffer.
void expectModelInsideItsBuffers(const KivClIniFile& ini) {
  std::size_t sections = 0;
  for (const KivClIniFileSection* s = ini.getFirstSection(); s != nullptr; s = s->getNext()) {
    ++sections;
    ASSERT_LE(std::strlen(s->getName()), KIV_INIFILE_SECTION_NAME_MAX);
    for (const KivClIniFileOption* o = s->getFirstOption(); o != nullptr; o = o->getNext()) {
      const char* begin = o->getName();
      const char* end = begin + KIV_INIFILE_OPTION_TEXT_SIZE;
      ASSERT_LT(begin + std::strlen(begin), end);
      ASSERT_NE(o->getValue(), nullptr);
      ASSERT_GE(o->getValue(), begin + std::strlen(begin));
      ASSERT_LT(o->getValue() + std::strlen(o->getValue()), end);
      ASSERT_GE(o->getComment(), o->getValue());
      ASSERT_LT(o->getComment() + std::strlen(o->getComment()), end);
    }
  }
  EXPECT_LE(sections, 1000000u);
}

// Loads `text` with every combination of the flags, with and without a
// handler, and with a handler that stops at the third error.
void loadEveryWay(const std::string& text) {
  for (int flags = 0; flags < 4; ++flags) {
    for (int handlerKind = 0; handlerKind < 3; ++handlerKind) {
      KivClIniFile ini(kivtest::unusedIniName());
      kivtest::IniErrorLog log;
      if (handlerKind > 0) log.attach(ini);
      if (handlerKind == 2) log.stopAtCall = 3;
      const bool result = loadText(ini, text, (flags & 1) != 0, (flags & 2) != 0);
      if (handlerKind == 2 && log.calls.size() >= 3) {
        EXPECT_FALSE(result);
      } else {
        EXPECT_TRUE(result);
      }
      for (const auto& call : log.calls) {
        EXPECT_TRUE(call.id == KIV_INIFILE_INVAL_SECTION || call.id == KIV_INIFILE_INVAL_OPTION ||
                    call.id == KIV_INIFILE_INVAL_WHITESPACE);
        EXPECT_EQ(call.errorClass, KivEnErrorClass::USER_DATA_ERROR);
        EXPECT_GE(call.line, 1u);
        EXPECT_LE(call.line, ini.getLineNumber());
      }
      expectModelInsideItsBuffers(ini);
      // The getters and a second, merging load over the same model.
      if (ini.getFirstSection() != nullptr) {
        ini.getSection(ini.getFirstSection()->getName());
        const char* value = nullptr;
        ini.getOption("k", value);
      }
      loadText(ini, text, false, true);
      expectModelInsideItsBuffers(ini);
    }
  }
}

class IniRobustnessTest : public ::testing::Test {
 protected:
  IniRobustnessTest() : var("KIV_INI_FUZZ") { var.set(std::string(3000, 'E') + "  "); }
  kivtest::EnvGuard var;
};

TEST_F(IniRobustnessTest, RandomBytes) {
  std::mt19937 rng(1u);
  std::uniform_int_distribution<int> byte(0, 255);
  for (int round = 0; round < 40; ++round) {
    std::string text(4096, '\0');
    for (char& c : text) c = static_cast<char>(byte(rng));
    loadEveryWay(text);
  }
}

TEST_F(IniRobustnessTest, RandomTextOfTheSyntaxCharacters) {
  static const char* const pieces[] = {"[",
                                       "]",
                                       "=",
                                       ";",
                                       "\"",
                                       "'",
                                       "\\",
                                       "\\x",
                                       "\\7",
                                       "\\8",
                                       "$(",
                                       ")",
                                       "$(KIV_INI_FUZZ)",
                                       "$(HOME",
                                       " ",
                                       "\t",
                                       "\n",
                                       "\n  ",
                                       "\r\n",
                                       "a",
                                       "k",
                                       "k = ",
                                       "[s]\n",
                                       "\0",
                                       "x41",
                                       "\xff"};
  std::mt19937 rng(2u);
  std::uniform_int_distribution<std::size_t> pick(0, sizeof pieces / sizeof pieces[0] - 1);
  for (int round = 0; round < 150; ++round) {
    std::string text = "[s]\n";
    while (text.size() < 3000) {
      const char* piece = pieces[pick(rng)];
      text.append(piece, piece[0] == '\0' ? 1 : std::strlen(piece));
    }
    loadEveryWay(text);
  }
}

TEST_F(IniRobustnessTest, VeryLongLines) {
  loadEveryWay("[s]\nk = " + std::string(100000, '"') + "\n");
  loadEveryWay("[s]\nk = " + std::string(100000, '\\') + "\n");
  loadEveryWay("[s]\n" + std::string(100000, ' ') + "x\n");
  std::string dollars;
  while (dollars.size() < 100000) dollars += "$(KIV_INI_FUZZ)";
  loadEveryWay("[s]\nk = " + dollars + "\n");
}

TEST_F(IniRobustnessTest, ThousandsOfContinuationLines) {
  std::string text = "[s]\nk = start\n";
  for (int i = 0; i < 3000; ++i) {
    text += (i % 3 == 0) ? "  $(KIV_INI_FUZZ) ; c\n" : (i % 3 == 1) ? "  \"quoted \n" : "  '\\x\n";
  }
  loadEveryWay(text);
}

TEST_F(IniRobustnessTest, UnterminatedQuotesAndSubstitutions) {
  loadEveryWay(
      "[s]\na = \"never closed\nb = 'x\nc = '\nd = $(\ne = $(KIV_INI_FUZZ\nf = \"\\\n"
      "g = $(KIV_INI_FUZZ)$(\nh = '\\\n");
}

}  // namespace
