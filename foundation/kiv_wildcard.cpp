// The wildcard matcher: "*" for any sequence of characters, "?" for one.
//
// A pattern splits into three parts: the head before the first "*", the
// middle from the first "*" to the last one, and the tail after the last
// "*". The head and the tail hold no "*", so each matches text of its own
// length: the head the start of the text, the tail its end. Both are
// checked first, the head from the front and the tail from the back (after
// one strlen), which settles the usual file-name patterns ("abc*", "*.txt",
// "a?c*") without walking the text character by character.
//
// The middle runs on what is left of the text. The matcher walks pattern
// and text together. At a "*" it skips further "*" and "?" (each "?"
// consuming one text character), takes the next pattern character as an
// anchor and tries the rest of the pattern after each text character that
// equals the anchor. Instead of recursing for every such try, it remembers
// only the latest "*": when a later "*" has been reached, the earlier one
// can never be needed again, because the later "*" can absorb any text the
// earlier one could. This gives the same result as trying every anchor
// position recursively, in time bounded by the product of the two lengths
// and without any recursion depth. Since the middle ends with a "*", it
// matches as soon as its pattern is used up.

#include <ctype.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "kiv_base.hpp"

namespace {

// Characters are compared through a folding function: the identity for the
// case-sensitive match, the locale's upper-case table otherwise. same()
// tells whether two characters are equal after folding; find() returns the
// first character in [from, end) that equals `anchor` after folding, or
// null.
struct ExactFold {
  bool same(char a, char b) const { return a == b; }
  const char* find(const char* from, const char* end, char anchor) const {
    return static_cast<const char*>(std::memchr(from, anchor, static_cast<std::size_t>(end - from)));
  }
};

#if defined(__GLIBC__)
// The C library's upper-case table of the calling thread's locale; it holds
// exactly what toupper returns.
//
// __ctype_toupper_loc returns the address of a per-thread slot that holds
// the table of the thread's current locale. The slot stays where it is for
// the life of the thread while its content follows setlocale and uselocale,
// so its address is kept per thread and the slot is read anew for every
// match: a call into the C library per match costs as much as the rest of a
// short match. The initial-exec model makes the per-thread variable a plain
// load from the thread pointer (the general model would call into the
// dynamic loader instead); one pointer of static TLS is little enough for
// the C library's reserve even when the library is loaded with dlopen.
const std::int32_t* currentUpperTable() {
  static thread_local const std::int32_t** t_slot __attribute__((tls_model("initial-exec"))) =
      nullptr;
  if (t_slot == nullptr) t_slot = __ctype_toupper_loc();
  return *t_slot;
}

class UpperFold {
 public:
  UpperFold() : m_table(currentUpperTable()) {}
  bool same(char a, char b) const { return a == b || upper(a) == upper(b); }
  const char* find(const char* from, const char* end, char anchor) const {
    const std::int32_t target = upper(anchor);
    for (; from != end; ++from) {
      if (upper(*from) == target) return from;
    }
    return nullptr;
  }

 private:
  std::int32_t upper(char c) const { return m_table[static_cast<unsigned char>(c)]; }
  const std::int32_t* m_table;
};
#else
class UpperFold {
 public:
  bool same(char a, char b) const { return a == b || upper(a) == upper(b); }
  const char* find(const char* from, const char* end, char anchor) const {
    const int target = upper(anchor);
    for (; from != end; ++from) {
      if (upper(*from) == target) return from;
    }
    return nullptr;
  }

 private:
  static int upper(char c) { return std::toupper(static_cast<unsigned char>(c)); }
};
#endif

// The middle: `pattern` up to `patternEnd` starts and ends with "*"; the
// text is [text, textEnd).
template <class Fold>
bool matchMiddle(const char* pattern, const char* patternEnd, const char* text,
                 const char* textEnd, const Fold& fold) {
  const char* anchor = nullptr;  // the pattern character after the latest "*"
  const char* next = nullptr;    // the first text position still to try for it
  for (;;) {
    if (*pattern == '*') {
      while (pattern != patternEnd && (*pattern == '*' || *pattern == '?')) {
        if (*pattern == '?') {
          if (text == textEnd) return false;
          ++text;
        }
        ++pattern;
      }
      if (pattern == patternEnd) return true;
      anchor = pattern;
      next = text;
    } else if (text == textEnd) {
      // The rest of the pattern up to the next "*" needs more characters
      // than are left; trying later anchor positions leaves even fewer.
      return false;
    } else if (*pattern == '?' || fold.same(*pattern, *text)) {
      ++pattern;
      ++text;
      continue;
    }

    // Try the rest of the pattern after the next text character that
    // equals the anchor.
    next = fold.find(next, textEnd, *anchor);
    if (next == nullptr) return false;
    pattern = anchor + 1;
    text = next + 1;
    ++next;
  }
}

// Everything from the first "*" on: `pattern` points at it, `text` at the
// text it has to match. Kept out of line so that a pattern whose head
// already fails costs no more than the head.
template <class Fold>
#if defined(__GNUC__)
__attribute__((noinline))
#endif
bool matchFromFirstStar(const char* pattern, const char* text, const Fold& fold) {
  // The tail: after the last "*".
  const char* lastStar = pattern;
  const char* patternEnd = pattern + 1;
  for (; *patternEnd != '\0'; ++patternEnd) {
    if (*patternEnd == '*') lastStar = patternEnd;
  }
  const char* tail = lastStar + 1;
  const std::size_t tailLength = static_cast<std::size_t>(patternEnd - tail);
  const std::size_t textLength = std::strlen(text);
  if (textLength < tailLength) return false;
  const char* textEnd = text + (textLength - tailLength);
  for (std::size_t i = 0; i < tailLength; ++i) {
    if (tail[i] != '?' && !fold.same(tail[i], textEnd[i])) return false;
  }

  // The middle, from the first "*" to the last one.
  if (lastStar == pattern) return true;
  return matchMiddle(pattern, tail, text, textEnd, fold);
}

template <class Fold>
bool matchWildcards(const char* pattern, const char* text, Fold fold) {
  // The head.
  for (;; ++pattern, ++text) {
    const char p = *pattern;
    if (p == '*') return pattern[1] == '\0' || matchFromFirstStar(pattern, text, fold);
    if (p == '\0') return *text == '\0';
    if (*text == '\0') return false;
    if (p != '?' && !fold.same(p, *text)) return false;
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
