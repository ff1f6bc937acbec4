/// \file
/// KIV Library: usage strings and the usage cursor.
///
/// A console program describes its command line once, as a usage string, and
/// the library derives from it which arguments are legal, which switches need
/// a value, which values are free arguments, and the usage text shown to the
/// user. The string is plain text that doubles as the displayed usage; a few
/// marker characters steer the analysis and are hidden when it is shown.
///
/// The grammar, read character by character:
///
/// ~~~
///   -name         a switch element; the name is the letters and digits after
///                 the "-". A "-" followed by a digit is NOT a switch: like
///                 "/", it stops the walk at a place the cursor cannot move
///                 past, so both may appear only inside quoted text.
///   <name>        a value element (a placeholder for a value); blanks inside
///                 the angle brackets belong to the name.
///   .. or ...     an ellipsis element (a run of two or more "."): the value
///                 before it may repeat.
///   word          a word element (keyword argument), but only when a blank
///                 was passed since the search for the element began.
///   [ ]           optional part (optional depth).
///   ( )           group: a switch followed, within its group, by a value
///                 element requires a value, as in "(-key <key>)".
///   !             tags the rest of its line (until the next newline).
///   "text"        quoted text: skipped entirely by the analysis.
///   newline       ends a usage line and clears the tagged state.
///   | and others  layout only.
/// ~~~
///
/// A name ends at the first character that is neither a letter nor a digit
/// (ASCII letters and digits only, whatever the process locale). To be
/// matched, a name must be followed by the end of the string or by one of
/// "[]<>(){}-| "; a switch followed directly by a newline, a "." or any other
/// character can never be matched.
///
/// Deliberately odd behaviour, kept on purpose (do not "fix" it):
///   - A single "." swallows the character after it without looking at it:
///     in "x.(-a <v>)" the "(" is never counted, so -a is outside any group.
///   - A "/" or a "-" followed by a digit outside quoted text stops the walk
///     for good: setToNext() returns true without moving, so a plain loop
///     over such a string never ends. The library's own walks (reqArgEllipsis
///     here, the argument checks of kiv_argv.hpp) stop at such a place as if
///     the usage ended there; isWalkStop() tells a caller's loop to do so.
///   - The four state fields (optional depth, group depth, tagged, in value)
///     are cleared only by construction, not by setToFirst(): a cursor is
///     built afresh for every question.
///
/// Choice made here: where the walk would pass the string's terminator (a
/// usage ending in a single ".", whose "." would swallow the terminator), it
/// stops on the terminator instead. No operation ever reads past the NUL.
/// A null usage string is treated as the empty one. An argument is compared
/// with the whole name only: an argument that holds more than letters and
/// digits after its "-" (say "-key <key>" given as one argument) matches no
/// switch, even where the usage text happens to continue the same way.
///
/// Ownership: the cursor points into the caller's usage string; it neither
/// copies nor frees it, and the string must outlive the cursor. The walk
/// never changes the string. Failure: none; results are bool. Thread safety:
/// a cursor is used by one thread; several cursors may walk one string.
#ifndef KIV_USAGE_HPP
#define KIV_USAGE_HPP

#include "kiv_cursor.hpp"
#include "kiv_export.hpp"

/// Walks a usage string element by element and answers the questions of
/// the argument cursors and of the console user interface.
class KIV_EXPORT KivClUsageCursor : public KivClUniDirCursorABase {
 public:
  /// Positions the cursor at the start of `usage` with all state cleared.
  /// The cursor is not yet on an element: call setToFirst(). A null usage
  /// is taken as the empty string. The string is not copied.
  explicit KivClUsageCursor(const char* usage);

  /// Copies all fields; used to look ahead without moving the original.
  KivClUsageCursor(const KivClUsageCursor& other) = default;
  /// Copies all fields: the cursor then stands where `other` stands in the
  /// same usage string.
  KivClUsageCursor& operator=(const KivClUsageCursor& other) = default;

  ~KivClUsageCursor() override;

  /// True when the current character is not the terminator.
  bool isValid() const override;

  /// Moves to the start of the string, then locateNext(). The state fields
  /// are NOT reset (see the banner).
  /// \returns whether an element was found.
  bool setToFirst() override;

  /// skipCurrent(), then locateNext().
  /// \returns whether an element was found. On a "/" or a "-" followed by
  ///          a digit it returns true without moving (see the banner).
  bool setToNext() override;

