// The memory manager: the default allocator, user allocators that fail on
// demand, every out-of-memory path with its record and throw site, and the
// zeroed allocation; kivFree against the manager's free on random scripts.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "kiv_alloc_support.hpp"
#include "kiv_memmgr.hpp"

// Under AddressSanitizer a failing malloc must return null as it does in a
// plain build, so that the runtime-out-of-memory path can be reached.
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1"; }

namespace {

using kivtest::ScopedUserMemoryManager;

class MemoryManager : public ::testing::Test {
 protected:
  void TearDown() override {
    m_user.reset();
    kivSetNewMemoryManager(&std::malloc, &std::realloc, &std::free);
  }

  // Installs a user manager whose requests fail from number `failAt` on
  // (-1: never), with blocks filled with a pattern so that zeroing by
  // kivCalloc can be seen.
  void useFailingAllocator(long failAt, bool withRealloc = true) {
    m_user.reset();
    m_user.emplace(withRealloc ? ScopedUserMemoryManager::Reallocator::INSTALLED
                               : ScopedUserMemoryManager::Reallocator::NONE);
    m_user->fillNewBlocksWith(0xAA);
    if (failAt >= 0) m_user->failAfter(failAt);
  }
  const ScopedUserMemoryManager& user() const { return *m_user; }

