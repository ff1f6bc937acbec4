// kivini end to end: -set and -delete change only the lines they concern,
// write values that read back as given, check before writing, and work as
// a filter on standard input.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kivini_test_support.hpp"

namespace {

using kivinitest::entries;
using kivinitest::errorDisplay;
using kivinitest::exists;
using kivinitest::kBell;
using kivinitest::kUsageDisplay;
using kivinitest::readAll;
using kivinitest::Result;
using kivinitest::run;
using kivinitest::runWithInput;
using kivinitest::writeAll;

const char* const kOriginal =
    "; Settings of the report server.\n"
    "# Hash comments are kept as well.\n"
    "\n"
    "[server]  ; the server itself\n"
    "host = reports.example.org\n"
    "port = 8443          ; HTTPS\n"
    "\n"
    "# Paths of the server.\n"
    "[paths]\n"
    "data   =   $(HOME)/reports/data\n"
    "extras = security\n"
    "    socks\n"
    "q = it's\n"
    "data = /srv/second\n"
    "\n"
    "# The end.\n";

class KiviniEditTest : public ::testing::Test {
 protected:
  void SetUp() override { writeAll(file(), kOriginal); }

  std::string file() const { return dir / "server.ini"; }
  std::string contents() const { return readAll(file()); }

  Result kivini(const std::vector<std::string>& args) { return run(args, dir.path()); }

  // A successful change: no output at all, status 0.
  void expectDone(const std::vector<std::string>& args) {
    const Result result = kivini(args);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitCode, 0);
  }

  // The file is as it was and nothing else is in its directory.
  void expectUntouched() {
    EXPECT_EQ(contents(), kOriginal);
    EXPECT_EQ(entries(dir.path()), std::vector<std::string>{"server.ini"});
  }

  kivtest::TempDir dir;
};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  const auto at = text.find(from);
  if (at == std::string::npos) throw std::runtime_error("no " + from);
  return text.replace(at, from.size(), to);
}

// ---------------------------------------------------------------------------
// -set
// ---------------------------------------------------------------------------

TEST_F(KiviniEditTest, SetChangesOnlyTheLineOfTheOption) {
  expectDone({"-set", "server.ini", "server", "port", "9443"});
  EXPECT_EQ(contents(), replaced(kOriginal, "port = 8443", "port = 9443"));
  EXPECT_EQ(entries(dir.path()), std::vector<std::string>{"server.ini"});
}

TEST_F(KiviniEditTest, SetKeepsTheCommentOfTheOptionAndTheLayoutBeforeTheValue) {
  expectDone({"-set", "server.ini", "SERVER", "Port", "a much longer value than before"});
  EXPECT_EQ(contents(), replaced(kOriginal, "port = 8443          ; HTTPS",
                                 "port = a much longer value than before          ; HTTPS"));
  expectDone({"-set", "server.ini", "paths", "data", "/new"});
  EXPECT_NE(contents().find("\ndata   =   /new\n"), std::string::npos) << contents();
}

TEST_F(KiviniEditTest, SetReplacesAContinuedValueWithOneLine) {
  expectDone({"-set", "server.ini", "paths", "extras", "security,socks"});
  EXPECT_EQ(contents(),
            replaced(kOriginal, "extras = security\n    socks\n", "extras = security,socks\n"));
}

TEST_F(KiviniEditTest, SetChangesTheFirstOfTwoOptionsOfTheSameName) {
  expectDone({"-set", "server.ini", "paths", "data", "/first"});
  EXPECT_EQ(contents(),
            replaced(kOriginal, "data   =   $(HOME)/reports/data", "data   =   /first"));
}

TEST_F(KiviniEditTest, SetLeavesEveryOtherLineByteForByte) {
  // Substitutions, apostrophes, continuation lines, comments and blank
  // lines of the other lines stay as typed.
  expectDone({"-set", "server.ini", "server", "host", "example.net"});
  const std::string expected =
      replaced(kOriginal, "host = reports.example.org", "host = example.net");
  EXPECT_EQ(contents(), expected);
  EXPECT_NE(expected.find("$(HOME)/reports/data"), std::string::npos);
  EXPECT_EQ(kivini({"-get", "server.ini", "paths", "data"}).out, "/home/kivtest/reports/data\n");
  EXPECT_EQ(kivini({"-get", "server.ini", "paths", "q"}).out, "its\n");
}

