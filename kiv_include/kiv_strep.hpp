/// \file
/// KIV Library: string representations and memory dumps.
///
/// A string representation is a small value object that turns a piece of
/// memory into one line of text: a hexadecimal dump line of up to 16 bytes,
/// a binary dump line of up to 8 bytes, or an address as the standard output
/// stream prints a pointer. The dump functions print whole memory areas line
/// by line with them; the trace formatter and the console user interface use
/// the same lines.
///
/// Line layout (hexadecimal; the binary line follows the same scheme with 8
/// bytes of eight binary digits each and the extra blank after byte 4):
///
/// ~~~
///   00000000: 48 65 6C 6C 6F 20 57 6F  72 6C 64 __ __ __ __ __ | Hello World_____
/// ~~~
///
///   - address part: the address in upper-case hexadecimal, at least 8 digits
///     (more when the value needs them, up to 16), then ": ";
///   - one group per byte position: two digits and a blank, or "__ " for a
///     position beyond the data; one more blank after position 8;
///   - "| " and the text column: the byte itself when it is printable in the
///     "C" locale (0x20 to 0x7E), else "."; an underscore for a position beyond
///     the data. The process locale is never consulted, so 0x0A, 0x7F and every
///     byte from 0x80 up always show as ".". Bytes beyond 16 (8) are ignored.
///
/// The text buffers are sized for the longest line: a 16-digit address fits
/// (86 characters with the terminator for a hexadecimal line, 102 for a
/// binary line), so offsets above 32 bits up to the largest 64-bit value are
/// shown in full.
///
/// Ownership: every object owns its text buffer; getAsCString() points into
/// the object and stays valid until the object changes or is destroyed.
/// Failure: nothing here fails or throws; null data is shown as no data (all
/// fillers), and a dump whose byte length cannot be represented prints
/// nothing. Thread safety: objects are plain values (one thread at a time per
/// object); the dump functions write to the given stream, which the caller
/// must not share unsynchronised.
#ifndef KIV_STREP_HPP
#define KIV_STREP_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "kiv_export.hpp"

/// Base of all string representations: an object that shows a piece of
/// memory as one zero-terminated line of text.
class KIV_EXPORT KivClStringRepresentationABase {
 public:
  virtual ~KivClStringRepresentationABase();
  /// The object's text, zero-terminated, owned by the object.
  virtual const char* getAsCString() const = 0;

 protected:
  KivClStringRepresentationABase() = default;
  /// Lets representations be copied; the base holds no state.
  KivClStringRepresentationABase(const KivClStringRepresentationABase&) = default;
  /// Lets representations be assigned; the base holds no state.
  KivClStringRepresentationABase& operator=(const KivClStringRepresentationABase&) = default;
};

/// One hexadecimal dump line of up to 16 bytes, optionally preceded by an
/// address part.
///
/// The text is always the address part (empty until addAddress) followed by
/// the data part (empty until addData). Calling addAddress again replaces the
/// address part and keeps the data part; calling addData again replaces the
/// data part. So the line never grows past its buffer however often the two
/// are called.
class KIV_EXPORT KivClStrepHexDump : public KivClStringRepresentationABase {
 public:
  /// Bytes shown on one line.
  static constexpr unsigned long BYTES_PER_LINE = 16;
  /// Size of the text buffer: a 16-digit address part (18 characters), the
  /// 67-character data part and the terminator fit.
  static constexpr std::size_t TEXT_SIZE = 88;

  /// A line with address part and data part: addAddress(address), then
  /// addData(data, length).
  KivClStrepHexDump(unsigned long address, const void* data, unsigned long length);
  /// The data part alone, without address.
  KivClStrepHexDump(const void* data, unsigned long length);
  ~KivClStrepHexDump() override;

  /// Writes (or replaces) the address part at the start of the text: the
  /// address in upper-case hexadecimal, at least 8 digits, then ": ".
  void addAddress(unsigned long address);
  /// Writes (or replaces) the data part after the address part: the first
  /// min(length, 16) bytes of data, fillers for the rest. Null data is
  /// shown as no data.
  void addData(const void* data, unsigned long length);

  const char* getAsCString() const override;

