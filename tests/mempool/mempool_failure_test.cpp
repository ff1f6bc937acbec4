// The memory pool when memory runs out: growth failure reported to an error
// handler or thrown as a KivClException, and construction failure
// swallowed. The failures come from a user allocator that fails on demand.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <typeinfo>
#include <vector>

#include "kiv_exception.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_mempool.hpp"
#include "kiv_test_support.hpp"
#include "mempool_test_support.hpp"

namespace {

using mempooltest::chainOf;
using mempooltest::currentIndexOf;
using mempooltest::UserAllocatorGuard;

struct HandlerLog {
  std::vector<_KivStError> errors;
  std::vector<void*> userPointers;
};

void logHandler(const _KivStError& error, void* userPointer) {
  HandlerLog* log = static_cast<HandlerLog*>(userPointer);
  log->errors.push_back(error);
  log->userPointers.push_back(userPointer);
}

const _KivStError gs_couldNotGrow{KIV_MEMORYPOOL_COULD_NOT_GROW, KivEnErrorClass::OUT_OF_MEMORY};

// Fills a (4096, 4096, 256) pool's first block so that the next request must grow.
void fillFirstBlock(KivClMemoryPool& pool) { ASSERT_NE(pool.allocate(4048), nullptr); }

TEST(KivClMemoryPoolFailure, GrowthFailureCallsTheHandlerAndReturnsNull) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  HandlerLog log;
  pool.setErrorHandler(&logHandler, &log);
  fillFirstBlock(pool);
  allocator.failAfter(0);

  std::uint64_t blockNumber = 99;
  EXPECT_EQ(pool.allocate(16, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 99u);
  ASSERT_EQ(log.errors.size(), 1u);
  EXPECT_EQ(log.errors[0], gs_couldNotGrow) << kivtest::describe(log.errors[0]);
  EXPECT_EQ(log.userPointers[0], &log);
  EXPECT_EQ(allocator.lastSize(), 4096u);
  // Nothing changed.
  EXPECT_EQ(pool.getBlockCount(), 1u);
  EXPECT_EQ(pool.getSizeInKiB(), 4u);
  EXPECT_EQ(currentIndexOf(pool), 0);

  // Once memory is back the same request grows the pool.
  allocator.neverFail();
  ASSERT_NE(pool.allocate(16, blockNumber), nullptr);
  EXPECT_EQ(blockNumber, 2u);
  EXPECT_EQ(pool.getBlockCount(), 2u);
  EXPECT_EQ(log.errors.size(), 1u);
}

TEST(KivClMemoryPoolFailure, GrowthFailureForAnOversizedRequestCallsTheHandler) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  HandlerLog log;
  pool.setErrorHandler(&logHandler, &log);
  allocator.failAfter(0);
  EXPECT_EQ(pool.allocate(10000), nullptr);
  EXPECT_EQ(allocator.lastSize(), 12288u);
  ASSERT_EQ(log.errors.size(), 1u);
  EXPECT_EQ(log.errors[0], gs_couldNotGrow);
  // The first block was not full: it still serves small requests.
  EXPECT_NE(pool.allocate(16), nullptr);
}

TEST(KivClMemoryPoolFailure, GrowthFailureWithoutHandlerThrowsPlainKivClException) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  fillFirstBlock(pool);
  allocator.failAfter(0);

  bool caught = false;
  try {
    pool.allocate(16);
  } catch (const KivClException& e) {
    caught = true;
    EXPECT_TRUE(typeid(e) == typeid(KivClException));  // not the fatal kind
    const _KivStUserError expected{KIV_MEMORYPOOL_COULD_NOT_GROW, KivEnErrorClass::OUT_OF_MEMORY,
                                   KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE};
    EXPECT_EQ(e.getError(), expected);
    EXPECT_STREQ(e.getModule(), "mempool/kiv_mempool.cpp:296");
    EXPECT_EQ(e.getLine(), 296u);
    ASSERT_NE(e.getCause(), nullptr);
    EXPECT_STREQ(e.getCause(), "");
  }
  EXPECT_TRUE(caught);
  EXPECT_EQ(pool.getBlockCount(), 1u);
  EXPECT_EQ(pool.getSizeInKiB(), 4u);

  allocator.neverFail();
  EXPECT_NE(pool.allocate(16), nullptr);
}

