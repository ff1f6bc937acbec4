// kivini: reads and changes INI configuration files from scripts.
//
//   kivini -sections <file>
//   kivini -options <file> <section>
//   kivini -get <file> <section> <option> [-bool]
//   kivini -set <file> <section> <option> <value>
//   kivini -delete <file> <section> [<option>]
//   kivini -check <file>
//   each with [-strict]; kivini --help; kivini --version
//
// The command line is described once, by the tool's usage string (each
// command switch takes the file as its value, the other values are free
// arguments); the console UI checks it, shows usage and help (-h, -H, -?),
// handles -quiet and -copyright and ends a bad command line with its exit
// codes 201 to 204. The tools' front end (tools/common) adds --help and
// --version, "-" for standard input, and keeps standard output for data.
// The tool adds its own checks (exactly one command, the number of values,
// -bool only with -get) and ends them like the console UI does: an error
// display, then the usage display and exit code 201, both on standard
// error.
//
// Output: listings, values, -check reports and the text of a filter go to
// standard output; every message, and the bell of an exit with a status
// other than 0 and 1, to standard error. -quiet leaves only the exit status
// (errors of the command line itself are still shown, as the console UI
// does). Exit status:
//   0  done; -get -bool: the value is true
//   1  -get -bool: the value is false
//   2  the section or option is not found (-options, -get)
//   3  the file has errors (-check; -set and -delete then change nothing),
//      a reading command meets a line too long for the library, or the new
//      text would not read back as intended
//   4  the file cannot be read or written
//   201 to 204  a bad command line (the console UI's codes)
//
// Choices made where the command line leaves room:
//   - A section, option or value argument that begins with an apostrophe
//     loses that one apostrophe, so that values beginning with "-" can be
//     given ("'-x"); the console UI reads a leading apostrophe of numeric
//     values the same way.
//   - -set on a file that does not exist creates it; every other command
//     needs the file.
//   - -set with the value the option already has, and -delete of a section
//     or option that does not exist, leave the file untouched and succeed,
//     so that scripts can run them again; as a filter they copy the input.
//   - -delete of an option deletes every option of that name in the
//     section (lookups would otherwise find the next one).
//   - Reading commands say nothing about errors of the file (-check reports
//     them), except a line too long: the library would read only the part
//     before it, and an answer from part of a file is refused.
//   - New section names must be 1 to 80 characters without "]" and control
//     characters; new option names must be non-empty and hold no blank,
//     "=" or control character and not begin with ";" or "[" (nor with "#"
//     unless -strict is given). Other names would not read back as given.

#include <cctype>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <ostream>
#include <string>
#include <vector>

#include "../../filesystem/kiv_replacefile.hpp"
#include "kiv_argv.hpp"
#include "kiv_base.hpp"
#include "kiv_conui.hpp"
#include "kiv_error.hpp"
#include "kiv_exception.hpp"
#include "kiv_inifile.hpp"
#include "kiv_tool_frontend.hpp"
#include "kivini_document.hpp"
#include "kivini_edit.hpp"
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
  std::string file;                 // as named in messages
  bool standardStream = false;      // the file is "-"
  std::vector<std::string> values;  // section, option, value
  bool boolean = false;
  CommentStyle style = CommentStyle::HASH;
};

class Tool {
 public:
  Tool(kivtool::FrontEnd& front, const Texts& texts)
      : m_front(front), m_ui(front.ui()), m_texts(texts) {}

  int run();

 private:
  Request readCommandLine() const;
  [[noreturn]] void commandLineError(TextId text, const char* insert1 = nullptr,
                                     const char* insert2 = nullptr) const;
  [[noreturn]] void fail(unsigned long status, TextId text, const char* insert1 = nullptr,
                         const char* insert2 = nullptr, const char* insert3 = nullptr) const;
  [[noreturn]] void failReplacement(const Request& request,
                                    const kiv::detail::FileReplacement& replacement) const;

