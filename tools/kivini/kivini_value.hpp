// kivini: writing a value into an option line so that the library reads it
// back exactly as given, and finding the parts of an existing option line.
//
// A value is written bare when the library reads it back as it is, and in
// double quotes otherwise, as the library's writer quotes a string value:
// inside the quotes \a \b \f \n \r \t \v stand for their control
// characters, "\\" for a backslash and "\x" with two lower-case hexadecimal
// digits for any other control character. Where the writer's encoding
// would not read back, it is completed:
//   - a value is quoted also when it is empty (the writer would drop the
//     option), begins or ends with a blank (they would be trimmed), or holds
//     a double quote, an apostrophe (they start quoted texts and character
//     literals) or "$(" (it would be substituted);
//   - a double quote inside the quotes is written "\"" (the writer leaves it
//     as it is, which ends the quotes early);
//   - a hexadecimal escape followed by a hexadecimal digit would take that
//     digit in, so the quotes are closed and opened again between them
//     ("\x01""a"): two quoted texts read back as one.
#ifndef KIVINI_VALUE_HPP
#define KIVINI_VALUE_HPP

#include <cstddef>
#include <string>
#include <string_view>

namespace kivini {

/// The text that reads back as `value` (see the banner).
std::string encodeValue(std::string_view value);

/// Where the value of an option line starts: behind its first "=" and the
/// blanks that follow. `line` must hold a "=".
std::size_t valueStart(std::string_view line);

/// Where the comment of a value text starts, scanning as the library cooks
/// a value from `from` (quoted texts, character literals and $(NAME) are
/// passed over): the position of the first ";" outside them, or npos.
std::size_t commentStart(std::string_view line, std::size_t from);

/// What follows the value on an option or continuation line: the blanks in
/// front of its ";" comment, the ";" and the rest of the line; empty when
/// the line has no comment. `from` is where the value text starts.
std::string_view commentTail(std::string_view line, std::size_t from);

/// How an option line joins its name and value: the blanks in front of its
/// "=", the "=" and the blanks behind it (for a line with an empty value
/// the blanks in front are repeated behind).
std::string separatorOf(std::string_view line);

}  // namespace kivini

#endif
