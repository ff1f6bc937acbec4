// INI files when memory runs out: every record of a load and of an edit is
// refused in turn. The refused record ends the operation with the memory
// manager's fatal exception, the records read before it stay in a model
// that is whole, and the same object then loads, edits and saves as if
// nothing had happened.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "inifile_test_support.hpp"
#include "kiv_allocfail_support.hpp"
#include "kiv_inifile.hpp"
#include "kiv_inisave.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::AllocationFailureRun;

// Three sections (one of them twice), five options, a comment, a quoted
// value and a continuation line: eight records.
const std::string gs_sText =
    "; settings\n"
    "[alpha]\n"
    "one = 1\n"
    "two = \"semi;colon\" ; remark\n"
    "long = first\n"
    "  second\n"
    "[beta]\n"
    "three = 3\n"
    "[alpha]\n"
    "four = 4\n";

// The model of gs_sText, one line per record in file order (see dumpModel).
const std::vector<std::string> gs_records = {
    "[\"alpha\"]",
    "  \"one\" = \"1\" ; \"\"",
    "  \"two\" = \"semi;colon\" ; \"remark\"",
    "  \"long\" = \"firstsecond\" ; \"\"",
    "[\"beta\"]",
    "  \"three\" = \"3\" ; \"\"",
    "[\"alpha\"]",
    "  \"four\" = \"4\" ; \"\"",
};

std::vector<std::string> recordsOf(const KivClIniFile& ini) {
  std::vector<std::string> lines;
  std::istringstream dump(kivtest::dumpModel(ini));
  for (std::string line; std::getline(dump, line);) lines.push_back(line);
  return lines;
}

// The first `count` records of gs_records, then `more`.
std::vector<std::string> firstRecords(long count, const std::vector<std::string>& more = {}) {
  std::vector<std::string> lines(gs_records.begin(), gs_records.begin() + count);
  lines.insert(lines.end(), more.begin(), more.end());
  return lines;
}

TEST(IniFileAllocationFailure, LoadFromFileKeepsTheRecordsReadAndLoadsAgain) {
  kivtest::TempDir dir;
  const std::string path = dir / "settings.ini";
  kivtest::writeFile(path, gs_sText);
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    KivClIniFile ini{KivClFilename(path.c_str())};
    bool loaded = false;
    if (run.inject([&] { loaded = ini.load(true); })) {
      EXPECT_TRUE(loaded);
      EXPECT_EQ(recordsOf(ini), gs_records);
      return;
    }
    // Every record before the refused one is in the model, in order.
    EXPECT_EQ(ini.getCurrentSection(), nullptr);
    EXPECT_EQ(recordsOf(ini), firstRecords(run.failAt()));
    // Loading again appends the whole file behind them.
    ASSERT_TRUE(ini.load(true));
    EXPECT_EQ(recordsOf(ini), firstRecords(run.failAt(), gs_records));
  });
  EXPECT_EQ(runs, 9);  // eight records, then the run that refuses none
}

TEST(IniFileAllocationFailure, MergingBufferLoadCompletesOnTheSecondAttempt) {
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    KivClIniFile ini(kivtest::unusedIniName());
    bool loaded = false;
    if (!run.inject([&] { loaded = kivtest::loadText(ini, gs_sText, false, true); })) {
      EXPECT_EQ(ini.getCurrentSection(), nullptr);
      loaded = kivtest::loadText(ini, gs_sText, false, true);
    }
    ASSERT_TRUE(loaded);
    // The second [alpha] is merged into the first, whatever the first
    // attempt had read.
    EXPECT_EQ(kivtest::sectionNames(ini), (std::vector<std::string>{"alpha", "beta"}));
    EXPECT_EQ(kivtest::valueOf(ini, "alpha", "one"), "1");
    EXPECT_EQ(kivtest::valueOf(ini, "alpha", "two"), "semi;colon");
    EXPECT_EQ(kivtest::commentOf(ini, "alpha", "two"), "remark");
    EXPECT_EQ(kivtest::valueOf(ini, "alpha", "long"), "firstsecond");
    EXPECT_EQ(kivtest::valueOf(ini, "alpha", "four"), "4");
    EXPECT_EQ(kivtest::valueOf(ini, "beta", "three"), "3");
  });
  EXPECT_EQ(runs, 8);  // the merged [alpha] costs nothing
}

// What the edits below make of gs_sText, as save() writes it.
const std::string gs_sSaved =
    "\n[alpha]\n"
    "one\t= 1\n"
    "two\t= \"semi;colon\"\t; remark\n"
    "long\t= firstsecond\n"
    "six\t= 6\n"
    "\n[beta]\n"
    "three\t= 3\n"
    "\n[alpha]\n"
    "four\t= 4\n"
    "\n[gamma]\n"
    "five\t= 5\n";

// Adds a section with an option and an option to an existing section; each
// step leaves out what is already there, so that it can be repeated.
void edit(KivClIniFileSave& ini) {
  if (!ini.getSection("gamma")) ini.addSection("gamma");
  ini.addOption("gamma", "five", "5");
  ini.addOption("alpha", "six", "6");
}

TEST(IniFileAllocationFailure, EditAndSaveLeaveAModelThatIsEditedAndSavedAgain) {
  kivtest::TempDir dir;
  const std::string target = dir / "target.ini";
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    kivtest::writeFile(target, gs_sText);
    KivClIniFileSave ini{KivClFilename(target.c_str())};
    ASSERT_TRUE(ini.load(true));
    bool saved = false;
    if (!run.inject([&] {
          edit(ini);
          saved = ini.save();
        })) {
      // The refused record is missing, the file is still the old one.
      EXPECT_EQ(kivtest::readFile(target), gs_sText);
      edit(ini);
      saved = ini.save();
    }
    EXPECT_TRUE(saved);
    EXPECT_EQ(kivtest::readFile(target), gs_sSaved);
  });
  EXPECT_EQ(runs, 4);  // [gamma], five, six, then none
}

}  // namespace
