// Message catalogs: opening real catalogs made with gencat (directly, along
// NLSPATH and through the locale steps), validation by message 1, the
// string-table fallback and its lookup order, the library's own catalog
// built from the built-in table, the proxy and the flat interface.

#include <gtest/gtest.h>

#include <clocale>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_test_support.hpp"
#include "msg_test_helpers.hpp"

namespace {

const char* const gs_table[] = {"t0", "t1", "t2 %1", "t3", "t4", "t5", "t6", "t7"};
const unsigned long gs_tableSize = sizeof(gs_table) / sizeof(gs_table[0]);

// A catalog source with messages 1, 2, 3 and 5 in set 1 and message 4 in
// set 2 only.
const char* const gs_source =
    "$ test catalog\n"
    "$quote \"\n"
    "$set 1\n"
    "1 \"[TEST-CATALOG]\"\n"
    "2 \"cat two %1 and %2%%\"\n"
    "3 \"cat three\"\n"
    "5 \" five with blanks \"\n"
    "$set 2\n"
    "4 \"set two only\"\n";

class MsgCatTest : public ::testing::Test {
 protected:
  MsgCatTest() {
    // No catalog of the tests may be found by accident in the user's or the
    // system's places, and the locale is what the tests set.
    m_nlspath.set(m_dir / "nowhere/%N");
    m_lcAll.set("C");
  }

  std::string path(const std::string& base) const { return m_dir / base; }

  // Makes <dir>/<base>.cat from `source`.
  std::string makeCatalog(const std::string& base, const char* source = gs_source) {
    const std::string file = path(base + ".cat");
    msgtest::makeCatalog(file, source);
    return file;
  }

  msgtest::LocaleGuard m_locale;
  kivtest::EnvGuard m_nlspath{"NLSPATH"};
  kivtest::EnvGuard m_lcAll{"LC_ALL"};
  kivtest::TempDir m_dir;
};

std::string fallbackNotOpen(const std::string& file) {
  return "UNABLE TO LOAD MESSAGE CATALOG: " + file;
}

std::string fallbackMissing(unsigned long id, const std::string& file) {
  return "UNABLE TO LOAD MESSAGE #" + std::to_string(id) + " FROM CATALOG: " + file;
}

// ---------------------------------------------------------------------------
// Names and the static id check
// ---------------------------------------------------------------------------

TEST_F(MsgCatTest, IdZeroIsNeverValid) {
  EXPECT_FALSE(KivClMessageCatalog::isValidMessageId(0));
  EXPECT_TRUE(KivClMessageCatalog::isValidMessageId(1));
  EXPECT_TRUE(KivClMessageCatalog::isValidMessageId(220));
  EXPECT_TRUE(KivClMessageCatalog::isValidMessageId(~0ul));
}

TEST_F(MsgCatTest, DefaultCatalogIsQrnmsg50Cat) {
  KivClMessageCatalog catalog;
  EXPECT_STREQ(catalog.getAsCString(), "qrnmsg50.cat");
  EXPECT_TRUE(catalog.isDefaultCatalog());
  EXPECT_EQ(catalog.getStringTable(), nullptr);
  EXPECT_EQ(catalog.getStringTableSize(), 0u);
  EXPECT_FALSE(catalog.isOpen());  // NLSPATH points nowhere
}

TEST_F(MsgCatTest, NamedCatalogGetsTheCatExtension) {
  EXPECT_STREQ(KivClMessageCatalog(KivClFilename("msgs")).getAsCString(), "msgs.cat");
  EXPECT_STREQ(KivClMessageCatalog(KivClFilename("dir/msgs.txt")).getAsCString(), "dir/msgs.cat");
  EXPECT_STREQ(KivClMessageCatalog(KivClFilename("msgs.cat")).getAsCString(), "msgs.cat");
  EXPECT_STREQ(KivClMessageCatalog(KivClFilename("a.b.c")).getAsCString(), "a.b.cat");
  EXPECT_FALSE(KivClMessageCatalog(KivClFilename("msgs")).isDefaultCatalog());
}

TEST_F(MsgCatTest, CatalogIsAFile) {
  const std::string file = makeCatalog("app");
  KivClMessageCatalog catalog{KivClFilename(path("app").c_str())};
  const KivClFile& asFile = catalog;
  EXPECT_STREQ(static_cast<const char*>(asFile), file.c_str());
  EXPECT_TRUE(asFile.isExistent());
  EXPECT_TRUE(asFile.isFile());
  EXPECT_FALSE(asFile.isDirectory());
}

// ---------------------------------------------------------------------------
// Real catalogs
// ---------------------------------------------------------------------------

TEST_F(MsgCatTest, OpensCatalogGivenWithDirectory) {
  const std::string file = makeCatalog("app");
  KivClMessageCatalog catalog{KivClFilename(file.c_str())};
  ASSERT_TRUE(catalog.isOpen());
  EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "[TEST-CATALOG]");
  EXPECT_STREQ(KivClMessage(catalog, 2, "x", "y").getText(), "cat two x and y%");
  EXPECT_STREQ(KivClMessage(catalog, 5).getText(), " five with blanks ");
  EXPECT_STREQ(catalog.getCatalogText(2), "cat two %1 and %2%%");
  EXPECT_TRUE(KivClMessage(catalog, 3).isLoaded());
}

