// The trace file formatter: reads a trace file entry by entry and writes the
// selected entries as their format string says.
//
// Output is gathered in a pending text and handed to the output stream in
// large pieces (at the latest when a public call returns), because a format
// string makes many small pieces per entry and a stream write each would
// cost more than the formatting itself. Data bytes are read into the work
// area before their entry is shown when they fit it, and otherwise pass
// through it chunk by chunk, so a trace file of any size is formatted in a
// fixed amount of memory.
#include "kiv_traceformat.hpp"

#include <charconv>
#include <cstring>
#include <fstream>
#include <istream>
#include <memory>
#include <ostream>

#include "../foundation/kiv_cloexec.hpp"
#include "kiv_error.hpp"
#include "kiv_exception.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_strep.hpp"

namespace {

/// Short and long names of the data types 0 to 21, as the entries store
/// them.
constexpr const char* gs_shortNames[KivClTraceFormatter::TYPE_COUNT] = {
    "",   "FE", "FX",  "ND",  "DA",  "DA",  "DA",  "p",   "cpsz", "wc", "b",
    "i8", "w8", "i16", "w16", "i32", "w32", "i64", "w64", "f",    "d",  "ld"};
constexpr const char* gs_longNames[KivClTraceFormatter::TYPE_COUNT] = {
    "",
    "FUNCTION ENTRY",
    "FUNCTION EXIT",
    "NO DATA",
    "DATA",
    "DATA",
    "DATA",
    "Address",
    "C string",
    "Unicode",
    "bool",
    "signed integer (8 bits)",
    "unsigned integer (8 bits)",
    "signed integer (16 bits)",
    "unsigned integer (16 bits)",
    "signed integer (32 bits)",
    "unsigned integer (32 bits)",
    "signed integer (64 bits)",
    "unsigned integer (64 bits)",
    "float",
    "double",
    "long double"};

constexpr char gs_hexDigits[] = "0123456789ABCDEF";

/// Size of the read buffer of a trace file opened by format(): large reads
/// keep the system calls per megabyte low.
constexpr std::size_t kFileBufferSize = 1 << 16;
/// Pending output is handed to the stream once it reaches this size.
constexpr std::size_t kPendingFlushSize = 1 << 16;

[[noreturn]] void throwFormatError(long id, KivEnErrorClass errorClass, const char* module,
                                   std::uint32_t line, const char* cause = "") {
  const _KivStUserError error{id, errorClass, KivEnErrorSeverity::NORMAL,
                              KivEnErrorAction::INFORM};
  throw KivClException(error, module, line, cause);
}

#define KIV_FORMAT_ERROR(id, errorClass) \
  throwFormatError((id), (errorClass), KIV_LOCATION, static_cast<std::uint32_t>(__LINE__))

/// Width in bytes of the integral types 11 to 18, 0 for every other type.
unsigned long integerWidth(KivEnTraceDataType type) noexcept {
  switch (type) {
    case KIV_TRACE_TYPE_INT8:
    case KIV_TRACE_TYPE_UINT8:
      return 1;
    case KIV_TRACE_TYPE_INT16:
    case KIV_TRACE_TYPE_UINT16:
      return 2;
    case KIV_TRACE_TYPE_INT32:
    case KIV_TRACE_TYPE_UINT32:
      return 4;
    case KIV_TRACE_TYPE_INT64:
    case KIV_TRACE_TYPE_UINT64:
      return 8;
    default:
      return 0;
  }
}

/// The unsigned value of `width` bytes in the machine's order (little-endian).
std::uint64_t loadUnsigned(const unsigned char* bytes, unsigned long width) noexcept {
  std::uint64_t value = 0;
  for (unsigned long i = width; i > 0; --i) value = (value << 8) | bytes[i - 1];
  return value;
}

/// Whether a code point is a control character that must not reach a
/// terminal as it stands.
bool isControl(std::uint32_t codePoint) noexcept {
  return codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F);
}

}  // namespace

