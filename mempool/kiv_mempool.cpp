// The memory pool: construction, destruction and allocation with growth.
// Releasing (deleteAt, deleteAll, reset) and the size queries live in
// kiv_mempool_release.cpp.

#include <cstdint>
#include <new>

#include "kiv_exception.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_mempool.hpp"

namespace {

// A growth failure without an error handler is reported from a fixed place,
// whatever the layout of this file, so that the location in a report reads
// the same in every build (like the memory manager's own throw sites).
constexpr const char* gs_pszGrowthFailureLocation = "mempool/kiv_mempool.cpp:296";
constexpr std::uint32_t gs_ulGrowthFailureLine = 296;

std::uintptr_t addressOf(const void* p) noexcept { return reinterpret_cast<std::uintptr_t>(p); }

std::size_t clampThreshold(std::size_t threshold) noexcept {
  if (threshold < KivClMemoryPool::kMinSwitchThreshold) return KivClMemoryPool::kMinSwitchThreshold;
  if (threshold > KivClMemoryPool::kMaxSwitchThreshold) return KivClMemoryPool::kMaxSwitchThreshold;
  return threshold;
}

}  // namespace

KivClMemoryPool::KivClMemoryPool(std::size_t firstBlockSize, std::size_t subsequentBlockSize,
                                 std::size_t switchThreshold)
    : m_ulSwitchThreshold(clampThreshold(switchThreshold)), m_fCallerMemory(false) {
  const std::size_t firstSize =
      alignToPageSize(firstBlockSize < kPageSize ? kPageSize : firstBlockSize);
  m_ulSubsequentBlockSize =
      alignToPageSize(subsequentBlockSize < kPageSize ? kPageSize : subsequentBlockSize);

  void* memory = nullptr;
  try {
    memory = kivMalloc(firstSize);
  } catch (const KivClException&) {
    // A pool that could not get its first block stays without blocks; the
    // caller sees it through the capacity queries, which then answer 0.
    return;
  }
  m_pclFirstBlock = new (memory)
      KivClMemoryPoolBlock(addressOf(memory) + kBlockHeaderSize, firstSize - kBlockHeaderSize, 1);
  m_pclCurrentBlock = m_pclFirstBlock;
  m_ullBlockCount = 1;
  m_ullSizeInKiB = firstSize / 1024;
}

KivClMemoryPool::KivClMemoryPool(void* memory, std::size_t size)
    : m_ulSwitchThreshold(kMinSwitchThreshold), m_fCallerMemory(true) {
  if (memory == nullptr) size = 0;  // no area to hand out from

  void* header = nullptr;
  try {
    header = kivMalloc(kBlockHeaderSize);
  } catch (const KivClException&) {
    return;  // no header: the pool counts no blocks and hands out nothing
  }
  m_pclFirstBlock = new (header) KivClMemoryPoolBlock(addressOf(memory), size, 1);
  m_pclCurrentBlock = m_pclFirstBlock;
  m_ullBlockCount = 1;
  m_ullSizeInKiB = size / 1024;
}

KivClMemoryPool::~KivClMemoryPool() {
  if (m_pclFirstBlock != nullptr) {
    // Each pass frees the blocks that the pass before emptied (two passes
    // at most), last block first; the first block goes back last.
    while (m_pclFirstBlock->m_pclNext != nullptr) deleteAll();
    freeBlock(m_pclFirstBlock);
  }
  m_pclFirstBlock = nullptr;
  m_pclCurrentBlock = nullptr;
  m_pfuErrorHandler = nullptr;
  m_pvUserPointer = nullptr;
}

void KivClMemoryPool::freeBlock(KivClMemoryPoolBlock* block) noexcept {
  // A block that the pool allocated starts with its header; for caller
  // memory the header is a separate allocation. Either way the header's
  // address is what the memory manager handed out.
  block->~KivClMemoryPoolBlock();
  kivFree(block);
}

void* KivClMemoryPool::allocate(KivClMemoryPoolBlock* block, std::size_t size,
                                std::uint64_t& blockNumber) {
  if (block == nullptr) return nullptr;

  // Walk the chain from `block` until a block has room. Every block passed
  // over whose free size is below the threshold asks for its successor to
  // become the current block; the first such block in the chain wins.
  KivClMemoryPoolBlock* switchTo = nullptr;
  for (KivClMemoryPoolBlock* b = block;;) {
    if (size <= b->getFreeSize()) {
      void* chunk = b->take(size, blockNumber);
      if (switchTo != nullptr) m_pclCurrentBlock = switchTo;
      return chunk;
    }
    KivClMemoryPoolBlock* next = b->m_pclNext;
    if (next == nullptr) {
      // `b` is the last block. A pool that never grows answers null without
      // a report.
      next = m_ulSubsequentBlockSize != 0 ? grow(b, size) : nullptr;
      if (next == nullptr) {
        if (switchTo != nullptr) m_pclCurrentBlock = switchTo;
        return nullptr;
      }
      void* chunk = next->take(size, blockNumber);
      if (switchTo == nullptr && b->getFreeSize() < m_ulSwitchThreshold) switchTo = next;
      if (switchTo != nullptr) m_pclCurrentBlock = switchTo;
      return chunk;
    }
    if (switchTo == nullptr && b->getFreeSize() < m_ulSwitchThreshold) switchTo = next;
    b = next;
  }
}

KivClMemoryPoolBlock* KivClMemoryPool::grow(KivClMemoryPoolBlock* last, std::size_t size) {
  std::size_t total = m_ulSubsequentBlockSize;
  std::size_t capacity = total - kBlockHeaderSize;
  if (capacity < size) {
    // A block of its own. A size so large that the block's total cannot be
    // expressed is a growth failure like an allocator that has nothing left.
    const std::size_t largestTotal =
        m_fAlign ? ~static_cast<std::size_t>(kPageSize - 1) : ~static_cast<std::size_t>(0);
    if (size > largestTotal - kBlockHeaderSize) {
      reportGrowthFailure({KIV_MEMORYPOOL_COULD_NOT_GROW, KivEnErrorClass::OUT_OF_MEMORY,
                           KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE},
                          "");
      return nullptr;
    }
    total = size + kBlockHeaderSize;
    capacity = size;
    if (m_fAlign) {
      total = alignToPageSize(total);
      capacity = total - kBlockHeaderSize;
    }
  }

  void* memory = nullptr;
  _KivStUserError failure{};
  const char* cause = "";
  try {
    memory = kivMalloc(total);
  } catch (const KivClException& e) {
    failure = e.getError();
    cause = e.getCause();
  }
  if (memory == nullptr) {
    failure.id = KIV_MEMORYPOOL_COULD_NOT_GROW;
    reportGrowthFailure(failure, cause);
    return nullptr;
  }

  m_ullSizeInKiB += total / 1024;
  ++m_ullBlockCount;
  KivClMemoryPoolBlock* block = new (memory)
      KivClMemoryPoolBlock(addressOf(memory) + kBlockHeaderSize, capacity, m_ullBlockCount);
  last->m_pclNext = block;
  return block;
}

void KivClMemoryPool::reportGrowthFailure(const _KivStUserError& error, const char* cause) {
  if (m_pfuErrorHandler != nullptr) {
    m_pfuErrorHandler(_KivStError{error.id, error.errorClass}, m_pvUserPointer);
    return;
  }
  throw KivClException(error, gs_pszGrowthFailureLocation, gs_ulGrowthFailureLine, cause);
}
