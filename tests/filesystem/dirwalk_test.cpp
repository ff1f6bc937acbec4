// Directory walks: visiting every entry, the start and end of a walk, its
// errors, the entry tests by name and by mode, wildcard matching, and the
// walker's memory from the memory manager.
#include "kiv_dirwalk.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "fs_test_util.hpp"
#include "kiv_alloc_support.hpp"
#include "kiv_base.hpp"
#include "kiv_directory.hpp"
#include "kiv_location.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_test_support.hpp"

namespace {

namespace fs = std::filesystem;

std::multiset<std::string> walkNames(KivClDirectoryWalk& walk) {
  std::multiset<std::string> names;
  for (; walk.isValid(); walk.setToNext()) names.insert(walk.getNameWithoutPath());
  return names;
}

// What the entry tests say about one entry, as a compact text.
struct EntryFacts {
  bool directory, subDirectory, parent, current, hidden, readOnly;
};

std::map<std::string, EntryFacts> walkFacts(const std::string& path) {
  std::map<std::string, EntryFacts> facts;
  KivClDirectoryWalk walk(KivClLocation(path.c_str()));
  for (; walk.isValid(); walk.setToNext()) {
    facts[walk.getNameWithoutPath()] = {walk.isDirectory(),       walk.isSubDirectory(),
                                        walk.isParentDirectory(), walk.isCurrentDirectory(),
                                        walk.isHidden(),          walk.isReadOnly()};
  }
  return facts;
}

TEST(DirectoryWalk, EmptyDirectoryVisitsDotAndDotDotThenEnds) {
  kivtest::TempDir dir;
  KivClDirectoryWalk walk(KivClLocation(dir.path().c_str()));
  EXPECT_TRUE(walk.isValid());
  EXPECT_KIV_NO_ERROR(walk);
  const auto names = walkNames(walk);
  EXPECT_EQ(names, (std::multiset<std::string>{".", ".."}));
  EXPECT_FALSE(walk.isValid());
  EXPECT_KIV_NO_ERROR(walk);
  EXPECT_FALSE(walk.setToNext());
  EXPECT_KIV_NO_ERROR(walk);
}

TEST(DirectoryWalk, MissingDirectoryIsNotValidFromTheStart) {
  kivtest::TempDir dir;
  KivClDirectoryWalk walk(KivClLocation((dir / "missing").c_str()));
  EXPECT_FALSE(walk.isValid());
  EXPECT_KIV_ERROR(walk, DIRWALK_COULD_NOT_INIT, IO_PROBLEM);
  EXPECT_FALSE(walk.setToNext());
  EXPECT_STREQ(walk.getNameWithoutPath(), "");
  EXPECT_EQ(std::string(walk.getNameWithPath()), dir / "missing/");
  EXPECT_FALSE(walk.isDirectory());
  EXPECT_FALSE(walk.isHidden());
}

TEST(DirectoryWalk, AFileIsNoDirectoryToWalk) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "file", "x");
  KivClDirectoryWalk walk(KivClLocation((dir / "file").c_str()));
  EXPECT_FALSE(walk.isValid());
  EXPECT_KIV_ERROR(walk, DIRWALK_COULD_NOT_INIT, IO_PROBLEM);
}

TEST(DirectoryWalk, VisitsEveryEntryOnceWithItsFullPath) {
  kivtest::TempDir dir;
  std::multiset<std::string> expected{".", ".."};
  for (int i = 0; i < 60; ++i) {
    const std::string name = "entry" + std::to_string(i);
    fstest::writeFile(dir / name, "x");
    expected.insert(name);
  }
  fstest::makeDir(dir / "sub");
  expected.insert("sub");
  KivClDirectoryWalk walk(KivClDirectory(dir.path().c_str()));
  std::multiset<std::string> names;
  for (; walk.isValid(); walk.setToNext()) {
    names.insert(walk.getNameWithoutPath());
    EXPECT_EQ(std::string(walk.getNameWithPath()), dir / walk.getNameWithoutPath());
  }
  EXPECT_EQ(names, expected);
  EXPECT_KIV_NO_ERROR(walk);
}

TEST(DirectoryWalk, EmptyLocationWalksTheCurrentDirectory) {
  kivtest::TempDir dir;
  kivtest::CwdGuard cwd;
  fstest::writeFile(dir / "here", "x");
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  KivClDirectoryWalk walk{KivClLocation("")};
  std::multiset<std::string> names;
  for (; walk.isValid(); walk.setToNext()) {
    const std::string name = walk.getNameWithoutPath();
    names.insert(name);
    EXPECT_EQ(std::string(walk.getNameWithPath()), "./" + name);
  }
  EXPECT_EQ(names, (std::multiset<std::string>{".", "..", "here"}));
}

