// Directories: removal of a directory and of its whole tree.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "kiv_directory.hpp"
#include "kiv_dirwalk.hpp"

namespace {

bool isDotOrDotDot(const char* name) noexcept {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

// True when `path` is a directory itself, not a symbolic link to one: tree
// removal never descends through a link into a directory outside the tree.
bool isRealDirectory(const char* path) noexcept {
  struct stat status {};
  return lstat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

bool KivClDirectory::removeAll(bool recursive) {
  if (recursive) {
    // The copy's text grows and shrinks by one component per level, so that
    // no level keeps a directory text of its own.
    KivClDirectory work(*this);
    removeTree(work);
  }
  if (rmdir(m_location.m_szText) != 0) {
    const int error = errno;
    m_error = {KIV_DIRECTORY_COULD_NOT_REMOVE, error == ENOENT ? KivEnErrorClass::IO_INVALID_NAME
                                                               : KivEnErrorClass::IO_STILL_IN_USE};
    return false;
  }
  m_error = {};
  return true;
}

bool KivClDirectory::removeTree(KivClDirectory& work) {
  KivClDirectoryWalk walk(work);
  for (; walk.isValid(); walk.setToNext()) {
    const char* name = walk.getNameWithoutPath();
    if (isDotOrDotDot(name)) continue;
    if (!walk.isSubDirectory() || !isRealDirectory(walk.getNameWithPath())) {
      // Files, links and directories that are not real subdirectories by
      // name (".git", "a.b"): the last go only when they are empty.
      if (std::remove(walk.getNameWithPath()) != 0) return false;
      continue;
    }
    // Descend: the entry's name and "/" go after the text; the name is taken
    // as it is, never expanded.
    KivClLocation& location = work.m_location;
    const std::uint32_t length = location.m_ulLength;
    const std::size_t nameLength = std::strlen(name);
    if (length + nameLength + 1 > KIV_PATH_MAX_LENGTH) return false;
    std::memcpy(location.m_szText + length, name, nameLength);
    location.m_szText[length + nameLength] = '/';
    location.m_szText[length + nameLength + 1] = '\0';
    location.m_ulLength = static_cast<std::uint32_t>(length + nameLength + 1);
    const bool removed = removeTree(work) && work.removeAll(false);
    location.m_szText[length] = '\0';
    location.m_ulLength = length;
    if (!removed) return false;
  }
  return true;
}
