// The UTF-8 rules of the conversion methods, one character at a time, and
// the plain conversion loops built on them (private to the library): shared
// by the methods and their block-wise fast paths, so that both decide every
// character alike. Everything here is inline, so that the fast paths, which
// are compiled for a wider instruction set, take it in whole.
#ifndef KIV_UTF8_RULES_HPP
#define KIV_UTF8_RULES_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kiv_converter.hpp"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kiv::detail {

/// Number of trailing bytes announced by a lead byte. Stray continuation
/// bytes (0x80 to 0xBF) announce none and stand for themselves; 0xF8 to 0xFF
/// announce the old five- and six-byte forms.
inline constexpr std::uint8_t gs_aucUtf8TrailingBytes[256] = {
    // 0x00 - 0xBF
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
    // 0xC0 - 0xDF
    1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1,
    // 0xE0 - 0xEF, 0xF0 - 0xF7, 0xF8 - 0xFB, 0xFC - 0xFF
    2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5};

/// What the accumulation of a sequence with t trailing bytes adds on top of
/// the code point: the lead byte's marker bits and the 0x80 of every
/// trailing byte, each shifted into place. Subtracting it leaves the code
/// point. The arithmetic is 32-bit and wraps, also for the six-byte form.
inline constexpr std::uint32_t gs_aulUtf8Offsets[6] = {0x00000000u, 0x00003080u, 0x000E2080u,
                                                       0x03C82080u, 0xFA082080u, 0x82082080u};

/// Written for a decoded value of 0x80000000 or more.
inline constexpr std::uint32_t kReplacementUnit = 0xFFFD;
/// Code point written for a unit that UTF-8 must not carry (lone
/// surrogates and noncharacters); it encodes as EF BF BF.
inline constexpr std::uint32_t kInvalidCodePoint = 0xFFFF;

/// Decodes the sequence of `trailing` trailing bytes at `p`. Bytes are not
/// checked: overlong forms and bad trailing bytes are accepted as they come.
inline std::uint32_t accumulateUtf8(const unsigned char* p, unsigned trailing) {
  std::uint32_t value = 0;
  switch (trailing) {
    case 5:
      value += *p++;
      value <<= 6;
      [[fallthrough]];
    case 4:
      value += *p++;
      value <<= 6;
      [[fallthrough]];
    case 3:
      value += *p++;
      value <<= 6;
      [[fallthrough]];
    case 2:
      value += *p++;
      value <<= 6;
      [[fallthrough]];
    case 1:
      value += *p++;
      value <<= 6;
      [[fallthrough]];
    default:
      value += *p;
  }
  return value - gs_aulUtf8Offsets[trailing];
}

inline void storeUnit(unsigned char* target, std::uint32_t unit) {
  const auto value = static_cast<std::uint16_t>(unit);
  std::memcpy(target, &value, sizeof value);
}

inline std::uint16_t loadUnit(const unsigned char* source) {
  std::uint16_t value;
  std::memcpy(&value, source, sizeof value);
  return value;
}

/// Units that a decoded value takes: 1 below 0x10000 (encoded surrogates
/// pass through), 2 up to 0x7FFFFFFF (values above 0x10FFFF are not
/// rejected and give pairs outside the valid range), 1 (U+FFFD) above.
inline unsigned unitsOfValue(std::uint32_t value) {
  return (value >= 0x10000u && value <= 0x7FFFFFFFu) ? 2 : 1;
}

/// Writes the units of a decoded value; the caller made room for them.
inline unsigned char* putUnits(unsigned char* target, std::uint32_t value) {
  if (value < 0x10000u) {
    storeUnit(target, value);
    return target + 2;
  }
  if (value <= 0x7FFFFFFFu) {
    const std::uint32_t offset = value - 0x10000u;
    storeUnit(target, (offset >> 10) + 0xD800u);
    storeUnit(target + 2, (offset & 0x3FFu) + 0xDC00u);
    return target + 4;
  }
  storeUnit(target, kReplacementUnit);
  return target + 2;
}

