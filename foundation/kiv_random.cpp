// The IBAA generator: seeding from the clock, batch generation, drawing and
// scaling.

#include "kiv_random.hpp"

#include <sys/time.h>

namespace {

constexpr std::uint64_t gs_ulBatchSize = 256;
constexpr std::uint64_t gs_ulLargestResult = 4294967295u;
constexpr double gs_dLargestResult = 4294967295.0;
constexpr double gs_dTwoTo63 = 9223372036854775808.0;
constexpr double gs_dTwoTo64 = 18446744073709551616.0;

inline std::uint32_t low32(std::uint64_t word) { return static_cast<std::uint32_t>(word); }

inline std::uint32_t rotateLeft19(std::uint32_t a) { return (a << 19) | (a >> 13); }

// The microseconds part of the time of day; 0 should the clock be unreadable.
std::uint64_t clockMicroseconds() {
  timeval now{};
  if (gettimeofday(&now, nullptr) != 0) return 0;
  return static_cast<std::uint64_t>(now.tv_usec);
}

}  // namespace

KivClRandomNumberGenerator::KivClRandomNumberGenerator()
    : m_aulState{}, m_aulResults{}, m_ulAccumulator(0), m_ulLastResult(0), m_ulRemaining(0) {
  init(clockMicroseconds());
}

void KivClRandomNumberGenerator::init(std::uint64_t seed) const {
  // The minimal standard step without its correction for negative values:
  // in unsigned arithmetic a "negative" s simply wraps, and the state keeps
  // the wrapped value. aa and bb stay as they are.
  std::uint64_t s = seed | 1u;
  for (std::uint64_t i = 0; i < gs_ulBatchSize; ++i) {
    const std::uint64_t q = s / 127773u;
    s = (s - q * 127773u) * 16807u - q * 2836u;
    m_aulState[i] = s;
  }
  generateBatch();
  m_ulRemaining = gs_ulBatchSize;
}

void KivClRandomNumberGenerator::ibaa() { generateBatch(); }

void KivClRandomNumberGenerator::generateBatch() const noexcept {
  // All arithmetic is on 32 bits; the state words hold 64-bit seed values
  // until the first batch has replaced each of them with a 32-bit one, and
  // only their low 32 bits take part.
  std::uint32_t a = low32(m_ulAccumulator);
  std::uint32_t b = low32(m_ulLastResult);
  for (std::uint64_t i = 0; i < gs_ulBatchSize; ++i) {
    const std::uint32_t x = low32(m_aulState[i]);
    a = rotateLeft19(a) + low32(m_aulState[(i + 128) % gs_ulBatchSize]);
    const std::uint32_t y = low32(m_aulState[x % gs_ulBatchSize]) + a + b;
    m_aulState[i] = y;
    b = low32(m_aulState[(y >> 8) % gs_ulBatchSize]) + x;
    m_aulResults[i] = b;
  }
  m_ulAccumulator = a;
  m_ulLastResult = b;
}

std::uint64_t KivClRandomNumberGenerator::getRandomNumber(std::uint64_t max) const {
  std::uint64_t value;
  if (m_ulRemaining == 0) {
    generateBatch();
    value = m_aulResults[gs_ulBatchSize - 1];
    m_ulRemaining = gs_ulBatchSize - 1;
  } else {
    value = m_aulResults[m_ulRemaining - 1];
    --m_ulRemaining;
  }
  return scaleToRange(value, max);
}

std::uint64_t KivClRandomNumberGenerator::getRandomNumber() const {
  return getRandomNumber(gs_ulLargestResult);
}

std::uint64_t KivClRandomNumberGenerator::scaleToRange(std::uint64_t value,
                                                       std::uint64_t max) noexcept {
  const double product =
      static_cast<double>(max) * (static_cast<double>(value) / gs_dLargestResult);
  std::uint64_t result;
  if (product >= gs_dTwoTo64) {
    // No 64-bit integer holds it; only a result that reaches the maximum
    // gets here.
    result = max;
  } else if (product >= gs_dTwoTo63) {
    result = static_cast<std::uint64_t>(static_cast<std::int64_t>(product - gs_dTwoTo63)) +
             (std::uint64_t{1} << 63);
  } else {
    result = static_cast<std::uint64_t>(static_cast<std::int64_t>(product));
  }
  // The double nearest to a maximum above 2^53 may lie above it.
  return result < max ? result : max;
}
