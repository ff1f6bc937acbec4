/// \file
/// KIV Library: path properties, the common base of file names and locations.
///
/// A KivClPathProperty looks at a path text that belongs to somebody else
/// (the buffer of the file name or location that derives from it) and answers
/// questions about its form: which of the two name styles it is written in,
/// whether it carries a drive letter or a network server prefix, and whether
/// it is absolute. Names written on another platform are handled from their
/// own text:
///   - slash style (style 1): separator "/", as on this system;
///   - backslash style (style 0): separator `\`, drive letters ("C:") and
///     server prefixes ("\\server\share").
/// The style is decided from the text alone (see getStyle): a text that
/// begins with a drive letter is in backslash style even when it uses "/".
///
/// Three pointers make up the object: `full` (the whole text), `path` (where
/// the path proper begins: after a server prefix, else at `full`) and the
/// style. The text is not owned; derived classes own the buffer and re-base
/// the pointers onto their own buffer when they are copied.
///
/// Deliberately odd, kept so:
///   - isAbsolute() in backslash style needs a drive: "\dir\f" is NOT
///     absolute, "C:\dir\f" and "\\server\share\f" are.
///   - The server name is searched from the fourth character on, so it has
///     at least one character, and that character may itself be a `\`:
///     "\\\x\share\f" has the server "\x". A text such as "\\server" without
///     a share separator has no server prefix at all.
///   - A text that is only server and share ("\\server\share") has an empty
///     path proper, which counts as slash style (it holds no `\`).
///
/// Ownership: nothing is allocated; the text belongs to the caller (in
/// practice to the derived object). Failure: nothing here fails or throws; a
/// null text counts as the empty text. Thread safety: a path property is a
/// plain value; concurrent reads are safe, writes need the caller's lock.
#ifndef KIV_PATHPROP_HPP
#define KIV_PATHPROP_HPP

#include <cstddef>
#include <cstdint>

#include "kiv_export.hpp"

/// The longest file name or directory text that the library's fixed
/// buffers hold, in characters (the buffers have one more byte for the NUL).
inline constexpr std::size_t KIV_PATH_MAX_LENGTH = 4096;

/// Name style value of slash-style texts (separator "/").
inline constexpr std::int32_t KIV_PATH_STYLE_SLASH = 1;
/// Name style value of backslash-style texts (separator `\`, drive letters).
inline constexpr std::int32_t KIV_PATH_STYLE_BACKSLASH = 0;

/// The form of a path text: its style, drive, server prefix and whether it
/// is absolute. Base of every file name and of KivClLocation.
class KIV_EXPORT KivClPathProperty {
 public:
  /// No text yet: full and path are null, style 1. Derived classes call
  /// init() on their own buffer; queries on an object without text answer
  /// as for the empty text.
  KivClPathProperty() noexcept : m_pszFull(nullptr), m_pszPath(nullptr), m_lStyle(1) {}

  /// Takes `text` as the whole text (not copied, not owned), finds where the
  /// path proper begins (after a server prefix "\\server\share", see
  /// determinePath) and sets the style from the path proper.
  /// \param text  the text to describe; null leaves the object without text
  void init(char* text) noexcept;

  /// The style of `text`: 0 (backslash) when it begins with a letter
  /// (isalpha) followed by ":"; otherwise 1 (slash) when it holds no `\`,
  /// else 0. A null text is style 1. Does not look at this object.
  std::int32_t getStyle(const char* text) const noexcept;

  /// The style of this object's text, as set by init().
  std::int32_t getStyle() const noexcept { return m_lStyle; }

  /// "/" when getStyle(text) is 1, else `\`. A constant text.
  const char* getPathSep(const char* text) const noexcept;

  /// The separator of this object's style: "/" for style 1, else `\`.
  const char* getPathSep() const noexcept { return m_lStyle == 1 ? "/" : "\\"; }

  /// True when the path proper is not empty and its second character is ":"
  /// (the letter itself is not checked here).
  bool hasDrive() const noexcept;

  /// True when there is a server prefix (path differs from full); otherwise,
  /// in slash style, when the path begins with "/"; in backslash style, when
  /// there is a drive and the third character of the path is `\`. A
  /// backslash-style text without drive or server ("\dir") is not absolute.
  bool isAbsolute() const noexcept;

  /// True when the path proper holds no `\`.
  bool isNormalized() const noexcept;

  /// Replaces every `\` of `text` by "/", in place. Null is ignored.
  static void normalizePath(char* text) noexcept;

  /// The whole text (null when init() was never given a text).
  const char* getFull() const noexcept { return m_pszFull; }

  /// Where the path proper begins: equal to getFull() unless the text has a
  /// server prefix, then at the `\` after the share name (or at the end of
  /// the text when the text is only server and share).
  const char* getPath() const noexcept { return m_pszPath; }

  /// Where the path proper of `text` begins, by the rule of determinePath;
  /// `text` itself when it has no server prefix. Null for null.
  static const char* findPathProper(const char* text) noexcept;

 protected:
  /// Sets path from full: after a server prefix, else at full.
  /// A server prefix is `\\`, a server name of at least one character, `\`,
  /// a share name; the path proper starts at the `\` after the share name,
  /// or at the end of the text when no such `\` follows.
  void determinePath() noexcept;

  /// Points this object at `newFull`, a copy of the text of `from`, with the
  /// path at the same offset and the same style. Used by copying derived
  /// classes so that no pointer refers to the source object's buffer.
  void rebase(char* newFull, const KivClPathProperty& from) noexcept;

  char* m_pszFull;        ///< the whole text (not owned)
  char* m_pszPath;        ///< the path proper, inside the same text
  std::int32_t m_lStyle;  ///< 1: slash style, 0: backslash style
};

#endif
