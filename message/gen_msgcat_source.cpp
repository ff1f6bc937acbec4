// Writes the message source of the library's own catalog (qrnmsg50) from the
// built-in message table, in the input format of gencat: message set 1 with
// ids 1 to KIV_MSGTAB_SIZE - 1, every text quoted so that leading and
// trailing blanks survive. The build compiles the result with gencat, so a
// catalog found on disk and the compiled-in table give the same texts.
//
// Id 0, the signature line that frames the table inside the binary, is not
// written: it is no message, and catalogs never serve it.
//
// gencat interprets backslash escapes inside a message, so a backslash is
// written as "\\", a quote as "\"", a newline as "\n" and a tab as "\t".
// The percent signs of the inserts ("%1", "%%") mean nothing to gencat and
// are written as they are: inserts are replaced when a message is loaded.
// The table is plain ASCII; any other byte stops the generator, since gencat
// would read it through the locale's character set.
//
// Usage: gen_msgcat_source <output file>

#include <cstdio>
#include <string>

#include "kiv_msgtable.hpp"

namespace {

bool appendQuoted(std::string& out, const char* text, unsigned long id) {
  out += '"';
  for (const char* p = text; *p != '\0'; ++p) {
    const unsigned char c = static_cast<unsigned char>(*p);
    switch (c) {
      case '\\':
        out += "\\\\";
        break;
      case '"':
        out += "\\\"";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (c < 0x20 || c > 0x7e) {
          std::fprintf(stderr, "gen_msgcat_source: message %lu holds byte 0x%02x\n", id, c);
          return false;
        }
        out += static_cast<char>(c);
    }
  }
  out += '"';
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: gen_msgcat_source <output file>\n");
    return 2;
  }

  const char* const* table = kivMsgTabGetBuiltInTable();
  std::string source =
      "$ The library's own message catalog (qrnmsg50), message set 1.\n"
      "$ Generated from the built-in message table by gen_msgcat_source; do not edit.\n"
      "$quote \"\n"
      "$set 1\n";
  for (unsigned long id = 1; id < KIV_MSGTAB_SIZE; ++id) {
    if (table[id] == nullptr) {
      std::fprintf(stderr, "gen_msgcat_source: message %lu is missing\n", id);
      return 1;
    }
    source += std::to_string(id);
    source += ' ';
    if (!appendQuoted(source, table[id], id)) return 1;
    source += '\n';
  }

  std::FILE* file = std::fopen(argv[1], "w");
  if (file == nullptr) {
    std::perror(argv[1]);
    return 1;
  }
  const bool written = std::fwrite(source.data(), 1, source.size(), file) == source.size();
  if (std::fclose(file) != 0 || !written) {
    std::perror(argv[1]);
    return 1;
  }
  return 0;
}
