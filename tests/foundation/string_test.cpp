// Text search, counting, copying, case conversion and the case-insensitive
// comparisons.

#include <gtest/gtest.h>

#include <strings.h>

#include <cctype>
#include <cstring>
#include <random>
#include <string>

#include "kiv_base.hpp"

namespace {

std::string randomText(std::mt19937& random, const char* alphabet, std::size_t maxLength) {
  const std::size_t alphabetSize = std::strlen(alphabet);
  std::string text(random() % (maxLength + 1), ' ');
  for (char& c : text) c = alphabet[random() % alphabetSize];
  return text;
}

// ---------------------------------------------------------------------------
// kivStrFind
// ---------------------------------------------------------------------------

TEST(StrFind, CaseSensitiveSearchAgreesWithStrstr) {
  std::mt19937 random(1234);
  for (int i = 0; i < 20000; ++i) {
    const std::string text = randomText(random, "abAB", 12);
    const std::string pattern = randomText(random, "abAB", 4);
    ASSERT_EQ(kivStrFind(text.c_str(), pattern.c_str(), false),
              std::strstr(text.c_str(), pattern.c_str()))
        << "text '" << text << "' pattern '" << pattern << "'";
  }
}

TEST(StrFind, CaseInsensitiveSearchFindsUpperCasePatternInMixedText) {
  const char* text = "Hello";
  EXPECT_EQ(kivStrFind(text, "LL", true), text + 2);
  EXPECT_EQ(kivStrFind(text, "LL", false), nullptr);
  const char* other = "hElLo WORLD";
  EXPECT_EQ(kivStrFind(other, "world", true), other + 6);
  EXPECT_EQ(kivStrFind(other, "HELLO WORLD", true), other);
}

TEST(StrFind, CaseInsensitiveSearchDoesNotBackUpAfterPartialMatch) {
  // The "a" that breaks the partial match "a" is not tried again as a start.
  const char* text = "aab";
  EXPECT_EQ(kivStrFind(text, "ab", true), nullptr);
  EXPECT_EQ(kivStrFind(text, "ab", false), text + 1);

  const char* longer = "ababc";
  EXPECT_EQ(kivStrFind(longer, "abc", true), nullptr);
  EXPECT_EQ(kivStrFind(longer, "abc", false), longer + 2);

  const char* repeated = "aaab";
  EXPECT_EQ(kivStrFind(repeated, "aab", true), nullptr);
  EXPECT_EQ(kivStrFind(repeated, "aab", false), repeated + 1);
}

TEST(StrFind, CaseInsensitiveSearchFindsMatchAfterAFailedPartialMatch) {
  // The failed partial match "ab" ends at "x"; the search goes on from the
  // next character and finds the later full match.
  const char* text = "abxABC";
  EXPECT_EQ(kivStrFind(text, "abc", true), text + 3);
}

TEST(StrFind, EmptyPatternMatchesAtStartOfText) {
  const char* text = "abc";
  EXPECT_EQ(kivStrFind(text, "", true), text);
  EXPECT_EQ(kivStrFind(text, "", false), text);
  const char* empty = "";
  EXPECT_EQ(kivStrFind(empty, "", true), empty);
  EXPECT_EQ(kivStrFind(text, nullptr, true), text);
}

TEST(StrFind, PatternLongerThanTextIsNotFound) {
  EXPECT_EQ(kivStrFind("ab", "abc", true), nullptr);
  EXPECT_EQ(kivStrFind("", "a", true), nullptr);
  EXPECT_EQ(kivStrFind("ab", "abc", false), nullptr);
}

TEST(StrFind, MatchAtEndOfTextIsFound) {
  const char* text = "xyzAB";
  EXPECT_EQ(kivStrFind(text, "ab", true), text + 3);
  EXPECT_EQ(kivStrFind(text, "B", true), text + 4);
}

TEST(StrFind, NullTextGivesNull) {
  EXPECT_EQ(kivStrFind(nullptr, "a", true), nullptr);
  EXPECT_EQ(kivStrFind(nullptr, "a", false), nullptr);
}

// What the single pass must find: the first position at which a run of
// matching characters, started right after a reset or at the text start,
// completes the pattern.
const char* singlePassReference(const char* text, const char* pattern) {
  const std::size_t length = std::strlen(pattern);
  if (length == 0) return text;
  std::size_t matched = 0;
  for (std::size_t i = 0; text[i] != '\0'; ++i) {
    const bool same = std::tolower(static_cast<unsigned char>(text[i])) ==
                      std::tolower(static_cast<unsigned char>(pattern[matched]));
    matched = same ? matched + 1 : 0;
    if (matched == length) return text + i + 1 - length;
  }
  return nullptr;
}

TEST(StrFind, CaseInsensitiveResultsAreTrueMatchesAndFollowTheSinglePass) {
  std::mt19937 random(99);
  int found = 0;
  for (int i = 0; i < 20000; ++i) {
    const std::string text = randomText(random, "abAB", 12);
    const std::string pattern = randomText(random, "abAB", 3);
    const char* result = kivStrFind(text.c_str(), pattern.c_str(), true);
    ASSERT_EQ(result, singlePassReference(text.c_str(), pattern.c_str()))
        << "text '" << text << "' pattern '" << pattern << "'";
    if (result == nullptr) continue;
    ++found;
    // A result is always a real case-insensitive occurrence.
    ASSERT_EQ(strncasecmp(result, pattern.c_str(), pattern.size()), 0);
  }
  EXPECT_GT(found, 1000);
}

// ---------------------------------------------------------------------------
// kivStrCount and kivStrCopyUntil
// ---------------------------------------------------------------------------

TEST(StrCount, CountsEveryOccurrence) {
  EXPECT_EQ(kivStrCount("a=b=c", '='), 2u);
  EXPECT_EQ(kivStrCount("aaaa", 'a'), 4u);
  EXPECT_EQ(kivStrCount("abc", 'x'), 0u);
  EXPECT_EQ(kivStrCount("aA", 'a'), 1u);
}

TEST(StrCount, EmptyOrNullTextCountsZero) {
  EXPECT_EQ(kivStrCount("", 'a'), 0u);
  EXPECT_EQ(kivStrCount(nullptr, 'a'), 0u);
  EXPECT_EQ(kivStrCount("abc", '\0'), 0u);
}

TEST(StrCopyUntil, CopiesKeyBeforeEqualsSign) {
  char destination[32];
  std::memset(destination, 'X', sizeof destination);
  EXPECT_EQ(kivStrCopyUntil(destination, "key=value", '='), 3u);
  EXPECT_STREQ(destination, "key");
  EXPECT_EQ(destination[4], 'X');
}

TEST(StrCopyUntil, CopiesWholeSourceWithoutStopCharacter) {
  char destination[32];
  std::memset(destination, 'X', sizeof destination);
  EXPECT_EQ(kivStrCopyUntil(destination, "keyvalue", '='), 8u);
  EXPECT_STREQ(destination, "keyvalue");
  EXPECT_EQ(destination[9], 'X');
}

TEST(StrCopyUntil, StopsAtFirstStopCharacter) {
  char destination[32];
  EXPECT_EQ(kivStrCopyUntil(destination, "a=b=c", '='), 1u);
  EXPECT_STREQ(destination, "a");
  EXPECT_EQ(kivStrCopyUntil(destination, "=value", '='), 0u);
  EXPECT_STREQ(destination, "");
}

TEST(StrCopyUntil, EmptyOrNullSourceGivesEmptyText) {
  char destination[4] = "abc";
  EXPECT_EQ(kivStrCopyUntil(destination, "", '='), 0u);
  EXPECT_STREQ(destination, "");
  std::strcpy(destination, "abc");
  EXPECT_EQ(kivStrCopyUntil(destination, nullptr, '='), 0u);
  EXPECT_STREQ(destination, "");
  EXPECT_EQ(kivStrCopyUntil(nullptr, "abc", '='), 0u);
}

// ---------------------------------------------------------------------------
// Case conversion
// ---------------------------------------------------------------------------

TEST(CaseConversion, StruprConvertsInPlaceAndReturnsText) {
  char text[] = "Hello, World! 123 _z";
  EXPECT_EQ(strupr(text), text);
  EXPECT_STREQ(text, "HELLO, WORLD! 123 _Z");
}

TEST(CaseConversion, StrlwrConvertsInPlaceAndReturnsText) {
  char text[] = "Hello, World! 123 _Z";
  EXPECT_EQ(strlwr(text), text);
  EXPECT_STREQ(text, "hello, world! 123 _z");
}

TEST(CaseConversion, EmptyTextIsReturnedUnchanged) {
  char text[] = "\0X";
  EXPECT_EQ(strupr(text), text);
  EXPECT_EQ(text[1], 'X');
  EXPECT_EQ(strlwr(text), text);
  EXPECT_EQ(text[1], 'X');
  EXPECT_EQ(strupr(nullptr), nullptr);
  EXPECT_EQ(strlwr(nullptr), nullptr);
}

TEST(CaseConversion, StopsAtTheNul) {
  char text[] = "ab\0cd";
  strupr(text);
  EXPECT_EQ(std::string(text, 5), std::string("AB\0cd", 5));
}

TEST(CaseConversion, BytesOutsideAsciiStayInTheCLocale) {
  char text[] = "a\xe9Z\xc9";
  strupr(text);
  EXPECT_STREQ(text, "A\xe9Z\xc9");
  strlwr(text);
  EXPECT_STREQ(text, "a\xe9z\xc9");
}

// ---------------------------------------------------------------------------
// Comparisons
// ---------------------------------------------------------------------------

TEST(Strcmpi, EqualTextsInAnyCaseAreZero) {
  EXPECT_EQ(strcmpi("abc", "ABC"), 0);
  EXPECT_EQ(strcmpi("", ""), 0);
  EXPECT_EQ(strcmpi("MiXeD 1_2", "mIxEd 1_2"), 0);
}

TEST(Strcmpi, ReturnsDifferenceOfUpperCasedFirstDifferingPair) {
  EXPECT_EQ(strcmpi("abc", "abd"), 'C' - 'D');
  EXPECT_EQ(strcmpi("abd", "ABC"), 'D' - 'C');
  EXPECT_EQ(strcmpi("abc", "ab"), 'C');
  EXPECT_EQ(strcmpi("ab", "abc"), -'C');
}

TEST(Strcmpi, UnderscoreSortsAfterLettersBecauseOfUpperCasing) {
  // '_' lies between 'Z' and 'a': against the upper-cased letter it is
  // greater.
  EXPECT_EQ(strcmpi("_", "a"), '_' - 'A');
  EXPECT_GT(strcmpi("_", "a"), 0);
  EXPECT_GT(strcmpi("a_", "ab"), 0);
}

TEST(Strncmpi, UnderscoreSortsBeforeLettersBecauseOfLowerCasing) {
  // The same pair as for strcmpi, the opposite order: both are kept.
  EXPECT_EQ(strncmpi("_", "a", 1), '_' - 'a');
  EXPECT_LT(strncmpi("_", "A", 1), 0);
  EXPECT_LT(strncmpi("a_", "ab", 2), 0);
}

TEST(Strcmpi, HighBytesSortAfterAscii) {
  EXPECT_GT(strcmpi("\xe9", "a"), 0);
  EXPECT_EQ(strcmpi("\xe9", "\xe9"), 0);
}

TEST(Strcmpi, NullCountsAsEmptyText) {
  EXPECT_EQ(strcmpi(nullptr, ""), 0);
  EXPECT_EQ(strcmpi(nullptr, nullptr), 0);
  EXPECT_EQ(strcmpi("a", nullptr), 'A');
}

TEST(Strncmpi, ComparesAtMostCountCharacters) {
  EXPECT_EQ(strncmpi("abcd", "ABCE", 3), 0);
  EXPECT_EQ(strncmpi("abcd", "ABCE", 4), 'd' - 'e');
  EXPECT_EQ(strncmpi("abcd", "ABCE", 100), 'd' - 'e');
}

TEST(Strncmpi, CountZeroOrLessIsZero) {
  EXPECT_EQ(strncmpi("abc", "xyz", 0), 0);
  EXPECT_EQ(strncmpi("abc", "xyz", -1), 0);
}

TEST(Strncmpi, StopsAfterComparedNulOfFirstText) {
  EXPECT_EQ(strncmpi("ab", "AB", 10), 0);
  EXPECT_EQ(strncmpi("ab", "abc", 10), -'c');
  EXPECT_EQ(strncmpi("abc", "ab", 10), 'c');
  EXPECT_EQ(strncmpi("", "", 5), 0);
}

TEST(Memicmp, EqualBlocksInAnyCaseAreZero) {
  EXPECT_EQ(memicmp("aB", "Ab", 2), 0);
  EXPECT_EQ(memicmp("xyz", "abc", 0), 0);
  EXPECT_EQ(memicmp(nullptr, nullptr, 0), 0);
}

TEST(Memicmp, ReturnsDifferenceOfLowerCasedFirstDifferingPair) {
  EXPECT_EQ(memicmp("abc", "ABD", 3), 'c' - 'd');
  EXPECT_EQ(memicmp("_", "A", 1), '_' - 'a');
  // Only the given length counts.
  EXPECT_EQ(memicmp("abc", "ABD", 2), 0);
}

TEST(Memicmp, ComparesPastNulBytes) {
  EXPECT_EQ(memicmp("a\0b", "A\0c", 3), 'b' - 'c');
  EXPECT_EQ(memicmp("a\0B", "A\0b", 3), 0);
}

TEST(Memicmp, ReadsBytesAsUnsigned) {
  EXPECT_EQ(memicmp("\xe9", "a", 1), 0xe9 - 'a');
  EXPECT_EQ(memicmp("a", "\xff", 1), 'a' - 0xff);
}

}  // namespace
