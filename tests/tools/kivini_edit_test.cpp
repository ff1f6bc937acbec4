// kivini end to end: -set and -delete, the rewritten file, its backup and
// the cases in which a file is left as it is.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

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
using kivinitest::writeAll;

const char* const kOriginal =
    "; Settings of the report server.\n"
    "[server]\n"
    "host = reports.example.org\n"
    "port = 8443          ; HTTPS\n"
    "\n"
    "; Paths of the server.\n"
    "[paths]\n"
    "data = /srv/data\n"
    "log = /srv/log\n"
    "data = /srv/second\n";

// What the writer makes of kOriginal: an empty line before each header, a
// tab before "= ", comments behind values kept, comment lines dropped.
const char* const kRewritten =
    "\n[server]\n"
    "host\t= reports.example.org\n"
    "port\t= 8443\t; HTTPS\n"
    "\n[paths]\n"
    "data\t= /srv/data\n"
    "log\t= /srv/log\n"
    "data\t= /srv/second\n";

class KiviniEditTest : public ::testing::Test {
 protected:
  void SetUp() override { writeAll(file(), kOriginal); }

  std::string file() const { return dir / "server.ini"; }
  std::string backup() const { return dir / "server.ini.bak"; }
  std::string contents() const { return readAll(file()); }

  Result kivini(const std::vector<std::string>& args) { return run(args, dir.path()); }

  // A successful change: no output at all, status 0.
  void expectDone(const std::vector<std::string>& args) {
    const Result result = kivini(args);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitCode, 0);
  }

  // The file is as it was and no backup or temporary file was left.
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

TEST_F(KiviniEditTest, SetChangesAValueAndKeepsTheOriginalAsBackup) {
  expectDone({"-set", "server.ini", "server", "port", "9443"});
  EXPECT_EQ(contents(), replaced(kRewritten, "8443", "9443"));
  EXPECT_EQ(readAll(backup()), kOriginal);
  EXPECT_EQ(entries(dir.path()), (std::vector<std::string>{"server.ini", "server.ini.bak"}));
}

TEST_F(KiviniEditTest, SetKeepsTheCommentOfAnOptionWhoseValueGrows) {
  expectDone({"-set", "server.ini", "SERVER", "Port", "a much longer value than before"});
  EXPECT_EQ(contents(),
            replaced(kRewritten, "8443\t; HTTPS", "a much longer value than before\t; HTTPS"));
  expectDone({"-set", "server.ini", "server", "port", "1"});
  EXPECT_EQ(contents(), replaced(kRewritten, "8443", "1"));
}

TEST_F(KiviniEditTest, SetChangesTheFirstOfTwoOptionsOfTheSameName) {
  expectDone({"-set", "server.ini", "paths", "data", "/new"});
  EXPECT_EQ(contents(), replaced(kRewritten, "data\t= /srv/data", "data\t= /new"));
}

TEST_F(KiviniEditTest, SetAddsAnOptionAtTheEndOfItsSection) {
  expectDone({"-set", "server.ini", "server", "timeout", "30"});
  EXPECT_EQ(contents(), replaced(kRewritten, "; HTTPS\n", "; HTTPS\ntimeout\t= 30\n"));
  EXPECT_EQ(readAll(backup()), kOriginal);
}

TEST_F(KiviniEditTest, SetAddsASectionAndAnOptionAtTheEndOfTheFile) {
  expectDone({"-set", "server.ini", "Features", "audit", "off"});
  EXPECT_EQ(contents(), std::string(kRewritten) + "\n[Features]\naudit\t= off\n");
  const Result get = kivini({"-get", "server.ini", "features", "audit", "-bool"});
  EXPECT_EQ(get.out, "OFF\n");
  EXPECT_EQ(get.exitCode, 1);
}

TEST_F(KiviniEditTest, SetCreatesAMissingFileWithoutBackup) {
  const Result result = kivini({"-set", "new.ini", "main", "key", "value"});
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(readAll(dir / "new.ini"), "\n[main]\nkey\t= value\n");
  EXPECT_EQ(entries(dir.path()), (std::vector<std::string>{"new.ini", "server.ini"}));
}

TEST_F(KiviniEditTest, SetOfTheValueAlreadyThereLeavesTheFileAsItIs) {
  expectDone({"-set", "server.ini", "server", "port", "8443"});
  expectUntouched();
}

TEST_F(KiviniEditTest, SetReplacesAnOlderBackup) {
  writeAll(backup(), "old backup\n");
  expectDone({"-set", "server.ini", "server", "port", "1"});
  expectDone({"-set", "server.ini", "server", "port", "2"});
  EXPECT_EQ(readAll(backup()), replaced(kRewritten, "8443", "1"));
}