/// The data bytes of one entry: either already in memory (data that fit the
/// work area) or still in the input, read chunk by chunk through the work
/// area. Remembers whether the input ended before all bytes were read.
class KivClTraceFormatter::Source {
 public:
  Source(const unsigned char* bytes, unsigned long length) noexcept
      : m_pMemory(bytes), m_pIn(nullptr), m_pWork(nullptr), m_ulLength(length),
        m_ulRemaining(length), m_bShort(false), m_bUsed(false) {}
  Source(std::istream& in, unsigned long length, unsigned char* work) noexcept
      : m_pMemory(nullptr), m_pIn(&in), m_pWork(work), m_ulLength(length),
        m_ulRemaining(length), m_bShort(false), m_bUsed(false) {}

  unsigned long length() const noexcept { return m_ulLength; }
  bool inMemory() const noexcept { return m_pIn == nullptr; }
  const unsigned char* memory() const noexcept { return m_pMemory; }
  bool isShort() const noexcept { return m_bShort; }
  /// Whether the bytes can be shown (again): always for memory, once for
  /// the input.
  bool canShow() const noexcept { return m_pIn == nullptr || !m_bUsed; }

  /// Starts a display: memory is shown from its start again; input bytes
  /// are shown once.
  void begin() noexcept {
    if (m_pIn == nullptr) m_ulRemaining = m_ulLength;
    m_bUsed = true;
  }

  /// The next chunk of at most WORK_SIZE bytes; 0 at the end or once the
  /// input has ended early.
  unsigned long next(const unsigned char*& chunk) {
    if (m_ulRemaining == 0) return 0;
    if (m_pIn == nullptr) {
      chunk = m_pMemory + (m_ulLength - m_ulRemaining);
      const unsigned long count = m_ulRemaining;
      m_ulRemaining = 0;
      return count;
    }
    const unsigned long want = m_ulRemaining < WORK_SIZE ? m_ulRemaining : WORK_SIZE;
    m_pIn->read(reinterpret_cast<char*>(m_pWork), static_cast<std::streamsize>(want));
    const auto got = static_cast<unsigned long>(m_pIn->gcount());
    if (got != want) {
      m_bShort = true;
      m_ulRemaining = 0;
    } else {
      m_ulRemaining -= got;
    }
    chunk = m_pWork;
    return got;
  }

  /// Reads and drops what the input still holds of the data.
  void skipRest() {
    if (m_pIn == nullptr || m_ulRemaining == 0) return;
    m_pIn->ignore(static_cast<std::streamsize>(m_ulRemaining));
    if (static_cast<unsigned long>(m_pIn->gcount()) != m_ulRemaining) m_bShort = true;
    m_ulRemaining = 0;
    m_bUsed = true;
  }

 private:
  const unsigned char* m_pMemory;
  std::istream* m_pIn;
  unsigned char* m_pWork;
  unsigned long m_ulLength;
  unsigned long m_ulRemaining;
  bool m_bShort;
  bool m_bUsed;
};

// ---------------------------------------------------------------------------

KivClTraceFormatter::KivClTraceFormatter(const KivClTraceEnvironment& environment,
                                         const KivClTraceFilter* filter)
    : m_rEnvironment(environment),
      m_pclFilter(filter != nullptr ? filter : &environment.getSettings().getFilter()),
      m_pOut(nullptr),
      m_ulEntryCount(0),
      m_ulIndentLevel(0),
      m_pszFormat(environment.getFormatString()),
      m_pszIndentation(nullptr),
      m_bNesting(false),
      m_bNoFunctionHeaders(false),
      m_bSkipSubsequentHeaders(false),
      m_bHex(false),
      m_bBin(false),
      m_bFirstHeader(true),
      m_bShowHeader(true),
      m_ulLastFunctionLength(0),
      m_ulHeadersSkipped(0),
      m_achLastFunction{},
      m_pclCatalog(nullptr),
      m_ulEntryIndent(0),
      m_bIndentPending(true),
      m_clEntry(environment),
      m_sPending(),
      m_achWork{} {}