TEST_F(MsgCatTest, NameWithOtherExtensionOpensTheCatFile) {
  makeCatalog("app");
  KivClMessageCatalog catalog{KivClFilename(path("app.txt").c_str())};
  EXPECT_TRUE(catalog.isOpen());
}

TEST_F(MsgCatTest, MissingIdOfOpenCatalogNamesIdAndFile) {
  const std::string file = makeCatalog("app");
  KivClMessageCatalog catalog{KivClFilename(file.c_str())};
  ASSERT_TRUE(catalog.isOpen());
  KivClMessage message(catalog, 7, "not used");
  EXPECT_FALSE(message.isLoaded());
  EXPECT_EQ(message.getText(), fallbackMissing(7, file));
  EXPECT_EQ(catalog.getCatalogText(7), nullptr);
}

TEST_F(MsgCatTest, MessageOfAnotherSetIsMissing) {
  const std::string file = makeCatalog("app");
  KivClMessageCatalog catalog{KivClFilename(file.c_str())};
  KivClMessage message(catalog, 4);
  EXPECT_FALSE(message.isLoaded());
  EXPECT_EQ(message.getText(), fallbackMissing(4, file));
}

TEST_F(MsgCatTest, OpenCatalogNeverConsultsTheStringTable) {
  const std::string file = makeCatalog("app");
  KivClMessageCatalog catalog{KivClFilename(file.c_str())};
  catalog.useStringTable(gs_table, gs_tableSize);
  ASSERT_TRUE(catalog.isOpen());
  EXPECT_STREQ(KivClMessage(catalog, 3).getText(), "cat three");
  KivClMessage missing(catalog, 6);
  EXPECT_FALSE(missing.isLoaded());
  EXPECT_EQ(missing.getText(), fallbackMissing(6, file));
  EXPECT_EQ(KivClMessage(catalog, 0).getText(), fallbackMissing(0, file));
}

TEST_F(MsgCatTest, CatalogWithoutMessageOneIsNotOpenAndItsTableAnswers) {
  const std::string file = makeCatalog("noone", "$set 1\n2 two\n3 three\n");
  KivClMessageCatalog catalog{KivClFilename(file.c_str())};
  EXPECT_FALSE(catalog.isOpen());
  EXPECT_EQ(catalog.getCatalogText(2), nullptr);
  EXPECT_EQ(KivClMessage(catalog, 2).getText(), fallbackNotOpen(file));

  catalog.useStringTable(gs_table, gs_tableSize);
  KivClMessage message(catalog, 2, "ins");
  EXPECT_TRUE(message.isLoaded());
  EXPECT_STREQ(message.getText(), "t2 ins");
}

TEST_F(MsgCatTest, MessageOneInAnotherSetDoesNotValidate) {
  const std::string file = makeCatalog("set2", "$set 2\n1 one\n$set 1\n2 two\n");
  EXPECT_FALSE(KivClMessageCatalog{KivClFilename(file.c_str())}.isOpen());
}

TEST_F(MsgCatTest, FileThatIsNoCatalogIsNotOpen) {
  const std::string file = path("junk.cat");
  {
    std::ofstream out(file);
    out << "this is not a message catalog\n";
  }
  KivClMessageCatalog catalog{KivClFilename(file.c_str())};
  EXPECT_FALSE(catalog.isOpen());
}