TEST_F(KiviniEditTest, SetAddsAnOptionBehindTheLastLineOfItsSection) {
  expectDone({"-set", "server.ini", "server", "timeout", "30"});
  EXPECT_EQ(contents(), replaced(kOriginal, "; HTTPS\n", "; HTTPS\ntimeout = 30\n"));
  expectDone({"-set", "server.ini", "paths", "new", "x"});
  EXPECT_NE(contents().find("data = /srv/second\nnew = x\n\n# The end.\n"), std::string::npos)
      << contents();
}

TEST_F(KiviniEditTest, SetAddsAnOptionBehindTheContinuationLinesOfTheLastOne) {
  writeAll(file(), "[s]\na = 1\n  2\n\n[t]\n");
  expectDone({"-set", "server.ini", "s", "b", "3"});
  EXPECT_EQ(contents(), "[s]\na = 1\n  2\nb = 3\n\n[t]\n");
}

TEST_F(KiviniEditTest, SetAddsAnOptionBehindTheHeaderOfASectionWithoutOptions) {
  writeAll(file(), "[Journal]\n#Storage=auto\n#Compress=yes\n");
  expectDone({"-set", "server.ini", "journal", "Storage", "persistent"});
  EXPECT_EQ(contents(), "[Journal]\nStorage = persistent\n#Storage=auto\n#Compress=yes\n");
}

TEST_F(KiviniEditTest, SetJoinsNameAndValueAsTheSectionsLastOptionDoes) {
  writeAll(file(), "[Unit]\nDescription=x\n[Service]\nType=simple\n");
  expectDone({"-set", "server.ini", "Service", "Restart", "always"});
  expectDone({"-set", "server.ini", "Install", "WantedBy", "multi-user.target"});
  EXPECT_EQ(contents(),
            "[Unit]\nDescription=x\n[Service]\nType=simple\nRestart=always\n"
            "[Install]\nWantedBy=multi-user.target\n");
}

TEST_F(KiviniEditTest, SetAddsToTheLastBlockOfASectionThatOccursTwice) {
  writeAll(file(), "[A]\nx = 1\n[b]\ny = 2\n[a]\nz = 3\n");
  expectDone({"-set", "server.ini", "a", "w", "4"});
  EXPECT_EQ(contents(), "[A]\nx = 1\n[b]\ny = 2\n[a]\nz = 3\nw = 4\n");
  expectDone({"-set", "server.ini", "A", "z", "5"});
  EXPECT_EQ(contents(), "[A]\nx = 1\n[b]\ny = 2\n[a]\nz = 5\nw = 4\n");
  EXPECT_EQ(kivini({"-sections", "server.ini"}).out, "A\nb\n");
}

TEST_F(KiviniEditTest, SetAddsASectionAndAnOptionAtTheEndOfTheFile) {
  expectDone({"-set", "server.ini", "Features", "audit", "off"});
  EXPECT_EQ(contents(), std::string(kOriginal) + "[Features]\naudit = off\n");
  const Result get = kivini({"-get", "server.ini", "features", "audit", "-bool"});
  EXPECT_EQ(get.out, "OFF\n");
  EXPECT_EQ(get.exitCode, 1);
}

TEST_F(KiviniEditTest, SetCreatesAMissingFile) {
  const Result result = kivini({"-set", "new.ini", "main", "key", "value"});
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(readAll(dir / "new.ini"), "[main]\nkey = value\n");
  EXPECT_EQ(entries(dir.path()), (std::vector<std::string>{"new.ini", "server.ini"}));
}

TEST_F(KiviniEditTest, SetOfTheValueAlreadyThereLeavesTheFileAsItIs) {
  expectDone({"-set", "server.ini", "server", "port", "8443"});
  expectDone({"-set", "server.ini", "paths", "extras", "securitysocks"});
  expectUntouched();
}

TEST_F(KiviniEditTest, SetWritesValuesSoThatTheyReadBackAsGiven) {
  const std::vector<std::string> values = {
      "",
      "  padded  ",
      "say \"hi\"",
      "it's",
      "$(HOME)",
      "a;b",
      "tab\there",
      "back\\slash",
      "'quoted'",
      "line\nbreak",
      "\x01"
      "a",
      "x\x7f",
      "#hash",
      "[bracket]",
      "a=b",
      "\"both\";\"kinds\"",
      "-5",
      "\\\"",
  };
  for (const std::string& value : values) {
    SCOPED_TRACE(value);
    // An argument loses one leading apostrophe.
    expectDone({"-set", "server.ini", "server", "v", (value[0] == '\'' ? "'" : "") + value});
    const Result get = kivini({"-get", "server.ini", "server", "v"});
    EXPECT_EQ(get.out, value + "\n");
    EXPECT_EQ(get.exitCode, 0);
  }
}

