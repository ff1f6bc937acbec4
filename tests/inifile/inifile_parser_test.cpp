// Tests of the INI parser: the line rules, sections and their merging, the
// error handler with its ids, class and line numbers, the line length and
// the three ways of loading.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "inifile_test_support.hpp"
#include "kiv_inifile.hpp"
#include "kiv_test_support.hpp"

using kivtest::dumpModel;
using kivtest::iniError;
using kivtest::IniErrorLog;
using kivtest::loadText;
using kivtest::sectionNames;
using kivtest::valueOf;

namespace {

class IniParserTest : public ::testing::Test {
 protected:
  IniParserTest() : ini(kivtest::unusedIniName()) { log.attach(ini); }
  KivClIniFile ini;
  IniErrorLog log;
};

TEST_F(IniParserTest, EmptyBufferLoadsWithNoSections) {
  EXPECT_TRUE(loadText(ini, ""));
  EXPECT_EQ(ini.getFirstSection(), nullptr);
  EXPECT_TRUE(log.calls.empty());
}

TEST_F(IniParserTest, CommentsAndBlankLinesOnlyLoadWithNoSections) {
  EXPECT_TRUE(loadText(ini, "; one\n\n   \t\n   ; indented comment\n;\n"));
  EXPECT_EQ(ini.getFirstSection(), nullptr);
  EXPECT_TRUE(log.calls.empty());
}

TEST_F(IniParserTest, OptionsBeforeTheFirstHeaderAreDroppedWithoutError) {
  EXPECT_TRUE(loadText(ini, "key=value\nnoequals\n  indented\n[s]\na=1\n"));
  EXPECT_EQ(dumpModel(ini), "[\"s\"]\n  \"a\" = \"1\" ; \"\"\n");
  EXPECT_TRUE(log.calls.empty());
}

TEST_F(IniParserTest, ReadsSectionsAndOptionsInFileOrder) {
  EXPECT_TRUE(loadText(ini, "[one]\na = 1\nb = 2\n[two]\nc = 3\n"));
  EXPECT_EQ(dumpModel(ini),
            "[\"one\"]\n  \"a\" = \"1\" ; \"\"\n  \"b\" = \"2\" ; \"\"\n"
            "[\"two\"]\n  \"c\" = \"3\" ; \"\"\n");
}

TEST_F(IniParserTest, SectionNameIsTakenExactlyAsWritten) {
  EXPECT_TRUE(loadText(ini, "[ My Section ]\n[MiXeD]\n"));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{" My Section ", "MiXeD"}));
}

TEST_F(IniParserTest, TextBehindTheClosingBracketIsIgnored) {
  EXPECT_TRUE(loadText(ini, "[a]b]\n[c] ; comment\n[d]x=1\n"));
  EXPECT_EQ(dumpModel(ini), "[\"a\"]\n[\"c\"]\n[\"d\"]\n");
  EXPECT_TRUE(log.calls.empty());
}

TEST_F(IniParserTest, SectionNameIsCutToEightyCharacters) {
  const std::string name(100, 'n');
  EXPECT_TRUE(loadText(ini, "[" + name + "]\n"));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{std::string(80, 'n')}));
}

TEST_F(IniParserTest, EmptyHeaderMakesASectionWithAnEmptyName) {
  EXPECT_TRUE(loadText(ini, "[]\nk=v\n"));
  ASSERT_NE(ini.getFirstSection(), nullptr);
  EXPECT_TRUE(ini.getFirstSection()->isDeleted());
  EXPECT_EQ(valueOf(ini, "", "k"), "v");
}

TEST_F(IniParserTest, HeaderWithoutClosingBracketReportsInvalidSectionAndKeepsCurrentSection) {
  EXPECT_TRUE(loadText(ini, "[good]\na=1\n[general\nb=2\n"));
  EXPECT_EQ(log.calls,
            (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_SECTION, 3)}));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"good"}));
  EXPECT_EQ(valueOf(ini, "good", "b"), "2");
}

