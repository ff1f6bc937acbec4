// The algorithmic conversion methods, called directly with a conversion
// record: copying, byte swapping, UTF-8 to UCS-2 and back, UCS-2 to 819, and
// the single-character UTF-8 decoder. Every edge of their rules, with the
// exact output, consumption and error record.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "kiv_converter.hpp"
#include "kiv_test_support.hpp"
#include "kiv_utf8_reference.hpp"

namespace {

using Bytes = std::vector<unsigned char>;
using kivref::Outcome;

constexpr unsigned char kFill = 0xA5;

/// UCS-2 units as host-order (little-endian) bytes.
Bytes units(std::initializer_list<std::uint16_t> list) {
  Bytes out;
  for (const std::uint16_t u : list) {
    out.push_back(static_cast<unsigned char>(u & 0xFF));
    out.push_back(static_cast<unsigned char>(u >> 8));
  }
  return out;
}

/// Runs `method` on the first `size` bytes of `buffer` (the rest of the
/// buffer lies behind the source) into a target of `targetSize` bytes.
Outcome run(KivClConverterABase::KivPfuConvert method, const Bytes& buffer, std::size_t size,
            std::size_t targetSize) {
  return kivref::runMethod(method, buffer.data(), size, targetSize, kFill);
}
Outcome run(KivClConverterABase::KivPfuConvert method, const Bytes& source,
            std::size_t targetSize) {
  return run(method, source, source.size(), targetSize);
}

/// The first `n` bytes of the target.
Bytes head(const Outcome& o, std::size_t n) {
  return Bytes(o.target.begin(), o.target.begin() + n);
}

void expectError(const Outcome& o, long id, KivEnErrorClass errorClass) {
  EXPECT_EQ(o.error.id, id) << kivtest::describe(o.error);
  EXPECT_EQ(o.error.errorClass, errorClass) << kivtest::describe(o.error);
}
void expectNoError(const Outcome& o) { expectError(o, KIV_NO_ERROR, KivEnErrorClass::UNKNOWN); }
void expectIncomplete(const Outcome& o) {
  expectError(o, KIV_CPCONVERTER_INCOMPLETE, KivEnErrorClass::USER_DATA_ERROR);
}
void expectTooBig(const Outcome& o) {
  expectError(o, KIV_CPCONVERTER_TOO_BIG, KivEnErrorClass::DATA_OUT_OF_BOUNDS);
}

/// The target bytes from `from` on are untouched.
void expectUntouchedFrom(const Outcome& o, std::size_t from) {
  for (std::size_t i = from; i < o.target.size(); ++i)
    EXPECT_EQ(o.target[i], kFill) << "byte " << i;
}

// ---------------------------------------------------------------------------
// Copying and byte swapping
// ---------------------------------------------------------------------------

TEST(Copying, OddCountWritesTheEvenPartAndReportsIncomplete) {
  const Bytes source = {1, 2, 3, 4, 5};
  const Outcome o = run(kivConvertByCopying, source, 10);
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(o.consumed, 4u);
  EXPECT_EQ(head(o, 4), (Bytes{1, 2, 3, 4}));
  expectUntouchedFrom(o, 4);
  expectIncomplete(o);
}

TEST(Copying, SmallerTargetLimitsTheCopy) {
  const Bytes source = {1, 2, 3, 4, 5, 6};
  Outcome o = run(kivConvertByCopying, source, 4);
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(o.consumed, 4u);
  EXPECT_EQ(o.target, (Bytes{1, 2, 3, 4}));
  expectNoError(o);

  o = run(kivConvertByCopying, source, 3);  // min is odd: one unit and incomplete
  EXPECT_EQ(o.written, 2u);
  EXPECT_EQ(o.consumed, 2u);
  EXPECT_EQ(o.target, (Bytes{1, 2, kFill}));
  expectIncomplete(o);
}

TEST(Copying, WholeEvenSourceAndEmptySource) {
  const Bytes source = units({0x0041, 0x20AC, 0xD83D});
  Outcome o = run(kivConvertByCopying, source, 8);
  EXPECT_EQ(o.written, 6u);
  EXPECT_EQ(o.consumed, 6u);
  EXPECT_EQ(head(o, 6), source);
  expectNoError(o);

  o = run(kivConvertByCopying, Bytes{}, 8);
  EXPECT_EQ(o.written, 0u);
  EXPECT_EQ(o.consumed, 0u);
  expectNoError(o);
  o = run(kivConvertByCopying, Bytes{}, 0);
  EXPECT_EQ(o.written, 0u);
  expectNoError(o);
}

TEST(EndianSwap, BigEndianPairsBecomeHostUnitsAndBack) {
  const Bytes big = {0x00, 0x41, 0x20, 0xAC, 0xD8, 0x3D};
  const Outcome o = run(kivConvertByEndianSwap, big, 6);
  EXPECT_EQ(o.written, 6u);
  EXPECT_EQ(o.consumed, 6u);
  EXPECT_EQ(o.target, units({0x0041, 0x20AC, 0xD83D}));
  expectNoError(o);

  const Outcome back = run(kivConvertByEndianSwap, o.target, 6);
  EXPECT_EQ(back.target, big);
}

TEST(EndianSwap, OddCountAndSmallTarget) {
  const Bytes source = {0x12, 0x34, 0x56, 0x78, 0x9A};
  Outcome o = run(kivConvertByEndianSwap, source, 10);
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(o.consumed, 4u);
  EXPECT_EQ(head(o, 4), (Bytes{0x34, 0x12, 0x78, 0x56}));
  expectUntouchedFrom(o, 4);
  expectIncomplete(o);

  o = run(kivConvertByEndianSwap, source, 2);
  EXPECT_EQ(o.written, 2u);
  EXPECT_EQ(o.consumed, 2u);
  EXPECT_EQ(o.target, (Bytes{0x34, 0x12}));
  expectNoError(o);
}

// ---------------------------------------------------------------------------
// UTF-8 to UCS-2
// ---------------------------------------------------------------------------

Outcome fromUtf8(const Bytes& source, std::size_t targetSize = 64) {
  return run(kivConvertByAlgorithmUTF8toUCS2, source, targetSize);
}

TEST(Utf8ToUcs2, AsciiTwoByteAndFourByteSequences) {
  Outcome o = fromUtf8({'A', 0xC3, 0xA9});
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(o.consumed, 3u);
  EXPECT_EQ(head(o, 4), units({0x0041, 0x00E9}));
  expectUntouchedFrom(o, 4);
  expectNoError(o);

  o = fromUtf8({0xF0, 0x9F, 0x98, 0x80});
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(o.consumed, 4u);
  EXPECT_EQ(head(o, 4), units({0xD83D, 0xDE00}));
  expectNoError(o);

  o = fromUtf8({0xE2, 0x82, 0xAC, 0xDF, 0xBF, 0xE0, 0xA0, 0x80, 0x7F, 0x00});
  EXPECT_EQ(o.written, 10u);
  EXPECT_EQ(head(o, 10), units({0x20AC, 0x07FF, 0x0800, 0x007F, 0x0000}));
  expectNoError(o);
}

TEST(Utf8ToUcs2, SequenceOneByteShortTakesTheByteBehindTheSource) {
  // The buffer holds E2 82 AC, the source size is 2: the byte behind the
  // source completes the sequence, and the source pointer ends behind it.
  const Bytes buffer = {'x', 0xE2, 0x82, 0xAC};
  Outcome o = run(kivConvertByAlgorithmUTF8toUCS2, buffer, 3, 64);
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(o.consumed, 4u);
  EXPECT_EQ(head(o, 4), units({0x0078, 0x20AC}));
  expectNoError(o);

  // What is read is really that byte: E2 82 with 'X' behind decodes to
  // (0xE2 * 4096 + 0x82 * 64 + 0x58) - 0xE2080 = 0x2058.
  const Bytes other = {0xE2, 0x82, 'X'};
  o = run(kivConvertByAlgorithmUTF8toUCS2, other, 2, 64);
  EXPECT_EQ(o.consumed, 3u);
  EXPECT_EQ(head(o, 2), units({0x2058}));

  // A two-byte sequence missing its trailing byte reads the byte behind too.
  const Bytes twoByte = {0xC3, 0xA9};
  o = run(kivConvertByAlgorithmUTF8toUCS2, twoByte, 1, 64);
  EXPECT_EQ(o.consumed, 2u);
  EXPECT_EQ(head(o, 2), units({0x00E9}));
  expectNoError(o);
}

TEST(Utf8ToUcs2, SequenceTwoBytesShortIsIncompleteAndNotConsumed) {
  const Bytes buffer = {'A', 0xE2, 0x82, 0xAC};
  Outcome o = run(kivConvertByAlgorithmUTF8toUCS2, buffer, 2, 64);
  EXPECT_EQ(o.written, 2u);
  EXPECT_EQ(o.consumed, 1u);  // the source stays at E2
  EXPECT_EQ(head(o, 2), units({0x0041}));
  expectUntouchedFrom(o, 2);
  expectIncomplete(o);

  // E2 alone, although the buffer holds its two trailing bytes behind it.
  const Bytes lead = {0xE2, 0x82, 0xAC};
  o = run(kivConvertByAlgorithmUTF8toUCS2, lead, 1, 64);
  EXPECT_EQ(o.written, 0u);
  EXPECT_EQ(o.consumed, 0u);
  expectIncomplete(o);

  // Four-byte lead with one trailing byte: two short.
  o = fromUtf8({0xF0, 0x9F});
  EXPECT_EQ(o.consumed, 0u);
  EXPECT_EQ(o.written, 0u);
  expectIncomplete(o);
  // Six-byte lead alone: five short.
  o = fromUtf8({'a', 'b', 0xFC});
  EXPECT_EQ(o.consumed, 2u);
  EXPECT_EQ(o.written, 4u);
  expectIncomplete(o);
}

TEST(Utf8ToUcs2, FullTargetConsumesTheCharacterThatDidNotFit) {
  Outcome o = fromUtf8({'A', 'B'}, 2);
  EXPECT_EQ(o.written, 2u);
  EXPECT_EQ(o.consumed, 2u);  // the source stands after "B"
  EXPECT_EQ(o.target, units({0x0041}));
  expectTooBig(o);

  o = fromUtf8({'A', 0xC3, 0xA9, 'C'}, 2);
  EXPECT_EQ(o.written, 2u);
  EXPECT_EQ(o.consumed, 3u);
  expectTooBig(o);

  o = fromUtf8({'A'}, 0);
  EXPECT_EQ(o.written, 0u);
  EXPECT_EQ(o.consumed, 1u);
  expectTooBig(o);
}

TEST(Utf8ToUcs2, SurrogatePairNeedsTwoUnitsOfRoom) {
  Outcome o = fromUtf8({0xF0, 0x9F, 0x98, 0x80}, 2);
  EXPECT_EQ(o.written, 0u);
  EXPECT_EQ(o.consumed, 4u);
  expectUntouchedFrom(o, 0);
  expectTooBig(o);

  o = fromUtf8({'A', 0xF0, 0x9F, 0x98, 0x80}, 4);
  EXPECT_EQ(o.written, 2u);
  EXPECT_EQ(o.consumed, 5u);
  EXPECT_EQ(head(o, 2), units({0x0041}));
  expectUntouchedFrom(o, 2);
  expectTooBig(o);

  o = fromUtf8({'A', 0xF0, 0x9F, 0x98, 0x80}, 6);
  EXPECT_EQ(o.written, 6u);
  EXPECT_EQ(o.target, units({0x0041, 0xD83D, 0xDE00}));
  expectNoError(o);
}

TEST(Utf8ToUcs2, OddTargetSizeNeverWritesItsLastByte) {
  Outcome o = fromUtf8({'A', 'B'}, 3);
  EXPECT_EQ(o.written, 2u);
  EXPECT_EQ(o.consumed, 2u);
  EXPECT_EQ(o.target, (Bytes{0x41, 0x00, kFill}));
  expectTooBig(o);

  o = fromUtf8({'A', 0xF0, 0x9F, 0x98, 0x80}, 5);
  EXPECT_EQ(o.written, 2u);
  EXPECT_EQ(o.consumed, 5u);
  expectUntouchedFrom(o, 2);
  expectTooBig(o);
}

TEST(Utf8ToUcs2, OverlongFormsAreAccepted) {
  const Outcome o = fromUtf8({0xC0, 0x80, 0xC1, 0x81, 0xE0, 0x80, 0x80, 0xE0, 0x81, 0x81, 0xF0,
                              0x80, 0x80, 0xC1, 0xF8, 0x80, 0x80, 0x80, 0x80});
  EXPECT_EQ(o.consumed, 19u);
  expectUntouchedFrom(o, 12);
  EXPECT_EQ(o.written, 12u);
  EXPECT_EQ(head(o, 12), units({0x0000, 0x0041, 0x0000, 0x0041, 0x0041, 0x0000}));
  expectNoError(o);
}

TEST(Utf8ToUcs2, StrayContinuationBytesStandForThemselves) {
  const Outcome o = fromUtf8({0x80, 0xBF, 'a', 0x9F});
  EXPECT_EQ(o.written, 8u);
  EXPECT_EQ(o.consumed, 4u);
  EXPECT_EQ(head(o, 8), units({0x0080, 0x00BF, 0x0061, 0x009F}));
  expectNoError(o);
}

TEST(Utf8ToUcs2, TrailingBytesAreNotChecked) {
  // C3 41: (0xC3 * 64 + 0x41) - 0x3080 = 0x81. C1 BF: 0x7F.
  Outcome o = fromUtf8({0xC3, 0x41, 0xC1, 0xBF});
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(head(o, 4), units({0x0081, 0x007F}));
  expectNoError(o);
  // C0 41 wraps below zero: a value of 0x80000000 or more is U+FFFD.
  o = fromUtf8({0xC0, 0x41});
  EXPECT_EQ(head(o, 2), units({0xFFFD}));
}

TEST(Utf8ToUcs2, EncodedSurrogatesPassThrough) {
  const Outcome o = fromUtf8({0xED, 0xA0, 0x80, 0xED, 0xBF, 0xBF});
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(head(o, 4), units({0xD800, 0xDFFF}));
  expectNoError(o);
}

TEST(Utf8ToUcs2, ValuesBeyondTheUnicodeRangeGivePairsOrTheReplacement) {
  // F4 90 80 80 is 0x110000: a "pair" whose first unit is no high surrogate.
  Outcome o = fromUtf8({0xF4, 0x90, 0x80, 0x80});
  EXPECT_EQ(head(o, 4), units({0xDC00, 0xDC00}));
  // F8 88 80 80 80 is 0x200000 (five bytes).
  o = fromUtf8({0xF8, 0x88, 0x80, 0x80, 0x80});
  EXPECT_EQ(o.consumed, 5u);
  EXPECT_EQ(head(o, 4), units({0xDFC0, 0xDC00}));
  // FD BF BF BF BF BF is 0x7FFFFFFF (six bytes): the high unit wraps to 16 bits.
  o = fromUtf8({0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF});
  EXPECT_EQ(o.consumed, 6u);
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(head(o, 4), units({0xD7BF, 0xDFFF}));
  // FE 80 80 80 80 80 is 0x80000000, FF BF BF BF BF BF 0xFFFFFFFF: U+FFFD.
  o = fromUtf8({0xFE, 0x80, 0x80, 0x80, 0x80, 0x80, 0xFF, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF});
  EXPECT_EQ(o.consumed, 12u);
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(head(o, 4), units({0xFFFD, 0xFFFD}));
  expectNoError(o);
}

TEST(Utf8ToUcs2, ReplacementNeedsOnlyOneUnitOfRoom) {
  const Outcome o = fromUtf8({'A', 0xFE, 0x80, 0x80, 0x80, 0x80, 0x80}, 4);
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(o.target, units({0x0041, 0xFFFD}));
  expectNoError(o);
}

TEST(Utf8ToUcs2, EmptySource) {
  const Outcome o = fromUtf8({}, 4);
  EXPECT_EQ(o.written, 0u);
  EXPECT_EQ(o.consumed, 0u);
  expectUntouchedFrom(o, 0);
  expectNoError(o);
}

TEST(Utf8ToUcs2, LongAsciiRunsWithAStopInside) {
  // 40 ASCII bytes, then a sequence two bytes short: the run is converted,
  // the source stops at the lead byte.
  Bytes source(40, 'q');
  source.push_back(0xE2);
  Outcome o = fromUtf8(source, 200);
  EXPECT_EQ(o.written, 80u);
  EXPECT_EQ(o.consumed, 40u);
  expectIncomplete(o);
  expectUntouchedFrom(o, 80);

  // 40 ASCII bytes into room for 20 units: 20 written, the 21st consumed.
  source.assign(40, 'q');
  o = fromUtf8(source, 40);
  EXPECT_EQ(o.written, 40u);
  EXPECT_EQ(o.consumed, 21u);
  expectTooBig(o);
}

// ---------------------------------------------------------------------------
// UCS-2 to UTF-8
// ---------------------------------------------------------------------------

Outcome toUtf8(const Bytes& source, std::size_t targetSize = 64) {
  return run(kivConvertByAlgorithmUCS2toUTF8, source, targetSize);
}

TEST(Ucs2ToUtf8, EncodesOneToFourBytes) {
  const Outcome o = toUtf8(units({0x0041, 0x00E9, 0x07FF, 0x0800, 0x20AC, 0xD83D, 0xDE00, 0x0000}));
  const Bytes expected = {0x41, 0xC3, 0xA9, 0xDF, 0xBF, 0xE0, 0xA0, 0x80,
                          0xE2, 0x82, 0xAC, 0xF0, 0x9F, 0x98, 0x80, 0x00};
  EXPECT_EQ(o.written, expected.size());
  EXPECT_EQ(o.consumed, 16u);
  EXPECT_EQ(head(o, expected.size()), expected);
  expectUntouchedFrom(o, expected.size());
  expectNoError(o);
}

TEST(Ucs2ToUtf8, HighestPairAndHighestValidUnit) {
  const Outcome o = toUtf8(units({0xDBFF, 0xDFFF, 0xFFFD, 0xFDCF, 0xFDF0}));
  const Bytes expected = {0xF4, 0x8F, 0xBF, 0xBF, 0xEF, 0xBF, 0xBD,
                          0xEF, 0xB7, 0x8F, 0xEF, 0xB7, 0xB0};
  EXPECT_EQ(head(o, expected.size()), expected);
  EXPECT_EQ(o.written, expected.size());
}

TEST(Ucs2ToUtf8, LoneSurrogatesAndNoncharactersBecomeEFBFBF) {
  const Bytes invalid = {0xEF, 0xBF, 0xBF};
  for (const std::uint16_t unit :
       {0xD83D, 0xDE00, 0xDC00, 0xDFFF, 0xFFFE, 0xFFFF, 0xFDD0, 0xFDD5, 0xFDEF}) {
    const Outcome o = toUtf8(units({unit}));
    EXPECT_EQ(o.written, 3u) << std::hex << unit;
    EXPECT_EQ(o.consumed, 2u) << std::hex << unit;
    EXPECT_EQ(head(o, 3), invalid) << std::hex << unit;
    expectNoError(o);
  }
}

TEST(Ucs2ToUtf8, HighSurrogateWithoutLowPartnerLeavesTheNextUnitAlone) {
  Outcome o = toUtf8(units({0xD83D, 0x0041}));
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(o.consumed, 4u);
  EXPECT_EQ(head(o, 4), (Bytes{0xEF, 0xBF, 0xBF, 0x41}));

  // Two high surrogates, then a low one: the second pair is whole.
  o = toUtf8(units({0xD83D, 0xD83D, 0xDE00}));
  EXPECT_EQ(o.written, 7u);
  EXPECT_EQ(head(o, 7), (Bytes{0xEF, 0xBF, 0xBF, 0xF0, 0x9F, 0x98, 0x80}));
  expectNoError(o);
}

TEST(Ucs2ToUtf8, HighSurrogateBeforeAnOddLastByteIsAlone) {
  // The low surrogate is cut to one byte: it is not a unit that follows.
  const Bytes source = {0x3D, 0xD8, 0x00};
  const Outcome o = toUtf8(source);
  EXPECT_EQ(o.written, 3u);
  EXPECT_EQ(o.consumed, 2u);
  EXPECT_EQ(head(o, 3), (Bytes{0xEF, 0xBF, 0xBF}));
  expectIncomplete(o);
}

TEST(Ucs2ToUtf8, OddSourceConvertsTheEvenPartAndReportsIncomplete) {
  const Bytes source = {0x41, 0x00, 0x42};
  const Outcome o = toUtf8(source);
  EXPECT_EQ(o.written, 1u);
  EXPECT_EQ(o.consumed, 2u);
  EXPECT_EQ(head(o, 1), (Bytes{0x41}));
  expectUntouchedFrom(o, 1);
  expectIncomplete(o);
}

TEST(Ucs2ToUtf8, FullTargetConsumesTheUnitThatDidNotFit) {
  Outcome o = toUtf8(units({0x0041, 0x00E9, 0x0042}), 2);
  EXPECT_EQ(o.written, 1u);
  EXPECT_EQ(o.consumed, 4u);  // past 00E9, which needed two bytes
  EXPECT_EQ(o.target, (Bytes{0x41, kFill}));
  expectTooBig(o);

  o = toUtf8(units({0xD83D, 0xDE00, 0x0041}), 3);
  EXPECT_EQ(o.written, 0u);
  EXPECT_EQ(o.consumed, 4u);  // the whole pair
  expectUntouchedFrom(o, 0);
  expectTooBig(o);

  o = toUtf8(units({0x20AC}), 2);
  EXPECT_EQ(o.written, 0u);
  EXPECT_EQ(o.consumed, 2u);
  expectTooBig(o);

  o = toUtf8(units({0x0041}), 0);
  EXPECT_EQ(o.written, 0u);
  EXPECT_EQ(o.consumed, 2u);
  expectTooBig(o);
}

TEST(Ucs2ToUtf8, FullTargetAfterAnOddSourceReportsTooBig) {
  Bytes source = units({0x0041, 0x0042});
  source.push_back(0x43);
  const Outcome o = toUtf8(source, 1);
  EXPECT_EQ(o.written, 1u);
  EXPECT_EQ(o.consumed, 4u);
  expectTooBig(o);
}

TEST(Ucs2ToUtf8, LongAsciiRunsIntoSmallTargets) {
  Bytes source;
  for (int i = 0; i < 40; ++i) {
    source.push_back(static_cast<unsigned char>('a' + i % 26));
    source.push_back(0);
  }
  Outcome o = toUtf8(source, 20);
  EXPECT_EQ(o.written, 20u);
  EXPECT_EQ(o.consumed, 42u);
  expectTooBig(o);
  o = toUtf8(source, 40);
  EXPECT_EQ(o.written, 40u);
  EXPECT_EQ(o.consumed, 80u);
  EXPECT_EQ(o.target[39], 'a' + 39 % 26);
  expectNoError(o);
}

// ---------------------------------------------------------------------------
// UCS-2 to 819
// ---------------------------------------------------------------------------

TEST(Ucs2To819, WritesTheLowByteOfEveryUnit) {
  const Outcome o = run(kivConvertByAlgorithmUCS2to819, units({0x0041, 0x00E9, 0x20AC, 0xFFFF}), 4);
  EXPECT_EQ(o.written, 4u);
  EXPECT_EQ(o.consumed, 8u);
  EXPECT_EQ(o.target, (Bytes{0x41, 0xE9, 0xAC, 0xFF}));
  expectNoError(o);
}

TEST(Ucs2To819, OddSourceReportsIncomplete) {
  const Bytes source = {0x41, 0x00, 0x42};
  const Outcome o = run(kivConvertByAlgorithmUCS2to819, source, 4);
  EXPECT_EQ(o.written, 1u);
  EXPECT_EQ(o.consumed, 2u);
  EXPECT_EQ(o.target, (Bytes{0x41, kFill, kFill, kFill}));
  expectIncomplete(o);
}

TEST(Ucs2To819, DoesNotConsultTheTargetSize) {
  // The caller provides the room (one byte per unit) whatever size it passes.
  Bytes source;
  Bytes expected;
  for (int i = 0; i < 37; ++i) {
    const auto unit = static_cast<std::uint16_t>(0x0100 * i + 0x20 + i);
    source.push_back(static_cast<unsigned char>(unit & 0xFF));
    source.push_back(static_cast<unsigned char>(unit >> 8));
    expected.push_back(static_cast<unsigned char>(unit & 0xFF));
  }
  kivref::RecordOnlyConverter converter;
  Bytes target(37, kFill);
  const char* position = reinterpret_cast<const char*>(source.data());
  KivClConverterABase::_KivStConverter record{&converter, reinterpret_cast<char*>(target.data()), 0,
                                              &position, source.size()};
  EXPECT_EQ(kivConvertByAlgorithmUCS2to819(record), 37u);
  EXPECT_EQ(position, reinterpret_cast<const char*>(source.data()) + 74);
  EXPECT_EQ(target, expected);
  EXPECT_KIV_NO_ERROR(converter);
}

// ---------------------------------------------------------------------------
// The single-character decoder
// ---------------------------------------------------------------------------

unsigned int decode(const Bytes& bytes) {
  return KivClConverterABase::convertUtf8CharToUtf32(reinterpret_cast<const char*>(bytes.data()));
}

TEST(Utf8CharToUtf32, DecodesWithoutChecks) {
  EXPECT_EQ(decode({'A'}), 0x41u);
  EXPECT_EQ(decode({0xC3, 0xA9}), 0xE9u);
  EXPECT_EQ(decode({0xE2, 0x82, 0xAC}), 0x20ACu);
  EXPECT_EQ(decode({0xF0, 0x9F, 0x98, 0x80}), 0x1F600u);
  EXPECT_EQ(decode({0xC0, 0x80}), 0u);             // overlong
  EXPECT_EQ(decode({0xED, 0xA0, 0x80}), 0xD800u);  // encoded surrogate
  EXPECT_EQ(decode({0x80}), 0x80u);                // stray continuation byte
  EXPECT_EQ(decode({0xC3, 0x41}), 0x81u);          // trailing byte not checked
  EXPECT_EQ(decode({0xF8, 0x88, 0x80, 0x80, 0x80}), 0x200000u);
  EXPECT_EQ(decode({0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}), 0x4000000u);
  EXPECT_EQ(decode({0xFD, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}), 0x7FFFFFFFu);
  EXPECT_EQ(decode({0xFF, 0xBF, 0xBF, 0xBF, 0xBF, 0xBF}), 0xFFFFFFFFu);
  EXPECT_EQ(decode({0xC0, 0x41}), 0xFFFFFFC1u);  // wraps below zero
}

}  // namespace
