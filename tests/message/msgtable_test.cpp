// The built-in message table: every text against a copy written out here,
// the usage and help texts of the trace controller line by line, the names
// of the error vocabulary at the message ids the error model maps to, the
// unused slots and the markers.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kiv_error.hpp"
#include "kiv_msgtable.hpp"

namespace {

struct Text {
  unsigned long id;
  const char* text;
};

// Ids 0-46 and 150-199 apart from the usage (151) and help (152) texts.
const Text gs_texts[] = {
    {0, "[KIV_MSGTAB_SIGNATURE] 221"},
    {1, "[KIV-LIBRARY]"},
    {2,
     "Percent:%% Arg1:%1 Arg2:%2 Arg3:%3 Arg4:%4 Arg5:%5 Arg6:%6 Arg7:%7 Arg8:%8 Arg9:%9 "
     "Arg10:%10"},
    {3, "YES"},
    {4, "NO"},
    {5, "Y/N"},
    {6, "min."},
    {7, "max."},
    {8, "hH?"},
    {9, "copyright"},
    {10, "quiet"},
    {11, "default"},
    {12, "An exception occurred"},
    {13, "A fatal error occurred"},
    {14, "An error occurred"},
    {15, "Warning"},
    {16, "Informational message"},
    {17, "Usage"},
    {18, "Help"},
    {19, "=== Press any key to continue ==="},
    {20, "=== Press <ENTER> to continue ==="},
    {21, "(Specify '-h' for help)"},
    {22, "Sorry, no additional help available"},
    {23, "Unknown command line argument"},
    {24, "Command line argument not allowed"},
    {25, "Illegal repetition of command line argument"},
    {26, "Missing command line switch"},
    {27, "No value specified for command line switch"},
    {28, "No numeric value specified for command line switch"},
    {29, "Non-numeric value specified for numeric command line switch"},
    {30, "Invalid value specified"},
    {31, "Please enter a numeric value"},
    {32, "Please enter a value within limits"},
    {33, "Please use"},
    {34, "Copyright"},
    {35, "Level"},
    {36, "PLTX Level"},
    {37, "PLTX Level date"},
    {38, "Compile date"},
    {39, "Error ID"},
    {40, "Error Class"},
    {41, "Error Severity"},
    {42, "Recommended Action"},
    {43, "Cause for exception"},
    {44, "Exception occured in module"},
    {45, "Exception occured in function"},
    {46, "Exception occured in line"},
    {150, "Trace Controller"},
    {153, "key"},
    {154, "instance"},
    {155, "file"},
    {156, "verbose"},
    {157, "init"},
    {158, "dump"},
    {159, "display"},
    {160, "reset"},
    {161, "fdetail"},
    {162, "format"},
    {163, "fnofhd"},
    {164, "fssfhd"},
    {165, "fhex"},
    {166, "fbin"},
    {167, "fnest"},
    {168, "findent"},
    {169, "fdetail"},
    {170, "fcompids"},
    {171, "fpid"},
    {172, "ftid"},
    {173, "Key/Instance"},
    {174, "Trace Status"},
    {175, "Trace Filter"},
    {176, "Trace active"},
    {177, "Trace enabled"},
    {178, "Trace uses shared memory"},
    {179, "Trace buffer size"},
    {180, "Trace file"},
    {181, "Detail level"},
    {182, "Filter process id"},
    {183, "Filter thread id"},
    {184, "Component Set"},
    {185, "Compression rate"},
    {186, "Number of entries"},
    {187, "Include component(s)"},
    {188, "Exclude component(s)"},
    {189, "Bytes"},
    {190, " *** Clipped ***"},
    {191, "*** Illegal NULL pointer ***"},
    {192, "Nesting level: "},
    {193, "Specified trace file not found"},
    {194, "Invalid instance"},
    {195, "Trace file could not be identified; specified key may be invalid"},
    {196, "Could not initialize trace"},
    {197, "Could not open trace file for read access"},
    {198, "Trace file corrupted: unexpected end-of-file"},
    {199, "Trace file corrupted: invalid data found"},
};

// Id 151: the usage string of the trace controller, one entry a line.
const char* const gs_usageLines[] = {
    "(-key <key>) [(-instance <instance>)] [(-file <filename>)]",
    "[-display]",
    "[(-format <string>)] [(-findent <string>)]",
    "[-fnest] [-fnofhd] [-fssfhd] [-fhex] [-fbin]",
    "[(-fdetail <detail>)] [(-fcompids <compids>)]",
    "[(-fpid <pid>)] [(-ftid <tid>)]",
    "[-verbose]",
};

// Id 152: the help text of the trace controller, one entry a line; the "@"
// lines separate the three sections.
const char* const gs_helpLines[] = {
    "-key <key>               Specify a key for the trace facility",
    "[-instance <instance>]   Specify an optional instance key",
    "[-file <filename>]       Specify a filename for the trace file",
    "                            (Default: <key>_TRACE_FILE)",
    "[-verbose]               Verbose display mode",
    "[-display]               Display the current trace",
    "[-format <string>]       Use the specified format <string>",
    "                            (Default: <key>_TRACE_FORMAT)",
    "[-findent <string>]      Format with <string> for indentation",
    "[-fnest]                 Format with function nesting",
    "[-fnofhd]                Format without function headers",
    "[-fssfhd]                Format and skip subsequent function headers",
    "[-fhex]                  Format integral data in hex notation, too",
    "[-fbin]                  Format integral data in binary notation, too",
    "[-fdetail <detail>]      Format only entries with the specified",
    "                            detail level (Default: <key>_TRACE_DETAIL)",
    "[-fcompids <compids>]    Format only entries with the specified",
    "                            component ids",
    "[-fpid <pid>]            Format only entries with the specified",
    "                            process id",
    "[-ftid <tid>]            Format only entries with the specified",
    "                            thread id",
    "@",
    "Trace environment variables:",
    "============================",
    "   <key>_TRACE_ACTIVE=yes     enables trace",
    "   <key>_TRACE_AUTOSAVE=yes   enables trace autosave feature",
    "   <key>_TRACE_AUTOCLEAR=yes  automatically clears the trace buffer and file",
    "   <key>_TRACE_BUFSIZE=xxx    sets trace buffer to 'xxx' KB of memory",
    "   <key>_TRACE_COMPRESS=yes   enables the compression of trace data",
    "   <key>_TRACE_DETAIL=xxx     sets the trace detail level to 'xxx'",
    "   <key>_TRACE_FILE=xxx       names the trace file as 'xxx'",
    "   <key>_TRACE_FORMAT=xxx     sets the trace format string to 'xxx'",
    "   <key>_TRACE_COMPSET=xxx    sets the component ids for the trace",
    "@",
    "Trace format variables:",
    "=======================",
    "   %%x   display the type of the trace entry with a short name",
    "   %%X   display the type of the trace entry with a long name",
    "   %%l   display the detail level of the trace entry",
    "   %%s   display the timestamp of the trace entry",
    "   %%c   display the component id of the trace entry",
    "   %%p   display the process id of the trace entry",
    "   %%t   display the thread id of the trace entry",
    "   %%f   display the function name of the trace entry",
    "   %%m   display the message string of the trace entry",
    "   %%d   display the dump data of the trace entry",
    "   %%\\   display the backslash character",
    "   %%n   display the newline character",
    "   %%t   display the tab character",
};

// The names of the error vocabulary with their values, in message id order.
struct Name {
  std::int64_t value;
  const char* name;
};

const Name gs_errorIdNames[] = {
    {0, "NO_ERROR"},
    {201, "CONUI_USAGE"},
    {202, "CONUI_ARG_MISSING"},
    {203, "CONUI_ARG_EXPECTING_VALUE"},
    {204, "CONUI_ARG_VALUE_TYPE_MISMATCH"},
    {205, "CONUI_MSGCAT_CORRUPTED"},
    {1000001, "INIFILE_INVAL_SECTION"},
    {1000002, "INIFILE_INVAL_OPTION"},
    {1000003, "INIFILE_INVAL_WHITESPACE"},
    {1000101, "DIRECTORY_EXPANSION_FAILED"},
    {1000102, "DIRECTORY_COULD_NOT_CHANGE"},
    {1000103, "DIRECTORY_COULD_NOT_CREATE"},
    {1000104, "DIRECTORY_COULD_NOT_REMOVE"},
    {1000105, "DIRECTORY_COULD_NOT_DETACH"},
    {1000201, "PROCESS_COULD_NOT_KILL"},
    {1000202, "PROCESS_COULD_NOT_LAUNCH"},
    {1000301, "THREAD_COULD_NOT_KILL"},
    {1000302, "THREAD_COULD_NOT_LAUNCH"},
    {1000303, "THREAD_COULD_NOT_SUSPEND"},
    {1000304, "THREAD_COULD_NOT_RESUME"},
    {1000401, "FILE_COULD_NOT_COPY"},
    {1000402, "FILE_COULD_NOT_REMOVE"},
    {1000403, "FILE_COULD_NOT_COPY_SELF"},
    {1000404, "FILE_COULD_NOT_RENAME"},
    {1000601, "DIRWALK_COULD_NOT_INIT"},
    {1000602, "DIRWALK_NO_CONTINUATION"},
    {1000701, "TRACEFORMAT_COULD_NOT_OPEN"},
    {1000702, "TRACEFORMAT_UNEXPECTED_EOF"},
    {1000703, "TRACEFORMAT_FILE_CORRUPTED"},
    {1000801, "MEMORYPOOL_COULD_NOT_GROW"},
    {1000802, "MEMORYPOOL_CHUNK_TOO_BIG"},
    {1000901, "CPCONVERTER_UNSUPPORTED"},
    {1000902, "CPCONVERTER_INVALID_SEQ"},
    {1000903, "CPCONVERTER_TOO_BIG"},
    {1000904, "CPCONVERTER_INCOMPLETE"},
    {1000905, "CPCONVERTER_BAD_DESCR"},
    {1000906, "CPCONVERTER_NO_TMP_BUFFER"},
    {1001001, "MEMMGR_USER_OUT_OF_MEMORY"},
    {1001002, "MEMMGR_RUNTIME_OUT_OF_MEMORY"},
    {1001003, "MEMMGR_NO_USER_REALLOC_FUNC"},
    {1001004, "MEMMGR_ZERO_SIZE_OBJECT"},
    {1001101, "ICU_UNEXPECTED_ICU_ERROR"},
    {1001102, "ICU_ILLEGAL_ARGUMENT_ERROR"},
    {1001103, "ICU_MISSING_RESOURCE_ERROR"},
    {1001104, "ICU_INVALID_FORMAT_ERROR"},
    {1001105, "ICU_FILE_ACCESS_ERROR"},
    {1001106, "ICU_INTERNAL_PROGRAM_ERROR"},
    {1001107, "ICU_MESSAGE_PARSE_ERROR"},
    {1001108, "ICU_MEMORY_ALLOCATION_ERROR"},
    {1001109, "ICU_INDEX_OUTOFBOUNDS_ERROR"},
    {1001110, "ICU_PARSE_ERROR"},
    {1001111, "ICU_INVALID_TABLE_FORMAT"},
    {1001112, "ICU_INVALID_TABLE_FILE"},
    {1001113, "ICU_UNSUPPORTED_ERROR"},
    {1001114, "ICU_RESOURCE_TYPE_MISMATCH"},
    {1001115, "ICU_ILLEGAL_ESCAPE_SEQUENCE"},
    {1001116, "ICU_UNSUPPORTED_ESCAPE_SEQ"},
    {1001117, "ICU_NO_SPACE_AVAILABLE"},
    {1001118, "ICU_ERROR_LIMIT"},
};

const Name gs_errorClassNames[] = {
    {0, "UNKNOWN"},
    {1, "FUNCTION_NOT_SUPPORTED"},
    {2, "FUNCTION_NOT_ENABLED"},
    {100, "USER_ERROR"},
    {101, "USER_DATA_ERROR"},
    {200, "OUT_OF_MEMORY"},
    {201, "RESOURCE_EXHAUSTED"},
    {202, "INVALID_DATA"},
    {203, "DATA_OUT_OF_BOUNDS"},
    {204, "INVALID_POINTER"},
    {205, "UNKNOWN_PROCESS"},
    {206, "RESOURCE_MISSING"},
    {300, "LOGIC"},
    {301, "INCONSISTENT_SITUATION"},
    {400, "COMMUNICATION_PROBLEM"},
    {500, "IO_PROBLEM"},
    {501, "IO_WRITE_PROBLEM"},
    {502, "IO_READ_PROBLEM"},
    {503, "IO_PERMISSION_DENIED"},
    {504, "IO_NOT_EXISTENT"},
    {505, "IO_ALREADY_IN_USE"},
    {506, "IO_STILL_IN_USE"},
    {507, "IO_INVALID_NAME"},
    {900, "HARDWARE_PROBLEM"},
    {901, "HARDWARE_SETUP"},
    {902, "HARDWARE_PERFORMANCE"},
    {903, "HARDWARE_NOT_SUPPORTED"},
};

const Name gs_severityNames[] = {
    {0, "NONE"},  {1, "INFO"},     {2, "WARNING"},  {5, "NORMAL"},
    {6, "FATAL"}, {7, "INTERNAL"}, {8, "CRITICAL"}, {10, "PANIC"},
};

// USER (5) comes before RETRYDELAY (4) in the table.
const Name gs_actionNames[] = {
    {0, "IGNORE"},     {1, "INFORM"},    {2, "WARN"},  {3, "RETRY"},  {5, "USER"},
    {4, "RETRYDELAY"}, {6, "TERMINATE"}, {8, "ABORT"}, {10, "PANIC"},
};

std::string joined(const char* const* lines, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    if (i > 0) text += '\n';
    text += lines[i];
  }
  return text;
}

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (;;) {
    const std::size_t end = text.find('\n', start);
    lines.push_back(text.substr(start, end == std::string::npos ? end : end - start));
    if (end == std::string::npos) return lines;
    start = end + 1;
  }
}

