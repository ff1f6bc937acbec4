// kivini: the file system calls of the tool.

#include "kivini_files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include "kiv_filename.hpp"

namespace kivini {
namespace {

// A descriptor that is closed when it goes out of scope.
class Descriptor {
 public:
  explicit Descriptor(int fd) : m_fd(fd) {}
  ~Descriptor() {
    if (m_fd >= 0) ::close(m_fd);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return m_fd; }
  bool valid() const { return m_fd >= 0; }
  // Closes now and reports the failure of close itself (a delayed write
  // error shows up there).
  bool close(int& systemError) {
    const int rc = ::close(m_fd);
    m_fd = -1;
    if (rc != 0) systemError = errno;
    return rc == 0;
  }

 private:
  int m_fd;
};

// The temporary name prefix: the generated name keeps at most five of its
// characters.
constexpr const char* gs_pszTemporaryPrefix = "kivini";
// A few draws in case another process takes a name between the test for
// its existence and the creation.
constexpr int gs_iTemporaryAttempts = 16;

}  // namespace

bool readFile(const std::string& path, std::string& bytes, int& systemError) {
  Descriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd.valid()) {
    systemError = errno;
    return false;
  }
  struct stat status {};
  if (::fstat(fd.get(), &status) != 0) {
    systemError = errno;
    return false;
  }
  if (S_ISDIR(status.st_mode)) {
    systemError = EISDIR;
    return false;
  }
  bytes.clear();
  char buffer[65536];
  for (;;) {
    const ssize_t n = ::read(fd.get(), buffer, sizeof(buffer));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      systemError = errno;
      return false;
    }
    if (n == 0) return true;
    bytes.append(buffer, static_cast<std::size_t>(n));
  }
}

bool permissionsOf(const std::string& path, mode_t& mode, int& systemError) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) {
    systemError = errno;
    return false;
  }
  mode = status.st_mode & 07777;
  return true;
}

mode_t permissionsForNewFile() {
  // umask can only be read by setting it; the tool has a single thread.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

bool createTemporaryFile(const std::string& near, std::string& name, int& systemError) {
  if (near.size() + 16 > KIV_PATH_MAX_LENGTH) {
    systemError = ENAMETOOLONG;
    return false;
  }
  const KivClFilename nearName(near.c_str());
  for (int attempt = 0; attempt < gs_iTemporaryAttempts; ++attempt) {
    const KivClTmpFilename candidate(nearName, gs_pszTemporaryPrefix);
    const int fd = ::open(candidate.getAsCString(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd >= 0) {
      ::close(fd);
      name = candidate.getAsCString();
      return true;
    }
    if (errno != EEXIST) {
      systemError = errno;
      return false;
    }
  }
  systemError = EEXIST;
  return false;
}

bool writeFile(const std::string& name, const std::string& bytes, mode_t mode, int& systemError) {
  Descriptor fd(::open(name.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
  if (!fd.valid()) {
    systemError = errno;
    return false;
  }
  std::size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t n = ::write(fd.get(), bytes.data() + written, bytes.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) {
      systemError = errno;
      return false;
    }
    written += static_cast<std::size_t>(n);
  }
  if (::fchmod(fd.get(), mode) != 0) {
    systemError = errno;
    return false;
  }
  return fd.close(systemError);
}

bool setPermissions(const std::string& name, mode_t mode, int& systemError) {
  if (::chmod(name.c_str(), mode) != 0) {
    systemError = errno;
    return false;
  }
  return true;
}

bool renameFile(const std::string& from, const std::string& to, int& systemError) {
  if (::rename(from.c_str(), to.c_str()) != 0) {
    systemError = errno;
    return false;
  }
  return true;
}

void removeFile(const std::string& name) { ::unlink(name.c_str()); }

std::string targetOf(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return path;
  std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.c_str(), nullptr),
                                                       &std::free);
  // A link that leads nowhere is replaced itself, like a missing file.
  return resolved != nullptr ? std::string(resolved.get()) : path;
}

}  // namespace kivini
