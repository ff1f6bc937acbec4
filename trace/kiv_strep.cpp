// String representations: hexadecimal and binary dump lines and addresses.
//
// The dump lines are written with table look-ups into the object's own
// buffer; no stream, no printf and no locale is involved, so a line costs a
// few dozen stores and always looks the same. Each buffer is sized for the
// longest line (a 16-digit address); the static_asserts below check that
// arithmetic so a change of layout cannot overrun it.

#include "kiv_strep.hpp"

#include <cstring>
#include <locale>
#include <ostream>
#include <streambuf>

namespace {

constexpr char gs_hexDigits[] = "0123456789ABCDEF";

constexpr std::size_t kMaxAddressDigits = 2 * sizeof(unsigned long);
constexpr std::size_t kMinAddressDigits = 8;
constexpr std::size_t kAddressPartMax = kMaxAddressDigits + 2;  // digits and ": "

// Hexadecimal data part: 16 groups "XX ", one blank after position 8, "| ",
// 16 characters of text column.
constexpr std::size_t kHexDataPart = 16 * 3 + 1 + 2 + 16;
// Binary data part: 8 groups "bbbbbbbb ", one blank after position 4, "| ",
// 8 characters of text column.
constexpr std::size_t kBinDataPart = 8 * 9 + 1 + 2 + 8;

static_assert(sizeof(unsigned long) == 8, "dump addresses are 64-bit offsets");
static_assert(kAddressPartMax + kHexDataPart + 1 <= KivClStrepHexDump::TEXT_SIZE,
              "a hexadecimal line with a 16-digit address must fit its buffer");
static_assert(kAddressPartMax + kBinDataPart + 1 <= KivClStrepBinDump::TEXT_SIZE,
              "a binary line with a 16-digit address must fit its buffer");

/// Character of the text column: the byte itself when printable in the "C"
/// locale, else ".". Decided without isprint so that the process locale
/// cannot change a dump.
char textColumnChar(unsigned char byte) {
  return (byte >= 0x20 && byte <= 0x7E) ? static_cast<char>(byte) : '.';
}

/// Writes the address part ("%08lX: " with up to 16 digits) to out, which
/// has room for kAddressPartMax characters; returns the count written (no
/// terminator).
std::size_t formatAddressPart(unsigned long address, char* out) {
  char digits[kMaxAddressDigits];
  std::size_t count = 0;
  do {
    digits[count++] = gs_hexDigits[address & 0xFu];
    address >>= 4;
  } while (address != 0);
  std::size_t pos = 0;
  for (std::size_t pad = count; pad < kMinAddressDigits; ++pad) out[pos++] = '0';
  while (count > 0) out[pos++] = digits[--count];
  out[pos++] = ':';
  out[pos++] = ' ';
  return pos;
}

/// Replaces the address part at the start of text (currently
/// addressLength characters long) and moves the data part behind it.
void replaceAddressPart(char* text, std::size_t& addressLength, unsigned long address) {
  char part[kAddressPartMax];
  const std::size_t newLength = formatAddressPart(address, part);
  const std::size_t dataLength = std::strlen(text + addressLength);
  std::memmove(text + newLength, text + addressLength, dataLength + 1);
  std::memcpy(text, part, newLength);
  addressLength = newLength;
}

/// The two hexadecimal digits of a byte.
void writeHexDigits(unsigned char byte, char* out) {
  out[0] = gs_hexDigits[byte >> 4];
  out[1] = gs_hexDigits[byte & 0xFu];
}

/// The eight binary digits of a byte, most significant bit first.
void writeBinDigits(unsigned char byte, char* out) {
  for (int bit = 7; bit >= 0; --bit) *out++ = ((byte >> bit) & 1u) ? '1' : '0';
}

/// Writes a data part with terminator to out: for each of the line's
/// BytesPerLine places the byte's DigitCount digits (fillers "_" beyond
/// length), a blank, and one more blank after the first half of the line;
/// then "| " and the text column. Null data is shown as no data.
template <unsigned long BytesPerLine, std::size_t DigitCount,
          void (*writeDigits)(unsigned char, char*)>
void formatDataPart(const void* data, unsigned long length, char* out) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  if (bytes == nullptr) length = 0;
  char column[BytesPerLine];
  std::size_t pos = 0;
  for (unsigned long i = 0; i < BytesPerLine; ++i) {
    if (i < length) {
      writeDigits(bytes[i], out + pos);
      column[i] = textColumnChar(bytes[i]);
    } else {
      std::memset(out + pos, '_', DigitCount);
      column[i] = '_';
    }
    pos += DigitCount;
    out[pos++] = ' ';
    if (i == BytesPerLine / 2 - 1) out[pos++] = ' ';
  }
  out[pos++] = '|';
  out[pos++] = ' ';
  std::memcpy(out + pos, column, sizeof column);
  pos += sizeof column;
  out[pos] = '\0';
}

