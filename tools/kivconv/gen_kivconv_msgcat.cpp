// Writes the message source of kivconv's catalog (kivconv.cat) from the
// tool's compiled-in table. The build compiles it with gencat, so the
// catalog installed beside the library's and the compiled-in table give the
// same texts; a translation starts from this source.
//
// Usage: gen_kivconv_msgcat <output file>

#include "catalog_source/kiv_catalog_source.hpp"
#include "kivconv_texts.hpp"

int main(int argc, char** argv) {
  return kivbuild::runCatalogSourceGenerator(
      argc, argv, kivconv::builtInTexts(), kivconv::TXT_TABLE_SIZE,
      "The message catalog of kivconv, message set 1.\n"
      "Generated from the tool's compiled-in table by gen_kivconv_msgcat; do not edit.");
}
