// Writes the message source of the library's own catalog (qrnmsg50) from the
// built-in message table. The build compiles it with gencat, so a catalog
// found on disk and the compiled-in table give the same texts.
//
// Usage: gen_msgcat_source <output file>

#include "catalog_source/kiv_catalog_source.hpp"
#include "kiv_msgtable.hpp"

int main(int argc, char** argv) {
  return kivbuild::runCatalogSourceGenerator(
      argc, argv, kivMsgTabGetBuiltInTable(), KIV_MSGTAB_SIZE,
      "The library's own message catalog (qrnmsg50), message set 1.\n"
      "Generated from the built-in message table by gen_msgcat_source; do not edit.");
}
