// kivconv: the compiled-in table of the tool's texts. It depends on nothing
// else, so that the program that writes the catalog source from it
// (gen_kivconv_msgcat.cpp) can be built before the library.

#include <string_view>

#include "kivconv_texts.hpp"

namespace kivconv {
namespace {

// clang-format off
constexpr const char* gs_apszTexts[] = {
    /*  0 */ "[KIV_MSGTAB_SIGNATURE] 35",
    /*  1 */ "[KIVCONV]",
    /*  2 */ "kivconv 1.0",
    // The command line, in the grammar of usage strings: the two forms on
    // lines of their own; the tool checks that one of them is used.
    /*  3 */ "(-from <ccsid>) (-to <ccsid>) [(-output <file>)] [-substitute] [<file>...]\n"
             "-list",
    /*  4 */ "Converts text from one code page to another.\n"
             "@\n"
             "-from <ccsid>       The code page of the input: a CCSID number (1208,\n"
             "                    37, 943) or a name the library knows (UTF-8,\n"
             "                    ISO8859-1, UCS-2).\n"
             "-to <ccsid>         The code page of the output, given the same way.\n"
             "-output <file>      Write to the file instead of standard output. The\n"
             "                    file is replaced only once the output is complete.\n"
             "-substitute         Replace input that is invalid, or that the target\n"
             "                    cannot represent, instead of stopping there.\n"
             "-list               List the code pages the library knows, with their\n"
             "                    properties and how each is converted to UCS-2 and\n"
             "                    from UCS-2.\n"
             "@\n"
             "The files are converted one after the other; without a file, or for\n"
             "the file -, standard input is converted. The first invalid or\n"
             "unmappable input stops the conversion with its byte offset in its\n"
             "file; what came before it has been written.\n"
             "@\n"
             "Exit status: 0 done, 1 invalid, incomplete or unmappable input, 2 an\n"
             "input file cannot be read, 3 the output cannot be written, 4 unknown\n"
             "code page or unsupported conversion, 201 to 204 bad command line.",
    /*  5 */ "%1 (KIV Library %2)",
    /*  6 */ "(standard input)",
    /*  7 */ "from",
    /*  8 */ "to",
    /*  9 */ "output",
    /* 10 */ "substitute",
    /* 11 */ "list",
    /* 12 */ "Specify -from and -to, or -list",
    /* 13 */ "Command line switch -list takes no other switches and no files",
    /* 14 */ "Unknown code page: %1",
    /* 15 */ "The conversion from %1 to %2 is not supported",
    /* 16 */ "%1: no such file",
    /* 17 */ "%1: not a regular file or a pipe",
    /* 18 */ "%1: cannot read: %2",
    /* 19 */ "%1: invalid input for code page %3 at byte offset %2",
    /* 20 */ "%1: incomplete character of code page %3 at the end of the input, byte offset %2",
    /* 21 */ "%1: the character at byte offset %2 cannot be represented in code page %3",
    /* 22 */ "%1: cannot write: %2",
    /* 23 */ "%1: may not be written: %2",
    /* 24 */ "%1: cannot create a file in the directory: %2",
    /* 25 */ "Cannot write to standard output: %1",
    /* 26 */ "The tool ended on a failure of the library",
    /* 27 */ "CCSID  NAME          PROPERTIES          TO UCS-2   FROM UCS-2",
    /* 28 */ "unsupported",
    /* 29 */ "copy",
    /* 30 */ "swap",
    /* 31 */ "algorithm",
    /* 32 */ "table",
    /* 33 */ "ICU",
    /* 34 */ "iconv",
    /* 35 */ "[KIV_MSGTAB_SIGNATURE]",
};
// clang-format on

static_assert(sizeof(gs_apszTexts) / sizeof(gs_apszTexts[0]) == TXT_TABLE_SIZE + 1,
              "one text per id and the closing marker");
static_assert(std::string_view(gs_apszTexts[TXT_SIGNATURE]) == "[KIV_MSGTAB_SIGNATURE] 35",
              "the signature line names the number of usable entries");

}  // namespace

const char* const* builtInTexts() { return gs_apszTexts; }

}  // namespace kivconv
