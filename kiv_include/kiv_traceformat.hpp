/// \file
/// KIV Library: the trace file formatter.
///
/// KivClTraceFormatter turns a trace file (see kiv_traceentry.hpp for its
/// record layout) into readable text. It reads the file entry by entry,
/// selects entries with a trace filter and writes each selected entry to an
/// output stream as a format string says. Formatting streams: one entry's
/// record is held at a time and data bytes pass through a small fixed
/// buffer, so memory stays flat whatever the size of the file.
///
/// The format string language. Characters are copied as they are, except:
/// ~~~
///   %x  the entry's type, short name ("FE", "DA", "i32", ...)
///   %X  the entry's type, long name ("FUNCTION ENTRY", "DATA", ...)
///   %l  the detail level: "OFF", "LOW", "MED" or "HIGH"
///   %s  the time stamp, decimal
///   %c  the component id, decimal
///   %p  the process id, decimal
///   %t  the thread id, decimal
///   %f  the function name, when the function header is shown for this
///       entry (see the switches); otherwise nothing
///   %m  the message text
///   %d  the entry's data, displayed by its type (below)
///   %n  a line end, then the indentation
///   %%  a percent sign; "%" and any other character: a percent sign (the
///       character is dropped); a "%" at the very end: a percent sign
///   \\  a backslash; \n a line end, then the indentation; \t a tab; "\"
///       and any other character: that character; a "\" at the very end:
///       a backslash
/// ~~~
///
/// Data display ("%d"), by type:
/// ~~~
///   none (0), NO DATA (3)   nothing
///   FE, FX (1, 2)           "Nesting level: " and the signed 64-bit level
///   DATA (4)                "<n> Bytes HEX:" then, on lines of their own
///                           (each begun by a line end and the indentation),
///                           the hexadecimal dump lines of KivClStrepHexDump
///                           with the offset in the data as their address
///   DATA clipped (5)        as DATA, then " *** Clipped ***"
///   DATA null pointer (6)   "*** Illegal NULL pointer ***"
///   Address (7)             the address as KivClStrepAddress writes it
///   C string (8)            the characters up to the first zero byte, each
///                           control character (below 0x20, and 0x7F) as "."
///   Unicode (9)             the 16-bit characters (machine order) up to the
///                           first zero character, as UTF-8; a lone
///                           surrogate as U+FFFD, controls (also U+0080 to
///                           U+009F) as "."
///   bool (10)               "true" or "false"
///   integers (11 to 18)     decimal; with the hex switch also " 0x" and the
///                           value's bytes in upper-case hexadecimal (two
///                           digits a byte), with the binary switch also
///                           " 0b" and its bits (eight a byte)
///   float, double, long double (19 to 21)
///                           the shortest decimal text that reads back as
///                           the same value
/// ~~~
/// Data whose length does not fit its type (an integer of the wrong width,
/// an address that is neither 4 nor 8 bytes, odd Unicode, bytes for a type
/// that has none) is shown as DATA is, so nothing in a file is hidden.
/// Data of up to WORK_SIZE bytes are read before the entry is formatted, so
/// "%d" may appear any number of times (or not at all) in a format; longer
/// data are streamed through by the first "%d" (a later one shows nothing)
/// and skipped after the entry when the format has none.
///
/// Switches (all off at construction):
/// ~~~
///   nesting      function entries and exits indent what lies between them:
///                the indentation level follows the nesting level each
///                entry and exit records (an entry is shown one level out
///                from the functions it opens). Every line is indented at
///                the level of the entry whose text begins it: the
///                indentation after a line end is written just before the
///                line's first character, so a format that ends in %n
///                indents the next entry's first line at that entry's level
///                (and the first entry is indented too). The
///                indentation string is the one set with
///                setDisplayIndentation; without one nothing is indented
///                (callers that want nesting visible by default set
///                DEFAULT_INDENTATION). The level is capped at
///                MAX_INDENTATION_LEVEL.
///   no function headers       %f never shows anything.
///   skip subsequent function headers
///                %f shows the function name only when it differs from the
///                function name of the entry formatted before (so a run of
///                entries of one function shows its name once).
///   hex, binary  integral data are shown in those notations, too.
/// ~~~
/// Without nesting the indentation level stays 0, so an indentation string
/// alone changes nothing.
///
/// Messages. The formatter's display texts are fetched by getMessage from
/// the attached message catalog, or else from the library's built-in message
/// table: MSG_BYTES (189) "Bytes", MSG_CLIPPED (190) " *** Clipped ***",
/// MSG_NULL_POINTER (191) "*** Illegal NULL pointer ***", MSG_NESTING_LEVEL
/// (192) "Nesting level: ".
///
/// Failure. All failures are exceptions carrying an error id of
/// kiv_errorids.hpp:
///   - the output stream is not in a good state when format() begins:
///     KivClExceptionFatal, KIV_TRACEFORMAT_COULD_NOT_OPEN, before anything
///     is read;
///   - the trace file cannot be opened: KivClException,
///     KIV_TRACEFORMAT_COULD_NOT_OPEN, cause the file name;
///   - the file ends inside an entry (bytes are left that do not make a
///     whole entry): KivClException, KIV_TRACEFORMAT_UNEXPECTED_EOF;
///   - data that cannot be an entry (a type beyond the table, a data length
///     beyond the largest trace buffer, MAX_DATA_LENGTH): KivClException,
///     KIV_TRACEFORMAT_FILE_CORRUPTED.
/// In the last two cases every entry before the faulty one has been written
/// to the output (and counted) before the exception is thrown; an entry
/// whose data are cut short may have shown part of its data. The exception's
/// cause is the empty text for these two; its module and line are the throw
/// site.
///
/// Ownership: the formatter keeps references and pointers only: the
/// environment, the filter, the format string, the indentation string and
/// the catalog must outlive it (or the calls that use them). It opens the
/// trace file itself in format() (close-on-exec) and closes it before
/// returning or throwing.
///
/// Thread safety: none. format() is const, but the formatter keeps the state
/// of the current call (output stream, count, indentation, function header
/// state) in itself: use one formatter in one thread at a time.
#ifndef KIV_TRACEFORMAT_HPP
#define KIV_TRACEFORMAT_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

