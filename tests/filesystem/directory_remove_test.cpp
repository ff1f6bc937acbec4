// Directories: removing one directory and removing whole trees, with the
// name-only decision of what to descend into, the "." and ".." entries
// passed over, and a failing entry stopping the removal.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <memory>
#include <string>

#include "fs_test_util.hpp"
#include "kiv_directory.hpp"
#include "kiv_test_support.hpp"

namespace {

namespace fs = std::filesystem;

// The names that the system returns first when reading `path`: the tree
// removal test below is meaningful only because "." or ".." come before
// other entries, as they do on the usual file systems.
bool dotEntryComesBeforeTheLast(const std::string& path) {
  DIR* dir = opendir(path.c_str());
  if (dir == nullptr) return false;
  bool dotSeen = false;
  bool otherAfterDot = false;
  while (const dirent* entry = readdir(dir)) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") {
      dotSeen = true;
    } else if (dotSeen) {
      otherAfterDot = true;
    }
  }
  closedir(dir);
  return otherAfterDot;
}

TEST(DirectoryRemove, RemovesAnEmptyDirectory) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "empty");
  KivClDirectory directory((dir / "empty").c_str());
  EXPECT_TRUE(directory.removeAll(false));
  EXPECT_KIV_NO_ERROR(directory);
  EXPECT_FALSE(fstest::exists(dir / "empty"));
}

TEST(DirectoryRemove, MissingDirectoryReportsInvalidName) {
  kivtest::TempDir dir;
  KivClDirectory directory((dir / "missing").c_str());
  EXPECT_FALSE(directory.removeAll(false));
  EXPECT_KIV_ERROR(directory, DIRECTORY_COULD_NOT_REMOVE, IO_INVALID_NAME);
  EXPECT_FALSE(directory.removeAll(true));
  EXPECT_KIV_ERROR(directory, DIRECTORY_COULD_NOT_REMOVE, IO_INVALID_NAME);
}

TEST(DirectoryRemove, NonEmptyDirectoryWithoutRecursionReportsStillInUse) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "full");
  fstest::writeFile(dir / "full/f", "x");
  KivClDirectory directory((dir / "full").c_str());
  EXPECT_FALSE(directory.removeAll(false));
  EXPECT_KIV_ERROR(directory, DIRECTORY_COULD_NOT_REMOVE, IO_STILL_IN_USE);
  EXPECT_TRUE(fstest::exists(dir / "full/f"));
  EXPECT_STREQ(directory.getAsCString(), (dir / "full/").c_str());
}

TEST(DirectoryRemove, RemoveThroughTheInterfaceDoesNotRecurse) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "full");
  fstest::writeFile(dir / "full/f", "x");
  fstest::makeDir(dir / "empty");
  KivClDirectory full((dir / "full").c_str());
  KivClFileABase& object = full;
  EXPECT_FALSE(object.remove());
  EXPECT_KIV_ERROR(full, DIRECTORY_COULD_NOT_REMOVE, IO_STILL_IN_USE);
  KivClDirectory empty((dir / "empty").c_str());
  EXPECT_TRUE(static_cast<KivClFileABase&>(empty).remove());
  EXPECT_FALSE(fstest::exists(dir / "empty"));
}

TEST(DirectoryRemove, RemovesAWholeTreePassingOverDotEntries) {
  kivtest::TempDir dir;
  const std::string root = dir / "tree";
  fstest::makeDir(root);
  fstest::writeFile(root + "/top.txt", "t");
  fstest::makeDir(root + "/src");
  fstest::writeFile(root + "/src/main.cpp", "m");
  fstest::makeDir(root + "/src/deep");
  fstest::makeDir(root + "/src/deep/deeper");
  fstest::writeFile(root + "/src/deep/deeper/leaf", "l");
  fstest::writeFile(root + "/readonly", "r");
  chmod((root + "/readonly").c_str(), 0444);
  // Removal that stopped at "." or ".." would leave these behind.
  ASSERT_TRUE(dotEntryComesBeforeTheLast(root))
      << "this file system returns \".\" and \"..\" last; the test would prove nothing";
  KivClDirectory directory(root.c_str());
  EXPECT_TRUE(directory.removeAll(true));
  EXPECT_KIV_NO_ERROR(directory);
  EXPECT_FALSE(fstest::exists(root));
  EXPECT_TRUE(fstest::exists(dir.path()));
}

TEST(DirectoryRemove, EmptyDirectoriesThatAreNotSubdirectoriesByNameGoToo) {
  kivtest::TempDir dir;
  const std::string root = dir / "tree";
  fstest::makeDir(root);
  fstest::makeDir(root + "/.git");
  fstest::makeDir(root + "/a.b");
  fstest::makeDir(root + "/..x");
  fstest::writeFile(root + "/.hidden", "h");
  KivClDirectory directory(root.c_str());
  EXPECT_TRUE(directory.removeAll(true));
  EXPECT_FALSE(fstest::exists(root));
}

