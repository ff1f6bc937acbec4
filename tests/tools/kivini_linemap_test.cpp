// kivini's line map against the library's parser: every line is classified
// as the parser reads it, blocks parsed alone give the sections of the whole
// file, and sections of the same name are merged as the library compares
// names.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"
#include "kivini_document.hpp"
#include "kivini_linemap.hpp"

namespace {

using kivini::CommentStyle;
using kivini::Document;
using kivini::LineKind;
using kivini::LineMap;

struct ParsedError {
  unsigned int line;
  long id;
  bool operator==(const ParsedError& o) const { return line == o.line && id == o.id; }
};

bool collect(const _KivStError& error, unsigned int line, void* data) {
  static_cast<std::vector<ParsedError>*>(data)->push_back({line, error.id});
  return true;
}

// Hidden lines emptied, as the test understands the rule: the first
// non-blank character is "#".
std::string visibleText(const std::string& text, CommentStyle style) {
  if (style == CommentStyle::STRICT) return text;
  std::string result;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    const std::string line = text.substr(start, end - start);
    const std::string upToNul = line.substr(0, line.find('\0'));
    const std::size_t first = upToNul.find_first_not_of(" \t\r\v\f");
    if (first == std::string::npos || upToNul[first] != '#') result += line;
    if (end < text.size()) result += '\n';
    start = end + 1;
  }
  return result;
}

std::vector<LineKind> kindsOf(const std::string& text, CommentStyle style = CommentStyle::HASH) {
  LineMap map;
  map.build(text, style);
  std::vector<LineKind> kinds;
  for (const kivini::Line& line : map.lines()) kinds.push_back(line.kind);
  return kinds;
}

TEST(KiviniLineMap, ClassifiesEachKindOfLine) {
  const std::string text =
      "top = 1\n"        // before the first header
      "[abc\n"           // header without "]"
      "; comment\n"      //
      "# hash\n"         //
      "   \n"            //
      "[s] trailing\n"   //
      "  indented\n"     // nothing to continue
      "a = 1\n"          //
      "  more\n"         //
      "\n"               //
      "    # hidden\n"   //
      "  still more\n"   // blank and hidden lines do not end the continuation
      "no equals\n"      //
      "  after error\n"  // an error line keeps the target
      "[abc\n"           //
      "  after bad header\n";
  EXPECT_EQ(kindsOf(text),
            (std::vector<LineKind>{LineKind::BEFORE_SECTION, LineKind::BAD_HEADER, LineKind::BLANK,
                                   LineKind::HASH_COMMENT, LineKind::BLANK, LineKind::HEADER,
                                   LineKind::BAD_INDENT, LineKind::OPTION, LineKind::CONTINUATION,
                                   LineKind::BLANK, LineKind::HASH_COMMENT, LineKind::CONTINUATION,
                                   LineKind::BAD_OPTION, LineKind::CONTINUATION,
                                   LineKind::BAD_HEADER, LineKind::BAD_INDENT}));
}

TEST(KiviniLineMap, StrictReadsHashLinesAsText) {
  EXPECT_EQ(kindsOf("[s]\n#k=1\n# no\n  # more\n", CommentStyle::STRICT),
            (std::vector<LineKind>{LineKind::HEADER, LineKind::OPTION, LineKind::BAD_OPTION,
                                   LineKind::CONTINUATION}));
}

TEST(KiviniLineMap, ALineTooLongIsTheLastOneRead) {
  const std::string text = "[s]\na = " + std::string(1019, 'x') +
                           "\nb = " + std::string(1020, 'y') + "\n[t]\n# " +
                           std::string(2000, 'z') + "\n";
  EXPECT_EQ(kindsOf(text),
            (std::vector<LineKind>{LineKind::HEADER, LineKind::OPTION, LineKind::TOO_LONG,
                                   LineKind::NOT_READ, LineKind::NOT_READ}));
  LineMap map;
  map.build(text, CommentStyle::HASH);
  EXPECT_EQ(map.firstTooLong(), 2u);
  // A hidden line never reaches the parser, whatever its length.
  EXPECT_EQ(kindsOf("[s]\n# " + std::string(2000, 'z') + "\na = 1\n"),
            (std::vector<LineKind>{LineKind::HEADER, LineKind::HASH_COMMENT, LineKind::OPTION}));
}

