// The INI file object: construction, the three ways of loading, the line
// reader and the parser that builds the model line by line.
#include <cstring>
#include <fstream>
#include <istream>
#include <streambuf>

#include "../foundation/kiv_cloexec.hpp"
#include "kiv_inifile.hpp"
#include "kiv_inifile_internal.hpp"

using kiv::detail::iniIsSpace;

namespace {

// An input stream buffer over the caller's memory: the buffer is read in
// place, never copied.
class MemoryStreamBuffer : public std::streambuf {
 public:
  MemoryStreamBuffer(const char* data, std::size_t length) {
    // The get area is only read; the cast is what the interface needs.
    char* start = const_cast<char*>(data);
    setg(start, start, start + length);
  }
};

// The line buffer: the longest line, its terminator and one spare byte.
constexpr std::size_t gs_uLineBufferSize = KIV_INIFILE_LINE_MAX + 2;

}  // namespace

KivClIniFile::KivClIniFile(const KivClFilenameABase& name)
    : KivClFile(name, ".ini"),
      m_pFirstSection(nullptr),
      m_pLastSection(nullptr),
      m_uLineNumber(0),
      m_pCurrentSection(nullptr),
      m_pfuErrorHandler(nullptr),
      m_pErrorHandlerData(nullptr),
      m_pTailSection(nullptr),
      m_pTailOption(nullptr),
      m_pIndex(nullptr) {}

KivClIniFile::~KivClIniFile() {
  dropIndex();
  delete m_pFirstSection;
}

void KivClIniFile::setErrorHandler(KivPfuIniFileErrorHandler handler, void* userData) noexcept {
  m_pfuErrorHandler = handler;
  m_pErrorHandlerData = userData;
}

bool KivClIniFile::load(bool allowContinuation) {
  m_uLineNumber = 0;
  std::ifstream stream(getAsCString(), std::ios::in | std::ios::binary);
  // The error handler may launch a program while the file is open.
  kiv::detail::setCloseOnExec(stream);
  if (!stream.is_open()) {
    // The lists stay as they are, but like every load this one ends with
    // no section current.
    m_pCurrentSection = nullptr;
    return false;
  }
  const bool result = load(stream, '\n', true, allowContinuation);
  // A read error (a directory, an I/O failure) is not the end of the file.
  return result && !stream.bad();
}

bool KivClIniFile::loadFromBuffer(const char* buffer, unsigned long length, char delimiter,
                                  bool keepDuplicateSections, bool allowContinuation) {
  if (buffer == nullptr) length = 0;
  MemoryStreamBuffer memory(buffer, length);
  std::istream stream(&memory);
  return load(stream, delimiter, keepDuplicateSections, allowContinuation);
}

bool KivClIniFile::error(unsigned long errorId) {
  if (m_pfuErrorHandler == nullptr) return true;
  const _KivStError record{static_cast<long>(errorId), KivEnErrorClass::USER_DATA_ERROR};
  const bool goOn = m_pfuErrorHandler(record, m_uLineNumber, m_pErrorHandlerData);
  // The handler may have edited the model; the cached tail is re-found.
  m_pTailSection = nullptr;
  m_pTailOption = nullptr;
  return goOn;
}

bool KivClIniFile::nextLine(std::istream& stream, char* buffer, char delimiter) {
  if (stream.eof() || stream.fail()) return false;
  buffer[0] = '\0';
  // At most 1023 characters: a longer line leaves the stream failed after
  // them, so that this line is the last one read.
  stream.getline(buffer, static_cast<std::streamsize>(KIV_INIFILE_LINE_MAX + 1), delimiter);
  ++m_uLineNumber;
  return true;
}

bool KivClIniFile::skipComment(std::istream& stream, char* buffer, char delimiter) {
  for (;;) {
    const char* p = buffer;
    while (iniIsSpace(*p)) ++p;
    if (*p != '\0' && *p != ';') return true;
    if (!nextLine(stream, buffer, delimiter)) return false;
  }
}

