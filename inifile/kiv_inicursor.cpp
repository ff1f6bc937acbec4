// The section and option cursors and the typed reads of an option's value.
#include <cstdlib>

#include "kiv_base.hpp"
#include "kiv_inifile.hpp"
#include "kiv_inifile_internal.hpp"

namespace {

// The boolean vocabulary: a value is true when it occurs, in any case,
// anywhere in this text.
const char gs_szAllTrueTokens[] = "|ON|TRUE|YES|1|OK|";
const char gs_szTrue[] = "ON";
const char gs_szFalse[] = "OFF";

bool namesMatch(const char* recordName, const char* name) {
  return name != nullptr && kiv::detail::iniNamesEqual(recordName, name);
}

}  // namespace

const char* KivClIniFile::getStringAllTrueTokens() const noexcept { return gs_szAllTrueTokens; }
const char* KivClIniFile::getStringTrue() const noexcept { return gs_szTrue; }
const char* KivClIniFile::getStringFalse() const noexcept { return gs_szFalse; }

// ---------------------------------------------------------------------------
// Section cursor
// ---------------------------------------------------------------------------

KivClIniFileSectionCursor::KivClIniFileSectionCursor(const KivClIniFile& file) noexcept
    : m_file(file), m_pFirst(file.getFirstSection()), m_pCurrent(nullptr) {}

KivClIniFileSectionCursor::~KivClIniFileSectionCursor() = default;

bool KivClIniFileSectionCursor::isValid() const { return m_pCurrent != nullptr; }

bool KivClIniFileSectionCursor::setToFirst() {
  m_pCurrent = m_pFirst;
  return isValid();
}

bool KivClIniFileSectionCursor::setToNext() {
  if (m_pCurrent != nullptr) m_pCurrent = m_pCurrent->getNext();
  return isValid();
}

bool KivClIniFileSectionCursor::setTo(const char* name) {
  if (name == nullptr) return false;
  if (isValid() && matches(name)) return true;
  for (bool found = setToFirst(); found; found = setToNext()) {
    if (matches(name)) return true;
  }
  return false;
}

bool KivClIniFileSectionCursor::matches(const char* name) const {
  return m_pCurrent != nullptr && namesMatch(m_pCurrent->getName(), name);
}

const char* KivClIniFileSectionCursor::getSection() const {
  return m_pCurrent != nullptr ? m_pCurrent->getName() : "";
}

// ---------------------------------------------------------------------------
// Option cursor
// ---------------------------------------------------------------------------

KivClIniFileOptionCursor::KivClIniFileOptionCursor(
    const KivClIniFileSectionCursor& sectionCursor) noexcept
    : KivClIniFileOptionCursor(sectionCursor.getFile(), sectionCursor.getSectionRecord()) {}

KivClIniFileOptionCursor::KivClIniFileOptionCursor(const KivClIniFile& file,
                                                   const KivClIniFileSection* section) noexcept
    : m_file(file),
      m_pSection(section),
      m_pFirst(section != nullptr ? section->getFirstOption() : nullptr),
      m_pCurrent(m_pFirst) {}

KivClIniFileOptionCursor::KivClIniFileOptionCursor(const KivClIniFile& file) noexcept
    : m_file(file),
      m_pSection(nullptr),
      m_pFirst(file.getCurrentSection() != nullptr ? file.getCurrentSection()->getFirstOption()
                                                   : nullptr),
      m_pCurrent(m_pFirst) {}

KivClIniFileOptionCursor::KivClIniFileOptionCursor(KivClIniFileOption* option,
                                                   const KivClIniFile& file) noexcept
    : m_file(file),
      m_pSection(nullptr),
      m_pFirst(file.getCurrentSection() != nullptr ? file.getCurrentSection()->getFirstOption()
                                                   : nullptr),
      m_pCurrent(option) {}

KivClIniFileOptionCursor::~KivClIniFileOptionCursor() = default;

bool KivClIniFileOptionCursor::isValid() const { return m_pCurrent != nullptr; }

bool KivClIniFileOptionCursor::setToFirst() {
  m_pCurrent = m_pFirst;
  return isValid();
}

bool KivClIniFileOptionCursor::setToNext() {
  if (m_pCurrent != nullptr) m_pCurrent = m_pCurrent->getNext();
  return isValid();
}

bool KivClIniFileOptionCursor::setTo(const char* name) {
  if (name == nullptr) return false;
  if (isValid() && matches(name)) return true;
  for (bool found = setToFirst(); found; found = setToNext()) {
    if (matches(name)) return true;
  }
  return false;
}

bool KivClIniFileOptionCursor::matches(const char* name) const {
  return m_pCurrent != nullptr && namesMatch(m_pCurrent->getName(), name);
}

const char* KivClIniFileOptionCursor::getOption() const {
  return m_pCurrent != nullptr ? m_pCurrent->getName() : "";
}

const char* KivClIniFileOptionCursor::getValue() const {
  return m_pCurrent != nullptr && m_pCurrent->getValue() != nullptr ? m_pCurrent->getValue() : "";
}

const char* KivClIniFileOptionCursor::getComment() const {
  return m_pCurrent != nullptr && m_pCurrent->getComment() != nullptr ? m_pCurrent->getComment()
                                                                      : "";
}

const char* KivClIniFileOptionCursor::getValue(int& value) const {
  if (!isValid()) return nullptr;
  const char* text = getValue();
  value = std::atoi(text);
  return text;
}

const char* KivClIniFileOptionCursor::getValue(unsigned int& value) const {
  if (!isValid()) return nullptr;
  const char* text = getValue();
  value = static_cast<unsigned int>(std::strtoul(text, nullptr, 10));
  return text;
}

const char* KivClIniFileOptionCursor::getValue(long& value) const {
  if (!isValid()) return nullptr;
  const char* text = getValue();
  value = std::atol(text);
  return text;
}

const char* KivClIniFileOptionCursor::getValue(unsigned long& value) const {
  if (!isValid()) return nullptr;
  const char* text = getValue();
  value = std::strtoul(text, nullptr, 10);
  return text;
}

const char* KivClIniFileOptionCursor::getValue(char& value) const {
  if (!isValid()) return nullptr;
  const char* text = getValue();
  if (text[0] == '\'') {
    const char* p = text;
    value = kivIniFileGetQuotedCharacter(p);
  } else {
    value = text[0];
  }
  return text;
}

const char* KivClIniFileOptionCursor::getValueBool(bool& value) const {
  if (!isValid()) return nullptr;
  const char* text = getValue();
  value = kivStrFind(gs_szAllTrueTokens, text, true) != nullptr;
  return text;
}
