// kivini: the tool's catalog, with the compiled-in table as its fallback.

#include "kivini_texts.hpp"

#include "kiv_filename.hpp"

namespace kivini {

Texts::Texts() : m_catalog(KivClFilename("kivini")) {
  m_catalog.useStringTable(builtInTexts(), TXT_TABLE_SIZE);
}

KivClMessage Texts::get(TextId id, const char* insert1, const char* insert2, const char* insert3,
                        const char* insert4) const {
  return KivClMessage(m_catalog, id, insert1, insert2, insert3, insert4);
}

}  // namespace kivini
