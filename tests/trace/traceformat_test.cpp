// The trace file formatter: the format string language, the display of
// every data type, the switches, the filter, and files that are empty,
// truncated or corrupted.
#include "kiv_traceformat.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "kiv_exception.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_trace.hpp"
#include "trace_child.hpp"
#include "trace_test_env.hpp"

namespace {

using kivtest::TraceTestEnvironment;

constexpr std::uint32_t kPlain = KIV_TRACE_FLAG_AUTOSAVE;
constexpr std::uint32_t kCompressed = KIV_TRACE_FLAG_AUTOSAVE | KIV_TRACE_FLAG_COMPRESS;

/// The bytes of a trace file, built entry by entry with the library's own
/// entry records; the process and thread ids can be replaced.
class TraceBytes {
 public:
  explicit TraceBytes(const KivClTraceEnvironment& environment) : m_env(environment) {}

  TraceBytes& add(KivEnTraceDetail detail, unsigned short component, KivEnTraceDataType type,
                  const char* function, const char* message, const void* data,
                  unsigned long length, std::uint32_t pid = 0, std::uint32_t tid = 0) {
    const KivClTraceEntry entry(m_env, detail, component, type, function, message, data, length);
    std::string record(entry.getRecord(), entry.getRecordLength());
    if (pid != 0) std::memcpy(&record[8], &pid, 4);
    if (tid != 0) std::memcpy(&record[12], &tid, 4);
    m_bytes += record;
    if (entry.getData() != nullptr) {
      m_bytes.append(static_cast<const char*>(entry.getData()), entry.getDataLength());
    }
    return *this;
  }
  template <typename T>
  TraceBytes& value(KivEnTraceDataType type, const T& v, const char* message = "v") {
    return add(KIV_TRACE_DETAIL_LOW, 0, type, "fn", message, &v, sizeof v);
  }
  /// An x87 long double has padding bytes after its 80 bits; they are zeroed
  /// here so that every byte of the file is defined.
  TraceBytes& value(KivEnTraceDataType type, long double v, const char* message = "v") {
    constexpr std::size_t used = std::numeric_limits<long double>::digits == 64 ? 10 : sizeof v;
    unsigned char bytes[sizeof v] = {};
    std::memcpy(bytes, &v, used);
    return add(KIV_TRACE_DETAIL_LOW, 0, type, "fn", message, bytes, sizeof bytes);
  }
  /// A function entry or exit as the trace instance records it.
  TraceBytes& function(KivEnTraceDataType type, const char* name, std::int64_t level) {
    return add(KIV_TRACE_DETAIL_OFF, 0, type, name, "", &level, sizeof level);
  }
  std::string& bytes() { return m_bytes; }

 private:
  const KivClTraceEnvironment& m_env;
  std::string m_bytes;
};

void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// Formats `bytes` through the environment's trace file.
std::string formatFile(TraceTestEnvironment& test, KivClTraceFormatter& formatter,
                       const std::string& bytes) {
  writeFile(test.file(), bytes);
  std::ostringstream out;
  formatter.format(out);
  return out.str();
}

/// Formats `bytes` and returns the output and the error id thrown (0 when
/// none).
std::pair<std::string, long> formatCatching(KivClTraceFormatter& formatter,
                                            const std::string& bytes) {
  std::istringstream in(bytes);
  std::ostringstream out;
  try {
    formatter.format(in, out);
  } catch (const KivClException& e) {
    return {out.str(), e.getError().id};
  }
  return {out.str(), 0};
}

std::string pid() { return std::to_string(getpid()); }

class TraceFormatTest : public ::testing::Test {
 protected:
  TraceFormatTest() : m_test("kivfmt", 4, kPlain), m_bytes(m_test.environment()) {}
  KivClTraceEnvironment& env() { return m_test.environment(); }
  /// The display of one entry's data alone.
  std::string data(KivClTraceFormatter& formatter) {
    formatter.setFormatString("%d");
    return formatFile(m_test, formatter, m_bytes.bytes());
  }
  std::string data() {
    KivClTraceFormatter formatter(env(), nullptr);
    return data(formatter);
  }

  TraceTestEnvironment m_test;
  TraceBytes m_bytes;
};

// --- the whole file and the format language -----------------------------------

TEST_F(TraceFormatTest, EmptyFileFormatsNothingAndCountsZero) {
  KivClTraceFormatter formatter(env(), nullptr);
  EXPECT_EQ(formatFile(m_test, formatter, ""), "");
  EXPECT_EQ(formatter.getEntryCount(), 0u);
}

TEST_F(TraceFormatTest, UsesTheEnvironmentsFormatStringByDefault) {
  KivClTraceFormatter formatter(env(), nullptr);
  EXPECT_STREQ(formatter.getFormatString(), KivClTraceEnvironment::DEFAULT_FORMAT);
  formatter.setFormatString("x");
  EXPECT_STREQ(formatter.getFormatString(), "x");
  formatter.setFormatString(nullptr);
  EXPECT_STREQ(formatter.getFormatString(), KivClTraceEnvironment::DEFAULT_FORMAT);
}

TEST_F(TraceFormatTest, PlainTextFormatPrintsOncePerSelectedEntry) {
  m_bytes.value(KIV_TRACE_TYPE_INT32, 1).value(KIV_TRACE_TYPE_INT32, 2);
  m_bytes.add(KIV_TRACE_DETAIL_HIGH, 0, KIV_TRACE_TYPE_NO_DATA, "f", "m", "", 0);
  KivClTraceFormatter formatter(env(), nullptr);  // settings' filter: detail LOW
  formatter.setFormatString("abc");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "abcabc");
  EXPECT_EQ(formatter.getEntryCount(), 2u);
}

