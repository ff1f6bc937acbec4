/// \file
/// KIV Library: the memory pool.
///
/// A KivClMemoryPool hands out chunks of memory from large blocks by moving a
/// pointer, and takes them back only wholesale: everything at once
/// (deleteAll), everything from a given point on (deleteAt), or by rewinding
/// to a state handle taken earlier (getCurrentStateHandle + deleteAt). There
/// is no way to give back a single chunk.
///
/// Blocks. A pool that owns its memory allocates every block through the
/// memory manager (kivMalloc/kivFree); each block starts with a 48-byte
/// header (KivClMemoryPoolBlock) followed directly by its usable area, and
/// every such block is a whole number of 4096-byte pages. When a request does
/// not fit, the pool walks on to the following blocks and, after the last
/// one, chains a new block; a request larger than a regular block gets a
/// block of its own, rounded up to whole pages. A pool over caller memory
/// allocates only a separate header for the caller's area and never grows:
/// when the area is full, allocation returns null and reports nothing.
///
/// Alignment. Both constructors switch alignment on: every size handed to the
/// caller-facing allocate() is rounded up to a multiple of 8, so chunks of a
/// pool that owns its memory are 8-byte aligned (not 16: a type that needs
/// more must align itself). Chunks of a pool over caller memory are aligned
/// as well as the caller's area is.
///
/// Ownership. The pool owns the blocks it allocated and frees them when it is
/// destroyed; it never frees the caller's area. Chunks stay valid until the
/// pool releases them (deleteAt, deleteAll, reset or destruction).
///
/// Failure. A pool that cannot grow (the memory manager throws while a new
/// block is allocated) calls the registered error handler with
/// MEMORYPOOL_COULD_NOT_GROW and the class of the memory manager's exception,
/// and allocate returns null. Without a handler it throws a KivClException
/// (not the fatal kind) with that id, the memory manager's class, severity
/// and action, and the location "mempool/kiv_mempool.cpp:296" (line 296).
/// A constructor that cannot get its first block (or the header for caller
/// memory) swallows the failure: the pool is then left without blocks, every
/// capacity query answers 0 and allocation returns null without a report.
/// MEMORYPOOL_CHUNK_TOO_BIG is never raised.
///
/// Deliberate choices, kept on purpose:
///   - The caller-facing allocation is allocate(size) / allocate(size,
///     blockNumber). On a pool without blocks it returns null and reports
///     nothing: the failure already happened, silently, at construction.
///   - A pool whose construction failed counts 0 blocks and 0 KiB, whether it
///     was to own its memory or to use the caller's.
///   - A request so large that a block for it cannot even be expressed
///     (within 4 KiB of the address space) is a growth failure with class
///     OUT_OF_MEMORY, severity FATAL and action TERMINATE, reported like any
///     other, without asking the allocator.
///   - deleteAt leaves the current block alone (a kept later block goes on
///     serving, emptied), except where the release frees the current block:
///     then the block of the position becomes the current block, so that the
///     pool never points at freed memory.
///   - When the release step (deleteAll(block, previous) called by the
///     caller) frees the current block, the nearest kept block before it
///     becomes the current block.
///   - deleteAll(block, previous) acts only when `previous` is a block of this
///     pool whose next is `block`.
///   - A pool over caller memory with a null area gets an area of size 0.
///   - The size in KiB grows by the total size of a new block (header
///     included) and shrinks by the capacity of a freed one (header
///     excluded): it may drift upwards. The chunk count of a block is not
///     touched by a rewind into it.
///
/// Thread safety: none. A pool is used by one thread at a time.
#ifndef KIV_MEMPOOL_HPP
#define KIV_MEMPOOL_HPP

#include <cstddef>
#include <cstdint>

#include "kiv_error.hpp"
#include "kiv_export.hpp"

class KivClMemoryPool;

/// Error handler of a memory pool: receives the failure record (id
/// MEMORYPOOL_COULD_NOT_GROW and the class of the underlying failure) and the
/// user pointer registered with it. It may throw; the pool is left as it was
/// before the failing request.
typedef void (*KivPfuMemoryPoolErrorHandler)(const _KivStError& error, void* userPointer);

