/// \file
/// KIV Library: argument cursors.
///
/// Cursors over a program's command line (the argument count and vector that
/// its entry point received). They answer, for the argument under the cursor,
/// the questions the console user interface asks: is it a switch, does it
/// name a given switch, is it allowed by the usage string, does it need or
/// carry a value, is it a free argument. The answers about the usage come
/// from a KivClUsageCursor (kiv_usage.hpp) built afresh for each question.
///
/// Three classes in one line of inheritance:
/// ~~~
///   KivClArgvCursor       the plain walk, forwards and backwards;
///   KivClArgvCheckCursor  adds the usage string and the checks;
///   KivClArgvFreeCursor   visits the free arguments only.
/// ~~~
///
/// Index 0 is the program name and is never visited: a cursor is valid when
/// its index is at least 1 and less than the argument count. A switch is an
/// argument that begins with "-" followed by anything but a decimal digit,
/// so "-5" is a value and a lone "-" is a switch with an empty name.
///
/// Choices made here:
///   - A null vector is taken as an empty command line (count 0). A negative
///     count is taken as 0.
///   - getAsCString() does not require a valid cursor, but it returns null
///     instead of reading outside the vector; getArgv0() returns null for an
///     empty command line. Every query is false on an invalid cursor or a
///     null argument.
///   - Moving saturates at the limits of int instead of overflowing.
///   - A null usage string is treated as the empty one (no elements).
///   - Walks over the usage string end at a "/" or a "-" followed by a digit
///     outside quoted text, where the usage cursor cannot move on (see
///     kiv_usage.hpp).
///
/// Ownership: the cursors keep pointers only (vector, its strings, the usage
/// string); all of them must outlive the cursor. Failure: none; results are
/// bool. Thread safety: a cursor is used by one thread; cursors over the same
/// unchanging vector may be used from several.
#ifndef KIV_ARGV_HPP
#define KIV_ARGV_HPP

#include "kiv_cursor.hpp"
#include "kiv_export.hpp"
#include "kiv_usage.hpp"

class KivClConsoleUI;

/// The plain walk over a program's arguments. Virtual operations, in slot
/// order: destructor, isValid, setToFirst, setToNext, setToLast,
/// setToPrevious.
class KIV_EXPORT KivClArgvCursor : public KivClBiDirCursorABase {
 public:
  /// A cursor over `count` arguments of `vector` (entry 0 the program
  /// name); the index starts at 1. The vector is not copied.
  KivClArgvCursor(int count, const char** vector);

  /// A cursor over the argument count and vector stored in the console UI,
  /// which must outlive the cursor. Defined together with KivClConsoleUI.
  explicit KivClArgvCursor(const KivClConsoleUI& consoleUI);

  /// Copies count, index and vector.
  KivClArgvCursor(const KivClArgvCursor& other) = default;
  /// Copies count, index and vector.
  KivClArgvCursor& operator=(const KivClArgvCursor& other) = default;

  ~KivClArgvCursor() override;

  /// 1 <= index < count.
  bool isValid() const override;

  /// Index 1. \returns whether the count is greater than 1.
  bool setToFirst() override;

  /// Index plus one. \returns isValid().
  bool setToNext() override;

  /// Index count - 1. \returns isValid().
  virtual bool setToLast();

  /// Index minus one. \returns isValid().
  virtual bool setToPrevious();

  /// Entry 0 of the vector (the program name); null for an empty command
  /// line.
  const char* getArgv0() const;

  /// The argument at the index. No validity check is made, so index 0
  /// yields the program name; outside the vector the result is null.
  const char* getAsCString() const;

  /// True when the cursor is valid and its argument is not null (a vector
  /// may hold null entries before its count).
  bool hasArgument() const;

  /// True when the argument is a switch: KivClUsageCursor::isSwitchIndicator
  /// of the argument.
  bool isSwitch() const;

  /// True when the argument is a switch and the text after its "-" equals
  /// `name` exactly (case-sensitive, whole string). The name loses its
  /// leading "-" first when it is a switch indicator itself, so "key" and
  /// "-key" both match the argument -key, and neither matches -Key.
  bool matches(const char* name) const;

