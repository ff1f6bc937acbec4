// The cost of the memory manager's indirection: kivMalloc + kivFree against
// malloc + free on the same sizes.

#include <cstdlib>

#include "kiv_bench_ratio.hpp"
#include "kiv_memmgr.hpp"

namespace {

void BM_kivMallocFree(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    void* p = kivMalloc(size);
    benchmark::DoNotOptimize(p);
    kivFree(p);
  }
}

void BM_mallocFree(benchmark::State& state) {
  const auto size = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    void* p = std::malloc(size);
    benchmark::DoNotOptimize(p);
    std::free(p);
  }
}

// Many live blocks at once, so that the allocator does more than hand the
// same block back and forth.
void BM_kivMallocFreeBatch(benchmark::State& state) {
  void* blocks[256];
  for (auto _ : state) {
    for (std::size_t i = 0; i < 256; ++i) blocks[i] = kivMalloc(16 + i);
    benchmark::DoNotOptimize(blocks);
    for (void* p : blocks) kivFree(p);
  }
}

void BM_mallocFreeBatch(benchmark::State& state) {
  void* blocks[256];
  for (auto _ : state) {
    for (std::size_t i = 0; i < 256; ++i) blocks[i] = std::malloc(16 + i);
    benchmark::DoNotOptimize(blocks);
    for (void* p : blocks) std::free(p);
  }
}

BENCHMARK(BM_kivMallocFree)->Arg(16)->Arg(256)->Arg(4096);
BENCHMARK(BM_mallocFree)->Arg(16)->Arg(256)->Arg(4096);
BENCHMARK(BM_kivMallocFreeBatch);
BENCHMARK(BM_mallocFreeBatch);

}  // namespace

KIV_BENCH_MAIN({{"BM_kivMallocFree/16", "BM_mallocFree/16"},
                {"BM_kivMallocFree/256", "BM_mallocFree/256"},
                {"BM_kivMallocFree/4096", "BM_mallocFree/4096"},
                {"BM_kivMallocFreeBatch", "BM_mallocFreeBatch"}})