const char* entry(unsigned long id) { return kivMsgTabGetBuiltInTable()[id]; }

// ---------------------------------------------------------------------------

TEST(MsgTable, HasTwoHundredTwentyTwoEntriesOfWhich221AreServed) {
  EXPECT_EQ(KIV_MSGTAB_ENTRIES, 222u);
  EXPECT_EQ(KIV_MSGTAB_SIZE, 221u);
  ASSERT_NE(kivMsgTabGetBuiltInTable(), nullptr);
  for (unsigned long id = 0; id < KIV_MSGTAB_ENTRIES; ++id) {
    EXPECT_NE(entry(id), nullptr) << "id " << id;
  }
  // Every entry is accounted for by exactly one of the checks of this file.
  const std::size_t checked = sizeof gs_texts / sizeof gs_texts[0] + 2 /* 151, 152 */ +
                              sizeof gs_errorIdNames / sizeof gs_errorIdNames[0] +
                              sizeof gs_errorClassNames / sizeof gs_errorClassNames[0] +
                              sizeof gs_severityNames / sizeof gs_severityNames[0] +
                              sizeof gs_actionNames / sizeof gs_actionNames[0] + 20 /* ? slots */ +
                              2 /* 220, 221 */;
  EXPECT_EQ(checked, KIV_MSGTAB_ENTRIES);
}

