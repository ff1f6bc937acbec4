// kivini: reads and changes INI configuration files from scripts.
//
//   kivini -sections <file>
//   kivini -options <file> <section>
//   kivini -get <file> <section> <option> [-bool]
//   kivini -set <file> <section> <option> <value>
//   kivini -delete <file> <section> [<option>]
//   kivini -check <file>
//
// The command line is described once, by the tool's usage string (each
// command switch takes the file as its value, the other values are free
// arguments); the console UI checks it, shows usage and help (-h, -H, -?),
// handles -quiet and -copyright and ends a bad command line with its exit
// codes 201 to 204. The tool adds its own checks (exactly one command, the
// number of values, -bool only with -get) and ends them like the console
// UI does: an error display on standard error, then the usage display and
// exit code 201.
//
// Output: listings, values and -check reports go to the console UI's
// output stream, errors through its error display to its error stream, so
// -quiet leaves only the exit status (errors of the command line itself
// are shown on standard error also under -quiet, as the console UI does).
// Exit status:
//   0  done; -get -bool: the value is true
//   1  -get -bool: the value is false
//   2  the section or option is not found (-options, -get)
//   3  the file has errors (-check; -set and -delete then change nothing),
//      or the new file would not read back the same
//   4  the file cannot be read or written, or the backup cannot be written
//   201 to 204  a bad command line (the console UI's codes)
// Statuses 0 and 1 are answers and end the program normally; the others
// end it through the console UI's exit operation, which rings the bell on
// the output stream first, as in every program built on it.
//
// Choices made where the command line leaves room:
//   - A section, option or value argument that begins with an apostrophe
//     loses that one apostrophe, so that values beginning with "-" can be
//     given ("'-x"); the console UI reads a leading apostrophe of numeric
//     values the same way.
//   - -set on a file that does not exist creates it; every other command
//     needs the file.
//   - -set with the value the option already has, and -delete of a section
//     or option that does not exist, leave the file untouched (no backup)
//     and succeed, so that scripts can run them again.
//   - -delete of an option deletes every option of that name in the
//     section (lookups would otherwise find the next one).
//   - Reading commands work on what the library reads and say nothing
//     about errors of the file; -check reports them.
//   - New section names must be 1 to 80 characters without "]" and control
//     characters; new option names must be non-empty and hold no blank,
//     "=" or control character and not begin with ";" or "[". Other names
//     would not read back as given.

#include <cctype>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <ostream>
#include <string>
#include <vector>

#include "kiv_argv.hpp"
#include "kiv_conui.hpp"
#include "kiv_error.hpp"
#include "kiv_exception.hpp"
#include "kiv_inifile.hpp"
#include "kivini_document.hpp"
#include "kivini_texts.hpp"

namespace kivini {
namespace {

constexpr int gs_iExitDone = 0;
constexpr int gs_iExitFalse = 1;
constexpr unsigned long gs_ulExitNotFound = 2;
constexpr unsigned long gs_ulExitFileErrors = 3;
constexpr unsigned long gs_ulExitInputOutput = 4;

enum class Command { SECTIONS, OPTIONS, GET, SET, DELETE, CHECK };

// A command switch and how many free arguments it takes.
struct CommandForm {
  Command command;
  TextId switchName;
  std::size_t minValues;
  std::size_t maxValues;
};

constexpr CommandForm gs_aCommands[] = {
    {Command::SECTIONS, TXT_SWITCH_SECTIONS, 0, 0}, {Command::OPTIONS, TXT_SWITCH_OPTIONS, 1, 1},
    {Command::GET, TXT_SWITCH_GET, 2, 2},           {Command::SET, TXT_SWITCH_SET, 3, 3},
    {Command::DELETE, TXT_SWITCH_DELETE, 1, 2},     {Command::CHECK, TXT_SWITCH_CHECK, 0, 0},
};

// What the command line asks for.
struct Request {
  Command command = Command::CHECK;
  std::string file;
  std::vector<std::string> values;  // section, option, value
  bool boolean = false;
};

class Tool {
 public:
  Tool(KivClConsoleUI& ui, const Texts& texts) : m_ui(ui), m_texts(texts) {}

  int run();

 private:
  Request readCommandLine() const;
  [[noreturn]] void commandLineError(TextId text, const char* insert1 = nullptr,
                                     const char* insert2 = nullptr) const;
  [[noreturn]] void fail(unsigned long status, TextId text, const char* insert1 = nullptr,
                         const char* insert2 = nullptr, const char* insert3 = nullptr) const;
  [[noreturn]] void failRead(const Request& request, int systemError) const;
  [[noreturn]] void failRewrite(const Request& request, const RewriteFailure& failure) const;

