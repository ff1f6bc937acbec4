// The common interface of directories and files: the relative test, the
// relative expansion of directory texts and the time stamps of a text.
#include "kiv_fileabase.hpp"

#include <sys/stat.h>

#include <cstring>

#include "kiv_directory.hpp"
#include "kiv_envvar.hpp"
#include "kiv_pathprop.hpp"

KivClFileABase::~KivClFileABase() = default;

namespace {

// The result of an expansion, built up component by component in a fixed
// buffer. Every append reports whether it still fits.
class ExpansionResult {
 public:
  explicit ExpansionResult(std::size_t room) noexcept : m_room(room) { m_text[0] = '\0'; }

  bool append(const char* text, std::size_t count) noexcept {
    if (count > m_room - m_length) return false;
    std::memcpy(m_text + m_length, text, count);
    m_length += count;
    m_text[m_length] = '\0';
    return true;
  }
  bool appendSeparatorAnd(const char* segment, std::size_t count) noexcept {
    return append("/", 1) && append(segment, count);
  }

  bool isEmpty() const noexcept { return m_length == 0; }

  // Cuts the result back to its last "/" (the whole result when it holds
  // none), removing its last component.
  void removeLastComponent() noexcept {
    while (m_length > 0 && m_text[m_length - 1] != '/') --m_length;
    if (m_length > 0) --m_length;
    m_text[m_length] = '\0';
  }

  const char* text() const noexcept { return m_text; }
  std::size_t length() const noexcept { return m_length; }

 private:
  char m_text[KIV_PATH_MAX_LENGTH + 1];
  std::size_t m_length = 0;
  std::size_t m_room;
};

// The length of `text` without its trailing "/" characters.
std::size_t lengthWithoutTrailingSeparators(const char* text) noexcept {
  std::size_t length = std::strlen(text);
  while (length > 0 && text[length - 1] == '/') --length;
  return length;
}

// Starts the result as the expansion rules say and returns where the input
// begins, or null when the start cannot be determined.
const char* startExpansion(const char* path, bool absolute, ExpansionResult& result) noexcept {
  if (path[0] == '~') {
    const KivClEnvironmentVariableQueryOnly home("HOME");
    const char* value = home.getValue();
    if (value == nullptr) return path;  // the "~" stays an ordinary component
    // HOME's value exactly as it is: a trailing "/" stays, so "HOME=/home/u/"
    // gives "/home/u//x/" for "~/x/". The text is not normalised here.
    if (!result.append(value, std::strlen(value))) return nullptr;
    return path[1] == '\0' ? path + 1 : path + 2;
  }
  if (!absolute) {
    const KivClDirectory current;
    const char* text = current.getAsCString();
    if (text[0] == '\0') return nullptr;  // the current directory is unknown
    if (!result.append(text, lengthWithoutTrailingSeparators(text))) return nullptr;
    return path;
  }
  return path[0] == '/' ? path + 1 : path;
}

// Where the path proper of `buffer` begins. A directory text with a server
// prefix has been normalised, so the separator after the share name may
// already be a "/": the path proper then begins at that "/" rather than at
// the end of the text, where the backslash rule alone would put it.
char* serverPathProper(char* buffer, char* path) noexcept {
  if (path == buffer || *path != '\0') return path;
  char* shareSeparator = std::strchr(buffer + 3, '\\');
  if (shareSeparator == nullptr) return path;
  char* slash = std::strchr(shareSeparator + 1, '/');
  return slash != nullptr ? slash : path;
}

std::int64_t statTime(const char* text, std::int64_t (*pick)(const struct stat&)) noexcept {
  if (text == nullptr) return 0;
  struct stat status {};
  if (stat(text, &status) != 0) return 0;
  return pick(status);
}

}  // namespace

bool KivClFileABase::isRelativePath(const char* text) noexcept {
  if (text == nullptr) return false;
  KivClPathProperty property;
  // init() only looks at the text; it never writes through the pointer.
  property.init(const_cast<char*>(text));
  return !property.isAbsolute() || std::strstr(text, "./") != nullptr;
}

bool KivClFileABase::expandRelativePath(char* buffer) noexcept {
  if (buffer == nullptr) return false;
  KivClPathProperty property;
  property.init(buffer);
  char* path = serverPathProper(buffer, const_cast<char*>(property.getPath()));
  const auto prefixLength = static_cast<std::size_t>(path - buffer);

  // The server prefix stays in the buffer; the result must fit after it
  // together with its final "/".
  ExpansionResult result(KIV_PATH_MAX_LENGTH - prefixLength);
  const char* input = startExpansion(path, property.isAbsolute(), result);
  bool ok = input != nullptr;
  for (const char* slash = ok ? std::strchr(input, '/') : nullptr; ok && slash != nullptr;
       slash = std::strchr(input, '/')) {
    // Only the one or two characters before the "/" decide, within the
    // component: "a./" counts as "./" and "a../" as "../".
    const auto count = static_cast<std::size_t>(slash - input);
    if (count == 0 || input[count - 1] != '.') {
      ok = result.appendSeparatorAnd(input, count);
    } else if (count >= 2 && input[count - 2] == '.') {
      ok = !result.isEmpty();  // nothing left to remove
      if (ok) result.removeLastComponent();
    }
    input = slash + 1;
  }
  ok = ok && result.append("/", 1);
  if (!ok) {
    buffer[0] = '\0';
    return false;
  }
  std::memcpy(path, result.text(), result.length() + 1);
  return true;
}

std::int64_t KivClFileABase::getDateTimeOfCreation(const char* text) noexcept {
  return statTime(text, [](const struct stat& s) { return static_cast<std::int64_t>(s.st_ctime); });
}

std::int64_t KivClFileABase::getDateTimeOfLastAccess(const char* text) noexcept {
  return statTime(text, [](const struct stat& s) { return static_cast<std::int64_t>(s.st_atime); });
}

std::int64_t KivClFileABase::getDateTimeOfLastModification(const char* text) noexcept {
  return statTime(text, [](const struct stat& s) { return static_cast<std::int64_t>(s.st_mtime); });
}
