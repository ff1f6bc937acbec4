// Internals of the 6-bit text code of trace entries, shared by
// KivClTraceEntry::compressCString and its tests. Not part of the installed
// interface.
#ifndef KIV_TRACECOMPRESS_DETAIL_HPP
#define KIV_TRACECOMPRESS_DETAIL_HPP

namespace kiv::detail {

/// How traceCompressText codes runs of characters that all have a code.
enum class TraceCoderPath {
  /// Eight characters at a time with table look-ups, on any machine.
  Scalar,
  /// Sixteen characters at a time with SSSE3 byte shuffles, then as Scalar.
  /// Read as Scalar where traceVectorCoderAvailable() is false.
  Vector,
};

/// Whether this machine runs the Vector path (x86-64 with SSSE3).
bool traceVectorCoderAvailable() noexcept;

/// KivClTraceEntry::compressCString by the given path. Both paths write the
/// same bytes for every text and limit.
unsigned long traceCompressText(char* out, const char* text, unsigned long limit,
                                TraceCoderPath path) noexcept;

}  // namespace kiv::detail

#endif
