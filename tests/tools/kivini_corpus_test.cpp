// kivini end to end on a corpus of real configuration files (systemd units
// and settings, desktop entries, D-Bus services, INI files of other
// programs; see data/corpus/SOURCES). Every edit command runs on every
// file; diff must show exactly the lines the command concerns, and the
// library must read the result as the original with that one change.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "kiv_base.hpp"
#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"
#include "kivini_test_support.hpp"

namespace {

using kivinitest::readAll;
using kivinitest::Result;
using kivinitest::writeAll;

// ---------------------------------------------------------------------------
// The library's reading of a text, as plain values
// ---------------------------------------------------------------------------

struct Option {
  std::string name, value, comment;
  bool operator==(const Option& o) const {
    return name == o.name && value == o.value && comment == o.comment;
  }
};
struct Section {
  std::string name;
  std::vector<Option> options;
  bool operator==(const Section& o) const { return name == o.name && options == o.options; }
};
using Model = std::vector<Section>;

// For the messages of failed comparisons.
std::ostream& operator<<(std::ostream& out, const Section& s) {
  out << "[" << s.name << "]";
  for (const Option& o : s.options) out << " " << o.name << "=" << o.value << ";" << o.comment;
  return out;
}

// Lines whose first non-blank character is "#" are emptied, as kivini
// hides them (the line numbers stay).
std::string withoutHashComments(const std::string& text) {
  std::string result;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    const std::string line = text.substr(start, end - start);
    const auto first = std::find_if_not(line.begin(), line.end(),
                                        [](unsigned char c) { return std::isspace(c) != 0; });
    if (first == line.end() || *first != '#') result += line;
    if (end < text.size()) result += '\n';
    start = end + 1;
  }
  return result;
}

// What kivini's lookups see: sections of the same name merged.
Model readAsLibrary(const std::string& text) {
  const std::string visible = withoutHashComments(text);
  KivClIniFile file{KivClFilename("corpus")};
  file.loadFromBuffer(visible.data(), visible.size(), '\n', false, true);
  Model model;
  for (const KivClIniFileSection* s = file.getFirstSection(); s != nullptr; s = s->getNext()) {
    if (s->isDeleted()) continue;
    Section section{s->getName(), {}};
    for (const KivClIniFileOption* o = s->getFirstOption(); o != nullptr; o = o->getNext()) {
      if (!o->isDeleted())
        section.options.push_back({o->getName(), o->getValue(), o->getComment()});
    }
    model.push_back(section);
  }
  return model;
}

bool sameName(const std::string& a, const std::string& b) {
  return strcmpi(a.c_str(), b.c_str()) == 0;
}

Section* find(Model& model, const std::string& name) {
  for (Section& s : model) {
    if (sameName(s.name, name)) return &s;
  }
  return nullptr;
}

// ---------------------------------------------------------------------------
// diff's normal output
// ---------------------------------------------------------------------------

struct Hunk {
  char kind;              // 'a', 'c' or 'd'
  int oldFirst, oldLast;  // lines of the old file
  int newFirst, newLast;  // lines of the new file
  std::vector<std::string> removed, added;
};

std::vector<Hunk> parseDiff(const std::string& output) {
  static const std::regex header(R"((\d+)(?:,(\d+))?([acd])(\d+)(?:,(\d+))?)");
  std::vector<Hunk> hunks;
  std::size_t start = 0;
  while (start < output.size()) {
    std::size_t end = output.find('\n', start);
    if (end == std::string::npos) end = output.size();
    const std::string line = output.substr(start, end - start);
    start = end + 1;
    std::smatch m;
    if (std::regex_match(line, m, header)) {
      Hunk h;
      h.oldFirst = std::stoi(m[1]);
      h.oldLast = m[2].matched ? std::stoi(m[2]) : h.oldFirst;
      h.kind = m[3].str()[0];
      h.newFirst = std::stoi(m[4]);
      h.newLast = m[5].matched ? std::stoi(m[5]) : h.newFirst;
      hunks.push_back(h);
    } else if (line.rfind("< ", 0) == 0) {
      hunks.back().removed.push_back(line.substr(2));
    } else if (line.rfind("> ", 0) == 0) {
      hunks.back().added.push_back(line.substr(2));
    }  // "---" and "\ No newline at end of file"
  }
  return hunks;
}

