// The wildcard matcher: "*" for any sequence of characters, "?" for one.
//
// The matcher walks pattern and text together. At a "*" it skips further
// "*" and "?" (each "?" consuming one text character), takes the next
// pattern character as an anchor and tries the rest of the pattern after
// each text character that equals the anchor. Instead of recursing for
// every such try, it remembers only the latest "*": when a later "*" has
// been reached, the earlier one can never be needed again, because the
// later "*" can absorb any text the earlier one could. This gives the same
// result as trying every anchor position recursively, in time bounded by
// the product of the two lengths and without any recursion depth.

#include <ctype.h>

#include <cctype>
#include <cstdint>
#include <cstring>

#include "kiv_base.hpp"

namespace {

// Characters are compared through a folding function: the identity for
// the case-sensitive match, the locale's upper-case table otherwise. find()
// returns the first character at or after `from` that equals `anchor`
// after folding, or null at the end of the text.
struct ExactFold {
  int operator()(char c) const { return static_cast<unsigned char>(c); }
  const char* find(const char* from, char anchor) const { return std::strchr(from, anchor); }
};

template <class Fold>
const char* findFolded(const Fold& fold, const char* from, char anchor) {
  const int target = fold(anchor);
  for (; *from != '\0'; ++from) {
    if (fold(*from) == target) return from;
  }
  return nullptr;
}

// The C library's upper-case table of the calling thread's locale, looked
// up once per match instead of once per character; it holds exactly what
// toupper returns.
class UpperFold {
 public:
#if defined(__GLIBC__)
  UpperFold() : m_table(*__ctype_toupper_loc()) {}
  int operator()(char c) const { return m_table[static_cast<unsigned char>(c)]; }
  const char* find(const char* from, char anchor) const { return findFolded(*this, from, anchor); }

 private:
  const std::int32_t* m_table;
#else
  int operator()(char c) const { return std::toupper(static_cast<unsigned char>(c)); }
  const char* find(const char* from, char anchor) const { return findFolded(*this, from, anchor); }
#endif
};

template <class Fold>
bool matchWildcards(const char* pattern, const char* text, Fold fold) {
  if (*pattern == '\0') return *text == '\0';

  const char* anchor = nullptr;  // the pattern character after the latest "*"
  const char* next = nullptr;    // the first text position still to try for it
  for (;;) {
    if (*pattern == '*') {
      while (*pattern == '*' || *pattern == '?') {
        if (*pattern == '?') {
          if (*text == '\0') return false;
          ++text;
        }
        ++pattern;
      }
      if (*pattern == '\0') return true;
      anchor = pattern;
      next = text;
    } else if (*pattern == '\0') {
      if (*text == '\0') return true;
      if (anchor == nullptr) return false;
    } else if (*text == '\0') {
      // The rest of the pattern up to the next "*" needs more characters
      // than are left; trying later anchor positions leaves even fewer.
      return false;
    } else if (*pattern == '?' || *pattern == *text || fold(*pattern) == fold(*text)) {
      ++pattern;
      ++text;
      continue;
    } else if (anchor == nullptr) {
      return false;
    }

    // Try the rest of the pattern after the next text character that
    // equals the anchor.
    next = fold.find(next, *anchor);
    if (next == nullptr) return false;
    pattern = anchor + 1;
    text = next + 1;
    ++next;
  }
}

}  // namespace

extern "C" bool kivMatchesWildcardPattern(const char* pattern, const char* text,
                                          bool caseSensitive) {
  if (pattern == nullptr) pattern = "";
  if (text == nullptr) text = "";
  return caseSensitive ? matchWildcards(pattern, text, ExactFold{})
                       : matchWildcards(pattern, text, UpperFold{});
}
