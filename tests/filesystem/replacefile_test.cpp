// Tests of the safe file replacement: the file changes only at commit(),
// keeps its mode, owner and group, and every failure leaves it as it was
// and no temporary file behind.
#include "kiv_replacefile.hpp"

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kiv_child_support.hpp"
#include "kiv_test_support.hpp"

namespace {

using kiv::detail::FileReplacement;
using kivtest::readFile;
using kivtest::statusOf;
using kivtest::directoryEntries;
using kivtest::writeFile;
using Step = FileReplacement::Step;

bool write(FileReplacement& replacement, const std::string& text) {
  return replacement.write(text.data(), text.size());
}

// Runs `body` in a forked child that has no root rights (user and group
// 65534 when the test runs as root); the child's exit code is the result.
int withoutRootRights(const std::function<int()>& body) {
  const kivtest::ChildResult result = kivtest::runInFork([&body] {
    if (::geteuid() == 0 &&
        (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0)) {
      _exit(100);
    }
    _exit(body());
  });
  return result.exitCode;
}

class FileReplacementTest : public ::testing::Test {
 protected:
  void SetUp() override { writeFile(path, "old contents\n"); }

  kivtest::TempDir dir;
  std::string path = dir / "settings.ini";
};

TEST_F(FileReplacementTest, TheFileChangesOnlyWhenCommitted) {
  FileReplacement replacement(path.c_str());
  ASSERT_TRUE(replacement.begin());
  EXPECT_TRUE(replacement.existed());
  EXPECT_STREQ(replacement.targetName(), path.c_str());
  const std::string temporary = replacement.temporaryName();
  EXPECT_EQ(temporary.rfind(dir / ".settings.ini.", 0), 0u) << temporary;
  EXPECT_EQ(temporary.size(), (dir / ".settings.ini.").size() + 6);
  ASSERT_TRUE(write(replacement, "new "));
  ASSERT_TRUE(write(replacement, "contents\n"));
  EXPECT_EQ(readFile(path), "old contents\n");
  EXPECT_EQ(readFile(temporary), "new contents\n");

  ASSERT_TRUE(replacement.commit());
  EXPECT_EQ(readFile(path), "new contents\n");
  EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{"settings.ini"});
  EXPECT_EQ(replacement.failedStep(), Step::NONE);
  EXPECT_EQ(replacement.descriptor(), -1);
}

TEST_F(FileReplacementTest, DiscardAndTheDestructorLeaveTheFileAndRemoveTheTemporaryFile) {
  {
    FileReplacement replacement(path.c_str());
    ASSERT_TRUE(replacement.begin());
    ASSERT_TRUE(write(replacement, "lost"));
    replacement.discard();
    EXPECT_EQ(replacement.descriptor(), -1);
    EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{"settings.ini"});
    ASSERT_TRUE(replacement.begin());
    ASSERT_TRUE(write(replacement, "lost too"));
  }
  EXPECT_EQ(readFile(path), "old contents\n");
  EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{"settings.ini"});
}

TEST_F(FileReplacementTest, TheTemporaryFileIsCloseOnExecAndPrivate) {
  FileReplacement replacement(path.c_str());
  ASSERT_TRUE(replacement.begin());
  const int flags = ::fcntl(replacement.descriptor(), F_GETFD);
  ASSERT_GE(flags, 0);
  EXPECT_NE(flags & FD_CLOEXEC, 0);
  EXPECT_EQ(statusOf(replacement.temporaryName()).st_mode & 07777, 0600u);
}

TEST_F(FileReplacementTest, KeepsThePermissionBitsOwnerAndGroup) {
  uid_t owner = ::geteuid();
  gid_t group = ::getegid();
  if (owner == 0) {
    owner = 1234;
    group = 5678;
  }
  ASSERT_EQ(::chown(path.c_str(), owner, group), 0);
  ASSERT_EQ(::chmod(path.c_str(), 02754), 0);
  FileReplacement replacement(path.c_str());
  ASSERT_TRUE(replacement.begin());
  ASSERT_TRUE(write(replacement, "new\n"));
  ASSERT_TRUE(replacement.commit());
  const struct stat status = statusOf(path);
  EXPECT_EQ(status.st_uid, owner);
  EXPECT_EQ(status.st_gid, group);
  EXPECT_EQ(status.st_mode & 07777, 02754u);
}

TEST_F(FileReplacementTest, CreatesAMissingFileWithTheModeOfTheUmask) {
  const std::string fresh = dir / "fresh.ini";
  const mode_t mask = ::umask(027);
  FileReplacement replacement(fresh.c_str());
  const bool begun = replacement.begin();
  ::umask(mask);
  ASSERT_TRUE(begun);
  EXPECT_FALSE(replacement.existed());
  ASSERT_TRUE(write(replacement, "x\n"));
  ASSERT_TRUE(replacement.commit());
  EXPECT_EQ(readFile(fresh), "x\n");
  EXPECT_EQ(statusOf(fresh).st_mode & 07777, 0640u);
}