#include "kiv_export.hpp"
#include "kiv_traceentry.hpp"
#include "kiv_tracefilter.hpp"
#include "kiv_tracesettings.hpp"

class KivClMessageCatalog;

/// What formatNextEntry met.
enum class KivEnTraceFormatStatus : std::int32_t {
  FORMATTED = 0,  ///< an entry was read and formatted
  SKIPPED = 1,    ///< an entry was read and skipped: the filter did not select it
  END = 2,        ///< the input ended cleanly, at an entry boundary
  TRUNCATED = 3,  ///< the input ends inside an entry (see formatNextEntry)
  CORRUPTED = 4,  ///< the next bytes cannot be an entry
};

/// Formats a trace file (see the banner).
class KIV_EXPORT KivClTraceFormatter {
 public:
  /// Message id of the text written after a byte count ("Bytes").
  static constexpr unsigned long MSG_BYTES = 189;
  /// Message id of the mark after clipped data (" *** Clipped ***").
  static constexpr unsigned long MSG_CLIPPED = 190;
  /// Message id of the display of type 6 ("*** Illegal NULL pointer ***").
  static constexpr unsigned long MSG_NULL_POINTER = 191;
  /// Message id of the label of a nesting level ("Nesting level: ").
  static constexpr unsigned long MSG_NESTING_LEVEL = 192;
  /// The largest data length an entry can have: the data area of the
  /// largest trace buffer. Longer data cannot have been written by a trace.
  static constexpr unsigned long MAX_DATA_LENGTH =
      KivClTraceEnvironment::MAX_BUFFER_SIZE - 48;
  /// An indentation string for nesting, for callers whose user chose none.
  static constexpr const char* DEFAULT_INDENTATION = "  ";
  /// Deepest indentation level shown (deeper levels are shown at it).
  static constexpr unsigned long MAX_INDENTATION_LEVEL = 64;
  /// Number of data types (0 to 21).
  static constexpr unsigned long TYPE_COUNT = 22;
  /// Size of the work area formatEntry takes.
  static constexpr unsigned long WORK_SIZE = 4096;
  /// `available` for formatNextEntry when the input's size is not known.
  static constexpr std::uint64_t UNLIMITED = ~static_cast<std::uint64_t>(0);

