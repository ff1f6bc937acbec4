// kivini's texts from message catalogs: the catalog that the build makes
// from the tool's table gives the same texts as the table, and a
// translated catalog replaces the tool's texts while the library's labels
// come from the library's catalog.

#include <gtest/gtest.h>

#include <string>

#include "kivini_test_support.hpp"

namespace {

using kivinitest::readAll;
using kivinitest::Result;
using kivinitest::run;
using kivinitest::writeAll;

class KiviniCatalogTest : public ::testing::Test {
 protected:
  void SetUp() override { writeAll(dir / "bad.ini", "[s]\nbroken\n"); }

  // The same command with the compiled-in texts and with the catalogs
  // found along `nlspath`.
  void expectSameOutput(const std::vector<std::string>& args, const std::string& nlspath) {
    SCOPED_TRACE(args.empty() ? std::string() : args[0]);
    const Result table = run(args, dir.path());
    const Result catalog = run(args, dir.path(), {{"NLSPATH", nlspath}});
    EXPECT_EQ(catalog.out, table.out);
    EXPECT_EQ(catalog.err, table.err);
    EXPECT_EQ(catalog.exitCode, table.exitCode);
    EXPECT_EQ((catalog.out + catalog.err).find("UNABLE TO LOAD"), std::string::npos)
        << catalog.out << catalog.err;
  }

  kivtest::TempDir dir;
};

// Both catalogs are installed in the same place.
const std::string kBothCatalogs = std::string(KIVINI_NLS_DIR) + "/%N";

TEST_F(KiviniCatalogTest, TheBuiltCatalogGivesTheTextsOfTheTable) {
  ASSERT_TRUE(kivinitest::exists(KIVINI_NLS_DIR "/kivini.cat"));
  ASSERT_TRUE(kivinitest::exists(KIVINI_NLS_DIR "/qrnmsg50.cat"));
  expectSameOutput({"-h"}, kBothCatalogs);
  expectSameOutput({"-check", "bad.ini"}, kBothCatalogs);
  expectSameOutput({"-get", "missing.ini", "s", "k"}, kBothCatalogs);
  expectSameOutput({"-set", "bad.ini", "s", "k", "v"}, kBothCatalogs);
  expectSameOutput({"-get", "bad.ini", "s"}, kBothCatalogs);
  expectSameOutput({"--version"}, kBothCatalogs);
  expectSameOutput({"-get", "-", "s", "k"}, kBothCatalogs);
}

TEST_F(KiviniCatalogTest, ATranslatedCatalogReplacesTheToolsTexts) {
  std::string source = readAll(KIVINI_MSG_SOURCE);
  const std::string original = "\n16 \"Cannot read the file\"\n";
  const auto at = source.find(original);
  ASSERT_NE(at, std::string::npos) << source;
  source.replace(at, original.size(), "\n16 \"Datei nicht lesbar\"\n");
  const kivtest::TempDir catalogs;
  writeAll(catalogs / "kivini.msg", source);
  const kivtest::ChildResult gencat = kivtest::runProgram(
      KIV_TEST_GENCAT, {"--new", catalogs / "kivini.cat", catalogs / "kivini.msg"},
      {{"LC_ALL", "C"}});
  ASSERT_EQ(gencat.exitCode, 0) << gencat.err;

  const Result result =
      run({"-get", "missing.ini", "s", "k"}, dir.path(),
          {{"NLSPATH", catalogs.path() + "/%N:" + std::string(KIVINI_NLS_DIR) + "/%N"}});
  EXPECT_EQ(result.err,
            kivinitest::errorDisplay("Datei nicht lesbar: missing.ini: No such file or directory") +
                kivinitest::kBell);
  EXPECT_EQ(result.exitCode, 4);
}

}  // namespace
