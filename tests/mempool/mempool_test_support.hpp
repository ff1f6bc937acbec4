// Helpers of the memory pool tests: a user allocator that counts what it
// hands out and fails on demand, installed for the lifetime of a guard, and
// a walk over a pool's chain of blocks.
#ifndef KIV_MEMPOOL_TEST_SUPPORT_HPP
#define KIV_MEMPOOL_TEST_SUPPORT_HPP

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "kiv_memmgr.hpp"
#include "kiv_mempool.hpp"

namespace mempooltest {

/// State of the counting allocator. `failAfter` < 0: never fail; otherwise
/// the number of allocations that still succeed before every later one
/// returns null.
struct AllocatorState {
  long failAfter = -1;
  std::size_t allocations = 0;
  std::size_t frees = 0;
  std::size_t lastRequest = 0;
};

inline AllocatorState& allocatorState() {
  static AllocatorState state;
  return state;
}

inline void* countingMalloc(std::size_t size) {
  AllocatorState& s = allocatorState();
  s.lastRequest = size;
  if (s.failAfter == 0) return nullptr;
  if (s.failAfter > 0) --s.failAfter;
  ++s.allocations;
  return std::malloc(size);
}

inline void countingFree(void* p) {
  if (p != nullptr) ++allocatorState().frees;
  std::free(p);
}

/// Installs the counting allocator (never failing until told to) and puts
/// the platform's malloc, realloc and free back when it goes out of scope.
class UserAllocatorGuard {
 public:
  UserAllocatorGuard() {
    allocatorState() = AllocatorState{};
    kivSetNewMemoryManager(&countingMalloc, &std::realloc, &countingFree);
  }
  ~UserAllocatorGuard() { kivSetNewMemoryManager(&std::malloc, &std::realloc, &std::free); }
  UserAllocatorGuard(const UserAllocatorGuard&) = delete;
  UserAllocatorGuard& operator=(const UserAllocatorGuard&) = delete;

  /// From now on, `successes` more allocations succeed and then all fail.
  void failAfter(long successes) { allocatorState().failAfter = successes; }
  /// Every allocation succeeds again.
  void neverFail() { allocatorState().failAfter = -1; }
  std::size_t allocations() const { return allocatorState().allocations; }
  std::size_t frees() const { return allocatorState().frees; }
  std::size_t lastRequest() const { return allocatorState().lastRequest; }
};

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

}  // namespace mempooltest

#endif
