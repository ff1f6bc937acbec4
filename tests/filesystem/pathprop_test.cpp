// Path properties: style, drive, server prefix, absoluteness.
#include <gtest/gtest.h>

#include <string>

#include "kiv_pathprop.hpp"

namespace {

// A path property over its own writable copy of a text.
class Described {
 public:
  explicit Described(const char* text) : m_text(text) { m_property.init(m_text.data()); }
  Described(const Described&) = delete;
  Described& operator=(const Described&) = delete;

  const KivClPathProperty& operator*() const { return m_property; }
  const KivClPathProperty* operator->() const { return &m_property; }
  // Offset of the path proper in the text.
  long pathOffset() const { return m_property.getPath() - m_property.getFull(); }

 private:
  std::string m_text;
  KivClPathProperty m_property;
};

TEST(PathPropertyTest, DefaultHasNoTextAndSlashStyle) {
  const KivClPathProperty property;
  EXPECT_EQ(property.getFull(), nullptr);
  EXPECT_EQ(property.getPath(), nullptr);
  EXPECT_EQ(property.getStyle(), KIV_PATH_STYLE_SLASH);
  EXPECT_FALSE(property.hasDrive());
  EXPECT_FALSE(property.isAbsolute());
  EXPECT_TRUE(property.isNormalized());
  EXPECT_STREQ(property.getPathSep(), "/");
}

TEST(PathPropertyTest, StyleValuesAreOneForSlashAndZeroForBackslash) {
  EXPECT_EQ(KIV_PATH_STYLE_SLASH, 1);
  EXPECT_EQ(KIV_PATH_STYLE_BACKSLASH, 0);
}

TEST(PathPropertyTest, GetStyleIsBackslashForDriveLetterEvenWithSlashes) {
  const KivClPathProperty property;
  EXPECT_EQ(property.getStyle("C:/dir/f"), 0);
  EXPECT_EQ(property.getStyle("c:"), 0);
  EXPECT_EQ(property.getStyle("C:\\dir"), 0);
}

TEST(PathPropertyTest, GetStyleWithoutDriveDependsOnBackslash) {
  const KivClPathProperty property;
  EXPECT_EQ(property.getStyle("/usr/lib"), 1);
  EXPECT_EQ(property.getStyle("dir\\f"), 0);
  EXPECT_EQ(property.getStyle("a/b\\c"), 0);
  EXPECT_EQ(property.getStyle(""), 1);
  EXPECT_EQ(property.getStyle(nullptr), 1);
  // A digit before the colon is no drive letter.
  EXPECT_EQ(property.getStyle("1:/x"), 1);
  EXPECT_EQ(property.getStyle("1:\\x"), 0);
}

TEST(PathPropertyTest, GetPathSepFollowsStyleOfGivenText) {
  const KivClPathProperty property;
  EXPECT_STREQ(property.getPathSep("/a/b"), "/");
  EXPECT_STREQ(property.getPathSep("a\\b"), "\\");
  EXPECT_STREQ(property.getPathSep("C:/x"), "\\");
  EXPECT_STREQ(property.getPathSep(""), "/");
}

TEST(PathPropertyTest, DriveLetterPathIsAbsoluteBackslashStyle) {
  const Described d("C:\\dir\\file.txt");
  EXPECT_EQ(d->getStyle(), 0);
  EXPECT_STREQ(d->getPathSep(), "\\");
  EXPECT_TRUE(d->hasDrive());
  EXPECT_TRUE(d->isAbsolute());
  EXPECT_FALSE(d->isNormalized());
  EXPECT_EQ(d.pathOffset(), 0);
}

TEST(PathPropertyTest, DriveWithoutBackslashAfterColonIsNotAbsolute) {
  const Described relative("C:dir\\f");
  EXPECT_TRUE(relative->hasDrive());
  EXPECT_FALSE(relative->isAbsolute());
  const Described slashes("C:/dir/f");
  EXPECT_EQ(slashes->getStyle(), 0);
  EXPECT_TRUE(slashes->hasDrive());
  EXPECT_FALSE(slashes->isAbsolute());
}

TEST(PathPropertyTest, BackslashRootWithoutDriveIsNotAbsolute) {
  const Described d("\\dir\\f");
  EXPECT_EQ(d->getStyle(), 0);
  EXPECT_FALSE(d->hasDrive());
  EXPECT_FALSE(d->isAbsolute());
}

TEST(PathPropertyTest, SlashStyleIsAbsoluteWhenStartingWithSlash) {
  EXPECT_TRUE(Described("/usr/lib")->isAbsolute());
  EXPECT_FALSE(Described("usr/lib")->isAbsolute());
  EXPECT_FALSE(Described("")->isAbsolute());
  EXPECT_TRUE(Described("/usr/lib")->isNormalized());
}

TEST(PathPropertyTest, HasDriveNeedsTwoCharacters) {
  EXPECT_FALSE(Described("C")->hasDrive());
  EXPECT_FALSE(Described("")->hasDrive());
  EXPECT_TRUE(Described("C:")->hasDrive());
  // The letter is not checked by hasDrive.
  EXPECT_TRUE(Described("1:\\x")->hasDrive());
}

TEST(PathPropertyTest, ServerPrefixStartsPathProperAfterShare) {
  const Described d("\\\\server\\share\\dir\\f");
  EXPECT_EQ(d.pathOffset(), 14);
  EXPECT_STREQ(d->getPath(), "\\dir\\f");
  EXPECT_TRUE(d->isAbsolute());
  EXPECT_EQ(d->getStyle(), 0);
  EXPECT_FALSE(d->hasDrive());
}

TEST(PathPropertyTest, ServerAndShareAloneHaveEmptyPathProper) {
  const Described d("\\\\server\\share");
  EXPECT_STREQ(d->getPath(), "");
  EXPECT_EQ(d.pathOffset(), 14);
  EXPECT_TRUE(d->isAbsolute());
  // The empty path proper holds no backslash: slash style, normalized.
  EXPECT_EQ(d->getStyle(), 1);
  EXPECT_TRUE(d->isNormalized());
}

TEST(PathPropertyTest, ServerWithoutShareSeparatorIsNoPrefix) {
  const Described d("\\\\server");
  EXPECT_EQ(d.pathOffset(), 0);
  EXPECT_FALSE(d->isAbsolute());
  EXPECT_EQ(Described("\\\\").pathOffset(), 0);
  EXPECT_EQ(Described("\\\\x").pathOffset(), 0);
}

TEST(PathPropertyTest, ServerNameIsSearchedFromFourthCharacter) {
  // The third character belongs to the server name even when it is "\".
  const Described d("\\\\\\x\\share\\f");
  EXPECT_STREQ(d->getPath(), "\\f");
  EXPECT_EQ(d.pathOffset(), 10);
}

TEST(PathPropertyTest, SingleBackslashStartIsNoServerPrefix) {
  EXPECT_EQ(Described("\\a\\b\\c").pathOffset(), 0);
  EXPECT_EQ(Described("/\\a\\b").pathOffset(), 0);
}

TEST(PathPropertyTest, FindPathProperMatchesInit) {
  const char* text = "\\\\server\\share\\dir";
  EXPECT_EQ(KivClPathProperty::findPathProper(text), text + 14);
  const char* plain = "/usr/lib";
  EXPECT_EQ(KivClPathProperty::findPathProper(plain), plain);
  EXPECT_EQ(KivClPathProperty::findPathProper(nullptr), nullptr);
}

TEST(PathPropertyTest, NormalizePathReplacesEveryBackslash) {
  char text[] = "a\\b\\\\c\\";
  KivClPathProperty::normalizePath(text);
  EXPECT_STREQ(text, "a/b//c/");
  char empty[] = "";
  KivClPathProperty::normalizePath(empty);
  EXPECT_STREQ(empty, "");
  KivClPathProperty::normalizePath(nullptr);  // ignored
}

TEST(PathPropertyTest, InitOnNullLeavesNoText) {
  KivClPathProperty property;
  property.init(nullptr);
  EXPECT_EQ(property.getFull(), nullptr);
  EXPECT_EQ(property.getPath(), nullptr);
  EXPECT_EQ(property.getStyle(), 1);
  EXPECT_FALSE(property.isAbsolute());
}

}  // namespace
