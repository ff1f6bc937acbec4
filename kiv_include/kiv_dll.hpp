/// \file
/// KIV Library: dynamic libraries.
///
/// A KivClDllFile is a shared library that is loaded when the object is made
/// and unloaded when it is destroyed. Its name is completed like an
/// executable's (kiv_exefile.hpp), with the default extension ".so" and a
/// search along "LD_LIBRARY_PATH" (not in the current directory first):
///
///   1. "plugin" becomes "plugin.so"; a name without directory is searched
///      along "LD_LIBRARY_PATH" as read NOW from the process environment (the
///      system's own loader reads that variable only at program start, so a
///      value set later is honoured through this search alone).
///   2. The library is loaded: dlopen(name, RTLD_NOW).
///   3. When that failed, the completed name does not exist, the given name
///      had no extension and the ".so" was added: the extension is removed
///      again, the bare name is searched along "LD_LIBRARY_PATH" once more,
///      and the library is loaded a second time. So "plugin" also finds a
///      file named "plugin" without extension.
/// A name that still has no directory after the search is given to dlopen as
/// it is, which then searches the system's library directories.
///
/// Failure is silent, on purpose: no error record is set and the platform's
/// error text is not consulted. A library that could not be loaded shows only
/// as a null handle; getProcedure then answers null for every symbol and
/// kivDllProcLoaderOpen returns null.
///
/// Choices made here where the rules leave room:
///   - load() of an object that is already loaded opens the library again and
///     releases the previous handle afterwards, so every handle is closed
///     exactly once. The handle is owned by the object (closed by the
///     destructor); objects cannot be copied.
///   - load() of an empty name fails without calling dlopen (dlopen would
///     take the empty text for the main program).
///   - kivDllProcLoaderOpen of a null or empty name returns null;
///     kivDllProcLoaderGetProcedure with a null handle returns null.
///
/// Ownership: the object owns its dlopen handle; procedures found through it
/// are valid while the object lives. A handle of kivDllProcLoaderOpen is a
/// KivClDllProcLoaderFile allocated through the memory manager: release it
/// with kivDllProcLoaderClose and nothing else. Exceptions: only allocation
/// failure (KivClExceptionFatal from kivDllProcLoaderOpen); the other flat
/// functions never throw. Thread safety: the platform's loader is
/// thread-safe; an object must not be used by two threads at once.
#ifndef KIV_DLL_HPP
#define KIV_DLL_HPP

#include <memory>

#include "kiv_exefile.hpp"
#include "kiv_export.hpp"
#include "kiv_filename.hpp"

namespace kiv::detail {
/// Closes a dlopen handle (dlclose). Internal.
struct DllHandleCloser {
  void operator()(void* handle) const noexcept;
};
}  // namespace kiv::detail

/// A shared library, loaded for the lifetime of the object.
class KIV_EXPORT KivClDllFile : public KivClExeFile {
 public:
  /// Completes `filename` (".so", "LD_LIBRARY_PATH") and loads the library;
  /// see the banner. getHandle() is null when loading failed.
  explicit KivClDllFile(const KivClFilenameABase& filename);

  /// Unloads the library (dlclose) when it is loaded.
  ~KivClDllFile() override;

  KivClDllFile(const KivClDllFile&) = delete;
  KivClDllFile& operator=(const KivClDllFile&) = delete;

  /// dlopen(name, RTLD_NOW): stores and returns the handle, null on
  /// failure. A handle held before is released after the new attempt.
  void* load();

  /// The library handle; null when not loaded.
  void* getHandle() const noexcept { return m_handle.get(); }

  /// The variable that libraries are searched along: "LD_LIBRARY_PATH".
  static const char* getSystemPathEnvironmentVariable() noexcept { return "LD_LIBRARY_PATH"; }
  /// The default extension of libraries: ".so".
  static const char* getDefaultFileType() noexcept { return ".so"; }

 private:
  std::unique_ptr<void, kiv::detail::DllHandleCloser> m_handle;
};

/// A shared library whose procedures can be looked up.
class KIV_EXPORT KivClDllProcLoaderFile : public KivClDllFile {
 public:
  /// See KivClDllFile.
  explicit KivClDllProcLoaderFile(const KivClFilenameABase& filename);
  ~KivClDllProcLoaderFile() override;

  /// dlsym(handle, symbol): the address of the exported `symbol`, or null
  /// when it is not exported, the symbol is null or the library is not
  /// loaded.
  void* getProcedure(const char* symbol) const noexcept;
};

extern "C" {

/// Loads the library `name` (completed as for KivClDllFile) into a
/// KivClDllProcLoaderFile allocated through the memory manager and returns
/// it as an opaque handle; null when the library could not be loaded
/// (nothing is left allocated then) or `name` is null or empty. Throws
/// KivClExceptionFatal when memory is exhausted.
KIV_EXPORT void* kivDllProcLoaderOpen(const char* name);

/// getProcedure(symbol) of the loader behind `handle`; null for a null
/// handle.
KIV_EXPORT void* kivDllProcLoaderGetProcedure(void* handle, const char* symbol);

/// Unloads the library and releases the loader; null is ignored.
KIV_EXPORT void kivDllProcLoaderClose(void* handle);

}  // extern "C"

#endif
