// The 6-bit text code, checked against a reference coder written here from
// the code tables, bit by bit, and by round trips.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "kiv_traceentry.hpp"

namespace {

const std::string kAlphabet = " ,&*:_~()<>ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// Code value of a byte, or -1 when it is escaped.
int codeOf(unsigned char c) {
  if (c == 255) return 0;
  const std::size_t at = kAlphabet.find(static_cast<char>(c));
  return (c != 0 && at != std::string::npos) ? static_cast<int>(at) : -1;
}

struct Reference {
  std::vector<unsigned char> bytes;
  std::string decoded;  // what a decoder must give back
};

// The reference coder: one bool per bit, most significant first.
Reference referenceCompress(const std::string& text, unsigned long limit) {
  std::vector<bool> bits;
  std::string decoded;
  auto put = [&bits](unsigned value, unsigned count) {
    for (unsigned i = count; i-- > 0;) bits.push_back(((value >> i) & 1u) != 0);
  };
  for (const char ch : text) {
    if (limit == 0 || bits.size() > 8 * (limit - 1) || ch == '\0') break;
    const auto c = static_cast<unsigned char>(ch);
    const int code = codeOf(c);
    if (code >= 0) {
      put(static_cast<unsigned>(code), 6);
      decoded.push_back(kAlphabet[static_cast<std::size_t>(code)]);
    } else {
      put(63, 6);
      put(c, 8);
      decoded.push_back(ch);
    }
  }
  while (bits.size() % 8 != 0) bits.push_back(true);
  Reference r;
  for (std::size_t i = 0; i < bits.size(); i += 8) {
    unsigned byte = 0;
    for (std::size_t j = 0; j < 8; ++j) byte = (byte << 1) | (bits[i + j] ? 1u : 0u);
    r.bytes.push_back(static_cast<unsigned char>(byte));
  }
  r.decoded = decoded;
  return r;
}

std::vector<unsigned char> compress(const std::string& text, unsigned long limit,
                                    unsigned long* count) {
  std::vector<char> out(limit + 1, '\x5A');
  *count = KivClTraceEntry::compressCString(out.data(), text.c_str(), limit);
  return std::vector<unsigned char>(out.begin(), out.begin() + static_cast<long>(*count));
}

std::string decompress(const std::vector<unsigned char>& in) {
  // Exactly sized input, so that a read past it shows under the address
  // sanitizer.
  std::vector<char> input(in.begin(), in.end());
  std::vector<char> out(in.size() * 8 / 6 + 1, '\x5A');
  const unsigned long produced =
      KivClTraceEntry::deCompressCString(out.data(), input.data(), input.size());
  EXPECT_EQ(out[produced], '\0');
  return std::string(out.data(), produced);
}

// Random text: mostly coded characters, some escaped ones, some 255.
std::string randomText(std::mt19937& rng, std::size_t length) {
  std::string text;
  std::uniform_int_distribution<int> kind(0, 9);
  std::uniform_int_distribution<int> any(1, 255);
  std::uniform_int_distribution<std::size_t> coded(0, kAlphabet.size() - 1);
  for (std::size_t i = 0; i < length; ++i) {
    const int k = kind(rng);
    if (k < 6) {
      text.push_back(kAlphabet[coded(rng)]);
    } else if (k < 9) {
      text.push_back(static_cast<char>(any(rng)));
    } else {
      text.push_back(static_cast<char>(k == 9 && (i % 2) ? 255 : '7'));
    }
  }
  return text;
}

TEST(TraceCompress, HelloIsThirtyBitsInFourBytes) {
  unsigned long count = 0;
  const auto bytes = compress("Hello", 255, &count);
  EXPECT_EQ(count, 4u);
  // H=18, e=41, l=48, l=48, o=51, then two one bits of fill.
  const std::vector<unsigned char> expected{0x4A, 0x9C, 0x30, 0xCF};
  EXPECT_EQ(bytes, expected);
  EXPECT_EQ(decompress(bytes), "Hello");
}

TEST(TraceCompress, DigitsTakeFourteenBitsEach) {
  unsigned long count = 0;
  const auto four = compress("1234", 255, &count);
  EXPECT_EQ(count, 7u);      // 56 bits
  EXPECT_EQ(four[0], 0xFC);  // escape
  EXPECT_EQ(decompress(four), "1234");
  const auto three = compress("123", 255, &count);
  EXPECT_EQ(count, 6u);  // 42 bits and 6 of fill
  EXPECT_EQ(three.back() & 0x3F, 0x3F);
  EXPECT_EQ(decompress(three), "123");
}

TEST(TraceCompress, Byte255ReadsBackAsSpace) {
  unsigned long count = 0;
  const auto bytes = compress(std::string("a\xFF"
                                          "b"),
                              255, &count);
  EXPECT_EQ(count, 3u);  // three coded characters, 18 bits
  EXPECT_EQ(decompress(bytes), "a b");
}

TEST(TraceCompress, AlphabetCodesAreInTableOrder) {
  for (std::size_t i = 0; i < kAlphabet.size(); ++i) {
    unsigned long count = 0;
    const auto bytes = compress(std::string(1, kAlphabet[i]), 255, &count);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(bytes[0], (i << 2) | 3u) << "character " << kAlphabet[i];
  }
}

TEST(TraceCompress, EmptyTextAndZeroLimitWriteNothing) {
  unsigned long count = 1;
  EXPECT_TRUE(compress("", 255, &count).empty());
  EXPECT_EQ(count, 0u);
  EXPECT_TRUE(compress("abc", 0, &count).empty());
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(decompress({}), "");
}

TEST(TraceCompress, MatchesReferenceOnRandomTextsOfEveryLength) {
  std::mt19937 rng(20261125);
  for (std::size_t length = 0; length <= 300; ++length) {
    for (int round = 0; round < 4; ++round) {
      const std::string text = randomText(rng, length);
      for (const unsigned long limit : {255ul, 1ul, 2ul, 17ul}) {
        const Reference ref = referenceCompress(text, limit);
        unsigned long count = 0;
        const auto bytes = compress(text, limit, &count);
        ASSERT_EQ(bytes, ref.bytes) << "length " << length << " limit " << limit;
        ASSERT_EQ(count, ref.bytes.size());
        ASSERT_LE(count, limit + 1);
        ASSERT_EQ(decompress(bytes), ref.decoded) << "length " << length;
      }
    }
  }
}

// Runs of coded characters are written eight at a time; an escaped
// character in front shifts the run to every bit offset, and limits near a
// multiple of the run's 48 bits stop it at every place.
TEST(TraceCompress, MatchesReferenceOnCodedRunsAtEveryOffset) {
  std::mt19937 rng(1125);
  std::uniform_int_distribution<std::size_t> coded(0, kAlphabet.size() - 1);
  for (std::size_t length = 0; length <= 300; ++length) {
    for (const char* head : {"", "1", "12", "1a", "a1", "123"}) {
      std::string text = head;
      while (text.size() < length) text.push_back(kAlphabet[coded(rng)]);
      for (const unsigned long limit : {255ul, 1ul, 2ul, 6ul, 7ul, 12ul, 13ul, 17ul, 41ul}) {
        const Reference ref = referenceCompress(text, limit);
        unsigned long count = 0;
        const auto bytes = compress(text, limit, &count);
        ASSERT_EQ(bytes, ref.bytes) << "length " << length << " head " << head << " limit "
                                    << limit;
        ASSERT_EQ(decompress(bytes), ref.decoded);
      }
    }
  }
}

TEST(TraceCompress, LongTextIsCutAtTheLimit) {
  const std::string text(400, 'x');
  unsigned long count = 0;
  const auto bytes = compress(text, 255, &count);
  // Characters start at bits 0, 6, ..., 2028: 339 characters, 2034 bits.
  EXPECT_EQ(count, 255u);
  EXPECT_EQ(decompress(bytes), std::string(339, 'x'));
}

TEST(TraceCompress, LastCharacterMayEndPastTheLimit) {
  // Two escaped characters and 334 coded ones end at bit 2032.
  const std::string head = "11" + std::string(334, 'a');
  unsigned long count = 0;
  const auto coded = compress(head + "bz", 255, &count);
  EXPECT_EQ(count, 255u);  // "b" begun at 2032 ends at 2038
  EXPECT_EQ(decompress(coded), head + "b");
  const auto escaped = compress(head + "9z", 255, &count);
  EXPECT_EQ(count, 256u);  // "9" begun at 2032 ends at 2046
  EXPECT_EQ(decompress(escaped), head + "9");
}

TEST(TraceCompress, WriteBitsAssignsAtBoundaryAndAddsOtherwise) {
  char out[3] = {'\x7F', '\x55', '\x55'};
  KivClTraceEntry::compressWriteBits(out, 0, 0x2A, 6);  // 101010 at a boundary
  EXPECT_EQ(static_cast<unsigned char>(out[0]), 0xA8u);
  KivClTraceEntry::compressWriteBits(out, 6, 0x01, 2);  // fits: next byte untouched
  EXPECT_EQ(static_cast<unsigned char>(out[0]), 0xA9u);
  EXPECT_EQ(static_cast<unsigned char>(out[1]), 0x55u);
  char spill[3] = {'\0', '\x55', '\x55'};
  KivClTraceEntry::compressWriteBits(spill, 4, '\xC3', 8);  // 1100 0011 across the boundary
  EXPECT_EQ(static_cast<unsigned char>(spill[0]), 0x0Cu);
  EXPECT_EQ(static_cast<unsigned char>(spill[1]), 0x30u);
  EXPECT_EQ(static_cast<unsigned char>(spill[2]), 0x55u);
  // Only the low bitCount bits of the value count.
  char masked[2] = {'\0', '\0'};
  KivClTraceEntry::compressWriteBits(masked, 2, '\xFF', 2);
  EXPECT_EQ(static_cast<unsigned char>(masked[0]), 0x30u);
}

TEST(TraceCompress, ReadBitsReadsAcrossTheBoundary) {
  const char in[2] = {'\x0C', '\x30'};
  EXPECT_EQ(static_cast<unsigned char>(KivClTraceEntry::deCompressReadBits(in, 4, 8)), 0xC3u);
  EXPECT_EQ(static_cast<unsigned char>(KivClTraceEntry::deCompressReadBits(in, 0, 6)), 0x03u);
  EXPECT_EQ(static_cast<unsigned char>(KivClTraceEntry::deCompressReadBits(in, 6, 6)), 0x03u);
  EXPECT_EQ(static_cast<unsigned char>(KivClTraceEntry::deCompressReadBits(in, 10, 6)), 0x30u);
}

TEST(TraceCompress, FillBitsEndDecoding) {
  // "ab": 12 bits, 4 bits of fill; "abc" 18 bits + 6 fill; "a" 6 + 2.
  for (const char* text : {"a", "ab", "abc", "abcd"}) {
    unsigned long count = 0;
    EXPECT_EQ(decompress(compress(text, 255, &count)), text);
  }
}

TEST(TraceCompress, DamagedEscapeAtTheEndStaysInsideTheInput) {
  // One byte of one bits: an escape with 2 bits after it ends the text.
  EXPECT_EQ(decompress({0xFF}), "");
  // Two bytes of one bits: escape, then 8 one bits make the character 255.
  EXPECT_EQ(decompress({0xFF, 0xFF}), "\xFF");
  // "aa", an escape, and only 6 bits left: the character takes those 6 bits
  // as its high bits, the 2 missing ones count as zero.
  EXPECT_EQ(decompress({0x96, 0x5F, 0xC4}), std::string("aa\x10"));
  // An escaped zero byte decodes as a zero character inside the text.
  const std::string zero = decompress({0xFC, 0x03, 0xF0});
  ASSERT_EQ(zero.size(), 1u);
  EXPECT_EQ(zero[0], '\0');
}

TEST(TraceCompress, EveryByteRoundTrips) {
  for (int c = 1; c < 256; ++c) {
    const std::string text(3, static_cast<char>(c));
    unsigned long count = 0;
    const auto bytes = compress(text, 255, &count);
    const std::string expected = c == 255 ? std::string("   ") : text;
    EXPECT_EQ(decompress(bytes), expected) << "byte " << c;
    EXPECT_EQ(count, codeOf(static_cast<unsigned char>(c)) >= 0 ? 3u : 6u) << "byte " << c;
  }
}

}  // namespace
