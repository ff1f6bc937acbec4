// Converters: what it costs to construct one, and to convert a short file
// name with one already constructed.
//   - Construction for a code page that ICU serves, against ICU's own
//     ucnv_open and ucnv_close of the same converter (the goal: at most
//     1.10). Argument: the CCSID (1047 by CCSID, 943 through the converter
//     found by its "_VSUB_VPUA" name, 1392 by ICU's name).
//   - A 56-byte file name, UTF-8 to UCS-2 and UCS-2 to UTF-8, with a
//     constructed converter (the goal: under 20 ns), beside ICU's
//     u_strFromUTF8 / u_strToUTF8 on the same text; and EBCDIC 1047 to
//     UCS-2 through the converter's ICU method beside ucnv_toUChars.

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstring>
#include <string>

#include "kiv_bench_ratio.hpp"
#include "kiv_converter.hpp"
#include "kiv_icu.hpp"

namespace {

// The ICU name of the converter that the library opens for a CCSID, asked
// of ICU once, outside the timed loop.
std::string icuNameFor(unsigned int ccsid) {
  if (ccsid == 943) return KivClIcuInterface::getVsubVpuaConverterName(true);
  if (ccsid == 1392) return "gb18030";
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_openCCSID(static_cast<std::int32_t>(ccsid), static_cast<UConverterPlatform>(0), &status);
  const std::string name = U_SUCCESS(status) ? ucnv_getName(converter, &status) : "";
  ucnv_close(converter);
  return name;
}

void BM_kivConstructToUnicode(benchmark::State& state) {
  const auto ccsid = static_cast<unsigned int>(state.range(0));
  for (auto _ : state) {
    const KivClCodePage2UnicodeConverter converter(ccsid);
    benchmark::DoNotOptimize(converter.getMethodData());
  }
}

void BM_kivConstructFromUnicode(benchmark::State& state) {
  const auto ccsid = static_cast<unsigned int>(state.range(0));
  for (auto _ : state) {
    const KivClUnicode2CodePageConverter converter(ccsid);
    benchmark::DoNotOptimize(converter.getMethodData());
  }
}

void BM_icuOpen(benchmark::State& state) {
  const std::string name = icuNameFor(static_cast<unsigned int>(state.range(0)));
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name.c_str(), &status);
    benchmark::DoNotOptimize(converter);
    ucnv_close(converter);
  }
}

BENCHMARK(BM_kivConstructToUnicode)->Arg(1047)->Arg(943)->Arg(1392);
BENCHMARK(BM_kivConstructFromUnicode)->Arg(1047)->Arg(943)->Arg(1392);
BENCHMARK(BM_icuOpen)->Arg(1047)->Arg(943)->Arg(1392);

// 56 bytes.
const char gs_fileName[] = "/home/kiv/projects/codepage/tests/converter_test_012.cpp";
static_assert(sizeof gs_fileName - 1 == 56, "the file name has 56 bytes");
constexpr unsigned long kNameSize = sizeof gs_fileName - 1;

void BM_kivUtf8ToUcs2Name(benchmark::State& state) {
  const KivClCodePage2UnicodeConverter converter(1208);
  char target[2 * kNameSize];
  for (auto _ : state) {
    benchmark::DoNotOptimize(converter.convertBytes(target, sizeof target, gs_fileName, kNameSize));
    benchmark::ClobberMemory();
  }
}

void BM_icuUtf8ToUcs2Name(benchmark::State& state) {
  UChar target[kNameSize];
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strFromUTF8(target, kNameSize, &length, gs_fileName, kNameSize, &status);
    benchmark::DoNotOptimize(length);
    benchmark::ClobberMemory();
  }
}

std::u16string nameAsUcs2() {
  std::u16string text;
  for (const char* p = gs_fileName; *p != '\0'; ++p) text += static_cast<char16_t>(*p);
  return text;
}

void BM_kivUcs2ToUtf8Name(benchmark::State& state) {
  const KivClUnicode2CodePageConverter converter(1208);
  const std::u16string text = nameAsUcs2();
  char target[3 * kNameSize];
  for (auto _ : state) {
    benchmark::DoNotOptimize(converter.convertBytes(
        target, sizeof target, reinterpret_cast<const char*>(text.data()), 2 * kNameSize));
    benchmark::ClobberMemory();
  }
}

void BM_icuUcs2ToUtf8Name(benchmark::State& state) {
  const std::u16string text = nameAsUcs2();
  char target[3 * kNameSize];
  for (auto _ : state) {
    UErrorCode status = U_ZERO_ERROR;
    std::int32_t length = 0;
    u_strToUTF8(target, sizeof target, &length, text.data(), kNameSize, &status);
    benchmark::DoNotOptimize(length);
    benchmark::ClobberMemory();
  }
}

std::string nameInEbcdic() {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_openCCSID(1047, static_cast<UConverterPlatform>(0), &status);
  char bytes[kNameSize];
  const std::u16string text = nameAsUcs2();
  const std::int32_t length = ucnv_fromUChars(converter, bytes, sizeof bytes, text.data(),
                                              static_cast<std::int32_t>(text.size()), &status);
  ucnv_close(converter);
  return std::string(bytes, static_cast<std::size_t>(length));
}

void BM_kivEbcdicToUcs2Name(benchmark::State& state) {
  const KivClCodePage2UnicodeConverter converter(1047);
  const std::string source = nameInEbcdic();
  char target[2 * kNameSize];
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        converter.convertBytes(target, sizeof target, source.data(), source.size()));
    benchmark::ClobberMemory();
  }
}

void BM_icuEbcdicToUcs2Name(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* converter = ucnv_openCCSID(1047, static_cast<UConverterPlatform>(0), &status);
  const std::string source = nameInEbcdic();
  UChar target[kNameSize];
  for (auto _ : state) {
    status = U_ZERO_ERROR;
    benchmark::DoNotOptimize(ucnv_toUChars(converter, target, kNameSize, source.data(),
                                           static_cast<std::int32_t>(source.size()), &status));
    benchmark::ClobberMemory();
  }
  ucnv_close(converter);
}

BENCHMARK(BM_kivUtf8ToUcs2Name);
BENCHMARK(BM_icuUtf8ToUcs2Name);
BENCHMARK(BM_kivUcs2ToUtf8Name);
BENCHMARK(BM_icuUcs2ToUtf8Name);
BENCHMARK(BM_kivEbcdicToUcs2Name);
BENCHMARK(BM_icuEbcdicToUcs2Name);

}  // namespace

// CPU times: the ratios then hold on a shared, busy machine too.
int main(int argc, char** argv) {
  return kivbench::runWithRatios(argc, argv,
                                 {{"BM_kivConstructToUnicode/1047", "BM_icuOpen/1047"},
                                  {"BM_kivConstructFromUnicode/1047", "BM_icuOpen/1047"},
                                  {"BM_kivConstructToUnicode/943", "BM_icuOpen/943"},
                                  {"BM_kivConstructFromUnicode/943", "BM_icuOpen/943"},
                                  {"BM_kivConstructToUnicode/1392", "BM_icuOpen/1392"},
                                  {"BM_kivConstructFromUnicode/1392", "BM_icuOpen/1392"},
                                  {"BM_kivUtf8ToUcs2Name", "BM_icuUtf8ToUcs2Name"},
                                  {"BM_kivUcs2ToUtf8Name", "BM_icuUcs2ToUtf8Name"},
                                  {"BM_kivEbcdicToUcs2Name", "BM_icuEbcdicToUcs2Name"}},
                                 true);
}