KivClTraceFormatter::~KivClTraceFormatter() = default;

void KivClTraceFormatter::setFormatString(const char* format) noexcept {
  m_pszFormat = format != nullptr ? format : m_rEnvironment.getFormatString();
}

void KivClTraceFormatter::setDisplayIndentation(const char* indentation) noexcept {
  m_pszIndentation = indentation;
}

void KivClTraceFormatter::attachKivMessageCatalog(KivClMessageCatalog& catalog) noexcept {
  m_pclCatalog = &catalog;
}

const char* KivClTraceFormatter::getMessage(unsigned long id) const {
  if (m_pclCatalog != nullptr) {
    if (const char* text = m_pclCatalog->getCatalogText(id)) return text;
    const char* const* table = m_pclCatalog->getStringTable();
    if (table != nullptr && id < m_pclCatalog->getStringTableSize() && table[id] != nullptr) {
      return table[id];
    }
  }
  if (id < KIV_MSGTAB_SIZE) return kivMsgTabGetBuiltInTable()[id];
  return "";
}

const char* KivClTraceFormatter::getTypeAsLongCString(KivEnTraceDataType type) const noexcept {
  return kivGetFormatDescription(type);
}

const char* KivClTraceFormatter::getTypeAsShortCString(KivEnTraceDataType type) const noexcept {
  return type < TYPE_COUNT ? gs_shortNames[type] : "";
}

const char* kivGetFormatDescription(KivEnTraceDataType type) {
  return type < KivClTraceFormatter::TYPE_COUNT ? gs_longNames[type] : "";
}

// --- output -----------------------------------------------------------------

void KivClTraceFormatter::put(const char* text) const { put(text, std::strlen(text)); }

void KivClTraceFormatter::resolveIndent() const {
  m_bIndentPending = false;
  putIndent();
}

void KivClTraceFormatter::putUnsigned(std::uint64_t value) const {
  char digits[24];
  const auto result = std::to_chars(digits, digits + sizeof digits, value);
  put(digits, static_cast<std::size_t>(result.ptr - digits));
}

void KivClTraceFormatter::putSigned(std::int64_t value) const {
  char digits[24];
  const auto result = std::to_chars(digits, digits + sizeof digits, value);
  put(digits, static_cast<std::size_t>(result.ptr - digits));
}

const char* KivClTraceFormatter::indentation() const noexcept { return m_pszIndentation; }

void KivClTraceFormatter::putIndent() const {
  const char* text = indentation();
  if (text == nullptr || *text == '\0') return;
  const std::size_t length = std::strlen(text);
  for (unsigned long level = 0; level < m_ulIndentLevel; ++level) m_sPending.append(text, length);
}

void KivClTraceFormatter::lineEnd() const {
  put('\n');
  m_bIndentPending = true;
}

void KivClTraceFormatter::flushPending() const {
  if (m_pOut != nullptr && !m_sPending.empty()) {
    m_pOut->write(m_sPending.data(), static_cast<std::streamsize>(m_sPending.size()));
  }
  m_sPending.clear();
}

void KivClTraceFormatter::displayBuffer(const char* text, unsigned long length) const {
  put(text, length);
  flushPending();
}

void KivClTraceFormatter::displayIndent() const {
  m_bIndentPending = false;
  putIndent();
  flushPending();
}

void KivClTraceFormatter::startCall(std::ostream& out) const noexcept {
  m_pOut = &out;
  m_ulEntryCount = 0;
  m_ulIndentLevel = 0;
  m_ulEntryIndent = 0;
  m_bIndentPending = true;
  m_bFirstHeader = true;
  m_bShowHeader = true;
  m_ulLastFunctionLength = 0;
  m_ulHeadersSkipped = 0;
  m_sPending.clear();
}

void KivClTraceFormatter::setOutputStream(std::ostream& out) const noexcept { startCall(out); }

// --- the whole file ---------------------------------------------------------

