// INI records: the lifetime and linking of sections and options. Lists are
// freed iteratively, so that a file of a million sections or options does
// not exhaust the stack when it is destroyed.
#include <cstring>

#include "kiv_inifile.hpp"
#include "kiv_inifile_internal.hpp"
#include "kiv_memmgr.hpp"

std::atomic<std::uint64_t> kiv::detail::g_iniModelChanges{0};

namespace {

void copySectionName(char* target, const char* start, std::size_t length) {
  if (length > KIV_INIFILE_SECTION_NAME_MAX) length = KIV_INIFILE_SECTION_NAME_MAX;
  // memcpy wants a valid source even for no bytes, and an empty name may
  // come with a null start.
  if (length > 0) std::memcpy(target, start, length);
  target[length] = '\0';
}

}  // namespace

KivClIniFileSection::KivClIniFileSection(const char* name) noexcept
    : m_pNext(nullptr), m_pFirstOption(nullptr) {
  if (name == nullptr) name = "";
  copySectionName(m_szName, name, strnlen(name, KIV_INIFILE_SECTION_NAME_MAX));
}

KivClIniFileSection::KivClIniFileSection(const char* start, const char* end) noexcept
    : m_pNext(nullptr), m_pFirstOption(nullptr) {
  const std::size_t length = (start != nullptr && end != nullptr && end > start)
                                 ? static_cast<std::size_t>(end - start)
                                 : 0;
  copySectionName(m_szName, start, length);
}

KivClIniFileSection::~KivClIniFileSection() {
  kiv::detail::iniModelChanged();
  delete m_pFirstOption;
  KivClIniFileSection* next = m_pNext;
  m_pNext = nullptr;
  while (next != nullptr) {
    KivClIniFileSection* after = next->m_pNext;
    next->m_pNext = nullptr;
    delete next;
    next = after;
  }
}

void* KivClIniFileSection::operator new(std::size_t size) { return kivMalloc(size); }

void KivClIniFileSection::operator delete(void* p) noexcept { kivFree(p); }

void KivClIniFileSection::appendSection(KivClIniFileSection* section) noexcept {
  if (section == nullptr || section == this) return;
  kiv::detail::iniModelChanged();
  KivClIniFileSection* tail = section;
  while (tail->m_pNext != nullptr) tail = tail->m_pNext;
  tail->m_pNext = m_pNext;
  m_pNext = section;
}

void KivClIniFileSection::setFirstOption(KivClIniFileOption* option) noexcept {
  kiv::detail::iniModelChanged();
  m_pFirstOption = option;
}

void KivClIniFileSection::deleteContents() noexcept {
  kiv::detail::iniModelChanged();
  m_szName[0] = '\0';
  delete m_pFirstOption;
  m_pFirstOption = nullptr;
}

KivClIniFileOption::~KivClIniFileOption() {
  kiv::detail::iniModelChanged();
  KivClIniFileOption* next = m_pNext;
  m_pNext = nullptr;
  while (next != nullptr) {
    KivClIniFileOption* after = next->m_pNext;
    next->m_pNext = nullptr;
    delete next;
    next = after;
  }
}

void* KivClIniFileOption::operator new(std::size_t size) { return kivMalloc(size); }

void KivClIniFileOption::operator delete(void* p) noexcept { kivFree(p); }

void KivClIniFileOption::appendOption(KivClIniFileOption* option) noexcept {
  if (option == nullptr || option == this) return;
  kiv::detail::iniModelChanged();
  KivClIniFileOption* tail = option;
  while (tail->m_pNext != nullptr) tail = tail->m_pNext;
  tail->m_pNext = m_pNext;
  m_pNext = option;
}
