// The memory pool: construction and sizes, allocation with the switch
// threshold and growth, pools over caller memory, and release (deleteAt,
// deleteAll, reset) with its block and size accounting.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "kiv_mempool.hpp"
#include "mempool_test_support.hpp"

namespace {

using mempooltest::addr;
using mempooltest::chainOf;
using mempooltest::currentIndexOf;
using mempooltest::ReleaseRecorder;
using mempooltest::UserAllocatorGuard;

constexpr std::size_t kMax = std::numeric_limits<std::size_t>::max();

// ---------------------------------------------------------------------------
// Construction and size queries
// ---------------------------------------------------------------------------

TEST(KivClMemoryPool, BlockHeaderIsSixWords) {
  EXPECT_EQ(sizeof(KivClMemoryPoolBlock), 48u);
  EXPECT_EQ(KivClMemoryPool::kBlockHeaderSize, 48u);
}

TEST(KivClMemoryPool, SmallSizesBecomeOnePageAndThresholdIsRaisedTo256) {
  const KivClMemoryPool pool(100, 100, 10);
  EXPECT_EQ(pool.getCapacityForFirstBlock(), 4048u);
  EXPECT_EQ(pool.getSubsequentBlockSize(), 4096u);
  EXPECT_EQ(pool.getCapacityForSubsequentBlocks(), 4048u);
  EXPECT_EQ(pool.getSwitchThreshold(), 256u);
  EXPECT_EQ(pool.getBlockCount(), 1u);
  EXPECT_EQ(pool.getSizeInKiB(), 4u);
  EXPECT_EQ(pool.getCurrentFreeSize(), 4048u);
  EXPECT_EQ(pool.getLargestPossibleChunk(), 4048u);
  EXPECT_EQ(pool.getFirstBlockNumber(), 1u);
  EXPECT_FALSE(pool.isOverCallerMemory());
}

TEST(KivClMemoryPool, SizesAreRoundedUpToWholePagesAndThresholdCappedAt65536) {
  const KivClMemoryPool pool(5000, 9000, 70000);
  EXPECT_EQ(pool.getCapacityForFirstBlock(), 8192u - 48u);
  EXPECT_EQ(pool.getSubsequentBlockSize(), 12288u);
  EXPECT_EQ(pool.getCapacityForSubsequentBlocks(), 12288u - 48u);
  EXPECT_EQ(pool.getSwitchThreshold(), 65536u);
  EXPECT_EQ(pool.getSizeInKiB(), 8u);
  EXPECT_EQ(pool.getLargestPossibleChunk(), 12288u - 48u);
}

TEST(KivClMemoryPool, KeepsThresholdInsideRangeAndExactPageSizes) {
  const KivClMemoryPool pool(16384, 8192, 1000);
  EXPECT_EQ(pool.getSwitchThreshold(), 1000u);
  EXPECT_EQ(pool.getCapacityForFirstBlock(), 16384u - 48u);
  EXPECT_EQ(pool.getSubsequentBlockSize(), 8192u);
  EXPECT_EQ(pool.getSizeInKiB(), 16u);
  EXPECT_EQ(pool.getLargestPossibleChunk(), 16384u - 48u);
  EXPECT_EQ(KivClMemoryPool(4096, 4096, 256).getSwitchThreshold(), 256u);
  EXPECT_EQ(KivClMemoryPool(4096, 4096, 65536).getSwitchThreshold(), 65536u);
}

TEST(KivClMemoryPool, FirstBlockAreaFollowsItsHeader) {
  KivClMemoryPool pool(4096, 4096, 256);
  const KivClMemoryPoolBlock* first = pool.getFirstBlock();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(addr(first->getStart()), addr(first) + 48u);
  EXPECT_EQ(addr(first->getEnd()), addr(first->getStart()) + 4048u - 1u);
  EXPECT_EQ(first->getCurrent(), first->getStart());
  EXPECT_EQ(first->getNext(), nullptr);
  EXPECT_EQ(first->getChunkCount(), 0);
  EXPECT_EQ(first->getBlockNumber(), 1u);
  EXPECT_EQ(pool.getCurrentBlock(), first);
  EXPECT_EQ(pool.getCurrentStateHandle(), first->getStart());
}

TEST(KivClMemoryPool, AlignedSizeIsNextMultipleOfEight) {
  const KivClMemoryPool pool(4096, 4096, 256);
  EXPECT_EQ(pool.getAlignedSizeFor(13), 16u);
  EXPECT_EQ(pool.getAlignedSizeFor(16), 16u);
  EXPECT_EQ(pool.getAlignedSizeFor(0), 0u);
  EXPECT_EQ(pool.getAlignedSizeFor(1), 8u);
  EXPECT_EQ(pool.getAlignedSizeFor(17), 24u);
}

TEST(KivClMemoryPool, AlignedSizeSaturatesAtLargestMultipleOfEight) {
  const KivClMemoryPool pool(4096, 4096, 256);
  const std::size_t largest = kMax & ~static_cast<std::size_t>(7);
  EXPECT_EQ(pool.getAlignedSizeFor(kMax), largest);
  EXPECT_EQ(pool.getAlignedSizeFor(largest), largest);
  EXPECT_EQ(pool.getAlignedSizeFor(largest - 1), largest);
  EXPECT_EQ(pool.getAlignedSizeFor(largest - 8), largest - 8);
}

TEST(KivClMemoryPool, AlignToPageSizeRoundsUpAndSaturates) {
  const KivClMemoryPool pool(4096, 4096, 256);
  EXPECT_EQ(pool.alignToPageSize(4097), 8192u);
  EXPECT_EQ(pool.alignToPageSize(4096), 4096u);
  EXPECT_EQ(pool.alignToPageSize(1), 4096u);
  EXPECT_EQ(pool.alignToPageSize(0), 0u);
  const std::size_t largest = kMax & ~static_cast<std::size_t>(4095);
  EXPECT_EQ(pool.alignToPageSize(kMax), largest);
  EXPECT_EQ(pool.alignToPageSize(largest + 1), largest);
  EXPECT_EQ(pool.alignToPageSize(largest), largest);
}

// ---------------------------------------------------------------------------
// Allocation
// ---------------------------------------------------------------------------

TEST(KivClMemoryPool, ChunksFollowEachOtherWithSizesRoundedToEight) {
  KivClMemoryPool pool(4096, 4096, 256);
  const KivClMemoryPoolBlock* first = pool.getFirstBlock();
  std::uint64_t blockNumber = 0;
  char* a = static_cast<char*>(pool.allocate(13, blockNumber));
  EXPECT_EQ(blockNumber, 1u);
  char* b = static_cast<char*>(pool.allocate(1));
  char* c = static_cast<char*>(pool.allocate(24));
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a, first->getStart());
  EXPECT_EQ(b, a + 16);
  EXPECT_EQ(c, b + 8);
  EXPECT_EQ(first->getChunkCount(), 3);
  EXPECT_EQ(pool.getCurrentFreeSize(), 4048u - 48u);
  EXPECT_EQ(static_cast<char*>(pool.getCurrentStateHandle()), c + 24);
  std::memset(a, 0x5a, 4048 - 48);  // the whole handed-out range is usable
}

