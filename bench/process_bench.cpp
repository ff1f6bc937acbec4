// Launch latency: a synchronous launch of /bin/true through
// KivClNewSyncProcess beside posix_spawn + waitpid (the peer a caller would
// pick) and beside a bare fork + execve + waitpid (what the launcher's steps
// cost without the library around them).
//
// Each is measured from a small parent (argument 0) and from a parent that
// has touched 1 GiB of memory in 4 KiB pages (argument 1): fork copies the
// page tables of the whole parent, posix_spawn does not. The 1 GiB cases run
// a fixed, small number of iterations so that the program stays quick.
// Times are wall-clock times, since the child's work is part of the launch.

#include <spawn.h>
#include <sys/mman.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "kiv_bench_ratio.hpp"
#include "kiv_exefile.hpp"
#include "kiv_process.hpp"

extern "C" char** environ;

namespace {

constexpr const char* kProgram = "/bin/true";
constexpr std::size_t kLargeParentBytes = std::size_t{1} << 30;
constexpr int kLargeParentIterations = 30;

// The memory that makes the parent large; mapped and touched on first use,
// kept for the remaining (large) cases.
void* gs_pLargeParentMemory = nullptr;

bool makeParentLarge(benchmark::State& state) {
  if (state.range(0) == 0 || gs_pLargeParentMemory != nullptr) return true;
  void* memory = ::mmap(nullptr, kLargeParentBytes, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) {
    state.SkipWithError("cannot map 1 GiB");
    return false;
  }
  // Small pages, as most heaps have them: one page-table entry per 4 KiB.
  ::madvise(memory, kLargeParentBytes, MADV_NOHUGEPAGE);
  std::memset(memory, 1, kLargeParentBytes);
  gs_pLargeParentMemory = memory;
  return true;
}

void BM_kivSyncLaunch(benchmark::State& state) {
  if (!makeParentLarge(state)) return;
  const KivClExeFile exe(kProgram);
  for (auto _ : state) {
    KivClNewSyncProcess run(exe);
    if (!run.launch() || run.getExitCode() != 0) {
      state.SkipWithError("launch failed");
      break;
    }
  }
}

void BM_posixSpawn(benchmark::State& state) {
  if (!makeParentLarge(state)) return;
  char* argv[] = {const_cast<char*>(kProgram), nullptr};
  for (auto _ : state) {
    pid_t pid = 0;
    int status = 0;
    if (::posix_spawn(&pid, kProgram, nullptr, nullptr, argv, environ) != 0 ||
        ::waitpid(pid, &status, 0) != pid || status != 0) {
      state.SkipWithError("posix_spawn failed");
      break;
    }
  }
}

void BM_forkExec(benchmark::State& state) {
  if (!makeParentLarge(state)) return;
  char* argv[] = {const_cast<char*>(kProgram), nullptr};
  for (auto _ : state) {
    const pid_t pid = ::fork();
    if (pid == 0) {
      ::execve(kProgram, argv, environ);
      ::_exit(255);
    }
    int status = 0;
    if (pid == -1 || ::waitpid(pid, &status, 0) != pid || status != 0) {
      state.SkipWithError("fork failed");
      break;
    }
  }
}

// Small parent first: the large cases keep their memory to the end.
BENCHMARK(BM_kivSyncLaunch)->Arg(0)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_posixSpawn)->Arg(0)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_forkExec)->Arg(0)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_kivSyncLaunch)
    ->Arg(1)
    ->Iterations(kLargeParentIterations)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_posixSpawn)
    ->Arg(1)
    ->Iterations(kLargeParentIterations)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_forkExec)
    ->Arg(1)
    ->Iterations(kLargeParentIterations)
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace

KIV_BENCH_MAIN(
    {{"BM_kivSyncLaunch/0/real_time", "BM_posixSpawn/0/real_time"},
     {"BM_kivSyncLaunch/1/iterations:30/real_time", "BM_posixSpawn/1/iterations:30/real_time"},
     {"BM_kivSyncLaunch/0/real_time", "BM_forkExec/0/real_time"},
     {"BM_kivSyncLaunch/1/iterations:30/real_time", "BM_forkExec/1/iterations:30/real_time"}})
