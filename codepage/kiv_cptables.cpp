// The lookups of the built-in conversion tables: binary searches by CCSID
// over the tables that the data files provide.
#include "kiv_cptables.hpp"

#include <cstdlib>

namespace {

// Every table family begins with its 32-bit CCSID, so one comparison of
// that field serves the searches of all families.
int compareCCSIDFields(const void* a, const void* b) {
  const std::uint32_t left = *static_cast<const std::uint32_t*>(a);
  const std::uint32_t right = *static_cast<const std::uint32_t*>(b);
  return left < right ? -1 : (left > right ? 1 : 0);
}

// bsearch over `count` entries of `size` bytes; an empty family (whose
// pointer may be null) finds nothing.
const void* findByCCSID(std::uint32_t ccsid, const void* entries, std::size_t count,
                        std::size_t size, int (*compare)(const void*, const void*)) {
  if (count == 0 || entries == nullptr) return nullptr;
  return std::bsearch(&ccsid, entries, count, size, compare);
}

}  // namespace

int kivCompareConversionTableEntriesSBCS2UCS2(const void* a, const void* b) {
  return compareCCSIDFields(a, b);
}

int kivCompareConversionTableEntriesDBCS2UCS2(const void* a, const void* b) {
  return compareCCSIDFields(a, b);
}

const unsigned char* kivGetSBCStoUCS2Table(unsigned int ccsid) {
  using namespace kiv::detail;
  const auto* entry = static_cast<const _KivStConversionTableSBCS2UCS2*>(findByCCSID(
      ccsid, gs_pcastConversionTablesSBCS2UCS2, gs_ulConversionTablesSBCS2UCS2Count,
      sizeof(_KivStConversionTableSBCS2UCS2), &kivCompareConversionTableEntriesSBCS2UCS2));
  return entry != nullptr ? entry->aucValues : nullptr;
}

const _KivStDBCSConversionTableEntry* kivGetDBCStoUCS2Table(unsigned int ccsid, bool& isEBCDIC) {
  using namespace kiv::detail;
  const auto* entry = static_cast<const _KivStDBCSConversionTableEntry*>(findByCCSID(
      ccsid, gs_pcastDBCSConversionTableEntries, gs_ulDBCSConversionTableEntriesCount,
      sizeof(_KivStDBCSConversionTableEntry), &kivCompareConversionTableEntriesDBCS2UCS2));
  if (entry != nullptr) isEBCDIC = entry->ucIsEBCDIC != 0;
  return entry;
}

const unsigned char* kivGetUCS2toSBCSTable(unsigned int ccsid) {
  using namespace kiv::detail;
  const auto* entry = static_cast<const _KivStConversionTableUCS22SBCS*>(findByCCSID(
      ccsid, gs_pcastConversionTablesUCS22SBCS, gs_ulConversionTablesUCS22SBCSCount,
      sizeof(_KivStConversionTableUCS22SBCS), &compareCCSIDFields));
  return entry != nullptr ? entry->pucTable : nullptr;
}
