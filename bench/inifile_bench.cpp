// INI files against inih (its callback tokenizer ini_parse_string and its
// INIReader, which builds a map) and GLib's GKeyFile, on one generated file
// of about 170 KB: 200 sections, 4,000 options, full-line and trailing
// comments. Loading builds our whole model (sections, options, cooked
// values and comments); the inih callback does no more than count what the
// tokenizer hands it. A second pair measures one option lookup in a loaded
// file: our getSection + getOption against INIReader::Get and
// g_key_file_get_value.
//
// GKeyFile knows only "#" comment lines, so it reads the same text with "#"
// instead of ";" at the start of comment lines (same size, same lines);
// trailing " ; ..." comments are part of its values.
//
// Each peer is optional (KIV_BENCH_HAVE_INIH, KIV_BENCH_HAVE_GLIB, set by
// the build): without it, its benchmarks are left out and the program says so.
#if KIV_BENCH_HAVE_INIH
#include <INIReader.h>
#include <ini.h>
#endif
#if KIV_BENCH_HAVE_GLIB
#include <glib.h>
#endif

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "kiv_bench_ratio.hpp"
#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"

namespace {

const std::string& iniText() {
  static const std::string text = [] {
    std::string t = "; Generated configuration for the INI benchmark.\n\n";
    char line[256];
    for (int s = 0; s < 200; ++s) {
      std::snprintf(line, sizeof line, "; Settings of component %d\n[component_%03d]\n", s, s);
      t += line;
      for (int o = 0; o < 20; ++o) {
        if (o % 5 == 0) {
          std::snprintf(line, sizeof line, "; option group %d\n", o / 5);
          t += line;
        }
        if (o % 3 == 0) {
          std::snprintf(line, sizeof line, "option_%02d = value %d of %d ; note %d\n", o, o, s, o);
        } else {
          std::snprintf(line, sizeof line, "option_%02d = /usr/share/c%d/file%d.dat\n", o, s, o);
        }
        t += line;
      }
      t += "\n";
    }
    return t;
  }();
  return text;
}

#if KIV_BENCH_HAVE_GLIB
// The same text with "#" comment lines, for GKeyFile.
const std::string& keyFileText() {
  static const std::string text = [] {
    std::string t = iniText();
    for (std::size_t i = 0; i < t.size(); ++i)
      if (t[i] == ';' && (i == 0 || t[i - 1] == '\n')) t[i] = '#';
    return t;
  }();
  return text;
}
#endif

void setBytes(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(iniText().size()));
  state.counters["KB"] = static_cast<double>(iniText().size()) / 1024.0;
}

void BM_kivLoadModel(benchmark::State& state) {
  const std::string& text = iniText();
  const KivClFilename name("bench-never-opened.ini");
  for (auto _ : state) {
    KivClIniFile ini(name);
    const bool ok = ini.loadFromBuffer(text.data(), text.size(), '\n', true, false);
    benchmark::DoNotOptimize(ok);
    benchmark::DoNotOptimize(ini.getFirstSection());
  }
  setBytes(state);
}

#if KIV_BENCH_HAVE_INIH
struct InihCounts {
  long sections = 0;
  long options = 0;
  const char* lastSection = nullptr;
};

int inihCount(void* user, const char* section, const char* name, const char* value) {
  auto* counts = static_cast<InihCounts*>(user);
  if (section != counts->lastSection) ++counts->sections;
  counts->lastSection = section;
  counts->options += (name != nullptr && value != nullptr) ? 1 : 0;
  return 1;
}

void BM_inihCallbackTokenizer(benchmark::State& state) {
  const std::string& text = iniText();
  for (auto _ : state) {
    InihCounts counts;
    const int error = ini_parse_string(text.c_str(), &inihCount, &counts);
    benchmark::DoNotOptimize(error);
    benchmark::DoNotOptimize(counts.options);
  }
  setBytes(state);
}

void BM_inihINIReader(benchmark::State& state) {
  const std::string& text = iniText();
  for (auto _ : state) {
    INIReader reader(text.data(), text.size());
    benchmark::DoNotOptimize(reader.ParseError());
  }
  setBytes(state);
}
#endif