 private:
  char m_text[TEXT_SIZE];
  std::size_t m_addressLength;  ///< characters of the address part at the start of m_text
};

/// One binary dump line of up to 8 bytes, each shown as eight digits 0 or
/// 1, most significant bit first. Address and data parts behave as in
/// KivClStrepHexDump.
class KIV_EXPORT KivClStrepBinDump : public KivClStringRepresentationABase {
 public:
  /// Bytes shown on one line.
  static constexpr unsigned long BYTES_PER_LINE = 8;
  /// Size of the text buffer: a 16-digit address part (18 characters), the
  /// 83-character data part and the terminator fit.
  static constexpr std::size_t TEXT_SIZE = 104;

  /// A line with address part and data part.
  KivClStrepBinDump(unsigned long address, const void* data, unsigned long length);
  /// The data part alone, without address.
  KivClStrepBinDump(const void* data, unsigned long length);
  ~KivClStrepBinDump() override;

  /// Writes (or replaces) the address part, as KivClStrepHexDump::addAddress.
  void addAddress(unsigned long address);
  /// Writes (or replaces) the data part: the first min(length, 8) bytes of
  /// data, fillers for the rest. Null data is shown as no data.
  void addData(const void* data, unsigned long length);

  const char* getAsCString() const override;

 private:
  char m_text[TEXT_SIZE];
  std::size_t m_addressLength;
};

/// An address as the standard output stream prints a pointer: "0x" and
/// lower-case hexadecimal digits without leading zeros, and "0" for the null
/// pointer. The text is produced by an output stream in the classic "C"
/// locale, so a global locale with digit grouping does not change it.
class KIV_EXPORT KivClStrepAddress : public KivClStringRepresentationABase {
 public:
  /// Size of the text buffer ("0x" and 16 digits fit with room to spare).
  static constexpr std::size_t TEXT_SIZE = 32;

  /// The text of `address`, as `std::cout << address` would print it in the
  /// "C" locale.
  explicit KivClStrepAddress(const void* address);
  ~KivClStrepAddress() override;

  const char* getAsCString() const override;

 private:
  char m_text[TEXT_SIZE];
};

/// Kind of a debug dump, passed to the debugger hook kivDebugImpDump.
enum class KivEnDump : std::int32_t {
  HEX = 0,   ///< hexadecimal dump
  BIN = 1,   ///< binary dump
  DUMP = 2,  ///< default dump (the same as hexadecimal)
};

/// \file
/// Dump functions (kivDumpHex, kivDumpBin, kivDump): each prints the memory
/// area in lines built by KivClStrepHexDump (16 bytes a line) or
/// KivClStrepBinDump (8 bytes a line): the address part of a line is the
/// line's offset from the start of the area, not its memory address. Every
/// line is followed by std::endl (so the stream is flushed after each line).
/// `count` counts elements, so the byte length is count times the element
/// width (1, 2, 4 or 8); elements wider than a byte are shown in memory
/// order, byte by byte. Nothing is printed when the byte length is 0, when
/// data is null, or when count times the element width does not fit in an
/// unsigned long (no memory area is that large). The forms without a stream
/// write to std::cout. These are overloads with C++ linkage; character data
/// is dumped through a cast to unsigned char.

/// Hexadecimal dump of `count` elements at `data` on `stream`.
///@{
KIV_EXPORT void kivDumpHex(std::ostream& stream, const unsigned char* data, unsigned long count);
KIV_EXPORT void kivDumpHex(std::ostream& stream, const unsigned short* data, unsigned long count);
KIV_EXPORT void kivDumpHex(std::ostream& stream, const unsigned int* data, unsigned long count);
KIV_EXPORT void kivDumpHex(std::ostream& stream, const unsigned long* data, unsigned long count);
///@}
/// Hexadecimal dump on the standard output stream.
///@{
KIV_EXPORT void kivDumpHex(const unsigned char* data, unsigned long count);
KIV_EXPORT void kivDumpHex(const unsigned short* data, unsigned long count);
KIV_EXPORT void kivDumpHex(const unsigned int* data, unsigned long count);
KIV_EXPORT void kivDumpHex(const unsigned long* data, unsigned long count);
///@}

