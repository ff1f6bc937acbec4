// kivini: the tool's own texts.
//
// kivini shows no text that is written as a literal in its code. The
// library's texts (the built-in switches, the usage, help and error
// displays, the names of error ids) come from the console UI's catalog, the
// library's default catalog with the built-in table as its fallback. The
// tool's own texts (its usage string, help text, switch names and messages)
// come from a catalog of its own, "kivini.cat", looked up like every catalog
// of the library (NLSPATH and the platform's places). The build makes that
// catalog from the compiled-in table below (gen_kivini_msgcat.cpp) and
// installs it beside the library's catalog in share/kiv/nls; when it is not
// found, the table answers, so both give the same texts. A translated
// kivini.cat only has to hold the same message ids in message set 1; its
// message 1 must exist, as for every catalog.
//
// The table is framed like the library's built-in table: id 0 is the
// signature line with the number of usable entries, id 1 the owner marker,
// and one closing marker follows the last usable entry. Messages may hold
// the numbered inserts %1 to %4 of the library's message syntax; a percent
// sign is written "%%". The usage string and the help text are shown by
// the console UI, which reads "!" as the start of a tagged part and "@" in
// the first column as an empty line, so neither text uses those characters
// otherwise.
#ifndef KIVINI_TEXTS_HPP
#define KIVINI_TEXTS_HPP

#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_tool_texts.hpp"

namespace kivini {

/// The message ids of the tool's texts.
enum TextId : unsigned long {
  TXT_SIGNATURE = 0,        ///< marker: signature and number of usable entries
  TXT_OWNER = 1,            ///< marker: owner of the table
  TXT_LEVEL = 2,            ///< the tool's level, for the copyright display
  TXT_USAGE = 3,            ///< the usage string
  TXT_HELP = 4,             ///< the help text
  TXT_SWITCH_SECTIONS = 5,  ///< switch names ...
  TXT_SWITCH_OPTIONS = 6,
  TXT_SWITCH_GET = 7,
  TXT_SWITCH_SET = 8,
  TXT_SWITCH_DELETE = 9,
  TXT_SWITCH_CHECK = 10,
  TXT_SWITCH_BOOL = 11,  ///< ... up to here
  TXT_ERR_NO_COMMAND = 12,
  TXT_ERR_TWO_COMMANDS = 13,
  TXT_ERR_ARGUMENT_COUNT = 14,
  TXT_ERR_BOOL_WITHOUT_GET = 15,
  TXT_ERR_READ = 16,
  TXT_ERR_SECTION_NOT_FOUND = 17,
  TXT_ERR_OPTION_NOT_FOUND = 18,
  TXT_ERR_SECTION_NAME = 19,
  TXT_ERR_OPTION_NAME = 20,
  TXT_ERR_FILE_HAS_ERRORS = 21,
  TXT_ERR_NOT_READ_BACK = 22,
  TXT_ERR_WRITE = 23,
  TXT_ERR_DIRECTORY = 24,
  TXT_ERR_EXCEPTION = 25,
  TXT_FINDING_ERROR_ID = 26,   ///< file, line, id name, description
  TXT_FINDING_LONG_LINE = 27,  ///< file, line, longest line allowed
  TXT_FINDING_BEFORE_SECTION = 28,
  TXT_FINDING_EMPTY_SECTION = 29,
  TXT_FINDING_EMPTY_OPTION = 30,
  TXT_CHECK_OK = 31,
  TXT_CHECK_FAILED = 32,
  TXT_DESCRIBE_SECTION = 33,     ///< what INIFILE_INVAL_SECTION means
  TXT_DESCRIBE_OPTION = 34,      ///< what INIFILE_INVAL_OPTION means
  TXT_DESCRIBE_WHITESPACE = 35,  ///< what INIFILE_INVAL_WHITESPACE means
  TXT_SWITCH_STRICT = 36,        ///< switch name
  TXT_ERR_LONG_LINE = 37,        ///< longest line allowed; file and line follow
  TXT_ERR_NOT_WRITABLE = 38,
  TXT_STANDARD_INPUT = 39,  ///< the name of "-" in messages
  TXT_VERSION = 40,         ///< the tool's level, the library's level
  TXT_ERR_INCONSISTENT = 41,
  TXT_ERR_STANDARD_OUTPUT = 42,
  TXT_TABLE_SIZE = 43  ///< number of usable entries (ids 0 to 42)
};

/// The compiled-in table: TXT_TABLE_SIZE usable entries and the closing
/// marker. Constant data of the tool.
const char* const* builtInTexts();

/// The tool's catalog: "kivini.cat" when one is installed, else the
/// compiled-in table (see kiv_tool_texts.hpp).
class Texts : public kivtool::TypedToolTexts<TextId> {
 public:
  Texts() : TypedToolTexts("kivini", builtInTexts(), TXT_TABLE_SIZE) {}
};


}  // namespace kivini

#endif
