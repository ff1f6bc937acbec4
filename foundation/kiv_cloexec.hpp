// Close-on-exec for the descriptors the library opens.
//
// Every descriptor the library opens must stay out of the programs it
// launches. Raw descriptors are opened with O_CLOEXEC where they are opened;
// this header serves the places where the data model fixes a C++ stream
// (std::ifstream, std::ofstream), whose open() offers no such flag. Those
// places open the stream as usual and mark its descriptor close-on-exec
// right after, before anything else of the library can launch a program.
//
// Internal to the library: not installed, not exported.
#ifndef KIV_FOUNDATION_CLOEXEC_HPP
#define KIV_FOUNDATION_CLOEXEC_HPP

#include <fstream>

namespace kiv::detail {

/// The descriptor under an open file stream buffer, or -1 when the buffer is
/// closed or the standard library does not expose it.
int fileDescriptorOf(std::filebuf& buffer) noexcept;

/// Sets FD_CLOEXEC on a descriptor. Returns false when fcntl fails (a bad
/// descriptor); errno is left as fcntl set it.
bool setCloseOnExec(int fd) noexcept;

/// Marks the descriptor of an open stream buffer close-on-exec. Returns
/// false when the buffer is not open or the flag could not be set.
bool setCloseOnExec(std::filebuf& buffer) noexcept;

/// The same for the buffers of the file streams.
inline bool setCloseOnExec(std::ofstream& stream) noexcept { return setCloseOnExec(*stream.rdbuf()); }
inline bool setCloseOnExec(std::ifstream& stream) noexcept { return setCloseOnExec(*stream.rdbuf()); }
inline bool setCloseOnExec(std::fstream& stream) noexcept { return setCloseOnExec(*stream.rdbuf()); }

}  // namespace kiv::detail

#endif  // KIV_FOUNDATION_CLOEXEC_HPP
