/// \file
/// KIV Library: trace resource keys, the trace buffer access guard and the
/// trace buffer manager.
///
/// Trace entries of one trace key are written into one ring buffer. A
/// resource key names the trace's resources: a name of at most 255
/// characters built from a type, a key and an optional instance, "cleaned" so
/// that it holds only the 65 characters of the name alphabet
/// `a-z A-Z 0-9 _ - @` and ":" (see KivClResourceKeyABase). The name of a
/// trace is what a verbose trace reports, and what a port that shares a
/// buffer between processes would name its semaphore after.
///
/// The buffer manager works on caller memory: a buffer of N bytes starts with
/// a 48-byte header (_KivStTraceBufferHeader) followed by the data area of
/// N - 48 bytes, which is written as a ring. Whenever the ring has made a
/// full turn, and on flush(), the bytes not yet handed over are passed to an
/// overflow callback (the trace environment's autosave handler) before they
/// are overwritten. The positions in the header are addresses, so a header is
/// valid only at the address where it was set up.
///
/// Ownership: the manager neither owns nor frees the buffer; the resource key
/// given to the manager is referenced, not copied, and must outlive it.
/// Failure: nothing here reports an error or throws. Names that would not fit
/// the 256-byte name are cut at 255 characters; callers keep names shorter.
///
/// Threads. The access guard (KivClTraceBufferAccessSemaphore) takes a real
/// process-local lock that belongs to the resource key it is built from. The
/// buffer manager takes it around every access it makes on its own behalf:
/// writing an entry (write(const KivClTraceEntry&)) and flush(). So, for one
/// manager:
///   - write(const KivClTraceEntry&) and flush() may be called from several
///     threads at once; each entry (record and data) lands in the ring as one
///     contiguous piece, never interleaved with another thread's, and every
///     hand-over to the callback runs under the lock, so the callback sees
///     whole entries in the order they were written and is never run twice
///     at once;
///   - the raw ring write write(const char*, unsigned long) and overflow()
///     take nothing themselves: call them only while holding the guard;
///   - construction, destruction and installing or removing the callback are
///     not synchronised: do them while no other thread uses the manager;
///   - the lock is recursive for the thread that holds it, so a callback that
///     comes back into the same manager on its own thread behaves as it would
///     without the lock instead of deadlocking.
/// As with any process-local lock, a child made by fork() while another
/// thread writes an entry must not trace before it calls exec.
/// A single-threaded caller sees exactly the same bytes, positions and
/// callbacks as without the lock. Resource keys themselves are plain values:
/// one thread at a time per object (the guard only reads the key).
///
/// The lock is a futex-based mutex: one compare-and-swap to take and one
/// exchange to give back when uncontended; a contended thread sleeps in the
/// kernel until the holder wakes it. It was measured against a spinning lock
/// (test-and-test-and-set with pause, yielding after 100 spins) with
/// bench/trace_lock_bench.cpp on a shared 2-core machine, CPU time per
/// locked 64-byte write (medians of 3):
///   - one thread, uncontended: futex 7.7 ns, spinning 4.3 ns (the futex
///     lock's release is an atomic exchange, the spinning lock's a store);
///   - 4 threads, writes only: futex 13.8 ns, spinning 6.7 ns;
///   - 4 threads, and every 64th write appends 4 KB to a file under the lock
///     (open, write, close, as the autosave handler does): futex 157 ns
///     (294 ns wall), spinning 243 ns (445 ns wall).
/// The spinning lock is cheaper while the lock is held only for a copy, but
/// whenever the holder is in the file system the spinners burn the cores
/// that the holder and the application need; the futex lock costs about 3 ns
/// more per entry when uncontended and never burns a core. Tracing with
/// autosave is the case that contends, so the futex lock is used.
#ifndef KIV_TRACEBUFFER_HPP
#define KIV_TRACEBUFFER_HPP

#include <atomic>
#include <cstdint>

#include "kiv_export.hpp"

class KivClTraceEntry;

/// Base of all resource keys: a name of the form
/// "<type>:<key>[:<instance>]", each part cleaned (below), with a pointer to
/// the user part (everything after the type and its ":").
///
/// Cleaning maps each character: "/" becomes ":"; a character of the name
/// alphabet `abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-@`
/// stays; any other character c becomes the alphabet character at index
/// (c as an unsigned byte) modulo 65. The mapping is many-to-one on purpose
/// (a space becomes "G", "?" becomes "-", "." becomes "U"): names only need
/// to be valid, not reversible.
class KIV_EXPORT KivClResourceKeyABase {
 public:
  /// Size of the name buffer, terminator included.
  static constexpr unsigned long NAME_SIZE = 256;

  virtual ~KivClResourceKeyABase();

  /// Appends ":" when the name is not empty, then the cleaned part, and
  /// terminates the name. A null part appends nothing (not even the ":").
  /// Characters beyond the 255th of the name are dropped.
  void add(const char* part) noexcept;

