// Directories: construction with relative expansion (HOME, "./", "../", the
// one-or-two-characters rule), creation of whole trees with modes and
// masks, the current directory, attaching and detaching components, and the
// time queries.
#include "kiv_directory.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "fs_test_util.hpp"
#include "kiv_test_support.hpp"

namespace {

namespace fs = std::filesystem;

// The canonical text of a directory with its trailing "/".
std::string canonicalDir(const std::string& path) { return fs::canonical(path).string() + "/"; }

// Expands `text` with the static expansion and returns the buffer's text.
std::string expand(const char* text, bool* ok = nullptr) {
  char buffer[KIV_PATH_MAX_LENGTH + 1];
  std::strcpy(buffer, text);
  const bool result = KivClFileABase::expandRelativePath(buffer);
  if (ok != nullptr) *ok = result;
  return buffer;
}

// ---------------------------------------------------------------------------
// Construction and relative expansion
// ---------------------------------------------------------------------------

TEST(Directory, DefaultIsTheCurrentDirectory) {
  kivtest::TempDir dir;
  kivtest::CwdGuard cwd;
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  const KivClDirectory current;
  EXPECT_EQ(std::string(current.getAsCString()), canonicalDir(dir.path()));
  EXPECT_KIV_NO_ERROR(current);
}

TEST(Directory, DefaultReportsACurrentDirectoryThatWasRemoved) {
  kivtest::TempDir dir;
  kivtest::CwdGuard cwd;
  const std::string gone = dir / "gone";
  fstest::makeDir(gone);
  ASSERT_EQ(chdir(gone.c_str()), 0);
  ASSERT_EQ(rmdir(gone.c_str()), 0);
  const KivClDirectory current;
  EXPECT_STREQ(current.getAsCString(), "");
  EXPECT_KIV_ERROR(current, DIRECTORY_EXPANSION_FAILED, IO_NOT_EXISTENT);
  // A relative text cannot be expanded either; the text stays as given.
  const KivClDirectory relative("x");
  EXPECT_STREQ(relative.getAsCString(), "x/");
  EXPECT_KIV_ERROR(relative, DIRECTORY_EXPANSION_FAILED, IO_INVALID_NAME);
}

TEST(Directory, AbsoluteTextGetsItsSeparator) {
  const KivClDirectory directory("/a/b");
  EXPECT_STREQ(directory.getAsCString(), "/a/b/");
  EXPECT_STREQ(static_cast<const char*>(directory), "/a/b/");
  EXPECT_KIV_NO_ERROR(directory);
}

TEST(Directory, BackslashesAreNormalized) {
  const KivClDirectory directory("\\a\\b");
  EXPECT_STREQ(directory.getAsCString(), "/a/b/");
  EXPECT_EQ(directory.getLocation().getStyle(), KIV_PATH_STYLE_SLASH);
}

TEST(Directory, FromLocationNormalizesAndExpands) {
  const KivClLocation location("\\a\\b\\..\\c", false);
  ASSERT_EQ(location.getStyle(), KIV_PATH_STYLE_BACKSLASH);
  const KivClDirectory directory(location);
  EXPECT_STREQ(directory.getAsCString(), "/a/c/");
  EXPECT_EQ(directory.getLocation().getStyle(), KIV_PATH_STYLE_SLASH);
  EXPECT_KIV_NO_ERROR(directory);
}

TEST(Directory, ExpandsTildeWithHome) {
  kivtest::EnvGuard home("HOME");
  home.set("/home/u");
  EXPECT_STREQ(KivClDirectory("~/x/").getAsCString(), "/home/u/x/");
  EXPECT_STREQ(KivClDirectory("~/x").getAsCString(), "/home/u/x/");
  EXPECT_STREQ(KivClDirectory("~").getAsCString(), "/home/u/");
  EXPECT_STREQ(KivClDirectory("~/x/../y/").getAsCString(), "/home/u/y/");
}

TEST(Directory, HomeIsTakenAsItIsWithItsTrailingSeparator) {
  kivtest::EnvGuard home("HOME");
  home.set("/home/u/");
  EXPECT_STREQ(KivClDirectory("~/x/").getAsCString(), "/home/u//x/");
  EXPECT_STREQ(KivClDirectory("~/x").getAsCString(), "/home/u//x/");
  // ".." cuts back to the previous "/" only, so one "/" of the pair stays.
  EXPECT_STREQ(KivClDirectory("~/x/../").getAsCString(), "/home/u//");
  home.set("/");
  EXPECT_STREQ(KivClDirectory("~/x/").getAsCString(), "//x/");
  // The "/" of HOME is a character of the result that ".." can remove.
  const KivClDirectory above("~/../");
  EXPECT_STREQ(above.getAsCString(), "/");
  EXPECT_KIV_NO_ERROR(above);
}

TEST(Directory, StaticExpansionStartsWithHomeExactly) {
  kivtest::EnvGuard home("HOME");
  home.set("/home/u/");
  bool ok = false;
  EXPECT_EQ(expand("~/x/", &ok), "/home/u//x/");
  EXPECT_TRUE(ok);
  home.set("/home/u//");
  EXPECT_EQ(expand("~/x/y/", &ok), "/home/u///x/y/");
  EXPECT_TRUE(ok);
}

TEST(Directory, TildeWithoutHomeBecomesAComponentBelowTheRoot) {
  // Without HOME the result starts empty, not at the current directory.
  kivtest::EnvGuard home("HOME");
  home.unset();
  kivtest::TempDir dir;
  kivtest::CwdGuard cwd;
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  const KivClDirectory directory("~/x/");
  EXPECT_STREQ(directory.getAsCString(), "/~/x/");
  EXPECT_KIV_NO_ERROR(directory);
  const KivClDirectory above("~/../../");
  EXPECT_KIV_ERROR(above, DIRECTORY_EXPANSION_FAILED, IO_INVALID_NAME);
}

TEST(Directory, TildeSkipsExactlyTwoCharacters) {
  kivtest::EnvGuard home("HOME");
  home.set("/h");
  // "~ab/" loses "~a": the expansion drops two characters after the "~" test.
  EXPECT_STREQ(KivClDirectory("~ab/").getAsCString(), "/h/b/");
}

TEST(Directory, RelativeTextIsExpandedAgainstTheCurrentDirectory) {
  kivtest::TempDir dir;
  kivtest::CwdGuard cwd;
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  const std::string base = canonicalDir(dir.path());
  EXPECT_EQ(std::string(KivClDirectory("sub/dir").getAsCString()), base + "sub/dir/");
  EXPECT_EQ(std::string(KivClDirectory("./x/").getAsCString()), base + "x/");
  EXPECT_EQ(std::string(KivClDirectory(".").getAsCString()), base);
  EXPECT_EQ(std::string(KivClDirectory("").getAsCString()), base);
  EXPECT_EQ(std::string(KivClDirectory("..").getAsCString()),
            canonicalDir(fs::path(dir.path()).parent_path().string()));
}

TEST(Directory, RelativeTextFromTheRootDirectory) {
  kivtest::CwdGuard cwd;
  ASSERT_EQ(chdir("/"), 0);
  EXPECT_STREQ(KivClDirectory("x/").getAsCString(), "/x/");
  EXPECT_STREQ(KivClDirectory("x/../").getAsCString(), "/");
  const KivClDirectory above("../");
  EXPECT_STREQ(above.getAsCString(), "../");
  EXPECT_KIV_ERROR(above, DIRECTORY_EXPANSION_FAILED, IO_INVALID_NAME);
}

TEST(Directory, DotSegmentsDisappear) {
  EXPECT_STREQ(KivClDirectory("/a/./b/").getAsCString(), "/a/b/");
  EXPECT_STREQ(KivClDirectory("/./a/././").getAsCString(), "/a/");
  EXPECT_STREQ(KivClDirectory("/x/./a.b/").getAsCString(), "/x/a.b/");
}

TEST(Directory, DotDotRemovesTheLastComponent) {
  const KivClDirectory directory("/a/b/../c/");
  EXPECT_STREQ(directory.getAsCString(), "/a/c/");
  EXPECT_KIV_NO_ERROR(directory);
  EXPECT_STREQ(KivClDirectory("/a/b/c/../../d/").getAsCString(), "/a/d/");
}

TEST(Directory, DotDotMayRemoveTheLastComponentDownToTheRoot) {
  const KivClDirectory directory("/a/../");
  EXPECT_STREQ(directory.getAsCString(), "/");
  EXPECT_KIV_NO_ERROR(directory);
  EXPECT_STREQ(KivClDirectory("/a/../b/").getAsCString(), "/b/");
  EXPECT_STREQ(KivClDirectory("/a/b/../../").getAsCString(), "/");
}

TEST(Directory, DotDotAboveTheRootFailsAndKeepsTheText) {
  const KivClDirectory directory("/../");
  EXPECT_STREQ(directory.getAsCString(), "/../");
  EXPECT_KIV_ERROR(directory, DIRECTORY_EXPANSION_FAILED, IO_INVALID_NAME);
  const KivClDirectory twice("/a/../../");
  EXPECT_STREQ(twice.getAsCString(), "/a/../../");
  EXPECT_KIV_ERROR(twice, DIRECTORY_EXPANSION_FAILED, IO_INVALID_NAME);
}

TEST(Directory, ComponentsEndingInDotsCountAsDotAndDotDot) {
  // Only the one or two characters before each "/" are looked at.
  EXPECT_STREQ(KivClDirectory("/x/a./y/").getAsCString(), "/x/y/");
  EXPECT_STREQ(KivClDirectory("/x/ab../y/").getAsCString(), "/y/");
  EXPECT_STREQ(KivClDirectory("/x/.../y/").getAsCString(), "/y/");
  EXPECT_STREQ(KivClDirectory("/x/.a/y/./").getAsCString(), "/x/.a/y/");
}

TEST(Directory, AbsoluteTextWithoutDotSlashIsNotExpanded) {
  // Only texts holding "./" are expanded: "/x/.." has no "./" before its
  // separator is appended, but "/x/../" then holds one.
  EXPECT_STREQ(KivClDirectory("/x//y/").getAsCString(), "/x//y/");
  EXPECT_STREQ(KivClDirectory("/x/a.b").getAsCString(), "/x/a.b/");
  EXPECT_STREQ(KivClDirectory("/x/..").getAsCString(), "/");
  EXPECT_STREQ(KivClDirectory("/x/a.").getAsCString(), "/x/");
}

TEST(Directory, ExpansionKeepsAServerPrefix) {
  const KivClDirectory directory("\\\\srv\\share\\a\\..\\b");
  EXPECT_STREQ(directory.getAsCString(), "\\\\srv\\share/b/");
  EXPECT_KIV_NO_ERROR(directory);
}

TEST(Directory, ExpansionThatDoesNotFitFails) {
  kivtest::TempDir dir;
  kivtest::CwdGuard cwd;
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  const std::string name(4090, 'n');
  const KivClDirectory directory(name.c_str());
  EXPECT_KIV_ERROR(directory, DIRECTORY_EXPANSION_FAILED, IO_INVALID_NAME);
  EXPECT_EQ(std::string(directory.getAsCString()), name + "/");
}

TEST(Directory, CopyKeepsTextAndError) {
  const KivClDirectory failed("/../");
  const KivClDirectory copy(failed);
  EXPECT_STREQ(copy.getAsCString(), "/../");
  EXPECT_KIV_ERROR(copy, DIRECTORY_EXPANSION_FAILED, IO_INVALID_NAME);
  KivClDirectory assigned("/a/");
  assigned = copy;
  EXPECT_STREQ(assigned.getAsCString(), "/../");
  EXPECT_KIV_ERROR(assigned, DIRECTORY_EXPANSION_FAILED, IO_INVALID_NAME);
}

TEST(Directory, ExpandRelativeDirectoryInPlace) {
  KivClDirectory directory("/a/");
  EXPECT_TRUE(directory.expandRelativeDirectory());  // nothing to expand
  EXPECT_STREQ(directory.getAsCString(), "/a/");
  EXPECT_KIV_NO_ERROR(directory);
  KivClDirectory failed("/../");
  EXPECT_FALSE(failed.expandRelativeDirectory());
  EXPECT_STREQ(failed.getAsCString(), "/../");
  EXPECT_KIV_ERROR(failed, DIRECTORY_EXPANSION_FAILED, IO_INVALID_NAME);
}

TEST(FileABase, RelativeTest) {
  EXPECT_FALSE(KivClFileABase::isRelativePath("/a/b/"));
  EXPECT_TRUE(KivClFileABase::isRelativePath("a/"));
  EXPECT_TRUE(KivClFileABase::isRelativePath("/a/../b/"));
  EXPECT_TRUE(KivClFileABase::isRelativePath("/a./"));
  EXPECT_TRUE(KivClFileABase::isRelativePath("~/"));
  EXPECT_TRUE(KivClFileABase::isRelativePath(""));
  EXPECT_FALSE(KivClFileABase::isRelativePath("C:\\dir\\"));
  EXPECT_FALSE(KivClFileABase::isRelativePath(nullptr));
  EXPECT_TRUE(KivClDirectory::isRelativeDirectory("x/"));
  EXPECT_FALSE(KivClDirectory::isRelativeDirectory("/x/"));
}

TEST(FileABase, ExpansionDropsTextAfterTheLastSeparator) {
  bool ok = false;
  EXPECT_EQ(expand("/a/b", &ok), "/a/");
  EXPECT_TRUE(ok);
  EXPECT_EQ(expand("/a/b/../c", &ok), "/a/");
  EXPECT_TRUE(ok);
}

TEST(FileABase, FailedExpansionWritesTheEmptyText) {
  bool ok = true;
  EXPECT_EQ(expand("/../", &ok), "");
  EXPECT_FALSE(ok);
  char buffer[KIV_PATH_MAX_LENGTH + 1];
  std::strcpy(buffer, "/a/../../");
  EXPECT_FALSE(KivClDirectory::expandRelativeDirectory(buffer));
  EXPECT_STREQ(buffer, "");
  EXPECT_FALSE(KivClFileABase::expandRelativePath(nullptr));
}

TEST(FileABase, ExpansionOfAnAbsoluteTextKeepsEmptyComponents) {
  EXPECT_EQ(expand("/a//b/"), "/a//b/");
  EXPECT_EQ(expand("/a//../"), "/a/");
}

TEST(FileABase, TimeQueriesOfAMissingTextAreZero) {
  EXPECT_EQ(KivClFileABase::getDateTimeOfCreation("/no/such/entry"), 0);
  EXPECT_EQ(KivClFileABase::getDateTimeOfLastAccess("/no/such/entry"), 0);
  EXPECT_EQ(KivClFileABase::getDateTimeOfLastModification("/no/such/entry"), 0);
  EXPECT_EQ(KivClFileABase::getDateTimeOfCreation(nullptr), 0);
}

// ---------------------------------------------------------------------------
// The interface and the time queries
// ---------------------------------------------------------------------------

TEST(Directory, AnswersAsADirectoryThroughTheInterface) {
  kivtest::TempDir dir;
  const std::unique_ptr<KivClFileABase> object(new KivClDirectory(dir.path().c_str()));
  EXPECT_TRUE(object->isDirectory());
  EXPECT_FALSE(object->isFile());
  EXPECT_TRUE(object->isExistent());
  EXPECT_EQ(std::string(object->getAsCString()), dir.path() + "/");
  EXPECT_EQ(std::string(static_cast<const char*>(*object)), dir.path() + "/");
  EXPECT_FALSE(KivClDirectory((dir / "missing").c_str()).isExistent());
  // Whatever the name holds, a directory object answers as a directory.
  fstest::writeFile(dir / "file", "x");
  EXPECT_TRUE(KivClDirectory((dir / "file").c_str()).isDirectory());
}

TEST(Directory, TimeQueriesReadTheDirectorysStatus) {
  kivtest::TempDir dir;
  const std::string path = dir / "d";
  fstest::makeDir(path);
  const timespec times[2] = {{1000000000, 0}, {1200000000, 0}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  struct stat status {};
  ASSERT_EQ(stat(path.c_str(), &status), 0);
  const KivClDirectory directory(path.c_str());
  EXPECT_EQ(directory.getDateTimeOfLastAccess(), 1000000000);
  EXPECT_EQ(directory.getDateTimeOfLastModification(), 1200000000);
  EXPECT_EQ(directory.getDateTimeOfCreation(), static_cast<std::int64_t>(status.st_ctime));
  EXPECT_EQ(KivClDirectory::getDateTimeOfLastModification(path.c_str()), 1200000000);
  EXPECT_EQ(KivClDirectory((dir / "missing").c_str()).getDateTimeOfLastModification(), 0);
  EXPECT_NE(KivClDirectory("/").getDateTimeOfLastModification(), 0);
}

// ---------------------------------------------------------------------------
// Creation
// ---------------------------------------------------------------------------

TEST(Directory, CreateMakesEveryMissingDirectory) {
  kivtest::TempDir dir;
  KivClDirectory directory((dir / "x/y/z").c_str());
  EXPECT_TRUE(directory.create());
  EXPECT_KIV_NO_ERROR(directory);
  EXPECT_TRUE(fs::is_directory(dir / "x"));
  EXPECT_TRUE(fs::is_directory(dir / "x/y"));
  EXPECT_TRUE(fs::is_directory(dir / "x/y/z"));
  EXPECT_TRUE(directory.isExistent());
  // Called again, everything exists: still a success.
  EXPECT_TRUE(directory.create());
  EXPECT_KIV_NO_ERROR(directory);
  EXPECT_EQ(std::string(directory.getAsCString()), dir / "x/y/z/");
}

TEST(Directory, CreateOfTheRootSucceeds) {
  KivClDirectory root("/");
  EXPECT_TRUE(root.create());
  EXPECT_KIV_NO_ERROR(root);
}

TEST(Directory, CreateAppliesModeAndUmask) {
  kivtest::TempDir dir;
  fstest::UmaskGuard mask(022);
  KivClDirectory directory((dir / "m/n").c_str());
  EXPECT_TRUE(directory.create(0770));
  EXPECT_EQ(fstest::modeOf(dir / "m"), 0750);
  EXPECT_EQ(fstest::modeOf(dir / "m/n"), 0750);
  KivClDirectory byDefault((dir / "d").c_str());
  EXPECT_TRUE(byDefault.create());
  EXPECT_EQ(fstest::modeOf(dir / "d"), 0755);
}

TEST(Directory, CreateWithMaskSetsTheDirectorysBitsWhateverTheUmask) {
  kivtest::TempDir dir;
  fstest::UmaskGuard mask(077);
  KivClDirectory directory((dir / "p/q").c_str());
  EXPECT_TRUE(directory.create(0775, 002));
  // Only the directory itself is changed; its new parent keeps the umask.
  EXPECT_EQ(fstest::modeOf(dir / "p/q"), 0775);
  EXPECT_EQ(fstest::modeOf(dir / "p"), 0700);
  KivClDirectory masked((dir / "r").c_str());
  EXPECT_TRUE(masked.create(0755, 027));
  EXPECT_EQ(fstest::modeOf(dir / "r"), 0750);
}

TEST(Directory, CreateBelowAFileFails) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "file", "x");
  KivClDirectory directory((dir / "file/sub").c_str());
  EXPECT_FALSE(directory.create());
  EXPECT_KIV_ERROR(directory, DIRECTORY_COULD_NOT_CREATE, IO_NOT_EXISTENT);
  EXPECT_EQ(std::string(directory.getAsCString()), dir / "file/sub/");
  // create(mode, mask) reports the creation's result.
  EXPECT_FALSE(directory.create(0777, 0));
  EXPECT_KIV_ERROR(directory, DIRECTORY_COULD_NOT_CREATE, IO_NOT_EXISTENT);
}