TEST(KivClMemoryPoolFailure, GrowthFailureIsNotCaughtAsFatal) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  fillFirstBlock(pool);
  allocator.failAfter(0);
  bool fatal = false;
  bool plain = false;
  try {
    try {
      pool.allocate(16);
    } catch (const KivClExceptionFatal&) {
      fatal = true;
    }
  } catch (const KivClException&) {
    plain = true;
  }
  EXPECT_FALSE(fatal);
  EXPECT_TRUE(plain);
}

TEST(KivClMemoryPoolFailure, RemovingTheHandlerBringsBackTheException) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  HandlerLog log;
  pool.setErrorHandler(&logHandler, &log);
  fillFirstBlock(pool);
  allocator.failAfter(0);
  EXPECT_EQ(pool.allocate(16), nullptr);
  pool.setErrorHandler(nullptr, nullptr);
  EXPECT_THROW(pool.allocate(16), KivClException);
  EXPECT_EQ(log.errors.size(), 1u);
}

TEST(KivClMemoryPoolFailure, HandlerMayThrowAndThePoolStaysIntact) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  pool.setErrorHandler([](const _KivStError&, void*) { throw 42; }, nullptr);
  fillFirstBlock(pool);
  allocator.failAfter(0);
  EXPECT_THROW(pool.allocate(16), int);
  EXPECT_EQ(pool.getBlockCount(), 1u);
  allocator.neverFail();
  EXPECT_NE(pool.allocate(16), nullptr);
}

TEST(KivClMemoryPoolFailure, FailedGrowthStillSwitchesPastAnEarlierNearlyFullBlock) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  HandlerLog log;
  pool.setErrorHandler(&logHandler, &log);
  ASSERT_NE(pool.allocate(3000), nullptr);  // block 1: 1048 left
  ASSERT_NE(pool.allocate(2000), nullptr);  // block 2: 2048 left, block 1 stays current
  ASSERT_NE(pool.allocate(900), nullptr);   // block 1: 148 left
  ASSERT_EQ(currentIndexOf(pool), 0);
  allocator.failAfter(0);
  // Block 1 is passed over below the threshold, block 2 is too small and
  // growth fails: block 2 still becomes the current block.
  EXPECT_EQ(pool.allocate(3000), nullptr);
  EXPECT_EQ(log.errors.size(), 1u);
  EXPECT_EQ(currentIndexOf(pool), 1);
  EXPECT_EQ(pool.getBlockCount(), 2u);
}

TEST(KivClMemoryPoolFailure, ThrownGrowthFailureLeavesTheCurrentBlock) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  ASSERT_NE(pool.allocate(3000), nullptr);
  ASSERT_NE(pool.allocate(2000), nullptr);
  ASSERT_NE(pool.allocate(900), nullptr);
  allocator.failAfter(0);
  EXPECT_THROW(pool.allocate(3000), KivClException);
  EXPECT_EQ(currentIndexOf(pool), 0);
}

TEST(KivClMemoryPoolFailure, UnrepresentableRequestIsAGrowthFailureWithoutAnAllocation) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  HandlerLog log;
  pool.setErrorHandler(&logHandler, &log);
  const long allocations = allocator.allocations();
  const std::size_t max = std::numeric_limits<std::size_t>::max();
  EXPECT_EQ(pool.allocate(max), nullptr);
  EXPECT_EQ(pool.allocate(max - 4096), nullptr);
  ASSERT_EQ(log.errors.size(), 2u);
  EXPECT_EQ(log.errors[0], gs_couldNotGrow);
  EXPECT_EQ(allocator.allocations(), allocations);
  EXPECT_EQ(pool.getBlockCount(), 1u);

  pool.setErrorHandler(nullptr, nullptr);
  try {
    pool.allocate(max);
    ADD_FAILURE() << "no exception";
  } catch (const KivClException& e) {
    EXPECT_EQ(e.getError().id, KIV_MEMORYPOOL_COULD_NOT_GROW);
    EXPECT_EQ(e.getError().errorClass, KivEnErrorClass::OUT_OF_MEMORY);
    EXPECT_EQ(e.getError().severity, KivEnErrorSeverity::FATAL);
    EXPECT_EQ(e.getError().action, KivEnErrorAction::TERMINATE);
    EXPECT_EQ(e.getLine(), 296u);
  }
}

