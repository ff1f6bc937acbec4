/// \file
/// KIV Library: the console user interface.
///
/// KivClConsoleUI is the object a console program creates first. It owns the
/// program's message catalog, keeps its argument count and vector and its
/// settings (KivClConsoleUIParams, kiv_conuiparams.hpp), handles the built-in
/// switches (-quiet, -copyright, -h/-H/-?), checks the command line against a
/// usage string (kiv_usage.hpp), answers typed queries for switches and their
/// values, writes every display of the program (titles, headers, messages,
/// error, warning, information, fatal and exception displays, aligned
/// label-value lines, hex dumps, usage, help and copyright), asks the user
/// for strings, numbers and yes/no answers, shows a spinning progress
/// indicator, and ends the program with fixed exit codes:
///
/// ~~~
///   201  after the usage, help or copyright display when an exit is asked
///        for, also after a bad command line and for a missing switch when a
///        usage string is set
///   202  a required switch is missing and no usage string is set
///   203  a switch that needs a value has none
///   204  a numeric switch's value is not numeric
/// ~~~
///
/// A typical program:
///
/// ~~~{.cpp}
///   int main(int argc, char** argv) {
///     KivClConsoleUI ui(argc, argv);
///     ui.init("My tool", "1.0");              // -quiet, -copyright, title
///     ui.handleUsageHelp("(-in <file>) [-v]", "-in <file>   input\n-v   verbose");
///     const char* in = nullptr;
///     ui.reqArgString("in", in);              // exits 201 when -in is missing
///     ...
///     ui.error("Cannot read the file", in);   // display on standard error
///     ui.processExit(1);
///   }
/// ~~~
///
/// Texts. No text of the library is a literal here: every label is a message
/// of the catalog, message id base + N for the N of the built-in table
/// (kiv_msgtable.hpp), so a program can keep the library's texts at an offset
/// inside its own catalog. The default catalog is the library's own
/// ("qrnmsg50.cat"); it alone gets the built-in table as its fallback, so a
/// program that names a catalog of its own gets no fallback texts. Ids that a
/// program passes itself (title, level, usage and help ids, switch names by
/// id, question ids, labels of the format members) are used as given; the
/// library's own callers add the base.
///
/// Streams. Normal displays go to the output stream, error, warning, fatal
/// and exception displays to the error stream (standard output and standard
/// error at first). setOutputStream() redirects both; quiet mode (-quiet)
/// sends both to "/dev/null". Some displays always use the standard streams
/// whatever the mode: usage and help (standard output), the copyright display
/// (forced to standard output), the errors of the command line check, the
/// fatal ends of the argument queries (standard error) and the prompts
/// (standard input and output). So under -quiet a bad command line is still
/// reported on standard error.
///
/// Layout of the displays (process name "prog", label width 36):
///
/// ~~~
///   <empty line>
///   -------------------------------------------------------------------------- (74)
///   prog: An error occurred:
///       the message: insert 1: insert 2
/// ~~~
///
/// and a label-value line "  Trace file..........................: value".
///
/// Deliberately unusual behaviour, kept on purpose (do not "fix" it):
///   - Centred labels: h blanks, the label, then h - ((width mod 2) + (length
///     mod 2)) blanks, h = width / 2 - length / 2. The right-hand count
///     subtracts both parities, so odd widths come out short. When that count
///     would be negative (a label at least as long as an odd width, say), no
///     blanks are written at all.
///   - A label longer than the width counts as the width: it is written whole
///     and no fill is added.
///   - The exception display writes its header and message on the error
///     stream and the error record lines (format members) on the output
///     stream, like every format member.
///   - The legality check reports a switch given n times n(n-1)/2 times: once
///     for every later occurrence of every occurrence ("-a -a -a" gives three
///     "Illegal repetition" errors).
///   - A numeric switch takes the next argument even when it looks like a
///     switch; one leading apostrophe is dropped ("'-5" is -5), and the value
///     is atol() of the rest, cut to the width asked for.
///   - A missing required switch ends with 201 after the usage display when a
///     usage string is set, but with 202 when none is set.
///   - In text displays a "!" hides the rest of its line together with its
///     newline when tagged lines are hidden or disabled, so a "!" in the
///     middle of a line joins that line with the next one.
///   - Every end of the process with a code other than 0 beeps first (the
///     bell character on the output stream).
///   - The usage display ends its first line only after the built-in switch
///     list. When the catalog is not usable that list is left out, and the
///     usage text, with its indentation, follows the process name on the
///     same line.
///   - The help display without a help text does not end its
///     "Sorry, no additional help available" line (a following beep lands
///     right after it).
///
/// Choices made where the rules leave room:
///   - The constructors already create the parameters object from argument 0
///     and attach the built-in table to the default catalog, so every member
///     may be used before init(); init() runs the built-in switches. A
///     second init() runs them again.
///   - The help switch letters are taken from message base + 8 only when that
///     message could be loaded; otherwise there are no help switches (the
///     fallback text "UNABLE TO LOAD ..." would make -U, -N, -A ... help
///     switches).
///   - Ids given for the title, level, usage and help texts give null when
///     the id is 0 or its message could not be loaded.
///   - An error id, class, severity or action that has no text of its own
///     (its mapping gives message id 0) is shown by its number.
///   - A line that holds only `@` is shown as one empty line: the `@` in the
///     first column is shown as the line break, and the newline that ends
///     the `@` line is not shown a second time.
///   - The fatal ends of the numeric queries name the switch only, like the
///     other argument errors.
///   - Prompts: a line longer than 80 characters is cut to its first 80
///     characters and the rest of the line is read and dropped, so the next
///     prompt reads a fresh line. When standard input has ended, an empty
///     answer is taken (so a default answers); when the answer is still not
///     valid, promptNumval returns its default value brought within the
///     limits and promptYesNo its default instead of asking for ever.
///   - formatBool writes its "YES" or "NO" without quotes, whatever the
///     quote-strings flag: it is a truth value, not a string.
///   - Null texts are written as empty texts; null inserts are left out.
///   - The compile date shown by the copyright display is the date on which
///     the output part of this class was compiled.
///
/// Ownership: the console UI owns its catalog and its parameters object
/// (released by the destructor); the argument vector is the caller's and is
/// not copied; usage and help texts are copied. Texts returned by queries
/// point into the console UI or the caller's vector. The argument cursors
/// built from a console UI keep pointers into it, so it must outlive them.
///
/// Failure: wrong user input never fails (the prompts ask again; bad command
/// lines end the process with the codes above). Allocation goes through the
/// memory manager, which throws KivClExceptionFatal when memory is exhausted.
/// The members that end the process never return.
///
/// Thread safety: none; one console UI per process, used from the main
/// thread. Every constructor opens the catalog (kiv_msgcat.hpp), which calls
/// setlocale(LC_ALL, "") and perhaps setlocale(LC_ALL, "C"): the locale of
/// the whole process changes and stays changed. That is not safe while
/// another thread makes a locale-dependent call (printf, strtod, toupper,
/// regcomp, the C++ streams, ...), so create the console UI before other
/// threads start.
#ifndef KIV_CONUI_HPP
#define KIV_CONUI_HPP

