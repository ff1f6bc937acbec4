// Shared libraries: completion of names with ".so" along "LD_LIBRARY_PATH"
// (set in-process, which the system's loader ignores), the second attempt
// without extension, symbol lookup, unloading, and the flat interface.
//
// The library loaded is kivtestplugin.so, built next to this test.

#include "kiv_dll.hpp"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "kiv_alloc_support.hpp"
#include "kiv_test_support.hpp"

namespace {

constexpr const char* kPluginDir = KIV_TEST_PLUGIN_DIR;
constexpr const char* kPluginName = "kivtestplugin";

const std::string kPluginPath = std::string(kPluginDir) + "/" + kPluginName + ".so";

using AnswerFunction = int (*)();

// The function behind a procedure address.
AnswerFunction asAnswer(void* procedure) { return reinterpret_cast<AnswerFunction>(procedure); }

// True when the library at `path` is loaded in this process (asked without
// loading it).
bool isLoaded(const std::string& path) {
  void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (handle == nullptr) return false;
  ::dlclose(handle);
  return true;
}

class DllTest : public ::testing::Test {
 protected:
  DllTest() { m_libraryPath.set(std::string("/nonexistent:") + kPluginDir); }

  kivtest::EnvGuard m_libraryPath{"LD_LIBRARY_PATH"};
};

// ---------------------------------------------------------------------------
// KivClDllFile and KivClDllProcLoaderFile
// ---------------------------------------------------------------------------

TEST_F(DllTest, NameWithoutExtensionIsFoundAsNameSoAlongLibraryPath) {
  const KivClDllProcLoaderFile dll(kPluginName);
  ASSERT_NE(dll.getHandle(), nullptr);
  EXPECT_EQ(std::string(dll.getAsCString()), kPluginPath);
  EXPECT_TRUE(dll.isFoundInSystemPath());
  void* answer = dll.getProcedure("kivTestPluginAnswer");
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(asAnswer(answer)(), 42);
}

TEST_F(DllTest, NameWithExtensionIsFoundAlongLibraryPath) {
  const KivClDllProcLoaderFile dll("kivtestplugin.so");
  ASSERT_NE(dll.getHandle(), nullptr);
  EXPECT_EQ(std::string(dll.getAsCString()), kPluginPath);
  EXPECT_NE(dll.getProcedure("kivTestPluginName"), nullptr);
}

TEST_F(DllTest, NameWithDirectoryGetsExtensionAndIsNotSearched) {
  m_libraryPath.unset();
  const std::string given = std::string(kPluginDir) + "/" + kPluginName;
  const KivClDllFile dll(given.c_str());
  ASSERT_NE(dll.getHandle(), nullptr);
  EXPECT_EQ(std::string(dll.getAsCString()), kPluginPath);
  EXPECT_FALSE(dll.isFoundInSystemPath());
}

TEST_F(DllTest, BareNameIsNotLoadedFromCurrentDirectory) {
  m_libraryPath.unset();
  kivtest::CwdGuard cwd;
  ASSERT_EQ(::chdir(kPluginDir), 0);
  const KivClDllFile dll(kPluginName);
  EXPECT_EQ(dll.getHandle(), nullptr);
  // The bare name is given to the system's search, which does not look in
  // the current directory. The completed name exists relative to it, so
  // there is no second attempt.
  EXPECT_STREQ(dll.getAsCString(), "kivtestplugin.so");
  EXPECT_FALSE(dll.isFoundInSystemPath());
}

TEST_F(DllTest, FileWithoutExtensionIsFoundOnSecondAttempt) {
  kivtest::TempDir dir;
  const std::string copy = dir / "kivplugnoext";
  std::filesystem::copy_file(kPluginPath, copy);
  m_libraryPath.set("/nonexistent:" + dir.path());
  const KivClDllProcLoaderFile dll("kivplugnoext");
  ASSERT_NE(dll.getHandle(), nullptr);
  EXPECT_EQ(std::string(dll.getAsCString()), copy);
  EXPECT_TRUE(dll.isFoundInSystemPath());
  ASSERT_NE(dll.getProcedure("kivTestPluginAnswer"), nullptr);
  EXPECT_EQ(asAnswer(dll.getProcedure("kivTestPluginAnswer"))(), 42);
}

TEST_F(DllTest, FileWithoutExtensionIsFoundByPathOnSecondAttempt) {
  kivtest::TempDir dir;
  const std::string copy = dir / "kivplugnoext";
  std::filesystem::copy_file(kPluginPath, copy);
  const KivClDllFile dll(copy.c_str());
  ASSERT_NE(dll.getHandle(), nullptr);
  EXPECT_EQ(std::string(dll.getAsCString()), copy);
  EXPECT_FALSE(dll.isFoundInSystemPath());
}

TEST_F(DllTest, NameSoIsPreferredOverNameWithoutExtension) {
  kivtest::TempDir dir;
  std::filesystem::copy_file(kPluginPath, dir / "kivplug");
  std::filesystem::copy_file(kPluginPath, dir / "kivplug.so");
  m_libraryPath.set(dir.path());
  const KivClDllFile dll("kivplug");
  ASSERT_NE(dll.getHandle(), nullptr);
  EXPECT_EQ(std::string(dll.getAsCString()), dir / "kivplug.so");
}

TEST_F(DllTest, NoSecondAttemptWhenNameHadExtension) {
  // "kivplug.1" is not completed, so a failed load is final.
  kivtest::TempDir dir;
  std::filesystem::copy_file(kPluginPath, dir / "kivplug");
  m_libraryPath.set(dir.path());
  const KivClDllFile dll("kivplug.1");
  EXPECT_EQ(dll.getHandle(), nullptr);
  EXPECT_STREQ(dll.getAsCString(), "kivplug.1");
}

TEST_F(DllTest, NoSecondAttemptWhenCompletedNameExists) {
  // kivplug.so exists but is no library: the file "kivplug" is not tried.
  kivtest::TempDir dir;
  std::filesystem::copy_file(kPluginPath, dir / "kivplug");
  FILE* junk = std::fopen((dir / "kivplug.so").c_str(), "w");
  ASSERT_NE(junk, nullptr);
  std::fputs("not a library", junk);
  std::fclose(junk);
  m_libraryPath.set(dir.path());
  const KivClDllFile dll("kivplug");
  EXPECT_EQ(dll.getHandle(), nullptr);
  EXPECT_EQ(std::string(dll.getAsCString()), dir / "kivplug.so");
}

TEST_F(DllTest, BareNameNotOnLibraryPathUsesSystemSearch) {
  m_libraryPath.unset();
  const KivClDllProcLoaderFile libc("libc.so.6");
  ASSERT_NE(libc.getHandle(), nullptr);
  EXPECT_STREQ(libc.getAsCString(), "libc.so.6");
  EXPECT_FALSE(libc.isFoundInSystemPath());
  EXPECT_NE(libc.getProcedure("strlen"), nullptr);
}

TEST_F(DllTest, MissingLibraryHasNoHandleAndNoProcedures) {
  const KivClDllProcLoaderFile dll("kiv-no-such-library");
  EXPECT_EQ(dll.getHandle(), nullptr);
  EXPECT_EQ(dll.getProcedure("kivTestPluginAnswer"), nullptr);
  EXPECT_STREQ(dll.getAsCString(), "kiv-no-such-library");
  // Silent: no error record is set.
  EXPECT_KIV_NO_ERROR(dll);
}

TEST_F(DllTest, EmptyNameLoadsNothing) {
  m_libraryPath.unset();
  const KivClDllProcLoaderFile dll("");
  EXPECT_EQ(dll.getHandle(), nullptr);
  EXPECT_EQ(dll.getProcedure("main"), nullptr);
}

TEST_F(DllTest, UnexportedNameIsNotFound) {
  const KivClDllProcLoaderFile dll(kPluginName);
  ASSERT_NE(dll.getHandle(), nullptr);
  EXPECT_EQ(dll.getProcedure("kivTestPluginHidden"), nullptr);
  EXPECT_EQ(dll.getProcedure("kivTestPluginNoSuchFunction"), nullptr);
  EXPECT_EQ(dll.getProcedure(nullptr), nullptr);
  EXPECT_NE(dll.getProcedure("kivTestPluginHiddenTwice"), nullptr);
}

TEST_F(DllTest, DestructionUnloadsLibrary) {
  ASSERT_FALSE(isLoaded(kPluginPath));
  {
    const KivClDllFile dll(kPluginName);
    ASSERT_NE(dll.getHandle(), nullptr);
    EXPECT_TRUE(isLoaded(kPluginPath));
  }
  EXPECT_FALSE(isLoaded(kPluginPath));
}

TEST_F(DllTest, LoadingAgainKeepsOneReference) {
  ASSERT_FALSE(isLoaded(kPluginPath));
  {
    KivClDllFile dll(kPluginName);
    void* first = dll.getHandle();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(dll.load(), first);
    EXPECT_EQ(dll.getHandle(), first);
  }
  EXPECT_FALSE(isLoaded(kPluginPath));
}

TEST(DllStaticTest, SearchesLibraryPathWithSoExtension) {
  EXPECT_STREQ(KivClDllFile::getSystemPathEnvironmentVariable(), "LD_LIBRARY_PATH");
  EXPECT_STREQ(KivClDllFile::getDefaultFileType(), ".so");
  EXPECT_STREQ(KivClDllProcLoaderFile::getDefaultFileType(), ".so");
}

// ---------------------------------------------------------------------------
// Flat interface
// ---------------------------------------------------------------------------

TEST_F(DllTest, OpenWithoutExtensionFindsExportedFunctions) {
  void* handle = kivDllProcLoaderOpen(kPluginName);
  ASSERT_NE(handle, nullptr);
  void* answer = kivDllProcLoaderGetProcedure(handle, "kivTestPluginAnswer");
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(asAnswer(answer)(), 42);
  using NameFunction = const char* (*)();
  void* name = kivDllProcLoaderGetProcedure(handle, "kivTestPluginName");
  ASSERT_NE(name, nullptr);
  EXPECT_STREQ(reinterpret_cast<NameFunction>(name)(), "kiv test plugin");
  EXPECT_EQ(kivDllProcLoaderGetProcedure(handle, "kivTestPluginHidden"), nullptr);
  kivDllProcLoaderClose(handle);
  EXPECT_FALSE(isLoaded(kPluginPath));
}

TEST_F(DllTest, OpenWithExtensionFindsLibrary) {
  void* handle = kivDllProcLoaderOpen("kivtestplugin.so");
  ASSERT_NE(handle, nullptr);
  EXPECT_NE(kivDllProcLoaderGetProcedure(handle, "kivTestPluginAnswer"), nullptr);
  kivDllProcLoaderClose(handle);
}

TEST_F(DllTest, OpenOfMissingLibraryReturnsNull) {
  EXPECT_EQ(kivDllProcLoaderOpen("kiv-no-such-library"), nullptr);
  EXPECT_EQ(kivDllProcLoaderOpen("/nonexistent/kiv-no-such-library.so"), nullptr);
}

TEST_F(DllTest, OpenOfNullOrEmptyNameReturnsNull) {
  EXPECT_EQ(kivDllProcLoaderOpen(nullptr), nullptr);
  EXPECT_EQ(kivDllProcLoaderOpen(""), nullptr);
}

TEST(DllFlatTest, CloseOfNullDoesNothing) {
  kivDllProcLoaderClose(nullptr);
  SUCCEED();
}

TEST(DllFlatTest, GetProcedureOfNullHandleReturnsNull) {
  EXPECT_EQ(kivDllProcLoaderGetProcedure(nullptr, "kivTestPluginAnswer"), nullptr);
}

TEST(DllFlatDeathTest, OpenOfMissingLibraryLeaksNothing) {
  kivtest::EnvGuard libraryPath("LD_LIBRARY_PATH");
  libraryPath.set(kPluginDir);
  EXPECT_EXIT(
      {
        // Installed in a process of its own, since the manager is process-wide.
        kivtest::ScopedUserMemoryManager memory;
        void* missing = kivDllProcLoaderOpen("kiv-no-such-library");
        const long missingAllocations = memory.allocations();
        const long missingBalance = memory.allocations() - memory.releases();
        void* found = kivDllProcLoaderOpen(kPluginName);
        const long openBalance = memory.allocations() - memory.releases();
        kivDllProcLoaderClose(found);
        const long closeBalance = memory.allocations() - memory.releases();
        std::fprintf(stderr, "missing=%p allocations=%ld balance=%ld open=%ld close=%ld\n", missing,
                     missingAllocations, missingBalance, openBalance, closeBalance);
        std::fflush(stderr);
        const bool ok = missing == nullptr && missingAllocations == 1 && missingBalance == 0 &&
                        found != nullptr && openBalance == 1 && closeBalance == 0;
        std::_Exit(ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace
