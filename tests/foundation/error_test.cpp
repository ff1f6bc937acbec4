// The error vocabulary: every row of the four mapping tables, the values
// without a text, and the layout of the two records.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "kiv_error.hpp"
#include "kiv_test_support.hpp"

namespace {

// The tables as the error vocabulary documents them: symbol in code, value,
// text in the message table and message id, in message-table order.
struct IdRow {
  long symbol;
  long value;
  const char* name;
  std::uint32_t messageId;
};
template <typename Enum>
struct EnumRow {
  Enum symbol;
  std::int32_t value;
  const char* name;
  std::uint32_t messageId;
};

// A failing row shows its name and numbers, not the bytes of its pointer.
void PrintTo(const IdRow& row, std::ostream* os) {
  *os << row.name << " (symbol " << row.symbol << ", value " << row.value << ", message id "
      << row.messageId << ")";
}
template <typename Enum>
void PrintTo(const EnumRow<Enum>& row, std::ostream* os) {
  *os << row.name << " (symbol " << static_cast<std::int32_t>(row.symbol) << ", value " << row.value
      << ", message id " << row.messageId << ")";
}

const IdRow gs_idRows[] = {
    {KIV_NO_ERROR, 0, "NO_ERROR", 47},
    {KIV_CONUI_USAGE, 201, "CONUI_USAGE", 48},
    {KIV_CONUI_ARG_MISSING, 202, "CONUI_ARG_MISSING", 49},
    {KIV_CONUI_ARG_EXPECTING_VALUE, 203, "CONUI_ARG_EXPECTING_VALUE", 50},
    {KIV_CONUI_ARG_VALUE_TYPE_MISMATCH, 204, "CONUI_ARG_VALUE_TYPE_MISMATCH", 51},
    {KIV_CONUI_MSGCAT_CORRUPTED, 205, "CONUI_MSGCAT_CORRUPTED", 52},
    {KIV_INIFILE_INVAL_SECTION, 1000001, "INIFILE_INVAL_SECTION", 53},
    {KIV_INIFILE_INVAL_OPTION, 1000002, "INIFILE_INVAL_OPTION", 54},
    {KIV_INIFILE_INVAL_WHITESPACE, 1000003, "INIFILE_INVAL_WHITESPACE", 55},
    {KIV_DIRECTORY_EXPANSION_FAILED, 1000101, "DIRECTORY_EXPANSION_FAILED", 56},
    {KIV_DIRECTORY_COULD_NOT_CHANGE, 1000102, "DIRECTORY_COULD_NOT_CHANGE", 57},
    {KIV_DIRECTORY_COULD_NOT_CREATE, 1000103, "DIRECTORY_COULD_NOT_CREATE", 58},
    {KIV_DIRECTORY_COULD_NOT_REMOVE, 1000104, "DIRECTORY_COULD_NOT_REMOVE", 59},
    {KIV_DIRECTORY_COULD_NOT_DETACH, 1000105, "DIRECTORY_COULD_NOT_DETACH", 60},
    {KIV_PROCESS_COULD_NOT_KILL, 1000201, "PROCESS_COULD_NOT_KILL", 61},
    {KIV_PROCESS_COULD_NOT_LAUNCH, 1000202, "PROCESS_COULD_NOT_LAUNCH", 62},
    {KIV_THREAD_COULD_NOT_KILL, 1000301, "THREAD_COULD_NOT_KILL", 63},
    {KIV_THREAD_COULD_NOT_LAUNCH, 1000302, "THREAD_COULD_NOT_LAUNCH", 64},
    {KIV_THREAD_COULD_NOT_SUSPEND, 1000303, "THREAD_COULD_NOT_SUSPEND", 65},
    {KIV_THREAD_COULD_NOT_RESUME, 1000304, "THREAD_COULD_NOT_RESUME", 66},
    {KIV_FILE_COULD_NOT_COPY, 1000401, "FILE_COULD_NOT_COPY", 67},
    {KIV_FILE_COULD_NOT_REMOVE, 1000402, "FILE_COULD_NOT_REMOVE", 68},
    {KIV_FILE_COULD_NOT_COPY_SELF, 1000403, "FILE_COULD_NOT_COPY_SELF", 69},
    {KIV_FILE_COULD_NOT_RENAME, 1000404, "FILE_COULD_NOT_RENAME", 70},
    {KIV_DIRWALK_COULD_NOT_INIT, 1000601, "DIRWALK_COULD_NOT_INIT", 71},
    {KIV_DIRWALK_NO_CONTINUATION, 1000602, "DIRWALK_NO_CONTINUATION", 72},
    {KIV_TRACEFORMAT_COULD_NOT_OPEN, 1000701, "TRACEFORMAT_COULD_NOT_OPEN", 73},
    {KIV_TRACEFORMAT_UNEXPECTED_EOF, 1000702, "TRACEFORMAT_UNEXPECTED_EOF", 74},
    {KIV_TRACEFORMAT_FILE_CORRUPTED, 1000703, "TRACEFORMAT_FILE_CORRUPTED", 75},
    {KIV_MEMORYPOOL_COULD_NOT_GROW, 1000801, "MEMORYPOOL_COULD_NOT_GROW", 76},
    {KIV_MEMORYPOOL_CHUNK_TOO_BIG, 1000802, "MEMORYPOOL_CHUNK_TOO_BIG", 77},
    {KIV_CPCONVERTER_UNSUPPORTED, 1000901, "CPCONVERTER_UNSUPPORTED", 78},
    {KIV_CPCONVERTER_INVALID_SEQ, 1000902, "CPCONVERTER_INVALID_SEQ", 79},
    {KIV_CPCONVERTER_TOO_BIG, 1000903, "CPCONVERTER_TOO_BIG", 80},
    {KIV_CPCONVERTER_INCOMPLETE, 1000904, "CPCONVERTER_INCOMPLETE", 81},
    {KIV_CPCONVERTER_BAD_DESCR, 1000905, "CPCONVERTER_BAD_DESCR", 82},
    {KIV_CPCONVERTER_NO_TMP_BUFFER, 1000906, "CPCONVERTER_NO_TMP_BUFFER", 83},
    {KIV_MEMMGR_USER_OUT_OF_MEMORY, 1001001, "MEMMGR_USER_OUT_OF_MEMORY", 84},
    {KIV_MEMMGR_RUNTIME_OUT_OF_MEMORY, 1001002, "MEMMGR_RUNTIME_OUT_OF_MEMORY", 85},
    {KIV_MEMMGR_NO_USER_REALLOC_FUNC, 1001003, "MEMMGR_NO_USER_REALLOC_FUNC", 86},
    {KIV_MEMMGR_ZERO_SIZE_OBJECT, 1001004, "MEMMGR_ZERO_SIZE_OBJECT", 87},
    {KIV_ICU_UNEXPECTED_ICU_ERROR, 1001101, "ICU_UNEXPECTED_ICU_ERROR", 88},
    {KIV_ICU_ILLEGAL_ARGUMENT_ERROR, 1001102, "ICU_ILLEGAL_ARGUMENT_ERROR", 89},
    {KIV_ICU_MISSING_RESOURCE_ERROR, 1001103, "ICU_MISSING_RESOURCE_ERROR", 90},
    {KIV_ICU_INVALID_FORMAT_ERROR, 1001104, "ICU_INVALID_FORMAT_ERROR", 91},
    {KIV_ICU_FILE_ACCESS_ERROR, 1001105, "ICU_FILE_ACCESS_ERROR", 92},
    {KIV_ICU_INTERNAL_PROGRAM_ERROR, 1001106, "ICU_INTERNAL_PROGRAM_ERROR", 93},
    {KIV_ICU_MESSAGE_PARSE_ERROR, 1001107, "ICU_MESSAGE_PARSE_ERROR", 94},
    {KIV_ICU_MEMORY_ALLOCATION_ERROR, 1001108, "ICU_MEMORY_ALLOCATION_ERROR", 95},
    {KIV_ICU_INDEX_OUTOFBOUNDS_ERROR, 1001109, "ICU_INDEX_OUTOFBOUNDS_ERROR", 96},
    {KIV_ICU_PARSE_ERROR, 1001110, "ICU_PARSE_ERROR", 97},
    {KIV_ICU_INVALID_TABLE_FORMAT, 1001111, "ICU_INVALID_TABLE_FORMAT", 98},
    {KIV_ICU_INVALID_TABLE_FILE, 1001112, "ICU_INVALID_TABLE_FILE", 99},
    {KIV_ICU_UNSUPPORTED_ERROR, 1001113, "ICU_UNSUPPORTED_ERROR", 100},
    {KIV_ICU_RESOURCE_TYPE_MISMATCH, 1001114, "ICU_RESOURCE_TYPE_MISMATCH", 101},
    {KIV_ICU_ILLEGAL_ESCAPE_SEQUENCE, 1001115, "ICU_ILLEGAL_ESCAPE_SEQUENCE", 102},
    {KIV_ICU_UNSUPPORTED_ESCAPE_SEQ, 1001116, "ICU_UNSUPPORTED_ESCAPE_SEQ", 103},
    {KIV_ICU_NO_SPACE_AVAILABLE, 1001117, "ICU_NO_SPACE_AVAILABLE", 104},
    {KIV_ICU_ERROR_LIMIT, 1001118, "ICU_ERROR_LIMIT", 105},
};
const EnumRow<KivEnErrorClass> gs_classRows[] = {
    {KivEnErrorClass::UNKNOWN, 0, "UNKNOWN", 106},
    {KivEnErrorClass::FUNCTION_NOT_SUPPORTED, 1, "FUNCTION_NOT_SUPPORTED", 107},
    {KivEnErrorClass::FUNCTION_NOT_ENABLED, 2, "FUNCTION_NOT_ENABLED", 108},
    {KivEnErrorClass::USER_ERROR, 100, "USER_ERROR", 109},
    {KivEnErrorClass::USER_DATA_ERROR, 101, "USER_DATA_ERROR", 110},
    {KivEnErrorClass::OUT_OF_MEMORY, 200, "OUT_OF_MEMORY", 111},
    {KivEnErrorClass::RESOURCE_EXHAUSTED, 201, "RESOURCE_EXHAUSTED", 112},
    {KivEnErrorClass::INVALID_DATA, 202, "INVALID_DATA", 113},
    {KivEnErrorClass::DATA_OUT_OF_BOUNDS, 203, "DATA_OUT_OF_BOUNDS", 114},
    {KivEnErrorClass::INVALID_POINTER, 204, "INVALID_POINTER", 115},
    {KivEnErrorClass::UNKNOWN_PROCESS, 205, "UNKNOWN_PROCESS", 116},
    {KivEnErrorClass::RESOURCE_MISSING, 206, "RESOURCE_MISSING", 117},
    {KivEnErrorClass::LOGIC, 300, "LOGIC", 118},
    {KivEnErrorClass::INCONSISTENT_SITUATION, 301, "INCONSISTENT_SITUATION", 119},
    {KivEnErrorClass::COMMUNICATION_PROBLEM, 400, "COMMUNICATION_PROBLEM", 120},
    {KivEnErrorClass::IO_PROBLEM, 500, "IO_PROBLEM", 121},
    {KivEnErrorClass::IO_WRITE_PROBLEM, 501, "IO_WRITE_PROBLEM", 122},
    {KivEnErrorClass::IO_READ_PROBLEM, 502, "IO_READ_PROBLEM", 123},
    {KivEnErrorClass::IO_PERMISSION_DENIED, 503, "IO_PERMISSION_DENIED", 124},
    {KivEnErrorClass::IO_NOT_EXISTENT, 504, "IO_NOT_EXISTENT", 125},
    {KivEnErrorClass::IO_ALREADY_IN_USE, 505, "IO_ALREADY_IN_USE", 126},
    {KivEnErrorClass::IO_STILL_IN_USE, 506, "IO_STILL_IN_USE", 127},
    {KivEnErrorClass::IO_INVALID_NAME, 507, "IO_INVALID_NAME", 128},
    {KivEnErrorClass::HARDWARE_PROBLEM, 900, "HARDWARE_PROBLEM", 129},
    {KivEnErrorClass::HARDWARE_SETUP, 901, "HARDWARE_SETUP", 130},
    {KivEnErrorClass::HARDWARE_PERFORMANCE, 902, "HARDWARE_PERFORMANCE", 131},
    {KivEnErrorClass::HARDWARE_NOT_SUPPORTED, 903, "HARDWARE_NOT_SUPPORTED", 132},
};
const EnumRow<KivEnErrorSeverity> gs_severityRows[] = {
    {KivEnErrorSeverity::NONE, 0, "NONE", 133},
    {KivEnErrorSeverity::INFO, 1, "INFO", 134},
    {KivEnErrorSeverity::WARNING, 2, "WARNING", 135},
    {KivEnErrorSeverity::NORMAL, 5, "NORMAL", 136},
    {KivEnErrorSeverity::FATAL, 6, "FATAL", 137},
    {KivEnErrorSeverity::INTERNAL, 7, "INTERNAL", 138},
    {KivEnErrorSeverity::CRITICAL, 8, "CRITICAL", 139},
    {KivEnErrorSeverity::PANIC, 10, "PANIC", 140},
};
const EnumRow<KivEnErrorAction> gs_actionRows[] = {
    {KivEnErrorAction::IGNORE, 0, "IGNORE", 141},
    {KivEnErrorAction::INFORM, 1, "INFORM", 142},
    {KivEnErrorAction::WARN, 2, "WARN", 143},
    {KivEnErrorAction::RETRY, 3, "RETRY", 144},
    {KivEnErrorAction::RETRYDELAY, 4, "RETRYDELAY", 146},
    {KivEnErrorAction::USER, 5, "USER", 145},
    {KivEnErrorAction::TERMINATE, 6, "TERMINATE", 147},
    {KivEnErrorAction::ABORT, 8, "ABORT", 148},
    {KivEnErrorAction::PANIC, 10, "PANIC", 149},
};

// Names as the lists of the public header spell them, by value.
std::string enumName(KivEnErrorSeverity v) {
#define KIV_NAME_IF(name, value) \
  if (static_cast<std::int32_t>(v) == (value)) return #name;
  KIV_ERROR_SEVERITY_LIST(KIV_NAME_IF)
  return "?";
}
std::string enumName(KivEnErrorAction v) {
  KIV_ERROR_ACTION_LIST(KIV_NAME_IF)
  return "?";
}
#undef KIV_NAME_IF
std::string enumName(KivEnErrorClass v) { return kivtest::errorClassName(v); }

// --- error ids -------------------------------------------------------------

class ErrorIdRow : public ::testing::TestWithParam<IdRow> {};

TEST_P(ErrorIdRow, HasValueNameAndMessageId) {
  const IdRow& row = GetParam();
  EXPECT_EQ(row.symbol, row.value);
  EXPECT_EQ(kivtest::errorIdName(row.value), row.name);
  EXPECT_EQ(kivErrorGetIdAsMessageId(row.value), row.messageId);
}
INSTANTIATE_TEST_SUITE_P(Table, ErrorIdRow, ::testing::ValuesIn(gs_idRows), kivtest::NameMember{});

// --- classes, severities, actions -----------------------------------------

class ErrorClassRow : public ::testing::TestWithParam<EnumRow<KivEnErrorClass>> {};
TEST_P(ErrorClassRow, HasValueNameAndMessageId) {
  const auto& row = GetParam();
  EXPECT_EQ(static_cast<std::int32_t>(row.symbol), row.value);
  EXPECT_EQ(enumName(row.symbol), row.name);
  EXPECT_EQ(kivErrorGetClassAsMessageId(static_cast<KivEnErrorClass>(row.value)), row.messageId);
}
INSTANTIATE_TEST_SUITE_P(Table, ErrorClassRow, ::testing::ValuesIn(gs_classRows),
                         kivtest::NameMember{});

class ErrorSeverityRow : public ::testing::TestWithParam<EnumRow<KivEnErrorSeverity>> {};
TEST_P(ErrorSeverityRow, HasValueNameAndMessageId) {
  const auto& row = GetParam();
  EXPECT_EQ(static_cast<std::int32_t>(row.symbol), row.value);
  EXPECT_EQ(enumName(row.symbol), row.name);
  EXPECT_EQ(kivErrorGetSeverityAsMessageId(static_cast<KivEnErrorSeverity>(row.value)),
            row.messageId);
}
INSTANTIATE_TEST_SUITE_P(Table, ErrorSeverityRow, ::testing::ValuesIn(gs_severityRows),
                         kivtest::NameMember{});

class ErrorActionRow : public ::testing::TestWithParam<EnumRow<KivEnErrorAction>> {};
TEST_P(ErrorActionRow, HasValueNameAndMessageId) {
  const auto& row = GetParam();
  EXPECT_EQ(static_cast<std::int32_t>(row.symbol), row.value);
  EXPECT_EQ(enumName(row.symbol), row.name);
  EXPECT_EQ(kivErrorGetActionAsMessageId(static_cast<KivEnErrorAction>(row.value)), row.messageId);
}
INSTANTIATE_TEST_SUITE_P(Table, ErrorActionRow, ::testing::ValuesIn(gs_actionRows),
                         kivtest::NameMember{});

// --- the tables together ----------------------------------------------------

// Ids, classes, severities and actions together take the message ids 47 to
// 149 without a gap or a double. (The action table lists its values in
// numeric order, and there USER and RETRYDELAY have crossed message ids.)
TEST(ErrorVocabulary, MessageIdsAreConsecutiveFrom47To149) {
  std::vector<std::uint32_t> ids;
  for (const auto& row : gs_idRows) ids.push_back(kivErrorGetIdAsMessageId(row.value));
  for (const auto& row : gs_classRows) ids.push_back(kivErrorGetClassAsMessageId(row.symbol));
  for (const auto& row : gs_severityRows) ids.push_back(kivErrorGetSeverityAsMessageId(row.symbol));
  for (const auto& row : gs_actionRows) ids.push_back(kivErrorGetActionAsMessageId(row.symbol));
  std::sort(ids.begin(), ids.end());
  ASSERT_EQ(ids.size(), 103u);
  for (std::size_t i = 0; i < ids.size(); ++i) EXPECT_EQ(ids[i], 47u + i);
}

TEST(ErrorVocabulary, ErrorIdsTakeMessageIds47To105InTableOrder) {
  std::uint32_t expected = 47;
  for (const auto& row : gs_idRows) EXPECT_EQ(kivErrorGetIdAsMessageId(row.value), expected++);
  EXPECT_EQ(expected, 106u);
}

TEST(ErrorVocabulary, EveryIdOutsideTheTableMapsToZero) {
  // Every value from -1 to the top of the id space that the table does not
  // list has no text.
  std::size_t known = 0;
  for (long id = -1; id <= 1001200; ++id) {
    const std::uint32_t m = kivErrorGetIdAsMessageId(id);
    if (m != 0) ++known;
  }
  EXPECT_EQ(known, sizeof(gs_idRows) / sizeof(gs_idRows[0]));
}

// --- edge cases -------------------------------------------------------------

TEST(ErrorIdMapping, NoErrorMapsTo47) { EXPECT_EQ(kivErrorGetIdAsMessageId(0), 47u); }

TEST(ErrorIdMapping, UnusedGroupFiveMapsToZero) {
  for (long n = 0; n < 100; ++n) EXPECT_EQ(kivErrorGetIdAsMessageId(1000500 + n), 0u) << n;
}

TEST(ErrorIdMapping, IdAfterConsoleRangeMapsToZero) {
  EXPECT_EQ(kivErrorGetIdAsMessageId(206), 0u);
}

TEST(ErrorIdMapping, IdDifferingAboveBit31IsUnknown) {
  EXPECT_EQ(kivErrorGetIdAsMessageId((1L << 32) + 201), 0u);
  EXPECT_EQ(kivErrorGetIdAsMessageId((1L << 32) + 1000402), 0u);
  EXPECT_EQ(kivErrorGetIdAsMessageId(-(1L << 32)), 0u);
}

TEST(ErrorActionMapping, RetryDelayAndUserAreCrossed) {
  EXPECT_EQ(kivErrorGetActionAsMessageId(static_cast<KivEnErrorAction>(4)), 146u);
  EXPECT_EQ(kivErrorGetActionAsMessageId(static_cast<KivEnErrorAction>(5)), 145u);
}

TEST(ErrorSeverityMapping, UnassignedValuesMapToZero) {
  for (int v : {3, 4, 9, 11})
    EXPECT_EQ(kivErrorGetSeverityAsMessageId(static_cast<KivEnErrorSeverity>(v)), 0u) << v;
  EXPECT_EQ(kivErrorGetSeverityAsMessageId(static_cast<KivEnErrorSeverity>(10)), 140u);
}

TEST(ErrorSeverityMapping, NegativeValueIsUnknown) {
  EXPECT_EQ(kivErrorGetSeverityAsMessageId(static_cast<KivEnErrorSeverity>(-1)), 0u);
  EXPECT_EQ(kivErrorGetSeverityAsMessageId(static_cast<KivEnErrorSeverity>(INT32_MIN)), 0u);
}

TEST(ErrorActionMapping, UnassignedValuesMapToZero) {
  for (int v : {7, 9, 11})
    EXPECT_EQ(kivErrorGetActionAsMessageId(static_cast<KivEnErrorAction>(v)), 0u) << v;
  EXPECT_EQ(kivErrorGetActionAsMessageId(static_cast<KivEnErrorAction>(10)), 149u);
}

TEST(ErrorActionMapping, NegativeValueIsUnknown) {
  EXPECT_EQ(kivErrorGetActionAsMessageId(static_cast<KivEnErrorAction>(-1)), 0u);
}

TEST(ErrorClassMapping, GapValuesMapToZero) {
  for (int v : {3, 207, 904, -1, 99, 102, 302, 401, 508})
    EXPECT_EQ(kivErrorGetClassAsMessageId(static_cast<KivEnErrorClass>(v)), 0u) << v;
}

// --- records ----------------------------------------------------------------

TEST(ErrorRecord, ClearedRecordHasZeroIdAndClass) {
  _KivStError e{KIV_FILE_COULD_NOT_REMOVE, KivEnErrorClass::IO_NOT_EXISTENT};
  e = _KivStError{};
  EXPECT_EQ(e.id, 0);
  EXPECT_EQ(e.errorClass, KivEnErrorClass::UNKNOWN);
  EXPECT_EQ(e.id, KIV_NO_ERROR);
}

TEST(ErrorRecord, DefaultUserErrorIsAllZero) {
  const _KivStUserError e{};
  EXPECT_EQ(e.id, 0);
  EXPECT_EQ(static_cast<int>(e.errorClass), 0);
  EXPECT_EQ(static_cast<int>(e.severity), 0);
  EXPECT_EQ(static_cast<int>(e.action), 0);
}

// Records declared without an initialiser, here in storage that held other
// bytes before, start out all zero as well.
TEST(ErrorRecord, RecordsWithoutInitialiserAreAllZero) {
  alignas(_KivStUserError) unsigned char storage[sizeof(_KivStUserError)];
  std::memset(storage, 0xA5, sizeof storage);
  const auto* user = new (storage) _KivStUserError;
  EXPECT_EQ(user->id, 0);
  EXPECT_EQ(static_cast<int>(user->errorClass), 0);
  EXPECT_EQ(static_cast<int>(user->severity), 0);
  EXPECT_EQ(static_cast<int>(user->action), 0);
  user->~_KivStUserError();

  std::memset(storage, 0xA5, sizeof storage);
  const auto* plain = new (storage) _KivStError;
  EXPECT_EQ(plain->id, 0);
  EXPECT_EQ(static_cast<int>(plain->errorClass), 0);
  plain->~_KivStError();
}

TEST(ErrorRecord, FieldsHaveTheDocumentedWidthsAndOrder) {
  static_assert(std::is_same_v<decltype(_KivStError::id), long>);
  static_assert(sizeof(long) == 8);
  static_assert(sizeof(KivEnErrorClass) == 4 && sizeof(KivEnErrorSeverity) == 4 &&
                sizeof(KivEnErrorAction) == 4);
  static_assert(std::is_same_v<std::underlying_type_t<KivEnErrorClass>, std::int32_t>);
  EXPECT_EQ(offsetof(_KivStError, id), 0u);
  EXPECT_EQ(offsetof(_KivStError, errorClass), 8u);
  // The user error starts with the fields of the plain record.
  EXPECT_EQ(offsetof(_KivStUserError, id), offsetof(_KivStError, id));
  EXPECT_EQ(offsetof(_KivStUserError, errorClass), offsetof(_KivStError, errorClass));
  EXPECT_EQ(offsetof(_KivStUserError, severity), 12u);
  EXPECT_EQ(offsetof(_KivStUserError, action), 16u);
}

}  // namespace
