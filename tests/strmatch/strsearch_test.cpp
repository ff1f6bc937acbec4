// KivClStringSearch: the shift table, the right-to-left search with its
// bad-character shift and the guard that keeps the alignment moving right,
// ignore-case with its own upper-cased copy, and agreement with memmem on
// thousands of random texts.

#include <gtest/gtest.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "../../strmatch/kiv_strsearch_detail.hpp"
#include "kiv_strmatch.hpp"

namespace {

using kiv::detail::SkipMode;

std::ptrdiff_t offsetOf(const char* found, const char* text) {
  return found == nullptr ? -1 : found - text;
}

std::ptrdiff_t memmemOffset(const std::string& text, const std::string& pattern) {
  const void* found = memmem(text.data(), text.size(), pattern.data(), pattern.size());
  return found == nullptr ? -1 : static_cast<const char*>(found) - text.data();
}

std::string upperCopy(std::string s) {
  for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

// One page that may not be touched, so that any read of it ends the test.
class ForbiddenPage {
 public:
  ForbiddenPage() : m_size(static_cast<std::size_t>(sysconf(_SC_PAGESIZE))) {
    m_page = mmap(nullptr, m_size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m_page == MAP_FAILED) m_page = nullptr;
  }
  ~ForbiddenPage() {
    if (m_page != nullptr) munmap(m_page, m_size);
  }
  ForbiddenPage(const ForbiddenPage&) = delete;
  ForbiddenPage& operator=(const ForbiddenPage&) = delete;
  const char* data() const { return static_cast<const char*>(m_page); }

 private:
  std::size_t m_size;
  void* m_page;
};

std::vector<std::uint32_t> tableOf(const KivClStringSearch& search) {
  std::vector<std::uint32_t> table(256);
  for (unsigned c = 0; c < 256; ++c) table[c] = search.getShift(static_cast<unsigned char>(c));
  return table;
}

TEST(StringSearch, FindsPatternInText) {
  const char* text = "haystack with needle";
  KivClStringSearch search("needle", false);
  EXPECT_EQ(search.getPattern(text), text + 14);
  EXPECT_EQ(search.getPattern(text, static_cast<unsigned int>(std::strlen(text))), text + 14);
}

TEST(StringSearch, IgnoreCaseFindsUpperCasePatternInLowerCaseText) {
  const char* text = "haystack with needle";
  KivClStringSearch search("NEEDLE", true);
  EXPECT_EQ(search.getPattern(text), text + 14);
  KivClStringSearch mixed("nEeDlE", true);
  const char* upper = "HAYSTACK WITH NEEDLE";
  EXPECT_EQ(mixed.getPattern(upper), upper + 14);
}

TEST(StringSearch, CaseSensitiveSearchDoesNotFindOtherCase) {
  KivClStringSearch search("NEEDLE", false);
  EXPECT_EQ(search.getPattern("haystack with needle"), nullptr);
}

TEST(StringSearch, TextShorterThanPatternGivesNullWithoutComparing) {
  ForbiddenPage page;
  ASSERT_NE(page.data(), nullptr);
  KivClStringSearch search("needle", false);
  // Any read of the text would fault: the search must decide on the length.
  EXPECT_EQ(search.getPattern(page.data(), 5), nullptr);
  EXPECT_EQ(search.getPattern(page.data(), 0), nullptr);
  KivClStringSearch ignoring("needle", true);
  EXPECT_EQ(ignoring.getPattern(page.data(), 5), nullptr);
  EXPECT_EQ(search.getPattern("needl"), nullptr);
}

TEST(StringSearch, OneCharacterPatternIsFoundAtItsFirstOccurrence) {
  const char* text = "abxcx";
  KivClStringSearch search("x", false);
  EXPECT_EQ(search.getPattern(text), text + 2);
  const char* single = "x";
  EXPECT_EQ(search.getPattern(single), single);
  EXPECT_EQ(search.getPattern("abc"), nullptr);
  for (unsigned c = 0; c < 256; ++c) EXPECT_EQ(search.getShift(static_cast<unsigned char>(c)), 1u);
}

TEST(StringSearch, TableHoldsDistanceOfLastOccurrenceBeforeFinalPosition) {
  KivClStringSearch search("abcab", false);
  EXPECT_EQ(search.getPatternLength(), 5u);
  EXPECT_EQ(search.getShift(0), 5u);
  EXPECT_EQ(search.getShift('a'), 1u);  // positions 0 and 3: the later one wins
  EXPECT_EQ(search.getShift('b'), 3u);  // position 1; the final b does not count
  EXPECT_EQ(search.getShift('c'), 2u);
  EXPECT_EQ(search.getShift('d'), 5u);
  EXPECT_EQ(search.getShift(0xFF), 5u);
}

TEST(StringSearch, FinalCharacterKeepsPatternLengthUnlessItOccursEarlier) {
  KivClStringSearch unique("abc", false);
  EXPECT_EQ(unique.getShift('c'), 3u);
  EXPECT_EQ(unique.getShift('a'), 2u);
  EXPECT_EQ(unique.getShift('b'), 1u);
  KivClStringSearch repeated("aba", false);
  EXPECT_EQ(repeated.getShift('a'), 2u);
  EXPECT_EQ(repeated.getShift('b'), 1u);
}

TEST(StringSearch, IgnoreCaseTableUsesUpperCaseCharacters) {
  KivClStringSearch search("aBc", true);
  EXPECT_EQ(search.getPatternLength(), 3u);
  EXPECT_EQ(search.getShift('A'), 2u);
  EXPECT_EQ(search.getShift('B'), 1u);
  EXPECT_EQ(search.getShift('a'), 3u);
  EXPECT_EQ(search.getShift('b'), 3u);
  EXPECT_STREQ(search.getPatternText(), "ABC");
}

TEST(StringSearch, IgnoreCaseWorksOnItsOwnUpperCasedCopy) {
  char pattern[] = "needle";
  KivClStringSearch search(pattern, true);
  EXPECT_STREQ(pattern, "needle");  // the caller's text is left alone
  EXPECT_NE(search.getPatternText(), pattern);
  EXPECT_STREQ(search.getPatternText(), "NEEDLE");
  std::strcpy(pattern, "xxxxxx");  // the object does not depend on it
  const char* text = "a Needle";
  EXPECT_EQ(search.getPattern(text), text + 2);
}

TEST(StringSearch, CaseSensitiveSearchUsesCallersPattern) {
  const char pattern[] = "needle";
  KivClStringSearch search(pattern, false);
  EXPECT_EQ(search.getPatternText(), pattern);
  EXPECT_FALSE(search.getCaseFlag());
  KivClStringSearch ignoring(pattern, true);
  EXPECT_TRUE(ignoring.getCaseFlag());
}

// Pattern "abcb" on "cbcb": the last three characters match from the right,
// then the text's "c" fails against the pattern's "a". The entry of "c" is 1
// (its occurrence right of the mismatch), which would put the pattern's end
// one place right of the mismatch, two places left of where it stood, and let
// the next comparisons run into the two bytes before the text ("ab"), which
// complete a false match there.
TEST(StringSearch, AlignmentNeverMovesLeftOrBeforeTheText) {
  const char memory[] = "abcbcb";
  const char* text = memory + 2;  // "cbcb"
  KivClStringSearch search("abcb", false);
  EXPECT_EQ(search.getShift('c'), 1u);
  EXPECT_EQ(search.getPattern(text, 4), nullptr);
  EXPECT_EQ(search.getPattern(text), nullptr);
  KivClStringSearch ignoring("ABCB", true);
  EXPECT_EQ(ignoring.getPattern(text, 4), nullptr);
  const std::vector<std::uint32_t> table = tableOf(search);
  EXPECT_EQ(kiv::detail::skipTableSearch(text, 4, "abcb", table.data(), false, SkipMode::Table),
            nullptr);
}

TEST(StringSearch, EmptyPatternIsNeverFound) {
  KivClStringSearch empty("", false);
  EXPECT_EQ(empty.getPatternLength(), 0u);
  EXPECT_EQ(empty.getPattern("abc"), nullptr);
  EXPECT_EQ(empty.getPattern(""), nullptr);
  KivClStringSearch ignoring("", true);
  EXPECT_EQ(ignoring.getPattern("abc"), nullptr);
  KivClStringSearch null(nullptr, false);
  EXPECT_STREQ(null.getPatternText(), "");
  EXPECT_EQ(null.getPattern("abc"), nullptr);
  KivClStringSearch nullIgnoring(nullptr, true);
  EXPECT_STREQ(nullIgnoring.getPatternText(), "");
  EXPECT_EQ(nullIgnoring.getPattern("abc"), nullptr);
}

TEST(StringSearch, NullTextGivesNull) {
  KivClStringSearch search("a", false);
  EXPECT_EQ(search.getPattern(nullptr), nullptr);
  EXPECT_EQ(search.getPattern(nullptr, 10), nullptr);
}

TEST(StringSearch, LengthBoundsTheSearchAndNulBytesAreOrdinary) {
  const char text[] = "ab\0needle and more";
  KivClStringSearch search("needle", false);
  EXPECT_EQ(search.getPattern(text), nullptr);  // stops at the NUL
  EXPECT_EQ(search.getPattern(text, 9), text + 3);
  EXPECT_EQ(search.getPattern(text, 8), nullptr);  // the last "e" is outside
  KivClStringSearch ignoring("NEEDLE", true);
  EXPECT_EQ(ignoring.getPattern(text, 9), text + 3);
  EXPECT_EQ(ignoring.getPattern(text, 8), nullptr);
}

TEST(StringSearch, BytesAboveAsciiAreComparedAsUnsigned) {
  const char text[] = "caf\xE9 \xFF\x80\xE9t\xE9!";
  KivClStringSearch search("\xE9t\xE9", false);
  EXPECT_EQ(search.getShift(0xE9), 2u);
  EXPECT_EQ(search.getShift('t'), 1u);
  EXPECT_EQ(search.getPattern(text), text + 7);
  KivClStringSearch high("\xFF\x80", false);
  EXPECT_EQ(high.getPattern(text), text + 5);
}

TEST(StringSearch, FindsFirstOccurrenceAtEveryPlaceOfALongText) {
  // Texts long enough to be passed over in blocks: the pattern at the
  // start, at every place near block edges, and at the very end.
  const std::string pattern = "xyzzy";
  KivClStringSearch search(pattern.c_str(), false);
  KivClStringSearch ignoring("XYZZY", true);
  for (std::size_t length : {5u, 16u, 20u, 31u, 32u, 36u, 37u, 47u, 64u, 100u, 257u}) {
    for (std::size_t at = 0; at + pattern.size() <= length; ++at) {
      std::vector<char> text(length, 'y');
      std::memcpy(text.data() + at, pattern.data(), pattern.size());
      const auto len = static_cast<unsigned int>(length);
      EXPECT_EQ(offsetOf(search.getPattern(text.data(), len), text.data()),
                static_cast<std::ptrdiff_t>(at))
          << "length " << length << " at " << at;
      EXPECT_EQ(offsetOf(ignoring.getPattern(text.data(), len), text.data()),
                static_cast<std::ptrdiff_t>(at))
          << "length " << length << " at " << at;
    }
  }
}

TEST(StringSearch, AlignmentKeepsMovingRightInLongTexts) {
  // "abcb" after a long run of "cbcb": every attempt matches "cbcb"'s last
  // three characters and fails on "c", whose entry would move the alignment
  // back; the pattern itself comes at the end.
  std::string text;
  for (int i = 0; i < 40; ++i) text += "cb";
  text += "abcb";
  KivClStringSearch search("abcb", false);
  EXPECT_EQ(offsetOf(search.getPattern(text.c_str()), text.c_str()), 80);
  const std::vector<std::uint32_t> table = tableOf(search);
  EXPECT_EQ(offsetOf(kiv::detail::skipTableSearch(text.data(), text.size(), "abcb", table.data(),
                                                  false, SkipMode::Table),
                     text.data()),
            80);
  KivClStringSearch ignoring("aBcB", true);
  EXPECT_EQ(offsetOf(ignoring.getPattern(text.c_str()), text.c_str()), 80);
}

std::string randomText(std::mt19937& rng, std::size_t length, const std::string& alphabet) {
  std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
  std::string s(length, '\0');
  for (char& c : s) c = alphabet[pick(rng)];
  return s;
}

// Patterns are drawn from the text itself half of the time, so that most
// searches meet long partial matches and many find something.
std::string randomPattern(std::mt19937& rng, const std::string& text, const std::string& alphabet) {
  std::uniform_int_distribution<std::size_t> lengths(1, 12);
  const std::size_t length = lengths(rng);
  if (text.size() >= length && (rng() & 1) != 0) {
    std::uniform_int_distribution<std::size_t> at(0, text.size() - length);
    std::string s = text.substr(at(rng), length);
    if (s.find('\0') == std::string::npos) return s;
  }
  std::string letters = alphabet;
  letters.erase(std::remove(letters.begin(), letters.end(), '\0'), letters.end());
  return randomText(rng, length, letters);
}

std::size_t randomLength(std::mt19937& rng) {
  // Mostly short texts, one in four long enough for the block-wise pass.
  std::uniform_int_distribution<std::size_t> shortLength(0, 40);
  std::uniform_int_distribution<std::size_t> longLength(41, 700);
  return (rng() % 4 == 0) ? longLength(rng) : shortLength(rng);
}

TEST(StringSearch, AgreesWithMemmemOnRandomTexts) {
  std::mt19937 rng(20240611);
  const std::string alphabets[] = {"ab", "abc", "abcd", std::string("ab\0", 3), "a\xFF"};
  int found = 0;
  for (int round = 0; round < 6000; ++round) {
    const std::string& alphabet = alphabets[round % 5];
    const std::string text = randomText(rng, randomLength(rng), alphabet);
    const std::string pattern = randomPattern(rng, text, alphabet);
    // An exact-size heap copy, so that a read outside the text is caught.
    std::vector<char> exact(text.begin(), text.end());
    const char* data = exact.empty() ? "" : exact.data();
    const auto length = static_cast<unsigned int>(exact.size());
    const std::ptrdiff_t expected = memmemOffset(text, pattern);
    if (expected >= 0) ++found;

    KivClStringSearch search(pattern.c_str(), false);
    ASSERT_EQ(offsetOf(search.getPattern(data, length), data), expected)
        << "pattern \"" << pattern << "\" text \"" << text << "\"";
    const std::vector<std::uint32_t> table = tableOf(search);
    ASSERT_EQ(offsetOf(kiv::detail::skipTableSearch(data, length, pattern.c_str(), table.data(),
                                                    false, SkipMode::Table),
                       data),
              expected)
        << "pattern \"" << pattern << "\" text \"" << text << "\"";
    const char* terminated = text.c_str();
    const char* viaStrstr = std::strstr(terminated, pattern.c_str());
    ASSERT_EQ(offsetOf(search.getPattern(terminated), terminated), offsetOf(viaStrstr, terminated));
  }
  // The inputs are meant to find something often and to miss often.
  EXPECT_GT(found, 1500);
  EXPECT_LT(found, 4500);
}

TEST(StringSearch, IgnoringCaseAgreesWithMemmemOnUpperCasedRandomTexts) {
  std::mt19937 rng(7);
  const std::string alphabets[] = {"aA", "aAbB", "abC", "aBcD", std::string("aB\0", 3)};
  int found = 0;
  for (int round = 0; round < 6000; ++round) {
    const std::string& alphabet = alphabets[round % 5];
    const std::string text = randomText(rng, randomLength(rng), alphabet);
    std::string pattern = randomPattern(rng, text, alphabet);
    if (rng() & 1) pattern = randomText(rng, pattern.size(), "aAbBcCdD");
    std::vector<char> exact(text.begin(), text.end());
    const char* data = exact.empty() ? "" : exact.data();
    const auto length = static_cast<unsigned int>(exact.size());
    const std::ptrdiff_t expected = memmemOffset(upperCopy(text), upperCopy(pattern));
    if (expected >= 0) ++found;

    KivClStringSearch search(pattern.c_str(), true);
    ASSERT_EQ(offsetOf(search.getPattern(data, length), data), expected)
        << "pattern \"" << pattern << "\" text \"" << text << "\"";
  }
  EXPECT_GT(found, 1500);
  EXPECT_LT(found, 4500);
}

TEST(StringSearch, IgnoringCaseTheVectorSkipAgreesWithTheTableAlone) {
  // Long texts, so that the vector skip runs: both bytes of the first and
  // last pattern characters must be found wherever they stand.
  std::mt19937 rng(1125);
  const std::string alphabets[] = {"aA", "aAbBzZ", "xX\xE9\xC9", std::string("qQ\0", 3)};
  int found = 0;
  for (int round = 0; round < 3000; ++round) {
    const std::string& alphabet = alphabets[round % 4];
    const std::string text = randomText(rng, 64 + rng() % 900, alphabet);
    // The pattern is a C string: no NUL in it (the text may hold some).
    const std::string pattern =
        randomText(rng, 1 + rng() % 6, alphabet.substr(0, alphabet.find('\0')));
    KivClStringSearch search(pattern.c_str(), true);
    const std::vector<std::uint32_t> table = tableOf(search);
    std::vector<char> exact(text.begin(), text.end());
    const std::size_t length = exact.size();
    const char* folded = search.getPattern(exact.data(), static_cast<unsigned int>(length));
    const char* upper = search.getPatternText();  // upper-cased, as the table was made
    const char* tableOnly = kiv::detail::skipTableSearch(exact.data(), length, upper, table.data(),
                                                         true, SkipMode::Table);
    ASSERT_EQ(offsetOf(folded, exact.data()), offsetOf(tableOnly, exact.data()))
        << "pattern \"" << pattern << "\" text \"" << text << "\"";
    ASSERT_EQ(offsetOf(folded, exact.data()), memmemOffset(upperCopy(text), upperCopy(pattern)));
    if (folded != nullptr) ++found;
  }
  EXPECT_GT(found, 300);
  EXPECT_LT(found, 2900);
}

}  // namespace