/// The header of one pool block: six 64-bit words. For blocks that the pool
/// allocates it sits at the start of the block and the usable area follows
/// it directly; for a pool over caller memory it is allocated separately.
/// Blocks are created only by their pool.
class KIV_EXPORT KivClMemoryPoolBlock {
 public:
  /// First usable byte.
  void* getStart() const noexcept { return reinterpret_cast<void*>(m_ulStart); }
  /// Last usable byte (inclusive). For an empty area this is start - 1.
  void* getEnd() const noexcept { return reinterpret_cast<void*>(m_ulEnd); }
  /// Next free byte.
  void* getCurrent() const noexcept { return reinterpret_cast<void*>(m_ulCurrent); }
  /// The following block, or null for the last one.
  KivClMemoryPoolBlock* getNext() const noexcept { return m_pclNext; }
  /// Chunks handed out from this block since it was last emptied. A rewind
  /// into the block (deleteAt) leaves the count as it is.
  std::int64_t getChunkCount() const noexcept { return m_llChunkCount; }
  /// 1 for the first block; for a later one the pool's block count at the
  /// time it was added (so numbers repeat after blocks were freed).
  std::uint64_t getBlockNumber() const noexcept { return m_ullBlockNumber; }
  /// Usable bytes: end - start + 1.
  std::size_t getCapacity() const noexcept { return m_ulEnd - m_ulStart + 1; }
  /// Free bytes: end - current + 1.
  std::size_t getFreeSize() const noexcept { return m_ulEnd - m_ulCurrent + 1; }
  /// Sets the next free byte to `position`. No check: the position must lie
  /// between start and end + 1.
  void reset(void* position) noexcept { m_ulCurrent = reinterpret_cast<std::uintptr_t>(position); }

  KivClMemoryPoolBlock(const KivClMemoryPoolBlock&) = delete;
  KivClMemoryPoolBlock& operator=(const KivClMemoryPoolBlock&) = delete;

 private:
  friend class KivClMemoryPool;

  KivClMemoryPoolBlock(std::uintptr_t start, std::size_t capacity,
                       std::uint64_t blockNumber) noexcept
      : m_ulStart(start),
        m_ulEnd(start + capacity - 1),
        m_ulCurrent(start),
        m_pclNext(nullptr),
        m_llChunkCount(0),
        m_ullBlockNumber(blockNumber) {}

  // Hands out `size` bytes from current; the caller made sure they fit.
  void* take(std::size_t size, std::uint64_t& blockNumber) noexcept {
    const std::uintptr_t chunk = m_ulCurrent;
    m_ulCurrent = chunk + size;
    ++m_llChunkCount;
    blockNumber = m_ullBlockNumber;
    return reinterpret_cast<void*>(chunk);
  }

  // Back to the state of a new block: current = start, no chunks.
  void empty() noexcept {
    m_ulCurrent = m_ulStart;
    m_llChunkCount = 0;
  }

  // Addresses are kept as integers so that the arithmetic of an empty area
  // (end = start - 1) is well defined.
  std::uintptr_t m_ulStart;
  std::uintptr_t m_ulEnd;
  std::uintptr_t m_ulCurrent;
  KivClMemoryPoolBlock* m_pclNext;
  std::int64_t m_llChunkCount;
  std::uint64_t m_ullBlockNumber;
};

/// A pool of memory handed out by moving a pointer and released wholesale.
/// See the banner for blocks, alignment, ownership and failure.
class KIV_EXPORT KivClMemoryPool {
 public:
  /// Size of a block header in bytes.
  static constexpr std::size_t kBlockHeaderSize = 48;
  /// Blocks that the pool allocates are whole multiples of this size.
  static constexpr std::size_t kPageSize = 4096;
  /// Lowest switch threshold: a smaller one given to the constructor is
  /// raised to this.
  static constexpr std::size_t kMinSwitchThreshold = 256;
  /// Highest switch threshold: a larger one given to the constructor is
  /// lowered to this.
  static constexpr std::size_t kMaxSwitchThreshold = 65536;

  /// A pool that owns its blocks.
  /// \param firstBlockSize       size of the first block, header included;
  ///                             raised to 4096, then rounded up to whole pages
  /// \param subsequentBlockSize  size of every further regular block, header
  ///                             included; raised and rounded the same way
  /// \param switchThreshold      clamped to 256..65536: when a request does not
  ///                             fit in a block whose free size is below this,
  ///                             allocation starts at the following block
  /// The first block is allocated at once; if that fails the failure is
  /// swallowed and the pool has no blocks (every capacity query answers 0).
  KivClMemoryPool(std::size_t firstBlockSize, std::size_t subsequentBlockSize,
                  std::size_t switchThreshold);

  /// A pool over caller memory that never grows. Only a separate 48-byte
  /// block header is allocated; its area is memory .. memory + size - 1. The
  /// area is not owned and must outlive the pool. A null `memory` gives an
  /// area of size 0. If the header cannot be allocated the failure is
  /// swallowed and the pool has no blocks (block count 0).
  KivClMemoryPool(void* memory, std::size_t size);

  /// Frees every block the pool allocated (for caller memory: the header
  /// only): while the first block has a following block, deleteAll() runs
  /// (each pass frees what the pass before emptied, last block first); then
  /// the first block is freed, always last. Finally clears the current
  /// block, the error handler and the user pointer.
  ~KivClMemoryPool();

