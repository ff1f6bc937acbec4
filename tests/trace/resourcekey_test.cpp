// Resource keys: how names are built and cleaned, copied and matched.
#include <gtest/gtest.h>

#include <string>

#include "kiv_tracebuffer.hpp"

namespace {

constexpr const char* kAlphabet =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-@";

// A key with a type of our own, to reach the protected constructor.
class TestKey : public KivClResourceKeyABase {
 public:
  TestKey(const char* type, const char* key, const char* instance)
      : KivClResourceKeyABase(type, key, instance) {}
  TestKey(const TestKey&) = default;
  TestKey& operator=(const TestKey&) = default;
};

// The cleaned form of one byte, derived from the rule rather than a table.
char cleaned(unsigned char c) {
  if (c == '/') return ':';
  if (std::string(kAlphabet).find(static_cast<char>(c)) != std::string::npos && c != 0) {
    return static_cast<char>(c);
  }
  return kAlphabet[c % 65];
}

TEST(ResourceKey, SemaphoreKeyOfTraceKeyAndDefaultInstance) {
  const KivClResourceKeySemaphore key("myapp", "KIVTRACEINSTANCE0");
  EXPECT_STREQ(key.getName(), "---:myapp:KIVTRACEINSTANCE0");
  EXPECT_EQ(key.getNameLength(), 27u);
  EXPECT_STREQ(key.getUserPart(), "myapp:KIVTRACEINSTANCE0");
}

TEST(ResourceKey, CleansSpaceSlashAndOtherCharacters) {
  const KivClResourceKeySemaphore key("my app/x", "1");
  EXPECT_STREQ(key.getName(), "---:myGapp:x:1");
  EXPECT_STREQ(key.getUserPart(), "myGapp:x:1");
  const KivClResourceKeySemaphore dot("a.b?c", nullptr);
  EXPECT_STREQ(dot.getName(), "---:aUb-c");
}

TEST(ResourceKey, WithoutInstanceHasNoTrailingPart) {
  const KivClResourceKeySemaphore key("trace", nullptr);
  EXPECT_STREQ(key.getName(), "---:trace");
  EXPECT_STREQ(key.getUserPart(), "trace");
}

TEST(ResourceKey, EveryByteIsCleanedByTheRule) {
  // Two halves, so that each name stays below 256 characters.
  for (int from : {1, 128}) {
    std::string part;
    for (int c = from; c < from + 127 && c < 256; ++c) part.push_back(static_cast<char>(c));
    const TestKey key("t", part.c_str(), nullptr);
    std::string expected = "t:";
    for (const char c : part) expected.push_back(cleaned(static_cast<unsigned char>(c)));
    EXPECT_EQ(std::string(key.getName()), expected);
    // Only alphabet characters and ":" remain.
    for (const char* p = key.getName(); *p != '\0'; ++p) {
      EXPECT_TRUE(*p == ':' || std::string(kAlphabet).find(*p) != std::string::npos) << int(*p);
    }
  }
  // High bytes wrap around the alphabet too: 200 % 65 = 5, "f".
  EXPECT_STREQ(TestKey("t", "\xC8", nullptr).getName(), "t:f");
  EXPECT_STREQ(TestKey("t", "\xFF", nullptr).getName(), "t:8");  // 255 % 65 = 60
}

TEST(ResourceKey, AddAppendsSeparatorOnlyAfterANonEmptyName) {
  TestKey empty("", "", nullptr);
  EXPECT_STREQ(empty.getName(), "");
  empty.add("first part");
  EXPECT_STREQ(empty.getName(), "firstGpart");
  empty.add("x/y");
  EXPECT_STREQ(empty.getName(), "firstGpart:x:y");
  EXPECT_EQ(empty.getNameLength(), 14u);
  empty.add(nullptr);
  EXPECT_STREQ(empty.getName(), "firstGpart:x:y");
}

TEST(ResourceKey, AssignmentCopiesNameAndKeepsUserPartOwn) {
  const TestKey source("type", "key", "inst");
  TestKey target("other", "name", nullptr);
  target = source;
  EXPECT_STREQ(target.getName(), "type:key:inst");
  EXPECT_EQ(target.getNameLength(), 13u);
  EXPECT_STREQ(target.getUserPart(), "key:inst");
  // The user part points into the copy, not into the source.
  EXPECT_GE(target.getUserPart(), target.getName());
  EXPECT_LT(target.getUserPart(), target.getName() + 256);
  const TestKey copied(source);
  EXPECT_EQ(copied.getUserPart() - copied.getName(), 5);
  EXPECT_STREQ(copied.getUserPart(), "key:inst");
}

TEST(ResourceKey, SemaphoreKeyCopiesName) {
  const KivClResourceKeySemaphore a("alpha", "1");
  KivClResourceKeySemaphore b("beta", nullptr);
  b = a;
  EXPECT_STREQ(b.getName(), "---:alpha:1");
  EXPECT_STREQ(b.getUserPart(), "alpha:1");
  const KivClResourceKeySemaphore c(a);
  EXPECT_STREQ(c.getName(), "---:alpha:1");
  EXPECT_STREQ(c.getUserPart(), "alpha:1");
}

TEST(ResourceKey, MatchesComparesExactlyTheNameLength) {
  const KivClResourceKeySemaphore key("myapp", "KIVTRACEINSTANCE0");
  EXPECT_TRUE(key.matches("---:myapp:KIVTRACEINSTANCE0"));
  EXPECT_TRUE(key.matches("---:myapp:KIVTRACEINSTANCE0 and more"));
  EXPECT_FALSE(key.matches("---:myapp:KIVTRACEINSTANCE"));
  EXPECT_FALSE(key.matches("---:myapp:KIVTRACEINSTANCE1"));
  EXPECT_FALSE(key.matches(""));
  EXPECT_FALSE(key.matches(nullptr));
  // A different key that cleans to the same name matches: the mapping is
  // many-to-one.
  const KivClResourceKeySemaphore spaced("my app", nullptr);
  EXPECT_TRUE(spaced.matches("---:myGapp"));
  EXPECT_TRUE(KivClResourceKeySemaphore("my.app", nullptr).matches("---:myUapp"));
}

TEST(ResourceKey, OverlongNameIsCutAt255Characters) {
  const std::string longKey(400, 'k');
  const KivClResourceKeySemaphore key(longKey.c_str(), "inst");
  EXPECT_EQ(key.getNameLength(), 255u);
  EXPECT_EQ(std::string(key.getName()), "---:" + std::string(251, 'k'));
}

}  // namespace