void KivClTraceFormatter::format(std::ostream& out) const {
  if (!out.good()) {
    const _KivStUserError error{KIV_TRACEFORMAT_COULD_NOT_OPEN, KivEnErrorClass::USER_ERROR,
                                KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE};
    KIV_THROW(KivClExceptionFatal, error);
  }
  const char* name = m_rEnvironment.getFileName().getAsCString();
  std::unique_ptr<char[]> buffer(new char[kFileBufferSize]);
  std::ifstream in;
  in.rdbuf()->pubsetbuf(buffer.get(), static_cast<std::streamsize>(kFileBufferSize));
  in.open(name, std::ios::in | std::ios::binary);
  if (!in.is_open()) {
    throwFormatError(KIV_TRACEFORMAT_COULD_NOT_OPEN, KivEnErrorClass::RESOURCE_MISSING,
                     KIV_LOCATION, static_cast<std::uint32_t>(__LINE__), name);
  }
  kiv::detail::setCloseOnExec(in);
  format(in, out);
}

void KivClTraceFormatter::format(std::istream& in, std::ostream& out) const {
  if (!out.good()) {
    const _KivStUserError error{KIV_TRACEFORMAT_COULD_NOT_OPEN, KivEnErrorClass::USER_ERROR,
                                KivEnErrorSeverity::FATAL, KivEnErrorAction::TERMINATE};
    KIV_THROW(KivClExceptionFatal, error);
  }
  startCall(out);
  for (;;) {
    const KivEnTraceFormatStatus status = step(in, UNLIMITED, m_pszFormat, m_achWork);
    if (m_sPending.size() >= kPendingFlushSize || status >= KivEnTraceFormatStatus::END) {
      flushPending();
    }
    switch (status) {
      case KivEnTraceFormatStatus::FORMATTED:
      case KivEnTraceFormatStatus::SKIPPED:
        continue;
      case KivEnTraceFormatStatus::END:
        out.flush();
        return;
      case KivEnTraceFormatStatus::TRUNCATED:
        out.flush();
        KIV_FORMAT_ERROR(KIV_TRACEFORMAT_UNEXPECTED_EOF, KivEnErrorClass::INVALID_DATA);
      case KivEnTraceFormatStatus::CORRUPTED:
        out.flush();
        KIV_FORMAT_ERROR(KIV_TRACEFORMAT_FILE_CORRUPTED, KivEnErrorClass::INVALID_DATA);
    }
  }
}

bool KivClTraceFormatter::formatEntry(std::istream& in, const char* format, char* work) const {
  const KivEnTraceFormatStatus status =
      step(in, UNLIMITED, format != nullptr ? format : m_pszFormat,
           work != nullptr ? work : m_achWork);
  flushPending();
  switch (status) {
    case KivEnTraceFormatStatus::TRUNCATED:
      KIV_FORMAT_ERROR(KIV_TRACEFORMAT_UNEXPECTED_EOF, KivEnErrorClass::INVALID_DATA);
    case KivEnTraceFormatStatus::CORRUPTED:
      KIV_FORMAT_ERROR(KIV_TRACEFORMAT_FILE_CORRUPTED, KivEnErrorClass::INVALID_DATA);
    case KivEnTraceFormatStatus::END:
      return false;
    default:
      return true;
  }
}

KivEnTraceFormatStatus KivClTraceFormatter::formatNextEntry(std::istream& in,
                                                            std::uint64_t available) const {
  const KivEnTraceFormatStatus status = step(in, available, m_pszFormat, m_achWork);
  flushPending();
  return status;
}

// --- one entry --------------------------------------------------------------

