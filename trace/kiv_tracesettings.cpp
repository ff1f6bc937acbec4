// The trace settings record: signature, flags and the recording filter.

#include "kiv_tracesettings.hpp"

#include <new>
#include <type_traits>

static_assert(std::is_standard_layout<_KivStTraceSettings>::value,
              "the settings record is laid in caller memory and must keep a plain layout");
static_assert(sizeof(_KivStTraceSettings) == 8 + sizeof(KivClTraceFilter),
              "signature and flags directly followed by the filter");

KivClTraceSettings::KivClTraceSettings() noexcept : KivClTraceSettings(nullptr) {}

KivClTraceSettings::KivClTraceSettings(void* record) noexcept : m_pRecord(nullptr), m_stRecord() {
  // A fresh record also over memory that held one: the filter gets its
  // defaults and init() the signature and default flags.
  m_pRecord = record != nullptr ? new (record) _KivStTraceSettings() : &m_stRecord;
  init();
}

void KivClTraceSettings::init() noexcept {
  m_pRecord->ulSignature = KIV_TRACE_SETTINGS_SIGNATURE;
  m_pRecord->ulFlags = KIV_TRACE_SETTINGS_DEFAULT_FLAGS;
}