TEST(DirectoryWalk, EntryTestsDecideByName) {
  kivtest::TempDir dir;
  for (const char* name : {".git", "a.b", "src", "s", "..x", "x."}) fstest::makeDir(dir / name);
  for (const char* name : {".hidden", "plain", "a.b.txt", "..f"})
    fstest::writeFile(dir / name, "x");
  const auto facts = walkFacts(dir.path());
  ASSERT_EQ(facts.size(), 12u);
  struct Expected {
    const char* name;
    bool directory, subDirectory, parent, current, hidden;
  };
  const Expected table[] = {
      {".", true, false, false, true, false},         {"..", true, false, true, false, false},
      {".git", true, false, false, false, false},     {"a.b", true, false, false, false, false},
      {"src", true, true, false, false, false},       {"s", true, true, false, false, false},
      {"..x", true, false, true, false, false},       {"x.", true, false, false, false, false},
      {".hidden", false, false, false, false, true},  {"plain", false, false, false, false, false},
      {"a.b.txt", false, false, false, false, false}, {"..f", false, false, false, false, true},
  };
  for (const Expected& e : table) {
    SCOPED_TRACE(e.name);
    ASSERT_EQ(facts.count(e.name), 1u);
    const EntryFacts& f = facts.at(e.name);
    EXPECT_EQ(f.directory, e.directory);
    EXPECT_EQ(f.subDirectory, e.subDirectory);
    EXPECT_EQ(f.parent, e.parent);
    EXPECT_EQ(f.current, e.current);
    EXPECT_EQ(f.hidden, e.hidden);
  }
}

TEST(DirectoryWalk, HiddenDirectoriesAreNeverHidden) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / ".config");
  const auto facts = walkFacts(dir.path());
  EXPECT_TRUE(facts.at(".config").directory);
  EXPECT_FALSE(facts.at(".config").hidden);
}

TEST(DirectoryWalk, ReadOnlyFollowsTheOwnerWriteBit) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "ro", "x");
  fstest::writeFile(dir / "rw", "x");
  fstest::writeFile(dir / "groupwrite", "x");
  chmod((dir / "ro").c_str(), 0444);
  chmod((dir / "rw").c_str(), 0644);
  chmod((dir / "groupwrite").c_str(), 0464);
  const auto facts = walkFacts(dir.path());
  EXPECT_TRUE(facts.at("ro").readOnly);
  EXPECT_FALSE(facts.at("rw").readOnly);
  EXPECT_TRUE(facts.at("groupwrite").readOnly);
}

TEST(DirectoryWalk, LinksAreFollowed) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "target");
  fstest::writeFile(dir / "file", "x");
  ASSERT_EQ(symlink((dir / "target").c_str(), (dir / "dirlink").c_str()), 0);
  ASSERT_EQ(symlink((dir / "file").c_str(), (dir / ".filelink").c_str()), 0);
  ASSERT_EQ(symlink((dir / "nowhere").c_str(), (dir / "dangling").c_str()), 0);
  const auto facts = walkFacts(dir.path());
  EXPECT_TRUE(facts.at("dirlink").directory);
  EXPECT_TRUE(facts.at("dirlink").subDirectory);
  EXPECT_TRUE(facts.at(".filelink").hidden);
  // A link that leads nowhere has no mode: no directory, no file, read-only.
  EXPECT_FALSE(facts.at("dangling").directory);
  EXPECT_FALSE(facts.at("dangling").hidden);
  EXPECT_TRUE(facts.at("dangling").readOnly);
}

TEST(DirectoryWalk, SocketHasTheDirectoryAndTheRegularFileBits) {
  // A socket's type 0xC000 holds both single bits that the tests look at.
  kivtest::TempDir dir;
  const fstest::BoundSocket plain(dir / "sock");
  const fstest::BoundSocket dotted(dir / ".sock");
  ASSERT_TRUE(plain.isBound());
  ASSERT_TRUE(dotted.isBound());
  const auto facts = walkFacts(dir.path());
  ASSERT_EQ(facts.count("sock"), 1u);
  ASSERT_EQ(facts.count(".sock"), 1u);
  EXPECT_TRUE(facts.at("sock").directory);
  EXPECT_TRUE(facts.at("sock").subDirectory);
  EXPECT_FALSE(facts.at("sock").hidden);
  EXPECT_TRUE(facts.at(".sock").directory);
  EXPECT_FALSE(facts.at(".sock").subDirectory);
  EXPECT_TRUE(facts.at(".sock").hidden);
}

TEST(DirectoryWalk, MatchesWildcardPatternsCaseSensitively) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "A.TXT", "x");
  KivClDirectoryWalk walk(KivClLocation(dir.path().c_str()));
  while (walk.isValid() && std::string(walk.getNameWithoutPath()) != "A.TXT") walk.setToNext();
  ASSERT_TRUE(walk.isValid());
  EXPECT_TRUE(walk.matchesWildcardPattern("*.TXT"));
  EXPECT_FALSE(walk.matchesWildcardPattern("*.txt"));
  EXPECT_TRUE(walk.matchesWildcardPattern("A?TXT"));
  EXPECT_TRUE(walk.matchesWildcardPattern("*"));
  EXPECT_FALSE(walk.matchesWildcardPattern("a*"));
}

