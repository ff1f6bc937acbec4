// Tests of value cooking: comments, trimming, quoted strings, character
// literals, escapes, environment substitution, continuation lines and the
// bound of the 1024-byte option buffer.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "inifile_test_support.hpp"
#include "kiv_inifile.hpp"
#include "kiv_test_support.hpp"

using kivtest::commentOf;
using kivtest::iniError;
using kivtest::IniErrorLog;
using kivtest::loadText;
using kivtest::valueOf;

namespace {

class IniValueTest : public ::testing::Test {
 protected:
  IniValueTest() : ini(kivtest::unusedIniName()) { log.attach(ini); }

  // Loads "[s]" and the given option lines; returns the value of `name`.
  std::string value(const std::string& lines, const char* name = "v", bool continuation = false) {
    EXPECT_TRUE(loadText(ini, "[s]\n" + lines + "\n", true, continuation));
    return valueOf(ini, "s", name);
  }
  std::string comment(const char* name = "v") { return commentOf(ini, "s", name); }
  const KivClIniFileOption* option(const char* name = "v") {
    return kivtest::findOption(ini, "s", name);
  }

  KivClIniFile ini;
  IniErrorLog log;
};

// --- Comments and trimming ---------------------------------------------------

TEST_F(IniValueTest, QuotedSemicolonBelongsToTheValue) {
  EXPECT_EQ(value("msg = \"a;b\"  ; note", "msg"), "a;b");
  EXPECT_EQ(comment("msg"), "note");
}

TEST_F(IniValueTest, UnquotedSemicolonStartsTheComment) {
  EXPECT_EQ(value("v = a ; b"), "a");
  EXPECT_EQ(comment(), "b");
}

TEST_F(IniValueTest, CommentLosesLeadingBlanksAndKeepsTheRest) {
  EXPECT_EQ(value("v = x ;   two  words ; \"q\"  "), "x");
  EXPECT_EQ(comment(), "two  words ; \"q\"  ");
}

TEST_F(IniValueTest, OptionWithoutCommentHasTheEmptyComment) {
  EXPECT_EQ(value("v = x"), "x");
  EXPECT_EQ(comment(), "");
  EXPECT_EQ(value("w = x ;", "w"), "x");
  EXPECT_EQ(comment("w"), "");
}

TEST_F(IniValueTest, NameValueAndCommentShareOneBuffer) {
  value("v = abc ; note");
  const KivClIniFileOption* o = option();
  ASSERT_NE(o, nullptr);
  EXPECT_EQ(o->getValue(), o->getName() + 2);
  EXPECT_EQ(o->getComment(), o->getValue() + 4);
}

TEST_F(IniValueTest, LeadingAndTrailingBlanksAreRemoved) {
  EXPECT_EQ(value("v =  \t x y \t  "), "x y");
  EXPECT_EQ(value("w = a b   ; c", "w"), "a b");
}

TEST_F(IniValueTest, EmptyValueIsEmpty) { EXPECT_EQ(value("v ="), ""); }

TEST_F(IniValueTest, QuotedBlanksSurviveTrailingBlanksDoNot) {
  EXPECT_EQ(value("v = \"  padded  \"   "), "  padded  ");
  EXPECT_EQ(value("w = ' '", "w"), " ");
  EXPECT_EQ(value("x = a' '   ", "x"), "a ");
}

TEST_F(IniValueTest, BlanksBetweenPiecesAreKept) {
  EXPECT_EQ(value("v = pre \"mid\"  post  "), "pre mid  post");
}

// --- Quoted strings ----------------------------------------------------------

TEST_F(IniValueTest, EscapesInsideQuotes) {
  EXPECT_EQ(value(R"(v = "\a\b\f\n\r\t\v")"), "\a\b\f\n\r\t\v");
  EXPECT_EQ(value(R"(w = "\\ \" \' \; \q")", "w"), "\\ \" ' ; q");
}

TEST_F(IniValueTest, HexAndOctalEscapesInsideQuotes) {
  EXPECT_EQ(value(R"(k = "\x41\102")", "k"), "AB");
  EXPECT_EQ(value(R"(a = "\x4a\x4A\x41g")", "a"), "JJAg");
}

TEST_F(IniValueTest, OctalEscapesWithTheDigitSeven) {
  // BEL, apostrophe, DEL.
  EXPECT_EQ(value(R"(v = "\7\047\177")"), "\a'\x7f");
  EXPECT_EQ(value(R"(w = '\7')", "w"), "\a");
}

TEST_F(IniValueTest, UnquotedBackslashesAreKeptAsTyped) {
  EXPECT_EQ(value(R"(k = \x41\102)", "k"), R"(\x41\102)");
}

TEST_F(IniValueTest, HexEscapeTakesAllDigitsAndKeepsTheLowByte) {
  EXPECT_EQ(value(R"(v = "\x4142")"), "B");
}

TEST_F(IniValueTest, NumbersTooLargeForAnUnsignedLongGiveFF) {
  // 17 hexadecimal and 25 octal digits overflow 64 bits; the low byte of
  // the exact number would be 0x41.
  EXPECT_EQ(value(R"(v = "\x10000000000000041")"), "\xff");
  EXPECT_EQ(value(R"(w = "\1000000000000000000000101")", "w"), "\xff");
  EXPECT_EQ(value(R"(x = "\xffffffffffffffff")", "x"), "\xff");
}

TEST_F(IniValueTest, HexEscapeWithoutDigitGivesTheByteZero) {
  value(R"(v = "A\xZ")");
  const KivClIniFileOption* o = option();
  ASSERT_NE(o, nullptr);
  EXPECT_STREQ(o->getValue(), "A");
  EXPECT_EQ(std::memcmp(o->getValue(), "A\0Z", 4), 0);
}

TEST_F(IniValueTest, DigitEscapeWithoutOctalDigitGivesTheByteZeroAndConsumesNothing) {
  value(R"(v = "\8abc")");
  const KivClIniFileOption* o = option();
  ASSERT_NE(o, nullptr);
  EXPECT_STREQ(o->getValue(), "");
  EXPECT_EQ(std::memcmp(o->getValue(),
                        "\0"
                        "8abc",
                        6),
            0);
  EXPECT_EQ(value(R"(w = "\18")", "w"),
            "\x01"
            "8");
}

TEST_F(IniValueTest, UnterminatedQuoteEndsAtTheEndOfTheLine) {
  EXPECT_EQ(value("v = \"abc ; d  "), "abc ; d  ");
  EXPECT_EQ(comment(), "");
  EXPECT_EQ(value("w = \"abc\\", "w"), "abc");
  EXPECT_EQ(value("x = tail\"", "x"), "tail");
}

// --- Character literals ------------------------------------------------------

TEST_F(IniValueTest, CharacterLiteralTakesOneCharacterAndSkipsTheNext) {
  EXPECT_EQ(value("v = 'x'"), "x");
  EXPECT_EQ(value("w = 'ab'", "w"), "a");
  EXPECT_EQ(value("x = 'ab'c", "x"), "ac");
  EXPECT_EQ(value("y = 'a;", "y"), "a");
  EXPECT_EQ(comment("y"), "");
}

TEST_F(IniValueTest, CharacterLiteralWithEscapes) {
  EXPECT_EQ(value(R"(v = '\n')"), "\n");
  EXPECT_EQ(value(R"(w = '\'')", "w"), "'");
  EXPECT_EQ(value(R"(x = '\x41')", "x"), "A");
  EXPECT_EQ(value(R"(y = '\101'z)", "y"), "Az");
  EXPECT_EQ(value(R"(z = ';' ; c)", "z"), ";");
  EXPECT_EQ(comment("z"), "c");
}

TEST_F(IniValueTest, QuoteAtTheEndOfTheLineTakesTheNulBehindIt) {
  EXPECT_EQ(value("v = ab'"), "ab");
  EXPECT_EQ(value("w = '", "w"), "");
  EXPECT_EQ(value(R"(x = a'\)", "x"), "a");
  // The NUL is stored like any literal's character, right behind the value,
  // and the comment is empty.
  const KivClIniFileOption* o = option("v");
  ASSERT_NE(o, nullptr);
  EXPECT_EQ(std::memcmp(o->getValue(), "ab\0", 3), 0);
  EXPECT_STREQ(o->getComment(), "");
}

TEST_F(IniValueTest, QuoteAtTheEndOfTheLineProtectsTheBlanksBeforeIt) {
  EXPECT_EQ(value("a = x  '", "a"), "x  ");
  // One blank from the first literal (which skips the second), two copied,
  // and the closing quote is a literal of its own that protects them.
  EXPECT_EQ(value("indent = '    '", "indent"), "   ");
  EXPECT_EQ(value("t = x\t '", "t"), "x\t ");
  // Without the quote the blanks go.
  EXPECT_EQ(value("b = x  ", "b"), "x");
}

TEST_F(IniValueTest, ContinuationGoesOnBehindTheProtectedBlanks) {
  EXPECT_EQ(value("v = x  '\n   y", "v", true), "x  y");
}

// --- The free functions --------------------------------------------------------

TEST(IniValueFunctions, EscapeCharacterAdvancesPastWhatItConsumed) {
  const char* p = "n!";
  EXPECT_EQ(kivIniFileGetEscCharacter(p), '\n');
  EXPECT_STREQ(p, "!");
  p = "x41!";
  EXPECT_EQ(kivIniFileGetEscCharacter(p), 'A');
  EXPECT_STREQ(p, "!");
  p = "101!";
  EXPECT_EQ(kivIniFileGetEscCharacter(p), 'A');
  EXPECT_STREQ(p, "!");
  p = "\"!";
  EXPECT_EQ(kivIniFileGetEscCharacter(p), '"');
  EXPECT_STREQ(p, "!");
}

TEST(IniValueFunctions, OctalEscapeTakesTheDigitSeven) {
  const char* p = "7x";
  EXPECT_EQ(kivIniFileGetEscCharacter(p), '\7');
  EXPECT_STREQ(p, "x");
  p = "177!";
  EXPECT_EQ(kivIniFileGetEscCharacter(p), '\177');
  EXPECT_STREQ(p, "!");
  p = "778";
  EXPECT_EQ(kivIniFileGetEscCharacter(p), '\77');
  EXPECT_STREQ(p, "8");
}

TEST(IniValueFunctions, HexEscapeWithoutDigitGivesZeroAndLeavesTheNextCharacter) {
  const char* p = "xZ";
  EXPECT_EQ(kivIniFileGetEscCharacter(p), '\0');
  EXPECT_STREQ(p, "Z");
  p = "x";
  EXPECT_EQ(kivIniFileGetEscCharacter(p), '\0');
  EXPECT_STREQ(p, "");
}

TEST(IniValueFunctions, DigitEscapeWithoutOctalDigitConsumesNothing) {
  const char* p = "9x";
  EXPECT_EQ(kivIniFileGetEscCharacter(p), '\0');
  EXPECT_STREQ(p, "9x");
  p = "18";
  EXPECT_EQ(kivIniFileGetEscCharacter(p), '\x01');
  EXPECT_STREQ(p, "8");
}

TEST(IniValueFunctions, EscapeAtTheEndOfTheTextDoesNotMove) {
  const char* text = "";
  const char* p = text;
  EXPECT_EQ(kivIniFileGetEscCharacter(p), '\0');
  EXPECT_EQ(p, text);
}

TEST(IniValueFunctions, QuotedCharacterSkipsOneCharacterUnchecked) {
  const char* p = "'xy'z";
  EXPECT_EQ(kivIniFileGetQuotedCharacter(p), 'x');
  EXPECT_STREQ(p, "'z");
  p = R"('\t'!)";
  EXPECT_EQ(kivIniFileGetQuotedCharacter(p), '\t');
  EXPECT_STREQ(p, "!");
  p = "'";
  EXPECT_EQ(kivIniFileGetQuotedCharacter(p), '\0');
  EXPECT_STREQ(p, "");
  p = "'x";
  EXPECT_EQ(kivIniFileGetQuotedCharacter(p), 'x');
  EXPECT_STREQ(p, "");
}

TEST(IniValueFunctions, QuotedStringCopyAdvancesBothPointers) {
  char buffer[32];
  std::memset(buffer, '#', sizeof buffer);
  char* d = buffer;
  const char* s = R"("a\tb\"c" rest)";
  kivIniFileQuotedStrCopy(d, s);
  EXPECT_EQ(d - buffer, 5);
  EXPECT_EQ(std::string(buffer, 5), "a\tb\"c");
  EXPECT_EQ(buffer[5], '#');  // no terminator written
  EXPECT_STREQ(s, " rest");
}

