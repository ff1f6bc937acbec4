// Directory walks over a generated tree (40 directories of 75 files each,
// about 3,100 entries) beside a plain readdir + fstatat loop and
// std::filesystem::directory_iterator; then, for the record, the relative
// expansion of a directory text and the composition of a file name from a
// location, each beside the standard library's path operations.
//
// Every walk visits the same tree recursively, looks at each entry's type
// from a stat of it and counts files and directories. The tree is made in a
// temporary directory before the first benchmark and removed at exit.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "kiv_bench_ratio.hpp"
#include "kiv_directory.hpp"
#include "kiv_dirwalk.hpp"
#include "kiv_filename.hpp"
#include "kiv_location.hpp"

namespace {

namespace fs = std::filesystem;

constexpr int kDirectories = 40;
constexpr int kFilesPerDirectory = 75;

// The generated tree, made once and removed when the program ends.
class Tree {
 public:
  Tree() {
    const char* base = std::getenv("TMPDIR");
    // mkdtemp wants the name to end in six X, which it replaces.
    std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") +
                          "/kivbench." + std::string(6, 'X');
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    m_root = pattern;
    for (int d = 0; d < kDirectories; ++d) {
      const std::string dir = m_root + "/dir" + std::to_string(d);
      fs::create_directory(dir);
      for (int f = 0; f < kFilesPerDirectory; ++f)
        std::ofstream(dir + "/file" + std::to_string(f) + ".dat") << "x";
    }
  }
  ~Tree() {
    std::error_code ec;
    fs::remove_all(m_root, ec);
  }
  const std::string& root() const { return m_root; }

 private:
  std::string m_root;
};

const Tree& tree() {
  static const Tree instance;
  return instance;
}

struct Counts {
  long files = 0;
  long directories = 0;
};

// Ours: a walk per directory, descending into subdirectories by name.
void walkKiv(const KivClLocation& location, Counts& counts) {
  KivClDirectoryWalk walk(location);
  for (; walk.isValid(); walk.setToNext()) {
    if (walk.isSubDirectory()) {
      ++counts.directories;
      KivClLocation sub(walk.getNameWithPath());
      walkKiv(sub, counts);
    } else if (!walk.isDirectory()) {
      ++counts.files;
    }
  }
}

// The peer a C programmer writes: readdir and fstatat on the open directory.
void walkReaddir(int parent, const char* name, Counts& counts) {
  const int fd = openat(parent, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  DIR* dir = fdopendir(fd);
  if (dir == nullptr) {
    close(fd);
    return;
  }
  while (const dirent* entry = readdir(dir)) {
    struct stat status {};
    if (fstatat(dirfd(dir), entry->d_name, &status, 0) != 0) continue;
    if (S_ISDIR(status.st_mode)) {
      if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
      ++counts.directories;
      walkReaddir(dirfd(dir), entry->d_name, counts);
    } else {
      ++counts.files;
    }
  }
  closedir(dir);
}

// The C++ peer with a stat of every entry (status()).
void walkFilesystemStatus(const fs::path& path, Counts& counts) {
  for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
    if (fs::is_directory(entry.status())) {
      ++counts.directories;
      walkFilesystemStatus(entry.path(), counts);
    } else {
      ++counts.files;
    }
  }
}

// The C++ peer as usually written: the type the directory read reported,
// without a stat of each entry.
void walkFilesystemCachedType(const fs::path& path, Counts& counts) {
  for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
    if (entry.is_directory()) {
      ++counts.directories;
      walkFilesystemCachedType(entry.path(), counts);
    } else {
      ++counts.files;
    }
  }
}

void report(benchmark::State& state, const Counts& counts) {
  state.counters["files"] = static_cast<double>(counts.files);
  state.counters["dirs"] = static_cast<double>(counts.directories);
  state.SetItemsProcessed(state.iterations() * (counts.files + counts.directories));
}

void BM_WalkKiv(benchmark::State& state) {
  const KivClLocation root(tree().root().c_str());
  Counts counts;
  for (auto _ : state) {
    counts = Counts();
    walkKiv(root, counts);
    benchmark::DoNotOptimize(counts);
  }
  report(state, counts);
}
BENCHMARK(BM_WalkKiv);

void BM_WalkReaddirFstatat(benchmark::State& state) {
  Counts counts;
  for (auto _ : state) {
    counts = Counts();
    walkReaddir(AT_FDCWD, tree().root().c_str(), counts);
    benchmark::DoNotOptimize(counts);
  }
  report(state, counts);
}
BENCHMARK(BM_WalkReaddirFstatat);

void BM_WalkStdFilesystemStatus(benchmark::State& state) {
  const fs::path root = tree().root();
  Counts counts;
  for (auto _ : state) {
    counts = Counts();
    walkFilesystemStatus(root, counts);
    benchmark::DoNotOptimize(counts);
  }
  report(state, counts);
}
BENCHMARK(BM_WalkStdFilesystemStatus);

void BM_WalkStdFilesystemCachedType(benchmark::State& state) {
  const fs::path root = tree().root();
  Counts counts;
  for (auto _ : state) {
    counts = Counts();
    walkFilesystemCachedType(root, counts);
    benchmark::DoNotOptimize(counts);
  }
  report(state, counts);
}
BENCHMARK(BM_WalkStdFilesystemCachedType);

// ---------------------------------------------------------------------------
// Per call: relative expansion and name composition
// ---------------------------------------------------------------------------

constexpr const char* kRelativeText = "/usr/local/share/../lib/./kiv/../../include/kiv/";

void BM_ExpandRelativeKiv(benchmark::State& state) {
  char buffer[KIV_PATH_MAX_LENGTH + 1];
  for (auto _ : state) {
    std::strcpy(buffer, kRelativeText);
    benchmark::DoNotOptimize(KivClFileABase::expandRelativePath(buffer));
    benchmark::DoNotOptimize(buffer);
  }
}
BENCHMARK(BM_ExpandRelativeKiv);

void BM_ExpandRelativeStdLexicallyNormal(benchmark::State& state) {
  for (auto _ : state) {
    fs::path path(kRelativeText);
    benchmark::DoNotOptimize(path.lexically_normal());
  }
}
BENCHMARK(BM_ExpandRelativeStdLexicallyNormal);

void BM_ComposeNameKiv(benchmark::State& state) {
  const KivClLocation location("/usr/local/share/kiv/");
  for (auto _ : state) {
    KivClFilename name(location.getAsCString(), "message", "cat");
    benchmark::DoNotOptimize(name.getAsCString());
  }
}
BENCHMARK(BM_ComposeNameKiv);

void BM_ComposeNameStdPath(benchmark::State& state) {
  const fs::path location("/usr/local/share/kiv/");
  for (auto _ : state) {
    fs::path name = location / "message";
    name += ".cat";
    benchmark::DoNotOptimize(name.c_str());
  }
}
BENCHMARK(BM_ComposeNameStdPath);

}  // namespace

KIV_BENCH_MAIN({{"BM_WalkKiv", "BM_WalkReaddirFstatat"},
                {"BM_WalkKiv", "BM_WalkStdFilesystemStatus"},
                {"BM_WalkKiv", "BM_WalkStdFilesystemCachedType"},
                {"BM_ExpandRelativeKiv", "BM_ExpandRelativeStdLexicallyNormal"},
                {"BM_ComposeNameKiv", "BM_ComposeNameStdPath"}})
