// The usage cursor: a character-by-character walk over a usage string that
// stops on switch, value, word and ellipsis elements.

#include "kiv_usage.hpp"

#include <climits>
#include <cstring>

namespace {

// The walk classifies ASCII only, so that a usage string means the same in
// every locale (the message catalog sets the process locale).
bool isDecimalDigit(char c) { return c >= '0' && c <= '9'; }

bool isLetterOrDigit(char c) {
  return isDecimalDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// What may follow a name for it to be matched.
bool isNameDelimiter(char c) { return c == '\0' || std::strchr("[]<>(){}-| ", c) != nullptr; }

// The depths saturate instead of overflowing on absurdly long bracket runs.
void increment(int& depth) {
  if (depth < INT_MAX) ++depth;
}

void decrement(int& depth) {
  if (depth > INT_MIN) --depth;
}

// `name` points at the letters and digits of a usage name; `text` must
// equal them exactly, and the usage character after them must be a
// delimiter. Stops at the usage string's terminator because the text's
// character differs from it or has ended.
bool nameMatches(const char* name, const char* text) {
  while (isLetterOrDigit(*name) && *text == *name) {
    ++name;
    ++text;
  }
  return *text == '\0' && isNameDelimiter(*name);
}

}  // namespace

KivClUsageCursor::KivClUsageCursor(const char* usage)
    : m_pszUsage(usage != nullptr ? usage : ""),
      m_pszCurrent(m_pszUsage),
      m_iOptionalDepth(0),
      m_iGroupDepth(0),
      m_fTagged(false),
      m_fInValue(false) {}

KivClUsageCursor::~KivClUsageCursor() = default;

bool KivClUsageCursor::isValid() const { return *m_pszCurrent != '\0'; }

bool KivClUsageCursor::setToFirst() {
  m_pszCurrent = m_pszUsage;
  return locateNext();
}

bool KivClUsageCursor::setToNext() {
  skipCurrent();
  return locateNext();
}

bool KivClUsageCursor::isSwitchIndicator(const char* text) {
  return text != nullptr && text[0] == '-' && !isDecimalDigit(text[1]);
}

bool KivClUsageCursor::isSwitch() const { return isSwitchIndicator(m_pszCurrent); }

bool KivClUsageCursor::isArgEllipsis() const { return *m_pszCurrent == '.'; }

bool KivClUsageCursor::isValueElement() const { return *m_pszCurrent == '<'; }

bool KivClUsageCursor::isWordElement() const { return isLetterOrDigit(*m_pszCurrent); }

bool KivClUsageCursor::isWalkStop() const {
  return *m_pszCurrent == '/' || (*m_pszCurrent == '-' && isDecimalDigit(m_pszCurrent[1]));
}

bool KivClUsageCursor::matchesSwitch(const char* argument) const {
  if (argument == nullptr || !isSwitch()) return false;
  if (isSwitchIndicator(argument)) ++argument;
  return nameMatches(m_pszCurrent + 1, argument);
}

bool KivClUsageCursor::matches(const char* text) const {
  if (text == nullptr || !isValid() || *text != *m_pszCurrent) return false;
  return nameMatches(m_pszCurrent + 1, text + 1);
}

bool KivClUsageCursor::reqArg() const {
  if (!isSwitch() || m_iGroupDepth == 0) return false;
  KivClUsageCursor next(*this);
  if (!next.setToNext()) return false;
  return !next.isSwitch() && next.m_iGroupDepth == m_iGroupDepth;
}

bool KivClUsageCursor::reqArgEllipsis() const {
  if (!isSwitch() || m_iGroupDepth == 0) return false;
  KivClUsageCursor ahead(*this);
  while (ahead.setToNext()) {
    if (ahead.isSwitch() || ahead.m_iGroupDepth != m_iGroupDepth) return false;
    if (ahead.isArgEllipsis()) return true;
    // setToNext() would return this place again and again.
    if (ahead.isWalkStop()) return false;
  }
  return false;
}

bool KivClUsageCursor::isToBeDisplayed(char c) { return c != '"' && c != '(' && c != ')'; }

bool KivClUsageCursor::locateNext() {
  bool blankSeen = false;
  for (;; ++m_pszCurrent) {
    const char c = *m_pszCurrent;
    switch (c) {
      case '\0':
        return false;
      case '\n':
        m_fTagged = false;
        break;
      case ' ':
        blankSeen = true;
        break;
      case '!':
        m_fTagged = true;
        break;
      case '"':
        // Quoted text is for the reader only; an unclosed quote ends the
        // walk on the terminator.
        do {
          ++m_pszCurrent;
          if (*m_pszCurrent == '\0') return false;
        } while (*m_pszCurrent != '"');
        break;
      case '(':
        increment(m_iGroupDepth);
        break;
      case ')':
        decrement(m_iGroupDepth);
        break;
      case '[':
        increment(m_iOptionalDepth);
        break;
      case ']':
        decrement(m_iOptionalDepth);
        break;
      case '-':
      case '/':
        return true;
      case '.':
        if (m_pszCurrent[1] == '.') {
          while (m_pszCurrent[1] == '.') ++m_pszCurrent;
          return true;
        }
        // A single "." swallows the character after it unseen. When that
        // character is the terminator, stop on it rather than step past it.
        ++m_pszCurrent;
        if (*m_pszCurrent == '\0') return false;
        break;
      case '<':
        m_fInValue = true;
        return true;
      case '>':
        m_fInValue = false;
        break;
      default:
        if (blankSeen && isLetterOrDigit(c)) return true;
        break;
    }
  }
}

void KivClUsageCursor::skipCurrent() {
  if (isSwitchIndicator(m_pszCurrent) || *m_pszCurrent == '<') ++m_pszCurrent;
  for (;; ++m_pszCurrent) {
    const char c = *m_pszCurrent;
    if (!(isLetterOrDigit(c) || (c == ' ' && m_fInValue) || c == '.')) return;
  }
}
