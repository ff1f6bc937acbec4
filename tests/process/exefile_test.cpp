// Executable files: completion of bare names along "PATH" and other list
// variables, the fall-back of KIV_NEWPROCESS_USEPATH, default extensions and
// the search in the current directory.
//
// Every test builds its own directories of executables and sets the
// variables it needs through kivtest::EnvGuard, which restores them.

#include "kiv_exefile.hpp"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "kiv_test_support.hpp"

namespace {

constexpr const char* kSearchVariable = "KIV_TEST_SEARCHPATH";

// Creates an executable shell script.
void makeExecutable(const std::string& path) {
  std::ofstream(path) << "#!/bin/sh\nexit 0\n";
  ::chmod(path.c_str(), 0755);
}

// The directory as getcwd names it (the temporary directory may be reached
// through a link).
std::string realPath(const std::string& path) {
  char* resolved = ::realpath(path.c_str(), nullptr);
  std::string text = resolved != nullptr ? resolved : "";
  ::free(resolved);
  return text;
}

class ExeFileTest : public ::testing::Test {
 protected:
  ExeFileTest() {
    ::mkdir(m_first.c_str(), 0755);
    ::mkdir(m_second.c_str(), 0755);
    m_usePath.unset();
    m_search.unset();
  }

  kivtest::TempDir m_dir;
  const std::string m_first = m_dir / "first";
  const std::string m_second = m_dir / "second";
  kivtest::EnvGuard m_path{"PATH"};
  kivtest::EnvGuard m_usePath{"KIV_NEWPROCESS_USEPATH"};
  kivtest::EnvGuard m_search{kSearchVariable};
};

// ---------------------------------------------------------------------------
// Constructor from a name only
// ---------------------------------------------------------------------------

TEST_F(ExeFileTest, BareNameOnPathCarriesDirectoryWhereFound) {
  makeExecutable(m_second + "/kivtool");
  m_path.set(m_first + ":" + m_second);
  const KivClExeFile exe("kivtool");
  EXPECT_EQ(std::string(exe.getAsCString()), m_second + "/kivtool");
  EXPECT_TRUE(exe.isFoundInSystemPath());
  EXPECT_KIV_NO_ERROR(exe);
}

TEST_F(ExeFileTest, FirstPathEntryThatHoldsTheNameWins) {
  makeExecutable(m_first + "/kivtool");
  makeExecutable(m_second + "/kivtool");
  m_path.set(m_first + ":" + m_second);
  const KivClExeFile exe("kivtool");
  EXPECT_EQ(std::string(exe.getAsCString()), m_first + "/kivtool");
}

TEST_F(ExeFileTest, BareNameNotOnPathStaysBare) {
  m_path.set(m_first + ":" + m_second);
  const KivClExeFile exe("kiv-no-such-tool");
  EXPECT_STREQ(exe.getAsCString(), "kiv-no-such-tool");
  EXPECT_FALSE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, BareNameWithoutPathVariableStaysBare) {
  m_path.unset();
  const KivClExeFile exe("sh");
  EXPECT_STREQ(exe.getAsCString(), "sh");
  EXPECT_FALSE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, FindsSystemShellAlongSystemPath) {
  m_path.set("/nonexistent:/usr/bin:/bin");
  const KivClExeFile exe("sh");
  // Systems that keep /bin apart from /usr/bin find it in the second entry.
  const char* expected = ::access("/usr/bin/sh", F_OK) == 0 ? "/usr/bin/sh" : "/bin/sh";
  EXPECT_STREQ(exe.getAsCString(), expected);
  EXPECT_TRUE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, EmptyPathEntriesAreSkipped) {
  // An empty entry would find the bare name in the current directory.
  makeExecutable(m_first + "/kivtool");
  makeExecutable(m_second + "/kivtool");
  kivtest::CwdGuard cwd;
  ASSERT_EQ(::chdir(m_first.c_str()), 0);
  m_path.set("::" + m_second + "::");
  const KivClExeFile exe("kivtool");
  EXPECT_EQ(std::string(exe.getAsCString()), m_second + "/kivtool");
  EXPECT_TRUE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, BareNameIsNotLookedForInCurrentDirectory) {
  makeExecutable(m_first + "/kivtool");
  kivtest::CwdGuard cwd;
  ASSERT_EQ(::chdir(m_first.c_str()), 0);
  m_path.set(m_second);
  const KivClExeFile exe("kivtool");
  EXPECT_STREQ(exe.getAsCString(), "kivtool");
  EXPECT_FALSE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, ExistenceIsAllThatIsTested) {
  std::ofstream(m_first + "/kivdata") << "not a program";
  ::chmod((m_first + "/kivdata").c_str(), 0644);
  m_path.set(m_first);
  const KivClExeFile exe("kivdata");
  EXPECT_EQ(std::string(exe.getAsCString()), m_first + "/kivdata");
  EXPECT_TRUE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, NameIsNotGivenAnExtension) {
  makeExecutable(m_first + "/kivtool");
  m_path.set(m_first);
  const KivClExeFile exe("kivtool");
  EXPECT_STREQ(exe.getFileType(), "");
}

TEST_F(ExeFileTest, MissingNameWithDirectoryKeepsDirectoryWithoutUsePath) {
  makeExecutable(m_first + "/kivtool");
  m_path.set(m_first);
  const std::string given = m_second + "/kivtool";
  const KivClExeFile exe(given.c_str());
  EXPECT_EQ(std::string(exe.getAsCString()), given);
  EXPECT_FALSE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, MissingNameWithDirectoryKeepsDirectoryWhenUsePathIsNotEnabled) {
  makeExecutable(m_first + "/kivtool");
  m_path.set(m_first);
  const std::string given = m_second + "/kivtool";
  for (const char* value : {"", "2", "enabled", "no", "OFF"}) {
    m_usePath.set(value);
    const KivClExeFile exe(given.c_str());
    EXPECT_EQ(std::string(exe.getAsCString()), given) << "KIV_NEWPROCESS_USEPATH=" << value;
    EXPECT_FALSE(exe.isFoundInSystemPath());
  }
}

TEST_F(ExeFileTest, MissingNameWithDirectoryIsSearchedAlongPathWhenUsePathIsEnabled) {
  makeExecutable(m_first + "/kivtool");
  m_path.set(m_first);
  const std::string given = m_second + "/sub/kivtool";
  for (const char* value : {"1", "yes", "ON", "True", "YES"}) {
    m_usePath.set(value);
    const KivClExeFile exe(given.c_str());
    EXPECT_EQ(std::string(exe.getAsCString()), m_first + "/kivtool")
        << "KIV_NEWPROCESS_USEPATH=" << value;
    EXPECT_TRUE(exe.isFoundInSystemPath());
  }
}

TEST_F(ExeFileTest, UsePathDropsDirectoryEvenWhenNameIsNotOnPath) {
  m_path.set(m_first);
  m_usePath.set("1");
  const KivClExeFile exe((m_second + "/kivtool").c_str());
  EXPECT_STREQ(exe.getAsCString(), "kivtool");
  EXPECT_FALSE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, ExistingNameWithDirectoryIsKeptEvenWithUsePath) {
  makeExecutable(m_first + "/kivtool");
  makeExecutable(m_second + "/kivtool");
  m_path.set(m_first);
  m_usePath.set("1");
  const std::string given = m_second + "/kivtool";
  const KivClExeFile exe(given.c_str());
  EXPECT_EQ(std::string(exe.getAsCString()), given);
  EXPECT_FALSE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, RelativeNameWithDirectoryIsKept) {
  makeExecutable(m_first + "/kivtool");
  m_path.set(m_first);
  const KivClExeFile exe("sub/kivtool");
  EXPECT_STREQ(exe.getAsCString(), "sub/kivtool");
  EXPECT_FALSE(exe.isFoundInSystemPath());
}

// ---------------------------------------------------------------------------
// Constructor with default extension, search flag and variable
// ---------------------------------------------------------------------------

TEST_F(ExeFileTest, DefaultExtensionIsGivenBeforeTheSearch) {
  makeExecutable(m_first + "/kivtool");
  makeExecutable(m_second + "/kivtool.sh");
  m_search.set(m_first + ":" + m_second);
  const KivClExeFile exe("kivtool", ".sh", false, kSearchVariable);
  EXPECT_EQ(std::string(exe.getAsCString()), m_second + "/kivtool.sh");
  EXPECT_TRUE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, GivenExtensionIsKept) {
  makeExecutable(m_first + "/kivtool.x");
  m_search.set(m_first);
  const KivClExeFile exe("kivtool.x", ".sh", false, kSearchVariable);
  EXPECT_EQ(std::string(exe.getAsCString()), m_first + "/kivtool.x");
}

TEST_F(ExeFileTest, SearchesCurrentDirectoryFirstWhenAsked) {
  makeExecutable(m_first + "/kivtool");
  makeExecutable(m_second + "/kivtool");
  m_search.set(m_second);
  kivtest::CwdGuard cwd;
  ASSERT_EQ(::chdir(m_first.c_str()), 0);
  const KivClExeFile exe("kivtool", nullptr, true, kSearchVariable);
  EXPECT_EQ(std::string(exe.getAsCString()), realPath(m_first) + "/kivtool");
  EXPECT_TRUE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, SearchesVariableWhenCurrentDirectoryLacksName) {
  makeExecutable(m_second + "/kivtool");
  m_search.set(m_second);
  kivtest::CwdGuard cwd;
  ASSERT_EQ(::chdir(m_first.c_str()), 0);
  const KivClExeFile exe("kivtool", nullptr, true, kSearchVariable);
  EXPECT_EQ(std::string(exe.getAsCString()), m_second + "/kivtool");
  EXPECT_TRUE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, SkipsCurrentDirectoryWhenNotAsked) {
  makeExecutable(m_first + "/kivtool");
  makeExecutable(m_second + "/kivtool");
  m_search.set(m_second);
  kivtest::CwdGuard cwd;
  ASSERT_EQ(::chdir(m_first.c_str()), 0);
  const KivClExeFile exe("kivtool", nullptr, false, kSearchVariable);
  EXPECT_EQ(std::string(exe.getAsCString()), m_second + "/kivtool");
}

TEST_F(ExeFileTest, NameWithDirectoryIsKeptEvenWhenMissing) {
  makeExecutable(m_first + "/kivtool.sh");
  m_search.set(m_first);
  m_usePath.set("1");
  const KivClExeFile exe((m_second + "/kivtool").c_str(), ".sh", true, kSearchVariable);
  EXPECT_EQ(std::string(exe.getAsCString()), m_second + "/kivtool.sh");
  EXPECT_FALSE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, NameNotFoundAlongVariableStaysBare) {
  m_search.set(m_first + ":" + m_second);
  const KivClExeFile exe("kivtool", ".sh", false, kSearchVariable);
  EXPECT_STREQ(exe.getAsCString(), "kivtool.sh");
  EXPECT_FALSE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, NullVariableSearchesNothing) {
  makeExecutable(m_first + "/kivtool");
  m_path.set(m_first);
  const KivClExeFile exe("kivtool", nullptr, false, nullptr);
  EXPECT_STREQ(exe.getAsCString(), "kivtool");
  EXPECT_FALSE(exe.isFoundInSystemPath());
}

// ---------------------------------------------------------------------------
// determinePath
// ---------------------------------------------------------------------------

TEST_F(ExeFileTest, DeterminePathReplacesDirectoryByTheOneFound) {
  makeExecutable(m_first + "/kivtool");
  m_search.set(m_first);
  KivClExeFile exe((m_second + "/kivtool").c_str());
  ASSERT_FALSE(exe.isFoundInSystemPath());
  EXPECT_TRUE(exe.determinePath(false, kSearchVariable));
  EXPECT_EQ(std::string(exe.getAsCString()), m_first + "/kivtool");
  EXPECT_TRUE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, FailedDeterminePathLeavesBareNameAndClearsFlag) {
  makeExecutable(m_first + "/kivtool");
  m_path.set(m_first);
  KivClExeFile exe("kivtool");
  ASSERT_TRUE(exe.isFoundInSystemPath());
  m_search.set(m_second + ":" + m_dir.path());
  EXPECT_FALSE(exe.determinePath(false, kSearchVariable));
  EXPECT_STREQ(exe.getAsCString(), "kivtool");
  EXPECT_FALSE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, DeterminePathInCurrentDirectoryLooksAtNamePartOnly) {
  makeExecutable(m_first + "/kivtool");
  kivtest::CwdGuard cwd;
  ASSERT_EQ(::chdir(m_first.c_str()), 0);
  KivClExeFile exe((m_second + "/kivtool").c_str());
  EXPECT_TRUE(exe.determinePath(true, nullptr));
  EXPECT_EQ(std::string(exe.getAsCString()), realPath(m_first) + "/kivtool");
  EXPECT_TRUE(exe.isFoundInSystemPath());
}

TEST_F(ExeFileTest, CopyKeepsNameAndFlag) {
  makeExecutable(m_first + "/kivtool");
  m_path.set(m_first);
  const KivClExeFile exe("kivtool");
  const KivClExeFile copy(exe);
  EXPECT_STREQ(copy.getAsCString(), exe.getAsCString());
  EXPECT_NE(copy.getAsCString(), exe.getAsCString());
  EXPECT_TRUE(copy.isFoundInSystemPath());
}

TEST(ExeFileStaticTest, SearchesPathAndHasNoDefaultExtension) {
  EXPECT_STREQ(KivClExeFile::getSystemPathEnvironmentVariable(), "PATH");
  EXPECT_EQ(KivClExeFile::getDefaultFileType(), nullptr);
}

TEST(ExeFileStaticTest, IsAFile) {
  const KivClExeFile exe("/bin/sh");
  const KivClFile& file = exe;
  EXPECT_TRUE(file.isFile());
  EXPECT_FALSE(file.isDirectory());
  EXPECT_TRUE(file.isExistent());
}

}  // namespace
