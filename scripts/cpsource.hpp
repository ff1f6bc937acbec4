// Decoding one byte sequence at a time with ICU or glibc iconv: the way the
// code-page table generator reads its sources, and the way the tests read
// the same sources again to compare every table position with them.
//
// A source decodes a short byte sequence (one byte, a lead and trail byte
// pair, or shift-out lead trail shift-in) from its initial state, with
// errors reported rather than substituted. The answer is the UCS-2 unit the
// sequence stands for, or one of the negative values below. Header only, so
// that the generator's dump program and the tests compile the same code.
#ifndef KIV_SCRIPTS_CPSOURCE_HPP
#define KIV_SCRIPTS_CPSOURCE_HPP

#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kivcpsource {

/// The sequence is invalid, unmapped, incomplete or decodes to nothing.
constexpr std::int32_t kUnmapped = -1;
/// The sequence decodes to more than one UCS-2 unit (a code point beyond
/// U+FFFF, or several code points).
constexpr std::int32_t kBeyondUcs2 = -2;

/// One source of mapping data.
class Source {
 public:
  virtual ~Source() = default;
  /// The UCS-2 unit of `length` bytes at `bytes`, or kUnmapped or
  /// kBeyondUcs2.
  virtual std::int32_t decode(const unsigned char* bytes, std::size_t length) = 0;
  /// The byte a code page writes for `unit`, or kUnmapped; only the ICU
  /// source answers this (the reverse tables are taken from ICU alone).
  virtual std::int32_t encodeSingleByte(std::uint16_t /*unit*/) { return kUnmapped; }
  /// The byte the code page writes for a unit it cannot map (ICU only).
  virtual std::int32_t substitutionByte() { return kUnmapped; }
};

namespace detail {

inline std::int32_t unitOf(const char16_t* units, std::size_t count) {
  if (count == 0) return kUnmapped;
  if (count > 1 || (units[0] >= 0xD800 && units[0] <= 0xDFFF)) return kBeyondUcs2;
  return units[0];
}

class IcuSource final : public Source {
 public:
  explicit IcuSource(UConverter* converter) : m_converter(converter) {
    // Fallbacks on, as the library opens its ICU converters: the tables
    // answer what the library would answer through ICU.
    ucnv_setFallback(m_converter, true);
    UErrorCode status = U_ZERO_ERROR;
    ucnv_setToUCallBack(m_converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &status);
    status = U_ZERO_ERROR;
    ucnv_setFromUCallBack(m_converter, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &status);
  }
  ~IcuSource() override { ucnv_close(m_converter); }

  std::int32_t decode(const unsigned char* bytes, std::size_t length) override {
    ucnv_reset(m_converter);
    UChar out[8];
    UChar* target = out;
    const char* source = reinterpret_cast<const char*>(bytes);
    UErrorCode status = U_ZERO_ERROR;
    ucnv_toUnicode(m_converter, &target, out + 8, &source, source + length, nullptr, true,
                   &status);
    if (U_FAILURE(status) || source != reinterpret_cast<const char*>(bytes) + length) {
      return kUnmapped;
    }
    return unitOf(reinterpret_cast<const char16_t*>(out), static_cast<std::size_t>(target - out));
  }

  std::int32_t encodeSingleByte(std::uint16_t unit) override {
    ucnv_reset(m_converter);
    const UChar in[1] = {static_cast<UChar>(unit)};
    const UChar* source = in;
    char out[8];
    char* target = out;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_fromUnicode(m_converter, &target, out + 8, &source, in + 1, nullptr, true, &status);
    if (U_FAILURE(status) || target - out != 1) return kUnmapped;
    return static_cast<unsigned char>(out[0]);
  }

  std::int32_t substitutionByte() override {
    char bytes[4];
    int8_t length = sizeof bytes;
    UErrorCode status = U_ZERO_ERROR;
    ucnv_getSubstChars(m_converter, bytes, &length, &status);
    if (U_FAILURE(status) || length != 1) return kUnmapped;
    return static_cast<unsigned char>(bytes[0]);
  }

 private:
  UConverter* m_converter;
};

class IconvSource final : public Source {
 public:
  explicit IconvSource(iconv_t descriptor) : m_descriptor(descriptor) {}
  ~IconvSource() override { iconv_close(m_descriptor); }

  std::int32_t decode(const unsigned char* bytes, std::size_t length) override {
    iconv(m_descriptor, nullptr, nullptr, nullptr, nullptr);
    std::vector<char> in(bytes, bytes + length);
    char* source = in.data();
    std::size_t sourceLeft = length;
    unsigned char out[16];
    char* target = reinterpret_cast<char*>(out);
    std::size_t targetLeft = sizeof out;
    if (iconv(m_descriptor, &source, &sourceLeft, &target, &targetLeft) == static_cast<size_t>(-1) ||
        sourceLeft != 0) {
      return kUnmapped;
    }
    if (iconv(m_descriptor, nullptr, nullptr, &target, &targetLeft) == static_cast<size_t>(-1)) {
      return kUnmapped;
    }
    // Big-endian output, assembled here, keeps the reading independent of
    // the host's byte order.
    char16_t units[8];
    const std::size_t count = (sizeof out - targetLeft) / 2;
    for (std::size_t i = 0; i < count; ++i) {
      units[i] = static_cast<char16_t>((out[2 * i] << 8) | out[2 * i + 1]);
    }
    return unitOf(units, count);
  }

 private:
  iconv_t m_descriptor;
};

}  // namespace detail

/// ICU's converter of `ccsid` on platform 0 (IBM), or null.
inline std::unique_ptr<Source> openIcuCCSID(unsigned int ccsid) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_openCCSID(static_cast<int32_t>(ccsid), UCNV_IBM, &status);
  if (U_FAILURE(status) || converter == nullptr) return nullptr;
  return std::make_unique<detail::IcuSource>(converter);
}

/// ICU's converter of that name, or null.
inline std::unique_ptr<Source> openIcuName(const std::string& name) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open(name.c_str(), &status);
  if (U_FAILURE(status) || converter == nullptr) return nullptr;
  return std::make_unique<detail::IcuSource>(converter);
}

/// glibc iconv's charset of that name, or null.
inline std::unique_ptr<Source> openIconv(const std::string& charset) {
  iconv_t descriptor = iconv_open("UTF-16BE", charset.c_str());
  if (descriptor == reinterpret_cast<iconv_t>(-1)) return nullptr;
  return std::make_unique<detail::IconvSource>(descriptor);
}

/// A source named as the generator names it: "icu:<ccsid>", "icu-name:<name>"
/// or "iconv:<charset>"; null when it is not installed or the kind is
/// neither (the generator's other kinds are read outside C++).
inline std::unique_ptr<Source> openSource(const std::string& named) {
  const auto colon = named.find(':');
  if (colon == std::string::npos) return nullptr;
  const std::string kind = named.substr(0, colon);
  const std::string name = named.substr(colon + 1);
  if (kind == "icu") return openIcuCCSID(static_cast<unsigned int>(std::stoul(name)));
  if (kind == "icu-name") return openIcuName(name);
  if (kind == "iconv") return openIconv(name);
  return nullptr;
}

}  // namespace kivcpsource

#endif