TEST(IniValueFunctions, QuotedStringCopyStopsAtTheEndOfAnUnterminatedString) {
  char buffer[32];
  char* d = buffer;
  const char* s = "\"abc\\";
  kivIniFileQuotedStrCopy(d, s);
  EXPECT_EQ(std::string(buffer, static_cast<std::size_t>(d - buffer)), "abc");
  EXPECT_STREQ(s, "");
}

// --- Environment substitution ------------------------------------------------

class IniSubstitutionTest : public IniValueTest {
 protected:
  IniSubstitutionTest() : home("HOME"), var("KIV_INI_TEST_VAR") {}
  kivtest::EnvGuard home;
  kivtest::EnvGuard var;
};

TEST_F(IniSubstitutionTest, SubstitutesTheVariable) {
  home.set("/home/tester");
  EXPECT_EQ(value("p = $(HOME)/x", "p"), "/home/tester/x");
}

TEST_F(IniSubstitutionTest, UnsetVariableInsertsNothing) {
  home.unset();
  EXPECT_EQ(value("p = $(HOME)/x", "p"), "/x");
}

TEST_F(IniSubstitutionTest, DollarWithoutParenthesesStaysLiteral) {
  home.set("/home/tester");
  EXPECT_EQ(value("p = $HOME", "p"), "$HOME");
  EXPECT_EQ(value("q = $(HOME", "q"), "$(HOME");
  EXPECT_EQ(value("r = $ (HOME)", "r"), "$ (HOME)");
}