KivClIniFileSection* KivClIniFile::getExistingSection(const char* start, const char* end) const {
  const KivClIniFileSection probe(start, end);
  for (KivClIniFileSection* s = m_pFirstSection; s != nullptr; s = s->getNext()) {
    if (kiv::detail::iniNamesEqual(s->getName(), probe.getName())) return s;
  }
  return nullptr;
}

void KivClIniFile::addSection(KivClIniFileSection* section) noexcept {
  if (section == nullptr) return;
  kiv::detail::iniModelChanged();
  if (m_pFirstSection == nullptr) {
    m_pFirstSection = section;
  } else {
    // The tail is re-found in case a program linked records by hand.
    while (m_pLastSection->getNext() != nullptr) m_pLastSection = m_pLastSection->getNext();
    m_pLastSection->appendSection(section);
  }
  m_pLastSection = section;
  while (m_pLastSection->getNext() != nullptr) m_pLastSection = m_pLastSection->getNext();
  m_pCurrentSection = section;
}

void KivClIniFile::addOption(KivClIniFileOption* option) noexcept {
  if (option == nullptr) return;
  if (m_pCurrentSection == nullptr) {
    delete option;  // nowhere to keep it
    return;
  }
  KivClIniFileOption* tail = (m_pTailSection == m_pCurrentSection) ? m_pTailOption : nullptr;
  if (tail == nullptr) tail = m_pCurrentSection->getFirstOption();
  if (tail == nullptr) {
    m_pCurrentSection->setFirstOption(option);
  } else {
    while (tail->getNext() != nullptr) tail = tail->getNext();
    tail->appendOption(option);
  }
  tail = option;
  while (tail->getNext() != nullptr) tail = tail->getNext();
  m_pTailSection = m_pCurrentSection;
  m_pTailOption = tail;
}

bool KivClIniFile::load(std::istream& stream, char delimiter, bool keepDuplicateSections,
                        bool allowContinuation) {
  // However the load ends (also by an exception from the memory manager or
  // the handler), no section stays current and the tail cache is dropped.
  struct EndOfLoad {
    KivClIniFile& file;
    ~EndOfLoad() {
      file.m_pCurrentSection = nullptr;
      file.m_pTailSection = nullptr;
      file.m_pTailOption = nullptr;
    }
  } endOfLoad{*this};
  char line[gs_uLineBufferSize];
  line[0] = '\0';
  // Options belong to a header of this input: a section that getSection or
  // addSection made current before the load does not take the lines in
  // front of the first header.
  m_pCurrentSection = nullptr;
  m_pTailSection = nullptr;
  m_pTailOption = nullptr;
  // The option that an indented line continues.
  KivClIniFileOption* target = nullptr;
  bool stopped = false;
  bool more = skipComment(stream, line, delimiter);
  while (more) {
    bool goOn = true;
    const char first = line[0];
    if (first == '[') {
      const char* close = std::strchr(line + 1, ']');
      if (close == nullptr) {
        goOn = error(KIV_INIFILE_INVAL_SECTION);
      } else {
        KivClIniFileSection* existing =
            keepDuplicateSections ? nullptr : getExistingSection(line + 1, close);
        if (existing != nullptr) {
          m_pCurrentSection = existing;
        } else {
          addSection(new KivClIniFileSection(line + 1, close));
        }
      }
      target = nullptr;
    } else if (m_pCurrentSection == nullptr) {
      // Lines before the first header belong to no section: dropped.
    } else if (iniIsSpace(first)) {
      if (allowContinuation && target != nullptr) {
        target->appendOptionValue(line);
      } else {
        target = nullptr;
        goOn = error(KIV_INIFILE_INVAL_WHITESPACE);
      }
    } else {
      auto* option = new KivClIniFileOption(line);
      if (option->getValue() == nullptr) {
        delete option;
        goOn = error(KIV_INIFILE_INVAL_OPTION);
      } else {
        addOption(option);
        target = option;
      }
    }
    if (!goOn) {
      stopped = true;
      break;
    }
    more = nextLine(stream, line, delimiter) && skipComment(stream, line, delimiter);
  }
  return !stopped;
}
