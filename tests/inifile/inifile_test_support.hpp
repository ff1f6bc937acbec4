// Helpers of the INI tests: an error handler that records what it is told,
// buffer loading from std::string, and a textual dump of a parsed model that
// the golden files hold.
#ifndef KIV_INIFILE_TEST_SUPPORT_HPP
#define KIV_INIFILE_TEST_SUPPORT_HPP

#include <cstdint>
#include <cstdio>
#include <ostream>
#include <string>
#include <vector>

#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"

namespace kivtest {

/// One call of the error handler.
struct IniErrorCall {
  long id;
  KivEnErrorClass errorClass;
  unsigned int line;
  bool operator==(const IniErrorCall& o) const {
    return id == o.id && errorClass == o.errorClass && line == o.line;
  }
};

inline std::ostream& operator<<(std::ostream& os, const IniErrorCall& c) {
  return os << "{" << c.id << ", " << static_cast<int>(c.errorClass) << ", line " << c.line << "}";
}

/// Records every call; answers true until `stopAtCall` calls were made
/// (the call with that number answers false).
struct IniErrorLog {
  std::vector<IniErrorCall> calls;
  std::size_t stopAtCall = SIZE_MAX;

  static bool handler(const _KivStError& error, unsigned int line, void* data) {
    auto* log = static_cast<IniErrorLog*>(data);
    log->calls.push_back({error.id, error.errorClass, line});
    return log->calls.size() < log->stopAtCall;
  }
  void attach(KivClIniFile& ini) { ini.setErrorHandler(&IniErrorLog::handler, this); }
};

/// A user-data error of the parser, as the handler receives it.
inline IniErrorCall iniError(long id, unsigned int line) {
  return {id, KivEnErrorClass::USER_DATA_ERROR, line};
}

/// loadFromBuffer over a std::string (embedded NULs included).
inline bool loadText(KivClIniFile& ini, const std::string& text, bool keepDuplicateSections = true,
                     bool allowContinuation = false, char delimiter = '\n') {
  return ini.loadFromBuffer(text.data(), text.size(), delimiter, keepDuplicateSections,
                            allowContinuation);
}

/// A text in double quotes; '"', '\' and bytes outside 0x20..0x7e escaped.
inline std::string quoted(const char* text) {
  if (text == nullptr) return "(null)";
  std::string out = "\"";
  for (const char* p = text; *p != '\0'; ++p) {
    const auto c = static_cast<unsigned char>(*p);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += static_cast<char>(c);
    } else if (c < 0x20 || c > 0x7e) {
      char hex[8];
      std::snprintf(hex, sizeof hex, "\\x%02x", c);
      out += hex;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out + "\"";
}

/// The model as text: one line per section ("[" quoted name "]") and one
/// indented line per option (name = value ; comment, all quoted).
inline std::string dumpModel(const KivClIniFile& ini) {
  std::string out;
  for (const KivClIniFileSection* s = ini.getFirstSection(); s != nullptr; s = s->getNext()) {
    out += "[" + quoted(s->getName()) + "]\n";
    for (const KivClIniFileOption* o = s->getFirstOption(); o != nullptr; o = o->getNext()) {
      out += "  " + quoted(o->getName()) + " = " + quoted(o->getValue()) + " ; " +
             quoted(o->getComment()) + "\n";
    }
  }
  return out;
}

/// The names of all sections in list order.
inline std::vector<std::string> sectionNames(const KivClIniFile& ini) {
  std::vector<std::string> names;
  for (const KivClIniFileSection* s = ini.getFirstSection(); s != nullptr; s = s->getNext())
    names.emplace_back(s->getName());
  return names;
}

/// The option record `name` of section `section` (first matches, exact
/// case), or null.
inline const KivClIniFileOption* findOption(const KivClIniFile& ini, const std::string& section,
                                            const std::string& name) {
  for (const KivClIniFileSection* s = ini.getFirstSection(); s != nullptr; s = s->getNext()) {
    if (section != s->getName()) continue;
    for (const KivClIniFileOption* o = s->getFirstOption(); o != nullptr; o = o->getNext())
      if (name == o->getName()) return o;
  }
  return nullptr;
}

/// The value of the first option `name` in the first section `section`;
/// "<missing>" when there is none.
inline std::string valueOf(const KivClIniFile& ini, const std::string& section,
                           const std::string& name) {
  const KivClIniFileOption* o = findOption(ini, section, name);
  return o != nullptr && o->getValue() != nullptr ? o->getValue() : "<missing>";
}

/// The comment of that option; "<missing>" when there is none.
inline std::string commentOf(const KivClIniFile& ini, const std::string& section,
                             const std::string& name) {
  const KivClIniFileOption* o = findOption(ini, section, name);
  return o != nullptr ? o->getComment() : "<missing>";
}

/// A file object whose name is never opened by buffer and stream loads.
inline KivClFilename unusedIniName() { return KivClFilename("kiv-ini-test-never-opened"); }

}  // namespace kivtest

#endif
