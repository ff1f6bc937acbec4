// The bit array: storage through the memory manager and the raw stream form.

#include "kiv_bitarray.hpp"

#include <cstring>

#include "kiv_memmgr.hpp"

namespace {

// Owns a block from kivMalloc until it is handed on with release().
class KivOwnedBytes {
 public:
  explicit KivOwnedBytes(std::uint64_t size)
      : m_pb(static_cast<unsigned char*>(kivMalloc(static_cast<std::size_t>(size)))) {}
  ~KivOwnedBytes() { kivFree(m_pb); }
  KivOwnedBytes(const KivOwnedBytes&) = delete;
  KivOwnedBytes& operator=(const KivOwnedBytes&) = delete;

  unsigned char* get() const noexcept { return m_pb; }
  unsigned char* release() noexcept {
    unsigned char* p = m_pb;
    m_pb = nullptr;
    return p;
  }

 private:
  unsigned char* m_pb;
};

// A new block of `size` bytes holding the first bytes of `source`; bytes
// beyond `sourceSize` are zero.
unsigned char* copyBytes(const unsigned char* source, std::uint64_t sourceSize,
                         std::uint64_t size) {
  KivOwnedBytes bytes(size);
  const std::uint64_t copied = sourceSize < size ? sourceSize : size;
  std::memcpy(bytes.get(), source, static_cast<std::size_t>(copied));
  std::memset(bytes.get() + copied, 0, static_cast<std::size_t>(size - copied));
  return bytes.release();
}

}  // namespace

KivClBitArray::KivClBitArray(std::uint64_t bits)
    : m_ulBitCount(bits), m_pbBytes(nullptr), m_ulByteCount(byteCountFor(bits)) {
  m_pbBytes = static_cast<unsigned char*>(kivMalloc(static_cast<std::size_t>(m_ulByteCount)));
  std::memset(m_pbBytes, 0, static_cast<std::size_t>(m_ulByteCount));
}

KivClBitArray::KivClBitArray(const KivClBitArray& other)
    : m_ulBitCount(other.m_ulBitCount),
      m_pbBytes(nullptr),
      m_ulByteCount(byteCountFor(other.m_ulBitCount)) {
  m_pbBytes = copyBytes(other.m_pbBytes, other.m_ulByteCount, m_ulByteCount);
}

KivClBitArray& KivClBitArray::operator=(const KivClBitArray& other) {
  // Self-assignment is not a supported use; doing nothing keeps it harmless.
  if (this == &other) return *this;
  const std::uint64_t size = byteCountFor(other.m_ulBitCount);
  unsigned char* bytes = copyBytes(other.m_pbBytes, other.m_ulByteCount, size);
  kivFree(m_pbBytes);
  m_pbBytes = bytes;
  m_ulByteCount = size;
  m_ulBitCount = other.m_ulBitCount;
  return *this;
}

KivClBitArray::~KivClBitArray() { kivFree(m_pbBytes); }

bool KivClBitArray::operator==(const KivClBitArray& other) const {
  if (other.m_ulByteCount < m_ulByteCount) return false;
  return std::memcmp(m_pbBytes, other.m_pbBytes, static_cast<std::size_t>(m_ulByteCount)) == 0;
}

bool KivClBitArray::write(std::ostream& stream) const {
  unsigned char count[sizeof m_ulBitCount];
  std::memcpy(count, &m_ulBitCount, sizeof count);  // host byte order
  stream.write(reinterpret_cast<const char*>(count), sizeof count);
  stream.write(reinterpret_cast<const char*>(m_pbBytes),
               static_cast<std::streamsize>(m_ulByteCount));
  return stream.good();
}

bool KivClBitArray::read(std::istream& stream) {
  if (!stream.good()) return false;
  // Both parts are read into temporaries first, so that a stream that ends
  // early leaves the array as it was.
  unsigned char count[sizeof m_ulBitCount];
  stream.read(reinterpret_cast<char*>(count), sizeof count);
  if (stream.gcount() != static_cast<std::streamsize>(sizeof count)) return false;
  KivOwnedBytes bytes(m_ulByteCount);
  stream.read(reinterpret_cast<char*>(bytes.get()), static_cast<std::streamsize>(m_ulByteCount));
  if (stream.gcount() != static_cast<std::streamsize>(m_ulByteCount)) return false;

  std::memcpy(&m_ulBitCount, count, sizeof count);
  std::memcpy(m_pbBytes, bytes.get(), static_cast<std::size_t>(m_ulByteCount));
  return true;
}
