// Helpers of the memory pool tests: the guard of a user allocator that counts
// what it hands out and fails on demand, and a walk over a pool's chain of
// blocks.
#ifndef KIV_MEMPOOL_TEST_SUPPORT_HPP
#define KIV_MEMPOOL_TEST_SUPPORT_HPP

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "kiv_alloc_support.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_mempool.hpp"

namespace mempooltest {

/// The counting user allocator, installed for the lifetime of a guard.
using UserAllocatorGuard = kivtest::ScopedUserMemoryManager;

/// The blocks of a pool's chain, first to last.
inline std::vector<const KivClMemoryPoolBlock*> chainOf(const KivClMemoryPool& pool) {
  std::vector<const KivClMemoryPoolBlock*> chain;
  for (const KivClMemoryPoolBlock* b = pool.getFirstBlock(); b != nullptr; b = b->getNext()) {
    chain.push_back(b);
  }
  return chain;
}

/// Position of the pool's current block in its chain, or -1.
inline long currentIndexOf(const KivClMemoryPool& pool) {
  long i = 0;
  for (const KivClMemoryPoolBlock* b = pool.getFirstBlock(); b != nullptr; b = b->getNext(), ++i) {
    if (b == pool.getCurrentBlock()) return i;
  }
  return -1;
}

inline std::uintptr_t addr(const void* p) { return reinterpret_cast<std::uintptr_t>(p); }

/// Installs a user memory manager, for its lifetime, that records the
/// addresses handed back to it (the first 256), in the order the library
/// frees them, so that tests can see the order in which a pool releases its
/// blocks. One at a time: the record is process-wide, like the manager's
/// function pointers.
class ReleaseRecorder {
 public:
  ReleaseRecorder() {
    releasedList().clear();
    // Room in advance: the deallocator must not allocate.
    releasedList().reserve(kRoom);
    kivSetNewMemoryManager(&std::malloc, &std::realloc, &record);
  }
  ~ReleaseRecorder() {
    kivSetNewMemoryManager(&std::malloc, &std::realloc, &std::free);
    releasedList().clear();
  }
  ReleaseRecorder(const ReleaseRecorder&) = delete;
  ReleaseRecorder& operator=(const ReleaseRecorder&) = delete;

  /// The addresses freed since construction (or the last clear()), in order.
  std::vector<const void*> released() const { return releasedList(); }
  /// Forgets what was recorded so far.
  void clear() { releasedList().clear(); }

 private:
  static constexpr std::size_t kRoom = 256;

  static std::vector<const void*>& releasedList() {
    static std::vector<const void*> list;
    return list;
  }
  static void record(void* p) {
    if (releasedList().size() < kRoom) releasedList().push_back(p);
    std::free(p);
  }
};

}  // namespace mempooltest

#endif
