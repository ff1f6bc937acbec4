// kivconv: the chunked conversion of a stream (see kivconv_stream.hpp).
//
// Each chunk goes through two stages. The decoder turns the bytes of the
// chunk that form whole characters into UCS-2 (with the library's
// converter to UCS-2) and says how many bytes it took; the rest waits for
// the next chunk. The encoder turns that UCS-2 into the target code page
// (with the library's converter from UCS-2) in pieces that fit the output
// buffer. An unmappable character is found by the encoder as an index into
// the chunk's UCS-2; its byte offset is found by decoding ever shorter
// prefixes of the chunk (a bisection, run only once, when conversion stops).
#include "kivconv_stream.hpp"

#include <algorithm>
#include <cstring>

#include "kiv_config.hpp"

#if KIV_HAVE_ICU
#include <unicode/ucnv.h>
#include <unicode/ucnv_err.h>
#endif
#if KIV_HAVE_ICONV
#include <iconv.h>
#endif

namespace kivconv {
namespace {

constexpr unsigned char kShiftOut = 0x0E;
constexpr unsigned char kShiftIn = 0x0F;
constexpr char16_t kReplacement = 0xFFFD;
// ISO 8859-1 has no character of its own for "not representable": the
// control SUB, as for other ASCII-based code pages.
constexpr char kSubstitute819 = 0x1A;
// The longest character a decoder may hold back between chunks (GB 18030
// and UTF-8 take 4 bytes; a UCS-2 pair cut after an odd byte 3; iconv may
// hold an escape sequence).
constexpr std::size_t kCarryCapacity = 32;
// Bytes before the chunk, for the shift-out that a shifted chunk begins
// with, and after it, for the one byte that the double-byte tables read
// behind a lead byte at the end.
constexpr std::size_t kHeadroom = 8;
constexpr std::size_t kTailroom = 8;
// Upper bound of the target bytes per UCS-2 unit for methods that look at
// the target size themselves (ICU, iconv), and what a piece keeps free
// for a closing shift sequence.
constexpr std::size_t kMaxBytesPerUnit = 4;
constexpr std::size_t kPieceReserve = 8;

// Brings an iconv descriptor back to its initial state: after a failure
// it stays where the failure left it.
void resetIconv(const KivClConverterABase& converter) {
#if KIV_HAVE_ICONV
  void* const descriptor = converter.getIconvDescriptor();
  if (descriptor == nullptr || descriptor == reinterpret_cast<void*>(-1)) return;
  iconv(static_cast<iconv_t>(descriptor), nullptr, nullptr, nullptr, nullptr);
#else
  (void)converter;
#endif
}

bool isHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool isLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

bool isTableToUnicode(KivClConverterABase::KivPfuConvert method) {
  return method == &kivConvertByTablesSBCS_ASCIItoUCS2 ||
         method == &kivConvertByTablesSBCS_EBCDICtoUCS2 ||
         method == &kivConvertByTablesDBCS_ASCIItoUCS2 ||
         method == &kivConvertByTablesDBCS_EBCDICtoUCS2;
}

// The length of the valid UTF-8 sequence at `p` (at most `size` bytes
// available): > 0 a complete valid sequence; 0 a valid beginning cut off
// by the end; < 0 an invalid sequence whose maximal invalid part has
// -result bytes.
int utf8SequenceAt(const unsigned char* p, std::size_t size) {
  const unsigned char lead = p[0];
  if (lead < 0x80) return 1;
  int length = 0;
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // no overlong forms
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;   // no overlong forms
    if (lead == 0xF4) high = 0x8F;  // nothing beyond U+10FFFF
  } else {
    return -1;
  }
  for (int i = 1; i < length; ++i) {
    if (static_cast<std::size_t>(i) >= size) return 0;
    const unsigned char trail = p[i];
    const unsigned char min = i == 1 ? low : 0x80;
    const unsigned char max = i == 1 ? high : 0xBF;
    if (trail < min || trail > max) return -i;
  }
  return length;
}

// Where the characters of an EBCDIC mixed text lie: the last character
// boundary within `size` bytes, the shift state there, and where the last
// character before it begins. The built-in table reads every byte but
// shift-in as a lead byte in double-byte state and any byte after it as its
// trail byte (`pairsAlways`); ICU and iconv take both shift bytes as such
// and end a double-byte character at a shift byte.
struct ShiftScan {
  std::size_t boundary = 0;
  bool state = false;
  std::size_t lastStart = 0;
};

ShiftScan scanShifted(const unsigned char* bytes, std::size_t size, bool shifted,
                      bool pairsAlways) {
  ShiftScan scan;
  scan.state = shifted;
  std::size_t& boundary = scan.boundary;
  while (boundary < size) {
    const unsigned char byte = bytes[boundary];
    const bool shiftByte = byte == kShiftIn || (byte == kShiftOut && !(scan.state && pairsAlways));
    if (shiftByte) {
      scan.state = byte == kShiftOut;
      ++boundary;
      continue;
    }
    if (scan.state && boundary + 1 >= size) break;  // a lead byte without its trail byte
    scan.lastStart = boundary;
    if (!scan.state ||
        (!pairsAlways && (bytes[boundary + 1] == kShiftOut || bytes[boundary + 1] == kShiftIn))) {
      ++boundary;
    } else {
      boundary += 2;
    }
  }
  return scan;
}

}  // namespace

