// The code page to code page converter: a code page to UCS-2 half (the
// base part) and a UCS-2 to code page half (a member), chained through an
// intermediate buffer from the memory manager.
#include <algorithm>
#include <cstring>

#include "kiv_converter.hpp"
#include "kiv_exception.hpp"
#include "kiv_memmgr.hpp"

namespace {

constexpr unsigned int kUTF8 = 1208;
constexpr unsigned int kGB18030 = 1392;
// Room added to every new intermediate buffer, so that a run of slightly
// longer inputs does not allocate each time.
constexpr unsigned long kBufferSlack = 32769;

// How many source bytes a method may be handed for `targetSize` target
// bytes. The methods that write without looking at the target size get no
// more than surely fits, so that a small target is never overrun. Copying
// and swapping UCS-2 get whole units only, so that a target of odd size is
// reported full rather than ending inside a unit. The others look at the
// target themselves. What is not handed over waits for the next call.
unsigned long sourceThatFits(KivClConverterABase::KivPfuConvert method, unsigned long sourceSize,
                             unsigned long targetSize) {
  if (method == &kivConvertByCopying || method == &kivConvertByEndianSwap) {
    return std::min(sourceSize, targetSize & ~1UL);
  }
  if (method == &kivConvertByAlgorithmUCS2to819 || method == &kivConvertByTablesUCS2toSBCS) {
    return std::min(sourceSize, 2 * targetSize);  // one byte per unit
  }
  if (method == &kivConvertByTablesSBCS_ASCIItoUCS2 ||
      method == &kivConvertByTablesSBCS_EBCDICtoUCS2 ||
      method == &kivConvertByTablesDBCS_ASCIItoUCS2 ||
      method == &kivConvertByTablesDBCS_EBCDICtoUCS2) {
    return std::min(sourceSize, targetSize / 2);  // at most one unit per byte
  }
  return sourceSize;
}

}  // namespace

KivClCodePage2CodePageConverter::KivClCodePage2CodePageConverter(const KivClCCSID& source,
                                                                 const KivClCCSID& target)
    : KivClCodePage2UnicodeConverter(source), m_toTarget(target) {}

KivClCodePage2CodePageConverter::~KivClCodePage2CodePageConverter() { kivFree(m_buffer); }

KivClCCSID KivClCodePage2CodePageConverter::getTargetCCSID() const {
  return m_toTarget.getTargetCCSID();
}

bool KivClCodePage2CodePageConverter::isSupported() const {
  return KivClCodePage2UnicodeConverter::isSupported() && m_toTarget.isSupported();
}

bool KivClCodePage2CodePageConverter::requiresExternalICONVRoutine() const {
  return KivClCodePage2UnicodeConverter::requiresExternalICONVRoutine() ||
         m_toTarget.requiresExternalICONVRoutine();
}

bool KivClCodePage2CodePageConverter::requiresExternalICUData() const {
  return KivClCodePage2UnicodeConverter::requiresExternalICUData() ||
         m_toTarget.requiresExternalICUData();
}

unsigned long KivClCodePage2CodePageConverter::getMaximumSizeForLength(
    unsigned long length) const {
  return m_toTarget.getMaximumSizeForLength(length);
}

unsigned long KivClCodePage2CodePageConverter::getMaximumSizeForSize(unsigned long size) const {
  const KivClCCSID source = getSourceCCSID();
  if (source == getTargetCCSID()) return size;
  const unsigned long a = KivClCodePage2UnicodeConverter::getMaximumSizeForSize(size);
  const unsigned long b = m_toTarget.getMaximumSizeForSize(a);
  if (source.getCCSID() == kGB18030) return a;
  if (source.isUCS2()) return b;
  return std::min(m_toTarget.getMaximumSizeForLength(size), b);
}

void KivClCodePage2CodePageConverter::deinit() {
  m_heldSize = 0;
  KivClCodePage2UnicodeConverter::deinit();
}

unsigned long KivClCodePage2CodePageConverter::runFirstHalf(char* target,
                                                            unsigned long targetSize,
                                                            const char** source,
                                                            unsigned long sourceSize) const {
  const unsigned long fits = sourceThatFits(getMethod(), sourceSize, targetSize);
  const unsigned long written =
      KivClConverterABase::convertBytes(target, targetSize, source, fits);
  if (fits < sourceSize && getLastError().id == KIV_NO_ERROR) {
    setError(KIV_CPCONVERTER_TOO_BIG, KivEnErrorClass::DATA_OUT_OF_BOUNDS);
  }
  return written;
}

