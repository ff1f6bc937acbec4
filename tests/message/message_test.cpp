// Messages with inserts: the insert syntax of replaceVars with all its edge
// cases and the cut at the capacity, loading from string tables and real
// catalogs, the fallback texts, inline and heap texts, copy and assignment.

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>

#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_test_support.hpp"
#include "msg_test_helpers.hpp"

namespace {

const std::string gs_text80(80, 'x');
const std::string gs_text81(81, 'y');
const std::string gs_text5000(5000, 'z');

// A small table: index equals id.
const char* const gs_table[] = {
    "zero",                     // 0
    "[TEST]",                   // 1
    "<%1|%2|%3>",               // 2
    gs_text80.c_str(),          // 3
    gs_text81.c_str(),          // 4
    "%1",                       // 5
    gs_text5000.c_str(),        // 6
    "%1%2%3%4%5%6%7%8%9%10",    // 7
    "second table is not used"  // 8
};
const unsigned long gs_tableSize = sizeof(gs_table) / sizeof(gs_table[0]);

const char* const gs_otherTable[] = {"other zero", "other one", "other two", "other three"};

class MessageTest : public ::testing::Test {
 protected:
  // A catalog whose file does not exist, answering from a string table.
  KivClMessageCatalog& tableCatalog() {
    if (m_catalog == nullptr) {
      m_catalog = std::make_unique<KivClMessageCatalog>(KivClFilename(name("table").c_str()));
      m_catalog->useStringTable(gs_table, gs_tableSize);
    }
    return *m_catalog;
  }
  std::string name(const std::string& base) const { return m_dir / base; }

  // replaceVars does not depend on the message's catalog or text.
  std::string replace(const char* source, const char* const* inserts, unsigned long usable,
                      unsigned long capacity = KIV_MESSAGE_MAX_LENGTH) {
    KivClMessage message(tableCatalog(), 1);
    std::string out(capacity + 1, '#');
    const unsigned long n = message.replaceVars(out.data(), capacity, source, inserts, usable);
    EXPECT_EQ(std::strlen(out.c_str()), n);
    return out.substr(0, n);
  }

