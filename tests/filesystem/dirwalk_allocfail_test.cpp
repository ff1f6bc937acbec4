// Directory walks and tree removal when memory runs out: the walker of each
// level is refused in turn. The refusal ends in the memory manager's fatal
// exception, every walker already made goes back, and the directory object
// then walks or removes the whole tree.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "fs_test_util.hpp"
#include "kiv_allocfail_support.hpp"
#include "kiv_directory.hpp"
#include "kiv_dirwalk.hpp"
#include "kiv_location.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::AllocationFailureRun;

std::set<std::string> namesIn(const KivClDirectory& directory) {
  std::set<std::string> names;
  for (KivClDirectoryWalk walk(directory); walk.isValid(); walk.setToNext()) {
    names.insert(walk.getNameWithoutPath());
  }
  return names;
}

TEST(DirectoryWalkAllocationFailure, WalkThrowsAndTheDirectoryIsWalkedAgain) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "a", "1");
  fstest::writeFile(dir / "b", "2");
  fstest::makeDir(dir / "sub");
  const KivClDirectory directory(dir.path().c_str());
  const std::set<std::string> expected = {".", "..", "a", "b", "sub"};
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    std::set<std::string> names;
    if (!run.inject([&] { names = namesIn(directory); })) {
      EXPECT_TRUE(names.empty());
      names = namesIn(directory);
    }
    EXPECT_EQ(names, expected);
  });
  EXPECT_EQ(runs, 2);  // the one walker, then none
}

// root/f1, root/d1/f2, root/d1/d2/f3 and the empty root/d3: four walkers.
void makeTree(const std::string& root) {
  fstest::makeDir(root);
  fstest::writeFile(root + "/f1", "1");
  fstest::makeDir(root + "/d1");
  fstest::writeFile(root + "/d1/f2", "2");
  fstest::makeDir(root + "/d1/d2");
  fstest::writeFile(root + "/d1/d2/f3", "3");
  fstest::makeDir(root + "/d3");
}

TEST(DirectoryWalkAllocationFailure, TreeRemovalThrowsAndRemovesTheRestWhenRepeated) {
  kivtest::TempDir dir;
  const std::string root = dir / "tree";
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    makeTree(root);
    KivClDirectory directory(root.c_str());
    const std::string text = directory.getAsCString();
    bool removed = false;
    if (!run.inject([&] { removed = directory.removeAll(true); })) {
      // Only entries the walks reached are gone; the root is still there,
      // and the failed removal changed neither the text nor the record.
      EXPECT_TRUE(fstest::exists(root));
      EXPECT_EQ(directory.getAsCString(), text);
      EXPECT_KIV_NO_ERROR(directory);
      removed = directory.removeAll(true);
    }
    EXPECT_TRUE(removed);
    EXPECT_KIV_NO_ERROR(directory);
    EXPECT_FALSE(fstest::exists(root));
  });
  EXPECT_EQ(runs, 5);  // root, d1, d2, d3, then none
}

}  // namespace