TEST(Directory, CreateKeepsTheDirectoriesMadeBeforeAFailure) {
  kivtest::TempDir dir;
  const std::string tooLong(300, 'l');  // longer than a name may be
  KivClDirectory directory((dir / ("made/" + tooLong + "/x")).c_str());
  EXPECT_FALSE(directory.create());
  EXPECT_KIV_ERROR(directory, DIRECTORY_COULD_NOT_CREATE, IO_NOT_EXISTENT);
  EXPECT_TRUE(fs::is_directory(dir / "made"));
}

TEST(Directory, CreateCountsAnExistingFileAsExisting) {
  kivtest::TempDir dir;
  fstest::writeFile(dir / "file", "x");
  KivClDirectory directory((dir / "file").c_str());
  EXPECT_TRUE(directory.create());
  EXPECT_KIV_NO_ERROR(directory);
  EXPECT_TRUE(fs::is_regular_file(dir / "file"));
}

TEST(Directory, CreateOfTheEmptyTextFails) {
  kivtest::TempDir dir;
  kivtest::CwdGuard cwd;
  const std::string gone = dir / "gone";
  fstest::makeDir(gone);
  ASSERT_EQ(chdir(gone.c_str()), 0);
  ASSERT_EQ(rmdir(gone.c_str()), 0);
  KivClDirectory empty;
  ASSERT_STREQ(empty.getAsCString(), "");
  EXPECT_FALSE(empty.create());
  EXPECT_KIV_ERROR(empty, DIRECTORY_COULD_NOT_CREATE, IO_NOT_EXISTENT);
}

