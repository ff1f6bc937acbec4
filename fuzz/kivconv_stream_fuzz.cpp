// Fuzz target of kivconv's streaming unit: chunked conversion against
// conversion in one chunk.
//
// Input: a pair byte, a chunk byte, a flag byte, then the text.
//   pair % count     one of the pairs below (UTF-8 and UCS-2 algorithms,
//                    single- and double-byte tables, EBCDIC mixed pages in
//                    both directions, ICU and iconv)
//   chunk % 64 + 1   the chunk size of the stream under test
//   flag & 1         substitute instead of stopping
//   flag & 2         the smallest output buffer
// The text is converted once by a stream that reads it in one chunk and
// once by a stream that reads it `chunk` bytes at a time (the reader hands
// out one byte less now and then, as a pipe may). Both runs must end alike
// (status and byte offset) and write the same bytes: a chunk boundary
// loses nothing, repeats nothing and moves no error.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "kiv_ccsid.hpp"
#include "kiv_fuzz_support.hpp"
#include "kivconv_stream.hpp"

namespace {

struct Pair {
  unsigned int from;
  unsigned int to;
};

// Algorithms: 1208, 1200, 65500, 819; tables: 37, 1252, 941, 930, 939, 500
// and 850 from UCS-2; ICU: 943, 954, 1392, 1252 and 37 from UCS-2, 930
// and 939 from UCS-2; iconv: 4946 ("850"), 61699 ("ISO8859-7").
constexpr Pair kPairs[] = {
    {1208, 1200}, {1200, 1208}, {65500, 1208}, {1208, 819},  {943, 1208},   {1208, 943},
    {939, 1208},  {1208, 939},  {930, 1200},   {1200, 930},  {939, 819},    {1252, 1208},
    {1208, 1252}, {37, 1208},   {1208, 37},    {941, 1208},  {954, 1208},   {1392, 1208},
    {1208, 1392}, {850, 500},   {1208, 500},   {4946, 1208}, {1208, 61699}, {939, 930},
};
constexpr std::size_t kPairCount = sizeof kPairs / sizeof kPairs[0];

struct Result {
  std::string output;
  kivconv::Outcome outcome;
};

Result convert(const Pair& pair, const std::string& text, std::size_t chunk, bool substitute,
               std::size_t outputSize, bool shortReads) {
  kivconv::Stream stream{KivClCCSID(pair.from), KivClCCSID(pair.to), chunk, substitute, outputSize};
  KIV_FUZZ_CHECK(stream.isSupported());
  std::size_t position = 0;
  std::size_t calls = 0;
  Result result;
  result.outcome = stream.run(
      [&](char* buffer, std::size_t size) {
        KIV_FUZZ_CHECK(size == chunk);
        std::size_t count = std::min(size, text.size() - position);
        if (shortReads && count > 1 && ++calls % 3 == 0) --count;
        std::memcpy(buffer, text.data() + position, count);
        position += count;
        return static_cast<long>(count);
      },
      [&](const char* data, std::size_t size) {
        result.output.append(data, size);
        return true;
      });
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 3 || size > 4096) return 0;
  const Pair& pair = kPairs[data[0] % kPairCount];
  const std::size_t chunk = data[1] % 64 + 1;
  const bool substitute = (data[2] & 1) != 0;
  const std::size_t outputSize = (data[2] & 2) != 0 ? kivconv::Stream::kMinimumOutputSize
                                                    : kivconv::Stream::kDefaultOutputSize;
  const std::string text(reinterpret_cast<const char*>(data) + 3, size - 3);

  const Result once =
      convert(pair, text, text.size() + 1, substitute, kivconv::Stream::kDefaultOutputSize, false);
  const Result chunked = convert(pair, text, chunk, substitute, outputSize, true);
  KIV_FUZZ_CHECK(chunked.outcome.status == once.outcome.status);
  KIV_FUZZ_CHECK(chunked.outcome.offset == once.outcome.offset);
  KIV_FUZZ_CHECK(chunked.output == once.output);
  KIV_FUZZ_CHECK(once.outcome.offset <= text.size());
  if (substitute) KIV_FUZZ_CHECK(once.outcome.status == kivconv::Outcome::Status::DONE);
  return 0;
}