/// Binary dump of `count` elements at `data` on `stream`.
///@{
KIV_EXPORT void kivDumpBin(std::ostream& stream, const unsigned char* data, unsigned long count);
KIV_EXPORT void kivDumpBin(std::ostream& stream, const unsigned short* data, unsigned long count);
KIV_EXPORT void kivDumpBin(std::ostream& stream, const unsigned int* data, unsigned long count);
KIV_EXPORT void kivDumpBin(std::ostream& stream, const unsigned long* data, unsigned long count);
///@}
/// Binary dump on the standard output stream.
///@{
KIV_EXPORT void kivDumpBin(const unsigned char* data, unsigned long count);
KIV_EXPORT void kivDumpBin(const unsigned short* data, unsigned long count);
KIV_EXPORT void kivDumpBin(const unsigned int* data, unsigned long count);
KIV_EXPORT void kivDumpBin(const unsigned long* data, unsigned long count);
///@}

/// The default dump: the same as kivDumpHex.
///@{
KIV_EXPORT void kivDump(std::ostream& stream, const unsigned char* data, unsigned long count);
KIV_EXPORT void kivDump(std::ostream& stream, const unsigned short* data, unsigned long count);
KIV_EXPORT void kivDump(std::ostream& stream, const unsigned int* data, unsigned long count);
KIV_EXPORT void kivDump(std::ostream& stream, const unsigned long* data, unsigned long count);
///@}
/// The default dump on the standard output stream.
///@{
KIV_EXPORT void kivDump(const unsigned char* data, unsigned long count);
KIV_EXPORT void kivDump(const unsigned short* data, unsigned long count);
KIV_EXPORT void kivDump(const unsigned int* data, unsigned long count);
KIV_EXPORT void kivDump(const unsigned long* data, unsigned long count);
///@}

/// \file
/// Debug dumps (kivDebugDumpHex, kivDebugDumpBin, kivDebugDump): each passes
/// its title, the data and the byte length (count times the element width;
/// 0 when that product does not fit) to kivDebugImpDump with kind HEX, BIN
/// or DUMP. They print nothing themselves.

/// Hexadecimal debug dump: kivDebugImpDump(KivEnDump::HEX, title, data, byte length).
///@{
KIV_EXPORT void kivDebugDumpHex(const char* title, const unsigned char* data, unsigned long count);
KIV_EXPORT void kivDebugDumpHex(const char* title, const unsigned short* data, unsigned long count);
KIV_EXPORT void kivDebugDumpHex(const char* title, const unsigned int* data, unsigned long count);
KIV_EXPORT void kivDebugDumpHex(const char* title, const unsigned long* data, unsigned long count);
///@}
/// Binary debug dump: kivDebugImpDump(KivEnDump::BIN, ...).
///@{
KIV_EXPORT void kivDebugDumpBin(const char* title, const unsigned char* data, unsigned long count);
KIV_EXPORT void kivDebugDumpBin(const char* title, const unsigned short* data, unsigned long count);
KIV_EXPORT void kivDebugDumpBin(const char* title, const unsigned int* data, unsigned long count);
KIV_EXPORT void kivDebugDumpBin(const char* title, const unsigned long* data, unsigned long count);
///@}
/// Default debug dump: kivDebugImpDump(KivEnDump::DUMP, ...).
///@{
KIV_EXPORT void kivDebugDump(const char* title, const unsigned char* data, unsigned long count);
KIV_EXPORT void kivDebugDump(const char* title, const unsigned short* data, unsigned long count);
KIV_EXPORT void kivDebugDump(const char* title, const unsigned int* data, unsigned long count);
KIV_EXPORT void kivDebugDump(const char* title, const unsigned long* data, unsigned long count);
///@}

extern "C" {

/// The hook for a debugger output channel. It does nothing in this library
/// and never touches its arguments: a debugger can set a breakpoint on it to
/// see every debug dump. It sits alone in its object file, so a program
/// linked against the static library may define its own kivDebugImpDump to
/// route debug dumps to a channel of its choice.
KIV_EXPORT void kivDebugImpDump(KivEnDump kind, const char* title, const unsigned char* data,
                                unsigned long length);

}  // extern "C"

#endif
