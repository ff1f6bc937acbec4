// String search, wildcard match objects and grep beside their peers.
//
// KivClStringSearch against glibc's memmem and the standard library's
// Boyer-Moore-Horspool searcher, on a 1 MiB text of words with absent 5- and
// 16-byte patterns and on a 57-byte text; the table-only form of the search
// (no block-wise pass) is measured too, for the record. Every input is
// checked first: all searches must give the same result. The wildcard object
// runs beside fnmatch and the grep object beside regexec on the same compiled
// expression. At the end the program prints each ratio of CPU times (ours /
// the peer's; below 1 means faster): CPU time, because a shared build
// machine makes wall-clock time depend on the neighbours.

#include <benchmark/benchmark.h>
#include <fnmatch.h>
#include <regex.h>
#include <string.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "../strmatch/kiv_strsearch_detail.hpp"
#include "kiv_strmatch.hpp"

namespace {

// A text of words with the letter frequencies of ordinary prose: the kind of
// text a tool searches. Deterministic, so runs compare.
std::string makeProse(std::size_t size) {
  static const char* const words[] = {
      "the",    "of",     "and",    "to",      "in",     "is",       "that",   "for",
      "it",     "as",     "was",    "with",    "be",     "by",       "on",     "not",
      "he",     "this",   "are",    "or",      "his",    "from",     "at",     "which",
      "but",    "have",   "an",     "had",     "they",   "you",      "were",   "their",
      "one",    "all",    "we",     "can",     "her",    "has",      "there",  "been",
      "if",     "more",   "when",   "will",    "would",  "who",      "so",     "no",
      "file",   "system", "buffer", "process", "string", "pattern",  "search", "table",
      "memory", "error",  "record", "library", "value",  "function", "length", "character"};
  std::mt19937 rng(12345);
  std::uniform_int_distribution<std::size_t> pick(0, sizeof(words) / sizeof(words[0]) - 1);
  std::string text;
  text.reserve(size + 16);
  while (text.size() < size) {
    text += words[pick(rng)];
    text += (rng() % 12 == 0) ? ". " : " ";
  }
  text.resize(size);
  return text;
}

struct Case {
  std::string name;
  std::string text;
  std::string pattern;
};

const std::vector<Case>& cases() {
  static const std::vector<Case> all = [] {
    const std::string prose = makeProse(1u << 20);
    return std::vector<Case>{
        {"1MiB_absent5", prose, "files"},
        {"1MiB_absent16", prose, "the files record"},
        {"57B_absent5", "The library reads its settings from the environment once.", "fiels"},
        {"57B_found5", "The library reads its settings from the environment once.", "ment "},
    };
  }();
  return all;
}

std::ptrdiff_t offsetOf(const void* found, const std::string& text) {
  return found == nullptr ? -1 : static_cast<const char*>(found) - text.data();
}

const void* viaMemmem(const Case& c) {
  return memmem(c.text.data(), c.text.size(), c.pattern.data(), c.pattern.size());
}

const void* viaHorspool(
    const Case& c,
    const std::boyer_moore_horspool_searcher<std::string::const_iterator>& searcher) {
  const auto it = std::search(c.text.begin(), c.text.end(), searcher);
  return it == c.text.end() ? nullptr : &*it;
}

std::vector<std::uint32_t> tableOf(const KivClStringSearch& search) {
  std::vector<std::uint32_t> table(256);
  for (unsigned c = 0; c < 256; ++c) table[c] = search.getShift(static_cast<unsigned char>(c));
  return table;
}

// Every search of a case must find the same place; a benchmark of differing
// results would measure nothing.
void checkCases() {
  for (const Case& c : cases()) {
    KivClStringSearch search(c.pattern.c_str(), false);
    const std::vector<std::uint32_t> table = tableOf(search);
    const std::boyer_moore_horspool_searcher<std::string::const_iterator> horspool(
        c.pattern.begin(), c.pattern.end());
    const auto length = static_cast<unsigned int>(c.text.size());
    const std::ptrdiff_t expected = offsetOf(viaMemmem(c), c.text);
    const std::ptrdiff_t ours = offsetOf(search.getPattern(c.text.data(), length), c.text);
    const std::ptrdiff_t tableOnly =
        offsetOf(kiv::detail::skipTableSearch(c.text.data(), c.text.size(), c.pattern.c_str(),
                                              table.data(), false, kiv::detail::SkipMode::Table),
                 c.text);
    const std::ptrdiff_t bmh = offsetOf(viaHorspool(c, horspool), c.text);
    if (ours != expected || tableOnly != expected || bmh != expected) {
      std::fprintf(stderr, "%s: results differ (memmem %td, ours %td, table %td, bmh %td)\n",
                   c.name.c_str(), expected, ours, tableOnly, bmh);
      std::exit(1);
    }
    const bool absent = c.name.find("absent") != std::string::npos;
    if (absent != (expected < 0)) {
      std::fprintf(stderr, "%s: the pattern is %s\n", c.name.c_str(),
                   absent ? "present" : "absent");
      std::exit(1);
    }
  }
}

void BM_kiv(benchmark::State& state, const Case* c) {
  KivClStringSearch search(c->pattern.c_str(), false);
  const auto length = static_cast<unsigned int>(c->text.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(search.getPattern(c->text.data(), length));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * c->text.size()));
}

void BM_kivTableOnly(benchmark::State& state, const Case* c) {
  KivClStringSearch search(c->pattern.c_str(), false);
  const std::vector<std::uint32_t> table = tableOf(search);
  for (auto _ : state) {
    benchmark::DoNotOptimize(kiv::detail::skipTableSearch(c->text.data(), c->text.size(),
                                                          c->pattern.c_str(), table.data(), false,
                                                          kiv::detail::SkipMode::Table));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * c->text.size()));
}