  /// setToFirst(), then forward to the first argument that matches `name`.
  /// \returns whether one was found; the cursor is left invalid otherwise.
  /// The moves are the virtual ones, so a free cursor searches only the
  /// free arguments.
  bool positionTo(const char* name);

  /// The argument count (0 for a null vector).
  int getCount() const { return m_iCount; }
  /// The current index.
  int getIndex() const { return m_iIndex; }
  /// The argument vector as given (null for a null vector).
  const char** getArgv() const { return m_ppszArgv; }

 private:
  int m_iCount;
  int m_iIndex;
  const char** m_ppszArgv;
};

/// The argument cursor that checks the arguments against a usage string.
class KIV_EXPORT KivClArgvCheckCursor : public KivClArgvCursor {
 public:
  /// A cursor over `count` arguments of `vector`, checked against `usage`
  /// (not copied). The index starts at 1.
  KivClArgvCheckCursor(int count, const char** vector, const char* usage);

  /// A cursor over the console UI's argument count, vector and usage string
  /// (its getUsage()); the console UI must outlive the cursor. Defined
  /// together with KivClConsoleUI.
  explicit KivClArgvCheckCursor(const KivClConsoleUI& consoleUI);

  /// Copies count, index, vector and usage string.
  KivClArgvCheckCursor(const KivClArgvCheckCursor& other) = default;
  /// Copies count, index, vector and usage string.
  KivClArgvCheckCursor& operator=(const KivClArgvCheckCursor& other) = default;

  ~KivClArgvCheckCursor() override;

  /// The usage string the arguments are checked against (never null).
  const char* getUsage() const { return m_pszUsage; }

  /// True when the argument is a switch and the first switch element of the
  /// usage (in usage order) that matchesSwitch it requires a value
  /// (KivClUsageCursor::reqArg). False when the argument is not a switch or
  /// the usage has no such switch.
  bool reqArg() const;

  /// True when the argument is a switch and the next argument exists and is
  /// not a switch.
  bool hasArg() const;

  /// True when the argument is not a switch and the previous argument (not
  /// the program name) exists, is a switch and requires a value: a bound
  /// argument is the value of its switch.
  bool isBound() const;

  /// True when the cursor is valid and the argument is neither a switch nor
  /// bound.
  bool isFree() const;

  /// True when some element of the usage that lies on a tagged line (after
  /// a "!" on its line) matches the argument text from the element's first
  /// character (KivClUsageCursor::matches), so a switch argument is compared
  /// with its "-".
  bool isTagged() const;

  /// True when the argument is allowed by the usage string:
  ///   1. a switch, when the usage holds a switch element that matchesSwitch
  ///      it;
  ///   2. a bound argument;
  ///   3. any other argument, when the usage holds at least one value, word
  ///      or ellipsis element outside every group (group depth 0), which
  ///      stands for free arguments.
  bool isLegal() const;

 private:
  const char* m_pszUsage;
};

/// The argument cursor that visits the free arguments only: every move
/// passes over the arguments that are switches or bound to a switch.
class KIV_EXPORT KivClArgvFreeCursor : public KivClArgvCheckCursor {
 public:
  /// A cursor over `count` arguments of `vector`, checked against `usage`.
  /// The index starts at 1, which need not be a free argument: call
  /// setToFirst().
  KivClArgvFreeCursor(int count, const char** vector, const char* usage);

  /// The console UI's arguments and usage string. Defined together with
  /// KivClConsoleUI.
  explicit KivClArgvFreeCursor(const KivClConsoleUI& consoleUI);

  /// Copies count, index, vector and usage string.
  KivClArgvFreeCursor(const KivClArgvFreeCursor& other) = default;
  /// Copies count, index, vector and usage string.
  KivClArgvFreeCursor& operator=(const KivClArgvFreeCursor& other) = default;

  ~KivClArgvFreeCursor() override;

  /// Index 1, then forward to the first free argument. \returns isValid().
  bool setToFirst() override;
  /// Forward to the next free argument. \returns isValid().
  bool setToNext() override;
  /// Index count - 1, then backward to the last free argument.
  /// \returns isValid().
  bool setToLast() override;
  /// Backward to the previous free argument. \returns isValid().
  bool setToPrevious() override;
};

#endif