TEST_F(KiviniEditTest, SetQuotesAValueOnlyWhenItWouldNotReadBackBare) {
  const struct {
    std::string value, written;
  } cases[] = {
      {"plain text", "plain text"},
      {"back\\slash", "back\\slash"},
      {"", "\"\""},
      {"  padded  ", "\"  padded  \""},
      {"a;b", "\"a;b\""},
      {"say \"hi\"", "\"say \\\"hi\\\"\""},
      {"it's", "\"it's\""},
      {"$(HOME)", "\"$(HOME)\""},
      {"tab\there", "\"tab\\there\""},
      {"\x01"
       "a",
       "\"\\x01\"\"a\""},
      {"\x01"
       "z",
       "\"\\x01z\""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    writeAll(file(), "[s]\nv = 1\n");
    expectDone({"-set", "server.ini", "s", "v", c.value});
    EXPECT_EQ(contents(), "[s]\nv = " + c.written + "\n");
  }
}

TEST_F(KiviniEditTest, SetTakesAValueBeginningWithAMinusAfterAnApostrophe) {
  expectDone({"-set", "server.ini", "server", "offset", "'-x"});
  EXPECT_EQ(kivini({"-get", "server.ini", "server", "offset"}).out, "-x\n");
  expectDone({"-set", "server.ini", "server", "offset", "-5"});
  EXPECT_EQ(kivini({"-get", "server.ini", "server", "offset"}).out, "-5\n");
}

TEST_F(KiviniEditTest, SetRefusesAValueTooLongForALineAndWritesNothing) {
  const Result result = kivini({"-set", "server.ini", "server", "huge", std::string(1100, 'h')});
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            errorDisplay("The new file would not read back as intended; the file was not "
                         "changed: server.ini: server: huge") +
                kBell);
  EXPECT_EQ(result.exitCode, 3);
  expectUntouched();
}

TEST_F(KiviniEditTest, SetRefusesAValueWhoseLineIsTooLongWithTheKeptComment) {
  // 1000 characters fit a line, but not beside the comment of the option.
  const Result result = kivini({"-set", "server.ini", "server", "port", std::string(1000, 'p')});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.err,
            errorDisplay("The new file would not read back as intended; the file was not "
                         "changed: server.ini: server: port") +
                kBell);
  expectUntouched();
  expectDone({"-set", "server.ini", "server", "host", std::string(1000, 'h')});
  EXPECT_EQ(kivini({"-get", "server.ini", "server", "host"}).out, std::string(1000, 'h') + "\n");
}

TEST_F(KiviniEditTest, SetRefusesAFileWithErrorsAndNamesThem) {
  const std::string broken = "top = 0\n[server]\nport 8443\n";
  writeAll(file(), broken);
  const Result result = kivini({"-set", "server.ini", "server", "port", "1"});
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "server.ini:1: line before the first section header: it is not read\n"
            "server.ini:3: INIFILE_INVAL_OPTION: line without \"=\" in a section\n" +
                errorDisplay("The file has errors and was not changed: server.ini") + kBell);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(contents(), broken);
  EXPECT_EQ(entries(dir.path()), std::vector<std::string>{"server.ini"});
}

TEST_F(KiviniEditTest, SetRefusesAFileWithALineTooLong) {
  const std::string longLine = "[s]\na = 1\nb = " + std::string(1100, 'b') + "\n";
  writeAll(file(), longLine);
  const Result result = kivini({"-set", "server.ini", "s", "a", "1"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.err,
            "server.ini:3: line longer than 1023 characters: the rest of the file is not read\n" +
                errorDisplay("The file has errors and was not changed: server.ini") + kBell);
  EXPECT_EQ(contents(), longLine);
}

TEST_F(KiviniEditTest, SetRefusesNamesThatWouldNotReadBack) {
  const struct {
    std::string section, option, error;
  } cases[] = {
      {"a]b", "k", "Invalid section name: a]b"},
      {std::string(81, 's'), "k", "Invalid section name: " + std::string(81, 's')},
      {"s", "two words", "Invalid option name: two words"},
      {"s", "a=b", "Invalid option name: a=b"},
      {"s", ";k", "Invalid option name: ;k"},
      {"s", "[k", "Invalid option name: [k"},
      {"s", "#k", "Invalid option name: #k"},
      {"s", "", "Invalid option name: "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.error);
    const Result result = kivini({"-set", "server.ini", c.section, c.option, "v"});
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, errorDisplay(c.error) + kUsageDisplay + kBell);
    EXPECT_EQ(result.exitCode, 201);
  }
  expectUntouched();
}

