// kivini end to end: how a file is replaced. The new file is written beside
// the old one and renamed over it, keeps its mode, owner and group, and is
// never made from a file the caller may not write; a failure leaves the old
// file and no temporary file behind.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "kivini_test_support.hpp"

namespace {

using kivinitest::entries;
using kivtest::statusOf;
using kivinitest::errorDisplay;
using kivinitest::exists;
using kivinitest::kBell;
using kivinitest::readAll;
using kivinitest::Result;
using kivinitest::run;
using kivinitest::runWithoutRootRights;
using kivinitest::writeAll;

const char* const kOriginal = "# settings\n[server]\nport = 8443\n";
const char* const kChanged = "# settings\n[server]\nport = 1\n";

class KiviniFileTest : public ::testing::Test {
 protected:
  void SetUp() override { writeAll(file(), kOriginal); }

  std::string file() const { return dir / "server.ini"; }
  std::string contents() const { return readAll(file()); }

  void expectDone(const Result& result) {
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitCode, 0);
  }

  kivtest::TempDir dir;
};

TEST_F(KiviniFileTest, ReplacesTheFileWithANewOneAndLeavesNoTemporaryFile) {
  const ino_t before = statusOf(file()).st_ino;
  expectDone(run({"-set", "server.ini", "server", "port", "1"}, dir.path()));
  EXPECT_EQ(contents(), kChanged);
  EXPECT_NE(statusOf(file()).st_ino, before);
  EXPECT_EQ(entries(dir.path()), std::vector<std::string>{"server.ini"});
}

TEST_F(KiviniFileTest, KeepsThePermissionBitsOfTheFile) {
  for (const mode_t mode : {0640u, 0600u, 0755u, 0444u}) {
    SCOPED_TRACE(mode);
    writeAll(file(), kOriginal);
    ASSERT_EQ(::chmod(file().c_str(), mode), 0);
    const Result result = run({"-set", "server.ini", "server", "port", "1"}, dir.path());
    if (::geteuid() != 0 && mode == 0444u) continue;  // not writable: see below
    expectDone(result);
    EXPECT_EQ(statusOf(file()).st_mode & 07777, mode);
    EXPECT_EQ(contents(), kChanged);
  }
}

TEST_F(KiviniFileTest, KeepsOwnerAndGroupWhereTheCallerMaySetThem) {
  uid_t owner = ::geteuid();
  gid_t group = ::getegid();
  if (owner == 0) {
    // Root may give the file to anyone: the new file goes back to them.
    owner = 1234;
    group = 5678;
  } else {
    // Others may set one of their own groups.
    std::vector<gid_t> groups(static_cast<std::size_t>(::getgroups(0, nullptr)));
    if (!groups.empty() && ::getgroups(static_cast<int>(groups.size()), groups.data()) > 0) {
      group = groups.back();
    }
  }
  ASSERT_EQ(::chown(file().c_str(), owner, group), 0);
  ASSERT_EQ(::chmod(file().c_str(), 0664), 0);
  expectDone(run({"-set", "server.ini", "server", "port", "1"}, dir.path()));
  const struct stat status = statusOf(file());
  EXPECT_EQ(status.st_uid, owner);
  EXPECT_EQ(status.st_gid, group);
  EXPECT_EQ(status.st_mode & 07777, 0664u);
  EXPECT_EQ(contents(), kChanged);
}

TEST_F(KiviniFileTest, ANewFileGetsTheModeOfTheUmask) {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  expectDone(run({"-set", "new.ini", "s", "k", "v"}, dir.path()));
  EXPECT_EQ(statusOf(dir / "new.ini").st_mode & 07777, 0666u & ~mask);
}

