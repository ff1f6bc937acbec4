// Tests of the random number generator against a reference generator written
// here from the algorithm: plain loops on 32-bit words.

#include "kiv_random.hpp"

#include <gtest/gtest.h>
#include <sys/time.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace {

constexpr std::uint64_t kTop = 4294967295u;
constexpr std::uint64_t kTwo63 = std::uint64_t{1} << 63;
constexpr std::uint64_t kMax64 = ~std::uint64_t{0};

// The reference generator. aa and bb start at 0 and seeding leaves them.
struct RefIbaa {
  std::array<std::uint32_t, 256> m{};
  std::array<std::uint32_t, 256> r{};
  std::uint32_t aa = 0;
  std::uint32_t bb = 0;
  unsigned remaining = 0;

  void seed(std::uint64_t seed) {
    std::uint64_t s = seed | 1;
    for (int i = 0; i < 256; ++i) {
      const std::uint64_t q = s / 127773;
      s = (s - q * 127773) * 16807 - q * 2836;
      m[i] = static_cast<std::uint32_t>(s);  // only the low 32 bits ever count
    }
    batch();
    remaining = 256;
  }

  void batch() {
    std::uint32_t a = aa;
    std::uint32_t b = bb;
    for (int i = 0; i < 256; ++i) {
      const std::uint32_t x = m[i];
      a = ((a << 19) | (a >> 13)) + m[(i + 128) % 256];
      const std::uint32_t y = m[x % 256] + a + b;
      m[i] = y;
      b = m[(y >> 8) % 256] + x;
      r[i] = b;
    }
    aa = a;
    bb = b;
  }

  std::uint32_t next() {
    if (remaining == 0) {
      batch();
      remaining = 255;
      return r[255];
    }
    --remaining;
    return r[remaining];
  }
};

// The scaling, written independently: truncation of the double product, kept
// within 0..max.
std::uint64_t refScale(std::uint64_t v, std::uint64_t max) {
  const double d = static_cast<double>(max) * (static_cast<double>(v) / 4294967295.0);
  if (d >= 18446744073709551616.0) return max;
  const std::uint64_t t = static_cast<std::uint64_t>(d);  // exact below 2^64
  return t < max ? t : max;
}

// A new generator together with a reference in the same state. The generator
// seeds itself from the clock's microseconds; the reference finds which
// microsecond by trying every one between two readings of the clock, each
// with aa = bb = 0, against the generator's first draws.
struct Known {
  std::unique_ptr<KivClRandomNumberGenerator> gen;
  RefIbaa ref;
};

std::int64_t microsecondsNow() {
  timeval t{};
  gettimeofday(&t, nullptr);
  return static_cast<std::int64_t>(t.tv_sec) * 1000000 + t.tv_usec;
}

std::optional<Known> makeKnown() {
  const std::int64_t before = microsecondsNow();
  auto gen = std::make_unique<KivClRandomNumberGenerator>();
  const std::int64_t after = microsecondsNow();
  std::vector<std::uint64_t> first;
  for (int i = 0; i < 6; ++i) first.push_back(gen->getRandomNumber());

  const std::int64_t span = after - before >= 1000000 ? 999999 : after - before;
  for (std::int64_t t = before; t <= before + span; ++t) {
    RefIbaa ref;
    ref.seed(static_cast<std::uint64_t>(t % 1000000));
    bool same = true;
    for (int i = 0; i < 6 && same; ++i) same = refScale(ref.next(), kTop) == first[i];
    if (same) return Known{std::move(gen), ref};
  }
  return std::nullopt;
}

TEST(RandomNumberGenerator, NewGeneratorSeedsFromMicrosecondsWithZeroAccumulators) {
  std::optional<Known> known = makeKnown();
  ASSERT_TRUE(known.has_value()) << "no microsecond seed with aa = bb = 0 matches";
  Known k = std::move(*known);
  for (int i = 0; i < 300; ++i) EXPECT_EQ(k.gen->getRandomNumber(), refScale(k.ref.next(), kTop));
}

TEST(RandomNumberGenerator, MatchesTheReferenceOverSeveralHundredDraws) {
  std::optional<Known> known = makeKnown();
  ASSERT_TRUE(known.has_value());
  known->gen->init(12345);
  known->ref.seed(12345);
  for (int i = 0; i < 900; ++i) {
    ASSERT_EQ(known->gen->getRandomNumber(), refScale(known->ref.next(), kTop)) << "draw " << i;
  }
}

