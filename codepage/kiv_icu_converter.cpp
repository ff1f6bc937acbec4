// ICU converters by CCSID and the two ICU conversion methods.
#include <unicode/uversion.h>

#include <cstring>
#include <mutex>
#include <unordered_map>

#include "kiv_converter.hpp"
#include "kiv_icu.hpp"

namespace {

constexpr unsigned int kCCSID932 = 932;
constexpr unsigned int kCCSID942 = 942;
constexpr unsigned int kCCSID943 = 943;
constexpr unsigned int kCCSIDLMBCS = 65502;
// ICU's platform 0: CCSIDs in ICU's own numbering.
constexpr auto kIcuCCSIDPlatform = static_cast<UConverterPlatform>(0);

// Whether `name` ends in `ending` with no digit right before it, so that
// "942_VSUB_VPUA" does not match a name ending in "1942_VSUB_VPUA".
bool endsWithNumberedName(const char* name, const char* ending) {
  const std::size_t nameLength = std::strlen(name);
  const std::size_t endingLength = std::strlen(ending);
  if (nameLength < endingLength) return false;
  const char* tail = name + nameLength - endingLength;
  if (std::strcmp(tail, ending) != 0) return false;
  return tail == name || tail[-1] < '0' || tail[-1] > '9';
}

// The first name or alias of ICU's converters that ends in `ending`, or
// null. The texts returned by ICU's alias functions stay valid for the life
// of the process.
const char* findConverterNameEndingIn(const char* ending) {
  const std::int32_t count = ucnv_countAvailable();
  for (std::int32_t i = 0; i < count; ++i) {
    const char* name = ucnv_getAvailableName(i);
    if (name == nullptr) continue;
    if (endsWithNumberedName(name, ending)) return name;
    UErrorCode status = U_ZERO_ERROR;
    const std::uint16_t aliases = ucnv_countAliases(name, &status);
    for (std::uint16_t j = 0; U_SUCCESS(status) && j < aliases; ++j) {
      const char* alias = ucnv_getAlias(name, j, &status);
      if (U_SUCCESS(status) && alias != nullptr && endsWithNumberedName(alias, ending)) {
        return alias;
      }
    }
  }
  return nullptr;
}

struct VsubVpuaNames {
  const char* name942 = nullptr;
  const char* name943 = nullptr;
};

// Searched once per process, on the first request for 932, 942 or 943.
const VsubVpuaNames& vsubVpuaNames() {
  static VsubVpuaNames names;
  static std::once_flag once;
  std::call_once(once, [] {
    names.name942 = findConverterNameEndingIn("942_VSUB_VPUA");
    names.name943 = findConverterNameEndingIn("943_VSUB_VPUA");
  });
  return names;
}

UConverter* openForCCSID(unsigned int ccsid, UErrorCode& status) {
  switch (ccsid) {
    case kCCSID932:
    case kCCSID942:
    case kCCSID943: {
      const VsubVpuaNames& names = vsubVpuaNames();
      const char* name = ccsid == kCCSID943 ? names.name943 : names.name942;
      if (name != nullptr) return ucnv_open(name, &status);
      return ucnv_openCCSID(static_cast<std::int32_t>(ccsid == kCCSID943 ? kCCSID943 : kCCSID942),
                            kIcuCCSIDPlatform, &status);
    }
    case KIV_CCSID_GB18030:
      return ucnv_open("gb18030", &status);
    case kCCSIDLMBCS:
      return ucnv_open("LMBCS", &status);
    default:
      return ucnv_openCCSID(static_cast<std::int32_t>(ccsid), kIcuCCSIDPlatform, &status);
  }
}

// Opening a converter makes ICU resolve its name through the alias tables,
// which costs several times more than copying an open one. The first
// converter opened for a CCSID is therefore kept, unused, as a template for
// the life of the process, and every converter handed out is a clone of it
// (with its fallback setting). The templates are few: one per CCSID that
// ICU could open.
class TemplateCache {
 public:
  // A new converter for `ccsid`, or null with ICU's status.
  UConverter* open(unsigned int ccsid, UErrorCode& status) {
    const UConverter* found = find(ccsid);
    if (found == nullptr) {
      UConverter* opened = openForCCSID(ccsid, status);
      if (U_FAILURE(status)) {
        ucnv_close(opened);
        return nullptr;
      }
      ucnv_setFallback(opened, true);
      found = keep(ccsid, opened);
    }
    return clone(found, status);
  }

