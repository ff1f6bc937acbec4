/// \file
/// KIV Library: a fixed-size array of bits.
///
/// A KivClBitArray holds a bit count and (bit count / 8) + 1 bytes, all zero
/// after construction; an array of 8 bits therefore holds 2 bytes and an array
/// of 0 bits holds 1. Arrays can be copied, compared byte by byte and written
/// to and read from a stream in a raw binary form: the bit count as 8 bytes in
/// the host's byte order (little-endian on this platform), then the bytes.
///
/// Bit numbering: bit i is bit (i % 8) of byte i / 8, that is the byte's value
/// 1 << (i % 8); the spare high bits of the last byte are never reached
/// through the accessors and stay zero unless a read brings them in.
///
/// Reading keeps the storage: read() takes the bit count from the stream but
/// fills only the bytes the array already holds (no reallocation), so reading
/// is meant for an array of the same size as the one written. After a read of
/// a different count the bit count and the held bytes disagree; every
/// operation then stays within the held bytes (see the individual functions),
/// never past them.
///
/// Ownership: the array owns its bytes; they come from kivMalloc and go back
/// through kivFree. Failure: allocation never yields null; exhausted memory
/// throws KivClExceptionFatal (kiv_memmgr.hpp), and an array whose copy or
/// assignment throws is left unchanged. Stream failures are reported by the
/// bool results of write() and read(); streams set to throw pass their
/// exceptions through. Thread safety: none; an array may be read from several
/// threads at once only while no thread changes it.
#ifndef KIV_BITARRAY_HPP
#define KIV_BITARRAY_HPP

#include <cstdint>
#include <istream>
#include <ostream>

#include "kiv_export.hpp"

/// A fixed-size array of bits with a raw binary stream form.
class KIV_EXPORT KivClBitArray {
 public:
  /// An array of `bits` bits, all zero: allocates (bits / 8) + 1 bytes
  /// through kivMalloc. Throws KivClExceptionFatal when memory is exhausted.
  explicit KivClBitArray(std::uint64_t bits);

  /// Takes the other's bit count, allocates (count / 8) + 1 bytes and copies
  /// the other's bytes into them. Should the other hold fewer bytes (after a
  /// read of a larger count), the missing bytes are zero.
  KivClBitArray(const KivClBitArray& other);

  /// Replaces this array's bit count and bytes with a copy of the other's,
  /// as the copy constructor does, and releases the old bytes. The new bytes
  /// are allocated before the old ones are released, so a throwing
  /// allocation leaves this array unchanged. Assigning an array to itself is
  /// not a supported use; it does nothing.
  KivClBitArray& operator=(const KivClBitArray& other);

  /// Releases the bytes.
  virtual ~KivClBitArray();

  /// Byte-wise comparison over the number of bytes THIS array holds. The bit
  /// counts are deliberately not compared: compare arrays of equal size only.
  /// An array of 8 bits (2 bytes) equals an array of 9 bits with the same
  /// bits, and an array of 0 bits equals every array whose first byte is 0.
  /// When the other array holds fewer bytes than this one, the result is
  /// false (the bytes beyond its end are not read).
  bool operator==(const KivClBitArray& other) const;
  /// The negation of operator==.
  bool operator!=(const KivClBitArray& other) const { return !(*this == other); }

  /// Writes the bit count as 8 bytes in the host's byte order, then the bytes
  /// this array holds. Returns true when the stream is still good afterwards.
  bool write(std::ostream& stream) const;

  /// Reads 8 bytes into the bit count, then as many bytes as this array held
  /// before the read into the existing bytes; the storage is not resized, so
  /// the bit count afterwards is the stream's even when it does not match
  /// the held bytes. Returns false when the stream is not good or ends early;
  /// the array is then unchanged (what was consumed from the stream is gone).
  bool read(std::istream& stream);

  /// The number of bits, as constructed, copied or last read.
  std::uint64_t getBitCount() const noexcept { return m_ulBitCount; }

  /// The number of bytes this array holds: (bit count / 8) + 1 as allocated;
  /// read() does not change it.
  std::uint64_t getByteCount() const noexcept { return m_ulByteCount; }

  /// The bytes themselves (getByteCount() of them); owned by the array.
  const unsigned char* getBytes() const noexcept { return m_pbBytes; }

  /// The number of bytes an array of `bits` bits allocates: (bits / 8) + 1.
  static constexpr std::uint64_t byteCountFor(std::uint64_t bits) noexcept { return bits / 8 + 1; }

  /// True when bit `bit` exists and is set. A bit at or beyond the bit count,
  /// or beyond the held bytes, reads as false.
  bool getBit(std::uint64_t bit) const noexcept {
    return hasBit(bit) && (m_pbBytes[bit / 8] & mask(bit)) != 0;
  }

  /// Sets bit `bit` to `value`. Returns false and changes nothing when the
  /// bit does not exist (see getBit).
  bool setBit(std::uint64_t bit, bool value = true) noexcept {
    if (!hasBit(bit)) return false;
    if (value) {
      m_pbBytes[bit / 8] = static_cast<unsigned char>(m_pbBytes[bit / 8] | mask(bit));
    } else {
      m_pbBytes[bit / 8] = static_cast<unsigned char>(m_pbBytes[bit / 8] & ~mask(bit));
    }
    return true;
  }

  /// Clears bit `bit`. Returns false and changes nothing when it does not exist.
  bool clearBit(std::uint64_t bit) noexcept { return setBit(bit, false); }

  /// Inverts bit `bit`. Returns false and changes nothing when it does not exist.
  bool toggleBit(std::uint64_t bit) noexcept { return setBit(bit, !getBit(bit)); }

 private:
  bool hasBit(std::uint64_t bit) const noexcept {
    return bit < m_ulBitCount && bit / 8 < m_ulByteCount;
  }
  static unsigned mask(std::uint64_t bit) noexcept { return 1u << (bit % 8); }

  std::uint64_t m_ulBitCount;   // number of bits
  unsigned char* m_pbBytes;     // the bits, owned
  std::uint64_t m_ulByteCount;  // bytes held by m_pbBytes; read() keeps it
};

#endif