  KivClMemoryPool(const KivClMemoryPool&) = delete;
  KivClMemoryPool& operator=(const KivClMemoryPool&) = delete;

  /// Hands out `size` bytes, rounded up to a multiple of 8, starting at the
  /// current block. Returns the chunk, or null when a pool over caller memory
  /// is full, when the pool has no blocks (construction failed), or when
  /// growth failed and the error handler was called. Throws KivClException
  /// when growth failed and no handler is set.
  void* allocate(std::size_t size) {
    std::uint64_t blockNumber;
    return allocate(size, blockNumber);
  }

  /// As allocate(size); also returns the number of the block that holds the
  /// chunk through `blockNumber` (left untouched when null is returned).
  void* allocate(std::size_t size, std::uint64_t& blockNumber) {
    KivClMemoryPoolBlock* block = m_pclCurrentBlock;
    // The common case: a bounds check and a pointer increment. `last` is the
    // rounded size minus 1: (size - 1) | 7 equals ((size + 7) & ~7) - 1 for
    // every size from 1 on, and the chunk fits exactly when `last` is below
    // the free size. This costs fewer operations than rounding the free size
    // down, and needs no saturation: the two kinds of size whose rounding
    // does not fit the type, 0 and those within 7 of the largest value, give
    // the largest value and never pass, so they take the general path (size
    // 0 gets its empty chunk there, the others are saturated by
    // getAlignedSizeFor). The free size is exact for a full block and for an
    // empty area (end = start - 1) alike. Alignment is on in every pool (both
    // constructors set it and nothing clears it), so this path rounds
    // without reading the flag; every other path goes through
    // getAlignedSizeFor.
    if (block != nullptr) {
      const std::size_t last = (size - 1) | 7u;
      if (last < block->getFreeSize()) return block->take(last + 1, blockNumber);
    }
    return allocate(block, getAlignedSizeFor(size), blockNumber);
  }

  /// The allocation step: hands out exactly `size` bytes (no rounding)
  /// starting at `block`, which must be a block of this pool (null gives
  /// null). When the size does not fit, tries the following blocks and then
  /// grows the pool by one block (a block of its own for a request larger
  /// than a regular block). When a block that had to be passed over has less
  /// free space than the switch threshold, the block after it becomes the
  /// current block; where several were passed over, the first of them
  /// decides. A block that still holds the chunk never becomes "passed over"
  /// by the same request, so filling a block below the threshold does not by
  /// itself switch.
  void* allocate(KivClMemoryPoolBlock* block, std::size_t size, std::uint64_t& blockNumber);

  /// Releases everything from `position` on: finds the first block of the
  /// chain whose area contains it (start <= position <= end + 1; nothing
  /// happens when none does), releases the blocks after it as
  /// deleteAll(next, block) does, and sets that block's current to
  /// `position`. The block's chunk count is left as it is, and so is the
  /// current block: after a rewind to a state handle taken before the pool
  /// moved on to a later block, that later block (emptied) stays current and
  /// getCurrentFreeSize() answers its free size. Only when the release freed
  /// the current block does the block of the position become current.
  void deleteAt(const void* position);

  /// Releases everything: the blocks after the first are released as by
  /// deleteAll(next, first) and the first block becomes the current block
  /// and is emptied. Blocks that held chunks are kept, empty, for reuse;
  /// blocks that were already empty are freed, so a second deleteAll() frees
  /// what the first one emptied.
  void deleteAll();

  /// The release step for `block` and every block after it, depth first:
  /// the blocks behind a block are released before the block itself, so the
  /// last block of the chain is handed back to the memory manager first. A
  /// block with chunks is emptied (current = start, chunk count 0) and kept;
  /// a block without chunks is unlinked from its predecessor and freed, the
  /// block count drops by 1 and the size in KiB by its capacity / 1024 (the
  /// capacity, not the total size that growth added: the counter may drift
  /// upwards, and that is kept so). `previous` must be the block whose next
  /// is `block`; when it is not (or either is null) nothing happens. When the
  /// current block is freed, the nearest kept block before it becomes the
  /// current block.
  void deleteAll(KivClMemoryPoolBlock* block, KivClMemoryPoolBlock* previous);

  /// Empties `block` and every block after it (current = start, chunk count
  /// 0) without freeing any. Null does nothing. The current block stays.
  void reset(KivClMemoryPoolBlock* block);