TEST_F(TraceFormatTest, PercentWithAnUnknownCharacterPrintsOnePercentSign) {
  m_bytes.value(KIV_TRACE_TYPE_INT32, 1);
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("%q");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "%");
}

TEST_F(TraceFormatTest, EveryFormatSequence) {
  const std::int32_t value = -7;
  m_bytes.add(KIV_TRACE_DETAIL_MED, 300, KIV_TRACE_TYPE_INT32, "myFunction", "the message",
              &value, sizeof value, 0, 77);
  KivClTraceFormatter formatter(env(), nullptr);
  KivClTraceFilter all;
  all.setDetail(KIV_TRACE_DETAIL_HIGH);
  KivClTraceFormatter open(env(), &all);
  open.setFormatString(
      "x=%x X=%X l=%l s=%s c=%c p=%p t=%t f=%f m=%m d=%d pct=%% n=%n bs=\\\\ nl=\\n tab=\\t "
      "q=\\q z=%z end%");
  EXPECT_EQ(formatFile(m_test, open, m_bytes.bytes()),
            "x=i32 X=signed integer (32 bits) l=MED s=0 c=44 p=" + pid() +
                " t=77 f=myFunction m=the message d=-7 pct=% n=\n bs=\\ nl=\n tab=\t q=q z=% "
                "end%");
  // A backslash at the very end stands for itself.
  open.setFormatString("a\\");
  EXPECT_EQ(formatFile(m_test, open, m_bytes.bytes()), "a\\");
}

TEST_F(TraceFormatTest, DefaultFormatShowsAHexDumpOfData) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 3, KIV_TRACE_TYPE_DATA, "open", "file", "Hello World", 11);
  KivClTraceFormatter formatter(env(), nullptr);
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()),
            "open\n   P: " + pid() +
                ", T: 0, D: LOW, C: 3\n   Data: file (DA: 11 Bytes HEX:\n"
                "00000000: 48 65 6C 6C 6F 20 57 6F  72 6C 64 __ __ __ __ __ | Hello World_____\n"
                ")");
}

TEST_F(TraceFormatTest, CompressedTextsFormatAsPlainOnes) {
  TraceTestEnvironment compressed("kivfmtz", 4, kCompressed);
  TraceBytes bytes(compressed.environment());
  bytes.add(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_NO_DATA, "Compressed::function()",
            "message 42 with digits", "", 0);
  ASSERT_NE(bytes.bytes()[0] & 0x20, 0);  // the texts really are in the 6-bit code
  KivClTraceFormatter formatter(compressed.environment(), nullptr);
  formatter.setFormatString("%f|%m|%x");
  EXPECT_EQ(formatFile(compressed, formatter, bytes.bytes()),
            "Compressed::function()|message 42 with digits|ND");
}

TEST_F(TraceFormatTest, TypeNamesAndDescriptions) {
  KivClTraceFormatter formatter(env(), nullptr);
  const char* shortNames[] = {"",   "FE", "FX",  "ND",  "DA",  "DA",  "DA",  "p",
                              "cpsz", "wc", "b",  "i8", "w8", "i16", "w16", "i32",
                              "w32", "i64", "w64", "f",  "d",  "ld"};
  const char* longNames[] = {"",
                             "FUNCTION ENTRY",
                             "FUNCTION EXIT",
                             "NO DATA",
                             "DATA",
                             "DATA",
                             "DATA",
                             "Address",
                             "C string",
                             "Unicode",
                             "bool",
                             "signed integer (8 bits)",
                             "unsigned integer (8 bits)",
                             "signed integer (16 bits)",
                             "unsigned integer (16 bits)",
                             "signed integer (32 bits)",
                             "unsigned integer (32 bits)",
                             "signed integer (64 bits)",
                             "unsigned integer (64 bits)",
                             "float",
                             "double",
                             "long double"};
  for (unsigned type = 0; type < KivClTraceFormatter::TYPE_COUNT; ++type) {
    const auto t = static_cast<KivEnTraceDataType>(type);
    EXPECT_STREQ(formatter.getTypeAsShortCString(t), shortNames[type]) << type;
    EXPECT_STREQ(formatter.getTypeAsLongCString(t), longNames[type]) << type;
    EXPECT_STREQ(kivGetFormatDescription(t), longNames[type]) << type;
  }
  const auto beyond = static_cast<KivEnTraceDataType>(22);
  EXPECT_STREQ(formatter.getTypeAsShortCString(beyond), "");
  EXPECT_STREQ(kivGetFormatDescription(beyond), "");
}

TEST_F(TraceFormatTest, DetailLevelsShowTheirNames) {
  for (auto detail : {KIV_TRACE_DETAIL_OFF, KIV_TRACE_DETAIL_LOW, KIV_TRACE_DETAIL_MED,
                      KIV_TRACE_DETAIL_HIGH}) {
    m_bytes.add(detail, 0, KIV_TRACE_TYPE_NO_DATA, "f", "m", "", 0);
  }
  KivClTraceFilter all;
  all.setDetail(KIV_TRACE_DETAIL_HIGH);
  KivClTraceFormatter formatter(env(), &all);
  formatter.setFormatString("%l,");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "OFF,LOW,MED,HIGH,");
}