TEST_F(IniSubstitutionTest, QuotedDollarIsNotSubstituted) {
  home.set("/home/tester");
  EXPECT_EQ(value("p = \"$(HOME)\"", "p"), "$(HOME)");
}

TEST_F(IniSubstitutionTest, TrailingBlanksOfAVariableAreTrimmedOnlyAtTheEnd) {
  var.set("val  ");
  EXPECT_EQ(value("p = $(KIV_INI_TEST_VAR)", "p"), "val");
  EXPECT_EQ(value("q = $(KIV_INI_TEST_VAR)end", "q"), "val  end");
  EXPECT_EQ(value("r = \"x\"$(KIV_INI_TEST_VAR)", "r"), "xval");
}

TEST_F(IniSubstitutionTest, EmptyVariableInsertsNothing) {
  var.set("");
  EXPECT_EQ(value("p = a$(KIV_INI_TEST_VAR)b", "p"), "ab");
  EXPECT_EQ(value("q = a$()b", "q"), "ab");
}

TEST_F(IniSubstitutionTest, VariableNameRunsToTheFirstClosingParenthesis) {
  var.set("V");
  EXPECT_EQ(value("p = $(KIV_INI_TEST_VAR))", "p"), "V)");
  // The name reaches over the ";" to the ")": no comment is left.
  EXPECT_EQ(value("q = $(A;B)c", "q"), "c");
  EXPECT_EQ(comment("q"), "");
}

