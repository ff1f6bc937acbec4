// The flat interface of message catalogs: a handle is a proxy allocated
// through the library's memory manager.

#include <cstdarg>
#include <new>

#include "kiv_memmgr.hpp"
#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"

namespace {

// Builds a proxy in memory from the memory manager; the memory goes back if
// the construction throws.
template <typename... Args>
KivClMessageCatalogProxy* newProxy(const Args&... args) {
  void* memory = kivMalloc(sizeof(KivClMessageCatalogProxy));
  try {
    return new (memory) KivClMessageCatalogProxy(args...);
  } catch (...) {
    kivFree(memory);
    throw;
  }
}

void deleteProxy(KivClMessageCatalogProxy* proxy) noexcept {
  proxy->~KivClMessageCatalogProxy();
  kivFree(proxy);
}

}  // namespace

extern "C" {

KivClMessageCatalogProxy* kivMsgCatOpen(const char* name) {
  KivClMessageCatalogProxy* proxy = newProxy(KivClFilename(name));
  if (!proxy->getCatalog()->isOpen()) {
    deleteProxy(proxy);
    return nullptr;
  }
  return proxy;
}

KivClMessageCatalogProxy* kivMsgCatOpenAttach(const KivClMessageCatalog* catalog) {
  if (catalog == nullptr || !catalog->isOpen()) return nullptr;
  return newProxy(catalog);
}

KivClMessageCatalogProxy* kivMsgCatOpenOrUseStringTable(const char* name, const char* const* table,
                                                        unsigned long size) {
  return newProxy(KivClFilename(name), table, size);
}

bool kivMsgCatIsValid(KivClMessageCatalogProxy* handle, unsigned long id) {
  if (handle == nullptr) return false;
  return handle->isValidMessageId(id);
}

const char* kivMsgCatGet(KivClMessageCatalogProxy* handle, unsigned long id) {
  if (handle == nullptr) return nullptr;
  return handle->getMessage(id);
}

const char* kivMsgCatGetVar(KivClMessageCatalogProxy* handle, unsigned long id, const char* insert1,
                            ...) {
  // The argument after the first insert is read in any case; the list ends
  // at the first null read after it or when ten inserts are collected.
  const char* inserts[KIV_MESSAGE_MAX_INSERTS] = {};
  inserts[0] = insert1;
  va_list arguments;
  va_start(arguments, insert1);
  for (unsigned long i = 1; i < KIV_MESSAGE_MAX_INSERTS; ++i) {
    inserts[i] = va_arg(arguments, const char*);
    if (inserts[i] == nullptr) break;
  }
  va_end(arguments);
  if (handle == nullptr) return nullptr;
  return handle->getMessage(id, inserts);
}

void kivMsgCatClose(KivClMessageCatalogProxy* handle) {
  if (handle == nullptr) return;
  deleteProxy(handle);
}

}  // extern "C"
