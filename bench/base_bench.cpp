// Number-to-text conversion against std::to_chars and snprintf, and the
// wildcard matcher against fnmatch(3), on the same inputs.

#include <fnmatch.h>

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "kiv_base.hpp"
#include "kiv_bench_ratio.hpp"

namespace {

// ---------------------------------------------------------------------------
// Number to text: 1024 values of evenly spread bit widths, so that short
// and long numbers are equally frequent.
// ---------------------------------------------------------------------------

template <class T>
const std::vector<T>& numbers() {
  static const std::vector<T> values = [] {
    std::mt19937_64 random(42);
    std::vector<T> v(1024);
    for (T& x : v) {
      const unsigned width = static_cast<unsigned>(random() % 63) + 1;
      x = static_cast<T>(random() & ((1ULL << width) - 1));
      if (std::numeric_limits<T>::is_signed && (random() & 1)) x = static_cast<T>(0 - x);
    }
    return v;
  }();
  return values;
}

void BM_kivLtoa(benchmark::State& state) {
  char buffer[24];
  for (auto _ : state) {
    for (long v : numbers<long>()) {
      benchmark::DoNotOptimize(kivLtoa(v, buffer));
      benchmark::ClobberMemory();
    }
  }
  state.SetItemsProcessed(state.iterations() * 1024);
}

void BM_toCharsLong(benchmark::State& state) {
  char buffer[24];
  for (auto _ : state) {
    for (long v : numbers<long>()) {
      char* end = std::to_chars(buffer, buffer + sizeof buffer, v).ptr;
      *end = '\0';
      benchmark::DoNotOptimize(end);
      benchmark::ClobberMemory();
    }
  }
  state.SetItemsProcessed(state.iterations() * 1024);
}

void BM_snprintfLong(benchmark::State& state) {
  char buffer[24];
  for (auto _ : state) {
    for (long v : numbers<long>()) {
      benchmark::DoNotOptimize(std::snprintf(buffer, sizeof buffer, "%ld", v));
      benchmark::ClobberMemory();
    }
  }
  state.SetItemsProcessed(state.iterations() * 1024);
}

void BM_kivULtoa(benchmark::State& state) {
  char buffer[24];
  for (auto _ : state) {
    for (unsigned long v : numbers<unsigned long>()) {
      benchmark::DoNotOptimize(kivULtoa(v, buffer));
      benchmark::ClobberMemory();
    }
  }
  state.SetItemsProcessed(state.iterations() * 1024);
}

void BM_toCharsULong(benchmark::State& state) {
  char buffer[24];
  for (auto _ : state) {
    for (unsigned long v : numbers<unsigned long>()) {
      char* end = std::to_chars(buffer, buffer + sizeof buffer, v).ptr;
      *end = '\0';
      benchmark::DoNotOptimize(end);
      benchmark::ClobberMemory();
    }
  }
  state.SetItemsProcessed(state.iterations() * 1024);
}

void BM_snprintfULong(benchmark::State& state) {
  char buffer[24];
  for (auto _ : state) {
    for (unsigned long v : numbers<unsigned long>()) {
      benchmark::DoNotOptimize(std::snprintf(buffer, sizeof buffer, "%lu", v));
      benchmark::ClobberMemory();
    }
  }
  state.SetItemsProcessed(state.iterations() * 1024);
}

BENCHMARK(BM_kivLtoa);
BENCHMARK(BM_toCharsLong);
BENCHMARK(BM_snprintfLong);
BENCHMARK(BM_kivULtoa);
BENCHMARK(BM_toCharsULong);
BENCHMARK(BM_snprintfULong);

// ---------------------------------------------------------------------------
// Wildcard matching. Each case is one pattern and a set of file-name-like
// texts; both matchers see the same pairs and, being equivalent on patterns
// of literals, "*" and "?", give the same answers.
// ---------------------------------------------------------------------------

struct WildcardCase {
  const char* pattern;
  std::vector<std::string> texts;
};

const std::vector<std::string>& fileNames() {
  static const std::vector<std::string> names = {"readme.txt",
                                                 "document_final_version_2.txt",
                                                 "abc.cpp",
                                                 "abc",
                                                 "a.out",
                                                 "Makefile",
                                                 "notes.TXT",
                                                 "archive.tar.gz",
                                                 "src/foundation/kiv_base.cpp",
                                                 "axc_backup.txt.bak"};
  return names;
}

WildcardCase starTxt() { return {"*.txt", fileNames()}; }
WildcardCase questionThenStar() { return {"a?c*", fileNames()}; }
WildcardCase literal() { return {"document_final_version_2.txt", fileNames()}; }
// Five stars and no match: every anchor position is tried. The last text
// holds a, b, c, d and e in that order many times over but does not end
// in e.
WildcardCase fiveStarsNoMatch() {
  return {"*a*b*c*d*e",
          {std::string(64, 'a'), "abcdabcdabcdabcdabcdabcdabcdabcdabcdabcd",
           "edcbaedcbaedcbaedcbaedcbaedcbaedcbaedcba"}};
}

template <class Match>
void runWildcards(benchmark::State& state, const WildcardCase& c, Match match) {
  std::size_t pairs = 0;
  for (auto _ : state) {
    for (const std::string& text : c.texts) {
      benchmark::DoNotOptimize(match(c.pattern, text.c_str()));
    }
    pairs += c.texts.size();
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(pairs));
}

void BM_kivWildcard(benchmark::State& state, WildcardCase (*make)(), bool caseSensitive) {
  runWildcards(state, make(), [caseSensitive](const char* p, const char* t) {
    return kivMatchesWildcardPattern(p, t, caseSensitive);
  });
}

void BM_fnmatch(benchmark::State& state, WildcardCase (*make)(), bool caseSensitive) {
  const int flags = caseSensitive ? 0 : FNM_CASEFOLD;
  runWildcards(state, make(),
               [flags](const char* p, const char* t) { return fnmatch(p, t, flags) == 0; });
}

BENCHMARK_CAPTURE(BM_kivWildcard, star_txt, starTxt, true);
BENCHMARK_CAPTURE(BM_fnmatch, star_txt, starTxt, true);
BENCHMARK_CAPTURE(BM_kivWildcard, a_q_c_star, questionThenStar, true);
BENCHMARK_CAPTURE(BM_fnmatch, a_q_c_star, questionThenStar, true);
BENCHMARK_CAPTURE(BM_kivWildcard, literal, literal, true);
BENCHMARK_CAPTURE(BM_fnmatch, literal, literal, true);
BENCHMARK_CAPTURE(BM_kivWildcard, five_stars_no_match, fiveStarsNoMatch, true);
BENCHMARK_CAPTURE(BM_fnmatch, five_stars_no_match, fiveStarsNoMatch, true);
BENCHMARK_CAPTURE(BM_kivWildcard, star_txt_folded, starTxt, false);
BENCHMARK_CAPTURE(BM_fnmatch, star_txt_folded, starTxt, false);
BENCHMARK_CAPTURE(BM_kivWildcard, a_q_c_star_folded, questionThenStar, false);
BENCHMARK_CAPTURE(BM_fnmatch, a_q_c_star_folded, questionThenStar, false);
BENCHMARK_CAPTURE(BM_kivWildcard, five_stars_no_match_folded, fiveStarsNoMatch, false);
BENCHMARK_CAPTURE(BM_fnmatch, five_stars_no_match_folded, fiveStarsNoMatch, false);

}  // namespace

KIV_BENCH_MAIN({{"BM_kivLtoa", "BM_toCharsLong"},
                {"BM_kivLtoa", "BM_snprintfLong"},
                {"BM_kivULtoa", "BM_toCharsULong"},
                {"BM_kivULtoa", "BM_snprintfULong"},
                {"BM_kivWildcard/star_txt", "BM_fnmatch/star_txt"},
                {"BM_kivWildcard/a_q_c_star", "BM_fnmatch/a_q_c_star"},
                {"BM_kivWildcard/literal", "BM_fnmatch/literal"},
                {"BM_kivWildcard/five_stars_no_match", "BM_fnmatch/five_stars_no_match"},
                {"BM_kivWildcard/star_txt_folded", "BM_fnmatch/star_txt_folded"},
                {"BM_kivWildcard/a_q_c_star_folded", "BM_fnmatch/a_q_c_star_folded"},
                {"BM_kivWildcard/five_stars_no_match_folded",
                 "BM_fnmatch/five_stars_no_match_folded"}})
