// kivconv: converting a stream of bytes between two code pages in chunks.
//
// A Stream reads its input in chunks of a fixed size, converts each chunk
// with the library's converters (the source code page to UCS-2, then UCS-2
// to the target code page) and hands the result to a writer. Its memory is
// fixed when it is made: it does not grow with the input. The output is the
// same, byte for byte, whatever the chunk size and the output buffer size:
//
//   - A character cut by the end of a chunk (a UTF-8 sequence, a UCS-2
//     surrogate pair, a double-byte character, a multi-byte character that
//     ICU or iconv reports as truncated) is held back and converted with
//     the next chunk.
//   - EBCDIC mixed code pages (shift-out 0x0E, shift-in 0x0F): the stream
//     follows the shift state across chunks and begins a chunk that starts
//     in double-byte state with a shift-out, since the converters start
//     every call in single-byte state. On output, the shift-in that ends
//     one piece and the shift-out that begins the next are dropped, since
//     the converters close the shift state at the end of every call.
//   - A full output buffer is written and the conversion goes on with the
//     UCS-2 not yet converted; the encoders are only ever given as much as
//     surely fits, so that nothing is lost.
//
// Invalid and unmappable input. The conversion stops at the first byte
// sequence that is not valid in the source code page, or that the target
// code page cannot represent, and reports its byte offset in the input
// (counted from 0); everything before it has been written. The stream
// checks what the library's methods do not check themselves: UTF-8 is
// checked strictly (no overlong forms, no surrogates, nothing beyond
// U+10FFFF), UCS-2 input must not hold unpaired surrogates, UCS-2 to
// ISO 8859-1 must not be above U+00FF, a built-in single-byte table from
// UCS-2 must give a byte that maps back to the same character, and a
// built-in table to UCS-2 must not give U+FFFD (its mark for an undefined
// byte). The ICU converters of the library (their method data) are
// switched to stop at invalid and unmappable input: by default they would
// substitute silently, and would take a character cut by the end of a
// chunk for an invalid one. iconv reports such input by itself. Known
// limits: a double-byte table gives U+001A for an undefined single byte,
// which cannot be told from the control SUB and so passes; ICU's fallback
// mappings (one-way) count as mapped.
//
// With substitution on, the conversion never stops for such input:
//   - invalid input becomes U+FFFD: one for each maximal invalid part of a
//     UTF-8 sequence, each unpaired surrogate, each byte or character that
//     a built-in table leaves undefined, each sequence that ICU refuses, and
//     each byte that iconv refuses;
//   - a character that the target cannot represent becomes the target's
//     substitution character: ICU's substitution character of the code
//     page (0x1A for most ASCII-based, 0x3F for EBCDIC code pages, 0xFC 0xFC
//     or the like for double-byte ones), 0x1A for ISO 8859-1, the byte
//     that the built-in table gives (its substitution byte), and for iconv
//     the conversion of "?".
// Input cut off at its very end (an incomplete character) is an error, or
// U+FFFD with substitution on.
//
// Ownership: the stream owns its converters and buffers; the reader and
// writer belong to the caller and are only called during run(). Not
// copyable; one thread at a time.
#ifndef KIVCONV_STREAM_HPP
#define KIVCONV_STREAM_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "kiv_ccsid.hpp"
#include "kiv_converter.hpp"

namespace kivconv {

/// Reads up to `size` bytes into `buffer`: the bytes read, 0 at the end of
/// the input, -1 when reading failed.
using ReadFunction = std::function<long(char* buffer, std::size_t size)>;
/// Writes `size` bytes; false when writing failed.
using WriteFunction = std::function<bool(const char* data, std::size_t size)>;

/// How a run ended.
struct Outcome {
  enum class Status {
    DONE,         ///< all input converted and written
    INVALID,      ///< a sequence not valid in the source code page, at `offset`
    INCOMPLETE,   ///< the input ends inside a character that begins at `offset`
    UNMAPPABLE,   ///< a character the target cannot represent, at `offset`
    READ_FAILED,  ///< the reader answered -1
    WRITE_FAILED  ///< the writer answered false
  };
  Status status = Status::DONE;
  /// The byte offset in the input where the failing character begins.
  std::uint64_t offset = 0;
};

/// How a conversion method is reached, for listings and for the stream's
/// own decisions.
enum class MethodKind { UNSUPPORTED, COPY, SWAP, ALGORITHM, TABLE, ICU, ICONV };

/// The kind of the method `converter` chose.
MethodKind methodKindOf(const KivClConverterABase& converter);

/// Converts a stream from one CCSID to another; see the banner.
class Stream {
 public:
  /// Output buffer size used when none is given: enough for a whole chunk.
  static constexpr std::size_t kDefaultOutputSize = 0;
  /// The smallest output buffer that the stream accepts (a larger one is
  /// only faster).
  static constexpr std::size_t kMinimumOutputSize = 32;

  /// A stream from `from` to `to` that reads `chunkSize` bytes at a time
  /// (at least 1) and collects its output in `outputSize` bytes (at least
  /// kMinimumOutputSize; kDefaultOutputSize: as much as a chunk needs).
  /// `substitute` replaces invalid and unmappable input instead of
  /// stopping. Nothing is converted yet; isSupported() tells whether the
  /// pair can be converted at all.
  Stream(const KivClCCSID& from, const KivClCCSID& to, std::size_t chunkSize,
         bool substitute = false, std::size_t outputSize = kDefaultOutputSize);
  ~Stream();
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  /// Whether both halves of the conversion are served by some method.
  bool isSupported() const;

  /// Converts everything `read` delivers and passes the output to `write`.
  /// Every run starts afresh (initial shift state, nothing held back), so
  /// that one stream serves several inputs one after the other.
  Outcome run(const ReadFunction& read, const WriteFunction& write);

 private:
  class Impl;
  std::unique_ptr<Impl> m_impl;
};

}  // namespace kivconv

#endif
