// KivClGrep: compiling with REG_EXTENDED (and REG_ICASE) or the caller's
// flags, the match start or the text start, failed expressions, and agreement
// with regcomp/regexec called directly.

#include <gtest/gtest.h>
#include <regex.h>

#include <cstddef>
#include <random>
#include <string>

#include "kiv_strmatch.hpp"

namespace {

TEST(Grep, AnchoredExpressionMatchesAtTextStartOnly) {
  KivClGrep grep("^a[0-9]+", false);
  ASSERT_EQ(grep.getCompileResult(), 0);
  const char* match = "a12b";
  EXPECT_EQ(grep.getPattern(match), match);
  EXPECT_EQ(grep.getPattern("xa12"), nullptr);
}

TEST(Grep, ReturnsWhereTheMatchBegins) {
  KivClGrep grep("[0-9]+", false);
  const char* text = "ab12cd";
  EXPECT_EQ(grep.getPattern(text), text + 2);
  EXPECT_EQ(grep.getPattern(text, 0), text + 2);
  EXPECT_EQ(grep.getPattern("abcd"), nullptr);
}

TEST(Grep, TextStartFlagReturnsTheTextItself) {
  KivClGrep grep("[0-9]+", false);
  const char* text = "ab12cd";
  EXPECT_EQ(KivClGrep::cv_iEflagTextStart, 256);
  EXPECT_EQ(grep.getPattern(text, KivClGrep::cv_iEflagTextStart), text);
  EXPECT_EQ(grep.getPattern(text, 1 << 8), text);
  // The value 8 is not the library's flag; regexec refuses it.
  EXPECT_EQ(grep.getPattern(text, 8), nullptr);
  EXPECT_EQ(grep.getPattern("abcd", 1 << 8), nullptr);  // still only on a match
  // Together with regexec's own flags, which keep their meaning.
  KivClGrep anchored("^b", false);
  const char* begins = "bcd";
  EXPECT_EQ(anchored.getPattern(begins, 1 << 8), begins);
  EXPECT_EQ(anchored.getPattern(begins, (1 << 8) | REG_NOTBOL), nullptr);
}

TEST(Grep, IgnoreCaseAddsRegIcase) {
  KivClGrep ignoring("ABC", true);
  EXPECT_TRUE(ignoring.getCaseFlag());
  const char* text = "xabc";
  EXPECT_EQ(ignoring.getPattern(text), text + 1);
  KivClGrep exact("ABC", false);
  EXPECT_FALSE(exact.getCaseFlag());
  EXPECT_EQ(exact.getPattern(text), nullptr);
}

TEST(Grep, CompilesExtendedExpressions) {
  // "+" and "|" are operators only in extended expressions.
  KivClGrep grep("ab+|z", false);
  const char* text = "xabbb";
  EXPECT_EQ(grep.getPattern(text), text + 1);
  const char* zed = "--z";
  EXPECT_EQ(grep.getPattern(zed), zed + 2);
}

TEST(Grep, CallersFlagsAreUsedAndIcaseBitSetsTheCaseFlag) {
  KivClGrep basic(0, "a|b");  // a basic expression: "|" is an ordinary character
  ASSERT_EQ(basic.getCompileResult(), 0);
  EXPECT_FALSE(basic.getCaseFlag());
  EXPECT_EQ(basic.getPattern("a"), nullptr);
  const char* literal = "xa|b";
  EXPECT_EQ(basic.getPattern(literal), literal + 1);

  KivClGrep icase(REG_ICASE, "A|B");
  EXPECT_TRUE(icase.getCaseFlag());
  const char* lower = "-a|b";
  EXPECT_EQ(icase.getPattern(lower), lower + 1);

  KivClGrep extended(REG_EXTENDED | REG_ICASE, "A|B");
  EXPECT_TRUE(extended.getCaseFlag());
  const char* b = "--b";
  EXPECT_EQ(extended.getPattern(b), b + 2);
  KivClGrep newline(REG_EXTENDED | REG_NEWLINE, "^b");
  EXPECT_FALSE(newline.getCaseFlag());
  const char* lines = "a\nb";
  EXPECT_EQ(newline.getPattern(lines), lines + 2);
}

TEST(Grep, BadExpressionKeepsRegcompResultAndMatchesNothing) {
  KivClGrep grep("a(b", false);
  EXPECT_EQ(grep.getCompileResult(), REG_EPAREN);
  EXPECT_EQ(grep.getPattern("a(b"), nullptr);
  EXPECT_EQ(grep.getPattern("ab", 1 << 8), nullptr);
  KivClGrep bracket(REG_EXTENDED, "[a");
  EXPECT_EQ(bracket.getCompileResult(), REG_EBRACK);
  EXPECT_EQ(bracket.getPattern("[a"), nullptr);
}

TEST(Grep, InitReplacesTheExpression) {
  KivClGrep grep("a", false);
  const char* text = "xab";
  EXPECT_EQ(grep.getPattern(text), text + 1);
  EXPECT_EQ(grep.init("b", REG_EXTENDED), 0);
  EXPECT_STREQ(grep.getPatternText(), "b");
  EXPECT_EQ(grep.getPattern(text), text + 2);
  EXPECT_EQ(grep.init("(", REG_EXTENDED), REG_EPAREN);
  EXPECT_EQ(grep.getCompileResult(), REG_EPAREN);
  EXPECT_EQ(grep.getPattern(text), nullptr);
  EXPECT_EQ(grep.init("x", REG_EXTENDED), 0);
  EXPECT_EQ(grep.getPattern(text), text);
}

TEST(Grep, NoSubExpressionMatchesGiveTheTextStart) {
  KivClGrep grep(REG_EXTENDED | REG_NOSUB, "[0-9]");
  const char* text = "ab1";
  EXPECT_EQ(grep.getPattern(text), text);
  EXPECT_EQ(grep.getPattern("ab"), nullptr);
}

TEST(Grep, RangeFlagSearchesTheWholeText) {
  KivClGrep grep("c", false);
  const char* text = "abc";
  EXPECT_EQ(grep.getPattern(text, REG_STARTEND), text + 2);
}

TEST(Grep, FlagsUnknownToRegexecGiveNull) {
  KivClGrep grep("a", false);
  EXPECT_EQ(grep.getPattern("a", 16), nullptr);
}

TEST(Grep, NullTextAndNullPattern) {
  KivClGrep grep("a", false);
  EXPECT_EQ(grep.getPattern(nullptr), nullptr);
  KivClGrep empty(nullptr, false);  // the empty expression matches everywhere
  EXPECT_EQ(empty.getCompileResult(), 0);
  EXPECT_STREQ(empty.getPatternText(), "");
  const char* text = "abc";
  EXPECT_EQ(empty.getPattern(text), text);
}

// The same expression, flags and text through regcomp/regexec directly.
std::ptrdiff_t directOffset(const char* pattern, int cflags, const char* text, int eflags) {
  regex_t regex;
  if (regcomp(&regex, pattern, cflags) != 0) return -2;
  regmatch_t match[2];
  const int rc = regexec(&regex, text, 2, match, eflags);
  regfree(&regex);
  return rc == 0 ? match[0].rm_so : -1;
}

std::ptrdiff_t grepOffset(const KivClGrep& grep, const char* text, int eflags) {
  if (grep.getCompileResult() != 0) return -2;
  const char* found = grep.getPattern(text, eflags);
  return found == nullptr ? -1 : found - text;
}

TEST(Grep, AgreesWithRegexecOnRandomTexts) {
  const char* patterns[] = {"a",    "ab*c",     "^b",          "c$",     "(ab|ba)+", "[ab]{2,3}c",
                            "a.?b", "^(a|b)*$", "b[^a]c",      "A+B",    "(a)(b)",   "\\.",
                            "x|^$", "a{3}",     "[[:upper:]]", "^.c|b.$"};
  const int cflagSets[] = {REG_EXTENDED, REG_EXTENDED | REG_ICASE, REG_EXTENDED | REG_NEWLINE,
                           REG_EXTENDED | REG_ICASE | REG_NEWLINE};
  const int eflagSets[] = {0, REG_NOTBOL, REG_NOTEOL, REG_NOTBOL | REG_NOTEOL};
  std::mt19937 rng(99);
  const std::string alphabet = "abcAB.\nx";
  std::uniform_int_distribution<std::size_t> lengths(0, 12);
  std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
  int matched = 0;
  int compared = 0;
  for (const char* pattern : patterns) {
    for (int cflags : cflagSets) {
      KivClGrep grep(cflags, pattern);
      ASSERT_EQ(grep.getCompileResult(), 0) << pattern;
      const bool viaBool = (cflags & ~REG_ICASE) == REG_EXTENDED;
      KivClGrep byFlag(pattern, (cflags & REG_ICASE) != 0);
      for (int round = 0; round < 40; ++round) {
        std::string text(lengths(rng), ' ');
        for (char& c : text) c = alphabet[pick(rng)];
        for (int eflags : eflagSets) {
          const std::ptrdiff_t expected = directOffset(pattern, cflags, text.c_str(), eflags);
          ASSERT_EQ(grepOffset(grep, text.c_str(), eflags), expected)
              << pattern << " cflags " << cflags << " eflags " << eflags << " text \"" << text
              << "\"";
          if (viaBool) {
            ASSERT_EQ(grepOffset(byFlag, text.c_str(), eflags), expected);
          }
          // With the text-start flag: the text itself exactly when regexec matches.
          const std::ptrdiff_t start =
              grepOffset(grep, text.c_str(), eflags | KivClGrep::cv_iEflagTextStart);
          ASSERT_EQ(start, expected < 0 ? -1 : 0);
          if (expected >= 0) ++matched;
          ++compared;
        }
      }
    }
  }
  EXPECT_GT(matched, compared / 5);
  EXPECT_LT(matched, compared * 4 / 5);
}

}  // namespace
