/// \file
/// KIV Library: trace settings and the trace environment.
///
/// A trace is identified by a trace key, a short text chosen by the
/// application. KivClTraceEnvironment reads the settings of one trace key
/// from process environment variables named after the upper-cased key
/// (MYAPP_TRACE_ACTIVE, MYAPP_TRACE_DETAIL, ... for the key "myapp"),
/// allocates the trace buffer, puts a buffer manager over it and, with
/// autosave on, installs kivTraceBufferOverflowHandler, which appends every
/// full turn of the ring (and whatever flush() hands over) to the trace
/// file. It also keeps the format string for the trace formatter, the trace
/// file name and running compression statistics.
///
/// The settings are a small record (KivClTraceSettings): a signature, a flag
/// word and a trace filter. The record can be placed in memory the caller
/// provides, so that it can be laid where others see it.
///
/// Settings are read once, when the environment is made; changing the
/// variables later has no effect on an existing trace. The environment only
/// ever sets flag bits: compression and autosave are on by default, and a
/// variable set to "NO" does not switch them off. That asymmetry is
/// deliberate and kept.
///
/// Ownership: the environment owns its settings, its buffer and its buffer
/// manager and frees them (through the memory manager) when destroyed, after
/// a last flush. The trace file is opened and closed by every hand-over, so
/// no descriptor is held between them; the descriptor is close-on-exec.
///
/// Failure: allocation failures end in KivClMemoryManager::outOfMemory,
/// which throws the fatal exception and never returns normally; whatever the
/// constructor had allocated is freed first. Nothing else fails: a bad buffer
/// size is clamped, an unknown detail text means OFF, errors on the trace
/// file are reported on standard output in verbose mode only and tracing
/// goes on, and a trace file that cannot be removed for autoclear stays.
///
/// Threads: add() and flush() may be called from several threads at once
/// (the buffer manager serialises them under the trace's lock; each entry
/// reaches the file whole). Everything else, construction, destruction,
/// activate(), setFormatString() and the compression statistics, is not
/// synchronised: use it while no other thread uses the environment.
#ifndef KIV_TRACESETTINGS_HPP
#define KIV_TRACESETTINGS_HPP

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "kiv_export.hpp"
#include "kiv_filename.hpp"
#include "kiv_tracebuffer.hpp"
#include "kiv_tracefilter.hpp"

class KivClTraceEntry;

/// Settings flag: the texts of an entry are stored compressed.
inline constexpr std::uint32_t KIV_TRACE_FLAG_COMPRESS = 1;
/// Settings flag: the ring is appended to the trace file on overflow and flush.
inline constexpr std::uint32_t KIV_TRACE_FLAG_AUTOSAVE = 2;
/// Settings flag: the trace file is removed when a trace is made (only
/// together with autosave, and not for a trace made with keep file).
inline constexpr std::uint32_t KIV_TRACE_FLAG_AUTOCLEAR = 4;
/// Settings flag: every entry is flushed as soon as it is written.
inline constexpr std::uint32_t KIV_TRACE_FLAG_AUTOFLUSH = 8;
/// Settings flag: the settings and every file hand-over are reported on
/// standard output.
inline constexpr std::uint32_t KIV_TRACE_FLAG_VERBOSE = 16;

/// The signature of a settings record.
inline constexpr std::uint32_t KIV_TRACE_SETTINGS_SIGNATURE = 0x4B49;
/// The flags of a fresh settings record: compression and autosave.
inline constexpr std::uint32_t KIV_TRACE_SETTINGS_DEFAULT_FLAGS =
    KIV_TRACE_FLAG_COMPRESS | KIV_TRACE_FLAG_AUTOSAVE;

/// The settings record, in this order and with no padding: signature, flag
/// word, filter (52 bytes in all).
struct _KivStTraceSettings {
  std::uint32_t ulSignature;  ///< KIV_TRACE_SETTINGS_SIGNATURE
  std::uint32_t ulFlags;      ///< KIV_TRACE_FLAG_ bits
  KivClTraceFilter clFilter;  ///< what is recorded
};

/// The settings of a trace: a pointer to a settings record, which lies
/// either inside this object or in memory the caller gives. Construction
/// always writes a fresh record (init() and a default filter), also over
/// caller memory that held one before. Not copyable: a copy would share or
/// lose the record.
class KIV_EXPORT KivClTraceSettings {
 public:
  /// Bytes a caller must provide for a record placed in its memory.
  static constexpr std::size_t RECORD_SIZE = sizeof(_KivStTraceSettings);

  /// The record lies inside this object.
  KivClTraceSettings() noexcept;
  /// The record is placed at `record`, which must hold RECORD_SIZE bytes,
  /// be aligned for 32-bit words and outlive this object; the caller keeps
  /// ownership of the memory. A null pointer means the record inside this
  /// object.
  explicit KivClTraceSettings(void* record) noexcept;
  KivClTraceSettings(const KivClTraceSettings&) = delete;
  KivClTraceSettings& operator=(const KivClTraceSettings&) = delete;

