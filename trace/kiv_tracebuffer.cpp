// The trace buffer manager and the lock behind the buffer access guard.
//
// The ring write is plain memcpy into the data area; the header positions
// are addresses, so no offset arithmetic is needed on the hot path. The lock
// is a three-state futex mutex: taking a free lock is one compare-and-swap,
// giving it back one exchange; only a contended lock enters the kernel.

#include "kiv_tracebuffer.hpp"

#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

#include "kiv_traceentry.hpp"

static_assert(sizeof(_KivStTraceBufferHeader) == KivClTraceBufferManager::HEADER_SIZE,
              "the buffer header is 48 bytes");
static_assert(offsetof(_KivStTraceBufferHeader, ulDataSize) == 8 &&
                  offsetof(_KivStTraceBufferHeader, pchFirst) == 16 &&
                  offsetof(_KivStTraceBufferHeader, pchLast) == 24 &&
                  offsetof(_KivStTraceBufferHeader, pchSave) == 32 &&
                  offsetof(_KivStTraceBufferHeader, pchWrite) == 40,
              "buffer header field offsets");
static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t),
              "the futex word is a plain 32-bit word");

namespace {

constexpr char kMagic[4] = {'K', 'I', 'V', 'T'};

constexpr std::uint32_t kFree = 0;
constexpr std::uint32_t kHeld = 1;
constexpr std::uint32_t kHeldWithWaiters = 2;

long futex(std::atomic<std::uint32_t>* word, int op, std::uint32_t value) noexcept {
  return syscall(SYS_futex, reinterpret_cast<std::uint32_t*>(word), op, value, nullptr, nullptr, 0);
}

}  // namespace

namespace kiv {
namespace detail {

void TraceBufferLock::lock() noexcept {
  const unsigned long self = static_cast<unsigned long>(pthread_self());
  if (m_owner.load(std::memory_order_relaxed) == self) {
    ++m_depth;
    return;
  }
  std::uint32_t expected = kFree;
  if (!m_state.compare_exchange_strong(expected, kHeld, std::memory_order_acquire,
                                       std::memory_order_relaxed)) {
    lockContended();
  }
  m_owner.store(self, std::memory_order_relaxed);
}

void TraceBufferLock::unlock() noexcept {
  if (m_depth != 0) {
    --m_depth;
    return;
  }
  m_owner.store(0, std::memory_order_relaxed);
  if (m_state.exchange(kFree, std::memory_order_release) == kHeldWithWaiters) wakeWaiter();
}

void TraceBufferLock::lockContended() noexcept {
  // Marking the lock "with waiters" before sleeping makes the holder's
  // unlock wake one sleeper; a woken thread marks it again, since other
  // sleepers may remain.
  std::uint32_t state = m_state.exchange(kHeldWithWaiters, std::memory_order_acquire);
  while (state != kFree) {
    futex(&m_state, FUTEX_WAIT_PRIVATE, kHeldWithWaiters);
    state = m_state.exchange(kHeldWithWaiters, std::memory_order_acquire);
  }
}

void TraceBufferLock::wakeWaiter() noexcept { futex(&m_state, FUTEX_WAKE_PRIVATE, 1); }

}  // namespace detail
}  // namespace kiv

KivClTraceBufferManager::KivClTraceBufferManager(const KivClResourceKeySemaphore& key, char* buffer,
                                                 unsigned long size) noexcept
    : m_rKey(key),
      m_pHeader(reinterpret_cast<_KivStTraceBufferHeader*>(buffer)),
      m_pfuCallBack(nullptr),
      m_pvUserData(nullptr),
      m_bUnsaved(false) {
  if (std::memcmp(m_pHeader->achMagic, kMagic, sizeof(kMagic)) == 0) return;  // taken over
  std::memcpy(m_pHeader->achMagic, kMagic, sizeof(kMagic));
  m_pHeader->ulDataSize = size - HEADER_SIZE;
  m_pHeader->pchFirst = buffer + HEADER_SIZE;
  m_pHeader->pchLast = m_pHeader->pchFirst + m_pHeader->ulDataSize - 1;
  m_pHeader->pchSave = m_pHeader->pchFirst;
  m_pHeader->pchWrite = m_pHeader->pchFirst;
}

KivClTraceBufferManager::~KivClTraceBufferManager() = default;

void KivClTraceBufferManager::write(const KivClTraceEntry& entry) {
  KivClTraceBufferAccessSemaphore guard(m_rKey);
  m_bUnsaved = true;
  write(static_cast<const char*>(entry.getRecord()), entry.getRecordLength());
  write(static_cast<const char*>(entry.getData()), entry.getDataLength());
}

void KivClTraceBufferManager::write(const char* bytes, unsigned long length) {
  if (length == 0) return;
  _KivStTraceBufferHeader& header = *m_pHeader;
  const unsigned long room = static_cast<unsigned long>(header.pchLast - header.pchWrite + 1);
  if (length < room) {
    std::memcpy(header.pchWrite, bytes, length);
    header.pchWrite += length;
    return;
  }
  std::memcpy(header.pchWrite, bytes, room);
  header.pchWrite = header.pchLast + 1;
  // The callback runs while the ring is full up to its last byte, so a full
  // turn is handed over in one piece.
  overflow();
  const unsigned long rest = length - room;
  if (rest != 0) std::memcpy(header.pchFirst, bytes + room, rest);
  header.pchWrite = header.pchFirst + rest;
}

void KivClTraceBufferManager::overflow() {
  if (m_pfuCallBack == nullptr) return;
  _KivStTraceBufferHeader& header = *m_pHeader;
  _KivStTraceBufferCallBackInfo info{m_pvUserData, header.pchSave, 0, nullptr, 0};
  if (header.pchSave >= header.pchWrite) {
    info.ulFirstPartLength = static_cast<std::uint64_t>(header.pchLast - header.pchSave + 1);
    info.pchSecondPart = header.pchFirst;
    info.ulSecondPartLength = static_cast<std::uint64_t>(header.pchWrite - header.pchFirst);
  } else {
    info.ulFirstPartLength = static_cast<std::uint64_t>(header.pchWrite - header.pchSave);
  }
  m_pfuCallBack(info);
  header.pchSave = header.pchWrite;
}

void KivClTraceBufferManager::flush() {
  KivClTraceBufferAccessSemaphore guard(m_rKey);
  if (!m_bUnsaved) return;
  overflow();
  m_bUnsaved = false;
}
