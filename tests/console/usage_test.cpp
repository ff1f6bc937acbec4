// Tests of the usage cursor: the element walk over usage strings, the
// questions asked at a switch, and robustness against malformed strings.

#include "kiv_usage.hpp"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kiv_cursor.hpp"
#include "kiv_msgtable.hpp"

namespace {

// The trace controller's usage, message 151 of the built-in table.
const char* const gs_pszTraceUsage =
    "(-key <key>) [(-instance <instance>)] [(-file <filename>)]\n"
    "[-display]\n"
    "[(-format <string>)] [(-findent <string>)]\n"
    "[-fnest] [-fnofhd] [-fssfhd] [-fhex] [-fbin]\n"
    "[(-fdetail <detail>)] [(-fcompids <compids>)]\n"
    "[(-fpid <pid>)] [(-ftid <tid>)]\n"
    "[-verbose]";

// The text of the element at the cursor: from its first character to where
// skipCurrent() would leave it, an ellipsis written as "...".
std::string elementText(const KivClUsageCursor& cursor) {
  if (cursor.isArgEllipsis()) return "...";
  KivClUsageCursor past(cursor);
  past.skipCurrent();
  if (past.getCurrent() == cursor.getCurrent()) return std::string(1, *cursor.getCurrent());
  return std::string(cursor.getCurrent(), past.getCurrent());
}

// All elements of a usage string in walk order. A walk stop ends the list
// (it is listed once); a walk that runs on longer than any test string has
// elements is reported as "<runaway>".
std::vector<std::string> elementsOf(const char* usage) {
  std::vector<std::string> result;
  KivClUsageCursor cursor(usage);
  for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
    result.push_back(elementText(cursor));
    if (cursor.isWalkStop()) break;
    if (result.size() > 10000) {
      result.push_back("<runaway>");
      break;
    }
  }
  return result;
}

// A cursor on the first switch element named `name` (walk stops included
// in the search); fails the test when there is none.
KivClUsageCursor cursorAtSwitch(const char* usage, const char* name) {
  KivClUsageCursor cursor(usage);
  for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
    if (cursor.matchesSwitch(name)) return cursor;
    if (cursor.isWalkStop()) break;
  }
  ADD_FAILURE() << "no switch " << name << " in " << usage;
  return cursor;
}

// A cursor on the first element whose text (elementText) is `text`.
KivClUsageCursor cursorAtElement(const char* usage, const std::string& text) {
  KivClUsageCursor cursor(usage);
  for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
    if (elementText(cursor) == text) return cursor;
    if (cursor.isWalkStop()) break;
  }
  ADD_FAILURE() << "no element " << text << " in " << usage;
  return cursor;
}

using Elements = std::vector<std::string>;

// --- the walk ------------------------------------------------------------------

TEST(UsageCursor, IsNotOnAnElementBeforeSetToFirst) {
  KivClUsageCursor cursor("(-key <key>)");
  EXPECT_TRUE(cursor.isValid());  // on the "(", which is not an element
  EXPECT_EQ(*cursor.getCurrent(), '(');
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_EQ(*cursor.getCurrent(), '-');
}

TEST(UsageCursor, WalksTheTraceControllerUsage) {
  EXPECT_EQ(elementsOf(gs_pszTraceUsage),
            (Elements{"-key",      "<key",     "-instance", "<instance", "-file",
                      "<filename", "-display", "-format",   "<string",   "-findent",
                      "<string",   "-fnest",   "-fnofhd",   "-fssfhd",   "-fhex",
                      "-fbin",     "-fdetail", "<detail",   "-fcompids", "<compids",
                      "-fpid",     "<pid",     "-ftid",     "<tid",      "-verbose"}));
}

TEST(UsageCursor, BuiltInTableHoldsTheTraceControllerUsage) {
  EXPECT_STREQ(kivMsgTabGetBuiltInTable()[151], gs_pszTraceUsage);
  EXPECT_EQ(elementsOf(kivMsgTabGetBuiltInTable()[151]), elementsOf(gs_pszTraceUsage));
}