TEST(MsgTable, MarkersFrameTheTable) {
  EXPECT_STREQ(entry(0), "[KIV_MSGTAB_SIGNATURE] 221");
  EXPECT_STREQ(entry(1), "[KIV-LIBRARY]");
  EXPECT_STREQ(entry(220), "[KIV-LIBRARY]");
  EXPECT_STREQ(entry(221), "[KIV_MSGTAB_SIGNATURE]");
  // The number in the signature line is the number of served entries.
  EXPECT_EQ(std::string(entry(0)), "[KIV_MSGTAB_SIGNATURE] " + std::to_string(KIV_MSGTAB_SIZE));
}

TEST(MsgTable, ConsoleAndTraceControllerTextsAreExact) {
  for (const Text& t : gs_texts) {
    EXPECT_STREQ(entry(t.id), t.text) << "id " << t.id;
  }
}

TEST(MsgTable, SwitchNameFdetailIsThereTwice) {
  EXPECT_STREQ(entry(161), "fdetail");
  EXPECT_STREQ(entry(169), "fdetail");
}

TEST(MsgTable, UnusedSlotsHoldQuestionMarks) {
  for (unsigned long id = 200; id <= 219; ++id) EXPECT_STREQ(entry(id), "?") << "id " << id;
}

TEST(MsgTable, UsageTextIsSevenLinesWithoutTrailingNewline) {
  const std::string expected =
      joined(gs_usageLines, sizeof gs_usageLines / sizeof gs_usageLines[0]);
  EXPECT_EQ(std::string(entry(151)), expected);
  const auto lines = splitLines(entry(151));
  ASSERT_EQ(lines.size(), 7u);
  for (std::size_t i = 0; i < lines.size(); ++i) EXPECT_EQ(lines[i], gs_usageLines[i]);
}