TEST_F(IniSubstitutionTest, OverlongVariableNameInsertsNothing) {
  const std::string name(41, 'N');
  kivtest::EnvGuard longName(name);
  longName.set("never");
  EXPECT_EQ(value("p = a$(" + name + ")b", "p"), "ab");
}

TEST_F(IniSubstitutionTest, SubstitutedTextIsCutAtTheEndOfTheBuffer) {
  var.set(std::string(3000, 'e'));
  const std::string cooked = value("k = $(KIV_INI_TEST_VAR)tail ; dropped", "k");
  EXPECT_EQ(cooked, std::string(1021, 'e'));
  EXPECT_EQ(commentOf(ini, "s", "k"), "");
}

TEST_F(IniSubstitutionTest, SubstitutionAfterALongNameStaysInsideTheBuffer) {
  var.set(std::string(3000, 'e'));
  const std::string name(900, 'n');
  EXPECT_TRUE(loadText(ini, "[s]\n" + name + " = $(KIV_INI_TEST_VAR)\n"));
  EXPECT_EQ(valueOf(ini, "s", name), std::string(1024 - 901 - 1, 'e'));
}

TEST_F(IniSubstitutionTest, CommentIsCutToWhatRemainsAfterASubstitution) {
  var.set(std::string(1000, 'e'));
  EXPECT_EQ(value("k = $(KIV_INI_TEST_VAR)0123456789abcde ; the comment", "k"),
            std::string(1000, 'e') + "0123456789abcde");
  // name "k" and its NUL, 1015 value bytes and their NUL leave 6 bytes.
  EXPECT_EQ(commentOf(ini, "s", "k"), "the c");
}

