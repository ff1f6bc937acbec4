// Resource keys: cleaned names of trace resources.
//
// The name is kept in a fixed 256-byte buffer and grows only forward, one
// cleaned part after the other. Cleaning is a single table look-up per
// character, so a key is cheap to build even on a tracing path.

#include <cstring>

#include "kiv_tracebuffer.hpp"

namespace {

constexpr char gs_nameAlphabet[] =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-@";
constexpr unsigned kAlphabetSize = sizeof(gs_nameAlphabet) - 1;
static_assert(kAlphabetSize == 65, "the name alphabet has 65 characters");

/// The cleaned form of every byte, built once at compile time.
struct CleanTable {
  char map[256];
  constexpr CleanTable() : map{} {
    for (unsigned c = 0; c < 256; ++c) map[c] = gs_nameAlphabet[c % kAlphabetSize];
    for (unsigned i = 0; i < kAlphabetSize; ++i) {
      map[static_cast<unsigned char>(gs_nameAlphabet[i])] = gs_nameAlphabet[i];
    }
    map[static_cast<unsigned char>('/')] = ':';
  }
};
constexpr CleanTable gs_cleanTable;

constexpr const char* kSemaphoreType = "???";

}  // namespace

KivClResourceKeyABase::KivClResourceKeyABase(const char* type, const char* key,
                                             const char* instance) noexcept
    : m_ulNameLength(0), m_achName{}, m_pszUserPart(m_achName) {
  add(type);
  m_pszUserPart = m_achName + m_ulNameLength + (m_ulNameLength != 0 ? 1 : 0);
  add(key);
  if (instance != nullptr) add(instance);
  // A type that filled the whole name leaves an empty user part at its end.
  if (m_pszUserPart > m_achName + m_ulNameLength) m_pszUserPart = m_achName + m_ulNameLength;
}

KivClResourceKeyABase::KivClResourceKeyABase(const KivClResourceKeyABase& other) noexcept
    : m_ulNameLength(0), m_achName{}, m_pszUserPart(m_achName) {
  *this = other;
}

KivClResourceKeyABase::~KivClResourceKeyABase() = default;

KivClResourceKeyABase& KivClResourceKeyABase::operator=(
    const KivClResourceKeyABase& other) noexcept {
  if (this == &other) return *this;
  m_ulNameLength = other.m_ulNameLength;
  std::memcpy(m_achName, other.m_achName, NAME_SIZE);
  m_pszUserPart = m_achName + (other.m_pszUserPart - other.m_achName);
  return *this;
}

void KivClResourceKeyABase::add(const char* part) noexcept {
  if (part == nullptr) return;
  constexpr std::uint64_t kMaxLength = NAME_SIZE - 1;
  std::uint64_t length = m_ulNameLength;
  if (length != 0 && length < kMaxLength) m_achName[length++] = ':';
  for (const char* p = part; *p != '\0' && length < kMaxLength; ++p) {
    m_achName[length++] = gs_cleanTable.map[static_cast<unsigned char>(*p)];
  }
  m_achName[length] = '\0';
  m_ulNameLength = length;
}

bool KivClResourceKeyABase::matches(const char* name) const noexcept {
  if (name == nullptr) return false;
  // The key's name holds no zero byte within its length, so a shorter text
  // differs at its terminator; strncmp never reads past that.
  return std::strncmp(name, m_achName, m_ulNameLength) == 0;
}

KivClResourceKeySemaphore::KivClResourceKeySemaphore(const char* key, const char* instance) noexcept
    : KivClResourceKeyABase(kSemaphoreType, key, instance) {}

KivClResourceKeySemaphore::KivClResourceKeySemaphore(
    const KivClResourceKeySemaphore& other) noexcept
    : KivClResourceKeyABase(other) {}

KivClResourceKeySemaphore& KivClResourceKeySemaphore::operator=(
    const KivClResourceKeySemaphore& other) noexcept {
  KivClResourceKeyABase::operator=(other);
  return *this;
}

KivClResourceKeySemaphore::~KivClResourceKeySemaphore() = default;