// --- data display by type ---------------------------------------------------------

TEST_F(TraceFormatTest, FunctionEntryAndExitShowTheNestingLevel) {
  m_bytes.function(KIV_TRACE_TYPE_FUNCTION_ENTRY, "f", 1)
      .function(KIV_TRACE_TYPE_FUNCTION_EXIT, "f", -3);
  EXPECT_EQ(data(), "Nesting level: 1Nesting level: -3");
}

TEST_F(TraceFormatTest, NoDataAndTypeZeroShowNothing) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "f", "m", "", 0);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NONE, "f", "m", "", 0);
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("[%d]");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "[][]");
}

TEST_F(TraceFormatTest, HexDumpOfSeventeenBytesHasTwoLines) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "f", "m", "0123456789abcdef\n", 17);
  EXPECT_EQ(data(),
            "17 Bytes HEX:\n"
            "00000000: 30 31 32 33 34 35 36 37  38 39 61 62 63 64 65 66 | 0123456789abcdef\n"
            "00000010: 0A __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | ._______________");
}

TEST_F(TraceFormatTest, EmptyDataShowsNoLines) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "f", "m", "", 0);
  EXPECT_EQ(data(), "0 Bytes HEX:");
}

TEST_F(TraceFormatTest, ClippedDataIsMarked) {
  const std::string big(5000, 'x');
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "f", "m", big.data(), big.size());
  ASSERT_EQ(m_bytes.bytes()[0] & 0x1F, KIV_TRACE_TYPE_DATA_CLIPPED);
  const std::string out = data();
  EXPECT_EQ(out.rfind("4048 Bytes HEX:\n", 0), 0u) << out.substr(0, 40);
  // 4048 bytes make 253 lines; the mark follows the last one.
  EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 253);
  EXPECT_NE(out.find("\n00000FC0: 78 78"), std::string::npos);
  EXPECT_EQ(out.substr(out.size() - 16), " *** Clipped ***");
}

TEST_F(TraceFormatTest, NullDataPointerIsShownAsSuch) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "f", "m", nullptr, 10);
  EXPECT_EQ(data(), "*** Illegal NULL pointer ***");
}

TEST_F(TraceFormatTest, AddressIsShownAsAStreamShowsAPointer) {
  const void* address = reinterpret_cast<const void*>(0x1234abcdULL);
  m_bytes.value(KIV_TRACE_TYPE_ADDRESS, address);
  std::ostringstream expected;
  expected << address;
  EXPECT_EQ(data(), expected.str());
}

TEST_F(TraceFormatTest, CStringStopsAtZeroAndHidesControlCharacters) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_CSTRING, "f", "m",
              "ab\x1b[2J\x7f\xc3\xa9z\0hidden", 16);
  EXPECT_EQ(data(), "ab.[2J.\xc3\xa9z");
}

TEST_F(TraceFormatTest, UnicodeIsShownInUtf8) {
  const std::uint16_t text[] = {'A', 0x00E9, 0x20AC, 0xD83D, 0xDE00, 0xDC00, 0x0007, 0xD800,
                                'B', 0,      'C'};
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_UNICODE, "f", "m", text, sizeof text);
  EXPECT_EQ(data(), "A\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\xef\xbf\xbd.\xef\xbf\xbd" "B");
}

TEST_F(TraceFormatTest, OddUnicodeIsShownAsData) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_UNICODE, "f", "m", "abc", 3);
  EXPECT_EQ(data().rfind("3 Bytes HEX:\n00000000: 61 62 63", 0), 0u);
}

TEST_F(TraceFormatTest, BoolShowsTrueOrFalse) {
  const unsigned char two = 2;
  m_bytes.value(KIV_TRACE_TYPE_BOOL, true).value(KIV_TRACE_TYPE_BOOL, false);
  m_bytes.value(KIV_TRACE_TYPE_BOOL, two);
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("%d,");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "true,false,true,");
}

TEST_F(TraceFormatTest, IntegersInDecimal) {
  m_bytes.value(KIV_TRACE_TYPE_INT8, std::numeric_limits<std::int8_t>::min())
      .value(KIV_TRACE_TYPE_UINT8, std::numeric_limits<std::uint8_t>::max())
      .value(KIV_TRACE_TYPE_INT16, std::numeric_limits<std::int16_t>::min())
      .value(KIV_TRACE_TYPE_UINT16, std::numeric_limits<std::uint16_t>::max())
      .value(KIV_TRACE_TYPE_INT32, std::numeric_limits<std::int32_t>::min())
      .value(KIV_TRACE_TYPE_UINT32, std::numeric_limits<std::uint32_t>::max())
      .value(KIV_TRACE_TYPE_INT64, std::numeric_limits<std::int64_t>::min())
      .value(KIV_TRACE_TYPE_UINT64, std::numeric_limits<std::uint64_t>::max());
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("%d,");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()),
            "-128,255,-32768,65535,-2147483648,4294967295,-9223372036854775808,"
            "18446744073709551615,");
}

TEST_F(TraceFormatTest, HexAndBinarySwitchesAddNotations) {
  m_bytes.value(KIV_TRACE_TYPE_INT8, static_cast<std::int8_t>(-2))
      .value(KIV_TRACE_TYPE_UINT16, static_cast<std::uint16_t>(0x1234));
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("%d,");
  formatter.setHexDisplay(true);
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "-2 0xFE,4660 0x1234,");
  formatter.setBinDisplay(true);
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()),
            "-2 0xFE 0b11111110,4660 0x1234 0b0001001000110100,");
  formatter.setHexDisplay(false);
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()),
            "-2 0b11111110,4660 0b0001001000110100,");
}

