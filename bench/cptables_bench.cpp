// The built-in code-page tables to UCS-2 beside ICU and iconv.
//
// Inputs: 64 KiB each of Western European prose in 1252 and in EBCDIC 37,
// Japanese prose (kanji, kana, ASCII) in Shift-JIS, converted by the tables
// of 1252, 37 and 941. Ours runs through a KivClCodePage2UnicodeConverter
// constructed once, as a caller would use it. The peers: ICU's
// ucnv_toUChars with a cached converter of the same CCSID, and glibc iconv
// with a cached descriptor. Every conversion of ours is checked against
// ICU's before it is timed (the EBCDIC new line aside, which the library
// writes as a line feed on purpose).
//
// At the end the program prints each ratio of CPU times (ours / the peer's;
// below 1 means faster).
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ucnv.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kiv_bench_ratio.hpp"
#include "kiv_converter.hpp"

namespace {

constexpr std::size_t kInputSize = 64 * 1024;

struct Input {
  std::string name;
  unsigned int ccsid;     // the library's CCSID, served by a table
  unsigned int icuCCSID;  // the CCSID ICU converts the same bytes with
  const char* iconvName;
  std::string bytes;
};

std::u16string prose(const std::vector<std::u16string>& words, unsigned seed) {
  std::mt19937 random(seed);
  std::u16string text;
  while (text.size() < kInputSize) {
    text += words[random() % words.size()];
    text += random() % 12 == 0 ? u". " : u" ";
  }
  return text;
}

std::string icuBytes(unsigned int ccsid, const std::u16string& text, std::size_t size) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_openCCSID(static_cast<std::int32_t>(ccsid), UCNV_IBM, &status);
  std::string bytes(text.size() * 3, '\0');
  bytes.resize(static_cast<std::size_t>(ucnv_fromUChars(
      converter, bytes.data(), static_cast<std::int32_t>(bytes.size()), text.data(),
      static_cast<std::int32_t>(text.size()), &status)));
  ucnv_close(converter);
  if (U_FAILURE(status)) {
    std::fprintf(stderr, "ICU cannot write the input of %u\n", ccsid);
    std::exit(1);
  }
  // Cut at a blank, so that no multi-byte character is split.
  std::size_t cut = std::min(size, bytes.size());
  const char blank = ccsid == 37 ? '\x40' : ' ';
  while (cut > 0 && bytes[cut - 1] != blank) --cut;
  bytes.resize(cut);
  return bytes;
}

const std::vector<Input>& inputs() {
  static const std::vector<Input> all = [] {
    const std::u16string western =
        prose({u"caf\u00E9", u"na\u00EFve", u"r\u00E9sum\u00E9", u"stra\u00DFe", u"\u00FCber",
               u"se\u00F1or", u"the", u"of", u"and", u"file", u"system", u"page", u"table",
               u"conversion", u"\u00C5ngstr\u00F6m", u"fa\u00E7ade", u"co\u00F6perate"},
              1);
    const std::u16string japanese =
        prose({u"\u65E5\u672C\u8A9E", u"\u6587\u5B57\u30B3\u30FC\u30C9", u"\u5909\u63DB",
               u"\u30D5\u30A1\u30A4\u30EB", u"\u3072\u3089\u304C\u306A", u"\u6F22\u5B57",
               u"table", u"page", u"\u8868", u"\u30DA\u30FC\u30B8"},
              2);
    std::vector<Input> list;
    list.push_back({"cp1252", 1252, 1252, "CP1252", icuBytes(1252, western, kInputSize)});
    list.push_back({"ebcdic37", 37, 37, "IBM037", icuBytes(37, western, kInputSize)});
    list.push_back({"shift_jis941", 941, 943, "IBM943", icuBytes(943, japanese, kInputSize)});
    return list;
  }();
  return all;
}

