// kivtrace: shows the state of a trace key and formats its trace file.
//
//   kivtrace -key <key> [-instance <instance>] [-file <filename>] [-verbose]
//   kivtrace -key <key> ... -display [-format <string>] [-findent <string>]
//            [-fnest] [-fnofhd] [-fssfhd] [-fhex] [-fbin] [-fdetail <detail>]
//            [-fcompids <compids>] [-fpid <pid>] [-ftid <tid>] [-follow]
//
// The usage string, the help text, the switch names, the labels and the
// error texts are the trace controller's texts of the library's message
// table (ids 150 to 199), shown exactly as they stand. -follow is the one
// switch beyond them: it sits on a tagged line of the usage string, which
// the usage display hides, so that the displays stay those texts.
//
// The trace is opened with KivClTraceInstance::createControllerInstance:
// its settings come from the key's environment variables as in the traced
// program, and it never clears or truncates the trace file (-file names
// the file in place of <KEY>_TRACE_FILE).
//
// Without -display the tool shows the status of the trace (labels 173 to
// 189): key and instance, active, enabled, shared memory, buffer size,
// file, detail, process and thread filters, component set, and, read from
// the trace file, the compression rate and the number of entries. With
// -display it formats the trace file on standard output entry by entry
// (memory stays flat whatever the size); with -verbose the status comes
// first. -follow goes on reading what a running program appends, as
// tail -f does, until the tool is interrupted; a file that shrinks (made
// afresh by the traced program) is read again from its start.
//
// A file over 64 MB formatted to a terminal's standard error gets a
// progress line there, wiped when done.
//
// Exit status:
//   0  done
//   1  the trace file is corrupted (texts 198 and 199): every entry before
//      the fault has been shown
//   2  the trace file is missing or cannot be read (texts 193, 195, 197)
//   3  the output cannot be written
//   4  the trace cannot be set up (text 196)
//   201 to 204  a bad command line (the console UI's codes; an invalid
//      instance, text 194, is one)

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <thread>

#include "kiv_base.hpp"
#include "kiv_conui.hpp"
#include "kiv_exception.hpp"
#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_tool_frontend.hpp"
#include "kiv_trace.hpp"
#include "kiv_traceformat.hpp"
#include "kivtrace_input.hpp"

namespace kivtrace {
namespace {

// The trace controller's texts in the library's message table.
enum TextId : unsigned long {
  TXT_TITLE = 150,
  TXT_USAGE = 151,
  TXT_HELP = 152,
  TXT_SWITCH_KEY = 153,
  TXT_SWITCH_INSTANCE = 154,
  TXT_SWITCH_FILE = 155,
  TXT_SWITCH_VERBOSE = 156,
  TXT_SWITCH_DISPLAY = 159,
  TXT_SWITCH_FDETAIL = 161,
  TXT_SWITCH_FORMAT = 162,
  TXT_SWITCH_FNOFHD = 163,
  TXT_SWITCH_FSSFHD = 164,
  TXT_SWITCH_FHEX = 165,
  TXT_SWITCH_FBIN = 166,
  TXT_SWITCH_FNEST = 167,
  TXT_SWITCH_FINDENT = 168,
  TXT_SWITCH_FCOMPIDS = 170,
  TXT_SWITCH_FPID = 171,
  TXT_SWITCH_FTID = 172,
  TXT_KEY_INSTANCE = 173,
  TXT_STATUS = 174,
  TXT_FILTER = 175,
  TXT_ACTIVE = 176,
  TXT_ENABLED = 177,
  TXT_SHARED_MEMORY = 178,
  TXT_BUFFER_SIZE = 179,
  TXT_FILE = 180,
  TXT_DETAIL = 181,
  TXT_PROCESS_ID = 182,
  TXT_THREAD_ID = 183,
  TXT_COMPONENT_SET = 184,
  TXT_COMPRESSION_RATE = 185,
  TXT_ENTRIES = 186,
  TXT_INCLUDE = 187,
  TXT_EXCLUDE = 188,
  TXT_BYTES = 189,
  TXT_ERR_FILE_NOT_FOUND = 193,
  TXT_ERR_INSTANCE = 194,
  TXT_ERR_NOT_IDENTIFIED = 195,
  TXT_ERR_INIT = 196,
  TXT_ERR_OPEN = 197,
  TXT_ERR_EOF = 198,
  TXT_ERR_CORRUPTED = 199,
};

constexpr int gs_iExitDone = 0;
constexpr unsigned long gs_ulExitCorrupted = 1;
constexpr unsigned long gs_ulExitNoFile = 2;
constexpr unsigned long gs_ulExitNoOutput = 3;
constexpr unsigned long gs_ulExitNoTrace = 4;

// The usage line of -follow, tagged so that the usage display (with tagged
// lines hidden) shows the controller's usage text alone. It comes first: a
// hidden last line would leave its line end and indentation behind. The switch name is
// command-line syntax, the same in every language.
constexpr const char* gs_pszFollowUsage = "![-follow]\n";
constexpr const char* gs_pszFollow = "follow";
// The instance is the last part of the trace's resource key
// "---:<key>:<instance>": it may not hold the key's separator.
constexpr char gs_chKeySeparator = ':';
constexpr std::size_t gs_ulMaxInstanceLength = 64;
// Files larger than this get a progress line on a terminal.
constexpr std::int64_t gs_llProgressThreshold = 64LL * 1024 * 1024;
// How often -follow looks for appended bytes.
constexpr std::chrono::milliseconds gs_followInterval(200);

// A stream buffer that drops everything: entries counted, not shown.
class NullBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }
  std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

struct Request {
  const char* key = nullptr;
  const char* instance = nullptr;
  const char* file = nullptr;
  bool verbose = false;
  bool display = false;
  bool follow = false;
  const char* format = nullptr;
  const char* indentation = nullptr;
  bool nest = false;
  bool noHeaders = false;
  bool skipHeaders = false;
  bool hex = false;
  bool bin = false;
  const char* detail = nullptr;
  const char* componentIds = nullptr;
  const char* processId = nullptr;
  const char* threadId = nullptr;
};

class Tool {
 public:
  explicit Tool(kivtool::FrontEnd& front) : m_front(front), m_ui(front.ui()) {}

