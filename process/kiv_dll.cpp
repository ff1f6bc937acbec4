// Shared libraries: completion of the name, loading, symbol lookup and the
// flat interface over opaque handles.

#include "kiv_dll.hpp"

#include <dlfcn.h>

#include <new>

#include "kiv_memmgr.hpp"

void kiv::detail::DllHandleCloser::operator()(void* handle) const noexcept {
  if (handle != nullptr) ::dlclose(handle);
}

// ---------------------------------------------------------------------------
// KivClDllFile
// ---------------------------------------------------------------------------

KivClDllFile::KivClDllFile(const KivClFilenameABase& filename)
    : KivClExeFile(filename, getDefaultFileType(), false, getSystemPathEnvironmentVariable()) {
  if (load() != nullptr) return;
  // A name given without extension may also name a file that has none:
  // take the ".so" away again and try once more.
  const bool extensionAdded =
      filename.getExtension()[0] == '\0' && m_filename.getExtension()[0] != '\0';
  if (!extensionAdded || m_filename.isExistent()) return;
  m_filename.setNewExtension("");
  if (!hasDirectoryPart()) determinePath(false, getSystemPathEnvironmentVariable());
  load();
}

KivClDllFile::~KivClDllFile() = default;

void* KivClDllFile::load() {
  const char* name = m_filename.getAsCString();
  // dlopen would take the empty text for the main program.
  void* handle = name[0] == '\0' ? nullptr : ::dlopen(name, RTLD_NOW);
  // The handle held so far (if any) is released only now, so that loading
  // the same library again never unloads it in between.
  m_handle.reset(handle);
  return handle;
}

// ---------------------------------------------------------------------------
// KivClDllProcLoaderFile
// ---------------------------------------------------------------------------

KivClDllProcLoaderFile::KivClDllProcLoaderFile(const KivClFilenameABase& filename)
    : KivClDllFile(filename) {}

KivClDllProcLoaderFile::~KivClDllProcLoaderFile() = default;

void* KivClDllProcLoaderFile::getProcedure(const char* symbol) const noexcept {
  if (getHandle() == nullptr || symbol == nullptr) return nullptr;
  return ::dlsym(getHandle(), symbol);
}

// ---------------------------------------------------------------------------
// Flat interface
// ---------------------------------------------------------------------------

extern "C" {

void* kivDllProcLoaderOpen(const char* name) {
  if (name == nullptr || name[0] == '\0') return nullptr;
  const KivClFilename filename(name);
  void* memory = kivMalloc(sizeof(KivClDllProcLoaderFile));
  // The constructor does not throw (its steps report nothing); should that
  // ever change, the memory goes back before the exception leaves.
  KivClDllProcLoaderFile* loader;
  try {
    loader = new (memory) KivClDllProcLoaderFile(filename);
  } catch (...) {
    kivFree(memory);
    throw;
  }
  if (loader->getHandle() != nullptr) return loader;
  loader->~KivClDllProcLoaderFile();
  kivFree(memory);
  return nullptr;
}

void* kivDllProcLoaderGetProcedure(void* handle, const char* symbol) {
  if (handle == nullptr) return nullptr;
  return static_cast<const KivClDllProcLoaderFile*>(handle)->getProcedure(symbol);
}

void kivDllProcLoaderClose(void* handle) {
  if (handle == nullptr) return;
  auto* loader = static_cast<KivClDllProcLoaderFile*>(handle);
  loader->~KivClDllProcLoaderFile();
  kivFree(loader);
}

}  // extern "C"