KivEnTraceFormatStatus KivClTraceFormatter::step(std::istream& in, std::uint64_t available,
                                                 const char* format, char* work) const {
  const bool bounded = available != UNLIMITED;
  std::istream::pos_type start(-1);
  if (bounded) start = in.tellg();
  // Puts a bounded input back where the entry began, ready for a later try.
  const auto putBack = [&in, bounded, start]() {
    if (!bounded) return;
    in.clear();
    if (start != std::istream::pos_type(-1)) in.seekg(start);
  };
  if (in.peek() == std::istream::traits_type::eof()) {
    if (bounded) in.clear();
    return KivEnTraceFormatStatus::END;
  }
  if (bounded && available < KivClTraceEntry::FIXED_SIZE) {
    putBack();
    return KivEnTraceFormatStatus::TRUNCATED;
  }
  const bool whole = m_clEntry.read(in);
  if (m_clEntry.getRecordLength() == 0) {
    putBack();
    return KivEnTraceFormatStatus::TRUNCATED;
  }
  const KivEnTraceDataType type = m_clEntry.getType();
  const unsigned long length = m_clEntry.getDataLength();
  if (type >= TYPE_COUNT || length > MAX_DATA_LENGTH) {
    putBack();
    return KivEnTraceFormatStatus::CORRUPTED;
  }
  if (!whole && (m_clEntry.getRecordLength() > KivClTraceEntry::FIXED_SIZE || length > 0)) {
    // The texts, or the data behind them, are cut short by the end of input.
    putBack();
    return KivEnTraceFormatStatus::TRUNCATED;
  }
  if (bounded && m_clEntry.getRecordLength() + static_cast<std::uint64_t>(length) > available) {
    putBack();
    return KivEnTraceFormatStatus::TRUNCATED;
  }
  if (!m_pclFilter->passes(m_clEntry.getDetail(), m_clEntry.getComponentId(),
                           m_clEntry.getProcessId(), m_clEntry.getThreadId())) {
    if (!skipEntry(in, length)) {
      putBack();
      return KivEnTraceFormatStatus::TRUNCATED;
    }
    return KivEnTraceFormatStatus::SKIPPED;
  }
  auto* bytes = reinterpret_cast<unsigned char*>(work);
  if (length <= WORK_SIZE) {
    if (length > 0) {
      in.read(work, static_cast<std::streamsize>(length));
      if (static_cast<unsigned long>(in.gcount()) != length) {
        putBack();
        return KivEnTraceFormatStatus::TRUNCATED;
      }
    }
    Source data(bytes, length);
    formatRecord(format, data);
  } else {
    Source data(in, length, bytes);
    formatRecord(format, data);
    data.skipRest();
    if (data.isShort()) return KivEnTraceFormatStatus::TRUNCATED;
  }
  ++m_ulEntryCount;
  return KivEnTraceFormatStatus::FORMATTED;
}

