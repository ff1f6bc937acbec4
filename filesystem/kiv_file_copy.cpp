// Files: copying in chunks of 1024 bytes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "kiv_base.hpp"
#include "kiv_file.hpp"
#include "kiv_location.hpp"
#include "../foundation/kiv_unique_fd.hpp"

namespace {

using kiv::detail::openRetrying;
using kiv::detail::readRetrying;
using kiv::detail::UniqueFd;
using kiv::detail::writeAll;

constexpr std::size_t kChunkSize = 1024;

bool sameText(const KivClFilenameABase& a, const KivClFilenameABase& b) noexcept {
  if (a.getStyle() == KIV_PATH_STYLE_SLASH)
    return std::strcmp(a.getAsCString(), b.getAsCString()) == 0;
  return strcmpi(a.getAsCString(), b.getAsCString()) == 0;
}

// True when `target` exists and is the very file open as `source`.
bool isSameFile(int source, const char* target) noexcept {
  struct stat sourceStatus {};
  struct stat targetStatus {};
  if (fstat(source, &sourceStatus) != 0 || stat(target, &targetStatus) != 0) return false;
  return sourceStatus.st_dev == targetStatus.st_dev && sourceStatus.st_ino == targetStatus.st_ino;
}

}  // namespace

bool KivClFile::copyTo(const KivClFilenameABase& target, bool keepMode) noexcept {
  if (sameText(m_filename, target)) {
    m_error = {KIV_FILE_COULD_NOT_COPY_SELF, KivEnErrorClass::INCONSISTENT_SITUATION};
    return false;
  }
  UniqueFd source(openRetrying(m_filename.getAsCString(), O_RDONLY, 0));
  if (!source.isOpen()) {
    m_error = {KIV_FILE_COULD_NOT_COPY, KivEnErrorClass::IO_READ_PROBLEM};
    return false;
  }
  // Another name of the same file would be truncated below, losing it.
  if (isSameFile(source.get(), target.getAsCString())) {
    m_error = {KIV_FILE_COULD_NOT_COPY_SELF, KivEnErrorClass::INCONSISTENT_SITUATION};
    return false;
  }
  UniqueFd destination(openRetrying(target.getAsCString(), O_RDWR | O_CREAT | O_TRUNC, 0777));
  if (!destination.isOpen()) {
    m_error = {KIV_FILE_COULD_NOT_COPY, KivEnErrorClass::IO_WRITE_PROBLEM};
    return false;
  }
  struct stat status {};
  if (keepMode && fstat(source.get(), &status) == 0)
    static_cast<void>(fchmod(destination.get(), status.st_mode & 0777));

  m_error = {};
  char chunk[kChunkSize];
  for (;;) {
    const ssize_t count = readRetrying(source.get(), chunk, sizeof chunk);
    if (count == 0) break;
    // A read error is reported with the write class on purpose.
    if (count < 0 || !writeAll(destination.get(), chunk, static_cast<std::size_t>(count))) {
      m_error = {KIV_FILE_COULD_NOT_COPY, KivEnErrorClass::IO_WRITE_PROBLEM};
      break;
    }
  }
  if (!destination.close() && m_error.id == KIV_NO_ERROR)
    m_error = {KIV_FILE_COULD_NOT_COPY, KivEnErrorClass::IO_WRITE_PROBLEM};
  return m_error.id == KIV_NO_ERROR;
}

bool KivClFile::copyTo(const KivClLocation& location, bool keepMode) noexcept {
  const KivClFilenameABase target(location.getAsCString(), m_filename.getName(), nullptr);
  return copyTo(target, keepMode);
}
