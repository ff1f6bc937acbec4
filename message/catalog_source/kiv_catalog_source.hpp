// Build-time helper shared by the generators of message catalogs: writes a
// string table as a message source in the input format of gencat (message
// set 1, ids 1 to size - 1). Not part of the library.
#ifndef KIV_CATALOG_SOURCE_HPP
#define KIV_CATALOG_SOURCE_HPP

namespace kivbuild {

/// Writes `table[1]` to `table[size - 1]` to `path` as gencat input, after the
/// comment lines of `header` (each line of it is written as a "$ " comment).
/// Every text is quoted so that leading and trailing blanks survive; a
/// backslash is written as "\\", a quote as "\"", a newline as "\n" and a tab
/// as "\t". Percent signs (inserts) mean nothing to gencat and stay as they
/// are. Id 0 is not written: it is no message, and catalogs never serve it.
/// The texts must be plain ASCII (gencat would read other bytes through the
/// locale's character set). Returns false, after a message on standard
/// error, for a missing text, a byte that is not plain ASCII, or a write
/// error.
bool writeCatalogSource(const char* path, const char* const* table, unsigned long size,
                        const char* header);

/// main() of a generator: `program <output file>` writes the table there.
/// Returns the process exit status.
int runCatalogSourceGenerator(int argc, char** argv, const char* const* table, unsigned long size,
                              const char* header);

}  // namespace kivbuild

#endif
