/// \file
/// KIV Library: console UI parameters.
///
/// KivClConsoleUIParams holds the settings and small buffers of one console
/// user interface (KivClConsoleUI): the usage and help texts, the process
/// name, the prompt input buffer, the progress counter, the display flags,
/// the format settings and the two output streams. The console UI creates it
/// from argument 0 and deletes it in its destructor; everything else of the
/// console UI reads and writes it through its accessors.
///
/// The process name is the part of argument 0 after its last "/" (all of it
/// when there is none), at most 25 characters, then cut at its first ".":
/// "/usr/local/bin/mytool.exe" gives "mytool" (length 6).
///
/// Streams: normal displays go to the output stream (standard output at
/// first), error displays to the error stream (standard error at first).
/// setOutputStream() redirects BOTH; quiet mode sends both to "/dev/null" and
/// then ignores setOutputStream(); forceOutputStream() overrides quiet mode
/// for the copyright display and puts standard error back as the error
/// stream.
///
/// Choices made here:
///   - The no-usage marker is a fixed empty text of the library; getUsage()
///     returns it when no usage is set, and hasUsage() tells it apart from
///     every copied usage string (also from a copied empty one).
///   - The quiet-mode stream is owned separately from the stream pointers: it
///     stays alive after forceOutputStream() and is released by the
///     destructor in every case, so it never leaks. A second setQuietMode()
///     reuses it. Should "/dev/null" fail to open, the stream is in its
///     failed state and swallows all output just the same.
///   - A null argv0 gives the empty process name. A null usage sets the
///     no-usage marker, a null help no help text.
///
/// Ownership: the usage and help copies are made with kivMalloc and released
/// with kivFree; the streams handed in are not owned and must outlive their
/// use here. Failure: allocation throws KivClExceptionFatal when memory is
/// exhausted (kiv_memmgr.hpp), leaving the object unchanged; nothing else
/// fails. Thread safety: none; one console UI per process, used from its main
/// thread.
#ifndef KIV_CONUIPARAMS_HPP
#define KIV_CONUIPARAMS_HPP

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <ostream>

#include "kiv_export.hpp"

/// How the label column of a formatted line is justified. KivClConsoleUI
/// makes it its nested name KivClConsoleUI::KivEnFormatStyle.
enum class KivEnFormatStyle : std::int32_t {
  LEFT = 0,     ///< label, then fill characters up to the width
  RIGHT = 1,    ///< blanks up to the width, then the label
  CENTRED = 2,  ///< blanks on both sides of the label
};

/// The longest prompt answer the input buffer holds, in characters.
inline constexpr std::size_t KIV_CONUI_INPUT_MAX = 80;
/// The longest process name, in characters.
inline constexpr std::size_t KIV_CONUI_PROCESS_NAME_MAX = 25;
/// The default width of the label column.
inline constexpr std::uint32_t KIV_CONUI_FORMAT_WIDTH = 36;
/// The environment variable that switches quoting of string values on.
inline constexpr const char* KIV_CONUI_QUOTE_STRINGS_VAR = "KIV_CONSOLEUI_QUOTE_STRINGS";

/// The settings and small buffers of one console user interface.
class KIV_EXPORT KivClConsoleUIParams {
 public:
  /// Sets the initial values: no usage, no help, empty input buffer, the
  /// process name from `argv0` (see the banner), progress counter 0, quiet
  /// and both tagged-line flags off, quote strings as the environment
  /// variable "KIV_CONSOLEUI_QUOTE_STRINGS" says (enabled for "ON", "YES",
  /// "TRUE" or "1" in any case), format width 36, style left, fill ".",
  /// output stream standard output, error stream standard error.
  explicit KivClConsoleUIParams(const char* argv0);

  /// Frees the usage copy (unless it is the marker) and the help copy,
  /// releases the quiet-mode stream and clears both stream pointers.
  ~KivClConsoleUIParams();

  KivClConsoleUIParams(const KivClConsoleUIParams&) = delete;
  KivClConsoleUIParams& operator=(const KivClConsoleUIParams&) = delete;

  // --- usage and help ------------------------------------------------------

  /// The private copy of the usage string, or the no-usage marker (an empty
  /// text) when none is set. Never null.
  const char* getUsage() const { return m_pszUsage; }
  /// True when a usage string is set (getUsage() is not the marker).
  bool hasUsage() const;
  /// The private copy of the help text, or null.
  const char* getHelp() const { return m_pszHelp; }
  /// Replaces the usage and help copies with copies of `usage` and `help`
  /// (either may be null: no usage, no help). The texts may point into the
  /// current copies. The new copies are made before the old ones are freed,
  /// so an allocation failure leaves everything as it was.
  void setUsage(const char* usage, const char* help);