MethodKind methodKindOf(const KivClConverterABase& converter) {
  const KivClConverterABase::KivPfuConvert method = converter.getMethod();
  if (method == &kivConvertError) return MethodKind::UNSUPPORTED;
  if (method == &kivConvertByCopying) return MethodKind::COPY;
  if (method == &kivConvertByEndianSwap) return MethodKind::SWAP;
  if (method == &kivConvertByAlgorithmUTF8toUCS2 || method == &kivConvertByAlgorithmUCS2toUTF8 ||
      method == &kivConvertByAlgorithmUCS2to819) {
    return MethodKind::ALGORITHM;
  }
  if (isTableToUnicode(method) || method == &kivConvertByTablesUCS2toSBCS) {
    return MethodKind::TABLE;
  }
  if (method == &kivConvertByAlgorithmIcuToUnicode ||
      method == &kivConvertByAlgorithmIcuFromUnicode) {
    return MethodKind::ICU;
  }
  if (method == &kivConvertByUsingIconv) return MethodKind::ICONV;
  return MethodKind::UNSUPPORTED;
}

class Stream::Impl {
 public:
  Impl(const KivClCCSID& from, const KivClCCSID& to, std::size_t chunkSize, bool substitute,
       std::size_t outputSize);

  bool isSupported() const { return m_toUnicode.isSupported() && m_fromUnicode.isSupported(); }
  Outcome run(const ReadFunction& read, const WriteFunction& write);

 private:
  enum class SourceKind { UCS2, UTF8, SHIFTED, GENERIC };

  // What decoding a chunk gave.
  struct Decoded {
    enum class Status { OK, INVALID, INCOMPLETE, INVALID_UNIT, FAILED };
    Status status = Status::OK;
    std::size_t consumed = 0;  // bytes taken (OK), or up to the failure
    std::size_t units = 0;     // units written before the failure
    std::size_t errorAt = 0;   // byte offset in the chunk, or unit index (INVALID_UNIT)
    bool endShifted = false;   // shift state after `consumed` bytes
  };

  // What encoding a chunk's UCS-2 gave.
  enum class Encoded { OK, UNMAPPABLE, WRITE_FAILED, FAILED };

  // Decoding.
  Decoded decode(char* data, std::size_t size, bool atEnd, bool shifted, char16_t* units);
  Decoded decodeUtf8(const char* data, std::size_t size, bool atEnd, char16_t* units);
  Decoded decodeUcs2(const char* data, std::size_t size, bool atEnd, char16_t* units);
  Decoded decodeShifted(char* data, std::size_t size, bool atEnd, bool shifted, char16_t* units);
  Decoded decodeGeneric(const char* data, std::size_t size, bool atEnd, char16_t* units,
                        std::size_t firstUnit);
  std::size_t runToUnicode(const char* data, std::size_t size, char16_t* units,
                           std::size_t capacity, std::size_t& consumed);
  void checkTableOutput(Decoded& decoded, std::size_t firstUnit, char16_t* units);
  std::size_t locateUnit(char* data, std::size_t size, bool shifted, std::size_t unit);

  // Encoding.
  Encoded encode(const char16_t* units, std::size_t count, std::size_t& failedUnit);
  Encoded encodePiece(const char16_t* units, std::size_t count, std::size_t& done);
  std::size_t unmappableIn819(const char16_t* units, std::size_t count) const;
  std::size_t firstNotRoundTripped(const char16_t* units, std::size_t count,
                                   const char* bytes) const;
  bool appendSubstitute(std::size_t& consumedUnits, const char16_t* units, std::size_t count);
  void substituteByIcu(const char16_t* units, std::size_t count);
  void setIcuSubstitution(bool substitute) const;
  void joinShifts(std::size_t pieceStart);
  bool flushOutput(bool keepPendingShiftIn);

  void resetToUnicodeState() const;
  std::size_t icuInvalidBytes() const;
  std::size_t icuInvalidUnits() const;
  void resetFromUnicodeState() const;

  KivClCodePage2UnicodeConverter m_toUnicode;
  KivClUnicode2CodePageConverter m_fromUnicode;
  // The target back to UCS-2, for the round trip of a built-in table.
  KivClCodePage2UnicodeConverter m_back;
  const std::size_t m_chunkSize;
  const bool m_substitute;
  SourceKind m_sourceKind = SourceKind::GENERIC;
  MethodKind m_toKind;
  MethodKind m_fromKind;
  bool m_shiftedTarget = false;
  bool m_targetEBCDIC = false;
  std::size_t m_bytesPerUnit = kMaxBytesPerUnit;