TEST(UsageCursor, TraceControllerSwitchesRequireValuesOnlyInGroups) {
  const char* usage = kivMsgTabGetBuiltInTable()[151];
  for (const char* name :
       {"key", "instance", "file", "format", "findent", "fdetail", "fcompids", "fpid", "ftid"}) {
    EXPECT_TRUE(cursorAtSwitch(usage, name).reqArg()) << name;
    EXPECT_FALSE(cursorAtSwitch(usage, name).reqArgEllipsis()) << name;
  }
  for (const char* name : {"display", "fnest", "fnofhd", "fssfhd", "fhex", "fbin", "verbose"}) {
    EXPECT_FALSE(cursorAtSwitch(usage, name).reqArg()) << name;
  }
}

TEST(UsageCursor, TracksOptionalAndGroupDepth) {
  const char* usage = gs_pszTraceUsage;
  KivClUsageCursor key = cursorAtSwitch(usage, "key");
  EXPECT_EQ(key.getGroupDepth(), 1);
  EXPECT_EQ(key.getOptionalDepth(), 0);
  KivClUsageCursor instance = cursorAtSwitch(usage, "instance");
  EXPECT_EQ(instance.getGroupDepth(), 1);
  EXPECT_EQ(instance.getOptionalDepth(), 1);
  KivClUsageCursor display = cursorAtSwitch(usage, "display");
  EXPECT_EQ(display.getGroupDepth(), 0);
  EXPECT_EQ(display.getOptionalDepth(), 1);
  KivClUsageCursor nested = cursorAtSwitch("[[-a]] -b", "a");
  EXPECT_EQ(nested.getOptionalDepth(), 2);
  EXPECT_EQ(cursorAtSwitch("[[-a]] -b", "b").getOptionalDepth(), 0);
}

TEST(UsageCursor, ReqArgAtGroupedSwitchButNotAtPlainSwitch) {
  const char* usage = "(-key <key>) [-display]";
  EXPECT_TRUE(cursorAtSwitch(usage, "key").reqArg());
  EXPECT_FALSE(cursorAtSwitch(usage, "display").reqArg());
}

TEST(UsageCursor, ValueOutsideTheGroupIsNotRequired) {
  EXPECT_FALSE(cursorAtSwitch("(-a) <x>", "a").reqArg());
  // Without any group a following value does not count either.
  EXPECT_FALSE(cursorAtSwitch("-a <x>", "a").reqArg());
  // A switch as the next element does not count, even in the group.
  EXPECT_FALSE(cursorAtSwitch("(-a -b <x>)", "a").reqArg());
  EXPECT_TRUE(cursorAtSwitch("(-a -b <x>)", "b").reqArg());
  // A value in a deeper group has another group depth.
  EXPECT_FALSE(cursorAtSwitch("(-a (<x>))", "a").reqArg());
  // The last switch of a group without a value.
  EXPECT_FALSE(cursorAtSwitch("(-a)", "a").reqArg());
  EXPECT_FALSE(cursorAtSwitch("(-a", "a").reqArg());
}

TEST(UsageCursor, ReqArgIsFalseWhenNotOnASwitch) {
  KivClUsageCursor value = cursorAtElement("(-a <x> <y>)", "<x");
  EXPECT_EQ(value.getGroupDepth(), 1);
  EXPECT_FALSE(value.reqArg());
  EXPECT_FALSE(value.reqArgEllipsis());
  KivClUsageCursor stop = cursorAtElement("(-a -5 <x>)", "-");
  EXPECT_FALSE(stop.isSwitch());
  EXPECT_FALSE(stop.reqArg());
  EXPECT_FALSE(stop.reqArgEllipsis());
}

