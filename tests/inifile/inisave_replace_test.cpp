// Tests of saveReplacing(): the model is written as save() writes it, but to
// a temporary file that replaces the file only when it is complete, so that
// a failed write keeps the old file, where save() leaves a truncated one.
#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "inifile_test_support.hpp"
#include "kiv_child_support.hpp"
#include "kiv_inisave.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::loadText;
using kivtest::readFile;
using kivtest::statusOf;
using kivtest::directoryEntries;
using kivtest::writeFile;

const char* const kOriginal = "; settings\n[server]\nhost = example.org ; where\nport = 8443\n";

class IniSaveReplacingTest : public ::testing::Test {
 protected:
  void SetUp() override { writeFile(path, kOriginal); }

  // A writer on `file` holding the original with port changed.
  static void loadChanged(KivClIniFileSave& writer) {
    ASSERT_TRUE(loadText(writer, kOriginal));
    ASSERT_TRUE(writer.setNewValue("server", "port", "9443"));
  }

  kivtest::TempDir dir;
  std::string path = dir / "settings.ini";
};

TEST_F(IniSaveReplacingTest, WritesTheModelAsSaveDoes) {
  KivClIniFileSave replacing{KivClFilename(path.c_str())};
  loadChanged(replacing);
  ASSERT_TRUE(replacing.saveReplacing());

  const std::string other = dir / "other.ini";
  {
    KivClIniFileSave saving{KivClFilename(other.c_str())};
    loadChanged(saving);
    ASSERT_TRUE(saving.save());
  }
  EXPECT_EQ(readFile(path), readFile(other));
  EXPECT_EQ(readFile(path), "\n[server]\nhost\t= example.org\t; where\nport\t= 9443\n");
  EXPECT_EQ(directoryEntries(dir.path()), (std::vector<std::string>{"other.ini", "settings.ini"}));
}

TEST_F(IniSaveReplacingTest, ReplacesTheFileInsteadOfWritingIntoIt) {
  const ino_t before = statusOf(path).st_ino;
  // A hard link keeps the old contents: the file is a new one.
  const std::string link = dir / "link.ini";
  ASSERT_EQ(::link(path.c_str(), link.c_str()), 0);
  KivClIniFileSave writer{KivClFilename(path.c_str())};
  loadChanged(writer);
  ASSERT_TRUE(writer.saveReplacing());
  EXPECT_NE(statusOf(path).st_ino, before);
  EXPECT_EQ(readFile(link), kOriginal);
}

TEST_F(IniSaveReplacingTest, CanBeRepeatedAndLeavesTheWritersOwnStreamAlone) {
  KivClIniFileSave writer{KivClFilename(path.c_str())};
  loadChanged(writer);
  ASSERT_TRUE(writer.saveReplacing());
  ASSERT_TRUE(writer.setNewValue("server", "port", "1"));
  ASSERT_TRUE(writer.saveReplacing());
  EXPECT_EQ(readFile(path), "\n[server]\nhost\t= example.org\t; where\nport\t= 1\n");
  // The item writers still open the file themselves on their first item.
  std::ofstream stream;
  ASSERT_TRUE(writer.saveSection(stream, "only", nullptr));
  stream.close();
  EXPECT_EQ(readFile(path), "\n[only]\n");
}

TEST_F(IniSaveReplacingTest, KeepsModeOwnerAndGroup) {
  uid_t owner = ::geteuid();
  gid_t group = ::getegid();
  if (owner == 0) {
    owner = 4321;
    group = 8765;
  }
  ASSERT_EQ(::chown(path.c_str(), owner, group), 0);
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  KivClIniFileSave writer{KivClFilename(path.c_str())};
  loadChanged(writer);
  ASSERT_TRUE(writer.saveReplacing());
  const struct stat status = statusOf(path);
  EXPECT_EQ(status.st_uid, owner);
  EXPECT_EQ(status.st_gid, group);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST_F(IniSaveReplacingTest, AFailedWriteKeepsTheFileWhereSaveTruncatesIt) {
  // Under a file-size limit smaller than the new contents, save() has
  // already emptied its file when the write fails; saveReplacing() fails
  // without touching its own.
  const std::string truncated = dir / "truncated.ini";
  writeFile(truncated, kOriginal);
  const kivtest::ChildResult result = kivtest::runInFork([&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{20, 20};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(100);
    KivClIniFileSave saving{KivClFilename(truncated.c_str())};
    loadChanged(saving);
    if (saving.save()) _exit(1);
    KivClIniFileSave replacing{KivClFilename(path.c_str())};
    loadChanged(replacing);
    _exit(replacing.saveReplacing() ? 2 : 0);
  });
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(readFile(path), kOriginal);
  EXPECT_NE(readFile(truncated), kOriginal);
  EXPECT_LE(readFile(truncated).size(), 20u);
  EXPECT_EQ(directoryEntries(dir.path()), (std::vector<std::string>{"settings.ini", "truncated.ini"}));
}

TEST_F(IniSaveReplacingTest, RefusesAFileTheCallerMayNotWrite) {
  ASSERT_EQ(::chmod(dir.path().c_str(), 0777), 0);
  ASSERT_EQ(::chmod(path.c_str(), ::geteuid() == 0 ? 0644 : 0444), 0);
  const kivtest::ChildResult result = kivtest::runInFork([this] {
    if (::geteuid() == 0 &&
        (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)) {
      _exit(100);
    }
    KivClIniFileSave writer{KivClFilename(path.c_str())};
    loadChanged(writer);
    _exit(writer.saveReplacing() ? 1 : 0);
  });
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(readFile(path), kOriginal);
  EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{"settings.ini"});
}

TEST_F(IniSaveReplacingTest, CreatesAMissingFileAndFailsInAMissingDirectory) {
  const std::string fresh = dir / "fresh.ini";
  KivClIniFileSave writer{KivClFilename(fresh.c_str())};
  loadChanged(writer);
  ASSERT_TRUE(writer.saveReplacing());
  EXPECT_EQ(readFile(fresh), "\n[server]\nhost\t= example.org\t; where\nport\t= 9443\n");

  KivClIniFileSave nowhere{KivClFilename((dir / "nodir/x.ini").c_str())};
  loadChanged(nowhere);
  EXPECT_FALSE(nowhere.saveReplacing());
  EXPECT_FALSE(std::filesystem::exists(dir / "nodir"));
}

TEST_F(IniSaveReplacingTest, ReplacesTheFileASymbolicLinkLeadsTo) {
  ASSERT_EQ(::mkdir((dir / "real").c_str(), 0700), 0);
  ASSERT_EQ(::rename(path.c_str(), (dir / "real/settings.ini").c_str()), 0);
  ASSERT_EQ(::symlink("real/settings.ini", path.c_str()), 0);
  KivClIniFileSave writer{KivClFilename(path.c_str())};
  loadChanged(writer);
  ASSERT_TRUE(writer.saveReplacing());
  struct stat link {};
  ASSERT_EQ(::lstat(path.c_str(), &link), 0);
  EXPECT_TRUE(S_ISLNK(link.st_mode));
  EXPECT_EQ(readFile(dir / "real/settings.ini"),
            "\n[server]\nhost\t= example.org\t; where\nport\t= 9443\n");
}

}  // namespace
