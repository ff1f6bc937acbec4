// KivClStringSearch: the shift table and the skip-table search.

#include <ctype.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "kiv_base.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_strmatch.hpp"
#include "kiv_strsearch_detail.hpp"

namespace kiv::detail {
namespace {

inline unsigned char upper(unsigned char c) { return static_cast<unsigned char>(std::toupper(c)); }

// toupper for one search: on glibc the locale's table is fetched once per
// search instead of once per character (toupper itself reads the same
// table), elsewhere toupper is called.
class UpperCase {
 public:
#if defined(__GLIBC__)
  UpperCase() noexcept : m_table(*__ctype_toupper_loc()) {}
  unsigned char operator()(unsigned char c) const noexcept {
    return static_cast<unsigned char>(m_table[c]);
  }

 private:
  const std::int32_t* m_table;
#else
  unsigned char operator()(unsigned char c) const noexcept { return upper(c); }
#endif
};

struct SameCase {
  unsigned char operator()(unsigned char c) const noexcept { return c; }
};

// Finds, from alignment end `p` on, the first alignment end whose first and
// last pattern characters both agree with the text, checking sixteen ends per
// step. Returns `p` unchanged when fewer than sixteen ends are left, so that
// the caller goes on with the table alone; returns `length` when no end in
// the blocks checked qualifies and none is left over.
// The bytes a pattern character stands for: itself, or, when case is
// ignored, the (at most two) bytes that fold to it.
struct ByteChoice {
  unsigned char a;
  unsigned char b;
};

#if defined(__SSE2__)
// Sixteen bytes compared with one choice: a or b (one comparison when the
// choice is a single byte).
template <bool kTwo>
inline __m128i matches(__m128i bytes, __m128i a, __m128i b) {
  if constexpr (kTwo) {
    return _mm_or_si128(_mm_cmpeq_epi8(bytes, a), _mm_cmpeq_epi8(bytes, b));
  } else {
    (void)b;
    return _mm_cmpeq_epi8(bytes, a);
  }
}
#endif

template <bool kTwo>
inline std::size_t skipToCandidate(const unsigned char* text, std::size_t length, std::size_t p,
                                   std::size_t m, ByteChoice first, ByteChoice last) {
#if defined(__SSE2__)
  const __m128i firstsA = _mm_set1_epi8(static_cast<char>(first.a));
  const __m128i firstsB = _mm_set1_epi8(static_cast<char>(first.b));
  const __m128i lastsA = _mm_set1_epi8(static_cast<char>(last.a));
  const __m128i lastsB = _mm_set1_epi8(static_cast<char>(last.b));
  const std::size_t back = m - 1;
  // Two blocks per step while 32 ends are left; the loads stay inside
  // [p - (m - 1), p + 32), that is inside the text.
  while (length - p >= 32) {
    const unsigned char* end = text + p;
    const unsigned char* start = end - back;
    const __m128i e0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(end));
    const __m128i e1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(end + 16));
    const __m128i s0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(start));
    const __m128i s1 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(start + 16));
    const __m128i hit0 = _mm_and_si128(matches<kTwo>(e0, lastsA, lastsB),
                                       matches<kTwo>(s0, firstsA, firstsB));
    const __m128i hit1 = _mm_and_si128(matches<kTwo>(e1, lastsA, lastsB),
                                       matches<kTwo>(s1, firstsA, firstsB));
    const unsigned int mask = static_cast<unsigned int>(_mm_movemask_epi8(hit0)) |
                              (static_cast<unsigned int>(_mm_movemask_epi8(hit1)) << 16);
    if (mask != 0) return p + static_cast<std::size_t>(__builtin_ctz(mask));
    p += 32;
  }
  if (length - p >= 16) {
    const unsigned char* end = text + p;
    const __m128i e0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(end));
    const __m128i s0 = _mm_loadu_si128(reinterpret_cast<const __m128i*>(end - back));
    const unsigned int mask = static_cast<unsigned int>(_mm_movemask_epi8(_mm_and_si128(
        matches<kTwo>(e0, lastsA, lastsB), matches<kTwo>(s0, firstsA, firstsB))));
    if (mask != 0) return p + static_cast<std::size_t>(__builtin_ctz(mask));
    p += 16;
    if (p >= length) return length;
  }
#else
  (void)text;
  (void)length;
  (void)m;
  (void)first;
  (void)last;
#endif
  return p;
}

// The bytes that fold to `target`, when there are one or two; false when
// there are none or more (the search then relies on the table alone).
bool foldedChoice(const UpperCase& fold, unsigned char target, ByteChoice& choice) {
  unsigned char found[2] = {0, 0};
  int count = 0;
  for (unsigned int byte = 0; byte < 256; ++byte) {
    if (fold(static_cast<unsigned char>(byte)) != target) continue;
    if (count == 2) return false;
    found[count++] = static_cast<unsigned char>(byte);
  }
  if (count == 0) return false;
  choice = {found[0], found[count - 1]};
  return true;
}