void KivClTraceFormatter::formatRecord(const char* format, Source& data) const {
  const KivEnTraceDataType type = m_clEntry.getType();
  // Function header: shown unless switched off, or the same function as the
  // entry before when subsequent headers are skipped.
  const char* function = m_clEntry.getFunctionName();
  const unsigned long functionLength = m_clEntry.getFunctionNameLength();
  bool show = !m_bNoFunctionHeaders;
  if (show && m_bSkipSubsequentHeaders && !m_bFirstHeader &&
      functionLength == m_ulLastFunctionLength &&
      std::memcmp(function, m_achLastFunction, functionLength) == 0) {
    show = false;
    ++m_ulHeadersSkipped;
  }
  m_bFirstHeader = false;
  m_bShowHeader = show;
  std::memcpy(m_achLastFunction, function, functionLength);
  m_ulLastFunctionLength = functionLength;

  // Nesting: a function entry is shown one level out from what it opens;
  // the level after an entry or exit is the one it recorded.
  unsigned long level = m_ulEntryIndent;
  unsigned long next = m_ulEntryIndent;
  if (m_bNesting &&
      (type == KIV_TRACE_TYPE_FUNCTION_ENTRY || type == KIV_TRACE_TYPE_FUNCTION_EXIT) &&
      data.inMemory() && data.length() == 8) {
    const auto recorded = static_cast<std::int64_t>(loadUnsigned(data.memory(), 8));
    const unsigned long capped =
        recorded <= 0 ? 0
                      : (recorded >= static_cast<std::int64_t>(MAX_INDENTATION_LEVEL)
                             ? MAX_INDENTATION_LEVEL
                             : static_cast<unsigned long>(recorded));
    next = capped;
    level = type == KIV_TRACE_TYPE_FUNCTION_ENTRY ? (capped > 0 ? capped - 1 : 0) : capped;
  }
  m_ulIndentLevel = m_bNesting ? level : 0;

  for (const char* p = format; *p != '\0'; ++p) {
    if (*p != '%' && *p != '\\') {
      const char* run = p;
      while (p[1] != '\0' && p[1] != '%' && p[1] != '\\') ++p;
      put(run, static_cast<std::size_t>(p - run + 1));
      continue;
    }
    const char sequence = *p;
    const char c = p[1];
    if (c == '\0') {  // a lone "%" or "\" at the end stands for itself
      put(sequence);
      break;
    }
    ++p;
    if (sequence == '\\') {
      if (c == 'n') {
        lineEnd();
      } else if (c == 't') {
        put('\t');
      } else {
        put(c);
      }
      continue;
    }
    switch (c) {
      case 'x':
        put(getTypeAsShortCString(type));
        break;
      case 'X':
        put(getTypeAsLongCString(type));
        break;
      case 'l':
        put(KivClTraceFilter::getDetailAsCString(m_clEntry.getDetail()));
        break;
      case 's':
        putUnsigned(m_clEntry.getTimeStamp());
        break;
      case 'c':
        putUnsigned(m_clEntry.getComponentId());
        break;
      case 'p':
        putUnsigned(m_clEntry.getProcessId());
        break;
      case 't':
        putUnsigned(m_clEntry.getThreadId());
        break;
      case 'f':
        if (m_bShowHeader) put(function, functionLength);
        break;
      case 'm':
        put(m_clEntry.getMessage(), m_clEntry.getMessageLength());
        break;
      case 'd':
        if (data.canShow()) {
          data.begin();
          showData(data, type);
        }
        break;
      case 'n':
        lineEnd();
        break;
      default:  // "%%", and "%" with any other character: a percent sign
        put('%');
        break;
    }
  }
  m_ulEntryIndent = next;
  m_ulIndentLevel = m_bNesting ? next : 0;
}

// --- data display -------------------------------------------------------------

void KivClTraceFormatter::showData(Source& data, KivEnTraceDataType type) const {
  const unsigned long length = data.length();
  const unsigned char* bytes = data.inMemory() ? data.memory() : nullptr;
  switch (type) {
    case KIV_TRACE_TYPE_NONE:
    case KIV_TRACE_TYPE_NO_DATA:
      if (length > 0) showHexDump(data);
      return;
    case KIV_TRACE_TYPE_FUNCTION_ENTRY:
    case KIV_TRACE_TYPE_FUNCTION_EXIT:
      if (bytes == nullptr || length != 8) break;
      put(getMessage(MSG_NESTING_LEVEL));
      putSigned(static_cast<std::int64_t>(loadUnsigned(bytes, 8)));
      return;
    case KIV_TRACE_TYPE_DATA:
      break;
    case KIV_TRACE_TYPE_DATA_CLIPPED:
      showHexDump(data);
      put(getMessage(MSG_CLIPPED));
      return;
    case KIV_TRACE_TYPE_DATA_NULL:
      if (length != 0) break;
      put(getMessage(MSG_NULL_POINTER));
      return;
    case KIV_TRACE_TYPE_ADDRESS:
      if (bytes == nullptr || (length != 8 && length != 4)) break;
      showAddress(bytes, length);
      return;
    case KIV_TRACE_TYPE_CSTRING:
      showCString(data);
      return;
    case KIV_TRACE_TYPE_UNICODE:
      if (length % 2 != 0) break;
      showUnicode(data);
      return;
    case KIV_TRACE_TYPE_BOOL:
      if (bytes == nullptr || length != 1) break;
      put(bytes[0] != 0 ? "true" : "false");
      return;
    case KIV_TRACE_TYPE_FLOAT:
    case KIV_TRACE_TYPE_DOUBLE:
    case KIV_TRACE_TYPE_LONG_DOUBLE: {
      const unsigned long width = type == KIV_TRACE_TYPE_FLOAT    ? sizeof(float)
                                  : type == KIV_TRACE_TYPE_DOUBLE ? sizeof(double)
                                                                  : sizeof(long double);
      if (bytes == nullptr || length != width) break;
      showFloat(bytes, type);
      return;
    }
    default: {
      const unsigned long width = integerWidth(type);
      if (width == 0 || bytes == nullptr || length != width) break;
      showInteger(bytes, type);
      return;
    }
  }
  showHexDump(data);
}

