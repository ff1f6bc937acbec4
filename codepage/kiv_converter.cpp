// The converter base, the method choice, and the converters between a code
// page and UCS-2.
#include "kiv_converter.hpp"

#include "kiv_config.hpp"
#include "kiv_converter_detail.hpp"
#include "kiv_cptables.hpp"

#if KIV_HAVE_ICU
#include "kiv_icu.hpp"
#endif

namespace {

const char gs_acUCS2BigEndianId[] = {'\xFE', '\xFF', '\0'};
const char gs_acUCS2LittleEndianId[] = {'\xFF', '\xFE', '\0'};

bool isHostOrderUCS2(unsigned int ccsid) {
  return ccsid == KIV_CCSID_UCS2 || ccsid == KIV_CCSID_UCS2_1200 ||
         ccsid == KIV_CCSID_UCS2_17584 || ccsid == KIV_CCSID_UCS2_61955;
}

// The CCSID whose table or ICU converter serves `ccsid` on the way to UCS-2.
unsigned int replacementToUnicode(unsigned int ccsid) {
  switch (ccsid) {
    case 5026: return 930;
    case 5035: return 939;
    case 938: return 948;
    case 936: return 1386;
    case 5488:
    case 18030: return KIV_CCSID_GB18030;
    case 954: return 33722;
    default: return ccsid;
  }
}

// The same on the way from UCS-2: only the GB 18030 CCSIDs are replaced.
unsigned int replacementFromUnicode(unsigned int ccsid) {
  return ccsid == 5488 || ccsid == 18030 ? KIV_CCSID_GB18030 : ccsid;
}

bool isIcuMethod(KivClConverterABase::KivPfuConvert method) {
#if KIV_HAVE_ICU
  return method == &kivConvertByAlgorithmIcuToUnicode ||
         method == &kivConvertByAlgorithmIcuFromUnicode;
#else
  (void)method;
  return false;
#endif
}

}  // namespace

unsigned long kivConvertError(KivClConverterABase::_KivStConverter& record) {
  record.pConverter->setError(KIV_CPCONVERTER_UNSUPPORTED,
                              KivEnErrorClass::INCONSISTENT_SITUATION);
  return 0;
}

// ---------------------------------------------------------------------------
// KivClConverterABase
// ---------------------------------------------------------------------------

void KivClConverterABase::IconvCloser::operator()(void* descriptor) const noexcept {
  kiv::detail::closeIconv(descriptor);
}

void KivClConverterABase::IcuCloser::operator()(const void* converter) const noexcept {
#if KIV_HAVE_ICU
  kivDeleteICUConverter(converter);
#else
  (void)converter;
#endif
}

KivClConverterABase::KivClConverterABase(const KivClCCSID& source, const KivClCCSID& target)
    : m_source(source), m_target(target), m_method(&kivConvertError) {}

KivClConverterABase::~KivClConverterABase() = default;

KivClCCSID KivClConverterABase::getTargetCCSID() const { return m_target; }

KivClCCSID KivClConverterABase::getSourceCCSID() const { return m_source; }

bool KivClConverterABase::isSupported() const { return m_method != &kivConvertError; }

bool KivClConverterABase::requiresExternalICONVRoutine() const {
  return m_method == &kivConvertByUsingIconv || m_method == &kivConvertError;
}

bool KivClConverterABase::requiresExternalICUData() const { return isIcuMethod(m_method); }

unsigned long KivClConverterABase::convertBytes(char* target, unsigned long targetSize,
                                                const char* source,
                                                unsigned long sourceSize) const {
  return convertBytes(target, targetSize, &source, sourceSize);
}

unsigned long KivClConverterABase::convertBytes(char* target, unsigned long targetSize,
                                                const char** source,
                                                unsigned long sourceSize) const {
  m_error = _KivStError{};
  _KivStConverter record{this, target, targetSize, source, sourceSize};
  return m_method(record);
}

void* KivClConverterABase::getIconvDescriptor() const noexcept {
  return m_iconv != nullptr ? m_iconv.get() : reinterpret_cast<void*>(-1);
}

void KivClConverterABase::deinit() {
  m_iconv.reset();
  m_icuConverter.reset();
  m_methodData = nullptr;
  m_method = &kivConvertError;
}

void KivClConverterABase::setConverterError() const noexcept { m_method = &kivConvertError; }

void KivClConverterABase::setMethod(KivPfuConvert method, const void* methodData) noexcept {
  m_method = method;
  m_methodData = methodData;
}

const char* KivClConverterABase::getUCS2BigEndianId() noexcept { return gs_acUCS2BigEndianId; }

const char* KivClConverterABase::getUCS2LittleEndianId() noexcept {
  return gs_acUCS2LittleEndianId;
}

const char* KivClConverterABase::getUCS2HostEndianId() noexcept {
  return gs_acUCS2LittleEndianId;  // the library runs on little-endian hosts only
}

bool KivClConverterABase::isUCS2BigEndianId(const char* id) noexcept {
  return id != nullptr && id[0] == gs_acUCS2BigEndianId[0] && id[1] == gs_acUCS2BigEndianId[1];
}

bool KivClConverterABase::isUCS2LittleEndianId(const char* id) noexcept {
  return id != nullptr && id[0] == gs_acUCS2LittleEndianId[0] &&
         id[1] == gs_acUCS2LittleEndianId[1];
}