#if KIV_BENCH_HAVE_GLIB
void BM_glibKeyFile(benchmark::State& state) {
  const std::string& text = keyFileText();
  for (auto _ : state) {
    GKeyFile* file = g_key_file_new();
    const gboolean ok =
        g_key_file_load_from_data(file, text.data(), text.size(), G_KEY_FILE_NONE, nullptr);
    benchmark::DoNotOptimize(ok);
    g_key_file_free(file);
  }
  setBytes(state);
}
#endif

// One lookup of an option in the middle of the file.
const char* const gs_pszSection = "component_100";
const char* const gs_pszOption = "option_10";

void BM_kivLookup(benchmark::State& state) {
  const std::string& text = iniText();
  KivClIniFile ini(KivClFilename("bench-never-opened.ini"));
  ini.loadFromBuffer(text.data(), text.size(), '\n', true, false);
  const char* value = nullptr;
  for (auto _ : state) {
    const bool found = ini.getSection(gs_pszSection) && ini.getOption(gs_pszOption, value);
    benchmark::DoNotOptimize(found);
    benchmark::DoNotOptimize(value);
  }
}

#if KIV_BENCH_HAVE_INIH
void BM_inihINIReaderLookup(benchmark::State& state) {
  const std::string& text = iniText();
  INIReader reader(text.data(), text.size());
  for (auto _ : state) {
    std::string value = reader.Get(gs_pszSection, gs_pszOption, "");
    benchmark::DoNotOptimize(value);
  }
}
#endif

#if KIV_BENCH_HAVE_GLIB
void BM_glibKeyFileLookup(benchmark::State& state) {
  const std::string& text = keyFileText();
  GKeyFile* file = g_key_file_new();
  g_key_file_load_from_data(file, text.data(), text.size(), G_KEY_FILE_NONE, nullptr);
  for (auto _ : state) {
    gchar* value = g_key_file_get_value(file, gs_pszSection, gs_pszOption, nullptr);
    benchmark::DoNotOptimize(value);
    g_free(value);
  }
  g_key_file_free(file);
}
#endif

BENCHMARK(BM_kivLoadModel)->Unit(benchmark::kMicrosecond);
#if KIV_BENCH_HAVE_INIH
BENCHMARK(BM_inihCallbackTokenizer)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_inihINIReader)->Unit(benchmark::kMicrosecond);
#endif
#if KIV_BENCH_HAVE_GLIB
BENCHMARK(BM_glibKeyFile)->Unit(benchmark::kMicrosecond);
#endif
BENCHMARK(BM_kivLookup);
#if KIV_BENCH_HAVE_INIH
BENCHMARK(BM_inihINIReaderLookup);
#endif
#if KIV_BENCH_HAVE_GLIB
BENCHMARK(BM_glibKeyFileLookup);
#endif

}  // namespace

int main(int argc, char** argv) {
  const bool inih = KIV_BENCH_HAVE_INIH;
  const bool glib = KIV_BENCH_HAVE_GLIB;
  std::vector<std::pair<std::string, std::string>> pairs;
  if (inih) pairs.emplace_back("BM_kivLoadModel", "BM_inihCallbackTokenizer");
  if (inih) pairs.emplace_back("BM_kivLoadModel", "BM_inihINIReader");
  if (glib) pairs.emplace_back("BM_kivLoadModel", "BM_glibKeyFile");
  if (inih) pairs.emplace_back("BM_kivLookup", "BM_inihINIReaderLookup");
  if (glib) pairs.emplace_back("BM_kivLookup", "BM_glibKeyFileLookup");
  std::vector<kivbench::Skipped> skipped;
  if (!inih) skipped.push_back({"INI loading and lookup beside inih", "libinih-dev"});
  if (!glib) skipped.push_back({"INI loading and lookup beside GLib's GKeyFile", "libglib2.0-dev"});
  return kivbench::runWithRatios(argc, argv, pairs, false, skipped);
}
