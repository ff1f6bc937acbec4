// Message catalog files that are not what they claim, and the search for
// them along NLSPATH.
//
// A malformed catalog must leave the catalog not open without harming the
// process: each one is opened in a child process, which must end normally,
// silently and with the catalog not open. The malformed files are a fixed
// file of twelve bytes and variants of a real catalog made with gencat. An
// open catalog must keep its texts when its file shrinks or changes
// afterwards. And the library must find the very file that the platform's
// catopen finds, for every kind of NLSPATH element.

#include <gtest/gtest.h>
#include <nl_types.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_test_support.hpp"
#include "msg_test_helpers.hpp"

namespace {

const char* const gs_source =
    "$quote \"\n"
    "$set 1\n"
    "1 \"[TEST-CATALOG]\"\n"
    "2 \"second\"\n"
    "3 \"third\"\n"
    "$set 2\n"
    "4 \"other set\"\n";

// How a child that opened the library's default catalog ended.
constexpr int kNotOpen = 0;    // not open (the child just returns)
constexpr int kOpen = 3;       // open, message 1 as written
constexpr int kWrongText = 4;  // open, but message 1 is not what was written
constexpr int kFlatDiffers = 5;

// Catalog file words: 0 the magic number, 1 the hash table size, 2 its depth.
std::uint32_t wordOf(const std::string& bytes, std::size_t index) {
  std::uint32_t word;
  std::memcpy(&word, bytes.data() + 4 * index, 4);
  return word;
}

std::string withWord(std::string bytes, std::size_t index, std::uint32_t word) {
  std::memcpy(bytes.data() + 4 * index, &word, 4);
  return bytes;
}

class MsgCatFileTest : public ::testing::Test {
 protected:
  MsgCatFileTest() { m_lcAll.set("C"); }

  // The bytes gencat makes of `source`.
  std::string gencatOutput(const char* source = gs_source) {
    const std::string file = m_dir / "made.cat";
    msgtest::makeCatalog(file, source);
    return kivtest::readRequiredFile(file);
  }

  // Writes `bytes` as qrnmsg50.cat into a directory named by NLSPATH and
  // opens the library's default catalog in a child process, by the class
  // and by the flat interface.
  kivtest::ChildResult openInChild(const std::string& bytes) {
    kivtest::writeFile(m_dir / "qrnmsg50.cat", bytes);
    kivtest::ChildRun run;
    run.env = {{"NLSPATH", m_dir.path() + "/%N"}, {"LC_ALL", "C"}};
    return kivtest::runInFork(
        [] {
          const KivClMessageCatalog catalog;
          KivClMessageCatalogProxy* handle = kivMsgCatOpen(KIV_MSGCAT_DEFAULT_NAME);
          const bool flatOpen = handle != nullptr;
          kivMsgCatClose(handle);
          if (flatOpen != catalog.isOpen()) _exit(kFlatDiffers);
          if (!catalog.isOpen()) return;
          const bool same = std::strcmp(KivClMessage(catalog, 1).getText(), "[TEST-CATALOG]") == 0;
          _exit(same ? kOpen : kWrongText);
        },
        run);
  }

  // The file of `bytes` does not open, and the child ended well and
  // silently.
  void expectNotOpen(const std::string& bytes, const std::string& what) {
    const kivtest::ChildResult result = openInChild(bytes);
    EXPECT_EQ(result.signal, 0) << what << ": the child died";
    EXPECT_FALSE(result.killed) << what;
    EXPECT_EQ(result.exitCode, kNotOpen) << what;
    EXPECT_EQ(result.out, "") << what;
    EXPECT_EQ(result.err, "") << what;
  }

  void expectOpen(const std::string& bytes, const std::string& what) {
    const kivtest::ChildResult result = openInChild(bytes);
    EXPECT_EQ(result.signal, 0) << what << ": the child died";
    EXPECT_EQ(result.exitCode, kOpen) << what;
    EXPECT_EQ(result.out, "") << what;
    EXPECT_EQ(result.err, "") << what;
  }

