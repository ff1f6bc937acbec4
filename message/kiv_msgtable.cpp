// The built-in message table.
//
// Entries are indexed by message id; the comments give the ids. The names of
// the error vocabulary (ids 47 to 149) are not written here but expanded
// from the lists in kiv_errorids.hpp, so that a name exists once in the
// library and the mapping functions of the error model always point at the
// right text. The checks at the end pin every block to its first id.

#include "kiv_msgtable.hpp"

#include <cstddef>
#include <string_view>

#include "kiv_errorids.hpp"

namespace {

#define KIV_MSGTAB_NAME(name, value) #name,

// clang-format off
constexpr const char* gs_apszKivMessageTable[] = {
    // Markers and texts of the console user interface and error displays.
    /*   0 */ "[KIV_MSGTAB_SIGNATURE] 221",
    /*   1 */ "[KIV-LIBRARY]",
    /*   2 */ "Percent:%% Arg1:%1 Arg2:%2 Arg3:%3 Arg4:%4 Arg5:%5 Arg6:%6 Arg7:%7 Arg8:%8 Arg9:%9 Arg10:%10",
    /*   3 */ "YES",
    /*   4 */ "NO",
    /*   5 */ "Y/N",
    /*   6 */ "min.",
    /*   7 */ "max.",
    /*   8 */ "hH?",
    /*   9 */ "copyright",
    /*  10 */ "quiet",
    /*  11 */ "default",
    /*  12 */ "An exception occurred",
    /*  13 */ "A fatal error occurred",
    /*  14 */ "An error occurred",
    /*  15 */ "Warning",
    /*  16 */ "Informational message",
    /*  17 */ "Usage",
    /*  18 */ "Help",
    /*  19 */ "=== Press any key to continue ===",
    /*  20 */ "=== Press <ENTER> to continue ===",
    /*  21 */ "(Specify '-h' for help)",
    /*  22 */ "Sorry, no additional help available",
    /*  23 */ "Unknown command line argument",
    /*  24 */ "Command line argument not allowed",
    /*  25 */ "Illegal repetition of command line argument",
    /*  26 */ "Missing command line switch",
    /*  27 */ "No value specified for command line switch",
    /*  28 */ "No numeric value specified for command line switch",
    /*  29 */ "Non-numeric value specified for numeric command line switch",
    /*  30 */ "Invalid value specified",
    /*  31 */ "Please enter a numeric value",
    /*  32 */ "Please enter a value within limits",
    /*  33 */ "Please use",
    /*  34 */ "Copyright",
    /*  35 */ "Level",
    /*  36 */ "PLTX Level",
    /*  37 */ "PLTX Level date",
    /*  38 */ "Compile date",
    /*  39 */ "Error ID",
    /*  40 */ "Error Class",
    /*  41 */ "Error Severity",
    /*  42 */ "Recommended Action",
    /*  43 */ "Cause for exception",
    /*  44 */ "Exception occured in module",
    /*  45 */ "Exception occured in function",
    /*  46 */ "Exception occured in line",
    // Names of the error ids, classes, severities and recommended actions.
    KIV_ERROR_ID_LIST(KIV_MSGTAB_NAME)
    KIV_ERROR_CLASS_LIST(KIV_MSGTAB_NAME)
    KIV_ERROR_SEVERITY_LIST(KIV_MSGTAB_NAME)
    KIV_ERROR_ACTION_LIST(KIV_MSGTAB_NAME)
    // Texts of a trace controller program: title, usage string, help text,
    // switch names, display labels, dump texts and errors.
    /* 150 */ "Trace Controller",
    /* 151 */
    "(-key <key>) [(-instance <instance>)] [(-file <filename>)]\n"
    "[-display]\n"
    "[(-format <string>)] [(-findent <string>)]\n"
    "[-fnest] [-fnofhd] [-fssfhd] [-fhex] [-fbin]\n"
    "[(-fdetail <detail>)] [(-fcompids <compids>)]\n"
    "[(-fpid <pid>)] [(-ftid <tid>)]\n"
    "[-verbose]",
    /* 152 */
    "-key <key>               Specify a key for the trace facility\n"
    "[-instance <instance>]   Specify an optional instance key\n"
    "[-file <filename>]       Specify a filename for the trace file\n"
    "                            (Default: <key>_TRACE_FILE)\n"
    "[-verbose]               Verbose display mode\n"
    "[-display]               Display the current trace\n"
    "[-format <string>]       Use the specified format <string>\n"
    "                            (Default: <key>_TRACE_FORMAT)\n"
    "[-findent <string>]      Format with <string> for indentation\n"
    "[-fnest]                 Format with function nesting\n"
    "[-fnofhd]                Format without function headers\n"
    "[-fssfhd]                Format and skip subsequent function headers\n"
    "[-fhex]                  Format integral data in hex notation, too\n"
    "[-fbin]                  Format integral data in binary notation, too\n"
    "[-fdetail <detail>]      Format only entries with the specified\n"
    "                            detail level (Default: <key>_TRACE_DETAIL)\n"
    "[-fcompids <compids>]    Format only entries with the specified\n"
    "                            component ids\n"
    "[-fpid <pid>]            Format only entries with the specified\n"
    "                            process id\n"
    "[-ftid <tid>]            Format only entries with the specified\n"
    "                            thread id\n"
    "@\n"
    "Trace environment variables:\n"
    "============================\n"
    "   <key>_TRACE_ACTIVE=yes     enables trace\n"
    "   <key>_TRACE_AUTOSAVE=yes   enables trace autosave feature\n"
    "   <key>_TRACE_AUTOCLEAR=yes  automatically clears the trace buffer and file\n"
    "   <key>_TRACE_BUFSIZE=xxx    sets trace buffer to 'xxx' KB of memory\n"
    "   <key>_TRACE_COMPRESS=yes   enables the compression of trace data\n"
    "   <key>_TRACE_DETAIL=xxx     sets the trace detail level to 'xxx'\n"
    "   <key>_TRACE_FILE=xxx       names the trace file as 'xxx'\n"
    "   <key>_TRACE_FORMAT=xxx     sets the trace format string to 'xxx'\n"
    "   <key>_TRACE_COMPSET=xxx    sets the component ids for the trace\n"
    "@\n"
    "Trace format variables:\n"
    "=======================\n"
    "   %%x   display the type of the trace entry with a short name\n"
    "   %%X   display the type of the trace entry with a long name\n"
    "   %%l   display the detail level of the trace entry\n"
    "   %%s   display the timestamp of the trace entry\n"
    "   %%c   display the component id of the trace entry\n"
    "   %%p   display the process id of the trace entry\n"
    "   %%t   display the thread id of the trace entry\n"
    "   %%f   display the function name of the trace entry\n"
    "   %%m   display the message string of the trace entry\n"
    "   %%d   display the dump data of the trace entry\n"
    "   %%\\   display the backslash character\n"
    "   %%n   display the newline character\n"
    "   %%t   display the tab character",
    /* 153 */ "key",
    /* 154 */ "instance",
    /* 155 */ "file",
    /* 156 */ "verbose",
    /* 157 */ "init",
    /* 158 */ "dump",
    /* 159 */ "display",
    /* 160 */ "reset",
    /* 161 */ "fdetail",
    /* 162 */ "format",
    /* 163 */ "fnofhd",
    /* 164 */ "fssfhd",
    /* 165 */ "fhex",
    /* 166 */ "fbin",
    /* 167 */ "fnest",
    /* 168 */ "findent",
    /* 169 */ "fdetail",
    /* 170 */ "fcompids",
    /* 171 */ "fpid",
    /* 172 */ "ftid",
    /* 173 */ "Key/Instance",
    /* 174 */ "Trace Status",
    /* 175 */ "Trace Filter",
    /* 176 */ "Trace active",
    /* 177 */ "Trace enabled",
    /* 178 */ "Trace uses shared memory",
    /* 179 */ "Trace buffer size",
    /* 180 */ "Trace file",
    /* 181 */ "Detail level",
    /* 182 */ "Filter process id",
    /* 183 */ "Filter thread id",
    /* 184 */ "Component Set",
    /* 185 */ "Compression rate",
    /* 186 */ "Number of entries",
    /* 187 */ "Include component(s)",
    /* 188 */ "Exclude component(s)",
    /* 189 */ "Bytes",
    /* 190 */ " *** Clipped ***",
    /* 191 */ "*** Illegal NULL pointer ***",
    /* 192 */ "Nesting level: ",
    /* 193 */ "Specified trace file not found",
    /* 194 */ "Invalid instance",
    /* 195 */ "Trace file could not be identified; specified key may be invalid",
    /* 196 */ "Could not initialize trace",
    /* 197 */ "Could not open trace file for read access",
    /* 198 */ "Trace file corrupted: unexpected end-of-file",
    /* 199 */ "Trace file corrupted: invalid data found",
    // Unused slots.
    /* 200 */ "?", "?", "?", "?", "?", "?", "?", "?", "?", "?",
    /* 210 */ "?", "?", "?", "?", "?", "?", "?", "?", "?", "?",
    // Closing owner marker and the end marker, which is never served.
    /* 220 */ "[KIV-LIBRARY]",
    /* 221 */ "[KIV_MSGTAB_SIGNATURE]",
};
// clang-format on

#undef KIV_MSGTAB_NAME

// Each block must start at its id; a list in kiv_errorids.hpp that gains or
// loses an entry would otherwise shift every text after it.
constexpr bool textAt(std::size_t id, std::string_view text) {
  return std::string_view(gs_apszKivMessageTable[id]) == text;
}

#define KIV_MSGTAB_COUNT(name, value) +1
constexpr std::size_t kErrorIdCount = 0 KIV_ERROR_ID_LIST(KIV_MSGTAB_COUNT);
constexpr std::size_t kErrorClassCount = 0 KIV_ERROR_CLASS_LIST(KIV_MSGTAB_COUNT);
constexpr std::size_t kErrorSeverityCount = 0 KIV_ERROR_SEVERITY_LIST(KIV_MSGTAB_COUNT);
constexpr std::size_t kErrorActionCount = 0 KIV_ERROR_ACTION_LIST(KIV_MSGTAB_COUNT);
#undef KIV_MSGTAB_COUNT

static_assert(sizeof gs_apszKivMessageTable / sizeof gs_apszKivMessageTable[0] ==
                  KIV_MSGTAB_ENTRIES,
              "the built-in message table has 222 entries");
static_assert(KIV_MSGTAB_SIZE + 1 == KIV_MSGTAB_ENTRIES,
              "only the end marker lies beyond the served entries");
static_assert(textAt(KIV_ERROR_ID_FIRST_MESSAGE_ID - 1, "Exception occured in line"),
              "the console texts end just before the error ids");
static_assert(KIV_ERROR_ID_FIRST_MESSAGE_ID + kErrorIdCount == KIV_ERROR_CLASS_FIRST_MESSAGE_ID,
              "the error ids end just before the error classes");
static_assert(KIV_ERROR_CLASS_FIRST_MESSAGE_ID + kErrorClassCount ==
                  KIV_ERROR_SEVERITY_FIRST_MESSAGE_ID,
              "the error classes end just before the severities");
static_assert(KIV_ERROR_SEVERITY_FIRST_MESSAGE_ID + kErrorSeverityCount ==
                  KIV_ERROR_ACTION_FIRST_MESSAGE_ID,
              "the severities end just before the actions");
static_assert(textAt(KIV_ERROR_ACTION_FIRST_MESSAGE_ID + kErrorActionCount, "Trace Controller"),
              "the trace controller texts begin just after the actions");
static_assert(textAt(199, "Trace file corrupted: invalid data found") && textAt(200, "?") &&
                  textAt(219, "?") && textAt(220, "[KIV-LIBRARY]"),
              "the unused slots lie between the trace controller texts and the owner marker");

}  // namespace

extern "C" const char* const* kivMsgTabGetBuiltInTable() { return gs_apszKivMessageTable; }
