// Descriptors the library opens never reach the programs it launches.
//
// After each kind of open (INI files written and read, the quiet console
// stream, message catalogs, directory walks, dynamic libraries) a program
// is launched with KivClNewSyncProcess: a shell that lists its own open
// descriptors into a file. It must see exactly what a program launched
// before the open saw, and none of the descriptors the open added to this
// process.

#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "../message/msg_test_helpers.hpp"
#include "kiv_conuiparams.hpp"
#include "kiv_dirwalk.hpp"
#include "kiv_dll.hpp"
#include "kiv_exefile.hpp"
#include "kiv_inisave.hpp"
#include "kiv_location.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_process.hpp"
#include "kiv_test_support.hpp"

namespace {

// The descriptors open in this process and what each leads to.
std::map<int, std::string> openDescriptors() {
  std::map<int, std::string> result;
  DIR* dir = ::opendir("/proc/self/fd");
  if (dir == nullptr) return result;
  while (const dirent* entry = ::readdir(dir)) {
    if (entry->d_name[0] == '.') continue;
    const int fd = std::atoi(entry->d_name);
    if (fd == ::dirfd(dir)) continue;
    char target[4096];
    const ssize_t length = ::readlink((std::string("/proc/self/fd/") + entry->d_name).c_str(),
                                      target, sizeof target - 1);
    if (length >= 0) result[fd] = std::string(target, static_cast<std::size_t>(length));
  }
  ::closedir(dir);
  return result;
}

// The descriptors of `after` that are new since `before`.
std::set<int> added(const std::map<int, std::string>& before,
                    const std::map<int, std::string>& after) {
  std::set<int> result;
  for (const auto& [fd, target] : after) {
    const auto old = before.find(fd);
    if (old == before.end() || old->second != target) result.insert(fd);
  }
  return result;
}

std::string describe(const std::set<int>& fds) {
  std::ostringstream text;
  for (const int fd : fds) text << fd << ' ';
  return text.str();
}

class CloseOnExecTest : public ::testing::Test {
 public:
  CloseOnExecTest() { m_baseline = seenByLaunchedProgram(); }

  // The descriptors that a shell launched by the library holds open.
  std::set<int> seenByLaunchedProgram() {
    const std::string listing = m_dir / "listing";
    const KivClExeFile shell("/bin/sh");
    KivClNewSyncProcess run(shell);
    run.addArgument("-c");
    run.addArgument(("ls /proc/$$/fd > '" + listing + "'").c_str());
    EXPECT_TRUE(run.launch());
    EXPECT_EQ(run.getExitCode(), 0);
    std::set<int> result;
    std::istringstream lines(kivtest::readFile(listing));
    for (int fd; lines >> fd;) result.insert(fd);
    return result;
  }

  // A program launched now sees what the first one saw, and none of
  // `library`.
  void expectLaunchedProgramSeesNone(const std::set<int>& library) {
    const std::set<int> seen = seenByLaunchedProgram();
    ASSERT_FALSE(seen.empty());
    EXPECT_EQ(seen, m_baseline) << "now: " << describe(seen) << "before: " << describe(m_baseline);
    for (const int fd : library) EXPECT_EQ(seen.count(fd), 0u) << "descriptor " << fd;
  }

 protected:
  kivtest::TempDir m_dir;
  std::set<int> m_baseline;
};

// ---------------------------------------------------------------------------
// INI files
// ---------------------------------------------------------------------------

TEST_F(CloseOnExecTest, IniFileSavedByTheWriter) {
  KivClIniFileSave ini{KivClFilename((m_dir / "member.ini").c_str())};
  ASSERT_TRUE(ini.addSection("s"));
  ASSERT_TRUE(ini.addOption("s", "k", "v"));
  const auto before = openDescriptors();
  ASSERT_TRUE(ini.save());
  const std::set<int> library = added(before, openDescriptors());
  ASSERT_EQ(library.size(), 1u) << "the writer keeps its stream open";
  expectLaunchedProgramSeesNone(library);
}

TEST_F(CloseOnExecTest, IniFileOpenedByTheWriterOnTheCallersStream) {
  KivClIniFileSave ini{KivClFilename((m_dir / "caller.ini").c_str())};
  std::ofstream stream;
  const auto before = openDescriptors();
  ASSERT_TRUE(ini.saveSection(stream, "s", nullptr));
  const std::set<int> library = added(before, openDescriptors());
  ASSERT_EQ(library.size(), 1u);
  expectLaunchedProgramSeesNone(library);
}

TEST_F(CloseOnExecTest, IniFileWhileItIsRead) {
  // The error handler runs while the parser holds the file open.
  kivtest::writeFile(m_dir / "read.ini", "[s]\nbad\n");
  struct Seen {
    CloseOnExecTest* test;
    std::map<int, std::string> before;
    std::set<int> library;
    bool called = false;
  } seen{this, openDescriptors(), {}};
  KivClIniFile ini{KivClFilename((m_dir / "read.ini").c_str())};
  ini.setErrorHandler(
      [](const _KivStError&, unsigned int, void* data) {
        auto* seen = static_cast<Seen*>(data);
        seen->called = true;
        seen->library = added(seen->before, openDescriptors());
        seen->test->expectLaunchedProgramSeesNone(seen->library);
        return true;
      },
      &seen);
  EXPECT_TRUE(ini.load(false));
  ASSERT_TRUE(seen.called);
  EXPECT_EQ(seen.library.size(), 1u);
}

// ---------------------------------------------------------------------------
// Console, catalogs, directories, dynamic libraries
// ---------------------------------------------------------------------------

TEST_F(CloseOnExecTest, QuietConsoleStream) {
  KivClConsoleUIParams params("prog");
  const auto before = openDescriptors();
  params.setQuietMode();
  const std::set<int> library = added(before, openDescriptors());
  ASSERT_EQ(library.size(), 1u);
  EXPECT_EQ(openDescriptors()[*library.begin()], "/dev/null");
  expectLaunchedProgramSeesNone(library);
}

TEST_F(CloseOnExecTest, MessageCatalog) {
  const msgtest::LocaleGuard locale;
  const std::string file = m_dir / "app.cat";
  msgtest::makeCatalog(file, "$set 1\n1 one\n");
  const auto before = openDescriptors();
  const KivClMessageCatalog catalog{KivClFilename(file.c_str())};
  ASSERT_TRUE(catalog.isOpen());
  // The catalog is mapped; no descriptor of it stays open.
  const std::set<int> library = added(before, openDescriptors());
  EXPECT_TRUE(library.empty()) << describe(library);
  expectLaunchedProgramSeesNone(library);
}

TEST_F(CloseOnExecTest, DirectoryWalk) {
  kivtest::writeFile(m_dir / "entry", "x");
  const auto before = openDescriptors();
  KivClDirectoryWalk walk(KivClLocation(m_dir.path().c_str()));
  ASSERT_TRUE(walk.isValid());
  const std::set<int> library = added(before, openDescriptors());
  ASSERT_EQ(library.size(), 1u);
  expectLaunchedProgramSeesNone(library);
}

TEST_F(CloseOnExecTest, DynamicLibrary) {
  const auto before = openDescriptors();
  const KivClDllFile dll(KIV_TEST_PLUGIN_PATH);
  ASSERT_NE(dll.getHandle(), nullptr);
  // The library is mapped; no descriptor of it stays open.
  const std::set<int> library = added(before, openDescriptors());
  EXPECT_TRUE(library.empty()) << describe(library);
  expectLaunchedProgramSeesNone(library);
}

}  // namespace