TEST(UsageCursor, ReqArgEllipsisAtRepeatableValue) {
  EXPECT_TRUE(cursorAtSwitch("(-files <file>...)", "files").reqArgEllipsis());
  EXPECT_TRUE(cursorAtSwitch("(-files <file>...)", "files").reqArg());
  EXPECT_TRUE(cursorAtSwitch("(-files <file>..)", "files").reqArgEllipsis());
  EXPECT_TRUE(cursorAtSwitch("(-files <first> <more>...)", "files").reqArgEllipsis());
  // The ellipsis outside the group changes the group depth first.
  EXPECT_FALSE(cursorAtSwitch("(-files <file>)...", "files").reqArgEllipsis());
  // A switch comes first.
  EXPECT_FALSE(cursorAtSwitch("(-a <x> -b <y>...)", "a").reqArgEllipsis());
  EXPECT_TRUE(cursorAtSwitch("(-a <x> -b <y>...)", "b").reqArgEllipsis());
  // No group, no value.
  EXPECT_FALSE(cursorAtSwitch("-files <file>...", "files").reqArgEllipsis());
  // No ellipsis at all.
  EXPECT_FALSE(cursorAtSwitch("(-files <file>)", "files").reqArgEllipsis());
  // A walk stop ends the look-ahead instead of looping for ever.
  EXPECT_FALSE(cursorAtSwitch("(-files <file> / <x>...)", "files").reqArgEllipsis());
  EXPECT_FALSE(cursorAtSwitch("(-files <file> -5 <x>...)", "files").reqArgEllipsis());
}

TEST(UsageCursor, EllipsisIsOneElementOnItsLastDot) {
  EXPECT_EQ(elementsOf("<file>..."), (Elements{"<file", "..."}));
  EXPECT_EQ(elementsOf("<file>.."), (Elements{"<file", "..."}));
  KivClUsageCursor ellipsis = cursorAtElement("<file>...", "...");
  EXPECT_TRUE(ellipsis.isArgEllipsis());
  EXPECT_EQ(std::string(ellipsis.getCurrent()), ".");
  EXPECT_FALSE(ellipsis.setToNext());
}

TEST(UsageCursor, WordNeedsABlankBeforeIt) {
  // A word at the very start is no element; the same word after a blank is.
  EXPECT_EQ(elementsOf("copy <src> <dst>"), (Elements{"<src", "<dst"}));
  EXPECT_EQ(elementsOf(" copy <src> <dst>"), (Elements{"copy", "<src", "<dst"}));
  // Only a blank since the search began counts: after "|" there is none.
  EXPECT_EQ(elementsOf("[-m] on|off"), (Elements{"-m", "on"}));
  EXPECT_EQ(elementsOf("[-m] on | off"), (Elements{"-m", "on", "off"}));
  // A newline is not a blank.
  EXPECT_EQ(elementsOf("[-a]\nword"), (Elements{"-a"}));
  KivClUsageCursor word = cursorAtElement(" copy <src>", "copy");
  EXPECT_TRUE(word.isWordElement());
  EXPECT_FALSE(word.isSwitch());
}

TEST(UsageCursor, BlankSeenSurvivesLayoutCharactersBetweenBlankAndWord) {
  // Only letters and digits, "-", "<", "/" and runs of "." end the search;
  // brackets, "|", quoted text and newlines in between keep the blank seen.
  EXPECT_EQ(elementsOf("[-m] on |off"), (Elements{"-m", "on", "off"}));
  EXPECT_EQ(elementsOf("[-a] [word]"), (Elements{"-a", "word"}));
  EXPECT_EQ(elementsOf("[-a] (word)"), (Elements{"-a", "word"}));
  EXPECT_EQ(elementsOf("[-a] \"note\"word"), (Elements{"-a", "word"}));
  EXPECT_EQ(elementsOf("[-a] \nword"), (Elements{"-a", "word"}));
  EXPECT_EQ(elementsOf("[-a] !word"), (Elements{"-a", "word"}));
  // The blank must lie within the current search: after a word the next
  // search starts without one.
  EXPECT_EQ(elementsOf(" one|two"), (Elements{"one"}));
}

