/// \file
/// KIV Library: base string, number, time and platform utilities.
///
/// Small freestanding routines that the rest of the library and its callers
/// use: the library's level and build date, number-to-text conversion,
/// substring search and counting, in-place case conversion and
/// case-insensitive comparison, 16-bit byte-order conversion, sleeping, a
/// wall clock, two developer print helpers that prefix a line with its source
/// position, and the wildcard matcher used by file names, directory walks and
/// match objects.
///
/// Ownership: every function works on the caller's buffers and keeps nothing;
/// texts returned by the identity functions are constants of the library.
/// Buffers that a function writes (number conversion, kivStrCopyUntil) are
/// sized by the caller; no function here can check their size, so the sizes
/// stated on each function are part of its contract.
/// Failure: nothing here fails in the sense of an error record. A null text
/// is treated as the empty text and a null output buffer makes a writer do
/// nothing (see each function). The sleep functions return the platform
/// call's result. No function throws.
/// Thread safety: all functions may be called from any thread, except that
/// the case functions read the locale's character tables (so they follow the
/// calling thread's locale) and kiv_tprint/kiv_tprintf write to shared
/// streams without a lock of their own.
///
/// The plain C names strupr, strlwr, strcmpi, strncmpi and memicmp are part
/// of the library's interface and are exported unmangled.
#ifndef KIV_BASE_HPP
#define KIV_BASE_HPP

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "kiv_export.hpp"

/// The library's number for this platform in its operating-system
/// numbering. Other platforms had numbers of their own; this build only ever
/// reports this one.
inline constexpr std::int32_t KIV_OPERATING_SYSTEM_ID = 8;

/// Buffer size that always suffices for kivItoa, the 32-bit number-to-text
/// function (sign, 10 digits and the NUL).
inline constexpr std::size_t KIV_TOA_BUFFER_SIZE_32 = 12;
/// Buffer size that always suffices for the 64-bit number-to-text functions
/// (sign, 19 digits and the NUL; an unsigned value has up to 20 digits and
/// no sign).
inline constexpr std::size_t KIV_TOA_BUFFER_SIZE_64 = 21;

