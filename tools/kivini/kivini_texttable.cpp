// kivini: the compiled-in table of the tool's texts. It depends on nothing
// else, so that the program that writes the catalog source from it
// (gen_kivini_msgcat.cpp) can be built before the library.

#include <string_view>

#include "kivini_texts.hpp"

namespace kivini {
namespace {

// clang-format off
constexpr const char* gs_apszTexts[] = {
    /*  0 */ "[KIV_MSGTAB_SIGNATURE] 43",
    /*  1 */ "[KIVINI]",
    /*  2 */ "kivini 1.0",
    // The command line, in the grammar of usage strings: each command
    // switch takes the file as its value; the other values are free
    // arguments in the order shown.
    /*  3 */ "(-sections <file>) [-strict]\n"
             "(-options <file>) <section> [-strict]\n"
             "(-get <file>) <section> <option> [-bool] [-strict]\n"
             "(-set <file>) <section> <option> <value> [-strict]\n"
             "(-delete <file>) <section> [<option>] [-strict]\n"
             "(-check <file>) [-strict]",
    /*  4 */ "Reads and changes INI configuration files from scripts.\n"
             "@\n"
             "-sections <file>    List the sections of the file, one a line.\n"
             "-options <file> <section>\n"
             "                    List the option names of the section.\n"
             "-get <file> <section> <option>\n"
             "                    Print the value of the option.\n"
             "  -bool             Print ON or OFF instead, by the boolean rule of\n"
             "                    the library (ON when the value is found in\n"
             "                    \"|ON|TRUE|YES|1|OK|\", case ignored), and exit\n"
             "                    with status 0 for ON and 1 for OFF.\n"
             "-set <file> <section> <option> <value>\n"
             "                    Set the value; the option, the section and the\n"
             "                    file are added when they are missing.\n"
             "-delete <file> <section> [<option>]\n"
             "                    Delete the option, or the whole section.\n"
             "-check <file>       Report every error of the file with its line\n"
             "                    number and the name of its error id.\n"
             "-strict             Read lines beginning with \"#\" as the library\n"
             "                    does, not as comment lines.\n"
             "@\n"
             "The file - is standard input; -set and -delete then write the\n"
             "changed text to standard output.\n"
             "@\n"
             "-set and -delete change only the lines of the option or section they\n"
             "concern: comment lines, blank lines, quotes, escapes, $(NAME) texts\n"
             "and the layout of every other line stay as they are. The new file is\n"
             "written beside the old one and replaces it only when it is complete\n"
             "and reads back as intended. A file is left as it is when it has\n"
             "errors (see -check), when it may not be written, when the new text\n"
             "would not read back as intended, and when it already holds what was\n"
             "asked for.\n"
             "@\n"
             "Lines whose first non-blank character is \"#\" or \";\" are comments.\n"
             "Sections and options are found without regard to case. A section,\n"
             "option or value argument that begins with an apostrophe loses it, so\n"
             "that '-x gives the value -x.\n"
             "@\n"
             "Exit status: 0 done (-bool: ON), 1 -bool: OFF, 2 section or option not\n"
             "found, 3 errors in the file or a line too long to read, 4 file not\n"
             "readable or not writable, 201 to 204 bad command line.",
    /*  5 */ "sections",
    /*  6 */ "options",
    /*  7 */ "get",
    /*  8 */ "set",
    /*  9 */ "delete",
    /* 10 */ "check",
    /* 11 */ "bool",
    /* 12 */ "Specify one of the command line switches -sections, -options, -get, -set, -delete and -check",
    /* 13 */ "Only one of these command line switches can be given",
    /* 14 */ "Wrong number of arguments for command line switch",
    /* 15 */ "Command line switch allowed with -get only",
    /* 16 */ "Cannot read the file",
    /* 17 */ "Section not found",
    /* 18 */ "Option not found",
    /* 19 */ "Invalid section name",
    /* 20 */ "Invalid option name",
    /* 21 */ "The file has errors and was not changed",
    /* 22 */ "The new file would not read back as intended; the file was not changed",
    /* 23 */ "Cannot write the file; it was not changed",
    /* 24 */ "Cannot create a file in the directory; the file was not changed",
    /* 25 */ "The tool ended on a failure of the library",
    /* 26 */ "%1:%2: %3: %4",
    /* 27 */ "%1:%2: line longer than %3 characters: the rest of the file is not read",
    /* 28 */ "%1:%2: line before the first section header: it is not read",
    /* 29 */ "%1:%2: section header without a name: the section counts as deleted",
    /* 30 */ "%1:%2: option line without a name: the option counts as deleted",
    /* 31 */ "%1: no errors",
    /* 32 */ "%1: errors: %2",
    /* 33 */ "section header without \"]\"",
    /* 34 */ "line without \"=\" in a section",
    /* 35 */ "indented line that continues no option",
    /* 36 */ "strict",
    /* 37 */ "The file has a line longer than %1 characters, and the library reads no further; nothing is answered",
    /* 38 */ "The file may not be written; it was not changed",
    /* 39 */ "(standard input)",
    /* 40 */ "%1 (KIV Library %2)",
    /* 41 */ "The tool does not read the file as the library does; nothing was done",
    /* 42 */ "Cannot write to standard output",
    /* 43 */ "[KIV_MSGTAB_SIGNATURE]",
};
// clang-format on

static_assert(sizeof(gs_apszTexts) / sizeof(gs_apszTexts[0]) == TXT_TABLE_SIZE + 1,
              "one text per id and the closing marker");
static_assert(std::string_view(gs_apszTexts[TXT_SIGNATURE]) == "[KIV_MSGTAB_SIGNATURE] 43",
              "the signature line names the number of usable entries");

}  // namespace

const char* const* builtInTexts() { return gs_apszTexts; }

}  // namespace kivini
