// kivconv: the tool's own texts.
//
// Like every tool of the library, kivconv shows no text written as a
// literal in its code. The library's texts (built-in switches, usage, help
// and error displays) come from the console UI's catalog; the tool's own
// texts (usage string, help, switch names, messages and the words of the
// -list listing) come from its catalog "kivconv.cat", which the build makes
// from the compiled-in table (gen_kivconv_msgcat.cpp) and installs beside
// the library's catalog. When the catalog is not found, the table answers.
//
// The table is framed like the library's built-in table: id 0 is the
// signature line with the number of usable entries, id 1 the owner marker,
// and one closing marker follows the last usable entry. Messages may hold
// the numbered inserts %1 to %4; the usage string and the help text avoid
// "!" and a leading "@", which the console UI reads as markers.
#ifndef KIVCONV_TEXTS_HPP
#define KIVCONV_TEXTS_HPP

#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_tool_texts.hpp"

namespace kivconv {

/// The message ids of the tool's texts.
enum TextId : unsigned long {
  TXT_SIGNATURE = 0,       ///< marker: signature and number of usable entries
  TXT_OWNER = 1,           ///< marker: owner of the table
  TXT_LEVEL = 2,           ///< the tool's level, for the copyright display
  TXT_USAGE = 3,           ///< the usage string
  TXT_HELP = 4,            ///< the help text
  TXT_VERSION = 5,         ///< the tool's level, the library's level
  TXT_STANDARD_INPUT = 6,  ///< the name of "-" in messages
  TXT_SWITCH_FROM = 7,     ///< switch names ...
  TXT_SWITCH_TO = 8,
  TXT_SWITCH_OUTPUT = 9,
  TXT_SWITCH_SUBSTITUTE = 10,
  TXT_SWITCH_LIST = 11,  ///< ... up to here
  TXT_ERR_NO_COMMAND = 12,
  TXT_ERR_LIST_ALONE = 13,
  TXT_ERR_UNKNOWN_CCSID = 14,    ///< the text given
  TXT_ERR_UNSUPPORTED = 15,      ///< source, target
  TXT_ERR_NO_FILE = 16,          ///< file
  TXT_ERR_NOT_A_FILE = 17,       ///< file
  TXT_ERR_READ = 18,             ///< file, reason
  TXT_ERR_INVALID = 19,          ///< file, offset, source
  TXT_ERR_INCOMPLETE = 20,       ///< file, offset, source
  TXT_ERR_UNMAPPABLE = 21,       ///< file, offset, target
  TXT_ERR_WRITE = 22,            ///< file, reason
  TXT_ERR_NOT_WRITABLE = 23,     ///< file, reason
  TXT_ERR_DIRECTORY = 24,        ///< directory, reason
  TXT_ERR_STANDARD_OUTPUT = 25,  ///< reason
  TXT_ERR_EXCEPTION = 26,
  TXT_LIST_HEADER = 27,         ///< the heading line of -list
  TXT_METHOD_UNSUPPORTED = 28,  ///< method names of -list ...
  TXT_METHOD_COPY = 29,
  TXT_METHOD_SWAP = 30,
  TXT_METHOD_ALGORITHM = 31,
  TXT_METHOD_TABLE = 32,
  TXT_METHOD_ICU = 33,
  TXT_METHOD_ICONV = 34,  ///< ... up to here
  TXT_TABLE_SIZE = 35     ///< number of usable entries (ids 0 to 34)
};

/// The compiled-in table: TXT_TABLE_SIZE usable entries and the closing
/// marker. Constant data of the tool.
const char* const* builtInTexts();

/// The tool's catalog: "kivconv.cat" when one is installed, else the
/// compiled-in table (see kiv_tool_texts.hpp).
class Texts : public kivtool::TypedToolTexts<TextId> {
 public:
  Texts() : TypedToolTexts("kivconv", builtInTexts(), TXT_TABLE_SIZE) {}
};


}  // namespace kivconv

#endif