  /// Writes the signature and sets the flags to exactly
  /// KIV_TRACE_SETTINGS_DEFAULT_FLAGS (the filter is left as it is).
  void init() noexcept;

  /// The signature word of the record.
  std::uint32_t getSignature() const noexcept { return m_pRecord->ulSignature; }
  /// The flag word.
  std::uint32_t getFlags() const noexcept { return m_pRecord->ulFlags; }
  /// Replaces the flag word.
  void setFlags(std::uint32_t flags) noexcept { m_pRecord->ulFlags = flags; }
  /// Sets the given bits (bitwise OR); no bit is cleared.
  void addFlags(std::uint32_t flags) noexcept { m_pRecord->ulFlags |= flags; }
  /// True when every bit of `flag` is set.
  bool hasFlag(std::uint32_t flag) const noexcept { return (m_pRecord->ulFlags & flag) == flag; }

  /// The filter inside the record.
  KivClTraceFilter& getFilter() noexcept { return m_pRecord->clFilter; }
  /// The filter inside the record.
  const KivClTraceFilter& getFilter() const noexcept { return m_pRecord->clFilter; }

  /// The record itself (inside this object or in the caller's memory).
  const _KivStTraceSettings* getRecord() const noexcept { return m_pRecord; }

 private:
  _KivStTraceSettings* m_pRecord;
  _KivStTraceSettings m_stRecord;
};

/// The settings, buffer, buffer manager, file name and format string of
/// one trace key; itself the resource key "---:<key>:<instance>" whose lock
/// guards the buffer. See the banner.
///
/// The variables, read once by the constructor, in this order (KEY is the
/// key with its ASCII letters upper-cased; "enabled" means "ON", "YES",
/// "TRUE" or "1" in any case):
/// ~~~
///   KEY_TRACE_ACTIVE     enabled: the trace is active (unset: inactive)
///   KEY_TRACE_DETAIL     "HIGH..." 3, "MED..." 2, "LOW..." 1, else 0 (unset: 1)
///   KEY_TRACE_AUTOSAVE   enabled: flag autosave (on by default anyway)
///   KEY_TRACE_AUTOFLUSH  enabled: flag autoflush
///   KEY_TRACE_AUTOCLEAR  enabled: flag autoclear
///   KEY_TRACE_COMPRESS   enabled: flag compression (on by default anyway)
///   KEY_TRACE_COMPSET    non-empty: only the listed component ids
///   KEY_TRACE_BUFSIZE    kilobytes, clamped to 4096 .. 16,777,216 bytes
///                        (unset: 65535 bytes, not clamped)
///   KEY_TRACE_FILE       the trace file (unset: <tmp>/<key>trace.trc)
///   KEY_TRACE_FORMAT     the format string (unset: DEFAULT_FORMAT)
///   KEY_TRACE_VERBOSE    enabled: flag verbose, then the settings report
/// ~~~
/// Names longer than the 40 characters an environment variable name may
/// have are never set, so a key of more than 24 characters reads defaults
/// for the longer suffixes.
class KIV_EXPORT KivClTraceEnvironment : public KivClResourceKeySemaphore {
 public:
  /// Characters kept of a format string (plus the terminating zero).
  static constexpr std::size_t FORMAT_STRING_MAX = 512;
  /// Buffer size when the size variable is not set (deliberately not a
  /// multiple of 1024, and not raised to MIN_BUFFER_SIZE).
  static constexpr std::uint32_t DEFAULT_BUFFER_SIZE = 65535;
  /// Smallest buffer size taken from the size variable.
  static constexpr std::uint32_t MIN_BUFFER_SIZE = 4096;
  /// Largest buffer size taken from the size variable.
  static constexpr std::uint32_t MAX_BUFFER_SIZE = 16777216;
  /// The instance used when none is given.
  static constexpr const char* DEFAULT_INSTANCE = "KIVTRACEINSTANCE0";
  /// The format string used when the format variable is not set.
  static constexpr const char* DEFAULT_FORMAT =
      "%f%n   P: %p, T: %s, D: %l, C: %c%n   Data: %m (%x: %d%n)";

  /// Reads the settings of `key` (null is taken as the empty key) from the
  /// environment, allocates a zeroed buffer of the settled size with a
  /// fresh buffer manager over it and, with autosave, installs
  /// kivTraceBufferOverflowHandler. Then, only with autosave and autoclear
  /// both set and `keepFile` false, removes the trace file when it is a
  /// regular file (a directory, device, pipe or symbolic link named by the
  /// file variable is never touched; other failures to remove are
  /// ignored). With verbose set, writes the settings report (thirteen lines
  /// "[KIV: TRACE: <label><value>]") to standard output. `instance` null
  /// means DEFAULT_INSTANCE. Throws only from outOfMemory (see the banner).
  KivClTraceEnvironment(const char* key, const char* instance, bool keepFile);
  /// Flushes (pending bytes reach the trace file through the handler),
  /// removes the handler, then frees the buffer, the manager and the
  /// settings.
  ~KivClTraceEnvironment() override;
  KivClTraceEnvironment(const KivClTraceEnvironment&) = delete;
  KivClTraceEnvironment& operator=(const KivClTraceEnvironment&) = delete;

