// The trace environment: settings from environment variables, the trace
// buffer and its manager, the settings report and the autosave handler.

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "kiv_envvar.hpp"
#include "kiv_file.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_process.hpp"
#include "kiv_tracesettings.hpp"

namespace {

constexpr const char gs_szReportPrefix[] = "[KIV: TRACE: ";

/// Raw memory from the memory manager's allocator; when it yields nothing,
/// the out-of-memory report names this file and the caller's line.
void* allocateOrFail(std::size_t size, std::int32_t line) {
  void* p = KivClMemoryManager::cv_pfuAllocatorCallback != nullptr
                ? KivClMemoryManager::cv_pfuAllocatorCallback(size)
                : nullptr;
  if (p == nullptr) KivClMemoryManager::outOfMemory("trace/kiv_traceenv.cpp", line, size);
  return p;
}

/// The buffer size for the value of the size variable: the leading number
/// (strtol) in kilobytes, clamped. The clamps are applied to the number
/// before it is multiplied, so that huge values cannot overflow.
std::uint32_t bufferSizeFromKilobytes(const char* value) {
  const long kilobytes = std::strtol(value, nullptr, 10);
  constexpr long kMinKilobytes = KivClTraceEnvironment::MIN_BUFFER_SIZE / 1024;
  constexpr long kMaxKilobytes = KivClTraceEnvironment::MAX_BUFFER_SIZE / 1024;
  if (kilobytes <= kMinKilobytes) return KivClTraceEnvironment::MIN_BUFFER_SIZE;
  if (kilobytes >= kMaxKilobytes) return KivClTraceEnvironment::MAX_BUFFER_SIZE;
  return static_cast<std::uint32_t>(kilobytes) * 1024u;
}

void reportLine(const char* label, const char* value) {
  std::printf("%s%s%s]\n", gs_szReportPrefix, label, value);
}

void reportLine(const char* label, unsigned long long value) {
  std::printf("%s%s%llu]\n", gs_szReportPrefix, label, value);
}

/// Writes one part of a hand-over; returns what write() returned (0 for an
/// empty part, which is not written at all).
long long writePart(int fd, const char* bytes, std::uint64_t length) {
  if (length == 0) return 0;
  return static_cast<long long>(::write(fd, bytes, static_cast<std::size_t>(length)));
}

}  // namespace

KivClTraceEnvironment::KivClTraceEnvironment(const char* key, const char* instance, bool keepFile)
    : KivClResourceKeySemaphore(key, instance != nullptr ? instance : DEFAULT_INSTANCE),
      m_pclBufferManager(nullptr),
      m_pclSettings(nullptr),
      m_ulBufferSize(0),
      m_ulProcessId(KivClProcessProperty().getProcessId()),
      m_clFileName(),
      m_achFormatString(),
      m_pchBuffer(nullptr),
      m_bActive(false),
      m_bSharedMemory(false),
      m_bKeepFile(keepFile),
      m_ullUncompressedTotal(0),
      m_ullStoredTotal(0) {
  // outOfMemory throws; whatever was allocated before must not leak.
  try {
    m_pclSettings = new (allocateOrFail(sizeof(KivClTraceSettings), __LINE__)) KivClTraceSettings();
    determineSettingsFromEnvVars(key);
    m_pchBuffer = static_cast<char*>(allocateOrFail(m_ulBufferSize, __LINE__));
    std::memset(m_pchBuffer, 0, m_ulBufferSize);
    m_bSharedMemory = false;
    // The buffer is zero, so the manager writes a fresh header.
    m_pclBufferManager = new (allocateOrFail(sizeof(KivClTraceBufferManager), __LINE__))
        KivClTraceBufferManager(*this, m_pchBuffer, m_ulBufferSize);
  } catch (...) {
    release();
    throw;
  }
  if (m_pclSettings->hasFlag(KIV_TRACE_FLAG_AUTOSAVE)) {
    m_pclBufferManager->setCallBack(kivTraceBufferOverflowHandler, this);
    // Clearing is tied to autosave on purpose: without autosave nothing
    // would ever be written to the file that autoclear empties.
    if (!m_bKeepFile && m_pclSettings->hasFlag(KIV_TRACE_FLAG_AUTOCLEAR)) clearTraceFile();
  }
}

