// The 6-bit text code of trace entries.
//
// Code values come from one 256-entry table, so each character costs a
// look-up and one bit write; runs of coded characters go eight at a time.
// On x86-64 with SSSE3 (chosen at run time) a text starts sixteen
// characters at a time in vector registers, which for a text of coded
// characters only (most function names and messages) is the whole text;
// both ways write the same bytes. The writer never touches a byte beyond
// the last one it needs and the reader never reads one beyond its input, so
// both are safe on exactly sized buffers (a damaged trace file can hold any
// bytes).

#include <cstdint>
#include <cstring>

#include "kiv_tracecompress_detail.hpp"
#include "kiv_traceentry.hpp"

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define KIV_TRACE_CODER_SSSE3 1
#include <emmintrin.h>
#include <tmmintrin.h>
#else
#define KIV_TRACE_CODER_SSSE3 0
#endif

namespace {

constexpr char gs_codeAlphabet[] =
    " ,&*:_~()<>ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr unsigned kAlphabetSize = sizeof(gs_codeAlphabet) - 1;
static_assert(kAlphabetSize == 63, "63 code values and the escape");

constexpr unsigned char kEscape = 63;
constexpr unsigned char kNoCode = 0xFF;
constexpr unsigned long kCodeBits = 6;
constexpr unsigned long kByteBits = 8;

/// Code value of every byte, or kNoCode.
struct CodeTable {
  unsigned char code[256];
  constexpr CodeTable() : code{} {
    for (unsigned c = 0; c < 256; ++c) code[c] = kNoCode;
    for (unsigned i = 0; i < kAlphabetSize; ++i) {
      code[static_cast<unsigned char>(gs_codeAlphabet[i])] = static_cast<unsigned char>(i);
    }
    // Deliberately lossy: 255 is stored like a space.
    code[255] = 0;
  }
};
constexpr CodeTable gs_codeTable;

}  // namespace

void KivClTraceEntry::compressWriteBits(char* out, unsigned long bitPosition, char value,
                                        unsigned long bitCount) noexcept {
  const unsigned long byte = bitPosition / kByteBits;
  const unsigned long offset = bitPosition % kByteBits;
  const unsigned bits =
      static_cast<unsigned char>(value) & ((1u << bitCount) - 1u);  // the low bitCount bits
  if (offset == 0) {
    out[byte] = static_cast<char>(bits << (kByteBits - bitCount));
    return;
  }
  const unsigned long used = offset + bitCount;  // bit positions taken in this and the next byte
  if (used <= kByteBits) {
    out[byte] =
        static_cast<char>(static_cast<unsigned char>(out[byte]) + (bits << (kByteBits - used)));
    return;
  }
  const unsigned long spill = used - kByteBits;  // bits for the next byte
  out[byte] = static_cast<char>(static_cast<unsigned char>(out[byte]) + (bits >> spill));
  out[byte + 1] = static_cast<char>((bits << (kByteBits - spill)) & 0xFFu);
}

