// Fuzz target of code page to code page conversion through small targets.
//
// Input: a pair byte, a target-size byte, then the source text.
//   pair % count  one of the pairs below (ICU, iconv and algorithm halves,
//                 through the intermediate buffer or one half directly)
//   size % 64 + 1 the size of every small target (+ 2 for a UCS-2 target,
//                 which needs room for one unit)
// The text is converted once into a target large enough for all of it, and
// once by a second converter into small targets, calling again after every
// full target (with the rest of the source, or with none once it is all
// taken) until the target is no longer full. The two outputs must be the
// same, byte for byte: a resume loses nothing and repeats nothing. Both
// runs must end with the same error, and no small target may be written
// beyond its size. Pairs whose UCS-2 to code page half drops the character
// that did not fit (UTF-8 targets, by design) are not among them.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kiv_converter.hpp"
#include "kiv_fuzz_support.hpp"

namespace {

struct Pair {
  unsigned int from;
  unsigned int to;
};

// ICU: 37, 1047, 943, 1386, 1392, 949, 1364; iconv: 4946 ("850"), 61699
// ("ISO8859-7"), 25440 ("864"); algorithms: 1208, 819, 65500, UCS-2.
constexpr Pair kPairs[] = {
    {37, 1047},     {943, 1386},   {1392, 943},  {949, 1364},   {4946, 61699},
    {25440, 4946},  {4946, 1047},  {1047, 4946}, {1047, 819},   {13488, 819},
    {1200, 943},    {943, 1200},   {1208, 1047}, {1208, 943},   {1208, 4946},
    {65500, 1386},  {1047, 65500}, {1392, 61699}, {819, 819},   {13488, 65501},
};
constexpr std::size_t kPairCount = sizeof kPairs / sizeof kPairs[0];

std::string convertAtOnce(const KivClConverterABase& converter, const std::string& source,
                          _KivStError& error) {
  std::string target(8 * source.size() + 64, '\0');
  const unsigned long written =
      converter.convertBytes(&target[0], target.size(), source.data(), source.size());
  error = converter.getLastError();
  KIV_FUZZ_CHECK(written <= target.size());
  target.resize(written);
  return target;
}

std::string convertInSmallTargets(const KivClConverterABase& converter,
                                  const std::string& source, unsigned long targetSize,
                                  _KivStError& error) {
  constexpr std::size_t kGuard = 16;
  std::vector<char> target(targetSize + kGuard);
  std::string collected;
  const char* cursor = source.data();
  const char* const end = source.data() + source.size();
  for (std::size_t calls = 0;; ++calls) {
    KIV_FUZZ_CHECK(calls <= 8 * source.size() + 64);  // every call makes progress
    std::fill(target.begin(), target.end(), '\x5A');
    const unsigned long left = cursor < end ? static_cast<unsigned long>(end - cursor) : 0;
    const unsigned long written = converter.convertBytes(target.data(), targetSize, &cursor, left);
    KIV_FUZZ_CHECK(written <= targetSize);
    for (std::size_t i = targetSize; i < target.size(); ++i) KIV_FUZZ_CHECK(target[i] == '\x5A');
    // A UTF-8 sequence that lacks exactly its last byte takes the byte
    // behind the source, by design: the pointer may end one byte beyond.
    KIV_FUZZ_CHECK(cursor <= end + 1);
    collected.append(target.data(), written);
    error = converter.getLastError();
    if (error.id == KIV_CPCONVERTER_TOO_BIG) continue;
    if (error.id != KIV_NO_ERROR || cursor >= end) break;
  }
  return collected;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2 || size > 4096) return 0;
  const Pair& pair = kPairs[data[0] % kPairCount];
  // A target for UCS-2 needs room for one unit to make progress.
  const bool toUnicode = KivClCCSID(pair.to).isUCS2();
  const unsigned long targetSize = data[1] % 64 + (toUnicode ? 2 : 1);
  // A std::string keeps a readable byte behind the text: the UTF-8 rules
  // read one byte beyond a sequence that lacks exactly its last byte.
  const std::string source(reinterpret_cast<const char*>(data + 2), size - 2);

  const KivClCodePage2CodePageConverter whole(pair.from, pair.to);
  const KivClCodePage2CodePageConverter pieces(pair.from, pair.to);
  KIV_FUZZ_CHECK(whole.isSupported());
  _KivStError wholeError;
  _KivStError piecesError;
  const std::string expected = convertAtOnce(whole, source, wholeError);
  const std::string actual = convertInSmallTargets(pieces, source, targetSize, piecesError);
  if (actual != expected) {
    fprintf(stderr, "pair %u to %u, target %lu: %zu bytes in pieces, %zu at once\n", pair.from,
            pair.to, targetSize, actual.size(), expected.size());
  }
  KIV_FUZZ_CHECK(actual == expected);
  KIV_FUZZ_CHECK(piecesError == wholeError);
  return 0;
}