TEST(UsageCursor, ValueNamesKeepTheirBlanks) {
  const char* usage = "(-i <instance name>) -x";
  EXPECT_EQ(elementsOf(usage), (Elements{"-i", "<instance name", "-x"}));
  EXPECT_TRUE(cursorAtSwitch(usage, "i").reqArg());
  KivClUsageCursor value = cursorAtElement(usage, "<instance name");
  EXPECT_TRUE(value.isValueElement());
  EXPECT_TRUE(value.isInValue());
  ASSERT_TRUE(value.setToNext());
  EXPECT_FALSE(value.isInValue());
}

TEST(UsageCursor, SwitchNamesMayHoldDigits) {
  EXPECT_EQ(elementsOf("[-f2] [-a1b]"), (Elements{"-f2", "-a1b"}));
  EXPECT_TRUE(cursorAtElement("[-f2]", "-f2").matchesSwitch("f2"));
}

TEST(UsageCursor, LoneMinusIsASwitchWithAnEmptyName) {
  KivClUsageCursor cursor("[-] <x>");
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_TRUE(cursor.isSwitch());
  EXPECT_TRUE(cursor.matchesSwitch("-"));
  EXPECT_TRUE(cursor.matchesSwitch(""));
  EXPECT_FALSE(cursor.matchesSwitch("x"));
  ASSERT_TRUE(cursor.setToNext());
  EXPECT_EQ(elementText(cursor), "<x");
}

TEST(UsageCursor, TaggedLastsToTheEndOfTheLine) {
  const char* usage = "[-a] ! [-b] [-c]\n[-d]";
  EXPECT_FALSE(cursorAtSwitch(usage, "a").isTagged());
  EXPECT_TRUE(cursorAtSwitch(usage, "b").isTagged());
  EXPECT_TRUE(cursorAtSwitch(usage, "c").isTagged());
  EXPECT_FALSE(cursorAtSwitch(usage, "d").isTagged());
}

// --- matching --------------------------------------------------------------------

TEST(UsageCursor, MatchesSwitchWithoutAbbreviationAndWithCase) {
  KivClUsageCursor fnest = cursorAtSwitch(gs_pszTraceUsage, "fnest");
  EXPECT_TRUE(fnest.matchesSwitch("-fnest"));
  EXPECT_TRUE(fnest.matchesSwitch("fnest"));
  EXPECT_FALSE(fnest.matchesSwitch("-f"));
  EXPECT_FALSE(fnest.matchesSwitch("-FNEST"));
  EXPECT_FALSE(fnest.matchesSwitch("-fnestx"));
  EXPECT_FALSE(fnest.matchesSwitch("--fnest"));
  EXPECT_FALSE(fnest.matchesSwitch(""));
  EXPECT_FALSE(fnest.matchesSwitch(nullptr));
}

TEST(UsageCursor, MatchedNameMustBeFollowedByADelimiter) {
  for (const char* usage :
       {"-a", "-a ", "-a[", "-a]", "-a<", "-a>", "-a(", "-a)", "-a{", "-a}", "-a-", "-a|"}) {
    KivClUsageCursor cursor(usage);
    ASSERT_TRUE(cursor.setToFirst()) << usage;
    EXPECT_TRUE(cursor.matchesSwitch("a")) << usage;
  }
  for (const char* usage : {"-a\n", "-a.", "-a,", "-a!", "-a\"x\"", "-a/", "-a_x", "-a\t"}) {
    KivClUsageCursor cursor(usage);
    ASSERT_TRUE(cursor.setToFirst()) << usage;
    EXPECT_FALSE(cursor.matchesSwitch("a")) << usage;
  }
}

