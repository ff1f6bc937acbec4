// The texts of a command-line tool: its own message catalog, with the
// tool's compiled-in table as the fallback.
//
// A tool defines its text ids (an enumeration counted from 0) and its
// compiled-in table, and derives its texts from TypedToolTexts<its ids>,
// whose get() takes only those ids.
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

/// ToolTexts whose get() takes the tool's own text ids.
template <typename TextId>
class TypedToolTexts : public ToolTexts {
 public:
  using ToolTexts::ToolTexts;

  /// Text `id` with up to four inserts (null: none). Never fails: a text
  /// that cannot be found reads as the library's fallback text.
  KivClMessage get(TextId id, const char* insert1 = nullptr, const char* insert2 = nullptr,
                   const char* insert3 = nullptr, const char* insert4 = nullptr) const {
    return text(static_cast<unsigned long>(id), insert1, insert2, insert3, insert4);
  }
};

}  // namespace kivtool

#endif
