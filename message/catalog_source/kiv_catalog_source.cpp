// Writes a string table as gencat input; see kiv_catalog_source.hpp.

#include "kiv_catalog_source.hpp"

#include <cstdio>
#include <string>

namespace kivbuild {

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
          std::fprintf(stderr, "catalog source: message %lu holds byte 0x%02x\n", id, c);
          return false;
        }
        out += static_cast<char>(c);
    }
  }
  out += '"';
  return true;
}

void appendComment(std::string& out, const char* header) {
  std::string line;
  for (const char* p = header;; ++p) {
    if (*p == '\n' || *p == '\0') {
      out += "$ " + line + "\n";
      line.clear();
      if (*p == '\0') break;
    } else {
      line += *p;
    }
  }
}

}  // namespace

bool writeCatalogSource(const char* path, const char* const* table, unsigned long size,
                        const char* header) {
  std::string source;
  appendComment(source, header);
  source += "$quote \"\n$set 1\n";
  for (unsigned long id = 1; id < size; ++id) {
    if (table[id] == nullptr) {
      std::fprintf(stderr, "catalog source: message %lu is missing\n", id);
      return false;
    }
    source += std::to_string(id);
    source += ' ';
    if (!appendQuoted(source, table[id], id)) return false;
    source += '\n';
  }

  std::FILE* file = std::fopen(path, "we");
  if (file == nullptr) {
    std::perror(path);
    return false;
  }
  const bool written = std::fwrite(source.data(), 1, source.size(), file) == source.size();
  if (std::fclose(file) != 0 || !written) {
    std::perror(path);
    return false;
  }
  return true;
}

int runCatalogSourceGenerator(int argc, char** argv, const char* const* table, unsigned long size,
                              const char* header) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <output file>\n", argc > 0 ? argv[0] : "generator");
    return 2;
  }
  return writeCatalogSource(argv[1], table, size, header) ? 0 : 1;
}

}  // namespace kivbuild
