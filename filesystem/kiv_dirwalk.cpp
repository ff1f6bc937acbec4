// Directory walks: the platform walker over an open directory stream and the
// walk handle with its name-only entry tests.
#include "kiv_dirwalk.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "kiv_base.hpp"
#include "kiv_directory.hpp"
#include "kiv_dirwalker.hpp"
#include "kiv_location.hpp"
#include "kiv_memmgr.hpp"

namespace kiv::detail {

UniqueDir openDirectory(const char* text) noexcept {
  const int fd = open(text, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return UniqueDir();
  DIR* dir = fdopendir(fd);
  if (dir == nullptr) {
    close(fd);
    return UniqueDir();
  }
  return UniqueDir(dir);
}

}  // namespace kiv::detail

// ---------------------------------------------------------------------------
// The platform walker
// ---------------------------------------------------------------------------

KivClOSSDirectoryWalker::KivClOSSDirectoryWalker(const KivClLocation& location,
                                                 _KivStError& error) noexcept
    : m_pszName(m_szPath), m_bValid(false), m_rError(error), m_ulMode(0) {
  const char* directory = location.getLength() != 0 ? location.getAsCString() : "./";
  const std::size_t length = std::strlen(directory);
  std::memcpy(m_szPath, directory, length + 1);
  m_pszName = m_szPath + length;
  m_dir = kiv::detail::openDirectory(m_szPath);
  if (!m_dir) {
    m_rError = {KIV_DIRWALK_COULD_NOT_INIT, KivEnErrorClass::IO_PROBLEM};
    return;
  }
  m_bValid = true;
  setToNext();
}

void KivClOSSDirectoryWalker::markEnded() noexcept {
  m_bValid = false;
  *m_pszName = '\0';
  m_ulMode = 0;
}

bool KivClOSSDirectoryWalker::setToNext() noexcept {
  if (!m_bValid) return false;
  errno = 0;
  const dirent* entry = readdir(m_dir.get());
  if (entry == nullptr) {
    if (errno != 0) m_rError = {KIV_DIRWALK_NO_CONTINUATION, KivEnErrorClass::IO_PROBLEM};
    markEnded();
    return false;
  }
  // The buffer holds any directory text of a location and any name the
  // system returns (at most 255 characters).
  const std::size_t room = kPathBufferSize - static_cast<std::size_t>(m_pszName - m_szPath);
  const std::size_t length = strnlen(entry->d_name, room - 1);
  std::memcpy(m_pszName, entry->d_name, length);
  m_pszName[length] = '\0';
  struct stat status {};
  m_ulMode = fstatat(dirfd(m_dir.get()), m_pszName, &status, 0) == 0
                 ? static_cast<std::uint32_t>(status.st_mode)
                 : 0;
  return true;
}

// ---------------------------------------------------------------------------
// The walk
// ---------------------------------------------------------------------------

namespace {

// The entry tests look at single bits of the mode, not at the file type as a
// whole: a socket (0xC000) has both bits, a block device (0x6000) the
// directory bit. Tree removal does not descend on these bits alone (it also
// looks at the entry itself), so no such entry is ever walked into.
constexpr std::uint32_t kDirectoryBit = 0x4000;
constexpr std::uint32_t kRegularFileBit = 0x8000;

bool isDirectoryMode(std::uint32_t mode) noexcept { return (mode & kDirectoryBit) != 0; }
bool isRegularMode(std::uint32_t mode) noexcept { return (mode & kRegularFileBit) != 0; }

}  // namespace

KivClDirectoryWalk::KivClDirectoryWalk(const KivClLocation& location)
    : m_pWalker(nullptr), m_error{} {
  construct(location);
}

KivClDirectoryWalk::KivClDirectoryWalk(const KivClDirectory& directory)
    : m_pWalker(nullptr), m_error{} {
  construct(directory.getLocation());
}

void KivClDirectoryWalk::construct(const KivClLocation& location) {
  // kivMalloc throws when no memory is left; it never returns null.
  void* memory = kivMalloc(sizeof(KivClOSSDirectoryWalker));
  m_pWalker = new (memory) KivClOSSDirectoryWalker(location, m_error);
}

KivClDirectoryWalk::~KivClDirectoryWalk() {
  m_pWalker->~KivClOSSDirectoryWalker();
  kivFree(m_pWalker);
}

bool KivClDirectoryWalk::isValid() const noexcept { return m_pWalker->isValid(); }

bool KivClDirectoryWalk::setToNext() noexcept { return m_pWalker->setToNext(); }

const char* KivClDirectoryWalk::getNameWithPath() const noexcept {
  return m_pWalker->getNameWithPath();
}

const char* KivClDirectoryWalk::getNameWithoutPath() const noexcept { return m_pWalker->getName(); }

bool KivClDirectoryWalk::isDirectory() const noexcept {
  return isDirectoryMode(m_pWalker->getMode());
}

bool KivClDirectoryWalk::isSubDirectory() const noexcept {
  const char* name = m_pWalker->getName();
  // Name only, on purpose: the second character is looked at only when the
  // first is not the end of the name.
  return isDirectory() && name[0] != '.' && (name[0] == '\0' || name[1] != '.');
}

bool KivClDirectoryWalk::isParentDirectory() const noexcept {
  const char* name = m_pWalker->getName();
  return isDirectory() && name[0] == '.' && name[1] == '.';
}

bool KivClDirectoryWalk::isCurrentDirectory() const noexcept {
  const char* name = m_pWalker->getName();
  return isDirectory() && name[0] == '.' && name[1] == '\0';
}

bool KivClDirectoryWalk::isHidden() const noexcept {
  return isRegularMode(m_pWalker->getMode()) && m_pWalker->getName()[0] == '.';
}

bool KivClDirectoryWalk::isReadOnly() const noexcept { return (m_pWalker->getMode() & 0200u) == 0; }

bool KivClDirectoryWalk::matchesWildcardPattern(const char* pattern) const noexcept {
  return kivMatchesWildcardPattern(pattern, m_pWalker->getName(), true);
}
