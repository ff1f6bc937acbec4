// Helpers of the message tests: a guard that restores the process locale
// (opening a catalog changes it on purpose), catalogs compiled with gencat
// at test time, and a memory manager that counts the library's allocations.
#ifndef KIV_MSG_TEST_HELPERS_HPP
#define KIV_MSG_TEST_HELPERS_HPP

#include <gtest/gtest.h>

#include <clocale>
#include <cstdio>
#include <fstream>
#include <string>

#include "kiv_alloc_support.hpp"
#include "kiv_child_support.hpp"
#include "kiv_test_support.hpp"

namespace msgtest {

/// Restores the locale of every category when it goes out of scope.
class LocaleGuard {
 public:
  LocaleGuard() {
    const char* current = std::setlocale(LC_ALL, nullptr);
    m_locale = current != nullptr ? current : "C";
  }
  ~LocaleGuard() { std::setlocale(LC_ALL, m_locale.c_str()); }
  LocaleGuard(const LocaleGuard&) = delete;
  LocaleGuard& operator=(const LocaleGuard&) = delete;

 private:
  std::string m_locale;
};

/// Writes `source` (gencat input) next to `catalog` and compiles it with
/// gencat into the file `catalog`. Fails the test when gencat fails.
inline void makeCatalog(const std::string& catalog, const std::string& source) {
  const std::string input = catalog + ".msg";
  {
    std::ofstream out(input, std::ios::binary);
    out << source;
  }
  const kivtest::ChildResult gencat =
      kivtest::runProgram(KIV_TEST_GENCAT, {"--new", catalog, input}, {{"LC_ALL", "C"}});
  ASSERT_EQ(gencat.exitCode, 0) << "gencat failed for " << catalog << ": " << gencat.err;
}

/// Counts what goes through the library's memory manager while it lives.
using CountingMemoryManager = kivtest::ScopedUserMemoryManager;

/// True when `p` points into the object `object` itself (not the heap).
template <typename T>
bool pointsInto(const T& object, const void* p) {
  const char* begin = reinterpret_cast<const char*>(&object);
  const char* q = static_cast<const char*>(p);
  return q >= begin && q < begin + sizeof(T);
}

}  // namespace msgtest

#endif
