// Close-on-exec for descriptors, including those under C++ file streams.
#include "kiv_cloexec.hpp"

#include <fcntl.h>

namespace kiv::detail {

namespace {

#if defined(__GLIBCXX__)
// The GNU library keeps the C file of a std::filebuf in the protected member
// _M_file. A pointer to that member may be formed inside a derived class and
// then applied to any std::filebuf, which reads the descriptor without
// replacing the stream type the callers hold.
struct FilebufAccess : std::filebuf {
  static int fd(std::filebuf& buffer) noexcept {
    auto member = &FilebufAccess::_M_file;
    return (buffer.*member).fd();
  }
};
#endif

}  // namespace

int fileDescriptorOf(std::filebuf& buffer) noexcept {
  if (!buffer.is_open()) return -1;
#if defined(__GLIBCXX__)
  return FilebufAccess::fd(buffer);
#else
  return -1;
#endif
}

bool setCloseOnExec(int fd) noexcept {
  if (fd < 0) return false;
  const int flags = ::fcntl(fd, F_GETFD);
  if (flags < 0) return false;
  if ((flags & FD_CLOEXEC) != 0) return true;
  return ::fcntl(fd, F_SETFD, flags | FD_CLOEXEC) == 0;
}

bool setCloseOnExec(std::filebuf& buffer) noexcept { return setCloseOnExec(fileDescriptorOf(buffer)); }

}  // namespace kiv::detail