  std::vector<char> m_input;        // headroom, carry and chunk, tailroom
  std::vector<char16_t> m_units;    // the chunk's UCS-2
  std::vector<char16_t> m_scratch;  // units of the bisection and round trip
  std::vector<char> m_output;       // the output buffer
  std::size_t m_outputUsed = 0;
  bool m_pendingShiftIn = false;  // the output ends with a closing shift-in
  bool m_locating = false;        // locateUnit() is decoding
  const WriteFunction* m_write = nullptr;
};

Stream::Impl::Impl(const KivClCCSID& from, const KivClCCSID& to, std::size_t chunkSize,
                   bool substitute, std::size_t outputSize)
    : m_toUnicode(from),
      m_fromUnicode(to),
      m_back(to),
      m_chunkSize(std::max<std::size_t>(chunkSize, 1)),
      m_substitute(substitute),
      m_toKind(methodKindOf(m_toUnicode)),
      m_fromKind(methodKindOf(m_fromUnicode)) {
  const KivClConverterABase::KivPfuConvert toMethod = m_toUnicode.getMethod();
  if (m_toKind == MethodKind::COPY || m_toKind == MethodKind::SWAP) {
    m_sourceKind = SourceKind::UCS2;
  } else if (toMethod == &kivConvertByAlgorithmUTF8toUCS2) {
    m_sourceKind = SourceKind::UTF8;
  } else if (from.isEBCDIC() && from.isDBCS()) {
    m_sourceKind = SourceKind::SHIFTED;
  }
  m_targetEBCDIC = to.isEBCDIC();
  m_shiftedTarget = to.isEBCDIC() && to.isDBCS() &&
                    (m_fromKind == MethodKind::ICU || m_fromKind == MethodKind::ICONV);
  const KivClConverterABase::KivPfuConvert fromMethod = m_fromUnicode.getMethod();
  if (fromMethod == &kivConvertByAlgorithmUCS2toUTF8) m_bytesPerUnit = 3;
  if (fromMethod == &kivConvertByAlgorithmUCS2to819 ||
      fromMethod == &kivConvertByTablesUCS2toSBCS) {
    m_bytesPerUnit = 1;
  }
  if (m_fromKind == MethodKind::COPY || m_fromKind == MethodKind::SWAP) m_bytesPerUnit = 2;

#if KIV_HAVE_ICU
  // ICU substitutes silently unless told to stop, and it would take a
  // character cut by the end of a chunk for an invalid one: it always
  // stops, and the stream substitutes where asked to.
  UErrorCode status = U_ZERO_ERROR;
  if (m_toKind == MethodKind::ICU) {
    auto* converter = static_cast<UConverter*>(const_cast<void*>(m_toUnicode.getMethodData()));
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  }
  setIcuSubstitution(false);
#endif

  const std::size_t maxBytes = m_chunkSize + kCarryCapacity;
  m_input.assign(kHeadroom + maxBytes + kTailroom, '\0');
  // One unit per byte at most for every method but ICU's, whose rare
  // longer mappings get room as well.
  m_units.assign(2 * maxBytes + 64, 0);
  m_scratch.assign(m_units.size(), 0);
  const std::size_t needed = m_units.size() * m_bytesPerUnit + kPieceReserve;
  std::size_t size = outputSize == kDefaultOutputSize ? needed : outputSize;
  m_output.assign(std::max(size, kMinimumOutputSize), '\0');
}

// ---------------------------------------------------------------------------
// ICU's view of the failing sequence
// ---------------------------------------------------------------------------

void Stream::Impl::resetToUnicodeState() const {
  resetIconv(m_toUnicode);
#if KIV_HAVE_ICU
  if (m_toKind != MethodKind::ICU) return;
  ucnv_resetToUnicode(static_cast<UConverter*>(const_cast<void*>(m_toUnicode.getMethodData())));
#endif
}

void Stream::Impl::resetFromUnicodeState() const {
  resetIconv(m_fromUnicode);
#if KIV_HAVE_ICU
  if (m_fromKind != MethodKind::ICU) return;
  ucnv_resetFromUnicode(static_cast<UConverter*>(const_cast<void*>(m_fromUnicode.getMethodData())));
#endif
}

std::size_t Stream::Impl::icuInvalidBytes() const {
#if KIV_HAVE_ICU
  char bytes[32];
  std::int8_t length = sizeof bytes;
  UErrorCode status = U_ZERO_ERROR;
  ucnv_getInvalidChars(static_cast<const UConverter*>(m_toUnicode.getMethodData()), bytes, &length,
                       &status);
  return U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0;
#else
  return 0;
#endif
}

