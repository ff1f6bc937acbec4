// Queries on the current section and the editing operations of an INI
// file. Queries find their records through lookUp (kiv_iniindex.cpp);
// every named editing form finds its section with a section cursor and
// calls the cursor form, so both behave alike.
#include "kiv_inifile.hpp"
#include "kiv_inifile_internal.hpp"

// Finds the option of the current section and reads it through `read`;
// false, outputs untouched, when there is no current section or no such
// option.
template <typename Read>
bool KivClIniFile::readOption(const char* name, const char*& comment, Read read) const {
  if (m_pCurrentSection == nullptr) return false;
  auto* option = static_cast<KivClIniFileOption*>(lookUp(m_pCurrentSection, name));
  if (option == nullptr) return false;
  const KivClIniFileOptionCursor cursor(option, *this);
  read(cursor);
  comment = cursor.getComment();
  return true;
}

KivClIniFileOption* KivClIniFile::findOption(const KivClIniFileSection* section, const char* name) {
  if (section == nullptr || name == nullptr) return nullptr;
  for (KivClIniFileOption* o = section->getFirstOption(); o != nullptr; o = o->getNext()) {
    if (kiv::detail::iniNamesEqual(o->getName(), name)) return o;
  }
  return nullptr;
}

bool KivClIniFile::getSection(const char* name) const {
  m_pCurrentSection = static_cast<KivClIniFileSection*>(lookUp(nullptr, name));
  return m_pCurrentSection != nullptr;
}

bool KivClIniFile::getOption(const char* name, const char*& value, const char*& comment) const {
  return readOption(name, comment,
                    [&](const KivClIniFileOptionCursor& c) { value = c.getValue(); });
}

bool KivClIniFile::getOption(const char* name, const char*& value) const {
  const char* comment = nullptr;
  return getOption(name, value, comment);
}

#define KIV_INIFILE_TYPED_GETTER(Type)                                                      \
  bool KivClIniFile::getOption(const char* name, Type& value, const char*& comment) const { \
    return readOption(name, comment,                                                        \
                      [&](const KivClIniFileOptionCursor& c) { c.getValue(value); });       \
  }                                                                                         \
  bool KivClIniFile::getOption(const char* name, Type& value) const {                       \
    const char* comment = nullptr;                                                          \
    return getOption(name, value, comment);                                                 \
  }

KIV_INIFILE_TYPED_GETTER(long)
KIV_INIFILE_TYPED_GETTER(unsigned long)
KIV_INIFILE_TYPED_GETTER(int)
KIV_INIFILE_TYPED_GETTER(unsigned int)
KIV_INIFILE_TYPED_GETTER(char)
#undef KIV_INIFILE_TYPED_GETTER

bool KivClIniFile::getOptionBool(const char* name, bool& value, const char*& comment) const {
  return readOption(name, comment,
                    [&](const KivClIniFileOptionCursor& c) { c.getValueBool(value); });
}

bool KivClIniFile::getOptionBool(const char* name, bool& value) const {
  const char* comment = nullptr;
  return getOptionBool(name, value, comment);
}

// ---------------------------------------------------------------------------
// Editing
// ---------------------------------------------------------------------------

bool KivClIniFile::addSection(const char* name) {
  addSection(new KivClIniFileSection(name));
  return true;
}

bool KivClIniFile::addOption(const char* sectionName, const char* optionName, const char* value) {
  KivClIniFileSectionCursor cursor(*this);
  if (!cursor.setTo(sectionName)) return false;
  return addOption(cursor, optionName, value);
}

bool KivClIniFile::addOption(const KivClIniFileSectionCursor& cursor, const char* optionName,
                             const char* value) {
  KivClIniFileSection* section = cursor.getSectionRecord();
  if (section == nullptr || optionName == nullptr || optionName[0] == '\0') return false;
  KivClIniFileOption* tail = nullptr;
  for (KivClIniFileOption* o = section->getFirstOption(); o != nullptr; o = o->getNext()) {
    if (kiv::detail::iniNamesEqual(o->getName(), optionName)) return false;
    tail = o;
  }
  auto* option = new KivClIniFileOption(optionName, value);
  if (tail == nullptr) {
    section->setFirstOption(option);
  } else {
    tail->appendOption(option);
  }
  return true;
}

bool KivClIniFile::deleteSection(const char* name) {
  KivClIniFileSectionCursor cursor(*this);
  if (!cursor.setTo(name)) return false;
  return deleteSection(cursor);
}

bool KivClIniFile::deleteSection(const KivClIniFileSectionCursor& cursor) {
  KivClIniFileSection* section = cursor.getSectionRecord();
  if (section == nullptr) return false;
  section->deleteContents();
  return true;
}

bool KivClIniFile::deleteOption(const char* sectionName, const char* optionName) {
  KivClIniFileSectionCursor cursor(*this);
  if (!cursor.setTo(sectionName)) return false;
  return deleteOption(cursor, optionName);
}

bool KivClIniFile::deleteOption(const KivClIniFileSectionCursor& cursor, const char* optionName) {
  KivClIniFileOption* option = findOption(cursor.getSectionRecord(), optionName);
  if (option == nullptr) return false;
  option->deleteContents();
  return true;
}

bool KivClIniFile::deleteOption(const KivClIniFileOptionCursor& cursor) {
  KivClIniFileOption* option = cursor.getOptionRecord();
  if (option == nullptr) return false;
  option->deleteContents();
  return true;
}

bool KivClIniFile::setNewValue(const char* sectionName, const char* optionName, const char* value) {
  KivClIniFileSectionCursor cursor(*this);
  if (!cursor.setTo(sectionName)) return false;
  return setNewValue(cursor, optionName, value);
}

bool KivClIniFile::setNewValue(const KivClIniFileSectionCursor& cursor, const char* optionName,
                               const char* value) {
  KivClIniFileOption* option = findOption(cursor.getSectionRecord(), optionName);
  if (option == nullptr) return false;
  option->setNewValue(value);
  return true;
}

bool KivClIniFile::setNewValue(const KivClIniFileOptionCursor& cursor, const char* value) {
  KivClIniFileOption* option = cursor.getOptionRecord();
  if (option == nullptr) return false;
  option->setNewValue(value);
  return true;
}