TEST_F(IniParserTest, IndentedHeaderIsNotASectionHeader) {
  EXPECT_TRUE(loadText(ini, "[s]\nk = v\n  [t]\n"));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"s"}));
  EXPECT_EQ(log.calls,
            (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_WHITESPACE, 3)}));
}

TEST_F(IniParserTest, IndentedHeaderContinuesTheValueWhenContinuationIsAllowed) {
  EXPECT_TRUE(loadText(ini, "[s]\nk = v\n  [t]\n", true, true));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"s"}));
  EXPECT_EQ(valueOf(ini, "s", "k"), "v[t]");
  EXPECT_TRUE(log.calls.empty());
}

TEST_F(IniParserTest, LineWithoutEqualsReportsInvalidOption) {
  EXPECT_TRUE(loadText(ini, "[s]\nname\nk=v\n"));
  EXPECT_EQ(log.calls, (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_OPTION, 2)}));
  EXPECT_EQ(dumpModel(ini), "[\"s\"]\n  \"k\" = \"v\" ; \"\"\n");
}

TEST_F(IniParserTest, LineStartingWithEqualsMakesAnOptionWithAnEmptyName) {
  EXPECT_TRUE(loadText(ini, "[s]\n=x\n"));
  const KivClIniFileOption* o = ini.getFirstSection()->getFirstOption();
  ASSERT_NE(o, nullptr);
  EXPECT_TRUE(o->isDeleted());
  EXPECT_STREQ(o->getName(), "");
  EXPECT_STREQ(o->getValue(), "x");
  EXPECT_TRUE(log.calls.empty());
}

TEST_F(IniParserTest, WhitespaceInsideTheNameIsDropped) {
  EXPECT_TRUE(loadText(ini, "[s]\nmax size = 3\nmin\tsize\t=4\n"));
  EXPECT_EQ(valueOf(ini, "s", "maxsize"), "3");
  EXPECT_EQ(valueOf(ini, "s", "minsize"), "4");
}

TEST_F(IniParserTest, ValueRunsFromTheFirstEqualsSign) {
  EXPECT_TRUE(loadText(ini, "[s]\nk = a=b=c\n"));
  EXPECT_EQ(valueOf(ini, "s", "k"), "a=b=c");
}

TEST_F(IniParserTest, HashIsOrdinaryText) {
  EXPECT_TRUE(loadText(ini, "[s]\n#k = v # not a comment\n"));
  EXPECT_EQ(valueOf(ini, "s", "#k"), "v # not a comment");
}

TEST_F(IniParserTest, SemicolonAfterIndentationIsACommentLine) {
  EXPECT_TRUE(loadText(ini, "[s]\nk = v\n   ; a comment\n"));
  EXPECT_TRUE(log.calls.empty());
  EXPECT_EQ(valueOf(ini, "s", "k"), "v");
}

TEST_F(IniParserTest, DuplicateOptionNamesAreKeptAndLookupsFindTheFirst) {
  EXPECT_TRUE(loadText(ini, "[s]\nk = 1\nK = 2\n"));
  EXPECT_EQ(dumpModel(ini), "[\"s\"]\n  \"k\" = \"1\" ; \"\"\n  \"K\" = \"2\" ; \"\"\n");
  ASSERT_TRUE(ini.getSection("s"));
  const char* value = nullptr;
  ASSERT_TRUE(ini.getOption("k", value));
  EXPECT_STREQ(value, "1");
}

TEST_F(IniParserTest, DuplicateSectionsAreKeptWhenAskedTo) {
  EXPECT_TRUE(loadText(ini, "[Main]\na=1\n[MAIN]\nb=2\n", true));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"Main", "MAIN"}));
}