// --- Continuation ------------------------------------------------------------

TEST_F(IniValueTest, ContinuationJoinsWithoutSeparator) {
  EXPECT_EQ(value("path = /usr/\n   lib", "path", true), "/usr/lib");
  EXPECT_EQ(value("a = x   \n\t  y", "a", true), "xy");
}

TEST_F(IniValueTest, QuotedBlankSeparatesContinuedPieces) {
  EXPECT_EQ(value("a = x\n  \" y\"", "a", true), "x y");
  EXPECT_EQ(value("b = \"x \"\n  y", "b", true), "x y");
}

TEST_F(IniValueTest, ContinuationCommentReplacesTheComment) {
  EXPECT_EQ(value("v = a ; old\n  b ; new", "v", true), "ab");
  EXPECT_EQ(comment(), "new");
}

TEST_F(IniValueTest, ContinuationWithoutCommentClearsTheComment) {
  EXPECT_EQ(value("v = a ; old\n  b", "v", true), "ab");
  EXPECT_EQ(comment(), "");
}

TEST_F(IniValueTest, ContinuationIsCookedLikeAValue) {
  kivtest::EnvGuard var("KIV_INI_TEST_VAR");
  var.set("E");
  EXPECT_EQ(value("v = a\n  \"\\t\"'x'$(KIV_INI_TEST_VAR)", "v", true), "a\txE");
}

TEST_F(IniValueTest, InvalidOptionLineKeepsTheContinuationTarget) {
  EXPECT_EQ(value("v = a\nbad\n  b", "v", true), "ab");
  EXPECT_EQ(log.calls, (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_OPTION, 3)}));
}

TEST_F(IniValueTest, CommentLinesBetweenContinuationLinesAreSkipped) {
  EXPECT_EQ(value("v = a\n  ; note\n\n  b", "v", true), "ab");
  EXPECT_TRUE(log.calls.empty());
}

TEST_F(IniValueTest, HeaderEndsContinuation) {
  EXPECT_TRUE(loadText(ini, "[s]\nv = a\n[t]\n  b\n", true, true));
  EXPECT_EQ(valueOf(ini, "s", "v"), "a");
  EXPECT_EQ(log.calls,
            (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_WHITESPACE, 4)}));
}

TEST_F(IniValueTest, BrokenHeaderAlsoEndsContinuation) {
  EXPECT_TRUE(loadText(ini, "[s]\nv = a\n[broken\n  b\n", true, true));
  EXPECT_EQ(valueOf(ini, "s", "v"), "a");
  EXPECT_EQ(log.calls,
            (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_SECTION, 3),
                                                iniError(KIV_INIFILE_INVAL_WHITESPACE, 4)}));
}