void BM_memmem(benchmark::State& state, const Case* c) {
  for (auto _ : state) benchmark::DoNotOptimize(viaMemmem(*c));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * c->text.size()));
}

void BM_horspool(benchmark::State& state, const Case* c) {
  const std::boyer_moore_horspool_searcher<std::string::const_iterator> searcher(c->pattern.begin(),
                                                                                 c->pattern.end());
  for (auto _ : state) benchmark::DoNotOptimize(viaHorspool(*c, searcher));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * c->text.size()));
}

void BM_kivIgnoreCase(benchmark::State& state, const Case* c) {
  KivClStringSearch search(c->pattern.c_str(), true);
  const auto length = static_cast<unsigned int>(c->text.size());
  for (auto _ : state) {
    benchmark::DoNotOptimize(search.getPattern(c->text.data(), length));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * c->text.size()));
}

void BM_strcasestr(benchmark::State& state, const Case* c) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(strcasestr(c->text.c_str(), c->pattern.c_str()));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * c->text.size()));
}

// Wildcards: a file-name pattern, matching and not matching.
const char* const gs_wildNames[] = {"setup.ini", "kivlib.trace.trc"};

void BM_wildcardsKiv(benchmark::State& state) {
  KivClStringMatchWildcards match("*.ini", true);
  const char* name = gs_wildNames[state.range(0)];
  for (auto _ : state) benchmark::DoNotOptimize(match.getPattern(name));
}

void BM_wildcardsFnmatch(benchmark::State& state) {
  const char* name = gs_wildNames[state.range(0)];
  for (auto _ : state) benchmark::DoNotOptimize(fnmatch("*.ini", name, 0));
}

// Grep: an anchored expression on a short text, matching and not matching.
const char* const gs_grepTexts[] = {"a12b", "xa12"};

void BM_grepKiv(benchmark::State& state) {
  KivClGrep grep("^a[0-9]+", false);
  const char* text = gs_grepTexts[state.range(0)];
  for (auto _ : state) benchmark::DoNotOptimize(grep.getPattern(text));
}

void BM_grepRegexec(benchmark::State& state) {
  regex_t regex;
  if (regcomp(&regex, "^a[0-9]+", REG_EXTENDED) != 0) {
    state.SkipWithError("regcomp failed");
    return;
  }
  const char* text = gs_grepTexts[state.range(0)];
  regmatch_t match[2];
  for (auto _ : state) benchmark::DoNotOptimize(regexec(&regex, text, 2, match, 0));
  regfree(&regex);
}

// Keeps the time per benchmark so that the ratios can be printed at the end.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      // Single runs, or the median of repeated runs.
      if (run.run_type == Run::RT_Iteration) {
        m_times[run.benchmark_name()] = run.GetAdjustedCPUTime();
      } else if (run.aggregate_name == "median") {
        m_times[run.run_name.str()] = run.GetAdjustedCPUTime();
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  double timeOf(const std::string& name) const {
    const auto it = m_times.find(name);
    return it == m_times.end() ? 0.0 : it->second;
  }

 private:
  std::map<std::string, double> m_times;
};

void printRatio(const RatioReporter& reporter, const std::string& ours, const std::string& peer) {
  const double a = reporter.timeOf(ours);
  const double b = reporter.timeOf(peer);
  if (a <= 0.0 || b <= 0.0) return;
  std::printf("  %-40s / %-40s = %6.3f  (%.1f ns vs %.1f ns)\n", ours.c_str(), peer.c_str(), a / b,
              a, b);
}

}  // namespace

int main(int argc, char** argv) {
  checkCases();
  for (const Case& c : cases()) {
    benchmark::RegisterBenchmark(("search/" + c.name + "/kiv").c_str(), BM_kiv, &c);
    benchmark::RegisterBenchmark(("search/" + c.name + "/kiv_table_only").c_str(), BM_kivTableOnly,
                                 &c);
    benchmark::RegisterBenchmark(("search/" + c.name + "/memmem").c_str(), BM_memmem, &c);
    benchmark::RegisterBenchmark(("search/" + c.name + "/std_bmh").c_str(), BM_horspool, &c);
    benchmark::RegisterBenchmark(("search/" + c.name + "/kiv_ignore_case").c_str(),
                                 BM_kivIgnoreCase, &c);
    benchmark::RegisterBenchmark(("search/" + c.name + "/strcasestr").c_str(), BM_strcasestr, &c);
  }
  benchmark::RegisterBenchmark("wildcards/kiv", BM_wildcardsKiv)->Arg(0)->Arg(1);
  benchmark::RegisterBenchmark("wildcards/fnmatch", BM_wildcardsFnmatch)->Arg(0)->Arg(1);
  benchmark::RegisterBenchmark("grep/kiv", BM_grepKiv)->Arg(0)->Arg(1);
  benchmark::RegisterBenchmark("grep/regexec", BM_grepRegexec)->Arg(0)->Arg(1);

  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();

  std::printf("\nRatios of CPU time (ours / the peer's; below 1 means faster):\n");
  for (const Case& c : cases()) {
    const std::string base = "search/" + c.name + "/";
    printRatio(reporter, base + "kiv", base + "memmem");
    printRatio(reporter, base + "kiv", base + "std_bmh");
    printRatio(reporter, base + "kiv_table_only", base + "memmem");
    printRatio(reporter, base + "kiv_ignore_case", base + "strcasestr");
  }
  for (const char* arg : {"/0", "/1"}) {
    printRatio(reporter, std::string("wildcards/kiv") + arg,
               std::string("wildcards/fnmatch") + arg);
    printRatio(reporter, std::string("grep/kiv") + arg, std::string("grep/regexec") + arg);
  }
  return 0;
}
