// kivini: the file system calls of the tool.

#include "kivini_files.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "../../foundation/kiv_unique_fd.hpp"

namespace kivini {
namespace {

bool readAll(int fd, std::string& bytes, int& systemError) {
  bytes.clear();
  struct stat status {};
  if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
    bytes.reserve(static_cast<std::size_t>(status.st_size));
  }
  char buffer[65536];
  for (;;) {
    const ssize_t n = kiv::detail::readRetrying(fd, buffer, sizeof(buffer));
    if (n < 0) {
      systemError = errno;
      return false;
    }
    if (n == 0) return true;
    bytes.append(buffer, static_cast<std::size_t>(n));
  }
}

}  // namespace

bool readFile(const std::string& path, std::string& bytes, int& systemError) {
  const kiv::detail::UniqueFd fd(kiv::detail::openRetrying(path.c_str(), O_RDONLY, 0));
  if (!fd.isOpen()) {
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
  return readAll(fd.get(), bytes, systemError);
}

bool readStandardInput(std::string& bytes, int& systemError) {
  return readAll(STDIN_FILENO, bytes, systemError);
}

bool writeStandardOutput(std::string_view bytes, int& systemError) {
  errno = 0;
  if (kiv::detail::writeAll(STDOUT_FILENO, bytes.data(), bytes.size())) return true;
  systemError = errno != 0 ? errno : EIO;
  return false;
}

}  // namespace kivini
