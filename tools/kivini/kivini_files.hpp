// kivini: reading whole files and standard input, writing standard output.
// Each call returns false with the errno of the failing call; descriptors
// are opened close-on-exec and closed on every path.
#ifndef KIVINI_FILES_HPP
#define KIVINI_FILES_HPP

#include <string>
#include <string_view>

namespace kivini {

/// Reads the whole file `path` into `bytes`. A directory fails with EISDIR.
bool readFile(const std::string& path, std::string& bytes, int& systemError);

/// Reads standard input to its end into `bytes`.
bool readStandardInput(std::string& bytes, int& systemError);

/// Writes all of `bytes` to standard output.
bool writeStandardOutput(std::string_view bytes, int& systemError);

}  // namespace kivini

#endif
