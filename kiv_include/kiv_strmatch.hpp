/// \file
/// KIV Library: string search, wildcard match objects and grep.
///
/// Three interchangeable pattern objects share one interface: given a text,
/// `getPattern` returns where the pattern occurs in it, or null.
///   - KivClStringSearch finds a fixed substring with a skip-table search
///     (bad-character rule, comparing from the right end of the pattern).
///   - KivClStringMatchWildcards tests a whole text against a wildcard pattern
///     ("*" and "?", see kivMatchesWildcardPattern in kiv_base.hpp).
///   - KivClGrep matches a POSIX extended (or caller-flagged) regular
///     expression through regcomp/regexec.
/// Each can ignore case; note that KivClStringMatchWildcards reads its flag
/// the other way round (true means case-sensitive), see that class.
///
/// Ownership: the pattern text is the caller's and must outlive the object,
/// except that KivClStringSearch with ignoreCase works on an upper-cased copy
/// that it owns (allocated through kivMalloc, freed in its destructor).
/// Texts handed to getPattern are never copied or changed; a returned pointer
/// points into that text. KivClGrep owns its compiled expression and releases
/// it with regfree. The objects cannot be copied.
///
/// Failure: there is no error record. A search that finds nothing, a text or
/// pattern that is null, and a regular expression that did not compile all
/// give null from getPattern; KivClGrep::getCompileResult() tells the regcomp
/// result. The only exception is the KivClExceptionFatal of the memory
/// manager when the ignore-case copy of KivClStringSearch cannot be allocated.
/// A KivClGrep pattern with nested repetitions can make regcomp take memory
/// and time exponential in the nesting (see KivClGrep).
///
/// Thread safety: after construction the objects are read-only; getPattern may
/// be called from several threads on the same object (regexec takes its own
/// lock). Upper-casing follows the locale of the moment of each call (the
/// pattern: the locale at construction), so do not switch the locale while
/// another thread searches.
#ifndef KIV_STRMATCH_HPP
#define KIV_STRMATCH_HPP

#include <regex.h>

#include <cstddef>
#include <cstdint>

#include "kiv_export.hpp"

/// The common interface of the pattern objects: a pattern text and a case
/// flag, and one query that finds the pattern in a text.
class KIV_EXPORT KivClStringMatchABase {
 public:
  /// \param pattern     the caller's pattern text; not copied, must outlive
  ///                    the object (a null pattern counts as the empty text)
  /// \param ignoreCase  the case flag, kept as given (see each subclass for
  ///                    how it is read)
  KivClStringMatchABase(const char* pattern, bool ignoreCase) noexcept;
  virtual ~KivClStringMatchABase();

  KivClStringMatchABase(const KivClStringMatchABase&) = delete;
  KivClStringMatchABase& operator=(const KivClStringMatchABase&) = delete;

  /// Where the pattern occurs in the NUL-terminated `text`, or null when it
  /// does not occur (or `text` is null). The result points into `text`.
  virtual const char* getPattern(const char* text) const = 0;

  /// The pattern text the object works with: the caller's text, or for an
  /// ignore-case KivClStringSearch its own upper-cased copy. Never null.
  const char* getPatternText() const noexcept { return m_pszPattern; }
  /// The case flag as the constructor received it.
  bool getCaseFlag() const noexcept { return m_fIgnoreCase; }

 protected:
  const char* m_pszPattern;  ///< the pattern (the caller's, or an owned copy)
  bool m_fIgnoreCase;        ///< the case flag as given to the constructor
};

/// Finds a fixed substring with a skip-table search.
///
/// The constructor builds a table of 256 shift values, one per byte value:
/// every entry starts at the pattern length m, and for the positions
/// i = 0 .. m-2 in turn the entry of the character at i becomes m-1-i, so
/// that each character holds the distance of its last occurrence before the
/// final position from the end. The byte 0 never occurs in a pattern, so its
/// entry always holds m; the object reads the pattern length from there.
///
/// The search puts the pattern's last character under text[m-1] and compares
/// from right to left. On a mismatch with the text character c at position x
/// it moves the alignment so that the pattern's last character stands at
/// x + entry[c] (the bad-character rule applied to the mismatched character
/// itself, not to the character under the pattern's last position). That
/// shift can be smaller than the number of characters already matched and
/// would then move the alignment back to the left, and even before the start
/// of the text; the search therefore never lets the alignment stand still or
/// move left: it moves at least one position to the right. With that guard
/// every shift is safe, and the result is always the first (leftmost)
/// occurrence in the text.
///
/// With ignoreCase the object upper-cases a copy of the pattern (strupr) and
/// compares each text character upper-cased (toupper); a mismatch shifts by
/// the entry of the upper-cased text character.
///
/// Case-sensitive searches first pass over alignments whose first and last
/// pattern characters both differ from the text, sixteen alignments at a
/// time; such alignments cannot hold the pattern, so this changes the speed
/// and never the result. The comparison and the shifts are then as above.
///
/// An empty pattern is never found (it has no last character to align), and
/// a text shorter than the pattern gives null without a comparison. Bytes
/// are compared as unsigned values; in getPattern(text, length) the text may
/// contain NUL bytes. The table counts lengths in 32 bits: a pattern of 4 GiB
/// or more is searched for by its first 4 GiB - 1 bytes.
class KIV_EXPORT KivClStringSearch : public KivClStringMatchABase {
 public:
  /// Builds the shift table for `pattern`.
  /// \param pattern     the text to look for; not copied unless ignoreCase
  ///                    (null counts as the empty pattern)
  /// \param ignoreCase  true: compare without regard to case; the object then
  ///                    owns an upper-cased copy of the pattern
  /// \throws KivClExceptionFatal when the copy cannot be allocated
  KivClStringSearch(const char* pattern, bool ignoreCase);
  /// Frees the upper-cased copy of the pattern, if any.
  ~KivClStringSearch() override;

