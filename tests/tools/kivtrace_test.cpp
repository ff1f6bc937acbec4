// kivtrace end to end: the INSTALLED tool runs as a child process on trace
// files written by real traced child processes (forked from this test with
// the trace key's variables set, tracing through the flat interface).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "../trace/trace_child.hpp"
#include "kiv_child_support.hpp"
#include "kiv_msgtable.hpp"
#include "kiv_test_support.hpp"
#include "kiv_trace.hpp"

namespace {

using kivtest::ChildResult;

const char* const gs_pszKey = "kivtracetest";

ChildResult kivtrace(const std::vector<std::string>& args, int timeoutMs = 30000,
                     const std::map<std::string, std::string>& env = {}) {
  kivtest::ChildRun run = kivtest::consoleProgramRun(KIVTRACE_PROGRAM, KIVTRACE_PROGRAM, args);
  // The key's variables of the test process never reach the tool.
  run.dropEnv.push_back("KIVTRACETEST_");
  // Every detail level passes unless a test says otherwise: the key's
  // detail variable is also the default of -fdetail.
  run.env["KIVTRACETEST_TRACE_DETAIL"] = "HIGH";
  for (const auto& [name, value] : env) run.env[name] = value;
  run.timeoutMs = timeoutMs;
  run.outputLimit = 64 << 20;
  return kivtest::runChild(run);
}

std::string text(unsigned long id) { return kivMsgTabGetBuiltInTable()[id]; }

// A label and value line of the console UI: the label filled with "." to
// the width of 36, ": " and the value.
std::string line(unsigned long labelId, const std::string& value) {
  const std::string label = text(labelId);
  return label + std::string(label.size() < 36 ? 36 - label.size() : 0, '.') + ": " + value + "\n";
}

std::vector<std::string> lines(const std::string& textBlock) {
  std::vector<std::string> result;
  std::istringstream in(textBlock);
  for (std::string l; std::getline(in, l);) result.push_back(l);
  return result;
}

std::string fileBytes(const std::string& path) { return kivtest::readFile(path); }

void dump(KivEnTraceDetail detail, unsigned short component, KivEnTraceDataType type,
          const char* function, const char* message, const void* data, unsigned long length) {
  kivTraceDump(detail, component, type, function, message, data, length);
}

// The sample trace: nine entries of one process, with nested functions,
// three components and several data types.
void traceSample() {
  kivTraceCreateInstance(gs_pszKey, nullptr);
  KIV_CHILD_CHECK(kivTraceIsEnabled());
  dump(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_FUNCTION_ENTRY, "main", nullptr, nullptr, 0);
  dump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_FUNCTION_ENTRY, "loadConfiguration", nullptr,
       nullptr, 0);
  dump(KIV_TRACE_DETAIL_MED, 1, KIV_TRACE_TYPE_CSTRING, "loadConfiguration", "reading",
       "server.ini", 10);
  const std::int32_t port = 9443;
  dump(KIV_TRACE_DETAIL_MED, 1, KIV_TRACE_TYPE_INT32, "loadConfiguration", "port", &port, 4);
  dump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_FUNCTION_EXIT, "loadConfiguration", nullptr,
       nullptr, 0);
  const std::uint8_t flags = 171;
  dump(KIV_TRACE_DETAIL_HIGH, 2, KIV_TRACE_TYPE_UINT8, "sendRecord", "flags", &flags, 1);
  dump(KIV_TRACE_DETAIL_HIGH, 2, KIV_TRACE_TYPE_DATA, "sendRecord", "bytes out", "HELLO", 5);
  const std::uint32_t pid = static_cast<std::uint32_t>(getpid());
  dump(KIV_TRACE_DETAIL_LOW, 3, KIV_TRACE_TYPE_UINT32, "main", "pid", &pid, 4);
  dump(KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_FUNCTION_EXIT, "main", nullptr, nullptr, 0);
  kivTraceDeleteInstance();
}

// Writes the sample trace to `path` (appending) in a traced child.
void writeSample(const std::string& path) {
  const std::string prefix = "KIVTRACETEST_TRACE_";
  ASSERT_TRUE(kivtest::childSucceeded(kivtest::runTraceChild(
      {{prefix + "ACTIVE", "yes"}, {prefix + "FILE", path}, {prefix + "DETAIL", "HIGH"}},
      traceSample)));
}

