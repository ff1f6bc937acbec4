// kivconv end to end: the INSTALLED tool runs as a child process. Its output
// must agree byte for byte with glibc's iconv and with ICU, both called in
// this process, on the code pages the three share; invalid input is
// reported with its offset; -output replaces a file in one step.
#include <gtest/gtest.h>
#include <iconv.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unicode/ucnv.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "kiv_child_support.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::ChildResult;

kivtest::ChildRun kivconvRun(const std::vector<std::string>& args, const std::string& input = {}) {
  kivtest::ChildRun run = kivtest::consoleProgramRun(KIVCONV_PROGRAM, KIVCONV_PROGRAM, args);
  run.input = input;
  run.outputLimit = 8 << 20;
  return run;
}

ChildResult kivconv(const std::vector<std::string>& args, const std::string& input = {}) {
  return kivtest::runChild(kivconvRun(args, input));
}

// glibc's iconv, all at once; empty with `ok` false when it refuses.
std::string viaIconv(const char* from, const char* to, const std::string& input, bool& ok) {
  const iconv_t descriptor = iconv_open(to, from);
  EXPECT_NE(descriptor, reinterpret_cast<iconv_t>(-1)) << from << " to " << to;
  std::string output(8 * input.size() + 16, '\0');
  char* source = const_cast<char*>(input.data());
  std::size_t sourceLeft = input.size();
  char* target = &output[0];
  std::size_t targetLeft = output.size();
  ok = iconv(descriptor, &source, &sourceLeft, &target, &targetLeft) != static_cast<size_t>(-1) &&
       iconv(descriptor, nullptr, nullptr, &target, &targetLeft) != static_cast<size_t>(-1);
  iconv_close(descriptor);
  output.resize(output.size() - targetLeft);
  return output;
}

std::string viaIconv(const char* from, const char* to, const std::string& input) {
  bool ok = false;
  std::string output = viaIconv(from, to, input, ok);
  EXPECT_TRUE(ok) << from << " to " << to;
  return output;
}

// An ICU converter by name, or by CCSID for a name of digits only.
UConverter* openIcu(const char* name, UErrorCode& status) {
  if (std::strspn(name, "0123456789") != std::strlen(name)) return ucnv_open(name, &status);
  // ICU's platform 0: CCSIDs in ICU's own numbering.
  return ucnv_openCCSID(std::atoi(name), static_cast<UConverterPlatform>(0), &status);
}

