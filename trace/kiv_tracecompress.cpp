// The 6-bit text code of trace entries.
//
// Code values come from one 256-entry table, so each character costs a
// look-up and one bit write. The writer never touches a byte beyond the last
// one it needs and the reader never reads one beyond its input, so both are
// safe on exactly sized buffers (a damaged trace file can hold any bytes).

#include <cstdint>
#include <cstring>

#include "kiv_traceentry.hpp"

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

unsigned long KivClTraceEntry::compressCString(char* out, const char* text,
                                               unsigned long limit) noexcept {
  if (limit == 0 || text == nullptr) return 0;
  // The bits go through an accumulator and leave it a whole byte at a
  // time: the same output as writing each code with compressWriteBits, at
  // a fraction of the cost (this runs for every traced entry). At most 7
  // bits wait in the accumulator between characters, so a character (6 or
  // 14 bits) never makes it hold more than 21.
  const unsigned long lastStart = kByteBits * (limit - 1);
  unsigned long position = 0;
  std::uint32_t pending = 0;  // the low `pendingBits` bits are not yet written
  unsigned int pendingBits = 0;
  char* next = out;
  const char* p = text;
  // Eight characters at a time while all eight have a code and may start
  // (the last one at position + 42): they make exactly six bytes. The text
  // is measured first, so that no byte behind its end is read.
  const char* const end = text + ::strnlen(text, lastStart / kCodeBits + 1);
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