std::size_t Stream::Impl::icuInvalidUnits() const {
#if KIV_HAVE_ICU
  UChar units[32];
  std::int8_t length = sizeof units / sizeof units[0];
  UErrorCode status = U_ZERO_ERROR;
  ucnv_getInvalidUChars(static_cast<const UConverter*>(m_fromUnicode.getMethodData()), units,
                        &length, &status);
  return U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0;
#else
  return 0;
#endif
}

// ---------------------------------------------------------------------------
// Decoding
// ---------------------------------------------------------------------------

Stream::Impl::Decoded Stream::Impl::decode(char* data, std::size_t size, bool atEnd, bool shifted,
                                           char16_t* units) {
  switch (m_sourceKind) {
    case SourceKind::UTF8:
      return decodeUtf8(data, size, atEnd, units);
    case SourceKind::UCS2:
      return decodeUcs2(data, size, atEnd, units);
    case SourceKind::SHIFTED:
      return decodeShifted(data, size, atEnd, shifted, units);
    case SourceKind::GENERIC:
      break;
  }
  return decodeGeneric(data, size, atEnd, units, 0);
}

Stream::Impl::Decoded Stream::Impl::decodeUtf8(const char* data, std::size_t size, bool atEnd,
                                               char16_t* units) {
  // The library's UTF-8 method checks nothing and reads behind a sequence
  // that lacks its last byte; it is handed only runs of whole, valid
  // sequences.
  Decoded decoded;
  const auto* bytes = reinterpret_cast<const unsigned char*>(data);
  std::size_t position = 0;
  while (position < size) {
    std::size_t end = position;
    int sequence = 0;
    while (end < size) {
      if (bytes[end] < 0x80) {
        ++end;
        continue;
      }
      sequence = utf8SequenceAt(bytes + end, size - end);
      if (sequence <= 0) break;
      end += static_cast<std::size_t>(sequence);
    }
    if (end > position) {
      const char* source = data + position;
      const unsigned long written =
          m_toUnicode.convertBytes(reinterpret_cast<char*>(units + decoded.units),
                                   (end - position) * 2, &source, end - position);
      decoded.units += written / 2;
      position = end;
    }
    if (position == size) break;
    if (sequence == 0) {  // a valid beginning cut off by the end
      if (!atEnd) {
        decoded.consumed = position;
        return decoded;
      }
      if (!m_substitute) {
        decoded.status = Decoded::Status::INCOMPLETE;
        decoded.consumed = decoded.errorAt = position;
        return decoded;
      }
      units[decoded.units++] = kReplacement;
      position = size;
      break;
    }
    if (!m_substitute) {
      decoded.status = Decoded::Status::INVALID;
      decoded.consumed = decoded.errorAt = position;
      return decoded;
    }
    units[decoded.units++] = kReplacement;
    position += static_cast<std::size_t>(-sequence);
  }
  decoded.consumed = size;
  return decoded;
}

Stream::Impl::Decoded Stream::Impl::decodeUcs2(const char* data, std::size_t size, bool atEnd,
                                               char16_t* units) {
  Decoded decoded;
  const char* source = data;
  const std::size_t even = size & ~static_cast<std::size_t>(1);
  const std::size_t count =
      m_toUnicode.convertBytes(reinterpret_cast<char*>(units), even, &source, even) / 2;
  std::size_t i = 0;
  std::size_t out = 0;
  while (i < count) {
    const char16_t unit = units[i];
    if (!isHighSurrogate(unit) && !isLowSurrogate(unit)) {
      units[out++] = unit;
      ++i;
      continue;
    }
    if (isHighSurrogate(unit) && i + 1 < count && isLowSurrogate(units[i + 1])) {
      units[out++] = unit;
      units[out++] = units[i + 1];
      i += 2;
      continue;
    }
    if (isHighSurrogate(unit) && i + 1 == count && !atEnd) break;  // its pair may follow
    if (!m_substitute) {
      decoded.status = isHighSurrogate(unit) && i + 1 == count ? Decoded::Status::INCOMPLETE
                                                               : Decoded::Status::INVALID;
      decoded.units = out;
      decoded.consumed = decoded.errorAt = 2 * i;
      return decoded;
    }
    units[out++] = kReplacement;
    ++i;
  }
  decoded.units = out;
  decoded.consumed = 2 * i;
  if (i < count || even == size) return decoded;
  // An odd last byte.
  if (!atEnd) return decoded;
  if (!m_substitute) {
    decoded.status = Decoded::Status::INCOMPLETE;
    decoded.errorAt = decoded.consumed;
    return decoded;
  }
  units[decoded.units++] = kReplacement;
  decoded.consumed = size;
  return decoded;
}