void KivClTraceFormatter::showHexDump(Source& data) const {
  putUnsigned(data.length());
  put(' ');
  put(getMessage(MSG_BYTES));
  put(" HEX:");
  unsigned long offset = 0;
  const unsigned char* chunk = nullptr;
  for (unsigned long count = data.next(chunk); count > 0; count = data.next(chunk)) {
    for (unsigned long at = 0; at < count; at += KivClStrepHexDump::BYTES_PER_LINE) {
      const unsigned long rest = count - at;
      const KivClStrepHexDump line(
          offset + at, chunk + at,
          rest < KivClStrepHexDump::BYTES_PER_LINE ? rest : KivClStrepHexDump::BYTES_PER_LINE);
      lineEnd();
      put(line.getAsCString());
    }
    offset += count;
    if (m_sPending.size() >= kPendingFlushSize) flushPending();
  }
}

void KivClTraceFormatter::showCString(Source& data) const {
  const unsigned char* chunk = nullptr;
  for (unsigned long count = data.next(chunk); count > 0; count = data.next(chunk)) {
    for (unsigned long i = 0; i < count; ++i) {
      const unsigned char byte = chunk[i];
      if (byte == 0) {
        data.skipRest();
        return;
      }
      put(byte < 0x20 || byte == 0x7F ? '.' : static_cast<char>(byte));
    }
    if (m_sPending.size() >= kPendingFlushSize) flushPending();
  }
}

void KivClTraceFormatter::showUnicode(Source& data) const {
  const unsigned char* chunk = nullptr;
  int pendingByte = -1;       // a first byte whose unit ends in the next chunk
  std::uint32_t high = 0;     // a high surrogate waiting for its low half
  const auto emit = [this](std::uint32_t codePoint) {
    if (isControl(codePoint)) {
      put('.');
      return;
    }
    char utf8[4];
    std::size_t count = 0;
    if (codePoint < 0x80) {
      utf8[count++] = static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
      utf8[count++] = static_cast<char>(0xC0 | (codePoint >> 6));
      utf8[count++] = static_cast<char>(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
      utf8[count++] = static_cast<char>(0xE0 | (codePoint >> 12));
      utf8[count++] = static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
      utf8[count++] = static_cast<char>(0x80 | (codePoint & 0x3F));
    } else {
      utf8[count++] = static_cast<char>(0xF0 | (codePoint >> 18));
      utf8[count++] = static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
      utf8[count++] = static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
      utf8[count++] = static_cast<char>(0x80 | (codePoint & 0x3F));
    }
    put(utf8, count);
  };
  constexpr std::uint32_t kReplacement = 0xFFFD;
  for (unsigned long count = data.next(chunk); count > 0; count = data.next(chunk)) {
    for (unsigned long i = 0; i < count; ++i) {
      if (pendingByte < 0) {
        pendingByte = chunk[i];
        continue;
      }
      const auto unit = static_cast<std::uint32_t>(pendingByte | (chunk[i] << 8));
      pendingByte = -1;
      if (high != 0) {
        if (unit >= 0xDC00 && unit <= 0xDFFF) {
          emit(0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00));
          high = 0;
          continue;
        }
        emit(kReplacement);
        high = 0;
      }
      if (unit == 0) {
        data.skipRest();
        return;
      }
      if (unit >= 0xD800 && unit <= 0xDBFF) {
        high = unit;
      } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
        emit(kReplacement);
      } else {
        emit(unit);
      }
    }
    if (m_sPending.size() >= kPendingFlushSize) flushPending();
  }
  if (high != 0) emit(kReplacement);
}