TEST(KiviniLineMap, ReadsALineUpToItsFirstNulByte) {
  EXPECT_EQ(kindsOf(std::string("[s]\n\0a = 1\nb\0 = 2\n", 16)),
            (std::vector<LineKind>{LineKind::HEADER, LineKind::BLANK, LineKind::BAD_OPTION}));
}

TEST(KiviniLineMap, MergesSectionsAsTheLibraryComparesNames) {
  const std::string longName(80, 'n');
  LineMap map;
  map.build(
      "[Main]\na = 1\n[other]\n[MAIN]\nb = 2\n[ main ]\n[" + longName + "x]\n[" + longName + "y]\n",
      CommentStyle::HASH);
  ASSERT_EQ(map.blocks().size(), 6u);
  ASSERT_EQ(map.sections().size(), 4u);
  EXPECT_EQ(map.findSection("main"), 0u);
  EXPECT_EQ(map.blocks()[0].nextOfSection, 2u);
  EXPECT_EQ(map.blocks()[2].nextOfSection, LineMap::NONE);
  EXPECT_EQ(map.findSection(" MAIN "), 2u);
  // Names are kept to 80 characters, so these two are one section.
  EXPECT_EQ(map.findSection(longName), 3u);
  EXPECT_EQ(map.blocks()[4].nextOfSection, 5u);
  EXPECT_EQ(map.findSection("nosuch"), LineMap::NONE);
}

TEST(KiviniLineMap, KnowsTheLinesOfEachOptionAndTheLastItemOfEachBlock) {
  LineMap map;
  map.build("[s]\na = 1\n  2\n\nb = 3\n; trailing\n[t]\n", CommentStyle::HASH);
  ASSERT_EQ(map.options().size(), 2u);
  EXPECT_EQ(map.options()[0].first, 1u);
  EXPECT_EQ(map.options()[0].last, 2u);
  EXPECT_EQ(map.options()[1].first, 4u);
  EXPECT_EQ(map.blocks()[0].lastItem, 4u);
  EXPECT_EQ(map.blocks()[0].end, 6u);
  EXPECT_EQ(map.blocks()[1].lastItem, 6u);
}

TEST(KiviniLineMap, TheParseViewEmptiesHiddenLinesAndKeepsTheirNumbers) {
  LineMap map;
  const std::string text = "[s]\n# hidden\na = 1\n";
  map.build(text, CommentStyle::HASH);
  std::string buffer;
  EXPECT_EQ(map.parseView(0, 3, buffer), "[s]\n\na = 1\n");
  EXPECT_EQ(map.parseView(2, 3, buffer), "a = 1\n");
  map.build(text, CommentStyle::STRICT);
  EXPECT_EQ(map.parseView(0, 3, buffer), text);
}

// ---------------------------------------------------------------------------
// Against the parser, on many texts made of awkward lines
// ---------------------------------------------------------------------------

std::string randomLine(std::mt19937& random) {
  static const std::vector<std::string> pieces = {
      "[s]",
      "[S]",
      "[t] ; c",
      "[]",
      "[x",
      "[a]b]",
      " [s]",
      "k = v",
      "K=v",
      "=x",
      "k v",
      "k = \"a;b\" ; c",
      "k = 'x' ; y",
      "k = $(HOME) ; z",
      "\tk = v",
      "  cont",
      "  ",
      "",
      ";c",
      "  ; c",
      "#c",
      "  #c",
      "#k=v",
      "# no",
      "k=v\r",
      "\r",
      "[s]\r",
      "  x\r",
      std::string("k\0=v", 4),
      std::string("\0[s]", 4),
      "name with blanks = 1",
      "k = \\",
  };
  std::uniform_int_distribution<std::size_t> pick(0, pieces.size() - 1);
  std::uniform_int_distribution<int> longOne(0, 60);
  if (longOne(random) == 0) return "k = " + std::string(1020 + random() % 10, 'L');
  return pieces[pick(random)];
}

