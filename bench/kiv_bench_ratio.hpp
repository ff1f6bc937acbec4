// Runs the registered benchmarks and then prints, for each pair of an own
// benchmark and its peer, the ratio of their times per iteration
// (ours / peer: below 1 means we are faster).
//
// Use: KIV_BENCH_MAIN({{"BM_ours/16", "BM_peer/16"}, ...}) instead of
// BENCHMARK_MAIN(). Programs that register their benchmarks themselves call
// runWithRatios(); with cpuTime true it compares CPU times instead, which a
// shared, busy machine disturbs less than wall-clock times. A comparison
// whose peer was not installed when the program was built is passed in
// `skipped`: our half still runs, and the program says what it left out.
#ifndef KIV_BENCH_RATIO_HPP
#define KIV_BENCH_RATIO_HPP

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kivbench {

class CollectingReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
        m_times[run.benchmark_name()] = run.GetAdjustedRealTime();
        m_cpuTimes[run.benchmark_name()] = run.GetAdjustedCPUTime();
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  const std::map<std::string, double>& times() const { return m_times; }
  const std::map<std::string, double>& cpuTimes() const { return m_cpuTimes; }

 private:
  std::map<std::string, double> m_times;
  std::map<std::string, double> m_cpuTimes;
};

// A comparison left out: what it compares, and the Debian package of the
// peer that was missing.
struct Skipped {
  std::string comparison;
  std::string package;
};

inline int runWithRatios(int argc, char** argv,
                         const std::vector<std::pair<std::string, std::string>>& pairs,
                         bool cpuTime = false, const std::vector<Skipped>& skipped = {}) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  CollectingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  const std::map<std::string, double>& times = cpuTime ? reporter.cpuTimes() : reporter.times();
  std::printf("\n%-44s %-44s %8s\n", "ours", "peer", cpuTime ? "cpu ratio" : "ratio");
  for (const auto& [ours, peer] : pairs) {
    const auto a = times.find(ours);
    const auto b = times.find(peer);
    if (a == times.end() || b == times.end() || b->second == 0) continue;
    std::printf("%-44s %-44s %8.3f\n", ours.c_str(), peer.c_str(), a->second / b->second);
  }
  for (const Skipped& s : skipped)
    std::printf("skipped: %s (peer %s not installed)\n", s.comparison.c_str(), s.package.c_str());
  benchmark::Shutdown();
  return 0;
}

}  // namespace kivbench

#define KIV_BENCH_MAIN(...) \
  int main(int argc, char** argv) { return kivbench::runWithRatios(argc, argv, __VA_ARGS__); }

#endif