#include <cstdint>
#include <ostream>

#include "kiv_conuiparams.hpp"
#include "kiv_error.hpp"
#include "kiv_exception.hpp"
#include "kiv_export.hpp"
#include "kiv_filename.hpp"
#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"

/// Exit code after the usage, help or copyright display, after a bad
/// command line, and for a missing switch when a usage string is set.
inline constexpr unsigned long KIV_CONUI_EXIT_USAGE = 201;
/// Exit code for a missing required switch when no usage string is set.
inline constexpr unsigned long KIV_CONUI_EXIT_ARG_MISSING = 202;
/// Exit code for a switch that needs a value and has none.
inline constexpr unsigned long KIV_CONUI_EXIT_ARG_EXPECTING_VALUE = 203;
/// Exit code for a numeric switch whose value is not numeric.
inline constexpr unsigned long KIV_CONUI_EXIT_ARG_VALUE_TYPE_MISMATCH = 204;
/// Length of the horizontal bar, without its newline.
inline constexpr unsigned int KIV_CONUI_BAR_LENGTH = 74;
/// Width of the line the progress indicator wipes.
inline constexpr unsigned int KIV_CONUI_PROGRESS_WIPE = 80;

/// The console user interface of a program (see the banner).
///
/// Argument queries (hasArg... and reqArg...): each kind exists with the
/// switch named by text (with or without its "-"), by one character c (the
/// switch "-c") and by message id (the text of that message, id as given).
/// The has-forms say whether the switch is present; the req-forms end the
/// process through fatalMissingArg() when it is not.
///
/// Label-value lines (format, formatBool): each writes, on the output
/// stream, two blanks, the label justified in the format width by the
/// format style, ": ", the value and an end of line. Labels are given as
/// text or as message id (used as given).
///
/// Prompts write to standard output and read standard input a line at a
/// time, whatever the output stream and quiet mode. Every answer is left in
/// the input buffer of the parameters (at most 80 characters).
///
/// Virtual operations, in slot order: the destructor and getMessageCatalog.
///
/// The constructors open the catalog and so set the locale of the whole
/// process with setlocale(LC_ALL, ""): not safe beside other threads'
/// locale-dependent calls (see the banner).
class KIV_EXPORT KivClConsoleUI {
 public:
  /// How labels are justified (0 left, 1 right, 2 centred).
  using KivEnFormatStyle = ::KivEnFormatStyle;

