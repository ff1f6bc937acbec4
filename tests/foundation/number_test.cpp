// Number to decimal text: the five conversion functions against snprintf,
// their return values and the bytes they leave alone.

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "kiv_base.hpp"

namespace {

constexpr char kUntouched = '\x7f';

// Runs a conversion in a buffer filled with a marker and checks that the
// result equals the reference, that the count is the text's length and that
// nothing after the NUL or beyond `maxBytes` was written.
template <class Convert>
void expectConversion(Convert convert, const std::string& expected, std::size_t maxBytes) {
  char buffer[64];
  std::memset(buffer, kUntouched, sizeof buffer);
  const int count = convert(buffer);
  ASSERT_GE(count, 1);
  EXPECT_EQ(static_cast<std::size_t>(count), expected.size());
  EXPECT_STREQ(buffer, expected.c_str());
  EXPECT_LE(expected.size() + 1, maxBytes);
  for (std::size_t i = expected.size() + 1; i < sizeof buffer; ++i) {
    ASSERT_EQ(buffer[i], kUntouched) << "byte " << i << " written for " << expected;
  }
}

std::string printfSigned(std::int64_t v) {
  char reference[32];
  std::snprintf(reference, sizeof reference, "%" PRId64, v);
  return reference;
}

std::string printfUnsigned(std::uint64_t v) {
  char reference[32];
  std::snprintf(reference, sizeof reference, "%" PRIu64, v);
  return reference;
}

void expectAllSigned64(std::int64_t v) {
  SCOPED_TRACE(v);
  const std::string expected = printfSigned(v);
  expectConversion([v](char* b) { return kivLtoa(v, b); }, expected, KIV_TOA_BUFFER_SIZE_64);
  expectConversion([v](char* b) { return kivI64toa(v, b); }, expected, KIV_TOA_BUFFER_SIZE_64);
}

void expectAllUnsigned64(std::uint64_t v) {
  SCOPED_TRACE(v);
  const std::string expected = printfUnsigned(v);
  expectConversion([v](char* b) { return kivULtoa(v, b); }, expected, KIV_TOA_BUFFER_SIZE_64);
  expectConversion([v](char* b) { return kivW64toa(v, b); }, expected, KIV_TOA_BUFFER_SIZE_64);
}

void expectSigned32(std::int32_t v) {
  SCOPED_TRACE(v);
  expectConversion([v](char* b) { return kivItoa(v, b); }, printfSigned(v), KIV_TOA_BUFFER_SIZE_32);
}

// Values around every power of ten and the type limits.
template <class T>
std::vector<T> interestingValues() {
  std::vector<T> values{0, 1, std::numeric_limits<T>::max(), std::numeric_limits<T>::min()};
  for (T p = 1;; p = static_cast<T>(p * 10)) {
    values.push_back(p);
    values.push_back(static_cast<T>(p - 1));
    values.push_back(static_cast<T>(p + 1));
    if (std::numeric_limits<T>::is_signed) {
      values.push_back(static_cast<T>(-p));
      values.push_back(static_cast<T>(-p + 1));
      values.push_back(static_cast<T>(-p - 1));
    }
    if (p > std::numeric_limits<T>::max() / 10) break;
  }
  values.push_back(std::numeric_limits<T>::max() - 1);
  values.push_back(static_cast<T>(std::numeric_limits<T>::min() + 1));
  return values;
}

TEST(NumberToText, ItoaOfZeroWritesOneDigit) {
  char buffer[12];
  EXPECT_EQ(kivItoa(0, buffer), 1);
  EXPECT_STREQ(buffer, "0");
}

TEST(NumberToText, ItoaOfMostNegativeValueWritesSignAndTenDigits) {
  char buffer[12];
  EXPECT_EQ(kivItoa(std::numeric_limits<std::int32_t>::min(), buffer), 11);
  EXPECT_STREQ(buffer, "-2147483648");
}

TEST(NumberToText, ULtoaOfLargestValueWritesTwentyDigits) {
  char buffer[21];
  EXPECT_EQ(kivULtoa(std::numeric_limits<unsigned long>::max(), buffer), 20);
  EXPECT_STREQ(buffer, "18446744073709551615");
}

TEST(NumberToText, LtoaOfAllBitsSetWritesMinusOne) {
  char buffer[21];
  EXPECT_EQ(kivLtoa(static_cast<long>(std::numeric_limits<unsigned long>::max()), buffer), 2);
  EXPECT_STREQ(buffer, "-1");
}

TEST(NumberToText, MostNegative64BitValueFitsIn21Bytes) {
  char buffer[21];
  EXPECT_EQ(kivI64toa(std::numeric_limits<std::int64_t>::min(), buffer), 20);
  EXPECT_STREQ(buffer, "-9223372036854775808");
  EXPECT_EQ(kivLtoa(std::numeric_limits<long>::min(), buffer), 20);
  EXPECT_STREQ(buffer, "-9223372036854775808");
}

TEST(NumberToText, W64toaEqualsULtoa) {
  char a[21];
  char b[21];
  for (std::uint64_t v : interestingValues<std::uint64_t>()) {
    EXPECT_EQ(kivW64toa(v, a), kivULtoa(v, b));
    EXPECT_STREQ(a, b);
  }
}

TEST(NumberToText, Signed32BitExtremesMatchSnprintf) {
  for (std::int32_t v : interestingValues<std::int32_t>()) expectSigned32(v);
}

TEST(NumberToText, Signed64BitExtremesMatchSnprintf) {
  for (std::int64_t v : interestingValues<std::int64_t>()) expectAllSigned64(v);
}

TEST(NumberToText, Unsigned64BitExtremesMatchSnprintf) {
  for (std::uint64_t v : interestingValues<std::uint64_t>()) expectAllUnsigned64(v);
}

TEST(NumberToText, RandomValuesOfEveryMagnitudeMatchSnprintf) {
  std::mt19937_64 random(20090308);
  for (int i = 0; i < 20000; ++i) {
    // A random bit width first, so that short numbers are as frequent as
    // long ones.
    const unsigned width = static_cast<unsigned>(random() % 64) + 1;
    const std::uint64_t bits = width == 64 ? random() : random() & ((1ULL << width) - 1);
    expectAllUnsigned64(bits);
    expectAllSigned64(static_cast<std::int64_t>(bits));
    expectAllSigned64(-static_cast<std::int64_t>(bits >> 1));
    expectSigned32(static_cast<std::int32_t>(static_cast<std::uint32_t>(bits)));
  }
}

TEST(NumberToText, EveryPowerOfTenAndItsNeighboursMatchSnprintf) {
  // The digit count changes exactly at the powers of ten, and at the powers
  // of two its estimate changes.
  std::uint64_t power = 1;
  for (int exponent = 0; exponent <= 19; ++exponent, power *= 10) {
    for (const std::uint64_t value : {power - 1, power, power + 1}) {
      expectAllUnsigned64(value);
      expectAllSigned64(static_cast<std::int64_t>(value));
    }
  }
  for (int bit = 0; bit < 64; ++bit) {
    const std::uint64_t value = 1ULL << bit;
    for (const std::uint64_t near : {value - 1, value, value + 1}) expectAllUnsigned64(near);
  }
}

TEST(NumberToText, NullBufferWritesNothingAndReturnsZero) {
  EXPECT_EQ(kivItoa(5, nullptr), 0);
  EXPECT_EQ(kivLtoa(-5, nullptr), 0);
  EXPECT_EQ(kivI64toa(5, nullptr), 0);
  EXPECT_EQ(kivULtoa(5, nullptr), 0);
  EXPECT_EQ(kivW64toa(5, nullptr), 0);
}

}  // namespace
