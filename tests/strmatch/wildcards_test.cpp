// KivClStringMatchWildcards: whole-text wildcard matching whose flag means
// case-sensitive, and the three pattern objects used through their base.

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "kiv_strmatch.hpp"

namespace {

TEST(StringMatchWildcards, TrueMeansCaseSensitive) {
  // The flag goes to the matcher as its caseSensitive argument unchanged:
  // with true an upper-case name does not match a lower-case pattern.
  KivClStringMatchWildcards exact("*.ini", true);
  const char* upper = "SETUP.INI";
  const char* lower = "setup.ini";
  EXPECT_EQ(exact.getPattern(upper), nullptr);
  EXPECT_EQ(exact.getPattern(lower), lower);
  EXPECT_EQ(exact.getPattern("setup.txt"), nullptr);
}

TEST(StringMatchWildcards, FalseMatchesWithoutRegardToCase) {
  KivClStringMatchWildcards folded("*.ini", false);
  const char* upper = "SETUP.INI";
  const char* lower = "setup.ini";
  EXPECT_EQ(folded.getPattern(upper), upper);
  EXPECT_EQ(folded.getPattern(lower), lower);
  EXPECT_EQ(folded.getPattern("setup.txt"), nullptr);
  EXPECT_EQ(folded.getPattern("SETUP.TXT"), nullptr);
}

TEST(StringMatchWildcards, KeepsTheFlagAsGiven) {
  KivClStringMatchWildcards exact("*.ini", true);
  EXPECT_TRUE(exact.getCaseFlag());
  KivClStringMatchWildcards folded("*.ini", false);
  EXPECT_FALSE(folded.getCaseFlag());
}

TEST(StringMatchWildcards, MatchesTheWholeText) {
  KivClStringMatchWildcards pattern("a?c", true);
  const char* text = "abc";
  EXPECT_EQ(pattern.getPattern(text), text);
  EXPECT_EQ(pattern.getPattern("ac"), nullptr);
  EXPECT_EQ(pattern.getPattern("abcd"), nullptr);
  EXPECT_EQ(pattern.getPattern("xabc"), nullptr);
  KivClStringMatchWildcards star("a*b*c", true);
  const char* spread = "a--b--b--c";
  EXPECT_EQ(star.getPattern(spread), spread);
  EXPECT_EQ(star.getPattern("a--b--b--"), nullptr);
}

TEST(StringMatchWildcards, EmptyPatternMatchesOnlyEmptyText) {
  KivClStringMatchWildcards empty("", true);
  const char* nothing = "";
  EXPECT_EQ(empty.getPattern(nothing), nothing);
  EXPECT_EQ(empty.getPattern("a"), nullptr);
  KivClStringMatchWildcards null(nullptr, true);
  EXPECT_STREQ(null.getPatternText(), "");
  EXPECT_EQ(null.getPattern(nothing), nothing);
  EXPECT_EQ(null.getPattern("a"), nullptr);
}

TEST(StringMatchWildcards, NullTextGivesNull) {
  KivClStringMatchWildcards any("*", true);
  EXPECT_EQ(any.getPattern(nullptr), nullptr);
}

TEST(StringMatchWildcards, UsesTheCallersPattern) {
  const char pattern[] = "*.ini";
  KivClStringMatchWildcards match(pattern, false);
  EXPECT_EQ(match.getPatternText(), pattern);
}

TEST(StringMatchObjects, AreInterchangeableThroughTheBase) {
  std::vector<std::unique_ptr<KivClStringMatchABase>> objects;
  objects.push_back(std::make_unique<KivClStringSearch>("ini", false));
  objects.push_back(std::make_unique<KivClStringMatchWildcards>("*.ini", true));
  objects.push_back(std::make_unique<KivClGrep>("i+n", false));
  const char* text = "setup.ini";
  EXPECT_EQ(objects[0]->getPattern(text), text + 6);
  EXPECT_EQ(objects[1]->getPattern(text), text);
  EXPECT_EQ(objects[2]->getPattern(text), text + 6);
  for (const auto& object : objects) EXPECT_EQ(object->getPattern("setup.txt"), nullptr);
}

}  // namespace