void BM_kiv(benchmark::State& state, const Input* input) {
  const KivClCodePage2UnicodeConverter converter(input->ccsid);
  std::vector<char> target(2 * input->bytes.size() + 2);
  for (auto _ : state) {
    benchmark::DoNotOptimize(converter.convertBytes(target.data(), target.size(),
                                                    input->bytes.data(), input->bytes.size()));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input->bytes.size()));
}

void BM_icu(benchmark::State& state, const Input* input) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter =
      ucnv_openCCSID(static_cast<std::int32_t>(input->icuCCSID), UCNV_IBM, &status);
  std::vector<UChar> target(input->bytes.size() + 1);
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    benchmark::DoNotOptimize(
        ucnv_toUChars(converter, target.data(), static_cast<std::int32_t>(target.size()),
                      input->bytes.data(), static_cast<std::int32_t>(input->bytes.size()),
                      &status));
    benchmark::ClobberMemory();
  }
  ucnv_close(converter);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input->bytes.size()));
}

void BM_iconv(benchmark::State& state, const Input* input) {
  const iconv_t descriptor = iconv_open("UTF-16LE", input->iconvName);
  if (descriptor == reinterpret_cast<iconv_t>(-1)) {
    state.SkipWithError("iconv cannot open the code page");
    return;
  }
  std::vector<char> target(2 * input->bytes.size() + 2);
  for (auto _ : state) {
    char* in = const_cast<char*>(input->bytes.data());
    std::size_t inLeft = input->bytes.size();
    char* out = target.data();
    std::size_t outLeft = target.size();
    iconv(descriptor, nullptr, nullptr, nullptr, nullptr);
    benchmark::DoNotOptimize(iconv(descriptor, &in, &inLeft, &out, &outLeft));
    benchmark::ClobberMemory();
  }
  iconv_close(descriptor);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input->bytes.size()));
}

/// Every input converts through a table, to ICU's result, or the program
/// stops.
void checkAgainstIcu() {
  for (const Input& input : inputs()) {
    const KivClCodePage2UnicodeConverter converter(input.ccsid);
    const auto method = converter.getMethod();
    if (method != &kivConvertByTablesSBCS_ASCIItoUCS2 &&
        method != &kivConvertByTablesSBCS_EBCDICtoUCS2 &&
        method != &kivConvertByTablesDBCS_ASCIItoUCS2) {
      std::fprintf(stderr, "%s: no built-in table serves %u\n", input.name.c_str(), input.ccsid);
      std::exit(1);
    }
    std::u16string ours(input.bytes.size() + 1, u'\0');
    ours.resize(converter.convertBytes(reinterpret_cast<char*>(ours.data()), 2 * ours.size(),
                                       input.bytes.data(), input.bytes.size()) /
                2);
    UErrorCode status = U_ZERO_ERROR;
    UConverter* icu = ucnv_openCCSID(static_cast<std::int32_t>(input.icuCCSID), UCNV_IBM, &status);
    std::u16string theirs(input.bytes.size() + 1, u'\0');
    theirs.resize(static_cast<std::size_t>(
        ucnv_toUChars(icu, theirs.data(), static_cast<std::int32_t>(theirs.size()),
                      input.bytes.data(), static_cast<std::int32_t>(input.bytes.size()), &status)));
    ucnv_close(icu);
    if (ours != theirs || converter.getLastError().id != 0) {
      std::fprintf(stderr, "%s: ours differs from ICU\n", input.name.c_str());
      std::exit(1);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  checkAgainstIcu();
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const Input& input : inputs()) {
    const std::string prefix = "to_ucs2/" + input.name + "/";
    benchmark::RegisterBenchmark((prefix + "kiv").c_str(), BM_kiv, &input);
    benchmark::RegisterBenchmark((prefix + "icu_toUChars").c_str(), BM_icu, &input);
    benchmark::RegisterBenchmark((prefix + "iconv").c_str(), BM_iconv, &input);
    pairs.emplace_back(prefix + "kiv", prefix + "icu_toUChars");
    pairs.emplace_back(prefix + "kiv", prefix + "iconv");
  }
  return kivbench::runWithRatios(argc, argv, pairs, true);
}