KivClTraceEnvironment::~KivClTraceEnvironment() {
  if (m_pclBufferManager != nullptr) {
    m_pclBufferManager->flush();
    if (m_pclSettings->hasFlag(KIV_TRACE_FLAG_AUTOSAVE))
      m_pclBufferManager->setCallBack(nullptr, nullptr);
  }
  release();
}

void KivClTraceEnvironment::release() noexcept {
  if (!m_bSharedMemory) KivClMemoryManager::free(m_pchBuffer);
  m_pchBuffer = nullptr;
  if (m_pclBufferManager != nullptr) {
    m_pclBufferManager->~KivClTraceBufferManager();
    KivClMemoryManager::free(m_pclBufferManager);
    m_pclBufferManager = nullptr;
  }
  if (m_pclSettings != nullptr) {
    m_pclSettings->~KivClTraceSettings();
    KivClMemoryManager::free(m_pclSettings);
    m_pclSettings = nullptr;
  }
}

void KivClTraceEnvironment::determineSettingsFromEnvVars(const char* key) {
  if (key == nullptr) key = "";
  // Only the variable names are upper-cased; the file name and the
  // resource key keep the key as it was given.
  std::string upperKey(key);
  for (char& c : upperKey) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  auto nameOf = [&upperKey](const char* suffix) { return upperKey + suffix; };

  KivClEnvironmentVariableQueryOnly variable(nameOf("_TRACE_ACTIVE").c_str());
  m_bActive = variable.hasValueEnabled();

  KivClTraceFilter& filter = m_pclSettings->getFilter();
  variable.setNewName(nameOf("_TRACE_DETAIL").c_str());
  if (const char* value = variable.getValue()) filter.setDetail(value);

  variable.setNewName(nameOf("_TRACE_AUTOSAVE").c_str());
  if (variable.hasValueEnabled()) m_pclSettings->addFlags(KIV_TRACE_FLAG_AUTOSAVE);
  variable.setNewName(nameOf("_TRACE_AUTOFLUSH").c_str());
  if (variable.hasValueEnabled()) m_pclSettings->addFlags(KIV_TRACE_FLAG_AUTOFLUSH);
  variable.setNewName(nameOf("_TRACE_AUTOCLEAR").c_str());
  if (variable.hasValueEnabled()) m_pclSettings->addFlags(KIV_TRACE_FLAG_AUTOCLEAR);
  variable.setNewName(nameOf("_TRACE_COMPRESS").c_str());
  if (variable.hasValueEnabled()) m_pclSettings->addFlags(KIV_TRACE_FLAG_COMPRESS);

  // A list names the only components traced; an empty value changes nothing.
  variable.setNewName(nameOf("_TRACE_COMPSET").c_str());
  const char* compSet = variable.getValue();
  if (compSet != nullptr && *compSet != '\0') {
    filter.disableAllComponentIds();
    filter.enableComponentIds(compSet);
  }

  variable.setNewName(nameOf("_TRACE_BUFSIZE").c_str());
  const char* bufSize = variable.getValue();
  // Once the buffer exists its size is fixed; a later call cannot resize it.
  if (m_pchBuffer == nullptr) {
    m_ulBufferSize = bufSize != nullptr ? bufferSizeFromKilobytes(bufSize) : DEFAULT_BUFFER_SIZE;
  }

  variable.setNewName(nameOf("_TRACE_FILE").c_str());
  if (const char* file = variable.getValue()) {
    m_clFileName = KivClFilenameABase(file);
  } else {
    const std::string name = std::string(key) + "trace";
    m_clFileName = KivClFilenameABase(kivGetTmpDirectory(), name.c_str(), "trc");
  }

  variable.setNewName(nameOf("_TRACE_FORMAT").c_str());
  const char* format = variable.getValue();
  setFormatString(format != nullptr ? format : DEFAULT_FORMAT);

  variable.setNewName(nameOf("_TRACE_VERBOSE").c_str());
  if (variable.hasValueEnabled()) {
    m_pclSettings->addFlags(KIV_TRACE_FLAG_VERBOSE);
    writeSettingsReport(key);
  }
}