TEST_F(KiviniEditTest, StrictAllowsOptionNamesBeginningWithHash) {
  writeAll(file(), "[s]\n#old=1\n");
  expectDone({"-set", "server.ini", "s", "#k", "v", "-strict"});
  EXPECT_EQ(contents(), "[s]\n#old=1\n#k=v\n");
  EXPECT_EQ(kivini({"-get", "server.ini", "s", "#k", "-strict"}).out, "v\n");
}

// ---------------------------------------------------------------------------
// -delete
// ---------------------------------------------------------------------------

TEST_F(KiviniEditTest, DeleteRemovesEveryOptionOfTheNameAndNothingElse) {
  expectDone({"-delete", "server.ini", "PATHS", "Data"});
  EXPECT_EQ(contents(), replaced(replaced(kOriginal, "data   =   $(HOME)/reports/data\n", ""),
                                 "data = /srv/second\n", ""));
}

TEST_F(KiviniEditTest, DeleteRemovesTheContinuationLinesOfAnOption) {
  expectDone({"-delete", "server.ini", "paths", "extras"});
  EXPECT_EQ(contents(), replaced(kOriginal, "extras = security\n    socks\n", ""));
}

TEST_F(KiviniEditTest, DeleteKeepsCommentLinesBetweenAnOptionAndItsContinuation) {
  writeAll(file(), "[s]\na = 1\n# note\n  2\nb = 3\n");
  expectDone({"-delete", "server.ini", "s", "a"});
  EXPECT_EQ(contents(), "[s]\n# note\nb = 3\n");
}

TEST_F(KiviniEditTest, DeleteRemovesASectionUpToItsLastOption) {
  expectDone({"-delete", "server.ini", "server"});
  EXPECT_EQ(contents(), replaced(kOriginal,
                                 "[server]  ; the server itself\n"
                                 "host = reports.example.org\n"
                                 "port = 8443          ; HTTPS\n",
                                 ""));
  expectDone({"-delete", "server.ini", "paths"});
  EXPECT_EQ(contents(),
            "; Settings of the report server.\n# Hash comments are kept as well.\n\n\n"
            "# Paths of the server.\n\n# The end.\n");
}

TEST_F(KiviniEditTest, DeleteRemovesEveryBlockOfASection) {
  writeAll(file(), "[A]\nx = 1\n; about b\n[b]\ny = 2\n[a]\nz = 3\n");
  expectDone({"-delete", "server.ini", "a"});
  EXPECT_EQ(contents(), "; about b\n[b]\ny = 2\n");
}

TEST_F(KiviniEditTest, DeleteOfWhatDoesNotExistLeavesTheFileAsItIs) {
  expectDone({"-delete", "server.ini", "nosuch"});
  expectDone({"-delete", "server.ini", "server", "nosuch"});
  expectUntouched();
}

TEST_F(KiviniEditTest, DeleteRefusesAFileWithErrors) {
  const std::string broken = "[server]\nport = 1\nbad line\n";
  writeAll(file(), broken);
  const Result result = kivini({"-delete", "server.ini", "server", "port"});
  EXPECT_EQ(result.err, "server.ini:3: INIFILE_INVAL_OPTION: line without \"=\" in a section\n" +
                            errorDisplay("The file has errors and was not changed: server.ini") +
                            kBell);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(contents(), broken);
}

TEST_F(KiviniEditTest, DeleteNeedsAnExistingFile) {
  const Result result = kivini({"-delete", "missing.ini", "s"});
  EXPECT_EQ(result.err,
            errorDisplay("Cannot read the file: missing.ini: No such file or directory") + kBell);
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_FALSE(exists(dir / "missing.ini"));
}

// ---------------------------------------------------------------------------
// Line ends, byte-order marks and the last line
// ---------------------------------------------------------------------------

TEST_F(KiviniEditTest, EditsKeepCrlfLineEndsAndWriteNewLinesTheSameWay) {
  const std::string crlf = "[s]\r\na = 1 ; one\r\nb = 2\r\n";
  writeAll(file(), crlf);
  expectDone({"-set", "server.ini", "s", "a", "10"});
  EXPECT_EQ(contents(), "[s]\r\na = 10 ; one\r\nb = 2\r\n");
  expectDone({"-set", "server.ini", "s", "c", "3"});
  expectDone({"-set", "server.ini", "t", "d", "4"});
  EXPECT_EQ(contents(), "[s]\r\na = 10 ; one\r\nb = 2\r\nc = 3\r\n[t]\r\nd = 4\r\n");
  EXPECT_EQ(kivini({"-get", "server.ini", "s", "a"}).out, "10\n");
  expectDone({"-delete", "server.ini", "s", "b"});
  EXPECT_EQ(contents(), "[s]\r\na = 10 ; one\r\nc = 3\r\n[t]\r\nd = 4\r\n");
}