  // --- process name, input buffer, progress ---------------------------------

  /// The process name (at most 25 characters, no path, nothing from the
  /// first "." on).
  const char* getProcessName() const { return m_szProcessName; }
  /// The length of the process name; also the indentation of message lines.
  std::uint32_t getProcessNameLength() const { return m_ulProcessNameLength; }
  /// The prompt input buffer: getInputBufferSize() characters, the last
  /// answer (at most 80 characters) and its terminator.
  char* getInputBuffer() { return m_szInput; }
  /// The prompt input buffer, read-only.
  const char* getInputBuffer() const { return m_szInput; }
  /// The size of the input buffer: 81.
  static constexpr std::size_t getInputBufferSize() { return KIV_CONUI_INPUT_MAX + 1; }
  /// The spinner position of the progress indicator.
  std::uint32_t getProgressCounter() const { return m_ulProgressCounter; }
  /// Sets the spinner position.
  void setProgressCounter(std::uint32_t counter) { m_ulProgressCounter = counter; }

  // --- flags ---------------------------------------------------------------

  /// True in quiet mode (set by the built-in switch -quiet).
  bool isQuiet() const { return m_fQuiet; }
  /// True when lines tagged with "!" are hidden from usage and help displays.
  bool isHideTaggedLines() const { return m_fHideTaggedLines; }
  /// Hides or shows tagged lines.
  void setHideTaggedLines(bool hide) { m_fHideTaggedLines = hide; }
  /// True when tagged arguments are not allowed (and their lines hidden).
  bool isDisableTaggedLines() const { return m_fDisableTaggedLines; }
  /// Disallows or allows tagged arguments.
  void setDisableTaggedLines(bool disable) { m_fDisableTaggedLines = disable; }
  /// True when string values of formatted lines are written in double
  /// quotes and characters in apostrophes.
  bool isQuoteStrings() const { return m_fQuoteStrings; }
  /// Switches quoting on or off.
  void setQuoteStrings(bool quote) { m_fQuoteStrings = quote; }

  // --- format settings -----------------------------------------------------

  /// The width of the label column (default 36).
  std::uint32_t getFormatWidth() const { return m_ulFormatWidth; }
  /// Sets the width of the label column.
  void setFormatWidth(std::uint32_t width) { m_ulFormatWidth = width; }
  /// The justification of labels (default left).
  KivEnFormatStyle getFormatStyle() const { return m_enFormatStyle; }
  /// Sets the justification of labels.
  void setFormatStyle(KivEnFormatStyle style) { m_enFormatStyle = style; }
  /// The fill character of left-justified labels (default ".").
  char getFormatFillChar() const { return m_chFillChar; }
  /// Sets the fill character.
  void setFormatFillChar(char fill) { m_chFillChar = fill; }

  // --- streams -------------------------------------------------------------

  /// The target of normal displays.
  std::ostream& getOutputStream() const { return *m_pOutputStream; }
  /// The target of error, warning, fatal and exception displays.
  std::ostream& getErrorStream() const { return *m_pErrorStream; }

  /// Quiet mode: an output file stream on "/dev/null" becomes both the
  /// output and the error stream, and the quiet flag is set.
  void setQuietMode();

  /// Makes `stream` both the output and the error stream; ignored in quiet
  /// mode.
  void setOutputStream(std::ostream& stream);

  /// Makes `stream` the output stream and standard error the error stream,
  /// and clears quiet mode, whatever the mode (the copyright display uses
  /// it). The quiet-mode stream stays alive until the destructor.
  void forceOutputStream(std::ostream& stream);

  /// Flushes the output stream, then the error stream.
  void flushOutputStream();

 private:
  const char* m_pszUsage;
  char* m_pszHelp;
  char m_szInput[KIV_CONUI_INPUT_MAX + 1];
  char m_szProcessName[KIV_CONUI_PROCESS_NAME_MAX + 1];
  std::uint32_t m_ulProcessNameLength;
  std::uint32_t m_ulProgressCounter;
  bool m_fQuiet;
  bool m_fHideTaggedLines;
  bool m_fDisableTaggedLines;
  bool m_fQuoteStrings;
  std::uint32_t m_ulFormatWidth;
  KivEnFormatStyle m_enFormatStyle;
  char m_chFillChar;
  std::ostream* m_pOutputStream;
  std::ostream* m_pErrorStream;
  // Owned: the "/dev/null" stream of quiet mode, or null.
  std::ofstream* m_pQuietStream;
};

#endif