TEST(Directory, CreateWithoutPermissionFails) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "locked", 0555);
  fstest::prepareForChild(dir);
  const std::string path = dir / "locked/new/deeper";
  const std::string result = fstest::runUnprivileged([&] {
    KivClDirectory directory(path.c_str());
    const bool created = directory.create();
    return std::to_string(created) + " " + fstest::describe(directory.getLastError()) + " " +
           std::to_string(fstest::exists(path));
  });
  EXPECT_EQ(result, "0 {DIRECTORY_COULD_NOT_CREATE, IO_NOT_EXISTENT} 0");
}

// ---------------------------------------------------------------------------
// The current directory
// ---------------------------------------------------------------------------

TEST(Directory, SetAsCurrentChangesTheCurrentDirectory) {
  kivtest::TempDir dir;
  kivtest::CwdGuard cwd;
  KivClDirectory directory(dir.path().c_str());
  EXPECT_TRUE(directory.setAsCurrent());
  EXPECT_KIV_NO_ERROR(directory);
  EXPECT_EQ(fs::current_path(), fs::canonical(dir.path()));
}

TEST(Directory, SetAsCurrentOfAMissingDirectoryFails) {
  kivtest::TempDir dir;
  kivtest::CwdGuard cwd;
  const fs::path before = fs::current_path();
  KivClDirectory directory((dir / "missing").c_str());
  EXPECT_FALSE(directory.setAsCurrent());
  EXPECT_KIV_ERROR(directory, DIRECTORY_COULD_NOT_CHANGE, IO_NOT_EXISTENT);
  EXPECT_EQ(fs::current_path(), before);
}

