// The ICU error map and KivClIcuInterface.
#include "kiv_icu.hpp"

#include <iterator>

#include "kiv_exception.hpp"

namespace {

using C = KivEnErrorClass;
using S = KivEnErrorSeverity;
using A = KivEnErrorAction;

constexpr A kUnnamedAction7 = static_cast<A>(7);

// Searched from the first row to the last. Action 7 has no name of its
// own in the vocabulary; the map keeps that value for the two rows that
// carry it. The codes are written as numbers
// because the map is the library's own data: the last row keeps the error
// limit of the ICU interface the library was first built against, which
// later ICU releases have moved.
constexpr _KivStIcuRc2KivIdMapEntry gs_astIcuRc2KivIdMap[] = {
    {0, KIV_NO_ERROR, C::UNKNOWN, S::NONE, A::IGNORE},
    {1, KIV_ICU_ILLEGAL_ARGUMENT_ERROR, C::USER_ERROR, S::INFO, kUnnamedAction7},
    {2, KIV_ICU_MISSING_RESOURCE_ERROR, C::UNKNOWN, S::INFO, A::USER},
    {3, KIV_ICU_INVALID_FORMAT_ERROR, C::UNKNOWN, S::INFO, A::USER},
    {4, KIV_ICU_FILE_ACCESS_ERROR, C::IO_PROBLEM, S::INFO, A::USER},
    {5, KIV_ICU_INTERNAL_PROGRAM_ERROR, C::UNKNOWN, S::CRITICAL, kUnnamedAction7},
    {6, KIV_ICU_MESSAGE_PARSE_ERROR, C::USER_DATA_ERROR, S::INFO, A::USER},
    {7, KIV_ICU_MEMORY_ALLOCATION_ERROR, C::OUT_OF_MEMORY, S::INFO, A::TERMINATE},
    {8, KIV_ICU_INDEX_OUTOFBOUNDS_ERROR, C::USER_DATA_ERROR, S::INFO, A::USER},
    {9, KIV_ICU_PARSE_ERROR, C::USER_DATA_ERROR, S::INFO, A::USER},
    {10, KIV_CPCONVERTER_INVALID_SEQ, C::INVALID_DATA, S::INFO, A::USER},
    {11, KIV_CPCONVERTER_INCOMPLETE, C::INVALID_DATA, S::INFO, A::USER},
    {12, KIV_CPCONVERTER_INVALID_SEQ, C::INVALID_DATA, S::INFO, A::USER},
    {13, KIV_ICU_INVALID_TABLE_FORMAT, C::USER_DATA_ERROR, S::INFO, A::USER},
    {14, KIV_ICU_INVALID_TABLE_FILE, C::IO_PROBLEM, S::INFO, A::USER},
    {15, KIV_CPCONVERTER_TOO_BIG, C::USER_DATA_ERROR, S::INFO, A::USER},
    {16, KIV_ICU_UNSUPPORTED_ERROR, C::FUNCTION_NOT_SUPPORTED, S::INFO, A::USER},
    {17, KIV_ICU_RESOURCE_TYPE_MISMATCH, C::USER_DATA_ERROR, S::INFO, A::USER},
    {18, KIV_ICU_ILLEGAL_ESCAPE_SEQUENCE, C::INVALID_DATA, S::INFO, A::USER},
    {19, KIV_ICU_UNSUPPORTED_ESCAPE_SEQ, C::INVALID_DATA, S::INFO, A::USER},
    {20, KIV_ICU_NO_SPACE_AVAILABLE, C::RESOURCE_EXHAUSTED, S::INFO, A::USER},
    {66568, KIV_ICU_ERROR_LIMIT, C::UNKNOWN, S::NONE, A::IGNORE},
};
static_assert(std::size(gs_astIcuRc2KivIdMap) == 22, "the ICU error map has 22 rows");

}  // namespace

const _KivStIcuRc2KivIdMapEntry& KivClIcuInterface::getKivEntryForIcuError(UErrorCode code) {
  for (const _KivStIcuRc2KivIdMapEntry& entry : gs_astIcuRc2KivIdMap) {
    if (entry.icuCode == static_cast<std::int32_t>(code)) return entry;
  }
  const _KivStUserError unexpected{KIV_ICU_UNEXPECTED_ICU_ERROR, C::UNKNOWN, S::NONE, A::IGNORE};
  throw KivClException(unexpected, KIV_LOCATION, static_cast<std::uint32_t>(__LINE__),
                       "Unexpected ICU error");
}

void KivClIcuInterface::mapIcuError(_KivStError& error, UErrorCode code) {
  const _KivStIcuRc2KivIdMapEntry& entry = getKivEntryForIcuError(code);
  error.id = entry.id;
  error.errorClass = entry.errorClass;
}

void KivClIcuInterface::mapIcuError(_KivStUserError& error, UErrorCode code) {
  const _KivStIcuRc2KivIdMapEntry& entry = getKivEntryForIcuError(code);
  error.id = entry.id;
  error.errorClass = entry.errorClass;
  error.severity = entry.severity;
  error.action = entry.action;
}

long KivClIcuInterface::getKivErrorIdForIcuError(UErrorCode code) {
  return getKivEntryForIcuError(code).id;
}

KivEnErrorClass KivClIcuInterface::getKivErrorClassForIcuError(UErrorCode code) {
  return getKivEntryForIcuError(code).errorClass;
}

KivEnErrorSeverity KivClIcuInterface::getKivErrorSeverityForIcuError(UErrorCode code) {
  return getKivEntryForIcuError(code).severity;
}

KivEnErrorAction KivClIcuInterface::getKivErrorActionForIcuError(UErrorCode code) {
  return getKivEntryForIcuError(code).action;
}

void KivClIcuInterface::handleIcuErrorCode(UErrorCode code) {
  if (code <= U_ZERO_ERROR) return;
  _KivStUserError error;
  mapIcuError(error, code);
  KIV_THROW(KivClException, error);
}