 private:
  const UConverter* find(unsigned int ccsid) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_templates.find(ccsid);
    return it != m_templates.end() ? it->second : nullptr;
  }

  // Keeps `opened` unless another thread was first; answers the template.
  const UConverter* keep(unsigned int ccsid, UConverter* opened) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto [it, inserted] = m_templates.emplace(ccsid, opened);
    if (!inserted) ucnv_close(opened);
    return it->second;
  }

  // ICU clones thread-safely from a converter that nobody converts with.
  static UConverter* clone(const UConverter* from, UErrorCode& status) {
#if U_ICU_VERSION_MAJOR_NUM >= 71
    UConverter* converter = ucnv_clone(from, &status);
#else
    UConverter* converter = ucnv_safeClone(from, nullptr, nullptr, &status);
#endif
    if (U_FAILURE(status)) {
      ucnv_close(converter);
      return nullptr;
    }
    return converter;
  }

  std::mutex m_mutex;
  std::unordered_map<unsigned int, UConverter*> m_templates;
};

// Never destroyed: converters may still be cloned while the process ends.
TemplateCache& templateCache() {
  static TemplateCache* const cache = new TemplateCache;
  return *cache;
}

UConverter* icuConverterOf(const KivClConverterABase::_KivStConverter& record) {
  return static_cast<UConverter*>(const_cast<void*>(record.pConverter->getMethodData()));
}

// ICU's warnings are successes for a conversion; its errors go into the
// converter's record through the map.
void recordIcuStatus(const KivClConverterABase::_KivStConverter& record, UErrorCode status) {
  _KivStError error;
  KivClIcuInterface::mapIcuError(error, U_FAILURE(status) ? status : U_ZERO_ERROR);
  record.pConverter->setError(error);
}

}  // namespace

const char* KivClIcuInterface::getVsubVpuaConverterName(bool vpua943) noexcept {
  const VsubVpuaNames& names = vsubVpuaNames();
  return vpua943 ? names.name943 : names.name942;
}

UConverter* kivGetICUConverter(unsigned int ccsid, _KivStError& error) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = templateCache().open(ccsid, status);
  if (converter == nullptr) KivClIcuInterface::mapIcuError(error, status);
  return converter;
}

void kivDeleteICUConverter(const void* converter) {
  ucnv_close(static_cast<UConverter*>(const_cast<void*>(converter)));
}

unsigned long kivConvertByAlgorithmIcuToUnicode(KivClConverterABase::_KivStConverter& record) {
  UChar* const targetStart = reinterpret_cast<UChar*>(record.pTarget);
  UChar* target = targetStart;
  const char* source = *record.ppSource;
  UErrorCode status = U_ZERO_ERROR;
  ucnv_toUnicode(icuConverterOf(record), &target, targetStart + record.ulTargetSize / 2, &source,
                 source + record.ulSourceSize, nullptr, true, &status);
  *record.ppSource = source;
  recordIcuStatus(record, status);
  return static_cast<unsigned long>(target - targetStart) * 2;
}

unsigned long kivConvertByAlgorithmIcuFromUnicode(KivClConverterABase::_KivStConverter& record) {
  char* target = record.pTarget;
  const UChar* source = reinterpret_cast<const UChar*>(*record.ppSource);
  UErrorCode status = U_ZERO_ERROR;
  ucnv_fromUnicode(icuConverterOf(record), &target, record.pTarget + record.ulTargetSize, &source,
                   source + record.ulSourceSize / 2, nullptr, true, &status);
  *record.ppSource = reinterpret_cast<const char*>(source);
  recordIcuStatus(record, status);
  // ICU sees whole units only; an odd last byte is a unit cut off, as for
  // the other methods from UCS-2 (a full target is reported first).
  if (record.ulSourceSize % 2 != 0 && U_SUCCESS(status)) {
    record.pConverter->setError(KIV_CPCONVERTER_INCOMPLETE, KivEnErrorClass::USER_DATA_ERROR);
  }
  return static_cast<unsigned long>(target - record.pTarget);
}
