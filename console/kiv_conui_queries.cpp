// Console UI argument queries: is a switch present, what string or number
// follows it. Every kind exists with the switch named by text, by one
// character and by message id; the character and id forms turn their name
// into text and call the text form.

#include <cctype>
#include <cstdlib>

#include "kiv_argv.hpp"
#include "kiv_conui.hpp"
#include "kiv_conui_texts.hpp"

namespace {

// Library text numbers: console/kiv_conui_texts.hpp.
using namespace kiv::detail::conuitext;

// The switch name "-c" of a one-character name.
struct CharName {
  explicit CharName(char c) : text{'-', c, '\0'} {}
  char text[3];
};

}  // namespace

// ---------------------------------------------------------------------------
// Switches
// ---------------------------------------------------------------------------

bool KivClConsoleUI::hasArgSwitch(const char* name) const {
  KivClArgvCursor argument(*this);
  return argument.positionTo(name);
}

bool KivClConsoleUI::hasArgSwitch(char name) const { return hasArgSwitch(CharName(name).text); }

bool KivClConsoleUI::hasArgSwitch(unsigned long nameId) const {
  return hasArgSwitch(KivClMessage(m_clCatalog, nameId).getText());
}

void KivClConsoleUI::reqArgSwitch(const char* name) const {
  if (!hasArgSwitch(name)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgSwitch(char name) const {
  if (!hasArgSwitch(name)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgSwitch(unsigned long nameId) const {
  const KivClMessage name(m_clCatalog, nameId);
  reqArgSwitch(name.getText());
}

// ---------------------------------------------------------------------------
// String values
// ---------------------------------------------------------------------------

bool KivClConsoleUI::hasArgString(const char* name, const char*& value) const {
  KivClArgvCursor argument(*this);
  if (!argument.positionTo(name)) return false;
  if (!argument.setToNext() || !argument.hasArgument() || argument.isSwitch()) {
    privateFatal(KIV_CONUI_EXIT_ARG_EXPECTING_VALUE, label(gs_ulNoValue).getText(), name);
  }
  value = argument.getAsCString();
  return true;
}

bool KivClConsoleUI::hasArgString(char name, const char*& value) const {
  return hasArgString(CharName(name).text, value);
}

bool KivClConsoleUI::hasArgString(unsigned long nameId, const char*& value) const {
  const KivClMessage name(m_clCatalog, nameId);
  return hasArgString(name.getText(), value);
}

void KivClConsoleUI::reqArgString(const char* name, const char*& value) const {
  if (!hasArgString(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgString(char name, const char*& value) const {
  if (!hasArgString(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgString(unsigned long nameId, const char*& value) const {
  const KivClMessage name(m_clCatalog, nameId);
  reqArgString(name.getText(), value);
}

// ---------------------------------------------------------------------------
// Numeric values
// ---------------------------------------------------------------------------

bool KivClConsoleUI::queryNumval(const char* name, long& value) const {
  KivClArgvCursor argument(*this);
  if (!argument.positionTo(name)) return false;
  // The next argument is taken whatever it looks like, so "-n -5" works
  // as well as "-n '-5".
  if (!argument.setToNext() || !argument.hasArgument()) {
    privateFatal(KIV_CONUI_EXIT_ARG_EXPECTING_VALUE, label(gs_ulNoNumericValue).getText(), name);
  }
  const char* text = argument.getAsCString();
  if (*text == '\'') ++text;
  if (!std::isdigit(static_cast<unsigned char>(*text)) && *text != '-') {
    privateFatal(KIV_CONUI_EXIT_ARG_VALUE_TYPE_MISMATCH, label(gs_ulNonNumericValue).getText(),
                 name);
  }
  value = std::atol(text);
  return true;
}

bool KivClConsoleUI::hasArgNumval(const char* name, short& value) const {
  long number = 0;
  if (!queryNumval(name, number)) return false;
  value = static_cast<short>(number);
  return true;
}

bool KivClConsoleUI::hasArgNumval(const char* name, int& value) const {
  long number = 0;
  if (!queryNumval(name, number)) return false;
  value = static_cast<int>(number);
  return true;
}

bool KivClConsoleUI::hasArgNumval(const char* name, long& value) const {
  return queryNumval(name, value);
}

bool KivClConsoleUI::hasArgNumval(char name, short& value) const {
  return hasArgNumval(CharName(name).text, value);
}

bool KivClConsoleUI::hasArgNumval(char name, int& value) const {
  return hasArgNumval(CharName(name).text, value);
}

bool KivClConsoleUI::hasArgNumval(char name, long& value) const {
  return hasArgNumval(CharName(name).text, value);
}

bool KivClConsoleUI::hasArgNumval(unsigned long nameId, short& value) const {
  const KivClMessage name(m_clCatalog, nameId);
  return hasArgNumval(name.getText(), value);
}

bool KivClConsoleUI::hasArgNumval(unsigned long nameId, int& value) const {
  const KivClMessage name(m_clCatalog, nameId);
  return hasArgNumval(name.getText(), value);
}

bool KivClConsoleUI::hasArgNumval(unsigned long nameId, long& value) const {
  const KivClMessage name(m_clCatalog, nameId);
  return hasArgNumval(name.getText(), value);
}

void KivClConsoleUI::reqArgNumval(const char* name, short& value) const {
  if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(const char* name, int& value) const {
  if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(const char* name, long& value) const {
  if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(char name, short& value) const {
  if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(char name, int& value) const {
  if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(char name, long& value) const {
  if (!hasArgNumval(name, value)) fatalMissingArg(name);
}

void KivClConsoleUI::reqArgNumval(unsigned long nameId, short& value) const {
  const KivClMessage name(m_clCatalog, nameId);
  reqArgNumval(name.getText(), value);
}

void KivClConsoleUI::reqArgNumval(unsigned long nameId, int& value) const {
  const KivClMessage name(m_clCatalog, nameId);
  reqArgNumval(name.getText(), value);
}

void KivClConsoleUI::reqArgNumval(unsigned long nameId, long& value) const {
  const KivClMessage name(m_clCatalog, nameId);
  reqArgNumval(name.getText(), value);
}