extern "C" {

// ---------------------------------------------------------------------------
/// \name Library identity
/// @{
// ---------------------------------------------------------------------------

/// The library's level label, the constant text "KIVLibR5-24".
KIV_EXPORT const char* kivLibraryGetLevel(void);
/// The library's build date, the constant text "Mar  8 2009" (the compiler's
/// date format, with two blanks before a one-digit day).
KIV_EXPORT const char* kivLibraryGetTod(void);
/// True: this build is a release build.
KIV_EXPORT bool kivLibraryIsShipCode(void);
/// The platform's number, always KIV_OPERATING_SYSTEM_ID (8).
KIV_EXPORT std::int32_t kivGetOperatingSystemId(void);
/// A 32-bit time stamp; always 0 on this platform, which has no time stamp
/// source for the library.
KIV_EXPORT std::uint32_t kivGetTimeStamp(void);
/// @}

// ---------------------------------------------------------------------------
/// \name Number to decimal text
/// Each function writes the decimal text of `value` into `buffer`,
/// terminates it with a NUL and returns the number of characters written
/// without the NUL. The buffer must hold at least KIV_TOA_BUFFER_SIZE_32 (12)
/// bytes for the 32-bit function and KIV_TOA_BUFFER_SIZE_64 (21) bytes for the
/// 64-bit ones. All five share one routine: the most negative values print
/// correctly ("-2147483648", "-9223372036854775808"). A null buffer writes
/// nothing and returns 0.
/// @{
// ---------------------------------------------------------------------------

/// Signed 32-bit value; a leading "-" for negatives.
KIV_EXPORT int kivItoa(std::int32_t value, char* buffer);
/// Signed 64-bit value (`long`); a leading "-" for negatives.
KIV_EXPORT int kivLtoa(long value, char* buffer);
/// Signed 64-bit value; a leading "-" for negatives.
KIV_EXPORT int kivI64toa(std::int64_t value, char* buffer);
/// Unsigned 64-bit value (`unsigned long`); never a sign.
KIV_EXPORT int kivULtoa(unsigned long value, char* buffer);
/// Unsigned 64-bit value; the same as kivULtoa.
KIV_EXPORT int kivW64toa(std::uint64_t value, char* buffer);
/// @}

// ---------------------------------------------------------------------------
/// \name Text search and copy
/// @{
// ---------------------------------------------------------------------------

/// Finds `pattern` in `text`.
/// \param text the NUL-terminated text searched; may be null.
/// \param pattern the NUL-terminated text looked for; may be null.
/// \param caseInsensitive false: the platform's strstr. true: a single pass
///        over the text comparing lower-cased characters (the locale's
///        table). This pass deliberately never backs up after a partial
///        match: the character that broke a partial match is not tried again
///        as the start of a new one. So searching "ab" in "aab" without
///        regard to case finds nothing, while the case-sensitive search finds
///        it at offset 1. Callers rely on this exact behaviour; callers that
///        need a full search use the case-sensitive form on prepared text or
///        the library's string search objects.
/// \returns a pointer into `text` at the first match, `text` itself for an
///          empty pattern, or null when there is no match. A null text gives
///          null; a null pattern counts as the empty pattern.
KIV_EXPORT const char* kivStrFind(const char* text, const char* pattern, bool caseInsensitive);

/// Number of occurrences of `character` in `text` (0 for an empty or null
/// text; the terminating NUL is never counted, so counting the NUL
/// character gives 0).
KIV_EXPORT std::size_t kivStrCount(const char* text, char character);

/// Copies the characters of `source` into `destination` up to the first
/// `stop` character or the end of `source` (the stop character is not
/// copied) and NUL-terminates `destination`, which must have room for
/// strlen(source) + 1 bytes in the worst case.
/// \returns the number of characters copied. A null source copies nothing
///          (destination becomes the empty text); a null destination writes
///          nothing and returns 0.
KIV_EXPORT std::size_t kivStrCopyUntil(char* destination, const char* source, char stop);
/// @}

// ---------------------------------------------------------------------------
/// \name Case conversion and comparison (the locale's character tables)
/// The comparisons keep two different orders on purpose: strcmpi upper-cases
/// and strncmpi lower-cases, so characters that lie between "Z" and "a" (such
/// as "_") sort after the letters for strcmpi and before them for strncmpi.
/// Callers depend on both orders; do not unify them. A null text counts as
/// the empty text.
/// @{
// ---------------------------------------------------------------------------

/// Converts `text` to upper case in place (every character up to the NUL
/// through toupper) and returns `text` (null stays null).
KIV_EXPORT char* strupr(char* text);
/// Converts `text` to lower case in place (every character up to the NUL
/// through tolower) and returns `text` (null stays null).
KIV_EXPORT char* strlwr(char* text);
/// Compares two texts without regard to case: reads the characters as plain
/// (signed) chars, upper-cases both through the locale's table and returns
/// the difference of the first pair that differs, or 0 when the texts are
/// equal up to and including their NULs.
KIV_EXPORT int strcmpi(const char* a, const char* b);
/// Compares at most `count` characters without regard to case: reads plain
/// (signed) chars, lower-cases both with tolower and stops after `count`
/// pairs, after a compared NUL of `a`, or at the first differing pair.
/// \returns the difference of the last compared pair; 0 for a count of 0 or
///          less.
KIV_EXPORT int strncmpi(const char* a, const char* b, std::int32_t count);
/// Compares `length` bytes ignoring case: the bytes are read unsigned; equal
/// bytes are passed over, differing bytes are lower-cased and the comparison
/// stops at the first pair that still differs.
/// \returns the difference of that lower-cased pair, or 0 when there is none.
///          Null blocks are allowed only with length 0.
KIV_EXPORT int memicmp(const void* a, const void* b, std::uint32_t length);
/// @}

// ---------------------------------------------------------------------------
/// \name 16-bit byte order
/// For buffers of 16-bit code units. `length` is in bytes; the host is
/// little-endian.
/// @{
// ---------------------------------------------------------------------------

/// Exchanges the two bytes of every whole 16-bit unit of `buffer`. An odd
/// last byte is left as it is. Callers pass at least one whole unit; a length
/// of 0 or 1 (or a null buffer) does nothing.
KIV_EXPORT void kivEndianConvertW16Swap(void* buffer, std::size_t length);
/// Identity on this little-endian host.
KIV_EXPORT void kivEndianConvertW16HostToLittle(void* buffer, std::size_t length);
/// Identity on this little-endian host.
KIV_EXPORT void kivEndianConvertW16LittleToHost(void* buffer, std::size_t length);
/// The swap (kivEndianConvertW16Swap).
KIV_EXPORT void kivEndianConvertW16HostToBig(void* buffer, std::size_t length);
/// The swap (kivEndianConvertW16Swap).
KIV_EXPORT void kivEndianConvertW16BigToHost(void* buffer, std::size_t length);
/// The swap (kivEndianConvertW16Swap).
KIV_EXPORT void kivEndianConvertW16LittleToBig(void* buffer, std::size_t length);
/// The swap (kivEndianConvertW16Swap).
KIV_EXPORT void kivEndianConvertW16BigToLittle(void* buffer, std::size_t length);
/// @}

// ---------------------------------------------------------------------------
/// \name Sleeping
/// The longer units are built on the shorter ones; products that would
/// overflow the next unit's 32-bit argument are capped at its largest value
/// instead of wrapping round to a short sleep.
/// @{
// ---------------------------------------------------------------------------

/// kivSleepMinutes(hours x 60).
KIV_EXPORT unsigned int kivSleepHours(std::uint32_t hours);
/// kivSleepSeconds(minutes x 60).
KIV_EXPORT unsigned int kivSleepMinutes(std::uint32_t minutes);
/// The platform's sleep(seconds); returns its result: 0, or the seconds left
/// when a signal ended the sleep early.
KIV_EXPORT unsigned int kivSleepSeconds(std::uint32_t seconds);
/// kivSleepMicroSeconds(milliseconds x 1000).
KIV_EXPORT int kivSleepMilliSeconds(std::uint32_t milliseconds);
/// select() with no descriptors and a time-out of microseconds / 1000000
/// seconds and microseconds % 1000000 microseconds; returns its result: 0
/// after the full time-out, -1 when a signal interrupted the wait (the wait
/// is not resumed).
KIV_EXPORT int kivSleepMicroSeconds(std::uint64_t microseconds);
/// @}

// ---------------------------------------------------------------------------
/// \name Developer print helper (C interface)
/// @{
// ---------------------------------------------------------------------------

/// Writes to standard output "[<file>:<line>] " (the full `file` text, as by
/// the format "[%s:%d] "), then `format` with its arguments; if `format`
/// holds no newline character, writes a newline; then flushes standard
/// output. A null file prints as the empty text; a null format prints only
/// the prefix and the newline.
KIV_EXPORT void kiv_tprintf(const char* file, int line, const char* format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 3, 4)))
#endif
    ;