  void readDocument(const Request& request, Document& document) const;
  void selectSection(const Request& request, const Document& document) const;
  void refuseFileWithErrors(const Request& request, const Document& document) const;
  void rewrite(const Request& request, const Document& document,
               const Replacement& replacement) const;
  std::string describe(const Finding& finding, const std::string& file) const;

  int listSections(const Request& request) const;
  int listOptions(const Request& request) const;
  int getValue(const Request& request) const;
  int setValue(const Request& request) const;
  int deleteEntry(const Request& request) const;
  int check(const Request& request) const;

  std::ostream& out() const { return m_ui.getOutputStream(); }

  KivClConsoleUI& m_ui;
  const Texts& m_texts;
};

std::string withoutApostrophe(const char* argument) {
  return std::string(argument[0] == '\'' ? argument + 1 : argument);
}

std::string switchText(const KivClMessage& name) { return std::string("-") + name.getText(); }

bool hasControl(const std::string& text) {
  for (const char c : text) {
    if (std::iscntrl(static_cast<unsigned char>(c)) != 0) return true;
  }
  return false;
}

bool isValidSectionName(const std::string& name) {
  return !name.empty() && name.size() <= KIV_INIFILE_SECTION_NAME_MAX &&
         name.find(']') == std::string::npos && !hasControl(name);
}

bool isValidOptionName(const std::string& name) {
  if (name.empty() || name[0] == ';' || name[0] == '[' || hasControl(name)) return false;
  for (const char c : name) {
    if (c == '=' || std::isspace(static_cast<unsigned char>(c)) != 0) return false;
  }
  return true;
}

TextId describingText(long errorId) {
  switch (errorId) {
    case KIV_INIFILE_INVAL_SECTION:
      return TXT_DESCRIBE_SECTION;
    case KIV_INIFILE_INVAL_OPTION:
      return TXT_DESCRIBE_OPTION;
    default:  // KIV_INIFILE_INVAL_WHITESPACE, the reader's third and last id
      return TXT_DESCRIBE_WHITESPACE;
  }
}

// ---------------------------------------------------------------------------
// The command line
// ---------------------------------------------------------------------------

void Tool::commandLineError(TextId text, const char* insert1, const char* insert2) const {
  // Like the console UI's own check: on standard error, whatever -quiet
  // says, then the usage and exit code 201.
  m_ui.error(std::cerr, m_texts.get(text).getText(), insert1, insert2);
  m_ui.displayUsage(true);
  m_ui.processExit(KIV_CONUI_EXIT_USAGE);  // not reached: displayUsage ends the process
}

Request Tool::readCommandLine() const {
  Request request;
  const CommandForm* chosen = nullptr;
  for (const CommandForm& form : gs_aCommands) {
    const KivClMessage name = m_texts.get(form.switchName);
    if (!m_ui.hasArgSwitch(name.getText())) continue;
    if (chosen != nullptr) {
      commandLineError(TXT_ERR_TWO_COMMANDS, switchText(m_texts.get(chosen->switchName)).c_str(),
                       switchText(name).c_str());
    }
    chosen = &form;
  }
  if (chosen == nullptr) commandLineError(TXT_ERR_NO_COMMAND);
  request.command = chosen->command;

  // The file is the value of the command switch; without one the console
  // UI ends the program with 203.
  const KivClMessage commandName = m_texts.get(chosen->switchName);
  const char* file = nullptr;
  m_ui.hasArgString(commandName.getText(), file);
  request.file = file;

  const KivClMessage boolName = m_texts.get(TXT_SWITCH_BOOL);
  request.boolean = m_ui.hasArgSwitch(boolName.getText());
  if (request.boolean && request.command != Command::GET) {
    commandLineError(TXT_ERR_BOOL_WITHOUT_GET, switchText(boolName).c_str());
  }

  KivClArgvFreeCursor argument(m_ui);
  for (bool valid = argument.setToFirst(); valid; valid = argument.setToNext()) {
    request.values.push_back(withoutApostrophe(argument.getAsCString()));
  }
  if (request.values.size() < chosen->minValues || request.values.size() > chosen->maxValues) {
    commandLineError(TXT_ERR_ARGUMENT_COUNT, switchText(commandName).c_str());
  }
  return request;
}

// ---------------------------------------------------------------------------
// Failures
// ---------------------------------------------------------------------------

void Tool::fail(unsigned long status, TextId text, const char* insert1, const char* insert2,
                const char* insert3) const {
  m_ui.error(m_texts.get(text).getText(), insert1, insert2, insert3);
  m_ui.processExit(status);
}

void Tool::failRead(const Request& request, int systemError) const {
  fail(gs_ulExitInputOutput, TXT_ERR_READ, request.file.c_str(), std::strerror(systemError));
}

void Tool::failRewrite(const Request& request, const RewriteFailure& failure) const {
  const char* reason = failure.systemError != 0 ? std::strerror(failure.systemError) : nullptr;
  switch (failure.step) {
    case RewriteFailure::Step::NOT_READ_BACK:
      fail(gs_ulExitFileErrors, TXT_ERR_NOT_READ_BACK, request.file.c_str(),
           failure.section.c_str(), failure.option.empty() ? nullptr : failure.option.c_str());
    case RewriteFailure::Step::BACKUP:
      fail(gs_ulExitInputOutput, TXT_ERR_BACKUP, failure.backupName.c_str(), reason);
    default:
      fail(gs_ulExitInputOutput, TXT_ERR_WRITE, request.file.c_str(), reason);
  }
}

// ---------------------------------------------------------------------------
// Shared steps
// ---------------------------------------------------------------------------

void Tool::readDocument(const Request& request, Document& document) const {
  int systemError = 0;
  if (document.read(systemError)) return;
  if (request.command == Command::SET && systemError == ENOENT) {
    document.startEmpty();
    return;
  }
  failRead(request, systemError);
}

void Tool::selectSection(const Request& request, const Document& document) const {
  if (document.model().getSection(request.values[0].c_str())) return;
  fail(gs_ulExitNotFound, TXT_ERR_SECTION_NOT_FOUND, request.file.c_str(),
       request.values[0].c_str());
}

std::string Tool::describe(const Finding& finding, const std::string& file) const {
  const std::string line = std::to_string(finding.line);
  switch (finding.kind) {
    case Finding::Kind::SYNTAX_ERROR: {
      const KivClMessage idName(
          m_ui.getMessageCatalog(),
          m_ui.getMessageIdBase() + kivErrorGetIdAsMessageId(finding.errorId));
      const KivClMessage meaning = m_texts.get(describingText(finding.errorId));
      return m_texts
          .get(TXT_FINDING_ERROR_ID, file.c_str(), line.c_str(), idName.getText(),
               meaning.getText())
          .getText();
    }
    case Finding::Kind::LONG_LINE:
      return m_texts
          .get(TXT_FINDING_LONG_LINE, file.c_str(), line.c_str(),
               std::to_string(KIV_INIFILE_LINE_MAX).c_str())
          .getText();
    case Finding::Kind::BEFORE_SECTION:
      return m_texts.get(TXT_FINDING_BEFORE_SECTION, file.c_str(), line.c_str()).getText();
    case Finding::Kind::EMPTY_SECTION:
      return m_texts.get(TXT_FINDING_EMPTY_SECTION, file.c_str(), line.c_str()).getText();
    case Finding::Kind::EMPTY_OPTION:
      return m_texts.get(TXT_FINDING_EMPTY_OPTION, file.c_str(), line.c_str()).getText();
  }
  return std::string();
}

void Tool::refuseFileWithErrors(const Request& request, const Document& document) const {
  if (document.findings().empty()) return;
  for (const Finding& finding : document.findings()) {
    m_ui.getErrorStream() << describe(finding, request.file) << '\n';
  }
  fail(gs_ulExitFileErrors, TXT_ERR_FILE_HAS_ERRORS, request.file.c_str());
}

void Tool::rewrite(const Request& request, const Document& document,
                   const Replacement& replacement) const {
  RewriteFailure failure;
  if (!document.rewrite(replacement, failure)) failRewrite(request, failure);
}

// ---------------------------------------------------------------------------
// The commands
// ---------------------------------------------------------------------------

int Tool::listSections(const Request& request) const {
  Document document(request.file);
  readDocument(request, document);
  for (const KivClIniFileSection* s = document.model().getFirstSection(); s != nullptr;
       s = s->getNext()) {
    if (!s->isDeleted()) out() << s->getName() << '\n';
  }
  return gs_iExitDone;
}

int Tool::listOptions(const Request& request) const {
  Document document(request.file);
  readDocument(request, document);
  selectSection(request, document);
  KivClIniFileOptionCursor option(document.model());
  for (bool valid = option.setToFirst(); valid; valid = option.setToNext()) {
    if (option.getOption()[0] != '\0') out() << option.getOption() << '\n';
  }
  return gs_iExitDone;
}

int Tool::getValue(const Request& request) const {
  Document document(request.file);
  readDocument(request, document);
  selectSection(request, document);
  const KivClIniFile& model = document.model();
  const char* name = request.values[1].c_str();
  if (request.boolean) {
    bool value = false;
    if (!model.getOptionBool(name, value)) {
      fail(gs_ulExitNotFound, TXT_ERR_OPTION_NOT_FOUND, request.file.c_str(),
           request.values[0].c_str(), name);
    }
    out() << (value ? model.getStringTrue() : model.getStringFalse()) << '\n';
    return value ? gs_iExitDone : gs_iExitFalse;
  }
  const char* value = nullptr;
  if (!model.getOption(name, value)) {
    fail(gs_ulExitNotFound, TXT_ERR_OPTION_NOT_FOUND, request.file.c_str(),
         request.values[0].c_str(), name);
  }
  out() << value << '\n';
  return gs_iExitDone;
}

int Tool::setValue(const Request& request) const {
  const std::string& sectionName = request.values[0];
  const std::string& optionName = request.values[1];
  const std::string& value = request.values[2];
  if (!isValidSectionName(sectionName)) {
    commandLineError(TXT_ERR_SECTION_NAME, sectionName.c_str());
  }
  if (!isValidOptionName(optionName)) commandLineError(TXT_ERR_OPTION_NAME, optionName.c_str());

  Document document(request.file);
  readDocument(request, document);
  KivClIniFile& model = document.model();
  const KivClIniFileOption* existing = nullptr;
  if (model.getSection(sectionName.c_str())) {
    KivClIniFileOptionCursor option(model);
    if (option.setTo(optionName.c_str())) existing = option.getOptionRecord();
  }
  if (existing != nullptr && value == existing->getValue()) return gs_iExitDone;
  refuseFileWithErrors(request, document);

  if (existing == nullptr) {
    if (!model.getSection(sectionName.c_str())) model.addSection(sectionName.c_str());
    // The value stored here may be cut to the option's buffer; the value
    // written is the one given (the replacement), and the read-back check
    // tells when it does not fit a line.
    const bool added = model.addOption(sectionName.c_str(), optionName.c_str(), value.c_str()) &&
                       model.getSection(sectionName.c_str());
    KivClIniFileOptionCursor option(model);
    if (!added || !option.setTo(optionName.c_str())) {
      fail(gs_ulExitFileErrors, TXT_ERR_NOT_READ_BACK, request.file.c_str(), sectionName.c_str(),
           optionName.c_str());
    }
    existing = option.getOptionRecord();
  }
  rewrite(request, document, Replacement{existing, value});
  return gs_iExitDone;
}

int Tool::deleteEntry(const Request& request) const {
  Document document(request.file);
  readDocument(request, document);
  KivClIniFile& model = document.model();
  const char* sectionName = request.values[0].c_str();
  if (!model.getSection(sectionName)) return gs_iExitDone;
  if (request.values.size() == 2) {
    const char* optionName = request.values[1].c_str();
    const char* value = nullptr;
    if (!model.getOption(optionName, value)) return gs_iExitDone;
    refuseFileWithErrors(request, document);
    while (model.deleteOption(sectionName, optionName)) {
    }
  } else {
    refuseFileWithErrors(request, document);
    while (model.deleteSection(sectionName)) {
    }
  }
  rewrite(request, document, Replacement{});
  return gs_iExitDone;
}

int Tool::check(const Request& request) const {
  Document document(request.file);
  readDocument(request, document);
  for (const Finding& finding : document.findings()) {
    out() << describe(finding, request.file) << '\n';
  }
  if (document.findings().empty()) {
    out() << m_texts.get(TXT_CHECK_OK, request.file.c_str()).getText() << '\n';
    return gs_iExitDone;
  }
  const std::string count = std::to_string(document.findings().size());
  out() << m_texts.get(TXT_CHECK_FAILED, request.file.c_str(), count.c_str()).getText() << '\n';
  m_ui.processExit(gs_ulExitFileErrors);
}

int Tool::run() {
  const KivClMessage level = m_texts.get(TXT_LEVEL);
  // No title: the output of the tool is data that scripts read. The date
  // of the copyright display is the tool's compile date, as the library's.
  m_ui.init(nullptr, nullptr, level.getText(), __DATE__);
  const KivClMessage usage = m_texts.get(TXT_USAGE);
  const KivClMessage help = m_texts.get(TXT_HELP);
  m_ui.handleUsageHelp(usage.getText(), help.getText());

  const Request request = readCommandLine();
  switch (request.command) {
    case Command::SECTIONS:
      return listSections(request);
    case Command::OPTIONS:
      return listOptions(request);
    case Command::GET:
      return getValue(request);
    case Command::SET:
      return setValue(request);
    case Command::DELETE:
      return deleteEntry(request);
    case Command::CHECK:
      return check(request);
  }
  return gs_iExitDone;
}

}  // namespace
}  // namespace kivini

int main(int argc, char** argv) {
  KivClConsoleUI ui(argc, argv);
  const kivini::Texts texts;
  try {
    return kivini::Tool(ui, texts).run();
  } catch (const KivClException& exception) {
    // Only the memory manager throws, when memory is exhausted.
    ui.exception(exception, texts.get(kivini::TXT_ERR_EXCEPTION).getText());
    ui.processExit(kivini::gs_ulExitInputOutput);
  }
}
