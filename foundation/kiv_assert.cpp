// The assertion report: composed in memory, written to standard error in one
// piece, then the process aborts.

#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "kiv_envvar.hpp"
#include "kiv_memmgr.hpp"

namespace {

// Set by the first assertion; a second one while it is being handled (from
// a signal handler, say) aborts right after its report. A plain flag: the
// process is ending anyway.
bool gs_fAssertionInProgress = false;

std::string composeReport(const char* expression, const char* module, std::uint32_t line,
                          const char* function, const char* message, long pid) {
  std::string report = "\n*** INTERNAL ERROR OCCURED ***\n";
  if (message != nullptr) {
    report += "*** ";
    report += message;
    report += " ***\n";
    if (function != nullptr) {
      report += "***         FUNCTION: ";
      report += function;
      report += "\n";
    }
  }
  report += "*** ASSERTION FAILED: ";
  report += expression ? expression : "";
  report += "\n***             LINE: ";
  report += std::to_string(line);
  report += "\n***           MODULE: ";
  report += module ? module : "";
  report += "\n***       PROCESS ID: ";
  report += std::to_string(pid);
  report += "\n\n";
  return report;
}

}  // namespace

extern "C" {

void kiv__assert(const char* expression, const char* module, std::uint32_t line) {
  kiv__assert_msg(expression, module, line, nullptr, nullptr);
}

void kiv__assert_msg(const char* expression, const char* module, std::uint32_t line,
                     const char* function, const char* message) {
  const long pid = static_cast<long>(getpid());
  std::cerr << composeReport(expression, module, line, function, message, pid) << std::endl;
  if (gs_fAssertionInProgress) std::abort();
  gs_fAssertionInProgress = true;
  // Honoured where a pop-up exists; this platform has none to suppress.
  KivClEnvironmentVariableQueryOnly noPopup;
  noPopup.setNewName("KIV_NO_ASSERT_POPUP");
  (void)noPopup.hasValueEnabled();
  std::abort();
}

}  // extern "C"
