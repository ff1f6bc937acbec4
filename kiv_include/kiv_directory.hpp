/// \file
/// KIV Library: directories.
///
/// A KivClDirectory is a directory in the file system: a KivClLocation
/// (kiv_location.hpp) made absolute and normalised to slash style, with
/// operations that create the directory (with every missing parent), remove
/// it (alone or with its whole tree), make it the current directory, and walk
/// up and down by attaching and detaching components. Relative texts are
/// expanded against the current directory or, for "~/", against "HOME" (see
/// KivClFileABase::expandRelativePath in kiv_fileabase.hpp for the rules).
///
/// Errors: every operation that can fail returns bool and keeps the reason in
/// the object's last-error record (getLastError()); success clears it. A
/// failing operation leaves the text unchanged, except that create() may have
/// made some of the leading directories before it failed. Nothing throws.
///
/// ~~~
///   operation                  id                            class
///   construction, expansion,   DIRECTORY_EXPANSION_FAILED    IO_INVALID_NAME
///     attachSubDir
///   construction () when the   DIRECTORY_EXPANSION_FAILED    IO_NOT_EXISTENT
///     current directory is unknown
///   create                     DIRECTORY_COULD_NOT_CREATE    IO_NOT_EXISTENT
///   setAsCurrent               DIRECTORY_COULD_NOT_CHANGE    IO_NOT_EXISTENT
///   detachLastSubDir,          DIRECTORY_COULD_NOT_DETACH    LOGIC
///     detachSubDirs
///   removeAll, remove          DIRECTORY_COULD_NOT_REMOVE    IO_INVALID_NAME when the
///                                                            directory does not exist,
///                                                            else IO_STILL_IN_USE
/// ~~~
///
/// Removing a tree (removeAll(true)) walks the directory's entries in the
/// order the system returns them and, deliberately, decides by name what to
/// descend into (see KivClDirectoryWalk::isSubDirectory): a directory whose
/// first or second character is a dot (".git", "a.b") is not descended into
/// but handed to the platform's remove(), which removes it only when it is
/// empty. The first entry that cannot be removed ends the whole removal
/// silently; the final rmdir then fails and reports IO_STILL_IN_USE. The
/// entries "." and ".." are passed over: they are never removed and never end
/// the removal.
///
/// Choices made here where the rules leave room:
///   - Tree removal never follows a symbolic link: a link to a directory is
///     removed as a link, the directory it points to is left alone. An entry
///     that the walk counts as a directory by its mode bits without being one
///     (a socket, a device) is removed as an entry, never walked into. Entry
///     names are used as they are, never expanded, so a directory named
///     "ab.." is removed as such and never taken for the parent.
///   - The default constructor reports DIRECTORY_EXPANSION_FAILED /
///     IO_NOT_EXISTENT and keeps the empty text when the current directory
///     cannot be determined (it was removed, or its name is longer than 4096
///     characters). create() on the empty text fails.
///   - attachSubDir() turns the `\` of the attached text into "/", as every
///     constructor does, and fails (text unchanged) when the result would be
///     longer than 4096 characters.
///   - detachLastSubDir() also fails with DIRECTORY_COULD_NOT_DETACH / LOGIC
///     when the text has no component to remove (the empty text).
///   - create(mode, mask) uses only the permission bits (0777) of the mask.
///   - A race in create(): a directory that appears between the existence
///     test and mkdir (EEXIST) counts as created.
///   - The time queries pass the text without its trailing "/", except for the
///     root "/", which is passed as it is.
///
/// Deliberately unusual, kept so:
///   - create() tests each prefix only for existence: when the last component
///     exists as a file, create() succeeds.
///   - isDirectory() is always true and isFile() always false, whatever the
///     file system holds.
///
/// Ownership: no heap memory; the text lives in the object. Tree removal
/// allocates one walker per directory level through the memory manager
/// (which throws KivClExceptionFatal when memory is exhausted).
/// Thread safety: an object must not be used by two threads at once; the
/// current directory and "HOME" are process-wide.
#ifndef KIV_DIRECTORY_HPP
#define KIV_DIRECTORY_HPP

#include <cstdint>

#include "kiv_error.hpp"
#include "kiv_export.hpp"
#include "kiv_fileabase.hpp"
#include "kiv_location.hpp"

/// A directory in the file system, absolute after construction.
class KIV_EXPORT KivClDirectory : public KivClFileABase {
 public:
  /// The current working directory (getcwd), ending with "/". See the banner
  /// for a current directory that cannot be determined.
  KivClDirectory() noexcept;

  /// The location made from `text` with normalising (`\` becomes "/"),
  /// error cleared, then expanded when it is relative.
  /// Error: DIRECTORY_EXPANSION_FAILED / IO_INVALID_NAME (text kept as given).
  explicit KivClDirectory(const char* text) noexcept;

  /// A copy of `location` with every `\` of its path turned into "/" and its
  /// style determined again, then expanded when it is relative.
  /// Error: as the constructor from a text.
  explicit KivClDirectory(const KivClLocation& location) noexcept;