TEST_F(KiviniEditTest, EditsKeepAByteOrderMark) {
  writeAll(file(), "\xEF\xBB\xBF[s]\na = 1\n");
  expectDone({"-set", "server.ini", "s", "a", "2"});
  EXPECT_EQ(contents(), "\xEF\xBB\xBF[s]\na = 2\n");
  expectDone({"-set", "server.ini", "t", "b", "3"});
  EXPECT_EQ(contents(), "\xEF\xBB\xBF[s]\na = 2\n[t]\nb = 3\n");
}

TEST_F(KiviniEditTest, EditsKeepAMissingLastLineEndUnlessALineIsPutBehind) {
  writeAll(file(), "[s]\na = 1\nb = 2");
  expectDone({"-set", "server.ini", "s", "a", "3"});
  EXPECT_EQ(contents(), "[s]\na = 3\nb = 2");
  expectDone({"-set", "server.ini", "s", "b", "4"});
  EXPECT_EQ(contents(), "[s]\na = 3\nb = 4");
  expectDone({"-set", "server.ini", "s", "c", "5"});
  EXPECT_EQ(contents(), "[s]\na = 3\nb = 4\nc = 5\n");
}

TEST_F(KiviniEditTest, ALineEndPutBehindTheLastLineOfACrlfFileIsLfAlone) {
  // "\r\n" would put a "\r" into the comment of that line.
  writeAll(file(), "[s]\r\nb = 2 ; two");
  expectDone({"-set", "server.ini", "t", "c", "3"});
  EXPECT_EQ(contents(), "[s]\r\nb = 2 ; two\n[t]\r\nc = 3\r\n");
}

// ---------------------------------------------------------------------------
// Standard input and output
// ---------------------------------------------------------------------------

TEST_F(KiviniEditTest, ADashMakesSetAndDeleteAFilter) {
  const std::string input = "# top\n[s]\na = 1\n";
  const Result set = runWithInput({"-set", "-", "s", "a", "2"}, dir.path(), input);
  EXPECT_EQ(set.out, "# top\n[s]\na = 2\n");
  EXPECT_EQ(set.err, "");
  EXPECT_EQ(set.exitCode, 0);
  const Result added = runWithInput({"-set", "-", "t", "b", "3"}, dir.path(), input);
  EXPECT_EQ(added.out, input + "[t]\nb = 3\n");
  const Result deleted = runWithInput({"-delete", "-", "s"}, dir.path(), input);
  EXPECT_EQ(deleted.out, "# top\n");
  EXPECT_EQ(deleted.exitCode, 0);
  EXPECT_EQ(entries(dir.path()), std::vector<std::string>{"server.ini"});
}

TEST_F(KiviniEditTest, AFilterCopiesTheInputWhenNothingIsToChange) {
  const std::string input = "\xEF\xBB\xBF[s]\r\na = 1";
  EXPECT_EQ(runWithInput({"-set", "-", "s", "a", "1"}, dir.path(), input).out, input);
  EXPECT_EQ(runWithInput({"-delete", "-", "nosuch"}, dir.path(), input).out, input);
}

TEST_F(KiviniEditTest, AFilterWritesNothingWhenItFails) {
  const Result broken = runWithInput({"-set", "-", "s", "a", "2"}, dir.path(), "[s]\nbad\n");
  EXPECT_EQ(broken.out, "");
  EXPECT_EQ(broken.err,
            "(standard input):2: INIFILE_INVAL_OPTION: line without \"=\" in a section\n" +
                errorDisplay("The file has errors and was not changed: (standard input)") + kBell);
  EXPECT_EQ(broken.exitCode, 3);
  const Result tooLong =
      runWithInput({"-set", "-", "s", "a", std::string(1100, 'x')}, dir.path(), "[s]\na = 1\n");
  EXPECT_EQ(tooLong.out, "");
  EXPECT_EQ(tooLong.exitCode, 3);
}

// ---------------------------------------------------------------------------
// -quiet
// ---------------------------------------------------------------------------

TEST_F(KiviniEditTest, QuietChangesTheFileWithoutOutput) {
  expectDone({"-quiet", "-set", "server.ini", "server", "port", "1"});
  EXPECT_EQ(contents(), replaced(kOriginal, "port = 8443", "port = 1"));
  const Result refused = kivini(
      {"-quiet", "-set", "server.ini", "server", "port", "\"x\";y" + std::string(1100, 'y')});
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err, "");
  EXPECT_EQ(refused.exitCode, 3);
}

}  // namespace
