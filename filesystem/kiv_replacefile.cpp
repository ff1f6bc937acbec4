// Replacing a file through a temporary file renamed over it.
#include "kiv_replacefile.hpp"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "../foundation/kiv_unique_fd.hpp"

namespace kiv::detail {

namespace {

// The temporary name keeps at most this much of the file's own name, so
// that ".<name>.XXXXXX" stays within the limit of a directory entry.
constexpr std::size_t gs_uTemporaryBaseMax = 200;
// New names are drawn again when another file took one (O_EXCL).
constexpr int gs_iTemporaryAttempts = 100;
constexpr char gs_szSuffixLetters[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
constexpr std::size_t gs_uSuffixLength = 6;

// Copies `text` into a buffer of KIV_PATH_MAX_LENGTH + 1 bytes.
bool copyName(char* buffer, const char* text) noexcept {
  const std::size_t length = std::strlen(text);
  if (length > KIV_PATH_MAX_LENGTH) return false;
  std::memcpy(buffer, text, length + 1);
  return true;
}

// Six letters that differ from call to call and from process to process.
void drawSuffix(char* out) noexcept {
  unsigned char random[gs_uSuffixLength] = {};
  if (getrandom(random, sizeof random, GRND_NONBLOCK) != static_cast<ssize_t>(sizeof random)) {
    // No entropy yet (early boot): time, process and a counter still make
    // collisions rare, and O_EXCL catches the rest.
    static unsigned int s_uCounter = 0;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    unsigned long seed = static_cast<unsigned long>(now.tv_nsec) ^
                         (static_cast<unsigned long>(getpid()) << 16) ^ ++s_uCounter;
    for (unsigned char& byte : random) {
      byte = static_cast<unsigned char>(seed);
      seed = seed * 6364136223846793005UL + 1442695040888963407UL;
      byte ^= static_cast<unsigned char>(seed >> 33);
    }
  }
  constexpr std::size_t letters = sizeof gs_szSuffixLetters - 1;
  for (std::size_t i = 0; i < gs_uSuffixLength; ++i)
    out[i] = gs_szSuffixLetters[random[i] % letters];
  out[gs_uSuffixLength] = '\0';
}

}  // namespace

FileReplacement::FileReplacement(const char* path) noexcept
    : m_szPath{},
      m_szTarget{},
      m_szDirectory{},
      m_szTemporary{},
      m_iFd(-1),
      m_fExisted(false),
      m_fCommitted(false),
      m_uMode(0),
      m_uOwner(0),
      m_uGroup(0),
      m_enFailedStep(Step::NONE),
      m_iSystemError(0) {
  if (path == nullptr || !copyName(m_szPath, path)) {
    // An impossible name: begin() reports it.
    m_szPath[0] = '\0';
    m_iSystemError = path == nullptr ? ENOENT : ENAMETOOLONG;
  }
}

FileReplacement::~FileReplacement() { discard(); }

bool FileReplacement::fail(Step step, int error) noexcept {
  m_enFailedStep = step;
  m_iSystemError = error != 0 ? error : EIO;
  discard();
  return false;
}

const char* FileReplacement::failedName() const noexcept {
  if (m_enFailedStep == Step::DIRECTORY) return m_szDirectory;
  return m_szTarget[0] != '\0' ? m_szTarget : m_szPath;
}

bool FileReplacement::begin() noexcept {
  discard();
  m_fCommitted = false;
  m_enFailedStep = Step::NONE;
  if (m_szPath[0] == '\0') return fail(Step::TARGET, m_iSystemError != 0 ? m_iSystemError : ENOENT);
  m_iSystemError = 0;
  return findTarget() && createTemporary();
}

bool FileReplacement::findTarget() noexcept {
  // A link is kept: the file it leads to is replaced. A link that leads
  // nowhere is replaced itself, as a missing file would be created.
  struct stat status {};
  std::memcpy(m_szTarget, m_szPath, std::strlen(m_szPath) + 1);
  if (::lstat(m_szPath, &status) == 0 && S_ISLNK(status.st_mode)) {
    char resolved[PATH_MAX];
    if (::realpath(m_szPath, resolved) != nullptr && !copyName(m_szTarget, resolved)) {
      return fail(Step::TARGET, ENAMETOOLONG);
    }
  }

  if (::stat(m_szTarget, &status) != 0) {
    if (errno != ENOENT) return fail(Step::TARGET, errno);
    m_fExisted = false;
  } else {
    if (S_ISDIR(status.st_mode)) return fail(Step::TARGET, EISDIR);
    // A device or a pipe would become a plain file: refused.
    if (!S_ISREG(status.st_mode)) return fail(Step::TARGET, EINVAL);
    // The directory's permission would allow the rename; the file's own
    // permission is what the caller has been given, and it decides.
    if (::faccessat(AT_FDCWD, m_szTarget, W_OK, AT_EACCESS) != 0) {
      return fail(Step::TARGET, errno);
    }
    m_fExisted = true;
    m_uMode = status.st_mode & 07777;
    m_uOwner = status.st_uid;
    m_uGroup = status.st_gid;
  }

  const char* slash = std::strrchr(m_szTarget, '/');
  if (slash == nullptr) {
    std::strcpy(m_szDirectory, ".");
  } else if (slash == m_szTarget) {
    std::strcpy(m_szDirectory, "/");
  } else {
    const auto length = static_cast<std::size_t>(slash - m_szTarget);
    std::memcpy(m_szDirectory, m_szTarget, length);
    m_szDirectory[length] = '\0';
  }
  return true;
}

bool FileReplacement::createTemporary() noexcept {
  const char* slash = std::strrchr(m_szTarget, '/');
  const char* base = slash != nullptr ? slash + 1 : m_szTarget;
  const std::size_t baseLength = strnlen(base, gs_uTemporaryBaseMax);
  const std::size_t prefixLength = static_cast<std::size_t>(base - m_szTarget);
  // prefix "." base "." suffix NUL
  if (prefixLength + 1 + baseLength + 1 + gs_uSuffixLength > KIV_PATH_MAX_LENGTH) {
    return fail(Step::DIRECTORY, ENAMETOOLONG);
  }
  char* out = m_szTemporary;
  std::memcpy(out, m_szTarget, prefixLength);
  out += prefixLength;
  *out++ = '.';
  std::memcpy(out, base, baseLength);
  out += baseLength;
  *out++ = '.';
  // While an existing file is replaced, only the caller may read the new
  // contents; a new file gets the umask's mode from the start.
  const mode_t mode = m_fExisted ? 0600 : 0666;
  for (int attempt = 0; attempt < gs_iTemporaryAttempts; ++attempt) {
    drawSuffix(out);
    m_iFd = openRetrying(m_szTemporary, O_RDWR | O_CREAT | O_EXCL, mode);
    if (m_iFd >= 0) return true;
    if (errno != EEXIST) {
      const int error = errno;
      m_szTemporary[0] = '\0';
      return fail(Step::DIRECTORY, error);
    }
  }
  m_szTemporary[0] = '\0';
  return fail(Step::DIRECTORY, EEXIST);
}

bool FileReplacement::write(const void* data, std::size_t size) noexcept {
  if (m_iFd < 0) return fail(Step::WRITE, EBADF);
  errno = 0;
  if (!writeAll(m_iFd, data, size)) return fail(Step::WRITE, errno != 0 ? errno : ENOSPC);
  return true;
}

bool FileReplacement::takeOverAttributes() noexcept {
  if (!m_fExisted) return true;
  // The owner first: a change of owner clears the set-id bits, which the
  // mode below then restores where the caller may.
  if (::fchown(m_iFd, m_uOwner, m_uGroup) != 0) {
    if (errno != EPERM) return fail(Step::WRITE, errno);
    // Not allowed to give the file away; the group may still be one of
    // the caller's groups.
    if (::fchown(m_iFd, static_cast<uid_t>(-1), m_uGroup) != 0 && errno != EPERM) {
      return fail(Step::WRITE, errno);
    }
  }
  if (::fchmod(m_iFd, m_uMode) != 0) return fail(Step::WRITE, errno);
  return true;
}

bool FileReplacement::commit() noexcept {
  if (m_iFd < 0) return fail(Step::WRITE, EBADF);
  if (!takeOverAttributes()) return false;
  if (::fsync(m_iFd) != 0) return fail(Step::WRITE, errno);
  const int fd = m_iFd;
  m_iFd = -1;
  if (::close(fd) != 0) return fail(Step::WRITE, errno);
  if (std::rename(m_szTemporary, m_szTarget) != 0) return fail(Step::REPLACE, errno);
  m_fCommitted = true;
  // The rename lives in the directory: sync it, or a crash may bring back
  // the old file. Nothing can be undone here, so a failure is not reported.
  UniqueFd directory(openRetrying(m_szDirectory, O_RDONLY | O_DIRECTORY, 0));
  if (directory.isOpen()) ::fsync(directory.get());
  return true;
}

void FileReplacement::discard() noexcept {
  if (m_iFd >= 0) {
    ::close(m_iFd);
    m_iFd = -1;
  }
  if (!m_fCommitted && m_szTemporary[0] != '\0') ::unlink(m_szTemporary);
  m_szTemporary[0] = '\0';
}

}  // namespace kiv::detail