template <bool kIgnoreCase, bool kVectorSkip>
const unsigned char* search(const unsigned char* text, std::size_t length,
                            const unsigned char* pattern, const std::uint32_t* shift,
                            ByteChoice first = {}, ByteChoice lastChoice = {}) {
  const std::size_t m = shift[0];
  // p is the text position under the pattern's last character. An empty
  // pattern has no last character; a text shorter than the pattern has no
  // place for it.
  if (m == 0 || m - 1 >= length) return nullptr;
  const std::size_t last = m - 1;
  const std::conditional_t<kIgnoreCase, UpperCase, SameCase> fold;
  if constexpr (kVectorSkip && !kIgnoreCase) {
    first = {pattern[0], pattern[0]};
    lastChoice = {pattern[last], pattern[last]};
  }
  std::size_t p = last;
  for (;;) {
    if constexpr (kVectorSkip) {
      p = skipToCandidate<kIgnoreCase>(text, length, p, m, first, lastChoice);
      if (p >= length) return nullptr;
    }
    // Compare from the pattern's last character leftwards.
    const std::size_t alignmentEnd = p;
    std::size_t q = last;
    unsigned char c;
    for (;;) {
      c = fold(text[p]);
      if (c != pattern[q]) break;
      if (q == 0) return text + p;  // the whole pattern matched
      --p;
      --q;
    }
    // Bad-character rule on the mismatched character. The table knows only
    // the last occurrence of c, which may lie right of the mismatch; then the
    // shift would move the alignment back to the left (and perhaps before the
    // text), so the alignment always moves at least one position right.
    std::size_t next = p + shift[c];
    if (next <= alignmentEnd) next = alignmentEnd + 1;
    if (next >= length) return nullptr;
    p = next;
  }
}

}  // namespace

const char* skipTableSearch(const char* text, std::size_t length, const char* pattern,
                            const std::uint32_t* shift, bool ignoreCase, SkipMode mode) {
  const auto* t = reinterpret_cast<const unsigned char*>(text);
  const auto* pat = reinterpret_cast<const unsigned char*>(pattern);
  const unsigned char* found;
  if (ignoreCase) {
    // The vector skip compares with both bytes that fold to the pattern's
    // first and last characters (the locale's table read once per search);
    // it pays only on longer texts, and needs each to have one or two.
    ByteChoice first{};
    ByteChoice last{};
    const UpperCase fold;
    const std::size_t m = shift[0];
    if (mode == SkipMode::Vector && m != 0 && length >= 64 && foldedChoice(fold, pat[0], first) &&
        foldedChoice(fold, pat[m - 1], last)) {
      found = search<true, true>(t, length, pat, shift, first, last);
    } else {
      found = search<true, false>(t, length, pat, shift);
    }
  } else if (mode == SkipMode::Vector) {
    found = search<false, true>(t, length, pat, shift);
  } else {
    found = search<false, false>(t, length, pat, shift);
  }
  return reinterpret_cast<const char*>(found);
}

}  // namespace kiv::detail

KivClStringSearch::KivClStringSearch(const char* pattern, bool ignoreCase)
    : KivClStringMatchABase(pattern, ignoreCase), m_aulShift{}, m_pszOwnedPattern(nullptr) {
  const std::size_t length = std::strlen(m_pszPattern);
  if (ignoreCase) {
    m_pszOwnedPattern = static_cast<char*>(kivMalloc(length + 1));
    std::memcpy(m_pszOwnedPattern, m_pszPattern, length + 1);
    strupr(m_pszOwnedPattern);
    m_pszPattern = m_pszOwnedPattern;
  }
  // Patterns longer than the table's values can count are cut to the
  // longest length the table holds, so that entry 0 stays the length.
  const auto m = static_cast<std::uint32_t>(length > UINT32_MAX ? UINT32_MAX : length);
  for (std::uint32_t& entry : m_aulShift) entry = m;
  const auto* pat = reinterpret_cast<const unsigned char*>(m_pszPattern);
  for (std::uint32_t i = 0; i + 1 < m; ++i) {
    const unsigned char c = ignoreCase ? kiv::detail::upper(pat[i]) : pat[i];
    m_aulShift[c] = m - 1 - i;
  }
}

KivClStringSearch::~KivClStringSearch() {
  if (m_pszOwnedPattern != nullptr) kivFree(m_pszOwnedPattern);
}

const char* KivClStringSearch::getPattern(const char* text) const {
  if (text == nullptr) return nullptr;
  return search(text, std::strlen(text));
}

const char* KivClStringSearch::getPattern(const char* text, unsigned int length) const {
  if (text == nullptr) return nullptr;
  return search(text, length);
}

const char* KivClStringSearch::search(const char* text, std::size_t length) const {
  return kiv::detail::skipTableSearch(text, length, m_pszPattern, m_aulShift, m_fIgnoreCase,
                                      kiv::detail::SkipMode::Vector);
}
