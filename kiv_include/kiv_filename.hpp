/// \file
/// KIV Library: file names, temporary names and backup names.
///
/// A file name is a value object: the whole name text in a fixed buffer of
/// KIV_PATH_MAX_LENGTH + 1 bytes (at most 4096 characters and the NUL) and
/// pointers into it:
/// ~~~
///   full       start of the text (from KivClPathProperty)
///   path       start of the path proper, after a server prefix
///   name       first character of the file's own name (base and extension)
///   extension  the last "." of the name, or the terminating NUL
/// ~~~
/// with full <= path <= name <= extension <= text + length. Comparisons,
/// extraction of parts, renaming of parts, temporary and backup names all
/// work on these pointers. Both name styles of KivClPathProperty are handled
/// (slash style "/" and backslash style `\` with drive letters and server
/// prefixes), decided from the text itself.
///
/// Part determination, after every change of the text:
///   - name follows the last "/" of the path proper; only when the path holds
///     no "/" at all, the last `\`; else name is the path. So in "a/b\c" the
///     name part is "b\c".
///   - extension is the last "." at or after name, else the NUL: "a.tar.gz"
///     has the extension ".gz"; ".profile" has an empty base name and the
///     extension ".profile"; "/usr/lib/" has an empty name part.
///
/// Composition (three-part constructors, setNewName, setNewPath, setNew):
/// the directory text is copied first and sets the style and server prefix
/// on its own; the style's separator ("/" or `\`) is appended unless the
/// directory is empty or already ends with it; then the name, then "." (if
/// the extension does not begin with one) and the extension. "dir" + "f" +
/// "txt" and "dir/" + "f" + ".txt" both give "dir/f.txt"; "" + "f" gives "f".
/// The style is NOT looked at again after the name is added.
///
/// Copying copies the text and re-bases every pointer onto the copy's own
/// buffer: a copy never refers to the original. No heap memory is used; a
/// file name lives on the stack and is about 4.1 KB.
///
/// Choices made here where the rules leave room:
///   - A null text counts as the empty text everywhere; a null buffer given to
///     an extract function makes it do nothing (and return false).
///   - Nothing ever writes past the buffer: every text is cut at 4096
///     characters. This includes the extension of a composition, the ".bak"
///     of a backup name and a generated temporary name whose directory leaves
///     less than 12 characters of room (such a text is longer than the system
///     accepts as a path anyway).
///   - An empty extension in a composition counts as no extension ("f", not
///     "f."). setNewExtension(".") removes the extension like "" does, since
///     an extension given with or without its dot gives the same result.
///   - Temporary names: the search for an unused name gives up after
///     KIV_TMPNAME_MAX_ATTEMPTS draws (every name of a full directory is
///     taken); the object then holds the last name drawn, which exists, and
///     isExistent() tells the caller so.
///   - isStyleFAT_8_3() scans from the path proper on: the server and share
///     names of a server prefix are not checked against the 8.3 rules.
///
/// Deliberately unusual, kept so:
///   - The extension of a temporary name is the process id's last three
///     decimal digits in REVERSE order: process 12345 gives ".543".
///   - A temporary name is written over the NAME PART of the composed
///     directory and prefix, not where the prefix began. A prefix holding a
///     separator therefore repeats its directory: directory "d" with prefix
///     "sub/x" gives "d/sub/sub/x" and three random characters; and in a
///     directory that mixes "/" and `\` ("d/a\b", backslash style) the name
///     part starts after the last "/", so "d/a\b" with "t" gives "d/t...".
///   - A backup name appends ".bak" to the whole text without moving the
///     extension: the extension of "a.txt.bak" reads ".txt.bak", of "a.bak"
///     made from "a" it reads ".bak".
///   - setNewExtension keeps the extension where it was written: after
///     setNewExtension("tar.gz") the extension reads ".tar.gz".
///   - setNewBaseName with a base that holds a dot: the dot starts the
///     extension that the old extension then replaces ("x.txt" with base
///     "a.b" becomes "a.txt").
///   - isStyleFAT_8_3() is never true for slash-style names.
///   - A directory of server and share alone ("\\srv\share") has an empty
///     path proper, which counts as slash style: composing a name after it
///     adds "/" ("\\srv\share/f").
///
/// Ownership: every text returned points into the object (or is a constant
/// of the library) and must not be freed; extract functions write into the
/// caller's buffer, which must hold KIV_PATH_MAX_LENGTH + 1 bytes. Failure:
/// nothing here reports an error; overlong input is cut as described, and
/// existence tests answer false for names that cannot be reached. Nothing
/// throws. Thread safety: file names are plain values; kivGetTmpDirectory
/// reads the process environment and the temporary-name constructors read it
/// through kivGetTmpDirectory, so they must not run while another thread
/// changes the environment.
#ifndef KIV_FILENAME_HPP
#define KIV_FILENAME_HPP

#include <cstddef>
#include <cstdint>

