// Number to decimal text. All five public functions share one routine, so
// that every width and signedness prints the same way, the most negative
// values included.

#include <cstdint>

#include "kiv_base.hpp"

namespace {

// "00" to "99": the two digits of every value below 100, tens first.
constexpr char gs_achDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

// The number of decimal digits of `value` (1 for 0): an estimate from the
// bit length (1233 / 4096 is just above log10(2)), corrected by one table
// comparison.
unsigned digitCount(std::uint64_t value) {
  static constexpr std::uint64_t kPowers[20] = {1ULL,
                                                10ULL,
                                                100ULL,
                                                1000ULL,
                                                10000ULL,
                                                100000ULL,
                                                1000000ULL,
                                                10000000ULL,
                                                100000000ULL,
                                                1000000000ULL,
                                                10000000000ULL,
                                                100000000000ULL,
                                                1000000000000ULL,
                                                10000000000000ULL,
                                                100000000000000ULL,
                                                1000000000000000ULL,
                                                10000000000000000ULL,
                                                100000000000000000ULL,
                                                1000000000000000000ULL,
                                                10000000000000000000ULL};
  if (value < 10) return 1;
  const unsigned bits = 64 - static_cast<unsigned>(__builtin_clzll(value));
  const unsigned estimate = (bits * 1233) >> 12;
  return estimate + 1 - (value < kPowers[estimate] ? 1 : 0);
}

// Writes "-" when `negative`, then the decimal digits of `magnitude`, then
// the NUL; returns the number of characters before the NUL. The length is
// known first, so the digits go straight to their places from the last one
// backwards, two per division.
int toDecimal(bool negative, std::uint64_t magnitude, char* buffer) {
  char* out = buffer;
  if (negative) *out++ = '-';
  const unsigned count = digitCount(magnitude);
  char* const end = out + count;
  *end = '\0';
  char* digit = end;
  while (magnitude >= 100) {
    const auto pair = static_cast<unsigned>(magnitude % 100) * 2;
    magnitude /= 100;
    *--digit = gs_achDigitPairs[pair + 1];
    *--digit = gs_achDigitPairs[pair];
  }
  if (magnitude >= 10) {
    const auto pair = static_cast<unsigned>(magnitude) * 2;
    *--digit = gs_achDigitPairs[pair + 1];
    *--digit = gs_achDigitPairs[pair];
  } else {
    *--digit = static_cast<char>('0' + magnitude);
  }
  return static_cast<int>(end - buffer);
}

// A signed value: the magnitude of a negative one is its two's-complement
// negation as an unsigned 64-bit number, which is right for the most
// negative value too.
int signedToDecimal(std::int64_t value, char* buffer) {
  if (buffer == nullptr) return 0;
  const auto bits = static_cast<std::uint64_t>(value);
  return value < 0 ? toDecimal(true, 0 - bits, buffer) : toDecimal(false, bits, buffer);
}

int unsignedToDecimal(std::uint64_t value, char* buffer) {
  if (buffer == nullptr) return 0;
  return toDecimal(false, value, buffer);
}

}  // namespace

extern "C" {

int kivItoa(std::int32_t value, char* buffer) { return signedToDecimal(value, buffer); }

int kivLtoa(long value, char* buffer) { return signedToDecimal(value, buffer); }

int kivI64toa(std::int64_t value, char* buffer) { return signedToDecimal(value, buffer); }

int kivULtoa(unsigned long value, char* buffer) { return unsignedToDecimal(value, buffer); }

int kivW64toa(std::uint64_t value, char* buffer) { return unsignedToDecimal(value, buffer); }

}  // extern "C"
