// kivconv's streaming unit: the output of a chunked conversion is the same
// for every chunk size and every output buffer size, characters cut by a
// chunk boundary are neither lost nor doubled, and the first invalid,
// incomplete or unmappable input is reported with its byte offset.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "kiv_ccsid.hpp"
#include "kiv_converter.hpp"
#include "kivconv_stream.hpp"

namespace {

using kivconv::Outcome;
using kivconv::Stream;

struct Converted {
  std::string output;
  Outcome outcome;
};

// A reader for Stream::run that hands out `input` from the start, as much
// as is asked for each time, then nothing.
auto readerOf(const std::string& input) {
  return [&input, position = std::size_t{0}](char* buffer, std::size_t size) mutable {
    const std::size_t count = std::min(size, input.size() - position);
    std::memcpy(buffer, input.data() + position, count);
    position += count;
    return static_cast<long>(count);
  };
}

// Runs `input` through a stream that reads `chunk` bytes at a time.
Converted convertStream(unsigned from, unsigned to, const std::string& input, std::size_t chunk,
                        bool substitute = false,
                        std::size_t outputSize = Stream::kDefaultOutputSize) {
  Stream stream{KivClCCSID(from), KivClCCSID(to), chunk, substitute, outputSize};
  EXPECT_TRUE(stream.isSupported()) << from << " to " << to;
  Converted converted;
  converted.outcome = stream.run(
      readerOf(input),
      [&](const char* data, std::size_t size) {
        converted.output.append(data, size);
        return true;
      });
  return converted;
}

// The library's converter in one call, with room for everything.
std::string convertAtOnce(unsigned from, unsigned to, const std::string& input) {
  const KivClCodePage2CodePageConverter converter{KivClCCSID(from), KivClCCSID(to)};
  std::string target(8 * input.size() + 64, '\0');
  const unsigned long written =
      converter.convertBytes(&target[0], target.size(), input.data(), input.size());
  EXPECT_EQ(converter.getLastError().id, 0) << from << " to " << to;
  target.resize(written);
  return target;
}

std::string utf16(const std::u16string& text) {
  return std::string(reinterpret_cast<const char*>(text.data()), text.size() * 2);
}

// Japanese and Latin text with characters of one to four UTF-8 bytes.
const std::string kJapanese =
    "ABC 123 \xE6\xBC\xA2\xE5\xAD\x97\xE3\x81\x8B\xE3\x81\xAA XYZ \xE3\x82\xAB\xE3\x82\xBF"
    "\xE3\x82\xAB\xE3\x83\x8A END\n\xE6\x9D\xB1\xE4\xBA\xAC 9";
const std::string kMixedUtf8 =
    "a\xC3\xA9z \xE2\x82\xAC \xF0\x9F\x98\x80 \xE6\xBC\xA2\n\xC3\x9F\xF4\x8F\xBF\xBF!";

// Every chunk size from 1 to the whole input, each with a large and a small
// output buffer, gives `expected`.
void expectSameForEveryChunk(unsigned from, unsigned to, const std::string& input,
                             const std::string& expected) {
  for (std::size_t chunk = 1; chunk <= input.size() + 1; ++chunk) {
    for (const std::size_t outputSize : {Stream::kDefaultOutputSize, Stream::kMinimumOutputSize}) {
      const Converted converted = convertStream(from, to, input, chunk, false, outputSize);
      ASSERT_EQ(converted.outcome.status, Outcome::Status::DONE)
          << from << " to " << to << ", chunk " << chunk << ", output " << outputSize << ", offset "
          << converted.outcome.offset;
      ASSERT_EQ(converted.output, expected)
          << from << " to " << to << ", chunk " << chunk << ", output " << outputSize;
    }
  }
}

TEST(KivconvStream, Utf8ToUcs2IsTheSameForEveryChunkSize) {
  const std::string expected = convertAtOnce(1208, 1200, kMixedUtf8);
  EXPECT_EQ(expected, utf16(u"a\u00E9z \u20AC \U0001F600 \u6F22\n\u00DF\U0010FFFF!"));
  expectSameForEveryChunk(1208, 1200, kMixedUtf8, expected);
}

TEST(KivconvStream, Ucs2ToUtf8KeepsSurrogatePairsAcrossChunks) {
  const std::string input = utf16(u"x\U0001F600y\u00E9\U00010000");
  expectSameForEveryChunk(1200, 1208, input, "x\xF0\x9F\x98\x80y\xC3\xA9\xF0\x90\x80\x80");
}

TEST(KivconvStream, BigEndianUcs2IsTheSameForEveryChunkSize) {
  const std::string input("\x00\x41\xD8\x3D\xDE\x00\x00\xE9", 8);
  expectSameForEveryChunk(65500, 1208, input, "A\xF0\x9F\x98\x80\xC3\xA9");
}

TEST(KivconvStream, ShiftJisIsTheSameForEveryChunkSize) {
  const std::string sjis = convertAtOnce(1208, 943, kJapanese);
  // Double-byte characters really are there: 漢 is 0x8A 0xBF.
  ASSERT_NE(sjis.find("\x8A\xBF"), std::string::npos);
  expectSameForEveryChunk(943, 1208, sjis, kJapanese);
  expectSameForEveryChunk(1208, 943, kJapanese, sjis);
}

TEST(KivconvStream, DoubleByteTableHoldsBackALeadByteCutOffByTheChunk) {
  // 941 is converted by a built-in table that takes the byte behind a lead
  // byte at the end of its input as the trail byte; the stream must not
  // let it.
  ASSERT_EQ(kivconv::methodKindOf(KivClCodePage2UnicodeConverter(KivClCCSID(941))),
            kivconv::MethodKind::TABLE);
  const std::string sjis = convertAtOnce(1208, 943, kJapanese);
  const std::string expected = convertAtOnce(941, 1208, sjis);
  ASSERT_NE(expected.find("\xE6\xBC\xA2\xE5\xAD\x97"), std::string::npos);  // 漢字
  expectSameForEveryChunk(941, 1208, sjis, expected);
  // A lead byte at the very end is an incomplete character; an undefined
  // pair is invalid input.
  const Converted cut = convertStream(941, 1208, "ab\x8A", 1);
  EXPECT_EQ(cut.outcome.status, Outcome::Status::INCOMPLETE);
  EXPECT_EQ(cut.outcome.offset, 2u);
  EXPECT_EQ(cut.output, "ab");
  for (std::size_t chunk = 1; chunk <= 5; ++chunk) {
    const Converted undefined = convertStream(941, 1208, "a\x8A\xBF\x85\x40", chunk);
    EXPECT_EQ(undefined.outcome.status, Outcome::Status::INVALID);
    EXPECT_EQ(undefined.outcome.offset, 3u);
    EXPECT_EQ(undefined.output, "a\xE6\xBC\xA2");
  }
}

TEST(KivconvStream, EbcdicMixedFollowsTheShiftStateAcrossChunks) {
  // 939 keeps Latin lower case; the text switches between single and
  // double bytes several times.
  const std::string text = "ab \xE6\xBC\xA2\xE5\xAD\x97 cd \xE6\x9D\xB1\xE4\xBA\xAC\xE9\x83\xBD e";
  const std::string ebcdic = convertAtOnce(1208, 939, text);
  ASSERT_EQ(std::count(ebcdic.begin(), ebcdic.end(), '\x0E'), 2);
  ASSERT_EQ(std::count(ebcdic.begin(), ebcdic.end(), '\x0F'), 2);
  expectSameForEveryChunk(939, 1208, ebcdic, text);
  // From UCS-2 the converter closes the shift state after every call; the
  // stream joins the pieces so that no shift-in/shift-out pair is added.
  expectSameForEveryChunk(1208, 939, text, ebcdic);
}

TEST(KivconvStream, Cp1252AndEbcdic37AreTheSameForEveryChunkSize) {
  const std::string cp1252 = "caf\xE9 \x99 5 \x93quoted\x94 \xFF\n";
  const std::string utf8 = convertAtOnce(1252, 1208, cp1252);
  EXPECT_EQ(utf8, "caf\xC3\xA9 \xE2\x84\xA2 5 \xE2\x80\x9Cquoted\xE2\x80\x9D \xC3\xBF\n");
  expectSameForEveryChunk(1252, 1208, cp1252, utf8);
  expectSameForEveryChunk(1208, 1252, utf8, cp1252);

  const std::string ebcdic = "\xC8\x85\x93\x93\x96\x6B\x40\xE6\x96\x99\x93\x84\x5A\x25";
  const std::string fromEbcdic = convertAtOnce(37, 1208, ebcdic);
  EXPECT_EQ(fromEbcdic, "Hello, World!\n");
  expectSameForEveryChunk(37, 1208, ebcdic, fromEbcdic);
  expectSameForEveryChunk(1208, 37, fromEbcdic, ebcdic);
}

TEST(KivconvStream, ReportsInvalidUtf8AtItsOffsetForEveryChunkSize) {
  // C3 followed by "(" is no character: offset 4.
  const std::string input = "ab\xC3\xA9\xC3(cd";
  for (std::size_t chunk = 1; chunk <= input.size(); ++chunk) {
    const Converted converted = convertStream(1208, 1200, input, chunk);
    EXPECT_EQ(converted.outcome.status, Outcome::Status::INVALID) << "chunk " << chunk;
    EXPECT_EQ(converted.outcome.offset, 4u) << "chunk " << chunk;
    EXPECT_EQ(converted.output, utf16(u"ab\u00E9")) << "chunk " << chunk;
  }
}

TEST(KivconvStream, RejectsOverlongFormsSurrogatesAndValuesBeyondUnicode) {
  for (const std::string& bad : {std::string("\xC0\xAF"), std::string("\xED\xA0\x80"),
                                 std::string("\xF4\x90\x80\x80"), std::string("\x80")}) {
    const Converted converted = convertStream(1208, 1200, "ok" + bad, 3);
    EXPECT_EQ(converted.outcome.status, Outcome::Status::INVALID);
    EXPECT_EQ(converted.outcome.offset, 2u);
    EXPECT_EQ(converted.output, utf16(u"ok"));
  }
}

TEST(KivconvStream, ReportsAnIncompleteCharacterAtTheEnd) {
  const std::string input = "ab\xE2\x82";
  for (std::size_t chunk = 1; chunk <= input.size(); ++chunk) {
    const Converted converted = convertStream(1208, 1208, input, chunk);
    EXPECT_EQ(converted.outcome.status, Outcome::Status::INCOMPLETE);
    EXPECT_EQ(converted.outcome.offset, 2u);
    EXPECT_EQ(converted.output, "ab");
  }
  const Converted odd = convertStream(1200, 1208, std::string("a\0b", 3), 2);
  EXPECT_EQ(odd.outcome.status, Outcome::Status::INCOMPLETE);
  EXPECT_EQ(odd.outcome.offset, 2u);
  EXPECT_EQ(odd.output, "a");
}

TEST(KivconvStream, ReportsUnmappableCharactersAtTheirSourceOffset) {
  // "€" (offset 4) has no place in EBCDIC 37; the output stops before it.
  const std::string input =
      "ab\xC3\xA9\xE2\x82\xAC"
      "cd";
  for (std::size_t chunk = 1; chunk <= input.size(); ++chunk) {
    for (const std::size_t outputSize : {Stream::kDefaultOutputSize, Stream::kMinimumOutputSize}) {
      const Converted converted = convertStream(1208, 37, input, chunk, false, outputSize);
      EXPECT_EQ(converted.outcome.status, Outcome::Status::UNMAPPABLE) << "chunk " << chunk;
      EXPECT_EQ(converted.outcome.offset, 4u) << "chunk " << chunk;
      EXPECT_EQ(converted.output, "\x81\x82\x51") << "chunk " << chunk;
    }
  }
  // A Shift-JIS double-byte character (offset 3) that ISO 8859-1 lacks.
  const std::string sjis = "abc\x8A\xBF";
  for (std::size_t chunk = 1; chunk <= sjis.size(); ++chunk) {
    const Converted fromSjis = convertStream(943, 819, sjis, chunk);
    EXPECT_EQ(fromSjis.outcome.status, Outcome::Status::UNMAPPABLE);
    EXPECT_EQ(fromSjis.outcome.offset, 3u);
    EXPECT_EQ(fromSjis.output, "abc");
  }
}

TEST(KivconvStream, ReportsUnmappableInsideTheDoubleByteRunOfAnEbcdicMixedPage) {
  // 939 to ISO 8859-1: "a" maps, 漢 (after the shift-out at offset 1) does
  // not; the offset is that of its first byte, not of the shift-out.
  const std::string ebcdic = convertAtOnce(1208, 939, "a\xE6\xBC\xA2");
  ASSERT_EQ(ebcdic.substr(0, 2), "\x81\x0E");
  for (std::size_t chunk = 1; chunk <= ebcdic.size(); ++chunk) {
    const Converted converted = convertStream(939, 819, ebcdic, chunk);
    EXPECT_EQ(converted.outcome.status, Outcome::Status::UNMAPPABLE) << "chunk " << chunk;
    EXPECT_EQ(converted.outcome.offset, 2u) << "chunk " << chunk;
    EXPECT_EQ(converted.output, "a");
  }
}

TEST(KivconvStream, ReportsAnUndefinedDoubleByteCharacterAtItsLeadByte) {
  // The built-in 939 table reads a shift-out in double-byte state as a
  // lead byte: 0E 0E at offset 2 is an undefined character, not two shifts.
  for (std::size_t chunk = 1; chunk <= 6; ++chunk) {
    const Converted converted = convertStream(939, 1208, "\x81\x0E\x0E\x0E\x0F\x82", chunk);
    EXPECT_EQ(converted.outcome.status, Outcome::Status::INVALID) << "chunk " << chunk;
    EXPECT_EQ(converted.outcome.offset, 2u) << "chunk " << chunk;
    EXPECT_EQ(converted.output, "a") << "chunk " << chunk;
  }
}

TEST(KivconvStream, Latin1TargetReportsOrSubstitutesWhatItLacks) {
  const std::string input = "x\xC4\x80y";  // U+0100 at offset 1
  const Converted stopped = convertStream(1208, 819, input, 2);
  EXPECT_EQ(stopped.outcome.status, Outcome::Status::UNMAPPABLE);
  EXPECT_EQ(stopped.outcome.offset, 1u);
  EXPECT_EQ(stopped.output, "x");
  const Converted substituted = convertStream(1208, 819, input + "\xF0\x9F\x98\x80", 2, true);
  EXPECT_EQ(substituted.outcome.status, Outcome::Status::DONE);
  EXPECT_EQ(substituted.output, "x\x1Ay\x1A");
}

TEST(KivconvStream, SubstitutesInvalidInputAndGoesOn) {
  for (std::size_t chunk = 1; chunk <= 8; ++chunk) {
    const Converted converted = convertStream(1208, 1208,
                                              "a\xFF"
                                              "b\xE2\x82"
                                              "c\xE2\x82",
                                              chunk, true);
    EXPECT_EQ(converted.outcome.status, Outcome::Status::DONE);
    EXPECT_EQ(converted.output,
              "a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD"
              "c\xEF\xBF\xBD");
  }
  const Converted ebcdic = convertStream(1208, 37,
                                         "a\xE2\x82\xAC"
                                         "b",
                                         1, true);
  EXPECT_EQ(ebcdic.outcome.status, Outcome::Status::DONE);
  EXPECT_EQ(ebcdic.output, "\x81\x3F\x82");  // 0x3F: the substitution character of EBCDIC
}

TEST(KivconvStream, SubstitutionKeepsCharactersCutByAChunk) {
  // ICU would substitute a character cut by the end of a chunk as if it
  // were invalid; the stream holds it back instead, also when it
  // substitutes.
  const std::string sjis = convertAtOnce(1208, 943, kJapanese) +
                           "\xFF"
                           "Z";
  for (std::size_t chunk = 1; chunk <= sjis.size(); ++chunk) {
    const Converted converted = convertStream(943, 1208, sjis, chunk, true);
    EXPECT_EQ(converted.outcome.status, Outcome::Status::DONE);
    ASSERT_EQ(converted.output, kJapanese +
                                    "\xEF\xBF\xBD"
                                    "Z")
        << "chunk " << chunk;
  }
}

TEST(KivconvStream, SmallOutputBufferTakesASurrogatePairAfterAShiftIn) {
  // Double-byte text leaves a closing shift-in waiting in the output
  // buffer; a pair that cannot be represented must still find room.
  for (std::size_t kanji = 0; kanji < 12; ++kanji) {
    std::string text = "a";
    for (std::size_t i = 0; i < kanji; ++i) text += "\xE6\xBC\xA2";
    text += "\xF0\x9F\x98\x80\xE6\xBC\xA2\xF0\x9F\x98\x80";
    const Converted once = convertStream(1208, 939, text, text.size() + 1, true);
    ASSERT_EQ(once.outcome.status, Outcome::Status::DONE);
    for (std::size_t chunk = 1; chunk <= text.size(); ++chunk) {
      const Converted converted =
          convertStream(1208, 939, text, chunk, true, Stream::kMinimumOutputSize);
      ASSERT_EQ(converted.outcome.status, Outcome::Status::DONE);
      ASSERT_EQ(converted.output, once.output) << kanji << " kanji, chunk " << chunk;
    }
  }
}

TEST(KivconvStream, RejectsUnpairedSurrogatesInUcs2) {
  const std::string input = utf16(u"ab") + std::string("\x00\xDC", 2) + utf16(u"c");
  const Converted converted = convertStream(1200, 1208, input, 3);
  EXPECT_EQ(converted.outcome.status, Outcome::Status::INVALID);
  EXPECT_EQ(converted.outcome.offset, 4u);
  EXPECT_EQ(converted.output, "ab");
}

TEST(KivconvStream, StopsWhenTheWriterFails) {
  Stream stream{KivClCCSID(1208), KivClCCSID(1200), 4};
  const std::string input = "abcdefgh";
  const Outcome outcome = stream.run(
      readerOf(input),
      [](const char*, std::size_t) { return false; });
  EXPECT_EQ(outcome.status, Outcome::Status::WRITE_FAILED);
}

TEST(KivconvStream, OneStreamConvertsOneInputAfterTheOther) {
  // The second run starts in single-byte state although the first ended
  // inside a double-byte run that the input left open.
  Stream stream{KivClCCSID(939), KivClCCSID(1208), 2};
  std::string collected;
  const auto runOn = [&](const std::string& input) {
    return stream.run(
        readerOf(input),
        [&](const char* data, std::size_t size) {
          collected.append(data, size);
          return true;
        });
  };
  const std::string open = convertAtOnce(1208, 939, "\xE6\xBC\xA2").substr(0, 3);  // SO and 漢
  EXPECT_EQ(runOn(open).status, Outcome::Status::DONE);
  EXPECT_EQ(runOn("\x81\x82").status, Outcome::Status::DONE);
  EXPECT_EQ(collected,
            "\xE6\xBC\xA2"
            "ab");
}

TEST(KivconvStream, NamesTheMethodKinds) {
  EXPECT_EQ(kivconv::methodKindOf(KivClCodePage2UnicodeConverter(KivClCCSID(13488))),
            kivconv::MethodKind::COPY);
  EXPECT_EQ(kivconv::methodKindOf(KivClCodePage2UnicodeConverter(KivClCCSID(65500))),
            kivconv::MethodKind::SWAP);
  EXPECT_EQ(kivconv::methodKindOf(KivClCodePage2UnicodeConverter(KivClCCSID(1208))),
            kivconv::MethodKind::ALGORITHM);
  EXPECT_EQ(kivconv::methodKindOf(KivClUnicode2CodePageConverter(KivClCCSID(943))),
            kivconv::MethodKind::ICU);
  EXPECT_EQ(kivconv::methodKindOf(KivClCodePage2UnicodeConverter(KivClCCSID(259))),
            kivconv::MethodKind::UNSUPPORTED);
}

}  // namespace
