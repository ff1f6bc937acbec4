/// \file
/// KIV Library: locations, the names of directories as values.
///
/// A KivClLocation holds a directory text in a fixed buffer of
/// KIV_PATH_MAX_LENGTH + 1 bytes (at most 4096 characters and the NUL). The
/// text always ends with the separator of its style ("/" in slash style, `\`
/// in backslash style) unless it is empty: "/usr/lib" reads "/usr/lib/", ""
/// stays "". A location knows nothing about the file system beyond the two
/// queries isExistent() and isRoot(); KivClDirectory (kiv_directory.hpp)
/// turns a location into a directory that can be created, entered and
/// removed.
///
/// Normalising (the `normalize` argument of the constructors) turns every `\`
/// of the path proper into "/" after the separator was appended and then
/// determines the style again: "a\b" becomes "a/b/" in slash style. A server
/// prefix ("\\server\share") keeps its backslashes. A text that starts with a
/// drive ("C:\dir") stays in backslash style after normalising, because the
/// style of such a text is decided by its drive.
///
/// Choices made here where the rules leave room:
///   - Every copying constructor cuts its text at 4096 characters. When a text
///     of exactly 4096 characters does not end with its separator, there is no
///     room to append one and the text is kept as it is (such a text is longer
///     than the system accepts as a directory name anyway).
///   - A null text counts as the empty text.
///
/// Ownership: nothing is allocated; getAsCString() points into the object.
/// Copying copies the text and re-bases the pointers of the path property onto
/// the copy's own buffer. Failure: nothing here reports an error; isExistent()
/// answers false for names that cannot be reached. Nothing throws.
/// Thread safety: a location is a plain value; concurrent reads are safe.
#ifndef KIV_LOCATION_HPP
#define KIV_LOCATION_HPP

#include <cstddef>
#include <cstdint>

#include "kiv_export.hpp"
#include "kiv_pathprop.hpp"

class KivClFilenameABase;
class KivClDirectory;

/// The name of a directory: a path text that ends with its separator.
class KIV_EXPORT KivClLocation : public KivClPathProperty {
 public:
  /// The empty location (empty text, style 1).
  KivClLocation() noexcept;

  /// Copies at most 4096 characters of `text`, then init(normalize).
  explicit KivClLocation(const char* text, bool normalize = false) noexcept;

  /// Copies the first `count` bytes of `bytes` (fewer when a NUL comes
  /// first; a count above 4096 is taken as 4096), terminates the text there,
  /// then init(normalize).
  KivClLocation(const char* bytes, std::size_t count, bool normalize) noexcept;

  /// The directory part of `filename`: its text from the start (server
  /// prefix included) up to its name part, then init(normalize). A file name
  /// without a directory part gives the empty location.
  explicit KivClLocation(const KivClFilenameABase& filename, bool normalize = false) noexcept;

  /// Copies text, style and length; the pointers refer to the copy.
  KivClLocation(const KivClLocation& other) noexcept;
  /// Copies text, style and length; the pointers refer to this object.
  KivClLocation& operator=(const KivClLocation& other) noexcept;
  /// Copies at most 4096 characters of `text`, then init(false).
  KivClLocation& operator=(const char* text) noexcept;

  /// Sets up the path property on the text, appends the style's separator
  /// when the text is not empty and does not end with it, and, when
  /// `normalize` is true, replaces every `\` of the path proper by "/" and
  /// determines the style again.
  void init(bool normalize) noexcept;

  /// access(text, F_OK) succeeds. The empty location does not exist.
  bool isExistent() const noexcept;

  /// True for an absolute text that names a root: "/" (exactly one
  /// character) without server prefix and drive; a drive letter, ":" and the
  /// separator (exactly three characters) with a drive; a path proper of
  /// exactly one character after a server prefix.
  bool isRoot() const noexcept;

  /// The directory text (never null).
  const char* getAsCString() const noexcept { return m_szText; }
  /// Number of characters of the text.
  std::uint32_t getLength() const noexcept { return m_ulLength; }

 private:
  // The directory edits its location in place (expansion, attaching and
  // detaching components, temporary cuts while creating a tree).
  friend class KivClDirectory;

  /// Copies at most 4096 characters of `text` into the buffer (no init).
  void assign(const char* text, std::size_t count) noexcept;

  char m_szText[KIV_PATH_MAX_LENGTH + 1];  ///< the directory text, NUL-terminated
  std::uint32_t m_ulLength;                ///< characters in m_szText
};

#endif