  /// A copy: same text, same last error.
  KivClDirectory(const KivClDirectory& other) noexcept;
  /// Takes the text and the last error of `other`.
  KivClDirectory& operator=(const KivClDirectory& other) noexcept;
  ~KivClDirectory() override;

  /// The directory text, ending with "/".
  operator const char*() const noexcept override { return m_location.getAsCString(); }
  /// The directory text, ending with "/".
  const char* getAsCString() const noexcept override { return m_location.getAsCString(); }
  /// access(text, F_OK) succeeds.
  bool isExistent() const noexcept override;
  /// Always true.
  bool isDirectory() const noexcept override { return true; }
  /// Always false.
  bool isFile() const noexcept override { return false; }
  /// removeAll(false).
  bool remove() noexcept override;

  using KivClFileABase::getDateTimeOfCreation;
  using KivClFileABase::getDateTimeOfLastAccess;
  using KivClFileABase::getDateTimeOfLastModification;
  /// Status-change time of the directory (seconds since the epoch, 0 when
  /// stat fails).
  std::int64_t getDateTimeOfCreation() const noexcept override;
  /// Last access time of the directory (0 when stat fails).
  std::int64_t getDateTimeOfLastAccess() const noexcept override;
  /// Last modification time of the directory (0 when stat fails).
  std::int64_t getDateTimeOfLastModification() const noexcept override;

  /// create(0777).
  bool create() noexcept;
  /// Creates every missing directory of the text, from the first component
  /// on, with mkdir(prefix, mode) (the umask applies). An existing directory
  /// is not an error. Error: DIRECTORY_COULD_NOT_CREATE / IO_NOT_EXISTENT;
  /// the directories made before the failure stay.
  bool create(std::uint32_t mode) noexcept;
  /// create(mode), then chmod(text, (0777 - mask) & mode), so that the
  /// directory itself gets those bits whatever the umask. Returns the result
  /// of the creation; the result of chmod is ignored.
  bool create(std::uint32_t mode, std::uint32_t mask) noexcept;

  /// chdir(text). Error: DIRECTORY_COULD_NOT_CHANGE / IO_NOT_EXISTENT.
  bool setAsCurrent() noexcept;

  /// Appends the path proper of `location` (normalised) to this text and
  /// expands the result when it is relative, which also restores the
  /// trailing separator: "/a/" with "b/c" gives "/a/b/c/", with "../" gives
  /// "/". Error: DIRECTORY_EXPANSION_FAILED / IO_INVALID_NAME, text unchanged.
  bool attachSubDir(const KivClLocation& location) noexcept;

  /// Removes the last component: "/a/b/" becomes "/a/". A root cannot be
  /// detached from. Error: DIRECTORY_COULD_NOT_DETACH / LOGIC.
  bool detachLastSubDir() noexcept;
  /// detachLastSubDir() `count` times; stops at the first failure (its error
  /// is kept, the components detached before it stay detached). True, with
  /// the error cleared, otherwise (also for a count of 0).
  bool detachSubDirs(std::uint32_t count) noexcept;

  /// The number of "/" in the path proper minus 1: "/a/b/" has 2, "/" has
  /// 0 (and the empty text 0).
  std::uint32_t getNumOfSubDirs() const noexcept;

  /// When `recursive`, first removes the tree below (see the banner), then
  /// rmdir(text). Error: DIRECTORY_COULD_NOT_REMOVE with IO_INVALID_NAME
  /// when the directory does not exist (ENOENT), else IO_STILL_IN_USE.
  /// May throw KivClExceptionFatal only when memory for a walker cannot be
  /// had.
  bool removeAll(bool recursive);

  /// KivClFileABase::isRelativePath(text).
  static bool isRelativeDirectory(const char* text) noexcept {
    return KivClFileABase::isRelativePath(text);
  }
  /// KivClFileABase::expandRelativePath(buffer).
  static bool expandRelativeDirectory(char* buffer) noexcept {
    return KivClFileABase::expandRelativePath(buffer);
  }
  /// Expands this text in place when it is relative; always ends by setting
  /// the location up again (init(false)). Error: DIRECTORY_EXPANSION_FAILED /
  /// IO_INVALID_NAME, text unchanged.
  bool expandRelativeDirectory() noexcept;

  /// The directory as a location.
  const KivClLocation& getLocation() const noexcept { return m_location; }
  /// The result of the last operation; both fields 0 after a success.
  const _KivStError& getLastError() const noexcept { return m_error; }

 private:
  /// Removes everything below `work` (see the banner). The text of `work` is
  /// extended by each subdirectory's name while its tree is removed and cut
  /// back afterwards. Returns false when the removal was stopped.
  static bool removeTree(KivClDirectory& work);

  /// Replaces the text by `text` (which ends with "/") and sets it up again.
  /// Returns false, changing nothing, when it does not fit.
  bool takeText(const char* text) noexcept;

  KivClLocation m_location;  ///< the directory, absolute after construction
  _KivStError m_error;       ///< result of the last operation
};

#endif
