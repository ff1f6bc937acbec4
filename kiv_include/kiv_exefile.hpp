/// \file
/// KIV Library: executable files.
///
/// A KivClExeFile is a KivClFile (kiv_file.hpp) whose name is completed when
/// it is made: a name without a directory is searched along a list variable,
/// "PATH" by default, and then carries the directory where it was found. The
/// launchers of kiv_process.hpp run the completed name as it is, with no
/// search of their own.
///
/// Completion, constructor from a name only:
///   - a name without a directory part is searched along "PATH"
///     (determinePath(false, "PATH"));
///   - a name with a directory part is kept as given, except when that file
///     does not exist and the variable "KIV_NEWPROCESS_USEPATH" is enabled
///     ("ON", "YES", "TRUE" or "1" in any case): then the directory is dropped
///     and the bare name is searched along "PATH".
/// Completion, constructor with default extension, search flag and variable:
/// the name gets the default extension when it has none; a name with a
/// directory part is kept as given, even when it does not exist; a bare name
/// goes through determinePath(searchCurrentDirectoryFirst, variable).
///
/// determinePath: with searchCurrentDirectoryFirst, a bare name that exists
/// in the current directory gets the current directory (absolute, from
/// getcwd) as its directory; otherwise the entries of the variable are tried
/// in order (empty entries skipped) and the first directory where the name
/// exists is taken. Either way the found-in-system-path flag is set. When
/// nothing is found the name is left bare (no directory), the flag is cleared
/// and the result is false. A bare name is NOT looked for in the current
/// directory unless searchCurrentDirectoryFirst says so: running it later
/// still finds it there, because the launchers run a bare name relative to the
/// current directory.
///
/// Deliberately unusual, kept so:
///   - The flag is named after the system path but is also set when the name
///     was found in the current directory or along another variable.
///   - Existence is all that is tested (access F_OK): a directory entry that
///     is not executable is found like any other.
///
/// Choices made here where the rules leave room:
///   - determinePath on a name that has a directory part searches for its
///     name part: the current directory is tested for the name part alone,
///     and the variable's entries replace the directory.
///
/// Ownership: the name is a value inside the object. Failure: nothing here
/// reports an error; a name that was not found is kept bare and the flag
/// tells so. Nothing throws. Thread safety: construction reads the process
/// environment and the current directory, which other threads must not change
/// meanwhile.
#ifndef KIV_EXEFILE_HPP
#define KIV_EXEFILE_HPP

#include "kiv_export.hpp"
#include "kiv_file.hpp"
#include "kiv_filename.hpp"

/// An executable file whose name is completed along a search path.
class KIV_EXPORT KivClExeFile : public KivClFile {
 public:
  /// Makes the file from `filename` with no default extension and completes
  /// it along "PATH" (see the banner; "KIV_NEWPROCESS_USEPATH" applies).
  explicit KivClExeFile(const KivClFilenameABase& filename);

  /// Makes the file from `filename`, giving it `defaultExtension` (null:
  /// none) when it has no extension. A name with a directory part is kept;
  /// a bare name is completed by determinePath(searchCurrentDirectoryFirst,
  /// pathVariable).
  KivClExeFile(const KivClFilenameABase& filename, const char* defaultExtension,
               bool searchCurrentDirectoryFirst, const char* pathVariable);

  /// A copy: same name, same last error, same found-in-path flag; nothing
  /// is searched again.
  KivClExeFile(const KivClExeFile& other) noexcept = default;
  /// Takes the name, the last error and the found-in-path flag of `other`.
  KivClExeFile& operator=(const KivClExeFile& other) noexcept = default;
  ~KivClExeFile() override;

  /// Completes the name: in the current directory first when
  /// `searchCurrentDirectoryFirst` is true, then along the list variable
  /// `variableName` (null: no variable). On success the name carries the
  /// directory where the file was found, the flag is set and the result is
  /// true; otherwise the name is left without directory, the flag is cleared
  /// and the result is false.
  bool determinePath(bool searchCurrentDirectoryFirst, const char* variableName);

  /// True when the last completion found the file (in the current directory
  /// or along the variable).
  virtual bool isFoundInSystemPath() const noexcept { return m_bFoundInSystemPath; }

  /// The variable that executables are searched along: "PATH".
  static const char* getSystemPathEnvironmentVariable() noexcept { return "PATH"; }
  /// Null: executables have no default extension on this platform.
  static const char* getDefaultFileType() noexcept { return nullptr; }

 protected:
  /// True when the name has a directory part (something before its name
  /// part).
  bool hasDirectoryPart() const noexcept;

 private:
  bool m_bFoundInSystemPath;
};

#endif