TEST(Directory, SetAsCurrentWithoutSearchPermissionFails) {
  kivtest::TempDir dir;
  fstest::makeDir(dir / "closed", 0600);
  fstest::prepareForChild(dir);
  const std::string path = dir / "closed";
  const std::string result = fstest::runUnprivileged([&] {
    KivClDirectory directory(path.c_str());
    const bool changed = directory.setAsCurrent();
    return std::to_string(changed) + " " + fstest::describe(directory.getLastError());
  });
  EXPECT_EQ(result, "0 {DIRECTORY_COULD_NOT_CHANGE, IO_NOT_EXISTENT}");
}

// ---------------------------------------------------------------------------
// Attaching and detaching components
// ---------------------------------------------------------------------------

TEST(Directory, AttachSubDirAppendsTheLocation) {
  KivClDirectory directory("/a/");
  EXPECT_TRUE(directory.attachSubDir(KivClLocation("b/c")));
  EXPECT_STREQ(directory.getAsCString(), "/a/b/c/");
  EXPECT_KIV_NO_ERROR(directory);
  EXPECT_TRUE(directory.attachSubDir(KivClLocation("")));
  EXPECT_STREQ(directory.getAsCString(), "/a/b/c/");
}

TEST(Directory, AttachSubDirExpandsDotDot) {
  KivClDirectory directory("/a/b/");
  EXPECT_TRUE(directory.attachSubDir(KivClLocation("../x")));
  EXPECT_STREQ(directory.getAsCString(), "/a/x/");
  EXPECT_TRUE(directory.attachSubDir(KivClLocation("../../")));
  EXPECT_STREQ(directory.getAsCString(), "/");
}

