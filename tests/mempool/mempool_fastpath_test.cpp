// The inline allocation against a plain reference: random requests (tiny,
// near the free size, 0 and close to the largest size) on blocks whose free
// size is often not a multiple of 8 (rewinds to arbitrary bytes, areas of
// odd length at odd addresses). Each request must hand out the chunk, move
// the current pointer and count the chunk exactly as rounding the size up to
// 8 and comparing it with the free size says, or change nothing.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "kiv_mempool.hpp"
#include "mempool_test_support.hpp"

namespace {

using mempooltest::addr;

constexpr std::size_t kMax = std::numeric_limits<std::size_t>::max();
constexpr std::uint64_t kUntouched = 0xDEADBEEFu;

// The rounding as the pool promises it, written the slow way.
std::size_t roundedSize(std::size_t size) {
  const std::size_t largest = kMax - 7;
  if (size > largest) return largest;
  return size % 8 == 0 ? size : (size / 8 + 1) * 8;
}

// A request size: mostly small, often right around the free size, now and
// then 0 or one that no block can hold. With `unrepresentable`, the huge ones
// are only those for which no block size can even be expressed, so that a
// pool that grows reports them without asking the allocator.
std::size_t drawSize(std::mt19937_64& rng, std::size_t freeSize, bool unrepresentable = false) {
  const unsigned kind = static_cast<unsigned>(rng() % 10);
  if (kind < 5) return static_cast<std::size_t>(rng() % 65);
  if (kind < 8) {
    const std::size_t delta = static_cast<std::size_t>(rng() % 17);
    return freeSize + 8 >= delta ? freeSize + 8 - delta : 0;
  }
  if (kind == 8) return 0;
  static const std::size_t huge[] = {kMax,         kMax - 1,     kMax - 6,     kMax - 7,
                                     kMax - 8,     kMax - 9,     kMax - 15,    kMax / 2,
                                     kMax / 2 + 1, kMax / 2 + 2, kMax / 2 - 6, kMax / 2 - 7,
                                     kMax / 2 + 8, kMax / 2 + 9, kMax / 4};
  constexpr std::size_t kUnrepresentable = 7;  // the first seven entries
  return huge[rng() % (unrepresentable ? kUnrepresentable : sizeof huge / sizeof huge[0])];
}

// Runs `steps` random requests and rewinds on a pool that never grows and
// checks each against the reference.
void checkAgainstReference(KivClMemoryPool& pool, std::uint64_t seed, int steps) {
  SCOPED_TRACE(::testing::Message() << "seed " << seed);
  std::mt19937_64 rng(seed);
  KivClMemoryPoolBlock* block = pool.getFirstBlock();
  ASSERT_NE(block, nullptr);
  const std::uintptr_t start = addr(block->getStart());
  const std::uintptr_t limit = addr(block->getEnd()) + 1;
  std::uintptr_t current = addr(block->getCurrent());
  std::int64_t chunks = block->getChunkCount();

  for (int step = 0; step < steps; ++step) {
    const unsigned action = static_cast<unsigned>(rng() % 100);
    if (action < 8) {
      // Back to any byte up to the current one, aligned or not.
      current = start + static_cast<std::uintptr_t>(rng() % (current - start + 1));
      pool.deleteAt(reinterpret_cast<const void*>(current));
    } else if (action < 10) {
      pool.deleteAll();
      current = start;
      chunks = 0;
    } else {
      const std::size_t freeSize = limit - current;
      const std::size_t size = drawSize(rng, freeSize);
      const std::size_t rounded = roundedSize(size);
      std::uint64_t blockNumber = kUntouched;
      void* chunk = pool.allocate(size, blockNumber);
      if (rounded <= freeSize) {
        ASSERT_EQ(addr(chunk), current) << "step " << step << " size " << size;
        ASSERT_EQ(blockNumber, 1u) << "step " << step;
        current += rounded;
        ++chunks;
      } else {
        ASSERT_EQ(chunk, nullptr) << "step " << step << " size " << size << " free " << freeSize;
        ASSERT_EQ(blockNumber, kUntouched) << "step " << step;
      }
    }
    ASSERT_EQ(addr(block->getCurrent()), current) << "step " << step;
    ASSERT_EQ(block->getChunkCount(), chunks) << "step " << step;
    ASSERT_EQ(pool.getCurrentFreeSize(), limit - current) << "step " << step;
  }
}

TEST(KivClMemoryPoolFastPath, CallerMemoryMatchesTheReferenceOnRandomRequests) {
  // Areas of odd lengths at every offset from an aligned address.
  std::vector<unsigned char> buffer(2048 + 16);
  for (std::uint64_t seed = 1; seed <= 24; ++seed) {
    const std::size_t offset = static_cast<std::size_t>(seed % 8);
    const std::size_t length = 1000 + static_cast<std::size_t>(seed * 37 % 1001);
    KivClMemoryPool pool(buffer.data() + offset, length);
    checkAgainstReference(pool, seed, 20000);
    if (::testing::Test::HasFatalFailure()) return;
  }
}

TEST(KivClMemoryPoolFastPath, OwnedBlockMatchesTheReferenceWhileNothingGrows) {
  // Requests that do not fit the first block would grow the pool; here only
  // the huge ones miss it, and they are growth failures that the handler
  // takes, so the first block is all there is.
  struct Failures {
    int count = 0;
    KivEnErrorClass errorClass = KivEnErrorClass{};
  } failures;
  KivClMemoryPool pool(1u << 20, 4096, 256);
  pool.setErrorHandler(
      [](const _KivStError& error, void* user) {
        auto* f = static_cast<Failures*>(user);
        ++f->count;
        f->errorClass = error.errorClass;
      },
      &failures);
  std::mt19937_64 rng(77);
  KivClMemoryPoolBlock* block = pool.getFirstBlock();
  ASSERT_NE(block, nullptr);
  const std::uintptr_t start = addr(block->getStart());
  std::uintptr_t current = start;
  std::int64_t chunks = 0;
  int expectedFailures = 0;
  for (int step = 0; step < 20000; ++step) {
    if (rng() % 50 == 0) {
      current = start + static_cast<std::uintptr_t>(rng() % (current - start + 1));
      pool.deleteAt(reinterpret_cast<const void*>(current));
    }
    const std::size_t size = drawSize(rng, 64, true);
    const std::size_t rounded = roundedSize(size);
    std::uint64_t blockNumber = kUntouched;
    void* chunk = pool.allocate(size, blockNumber);
    if (rounded <= block->getCapacity()) {
      ASSERT_EQ(addr(chunk), current) << "step " << step << " size " << size;
      ASSERT_EQ(blockNumber, 1u);
      current += rounded;
      ++chunks;
    } else {
      ++expectedFailures;
      ASSERT_EQ(chunk, nullptr) << "step " << step << " size " << size;
      ASSERT_EQ(blockNumber, kUntouched);
      ASSERT_EQ(failures.count, expectedFailures);
      ASSERT_EQ(failures.errorClass, KivEnErrorClass::OUT_OF_MEMORY);
    }
    ASSERT_EQ(addr(block->getCurrent()), current) << "step " << step;
    ASSERT_EQ(block->getChunkCount(), chunks) << "step " << step;
    ASSERT_EQ(pool.getBlockCount(), 1u);
    // Keep well inside the first block.
    if (current - start > (1u << 19)) {
      pool.deleteAll();
      current = start;
      chunks = 0;
    }
  }
  EXPECT_GT(expectedFailures, 100);
}

TEST(KivClMemoryPoolFastPath, EmptyRequestsOnAFullBlockAndOnANullArea) {
  // A full block still hands out empty chunks, at its end, and counts them.
  unsigned char area[24];
  KivClMemoryPool full(area, sizeof area);
  ASSERT_NE(full.allocate(24), nullptr);
  std::uint64_t blockNumber = kUntouched;
  EXPECT_EQ(addr(full.allocate(0, blockNumber)), addr(area) + 24);
  EXPECT_EQ(blockNumber, 1u);
  EXPECT_EQ(full.allocate(1), nullptr);
  EXPECT_EQ(full.getFirstBlock()->getChunkCount(), 2);
  EXPECT_EQ(addr(full.getFirstBlock()->getCurrent()), addr(area) + 24);

  // An area of size 0 at address 0: its end is start - 1, the free size 0.
  KivClMemoryPool none(nullptr, 100);
  ASSERT_NE(none.getFirstBlock(), nullptr);
  blockNumber = kUntouched;
  EXPECT_EQ(none.allocate(0, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 1u);
  EXPECT_EQ(none.getFirstBlock()->getChunkCount(), 1);
  for (std::size_t size : {std::size_t{1}, std::size_t{8}, kMax - 7, kMax}) {
    blockNumber = kUntouched;
    EXPECT_EQ(none.allocate(size, blockNumber), nullptr) << size;
    EXPECT_EQ(blockNumber, kUntouched) << size;
  }
  EXPECT_EQ(none.getFirstBlock()->getChunkCount(), 1);
  EXPECT_EQ(none.getCurrentStateHandle(), nullptr);
}

}  // namespace