  kivtest::EnvGuard m_lcAll{"LC_ALL"};
  kivtest::TempDir m_dir;
};

// ---------------------------------------------------------------------------
// Malformed catalog files
// ---------------------------------------------------------------------------

TEST_F(MsgCatFileTest, TwelveBytesThatDeclareAHugeTableAreNotOpen) {
  const std::string bytes("\xde\x08\x04\x96\x00\x00\x89\xb6\xa8\x00\x00\x00", 12);
  expectNotOpen(bytes, "twelve bytes");
}

TEST_F(MsgCatFileTest, GencatOutputOpens) {
  expectOpen(gencatOutput(), "gencat output");
}

TEST_F(MsgCatFileTest, TruncatedCatalogsAreNotOpen) {
  const std::string good = gencatOutput();
  const std::size_t tables = 12 + 2 * 12 * std::size_t{wordOf(good, 1)} * wordOf(good, 2);
  ASSERT_LT(tables, good.size());
  for (const std::size_t length : {std::size_t{0}, std::size_t{4}, std::size_t{11}, std::size_t{12},
                                   std::size_t{13}, tables - 1, tables, good.size() - 1}) {
    expectNotOpen(good.substr(0, length), "cut to " + std::to_string(length) + " bytes");
  }
}

TEST_F(MsgCatFileTest, WrongMagicNumberIsNotOpen) {
  const std::string good = gencatOutput();
  expectNotOpen(withWord(good, 0, wordOf(good, 0) ^ 1), "magic number off by one bit");
  expectNotOpen(withWord(good, 0, 0), "magic number 0");
}

TEST_F(MsgCatFileTest, TablesBeyondTheEndAreNotOpen) {
  const std::string good = gencatOutput();
  const std::uint32_t size = wordOf(good, 1);
  // One row more than the file can hold.
  const auto depth = static_cast<std::uint32_t>((good.size() - 12) / (2 * 12 * size) + 1);
  expectNotOpen(withWord(good, 2, depth), "tables just beyond the end");
  expectNotOpen(withWord(good, 2, 0x00100000), "tables far beyond the end");
  expectNotOpen(withWord(good, 1, 0x7fffffff), "a table size that overflows");
  expectNotOpen(withWord(withWord(good, 1, 0x10000), 2, 0x10000),
                "size times depth beyond 32 bits");
}

TEST_F(MsgCatFileTest, TableSizeZeroIsNotOpen) {
  const std::string good = gencatOutput();
  expectNotOpen(withWord(good, 1, 0), "hash table size 0");
}

// catgets still reads one row of a bucket when the depth is 0.
TEST_F(MsgCatFileTest, TableDepthZeroIsNotOpen) {
  const std::string good = gencatOutput();
  expectNotOpen(withWord(good, 2, 0), "hash table depth 0");
  std::string swapped = good;
  for (const std::size_t word : {std::size_t{0}, std::size_t{1}, std::size_t{2}}) {
    swapped = withWord(swapped, word, __builtin_bswap32(wordOf(good, word)));
  }
  expectNotOpen(withWord(swapped, 2, 0), "hash table depth 0, other byte order");
  // A catalog that the fuzzer found: depth 0, other byte order, and a text
  // for message 1 where catgets looks although no row is declared.
  const std::string found(
      "\x96\x04\x08\xde\x07\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"
      "\x02\x00\x00\x00\x0e\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"
      "\x3c\x00\x00\x00\x02\x00\x00\x00\x01\x00\x00\x00\x00\x00\x00\x00"
      "\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x00\x00"
      "\x02\x00\x00\x00\x0e\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"
      "\x00\x00\x00\x00\x02\x00\x00\x00\x03\x00\x00\x00\x33\x5b\x4b\x49"
      "\x56\x2d\x4c\x49\x42\x52\x41\x52\x59\x5d\x00\x50\x65\x72\x63\x65"
      "\x6e\x74\x3a\x25\x25\x20\x41\x72\x67\x31\x3a\x25\x31\x20\x41\x72"
      "\x67\x32\x3a\x25\x00\x00\x00\x00\x02\x00\x00\x00\x03\x00\x00\x00"
      "\x33\x5b\x4b\x49\x56\x2d\x4c\x49\x42\x52\x41\x52\x59\x5d\x00\x50"
      "\x69\x6e\x2e\x00\x28\x2d\x6b\x65\x79\x20\x3c\x6b\x65\x79\x3e\x29"
      "\x20\x5b\x2d\x64\x69\x73\x70\x6c\x61\x79\x5d\x00",
      188);
  expectNotOpen(found, "found by fuzzing");
}

TEST_F(MsgCatFileTest, TextOffsetsBeyondTheEndAreNotOpen) {
  const std::string good = gencatOutput();
  const std::size_t entries = std::size_t{wordOf(good, 1)} * wordOf(good, 2);
  const std::size_t texts = 12 + 2 * 12 * entries;
  // The table this machine reads is the first (little-endian) one; its
  // third word of an entry is the offset of the text.
  std::size_t used = entries;
  for (std::size_t i = 0; i < entries; ++i) {
    if (wordOf(good, 3 + 3 * i) != 0) used = i;
  }
  ASSERT_LT(used, entries);
  const std::size_t offsetWord = 3 + 3 * used + 2;
  expectNotOpen(withWord(good, offsetWord, static_cast<std::uint32_t>(good.size() - texts)),
                "a text starting at the end");
  expectNotOpen(withWord(good, offsetWord, 0xfffffff0), "a text far beyond the end");
}

TEST_F(MsgCatFileTest, CatalogWrittenInTheOtherByteOrderOpens) {
  // A machine of the other byte order writes the header in its own order;
  // the two tables are the same.
  std::string swapped = gencatOutput();
  for (std::size_t i = 0; i < 3; ++i) swapped = withWord(swapped, i, __builtin_bswap32(wordOf(swapped, i)));
  expectOpen(swapped, "header in the other byte order");
}

TEST_F(MsgCatFileTest, SwappedMagicAloneIsNotOpen) {
  // The sizes are then read in the other byte order, far beyond the end.
  const std::string good = gencatOutput();
  expectNotOpen(withWord(good, 0, __builtin_bswap32(wordOf(good, 0))), "swapped magic number");
}

TEST_F(MsgCatFileTest, DirectoryAndEmptyFileAreNotOpen) {
  expectNotOpen("", "empty file");
  std::filesystem::create_directories(m_dir / "sub/qrnmsg50.cat");
  kivtest::ChildRun run;
  run.env = {{"NLSPATH", m_dir.path() + "/sub/%N"}, {"LC_ALL", "C"}};
  const kivtest::ChildResult result = kivtest::runInFork(
      [] {
        if (KivClMessageCatalog().isOpen()) _exit(kOpen);
      },
      run);
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.exitCode, kNotOpen);
}