TEST(KivClMemoryPool, ZeroSizeChunkIsTheCurrentPositionAndCounts) {
  KivClMemoryPool pool(4096, 4096, 256);
  void* before = pool.getCurrentStateHandle();
  EXPECT_EQ(pool.allocate(0), before);
  EXPECT_EQ(pool.getCurrentStateHandle(), before);
  EXPECT_EQ(pool.getFirstBlock()->getChunkCount(), 1);
}

TEST(KivClMemoryPool, EveryChunkIsAlignedToEightBytes) {
  KivClMemoryPool pool(4096, 8192, 300);
  std::uint32_t seed = 12345;
  for (int i = 0; i < 5000; ++i) {
    seed = seed * 1103515245u + 12345u;
    std::size_t size = (seed >> 8) % 300;
    if (i % 97 == 0) size = 9000 + (seed >> 4) % 5000;  // now and then a block of its own
    void* p = pool.allocate(size);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(addr(p) % 8, 0u) << "size " << size;
    std::memset(p, 0xa5, size);
  }
}

TEST(KivClMemoryPool, FillsTheFirstBlockExactlyThenGrows) {
  KivClMemoryPool pool(100, 100, 10);
  void* whole = pool.allocate(4048);
  ASSERT_NE(whole, nullptr);
  EXPECT_EQ(pool.getBlockCount(), 1u);
  EXPECT_EQ(pool.getCurrentFreeSize(), 0u);
  std::uint64_t blockNumber = 0;
  void* next = pool.allocate(8, blockNumber);
  ASSERT_NE(next, nullptr);
  EXPECT_EQ(blockNumber, 2u);
  EXPECT_EQ(pool.getBlockCount(), 2u);
  EXPECT_EQ(pool.getSizeInKiB(), 8u);
  const auto chain = chainOf(pool);
  ASSERT_EQ(chain.size(), 2u);
  EXPECT_EQ(chain[1]->getCapacity(), 4048u);
  EXPECT_EQ(chain[1]->getBlockNumber(), 2u);
  EXPECT_EQ(chain[1]->getChunkCount(), 1);
  EXPECT_EQ(next, chain[1]->getStart());
  EXPECT_EQ(addr(chain[1]->getStart()), addr(chain[1]) + 48u);
  // The full first block had less free space than the threshold.
  EXPECT_EQ(pool.getCurrentBlock(), chain[1]);
}

