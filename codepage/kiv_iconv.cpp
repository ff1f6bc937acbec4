// The iconv back end: opening descriptors and the iconv conversion method.
#include <cerrno>

#include "kiv_config.hpp"
#include "kiv_converter.hpp"
#include "kiv_converter_detail.hpp"

#if KIV_HAVE_ICONV
#include <iconv.h>
#endif

namespace {

#if KIV_HAVE_ICONV
bool hasLetterOrDigit(const char* name) {
  for (; *name != '\0'; ++name) {
    const char c = *name;
    if ((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z')) return true;
  }
  return false;
}

const iconv_t kNoDescriptor = reinterpret_cast<iconv_t>(-1);

void recordErrno(const KivClConverterABase& converter, int error) {
  switch (error) {
    case EILSEQ:
      converter.setError(KIV_CPCONVERTER_INVALID_SEQ, KivEnErrorClass::USER_DATA_ERROR);
      break;
    case E2BIG:
      converter.setError(KIV_CPCONVERTER_TOO_BIG, KivEnErrorClass::DATA_OUT_OF_BOUNDS);
      break;
    case EINVAL:
      converter.setError(KIV_CPCONVERTER_INCOMPLETE, KivEnErrorClass::USER_DATA_ERROR);
      break;
    case EBADF:
      converter.setError(KIV_CPCONVERTER_BAD_DESCR, KivEnErrorClass::INVALID_DATA);
      break;
    default:  // anything else leaves the record as it was
      break;
  }
}
#endif

}  // namespace

namespace kiv::detail {

void* openIconv(const char* to, const char* from) noexcept {
#if KIV_HAVE_ICONV
  // The C library drops every character but letters and digits from a code
  // set's name and reads what is left empty as the locale's code set; the
  // name of an invalid CCSID, "???", would open that and convert as if the
  // page were known.
  if (!hasLetterOrDigit(to) || !hasLetterOrDigit(from)) return nullptr;
  const iconv_t descriptor = iconv_open(to, from);
  return descriptor == kNoDescriptor ? nullptr : descriptor;
#else
  (void)to;
  (void)from;
  return nullptr;
#endif
}

void closeIconv(void* descriptor) noexcept {
#if KIV_HAVE_ICONV
  if (descriptor != nullptr) iconv_close(static_cast<iconv_t>(descriptor));
#else
  (void)descriptor;
#endif
}

}  // namespace kiv::detail

#if KIV_HAVE_ICONV
unsigned long kivConvertByUsingIconv(KivClConverterABase::_KivStConverter& record) {
  const auto descriptor = static_cast<iconv_t>(record.pConverter->getIconvDescriptor());
  char* source = const_cast<char*>(*record.ppSource);  // iconv does not write the source
  std::size_t sourceLeft = record.ulSourceSize;
  char* target = record.pTarget;
  std::size_t targetLeft = record.ulTargetSize;
  errno = 0;
  std::size_t result = iconv(descriptor, &source, &sourceLeft, &target, &targetLeft);
  int error = errno;
  *record.ppSource = source;
  if (result != static_cast<std::size_t>(-1) && sourceLeft == 0) {
    // All input is converted: bring the descriptor back to its initial
    // state, writing the closing shift sequence that a stateful code page
    // needs, so that every conversion starts afresh. When that sequence
    // does not fit, the state stays and the next call writes it.
    errno = 0;
    result = iconv(descriptor, nullptr, nullptr, &target, &targetLeft);
    error = errno;
    if (result != static_cast<std::size_t>(-1)) {
      return static_cast<unsigned long>(target - record.pTarget);
    }
  }
  recordErrno(*record.pConverter, error);
  return static_cast<unsigned long>(target - record.pTarget);
}
#else
unsigned long kivConvertByUsingIconv(KivClConverterABase::_KivStConverter& record) {
  record.pConverter->setError(KIV_CPCONVERTER_BAD_DESCR, KivEnErrorClass::INVALID_DATA);
  return 0;
}
#endif
