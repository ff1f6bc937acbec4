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
  /// Before each comparison, alignments whose first and last pattern
  /// characters both differ from the text are passed over sixteen at a time.
  /// Such alignments cannot hold the pattern, so the result is the same.
  Vector,
};

/// The skip-table search over `length` bytes of `text` for the `pattern`
/// whose shift table is `shift` (shift[0] is the pattern length). With
/// `ignoreCase`, `pattern` must already be upper-cased and each text byte is
/// upper-cased through toupper before it is compared. Returns the first
/// occurrence or null. SkipMode::Vector is used only for exact comparison;
/// with ignoreCase it is read as SkipMode::Table.
const char* skipTableSearch(const char* text, std::size_t length, const char* pattern,
                            const std::uint32_t* shift, bool ignoreCase, SkipMode mode);

}  // namespace kiv::detail

#endif
