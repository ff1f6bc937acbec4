// Dump functions: memory areas printed line by line as hexadecimal or binary
// dump lines, and the debug dumps that hand an area to the debugger hook.
//
// Every overload only turns its element count into a byte length and calls
// one of the two byte-wise workers, so the four element widths cannot drift
// apart.

#include <iostream>
#include <limits>

#include "kiv_strep.hpp"

namespace {

/// Byte length of count elements of type T, or 0 when the product does not
/// fit in an unsigned long (such an area cannot exist, and a wrapped length
/// would make the dump read far past the data).
template <typename T>
unsigned long byteLength(unsigned long count) {
  if (count > std::numeric_limits<unsigned long>::max() / sizeof(T)) return 0;
  return count * sizeof(T);
}

/// Prints length bytes at data in lines of Line::BYTES_PER_LINE bytes, each
/// with its offset as address and followed by std::endl.
template <typename Line>
void dumpLines(std::ostream& stream, const void* data, unsigned long length) {
  if (data == nullptr || length == 0) return;
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (unsigned long offset = 0; offset < length; offset += Line::BYTES_PER_LINE) {
    const unsigned long rest = length - offset;
    const Line line(offset, bytes + offset,
                    rest < Line::BYTES_PER_LINE ? rest : Line::BYTES_PER_LINE);
    stream << line.getAsCString() << std::endl;
    // The last line may end within a step of the largest offset; stop
    // before the offset could wrap around.
    if (rest <= Line::BYTES_PER_LINE) break;
  }
}

template <typename T>
void dumpHex(std::ostream& stream, const T* data, unsigned long count) {
  dumpLines<KivClStrepHexDump>(stream, data, byteLength<T>(count));
}

template <typename T>
void dumpBin(std::ostream& stream, const T* data, unsigned long count) {
  dumpLines<KivClStrepBinDump>(stream, data, byteLength<T>(count));
}

template <typename T>
void debugDump(KivEnDump kind, const char* title, const T* data, unsigned long count) {
  kivDebugImpDump(kind, title, reinterpret_cast<const unsigned char*>(data), byteLength<T>(count));
}

}  // namespace

// The entry points for one element type. Every element width gets the same
// set from here, so the four sets cannot drift apart either. The default
// dump is the hexadecimal one; the debug dumps all go through the hook.
#define KIV_DUMP_ENTRY_POINTS(T)                                                      \
  void kivDumpHex(std::ostream& s, const T* d, unsigned long n) { dumpHex(s, d, n); } \
  void kivDumpHex(const T* d, unsigned long n) { dumpHex(std::cout, d, n); }          \
  void kivDumpBin(std::ostream& s, const T* d, unsigned long n) { dumpBin(s, d, n); } \
  void kivDumpBin(const T* d, unsigned long n) { dumpBin(std::cout, d, n); }          \
  void kivDump(std::ostream& s, const T* d, unsigned long n) { dumpHex(s, d, n); }    \
  void kivDump(const T* d, unsigned long n) { dumpHex(std::cout, d, n); }             \
  void kivDebugDumpHex(const char* t, const T* d, unsigned long n) {                  \
    debugDump(KivEnDump::HEX, t, d, n);                                               \
  }                                                                                   \
  void kivDebugDumpBin(const char* t, const T* d, unsigned long n) {                  \
    debugDump(KivEnDump::BIN, t, d, n);                                               \
  }                                                                                   \
  void kivDebugDump(const char* t, const T* d, unsigned long n) {                     \
    debugDump(KivEnDump::DUMP, t, d, n);                                              \
  }

KIV_DUMP_ENTRY_POINTS(unsigned char)
KIV_DUMP_ENTRY_POINTS(unsigned short)
KIV_DUMP_ENTRY_POINTS(unsigned int)
KIV_DUMP_ENTRY_POINTS(unsigned long)

#undef KIV_DUMP_ENTRY_POINTS