TEST_F(FileReplacementTest, FollowsASymbolicLinkAndKeepsIt) {
  ASSERT_EQ(::mkdir((dir / "real").c_str(), 0700), 0);
  ASSERT_EQ(::rename(path.c_str(), (dir / "real/settings.ini").c_str()), 0);
  ASSERT_EQ(::symlink("real/settings.ini", path.c_str()), 0);
  FileReplacement replacement(path.c_str());
  ASSERT_TRUE(replacement.begin());
  EXPECT_EQ(std::string(replacement.targetName()),
            std::filesystem::canonical(dir / "real/settings.ini").string());
  ASSERT_TRUE(write(replacement, "through the link\n"));
  ASSERT_TRUE(replacement.commit());
  struct stat link {};
  ASSERT_EQ(::lstat(path.c_str(), &link), 0);
  EXPECT_TRUE(S_ISLNK(link.st_mode));
  EXPECT_EQ(readFile(dir / "real/settings.ini"), "through the link\n");
  EXPECT_EQ(directoryEntries(dir / "real"), std::vector<std::string>{"settings.ini"});
}

TEST_F(FileReplacementTest, RefusesAFileTheCallerMayNotWriteInAWritableDirectory) {
  ASSERT_EQ(::chmod(dir.path().c_str(), 0777), 0);
  ASSERT_EQ(::chmod(path.c_str(), ::geteuid() == 0 ? 0644 : 0444), 0);
  const int code = withoutRootRights([this] {
    FileReplacement replacement(path.c_str());
    if (replacement.begin()) return 1;
    if (replacement.failedStep() != Step::TARGET) return 2;
    if (replacement.systemError() != EACCES) return 3;
    return std::string(replacement.failedName()) == path ? 0 : 4;
  });
  EXPECT_EQ(code, 0);
  EXPECT_EQ(readFile(path), "old contents\n");
  EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{"settings.ini"});
}

TEST_F(FileReplacementTest, RefusesADirectoryAndAPipe) {
  FileReplacement folder(dir.path().c_str());
  EXPECT_FALSE(folder.begin());
  EXPECT_EQ(folder.failedStep(), Step::TARGET);
  EXPECT_EQ(folder.systemError(), EISDIR);
  const std::string fifo = dir / "pipe";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  FileReplacement pipe(fifo.c_str());
  EXPECT_FALSE(pipe.begin());
  EXPECT_EQ(pipe.failedStep(), Step::TARGET);
  EXPECT_EQ(pipe.systemError(), EINVAL);
  EXPECT_EQ(directoryEntries(dir.path()), (std::vector<std::string>{"pipe", "settings.ini"}));
}

TEST_F(FileReplacementTest, NamesTheDirectoryWhenNoFileCanBeCreatedThere) {
  const std::string missing = dir / "nodir/settings.ini";
  FileReplacement replacement(missing.c_str());
  EXPECT_FALSE(replacement.begin());
  EXPECT_EQ(replacement.failedStep(), Step::DIRECTORY);
  EXPECT_EQ(replacement.systemError(), ENOENT);
  EXPECT_EQ(std::string(replacement.failedName()), dir / "nodir");

  const std::string locked = dir / "locked";
  ASSERT_EQ(::mkdir(locked.c_str(), 0755), 0);
  writeFile(locked + "/settings.ini", "old contents\n");
  ASSERT_EQ(::chmod((locked + "/settings.ini").c_str(), 0666), 0);
  ASSERT_EQ(::chmod(locked.c_str(), 0555), 0);
  ASSERT_EQ(::chmod(dir.path().c_str(), 0755), 0);
  const int code = withoutRootRights([&locked] {
    FileReplacement inLocked((locked + "/settings.ini").c_str());
    if (inLocked.begin()) return 1;
    if (inLocked.failedStep() != Step::DIRECTORY || inLocked.systemError() != EACCES) return 2;
    return std::string(inLocked.failedName()) == locked ? 0 : 3;
  });
  EXPECT_EQ(code, 0);
  EXPECT_EQ(readFile(locked + "/settings.ini"), "old contents\n");
}

TEST_F(FileReplacementTest, AWriteThatFailsLeavesTheFileAsItWas) {
  // A file-size limit: write() fails with EFBIG once it is reached.
  const kivtest::ChildResult result = kivtest::runInFork([this] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{64, 64};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(100);
    FileReplacement replacement(path.c_str());
    if (!replacement.begin()) _exit(1);
    if (write(replacement, std::string(1000, 'x'))) _exit(2);
    if (replacement.failedStep() != Step::WRITE || replacement.systemError() != EFBIG) _exit(3);
    _exit(replacement.commit() ? 4 : 0);
  });
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(readFile(path), "old contents\n");
  EXPECT_EQ(directoryEntries(dir.path()), std::vector<std::string>{"settings.ini"});
}

TEST_F(FileReplacementTest, CommitWithoutBeginFailsAndChangesNothing) {
  FileReplacement replacement(path.c_str());
  EXPECT_FALSE(replacement.commit());
  EXPECT_EQ(replacement.failedStep(), Step::WRITE);
  EXPECT_EQ(replacement.systemError(), EBADF);
  EXPECT_FALSE(write(replacement, "x"));
  EXPECT_EQ(readFile(path), "old contents\n");
}

TEST_F(FileReplacementTest, ANameTooLongFailsAtBegin) {
  const std::string tooLong(KIV_PATH_MAX_LENGTH + 1, 'n');
  FileReplacement replacement(tooLong.c_str());
  EXPECT_FALSE(replacement.begin());
  EXPECT_EQ(replacement.failedStep(), Step::TARGET);
  EXPECT_EQ(replacement.systemError(), ENAMETOOLONG);
}

}  // namespace