  int run();

 private:
  // The console UI's catalog: the library's catalog file, or its built-in
  // table when the file cannot be opened.
  std::string text(unsigned long id) const {
    return KivClMessage(m_ui.getMessageCatalog(), m_ui.getMessageIdBase() + id).getText();
  }
  Request readCommandLine() const;
  std::ostream& errors() const { return m_ui.mustBeQuiet() ? m_ui.getErrorStream() : std::cerr; }
  [[noreturn]] void fail(unsigned long status, unsigned long id, const char* insert = nullptr) const;
  void useFile(const Request& request) const;
  KivClTraceInstance& openTrace(const Request& request) const;
  bool hasFilter(const Request& request) const;
  void makeFilter(const Request& request, const KivClTraceFilter& base, KivClTraceFilter& filter) const;
  void checkFile(const Request& request, const KivClTraceEnvironment& environment,
                 TraceFileBuffer& file) const;
  void showStatus(const Request& request, const KivClTraceInstance& trace) const;
  unsigned long countEntries(const KivClTraceEnvironment& environment) const;
  int display(const Request& request, const KivClTraceEnvironment& environment) const;
  void reportFault(KivEnTraceFormatStatus status) const;
  void checkOutput(std::ostream& out) const;

  kivtool::FrontEnd& m_front;
  KivClConsoleUI& m_ui;
};

void Tool::fail(unsigned long status, unsigned long id, const char* insert) const {
  const std::string message = text(id);
  m_ui.error(errors(), message.c_str(), insert);
  m_front.exit(status);
}

Request Tool::readCommandLine() const {
  Request request;
  m_ui.reqArgString(TXT_SWITCH_KEY, request.key);
  m_ui.hasArgString(TXT_SWITCH_INSTANCE, request.instance);
  m_ui.hasArgString(TXT_SWITCH_FILE, request.file);
  request.verbose = m_ui.hasArgSwitch(TXT_SWITCH_VERBOSE);
  request.display = m_ui.hasArgSwitch(TXT_SWITCH_DISPLAY);
  request.follow = m_ui.hasArgSwitch(gs_pszFollow);
  m_ui.hasArgString(TXT_SWITCH_FORMAT, request.format);
  m_ui.hasArgString(TXT_SWITCH_FINDENT, request.indentation);
  request.nest = m_ui.hasArgSwitch(TXT_SWITCH_FNEST);
  request.noHeaders = m_ui.hasArgSwitch(TXT_SWITCH_FNOFHD);
  request.skipHeaders = m_ui.hasArgSwitch(TXT_SWITCH_FSSFHD);
  request.hex = m_ui.hasArgSwitch(TXT_SWITCH_FHEX);
  request.bin = m_ui.hasArgSwitch(TXT_SWITCH_FBIN);
  m_ui.hasArgString(TXT_SWITCH_FDETAIL, request.detail);
  m_ui.hasArgString(TXT_SWITCH_FCOMPIDS, request.componentIds);
  m_ui.hasArgString(TXT_SWITCH_FPID, request.processId);
  m_ui.hasArgString(TXT_SWITCH_FTID, request.threadId);
  // Following a trace means formatting it.
  if (request.follow) request.display = true;
  if (request.instance != nullptr) {
    const std::size_t length = std::strlen(request.instance);
    if (length == 0 || length > gs_ulMaxInstanceLength ||
        std::strchr(request.instance, gs_chKeySeparator) != nullptr) {
      const std::string message = text(TXT_ERR_INSTANCE);
      m_ui.error(errors(), message.c_str(), request.instance);
      m_ui.displayUsage(true);
      m_front.exit(KIV_CONUI_EXIT_USAGE);
    }
  }
  return request;
}

// Upper-cases the ASCII letters, as the trace environment does for the
// names of its variables.
std::string variableName(const char* key, const char* suffix) {
  std::string name(key);
  for (char& c : name) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return name + suffix;
}

void Tool::useFile(const Request& request) const {
  // The environment reads the trace file's name from the key's variable:
  // -file takes its place for this process alone.
  if (request.file == nullptr) return;
  const std::string name = variableName(request.key, "_TRACE_FILE");
  if (::setenv(name.c_str(), request.file, 1) != 0) fail(gs_ulExitNoTrace, TXT_ERR_INIT, request.key);
}

KivClTraceInstance& Tool::openTrace(const Request& request) const {
  useFile(request);
  KivClTraceInstance* trace = nullptr;
  try {
    trace = KivClTraceInstance::createControllerInstance(request.key, request.instance);
  } catch (const KivClException&) {
    trace = nullptr;
  }
  if (trace == nullptr) fail(gs_ulExitNoTrace, TXT_ERR_INIT, request.key);
  // The controller itself traces nothing: its buffer stays empty, so
  // ending it appends nothing to the trace file.
  return *trace;
}

bool Tool::hasFilter(const Request& request) const {
  return request.detail != nullptr || request.componentIds != nullptr ||
         request.processId != nullptr || request.threadId != nullptr;
}

void Tool::makeFilter(const Request& request, const KivClTraceFilter& base,
                      KivClTraceFilter& filter) const {
  // What the options do not name stays as the key's settings have it.
  filter = base;
  if (request.detail != nullptr) filter.setDetail(request.detail);
  if (request.componentIds != nullptr) {
    // The listed ids are the only ones shown, as with <KEY>_TRACE_COMPSET.
    filter.disableAllComponentIds();
    filter.enableComponentIds(request.componentIds);
  }
  if (request.processId != nullptr) filter.setProcessId(request.processId);
  if (request.threadId != nullptr) filter.setThreadId(request.threadId);
}

void Tool::checkFile(const Request& request, const KivClTraceEnvironment& environment,
                     TraceFileBuffer& file) const {
  const char* name = environment.getFileName().getAsCString();
  if (file.open(name)) return;
  if (errno == ENOENT) {
    // A file the user named is missing; a file that only the key names
    // points at the key.
    if (request.file != nullptr) fail(gs_ulExitNoFile, TXT_ERR_FILE_NOT_FOUND, name);
    fail(gs_ulExitNoFile, TXT_ERR_NOT_IDENTIFIED, name);
  }
  fail(gs_ulExitNoFile, TXT_ERR_OPEN, name);
}

void Tool::reportFault(KivEnTraceFormatStatus status) const {
  fail(gs_ulExitCorrupted,
       status == KivEnTraceFormatStatus::TRUNCATED ? TXT_ERR_EOF : TXT_ERR_CORRUPTED);
}

void Tool::checkOutput(std::ostream& out) const {
  if (out.flush()) return;
  m_ui.error(errors(), std::strerror(errno != 0 ? errno : EIO));
  m_front.exit(gs_ulExitNoOutput);
}

unsigned long Tool::countEntries(const KivClTraceEnvironment& environment) const {
  TraceFileBuffer file;
  if (!file.open(environment.getFileName().getAsCString())) return 0;
  std::istream in(&file);
  // Every entry counts, whatever the filters: a filter that lets all pass,
  // and an empty format, so nothing is formatted.
  KivClTraceFilter all;
  all.setDetail(KIV_TRACE_DETAIL_HIGH);
  KivClTraceFormatter counter(environment, &all);
  counter.setFormatString("");
  NullBuffer nothing;
  std::ostream out(&nothing);
  counter.setOutputStream(out);
  for (;;) {
    const KivEnTraceFormatStatus status =
        counter.formatNextEntry(in, KivClTraceFormatter::UNLIMITED);
    if (status == KivEnTraceFormatStatus::END) break;
    if (status == KivEnTraceFormatStatus::TRUNCATED || status == KivEnTraceFormatStatus::CORRUPTED) {
      // The status so far is worth seeing before the fault.
      m_ui.format(TXT_ENTRIES, counter.getEntryCount());
      checkOutput(m_front.data());
      reportFault(status);
    }
  }
  return counter.getEntryCount();
}

// The component set as ranges ("1-5,7,9-255"); `enabled` picks the ids on
// or off. Ids 1 to 255 only: id 0 always passes.
std::string componentRanges(const KivClTraceFilter& filter, bool enabled) {
  std::string ranges;
  unsigned first = 0;
  for (unsigned id = 1; id <= 256; ++id) {
    const bool in = id <= 255 && filter.isComponentIdEnabled(static_cast<unsigned short>(id)) == enabled;
    if (in && first == 0) first = id;
    if (!in && first != 0) {
      if (!ranges.empty()) ranges += ',';
      ranges += std::to_string(first);
      if (id - 1 != first) ranges += '-' + std::to_string(id - 1);
      first = 0;
    }
  }
  return ranges;
}

void Tool::showStatus(const Request& request, const KivClTraceInstance& trace) const {
  const KivClTraceEnvironment& environment = trace.getEnvironment();
  const KivClTraceFilter& filter = environment.getSettings().getFilter();
  // The status is the data asked for: on standard output (the front end
  // gave the console UI's standard output to standard error). Errors keep
  // going to standard error through errors().
  m_ui.setOutputStream(m_front.data());
  const std::string keyInstance =
      std::string(request.key) + "/" +
      (request.instance != nullptr ? request.instance : KivClTraceEnvironment::DEFAULT_INSTANCE);
  m_ui.format(TXT_KEY_INSTANCE, keyInstance.c_str());
  m_ui.formatHeader(TXT_STATUS);
  m_ui.formatBool(TXT_ACTIVE, trace.isActive());
  m_ui.formatBool(TXT_ENABLED, trace.isEnabled());
  m_ui.formatBool(TXT_SHARED_MEMORY, environment.isSharedMemory());
  const std::string size = std::to_string(environment.getAllocatedBufferSize()) + " " + text(TXT_BYTES);
  m_ui.format(TXT_BUFFER_SIZE, size.c_str());
  m_ui.format(TXT_FILE, environment.getFileName().getAsCString());
  m_ui.formatHeader(TXT_FILTER);
  const char* detail = KivClTraceFilter::getDetailAsCString(filter.getDetail());
  m_ui.format(TXT_DETAIL, detail != nullptr ? detail : "");
  m_ui.format(TXT_PROCESS_ID, static_cast<unsigned long>(filter.getProcessId()));
  m_ui.format(TXT_THREAD_ID, static_cast<unsigned long>(filter.getThreadId()));
  m_ui.formatHeader(TXT_COMPONENT_SET);
  m_ui.format(TXT_INCLUDE, componentRanges(filter, true).c_str());
  m_ui.format(TXT_EXCLUDE, componentRanges(filter, false).c_str());
  m_ui.formatHeader(TXT_FILE);
  // Read from the file: the rate of the texts read back, and every entry.
  const unsigned long entries = countEntries(environment);
  m_ui.format(TXT_COMPRESSION_RATE, static_cast<double>(environment.getCompressionRate()));
  m_ui.format(TXT_ENTRIES, entries);
  checkOutput(m_front.data());
}

// The progress line on standard error: percent and bytes read.
class Progress {
 public:
  Progress(std::int64_t total, const std::string& bytes, bool on)
      : m_total(total), m_bytes(bytes), m_on(on) {}
  ~Progress() { stop(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void at(std::int64_t done) {
    if (!m_on || m_total <= 0) return;
    const int percent = static_cast<int>(done * 100 / m_total);
    if (percent == m_percent) return;
    m_percent = percent;
    std::fprintf(stderr, "\r %3d%% %" PRId64 "/%" PRId64 " %s ", percent, done, m_total,
                 m_bytes.c_str());
    std::fflush(stderr);
    m_shown = true;
  }
  void stop() {
    if (!m_shown) return;
    // Wiped, the cursor back at the start of the line.
    std::fprintf(stderr, "\r%*s\r", 79, "");
    std::fflush(stderr);
    m_shown = false;
  }

 private:
  std::int64_t m_total;
  std::string m_bytes;
  bool m_on;
  int m_percent = -1;
  bool m_shown = false;
};

int Tool::display(const Request& request, const KivClTraceEnvironment& environment) const {
  TraceFileBuffer file;
  checkFile(request, environment, file);
  std::istream in(&file);

  KivClTraceFilter filter;
  const bool ownFilter = hasFilter(request);
  if (ownFilter) makeFilter(request, environment.getSettings().getFilter(), filter);
  KivClTraceFormatter formatter(environment, ownFilter ? &filter : nullptr);
  if (request.format != nullptr) formatter.setFormatString(request.format);
  // Nesting without an indentation string of the user's indents by the
  // formatter's default one (the formatter alone indents by nothing).
  const char* indentation = request.indentation;
  if (indentation == nullptr && request.nest) indentation = KivClTraceFormatter::DEFAULT_INDENTATION;
  formatter.setDisplayIndentation(indentation);
  formatter.setNesting(request.nest);
  formatter.setNoFunctionHeaders(request.noHeaders);
  formatter.setSkipSubsequentFunctionHeaders(request.skipHeaders);
  formatter.setHexDisplay(request.hex);
  formatter.setBinDisplay(request.bin);

  std::ostream& out = m_front.data();
  formatter.setOutputStream(out);
  const std::int64_t size = file.fileSize();
  Progress progress(size, text(TXT_BYTES),
                    !m_ui.mustBeQuiet() && size > gs_llProgressThreshold && ::isatty(STDERR_FILENO) == 1);

  if (!request.follow) {
    for (;;) {
      const KivEnTraceFormatStatus status =
          formatter.formatNextEntry(in, KivClTraceFormatter::UNLIMITED);
      if (status == KivEnTraceFormatStatus::END) break;
      if (status == KivEnTraceFormatStatus::TRUNCATED || status == KivEnTraceFormatStatus::CORRUPTED) {
        progress.stop();
        checkOutput(out);
        reportFault(status);
      }
      if (!out) checkOutput(out);
      progress.at(file.offset());
    }
    progress.stop();
    checkOutput(out);
    return m_front.answer(gs_iExitDone);
  }

  // -follow: an entry is formatted only once it is whole in the file, so
  // a writer caught in the middle of an entry is simply waited for.
  for (;;) {
    std::int64_t end = file.fileSize();
    if (end >= 0 && end < file.offset()) {
      // The file was made afresh (cleared or replaced in place).
      in.clear();
      file.moveTo(0);
      continue;
    }
    const std::uint64_t available =
        end < 0 ? 0 : static_cast<std::uint64_t>(end - file.offset());
    const KivEnTraceFormatStatus status = formatter.formatNextEntry(in, available);
    if (status == KivEnTraceFormatStatus::CORRUPTED) {
      checkOutput(out);
      reportFault(status);
    }
    if (status == KivEnTraceFormatStatus::END || status == KivEnTraceFormatStatus::TRUNCATED) {
      checkOutput(out);
      in.clear();
      std::this_thread::sleep_for(gs_followInterval);
    }
  }
}

int Tool::run() {
  const std::string level = kivLibraryGetLevel();
  const std::string usage = gs_pszFollowUsage + text(TXT_USAGE);
  const std::string help = text(TXT_HELP);
  const std::string version = text(TXT_TITLE) + " " + level;
  // The usage display leaves out the tagged -follow line.
  m_ui.hideTaggedLines(true);
  m_front.start({level.c_str(), __DATE__, usage.c_str(), help.c_str(), version.c_str()});
  const Request request = readCommandLine();
  KivClTraceInstance& trace = openTrace(request);
  if (!request.display || request.verbose) showStatus(request, trace);
  if (!request.display) return m_front.answer(gs_iExitDone);
  return display(request, trace.getEnvironment());
}

}  // namespace
}  // namespace kivtrace

int main(int argc, char** argv) {
  kivtool::FrontEnd front(argc, argv, "");
  try {
    return kivtrace::Tool(front).run();
  } catch (const KivClException& exception) {
    // The memory manager throws when memory is exhausted. Text 12: "An
    // exception occurred".
    const KivClConsoleUI& ui = front.ui();
    ui.exception(exception,
                 KivClMessage(ui.getMessageCatalog(), ui.getMessageIdBase() + 12).getText());
    front.exit(kivtrace::gs_ulExitNoOutput);
  }
}