TEST(KivClMemoryPool, PassingOverABlockBelowThresholdSwitchesToTheNext) {
  KivClMemoryPool pool(4096, 4096, 256);
  ASSERT_NE(pool.allocate(3800), nullptr);  // 248 bytes left
  EXPECT_EQ(currentIndexOf(pool), 0);       // filling alone does not switch
  std::uint64_t blockNumber = 0;
  ASSERT_NE(pool.allocate(300, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 2u);
  EXPECT_EQ(currentIndexOf(pool), 1);
  EXPECT_EQ(pool.getCurrentFreeSize(), 4048u - 304u);
  ASSERT_NE(pool.allocate(8, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 2u);
}

TEST(KivClMemoryPool, BlockWithEnoughFreeSpaceStaysCurrent) {
  KivClMemoryPool pool(4096, 4096, 256);
  ASSERT_NE(pool.allocate(3000), nullptr);  // 1048 left, above the threshold
  std::uint64_t blockNumber = 0;
  ASSERT_NE(pool.allocate(2000, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 2u);
  EXPECT_EQ(currentIndexOf(pool), 0);
  void* small = pool.allocate(16, blockNumber);
  EXPECT_EQ(blockNumber, 1u);
  EXPECT_EQ(small, static_cast<char*>(pool.getFirstBlock()->getStart()) + 3000);
  // A request that does not fit the first block walks on to the second,
  // which still has room, without growing.
  ASSERT_NE(pool.allocate(1500, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 2u);
  EXPECT_EQ(pool.getBlockCount(), 2u);
}

TEST(KivClMemoryPool, FirstPassedOverBlockDecidesTheNewCurrentBlock) {
  KivClMemoryPool pool(4096, 4096, 256);
  ASSERT_NE(pool.allocate(3000), nullptr);  // block 1: 1048 left
  ASSERT_NE(pool.allocate(2000), nullptr);  // grows block 2 (2048 left); no switch
  KivClMemoryPoolBlock* second = pool.getFirstBlock()->getNext();
  ASSERT_NE(second, nullptr);
  std::uint64_t blockNumber = 0;
  ASSERT_NE(pool.allocate(second, 1900, blockNumber), nullptr);  // block 2: 148 left
  ASSERT_NE(pool.allocate(900), nullptr);                        // block 1: 148 left
  EXPECT_EQ(currentIndexOf(pool), 0);
  // Both blocks are passed over and both are below the threshold: the chunk
  // comes from a new third block, but the first passed-over block's
  // successor, block 2, becomes current.
  ASSERT_NE(pool.allocate(1000, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 3u);
  EXPECT_EQ(pool.getBlockCount(), 3u);
  EXPECT_EQ(pool.getCurrentBlock(), second);
}

TEST(KivClMemoryPool, OversizedRequestGetsAPageRoundedBlockOfItsOwn) {
  KivClMemoryPool pool(100, 100, 10);
  ASSERT_NE(pool.allocate(4048), nullptr);  // full
  std::uint64_t blockNumber = 0;
  char* big = static_cast<char*>(pool.allocate(10000, blockNumber));
  ASSERT_NE(big, nullptr);
  EXPECT_EQ(blockNumber, 2u);
  const auto chain = chainOf(pool);
  ASSERT_EQ(chain.size(), 2u);
  EXPECT_EQ(chain[1]->getCapacity(), 12240u);  // 12288 bytes with the header
  EXPECT_EQ(chain[1]->getFreeSize(), 2240u);
  EXPECT_EQ(pool.getSizeInKiB(), 4u + 12u);
  std::memset(big, 1, 10000);
}

TEST(KivClMemoryPool, OversizedBlockIsAppendedWhileCurrentBlockKeepsServing) {
  KivClMemoryPool pool(4096, 4096, 256);
  ASSERT_NE(pool.allocate(3000), nullptr);  // 1048 left, above the threshold
  std::uint64_t blockNumber = 0;
  ASSERT_NE(pool.allocate(19000, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 2u);
  EXPECT_EQ(currentIndexOf(pool), 0);
  EXPECT_EQ(chainOf(pool)[1]->getCapacity(), 20480u - 48u);
  EXPECT_EQ(chainOf(pool)[1]->getFreeSize(), 20480u - 48u - 19000u);
  ASSERT_NE(pool.allocate(100, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 1u);
  // The oversized block's remainder serves a request that no longer fits
  // the first block.
  ASSERT_NE(pool.allocate(1200, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 2u);
  EXPECT_EQ(pool.getBlockCount(), 2u);
  EXPECT_EQ(currentIndexOf(pool), 0);
}

TEST(KivClMemoryPool, RequestOfExactlySubsequentCapacityGetsARegularBlock) {
  KivClMemoryPool pool(100, 100, 10);
  ASSERT_NE(pool.allocate(4048), nullptr);
  ASSERT_NE(pool.allocate(4048), nullptr);
  EXPECT_EQ(chainOf(pool)[1]->getCapacity(), 4048u);
  ASSERT_NE(pool.allocate(4049), nullptr);  // 4056 after rounding: 4104 bytes, two pages
  EXPECT_EQ(chainOf(pool)[2]->getCapacity(), 8192u - 48u);
  EXPECT_EQ(pool.getSizeInKiB(), 4u + 4u + 8u);
}

TEST(KivClMemoryPool, RawAllocationDoesNotRoundTheSize) {
  KivClMemoryPool pool(4096, 4096, 256);
  std::uint64_t blockNumber = 0;
  char* a = static_cast<char*>(pool.allocate(pool.getFirstBlock(), 3, blockNumber));
  char* b = static_cast<char*>(pool.allocate(pool.getFirstBlock(), 5, blockNumber));
  EXPECT_EQ(b, a + 3);
  EXPECT_EQ(pool.allocate(nullptr, 8, blockNumber), nullptr);
}

TEST(KivClMemoryPool, RoundedSizeMustFitWhenFreeSizeIsNotAMultipleOfEight) {
  KivClMemoryPool pool(4096, 4096, 256);
  std::uint64_t blockNumber = 0;
  ASSERT_NE(pool.allocate(pool.getFirstBlock(), 3, blockNumber), nullptr);
  ASSERT_EQ(pool.getCurrentFreeSize(), 4045u);
  void* fits = pool.allocate(4037, blockNumber);  // 4040 after rounding
  EXPECT_EQ(blockNumber, 1u);
  EXPECT_EQ(fits, static_cast<char*>(pool.getFirstBlock()->getStart()) + 3);
  EXPECT_EQ(pool.getCurrentFreeSize(), 5u);
  ASSERT_NE(pool.allocate(5, blockNumber), nullptr);  // 8 after rounding: does not fit
  EXPECT_EQ(blockNumber, 2u);
  EXPECT_EQ(pool.getFirstBlock()->getFreeSize(), 5u);
}

TEST(KivClMemoryPool, CallerAreaOfOddSizeServesOnlyRoundedSizesThatFit) {
  alignas(16) unsigned char area[1001];
  KivClMemoryPool pool(area, sizeof area);
  EXPECT_EQ(pool.allocate(994), area);  // 1000 after rounding
  EXPECT_EQ(pool.getCurrentFreeSize(), 1u);
  EXPECT_EQ(pool.allocate(1), nullptr);
  EXPECT_EQ(pool.allocate(0), area + 1000);
  EXPECT_EQ(pool.getFirstBlock()->getChunkCount(), 2);
}

TEST(KivClMemoryPool, BlockNumberIsTheBlockCountWhenAddedSoNumbersRepeat) {
  KivClMemoryPool pool(4096, 4096, 256);
  for (int i = 0; i < 3; ++i) ASSERT_NE(pool.allocate(4048), nullptr);
  ASSERT_EQ(pool.getBlockCount(), 3u);
  KivClMemoryPoolBlock* first = pool.getFirstBlock();
  KivClMemoryPoolBlock* second = first->getNext();
  KivClMemoryPoolBlock* third = second->getNext();
  EXPECT_EQ(second->getBlockNumber(), 2u);
  EXPECT_EQ(third->getBlockNumber(), 3u);
  pool.reset(second);
  std::uint64_t blockNumber = 0;
  ASSERT_NE(pool.allocate(third, 8, blockNumber), nullptr);
  pool.deleteAll(second, first);  // block 2 had no chunks: freed; block 3 kept
  ASSERT_EQ(pool.getBlockCount(), 2u);
  ASSERT_EQ(pool.getCurrentBlock(), third);
  ASSERT_NE(pool.allocate(4048, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 3u);
  ASSERT_NE(pool.allocate(8, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 3u);  // the block count again
  const auto chain = chainOf(pool);
  ASSERT_EQ(chain.size(), 3u);
  EXPECT_EQ(chain[1]->getBlockNumber(), 3u);
  EXPECT_EQ(chain[2]->getBlockNumber(), 3u);
}

// ---------------------------------------------------------------------------
// Pools over caller memory
// ---------------------------------------------------------------------------

TEST(KivClMemoryPool, CallerMemoryPoolUsesTheGivenAreaAndNeverGrows) {
  alignas(16) unsigned char area[1000];
  KivClMemoryPool pool(area, sizeof area);
  EXPECT_TRUE(pool.isOverCallerMemory());
  EXPECT_EQ(pool.getCapacityForFirstBlock(), 1000u);
  EXPECT_EQ(pool.getCapacityForSubsequentBlocks(), 0u);
  EXPECT_EQ(pool.getSubsequentBlockSize(), 0u);
  EXPECT_EQ(pool.getLargestPossibleChunk(), 1000u);
  EXPECT_EQ(pool.getSizeInKiB(), 0u);
  EXPECT_EQ(pool.getBlockCount(), 1u);
  EXPECT_EQ(pool.getFirstBlock()->getStart(), area);
  EXPECT_EQ(addr(pool.getFirstBlock()->getEnd()), addr(area) + 999u);
  EXPECT_NE(addr(pool.getFirstBlock()), addr(area) - 48u);  // the header lives apart

  std::uint64_t blockNumber = 0;
  void* a = pool.allocate(990, blockNumber);
  EXPECT_EQ(a, area);
  EXPECT_EQ(blockNumber, 1u);
  EXPECT_EQ(pool.getCurrentFreeSize(), 8u);
  EXPECT_EQ(pool.allocate(8), area + 992);
  EXPECT_EQ(pool.getCurrentFreeSize(), 0u);
}

TEST(KivClMemoryPool, FullCallerMemoryPoolReturnsNullAndReportsNothing) {
  alignas(16) unsigned char area[5000];
  KivClMemoryPool pool(area, sizeof area);
  EXPECT_EQ(pool.getSizeInKiB(), 4u);
  int calls = 0;
  pool.setErrorHandler([](const _KivStError&, void* user) { ++*static_cast<int*>(user); }, &calls);
  UserAllocatorGuard allocator;
  ASSERT_NE(pool.allocate(4990), nullptr);
  std::uint64_t blockNumber = 77;
  EXPECT_EQ(pool.allocate(16, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 77u);
  EXPECT_EQ(pool.allocate(100000), nullptr);
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(allocator.allocations(), 0u);  // not even an attempt to grow
  EXPECT_EQ(pool.getBlockCount(), 1u);

  pool.setErrorHandler(nullptr, nullptr);
  EXPECT_NO_THROW(EXPECT_EQ(pool.allocate(16), nullptr));
}

TEST(KivClMemoryPool, CallerMemoryPoolRewindsAndClearsWithoutFreeingTheArea) {
  alignas(16) unsigned char area[256];
  KivClMemoryPool pool(area, sizeof area);
  ASSERT_NE(pool.allocate(64), nullptr);
  void* handle = pool.getCurrentStateHandle();
  ASSERT_NE(pool.allocate(128), nullptr);
  pool.deleteAt(handle);
  EXPECT_EQ(pool.getCurrentFreeSize(), 192u);
  EXPECT_EQ(pool.allocate(8), handle);
  pool.deleteAll();
  EXPECT_EQ(pool.getCurrentFreeSize(), 256u);
  EXPECT_EQ(pool.getFirstBlock()->getChunkCount(), 0);
  EXPECT_EQ(pool.allocate(256), area);
}

TEST(KivClMemoryPool, CallerMemoryOfSizeZeroHandsOutOnlyEmptyChunks) {
  alignas(16) unsigned char area[16];
  KivClMemoryPool pool(area, 0);
  EXPECT_EQ(pool.getCapacityForFirstBlock(), 0u);
  EXPECT_EQ(pool.getLargestPossibleChunk(), 0u);
  EXPECT_EQ(pool.getCurrentFreeSize(), 0u);
  EXPECT_EQ(pool.allocate(1), nullptr);
  EXPECT_EQ(pool.allocate(0), area);
}

TEST(KivClMemoryPool, NullCallerMemoryIsAnEmptyArea) {
  KivClMemoryPool pool(nullptr, 4096);
  EXPECT_EQ(pool.getBlockCount(), 1u);
  EXPECT_EQ(pool.getCapacityForFirstBlock(), 0u);
  EXPECT_EQ(pool.getSizeInKiB(), 0u);
  EXPECT_EQ(pool.allocate(8), nullptr);
  pool.deleteAll();
  EXPECT_EQ(pool.getCurrentFreeSize(), 0u);
}

// ---------------------------------------------------------------------------
// Release
// ---------------------------------------------------------------------------

TEST(KivClMemoryPool, RewindOnAFreshPoolRestoresTheFreshFreeSize) {
  KivClMemoryPool pool(8192, 4096, 256);
  const std::size_t fresh = pool.getCurrentFreeSize();
  void* handle = pool.getCurrentStateHandle();
  for (int i = 0; i < 20; ++i) ASSERT_NE(pool.allocate(40 + i), nullptr);
  ASSERT_LT(pool.getCurrentFreeSize(), fresh);
  pool.deleteAt(handle);
  EXPECT_EQ(pool.getCurrentFreeSize(), fresh);
  EXPECT_EQ(pool.getCurrentStateHandle(), handle);
  EXPECT_EQ(pool.getFirstBlock()->getChunkCount(), 20);  // left as it was
  EXPECT_EQ(pool.allocate(8), handle);
}

TEST(KivClMemoryPool, RewindAcrossBlocksKeepsUsedBlocksAndReturnsToTheHandle) {
  KivClMemoryPool pool(8192, 4096, 256);
  const std::size_t fresh = pool.getCurrentFreeSize();
  void* handle = pool.getCurrentStateHandle();
  for (int i = 0; i < 60; ++i) ASSERT_NE(pool.allocate(256), nullptr);  // three blocks
  ASSERT_EQ(pool.getBlockCount(), 3u);
  ASSERT_EQ(currentIndexOf(pool), 2);
  ASSERT_EQ(pool.getSizeInKiB(), 8u + 4u + 4u);

  pool.deleteAt(handle);
  EXPECT_EQ(pool.getBlockCount(), 3u);  // blocks with chunks are kept, empty
  EXPECT_EQ(pool.getFirstBlock()->getCurrent(), handle);
  const auto chain = chainOf(pool);
  for (std::size_t i = 1; i < chain.size(); ++i) {
    EXPECT_EQ(chain[i]->getFreeSize(), 4048u);
    EXPECT_EQ(chain[i]->getChunkCount(), 0);
  }
  // The emptied third block stays current.
  EXPECT_EQ(currentIndexOf(pool), 2);
  EXPECT_EQ(pool.getCurrentFreeSize(), 4048u);
  EXPECT_EQ(pool.getSizeInKiB(), 16u);

  // The same rewind again frees what the first one emptied: 3 KiB each.
  // The current block is among them, so the block of the handle takes over.
  pool.deleteAt(handle);
  EXPECT_EQ(pool.getBlockCount(), 1u);
  EXPECT_EQ(pool.getSizeInKiB(), 16u - 3u - 3u);
  EXPECT_EQ(currentIndexOf(pool), 0);
  EXPECT_EQ(pool.getCurrentFreeSize(), fresh);
}

TEST(KivClMemoryPool, RewindIntoAFullBlockAcceptsItsEndPlusOne) {
  KivClMemoryPool pool(4096, 4096, 256);
  ASSERT_NE(pool.allocate(4048), nullptr);
  void* endPlusOne = pool.getCurrentStateHandle();
  EXPECT_EQ(addr(endPlusOne), addr(pool.getFirstBlock()->getEnd()) + 1u);
  ASSERT_NE(pool.allocate(100), nullptr);  // block 2 becomes current
  ASSERT_EQ(currentIndexOf(pool), 1);
  pool.deleteAt(endPlusOne);
  EXPECT_EQ(pool.getFirstBlock()->getCurrent(), endPlusOne);
  EXPECT_EQ(pool.getFirstBlock()->getFreeSize(), 0u);
  EXPECT_EQ(pool.getBlockCount(), 2u);
}

TEST(KivClMemoryPool, RewindLeavesTheCurrentBlockWhereItIs) {
  KivClMemoryPool pool(4096, 4096, 256);
  ASSERT_NE(pool.allocate(4048), nullptr);
  void* handle = pool.getCurrentStateHandle();
  ASSERT_NE(pool.allocate(100), nullptr);  // a second block, now current
  KivClMemoryPoolBlock* second = pool.getFirstBlock()->getNext();
  ASSERT_EQ(pool.getCurrentBlock(), second);

  pool.deleteAt(handle);
  // The second block had a chunk: it is emptied and kept, and stays current.
  EXPECT_EQ(pool.getCurrentBlock(), second);
  EXPECT_EQ(pool.getCurrentFreeSize(), 4048u);
  EXPECT_EQ(second->getChunkCount(), 0);
  EXPECT_EQ(pool.getCurrentStateHandle(), second->getStart());
  std::uint64_t blockNumber = 0;
  EXPECT_EQ(pool.allocate(8, blockNumber), second->getStart());
  EXPECT_EQ(blockNumber, 2u);
}

TEST(KivClMemoryPool, RewindThatFreesTheCurrentBlockMakesTheRewoundBlockCurrent) {
  KivClMemoryPool pool(4096, 4096, 256);
  ASSERT_NE(pool.allocate(4000), nullptr);
  void* handle = pool.getCurrentStateHandle();
  ASSERT_NE(pool.allocate(4000), nullptr);  // block 2
  ASSERT_NE(pool.allocate(4000), nullptr);  // block 3, current
  const auto before = chainOf(pool);
  ASSERT_EQ(before.size(), 3u);
  ASSERT_EQ(currentIndexOf(pool), 2);
  pool.reset(const_cast<KivClMemoryPoolBlock*>(before[2]));  // block 3 without chunks

  pool.deleteAt(handle);
  // Block 3 (current) is freed and block 2 kept: the block of the handle
  // takes over, not the nearest kept block before the freed one.
  const auto after = chainOf(pool);
  ASSERT_EQ(after.size(), 2u);
  EXPECT_EQ(after[1], before[1]);
  EXPECT_EQ(pool.getCurrentBlock(), pool.getFirstBlock());
  EXPECT_EQ(pool.getCurrentStateHandle(), handle);
  EXPECT_EQ(pool.getCurrentFreeSize(), 48u);
}

TEST(KivClMemoryPool, RewindToAPositionOutsideThePoolDoesNothing) {
  KivClMemoryPool pool(4096, 4096, 256);
  ASSERT_NE(pool.allocate(4048), nullptr);
  ASSERT_NE(pool.allocate(64), nullptr);
  int elsewhere = 0;
  pool.deleteAt(&elsewhere);
  pool.deleteAt(nullptr);
  EXPECT_EQ(pool.getBlockCount(), 2u);
  EXPECT_EQ(pool.getCurrentFreeSize(), 4048u - 64u);
  EXPECT_EQ(chainOf(pool)[1]->getChunkCount(), 1);
}

TEST(KivClMemoryPool, RewindIntoALaterBlockLeavesEarlierCurrentBlockAlone) {
  KivClMemoryPool pool(4096, 4096, 256);
  ASSERT_NE(pool.allocate(100), nullptr);
  ASSERT_NE(pool.allocate(20000), nullptr);  // block of its own; block 1 stays current
  char* inBig = static_cast<char*>(chainOf(pool)[1]->getStart());
  pool.deleteAt(inBig + 8);
  EXPECT_EQ(currentIndexOf(pool), 0);
  EXPECT_EQ(chainOf(pool)[1]->getCurrent(), inBig + 8);
}

TEST(KivClMemoryPool, DeleteAllKeepsThreeUsedBlocksThenSecondDeleteAllFreesThem) {
  KivClMemoryPool pool(4096, 4096, 256);
  for (int i = 0; i < 3; ++i) ASSERT_NE(pool.allocate(4000), nullptr);
  ASSERT_EQ(pool.getBlockCount(), 3u);
  ASSERT_EQ(pool.getSizeInKiB(), 12u);

  pool.deleteAll();
  auto chain = chainOf(pool);
  ASSERT_EQ(chain.size(), 3u);
  for (const KivClMemoryPoolBlock* b : chain) {
    EXPECT_EQ(b->getFreeSize(), 4048u);
    EXPECT_EQ(b->getChunkCount(), 0);
  }
  EXPECT_EQ(pool.getCurrentBlock(), chain[0]);
  EXPECT_EQ(pool.getBlockCount(), 3u);
  EXPECT_EQ(pool.getSizeInKiB(), 12u);

  pool.deleteAll();
  EXPECT_EQ(chainOf(pool).size(), 1u);
  EXPECT_EQ(pool.getBlockCount(), 1u);
  // Added 4 KiB per block, took away 3 KiB (the capacity): drifts upwards.
  EXPECT_EQ(pool.getSizeInKiB(), 12u - 3u - 3u);
  EXPECT_EQ(pool.getCurrentFreeSize(), 4048u);
}

TEST(KivClMemoryPool, SizeInKiBDriftsByOneForAnOversizedBlock) {
  KivClMemoryPool pool(4096, 4096, 256);
  ASSERT_NE(pool.allocate(10000), nullptr);  // 12288 bytes: +12
  ASSERT_EQ(pool.getSizeInKiB(), 16u);
  pool.deleteAll();
  pool.deleteAll();  // capacity 12240 / 1024 = 11: -11
  EXPECT_EQ(pool.getSizeInKiB(), 5u);
  EXPECT_EQ(pool.getBlockCount(), 1u);
}

TEST(KivClMemoryPool, ReusesKeptBlocksAfterDeleteAll) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  for (int i = 0; i < 3; ++i) ASSERT_NE(pool.allocate(4000), nullptr);
  const long allocations = allocator.allocations();
  for (int round = 0; round < 5; ++round) {
    pool.deleteAll();
    for (int i = 0; i < 3; ++i) ASSERT_NE(pool.allocate(4000), nullptr);
  }
  EXPECT_EQ(allocator.allocations(), allocations);
  EXPECT_EQ(pool.getBlockCount(), 3u);
}

TEST(KivClMemoryPool, ReleaseStepFreesEmptyBlocksAndEmptiesUsedOnes) {
  KivClMemoryPool pool(4096, 4096, 256);
  for (int i = 0; i < 4; ++i) ASSERT_NE(pool.allocate(4000), nullptr);
  ASSERT_EQ(pool.getBlockCount(), 4u);
  KivClMemoryPoolBlock* first = pool.getFirstBlock();
  KivClMemoryPoolBlock* second = first->getNext();
  KivClMemoryPoolBlock* third = second->getNext();
  pool.reset(third);  // blocks 3 and 4 empty without chunks
  EXPECT_EQ(pool.getBlockCount(), 4u);
  ASSERT_EQ(currentIndexOf(pool), 3);

  pool.deleteAll(second, first);
  const auto chain = chainOf(pool);
  ASSERT_EQ(chain.size(), 2u);
  EXPECT_EQ(chain[1], second);
  EXPECT_EQ(second->getChunkCount(), 0);
  EXPECT_EQ(second->getFreeSize(), 4048u);
  EXPECT_EQ(pool.getBlockCount(), 2u);
  EXPECT_EQ(pool.getSizeInKiB(), 16u - 3u - 3u);
  // The current block was freed: the nearest kept block before it took over.
  EXPECT_EQ(pool.getCurrentBlock(), second);
  std::uint64_t blockNumber = 0;
  ASSERT_NE(pool.allocate(8, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 2u);
}

TEST(KivClMemoryPool, ReleaseStepHandsTheLastBlockBackFirst) {
  ReleaseRecorder recorder;
  KivClMemoryPool pool(4096, 4096, 256);
  for (int i = 0; i < 4; ++i) ASSERT_NE(pool.allocate(4000), nullptr);
  const auto blocks = chainOf(pool);
  ASSERT_EQ(blocks.size(), 4u);
  KivClMemoryPoolBlock* first = pool.getFirstBlock();
  KivClMemoryPoolBlock* second = first->getNext();
  pool.reset(second);  // blocks 2, 3 and 4 without chunks
  std::uint64_t blockNumber = 0;
  KivClMemoryPoolBlock* third = second->getNext();
  ASSERT_NE(pool.allocate(third, 8, blockNumber), nullptr);  // block 3 in use again
  ASSERT_EQ(blockNumber, 3u);
  recorder.clear();

  pool.deleteAll(second, first);
  // Depth first: block 4 goes before block 2; block 3 is emptied and kept.
  EXPECT_EQ(recorder.released(), (std::vector<const void*>{blocks[3], blocks[1]}));
  EXPECT_EQ(chainOf(pool), (std::vector<const KivClMemoryPoolBlock*>{blocks[0], blocks[2]}));
  EXPECT_EQ(third->getChunkCount(), 0);
  EXPECT_EQ(pool.getBlockCount(), 2u);
  // Block 4 was current; the nearest kept block before it took over.
  EXPECT_EQ(pool.getCurrentBlock(), third);

  recorder.clear();
  pool.deleteAll();
  EXPECT_EQ(recorder.released(), (std::vector<const void*>{blocks[2]}));
}

TEST(KivClMemoryPool, DeleteAllFreesEmptyBlocksFromTheEndOfTheChain) {
  ReleaseRecorder recorder;
  KivClMemoryPool pool(4096, 4096, 256);
  for (int i = 0; i < 4; ++i) ASSERT_NE(pool.allocate(4000), nullptr);
  const auto blocks = chainOf(pool);
  pool.reset(pool.getFirstBlock()->getNext());
  recorder.clear();
  pool.deleteAll();
  EXPECT_EQ(recorder.released(), (std::vector<const void*>{blocks[3], blocks[2], blocks[1]}));
  EXPECT_EQ(pool.getBlockCount(), 1u);
}

TEST(KivClMemoryPool, DestructionFreesTheFirstBlockLast) {
  ReleaseRecorder recorder;
  std::vector<const KivClMemoryPoolBlock*> blocks;
  {
    KivClMemoryPool pool(4096, 4096, 256);
    for (int i = 0; i < 4; ++i) ASSERT_NE(pool.allocate(4000), nullptr);
    blocks = chainOf(pool);
    KivClMemoryPoolBlock* second = pool.getFirstBlock()->getNext();
    pool.reset(second);
    std::uint64_t blockNumber = 0;
    ASSERT_NE(pool.allocate(second->getNext(), 8, blockNumber), nullptr);  // block 3 in use
    recorder.clear();
  }
  // First deleteAll() pass: block 4, then block 2 (block 3 is emptied);
  // second pass: block 3; then the first block.
  EXPECT_EQ(recorder.released(),
            (std::vector<const void*>{blocks[3], blocks[1], blocks[2], blocks[0]}));
}

TEST(KivClMemoryPool, ReleaseStepIgnoresMismatchedOrForeignBlocks) {
  KivClMemoryPool pool(4096, 4096, 256);
  for (int i = 0; i < 3; ++i) ASSERT_NE(pool.allocate(4000), nullptr);
  KivClMemoryPool other(4096, 4096, 256);
  ASSERT_NE(other.allocate(4000), nullptr);
  ASSERT_NE(other.allocate(4000), nullptr);
  KivClMemoryPoolBlock* first = pool.getFirstBlock();
  KivClMemoryPoolBlock* third = first->getNext()->getNext();

  pool.deleteAll(third, first);  // first is not third's predecessor
  pool.deleteAll(nullptr, first);
  pool.deleteAll(first, nullptr);
  pool.deleteAll(other.getFirstBlock()->getNext(), other.getFirstBlock());
  EXPECT_EQ(pool.getBlockCount(), 3u);
  EXPECT_EQ(third->getChunkCount(), 1);
  EXPECT_EQ(other.getBlockCount(), 2u);
  EXPECT_EQ(other.getFirstBlock()->getNext()->getChunkCount(), 1);
}

TEST(KivClMemoryPool, ResetEmptiesFromABlockOnWithoutFreeing) {
  KivClMemoryPool pool(4096, 4096, 256);
  for (int i = 0; i < 3; ++i) ASSERT_NE(pool.allocate(4000), nullptr);
  const KivClMemoryPoolBlock* current = pool.getCurrentBlock();
  KivClMemoryPoolBlock* second = pool.getFirstBlock()->getNext();
  pool.reset(second);
  const auto chain = chainOf(pool);
  ASSERT_EQ(chain.size(), 3u);
  EXPECT_EQ(chain[0]->getChunkCount(), 1);
  EXPECT_EQ(chain[0]->getFreeSize(), 48u);
  EXPECT_EQ(chain[1]->getChunkCount(), 0);
  EXPECT_EQ(chain[1]->getFreeSize(), 4048u);
  EXPECT_EQ(chain[2]->getChunkCount(), 0);
  EXPECT_EQ(chain[2]->getFreeSize(), 4048u);
  EXPECT_EQ(pool.getCurrentBlock(), current);
  EXPECT_EQ(pool.getSizeInKiB(), 12u);
  pool.reset(nullptr);
  EXPECT_EQ(pool.getBlockCount(), 3u);
}

TEST(KivClMemoryPoolBlock, ResetSetsTheNextFreeByte) {
  KivClMemoryPool pool(4096, 4096, 256);
  KivClMemoryPoolBlock* first = pool.getFirstBlock();
  char* start = static_cast<char*>(first->getStart());
  first->reset(start + 1000);
  EXPECT_EQ(first->getCurrent(), start + 1000);
  EXPECT_EQ(first->getFreeSize(), 3048u);
  EXPECT_EQ(pool.allocate(8), start + 1000);
}

TEST(KivClMemoryPool, DestructionFreesEveryBlockItAllocated) {
  UserAllocatorGuard allocator;
  {
    KivClMemoryPool pool(4096, 8192, 256);
    for (int i = 0; i < 50; ++i)
      ASSERT_NE(pool.allocate(static_cast<std::size_t>(i) * 97), nullptr);
    ASSERT_NE(pool.allocate(50000), nullptr);
    pool.deleteAll();  // some blocks empty and kept: the destructor frees them too
    ASSERT_NE(pool.allocate(100), nullptr);
  }
  EXPECT_GT(allocator.allocations(), 3u);
  EXPECT_EQ(allocator.releases(), allocator.allocations());
}

TEST(KivClMemoryPool, DestructionOfCallerMemoryPoolFreesOnlyTheHeader) {
  UserAllocatorGuard allocator;
  alignas(16) unsigned char area[512];
  {
    KivClMemoryPool pool(area, sizeof area);
    ASSERT_NE(pool.allocate(500), nullptr);
    EXPECT_EQ(allocator.lastSize(), 48u);
  }
  EXPECT_EQ(allocator.allocations(), 1u);
  EXPECT_EQ(allocator.releases(), 1u);
}

}  // namespace
