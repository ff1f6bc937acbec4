// Mapping of error ids, classes, severities and actions to message ids.
//
// Each list is walked in message-table order; the position of the value in
// its list gives the message id. The lists are short (at most 59 entries)
// and the functions are called only when an error is displayed, so a linear
// walk over a constant table is all that is needed.

#include "kiv_error.hpp"

#include <cstddef>

namespace {

template <typename Value, std::size_t N>
std::uint32_t messageIdOf(const Value (&values)[N], Value value, std::uint32_t firstMessageId) {
  for (std::size_t i = 0; i < N; ++i) {
    if (values[i] == value) return firstMessageId + static_cast<std::uint32_t>(i);
  }
  return 0;
}

#define KIV_VALUE_OF(name, value) value,
constexpr long gs_errorIds[] = {KIV_ERROR_ID_LIST(KIV_VALUE_OF)};
constexpr std::uint32_t gs_errorClasses[] = {KIV_ERROR_CLASS_LIST(KIV_VALUE_OF)};
constexpr std::uint32_t gs_errorSeverities[] = {KIV_ERROR_SEVERITY_LIST(KIV_VALUE_OF)};
constexpr std::uint32_t gs_errorActions[] = {KIV_ERROR_ACTION_LIST(KIV_VALUE_OF)};
#undef KIV_VALUE_OF

}  // namespace

extern "C" {

std::uint32_t kivErrorGetIdAsMessageId(long id) {
  return messageIdOf(gs_errorIds, id, KIV_ERROR_ID_FIRST_MESSAGE_ID);
}

// Class, severity and action are compared as unsigned 32-bit values, so that
// a negative value can never alias a listed one.
std::uint32_t kivErrorGetClassAsMessageId(KivEnErrorClass errorClass) {
  return messageIdOf(gs_errorClasses, static_cast<std::uint32_t>(errorClass),
                     KIV_ERROR_CLASS_FIRST_MESSAGE_ID);
}

std::uint32_t kivErrorGetSeverityAsMessageId(KivEnErrorSeverity severity) {
  return messageIdOf(gs_errorSeverities, static_cast<std::uint32_t>(severity),
                     KIV_ERROR_SEVERITY_FIRST_MESSAGE_ID);
}

std::uint32_t kivErrorGetActionAsMessageId(KivEnErrorAction action) {
  return messageIdOf(gs_errorActions, static_cast<std::uint32_t>(action),
                     KIV_ERROR_ACTION_FIRST_MESSAGE_ID);
}

}  // extern "C"