void KivClTraceEnvironment::writeSettingsReport(const char* key) const {
  const KivClTraceSettings& settings = *m_pclSettings;
  auto bit = [&settings](std::uint32_t flag) { return settings.hasFlag(flag) ? 1ull : 0ull; };
  reportLine("key: ", key);
  reportLine("active: ", m_bActive ? 1ull : 0ull);
  reportLine("resource key: ", getName());
  reportLine("compression: ", bit(KIV_TRACE_FLAG_COMPRESS));
  reportLine("autosave: ", bit(KIV_TRACE_FLAG_AUTOSAVE));
  reportLine("autoflush: ", bit(KIV_TRACE_FLAG_AUTOFLUSH));
  reportLine("autoclear: ", bit(KIV_TRACE_FLAG_AUTOCLEAR));
  reportLine("detail: ", static_cast<unsigned long long>(settings.getFilter().getDetail()));
  reportLine("buffersize: ", static_cast<unsigned long long>(m_ulBufferSize));
  reportLine("process id: ", static_cast<unsigned long long>(m_ulProcessId));
  reportLine("format: ", m_achFormatString);
  reportLine("file: ", m_clFileName.getAsCString());
  reportLine("sharedMemory: ", m_bSharedMemory ? 1ull : 0ull);
  std::fflush(stdout);
}

void KivClTraceEnvironment::clearTraceFile() const {
  // The name may come from the environment: only a regular file is
  // removed. Removing first makes the file writable, which through a
  // symbolic link would change the mode of a file the trace does not own.
  struct stat status {};
  if (::lstat(m_clFileName.getAsCString(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  KivClFile file(m_clFileName);
  (void)file.remove();
}

void KivClTraceEnvironment::add(const KivClTraceEntry& entry) {
  m_pclBufferManager->write(entry);
  if (m_pclSettings->hasFlag(KIV_TRACE_FLAG_AUTOFLUSH)) flush();
}

void KivClTraceEnvironment::flush() { m_pclBufferManager->flush(); }

unsigned long KivClTraceEnvironment::getBufferSize() const noexcept {
  return m_pclBufferManager->getDataSize();
}

void KivClTraceEnvironment::setFormatString(const char* format) noexcept {
  if (format == nullptr) format = "";
  const std::size_t length = ::strnlen(format, FORMAT_STRING_MAX);
  std::memcpy(m_achFormatString, format, length);
  m_achFormatString[length] = '\0';
}

void KivClTraceEnvironment::recordCompressionRate(unsigned long uncompressedLength,
                                                  unsigned long storedLength) const noexcept {
  m_ullUncompressedTotal.fetch_add(uncompressedLength, std::memory_order_relaxed);
  m_ullStoredTotal.fetch_add(storedLength, std::memory_order_relaxed);
}

float KivClTraceEnvironment::getCompressionRate() const noexcept {
  const std::uint64_t uncompressed = getUncompressedTotal();
  const std::uint64_t stored = getStoredTotal();
  if (uncompressed == 0 || stored == 0) return 0.0f;
  return static_cast<float>(static_cast<double>(stored) / static_cast<double>(uncompressed));
}

void kivTraceBufferOverflowHandler(const _KivStTraceBufferCallBackInfo& info) {
  const auto* environment = static_cast<const KivClTraceEnvironment*>(info.pvUserData);
  if (environment == nullptr) return;
  const bool verbose = environment->getSettings().hasFlag(KIV_TRACE_FLAG_VERBOSE);
  const char* fileName = environment->getFileName().getAsCString();

  // The name may come from the environment: a pipe without a reader must
  // not block the traced program, and a terminal must not become its
  // controlling terminal. O_NONBLOCK changes nothing for regular files.
  const int fd =
      ::open(fileName, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666);
  if (fd < 0) {
    const int error = errno;
    if (verbose) {
      std::printf("%scould not open: %s (errno: %d)]\n", gs_szReportPrefix, fileName, error);
      std::fflush(stdout);
    }
    return;
  }
  if (verbose) {
    std::printf("%swriting file: %s]\n", gs_szReportPrefix, fileName);
    struct stat status {};
    if (::fstat(fd, &status) == 0 && status.st_size != 0) {
      std::printf("%sfile exists with size: %lld]\n", gs_szReportPrefix,
                  static_cast<long long>(status.st_size));
    }
  }
  long long total = writePart(fd, info.pchFirstPart, info.ulFirstPartLength);
  total += writePart(fd, info.pchSecondPart, info.ulSecondPartLength);
  const int closeResult = ::close(fd);
  if (verbose) {
    std::printf("%sbytes written: %lld file status: %d]\n", gs_szReportPrefix, total, closeResult);
    std::fflush(stdout);
  }
}