  /// A formatter for the trace file and format string of `environment`.
  /// `filter` selects the entries; when null, the filter of the
  /// environment's settings is used. Neither is copied.
  KivClTraceFormatter(const KivClTraceEnvironment& environment, const KivClTraceFilter* filter);
  virtual ~KivClTraceFormatter();
  KivClTraceFormatter(const KivClTraceFormatter&) = delete;
  KivClTraceFormatter& operator=(const KivClTraceFormatter&) = delete;

  /// Uses `format` from now on; the pointer is kept (the caller keeps the
  /// text alive). Null puts the environment's format string back.
  void setFormatString(const char* format) noexcept;
  /// The format string in use.
  const char* getFormatString() const noexcept { return m_pszFormat; }
  /// Uses `indentation` as the indentation string; the pointer is kept.
  /// Null means none: then nothing is indented, even with nesting.
  void setDisplayIndentation(const char* indentation) noexcept;

  /// The nesting switch (see the banner).
  void setNesting(bool on) noexcept { m_bNesting = on; }
  /// The switch that hides all function headers.
  void setNoFunctionHeaders(bool on) noexcept { m_bNoFunctionHeaders = on; }
  /// The switch that skips subsequent function headers of one function.
  void setSkipSubsequentFunctionHeaders(bool on) noexcept { m_bSkipSubsequentHeaders = on; }
  /// The switch that adds hexadecimal notation to integral data.
  void setHexDisplay(bool on) noexcept { m_bHex = on; }
  /// The switch that adds binary notation to integral data.
  void setBinDisplay(bool on) noexcept { m_bBin = on; }

  /// Fetches the formatter's texts from `catalog` (kept by reference; it
  /// must outlive the formatter). Ids the catalog lacks come from the
  /// built-in message table.
  void attachKivMessageCatalog(KivClMessageCatalog& catalog) noexcept;
  /// The text of message `id`: from the attached catalog (its file, then
  /// its string table), else from the built-in table; the empty text for
  /// an id neither has. Never null.
  const char* getMessage(unsigned long id) const;

  /// Formats the environment's whole trace file to `out`. Throws as the
  /// banner says; before anything is read when `out` is not good.
  void format(std::ostream& out) const;
  /// The same for an input stream the caller opened (standard input, a
  /// pipe, a memory stream): reads `in` to its end.
  void format(std::istream& in, std::ostream& out) const;
  /// Entries formatted (selected and written) by the current or last
  /// format call, or since the last setOutputStream.
  unsigned long getEntryCount() const noexcept { return m_ulEntryCount; }

  /// Makes `out` the output of formatEntry and formatNextEntry, and starts
  /// a new count and a new indentation and function header state, as a
  /// format call does. For callers that drive the reading themselves (for
  /// example to follow a file that grows).
  void setOutputStream(std::ostream& out) const noexcept;

  /// Reads the next entry from `in` and formats it with `format` to the
  /// current output stream when the filter selects it, else skips its data.
  /// `work` is a scratch area of WORK_SIZE bytes, or null for the
  /// formatter's own. Returns true when an entry was read (formatted or
  /// skipped), false at a clean end of the input. Throws
  /// KIV_TRACEFORMAT_UNEXPECTED_EOF or KIV_TRACEFORMAT_FILE_CORRUPTED as
  /// the banner says.
  bool formatEntry(std::istream& in, const char* format, char* work) const;

  /// Like formatEntry with the current format string, reporting instead of
  /// throwing. `available` is the number of bytes that may be read from
  /// `in`: when it is not UNLIMITED and the next entry (record and data)
  /// does not lie wholly within it, nothing is written and the input is
  /// put back to the entry's start (it must be seekable), and TRUNCATED is
  /// returned; a later call with more bytes available reads the entry
  /// then. With UNLIMITED, an entry cut short by the end of the input gives
  /// TRUNCATED after whatever of it could be shown; the position is then
  /// undefined. CORRUPTED writes nothing; with a finite `available` it also
  /// puts the input back to the entry's start. With a finite `available`,
  /// END and TRUNCATED leave the stream state cleared, so the caller can
  /// simply call again once the input has grown. A stream that fails for
  /// other reasons than its end counts as an end.
  KivEnTraceFormatStatus formatNextEntry(std::istream& in, std::uint64_t available) const;

