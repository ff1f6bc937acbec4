/// \file
/// KIV Library: files.
///
/// A KivClFile is a file in the file system, named by a file name
/// (kiv_filename.hpp) that it holds as a value. It answers questions about the
/// file (existence, size, type, hidden, read-only, times) and performs the few
/// operations the library needs: copy, remove, rename and making read-only.
/// It implements KivClFileABase (kiv_fileabase.hpp); executables, message
/// catalogs and INI files derive from it.
///
/// Errors: copyTo, remove and renameAs return bool and keep the reason in the
/// object's last-error record (getLastError()); success clears it. The name
/// is left unchanged by every failure. Nothing throws.
///
/// ~~~
///   operation   id                         class
///   copyTo      FILE_COULD_NOT_COPY_SELF   INCONSISTENT_SITUATION  source and target are the
///                                                                  same file
///               FILE_COULD_NOT_COPY        IO_READ_PROBLEM         the source cannot be opened
///               FILE_COULD_NOT_COPY        IO_WRITE_PROBLEM        the target cannot be opened,
///                                                                  a write OR A READ failed
///   remove      FILE_COULD_NOT_REMOVE      IO_NOT_EXISTENT when there is no such file,
///                                          else IO_PERMISSION_DENIED
///   renameAs    FILE_COULD_NOT_RENAME      IO_ALREADY_IN_USE when the target exists,
///                                          else IO_PERMISSION_DENIED
/// ~~~
///
/// Deliberately unusual, kept so:
///   - A read error during a copy reports IO_WRITE_PROBLEM, like a failed
///     write. A partly written target is left in place.
///   - remove() first makes the file writable (setReadOnly(false), mode 0660),
///     so that read-only files go too; this mode stays when the removal then
///     fails.
///   - isDirectory() is always false and isFile() always true, whatever the
///     file system holds.
///   - A file name that already has an extension keeps it: the default
///     extension is only given to names without one.
///
/// Choices made here where the rules leave room:
///   - copyTo also refuses, as a self-copy, a target that is the same file
///     under another name (a hard link, a path through "." or a link), found
///     by device and inode; truncating it would destroy the source.
///   - keepMode copies the permission bits (0777) of the source.
///   - Writes are completed when the system writes part of a chunk; a write
///     that makes no progress fails the copy. A failing close of the target
///     also fails the copy (IO_WRITE_PROBLEM). Interrupted calls are retried.
///   - determineFileInEnvVarPath takes each entry of the variable as it is:
///     an entry of more than 4096 characters is cut. The variable is read
///     through KivClEnvironmentVariableQueryOnly, so a name longer than 40
///     characters names no variable (the search then finds nothing).
///
/// Ownership: the file name is copied into the object; texts returned point
/// into it. Descriptors opened by copyTo are closed before it returns (and are
/// opened with O_CLOEXEC). Thread safety: an object must not be used by two
/// threads at once; determineFileInEnvVarPath reads the process environment.
#ifndef KIV_FILE_HPP
#define KIV_FILE_HPP

#include <cstdint>
#include <iosfwd>

#include "kiv_error.hpp"
#include "kiv_export.hpp"
#include "kiv_fileabase.hpp"
#include "kiv_filename.hpp"

class KivClLocation;

/// A file in the file system, named by a file name.
class KIV_EXPORT KivClFile : public KivClFileABase {
 public:
  /// Copies the name and clears the error. When the name has no extension
  /// and `defaultExtension` is not null, the name gets that extension (with
  /// or without its leading dot): "notes" with "txt" names "notes.txt",
  /// "notes.md" stays.
  explicit KivClFile(const KivClFilenameABase& filename,
                     const char* defaultExtension = nullptr) noexcept;

  /// A copy: same name, same last error.
  KivClFile(const KivClFile& other) noexcept;
  /// Takes the name and the last error of `other`.
  KivClFile& operator=(const KivClFile& other) noexcept;
  ~KivClFile() override;

  /// The name text.
  operator const char*() const noexcept override { return m_filename.getAsCString(); }
  /// The name text.
  const char* getAsCString() const noexcept override { return m_filename.getAsCString(); }
  /// access(name, F_OK) succeeds.
  bool isExistent() const noexcept override { return m_filename.isExistent(); }
  /// Always false.
  bool isDirectory() const noexcept override { return false; }
  /// Always true.
  bool isFile() const noexcept override { return true; }