  // ===== Set-up ============================================================

  /// A console UI over the program's arguments with the library's default
  /// catalog (the built-in table as its fallback) and message id base 0.
  /// `argv` is not copied and must outlive the console UI. A null vector or
  /// a count below 1 is an empty command line (empty process name).
  KivClConsoleUI(int argc, const char** argv);
  /// The same for the vector type of main().
  KivClConsoleUI(int argc, char** argv);

  /// A console UI with the program's own catalog `catalogName` (".cat" is
  /// put in place of its extension); the library's texts are looked up as
  /// `messageIdBase` + N in it. No fallback table is attached.
  KivClConsoleUI(int argc, const char** argv, const KivClFilename& catalogName,
                 unsigned long messageIdBase = 0);
  /// The same for the vector type of main().
  KivClConsoleUI(int argc, char** argv, const KivClFilename& catalogName,
                 unsigned long messageIdBase = 0);

  /// Deletes the parameters object (which releases the quiet-mode stream),
  /// then closes the catalog.
  virtual ~KivClConsoleUI();

  KivClConsoleUI(const KivClConsoleUI&) = delete;
  KivClConsoleUI& operator=(const KivClConsoleUI&) = delete;

  /// Sets up the console UI: attaches the built-in table when the catalog
  /// is the default one, then handleBuiltInSwitches() with the four texts.
  /// May end the process (-copyright: exit code 201).
  /// \param title           shown after the process name, or null
  /// \param level           the program's level, shown after the title, or null
  /// \param copyrightLevel  the program's level for the copyright display, or null
  /// \param copyrightDate   the program's date for the copyright display, or null
  void init(const char* title = nullptr, const char* level = nullptr,
            const char* copyrightLevel = nullptr, const char* copyrightDate = nullptr);

  /// The same with title and level taken from the catalog: an id above 0
  /// whose message can be loaded gives its text, any other id null. The ids
  /// are used as given (no base is added).
  void init(unsigned long titleId, unsigned long levelId, const char* copyrightLevel = nullptr,
            const char* copyrightDate = nullptr);

  /// The built-in switches. When the catalog is neither open nor backed by
  /// a string table, only displayTitle(title, level). Otherwise: -quiet
  /// (message base + 10) sets quiet mode; displayTitle(title, level);
  /// -copyright (message base + 9) shows the copyright display and ends the
  /// process with 201.
  void handleBuiltInSwitches(const char* title, const char* level, const char* copyrightLevel,
                             const char* copyrightDate);

  /// Sets the usage and help texts (copies), reacts to the help switches
  /// (every letter of message base + 8: -h, -H, -? show usage and help and
  /// end with 201), then, when a usage string is set, checks every argument:
  /// unknown arguments (except -quiet), tagged arguments when tagged lines
  /// are disabled, and repeated switches are reported on standard error,
  /// and after the last argument any error leads to the usage display and
  /// exit code 201.
  void handleUsageHelp(const char* usage, const char* help = nullptr);

  /// The same with usage and help taken from the catalog (ids as given): an
  /// id above 0 whose message can be loaded gives its text, else null (no
  /// usage: no check; no help: "Sorry, no additional help available").
  void handleUsageHelp(unsigned long usageId, unsigned long helpId = 0);

  /// Replaces the stored usage and help copies (memory manager). Null
  /// usage: no usage string is set; null help: no help text.
  void setUsage(const char* usage, const char* help = nullptr);