// ---------------------------------------------------------------------------
// The file changes after the catalog was opened
// ---------------------------------------------------------------------------

TEST_F(MsgCatFileTest, OpenCatalogKeepsItsTextsWhenTheFileShrinksOrChanges) {
  // Many pages of texts, so that a mapping of the file itself would meet
  // pages that no longer exist.
  constexpr int kCount = 3000;
  std::string source = "$quote \"\n$set 1\n1 \"[TEST-CATALOG]\"\n";
  for (int id = 2; id <= kCount; ++id) {
    source += std::to_string(id) + " \"text " + std::to_string(id) + std::string(40, '.') + "\"\n";
  }
  const std::string file = m_dir / "big.cat";
  msgtest::makeCatalog(file, source);
  const std::string original = kivtest::readRequiredFile(file);

  kivtest::ChildRun run;
  run.env = {{"LC_ALL", "C"}};
  const kivtest::ChildResult result = kivtest::runInFork(
      [&] {
        const KivClMessageCatalog catalog{KivClFilename(file.c_str())};
        if (!catalog.isOpen()) _exit(6);
        const auto allTextsKept = [&] {
          for (int id = 2; id <= kCount; ++id) {
            const std::string expected = "text " + std::to_string(id) + std::string(40, '.');
            if (KivClMessage(catalog, static_cast<unsigned long>(id)).getText() != expected) {
              return false;
            }
          }
          return true;
        };
        // Changed in place, same size.
        kivtest::writeFile(file, std::string(original.size(), 'x'));
        if (!allTextsKept()) _exit(7);
        // Shrunk to nothing.
        if (::truncate(file.c_str(), 0) != 0) _exit(8);
        if (!allTextsKept()) _exit(9);
      },
      run);
  EXPECT_EQ(result.signal, 0) << "the child died";
  EXPECT_EQ(result.exitCode, 0) << result.err;
}

