// Block-wise UTF-8 <-> UCS-2 (see kiv_utf8_blocks.hpp), with SSSE3 byte
// shuffles, chosen at run time. Each method is compiled whole for SSSE3, so
// that its blocks and the plain loop it ends with inline into one function.
//
// In the middle of a long source the blocks write 16 bytes at a time, also
// when fewer of them are output: up to 16 bytes of scratch behind the real
// output, which what follows overwrites (the source keeps
// kUtf8BlockTailBytes / kUcs2BlockTailUnits behind that limit). Over the
// rest they store exactly their output, so no byte behind the output is
// ever touched.
//
// Decoding looks at 16 bytes at a time and takes, in this order:
// - 16 ASCII bytes, widened to 16 units;
// - five three-byte sequences (15 bytes), for text such as CJK;
// - one or two windows of up to 8 bytes that hold only well-formed one- to
//   three-byte sequences, for mixed text (Latin, Cyrillic, Greek and the
//   like with blanks and punctuation): the window's character ends index a
//   table of byte shuffles that put each character's bytes into its unit;
// - otherwise one sequence by the plain rules.
// For a well-formed sequence of one to three bytes the rules' accumulation
// (value * 64 + byte, minus the length's offset) is exactly the usual
// masking of payload bits, overlong forms and encoded surrogates included,
// which is what the blocks compute.
//
// Encoding looks at 8 or 16 units at a time and takes 16 ASCII units, 8
// units below U+0800 (one or two bytes each, packed by a table of shuffles
// indexed by which units are ASCII), or 8 units that all encode as plain
// three-byte sequences; otherwise one code point by the plain rules.
#include "kiv_utf8_blocks.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>

#if (defined(__x86_64__) || defined(__i386__)) && (defined(__GNUC__) || defined(__clang__))
#define KIV_UTF8_BLOCKS_SSSE3 1
#include <emmintrin.h>
#include <tmmintrin.h>
#else
#define KIV_UTF8_BLOCKS_SSSE3 0
#endif

