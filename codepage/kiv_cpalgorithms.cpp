// The conversion methods that need no table: copying UCS-2, swapping its
// byte order, UTF-8 to UCS-2 and back, UCS-2 to ISO 8859-1 (819), and the
// single-character UTF-8 decoder.
//
// UCS-2 means 16-bit units in host (little-endian) byte order. The target
// and source buffers may have any alignment, so units are moved with memcpy,
// which the compiler turns into plain loads and stores.
//
// The UTF-8 methods run the plain loops of kiv_utf8_rules.hpp (one
// character at a time, with runs of ASCII taken 16 at a time), or, when the
// target has room for the worst case, the block-wise variants of
// kiv_utf8_blocks.hpp. The fast paths only ever convert what the rules
// would convert at that point; every decision that can end a conversion (a
// truncated sequence, a full target) is left to the plain loop, so the
// results, the error records and the source positions are exactly those of
// the rules.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kiv_converter.hpp"
#include "kiv_utf8_blocks.hpp"
#include "kiv_utf8_rules.hpp"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

using kiv::detail::accumulateUtf8;
using kiv::detail::BlockProgress;
using kiv::detail::decodePlain;
using kiv::detail::encodePlain;
using kiv::detail::gs_aucUtf8TrailingBytes;
using kiv::detail::Record;
using kiv::detail::setIncomplete;

/// min(source size, target size), made even with CPCONVERTER_INCOMPLETE
/// when it is odd: the common start of copying and swapping.
unsigned long evenUnitBytes(const Record& record) {
  unsigned long n =
      record.ulSourceSize < record.ulTargetSize ? record.ulSourceSize : record.ulTargetSize;
  if ((n & 1u) != 0) {
    setIncomplete(record);
    --n;
  }
  return n;
}

}  // namespace

unsigned long kivConvertByCopying(Record& record) {
  const unsigned long n = evenUnitBytes(record);
  if (n != 0) std::memcpy(record.pTarget, *record.ppSource, n);
  *record.ppSource += n;
  return n;
}

unsigned long kivConvertByEndianSwap(Record& record) {
  const unsigned long n = evenUnitBytes(record);
  const auto* source = reinterpret_cast<const unsigned char*>(*record.ppSource);
  auto* target = reinterpret_cast<unsigned char*>(record.pTarget);
  // Each pair (b0, b1) becomes the unit b0 * 256 + b1 in host order, which
  // on a little-endian host is the pair swapped; so one function serves both
  // directions.
  for (unsigned long i = 0; i < n; i += 2) {
    const unsigned char first = source[i];
    target[i] = source[i + 1];
    target[i + 1] = first;
  }
  *record.ppSource += n;
  return n;
}

unsigned long kivConvertByAlgorithmUTF8toUCS2(Record& record) {
  // With a unit of room per source byte the target cannot fill up: then the
  // source can go block-wise.
  if (record.ulSourceSize > kiv::detail::kUtf8BlockReadBytes &&
      record.ulTargetSize / 2 >= record.ulSourceSize && kiv::detail::utf8BlocksAvailable()) {
    return kiv::detail::utf8ToUcs2ByBlocks(record);
  }
  const auto* const start = reinterpret_cast<const unsigned char*>(*record.ppSource);
  auto* const targetStart = reinterpret_cast<unsigned char*>(record.pTarget);
  // A unit needs two whole bytes: the odd last byte of an odd target size is
  // never written.
  const BlockProgress at = decodePlain(record, start, start + record.ulSourceSize, targetStart,
                                       targetStart + (record.ulTargetSize & ~1ul));
  *record.ppSource = reinterpret_cast<const char*>(at.source);
  return static_cast<unsigned long>(at.target - targetStart);
}

unsigned long kivConvertByAlgorithmUCS2toUTF8(Record& record) {
  // With three bytes of room per unit the target cannot fill up.
  if (record.ulSourceSize / 2 > kiv::detail::kUcs2BlockReadUnits &&
      record.ulTargetSize / 3 >= record.ulSourceSize / 2 && kiv::detail::utf8BlocksAvailable()) {
    return kiv::detail::ucs2ToUtf8ByBlocks(record);
  }
  if ((record.ulSourceSize & 1u) != 0) setIncomplete(record);
  const auto* const start = reinterpret_cast<const unsigned char*>(*record.ppSource);
  auto* const targetStart = reinterpret_cast<unsigned char*>(record.pTarget);
  const BlockProgress at = encodePlain(record, start, start + (record.ulSourceSize & ~1ul),
                                       targetStart, targetStart + record.ulTargetSize);
  *record.ppSource = reinterpret_cast<const char*>(at.source);
  return static_cast<unsigned long>(at.target - targetStart);
}

unsigned long kivConvertByAlgorithmUCS2to819(Record& record) {
  if ((record.ulSourceSize & 1u) != 0) setIncomplete(record);
  const unsigned long n = record.ulSourceSize / 2;
  const auto* source = reinterpret_cast<const unsigned char*>(*record.ppSource);
  auto* target = reinterpret_cast<unsigned char*>(record.pTarget);
  // The low byte of every unit, also of units above 0xFF: they are cut, not
  // replaced. The target size is not consulted; the caller gives n bytes.
  unsigned long i = 0;
#if defined(__SSE2__)
  const __m128i lowBytes = _mm_set1_epi16(0x00FF);
  for (; n - i >= 16; i += 16) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 2 * i));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 2 * i + 16));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(target + i),
                     _mm_packus_epi16(_mm_and_si128(low, lowBytes), _mm_and_si128(high, lowBytes)));
  }
#endif
  for (; i < n; ++i) target[i] = source[2 * i];
  *record.ppSource += 2 * n;
  return n;
}

unsigned int KivClConverterABase::convertUtf8CharToUtf32(const char* p) noexcept {
  const auto* bytes = reinterpret_cast<const unsigned char*>(p);
  return accumulateUtf8(bytes, gs_aucUtf8TrailingBytes[*bytes]);
}
