// kivconv: converts text from one code page to another.
//
//   kivconv -from <ccsid> -to <ccsid> [-output <file>] [-substitute] [<file>...]
//   kivconv -list
//   kivconv --help; kivconv --version
//
// A code page is given by its CCSID number or by a name that KivClCCSID
// accepts ("UTF-8", "ISO8859-1", "UCS-2", ...). The files (or standard
// input, for no file and for "-") are converted one after the other by a
// kivconv::Stream (kivconv_stream.hpp) in chunks of fixed size, so that the
// memory used does not grow with the input. Only the converted text, or
// the -list listing, goes to standard output; every message goes to
// standard error.
//
// The first invalid, incomplete or unmappable input stops the conversion
// with a message naming the file and the byte offset in that file; what
// came before it has been written (with -output, the file is then replaced
// by that part). -substitute replaces such input instead (see the stream's
// banner for the characters used). A failed write never leaves a partial
// file in place of an existing one: -output writes beside the file and
// renames only once everything is written.
//
// Exit status:
//   0  done
//   1  invalid, incomplete or unmappable input
//   2  an input file is missing, is not a regular file or a pipe, or
//      cannot be read
//   3  the output cannot be written
//   4  an unknown code page, or a conversion the library cannot do
//   201 to 204  a bad command line (the console UI's codes)
//
// -list shows every CCSID of the library's table (CCSIDs are 16-bit
// numbers, so the tool asks KivClCCSID about each one) with its name, its
// properties and the method that serves it in each direction, found by
// constructing the library's converters for it.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "../../filesystem/kiv_replacefile.hpp"
#include "kiv_argv.hpp"
#include "kiv_base.hpp"
#include "kiv_ccsid.hpp"
#include "kiv_conui.hpp"
#include "kiv_converter.hpp"
#include "kiv_exception.hpp"
#include "kiv_tool_frontend.hpp"
#include "kivconv_stream.hpp"
#include "kivconv_texts.hpp"

namespace kivconv {
namespace {

constexpr int gs_iExitDone = 0;
constexpr unsigned long gs_ulExitBadInput = 1;
constexpr unsigned long gs_ulExitNoInput = 2;
constexpr unsigned long gs_ulExitNoOutput = 3;
constexpr unsigned long gs_ulExitUnsupported = 4;
// The chunk read at a time: large enough that a call costs little per byte,
// small enough to stay in the cache.
constexpr std::size_t gs_ulChunkSize = 64 * 1024;
constexpr std::uint32_t gs_ulHighestCCSID = 0xFFFF;

// A file descriptor the tool opened; closed when it goes.
class InputFile {
 public:
  InputFile() = default;
  ~InputFile() {
    if (m_fd > 2) ::close(m_fd);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  void useStandardInput() { m_fd = 0; }
  // Opens `path` close-on-exec; false with errno set.
  bool open(const char* path) {
    do {
      m_fd = ::open(path, O_RDONLY | O_CLOEXEC);
    } while (m_fd < 0 && errno == EINTR);
    return m_fd >= 0;
  }
  int fd() const { return m_fd; }
  long read(char* buffer, std::size_t size) const {
    for (;;) {
      const ssize_t got = ::read(m_fd, buffer, size);
      if (got >= 0) return static_cast<long>(got);
      if (errno != EINTR) return -1;
    }
  }

 private:
  int m_fd = -1;
};

struct Request {
  bool list = false;
  const char* from = nullptr;
  const char* to = nullptr;
  const char* output = nullptr;
  bool substitute = false;
  std::vector<const char*> files;  // as the console UI gives them
};

class Tool {
 public:
  Tool(kivtool::FrontEnd& front, const Texts& texts)
      : m_front(front), m_ui(front.ui()), m_texts(texts) {}

  int run();

 private:
  Request readCommandLine() const;
  [[noreturn]] void commandLineError(TextId text) const;
  [[noreturn]] void fail(unsigned long status, TextId text, const char* insert1 = nullptr,
                         const char* insert2 = nullptr, const char* insert3 = nullptr) const;
  KivClCCSID ccsidOf(const char* text) const;
  int list() const;
  int convert(const Request& request) const;
  void openInput(const char* file, InputFile& input) const;
  [[noreturn]] void failReplacement(const char* file,
                                    const kiv::detail::FileReplacement& replacement) const;
  [[noreturn]] void failConversion(const Outcome& outcome, const char* file, const KivClCCSID& from,
                                   const KivClCCSID& to) const;
  std::string switchName(TextId id) const { return m_texts.get(id).getText(); }
  const char* methodName(const KivClConverterABase& converter) const;