// ---------------------------------------------------------------------------
// The search along NLSPATH finds what catopen finds
// ---------------------------------------------------------------------------

class MsgCatSearchTest : public ::testing::Test {
 protected:
  MsgCatSearchTest() {
    // A locale named with language, territory and code set: a copy of the
    // system's C.utf8 under that name, found through LOCPATH.
    std::filesystem::create_directories(m_dir / "locales");
    std::filesystem::copy("/usr/lib/locale/C.utf8", m_dir / "locales/de_DE.UTF-8",
                          std::filesystem::copy_options::recursive);
    m_locpath.set(m_dir / "locales");
    m_lang.unset();
    m_lcMessages.unset();
    for (const char* place : {"plain", "C", "C.UTF-8", "de_DE.UTF-8", "de", "DE", "UTF-8",
                              "pct%sign", "cwd"}) {
      // Message 1 names the place; a "%" would be an insert there.
      std::string label = place;
      std::replace(label.begin(), label.end(), '%', '-');
      std::filesystem::create_directories(m_dir / place);
      msgtest::makeCatalog(m_dir / (std::string(place) + "/app.cat"),
                           ("$set 1\n1 " + label + "\n").c_str());
    }
    std::filesystem::create_directories(m_dir / "isdir/app.cat");
  }

  // Message 1 of the catalog "app" as the library opens it: the name of
  // the directory it was found in ("%" written as "-"), or "" when it is not
  // open.
  std::string openedByLibrary() {
    const msgtest::LocaleGuard locale;
    const KivClMessageCatalog catalog{KivClFilename("app")};
    return catalog.isOpen() ? KivClMessage(catalog, 1).getText() : "";
  }

  // The same through the platform's catopen, with the library's locale
  // steps (the environment's locale, then "C").
  std::string openedByCatopen() {
    const msgtest::LocaleGuard locale;
    std::setlocale(LC_ALL, "");
    nl_catd catd = catopen("app.cat", NL_CAT_LOCALE);
    if (catd == reinterpret_cast<nl_catd>(-1) && std::setlocale(LC_ALL, "C") != nullptr) {
      catd = catopen("app.cat", NL_CAT_LOCALE);
    }
    if (catd == reinterpret_cast<nl_catd>(-1)) return "";
    const std::string text = catgets(catd, 1, 1, "");
    catclose(catd);
    return text;
  }

  // Sets NLSPATH (with "<dir>" standing for the test directory) and the
  // locale variable `variable`.
  void setSearch(const std::string& nlspath, const char* variable, const char* locale) {
    std::string path = nlspath;
    for (std::size_t at = path.find("<dir>"); at != std::string::npos; at = path.find("<dir>")) {
      path.replace(at, 5, m_dir.path());
    }
    m_nlspath.set(path);
    m_lcAll.unset();
    setenv(variable, locale, 1);
  }