TEST(KiviniLineMap, AgreesWithTheLibrarysParserOnRandomTexts) {
  std::mt19937 random(20240601);
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    const int lines = static_cast<int>(random() % 16);
    for (int i = 0; i < lines; ++i) {
      text += randomLine(random);
      if (i + 1 < lines || random() % 2 == 0) text += '\n';
    }
    for (const CommentStyle style : {CommentStyle::HASH, CommentStyle::STRICT}) {
      SCOPED_TRACE(::testing::Message() << "round " << round << " strict "
                                        << (style == CommentStyle::STRICT) << ": " << text);
      Document document(style);
      document.useText(text);
      std::vector<ParsedError> mapErrors;
      LineMap map;
      map.build(text, style);
      const std::uint32_t stop =
          map.firstTooLong() == LineMap::NONE ? map.lines().size() : map.firstTooLong();

      // The library on the whole text.
      const std::string visible = visibleText(text, style);
      KivClIniFile whole{KivClFilename("whole")};
      std::vector<ParsedError> errors;
      whole.setErrorHandler(collect, &errors);
      whole.loadFromBuffer(visible.data(), visible.size(), '\n', true, true);

      // Errors: the map's error lines, up to the line too long.
      for (std::uint32_t i = 0; i < stop; ++i) {
        const LineKind kind = map.lines()[i].kind;
        if (kind == LineKind::BAD_HEADER) mapErrors.push_back({i + 1, KIV_INIFILE_INVAL_SECTION});
        if (kind == LineKind::BAD_OPTION) mapErrors.push_back({i + 1, KIV_INIFILE_INVAL_OPTION});
        if (kind == LineKind::BAD_INDENT) {
          mapErrors.push_back({i + 1, KIV_INIFILE_INVAL_WHITESPACE});
        }
      }
      errors.erase(std::remove_if(errors.begin(), errors.end(),
                                  [stop](const ParsedError& e) { return e.line > stop; }),
                   errors.end());
      EXPECT_EQ(errors.size(), mapErrors.size());
      EXPECT_TRUE(errors == mapErrors);

      // Sections and options, block by block, up to the block of the line
      // too long; each block parsed alone gives the same section.
      const KivClIniFileSection* section = whole.getFirstSection();
      for (std::uint32_t b = 0; b < map.blocks().size(); ++b) {
        const kivini::Block& block = map.blocks()[b];
        if (block.end > stop) break;
        ASSERT_NE(section, nullptr);
        EXPECT_EQ(kivini::headerName(map.bytes(map.lines()[block.header])),
                  std::string_view(section->getName()));
        std::uint32_t o = block.firstOption;
        const KivClIniFileOption* option = section->getFirstOption();
        for (; option != nullptr && o < block.endOption; option = option->getNext(), ++o) {
          EXPECT_EQ(kivini::optionName(map.bytes(map.lines()[map.options()[o].first])),
                    option->getName());
        }
        EXPECT_EQ(option, nullptr);
        EXPECT_EQ(o, block.endOption);

        // The block parsed alone is that section, values and comments too.
        bool agrees = false;
        const kivini::BlockModel model = document.parseBlock(b, agrees);
        EXPECT_TRUE(agrees);
        const KivClIniFileSection* alone = model->getFirstSection();
        ASSERT_NE(alone, nullptr);
        EXPECT_STREQ(alone->getName(), section->getName());
        const KivClIniFileOption* a = alone->getFirstOption();
        for (const KivClIniFileOption* w = section->getFirstOption(); w != nullptr;
             w = w->getNext(), a = a->getNext()) {
          ASSERT_NE(a, nullptr);
          EXPECT_STREQ(a->getName(), w->getName());
          EXPECT_STREQ(a->getValue(), w->getValue());
          EXPECT_STREQ(a->getComment(), w->getComment());
        }
        EXPECT_EQ(a, nullptr);
        section = section->getNext();
      }
      if (map.firstTooLong() == LineMap::NONE) {
        EXPECT_EQ(section, nullptr);
      }
    }
  }
}

}  // namespace
