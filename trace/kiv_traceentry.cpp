// Trace entries: building the record and reading it back from a file.
//
// The record is built in place in the entry's own area on the caller's
// stack; nothing is allocated and the caller's data are never copied (the
// buffer manager copies them straight into the ring). Fields are stored
// with memcpy because the record has no alignment.

#include "kiv_traceentry.hpp"

#include <cstring>
#include <istream>

#include "kiv_base.hpp"
#include "kiv_process.hpp"
#include "kiv_tracesettings.hpp"

namespace {

constexpr unsigned long kTypeOffset = 0;
constexpr unsigned long kComponentOffset = 1;
constexpr unsigned long kMessageLengthOffset = 2;
constexpr unsigned long kFunctionLengthOffset = 3;
constexpr unsigned long kTimeStampOffset = 4;
constexpr unsigned long kProcessIdOffset = 8;
constexpr unsigned long kThreadIdOffset = 12;
constexpr unsigned long kDataLengthOffset = 16;

constexpr unsigned kTypeMask = 0x1F;
constexpr unsigned kCompressedBit = 0x20;
constexpr unsigned kDetailMask = 0xC0;
constexpr unsigned kDetailShift = 6;

void putWord(char* record, unsigned long offset, std::uint32_t value) noexcept {
  std::memcpy(record + offset, &value, sizeof(value));
}

std::uint32_t getWord(const char* record, unsigned long offset) noexcept {
  std::uint32_t value;
  std::memcpy(&value, record + offset, sizeof(value));
  return value;
}

unsigned char byteAt(const char* record, unsigned long offset) noexcept {
  return static_cast<unsigned char>(record[offset]);
}

/// Compresses a text for the record. The coder may end an escaped character
/// begun just before the limit in a 256th byte, which a one-byte length
/// cannot hold; that character is dropped again. It began at bit 2028, 2030
/// or 2032, so after 254 bytes at most the first bits of its escape code
/// remain, all one bits, and these read as fill.
unsigned long compressText(char* out, const char* text) noexcept {
  const unsigned long stored =
      KivClTraceEntry::compressCString(out, text, KivClTraceEntry::TEXT_LIMIT);
  return stored <= KivClTraceEntry::TEXT_LIMIT ? stored : KivClTraceEntry::TEXT_LIMIT - 1;
}

unsigned long copyText(char* out, const char* text) noexcept {
  const unsigned long length = ::strnlen(text, KivClTraceEntry::TEXT_LIMIT);
  // Eight bytes at a time: texts are short, and the compiler's inline copy
  // of a variable length (a string instruction) costs more than the whole
  // text does.
  unsigned long i = 0;
  for (; i + 8 <= length; i += 8) {
    std::uint64_t word;
    std::memcpy(&word, text + i, sizeof word);
    std::memcpy(out + i, &word, sizeof word);
  }
  for (; i < length; ++i) out[i] = text[i];
  return length;
}

}  // namespace

KivClTraceEntry::KivClTraceEntry(const KivClTraceEnvironment& environment, KivEnTraceDetail detail,
                                 unsigned short componentId, KivEnTraceDataType type,
                                 const char* function, const char* message, const void* data,
                                 unsigned long length)
    : m_rEnvironment(environment), m_ulRecordLength(0), m_pvData(data) {
  const std::uint32_t threadId = KivClThreadProperty().getThreadId();
  if (data == nullptr) {
    length = 0;
    type = KIV_TRACE_TYPE_DATA_NULL;
  }
  const unsigned long dataArea = environment.getBufferSize();
  if (length > dataArea) {
    length = dataArea;
    type = KIV_TRACE_TYPE_DATA_CLIPPED;
  }
  // The first byte as setType and setDetail make it, without their calls.
  m_achRecord[kTypeOffset] =
      static_cast<char>((static_cast<unsigned>(type) & kTypeMask) |
                        ((static_cast<unsigned>(detail) << kDetailShift) & kDetailMask));
  m_achRecord[kComponentOffset] = static_cast<char>(componentId & 0xFFu);
  putWord(m_achRecord, kTimeStampOffset, kivGetTimeStamp());
  putWord(m_achRecord, kProcessIdOffset, environment.getProcessId());
  putWord(m_achRecord, kThreadIdOffset, threadId);
  putWord(m_achRecord, kDataLengthOffset, static_cast<std::uint32_t>(length));

  const char* messageText = message != nullptr ? message : "";
  const char* functionText = function != nullptr ? function : "";
  char* texts = m_achRecord + FIXED_SIZE;
  unsigned long messageLength;
  unsigned long functionLength;
  if (environment.getSettings().hasFlag(KIV_TRACE_FLAG_COMPRESS)) {
    m_achRecord[kTypeOffset] = static_cast<char>(byteAt(m_achRecord, kTypeOffset) | kCompressedBit);
    messageLength = compressText(texts, messageText);
    functionLength = compressText(texts + messageLength, functionText);
  } else {
    messageLength = copyText(texts, messageText);
    functionLength = copyText(texts + messageLength, functionText);
  }
  m_achRecord[kMessageLengthOffset] = static_cast<char>(messageLength);
  m_achRecord[kFunctionLengthOffset] = static_cast<char>(functionLength);
  m_ulRecordLength = FIXED_SIZE + messageLength + functionLength;
}