  /// Reads `length` data bytes of `type` from `in` and writes their display
  /// (see the banner). False when the input ended before them.
  bool formatData(std::istream& in, KivEnTraceDataType type, unsigned long length) const;
  /// Reads and writes the characters of a C string of `length` bytes.
  bool formatCString(std::istream& in, unsigned long length) const;
  /// Reads `length` bytes and writes them as a hexadecimal dump.
  bool formatHexDump(std::istream& in, unsigned long length) const;
  /// Reads an address of `length` (4 or 8) bytes and writes it.
  bool formatAdrs(std::istream& in, unsigned long length) const;
  /// Reads and drops `length` bytes; false when the input ended before.
  bool skipEntry(std::istream& in, unsigned long length) const;

  /// Writes `length` characters of `text` to the current output stream.
  void displayBuffer(const char* text, unsigned long length) const;
  /// Writes the indentation string once per indentation level (nothing
  /// when there is no string or the level is 0).
  void displayIndent() const;

  /// The long name of `type` ("FUNCTION ENTRY", ...); the empty text for
  /// types 0 and those beyond the table.
  const char* getTypeAsLongCString(KivEnTraceDataType type) const noexcept;
  /// The short name of `type` ("FE", ...); the empty text for types 0 and
  /// those beyond the table.
  const char* getTypeAsShortCString(KivEnTraceDataType type) const noexcept;

 private:
  class Source;

  KivEnTraceFormatStatus step(std::istream& in, std::uint64_t available, const char* format,
                              char* work) const;
  void formatRecord(const char* format, Source& data) const;
  void showData(Source& data, KivEnTraceDataType type) const;
  void showHexDump(Source& data) const;
  void showCString(Source& data) const;
  void showUnicode(Source& data) const;
  void showInteger(const unsigned char* bytes, KivEnTraceDataType type) const;
  void showFloat(const unsigned char* bytes, KivEnTraceDataType type) const;
  void showAddress(const unsigned char* bytes, unsigned long length) const;
  void lineEnd() const;
  void putIndent() const;
  void put(const char* text, std::size_t length) const {
    if (length == 0) return;
    if (m_bIndentPending) resolveIndent();
    m_sPending.append(text, length);
  }
  void put(const char* text) const;
  void put(char c) const {
    if (m_bIndentPending) resolveIndent();
    m_sPending.push_back(c);
  }
  void resolveIndent() const;
  void putUnsigned(std::uint64_t value) const;
  void putSigned(std::int64_t value) const;
  void flushPending() const;
  const char* indentation() const noexcept;
  void startCall(std::ostream& out) const noexcept;

  const KivClTraceEnvironment& m_rEnvironment;
  const KivClTraceFilter* m_pclFilter;
  mutable std::ostream* m_pOut;
  mutable unsigned long m_ulEntryCount;
  mutable unsigned long m_ulIndentLevel;
  const char* m_pszFormat;
  const char* m_pszIndentation;
  bool m_bNesting;
  bool m_bNoFunctionHeaders;
  bool m_bSkipSubsequentHeaders;
  bool m_bHex;
  bool m_bBin;
  mutable bool m_bFirstHeader;      ///< no function header shown yet in this call
  mutable bool m_bShowHeader;       ///< the current entry shows its function header
  mutable unsigned long m_ulLastFunctionLength;   ///< characters of m_achLastFunction
  mutable unsigned long m_ulHeadersSkipped;       ///< headers skipped in this call
  mutable char m_achLastFunction[KivClTraceFileEntry::TEXT_SIZE];
  KivClMessageCatalog* m_pclCatalog;
  mutable unsigned long m_ulEntryIndent;          ///< indentation level after the last entry
  mutable bool m_bIndentPending;                  ///< a line began: indent before its first character
  mutable KivClTraceFileEntry m_clEntry;          ///< the entry being read
  mutable std::string m_sPending;                 ///< output not yet written to m_pOut
  mutable char m_achWork[WORK_SIZE];
};

/// A description of `type`: its long name ("FUNCTION ENTRY",
/// "signed integer (32 bits)", ...), "" for type 0 and for types beyond the table.
/// Never null; the text is a constant of the library.
extern "C" KIV_EXPORT const char* kivGetFormatDescription(KivEnTraceDataType type);

#endif