namespace {

#if KIV_TRACE_CODER_SSSE3

/// Codes of the 16 bytes of `v`; a byte without a code gets a value with
/// the top bit set. Letters are two ranges with a fixed offset each; the
/// other coded bytes are picked by their low half from one table per
/// column of the code chart (0x20 and 0x30), plus three single bytes.
__attribute__((target("ssse3"), always_inline)) inline __m128i codesOf16(__m128i v) noexcept {
  const __m128i noCode = _mm_set1_epi8(static_cast<char>(kNoCode));
  const __m128i low = _mm_and_si128(v, _mm_set1_epi8(0x0F));
  const __m128i high = _mm_and_si128(_mm_srli_epi16(v, 4), _mm_set1_epi8(0x0F));
  // Low half -> code in column 0x20 (" &()*,") and column 0x30 (":<>").
  const __m128i column2 = _mm_setr_epi8(0, -1, -1, -1, -1, -1, 2, -1, 7, 8, 3, -1, 1, -1, -1, -1);
  const __m128i column3 =
      _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 4, -1, 9, -1, 10, -1);
  const __m128i in2 = _mm_cmpeq_epi8(high, _mm_set1_epi8(2));
  const __m128i in3 = _mm_cmpeq_epi8(high, _mm_set1_epi8(3));
  __m128i codes = _mm_or_si128(_mm_and_si128(in2, _mm_shuffle_epi8(column2, low)),
                               _mm_and_si128(in3, _mm_shuffle_epi8(column3, low)));
  __m128i covered = _mm_or_si128(in2, in3);
  const __m128i upperIndex = _mm_sub_epi8(v, _mm_set1_epi8('A'));
  const __m128i upper = _mm_cmpeq_epi8(_mm_min_epu8(upperIndex, _mm_set1_epi8(25)), upperIndex);
  const __m128i lowerIndex = _mm_sub_epi8(v, _mm_set1_epi8('a'));
  const __m128i lower = _mm_cmpeq_epi8(_mm_min_epu8(lowerIndex, _mm_set1_epi8(25)), lowerIndex);
  codes = _mm_or_si128(codes, _mm_and_si128(upper, _mm_add_epi8(upperIndex, _mm_set1_epi8(11))));
  codes = _mm_or_si128(codes, _mm_and_si128(lower, _mm_add_epi8(lowerIndex, _mm_set1_epi8(37))));
  const __m128i underscore = _mm_cmpeq_epi8(v, _mm_set1_epi8('_'));
  const __m128i tilde = _mm_cmpeq_epi8(v, _mm_set1_epi8('~'));
  const __m128i all = _mm_cmpeq_epi8(v, noCode);  // byte 255: code 0, like a space
  codes = _mm_or_si128(codes, _mm_and_si128(underscore, _mm_set1_epi8(5)));
  codes = _mm_or_si128(codes, _mm_and_si128(tilde, _mm_set1_epi8(6)));
  covered = _mm_or_si128(_mm_or_si128(covered, _mm_or_si128(upper, lower)),
                         _mm_or_si128(_mm_or_si128(underscore, tilde), all));
  return _mm_or_si128(codes, _mm_andnot_si128(covered, noCode));
}

/// The last `count` (1 to 15) characters before `end` in the low lanes and
/// zero in the others, reading no byte outside the text from `text`: from a
/// text of sixteen bytes or more, the last sixteen moved down; from a
/// shorter one, gathered with scalar loads.
__attribute__((target("ssse3"), always_inline)) inline __m128i lastCharacters(
    const char* text, const char* end, unsigned int count) noexcept {
  const char* const p = end - count;
  if (end - text >= 16) {
    // Lane i takes byte i + 16 - count while that is inside, else zero.
    alignas(16) static constexpr signed char kSlide[32] = {
        0,    1,    2,    3,    4,    5,    6,    7,    8,    9,    10,
        11,   12,   13,   14,   15,   -128, -128, -128, -128, -128, -128,
        -128, -128, -128, -128, -128, -128, -128, -128, -128, -128};
    return _mm_shuffle_epi8(
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(end - 16)),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(kSlide + (16 - count))));
  }
  std::uint64_t low = 0;
  std::uint64_t high = 0;
  if (count >= 8) {
    std::memcpy(&low, p, sizeof low);
    if (count > 8) {
      std::memcpy(&high, p + count - 8, sizeof high);
      high >>= 8 * (16 - count);
    }
  } else if (count >= 4) {
    std::uint32_t first;
    std::uint32_t last;
    std::memcpy(&first, p, sizeof first);
    std::memcpy(&last, p + count - 4, sizeof last);
    low = first | (static_cast<std::uint64_t>(last) << (8 * (count - 4)));
  } else {
    for (unsigned int i = 0; i < count; ++i) {
      low |= static_cast<std::uint64_t>(static_cast<unsigned char>(p[i])) << (8 * i);
    }
  }
  return _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
}

/// The codes packed as a base64 decoder packs its digits: pairs into 12
/// bits, pairs of those into 24, and three bytes of each 32-bit lane in the
/// order of the bit stream, twelve bytes in all.
__attribute__((target("ssse3"), always_inline)) inline __m128i packCodes(__m128i codes) noexcept {
  const __m128i pairs = _mm_set1_epi32(0x01400140);  // 64 x first + second
  const __m128i quads = _mm_set1_epi32(0x00011000);  // 4096 x first + second
  const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  return _mm_shuffle_epi8(_mm_madd_epi16(_mm_maddubs_epi16(codes, pairs), quads), order);
}

