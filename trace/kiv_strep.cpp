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

/// Writes the hexadecimal data part with terminator to out.
void formatHexDataPart(const unsigned char* data, unsigned long length, char* out) {
  if (data == nullptr) length = 0;
  char column[KivClStrepHexDump::BYTES_PER_LINE];
  std::size_t pos = 0;
  for (unsigned long i = 0; i < KivClStrepHexDump::BYTES_PER_LINE; ++i) {
    if (i < length) {
      out[pos++] = gs_hexDigits[data[i] >> 4];
      out[pos++] = gs_hexDigits[data[i] & 0xFu];
      column[i] = textColumnChar(data[i]);
    } else {
      out[pos++] = '_';
      out[pos++] = '_';
      column[i] = '_';
    }
    out[pos++] = ' ';
    if (i == 7) out[pos++] = ' ';
  }
  out[pos++] = '|';
  out[pos++] = ' ';
  std::memcpy(out + pos, column, sizeof column);
  pos += sizeof column;
  out[pos] = '\0';
}

/// Writes the binary data part with terminator to out.
void formatBinDataPart(const unsigned char* data, unsigned long length, char* out) {
  if (data == nullptr) length = 0;
  char column[KivClStrepBinDump::BYTES_PER_LINE];
  std::size_t pos = 0;
  for (unsigned long i = 0; i < KivClStrepBinDump::BYTES_PER_LINE; ++i) {
    if (i < length) {
      for (int bit = 7; bit >= 0; --bit) out[pos++] = ((data[i] >> bit) & 1u) ? '1' : '0';
      column[i] = textColumnChar(data[i]);
    } else {
      std::memset(out + pos, '_', 8);
      pos += 8;
      column[i] = '_';
    }
    out[pos++] = ' ';
    if (i == 3) out[pos++] = ' ';
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
  formatHexDataPart(static_cast<const unsigned char*>(data), length, m_text + m_addressLength);
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
  formatBinDataPart(static_cast<const unsigned char*>(data), length, m_text + m_addressLength);
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
