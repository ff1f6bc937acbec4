// kivini end to end: the reading commands, -check, the command line, help,
// --help and --version, -quiet and -copyright, "#" comments and -strict,
// standard input, and lines too long to read. The installed tool runs as a
// child process on files in a temporary directory; every test asserts its
// exact standard output, standard error and exit status.

#include <gtest/gtest.h>

#include <string>

#include "kivini_test_support.hpp"

namespace {

using kivinitest::errorDisplay;
using kivinitest::kBell;
using kivinitest::kUsageDisplay;
using kivinitest::Result;
using kivinitest::run;
using kivinitest::runWithInput;
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
  expectResult(kivini({"-get", "server.ini", "nosuch", "host"}), "",
               errorDisplay("Section not found: server.ini: nosuch") + kBell, 2);
  expectResult(kivini({"-options", "server.ini", "nosuch"}), "",
               errorDisplay("Section not found: server.ini: nosuch") + kBell, 2);
}

TEST_F(KiviniReadTest, ReportsAMissingOptionWithStatusTwo) {
  expectResult(kivini({"-get", "server.ini", "server", "nosuch"}), "",
               errorDisplay("Option not found: server.ini: server: nosuch") + kBell, 2);
  expectResult(kivini({"-get", "server.ini", "server", "nosuch", "-bool"}), "",
               errorDisplay("Option not found: server.ini: server: nosuch") + kBell, 2);
}

TEST_F(KiviniReadTest, ReportsAFileThatCannotBeReadWithStatusFour) {
  expectResult(kivini({"-sections", "missing.ini"}), "",
               errorDisplay("Cannot read the file: missing.ini: No such file or directory") + kBell,
               4);
  std::filesystem::create_directory(dir / "folder.ini");
  expectResult(kivini({"-get", "folder.ini", "a", "b"}), "",
               errorDisplay("Cannot read the file: folder.ini: Is a directory") + kBell, 4);
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
               "broken.ini: errors: 4\n",
               kBell, 3);
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
               "silent.ini: errors: 4\n",
               kBell, 3);
}

TEST_F(KiviniReadTest, CheckReportsALineTooLongAndNothingAfterIt) {
  // 1023 characters are one line; the reader stops at the first line of
  // 1024 characters, so the broken line behind it is never looked at.
  writeAll(dir / "long.ini",
           "[s]\na = " + std::string(1019, 'x') + "\nb = " + std::string(1020, 'y') + "\nbroken\n");
  expectResult(kivini({"-check", "long.ini"}),
               "long.ini:3: line longer than 1023 characters: the rest of the file is not read\n"
               "long.ini: errors: 1\n",
               kBell, 3);
}

TEST_F(KiviniReadTest, CheckListsTheReadersErrorBeforeTheScansFindingOnTheSameLine) {
  // The long line is also read as a line of 1023 characters without "=".
  writeAll(dir / "both.ini", "[s]\n" + std::string(1100, 'z') + "\n");
  expectResult(kivini({"-check", "both.ini"}),
               "both.ini:2: INIFILE_INVAL_OPTION: line without \"=\" in a section\n"
               "both.ini:2: line longer than 1023 characters: the rest of the file is not read\n"
               "both.ini: errors: 2\n",
               kBell, 3);
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
                   ": errors: 3\n",
               kBell, 3);
}

// ---------------------------------------------------------------------------
// Lines too long, "#" comments, byte-order marks, standard input
// ---------------------------------------------------------------------------

TEST_F(KiviniReadTest, ReadingCommandsRefuseAFileWithALineTooLongAndNameIt) {
  // The library would read "a" and stop at line 3: nothing after it, such
  // as "c", would be seen, so no answer is given even for "a".
  writeAll(dir / "long.ini", "[s]\na = 1\nb = " + std::string(1020, 'y') + "\nc = 3\n[t]\nd = 4\n");
  const std::string error =
      errorDisplay(
          "The file has a line longer than 1023 characters, and the library reads no "
          "further; nothing is answered: long.ini: 3") +
      kBell;
  expectResult(kivini({"-get", "long.ini", "s", "a"}), "", error, 3);
  expectResult(kivini({"-get", "long.ini", "s", "c"}), "", error, 3);
  expectResult(kivini({"-get", "long.ini", "s", "a", "-bool"}), "", error, 3);
  expectResult(kivini({"-options", "long.ini", "s"}), "", error, 3);
  expectResult(kivini({"-sections", "long.ini"}), "", error, 3);
  // A line of exactly 1023 characters is read whole.
  writeAll(dir / "fits.ini", "[s]\na = " + std::string(1019, 'x') + "\nc = 3\n");
  expectResult(kivini({"-get", "fits.ini", "s", "c"}), "3\n", "", 0);
}