Stream::Impl::Decoded Stream::Impl::decodeShifted(char* data, std::size_t size, bool atEnd,
                                                  bool shifted, char16_t* units) {
  const bool pairsAlways = m_toUnicode.getMethod() == &kivConvertByTablesDBCS_EBCDICtoUCS2;
  const ShiftScan scan =
      scanShifted(reinterpret_cast<const unsigned char*>(data), size, shifted, pairsAlways);
  const std::size_t boundary = scan.boundary;
  const bool state = scan.state;

  // A chunk that starts in double-byte state gets a shift-out in front.
  char* start = data;
  char saved = 0;
  if (shifted) {
    --start;
    saved = *start;
    *start = static_cast<char>(kShiftOut);
  }
  const std::size_t prefix = shifted ? 1 : 0;
  Decoded decoded = decodeGeneric(start, boundary + prefix, true, units, 0);
  if (shifted) *start = saved;
  // The table reports a chunk that ends in double-byte state as
  // incomplete; here that is a boundary, not an error.
  if (decoded.status == Decoded::Status::INCOMPLETE && pairsAlways &&
      decoded.errorAt == boundary + prefix) {
    decoded.status = Decoded::Status::OK;
    decoded.consumed = boundary + prefix;
  }
  if (decoded.status != Decoded::Status::INVALID_UNIT) {
    decoded.errorAt = decoded.errorAt >= prefix ? decoded.errorAt - prefix : 0;
  }
  decoded.consumed = decoded.consumed >= prefix ? decoded.consumed - prefix : 0;
  if (decoded.status != Decoded::Status::OK) return decoded;
  decoded.endShifted = state;
  if (boundary == size || !atEnd) return decoded;
  if (!m_substitute) {
    decoded.status = Decoded::Status::INCOMPLETE;
    decoded.errorAt = boundary;
    return decoded;
  }
  units[decoded.units++] = kReplacement;
  decoded.consumed = size;
  return decoded;
}

std::size_t Stream::Impl::runToUnicode(const char* data, std::size_t size, char16_t* units,
                                       std::size_t capacity, std::size_t& consumed) {
  const char* source = data;
  const unsigned long written =
      m_toUnicode.convertBytes(reinterpret_cast<char*>(units), capacity * 2, &source, size);
  consumed = static_cast<std::size_t>(source - data);
  return written / 2;
}

Stream::Impl::Decoded Stream::Impl::decodeGeneric(const char* data, std::size_t size, bool atEnd,
                                                  char16_t* units, std::size_t firstUnit) {
  Decoded decoded;
  decoded.units = firstUnit;
  std::size_t position = 0;
  bool drain = false;  // ICU holds output back after a full target
  while (position < size || drain) {
    std::size_t consumed = 0;
    const std::size_t produced =
        runToUnicode(data + position, size - position, units + decoded.units,
                     m_units.size() - decoded.units, consumed);
    const std::size_t unitsBefore = decoded.units;
    decoded.units += produced;
    const long error = m_toUnicode.getLastError().id;
    drain = false;
    if (consumed > size - position) {
      // A double-byte table took the byte behind the chunk as the trail
      // byte of a lead byte at its end: that character is not whole.
      --decoded.units;
      const std::size_t lead = size - 1;
      checkTableOutput(decoded, unitsBefore, units);
      if (decoded.status != Decoded::Status::OK) return decoded;
      if (!atEnd) {
        decoded.consumed = lead;
        return decoded;
      }
      if (!m_substitute) {
        decoded.status = Decoded::Status::INCOMPLETE;
        decoded.consumed = decoded.errorAt = lead;
        return decoded;
      }
      units[decoded.units++] = kReplacement;
      position = size;
      break;
    }
    checkTableOutput(decoded, unitsBefore, units);
    if (decoded.status != Decoded::Status::OK) return decoded;
    if (error == KIV_NO_ERROR ||
        (error == KIV_CPCONVERTER_INCOMPLETE && m_toKind == MethodKind::TABLE)) {
      if (error != KIV_NO_ERROR) {
        // The EBCDIC table: the source ended in double-byte state.
        decoded.status = Decoded::Status::INCOMPLETE;
        decoded.errorAt = decoded.consumed = position + consumed;
        return decoded;
      }
      position += consumed;
      if (consumed == 0) break;
      continue;
    }
    if (error == KIV_CPCONVERTER_TOO_BIG) {
      position += consumed;
      drain = m_toKind == MethodKind::ICU;
      continue;
    }
    std::size_t failedAt = position + consumed;
    if (m_toKind == MethodKind::ICU) failedAt -= std::min(icuInvalidBytes(), consumed);
    if (error == KIV_CPCONVERTER_INVALID_SEQ && m_substitute) {
      // One replacement for what the converter refused. ICU has taken
      // those bytes already and goes on in its shift state; iconv stands
      // before them and has one byte skipped.
      units[decoded.units++] = kReplacement;
      position = m_toKind == MethodKind::ICU ? position + consumed : failedAt + 1;
      continue;
    }
    if (m_toKind == MethodKind::ICU) resetToUnicodeState();
    if (error == KIV_CPCONVERTER_INCOMPLETE) {
      if (!atEnd) {
        decoded.consumed = failedAt;
        return decoded;
      }
      if (!m_substitute) {
        decoded.status = Decoded::Status::INCOMPLETE;
        decoded.consumed = decoded.errorAt = failedAt;
        return decoded;
      }
      units[decoded.units++] = kReplacement;
      position = size;
      break;
    }
    if (error == KIV_CPCONVERTER_INVALID_SEQ) {
      decoded.status = Decoded::Status::INVALID;
      decoded.consumed = decoded.errorAt = failedAt;
      return decoded;
    }
    decoded.status = Decoded::Status::FAILED;
    decoded.consumed = decoded.errorAt = position;
    return decoded;
  }
  decoded.consumed = std::min(position, size);
  return decoded;
}

