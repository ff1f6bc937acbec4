// kivini end to end: the reading commands, -check, the command line, help,
// -quiet and -copyright. The tool runs as a child process on files in a
// temporary directory; every test asserts its exact standard output,
// standard error and exit status.

#include <gtest/gtest.h>

#include <string>

#include "kivini_test_support.hpp"

namespace {

using kivinitest::errorDisplay;
using kivinitest::kBell;
using kivinitest::kUsageDisplay;
using kivinitest::Result;
using kivinitest::run;
using kivinitest::writeAll;

const char* const kServerIni =
    "; Settings of the report server.\n"
    "\n"
    "[server]\n"
    "host = reports.example.org\n"
    "port = 8443          ; HTTPS\n"
    "banner = \"Welcome; please sign in\"  ; shown first\n"
    "motto = \"  two  blanks  \"\n"
    "\n"
    "[Paths]\n"
    "data = $(HOME)/reports\n"
    "literal = $HOME/x\n"
    "separator = \"a\\tb\"\n"
    "bare = a\\tb\n"
    "long = /usr/\n"
    "   lib\n"
    "\n"
    "[features]\n"
    "compression = yes\n"
    "audit = off\n"
    "empty =\n"
    "ten = 10\n"
    "shortYes = Y\n";

class KiviniReadTest : public ::testing::Test {
 protected:
  void SetUp() override { writeAll(dir / "server.ini", kServerIni); }

  Result kivini(const std::vector<std::string>& args) { return run(args, dir.path()); }

