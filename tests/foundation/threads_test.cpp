// Independent objects in several threads: the library starts no threads and
// takes no locks, but objects that share nothing must work side by side in
// threads of the caller. Each test runs the same work in several threads at
// once, every thread on its own objects (or on objects that are only read,
// such as a catalog made before the threads start), and checks every result
// against the values that the work must give.
//
// These tests carry the CTest label "threads"; `make tsan` runs them under
// ThreadSanitizer, which reports any access to shared state that is not
// ordered between the threads. Objects that open a message catalog are made
// before the threads start: opening a catalog sets the process locale.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "kiv_base.hpp"
#include "kiv_conui.hpp"
#include "kiv_directory.hpp"
#include "kiv_dirwalk.hpp"
#include "kiv_error.hpp"
#include "kiv_exception.hpp"
#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"
#include "kiv_inisave.hpp"
#include "kiv_language.hpp"
#include "kiv_location.hpp"
#include "kiv_mempool.hpp"
#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_strmatch.hpp"
#include "kiv_test_support.hpp"

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 25;

// What one thread found wrong; empty when everything was right.
class Findings {
 public:
  void expect(bool ok, const std::string& what) {
    if (!ok) m_text += what + "\n";
  }
  void expectEqual(const std::string& actual, const std::string& expected,
                   const std::string& what) {
    if (actual != expected) {
      m_text += what + ": \"" + actual + "\", expected \"" + expected + "\"\n";
    }
  }
  const std::string& text() const { return m_text; }

 private:
  std::string m_text;
};

