// UTF-8 <-> UCS-2 conversion beside ICU, iconv and a plain SSE2 loop.
//
// Inputs: 64 KiB each of ASCII prose, Latin-1 prose (mostly ASCII with
// accented letters), Cyrillic and CJK text, and a 56-byte file name. Ours
// runs through a converter constructed once (KivClCodePage2UnicodeConverter
// for 1208, KivClUnicode2CodePageConverter for 1208), as a caller would use
// it. The peers: ICU's u_strFromUTF8 / u_strToUTF8, ICU's ucnv_toUChars /
// ucnv_fromUChars with a cached converter, glibc iconv with a cached
// descriptor, and an SSE2 widening (narrowing) loop that ignores the
// encoding altogether: the floor of what moving the bytes costs. Every
// conversion is checked against ICU before it is timed. (Constructing
// converters, and the 56-byte conversion against its time goal, are measured
// by converter_bench.)
//
// At the end the program prints each ratio of CPU times (ours / the peer's;
// below 1 means faster: 0.1 is ten times as fast). CPU time, because a
// shared build machine makes wall-clock time depend on the neighbours.
#include <benchmark/benchmark.h>
#include <emmintrin.h>
#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "kiv_bench_ratio.hpp"
#include "kiv_converter.hpp"

namespace {

constexpr std::size_t kInputSize = 64 * 1024;

/// Words of a script, joined by blanks (and now and then punctuation) into
/// about `size` bytes of UTF-8, cut at a character boundary.
std::string prose(const std::vector<std::string>& words, std::size_t size, bool blanks,
                  unsigned seed) {
  std::mt19937 random(seed);
  std::string text;
  while (text.size() < size) {
    const std::string& word = words[random() % words.size()];
    if (text.size() + word.size() + 2 > size) break;
    text += word;
    if (blanks) text += (random() % 10 == 0) ? ". " : " ";
  }
  return text;
}

std::string asciiText() {
  return prose({"the",      "of",     "and",       "to",         "in",      "is",      "that",
                "for",      "file",   "system",    "buffer",     "process", "string",  "pattern",
                "search",   "table",  "memory",    "error",      "record",  "library", "value",
                "function", "length", "character", "conversion", "page"},
               kInputSize, true, 1);
}

std::string latin1Text() {
  return prose({"le",   "la",   "de",      "et",    "les",     "des",    "est",     "une",
                "dans", "pour", "déjà",    "élève", "où",      "garçon", "naïve",   "être",
                "très", "à",    "über",    "für",   "größer",  "Straße", "Mädchen", "schön",
                "año",  "niño", "corazón", "café",  "fenêtre", "Ærø"},
               kInputSize, true, 2);
}

std::string cyrillicText() {
  return prose({"и",        "в",          "не",
                "на",       "что",        "файл",
                "система",  "библиотека", "преобразование",
                "строка",   "текст",      "память",
                "ошибка",   "запись",     "значение",
                "функция",  "длина",      "символ",
                "страница", "кодировка",  "поиск",
                "таблица",  "процесс",    "мир"},
               kInputSize, true, 3);
}

std::string cjkText() {
  std::mt19937 random(4);
  std::u16string units;
  std::size_t bytes = 0;
  while (bytes + 3 <= kInputSize) {
    const std::uint32_t r = random() % 40;
    const char16_t u =
        r == 0 ? u'\u3002'
               : (r == 1 ? u'\uFF0C' : static_cast<char16_t>(0x4E00 + random() % 0x51A5));
    units.push_back(u);
    bytes += 3;
  }
  std::string text(bytes, '\0');
  UErrorCode status = U_ZERO_ERROR;
  std::int32_t length = 0;
  u_strToUTF8(text.data(), static_cast<std::int32_t>(text.size()), &length, units.data(),
              static_cast<std::int32_t>(units.size()), &status);
  text.resize(static_cast<std::size_t>(length));
  return text;
}

std::string fileName56() {
  std::string name = "/home/anna/Dokumente/Übersicht über Straßen 2024.txt";
  while (name.size() < 56) name.insert(name.size() - 4, "x");
  return name;
}

struct Input {
  std::string name;
  std::string utf8;
  std::u16string ucs2;
};

std::u16string icuFromUtf8(const std::string& text) {
  std::u16string out(text.size(), u'\0');
  UErrorCode status = U_ZERO_ERROR;
  std::int32_t length = 0;
  u_strFromUTF8(out.data(), static_cast<std::int32_t>(out.size()), &length, text.data(),
                static_cast<std::int32_t>(text.size()), &status);
  if (U_FAILURE(status)) std::abort();
  out.resize(static_cast<std::size_t>(length));
  return out;
}

std::vector<Input>& inputs() {
  static std::vector<Input> all = [] {
    std::vector<Input> list;
    for (auto& [name, text] :
         std::vector<std::pair<std::string, std::string>>{{"ascii", asciiText()},
                                                          {"latin1", latin1Text()},
                                                          {"cyrillic", cyrillicText()},
                                                          {"cjk", cjkText()},
                                                          {"filename56", fileName56()}}) {
      list.push_back({name, text, icuFromUtf8(text)});
    }
    return list;
  }();
  return all;
}

// ---------------------------------------------------------------------------
// UTF-8 to UCS-2
// ---------------------------------------------------------------------------

void BM_toUcs2Kiv(benchmark::State& state, const Input* input) {
  const KivClCodePage2UnicodeConverter converter(KIV_CCSID_UTF8);
  std::vector<char> target(2 * input->utf8.size() + 2);
  for (auto _ : state) {
    benchmark::DoNotOptimize(converter.convertBytes(target.data(), target.size(),
                                                    input->utf8.data(), input->utf8.size()));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input->utf8.size()));
}

