// Helpers of the message tests: a guard that restores the process locale
// (opening a catalog changes it on purpose), catalogs compiled with gencat
// at test time, and a memory manager that counts the library's allocations.
#ifndef KIV_MSG_TEST_HELPERS_HPP
#define KIV_MSG_TEST_HELPERS_HPP

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "kiv_memmgr.hpp"
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
  const std::string command =
      std::string("LC_ALL=C '") + KIV_TEST_GENCAT + "' --new '" + catalog + "' '" + input + "'";
  const int status = std::system(command.c_str());
  ASSERT_TRUE(status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0)
      << "gencat failed for " << catalog;
}

/// Counts what goes through the library's memory manager while it lives,
/// then puts back the functions it found.
class CountingMemoryManager {
 public:
  CountingMemoryManager()
      : m_allocator(KivClMemoryManager::cv_pfuAllocatorCallback),
        m_reallocator(KivClMemoryManager::cv_pfuReallocatorCallback),
        m_deallocator(KivClMemoryManager::cv_pfuDeallocatorCallback) {
    cv_allocations = 0;
    cv_frees = 0;
    cv_lastSize = 0;
    KivClMemoryManager::setNewMemoryManager(&allocate, &std::realloc, &release);
  }
  ~CountingMemoryManager() {
    KivClMemoryManager::setNewMemoryManager(m_allocator, m_reallocator, m_deallocator);
  }
  CountingMemoryManager(const CountingMemoryManager&) = delete;
  CountingMemoryManager& operator=(const CountingMemoryManager&) = delete;

  static int allocations() { return cv_allocations; }
  static int frees() { return cv_frees; }
  static std::size_t lastSize() { return cv_lastSize; }

 private:
  static void* allocate(std::size_t size) {
    ++cv_allocations;
    cv_lastSize = size;
    return std::malloc(size);
  }
  static void release(void* p) {
    if (p != nullptr) ++cv_frees;
    std::free(p);
  }

  static inline int cv_allocations = 0;
  static inline int cv_frees = 0;
  static inline std::size_t cv_lastSize = 0;
  KivPfuAllocator m_allocator;
  KivPfuReallocator m_reallocator;
  KivPfuDeallocator m_deallocator;
};

/// True when `p` points into the object `object` itself (not the heap).
template <typename T>
bool pointsInto(const T& object, const void* p) {
  const char* begin = reinterpret_cast<const char*>(&object);
  const char* q = static_cast<const char*>(p);
  return q >= begin && q < begin + sizeof(T);
}

}  // namespace msgtest

#endif