  // ===== Accessors =========================================================

  /// The program's message catalog.
  virtual const KivClMessageCatalog& getMessageCatalog() const;
  /// The message id base added to the ids of the library's texts.
  unsigned long getMessageIdBase() const { return m_ulMessageIdBase; }
  /// The argument count given to the constructor (0 for a null vector).
  int getArgc() const { return m_iArgc; }
  /// The argument vector given to the constructor (not copied).
  const char** getArgv() const { return m_ppszArgv; }
  /// The usage string copy; the empty no-usage marker when none is set.
  const char* getUsage() const;
  /// True when a usage string is set.
  bool hasUsage() const;
  /// The help text copy, or null.
  const char* getHelp() const;
  /// The process name: argument 0 after its last "/", at most 25
  /// characters, cut at its first ".".
  const char* getProcessName() const;
  /// The target of normal displays.
  std::ostream& getOutputStream() const;
  /// The target of error, warning, fatal and exception displays.
  std::ostream& getErrorStream() const;
  /// Makes `stream` both the output and the error stream; ignored in quiet
  /// mode. The stream must outlive its use here.
  void setOutputStream(std::ostream& stream);
  /// Sets the width of the label column (default 36).
  void setFormatWidth(unsigned int width);
  /// Sets the justification of labels (default left).
  void setFormatStyle(KivEnFormatStyle style);
  /// Sets the fill character of left-justified labels (default ".").
  void setFormatFillChar(char fill);
  /// True in quiet mode.
  bool mustBeQuiet() const;
  /// Hides (or shows again) the tagged parts of lines ("!") in usage and
  /// help displays.
  void hideTaggedLines(bool hide = true);
  /// Disallows (or allows again) tagged arguments: the command line check
  /// reports them, and tagged parts of lines are hidden.
  void disableTaggedLines(bool disable = true);
  /// The settings object (created by the constructor, never null).
  KivClConsoleUIParams& getParams() const { return *m_pclParams; }

  // ===== Argument queries (their three forms: see the class comment) =======

  /// True when the switch occurs among the arguments.
  ///@{
  bool hasArgSwitch(const char* name) const;
  bool hasArgSwitch(char name) const;
  bool hasArgSwitch(unsigned long nameId) const;
  ///@}
  /// hasArgSwitch, else fatalMissingArg.
  ///@{
  void reqArgSwitch(const char* name) const;
  void reqArgSwitch(char name) const;
  void reqArgSwitch(unsigned long nameId) const;
  ///@}

  /// False when the switch is absent. When the argument after its first
  /// occurrence exists and is not a switch, stores it in `value` and
  /// returns true; otherwise ends the process with 203
  /// ("No value specified for command line switch" and the name, on standard
  /// error).
  ///@{
  bool hasArgString(const char* name, const char*& value) const;
  bool hasArgString(char name, const char*& value) const;
  bool hasArgString(unsigned long nameId, const char*& value) const;
  ///@}
  /// hasArgString, else fatalMissingArg.
  ///@{
  void reqArgString(const char* name, const char*& value) const;
  void reqArgString(char name, const char*& value) const;
  void reqArgString(unsigned long nameId, const char*& value) const;
  ///@}

  /// False when the switch is absent. When no argument follows it, ends
  /// with 203 ("No numeric value specified for command line switch"). Else
  /// takes the next argument even if it looks like a switch, drops one
  /// leading "'", and requires a decimal digit or "-" next, else ends with
  /// 204 ("Non-numeric value specified for numeric command line switch");
  /// the value is atol() of the rest, cut to the width of `value`.
  ///@{
  bool hasArgNumval(const char* name, short& value) const;
  bool hasArgNumval(const char* name, int& value) const;
  bool hasArgNumval(const char* name, long& value) const;
  bool hasArgNumval(char name, short& value) const;
  bool hasArgNumval(char name, int& value) const;
  bool hasArgNumval(char name, long& value) const;
  bool hasArgNumval(unsigned long nameId, short& value) const;
  bool hasArgNumval(unsigned long nameId, int& value) const;
  bool hasArgNumval(unsigned long nameId, long& value) const;
  ///@}
  /// hasArgNumval, else fatalMissingArg.
  ///@{
  void reqArgNumval(const char* name, short& value) const;
  void reqArgNumval(const char* name, int& value) const;
  void reqArgNumval(const char* name, long& value) const;
  void reqArgNumval(char name, short& value) const;
  void reqArgNumval(char name, int& value) const;
  void reqArgNumval(char name, long& value) const;
  void reqArgNumval(unsigned long nameId, short& value) const;
  void reqArgNumval(unsigned long nameId, int& value) const;
  void reqArgNumval(unsigned long nameId, long& value) const;
  ///@}

