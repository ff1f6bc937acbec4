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
#include <INIReader.h>
#include <glib.h>
#include <ini.h>

#include <cstdio>
#include <string>

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

void BM_inihINIReaderLookup(benchmark::State& state) {
  const std::string& text = iniText();
  INIReader reader(text.data(), text.size());
  for (auto _ : state) {
    std::string value = reader.Get(gs_pszSection, gs_pszOption, "");
    benchmark::DoNotOptimize(value);
  }
}

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

BENCHMARK(BM_kivLoadModel)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_inihCallbackTokenizer)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_inihINIReader)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_glibKeyFile)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_kivLookup);
BENCHMARK(BM_inihINIReaderLookup);
BENCHMARK(BM_glibKeyFileLookup);

}  // namespace

KIV_BENCH_MAIN({{"BM_kivLoadModel", "BM_inihCallbackTokenizer"},
                {"BM_kivLoadModel", "BM_inihINIReader"},
                {"BM_kivLoadModel", "BM_glibKeyFile"},
                {"BM_kivLookup", "BM_inihINIReaderLookup"},
                {"BM_kivLookup", "BM_glibKeyFileLookup"}})
