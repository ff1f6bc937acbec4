// Helpers shared by the INI sources; not part of the library's interface.
#ifndef KIV_INIFILE_INTERNAL_HPP
#define KIV_INIFILE_INTERNAL_HPP

#include <cctype>

namespace kiv::detail {

/// isspace on a byte of any value (plain char may be negative).
inline bool iniIsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

/// True when strcmpi(a, b) is 0: the same comparison (each plain char
/// upper-cased through the locale's table), but the table is only consulted
/// where the bytes differ, since equal bytes are equal upper-cased too.
/// Section and option lookups walk their lists and compare many names.
inline bool iniNamesEqual(const char* a, const char* b) {
  for (;; ++a, ++b) {
    if (*a == *b) {
      if (*a == '\0') return true;
    } else if (std::toupper(static_cast<int>(*a)) != std::toupper(static_cast<int>(*b))) {
      return false;
    }
  }
}

}  // namespace kiv::detail

#endif
