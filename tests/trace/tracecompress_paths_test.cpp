// The two ways of the 6-bit coder, sixteen characters at a time in vector
// registers and eight at a time with table look-ups, must write the same
// bytes: every text is coded both ways and compared, on texts of every
// length at every alignment, with coded and escaped characters mixed at
// several rates, and with every byte value in every lane of a block.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "../../trace/kiv_tracecompress_detail.hpp"
#include "kiv_traceentry.hpp"

namespace {

using kiv::detail::TraceCoderPath;

const std::string kAlphabet = " ,&*:_~()<>ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// Codes `text`, copied to `alignment` bytes into an exactly sized buffer
// (so that a read behind its end shows under the address sanitizer; the
// alignments 0 to 15 put the text at every offset from a 16-byte
// boundary), into an exactly sized output of limit + 1 bytes. Returns the
// bytes written, checking that none behind them was touched.
std::vector<unsigned char> code(const std::string& text, unsigned long limit, std::size_t alignment,
                                TraceCoderPath path) {
  std::vector<char> storage(alignment + text.size() + 1);
  char* input = storage.data() + alignment;
  std::memcpy(input, text.c_str(), text.size() + 1);
  std::vector<char> out(limit + 1, '\x5A');
  const unsigned long count = kiv::detail::traceCompressText(out.data(), input, limit, path);
  EXPECT_LE(count, limit + 1);
  for (unsigned long i = count; i < out.size(); ++i) {
    EXPECT_EQ(out[i], '\x5A') << "byte " << i << " behind the output was written";
  }
  return std::vector<unsigned char>(out.begin(), out.begin() + static_cast<long>(count));
}

// Random text in which each character is escaped with probability
// 1 / `escapeEvery` (never, for 0); escaped characters are bytes 1 to 254
// outside the alphabet, and byte 255 turns up among the coded ones.
std::string randomText(std::mt19937& rng, std::size_t length, int escapeEvery) {
  std::uniform_int_distribution<std::size_t> coded(0, kAlphabet.size());
  std::uniform_int_distribution<int> any(1, 254);
  std::uniform_int_distribution<int> roll(1, escapeEvery > 0 ? escapeEvery : 1);
  std::string text;
  while (text.size() < length) {
    if (escapeEvery > 0 && roll(rng) == 1) {
      const char c = static_cast<char>(any(rng));
      if (kAlphabet.find(c) == std::string::npos) text.push_back(c);
    } else {
      const std::size_t at = coded(rng);
      text.push_back(at < kAlphabet.size() ? kAlphabet[at] : '\xFF');
    }
  }
  return text;
}

TEST(TraceCompressPaths, VectorPathRunsOnX86) {
#if defined(__x86_64__)
  EXPECT_TRUE(kiv::detail::traceVectorCoderAvailable());
#else
  EXPECT_FALSE(kiv::detail::traceVectorCoderAvailable());
#endif
}

TEST(TraceCompressPaths, SameBytesOnRandomTextsOfEveryLengthAndAlignment) {
  std::mt19937 rng(20261125);
  for (std::size_t length = 0; length <= 300; ++length) {
    for (const int escapeEvery : {0, 97, 23, 7, 2}) {
      const std::string text = randomText(rng, length, escapeEvery);
      for (std::size_t alignment = 0; alignment < 16; ++alignment) {
        for (const unsigned long limit : {255ul, 1ul, 2ul, 7ul, 12ul, 13ul, 41ul}) {
          const auto scalar = code(text, limit, alignment, TraceCoderPath::Scalar);
          const auto vector = code(text, limit, alignment, TraceCoderPath::Vector);
          ASSERT_EQ(vector, scalar) << "length " << length << " escapes 1/" << escapeEvery
                                    << " alignment " << alignment << " limit " << limit;
        }
      }
    }
  }
}

// Every byte value in every lane of the first three blocks of a coded run,
// and as the last character of texts that end inside a block.
TEST(TraceCompressPaths, SameBytesForEveryByteInEveryLane) {
  std::mt19937 rng(1125);
  const std::string run = randomText(rng, 48, 0);
  for (int c = 1; c < 256; ++c) {
    for (std::size_t lane = 0; lane < run.size(); ++lane) {
      std::string text = run;
      text[lane] = static_cast<char>(c);
      for (const std::size_t length : {run.size(), lane + 1}) {
        const std::string cut = text.substr(0, length);
        const auto scalar = code(cut, 255, lane % 16, TraceCoderPath::Scalar);
        const auto vector = code(cut, 255, lane % 16, TraceCoderPath::Vector);
        ASSERT_EQ(vector, scalar) << "byte " << c << " lane " << lane << " length " << length;
      }
    }
  }
}

// Escaped characters in front shift the following blocks to every bit
// offset; limits near the end of a block stop it at every place.
TEST(TraceCompressPaths, SameBytesAtEveryBitOffsetAndLimit) {
  std::mt19937 rng(7);
  for (const char* head : {"", "1", "12", "123", "1a", "a1b2"}) {
    for (std::size_t length = 0; length <= 80; ++length) {
      const std::string text = head + randomText(rng, length, 0);
      for (unsigned long limit = 1; limit <= 70; ++limit) {
        const auto scalar = code(text, limit, 0, TraceCoderPath::Scalar);
        const auto vector = code(text, limit, 0, TraceCoderPath::Vector);
        ASSERT_EQ(vector, scalar) << "head " << head << " length " << length << " limit " << limit;
      }
    }
  }
}

TEST(TraceCompressPaths, EntryCoderIsTheVectorPath) {
  const std::string text = "KivClServer::handleRequest request received";
  std::vector<char> out(256);
  const unsigned long count = KivClTraceEntry::compressCString(out.data(), text.c_str(), 255);
  const std::vector<unsigned char> bytes(out.begin(), out.begin() + static_cast<long>(count));
  EXPECT_EQ(bytes, code(text, 255, 0, TraceCoderPath::Vector));
  EXPECT_EQ(bytes, code(text, 255, 0, TraceCoderPath::Scalar));
}

}  // namespace
