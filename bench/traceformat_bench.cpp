// Formatting a trace file of 100 MB to /dev/null, beside xxd and hexdump -C
// on the same bytes (the usual way to look at a binary file, and the
// reference for the formatter's dump lines).
//
// The file is written once, in a temporary directory, with the library's
// own entries (compressed texts, as a trace writes them by default): a mix
// of function entries and exits, data dumps of 16 to 512 bytes, C strings,
// Unicode texts, integers, floating point values, bools and addresses. Each
// benchmark reads the whole file; throughput is in bytes of the trace file.
// Times are CPU times (user and system; for the peers, those of the child
// process), which a shared, busy machine disturbs less than wall-clock
// times. The formatter's counters are the entries formatted and the peak
// resident memory of the process. KIV_TRACEFORMAT_BENCH_MB sets another
// size of the file.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "kiv_bench_ratio.hpp"
#include "kiv_traceformat.hpp"

namespace {

struct TraceFile {
  std::string dir;
  std::string path;
  std::uint64_t size = 0;
  std::unique_ptr<KivClTraceEnvironment> env;

  TraceFile() {
    char pattern[] = "/tmp/kivtraceformat_bench.XXXXXX";
    const char* base = mkdtemp(pattern);
    if (base == nullptr) std::abort();
    dir = base;
    path = dir + "/big.trc";
    setenv("KIVFMTBENCH_TRACE_FILE", path.c_str(), 1);
    setenv("KIVFMTBENCH_TRACE_BUFSIZE", "64", 1);
    env = std::make_unique<KivClTraceEnvironment>("kivfmtbench", nullptr, true);
    const char* megabytes = std::getenv("KIV_TRACEFORMAT_BENCH_MB");
    write(static_cast<std::uint64_t>(megabytes != nullptr ? std::atoi(megabytes) : 100) << 20);
  }
  ~TraceFile() {
    std::error_code ec;
    std::filesystem::remove_all(dir, ec);
  }

  void write(std::uint64_t target) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    unsigned char bytes[512];
    for (unsigned i = 0; i < sizeof bytes; ++i) bytes[i] = static_cast<unsigned char>(i * 7 + 3);
    const char* text = "Connecting to the server at example.org, port 8080";
    const std::uint16_t wide[] = {'K', 'i', 'v', ' ', 0x00E9, 0x4E2D, 'x', 'y'};
    std::int64_t level = 0;
    std::uint32_t state = 12345;
    const auto add = [&](KivEnTraceDetail detail, KivEnTraceDataType type, const char* function,
                         const char* message, const void* data, unsigned long length) {
      const KivClTraceEntry entry(*env, detail, 5, type, function, message, data, length);
      out.write(entry.getRecord(), static_cast<std::streamsize>(entry.getRecordLength()));
      out.write(static_cast<const char*>(entry.getData()),
                static_cast<std::streamsize>(entry.getDataLength()));
    };
    while (static_cast<std::uint64_t>(out.tellp()) < target) {
      state = state * 1103515245u + 12345u;
      const int value = static_cast<int>(state >> 8);
      const double real = value / 7.0;
      ++level;
      add(KIV_TRACE_DETAIL_OFF, KIV_TRACE_TYPE_FUNCTION_ENTRY, "Session::connect", "", &level, 8);
      add(KIV_TRACE_DETAIL_LOW, KIV_TRACE_TYPE_DATA, "Session::connect", "received",
          bytes, 16 + (state >> 4) % 497);
      add(KIV_TRACE_DETAIL_LOW, KIV_TRACE_TYPE_CSTRING, "Session::connect", "status", text,
          std::strlen(text));
      add(KIV_TRACE_DETAIL_MED, KIV_TRACE_TYPE_INT32, "Session::connect", "count", &value,
          sizeof value);
      add(KIV_TRACE_DETAIL_MED, KIV_TRACE_TYPE_DOUBLE, "Session::connect", "ratio", &real,
          sizeof real);
      add(KIV_TRACE_DETAIL_LOW, KIV_TRACE_TYPE_UNICODE, "Session::connect", "name", wide,
          sizeof wide);
      const bool ok = (value & 1) != 0;
      add(KIV_TRACE_DETAIL_HIGH, KIV_TRACE_TYPE_BOOL, "Session::connect", "ok", &ok, 1);
      const void* address = bytes;
      add(KIV_TRACE_DETAIL_HIGH, KIV_TRACE_TYPE_ADDRESS, "Session::connect", "buffer", &address,
          sizeof address);
      --level;
      add(KIV_TRACE_DETAIL_OFF, KIV_TRACE_TYPE_FUNCTION_EXIT, "Session::connect", "", &level, 8);
    }
    size = static_cast<std::uint64_t>(out.tellp());
  }
};

TraceFile& traceFile() {
  static TraceFile file;
  return file;
}

double processCpuSeconds() {
  timespec ts{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

double childCpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

void BM_TraceFormat(benchmark::State& state) {
  TraceFile& file = traceFile();
  KivClTraceFilter all;
  all.setDetail(KIV_TRACE_DETAIL_HIGH);
  KivClTraceFormatter formatter(*file.env, &all);
  for (auto _ : state) {
    std::ofstream null("/dev/null", std::ios::binary);
    const double start = processCpuSeconds();
    formatter.format(null);
    state.SetIterationTime(processCpuSeconds() - start);
  }
  state.counters["entries"] = static_cast<double>(formatter.getEntryCount());
  // Peak resident memory of the process: formatting streams, so it stays
  // near what the process needed before, whatever the size of the file.
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  state.counters["peak_rss_MB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * file.size));
}

/// Runs `command` on the trace file with its output to /dev/null.
void runPeer(benchmark::State& state, const char* program, const char* option) {
  TraceFile& file = traceFile();
  for (auto _ : state) {
    const double start = childCpuSeconds();
    const pid_t child = fork();
    if (child == 0) {
      if (std::freopen("/dev/null", "w", stdout) == nullptr) _exit(126);
      if (option != nullptr) {
        execlp(program, program, option, file.path.c_str(), static_cast<char*>(nullptr));
      } else {
        execlp(program, program, file.path.c_str(), static_cast<char*>(nullptr));
      }
      _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      state.SkipWithError("the peer program failed");
      break;
    }
    state.SetIterationTime(childCpuSeconds() - start);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * file.size));
}

void BM_Xxd(benchmark::State& state) { runPeer(state, "xxd", nullptr); }
void BM_HexdumpC(benchmark::State& state) { runPeer(state, "hexdump", "-C"); }

BENCHMARK(BM_TraceFormat)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Xxd)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HexdumpC)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  traceFile();  // write the file before any timing
  return kivbench::runWithRatios(
      argc, argv,
      {{"BM_TraceFormat/iterations:3/manual_time", "BM_Xxd/iterations:3/manual_time"},
       {"BM_TraceFormat/iterations:3/manual_time", "BM_HexdumpC/iterations:3/manual_time"}});
}