KivClTraceEntry::KivClTraceEntry(const KivClTraceEnvironment& environment)
    : m_rEnvironment(environment), m_ulRecordLength(0), m_pvData(nullptr) {
  clear();
}

KivClTraceEntry::~KivClTraceEntry() = default;

void KivClTraceEntry::clear() noexcept {
  std::memset(m_achRecord, 0, sizeof(m_achRecord));
  m_ulRecordLength = 0;
  m_pvData = nullptr;
}

KivEnTraceDetail KivClTraceEntry::getDetail() const noexcept {
  return static_cast<KivEnTraceDetail>((byteAt(m_achRecord, kTypeOffset) & kDetailMask) >>
                                       kDetailShift);
}

KivEnTraceDataType KivClTraceEntry::getType() const noexcept {
  return static_cast<KivEnTraceDataType>(byteAt(m_achRecord, kTypeOffset) & kTypeMask);
}

bool KivClTraceEntry::isCompressed() const noexcept {
  return (byteAt(m_achRecord, kTypeOffset) & kCompressedBit) != 0;
}

void KivClTraceEntry::setDetail(KivEnTraceDetail detail) noexcept {
  const unsigned keep = byteAt(m_achRecord, kTypeOffset) & ~kDetailMask & 0xFFu;
  m_achRecord[kTypeOffset] =
      static_cast<char>(keep | ((static_cast<unsigned>(detail) << kDetailShift) & kDetailMask));
}

void KivClTraceEntry::setType(KivEnTraceDataType type) noexcept {
  const unsigned keep = byteAt(m_achRecord, kTypeOffset) & kDetailMask;
  // The type may use all five low bits; the compression bit is not among
  // them and is cleared with them.
  m_achRecord[kTypeOffset] = static_cast<char>(keep | (static_cast<unsigned>(type) & kTypeMask));
}

unsigned short KivClTraceEntry::getComponentId() const noexcept {
  return byteAt(m_achRecord, kComponentOffset);
}

unsigned long KivClTraceEntry::getStoredMessageLength() const noexcept {
  return byteAt(m_achRecord, kMessageLengthOffset);
}

unsigned long KivClTraceEntry::getStoredFunctionLength() const noexcept {
  return byteAt(m_achRecord, kFunctionLengthOffset);
}

std::uint32_t KivClTraceEntry::getTimeStamp() const noexcept {
  return getWord(m_achRecord, kTimeStampOffset);
}

std::uint32_t KivClTraceEntry::getProcessId() const noexcept {
  return getWord(m_achRecord, kProcessIdOffset);
}

std::uint32_t KivClTraceEntry::getThreadId() const noexcept {
  return getWord(m_achRecord, kThreadIdOffset);
}

unsigned long KivClTraceEntry::getDataLength() const noexcept {
  return getWord(m_achRecord, kDataLengthOffset);
}

KivClTraceFileEntry::KivClTraceFileEntry(const KivClTraceEnvironment& environment)
    : KivClTraceEntry(environment),
      m_achFunction{},
      m_ulFunctionLength(0),
      m_achMessage{},
      m_ulMessageLength(0) {}

KivClTraceFileEntry::~KivClTraceFileEntry() = default;

bool KivClTraceFileEntry::read(std::istream& stream) {
  m_achFunction[0] = '\0';
  m_ulFunctionLength = 0;
  m_achMessage[0] = '\0';
  m_ulMessageLength = 0;
  stream.read(m_achRecord, static_cast<std::streamsize>(FIXED_SIZE));
  if (stream.eof() || stream.gcount() != static_cast<std::streamsize>(FIXED_SIZE)) {
    clear();
    return false;
  }
  m_pvData = nullptr;
  const unsigned long messageStored = getStoredMessageLength();
  const unsigned long functionStored = getStoredFunctionLength();
  char* texts = m_achRecord + FIXED_SIZE;
  // Whatever was not read (a file cut short inside the texts) stays zero.
  std::memset(texts, 0, messageStored + functionStored);
  stream.read(texts, static_cast<std::streamsize>(messageStored + functionStored));
  m_ulRecordLength = FIXED_SIZE + messageStored + functionStored;
  if (isCompressed()) {
    m_ulMessageLength = deCompressCString(m_achMessage, texts, messageStored);
    m_rEnvironment.recordCompressionRate(m_ulMessageLength, messageStored);
    m_ulFunctionLength = deCompressCString(m_achFunction, texts + messageStored, functionStored);
    m_rEnvironment.recordCompressionRate(m_ulFunctionLength, functionStored);
  } else {
    std::memcpy(m_achMessage, texts, messageStored);
    m_achMessage[messageStored] = '\0';
    m_ulMessageLength = messageStored;
    std::memcpy(m_achFunction, texts + messageStored, functionStored);
    m_achFunction[functionStored] = '\0';
    m_ulFunctionLength = functionStored;
  }
  return !stream.eof();
}
