/// \file
/// KIV Library: the memory manager and the assertion report.
///
/// All raw memory of the library goes through one process-wide, replaceable
/// memory manager: three function pointers (allocate, reallocate, free) that
/// start out as the platform's malloc, realloc and free. An application may
/// replace them once, at start-up, before the first allocation through the
/// library; memory must be released by the deallocator that matches the
/// allocator that produced it, and the manager does not track which did.
///
/// Failure: allocation never returns null. When the current allocator yields
/// nothing, the manager throws a KivClExceptionFatal whose record says why:
///   - size 0:              MEMMGR_ZERO_SIZE_OBJECT, INVALID_DATA
///   - user allocator:      MEMMGR_USER_OUT_OF_MEMORY, OUT_OF_MEMORY
///   - platform allocator:  MEMMGR_RUNTIME_OUT_OF_MEMORY, OUT_OF_MEMORY
/// all with severity FATAL and action TERMINATE; and reallocation without a
/// reallocation function throws MEMMGR_NO_USER_REALLOC_FUNC,
/// FUNCTION_NOT_SUPPORTED, FATAL, ABORT. Nothing is logged: the catcher
/// decides. The location texts and line numbers of these throw sites are
/// fixed (kiv_memmgr.hpp:359 for allocation, kiv_memmgr.cpp:267 and :277 for
/// reallocation) so that reports stay comparable between builds.
///
/// Thread safety: the pointers are read without locking; replace them before
/// other threads allocate. The assertion routines are meant for a process
/// that is about to end.
#ifndef KIV_MEMMGR_HPP
#define KIV_MEMMGR_HPP

#include <cstddef>
#include <cstdint>

#include "kiv_exception.hpp"
#include "kiv_export.hpp"

/// Allocation function of the replaceable memory manager.
typedef void* (*KivPfuAllocator)(std::size_t size);
/// Reallocation function of the replaceable memory manager.
typedef void* (*KivPfuReallocator)(void* ptr, std::size_t size);
/// Deallocation function of the replaceable memory manager.
typedef void (*KivPfuDeallocator)(void* ptr);

/// The process-wide memory manager: static members only, no instances.
class KIV_EXPORT KivClMemoryManager {
 public:
  KivClMemoryManager() = delete;

  /// Current allocator; initially the platform's malloc. Initialised
  /// statically, so allocation works before any static constructor ran.
  static KivPfuAllocator cv_pfuAllocatorCallback;
  /// Current reallocator; initially the platform's realloc; may be null.
  static KivPfuReallocator cv_pfuReallocatorCallback;
  /// Current deallocator; initially the platform's free.
  static KivPfuDeallocator cv_pfuDeallocatorCallback;

  /// Stores the three functions as given (any may be null). If the
  /// reallocator is null and the allocator is the platform's malloc, the
  /// reallocator becomes the platform's realloc. A user allocator installed
  /// without a reallocator leaves the reallocator null, and every later
  /// reallocation throws. A null allocator is never called: every allocation
  /// then fails as if it had returned null (the fatal exception); a null
  /// deallocator is never called either: free() then releases nothing.
  static void setNewMemoryManager(KivPfuAllocator allocator, KivPfuReallocator reallocator,
                                  KivPfuDeallocator deallocator);

  /// True when the current allocator is not the platform's malloc (only the
  /// allocator is compared).
  static bool hasUserDefinedMgr();

  /// Allocates `size` bytes with the current allocator; never returns null
  /// (see the banner for what it throws). kivMalloc and kivCalloc share it.
  static void* allocate(std::size_t size);

  /// Reallocates with the current reallocator; never returns null. A request
  /// of size 0 to a reallocator that frees and returns null (the platform's
  /// does) ends in MEMMGR_ZERO_SIZE_OBJECT after the block was freed: release
  /// memory with free() instead of reallocating it to 0.
  static void* realloc(void* ptr, std::size_t size);

  /// Releases `ptr` with the current deallocator; a null `ptr` (or a null
  /// deallocator) is ignored.
  static void free(void* ptr);

  /// Throws the fatal out-of-memory exception for a request of `size` bytes
  /// at the given throw site. Never returns.
  [[noreturn]] static void outOfMemory(const char* location, std::int32_t line, std::size_t size);
};

// The allocation routine. Its throw site is reported as this header's line
// 359 whatever the header's layout, so that the location of an allocation
// failure reads the same in every build.
inline void* KivClMemoryManager::allocate(std::size_t size) {
  void* p = cv_pfuAllocatorCallback != nullptr ? cv_pfuAllocatorCallback(size) : nullptr;
  if (p == nullptr) outOfMemory("kiv_include/kiv_memmgr.hpp:359", 359, size);
  return p;
}

extern "C" {

/// At least `size` bytes from the current allocator; never null.
///
/// kivMalloc and kivFree are defined here, inline, so that a C++ caller
/// reaches the allocator in one call, as with malloc itself; the library
/// still exports both for callers that link against them by name.
KIV_EXPORT inline void* kivMalloc(std::size_t size) { return KivClMemoryManager::allocate(size); }

/// count x size zeroed bytes; never null. The product is computed in 64-bit
/// arithmetic WITHOUT an overflow check: a product that wraps is allocated
/// as wrapped. Callers must not pass counts whose product can overflow.
KIV_EXPORT void* kivCalloc(std::size_t count, std::size_t size);

/// KivClMemoryManager::realloc(ptr, size).
KIV_EXPORT void* kivRealloc(void* ptr, std::size_t size);

/// KivClMemoryManager::free(ptr); null is ignored.
KIV_EXPORT inline void kivFree(void* ptr) {
  const KivPfuDeallocator deallocator = KivClMemoryManager::cv_pfuDeallocatorCallback;
  if (ptr != nullptr && deallocator != nullptr) deallocator(ptr);
}

/// KivClMemoryManager::setNewMemoryManager(allocator, reallocator, deallocator).
KIV_EXPORT void kivSetNewMemoryManager(KivPfuAllocator allocator, KivPfuReallocator reallocator,
                                       KivPfuDeallocator deallocator);

/// Writes the assertion report for `expression` (failed at `module`, `line`)
/// to standard error and aborts the process. Never returns.
[[noreturn]] KIV_EXPORT void kiv__assert(const char* expression, const char* module,
                                         std::uint32_t line);

/// The assertion report with an optional message and function:
///
/// \verbatim
///  (empty line)
///  *** INTERNAL ERROR OCCURED ***
///  *** <message> ***                     only with a message
///  ***         FUNCTION: <function>      only with a message AND a function
///  *** ASSERTION FAILED: <expression>
///  ***             LINE: <line>
///  ***           MODULE: <module>
///  ***       PROCESS ID: <pid>
///  (two empty lines)
/// \endverbatim
///
/// A function given without a message is not printed; that asymmetry is part
/// of the format. The report goes to standard error in one write, followed
/// by a newline and a flush; then the process aborts. An assertion that fires
/// while another one is being handled aborts right after its report.
/// "KIV_NO_ASSERT_POPUP" is read for an enabled value; on this platform there
/// is no pop-up for it to suppress.
[[noreturn]] KIV_EXPORT void kiv__assert_msg(const char* expression, const char* module,
                                             std::uint32_t line, const char* function,
                                             const char* message);

}  // extern "C"

#endif