  msgtest::LocaleGuard m_locale;
  kivtest::TempDir m_dir;
  std::unique_ptr<KivClMessageCatalog> m_catalog;
};

const char* const gs_letters[] = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"};

// ---------------------------------------------------------------------------
// Insert syntax
// ---------------------------------------------------------------------------

TEST_F(MessageTest, EmptySourceGivesEmptyOutputAndLengthZero) {
  EXPECT_EQ(replace("", gs_letters, 10), "");
  KivClMessage message(tableCatalog(), 1);
  char out[4] = {'#', '#', '#', '#'};
  EXPECT_EQ(message.replaceVars(out, 3, "", gs_letters, 10), 0u);
  EXPECT_EQ(out[0], '\0');
}

TEST_F(MessageTest, NullSourceCountsAsEmpty) { EXPECT_EQ(replace(nullptr, gs_letters, 10), ""); }

TEST_F(MessageTest, DoublePercentWritesOnePercent) {
  EXPECT_EQ(replace("100%% sure", gs_letters, 10), "100% sure");
  EXPECT_EQ(replace("%%%%", gs_letters, 10), "%%");
}

TEST_F(MessageTest, DoublePercentBeforeDigitIsNoInsert) {
  EXPECT_EQ(replace("%%1", gs_letters, 10), "%1");
  EXPECT_EQ(replace("%%%1", gs_letters, 10), "%a");
}

TEST_F(MessageTest, InsertsOneToTenAreReplaced) {
  EXPECT_EQ(replace("%1 %2 %3 %4 %5 %6 %7 %8 %9 %10", gs_letters, 10), "a b c d e f g h i j");
}

TEST_F(MessageTest, AllDigitsAfterThePercentFormTheNumber) {
  EXPECT_EQ(replace("[%10]", gs_letters, 10), "[j]");
  EXPECT_EQ(replace("[%01]", gs_letters, 10), "[a]");
  EXPECT_EQ(replace("[%0003]", gs_letters, 10), "[c]");
}

TEST_F(MessageTest, CharacterAfterTheNumberIsCopied) {
  EXPECT_EQ(replace("%1x", gs_letters, 10), "ax");
  EXPECT_EQ(replace("%2.%3", gs_letters, 10), "b.c");
  EXPECT_EQ(replace("%1 2", gs_letters, 10), "a 2");
}

TEST_F(MessageTest, NumberAboveUsableInsertsGivesQuestionMarks) {
  EXPECT_EQ(replace("[%11]", gs_letters, 10), "[???]");
  EXPECT_EQ(replace("[%2]", gs_letters, 1), "[???]");
  EXPECT_EQ(replace("[%1]", gs_letters, 0), "[???]");
}

TEST_F(MessageTest, LongNumberIsSkippedWhole) {
  EXPECT_EQ(replace("x%123y", gs_letters, 10), "x???y");
  EXPECT_EQ(replace("x%99999999999999999999999y", gs_letters, 10), "x???y");
}

TEST_F(MessageTest, InsertZeroGivesQuestionMarks) {
  EXPECT_EQ(replace("[%0]", gs_letters, 10), "[???]");
  EXPECT_EQ(replace("[%00]", gs_letters, 10), "[???]");
}

TEST_F(MessageTest, PercentAtTheEndGivesQuestionMarks) {
  EXPECT_EQ(replace("abc%", gs_letters, 10), "abc???");
}

TEST_F(MessageTest, PercentBeforeOtherCharacterGivesQuestionMarksAndKeepsIt) {
  EXPECT_EQ(replace("%x", gs_letters, 10), "???x");
  EXPECT_EQ(replace("%s%d", gs_letters, 10), "???s???d");
}

TEST_F(MessageTest, BlankAfterPercentIsReadButNotSkipped) {
  // atol skips the blank and reads 1; the blank and the digit stay.
  EXPECT_EQ(replace("[% 1]", gs_letters, 10), "[a 1]");
}

TEST_F(MessageTest, SignAfterPercentIsReadButNotSkipped) {
  EXPECT_EQ(replace("[%-1]", gs_letters, 10),
            "[???"
            "-1]");
  EXPECT_EQ(replace("[%+2]", gs_letters, 10), "[b+2]");
}

TEST_F(MessageTest, MissingInsertsGiveQuestionMarks) {
  const char* const some[10] = {"a", nullptr, "c"};
  EXPECT_EQ(replace("%1 %2 %3 %4", some, 10), "a ??? c ???");
  EXPECT_EQ(replace("%1 %2", nullptr, 10), "??? ???");
}

TEST_F(MessageTest, SurplusInsertsAreIgnored) {
  EXPECT_EQ(replace("only %2", gs_letters, 10), "only b");
}

TEST_F(MessageTest, OutputIsCutAtTheCapacity) {
  EXPECT_EQ(replace("abcdefgh", gs_letters, 10, 5), "abcde");
  EXPECT_EQ(replace("ab%%cd", gs_letters, 10, 3), "ab%");
  EXPECT_EQ(replace("abc", gs_letters, 10, 0), "");
}

TEST_F(MessageTest, InsertIsCutAtTheCapacity) {
  const char* const inserts[10] = {"hello"};
  EXPECT_EQ(replace("x%1", inserts, 10, 4), "xhel");
  EXPECT_EQ(replace("x%11", inserts, 10, 3), "x??");
}

TEST_F(MessageTest, CutNeverWritesPastTheBuffer) {
  KivClMessage message(tableCatalog(), 1);
  const char* const inserts[10] = {"a long insert text"};
  for (unsigned long capacity = 0; capacity < 24; ++capacity) {
    // Guard bytes after capacity + 1 characters must stay untouched.
    std::string buffer(capacity + 1 + 8, '#');
    const unsigned long n =
        message.replaceVars(buffer.data(), capacity, "ab%1cd%%ef%2", inserts, 10);
    EXPECT_LE(n, capacity);
    EXPECT_EQ(buffer[n], '\0');
    EXPECT_EQ(buffer.substr(capacity + 1), std::string(8, '#')) << "capacity " << capacity;
  }
}

TEST_F(MessageTest, NullOutputWritesNothing) {
  KivClMessage message(tableCatalog(), 1);
  EXPECT_EQ(message.replaceVars(nullptr, 10, "abc", gs_letters, 10), 0u);
}

// ---------------------------------------------------------------------------
// Loading
// ---------------------------------------------------------------------------

TEST_F(MessageTest, BuiltInMessageTwoTakesTenInserts) {
  KivClMessageCatalog catalog(KivClFilename(name("builtin").c_str()));
  catalog.useStringTable(kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
  KivClMessage message(catalog, 2, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j");
  EXPECT_TRUE(message.isLoaded());
  EXPECT_STREQ(message.getText(),
               "Percent:% Arg1:a Arg2:b Arg3:c Arg4:d Arg5:e Arg6:f Arg7:g Arg8:h Arg9:i "
               "Arg10:j");
}

TEST_F(MessageTest, BuiltInMessageTwoWithoutInsertsShowsQuestionMarks) {
  KivClMessageCatalog catalog(KivClFilename(name("builtin").c_str()));
  catalog.useStringTable(kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
  KivClMessage message(catalog, 2);
  EXPECT_TRUE(message.isLoaded());
  EXPECT_STREQ(message.getText(),
               "Percent:% Arg1:??? Arg2:??? Arg3:??? Arg4:??? Arg5:??? Arg6:??? Arg7:??? "
               "Arg8:??? Arg9:??? Arg10:???");
}

TEST_F(MessageTest, SeparateInsertsMayBeNull) {
  KivClMessage message(tableCatalog(), 2, "a", nullptr, "c");
  EXPECT_STREQ(message.getText(), "<a|???|c>");
  EXPECT_TRUE(message.isLoaded());
}

TEST_F(MessageTest, InsertArrayMayHoldNulls) {
  const char* inserts[10] = {nullptr, "b", nullptr};
  KivClMessage message(tableCatalog(), 2, inserts);
  EXPECT_STREQ(message.getText(),
               "<???|b|???"
               ">");
}

TEST_F(MessageTest, NullInsertArrayMeansNoInserts) {
  KivClMessage message(tableCatalog(), 2, static_cast<const char* const*>(nullptr));
  EXPECT_STREQ(message.getText(),
               "<???|???|???"
               ">");
}

TEST_F(MessageTest, TenInsertsInOneText) {
  KivClMessage message(tableCatalog(), 7, gs_letters);
  EXPECT_STREQ(message.getText(), "abcdefghij");
}

TEST_F(MessageTest, IdZeroOfTheTableIsLoaded) {
  KivClMessage message(tableCatalog(), 0);
  EXPECT_TRUE(message.isLoaded());
  EXPECT_STREQ(message.getText(), "zero");
}

TEST_F(MessageTest, MissingMessageNamesIdAndCatalogFile) {
  KivClMessage message(tableCatalog(), gs_tableSize, "ignored");
  EXPECT_FALSE(message.isLoaded());
  EXPECT_EQ(message.getMessageId(), gs_tableSize);
  EXPECT_EQ(std::string(message.getText()),
            "UNABLE TO LOAD MESSAGE CATALOG: " + name("table") + ".cat");
}

TEST_F(MessageTest, CatalogWithoutTableGivesFallbackForEveryId) {
  KivClMessageCatalog catalog(KivClFilename(name("bare").c_str()));
  for (unsigned long id : {0ul, 1ul, 2ul, 220ul}) {
    KivClMessage message(catalog, id);
    EXPECT_FALSE(message.isLoaded());
    EXPECT_EQ(std::string(message.getText()),
              "UNABLE TO LOAD MESSAGE CATALOG: " + name("bare") + ".cat");
  }
}

TEST_F(MessageTest, MissingMessageOfOpenCatalogNamesTheIdInDecimal) {
  const std::string file = name("real.cat");
  msgtest::makeCatalog(file, "$set 1\n1 [TEST]\n2 present %1\n");
  KivClMessageCatalog catalog{KivClFilename(file.c_str())};
  ASSERT_TRUE(catalog.isOpen());
  KivClMessage present(catalog, 2, "X");
  EXPECT_TRUE(present.isLoaded());
  EXPECT_STREQ(present.getText(), "present X");
  KivClMessage missing(catalog, 4294967296ul, "X");
  EXPECT_FALSE(missing.isLoaded());
  EXPECT_EQ(std::string(missing.getText()),
            "UNABLE TO LOAD MESSAGE #4294967296 FROM CATALOG: " + file);
}

// The id goes through the signed long conversion: ids above the largest
// long show as negative numbers.
TEST_F(MessageTest, FallbackIdIsWrittenAsASignedLong) {
  const std::string file = name("signed.cat");
  msgtest::makeCatalog(file, "$set 1\n1 [TEST]\n");
  KivClMessageCatalog catalog{KivClFilename(file.c_str())};
  ASSERT_TRUE(catalog.isOpen());
  KivClMessage largest(catalog, ~0ul);
  EXPECT_FALSE(largest.isLoaded());
  EXPECT_EQ(std::string(largest.getText()), "UNABLE TO LOAD MESSAGE #-1 FROM CATALOG: " + file);
  KivClMessage top(catalog, 1ul << 63);
  EXPECT_EQ(std::string(top.getText()),
            "UNABLE TO LOAD MESSAGE #-9223372036854775808 FROM CATALOG: " + file);
  KivClMessage highestPositive(catalog, (1ul << 63) - 1);
  EXPECT_EQ(std::string(highestPositive.getText()),
            "UNABLE TO LOAD MESSAGE #9223372036854775807 FROM CATALOG: " + file);
}

TEST_F(MessageTest, FallbackWithVeryLongFileNameIsCutAt4096) {
  // A relative name of nearly 4096 characters: the fallback text and the
  // name do not fit together.
  const std::string longName(4090, 'n');
  KivClMessageCatalog catalog{KivClFilename(longName.c_str())};
  KivClMessage message(catalog, 5);
  EXPECT_FALSE(message.isLoaded());
  const std::string text = message.getText();
  EXPECT_EQ(text.size(), KIV_MESSAGE_MAX_LENGTH);
  EXPECT_EQ(text, ("UNABLE TO LOAD MESSAGE CATALOG: " + longName).substr(0, 4096));
}

TEST_F(MessageTest, TextGrowingPast4096IsCut) {
  const std::string insert(3000, 'i');
  const char* const inserts[10] = {insert.c_str(), insert.c_str()};
  KivClMessage message(tableCatalog(), 7, inserts);
  EXPECT_TRUE(message.isLoaded());
  EXPECT_EQ(std::strlen(message.getText()), 4096u);
  EXPECT_EQ(std::string(message.getText()), std::string(4096, 'i'));

  KivClMessage raw(tableCatalog(), 6);
  EXPECT_EQ(std::string(raw.getText()), std::string(4096, 'z'));
}

// ---------------------------------------------------------------------------
// Inline and heap texts
// ---------------------------------------------------------------------------

TEST_F(MessageTest, TextOfEightyCharactersStaysInline) {
  tableCatalog();
  msgtest::CountingMemoryManager counter;
  {
    KivClMessage message(tableCatalog(), 3);
    EXPECT_EQ(std::string(message.getText()), gs_text80);
    EXPECT_TRUE(msgtest::pointsInto(message, message.getText()));
  }
  EXPECT_EQ(counter.allocations(), 0);
  EXPECT_EQ(counter.releases(), 0);
}

TEST_F(MessageTest, TextOfEightyOneCharactersGoesToTheHeap) {
  tableCatalog();
  msgtest::CountingMemoryManager counter;
  {
    KivClMessage message(tableCatalog(), 4);
    EXPECT_EQ(std::string(message.getText()), gs_text81);
    EXPECT_FALSE(msgtest::pointsInto(message, message.getText()));
    EXPECT_EQ(counter.allocations(), 1);
    EXPECT_EQ(counter.lastSize(), 82u);
  }
  EXPECT_EQ(counter.releases(), 1);
}

TEST_F(MessageTest, InsertsCanMoveATextToTheHeap) {
  const std::string longInsert(100, 'L');
  KivClMessage message(tableCatalog(), 5, "short");
  EXPECT_TRUE(msgtest::pointsInto(message, message.getText()));
  EXPECT_EQ(std::string(message.setNewMessageId(5, longInsert.c_str())), longInsert);
  EXPECT_FALSE(msgtest::pointsInto(message, message.getText()));
  EXPECT_STREQ(message.setNewMessageId(5, "back"), "back");
  EXPECT_TRUE(msgtest::pointsInto(message, message.getText()));
}

TEST_F(MessageTest, ReloadingFreesTheHeapCopy) {
  tableCatalog();
  msgtest::CountingMemoryManager counter;
  {
    KivClMessage message(tableCatalog(), 4);
    message.setNewMessageId(4);
    message.setNewMessageId(1);
    EXPECT_STREQ(message.getText(), "[TEST]");
    EXPECT_EQ(counter.allocations(), 2);
    EXPECT_EQ(counter.releases(), 2);
  }
  EXPECT_EQ(counter.releases(), 2);
}

// An insert may be the message's own text: it reads the previous text,
// which is kept until the new one is complete.
TEST_F(MessageTest, InsertMayBeTheMessagesOwnHeapText) {
  KivClMessage message(tableCatalog(), 4);
  ASSERT_FALSE(msgtest::pointsInto(message, message.getText()));
  EXPECT_EQ(std::string(message.setNewMessageId(2, message.getText(), "b")),
            "<" + gs_text81 + "|b|???" + ">");
  EXPECT_TRUE(message.isLoaded());
}

TEST_F(MessageTest, InsertMayBeTheMessagesOwnInlineText) {
  KivClMessage message(tableCatalog(), 1);
  ASSERT_TRUE(msgtest::pointsInto(message, message.getText()));
  EXPECT_STREQ(message.setNewMessageId(2, message.getText()),
               "<[TEST]|???|???"
               ">");
  const char* inserts[10] = {message.getText(), message.getText()};
  // (Split after each "???" so that no "??>" trigraph appears.)
  EXPECT_STREQ(message.loadMessage(inserts),
               "<<[TEST]|???|???"
               ">|<[TEST]|???|???"
               ">|???"
               ">");
}

// ---------------------------------------------------------------------------
// setNewMessageId, copy and assignment
// ---------------------------------------------------------------------------

TEST_F(MessageTest, SetNewMessageIdLoadsAndReturnsTheText) {
  KivClMessage message(tableCatalog(), 1);
  EXPECT_STREQ(message.setNewMessageId(2),
               "<???|???|???"
               ">");
  EXPECT_EQ(message.getMessageId(), 2u);
  EXPECT_STREQ(message.setNewMessageId(2, "x", "y", "z"), "<x|y|z>");
  EXPECT_STREQ(message.getText(), "<x|y|z>");
  EXPECT_STREQ(message.setNewMessageId(100),
               ("UNABLE TO LOAD MESSAGE CATALOG: " + name("table") + ".cat").c_str());
  EXPECT_FALSE(message.isLoaded());
  EXPECT_STREQ(message.setNewMessageId(1), "[TEST]");
  EXPECT_TRUE(message.isLoaded());
}

TEST_F(MessageTest, LoadMessageReloadsTheStoredId) {
  KivClMessage message(tableCatalog(), 2);
  const char* const inserts[10] = {"1", "2", "3"};
  EXPECT_STREQ(message.loadMessage(inserts), "<1|2|3>");
  EXPECT_STREQ(message.loadMessage(nullptr),
               "<???|???|???"
               ">");
}

TEST_F(MessageTest, AssignmentKeepsTheTargetsCatalog) {
  KivClMessageCatalog other{KivClFilename(name("other").c_str())};
  other.useStringTable(gs_otherTable, 4);
  KivClMessage source(tableCatalog(), 2, "a", "b", "c");
  KivClMessage target(other, 1);
  EXPECT_STREQ(target.getText(), "other one");

  target = source;
  EXPECT_STREQ(target.getText(), "<a|b|c>");
  EXPECT_EQ(target.getMessageId(), 2u);
  EXPECT_TRUE(target.isLoaded());
  EXPECT_EQ(&target.getCatalog(), &other);

  // A later lookup goes to the target's own catalog.
  EXPECT_STREQ(target.setNewMessageId(3), "other three");
  EXPECT_STREQ(source.setNewMessageId(3), gs_text80.c_str());
}

TEST_F(MessageTest, AssignmentCopiesTheLoadedFlag) {
  KivClMessage missing(tableCatalog(), 99);
  KivClMessage target(tableCatalog(), 1);
  target = missing;
  EXPECT_FALSE(target.isLoaded());
  EXPECT_EQ(target.getMessageId(), 99u);
  EXPECT_STREQ(target.getText(), missing.getText());
}

TEST_F(MessageTest, AssignmentBetweenInlineAndHeapTexts) {
  KivClMessage heap(tableCatalog(), 4);
  KivClMessage inlined(tableCatalog(), 1);
  KivClMessage target(tableCatalog(), 4);

  target = inlined;
  EXPECT_STREQ(target.getText(), "[TEST]");
  EXPECT_TRUE(msgtest::pointsInto(target, target.getText()));

  target = heap;
  EXPECT_EQ(std::string(target.getText()), gs_text81);
  EXPECT_FALSE(msgtest::pointsInto(target, target.getText()));
  EXPECT_NE(target.getText(), heap.getText());

  heap.setNewMessageId(1);
  EXPECT_EQ(std::string(target.getText()), gs_text81);
}

TEST_F(MessageTest, SelfAssignmentKeepsTheText) {
  KivClMessage message(tableCatalog(), 4);
  KivClMessage& same = message;
  message = same;
  EXPECT_EQ(std::string(message.getText()), gs_text81);
  KivClMessage shortOne(tableCatalog(), 1);
  KivClMessage& sameShort = shortOne;
  shortOne = sameShort;
  EXPECT_STREQ(shortOne.getText(), "[TEST]");
}

TEST_F(MessageTest, CopyHasItsOwnTextAndTheSameCatalog) {
  KivClMessage heap(tableCatalog(), 4);
  KivClMessage copy(heap);
  EXPECT_EQ(std::string(copy.getText()), gs_text81);
  EXPECT_NE(copy.getText(), heap.getText());
  EXPECT_EQ(&copy.getCatalog(), &heap.getCatalog());
  EXPECT_TRUE(copy.isLoaded());

  KivClMessage inlined(tableCatalog(), 2, "p", "q", "r");
  KivClMessage inlineCopy(inlined);
  EXPECT_STREQ(inlineCopy.getText(), "<p|q|r>");
  EXPECT_TRUE(msgtest::pointsInto(inlineCopy, inlineCopy.getText()));
}

}  // namespace
