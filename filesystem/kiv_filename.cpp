// File names: construction, composition, part determination and copying.
#include <cstring>

#include "kiv_filename.hpp"
#include "kiv_filename_detail.hpp"

using kiv::detail::appendSeparator;
using kiv::detail::copyBounded;

KivClFilenameABase::KivClFilenameABase() noexcept
    : m_pszName(nullptr), m_pszExtension(nullptr), m_ulLength(0) {
  m_szText[0] = '\0';
  KivClPathProperty::init(m_szText);
  m_pszName = m_szText;
  m_pszExtension = m_szText;
}

KivClFilenameABase::KivClFilenameABase(const char* text) noexcept
    : m_pszName(nullptr), m_pszExtension(nullptr), m_ulLength(0) {
  copyBounded(m_szText, text, KIV_PATH_MAX_LENGTH);
  KivClPathProperty::init(m_szText);
  determineParts();
}

KivClFilenameABase::KivClFilenameABase(const char* bytes, std::size_t count) noexcept
    : m_pszName(nullptr), m_pszExtension(nullptr), m_ulLength(0) {
  copyBounded(m_szText, bytes, count < KIV_PATH_MAX_LENGTH ? count : KIV_PATH_MAX_LENGTH);
  KivClPathProperty::init(m_szText);
  determineParts();
}

KivClFilenameABase::KivClFilenameABase(const char* path, const char* name,
                                       const char* extension) noexcept
    : m_pszName(nullptr), m_pszExtension(nullptr), m_ulLength(0) {
  init(path, KIV_PATH_MAX_LENGTH, name, extension);
}

KivClFilenameABase::KivClFilenameABase(const KivClFilenameABase& other) noexcept
    : KivClPathProperty(), m_pszName(nullptr), m_pszExtension(nullptr), m_ulLength(0) {
  *this = other;
}

KivClFilenameABase& KivClFilenameABase::operator=(const KivClFilenameABase& other) noexcept {
  if (this == &other) return *this;
  // Only the text up to its NUL carries meaning; the rest of the buffer is
  // never read.
  std::memcpy(m_szText, other.m_szText, static_cast<std::size_t>(other.m_ulLength) + 1);
  rebase(m_szText, other);
  m_pszName = m_szText + (other.m_pszName - other.m_szText);
  m_pszExtension = m_szText + (other.m_pszExtension - other.m_szText);
  m_ulLength = other.m_ulLength;
  return *this;
}

std::size_t KivClFilenameABase::init(const char* path, std::size_t pathCount, const char* name,
                                     const char* extension) noexcept {
  constexpr std::size_t max = KIV_PATH_MAX_LENGTH;
  std::size_t length = copyBounded(m_szText, path, pathCount < max ? pathCount : max);
  // The style and the server prefix come from the directory alone.
  KivClPathProperty::init(m_szText);
  length = appendSeparator(m_szText, length, m_lStyle);
  const std::size_t nameOffset = length;
  length += copyBounded(m_szText + length, name, max - length);
  if (extension != nullptr && extension[0] != '\0') {
    if (extension[0] != '.' && length < max) {
      m_szText[length++] = '.';
      m_szText[length] = '\0';
    }
    copyBounded(m_szText + length, extension, max - length);
  }
  determineParts();
  return nameOffset;
}

void KivClFilenameABase::determineParts() noexcept {
  m_ulLength = std::strlen(m_szText);
  // A "/" always separates; "\" only counts in a path without any "/", so
  // that names written with a backslash on a slash system stay whole.
  char* name = m_pszPath;
  if (char* slash = std::strrchr(m_pszPath, '/')) {
    name = slash + 1;
  } else if (char* backslash = std::strrchr(m_pszPath, '\\')) {
    name = backslash + 1;
  }
  m_pszName = name;
  char* dot = std::strrchr(name, '.');
  m_pszExtension = dot != nullptr ? dot : m_szText + m_ulLength;
}
