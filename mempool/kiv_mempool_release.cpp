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

  // The current block stays where it is: a kept block behind the position
  // goes on serving, emptied. Only when the release freed the current block
  // does the block of the position take over, so that no pointer to freed
  // memory is kept.
  if (found->m_pclNext != nullptr && releaseFrom(found->m_pclNext, found)) {
    m_pclCurrentBlock = found;
  }
  found->m_ulCurrent = pos;
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

  // A block's fate depends only on its own chunk count, so the block that
  // takes over from a freed current block (the nearest one before it that
  // stays) is known before anything is released.
  KivClMemoryPoolBlock* successor = previous;
  for (KivClMemoryPoolBlock* s = block; s != nullptr && s != m_pclCurrentBlock; s = s->m_pclNext) {
    if (s->m_llChunkCount > 0) successor = s;
  }
  if (releaseFrom(block, previous)) m_pclCurrentBlock = successor;
}

bool KivClMemoryPool::releaseFrom(KivClMemoryPoolBlock* block,
                                  KivClMemoryPoolBlock* previous) noexcept {
  // Depth first: the blocks behind a block are released before the block
  // itself, so the last block of the chain goes back to the memory manager
  // first; a replaced memory manager sees exactly that order. Recursing
  // would take a stack frame per block, too many for a long chain, so the
  // links from `block` on are turned round for the walk back and set right
  // again on the way.
  KivClMemoryPoolBlock* last = previous;
  for (KivClMemoryPoolBlock* b = block; b != nullptr;) {
    KivClMemoryPoolBlock* next = b->m_pclNext;
    b->m_pclNext = last;
    last = b;
    b = next;
  }

  bool currentFreed = false;
  // The nearest kept block behind the one at hand: its next once it stays.
  KivClMemoryPoolBlock* behind = nullptr;
  for (KivClMemoryPoolBlock* b = last; b != previous;) {
    KivClMemoryPoolBlock* before = b->m_pclNext;
    if (b->m_llChunkCount > 0) {
      b->empty();
      b->m_pclNext = behind;
      behind = b;
    } else {
      --m_ullBlockCount;
      // The capacity, not the total that growth added: kept so.
      m_ullSizeInKiB -= b->getCapacity() / 1024;
      if (b == m_pclCurrentBlock) currentFreed = true;
      freeBlock(b);
    }
    b = before;
  }
  previous->m_pclNext = behind;
  return currentFreed;
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
