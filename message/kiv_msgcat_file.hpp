// Message catalog files, found and checked before the platform's catopen
// sees them.
//
// catopen maps a catalog file and trusts the sizes written in it: a file of
// twelve bytes that declares a large hash table makes it read past the end
// of the mapping and dies with SIGBUS, a table size of 0 makes catgets divide
// by zero, and a file that shrinks while it is mapped kills every later
// catgets. The catalog file may come from the environment (NLSPATH), so
// anyone who can set a variable for a program could end it that way.
//
// Therefore the library finds the file itself, exactly as catopen would,
// opens it, copies it into a private sealed memory file that nobody can
// change any more, checks the copy, and hands catopen the copy (by its
// /proc/self/fd path). What catopen maps is then exactly what was checked,
// whatever happens to the original afterwards.
//
// Internal to the library: not installed, not exported.
#ifndef KIV_MSGCAT_FILE_HPP
#define KIV_MSGCAT_FILE_HPP

#include <cstddef>

namespace kiv::detail {

/// The largest catalog file the library opens (64 MiB); larger files are not
/// opened. A catalog of every text of a large program stays far below.
inline constexpr std::size_t KIV_MSGCAT_FILE_MAX = std::size_t{64} << 20;

/// True when the `size` bytes at `image` are a catalog file that catopen and
/// catgets can read without leaving it: at least the 12-byte header, the
/// magic number in either byte order, a hash table size above 0, both copies
/// of the hash table inside the file, and every text offset of the table
/// that this machine reads pointing at a text that ends inside the file.
bool isReadableCatalogImage(const unsigned char* image, std::size_t size) noexcept;

/// Opens (read-only, close-on-exec) the file that catopen(name,
/// NL_CAT_LOCALE) would open: `name` itself when it holds a "/", else the
/// first candidate of NLSPATH followed by the platform's default places,
/// with %N, %L, %l, %t, %c and %% replaced from `name` and the LC_MESSAGES
/// locale of the moment.
/// \returns the descriptor, or -1 when no candidate could be opened
int openCatalogFile(const char* name) noexcept;

/// Copies the regular file open as `fd` (at most KIV_MSGCAT_FILE_MAX bytes)
/// into a new memory file, seals the copy against every change and checks
/// it with isReadableCatalogImage.
/// \returns the close-on-exec descriptor of the copy, or -1 when `fd` is not
///          a regular file, is too large, cannot be copied or is no readable
///          catalog
int copyCheckedCatalog(int fd) noexcept;

}  // namespace kiv::detail

#endif  // KIV_MSGCAT_FILE_HPP