  kivtest::EnvGuard m_nlspath{"NLSPATH"};
  kivtest::EnvGuard m_lcAll{"LC_ALL"};
  kivtest::EnvGuard m_lcMessages{"LC_MESSAGES"};
  kivtest::EnvGuard m_lang{"LANG"};
  kivtest::EnvGuard m_locpath{"LOCPATH"};
  kivtest::CwdGuard m_cwd;
  kivtest::TempDir m_dir;
};

struct SearchCase {
  const char* nlspath;
  const char* variable;
  const char* locale;
  const char* found;  // the directory the catalog comes from; "" for none
};

TEST_F(MsgCatSearchTest, FindsTheSameFileAsCatopen) {
  ASSERT_EQ(::chdir((m_dir / "cwd").c_str()), 0);
  const SearchCase cases[] = {
      {"<dir>/plain/%N", "LC_ALL", "C", "plain"},
      {"<dir>/missing/%N:<dir>/plain/%N", "LC_ALL", "C", "plain"},
      {"<dir>/%L/%N", "LC_ALL", "de_DE.UTF-8", "de_DE.UTF-8"},
      {"<dir>/%l/%N", "LC_ALL", "de_DE.UTF-8", "de"},
      {"<dir>/%t/%N", "LC_ALL", "de_DE.UTF-8", "DE"},
      {"<dir>/%c/%N", "LC_ALL", "de_DE.UTF-8", "UTF-8"},
      {"<dir>/%L/%N", "LC_ALL", "C.UTF-8", "C.UTF-8"},
      {"<dir>/%l/%N", "LC_ALL", "C.UTF-8", "C"},
      {"<dir>/%c/%N", "LC_ALL", "C.UTF-8", "UTF-8"},
      {"<dir>/%L/%N", "LC_MESSAGES", "de_DE.UTF-8", "de_DE.UTF-8"},
      {"<dir>/%L/%N", "LANG", "de_DE.UTF-8", "de_DE.UTF-8"},
      // Without a territory %t gives nothing: "<dir>//app.cat" is not there.
      {"<dir>/%t/%N", "LC_ALL", "C", ""},
      // The locale of the environment does not exist: the "C" attempt.
      {"<dir>/%L/%N", "LC_ALL", "xx_YY.UTF-8", "C"},
      {"<dir>/pct%%sign/%N", "LC_ALL", "C", "pct-sign"},
      // An unknown replacement drops its element.
      {"<dir>/%q/%N:<dir>/plain/%N", "LC_ALL", "C", "plain"},
      {"<dir>/plain/%N%q:<dir>/C/%N", "LC_ALL", "C", "C"},
      // An empty element is the name itself, in the current directory.
      {":<dir>/plain/%N", "LC_ALL", "C", "cwd"},
      {"<dir>/missing/%N::<dir>/plain/%N", "LC_ALL", "C", "cwd"},
      // A "%" at the end of an element takes the ":" after it for its
      // letter and so drops the next element too.
      {"<dir>/missing/%::<dir>/plain/%N", "LC_ALL", "C", "plain"},
      // The first name that opens ends the search, even a directory.
      {"<dir>/isdir/%N:<dir>/plain/%N", "LC_ALL", "C", ""},
      // Only the default places.
      {"", "LC_ALL", "C", ""},
  };
  for (const SearchCase& c : cases) {
    setSearch(c.nlspath, c.variable, c.locale);
    const std::string what = std::string(c.nlspath) + " with " + c.variable + "=" + c.locale;
    EXPECT_EQ(openedByCatopen(), c.found) << what;
    EXPECT_EQ(openedByLibrary(), c.found) << what;
    unsetenv(c.variable);
  }
}

TEST_F(MsgCatSearchTest, UnsetNlspathSearchesOnlyTheDefaultPlaces) {
  ASSERT_EQ(::chdir((m_dir / "cwd").c_str()), 0);
  m_nlspath.unset();
  m_lcAll.set("C");
  EXPECT_EQ(openedByCatopen(), "");
  EXPECT_EQ(openedByLibrary(), "");
}

}  // namespace
