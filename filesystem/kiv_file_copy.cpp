// Files: copying in chunks of 1024 bytes.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "kiv_base.hpp"
#include "kiv_file.hpp"
#include "kiv_location.hpp"

namespace {

constexpr std::size_t kChunkSize = 1024;

// An open file descriptor, closed when the owner goes unless released.
class UniqueFd {
 public:
  explicit UniqueFd(int fd) noexcept : m_fd(fd) {}
  ~UniqueFd() {
    if (m_fd >= 0) ::close(m_fd);
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;

  int get() const noexcept { return m_fd; }
  bool isOpen() const noexcept { return m_fd >= 0; }
  /// Closes now and reports whether close succeeded.
  bool close() noexcept {
    const int fd = m_fd;
    m_fd = -1;
    return ::close(fd) == 0;
  }

 private:
  int m_fd;
};

int openRetrying(const char* path, int flags, mode_t mode) noexcept {
  int fd;
  do {
    fd = ::open(path, flags | O_CLOEXEC, mode);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

ssize_t readRetrying(int fd, char* buffer, std::size_t size) noexcept {
  ssize_t count;
  do {
    count = ::read(fd, buffer, size);
  } while (count < 0 && errno == EINTR);
  return count;
}

// Writes all `size` bytes; false when a write fails or makes no progress.
bool writeAll(int fd, const char* buffer, std::size_t size) noexcept {
  while (size > 0) {
    const ssize_t count = ::write(fd, buffer, size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    buffer += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

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
