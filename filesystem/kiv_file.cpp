// Files: construction, queries, removal, renaming, the search along a list
// variable and the stream-mode queries.
#include "kiv_file.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "kiv_envvar.hpp"

KivClFile::KivClFile(const KivClFilenameABase& filename, const char* defaultExtension) noexcept
    : m_filename(filename), m_error{} {
  if (m_filename.getExtension()[0] == '\0' && defaultExtension != nullptr)
    m_filename.setNewExtension(defaultExtension);
}

KivClFile::KivClFile(const KivClFile& other) noexcept = default;
KivClFile& KivClFile::operator=(const KivClFile& other) noexcept = default;
KivClFile::~KivClFile() = default;

std::int64_t KivClFile::getDateTimeOfCreation() const noexcept {
  return KivClFileABase::getDateTimeOfCreation(m_filename.getAsCString());
}

std::int64_t KivClFile::getDateTimeOfLastAccess() const noexcept {
  return KivClFileABase::getDateTimeOfLastAccess(m_filename.getAsCString());
}

std::int64_t KivClFile::getDateTimeOfLastModification() const noexcept {
  return KivClFileABase::getDateTimeOfLastModification(m_filename.getAsCString());
}

bool KivClFile::isHidden() const noexcept { return m_filename.getName()[0] == '.'; }

bool KivClFile::isReadOnly() const noexcept { return access(m_filename.getAsCString(), W_OK) != 0; }

std::uint64_t KivClFile::getFileSize() const noexcept {
  struct stat status {};
  if (stat(m_filename.getAsCString(), &status) != 0) return 0;
  return static_cast<std::uint64_t>(status.st_size);
}

const char* KivClFile::getFileType() const noexcept {
  const char* extension = m_filename.getExtension();
  return extension[0] == '.' ? extension + 1 : extension;
}

int KivClFile::setReadOnly(bool readOnly) noexcept {
  return chmod(m_filename.getAsCString(), readOnly ? 0440 : 0660);
}

bool KivClFile::remove() noexcept {
  setReadOnly(false);
  if (unlink(m_filename.getAsCString()) != 0) {
    const int error = errno;
    m_error = {KIV_FILE_COULD_NOT_REMOVE, error == ENOENT ? KivEnErrorClass::IO_NOT_EXISTENT
                                                          : KivEnErrorClass::IO_PERMISSION_DENIED};
    return false;
  }
  m_error = {};
  return true;
}

bool KivClFile::renameAs(const KivClFilenameABase& target) noexcept {
  if (std::rename(m_filename.getAsCString(), target.getAsCString()) != 0) {
    // Whether the system refused because the target is there decides the
    // class, so the target is looked at after the refusal.
    const bool targetExists = target.isExistent();
    m_error = {KIV_FILE_COULD_NOT_RENAME, targetExists ? KivEnErrorClass::IO_ALREADY_IN_USE
                                                       : KivEnErrorClass::IO_PERMISSION_DENIED};
    return false;
  }
  m_filename = target;
  m_error = {};
  return true;
}

bool KivClFile::determineFileInEnvVarPath(KivClFilename& filename, const char* variableName) const {
  if (variableName == nullptr) return false;
  const KivClEnvironmentVariableQueryOnly variable(variableName);
  const char* value = variable.getValue();
  if (value == nullptr) return false;
  char entry[KIV_PATH_MAX_LENGTH + 1];
  for (const char* p = value; *p != '\0';) {
    if (*p == ':') {  // runs of ":" make no entries
      ++p;
      continue;
    }
    const std::size_t count = std::strcspn(p, ":");
    const std::size_t kept = count < KIV_PATH_MAX_LENGTH ? count : KIV_PATH_MAX_LENGTH;
    std::memcpy(entry, p, kept);
    entry[kept] = '\0';
    filename.setNewPath(entry);
    if (filename.isExistent()) return true;
    p += count;
  }
  return false;
}

bool kivFileIsOpenedInBinaryMode(const std::istream&) { return true; }
bool kivFileIsOpenedInBinaryMode(const std::ostream&) { return true; }
bool kivFileIsOpenedInTextMode(const std::istream&) { return true; }
bool kivFileIsOpenedInTextMode(const std::ostream&) { return true; }

extern "C" {
bool kivFileIsOpenedInBinaryMode(void) { return true; }
bool kivFileIsOpenedInTextMode(void) { return true; }
}
