// A plain reference for the library's UTF-8 <-> UCS-2 conversion methods,
// written straight from their rules, one sequence or unit at a time, with
// no fast paths; and a runner that calls a library method in the same
// shape. The differential tests and the fuzz targets compare the two on the
// same input: output bytes (the whole target buffer, so that a write past
// the reported count shows), bytes written, bytes consumed and the error
// record.
//
// The rules, in short. UTF-8 to UCS-2: the lead byte announces its trailing
// bytes (0 below 0xC0, then 1, 2, 3, 4, 5 from 0xC0, 0xE0, 0xF0, 0xF8,
// 0xFC); a sequence whose last byte would lie beyond the source end is
// incomplete, but one that lacks exactly its last byte takes the byte just
// behind the source; the bytes are accumulated as value * 64 + byte in
// 32-bit arithmetic and a per-length offset is subtracted; a sequence is
// consumed before the room for its result is checked. UCS-2 to UTF-8: lone
// surrogates and noncharacters become U+FFFF; a unit or pair that does not
// fit is consumed all the same.
#ifndef KIV_UTF8_REFERENCE_HPP
#define KIV_UTF8_REFERENCE_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "kiv_converter.hpp"
#include "kiv_error.hpp"

namespace kivref {

/// What a conversion left behind.
struct Outcome {
  /// the whole target buffer after the call (it starts filled with a marker)
  std::vector<unsigned char> target;
  /// the method's return value
  unsigned long written = 0;
  /// how far the source pointer moved (one more than the source size when
  /// the byte behind it was read as the last byte of a sequence)
  std::size_t consumed = 0;
  _KivStError error;