TEST(MsgTable, HelpTextMatchesLineByLine) {
  const std::size_t count = sizeof gs_helpLines / sizeof gs_helpLines[0];
  ASSERT_EQ(count, 22u + 1 + 2 + 9 + 1 + 2 + 13);
  const auto lines = splitLines(entry(152));
  ASSERT_EQ(lines.size(), count);
  for (std::size_t i = 0; i < count; ++i) EXPECT_EQ(lines[i], gs_helpLines[i]) << "line " << i;
  EXPECT_EQ(std::string(entry(152)), joined(gs_helpLines, count));
}

TEST(MsgTable, HelpSectionsAreSeparatedByAtLinesAndTheLastHasNone) {
  const std::string help = entry(152);
  // Each of the first two sections ends with a newline before its "@" line.
  std::size_t first = help.find("\n@\n");
  ASSERT_NE(first, std::string::npos);
  std::size_t second = help.find("\n@\n", first + 1);
  ASSERT_NE(second, std::string::npos);
  EXPECT_EQ(help.find("\n@\n", second + 1), std::string::npos);
  EXPECT_EQ(help.substr(first + 3, 29), "Trace environment variables:\n");
  EXPECT_EQ(help.substr(second + 3, 24), "Trace format variables:\n");
  // The text ends with the last line of the third section.
  ASSERT_FALSE(help.empty());
  EXPECT_NE(help.back(), '\n');
  EXPECT_NE(help.back(), '@');
  EXPECT_EQ(help.substr(help.size() - 31), "%%t   display the tab character");
}

