// The platform's message-catalog calls (catopen, catgets, catclose) and the
// locale steps of opening a catalog, kept in this one file.

#include <climits>
#include <clocale>
#include <cstdio>

#include <nl_types.h>

#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgcat_file.hpp"
#include "../foundation/kiv_unique_fd.hpp"

namespace {

// catopen reports failure as (nl_catd)-1; the descriptor keeps null then.
const nl_catd gs_catdFailed = reinterpret_cast<nl_catd>(-1);

nl_catd asCatd(void* handle) { return static_cast<nl_catd>(handle); }

}  // namespace

namespace kiv::detail {

CatalogDescriptor::~CatalogDescriptor() { close(); }

bool CatalogDescriptor::open(const char* name) noexcept {
  close();
  // catopen trusts the file it maps, so it only ever gets a checked copy
  // that nobody can change (see kiv_msgcat_file.hpp); the file is looked up
  // here the way catopen itself would look it up.
  const UniqueFd file(openCatalogFile(name));
  if (!file.isOpen()) return false;
  const UniqueFd copy(copyCheckedCatalog(file.get()));
  if (!copy.isOpen()) return false;
  char path[32];
  std::snprintf(path, sizeof path, "/proc/self/fd/%d", copy.get());
  const nl_catd catd = catopen(path, NL_CAT_LOCALE);
  if (catd == gs_catdFailed || catd == nullptr) return false;
  m_pvHandle = catd;
  return true;
}

void CatalogDescriptor::close() noexcept {
  if (m_pvHandle == nullptr) return;
  catclose(asCatd(m_pvHandle));
  m_pvHandle = nullptr;
}

const char* CatalogDescriptor::get(int set, int id) const noexcept {
  if (m_pvHandle == nullptr) return nullptr;
  return catgets(asCatd(m_pvHandle), set, id, nullptr);
}

}  // namespace kiv::detail

void KivClMessageCatalog::init() {
  m_clDescriptor.close();
  m_bOpen = false;

  std::setlocale(LC_ALL, "");
  const char* name = getAsCString();
  if (!m_clDescriptor.open(name)) {
    // The environment may name a locale whose catalog does not exist (or a
    // locale the system lacks); the "C" locale finds the neutral one.
    if (std::setlocale(LC_ALL, "C") == nullptr) return;
    if (!m_clDescriptor.open(name)) return;
  }

  // A file that opens but does not answer message 1 is not one of ours.
  m_bOpen = true;
  const KivClMessage first(*this, 1);
  if (!first.isLoaded()) {
    m_clDescriptor.close();
    m_bOpen = false;
  }
}

const char* KivClMessageCatalog::getCatalogText(unsigned long id) const {
  if (!m_bOpen || id > static_cast<unsigned long>(INT_MAX)) return nullptr;
  return m_clDescriptor.get(1, static_cast<int>(id));
}
