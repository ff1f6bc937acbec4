// File names: construction, part determination, composition, limits,
// copying, comparisons, extraction, the 8.3 check and existence.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <memory>
#include <string>

#include "kiv_filename.hpp"
#include "kiv_test_support.hpp"

namespace {

constexpr std::size_t kMax = KIV_PATH_MAX_LENGTH;

// True when `p` lies inside the text buffer of `f` (its 4097 bytes).
bool pointsInto(const KivClFilenameABase& f, const char* p) {
  const std::less_equal<const char*> le;
  return le(f.getAsCString(), p) && le(p, f.getAsCString() + kMax);
}

std::string baseOf(const KivClFilenameABase& f) {
  char buffer[kMax + 1];
  f.extractBaseName(buffer);
  return buffer;
}

std::string pathOf(const KivClFilenameABase& f, bool withSeparator, bool* result = nullptr) {
  char buffer[kMax + 1];
  std::memset(buffer, 'x', sizeof buffer);
  const bool ok = f.extractPath(buffer, withSeparator);
  if (result != nullptr) *result = ok;
  return buffer;
}

std::string serverOf(const KivClFilenameABase& f) {
  char buffer[kMax + 1];
  std::memset(buffer, 'x', sizeof buffer);
  f.extractServer(buffer);
  return buffer;
}

// Checks the invariants of the part pointers.
void expectConsistent(const KivClFilenameABase& f) {
  const char* text = f.getAsCString();
  EXPECT_EQ(f.getFull(), text);
  EXPECT_EQ(f.getLength(), std::strlen(text));
  EXPECT_LE(f.getLength(), kMax);
  EXPECT_TRUE(pointsInto(f, f.getPath()));
  EXPECT_TRUE(pointsInto(f, f.getName()));
  EXPECT_TRUE(pointsInto(f, f.getExtension()));
  EXPECT_LE(f.getFull(), f.getPath());
  EXPECT_LE(f.getPath(), f.getName());
  EXPECT_LE(f.getName(), f.getExtension());
  EXPECT_LE(f.getExtension(), text + f.getLength());
}

// ---------------------------------------------------------------------------
// Construction and part determination
// ---------------------------------------------------------------------------

TEST(FilenameTest, DefaultIsEmptySlashStyleName) {
  const KivClFilenameABase f;
  EXPECT_STREQ(f.getAsCString(), "");
  EXPECT_EQ(f.getLength(), 0u);
  EXPECT_EQ(f.getStyle(), 1);
  EXPECT_EQ(f.getName(), f.getAsCString());
  EXPECT_EQ(f.getExtension(), f.getAsCString());
  EXPECT_EQ(f.getPath(), f.getAsCString());
  expectConsistent(f);
  EXPECT_FALSE(f.isExistent());
}

TEST(FilenameTest, DriveLetterNameHasAllParts) {
  const KivClFilenameABase f("C:\\dir\\file.txt");
  EXPECT_EQ(f.getStyle(), 0);
  EXPECT_TRUE(f.hasDrive());
  EXPECT_TRUE(f.isAbsolute());
  EXPECT_STREQ(f.getName(), "file.txt");
  EXPECT_STREQ(f.getExtension(), ".txt");
  EXPECT_EQ(baseOf(f), "file");
  EXPECT_EQ(pathOf(f, true), "C:\\dir\\");
  EXPECT_EQ(pathOf(f, false), "C:\\dir");
  EXPECT_EQ(serverOf(f), "");
  EXPECT_EQ(f.getLength(), 15u);
  expectConsistent(f);
}

TEST(FilenameTest, ServerNameSplitsIntoServerAndPathProper) {
  const KivClFilenameABase f("\\\\server\\share\\dir\\f");
  EXPECT_EQ(serverOf(f), "\\\\server\\share");
  EXPECT_STREQ(f.getPath(), "\\dir\\f");
  EXPECT_TRUE(f.isAbsolute());
  EXPECT_STREQ(f.getName(), "f");
  EXPECT_STREQ(f.getExtension(), "");
  // The directory part includes the server prefix.
  EXPECT_EQ(pathOf(f, true), "\\\\server\\share\\dir\\");
  EXPECT_EQ(pathOf(f, false), "\\\\server\\share\\dir");
  expectConsistent(f);
}

TEST(FilenameTest, ServerAndShareAloneHaveNoDirectoryPart) {
  const KivClFilenameABase f("\\\\server\\share");
  EXPECT_STREQ(f.getPath(), "");
  EXPECT_EQ(serverOf(f), "\\\\server\\share");
  EXPECT_TRUE(f.isAbsolute());
  bool ok = true;
  EXPECT_EQ(pathOf(f, true, &ok), "");
  EXPECT_FALSE(ok);
  EXPECT_STREQ(f.getName(), "");
  expectConsistent(f);
}

TEST(FilenameTest, ServerWithoutShareGivesEmptyServerText) {
  EXPECT_EQ(serverOf(KivClFilenameABase("\\\\server")), "");
  EXPECT_EQ(serverOf(KivClFilenameABase("/usr/lib")), "");
  EXPECT_EQ(serverOf(KivClFilenameABase("\\dir\\f")), "");
}

TEST(FilenameTest, TrailingSeparatorGivesEmptyNameAndExtension) {
  const KivClFilenameABase f("/usr/lib/");
  EXPECT_STREQ(f.getName(), "");
  EXPECT_STREQ(f.getExtension(), "");
  EXPECT_EQ(baseOf(f), "");
  EXPECT_EQ(pathOf(f, true), "/usr/lib/");
  EXPECT_EQ(pathOf(f, false), "/usr/lib");
  expectConsistent(f);
}

TEST(FilenameTest, ExtensionIsLastDot) {
  const KivClFilenameABase f("archive.tar.gz");
  EXPECT_STREQ(f.getExtension(), ".gz");
  EXPECT_EQ(baseOf(f), "archive.tar");
  const KivClFilenameABase g("/data/archive.tar.gz");
  EXPECT_STREQ(g.getExtension(), ".gz");
  EXPECT_EQ(baseOf(g), "archive.tar");
}

TEST(FilenameTest, LeadingDotNameIsAllExtension) {
  const KivClFilenameABase f("/home/u/.profile");
  EXPECT_STREQ(f.getName(), ".profile");
  EXPECT_STREQ(f.getExtension(), ".profile");
  EXPECT_EQ(baseOf(f), "");
}

TEST(FilenameTest, DotInDirectoryIsNoExtension) {
  const KivClFilenameABase f("/a.b/c");
  EXPECT_STREQ(f.getName(), "c");
  EXPECT_STREQ(f.getExtension(), "");
  EXPECT_EQ(f.getExtension(), f.getAsCString() + f.getLength());
}

TEST(FilenameTest, SlashSeparatesBeforeBackslash) {
  const KivClFilenameABase f("a/b\\c");
  EXPECT_EQ(f.getStyle(), 0);
  EXPECT_STREQ(f.getName(), "b\\c");
  const KivClFilenameABase g("a\\b\\c.d");
  EXPECT_STREQ(g.getName(), "c.d");
  EXPECT_STREQ(g.getExtension(), ".d");
}

TEST(FilenameTest, NameWithoutSeparatorHasNoDirectoryPart) {
  const KivClFilenameABase f("file.txt");
  EXPECT_EQ(f.getName(), f.getAsCString());
  bool ok = true;
  EXPECT_EQ(pathOf(f, true, &ok), "");
  EXPECT_FALSE(ok);
  EXPECT_FALSE(f.isAbsolute());
}

TEST(FilenameTest, RootFileExtractsSeparatorOnlyPath) {
  const KivClFilenameABase f("/file");
  bool ok = false;
  EXPECT_EQ(pathOf(f, true, &ok), "/");
  EXPECT_TRUE(ok);
  EXPECT_EQ(pathOf(f, false, &ok), "");
  EXPECT_TRUE(ok);
}

TEST(FilenameTest, ExtractFunctionsIgnoreNullBuffer) {
  const KivClFilenameABase f("/dir/file.txt");
  EXPECT_FALSE(f.extractPath(nullptr, true));
  f.extractBaseName(nullptr);
  f.extractServer(nullptr);
}

TEST(FilenameTest, NullTextIsEmptyName) {
  const KivClFilenameABase f(static_cast<const char*>(nullptr));
  EXPECT_STREQ(f.getAsCString(), "");
  expectConsistent(f);
}

// ---------------------------------------------------------------------------
// Limits
// ---------------------------------------------------------------------------

TEST(FilenameTest, LongTextIsCutTo4096Characters) {
  const std::string text = "dir/" + std::string(4996, 'a');  // 5000 characters
  const KivClFilenameABase f(text.c_str());
  EXPECT_EQ(f.getLength(), kMax);
  EXPECT_EQ(std::string(f.getAsCString()), text.substr(0, kMax));
  EXPECT_EQ(f.getName(), f.getAsCString() + 4);
  EXPECT_EQ(f.getExtension(), f.getAsCString() + kMax);
  expectConsistent(f);
}

TEST(FilenameTest, TextOfExactly4096CharactersIsKept) {
  const std::string text = std::string(4092, 'b') + ".txt";
  const KivClFilenameABase f(text.c_str());
  EXPECT_EQ(f.getLength(), kMax);
  EXPECT_EQ(std::string(f.getAsCString()), text);
  EXPECT_STREQ(f.getExtension(), ".txt");
  const std::string longer = text + "x";
  const KivClFilenameABase g(longer.c_str());
  EXPECT_EQ(std::string(g.getAsCString()), text);
}

TEST(FilenameTest, ByteCountConstructorCopiesCountBytes) {
  const KivClFilenameABase f("abcdef", 3);
  EXPECT_STREQ(f.getAsCString(), "abc");
  EXPECT_EQ(f.getLength(), 3u);
  const KivClFilenameABase g("/dir/file.txt and more", 13);
  EXPECT_STREQ(g.getAsCString(), "/dir/file.txt");
  EXPECT_STREQ(g.getExtension(), ".txt");
}

TEST(FilenameTest, ByteCountConstructorStopsAtNul) {
  const char bytes[] = {'a', 'b', '\0', 'c', 'd'};
  const KivClFilenameABase f(bytes, sizeof bytes);
  EXPECT_STREQ(f.getAsCString(), "ab");
  EXPECT_EQ(f.getLength(), 2u);
}

TEST(FilenameTest, ByteCountConstructorLimitsCountTo4096) {
  const std::string text(5000, 'z');
  const KivClFilenameABase f(text.c_str(), text.size());
  EXPECT_EQ(f.getLength(), kMax);
  const KivClFilenameABase empty("abc", 0);
  EXPECT_STREQ(empty.getAsCString(), "");
  const KivClFilenameABase none(nullptr, 10);
  EXPECT_STREQ(none.getAsCString(), "");
}

// ---------------------------------------------------------------------------
// Composition
// ---------------------------------------------------------------------------

TEST(FilenameTest, ComposesDirectoryNameAndExtension) {
  EXPECT_STREQ(KivClFilenameABase("dir", "f", "txt").getAsCString(), "dir/f.txt");
  EXPECT_STREQ(KivClFilenameABase("dir/", "f", ".txt").getAsCString(), "dir/f.txt");
  EXPECT_STREQ(KivClFilenameABase("", "f", nullptr).getAsCString(), "f");
  const KivClFilenameABase f("dir", "f", "txt");
  EXPECT_STREQ(f.getName(), "f.txt");
  EXPECT_STREQ(f.getExtension(), ".txt");
  expectConsistent(f);
}

TEST(FilenameTest, ComposesEmptyExtensionAsNone) {
  EXPECT_STREQ(KivClFilenameABase("dir", "f", "").getAsCString(), "dir/f");
  EXPECT_STREQ(KivClFilenameABase(nullptr, "f", nullptr).getAsCString(), "f");
  EXPECT_STREQ(KivClFilenameABase("dir", nullptr, "txt").getAsCString(), "dir/.txt");
}

TEST(FilenameTest, ComposesBackslashStyleFromDirectory) {
  const KivClFilenameABase f("C:\\dir", "f", "txt");
  EXPECT_STREQ(f.getAsCString(), "C:\\dir\\f.txt");
  EXPECT_EQ(f.getStyle(), 0);
  EXPECT_STREQ(KivClFilenameABase("C:", "f", nullptr).getAsCString(), "C:\\f");
  // A drive makes the style backslash even when the directory uses "/".
  EXPECT_STREQ(KivClFilenameABase("C:/dir", "f", "txt").getAsCString(), "C:/dir\\f.txt");
  EXPECT_STREQ(KivClFilenameABase("C:\\dir\\", "f", "txt").getAsCString(), "C:\\dir\\f.txt");
}

TEST(FilenameTest, ComposedStyleComesFromDirectoryAlone) {
  const KivClFilenameABase f("dir", "a\\b", nullptr);
  EXPECT_STREQ(f.getAsCString(), "dir/a\\b");
  EXPECT_EQ(f.getStyle(), 1);
  EXPECT_STREQ(f.getName(), "a\\b");
  const KivClFilenameABase g("", "C:\\x\\f", nullptr);
  EXPECT_EQ(g.getStyle(), 1);
  EXPECT_FALSE(g.isAbsolute());
}

TEST(FilenameTest, ComposesAfterServerPrefix) {
  const KivClFilenameABase f("\\\\srv\\share\\dir", "f", "txt");
  EXPECT_STREQ(f.getAsCString(), "\\\\srv\\share\\dir\\f.txt");
  EXPECT_STREQ(f.getPath(), "\\dir\\f.txt");
  EXPECT_EQ(f.getStyle(), 0);
  EXPECT_EQ(serverOf(f), "\\\\srv\\share");
  EXPECT_STREQ(f.getName(), "f.txt");
}

TEST(FilenameTest, ComposesAfterServerAndShareAloneInSlashStyle) {
  // Server and share alone leave an empty path proper, which is slash
  // style, so the separator added is "/".
  const KivClFilenameABase f("\\\\srv\\share", "f", "txt");
  EXPECT_STREQ(f.getAsCString(), "\\\\srv\\share/f.txt");
  EXPECT_EQ(f.getStyle(), 1);
  EXPECT_STREQ(f.getPath(), "/f.txt");
  EXPECT_STREQ(f.getName(), "f.txt");
  EXPECT_TRUE(f.isAbsolute());
  expectConsistent(f);
}

TEST(FilenameTest, ComposedNameIsCutAtLimit) {
  const std::string dir(4000, 'd');
  const std::string name(200, 'n');
  const KivClFilenameABase f(dir.c_str(), name.c_str(), "txt");
  EXPECT_EQ(f.getLength(), kMax);
  EXPECT_EQ(std::string(f.getAsCString()), dir + "/" + name.substr(0, 95));
  EXPECT_STREQ(f.getExtension(), "");
  expectConsistent(f);
}

TEST(FilenameTest, ComposedDirectoryAtLimitLeavesNoRoom) {
  const std::string full(kMax, 'd');
  const KivClFilenameABase f(full.c_str(), "name", "txt");
  EXPECT_EQ(std::string(f.getAsCString()), full);
  const std::string almost(kMax - 1, 'd');
  const KivClFilenameABase g(almost.c_str(), "name", "txt");
  EXPECT_EQ(std::string(g.getAsCString()), almost + "/");
  EXPECT_STREQ(g.getName(), "");
  expectConsistent(g);
}

TEST(FilenameTest, ComposedExtensionIsCutAtLimit) {
  const std::string dir(4090, 'd');
  const KivClFilenameABase f(dir.c_str(), "f", "abcdefgh");
  EXPECT_EQ(f.getLength(), kMax);
  EXPECT_EQ(std::string(f.getAsCString()), dir + "/f.abc");
  EXPECT_STREQ(f.getExtension(), ".abc");
  const std::string dir2(4093, 'd');  // room for "/", "f" and "." only
  const KivClFilenameABase g(dir2.c_str(), "f", "txt");
  EXPECT_EQ(std::string(g.getAsCString()), dir2 + "/f.");
}

// ---------------------------------------------------------------------------
// Copying
// ---------------------------------------------------------------------------

TEST(FilenameTest, CopyRebasesEveryPointerAndSurvivesOriginal) {
  auto original = std::make_unique<KivClFilenameABase>("\\\\srv\\share\\dir\\file.txt");
  const KivClFilenameABase copy(*original);
  original.reset();
  EXPECT_STREQ(copy.getAsCString(), "\\\\srv\\share\\dir\\file.txt");
  EXPECT_STREQ(copy.getPath(), "\\dir\\file.txt");
  EXPECT_EQ(copy.getPath(), copy.getAsCString() + 11);
  EXPECT_STREQ(copy.getName(), "file.txt");
  EXPECT_STREQ(copy.getExtension(), ".txt");
  EXPECT_EQ(copy.getLength(), 24u);
  EXPECT_EQ(copy.getStyle(), 0);
  EXPECT_TRUE(copy.isAbsolute());
  EXPECT_EQ(baseOf(copy), "file");
  EXPECT_EQ(serverOf(copy), "\\\\srv\\share");
  expectConsistent(copy);
}

TEST(FilenameTest, AssignmentRebasesAndIgnoresLaterChangesOfSource) {
  auto source = std::make_unique<KivClFilenameABase>("/usr/lib/libz.so");
  KivClFilenameABase target("C:\\other\\name.txt");
  target = *source;
  *source = KivClFilenameABase("C:\\changed\\x.doc");
  EXPECT_STREQ(target.getAsCString(), "/usr/lib/libz.so");
  EXPECT_STREQ(target.getName(), "libz.so");
  EXPECT_STREQ(target.getExtension(), ".so");
  EXPECT_EQ(target.getStyle(), 1);
  source.reset();
  EXPECT_STREQ(target.getName(), "libz.so");
  expectConsistent(target);
}

TEST(FilenameTest, SelfAssignmentKeepsName) {
  KivClFilenameABase f("/a/b.c");
  KivClFilenameABase& alias = f;
  f = alias;
  EXPECT_STREQ(f.getAsCString(), "/a/b.c");
  EXPECT_STREQ(f.getExtension(), ".c");
  expectConsistent(f);
}

TEST(FilenameTest, CopyOfLongestNameKeepsAllCharacters) {
  const std::string text = "/" + std::string(4091, 'q') + ".ext";
  auto original = std::make_unique<KivClFilenameABase>(text.c_str());
  const KivClFilenameABase copy(*original);
  original.reset();
  EXPECT_EQ(std::string(copy.getAsCString()), text);
  EXPECT_STREQ(copy.getExtension(), ".ext");
  expectConsistent(copy);
}

// ---------------------------------------------------------------------------
// Comparisons
// ---------------------------------------------------------------------------

TEST(FilenameTest, MatchesPathComparesDirectoryPart) {
  const KivClFilenameABase f("/usr/lib/a.txt");
  EXPECT_TRUE(f.matchesPath(KivClFilenameABase("/usr/lib/b.txt")));
  EXPECT_TRUE(f.matchesPath(KivClFilenameABase("/usr/lib/sub/c")));
  EXPECT_FALSE(f.matchesPath(KivClFilenameABase("/usr/bin/a.txt")));
  EXPECT_FALSE(f.matchesPath(KivClFilenameABase("/usr")));
  EXPECT_FALSE(f.matchesPath(KivClFilenameABase("/USR/LIB/a.txt")));
}

TEST(FilenameTest, MatchesPathIgnoresCaseInBackslashStyle) {
  const KivClFilenameABase f("C:\\DIR\\a.txt");
  EXPECT_TRUE(f.matchesPath(KivClFilenameABase("c:\\dir\\b")));
  EXPECT_FALSE(f.matchesPath(KivClFilenameABase("c:\\other\\b")));
}

TEST(FilenameTest, MatchesPathComparesPathProperOnly) {
  const KivClFilenameABase f("\\\\srv\\share\\dir\\f");
  EXPECT_TRUE(f.matchesPath(KivClFilenameABase("\\\\other\\place\\dir\\g")));
}

TEST(FilenameTest, MatchesPathWithoutDirectoryMatchesAll) {
  EXPECT_TRUE(KivClFilenameABase("a.txt").matchesPath(KivClFilenameABase("/x/y")));
}

TEST(FilenameTest, MatchesPathAcceptsAnyPathProperty) {
  char text[] = "/usr/lib/";
  KivClPathProperty property;
  property.init(text);
  EXPECT_TRUE(KivClFilenameABase("/usr/lib/a").matchesPath(property));
  EXPECT_FALSE(KivClFilenameABase("/usr/lib/a").matchesPath(KivClPathProperty()));
}

TEST(FilenameTest, MatchesBaseComparesBaseNames) {
  EXPECT_TRUE(KivClFilenameABase("/a/file.txt").matchesBase(KivClFilenameABase("/b/file.doc")));
  EXPECT_FALSE(KivClFilenameABase("file.txt").matchesBase(KivClFilenameABase("file2.txt")));
  EXPECT_FALSE(KivClFilenameABase("file2.txt").matchesBase(KivClFilenameABase("file.txt")));
  EXPECT_TRUE(KivClFilenameABase("abc.txt").matchesBase(KivClFilenameABase("abc")));
  EXPECT_FALSE(KivClFilenameABase("File").matchesBase(KivClFilenameABase("file")));
  EXPECT_TRUE(KivClFilenameABase("C:\\FILE.TXT").matchesBase(KivClFilenameABase("c:\\file.doc")));
}

TEST(FilenameTest, MatchesExtensionWithOrWithoutDot) {
  const KivClFilenameABase f("a.txt");
  EXPECT_TRUE(f.matchesExtension("txt"));
  EXPECT_TRUE(f.matchesExtension(".txt"));
  EXPECT_FALSE(f.matchesExtension("TXT"));
  EXPECT_FALSE(f.matchesExtension("tx"));
  EXPECT_FALSE(f.matchesExtension(""));
  EXPECT_FALSE(f.matchesExtension(nullptr));
}

TEST(FilenameTest, MatchesExtensionIgnoresCaseInBackslashStyle) {
  const KivClFilenameABase f("C:\\A.TXT");
  EXPECT_TRUE(f.matchesExtension("txt"));
  EXPECT_TRUE(f.matchesExtension(".txt"));
  EXPECT_FALSE(f.matchesExtension("doc"));
}

TEST(FilenameTest, MatchesExtensionOfNameWithoutExtension) {
  const KivClFilenameABase f("/dir/a");
  EXPECT_TRUE(f.matchesExtension(""));
  EXPECT_TRUE(f.matchesExtension(nullptr));
  EXPECT_FALSE(f.matchesExtension("txt"));
  const KivClFilenameABase g("a.tar.gz");
  EXPECT_TRUE(g.matchesExtension("gz"));
  EXPECT_FALSE(g.matchesExtension("tar.gz"));
}

TEST(FilenameTest, MatchesWildcardPatternOnNamePart) {
  const KivClFilenameABase f("/dir/a.txt");
  EXPECT_TRUE(f.matchesWildcardPattern("*.txt"));
  EXPECT_TRUE(f.matchesWildcardPattern("?.t?t"));
  EXPECT_FALSE(f.matchesWildcardPattern("*.TXT"));
  EXPECT_FALSE(f.matchesWildcardPattern("/dir/*"));
  EXPECT_TRUE(KivClFilenameABase("C:\\dir\\A.TXT").matchesWildcardPattern("*.txt"));
  EXPECT_TRUE(KivClFilenameABase("/usr/lib/").matchesWildcardPattern("*"));
  EXPECT_FALSE(KivClFilenameABase("/usr/lib/").matchesWildcardPattern("?*"));
}

// ---------------------------------------------------------------------------
// 8.3 check
// ---------------------------------------------------------------------------

bool fat83(const char* text) { return KivClFilenameABase(text).isStyleFAT_8_3(); }

TEST(FilenameTest, EightDotThreeAcceptsShortBackslashNames) {
  EXPECT_TRUE(fat83("C:\\DIR\\FILE.TXT"));
  EXPECT_TRUE(fat83("C:\\DIR\\FILE.HTM"));
  EXPECT_TRUE(fat83("C:\\DIRECTOR\\12345678.TXT"));
  EXPECT_TRUE(fat83("\\F.TXT"));
  EXPECT_TRUE(fat83("C:F.TXT"));
  EXPECT_TRUE(fat83("C:\\A B.TXT"));
  EXPECT_TRUE(fat83("a\\b"));
}

TEST(FilenameTest, EightDotThreeRejectsLongParts) {
  EXPECT_FALSE(fat83("C:\\DIR\\LONGFILENAME.TXT"));
  EXPECT_FALSE(fat83("C:\\DIR\\123456789.TXT"));
  EXPECT_FALSE(fat83("C:\\DIR\\FILE.HTML"));
  EXPECT_FALSE(fat83("C:\\DIRECTORY\\F.TXT"));
}

TEST(FilenameTest, EightDotThreeRejectsSlashStyle) {
  EXPECT_FALSE(fat83("/tmp/a.b"));
  EXPECT_FALSE(fat83("F.TXT"));
}

TEST(FilenameTest, EightDotThreeRejectsForbiddenCharacters) {
  EXPECT_FALSE(fat83("C:\\A.B\\F.TXT"));  // dot inside a directory name
  EXPECT_FALSE(fat83("C:\\F*.TXT"));
  EXPECT_FALSE(fat83("C:\\A;B.TXT"));
  EXPECT_FALSE(fat83("C:\\A<B.TXT"));
  EXPECT_FALSE(fat83("C:\\A|B.TXT"));
  EXPECT_FALSE(fat83("C:\\A\"B.TXT"));
  EXPECT_FALSE(fat83("C:\\A:B.TXT"));
  EXPECT_FALSE(fat83("C:/DIR\\F.TXT"));  // backslash style through the drive
}

TEST(FilenameTest, EightDotThreeNeedsAlphabeticDrive) { EXPECT_FALSE(fat83("1:\\F.TXT")); }

TEST(FilenameTest, EightDotThreePassesEmptyScan) {
  EXPECT_TRUE(fat83("C:.TXT"));
  EXPECT_TRUE(fat83("C:\\"));
}

TEST(FilenameTest, EightDotThreeScansFromPathProper) {
  EXPECT_TRUE(fat83("\\\\longservername\\share\\F.TXT"));
  EXPECT_FALSE(fat83("\\\\srv\\share\\LONGDIRNAME\\F.TXT"));
}

// ---------------------------------------------------------------------------
// Existence
// ---------------------------------------------------------------------------

TEST(FilenameTest, IsExistentTestsTheFileSystem) {
  kivtest::TempDir dir;
  const std::string file = dir / "present.txt";
  std::ofstream(file) << "x";
  EXPECT_TRUE(KivClFilenameABase(file.c_str()).isExistent());
  EXPECT_FALSE(KivClFilenameABase((dir / "absent.txt").c_str()).isExistent());
  EXPECT_TRUE(KivClFilenameABase(dir.path().c_str()).isExistent());
  EXPECT_FALSE(KivClFilenameABase("").isExistent());
}

TEST(FilenameTest, IsExistentIsFalseForTooLongName) {
  const std::string text = "/" + std::string(4095, 'a');
  EXPECT_FALSE(KivClFilenameABase(text.c_str()).isExistent());
}

}  // namespace