#include "kiv_export.hpp"
#include "kiv_pathprop.hpp"

class KivClLocation;
class KivClTmpFilename;

/// How many names a temporary-name constructor draws at most before it
/// gives up and keeps the last one (see the banner).
inline constexpr std::uint64_t KIV_TMPNAME_MAX_ATTEMPTS = 1000000;

/// The common part of every file name: the text, the part pointers and the
/// read-only operations. Instances are plain values (no virtual operations).
class KIV_EXPORT KivClFilenameABase : public KivClPathProperty {
 public:
  /// The empty name: empty text, style 1, name and extension at the start
  /// of the text, length 0.
  KivClFilenameABase() noexcept;

  /// Copies at most 4096 characters of `text` (null: the empty text), then
  /// determines the server prefix, the style and the parts.
  KivClFilenameABase(const char* text) noexcept;

  /// Copies the first `count` bytes of `bytes`, or fewer when a NUL comes
  /// first, and terminates the text at that point. A count above 4096 is
  /// taken as 4096.
  KivClFilenameABase(const char* bytes, std::size_t count) noexcept;

  /// Composes directory `path`, the style's separator, `name` and
  /// `extension` (see the banner). The name is cut so that the text stays
  /// within 4096 characters; null or empty `extension` means none.
  KivClFilenameABase(const char* path, const char* name, const char* extension) noexcept;

  /// Copies the text, style and length; the pointers refer to the copy.
  KivClFilenameABase(const KivClFilenameABase& other) noexcept;
  /// Copies the text, style and length; the pointers refer to this object.
  KivClFilenameABase& operator=(const KivClFilenameABase& other) noexcept;

  /// Compares this name's directory part (from the path proper up to the
  /// name part, trailing separator included) with as many characters of
  /// `other`'s path proper: case-insensitively (strncmpi) when this name is
  /// in backslash style, exactly in slash style. A name without directory
  /// part matches every other path.
  bool matchesPath(const KivClPathProperty& other) const noexcept;

  /// Compares the base names (name part without extension) over the longer
  /// of the two base lengths; case rule as matchesPath.
  bool matchesBase(const KivClFilenameABase& other) const noexcept;

  /// Compares the extension with `ext`. When `ext` does not begin with "."
  /// and this name has an extension, the comparison starts after this
  /// extension's dot, so "txt" and ".txt" both match "a.txt". strcmpi in
  /// backslash style ("A.TXT" matches "txt"), exact in slash style.
  bool matchesExtension(const char* ext) const noexcept;

  /// kivMatchesWildcardPattern(pattern, name part, case-sensitive in slash
  /// style, case-insensitive in backslash style).
  bool matchesWildcardPattern(const char* pattern) const noexcept;

  /// Writes the directory part into `buffer`: from the start of the text
  /// (server prefix included) up to the name part, without the trailing
  /// separator when `withSeparator` is false ("/f" then gives the empty
  /// text, yet true). Returns false and writes the empty text when there is
  /// no directory part (the name part starts at the path proper).
  bool extractPath(char* buffer, bool withSeparator) const noexcept;

  /// Writes the base name (name part without extension) into `buffer`.
  void extractBaseName(char* buffer) const noexcept;

  /// Writes the server prefix ("\\server\share") into `buffer` when the
  /// text begins with two backslashes, else the empty text.
  void extractServer(char* buffer) const noexcept;

  /// True when the name fits the 8.3 rules: backslash style; an extension
  /// of at most 4 characters with its dot; a base name of at most 8; a drive
  /// letter, if any, that is alphabetic; and from after the drive up to the
  /// extension no character of "<>:;.|/*" nor a double quote, and no
  /// directory component longer than 8 characters. Dots inside directory
  /// names therefore fail.
  bool isStyleFAT_8_3() const noexcept;

  /// access(text, F_OK) succeeds.
  bool isExistent() const noexcept;

  /// The whole text.
  const char* getAsCString() const noexcept { return m_szText; }
  /// The name part: base name and extension.
  const char* getName() const noexcept { return m_pszName; }
  /// The extension with its dot, or the empty text.
  const char* getExtension() const noexcept { return m_pszExtension; }
  /// Number of characters of the text.
  std::uint64_t getLength() const noexcept { return m_ulLength; }

 protected:
  /// Composes the text from the first `pathCount` characters of `path`
  /// (at most 4096), the separator, `name` and `extension`, then determines
  /// the parts. Returns the offset at which the name was placed. None of the
  /// arguments may point into this object's own buffer.
  std::size_t init(const char* path, std::size_t pathCount, const char* name,
                   const char* extension) noexcept;

  /// Recomputes length, name and extension from the text and the path.
  void determineParts() noexcept;

  char m_szText[KIV_PATH_MAX_LENGTH + 1];  ///< the whole name, NUL-terminated
  char* m_pszName;                         ///< name part, inside m_szText
  char* m_pszExtension;                    ///< last "." of the name, or the NUL
  std::uint64_t m_ulLength;                ///< characters in m_szText
};