  /// Ends the process for a missing required switch `name`. Without a usage
  /// string: the fatal display "Missing command line switch: name" on
  /// standard error and exit code 202. With one: the same display, then
  /// "(Specify '-h' for help)", then the usage display and exit code 201.
  [[noreturn]] void fatalMissingArg(const char* name) const;
  /// The same for the switch "-" followed by `name`.
  [[noreturn]] void fatalMissingArg(char name) const;

  /// Beeps when `code` is not 0, flushes the streams and ends the process
  /// with `code`.
  [[noreturn]] void processExit(unsigned long code) const;

  // ===== Basic output pieces ===============================================

  /// Writes `c` `count` times.
  void indent(std::ostream& stream, unsigned int count, char c = ' ') const;
  /// Writes as many blanks as the process name is long.
  void indent(std::ostream& stream) const;
  /// Ends the line on the output stream.
  void newline() const;
  /// Writes the bell character (code 7) to the output stream.
  void beep() const;
  /// The horizontal bar (74 "-" and a newline), then an end of line, on the
  /// output stream (so an empty line follows the bar).
  void horizontalBar() const;

  /// A newline, the bar, the process name, ": " and `label`. With `more`,
  /// then ":", a newline and the process name's length in blanks (the next
  /// message lines up under the label); else an end of line.
  void header(std::ostream& stream, const char* label, bool more = false) const;
  /// The same with the label from message `labelId` (as given).
  void header(std::ostream& stream, unsigned long labelId, bool more = false) const;
  /// header() on the output stream.
  void header(const char* label, bool more = false) const;
  /// header() on the output stream with the label from message `labelId`.
  void header(unsigned long labelId, bool more = false) const;

  /// Two blanks, `text`, then ": " and each insert that is not null, in
  /// order, then an end of line.
  void msg(std::ostream& stream, const char* text, const char* insert1 = nullptr,
           const char* insert2 = nullptr, const char* insert3 = nullptr,
           const char* insert4 = nullptr) const;
  /// ": " and `insert` when `insert` is not null.
  void msgSubseq(std::ostream& stream, const char* insert) const;

  /// On the output stream: a newline, two blanks, `label`, a newline, two
  /// blanks and 72 "-" and a newline; then a flush.
  void formatHeader(const char* label) const;
  /// The same with the label from message `labelId` (as given).
  void formatHeader(unsigned long labelId) const;

  // ===== Displays ==========================================================

  /// On the error stream: header "A fatal error occurred", the message,
  /// then processExit(code).
  [[noreturn]] void fatal(unsigned long code, const char* text, const char* insert1 = nullptr,
                          const char* insert2 = nullptr, const char* insert3 = nullptr,
                          const char* insert4 = nullptr) const;
  /// On the error stream: header "An error occurred", then the message.
  void error(const char* text, const char* insert1 = nullptr, const char* insert2 = nullptr,
             const char* insert3 = nullptr, const char* insert4 = nullptr) const;
  /// The same on `stream`, with up to two inserts.
  void error(std::ostream& stream, const char* text, const char* insert1 = nullptr,
             const char* insert2 = nullptr) const;
  /// On the error stream: header "Warning", then the message.
  void warning(const char* text, const char* insert1 = nullptr, const char* insert2 = nullptr,
               const char* insert3 = nullptr, const char* insert4 = nullptr) const;
  /// On the output stream: header `title` (continued only when `text` is
  /// not null), then the message when `text` is not null.
  void info(const char* title, const char* text = nullptr, const char* insert1 = nullptr,
            const char* insert2 = nullptr, const char* insert3 = nullptr) const;
  /// On the error stream: header "An exception occurred" and the message;
  /// then format(exception, true), which writes on the output stream.
  void exception(const KivClException& exception, const char* text, const char* insert1 = nullptr,
                 const char* insert2 = nullptr, const char* insert3 = nullptr,
                 const char* insert4 = nullptr) const;

  // ===== Label-value lines (their layout: see the class comment) ===========

