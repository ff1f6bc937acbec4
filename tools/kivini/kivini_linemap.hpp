// kivini: the line map of an INI text.
//
// The library's model keeps no trace of where its sections and options
// came from. To change a file without rewriting it, the tool needs to know
// which physical lines make up each section header and each option,
// continuation lines included. The line map classifies every line the way
// the library's parser does (loaded with continuation lines allowed and
// sections of the same name kept apart):
//
//   - a line is read up to its "\n"; its content is what comes before the
//     first NUL byte ("\r" of a CRLF line included), its length counts every
//     byte before the "\n". A line longer than 1023 characters is the last
//     one the parser reads (it takes the first 1023 and stops);
//   - a line whose first non-blank character is ";", or that has none, is
//     skipped; so is a line whose first non-blank character is "#" when
//     "#" comments are on (the tool hides such a line from the parser and
//     keeps its line number);
//   - then by the first character: "[" with a "]" behind it is a section
//     header ("[" without one is an error); any line before the first header
//     is dropped; an indented line continues the last option (or is an
//     error when there is none since the last header); any other line is an
//     option when it holds "=" and an error otherwise (an error line leaves
//     the option that indented lines continue as it was).
//
// Blocks: each header line starts a block that runs to the next header;
// the lines before the first header form the prelude. The parser reads the
// blocks independently of each other (nothing but the header decides what a
// line belongs to), so each block can be parsed alone, and a block's model
// is exactly that section of the whole file's model. Sections of the same
// name (compared as the library compares names, without regard to case)
// form one merged section, the unit that lookups work on.
//
// Nothing here changes how the library reads: the map is only ever used
// beside the library's own parse, which remains the truth for values.
#ifndef KIVINI_LINEMAP_HPP
#define KIVINI_LINEMAP_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kivini {

/// Which comment lines the tool hides from the parser.
enum class CommentStyle {
  HASH,   ///< lines beginning with "#" (after blanks) too (the default)
  STRICT  ///< none: the text is read exactly as the library reads it
};

/// What a physical line is to the parser.
enum class LineKind : std::uint8_t {
  BLANK,           ///< no content, or a ";" comment: skipped
  HASH_COMMENT,    ///< a "#" comment line: hidden from the parser
  HEADER,          ///< a section header
  BAD_HEADER,      ///< "[" without "]" (INIFILE_INVAL_SECTION)
  BEFORE_SECTION,  ///< content before the first header: dropped silently
  OPTION,          ///< an option line
  CONTINUATION,    ///< an indented line continuing an option's value
  BAD_INDENT,      ///< an indented line that continues nothing (INIFILE_INVAL_WHITESPACE)
  BAD_OPTION,      ///< a line in a section without "=" (INIFILE_INVAL_OPTION)
  TOO_LONG,        ///< longer than 1023 characters: the parser stops after it
  NOT_READ         ///< behind a line that is too long: never read
};

/// The parser's state between lines, for classifying a run of lines.
struct LineState {
  bool inSection = false;  ///< a header has been read
  bool hasTarget = false;  ///< an option is there for indented lines
  bool stopped = false;    ///< a line too long has been read
};

/// Classifies one line and advances `state`. `line` is the whole line
/// without its "\n".
LineKind classifyLine(std::string_view line, CommentStyle style, LineState& state);

/// The part of a line the parser looks at: up to its first NUL byte.
std::string_view lineContent(std::string_view line);

/// The section name of a header line, as the library stores it: the text
/// between "[" and the first "]", at most 80 characters.
std::string_view headerName(std::string_view line);

/// The option name of an option line, as the library stores it: every
/// non-blank character before the first "=".
std::string optionName(std::string_view line);

/// A key under which names that the library takes as equal are equal.
std::string nameKey(std::string_view name);

/// One physical line.
struct Line {
  std::size_t start = 0;   ///< offset of its first byte in the text
  std::size_t length = 0;  ///< bytes before its "\n" ("\r" included)
  std::uint32_t item = 0;  ///< HEADER: its block; OPTION, CONTINUATION: its option
  LineKind kind = LineKind::BLANK;
  bool hasNewline = false;  ///< false only for a last line without "\n"
};

/// A section header and the lines up to the next one.
struct Block {
  std::uint32_t header = 0;       ///< the header line
  std::uint32_t end = 0;          ///< the line behind the block
  std::uint32_t lastItem = 0;     ///< the header or the last line of its last option
  std::uint32_t firstOption = 0;  ///< its options: [firstOption, endOption)
  std::uint32_t endOption = 0;
  std::uint32_t section = 0;        ///< its merged section
  std::uint32_t nextOfSection = 0;  ///< the next block of the same merged section, or none
};

/// An option line and its continuation lines.
struct OptionLines {
  std::uint32_t first = 0;  ///< the option line
  std::uint32_t last = 0;   ///< its last continuation line (or the option line)
  std::uint32_t block = 0;
};

/// The blocks of one name, in file order.
struct MergedSection {
  std::uint32_t firstBlock = 0;
  std::uint32_t lastBlock = 0;
};

/// The line map of one text; see the banner.
class LineMap {
 public:
  /// No block, option or section: the value of `nextOfSection` at the end.
  static constexpr std::uint32_t NONE = 0xffffffffu;

  /// Classifies the lines of `text` (which must outlive the map).
  void build(std::string_view text, CommentStyle style);

  std::string_view text() const { return m_text; }
  CommentStyle style() const { return m_style; }
  const std::vector<Line>& lines() const { return m_lines; }
  const std::vector<Block>& blocks() const { return m_blocks; }
  const std::vector<OptionLines>& options() const { return m_options; }
  const std::vector<MergedSection>& sections() const { return m_sections; }

  /// The bytes of a line without its "\n".
  std::string_view bytes(const Line& line) const { return m_text.substr(line.start, line.length); }
  /// The first line too long for the parser, or NONE.
  std::uint32_t firstTooLong() const { return m_firstTooLong; }
  /// True when some line is hidden from the parser.
  bool hidesLines() const { return m_hidesLines; }

  /// The merged section of that name, or NONE.
  std::uint32_t findSection(std::string_view name) const;

  /// The lines [first, end) as the parser is to read them: hidden lines
  /// emptied, line ends kept. Points into the text when nothing is hidden
  /// there; else the bytes are put into `buffer`.
  std::string_view parseView(std::uint32_t first, std::uint32_t end, std::string& buffer) const;
  /// The line the first block starts at (the end of the prelude).
  std::uint32_t preludeEnd() const;

 private:
  void closeBlock();

  std::string_view m_text;
  CommentStyle m_style = CommentStyle::HASH;
  std::vector<Line> m_lines;
  std::vector<Block> m_blocks;
  std::vector<OptionLines> m_options;
  std::vector<MergedSection> m_sections;
  std::unordered_map<std::string, std::uint32_t> m_sectionByKey;
  std::uint32_t m_firstTooLong = NONE;
  bool m_hidesLines = false;
};

}  // namespace kivini

#endif
