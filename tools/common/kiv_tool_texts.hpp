// The texts of a command-line tool: its own message catalog, with the
// tool's compiled-in table as the fallback.
//
// A tool defines its text ids (an enumeration counted from 0) and its
// compiled-in table, and derives a class with a get() over its own ids
// from this one, so that the ids stay typed in the tool's code.
//
// Opening the catalog sets the locale of the whole process
// (setlocale(LC_ALL, ""), see kiv_msgcat.hpp): the tools run a single
// thread, so that is safe. Owns the catalog; not copyable.
#ifndef KIV_TOOL_TEXTS_HPP
#define KIV_TOOL_TEXTS_HPP

#include <cstddef>

#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"

namespace kivtool {

class ToolTexts {
 public:
  /// Opens the catalog `name` (for example "kivini": kivini.cat beside the
  /// library's catalog) and attaches `table`, `count` usable entries and
  /// the closing marker, as its fallback.
  ToolTexts(const char* name, const char* const* table, std::size_t count);
  ToolTexts(const ToolTexts&) = delete;
  ToolTexts& operator=(const ToolTexts&) = delete;

  /// Text `id` with up to four inserts (null: none). Never fails: a text
  /// that cannot be found reads as the library's fallback text.
  KivClMessage text(unsigned long id, const char* insert1, const char* insert2,
                    const char* insert3, const char* insert4) const;

 private:
  KivClMessageCatalog m_catalog;
};

}  // namespace kivtool

#endif
