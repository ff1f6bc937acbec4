// Console UI parameters: initial values, the private usage and help copies,
// and the switching of the output and error streams.

#include "kiv_conuiparams.hpp"

#include <cstring>
#include <iostream>
#include <new>

#include "kiv_envvar.hpp"
#include "kiv_memmgr.hpp"
#include "../foundation/kiv_cloexec.hpp"

namespace {

// The no-usage marker: never equal to a copy, which always has its own
// storage.
const char gs_szNoUsage[] = "";

// A copy of `text` in memory of the memory manager, or null for null.
char* copyText(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  char* copy = static_cast<char*>(kivMalloc(size));
  std::memcpy(copy, text, size);
  return copy;
}

}  // namespace

KivClConsoleUIParams::KivClConsoleUIParams(const char* argv0)
    : m_pszUsage(gs_szNoUsage),
      m_pszHelp(nullptr),
      m_szInput{},
      m_szProcessName{},
      m_ulProcessNameLength(0),
      m_ulProgressCounter(0),
      m_fQuiet(false),
      m_fHideTaggedLines(false),
      m_fDisableTaggedLines(false),
      m_fQuoteStrings(
          KivClEnvironmentVariableQueryOnly(KIV_CONUI_QUOTE_STRINGS_VAR).hasValueEnabled()),
      m_ulFormatWidth(KIV_CONUI_FORMAT_WIDTH),
      m_enFormatStyle(KivEnFormatStyle::LEFT),
      m_chFillChar('.'),
      m_pOutputStream(&std::cout),
      m_pErrorStream(&std::cerr),
      m_pQuietStream(nullptr) {
  if (argv0 == nullptr) return;
  const char* slash = std::strrchr(argv0, '/');
  const char* name = slash != nullptr ? slash + 1 : argv0;
  // At most 25 characters, always terminated (the buffer starts zeroed),
  // then cut at the first ".", so "mytool.exe" becomes "mytool".
  const std::size_t length = strnlen(name, KIV_CONUI_PROCESS_NAME_MAX);
  std::memcpy(m_szProcessName, name, length);
  if (char* dot = std::strchr(m_szProcessName, '.')) *dot = '\0';
  m_ulProcessNameLength = static_cast<std::uint32_t>(std::strlen(m_szProcessName));
}

KivClConsoleUIParams::~KivClConsoleUIParams() {
  if (hasUsage()) kivFree(const_cast<char*>(m_pszUsage));
  kivFree(m_pszHelp);
  m_pOutputStream = nullptr;
  m_pErrorStream = nullptr;
  if (m_pQuietStream != nullptr) {
    m_pQuietStream->~basic_ofstream();
    kivFree(m_pQuietStream);
    m_pQuietStream = nullptr;
  }
}

bool KivClConsoleUIParams::hasUsage() const { return m_pszUsage != gs_szNoUsage; }

void KivClConsoleUIParams::setUsage(const char* usage, const char* help) {
  // Copy first: the new texts may point into the old copies, and a failed
  // allocation must leave the old ones in place.
  char* usageCopy = copyText(usage);
  char* helpCopy = nullptr;
  try {
    helpCopy = copyText(help);
  } catch (...) {
    kivFree(usageCopy);
    throw;
  }
  if (hasUsage()) kivFree(const_cast<char*>(m_pszUsage));
  kivFree(m_pszHelp);
  m_pszUsage = usageCopy != nullptr ? usageCopy : gs_szNoUsage;
  m_pszHelp = helpCopy;
}

void KivClConsoleUIParams::setQuietMode() {
  if (m_pQuietStream == nullptr) {
    void* storage = kivMalloc(sizeof(std::ofstream));
    try {
      m_pQuietStream = new (storage) std::ofstream("/dev/null", std::ios::out);
    } catch (...) {
      kivFree(storage);
      throw;
    }
    kiv::detail::setCloseOnExec(*m_pQuietStream);
  }
  m_pOutputStream = m_pQuietStream;
  m_pErrorStream = m_pQuietStream;
  m_fQuiet = true;
}

void KivClConsoleUIParams::setOutputStream(std::ostream& stream) {
  if (m_fQuiet) return;
  m_pOutputStream = &stream;
  m_pErrorStream = &stream;
}

void KivClConsoleUIParams::forceOutputStream(std::ostream& stream) {
  m_pOutputStream = &stream;
  m_pErrorStream = &std::cerr;
  m_fQuiet = false;
}

void KivClConsoleUIParams::flushOutputStream() {
  m_pOutputStream->flush();
  m_pErrorStream->flush();
}