TEST_F(IniParserTest, DuplicateSectionsMergeWithoutRegardToCase) {
  EXPECT_TRUE(loadText(ini, "[Main]\na=1\n[other]\nx=0\n[MAIN]\nb=2\n", false));
  EXPECT_EQ(dumpModel(ini),
            "[\"Main\"]\n  \"a\" = \"1\" ; \"\"\n  \"b\" = \"2\" ; \"\"\n"
            "[\"other\"]\n  \"x\" = \"0\" ; \"\"\n");
}

TEST_F(IniParserTest, MergingComparesTheNameCutToEightyCharacters) {
  const std::string name(80, 'q');
  EXPECT_TRUE(loadText(ini, "[" + name + "]\na=1\n[" + name + "XYZ]\nb=2\n", false));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{name}));
  EXPECT_EQ(valueOf(ini, name, "b"), "2");
}

TEST_F(IniParserTest, SecondLoadAppendsOrMerges) {
  EXPECT_TRUE(loadText(ini, "[s]\na=1\n"));
  EXPECT_TRUE(loadText(ini, "[s]\nb=2\n"));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"s", "s"}));
  EXPECT_TRUE(loadText(ini, "[S]\nc=3\n", false));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"s", "s"}));
  EXPECT_EQ(valueOf(ini, "s", "c"), "3");
}

TEST_F(IniParserTest, SecondLoadStartsWithoutASectionSoLeadingOptionsAreDropped) {
  EXPECT_TRUE(loadText(ini, "[s]\na=1\n"));
  EXPECT_TRUE(loadText(ini, "b=2\n"));
  EXPECT_EQ(dumpModel(ini), "[\"s\"]\n  \"a\" = \"1\" ; \"\"\n");
}

TEST_F(IniParserTest, LeadingOptionsAreDroppedEvenWhenASectionWasSelectedBefore) {
  EXPECT_TRUE(loadText(ini, "[s]\na=1\n"));
  ASSERT_TRUE(ini.getSection("s"));
  EXPECT_TRUE(loadText(ini, "b=2\n[t]\nc=3\n"));
  ini.addSection("u");
  EXPECT_TRUE(loadText(ini, "d=4\n"));
  EXPECT_EQ(dumpModel(ini),
            "[\"s\"]\n  \"a\" = \"1\" ; \"\"\n[\"t\"]\n  \"c\" = \"3\" ; \"\"\n[\"u\"]\n");
  EXPECT_TRUE(log.calls.empty());
  EXPECT_EQ(ini.getCurrentSection(), nullptr);
}

TEST_F(IniParserTest, CurrentSectionIsClearedAfterEveryLoad) {
  EXPECT_TRUE(loadText(ini, "[s]\na=1\n"));
  EXPECT_EQ(ini.getCurrentSection(), nullptr);
  log.stopAtCall = 1;
  EXPECT_FALSE(loadText(ini, "[t]\nbad\n"));
  EXPECT_EQ(ini.getCurrentSection(), nullptr);
}

TEST_F(IniParserTest, HandlerGetsIdsClassAndLineNumbers) {
  EXPECT_TRUE(loadText(ini,
                       "; comment\n"   // 1
                       "[s]\n"         // 2
                       "no equals\n"   // 3
                       "\n"            // 4
                       "[broken\n"     // 5
                       "  indented\n"  // 6
                       "k = v\n"       // 7
                       "   more\n"));  // 8
  EXPECT_EQ(
      log.calls,
      (std::vector<kivtest::IniErrorCall>{
          iniError(KIV_INIFILE_INVAL_OPTION, 3), iniError(KIV_INIFILE_INVAL_SECTION, 5),
          iniError(KIV_INIFILE_INVAL_WHITESPACE, 6), iniError(KIV_INIFILE_INVAL_WHITESPACE, 8)}));
  EXPECT_EQ(static_cast<int>(log.calls[0].errorClass), 101);
}

