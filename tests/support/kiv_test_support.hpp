// Helpers shared by the library's tests: error-record assertions that print
// names, a temporary directory, and guards that restore the environment and
// the current directory.
#ifndef KIV_TEST_SUPPORT_HPP
#define KIV_TEST_SUPPORT_HPP

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "kiv_error.hpp"

namespace kivtest {

/// Symbolic name of an error id, for failure messages ("?<n>" if unknown).
inline std::string errorIdName(long id) {
#define KIV_NAME_IF(name, value) \
  if (id == (value)) return #name;
  KIV_ERROR_ID_LIST(KIV_NAME_IF)
#undef KIV_NAME_IF
  return "?" + std::to_string(id);
}

/// Symbolic name of an error class, for failure messages.
inline std::string errorClassName(KivEnErrorClass c) {
  const auto v = static_cast<std::int32_t>(c);
#define KIV_NAME_IF(name, value) \
  if (v == (value)) return #name;
  KIV_ERROR_CLASS_LIST(KIV_NAME_IF)
#undef KIV_NAME_IF
  return "?" + std::to_string(v);
}

inline std::string describe(const _KivStError& e) {
  return "{" + errorIdName(e.id) + ", " + errorClassName(e.errorClass) + "}";
}

inline ::testing::AssertionResult errorIs(const char* actualExpr, const char*, const char*,
                                          const _KivStError& actual, long id,
                                          KivEnErrorClass errorClass) {
  const _KivStError expected{id, errorClass};
  if (actual == expected) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << actualExpr << " is " << describe(actual) << ", expected " << describe(expected);
}

/// The whole contents of a file; the empty text when it cannot be read.
inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

/// The whole contents of a file that must exist (golden files, results);
/// throws, and so fails the test, when it cannot be read.
inline std::string readRequiredFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

/// Writes `text` as the whole contents of a file; throws when it cannot.
inline void writeFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
  if (!out.flush()) throw std::runtime_error("cannot write " + path);
}

/// A fresh directory under $TMPDIR (or /tmp), removed with its contents.
class TempDir {
 public:
  TempDir() {
    const char* base = getenv("TMPDIR");
    // mkdtemp wants the name to end in six X, which it replaces.
    std::string tmpl =
        std::string(base && *base ? base : "/tmp") + "/kivtest." + std::string(6, 'X');
    if (mkdtemp(tmpl.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    m_path = tmpl;
  }
  ~TempDir() {
    std::error_code ec;
    // Make everything writable again, so that tests of read-only entries
    // leave nothing behind.
    for (auto it = std::filesystem::recursive_directory_iterator(m_path, ec);
         !ec && it != std::filesystem::recursive_directory_iterator(); it.increment(ec)) {
      std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                   std::filesystem::perm_options::add, ec);
    }
    std::filesystem::remove_all(m_path, ec);
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return m_path; }
  /// The path of an entry inside the directory.
  std::string operator/(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

/// Restores an environment variable (value or absence) when it goes out of scope.
class EnvGuard {
 public:
  explicit EnvGuard(std::string name) : m_name(std::move(name)) {
    if (const char* v = getenv(m_name.c_str())) m_value = v;
  }
  ~EnvGuard() {
    if (m_value) {
      setenv(m_name.c_str(), m_value->c_str(), 1);
    } else {
      unsetenv(m_name.c_str());
    }
  }
  EnvGuard(const EnvGuard&) = delete;
  EnvGuard& operator=(const EnvGuard&) = delete;

  void set(const std::string& value) { setenv(m_name.c_str(), value.c_str(), 1); }
  void unset() { unsetenv(m_name.c_str()); }

 private:
  std::string m_name;
  std::optional<std::string> m_value;
};

/// Restores the current directory when it goes out of scope.
class CwdGuard {
 public:
  CwdGuard() : m_cwd(std::filesystem::current_path()) {}
  ~CwdGuard() {
    std::error_code ec;
    std::filesystem::current_path(m_cwd, ec);
  }
  CwdGuard(const CwdGuard&) = delete;
  CwdGuard& operator=(const CwdGuard&) = delete;

 private:
  std::filesystem::path m_cwd;
};

/// The names in a directory, sorted (no "." or "..").
inline std::vector<std::string> directoryEntries(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

/// stat() of a path that must exist; throws when it does not.
inline struct stat statusOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) throw std::runtime_error("cannot stat " + path);
  return status;
}

/// Name generator for INSTANTIATE_TEST_SUITE_P whose parameter is a table row
/// with a `name` member (letters, digits and underscores, unique in the
/// table): each case is listed as .../<name> instead of an index, so ctest
/// and --gtest_filter show which row failed.
struct NameMember {
  template <typename Row>
  std::string operator()(const ::testing::TestParamInfo<Row>& info) const {
    return std::string(info.param.name);
  }
};

}  // namespace kivtest

inline void PrintTo(const _KivStError& e, std::ostream* os) { *os << kivtest::describe(e); }

/// EXPECT_KIV_ERROR(obj, FILE_COULD_NOT_REMOVE, IO_NOT_EXISTENT): the last error
/// of `obj` (read through getLastError()) has that id and class.
#define EXPECT_KIV_ERROR(obj, ID, CLASS) \
  EXPECT_PRED_FORMAT3(::kivtest::errorIs, (obj).getLastError(), KIV_##ID, KivEnErrorClass::CLASS)
#define ASSERT_KIV_ERROR(obj, ID, CLASS) \
  ASSERT_PRED_FORMAT3(::kivtest::errorIs, (obj).getLastError(), KIV_##ID, KivEnErrorClass::CLASS)
/// The last error of `obj` is cleared (id 0, class 0).
#define EXPECT_KIV_NO_ERROR(obj) EXPECT_KIV_ERROR(obj, NO_ERROR, UNKNOWN)

#endif