namespace kiv::detail {

#if KIV_UTF8_BLOCKS_SSSE3

namespace {

constexpr unsigned char kZero = 0x80;  // a shuffle index that yields 0

/// Shuffles for one decoding window, for every set of character ends
/// (bit i: a character ends at byte i). For the j-th character, unit lane
/// j of `last` gets its last byte (low) and the byte before (high, if the
/// character has two or more bytes); lane j of `first` gets the lead byte of
/// a three-byte character.
struct DecodeShuffles {
  unsigned char last[256][16];
  unsigned char first[256][16];
  /// number of characters (units) of each window
  unsigned char units[256];
};

constexpr DecodeShuffles makeDecodeShuffles() {
  DecodeShuffles t{};
  for (unsigned ends = 0; ends < 256; ++ends) {
    for (unsigned i = 0; i < 16; ++i) {
      t.last[ends][i] = kZero;
      t.first[ends][i] = kZero;
    }
    unsigned start = 0;
    unsigned lane = 0;
    for (unsigned end = 0; end < 8; ++end) {
      if ((ends & (1u << end)) == 0) continue;
      const unsigned length = end - start + 1;
      t.last[ends][2 * lane] = static_cast<unsigned char>(end);
      if (length >= 2) t.last[ends][2 * lane + 1] = static_cast<unsigned char>(end - 1);
      if (length >= 3) t.first[ends][2 * lane] = static_cast<unsigned char>(end - 2);
      ++lane;
      start = end + 1;
    }
    t.units[ends] = static_cast<unsigned char>(lane);
  }
  return t;
}

/// For every set of ASCII units among 8 (bit j: unit j is below 0x80), the
/// shuffle that keeps one byte of each ASCII unit and both bytes of every
/// other unit, in order.
struct EncodeShuffles {
  unsigned char pack[256][16];
};

constexpr EncodeShuffles makeEncodeShuffles() {
  EncodeShuffles t{};
  for (unsigned ascii = 0; ascii < 256; ++ascii) {
    unsigned out = 0;
    for (unsigned j = 0; j < 8; ++j) {
      t.pack[ascii][out++] = static_cast<unsigned char>(2 * j);
      if ((ascii & (1u << j)) == 0) t.pack[ascii][out++] = static_cast<unsigned char>(2 * j + 1);
    }
    while (out < 16) t.pack[ascii][out++] = kZero;
  }
  return t;
}

alignas(16) constexpr DecodeShuffles gs_stDecodeShuffles = makeDecodeShuffles();
alignas(16) constexpr EncodeShuffles gs_stEncodeShuffles = makeEncodeShuffles();

/// The units of the characters chosen by `last` and `first` (see above).
/// Without three-byte characters (kThree false) the lead bytes of `first`
/// are all zero and need not be fetched.
template <bool kThree = true>
__attribute__((target("ssse3"), always_inline)) inline __m128i decodeWindow(__m128i bytes,
                                                                            __m128i last,
                                                                            __m128i first) {
  const __m128i low = _mm_shuffle_epi8(bytes, last);
  const __m128i payload = _mm_and_si128(low, _mm_set1_epi16(0x007F));
  const __m128i middle = _mm_srli_epi16(_mm_and_si128(low, _mm_set1_epi16(0x3F00)), 2);
  if (!kThree) return _mm_or_si128(payload, middle);
  const __m128i lead = _mm_shuffle_epi8(bytes, first);
  const __m128i top = _mm_slli_epi16(_mm_and_si128(lead, _mm_set1_epi16(0x000F)), 12);
  return _mm_or_si128(_mm_or_si128(payload, middle), top);
}

/// The units of the window whose character ends are `ends`, `offset` bytes
/// into `bytes`.
template <bool kThree>
__attribute__((target("ssse3"), always_inline)) inline __m128i decodeWindowAt(__m128i bytes,
                                                                              unsigned ends,
                                                                              __m128i offset) {
  const __m128i last = _mm_add_epi8(
      _mm_load_si128(reinterpret_cast<const __m128i*>(gs_stDecodeShuffles.last[ends])), offset);
  if (!kThree) return decodeWindow<false>(bytes, last, last);
  const __m128i first = _mm_add_epi8(
      _mm_load_si128(reinterpret_cast<const __m128i*>(gs_stDecodeShuffles.first[ends])), offset);
  return decodeWindow<true>(bytes, last, first);
}

inline int highestBit(unsigned mask) { return 31 - __builtin_clz(mask); }
/// Bits set in a byte.
inline int bitCount(unsigned byte) { return gs_stDecodeShuffles.units[byte]; }

/// Stores the first `count` bytes of `v` (count 0 to 16). Scratch mode
/// (kExact false) stores all 16: cheaper, for where later output overwrites
/// the rest.
template <bool kExact>
__attribute__((target("ssse3"), always_inline)) inline void storeBytes(unsigned char* target,
                                                                       __m128i v, unsigned count) {
  if (!kExact || count == 16) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(target), v);
    return;
  }
  if (count & 8) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(target), v);
    v = _mm_srli_si128(v, 8);
    target += 8;
  }
  if (count & 4) {
    const auto four = static_cast<std::uint32_t>(_mm_cvtsi128_si32(v));
    std::memcpy(target, &four, 4);
    v = _mm_srli_si128(v, 4);
    target += 4;
  }
  if (count & 2) {
    const auto two = static_cast<std::uint16_t>(_mm_cvtsi128_si32(v));
    std::memcpy(target, &two, 2);
    v = _mm_srli_si128(v, 2);
    target += 2;
  }
  if (count & 1) *target = static_cast<unsigned char>(_mm_cvtsi128_si32(v));
}

/// Source bytes (UTF-8) or units (UCS-2) kept behind the limit of a block
/// pass that writes scratch: their output overwrites it, whatever they hold
/// (at least one unit per six bytes, one byte per unit).
constexpr std::size_t kUtf8BlockTailBytes = 80;
constexpr std::size_t kUcs2BlockTailUnits = 32;