void KivClConverterABase::chooseCodePage2Unicode() {
  const unsigned int ccsid = m_source.getCCSID();
  if (ccsid == KIV_CCSID_UCS2_BIG_ENDIAN) {
    m_method = &kivConvertByEndianSwap;
    return;
  }
  if (isHostOrderUCS2(ccsid) || ccsid == KIV_CCSID_UCS2_LITTLE_ENDIAN) {
    m_method = &kivConvertByCopying;
    return;
  }
  if (ccsid == KIV_CCSID_UTF8) {
    m_method = &kivConvertByAlgorithmUTF8toUCS2;
    return;
  }
  const unsigned int served = replacementToUnicode(ccsid);
  if (const unsigned char* table = kivGetSBCStoUCS2Table(served)) {
    setMethod(m_source.isEBCDIC() ? &kivConvertByTablesSBCS_EBCDICtoUCS2
                                  : &kivConvertByTablesSBCS_ASCIItoUCS2,
              table);
    return;
  }
  bool ebcdic = false;
  if (const _KivStDBCSConversionTableEntry* table = kivGetDBCStoUCS2Table(served, ebcdic)) {
    setMethod(ebcdic ? &kivConvertByTablesDBCS_EBCDICtoUCS2 : &kivConvertByTablesDBCS_ASCIItoUCS2,
              table);
    return;
  }
  chooseExternal(served, true);
}

void KivClConverterABase::chooseUnicode2CodePage() {
  const unsigned int ccsid = m_target.getCCSID();
  if (ccsid == KIV_CCSID_ISO8859_1) {
    m_method = &kivConvertByAlgorithmUCS2to819;
    return;
  }
  if (const unsigned char* table = kivGetUCS2toSBCSTable(ccsid)) {
    setMethod(&kivConvertByTablesUCS2toSBCS, table);
    return;
  }
  if (isHostOrderUCS2(ccsid) || ccsid == KIV_CCSID_UCS2_LITTLE_ENDIAN) {
    m_method = &kivConvertByCopying;
    return;
  }
  if (ccsid == KIV_CCSID_UTF8) {
    m_method = &kivConvertByAlgorithmUCS2toUTF8;
    return;
  }
  if (ccsid == KIV_CCSID_UCS2_BIG_ENDIAN) {
    m_method = &kivConvertByEndianSwap;
    return;
  }
  chooseExternal(replacementFromUnicode(ccsid), false);
}

void KivClConverterABase::chooseExternal(unsigned int ccsid, bool toUnicode) {
#if KIV_HAVE_ICU
  if (UConverter* converter = kivGetICUConverter(ccsid, m_error)) {
    m_icuConverter.reset(converter);
    setMethod(toUnicode ? &kivConvertByAlgorithmIcuToUnicode : &kivConvertByAlgorithmIcuFromUnicode,
              converter);
    return;
  }
#endif
  // iconv by the table's names: the served CCSID on the code page's side,
  // the other CCSID of the pair on the UCS-2 side.
  const KivClCCSID codePage(ccsid);
  const char* to = toUnicode ? m_target.getName() : codePage.getName();
  const char* from = toUnicode ? codePage.getName() : m_source.getName();
  if (void* descriptor = kiv::detail::openIconv(to, from)) {
    m_iconv.reset(descriptor);
    m_method = &kivConvertByUsingIconv;
  }
}

// ---------------------------------------------------------------------------
// KivClCodePage2UnicodeConverter
// ---------------------------------------------------------------------------

KivClCodePage2UnicodeConverter::KivClCodePage2UnicodeConverter(const KivClCCSID& source)
    : KivClConverterABase(source, KivClCCSID(KIV_CCSID_UCS2)) {
  chooseCodePage2Unicode();
}

void KivClCodePage2UnicodeConverter::initNewCodePage2Unicode(const KivClCCSID& source) {
  deinit();
  setSourceCCSID(source);
  chooseCodePage2Unicode();
}

unsigned long KivClCodePage2UnicodeConverter::getMaximumSizeForLength(
    unsigned long length) const {
  return getSourceCCSID().getCCSID() == KIV_CCSID_GB18030 ? 4 * length : 2 * length;
}

unsigned long KivClCodePage2UnicodeConverter::getMaximumSizeForSize(unsigned long size) const {
  const KivClCCSID source = getSourceCCSID();
  if (source.getCCSID() == KIV_CCSID_GB18030) return 2 * size;
  return source.isUCS2() ? size : 2 * size;
}

// ---------------------------------------------------------------------------
// KivClUnicode2CodePageConverter
// ---------------------------------------------------------------------------

KivClUnicode2CodePageConverter::KivClUnicode2CodePageConverter(const KivClCCSID& target)
    : KivClConverterABase(KivClCCSID(KIV_CCSID_UCS2), target) {
  chooseUnicode2CodePage();
}

unsigned long KivClUnicode2CodePageConverter::getMaximumSizeForLength(
    unsigned long length) const {
  switch (getTargetCCSID().getCCSID()) {
    case KIV_CCSID_UTF8: return 5 * length;
    case KIV_CCSID_GB18030: return 4 * length;
    default: return 2 * length;
  }
}

unsigned long KivClUnicode2CodePageConverter::getMaximumSizeForSize(unsigned long size) const {
  const KivClCCSID target = getTargetCCSID();
  if (target.getCCSID() == KIV_CCSID_UTF8) return (size / 2) * 3;
  if (target.getCCSID() == KIV_CCSID_GB18030 || target.isUCS2()) return size;
  if (target.isSBCS()) return size / 2;
  return size & ~1UL;  // double-byte and every other code page
}
