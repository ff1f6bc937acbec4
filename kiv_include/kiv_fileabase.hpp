/// \file
/// KIV Library: the common interface of directories and files.
///
/// KivClFileABase is the abstract interface that KivClDirectory
/// (kiv_directory.hpp) and KivClFile (kiv_file.hpp) share: the text of the
/// object, existence and kind, removal and three time stamps. Its static
/// operations are the path helpers both build on: the relative test, the
/// relative expansion of directory texts, and the time stamps of any text.
///
/// Relative expansion (expandRelativePath) turns a slash-style directory
/// text that ends with "/" into an absolute one:
///   - "~" at the start of the path is replaced by the value of "HOME": the
///     first two characters of the path ("~/") are dropped, whatever the
///     second one is ("~ab/" gives HOME + "/b/"). When "HOME" is not set,
///     the result starts EMPTY and "~" is an ordinary component: "~/x/" then
///     expands to "/~/x/", not to a directory below the current one. Kept so.
///     The value of "HOME" is taken exactly as it is, a trailing "/"
///     included, and the result is not normalised further: with
///     "HOME=/home/u/" the text "~/x/" expands to "/home/u//x/", with
///     "HOME=/" to "//x/";
///   - a text that is not absolute is put after the current directory;
///   - each component is then copied, except that a component ending in "."
///     disappears and a component ending in ".." removes the last component of
///     the result. Only the one or two characters before each "/" are looked
///     at, so "a./" counts as "./" and "a../" as "../": this is deliberate.
///   - ".." fails only when the result has no component left to remove at that
///     moment: "/a/../" expands to "/", "/../" fails.
///   - anything after the last "/" of the input is dropped and the result ends
///     with "/".
/// A failed expansion writes the empty text into the buffer and returns false.
///
/// Choices made here where the rules leave room:
///   - The expansion also fails when the current directory cannot be
///     determined (it was removed, or its name is too long) and when the
///     result would be longer than 4096 characters.
///   - A server prefix ("\\server\share") before the path proper is kept;
///     the expanded path is written after it. Directory texts are normalised
///     before they are expanded, so the path proper after such a prefix begins
///     at the first `\` or, failing that, the first "/" after the share name.
///   - The one or two characters looked at belong to the component itself:
///     an empty component ("//") is copied as it is, and a one-character
///     component "." never looks at the character before it.
///   - The buffer is expected to hold a slash-style text; a `\` is an ordinary
///     character of a component there.
///
/// Ownership: the statics work on the caller's buffer, which must hold
/// KIV_PATH_MAX_LENGTH + 1 bytes for expandRelativePath. Failure: the statics
/// answer through their result (false, 0); nothing throws. Thread safety: the
/// statics read the process environment ("HOME") and the current directory,
/// which other threads must not change meanwhile.
#ifndef KIV_FILEABASE_HPP
#define KIV_FILEABASE_HPP

#include <cstdint>

#include "kiv_export.hpp"

/// The abstract interface of file-system objects (directories and files).
class KIV_EXPORT KivClFileABase {
 public:
  virtual ~KivClFileABase();

  /// The object's text (a directory text or a file name); never null.
  virtual operator const char*() const = 0;
  /// The object's text (a directory text or a file name); never null.
  virtual const char* getAsCString() const = 0;
  /// True when the object exists in the file system.
  virtual bool isExistent() const = 0;
  /// True for directories, whatever the file system says.
  virtual bool isDirectory() const = 0;
  /// True for files, whatever the file system says.
  virtual bool isFile() const = 0;
  /// Removes the object from the file system; false on failure (the
  /// object's error record tells why).
  virtual bool remove() = 0;
  /// Status-change time in seconds since the epoch, 0 when unknown.
  virtual std::int64_t getDateTimeOfCreation() const = 0;
  /// Last access time in seconds since the epoch, 0 when unknown.
  virtual std::int64_t getDateTimeOfLastAccess() const = 0;
  /// Last modification time in seconds since the epoch, 0 when unknown.
  virtual std::int64_t getDateTimeOfLastModification() const = 0;

  /// True when `text` is not absolute or contains "./" anywhere (so
  /// "/a/../b/" counts as relative and is expanded). False for null.
  static bool isRelativePath(const char* text) noexcept;

  /// Expands the directory text in `buffer` in place (see the banner). The
  /// text should end with "/"; anything after its last "/" is dropped.
  /// \param buffer  a text in a buffer of KIV_PATH_MAX_LENGTH + 1 bytes
  /// \returns true on success; false (and the empty text in the buffer)
  ///          when a ".." has nothing to remove, the current directory is
  ///          unknown or the result does not fit. Null gives false.
  static bool expandRelativePath(char* buffer) noexcept;

  /// The status-change time (st_ctime of stat) of `text`, 0 when stat fails.
  static std::int64_t getDateTimeOfCreation(const char* text) noexcept;
  /// The access time (st_atime of stat) of `text`, 0 when stat fails.
  static std::int64_t getDateTimeOfLastAccess(const char* text) noexcept;
  /// The modification time (st_mtime of stat) of `text`, 0 when stat fails.
  static std::int64_t getDateTimeOfLastModification(const char* text) noexcept;

 protected:
  KivClFileABase() noexcept = default;
  /// Lets directories and files be copied; the base holds no state.
  KivClFileABase(const KivClFileABase&) noexcept = default;
  /// Lets directories and files be assigned; the base holds no state.
  KivClFileABase& operator=(const KivClFileABase&) noexcept = default;
};

#endif