// ICU, all at once, stopping at anything it cannot convert.
std::string viaIcu(const char* from, const char* to, const std::string& input) {
  UErrorCode status = U_ZERO_ERROR;
  UConverter* source = openIcu(from, status);
  UConverter* target = openIcu(to, status);
  EXPECT_TRUE(U_SUCCESS(status)) << from << " to " << to << ": " << u_errorName(status);
  ucnv_setToUCallBack(source, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  ucnv_setFromUCallBack(target, UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  std::string output(8 * input.size() + 16, '\0');
  char* out = &output[0];
  const char* in = input.data();
  ucnv_convertEx(target, source, &out, out + output.size(), &in, in + input.size(), nullptr,
                 nullptr, nullptr, nullptr, true, true, &status);
  EXPECT_TRUE(U_SUCCESS(status)) << from << " to " << to << ": " << u_errorName(status);
  ucnv_close(source);
  ucnv_close(target);
  output.resize(static_cast<std::size_t>(out - output.data()));
  return output;
}

// The output of kivconv for `input` on standard input; the run must succeed.
std::string converted(const std::string& from, const std::string& to, const std::string& input) {
  const ChildResult result = kivconv({"-from", from, "-to", to}, input);
  EXPECT_EQ(result.exitCode, 0) << from << " to " << to << ": " << result.err;
  EXPECT_EQ(result.err, "");
  return result.out;
}

std::string bytesBetween(int first, int last) {
  std::string bytes;
  for (int b = first; b <= last; ++b) bytes += static_cast<char>(b);
  return bytes;
}

// Text of 300 KB, so that it spans several chunks of the tool.
std::string repeated(const std::string& text, std::size_t size = 300 * 1024) {
  std::string out;
  while (out.size() < size) out += text;
  return out;
}

const std::string kUtf8Text =
    "Gr\xC3\xBC\xC3\x9F"
    "e, caf\xC3\xA9 \xE2\x82\xAC 10 \xE6\xBC\xA2\xE5\xAD\x97 "
    "\xF0\x9F\x98\x80 \xCE\xB1\xCE\xB2\n";

TEST(Kivconv, Utf8AndUtf16AgreeWithIconvAndIcu) {
  const std::string utf8 = repeated(kUtf8Text);
  const std::string utf16 = converted("1208", "1200", utf8);
  EXPECT_EQ(utf16, viaIconv("UTF-8", "UTF-16LE", utf8));
  EXPECT_EQ(utf16, viaIcu("UTF-8", "UTF-16LE", utf8));
  EXPECT_EQ(converted("UCS-2", "UTF-8", utf16), utf8);
  EXPECT_EQ(converted("13488", "1208", utf16), viaIconv("UTF-16LE", "UTF-8", utf16));
}

TEST(Kivconv, Cp1252AgreesWithIconvAndIcu) {
  // The library's CCSID 1252 is the code page as registered before the
  // euro: 0x80, 0x8E and 0x9E are C1 controls there, unlike iconv's
  // CP1252, which leaves 0x81, 0x8D, 0x8F, 0x90 and 0x9D undefined.
  std::string cp1252 = bytesBetween(0x20, 0x7E) + "\n" + bytesBetween(0xA0, 0xFF);
  for (const int b : {0x82, 0x83, 0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x8B, 0x8C, 0x91,
                      0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9A, 0x9B, 0x9C, 0x9F}) {
    cp1252 += static_cast<char>(b);
  }
  cp1252 = repeated(cp1252);
  const std::string utf8 = converted("1252", "1208", cp1252);
  EXPECT_EQ(utf8, viaIconv("CP1252", "UTF-8", cp1252));
  EXPECT_EQ(utf8, viaIcu("1252", "UTF-8", cp1252));
  EXPECT_EQ(converted("1208", "1252", utf8), cp1252);
  EXPECT_EQ(converted("UTF-8", "1252", utf8), viaIconv("UTF-8", "CP1252", utf8));
}

TEST(Kivconv, EbcdicAgreesWithIconvAndIcuExceptForNewLine) {
  // EBCDIC 0x15 (new line) is left out: the library converts it to U+000A
  // on purpose, where iconv and ICU give U+0085. The controls below 0x40
  // are left out as well; 0x25 (line feed) stays.
  const std::string ebcdic = repeated(bytesBetween(0x40, 0xFE) + "\x25");
  for (const auto& [ccsid, iconvName, icuName] :
       {std::tuple<const char*, const char*, const char*>{"37", "CP037", "37"},
        std::tuple<const char*, const char*, const char*>{"500", "CP500", "500"}}) {
    const std::string utf8 = converted(ccsid, "1208", ebcdic);
    EXPECT_EQ(utf8, viaIconv(iconvName, "UTF-8", ebcdic)) << ccsid;
    EXPECT_EQ(utf8, viaIcu(icuName, "UTF-8", ebcdic)) << ccsid;
    EXPECT_EQ(converted("1208", ccsid, utf8), ebcdic) << ccsid;
    EXPECT_EQ(converted("1208", ccsid, utf8), viaIconv("UTF-8", iconvName, utf8)) << ccsid;
  }
  // The new line rule itself.
  EXPECT_EQ(converted("37", "1208", "\xC1\x15\xC2"), "A\nB");
}

TEST(Kivconv, JapaneseAgreesWithIconvAndIcu) {
  // Kanji, hiragana, katakana, full-width forms and ASCII without "\" and
  // "~", whose mappings differ between the Japanese code page variants.
  const std::string text = repeated(
      "ABC xyz 123 \xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x81\xAE\xE6\x96\x87\xE7\xAB\xA0"
      "\xE3\x80\x82\xE3\x82\xAB\xE3\x82\xBF\xE3\x82\xAB\xE3\x83\x8A\xEF\xBC\xA1\xEF\xBC\x91 "
      "\xE6\x9D\xB1\xE4\xBA\xAC\xE9\x83\xBD\n",
      100 * 1024);
  const std::string sjis = converted("1208", "943", text);
  EXPECT_EQ(sjis, viaIconv("UTF-8", "SHIFT_JIS", text));
  EXPECT_EQ(converted("943", "1208", sjis), viaIconv("SHIFT_JIS", "UTF-8", sjis));
  EXPECT_EQ(converted("943", "1208", sjis), text);
  const std::string euc = converted("1208", "954", text);
  EXPECT_EQ(euc, viaIconv("UTF-8", "EUC-JP", text));
  EXPECT_EQ(euc, viaIcu("UTF-8", "33722", text));
  EXPECT_EQ(converted("954", "1208", euc), text);
}

TEST(Kivconv, ReportsInvalidInputWithItsOffsetAndKeepsWhatCameBefore) {
  // The bad byte lies far beyond the first chunk.
  const std::string before = repeated("abc\xC3\xA9 ", 200000);
  const ChildResult result = kivconv({"-from", "1208", "-to", "1200"}, before + "\xC3(xyz");
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.err.find("(standard input): invalid input for code page 1208 at byte offset " +
                            std::to_string(before.size())),
            std::string::npos)
      << result.err;
  EXPECT_EQ(result.out, viaIconv("UTF-8", "UTF-16LE", before));
}

TEST(Kivconv, ReportsUnmappableCharactersAndSubstitutesOnRequest) {
  const std::string input = "abc \xE2\x82\xAC def";
  const ChildResult stopped = kivconv({"-from", "UTF-8", "-to", "37"}, input);
  EXPECT_EQ(stopped.exitCode, 1);
  EXPECT_NE(
      stopped.err.find("the character at byte offset 4 cannot be represented in code page 37"),
      std::string::npos)
      << stopped.err;
  EXPECT_EQ(stopped.out, "\x81\x82\x83\x40");
  const ChildResult substituted = kivconv({"-from", "UTF-8", "-to", "37", "-substitute"}, input);
  EXPECT_EQ(substituted.exitCode, 0) << substituted.err;
  EXPECT_EQ(substituted.out, "\x81\x82\x83\x40\x3F\x40\x84\x85\x86");
  const ChildResult invalid = kivconv({"-from", "UTF-8", "-to", "UTF-8", "-substitute"},
                                      "a\xFF"
                                      "b");
  EXPECT_EQ(invalid.exitCode, 0);
  EXPECT_EQ(invalid.out,
            "a\xEF\xBF\xBD"
            "b");
}

TEST(Kivconv, QuietChecksInputWithoutOutput) {
  const ChildResult bad = kivconv({"-quiet", "-from", "1208", "-to", "1208"}, "ok\xFF");
  EXPECT_EQ(bad.exitCode, 1);
  EXPECT_EQ(bad.out, "");
  EXPECT_EQ(bad.err, "");
  const ChildResult good = kivconv({"-quiet", "-from", "1208", "-to", "1208"}, "ok");
  EXPECT_EQ(good.exitCode, 0);
  EXPECT_EQ(good.out, "");
}

TEST(Kivconv, ReadsFilesInOrderAndStandardInputForDashOrNoFile) {
  const kivtest::TempDir dir;
  kivtest::writeFile(dir / "one", "A");
  kivtest::writeFile(dir / "two", "\xC3\xA9");
  const ChildResult files =
      kivconv({"-from", "1208", "-to", "819", dir / "one", "-", dir / "two"}, "\xC3\x9F");
  EXPECT_EQ(files.exitCode, 0) << files.err;
  EXPECT_EQ(files.out, "A\xDF\xE9");
  EXPECT_EQ(converted("1208", "819", "\xC3\xA4"), "\xE4");
  // The offset counts from the start of the file that holds the error.
  kivtest::writeFile(dir / "bad", "xy\xC3");
  const ChildResult bad = kivconv({"-from", "1208", "-to", "819", dir / "one", dir / "bad"});
  EXPECT_EQ(bad.exitCode, 1);
  EXPECT_NE(bad.err.find(dir / "bad" + ": incomplete character of code page 1208 at the end of "
                                       "the input, byte offset 2"),
            std::string::npos)
      << bad.err;
  EXPECT_EQ(bad.out, "Axy");
}

TEST(Kivconv, ReadsANamedPipe) {
  const kivtest::TempDir dir;
  const std::string fifo = dir / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  // The shell writes into the pipe while kivconv reads it.
  const ChildResult result = kivtest::runProgram(
      "/bin/sh", {"-c", "printf 'a\\303\\251' > \"$1\" & exec \"$0\" -from 1208 -to 819 \"$1\"",
                  KIVCONV_PROGRAM, fifo});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.out, "a\xE9");
}

