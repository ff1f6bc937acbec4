// Environment variables: reading through getenv, setting through putenv
// with the assignment text kept in the object itself.

#include "kiv_envvar.hpp"

#include <stdlib.h>

#include <cstring>

#include "kiv_base.hpp"

extern "C" char** environ;

namespace {

// The values that switch an on/off variable on, in any case.
constexpr const char* gs_apszEnabledValues[] = {"ON", "YES", "TRUE", "1"};

}  // namespace

// ---------------------------------------------------------------------------
// KivClEnvironmentVariableABase
// ---------------------------------------------------------------------------

KivClEnvironmentVariableABase::KivClEnvironmentVariableABase(const char* name) : m_szName{} {
  initName(name);
}

KivClEnvironmentVariableABase::~KivClEnvironmentVariableABase() = default;

bool KivClEnvironmentVariableABase::initName(const char* name) {
  m_szName[0] = '\0';
  if (name == nullptr) return false;
  // A longer name is refused rather than cut: a cut name would read and set
  // a different variable.
  const std::size_t length = std::strlen(name);
  if (length > KIV_ENVVAR_NAME_MAX) return false;
  std::memcpy(m_szName, name, length + 1);
  return true;
}

const char* KivClEnvironmentVariableABase::getValue() const {
  // getenv of the empty name finds nothing, so a refused name has no value.
  return ::getenv(m_szName);
}

bool KivClEnvironmentVariableABase::hasValue() const { return getValue() != nullptr; }

bool KivClEnvironmentVariableABase::hasValueEnabled() const {
  const char* value = getValue();
  if (value == nullptr) return false;
  for (const char* enabled : gs_apszEnabledValues) {
    if (strcmpi(value, enabled) == 0) return true;
  }
  return false;
}

// ---------------------------------------------------------------------------
// KivClEnvironmentVariable
// ---------------------------------------------------------------------------

KivClEnvironmentVariable::KivClEnvironmentVariable(const char* name, const char* value)
    : KivClEnvironmentVariableABase(name), m_szAssignment{} {
  setNewValue(value);
}

KivClEnvironmentVariable::KivClEnvironmentVariable(const KivClEnvironmentVariable& other)
    : KivClEnvironmentVariableABase(other), m_szAssignment{} {
  copyFrom(other);
}

KivClEnvironmentVariable& KivClEnvironmentVariable::operator=(
    const KivClEnvironmentVariable& other) {
  if (this == &other) return *this;
  // The environment may point into this object: hand that variable over
  // before the buffer is overwritten with another assignment.
  if (isInEnvironment()) {
    const char* equals = std::strchr(m_szAssignment, '=');
    if (equals == nullptr || ::setenv(getName(), equals + 1, 1) != 0) ::unsetenv(getName());
  }
  KivClEnvironmentVariableABase::operator=(other);
  copyFrom(other);
  return *this;
}

KivClEnvironmentVariable::~KivClEnvironmentVariable() {
  if (!isInEnvironment()) return;
  // setenv copies name and value into the environment's own storage and
  // replaces the pointer to this buffer; should that fail, removing the
  // variable is still better than leaving a pointer to freed storage.
  const char* equals = std::strchr(m_szAssignment, '=');
  if (equals == nullptr || ::setenv(getName(), equals + 1, 1) != 0) ::unsetenv(getName());
}

void KivClEnvironmentVariable::copyFrom(const KivClEnvironmentVariable& other) {
  std::memcpy(m_szAssignment, other.m_szAssignment, sizeof m_szAssignment);
}

bool KivClEnvironmentVariable::isInEnvironment() const {
  if (environ == nullptr) return false;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    if (*entry == m_szAssignment) return true;
  }
  return false;
}

bool KivClEnvironmentVariable::setNewValue(const char* value) {
  const char* name = getName();
  const std::size_t nameLength = std::strlen(name);
  if (nameLength == 0 || std::strchr(name, '=') != nullptr) return false;

  if (value == nullptr) {
    // Remove the variable while the buffer still holds its old assignment:
    // the environment may point at this very buffer, and the bare name
    // written below would no longer be recognised as that variable.
    ::unsetenv(name);
    std::memcpy(m_szAssignment, name, nameLength + 1);
    return ::putenv(m_szAssignment) != -1;
  }

  const std::size_t valueLength = std::strlen(value);
  if (valueLength > KIV_ENVVAR_VALUE_MAX) return false;
  // The value may lie inside this buffer (it usually does when it comes
  // from getValue()), so it is moved into place before the name is written.
  std::memmove(m_szAssignment + nameLength + 1, value, valueLength + 1);
  std::memcpy(m_szAssignment, name, nameLength);
  m_szAssignment[nameLength] = '=';
  return ::putenv(m_szAssignment) != -1;
}

bool KivClEnvironmentVariable::appendValue(const char* text) {
  const char* current = getValue();
  if (current == nullptr) current = "";
  if (text == nullptr) text = "";
  const std::size_t currentLength = std::strlen(current);
  const std::size_t textLength = std::strlen(text);
  if (currentLength + textLength > KIV_ENVVAR_VALUE_MAX) return false;

  // Composed aside: both parts may point into the environment, and so into
  // this object's buffer.
  char value[KIV_ENVVAR_VALUE_MAX + 1];
  std::memcpy(value, current, currentLength);
  std::memcpy(value + currentLength, text, textLength + 1);
  return setNewValue(value);
}

bool KivClEnvironmentVariable::resetValue() { return setNewValue(nullptr); }

// ---------------------------------------------------------------------------
// KivClEnvironmentVariableQueryOnly
// ---------------------------------------------------------------------------

KivClEnvironmentVariableQueryOnly::KivClEnvironmentVariableQueryOnly()
    : KivClEnvironmentVariableABase("?") {}

KivClEnvironmentVariableQueryOnly::KivClEnvironmentVariableQueryOnly(const char* name)
    : KivClEnvironmentVariableABase(name) {}

KivClEnvironmentVariableQueryOnly::KivClEnvironmentVariableQueryOnly(
    const KivClEnvironmentVariableABase& other)
    : KivClEnvironmentVariableABase(other.getName()) {}

KivClEnvironmentVariableQueryOnly::~KivClEnvironmentVariableQueryOnly() = default;

bool KivClEnvironmentVariableQueryOnly::setNewName(const char* name) { return initName(name); }
