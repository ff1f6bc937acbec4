// Writes the message source of kivini's catalog (kivini.cat) from the tool's
// compiled-in table. The build compiles it with gencat, so the catalog
// installed beside the library's and the compiled-in table give the same
// texts; a translation starts from this source.
//
// Usage: gen_kivini_msgcat <output file>

#include "catalog_source/kiv_catalog_source.hpp"
#include "kivini_texts.hpp"

int main(int argc, char** argv) {
  return kivbuild::runCatalogSourceGenerator(
      argc, argv, kivini::builtInTexts(), kivini::TXT_TABLE_SIZE,
      "The message catalog of kivini, message set 1.\n"
      "Generated from the tool's compiled-in table by gen_kivini_msgcat; do not edit.");
}