TEST_F(TraceFormatTest, HexSwitchLeavesOtherTypesAlone) {
  m_bytes.value(KIV_TRACE_TYPE_DOUBLE, 2.0).value(KIV_TRACE_TYPE_BOOL, true);
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setHexDisplay(true);
  formatter.setBinDisplay(true);
  formatter.setFormatString("%d,");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "2,true,");
}

TEST_F(TraceFormatTest, FloatingPointShortestRoundTrip) {
  m_bytes.value(KIV_TRACE_TYPE_FLOAT, 0.1f)
      .value(KIV_TRACE_TYPE_DOUBLE, -1.5e300)
      .value(KIV_TRACE_TYPE_LONG_DOUBLE, 0.25L)
      .value(KIV_TRACE_TYPE_DOUBLE, std::numeric_limits<double>::infinity());
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("%d,");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "0.1,-1.5e+300,0.25,inf,");
}

TEST_F(TraceFormatTest, DataThatDoNotFitTheirTypeAreShownAsData) {
  const std::uint32_t four = 0x04030201;
  // An 8-bit integer of 4 bytes, an address of 3, a bool of 4, a nesting
  // level of 4, a double of 4, and bytes for types that have none.
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_INT8, "f", "m", &four, 4);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_ADDRESS, "f", "m", &four, 3);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_BOOL, "f", "m", &four, 4);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_FUNCTION_ENTRY, "f", "m", &four, 4);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DOUBLE, "f", "m", &four, 4);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "f", "m", &four, 1);
  std::string record = m_bytes.bytes();
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("%d|");
  const std::string out = formatFile(m_test, formatter, m_bytes.bytes());
  const std::string four4 = "4 Bytes HEX:\n00000000: 01 02 03 04 __ __ __ __  __ __ __ __ __ __ __ __ | ....____________|";
  const std::string three = "3 Bytes HEX:\n00000000: 01 02 03 __ __ __ __ __  __ __ __ __ __ __ __ __ | ..._____________|";
  const std::string one = "1 Bytes HEX:\n00000000: 01 __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | ._______________|";
  EXPECT_EQ(out, four4 + three + four4 + four4 + four4 + one);
}

TEST_F(TraceFormatTest, NullPointerTypeWithBytesShowsTheBytes) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "f", "m", "AB", 2);
  m_bytes.bytes()[0] = static_cast<char>((m_bytes.bytes()[0] & ~0x1F) | KIV_TRACE_TYPE_DATA_NULL);
  EXPECT_EQ(data().rfind("2 Bytes HEX:\n00000000: 41 42 __", 0), 0u);
}

TEST_F(TraceFormatTest, DataMayBeShownTwiceOrNotAtAll) {
  m_bytes.value(KIV_TRACE_TYPE_INT16, static_cast<std::int16_t>(5));
  m_bytes.value(KIV_TRACE_TYPE_INT16, static_cast<std::int16_t>(6));
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("%d%d;");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "55;66;");
  formatter.setFormatString("%m;");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "v;v;");
}

TEST(TraceFormatLargeData, StreamsDataLongerThanTheWorkArea) {
  TraceTestEnvironment test("kivfmtbig", 64, kPlain);
  TraceBytes bytes(test.environment());
  std::string big(10000, '\0');
  for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>('a' + i % 26);
  bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "f", "m", big.data(), big.size());
  bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_CSTRING, "f", "m", big.data(), big.size());
  bytes.value(KIV_TRACE_TYPE_INT32, 9);
  KivClTraceFormatter formatter(test.environment(), nullptr);
  formatter.setFormatString("<%d><%d>");
  const std::string out = formatFile(test, formatter, bytes.bytes());
  // 625 dump lines, then nothing for the second "%d" of the streamed data;
  // the C string in full; the small value twice.
  const std::string expectedStart = "<10000 Bytes HEX:\n00000000: 61 62 63";
  EXPECT_EQ(out.rfind(expectedStart, 0), 0u);
  EXPECT_NE(out.find("\n00002700: 61 62 63 64 65 66 67 68  69 6A 6B 6C 6D 6E 6F 70 | abcdefghijklmnop><>"),
            std::string::npos);
  EXPECT_NE(out.find("><" + big + "><>"), std::string::npos);
  EXPECT_EQ(out.substr(out.size() - 6), "<9><9>");
  EXPECT_EQ(formatter.getEntryCount(), 3u);
  // Without "%d" the streamed data are skipped and reading stays in step.
  formatter.setFormatString("%x;");
  EXPECT_EQ(formatFile(test, formatter, bytes.bytes()), "DA;cpsz;i32;");
}

// --- switches -----------------------------------------------------------------------

class TraceFormatSwitchTest : public TraceFormatTest {
 protected:
  void SetUp() override {
    // outer() { inner() { data } more }
    m_bytes.function(KIV_TRACE_TYPE_FUNCTION_ENTRY, "outer", 1);
    m_bytes.function(KIV_TRACE_TYPE_FUNCTION_ENTRY, "inner", 2);
    m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "inner", "in", "", 0);
    m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "inner", "in2", "", 0);
    m_bytes.function(KIV_TRACE_TYPE_FUNCTION_EXIT, "inner", 1);
    m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "outer", "more", "", 0);
    m_bytes.function(KIV_TRACE_TYPE_FUNCTION_EXIT, "outer", 0);
  }
};

