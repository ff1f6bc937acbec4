// File names: the operations of KivClFilename that change a name.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include "kiv_filename.hpp"

namespace {

constexpr std::size_t kMax = KIV_PATH_MAX_LENGTH;

void expectConsistent(const KivClFilenameABase& f) {
  const char* text = f.getAsCString();
  const std::less_equal<const char*> le;
  EXPECT_EQ(f.getFull(), text);
  EXPECT_EQ(f.getLength(), std::strlen(text));
  EXPECT_LE(f.getLength(), kMax);
  EXPECT_TRUE(le(text, f.getPath()));
  EXPECT_TRUE(le(f.getPath(), f.getName()));
  EXPECT_TRUE(le(f.getName(), f.getExtension()));
  EXPECT_TRUE(le(f.getExtension(), text + f.getLength()));
}

// ---------------------------------------------------------------------------
// setNewName and setNewBaseName
// ---------------------------------------------------------------------------

TEST(FilenameEditTest, SetNewNameKeepsDirectoryAndDropsExtension) {
  KivClFilename f("/dir/old.txt");
  f.setNewName("new");
  EXPECT_STREQ(f.getAsCString(), "/dir/new");
  EXPECT_STREQ(f.getName(), "new");
  EXPECT_STREQ(f.getExtension(), "");
  expectConsistent(f);
  f.setNewName("other.doc");
  EXPECT_STREQ(f.getAsCString(), "/dir/other.doc");
  EXPECT_STREQ(f.getExtension(), ".doc");
}

TEST(FilenameEditTest, SetNewNameWithoutDirectory) {
  KivClFilename f("old.txt");
  f.setNewName("new.doc");
  EXPECT_STREQ(f.getAsCString(), "new.doc");
  expectConsistent(f);
}

TEST(FilenameEditTest, SetNewNameInBackslashStyle) {
  KivClFilename f("C:\\dir\\old.txt");
  f.setNewName("new.doc");
  EXPECT_STREQ(f.getAsCString(), "C:\\dir\\new.doc");
  EXPECT_EQ(f.getStyle(), 0);
}

TEST(FilenameEditTest, SetNewNameAfterServerAndShareAddsSlash) {
  // Server and share alone are a slash-style directory (empty path proper).
  KivClFilename f("\\\\srv\\share");
  f.setNewName("f");
  EXPECT_STREQ(f.getAsCString(), "\\\\srv\\share/f");
  EXPECT_STREQ(f.getPath(), "/f");
  EXPECT_STREQ(f.getName(), "f");
}

TEST(FilenameEditTest, SetNewNameAfterServerPath) {
  KivClFilename f("\\\\srv\\share\\dir\\old.txt");
  f.setNewName("new");
  EXPECT_STREQ(f.getAsCString(), "\\\\srv\\share\\dir\\new");
  EXPECT_STREQ(f.getPath(), "\\dir\\new");
}

TEST(FilenameEditTest, SetNewNameWithOwnNameKeepsName) {
  KivClFilename f("/dir/name.txt");
  f.setNewName(f.getName());
  EXPECT_STREQ(f.getAsCString(), "/dir/name.txt");
  expectConsistent(f);
}

TEST(FilenameEditTest, SetNewNameIsCutAtLimit) {
  const std::string dir = "/" + std::string(3999, 'd') + "/";  // 4001 characters
  KivClFilename f((dir + "x").c_str());
  f.setNewName(std::string(200, 'n').c_str());
  EXPECT_EQ(f.getLength(), kMax);
  EXPECT_EQ(std::string(f.getAsCString()), dir + std::string(95, 'n'));
  expectConsistent(f);
}

TEST(FilenameEditTest, SetNewBaseNameKeepsExtension) {
  KivClFilename f("/dir/old.txt");
  f.setNewBaseName("new");
  EXPECT_STREQ(f.getAsCString(), "/dir/new.txt");
  EXPECT_STREQ(f.getExtension(), ".txt");
  KivClFilename g("/dir/old");
  g.setNewBaseName("new");
  EXPECT_STREQ(g.getAsCString(), "/dir/new");
  expectConsistent(g);
}

TEST(FilenameEditTest, SetNewBaseNameWithDotReplacesItsTail) {
  // The base's dot starts the extension that the old one then replaces.
  KivClFilename f("x.txt");
  f.setNewBaseName("a.b");
  EXPECT_STREQ(f.getAsCString(), "a.txt");
}

TEST(FilenameEditTest, SetNewBaseNameWithOwnBase) {
  KivClFilename f("C:\\d\\base.ext");
  char base[kMax + 1];
  f.extractBaseName(base);
  f.setNewBaseName(base);
  EXPECT_STREQ(f.getAsCString(), "C:\\d\\base.ext");
}

// ---------------------------------------------------------------------------
// setNewExtension
// ---------------------------------------------------------------------------

TEST(FilenameEditTest, SetNewExtensionWithOrWithoutDotGivesSameResult) {
  KivClFilename f("/d/a.txt");
  f.setNewExtension("doc");
  EXPECT_STREQ(f.getAsCString(), "/d/a.doc");
  f.setNewExtension(".md");
  EXPECT_STREQ(f.getAsCString(), "/d/a.md");
  EXPECT_STREQ(f.getExtension(), ".md");
  EXPECT_EQ(f.getLength(), 7u);
  expectConsistent(f);
}

TEST(FilenameEditTest, SetNewExtensionAddsToNameWithoutExtension) {
  KivClFilename f("/d/a");
  f.setNewExtension("txt");
  EXPECT_STREQ(f.getAsCString(), "/d/a.txt");
  EXPECT_STREQ(f.getExtension(), ".txt");
  EXPECT_EQ(f.getLength(), 8u);
}

TEST(FilenameEditTest, EmptyExtensionRemovesExtension) {
  for (const char* ext : {"", ".", static_cast<const char*>(nullptr)}) {
    KivClFilename f("/d/a.txt");
    f.setNewExtension(ext);
    EXPECT_STREQ(f.getAsCString(), "/d/a");
    EXPECT_STREQ(f.getExtension(), "");
    EXPECT_EQ(f.getLength(), 4u);
    expectConsistent(f);
  }
}

TEST(FilenameEditTest, SetNewExtensionReplacesLastExtensionOnly) {
  KivClFilename f("a.b.c");
  f.setNewExtension("d");
  EXPECT_STREQ(f.getAsCString(), "a.b.d");
}

TEST(FilenameEditTest, SetNewExtensionKeepsPositionForDottedExtension) {
  KivClFilename f("a.txt");
  f.setNewExtension("tar.gz");
  EXPECT_STREQ(f.getAsCString(), "a.tar.gz");
  EXPECT_STREQ(f.getExtension(), ".tar.gz");
}

TEST(FilenameEditTest, SetNewExtensionOfDotName) {
  KivClFilename f("/home/.profile");
  f.setNewExtension("txt");
  EXPECT_STREQ(f.getAsCString(), "/home/.txt");
}

TEST(FilenameEditTest, SetNewExtensionIgnoresDotsInDirectory) {
  KivClFilename f("dir.d/file");
  f.setNewExtension("txt");
  EXPECT_STREQ(f.getAsCString(), "dir.d/file.txt");
}

TEST(FilenameEditTest, SetNewExtensionFromOwnText) {
  KivClFilename f("a.txt");
  f.setNewExtension(f.getExtension());
  EXPECT_STREQ(f.getAsCString(), "a.txt");
  KivClFilename g("ab");
  g.setNewExtension(g.getName());
  EXPECT_STREQ(g.getAsCString(), "ab.ab");
  expectConsistent(g);
}

TEST(FilenameEditTest, SetNewExtensionIsCutAtLimit) {
  const std::string full(kMax, 'x');
  KivClFilename f(full.c_str());
  f.setNewExtension("txt");
  EXPECT_EQ(std::string(f.getAsCString()), full);  // no room even for the dot
  const std::string almost(kMax - 2, 'x');
  KivClFilename g(almost.c_str());
  g.setNewExtension("txt");
  EXPECT_EQ(std::string(g.getAsCString()), almost + ".t");
  EXPECT_EQ(g.getLength(), kMax);
  expectConsistent(g);
}

// ---------------------------------------------------------------------------
// setNewPath, removePath
// ---------------------------------------------------------------------------

TEST(FilenameEditTest, SetNewPathKeepsNameWithExtension) {
  KivClFilename f("/old/dir/f.txt");
  f.setNewPath("/new");
  EXPECT_STREQ(f.getAsCString(), "/new/f.txt");
  EXPECT_STREQ(f.getExtension(), ".txt");
  f.setNewPath("/other/");
  EXPECT_STREQ(f.getAsCString(), "/other/f.txt");
  f.setNewPath("");
  EXPECT_STREQ(f.getAsCString(), "f.txt");
  f.setNewPath(nullptr);
  EXPECT_STREQ(f.getAsCString(), "f.txt");
  expectConsistent(f);
}

TEST(FilenameEditTest, SetNewPathTakesStyleOfNewDirectory) {
  KivClFilename f("/old/f.txt");
  f.setNewPath("C:\\x");
  EXPECT_STREQ(f.getAsCString(), "C:\\x\\f.txt");
  EXPECT_EQ(f.getStyle(), 0);
  EXPECT_TRUE(f.isAbsolute());
  f.setNewPath("/y");
  EXPECT_STREQ(f.getAsCString(), "/y/f.txt");
  EXPECT_EQ(f.getStyle(), 1);
}

TEST(FilenameEditTest, SetNewPathFromOwnText) {
  KivClFilename f("/a/f");
  f.setNewPath(f.getAsCString());
  EXPECT_STREQ(f.getAsCString(), "/a/f/f");
  expectConsistent(f);
}

TEST(FilenameEditTest, RemovePathLeavesNamePart) {
  KivClFilename f("/usr/lib/libc.so.6");
  f.removePath();
  EXPECT_STREQ(f.getAsCString(), "libc.so.6");
  EXPECT_EQ(f.getPath(), f.getAsCString());
  EXPECT_EQ(f.getName(), f.getAsCString());
  EXPECT_STREQ(f.getExtension(), ".6");
  EXPECT_EQ(f.getLength(), 9u);
  expectConsistent(f);
}

TEST(FilenameEditTest, RemovePathDropsServerPrefix) {
  KivClFilename f("\\\\srv\\share\\dir\\f.txt");
  f.removePath();
  EXPECT_STREQ(f.getAsCString(), "f.txt");
  EXPECT_EQ(f.getPath(), f.getAsCString());
  EXPECT_FALSE(f.isAbsolute());
  EXPECT_EQ(f.getStyle(), 0);  // the style stays
  expectConsistent(f);
}

TEST(FilenameEditTest, RemovePathWithoutDirectoryDoesNothing) {
  KivClFilename f("file.txt");
  f.removePath();
  EXPECT_STREQ(f.getAsCString(), "file.txt");
  KivClFilename g("\\\\srv\\share");
  g.removePath();
  EXPECT_STREQ(g.getAsCString(), "\\\\srv\\share");
  EXPECT_STREQ(g.getPath(), "");
}

TEST(FilenameEditTest, RemovePathOfDirectoryNameGivesEmptyName) {
  KivClFilename f("/usr/lib/");
  f.removePath();
  EXPECT_STREQ(f.getAsCString(), "");
  EXPECT_EQ(f.getLength(), 0u);
  expectConsistent(f);
}

TEST(FilenameEditTest, RemovePathKeepsBackslashInSlashStyleName) {
  // In "x/a\b" the name part is "a\b"; it moves whole and stays the name.
  KivClFilename f("x/a\\b.c");
  f.removePath();
  EXPECT_STREQ(f.getAsCString(), "a\\b.c");
  EXPECT_EQ(f.getName(), f.getAsCString());
  EXPECT_STREQ(f.getExtension(), ".c");
}

// ---------------------------------------------------------------------------
// Copies and assignments between the kinds of names
// ---------------------------------------------------------------------------

TEST(FilenameEditTest, CopyIsIndependentOfModifiedOriginal) {
  auto original = std::make_unique<KivClFilename>("C:\\dir\\file.txt");
  const KivClFilename copy(*original);
  original->setNewName("other.doc");
  original->setNewPath("/x");
  EXPECT_STREQ(copy.getAsCString(), "C:\\dir\\file.txt");
  original.reset();
  EXPECT_STREQ(copy.getName(), "file.txt");
  EXPECT_STREQ(copy.getExtension(), ".txt");
  EXPECT_EQ(copy.getStyle(), 0);
  expectConsistent(copy);
}

TEST(FilenameEditTest, AssignsFromBackupName) {
  const KivClBakFilename bak(KivClFilename("/d/a.txt"));
  KivClFilename f("x");
  f = bak;
  EXPECT_STREQ(f.getAsCString(), "/d/a.txt.bak");
  EXPECT_STREQ(f.getExtension(), ".txt.bak");
  f.setNewExtension("old");
  EXPECT_STREQ(f.getAsCString(), "/d/a.old");
  EXPECT_STREQ(bak.getAsCString(), "/d/a.txt.bak");
  expectConsistent(f);
}

TEST(FilenameEditTest, ConvertsFromAnyFilename) {
  const KivClFilenameABase base("/d/f.c");
  KivClFilename f(base);
  f.setNewExtension("h");
  EXPECT_STREQ(f.getAsCString(), "/d/f.h");
  EXPECT_STREQ(base.getAsCString(), "/d/f.c");
}

}  // namespace