unsigned long KivClCodePage2CodePageConverter::runSecondHalf(char* target,
                                                             unsigned long targetSize,
                                                             const char** source,
                                                             unsigned long sourceSize) const {
  const unsigned long fits = sourceThatFits(m_toTarget.getMethod(), sourceSize, targetSize);
  const unsigned long written = m_toTarget.convertBytes(target, targetSize, source, fits);
  setError(m_toTarget.getLastError());
  if (fits < sourceSize && getLastError().id == KIV_NO_ERROR) {
    setError(KIV_CPCONVERTER_TOO_BIG, KivEnErrorClass::DATA_OUT_OF_BOUNDS);
  }
  return written;
}

unsigned long KivClCodePage2CodePageConverter::writeHeldBack(char* target,
                                                             unsigned long targetSize) const {
  const char* held = m_buffer + m_heldOffset;
  const unsigned long written = runSecondHalf(target, targetSize, &held, m_heldSize);
  const unsigned long consumed = static_cast<unsigned long>(held - (m_buffer + m_heldOffset));
  m_heldOffset += consumed;
  m_heldSize -= consumed;
  holdOrDrop();
  return written;
}

void KivClCodePage2CodePageConverter::holdOrDrop() const {
  if (m_heldSize == 0) return;
  // UCS-2 that the second half left without an error, or with a full
  // target, waits for the next call, and the target counts as full. After
  // any other failure the rest is dropped with the error reported.
  const long id = getLastError().id;
  if (id == KIV_NO_ERROR) {
    setError(KIV_CPCONVERTER_TOO_BIG, KivEnErrorClass::DATA_OUT_OF_BOUNDS);
  } else if (id != KIV_CPCONVERTER_TOO_BIG) {
    m_heldSize = 0;
  }
}

unsigned long KivClCodePage2CodePageConverter::convertBytes(char* target,
                                                            unsigned long targetSize,
                                                            const char** source,
                                                            unsigned long sourceSize) const {
  const KivClCCSID sourceCCSID = getSourceCCSID();
  const KivClCCSID targetCCSID = getTargetCCSID();
  if (sourceCCSID == targetCCSID) {
    const unsigned long count = std::min(targetSize, sourceSize);
    if (count > 0) std::memcpy(target, *source, count);
    *source += count;
    return count;
  }
  if (sourceCCSID.isUCS2HostEndian()) return runSecondHalf(target, targetSize, source, sourceSize);
  if (targetCCSID.isUCS2HostEndian()) return runFirstHalf(target, targetSize, source, sourceSize);

  // What a full target kept back from the last call comes first; new
  // source is taken only once it is all written.
  unsigned long written = 0;
  if (m_heldSize > 0) {
    written = writeHeldBack(target, targetSize);
    if (m_heldSize > 0 || getLastError().id != KIV_NO_ERROR) return written;
    target += written;
    targetSize -= written;
  }

  const unsigned long needed = KivClCodePage2UnicodeConverter::getMaximumSizeForSize(sourceSize);
  if (m_bufferCapacity < needed + 1) {
    kivFree(m_buffer);
    m_buffer = nullptr;
    m_bufferCapacity = 0;
    try {
      m_buffer = static_cast<char*>(kivMalloc(needed + kBufferSlack));
      m_bufferCapacity = needed + kBufferSlack;
    } catch (const KivClException&) {
      setConverterError();
      setError(KIV_CPCONVERTER_NO_TMP_BUFFER, KivEnErrorClass::OUT_OF_MEMORY);
      return written;
    }
  }

  const unsigned long produced =
      KivClConverterABase::convertBytes(m_buffer, m_bufferCapacity, source, sourceSize);
  if (getLastError().id != KIV_NO_ERROR && getLastError().id != KIV_CPCONVERTER_INCOMPLETE) {
    return written;
  }
  // An incomplete trailing character is not fatal: what was converted goes
  // on. It is still reported when the second half has nothing worse to say.
  const _KivStError firstHalfError = getLastError();
  const char* intermediate = m_buffer;
  written += runSecondHalf(target, targetSize, &intermediate, produced);
  if (getLastError().id == KIV_NO_ERROR) setError(firstHalfError);
  const unsigned long consumed = static_cast<unsigned long>(intermediate - m_buffer);
  m_heldOffset = consumed;
  m_heldSize = produced - consumed;
  holdOrDrop();
  return written;
}

KivClCodePage2UTF8Converter::KivClCodePage2UTF8Converter(const KivClCCSID& source)
    : KivClCodePage2CodePageConverter(source, KivClCCSID(kUTF8)) {}
