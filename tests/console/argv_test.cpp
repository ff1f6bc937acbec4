// Tests of the argument cursors: the plain walk, the checks against a usage
// string, and the walk over free arguments.

#include "kiv_argv.hpp"

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

#include "kiv_cursor.hpp"
#include "kiv_msgtable.hpp"

namespace {

// An argument vector built from a list, entry 0 the program name.
class Argv {
 public:
  Argv(std::initializer_list<const char*> args) : m_args(args) {}
  int count() const { return static_cast<int>(m_args.size()); }
  const char** vector() { return m_args.data(); }

 private:
  std::vector<const char*> m_args;
};

// The texts of the arguments a cursor visits from setToFirst on.
template <class Cursor>
std::vector<std::string> visited(Cursor& cursor) {
  std::vector<std::string> result;
  for (bool valid = cursor.setToFirst(); valid && result.size() < 100; valid = cursor.setToNext()) {
    result.push_back(cursor.getAsCString());
  }
  return result;
}

// The same backwards from setToLast on.
template <class Cursor>
std::vector<std::string> visitedBackwards(Cursor& cursor) {
  std::vector<std::string> result;
  for (bool valid = cursor.setToLast(); valid && result.size() < 100;
       valid = cursor.setToPrevious()) {
    result.push_back(cursor.getAsCString());
  }
  return result;
}

// A check cursor on argument `index`.
KivClArgvCheckCursor checkAt(Argv& argv, const char* usage, int index) {
  KivClArgvCheckCursor cursor(argv.count(), argv.vector(), usage);
  cursor.setToFirst();
  for (int i = 1; i < index; ++i) cursor.setToNext();
  EXPECT_TRUE(cursor.isValid());
  return cursor;
}

using Texts = std::vector<std::string>;

const char* traceUsage() { return kivMsgTabGetBuiltInTable()[151]; }

// --- the plain walk ------------------------------------------------------------------

TEST(ArgvCursor, OnlyTheProgramNameLeavesEveryCursorInvalid) {
  Argv argv{"prog"};
  KivClArgvCursor plain(argv.count(), argv.vector());
  KivClArgvCheckCursor check(argv.count(), argv.vector(), "<x>");
  KivClArgvFreeCursor free(argv.count(), argv.vector(), "<x>");
  EXPECT_FALSE(plain.setToFirst());
  EXPECT_FALSE(plain.isValid());
  EXPECT_FALSE(check.setToFirst());
  EXPECT_FALSE(check.isValid());
  EXPECT_FALSE(free.setToFirst());
  EXPECT_FALSE(free.isValid());
  EXPECT_FALSE(plain.setToLast());
  EXPECT_FALSE(free.setToLast());
  EXPECT_STREQ(plain.getArgv0(), "prog");
}

TEST(ArgvCursor, StartsOnTheFirstArgument) {
  Argv argv{"prog", "a", "b"};
  KivClArgvCursor cursor(argv.count(), argv.vector());
  EXPECT_EQ(cursor.getIndex(), 1);
  EXPECT_TRUE(cursor.isValid());
  EXPECT_STREQ(cursor.getAsCString(), "a");
  EXPECT_EQ(cursor.getCount(), 3);
  EXPECT_EQ(cursor.getArgv(), argv.vector());
}

TEST(ArgvCursor, WalksForwardsAndBackwards) {
  Argv argv{"prog", "a", "b", "c"};
  KivClArgvCursor cursor(argv.count(), argv.vector());
  EXPECT_EQ(visited(cursor), (Texts{"a", "b", "c"}));
  EXPECT_EQ(visitedBackwards(cursor), (Texts{"c", "b", "a"}));
  // Past the end and back again.
  ASSERT_TRUE(cursor.setToLast());
  EXPECT_FALSE(cursor.setToNext());
  EXPECT_EQ(cursor.getIndex(), 4);
  EXPECT_EQ(cursor.getAsCString(), nullptr);  // outside the vector: null, not a read
  EXPECT_TRUE(cursor.setToPrevious());
  EXPECT_STREQ(cursor.getAsCString(), "c");
  // Before the start the program name is not visited.
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_FALSE(cursor.setToPrevious());
  EXPECT_EQ(cursor.getIndex(), 0);
  EXPECT_STREQ(cursor.getAsCString(), "prog");  // no validity check
  EXPECT_FALSE(cursor.setToPrevious());
  EXPECT_EQ(cursor.getAsCString(), nullptr);
  EXPECT_FALSE(cursor.setToNext());
  EXPECT_TRUE(cursor.setToNext());
  EXPECT_STREQ(cursor.getAsCString(), "a");
}

TEST(ArgvCursor, IsUsableThroughTheCursorBases) {
  Argv argv{"prog", "-key", "abc", "def"};
  std::unique_ptr<KivClBiDirCursorABase> twoWay(
      new KivClArgvFreeCursor(argv.count(), argv.vector(), "(-key <key>) <file>"));
  ASSERT_TRUE(twoWay->setToFirst());
  EXPECT_STREQ(static_cast<KivClArgvCursor&>(*twoWay).getAsCString(), "def");
  EXPECT_FALSE(twoWay->setToNext());
  KivClUniDirCursorABase& oneWay = *twoWay;
  EXPECT_TRUE(oneWay.setToFirst());
  EXPECT_TRUE(oneWay.isValid());
  KivClArgvCursor& plain = static_cast<KivClArgvCursor&>(*twoWay);
  ASSERT_TRUE(plain.setToLast());  // virtual: the free cursor's move
  EXPECT_STREQ(plain.getAsCString(), "def");
  EXPECT_FALSE(plain.setToPrevious());
}

TEST(ArgvCursor, AssignmentCopiesCountIndexAndVector) {
  Argv one{"prog", "a", "b"};
  Argv two{"other", "x"};
  KivClArgvCursor cursor(one.count(), one.vector());
  cursor.setToNext();
  KivClArgvCursor target(two.count(), two.vector());
  target = cursor;
  EXPECT_EQ(target.getCount(), 3);
  EXPECT_EQ(target.getIndex(), 2);
  EXPECT_STREQ(target.getAsCString(), "b");
  KivClArgvCursor copy(cursor);
  EXPECT_STREQ(copy.getAsCString(), "b");
  copy.setToPrevious();
  EXPECT_STREQ(cursor.getAsCString(), "b");  // the copy moves alone
}

TEST(ArgvCursor, CheckCursorCopiesAllFourFields) {
  Argv one{"prog", "-a", "v"};
  Argv two{"other"};
  KivClArgvCheckCursor cursor(one.count(), one.vector(), "(-a <v>)");
  KivClArgvCheckCursor target(two.count(), two.vector(), "[-b]");
  target = cursor;
  EXPECT_STREQ(target.getUsage(), "(-a <v>)");
  EXPECT_EQ(target.getCount(), 3);
  EXPECT_TRUE(target.reqArg());
  KivClArgvCheckCursor copy(target);
  EXPECT_STREQ(copy.getUsage(), "(-a <v>)");
  EXPECT_TRUE(copy.hasArg());
}

TEST(ArgvCursor, NullAndEmptyVectorsHaveNoArguments) {
  KivClArgvCursor null(3, nullptr);
  EXPECT_EQ(null.getCount(), 0);
  EXPECT_FALSE(null.setToFirst());
  EXPECT_EQ(null.getArgv0(), nullptr);
  EXPECT_EQ(null.getAsCString(), nullptr);
  EXPECT_FALSE(null.setToLast());
  Argv argv{"prog", "a"};
  KivClArgvCursor negative(-4, argv.vector());
  EXPECT_EQ(negative.getCount(), 0);
  EXPECT_FALSE(negative.setToFirst());
  KivClArgvCheckCursor check(2, nullptr, nullptr);
  EXPECT_STREQ(check.getUsage(), "");
  EXPECT_FALSE(check.isLegal());
}

TEST(ArgvCursor, MovingSaturatesAtTheLimitsOfInt) {
  // The cursor never reads the vector here: only the index moves.
  Argv argv{"prog", "a"};
  KivClArgvCursor far(INT_MAX, argv.vector());
  EXPECT_TRUE(far.setToLast());
  EXPECT_EQ(far.getIndex(), INT_MAX - 1);
  EXPECT_FALSE(far.setToNext());
  EXPECT_EQ(far.getIndex(), INT_MAX);
  EXPECT_FALSE(far.setToNext());
  EXPECT_EQ(far.getIndex(), INT_MAX);
  EXPECT_TRUE(far.setToPrevious());
}

// --- switches and matching ------------------------------------------------------------

TEST(ArgvCursor, MinusDigitIsAValueAndALoneMinusIsASwitch) {
  Argv argv{"prog", "-5", "-", "-x", "x", "'-5", "--"};
  KivClArgvCursor cursor(argv.count(), argv.vector());
  std::vector<bool> switches;
  for (bool valid = cursor.setToFirst(); valid; valid = cursor.setToNext()) {
    switches.push_back(cursor.isSwitch());
  }
  EXPECT_EQ(switches, (std::vector<bool>{false, true, true, false, false, true}));
}

TEST(ArgvCursor, MatchesWithOrWithoutMinusButWithCase) {
  Argv argv{"prog", "-key", "-Key", "key"};
  KivClArgvCursor cursor(argv.count(), argv.vector());
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_TRUE(cursor.matches("key"));
  EXPECT_TRUE(cursor.matches("-key"));
  EXPECT_FALSE(cursor.matches("ke"));
  EXPECT_FALSE(cursor.matches("keys"));
  EXPECT_FALSE(cursor.matches("--key"));
  EXPECT_FALSE(cursor.matches("KEY"));
  EXPECT_FALSE(cursor.matches(nullptr));
  ASSERT_TRUE(cursor.setToNext());  // -Key
  EXPECT_FALSE(cursor.matches("key"));
  EXPECT_FALSE(cursor.matches("-key"));
  ASSERT_TRUE(cursor.setToNext());  // key: not a switch
  EXPECT_FALSE(cursor.matches("key"));
}

TEST(ArgvCursor, LoneMinusMatchesTheEmptyName) {
  Argv argv{"prog", "-"};
  KivClArgvCursor cursor(argv.count(), argv.vector());
  EXPECT_TRUE(cursor.matches(""));
  EXPECT_TRUE(cursor.matches("-"));
  EXPECT_FALSE(cursor.matches("x"));
}

TEST(ArgvCursor, PositionToFindsTheFirstOccurrence) {
  Argv argv{"prog", "a", "-x", "b", "-x", "c"};
  KivClArgvCursor cursor(argv.count(), argv.vector());
  ASSERT_TRUE(cursor.positionTo("x"));
  EXPECT_EQ(cursor.getIndex(), 2);
  ASSERT_TRUE(cursor.positionTo("-x"));
  EXPECT_EQ(cursor.getIndex(), 2);
  EXPECT_FALSE(cursor.positionTo("y"));
  EXPECT_FALSE(cursor.isValid());
}

TEST(ArgvCursor, FreeCursorPositionsOnlyAmongFreeArguments) {
  Argv argv{"prog", "-key", "abc", "def"};
  KivClArgvFreeCursor cursor(argv.count(), argv.vector(), "(-key <key>) <file>");
  EXPECT_FALSE(cursor.positionTo("key"));
  EXPECT_FALSE(cursor.isValid());
}

// --- checks against the usage string ------------------------------------------------

TEST(ArgvCheckCursor, SwitchWithValueBindsTheValue) {
  Argv argv{"prog", "-key", "abc"};
  KivClArgvCheckCursor key = checkAt(argv, "(-key <key>)", 1);
  EXPECT_TRUE(key.isSwitch());
  EXPECT_TRUE(key.reqArg());
  EXPECT_TRUE(key.hasArg());
  EXPECT_TRUE(key.isLegal());
  EXPECT_FALSE(key.isBound());
  EXPECT_FALSE(key.isFree());
  KivClArgvCheckCursor value = checkAt(argv, "(-key <key>)", 2);
  EXPECT_FALSE(value.isSwitch());
  EXPECT_TRUE(value.isBound());
  EXPECT_FALSE(value.isFree());
  EXPECT_TRUE(value.isLegal());
  EXPECT_FALSE(value.reqArg());
  EXPECT_FALSE(value.hasArg());
}

TEST(ArgvCheckCursor, FreeArgumentNeedsAFreeElementInTheUsage) {
  Argv argv{"prog", "abc"};
  KivClArgvCheckCursor withoutValue = checkAt(argv, "[-display]", 1);
  EXPECT_TRUE(withoutValue.isFree());
  EXPECT_FALSE(withoutValue.isLegal());
  // A value inside a group belongs to its switch, not to free arguments.
  EXPECT_FALSE(checkAt(argv, "(-key <key>)", 1).isLegal());
  EXPECT_FALSE(checkAt(argv, traceUsage(), 1).isLegal());
  // Outside every group: a value, a word or an ellipsis; optional is fine.
  EXPECT_TRUE(checkAt(argv, "[-display] <file>", 1).isLegal());
  EXPECT_TRUE(checkAt(argv, "[-display] [<file>]", 1).isLegal());
  EXPECT_TRUE(checkAt(argv, "[-display] all", 1).isLegal());
  EXPECT_TRUE(checkAt(argv, "[-display] ...", 1).isLegal());
  // A word without a blank before it is no element.
  EXPECT_FALSE(checkAt(argv, "all", 1).isLegal());
  // Quoted text offers nothing.
  EXPECT_FALSE(checkAt(argv, "[-d] \"<file>\"", 1).isLegal());
}

TEST(ArgvCheckCursor, MinusDigitIsAFreeArgument) {
  Argv argv{"prog", "-5"};
  KivClArgvCheckCursor cursor = checkAt(argv, "[-n] <number>", 1);
  EXPECT_FALSE(cursor.isSwitch());
  EXPECT_TRUE(cursor.isFree());
  EXPECT_TRUE(cursor.isLegal());
  EXPECT_FALSE(checkAt(argv, "[-n]", 1).isLegal());
}

TEST(ArgvCheckCursor, NumericValuesAreBoundToTheirSwitch) {
  const char* usage = "(-n <number>)";
  Argv negative{"prog", "-n", "-5"};
  EXPECT_TRUE(checkAt(negative, usage, 1).hasArg());
  EXPECT_TRUE(checkAt(negative, usage, 2).isBound());
  EXPECT_TRUE(checkAt(negative, usage, 2).isLegal());
  Argv quoted{"prog", "-n", "'-5"};
  EXPECT_TRUE(checkAt(quoted, usage, 1).hasArg());
  EXPECT_TRUE(checkAt(quoted, usage, 2).isBound());
  EXPECT_TRUE(checkAt(quoted, usage, 2).isLegal());
  // A switch after -n is no value: -n has none.
  Argv missing{"prog", "-n", "-x"};
  EXPECT_FALSE(checkAt(missing, usage, 1).hasArg());
  EXPECT_TRUE(checkAt(missing, usage, 1).reqArg());
  EXPECT_FALSE(checkAt(missing, usage, 2).isLegal());
  Argv last{"prog", "-n"};
  EXPECT_FALSE(checkAt(last, usage, 1).hasArg());
}

TEST(ArgvCheckCursor, SwitchWithoutValueBindsNothing) {
  Argv argv{"prog", "-d", "abc"};
  KivClArgvCheckCursor value = checkAt(argv, "[-d]", 2);
  EXPECT_FALSE(value.isBound());
  EXPECT_TRUE(value.isFree());
  EXPECT_FALSE(value.isLegal());
  // The switch still has an argument after it, though it needs none.
  EXPECT_TRUE(checkAt(argv, "[-d]", 1).hasArg());
  EXPECT_FALSE(checkAt(argv, "[-d]", 1).reqArg());
}

TEST(ArgvCheckCursor, ProgramNameBindsNothing) {
  Argv argv{"-key", "abc"};
  KivClArgvCheckCursor value = checkAt(argv, "(-key <key>) <file>", 1);
  EXPECT_FALSE(value.isBound());
  EXPECT_TRUE(value.isFree());
}

TEST(ArgvCheckCursor, ReqArgTakesTheFirstMatchingSwitchOfTheUsage) {
  Argv argv{"prog", "-a", "v"};
  EXPECT_FALSE(checkAt(argv, "[-a] (-a <x>)", 1).reqArg());
  EXPECT_TRUE(checkAt(argv, "(-a <x>) [-a]", 1).reqArg());
  EXPECT_FALSE(checkAt(argv, "[-b] <x>", 1).reqArg());  // no such switch
  EXPECT_FALSE(checkAt(argv, "", 1).reqArg());
  EXPECT_FALSE(checkAt(argv, "(-a <x>)", 2).reqArg());  // not a switch
}

TEST(ArgvCheckCursor, SwitchLegalityFollowsTheUsage) {
  Argv argv{"prog", "-display", "-displa", "-Display", "-x", "display", "-fnest", "-verbose"};
  const char* usage = traceUsage();
  std::vector<bool> legal;
  KivClArgvCheckCursor cursor(argv.count(), argv.vector(), usage);
  for (bool valid = cursor.setToFirst(); valid; valid = cursor.setToNext()) {
    legal.push_back(cursor.isLegal());
  }
  EXPECT_EQ(legal, (std::vector<bool>{true, false, false, false, false, true, true}));
}

TEST(ArgvCheckCursor, RepeatedSwitchesAreEachLegal) {
  Argv argv{"prog", "-fnest", "-fnest", "-key", "a", "-key", "b"};
  KivClArgvCheckCursor cursor(argv.count(), argv.vector(), traceUsage());
  int legal = 0;
  int bound = 0;
  for (bool valid = cursor.setToFirst(); valid; valid = cursor.setToNext()) {
    if (cursor.isLegal()) ++legal;
    if (cursor.isBound()) ++bound;
  }
  EXPECT_EQ(legal, 6);
  EXPECT_EQ(bound, 2);
  KivClArgvCursor finder(argv.count(), argv.vector());
  ASSERT_TRUE(finder.positionTo("key"));
  EXPECT_EQ(finder.getIndex(), 3);
}

TEST(ArgvCheckCursor, TraceControllerCommandLine) {
  Argv argv{"prog", "-key", "MYKEY", "-file", "trace.trc", "-display", "-fdetail", "3", "-fhex"};
  KivClArgvCheckCursor cursor(argv.count(), argv.vector(), traceUsage());
  std::vector<std::string> report;
  for (bool valid = cursor.setToFirst(); valid; valid = cursor.setToNext()) {
    std::string kind = cursor.isSwitch() ? (cursor.reqArg() ? "switch+value" : "switch")
                                         : (cursor.isBound() ? "bound" : "free");
    report.push_back(kind + (cursor.isLegal() ? "" : "!"));
  }
  EXPECT_EQ(report, (Texts{"switch+value", "bound", "switch+value", "bound", "switch",
                           "switch+value", "bound", "switch"}));
}

TEST(ArgvCheckCursor, TaggedElementsMatchWithTheirMinus) {
  const char* usage = "[-a] <file>\n! [-secret] hidden <x>";
  Argv argv{"prog", "-secret", "-a", "hidden", "secret", "x", "<x"};
  KivClArgvCheckCursor cursor(argv.count(), argv.vector(), usage);
  std::vector<bool> tagged;
  for (bool valid = cursor.setToFirst(); valid; valid = cursor.setToNext()) {
    tagged.push_back(cursor.isTagged());
  }
  EXPECT_EQ(tagged, (std::vector<bool>{true, false, true, false, false, true}));
}

TEST(ArgvCheckCursor, TaggedEndsWithTheLine) {
  Argv argv{"prog", "-b"};
  EXPECT_TRUE(checkAt(argv, "[-a] ! [-b]", 1).isTagged());
  EXPECT_FALSE(checkAt(argv, "! [-a]\n[-b]", 1).isTagged());
  EXPECT_FALSE(checkAt(argv, "[-b] ! [-a]", 1).isTagged());
}

TEST(ArgvCheckCursor, WalkStopsInTheUsageEndTheChecks) {
  // The usage cursor cannot pass "/" or "-1" outside quotes: what follows
  // is out of reach, and the checks end instead of looping.
  Argv argv{"prog", "-a", "-b", "free"};
  for (const char* usage : {"[-a] / [-b] <file>", "[-a] -1 [-b] <file>"}) {
    KivClArgvCheckCursor cursor(argv.count(), argv.vector(), usage);
    std::vector<bool> legal;
    std::vector<bool> tagged;
    for (bool valid = cursor.setToFirst(); valid; valid = cursor.setToNext()) {
      legal.push_back(cursor.isLegal());
      tagged.push_back(cursor.isTagged());
      EXPECT_FALSE(cursor.reqArg());
    }
    EXPECT_EQ(legal, (std::vector<bool>{true, false, false})) << usage;
    EXPECT_EQ(tagged, (std::vector<bool>{false, false, false})) << usage;
  }
  // Inside quotes they are harmless.
  KivClArgvCheckCursor quoted(argv.count(), argv.vector(), "[-a] \"/ -1\" [-b] <file>");
  std::vector<bool> legal;
  for (bool valid = quoted.setToFirst(); valid; valid = quoted.setToNext()) {
    legal.push_back(quoted.isLegal());
  }
  EXPECT_EQ(legal, (std::vector<bool>{true, true, true}));
}

TEST(ArgvCheckCursor, NothingPastTheTerminatorOfAUsageEndingInADot) {
  // Behind the terminator lies a switch and a free value that a walk past
  // the terminator would find.
  static const char usage[] = "[-a].\0(-zzz <v>) <file>";
  Argv argv{"prog", "-zzz", "v", "-a"};
  KivClArgvCheckCursor cursor(argv.count(), argv.vector(), usage);
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_FALSE(cursor.isLegal());
  EXPECT_FALSE(cursor.reqArg());
  ASSERT_TRUE(cursor.setToNext());
  EXPECT_FALSE(cursor.isBound());
  EXPECT_FALSE(cursor.isLegal());
  ASSERT_TRUE(cursor.setToNext());
  EXPECT_TRUE(cursor.isLegal());
}

TEST(ArgvCheckCursor, NullEntriesAreNoArguments) {
  Argv argv{"prog", nullptr, "x"};
  KivClArgvCheckCursor cursor(argv.count(), argv.vector(), "<file>");
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_FALSE(cursor.hasArgument());
  EXPECT_FALSE(cursor.isSwitch());
  EXPECT_FALSE(cursor.matches("x"));
  EXPECT_FALSE(cursor.isLegal());
  EXPECT_FALSE(cursor.isFree());
  EXPECT_FALSE(cursor.isBound());
  EXPECT_FALSE(cursor.isTagged());
  KivClArgvFreeCursor free(argv.count(), argv.vector(), "<file>");
  EXPECT_EQ(visited(free), Texts{"x"});
}

TEST(ArgvCheckCursor, QueriesAreFalseOnAnInvalidCursor) {
  Argv argv{"prog", "-key", "abc"};
  KivClArgvCheckCursor cursor(argv.count(), argv.vector(), "(-key <key>) <file> ! -key");
  cursor.setToLast();
  EXPECT_FALSE(cursor.setToNext());
  EXPECT_FALSE(cursor.isSwitch());
  EXPECT_FALSE(cursor.reqArg());
  EXPECT_FALSE(cursor.hasArg());
  EXPECT_FALSE(cursor.isBound());
  EXPECT_FALSE(cursor.isFree());
  EXPECT_FALSE(cursor.isTagged());
  EXPECT_FALSE(cursor.isLegal());
}

// --- the free cursor -------------------------------------------------------------------

TEST(ArgvFreeCursor, VisitsOnlyFreeArguments) {
  Argv argv{"prog", "-key", "abc", "def"};
  KivClArgvFreeCursor cursor(argv.count(), argv.vector(), "(-key <key>) <file>");
  EXPECT_EQ(visited(cursor), Texts{"def"});
  EXPECT_EQ(visitedBackwards(cursor), Texts{"def"});
}

TEST(ArgvFreeCursor, PassesOverSwitchesAndValuesInBothDirections) {
  Argv argv{"prog", "a", "-key", "k", "b", "-fnest", "c", "-5", "-file", "f"};
  KivClArgvFreeCursor cursor(argv.count(), argv.vector(), traceUsage());
  EXPECT_EQ(visited(cursor), (Texts{"a", "b", "c", "-5"}));
  EXPECT_EQ(visitedBackwards(cursor), (Texts{"-5", "c", "b", "a"}));
}

TEST(ArgvFreeCursor, NoFreeArgumentsLeavesItInvalid) {
  Argv argv{"prog", "-key", "k", "-fnest"};
  KivClArgvFreeCursor cursor(argv.count(), argv.vector(), traceUsage());
  EXPECT_FALSE(cursor.setToFirst());
  EXPECT_FALSE(cursor.isValid());
  EXPECT_FALSE(cursor.setToLast());
  EXPECT_FALSE(cursor.isValid());
}

TEST(ArgvFreeCursor, FirstAndLastStayOnFreeArguments) {
  Argv argv{"prog", "first", "-key", "k", "last"};
  KivClArgvFreeCursor cursor(argv.count(), argv.vector(), traceUsage());
  ASSERT_TRUE(cursor.setToFirst());
  EXPECT_STREQ(cursor.getAsCString(), "first");
  ASSERT_TRUE(cursor.setToLast());
  EXPECT_STREQ(cursor.getAsCString(), "last");
  ASSERT_TRUE(cursor.setToPrevious());
  EXPECT_STREQ(cursor.getAsCString(), "first");
  EXPECT_FALSE(cursor.setToPrevious());
}

}  // namespace
