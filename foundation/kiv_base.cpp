// Library identity, 16-bit byte order, sleeping, the wall clock and the
// developer print helpers.

#include <sys/select.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <ostream>

#include "kiv_base.hpp"

namespace {

// n x factor, capped at the largest 32-bit value rather than wrapping round
// to a much shorter sleep.
std::uint32_t cappedProduct(std::uint32_t n, std::uint32_t factor) {
  const std::uint64_t product = static_cast<std::uint64_t>(n) * factor;
  constexpr std::uint64_t limit = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(product > limit ? limit : product);
}

}  // namespace

extern "C" {

const char* kivLibraryGetLevel(void) { return "KIVLibR5-24"; }

const char* kivLibraryGetTod(void) { return "Mar  8 2009"; }

bool kivLibraryIsShipCode(void) { return true; }

std::int32_t kivGetOperatingSystemId(void) { return KIV_OPERATING_SYSTEM_ID; }

std::uint32_t kivGetTimeStamp(void) { return 0; }

// ---------------------------------------------------------------------------
// 16-bit byte order
// ---------------------------------------------------------------------------

void kivEndianConvertW16Swap(void* buffer, std::size_t length) {
  if (buffer == nullptr || length < 2) return;
  auto* bytes = static_cast<unsigned char*>(buffer);
  // From the last whole unit down to the first; an odd last byte stays.
  for (std::size_t offset = (length & ~static_cast<std::size_t>(1)); offset != 0;) {
    offset -= 2;
    const unsigned char first = bytes[offset];
    bytes[offset] = bytes[offset + 1];
    bytes[offset + 1] = first;
  }
}

void kivEndianConvertW16HostToLittle(void*, std::size_t) {}

void kivEndianConvertW16LittleToHost(void*, std::size_t) {}

void kivEndianConvertW16HostToBig(void* buffer, std::size_t length) {
  kivEndianConvertW16Swap(buffer, length);
}

void kivEndianConvertW16BigToHost(void* buffer, std::size_t length) {
  kivEndianConvertW16Swap(buffer, length);
}

void kivEndianConvertW16LittleToBig(void* buffer, std::size_t length) {
  kivEndianConvertW16Swap(buffer, length);
}

void kivEndianConvertW16BigToLittle(void* buffer, std::size_t length) {
  kivEndianConvertW16Swap(buffer, length);
}

// ---------------------------------------------------------------------------
// Sleeping
// ---------------------------------------------------------------------------

unsigned int kivSleepHours(std::uint32_t hours) {
  return kivSleepMinutes(cappedProduct(hours, 60));
}

unsigned int kivSleepMinutes(std::uint32_t minutes) {
  return kivSleepSeconds(cappedProduct(minutes, 60));
}

unsigned int kivSleepSeconds(std::uint32_t seconds) { return ::sleep(seconds); }

int kivSleepMilliSeconds(std::uint32_t milliseconds) {
  return kivSleepMicroSeconds(static_cast<std::uint64_t>(milliseconds) * 1000);
}

int kivSleepMicroSeconds(std::uint64_t microseconds) {
  timeval timeout{};
  timeout.tv_sec = static_cast<time_t>(microseconds / 1000000);
  timeout.tv_usec = static_cast<suseconds_t>(microseconds % 1000000);
  return ::select(0, nullptr, nullptr, nullptr, &timeout);
}

// ---------------------------------------------------------------------------
// Developer print helper
// ---------------------------------------------------------------------------

void kiv_tprintf(const char* file, int line, const char* format, ...) {
  std::printf("[%s:%d] ", file != nullptr ? file : "", line);
  if (format != nullptr) {
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
  }
  if (format == nullptr || std::strchr(format, '\n') == nullptr) std::putchar('\n');
  std::fflush(stdout);
}

}  // extern "C"

std::ostream& kiv_tprint(std::ostream& stream, const char* file, int line) {
  const char* name = file != nullptr ? file : "";
  if (const char* separator = std::strrchr(name, '/')) name = separator + 1;
  return stream << '[' << name << ':' << line << "] ";
}

void KivClTiming::init(bool) {
  m_dStart = 0.0;
  m_dStop = 0.0;
  m_dLast = 0.0;
  m_dTotal = 0.0;
}

double KivClTiming::wallClockTime() const {
  timeval now{};
  ::gettimeofday(&now, nullptr);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) * 1e-6;
}