/// @}

// ---------------------------------------------------------------------------
/// \name Wildcard matching
/// @{
// ---------------------------------------------------------------------------

/// True when the whole `text` matches the whole `pattern`. "*" matches any
/// sequence of characters (also the empty one, and also "/"), "?" exactly
/// one character, every other character itself; there are no bracket
/// expressions and no escape character. With caseSensitive false, ordinary
/// characters are compared after upper-casing both through the locale's
/// table. An empty pattern matches only the empty text. A null pattern or
/// text counts as the empty text.
KIV_EXPORT bool kivMatchesWildcardPattern(const char* pattern, const char* text,
                                          bool caseSensitive);
/// @}

}  // extern "C"

/// Developer print helper (C++ interface): writes "[", the name part of
/// `file` (the text after its last "/"), ":", `line` in decimal and "] " to
/// `stream` and returns the stream, so that the caller continues the line:
/// ~~~{.cpp}
/// kiv_tprint(std::cerr, __FILE__, __LINE__) << "value " << v << '\n';
/// ~~~
/// A null file prints as the empty text.
KIV_EXPORT std::ostream& kiv_tprint(std::ostream& stream, const char* file, int line);

/// A small stopwatch of four double-precision values, in seconds of the
/// wall clock: the start of the running interval, the end of the last
/// interval, the length of the last completed interval and the sum of all
/// completed intervals. A value object; not shared between threads.
class KIV_EXPORT KivClTiming {
 public:
  /// A stopped timer with all four values 0.0.
  KivClTiming() { init(false); }
  /// All four values 0.0; then, when `startNow` is true, the timer is started
  /// at once (start()).
  explicit KivClTiming(bool startNow) {
    init(startNow);
    if (startNow) start();
  }

  /// Sets all four values to 0.0, whatever the flag: the flag is part of the
  /// interface but does not start the timer; call start() for that. After
  /// init(true) the start time is therefore 0.0 like the other three.
  void init(bool flag = false);

  /// The current time of day (gettimeofday) in seconds:
  /// seconds + microseconds x 1e-6.
  double wallClockTime() const;

  /// Begins an interval at the current time.
  void start() { m_dStart = wallClockTime(); }
  /// Ends the interval begun by start(): records its end, its length (the
  /// last interval) and adds the length to the total. Returns the length.
  double stop() {
    m_dStop = wallClockTime();
    m_dLast = m_dStop - m_dStart;
    m_dTotal += m_dLast;
    return m_dLast;
  }
  /// Seconds since the last start(), without stopping.
  double elapsed() const { return wallClockTime() - m_dStart; }

  /// Time of the last start() (0.0 after init).
  double getStartTime() const { return m_dStart; }
  /// Time of the last stop() (0.0 after init).
  double getStopTime() const { return m_dStop; }
  /// Length of the last completed interval (0.0 after init).
  double getLastInterval() const { return m_dLast; }
  /// Sum of all completed intervals since init (0.0 after init).
  double getTotal() const { return m_dTotal; }

 private:
  double m_dStart;
  double m_dStop;
  double m_dLast;
  double m_dTotal;
};

#endif
