// The memory pool on its typical job: 1,000 allocations of 16 to 256 bytes,
// then one rewind that releases them all. Beside it: malloc/free (one free
// per chunk), std::pmr::monotonic_buffer_resource (release() as the rewind)
// and a bare bump pointer over a fixed buffer, the floor for any pool.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory_resource>
#include <random>
#include <vector>

#include "kiv_bench_ratio.hpp"
#include "kiv_mempool.hpp"

namespace {

constexpr std::size_t kAllocations = 1000;
constexpr std::size_t kArena = 256 * 1024;  // room for 1,000 x 256 bytes

// The same 1,000 sizes for every contender.
const std::vector<std::size_t>& sizes() {
  static const std::vector<std::size_t> s = [] {
    std::mt19937 rng(20240611u);
    std::uniform_int_distribution<std::size_t> dist(16, 256);
    std::vector<std::size_t> v(kAllocations);
    for (std::size_t& size : v) size = dist(rng);
    return v;
  }();
  return s;
}

// The floor: a pointer moved over one buffer, sizes rounded to 8 like the
// pool's, and a bounds check.
class BumpPointer {
 public:
  explicit BumpPointer(std::size_t size)
      : m_buffer(static_cast<char*>(std::malloc(size))),
        m_current(m_buffer),
        m_end(m_buffer + size) {}
  ~BumpPointer() { std::free(m_buffer); }
  BumpPointer(const BumpPointer&) = delete;
  BumpPointer& operator=(const BumpPointer&) = delete;

  void* allocate(std::size_t size) {
    size = (size + 7) & ~static_cast<std::size_t>(7);
    if (size > static_cast<std::size_t>(m_end - m_current)) return nullptr;
    char* p = m_current;
    m_current += size;
    return p;
  }
  char* mark() const { return m_current; }
  void rewind(char* mark) { m_current = mark; }

 private:
  char* m_buffer;
  char* m_current;
  char* m_end;
};

// The floor as an allocator object: its state lives in memory, as it does
// for any allocator that is passed around or kept in another object, so the
// compiler reloads and stores it around every allocation just as it does
// for the pool.
void BM_bumpPointer(benchmark::State& state) {
  const std::vector<std::size_t>& s = sizes();
  BumpPointer bump(kArena);
  BumpPointer* escaped = &bump;
  benchmark::DoNotOptimize(escaped);
  for (auto _ : state) {
    char* mark = escaped->mark();
    for (std::size_t size : s) benchmark::DoNotOptimize(escaped->allocate(size));
    escaped->rewind(mark);
    benchmark::ClobberMemory();
  }
}

// The same bump pointer when the compiler may keep it in registers for the
// whole loop (it never escapes): a lower bound that no allocator object
// reached through memory can meet. For information.
void BM_bumpPointerInRegisters(benchmark::State& state) {
  const std::vector<std::size_t>& s = sizes();
  BumpPointer bump(kArena);
  for (auto _ : state) {
    char* mark = bump.mark();
    for (std::size_t size : s) benchmark::DoNotOptimize(bump.allocate(size));
    bump.rewind(mark);
    benchmark::ClobberMemory();
  }
}

// One first block that holds the whole series.
void BM_kivMemoryPool(benchmark::State& state) {
  const std::vector<std::size_t>& s = sizes();
  KivClMemoryPool pool(kArena, 64 * 1024, 4096);
  for (auto _ : state) {
    void* handle = pool.getCurrentStateHandle();
    for (std::size_t size : s) benchmark::DoNotOptimize(pool.allocate(size));
    pool.deleteAt(handle);
    benchmark::ClobberMemory();
  }
}

// Small blocks: the series spans about ten chained blocks, which the rewind
// keeps for the next round.
void BM_kivMemoryPoolChained(benchmark::State& state) {
  const std::vector<std::size_t>& s = sizes();
  KivClMemoryPool pool(16 * 1024, 16 * 1024, 512);
  for (auto _ : state) {
    void* handle = pool.getCurrentStateHandle();
    for (std::size_t size : s) benchmark::DoNotOptimize(pool.allocate(size));
    pool.deleteAt(handle);
    benchmark::ClobberMemory();
  }
}

// A pool over caller memory.
void BM_kivMemoryPoolCallerMemory(benchmark::State& state) {
  const std::vector<std::size_t>& s = sizes();
  std::vector<unsigned char> area(kArena);
  KivClMemoryPool pool(area.data(), area.size());
  for (auto _ : state) {
    void* handle = pool.getCurrentStateHandle();
    for (std::size_t size : s) benchmark::DoNotOptimize(pool.allocate(size));
    pool.deleteAt(handle);
    benchmark::ClobberMemory();
  }
}

void BM_pmrMonotonic(benchmark::State& state) {
  const std::vector<std::size_t>& s = sizes();
  std::vector<unsigned char> area(kArena);
  std::pmr::monotonic_buffer_resource resource(area.data(), area.size());
  for (auto _ : state) {
    for (std::size_t size : s) benchmark::DoNotOptimize(resource.allocate(size, 8));
    resource.release();
    benchmark::ClobberMemory();
  }
}

void BM_mallocFree(benchmark::State& state) {
  const std::vector<std::size_t>& s = sizes();
  std::vector<void*> chunks(kAllocations);
  for (auto _ : state) {
    for (std::size_t i = 0; i < kAllocations; ++i) chunks[i] = std::malloc(s[i]);
    benchmark::DoNotOptimize(chunks.data());
    for (void* p : chunks) std::free(p);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(BM_kivMemoryPool);
BENCHMARK(BM_kivMemoryPoolChained);
BENCHMARK(BM_kivMemoryPoolCallerMemory);
BENCHMARK(BM_bumpPointer);
BENCHMARK(BM_bumpPointerInRegisters);
BENCHMARK(BM_pmrMonotonic);
BENCHMARK(BM_mallocFree);

}  // namespace

KIV_BENCH_MAIN({{"BM_kivMemoryPool", "BM_bumpPointer"},
                {"BM_kivMemoryPool", "BM_bumpPointerInRegisters"},
                {"BM_kivMemoryPool", "BM_pmrMonotonic"},
                {"BM_kivMemoryPool", "BM_mallocFree"},
                {"BM_kivMemoryPoolChained", "BM_bumpPointer"},
                {"BM_kivMemoryPoolChained", "BM_pmrMonotonic"},
                {"BM_kivMemoryPoolCallerMemory", "BM_bumpPointer"},
                {"BM_kivMemoryPoolCallerMemory", "BM_pmrMonotonic"}})
