// Fuzz target of the UCS-2 to UTF-8 method (and UCS-2 to 819).
//
// Input: byte 0 and 1 give the target size (0 to 2047 bytes); the rest is
// the UCS-2 source in host byte order, any length (odd lengths included),
// in a heap block of exactly its size.
//
// The method must agree with the plain reference of the rules
// (kiv_utf8_reference.hpp) on the whole target buffer, bytes written,
// bytes consumed and the error record. With room enough for everything,
// decoding the output again must give the input back, except that lone
// surrogates and the noncharacters U+FDD0 to U+FDEF, U+FFFE and U+FFFF come
// back as U+FFFF. UCS-2 to 819 must write the low byte of every unit.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "../tests/support/kiv_utf8_reference.hpp"
#include "kiv_converter.hpp"
#include "kiv_fuzz_support.hpp"

namespace {

constexpr unsigned char kFill = 0xEE;

std::uint16_t unitAt(const unsigned char* p, std::size_t i) {
  return static_cast<std::uint16_t>(p[2 * i] | (p[2 * i + 1] << 8));
}

/// The units the round trip must give back.
std::vector<std::uint16_t> expectedRoundTrip(const unsigned char* p, std::size_t units) {
  std::vector<std::uint16_t> out;
  for (std::size_t i = 0; i < units; ++i) {
    const std::uint16_t u = unitAt(p, i);
    if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units && unitAt(p, i + 1) >= 0xDC00 &&
        unitAt(p, i + 1) <= 0xDFFF) {
      out.push_back(u);
      out.push_back(unitAt(p, ++i));
    } else if ((u >= 0xD800 && u <= 0xDFFF) || (u >= 0xFDD0 && u <= 0xFDEF) || u >= 0xFFFE) {
      out.push_back(0xFFFF);
    } else {
      out.push_back(u);
    }
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::size_t targetSize = (static_cast<std::size_t>(data[0]) << 8 | data[1]) % 2048;
  const std::size_t sourceSize = size - 2;
  std::unique_ptr<unsigned char[]> source(new unsigned char[sourceSize == 0 ? 1 : sourceSize]);
  std::memcpy(source.get(), data + 2, sourceSize);

  const kivref::Outcome ours = kivref::runMethod(kivConvertByAlgorithmUCS2toUTF8, source.get(),
                                                 sourceSize, targetSize, kFill);
  const kivref::Outcome rules = kivref::ucs2ToUtf8(source.get(), sourceSize, targetSize, kFill);
  KIV_FUZZ_CHECK(ours.written == rules.written);
  KIV_FUZZ_CHECK(ours.consumed == rules.consumed);
  KIV_FUZZ_CHECK(ours.error == rules.error);
  KIV_FUZZ_CHECK(ours.target == rules.target);

  // The round trip, with room for everything (three bytes per unit).
  const std::size_t units = sourceSize / 2;
  const kivref::Outcome utf8 = kivref::runMethod(kivConvertByAlgorithmUCS2toUTF8, source.get(),
                                                 sourceSize, 3 * units, kFill);
  KIV_FUZZ_CHECK(utf8.consumed == 2 * units);
  KIV_FUZZ_CHECK(utf8.error.id == (sourceSize % 2 != 0 ? KIV_CPCONVERTER_INCOMPLETE : 0));
  const kivref::Outcome back = kivref::runMethod(
      kivConvertByAlgorithmUTF8toUCS2, utf8.target.data(), utf8.written, 2 * units, kFill);
  KIV_FUZZ_CHECK(back.error.id == 0);
  KIV_FUZZ_CHECK(back.consumed == utf8.written);
  const std::vector<std::uint16_t> expected = expectedRoundTrip(source.get(), units);
  KIV_FUZZ_CHECK(back.written == 2 * expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i)
    KIV_FUZZ_CHECK(unitAt(back.target.data(), i) == expected[i]);

  // UCS-2 to 819: the low byte of every unit; the target size is not read.
  const kivref::Outcome latin1 =
      kivref::runMethod(kivConvertByAlgorithmUCS2to819, source.get(), sourceSize, units, kFill);
  KIV_FUZZ_CHECK(latin1.written == units && latin1.consumed == 2 * units);
  for (std::size_t i = 0; i < units; ++i) KIV_FUZZ_CHECK(latin1.target[i] == source[2 * i]);
  return 0;
}
