// String search when memory runs out: the upper-cased copy of the pattern
// that an ignore-case search owns is refused. The constructor throws the
// memory manager's fatal exception and gives back what it took; the next
// search over the same pattern finds it.
#include <gtest/gtest.h>

#include <string>

#include "kiv_allocfail_support.hpp"
#include "kiv_strmatch.hpp"

namespace {

using kivtest::AllocationFailureRun;

TEST(StringSearchAllocationFailure, IgnoreCaseSearchThrowsAndFindsThePatternWhenRepeated) {
  const std::string pattern = "NeEdLe";
  const std::string text = "a haystack with one needle in it";
  const auto search = [&] {
    const KivClStringSearch search(pattern.c_str(), true);
    return search.getPattern(text.c_str());
  };
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    const char* found = nullptr;
    if (!run.inject([&] { found = search(); })) {
      EXPECT_EQ(found, nullptr);
      found = search();
    }
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found - text.c_str(), 20);
  });
  EXPECT_EQ(runs, 2);  // the copy of the pattern, then none
}

}  // namespace
