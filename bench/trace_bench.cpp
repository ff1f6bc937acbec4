// Tracing cost per entry, beside spdlog and a bare ring copy.
//
// Ours: kivTraceDump through the enabled instance (the library's back end:
// filter, entry record, ring buffer, autosave to the trace file on every
// full turn of a 4 MB buffer), for a 32-byte C string and for a 4-byte
// integer, with the 6-bit compression of the two texts on and off, and with
// the trace file on tmpfs (/dev/shm), on disk (/tmp), or none ("memory":
// autosave off, the cost of recording alone).
// Tracing off: the call site `if (kivTraceIsEnabled()) kivTraceDump(...)`
// with no enabled instance. The peers: spdlog with a null sink and with a
// basic file sink (the same message and 32 bytes of data formatted as
// text, as a logger writes them), and a bare copy of the same bytes as our
// record into a ring, the floor of what recording an entry costs.
//
// At the end the program prints each ratio of CPU times (ours / the
// peer's; below 1 means faster).
//
// spdlog is optional (KIV_BENCH_HAVE_SPDLOG, set by the build): without it,
// its benchmarks are left out and the program says so.
#include <benchmark/benchmark.h>
#if KIV_BENCH_HAVE_SPDLOG
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/spdlog.h>
#endif
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "kiv_bench_ratio.hpp"
#include "kiv_trace.hpp"

namespace {

constexpr const char kData32[] = "0123456789abcdefghijklmnopqrstuv";  // 32 bytes
constexpr const char kFunction[] = "KivClServer::handleRequest";
constexpr const char kMessage[] = "request received";

std::string scratchFile(const char* directory) {
  if (directory == nullptr) return "";
  return std::string(directory) + "/kivbench_trace." + std::to_string(getpid()) + ".trc";
}

// Creates the singleton for one benchmark: active, 4 MB buffer, autosave to
// `file` (or, for an empty name, no autosave: the ring is overwritten and
// only the cost of recording is left), compression as asked. The trace file
// is removed afterwards.
class TraceSession {
 public:
  TraceSession(const std::string& file, bool compress) : m_file(file) {
    setenv("KIVBENCH_TRACE_ACTIVE", "1", 1);
    setenv("KIVBENCH_TRACE_BUFSIZE", "4096", 1);
    setenv("KIVBENCH_TRACE_DETAIL", "HIGH", 1);
    setenv("KIVBENCH_TRACE_FILE", file.c_str(), 1);
    if (!file.empty()) std::remove(file.c_str());
    KivClTraceInstance* instance = KivClTraceInstance::createInstance("kivbench", nullptr);
    KivClTraceSettings& settings = instance->getEnvironment().getSettings();
    std::uint32_t flags = settings.getFlags();
    flags = compress ? (flags | KIV_TRACE_FLAG_COMPRESS) : (flags & ~KIV_TRACE_FLAG_COMPRESS);
    settings.setFlags(flags);
    if (file.empty()) instance->getEnvironment().getBufferManager().setCallBack(nullptr, nullptr);
  }
  ~TraceSession() {
    KivClTraceInstance::deleteInstance();
    if (!m_file.empty()) std::remove(m_file.c_str());
  }

