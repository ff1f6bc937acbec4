// kivini: an INI file as the tool sees it.
//
// A Document holds the bytes of one file (or of standard input), its line
// map (kivini_linemap.hpp) and the library's reading of it. How the file is
// read, the same for every command:
//   - the exact name given: no ".ini" is added to a name without extension;
//   - a UTF-8 byte-order mark at the start is passed over (and kept when the
//     file is written);
//   - "#" comment lines are hidden from the parser unless -strict is given
//     (CommentStyle);
//   - an indented line continues the value of the option before it;
//   - sections of the same name (without regard to case) are taken as one:
//     a lookup sees the options of all of them, in file order.
//
// The library parses the file block by block (a section header and the
// lines up to the next one), each block alone: its model is that section of
// the whole file's model, so answers are the library's, and no command
// holds more than one block's model at a time (the library's model keeps
// 1 KiB for every option).
//
// Findings are what -check reports and what keeps -set and -delete from
// changing a file: every syntax error that the library reports (with its
// line number and error id), and every line that it passes over without a
// report although the line holds something (a line longer than 1023
// characters, which also ends the reading; lines before the first section
// header; a section header or an option line without a name, which the
// library counts as deleted).
//
// Failure: reading returns false with the errno; nothing throws except the
// library's memory manager on exhausted memory.
#ifndef KIVINI_DOCUMENT_HPP
#define KIVINI_DOCUMENT_HPP

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kiv_inifile.hpp"
#include "kivini_linemap.hpp"

namespace kivini {

/// What the tool found wrong in a file.
struct Finding {
  /// Kinds of findings: a syntax error reported by the library, or a line
  /// that the library passes over without a report.
  enum class Kind { SYNTAX_ERROR, LONG_LINE, BEFORE_SECTION, EMPTY_SECTION, EMPTY_OPTION };
  Kind kind;
  unsigned int line;  ///< line number, counted from 1
  long errorId;       ///< the library's error id for SYNTAX_ERROR, else 0
};

/// The library's model of one block, or of the prelude.
using BlockModel = std::unique_ptr<KivClIniFile>;

/// One INI text: its bytes, its line map and the library's reading of it.
class Document {
 public:
  explicit Document(CommentStyle style) : m_style(style) {}
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  /// Reads the file `path`. False when it cannot be read; `systemError`
  /// then holds the errno (ENOENT for a missing file, EISDIR for a
  /// directory).
  bool readFile(const std::string& path, int& systemError);
  /// Reads standard input to its end.
  bool readStandardInput(int& systemError);
  /// Starts from an empty text, for a file that does not exist yet.
  void startEmpty();
  /// Takes `bytes` as the text read, from wherever it came.
  void useText(std::string bytes);

  /// True when a file or input was read (false after startEmpty()).
  bool existed() const { return m_existed; }
  /// Every byte read, the byte-order mark included.
  const std::string& bytes() const { return m_bytes; }
  /// The byte-order mark: empty or the three bytes of UTF-8's.
  std::string_view byteOrderMark() const {
    return std::string_view(m_bytes).substr(0, m_bomLength);
  }
  /// The text behind the byte-order mark, which the line map classifies.
  std::string_view text() const { return std::string_view(m_bytes).substr(m_bomLength); }
  const LineMap& map() const { return m_map; }
  CommentStyle style() const { return m_style; }

  /// The library's model of the lines [first, end), parsed alone. Errors go
  /// to `errors` (line numbers of the whole file) when it is not null.
  BlockModel parse(std::uint32_t first, std::uint32_t end, std::vector<Finding>* errors) const;
  /// The model of block `block`; false in `agrees` when it does not hold
  /// exactly the section and options that the line map has there.
  BlockModel parseBlock(std::uint32_t block, bool& agrees) const;

  /// Every finding, in line order; for equal lines the library's come
  /// first. Parses the whole text, one block at a time.
  std::vector<Finding> findings() const;

 private:
  void classify();

  CommentStyle m_style;
  std::string m_bytes;
  std::size_t m_bomLength = 0;
  bool m_existed = false;
  LineMap m_map;
};

/// The option of `model` (a block's model, one section) at position
/// `ordinal`, or null.
const KivClIniFileOption* optionAt(const KivClIniFile& model, std::uint32_t ordinal);

}  // namespace kivini

#endif
