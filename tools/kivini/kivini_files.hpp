// kivini: the few file system calls of the tool, each returning false with
// the errno of the failing call. Descriptors are closed by their owners on
// every path and opened close-on-exec.
#ifndef KIVINI_FILES_HPP
#define KIVINI_FILES_HPP

#include <sys/types.h>

#include <string>

namespace kivini {

/// Reads the whole file `path` into `bytes`. A directory fails with EISDIR.
bool readFile(const std::string& path, std::string& bytes, int& systemError);

/// The permission bits of `path` (following links), or false.
bool permissionsOf(const std::string& path, mode_t& mode, int& systemError);

/// The permission bits a new file gets from the process's umask.
mode_t permissionsForNewFile();

/// Creates a new, empty temporary file in the directory of `near` (mode
/// 0600, never an existing file) and stores its name.
bool createTemporaryFile(const std::string& near, std::string& name, int& systemError);

/// Writes `bytes` to the existing file `name` (emptied first), then sets
/// its permission bits to `mode`.
bool writeFile(const std::string& name, const std::string& bytes, mode_t mode, int& systemError);

/// Sets the permission bits of `name`.
bool setPermissions(const std::string& name, mode_t mode, int& systemError);

/// Renames `from` to `to`, replacing `to` in one step.
bool renameFile(const std::string& from, const std::string& to, int& systemError);

/// Removes `name`; failures are ignored (used to clean up).
void removeFile(const std::string& name);

/// `path`, or, when it is a symbolic link, the file the link leads to.
std::string targetOf(const std::string& path);

}  // namespace kivini

#endif
