// Finding a message catalog file along NLSPATH, copying it into a sealed
// memory file and checking the copy; see kiv_msgcat_file.hpp.

#include "kiv_msgcat_file.hpp"

#include <fcntl.h>
#include <limits.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "../foundation/kiv_unique_fd.hpp"

namespace {

using kiv::detail::UniqueFd;

// Layout of a catalog file, as gencat writes it:
//   - three 32-bit words: the magic number, the size and the depth of a hash
//     table; written in the byte order of the machine that made the file
//     (catopen accepts either order);
//   - the hash table twice, first with little-endian words, then with
//     big-endian words: size * depth entries of three words each (set,
//     message, offset of the text); catopen reads the copy in its own byte
//     order;
//   - the NUL-terminated texts; the offsets count from the first of them.
constexpr std::uint32_t gs_uCatalogMagic = 0x960408deU;
constexpr std::size_t gs_uHeaderSize = 3 * sizeof(std::uint32_t);
constexpr std::size_t gs_uEntrySize = 3 * sizeof(std::uint32_t);

// catopen's places after those of NLSPATH (the platform's C library has
// them built in).
constexpr const char* gs_szDefaultSearchPath =
    "/usr/share/locale/%L/%N:/usr/share/locale/%L/LC_MESSAGES/%N:"
    "/usr/share/locale/%l/%N:/usr/share/locale/%l/LC_MESSAGES/%N:";

std::uint32_t wordAt(const unsigned char* p) noexcept {
  std::uint32_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

// ---------------------------------------------------------------------------
// The search along NLSPATH
// ---------------------------------------------------------------------------

// The characters of "<NLSPATH>:<default places>", or of the default places
// alone when NLSPATH is unset or empty, walked without joining the texts.
class SearchPathText {
 public:
  explicit SearchPathText(const char* nlspath) noexcept
      : m_apszParts{nlspath, ":", gs_szDefaultSearchPath},
        m_iPart(nlspath != nullptr && *nlspath != '\0' ? 0 : 2),
        m_pszAt(m_apszParts[m_iPart]) {}

  // The current character; NUL at the end.
  char peek() noexcept {
    while (*m_pszAt == '\0' && m_iPart < 2) m_pszAt = m_apszParts[++m_iPart];
    return *m_pszAt;
  }
  void advance() noexcept {
    if (peek() != '\0') ++m_pszAt;
  }

 private:
  const char* m_apszParts[3];
  int m_iPart;
  const char* m_pszAt;
};

// One candidate file name as the search builds it. Like catopen, it counts
// every character it is given (an element that gives none is skipped), and a
// NUL given by a replacement ends the name there.
class Candidate {
 public:
  void add(char c) noexcept {
    ++m_uCount;
    if (m_fEnded || m_fTooLong) return;
    if (c == '\0') {
      m_fEnded = true;
    } else if (m_uKept + 1 == sizeof m_szText) {
      // open() would refuse it with ENAMETOOLONG; the search goes on.
      m_fTooLong = true;
    } else {
      m_szText[m_uKept++] = c;
    }
  }
  void add(const char* text) noexcept {
    while (*text != '\0') add(*text++);
  }
  void clear() noexcept { *this = Candidate(); }

  // The name to try, or null when the element gave nothing to try.
  const char* name() noexcept {
    if (m_uCount == 0 || m_fTooLong) return nullptr;
    m_szText[m_uKept] = '\0';
    return m_szText;
  }

 private:
  char m_szText[PATH_MAX] = {};
  std::size_t m_uKept = 0;
  std::size_t m_uCount = 0;
  bool m_fEnded = false;
  bool m_fTooLong = false;
};

// %l: the language, up to the first "_" or "." (at least one character).
void addLanguage(Candidate& candidate, const char* locale) noexcept {
  const char* p = locale;
  do {
    candidate.add(*p);
    if (*p == '\0') return;
    ++p;
  } while (*p != '\0' && *p != '_' && *p != '.');
}

// %t and %c: what follows the first `marker` after the first character, up
// to `end` (NUL ends it too); nothing when there is no such marker.
void addPart(Candidate& candidate, const char* locale, char marker, char end) noexcept {
  const char* p = locale;
  if (*p == '\0') return;
  do {
    ++p;
  } while (*p != '\0' && *p != marker);
  if (*p != marker) return;
  ++p;
  do {
    candidate.add(*p);
    if (*p == '\0') return;
    ++p;
  } while (*p != '\0' && *p != end);
}

// The locale that names catalogs: that of LC_MESSAGES, "C" when it has none
// (or, in a program running with raised privileges, when it holds a "/").
const char* catalogLocale() noexcept {
  const char* locale = std::setlocale(LC_MESSAGES, nullptr);
  if (locale == nullptr || *locale == '\0') return "C";
  if (getauxval(AT_SECURE) != 0 && std::strchr(locale, '/') != nullptr) return "C";
  return locale;
}

int openCandidate(const char* path) noexcept {
  // O_NONBLOCK: a FIFO put in the way must not hang the search; it is not
  // a regular file and fails the check afterwards anyway.
  return kiv::detail::openRetrying(path, O_RDONLY | O_NOCTTY | O_NONBLOCK, 0);
}

// Builds the next candidate of `text` into `candidate`; `text` then stands
// after the element.
void expandElement(SearchPathText& text, Candidate& candidate, const char* name,
                   const char* locale) noexcept {
  if (text.peek() == ':') {
    // An empty element (a leading ":" or "::") stands for the name itself.
    candidate.add(name);
  }
  while (text.peek() != ':' && text.peek() != '\0') {
    const char c = text.peek();
    text.advance();
    if (c != '%') {
      candidate.add(c);
      continue;
    }
    const char variable = text.peek();
    text.advance();
    switch (variable) {
      case 'N':
        candidate.add(name);
        break;
      case 'L':
        candidate.add(locale);
        break;
      case 'l':
        addLanguage(candidate, locale);
        break;
      case 't':
        addPart(candidate, locale, '_', '.');
        break;
      case 'c':
        addPart(candidate, locale, '.', '\0');
        break;
      case '%':
        candidate.add('%');
        break;
      default:
        // An unknown replacement drops the rest of the element.
        candidate.clear();
        while (text.peek() != ':' && text.peek() != '\0') text.advance();
        break;
    }
  }
  text.advance();  // the ":" that ends the element
}

}  // namespace

namespace kiv::detail {

bool isReadableCatalogImage(const unsigned char* image, std::size_t size) noexcept {
  if (image == nullptr || size < gs_uHeaderSize) return false;
  const std::uint32_t magic = wordAt(image);
  const bool swapped = magic != gs_uCatalogMagic;
  if (swapped && magic != __builtin_bswap32(gs_uCatalogMagic)) return false;
  const auto header = [&](std::size_t index) -> std::uint64_t {
    const std::uint32_t word = wordAt(image + index * sizeof(std::uint32_t));
    return swapped ? __builtin_bswap32(word) : word;
  };
  const std::uint64_t tableSize = header(1);
  const std::uint64_t tableDepth = header(2);
  // catgets takes the message number modulo the table size, and reads the
  // first row of the bucket it lands on even when the depth says there are
  // none: a table of depth 0 would send it to a row nobody checked.
  if (tableSize == 0 || tableDepth == 0) return false;
  // catopen and catgets count the words of both tables in 32 bits.
  const std::uint64_t entries = tableSize * tableDepth;
  if (entries > UINT32_MAX / 6) return false;
  const std::uint64_t tableBytes = entries * gs_uEntrySize;
  if (tableBytes > (size - gs_uHeaderSize) / 2) return false;
  const std::size_t textsStart = gs_uHeaderSize + 2 * static_cast<std::size_t>(tableBytes);

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  const unsigned char* table = image + gs_uHeaderSize;
#else
  const unsigned char* table = image + gs_uHeaderSize + tableBytes;
#endif
  // Texts lie one after the other, so every text ends at the latest where
  // the one at the largest offset ends.
  std::size_t lastText = 0;
  for (std::uint64_t i = 0; i < entries; ++i) {
    const std::uint32_t offset = wordAt(table + i * gs_uEntrySize + 2 * sizeof(std::uint32_t));
    if (offset > lastText) lastText = offset;
  }
  if (lastText >= size - textsStart) return false;
  const std::size_t last = textsStart + lastText;
  return std::memchr(image + last, '\0', size - last) != nullptr;
}

int openCatalogFile(const char* name) noexcept {
  if (name == nullptr) return -1;
  if (std::strchr(name, '/') != nullptr) return openCandidate(name);

  const char* locale = catalogLocale();
  SearchPathText text(std::getenv("NLSPATH"));
  Candidate candidate;
  while (text.peek() != '\0') {
    candidate.clear();
    expandElement(text, candidate, name, locale);
    const char* path = candidate.name();
    if (path == nullptr) continue;
    // The first file that opens ends the search, whatever it is.
    const int fd = openCandidate(path);
    if (fd >= 0) return fd;
  }
  return -1;
}

int copyCheckedCatalog(int fd) noexcept {
  struct stat status {};
  if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) return -1;
  if (status.st_size < static_cast<off_t>(gs_uHeaderSize) ||
      status.st_size > static_cast<off_t>(KIV_MSGCAT_FILE_MAX)) {
    return -1;
  }
  const auto size = static_cast<std::size_t>(status.st_size);

  UniqueFd copy(::memfd_create("kiv-catalog", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!copy.isOpen()) return -1;
  // The original may change while it is read; what counts is what arrived.
  std::size_t copied = 0;
  char chunk[8192];
  while (copied < size) {
    const std::size_t want = size - copied < sizeof chunk ? size - copied : sizeof chunk;
    const ssize_t count = readRetrying(fd, chunk, want);
    if (count < 0) return -1;
    if (count == 0) break;
    if (!writeAll(copy.get(), chunk, static_cast<std::size_t>(count))) return -1;
    copied += static_cast<std::size_t>(count);
  }
  if (copied < gs_uHeaderSize) return -1;
  // From here on the copy can neither change nor shrink: neither the check
  // below nor catopen's mapping can meet anything else.
  if (::fcntl(copy.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL) !=
      0) {
    return -1;
  }
  void* image = ::mmap(nullptr, copied, PROT_READ, MAP_PRIVATE, copy.get(), 0);
  if (image == MAP_FAILED) return -1;
  const bool readable = isReadableCatalogImage(static_cast<const unsigned char*>(image), copied);
  ::munmap(image, copied);
  return readable ? copy.release() : -1;
}

}  // namespace kiv::detail