/// Codes a text from its start sixteen characters at a time while all
/// sixteen have a code and may start (the last one at position + 90): they
/// make exactly twelve bytes, and nothing waits between blocks. A rest of
/// up to fifteen characters that all have a code and may start ends the
/// text in one more block: its lanes behind the text hold 63, whose one
/// bits are the fill. Returns where it stopped, for the scalar loops to go
/// on from (at `end`, with the last byte written, when the text is done).
__attribute__((target("ssse3"))) const char* codeVector(char*& next, const char* text,
                                                        const char* end,
                                                        unsigned long lastStart) noexcept {
  char* out = next;
  const char* p = text;
  unsigned long position = 0;
  while (end - p >= 16 && position + 15 * kCodeBits <= lastStart) {
    const __m128i codes = codesOf16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
    if (_mm_movemask_epi8(codes) != 0) {  // an escaped character
      next = out;
      return p;
    }
    const __m128i packed = packCodes(codes);
    const auto head = static_cast<std::uint64_t>(_mm_cvtsi128_si64(packed));
    const auto tail = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_srli_si128(packed, 8)));
    std::memcpy(out, &head, sizeof head);
    std::memcpy(out + 8, &tail, sizeof tail);
    out += 12;
    position += 16 * kCodeBits;
    p += 16;
  }
  const auto rest = static_cast<unsigned int>(end - p);
  if (rest != 0 && rest < 16 && position + kCodeBits * (rest - 1) <= lastStart) {
    // 0xFF in the lanes from `rest` on, loaded at 16 - rest.
    alignas(16) static constexpr signed char kBehind[32] = {
        0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,
        -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
    const __m128i behind = _mm_loadu_si128(reinterpret_cast<const __m128i*>(kBehind + (16 - rest)));
    const __m128i codes =
        _mm_or_si128(_mm_andnot_si128(behind, codesOf16(lastCharacters(text, end, rest))),
                     _mm_and_si128(behind, _mm_set1_epi8(kEscape)));
    if (_mm_movemask_epi8(codes) == 0) {
      const __m128i packed = packCodes(codes);
      alignas(16) char bytes[16];
      _mm_store_si128(reinterpret_cast<__m128i*>(bytes), packed);
      const unsigned int count = (kCodeBits * rest + kByteBits - 1) / kByteBits;  // 1 to 12
      // Exactly `count` bytes, in at most two overlapping stores.
      if (count >= 8) {
        std::memcpy(out, bytes, 8);
        std::memcpy(out + count - 8, bytes + count - 8, 8);
      } else if (count >= 4) {
        std::memcpy(out, bytes, 4);
        std::memcpy(out + count - 4, bytes + count - 4, 4);
      } else {
        for (unsigned int i = 0; i < count; ++i) out[i] = bytes[i];
      }
      out += count;
      p = end;
    }
  }
  next = out;
  return p;
}

#endif

