// Differential tests of the UTF-8 methods:
// - on valid text, against ICU (u_strFromUTF8, u_strToUTF8): every length
//   from 0 to 300 characters of random mixed scripts, and 10 MB at once;
// - on any input, valid or not, against a plain reference of the rules
//   (tests/support/kiv_utf8_reference.hpp), so that the fast paths over
//   ASCII runs can never change an output byte, a count, a source position
//   or an error record. Invalid input is only ever judged by the rules: ICU
//   rejects overlong forms that the rules accept.
#include <gtest/gtest.h>
#include <unicode/ustring.h>
#include <unicode/utypes.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kiv_converter.hpp"
#include "kiv_test_support.hpp"
#include "kiv_utf8_reference.hpp"

namespace {

using Bytes = std::vector<unsigned char>;
using kivref::Outcome;

constexpr unsigned char kFill = 0x5A;

/// Character ranges of the scripts that make up the random text.
struct Script {
  std::uint32_t first;
  std::uint32_t last;
};
const Script gs_astScripts[] = {
    {0x0020, 0x007E},     // ASCII
    {0x00A0, 0x00FF},     // Latin-1
    {0x0400, 0x04FF},     // Cyrillic
    {0x0370, 0x03FF},     // Greek
    {0x0590, 0x05FF},     // Hebrew
    {0x0900, 0x097F},     // Devanagari
    {0x3040, 0x30FF},     // kana
    {0x4E00, 0x9FFF},     // CJK ideographs
    {0xAC00, 0xD7A3},     // Hangul
    {0xE000, 0xF8FF},     // private use
    {0xFF00, 0xFFEF},     // half- and full-width forms
    {0x1F300, 0x1F64F},   // pictographs (surrogate pairs)
    {0x20000, 0x2A6DF},   // CJK extension B (surrogate pairs)
    {0x10000, 0x10FFFF},  // any supplementary code point
};

bool isBmpNoncharacter(std::uint32_t cp) {
  return (cp >= 0xFDD0 && cp <= 0xFDEF) || cp == 0xFFFE || cp == 0xFFFF;
}

/// A random valid code point: no surrogates, no BMP noncharacters (which
/// the UCS-2 to UTF-8 method deliberately writes as U+FFFF). Mostly from
/// one script, so that runs form as in real text.
std::uint32_t randomCodePoint(std::mt19937& random, std::size_t script) {
  const std::size_t count = sizeof gs_astScripts / sizeof gs_astScripts[0];
  if (random() % 4 == 0) script = random() % count;
  const Script& s = gs_astScripts[script];
  for (;;) {
    const std::uint32_t cp =
        s.first + static_cast<std::uint32_t>(random() % (s.last - s.first + 1));
    if ((cp >= 0xD800 && cp <= 0xDFFF) || isBmpNoncharacter(cp)) continue;
    return cp;
  }
}

std::u16string randomText(std::mt19937& random, std::size_t characters) {
  const std::size_t script = random() % (sizeof gs_astScripts / sizeof gs_astScripts[0]);
  std::u16string text;
  for (std::size_t i = 0; i < characters; ++i) {
    const std::uint32_t cp = randomCodePoint(random, script);
    if (cp < 0x10000) {
      text.push_back(static_cast<char16_t>(cp));
    } else {
      text.push_back(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
      text.push_back(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
    }
  }
  return text;
}

std::string icuToUtf8(const std::u16string& text) {
  UErrorCode status = U_ZERO_ERROR;
  std::int32_t length = 0;
  u_strToUTF8(nullptr, 0, &length, text.data(), static_cast<std::int32_t>(text.size()), &status);
  std::string out(static_cast<std::size_t>(length), '\0');
  status = U_ZERO_ERROR;
  u_strToUTF8(out.data(), length, &length, text.data(), static_cast<std::int32_t>(text.size()),
              &status);
  EXPECT_FALSE(U_FAILURE(status)) << u_errorName(status);
  return out;
}

std::u16string icuFromUtf8(const std::string& text) {
  UErrorCode status = U_ZERO_ERROR;
  std::int32_t length = 0;
  u_strFromUTF8(nullptr, 0, &length, text.data(), static_cast<std::int32_t>(text.size()), &status);
  std::u16string out(static_cast<std::size_t>(length), u'\0');
  status = U_ZERO_ERROR;
  u_strFromUTF8(out.data(), length, &length, text.data(), static_cast<std::int32_t>(text.size()),
                &status);
  EXPECT_FALSE(U_FAILURE(status)) << u_errorName(status);
  return out;
}

/// Ours, UTF-8 to UCS-2, into a target of `targetUnits` units.
std::u16string oursFromUtf8(const std::string& text, std::size_t targetUnits, _KivStError& error,
                            std::size_t& consumed) {
  const Outcome o = kivref::runMethod(kivConvertByAlgorithmUTF8toUCS2,
                                      reinterpret_cast<const unsigned char*>(text.data()),
                                      text.size(), 2 * targetUnits, kFill);
  error = o.error;
  consumed = o.consumed;
  std::u16string out(o.written / 2, u'\0');
  if (o.written != 0) std::memcpy(out.data(), o.target.data(), o.written);
  for (std::size_t i = o.written; i < o.target.size(); ++i) EXPECT_EQ(o.target[i], kFill) << i;
  return out;
}

/// Ours, UCS-2 to UTF-8, into a target of `targetBytes` bytes.
std::string oursToUtf8(const std::u16string& text, std::size_t targetBytes, _KivStError& error,
                       std::size_t& consumed) {
  const Outcome o = kivref::runMethod(kivConvertByAlgorithmUCS2toUTF8,
                                      reinterpret_cast<const unsigned char*>(text.data()),
                                      2 * text.size(), targetBytes, kFill);
  error = o.error;
  consumed = o.consumed;
  for (std::size_t i = o.written; i < o.target.size(); ++i) EXPECT_EQ(o.target[i], kFill) << i;
  return std::string(o.target.begin(), o.target.begin() + static_cast<std::ptrdiff_t>(o.written));
}

/// Both directions agree with ICU, into targets of exactly the size needed
/// and into targets with room for the worst case (where the block-wise
/// passes run).
void expectAgreesWithIcu(const std::u16string& text) {
  const std::string utf8 = icuToUtf8(text);
  const std::u16string units = icuFromUtf8(utf8);
  ASSERT_TRUE(units == text);
  for (const std::size_t targetUnits : {text.size(), utf8.size()}) {
    _KivStError error;
    std::size_t consumed = 0;
    EXPECT_TRUE(oursFromUtf8(utf8, targetUnits, error, consumed) == units)
        << "UTF-8 to UCS-2 differs for " << utf8.size() << " bytes into " << targetUnits;
    EXPECT_EQ(error, _KivStError{});
    EXPECT_EQ(consumed, utf8.size());
  }
  for (const std::size_t targetBytes : {utf8.size(), 3 * text.size()}) {
    _KivStError error;
    std::size_t consumed = 0;
    EXPECT_TRUE(oursToUtf8(text, targetBytes, error, consumed) == utf8)
        << "UCS-2 to UTF-8 differs for " << text.size() << " units into " << targetBytes;
    EXPECT_EQ(error, _KivStError{});
    EXPECT_EQ(consumed, 2 * text.size());
  }
}

TEST(Utf8AgainstIcu, RandomValidTextOfEveryLengthUpTo300) {
  std::mt19937 random(20240611);
  for (std::size_t length = 0; length <= 300; ++length) {
    for (int round = 0; round < 6; ++round) {
      SCOPED_TRACE("length " + std::to_string(length) + " round " + std::to_string(round));
      expectAgreesWithIcu(randomText(random, length));
      if (HasFailure()) return;
    }
  }
}

TEST(Utf8AgainstIcu, TenMegabytesOfMixedScripts) {
  std::mt19937 random(7);
  std::u16string text;
  std::size_t utf8Bytes = 0;
  while (utf8Bytes < 10u * 1024 * 1024) {
    const std::u16string piece = randomText(random, 1 + random() % 2000);
    for (const char16_t u : piece) utf8Bytes += u < 0x80 ? 1 : (u < 0x800 ? 2 : 3);
    text += piece;
  }
  expectAgreesWithIcu(text);
}

TEST(Utf8AgainstIcu, EveryBmpCharacterAndEverySupplementaryPlaneEdge) {
  std::u16string text;
  for (std::uint32_t cp = 0; cp < 0x10000; ++cp) {
    if ((cp >= 0xD800 && cp <= 0xDFFF) || isBmpNoncharacter(cp)) continue;
    text.push_back(static_cast<char16_t>(cp));
  }
  for (std::uint32_t plane = 1; plane <= 16; ++plane) {
    for (const std::uint32_t cp : {plane << 16, (plane << 16) | 0xFFFD, (plane << 16) | 0xFFFF}) {
      text.push_back(static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
      text.push_back(static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
    }
  }
  expectAgreesWithIcu(text);
}

// ---------------------------------------------------------------------------
// Against the reference of the rules, on any input
// ---------------------------------------------------------------------------

/// Random bytes made of pieces that exercise the fast path and every stop:
/// ASCII runs of every length, valid and overlong sequences, stray
/// continuation bytes, bad trailing bytes, five- and six-byte forms.
Bytes randomUtf8Bytes(std::mt19937& random, std::size_t pieces) {
  Bytes out;
  for (std::size_t i = 0; i < pieces; ++i) {
    switch (random() % 8) {
      case 0:
      case 1:
      case 2: {
        const std::size_t run = random() % 70;
        for (std::size_t k = 0; k < run; ++k)
          out.push_back(static_cast<unsigned char>(random() % 0x80));
        break;
      }
      case 3: {  // a run of valid characters of one script
        const std::size_t script = random() % 14;
        for (std::size_t k = 1 + random() % 20; k > 0; --k) {
          const std::uint32_t cp = randomCodePoint(random, script);
          if (cp < 0x80) {
            out.push_back(static_cast<unsigned char>(cp));
          } else if (cp < 0x800) {
            out.insert(out.end(), {static_cast<unsigned char>(0xC0 | (cp >> 6)),
                                   static_cast<unsigned char>(0x80 | (cp & 0x3F))});
          } else if (cp < 0x10000) {
            out.insert(out.end(), {static_cast<unsigned char>(0xE0 | (cp >> 12)),
                                   static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F)),
                                   static_cast<unsigned char>(0x80 | (cp & 0x3F))});
          } else {
            out.insert(out.end(), {static_cast<unsigned char>(0xF0 | (cp >> 18)),
                                   static_cast<unsigned char>(0x80 | ((cp >> 12) & 0x3F)),
                                   static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F)),
                                   static_cast<unsigned char>(0x80 | (cp & 0x3F))});
          }
        }
        break;
      }
      case 4:  // a lead byte of any length with continuation bytes
        out.push_back(static_cast<unsigned char>(0xC0 + random() % 0x40));
        for (unsigned k = random() % 6; k > 0; --k)
          out.push_back(static_cast<unsigned char>(0x80 + random() % 0x40));
        break;
      default:  // any byte at all
        out.push_back(static_cast<unsigned char>(random() % 0x100));
        break;
    }
  }
  return out;
}

/// Random units: ASCII runs, runs of text of one script, any BMP unit,
/// pairs, lone surrogates and the noncharacters.
Bytes randomUcs2Bytes(std::mt19937& random, std::size_t pieces) {
  std::vector<std::uint16_t> units;
  for (std::size_t i = 0; i < pieces; ++i) {
    switch (random() % 9) {
      case 7:
      case 8:
        for (const char16_t u : randomText(random, 1 + random() % 24)) units.push_back(u);
        break;
      case 0:
      case 1:
      case 2: {
        const std::size_t run = random() % 70;
        for (std::size_t k = 0; k < run; ++k)
          units.push_back(static_cast<std::uint16_t>(random() % 0x80));
        break;
      }
      case 3:
        units.push_back(static_cast<std::uint16_t>(0xD800 + random() % 0x400));
        units.push_back(static_cast<std::uint16_t>(0xDC00 + random() % 0x400));
        break;
      case 4: {
        static const std::uint16_t special[] = {0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0xFDD0,
                                                0xFDEF, 0xFDCF, 0xFDF0, 0xFFFE, 0xFFFF,
                                                0x007F, 0x0080, 0x07FF, 0x0800, 0xFFFD};
        units.push_back(special[random() % (sizeof special / sizeof special[0])]);
        break;
      }
      default:
        units.push_back(static_cast<std::uint16_t>(random() % 0x10000));
        break;
    }
  }
  Bytes out;
  for (const std::uint16_t u : units) {
    out.push_back(static_cast<unsigned char>(u & 0xFF));
    out.push_back(static_cast<unsigned char>(u >> 8));
  }
  if (!out.empty() && random() % 3 == 0) out.pop_back();  // an odd size now and then
  return out;
}

/// Compares ours with the reference on `buffer`, cut to `size` bytes (the
/// rest stays readable behind the source), at every target size of a spread.
void expectAgreesWithReference(KivClConverterABase::KivPfuConvert method,
                               Outcome (*reference)(const unsigned char*, std::size_t, std::size_t,
                                                    unsigned char),
                               const Bytes& buffer, std::size_t size, std::size_t targetSize) {
  const Outcome ours = kivref::runMethod(method, buffer.data(), size, targetSize, kFill);
  const Outcome rules = reference(buffer.data(), size, targetSize, kFill);
  ASSERT_TRUE(ours == rules) << "size " << size << ", target " << targetSize << ": written "
                             << ours.written << "/" << rules.written << ", consumed "
                             << ours.consumed << "/" << rules.consumed << ", error "
                             << kivtest::describe(ours.error) << "/"
                             << kivtest::describe(rules.error);
}

TEST(Utf8AgainstRules, RandomBytesAtRandomSourceAndTargetSizes) {
  std::mt19937 random(99);
  for (int round = 0; round < 20000; ++round) {
    Bytes buffer = randomUtf8Bytes(random, 1 + random() % 12);
    const std::size_t size = buffer.empty() ? 0 : random() % (buffer.size() + 1);
    buffer.push_back(static_cast<unsigned char>(random() % 0x100));  // the byte behind
    const std::size_t targetSize = random() % (2 * size + 8);
    expectAgreesWithReference(kivConvertByAlgorithmUTF8toUCS2, kivref::utf8ToUcs2, buffer, size,
                              targetSize);
    if (HasFatalFailure()) return;
  }
}

TEST(Utf8AgainstRules, LongInputsWithRoomForEverything) {
  // Room for a unit per source byte: the block-wise pass takes the middle,
  // the plain loop the last bytes; scratch behind the output must be gone.
  std::mt19937 random(31337);
  for (int round = 0; round < 3000; ++round) {
    Bytes buffer = randomUtf8Bytes(random, 10 + random() % 60);
    const std::size_t size = buffer.size();
    buffer.push_back(static_cast<unsigned char>(random() % 0x100));
    const std::size_t targetSize = 2 * size + random() % 9;
    expectAgreesWithReference(kivConvertByAlgorithmUTF8toUCS2, kivref::utf8ToUcs2, buffer, size,
                              targetSize);
    if (HasFatalFailure()) return;
  }
}

TEST(Utf8AgainstRules, AsciiRunsEndedByEveryKindOfStopAtEveryTargetSize) {
  const std::vector<Bytes> stops = {
      {},                                    // the run reaches the end
      {0xC3, 0xA9},                          // two-byte character
      {0xE2, 0x82, 0xAC},                    // three-byte character
      {0xF0, 0x9F, 0x98, 0x80},              // pair
      {0xE2, 0x82},                          // one byte short: the byte behind completes it
      {0xE2},                                // two bytes short: incomplete
      {0xFC},                                // five bytes short
      {0x80},                                // stray continuation byte
      {0xFE, 0x80, 0x80, 0x80, 0x80, 0x80},  // U+FFFD
  };
  for (std::size_t run = 0; run <= 50; ++run) {
    for (const Bytes& stop : stops) {
      Bytes buffer(run, 'r');
      buffer.insert(buffer.end(), stop.begin(), stop.end());
      const std::size_t size = buffer.size();
      for (std::size_t tail = 0; tail < 20; ++tail)
        buffer.push_back(static_cast<unsigned char>('0' + tail));
      buffer[size] = 0xAC;  // the byte behind: a continuation byte
      for (std::size_t targetSize = 0; targetSize <= 2 * size + 6; ++targetSize) {
        expectAgreesWithReference(kivConvertByAlgorithmUTF8toUCS2, kivref::utf8ToUcs2, buffer, size,
                                  targetSize);
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST(Ucs2AgainstRules, RandomUnitsAtRandomTargetSizes) {
  std::mt19937 random(4242);
  for (int round = 0; round < 20000; ++round) {
    const Bytes buffer = randomUcs2Bytes(random, 1 + random() % 12);
    const std::size_t targetSize = random() % (2 * buffer.size() + 8);
    expectAgreesWithReference(kivConvertByAlgorithmUCS2toUTF8, kivref::ucs2ToUtf8, buffer,
                              buffer.size(), targetSize);
    if (HasFatalFailure()) return;
  }
}

TEST(Ucs2AgainstRules, LongInputsWithRoomForEverything) {
  std::mt19937 random(2718);
  for (int round = 0; round < 3000; ++round) {
    const Bytes buffer = randomUcs2Bytes(random, 10 + random() % 60);
    const std::size_t targetSize = 3 * (buffer.size() / 2) + random() % 9;
    expectAgreesWithReference(kivConvertByAlgorithmUCS2toUTF8, kivref::ucs2ToUtf8, buffer,
                              buffer.size(), targetSize);
    if (HasFatalFailure()) return;
  }
}

TEST(Ucs2AgainstRules, AsciiRunsEndedByEveryKindOfStopAtEveryTargetSize) {
  const std::vector<std::vector<std::uint16_t>> stops = {
      {}, {0x00E9}, {0x20AC}, {0xD83D, 0xDE00}, {0xD83D}, {0xDE00}, {0xFFFE}, {0x0041, 0xD83D}};
  for (std::size_t run = 0; run <= 50; ++run) {
    for (const auto& stop : stops) {
      for (const bool odd : {false, true}) {
        Bytes buffer;
        for (std::size_t k = 0; k < run; ++k)
          buffer.insert(buffer.end(), {static_cast<unsigned char>('a' + k % 26), 0});
        for (const std::uint16_t u : stop)
          buffer.insert(buffer.end(),
                        {static_cast<unsigned char>(u & 0xFF), static_cast<unsigned char>(u >> 8)});
        if (odd) buffer.push_back(0x41);
        for (std::size_t targetSize = 0; targetSize <= run + 8; ++targetSize) {
          expectAgreesWithReference(kivConvertByAlgorithmUCS2toUTF8, kivref::ucs2ToUtf8, buffer,
                                    buffer.size(), targetSize);
          if (HasFatalFailure()) return;
        }
      }
    }
  }
}

TEST(Ucs2To819AgainstRules, EveryLengthUpTo100) {
  std::mt19937 random(819);
  for (std::size_t size = 0; size <= 201; ++size) {
    Bytes source(size);
    for (unsigned char& b : source) b = static_cast<unsigned char>(random() % 0x100);
    const Outcome o =
        kivref::runMethod(kivConvertByAlgorithmUCS2to819, source.data(), size, size / 2 + 3, kFill);
    ASSERT_EQ(o.written, size / 2);
    ASSERT_EQ(o.consumed, size / 2 * 2);
    for (std::size_t i = 0; i < size / 2; ++i)
      ASSERT_EQ(o.target[i], source[2 * i]) << size << " " << i;
    for (std::size_t i = size / 2; i < o.target.size(); ++i) ASSERT_EQ(o.target[i], kFill);
    if (size % 2 != 0) {
      ASSERT_EQ(o.error.id, KIV_CPCONVERTER_INCOMPLETE);
    } else {
      ASSERT_EQ(o.error, _KivStError{});
    }
  }
}

}  // namespace
