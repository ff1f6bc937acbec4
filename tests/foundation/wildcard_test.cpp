// The wildcard matcher: fixed cases, a literal recursive rendering of the
// matching rules, and fnmatch(3) on thousands of generated patterns.

#include <fnmatch.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <random>
#include <string>

#include "kiv_base.hpp"

namespace {

bool sameChar(char a, char b, bool caseSensitive) {
  if (caseSensitive) return a == b;
  return std::toupper(static_cast<unsigned char>(a)) == std::toupper(static_cast<unsigned char>(b));
}

// The matching rules, step by step and recursively.
bool recursiveReference(const char* p, const char* t, bool caseSensitive) {
  if (*p == '\0') return *t == '\0';
  for (;;) {
    if (*p == '\0') return *t == '\0';
    if (*p == '*') {
      while (*p == '*' || *p == '?') {
        if (*p == '?') {
          if (*t == '\0') return false;
          ++t;
        }
        ++p;
      }
      if (*p == '\0') return true;
      const char c = *p;
      if (*t == '\0') return false;
      for (; *t != '\0'; ++t) {
        if (sameChar(*t, c, caseSensitive) && recursiveReference(p + 1, t + 1, caseSensitive))
          return true;
      }
      return false;
    }
    if (*t == '\0') return false;
    if (*p != '?' && !sameChar(*p, *t, caseSensitive)) return false;
    ++p;
    ++t;
  }
}

bool fnmatchSays(const std::string& pattern, const std::string& text, bool caseSensitive) {
  return fnmatch(pattern.c_str(), text.c_str(), caseSensitive ? 0 : FNM_CASEFOLD) == 0;
}

TEST(Wildcard, EmptyPatternMatchesOnlyEmptyText) {
  EXPECT_TRUE(kivMatchesWildcardPattern("", "", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("", "a", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("", "a", false));
}

TEST(Wildcard, NullCountsAsEmptyText) {
  EXPECT_TRUE(kivMatchesWildcardPattern(nullptr, nullptr, true));
  EXPECT_TRUE(kivMatchesWildcardPattern("*", nullptr, true));
  EXPECT_FALSE(kivMatchesWildcardPattern(nullptr, "a", true));
}

TEST(Wildcard, StarMatchesAnySequenceIncludingEmptyAndSlashes) {
  EXPECT_TRUE(kivMatchesWildcardPattern("*", "", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("*", "anything/at all", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("***", "abc", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("a*", "a", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("a*c", "a/b/c", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("*.txt", ".txt", true));
}

TEST(Wildcard, QuestionMarkNeedsExactlyOneCharacter) {
  EXPECT_FALSE(kivMatchesWildcardPattern("?", "", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("?", "x", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("?", "xy", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("a?c", "abc", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("a?c", "ac", true));
}

TEST(Wildcard, QuestionMarksAfterStarConsumeCharacters) {
  EXPECT_FALSE(kivMatchesWildcardPattern("*?", "", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("*?", "a", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("*??", "a", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("*?*?x", "abx", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("*?*?x", "ax", true));
}

TEST(Wildcard, WholeTextMustMatchWholePattern) {
  EXPECT_TRUE(kivMatchesWildcardPattern("abc", "abc", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("abc", "abcd", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("abcd", "abc", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("*.txt", "a.txt.bak", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("*.txt", "a.txt.txt", true));
}

TEST(Wildcard, TypicalFileNamePatterns) {
  EXPECT_TRUE(kivMatchesWildcardPattern("*.txt", "readme.txt", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("*.txt", "readme.txb", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("a?c*", "abc.cpp", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("a?c*", "xbc.cpp", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("*trace*.trc", "app_trace_1.trc", true));
}

TEST(Wildcard, StarRetriesLaterAnchorPositions) {
  // The first "b" after the star does not lead to a match; a later one does.
  EXPECT_TRUE(kivMatchesWildcardPattern("*bc", "abxbc", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("*b*b", "abab", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("a*b?d", "abxbcd", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("a*b?d", "abxbcde", true));
}

TEST(Wildcard, CaseFoldingUpperCasesBothSides) {
  EXPECT_TRUE(kivMatchesWildcardPattern("*.TXT", "readme.txt", false));
  EXPECT_FALSE(kivMatchesWildcardPattern("*.TXT", "readme.txt", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("ReadMe.*", "README.md", false));
  EXPECT_TRUE(kivMatchesWildcardPattern("*B", "aab", false));
  EXPECT_FALSE(kivMatchesWildcardPattern("_", "A", false));
}

TEST(Wildcard, BytesOutsideAsciiAreComparedAsTheyAreInTheCLocale) {
  EXPECT_TRUE(kivMatchesWildcardPattern("*\xe9?", "caf\xe9s", false));
  EXPECT_FALSE(kivMatchesWildcardPattern("caf\xc9", "caf\xe9", false));
  EXPECT_TRUE(kivMatchesWildcardPattern("?\xff*", "a\xff", true));
}

TEST(Wildcard, ManyStarsWithoutMatchFail) {
  const std::string text(2000, 'a');
  EXPECT_FALSE(kivMatchesWildcardPattern("*a*a*a*a*b", text.c_str(), true));
  EXPECT_FALSE(kivMatchesWildcardPattern("*a*a*a*a*B", text.c_str(), false));
  EXPECT_TRUE(kivMatchesWildcardPattern("*a*a*a*a*a", text.c_str(), true));
}

TEST(Wildcard, LongTextsNeedNoDeepRecursion) {
  std::string text(200000, 'a');
  std::string pattern;
  for (int i = 0; i < 1000; ++i) pattern += "*a";
  EXPECT_TRUE(kivMatchesWildcardPattern(pattern.c_str(), text.c_str(), true));
  pattern += "*b";
  EXPECT_FALSE(kivMatchesWildcardPattern(pattern.c_str(), text.c_str(), true));
  text.back() = 'b';
  EXPECT_TRUE(kivMatchesWildcardPattern(pattern.c_str(), text.c_str(), true));
}

// Generated cases: texts of a few letters (mixed case), "." and "/"; some
// patterns at random, most derived from a text by replacing characters with
// "?", replacing runs with "*" and changing case, so that many of them
// match. fnmatch without flags treats "/" and a leading "." as ordinary
// characters, and no generated pattern holds "[" or "\\".
class WildcardGenerated : public ::testing::TestWithParam<bool> {};

std::string derivePattern(std::mt19937& random, const std::string& text) {
  std::string pattern;
  for (std::size_t i = 0; i < text.size();) {
    const unsigned choice = random() % 10;
    if (choice < 2) {
      pattern += '?';
      ++i;
    } else if (choice < 4) {
      pattern += '*';
      i += random() % 4;  // the star stands for up to three characters
    } else if (choice < 5) {
      pattern += static_cast<char>(std::toupper(static_cast<unsigned char>(text[i++])));
    } else if (choice < 6) {
      pattern += "ab"[random() % 2];  // probably a mismatch
      ++i;
    } else {
      pattern += text[i++];
    }
  }
  if (random() % 4 == 0) pattern += '*';
  return pattern;
}

TEST_P(WildcardGenerated, AgreesWithFnmatchAndTheRecursiveRules) {
  const bool caseSensitive = GetParam();
  std::mt19937 random(caseSensitive ? 7 : 8);
  const char textAlphabet[] = "abAB./";
  const char patternAlphabet[] = "abAB./*??**";
  int matches = 0;
  int total = 0;
  int onlyWhenFolded = 0;
  for (int i = 0; i < 6000; ++i) {
    std::string text(random() % 11, ' ');
    for (char& c : text) c = textAlphabet[random() % (sizeof textAlphabet - 1)];
    std::string pattern;
    if (i % 3 == 0) {
      pattern.assign(random() % 9, ' ');
      for (char& c : pattern) c = patternAlphabet[random() % (sizeof patternAlphabet - 1)];
    } else {
      pattern = derivePattern(random, text);
    }
    const bool ours = kivMatchesWildcardPattern(pattern.c_str(), text.c_str(), caseSensitive);
    ASSERT_EQ(ours, fnmatchSays(pattern, text, caseSensitive))
        << "pattern '" << pattern << "' text '" << text << "'";
    ASSERT_EQ(ours, recursiveReference(pattern.c_str(), text.c_str(), caseSensitive))
        << "pattern '" << pattern << "' text '" << text << "'";
    matches += ours ? 1 : 0;
    if (ours && !kivMatchesWildcardPattern(pattern.c_str(), text.c_str(), true)) ++onlyWhenFolded;
    ++total;
  }
  // Both outcomes are well represented, so the comparison means something.
  EXPECT_GT(matches, total / 5);
  EXPECT_LT(matches, total * 4 / 5);
  // Folding makes a difference for many of the folded cases.
  if (!caseSensitive) {
    EXPECT_GT(onlyWhenFolded, total / 20);
  }
}

INSTANTIATE_TEST_SUITE_P(CaseSensitiveAndFolded, WildcardGenerated, ::testing::Bool(),
                         [](const ::testing::TestParamInfo<bool>& info) {
                           return info.param ? std::string("CaseSensitive")
                                             : std::string("CaseFolded");
                         });

}  // namespace