TEST_F(TraceFormatSwitchTest, FunctionHeadersByDefault) {
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("%f:%x%n");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()),
            "outer:FE\ninner:FE\ninner:ND\ninner:ND\ninner:FX\nouter:ND\nouter:FX\n");
}

TEST_F(TraceFormatSwitchTest, NoFunctionHeaders) {
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setNoFunctionHeaders(true);
  formatter.setFormatString("%f:%x%n");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), ":FE\n:FE\n:ND\n:ND\n:FX\n:ND\n:FX\n");
}

TEST_F(TraceFormatSwitchTest, SkipSubsequentFunctionHeaders) {
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setSkipSubsequentFunctionHeaders(true);
  formatter.setFormatString("%f:%x%n");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()),
            "outer:FE\ninner:FE\n:ND\n:ND\n:FX\nouter:ND\n:FX\n");
  // A new format call starts afresh: the first header is shown again.
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()).rfind("outer:FE\n", 0), 0u);
}

TEST_F(TraceFormatSwitchTest, NestingIndentsWhatLiesBetweenEntryAndExit) {
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setNesting(true);
  formatter.setDisplayIndentation(KivClTraceFormatter::DEFAULT_INDENTATION);
  formatter.setFormatString("%f %m%n");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()),
            "outer \n"
            "  inner \n"
            "    inner in\n"
            "    inner in2\n"
            "  inner \n"
            "  outer more\n"
            "outer \n");
}

TEST_F(TraceFormatSwitchTest, NestingWithAnIndentationString) {
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setNesting(true);
  formatter.setDisplayIndentation("| ");
  formatter.setFormatString("%m%n-");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()),
            "\n-\n| -in\n| | -in2\n| | -\n| -more\n| -\n-");
}

TEST_F(TraceFormatSwitchTest, NestingWithoutAnIndentationStringIndentsNothing) {
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setNesting(true);
  formatter.setFormatString("%m%n");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "\n\nin\nin2\n\nmore\n\n");
}

TEST_F(TraceFormatSwitchTest, IndentationWithoutNestingChangesNothing) {
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setDisplayIndentation(">>");
  formatter.setFormatString("%m%n");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "\n\nin\nin2\n\nmore\n\n");
}

TEST_F(TraceFormatTest, NestingLevelIsCapped) {
  m_bytes.function(KIV_TRACE_TYPE_FUNCTION_ENTRY, "deep", 1000000);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "deep", "x", "", 0);
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setNesting(true);
  formatter.setDisplayIndentation(".");
  formatter.setFormatString("%m;%n");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()),
            std::string(KivClTraceFormatter::MAX_INDENTATION_LEVEL - 1, '.') + ";\n" +
                std::string(KivClTraceFormatter::MAX_INDENTATION_LEVEL, '.') + "x;\n");
}

TEST_F(TraceFormatTest, DisplayIndentWritesTheStringPerLevel) {
  KivClTraceFormatter formatter(env(), nullptr);
  std::ostringstream out;
  formatter.setOutputStream(out);
  formatter.displayIndent();  // no string, level 0
  formatter.displayBuffer("abcdef", 3);
  EXPECT_EQ(out.str(), "abc");
}

// --- selection ---------------------------------------------------------------------

TEST_F(TraceFormatTest, ProcessIdFilterSelectsOneProcess) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "f", "a", "", 0, 41);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "f", "b", "", 0, 42);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "f", "c", "skipped", 7, 43);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "f", "d", "", 0, 42);
  KivClTraceFilter filter;
  filter.setProcessId("42");
  KivClTraceFormatter formatter(env(), &filter);
  formatter.setFormatString("%p:%m ");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "42:b 42:d ");
  EXPECT_EQ(formatter.getEntryCount(), 2u);
}

TEST_F(TraceFormatTest, ThreadIdFilterSelectsOneThread) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "f", "a", "xyz", 3, 0, 5);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "f", "b", "", 0, 0, 6);
  KivClTraceFilter filter;
  filter.setThreadId("6");
  KivClTraceFormatter formatter(env(), &filter);
  formatter.setFormatString("%t:%m ");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "6:b ");
}

TEST_F(TraceFormatTest, DetailAndComponentFilters) {
  m_bytes.add(KIV_TRACE_DETAIL_HIGH, 1, KIV_TRACE_TYPE_NO_DATA, "f", "high1", "", 0);
  m_bytes.add(KIV_TRACE_DETAIL_MED, 2, KIV_TRACE_TYPE_NO_DATA, "f", "med2", "", 0);
  m_bytes.add(KIV_TRACE_DETAIL_MED, 3, KIV_TRACE_TYPE_NO_DATA, "f", "med3", "", 0);
  m_bytes.add(KIV_TRACE_DETAIL_MED, 0, KIV_TRACE_TYPE_NO_DATA, "f", "med0", "", 0);
  KivClTraceFilter filter;
  filter.setDetail("MED");
  filter.disableAllComponentIds();
  filter.enableComponentIds("1.2");
  KivClTraceFormatter formatter(env(), &filter);
  formatter.setFormatString("%m ");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "med2 med0 ");
}

