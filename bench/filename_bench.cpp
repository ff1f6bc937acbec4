// File names against std::filesystem::path on the same names:
//   - part determination: take a name text and read its name part, base
//     name, extension and directory;
//   - composition: directory + name + extension into one name;
//   - changing the extension of an existing name;
//   - copying a name.
// Argument 0 is a short name, 1 a long one (about 200 characters).

#include <cstring>
#include <filesystem>
#include <string>

#include "kiv_bench_ratio.hpp"
#include "kiv_filename.hpp"

namespace {

namespace fs = std::filesystem;

struct Sample {
  const char* text;  // a whole name
  const char* directory;
  const char* name;
  const char* extension;
};

const std::string gs_longDirectory =
    "/srv/data/projects/" + std::string(120, 'p') + "/reports/2024/quarterly";
const std::string gs_longName = std::string(40, 'r') + "_summary.final";
const std::string gs_longText = gs_longDirectory + "/" + gs_longName + ".txt";

const Sample& sample(std::int64_t which) {
  static const Sample samples[] = {
      {"/usr/share/doc/README.txt", "/usr/share/doc", "README", "txt"},
      {gs_longText.c_str(), gs_longDirectory.c_str(), gs_longName.c_str(), "txt"},
  };
  return samples[which];
}

void BM_kivParts(benchmark::State& state) {
  const Sample& s = sample(state.range(0));
  char base[KIV_PATH_MAX_LENGTH + 1];
  char directory[KIV_PATH_MAX_LENGTH + 1];
  for (auto _ : state) {
    const KivClFilenameABase f(s.text);
    f.extractBaseName(base);
    f.extractPath(directory, false);
    benchmark::DoNotOptimize(f.getName());
    benchmark::DoNotOptimize(f.getExtension());
    benchmark::DoNotOptimize(base);
    benchmark::DoNotOptimize(directory);
  }
}

void BM_stdParts(benchmark::State& state) {
  const Sample& s = sample(state.range(0));
  for (auto _ : state) {
    const fs::path p(s.text);
    fs::path name = p.filename();
    fs::path base = p.stem();
    fs::path extension = p.extension();
    fs::path directory = p.parent_path();
    benchmark::DoNotOptimize(name);
    benchmark::DoNotOptimize(base);
    benchmark::DoNotOptimize(extension);
    benchmark::DoNotOptimize(directory);
  }
}

void BM_kivCompose(benchmark::State& state) {
  const Sample& s = sample(state.range(0));
  for (auto _ : state) {
    const KivClFilenameABase f(s.directory, s.name, s.extension);
    benchmark::DoNotOptimize(f.getAsCString());
    benchmark::DoNotOptimize(f.getExtension());
  }
}

void BM_stdCompose(benchmark::State& state) {
  const Sample& s = sample(state.range(0));
  for (auto _ : state) {
    fs::path p(s.directory);
    p /= s.name;
    p += ".";
    p += s.extension;
    benchmark::DoNotOptimize(p.c_str());
  }
}

void BM_kivSetExtension(benchmark::State& state) {
  const Sample& s = sample(state.range(0));
  KivClFilename f(s.text);
  bool flip = false;
  for (auto _ : state) {
    f.setNewExtension(flip ? "txt" : "doc");
    flip = !flip;
    benchmark::DoNotOptimize(f.getAsCString());
  }
}

void BM_stdSetExtension(benchmark::State& state) {
  const Sample& s = sample(state.range(0));
  fs::path p(s.text);
  bool flip = false;
  for (auto _ : state) {
    p.replace_extension(flip ? "txt" : "doc");
    flip = !flip;
    benchmark::DoNotOptimize(p.c_str());
  }
}

void BM_kivCopy(benchmark::State& state) {
  const KivClFilenameABase source(sample(state.range(0)).text);
  for (auto _ : state) {
    const KivClFilenameABase copy(source);
    benchmark::DoNotOptimize(copy.getName());
  }
}

void BM_stdCopy(benchmark::State& state) {
  const fs::path source(sample(state.range(0)).text);
  for (auto _ : state) {
    const fs::path copy(source);
    benchmark::DoNotOptimize(copy.c_str());
  }
}

BENCHMARK(BM_kivParts)->Arg(0)->Arg(1);
BENCHMARK(BM_stdParts)->Arg(0)->Arg(1);
BENCHMARK(BM_kivCompose)->Arg(0)->Arg(1);
BENCHMARK(BM_stdCompose)->Arg(0)->Arg(1);
BENCHMARK(BM_kivSetExtension)->Arg(0)->Arg(1);
BENCHMARK(BM_stdSetExtension)->Arg(0)->Arg(1);
BENCHMARK(BM_kivCopy)->Arg(0)->Arg(1);
BENCHMARK(BM_stdCopy)->Arg(0)->Arg(1);

}  // namespace

KIV_BENCH_MAIN({{"BM_kivParts/0", "BM_stdParts/0"},
                {"BM_kivParts/1", "BM_stdParts/1"},
                {"BM_kivCompose/0", "BM_stdCompose/0"},
                {"BM_kivCompose/1", "BM_stdCompose/1"},
                {"BM_kivSetExtension/0", "BM_stdSetExtension/0"},
                {"BM_kivSetExtension/1", "BM_stdSetExtension/1"},
                {"BM_kivCopy/0", "BM_stdCopy/0"},
                {"BM_kivCopy/1", "BM_stdCopy/1"}})