TEST(WildcardPattern, AsteriskMatchesEveryTextIncludingTheEmptyOne) {
  EXPECT_TRUE(kivMatchesWildcardPattern("*", "", true));
  EXPECT_TRUE(kivMatchesWildcardPattern("*", "anything.at.all", true));
}

TEST(WildcardPattern, ExtensionPatternMatchesOnlyThatLastExtension) {
  EXPECT_TRUE(kivMatchesWildcardPattern("*.txt", "a.txt", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("*.txt", "a.txt.bak", true));
}

TEST(WildcardPattern, QuestionMarkMatchesExactlyOneCharacter) {
  EXPECT_TRUE(kivMatchesWildcardPattern("a?c", "abc", true));
  EXPECT_FALSE(kivMatchesWildcardPattern("a?c", "ac", true));
}

TEST(WildcardPattern, CaseInsensitiveMatch) {
  EXPECT_TRUE(kivMatchesWildcardPattern("*.TXT", "a.txt", false));
  EXPECT_FALSE(kivMatchesWildcardPattern("*.TXT", "a.txt", true));
}

// The descriptor that the walk holds open on `path`, found through /proc.
int findDescriptorOf(const std::string& path) {
  const std::string canonical = fs::canonical(path).string();
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    std::error_code ec;
    const fs::path target = fs::read_symlink(entry.path(), ec);
    if (!ec && target.string() == canonical) return std::atoi(entry.path().filename().c_str());
  }
  return -1;
}

TEST(DirectoryWalk, ReadErrorInTheMiddleEndsTheWalkWithNoContinuation) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "walked");
  for (int i = 0; i < 5; ++i) fstest::writeFile(dir / ("walked/f" + std::to_string(i)), "x");
  fstest::writeFile(dir / "plain", "not a directory");
  KivClDirectoryWalk walk(KivClLocation((dir / "walked").c_str()));
  ASSERT_TRUE(walk.isValid());
  // Put a plain file under the walk's descriptor: the entries already read
  // are still handed out, the next read from the system then fails.
  const int walked = findDescriptorOf(dir / "walked");
  ASSERT_GE(walked, 0);
  const int plain = open((dir / "plain").c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(plain, 0);
  ASSERT_EQ(dup2(plain, walked), walked);
  close(plain);
  int steps = 0;
  while (walk.setToNext()) ++steps;
  EXPECT_LE(steps, 6);
  EXPECT_FALSE(walk.isValid());
  EXPECT_KIV_ERROR(walk, DIRWALK_NO_CONTINUATION, IO_PROBLEM);
}

TEST(DirectoryWalk, UnreadableDirectoryIsNotValid) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "unreadable", 0300);
  fstest::prepareForChild(dir);
  const std::string path = dir / "unreadable";
  const std::string result = fstest::runUnprivileged([&] {
    KivClDirectoryWalk walk(KivClLocation(path.c_str()));
    return std::to_string(walk.isValid()) + " " + fstest::describe(walk.getLastError());
  });
  EXPECT_EQ(result, "0 {DIRWALK_COULD_NOT_INIT, IO_PROBLEM}");
}

// ---------------------------------------------------------------------------
// The walker's memory
// ---------------------------------------------------------------------------

class DirectoryWalkMemory : public ::testing::Test {
 protected:
  kivtest::ScopedUserMemoryManager m_memory;
};

TEST_F(DirectoryWalkMemory, WalkerComesFromTheMemoryManagerAndGoesBack) {
  kivtest::TempDir dir;
  {
    KivClDirectoryWalk walk(KivClLocation(dir.path().c_str()));
    EXPECT_TRUE(walk.isValid());
    EXPECT_EQ(m_memory.allocations(), 1);
    EXPECT_EQ(m_memory.releases(), 0);
  }
  EXPECT_EQ(m_memory.releases(), 1);
}

TEST_F(DirectoryWalkMemory, NoMemoryForTheWalkerThrowsFatal) {
  kivtest::TempDir dir;
  m_memory.failAlways();
  EXPECT_THROW(KivClDirectoryWalk walk(KivClLocation(dir.path().c_str())), KivClExceptionFatal);
  m_memory.neverFail();
}

TEST_F(DirectoryWalkMemory, RemovingATreeFreesEveryWalker) {
  kivtest::TempDir dir;
  const std::string root = dir / "tree";
  fstest::makeDir(root);
  fstest::makeDir(root + "/a");
  fstest::makeDir(root + "/a/b");
  fstest::writeFile(root + "/a/b/f", "x");
  KivClDirectory directory(root.c_str());
  EXPECT_TRUE(directory.removeAll(true));
  EXPECT_EQ(m_memory.allocations(), 3);
  EXPECT_EQ(m_memory.releases(), 3);
}

}  // namespace