TEST(Kivconv, ChecksInputFilesBeforeWritingAnything) {
  const kivtest::TempDir dir;
  kivtest::writeFile(dir / "one", "A");
  const ChildResult missing = kivconv({"-from", "1208", "-to", "819", dir / "one", dir / "none"});
  EXPECT_EQ(missing.exitCode, 2);
  EXPECT_NE(missing.err.find(dir / "none" + ": no such file"), std::string::npos) << missing.err;
  EXPECT_EQ(missing.out, "");
  const ChildResult directory = kivconv({"-from", "1208", "-to", "819", dir.path()});
  EXPECT_EQ(directory.exitCode, 2);
  EXPECT_NE(directory.err.find(dir.path() + ": not a regular file or a pipe"), std::string::npos);
}

TEST(Kivconv, RefusesUnknownCodePagesAndUnsupportedPairs) {
  const ChildResult unknown = kivconv({"-from", "CP850", "-to", "1208"}, "x");
  EXPECT_EQ(unknown.exitCode, 4);
  EXPECT_NE(unknown.err.find("Unknown code page: CP850"), std::string::npos) << unknown.err;
  const ChildResult unsupported = kivconv({"-from", "259", "-to", "1208"}, "x");
  EXPECT_EQ(unsupported.exitCode, 4);
  EXPECT_NE(unsupported.err.find("The conversion from 259 to 1208 is not supported"),
            std::string::npos);
  EXPECT_EQ(kivconv({"-from", "1208"}).exitCode, 201);
}