TEST_F(IniParserTest, HandlerThatAnswersFalseStopsTheLoadKeepingWhatWasRead) {
  log.stopAtCall = 2;
  EXPECT_FALSE(loadText(ini, "[s]\na=1\nbad1\nb=2\nbad2\nc=3\n[t]\n"));
  EXPECT_EQ(log.calls.size(), 2u);
  EXPECT_EQ(dumpModel(ini), "[\"s\"]\n  \"a\" = \"1\" ; \"\"\n  \"b\" = \"2\" ; \"\"\n");
  EXPECT_EQ(ini.getLineNumber(), 5u);
}

TEST_F(IniParserTest, WithoutHandlerErrorsAreSkipped) {
  ini.setErrorHandler(nullptr, nullptr);
  EXPECT_TRUE(loadText(ini, "[s]\nbad\n[broken\n  x\nk=v\n"));
  EXPECT_EQ(dumpModel(ini), "[\"s\"]\n  \"k\" = \"v\" ; \"\"\n");
}

TEST_F(IniParserTest, HandlerReceivesItsUserDataUnchanged) {
  struct Seen {
    void* data = nullptr;
  } seen;
  ini.setErrorHandler(
      [](const _KivStError&, unsigned int, void* data) {
        static_cast<Seen*>(data)->data = data;
        return true;
      },
      &seen);
  EXPECT_TRUE(loadText(ini, "[s]\nbad\n"));
  EXPECT_EQ(seen.data, &seen);
}

// The reporting step itself, as a subclass reaches it: the id arrives with
// class 101 and the current line number, and without a handler the answer
// is to go on.
class IniErrorProbe : public KivClIniFile {
 public:
  IniErrorProbe() : KivClIniFile(kivtest::unusedIniName()) {}
  bool report(unsigned long id) { return error(id); }
  static constexpr bool kTakesAnUnsignedLong =
      std::is_same_v<decltype(&IniErrorProbe::error), bool (KivClIniFile::*)(unsigned long)>;
};

TEST(IniErrorStep, ReportsTheIdWithClass101AndTheLineNumber) {
  static_assert(IniErrorProbe::kTakesAnUnsignedLong);
  IniErrorProbe probe;
  EXPECT_TRUE(probe.report(KIV_INIFILE_INVAL_OPTION));
  IniErrorLog log;
  log.attach(probe);
  const char text[] = "[s]\nk=v\n";
  EXPECT_TRUE(probe.loadFromBuffer(text, sizeof text - 1, '\n', true, false));
  log.stopAtCall = 1;
  EXPECT_FALSE(probe.report(1000003UL));
  EXPECT_EQ(log.calls,
            (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_WHITESPACE, 3)}));
  EXPECT_EQ(log.calls[0].errorClass, KivEnErrorClass::USER_DATA_ERROR);
}

TEST_F(IniParserTest, LineNumbersGoOnCountingAcrossBufferLoads) {
  // Each buffer ends with the delimiter: the reader counts the empty line
  // it meets behind it before it sees the end.
  EXPECT_TRUE(loadText(ini, "[s]\nbad\n"));
  EXPECT_EQ(ini.getLineNumber(), 3u);
  EXPECT_TRUE(loadText(ini, "[s]\nbad\n"));
  EXPECT_TRUE(loadText(ini, "[s]\nbad"));
  EXPECT_EQ(log.calls, (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_OPTION, 2),
                                                           iniError(KIV_INIFILE_INVAL_OPTION, 5),
                                                           iniError(KIV_INIFILE_INVAL_OPTION, 8)}));
  EXPECT_EQ(ini.getLineNumber(), 8u);
}

TEST_F(IniParserTest, StreamLoadDoesNotResetTheLineNumber) {
  std::istringstream first("[s]\nx\n");
  EXPECT_TRUE(ini.load(first, '\n', true, false));
  std::istringstream second("bad\n[t]\ny");
  EXPECT_TRUE(ini.load(second, '\n', true, false));
  EXPECT_EQ(log.calls, (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_OPTION, 2),
                                                           iniError(KIV_INIFILE_INVAL_OPTION, 6)}));
}