TEST(RandomNumberGenerator, ReseedingContinuesFromTheCurrentAccumulators) {
  std::optional<Known> known = makeKnown();
  ASSERT_TRUE(known.has_value());
  const KivClRandomNumberGenerator& gen = *known->gen;  // init is const
  RefIbaa& ref = known->ref;

  gen.init(99);
  ref.seed(99);
  std::vector<std::uint64_t> first, second;
  for (int i = 0; i < 300; ++i) {
    first.push_back(gen.getRandomNumber());
    EXPECT_EQ(first.back(), refScale(ref.next(), kTop));
  }
  // The same seed again: aa and bb are where the draws left them, so the
  // sequence is a different one.
  gen.init(99);
  ref.seed(99);
  for (int i = 0; i < 300; ++i) {
    second.push_back(gen.getRandomNumber());
    EXPECT_EQ(second.back(), refScale(ref.next(), kTop));
  }
  EXPECT_NE(first, second);

  // Once more: the generator follows the reference that keeps aa and bb, not
  // one that resets them before seeding.
  RefIbaa resetting = ref;
  resetting.aa = resetting.bb = 0;
  resetting.seed(99);
  ref.seed(99);
  gen.init(99);
  std::vector<std::uint64_t> fromGen, fromKeeping, fromResetting;
  for (int i = 0; i < 50; ++i) {
    fromGen.push_back(gen.getRandomNumber());
    fromKeeping.push_back(refScale(ref.next(), kTop));
    fromResetting.push_back(refScale(resetting.next(), kTop));
  }
  EXPECT_EQ(fromGen, fromKeeping);
  EXPECT_NE(fromGen, fromResetting);
}

TEST(RandomNumberGenerator, GeneratorsInTheSameStateSeededAlikeGiveTheSameSequence) {
  KivClRandomNumberGenerator a;
  KivClRandomNumberGenerator b(a);
  a.init(7);
  b.init(7);
  for (int i = 0; i < 600; ++i) ASSERT_EQ(a.getRandomNumber(), b.getRandomNumber()) << i;
}

TEST(RandomNumberGenerator, SeedsTwoAndThreeGiveTheSameSequence) {
  KivClRandomNumberGenerator a;
  KivClRandomNumberGenerator b(a);
  KivClRandomNumberGenerator c(a);
  a.init(2);
  b.init(3);
  c.init(4);
  std::vector<std::uint64_t> fromA, fromB, fromC;
  for (int i = 0; i < 600; ++i) {
    fromA.push_back(a.getRandomNumber());
    fromB.push_back(b.getRandomNumber());
    fromC.push_back(c.getRandomNumber());
  }
  EXPECT_EQ(fromA, fromB);
  EXPECT_NE(fromA, fromC);
}

TEST(RandomNumberGenerator, DrawsFromTheEndOfTheBatchAndStartsTheSecondAtDraw257) {
  std::optional<Known> known = makeKnown();
  ASSERT_TRUE(known.has_value());
  KivClRandomNumberGenerator& gen = *known->gen;
  RefIbaa ref = known->ref;
  gen.init(31);
  ref.seed(31);
  const std::array<std::uint32_t, 256> firstBatch = ref.r;
  for (int k = 1; k <= 256; ++k) {
    ASSERT_EQ(gen.getRandomNumber(), refScale(firstBatch[256 - k], kTop)) << "draw " << k;
  }
  ref.batch();
  const std::array<std::uint32_t, 256> secondBatch = ref.r;
  ASSERT_NE(firstBatch, secondBatch);
  EXPECT_EQ(gen.getRandomNumber(), refScale(secondBatch[255], kTop));  // draw 257
  EXPECT_EQ(gen.getRandomNumber(), refScale(secondBatch[254], kTop));
  for (int k = 3; k <= 256; ++k) {
    ASSERT_EQ(gen.getRandomNumber(), refScale(secondBatch[256 - k], kTop)) << "draw " << 256 + k;
  }
  ref.batch();
  EXPECT_EQ(gen.getRandomNumber(), refScale(ref.r[255], kTop));  // draw 513
}

TEST(RandomNumberGenerator, IbaaReplacesTheBatchButKeepsThePosition) {
  std::optional<Known> known = makeKnown();
  ASSERT_TRUE(known.has_value());
  KivClRandomNumberGenerator& gen = *known->gen;
  RefIbaa ref = known->ref;
  gen.init(8);
  ref.seed(8);
  for (int i = 0; i < 10; ++i) ASSERT_EQ(gen.getRandomNumber(), refScale(ref.next(), kTop));
  gen.ibaa();
  ref.batch();
  EXPECT_EQ(gen.getRandomNumber(), refScale(ref.r[245], kTop));
  ref.remaining = 245;
  for (int i = 0; i < 400; ++i) ASSERT_EQ(gen.getRandomNumber(), refScale(ref.next(), kTop));
}

TEST(RandomNumberGenerator, MaximumZeroAlwaysGivesZero) {
  KivClRandomNumberGenerator gen;
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(gen.getRandomNumber(0), 0u);
}