TEST(UsageCursor, ArgumentWithDelimitersDoesNotMatchTheName) {
  KivClUsageCursor cursor("(-key <key>)");
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_FALSE(cursor.matchesSwitch("-key <key>"));
  EXPECT_FALSE(cursor.matchesSwitch("key "));
  EXPECT_FALSE(cursor.matchesSwitch("key<"));
}

TEST(UsageCursor, MatchesComparesFromTheElementsFirstCharacter) {
  KivClUsageCursor key = cursorAtSwitch("(-key <key>) all", "key");
  EXPECT_TRUE(key.matches("-key"));
  EXPECT_FALSE(key.matches("key"));
  EXPECT_FALSE(key.matches("-ke"));
  EXPECT_FALSE(key.matches("-keys"));
  EXPECT_FALSE(key.matches(nullptr));
  KivClUsageCursor word = cursorAtElement("(-key <key>) all", "all");
  EXPECT_TRUE(word.matches("all"));
  EXPECT_FALSE(word.matches("al"));
  EXPECT_FALSE(word.matches("-all"));
  KivClUsageCursor value = cursorAtElement("(-key <key>) all", "<key");
  EXPECT_TRUE(value.matches("<key"));
  EXPECT_FALSE(value.matches("key"));
}

TEST(UsageCursor, NothingMatchesOnAnInvalidCursor) {
  KivClUsageCursor cursor("[-a]");
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_FALSE(cursor.setToNext());
  EXPECT_FALSE(cursor.isValid());
  EXPECT_FALSE(cursor.isSwitch());
  EXPECT_FALSE(cursor.matchesSwitch("a"));
  EXPECT_FALSE(cursor.matches(""));
  EXPECT_FALSE(cursor.reqArg());
  EXPECT_FALSE(cursor.isArgEllipsis());
  EXPECT_FALSE(cursor.isWalkStop());
}

TEST(UsageCursor, SwitchIndicatorIsMinusNotFollowedByDigit) {
  EXPECT_TRUE(KivClUsageCursor::isSwitchIndicator("-a"));
  EXPECT_TRUE(KivClUsageCursor::isSwitchIndicator("-"));
  EXPECT_TRUE(KivClUsageCursor::isSwitchIndicator("--x"));
  EXPECT_TRUE(KivClUsageCursor::isSwitchIndicator("-."));
  EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator("-5"));
  EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator("-0abc"));
  EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator("a-"));
  EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator("'-5"));
  EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator(""));
  EXPECT_FALSE(KivClUsageCursor::isSwitchIndicator(nullptr));
}

// --- quoted text, walk stops and the single "." ---------------------------------

TEST(UsageCursor, QuotedTextYieldsNoElements) {
  EXPECT_EQ(elementsOf("\"-x <y> word...\" [-z]"), (Elements{"-z"}));
  EXPECT_EQ(elementsOf("\"-x <y>\""), Elements{});
  EXPECT_EQ(elementsOf("[-a] \"-5 or /path\" <b>"), (Elements{"-a", "<b"}));
}

TEST(UsageCursor, UnclosedQuoteEndsTheWalkOnTheTerminator) {
  const char* usage = "[-a] \"-b <c>";
  KivClUsageCursor cursor(usage);
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_FALSE(cursor.setToNext());
  EXPECT_FALSE(cursor.isValid());
  EXPECT_EQ(cursor.getCurrent(), usage + std::strlen(usage));
}

TEST(UsageCursor, MinusDigitStopsTheWalkForGood) {
  const char* usage = "[-n] -5 [-x]";
  KivClUsageCursor cursor(usage);
  ASSERT_TRUE(cursor.setToFirst());
  ASSERT_TRUE(cursor.setToNext());
  const char* stop = cursor.getCurrent();
  EXPECT_EQ(stop, usage + 5);
  EXPECT_FALSE(cursor.isSwitch());
  EXPECT_TRUE(cursor.isWalkStop());
  for (int i = 0; i < 5; ++i) {
    EXPECT_TRUE(cursor.setToNext());
    EXPECT_EQ(cursor.getCurrent(), stop);
  }
}