TEST_F(IniParserTest, OtherDelimitersSeparateLines) {
  EXPECT_TRUE(loadText(ini, "[s]|a = 1|b = 2\n3|", true, false, '|'));
  EXPECT_EQ(valueOf(ini, "s", "a"), "1");
  EXPECT_EQ(valueOf(ini, "s", "b"), "2\n3");
}

TEST_F(IniParserTest, CarriageReturnsOfCrLfLinesAreTrimmed) {
  EXPECT_TRUE(loadText(ini, "[s]\r\nk = v\r\nq = \"x\" ; c\r\n"));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"s"}));
  EXPECT_EQ(valueOf(ini, "s", "k"), "v");
  EXPECT_EQ(kivtest::commentOf(ini, "s", "q"), "c\r");
}

TEST_F(IniParserTest, BufferLengthLimitsWhatIsRead) {
  const char text[] = "[s]\nk = v\nrest = never";
  EXPECT_TRUE(ini.loadFromBuffer(text, 10, '\n', true, false));
  EXPECT_EQ(dumpModel(ini), "[\"s\"]\n  \"k\" = \"v\" ; \"\"\n");
}

TEST_F(IniParserTest, NullBufferLoadsNothing) {
  EXPECT_TRUE(ini.loadFromBuffer(nullptr, 100, '\n', true, false));
  EXPECT_EQ(ini.getFirstSection(), nullptr);
}

// --- The line length -------------------------------------------------------

TEST_F(IniParserTest, LineOf1023CharactersIsReadWhole) {
  const std::string value(1019, 'v');  // "k = " and the value: 1023 characters
  EXPECT_TRUE(loadText(ini, "[s]\nk = " + value + "\nnext = 1\n"));
  EXPECT_EQ(valueOf(ini, "s", "k"), value);
  EXPECT_EQ(valueOf(ini, "s", "next"), "1");
}

TEST_F(IniParserTest, LongLineIsCutAndEndsTheLoad) {
  const std::string line = "k = " + std::string(1996, 'v');  // 2000 characters
  EXPECT_TRUE(loadText(ini, "[s]\n" + line + "\nnext = 1\n[t]\n"));
  EXPECT_EQ(valueOf(ini, "s", "k"), std::string(1019, 'v'));
  EXPECT_EQ(valueOf(ini, "s", "next"), "<missing>");
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"s"}));
  EXPECT_TRUE(log.calls.empty());
  EXPECT_EQ(ini.getLineNumber(), 2u);
}

TEST_F(IniParserTest, LineOf100000CharactersIsCutWithoutHarm) {
  EXPECT_TRUE(loadText(ini, "[s]\n" + std::string(100000, '[') + "\n"));
  EXPECT_TRUE(loadText(ini, "[s]\nk=" + std::string(100000, 'x') + "\n[t]\n"));
  EXPECT_EQ(valueOf(ini, "s", "k"), std::string(1021, 'x'));
  EXPECT_TRUE(loadText(ini, "[" + std::string(100000, 'n') + "]\n"));
  EXPECT_EQ(ini.getFirstSection()->getNext()->getNext(), nullptr);
  EXPECT_EQ(log.calls,
            (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_SECTION, 2),
                                                iniError(KIV_INIFILE_INVAL_SECTION, 5)}));
}

TEST_F(IniParserTest, LongOptionNameLeavesNoRoomAndStaysInsideTheBuffer) {
  const std::string name(1022, 'n');
  EXPECT_TRUE(loadText(ini, "[s]\n" + name + "=\n"));
  const KivClIniFileOption* o = ini.getFirstSection()->getFirstOption();
  ASSERT_NE(o, nullptr);
  EXPECT_EQ(std::string(o->getName()), name);
  EXPECT_STREQ(o->getValue(), "");
  EXPECT_STREQ(o->getComment(), "");
}