  /// Makes the file writable (setReadOnly(false)), then unlink(name).
  /// Error: FILE_COULD_NOT_REMOVE / IO_NOT_EXISTENT (ENOENT), else
  /// IO_PERMISSION_DENIED.
  bool remove() noexcept override;

  using KivClFileABase::getDateTimeOfCreation;
  using KivClFileABase::getDateTimeOfLastAccess;
  using KivClFileABase::getDateTimeOfLastModification;
  /// Status-change time of the file (seconds since the epoch, 0 when stat
  /// fails).
  std::int64_t getDateTimeOfCreation() const noexcept override;
  /// Last access time of the file (0 when stat fails).
  std::int64_t getDateTimeOfLastAccess() const noexcept override;
  /// Last modification time of the file (0 when stat fails).
  std::int64_t getDateTimeOfLastModification() const noexcept override;

  /// The name part starts with ".".
  bool isHidden() const noexcept;
  /// access(name, W_OK) fails (also for a file that does not exist).
  bool isReadOnly() const noexcept;
  /// st_size from stat, 0 when stat fails.
  std::uint64_t getFileSize() const noexcept;
  /// The extension without its dot ("gz" for "archive.tar.gz"), or the
  /// empty text when the name has none. Points into the object.
  const char* getFileType() const noexcept;

  /// chmod(name, readOnly ? 0440 : 0660). Returns chmod's result (0 or -1)
  /// and leaves the error record untouched.
  int setReadOnly(bool readOnly) noexcept;

  /// Copies the file to `target` in chunks of 1024 bytes; the target is
  /// created (mode 0777 less the umask) or truncated. With `keepMode` the
  /// target gets the source's permission bits. See the banner for errors.
  bool copyTo(const KivClFilenameABase& target, bool keepMode = false) noexcept;
  /// copyTo the name made of `location` and this file's name part.
  bool copyTo(const KivClLocation& location, bool keepMode = false) noexcept;

  /// rename(name, target); on success this object takes the target name.
  /// Error: FILE_COULD_NOT_RENAME / IO_ALREADY_IN_USE when the target exists
  /// after the refusal, else IO_PERMISSION_DENIED.
  bool renameAs(const KivClFilenameABase& target) noexcept;

  /// Searches the entries of the list variable `variableName` (separated by
  /// ":"; empty entries are skipped) for the name part of `filename`: each
  /// entry in turn becomes its directory (name and extension kept), and the
  /// first that exists ends the search with true. When none exists, returns
  /// false and `filename` keeps the last entry as its directory; when the
  /// variable is not set or has no entry, false and `filename` unchanged.
  /// Does not look at this object's own name.
  bool determineFileInEnvVarPath(KivClFilename& filename, const char* variableName) const;

  /// The file's name.
  const KivClFilename& getFilename() const noexcept { return m_filename; }
  /// The result of the last operation; both fields 0 after a success.
  const _KivStError& getLastError() const noexcept { return m_error; }

 protected:
  KivClFilename m_filename;  ///< the file's name
  _KivStError m_error;       ///< result of the last operation
};

/// True: this platform makes no difference between text and binary files,
/// so every stream is in binary mode.
KIV_EXPORT bool kivFileIsOpenedInBinaryMode(const std::istream& stream);
/// True (see the input-stream form).
KIV_EXPORT bool kivFileIsOpenedInBinaryMode(const std::ostream& stream);
/// True: every stream is also in text mode on this platform.
KIV_EXPORT bool kivFileIsOpenedInTextMode(const std::istream& stream);
/// True (see the input-stream form).
KIV_EXPORT bool kivFileIsOpenedInTextMode(const std::ostream& stream);

extern "C" {
/// True: files are opened in binary mode on this platform.
KIV_EXPORT bool kivFileIsOpenedInBinaryMode(void);
/// True: files are opened in text mode on this platform (the same mode).
KIV_EXPORT bool kivFileIsOpenedInTextMode(void);
}

#endif
