// kivini: values written so that they read back, and the parts of option
// lines.

#include "kivini_value.hpp"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "kiv_inifile.hpp"
#include "kivini_linemap.hpp"

namespace kivini {
namespace {

bool isBlank(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }
bool isControl(char c) { return std::iscntrl(static_cast<unsigned char>(c)) != 0; }
bool isHexDigit(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

bool readsBackBare(std::string_view value) {
  if (value.empty() || isBlank(value.front()) || isBlank(value.back())) return false;
  if (value.find("$(") != std::string_view::npos) return false;
  return std::none_of(value.begin(), value.end(),
                      [](char c) { return c == ';' || c == '"' || c == '\'' || isControl(c); });
}

// The escape of one character inside double quotes, or 0 when the
// character stands for itself.
char shortEscape(char c) {
  switch (c) {
    case '\a':
      return 'a';
    case '\b':
      return 'b';
    case '\f':
      return 'f';
    case '\n':
      return 'n';
    case '\r':
      return 'r';
    case '\t':
      return 't';
    case '\v':
      return 'v';
    case '\\':
      return '\\';
    case '"':
      return '"';
    default:
      return '\0';
  }
}

}  // namespace

std::string encodeValue(std::string_view value) {
  if (readsBackBare(value)) return std::string(value);
  static const char hexDigits[] = "0123456789abcdef";
  std::string text = "\"";
  bool afterHexEscape = false;
  for (const char c : value) {
    if (afterHexEscape && isHexDigit(c)) text += "\"\"";
    afterHexEscape = false;
    if (const char escape = shortEscape(c)) {
      text += '\\';
      text += escape;
    } else if (isControl(c)) {
      const auto byte = static_cast<unsigned char>(c);
      text += "\\x";
      text += hexDigits[byte >> 4];
      text += hexDigits[byte & 0xf];
      afterHexEscape = true;
    } else {
      text += c;
    }
  }
  text += '"';
  return text;
}

std::size_t valueStart(std::string_view line) {
  std::size_t position = line.find('=');
  if (position == std::string_view::npos) return line.size();
  ++position;
  while (position < line.size() && isBlank(line[position])) ++position;
  return position;
}

std::size_t commentStart(std::string_view line, std::size_t from) {
  // The library's value functions want a terminated text, as its lines are.
  const std::string text(lineContent(line));
  const char* const begin = text.c_str();
  const char* p = begin + std::min(from, text.size());
  while (isBlank(*p)) ++p;
  const char* const lastClose = std::strrchr(p, ')');
  while (*p != '\0' && *p != ';') {
    if (*p == '"') {
      ++p;
      while (*p != '\0' && *p != '"') {
        if (*p == '\\') {
          ++p;
          if (*p == '\0') break;
          kivIniFileGetEscCharacter(p);
        } else {
          ++p;
        }
      }
      if (*p == '"') ++p;
    } else if (*p == '\'') {
      kivIniFileGetQuotedCharacter(p);
    } else if (*p == '$' && p[1] == '(' && lastClose != nullptr && lastClose > p + 1) {
      p = std::strchr(p + 2, ')') + 1;
    } else {
      ++p;
    }
  }
  return *p == ';' ? static_cast<std::size_t>(p - begin) : std::string_view::npos;
}

std::string_view commentTail(std::string_view line, std::size_t from) {
  std::size_t start = commentStart(line, from);
  if (start == std::string_view::npos) return {};
  while (start > from && isBlank(line[start - 1])) --start;
  return line.substr(start);
}

std::string separatorOf(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return " = ";
  std::size_t before = equals;
  while (before > 0 && isBlank(line[before - 1])) --before;
  const std::size_t after = valueStart(line);
  std::string separator(line.substr(before, after - before));
  if (after == line.size()) separator += line.substr(before, equals - before);
  return separator;
}

}  // namespace kivini
