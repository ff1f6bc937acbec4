// INI values: escapes, quoted strings, character literals and the cooking
// of an option's value text (quotes, literals, $(NAME) substitution,
// trailing-blank trimming and the comment behind ";").
//
// Every write into an option goes through a Writer bounded by the end of
// the option's 1024-byte buffer: the last byte is always kept for a
// terminator, so whatever a line, a continuation or a substituted variable
// holds, nothing lands past the buffer.
#include <climits>
#include <cstring>

#include "kiv_envvar.hpp"
#include "kiv_inifile.hpp"
#include "kiv_inifile_internal.hpp"

namespace {

using kiv::detail::iniIsSpace;

int hexDigitValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

int octalDigitValue(char c) { return (c >= '0' && c <= '7') ? c - '0' : -1; }

// Reads all digits that follow in `base` as the standard conversion does
// for a plain run of digits: no digit gives 0 and consumes nothing, a value
// too large for an unsigned long saturates at its maximum. The result is
// cut to one byte.
char readNumber(const char*& p, unsigned long base, int (*digitValue)(char)) {
  unsigned long value = 0;
  bool overflow = false;
  for (int d = digitValue(*p); d >= 0; d = digitValue(*++p)) {
    const auto digit = static_cast<unsigned long>(d);
    if (overflow || value > (ULONG_MAX - digit) / base) {
      overflow = true;
    } else {
      value = value * base + digit;
    }
  }
  if (overflow) value = ULONG_MAX;
  return static_cast<char>(static_cast<unsigned char>(value & 0xffu));
}

// Appends bytes up to a fixed limit and silently drops the rest.
class Writer {
 public:
  Writer(char* start, char* limit) : m_pCurrent(start), m_pLimit(limit) {}
  void put(char c) {
    if (m_pCurrent < m_pLimit) *m_pCurrent++ = c;
  }
  char*& position() { return m_pCurrent; }
  char* limit() const { return m_pLimit; }

 private:
  char* m_pCurrent;
  char* m_pLimit;
};

// The quoted-string copy with a bound; `source` stands on the opening '"'.
void quotedCopy(Writer& out, const char*& source) {
  ++source;
  while (*source != '\0' && *source != '"') {
    char c;
    if (*source == '\\') {
      ++source;
      if (*source == '\0') break;
      c = kivIniFileGetEscCharacter(source);
    } else {
      c = *source++;
    }
    out.put(c);
  }
  if (*source == '"') ++source;
}

// Inserts the value of the variable named by [name, end); nothing when the
// name is too long to be one or the variable is unset.
void substitute(Writer& out, const char* name, const char* end) {
  const auto length = static_cast<std::size_t>(end - name);
  if (length > KIV_ENVVAR_NAME_MAX) return;
  char buffer[KIV_ENVVAR_NAME_MAX + 1];
  std::memcpy(buffer, name, length);
  buffer[length] = '\0';
  const KivClEnvironmentVariableQueryOnly variable(buffer);
  const char* value = variable.getValue();
  if (value == nullptr) return;
  while (*value != '\0' && out.position() < out.limit()) out.put(*value++);
}

}  // namespace

extern "C" char kivIniFileGetEscCharacter(const char*& p) {
  const char c = *p;
  switch (c) {
    case '\0':
      return '\0';
    case 'a':
      ++p;
      return '\a';
    case 'b':
      ++p;
      return '\b';
    case 'f':
      ++p;
      return '\f';
    case 'n':
      ++p;
      return '\n';
    case 'r':
      ++p;
      return '\r';
    case 't':
      ++p;
      return '\t';
    case 'v':
      ++p;
      return '\v';
    case 'x':
      ++p;
      return readNumber(p, 16, hexDigitValue);
    default:
      break;
  }
  // A decimal digit starts an octal number; "\8" and "\9" read no octal
  // digit, give 0 and leave the digit as an ordinary character.
  if (c >= '0' && c <= '9') return readNumber(p, 8, octalDigitValue);
  ++p;
  return c;
}

extern "C" char kivIniFileGetQuotedCharacter(const char*& p) {
  ++p;  // the opening quote
  char c;
  if (*p == '\\') {
    ++p;
    c = kivIniFileGetEscCharacter(p);
  } else if (*p != '\0') {
    c = *p++;
  } else {
    return '\0';
  }
  // The closing quote is skipped without looking at it.
  if (*p != '\0') ++p;
  return c;
}

extern "C" void kivIniFileQuotedStrCopy(char*& destination, const char*& source) {
  // The copy never produces more bytes than it consumes, so the source's
  // length bounds the destination.
  Writer out(destination, destination + std::strlen(source));
  quotedCopy(out, source);
  destination = out.position();
}

// ---------------------------------------------------------------------------
// The option record
// ---------------------------------------------------------------------------