TEST_F(KiviniReadTest, HashCommentLinesAreHiddenFromTheLibrary) {
  writeAll(dir / "unit.ini",
           "# A unit file.\n"
           "#Key=commented out\n"
           "[Unit]\n"
           "Description=Example\n"
           "  # indented comment, not a continuation\n"
           "# Documentation=man:nothing\n"
           "After=network.target\n"
           "[Service]\n"
           "ExecStart=/bin/true # not a comment behind a value\n");
  expectResult(kivini({"-sections", "unit.ini"}), "Unit\nService\n", "", 0);
  expectResult(kivini({"-options", "unit.ini", "unit"}), "Description\nAfter\n", "", 0);
  expectResult(kivini({"-get", "unit.ini", "Unit", "Description"}), "Example\n", "", 0);
  expectResult(kivini({"-get", "unit.ini", "Service", "ExecStart"}),
               "/bin/true # not a comment behind a value\n", "", 0);
  expectResult(kivini({"-check", "unit.ini"}), "unit.ini: no errors\n", "", 0);
}

TEST_F(KiviniReadTest, StrictReadsHashLinesAsTheLibraryDoes) {
  writeAll(dir / "hash.ini",
           "[s]\n"
           "#key=1\n"
           "a = 2\n"
           "  # continues a\n"
           "# no equals sign\n");
  expectResult(kivini({"-options", "hash.ini", "s", "-strict"}), "#key\na\n", "", 0);
  expectResult(kivini({"-get", "hash.ini", "s", "#key", "-strict"}), "1\n", "", 0);
  expectResult(kivini({"-get", "hash.ini", "s", "a", "-strict"}), "2# continues a\n", "", 0);
  expectResult(kivini({"-check", "hash.ini", "-strict"}),
               "hash.ini:5: INIFILE_INVAL_OPTION: line without \"=\" in a section\n"
               "hash.ini: errors: 1\n",
               kBell, 3);
  expectResult(kivini({"-options", "hash.ini", "s"}), "a\n", "", 0);
  expectResult(kivini({"-get", "hash.ini", "s", "a"}), "2\n", "", 0);
  expectResult(kivini({"-check", "hash.ini"}), "hash.ini: no errors\n", "", 0);
}

TEST_F(KiviniReadTest, AByteOrderMarkIsPassedOver) {
  writeAll(dir / "bom.ini", "\xEF\xBB\xBF[first]\nkey = value\n");
  expectResult(kivini({"-sections", "bom.ini"}), "first\n", "", 0);
  expectResult(kivini({"-get", "bom.ini", "first", "key"}), "value\n", "", 0);
  expectResult(kivini({"-check", "bom.ini"}), "bom.ini: no errors\n", "", 0);
}

TEST_F(KiviniReadTest, ReadsCrlfFilesAsTheLibraryDoes) {
  writeAll(dir / "crlf.ini", "[s]\r\nkey = value ; note\r\nother = x\r\n");
  expectResult(kivini({"-get", "crlf.ini", "s", "key"}), "value\n", "", 0);
  expectResult(kivini({"-get", "crlf.ini", "s", "other"}), "x\n", "", 0);
}

TEST_F(KiviniReadTest, ADashNamesStandardInputForTheReadingCommands) {
  const std::string text = "[a]\nk = from input\n[b]\n";
  expectResult(runWithInput({"-sections", "-"}, dir.path(), text), "a\nb\n", "", 0);
  expectResult(runWithInput({"-options", "-", "a"}, dir.path(), text), "k\n", "", 0);
  expectResult(runWithInput({"-get", "-", "a", "k"}, dir.path(), text), "from input\n", "", 0);
  expectResult(runWithInput({"-check", "-"}, dir.path(), "[a]\nbad\n"),
               "(standard input):2: INIFILE_INVAL_OPTION: line without \"=\" in a section\n"
               "(standard input): errors: 1\n",
               kBell, 3);
  expectResult(runWithInput({"-get", "-", "a", "nosuch"}, dir.path(), text), "",
               errorDisplay("Option not found: (standard input): a: nosuch") + kBell, 2);
}

TEST_F(KiviniReadTest, ADashAsAValueIsTheTextTyped) {
  writeAll(dir / "dash.ini", "[-]\n- = minus\n");
  expectResult(kivini({"-get", "dash.ini", "-", "-"}), "minus\n", "", 0);
}

// ---------------------------------------------------------------------------
// Standard output carries data only
// ---------------------------------------------------------------------------