void Stream::Impl::checkTableOutput(Decoded& decoded, std::size_t firstUnit, char16_t* units) {
  // A built-in table gives U+FFFD for a byte it does not define.
  if (m_toKind != MethodKind::TABLE || m_substitute || m_locating) return;
  for (std::size_t i = firstUnit; i < decoded.units; ++i) {
    if (units[i] != kReplacement) continue;
    decoded.status = Decoded::Status::INVALID_UNIT;
    decoded.errorAt = i;
    decoded.units = i;
    return;
  }
}

std::size_t Stream::Impl::locateUnit(char* data, std::size_t size, bool shifted, std::size_t unit) {
  // units(n): how many units the first n bytes of the chunk give as whole
  // characters; it never falls as n grows. The character that gives
  // `unit` ends at the first n with units(n) > unit, and begins where
  // units() first reaches units(n - 1). A byte that a built-in table
  // leaves undefined counts as a character here.
  m_locating = true;
  const auto unitsOf = [&](std::size_t n) {
    return decode(data, n, false, shifted, m_scratch.data()).units;
  };
  std::size_t low = 1;
  std::size_t high = size;
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    if (unitsOf(middle) > unit) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  std::size_t first = 0;
  if (m_sourceKind == SourceKind::SHIFTED) {
    // units() does not grow over the shift bytes before the character.
    const bool pairsAlways = m_toUnicode.getMethod() == &kivConvertByTablesDBCS_EBCDICtoUCS2;
    first = scanShifted(reinterpret_cast<const unsigned char*>(data), low, shifted, pairsAlways)
                .lastStart;
  } else {
    const std::size_t before = unitsOf(low - 1);
    high = low - 1;
    while (first < high) {
      const std::size_t middle = first + (high - first) / 2;
      if (unitsOf(middle) >= before) {
        high = middle;
      } else {
        first = middle + 1;
      }
    }
  }
  m_locating = false;
  return first;
}

// ---------------------------------------------------------------------------
// Encoding
// ---------------------------------------------------------------------------

bool Stream::Impl::flushOutput(bool keepPendingShiftIn) {
  // A closing shift-in at the very end waits: the next piece may begin
  // with a shift-out, and then neither is written.
  std::size_t count = m_outputUsed;
  if (keepPendingShiftIn && m_pendingShiftIn && count > 0) --count;
  if (count > 0 && !(*m_write)(m_output.data(), count)) return false;
  std::memmove(m_output.data(), m_output.data() + count, m_outputUsed - count);
  m_outputUsed -= count;
  return true;
}

void Stream::Impl::joinShifts(std::size_t pieceStart) {
  if (!m_shiftedTarget) return;
  if (m_outputUsed == pieceStart) return;
  if (m_pendingShiftIn && static_cast<unsigned char>(m_output[pieceStart]) == kShiftOut &&
      pieceStart > 0) {
    // ... SI | SO ...: the shift state simply goes on.
    std::memmove(&m_output[pieceStart - 1], &m_output[pieceStart + 1],
                 m_outputUsed - pieceStart - 1);
    m_outputUsed -= 2;
  }
  m_pendingShiftIn =
      m_outputUsed > 0 && static_cast<unsigned char>(m_output[m_outputUsed - 1]) == kShiftIn;
}

std::size_t Stream::Impl::unmappableIn819(const char16_t* units, std::size_t count) const {
  for (std::size_t i = 0; i < count; ++i) {
    if (units[i] > 0xFF) return i;
  }
  return count;
}

std::size_t Stream::Impl::firstNotRoundTripped(const char16_t* units, std::size_t count,
                                               const char* bytes) const {
  // A built-in table from UCS-2 gives its substitution byte for a
  // character it lacks; the byte then maps back to another character.
  const char* source = bytes;
  char16_t* back = const_cast<char16_t*>(m_scratch.data());
  m_back.convertBytes(reinterpret_cast<char*>(back), count * 2, &source, count);
  for (std::size_t i = 0; i < count; ++i) {
    if (back[i] == units[i]) continue;
    // EBCDIC new line comes back as line feed on purpose.
    if (m_targetEBCDIC && units[i] == 0x0085 && back[i] == 0x000A) continue;
    return i;
  }
  return count;
}