TEST(MsgTable, HelpSwitchColumnIsTwentyFiveCharacters) {
  const auto lines = splitLines(entry(152));
  int switchLines = 0;
  for (std::size_t i = 0; i < 22; ++i) {
    const std::string& line = lines[i];
    ASSERT_GT(line.size(), 28u) << line;
    if (line[0] == ' ') {
      // Continuation lines are indented by 28 blanks.
      EXPECT_EQ(line.find_first_not_of(' '), 28u) << line;
    } else {
      ++switchLines;
      EXPECT_EQ(line[24], ' ') << line;
      EXPECT_NE(line[25], ' ') << line;
      // The switch is padded with blanks up to column 25.
      EXPECT_EQ(line.find_first_not_of(' ', line.find("  ")), 25u) << line;
    }
  }
  EXPECT_EQ(switchLines, 16);
}

TEST(MsgTable, HelpUnderlinesMatchTheirHeadings) {
  const auto lines = splitLines(entry(152));
  ASSERT_GE(lines.size(), 39u);
  EXPECT_EQ(lines[23], "Trace environment variables:");
  EXPECT_EQ(lines[24], std::string(28, '='));
  EXPECT_EQ(lines[35], "Trace format variables:");
  EXPECT_EQ(lines[36], std::string(23, '='));
  for (std::size_t i : {25u, 33u, 37u, 49u}) {
    EXPECT_EQ(lines[i].substr(0, 3), "   ") << lines[i];
    EXPECT_NE(lines[i][3], ' ') << lines[i];
  }
}

