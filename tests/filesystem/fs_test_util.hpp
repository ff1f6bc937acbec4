// Helpers of the directory, walk and file tests: small file utilities, a
// umask guard, and a runner that performs an operation in a forked child
// without root's privileges, so that permission failures really happen even
// when the tests run as root.
#ifndef KIV_FS_TEST_UTIL_HPP
#define KIV_FS_TEST_UTIL_HPP

#include <fcntl.h>
#include <grp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>

#include "kiv_error.hpp"
#include "kiv_test_support.hpp"

namespace fstest {

/// The user and group that the unprivileged children switch to.
inline constexpr uid_t kUnprivilegedId = 65534;

using kivtest::writeFile;

using kivtest::readFile;

inline bool exists(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

/// The permission bits of `path` (-1 when it cannot be looked at).
inline int modeOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return -1;
  return static_cast<int>(status.st_mode & 07777);
}

inline void makeDir(const std::string& path, mode_t mode = 0755) {
  if (mkdir(path.c_str(), mode) != 0) throw std::runtime_error("cannot mkdir " + path);
  chmod(path.c_str(), mode);
}

/// A text of the form "{id,class}" for comparing error records in children.
inline std::string describe(const _KivStError& e) { return kivtest::describe(e); }

/// Sets the umask for the scope and restores the previous one.
class UmaskGuard {
 public:
  explicit UmaskGuard(mode_t mask) : m_previous(umask(mask)) {}
  ~UmaskGuard() { umask(m_previous); }
  UmaskGuard(const UmaskGuard&) = delete;
  UmaskGuard& operator=(const UmaskGuard&) = delete;

 private:
  mode_t m_previous;
};

/// A Unix socket bound at a path for the scope (the socket file stays when
/// the descriptor is closed; the temporary directory takes it away).
class BoundSocket {
 public:
  explicit BoundSocket(const std::string& path) : m_fd(socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (m_fd < 0 || path.size() >= sizeof address.sun_path) return;
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    m_bound = bind(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }
  ~BoundSocket() {
    if (m_fd >= 0) close(m_fd);
  }
  BoundSocket(const BoundSocket&) = delete;
  BoundSocket& operator=(const BoundSocket&) = delete;

  bool isBound() const { return m_bound; }

 private:
  int m_fd;
  bool m_bound = false;
};

/// True when the process runs as root, so that the children must switch.
inline bool isRoot() { return geteuid() == 0; }

/// Hands `path` and everything below it to the unprivileged user when
/// running as root, so that the child acts as their owner (the modes set by
/// the test then decide). Does nothing otherwise: the files already belong
/// to the user running the tests.
inline void giveToUnprivileged(const std::string& path) {
  if (!isRoot()) return;
  if (lchown(path.c_str(), kUnprivilegedId, kUnprivilegedId) != 0)
    throw std::runtime_error("cannot chown " + path);
  std::error_code ec;
  if (!std::filesystem::is_directory(std::filesystem::symlink_status(path, ec))) return;
  for (auto it = std::filesystem::recursive_directory_iterator(path);
       it != std::filesystem::recursive_directory_iterator(); ++it) {
    if (lchown(it->path().c_str(), kUnprivilegedId, kUnprivilegedId) != 0)
      throw std::runtime_error("cannot chown " + it->path().string());
  }
}

/// Runs `body` in a forked child. When the tests run as root, the child first
/// switches to the unprivileged user and group (and proves that it can no
/// longer write into a root-only place) before `body` runs. The text that
/// `body` returns travels back through a pipe. Returns that text, or a text
/// beginning with "child:" that says what went wrong, so that the calling
/// test fails with a reason and is never skipped.
inline std::string runUnprivileged(const std::function<std::string()>& body) {
  int fds[2];
  if (pipe(fds) != 0) return "child: no pipe";
  std::fflush(nullptr);
  const pid_t pid = fork();
  if (pid < 0) {
    close(fds[0]);
    close(fds[1]);
    return "child: fork failed";
  }
  if (pid == 0) {
    close(fds[0]);
    std::string result;
    if (isRoot()) {
      if (setgroups(0, nullptr) != 0 || setgid(kUnprivilegedId) != 0 ||
          setuid(kUnprivilegedId) != 0) {
        result = std::string("child: cannot switch user: ") + std::strerror(errno);
      } else if (geteuid() == 0 || access("/root", W_OK) == 0) {
        result = "child: still privileged after the switch";
      }
    }
    if (result.empty()) {
      try {
        result = body();
      } catch (...) {
        result = "child: exception";
      }
    }
    const char* p = result.data();
    std::size_t left = result.size();
    while (left > 0) {
      const ssize_t n = write(fds[1], p, left);
      if (n <= 0) break;
      p += n;
      left -= static_cast<std::size_t>(n);
    }
    close(fds[1]);
    _exit(0);
  }
  close(fds[1]);
  std::string result;
  char buffer[512];
  for (;;) {
    const ssize_t n = read(fds[0], buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    result.append(buffer, static_cast<std::size_t>(n));
  }
  close(fds[0]);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
    return "child: ended abnormally (" + std::to_string(status) + "): " + result;
  return result;
}

/// The temporary directory prepared for an unprivileged child: it belongs to
/// the unprivileged user (when running as root) and can be entered by it.
inline void prepareForChild(const kivtest::TempDir& dir) {
  chmod(dir.path().c_str(), 0755);
  giveToUnprivileged(dir.path());
}

}  // namespace fstest

#endif