/// A file name that can be changed part by part. Every change leaves a
/// consistent name; no operation fails (overlong results are cut).
class KIV_EXPORT KivClFilename : public KivClFilenameABase {
 public:
  using KivClFilenameABase::KivClFilenameABase;

  /// The empty name.
  KivClFilename() noexcept = default;
  /// A copy of any file name (also of temporary and backup names).
  KivClFilename(const KivClFilenameABase& other) noexcept : KivClFilenameABase(other) {}
  /// Copies the text, style and length; the pointers refer to the copy.
  KivClFilename(const KivClFilename& other) noexcept = default;

  /// Composes the location's text, `name` and `extension`, as the
  /// three-part constructor of KivClFilenameABase does.
  KivClFilename(const KivClLocation& location, const char* name, const char* extension) noexcept;

  /// Keeps the directory and replaces the name part (extension included) by
  /// `name`: the directory and `name` are composed again, with no extension.
  void setNewName(const char* name) noexcept;

  /// setNewName(base), then setNewExtension(old extension). See the banner
  /// for a base that holds a dot.
  void setNewBaseName(const char* base) noexcept;

  /// Writes "." and `ext` at the extension position (a leading dot of
  /// `ext` is skipped); an empty (or null, or ".") `ext` removes the
  /// extension. The extension position itself does not move.
  void setNewExtension(const char* ext) noexcept;

  /// Keeps the name part (with extension) and composes it with directory
  /// `text`, as the three-part constructor does.
  void setNewPath(const char* text) noexcept;
  /// Keeps the name part (with extension) and composes it with the
  /// location's text.
  void setNewPath(const KivClLocation& location) noexcept;

  /// Composes the location's text and `name` (no extension).
  void setNew(const KivClLocation& location, const char* name) noexcept;

  /// Moves the name part to the start of the text, so that no directory
  /// (and no server prefix) is left; the path proper and the name part then
  /// begin at the start, and the extension is determined again. The style
  /// stays. Nothing happens when there is no directory part.
  void removePath() noexcept;

  /// Copies the text, style and length; the pointers refer to this object.
  KivClFilename& operator=(const KivClFilename& other) noexcept = default;
  /// Takes a copy of a temporary name.
  KivClFilename& operator=(const KivClTmpFilename& other) noexcept;
  /// Takes a copy of any file name.
  KivClFilename& operator=(const KivClFilenameABase& other) noexcept;
};

/// A name for a temporary file that does not exist yet, made at
/// construction: directory, then exactly 8 characters (the first up to 5
/// characters of the prefix followed by random characters from
/// "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ@#!%_"), ".", and the last three
/// digits of the process id in reverse order. Names are drawn until one
/// does not exist. The name is only tested, not created: another process
/// may take it before the caller uses it.
class KIV_EXPORT KivClTmpFilename : public KivClFilenameABase {
 public:
  /// In kivGetTmpDirectory(), prefix "tmp".
  KivClTmpFilename();
  /// In kivGetTmpDirectory(), with `prefix` (null: no prefix).
  explicit KivClTmpFilename(const char* prefix);
  /// In `directory` (null or empty: no directory, a relative name).
  KivClTmpFilename(const char* directory, const char* prefix);
  /// In the location, prefix "tmp".
  explicit KivClTmpFilename(const KivClLocation& location);
  /// In the location, with `prefix`.
  KivClTmpFilename(const KivClLocation& location, const char* prefix);
  /// In the directory of `filename` (its text up to its name part).
  KivClTmpFilename(const KivClFilenameABase& filename, const char* prefix);

  /// A copy names the same file; no new name is drawn.
  KivClTmpFilename(const KivClTmpFilename& other) noexcept = default;
  /// Takes the name of `other`; no new name is drawn.
  KivClTmpFilename& operator=(const KivClTmpFilename& other) noexcept = default;

 private:
  void generate(const char* directory, std::size_t directoryCount, const char* prefix);
};

/// The backup name of a file name: its whole text followed by ".bak".
class KIV_EXPORT KivClBakFilename : public KivClFilenameABase {
 public:
  /// A copy of `filename` with ".bak" appended to the whole text ("a.txt"
  /// gives "a.txt.bak"); the extension position is not moved (see the
  /// banner). Cut at 4096 characters.
  explicit KivClBakFilename(const KivClFilenameABase& filename) noexcept;

  /// A copy of a backup name is the same backup name (nothing appended).
  KivClBakFilename(const KivClBakFilename& other) noexcept = default;
  /// Takes the backup name of `other` as it is (nothing appended).
  KivClBakFilename& operator=(const KivClBakFilename& other) noexcept = default;
};

extern "C" {
/// The directory for temporary files: the value of the environment variable
/// "TMP" when it is set (also when set to the empty text), else "/tmp". The
/// text belongs to the environment or the library; it stays valid until
/// "TMP" is changed.
KIV_EXPORT const char* kivGetTmpDirectory(void);
}

#endif
