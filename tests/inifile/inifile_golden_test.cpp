// Golden-file tests of the parser: each data/<name>.ini is loaded from a
// buffer and the result, the line count, the reported errors and the model
// are compared with data/<name>.expected.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "inifile_test_support.hpp"
#include "kiv_inifile.hpp"
#include "kiv_test_support.hpp"

namespace {

struct GoldenCase {
  const char* name;
  bool keepDuplicateSections;
  bool allowContinuation;
};

std::ostream& operator<<(std::ostream& os, const GoldenCase& c) { return os << c.name; }

using kivtest::readRequiredFile;

class IniGoldenTest : public ::testing::TestWithParam<GoldenCase> {
 protected:
  IniGoldenTest() : a("KIV_INI_GOLDEN_A"), b("KIV_INI_GOLDEN_B"), unset("KIV_INI_GOLDEN_UNSET") {
    a.set("alpha");
    b.set("  padded  ");
    unset.unset();
  }
  kivtest::EnvGuard a;
  kivtest::EnvGuard b;
  kivtest::EnvGuard unset;
};

TEST_P(IniGoldenTest, ModelMatchesTheExpectedDump) {
  const GoldenCase& c = GetParam();
  const std::string base = std::string(KIV_INIFILE_TEST_DATA) + "/" + c.name;
  const std::string input = readRequiredFile(base + ".ini");
  KivClIniFile ini(kivtest::unusedIniName());
  kivtest::IniErrorLog log;
  log.attach(ini);
  const bool result = kivtest::loadText(ini, input, c.keepDuplicateSections, c.allowContinuation);
  std::string actual = std::string("result ") + (result ? "true" : "false") + "\n";
  actual += "lines " + std::to_string(ini.getLineNumber()) + "\n";
  for (const auto& call : log.calls) {
    actual += "error " + std::to_string(call.id) + " class " +
              std::to_string(static_cast<int>(call.errorClass)) + " line " +
              std::to_string(call.line) + "\n";
  }
  actual += kivtest::dumpModel(ini);
  EXPECT_EQ(actual, readRequiredFile(base + ".expected"));
}

INSTANTIATE_TEST_SUITE_P(
    Corpus, IniGoldenTest,
    ::testing::Values(GoldenCase{"basic", true, false}, GoldenCase{"values", true, false},
                      GoldenCase{"errors", true, false}, GoldenCase{"continuation", true, true},
                      GoldenCase{"merge", false, false}, GoldenCase{"envsubst", true, false},
                      GoldenCase{"crlf", true, false}, GoldenCase{"longline", true, false},
                      GoldenCase{"binary", true, false}),
    kivtest::NameMember{});

}  // namespace
