// The trace file as kivtrace reads it.
#include "kivtrace_input.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace kivtrace {

TraceFileBuffer::~TraceFileBuffer() {
  if (m_fd >= 0) ::close(m_fd);
}

bool TraceFileBuffer::open(const char* path) {
  do {
    m_fd = ::open(path, O_RDONLY | O_CLOEXEC);
  } while (m_fd < 0 && errno == EINTR);
  if (m_fd < 0) return false;
  struct stat status {};
  // A directory opens for reading, but cannot be read as a file.
  if (::fstat(m_fd, &status) != 0 || S_ISDIR(status.st_mode)) {
    const int error = S_ISDIR(status.st_mode) ? EISDIR : errno;
    ::close(m_fd);
    m_fd = -1;
    errno = error;
    return false;
  }
  setg(m_buffer.data(), m_buffer.data(), m_buffer.data());
  m_bufferOffset = 0;
  return true;
}

std::int64_t TraceFileBuffer::fileSize() const {
  struct stat status {};
  if (m_fd < 0 || ::fstat(m_fd, &status) != 0) return -1;
  return static_cast<std::int64_t>(status.st_size);
}

bool TraceFileBuffer::moveTo(std::int64_t offset) {
  if (m_fd < 0 || offset < 0) return false;
  // Inside the buffer: no system call.
  if (offset >= m_bufferOffset && offset <= m_bufferOffset + (egptr() - eback())) {
    setg(eback(), eback() + (offset - m_bufferOffset), egptr());
    return true;
  }
  if (::lseek(m_fd, static_cast<off_t>(offset), SEEK_SET) < 0) return false;
  m_bufferOffset = offset;
  setg(m_buffer.data(), m_buffer.data(), m_buffer.data());
  return true;
}

TraceFileBuffer::int_type TraceFileBuffer::underflow() {
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  if (m_fd < 0) return traits_type::eof();
  // The descriptor stands at the end of the buffered bytes; an end of file
  // is not remembered, so a later call sees bytes appended meanwhile.
  const std::int64_t next = m_bufferOffset + (egptr() - eback());
  ssize_t got;
  do {
    got = ::read(m_fd, m_buffer.data(), m_buffer.size());
  } while (got < 0 && errno == EINTR);
  if (got <= 0) return traits_type::eof();
  m_bufferOffset = next;
  setg(m_buffer.data(), m_buffer.data(), m_buffer.data() + got);
  return traits_type::to_int_type(*gptr());
}

TraceFileBuffer::pos_type TraceFileBuffer::seekoff(off_type offset, std::ios_base::seekdir direction,
                                                   std::ios_base::openmode mode) {
  if ((mode & std::ios_base::in) == 0) return pos_type(off_type(-1));
  std::int64_t target = 0;
  if (direction == std::ios_base::beg) {
    target = offset;
  } else if (direction == std::ios_base::cur) {
    target = this->offset() + offset;
  } else {
    const std::int64_t size = fileSize();
    if (size < 0) return pos_type(off_type(-1));
    target = size + offset;
  }
  if (!moveTo(target)) return pos_type(off_type(-1));
  return pos_type(off_type(target));
}

TraceFileBuffer::pos_type TraceFileBuffer::seekpos(pos_type position, std::ios_base::openmode mode) {
  return seekoff(off_type(position), std::ios_base::beg, mode);
}

}  // namespace kivtrace
