// KivClStringMatchABase and KivClStringMatchWildcards.

#include "kiv_base.hpp"
#include "kiv_strmatch.hpp"

KivClStringMatchABase::KivClStringMatchABase(const char* pattern, bool ignoreCase) noexcept
    : m_pszPattern(pattern != nullptr ? pattern : ""), m_fIgnoreCase(ignoreCase) {}

KivClStringMatchABase::~KivClStringMatchABase() = default;

KivClStringMatchWildcards::KivClStringMatchWildcards(const char* pattern,
                                                     bool caseSensitive) noexcept
    : KivClStringMatchABase(pattern, caseSensitive) {}

KivClStringMatchWildcards::~KivClStringMatchWildcards() = default;

const char* KivClStringMatchWildcards::getPattern(const char* text) const {
  if (text == nullptr) return nullptr;
  // The flag goes to the matcher as it came in: here true means
  // case-sensitive (see the class comment).
  return kivMatchesWildcardPattern(m_pszPattern, text, m_fIgnoreCase) ? text : nullptr;
}
