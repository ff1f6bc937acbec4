// kivini's values and option lines against the library's parser: encoded
// values read back as given, the comment of a line is found where the
// library finds it, and a value can be replaced without touching it.

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"
#include "kivini_value.hpp"

namespace {

using kivini::commentTail;
using kivini::encodeValue;
using kivini::separatorOf;
using kivini::valueStart;

struct Read {
  std::string value, comment;
};

// The library's reading of one option line.
Read readLine(const std::string& line) {
  KivClIniFile file{KivClFilename("value")};
  const std::string text = "[s]\n" + line + "\n";
  file.loadFromBuffer(text.data(), text.size(), '\n', true, true);
  const KivClIniFileSection* section = file.getFirstSection();
  if (section == nullptr || section->getFirstOption() == nullptr) return {"<none>", "<none>"};
  return {section->getFirstOption()->getValue(), section->getFirstOption()->getComment()};
}

TEST(KiviniValue, WritesAValueBareWhenItReadsBackBare) {
  for (const char* value : {"plain", "with inner  blanks", "back\\slash", "a=b", "#hash", "[x]",
                            "$HOME", "-5", "x)", "a$b(c)"}) {
    SCOPED_TRACE(value);
    EXPECT_EQ(encodeValue(value), value);
  }
}

TEST(KiviniValue, QuotesAndEscapesOnlyWhatNeedsIt) {
  EXPECT_EQ(encodeValue(""), "\"\"");
  EXPECT_EQ(encodeValue(" lead"), "\" lead\"");
  EXPECT_EQ(encodeValue("trail\t"), "\"trail\\t\"");
  EXPECT_EQ(encodeValue("a;b"), "\"a;b\"");
  EXPECT_EQ(encodeValue("say \"hi\""), "\"say \\\"hi\\\"\"");
  EXPECT_EQ(encodeValue("it's"), "\"it's\"");
  EXPECT_EQ(encodeValue("$(HOME)"), "\"$(HOME)\"");
  EXPECT_EQ(encodeValue("a\\b;"), "\"a\\\\b;\"");
  EXPECT_EQ(encodeValue("\a\b\f\n\r\t\v"), "\"\\a\\b\\f\\n\\r\\t\\v\"");
  EXPECT_EQ(encodeValue("\x01z"), "\"\\x01z\"");
  // The reader would take the "a" into the escape: the quotes are closed
  // and opened again between them.
  EXPECT_EQ(encodeValue("\x01"
                        "a"),
            "\"\\x01\"\"a\"");
  EXPECT_EQ(encodeValue("\x7f"
                        "7"),
            "\"\\x7f\"\"7\"");
}

TEST(KiviniValue, EveryEncodedValueReadsBackAsGiven) {
  const std::string alphabet = std::string("ab \t;\"'\\$()x01fF#=[]\x01\x1f\x7f\n\r") + "\xc3\xa9";
  std::mt19937 random(7);
  for (int round = 0; round < 20000; ++round) {
    std::string value;
    const std::size_t length = random() % 12;
    for (std::size_t i = 0; i < length; ++i) value += alphabet[random() % alphabet.size()];
    SCOPED_TRACE(::testing::Message() << "round " << round << ": " << encodeValue(value));
    EXPECT_EQ(readLine("k = " + encodeValue(value)).value, value);
  }
}

TEST(KiviniValue, FindsTheValueBehindTheEqualsSignAndItsBlanks) {
  EXPECT_EQ(valueStart("k = v"), 4u);
  EXPECT_EQ(valueStart("k=v"), 2u);
  EXPECT_EQ(valueStart("k =\t\tv = w"), 5u);
  EXPECT_EQ(valueStart("k ="), 3u);
}

TEST(KiviniValue, FindsTheCommentWhereTheLibraryDoes) {
  EXPECT_EQ(commentTail("k = v ; c", 4), " ; c");
  EXPECT_EQ(commentTail("k = v;c", 4), ";c");
  EXPECT_EQ(commentTail("k = \"a;b\"  ; c", 4), "  ; c");
  EXPECT_EQ(commentTail("k = ';' ; c", 4), " ; c");
  EXPECT_EQ(commentTail("k = '\\;' ; c", 4), " ; c");
  EXPECT_EQ(commentTail("k = $(A;B) ; c", 4), " ; c");
  // Without a ")" behind it, "$(" is plain text.
  EXPECT_EQ(commentTail("k = $(A;B ; c", 4), ";B ; c");
  EXPECT_EQ(commentTail("k = \"\\\";\" ; c", 4), " ; c");
  EXPECT_EQ(commentTail("k = v", 4), "");
  EXPECT_EQ(commentTail("k = \"v ; c", 4), "");
}

TEST(KiviniValue, ReplacingTheValueKeepsTheCommentOfRandomLines) {
  const std::string alphabet = "ab ;;\"\"''\\$$(())x";
  std::mt19937 random(11);
  for (int round = 0; round < 20000; ++round) {
    std::string rest;
    const std::size_t length = random() % 14;
    for (std::size_t i = 0; i < length; ++i) rest += alphabet[random() % alphabet.size()];
    const std::string line = "k = " + rest;
    SCOPED_TRACE(::testing::Message() << "round " << round << ": " << line);
    const Read before = readLine(line);
    const std::size_t start = valueStart(line);
    const std::string changed =
        line.substr(0, start) + encodeValue("new;value") + std::string(commentTail(line, start));
    const Read after = readLine(changed);
    EXPECT_EQ(after.value, "new;value") << changed;
    EXPECT_EQ(after.comment, before.comment) << changed;
  }
}

TEST(KiviniValue, TakesTheSeparatorOfAnOptionLine) {
  EXPECT_EQ(separatorOf("Key=Value"), "=");
  EXPECT_EQ(separatorOf("key = value"), " = ");
  EXPECT_EQ(separatorOf("key\t=  value"), "\t=  ");
  EXPECT_EQ(separatorOf("max size = 3"), " = ");
  // Without a value, the blanks in front of "=" are repeated behind it.
  EXPECT_EQ(separatorOf("key ="), " = ");
  EXPECT_EQ(separatorOf("key="), "=");
}

}  // namespace
