// The replaceable memory manager: three statically initialised function
// pointers, the plain allocation functions on top of them, and the one path
// that turns an allocation failure into the fatal exception.

#include "kiv_memmgr.hpp"

#include <cstdlib>
#include <cstring>

// Constant initialisation: the pointers hold the platform's functions before
// any code of the process runs.
KivPfuAllocator KivClMemoryManager::cv_pfuAllocatorCallback = &std::malloc;
KivPfuReallocator KivClMemoryManager::cv_pfuReallocatorCallback = &std::realloc;
KivPfuDeallocator KivClMemoryManager::cv_pfuDeallocatorCallback = &std::free;

namespace {

// The throw sites of the reallocation path are reported with fixed location
// texts and lines, like the allocation routine in the header.
constexpr const char* gs_pszNoReallocatorLocation = "foundation/kiv_memmgr.cpp:267";
constexpr std::int32_t gs_lNoReallocatorLine = 267;
constexpr const char* gs_pszReallocLocation = "foundation/kiv_memmgr.cpp:277";
constexpr std::int32_t gs_lReallocLine = 277;

}  // namespace

void KivClMemoryManager::setNewMemoryManager(KivPfuAllocator allocator,
                                             KivPfuReallocator reallocator,
                                             KivPfuDeallocator deallocator) {
  cv_pfuAllocatorCallback = allocator;
  cv_pfuReallocatorCallback = reallocator;
  cv_pfuDeallocatorCallback = deallocator;
  if (cv_pfuReallocatorCallback == nullptr && cv_pfuAllocatorCallback == &std::malloc) {
    cv_pfuReallocatorCallback = &std::realloc;
  }
}

bool KivClMemoryManager::hasUserDefinedMgr() { return cv_pfuAllocatorCallback != &std::malloc; }

void* KivClMemoryManager::realloc(void* ptr, std::size_t size) {
  if (cv_pfuReallocatorCallback == nullptr) {
    const _KivStUserError error{KIV_MEMMGR_NO_USER_REALLOC_FUNC,
                                KivEnErrorClass::FUNCTION_NOT_SUPPORTED, KivEnErrorSeverity::FATAL,
                                KivEnErrorAction::ABORT};
    throw KivClExceptionFatal(error, gs_pszNoReallocatorLocation,
                              static_cast<std::uint32_t>(gs_lNoReallocatorLine));
  }
  void* p = cv_pfuReallocatorCallback(ptr, size);
  if (p == nullptr) outOfMemory(gs_pszReallocLocation, gs_lReallocLine, size);
  return p;
}

void KivClMemoryManager::free(void* ptr) {
  if (ptr != nullptr && cv_pfuDeallocatorCallback != nullptr) cv_pfuDeallocatorCallback(ptr);
}

void KivClMemoryManager::outOfMemory(const char* location, std::int32_t line, std::size_t size) {
  _KivStUserError error{KIV_MEMMGR_RUNTIME_OUT_OF_MEMORY, KivEnErrorClass::OUT_OF_MEMORY,
                        KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE};
  if (size == 0) {
    error.id = KIV_MEMMGR_ZERO_SIZE_OBJECT;
    error.errorClass = KivEnErrorClass::INVALID_DATA;
  } else if (hasUserDefinedMgr()) {
    error.id = KIV_MEMMGR_USER_OUT_OF_MEMORY;
  }
  throw KivClExceptionFatal(error, location, static_cast<std::uint32_t>(line));
}

namespace {

// kivMalloc and kivFree are inline in the header; these references make
// the library emit and export them for callers that link against the names.
[[maybe_unused]] __attribute__((used)) void* (*const gs_pfnExportMalloc)(std::size_t) = &kivMalloc;
[[maybe_unused]] __attribute__((used)) void (*const gs_pfnExportFree)(void*) = &kivFree;

}  // namespace

extern "C" {

void* kivCalloc(std::size_t count, std::size_t size) {
  const std::size_t bytes = count * size;  // wraps on purpose; see the header
  void* p = KivClMemoryManager::allocate(bytes);
  std::memset(p, 0, bytes);
  return p;
}

void* kivRealloc(void* ptr, std::size_t size) { return KivClMemoryManager::realloc(ptr, size); }

void kivSetNewMemoryManager(KivPfuAllocator allocator, KivPfuReallocator reallocator,
                            KivPfuDeallocator deallocator) {
  KivClMemoryManager::setNewMemoryManager(allocator, reallocator, deallocator);
}

}  // extern "C"
