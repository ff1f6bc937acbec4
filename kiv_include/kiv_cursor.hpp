/// \file
/// KIV Library: cursor bases.
///
/// The library's cursors (over usage strings, over a program's arguments,
/// over the sections and options of an INI file) share one small protocol:
/// a cursor is either on an element (valid) or not, setToFirst() moves it to
/// the first element and setToNext() to the following one, each returning
/// whether the cursor is then on an element. Two abstract bases carry that
/// protocol so that code can walk any cursor the same way:
///
/// ~~~{.cpp}
///   for (bool ok = cursor.setToFirst(); ok; ok = cursor.setToNext()) { ... }
/// ~~~
///
/// KivClUniDirCursorABase is the one-way cursor; KivClBiDirCursorABase is the
/// base of cursors that can also move backwards. The backward operations
/// themselves (setToLast, setToPrevious) are declared by the concrete cursors
/// that have them, so the two-way base repeats exactly the operations of the
/// one-way base with its own virtual destructor.
///
/// Ownership: the bases hold nothing. Failure: none; the operations report
/// through their bool results. Thread safety: a cursor is a small value used
/// by one thread; different cursors over the same data may be used from
/// different threads when the data does not change.
#ifndef KIV_CURSOR_HPP
#define KIV_CURSOR_HPP

#include "kiv_export.hpp"

/// The abstract one-way cursor. Virtual operations, in slot order: the
/// destructor, isValid, setToFirst, setToNext.
class KIV_EXPORT KivClUniDirCursorABase {
 public:
  virtual ~KivClUniDirCursorABase();

  /// True when the cursor stands on an element.
  virtual bool isValid() const = 0;

  /// Moves to the first element.
  /// \returns whether the cursor is on an element afterwards.
  virtual bool setToFirst() = 0;

  /// Moves to the element after the current one.
  /// \returns whether the cursor is on an element afterwards.
  virtual bool setToNext() = 0;

 protected:
  KivClUniDirCursorABase() = default;
  /// Lets derived cursors be copied; the base holds no state.
  KivClUniDirCursorABase(const KivClUniDirCursorABase&) = default;
  /// Lets derived cursors be assigned; the base holds no state.
  KivClUniDirCursorABase& operator=(const KivClUniDirCursorABase&) = default;
};

/// The abstract two-way cursor: the base of cursors that can also move
/// backwards. It declares the same pure operations as the one-way base
/// (isValid, setToFirst, setToNext) with a virtual destructor of its own;
/// the concrete cursors add setToLast and setToPrevious.
class KIV_EXPORT KivClBiDirCursorABase : public KivClUniDirCursorABase {
 public:
  ~KivClBiDirCursorABase() override;

  /// True when the cursor stands on an element.
  bool isValid() const override = 0;

  /// Moves to the first element; returns whether the cursor is then valid.
  bool setToFirst() override = 0;

  /// Moves to the next element; returns whether the cursor is then valid.
  bool setToNext() override = 0;

 protected:
  KivClBiDirCursorABase() = default;
  /// Lets derived cursors be copied; the base holds no state.
  KivClBiDirCursorABase(const KivClBiDirCursorABase&) = default;
  /// Lets derived cursors be assigned; the base holds no state.
  KivClBiDirCursorABase& operator=(const KivClBiDirCursorABase&) = default;
};

#endif
