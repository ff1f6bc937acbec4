// Replacing a file in one step, so that a failure never costs its contents.
//
// Writing over a file in place empties it first: a full disk, a file-size
// limit or a crash in the middle leaves a truncated file and no copy. A
// FileReplacement writes the new contents to a temporary file in the same
// directory and renames it over the file only once everything is on disk:
//
//   begin()   finds the file (a symbolic link is followed, and the file it
//             leads to is replaced while the link stays), refuses a file
//             that the caller may not write (even when the directory is
//             writable) or that is not a regular file, and creates the
//             temporary file ".<name>.XXXXXX" beside it: opened O_EXCL and
//             O_CLOEXEC, mode 0600 while an existing file is replaced (so
//             that its contents are never readable by more users than
//             before), or 0666 less the umask for a new file.
//   write()   appends bytes to the temporary file (descriptor() serves
//             callers that write otherwise, for example through a stream
//             opened on temporaryName()).
//   commit()  flushes the temporary file to disk (fsync), gives it the owner
//             and group of the file where the caller may set them (each is
//             kept when the system refuses it), then the file's permission
//             bits, closes it, renames it over the file and syncs the
//             directory, so that the rename itself survives a crash.
//   discard() (also the destructor, unless commit() succeeded) closes and
//             removes the temporary file; the file stays as it was.
//
// Until commit() has renamed the temporary file, the file is untouched;
// every failure before that leaves it intact and removes the temporary
// file. The rename is the last step that can fail: a failure to sync the
// directory after it is not reported, since the file has been replaced by
// then and nothing can take that back.
//
// What replacing gives up: the new file is a new inode, so hard links to the
// old one keep the old contents, and extended attributes and access control
// lists of the old file are not carried over.
//
// Errors: each step returns false and records which step failed, the errno
// of the failing call and the name it concerns (the file, or its directory
// when no file can be made there). Nothing throws; names longer than
// KIV_PATH_MAX_LENGTH fail with ENAMETOOLONG.
//
// Internal to the library, not installed, but exported from libkiv.so for
// the command-line tools built with it. Thread safety: one object per
// thread; the directory and the file must not be changed by others
// meanwhile (a file replaced by someone else between begin() and commit()
// is replaced again).
#ifndef KIV_FILESYSTEM_REPLACEFILE_HPP
#define KIV_FILESYSTEM_REPLACEFILE_HPP

#include <sys/types.h>

#include <cstddef>

#include "kiv_export.hpp"
#include "kiv_pathprop.hpp"

namespace kiv::detail {

/// A file about to be replaced by new contents; see the banner.
class KIV_EXPORT FileReplacement {
 public:
  /// The step that failed.
  enum class Step {
    NONE,       ///< nothing failed (yet)
    TARGET,     ///< the file may not be written, is not a regular file or
                ///< cannot be examined; failedName() is the file
    DIRECTORY,  ///< no temporary file can be created in the directory;
                ///< failedName() is the directory
    WRITE,      ///< writing, flushing, owning or closing the temporary file
                ///< failed; failedName() is the file
    REPLACE     ///< the rename failed; failedName() is the file
  };

  /// A replacement for the file `path` (copied); nothing is done yet.
  explicit FileReplacement(const char* path) noexcept;
  /// discard() unless commit() succeeded.
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  /// Checks the file and creates the temporary file (see the banner).
  bool begin() noexcept;
  /// Appends `size` bytes to the temporary file; interrupted and partial
  /// writes are completed.
  bool write(const void* data, std::size_t size) noexcept;
  /// Makes the temporary file the file (see the banner).
  bool commit() noexcept;
  /// Closes and removes the temporary file; the file stays as it was.
  void discard() noexcept;

  /// The descriptor of the temporary file (close-on-exec, open for reading
  /// and writing), -1 before begin() and after commit() or discard().
  int descriptor() const noexcept { return m_iFd; }
  /// The name of the temporary file; empty before begin().
  const char* temporaryName() const noexcept { return m_szTemporary; }
  /// The file that is replaced: the name given, or the file a symbolic
  /// link of that name leads to.
  const char* targetName() const noexcept { return m_szTarget; }
  /// True when the file existed at begin().
  bool existed() const noexcept { return m_fExisted; }

  /// The step that failed last (NONE when none).
  Step failedStep() const noexcept { return m_enFailedStep; }
  /// The errno of that failure.
  int systemError() const noexcept { return m_iSystemError; }
  /// The file or directory that failure concerns.
  const char* failedName() const noexcept;

 private:
  bool fail(Step step, int error) noexcept;
  bool findTarget() noexcept;
  bool createTemporary() noexcept;
  bool takeOverAttributes() noexcept;

  char m_szPath[KIV_PATH_MAX_LENGTH + 1];
  char m_szTarget[KIV_PATH_MAX_LENGTH + 1];
  char m_szDirectory[KIV_PATH_MAX_LENGTH + 1];
  char m_szTemporary[KIV_PATH_MAX_LENGTH + 1];
  int m_iFd;
  bool m_fExisted;
  bool m_fCommitted;
  mode_t m_uMode;
  uid_t m_uOwner;
  gid_t m_uGroup;
  Step m_enFailedStep;
  int m_iSystemError;
};

}  // namespace kiv::detail

#endif  // KIV_FILESYSTEM_REPLACEFILE_HPP