/// UTF-8 to UCS-2 from `source`. Scratch mode (kExact false): while the
/// source lies before `limit`, at least 16 bytes before `end`, with full
/// 16-byte stores. Exact mode: up to `end`, storing exactly the output; the
/// last bytes are read as the end of the source shifted down, with zeros in
/// place of what lies behind `end`, and no character that would need them is
/// taken. Stops at a sequence boundary, at the latest where the plain rules
/// must decide (a sequence that the source does not hold whole).
template <bool kExact>
__attribute__((target("ssse3"), always_inline)) inline BlockProgress decodeSsse3(
    const unsigned char* source, const unsigned char* limit, const unsigned char* end,
    unsigned char* target) {
  const __m128i zero = _mm_setzero_si128();
  // Five three-byte sequences: lead bytes at 0, 3, 6, 9 and 12.
  const __m128i threeLast =
      _mm_setr_epi8(2, 1, 5, 4, 8, 7, 11, 10, 14, 13, -128, -128, -128, -128, -128, -128);
  const __m128i threeFirst = _mm_setr_epi8(0, -128, 3, -128, 6, -128, 9, -128, 12, -128, -128, -128,
                                           -128, -128, -128, -128);
  const unsigned char* const stop = kExact ? end : limit;

  while (source < stop) {
    const auto count = static_cast<std::size_t>(end - source);
    __m128i bytes;
    unsigned real = 0xFFFF;  // which of the 16 positions hold source bytes
    if (!kExact || count >= 16) {
      bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
    } else {
      // The last 16 bytes of the source, moved down so that `source` comes
      // first; indices past the end pick zeros.
      const __m128i index =
          _mm_add_epi8(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15),
                       _mm_set1_epi8(static_cast<char>(16 - count)));
      const __m128i past = _mm_cmpgt_epi8(index, _mm_set1_epi8(15));
      bytes = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(end - 16)),
                               _mm_or_si128(index, past));
      real = (1u << count) - 1;
    }
    const unsigned nonAscii = static_cast<unsigned>(_mm_movemask_epi8(bytes));
    if (nonAscii == 0) {
      if (real == 0xFFFF) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + 16), _mm_unpackhi_epi8(bytes, zero));
        source += 16;
        target += 32;
        continue;
      }
      // The rest of the source is ASCII.
      const auto n = static_cast<unsigned>(count);
      storeBytes<true>(target, _mm_unpacklo_epi8(bytes, zero), n >= 8 ? 16 : 2 * n);
      if (n > 8) storeBytes<true>(target + 16, _mm_unpackhi_epi8(bytes, zero), 2 * n - 16);
      source += n;
      target += 2 * n;
      continue;
    }
    // Byte classes, as signed bytes: 0x80-0xBF < -64 <= 0xC0-0xDF < -32 <=
    // 0xE0-0xEF < -16 <= 0xF0-0xFF < 0.
    const unsigned continuation =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmplt_epi8(bytes, _mm_set1_epi8(-64))));
    const unsigned fromE0 =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(-33)))) &
        nonAscii;
    const unsigned fromF0 =
        static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpgt_epi8(bytes, _mm_set1_epi8(-17)))) &
        nonAscii;
    const unsigned lead3 = fromE0 & ~fromF0;

    if ((lead3 & 0x7FFF) == 0x1249 && (continuation & 0x7FFF) == 0x6DB6) {
      storeBytes<kExact>(target, decodeWindow(bytes, threeLast, threeFirst), 10);
      source += 15;
      target += 10;
      continue;
    }

    const unsigned lead2 = nonAscii & ~continuation & ~fromE0;
    // Continuation bytes must stand exactly where the lead bytes want them,
    // and no lead byte may announce more than two of them.
    const unsigned expected = ((lead2 | lead3) << 1 | lead3 << 2) & 0xFFFF;
    const unsigned bad = (continuation ^ expected) | fromF0;
    if ((bad & 0x3FF) == 0) {
      // bit i: a character ends at byte i (byte i + 1 starts the next one).
      // Bit 16 of notContinuation is clear, so no character is taken to
      // end at byte 15: what follows it is unknown.
      const unsigned notContinuation = ~continuation & 0xFFFF;
      // Past the end of the source stand zeros: they end what precedes
      // them, but are no characters of their own.
      const unsigned ends = (notContinuation >> 1) & real;
      const unsigned ends1 = ends & 0xFF;  // 0 only at an incomplete end
      if (kExact && ends1 == 0) break;
      const int taken1 = highestBit(ends1) + 1;
      unsigned ends2 = 0;
      int taken = taken1;
      if (bad == 0 && (ends >> taken1) < 256) {
        // The whole block is well-formed: how far it goes follows from the
        // masks alone, without waiting for the first window.
        ends2 = ends >> taken1;
        taken = highestBit(ends) + 1;
      } else if ((bad >> taken1) == 0) {
        ends2 = (ends >> taken1) & 0xFF;
        if (ends2 != 0) taken += highestBit(ends2) + 1;
      }
      const unsigned units1 = gs_stDecodeShuffles.units[ends1];
      const unsigned units2 = gs_stDecodeShuffles.units[ends2];
      const __m128i offset1 = _mm_setzero_si128();
      const __m128i offset2 = _mm_set1_epi8(static_cast<char>(taken1));
      if (lead3 == 0) {
        storeBytes<kExact>(target, decodeWindowAt<false>(bytes, ends1, offset1), 2 * units1);
        if (ends2 != 0)
          storeBytes<kExact>(target + 2 * units1, decodeWindowAt<false>(bytes, ends2, offset2),
                             2 * units2);
      } else {
        storeBytes<kExact>(target, decodeWindowAt<true>(bytes, ends1, offset1), 2 * units1);
        if (ends2 != 0)
          storeBytes<kExact>(target + 2 * units1, decodeWindowAt<true>(bytes, ends2, offset2),
                             2 * units2);
      }
      unsigned char* const next = target + 2 * (units1 + units2);
      source += taken;
      target = next;
      continue;
    }

    // Anything else: one sequence by the rules, if the source holds it
    // whole (it always does far from the end); the target has room.
    const unsigned trailing = gs_aucUtf8TrailingBytes[*source];
    if (kExact && trailing >= count) break;
    const std::uint32_t value = accumulateUtf8(source, trailing);
    source += trailing + 1;
    target = putUnits(target, value);
  }
  return {source, target};
}

