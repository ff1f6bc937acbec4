// The built-in conversion tables. This build carries none yet: every family
// is empty, so the lookups find no table and the converters use ICU and
// iconv. Generated table sources take the place of these definitions.
#include "kiv_cptables.hpp"

namespace kiv::detail {

const _KivStConversionTableSBCS2UCS2* const gs_pcastConversionTablesSBCS2UCS2 = nullptr;
const std::size_t gs_ulConversionTablesSBCS2UCS2Count = 0;
const _KivStDBCSConversionTableEntry* const gs_pcastDBCSConversionTableEntries = nullptr;
const std::size_t gs_ulDBCSConversionTableEntriesCount = 0;
const _KivStConversionTableUCS22SBCS* const gs_pcastConversionTablesUCS22SBCS = nullptr;
const std::size_t gs_ulConversionTablesUCS22SBCSCount = 0;

}  // namespace kiv::detail