TEST_F(KiviniFileTest, RefusesAFileTheCallerMayNotWriteEvenInAWritableDirectory) {
  // The directory is open to everyone; the file is not writable for the
  // user kivini runs as (root's rights would write any file).
  ASSERT_EQ(::chmod(dir.path().c_str(), 0777), 0);
  ASSERT_EQ(::chmod(file().c_str(), ::geteuid() == 0 ? 0644 : 0444), 0);
  const Result result =
      runWithoutRootRights({"-set", "server.ini", "server", "port", "1"}, dir.path());
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, errorDisplay("The file may not be written; it was not changed: "
                                     "server.ini: Permission denied") +
                            kBell);
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(contents(), kOriginal);
  EXPECT_EQ(entries(dir.path()), std::vector<std::string>{"server.ini"});
  // Asking for what the file holds already replaces nothing, and succeeds.
  expectDone(runWithoutRootRights({"-set", "server.ini", "server", "port", "8443"}, dir.path()));
}

TEST_F(KiviniFileTest, NamesTheDirectoryWhenNoFileCanBeCreatedInIt) {
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  const std::string locked = dir / "locked";
  ASSERT_EQ(::mkdir(locked.c_str(), 0755), 0);
  writeAll(locked + "/server.ini", kOriginal);
  ASSERT_EQ(::chmod((locked + "/server.ini").c_str(), 0666), 0);
  ASSERT_EQ(::chmod(locked.c_str(), 0555), 0);
  const Result result =
      runWithoutRootRights({"-set", "locked/server.ini", "server", "port", "1"}, dir.path());
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            errorDisplay("Cannot create a file in the directory; the file was not changed: "
                         "locked: Permission denied") +
                kBell);
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(readAll(locked + "/server.ini"), kOriginal);
  EXPECT_EQ(entries(locked), std::vector<std::string>{"server.ini"});
}

TEST_F(KiviniFileTest, ReplacesTheFileASymbolicLinkLeadsToAndKeepsTheLink) {
  ASSERT_EQ(::mkdir((dir / "real").c_str(), 0700), 0);
  ASSERT_EQ(::rename(file().c_str(), (dir / "real/server.ini").c_str()), 0);
  ASSERT_EQ(::symlink("real/server.ini", file().c_str()), 0);
  expectDone(run({"-set", "server.ini", "server", "port", "1"}, dir.path()));
  char target[64] = {};
  ASSERT_GT(::readlink(file().c_str(), target, sizeof(target) - 1), 0);
  EXPECT_STREQ(target, "real/server.ini");
  EXPECT_EQ(readAll(dir / "real/server.ini"), kChanged);
  EXPECT_EQ(entries(dir / "real"), std::vector<std::string>{"server.ini"});
  EXPECT_EQ(entries(dir.path()), (std::vector<std::string>{"real", "server.ini"}));
}

TEST_F(KiviniFileTest, AWriteThatFailsLeavesTheFileAsItWas) {
  // A file-size limit below the new text's size: writing the new file fails
  // (SIGXFSZ ignored, so write() reports EFBIG).
  std::string big = "[server]\nport = 8443\n";
  for (int i = 0; i < 200; ++i) big += "option" + std::to_string(i) + " = some value\n";
  writeAll(file(), big);
  kivtest::ChildRun childRun =
      kivinitest::kiviniRun({"-set", "server.ini", "server", "port", "1"}, dir.path());
  const Result result = kivtest::runInFork(
      [&childRun] {
        const rlimit limit{1024, 1024};
        signal(SIGXFSZ, SIG_IGN);
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(126);
        std::vector<char*> argv;
        for (const std::string& a : childRun.argv) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execv(childRun.program.c_str(), argv.data());
        _exit(127);
      },
      childRun);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, errorDisplay("Cannot write the file; it was not changed: server.ini: "
                                     "File too large") +
                            kBell);
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(contents(), big);
  EXPECT_EQ(entries(dir.path()), std::vector<std::string>{"server.ini"});
}

TEST_F(KiviniFileTest, RefusesToReplaceADirectory) {
  const Result folder = run({"-set", ".", "s", "k", "v"}, dir.path());
  EXPECT_EQ(folder.out, "");
  EXPECT_EQ(folder.err, errorDisplay("Cannot read the file: .: Is a directory") + kBell);
  EXPECT_EQ(folder.exitCode, 4);
}

}  // namespace