/// UCS-2 to UTF-8 from `source`. Scratch mode (kExact false): while the
/// source lies before `limit`, at least 16 units before `end`, with full
/// 16-byte stores. Exact mode: up to `end`, storing exactly the output.
/// Stops at a unit boundary that is not inside a pair.
template <bool kExact>
__attribute__((target("ssse3"), always_inline)) inline BlockProgress encodeSsse3(
    const unsigned char* source, const unsigned char* limit, const unsigned char* end,
    unsigned char* target) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i bias = _mm_set1_epi16(static_cast<short>(0x8000));
  // Three bytes per unit: lanes of b0 | b1 << 8 and of b2, packed 4 units
  // (12 bytes) at a time.
  const __m128i leadMiddle0 =
      _mm_setr_epi8(0, 1, -128, 2, 3, -128, 4, 5, -128, 6, 7, -128, -128, -128, -128, -128);
  const __m128i last0 = _mm_setr_epi8(-128, -128, 0, -128, -128, 2, -128, -128, 4, -128, -128, 6,
                                      -128, -128, -128, -128);
  const __m128i leadMiddle1 =
      _mm_setr_epi8(8, 9, -128, 10, 11, -128, 12, 13, -128, 14, 15, -128, -128, -128, -128, -128);
  const __m128i last1 = _mm_setr_epi8(-128, -128, 8, -128, -128, 10, -128, -128, 12, -128, -128, 14,
                                      -128, -128, -128, -128);

  const unsigned char* const stop = kExact ? end : limit;
  while (source < stop) {
    const auto count = static_cast<std::size_t>(end - source) / 2;  // units left
    if (!kExact || count >= 16) {
      const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
      const __m128i more = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 16));
      const __m128i outsideAscii =
          _mm_and_si128(_mm_or_si128(first, more), _mm_set1_epi16(static_cast<short>(0xFF80)));
      if (_mm_movemask_epi8(_mm_cmpeq_epi8(outsideAscii, zero)) == 0xFFFF) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target), _mm_packus_epi16(first, more));
        source += 32;
        target += 16;
        continue;
      }
    }
    // Eight units; in exact mode at the end of the source the last 16 bytes,
    // moved down so that `source` comes first, with zero units behind `end`
    // that are never stored.
    __m128i units;
    unsigned taken = 8;
    if (!kExact || count >= 8) {
      units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source));
    } else {
      const __m128i index =
          _mm_add_epi8(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15),
                       _mm_set1_epi8(static_cast<char>(16 - 2 * count)));
      const __m128i past = _mm_cmpgt_epi8(index, _mm_set1_epi8(15));
      units = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(end - 16)),
                               _mm_or_si128(index, past));
      taken = static_cast<unsigned>(count);
    }
    const unsigned realBytes = (1u << (2 * taken)) - 1;  // two mask bits per unit

    const __m128i below800 =
        _mm_cmpeq_epi16(_mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xF800))), zero);
    if (_mm_movemask_epi8(below800) == 0xFFFF) {
      const __m128i isAscii =
          _mm_cmpeq_epi16(_mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xFF80))), zero);
      const unsigned ascii =
          static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(isAscii, zero))) & 0xFF;
      // Two-byte form, first byte in the low half: 110xxxxx 10yyyyyy.
      const __m128i twoBytes =
          _mm_or_si128(_mm_or_si128(_mm_srli_epi16(units, 6), _mm_set1_epi16(0x00C0)),
                       _mm_or_si128(_mm_slli_epi16(_mm_and_si128(units, _mm_set1_epi16(0x003F)), 8),
                                    _mm_set1_epi16(static_cast<short>(0x8000))));
      const __m128i lanes =
          _mm_or_si128(_mm_and_si128(isAscii, units), _mm_andnot_si128(isAscii, twoBytes));
      // Zero units behind the end count as ASCII: only real units add a byte.
      const unsigned length = taken + static_cast<unsigned>(bitCount(~ascii & 0xFF));
      storeBytes<kExact>(target,
                         _mm_shuffle_epi8(lanes, _mm_load_si128(reinterpret_cast<const __m128i*>(
                                                     gs_stEncodeShuffles.pack[ascii]))),
                         length);
      source += 2 * taken;
      target += length;
      continue;
    }

    // Plain three-byte units: from U+0800, but no surrogate (D800-DFFF), no
    // noncharacter (FDD0-FDEF, FFFE, FFFF). Compared as signed after
    // flipping the top bit.
    const __m128i s = _mm_xor_si128(units, bias);
    const __m128i from800 = _mm_cmpgt_epi16(s, _mm_set1_epi16(static_cast<short>(0x07FF ^ 0x8000)));
    const __m128i surrogate =
        _mm_and_si128(_mm_cmpgt_epi16(s, _mm_set1_epi16(static_cast<short>(0xD7FF ^ 0x8000))),
                      _mm_cmplt_epi16(s, _mm_set1_epi16(static_cast<short>(0xE000 ^ 0x8000))));
    const __m128i nonCharacter = _mm_or_si128(
        _mm_and_si128(_mm_cmpgt_epi16(s, _mm_set1_epi16(static_cast<short>(0xFDCF ^ 0x8000))),
                      _mm_cmplt_epi16(s, _mm_set1_epi16(static_cast<short>(0xFDF0 ^ 0x8000)))),
        _mm_cmpgt_epi16(s, _mm_set1_epi16(static_cast<short>(0xFFFD ^ 0x8000))));
    const __m128i plain = _mm_andnot_si128(_mm_or_si128(surrogate, nonCharacter), from800);
    if ((static_cast<unsigned>(_mm_movemask_epi8(plain)) & realBytes) == realBytes) {
      const __m128i lead = _mm_or_si128(_mm_srli_epi16(units, 12), _mm_set1_epi16(0x00E0));
      const __m128i middle = _mm_or_si128(
          _mm_slli_epi16(_mm_and_si128(_mm_srli_epi16(units, 6), _mm_set1_epi16(0x003F)), 8),
          _mm_set1_epi16(static_cast<short>(0x8000)));
      const __m128i leadMiddle = _mm_or_si128(lead, middle);
      const __m128i last =
          _mm_or_si128(_mm_and_si128(units, _mm_set1_epi16(0x003F)), _mm_set1_epi16(0x0080));
      const unsigned length = 3 * taken;
      storeBytes<kExact>(
          target,
          _mm_or_si128(_mm_shuffle_epi8(leadMiddle, leadMiddle0), _mm_shuffle_epi8(last, last0)),
          length < 12 ? length : 12);
      if (length > 12) {
        storeBytes<kExact>(
            target + 12,
            _mm_or_si128(_mm_shuffle_epi8(leadMiddle, leadMiddle1), _mm_shuffle_epi8(last, last1)),
            length - 12);
      }
      source += 2 * taken;
      target += length;
      continue;
    }

    // Anything else: one code point (a unit or a pair) by the rules.
    const std::uint32_t codePoint = codePointOfUnits(source, end);
    target = putUtf8(target, codePoint, utf8Length(codePoint));
  }
  return {source, target};
}

}  // namespace

