// File names made from and moved to locations.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "kiv_filename.hpp"
#include "kiv_location.hpp"
#include "kiv_test_support.hpp"

namespace {

TEST(FilenameLocationTest, ComposesLocationNameAndExtension) {
  const KivClLocation location("/dir", false);
  const KivClFilename f(location, "f", "txt");
  EXPECT_STREQ(f.getAsCString(), "/dir/f.txt");
  EXPECT_STREQ(f.getName(), "f.txt");
  const KivClLocation backslash("C:\\dir", false);
  EXPECT_STREQ(KivClFilename(backslash, "f", ".txt").getAsCString(), "C:\\dir\\f.txt");
  const KivClLocation empty("", false);
  EXPECT_STREQ(KivClFilename(empty, "f", nullptr).getAsCString(), "f");
}

TEST(FilenameLocationTest, SetNewPathFromLocationKeepsName) {
  KivClFilename f("/old/f.txt");
  f.setNewPath(KivClLocation("/new/place", false));
  EXPECT_STREQ(f.getAsCString(), "/new/place/f.txt");
  EXPECT_STREQ(f.getExtension(), ".txt");
}

TEST(FilenameLocationTest, SetNewComposesLocationAndName) {
  KivClFilename f("/old/f.txt");
  f.setNew(KivClLocation("/x", false), "g.doc");
  EXPECT_STREQ(f.getAsCString(), "/x/g.doc");
  EXPECT_STREQ(f.getExtension(), ".doc");
}

TEST(FilenameLocationTest, TmpFilenameInLocation) {
  kivtest::TempDir dir;
  const KivClLocation location(dir.path().c_str(), false);
  const KivClTmpFilename f(location);
  const std::string text = f.getAsCString();
  EXPECT_EQ(text.substr(0, dir.path().size() + 4), dir.path() + "/tmp");
  EXPECT_EQ(std::string(f.getName()).size(), 12u);
  EXPECT_FALSE(f.isExistent());
  const KivClTmpFilename g(location, "pre");
  EXPECT_EQ(std::string(g.getAsCString()).substr(0, dir.path().size() + 4), dir.path() + "/pre");
  const long pid = static_cast<long>(getpid());
  const std::string digits = {static_cast<char>('0' + pid % 10),
                              static_cast<char>('0' + pid / 10 % 10),
                              static_cast<char>('0' + pid / 100 % 10)};
  EXPECT_EQ(std::string(g.getExtension()), "." + digits);
}

}  // namespace