std::vector<Hunk> diff(const std::string& before, const std::string& after) {
  const Result result = kivtest::runProgram("/usr/bin/diff", {before, after});
  if (result.exitCode > 1) throw std::runtime_error("diff failed: " + result.err);
  return parseDiff(result.out);
}

std::string withoutCr(std::string line) {
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

// An option line of `name`: the name, blanks, "=".
bool isOptionLine(const std::string& line, const std::string& name) {
  const std::regex pattern(
      "^" + std::regex_replace(name, std::regex(R"([.^$|()\[\]{}*+?\\])"), R"(\$&)") +
          R"([ \t]*=.*)",
      std::regex::icase);
  return std::regex_match(withoutCr(line), pattern);
}

bool isIndented(const std::string& line) {
  return !line.empty() && std::isspace(static_cast<unsigned char>(line[0])) != 0;
}

// ---------------------------------------------------------------------------
// The test
// ---------------------------------------------------------------------------

std::vector<std::string> corpusFiles() {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(KIVINI_CORPUS_DIR)) {
    const std::string name = entry.path().filename().string();
    if (name != "SOURCES") names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

class KiviniCorpusTest : public ::testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    original = readAll(std::string(KIVINI_CORPUS_DIR) + "/" + GetParam());
    before = readAsLibrary(original);
    ASSERT_FALSE(before.empty()) << "a corpus file needs a section";
  }

  // Runs kivini on a fresh copy of `text`; returns the copy's path.
  std::string edit(const std::string& text, const std::vector<std::string>& args) {
    const std::string copy = dir / ("copy" + std::to_string(++copies));
    writeAll(copy, text);
    std::vector<std::string> command = {args[0], copy};
    command.insert(command.end(), args.begin() + 1, args.end());
    const Result result = kivinitest::run(command, dir.path());
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.exitCode, 0);
    return copy;
  }

  std::string originalPath() {
    const std::string path = dir / "original";
    writeAll(path, original);
    return path;
  }

  kivtest::TempDir dir;
  int copies = 0;
  std::string original;
  Model before;
};

