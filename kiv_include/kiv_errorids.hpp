/// \file
/// KIV Library: the error vocabulary as lists.
///
/// The whole library shares one flat space of error ids, and every id, error
/// class, severity and action has a symbolic name that is also its text in
/// the built-in message table. The lists below are the single place where
/// these names, their values and their order are written down; the error
/// header turns them into constants and enumerations, the mapping functions
/// into message ids, and the message table into texts.
///
/// Each list is an "X macro": it calls X(name, value) once per entry, in the
/// order of the message table. The message id of an entry is the first
/// message id of its list plus its position in the list.
///
/// Thread safety: constants only.
#ifndef KIV_ERRORIDS_HPP
#define KIV_ERRORIDS_HPP

/// Error ids, message ids 47 to 105. The console user interface uses the
/// small numbers 201-205; every other group uses 1000000 + 100 x group + n
/// (groups: 0 INI files, 1 directories, 2 processes, 3 threads, 4 files,
/// 6 directory walk, 7 trace formatter, 8 memory pool, 9 converters,
/// 10 memory manager, 11 ICU; group 5 is unused).
#define KIV_ERROR_ID_LIST(X)               \
  X(NO_ERROR, 0)                           \
  X(CONUI_USAGE, 201)                      \
  X(CONUI_ARG_MISSING, 202)                \
  X(CONUI_ARG_EXPECTING_VALUE, 203)        \
  X(CONUI_ARG_VALUE_TYPE_MISMATCH, 204)    \
  X(CONUI_MSGCAT_CORRUPTED, 205)           \
  X(INIFILE_INVAL_SECTION, 1000001)        \
  X(INIFILE_INVAL_OPTION, 1000002)         \
  X(INIFILE_INVAL_WHITESPACE, 1000003)     \
  X(DIRECTORY_EXPANSION_FAILED, 1000101)   \
  X(DIRECTORY_COULD_NOT_CHANGE, 1000102)   \
  X(DIRECTORY_COULD_NOT_CREATE, 1000103)   \
  X(DIRECTORY_COULD_NOT_REMOVE, 1000104)   \
  X(DIRECTORY_COULD_NOT_DETACH, 1000105)   \
  X(PROCESS_COULD_NOT_KILL, 1000201)       \
  X(PROCESS_COULD_NOT_LAUNCH, 1000202)     \
  X(THREAD_COULD_NOT_KILL, 1000301)        \
  X(THREAD_COULD_NOT_LAUNCH, 1000302)      \
  X(THREAD_COULD_NOT_SUSPEND, 1000303)     \
  X(THREAD_COULD_NOT_RESUME, 1000304)      \
  X(FILE_COULD_NOT_COPY, 1000401)          \
  X(FILE_COULD_NOT_REMOVE, 1000402)        \
  X(FILE_COULD_NOT_COPY_SELF, 1000403)     \
  X(FILE_COULD_NOT_RENAME, 1000404)        \
  X(DIRWALK_COULD_NOT_INIT, 1000601)       \
  X(DIRWALK_NO_CONTINUATION, 1000602)      \
  X(TRACEFORMAT_COULD_NOT_OPEN, 1000701)   \
  X(TRACEFORMAT_UNEXPECTED_EOF, 1000702)   \
  X(TRACEFORMAT_FILE_CORRUPTED, 1000703)   \
  X(MEMORYPOOL_COULD_NOT_GROW, 1000801)    \
  X(MEMORYPOOL_CHUNK_TOO_BIG, 1000802)     \
  X(CPCONVERTER_UNSUPPORTED, 1000901)      \
  X(CPCONVERTER_INVALID_SEQ, 1000902)      \
  X(CPCONVERTER_TOO_BIG, 1000903)          \
  X(CPCONVERTER_INCOMPLETE, 1000904)       \
  X(CPCONVERTER_BAD_DESCR, 1000905)        \
  X(CPCONVERTER_NO_TMP_BUFFER, 1000906)    \
  X(MEMMGR_USER_OUT_OF_MEMORY, 1001001)    \
  X(MEMMGR_RUNTIME_OUT_OF_MEMORY, 1001002) \
  X(MEMMGR_NO_USER_REALLOC_FUNC, 1001003)  \
  X(MEMMGR_ZERO_SIZE_OBJECT, 1001004)      \
  X(ICU_UNEXPECTED_ICU_ERROR, 1001101)     \
  X(ICU_ILLEGAL_ARGUMENT_ERROR, 1001102)   \
  X(ICU_MISSING_RESOURCE_ERROR, 1001103)   \
  X(ICU_INVALID_FORMAT_ERROR, 1001104)     \
  X(ICU_FILE_ACCESS_ERROR, 1001105)        \
  X(ICU_INTERNAL_PROGRAM_ERROR, 1001106)   \
  X(ICU_MESSAGE_PARSE_ERROR, 1001107)      \
  X(ICU_MEMORY_ALLOCATION_ERROR, 1001108)  \
  X(ICU_INDEX_OUTOFBOUNDS_ERROR, 1001109)  \
  X(ICU_PARSE_ERROR, 1001110)              \
  X(ICU_INVALID_TABLE_FORMAT, 1001111)     \
  X(ICU_INVALID_TABLE_FILE, 1001112)       \
  X(ICU_UNSUPPORTED_ERROR, 1001113)        \
  X(ICU_RESOURCE_TYPE_MISMATCH, 1001114)   \
  X(ICU_ILLEGAL_ESCAPE_SEQUENCE, 1001115)  \
  X(ICU_UNSUPPORTED_ESCAPE_SEQ, 1001116)   \
  X(ICU_NO_SPACE_AVAILABLE, 1001117)       \
  X(ICU_ERROR_LIMIT, 1001118)

