// Text search, counting and copying, in-place case conversion and the
// case-insensitive comparisons.
//
// The comparisons follow the locale's character tables exactly as the rest
// of the library expects: strcmpi and strncmpi read plain (signed) chars and
// hand them to toupper/tolower as they are (the C library's tables cover
// the values -128 to 255 for this purpose), memicmp reads unsigned bytes.

#include <cctype>
#include <cstring>

#include "kiv_base.hpp"

namespace {

int lowerOf(char c) { return std::tolower(static_cast<unsigned char>(c)); }

// The text for a null argument of the comparisons.
const char* orEmpty(const char* text) { return text != nullptr ? text : ""; }

}  // namespace

extern "C" {

const char* kivStrFind(const char* text, const char* pattern, bool caseInsensitive) {
  if (text == nullptr) return nullptr;
  if (pattern == nullptr || *pattern == '\0') return text;
  if (!caseInsensitive) return std::strstr(text, pattern);

  // One pass over the text without backing up: a character that breaks a
  // partial match is not tried again as the start of a new match.
  const std::size_t patternLength = std::strlen(pattern);
  std::size_t position = 0;
  for (const char* current = text; *current != '\0';) {
    if (lowerOf(*current) == lowerOf(pattern[position])) {
      ++position;
    } else {
      position = 0;
    }
    ++current;
    if (position == patternLength) return current - patternLength;
  }
  return nullptr;
}

std::size_t kivStrCount(const char* text, char character) {
  if (text == nullptr) return 0;
  std::size_t count = 0;
  for (; *text != '\0'; ++text) {
    if (*text == character) ++count;
  }
  return count;
}

std::size_t kivStrCopyUntil(char* destination, const char* source, char stop) {
  if (destination == nullptr) return 0;
  std::size_t count = 0;
  if (source != nullptr) {
    for (; source[count] != '\0' && source[count] != stop; ++count) {
      destination[count] = source[count];
    }
  }
  destination[count] = '\0';
  return count;
}

char* strupr(char* text) {
  if (text == nullptr) return nullptr;
  for (char* p = text; *p != '\0'; ++p) {
    *p = static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
  }
  return text;
}

char* strlwr(char* text) {
  if (text == nullptr) return nullptr;
  for (char* p = text; *p != '\0'; ++p) {
    *p = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
  }
  return text;
}

int strcmpi(const char* a, const char* b) {
  a = orEmpty(a);
  b = orEmpty(b);
  for (;; ++a, ++b) {
    // Plain chars, signed on this platform, go to the table as they are.
    const int upperA = std::toupper(static_cast<int>(*a));
    const int upperB = std::toupper(static_cast<int>(*b));
    if (upperA != upperB) return upperA - upperB;
    if (*a == '\0') return 0;
  }
}

int strncmpi(const char* a, const char* b, std::int32_t count) {
  a = orEmpty(a);
  b = orEmpty(b);
  int difference = 0;
  for (std::int32_t i = 0; i < count; ++i) {
    difference = std::tolower(static_cast<int>(a[i])) - std::tolower(static_cast<int>(b[i]));
    if (difference != 0 || a[i] == '\0') break;
  }
  return difference;
}

int memicmp(const void* a, const void* b, std::uint32_t length) {
  const auto* bytesA = static_cast<const unsigned char*>(a);
  const auto* bytesB = static_cast<const unsigned char*>(b);
  for (std::uint32_t i = 0; i < length; ++i) {
    if (bytesA[i] == bytesB[i]) continue;
    const int difference = std::tolower(bytesA[i]) - std::tolower(bytesB[i]);
    if (difference != 0) return difference;
  }
  return 0;
}

}  // extern "C"