TEST(UsageCursor, SlashStopsTheWalkForGood) {
  const char* usage = "[-a] /path [-b]";
  KivClUsageCursor cursor(usage);
  ASSERT_TRUE(cursor.setToFirst());
  ASSERT_TRUE(cursor.setToNext());
  const char* stop = cursor.getCurrent();
  EXPECT_EQ(*stop, '/');
  EXPECT_TRUE(cursor.isWalkStop());
  for (int i = 0; i < 5; ++i) {
    EXPECT_TRUE(cursor.setToNext());
    EXPECT_EQ(cursor.getCurrent(), stop);
  }
}

TEST(UsageCursor, SingleDotSwallowsTheNextCharacter) {
  // The "(" after the "." is never counted: -a lies outside any group.
  KivClUsageCursor swallowed = cursorAtSwitch("x.(-a <v>)", "a");
  EXPECT_EQ(swallowed.getGroupDepth(), 0);
  EXPECT_FALSE(swallowed.reqArg());
  KivClUsageCursor counted = cursorAtSwitch("x (-a <v>)", "a");
  EXPECT_EQ(counted.getGroupDepth(), 1);
  EXPECT_TRUE(counted.reqArg());
  // A swallowed newline does not end the tagged line.
  EXPECT_TRUE(cursorAtSwitch("! [-a] ;.\n[-b]", "b").isTagged());
  EXPECT_FALSE(cursorAtSwitch("! [-a] ;\n[-b]", "b").isTagged());
  // A swallowed "-" or "<" starts no element.
  EXPECT_EQ(elementsOf("[-a];.-b;.<c>"), (Elements{"-a"}));
  EXPECT_EQ(elementsOf("[-a];-b;<c>"), (Elements{"-a", "-b", "<c"}));
}

TEST(UsageCursor, StopsOnTheTerminatorAfterAFinalSingleDot) {
  // The bytes after the terminator hold a switch that a walk past the
  // terminator would find.
  static const char buffer[] = "[-a].\0-zzz <x>";
  KivClUsageCursor cursor(buffer);
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_TRUE(cursor.matchesSwitch("a"));
  EXPECT_FALSE(cursor.setToNext());
  EXPECT_FALSE(cursor.isValid());
  EXPECT_EQ(cursor.getCurrent(), buffer + 5);
  EXPECT_EQ(elementsOf(buffer), Elements{"-a"});
}

TEST(UsageCursor, UsageOfASingleDotHasNoElements) {
  static const char buffer[] = ".\0-zzz";
  KivClUsageCursor cursor(buffer);
  EXPECT_FALSE(cursor.setToFirst());
  EXPECT_EQ(cursor.getCurrent(), buffer + 1);
}

TEST(UsageCursor, NeverReadsPastTheTerminatorOfAnExactBuffer) {
  // Heap blocks of exactly the string's size: a read past the terminator is
  // a heap overflow for the address sanitizer.
  for (const char* text : {".", "[-a].", "(-a <b>) ;.", "x.", "\"open", "-", "<", "<a b", "..",
                           "(-a <b>)...", "! -a."}) {
    const std::size_t size = std::strlen(text) + 1;
    std::unique_ptr<char[]> exact(new char[size]);
    std::memcpy(exact.get(), text, size);
    KivClUsageCursor cursor(exact.get());
    int steps = 0;
    for (bool found = cursor.setToFirst(); found && steps < 100; found = cursor.setToNext()) {
      EXPECT_TRUE(cursor.getCurrent() >= exact.get() && cursor.getCurrent() < exact.get() + size);
      (void)cursor.reqArg();
      (void)cursor.reqArgEllipsis();
      (void)cursor.matchesSwitch("a");
      (void)cursor.matches("-a");
      ++steps;
    }
    EXPECT_LT(steps, 100) << text;
    EXPECT_EQ(cursor.getCurrent(), exact.get() + size - 1) << text;
  }
}