bool utf8BlocksAvailable() noexcept {
  static const bool available = __builtin_cpu_supports("ssse3");
  return available;
}

__attribute__((target("ssse3"))) unsigned long utf8ToUcs2ByBlocks(Record& record) noexcept {
  const auto* const start = reinterpret_cast<const unsigned char*>(*record.ppSource);
  const unsigned char* const end = start + record.ulSourceSize;
  auto* const targetStart = reinterpret_cast<unsigned char*>(record.pTarget);
  BlockProgress at{start, targetStart};
  if (record.ulSourceSize > kUtf8BlockTailBytes)
    at = decodeSsse3<false>(at.source, end - kUtf8BlockTailBytes, end, at.target);
  at = decodeSsse3<true>(at.source, end, end, at.target);
  at = decodePlain(record, at.source, end, at.target, targetStart + (record.ulTargetSize & ~1ul));
  *record.ppSource = reinterpret_cast<const char*>(at.source);
  return static_cast<unsigned long>(at.target - targetStart);
}

__attribute__((target("ssse3"))) unsigned long ucs2ToUtf8ByBlocks(Record& record) noexcept {
  if ((record.ulSourceSize & 1u) != 0) setIncomplete(record);
  const auto* const start = reinterpret_cast<const unsigned char*>(*record.ppSource);
  const unsigned char* const end = start + (record.ulSourceSize & ~1ul);
  auto* const targetStart = reinterpret_cast<unsigned char*>(record.pTarget);
  BlockProgress at{start, targetStart};
  if (record.ulSourceSize / 2 > kUcs2BlockTailUnits)
    at = encodeSsse3<false>(at.source, end - 2 * kUcs2BlockTailUnits, end, at.target);
  at = encodeSsse3<true>(at.source, end, end, at.target);
  at = encodePlain(record, at.source, end, at.target, targetStart + record.ulTargetSize);
  *record.ppSource = reinterpret_cast<const char*>(at.source);
  return static_cast<unsigned long>(at.target - targetStart);
}

#else  // no SSSE3 on this platform: the plain loops do everything

bool utf8BlocksAvailable() noexcept { return false; }

unsigned long utf8ToUcs2ByBlocks(Record&) noexcept { return 0; }

unsigned long ucs2ToUtf8ByBlocks(Record&) noexcept { return 0; }

#endif

}  // namespace kiv::detail
