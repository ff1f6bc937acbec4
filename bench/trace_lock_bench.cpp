// The lock behind the trace buffer access guard: the library's futex-based
// mutex beside a spinning lock (test-and-test-and-set, pausing, yielding
// after a while) and std::mutex, with one thread (no contention) and with
// four threads writing 64-byte pieces into one shared ring under the lock,
// as tracing threads do. The "/1" runs also append 4 KB to a file (open,
// write, close) under the lock every 64th piece, as the autosave handler
// does when the ring turns over. Prints the ratios futex / peer (below 1: the
// futex lock is cheaper).
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "kiv_bench_ratio.hpp"
#include "kiv_tracebuffer.hpp"

namespace {

/// The alternative: a spinning lock with the same owner bookkeeping as the
/// library's, so that the two differ only in how they wait.
class SpinLock {
 public:
  void lock() noexcept {
    const unsigned long self = static_cast<unsigned long>(pthread_self());
    if (m_owner.load(std::memory_order_relaxed) == self) {
      ++m_depth;
      return;
    }
    for (;;) {
      if (!m_held.exchange(true, std::memory_order_acquire)) break;
      int spins = 0;
      while (m_held.load(std::memory_order_relaxed)) {
        if (++spins < 100) {
          __builtin_ia32_pause();
        } else {
          sched_yield();
          spins = 0;
        }
      }
    }
    m_owner.store(self, std::memory_order_relaxed);
  }
  void unlock() noexcept {
    if (m_depth != 0) {
      --m_depth;
      return;
    }
    m_owner.store(0, std::memory_order_relaxed);
    m_held.store(false, std::memory_order_release);
  }

 private:
  std::atomic<bool> m_held{false};
  std::atomic<unsigned long> m_owner{0};
  std::uint32_t m_depth = 0;
};

/// A small ring the threads write into while holding the lock.
struct Ring {
  char bytes[4096];
  std::size_t at = 0;
  void put(const char* piece, std::size_t length) {
    if (at + length > sizeof bytes) at = 0;
    std::memcpy(bytes + at, piece, length);
    at += length;
  }
};

template <class Lock>
struct Shared {
  Lock lock;
  Ring ring;
  unsigned long count = 0;
};

/// The file the hand-overs append to, as the autosave handler does: opened,
/// written and closed each time. Truncated now and then to stay small.
std::string saveFileName() {
  const char* dir = getenv("TMPDIR");
  return std::string(dir != nullptr && *dir != '\0' ? dir : "/tmp") + "/trace_lock_bench." +
         std::to_string(getpid());
}

void handOver(const std::string& name, const char* bytes, std::size_t length, unsigned long turn) {
  const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (turn % 256 == 0 ? O_TRUNC : O_APPEND);
  const int fd = open(name.c_str(), flags, 0600);
  if (fd < 0) return;
  benchmark::DoNotOptimize(write(fd, bytes, length));
  close(fd);
}

template <class Lock>
Shared<Lock>& shared() {
  static Shared<Lock> instance;
  return instance;
}

template <class Lock>
void lockedWrites(benchmark::State& state) {
  Shared<Lock>& s = shared<Lock>();
  const bool save = state.range(0) != 0;
  static const std::string name = saveFileName();
  char piece[64];
  std::memset(piece, static_cast<int>('a' + state.thread_index()), sizeof piece);
  for (auto _ : state) {
    s.lock.lock();
    s.ring.put(piece, sizeof piece);
    if (save && ++s.count % 64 == 0)
      handOver(name, s.ring.bytes, sizeof s.ring.bytes, s.count / 64);
    s.lock.unlock();
  }
  benchmark::DoNotOptimize(s.ring.at);
}

void BM_FutexLock(benchmark::State& state) { lockedWrites<kiv::detail::TraceBufferLock>(state); }
void BM_SpinLock(benchmark::State& state) { lockedWrites<SpinLock>(state); }
void BM_StdMutex(benchmark::State& state) { lockedWrites<std::mutex>(state); }

BENCHMARK(BM_FutexLock)->Arg(0)->Arg(1)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(BM_SpinLock)->Arg(0)->Arg(1)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(BM_StdMutex)->Arg(0)->Arg(1)->Threads(1)->Threads(4)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const char* peer : {"BM_SpinLock", "BM_StdMutex"}) {
    for (const char* run : {"/0/real_time/threads:1", "/0/real_time/threads:4",
                            "/1/real_time/threads:1", "/1/real_time/threads:4"}) {
      pairs.emplace_back(std::string("BM_FutexLock") + run, std::string(peer) + run);
    }
  }
  const int result = kivbench::runWithRatios(argc, argv, pairs);
  unlink(saveFileName().c_str());
  return result;
}