TEST_P(KiviniCorpusTest, EveryEditChangesOnlyItsLinesAndReadsBackAsIntended) {
  const std::string old = originalPath();
  const std::string firstSection = before.front().name;

  // -set of a new option: one line behind the last line of its section.
  const std::string added = edit(original, {"-set", firstSection, "KivTestAdded", "added value"});
  {
    SCOPED_TRACE("-set of a new option");
    const std::vector<Hunk> hunks = diff(old, added);
    ASSERT_EQ(hunks.size(), 1u);
    EXPECT_EQ(hunks[0].kind, 'a');
    ASSERT_EQ(hunks[0].added.size(), 1u);
    EXPECT_TRUE(std::regex_match(withoutCr(hunks[0].added[0]),
                                 std::regex(R"(KivTestAdded[ \t]*=[ \t]*added value)")))
        << hunks[0].added[0];
    Model expected = before;
    find(expected, firstSection)->options.push_back({"KivTestAdded", "added value", ""});
    EXPECT_EQ(readAsLibrary(readAll(added)), expected);
  }

  // -set of an existing option: its line (with continuation lines) becomes
  // one line. Files without options get theirs from the step before.
  std::string base = old;
  Model baseModel = before;
  std::string section;
  std::string option;
  for (auto s = before.rbegin(); s != before.rend() && option.empty(); ++s) {
    if (!s->options.empty()) {
      section = s->name;
      option = s->options.back().name;
    }
  }
  if (option.empty()) {
    base = added;
    baseModel = readAsLibrary(readAll(added));
    section = firstSection;
    option = "KivTestAdded";
  }
  const std::string set = edit(readAll(base), {"-set", section, option, "kivtest value"});
  {
    SCOPED_TRACE("-set of " + section + " " + option);
    const std::vector<Hunk> hunks = diff(base, set);
    ASSERT_EQ(hunks.size(), 1u);
    EXPECT_EQ(hunks[0].kind, 'c');
    ASSERT_FALSE(hunks[0].removed.empty());
    EXPECT_TRUE(isOptionLine(hunks[0].removed[0], option)) << hunks[0].removed[0];
    for (std::size_t i = 1; i < hunks[0].removed.size(); ++i) {
      EXPECT_TRUE(isIndented(hunks[0].removed[i])) << hunks[0].removed[i];
    }
    ASSERT_EQ(hunks[0].added.size(), 1u);
    EXPECT_TRUE(isOptionLine(hunks[0].added[0], option));
    EXPECT_NE(hunks[0].added[0].find("kivtest value"), std::string::npos) << hunks[0].added[0];
    Model expected = baseModel;
    for (Option& o : find(expected, section)->options) {
      if (sameName(o.name, option)) {
        o.value = "kivtest value";
        break;
      }
    }
    EXPECT_EQ(readAsLibrary(readAll(set)), expected);
  }

  // -delete of an option: its lines go, for every option of that name.
  const std::string deleted = edit(readAll(base), {"-delete", section, option});
  {
    SCOPED_TRACE("-delete of " + section + " " + option);
    const std::vector<Hunk> hunks = diff(base, deleted);
    ASSERT_FALSE(hunks.empty());
    for (const Hunk& h : hunks) {
      EXPECT_EQ(h.kind, 'd');
      ASSERT_FALSE(h.removed.empty());
      EXPECT_TRUE(isOptionLine(h.removed[0], option)) << h.removed[0];
      for (std::size_t i = 1; i < h.removed.size(); ++i) {
        EXPECT_TRUE(isIndented(h.removed[i]) || isOptionLine(h.removed[i], option)) << h.removed[i];
      }
    }
    Model expected = baseModel;
    auto& options = find(expected, section)->options;
    options.erase(std::remove_if(options.begin(), options.end(),
                                 [&option](const Option& o) { return sameName(o.name, option); }),
                  options.end());
    EXPECT_EQ(readAsLibrary(readAll(deleted)), expected);
  }

  // -set of a new section: its header and option at the end of the file.
  const std::string appended = edit(original, {"-set", "KivTestSection", "key", "v"});
  {
    SCOPED_TRACE("-set of a new section");
    const std::vector<Hunk> hunks = diff(old, appended);
    ASSERT_EQ(hunks.size(), 1u);
    const Hunk& h = hunks[0];
    // A last line without line end gains one: diff shows it changed.
    const bool lineEndAdded = original.back() != '\n';
    EXPECT_EQ(h.kind, lineEndAdded ? 'c' : 'a');
    ASSERT_EQ(h.added.size(), lineEndAdded ? 3u : 2u);
    if (lineEndAdded) {
      EXPECT_EQ(h.removed, std::vector<std::string>{h.added[0]});
    }
    EXPECT_EQ(withoutCr(h.added[h.added.size() - 2]), "[KivTestSection]");
    EXPECT_TRUE(std::regex_match(withoutCr(h.added.back()), std::regex(R"(key[ \t]*=[ \t]*v)")));
    Model expected = before;
    expected.push_back({"KivTestSection", {{"key", "v", ""}}});
    EXPECT_EQ(readAsLibrary(readAll(appended)), expected);
  }

  // -delete of a section: each of its blocks from the header through its
  // last option.
  const std::string gone = edit(original, {"-delete", firstSection});
  {
    SCOPED_TRACE("-delete of " + firstSection);
    const std::vector<Hunk> hunks = diff(old, gone);
    ASSERT_FALSE(hunks.empty());
    for (const Hunk& h : hunks) EXPECT_EQ(h.kind, 'd');
    EXPECT_EQ(withoutCr(hunks[0].removed[0]), "[" + firstSection + "]");
    Model expected = before;
    expected.erase(expected.begin());
    EXPECT_EQ(readAsLibrary(readAll(gone)), expected);
  }
}

INSTANTIATE_TEST_SUITE_P(Corpus, KiviniCorpusTest, ::testing::ValuesIn(corpusFiles()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                           std::string name = info.param;
                           for (char& c : name) {
                             if (std::isalnum(static_cast<unsigned char>(c)) == 0) c = '_';
                           }
                           return name;
                         });

TEST(KiviniCorpus, HoldsAtLeastThirtyFiles) { EXPECT_GE(corpusFiles().size(), 30u); }

}  // namespace
