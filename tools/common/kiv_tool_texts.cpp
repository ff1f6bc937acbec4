// The texts of a command-line tool: its catalog and compiled-in fallback.
#include "kiv_tool_texts.hpp"

#include "kiv_filename.hpp"

namespace kivtool {

ToolTexts::ToolTexts(const char* name, const char* const* table, std::size_t count)
    : m_catalog(KivClFilename(name)) {
  m_catalog.useStringTable(table, count);
}

KivClMessage ToolTexts::text(unsigned long id, const char* insert1, const char* insert2,
                             const char* insert3, const char* insert4) const {
  return KivClMessage(m_catalog, id, insert1, insert2, insert3, insert4);
}

}  // namespace kivtool
