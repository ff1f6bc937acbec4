// The memory pool when memory runs out: the first block and every block of
// growth are refused in turn. A refused first block leaves a pool without
// blocks; a refused growth reaches the error handler, or without one throws
// the pool's own exception. The chunks handed out before stay intact, every
// block goes back, and the same pool then grows as if nothing had happened.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#include "kiv_allocfail_support.hpp"
#include "kiv_exception.hpp"
#include "kiv_mempool.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::AllocationFailureRun;
using Outcome = AllocationFailureRun::Outcome;

// Chunks of 1000 bytes: four fit in a 4096-byte block after its header, so
// ten need three blocks; the eleventh, of 10000 bytes, gets a block of its
// own.
constexpr std::size_t kChunkSize = 1000;
constexpr int kChunks = 10;
constexpr std::size_t kLargeSize = 10000;

struct Chunks {
  std::vector<unsigned char*> chunks;

  // Takes the chunks not taken yet, each filled with its own number; stops
  // at the first null.
  void takeRest(KivClMemoryPool& pool) {
    while (chunks.size() <= kChunks) {
      const std::size_t size = chunks.size() < kChunks ? kChunkSize : kLargeSize;
      auto* chunk = static_cast<unsigned char*>(pool.allocate(size));
      if (chunk == nullptr) return;
      std::memset(chunk, static_cast<int>(chunks.size()), size);
      chunks.push_back(chunk);
    }
  }
  bool complete() const { return chunks.size() == kChunks + 1; }
  // Every chunk still holds its number.
  bool intact() const {
    for (std::size_t i = 0; i < chunks.size(); ++i) {
      const std::size_t size = i < kChunks ? kChunkSize : kLargeSize;
      for (std::size_t j = 0; j < size; ++j) {
        if (chunks[i][j] != static_cast<unsigned char>(i)) return false;
      }
    }
    return true;
  }
};

void expectGrown(const KivClMemoryPool& pool, const Chunks& taken) {
  EXPECT_TRUE(taken.complete());
  EXPECT_TRUE(taken.intact());
  EXPECT_EQ(pool.getBlockCount(), 4u);
  EXPECT_EQ(pool.getSizeInKiB(), 4u + 4u + 4u + 12u);
}

struct HandlerLog {
  std::vector<_KivStError> errors;
  static void handler(const _KivStError& error, void* log) {
    static_cast<HandlerLog*>(log)->errors.push_back(error);
  }
};

TEST(MemoryPoolAllocationFailure, RefusedFirstBlockLeavesAPoolWithoutBlocks) {
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    std::optional<KivClMemoryPool> pool;
    const Outcome outcome = run.injectAbsorbing([&] { pool.emplace(4096, 4096, 256); });
    ASSERT_TRUE(pool.has_value());
    if (outcome == Outcome::ABSORBED) {
      EXPECT_EQ(pool->getBlockCount(), 0u);
      EXPECT_EQ(pool->getSizeInKiB(), 0u);
      EXPECT_EQ(pool->getCurrentFreeSize(), 0u);
      EXPECT_EQ(pool->allocate(16), nullptr);
      return;
    }
    EXPECT_EQ(outcome, Outcome::COMPLETED);
    Chunks taken;
    taken.takeRest(*pool);
    expectGrown(*pool, taken);
  });
  EXPECT_EQ(runs, 2);
}

TEST(MemoryPoolAllocationFailure, RefusedGrowthReachesTheHandlerAndTheSamePoolGrowsLater) {
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    KivClMemoryPool pool(4096, 4096, 256);
    HandlerLog log;
    pool.setErrorHandler(&HandlerLog::handler, &log);
    Chunks taken;
    const Outcome outcome = run.injectAbsorbing([&] { taken.takeRest(pool); });
    if (outcome == Outcome::ABSORBED) {
      ASSERT_EQ(log.errors.size(), 1u);
      EXPECT_EQ(log.errors[0].id, KIV_MEMORYPOOL_COULD_NOT_GROW);
      EXPECT_EQ(log.errors[0].errorClass, KivEnErrorClass::OUT_OF_MEMORY);
      EXPECT_FALSE(taken.complete());
      EXPECT_TRUE(taken.intact());
      taken.takeRest(pool);
    } else {
      EXPECT_EQ(outcome, Outcome::COMPLETED);
    }
    EXPECT_EQ(log.errors.size(), outcome == Outcome::ABSORBED ? 1u : 0u);
    expectGrown(pool, taken);
  });
  EXPECT_EQ(runs, 4);  // two regular blocks, the large one, then none
}

TEST(MemoryPoolAllocationFailure, RefusedGrowthWithoutHandlerThrowsThePoolsException) {
  const _KivStUserError couldNotGrow{KIV_MEMORYPOOL_COULD_NOT_GROW, KivEnErrorClass::OUT_OF_MEMORY,
                                     KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE};
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    KivClMemoryPool pool(4096, 4096, 256);
    Chunks taken;
    if (!run.inject<KivClException>([&] { taken.takeRest(pool); }, couldNotGrow)) {
      EXPECT_FALSE(taken.complete());
      EXPECT_TRUE(taken.intact());
      taken.takeRest(pool);
    }
    expectGrown(pool, taken);
  });
  EXPECT_EQ(runs, 4);
}

}  // namespace