 private:
  std::optional<ScopedUserMemoryManager> m_user;
};

// Runs `f`, expects a KivClExceptionFatal and returns it.
template <typename F>
KivClExceptionFatal expectFatal(F f) {
  try {
    f();
  } catch (const KivClExceptionFatal& e) {
    return e;
  } catch (...) {
    ADD_FAILURE() << "threw something other than KivClExceptionFatal";
    return KivClExceptionFatal();
  }
  ADD_FAILURE() << "did not throw";
  return KivClExceptionFatal();
}

void expectRecord(const KivClException& e, long id, KivEnErrorClass c, KivEnErrorSeverity s,
                  KivEnErrorAction a) {
  EXPECT_EQ(e.getError().id, id);
  EXPECT_EQ(e.getError().errorClass, c);
  EXPECT_EQ(e.getError().severity, s);
  EXPECT_EQ(e.getError().action, a);
  ASSERT_NE(e.getCause(), nullptr);
  EXPECT_STREQ(e.getCause(), "");
}

TEST_F(MemoryManager, StartsWithThePlatformFunctions) {
  EXPECT_EQ(KivClMemoryManager::cv_pfuAllocatorCallback, &std::malloc);
  EXPECT_EQ(KivClMemoryManager::cv_pfuReallocatorCallback, &std::realloc);
  EXPECT_EQ(KivClMemoryManager::cv_pfuDeallocatorCallback, &std::free);
  EXPECT_FALSE(KivClMemoryManager::hasUserDefinedMgr());
}

TEST_F(MemoryManager, DefaultMallocOfZeroReturnsPlatformResultWithoutThrowing) {
  void* p = nullptr;
  EXPECT_NO_THROW(p = kivMalloc(0));
  EXPECT_NE(p, nullptr);
  kivFree(p);
}

TEST_F(MemoryManager, UserAllocatorFailingThrowsUserOutOfMemoryAtLine359) {
  useFailingAllocator(0);
  const KivClExceptionFatal e = expectFatal([] { kivMalloc(64); });
  expectRecord(e, KIV_MEMMGR_USER_OUT_OF_MEMORY, KivEnErrorClass::OUT_OF_MEMORY,
               KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE);
  EXPECT_EQ(e.getLine(), 359u);
  EXPECT_STREQ(e.getModule(), "kiv_include/kiv_memmgr.hpp:359");
  EXPECT_EQ(user().lastSize(), 64u);
}

TEST_F(MemoryManager, PlatformAllocatorFailingThrowsRuntimeOutOfMemory) {
  const KivClExceptionFatal e = expectFatal([] { kivMalloc(SIZE_MAX - 4096); });
  expectRecord(e, KIV_MEMMGR_RUNTIME_OUT_OF_MEMORY, KivEnErrorClass::OUT_OF_MEMORY,
               KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE);
  EXPECT_EQ(e.getLine(), 359u);
}

TEST_F(MemoryManager, ZeroSizeAllocationReturningNullThrowsZeroSizeObject) {
  useFailingAllocator(0);
  const KivClExceptionFatal e = expectFatal([] { kivMalloc(0); });
  expectRecord(e, KIV_MEMMGR_ZERO_SIZE_OBJECT, KivEnErrorClass::INVALID_DATA,
               KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE);
  EXPECT_EQ(e.getLine(), 359u);
}

TEST_F(MemoryManager, FailureIsCaughtAsKivClException) {
  useFailingAllocator(0);
  EXPECT_THROW(kivMalloc(8), KivClException);
  EXPECT_THROW(kivCalloc(2, 8), KivClExceptionABase);
}

TEST_F(MemoryManager, CallocFailingThrowsWithTheProductAsSize) {
  useFailingAllocator(0);
  const KivClExceptionFatal e = expectFatal([] { kivCalloc(3, 5); });
  expectRecord(e, KIV_MEMMGR_USER_OUT_OF_MEMORY, KivEnErrorClass::OUT_OF_MEMORY,
               KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE);
  EXPECT_EQ(e.getLine(), 359u);
  EXPECT_EQ(user().lastSize(), 15u);
}

TEST_F(MemoryManager, CallocReturnsZeroedBytes) {
  useFailingAllocator(-1);
  auto* p = static_cast<unsigned char*>(kivCalloc(3, 5));
  EXPECT_EQ(user().lastSize(), 15u);
  for (int i = 0; i < 15; ++i) EXPECT_EQ(p[i], 0) << i;
  kivFree(p);
  EXPECT_EQ(user().releases(), 1);
}

TEST_F(MemoryManager, CallocProductWrapsWithoutCheck) {
  useFailingAllocator(-1);
  // (2^63 + 1) x 2 wraps to 2 in 64-bit arithmetic and is allocated as such.
  void* p = kivCalloc((std::size_t{1} << 63) + 1, 2);
  EXPECT_EQ(user().lastSize(), 2u);
  kivFree(p);
}

TEST_F(MemoryManager, UserAllocatorWithoutReallocatorMakesReallocThrow) {
  useFailingAllocator(-1, /*withRealloc=*/false);
  EXPECT_EQ(KivClMemoryManager::cv_pfuReallocatorCallback, nullptr);
  void* p = kivMalloc(8);
  const KivClExceptionFatal e = expectFatal([p] { kivRealloc(p, 16); });
  expectRecord(e, KIV_MEMMGR_NO_USER_REALLOC_FUNC, KivEnErrorClass::FUNCTION_NOT_SUPPORTED,
               KivEnErrorSeverity::FATAL, KivEnErrorAction::ABORT);
  EXPECT_EQ(e.getLine(), 267u);
  EXPECT_STREQ(e.getModule(), "foundation/kiv_memmgr.cpp:267");
  kivFree(p);
}

TEST_F(MemoryManager, ReallocatorFailingThrowsAtLine277) {
  useFailingAllocator(1);
  void* p = kivMalloc(8);
  const KivClExceptionFatal e = expectFatal([p] { kivRealloc(p, 32); });
  expectRecord(e, KIV_MEMMGR_USER_OUT_OF_MEMORY, KivEnErrorClass::OUT_OF_MEMORY,
               KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE);
  EXPECT_EQ(e.getLine(), 277u);
  EXPECT_STREQ(e.getModule(), "foundation/kiv_memmgr.cpp:277");
  EXPECT_EQ(user().lastSize(), 32u);
  kivFree(p);
}

TEST_F(MemoryManager, ReallocKeepsContents) {
  auto* p = static_cast<char*>(kivMalloc(4));
  std::memcpy(p, "abc", 4);
  p = static_cast<char*>(kivRealloc(p, 4096));
  EXPECT_STREQ(p, "abc");
  kivFree(p);
}

TEST_F(MemoryManager, ReallocToZeroWithFreeingReallocatorThrowsZeroSizeObject) {
  // A reallocator that, like the platform's, frees the block and returns
  // null for size 0.
  struct FreeingRealloc {
    static void* fn(void* p, std::size_t size) {
      if (size == 0) {
        std::free(p);
        return nullptr;
      }
      return std::realloc(p, size);
    }
  };
  kivSetNewMemoryManager(&std::malloc, &FreeingRealloc::fn, &std::free);
  void* p = kivMalloc(16);
  const KivClExceptionFatal e = expectFatal([p] { kivRealloc(p, 0); });
  expectRecord(e, KIV_MEMMGR_ZERO_SIZE_OBJECT, KivEnErrorClass::INVALID_DATA,
               KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE);
  EXPECT_EQ(e.getLine(), 277u);
}

TEST_F(MemoryManager, SetWithMallocAndNullReallocRestoresRealloc) {
  useFailingAllocator(-1);
  EXPECT_TRUE(KivClMemoryManager::hasUserDefinedMgr());
  kivSetNewMemoryManager(&std::malloc, nullptr, &std::free);
  EXPECT_EQ(KivClMemoryManager::cv_pfuReallocatorCallback, &std::realloc);
  EXPECT_FALSE(KivClMemoryManager::hasUserDefinedMgr());
}

TEST_F(MemoryManager, OnlyTheAllocatorDecidesWhetherTheManagerIsUserDefined) {
  kivSetNewMemoryManager(&std::malloc, &ScopedUserMemoryManager::reallocate,
                         &ScopedUserMemoryManager::release);
  EXPECT_FALSE(KivClMemoryManager::hasUserDefinedMgr());
  EXPECT_EQ(KivClMemoryManager::cv_pfuReallocatorCallback, &ScopedUserMemoryManager::reallocate);
  kivSetNewMemoryManager(&ScopedUserMemoryManager::allocate, &std::realloc, &std::free);
  EXPECT_TRUE(KivClMemoryManager::hasUserDefinedMgr());
}

TEST_F(MemoryManager, UserAllocatorIsCalledAndFreeGoesToItsDeallocator) {
  useFailingAllocator(-1);
  void* p = kivMalloc(10);
  EXPECT_EQ(user().requests(), 1);
  kivFree(p);
  EXPECT_EQ(user().releases(), 1);
  KivClMemoryManager::free(kivMalloc(3));
  EXPECT_EQ(user().releases(), 2);
}

TEST_F(MemoryManager, FreeOfNullDoesNothing) {
  useFailingAllocator(-1);
  kivFree(nullptr);
  KivClMemoryManager::free(nullptr);
  EXPECT_EQ(user().releases(), 0);
}

TEST_F(MemoryManager, NullAllocatorMakesAllocationThrowInsteadOfCallingIt) {
  kivSetNewMemoryManager(nullptr, nullptr, &std::free);
  EXPECT_TRUE(KivClMemoryManager::hasUserDefinedMgr());
  const KivClExceptionFatal e = expectFatal([] { kivMalloc(8); });
  expectRecord(e, KIV_MEMMGR_USER_OUT_OF_MEMORY, KivEnErrorClass::OUT_OF_MEMORY,
               KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE);
  EXPECT_EQ(e.getLine(), 359u);
  const KivClExceptionFatal z = expectFatal([] { kivCalloc(0, 4); });
  EXPECT_EQ(z.getError().id, KIV_MEMMGR_ZERO_SIZE_OBJECT);
}

TEST_F(MemoryManager, NullDeallocatorIsNotCalled) {
  void* p = kivMalloc(8);
  kivSetNewMemoryManager(&std::malloc, &std::realloc, nullptr);
  kivFree(p);  // releases nothing
  kivSetNewMemoryManager(&std::malloc, &std::realloc, &std::free);
  kivFree(p);
}

// Deallocators that record what they are given, for the comparison below.
struct Release {
  int deallocator;
  void* ptr;
  bool operator==(const Release& other) const {
    return deallocator == other.deallocator && ptr == other.ptr;
  }
};
std::vector<Release>& releases() {
  static std::vector<Release> s_releases;
  return s_releases;
}
void recordingReleaseA(void* p) { releases().push_back({1, p}); }
void recordingReleaseB(void* p) { releases().push_back({2, p}); }
// What the scripts free: addresses only, never released for real.
char gs_blocks[64];

// Runs one random script of frees and deallocator changes through `release`
// and returns every call that reached a deallocator.
template <typename Free>
std::vector<Release> runFreeScript(unsigned seed, Free release) {
  releases().clear();
  std::mt19937 random(seed);
  const KivPfuDeallocator deallocators[] = {&recordingReleaseA, &recordingReleaseB, nullptr};
  kivSetNewMemoryManager(&std::malloc, &std::realloc, &recordingReleaseA);
  for (int i = 0; i < 5000; ++i) {
    if (random() % 8 == 0) {
      kivSetNewMemoryManager(&std::malloc, &std::realloc, deallocators[random() % 3]);
    }
    release(random() % 5 == 0 ? nullptr : &gs_blocks[random() % sizeof gs_blocks]);
  }
  kivSetNewMemoryManager(&std::malloc, &std::realloc, &std::free);
  return releases();
}

TEST_F(MemoryManager, KivFreeDoesWhatTheManagersFreeDoes) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    const std::vector<Release> viaManager =
        runFreeScript(seed, [](void* p) { KivClMemoryManager::free(p); });
    const std::vector<Release> viaKivFree = runFreeScript(seed, [](void* p) { kivFree(p); });
    ASSERT_EQ(viaKivFree.size(), viaManager.size()) << "seed " << seed;
    for (std::size_t i = 0; i < viaManager.size(); ++i)
      ASSERT_TRUE(viaKivFree[i] == viaManager[i]) << "seed " << seed << ", call " << i;
    // Both deallocators were reached, and many frees went nowhere (null
    // pointer or null deallocator), so the comparison covers every branch.
    int toA = 0;
    int toB = 0;
    for (const Release& r : viaManager) {
      EXPECT_NE(r.ptr, nullptr);
      (r.deallocator == 1 ? toA : toB) += 1;
    }
    EXPECT_GT(toA, 500);
    EXPECT_GT(toB, 500);
    EXPECT_LT(viaManager.size(), 4000u);
  }
}

TEST_F(MemoryManager, OutOfMemoryUsesTheGivenLocationAndLine) {
  const KivClExceptionFatal e =
      expectFatal([] { KivClMemoryManager::outOfMemory("somewhere.cpp:42", 42, 100); });
  expectRecord(e, KIV_MEMMGR_RUNTIME_OUT_OF_MEMORY, KivEnErrorClass::OUT_OF_MEMORY,
               KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE);
  EXPECT_STREQ(e.getModule(), "somewhere.cpp:42");
  EXPECT_EQ(e.getLine(), 42u);
}

}  // namespace