void Stream::Impl::setIcuSubstitution(bool substitute) const {
#if KIV_HAVE_ICU
  if (m_fromKind != MethodKind::ICU) return;
  auto* converter = static_cast<UConverter*>(const_cast<void*>(m_fromUnicode.getMethodData()));
  UErrorCode status = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter,
                        substitute ? UCNV_FROM_U_CALLBACK_SUBSTITUTE : UCNV_FROM_U_CALLBACK_STOP,
                        nullptr, nullptr, nullptr, &status);
#else
  (void)substitute;
#endif
}

void Stream::Impl::substituteByIcu(const char16_t* units, std::size_t count) {
  setIcuSubstitution(true);
  const std::size_t start = m_outputUsed;
  const char* source = reinterpret_cast<const char*>(units);
  m_outputUsed += m_fromUnicode.convertBytes(&m_output[m_outputUsed],
                                             m_output.size() - m_outputUsed, &source, count * 2);
  setIcuSubstitution(false);
  joinShifts(start);
}

bool Stream::Impl::appendSubstitute(std::size_t& consumedUnits, const char16_t* units,
                                    std::size_t count) {
  // The unit (or pair) at `consumedUnits` cannot be represented.
  const std::size_t width = consumedUnits + 1 < count && isHighSurrogate(units[consumedUnits]) &&
                                    isLowSurrogate(units[consumedUnits + 1])
                                ? 2
                                : 1;
  consumedUnits += width;
  if (m_fromKind == MethodKind::ALGORITHM) {
    m_output[m_outputUsed++] = kSubstitute819;
    return true;
  }
  const char16_t question = u'?';
  const char* source = reinterpret_cast<const char*>(&question);
  const std::size_t start = m_outputUsed;
  m_outputUsed += m_fromUnicode.convertBytes(&m_output[m_outputUsed],
                                             m_output.size() - m_outputUsed, &source, 2);
  joinShifts(start);
  return true;
}

Stream::Impl::Encoded Stream::Impl::encodePiece(const char16_t* units, std::size_t count,
                                                std::size_t& done) {
  // Converts units[0, count) (which surely fit) into the output buffer;
  // `done` tells how many were converted before a failure.
  done = 0;
  std::size_t take = count;
  if (m_fromUnicode.getMethod() == &kivConvertByAlgorithmUCS2to819) {
    take = unmappableIn819(units, count);
  }
  const std::size_t start = m_outputUsed;
  const char* source = reinterpret_cast<const char*>(units);
  const unsigned long written = m_fromUnicode.convertBytes(
      &m_output[m_outputUsed], m_output.size() - m_outputUsed, &source, take * 2);
  const long error = m_fromUnicode.getLastError().id;
  std::size_t consumed =
      static_cast<std::size_t>(source - reinterpret_cast<const char*>(units)) / 2;
  m_outputUsed += written;
  if (m_fromUnicode.getMethod() == &kivConvertByTablesUCS2toSBCS && !m_substitute) {
    const std::size_t bad = firstNotRoundTripped(units, consumed, &m_output[start]);
    if (bad < consumed) {
      m_outputUsed = start + bad;
      done = bad;
      return Encoded::UNMAPPABLE;
    }
  }
  if (error == KIV_CPCONVERTER_INVALID_SEQ && m_fromKind == MethodKind::ICU) {
    const std::size_t invalid = std::min(icuInvalidUnits(), consumed);
    if (m_substitute) {
      // ICU goes on in its shift state and writes its own substitution
      // character for the units it refused.
      joinShifts(start);
      substituteByIcu(units + consumed - invalid, invalid);
      done = consumed;
      return Encoded::OK;
    }
    consumed -= invalid;
    resetFromUnicodeState();
  } else if (error != KIV_NO_ERROR && error != KIV_CPCONVERTER_TOO_BIG &&
             error != KIV_CPCONVERTER_INVALID_SEQ) {
    joinShifts(start);
    done = consumed;
    return Encoded::FAILED;
  }
  joinShifts(start);
  done = consumed;
  if (error == KIV_CPCONVERTER_INVALID_SEQ || take < count) {
    if (!m_substitute) {
      // Nothing of this piece written: a closing shift-in before it would
      // not have been written by a conversion in one go either.
      if (m_outputUsed == start && m_pendingShiftIn && m_shiftedTarget) {
        --m_outputUsed;
        m_pendingShiftIn = false;
      }
      return Encoded::UNMAPPABLE;
    }
    appendSubstitute(done, units, count);
  }
  return Encoded::OK;
}

