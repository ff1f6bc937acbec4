// Message catalogs: construction, the string-table fallback and the proxy
// behind the flat-interface handle.

#include "kiv_msgcat.hpp"

#include <cstring>
#include <new>

#include "kiv_memmgr.hpp"
#include "kiv_message.hpp"

namespace {

// The catalog's own name: `name` with ".cat" in place of its extension.
KivClFilename catalogName(const KivClFilename& name) {
  KivClFilename result(name);
  result.setNewExtension(KIV_MSGCAT_EXTENSION);
  return result;
}

// Proxies own their catalogs through the library's memory manager, like the
// proxies themselves.
KivClMessageCatalog* newCatalog(const KivClFilename& name) {
  void* memory = kivMalloc(sizeof(KivClMessageCatalog));
  try {
    return new (memory) KivClMessageCatalog(name);
  } catch (...) {
    kivFree(memory);
    throw;
  }
}

void deleteCatalog(const KivClMessageCatalog* catalog) noexcept {
  if (catalog == nullptr) return;
  catalog->~KivClMessageCatalog();
  kivFree(const_cast<KivClMessageCatalog*>(catalog));
}

}  // namespace

// ---------------------------------------------------------------------------
// KivClMessageCatalog
// ---------------------------------------------------------------------------

KivClMessageCatalog::KivClMessageCatalog()
    : KivClFile(KivClFilename(KIV_MSGCAT_DEFAULT_NAME)),
      m_bOpen(false),
      m_bDefault(true),
      m_ppszStringTable(nullptr),
      m_ulStringTableSize(0) {
  m_filename.setNewExtension(KIV_MSGCAT_EXTENSION);
  init();
}

KivClMessageCatalog::KivClMessageCatalog(const KivClFilename& name)
    : KivClFile(catalogName(name)),
      m_bOpen(false),
      m_bDefault(false),
      m_ppszStringTable(nullptr),
      m_ulStringTableSize(0) {
  init();
}

KivClMessageCatalog::~KivClMessageCatalog() = default;

void KivClMessageCatalog::useStringTable(const char* const* table, unsigned long size) {
  m_ppszStringTable = table;
  m_ulStringTableSize = table != nullptr ? size : 0;
}

// ---------------------------------------------------------------------------
// KivClMessageCatalogProxy
// ---------------------------------------------------------------------------

KivClMessageCatalogProxy::KivClMessageCatalogProxy(const KivClFilename& name)
    : m_bOwnsCatalog(true), m_pclCatalog(newCatalog(name)), m_szText{} {}

KivClMessageCatalogProxy::KivClMessageCatalogProxy(const KivClFilename& name,
                                                   const char* const* table, unsigned long size)
    : m_bOwnsCatalog(true), m_pclCatalog(nullptr), m_szText{} {
  KivClMessageCatalog* catalog = newCatalog(name);
  if (!catalog->isOpen()) catalog->useStringTable(table, size);
  m_pclCatalog = catalog;
}

KivClMessageCatalogProxy::KivClMessageCatalogProxy(const KivClMessageCatalog* catalog)
    : m_bOwnsCatalog(false), m_pclCatalog(catalog), m_szText{} {}

KivClMessageCatalogProxy::~KivClMessageCatalogProxy() {
  if (m_bOwnsCatalog) deleteCatalog(m_pclCatalog);
  m_pclCatalog = nullptr;
}

bool KivClMessageCatalogProxy::isValidMessageId(unsigned long id) const {
  if (m_pclCatalog == nullptr) return false;
  return KivClMessage(*m_pclCatalog, id).isLoaded();
}

const char* KivClMessageCatalogProxy::getMessage(unsigned long id) {
  return getMessage(id, nullptr);
}

const char* KivClMessageCatalogProxy::getMessage(unsigned long id, const char* const* inserts) {
  if (m_pclCatalog == nullptr) {
    m_szText[0] = '\0';
    return m_szText;
  }
  // The buffer is overwritten only once the message is complete: an insert
  // may be the text fetched before through this proxy.
  const KivClMessage message(*m_pclCatalog, id, inserts);
  // A fallback text with a very long catalog file name may not fit: it is
  // cut at the buffer's end.
  const std::size_t length = std::strlen(message.getText());
  const std::size_t kept = length < sizeof(m_szText) - 1 ? length : sizeof(m_szText) - 1;
  std::memcpy(m_szText, message.getText(), kept);
  m_szText[kept] = '\0';
  return m_szText;
}