KivClIniFileOption::KivClIniFileOption(const char* line) noexcept
    : m_pNext(nullptr), m_pszValue(nullptr), m_pszComment(nullptr) {
  if (line == nullptr) line = "";
  // The name drops every blank before the "="; a line is at most 1023
  // characters, but the bound keeps a longer text handed in by a program
  // inside the buffer too.
  char* const nameLimit = m_szText + KIV_INIFILE_OPTION_TEXT_SIZE - 1;
  char* name = m_szText;
  const char* p = line;
  for (; *p != '\0' && *p != '='; ++p) {
    if (!iniIsSpace(*p) && name < nameLimit) *name++ = *p;
  }
  *name = '\0';
  m_pszComment = name;
  if (*p != '=') return;
  m_pszValue = name + 1;
  if (m_pszValue >= m_szText + KIV_INIFILE_OPTION_TEXT_SIZE) {
    // No room for a value behind the name (only for a program's text).
    m_pszValue = name;
    return;
  }
  processValue(p + 1, m_pszValue);
}

KivClIniFileOption::KivClIniFileOption(const char* name, const char* value) noexcept
    : m_pNext(nullptr) {
  if (name == nullptr) name = "";
  if (value == nullptr) value = "";
  std::memset(m_szText, 0, sizeof m_szText);
  // Room is kept for the value's terminator and the empty comment behind it.
  const std::size_t nameLength = strnlen(name, KIV_INIFILE_OPTION_TEXT_SIZE - 3);
  std::memcpy(m_szText, name, nameLength);
  m_pszValue = m_szText + nameLength + 1;
  const std::size_t room =
      static_cast<std::size_t>(m_szText + KIV_INIFILE_OPTION_TEXT_SIZE - m_pszValue) - 2;
  const std::size_t valueLength = strnlen(value, room);
  std::memcpy(m_pszValue, value, valueLength);
  m_pszComment = m_pszValue + valueLength + 1;
}

void KivClIniFileOption::appendOptionValue(const char* line) noexcept {
  kiv::detail::iniModelChanged();
  if (m_pszValue == nullptr || line == nullptr) return;
  processValue(line, m_pszValue + std::strlen(m_pszValue));
}

void KivClIniFileOption::setNewValue(const char* value) noexcept {
  kiv::detail::iniModelChanged();
  if (m_pszValue == nullptr) return;
  if (value == nullptr) value = "";
  const auto room = static_cast<std::size_t>(m_szText + KIV_INIFILE_OPTION_TEXT_SIZE - m_pszValue);
  const std::size_t length = strnlen(value, room - 1);
  // memmove: the new value may be a text of this very buffer.
  std::memmove(m_pszValue, value, length);
  m_pszValue[length] = '\0';
}

void KivClIniFileOption::deleteContents() noexcept {
  kiv::detail::iniModelChanged();
  m_szText[0] = '\0';
  m_szText[1] = '\0';
  m_pszValue = m_szText + 1;
  m_pszComment = m_pszValue;
}

void KivClIniFileOption::processValue(const char* source, char* destination) noexcept {
  char* const bufferEnd = m_szText + KIV_INIFILE_OPTION_TEXT_SIZE;
  Writer out(destination, bufferEnd - 1);
  while (iniIsSpace(*source)) ++source;
  // Characters before the mark are protected from the trimming below.
  char* mark = destination;
  // Whether a ")" follows is known from the last one in the line, so that a
  // line full of "$(" without ")" is not searched again for each of them.
  const char* const lastClose = std::strrchr(source, ')');
  while (*source != '\0' && *source != ';') {
    const char c = *source;
    if (c == '"') {
      quotedCopy(out, source);
      mark = out.position();
    } else if (c == '\'') {
      // A quote that ends the line takes the NUL behind it as its character:
      // the NUL is stored and protected like any other, so the blanks typed
      // before the quote survive the trimming ("x  '" keeps "x  "). The
      // literal never reads past that NUL.
      out.put(kivIniFileGetQuotedCharacter(source));
      mark = out.position();
    } else if (c == '$' && source[1] == '(' && lastClose != nullptr && lastClose > source + 1) {
      const char* close = std::strchr(source + 2, ')');
      substitute(out, source + 2, close);
      source = close + 1;
    } else {
      out.put(c);
      ++source;
    }
  }
  char*& end = out.position();
  while (end > mark && iniIsSpace(end[-1])) --end;
  *end = '\0';
  if (*source != ';') {
    m_pszComment = end;
    return;
  }
  ++source;
  while (iniIsSpace(*source)) ++source;
  if (end + 1 >= bufferEnd) {
    m_pszComment = end;  // no room left for a comment
    return;
  }
  char* comment = end + 1;
  m_pszComment = comment;
  const auto room = static_cast<std::size_t>(bufferEnd - comment) - 1;
  const std::size_t length = strnlen(source, room);
  std::memcpy(comment, source, length);
  comment[length] = '\0';
}