TEST_F(MsgCatTest, MissingFileIsNotOpenAndNothingIsThrown) {
  KivClMessageCatalog catalog{KivClFilename(path("missing").c_str())};
  EXPECT_FALSE(catalog.isOpen());
  EXPECT_EQ(KivClMessage(catalog, 1).getText(), fallbackNotOpen(path("missing.cat")));
}

TEST_F(MsgCatTest, InitAgainReopensTheCatalog) {
  const std::string file = makeCatalog("app");
  KivClMessageCatalog catalog{KivClFilename(file.c_str())};
  catalog.init();
  EXPECT_TRUE(catalog.isOpen());
  EXPECT_STREQ(KivClMessage(catalog, 3).getText(), "cat three");
}

// ---------------------------------------------------------------------------
// NLSPATH and the locale steps
// ---------------------------------------------------------------------------

TEST_F(MsgCatTest, NameWithoutDirectoryIsFoundAlongNlspath) {
  makeCatalog("app");
  m_nlspath.set(m_dir.path() + "/%N");
  KivClMessageCatalog catalog{KivClFilename("app")};
  ASSERT_TRUE(catalog.isOpen());
  EXPECT_STREQ(KivClMessage(catalog, 3).getText(), "cat three");
  // The fallback texts name the file as given, not where it was found.
  EXPECT_EQ(KivClMessage(catalog, 9).getText(), fallbackMissing(9, "app.cat"));
}

TEST_F(MsgCatTest, EnvironmentLocaleIsSetAndKept) {
  std::filesystem::create_directories(path("C.UTF-8"));
  msgtest::makeCatalog(path("C.UTF-8/app.cat"), gs_source);
  m_nlspath.set(m_dir.path() + "/%L/%N");
  m_lcAll.set("C.UTF-8");
  std::setlocale(LC_ALL, "C");
  KivClMessageCatalog catalog{KivClFilename("app")};
  EXPECT_TRUE(catalog.isOpen());
  EXPECT_STREQ(std::setlocale(LC_MESSAGES, nullptr), "C.UTF-8");
}

TEST_F(MsgCatTest, RetriesInTheCLocaleAndKeepsIt) {
  // Only the catalog of the "C" locale exists; the environment names
  // another locale, so the first attempt fails.
  std::filesystem::create_directories(path("C"));
  msgtest::makeCatalog(path("C/app.cat"), gs_source);
  m_nlspath.set(m_dir.path() + "/%L/%N");
  m_lcAll.set("C.UTF-8");
  KivClMessageCatalog catalog{KivClFilename("app")};
  EXPECT_TRUE(catalog.isOpen());
  EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "[TEST-CATALOG]");
  EXPECT_STREQ(std::setlocale(LC_MESSAGES, nullptr), "C");
}

TEST_F(MsgCatTest, FailingBothAttemptsLeavesTheCLocale) {
  m_lcAll.set("C.UTF-8");
  KivClMessageCatalog catalog{KivClFilename(path("missing").c_str())};
  EXPECT_FALSE(catalog.isOpen());
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

// ---------------------------------------------------------------------------
// String tables
// ---------------------------------------------------------------------------

TEST_F(MsgCatTest, BuiltInTableServesIdsUpTo220) {
  const std::string file = path("none.cat");
  KivClMessageCatalog catalog{KivClFilename(file.c_str())};
  catalog.useStringTable(kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
  KivClMessage last(catalog, 220);
  EXPECT_TRUE(last.isLoaded());
  EXPECT_STREQ(last.getText(), "[KIV-LIBRARY]");
  KivClMessage beyond(catalog, 221);
  EXPECT_FALSE(beyond.isLoaded());
  EXPECT_EQ(beyond.getText(), fallbackNotOpen(file));
  EXPECT_STREQ(KivClMessage(catalog, 0).getText(), "[KIV_MSGTAB_SIGNATURE] 221");
}

TEST_F(MsgCatTest, UseStringTableReplacesTheTable) {
  const char* const other[] = {"o0", "o1"};
  KivClMessageCatalog catalog{KivClFilename(path("none").c_str())};
  catalog.useStringTable(gs_table, gs_tableSize);
  EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "t1");
  catalog.useStringTable(other, 2);
  EXPECT_EQ(catalog.getStringTable(), other);
  EXPECT_EQ(catalog.getStringTableSize(), 2u);
  EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "o1");
  EXPECT_FALSE(KivClMessage(catalog, 3).isLoaded());
}