void KivClTraceFormatter::showInteger(const unsigned char* bytes, KivEnTraceDataType type) const {
  const unsigned long width = integerWidth(type);
  const std::uint64_t value = loadUnsigned(bytes, width);
  const bool isSigned = type == KIV_TRACE_TYPE_INT8 || type == KIV_TRACE_TYPE_INT16 ||
                        type == KIV_TRACE_TYPE_INT32 || type == KIV_TRACE_TYPE_INT64;
  if (isSigned) {
    // Sign-extend from the value's own width.
    const unsigned shift = static_cast<unsigned>(64 - 8 * width);
    const auto extended = static_cast<std::int64_t>(value << shift) >> shift;
    putSigned(extended);
  } else {
    putUnsigned(value);
  }
  if (m_bHex) {
    put(" 0x");
    for (unsigned long digit = 2 * width; digit > 0; --digit) {
      put(gs_hexDigits[(value >> (4 * (digit - 1))) & 0xFu]);
    }
  }
  if (m_bBin) {
    put(" 0b");
    for (unsigned long bit = 8 * width; bit > 0; --bit) put(((value >> (bit - 1)) & 1u) ? '1' : '0');
  }
}

void KivClTraceFormatter::showFloat(const unsigned char* bytes, KivEnTraceDataType type) const {
  char text[128];
  std::to_chars_result result{};
  if (type == KIV_TRACE_TYPE_FLOAT) {
    float value = 0;
    std::memcpy(&value, bytes, sizeof value);
    result = std::to_chars(text, text + sizeof text, value);
  } else if (type == KIV_TRACE_TYPE_DOUBLE) {
    double value = 0;
    std::memcpy(&value, bytes, sizeof value);
    result = std::to_chars(text, text + sizeof text, value);
  } else {
    long double value = 0;
    std::memcpy(&value, bytes, sizeof value);
    result = std::to_chars(text, text + sizeof text, value);
  }
  if (result.ec != std::errc()) return;
  put(text, static_cast<std::size_t>(result.ptr - text));
}

void KivClTraceFormatter::showAddress(const unsigned char* bytes, unsigned long length) const {
  const std::uint64_t value = loadUnsigned(bytes, length);
  const KivClStrepAddress address(reinterpret_cast<const void*>(static_cast<std::uintptr_t>(value)));
  put(address.getAsCString());
}

// --- reading data -------------------------------------------------------------

bool KivClTraceFormatter::formatData(std::istream& in, KivEnTraceDataType type,
                                     unsigned long length) const {
  bool complete = true;
  if (length <= WORK_SIZE) {
    in.read(m_achWork, static_cast<std::streamsize>(length));
    const auto got = static_cast<unsigned long>(in.gcount());
    complete = got == length;
    Source data(reinterpret_cast<const unsigned char*>(m_achWork), got);
    data.begin();
    showData(data, type);
  } else {
    Source data(in, length, reinterpret_cast<unsigned char*>(m_achWork));
    data.begin();
    showData(data, type);
    data.skipRest();
    complete = !data.isShort();
  }
  flushPending();
  return complete;
}

bool KivClTraceFormatter::formatCString(std::istream& in, unsigned long length) const {
  return formatData(in, KIV_TRACE_TYPE_CSTRING, length);
}

bool KivClTraceFormatter::formatHexDump(std::istream& in, unsigned long length) const {
  return formatData(in, KIV_TRACE_TYPE_DATA, length);
}

bool KivClTraceFormatter::formatAdrs(std::istream& in, unsigned long length) const {
  return formatData(in, KIV_TRACE_TYPE_ADDRESS, length);
}

bool KivClTraceFormatter::skipEntry(std::istream& in, unsigned long length) const {
  if (length == 0) return true;
  in.ignore(static_cast<std::streamsize>(length));
  return static_cast<unsigned long>(in.gcount()) == length;
}
