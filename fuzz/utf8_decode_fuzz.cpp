// Fuzz target of the UTF-8 to UCS-2 method and the single-character decoder.
//
// Input: byte 0 and 1 give the target size (0 to 1023 bytes, odd sizes
// included); the rest is the UTF-8 source, whose LAST byte lies behind the
// source size (the byte that a sequence lacking exactly its last byte takes
// as that byte). The source lives in a heap block of exactly its size plus
// that byte, so a read any further is reported by AddressSanitizer.
//
// The method's output bytes (the whole target buffer, which starts filled
// with a marker), bytes written, bytes consumed and error record must equal
// those of the plain reference of the rules (kiv_utf8_reference.hpp), which
// converts one sequence at a time with no fast path. The single-character
// decoder must agree with the reference's accumulation for every sequence
// that the source holds whole.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "../tests/support/kiv_utf8_reference.hpp"
#include "kiv_converter.hpp"
#include "kiv_fuzz_support.hpp"

namespace {

constexpr unsigned char kFill = 0xEE;

/// The code point the reference accumulation gives for the sequence at p.
std::uint32_t referenceCodePoint(const unsigned char* p) {
  static const std::uint32_t offsets[6] = {0x00000000u, 0x00003080u, 0x000E2080u,
                                           0x03C82080u, 0xFA082080u, 0x82082080u};
  const unsigned t = kivref::trailingByteCount(*p);
  std::uint32_t value = 0;
  for (unsigned i = 0; i <= t; ++i) value = value * 64 + p[i];
  return value - offsets[t];
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3) return 0;
  const std::size_t targetSize = (static_cast<std::size_t>(data[0]) << 8 | data[1]) % 1024;
  const std::size_t sourceSize = size - 3;
  // The source and the byte behind it, in a block of exactly that size.
  std::unique_ptr<unsigned char[]> source(new unsigned char[sourceSize + 1]);
  std::memcpy(source.get(), data + 2, sourceSize + 1);

  const kivref::Outcome ours = kivref::runMethod(kivConvertByAlgorithmUTF8toUCS2, source.get(),
                                                 sourceSize, targetSize, kFill);
  const kivref::Outcome rules = kivref::utf8ToUcs2(source.get(), sourceSize, targetSize, kFill);
  KIV_FUZZ_CHECK(ours.written == rules.written);
  KIV_FUZZ_CHECK(ours.consumed == rules.consumed);
  KIV_FUZZ_CHECK(ours.error == rules.error);
  KIV_FUZZ_CHECK(ours.target == rules.target);
  KIV_FUZZ_CHECK(ours.consumed <= sourceSize + 1);
  KIV_FUZZ_CHECK(ours.written <= targetSize && ours.written % 2 == 0);

  // Every sequence held whole (up to the byte behind) decodes alike.
  for (std::size_t pos = 0; pos < sourceSize;) {
    const unsigned t = kivref::trailingByteCount(source[pos]);
    if (pos + t > sourceSize) break;
    const unsigned int cp = KivClConverterABase::convertUtf8CharToUtf32(
        reinterpret_cast<const char*>(source.get() + pos));
    KIV_FUZZ_CHECK(cp == referenceCodePoint(source.get() + pos));
    pos += t + 1;
  }
  return 0;
}