TEST(DirectoryRemove, NonEmptyDotDirectoryStopsTheRemoval) {
  kivtest::TempDir dir;
  const std::string root = dir / "tree";
  fstest::makeDir(root);
  fstest::makeDir(root + "/.git");
  fstest::writeFile(root + "/.git/config", "c");
  KivClDirectory directory(root.c_str());
  EXPECT_FALSE(directory.removeAll(true));
  EXPECT_KIV_ERROR(directory, DIRECTORY_COULD_NOT_REMOVE, IO_STILL_IN_USE);
  // Not descended into: its content is still there.
  EXPECT_TRUE(fstest::exists(root + "/.git/config"));
}

TEST(DirectoryRemove, NonEmptyDottedDirectoryStopsTheRemoval) {
  kivtest::TempDir dir;
  const std::string root = dir / "tree";
  fstest::makeDir(root);
  fstest::makeDir(root + "/a.b");
  fstest::writeFile(root + "/a.b/inner", "i");
  KivClDirectory directory(root.c_str());
  EXPECT_FALSE(directory.removeAll(true));
  EXPECT_KIV_ERROR(directory, DIRECTORY_COULD_NOT_REMOVE, IO_STILL_IN_USE);
  EXPECT_TRUE(fstest::exists(root + "/a.b/inner"));
}

TEST(DirectoryRemove, NamesEndingInDotsAreRemovedAsThemselves) {
  // "ab.." and "ab." are subdirectories by name; their trees are removed
  // under their own names and never taken for the parent or the directory.
  kivtest::TempDir dir;
  const std::string root = dir / "tree";
  fstest::makeDir(root);
  fstest::writeFile(dir / "keep.txt", "k");
  fstest::makeDir(root + "/ab..");
  fstest::writeFile(root + "/ab../f", "f");
  fstest::makeDir(root + "/ab.");
  fstest::writeFile(root + "/ab./g", "g");
  KivClDirectory directory(root.c_str());
  EXPECT_TRUE(directory.removeAll(true));
  EXPECT_FALSE(fstest::exists(root));
  EXPECT_EQ(fstest::readFile(dir / "keep.txt"), "k");
}

TEST(DirectoryRemove, LinkToADirectoryIsRemovedAsALink) {
  kivtest::TempDir dir;
  const std::string root = dir / "tree";
  fstest::makeDir(root);
  fstest::makeDir(dir / "outside");
  fstest::writeFile(dir / "outside/precious", "p");
  ASSERT_EQ(symlink((dir / "outside").c_str(), (root + "/link").c_str()), 0);
  ASSERT_EQ(symlink((dir / "nowhere").c_str(), (root + "/dangling").c_str()), 0);
  KivClDirectory directory(root.c_str());
  EXPECT_TRUE(directory.removeAll(true));
  EXPECT_FALSE(fstest::exists(root));
  EXPECT_EQ(fstest::readFile(dir / "outside/precious"), "p");
}

TEST(DirectoryRemove, SocketCountedAsADirectoryIsRemovedAsAnEntry) {
  // The walk counts a socket named like a subdirectory as one (its mode has
  // the directory bit); the removal takes it away as an entry instead.
  kivtest::TempDir dir;
  const std::string root = dir / "tree";
  fstest::makeDir(root);
  fstest::makeDir(root + "/sub");
  const fstest::BoundSocket socket(root + "/sub/sock");
  ASSERT_TRUE(socket.isBound());
  KivClDirectory directory(root.c_str());
  EXPECT_TRUE(directory.removeAll(true));
  EXPECT_KIV_NO_ERROR(directory);
  EXPECT_FALSE(fstest::exists(root));
}

TEST(DirectoryRemove, AnEntryThatCannotBeRemovedStopsTheWholeRemovalSilently) {
  kivtest::TempDir dir;
  const std::string root = dir / "tree";
  fstest::makeDir(root);
  fstest::makeDir(root + "/locked");
  fstest::writeFile(root + "/locked/stays", "s");
  fstest::prepareForChild(dir);
  chmod((root + "/locked").c_str(), 0555);
  const std::string result = fstest::runUnprivileged([&] {
    KivClDirectory directory(root.c_str());
    const bool removed = directory.removeAll(true);
    return std::to_string(removed) + " " + fstest::describe(directory.getLastError()) + " " +
           std::to_string(fstest::exists(root + "/locked/stays")) + " " +
           std::to_string(fstest::exists(root + "/locked"));
  });
  EXPECT_EQ(result, "0 {DIRECTORY_COULD_NOT_REMOVE, IO_STILL_IN_USE} 1 1");
}

TEST(DirectoryRemove, RemovingATreeKeepsTheObjectsText) {
  kivtest::TempDir dir;
  const std::string root = dir / "tree";
  fstest::makeDir(root);
  fstest::makeDir(root + "/sub");
  fstest::makeDir(root + "/.git");
  fstest::writeFile(root + "/.git/x", "x");
  KivClDirectory directory(root.c_str());
  EXPECT_FALSE(directory.removeAll(true));
  EXPECT_EQ(std::string(directory.getAsCString()), root + "/");
}

}  // namespace
