// Path properties: style, drive, server prefix and absoluteness of a text.
#include <cctype>
#include <cstring>

#include "kiv_pathprop.hpp"

namespace {

bool isLetter(char c) noexcept { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

// Offset of the path proper in `text`: after "\\server\share" when the text
// begins with such a prefix, else 0.
std::size_t pathProperOffset(const char* text) noexcept {
  if (text[0] != '\\' || text[1] != '\\' || text[2] == '\0') return 0;
  // The server name starts at the third character and has at least one
  // character, so the separator after it is searched from the fourth on.
  const char* shareSeparator = std::strchr(text + 3, '\\');
  if (shareSeparator == nullptr) return 0;
  const char* pathSeparator = std::strchr(shareSeparator + 1, '\\');
  if (pathSeparator == nullptr) return std::strlen(text);
  return static_cast<std::size_t>(pathSeparator - text);
}

}  // namespace

void KivClPathProperty::init(char* text) noexcept {
  m_pszFull = text;
  determinePath();
  m_lStyle = getStyle(m_pszPath);
}

void KivClPathProperty::determinePath() noexcept {
  m_pszPath = m_pszFull;
  if (m_pszFull != nullptr) m_pszPath = m_pszFull + pathProperOffset(m_pszFull);
}

const char* KivClPathProperty::findPathProper(const char* text) noexcept {
  return text != nullptr ? text + pathProperOffset(text) : nullptr;
}

std::int32_t KivClPathProperty::getStyle(const char* text) const noexcept {
  if (text == nullptr) return KIV_PATH_STYLE_SLASH;
  if (isLetter(text[0]) && text[1] == ':') return KIV_PATH_STYLE_BACKSLASH;
  return std::strchr(text, '\\') == nullptr ? KIV_PATH_STYLE_SLASH : KIV_PATH_STYLE_BACKSLASH;
}

const char* KivClPathProperty::getPathSep(const char* text) const noexcept {
  return getStyle(text) == KIV_PATH_STYLE_SLASH ? "/" : "\\";
}

bool KivClPathProperty::hasDrive() const noexcept {
  return m_pszPath != nullptr && m_pszPath[0] != '\0' && m_pszPath[1] == ':';
}

bool KivClPathProperty::isAbsolute() const noexcept {
  if (m_pszPath == nullptr) return false;
  if (m_pszPath != m_pszFull) return true;  // a server prefix
  if (m_lStyle == KIV_PATH_STYLE_SLASH) return m_pszPath[0] == '/';
  return hasDrive() && m_pszPath[2] == '\\';
}

bool KivClPathProperty::isNormalized() const noexcept {
  return m_pszPath == nullptr || std::strchr(m_pszPath, '\\') == nullptr;
}

void KivClPathProperty::normalizePath(char* text) noexcept {
  if (text == nullptr) return;
  for (char* p = std::strchr(text, '\\'); p != nullptr; p = std::strchr(p + 1, '\\')) *p = '/';
}

void KivClPathProperty::rebase(char* newFull, const KivClPathProperty& from) noexcept {
  m_pszFull = newFull;
  m_pszPath = from.m_pszPath != nullptr ? newFull + (from.m_pszPath - from.m_pszFull) : nullptr;
  if (newFull == nullptr) m_pszPath = nullptr;
  m_lStyle = from.m_lStyle;
}