  bool operator==(const Outcome& other) const {
    return target == other.target && written == other.written && consumed == other.consumed &&
           error == other.error;
  }
};

inline unsigned trailingByteCount(unsigned char lead) {
  if (lead < 0xC0) return 0;
  if (lead < 0xE0) return 1;
  if (lead < 0xF0) return 2;
  if (lead < 0xF8) return 3;
  if (lead < 0xFC) return 4;
  return 5;
}

inline void putUnit(Outcome& o, std::size_t at, std::uint32_t unit) {
  o.target[at] = static_cast<unsigned char>(unit & 0xFF);  // host order: little-endian
  o.target[at + 1] = static_cast<unsigned char>((unit >> 8) & 0xFF);
}

/// UTF-8 to UCS-2 by the rules. `source` must be readable one byte behind
/// `size` when the input ends one byte short of a whole sequence.
inline Outcome utf8ToUcs2(const unsigned char* source, std::size_t size, std::size_t targetSize,
                          unsigned char fill) {
  static const std::uint32_t offsets[6] = {0x00000000u, 0x00003080u, 0x000E2080u,
                                           0x03C82080u, 0xFA082080u, 0x82082080u};
  Outcome o;
  o.target.assign(targetSize, fill);
  std::size_t pos = 0;
  std::size_t out = 0;
  while (pos < size) {
    const unsigned t = trailingByteCount(source[pos]);
    if (size < pos + t) {
      o.error = {KIV_CPCONVERTER_INCOMPLETE, KivEnErrorClass::USER_DATA_ERROR};
      break;
    }
    std::uint32_t value = 0;
    for (unsigned i = 0; i <= t; ++i) value = value * 64 + source[pos + i];
    value -= offsets[t];
    pos += t + 1;
    if (out + 2 > targetSize) {
      o.error = {KIV_CPCONVERTER_TOO_BIG, KivEnErrorClass::DATA_OUT_OF_BOUNDS};
      break;
    }
    if (value < 0x10000u) {
      putUnit(o, out, value);
      out += 2;
    } else if (value <= 0x7FFFFFFFu) {
      if (out + 4 > targetSize) {
        o.error = {KIV_CPCONVERTER_TOO_BIG, KivEnErrorClass::DATA_OUT_OF_BOUNDS};
        break;
      }
      putUnit(o, out, ((value - 0x10000u) >> 10) + 0xD800u);
      putUnit(o, out + 2, ((value - 0x10000u) & 0x3FFu) + 0xDC00u);
      out += 4;
    } else {
      putUnit(o, out, 0xFFFDu);
      out += 2;
    }
  }
  o.consumed = pos;
  o.written = out & ~static_cast<std::size_t>(1);
  return o;
}

/// UCS-2 (host order) to UTF-8 by the rules.
inline Outcome ucs2ToUtf8(const unsigned char* source, std::size_t size, std::size_t targetSize,
                          unsigned char fill) {
  Outcome o;
  o.target.assign(targetSize, fill);
  if (size % 2 != 0) o.error = {KIV_CPCONVERTER_INCOMPLETE, KivEnErrorClass::USER_DATA_ERROR};
  const std::size_t units = size / 2;
  auto unitAt = [source](std::size_t i) {
    return static_cast<std::uint32_t>(source[2 * i] | (source[2 * i + 1] << 8));
  };
  std::size_t i = 0;
  std::size_t out = 0;
  while (i < units) {
    const std::uint32_t u = unitAt(i++);
    std::uint32_t cp = u;
    if (u >= 0xD800 && u <= 0xDBFF) {
      if (i < units && unitAt(i) >= 0xDC00 && unitAt(i) <= 0xDFFF) {
        cp = 0x10000 + ((u - 0xD800) << 10) + (unitAt(i) - 0xDC00);
        ++i;
      } else {
        cp = 0xFFFF;
      }
    } else if ((u >= 0xDC00 && u <= 0xDFFF) || (u >= 0xFDD0 && u <= 0xFDEF) || u == 0xFFFE ||
               u == 0xFFFF) {
      cp = 0xFFFF;
    }
    unsigned char bytes[4];
    std::size_t n;
    if (cp < 0x80) {
      bytes[0] = static_cast<unsigned char>(cp);
      n = 1;
    } else if (cp < 0x800) {
      bytes[0] = static_cast<unsigned char>(0xC0 | (cp >> 6));
      bytes[1] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
      n = 2;
    } else if (cp < 0x10000) {
      bytes[0] = static_cast<unsigned char>(0xE0 | (cp >> 12));
      bytes[1] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
      bytes[2] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
      n = 3;
    } else {
      bytes[0] = static_cast<unsigned char>(0xF0 | (cp >> 18));
      bytes[1] = static_cast<unsigned char>(0x80 | ((cp >> 12) & 0x3F));
      bytes[2] = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
      bytes[3] = static_cast<unsigned char>(0x80 | (cp & 0x3F));
      n = 4;
    }
    if (out + n > targetSize) {
      o.error = {KIV_CPCONVERTER_TOO_BIG, KivEnErrorClass::DATA_OUT_OF_BOUNDS};
      break;
    }
    std::memcpy(o.target.data() + out, bytes, n);
    out += n;
  }
  o.consumed = 2 * i;
  o.written = out;
  return o;
}

/// A converter that only lends its error record to a method under test.
class RecordOnlyConverter : public KivClConverterABase {
 public:
  RecordOnlyConverter() : KivClConverterABase(KIV_CCSID_UTF8, KIV_CCSID_UCS2) {}
  unsigned long getMaximumSizeForLength(unsigned long length) const override { return length; }
  unsigned long getMaximumSizeForSize(unsigned long size) const override { return size; }
};

/// Runs the library's `method` on `size` bytes at `source` into a target of
/// `targetSize` bytes that starts filled with `fill`. The target lives in a
/// heap block of exactly its size, so that a sanitizer sees a write past it.
inline Outcome runMethod(KivClConverterABase::KivPfuConvert method, const unsigned char* source,
                         std::size_t size, std::size_t targetSize, unsigned char fill) {
  RecordOnlyConverter converter;
  std::vector<unsigned char> target(targetSize, fill);
  const char* position = reinterpret_cast<const char*>(source);
  KivClConverterABase::_KivStConverter record{&converter, reinterpret_cast<char*>(target.data()),
                                              targetSize, &position, size};
  Outcome o;
  o.written = method(record);
  o.consumed = static_cast<std::size_t>(position - reinterpret_cast<const char*>(source));
  o.error = converter.getLastError();
  o.target = std::move(target);
  return o;
}

}  // namespace kivref

#endif