void BM_toUcs2IcuString(benchmark::State& state, const Input* input) {
  std::vector<UChar> target(input->utf8.size() + 1);
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strFromUTF8(target.data(), static_cast<std::int32_t>(target.size()), &length,
                  input->utf8.data(), static_cast<std::int32_t>(input->utf8.size()), &status);
    benchmark::DoNotOptimize(length);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input->utf8.size()));
}

void BM_toUcs2IcuConverter(benchmark::State& state, const Input* input) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open("UTF-8", &status);
  std::vector<UChar> target(input->utf8.size() + 1);
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    benchmark::DoNotOptimize(
        ucnv_toUChars(converter, target.data(), static_cast<std::int32_t>(target.size()),
                      input->utf8.data(), static_cast<std::int32_t>(input->utf8.size()), &status));
    benchmark::ClobberMemory();
  }
  ucnv_close(converter);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input->utf8.size()));
}

void BM_toUcs2Iconv(benchmark::State& state, const Input* input) {
  const iconv_t descriptor = iconv_open("UTF-16LE", "UTF-8");
  std::vector<char> target(2 * input->utf8.size() + 2);
  for (auto _ : state) {
    char* in = const_cast<char*>(input->utf8.data());
    std::size_t inLeft = input->utf8.size();
    char* out = target.data();
    std::size_t outLeft = target.size();
    iconv(descriptor, nullptr, nullptr, nullptr, nullptr);
    benchmark::DoNotOptimize(iconv(descriptor, &in, &inLeft, &out, &outLeft));
    benchmark::ClobberMemory();
  }
  iconv_close(descriptor);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input->utf8.size()));
}

/// Widens every byte to a unit, right or wrong: the cost of moving the data.
void BM_toUcs2Sse2Floor(benchmark::State& state, const Input* input) {
  std::vector<char> target(2 * input->utf8.size() + 32);
  for (auto _ : state) {
    const char* in = input->utf8.data();
    const std::size_t n = input->utf8.size();
    char* out = target.data();
    const __m128i zero = _mm_setzero_si128();
    std::size_t i = 0;
    for (; i + 16 <= n; i += 16) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + i));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i), _mm_unpacklo_epi8(v, zero));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i + 16), _mm_unpackhi_epi8(v, zero));
    }
    for (; i < n; ++i) {
      out[2 * i] = in[i];
      out[2 * i + 1] = 0;
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * input->utf8.size()));
}

// ---------------------------------------------------------------------------
// UCS-2 to UTF-8
// ---------------------------------------------------------------------------

void BM_toUtf8Kiv(benchmark::State& state, const Input* input) {
  const KivClUnicode2CodePageConverter converter(KIV_CCSID_UTF8);
  std::vector<char> target(3 * input->ucs2.size() + 3);
  const char* source = reinterpret_cast<const char*>(input->ucs2.data());
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        converter.convertBytes(target.data(), target.size(), source, 2 * input->ucs2.size()));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * 2 * input->ucs2.size()));
}

void BM_toUtf8IcuString(benchmark::State& state, const Input* input) {
  std::vector<char> target(3 * input->ucs2.size() + 3);
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strToUTF8(target.data(), static_cast<std::int32_t>(target.size()), &length,
                input->ucs2.data(), static_cast<std::int32_t>(input->ucs2.size()), &status);
    benchmark::DoNotOptimize(length);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * 2 * input->ucs2.size()));
}

void BM_toUtf8IcuConverter(benchmark::State& state, const Input* input) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_open("UTF-8", &status);
  std::vector<char> target(3 * input->ucs2.size() + 3);
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    benchmark::DoNotOptimize(ucnv_fromUChars(
        converter, target.data(), static_cast<std::int32_t>(target.size()), input->ucs2.data(),
        static_cast<std::int32_t>(input->ucs2.size()), &status));
    benchmark::ClobberMemory();
  }
  ucnv_close(converter);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * 2 * input->ucs2.size()));
}

