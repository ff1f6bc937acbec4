// Code pages: text converted between code pages named by CCSID numbers,
// always through UCS-2. A converter chooses its method once, when it is
// made: a built-in algorithm or table, else ICU, else the system's iconv.
// A conversion returns the number of bytes written and leaves its outcome
// in the converter's error record (id 0 after success); it never throws.
#include <kiv_converter.hpp>
#include <kiv_msgtable.hpp>

#include <cstdio>
#include <string>
#include <vector>

namespace {

// The name of the last error: its text in the built-in message table.
const char* errorName(const KivClConverterABase& converter) {
  return kivMsgTabGetBuiltInTable()[kivErrorGetIdAsMessageId(converter.getLastError().id)];
}

// Converts `input`, prints the bytes written and the outcome, and returns
// the bytes.
std::string convert(const char* what, const KivClConverterABase& converter,
                    const std::string& input) {
  // getMaximumSizeForSize() gives a target size that always suffices.
  std::vector<char> target(converter.getMaximumSizeForSize(input.size()));
  const unsigned long written =
      converter.convertBytes(target.data(), target.size(), input.data(), input.size());
  std::printf("%-24s", what);
  for (unsigned long i = 0; i < written; ++i) std::printf(" %02x", target[i] & 0xff);
  std::printf("  (%lu bytes, %s)\n", written, errorName(converter));
  return std::string(target.data(), written);
}

// Which method serves the converter's pair.
void describe(const char* pair, const KivClConverterABase& converter) {
  const char* method = !converter.isSupported()                   ? "nothing: unsupported"
                       : converter.requiresExternalICUData()      ? "ICU"
                       : converter.requiresExternalICONVRoutine() ? "iconv"
                                                                  : "the library itself";
  std::printf("%-14s served by %s\n", pair, method);
}

}  // namespace

int main() {
  // UTF-8 (CCSID 1208) to EBCDIC for the US and Canada (CCSID 37), and back.
  KivClCodePage2CodePageConverter toEbcdic(KIV_CCSID_UTF8, KIV_CCSID_EBCDIC_037);
  KivClCodePage2UTF8Converter toUtf8(KIV_CCSID_EBCDIC_037);
  if (!toEbcdic.isSupported() || !toUtf8.isSupported()) return 1;
  const std::string text = "Hello, EBCDIC!";
  const std::string ebcdic = convert("\"Hello, EBCDIC!\" in 37:", toEbcdic, text);
  const std::string back = convert("and back in UTF-8:", toUtf8, ebcdic);
  if (toEbcdic.getLastError().id != KIV_NO_ERROR || back != text) return 1;
  std::printf("%-24s %s\n", "which reads:", back.c_str());

  // The method of a few pairs. CCSID 256 is a code page the library knows
  // by name but that neither it, ICU nor iconv converts: such a converter
  // converts nothing and reports CPCONVERTER_UNSUPPORTED.
  describe("UTF-8 -> 37", toEbcdic);
  describe("37 -> UTF-8", toUtf8);
  const KivClCodePage2CodePageConverter toPc904(KIV_CCSID_UTF8, 904);
  describe("UTF-8 -> 904", toPc904);
  const KivClCodePage2CodePageConverter toCp256(KIV_CCSID_UTF8, 256);
  describe("UTF-8 -> 256", toCp256);
  convert("UTF-8 -> 256:", toCp256, text);

  // What cannot be converted. A character that code page 37 lacks (the euro
  // sign) becomes the substitution byte 3f, and no error is reported. Input
  // that ends inside a character converts up to it and reports
  // CPCONVERTER_INCOMPLETE. UTF-8 input is not validated (bad trailing bytes
  // are decoded as they come): check it first where that matters.
  const std::string euro = "\xe2\x82\xac";
  convert("a, euro sign, b in 37:", toEbcdic, "a" + euro + "b");
  convert("ab, 1 byte of 3 in 37:", toEbcdic, "ab" + euro.substr(0, 1));

  // A target that is too small is filled and CPCONVERTER_TOO_BIG reported;
  // this form advances the source pointer, and a further call with no new
  // source writes the rest.
  char small[8];
  const char* source = text.data();
  unsigned long part = toEbcdic.convertBytes(small, sizeof small, &source, text.size());
  std::printf("%-24s %lu bytes, %s\n", "into 8 bytes:", part, errorName(toEbcdic));
  part = toEbcdic.convertBytes(small, sizeof small, &source, 0);
  std::printf("%-24s %lu bytes, %s\n", "the rest:", part, errorName(toEbcdic));
  return 0;
}