TEST_F(KiviniEditTest, SetKeepsThePermissionsOfTheFile) {
  ASSERT_EQ(chmod(file().c_str(), 0640), 0);
  expectDone({"-set", "server.ini", "server", "port", "1"});
  struct stat status {};
  ASSERT_EQ(stat(file().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
  ASSERT_EQ(stat(backup().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0640u);
}

TEST_F(KiviniEditTest, SetThroughASymbolicLinkReplacesTheFileItLeadsTo) {
  ASSERT_EQ(mkdir((dir / "real").c_str(), 0700), 0);
  ASSERT_EQ(rename(file().c_str(), (dir / "real/server.ini").c_str()), 0);
  ASSERT_EQ(symlink("real/server.ini", file().c_str()), 0);
  expectDone({"-set", "server.ini", "server", "port", "1"});
  char target[64] = {};
  ASSERT_GT(readlink(file().c_str(), target, sizeof(target) - 1), 0);
  EXPECT_STREQ(target, "real/server.ini");
  EXPECT_EQ(readAll(dir / "real/server.ini"), replaced(kRewritten, "8443", "1"));
  EXPECT_EQ(readAll(dir / "real/server.ini.bak"), kOriginal);
  EXPECT_FALSE(exists(backup()));
}

TEST_F(KiviniEditTest, SetWritesValuesSoThatTheyReadBackAsGiven) {
  const std::vector<std::string> values = {"",         "  padded  ", "say \"hi\"", "it's",
                                           "$(HOME)",  "a;b",        "tab\there",  "back\\slash",
                                           "'quoted'", "line\nbreak"};
  for (const std::string& value : values) {
    SCOPED_TRACE(value);
    // An argument loses one leading apostrophe.
    expectDone({"-set", "server.ini", "server", "v", (value[0] == '\'' ? "'" : "") + value});
    const Result get = kivini({"-get", "server.ini", "server", "v"});
    EXPECT_EQ(get.out, value + "\n");
    EXPECT_EQ(get.exitCode, 0);
  }
  // The writer drops empty values; "" reads back as the empty value.
  expectDone({"-set", "server.ini", "server", "v", ""});
  EXPECT_NE(contents().find("v\t= \"\"\n"), std::string::npos) << contents();
  expectDone({"-set", "server.ini", "server", "v", "  padded  "});
  EXPECT_NE(contents().find("v\t= \"  padded  \"\n"), std::string::npos) << contents();
  expectDone({"-set", "server.ini", "server", "v", "a;b"});
  EXPECT_NE(contents().find("v\t= \"a;b\"\n"), std::string::npos) << contents();
}

TEST_F(KiviniEditTest, SetTakesAValueBeginningWithAMinusAfterAnApostrophe) {
  expectDone({"-set", "server.ini", "server", "offset", "'-x"});
  const Result get = kivini({"-get", "server.ini", "server", "offset"});
  EXPECT_EQ(get.out, "-x\n");
  expectDone({"-set", "server.ini", "server", "offset", "-5"});
  EXPECT_EQ(kivini({"-get", "server.ini", "server", "offset"}).out, "-5\n");
}

TEST_F(KiviniEditTest, SetKeepsOptionsWithEmptyValuesOfTheFile) {
  writeAll(file(), "[s]\nempty =\nk = 1\n");
  expectDone({"-set", "server.ini", "s", "k", "2"});
  EXPECT_EQ(contents(), "\n[s]\nempty\t= \"\"\nk\t= 2\n");
}

TEST_F(KiviniEditTest, SetWritesSubstitutedValuesAndJoinedLinesAsTheyRead) {
  writeAll(file(), "[s]\ndata = $(HOME)/x   ; where\npath = /usr/\n   lib\nk = 1\n");
  expectDone({"-set", "server.ini", "s", "k", "2"});
  EXPECT_EQ(contents(), "\n[s]\ndata\t= /home/kivtest/x\t; where\npath\t= /usr/lib\nk\t= 2\n");
}

TEST_F(KiviniEditTest, SetOnANameWithoutExtensionWritesThatFileAndItsBackup) {
  writeAll(dir / "config", "[a]\nk = 1\n");
  expectDone({"-set", "config", "a", "k", "2"});
  EXPECT_EQ(readAll(dir / "config"), "\n[a]\nk\t= 2\n");
  EXPECT_EQ(readAll(dir / "config.bak"), "[a]\nk = 1\n");
  EXPECT_EQ(entries(dir.path()), (std::vector<std::string>{"config", "config.bak", "server.ini"}));
}

TEST_F(KiviniEditTest, SetRefusesAValueThatWouldNotReadBackTheSame) {
  const Result result = kivini({"-set", "server.ini", "server", "port", "\"x\";y"});
  EXPECT_EQ(result.out, kBell);
  EXPECT_EQ(result.err,
            errorDisplay("The new file would not read back the same; the file was not changed: "
                         "server.ini: server: port"));
  EXPECT_EQ(result.exitCode, 3);
  expectUntouched();
}

TEST_F(KiviniEditTest, SetRefusesAValueTooLongForALine) {
  const Result result = kivini({"-set", "server.ini", "server", "huge", std::string(1100, 'h')});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.err,
            errorDisplay("The new file would not read back the same; the file was not changed: "
                         "server.ini: server: huge"));
  expectUntouched();
}

TEST_F(KiviniEditTest, SetRefusesAFileWithErrorsAndNamesThem) {
  const std::string broken = "top = 0\n[server]\nport 8443\n";
  writeAll(file(), broken);
  const Result result = kivini({"-set", "server.ini", "server", "port", "1"});
  EXPECT_EQ(result.out, kBell);
  EXPECT_EQ(result.err,
            "server.ini:1: line before the first section header: it is not read\n"
            "server.ini:3: INIFILE_INVAL_OPTION: line without \"=\" in a section\n" +
                errorDisplay("The file has errors and was not changed: server.ini"));
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(contents(), broken);
  EXPECT_EQ(entries(dir.path()), std::vector<std::string>{"server.ini"});
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
      {"s", "", "Invalid option name: "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.error);
    const Result result = kivini({"-set", "server.ini", c.section, c.option, "v"});
    EXPECT_EQ(result.out, kUsageDisplay + kBell);
    EXPECT_EQ(result.err, errorDisplay(c.error));
    EXPECT_EQ(result.exitCode, 201);
  }
  expectUntouched();
}

TEST_F(KiviniEditTest, SetOnADirectoryReportsThatItCannotBeRead) {
  ASSERT_EQ(mkdir((dir / "sub").c_str(), 0700), 0);
  const Result folder = kivini({"-set", "sub", "s", "k", "v"});
  EXPECT_EQ(folder.out, kBell);
  EXPECT_EQ(folder.err, errorDisplay("Cannot read the file: sub: Is a directory"));
  EXPECT_EQ(folder.exitCode, 4);
}

TEST_F(KiviniEditTest, SetReportsAFileThatCannotBeWritten) {
  const Result result = kivini({"-set", "nodir/new.ini", "s", "k", "v"});
  EXPECT_EQ(result.out, kBell);
  EXPECT_EQ(result.err,
            errorDisplay("Cannot write the file: nodir/new.ini: No such file or directory"));
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(entries(dir.path()), std::vector<std::string>{"server.ini"});
}

TEST_F(KiviniEditTest, SetLeavesTheFileAsItIsWhenTheBackupCannotBeWritten) {
  // A directory of the backup's name cannot be replaced by a file.
  ASSERT_EQ(mkdir(backup().c_str(), 0700), 0);
  writeAll(dir / "server.ini.bak/keep", "x");
  const Result result = kivini({"-set", "server.ini", "server", "port", "1"});
  EXPECT_EQ(result.out, kBell);
  EXPECT_EQ(result.err, errorDisplay("Cannot write the backup file; the file was not changed: "
                                     "server.ini.bak: Is a directory"));
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_EQ(contents(), kOriginal);
  EXPECT_EQ(entries(dir.path()), (std::vector<std::string>{"server.ini", "server.ini.bak"}));
}

// ---------------------------------------------------------------------------
// -delete
// ---------------------------------------------------------------------------

TEST_F(KiviniEditTest, DeleteRemovesEveryOptionOfTheName) {
  expectDone({"-delete", "server.ini", "PATHS", "Data"});
  EXPECT_EQ(contents(),
            "\n[server]\nhost\t= reports.example.org\nport\t= 8443\t; HTTPS\n\n[paths]\n"
            "log\t= /srv/log\n");
  EXPECT_EQ(readAll(backup()), kOriginal);
}

TEST_F(KiviniEditTest, DeleteRemovesASectionWithItsOptions) {
  expectDone({"-delete", "server.ini", "server"});
  EXPECT_EQ(contents(), "\n[paths]\ndata\t= /srv/data\nlog\t= /srv/log\ndata\t= /srv/second\n");
  EXPECT_EQ(readAll(backup()), kOriginal);
  expectDone({"-delete", "server.ini", "paths"});
  EXPECT_EQ(contents(), "");
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
                            errorDisplay("The file has errors and was not changed: server.ini"));
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(contents(), broken);
}

TEST_F(KiviniEditTest, DeleteNeedsAnExistingFile) {
  const Result result = kivini({"-delete", "missing.ini", "s"});
  EXPECT_EQ(result.err,
            errorDisplay("Cannot read the file: missing.ini: No such file or directory"));
  EXPECT_EQ(result.exitCode, 4);
  EXPECT_FALSE(exists(dir / "missing.ini"));
}

TEST_F(KiviniEditTest, QuietChangesTheFileWithoutOutput) {
  expectDone({"-quiet", "-set", "server.ini", "server", "port", "1"});
  EXPECT_EQ(contents(), replaced(kRewritten, "8443", "1"));
  const Result refused = kivini({"-quiet", "-set", "server.ini", "server", "port", "\"x\";y"});
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err, "");
  EXPECT_EQ(refused.exitCode, 3);
}

}  // namespace