  /// The first occurrence of the pattern in the NUL-terminated `text`, or
  /// null. Texts of any length are searched whole.
  const char* getPattern(const char* text) const override;
  /// The first occurrence of the pattern within the first `length` bytes of
  /// `text`, or null. NUL bytes in that range are ordinary bytes.
  const char* getPattern(const char* text, unsigned int length) const;

  /// The length of the pattern (the table's entry for the byte 0).
  std::uint32_t getPatternLength() const noexcept { return m_aulShift[0]; }
  /// The shift table's entry for the byte value `c`.
  std::uint32_t getShift(unsigned char c) const noexcept { return m_aulShift[c]; }

 private:
  const char* search(const char* text, std::size_t length) const;

  std::uint32_t m_aulShift[256];  ///< shift per byte value; [0] is the pattern length
  char* m_pszOwnedPattern;        ///< the upper-cased copy (ignore case), else null
};

/// Tests a whole text against a wildcard pattern ("*" any sequence, "?" one
/// character; see kivMatchesWildcardPattern).
///
/// Deliberately, the constructor's flag is handed on unchanged as the
/// matcher's caseSensitive argument: for this class `true` means
/// case-sensitive matching, the opposite sense of KivClStringSearch and
/// KivClGrep, where true ignores case. Callers rely on this; keep it.
class KIV_EXPORT KivClStringMatchWildcards : public KivClStringMatchABase {
 public:
  /// \param pattern        the wildcard pattern; not copied (null counts as
  ///                       the empty pattern, which matches only "")
  /// \param caseSensitive  true: characters must be equal; false: they are
  ///                       compared upper-cased. (Kept in the base's case
  ///                       flag as given.)
  KivClStringMatchWildcards(const char* pattern, bool caseSensitive) noexcept;
  ~KivClStringMatchWildcards() override;

  /// `text` itself when the whole text matches the whole pattern, else null
  /// (also for a null text).
  const char* getPattern(const char* text) const override;
};

/// Matches a POSIX regular expression (regcomp/regexec).
///
/// The constructors compile the expression at once; when regcomp fails, its
/// result is kept (getCompileResult) and every getPattern gives null.
///
/// Hostile patterns (kept so: the pattern goes to regcomp as it is).
/// regcomp expands a bounded repetition by copying what it repeats, so its
/// memory and time grow with the product of nested bounds - exponentially
/// with the depth of nesting. The 26 characters
/// "((a{1,100}){1,100}){1,100}" take regcomp about 1.8 GB and seconds of
/// CPU time on this platform, and each further level of nesting multiplies
/// that by a hundred. Do not compile a pattern from an untrusted source
/// unchecked: limit its length and its nesting of repetitions, or compile
/// it in a process with an address-space limit (setrlimit RLIMIT_AS), under
/// which regcomp fails with REG_ESPACE and getCompileResult() says so.
///
/// getPattern's eflags carry, besides regexec's own flags, the library's
/// flag cv_iEflagTextStart, bit 8 (the value 256; bits are counted from 0, as
/// REG_ICASE is bit 1): with it a match gives the text start rather than the
/// start of the match. regexec itself would refuse the flag, so it is taken
/// out before the call.
class KIV_EXPORT KivClGrep : public KivClStringMatchABase {
 public:
  /// The library's own flag for getPattern's eflags (bit 8): return the
  /// text start instead of the start of the match. It is not a flag of
  /// regexec; getPattern removes it before calling regexec.
  static constexpr int cv_iEflagTextStart = 1 << 8;

  /// Compiles `pattern` with REG_EXTENDED, plus REG_ICASE when ignoreCase
  /// (the flag values 1 and 3). A null pattern compiles as the empty one.
  KivClGrep(const char* pattern, bool ignoreCase);
  /// Compiles `pattern` with the caller's regcomp flags; the base's case flag
  /// is the REG_ICASE bit of `cflags`.
  KivClGrep(int cflags, const char* pattern);
  /// Releases the compiled expression (regfree), if one was compiled.
  ~KivClGrep() override;

  /// Compiles `pattern` (null: the empty pattern) with `cflags` and keeps the
  /// regcomp result; an expression compiled before is released first. The
  /// new text becomes the object's pattern; the case flag is not changed.
  /// \returns the regcomp result: 0 when the expression compiled
  int init(const char* pattern, int cflags);

  /// getPattern(text, 0).
  const char* getPattern(const char* text) const override;
  /// Runs regexec on the NUL-terminated `text` with up to two match records
  /// and `eflags`. Returns null when it does not match (or the expression
  /// did not compile, or regexec refuses the flags); otherwise the position
  /// in `text` where the match begins, or `text` itself when eflags holds
  /// cv_iEflagTextStart. An expression compiled with REG_NOSUB reports no
  /// positions, so its matches also give `text` itself. With REG_STARTEND the
  /// range is the whole text (this interface carries no range).
  const char* getPattern(const char* text, int eflags) const;

  /// The result of the last regcomp: 0 when the expression compiled.
  int getCompileResult() const noexcept { return m_iResult; }

 private:
  void release() noexcept;

  int m_iResult;      ///< regcomp's result; 0 when m_regex holds an expression
  int m_iCflags;      ///< the flags of the last regcomp
  regex_t m_regex{};  ///< the compiled expression (valid when m_iResult is 0)
};

#endif
