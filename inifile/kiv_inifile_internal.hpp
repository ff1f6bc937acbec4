// Helpers shared by the INI sources; not part of the library's interface.
#ifndef KIV_INIFILE_INTERNAL_HPP
#define KIV_INIFILE_INTERNAL_HPP

#include <atomic>
#include <cctype>
#include <cstdint>

namespace kiv::detail {

/// Changes of INI records and lists, counted for the whole process. A
/// record does not know the file it belongs to, and its public members may
/// be called on it directly, so every member that can change what a name
/// lookup finds counts here, and a file's lookup index is valid only for
/// the count it was built at. Atomic so that files of other threads can
/// count at the same time; those counts only make an index be rebuilt.
extern std::atomic<std::uint64_t> g_iniModelChanges;

/// Counts one change.
inline void iniModelChanged() noexcept {
  g_iniModelChanges.fetch_add(1, std::memory_order_relaxed);
}

/// The changes counted so far.
inline std::uint64_t iniModelChanges() noexcept {
  return g_iniModelChanges.load(std::memory_order_relaxed);
}

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