// --- state, copies and the cursor base ---------------------------------------------

TEST(UsageCursor, SetToFirstKeepsTheStateOfTheEarlierWalk) {
  KivClUsageCursor cursor("(-a <v>");
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_EQ(cursor.getGroupDepth(), 1);
  while (cursor.setToNext()) {
  }
  EXPECT_EQ(cursor.getGroupDepth(), 1);
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_EQ(cursor.getGroupDepth(), 2);
  // A fresh cursor starts from zero again.
  KivClUsageCursor fresh("(-a <v>");
  ASSERT_TRUE(fresh.setToFirst());
  EXPECT_EQ(fresh.getGroupDepth(), 1);
}

TEST(UsageCursor, CopyLooksAheadWithoutMovingTheOriginal) {
  KivClUsageCursor cursor("(-key <key>) [-d]");
  ASSERT_TRUE(cursor.setToFirst());
  KivClUsageCursor copy(cursor);
  ASSERT_TRUE(copy.setToNext());
  EXPECT_EQ(elementText(copy), "<key");
  EXPECT_EQ(elementText(cursor), "-key");
  EXPECT_EQ(copy.getUsage(), cursor.getUsage());
  KivClUsageCursor assigned("other");
  assigned = copy;
  EXPECT_EQ(assigned.getCurrent(), copy.getCurrent());
  EXPECT_TRUE(assigned.isInValue());
}

TEST(UsageCursor, LocateNextAndSkipCurrentAreTheTwoStepsOfTheWalk) {
  const char* usage = "[-ab <c d>] x";
  KivClUsageCursor cursor(usage);
  EXPECT_TRUE(cursor.locateNext());
  EXPECT_EQ(cursor.getCurrent(), usage + 1);
  // locateNext starts on the current character: it does not move.
  EXPECT_TRUE(cursor.locateNext());
  EXPECT_EQ(cursor.getCurrent(), usage + 1);
  cursor.skipCurrent();
  EXPECT_EQ(cursor.getCurrent(), usage + 4);
  EXPECT_TRUE(cursor.locateNext());
  EXPECT_EQ(cursor.getCurrent(), usage + 5);
  cursor.skipCurrent();  // "<c d" including the blank inside the value
  EXPECT_EQ(cursor.getCurrent(), usage + 9);
  EXPECT_TRUE(cursor.locateNext());
  EXPECT_EQ(std::string(cursor.getCurrent()), "x");
  cursor.skipCurrent();
  EXPECT_FALSE(cursor.locateNext());
  EXPECT_STREQ(usage, "[-ab <c d>] x");  // the walk never changes the string
}

TEST(UsageCursor, EmptyAndNullUsageHaveNoElements) {
  KivClUsageCursor empty("");
  EXPECT_FALSE(empty.setToFirst());
  EXPECT_FALSE(empty.isValid());
  EXPECT_FALSE(empty.setToNext());
  KivClUsageCursor null(nullptr);
  ASSERT_NE(null.getUsage(), nullptr);
  EXPECT_STREQ(null.getUsage(), "");
  EXPECT_FALSE(null.setToFirst());
  EXPECT_FALSE(null.setToNext());
  EXPECT_FALSE(null.reqArg());
}

TEST(UsageCursor, IsUsableThroughTheOneWayCursorBase) {
  std::unique_ptr<KivClUniDirCursorABase> cursor(new KivClUsageCursor("[-a] [-b]"));
  int count = 0;
  for (bool found = cursor->setToFirst(); found; found = cursor->setToNext()) ++count;
  EXPECT_EQ(count, 2);
  EXPECT_FALSE(cursor->isValid());
}

// --- display -------------------------------------------------------------------