TEST_F(KiviniReadTest, AScriptCapturesNothingWhenAnOptionIsMissing) {
  // v=$(kivini -get f s nosuch) must leave v empty.
  const Result missing = kivini({"-get", "server.ini", "server", "nosuch"});
  EXPECT_EQ(missing.out, "");
  EXPECT_EQ(missing.exitCode, 2);
  EXPECT_NE(missing.err.find("Option not found"), std::string::npos) << missing.err;
  const Result unreadable = kivini({"-get", "missing.ini", "server", "host"});
  EXPECT_EQ(unreadable.out, "");
  EXPECT_EQ(unreadable.exitCode, 4);
}

TEST_F(KiviniReadTest, LongHelpPrintsUsageAndHelpOnStandardOutputAndExitsWithZero) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"--help"}, {"-get", "server.ini", "--help"}, {"--help", "-x"}}) {
    const Result result = kivini(args);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    ASSERT_EQ(result.out.compare(0, kUsageDisplay.size(), kUsageDisplay), 0) << result.out;
    EXPECT_NE(result.out.find("Help: Reads and changes INI configuration files from scripts.\n"),
              std::string::npos)
        << result.out;
    EXPECT_EQ(result.out.find('\a'), std::string::npos);
  }
}

TEST_F(KiviniReadTest, LongVersionPrintsOneLineAndExitsWithZero) {
  expectResult(kivini({"--version"}), "kivini 1.0 (KIV Library KIVLibR5-24)\n", "", 0);
  expectResult(kivini({"-sections", "server.ini", "--version"}),
               "kivini 1.0 (KIV Library KIVLibR5-24)\n", "", 0);
}

// ---------------------------------------------------------------------------
// The command line
// ---------------------------------------------------------------------------

TEST_F(KiviniReadTest, WithoutACommandShowsTheUsageOnStandardErrorWithStatus201) {
  expectResult(kivini({}), "",
               errorDisplay("Specify one of the command line switches -sections, -options, "
                            "-get, -set, -delete and -check") +
                   kUsageDisplay + kBell,
               201);
}

TEST_F(KiviniReadTest, TwoCommandsAreABadCommandLine) {
  expectResult(kivini({"-sections", "server.ini", "-check", "server.ini"}), "",
               errorDisplay("Only one of these command line switches can be given: -sections: "
                            "-check") +
                   kUsageDisplay + kBell,
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
  expectResult(kivini({"-get"}), "", fatal("get") + kBell, 203);
  expectResult(kivini({"-set", "-bool"}), "", fatal("set") + kBell, 203);
  expectResult(kivini({"-check", "-quiet"}), "", fatal("check"), 203);
}

TEST_F(KiviniReadTest, TheWrongNumberOfValuesIsABadCommandLine) {
  const std::string error = errorDisplay("Wrong number of arguments for command line switch: -get");
  expectResult(kivini({"-get", "server.ini", "server"}), "", error + kUsageDisplay + kBell, 201);
  expectResult(kivini({"-get", "server.ini", "a", "b", "c"}), "", error + kUsageDisplay + kBell,
               201);
  expectResult(kivini({"-sections", "server.ini", "extra"}), "",
               errorDisplay("Wrong number of arguments for command line switch: -sections") +
                   kUsageDisplay + kBell,
               201);
}

TEST_F(KiviniReadTest, BoolIsAllowedWithGetOnly) {
  expectResult(
      kivini({"-options", "server.ini", "server", "-bool"}), "",
      errorDisplay("Command line switch allowed with -get only: -bool") + kUsageDisplay + kBell,
      201);
}

TEST_F(KiviniReadTest, UnknownAndRepeatedArgumentsAreReportedByTheConsoleUI) {
  expectResult(kivini({"-sections", "server.ini", "-verbose"}), "",
               errorDisplay("Unknown command line argument: -verbose") + kUsageDisplay + kBell,
               201);
  expectResult(
      kivini({"-get", "server.ini", "server", "host", "-bool", "-bool"}), "",
      errorDisplay("Illegal repetition of command line argument: -bool") + kUsageDisplay + kBell,
      201);
}

TEST_F(KiviniReadTest, HelpSwitchesKeepTheConsoleUIsDisplayOnStandardOutput) {
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
    EXPECT_NE(result.out.find("-set and -delete change only the lines of the option or section"),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("-strict"), std::string::npos);
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
  // The usage display follows the error on standard error; the bell goes
  // to the silenced stream.
  expectResult(kivini({"-quiet", "-sections", "server.ini", "-bogus"}), "",
               errorDisplay("Unknown command line argument: -bogus") + kUsageDisplay, 201);
  expectResult(
      kivini({"-quiet", "-get", "server.ini", "server"}), "",
      errorDisplay("Wrong number of arguments for command line switch: -get") + kUsageDisplay, 201);
}

}  // namespace
