// Raw descriptors of the library: an owner that closes them, and open, read
// and write calls that repeat themselves when a signal interrupts them.
//
// Every descriptor opened here is close-on-exec: none of them may reach a
// program the library launches.
//
// Internal to the library: not installed, not exported.
#ifndef KIV_FOUNDATION_UNIQUE_FD_HPP
#define KIV_FOUNDATION_UNIQUE_FD_HPP

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace kiv::detail {

/// An open file descriptor, closed when the owner goes. Not copyable.
class UniqueFd {
 public:
  explicit UniqueFd(int fd = -1) noexcept : m_fd(fd) {}
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
  /// Gives the descriptor to the caller, who closes it from now on.
  int release() noexcept {
    const int fd = m_fd;
    m_fd = -1;
    return fd;
  }

 private:
  int m_fd;
};

/// open(path, flags | O_CLOEXEC, mode), repeated while a signal interrupts
/// it. Returns the descriptor or -1 (errno as open left it).
inline int openRetrying(const char* path, int flags, mode_t mode) noexcept {
  int fd;
  do {
    fd = ::open(path, flags | O_CLOEXEC, mode);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

/// read(), repeated while a signal interrupts it before any byte came.
inline ssize_t readRetrying(int fd, void* buffer, std::size_t size) noexcept {
  ssize_t count;
  do {
    count = ::read(fd, buffer, size);
  } while (count < 0 && errno == EINTR);
  return count;
}

/// Writes all `size` bytes; false when a write fails or makes no progress.
inline bool writeAll(int fd, const void* data, std::size_t size) noexcept {
  const char* buffer = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t count = ::write(fd, buffer, size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    buffer += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

}  // namespace kiv::detail

#endif  // KIV_FOUNDATION_UNIQUE_FD_HPP