TEST(UsageCursor, DisplayLeavesOutQuotesAndParentheses) {
  EXPECT_FALSE(KivClUsageCursor::isToBeDisplayed('"'));
  EXPECT_FALSE(KivClUsageCursor::isToBeDisplayed('('));
  EXPECT_FALSE(KivClUsageCursor::isToBeDisplayed(')'));
  for (char c : std::string("[]<>{}-|!. \nazAZ09/@")) {
    EXPECT_TRUE(KivClUsageCursor::isToBeDisplayed(c)) << c;
  }
  std::string shown;
  for (const char* p = "(-key <key>) [(-instance <instance>)]"; *p != '\0'; ++p) {
    if (KivClUsageCursor::isToBeDisplayed(*p)) shown += *p;
  }
  EXPECT_EQ(shown, "-key <key> [-instance <instance>]");
}

// --- malformed and long strings -----------------------------------------------------

TEST(UsageCursor, UnbalancedBracketsDoNotDisturbTheWalk) {
  KivClUsageCursor closing = cursorAtSwitch("]]])))-a <x>", "a");
  EXPECT_EQ(closing.getGroupDepth(), -3);
  EXPECT_EQ(closing.getOptionalDepth(), -3);
  EXPECT_TRUE(closing.reqArg());  // depth -3 is not 0, and <x> is at -3 too
  KivClUsageCursor opening = cursorAtSwitch("((((-a <b>", "a");
  EXPECT_EQ(opening.getGroupDepth(), 4);
  EXPECT_TRUE(opening.reqArg());
  EXPECT_EQ(elementsOf("<<<>>> ]]) -a"), (Elements{"<", "<", "<", "-a"}));
}

TEST(UsageCursor, WalksAVeryLongUsage) {
  std::string usage;
  for (int i = 0; i < 20000; ++i) {
    usage += "[(-s" + std::to_string(i) + " <value " + std::to_string(i) + ">)] \"note/-1\" ";
  }
  usage += "<file>...";
  KivClUsageCursor cursor(usage.c_str());
  std::size_t switches = 0;
  std::size_t values = 0;
  std::size_t ellipses = 0;
  for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
    if (cursor.isSwitch()) ++switches;
    if (cursor.isValueElement()) ++values;
    if (cursor.isArgEllipsis()) ++ellipses;
  }
  EXPECT_EQ(switches, 20000u);
  EXPECT_EQ(values, 20001u);
  EXPECT_EQ(ellipses, 1u);
  EXPECT_TRUE(cursorAtSwitch(usage.c_str(), "s19999").reqArg());
  EXPECT_EQ(cursor.getCurrent(), usage.c_str() + usage.size());
}

TEST(UsageCursor, RandomUsageStringsStayInsideTheirBuffer) {
  // Strings made of the grammar's characters, each in a heap block of its
  // exact size; every walk must end (or reach a walk stop) inside the block.
  const std::string alphabet = "-<>[]().!\"/|\n ab1";
  std::mt19937 random(20240601u);
  for (int round = 0; round < 3000; ++round) {
    const std::size_t length = random() % 40;
    std::string text;
    for (std::size_t i = 0; i < length; ++i) text += alphabet[random() % alphabet.size()];
    std::unique_ptr<char[]> exact(new char[length + 1]);
    std::memcpy(exact.get(), text.c_str(), length + 1);
    KivClUsageCursor cursor(exact.get());
    std::size_t steps = 0;
    for (bool found = cursor.setToFirst(); found; found = cursor.setToNext()) {
      ASSERT_TRUE(cursor.getCurrent() >= exact.get() && cursor.getCurrent() < exact.get() + length)
          << text;
      (void)cursor.reqArg();
      (void)cursor.reqArgEllipsis();
      (void)cursor.matchesSwitch("a");
      (void)cursor.matches("-a1");
      if (cursor.isWalkStop()) break;
      ASSERT_LE(++steps, length) << text;  // every step moves forward
    }
    EXPECT_TRUE(cursor.getCurrent() >= exact.get() && cursor.getCurrent() <= exact.get() + length)
        << text;
  }
}

}  // namespace