TEST_F(MsgCatTest, SizeLimitsTheTable) {
  KivClMessageCatalog catalog{KivClFilename(path("none").c_str())};
  catalog.useStringTable(gs_table, 3);
  EXPECT_TRUE(KivClMessage(catalog, 2).isLoaded());
  EXPECT_FALSE(KivClMessage(catalog, 3).isLoaded());
}

TEST_F(MsgCatTest, NullTableRemovesTheFallback) {
  KivClMessageCatalog catalog{KivClFilename(path("none").c_str())};
  catalog.useStringTable(gs_table, gs_tableSize);
  catalog.useStringTable(nullptr, 5);
  EXPECT_EQ(catalog.getStringTableSize(), 0u);
  EXPECT_FALSE(KivClMessage(catalog, 1).isLoaded());
}

// ---------------------------------------------------------------------------
// The library's own catalog, generated by the build
// ---------------------------------------------------------------------------

TEST_F(MsgCatTest, GeneratedCatalogIsFoundAlongNlspath) {
  m_nlspath.set(std::string(KIV_TEST_CATALOG_DIR) + "/%N");
  KivClMessageCatalog catalog;
  ASSERT_TRUE(catalog.isOpen());
  EXPECT_TRUE(catalog.isDefaultCatalog());
  EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "[KIV-LIBRARY]");
}