  /// The label part alone: two blanks, the justified label and ": ".
  void format(const char* label) const;
  /// The label part with the label from message `labelId`.
  void format(unsigned long labelId) const;

  /// A string, in double quotes when the quote-strings flag is set
  /// ("KIV_CONSOLEUI_QUOTE_STRINGS"). Null is written as the empty string.
  ///@{
  void format(const char* label, const char* value) const;
  void format(unsigned long labelId, const char* value) const;
  ///@}
  /// Exactly `length` characters of `value` (which must hold that many;
  /// NUL characters included), quoted like a string.
  ///@{
  void format(const char* label, const char* value, unsigned long length) const;
  void format(unsigned long labelId, const char* value, unsigned long length) const;
  ///@}
  /// A character, in apostrophes when the quote-strings flag is set.
  ///@{
  void format(const char* label, char value) const;
  void format(unsigned long labelId, char value) const;
  ///@}
  /// Integers in the stream's decimal form.
  ///@{
  void format(const char* label, long value) const;
  void format(unsigned long labelId, long value) const;
  void format(const char* label, int value) const;
  void format(unsigned long labelId, int value) const;
  void format(const char* label, unsigned int value) const;
  void format(unsigned long labelId, unsigned int value) const;
  void format(const char* label, short value) const;
  void format(unsigned long labelId, short value) const;
  void format(const char* label, unsigned short value) const;
  void format(unsigned long labelId, unsigned short value) const;
  void format(const char* label, unsigned long value) const;
  void format(unsigned long labelId, unsigned long value) const;
  ///@}
  /// Floating-point values in the stream's default form.
  ///@{
  void format(const char* label, float value) const;
  void format(unsigned long labelId, float value) const;
  void format(const char* label, double value) const;
  void format(unsigned long labelId, double value) const;
  ///@}
  /// "YES" (message base + 3) or "NO" (message base + 4), never quoted.
  ///@{
  void formatBool(const char* label, bool value) const;
  void formatBool(unsigned long labelId, bool value) const;
  ///@}

  /// formatHeader(label), then `length` bytes of `data` in hex dump lines of
  /// 16 bytes (kiv_strep.hpp) with their offsets, each preceded by two
  /// blanks; the last line shows the bytes left.
  ///@{
  void dump(const char* label, const char* data, unsigned long length) const;
  void dump(unsigned long labelId, const char* data, unsigned long length) const;
  ///@}

  // ===== Error formats =====================================================

  /// "Error ID" with the name of `errorId`; when verbose, a second
  /// "Error ID" line with the number.
  void formatErrId(unsigned long errorId, bool verbose = false) const;
  /// "Error Class" with the name of the class.
  void format(KivEnErrorClass errorClass) const;
  /// "Error Severity" with the name of the severity.
  void format(KivEnErrorSeverity severity) const;
  /// "Recommended Action" with the name of the action.
  void format(KivEnErrorAction action) const;
  /// The id and class lines. Not verbose: an id of 0 shows nothing at all
  /// (a cleared record prints nothing) and a class of 0 stops after the id.
  void format(const _KivStError& error, bool verbose = false) const;
  /// Id, class, severity and action. Not verbose: an id of 0 shows nothing,
  /// and class, severity and action are shown only when not 0.
  void format(const _KivStUserError& error, bool verbose = false) const;
  /// As for the user error of the exception; when verbose also
  /// "Cause for exception" (when there is a cause),
  /// "Exception occured in module" and "Exception occured in line".
  void format(const KivClException& exception, bool verbose = false) const;

  // ===== Text displays, usage, help, title, copyright ======================

  /// Writes `text` character by character (column count starting at 1):
  /// a "!" starts a tagged part of the line, hidden with its newline when
  /// tagged lines are hidden or disabled, else the "!" alone is left out;
  /// in `usage` mode double quotes and parentheses are left out; an `@` in
  /// the first column is shown as a line break (see the banner); after a
  /// newline `indentCount` blanks are written; an end of line is added when
  /// the text does not end with a newline.
  void display(std::ostream& stream, const char* text, unsigned int indentCount, bool usage) const;