unsigned long compressBody(char* out, const char* text, unsigned long limit, bool vector) noexcept {
  if (limit == 0 || text == nullptr) return 0;
  // The bits go through an accumulator and leave it a whole byte at a
  // time: the same output as writing each code with compressWriteBits, at
  // a fraction of the cost (this runs for every traced entry). At most 7
  // bits wait in the accumulator between characters, so a character (6 or
  // 14 bits) never makes it hold more than 21.
  const unsigned long lastStart = kByteBits * (limit - 1);
  // The text is measured first, so that no byte behind its end is read.
  const char* const end = text + ::strnlen(text, lastStart / kCodeBits + 1);
  std::uint32_t pending = 0;  // the low `pendingBits` bits are not yet written
  unsigned int pendingBits = 0;
  char* next = out;
  const char* p = text;
#if KIV_TRACE_CODER_SSSE3
  if (vector) {
    p = codeVector(next, text, end, lastStart);
    // At the end, the text is written whole; a text cut at the limit ends
    // there too, as the next character could not start.
    if (p == end) return static_cast<unsigned long>(next - out);
  }
#else
  (void)vector;
#endif
  unsigned long position = kCodeBits * static_cast<unsigned long>(p - text);
  // Eight characters at a time while all eight have a code and may start
  // (the last one at position + 42): they make exactly six bytes.
  while (end - p >= 8 && position + 7 * kCodeBits <= lastStart) {
    // Eight independent look-ups joined as a tree, not one chain of shifts.
    std::uint64_t c[8];
    for (int k = 0; k < 8; ++k) c[k] = gs_codeTable.code[static_cast<unsigned char>(p[k])];
    if (((c[0] | c[1]) | (c[2] | c[3]) | ((c[4] | c[5]) | (c[6] | c[7]))) & 0x80u) {
      break;  // an escaped character: go on one by one
    }
    const std::uint64_t codes = ((c[0] << 42 | c[1] << 36) | (c[2] << 30 | c[3] << 24)) |
                                ((c[4] << 18 | c[5] << 12) | (c[6] << 6 | c[7]));
    const std::uint64_t bits = (static_cast<std::uint64_t>(pending) << 48) | codes;
    const std::uint64_t bytes = bits >> pendingBits;  // the next 48 bits to write
    for (int k = 0; k < 6; ++k) next[k] = static_cast<char>(bytes >> (40 - 8 * k));
    next += 6;
    pending = static_cast<std::uint32_t>(bits & ((1u << pendingBits) - 1u));
    position += 8 * kCodeBits;
    p += 8;
  }
  for (; position <= lastStart && *p != '\0'; ++p) {
    const unsigned char code = gs_codeTable.code[static_cast<unsigned char>(*p)];
    if (code != kNoCode) {
      pending = (pending << kCodeBits) | code;
      pendingBits += kCodeBits;
      position += kCodeBits;
    } else {
      pending = (pending << (kCodeBits + kByteBits)) | (std::uint32_t{kEscape} << kByteBits) |
                static_cast<unsigned char>(*p);
      pendingBits += kCodeBits + kByteBits;
      position += kCodeBits + kByteBits;
    }
    while (pendingBits >= kByteBits) {
      pendingBits -= kByteBits;
      *next++ = static_cast<char>(pending >> pendingBits);
    }
    pending &= (1u << pendingBits) - 1u;
  }
  if (pendingBits != 0) {
    // Fill the last byte with one bits (the low bits of the escape code).
    const unsigned int fill = kByteBits - pendingBits;
    *next++ = static_cast<char>((pending << fill) | ((1u << fill) - 1u));
  }
  return static_cast<unsigned long>(next - out);
}

}  // namespace

namespace kiv::detail {

bool traceVectorCoderAvailable() noexcept {
#if KIV_TRACE_CODER_SSSE3
  static const bool available = __builtin_cpu_supports("ssse3");
  return available;
#else
  return false;
#endif
}

unsigned long traceCompressText(char* out, const char* text, unsigned long limit,
                                TraceCoderPath path) noexcept {
  return compressBody(out, text, limit,
                      path == TraceCoderPath::Vector && traceVectorCoderAvailable());
}

}  // namespace kiv::detail

unsigned long KivClTraceEntry::compressCString(char* out, const char* text,
                                               unsigned long limit) noexcept {
  return compressBody(out, text, limit, kiv::detail::traceVectorCoderAvailable());
}

char KivClTraceEntry::deCompressReadBits(const char* in, unsigned long bitPosition,
                                         unsigned long bitCount) noexcept {
  const unsigned long byte = bitPosition / kByteBits;
  const unsigned long offset = bitPosition % kByteBits;
  unsigned window = static_cast<unsigned>(static_cast<unsigned char>(in[byte])) << kByteBits;
  if (offset + bitCount > kByteBits) window |= static_cast<unsigned char>(in[byte + 1]);
  const unsigned shift = static_cast<unsigned>(2 * kByteBits - offset - bitCount);
  return static_cast<char>((window >> shift) & ((1u << bitCount) - 1u));
}

unsigned long KivClTraceEntry::deCompressCString(char* out, const char* in,
                                                 unsigned long inLength) noexcept {
  const unsigned long bitCount = kByteBits * inLength;
  unsigned long position = 0;
  unsigned long produced = 0;
  while (bitCount - position >= kCodeBits) {
    const auto code = static_cast<unsigned char>(deCompressReadBits(in, position, kCodeBits));
    position += kCodeBits;
    if (code != kEscape) {
      out[produced++] = gs_codeAlphabet[code];
      continue;
    }
    const unsigned long left = bitCount - position;
    if (left < kCodeBits) break;
    if (left < kByteBits) {
      // Only a damaged text ends 6 or 7 bits after an escape; the bits past
      // the input count as zero rather than being read from beyond it.
      const auto high = static_cast<unsigned char>(deCompressReadBits(in, position, left));
      out[produced++] = static_cast<char>(high << (kByteBits - left));
      break;
    }
    out[produced++] = deCompressReadBits(in, position, kByteBits);
    position += kByteBits;
  }
  out[produced] = '\0';
  return produced;
}