/// The code point that the unit at `source` stands for, with the unit
/// behind it when the two make a pair; advances `source` past what it used.
/// A high surrogate makes a pair only with a low surrogate right behind it
/// (before `end`); lone surrogates and the noncharacters U+FDD0 to U+FDEF,
/// U+FFFE and U+FFFF become U+FFFF.
inline std::uint32_t codePointOfUnits(const unsigned char*& source, const unsigned char* end) {
  const std::uint32_t unit = loadUnit(source);
  source += 2;
  if ((unit & 0xFC00u) == 0xD800u) {
    if (source < end && (loadUnit(source) & 0xFC00u) == 0xDC00u) {
      const std::uint32_t low = loadUnit(source);
      source += 2;
      return (unit << 10) + low - 0x35FDC00u;
    }
    return kInvalidCodePoint;
  }
  if ((unit & 0xFC00u) == 0xDC00u || (unit >= 0xFDD0u && unit <= 0xFDEFu) || unit >= 0xFFFEu) {
    return kInvalidCodePoint;
  }
  return unit;
}

/// Bytes of the UTF-8 form of a code point (at most 0x10FFFF here).
inline unsigned utf8Length(std::uint32_t codePoint) {
  return codePoint < 0x80 ? 1 : (codePoint < 0x800 ? 2 : (codePoint < 0x10000 ? 3 : 4));
}

/// Writes the `length` bytes of the UTF-8 form of a code point.
inline unsigned char* putUtf8(unsigned char* target, std::uint32_t codePoint, unsigned length) {
  switch (length) {
    case 1:
      target[0] = static_cast<unsigned char>(codePoint);
      break;
    case 2:
      target[0] = static_cast<unsigned char>(0xC0u | (codePoint >> 6));
      target[1] = static_cast<unsigned char>(0x80u | (codePoint & 0x3Fu));
      break;
    case 3:
      target[0] = static_cast<unsigned char>(0xE0u | (codePoint >> 12));
      target[1] = static_cast<unsigned char>(0x80u | ((codePoint >> 6) & 0x3Fu));
      target[2] = static_cast<unsigned char>(0x80u | (codePoint & 0x3Fu));
      break;
    default:
      target[0] = static_cast<unsigned char>(0xF0u | (codePoint >> 18));
      target[1] = static_cast<unsigned char>(0x80u | ((codePoint >> 12) & 0x3Fu));
      target[2] = static_cast<unsigned char>(0x80u | ((codePoint >> 6) & 0x3Fu));
      target[3] = static_cast<unsigned char>(0x80u | (codePoint & 0x3Fu));
      break;
  }
  return target + length;
}

using Record = KivClConverterABase::_KivStConverter;

/// Where a conversion loop stopped.
struct BlockProgress {
  const unsigned char* source;
  unsigned char* target;
};

inline void setIncomplete(const Record& record) {
  record.pConverter->setError(KIV_CPCONVERTER_INCOMPLETE, KivEnErrorClass::USER_DATA_ERROR);
}

inline void setTooBig(const Record& record) {
  record.pConverter->setError(KIV_CPCONVERTER_TOO_BIG, KivEnErrorClass::DATA_OUT_OF_BOUNDS);
}

/// Widens ASCII bytes to units, 16 at a time, while both the source and the
/// target hold a whole block and the block is all ASCII. Returns how many
/// bytes it converted (a multiple of 16).
inline std::size_t widenAsciiBlocks(const unsigned char* source, std::size_t sourceBytes,
                                    unsigned char* target, std::size_t targetUnits) {
  std::size_t done = 0;
#if defined(__SSE2__)
  const __m128i zero = _mm_setzero_si128();
  const std::size_t limit = sourceBytes < targetUnits ? sourceBytes : targetUnits;
  while (limit - done >= 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + done));
    if (_mm_movemask_epi8(bytes) != 0) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(target + 2 * done), _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(target + 2 * done + 16),
                     _mm_unpackhi_epi8(bytes, zero));
    done += 16;
  }
#else
  (void)source;
  (void)sourceBytes;
  (void)target;
  (void)targetUnits;
#endif
  return done;
}