 private:
  std::string m_file;
};

void BM_kivCString(benchmark::State& state, const char* directory, bool compress) {
  TraceSession session(scratchFile(directory), compress);
  for (auto _ : state) {
    if (kivTraceIsEnabled()) {
      kivTraceDump(KIV_TRACE_DETAIL_MED, 3, KIV_TRACE_TYPE_CSTRING, kFunction, kMessage, kData32,
                   32);
    }
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_kivInt(benchmark::State& state, const char* directory, bool compress) {
  TraceSession session(scratchFile(directory), compress);
  std::int32_t value = 0;
  for (auto _ : state) {
    ++value;
    if (kivTraceIsEnabled()) {
      kivTraceDump(KIV_TRACE_DETAIL_MED, 3, KIV_TRACE_TYPE_INT32, kFunction, kMessage, &value,
                   sizeof value);
    }
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_kivOff(benchmark::State& state) {
  KivClTraceInstance::deleteInstance();
  for (auto _ : state) {
    benchmark::DoNotOptimize(gs_pclKivTraceInstance);
    if (kivTraceIsEnabled()) {
      kivTraceDump(KIV_TRACE_DETAIL_MED, 3, KIV_TRACE_TYPE_CSTRING, kFunction, kMessage, kData32,
                   32);
    }
  }
  state.SetItemsProcessed(state.iterations());
}

// An empty loop with the same DoNotOptimize: what the harness itself costs,
// to read the switched-off figure against.
void BM_emptyLoop(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(gs_pclKivTraceInstance);
  state.SetItemsProcessed(state.iterations());
}

#if KIV_BENCH_HAVE_SPDLOG
void BM_spdlog(benchmark::State& state, bool file) {
  std::shared_ptr<spdlog::logger> logger;
  const std::string path = scratchFile("/tmp");
  if (file) {
    logger = spdlog::basic_logger_st("kivbench_file", path, true);
  } else {
    logger = std::make_shared<spdlog::logger>("kivbench_null",
                                              std::make_shared<spdlog::sinks::null_sink_st>());
  }
  logger->set_level(spdlog::level::trace);
  const std::string_view data(kData32, 32);
  for (auto _ : state) logger->debug("{} {}: {}", kFunction, kMessage, data);
  logger->flush();
  spdlog::drop(logger->name());
  logger.reset();
  std::remove(path.c_str());
  state.SetItemsProcessed(state.iterations());
}
#endif

// The bytes of our record copied into a ring of the same size as our buffer,
// wrapping as it does: the floor of recording an entry.
void BM_ringCopyFloor(benchmark::State& state) {
  std::vector<char> ring(4 * 1024 * 1024);
  char record[20 + sizeof kFunction + sizeof kMessage + 32] = {};
  std::memcpy(record + 20, kFunction, sizeof kFunction - 1);
  std::memcpy(record + 20 + sizeof kFunction - 1, kMessage, sizeof kMessage - 1);
  std::memcpy(record + sizeof record - 32, kData32, 32);
  std::size_t at = 0;
  for (auto _ : state) {
    if (at + sizeof record > ring.size()) at = 0;
    std::memcpy(ring.data() + at, record, sizeof record);
    at += sizeof record;
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const auto& [where, directory] :
       {std::pair<const char*, const char*>{"memory", nullptr}, std::pair{"tmpfs", "/dev/shm"},
        std::pair{"disk", "/tmp"}}) {
    for (bool compress : {true, false}) {
      const std::string suffix =
          std::string("/") + where + (compress ? "/compressed" : "/uncompressed");
      const std::string cstring = "kiv_dump_cstring32" + suffix;
      const std::string integer = "kiv_dump_int32" + suffix;
      benchmark::RegisterBenchmark(cstring.c_str(), BM_kivCString, directory, compress);
      benchmark::RegisterBenchmark(integer.c_str(), BM_kivInt, directory, compress);
      if (KIV_BENCH_HAVE_SPDLOG) {
        pairs.emplace_back(cstring, "spdlog/null_sink");
        pairs.emplace_back(cstring, "spdlog/file_sink");
      }
      pairs.emplace_back(cstring, "ring_copy_floor");
    }
  }
  benchmark::RegisterBenchmark("kiv_tracing_off", BM_kivOff);
  benchmark::RegisterBenchmark("empty_loop", BM_emptyLoop);
  std::vector<kivbench::Skipped> skipped;
#if KIV_BENCH_HAVE_SPDLOG
  benchmark::RegisterBenchmark("spdlog/null_sink", BM_spdlog, false);
  benchmark::RegisterBenchmark("spdlog/file_sink", BM_spdlog, true);
#else
  skipped.push_back({"tracing beside spdlog", "libspdlog-dev"});
#endif
  benchmark::RegisterBenchmark("ring_copy_floor", BM_ringCopyFloor);
  pairs.emplace_back("kiv_tracing_off", "empty_loop");
  return kivbench::runWithRatios(argc, argv, pairs, true, skipped);
}
