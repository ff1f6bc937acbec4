// The trace file as kivtrace reads it: a stream buffer over a descriptor
// opened close-on-exec, that knows its offset in the file and reads again
// after the end of the file (so a stream over it sees what a running
// program appended since, once its state is cleared: -follow).
//
// Ownership: the buffer owns the descriptor and closes it when it goes.
// Not copyable; one thread.
#ifndef KIVTRACE_INPUT_HPP
#define KIVTRACE_INPUT_HPP

#include <cstdint>
#include <streambuf>
#include <vector>

namespace kivtrace {

class TraceFileBuffer : public std::streambuf {
 public:
  /// Chunk read at a time.
  static constexpr std::size_t CHUNK = 64 * 1024;

  TraceFileBuffer() : m_buffer(CHUNK) {}
  ~TraceFileBuffer() override;
  TraceFileBuffer(const TraceFileBuffer&) = delete;
  TraceFileBuffer& operator=(const TraceFileBuffer&) = delete;

  /// Opens `path` for reading; false with errno set.
  bool open(const char* path);
  /// The size of the open file now, or -1.
  std::int64_t fileSize() const;
  /// The offset in the file of the next byte the stream reads.
  std::int64_t offset() const { return m_bufferOffset + (gptr() - eback()); }
  /// Moves the next byte to read to `offset` (dropping what is buffered).
  bool moveTo(std::int64_t offset);

 protected:
  int_type underflow() override;
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                   std::ios_base::openmode mode) override;
  pos_type seekpos(pos_type position, std::ios_base::openmode mode) override;

 private:
  int m_fd = -1;
  std::vector<char> m_buffer;
  std::int64_t m_bufferOffset = 0;  // file offset of eback()
};

}  // namespace kivtrace

#endif
