// Shared set-up of the console test programs. Each program is one small
// console tool whose behaviour the tests pick through environment
// variables:
//
//   KIVTEST_SCENARIO      what the program does after the set-up
//   KIVTEST_CATALOG       path of a catalog of its own (else the default one)
//   KIVTEST_BASE          message id base for that catalog
//   KIVTEST_NOINIT        set: init() is not called
//   KIVTEST_TITLE, KIVTEST_LEVEL, KIVTEST_CRLEVEL, KIVTEST_CRDATE
//                         the texts given to init()
//   KIVTEST_TITLE_ID, KIVTEST_LEVEL_ID
//                         init() with message ids instead
//   KIVTEST_HIDE_TAGGED, KIVTEST_DISABLE_TAGGED
//                         hideTaggedLines() / disableTaggedLines() before
//                         the usage is handled
//   KIVTEST_USAGE, KIVTEST_HELP
//                         handleUsageHelp(usage, help) when KIVTEST_USAGE is
//                         set (KIVTEST_HELP unset: no help)
//   KIVTEST_USAGE_ID, KIVTEST_HELP_ID
//                         handleUsageHelp with message ids instead
//
// The programs end by writing "REACHED" on standard output, so that a test
// sees whether the process went on past a call.
#ifndef KIV_CONUI_PROG_COMMON_HPP
#define KIV_CONUI_PROG_COMMON_HPP

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>

#include "kiv_conui.hpp"
#include "kiv_filename.hpp"

namespace conuiprog {

inline const char* env(const char* name) { return std::getenv(name); }

inline std::string envString(const char* name, const char* fallback = "") {
  const char* value = std::getenv(name);
  return value != nullptr ? value : fallback;
}

inline long envLong(const char* name, long fallback = 0) {
  const char* value = std::getenv(name);
  return value != nullptr ? std::atol(value) : fallback;
}

/// The console UI of the program, with the catalog the environment names.
inline std::unique_ptr<KivClConsoleUI> makeUi(int argc, char** argv) {
  if (const char* catalog = env("KIVTEST_CATALOG")) {
    return std::make_unique<KivClConsoleUI>(argc, argv, KivClFilename(catalog),
                                            static_cast<unsigned long>(envLong("KIVTEST_BASE")));
  }
  return std::make_unique<KivClConsoleUI>(argc, argv);
}

/// init() and handleUsageHelp() as the environment asks.
inline void setUp(KivClConsoleUI& ui) {
  if (env("KIVTEST_NOINIT") == nullptr) {
    if (env("KIVTEST_TITLE_ID") != nullptr || env("KIVTEST_LEVEL_ID") != nullptr) {
      ui.init(static_cast<unsigned long>(envLong("KIVTEST_TITLE_ID")),
              static_cast<unsigned long>(envLong("KIVTEST_LEVEL_ID")), env("KIVTEST_CRLEVEL"),
              env("KIVTEST_CRDATE"));
    } else {
      ui.init(env("KIVTEST_TITLE"), env("KIVTEST_LEVEL"), env("KIVTEST_CRLEVEL"),
              env("KIVTEST_CRDATE"));
    }
  }
  if (env("KIVTEST_HIDE_TAGGED") != nullptr) ui.hideTaggedLines();
  if (env("KIVTEST_DISABLE_TAGGED") != nullptr) ui.disableTaggedLines();
  if (env("KIVTEST_USAGE_ID") != nullptr) {
    ui.handleUsageHelp(static_cast<unsigned long>(envLong("KIVTEST_USAGE_ID")),
                       static_cast<unsigned long>(envLong("KIVTEST_HELP_ID")));
  } else if (const char* usage = env("KIVTEST_USAGE")) {
    ui.handleUsageHelp(usage, env("KIVTEST_HELP"));
  }
}

/// Marks the end of the program on standard output.
inline int reached() {
  std::cout << "REACHED" << std::endl;
  return 0;
}

}  // namespace conuiprog

#endif