/// A stream buffer over a fixed character array that drops what does not
/// fit (one place is kept for the terminator) and never allocates.
class FixedStreamBuf : public std::streambuf {
 public:
  FixedStreamBuf(char* buffer, std::size_t size) { setp(buffer, buffer + size - 1); }
  void terminate() { *pptr() = '\0'; }

 protected:
  int_type overflow(int_type) override { return traits_type::eof(); }
};

}  // namespace

// ---------------------------------------------------------------------------

KivClStringRepresentationABase::~KivClStringRepresentationABase() = default;

// ---------------------------------------------------------------------------

KivClStrepHexDump::KivClStrepHexDump(unsigned long address, const void* data, unsigned long length)
    : m_text{}, m_addressLength(0) {
  addAddress(address);
  addData(data, length);
}

KivClStrepHexDump::KivClStrepHexDump(const void* data, unsigned long length)
    : m_text{}, m_addressLength(0) {
  addData(data, length);
}

KivClStrepHexDump::~KivClStrepHexDump() = default;

void KivClStrepHexDump::addAddress(unsigned long address) {
  replaceAddressPart(m_text, m_addressLength, address);
}

void KivClStrepHexDump::addData(const void* data, unsigned long length) {
  formatDataPart<BYTES_PER_LINE, 2, writeHexDigits>(data, length, m_text + m_addressLength);
}

const char* KivClStrepHexDump::getAsCString() const { return m_text; }

// ---------------------------------------------------------------------------

KivClStrepBinDump::KivClStrepBinDump(unsigned long address, const void* data, unsigned long length)
    : m_text{}, m_addressLength(0) {
  addAddress(address);
  addData(data, length);
}

KivClStrepBinDump::KivClStrepBinDump(const void* data, unsigned long length)
    : m_text{}, m_addressLength(0) {
  addData(data, length);
}

KivClStrepBinDump::~KivClStrepBinDump() = default;

void KivClStrepBinDump::addAddress(unsigned long address) {
  replaceAddressPart(m_text, m_addressLength, address);
}

void KivClStrepBinDump::addData(const void* data, unsigned long length) {
  formatDataPart<BYTES_PER_LINE, 8, writeBinDigits>(data, length, m_text + m_addressLength);
}

const char* KivClStrepBinDump::getAsCString() const { return m_text; }

// ---------------------------------------------------------------------------

// The text is whatever an output stream makes of the pointer, so it matches
// what the caller would see next to it on std::cout; only the locale is
// pinned to the classic one.
KivClStrepAddress::KivClStrepAddress(const void* address) : m_text{} {
  FixedStreamBuf buffer(m_text, sizeof m_text);
  std::ostream stream(&buffer);
  stream.imbue(std::locale::classic());
  stream << address;
  buffer.terminate();
}

KivClStrepAddress::~KivClStrepAddress() = default;

const char* KivClStrepAddress::getAsCString() const { return m_text; }