  /// On standard output: a newline, "Usage: " and the process name; when
  /// the catalog is usable, " [-h|-H|-?|-copyright] [-quiet]" and an end of
  /// line (else nothing: the line goes on); then the indentation and the
  /// usage string in usage mode, aligned under the text after the process
  /// name. With `exit`, an end of line and exit code 201.
  void displayUsage(bool exit = false) const;
  /// On standard output: a newline, "Help: " and the help text aligned
  /// after it, or the indentation and "Sorry, no additional help available"
  /// without an end of line. With `exit`, exit code 201.
  void displayHelp(bool exit = false) const;
  /// setUsage(usage, help), displayUsage(false), displayHelp(exit).
  void displayUsageHelp(const char* usage, const char* help, bool exit = false);
  /// On the output stream: with a title, a newline, the process name, " - "
  /// and the title; with a level, three blanks and the level; an end of
  /// line when either was written.
  void displayTitle(const char* title, const char* level) const;
  /// The copyright display, forced to standard output (also in quiet
  /// mode): the library's copyright banner, its level and compile date,
  /// then `level` and `date` when a level is given. Exit code 201.
  [[noreturn]] void displayCopyright(const char* level, const char* date) const;

  // ===== Prompts (streams: see the class comment), progress indicator ======

  /// The bar, " " and the question, " (hint)" when a hint is given, ":" and
  /// a newline, then " (default: answer): " or " ", then reads a line. An
  /// empty line with a default gives the default.
  /// \returns the input buffer
  const char* prompt(const char* question, const char* hint = nullptr,
                     const char* defaultAnswer = nullptr) const;
  /// prompt() without hint. \returns the input buffer
  const char* promptString(const char* question, const char* defaultAnswer = nullptr) const;
  /// The same with the question from message `questionId` (as given).
  const char* promptString(unsigned long questionId, const char* defaultAnswer = nullptr) const;
  /// Asks until the answer is a number within [min, max] (hint
  /// "min.: m, max.: n", default `defaultValue`). An answer whose first
  /// character (or second, after a "-") is a digit is read with atol().
  ///@{
  long promptNumval(const char* question, long min, long max, long defaultValue) const;
  long promptNumval(unsigned long questionId, long min, long max, long defaultValue) const;
  ///@}
  /// Asks until the first letter of the answer, in upper case, is the first
  /// letter of "YES" or of "NO" (hint "Y/N").
  ///@{
  bool promptYesNo(const char* question, bool defaultYes = true) const;
  bool promptYesNo(unsigned long questionId, bool defaultYes = true) const;
  ///@}
  /// " === Press <ENTER> to continue ===" and an end of line, then reads and
  /// drops one line.
  void promptForKey() const;

  /// Restarts the spinner.
  void progressStart() const;
  /// On the output stream: a carriage return, a blank, the next of
  /// `|/-\`, a blank, and `text` and a blank when `text` is not null; then
  /// a flush.
  void progressStep(const char* text = nullptr) const;
  /// Wipes the line: a carriage return, 80 blanks, a carriage return.
  void progressStop() const;

 private:
  /// The library's text N: message base + N of the catalog.
  KivClMessage label(unsigned long n) const;
  /// True when the catalog is open or has a string table.
  bool isCatalogUsable() const;
  /// Reacts to the help switches (letters of message base + 8).
  void handleHelp() const;
  /// The command line check of handleUsageHelp.
  void checkCommandLine() const;
  /// processExit for the library's own exits.
  [[noreturn]] void privateProcessExit(unsigned long code) const;
  /// On standard error: the fatal header and `text` with its inserts, then
  /// privateProcessExit(code).
  [[noreturn]] void privateFatal(unsigned long code, const char* text,
                                 const char* insert1 = nullptr,
                                 const char* insert2 = nullptr) const;
  /// Common part of the numeric queries.
  bool queryNumval(const char* name, long& value) const;
  /// Writes the justified label of the label part.
  void writeLabel(std::ostream& stream, const char* label) const;
  /// A string value with its quotes.
  void writeString(std::ostream& stream, const char* value, unsigned long length) const;
  /// The name text of a value (message base + mapped id), or its number.
  void formatName(unsigned long labelN, std::uint32_t messageId, long number) const;

  KivClMessageCatalog m_clCatalog;    ///< the program's catalog
  unsigned long m_ulMessageIdBase;    ///< added to the library's message ids
  int m_iArgc;                        ///< argument count (0 for a null vector)
  const char** m_ppszArgv;            ///< argument vector; not owned
  KivClConsoleUIParams* m_pclParams;  ///< owned; never null
};

#endif
