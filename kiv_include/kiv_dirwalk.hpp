/// \file
/// KIV Library: walking the entries of one directory.
///
/// A KivClDirectoryWalk visits the entries of one directory in the order in
/// which the system returns them, one at a time, and answers questions about
/// the current entry from a stat of it (symbolic links are followed). The
/// entries "." and ".." are visited like all others; callers pass over them
/// with the tests below. The walk is a thin handle over a platform walker
/// that it allocates through the memory manager.
///
/// The entry tests decide by NAME, deliberately, and must stay so:
/// ~~~
///   isSubDirectory     a directory whose first character is not "." and whose
///                      second character is not ".": "src" is one; ".", "..",
///                      ".git" and "a.b" are not;
///   isParentDirectory  a directory whose name starts with "..";
///   isCurrentDirectory a directory whose name is exactly ".";
///   isHidden           a regular file whose name starts with "."; directories
///                      are never hidden.
/// ~~~
/// "A directory" is an entry whose mode has the bit 0x4000, "a regular file"
/// one whose mode has the bit 0x8000. These are single bits, not the file
/// type as a whole, and stay so: a socket (type 0xC000) counts as both (a
/// socket named ".s" is a directory and hidden), a block device (0x6000) as a
/// directory.
/// Tree removal (KivClDirectory::removeAll) relies on these rules.
///
/// Errors go into the walk's own record (getLastError()):
/// ~~~
///   DIRWALK_COULD_NOT_INIT / IO_PROBLEM    the directory cannot be opened; the
///                                          walk is not valid from the start
///   DIRWALK_NO_CONTINUATION / IO_PROBLEM   reading failed in the middle
/// ~~~
/// The end of the directory is not an error. Nothing is thrown, except
/// KivClExceptionFatal by the constructors when no memory is left for the
/// walker.
///
/// Choices made here where the rules leave room:
///   - The path buffer holds 4096 + 1 + 256 bytes: any directory text of a
///     location followed by any entry name the system can return.
///   - Each entry is looked at with fstatat() relative to the open directory,
///     which names the same entry as stat() of the full path but does not
///     resolve the directory's path again for every entry.
///   - An entry whose stat fails (a dangling link) has the mode 0: it is
///     neither a directory nor a regular file, and isReadOnly() is true.
///   - When the walk is not valid (not started or ended), the name is the
///     empty text, the full path is the directory text, and every entry test
///     except isReadOnly() is false.
///   - The directory is opened with O_CLOEXEC, so a launched process does not
///     inherit it.
///
/// Ownership: the walk owns its walker and the open directory; both are
/// released by the destructor. The texts returned point into the walker and
/// change with each step. A walk cannot be copied. Thread safety: one walk
/// must not be used by two threads at once; separate walks are independent.
#ifndef KIV_DIRWALK_HPP
#define KIV_DIRWALK_HPP

#include "kiv_error.hpp"
#include "kiv_export.hpp"

class KivClLocation;
class KivClDirectory;
class KivClOSSDirectoryWalker;

/// A walk over the entries of one directory.
class KIV_EXPORT KivClDirectoryWalk {
 public:
  /// Opens the directory of `location` (the current directory "./" for the
  /// empty location) and stands on its first entry. Error:
  /// DIRWALK_COULD_NOT_INIT / IO_PROBLEM, then not valid.
  /// \throws KivClExceptionFatal when no memory for the walker is left.
  explicit KivClDirectoryWalk(const KivClLocation& location);
  /// As the constructor from a location, on the directory's location.
  explicit KivClDirectoryWalk(const KivClDirectory& directory);
  /// Closes the directory and frees the walker.
  ~KivClDirectoryWalk();

  KivClDirectoryWalk(const KivClDirectoryWalk&) = delete;
  KivClDirectoryWalk& operator=(const KivClDirectoryWalk&) = delete;

  /// True while the walk stands on an entry.
  bool isValid() const noexcept;
  /// Moves to the next entry; returns isValid(). Error (only when reading
  /// fails, not at the end): DIRWALK_NO_CONTINUATION / IO_PROBLEM.
  bool setToNext() noexcept;

  /// The current entry's full path: the directory text followed by the name.
  const char* getNameWithPath() const noexcept;
  /// The current entry's name.
  const char* getNameWithoutPath() const noexcept;

  /// The entry's mode has the directory bit (0x4000); see the banner for
  /// sockets and block devices.
  bool isDirectory() const noexcept;
  /// A directory whose name's first character is not "." and whose second
  /// character is not "." (so "a.b" and ".git" are not subdirectories).
  bool isSubDirectory() const noexcept;
  /// A directory whose name starts with "..".
  bool isParentDirectory() const noexcept;
  /// A directory whose name is exactly ".".
  bool isCurrentDirectory() const noexcept;
  /// An entry whose mode has the regular-file bit (0x8000) and whose name
  /// starts with ".".
  bool isHidden() const noexcept;
  /// The owner-write bit (0200) of the entry's mode is clear.
  bool isReadOnly() const noexcept;
  /// kivMatchesWildcardPattern(pattern, name, true): always case-sensitive.
  bool matchesWildcardPattern(const char* pattern) const noexcept;

  /// The walk's error record; cleared at construction.
  const _KivStError& getLastError() const noexcept { return m_error; }

 private:
  void construct(const KivClLocation& location);

  KivClOSSDirectoryWalker* m_pWalker;  ///< owned, from the memory manager
  _KivStError m_error;                 ///< where the walker reports
};

#endif
