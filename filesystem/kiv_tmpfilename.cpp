// Temporary and backup file names, and the temporary directory.
#include <unistd.h>

#include <cstring>

#include "kiv_envvar.hpp"
#include "kiv_filename.hpp"
#include "kiv_filename_detail.hpp"
#include "kiv_random.hpp"

namespace {

constexpr char gs_szDefaultTmpPrefix[] = "tmp";
constexpr char gs_szDefaultTmpDirectory[] = "/tmp";
constexpr char gs_szBackupSuffix[] = ".bak";

}  // namespace

namespace kiv::detail {

void formatTmpName(char* out, const char* prefix, std::uint64_t value, std::uint64_t pid) noexcept {
  const std::size_t prefixLength = prefix != nullptr ? strnlen(prefix, kTmpNamePrefixMax) : 0;
  if (prefixLength != 0) std::memcpy(out, prefix, prefixLength);
  // Digit i from the right is (value / 41^i) mod 41.
  for (std::size_t i = kTmpNameBaseLength; i > prefixLength; --i) {
    out[i - 1] = kTmpNameAlphabet[value % kTmpNameRadix];
    value /= kTmpNameRadix;
  }
  out[kTmpNameBaseLength] = '.';
  // Units first, then tens, then hundreds. The reversed order is part of
  // the name format and is kept on purpose.
  for (std::size_t i = 0; i < 3; ++i) {
    out[kTmpNameBaseLength + 1 + i] = static_cast<char>('0' + pid % 10);
    pid /= 10;
  }
  out[kTmpNameLength] = '\0';
}

bool findUnusedTmpName(char* text, std::size_t nameOffset, const char* prefix, std::uint64_t pid,
                       const KivClRandomNumberGenerator& generator,
                       std::uint64_t maxAttempts) noexcept {
  if (nameOffset > KIV_PATH_MAX_LENGTH) nameOffset = KIV_PATH_MAX_LENGTH;
  const std::size_t room = KIV_PATH_MAX_LENGTH - nameOffset;
  const std::size_t count = room < kTmpNameLength ? room : kTmpNameLength;
  char name[kTmpNameLength + 1];
  std::uint64_t attempt = 0;
  do {
    formatTmpName(name, prefix, generator.getRandomNumber(), pid);
    std::memcpy(text + nameOffset, name, count);
    text[nameOffset + count] = '\0';
    // The name is only tested, not created; a name that cannot be reached
    // (for instance because it is too long) counts as unused.
    if (access(text, F_OK) != 0) return true;
  } while (++attempt < maxAttempts);
  return false;
}

}  // namespace kiv::detail

extern "C" const char* kivGetTmpDirectory(void) {
  const KivClEnvironmentVariableQueryOnly variable("TMP");
  const char* value = variable.getValue();
  return value != nullptr ? value : gs_szDefaultTmpDirectory;
}

KivClTmpFilename::KivClTmpFilename() {
  generate(kivGetTmpDirectory(), KIV_PATH_MAX_LENGTH, gs_szDefaultTmpPrefix);
}

KivClTmpFilename::KivClTmpFilename(const char* prefix) {
  generate(kivGetTmpDirectory(), KIV_PATH_MAX_LENGTH, prefix);
}

KivClTmpFilename::KivClTmpFilename(const char* directory, const char* prefix) {
  generate(directory, KIV_PATH_MAX_LENGTH, prefix);
}

KivClTmpFilename::KivClTmpFilename(const KivClFilenameABase& filename, const char* prefix) {
  // The directory is the text up to the name part, server prefix included.
  generate(filename.getAsCString(),
           static_cast<std::size_t>(filename.getName() - filename.getAsCString()), prefix);
}

void KivClTmpFilename::generate(const char* directory, std::size_t directoryCount,
                                const char* prefix) {
  const std::size_t placed = init(directory, directoryCount, prefix, nullptr);
  // The generated name goes over the name part of the composed text, which
  // begins after its last separator. Only when the directory left no room
  // for a name at all does the text stay as composed (nothing is written).
  const std::size_t nameOffset =
      placed < KIV_PATH_MAX_LENGTH ? static_cast<std::size_t>(m_pszName - m_szText) : placed;
  const KivClRandomNumberGenerator generator;
  kiv::detail::findUnusedTmpName(m_szText, nameOffset, prefix, static_cast<std::uint64_t>(getpid()),
                                 generator, KIV_TMPNAME_MAX_ATTEMPTS);
  determineParts();
}

KivClBakFilename::KivClBakFilename(const KivClFilenameABase& filename) noexcept
    : KivClFilenameABase(filename) {
  // Appended to the whole text; the extension stays where it was, so a
  // name without a dot gets the extension ".bak".
  const auto length = static_cast<std::size_t>(m_ulLength);
  m_ulLength = length + kiv::detail::copyBounded(m_szText + length, gs_szBackupSuffix,
                                                 KIV_PATH_MAX_LENGTH - length);
}
