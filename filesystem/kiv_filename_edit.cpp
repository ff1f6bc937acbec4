// File names: the operations of KivClFilename that change a name.
//
// Changes that re-compose the text build the new name in a second object
// and then take it over, so that arguments pointing into this name's own
// text (its name part, its extension) are read before anything is written.
#include <cstring>

#include "kiv_filename.hpp"
#include "kiv_filename_detail.hpp"

using kiv::detail::copyBounded;

void KivClFilename::setNewName(const char* name) noexcept {
  // The directory is the text up to the name part; composing it again
  // restores the separator exactly as a location made from it would.
  KivClFilename composed;
  composed.init(m_szText, static_cast<std::size_t>(m_pszName - m_szText), name, nullptr);
  *this = composed;
}

void KivClFilename::setNewBaseName(const char* base) noexcept {
  char extension[KIV_PATH_MAX_LENGTH + 1];
  copyBounded(extension, m_pszExtension, KIV_PATH_MAX_LENGTH);
  setNewName(base);
  setNewExtension(extension);
}

void KivClFilename::setNewExtension(const char* ext) noexcept {
  if (ext == nullptr) ext = "";
  if (ext[0] == '.') ++ext;
  const auto position = static_cast<std::size_t>(m_pszExtension - m_szText);
  if (ext[0] == '\0') {
    *m_pszExtension = '\0';
    m_ulLength = position;
    return;
  }
  if (position >= KIV_PATH_MAX_LENGTH) return;  // no room for even the dot
  // `ext` may point into this very text (its name part, its extension), so
  // it is copied aside before the dot is written.
  char copy[KIV_PATH_MAX_LENGTH + 1];
  const std::size_t count = copyBounded(copy, ext, KIV_PATH_MAX_LENGTH - position - 1);
  m_szText[position] = '.';
  std::memcpy(m_szText + position + 1, copy, count + 1);
  m_ulLength = position + 1 + count;
}

void KivClFilename::setNewPath(const char* text) noexcept {
  KivClFilename composed;
  composed.init(text, KIV_PATH_MAX_LENGTH, m_pszName, nullptr);
  *this = composed;
}

void KivClFilename::removePath() noexcept {
  if (m_pszPath == m_pszName) return;
  const auto nameLength = static_cast<std::size_t>(m_szText + m_ulLength - m_pszName);
  std::memmove(m_szText, m_pszName, nameLength + 1);
  m_ulLength = nameLength;
  m_pszPath = m_szText;
  m_pszName = m_szText;
  char* dot = std::strrchr(m_szText, '.');
  m_pszExtension = dot != nullptr ? dot : m_szText + m_ulLength;
}

KivClFilename& KivClFilename::operator=(const KivClTmpFilename& other) noexcept {
  KivClFilenameABase::operator=(other);
  return *this;
}

KivClFilename& KivClFilename::operator=(const KivClFilenameABase& other) noexcept {
  KivClFilenameABase::operator=(other);
  return *this;
}