  kivtool::FrontEnd& m_front;
  KivClConsoleUI& m_ui;
  const Texts& m_texts;
};

void Tool::commandLineError(TextId text) const {
  // Like the console UI's own check: the message and the usage on
  // standard error, exit code 201.
  m_ui.error(std::cerr, m_texts.get(text).getText());
  m_ui.displayUsage(true);
  m_front.exit(KIV_CONUI_EXIT_USAGE);  // not reached: displayUsage ends the process
}

void Tool::fail(unsigned long status, TextId text, const char* insert1, const char* insert2,
                const char* insert3) const {
  // The inserts go into the tool's text; the console UI adds nothing.
  m_ui.error(m_texts.get(text, insert1, insert2, insert3).getText());
  m_front.exit(status);
}

Request Tool::readCommandLine() const {
  Request request;
  request.list = m_ui.hasArgSwitch(switchName(TXT_SWITCH_LIST).c_str());
  const bool hasFrom = m_ui.hasArgString(switchName(TXT_SWITCH_FROM).c_str(), request.from);
  const bool hasTo = m_ui.hasArgString(switchName(TXT_SWITCH_TO).c_str(), request.to);
  m_ui.hasArgString(switchName(TXT_SWITCH_OUTPUT).c_str(), request.output);
  request.substitute = m_ui.hasArgSwitch(switchName(TXT_SWITCH_SUBSTITUTE).c_str());
  KivClArgvFreeCursor argument(m_ui);
  for (bool valid = argument.setToFirst(); valid; valid = argument.setToNext()) {
    request.files.push_back(argument.getAsCString());
  }
  if (request.list) {
    if (hasFrom || hasTo || request.output != nullptr || request.substitute ||
        !request.files.empty()) {
      commandLineError(TXT_ERR_LIST_ALONE);
    }
    return request;
  }
  if (!hasFrom || !hasTo) commandLineError(TXT_ERR_NO_COMMAND);
  return request;
}

KivClCCSID Tool::ccsidOf(const char* text) const {
  const KivClCCSID ccsid(text);
  if (!ccsid.isValid()) fail(gs_ulExitUnsupported, TXT_ERR_UNKNOWN_CCSID, text);
  return ccsid;
}

const char* Tool::methodName(const KivClConverterABase& converter) const {
  static const TextId names[] = {TXT_METHOD_UNSUPPORTED, TXT_METHOD_COPY,  TXT_METHOD_SWAP,
                                 TXT_METHOD_ALGORITHM,   TXT_METHOD_TABLE, TXT_METHOD_ICU,
                                 TXT_METHOD_ICONV};
  static std::vector<std::string> texts;
  if (texts.empty()) {
    for (const TextId id : names) texts.emplace_back(m_texts.get(id).getText());
  }
  return texts[static_cast<std::size_t>(methodKindOf(converter))].c_str();
}

int Tool::list() const {
  std::ostream& out = m_front.data();
  out << m_texts.get(TXT_LIST_HEADER).getText() << '\n';
  for (std::uint32_t number = 1; number <= gs_ulHighestCCSID; ++number) {
    const KivClCCSID ccsid(number);
    if (!ccsid.isValid()) continue;
    std::string properties;
    const auto add = [&properties](bool has, const char* word) {
      if (!has) return;
      if (!properties.empty()) properties += ',';
      properties += word;
    };
    // Technical terms of the listing, the same in every language.
    add(ccsid.isSBCS(), "SBCS");
    add(ccsid.isDBCS(), "DBCS");
    add(ccsid.isASCII(), "ASCII");
    add(ccsid.isEBCDIC(), "EBCDIC");
    add(ccsid.isUCS2(), ccsid.isUCS2BigEndian() ? "UCS-2BE" : "UCS-2LE");
    if (properties.empty()) properties = "-";
    const KivClCodePage2UnicodeConverter toUnicode(ccsid);
    const KivClUnicode2CodePageConverter fromUnicode(ccsid);
    char line[160];
    std::snprintf(line, sizeof line, "%-6" PRIu32 " %-13s %-19s %-10s %s\n", number,
                  ccsid.getName(), properties.c_str(), methodName(toUnicode),
                  methodName(fromUnicode));
    out << line;
  }
  if (!out.flush()) fail(gs_ulExitNoOutput, TXT_ERR_STANDARD_OUTPUT, std::strerror(EIO));
  return m_front.answer(gs_iExitDone);
}

void Tool::openInput(const char* file, InputFile& input) const {
  if (file == nullptr || m_front.isStandardStream(file)) {
    input.useStandardInput();
    return;
  }
  if (!input.open(file)) {
    if (errno == ENOENT) fail(gs_ulExitNoInput, TXT_ERR_NO_FILE, file);
    fail(gs_ulExitNoInput, TXT_ERR_READ, file, std::strerror(errno));
  }
  struct stat status {};
  if (::fstat(input.fd(), &status) != 0) {
    fail(gs_ulExitNoInput, TXT_ERR_READ, file, std::strerror(errno));
  }
  // Regular files and pipes; character devices too (a terminal, /dev/null).
  if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode) && !S_ISCHR(status.st_mode) &&
      !S_ISSOCK(status.st_mode)) {
    fail(gs_ulExitNoInput, TXT_ERR_NOT_A_FILE, file);
  }
}

void Tool::failReplacement(const char* file,
                           const kiv::detail::FileReplacement& replacement) const {
  using Step = kiv::detail::FileReplacement::Step;
  const int error = replacement.systemError();
  const char* reason = std::strerror(error);
  switch (replacement.failedStep()) {
    case Step::TARGET:
      if (error == EACCES || error == EPERM || error == EROFS) {
        fail(gs_ulExitNoOutput, TXT_ERR_NOT_WRITABLE, file, reason);
      }
      fail(gs_ulExitNoOutput, TXT_ERR_WRITE, file, reason);
    case Step::DIRECTORY:
      fail(gs_ulExitNoOutput, TXT_ERR_DIRECTORY, replacement.failedName(), reason);
    default:
      fail(gs_ulExitNoOutput, TXT_ERR_WRITE, file, reason);
  }
}

void Tool::failConversion(const Outcome& outcome, const char* file, const KivClCCSID& from,
                          const KivClCCSID& to) const {
  char offset[32];
  std::snprintf(offset, sizeof offset, "%" PRIu64, outcome.offset);
  char source[16];
  char target[16];
  std::snprintf(source, sizeof source, "%" PRIu32, from.getCCSID());
  std::snprintf(target, sizeof target, "%" PRIu32, to.getCCSID());
  switch (outcome.status) {
    case Outcome::Status::INVALID:
      fail(gs_ulExitBadInput, TXT_ERR_INVALID, file, offset, source);
    case Outcome::Status::INCOMPLETE:
      fail(gs_ulExitBadInput, TXT_ERR_INCOMPLETE, file, offset, source);
    case Outcome::Status::UNMAPPABLE:
      fail(gs_ulExitBadInput, TXT_ERR_UNMAPPABLE, file, offset, target);
    default:  // READ_FAILED
      fail(gs_ulExitNoInput, TXT_ERR_READ, file, std::strerror(errno != 0 ? errno : EIO));
  }
}

int Tool::convert(const Request& request) const {
  const KivClCCSID from = ccsidOf(request.from);
  const KivClCCSID to = ccsidOf(request.to);
  Stream stream(from, to, gs_ulChunkSize, request.substitute);
  if (!stream.isSupported()) {
    fail(gs_ulExitUnsupported, TXT_ERR_UNSUPPORTED, request.from, request.to);
  }

  // Every input is opened and checked before anything is written, and
  // stays open: a pipe opened twice would lose its writer.
  std::vector<const char*> files = request.files;
  if (files.empty()) files.push_back(nullptr);
  std::vector<std::unique_ptr<InputFile>> inputs;
  for (const char* file : files) {
    inputs.push_back(std::make_unique<InputFile>());
    openInput(file, *inputs.back());
  }

  kiv::detail::FileReplacement replacement(request.output != nullptr ? request.output : "");
  std::ostream& out = m_front.data();
  WriteFunction write;
  if (request.output != nullptr) {
    if (!replacement.begin()) failReplacement(request.output, replacement);
    write = [&replacement](const char* data, std::size_t size) {
      return replacement.write(data, size);
    };
  } else {
    write = [&out](const char* data, std::size_t size) {
      out.write(data, static_cast<std::streamsize>(size));
      return out.good();
    };
  }

  for (std::size_t i = 0; i < files.size(); ++i) {
    const InputFile& input = *inputs[i];
    const char* name = files[i] == nullptr ? m_front.standardStreamName() : files[i];
    errno = 0;
    const Outcome outcome = stream.run(
        [&input](char* buffer, std::size_t size) { return input.read(buffer, size); }, write);
    if (outcome.status == Outcome::Status::DONE) continue;
    if (outcome.status == Outcome::Status::WRITE_FAILED) {
      if (request.output != nullptr) failReplacement(request.output, replacement);
      fail(gs_ulExitNoOutput, TXT_ERR_STANDARD_OUTPUT, std::strerror(errno != 0 ? errno : EIO));
    }
    // What came before the failure stays, as on standard output.
    if (request.output != nullptr && !replacement.commit()) {
      failReplacement(request.output, replacement);
    }
    failConversion(outcome, name, from, to);
  }
  if (request.output != nullptr) {
    if (!replacement.commit()) failReplacement(request.output, replacement);
  } else if (!out.flush()) {
    fail(gs_ulExitNoOutput, TXT_ERR_STANDARD_OUTPUT, std::strerror(errno != 0 ? errno : EIO));
  }
  return m_front.answer(gs_iExitDone);
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
  return request.list ? list() : convert(request);
}

}  // namespace
}  // namespace kivconv

int main(int argc, char** argv) {
  const kivconv::Texts texts;
  kivtool::FrontEnd front(argc, argv, texts.get(kivconv::TXT_STANDARD_INPUT).getText());
  try {
    return kivconv::Tool(front, texts).run();
  } catch (const KivClException& exception) {
    // The memory manager throws when memory is exhausted, and ICU's
    // interface for codes the library does not know.
    front.ui().exception(exception, texts.get(kivconv::TXT_ERR_EXCEPTION).getText());
    front.exit(kivconv::gs_ulExitNoOutput);
  }
}