TEST_F(MsgCatTest, GeneratedCatalogMatchesTheBuiltInTableForEveryId) {
  m_nlspath.set(std::string(KIV_TEST_CATALOG_DIR) + "/%N");
  KivClMessageCatalog onDisk;
  ASSERT_TRUE(onDisk.isOpen());
  KivClMessageCatalog compiledIn{KivClFilename(path("none").c_str())};
  compiledIn.useStringTable(kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
  const char* const* table = kivMsgTabGetBuiltInTable();
  const char* const inserts[10] = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"};
  for (unsigned long id = 1; id < KIV_MSGTAB_SIZE; ++id) {
    const char* raw = onDisk.getCatalogText(id);
    ASSERT_NE(raw, nullptr) << "id " << id;
    EXPECT_STREQ(raw, table[id]) << "id " << id;
    KivClMessage fromDisk(onDisk, id, inserts);
    KivClMessage fromTable(compiledIn, id, inserts);
    EXPECT_TRUE(fromDisk.isLoaded()) << "id " << id;
    EXPECT_TRUE(fromTable.isLoaded()) << "id " << id;
    EXPECT_STREQ(fromDisk.getText(), fromTable.getText()) << "id " << id;
  }
  EXPECT_FALSE(KivClMessage(onDisk, KIV_MSGTAB_SIZE).isLoaded());
}

TEST_F(MsgCatTest, GeneratedCatalogKeepsNewlinesBackslashesAndPercentSigns) {
  m_nlspath.set(std::string(KIV_TEST_CATALOG_DIR) + "/%N");
  KivClMessageCatalog catalog;
  ASSERT_TRUE(catalog.isOpen());
  const std::string help = catalog.getCatalogText(152);
  EXPECT_NE(help.find("   %%\\   display the backslash character\n"), std::string::npos);
  EXPECT_NE(help.find("\n@\n"), std::string::npos);
  const std::string shown = KivClMessage(catalog, 152).getText();
  EXPECT_NE(shown.find("   %\\   display the backslash character\n"), std::string::npos);
  EXPECT_STREQ(catalog.getCatalogText(190), " *** Clipped ***");
}

// ---------------------------------------------------------------------------
// Proxy and flat interface
// ---------------------------------------------------------------------------

TEST_F(MsgCatTest, OpenReturnsNullForMissingCatalog) {
  EXPECT_EQ(kivMsgCatOpen(path("missing").c_str()), nullptr);
  EXPECT_EQ(kivMsgCatOpen(nullptr), nullptr);
}

TEST_F(MsgCatTest, OpenReturnsNullForCatalogWithoutMessageOne) {
  const std::string file = makeCatalog("noone", "$set 1\n2 two\n");
  EXPECT_EQ(kivMsgCatOpen(file.c_str()), nullptr);
}

TEST_F(MsgCatTest, OpenAndGetReadTheCatalog) {
  const std::string file = makeCatalog("app");
  KivClMessageCatalogProxy* handle = kivMsgCatOpen(path("app").c_str());
  ASSERT_NE(handle, nullptr);
  EXPECT_TRUE(handle->ownsCatalog());
  EXPECT_STREQ(kivMsgCatGet(handle, 1), "[TEST-CATALOG]");
  EXPECT_TRUE(kivMsgCatIsValid(handle, 3));
  EXPECT_FALSE(kivMsgCatIsValid(handle, 7));
  EXPECT_EQ(std::string(kivMsgCatGet(handle, 7)), fallbackMissing(7, file));
  kivMsgCatClose(handle);
}

TEST_F(MsgCatTest, GetOverwritesTheHandlesBuffer) {
  makeCatalog("app");
  KivClMessageCatalogProxy* handle = kivMsgCatOpen(path("app").c_str());
  ASSERT_NE(handle, nullptr);
  const char* first = kivMsgCatGet(handle, 3);
  EXPECT_STREQ(first, "cat three");
  const char* second = kivMsgCatGet(handle, 1);
  EXPECT_EQ(first, second);
  EXPECT_STREQ(first, "[TEST-CATALOG]");
  kivMsgCatClose(handle);
}

TEST_F(MsgCatTest, OpenedAlongNlspathByName) {
  makeCatalog("app");
  m_nlspath.set(m_dir.path() + "/%N");
  KivClMessageCatalogProxy* handle = kivMsgCatOpen("app");
  ASSERT_NE(handle, nullptr);
  EXPECT_STREQ(kivMsgCatGet(handle, 3), "cat three");
  kivMsgCatClose(handle);
}

TEST_F(MsgCatTest, OpenOrUseStringTableFallsBackOnTheTable) {
  const std::string file = path("missing.cat");
  KivClMessageCatalogProxy* handle = kivMsgCatOpenOrUseStringTable(
      path("missing").c_str(), kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
  ASSERT_NE(handle, nullptr);
  EXPECT_STREQ(kivMsgCatGet(handle, 1), "[KIV-LIBRARY]");
  EXPECT_STREQ(kivMsgCatGet(handle, 220), "[KIV-LIBRARY]");
  EXPECT_EQ(std::string(kivMsgCatGet(handle, 221)), fallbackNotOpen(file));
  // The proxy asks whether the text loads: id 0 of the table does.
  EXPECT_TRUE(kivMsgCatIsValid(handle, 0));
  EXPECT_TRUE(kivMsgCatIsValid(handle, 220));
  EXPECT_FALSE(kivMsgCatIsValid(handle, 221));
  kivMsgCatClose(handle);
}

TEST_F(MsgCatTest, OpenOrUseStringTableAcceptsANonConstTable) {
  const char* table[] = {"zero", "one"};
  KivClMessageCatalogProxy* handle =
      kivMsgCatOpenOrUseStringTable(path("missing").c_str(), table, 2);
  EXPECT_STREQ(kivMsgCatGet(handle, 1), "one");
  kivMsgCatClose(handle);
}

TEST_F(MsgCatTest, OpenOrUseStringTableUsesTheCatalogWhenItOpens) {
  const std::string file = makeCatalog("app");
  KivClMessageCatalogProxy* handle =
      kivMsgCatOpenOrUseStringTable(file.c_str(), gs_table, gs_tableSize);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(handle->getCatalog()->getStringTable(), nullptr);
  EXPECT_STREQ(kivMsgCatGet(handle, 3), "cat three");
  EXPECT_EQ(std::string(kivMsgCatGet(handle, 6)), fallbackMissing(6, file));
  kivMsgCatClose(handle);
}

TEST_F(MsgCatTest, OpenOrUseStringTableAnswersForCatalogWithoutMessageOne) {
  const std::string file = makeCatalog("noone", "$set 1\n2 two\n");
  KivClMessageCatalogProxy* handle =
      kivMsgCatOpenOrUseStringTable(file.c_str(), gs_table, gs_tableSize);
  ASSERT_NE(handle, nullptr);
  EXPECT_STREQ(kivMsgCatGet(handle, 2), "t2 ???");
  kivMsgCatClose(handle);
}

TEST_F(MsgCatTest, AttachRefusesACatalogThatIsNotOpen) {
  KivClMessageCatalog catalog{KivClFilename(path("missing").c_str())};
  catalog.useStringTable(gs_table, gs_tableSize);
  EXPECT_EQ(kivMsgCatOpenAttach(&catalog), nullptr);
  EXPECT_EQ(kivMsgCatOpenAttach(nullptr), nullptr);
  // The catalog is untouched.
  EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "t1");
}

TEST_F(MsgCatTest, AttachedCatalogSurvivesTheHandle) {
  makeCatalog("app");
  KivClMessageCatalog catalog{KivClFilename(path("app").c_str())};
  KivClMessageCatalogProxy* handle = kivMsgCatOpenAttach(&catalog);
  ASSERT_NE(handle, nullptr);
  EXPECT_FALSE(handle->ownsCatalog());
  EXPECT_EQ(handle->getCatalog(), &catalog);
  EXPECT_STREQ(kivMsgCatGet(handle, 3), "cat three");
  kivMsgCatClose(handle);
  EXPECT_TRUE(catalog.isOpen());
  EXPECT_STREQ(KivClMessage(catalog, 3).getText(), "cat three");
}

TEST_F(MsgCatTest, NullHandleIsHarmless) {
  kivMsgCatClose(nullptr);
  EXPECT_FALSE(kivMsgCatIsValid(nullptr, 1));
  EXPECT_EQ(kivMsgCatGet(nullptr, 1), nullptr);
  EXPECT_EQ(kivMsgCatGetVar(nullptr, 1, "a", nullptr), nullptr);
}

TEST_F(MsgCatTest, HandlesAndTheirCatalogsUseTheMemoryManager) {
  msgtest::CountingMemoryManager counter;
  KivClMessageCatalogProxy* handle =
      kivMsgCatOpenOrUseStringTable(path("missing").c_str(), gs_table, gs_tableSize);
  EXPECT_EQ(counter.allocations(), 2);
  kivMsgCatClose(handle);
  EXPECT_EQ(counter.releases(), 2);

  EXPECT_EQ(kivMsgCatOpen(path("missing").c_str()), nullptr);
  EXPECT_EQ(counter.allocations(), 4);
  EXPECT_EQ(counter.releases(), 4);
}

class GetVarTest : public MsgCatTest {
 protected:
  void SetUp() override {
    m_handle = kivMsgCatOpenOrUseStringTable(path("missing").c_str(), kivMsgTabGetBuiltInTable(),
                                             KIV_MSGTAB_SIZE);
    ASSERT_NE(m_handle, nullptr);
  }
  void TearDown() override { kivMsgCatClose(m_handle); }

  // Message 2 with the first `count` letters as inserts and "???" after.
  static std::string expected(int count) {
    std::string text = "Percent:%";
    for (int i = 1; i <= 10; ++i) {
      text += " Arg" + std::to_string(i) + ":";
      text += i <= count ? std::string(1, static_cast<char>('a' + i - 1)) : "???";
    }
    return text;
  }

  KivClMessageCatalogProxy* m_handle = nullptr;
};

TEST_F(GetVarTest, NoInserts) {
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, nullptr, nullptr)), expected(0));
}

