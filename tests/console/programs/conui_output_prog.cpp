// A console tool for the tests of the console UI output: every display and
// format member, selected by KIVTEST_SCENARIO (see the table below), after
// the set-up of conui_prog_common.hpp. KIVTEST_WIDTH, KIVTEST_STYLE (0, 1,
// 2) and KIVTEST_FILL change the format settings first.

#include <cstdint>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <string>

#include "conui_prog_common.hpp"

namespace {

using conuiprog::env;
using conuiprog::envLong;
using conuiprog::envString;
using Scenario = std::function<void(KivClConsoleUI&)>;

// Every value form, by text label and by message id.
void allValueForms(KivClConsoleUI& ui) {
  ui.format("Trace file", "trace.trc");
  ui.format(180UL, "by id");
  ui.format("Counted", "abcdef", 3UL);
  ui.format(181UL, "xyz", 2UL);
  ui.format("Char", 'c');
  ui.format(182UL, 'd');
  ui.format("Long", -1234567890123L);
  ui.format(183UL, 5L);
  ui.format("Int", -42);
  ui.format(184UL, 42);
  ui.format("Unsigned int", 4000000000U);
  ui.format(185UL, 7U);
  ui.format("Short", static_cast<short>(-7));
  ui.format(186UL, static_cast<short>(8));
  ui.format("Unsigned short", static_cast<unsigned short>(65535));
  ui.format(187UL, static_cast<unsigned short>(9));
  ui.format("Unsigned long", 18446744073709551615UL);
  ui.format(188UL, 10UL);
  ui.format("Float", 1.5f);
  ui.format(189UL, 0.1f);
  ui.format("Double", 3.14159265358979);
  ui.format(173UL, 1e20);
  ui.formatBool("Bool true", true);
  ui.formatBool(174UL, false);
  ui.format("Null string", static_cast<const char*>(nullptr));
  ui.format("Label only");
  ui.newline();
  ui.format(176UL);
  ui.newline();
}

const KivClException& sampleException() {
  static const KivClException e(
      _KivStUserError{KIV_FILE_COULD_NOT_REMOVE, KivEnErrorClass::IO_NOT_EXISTENT,
                      KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE},
      "filesystem/kiv_file.cpp:120", 120, "the file is gone");
  return e;
}

const std::map<std::string, Scenario>& scenarios() {
  static const std::map<std::string, Scenario> table = {
      {"error", [](KivClConsoleUI& ui) { ui.error("Cannot open the file", "a.txt", "denied"); }},
      {"error-four", [](KivClConsoleUI& ui) { ui.error("Four", "1", nullptr, "3", "4"); }},
      {"error-stream",
       [](KivClConsoleUI& ui) { ui.error(std::cout, "On the output", "one", "two"); }},
      {"warning", [](KivClConsoleUI& ui) { ui.warning("Careful", "disk almost full"); }},
      {"info", [](KivClConsoleUI& ui) { ui.info("Status", "All done", "3 files"); }},
      {"info-title", [](KivClConsoleUI& ui) { ui.info("Status only"); }},
      {"fatal", [](KivClConsoleUI& ui) { ui.fatal(9, "Cannot go on", "reason"); }},
      {"exception",
       [](KivClConsoleUI& ui) { ui.exception(sampleException(), "Caught it", "while saving"); }},
      {"headers",
       [](KivClConsoleUI& ui) {
         ui.header("Plain");
         ui.header("More", true);
         ui.msg(ui.getOutputStream(), "continued");
         ui.header(16UL);
         ui.header(std::cout, 17UL, true);
         ui.msg(std::cout, "text", nullptr, "second", nullptr, "fourth");
         ui.msgSubseq(std::cout, nullptr);
         ui.msgSubseq(std::cout, "subsequent");
         ui.newline();
       }},
      {"pieces",
       [](KivClConsoleUI& ui) {
         ui.horizontalBar();
         ui.indent(std::cout);
         ui.indent(std::cout, 3, '*');
         ui.newline();
         ui.beep();
         ui.newline();
         ui.formatHeader("Format header");
         ui.formatHeader(35UL);
       }},
      {"values", allValueForms},
      {"errid",
       [](KivClConsoleUI& ui) {
         ui.formatErrId(static_cast<unsigned long>(KIV_FILE_COULD_NOT_REMOVE));
         ui.formatErrId(static_cast<unsigned long>(KIV_CONUI_USAGE), true);
         ui.formatErrId(424242UL);
         ui.format(KivEnErrorClass::IO_NOT_EXISTENT);
         ui.format(KivEnErrorSeverity::FATAL);
         ui.format(KivEnErrorAction::RETRYDELAY);
         ui.format(static_cast<KivEnErrorClass>(42));
         ui.format(static_cast<KivEnErrorSeverity>(3));
       }},
      {"record-cleared", [](KivClConsoleUI& ui) { ui.format(_KivStError{}); }},
      {"record-cleared-verbose", [](KivClConsoleUI& ui) { ui.format(_KivStError{}, true); }},
      {"record-no-class",
       [](KivClConsoleUI& ui) {
         ui.format(_KivStError{KIV_FILE_COULD_NOT_COPY, {}});
       }},
      {"record-full",
       [](KivClConsoleUI& ui) {
         ui.format(_KivStError{KIV_FILE_COULD_NOT_COPY, KivEnErrorClass::IO_PERMISSION_DENIED});
       }},
      {"user-cleared", [](KivClConsoleUI& ui) { ui.format(_KivStUserError{}); }},
      {"user-cleared-verbose", [](KivClConsoleUI& ui) { ui.format(_KivStUserError{}, true); }},
      {"user-partial",
       [](KivClConsoleUI& ui) {
         ui.format(
             _KivStUserError{KIV_MEMMGR_ZERO_SIZE_OBJECT, {}, KivEnErrorSeverity::WARNING, {}});
       }},
      {"exception-terse", [](KivClConsoleUI& ui) { ui.format(sampleException()); }},
      {"exception-verbose", [](KivClConsoleUI& ui) { ui.format(sampleException(), true); }},
      {"exception-no-cause",
       [](KivClConsoleUI& ui) {
         const KivClException e(_KivStUserError{KIV_CONUI_USAGE, {}, {}, {}}, "m.cpp:3", 3);
         ui.format(e, true);
       }},
      {"dump",
       [](KivClConsoleUI& ui) {
         const char data[] = "Hello World, this is a dump\n\x7f";
         ui.dump("Zero bytes", data, 0);
         ui.dump("Sixteen bytes", data, 16);
         ui.dump(189UL, data, 17);
         ui.dump("Twenty-nine bytes", data, 29);
       }},
      {"display",
       [](KivClConsoleUI& ui) {
         ui.display(std::cout, envString("KIVTEST_TEXT").c_str(),
                    static_cast<unsigned int>(envLong("KIVTEST_INDENT")),
                    env("KIVTEST_USAGE_MODE") != nullptr);
         std::cout << "|" << std::endl;
       }},
      {"usage", [](KivClConsoleUI& ui) { ui.displayUsage(); }},
      {"usage-exit", [](KivClConsoleUI& ui) { ui.displayUsage(true); }},
      {"help", [](KivClConsoleUI& ui) { ui.displayHelp(); }},
      {"help-exit", [](KivClConsoleUI& ui) { ui.displayHelp(true); }},
      {"usage-help",
       [](KivClConsoleUI& ui) { ui.displayUsageHelp("[-v] <file>", "-v  verbose", true); }},
      {"title",
       [](KivClConsoleUI& ui) {
         ui.displayTitle("Title only", nullptr);
         ui.displayTitle("Title", "L2");
         ui.displayTitle(nullptr, "Level only");
         ui.displayTitle(nullptr, nullptr);
       }},
      {"copyright",
       [](KivClConsoleUI& ui) {
         ui.displayCopyright(env("KIVTEST_CRLEVEL"), env("KIVTEST_CRDATE"));
       }},
      {"redirect",
       [](KivClConsoleUI& ui) {
         std::ostringstream captured;
         ui.setOutputStream(captured);
         ui.error("Redirected error");
         ui.info("Redirected info");
         ui.setOutputStream(std::cout);
         std::cout << "captured<<" << captured.str() << ">>" << std::endl;
       }},
      {"quiet-displays",
       [](KivClConsoleUI& ui) {
         std::ostringstream captured;
         ui.setOutputStream(captured);  // ignored in quiet mode
         ui.error("Quiet error");
         ui.warning("Quiet warning");
         ui.info("Quiet info", "text");
         ui.format("Quiet format", 1);
         std::cout << "quiet=" << ui.mustBeQuiet() << " captured=" << captured.str().size()
                   << std::endl;
       }},
  };
  return table;
}

}  // namespace

int main(int argc, char** argv) {
  std::unique_ptr<KivClConsoleUI> ui = conuiprog::makeUi(argc, argv);
  conuiprog::setUp(*ui);
  if (env("KIVTEST_WIDTH") != nullptr) {
    ui->setFormatWidth(static_cast<unsigned int>(envLong("KIVTEST_WIDTH")));
  }
  if (env("KIVTEST_STYLE") != nullptr) {
    ui->setFormatStyle(static_cast<KivEnFormatStyle>(envLong("KIVTEST_STYLE")));
  }
  if (env("KIVTEST_FILL") != nullptr) ui->setFormatFillChar(envString("KIVTEST_FILL")[0]);
  if (const char* label = env("KIVTEST_LABEL")) {
    // One label-value line with the label given, then REACHED.
    ui->format(label, "value");
    return conuiprog::reached();
  }
  const auto& table = scenarios();
  const auto found = table.find(envString("KIVTEST_SCENARIO"));
  if (found == table.end()) {
    std::cerr << "unknown scenario" << std::endl;
    return 99;
  }
  found->second(*ui);
  return conuiprog::reached();
}