TEST_F(IniValueTest, IndentedLineWithoutPrecedingOptionIsAnError) {
  EXPECT_TRUE(loadText(ini, "[s]\n  b\n", true, true));
  EXPECT_EQ(log.calls,
            (std::vector<kivtest::IniErrorCall>{iniError(KIV_INIFILE_INVAL_WHITESPACE, 2)}));
}

TEST_F(IniValueTest, ContinuedTextIsCutAtTheEndOfTheBuffer) {
  const std::string lines = "k = " + std::string(1000, 'a') + "\n  " + std::string(1000, 'b') +
                            " ; gone\n  " + std::string(1000, 'c');
  EXPECT_EQ(value(lines, "k", true), std::string(1000, 'a') + std::string(21, 'b'));
  EXPECT_EQ(comment("k"), "");
}

TEST_F(IniValueTest, CommentOfAContinuationIsCutToWhatRemains) {
  const std::string lines = "k = " + std::string(1000, 'a') + "\n  " + std::string(15, 'b') +
                            " ; " + std::string(50, 'c');
  EXPECT_EQ(value(lines, "k", true), std::string(1000, 'a') + std::string(15, 'b'));
  EXPECT_EQ(comment("k"), "ccccc");
}

TEST_F(IniValueTest, ThousandsOfContinuationLinesStayInsideTheBuffer) {
  std::string lines = "k = x";
  for (int i = 0; i < 5000; ++i) lines += "\n  abc ; comment " + std::to_string(i);
  const std::string cooked = value(lines, "k", true);
  ASSERT_EQ(cooked.size(), 1021u);
  EXPECT_EQ(cooked.substr(0, 7), "xabcabc");
  EXPECT_EQ(comment("k"), "");
  EXPECT_TRUE(log.calls.empty());
}

// --- Options made by program -------------------------------------------------

TEST(IniOptionRecord, RawLineConstructorCooksTheValue) {
  KivClIniFileOption o("my name = \"v\" ; c");
  EXPECT_STREQ(o.getName(), "myname");
  EXPECT_STREQ(o.getValue(), "v");
  EXPECT_STREQ(o.getComment(), "c");
  KivClIniFileOption bad("no equals");
  EXPECT_EQ(bad.getValue(), nullptr);
  EXPECT_STREQ(bad.getName(), "noequals");
}

TEST(IniOptionRecord, NameValueConstructorTakesTheValueAsGiven) {
  KivClIniFileOption o("k", "  \"$(HOME)\" ; x  ");
  EXPECT_STREQ(o.getName(), "k");
  EXPECT_STREQ(o.getValue(), "  \"$(HOME)\" ; x  ");
  EXPECT_STREQ(o.getComment(), "");
  EXPECT_EQ(o.getValue(), o.getName() + 2);
}

TEST(IniOptionRecord, NameValueConstructorCutsToTheBuffer) {
  const std::string big(3000, 'z');
  KivClIniFileOption o("k", big.c_str());
  EXPECT_EQ(std::strlen(o.getValue()), 1020u);
  EXPECT_STREQ(o.getComment(), "");
  KivClIniFileOption n(big.c_str(), "v");
  EXPECT_EQ(std::strlen(n.getName()), 1021u);
  EXPECT_STREQ(n.getValue(), "");
  EXPECT_STREQ(n.getComment(), "");
  KivClIniFileOption empty(nullptr, nullptr);
  EXPECT_TRUE(empty.isDeleted());
  EXPECT_STREQ(empty.getValue(), "");
}

TEST(IniOptionRecord, LongerNewValueOverwritesTheComment) {
  KivClIniFileOption o("k = v ; note");
  o.setNewValue("abcdefgh");
  EXPECT_STREQ(o.getValue(), "abcdefgh");
  EXPECT_STREQ(o.getComment(), "cdefgh");
}

TEST(IniOptionRecord, ShorterNewValueKeepsTheComment) {
  KivClIniFileOption o("k = value ; note");
  o.setNewValue("x");
  EXPECT_STREQ(o.getValue(), "x");
  EXPECT_STREQ(o.getComment(), "note");
  o.setNewValue(nullptr);
  EXPECT_STREQ(o.getValue(), "");
}