// --- Loading a named file ----------------------------------------------------

class IniFileLoadTest : public ::testing::Test {
 protected:
  void write(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
  }
  kivtest::TempDir dir;
};

TEST_F(IniFileLoadTest, NameWithoutExtensionGetsIni) {
  KivClIniFile ini(KivClFilename((dir / "settings").c_str()));
  EXPECT_EQ(std::string(ini.getAsCString()), dir / "settings.ini");
  KivClIniFile other(KivClFilename((dir / "settings.cfg").c_str()));
  EXPECT_EQ(std::string(other.getAsCString()), dir / "settings.cfg");
}

TEST_F(IniFileLoadTest, LoadsTheFile) {
  write(dir / "a.ini", "[s]\nk = v ; c\n");
  KivClIniFile ini(KivClFilename((dir / "a").c_str()));
  EXPECT_TRUE(ini.load(false));
  EXPECT_EQ(dumpModel(ini), "[\"s\"]\n  \"k\" = \"v\" ; \"c\"\n");
}

TEST_F(IniFileLoadTest, LoadPassesContinuation) {
  write(dir / "a.ini", "[s]\npath = /usr/\n   lib\n");
  KivClIniFile ini(KivClFilename((dir / "a.ini").c_str()));
  IniErrorLog log;
  log.attach(ini);
  EXPECT_TRUE(ini.load(true));
  EXPECT_EQ(valueOf(ini, "s", "path"), "/usr/lib");
  KivClIniFile strict(KivClFilename((dir / "a.ini").c_str()));
  IniErrorLog strictLog;
  strictLog.attach(strict);
  EXPECT_TRUE(strict.load(false));
  EXPECT_EQ(strictLog.calls,
            (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_WHITESPACE, 3)}));
}

TEST_F(IniFileLoadTest, LoadKeepsDuplicateSections) {
  write(dir / "a.ini", "[s]\na=1\n[S]\nb=2\n");
  KivClIniFile ini(KivClFilename((dir / "a.ini").c_str()));
  EXPECT_TRUE(ini.load(false));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"s", "S"}));
}

TEST_F(IniFileLoadTest, LoadResetsTheLineNumber) {
  write(dir / "a.ini", "[s]\nbad\n");
  KivClIniFile ini(KivClFilename((dir / "a.ini").c_str()));
  IniErrorLog log;
  log.attach(ini);
  EXPECT_TRUE(ini.load(false));
  EXPECT_TRUE(ini.load(false));
  EXPECT_EQ(log.calls, (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_OPTION, 2),
                                                           iniError(KIV_INIFILE_INVAL_OPTION, 2)}));
  EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"s", "s"}));
}

TEST_F(IniFileLoadTest, MissingFileFailsWithoutCallingTheHandlerAndKeepsTheModel) {
  KivClIniFile ini(KivClFilename((dir / "missing.ini").c_str()));
  IniErrorLog log;
  log.attach(ini);
  EXPECT_TRUE(loadText(ini, "[kept]\nk=v\nbad\n"));
  ASSERT_TRUE(ini.getSection("kept"));
  EXPECT_FALSE(ini.load(false));
  // Whatever the outcome, no section stays current after a load.
  EXPECT_EQ(ini.getCurrentSection(), nullptr);
  EXPECT_EQ(log.calls.size(), 1u);
  EXPECT_EQ(dumpModel(ini), "[\"kept\"]\n  \"k\" = \"v\" ; \"\"\n");
  EXPECT_EQ(ini.getLineNumber(), 0u);
}

TEST_F(IniFileLoadTest, DirectoryFailsToLoad) {
  std::filesystem::create_directory(dir / "d.ini");
  KivClIniFile ini(KivClFilename((dir / "d.ini").c_str()));
  EXPECT_FALSE(ini.load(false));
  EXPECT_EQ(ini.getFirstSection(), nullptr);
}

}  // namespace