TEST_F(TraceFormatTest, WithoutAFilterTheSettingsFilterSelects) {
  m_bytes.add(KIV_TRACE_DETAIL_MED, 0, KIV_TRACE_TYPE_NO_DATA, "f", "med", "", 0);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "f", "low", "", 0);
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("%m ");
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "low ");
  env().getSettings().getFilter().setDetail(KIV_TRACE_DETAIL_MED);
  EXPECT_EQ(formatFile(m_test, formatter, m_bytes.bytes()), "med low ");
}

// --- messages ----------------------------------------------------------------------

TEST_F(TraceFormatTest, MessagesComeFromTheBuiltInTable) {
  KivClTraceFormatter formatter(env(), nullptr);
  EXPECT_STREQ(formatter.getMessage(KivClTraceFormatter::MSG_BYTES), "Bytes");
  EXPECT_STREQ(formatter.getMessage(KivClTraceFormatter::MSG_CLIPPED), " *** Clipped ***");
  EXPECT_STREQ(formatter.getMessage(KivClTraceFormatter::MSG_NULL_POINTER),
               "*** Illegal NULL pointer ***");
  EXPECT_STREQ(formatter.getMessage(KivClTraceFormatter::MSG_NESTING_LEVEL), "Nesting level: ");
  EXPECT_STREQ(formatter.getMessage(100000), "");
}

TEST_F(TraceFormatTest, AnAttachedCatalogSuppliesTheTexts) {
  std::vector<const char*> table(KIV_MSGTAB_SIZE, nullptr);
  table[KivClTraceFormatter::MSG_BYTES] = "Octets";
  table[KivClTraceFormatter::MSG_NESTING_LEVEL] = "Niveau: ";
  KivClMessageCatalog catalog;
  catalog.useStringTable(table.data(), table.size());
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.attachKivMessageCatalog(catalog);
  EXPECT_STREQ(formatter.getMessage(KivClTraceFormatter::MSG_BYTES), "Octets");
  // An id the catalog lacks comes from the built-in table.
  EXPECT_STREQ(formatter.getMessage(KivClTraceFormatter::MSG_CLIPPED), " *** Clipped ***");
  m_bytes.function(KIV_TRACE_TYPE_FUNCTION_ENTRY, "f", 2);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "f", "m", "A", 1);
  EXPECT_EQ(data(formatter).substr(0, 23), "Niveau: 21 Octets HEX:\n");
}

// --- failures ------------------------------------------------------------------------

TEST_F(TraceFormatTest, BadOutputStreamIsFatalBeforeAnythingIsRead) {
  m_bytes.value(KIV_TRACE_TYPE_INT32, 1);
  std::istringstream in(m_bytes.bytes());
  std::ostringstream out;
  out.setstate(std::ios::badbit);
  KivClTraceFormatter formatter(env(), nullptr);
  try {
    formatter.format(in, out);
    FAIL() << "no exception";
  } catch (const KivClExceptionFatal& e) {
    EXPECT_EQ(e.getError().id, KIV_TRACEFORMAT_COULD_NOT_OPEN);
  }
  EXPECT_EQ(in.tellg(), 0);
  writeFile(m_test.file(), m_bytes.bytes());
  EXPECT_THROW(formatter.format(out), KivClExceptionFatal);
}

TEST_F(TraceFormatTest, MissingTraceFileCannotBeOpened) {
  unlink(m_test.file().c_str());
  KivClTraceFormatter formatter(env(), nullptr);
  std::ostringstream out;
  try {
    formatter.format(out);
    FAIL() << "no exception";
  } catch (const KivClExceptionFatal&) {
    FAIL() << "not a fatal failure";
  } catch (const KivClException& e) {
    EXPECT_EQ(e.getError().id, KIV_TRACEFORMAT_COULD_NOT_OPEN);
    EXPECT_EQ(std::string(e.getCause()), m_test.file());
  }
}

TEST_F(TraceFormatTest, EveryTruncationShowsWhatCanBeReadThenReports) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "first", "one", "", 0);
  const std::size_t firstEnd = m_bytes.bytes().size();
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "second", "two", "payload", 7);
  const std::string whole = m_bytes.bytes();
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("%m;");
  for (std::size_t cut = firstEnd + 1; cut < whole.size(); ++cut) {
    const auto [out, error] = formatCatching(formatter, whole.substr(0, cut));
    EXPECT_EQ(out, "one;") << cut;
    EXPECT_EQ(error, KIV_TRACEFORMAT_UNEXPECTED_EOF) << cut;
    EXPECT_EQ(formatter.getEntryCount(), 1u) << cut;
  }
  for (std::size_t cut = 1; cut < firstEnd; ++cut) {
    const auto [out, error] = formatCatching(formatter, whole.substr(0, cut));
    EXPECT_EQ(out, "") << cut;
    EXPECT_EQ(error, KIV_TRACEFORMAT_UNEXPECTED_EOF) << cut;
  }
  EXPECT_EQ(formatCatching(formatter, whole), std::make_pair(std::string("one;two;"), 0L));
  // The same through a file.
  writeFile(m_test.file(), whole.substr(0, whole.size() - 1));
  std::ostringstream out;
  EXPECT_THROW(formatter.format(out), KivClException);
  EXPECT_EQ(out.str(), "one;");
}

