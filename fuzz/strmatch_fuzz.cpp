// Fuzz target of the wildcard matcher and the three pattern objects.
//
// Input: a control byte, then a pattern and a text separated by a NUL byte.
//   control bit 0  case-sensitive wildcard matching
//           bit 1  ignore case in the string search and in grep
//           bit 2  ask grep for the text start (its flag 256)
//           bits 3-5  extra regcomp flags for the raw expression
// Checked against naive references written here:
//   - kivMatchesWildcardPattern and KivClStringMatchWildcards against a
//     plain recursive matcher ("*" any sequence, "?" one character),
//     memoised so that it stays fast on many stars;
//   - KivClStringSearch against a position-by-position search, on the text
//     and on the raw input bytes (NUL bytes included, with a length);
//   - KivClGrep on the pattern with every special character escaped
//     against the same plain search; and on the raw pattern as an
//     expression against regcomp and regexec called directly.
#include <regex.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "kiv_base.hpp"
#include "kiv_fuzz_support.hpp"
#include "kiv_strmatch.hpp"

namespace {

// Both lengths are cut, so that the references stay quick.
constexpr std::size_t gs_maxPattern = 256;
constexpr std::size_t gs_maxText = 1024;
// The raw expression is kept short and simple: regcomp copies the operand
// of every "+" and "{m,n}", so its memory grows exponentially with nested
// repetition, and back references make regexec exponential; both are the C
// library's, not ours.
constexpr std::size_t gs_maxExpression = 48;
constexpr std::size_t gs_maxPlus = 3;
constexpr std::size_t gs_maxExpressionText = 256;

// The first position where `pattern` occurs in the `length` bytes of
// `text`, or null; an empty pattern is never found.
const char* naiveSearch(const std::string& pattern, const char* text, std::size_t length,
                        bool ignoreCase) {
  if (pattern.empty() || pattern.size() > length) return nullptr;
  for (std::size_t start = 0; start + pattern.size() <= length; ++start) {
    std::size_t k = 0;
    while (k < pattern.size() &&
           kivfuzz::fold(pattern[k], !ignoreCase) == kivfuzz::fold(text[start + k], !ignoreCase)) {
      ++k;
    }
    if (k == pattern.size()) return text + start;
  }
  return nullptr;
}

// An extended expression that matches `literal` character for character.
std::string escapeLiteral(const std::string& literal) {
  std::string expression;
  for (const char c : literal) {
    if (std::strchr(".[]()*+?{}|^$\\", c) != nullptr) expression += '\\';
    expression += c;
  }
  return expression;
}

void checkWildcards(const std::string& pattern, const std::string& text, bool caseSensitive) {
  const bool expected = kivfuzz::NaiveWildcards(pattern, text, caseSensitive).matches();
  KIV_FUZZ_CHECK(kivMatchesWildcardPattern(pattern.c_str(), text.c_str(), caseSensitive) ==
                 expected);
  const KivClStringMatchWildcards object(pattern.c_str(), caseSensitive);
  KIV_FUZZ_CHECK(object.getPattern(text.c_str()) == (expected ? text.c_str() : nullptr));
}

void checkSearch(const std::string& pattern, const std::string& text, const char* raw,
                 std::size_t rawLength, bool ignoreCase) {
  const KivClStringSearch search(pattern.c_str(), ignoreCase);
  KIV_FUZZ_CHECK(search.getPattern(text.c_str()) ==
                 naiveSearch(pattern, text.c_str(), text.size(), ignoreCase));
  const auto length = static_cast<unsigned int>(rawLength);
  KIV_FUZZ_CHECK(search.getPattern(raw, length) ==
                 naiveSearch(pattern, raw, rawLength, ignoreCase));
}

void checkLiteralGrep(const std::string& pattern, const std::string& text, bool ignoreCase,
                      bool textStart) {
  const std::string expression = escapeLiteral(pattern);
  const KivClGrep grep(expression.c_str(), ignoreCase);
  const int eflags = textStart ? KivClGrep::cv_iEflagTextStart : 0;
  const char* found = grep.getPattern(text.c_str(), eflags);
  if (grep.getCompileResult() != 0) {
    KIV_FUZZ_CHECK(found == nullptr);
    return;
  }
  const char* expected =
      pattern.empty() ? text.c_str() : naiveSearch(pattern, text.c_str(), text.size(), ignoreCase);
  if (textStart && expected != nullptr) expected = text.c_str();
  KIV_FUZZ_CHECK(found == expected);
}

bool isSimpleExpression(const std::string& pattern) {
  if (pattern.size() > gs_maxExpression || pattern.find('{') != std::string::npos) return false;
  std::size_t plus = 0;
  for (const char c : pattern) plus += c == '+' ? 1 : 0;
  if (plus > gs_maxPlus) return false;
  for (std::size_t i = 0; i + 1 < pattern.size(); ++i) {
    if (pattern[i] == '\\' && std::isdigit(static_cast<unsigned char>(pattern[i + 1])))
      return false;
  }
  return true;
}

void checkRawGrep(const std::string& pattern, const std::string& text, int cflags) {
  if (!isSimpleExpression(pattern) || text.size() > gs_maxExpressionText) return;
  const KivClGrep grep(cflags, pattern.c_str());
  regex_t direct;
  const int compiled = regcomp(&direct, pattern.c_str(), cflags);
  KIV_FUZZ_CHECK(grep.getCompileResult() == compiled);
  const char* found = grep.getPattern(text.c_str());
  if (compiled != 0) {
    KIV_FUZZ_CHECK(found == nullptr);
    return;
  }
  regmatch_t match[1];
  const bool matched = regexec(&direct, text.c_str(), 1, match, 0) == 0;
  KIV_FUZZ_CHECK((found != nullptr) == matched);
  if (found != nullptr)
    KIV_FUZZ_CHECK(found >= text.c_str() && found <= text.c_str() + text.size());
  if (matched && (cflags & REG_NOSUB) == 0) KIV_FUZZ_CHECK(found == text.c_str() + match[0].rm_so);
  KIV_FUZZ_CHECK(grep.getPattern(text.c_str(), KivClGrep::cv_iEflagTextStart) ==
                 (matched ? text.c_str() : nullptr));
  regfree(&direct);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  const std::uint8_t control = data[0];
  const bool caseSensitive = (control & 1) != 0;
  const bool ignoreCase = (control & 2) != 0;
  const bool textStart = (control & 4) != 0;
  static const int extraFlags[8] = {0,
                                    REG_NEWLINE,
                                    REG_NOSUB,
                                    REG_NEWLINE | REG_NOSUB,
                                    REG_ICASE,
                                    REG_ICASE | REG_NEWLINE,
                                    REG_ICASE | REG_NOSUB,
                                    REG_ICASE | REG_NEWLINE | REG_NOSUB};
  const int cflags = REG_EXTENDED | extraFlags[(control >> 3) & 7];

  std::vector<std::string> fields = kivfuzz::splitFields(data + 1, size - 1, 2);
  fields.resize(2);
  const std::string pattern = fields[0].substr(0, gs_maxPattern);
  const std::string text = fields[1].substr(0, gs_maxText);
  const char* raw = reinterpret_cast<const char*>(data + 1);
  const std::size_t rawLength = size - 1 > gs_maxText ? gs_maxText : size - 1;

  checkWildcards(pattern, text, caseSensitive);
  checkSearch(pattern, text, raw, rawLength, ignoreCase);
  checkLiteralGrep(pattern, text, ignoreCase, textStart);
  checkRawGrep(pattern, text, cflags);
  return 0;
}
