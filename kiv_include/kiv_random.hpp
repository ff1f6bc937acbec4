/// \file
/// KIV Library: the pseudo-random number generator.
///
/// KivClRandomNumberGenerator is the IBAA generator (indirection, barrel
/// shift, accumulate and add) with 256 words of state and a shift of 8. It
/// yields 32-bit values in batches of 256 and scales each one to the range a
/// caller asks for. A new generator seeds itself from the microseconds of the
/// time of day; init() seeds it again. It is meant for unique names and
/// similar uses, not for anything that needs unpredictability.
///
/// Deliberate details, kept so that sequences stay reproducible:
///   - The accumulator (aa) and last result (bb) start at 0 when the object is
///     made. Seeding does NOT reset them: init() on a generator that has
///     already produced numbers continues from its current aa and bb, so two
///     generators give the same sequence only when seeded alike from the same
///     aa and bb (two new generators seeded alike, or copies of one).
///   - The seed's lowest bit is forced to 1, so seeds 2 and 3 are the same.
///   - Seeding uses the multiply-with-remainder step of the minimal standard
///     generator in wrapping unsigned 64-bit arithmetic, without adding back
///     2147483647 when the step goes negative.
///   - Results are handed out from the end of a batch downwards (r[255] first).
///   - init() and getRandomNumber() are const although they change the state
///     (it is mutable): drawing a number does not change what the generator
///     is, only where it stands.
///
/// Ownership: the state lives inside the object; there is nothing to free.
/// Failure: nothing fails and nothing throws. Thread safety: none, not even
/// for the const functions, which change the state; give each thread its own
/// generator or lock around it.
#ifndef KIV_RANDOM_HPP
#define KIV_RANDOM_HPP

#include <cstdint>

#include "kiv_export.hpp"

/// The IBAA pseudo-random number generator with 256 words of state.
class KIV_EXPORT KivClRandomNumberGenerator {
 public:
  /// Seeds the generator with the microseconds part of the time of day
  /// (0 to 999999) through init(); aa and bb start at 0.
  KivClRandomNumberGenerator();

  /// Seeds the state: s = seed | 1; for each of the 256 state words
  /// q = s / 127773, s = (s - q * 127773) * 16807 - q * 2836 (wrapping
  /// unsigned 64-bit arithmetic) and the word becomes s; then one batch is
  /// generated and all 256 of its results are available. aa and bb are NOT
  /// reset (see the banner).
  void init(std::uint64_t seed) const;

  /// Generates the next batch of 256 results from the state, aa and bb. The
  /// count of results not yet handed out is left as it is, so the next draw
  /// takes its result from the new batch at the same position.
  void ibaa();

  /// A number from 0 to `max` inclusive: the next 32-bit result v, scaled by
  /// scaleToRange(v, max). When the batch is used up, a new batch is
  /// generated first (the 257th draw after seeding does so). `max` itself
  /// comes only from the result 4294967295; getRandomNumber(0) is always 0.
  std::uint64_t getRandomNumber(std::uint64_t max) const;

  /// getRandomNumber(4294967295).
  std::uint64_t getRandomNumber() const;

  /// The scaling of a 32-bit result `value` to 0..`max`: the truncation of
  /// double(max) * (double(value) / 4294967295.0), converted to an unsigned
  /// 64-bit integer (products at or above 2^63 through the usual offset of
  /// 2^63). For a maximum above 2^53 the double nearest to it may lie above
  /// it, and for one close to 2^64 the product may reach 2^64, which no
  /// 64-bit integer holds; the result is then `max`, so that it never leaves
  /// 0..max. A `value` above 4294967295 likewise gives at most `max`.
  static std::uint64_t scaleToRange(std::uint64_t value, std::uint64_t max) noexcept;

 private:
  void generateBatch() const noexcept;

  mutable std::uint64_t m_aulState[256];    // m: the internal state
  mutable std::uint64_t m_aulResults[256];  // r: the current batch of results
  mutable std::uint64_t m_ulAccumulator;    // aa
  mutable std::uint64_t m_ulLastResult;     // bb
  mutable std::uint64_t m_ulRemaining;      // results of the batch not handed out yet
};

#endif
