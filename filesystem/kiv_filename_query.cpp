// File names: comparisons, extraction of parts, the 8.3 check and the
// existence test.
#include <unistd.h>

#include <cctype>
#include <cstring>

#include "kiv_base.hpp"
#include "kiv_filename.hpp"

namespace {

// Characters that an 8.3 name may not hold outside its extension. The dot
// is among them, so dots inside directory names fail as well.
constexpr char gs_acFat83Forbidden[] = "<>:;.\"|/*";
constexpr std::ptrdiff_t kFat83ComponentMax = 8;
constexpr std::size_t kFat83ExtensionMax = 4;  // with the dot

// Compares `count` characters the way names of the given style compare.
bool sameStart(std::int32_t style, const char* a, const char* b, std::size_t count) noexcept {
  if (style == KIV_PATH_STYLE_SLASH) return std::strncmp(a, b, count) == 0;
  return strncmpi(a, b, static_cast<std::int32_t>(count)) == 0;
}

void copyRange(char* buffer, const char* begin, const char* end) noexcept {
  const auto count = static_cast<std::size_t>(end - begin);
  if (count != 0) std::memmove(buffer, begin, count);
  buffer[count] = '\0';
}

}  // namespace

bool KivClFilenameABase::matchesPath(const KivClPathProperty& other) const noexcept {
  const char* otherPath = other.getPath() != nullptr ? other.getPath() : "";
  return sameStart(m_lStyle, m_pszPath, otherPath, static_cast<std::size_t>(m_pszName - m_pszPath));
}

bool KivClFilenameABase::matchesBase(const KivClFilenameABase& other) const noexcept {
  const auto ownLength = static_cast<std::size_t>(m_pszExtension - m_pszName);
  const auto otherLength = static_cast<std::size_t>(other.m_pszExtension - other.m_pszName);
  return sameStart(m_lStyle, m_pszName, other.m_pszName,
                   ownLength > otherLength ? ownLength : otherLength);
}

bool KivClFilenameABase::matchesExtension(const char* ext) const noexcept {
  if (ext == nullptr) ext = "";
  const char* own = m_pszExtension;
  if (ext[0] != '.' && own[0] != '\0') ++own;
  if (m_lStyle == KIV_PATH_STYLE_SLASH) return std::strcmp(own, ext) == 0;
  return strcmpi(own, ext) == 0;
}

bool KivClFilenameABase::matchesWildcardPattern(const char* pattern) const noexcept {
  return kivMatchesWildcardPattern(pattern, m_pszName, m_lStyle == KIV_PATH_STYLE_SLASH);
}

bool KivClFilenameABase::extractPath(char* buffer, bool withSeparator) const noexcept {
  if (buffer == nullptr) return false;
  if (m_pszPath == nullptr || m_pszPath == m_pszName) {
    buffer[0] = '\0';
    return false;
  }
  // The name part follows a separator here, so dropping one character
  // drops exactly that separator.
  copyRange(buffer, m_szText, withSeparator ? m_pszName : m_pszName - 1);
  return true;
}

void KivClFilenameABase::extractBaseName(char* buffer) const noexcept {
  if (buffer != nullptr) copyRange(buffer, m_pszName, m_pszExtension);
}

void KivClFilenameABase::extractServer(char* buffer) const noexcept {
  if (buffer == nullptr) return;
  if (m_szText[0] == '\\' && m_szText[1] == '\\') {
    copyRange(buffer, m_szText, m_pszPath);
  } else {
    buffer[0] = '\0';
  }
}

bool KivClFilenameABase::isStyleFAT_8_3() const noexcept {
  if (m_lStyle != KIV_PATH_STYLE_BACKSLASH) return false;
  if (std::strlen(m_pszExtension) > kFat83ExtensionMax) return false;
  if (m_pszExtension - m_pszName > kFat83ComponentMax) return false;
  const char* scan = m_pszPath;
  if (hasDrive()) {
    if (std::isalpha(static_cast<unsigned char>(scan[0])) == 0) return false;
    scan += 2;
  }
  std::ptrdiff_t componentLength = 0;
  for (; scan < m_pszExtension; ++scan) {
    const auto c = static_cast<unsigned char>(*scan);
    if (c == '\\') {
      componentLength = 0;
      continue;
    }
    if (std::isalnum(c) == 0 && std::strchr(gs_acFat83Forbidden, c) != nullptr) return false;
    if (++componentLength > kFat83ComponentMax) return false;
  }
  return true;
}

bool KivClFilenameABase::isExistent() const noexcept { return access(m_szText, F_OK) == 0; }