TEST_F(GetVarTest, OneToTenInserts) {
  using S = const char*;
  const S n = nullptr;
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, "a", n)), expected(1));
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, "a", "b", n)), expected(2));
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, "a", "b", "c", n)), expected(3));
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, "a", "b", "c", "d", n)), expected(4));
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, "a", "b", "c", "d", "e", n)), expected(5));
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, "a", "b", "c", "d", "e", "f", n)),
            expected(6));
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, "a", "b", "c", "d", "e", "f", "g", n)),
            expected(7));
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, "a", "b", "c", "d", "e", "f", "g", "h", n)),
            expected(8));
  EXPECT_EQ(
      std::string(kivMsgCatGetVar(m_handle, 2, "a", "b", "c", "d", "e", "f", "g", "h", "i", n)),
      expected(9));
  EXPECT_EQ(std::string(
                kivMsgCatGetVar(m_handle, 2, "a", "b", "c", "d", "e", "f", "g", "h", "i", "j", n)),
            expected(10));
}

TEST_F(GetVarTest, ElevenInsertsUseTheFirstTen) {
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, "a", "b", "c", "d", "e", "f", "g", "h", "i",
                                        "j", "k", static_cast<const char*>(nullptr))),
            expected(10));
}

TEST_F(GetVarTest, ArgumentAfterANullFirstInsertIsStillRead) {
  EXPECT_EQ(std::string(
                kivMsgCatGetVar(m_handle, 2, nullptr, "b", "c", static_cast<const char*>(nullptr))),
            "Percent:% Arg1:??? Arg2:b Arg3:c Arg4:??? Arg5:??? Arg6:??? Arg7:??? Arg8:??? "
            "Arg9:??? Arg10:???");
}

