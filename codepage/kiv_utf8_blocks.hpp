// Block-wise fast paths of the UTF-8 <-> UCS-2 methods (private to the
// library). They run when the target has room for the worst case, so that
// it cannot fill up: then only the end of the source can stop a conversion,
// and away from it the UTF-8 rules reduce to the familiar bit arithmetic
// for every well-formed sequence of one to three bytes, and to plain
// encoding for every unit outside the surrogates and the noncharacters.
// Whatever a block cannot take (longer or ill-formed sequences,
// surrogates, noncharacters, the last bytes of the source) is converted one
// character at a time by the plain loops of kiv_utf8_rules.hpp, so the
// output, the source position and the error record are exactly those of
// the plain rules.
#ifndef KIV_UTF8_BLOCKS_HPP
#define KIV_UTF8_BLOCKS_HPP

#include <cstddef>

#include "kiv_utf8_rules.hpp"

namespace kiv::detail {

/// Source bytes (UTF-8) or units (UCS-2) that the block-wise methods below
/// need at least: shorter sources gain nothing from them.
inline constexpr std::size_t kUtf8BlockReadBytes = 16;
inline constexpr std::size_t kUcs2BlockReadUnits = 16;

/// Whether the block-wise methods run on this processor (they need SSSE3).
bool utf8BlocksAvailable() noexcept;

/// The UTF-8 to UCS-2 method, block-wise. Only for a record whose target
/// has room for one unit per source byte and whose source is longer than
/// kUtf8BlockReadBytes, on a processor where utf8BlocksAvailable().
unsigned long utf8ToUcs2ByBlocks(Record& record) noexcept;

/// The UCS-2 to UTF-8 method, block-wise. Only for a record whose target
/// has room for three bytes per source unit and whose source holds more
/// than kUcs2BlockReadUnits units, on a processor where
/// utf8BlocksAvailable().
unsigned long ucs2ToUtf8ByBlocks(Record& record) noexcept;

}  // namespace kiv::detail

#endif