TEST(Directory, AttachSubDirAboveTheRootFailsAndKeepsTheText) {
  KivClDirectory directory("/a/");
  EXPECT_FALSE(directory.attachSubDir(KivClLocation("../../")));
  EXPECT_STREQ(directory.getAsCString(), "/a/");
  EXPECT_KIV_ERROR(directory, DIRECTORY_EXPANSION_FAILED, IO_INVALID_NAME);
  EXPECT_TRUE(directory.attachSubDir(KivClLocation("b")));
  EXPECT_KIV_NO_ERROR(directory);
}

TEST(Directory, AttachSubDirNormalizesTheAttachedText) {
  KivClDirectory directory("/a/");
  EXPECT_TRUE(directory.attachSubDir(KivClLocation("b\\c", false)));
  EXPECT_STREQ(directory.getAsCString(), "/a/b/c/");
  EXPECT_EQ(directory.getLocation().getStyle(), KIV_PATH_STYLE_SLASH);
}

TEST(Directory, AttachSubDirThatDoesNotFitFails) {
  KivClDirectory directory("/a/");
  const std::string longName(4094, 'x');
  EXPECT_FALSE(directory.attachSubDir(KivClLocation(longName.c_str())));
  EXPECT_STREQ(directory.getAsCString(), "/a/");
  EXPECT_KIV_ERROR(directory, DIRECTORY_EXPANSION_FAILED, IO_INVALID_NAME);
}