/// Narrows units below 0x80 to bytes, 16 at a time, while the source holds
/// 16 whole units, the target 16 bytes, and all 16 units are ASCII. Returns
/// how many units it converted (a multiple of 16).
inline std::size_t narrowAsciiBlocks(const unsigned char* source, std::size_t sourceUnits,
                                     unsigned char* target, std::size_t targetBytes) {
  std::size_t done = 0;
#if defined(__SSE2__)
  const __m128i nonAscii = _mm_set1_epi16(static_cast<short>(0xFF80));
  const std::size_t limit = sourceUnits < targetBytes ? sourceUnits : targetBytes;
  while (limit - done >= 16) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 2 * done));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(source + 2 * done + 16));
    const __m128i outside = _mm_and_si128(_mm_or_si128(low, high), nonAscii);
    if (_mm_movemask_epi8(_mm_cmpeq_epi8(outside, _mm_setzero_si128())) != 0xFFFF) break;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(target + done), _mm_packus_epi16(low, high));
    done += 16;
  }
#else
  (void)source;
  (void)sourceUnits;
  (void)target;
  (void)targetBytes;
#endif
  return done;
}

/// UTF-8 to UCS-2 one character at a time by every rule, from `source` to
/// `end` into [target, targetEnd); sets the record's error where it stops
/// early.
inline BlockProgress decodePlain(const Record& record, const unsigned char* source,
                                 const unsigned char* end, unsigned char* target,
                                 unsigned char* targetEnd) {
  while (source < end) {
    if (*source < 0x80 && target < targetEnd) {
      const std::size_t units = static_cast<std::size_t>(targetEnd - target) / 2;
      const std::size_t blocks =
          widenAsciiBlocks(source, static_cast<std::size_t>(end - source), target, units);
      source += blocks;
      target += 2 * blocks;
      while (source < end && *source < 0x80 && target < targetEnd) {
        storeUnit(target, *source++);
        target += 2;
      }
      continue;
    }

    const unsigned trailing = gs_aucUtf8TrailingBytes[*source];
    // The last byte of the sequence lies at source + trailing. Only a
    // sequence that reaches beyond that position's being the end is
    // incomplete: when exactly the last byte is missing, the byte just
    // behind the source is read as that last byte.
    if (static_cast<std::size_t>(end - source) < trailing) {
      setIncomplete(record);
      break;
    }
    const std::uint32_t value = accumulateUtf8(source, trailing);
    source += trailing + 1;  // consumed, even if it does not fit below

    const std::ptrdiff_t roomUnits = (targetEnd - target) / 2;
    if (roomUnits < static_cast<std::ptrdiff_t>(unitsOfValue(value))) {
      setTooBig(record);
      break;
    }
    target = putUnits(target, value);
  }
  return {source, target};
}

/// UCS-2 to UTF-8 one code point at a time by every rule, from `source` to
/// the (even) `end` into [target, targetEnd).
inline BlockProgress encodePlain(const Record& record, const unsigned char* source,
                                 const unsigned char* end, unsigned char* target,
                                 unsigned char* targetEnd) {
  while (source < end) {
    std::uint32_t unit = loadUnit(source);
    if (unit < 0x80 && target < targetEnd) {
      const std::size_t blocks =
          narrowAsciiBlocks(source, static_cast<std::size_t>(end - source) / 2, target,
                            static_cast<std::size_t>(targetEnd - target));
      source += 2 * blocks;
      target += blocks;
      while (source < end && target < targetEnd && (unit = loadUnit(source)) < 0x80) {
        *target++ = static_cast<unsigned char>(unit);
        source += 2;
      }
      continue;
    }

    // The unit, or the pair, counts as consumed even if it does not fit.
    const std::uint32_t codePoint = codePointOfUnits(source, end);
    const unsigned length = utf8Length(codePoint);
    if (targetEnd - target < static_cast<std::ptrdiff_t>(length)) {
      setTooBig(record);
      break;
    }
    target = putUtf8(target, codePoint, length);
  }
  return {source, target};
}

}  // namespace kiv::detail

#endif
