// kivini's edits without the tool around them: what plan() finds, what
// check() refuses, and how write() streams the new text.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kivini_document.hpp"
#include "kivini_edit.hpp"

namespace {

using kivini::Change;
using kivini::CommentStyle;
using kivini::Document;
using kivini::Edit;

Change setChange(std::string section, std::string option, std::string value) {
  Change change;
  change.kind = Change::Kind::SET;
  change.section = std::move(section);
  change.option = std::move(option);
  change.value = std::move(value);
  return change;
}

// The whole new text, and the sizes of the pieces it came in.
std::string written(const Edit& edit, std::vector<std::size_t>* pieces = nullptr) {
  std::string text;
  EXPECT_TRUE(edit.write([&](std::string_view piece) {
    text.append(piece);
    if (pieces != nullptr) pieces->push_back(piece.size());
    return true;
  }));
  return text;
}

TEST(KiviniEditCore, PlansNothingWhenTheFileHoldsTheValueAlready) {
  Document document(CommentStyle::HASH);
  document.useText("[s]\nk = \"v\"\n");
  Edit edit(document, setChange("S", "K", "v"));
  EXPECT_EQ(edit.plan(), Edit::Plan::NOTHING);
}

TEST(KiviniEditCore, ChecksAndWritesAChange) {
  Document document(CommentStyle::HASH);
  document.useText("# c\n[s]\nk = 1 ; one\n");
  Edit edit(document, setChange("s", "k", "2"));
  ASSERT_EQ(edit.plan(), Edit::Plan::CHANGE);
  EXPECT_TRUE(edit.check());
  EXPECT_EQ(written(edit), "# c\n[s]\nk = 2 ; one\n");
}

TEST(KiviniEditCore, CheckRefusesALineTooLongForTheLibrary) {
  Document document(CommentStyle::HASH);
  document.useText("[s]\nk = 1\n[t]\nx = 2\n");
  Edit edit(document, setChange("s", "k", std::string(1020, 'v')));
  ASSERT_EQ(edit.plan(), Edit::Plan::CHANGE);
  EXPECT_FALSE(edit.check());
  // 1019 characters make a line of exactly 1023: that one reads back.
  Edit fits(document, setChange("s", "k", std::string(1019, 'v')));
  ASSERT_EQ(fits.plan(), Edit::Plan::CHANGE);
  EXPECT_TRUE(fits.check());
}

TEST(KiviniEditCore, CheckRefusesANewSectionThatWouldMergeWithAnother) {
  // The library keeps 80 characters of a section name: a new header of 81
  // would read back under another name. (The tool refuses such names on
  // the command line; the check does not rely on that.)
  const std::string longName(80, 'n');
  Document document(CommentStyle::HASH);
  document.useText("[" + longName + "x]\nk = 1\n");
  Edit edit(document, setChange(longName + "y", "k", "2"));
  // The lookup finds no section of that exact name...
  ASSERT_EQ(edit.plan(), Edit::Plan::CHANGE);
  // ...and the check sees that the new text would not read as intended.
  EXPECT_FALSE(edit.check());
}

TEST(KiviniEditCore, WritesABigTextInPiecesOfAboutOneMebibyte) {
  std::string text = "[s]\n";
  for (int i = 0; i < 100000; ++i) text += "option" + std::to_string(i) + " = some value here\n";
  Document document(CommentStyle::HASH);
  document.useText(text);
  Edit edit(document, setChange("s", "option99999", "changed"));
  ASSERT_EQ(edit.plan(), Edit::Plan::CHANGE);
  ASSERT_TRUE(edit.check());
  std::vector<std::size_t> pieces;
  const std::string result = written(edit, &pieces);
  EXPECT_EQ(result.size(), text.size() - std::string("some value here").size() + 7);
  EXPECT_EQ(result.substr(result.size() - 22), "option99999 = changed\n");
  ASSERT_GT(pieces.size(), 1u);
  for (std::size_t i = 0; i + 1 < pieces.size(); ++i) {
    EXPECT_GE(pieces[i], 1u << 20);
    EXPECT_LT(pieces[i], (1u << 20) + 100);
  }
}

TEST(KiviniEditCore, StopsWritingWhenTheSinkFails) {
  Document document(CommentStyle::HASH);
  document.useText("[s]\nk = 1\n");
  Edit edit(document, setChange("s", "k", "2"));
  ASSERT_EQ(edit.plan(), Edit::Plan::CHANGE);
  int calls = 0;
  EXPECT_FALSE(edit.write([&calls](std::string_view) {
    ++calls;
    return false;
  }));
  EXPECT_EQ(calls, 1);
}

}  // namespace