  kivtest::TempDir dir;
};

void expectResult(const Result& result, const std::string& out, const std::string& err,
                  int status) {
  EXPECT_EQ(result.out, out);
  EXPECT_EQ(result.err, err);
  EXPECT_EQ(result.exitCode, status);
}

// ---------------------------------------------------------------------------
// -sections, -options, -get
// ---------------------------------------------------------------------------

TEST_F(KiviniReadTest, ListsSectionsInFileOrder) {
  expectResult(kivini({"-sections", "server.ini"}), "server\nPaths\nfeatures\n", "", 0);
}

TEST_F(KiviniReadTest, ListsNoSectionsOfAFileWithoutThem) {
  writeAll(dir / "empty.ini", "; only a comment\n\n");
  expectResult(kivini({"-sections", "empty.ini"}), "", "", 0);
}

TEST_F(KiviniReadTest, MergesSectionsOfTheSameNameWithoutRegardToCase) {
  writeAll(dir / "twice.ini", "[main]\na = 1\n[other]\nx = 0\n[MAIN]\nb = 2\n");
  expectResult(kivini({"-sections", "twice.ini"}), "main\nother\n", "", 0);
  expectResult(kivini({"-options", "twice.ini", "Main"}), "a\nb\n", "", 0);
  expectResult(kivini({"-get", "twice.ini", "main", "b"}), "2\n", "", 0);
}

TEST_F(KiviniReadTest, ListsOptionsOfASectionFoundWithoutRegardToCase) {
  expectResult(kivini({"-options", "server.ini", "PATHS"}),
               "data\nliteral\nseparator\nbare\nlong\n", "", 0);
}

TEST_F(KiviniReadTest, GetPrintsTheValueAsTheLibraryReadsIt) {
  expectResult(kivini({"-get", "server.ini", "server", "host"}), "reports.example.org\n", "", 0);
  expectResult(kivini({"-get", "server.ini", "server", "PORT"}), "8443\n", "", 0);
  expectResult(kivini({"-get", "server.ini", "server", "banner"}), "Welcome; please sign in\n", "",
               0);
  expectResult(kivini({"-get", "server.ini", "server", "motto"}), "  two  blanks  \n", "", 0);
}

TEST_F(KiviniReadTest, GetSubstitutesEnvironmentVariablesAndEscapes) {
  expectResult(kivini({"-get", "server.ini", "paths", "data"}), "/home/kivtest/reports\n", "", 0);
  expectResult(kivini({"-get", "server.ini", "paths", "literal"}), "$HOME/x\n", "", 0);
  expectResult(kivini({"-get", "server.ini", "paths", "separator"}), "a\tb\n", "", 0);
  expectResult(kivini({"-get", "server.ini", "paths", "bare"}), "a\\tb\n", "", 0);
  expectResult(kivini({"-get", "server.ini", "paths", "long"}), "/usr/lib\n", "", 0);
}

TEST_F(KiviniReadTest, GetPrintsAnEmptyValueAsAnEmptyLine) {
  expectResult(kivini({"-get", "server.ini", "features", "empty"}), "\n", "", 0);
}

TEST_F(KiviniReadTest, GetBoolPrintsOnAndExitsWithZeroForTrueValues) {
  for (const char* option : {"compression", "empty", "shortYes"}) {
    SCOPED_TRACE(option);
    expectResult(kivini({"-get", "server.ini", "features", option, "-bool"}), "ON\n", "", 0);
  }
}

TEST_F(KiviniReadTest, GetBoolPrintsOffAndExitsWithOneForFalseValues) {
  for (const char* option : {"audit", "ten"}) {
    SCOPED_TRACE(option);
    expectResult(kivini({"-get", "server.ini", "features", option, "-bool"}), "OFF\n", "", 1);
  }
  // The switch may stand anywhere on the command line.
  expectResult(kivini({"-bool", "-get", "server.ini", "features", "audit"}), "OFF\n", "", 1);
}

TEST_F(KiviniReadTest, ReportsAMissingSectionWithStatusTwo) {
  expectResult(kivini({"-get", "server.ini", "nosuch", "host"}), kBell,
               errorDisplay("Section not found: server.ini: nosuch"), 2);
  expectResult(kivini({"-options", "server.ini", "nosuch"}), kBell,
               errorDisplay("Section not found: server.ini: nosuch"), 2);
}

TEST_F(KiviniReadTest, ReportsAMissingOptionWithStatusTwo) {
  expectResult(kivini({"-get", "server.ini", "server", "nosuch"}), kBell,
               errorDisplay("Option not found: server.ini: server: nosuch"), 2);
  expectResult(kivini({"-get", "server.ini", "server", "nosuch", "-bool"}), kBell,
               errorDisplay("Option not found: server.ini: server: nosuch"), 2);
}

TEST_F(KiviniReadTest, ReportsAFileThatCannotBeReadWithStatusFour) {
  expectResult(kivini({"-sections", "missing.ini"}), kBell,
               errorDisplay("Cannot read the file: missing.ini: No such file or directory"), 4);
  std::filesystem::create_directory(dir / "folder.ini");
  expectResult(kivini({"-get", "folder.ini", "a", "b"}), kBell,
               errorDisplay("Cannot read the file: folder.ini: Is a directory"), 4);
}

TEST_F(KiviniReadTest, ReadsAFileNameWithoutExtensionAsGiven) {
  writeAll(dir / "config", "[a]\nk = plain\n");
  writeAll(dir / "config.ini", "[a]\nk = other\n");
  expectResult(kivini({"-get", "config", "a", "k"}), "plain\n", "", 0);
}

TEST_F(KiviniReadTest, AnApostropheInFrontOfAnArgumentIsDropped) {
  writeAll(dir / "dash.ini", "[-x]\n-y = 1\n");
  expectResult(kivini({"-get", "dash.ini", "'-x", "'-y"}), "1\n", "", 0);
}

// ---------------------------------------------------------------------------
// -check
// ---------------------------------------------------------------------------

TEST_F(KiviniReadTest, CheckSaysNoErrorsForACleanFile) {
  expectResult(kivini({"-check", "server.ini"}), "server.ini: no errors\n", "", 0);
}

TEST_F(KiviniReadTest, CheckReportsEveryErrorWithItsLineNumberAndIdName) {
  writeAll(dir / "broken.ini",
           "[server]\n"
           "host = example.org\n"
           "port 8443\n"
           "[paths\n"
           "  data = /srv\n"
           "[ok]\n"
           "a = 1\n"
           "  continued\n"
           "nothing here\n");
  expectResult(kivini({"-check", "broken.ini"}),
               "broken.ini:3: INIFILE_INVAL_OPTION: line without \"=\" in a section\n"
               "broken.ini:4: INIFILE_INVAL_SECTION: section header without \"]\"\n"
               "broken.ini:5: INIFILE_INVAL_WHITESPACE: indented line that continues no option\n"
               "broken.ini:9: INIFILE_INVAL_OPTION: line without \"=\" in a section\n"
               "broken.ini: errors: 4\n" +
                   kBell,
               "", 3);
}

TEST_F(KiviniReadTest, CheckReportsLinesTheReaderPassesOverSilently) {
  writeAll(dir / "silent.ini",
           "top = 1\n"
           "  indented before\n"
           "[]\n"
           "x = 2\n"
           "[s]\n"
           "=nameless\n"
           "ok = 3\n");
  expectResult(kivini({"-check", "silent.ini"}),
               "silent.ini:1: line before the first section header: it is not read\n"
               "silent.ini:2: line before the first section header: it is not read\n"
               "silent.ini:3: section header without a name: the section counts as deleted\n"
               "silent.ini:6: option line without a name: the option counts as deleted\n"
               "silent.ini: errors: 4\n" +
                   kBell,
               "", 3);
}

TEST_F(KiviniReadTest, CheckReportsALineTooLongAndNothingAfterIt) {
  // 1023 characters are one line; the reader stops at the first line of
  // 1024 characters, so the broken line behind it is never looked at.
  writeAll(dir / "long.ini",
           "[s]\na = " + std::string(1019, 'x') + "\nb = " + std::string(1020, 'y') + "\nbroken\n");
  expectResult(kivini({"-check", "long.ini"}),
               "long.ini:3: line longer than 1023 characters: the rest of the file is not read\n"
               "long.ini: errors: 1\n" +
                   kBell,
               "", 3);
  expectResult(kivini({"-options", "long.ini", "s"}), "a\nb\n", "", 0);
}

TEST_F(KiviniReadTest, CheckListsTheReadersErrorBeforeTheScansFindingOnTheSameLine) {
  // The long line is also read as a line of 1023 characters without "=".
  writeAll(dir / "both.ini", "[s]\n" + std::string(1100, 'z') + "\n");
  expectResult(kivini({"-check", "both.ini"}),
               "both.ini:2: INIFILE_INVAL_OPTION: line without \"=\" in a section\n"
               "both.ini:2: line longer than 1023 characters: the rest of the file is not read\n"
               "both.ini: errors: 2\n" +
                   kBell,
               "", 3);
}

TEST_F(KiviniReadTest, CheckAcceptsTheSampleOfTheExamples) {
  expectResult(run({"-check", KIVINI_SAMPLE_DIR "/sample.ini"}, dir.path()),
               KIVINI_SAMPLE_DIR "/sample.ini: no errors\n", "", 0);
}

TEST_F(KiviniReadTest, CheckReportsTheErrorsOfTheBrokenExample) {
  const std::string name = KIVINI_SAMPLE_DIR "/broken.ini";
  expectResult(run({"-check", name}, dir.path()),
               name + ":3: INIFILE_INVAL_OPTION: line without \"=\" in a section\n" + name +
                   ":4: INIFILE_INVAL_SECTION: section header without \"]\"\n" + name +
                   ":5: INIFILE_INVAL_WHITESPACE: indented line that continues no option\n" + name +
                   ": errors: 3\n" + kBell,
               "", 3);
}

// ---------------------------------------------------------------------------
// The command line
// ---------------------------------------------------------------------------

TEST_F(KiviniReadTest, WithoutACommandShowsTheUsageWithStatus201) {
  expectResult(kivini({}), kUsageDisplay + kBell,
               errorDisplay("Specify one of the command line switches -sections, -options, "
                            "-get, -set, -delete and -check"),
               201);
}

TEST_F(KiviniReadTest, TwoCommandsAreABadCommandLine) {
  expectResult(kivini({"-sections", "server.ini", "-check", "server.ini"}), kUsageDisplay + kBell,
               errorDisplay("Only one of these command line switches can be given: -sections: "
                            "-check"),
               201);
}

TEST_F(KiviniReadTest, ACommandWithoutItsFileEndsWithStatus203) {
  // The console UI's fatal display, on standard error also under -quiet.
  const auto fatal = [](const std::string& name) {
    return "\n" + std::string(74, '-') +
           "\nkivini: A fatal error occurred:\n"
           "        No value specified for command line switch: " +
           name + "\n";
  };
  expectResult(kivini({"-get"}), kBell, fatal("get"), 203);
  expectResult(kivini({"-set", "-bool"}), kBell, fatal("set"), 203);
  expectResult(kivini({"-check", "-quiet"}), "", fatal("check"), 203);
}

TEST_F(KiviniReadTest, TheWrongNumberOfValuesIsABadCommandLine) {
  const std::string error = errorDisplay("Wrong number of arguments for command line switch: -get");
  expectResult(kivini({"-get", "server.ini", "server"}), kUsageDisplay + kBell, error, 201);
  expectResult(kivini({"-get", "server.ini", "a", "b", "c"}), kUsageDisplay + kBell, error, 201);
  expectResult(kivini({"-sections", "server.ini", "extra"}), kUsageDisplay + kBell,
               errorDisplay("Wrong number of arguments for command line switch: -sections"), 201);
}

TEST_F(KiviniReadTest, BoolIsAllowedWithGetOnly) {
  expectResult(kivini({"-options", "server.ini", "server", "-bool"}), kUsageDisplay + kBell,
               errorDisplay("Command line switch allowed with -get only: -bool"), 201);
}

TEST_F(KiviniReadTest, UnknownAndRepeatedArgumentsAreReportedByTheConsoleUI) {
  expectResult(kivini({"-sections", "server.ini", "-verbose"}), kUsageDisplay + kBell,
               errorDisplay("Unknown command line argument: -verbose"), 201);
  expectResult(kivini({"-get", "server.ini", "server", "host", "-bool", "-bool"}),
               kUsageDisplay + kBell,
               errorDisplay("Illegal repetition of command line argument: -bool"), 201);
}

TEST_F(KiviniReadTest, HelpShowsUsageAndHelpAndMentionsTheBackup) {
  for (const char* help : {"-h", "-H", "-?"}) {
    SCOPED_TRACE(help);
    const Result result = kivini({"-get", "server.ini", help});
    EXPECT_EQ(result.exitCode, 201);
    EXPECT_EQ(result.err, "");
    ASSERT_EQ(result.out.compare(0, kUsageDisplay.size(), kUsageDisplay), 0) << result.out;
    const std::string firstHelpLine =
        "Help: Reads and changes INI configuration files from scripts.\n";
    EXPECT_EQ(result.out.compare(kUsageDisplay.size(), firstHelpLine.size(), firstHelpLine), 0)
        << result.out;
    EXPECT_NE(result.out.find("the original is kept as a\n      backup named like the file with "
                              "\".bak\" appended"),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("comment lines"), std::string::npos);
    EXPECT_EQ(result.out.back(), '\a');
  }
}

TEST_F(KiviniReadTest, CopyrightShowsTheLevelOfTheTool) {
  const Result result = kivini({"-copyright"});
  EXPECT_EQ(result.exitCode, 201);
  EXPECT_EQ(result.err, "");
  EXPECT_NE(result.out.find("  PLTX Level..........................: KIVLibR5-24\n"),
            std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("  PLTX Level..........................: kivini 1.0\n"),
            std::string::npos)
      << result.out;
}

// ---------------------------------------------------------------------------
// -quiet
// ---------------------------------------------------------------------------

TEST_F(KiviniReadTest, QuietLeavesOnlyTheExitStatus) {
  expectResult(kivini({"-quiet", "-get", "server.ini", "server", "host"}), "", "", 0);
  expectResult(kivini({"-get", "server.ini", "features", "audit", "-bool", "-quiet"}), "", "", 1);
  expectResult(kivini({"-quiet", "-get", "server.ini", "server", "nosuch"}), "", "", 2);
  expectResult(kivini({"-quiet", "-check", "server.ini"}), "", "", 0);
  writeAll(dir / "bad.ini", "[s]\nbad\n");
  expectResult(kivini({"-quiet", "-check", "bad.ini"}), "", "", 3);
  expectResult(kivini({"-quiet", "-sections", "missing.ini"}), "", "", 4);
}

TEST_F(KiviniReadTest, QuietStillShowsErrorsOfTheCommandLineOnStandardError) {
  // The usage display is written to standard output whatever the mode; the
  // bell goes to the silenced output stream.
  expectResult(kivini({"-quiet", "-sections", "server.ini", "-bogus"}), kUsageDisplay,
               errorDisplay("Unknown command line argument: -bogus"), 201);
  expectResult(kivini({"-quiet", "-get", "server.ini", "server"}), kUsageDisplay,
               errorDisplay("Wrong number of arguments for command line switch: -get"), 201);
}

}  // namespace