TEST_F(GetVarTest, ListEndsAtTheFirstNull) {
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, "a", "b", static_cast<const char*>(nullptr),
                                        "d", "e")),
            expected(2));
}

TEST_F(MsgCatTest, ProxyGetMessageWithInsertArray) {
  KivClMessageCatalogProxy proxy(KivClFilename(path("missing").c_str()), gs_table, gs_tableSize);
  const char* inserts[10] = {"X"};
  EXPECT_STREQ(proxy.getMessage(2, inserts), "t2 X");
  EXPECT_STREQ(proxy.getMessage(2), "t2 ???");
  EXPECT_TRUE(proxy.isValidMessageId(7));
  EXPECT_FALSE(proxy.isValidMessageId(8));
}

// The handle's buffer is overwritten only once the new text is complete,
// so the text fetched before can be an insert of the next one.
TEST_F(GetVarTest, InsertMayBeTheTextFetchedBefore) {
  const char* previous = kivMsgCatGet(m_handle, 3);
  ASSERT_STREQ(previous, "YES");
  EXPECT_EQ(std::string(kivMsgCatGetVar(m_handle, 2, previous, "b", nullptr)),
            "Percent:% Arg1:YES Arg2:b Arg3:??? Arg4:??? Arg5:??? Arg6:??? Arg7:??? Arg8:??? "
            "Arg9:??? Arg10:???");
}

TEST_F(MsgCatTest, ProxyGetMessageMayUseItsOwnBufferAsInsert) {
  KivClMessageCatalogProxy proxy(KivClFilename(path("missing").c_str()), gs_table, gs_tableSize);
  const char* inserts[10] = {proxy.getMessage(3)};
  EXPECT_STREQ(proxy.getMessage(2, inserts), "t2 t3");
}

TEST_F(MsgCatTest, ProxyWithoutTableAnswersWithTheFallback) {
  KivClMessageCatalogProxy proxy{KivClFilename(path("missing").c_str())};
  EXPECT_TRUE(proxy.ownsCatalog());
  EXPECT_FALSE(proxy.getCatalog()->isOpen());
  EXPECT_EQ(std::string(proxy.getMessage(1)), fallbackNotOpen(path("missing.cat")));
  EXPECT_FALSE(proxy.isValidMessageId(1));
}

TEST_F(MsgCatTest, ProxyAttachedToNullAnswersEmpty) {
  KivClMessageCatalogProxy proxy(static_cast<const KivClMessageCatalog*>(nullptr));
  EXPECT_STREQ(proxy.getMessage(1), "");
  EXPECT_FALSE(proxy.isValidMessageId(1));
}

TEST_F(MsgCatTest, VeryLongFallbackFitsTheHandlesBuffer) {
  const std::string longName(4090, 'n');
  KivClMessageCatalogProxy* handle = kivMsgCatOpenOrUseStringTable(longName.c_str(), nullptr, 0);
  ASSERT_NE(handle, nullptr);
  const std::string text = kivMsgCatGet(handle, 1);
  EXPECT_EQ(text.size(), KIV_MESSAGE_MAX_LENGTH);
  EXPECT_EQ(text, fallbackNotOpen(longName + ".cat").substr(0, KIV_MESSAGE_MAX_LENGTH));
  kivMsgCatClose(handle);
}

}  // namespace