  /// Reads the variables of `key` into the settings, the active flag, the
  /// buffer size, the file name and the format string (see the class
  /// comment). Called once by the constructor. Calling it again reads the
  /// variables again (flags are only ever added) but keeps the buffer and
  /// its size.
  void determineSettingsFromEnvVars(const char* key);

  /// Switches the trace on; there is no way to switch it off again.
  void activate() noexcept { m_bActive = true; }
  /// Whether the trace is active.
  bool isActive() const noexcept { return m_bActive; }

  /// Writes the entry into the buffer; with autoflush, flushes at once.
  void add(const KivClTraceEntry& entry);
  /// Hands the bytes written since the last hand-over to the handler (to
  /// the trace file with autosave; without it nothing happens).
  void flush();

  /// Size of the buffer's data area, read from the buffer header: the
  /// buffer size less its 48-byte header.
  unsigned long getBufferSize() const noexcept;
  /// The whole buffer size in bytes, as settled from the size variable.
  std::uint32_t getAllocatedBufferSize() const noexcept { return m_ulBufferSize; }

  /// Copies at most FORMAT_STRING_MAX characters of `format` and always
  /// terminates the copy; null gives the empty text.
  void setFormatString(const char* format) noexcept;
  /// The format string (owned by the environment).
  const char* getFormatString() const noexcept { return m_achFormatString; }

  /// The trace file name.
  const KivClFilenameABase& getFileName() const noexcept { return m_clFileName; }
  /// The id of the process that made the environment.
  std::uint32_t getProcessId() const noexcept { return m_ulProcessId; }
  /// The settings (flags and the recording filter).
  KivClTraceSettings& getSettings() noexcept { return *m_pclSettings; }
  /// The settings (flags and the recording filter).
  const KivClTraceSettings& getSettings() const noexcept { return *m_pclSettings; }
  /// The buffer manager over the trace buffer.
  KivClTraceBufferManager& getBufferManager() noexcept { return *m_pclBufferManager; }
  /// Whether the buffer lies in memory shared with other processes; always
  /// false in this library.
  bool isSharedMemory() const noexcept { return m_bSharedMemory; }
  /// The constructor's keep-file argument.
  bool isKeepFile() const noexcept { return m_bKeepFile; }

  /// Adds the two lengths to the running totals (allowed on a const
  /// environment: the statistics are not part of its settings). Entries
  /// made in several threads at once may add at the same time: the totals
  /// are atomic, each added on its own (a reader may see one total of an
  /// entry before the other).
  void recordCompressionRate(unsigned long uncompressedLength,
                             unsigned long storedLength) const noexcept;
  /// Total stored length divided by total uncompressed length; 0.0 when
  /// either total is 0.
  float getCompressionRate() const noexcept;
  /// The running total of uncompressed lengths.
  std::uint64_t getUncompressedTotal() const noexcept {
    return m_ullUncompressedTotal.load(std::memory_order_relaxed);
  }
  /// The running total of stored lengths.
  std::uint64_t getStoredTotal() const noexcept {
    return m_ullStoredTotal.load(std::memory_order_relaxed);
  }

 private:
  void writeSettingsReport(const char* key) const;
  void clearTraceFile() const;
  void release() noexcept;

  KivClTraceBufferManager* m_pclBufferManager;
  KivClTraceSettings* m_pclSettings;
  std::uint32_t m_ulBufferSize;
  std::uint32_t m_ulProcessId;
  KivClFilenameABase m_clFileName;
  char m_achFormatString[FORMAT_STRING_MAX + 1];
  char* m_pchBuffer;
  bool m_bActive;
  bool m_bSharedMemory;
  bool m_bKeepFile;
  mutable std::atomic<std::uint64_t> m_ullUncompressedTotal;
  mutable std::atomic<std::uint64_t> m_ullStoredTotal;
};

/// The autosave handler: appends the handed-over bytes to the trace file of
/// the environment given as the callback's user data (null user data does
/// nothing). The file is opened (created with mode 0666 less the umask,
/// appending, close-on-exec, never blocking on a pipe nor becoming the
/// controlling terminal) and closed on every call. The first part, then the
/// second, is written once each; partial writes are not retried. With the
/// verbose flag it reports on standard output:
/// ~~~
///   [KIV: TRACE: could not open: <file> (errno: <n>)]        and returns
///   [KIV: TRACE: writing file: <file>]
///   [KIV: TRACE: file exists with size: <bytes>]             when not empty
///   [KIV: TRACE: bytes written: <total> file status: <close result>]
/// ~~~
/// where a failed write adds its result (-1) to the total. Errors never
/// reach the caller.
KIV_EXPORT void kivTraceBufferOverflowHandler(const _KivStTraceBufferCallBackInfo& info);

#endif
