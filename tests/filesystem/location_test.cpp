// Locations: the trailing separator, normalising, the constructors and
// copies, roots and existence.
#include "kiv_location.hpp"

#include <gtest/gtest.h>

#include <string>

#include "kiv_filename.hpp"
#include "kiv_test_support.hpp"

namespace {

TEST(Location, AppendsSeparatorToDirectoryText) {
  const KivClLocation location("/usr/lib");
  EXPECT_STREQ(location.getAsCString(), "/usr/lib/");
  EXPECT_EQ(location.getLength(), 9u);
  EXPECT_EQ(location.getStyle(), KIV_PATH_STYLE_SLASH);
  EXPECT_EQ(location.getFull(), location.getAsCString());
}

TEST(Location, KeepsExistingSeparator) {
  const KivClLocation location("/usr/lib/");
  EXPECT_STREQ(location.getAsCString(), "/usr/lib/");
  EXPECT_EQ(location.getLength(), 9u);
}

TEST(Location, EmptyTextStaysEmpty) {
  const KivClLocation empty("");
  EXPECT_STREQ(empty.getAsCString(), "");
  EXPECT_EQ(empty.getLength(), 0u);
  const KivClLocation null(nullptr);
  EXPECT_STREQ(null.getAsCString(), "");
  const KivClLocation byDefault;
  EXPECT_STREQ(byDefault.getAsCString(), "");
  EXPECT_EQ(byDefault.getStyle(), KIV_PATH_STYLE_SLASH);
}

TEST(Location, NormalizingTurnsBackslashesIntoSlashes) {
  const KivClLocation location("a\\b\\", true);
  EXPECT_STREQ(location.getAsCString(), "a/b/");
  EXPECT_EQ(location.getStyle(), KIV_PATH_STYLE_SLASH);
  EXPECT_TRUE(location.isNormalized());
}

TEST(Location, NormalizingAppendsTheSeparatorOfTheOriginalStyleFirst) {
  // "a\b" is in backslash style, so "\" is appended and then normalised.
  const KivClLocation location("a\\b", true);
  EXPECT_STREQ(location.getAsCString(), "a/b/");
  EXPECT_EQ(location.getLength(), 4u);
}

TEST(Location, WithoutNormalizingKeepsBackslashStyle) {
  const KivClLocation location("a\\b", false);
  EXPECT_STREQ(location.getAsCString(), "a\\b\\");
  EXPECT_EQ(location.getStyle(), KIV_PATH_STYLE_BACKSLASH);
  EXPECT_FALSE(location.isNormalized());
}

TEST(Location, DriveTextStaysBackslashStyleAfterNormalizing) {
  const KivClLocation location("C:\\dir", true);
  EXPECT_STREQ(location.getAsCString(), "C:/dir/");
  EXPECT_EQ(location.getStyle(), KIV_PATH_STYLE_BACKSLASH);
  EXPECT_TRUE(location.hasDrive());
}

TEST(Location, ServerPrefixKeepsItsBackslashesWhenNormalizing) {
  const KivClLocation location("\\\\srv\\share\\dir", true);
  EXPECT_STREQ(location.getAsCString(), "\\\\srv\\share/dir/");
  EXPECT_STREQ(location.getPath(), "/dir/");
  EXPECT_EQ(location.getStyle(), KIV_PATH_STYLE_SLASH);
  EXPECT_TRUE(location.isAbsolute());
}

TEST(Location, FromBytesCopiesExactlyCount) {
  const KivClLocation location("/usr/libXYZ", 8, false);
  EXPECT_STREQ(location.getAsCString(), "/usr/lib/");
  const KivClLocation stopsAtNul("/a\0/b", 5, false);
  EXPECT_STREQ(stopsAtNul.getAsCString(), "/a/");
  const KivClLocation normalized("x\\y\\zzz", 4, true);
  EXPECT_STREQ(normalized.getAsCString(), "x/y/");
}

TEST(Location, FromFilenameTakesItsDirectoryPart) {
  const KivClFilenameABase name("/a/b/f.txt");
  EXPECT_STREQ(KivClLocation(name).getAsCString(), "/a/b/");
  const KivClFilenameABase bare("f.txt");
  EXPECT_STREQ(KivClLocation(bare).getAsCString(), "");
  const KivClFilenameABase backslash("C:\\dir\\f.txt");
  EXPECT_STREQ(KivClLocation(backslash, false).getAsCString(), "C:\\dir\\");
  EXPECT_STREQ(KivClLocation(backslash, true).getAsCString(), "C:/dir/");
}

TEST(Location, CopyRefersToItsOwnBuffer) {
  KivClLocation original("\\\\srv\\share\\dir", false);
  const KivClLocation copy(original);
  original = "/other";
  EXPECT_STREQ(copy.getAsCString(), "\\\\srv\\share\\dir\\");
  EXPECT_EQ(copy.getFull(), copy.getAsCString());
  EXPECT_STREQ(copy.getPath(), "\\dir\\");
  EXPECT_EQ(copy.getPath(), copy.getAsCString() + 11);
  EXPECT_EQ(copy.getStyle(), KIV_PATH_STYLE_BACKSLASH);
  EXPECT_EQ(copy.getLength(), 16u);

  KivClLocation assigned;
  assigned = copy;
  EXPECT_STREQ(assigned.getAsCString(), copy.getAsCString());
  EXPECT_EQ(assigned.getPath(), assigned.getAsCString() + 11);
  const KivClLocation& same = assigned;
  assigned = same;  // self-assignment keeps everything
  EXPECT_STREQ(assigned.getAsCString(), "\\\\srv\\share\\dir\\");
}

TEST(Location, AssigningTextDoesNotNormalize) {
  KivClLocation location("/x", true);
  location = "a\\b";
  EXPECT_STREQ(location.getAsCString(), "a\\b\\");
  EXPECT_EQ(location.getStyle(), KIV_PATH_STYLE_BACKSLASH);
  // A text from the location's own buffer is taken as well.
  location = location.getAsCString() + 2;
  EXPECT_STREQ(location.getAsCString(), "b\\");
}

TEST(Location, RootsAreOneSeparatorOrDriveWithSeparator) {
  EXPECT_TRUE(KivClLocation("/").isRoot());
  EXPECT_FALSE(KivClLocation("/usr/").isRoot());
  EXPECT_TRUE(KivClLocation("C:\\").isRoot());
  EXPECT_TRUE(KivClLocation("C:").isRoot());  // "C:" gets its "\"
  EXPECT_FALSE(KivClLocation("C:\\dir\\").isRoot());
  EXPECT_TRUE(KivClLocation("\\\\srv\\share\\").isRoot());
  EXPECT_FALSE(KivClLocation("\\\\srv\\share\\dir\\").isRoot());
  EXPECT_FALSE(KivClLocation("a/").isRoot());
  EXPECT_FALSE(KivClLocation("").isRoot());
  EXPECT_FALSE(KivClLocation("\\").isRoot());  // backslash style needs a drive
}

TEST(Location, ExistsOnlyWhenTheDirectoryIsThere) {
  kivtest::TempDir dir;
  EXPECT_TRUE(KivClLocation(dir.path().c_str()).isExistent());
  EXPECT_FALSE(KivClLocation((dir / "missing").c_str()).isExistent());
  EXPECT_FALSE(KivClLocation("").isExistent());
}

TEST(Location, CutsOverlongTextAt4096Characters) {
  const std::string longText(5000, 'x');
  const KivClLocation location(longText.c_str());
  EXPECT_EQ(location.getLength(), KIV_PATH_MAX_LENGTH);
  // No room is left for the separator, so the text is kept as cut.
  EXPECT_EQ(std::string(location.getAsCString()), std::string(4096, 'x'));

  const std::string fits(4095, 'y');
  const KivClLocation withSeparator(fits.c_str());
  EXPECT_EQ(withSeparator.getLength(), 4096u);
  EXPECT_EQ(withSeparator.getAsCString()[4095], '/');
}

}  // namespace