// A one-line format for exact comparisons.
const char* const gs_pszLineFormat = "%c|%l|%x|%f|%m|%d\\n";

class KivtraceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    m_file = m_dir / "sample.trc";
    writeSample(m_file);
    ASSERT_EQ(kivtest::readTraceFile(m_file, gs_pszKey).size(), 9u);
  }
  // The display with `format` and the `extra` switches, line by line. With
  // the one-line format the DATA entry takes two lines: its dump line
  // follows its "5 Bytes HEX:".
  std::vector<std::string> displayLines(std::vector<std::string> extra,
                                        const char* format = gs_pszLineFormat) {
    std::vector<std::string> args = {"-key", gs_pszKey, "-file", m_file, "-display",
                                     "-format", format};
    args.insert(args.end(), extra.begin(), extra.end());
    const ChildResult result = kivtrace(args);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return lines(result.out);
  }

  kivtest::TempDir m_dir;
  std::string m_file;
};

// --- usage and help -------------------------------------------------------

// The lines of a display after its first line, each with `indent` blanks
// taken off (a line of blanks alone is taken as empty).
std::string undisplay(const std::string& shown, std::size_t indent) {
  std::string result;
  bool first = true;
  for (const std::string& l : lines(shown)) {
    if (!first) result += '\n';
    first = false;
    if (l.size() >= indent && l.compare(0, indent, std::string(indent, ' ')) == 0) {
      result += l.substr(indent);
    } else {
      result += l;
    }
  }
  return result;
}

TEST(KivtraceUsage, UsageDisplayIsTheControllersUsageText) {
  const ChildResult result = kivtrace({"-h"});
  EXPECT_EQ(result.exitCode, 201);
  const std::string head = "\nUsage: kivtrace [-h|-H|-?|-copyright] [-quiet]\n";
  ASSERT_EQ(result.out.compare(0, head.size(), head), 0) << result.out;
  const std::size_t helpAt = result.out.find("\nHelp: ");
  ASSERT_NE(helpAt, std::string::npos) << result.out;
  // The usage text shown without its parentheses (the console UI hides
  // them), aligned under the process name: "Usage: " and "kivtrace" and a
  // blank, 16 columns. Nothing else: -follow stays hidden.
  std::string expected;
  for (const char c : text(151)) {
    if (c != '(' && c != ')') expected += c;
  }
  const std::string shown = result.out.substr(head.size(), helpAt - head.size());
  EXPECT_EQ(shown.compare(0, 16, std::string(16, ' ')), 0) << shown;
  // The console UI ends the text's last line.
  ASSERT_EQ(shown.back(), '\n');
  EXPECT_EQ(undisplay(shown.substr(16), 16), expected);
  EXPECT_EQ(shown.find("follow"), std::string::npos);
}

TEST(KivtraceUsage, HelpDisplayIsTheControllersHelpText) {
  const ChildResult result = kivtrace({"-h"});
  EXPECT_EQ(result.exitCode, 201);
  const std::size_t helpAt = result.out.find("\nHelp: ");
  ASSERT_NE(helpAt, std::string::npos) << result.out;
  std::string shown = result.out.substr(helpAt + 7);
  // The console UI ends the last line, and the exit with 201 rings the bell.
  ASSERT_GE(shown.size(), 2u);
  EXPECT_EQ(shown.substr(shown.size() - 2), "\n\a");
  shown.resize(shown.size() - 2);
  // The help text with its "@" lines shown empty, every line after the
  // first indented by the width of "Help: ", and "%%" shown as "%".
  std::string expected;
  const std::string help = text(152);
  for (std::size_t i = 0; i < help.size(); ++i) {
    if (help[i] == '%' && i + 1 < help.size() && help[i + 1] == '%') {
      expected += '%';
      ++i;
    } else if (help[i] == '@' && (i == 0 || help[i - 1] == '\n')) {
      expected += '\n';
      if (i + 1 < help.size() && help[i + 1] == '\n') ++i;
    } else {
      expected += help[i];
    }
  }
  EXPECT_EQ(undisplay(shown, 6), expected);
}

