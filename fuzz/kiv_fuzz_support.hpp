// Helpers shared by the fuzz targets: a failed property check that stops
// the run with a readable message, the split of an input into C strings,
// exact-size heap copies (so that the sanitizers see every read past a
// terminator), a scratch directory for targets that need files, and the
// plain wildcard matcher that the matchers are checked against.
#ifndef KIV_FUZZ_SUPPORT_HPP
#define KIV_FUZZ_SUPPORT_HPP

#include <stdio.h>
#include <stdlib.h>

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

/// Stops the run when a property of the code under test does not hold.
/// libFuzzer saves the input that got here as a crash reproducer.
#define KIV_FUZZ_CHECK(condition)                                                   \
  do {                                                                              \
    if (!(condition)) {                                                             \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition); \
      abort();                                                                      \
    }                                                                               \
  } while (false)

namespace kivfuzz {

/// The input cut at its NUL bytes into at most `maxFields` texts; the last
/// field keeps the rest of the input, its NUL bytes cut away. An empty
/// input gives one empty field. The library's texts are C strings, so a
/// NUL can never be part of one: cutting there loses nothing.
inline std::vector<std::string> splitFields(const std::uint8_t* data, std::size_t size,
                                            std::size_t maxFields) {
  std::vector<std::string> fields(1);
  for (std::size_t i = 0; i < size; ++i) {
    const char c = static_cast<char>(data[i]);
    if (c == '\0') {
      if (fields.size() < maxFields) fields.emplace_back();
      continue;
    }
    fields.back() += c;
  }
  return fields;
}

/// A heap copy of `text` with exactly its length plus the terminator, so
/// that AddressSanitizer reports any read past the terminator.
inline std::unique_ptr<char[]> exactCopy(const std::string& text) {
  std::unique_ptr<char[]> copy(new char[text.size() + 1]);
  std::memcpy(copy.get(), text.c_str(), text.size() + 1);
  return copy;
}

/// One scratch directory per fuzzing process, made at first use under
/// $TMPDIR (or /tmp) and removed with its contents when the process ends
/// normally. A crashed run leaves it behind for inspection.
class ScratchDir {
 public:
  static const std::string& path() {
    static ScratchDir dir;
    return dir.m_path;
  }

  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

 private:
  ScratchDir() {
    const char* base = getenv("TMPDIR");
    std::string pattern =
        std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/kiv-fuzz-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      perror("mkdtemp");
      abort();
    }
    m_path = pattern;
  }
  ~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }

  std::string m_path;
};

/// Writes `size` bytes as the whole contents of the file `path`; stops the
/// run when that fails, since every later result would be meaningless.
inline void writeWholeFile(const std::string& path, const void* data, std::size_t size) {
  FILE* file = fopen(path.c_str(), "wbe");
  KIV_FUZZ_CHECK(file != nullptr);
  KIV_FUZZ_CHECK(size == 0 || fwrite(data, 1, size, file) == size);
  KIV_FUZZ_CHECK(fclose(file) == 0);
}

/// A character as the matchers compare it: itself, or upper-cased through
/// the locale's table when case is ignored.
inline int fold(char c, bool caseSensitive) {
  const int value = static_cast<unsigned char>(c);
  return caseSensitive ? value : std::toupper(value);
}

/// The plain definition of wildcard matching, as a reference: "*" matches
/// any sequence (also the empty one), "?" any one character, every other
/// character itself (after folding); the whole text must match the whole
/// pattern. Memoised, so that many stars stay quick; the recursion is at
/// most as deep as the two lengths together.
class NaiveWildcards {
 public:
  NaiveWildcards(const std::string& pattern, const std::string& text, bool caseSensitive)
      : m_pattern(pattern),
        m_text(text),
        m_caseSensitive(caseSensitive),
        m_memo((pattern.size() + 1) * (text.size() + 1), kUnknown) {}

  bool matches() { return match(0, 0); }

 private:
  static constexpr signed char kUnknown = -1;

  bool match(std::size_t i, std::size_t j) {
    signed char& known = m_memo[i * (m_text.size() + 1) + j];
    if (known == kUnknown) known = compute(i, j) ? 1 : 0;
    return known == 1;
  }

  bool compute(std::size_t i, std::size_t j) {
    if (i == m_pattern.size()) return j == m_text.size();
    if (m_pattern[i] == '*') return match(i + 1, j) || (j < m_text.size() && match(i, j + 1));
    if (j == m_text.size()) return false;
    if (m_pattern[i] != '?' &&
        fold(m_pattern[i], m_caseSensitive) != fold(m_text[j], m_caseSensitive)) {
      return false;
    }
    return match(i + 1, j + 1);
  }

  const std::string m_pattern;
  const std::string m_text;
  bool m_caseSensitive;
  std::vector<signed char> m_memo;
};

}  // namespace kivfuzz

#endif