  /// True when the text at the cursor is a switch indicator (a switch
  /// element, so not a "-" followed by a digit).
  bool isSwitch() const;

  /// True when text[0] is "-" and text[1] is not a decimal digit. So "-5" is
  /// not a switch indicator and a lone "-" is one (with an empty name).
  /// False for null.
  static bool isSwitchIndicator(const char* text);

  /// True when the cursor stands on an ellipsis element (on a ".").
  bool isArgEllipsis() const;

  /// True when the cursor stands on a value element (on a "<").
  bool isValueElement() const;

  /// True when the cursor stands on a word element (on a letter or digit).
  bool isWordElement() const;

  /// True when the cursor stands where the walk cannot move past: a "/" or
  /// a "-" followed by a decimal digit. A loop over the elements should stop
  /// there, as setToNext() would keep returning the same place.
  bool isWalkStop() const;

  /// True when the cursor stands on a switch whose name equals `argument`
  /// character by character (case-sensitive, no abbreviation) and the usage
  /// character after the name is the end of the string or one of
  /// "[]<>(){}-| ". The argument loses its leading "-" first when it is a
  /// switch indicator, so "-fnest" and "fnest" both match the usage switch
  /// -fnest, while "-f" and "-FNEST" do not. False for null.
  bool matchesSwitch(const char* argument) const;

  /// The same comparison, but from the cursor's current character itself:
  /// `text` must equal that character followed by the letters and digits
  /// after it, and the usage character after them must be a delimiter as
  /// for matchesSwitch. So at the switch element -key the text "-key"
  /// matches and "key" does not; at a word element "all" the text "all"
  /// matches. A value element is compared the same way, by the letters and
  /// digits of its name as for switches: at "<key>" the text "<key" matches,
  /// "<key>" and "key" do not. False for null and on an invalid cursor.
  bool matches(const char* text) const;

  /// True when the switch at the cursor requires a value: the cursor is on a
  /// switch, the group depth is not 0, and the next element (looked ahead on
  /// a copy) exists, is not a switch and has the same group depth. In
  /// "(-key <key>) [-display]" that holds at -key and not at -display; in
  /// "(-a) <x>" it does not hold at -a.
  bool reqArg() const;

  /// True when the switch at the cursor takes a repeatable value: the
  /// cursor is on a switch, the group depth is not 0, and walking ahead from
  /// the next element over elements that are not switches and have the same
  /// group depth, an ellipsis element is reached before a switch, a change of
  /// group depth, a walk stop or the end. True at -files in
  /// "(-files <file>...)".
  bool reqArgEllipsis() const;

  /// False for the double quote character, "(" and ")", true for every other
  /// character: the usage display leaves out the characters for which it is
  /// false, so "(-key <key>) [(-instance <instance>)]" is shown as
  /// "-key <key> [-instance <instance>]".
  static bool isToBeDisplayed(char c);

  /// The first step of the walk: from the current character (not after it)
  /// forward to the start of the next element, keeping the depths, the
  /// tagged state and the in-value state up to date.
  /// \returns whether the cursor is on an element (isValid()).
  bool locateNext();

  /// The second step of the walk: moves past the current element. Passes a
  /// switch indicator's "-" or a value's "<", then letters and digits,
  /// blanks while inside a value, and "." characters (so an ellipsis run is
  /// passed whole).
  void skipCurrent();

  /// The whole usage string (never null).
  const char* getUsage() const { return m_pszUsage; }
  /// The character on which the current element starts; the terminator
  /// when the cursor is invalid.
  const char* getCurrent() const { return m_pszCurrent; }
  /// Count of "[" minus count of "]" passed since construction.
  int getOptionalDepth() const { return m_iOptionalDepth; }
  /// Count of "(" minus count of ")" passed since construction.
  int getGroupDepth() const { return m_iGroupDepth; }
  /// True when a "!" has been passed on the current usage line.
  bool isTagged() const { return m_fTagged; }
  /// True when a "<" has been passed and its ">" not yet.
  bool isInValue() const { return m_fInValue; }

 private:
  const char* m_pszUsage;
  const char* m_pszCurrent;
  int m_iOptionalDepth;
  int m_iGroupDepth;
  bool m_fTagged;
  bool m_fInValue;
};

#endif