TEST(KivtraceUsage, VersionNamesTheControllerAndTheLibrary) {
  const ChildResult result = kivtrace({"--version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, text(150) + " " + kivLibraryGetLevel() + "\n");
}

TEST(KivtraceUsage, LongHelpAndCopyright) {
  ChildResult result = kivtrace({"--help"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out.rfind("\nUsage: kivtrace [-h|-H|-?|-copyright] [-quiet]\n", 0), 0u)
      << result.out;
  EXPECT_NE(result.out.find("\nHelp: -key <key>               Specify a key for the trace facility\n"),
            std::string::npos)
      << result.out;
  result = kivtrace({"-copyright"});
  EXPECT_EQ(result.exitCode, 201);
  EXPECT_NE(result.out.find(text(34)), std::string::npos) << result.out;
  EXPECT_NE(result.out.find(kivLibraryGetLevel()), std::string::npos) << result.out;
}

TEST(KivtraceUsage, AMissingKeyShowsTheUsageWithStatus201) {
  const ChildResult result = kivtrace({"-display"});
  EXPECT_EQ(result.exitCode, 201);
  EXPECT_NE(result.err.find("Missing command line switch"), std::string::npos) << result.err;
  EXPECT_EQ(result.out, "");
}

TEST(KivtraceUsage, AnUnknownSwitchIsRefused) {
  const ChildResult result = kivtrace({"-key", gs_pszKey, "-bogus"});
  EXPECT_EQ(result.exitCode, 201);
  EXPECT_NE(result.err.find("Unknown command line argument"), std::string::npos) << result.err;
}

TEST(KivtraceUsage, AnInvalidInstanceIsRefused) {
  for (const char* instance : {"a:b", ""}) {
    const ChildResult result = kivtrace({"-key", gs_pszKey, "-instance", instance});
    EXPECT_EQ(result.exitCode, 201) << instance;
    EXPECT_NE(result.err.find(text(194)), std::string::npos) << result.err;
  }
}

// --- status ---------------------------------------------------------------

TEST_F(KivtraceTest, StatusShowsTheKeysSettingsAndTheFile) {
  const ChildResult result =
      kivtrace({"-key", gs_pszKey, "-instance", "second", "-file", m_file}, 30000,
               {{"KIVTRACETEST_TRACE_ACTIVE", "yes"},
                {"KIVTRACETEST_TRACE_DETAIL", "MEDIUM"},
                {"KIVTRACETEST_TRACE_COMPSET", "1.5,-3"},
                {"KIVTRACETEST_TRACE_BUFSIZE", "8"}});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  const std::string& out = result.out;
  EXPECT_NE(out.find(line(173, std::string(gs_pszKey) + "/second")), std::string::npos) << out;
  EXPECT_NE(out.find(line(176, "YES")), std::string::npos) << out;
  EXPECT_NE(out.find(line(177, "YES")), std::string::npos) << out;
  EXPECT_NE(out.find(line(178, "NO")), std::string::npos) << out;
  EXPECT_NE(out.find(line(179, "8192 Bytes")), std::string::npos) << out;
  EXPECT_NE(out.find(line(180, m_file)), std::string::npos) << out;
  EXPECT_NE(out.find(line(181, "MED")), std::string::npos) << out;
  EXPECT_NE(out.find(line(182, "0")), std::string::npos) << out;
  EXPECT_NE(out.find(line(183, "0")), std::string::npos) << out;
  EXPECT_NE(out.find(line(187, "1-2,4-5")), std::string::npos) << out;
  EXPECT_NE(out.find(line(188, "3,6-255")), std::string::npos) << out;
  EXPECT_NE(out.find(line(186, "9")), std::string::npos) << out;
  for (const unsigned long header : {174ul, 175ul, 184ul}) {
    EXPECT_NE(out.find(text(header)), std::string::npos) << header;
  }
  // The sample's texts are stored compressed: the rate is below 1.
  const std::string rateLabel = line(185, "");
  const std::size_t at = out.find(rateLabel.substr(0, rateLabel.size() - 1));
  ASSERT_NE(at, std::string::npos) << out;
  const double rate = std::stod(out.substr(at + rateLabel.size() - 1));
  EXPECT_GT(rate, 0.5);
  EXPECT_LT(rate, 1.0);
}

TEST_F(KivtraceTest, StatusOfAnInactiveKeyWithoutFile) {
  kivtest::TempDir tmp;
  const ChildResult result = kivtrace({"-key", gs_pszKey}, 30000, {{"TMP", tmp.path()}});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_NE(result.out.find(line(176, "NO")), std::string::npos) << result.out;
  EXPECT_NE(result.out.find(line(177, "NO")), std::string::npos) << result.out;
  EXPECT_NE(result.out.find(line(181, "HIGH")), std::string::npos) << result.out;
  EXPECT_NE(result.out.find(line(187, "1-255")), std::string::npos) << result.out;
  EXPECT_NE(result.out.find(line(186, "0")), std::string::npos) << result.out;
}

TEST_F(KivtraceTest, NeverClearsOrTruncatesTheTraceFile) {
  // A traced program with these settings starts by removing its file; the
  // controller must leave it as it is, in both of its modes.
  const std::string before = fileBytes(m_file);
  const std::map<std::string, std::string> clearing = {{"KIVTRACETEST_TRACE_ACTIVE", "yes"},
                                                       {"KIVTRACETEST_TRACE_AUTOCLEAR", "yes"},
                                                       {"KIVTRACETEST_TRACE_AUTOSAVE", "yes"},
                                                       {"KIVTRACETEST_TRACE_FILE", m_file}};
  ChildResult result = kivtrace({"-key", gs_pszKey}, 30000, clearing);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_NE(result.out.find(line(186, "9")), std::string::npos) << result.out;
  EXPECT_EQ(fileBytes(m_file), before);
  result = kivtrace({"-key", gs_pszKey, "-display", "-verbose"}, 30000, clearing);
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(fileBytes(m_file), before);
}

// --- display ---------------------------------------------------------------

TEST_F(KivtraceTest, DisplayWithTheDefaultFormat) {
  const ChildResult result =
      kivtrace({"-key", gs_pszKey, "-file", m_file, "-display"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  const std::string& out = result.out;
  // The default format: function name, then "P: ..., T: ..., D: ..., C:
  // ...", then "Data: <message> (<type>: <data>".
  EXPECT_NE(out.find("loadConfiguration\n   P: "), std::string::npos) << out;
  EXPECT_NE(out.find(", D: MED, C: 1\n   Data: reading (cpsz: server.ini\n)"), std::string::npos)
      << out;
  EXPECT_NE(out.find("Data: port (i32: 9443\n)"), std::string::npos) << out;
  EXPECT_NE(out.find("Data: bytes out (DA: 5 Bytes HEX:"), std::string::npos) << out;
  EXPECT_NE(out.find("00000000: 48 45 4C 4C 4F __ __ __  __ __ __ __ __ __ __ __ | HELLO___________"),
            std::string::npos)
      << out;
  EXPECT_EQ(result.err, "");
}

TEST_F(KivtraceTest, FormatSwitchGivesOneLinePerEntry) {
  const std::vector<std::string> shown = displayLines({});
  ASSERT_EQ(shown.size(), 10u);
  EXPECT_EQ(shown[0], "0|OFF|FE|main||Nesting level: 1");
  EXPECT_EQ(shown[1], "1|OFF|FE|loadConfiguration||Nesting level: 2");
  EXPECT_EQ(shown[2], "1|MED|cpsz|loadConfiguration|reading|server.ini");
  EXPECT_EQ(shown[3], "1|MED|i32|loadConfiguration|port|9443");
  EXPECT_EQ(shown[4], "1|OFF|FX|loadConfiguration||Nesting level: 1");
  EXPECT_EQ(shown[5], "2|HIGH|w8|sendRecord|flags|171");
  EXPECT_EQ(shown[6], "2|HIGH|DA|sendRecord|bytes out|5 Bytes HEX:");
  EXPECT_EQ(shown[7],
            "00000000: 48 45 4C 4C 4F __ __ __  __ __ __ __ __ __ __ __ | HELLO___________");
  EXPECT_EQ(shown[8].rfind("3|LOW|w32|main|pid|", 0), 0u) << shown[8];
  EXPECT_GT(std::stol(shown[8].substr(19)), 0);
  EXPECT_EQ(shown[9], "0|OFF|FX|main||Nesting level: 0");
}

TEST_F(KivtraceTest, FnofhdHidesFunctionNames) {
  const std::vector<std::string> shown = displayLines({"-fnofhd"});
  ASSERT_EQ(shown.size(), 10u);
  EXPECT_EQ(shown[2], "1|MED|cpsz||reading|server.ini");
  EXPECT_EQ(shown[5], "2|HIGH|w8||flags|171");
}

TEST_F(KivtraceTest, FssfhdShowsAFunctionNameOncePerRun) {
  const std::vector<std::string> shown = displayLines({"-fssfhd"});
  ASSERT_EQ(shown.size(), 10u);
  EXPECT_EQ(shown[1], "1|OFF|FE|loadConfiguration||Nesting level: 2");
  EXPECT_EQ(shown[2], "1|MED|cpsz||reading|server.ini");
  EXPECT_EQ(shown[3], "1|MED|i32||port|9443");
  EXPECT_EQ(shown[5], "2|HIGH|w8|sendRecord|flags|171");
  EXPECT_EQ(shown[6].rfind("2|HIGH|DA||bytes out|", 0), 0u) << shown[6];
}

TEST_F(KivtraceTest, FhexAndFbinAddNotations) {
  std::vector<std::string> shown = displayLines({"-fhex"});
  ASSERT_EQ(shown.size(), 10u);
  EXPECT_EQ(shown[5], "2|HIGH|w8|sendRecord|flags|171 0xAB");
  shown = displayLines({"-fbin"});
  ASSERT_EQ(shown.size(), 10u);
  EXPECT_EQ(shown[5], "2|HIGH|w8|sendRecord|flags|171 0b10101011");
  shown = displayLines({"-fhex", "-fbin"});
  ASSERT_EQ(shown.size(), 10u);
  EXPECT_EQ(shown[5], "2|HIGH|w8|sendRecord|flags|171 0xAB 0b10101011");
}

TEST_F(KivtraceTest, FnestIndentsBetweenEntryAndExit) {
  std::vector<std::string> shown = displayLines({"-fnest"}, "%x %f\\n");
  ASSERT_EQ(shown.size(), 9u);
  // The default indentation, two blanks a level; an entry stands one level
  // out from what it opens.
  EXPECT_EQ(shown[0], "FE main");
  EXPECT_EQ(shown[1], "  FE loadConfiguration");
  EXPECT_EQ(shown[2], "    cpsz loadConfiguration");
  EXPECT_EQ(shown[4], "  FX loadConfiguration");
  EXPECT_EQ(shown[8], "FX main");
  shown = displayLines({"-fnest", "-findent", ">>"}, "%x %f\\n");
  ASSERT_EQ(shown.size(), 9u);
  EXPECT_EQ(shown[2], ">>>>cpsz loadConfiguration");
  EXPECT_EQ(shown[5], ">>w8 sendRecord");
  // Without -fnest an indentation string changes nothing.
  shown = displayLines({"-findent", ">>"}, "%x %f\\n");
  ASSERT_EQ(shown.size(), 9u);
  EXPECT_EQ(shown[2], "cpsz loadConfiguration");
}

TEST_F(KivtraceTest, FdetailSelectsByDetailLevel) {
  std::vector<std::string> shown = displayLines({"-fdetail", "LOW"});
  // The function entries and exits (recorded as OFF) and the LOW entry.
  ASSERT_EQ(shown.size(), 5u);
  for (const std::string& l : shown) EXPECT_EQ(l.find("HIGH"), std::string::npos) << l;
  for (const std::string& l : shown) EXPECT_EQ(l.find("MED"), std::string::npos) << l;
  shown = displayLines({"-fdetail", "MED"});
  EXPECT_EQ(shown.size(), 7u);
  shown = displayLines({"-fdetail", "HIGH"});
  EXPECT_EQ(shown.size(), 10u);
}

TEST_F(KivtraceTest, FcompidsSelectsByComponent) {
  std::vector<std::string> shown = displayLines({"-fcompids", "2"}, "%c %x\\n");
  // Component 2 and the entries without a component (id 0).
  EXPECT_EQ(shown, (std::vector<std::string>{"0 FE", "2 w8", "2 DA", "0 FX"}));
  shown = displayLines({"-fcompids", "*,-1"}, "%c %x\\n");
  EXPECT_EQ(shown, (std::vector<std::string>{"0 FE", "2 w8", "2 DA", "3 w32", "0 FX"}));
}

TEST_F(KivtraceTest, FpidAndFtidSelectByProcessAndThread) {
  writeSample(m_file);  // a second process appends its nine entries
  const ChildResult all =
      kivtrace({"-key", gs_pszKey, "-file", m_file, "-display", "-format", "%p\\n"});
  ASSERT_EQ(all.exitCode, 0) << all.err;
  const std::vector<std::string> pids = lines(all.out);
  ASSERT_EQ(pids.size(), 18u);
  ASSERT_NE(pids[0], pids[9]);
  std::vector<std::string> shown = displayLines({"-fpid", pids[9]}, "%p %m %x\\n");
  ASSERT_EQ(shown.size(), 9u);
  for (const std::string& l : shown) EXPECT_EQ(l.rfind(pids[9] + " ", 0), 0u) << l;
  shown = displayLines({"-fpid", pids[9]}, "%p %m %d\\n");
  ASSERT_EQ(shown.size(), 10u);
  // The pid entry carries the process's own id as its data.
  EXPECT_EQ(shown[8], pids[9] + " pid " + pids[9]);
  // Thread ids are 0 in this library.
  EXPECT_EQ(displayLines({"-ftid", "0"}, "%x\\n").size(), 18u);
  EXPECT_EQ(displayLines({"-ftid", "5"}, "%x\\n").size(), 0u);
}

TEST_F(KivtraceTest, VerboseShowsTheStatusBeforeTheTrace) {
  const ChildResult result = kivtrace(
      {"-key", gs_pszKey, "-file", m_file, "-display", "-verbose", "-format", "%x\\n"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  const std::size_t status = result.out.find(line(186, "9"));
  ASSERT_NE(status, std::string::npos) << result.out;
  EXPECT_EQ(result.out.substr(result.out.size() - 7), "w32\nFX\n");
  EXPECT_LT(status, result.out.find("FE\n"));
}

TEST_F(KivtraceTest, QuietShowsNothing) {
  const ChildResult result = kivtrace({"-key", gs_pszKey, "-file", m_file, "-display", "-quiet"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
}

// --- missing, unreadable, corrupted and truncated files ----------------------

TEST_F(KivtraceTest, MissingFiles) {
  ChildResult result =
      kivtrace({"-key", gs_pszKey, "-file", m_dir / "none.trc", "-display"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_NE(result.err.find(text(193)), std::string::npos) << result.err;
  EXPECT_EQ(result.out, "");
  // The key's own file (default name in TMP) missing: the key is suspect.
  kivtest::TempDir tmp;
  result = kivtrace({"-key", gs_pszKey, "-display"}, 30000, {{"TMP", tmp.path()}});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_NE(result.err.find(text(195)), std::string::npos) << result.err;
  // A directory cannot be read as a trace file.
  result = kivtrace({"-key", gs_pszKey, "-file", tmp.path(), "-display"});
  EXPECT_EQ(result.exitCode, 2);
  EXPECT_NE(result.err.find(text(197)), std::string::npos) << result.err;
}

// The byte offset of entry `index` in a trace file.
std::size_t entryOffset(const std::string& bytes, std::size_t index) {
  std::size_t at = 0;
  for (std::size_t i = 0; i < index; ++i) {
    std::uint32_t dataLength = 0;
    std::memcpy(&dataLength, bytes.data() + at + 16, 4);
    at += 20 + static_cast<unsigned char>(bytes[at + 2]) + static_cast<unsigned char>(bytes[at + 3]) +
          dataLength;
  }
  return at;
}

TEST_F(KivtraceTest, TruncatedFileShowsWhatCanBeReadThenReports198) {
  const std::string bytes = fileBytes(m_file);
  // Cut inside the fifth entry's fixed part, and inside the last entry's data.
  for (const std::size_t cut : {entryOffset(bytes, 4) + 7, bytes.size() - 3}) {
    kivtest::writeFile(m_file, bytes.substr(0, cut));
    const ChildResult result =
        kivtrace({"-key", gs_pszKey, "-file", m_file, "-display", "-format", "%x\\n"});
    EXPECT_EQ(result.exitCode, 1) << cut;
    EXPECT_EQ(result.signal, 0);
    EXPECT_NE(result.err.find(text(198)), std::string::npos) << result.err;
    EXPECT_EQ(result.out.rfind("FE\nFE\ncpsz\ni32\n", 0), 0u) << result.out;
  }
  // The status counts what can be read, then reports.
  const ChildResult result = kivtrace({"-key", gs_pszKey, "-file", m_file});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_NE(result.err.find(text(198)), std::string::npos) << result.err;
}

TEST_F(KivtraceTest, DataThatCannotBeAnEntryReports199) {
  const std::string bytes = fileBytes(m_file);
  std::string badType = bytes;
  const std::size_t third = entryOffset(bytes, 2);
  badType[third] = static_cast<char>((badType[third] & ~0x1F) | 30);  // type 30: no such type
  std::string badLength = bytes;
  const std::uint32_t huge = 0x7FFFFFFF;
  std::memcpy(&badLength[third + 16], &huge, 4);
  for (const std::string& corrupted : {badType, badLength}) {
    kivtest::writeFile(m_file, corrupted);
    const ChildResult result =
        kivtrace({"-key", gs_pszKey, "-file", m_file, "-display", "-format", "%x\\n"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.signal, 0);
    EXPECT_NE(result.err.find(text(199)), std::string::npos) << result.err;
    EXPECT_EQ(result.out, "FE\nFE\n");
  }
}

TEST_F(KivtraceTest, GarbageNeverCrashes) {
  std::string garbage;
  std::uint32_t state = 12345;
  for (int i = 0; i < 4096; ++i) {
    state = state * 1103515245u + 12345u;
    garbage += static_cast<char>(state >> 24);
  }
  kivtest::writeFile(m_file, garbage);
  const ChildResult result = kivtrace({"-key", gs_pszKey, "-file", m_file, "-display"});
  EXPECT_EQ(result.signal, 0);
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(result.err.find(text(198)) != std::string::npos ||
              result.err.find(text(199)) != std::string::npos)
      << result.err;
}

// --- follow and progress -------------------------------------------------------

TEST_F(KivtraceTest, FollowShowsWhatARunningProgramAppends) {
  const std::string more = fileBytes(m_file);
  const std::string followed = m_dir / "followed.trc";
  kivtest::writeFile(followed, more);
  // A writer appends a second copy in two pieces, the first ending inside
  // an entry: the tool must wait for the rest instead of calling the file
  // corrupted.
  std::fflush(nullptr);
  const pid_t writer = fork();
  if (writer == 0) {
    const std::size_t split = entryOffset(more, 3) + 5;
    usleep(800 * 1000);
    {
      std::ofstream out(followed, std::ios::binary | std::ios::app);
      out << more.substr(0, split);
    }
    usleep(600 * 1000);
    {
      std::ofstream out(followed, std::ios::binary | std::ios::app);
      out << more.substr(split);
    }
    _exit(0);
  }
  ASSERT_GT(writer, 0);
  const ChildResult result =
      kivtrace({"-key", gs_pszKey, "-file", followed, "-follow", "-format", "%x\\n"}, 3500);
  int status = 0;
  waitpid(writer, &status, 0);
  EXPECT_TRUE(result.killed);  // it was still following
  EXPECT_EQ(result.err, "");
  const std::string once = "FE\nFE\ncpsz\ni32\nFX\nw8\nDA\nw32\nFX\n";
  EXPECT_EQ(result.out, once + once);
}

TEST_F(KivtraceTest, FollowStartsAgainWhenTheFileIsMadeAfresh) {
  const std::string bytes = fileBytes(m_file);
  std::fflush(nullptr);
  const pid_t writer = fork();
  if (writer == 0) {
    // Late enough for the tool to have shown the whole file first, even on
    // a busy machine.
    usleep(1200 * 1000);
    // Replaced in place by its first two entries.
    std::ofstream out(m_file, std::ios::binary | std::ios::trunc);
    out << bytes.substr(0, entryOffset(bytes, 2));
    out.close();
    _exit(0);
  }
  ASSERT_GT(writer, 0);
  const ChildResult result =
      kivtrace({"-key", gs_pszKey, "-file", m_file, "-follow", "-format", "%x\\n"}, 2500);
  int status = 0;
  waitpid(writer, &status, 0);
  EXPECT_TRUE(result.killed);
  EXPECT_EQ(result.out, "FE\nFE\ncpsz\ni32\nFX\nw8\nDA\nw32\nFX\nFE\nFE\n");
}

// Makes the sample file larger than `megabytes` by repeating it.
void growSample(const std::string& path, int megabytes) {
  const std::string bytes = fileBytes(path);
  std::ofstream out(path, std::ios::binary | std::ios::app);
  std::string block;
  while (block.size() < (1u << 20)) block += bytes;
  for (int i = 0; i < megabytes; ++i) out << block;
}

// Runs kivtrace with standard error on a terminal (a pseudo-terminal) and
// standard output on /dev/null; returns what reached the terminal.
std::string onTerminal(const std::vector<std::string>& args, int& exitCode) {
  int master = -1;
  std::fflush(nullptr);
  const pid_t child = forkpty(&master, nullptr, nullptr, nullptr);
  if (child == 0) {
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDOUT_FILENO);
    std::vector<std::string> all = {KIVTRACE_PROGRAM};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : all) argv.push_back(a.data());
    argv.push_back(nullptr);
    setenv("LC_ALL", "C", 1);
    setenv("KIVTRACETEST_TRACE_DETAIL", "HIGH", 1);
    execv(KIVTRACE_PROGRAM, argv.data());
    _exit(127);
  }
  std::string shown;
  if (child > 0) {
    char buffer[4096];
    for (;;) {
      const ssize_t got = read(master, buffer, sizeof buffer);
      if (got <= 0) break;  // EIO once the child has closed the terminal
      shown.append(buffer, static_cast<std::size_t>(got));
    }
    close(master);
    int status = 0;
    waitpid(child, &status, 0);
    exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  return shown;
}

TEST_F(KivtraceTest, ProgressLineOnATerminalForLargeFiles) {
  int exitCode = -1;
  // Small: no progress line, even on a terminal.
  std::string shown = onTerminal({"-key", gs_pszKey, "-file", m_file, "-display"}, exitCode);
  EXPECT_EQ(exitCode, 0);
  EXPECT_EQ(shown, "");
  growSample(m_file, 65);
  shown = onTerminal({"-key", gs_pszKey, "-file", m_file, "-display", "-format", ""}, exitCode);
  EXPECT_EQ(exitCode, 0);
  // Percent and bytes on one line, rewritten in place, wiped at the end.
  EXPECT_NE(shown.find("\r  50% "), std::string::npos) << shown.substr(0, 200);
  EXPECT_NE(shown.find("\r 100% "), std::string::npos) << shown.substr(0, 200);
  EXPECT_NE(shown.find(" " + text(189)), std::string::npos);
  EXPECT_EQ(shown.substr(shown.size() - 2), " \r");
  // Under -quiet nothing.
  shown = onTerminal({"-key", gs_pszKey, "-file", m_file, "-display", "-quiet"}, exitCode);
  EXPECT_EQ(exitCode, 0);
  EXPECT_EQ(shown, "");
}

TEST_F(KivtraceTest, NoProgressLineWhenStandardErrorIsNotATerminal) {
  // Over 64 MB: the sample repeated.
  growSample(m_file, 65);
  struct stat status {};
  ASSERT_EQ(stat(m_file.c_str(), &status), 0);
  ASSERT_GT(status.st_size, 64 << 20);
  const ChildResult result =
      kivtrace({"-key", gs_pszKey, "-file", m_file, "-display", "-format", ""}, 120000);
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out, "");
}

}  // namespace
