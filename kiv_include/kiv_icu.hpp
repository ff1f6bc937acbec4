/// \file
/// KIV Library: the ICU back end.
///
/// Code pages that have neither a built-in algorithm nor a built-in table are
/// converted by ICU (kiv_converter.hpp chooses that). This header opens ICU
/// converters by CCSID and maps ICU's error codes to the library's errors.
///
/// kivGetICUConverter opens, for a CCSID:
/// ~~~
///   932 and 942   the converter whose name or alias ends in "942_VSUB_VPUA"
///   943           the converter whose name or alias ends in "943_VSUB_VPUA"
///   1392          ICU's "gb18030"
///   65502         ICU's "LMBCS"
///   any other     ucnv_openCCSID(ccsid, platform 0), ICU's own CCSID numbering
/// ~~~
/// The two "_VSUB_VPUA" converters are found by their ending, not by a full
/// name: the name's prefix differs between ICU builds, so the library walks
/// ICU's converter names and aliases (ucnv_countAvailable,
/// ucnv_getAvailableName, ucnv_countAliases, ucnv_getAlias) once per process
/// for a name that ends so, with no digit before the number. It keeps the
/// converter name it found. When no such name exists, ucnv_openCCSID(942 or
/// 943) serves instead. Fallback mappings are switched on for every converter
/// opened here (ucnv_setFallback).
///
/// Resolving a converter name through ICU's alias tables costs several times
/// more than copying an open converter. So the first converter opened for a
/// CCSID is kept, never converted with, as a template for the life of the
/// process, and kivGetICUConverter hands out clones of it (ucnv_clone). There
/// is at most one template per CCSID that ICU can open; a program that ends
/// ICU with u_cleanup() must not use the library's converters afterwards.
///
/// The two ICU methods (kivConvertByAlgorithmIcuToUnicode and
/// kivConvertByAlgorithmIcuFromUnicode, kiv_converter.hpp) make one call of
/// ucnv_toUnicode / ucnv_fromUnicode with flush on, so every conversion
/// starts afresh, and map ICU's status into the converter's record (ICU's
/// warnings count as success). After a full target ICU keeps what did not
/// fit and writes it first on the next call. From UCS-2, an odd last byte is
/// left unconverted and reported as CPCONVERTER_INCOMPLETE unless ICU
/// reported something.
///
/// ICU error map (ICU code: error id, class, severity, action). Codes
/// outside it, and all warnings (negative codes), are unexpected:
/// ~~~
///   0  U_ZERO_ERROR                  0                            0   0  0
///   1  U_ILLEGAL_ARGUMENT_ERROR      ICU_ILLEGAL_ARGUMENT_ERROR   100 1  7
///   2  U_MISSING_RESOURCE_ERROR      ICU_MISSING_RESOURCE_ERROR   0   1  5
///   3  U_INVALID_FORMAT_ERROR        ICU_INVALID_FORMAT_ERROR     0   1  5
///   4  U_FILE_ACCESS_ERROR           ICU_FILE_ACCESS_ERROR        500 1  5
///   5  U_INTERNAL_PROGRAM_ERROR      ICU_INTERNAL_PROGRAM_ERROR   0   8  7
///   6  U_MESSAGE_PARSE_ERROR         ICU_MESSAGE_PARSE_ERROR      101 1  5
///   7  U_MEMORY_ALLOCATION_ERROR     ICU_MEMORY_ALLOCATION_ERROR  200 1  6
///   8  U_INDEX_OUTOFBOUNDS_ERROR     ICU_INDEX_OUTOFBOUNDS_ERROR  101 1  5
///   9  U_PARSE_ERROR                 ICU_PARSE_ERROR              101 1  5
///   10 U_INVALID_CHAR_FOUND          CPCONVERTER_INVALID_SEQ      202 1  5
///   11 U_TRUNCATED_CHAR_FOUND        CPCONVERTER_INCOMPLETE       202 1  5
///   12 U_ILLEGAL_CHAR_FOUND          CPCONVERTER_INVALID_SEQ      202 1  5
///   13 U_INVALID_TABLE_FORMAT        ICU_INVALID_TABLE_FORMAT     101 1  5
///   14 U_INVALID_TABLE_FILE          ICU_INVALID_TABLE_FILE       500 1  5
///   15 U_BUFFER_OVERFLOW_ERROR       CPCONVERTER_TOO_BIG          101 1  5
///   16 U_UNSUPPORTED_ERROR           ICU_UNSUPPORTED_ERROR        1   1  5
///   17 U_RESOURCE_TYPE_MISMATCH      ICU_RESOURCE_TYPE_MISMATCH   101 1  5
///   18 U_ILLEGAL_ESCAPE_SEQUENCE     ICU_ILLEGAL_ESCAPE_SEQUENCE  202 1  5
///   19 U_UNSUPPORTED_ESCAPE_SEQUENCE ICU_UNSUPPORTED_ESCAPE_SEQ   202 1  5
///   20 U_NO_SPACE_AVAILABLE          ICU_NO_SPACE_AVAILABLE       201 1  5
///   66568 (the error limit of the ICU interface the library was first
///          built against)            ICU_ERROR_LIMIT              0   0  0
/// ~~~
/// Deliberately unusual, kept so: ICU's buffer overflow is USER_DATA_ERROR,
/// where iconv's full target (kiv_converter.hpp) is DATA_OUT_OF_BOUNDS.
///
/// Errors: kivGetICUConverter reports into the given record and returns
/// null. The KivClIcuInterface functions throw KivClException
/// (kiv_exception.hpp) for a code outside the map: id
/// ICU_UNEXPECTED_ICU_ERROR, class, severity and action 0, and the cause
/// "Unexpected ICU error"; handleIcuErrorCode throws the mapped record for
/// every error code. The map itself is constant.
///
/// Ownership: kivGetICUConverter hands its converter to the caller, who
/// closes it with kivDeleteICUConverter. Thread safety: everything here may
/// be called from several threads; the search for the "_VSUB_VPUA" names
/// runs once (std::call_once) and the templates are kept under a lock. An
/// ICU converter must not be used by two threads at once.
#ifndef KIV_ICU_HPP
#define KIV_ICU_HPP