TEST(IniOptionRecord, NewValueIsCutAtTheEndOfTheBuffer) {
  KivClIniFileOption o("k = v");
  const std::string big(5000, 'y');
  o.setNewValue(big.c_str());
  EXPECT_EQ(std::strlen(o.getValue()), 1021u);
  EXPECT_EQ(std::strlen(o.getComment()), 1020u);  // reads the value's tail
}

TEST(IniOptionRecord, AppendOptionValueCooksOntoTheEnd) {
  KivClIniFileOption o("k = a ; c");
  o.appendOptionValue("   \" b\" ; d");
  EXPECT_STREQ(o.getValue(), "a b");
  EXPECT_STREQ(o.getComment(), "d");
}

TEST(IniOptionRecord, DeleteContentsEmptiesEverything) {
  KivClIniFileOption o("k = v ; c");
  o.deleteContents();
  EXPECT_TRUE(o.isDeleted());
  EXPECT_STREQ(o.getName(), "");
  EXPECT_STREQ(o.getValue(), "");
  EXPECT_STREQ(o.getComment(), "");
}

TEST(IniSectionRecord, NamesAreCutToEightyCharacters) {
  const std::string big(200, 's');
  KivClIniFileSection a(big.c_str());
  EXPECT_EQ(std::string(a.getName()), std::string(80, 's'));
  const char text[] = "[name]";
  KivClIniFileSection b(text + 1, text + 5);
  EXPECT_STREQ(b.getName(), "name");
  KivClIniFileSection c(text + 5, text + 1);
  EXPECT_STREQ(c.getName(), "");
}

// Without a start there is nothing to copy; under the undefined-behaviour
// sanitizer this also proves that no null pointer reaches memcpy.
TEST(IniSectionRecord, NullStartGivesTheEmptyName) {
  const char text[] = "[name]";
  const KivClIniFileSection a(nullptr, text + 5);
  EXPECT_STREQ(a.getName(), "");
  EXPECT_TRUE(a.isDeleted());
  const KivClIniFileSection b(nullptr, nullptr);
  EXPECT_STREQ(b.getName(), "");
  const KivClIniFileSection c(text + 1, nullptr);
  EXPECT_STREQ(c.getName(), "");
}

TEST(IniSectionRecord, DeleteContentsEmptiesTheNameAndFreesTheOptions) {
  KivClIniFileSection s("s");
  s.setFirstOption(new KivClIniFileOption("a", "1"));
  s.getFirstOption()->appendOption(new KivClIniFileOption("b", "2"));
  s.deleteContents();
  EXPECT_TRUE(s.isDeleted());
  EXPECT_EQ(s.getFirstOption(), nullptr);
}

TEST(IniSectionRecord, AppendLinksBehindAndKeepsWhatFollowed) {
  KivClIniFileSection first("a");
  first.appendSection(new KivClIniFileSection("c"));
  first.appendSection(new KivClIniFileSection("b"));
  ASSERT_NE(first.getNext(), nullptr);
  EXPECT_STREQ(first.getNext()->getName(), "b");
  ASSERT_NE(first.getNext()->getNext(), nullptr);
  EXPECT_STREQ(first.getNext()->getNext()->getName(), "c");
}

TEST(IniSectionRecord, LongListsAreFreedWithoutRecursion) {
  auto* head = new KivClIniFileSection("0");
  KivClIniFileSection* tail = head;
  for (int i = 0; i < 200000; ++i) {
    auto* s = new KivClIniFileSection("s");
    tail->appendSection(s);
    tail = s;
  }
  KivClIniFileOption* last = new KivClIniFileOption("o", "v");
  head->setFirstOption(last);
  for (int i = 0; i < 200000; ++i) {
    auto* o = new KivClIniFileOption("o", "v");
    last->appendOption(o);
    last = o;
  }
  delete head;
  SUCCEED();
}

}  // namespace
