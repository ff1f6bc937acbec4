// Helpers of the memory pool tests: the guard of a user allocator that counts
// what it hands out and fails on demand, and a walk over a pool's chain of
// blocks.
#ifndef KIV_MEMPOOL_TEST_SUPPORT_HPP
#define KIV_MEMPOOL_TEST_SUPPORT_HPP

#include <cstddef>
#include <cstdint>
#include <vector>

#include "kiv_alloc_support.hpp"
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

}  // namespace mempooltest

#endif
