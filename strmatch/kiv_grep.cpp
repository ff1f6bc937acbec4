// KivClGrep: POSIX regular expressions through regcomp/regexec/regfree.

#include <regex.h>

#include "kiv_strmatch.hpp"

KivClGrep::KivClGrep(const char* pattern, bool ignoreCase)
    : KivClStringMatchABase(pattern, ignoreCase), m_iResult(REG_BADPAT), m_iCflags(0) {
  init(pattern, ignoreCase ? (REG_EXTENDED | REG_ICASE) : REG_EXTENDED);
}

KivClGrep::KivClGrep(int cflags, const char* pattern)
    : KivClStringMatchABase(pattern, (cflags & REG_ICASE) != 0),
      m_iResult(REG_BADPAT),
      m_iCflags(0) {
  init(pattern, cflags);
}

KivClGrep::~KivClGrep() { release(); }

void KivClGrep::release() noexcept {
  // regcomp frees what it built when it fails, so only a compiled
  // expression is released.
  if (m_iResult == 0) regfree(&m_regex);
  m_iResult = REG_BADPAT;
}

int KivClGrep::init(const char* pattern, int cflags) {
  release();
  m_pszPattern = pattern != nullptr ? pattern : "";
  m_iCflags = cflags;
  m_iResult = regcomp(&m_regex, m_pszPattern, cflags);
  return m_iResult;
}

const char* KivClGrep::getPattern(const char* text) const { return getPattern(text, 0); }

const char* KivClGrep::getPattern(const char* text, int eflags) const {
  if (text == nullptr || m_iResult != 0) return nullptr;
  // The text-start flag is ours; regexec refuses flags it does not know.
  // A range (REG_STARTEND) could only be the whole text here, which is what
  // regexec searches without it.
  const bool textStart = (eflags & cv_iEflagTextStart) != 0;
  const int execFlags = eflags & ~(cv_iEflagTextStart | REG_STARTEND);
  regmatch_t match[2];
  match[0].rm_so = 0;
  match[0].rm_eo = 0;
  match[1] = match[0];
  if (regexec(&m_regex, text, 2, match, execFlags) != 0) return nullptr;
  // An expression compiled without sub-expression reports leaves the
  // records as they were: the match then counts as starting at the text.
  if (textStart || (m_iCflags & REG_NOSUB) != 0) return text;
  return text + match[0].rm_so;
}