TEST(MsgTable, HelpKeepsDoubledPercentAndTheRepeatedTLine) {
  const auto lines = splitLines(entry(152));
  int tLines = 0;
  for (std::size_t i = 37; i < lines.size(); ++i) {
    EXPECT_EQ(lines[i].substr(3, 2), "%%") << lines[i];
    if (lines[i].substr(3, 4) == "%%t ") ++tLines;
  }
  EXPECT_EQ(tLines, 2);
  EXPECT_EQ(lines[47], "   %%\\   display the backslash character");
}

TEST(MsgTable, ErrorIdNamesStandAtTheirMessageIds) {
  ASSERT_EQ(sizeof gs_errorIdNames / sizeof gs_errorIdNames[0], 59u);
  unsigned long expectedId = 47;
  for (const Name& n : gs_errorIdNames) {
    const std::uint32_t id = kivErrorGetIdAsMessageId(static_cast<long>(n.value));
    EXPECT_EQ(id, expectedId) << n.name;
    ASSERT_LT(id, KIV_MSGTAB_SIZE);
    EXPECT_STREQ(entry(id), n.name);
    EXPECT_STREQ(entry(expectedId), n.name);
    ++expectedId;
  }
  EXPECT_EQ(expectedId, 106u);
}

TEST(MsgTable, ErrorClassNamesStandAtTheirMessageIds) {
  ASSERT_EQ(sizeof gs_errorClassNames / sizeof gs_errorClassNames[0], 27u);
  unsigned long expectedId = 106;
  for (const Name& n : gs_errorClassNames) {
    const std::uint32_t id =
        kivErrorGetClassAsMessageId(static_cast<KivEnErrorClass>(static_cast<int>(n.value)));
    EXPECT_EQ(id, expectedId) << n.name;
    ASSERT_LT(id, KIV_MSGTAB_SIZE);
    EXPECT_STREQ(entry(id), n.name);
    EXPECT_STREQ(entry(expectedId), n.name);
    ++expectedId;
  }
  EXPECT_EQ(expectedId, 133u);
}

TEST(MsgTable, SeverityNamesStandAtTheirMessageIds) {
  ASSERT_EQ(sizeof gs_severityNames / sizeof gs_severityNames[0], 8u);
  unsigned long expectedId = 133;
  for (const Name& n : gs_severityNames) {
    const std::uint32_t id =
        kivErrorGetSeverityAsMessageId(static_cast<KivEnErrorSeverity>(static_cast<int>(n.value)));
    EXPECT_EQ(id, expectedId) << n.name;
    ASSERT_LT(id, KIV_MSGTAB_SIZE);
    EXPECT_STREQ(entry(id), n.name);
    EXPECT_STREQ(entry(expectedId), n.name);
    ++expectedId;
  }
  EXPECT_EQ(expectedId, 141u);
}

TEST(MsgTable, ActionNamesStandAtTheirMessageIds) {
  ASSERT_EQ(sizeof gs_actionNames / sizeof gs_actionNames[0], 9u);
  unsigned long expectedId = 141;
  for (const Name& n : gs_actionNames) {
    const std::uint32_t id =
        kivErrorGetActionAsMessageId(static_cast<KivEnErrorAction>(static_cast<int>(n.value)));
    EXPECT_EQ(id, expectedId) << n.name;
    ASSERT_LT(id, KIV_MSGTAB_SIZE);
    EXPECT_STREQ(entry(id), n.name);
    EXPECT_STREQ(entry(expectedId), n.name);
    ++expectedId;
  }
  EXPECT_EQ(expectedId, 150u);
  // RETRYDELAY (4) and USER (5) are crossed; PANIC has an id apart from the
  // severity's.
  EXPECT_STREQ(entry(kivErrorGetActionAsMessageId(KivEnErrorAction::RETRYDELAY)), "RETRYDELAY");
  EXPECT_EQ(kivErrorGetActionAsMessageId(KivEnErrorAction::PANIC), 149u);
  EXPECT_EQ(kivErrorGetSeverityAsMessageId(KivEnErrorSeverity::PANIC), 140u);
  EXPECT_STREQ(entry(140), entry(149));
}

TEST(MsgTable, AccessorReturnsTheSameTableEveryTime) {
  EXPECT_EQ(kivMsgTabGetBuiltInTable(), kivMsgTabGetBuiltInTable());
}

}  // namespace
