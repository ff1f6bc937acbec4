// kivini: changing only the lines that an edit concerns.
//
// An Edit turns one change (set a value, delete an option, delete a
// section) into changes of physical lines, found through the line map:
//   - setting an existing option replaces its line, keeping everything in
//     front of the value ("name = ") and the comment behind it, and drops
//     its continuation lines; of several options of that name in the merged
//     section, the first one is set, as lookups find it;
//   - a new option goes behind the last line of its section (the last
//     block of that name): behind its last option, continuation lines
//     included, or behind the header; it joins name and value as the
//     section's last option does ("Name=value" stays "Name=value");
//   - a new section goes at the end of the file, its header and the option;
//   - deleting an option drops its line and its continuation lines, for
//     every option of that name in every block of the section;
//   - deleting a section drops each of its blocks from the header through
//     the last line of its last option; comment and blank lines behind
//     that stay (they usually introduce what follows).
// New lines end as the file's lines do (CRLF or LF); a last line without
// line end gets one when something is put behind it. Every other byte
// stays: comments, blank lines, layout, quotes and escapes, $(NAME) texts,
// the byte-order mark and a missing last line end.
//
// Before anything is written, check() parses the old and the new text block
// by block with the library and compares each new block's model with the
// old one with the change applied: section names, option names, values and
// comments, in order. Nothing is written when they differ (for example for
// a value too long for a line).
//
// An edit never builds the whole new text or the whole model: write()
// streams the unchanged lines from the document's bytes.
#ifndef KIVINI_EDIT_HPP
#define KIVINI_EDIT_HPP

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kivini_document.hpp"

namespace kivini {

/// One change that the command line asks for.
struct Change {
  /// What to do.
  enum class Kind { SET, DELETE_OPTION, DELETE_SECTION };
  Kind kind = Kind::SET;
  std::string section;
  std::string option;  ///< SET, DELETE_OPTION
  std::string value;   ///< SET
};

/// One change applied to the lines of a document (see the banner).
class Edit {
 public:
  /// What plan() found.
  enum class Plan {
    NOTHING,      ///< the file holds what was asked for already
    CHANGE,       ///< lines are to change
    INCONSISTENT  ///< the library does not read the lines as the map says
  };

  /// An edit of `document`, which must outlive it.
  Edit(const Document& document, Change change);

  /// Finds the lines to change and what the model will be.
  Plan plan();
  /// Parses the old and the new text and compares them; true when the new
  /// text reads as the old one with the change (see the banner).
  bool check() const;
  /// Streams the new text, byte-order mark included, to `sink`, in pieces;
  /// stops and returns false as soon as the sink does.
  bool write(const std::function<bool(std::string_view)>& sink) const;

 private:
  // How the change looks in the model of one old block.
  struct BlockChange {
    bool deleted = false;
    std::vector<std::uint32_t> removed;    // ordinals of options that go
    std::uint32_t replaced = 0xffffffffu;  // ordinal of the option set
    bool appends = false;                  // the new option comes at the end
  };

  Plan planSet();
  Plan planDeleteOption();
  Plan planDeleteSection();
  void dropOption(std::uint32_t option);
  std::string newOptionLine(std::uint32_t referenceLine) const;
  std::string replacementLine(std::uint32_t option) const;
  std::string_view lineEnd() const;

  bool generate(const std::function<bool(std::string_view)>& line) const;
  bool sameAsExpected(const KivClIniFile& expected, const BlockChange* change,
                      const KivClIniFile& actual) const;

  const Document& m_document;
  Change m_change;
  std::vector<bool> m_dropped;
  std::uint32_t m_replacedLine = 0xffffffffu;
  std::string m_replacement;
  std::uint32_t m_insertAfter = 0xffffffffu;
  std::string m_insertion;
  std::string m_appended;  // a new section's lines, at the end
  std::unordered_map<std::uint32_t, BlockChange> m_blockChanges;
};

}  // namespace kivini

#endif
