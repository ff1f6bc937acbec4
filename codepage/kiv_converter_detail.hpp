// Helpers shared by the converter sources (private to the library).
#ifndef KIV_CONVERTER_DETAIL_HPP
#define KIV_CONVERTER_DETAIL_HPP

namespace kiv::detail {

/// An iconv descriptor from the code page named `from` to the one named
/// `to`, or null when iconv cannot convert between them (or the build has
/// no iconv). Close it with closeIconv.
void* openIconv(const char* to, const char* from) noexcept;
/// Closes a descriptor of openIconv; null is ignored.
void closeIconv(void* descriptor) noexcept;

}  // namespace kiv::detail

#endif
