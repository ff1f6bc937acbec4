// A test fixture with a Latin-1 locale named "latin1", where toupper maps
// 0xE9 to 0xC9 and "C" maps neither: for tests of case folding that must
// follow the locale. localedef builds it once per test suite in a
// temporary directory, which LOCPATH names during each test; each test
// gets back the LC_CTYPE it started with.
#ifndef KIV_LATIN1_LOCALE_HPP
#define KIV_LATIN1_LOCALE_HPP

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <string>

#include "kiv_test_support.hpp"

namespace kivtest {

class Latin1LocaleTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_pDir = new TempDir;
    const std::string command =
        "localedef -c -i de_DE -f ISO-8859-1 '" + (*s_pDir / "latin1") + "' >/dev/null 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);
  }
  static void TearDownTestSuite() {
    delete s_pDir;
    s_pDir = nullptr;
  }

  Latin1LocaleTest() : m_saved(std::setlocale(LC_CTYPE, nullptr)) { m_locpath.set(s_pDir->path()); }
  ~Latin1LocaleTest() override { std::setlocale(LC_CTYPE, m_saved.c_str()); }

 private:
  static inline TempDir* s_pDir = nullptr;
  std::string m_saved;
  EnvGuard m_locpath{"LOCPATH"};
};

}  // namespace kivtest

#endif