  /// True when the first getNameLength() bytes of `name` equal this key's
  /// name. A longer text that begins with the name also matches; a null
  /// text never matches; an empty key name matches every text.
  bool matches(const char* name) const noexcept;

  /// The whole name, zero-terminated, owned by the key.
  const char* getName() const noexcept { return m_achName; }
  /// Number of characters in the name.
  std::uint64_t getNameLength() const noexcept { return m_ulNameLength; }
  /// The user part of the name: what follows the type and its ":".
  const char* getUserPart() const noexcept { return m_pszUserPart; }

 protected:
  /// Builds the name from the type, the key and, when not null, the
  /// instance. Null type or key parts are left out.
  KivClResourceKeyABase(const char* type, const char* key, const char* instance) noexcept;
  /// Copies the name; the user-part pointer points into the new copy.
  KivClResourceKeyABase(const KivClResourceKeyABase& other) noexcept;
  /// Copies the length and all 256 bytes of the name and sets the user-part
  /// pointer to the same position within this key's own copy.
  KivClResourceKeyABase& operator=(const KivClResourceKeyABase& other) noexcept;

 private:
  std::uint64_t m_ulNameLength;  ///< characters in m_achName
  char m_achName[NAME_SIZE];     ///< the name, zero-terminated
  char* m_pszUserPart;           ///< into m_achName, after the type and ":"
};

namespace kiv {
namespace detail {

/// The process-local lock of a trace buffer: a futex-based mutex, recursive
/// for the thread that holds it. Not copyable; zero-initialised it is free.
class KIV_EXPORT TraceBufferLock {
 public:
  TraceBufferLock() noexcept = default;
  TraceBufferLock(const TraceBufferLock&) = delete;
  TraceBufferLock& operator=(const TraceBufferLock&) = delete;

  /// Takes the lock; sleeps while another thread holds it. Taking it again
  /// on the thread that holds it only counts.
  void lock() noexcept;
  /// Gives back one take; wakes a waiter when the last take is given back.
  /// Only the holding thread may call it.
  void unlock() noexcept;

 private:
  void lockContended() noexcept;
  void wakeWaiter() noexcept;

  /// 0 free, 1 held, 2 held with (possible) sleepers. The futex word.
  std::atomic<std::uint32_t> m_state{0};
  /// pthread_self() of the holder, 0 when free. Only ever compared with the
  /// reading thread's own id, so a stale value can never match falsely.
  std::atomic<unsigned long> m_owner{0};
  /// Extra takes by the holder; touched only by the holder.
  std::uint32_t m_depth = 0;
};

}  // namespace detail
}  // namespace kiv

/// A resource key of type "???" (so its name begins with "---:"). It names
/// a trace's semaphore and carries the process-local lock that the trace
/// buffer access guard takes. The trace environment is such a key, made from
/// the trace key and the instance (the environment supplies the default
/// instance "KIVTRACEINSTANCE0"): for the key myapp its name is
/// "---:myapp:KIVTRACEINSTANCE0" and its user part "myapp:KIVTRACEINSTANCE0".
///
/// Copying copies the name, never the lock: every key object has a lock of
/// its own, free after construction.
class KIV_EXPORT KivClResourceKeySemaphore : public KivClResourceKeyABase {
 public:
  /// The key "???:<key>[:<instance>]"; the instance may be null.
  KivClResourceKeySemaphore(const char* key, const char* instance) noexcept;
  /// Copies the name; the copy has a lock of its own, free.
  KivClResourceKeySemaphore(const KivClResourceKeySemaphore& other) noexcept;
  /// Copies the name only; this key's lock is left as it is (do not assign
  /// to a key whose lock is held).
  KivClResourceKeySemaphore& operator=(const KivClResourceKeySemaphore& other) noexcept;
  ~KivClResourceKeySemaphore() override;

 private:
  friend class KivClTraceBufferAccessSemaphore;
  mutable kiv::detail::TraceBufferLock m_lock;
};

/// Scoped guard of a trace buffer: the constructor takes the lock of the
/// given key (waiting for other threads), the destructor gives it back, on
/// every path out of the scope. Recursive on one thread. The key must
/// outlive the guard. Not copyable.
class KIV_EXPORT KivClTraceBufferAccessSemaphore {
 public:
  /// Takes the lock of `key`, sleeping while another thread holds it; on the
  /// thread that holds it already, only counts one more take.
  explicit KivClTraceBufferAccessSemaphore(const KivClResourceKeySemaphore& key) noexcept
      : m_rLock(key.m_lock) {
    m_rLock.lock();
  }
  ~KivClTraceBufferAccessSemaphore() { m_rLock.unlock(); }
  KivClTraceBufferAccessSemaphore(const KivClTraceBufferAccessSemaphore&) = delete;
  KivClTraceBufferAccessSemaphore& operator=(const KivClTraceBufferAccessSemaphore&) = delete;

 private:
  kiv::detail::TraceBufferLock& m_rLock;
};

