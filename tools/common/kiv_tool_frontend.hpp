// The common front end of the command-line tools built on the library.
//
// A tool keeps the console UI's command line (its usage string, its check,
// -h, -H, -?, -quiet and -copyright with their exit codes 201 to 204) and
// adds, through this front end, what scripts expect of a command-line tool:
//
//   --help, --version  as in GNU tools: the usage and help display, or one
//                      version line, on standard output, and exit status 0.
//                      They are looked for before anything else is checked.
//   "-"                a lone "-" names standard input (or output). The
//                      console UI would take it for a switch, so the vector
//                      it sees holds a stand-in text in its place (the name
//                      of standard input for messages); isStandardStream()
//                      tells the stand-in by its address, and typed()
//                      gives back the "-" the user typed.
//   standard output    carries only the data asked for (data()). Everything
//                      else the console UI writes to standard output while
//                      the tool runs (the usage display after a bad command
//                      line, the bell of its exit) goes to standard error
//                      instead, and under -quiet nowhere. -h, -H, -? and
//                      -copyright keep the console UI's behaviour entirely:
//                      their displays are on standard output.
//   exit()             ends the program: the data is flushed, and a status
//                      other than 0 rings the bell on standard error (not
//                      under -quiet).
//
// Ownership: the front end owns the console UI and the argument vector it
// sees; the texts of ToolIdentity are copied by the console UI or used at
// once. Not copyable; one per process, used from the main thread (it swaps
// the buffer of std::cout while it lives).
#ifndef KIV_TOOL_FRONTEND_HPP
#define KIV_TOOL_FRONTEND_HPP

#include <ostream>
#include <string>
#include <vector>

#include "kiv_conui.hpp"

namespace kivtool {

/// What a tool tells the front end about itself; texts of its catalog.
struct ToolIdentity {
  const char* level;        ///< the tool's level, for -copyright (for example "kivini 1.0")
  const char* date;         ///< the date of the copyright display
  const char* usage;        ///< the usage string the console UI checks
  const char* help;         ///< the help text, or null
  const char* versionLine;  ///< the line --version prints
};

/// The console UI of a tool with the conventions of the banner.
class FrontEnd {
 public:
  /// Prepares the argument vector (a lone "-" becomes the stand-in
  /// `standardStreamName`) and the console UI over it with the library's
  /// default catalog. Nothing is shown or checked yet.
  FrontEnd(int argc, char** argv, const char* standardStreamName);
  /// Gives std::cout its own buffer back.
  ~FrontEnd();
  FrontEnd(const FrontEnd&) = delete;
  FrontEnd& operator=(const FrontEnd&) = delete;

  /// Starts the tool: the console UI's set-up (-quiet, -copyright), then
  /// --help and --version, then the usage check with its displays on
  /// standard error. Returns only when the tool is to run; the console UI's
  /// own queries (hasArgString and the like) may still end the program with
  /// its codes, their displays on standard error too.
  void start(const ToolIdentity& identity);

  /// The console UI.
  KivClConsoleUI& ui() { return m_ui; }
  const KivClConsoleUI& ui() const { return m_ui; }

  /// Where the data asked for goes: standard output, or nowhere under
  /// -quiet. Valid after start().
  std::ostream& data();

  /// True when `argument`, as the console UI returned it, stands for a "-"
  /// of the command line.
  bool isStandardStream(const char* argument) const { return argument == m_standIn.c_str(); }
  /// The text the user typed for `argument`: "-" for the stand-in, else the
  /// argument itself.
  const char* typed(const char* argument) const;
  /// The name of standard input or output in messages.
  const char* standardStreamName() const { return m_standIn.c_str(); }

  /// Flushes the data and ends the process with `status` through the
  /// console UI's exit (the bell of a status other than 0 goes to standard
  /// error, or nowhere under -quiet).
  [[noreturn]] void exit(unsigned long status);
  /// Flushes the data and gives `status` back, for statuses that are
  /// answers (a tool returns them from main without a bell).
  int answer(int status);

 private:
  static std::vector<char*> prepare(int argc, char** argv, const std::string& standIn);
  bool hasLongOption(const char* name) const;
  bool asksForHelp() const;

  std::string m_standIn;
  std::vector<char*> m_args;
  KivClConsoleUI m_ui;
  std::streambuf* m_pStandardOutput;
  std::ostream m_data;
};

}  // namespace kivtool

#endif
