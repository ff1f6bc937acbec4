// Internals of the skip-table string search, shared by KivClStringSearch and
// its tests. Not part of the installed interface.
#ifndef KIV_STRSEARCH_DETAIL_HPP
#define KIV_STRSEARCH_DETAIL_HPP

#include <cstddef>
#include <cstdint>

namespace kiv::detail {

/// How skipTableSearch passes over alignments.
enum class SkipMode {
  /// Only the shift table moves the alignment.
  Table,
  /// Before each comparison, alignments where the first or the last pattern
  /// character differs from the text are passed over sixteen at a time.
  /// Such alignments cannot hold the pattern, so the result is the same.
  Vector,
};

/// The skip-table search over `length` bytes of `text` for the `pattern`
/// whose shift table is `shift` (shift[0] is the pattern length). With
/// `ignoreCase`, `pattern` must already be upper-cased and each text byte is
/// upper-cased through toupper before it is compared. Returns the first
/// occurrence or null. With ignoreCase, SkipMode::Vector compares the text
/// with both bytes that fold to the pattern's first and last characters; it
/// is read as SkipMode::Table for texts under 64 bytes and when a character
/// has more than two such bytes in the locale.
const char* skipTableSearch(const char* text, std::size_t length, const char* pattern,
                            const std::uint32_t* shift, bool ignoreCase, SkipMode mode);

}  // namespace kiv::detail

#endif