/// Error classes, message ids 106 to 132. Grouped by hundreds: 0-2 general,
/// 100s the user, 200s resources and data, 300s logic, 400 communication,
/// 500s input/output, 900s hardware. The gaps are not values.
#define KIV_ERROR_CLASS_LIST(X)  \
  X(UNKNOWN, 0)                  \
  X(FUNCTION_NOT_SUPPORTED, 1)   \
  X(FUNCTION_NOT_ENABLED, 2)     \
  X(USER_ERROR, 100)             \
  X(USER_DATA_ERROR, 101)        \
  X(OUT_OF_MEMORY, 200)          \
  X(RESOURCE_EXHAUSTED, 201)     \
  X(INVALID_DATA, 202)           \
  X(DATA_OUT_OF_BOUNDS, 203)     \
  X(INVALID_POINTER, 204)        \
  X(UNKNOWN_PROCESS, 205)        \
  X(RESOURCE_MISSING, 206)       \
  X(LOGIC, 300)                  \
  X(INCONSISTENT_SITUATION, 301) \
  X(COMMUNICATION_PROBLEM, 400)  \
  X(IO_PROBLEM, 500)             \
  X(IO_WRITE_PROBLEM, 501)       \
  X(IO_READ_PROBLEM, 502)        \
  X(IO_PERMISSION_DENIED, 503)   \
  X(IO_NOT_EXISTENT, 504)        \
  X(IO_ALREADY_IN_USE, 505)      \
  X(IO_STILL_IN_USE, 506)        \
  X(IO_INVALID_NAME, 507)        \
  X(HARDWARE_PROBLEM, 900)       \
  X(HARDWARE_SETUP, 901)         \
  X(HARDWARE_PERFORMANCE, 902)   \
  X(HARDWARE_NOT_SUPPORTED, 903)

/// Severities, message ids 133 to 140. 3, 4 and 9 are unassigned on purpose.
#define KIV_ERROR_SEVERITY_LIST(X) \
  X(NONE, 0)                       \
  X(INFO, 1)                       \
  X(WARNING, 2)                    \
  X(NORMAL, 5)                     \
  X(FATAL, 6)                      \
  X(INTERNAL, 7)                   \
  X(CRITICAL, 8)                   \
  X(PANIC, 10)

/// Recommended actions, message ids 141 to 149; 7 and 9 are unassigned.
/// The message table has the text of USER (5) before that of RETRYDELAY (4),
/// so the list keeps that order and the two message ids come out crossed.
/// PANIC has a message id of its own although its text equals the severity's.
#define KIV_ERROR_ACTION_LIST(X) \
  X(IGNORE, 0)                   \
  X(INFORM, 1)                   \
  X(WARN, 2)                     \
  X(RETRY, 3)                    \
  X(USER, 5)                     \
  X(RETRYDELAY, 4)               \
  X(TERMINATE, 6)                \
  X(ABORT, 8)                    \
  X(PANIC, 10)

/// Message id of the first entry of KIV_ERROR_ID_LIST (NO_ERROR).
#define KIV_ERROR_ID_FIRST_MESSAGE_ID 47
/// Message id of the first entry of KIV_ERROR_CLASS_LIST (UNKNOWN).
#define KIV_ERROR_CLASS_FIRST_MESSAGE_ID 106
/// Message id of the first entry of KIV_ERROR_SEVERITY_LIST (NONE).
#define KIV_ERROR_SEVERITY_FIRST_MESSAGE_ID 133
/// Message id of the first entry of KIV_ERROR_ACTION_LIST (IGNORE).
#define KIV_ERROR_ACTION_FIRST_MESSAGE_ID 141

#endif