TEST(RandomNumberGenerator, MaximumNineStaysWithinZeroToNine) {
  KivClRandomNumberGenerator gen;
  std::set<std::uint64_t> seen;
  for (int i = 0; i < 3000; ++i) {
    const std::uint64_t n = gen.getRandomNumber(9);
    ASSERT_LE(n, 9u);
    seen.insert(n);
  }
  // Nine comes only from the result 4294967295; 0 to 8 all turn up.
  for (std::uint64_t n = 0; n <= 8; ++n) EXPECT_EQ(seen.count(n), 1u) << n;
}

TEST(RandomNumberGenerator, DefaultMaximumIs4294967295) {
  KivClRandomNumberGenerator a;
  KivClRandomNumberGenerator b(a);
  for (int i = 0; i < 300; ++i) ASSERT_EQ(a.getRandomNumber(), b.getRandomNumber(kTop));
}

TEST(RandomNumberGenerator, ScalesDrawsLikeTheReferenceForLargeMaxima) {
  std::optional<Known> known = makeKnown();
  ASSERT_TRUE(known.has_value());
  KivClRandomNumberGenerator& gen = *known->gen;
  RefIbaa& ref = known->ref;
  gen.init(5);
  ref.seed(5);
  const std::uint64_t maxima[] = {1,
                                  9,
                                  1000,
                                  kTop - 1,
                                  kTop,
                                  kTop + 1,
                                  (std::uint64_t{1} << 53) + 3,
                                  kTwo63 - 1,
                                  kTwo63,
                                  kTwo63 + 1025,
                                  kTwo63 + 123456789012345,
                                  kMax64 - 2047,
                                  kMax64 - 1000,
                                  kMax64};
  for (int i = 0; i < 700; ++i) {
    const std::uint64_t max = maxima[i % (sizeof maxima / sizeof maxima[0])];
    const std::uint64_t n = gen.getRandomNumber(max);
    ASSERT_EQ(n, refScale(ref.next(), max)) << "draw " << i << " max " << max;
    ASSERT_LE(n, max);
  }
}

TEST(RandomNumberGenerator, ScalingMatchesTheReferenceAtTheEnds) {
  const std::uint64_t maxima[] = {0,
                                  1,
                                  9,
                                  kTop,
                                  (std::uint64_t{1} << 53) + 3,
                                  kTwo63 - 1,
                                  kTwo63,
                                  kTwo63 + 1025,
                                  kMax64 - 2048,
                                  kMax64 - 1000,
                                  kMax64};
  const std::uint64_t values[] = {0, 1, 2, 12345, 2147483648u, kTop - 2, kTop - 1, kTop};
  for (const std::uint64_t max : maxima) {
    for (const std::uint64_t v : values) {
      const std::uint64_t n = KivClRandomNumberGenerator::scaleToRange(v, max);
      EXPECT_EQ(n, refScale(v, max)) << "value " << v << " max " << max;
      EXPECT_LE(n, max);
      // The maximum itself comes only from the largest result.
      if (max > 0) {
        EXPECT_EQ(n == max, v == kTop) << "value " << v << " max " << max;
      }
    }
    EXPECT_EQ(KivClRandomNumberGenerator::scaleToRange(0, max), 0u);
    EXPECT_EQ(KivClRandomNumberGenerator::scaleToRange(kTop, max), max);
  }
}

TEST(RandomNumberGenerator, ScalingTruncatesTheDoubleProduct) {
  // 9 * (4294967294 / 4294967295) is just below 9.
  EXPECT_EQ(KivClRandomNumberGenerator::scaleToRange(kTop - 1, 9), 8u);
  EXPECT_EQ(KivClRandomNumberGenerator::scaleToRange(2147483648u, kTop), 2147483648u);
  // 2^63 * (2^31 / 4294967295): a product at 2^62 plus a little.
  EXPECT_EQ(KivClRandomNumberGenerator::scaleToRange(2147483648u, kTwo63), 4611686019501129728u);
  // Products at or above 2^63.
  EXPECT_EQ(KivClRandomNumberGenerator::scaleToRange(kTop - 1, kMax64), 18446744069414584320u);
  // The nearest double to 2^63 + 1025 is 2^63 + 2048; the result stays at max.
  EXPECT_EQ(KivClRandomNumberGenerator::scaleToRange(kTop, kTwo63 + 1025), kTwo63 + 1025);
  // 2^64 - 1 becomes the double 2^64, which no 64-bit integer holds.
  EXPECT_EQ(KivClRandomNumberGenerator::scaleToRange(kTop, kMax64), kMax64);
  // Values beyond the 32-bit range do not leave 0..max either.
  EXPECT_EQ(KivClRandomNumberGenerator::scaleToRange(kTop * 2, 10), 10u);
}

}  // namespace
