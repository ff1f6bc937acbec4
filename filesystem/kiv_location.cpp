// Locations: directory texts that end with their separator.
#include "kiv_location.hpp"

#include <unistd.h>

#include <cstring>

#include "kiv_filename.hpp"
#include "kiv_filename_detail.hpp"

KivClLocation::KivClLocation() noexcept : m_ulLength(0) {
  m_szText[0] = '\0';
  KivClPathProperty::init(m_szText);
}

KivClLocation::KivClLocation(const char* text, bool normalize) noexcept : m_ulLength(0) {
  assign(text, KIV_PATH_MAX_LENGTH);
  init(normalize);
}

KivClLocation::KivClLocation(const char* bytes, std::size_t count, bool normalize) noexcept
    : m_ulLength(0) {
  assign(bytes, count);
  init(normalize);
}

KivClLocation::KivClLocation(const KivClFilenameABase& filename, bool normalize) noexcept
    : m_ulLength(0) {
  const char* text = filename.getAsCString();
  assign(text, static_cast<std::size_t>(filename.getName() - text));
  init(normalize);
}

KivClLocation::KivClLocation(const KivClLocation& other) noexcept
    : KivClPathProperty(), m_ulLength(0) {
  m_szText[0] = '\0';
  *this = other;
}

KivClLocation& KivClLocation::operator=(const KivClLocation& other) noexcept {
  if (this == &other) return *this;
  std::memcpy(m_szText, other.m_szText, static_cast<std::size_t>(other.m_ulLength) + 1);
  rebase(m_szText, other);
  m_ulLength = other.m_ulLength;
  return *this;
}

KivClLocation& KivClLocation::operator=(const char* text) noexcept {
  // `text` may point into this very buffer; assign() moves, not copies.
  assign(text, KIV_PATH_MAX_LENGTH);
  init(false);
  return *this;
}

void KivClLocation::assign(const char* text, std::size_t count) noexcept {
  const std::size_t length = kiv::detail::copyBounded(
      m_szText, text, count < KIV_PATH_MAX_LENGTH ? count : KIV_PATH_MAX_LENGTH);
  m_ulLength = static_cast<std::uint32_t>(length);
}

void KivClLocation::init(bool normalize) noexcept {
  KivClPathProperty::init(m_szText);
  const std::size_t length =
      kiv::detail::appendSeparator(m_szText, std::strlen(m_szText), m_lStyle);
  m_ulLength = static_cast<std::uint32_t>(length);
  if (normalize) {
    // The server prefix lies before the path proper and keeps its
    // backslashes, so the path proper is not searched for again.
    normalizePath(m_pszPath);
    m_lStyle = getStyle(m_pszPath);
  }
}

bool KivClLocation::isExistent() const noexcept {
  return m_szText[0] != '\0' && access(m_szText, F_OK) == 0;
}

bool KivClLocation::isRoot() const noexcept {
  if (!isAbsolute()) return false;
  if (m_pszPath != m_pszFull) return std::strlen(m_pszPath) == 1;
  if (hasDrive()) return m_ulLength == 3;
  return m_ulLength == 1;
}