TEST(Directory, DetachLastSubDirRemovesOneComponent) {
  KivClDirectory directory("/a/b/");
  EXPECT_TRUE(directory.detachLastSubDir());
  EXPECT_STREQ(directory.getAsCString(), "/a/");
  EXPECT_EQ(directory.getLocation().getLength(), 3u);
  EXPECT_KIV_NO_ERROR(directory);
  EXPECT_TRUE(directory.detachLastSubDir());
  EXPECT_STREQ(directory.getAsCString(), "/");
}

TEST(Directory, DetachFromTheRootFails) {
  KivClDirectory root("/");
  EXPECT_FALSE(root.detachLastSubDir());
  EXPECT_KIV_ERROR(root, DIRECTORY_COULD_NOT_DETACH, LOGIC);
  EXPECT_STREQ(root.getAsCString(), "/");
}

TEST(Directory, DetachRemovesAnEmptyComponentAlone) {
  KivClDirectory directory("/a//");
  EXPECT_TRUE(directory.detachLastSubDir());
  EXPECT_STREQ(directory.getAsCString(), "/a/");
}

TEST(Directory, DetachFromATextWithoutComponentFails) {
  kivtest::TempDir dir;
  kivtest::CwdGuard cwd;
  const std::string gone = dir / "gone";
  fstest::makeDir(gone);
  ASSERT_EQ(chdir(gone.c_str()), 0);
  ASSERT_EQ(rmdir(gone.c_str()), 0);
  KivClDirectory empty;
  EXPECT_FALSE(empty.detachLastSubDir());
  EXPECT_KIV_ERROR(empty, DIRECTORY_COULD_NOT_DETACH, LOGIC);
  KivClDirectory relative("x");  // cannot be expanded here
  EXPECT_FALSE(relative.detachLastSubDir());
  EXPECT_STREQ(relative.getAsCString(), "x/");
}

TEST(Directory, DetachSubDirsStopsAtTheFirstFailure) {
  KivClDirectory directory("/a/b/c/");
  EXPECT_TRUE(directory.detachSubDirs(2));
  EXPECT_STREQ(directory.getAsCString(), "/a/");
  EXPECT_FALSE(directory.detachSubDirs(5));
  EXPECT_STREQ(directory.getAsCString(), "/");
  EXPECT_KIV_ERROR(directory, DIRECTORY_COULD_NOT_DETACH, LOGIC);
  // A count of 0 succeeds and clears the error.
  EXPECT_TRUE(directory.detachSubDirs(0));
  EXPECT_KIV_NO_ERROR(directory);
}

TEST(Directory, NumberOfSubDirs) {
  EXPECT_EQ(KivClDirectory("/a/b/").getNumOfSubDirs(), 2u);
  EXPECT_EQ(KivClDirectory("/").getNumOfSubDirs(), 0u);
  EXPECT_EQ(KivClDirectory("/a/b/c/d").getNumOfSubDirs(), 4u);
}

}  // namespace
