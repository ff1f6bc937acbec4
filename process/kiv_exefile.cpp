// Executable files: completion of the name along a search path.

#include "kiv_exefile.hpp"

#include "kiv_directory.hpp"
#include "kiv_envvar.hpp"

namespace {

// The switch that lets a name with a directory that does not exist fall
// back to a search along "PATH".
constexpr const char* gs_pszUsePathVariable = "KIV_NEWPROCESS_USEPATH";

}  // namespace

KivClExeFile::KivClExeFile(const KivClFilenameABase& filename)
    : KivClFile(filename, getDefaultFileType()), m_bFoundInSystemPath(false) {
  if (!hasDirectoryPart()) {
    determinePath(false, getSystemPathEnvironmentVariable());
    return;
  }
  if (m_filename.isExistent()) return;
  if (!KivClEnvironmentVariableQueryOnly(gs_pszUsePathVariable).hasValueEnabled()) return;
  m_filename.removePath();
  determinePath(false, getSystemPathEnvironmentVariable());
}

KivClExeFile::KivClExeFile(const KivClFilenameABase& filename, const char* defaultExtension,
                           bool searchCurrentDirectoryFirst, const char* pathVariable)
    : KivClFile(filename, defaultExtension), m_bFoundInSystemPath(false) {
  if (hasDirectoryPart()) return;
  determinePath(searchCurrentDirectoryFirst, pathVariable);
}

KivClExeFile::~KivClExeFile() = default;

bool KivClExeFile::hasDirectoryPart() const noexcept {
  const char* path = m_filename.getPath();
  return path != nullptr && path != m_filename.getName();
}

bool KivClExeFile::determinePath(bool searchCurrentDirectoryFirst, const char* variableName) {
  if (searchCurrentDirectoryFirst) {
    KivClFilename bare(m_filename);
    bare.removePath();
    if (bare.isExistent()) {
      const KivClDirectory current;
      bare.setNewPath(current.getAsCString());
      m_filename = bare;
      m_bFoundInSystemPath = true;
      return true;
    }
  }
  if (determineFileInEnvVarPath(m_filename, variableName)) {
    m_bFoundInSystemPath = true;
    return true;
  }
  // Not found: the bare name remains, to be taken relative to the current
  // directory when it is used.
  m_filename.setNewPath("");
  m_bFoundInSystemPath = false;
  return false;
}