void BM_toUtf8Iconv(benchmark::State& state, const Input* input) {
  const iconv_t descriptor = iconv_open("UTF-8", "UTF-16LE");
  std::vector<char> target(3 * input->ucs2.size() + 3);
  for (auto _ : state) {
    char* in = reinterpret_cast<char*>(const_cast<char16_t*>(input->ucs2.data()));
    std::size_t inLeft = 2 * input->ucs2.size();
    char* out = target.data();
    std::size_t outLeft = target.size();
    iconv(descriptor, nullptr, nullptr, nullptr, nullptr);
    benchmark::DoNotOptimize(iconv(descriptor, &in, &inLeft, &out, &outLeft));
    benchmark::ClobberMemory();
  }
  iconv_close(descriptor);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * 2 * input->ucs2.size()));
}

/// Narrows every unit to its low byte: the cost of moving the data.
void BM_toUtf8Sse2Floor(benchmark::State& state, const Input* input) {
  std::vector<char> target(input->ucs2.size() + 16);
  const char* in = reinterpret_cast<const char*>(input->ucs2.data());
  const std::size_t n = input->ucs2.size();
  for (auto _ : state) {
    char* out = target.data();
    const __m128i low = _mm_set1_epi16(0x00FF);
    std::size_t i = 0;
    for (; i + 16 <= n; i += 16) {
      const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 2 * i));
      const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 2 * i + 16));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i),
                       _mm_packus_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low)));
    }
    for (; i < n; ++i) out[i] = in[2 * i];
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * 2 * n));
}

/// Every conversion of ours gives ICU's result, or the program stops.
void checkAgainstIcu() {
  const KivClCodePage2UnicodeConverter toUcs2(KIV_CCSID_UTF8);
  const KivClUnicode2CodePageConverter toUtf8(KIV_CCSID_UTF8);
  if (toUcs2.getMethod() != &kivConvertByAlgorithmUTF8toUCS2 ||
      toUtf8.getMethod() != &kivConvertByAlgorithmUCS2toUTF8) {
    std::fprintf(stderr, "the converters are not the expected ones\n");
    std::exit(1);
  }
  for (const Input& input : inputs()) {
    std::u16string units(input.utf8.size() + 1, u'\0');
    const unsigned long written =
        toUcs2.convertBytes(reinterpret_cast<char*>(units.data()), 2 * units.size(),
                            input.utf8.data(), input.utf8.size());
    units.resize(written / 2);
    std::string bytes(3 * input.ucs2.size() + 3, '\0');
    bytes.resize(toUtf8.convertBytes(bytes.data(), bytes.size(),
                                     reinterpret_cast<const char*>(input.ucs2.data()),
                                     2 * input.ucs2.size()));
    if (units != input.ucs2 || bytes != input.utf8 || toUcs2.getLastError().id != 0 ||
        toUtf8.getLastError().id != 0) {
      std::fprintf(stderr, "%s: ours differs from ICU\n", input.name.c_str());
      std::exit(1);
    }
  }
}

std::vector<std::pair<std::string, std::string>> registerAll() {
  std::vector<std::pair<std::string, std::string>> pairs;
  for (const Input& input : inputs()) {
    const std::string to = "utf8_to_ucs2/" + input.name + "/";
    benchmark::RegisterBenchmark((to + "kiv").c_str(), BM_toUcs2Kiv, &input);
    benchmark::RegisterBenchmark((to + "icu_strFromUTF8").c_str(), BM_toUcs2IcuString, &input);
    benchmark::RegisterBenchmark((to + "icu_toUChars").c_str(), BM_toUcs2IcuConverter, &input);
    benchmark::RegisterBenchmark((to + "iconv").c_str(), BM_toUcs2Iconv, &input);
    benchmark::RegisterBenchmark((to + "sse2_widen_floor").c_str(), BM_toUcs2Sse2Floor, &input);
    const std::string from = "ucs2_to_utf8/" + input.name + "/";
    benchmark::RegisterBenchmark((from + "kiv").c_str(), BM_toUtf8Kiv, &input);
    benchmark::RegisterBenchmark((from + "icu_strToUTF8").c_str(), BM_toUtf8IcuString, &input);
    benchmark::RegisterBenchmark((from + "icu_fromUChars").c_str(), BM_toUtf8IcuConverter, &input);
    benchmark::RegisterBenchmark((from + "iconv").c_str(), BM_toUtf8Iconv, &input);
    benchmark::RegisterBenchmark((from + "sse2_narrow_floor").c_str(), BM_toUtf8Sse2Floor, &input);
    for (const char* peer : {"icu_strFromUTF8", "icu_toUChars", "iconv", "sse2_widen_floor"})
      pairs.emplace_back(to + "kiv", to + peer);
    for (const char* peer : {"icu_strToUTF8", "icu_fromUChars", "iconv", "sse2_narrow_floor"})
      pairs.emplace_back(from + "kiv", from + peer);
  }
  return pairs;
}

}  // namespace

int main(int argc, char** argv) {
  checkAgainstIcu();
  const auto pairs = registerAll();
  return kivbench::runWithRatios(argc, argv, pairs, true);
}
