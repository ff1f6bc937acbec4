// Directories: construction and expansion, creation of whole trees, the
// current directory, and walking up and down by components.
#include "kiv_directory.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "kiv_base.hpp"

namespace {

// The directory text without its trailing "/" (the root "/" stays as it is),
// for the time queries.
class TextWithoutSeparator {
 public:
  explicit TextWithoutSeparator(const KivClLocation& location) noexcept {
    std::size_t length = location.getLength();
    std::memcpy(m_text, location.getAsCString(), length + 1);
    if (length > 1 && m_text[length - 1] == '/') m_text[length - 1] = '\0';
  }
  const char* get() const noexcept { return m_text; }

 private:
  char m_text[KIV_PATH_MAX_LENGTH + 1];
};

}  // namespace

KivClDirectory::KivClDirectory() noexcept : m_error{} {
  char* text = m_location.m_szText;
  if (getcwd(text, KIV_PATH_MAX_LENGTH + 1) == nullptr) {
    text[0] = '\0';
    m_error = {KIV_DIRECTORY_EXPANSION_FAILED, KivEnErrorClass::IO_NOT_EXISTENT};
  }
  m_location.init(false);
}

KivClDirectory::KivClDirectory(const char* text) noexcept : m_location(text, true), m_error{} {
  expandRelativeDirectory();
}

KivClDirectory::KivClDirectory(const KivClLocation& location) noexcept
    : m_location(location), m_error{} {
  m_location.init(true);
  expandRelativeDirectory();
}

KivClDirectory::KivClDirectory(const KivClDirectory& other) noexcept = default;
KivClDirectory& KivClDirectory::operator=(const KivClDirectory& other) noexcept = default;
KivClDirectory::~KivClDirectory() = default;

bool KivClDirectory::isExistent() const noexcept { return m_location.isExistent(); }

bool KivClDirectory::remove() noexcept {
  // Without recursion no walker is allocated, so nothing can throw here.
  try {
    return removeAll(false);
  } catch (...) {
    return false;
  }
}

std::int64_t KivClDirectory::getDateTimeOfCreation() const noexcept {
  return KivClFileABase::getDateTimeOfCreation(TextWithoutSeparator(m_location).get());
}

std::int64_t KivClDirectory::getDateTimeOfLastAccess() const noexcept {
  return KivClFileABase::getDateTimeOfLastAccess(TextWithoutSeparator(m_location).get());
}

std::int64_t KivClDirectory::getDateTimeOfLastModification() const noexcept {
  return KivClFileABase::getDateTimeOfLastModification(TextWithoutSeparator(m_location).get());
}

bool KivClDirectory::takeText(const char* text) noexcept {
  if (std::strlen(text) > KIV_PATH_MAX_LENGTH) return false;
  m_location.assign(text, KIV_PATH_MAX_LENGTH);
  m_location.init(false);
  return true;
}

bool KivClDirectory::expandRelativeDirectory() noexcept {
  if (isRelativePath(m_location.m_szText)) {
    // Expanded in a copy, so that a failure leaves the text as it was.
    char work[KIV_PATH_MAX_LENGTH + 1];
    std::memcpy(work, m_location.m_szText, static_cast<std::size_t>(m_location.m_ulLength) + 1);
    if (!expandRelativePath(work) || !takeText(work)) {
      m_location.init(false);
      m_error = {KIV_DIRECTORY_EXPANSION_FAILED, KivEnErrorClass::IO_INVALID_NAME};
      return false;
    }
  }
  m_location.init(false);
  m_error = {};
  return true;
}

bool KivClDirectory::create() noexcept { return create(0777); }

bool KivClDirectory::create(std::uint32_t mode) noexcept {
  m_error = {KIV_DIRECTORY_COULD_NOT_CREATE, KivEnErrorClass::IO_NOT_EXISTENT};
  char* text = m_location.m_szText;
  const std::size_t length = m_location.m_ulLength;
  if (length == 0) return false;
  // The first component starts after the leading "/" (after "X:/" with a
  // drive); each "/" after it ends one more prefix to create. The text ends
  // with "/", so the last prefix is the directory itself.
  for (std::size_t i = m_location.hasDrive() ? 3 : 1; i < length; ++i) {
    if (text[i] != '/') continue;
    text[i] = '\0';
    bool exists = access(text, F_OK) == 0;
    if (!exists) exists = mkdir(text, static_cast<mode_t>(mode)) == 0 || errno == EEXIST;
    text[i] = '/';
    if (!exists) return false;
  }
  m_error = {};
  return true;
}

bool KivClDirectory::create(std::uint32_t mode, std::uint32_t mask) noexcept {
  const bool created = create(mode);
  // 0777 - mask for a mask within the permission bits.
  const std::uint32_t bits = (0777u & ~(mask & 0777u)) & mode;
  static_cast<void>(chmod(m_location.m_szText, static_cast<mode_t>(bits)));
  return created;
}

bool KivClDirectory::setAsCurrent() noexcept {
  if (chdir(m_location.m_szText) != 0) {
    m_error = {KIV_DIRECTORY_COULD_NOT_CHANGE, KivEnErrorClass::IO_NOT_EXISTENT};
    return false;
  }
  m_error = {};
  return true;
}

bool KivClDirectory::attachSubDir(const KivClLocation& location) noexcept {
  // Composed and expanded in a copy, so that a failure leaves the text as
  // it was.
  char work[KIV_PATH_MAX_LENGTH + 1];
  const std::size_t length = m_location.m_ulLength;
  std::memcpy(work, m_location.m_szText, length + 1);
  const char* attached = location.getPath();
  const std::size_t count = attached != nullptr ? std::strlen(attached) : 0;
  bool ok = length + count <= KIV_PATH_MAX_LENGTH;
  if (ok) {
    std::memcpy(work + length, attached, count + 1);
    KivClPathProperty::normalizePath(work + length);
    if (isRelativePath(work)) ok = expandRelativePath(work);
  }
  if (!ok) {
    m_error = {KIV_DIRECTORY_EXPANSION_FAILED, KivEnErrorClass::IO_INVALID_NAME};
    return false;
  }
  // The attached text may lack its trailing separator (a location of 4096
  // characters); init() restores it where there is room.
  takeText(work);
  m_error = {};
  return true;
}

bool KivClDirectory::detachLastSubDir() noexcept {
  const char* text = m_location.m_szText;
  std::size_t length = m_location.m_ulLength;
  if (m_location.isRoot() || length < 2) {
    m_error = {KIV_DIRECTORY_COULD_NOT_DETACH, KivEnErrorClass::LOGIC};
    return false;
  }
  // From the character before the trailing "/" back to the previous "/";
  // when that character is itself a "/", the cut is right after it.
  std::size_t position = length - 2;
  while (position > 0 && text[position] != '/') --position;
  if (text[position] != '/') {
    m_error = {KIV_DIRECTORY_COULD_NOT_DETACH, KivEnErrorClass::LOGIC};
    return false;
  }
  m_location.m_szText[position + 1] = '\0';
  m_location.init(false);
  m_error = {};
  return true;
}

bool KivClDirectory::detachSubDirs(std::uint32_t count) noexcept {
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!detachLastSubDir()) return false;
  }
  m_error = {};
  return true;
}

std::uint32_t KivClDirectory::getNumOfSubDirs() const noexcept {
  const char* path = m_location.getPath();
  const std::size_t separators = kivStrCount(path, '/');
  return separators > 0 ? static_cast<std::uint32_t>(separators - 1) : 0;
}
