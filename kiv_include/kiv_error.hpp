/// \file
/// KIV Library: error records and the error vocabulary.
///
/// Every object of the library that can fail keeps its last error as a
/// `_KivStError` (what went wrong: the error id; what kind of failure: the
/// error class) and returns bool, a count or a pointer; the caller reads the
/// record through the object's `getLastError()` when the result says failure.
/// A successful operation clears the record (both fields 0). Exceptions and
/// the code-page back ends carry the fuller `_KivStUserError`, which adds how
/// grave the failure is and what the caller is advised to do.
///
/// The four mapping functions turn each value into the number of its text in
/// the library's built-in message table; callers add the base index at which
/// the library's message set begins in their catalog.
///
/// Ownership: records are plain values. Failure: none of the functions here
/// fails; an unknown value maps to message id 0. Thread safety: everything
/// here is pure and may be called from any thread.
#ifndef KIV_ERROR_HPP
#define KIV_ERROR_HPP

#include <cstdint>

#include "kiv_errorids.hpp"
#include "kiv_export.hpp"

/// Kind of a failure. The enumerators carry the names of the message table;
/// the values are grouped by hundreds and the gaps are not values.
enum class KivEnErrorClass : std::int32_t {
#define KIV_ENUMERATOR(name, value) name = value,
  KIV_ERROR_CLASS_LIST(KIV_ENUMERATOR)
#undef KIV_ENUMERATOR
};

/// Gravity of a failure. 3, 4 and 9 are not values.
enum class KivEnErrorSeverity : std::int32_t {
#define KIV_ENUMERATOR(name, value) name = value,
  KIV_ERROR_SEVERITY_LIST(KIV_ENUMERATOR)
#undef KIV_ENUMERATOR
};

/// Action recommended to whoever handles a failure. 7 and 9 are not values.
enum class KivEnErrorAction : std::int32_t {
#define KIV_ENUMERATOR(name, value) name = value,
  KIV_ERROR_ACTION_LIST(KIV_ENUMERATOR)
#undef KIV_ENUMERATOR
};

/// @{
#define KIV_ERROR_ID_CONSTANT(name, value) inline constexpr long KIV_##name = value;
/// An error id of the library as a constant: `KIV_` and the name of its
/// entry in KIV_ERROR_ID_LIST (kiv_errorids.hpp), with the entry's value
/// (`KIV_NO_ERROR` is 0, `KIV_FILE_COULD_NOT_REMOVE` 1000402, and so on). The
/// `KIV_` prefix keeps the names clear of platform macros.
KIV_ERROR_ID_LIST(KIV_ERROR_ID_CONSTANT)
#undef KIV_ERROR_ID_CONSTANT
/// @}

/// The error record that objects keep as their last error and that error
/// handlers receive. Both fields 0 mean success; a record declared without
/// an initialiser is such a cleared record.
struct _KivStError {
  /// error id; 0 (KIV_NO_ERROR) means no error
  long id = 0;
  /// kind of failure; UNKNOWN (0) when no error is set
  KivEnErrorClass errorClass = KivEnErrorClass::UNKNOWN;
};

/// The full error record carried by every exception. Its first two fields
/// have the types and order of `_KivStError`. All four are 0 by default,
/// also for a record declared without an initialiser.
struct _KivStUserError {
  /// error id; 0 (KIV_NO_ERROR) means no error
  long id = 0;
  /// kind of failure; UNKNOWN (0) when no error is set
  KivEnErrorClass errorClass = KivEnErrorClass::UNKNOWN;
  /// how grave the failure is; NONE (0) when no error is set
  KivEnErrorSeverity severity = KivEnErrorSeverity::NONE;
  /// what the handler is advised to do; IGNORE (0) when no error is set
  KivEnErrorAction action = KivEnErrorAction::IGNORE;
};

/// Equal id and equal class.
inline bool operator==(const _KivStError& a, const _KivStError& b) {
  return a.id == b.id && a.errorClass == b.errorClass;
}
/// Different id or different class.
inline bool operator!=(const _KivStError& a, const _KivStError& b) { return !(a == b); }
/// All four fields equal.
inline bool operator==(const _KivStUserError& a, const _KivStUserError& b) {
  return a.id == b.id && a.errorClass == b.errorClass && a.severity == b.severity &&
         a.action == b.action;
}
/// Some field differs.
inline bool operator!=(const _KivStUserError& a, const _KivStUserError& b) { return !(a == b); }

extern "C" {

/// Message id of an error id (47-105), or 0 when the id is not one of the
/// table's. The full 64-bit id is compared.
KIV_EXPORT std::uint32_t kivErrorGetIdAsMessageId(long id);

/// Message id of an error class (106-132), or 0 for a value in a gap.
KIV_EXPORT std::uint32_t kivErrorGetClassAsMessageId(KivEnErrorClass errorClass);

/// Message id of a severity (133-140), or 0 for an unassigned value. The
/// value is read as unsigned, so a negative one is unknown.
KIV_EXPORT std::uint32_t kivErrorGetSeverityAsMessageId(KivEnErrorSeverity severity);

/// Message id of an action (141-149), or 0 for an unassigned value. Note the
/// crossing: RETRYDELAY (4) gives 146 and USER (5) gives 145.
KIV_EXPORT std::uint32_t kivErrorGetActionAsMessageId(KivEnErrorAction action);

}  // extern "C"

#endif
