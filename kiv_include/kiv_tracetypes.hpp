/// \file
/// KIV Library: the small enumerations that the tracing classes share.
///
/// The detail level of a trace entry is stored in two bits of the entry
/// record, held by every trace filter and printed by the trace formatter;
/// it lives here so that each tracing header can include it without pulling
/// in the others. Plain values: nothing here fails, allocates or locks.
#ifndef KIV_TRACETYPES_HPP
#define KIV_TRACETYPES_HPP

#include <cstdint>

/// Detail level of a trace entry, as stored in bits 6 and 7 of the entry
/// record. A filter lets an entry pass when the entry's level is at most the
/// filter's, so OFF entries pass every filter and a filter at OFF lets only
/// OFF entries through.
enum KivEnTraceDetail : std::uint32_t {
  KIV_TRACE_DETAIL_OFF = 0,   ///< displayed "OFF"
  KIV_TRACE_DETAIL_LOW = 1,   ///< displayed "LOW"
  KIV_TRACE_DETAIL_MED = 2,   ///< displayed "MED"
  KIV_TRACE_DETAIL_HIGH = 3,  ///< displayed "HIGH"
};

#endif