  void readDocument(const Request& request, Document& document) const;
  void refuseTooLong(const Request& request, const Document& document) const;
  std::uint32_t selectSection(const Request& request, const Document& document) const;
  BlockModel parseBlock(const Request& request, const Document& document,
                        std::uint32_t block) const;
  void refuseFileWithErrors(const Request& request, const Document& document) const;
  int applyEdit(const Request& request, const Document& document, const Change& change) const;
  void writeFile(const Request& request, const Edit& edit) const;
  void writeStandardOutput(const Edit* edit, const Document& document) const;
  std::string describe(const Finding& finding, const std::string& file) const;

  int listSections(const Request& request) const;
  int listOptions(const Request& request) const;
  int getValue(const Request& request) const;
  int setValue(const Request& request) const;
  int deleteEntry(const Request& request) const;
  int check(const Request& request) const;

  std::ostream& out() const { return m_front.data(); }

  kivtool::FrontEnd& m_front;
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

bool isValidOptionName(const std::string& name, CommentStyle style) {
  if (name.empty() || name[0] == ';' || name[0] == '[' || hasControl(name)) return false;
  // Without -strict a line beginning with "#" is a comment line.
  if (style == CommentStyle::HASH && name[0] == '#') return false;
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
  // says, then the usage (which the front end sends to standard error as
  // well) and exit code 201.
  m_ui.error(std::cerr, m_texts.get(text).getText(), insert1, insert2);
  m_ui.displayUsage(true);
  m_front.exit(KIV_CONUI_EXIT_USAGE);  // not reached: displayUsage ends the process
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
  request.standardStream = m_front.isStandardStream(file);
  request.file = file;

  const KivClMessage boolName = m_texts.get(TXT_SWITCH_BOOL);
  request.boolean = m_ui.hasArgSwitch(boolName.getText());
  if (request.boolean && request.command != Command::GET) {
    commandLineError(TXT_ERR_BOOL_WITHOUT_GET, switchText(boolName).c_str());
  }
  if (m_ui.hasArgSwitch(m_texts.get(TXT_SWITCH_STRICT).getText())) {
    request.style = CommentStyle::STRICT;
  }

  KivClArgvFreeCursor argument(m_ui);
  for (bool valid = argument.setToFirst(); valid; valid = argument.setToNext()) {
    request.values.push_back(withoutApostrophe(m_front.typed(argument.getAsCString())));
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
  m_front.exit(status);
}

void Tool::failReplacement(const Request& request,
                           const kiv::detail::FileReplacement& replacement) const {
  using Step = kiv::detail::FileReplacement::Step;
  const int error = replacement.systemError();
  const char* reason = std::strerror(error);
  switch (replacement.failedStep()) {
    case Step::TARGET:
      if (error == EACCES || error == EPERM || error == EROFS) {
        fail(gs_ulExitInputOutput, TXT_ERR_NOT_WRITABLE, request.file.c_str(), reason);
      }
      fail(gs_ulExitInputOutput, TXT_ERR_WRITE, request.file.c_str(), reason);
    case Step::DIRECTORY:
      fail(gs_ulExitInputOutput, TXT_ERR_DIRECTORY, replacement.failedName(), reason);
    default:
      fail(gs_ulExitInputOutput, TXT_ERR_WRITE, request.file.c_str(), reason);
  }
}

// ---------------------------------------------------------------------------
// Shared steps
// ---------------------------------------------------------------------------

void Tool::readDocument(const Request& request, Document& document) const {
  int systemError = 0;
  const bool read = request.standardStream ? document.readStandardInput(systemError)
                                           : document.readFile(request.file, systemError);
  if (read) return;
  if (request.command == Command::SET && systemError == ENOENT) {
    document.startEmpty();
    return;
  }
  fail(gs_ulExitInputOutput, TXT_ERR_READ, request.file.c_str(), std::strerror(systemError));
}

void Tool::refuseTooLong(const Request& request, const Document& document) const {
  const std::uint32_t line = document.map().firstTooLong();
  if (line == LineMap::NONE) return;
  const std::string limit = std::to_string(KIV_INIFILE_LINE_MAX);
  const std::string number = std::to_string(line + 1);
  const KivClMessage text = m_texts.get(TXT_ERR_LONG_LINE, limit.c_str());
  m_ui.error(text.getText(), request.file.c_str(), number.c_str());
  m_front.exit(gs_ulExitFileErrors);
}

std::uint32_t Tool::selectSection(const Request& request, const Document& document) const {
  const std::uint32_t section = document.map().findSection(request.values[0]);
  if (section != LineMap::NONE) return section;
  fail(gs_ulExitNotFound, TXT_ERR_SECTION_NOT_FOUND, request.file.c_str(),
       request.values[0].c_str());
}

BlockModel Tool::parseBlock(const Request& request, const Document& document,
                            std::uint32_t block) const {
  bool agrees = false;
  BlockModel model = document.parseBlock(block, agrees);
  if (!agrees) fail(gs_ulExitFileErrors, TXT_ERR_INCONSISTENT, request.file.c_str());
  return model;
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
  const std::vector<Finding> findings = document.findings();
  if (findings.empty()) return;
  for (const Finding& finding : findings) {
    m_ui.getErrorStream() << describe(finding, request.file) << '\n';
  }
  fail(gs_ulExitFileErrors, TXT_ERR_FILE_HAS_ERRORS, request.file.c_str());
}

void Tool::writeFile(const Request& request, const Edit& edit) const {
  kiv::detail::FileReplacement replacement(request.file.c_str());
  if (!replacement.begin()) failReplacement(request, replacement);
  const bool written = edit.write([&replacement](std::string_view bytes) {
    return replacement.write(bytes.data(), bytes.size());
  });
  if (!written || !replacement.commit()) failReplacement(request, replacement);
}

void Tool::writeStandardOutput(const Edit* edit, const Document& document) const {
  std::ostream& stream = out();
  const auto sink = [&stream](std::string_view bytes) {
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return stream.good();
  };
  errno = 0;
  const bool written = edit != nullptr ? edit->write(sink) : sink(document.bytes());
  if (!written || !stream.flush()) {
    fail(gs_ulExitInputOutput, TXT_ERR_STANDARD_OUTPUT, std::strerror(errno != 0 ? errno : EIO));
  }
}

int Tool::applyEdit(const Request& request, const Document& document, const Change& change) const {
  // A line too long hides the rest of the file from every lookup.
  if (document.map().firstTooLong() != LineMap::NONE) refuseFileWithErrors(request, document);
  Edit edit(document, change);
  switch (edit.plan()) {
    case Edit::Plan::NOTHING:
      if (request.standardStream) writeStandardOutput(nullptr, document);
      return m_front.answer(gs_iExitDone);
    case Edit::Plan::INCONSISTENT:
      fail(gs_ulExitFileErrors, TXT_ERR_INCONSISTENT, request.file.c_str());
    case Edit::Plan::CHANGE:
      break;
  }
  refuseFileWithErrors(request, document);
  if (!edit.check()) {
    fail(gs_ulExitFileErrors, TXT_ERR_NOT_READ_BACK, request.file.c_str(), change.section.c_str(),
         change.option.empty() ? nullptr : change.option.c_str());
  }
  if (request.standardStream) {
    writeStandardOutput(&edit, document);
  } else {
    writeFile(request, edit);
  }
  return m_front.answer(gs_iExitDone);
}

// ---------------------------------------------------------------------------
// The commands
// ---------------------------------------------------------------------------

int Tool::listSections(const Request& request) const {
  Document document(request.style);
  readDocument(request, document);
  refuseTooLong(request, document);
  const LineMap& map = document.map();
  for (const MergedSection& section : map.sections()) {
    // A section without a name counts as deleted.
    const Line& header = map.lines()[map.blocks()[section.firstBlock].header];
    const std::string_view name = headerName(map.bytes(header));
    if (!name.empty()) out() << name << '\n';
  }
  return m_front.answer(gs_iExitDone);
}

int Tool::listOptions(const Request& request) const {
  Document document(request.style);
  readDocument(request, document);
  refuseTooLong(request, document);
  const LineMap& map = document.map();
  for (std::uint32_t b = map.sections()[selectSection(request, document)].firstBlock;
       b != LineMap::NONE; b = map.blocks()[b].nextOfSection) {
    const BlockModel model = parseBlock(request, document, b);
    for (const KivClIniFileOption* o = model->getFirstSection()->getFirstOption(); o != nullptr;
         o = o->getNext()) {
      if (o->getName()[0] != '\0') out() << o->getName() << '\n';
    }
  }
  return m_front.answer(gs_iExitDone);
}

int Tool::getValue(const Request& request) const {
  Document document(request.style);
  readDocument(request, document);
  refuseTooLong(request, document);
  const LineMap& map = document.map();
  const char* sectionName = request.values[0].c_str();
  const char* name = request.values[1].c_str();
  for (std::uint32_t b = map.sections()[selectSection(request, document)].firstBlock;
       b != LineMap::NONE; b = map.blocks()[b].nextOfSection) {
    const BlockModel model = parseBlock(request, document, b);
    if (!model->getSection(sectionName)) continue;
    if (request.boolean) {
      bool value = false;
      if (!model->getOptionBool(name, value)) continue;
      out() << (value ? model->getStringTrue() : model->getStringFalse()) << '\n';
      return m_front.answer(value ? gs_iExitDone : gs_iExitFalse);
    }
    const char* value = nullptr;
    if (!model->getOption(name, value)) continue;
    out() << value << '\n';
    return m_front.answer(gs_iExitDone);
  }
  fail(gs_ulExitNotFound, TXT_ERR_OPTION_NOT_FOUND, request.file.c_str(), sectionName, name);
}

int Tool::setValue(const Request& request) const {
  const std::string& sectionName = request.values[0];
  const std::string& optionName = request.values[1];
  if (!isValidSectionName(sectionName)) {
    commandLineError(TXT_ERR_SECTION_NAME, sectionName.c_str());
  }
  if (!isValidOptionName(optionName, request.style)) {
    commandLineError(TXT_ERR_OPTION_NAME, optionName.c_str());
  }
  Document document(request.style);
  readDocument(request, document);
  Change change;
  change.kind = Change::Kind::SET;
  change.section = sectionName;
  change.option = optionName;
  change.value = request.values[2];
  return applyEdit(request, document, change);
}

int Tool::deleteEntry(const Request& request) const {
  Document document(request.style);
  readDocument(request, document);
  Change change;
  change.section = request.values[0];
  if (request.values.size() == 2) {
    change.kind = Change::Kind::DELETE_OPTION;
    change.option = request.values[1];
  } else {
    change.kind = Change::Kind::DELETE_SECTION;
  }
  return applyEdit(request, document, change);
}

int Tool::check(const Request& request) const {
  Document document(request.style);
  readDocument(request, document);
  const std::vector<Finding> findings = document.findings();
  for (const Finding& finding : findings) out() << describe(finding, request.file) << '\n';
  if (findings.empty()) {
    out() << m_texts.get(TXT_CHECK_OK, request.file.c_str()).getText() << '\n';
    return m_front.answer(gs_iExitDone);
  }
  const std::string count = std::to_string(findings.size());
  out() << m_texts.get(TXT_CHECK_FAILED, request.file.c_str(), count.c_str()).getText() << '\n';
  m_front.exit(gs_ulExitFileErrors);
}

int Tool::run() {
  const KivClMessage level = m_texts.get(TXT_LEVEL);
  const KivClMessage usage = m_texts.get(TXT_USAGE);
  const KivClMessage help = m_texts.get(TXT_HELP);
  const KivClMessage version = m_texts.get(TXT_VERSION, level.getText(), kivLibraryGetLevel());
  // The date of the copyright display is the tool's compile date, as the
  // library's.
  m_front.start({level.getText(), __DATE__, usage.getText(), help.getText(), version.getText()});

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
  const kivini::Texts texts;
  kivtool::FrontEnd front(argc, argv, texts.get(kivini::TXT_STANDARD_INPUT).getText());
  try {
    return kivini::Tool(front, texts).run();
  } catch (const KivClException& exception) {
    // Only the memory manager throws, when memory is exhausted.
    front.ui().exception(exception, texts.get(kivini::TXT_ERR_EXCEPTION).getText());
    front.exit(kivini::gs_ulExitInputOutput);
  }
}