TEST_F(TraceFormatTest, TruncatedLargeDataShowsWhatIsThere) {
  TraceTestEnvironment test("kivfmtbigcut", 64, kPlain);
  TraceBytes bytes(test.environment());
  const std::string big(10000, 'q');
  bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "f", "m", big.data(), big.size());
  KivClTraceFormatter formatter(test.environment(), nullptr);
  formatter.setFormatString("%d");
  const auto [out, error] = formatCatching(formatter, bytes.bytes().substr(0, 5000));
  EXPECT_EQ(error, KIV_TRACEFORMAT_UNEXPECTED_EOF);
  EXPECT_NE(out.find("\n00000F90: 71"), std::string::npos);  // bytes of the first chunk
  EXPECT_EQ(formatter.getEntryCount(), 0u);
}

TEST_F(TraceFormatTest, TypeBeyondTheTableIsCorrupted) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "f", "good", "", 0);
  const std::size_t second = m_bytes.bytes().size();
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "f", "bad", "", 0);
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("%m;");
  for (unsigned type : {22u, 31u}) {
    std::string bytes = m_bytes.bytes();
    bytes[second] = static_cast<char>((bytes[second] & ~0x1F) | type);
    const auto [out, error] = formatCatching(formatter, bytes);
    EXPECT_EQ(out, "good;") << type;
    EXPECT_EQ(error, KIV_TRACEFORMAT_FILE_CORRUPTED) << type;
  }
}

TEST_F(TraceFormatTest, DataLengthBeyondTheLargestBufferIsCorrupted) {
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "f", "bad", "x", 1);
  std::string bytes = m_bytes.bytes();
  const std::uint32_t huge = KivClTraceFormatter::MAX_DATA_LENGTH + 1;
  std::memcpy(&bytes[16], &huge, 4);
  KivClTraceFormatter formatter(env(), nullptr);
  EXPECT_EQ(formatCatching(formatter, bytes).second, KIV_TRACEFORMAT_FILE_CORRUPTED);
  // The largest length is not corrupt: its data are merely missing here.
  const std::uint32_t largest = KivClTraceFormatter::MAX_DATA_LENGTH;
  std::memcpy(&bytes[16], &largest, 4);
  EXPECT_EQ(formatCatching(formatter, bytes).second, KIV_TRACEFORMAT_UNEXPECTED_EOF);
}

TEST_F(TraceFormatTest, FormatEntryReadsOneEntryAtATime) {
  m_bytes.value(KIV_TRACE_TYPE_INT32, 1).value(KIV_TRACE_TYPE_INT32, 2);
  std::istringstream in(m_bytes.bytes());
  std::ostringstream out;
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setOutputStream(out);
  char work[KivClTraceFormatter::WORK_SIZE];
  EXPECT_TRUE(formatter.formatEntry(in, "<%d>", work));
  EXPECT_EQ(out.str(), "<1>");
  EXPECT_TRUE(formatter.formatEntry(in, "[%d]", nullptr));
  EXPECT_EQ(out.str(), "<1>[2]");
  EXPECT_FALSE(formatter.formatEntry(in, "x", nullptr));
  EXPECT_EQ(formatter.getEntryCount(), 2u);
  std::istringstream cut(m_bytes.bytes().substr(0, 10));
  EXPECT_THROW(formatter.formatEntry(cut, "x", nullptr), KivClException);
}

TEST_F(TraceFormatTest, FormatNextEntryWaitsForAWholeEntry) {
  m_bytes.value(KIV_TRACE_TYPE_INT32, 1).value(KIV_TRACE_TYPE_INT32, 2);
  const std::string whole = m_bytes.bytes();
  const std::size_t first = whole.size() / 2;
  writeFile(m_test.file(), whole.substr(0, first + 5));
  std::ifstream in(m_test.file(), std::ios::binary);
  std::ostringstream out;
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setFormatString("<%d>");
  formatter.setOutputStream(out);
  const auto available = [&]() {
    return static_cast<std::uint64_t>(first + 5) - static_cast<std::uint64_t>(in.tellg());
  };
  EXPECT_EQ(formatter.formatNextEntry(in, available()), KivEnTraceFormatStatus::FORMATTED);
  EXPECT_EQ(formatter.formatNextEntry(in, available()), KivEnTraceFormatStatus::TRUNCATED);
  EXPECT_EQ(out.str(), "<1>");
  EXPECT_EQ(static_cast<std::size_t>(in.tellg()), first);
  // The writer appends the rest: the entry is read whole now.
  writeFile(m_test.file(), whole);
  EXPECT_EQ(formatter.formatNextEntry(in, whole.size() - first), KivEnTraceFormatStatus::FORMATTED);
  EXPECT_EQ(formatter.formatNextEntry(in, 0), KivEnTraceFormatStatus::END);
  EXPECT_TRUE(in.good());
  EXPECT_EQ(out.str(), "<1><2>");
  EXPECT_EQ(formatter.getEntryCount(), 2u);
}