TEST(Kivconv, OutputFileIsReplacedOnlyWhenComplete) {
  const kivtest::TempDir dir;
  const std::string output = dir / "out";
  kivtest::writeFile(output, "old contents");
  const ChildResult done = kivconv({"-from", "1208", "-to", "1200", "-output", output}, "hi");
  EXPECT_EQ(done.exitCode, 0) << done.err;
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(kivtest::readRequiredFile(output), std::string("h\0i\0", 4));

  // A write that fails (the file size limit is reached) leaves the old
  // file as it was and no temporary file beside it.
  kivtest::writeFile(output, "old contents");
  const std::string big(1 << 20, 'x');
  kivtest::ChildRun run = kivconvRun({"-from", "1208", "-to", "1200", "-output", output}, big);
  const ChildResult failed = kivtest::runInFork(
      [&run] {
        struct rlimit limit {};
        limit.rlim_cur = limit.rlim_max = 64 * 1024;
        ::signal(SIGXFSZ, SIG_IGN);  // write() fails with EFBIG instead
        if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(126);
        std::vector<char*> argv;
        for (std::string& argument : run.argv) argv.push_back(argument.data());
        argv.push_back(nullptr);
        ::execv(run.program.c_str(), argv.data());
        _exit(127);
      },
      run);
  EXPECT_EQ(failed.exitCode, 3) << failed.err;
  EXPECT_NE(failed.err.find(output + ": cannot write"), std::string::npos) << failed.err;
  EXPECT_EQ(kivtest::readRequiredFile(output), "old contents");
  EXPECT_EQ(kivtest::directoryEntries(dir.path()), std::vector<std::string>{"out"});
}

TEST(Kivconv, HelpAndVersionGoToStandardOutput) {
  const ChildResult help = kivconv({"--help"});
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_NE(help.out.find("-from <ccsid>"), std::string::npos) << help.out;
  EXPECT_NE(help.out.find("Converts text from one code page to another."), std::string::npos);
  const ChildResult version = kivconv({"--version"});
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_EQ(version.out, "kivconv 1.0 (KIV Library KIVLibR5-24)\n");
  EXPECT_EQ(version.err, "");
}

TEST(Kivconv, ListsTheCodePagesWithTheirMethods) {
  const ChildResult list = kivconv({"-list"});
  EXPECT_EQ(list.exitCode, 0) << list.err;
  EXPECT_EQ(list.err, "");
  EXPECT_EQ(list.out.rfind("CCSID  NAME", 0), 0u) << list.out.substr(0, 100);
  EXPECT_NE(list.out.find("\n37     37            SBCS,EBCDIC         table      ICU\n"),
            std::string::npos);
  EXPECT_NE(list.out.find("\n1208   UTF-8         ASCII               algorithm  algorithm\n"),
            std::string::npos);
  EXPECT_NE(list.out.find("\n13488  UCS-2         UCS-2LE             copy       copy\n"),
            std::string::npos);
  EXPECT_NE(list.out.find("\n65500  UCS-2B        UCS-2BE             swap       swap\n"),
            std::string::npos);
  EXPECT_NE(list.out.find("\n259    259           -                   unsupported unsupported\n"),
            std::string::npos);
  // One line per CCSID of the library's table, and the heading.
  EXPECT_EQ(std::count(list.out.begin(), list.out.end(), '\n'), 430);
  const ChildResult alone = kivconv({"-list", "-from", "37"});
  EXPECT_EQ(alone.exitCode, 201);
}

}  // namespace
