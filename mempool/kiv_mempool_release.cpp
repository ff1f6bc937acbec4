// The memory pool: releasing chunks wholesale (deleteAt, deleteAll, reset)
// and the size queries that need more than one line.

#include <cstdint>

#include "kiv_memmgr.hpp"
#include "kiv_mempool.hpp"

void KivClMemoryPool::deleteAt(const void* position) {
  const std::uintptr_t pos = reinterpret_cast<std::uintptr_t>(position);
  KivClMemoryPoolBlock* found = m_pclFirstBlock;
  while (found != nullptr && !(found->m_ulStart <= pos && pos <= found->m_ulEnd + 1)) {
    found = found->m_pclNext;
  }
  if (found == nullptr) return;

  // A rewind continues where the handle was taken: if allocation had moved
  // on to a later block, the block of the position becomes current again.
  bool currentIsLater = false;
  for (const KivClMemoryPoolBlock* b = found->m_pclNext; b != nullptr; b = b->m_pclNext) {
    if (b == m_pclCurrentBlock) {
      currentIsLater = true;
      break;
    }
  }
  if (found->m_pclNext != nullptr) releaseFrom(found->m_pclNext, found);
  found->m_ulCurrent = pos;
  if (currentIsLater) m_pclCurrentBlock = found;
}

void KivClMemoryPool::deleteAll() {
  if (m_pclFirstBlock == nullptr) return;
  if (m_pclFirstBlock->m_pclNext != nullptr) {
    releaseFrom(m_pclFirstBlock->m_pclNext, m_pclFirstBlock);
    m_pclCurrentBlock = m_pclFirstBlock;
  }
  m_pclFirstBlock->empty();
}

void KivClMemoryPool::deleteAll(KivClMemoryPoolBlock* block, KivClMemoryPoolBlock* previous) {
  if (block == nullptr || previous == nullptr || previous->m_pclNext != block) return;
  // Only blocks of this chain: releasing a stranger's blocks would free
  // memory that another pool still uses.
  const KivClMemoryPoolBlock* b = m_pclFirstBlock;
  while (b != nullptr && b != previous) b = b->m_pclNext;
  if (b == nullptr) return;
  releaseFrom(block, previous);
}

void KivClMemoryPool::releaseFrom(KivClMemoryPoolBlock* block,
                                  KivClMemoryPoolBlock* previous) noexcept {
  // The release is described depth first (the tail before the block), but
  // each block's fate depends only on its own chunk count, so one pass from
  // the front ends with the same chain and counters, and needs no stack for
  // long chains. `kept` is the nearest block before `b` that stays.
  KivClMemoryPoolBlock* kept = previous;
  for (KivClMemoryPoolBlock* b = block; b != nullptr;) {
    KivClMemoryPoolBlock* next = b->m_pclNext;
    if (b->m_llChunkCount > 0) {
      b->empty();
      kept = b;
    } else {
      kept->m_pclNext = next;
      --m_ullBlockCount;
      // The capacity, not the total that growth added: kept so.
      m_ullSizeInKiB -= b->getCapacity() / 1024;
      if (b == m_pclCurrentBlock) m_pclCurrentBlock = kept;
      freeBlock(b);
    }
    b = next;
  }
}

void KivClMemoryPool::reset(KivClMemoryPoolBlock* block) {
  for (KivClMemoryPoolBlock* b = block; b != nullptr; b = b->m_pclNext) b->empty();
}

std::size_t KivClMemoryPool::getLargestPossibleChunk() const noexcept {
  if (m_pclFirstBlock == nullptr) return 0;
  const std::size_t firstFree = m_pclFirstBlock->getFreeSize();
  const std::size_t subsequent = getCapacityForSubsequentBlocks();
  return firstFree > subsequent ? firstFree : subsequent;
}

std::size_t KivClMemoryPool::alignToPageSize(std::size_t size) const noexcept {
  constexpr std::size_t kMask = kPageSize - 1;
  if ((size & kMask) == 0) return size;
  constexpr std::size_t kLargest = ~kMask;
  return size > kLargest ? kLargest : (size + kMask) & kLargest;
}