TEST_F(TraceFormatTest, FormatNextEntryNeverShowsPartOfLargeData) {
  TraceTestEnvironment test("kivfmtfollow", 64, kPlain);
  TraceBytes bytes(test.environment());
  const std::string big(10000, 'r');
  bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "f", "m", big.data(), big.size());
  const std::string whole = bytes.bytes();
  writeFile(test.file(), whole.substr(0, 6000));
  std::ifstream in(test.file(), std::ios::binary);
  std::ostringstream out;
  KivClTraceFormatter formatter(test.environment(), nullptr);
  formatter.setFormatString("%d");
  formatter.setOutputStream(out);
  EXPECT_EQ(formatter.formatNextEntry(in, 6000), KivEnTraceFormatStatus::TRUNCATED);
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(in.tellg(), 0);
  // The caller's limit counts, even where the file holds more.
  writeFile(test.file(), whole);
  EXPECT_EQ(formatter.formatNextEntry(in, whole.size() - 1), KivEnTraceFormatStatus::TRUNCATED);
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(in.tellg(), 0);
  EXPECT_EQ(formatter.formatNextEntry(in, whole.size()), KivEnTraceFormatStatus::FORMATTED);
  EXPECT_EQ(out.str().rfind("10000 Bytes HEX:\n", 0), 0u);
}

TEST_F(TraceFormatTest, FormatNextEntryReportsSkippedAndCorruptEntries) {
  m_bytes.add(KIV_TRACE_DETAIL_HIGH, 0, KIV_TRACE_TYPE_NO_DATA, "f", "m", "", 0);
  m_bytes.add(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_NO_DATA, "f", "m", "", 0);
  std::string bytes = m_bytes.bytes();
  bytes[bytes.size() / 2] = 0x1F;  // second entry: type 31
  writeFile(m_test.file(), bytes);
  std::ifstream in(m_test.file(), std::ios::binary);
  std::ostringstream out;
  KivClTraceFormatter formatter(env(), nullptr);
  formatter.setOutputStream(out);
  EXPECT_EQ(formatter.formatNextEntry(in, bytes.size()), KivEnTraceFormatStatus::SKIPPED);
  EXPECT_EQ(formatter.formatNextEntry(in, bytes.size() / 2), KivEnTraceFormatStatus::CORRUPTED);
  EXPECT_EQ(static_cast<std::size_t>(in.tellg()), bytes.size() / 2);
  EXPECT_EQ(out.str(), "");
}

TEST_F(TraceFormatTest, FormatDataAndSkipEntryReadFromAStream) {
  KivClTraceFormatter formatter(env(), nullptr);
  std::ostringstream out;
  formatter.setOutputStream(out);
  std::istringstream in(std::string("AB\0\0\0\0\0\0\0\0hi\0x", 14) + "rest");
  EXPECT_TRUE(formatter.formatHexDump(in, 2));
  EXPECT_TRUE(formatter.formatAdrs(in, 8));
  EXPECT_TRUE(formatter.formatCString(in, 4));
  EXPECT_TRUE(formatter.skipEntry(in, 4));
  EXPECT_FALSE(formatter.skipEntry(in, 1));
  std::ostringstream null;
  null << static_cast<const void*>(nullptr);
  EXPECT_EQ(out.str(),
            "2 Bytes HEX:\n00000000: 41 42 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | "
            "AB______________" + null.str() + "hi");
  std::istringstream shortIn("12");
  EXPECT_FALSE(formatter.formatData(shortIn, KIV_TRACE_TYPE_INT32, 4));
}

// --- a real trace -----------------------------------------------------------------------

TEST(TraceFormatRealTrace, FormatsWhatATracedProcessWrote) {
  kivtest::TempDir dir;
  const std::string file = dir / "real.trc";
  const int status = kivtest::runTraceChild(
      {{"KIVFMTREAL_TRACE_ACTIVE", "yes"},
       {"KIVFMTREAL_TRACE_FILE", file},
       {"KIVFMTREAL_TRACE_DETAIL", "HIGH"}},
      [] {
        kivTraceCreateInstance("kivfmtreal", nullptr);
        KIV_CHILD_CHECK(kivTraceIsEnabled());
        const std::int32_t answer = 42;
        kivTraceDump(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_FUNCTION_ENTRY, "main", "", nullptr, 0);
        kivTraceDump(KIV_TRACE_DETAIL_MED, 7, KIV_TRACE_TYPE_INT32, "main", "answer", &answer,
                     sizeof answer);
        kivTraceDump(KIV_TRACE_DETAIL_HIGH, 7, KIV_TRACE_TYPE_CSTRING, "main", "name", "kiv", 3);
        kivTraceDump(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_FUNCTION_EXIT, "main", "", nullptr, 0);
        kivTraceDeleteInstance();
      });
  ASSERT_TRUE(kivtest::childSucceeded(status));
  kivtest::EnvGuard fileVar("KIVFMTREAD_TRACE_FILE");
  setenv("KIVFMTREAD_TRACE_FILE", file.c_str(), 1);
  const KivClTraceEnvironment environment("kivfmtread", nullptr, true);
  KivClTraceFilter filter;
  filter.setDetail(KIV_TRACE_DETAIL_HIGH);
  KivClTraceFormatter formatter(environment, &filter);
  formatter.setNesting(true);
  formatter.setDisplayIndentation("  ");
  formatter.setSkipSubsequentFunctionHeaders(true);
  formatter.setFormatString("%f %l %c %x %m %d%n");
  std::ostringstream out;
  formatter.format(out);
  EXPECT_EQ(out.str(),
            "main OFF 0 FE  Nesting level: 1\n"
            "   MED 7 i32 answer 42\n"
            "   HIGH 7 cpsz name kiv\n"
            " OFF 0 FX  Nesting level: 0\n");
  EXPECT_EQ(formatter.getEntryCount(), 4u);
  // The texts were compressed (the default), so reading them recorded a rate.
  EXPECT_GT(environment.getCompressionRate(), 0.0f);
}

}  // namespace
