// Helpers of the code-page tests: UCS-2 texts as bytes, and conversions
// done directly with ICU and with iconv, to compare the library with.
#ifndef KIV_CP_TEST_SUPPORT_HPP
#define KIV_CP_TEST_SUPPORT_HPP

#include <iconv.h>
#include <unicode/ucnv.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "kiv_converter.hpp"

namespace kivtest {

/// ICU's platform 0: CCSIDs in ICU's own numbering.
inline constexpr auto kIcuCCSIDs = static_cast<UConverterPlatform>(0);

/// UCS-2 in host byte order as bytes.
inline std::string ucs2Bytes(const std::u16string& text) {
  return std::string(reinterpret_cast<const char*>(text.data()), text.size() * 2);
}

/// Bytes read as UCS-2 in host byte order (an odd last byte is dropped).
inline std::u16string ucs2Text(const std::string& bytes) {
  std::u16string text(bytes.size() / 2, u'\0');
  if (!text.empty()) std::memcpy(&text[0], bytes.data(), text.size() * 2);
  return text;
}

struct UConverterCloser {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using UniqueUConverter = std::unique_ptr<UConverter, UConverterCloser>;

/// Whether ICU knows `name` as a converter name or alias ending in `ending`
/// (with no digit right before it): the test's own search, independent of
/// the library's.
inline const char* icuNameEndingIn(const char* ending) {
  const std::size_t endingLength = std::strlen(ending);
  auto matches = [&](const char* name) {
    const std::string text(name);
    if (text.size() < endingLength) return false;
    const std::size_t at = text.size() - endingLength;
    if (text.compare(at, endingLength, ending) != 0) return false;
    return at == 0 || !(text[at - 1] >= '0' && text[at - 1] <= '9');
  };
  for (std::int32_t i = 0; i < ucnv_countAvailable(); ++i) {
    const char* name = ucnv_getAvailableName(i);
    if (matches(name)) return name;
    UErrorCode status = U_ZERO_ERROR;
    const std::uint16_t count = ucnv_countAliases(name, &status);
    for (std::uint16_t j = 0; j < count; ++j) {
      status = U_ZERO_ERROR;
      const char* alias = ucnv_getAlias(name, j, &status);
      if (U_SUCCESS(status) && matches(alias)) return alias;
    }
  }
  return nullptr;
}

/// What ICU opens for a CCSID by the library's rules, opened here directly;
/// null (with the status) when ICU cannot. Fallbacks on, as the library
/// sets them.
inline UniqueUConverter openIcuLikeTheLibrary(unsigned int ccsid, UErrorCode* statusOut = nullptr) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = nullptr;
  if (ccsid == 932 || ccsid == 942 || ccsid == 943) {
    const char* name = icuNameEndingIn(ccsid == 943 ? "943_VSUB_VPUA" : "942_VSUB_VPUA");
    converter = name != nullptr ? ucnv_open(name, &status)
                                : ucnv_openCCSID(ccsid == 943 ? 943 : 942, kIcuCCSIDs, &status);
  } else if (ccsid == 1392) {
    converter = ucnv_open("gb18030", &status);
  } else if (ccsid == 65502) {
    converter = ucnv_open("LMBCS", &status);
  } else {
    converter = ucnv_openCCSID(static_cast<std::int32_t>(ccsid), kIcuCCSIDs, &status);
  }
  if (statusOut != nullptr) *statusOut = status;
  if (U_FAILURE(status)) {
    ucnv_close(converter);
    return nullptr;
  }
  ucnv_setFallback(converter, true);
  return UniqueUConverter(converter);
}

/// ICU's canonical name of a converter.
inline std::string icuName(const void* converter) {
  UErrorCode status = U_ZERO_ERROR;
  const char* name =
      ucnv_getName(static_cast<const UConverter*>(converter), &status);
  return U_SUCCESS(status) && name != nullptr ? name : "";
}

/// Bytes of a code page to UCS-2 with ICU directly.
inline std::u16string icuToUnicode(UConverter* converter, const std::string& bytes) {
  std::u16string text(bytes.size() * 2 + 16, u'\0');
  UErrorCode status = U_ZERO_ERROR;
  ucnv_resetToUnicode(converter);
  const std::int32_t length =
      ucnv_toUChars(converter, &text[0], static_cast<std::int32_t>(text.size()), bytes.data(),
                    static_cast<std::int32_t>(bytes.size()), &status);
  text.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
  return text;
}

/// UCS-2 to the bytes of a code page with ICU directly.
inline std::string icuFromUnicode(UConverter* converter, const std::u16string& text) {
  std::string bytes(text.size() * 4 + 16, '\0');
  UErrorCode status = U_ZERO_ERROR;
  ucnv_resetFromUnicode(converter);
  const std::int32_t length =
      ucnv_fromUChars(converter, &bytes[0], static_cast<std::int32_t>(bytes.size()), text.data(),
                      static_cast<std::int32_t>(text.size()), &status);
  bytes.resize(U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
  return bytes;
}

/// A conversion with iconv directly, from the code page named `from` to the
/// one named `to`; nothing when iconv cannot open the pair or fails.
inline std::optional<std::string> iconvConvert(const char* to, const char* from,
                                               const std::string& bytes) {
  iconv_t descriptor = iconv_open(to, from);
  if (descriptor == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::string out(bytes.size() * 4 + 16, '\0');
  char* in = const_cast<char*>(bytes.data());
  std::size_t inLeft = bytes.size();
  char* target = &out[0];
  std::size_t targetLeft = out.size();
  const std::size_t result = iconv(descriptor, &in, &inLeft, &target, &targetLeft);
  const bool flushed = iconv(descriptor, nullptr, nullptr, &target, &targetLeft) !=
                       static_cast<std::size_t>(-1);
  iconv_close(descriptor);
  if (result == static_cast<std::size_t>(-1) || !flushed) return std::nullopt;
  out.resize(out.size() - targetLeft);
  return out;
}

/// Whether iconv can open a descriptor from `from` to `to`.
inline bool iconvOpens(const char* to, const char* from) {
  iconv_t descriptor = iconv_open(to, from);
  if (descriptor == reinterpret_cast<iconv_t>(-1)) return false;
  iconv_close(descriptor);
  return true;
}

/// Converts all of `source` with `converter` into one large target.
inline std::string convertAll(const KivClConverterABase& converter, const std::string& source) {
  std::string target(source.size() * 4 + 64, '\0');
  const unsigned long written =
      converter.convertBytes(&target[0], target.size(), source.data(), source.size());
  target.resize(written);
  return target;
}

}  // namespace kivtest

#endif