// Runs work(thread, findings) in kThreads threads at once, each kRounds
// times, and fails the test with what any thread found.
void runInThreads(const std::function<void(int, Findings&)>& work) {
  std::vector<Findings> findings(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&work, &findings, t] {
      for (int round = 0; round < kRounds && findings[t].text().empty(); ++round) {
        work(t, findings[t]);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(findings[t].text(), "") << "thread " << t;
}

std::string str(const char* text) { return text != nullptr ? text : "(null)"; }

// ---------------------------------------------------------------------------
// INI files
// ---------------------------------------------------------------------------

// The text of thread t: its own section with twenty numbered options.
std::string iniText(int t) {
  std::string text = "[thread" + std::to_string(t) + "]\n";
  for (int i = 0; i < 20; ++i) {
    text += "key" + std::to_string(i) + " = " + std::to_string(t * 100 + i) + "\n";
  }
  return text;
}

void checkIniModel(const KivClIniFile& ini, int t, Findings& findings) {
  findings.expect(ini.getSection(("thread" + std::to_string(t)).c_str()), "section");
  for (int i = 0; i < 20; i += 7) {
    long value = -1;
    findings.expect(ini.getOption(("key" + std::to_string(i)).c_str(), value), "option");
    findings.expect(value == t * 100 + i, "value of key" + std::to_string(i));
  }
}

TEST(Threads, IniFilesLoadAndSaveSideBySide) {
  std::vector<std::unique_ptr<kivtest::TempDir>> dirs;
  for (int t = 0; t < kThreads; ++t) dirs.push_back(std::make_unique<kivtest::TempDir>());
  runInThreads([&](int t, Findings& findings) {
    const std::string text = iniText(t);
    const std::string path = *dirs[t] / "saved.ini";
    {
      KivClIniFileSave ini{KivClFilename(path.c_str())};
      findings.expect(ini.loadFromBuffer(text.data(), text.size(), '\n', true, false), "buffer");
      checkIniModel(ini, t, findings);
      findings.expect(ini.save(), "save");
    }
    KivClIniFile reread{KivClFilename(path.c_str())};
    findings.expect(reread.load(false), "load");
    checkIniModel(reread, t, findings);
  });
}

// ---------------------------------------------------------------------------
// File names and directories
// ---------------------------------------------------------------------------

TEST(Threads, FileNamesAreEditedSideBySide) {
  runInThreads([](int t, Findings& findings) {
    const std::string dir = "/data/thread" + std::to_string(t);
    KivClFilename name((dir + "/report.txt").c_str());
    name.setNewExtension("ini");
    findings.expectEqual(str(name.getAsCString()), dir + "/report.ini", "new extension");
    name.setNewBaseName(("base" + std::to_string(t)).c_str());
    findings.expectEqual(str(name.getName()), "base" + std::to_string(t) + ".ini", "name");
    findings.expectEqual(str(name.getExtension()), ".ini", "extension");
    char path[KIV_PATH_MAX_LENGTH + 1];
    findings.expect(name.extractPath(path, true), "path");
    findings.expectEqual(path, dir + "/", "extracted path");
    findings.expect(name.matchesWildcardPattern("base?.ini"), "wildcard");
    const KivClLocation location(name);
    findings.expectEqual(str(location.getAsCString()), dir + "/", "location");
  });
}

TEST(Threads, DirectoryTreesAreMadeWalkedAndRemovedSideBySide) {
  std::vector<std::unique_ptr<kivtest::TempDir>> dirs;
  for (int t = 0; t < kThreads; ++t) dirs.push_back(std::make_unique<kivtest::TempDir>());
  runInThreads([&](int t, Findings& findings) {
    const std::string root = *dirs[t] / "tree";
    KivClDirectory deep((root + "/a/b").c_str());
    findings.expect(deep.create(), "create");
    kivtest::writeFile(root + "/file", "x");
    kivtest::writeFile(root + "/a/b/inner", "y");
    KivClDirectory top(root.c_str());
    std::set<std::string> names;
    for (KivClDirectoryWalk walk(top); walk.isValid(); walk.setToNext()) {
      names.insert(str(walk.getNameWithoutPath()) + (walk.isSubDirectory() ? "/" : ""));
    }
    findings.expect(names == std::set<std::string>{".", "..", "a/", "file"}, "walk");
    findings.expect(top.removeAll(true), "remove");
    findings.expect(!top.isExistent(), "removed");
  });
}

// ---------------------------------------------------------------------------
// String search and matching
// ---------------------------------------------------------------------------

TEST(Threads, SearchObjectsMatchSideBySide) {
  runInThreads([](int t, Findings& findings) {
    const std::string needle = "needle" + std::to_string(t);
    const std::string text = "hay hay NEEDLE" + std::to_string(t) + " hay " + needle;
    const KivClStringSearch exact(needle.c_str(), false);
    const KivClStringSearch folded(needle.c_str(), true);
    const char* found = exact.getPattern(text.c_str());
    findings.expect(found != nullptr && found - text.c_str() == 20, "exact search");
    found = folded.getPattern(text.c_str());
    findings.expect(found != nullptr && found - text.c_str() == 8, "ignore-case search");
    const KivClStringMatchWildcards wildcards("hay*needle?", true);
    findings.expect(wildcards.getPattern(text.c_str()) == text.c_str(), "wildcards");
    const KivClGrep grep(("NEEDLE" + std::to_string(t) + " hay").c_str(), false);
    found = grep.getPattern(text.c_str());
    findings.expect(found != nullptr && found - text.c_str() == 8, "grep");
    findings.expect(kivMatchesWildcardPattern("*.TXT", "file.txt", false), "matcher");
  });
}

// ---------------------------------------------------------------------------
// Memory pools
// ---------------------------------------------------------------------------

TEST(Threads, MemoryPoolsGrowAndReleaseSideBySide) {
  runInThreads([](int t, Findings& findings) {
    KivClMemoryPool pool(4096, 4096, 256);
    std::vector<unsigned char*> chunks;
    for (int i = 0; i < 40; ++i) {
      auto* chunk = static_cast<unsigned char*>(pool.allocate(500));
      findings.expect(chunk != nullptr, "chunk");
      if (chunk == nullptr) return;
      std::memset(chunk, t * 40 + i, 500);
      chunks.push_back(chunk);
    }
    for (int i = 0; i < 40; ++i) {
      findings.expect(chunks[i][0] == static_cast<unsigned char>(t * 40 + i) &&
                          chunks[i][499] == static_cast<unsigned char>(t * 40 + i),
                      "chunk contents");
    }
    // Eight chunks of 504 bytes fill a block.
    findings.expect(pool.getBlockCount() == 5, "block count");
    pool.deleteAll();
    std::uint64_t block = 0;
    findings.expect(pool.allocate(500, block) != nullptr && block == 1, "first block again");
  });
}

// ---------------------------------------------------------------------------
// Messages, language tables and error texts
// ---------------------------------------------------------------------------

// A catalog whose file does not exist, answering from the built-in table.
// Made before the threads start and only read by them.
class BuiltInCatalog {
 public:
  BuiltInCatalog() : m_catalog(KivClFilename((m_dir / "none").c_str())) {
    m_catalog.useStringTable(kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE);
  }
  const KivClMessageCatalog& get() const { return m_catalog; }

 private:
  kivtest::TempDir m_dir;
  KivClMessageCatalog m_catalog;
};

TEST(Threads, MessagesOverTheBuiltInTableSideBySide) {
  const BuiltInCatalog catalog;
  // The help text with its "%%" replaced, as one thread alone reads it.
  const std::string help = KivClMessage(catalog.get(), 152).getText();
  ASSERT_GT(help.size(), KIV_MESSAGE_INLINE_LENGTH);
  runInThreads([&](int, Findings& findings) {
    const KivClMessage name(catalog.get(), kivErrorGetIdAsMessageId(KIV_MEMMGR_USER_OUT_OF_MEMORY));
    findings.expectEqual(str(name.getText()), "MEMMGR_USER_OUT_OF_MEMORY", "error id name");
    const KivClMessage severity(catalog.get(),
                                kivErrorGetSeverityAsMessageId(KivEnErrorSeverity::FATAL));
    findings.expectEqual(str(severity.getText()), "FATAL", "severity name");
    // A long text goes to the heap through the memory manager.
    KivClMessage copy(name);
    copy.setNewMessageId(152);
    findings.expect(copy.isLoaded() && help == copy.getText(), "help text");
    const KivClMessage missing(catalog.get(), 5000);
    findings.expect(!missing.isLoaded(), "missing message");
  });
}

TEST(Threads, LanguageTagsAreParsedSideBySide) {
  const char* const tags[kThreads] = {"en-us", "de_CH", "fr", "x-all"};
  const char* const shortCodes[kThreads] = {"en-us", "de-ch", "fr-**", "**-**"};
  const char* const isoCodes[kThreads] = {"en-us", "de-ch", "fr", "**"};
  runInThreads([&](int t, Findings& findings) {
    const KivClLanguage language(tags[t]);
    findings.expect(language.isValid(), "valid");
    char buffer[KivClLanguage::cv_uiCodeBufferSize];
    findings.expectEqual(language.extractShortCode(buffer), shortCodes[t], "short code");
    findings.expectEqual(language.extractISOShortCode(buffer), isoCodes[t], "ISO code");
    findings.expect(KivClLanguage(language.asNumber()) == language, "number round trip");
  });
}

TEST(Threads, ErrorsAreFormattedSideBySide) {
  // Each thread writes through a console UI of its own into a stream of its
  // own; the UIs open their catalogs here, before the threads start.
  const char* argv[] = {"tool", nullptr};
  std::vector<std::unique_ptr<KivClConsoleUI>> uis;
  std::vector<std::ostringstream> streams(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    uis.push_back(std::make_unique<KivClConsoleUI>(1, argv));
    uis[t]->setOutputStream(streams[t]);
  }
  const KivClExceptionFatal exception(
      {KIV_MEMMGR_USER_OUT_OF_MEMORY, KivEnErrorClass::OUT_OF_MEMORY, KivEnErrorSeverity::FATAL,
       KivEnErrorAction::TERMINATE},
      "kiv_include/kiv_memmgr.hpp:359", 359);
  runInThreads([&](int t, Findings& findings) {
    streams[t].str("");
    uis[t]->format(exception, true);
    const std::string out = streams[t].str();
    for (const char* part : {"MEMMGR_USER_OUT_OF_MEMORY", "OUT_OF_MEMORY", "FATAL", "TERMINATE",
                             "kiv_include/kiv_memmgr.hpp:359", "359"}) {
      findings.expect(out.find(part) != std::string::npos, std::string("format shows ") + part);
    }
  });
  // Every thread wrote exactly what one display writes.
  std::ostringstream reference;
  uis[0]->setOutputStream(reference);
  uis[0]->format(exception, true);
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(streams[t].str(), reference.str()) << t;
}

// The trace facility's multi-thread round trip (traces written from several
// threads into one buffer, saved and formatted back) belongs beside these
// tests in tests/trace, with the same "threads" label, once the facility
// exists.

}  // namespace