#include <unicode/ucnv.h>
#include <unicode/utypes.h>

#include <cstdint>

#include "kiv_error.hpp"
#include "kiv_export.hpp"

/// One row of the ICU error map.
struct _KivStIcuRc2KivIdMapEntry {
  /// the ICU error code
  std::int32_t icuCode;
  /// the library's error id
  long id;
  /// the error class that goes with the id
  KivEnErrorClass errorClass;
  /// how grave the failure is
  KivEnErrorSeverity severity;
  /// what the caller is advised to do
  KivEnErrorAction action;
};

/// The mapping of ICU error codes to the library's errors. Static members
/// only.
class KIV_EXPORT KivClIcuInterface {
 public:
  KivClIcuInterface() = delete;

  /// The map row of `code`; throws KivClException (ICU_UNEXPECTED_ICU_ERROR,
  /// cause "Unexpected ICU error") for a code that is not in the map, which
  /// includes every warning.
  static const _KivStIcuRc2KivIdMapEntry& getKivEntryForIcuError(UErrorCode code);
  /// Copies the row's id and class into `error`. Throws as above.
  static void mapIcuError(_KivStError& error, UErrorCode code);
  /// Copies the row's id, class, severity and action into `error`. Throws
  /// as above.
  static void mapIcuError(_KivStUserError& error, UErrorCode code);
  /// The error id of the row of `code`. Throws as above.
  static long getKivErrorIdForIcuError(UErrorCode code);
  /// The error class of the row of `code`. Throws as above.
  static KivEnErrorClass getKivErrorClassForIcuError(UErrorCode code);
  /// The severity of the row of `code`. Throws as above.
  static KivEnErrorSeverity getKivErrorSeverityForIcuError(UErrorCode code);
  /// The recommended action of the row of `code`. Throws as above.
  static KivEnErrorAction getKivErrorActionForIcuError(UErrorCode code);
  /// Nothing for 0 and for warnings (negative codes); for an error, throws
  /// KivClException carrying the mapped id, class, severity and action
  /// (with the empty cause).
  static void handleIcuErrorCode(UErrorCode code);

  /// The name of the ICU converter that serves "942_VSUB_VPUA"
  /// (`vpua943` false) or "943_VSUB_VPUA" (true), as found among ICU's
  /// converter names and aliases; null when ICU has none.
  static const char* getVsubVpuaConverterName(bool vpua943) noexcept;
};

/// Opens the ICU converter for `ccsid` (see the banner) with fallback
/// mappings switched on. On failure maps ICU's status into `error` and
/// returns null; on success leaves `error` alone. The caller owns the
/// converter and closes it with kivDeleteICUConverter.
KIV_EXPORT UConverter* kivGetICUConverter(unsigned int ccsid, _KivStError& error);

/// Closes an ICU converter of kivGetICUConverter; null is ignored.
KIV_EXPORT void kivDeleteICUConverter(const void* converter);

#endif