/// What the overflow callback is given: the unsaved bytes, in at most two
/// parts (the second when the ring wrapped). The parts point into the
/// buffer and are valid only during the call.
struct _KivStTraceBufferCallBackInfo {
  void* pvUserData;                  ///< the user data installed with the callback
  const char* pchFirstPart;          ///< start of the oldest unsaved bytes
  std::uint64_t ulFirstPartLength;   ///< bytes in the first part
  const char* pchSecondPart;         ///< the part after the wrap, or null
  std::uint64_t ulSecondPartLength;  ///< its length, or 0
};

/// The 48-byte header at the start of a trace buffer, in the machine's own
/// byte order. The positions are addresses in this process.
struct _KivStTraceBufferHeader {
  char achMagic[4];          ///< "KIVT"
  std::uint32_t ulReserved;  ///< never written (zero in a fresh buffer)
  std::uint64_t ulDataSize;  ///< N - 48
  char* pchFirst;            ///< first data byte: buffer + 48
  char* pchLast;             ///< last data byte: first + data size - 1
  char* pchSave;             ///< oldest byte not yet handed to the callback
  char* pchWrite;            ///< where the next byte is written
};

/// The overflow callback's type.
using KivPfuTraceBufferCallBack = void (*)(const _KivStTraceBufferCallBackInfo& info);

/// Writes trace entries into a ring buffer in caller memory and hands each
/// full turn of the ring, and the rest on flush(), to an overflow callback.
///
/// The buffer must be at least 4096 bytes (the trace environment never makes
/// a smaller one; sizes below 49 are not checked). A buffer whose first four
/// bytes are not "KIVT" gets a fresh header (empty ring); one that already
/// begins with "KIVT" is taken over with its positions as they are.
/// Without a callback the ring is simply overwritten on its next turn and
/// the buffer holds the most recent bytes only.
class KIV_EXPORT KivClTraceBufferManager {
 public:
  /// Size of the buffer header in bytes.
  static constexpr unsigned long HEADER_SIZE = 48;

  /// A manager over `size` bytes at `buffer`, for the trace named by `key`.
  /// No callback is installed; nothing is unsaved.
  KivClTraceBufferManager(const KivClResourceKeySemaphore& key, char* buffer,
                          unsigned long size) noexcept;
  /// Does not free the buffer and does not flush.
  virtual ~KivClTraceBufferManager();
  KivClTraceBufferManager(const KivClTraceBufferManager&) = delete;
  KivClTraceBufferManager& operator=(const KivClTraceBufferManager&) = delete;

  /// Writes one entry under the guard: its record (getRecordLength() bytes),
  /// then its data bytes (getDataLength()), and marks the buffer unsaved.
  /// An entry must be shorter than the data area (entries clip their data
  /// to the data area size; see KivClTraceEntry).
  void write(const KivClTraceEntry& entry);

  /// The raw ring write; the caller holds the guard. Writes `length` bytes
  /// at the write position and wraps at the end of the data area: a write
  /// that reaches the last byte exactly, or runs past it, first calls
  /// overflow() with the ring full up to the last byte, then continues at the
  /// first byte. A length of 0 does nothing. `length` must not exceed the
  /// data area: the rest after the wrap is copied without a further check.
  /// Whatever the callback throws passes through, leaving the write position
  /// one past the last byte.
  void write(const char* bytes, unsigned long length);

  /// Hands the unsaved bytes (save position up to the write position,
  /// wrapping at the end) to the callback and moves the save position to the
  /// write position. Without a callback it does nothing at all. The caller
  /// holds the guard.
  void overflow();

  /// Under the guard: if an entry was written since the last flush, calls
  /// overflow() and clears the unsaved mark; otherwise does nothing.
  void flush();

  /// Installs (or, with null, removes) the overflow callback and the user
  /// data it is handed. Not synchronised: install while no thread traces.
  void setCallBack(KivPfuTraceBufferCallBack callback, void* userData) noexcept {
    m_pfuCallBack = callback;
    m_pvUserData = userData;
  }
  /// The installed callback, or null.
  KivPfuTraceBufferCallBack getCallBack() const noexcept { return m_pfuCallBack; }
  /// The user data installed with the callback.
  void* getUserData() const noexcept { return m_pvUserData; }

  /// Size of the data area (N - 48), read from the buffer header.
  unsigned long getDataSize() const noexcept {
    return static_cast<unsigned long>(m_pHeader->ulDataSize);
  }
  /// The buffer header (the start of the buffer).
  const _KivStTraceBufferHeader* getHeader() const noexcept { return m_pHeader; }
  /// True when an entry was written since the last flush.
  bool isUnsaved() const noexcept { return m_bUnsaved; }
  /// The resource key given at construction.
  const KivClResourceKeySemaphore& getResourceKey() const noexcept { return m_rKey; }

 private:
  const KivClResourceKeySemaphore& m_rKey;
  _KivStTraceBufferHeader* m_pHeader;
  KivPfuTraceBufferCallBack m_pfuCallBack;
  void* m_pvUserData;
  bool m_bUnsaved;
};

#endif
