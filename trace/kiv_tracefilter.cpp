// The trace filter: detail texts, ids and component id lists.

#include "kiv_tracefilter.hpp"

#include <strings.h>

#include <cstdlib>
#include <cstring>
#include <type_traits>

static_assert(std::is_standard_layout<KivClTraceFilter>::value,
              "the filter is laid inside the settings record and must keep a plain layout");
static_assert(sizeof(KivClTraceFilter) == 44, "detail, process id, thread id and 32 set bytes");

namespace {

/// strtol of the text kept in 32 bits; null and texts without a number give 0.
std::uint32_t leadingNumber(const char* text) {
  if (text == nullptr) return 0;
  return static_cast<std::uint32_t>(std::strtol(text, nullptr, 10));
}

}  // namespace

KivClTraceFilter::KivClTraceFilter() noexcept
    : m_enDetail(KIV_TRACE_DETAIL_LOW), m_ulProcessId(0), m_ulThreadId(0), m_abComponentSet() {
  enableAllComponentIds();
}

void KivClTraceFilter::setDetail(const char* text) noexcept {
  if (text == nullptr) {
    m_enDetail = KIV_TRACE_DETAIL_OFF;
  } else if (strncasecmp(text, "HIGH", 4) == 0) {
    m_enDetail = KIV_TRACE_DETAIL_HIGH;
  } else if (strncasecmp(text, "MED", 3) == 0) {
    m_enDetail = KIV_TRACE_DETAIL_MED;
  } else if (strncasecmp(text, "LOW", 3) == 0) {
    m_enDetail = KIV_TRACE_DETAIL_LOW;
  } else {
    m_enDetail = KIV_TRACE_DETAIL_OFF;
  }
}

const char* KivClTraceFilter::getDetailAsCString(KivEnTraceDetail detail) noexcept {
  switch (detail) {
    case KIV_TRACE_DETAIL_OFF:
      return "OFF";
    case KIV_TRACE_DETAIL_LOW:
      return "LOW";
    case KIV_TRACE_DETAIL_MED:
      return "MED";
    case KIV_TRACE_DETAIL_HIGH:
      return "HIGH";
  }
  return nullptr;
}

void KivClTraceFilter::setProcessId(const char* text) noexcept {
  m_ulProcessId = leadingNumber(text);
}

void KivClTraceFilter::setThreadId(const char* text) noexcept {
  m_ulThreadId = leadingNumber(text);
}

void KivClTraceFilter::enableComponentId(unsigned short componentId) noexcept {
  if (componentId > MAX_COMPONENT_ID) return;
  m_abComponentSet[componentId / 8] |= static_cast<unsigned char>(1u << (componentId % 8));
}

void KivClTraceFilter::disableComponentId(unsigned short componentId) noexcept {
  if (componentId > MAX_COMPONENT_ID) return;
  m_abComponentSet[componentId / 8] &= static_cast<unsigned char>(~(1u << (componentId % 8)));
}

void KivClTraceFilter::enableAllComponentIds() noexcept {
  std::memset(m_abComponentSet, 0xFF, sizeof m_abComponentSet);
}

void KivClTraceFilter::disableAllComponentIds() noexcept {
  std::memset(m_abComponentSet, 0, sizeof m_abComponentSet);
}

void KivClTraceFilter::setComponentIdSet(unsigned short first, unsigned short last,
                                         bool enable) noexcept {
  if (first == 0) return;
  if (last == 0) last = first;
  if (last > MAX_COMPONENT_ID) last = MAX_COMPONENT_ID;
  // An unsigned loop variable wider than the ids, so that last = 255 ends.
  for (unsigned id = first; id <= last; ++id) {
    if (enable) {
      enableComponentId(static_cast<unsigned short>(id));
    } else {
      disableComponentId(static_cast<unsigned short>(id));
    }
  }
}

void KivClTraceFilter::enableComponentIds(const char* text) noexcept {
  if (text == nullptr) return;
  unsigned short first = 0;
  unsigned short last = 0;
  bool enable = true;
  unsigned short* target = &first;
  const char* p = text;
  while (*p != '\0') {
    const char c = *p;
    if (c >= '0' && c <= '9') {
      // The whole number; values beyond 16 bits saturate so that they stay
      // beyond every component id instead of wrapping onto a small one.
      unsigned long value = 0;
      while (*p >= '0' && *p <= '9') {
        if (value < 65535) value = value * 10 + static_cast<unsigned long>(*p - '0');
        ++p;
      }
      *target = static_cast<unsigned short>(value > 65535 ? 65535 : value);
      continue;
    }
    switch (c) {
      case '.':
        target = &last;
        break;
      case '*':
        first = 1;
        last = MAX_COMPONENT_ID;
        break;
      case '+':
        enable = true;
        break;
      case '-':
        enable = false;
        break;
      case ',':
        setComponentIdSet(first, last, enable);
        first = 0;
        last = 0;
        enable = true;
        target = &first;
        break;
      default:
        break;
    }
    ++p;
  }
  setComponentIdSet(first, last, enable);
}

bool KivClTraceFilter::usesCompIdFilter() const noexcept {
  for (unsigned id = 1; id <= MAX_COMPONENT_ID; ++id) {
    if (!isComponentIdEnabled(static_cast<unsigned short>(id))) return true;
  }
  return false;
}