  /// Always 1.
  std::uint64_t getFirstBlockNumber() const noexcept { return 1; }
  /// Free size of the current block; 0 without one.
  std::size_t getCurrentFreeSize() const noexcept {
    return m_pclCurrentBlock != nullptr ? m_pclCurrentBlock->getFreeSize() : 0;
  }
  /// Capacity (end - start + 1) of the first block; 0 without one.
  std::size_t getCapacityForFirstBlock() const noexcept {
    return m_pclFirstBlock != nullptr ? m_pclFirstBlock->getCapacity() : 0;
  }
  /// Capacity of every further regular block (subsequent block size - 48);
  /// 0 when the pool does not grow.
  std::size_t getCapacityForSubsequentBlocks() const noexcept {
    return m_ulSubsequentBlockSize != 0 ? m_ulSubsequentBlockSize - kBlockHeaderSize : 0;
  }
  /// The larger of the first block's free size and the subsequent capacity;
  /// 0 without a first block. (Larger requests still succeed in a pool that
  /// grows: they get a block of their own.)
  std::size_t getLargestPossibleChunk() const noexcept;

  /// With alignment on and `size` not a multiple of 8: the next multiple of
  /// 8, saturating at the largest multiple of 8. Otherwise `size`.
  std::size_t getAlignedSizeFor(std::size_t size) const noexcept {
    if (!m_fAlign) return size;
    // No branch on the low bits: a multiple of 8 comes out unchanged anyway,
    // and random sizes would make such a branch unpredictable.
    constexpr std::size_t kLargest = ~static_cast<std::size_t>(7);
    return size > kLargest ? kLargest : (size + 7u) & kLargest;
  }
  /// `size` if a multiple of 4096; else the next multiple of 4096,
  /// saturating at the largest multiple of 4096.
  std::size_t alignToPageSize(std::size_t size) const noexcept;

  /// The current block's next free byte, to be given to deleteAt later to
  /// release everything allocated after this call. Null without a block.
  void* getCurrentStateHandle() const noexcept {
    return m_pclCurrentBlock != nullptr ? m_pclCurrentBlock->getCurrent() : nullptr;
  }

  /// Registers the growth-failure handler (null removes it) and the user
  /// pointer passed to it.
  void setErrorHandler(KivPfuMemoryPoolErrorHandler handler, void* userPointer) noexcept {
    m_pfuErrorHandler = handler;
    m_pvUserPointer = userPointer;
  }

  /// The first block, or null when construction failed. Walk the chain with
  /// KivClMemoryPoolBlock::getNext().
  KivClMemoryPoolBlock* getFirstBlock() noexcept { return m_pclFirstBlock; }
  /// The first block of a const pool, or null when construction failed.
  const KivClMemoryPoolBlock* getFirstBlock() const noexcept { return m_pclFirstBlock; }
  /// The block where allocation starts, or null when construction failed.
  KivClMemoryPoolBlock* getCurrentBlock() noexcept { return m_pclCurrentBlock; }
  /// The block where allocation starts in a const pool, or null when
  /// construction failed.
  const KivClMemoryPoolBlock* getCurrentBlock() const noexcept { return m_pclCurrentBlock; }
  /// Number of blocks in the chain (0 without blocks).
  std::uint64_t getBlockCount() const noexcept { return m_ullBlockCount; }
  /// Running total of block sizes in units of 1024 bytes: the first block's
  /// size (or the caller area's size) / 1024, plus total / 1024 for every
  /// block added, minus capacity / 1024 for every block freed. 0 without
  /// blocks.
  std::uint64_t getSizeInKiB() const noexcept { return m_ullSizeInKiB; }
  /// Size of every further regular block, header included; 0 for a pool
  /// that never grows.
  std::size_t getSubsequentBlockSize() const noexcept { return m_ulSubsequentBlockSize; }
  /// The switch threshold after clamping.
  std::size_t getSwitchThreshold() const noexcept { return m_ulSwitchThreshold; }
  /// True for a pool over caller memory.
  bool isOverCallerMemory() const noexcept { return m_fCallerMemory; }

 private:
  KivClMemoryPoolBlock* grow(KivClMemoryPoolBlock* last, std::size_t size);
  void reportGrowthFailure(const _KivStUserError& error, const char* cause);
  // The release step without its checks; true when it freed the current
  // block, which the caller then replaces.
  bool releaseFrom(KivClMemoryPoolBlock* block, KivClMemoryPoolBlock* previous) noexcept;
  void freeBlock(KivClMemoryPoolBlock* block) noexcept;

  // What both constructors start from: no blocks, no handler.
  KivClMemoryPoolBlock* m_pclFirstBlock = nullptr;
  KivClMemoryPoolBlock* m_pclCurrentBlock = nullptr;
  std::uint64_t m_ullBlockCount = 0;
  std::uint64_t m_ullSizeInKiB = 0;
  std::size_t m_ulSubsequentBlockSize = 0;
  std::size_t m_ulSwitchThreshold;
  // Set for every pool and cleared by nothing: the inline allocate()
  // relies on it being true.
  bool m_fAlign = true;
  bool m_fCallerMemory;
  KivPfuMemoryPoolErrorHandler m_pfuErrorHandler = nullptr;
  void* m_pvUserPointer = nullptr;
  void* m_pvReserved = nullptr;
};

#endif