TEST(KivClMemoryPoolFailure, FailureAfterSomeGrowthKeepsTheBlocksAlreadyAdded) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  HandlerLog log;
  pool.setErrorHandler(&logHandler, &log);
  allocator.failAfter(2);
  int served = 0;
  for (int i = 0; i < 10; ++i) {
    if (pool.allocate(4000) != nullptr) ++served;
  }
  EXPECT_EQ(served, 3);
  EXPECT_EQ(log.errors.size(), 7u);
  EXPECT_EQ(pool.getBlockCount(), 3u);
  EXPECT_EQ(pool.getSizeInKiB(), 12u);
}

TEST(KivClMemoryPoolFailure, ConstructionFailureIsSwallowedAndEverythingAnswersZero) {
  UserAllocatorGuard allocator;
  allocator.failAfter(0);
  KivClMemoryPool* pool = nullptr;
  ASSERT_NO_THROW(pool = new KivClMemoryPool(8192, 4096, 256));
  allocator.neverFail();
  EXPECT_EQ(pool->getFirstBlock(), nullptr);
  EXPECT_EQ(pool->getCurrentBlock(), nullptr);
  EXPECT_EQ(pool->getBlockCount(), 0u);
  EXPECT_EQ(pool->getSizeInKiB(), 0u);
  EXPECT_EQ(pool->getCapacityForFirstBlock(), 0u);
  EXPECT_EQ(pool->getCurrentFreeSize(), 0u);
  EXPECT_EQ(pool->getLargestPossibleChunk(), 0u);
  EXPECT_EQ(pool->getCurrentStateHandle(), nullptr);
  // The sizes of further blocks are still those asked for.
  EXPECT_EQ(pool->getCapacityForSubsequentBlocks(), 4048u);

  HandlerLog log;
  pool->setErrorHandler(&logHandler, &log);
  EXPECT_EQ(pool->allocate(16), nullptr);
  pool->setErrorHandler(nullptr, nullptr);
  EXPECT_NO_THROW(EXPECT_EQ(pool->allocate(16), nullptr));
  EXPECT_TRUE(log.errors.empty());
  pool->deleteAt(nullptr);
  pool->deleteAll();
  pool->reset(pool->getFirstBlock());
  EXPECT_EQ(pool->getBlockCount(), 0u);
  delete pool;
  EXPECT_EQ(allocator.releases(), 0u);
}

TEST(KivClMemoryPoolFailure, CallerMemoryHeaderFailureIsSwallowedWithBlockCountZero) {
  UserAllocatorGuard allocator;
  alignas(16) unsigned char area[4096];
  allocator.failAfter(0);
  KivClMemoryPool* pool = nullptr;
  ASSERT_NO_THROW(pool = new KivClMemoryPool(area, sizeof area));
  allocator.neverFail();
  EXPECT_TRUE(pool->isOverCallerMemory());
  EXPECT_EQ(pool->getFirstBlock(), nullptr);
  EXPECT_EQ(pool->getBlockCount(), 0u);
  EXPECT_EQ(pool->getSizeInKiB(), 0u);
  EXPECT_EQ(pool->getCapacityForFirstBlock(), 0u);
  EXPECT_EQ(pool->getCapacityForSubsequentBlocks(), 0u);
  EXPECT_EQ(pool->getLargestPossibleChunk(), 0u);
  EXPECT_EQ(pool->getCurrentFreeSize(), 0u);
  EXPECT_EQ(pool->allocate(16), nullptr);
  delete pool;

  // The same area serves a pool whose header could be allocated.
  KivClMemoryPool again(area, sizeof area);
  EXPECT_EQ(again.allocate(16), area);
}

TEST(KivClMemoryPoolFailure, HandlerIsNotCalledWhileGrowthSucceeds) {
  UserAllocatorGuard allocator;
  KivClMemoryPool pool(4096, 4096, 256);
  HandlerLog log;
  pool.setErrorHandler(&logHandler, &log);
  for (int i = 0; i < 100; ++i) ASSERT_NE(pool.allocate(1000), nullptr);
  EXPECT_TRUE(log.errors.empty());
  EXPECT_GT(pool.getBlockCount(), 20u);
}

}  // namespace