Stream::Impl::Encoded Stream::Impl::encode(const char16_t* units, std::size_t count,
                                           std::size_t& failedUnit) {
  std::size_t position = 0;
  bool flushed = false;  // the last piece made no progress and the buffer was written
  while (position < count) {
    std::size_t room = m_output.size() - m_outputUsed;
    std::size_t fits = room > kPieceReserve ? (room - kPieceReserve) / m_bytesPerUnit : 0;
    if (fits < 2) {
      if (!flushOutput(true)) return Encoded::WRITE_FAILED;
      room = m_output.size() - m_outputUsed;
      fits = room > kPieceReserve ? (room - kPieceReserve) / m_bytesPerUnit : 0;
    }
    std::size_t take = std::min(fits, count - position);
    // A surrogate pair stays together.
    if (take < count - position && take > 0 && isHighSurrogate(units[position + take - 1])) {
      --take;
    }
    std::size_t done = 0;
    const Encoded result = take > 0 ? encodePiece(units + position, take, done) : Encoded::OK;
    position += done;
    if (result != Encoded::OK) {
      failedUnit = position;
      return result;
    }
    if (done > 0) {
      flushed = false;
      continue;
    }
    // No progress: an empty buffer must make room. (kMinimumOutputSize
    // holds a pair and the reserve, so a second stall does not happen.)
    if (flushed) {
      failedUnit = position;
      return Encoded::FAILED;
    }
    if (!flushOutput(true)) return Encoded::WRITE_FAILED;
    flushed = true;
  }
  return Encoded::OK;
}

// ---------------------------------------------------------------------------
// The run
// ---------------------------------------------------------------------------

Outcome Stream::Impl::run(const ReadFunction& read, const WriteFunction& write) {
  m_write = &write;
  m_outputUsed = 0;
  m_pendingShiftIn = false;
  resetToUnicodeState();
  resetFromUnicodeState();
  char* const data = m_input.data() + kHeadroom;
  std::size_t carry = 0;
  std::uint64_t base = 0;
  bool shifted = false;
  Outcome outcome;
  for (;;) {
    const long got = read(data + carry, m_chunkSize);
    if (got < 0) {
      outcome.status = Outcome::Status::READ_FAILED;
      outcome.offset = base + carry;
      break;
    }
    const bool atEnd = got == 0;
    const std::size_t size = carry + static_cast<std::size_t>(got);
    std::memset(data + size, 0, kTailroom);
    Decoded decoded = decode(data, size, atEnd, shifted, m_units.data());
    std::size_t failedUnit = 0;
    const Encoded encoded = encode(m_units.data(), decoded.units, failedUnit);
    if (encoded == Encoded::UNMAPPABLE) {
      outcome.status = Outcome::Status::UNMAPPABLE;
      outcome.offset = base + locateUnit(data, size, shifted, failedUnit);
      break;
    }
    if (encoded == Encoded::WRITE_FAILED) {
      outcome.status = Outcome::Status::WRITE_FAILED;
      return outcome;
    }
    if (encoded == Encoded::FAILED || decoded.status == Decoded::Status::FAILED) {
      outcome.status = Outcome::Status::INVALID;
      outcome.offset =
          base + (encoded == Encoded::FAILED ? locateUnit(data, size, shifted, failedUnit)
                                             : decoded.errorAt);
      break;
    }
    if (decoded.status == Decoded::Status::INVALID_UNIT) {
      outcome.status = Outcome::Status::INVALID;
      outcome.offset = base + locateUnit(data, size, shifted, decoded.errorAt);
      break;
    }
    if (decoded.status != Decoded::Status::OK) {
      outcome.status = decoded.status == Decoded::Status::INVALID ? Outcome::Status::INVALID
                                                                  : Outcome::Status::INCOMPLETE;
      outcome.offset = base + decoded.errorAt;
      break;
    }
    if (atEnd) break;
    shifted = decoded.endShifted;
    carry = size - decoded.consumed;
    if (carry > kCarryCapacity) {
      // No code page holds back a character this long: the bytes are no
      // character at all.
      outcome.status = Outcome::Status::INVALID;
      outcome.offset = base + decoded.consumed;
      break;
    }
    std::memmove(data, data + decoded.consumed, carry);
    base += decoded.consumed;
  }
  if (!flushOutput(false)) outcome.status = Outcome::Status::WRITE_FAILED;
  return outcome;
}

// ---------------------------------------------------------------------------
// The public face
// ---------------------------------------------------------------------------

Stream::Stream(const KivClCCSID& from, const KivClCCSID& to, std::size_t chunkSize, bool substitute,
               std::size_t outputSize)
    : m_impl(std::make_unique<Impl>(from, to, chunkSize, substitute, outputSize)) {}

Stream::~Stream() = default;

bool Stream::isSupported() const { return m_impl->isSupported(); }

Outcome Stream::run(const ReadFunction& read, const WriteFunction& write) {
  return m_impl->run(read, write);
}

}  // namespace kivconv
