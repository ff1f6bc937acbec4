// Files and directories: the parts of a file name, a directory made with its
// parents, a file written and read back, and a walk over a directory. Objects
// that can fail return bool and keep the reason in getLastError(); none throws.

#include <kiv_directory.hpp>
#include <kiv_dirwalk.hpp>
#include <kiv_file.hpp>
#include <kiv_filename.hpp>
#include <kiv_location.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

// The steps inside the example's own directory `top`; returns the exit status.
int work(const KivClDirectory& top) {
  const auto fail = [](const char* what, const _KivStError& error) {
    std::fprintf(stderr, "%s failed: error %ld, class %d\n", what, error.id,
                 static_cast<int>(error.errorClass));
    return 1;
  };
  const std::size_t topLength = std::string(top.getAsCString()).size();  // printed relative

  // create() makes every missing directory of the text, like "mkdir -p";
  // detachLastSubDir() then steps up to the parent.
  KivClDirectory notes(top);
  if (!notes.attachSubDir(KivClLocation("data/notes/drafts")) || !notes.create() ||
      !notes.detachLastSubDir()) {
    return fail("creating data/notes/drafts", notes.getLastError());
  }
  std::printf("made data/notes/drafts/, stepped up to %s\n", notes.getAsCString() + topLength);

  // The library names and inspects files; the standard streams read and
  // write them.
  KivClFile hello(KivClFilename(notes.getLocation(), "hello", "txt"));
  if (!(std::ofstream(hello.getAsCString()) << "Hello, files!\n")) return 1;
  std::string line;
  if (!std::getline(std::ifstream(hello.getAsCString()), line)) return 1;
  std::printf("wrote %s: %llu bytes, type \"%s\", read back \"%s\"\n",
              hello.getAsCString() + topLength,
              static_cast<unsigned long long>(hello.getFileSize()), hello.getFileType(),
              line.c_str());
  const KivClFilename copyName(notes.getLocation(), "copy", "txt");
  if (!hello.copyTo(copyName)) return fail("copying hello.txt", hello.getLastError());
  KivClFile(copyName).setReadOnly(true);  // mode 0440

  // A walk visits the entries in the system's order, "." and ".." included;
  // sorting them gives a stable listing.
  std::vector<std::string> entries;
  KivClDirectoryWalk walk(notes);
  if (!walk.isValid()) return fail("walking data/notes", walk.getLastError());
  for (; walk.isValid(); walk.setToNext()) {
    if (walk.isCurrentDirectory() || walk.isParentDirectory()) continue;
    entries.push_back(std::string(walk.getNameWithoutPath()) +
                      (walk.isSubDirectory() ? "/" : walk.isReadOnly() ? " (read-only)" : ""));
  }
  std::sort(entries.begin(), entries.end());
  std::printf("entries of %s:\n", notes.getAsCString() + topLength);
  for (const std::string& entry : entries) std::printf("  %s\n", entry.c_str());
  return 0;
}

}  // namespace

int main() {
  // A file name is a value; its parts point into the name's own buffer.
  KivClFilename name("reports/2024/summary.tar.gz");
  char directory[KIV_PATH_MAX_LENGTH + 1];
  name.extractPath(directory, false);
  std::printf("name %s: directory %s, name part %s, extension %s\n", name.getAsCString(),
              directory, name.getName(), name.getExtension());
  name.setNewPath("archive");  // keeps "summary.tar.gz"
  std::printf("moved: %s, its backup name: %s\n", name.getAsCString(),
              KivClBakFilename(name).getAsCString());

  const char* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/kivXXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) return 1;
  KivClDirectory top(pattern.c_str());  // made absolute; the text ends with "/"
  const int status = work(top);
  // removeAll(true) removes the whole tree, then the directory itself.
  if (!top.removeAll(true)) return 1;
  std::printf("removed the directory: %s\n", top.isExistent() ? "no" : "yes");
  return status;
}
