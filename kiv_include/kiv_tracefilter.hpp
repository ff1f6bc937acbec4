/// \file
/// KIV Library: the trace filter.
///
/// A KivClTraceFilter decides which trace entries count. The trace back end
/// applies it while recording (detail and component id only), and the trace
/// formatter applies it while formatting a trace file (all four tests: detail,
/// component id, process id and thread id).
///
/// The filter is a plain record of fixed layout, because it is laid inside
/// the trace settings record, which can live in memory that the caller
/// provides: a 32-bit detail level, a 32-bit process id, a 32-bit thread id
/// and a 256-bit component id set, in that order, 44 bytes with no padding.
/// It owns nothing and holds no pointers, so it may be copied byte for byte.
///
/// Component ids run from 0 to 255. Id 0 means "no component": it passes
/// every set, and its bit is never consulted. Component id lists, as read
/// from the settings environment and from formatter options, are texts like
/// "1.5,-3" or "*,-7" (see enableComponentIds).
///
/// Failure: nothing here fails or throws. Texts that make no sense give the
/// neutral value (detail OFF, id 0); ids beyond 255 are ignored. Thread
/// safety: none; a filter is read by the tracing threads and changed only
/// while nobody traces.
#ifndef KIV_TRACEFILTER_HPP
#define KIV_TRACEFILTER_HPP

#include <cstddef>
#include <cstdint>

#include "kiv_export.hpp"
#include "kiv_tracetypes.hpp"

/// Which trace entries count: detail level, component id set and, for the
/// formatter, process id and thread id. See the banner.
class KIV_EXPORT KivClTraceFilter {
 public:
  /// The highest component id; entries store the id in one byte.
  static constexpr unsigned short MAX_COMPONENT_ID = 255;
  /// Bytes of the component id set (one bit per id 0 to 255).
  static constexpr std::size_t COMPONENT_SET_BYTES = 32;

  /// Detail LOW, process id 0 and thread id 0 (every process and thread
  /// passes), all component ids enabled.
  KivClTraceFilter() noexcept;

  /// The highest detail level that passes.
  KivEnTraceDetail getDetail() const noexcept { return m_enDetail; }
  /// Sets the highest detail level that passes.
  void setDetail(KivEnTraceDetail detail) noexcept { m_enDetail = detail; }
  /// HIGH when `text` begins with "HIGH", else MED when it begins with
  /// "MED", else LOW when it begins with "LOW", else OFF. Case is ignored
  /// and only those first 4 or 3 characters are looked at, so "Highest"
  /// gives HIGH, "medium" MED and "lowest" LOW, while "hi" and "none" give
  /// OFF. A null text gives OFF.
  void setDetail(const char* text) noexcept;
  /// "OFF", "LOW", "MED" or "HIGH" for 0 to 3; null for any other value.
  static const char* getDetailAsCString(KivEnTraceDetail detail) noexcept;

  /// The process id that passes; 0 lets every process pass.
  std::uint32_t getProcessId() const noexcept { return m_ulProcessId; }
  /// The thread id that passes; 0 lets every thread pass.
  std::uint32_t getThreadId() const noexcept { return m_ulThreadId; }
  /// The decimal value of the text's leading number, read as a long integer
  /// (strtol: leading blanks and a sign are taken as strtol takes them) and
  /// kept in 32 bits. A text without digits, or null, gives 0, which
  /// switches the process filter off.
  void setProcessId(const char* text) noexcept;
  /// As setProcessId, for the thread id.
  void setThreadId(const char* text) noexcept;

  /// Enables one component id (0 to 255; larger ids are ignored).
  void enableComponentId(unsigned short componentId) noexcept;
  /// Disables one component id (0 to 255; larger ids are ignored).
  void disableComponentId(unsigned short componentId) noexcept;
  /// All 256 bits on.
  void enableAllComponentIds() noexcept;
  /// All 256 bits off.
  void disableAllComponentIds() noexcept;
  /// Whether the bit of `componentId` is on (false for ids above 255). This
  /// is the raw bit: use passesComponentId for the rule that lets id 0 pass.
  bool isComponentIdEnabled(unsigned short componentId) const noexcept {
    // Inline: the recording rule runs for every traced call.
    if (componentId > MAX_COMPONENT_ID) return false;
    return (m_abComponentSet[componentId / 8] & (1u << (componentId % 8))) != 0;
  }

  /// Enables (or disables) the ids from `first` to `last` inclusive. A
  /// `first` of 0 does nothing; a `last` of 0 means `first` alone; `last`
  /// is capped at 255, so a range that starts above 255 does nothing.
  void setComponentIdSet(unsigned short first, unsigned short last, bool enable) noexcept;

  /// Applies a component id list to the set, item by item. Items are
  /// separated by ","; in an item, a number is the first id, "." makes the
  /// next number the last id ("3.7" and "3..7" both mean 3 to 7), "*" means
  /// 1 to 255, "-" disables the item's ids and "+" enables them (the
  /// default); every other character is ignored. Each item is applied with
  /// setComponentIdSet, so an item without a number applies nothing. The
  /// list does not clear the set first: callers that want only the listed
  /// ids disable all ids before. Numbers too large for 16 bits are read as
  /// 65535 (beyond every id, so they select nothing). A null text does
  /// nothing.
  void enableComponentIds(const char* text) noexcept;

  /// True when any id from 1 to 255 is disabled (id 0 is not looked at).
  bool usesCompIdFilter() const noexcept;

  /// Whether an entry of `componentId` passes the component set: id 0
  /// always passes; any other id passes when its bit is on.
  bool passesComponentId(unsigned short componentId) const noexcept {
    return componentId == 0 || isComponentIdEnabled(componentId);
  }
  /// The recording rule: the detail is at most the filter's and the
  /// component id passes. Process and thread ids are not looked at.
  bool passesRecording(KivEnTraceDetail detail, unsigned short componentId) const noexcept {
    return detail <= m_enDetail && passesComponentId(componentId);
  }
  /// The formatting rule: the recording rule, and the filter's process id
  /// and thread id are each 0 or equal to the entry's.
  bool passes(KivEnTraceDetail detail, unsigned short componentId, std::uint32_t processId,
              std::uint32_t threadId) const noexcept {
    return passesRecording(detail, componentId) &&
           (m_ulProcessId == 0 || m_ulProcessId == processId) &&
           (m_ulThreadId == 0 || m_ulThreadId == threadId);
  }

 private:
  KivEnTraceDetail m_enDetail;
  std::uint32_t m_ulProcessId;
  std::uint32_t m_ulThreadId;
  unsigned char m_abComponentSet[COMPONENT_SET_BYTES];
};

#endif
