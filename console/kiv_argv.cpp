// Argument cursors: a walk over argc/argv and the checks of each argument
// against the usage string.

#include "kiv_argv.hpp"

#include <climits>
#include <cstring>

namespace {

// Calls `predicate` on every element of `usage` in order until it holds.
// The walk ends at a "/" or a "-" followed by a digit, where the usage
// cursor would return the same place for ever.
template <class Predicate>
bool anyUsageElement(const char* usage, Predicate predicate) {
  KivClUsageCursor element(usage);
  for (bool found = element.setToFirst(); found; found = element.setToNext()) {
    if (predicate(element)) return true;
    if (element.isWalkStop()) break;
  }
  return false;
}

}  // namespace

// ---------------------------------------------------------------------------
// KivClArgvCursor
// ---------------------------------------------------------------------------

KivClArgvCursor::KivClArgvCursor(int count, const char** vector)
    : m_iCount(vector != nullptr && count > 0 ? count : 0), m_iIndex(1), m_ppszArgv(vector) {}

KivClArgvCursor::~KivClArgvCursor() = default;

bool KivClArgvCursor::isValid() const { return m_iIndex >= 1 && m_iIndex < m_iCount; }

bool KivClArgvCursor::setToFirst() {
  m_iIndex = 1;
  return m_iCount > 1;
}

bool KivClArgvCursor::setToNext() {
  if (m_iIndex < INT_MAX) ++m_iIndex;
  return isValid();
}

bool KivClArgvCursor::setToLast() {
  m_iIndex = m_iCount - 1;
  return isValid();
}

bool KivClArgvCursor::setToPrevious() {
  if (m_iIndex > INT_MIN) --m_iIndex;
  return isValid();
}

const char* KivClArgvCursor::getArgv0() const { return m_iCount > 0 ? m_ppszArgv[0] : nullptr; }

const char* KivClArgvCursor::getAsCString() const {
  return m_iIndex >= 0 && m_iIndex < m_iCount ? m_ppszArgv[m_iIndex] : nullptr;
}

bool KivClArgvCursor::isSwitch() const {
  return isValid() && KivClUsageCursor::isSwitchIndicator(getAsCString());
}

bool KivClArgvCursor::hasArgument() const { return isValid() && getAsCString() != nullptr; }

bool KivClArgvCursor::matches(const char* name) const {
  if (name == nullptr || !isSwitch()) return false;
  if (KivClUsageCursor::isSwitchIndicator(name)) ++name;
  return std::strcmp(getAsCString() + 1, name) == 0;
}

bool KivClArgvCursor::positionTo(const char* name) {
  for (bool valid = setToFirst(); valid; valid = setToNext()) {
    if (matches(name)) return true;
  }
  return false;
}

// ---------------------------------------------------------------------------
// KivClArgvCheckCursor
// ---------------------------------------------------------------------------

KivClArgvCheckCursor::KivClArgvCheckCursor(int count, const char** vector, const char* usage)
    : KivClArgvCursor(count, vector), m_pszUsage(usage != nullptr ? usage : "") {}

KivClArgvCheckCursor::~KivClArgvCheckCursor() = default;

bool KivClArgvCheckCursor::reqArg() const {
  if (!isSwitch()) return false;
  const char* argument = getAsCString();
  bool needsValue = false;
  anyUsageElement(m_pszUsage, [&](const KivClUsageCursor& element) {
    if (!element.matchesSwitch(argument)) return false;
    needsValue = element.reqArg();
    return true;
  });
  return needsValue;
}

bool KivClArgvCheckCursor::hasArg() const {
  if (!isSwitch()) return false;
  KivClArgvCursor next(*this);
  return next.setToNext() && !next.isSwitch();
}

bool KivClArgvCheckCursor::isBound() const {
  if (!hasArgument() || isSwitch()) return false;
  KivClArgvCheckCursor previous(*this);
  return previous.KivClArgvCursor::setToPrevious() && previous.isSwitch() && previous.reqArg();
}

bool KivClArgvCheckCursor::isFree() const { return hasArgument() && !isSwitch() && !isBound(); }

bool KivClArgvCheckCursor::isTagged() const {
  if (!hasArgument()) return false;
  const char* argument = getAsCString();
  return anyUsageElement(m_pszUsage, [argument](const KivClUsageCursor& element) {
    return element.isTagged() && element.matches(argument);
  });
}

bool KivClArgvCheckCursor::isLegal() const {
  if (!hasArgument()) return false;
  if (isSwitch()) {
    const char* argument = getAsCString();
    return anyUsageElement(m_pszUsage, [argument](const KivClUsageCursor& element) {
      return element.matchesSwitch(argument);
    });
  }
  if (isBound()) return true;
  // A value, word or ellipsis element outside every group stands for free
  // arguments.
  return anyUsageElement(m_pszUsage, [](const KivClUsageCursor& element) {
    return element.getGroupDepth() == 0 &&
           (element.isValueElement() || element.isWordElement() || element.isArgEllipsis());
  });
}

// ---------------------------------------------------------------------------
// KivClArgvFreeCursor
// ---------------------------------------------------------------------------

KivClArgvFreeCursor::KivClArgvFreeCursor(int count, const char** vector, const char* usage)
    : KivClArgvCheckCursor(count, vector, usage) {}

KivClArgvFreeCursor::~KivClArgvFreeCursor() = default;

bool KivClArgvFreeCursor::setToFirst() {
  KivClArgvCheckCursor::setToFirst();
  if (isValid() && !isFree()) return setToNext();
  return isValid();
}

bool KivClArgvFreeCursor::setToNext() {
  KivClArgvCheckCursor::setToNext();
  while (isValid() && !isFree()) KivClArgvCheckCursor::setToNext();
  return isValid();
}

bool KivClArgvFreeCursor::setToLast() {
  KivClArgvCheckCursor::setToLast();
  if (isValid() && !isFree()) return setToPrevious();
  return isValid();
}

bool KivClArgvFreeCursor::setToPrevious() {
  KivClArgvCheckCursor::setToPrevious();
  while (isValid() && !isFree()) KivClArgvCheckCursor::setToPrevious();
  return isValid();
}
