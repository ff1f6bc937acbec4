// The trace environment: every variable with its values, default and clamp,
// the settings report, autoclear and the autosave handler. Each case runs in
// a forked child with a fresh environment, so that no variable and no trace
// file of one case leaks into the next.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "kiv_allocfail_support.hpp"
#include "kiv_child_support.hpp"
#include "kiv_test_support.hpp"
#include "kiv_traceentry.hpp"
#include "kiv_tracesettings.hpp"

namespace {

using Env = std::map<std::string, std::string>;

/// A child run with the trace variables of the test keys removed and TMP
/// pointing into `tmp`, plus `env`.
kivtest::ChildRun runWith(const kivtest::TempDir& tmp, const Env& env) {
  kivtest::ChildRun run;
  run.dropEnv = {"MYAPP_", "MyApp_", "myapp_", "TMP=", "TMPDIR="};
  run.env = env;
  run.env["TMP"] = tmp.path();
  run.timeoutMs = 10000;
  return run;
}

/// Prints what an environment settled on, one "name=value" line each.
void describe(const KivClTraceEnvironment& e) {
  const KivClTraceFilter& f = e.getSettings().getFilter();
  std::string ids;
  for (unsigned id = 1; id <= 255; ++id) {
    if (!f.isComponentIdEnabled(static_cast<unsigned short>(id))) continue;
    if (!ids.empty()) ids += ",";
    ids += std::to_string(id);
  }
  std::printf("active=%d\nflags=%u\ndetail=%u\nbufsize=%u\ndatasize=%lu\nformat=%s\nfile=%s\n",
              e.isActive() ? 1 : 0, e.getSettings().getFlags(),
              static_cast<unsigned>(f.getDetail()), e.getAllocatedBufferSize(), e.getBufferSize(),
              e.getFormatString(), e.getFileName().getAsCString());
  std::printf("pid=%u\nname=%s\nshared=%d\nids=%s\n", e.getProcessId(), e.getName(),
              e.isSharedMemory() ? 1 : 0, ids.c_str());
}

/// Makes the environment for `key` in a child and returns what it settled on.
std::map<std::string, std::string> settle(const Env& env, const char* key = "myapp",
                                          kivtest::ChildResult* result = nullptr) {
  kivtest::TempDir tmp;
  const std::string keyText = key;
  kivtest::ChildResult r = kivtest::runInFork(
      [&keyText] {
        KivClTraceEnvironment environment(keyText.c_str(), nullptr, true);
        describe(environment);
      },
      runWith(tmp, env));
  EXPECT_EQ(r.exitCode, 0) << r.err;
  std::map<std::string, std::string> values;
  std::istringstream lines(r.out);
  for (std::string line; std::getline(lines, line);) {
    const auto eq = line.find('=');
    if (eq != std::string::npos) values[line.substr(0, eq)] = line.substr(eq + 1);
  }
  values["tmp"] = tmp.path();
  if (result != nullptr) *result = r;
  return values;
}

std::string settled(const Env& env, const char* what) { return settle(env)[what]; }

TEST(TraceEnvironment, DefaultsWithNoVariablesSet) {
  kivtest::ChildResult r;
  auto v = settle({}, "myapp", &r);
  EXPECT_EQ(v["active"], "0");
  EXPECT_EQ(v["detail"], "1");
  EXPECT_EQ(v["flags"], "3");
  EXPECT_EQ(v["bufsize"], "65535");
  EXPECT_EQ(v["datasize"], "65487");
  EXPECT_EQ(v["format"], "%f%n   P: %p, T: %s, D: %l, C: %c%n   Data: %m (%x: %d%n)");
  EXPECT_EQ(v["file"], v["tmp"] + "/myapptrace.trc");
  EXPECT_EQ(v["pid"], std::to_string(r.pid));
  EXPECT_EQ(v["name"], "---:myapp:KIVTRACEINSTANCE0");
  EXPECT_EQ(v["shared"], "0");
  EXPECT_EQ(v["ids"].substr(0, 6), "1,2,3,");
  EXPECT_EQ(v["ids"].size(), std::string("1,2,3,4,5,6,7,8,9").size() + 90 * 3 + 156 * 4);
}

TEST(TraceEnvironment, LowerCaseKeyReadsUpperCaseNamesAndKeepsItsCaseInTheFile) {
  auto v = settle({{"MYAPP_TRACE_ACTIVE", "yes"}, {"MyApp_TRACE_DETAIL", "HIGH"}}, "MyApp");
  EXPECT_EQ(v["active"], "1");
  EXPECT_EQ(v["detail"], "1");  // the mixed-case name is not read
  EXPECT_EQ(v["file"], v["tmp"] + "/MyApptrace.trc");
  EXPECT_EQ(v["name"], "---:MyApp:KIVTRACEINSTANCE0");
  EXPECT_EQ(settled({{"myapp_TRACE_ACTIVE", "yes"}}, "active"), "0");
}

TEST(TraceEnvironment, ActiveTakesTheEnabledValuesOnly) {
  for (const char* on : {"ON", "yes", "True", "1"}) {
    EXPECT_EQ(settled({{"MYAPP_TRACE_ACTIVE", on}}, "active"), "1") << on;
  }
  for (const char* off : {"2", "no", "", "enabled"}) {
    EXPECT_EQ(settled({{"MYAPP_TRACE_ACTIVE", off}}, "active"), "0") << off;
  }
}

TEST(TraceEnvironment, DetailTextsGiveTheirLevel) {
  EXPECT_EQ(settled({{"MYAPP_TRACE_DETAIL", "medium"}}, "detail"), "2");
  EXPECT_EQ(settled({{"MYAPP_TRACE_DETAIL", "hi"}}, "detail"), "0");
  EXPECT_EQ(settled({{"MYAPP_TRACE_DETAIL", "lowest"}}, "detail"), "1");
  EXPECT_EQ(settled({{"MYAPP_TRACE_DETAIL", "High"}}, "detail"), "3");
  EXPECT_EQ(settled({{"MYAPP_TRACE_DETAIL", ""}}, "detail"), "0");
}

TEST(TraceEnvironment, FlagVariablesOnlyEverSetBits) {
  EXPECT_EQ(settled({{"MYAPP_TRACE_COMPRESS", "no"}}, "flags"), "3");
  EXPECT_EQ(settled({{"MYAPP_TRACE_AUTOSAVE", "off"}}, "flags"), "3");
  EXPECT_EQ(settled({{"MYAPP_TRACE_COMPRESS", "yes"}}, "flags"), "3");
  EXPECT_EQ(settled({{"MYAPP_TRACE_AUTOFLUSH", "on"}}, "flags"), "11");
  EXPECT_EQ(settled({{"MYAPP_TRACE_AUTOFLUSH", "no"}}, "flags"), "3");
  EXPECT_EQ(settled({{"MYAPP_TRACE_AUTOCLEAR", "TRUE"}}, "flags"), "7");
  EXPECT_EQ(settled({{"MYAPP_TRACE_AUTOCLEAR", "x"}}, "flags"), "3");
  EXPECT_EQ(settled({{"MYAPP_TRACE_AUTOFLUSH", "1"}, {"MYAPP_TRACE_AUTOCLEAR", "1"}}, "flags"),
            "15");
}

TEST(TraceEnvironment, ComponentSetNamesTheOnlyComponentsTraced) {
  EXPECT_EQ(settled({{"MYAPP_TRACE_COMPSET", "1.5,-3"}}, "ids"), "1,2,4,5");
  EXPECT_EQ(settled({{"MYAPP_TRACE_COMPSET", "300"}}, "ids"), "");
  EXPECT_EQ(settled({{"MYAPP_TRACE_COMPSET", "250.300"}}, "ids"), "250,251,252,253,254,255");
  // An empty value leaves every id enabled.
  EXPECT_EQ(settled({{"MYAPP_TRACE_COMPSET", ""}}, "ids"), settled({}, "ids"));
}

TEST(TraceEnvironment, BufferSizeIsKilobytesClampedTo4096And16M) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"1", "4096"},         {"4", "4096"},         {"5", "5120"},
      {"abc", "4096"},       {"0", "4096"},         {"-7", "4096"},
      {"", "4096"},          {"20000", "16777216"}, {"16384", "16777216"},
      {"16383", "16776192"}, {"64k", "65536"},      {"99999999999999999999", "16777216"}};
  for (const auto& [value, size] : cases) {
    auto v = settle({{"MYAPP_TRACE_BUFSIZE", value}});
    EXPECT_EQ(v["bufsize"], size) << value;
    EXPECT_EQ(v["datasize"], std::to_string(std::stoul(size) - 48)) << value;
  }
}

TEST(TraceEnvironment, FileVariableIsTakenAsItStands) {
  EXPECT_EQ(settled({{"MYAPP_TRACE_FILE", "rel/dir/my.trc"}}, "file"), "rel/dir/my.trc");
}

TEST(TraceEnvironment, FormatVariableIsCutAt512Characters) {
  EXPECT_EQ(settled({{"MYAPP_TRACE_FORMAT", "%m%n"}}, "format"), "%m%n");
  std::string longFormat;
  for (int i = 0; i < 600; ++i) longFormat += static_cast<char>('a' + i % 26);
  EXPECT_EQ(settled({{"MYAPP_TRACE_FORMAT", longFormat}}, "format"), longFormat.substr(0, 512));
}

TEST(TraceEnvironment, VerboseWritesTheThirteenLineReport) {
  kivtest::TempDir tmp;
  kivtest::ChildResult r = kivtest::runInFork(
      [] {
        KivClTraceEnvironment environment("myapp", nullptr, true);
        std::printf("flags=%u\n", environment.getSettings().getFlags());
      },
      runWith(tmp, {{"MYAPP_TRACE_VERBOSE", "on"},
                    {"MYAPP_TRACE_ACTIVE", "1"},
                    {"MYAPP_TRACE_DETAIL", "MED"},
                    {"MYAPP_TRACE_AUTOFLUSH", "yes"},
                    {"MYAPP_TRACE_BUFSIZE", "8"},
                    {"MYAPP_TRACE_FORMAT", "%m"}}));
  ASSERT_EQ(r.exitCode, 0) << r.err;
  const std::string expected =
      "[KIV: TRACE: key: myapp]\n"
      "[KIV: TRACE: active: 1]\n"
      "[KIV: TRACE: resource key: ---:myapp:KIVTRACEINSTANCE0]\n"
      "[KIV: TRACE: compression: 1]\n"
      "[KIV: TRACE: autosave: 1]\n"
      "[KIV: TRACE: autoflush: 1]\n"
      "[KIV: TRACE: autoclear: 0]\n"
      "[KIV: TRACE: detail: 2]\n"
      "[KIV: TRACE: buffersize: 8192]\n"
      "[KIV: TRACE: process id: " +
      std::to_string(r.pid) +
      "]\n"
      "[KIV: TRACE: format: %m]\n"
      "[KIV: TRACE: file: " +
      tmp.path() +
      "/myapptrace.trc]\n"
      "[KIV: TRACE: sharedMemory: 0]\n"
      "flags=27\n";
  EXPECT_EQ(r.out, expected);
}

TEST(TraceEnvironment, NoReportWithoutVerbose) {
  kivtest::TempDir tmp;
  kivtest::ChildResult r =
      kivtest::runInFork([] { KivClTraceEnvironment environment("myapp", nullptr, true); },
                         runWith(tmp, {{"MYAPP_TRACE_VERBOSE", "no"}}));
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "");
}

TEST(TraceEnvironment, InstanceNamesTheResourceKey) {
  kivtest::TempDir tmp;
  kivtest::ChildResult r = kivtest::runInFork(
      [] {
        KivClTraceEnvironment environment("my app", "inst/2", true);
        std::printf("%s|%s", environment.getName(), environment.getFileName().getName());
      },
      runWith(tmp, {}));
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "---:myGapp:inst:2|my apptrace.trc");
}

TEST(TraceEnvironment, NullKeyIsTheEmptyKey) {
  kivtest::TempDir tmp;
  kivtest::ChildResult r = kivtest::runInFork(
      [] {
        KivClTraceEnvironment environment(nullptr, nullptr, true);
        std::printf("%d|%s", environment.isActive(), environment.getFileName().getName());
      },
      runWith(tmp, {{"_TRACE_ACTIVE", "1"}}));
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "1|trace.trc");
}

/// Runs `body` with a fresh environment for "myapp" (keep file as given)
/// in a child and returns the child's result.
kivtest::ChildResult withEnvironment(const kivtest::TempDir& tmp, const Env& env, bool keepFile,
                                     const std::function<void(KivClTraceEnvironment&)>& body) {
  kivtest::ChildResult r = kivtest::runInFork(
      [&] {
        KivClTraceEnvironment environment("myapp", nullptr, keepFile);
        body(environment);
      },
      runWith(tmp, env));
  EXPECT_EQ(r.exitCode, 0) << r.err;
  return r;
}

TEST(TraceEnvironment, AutoclearRemovesAnExistingTraceFileUnlessKept) {
  kivtest::TempDir tmp;
  const std::string file = tmp / "myapptrace.trc";
  kivtest::writeFile(file, "old");
  auto r = withEnvironment(
      tmp, {{"MYAPP_TRACE_AUTOCLEAR", "yes"}}, true,
      [&](KivClTraceEnvironment&) { std::printf("%d", access(file.c_str(), F_OK) == 0 ? 1 : 0); });
  EXPECT_EQ(r.out, "1");
  EXPECT_EQ(kivtest::readFile(file), "old");

  r = withEnvironment(tmp, {{"MYAPP_TRACE_AUTOCLEAR", "no"}}, false,
                      [&](KivClTraceEnvironment&) {});
  EXPECT_EQ(kivtest::readFile(file), "old");

  r = withEnvironment(tmp, {{"MYAPP_TRACE_AUTOCLEAR", "yes"}}, false, [&](KivClTraceEnvironment&) {
    std::printf("%d", access(file.c_str(), F_OK) == 0 ? 1 : 0);
  });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "0");
}

TEST(TraceEnvironment, AutoclearLeavesWhatIsNotARegularFile) {
  kivtest::TempDir tmp;
  const std::string dir = tmp / "dir";
  ASSERT_EQ(mkdir(dir.c_str(), 0700), 0);
  const std::string target = tmp / "target";
  kivtest::writeFile(target, "keep");
  ASSERT_EQ(chmod(target.c_str(), 0400), 0);
  const std::string link = tmp / "link";
  ASSERT_EQ(symlink(target.c_str(), link.c_str()), 0);
  for (const std::string& name : {dir, link}) {
    auto r = withEnvironment(tmp, {{"MYAPP_TRACE_AUTOCLEAR", "yes"}, {"MYAPP_TRACE_FILE", name}},
                             false, [](KivClTraceEnvironment&) {});
    EXPECT_EQ(r.exitCode, 0) << r.err;
  }
  struct stat status {};
  EXPECT_EQ(stat(dir.c_str(), &status), 0);
  EXPECT_TRUE(S_ISDIR(status.st_mode));
  EXPECT_EQ(lstat(link.c_str(), &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  EXPECT_EQ(kivtest::statusOf(target).st_mode & 07777, 0400u);
}

/// The callback information for one or two parts of `env`'s handler.
_KivStTraceBufferCallBackInfo infoFor(KivClTraceEnvironment& env, const char* first,
                                      const char* second) {
  return {&env, first, std::strlen(first), second, second != nullptr ? std::strlen(second) : 0};
}

TEST(TraceEnvironment, HandlerAppendsBothPartsToTheTraceFile) {
  kivtest::TempDir tmp;
  const std::string file = tmp / "myapptrace.trc";
  kivtest::writeFile(file, "old|");
  auto r = withEnvironment(tmp, {}, false, [](KivClTraceEnvironment& e) {
    kivTraceBufferOverflowHandler(infoFor(e, "first|", "second|"));
    kivTraceBufferOverflowHandler(infoFor(e, "third|", nullptr));
    kivTraceBufferOverflowHandler(infoFor(e, "", "fourth"));
  });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(kivtest::readFile(file), "old|first|second|third|fourth");
}

TEST(TraceEnvironment, HandlerCreatesTheFileWithMode0666LessTheUmask) {
  kivtest::TempDir tmp;
  const std::string file = tmp / "myapptrace.trc";
  auto r = withEnvironment(tmp, {}, false, [](KivClTraceEnvironment& e) {
    umask(027);
    kivTraceBufferOverflowHandler(infoFor(e, "x", nullptr));
  });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(kivtest::statusOf(file).st_mode & 07777, 0640u);
  EXPECT_EQ(kivtest::readFile(file), "x");
}

TEST(TraceEnvironment, HandlerIgnoresNullUserData) {
  kivtest::TempDir tmp;
  auto r = withEnvironment(tmp, {{"MYAPP_TRACE_VERBOSE", "1"}}, false, [](KivClTraceEnvironment&) {
    std::printf("--\n");
    kivTraceBufferOverflowHandler({nullptr, "abc", 3, nullptr, 0});
  });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out.substr(r.out.find("--\n")), "--\n");
  EXPECT_TRUE(kivtest::directoryEntries(tmp.path()).empty());
}

TEST(TraceEnvironment, HandlerReportsEachHandOverInVerboseMode) {
  kivtest::TempDir tmp;
  const std::string file = tmp / "myapptrace.trc";
  auto r =
      withEnvironment(tmp, {{"MYAPP_TRACE_VERBOSE", "1"}}, false, [](KivClTraceEnvironment& e) {
        std::printf("--\n");
        kivTraceBufferOverflowHandler(infoFor(e, "abc", "de"));
        kivTraceBufferOverflowHandler(infoFor(e, "fgh", nullptr));
      });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out.substr(r.out.find("--\n")),
            "--\n"
            "[KIV: TRACE: writing file: " +
                file +
                "]\n"
                "[KIV: TRACE: bytes written: 5 file status: 0]\n"
                "[KIV: TRACE: writing file: " +
                file +
                "]\n"
                "[KIV: TRACE: file exists with size: 5]\n"
                "[KIV: TRACE: bytes written: 3 file status: 0]\n");
}

TEST(TraceEnvironment, HandlerReportsAFileItCannotOpenAndGoesOn) {
  kivtest::TempDir tmp;
  const std::string file = tmp / "missing/dir/t.trc";
  auto r = withEnvironment(tmp, {{"MYAPP_TRACE_VERBOSE", "1"}, {"MYAPP_TRACE_FILE", file}}, false,
                           [](KivClTraceEnvironment& e) {
                             std::printf("--\n");
                             kivTraceBufferOverflowHandler(infoFor(e, "abc", nullptr));
                             std::printf("after\n");
                           });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out.substr(r.out.find("--\n")),
            "--\n[KIV: TRACE: could not open: " + file + " (errno: 2)]\nafter\n");
  // Without verbose the failure is silent.
  r = withEnvironment(tmp, {{"MYAPP_TRACE_FILE", file}}, false, [](KivClTraceEnvironment& e) {
    kivTraceBufferOverflowHandler(infoFor(e, "abc", nullptr));
  });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "");
}

TEST(TraceEnvironment, HandlerDoesNotBlockOnAPipeWithoutReader) {
  kivtest::TempDir tmp;
  const std::string fifo = tmp / "fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  kivtest::ChildRun run = runWith(tmp, {{"MYAPP_TRACE_FILE", fifo}, {"MYAPP_TRACE_VERBOSE", "1"}});
  run.timeoutMs = 3000;
  auto r = kivtest::runInFork(
      [] {
        KivClTraceEnvironment environment("myapp", nullptr, false);
        std::printf("--\n");
        kivTraceBufferOverflowHandler(infoFor(environment, "abc", nullptr));
      },
      run);
  EXPECT_FALSE(r.killed);
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_NE(r.out.find("could not open: " + fifo + " (errno: " + std::to_string(ENXIO) + ")"),
            std::string::npos)
      << r.out;
}

TEST(TraceEnvironment, HandlerLeavesNoDescriptorOpen) {
  kivtest::TempDir tmp;
  auto r = withEnvironment(tmp, {}, false, [](KivClTraceEnvironment& e) {
    const int before = dup(0);
    close(before);
    kivTraceBufferOverflowHandler(infoFor(e, "abc", nullptr));
    const int after = dup(0);
    close(after);
    std::printf("%d", before == after ? 1 : 0);
  });
  EXPECT_EQ(r.out, "1");
}

TEST(TraceEnvironment, FullTurnOfTheRingIsAppendedToTheFile) {
  kivtest::TempDir tmp;
  const std::string file = tmp / "myapptrace.trc";
  kivtest::writeFile(file, "old");
  auto r = withEnvironment(tmp, {{"MYAPP_TRACE_BUFSIZE", "4"}}, true, [](KivClTraceEnvironment& e) {
    std::string turn(4048, 'a');
    for (std::size_t i = 0; i < turn.size(); ++i) {
      turn[i] = static_cast<char>('a' + i % 26);
    }
    KivClTraceBufferAccessSemaphore guard(e);
    e.getBufferManager().write(turn.data(), turn.size());
    e.getBufferManager().write("tail", 4);  // not yet handed over
  });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  const std::string content = kivtest::readFile(file);
  ASSERT_EQ(content.size(), 3u + 4048u);
  EXPECT_EQ(content.substr(0, 5), "oldab");
  EXPECT_EQ(content.substr(content.size() - 2), std::string(1, static_cast<char>('a' + 4046 % 26)) +
                                                    static_cast<char>('a' + 4047 % 26));
}

/// Adds one entry without texts and with the five data bytes "hello":
/// 20 record bytes and 5 data bytes.
void addHello(KivClTraceEnvironment& e) {
  KivClTraceEntry entry(e, KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_DATA, "", "", "hello", 5);
  e.add(entry);
}

/// The size of `path`, or -1 when it does not exist.
long long sizeOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : -1;
}

TEST(TraceEnvironment, EntriesWaitInTheBufferUntilFlush) {
  kivtest::TempDir tmp;
  const std::string file = tmp / "myapptrace.trc";
  auto r = withEnvironment(tmp, {}, false, [&file](KivClTraceEnvironment& e) {
    addHello(e);
    std::printf("%lld ", sizeOf(file));
    e.flush();
    std::printf("%lld ", sizeOf(file));
    e.flush();  // nothing new: nothing handed over
    std::printf("%lld", sizeOf(file));
  });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "-1 25 25");
  const std::string content = kivtest::readFile(file);
  ASSERT_EQ(content.size(), 25u);
  EXPECT_EQ(content.substr(20), "hello");
}

TEST(TraceEnvironment, AutoflushSavesEachEntryAtOnce) {
  kivtest::TempDir tmp;
  const std::string file = tmp / "myapptrace.trc";
  auto r = withEnvironment(tmp, {{"MYAPP_TRACE_AUTOFLUSH", "yes"}}, false,
                           [&file](KivClTraceEnvironment& e) {
                             addHello(e);
                             std::printf("%lld ", sizeOf(file));
                             addHello(e);
                             std::printf("%lld", sizeOf(file));
                           });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "25 50");
}

TEST(TraceEnvironment, DestructionSavesPendingEntries) {
  kivtest::TempDir tmp;
  const std::string file = tmp / "myapptrace.trc";
  auto r = withEnvironment(tmp, {}, false, [](KivClTraceEnvironment& e) {
    addHello(e);
    addHello(e);
  });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(sizeOf(file), 50);
}

TEST(TraceEnvironment, AutoclearWithKeepFileAppendsToTheOldFile) {
  kivtest::TempDir tmp;
  const std::string file = tmp / "myapptrace.trc";
  kivtest::writeFile(file, "old");
  auto r = withEnvironment(tmp, {{"MYAPP_TRACE_AUTOCLEAR", "yes"}}, true,
                           [](KivClTraceEnvironment& e) { addHello(e); });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  const std::string content = kivtest::readFile(file);
  ASSERT_EQ(content.size(), 28u);
  EXPECT_EQ(content.substr(0, 3), "old");
  EXPECT_EQ(content.substr(23), "hello");

  // Made again without keep file, the trace starts a new file.
  r = withEnvironment(tmp, {{"MYAPP_TRACE_AUTOCLEAR", "yes"}}, false,
                      [](KivClTraceEnvironment& e) { addHello(e); });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(sizeOf(file), 25);
}

TEST(TraceEnvironment, EntriesSurviveManyTurnsOfASmallRing) {
  // 4096-byte buffer, entries of 20 + 100 bytes: the ring wraps inside
  // entries and every turn is handed over in one or two parts.
  kivtest::TempDir tmp;
  const std::string file = tmp / "myapptrace.trc";
  auto r =
      withEnvironment(tmp, {{"MYAPP_TRACE_BUFSIZE", "4"}}, false, [](KivClTraceEnvironment& e) {
        char data[100];
        for (int i = 0; i < 500; ++i) {
          std::memset(data, 'A' + i % 26, sizeof data);
          KivClTraceEntry entry(e, KIV_TRACE_DETAIL_LOW, 0, KIV_TRACE_TYPE_DATA, "", "", data,
                                sizeof data);
          e.add(entry);
        }
      });
  EXPECT_EQ(r.exitCode, 0) << r.err;
  const std::string content = kivtest::readFile(file);
  ASSERT_EQ(content.size(), 500u * 120u);
  for (int i = 0; i < 500; ++i) {
    ASSERT_EQ(content.substr(i * 120 + 20, 100), std::string(100, static_cast<char>('A' + i % 26)))
        << "entry " << i;
  }
}

TEST(TraceEnvironment, HandlerIsInstalledWithTheEnvironmentAsUserData) {
  kivtest::TempDir tmp;
  auto r = withEnvironment(tmp, {}, true, [](KivClTraceEnvironment& e) {
    std::printf("%d%d", e.getBufferManager().getCallBack() == kivTraceBufferOverflowHandler,
                e.getBufferManager().getUserData() == &e);
  });
  EXPECT_EQ(r.out, "11");
}

TEST(TraceEnvironment, BufferHasAFreshHeaderOverTheSettledSize) {
  kivtest::TempDir tmp;
  auto r = withEnvironment(tmp, {{"MYAPP_TRACE_BUFSIZE", "5"}}, true, [](KivClTraceEnvironment& e) {
    const _KivStTraceBufferHeader* h = e.getBufferManager().getHeader();
    std::printf("%.4s %llu %ld %d %d", h->achMagic, static_cast<unsigned long long>(h->ulDataSize),
                static_cast<long>(h->pchLast - h->pchFirst), h->pchSave == h->pchFirst,
                h->pchWrite == h->pchFirst);
  });
  EXPECT_EQ(r.out, "KIVT 5072 5071 1 1");
}

TEST(TraceEnvironment, FormatStringSetterCutsAndTerminates) {
  kivtest::TempDir tmp;
  auto r = withEnvironment(tmp, {}, true, [](KivClTraceEnvironment& e) {
    const std::string longText(700, 'x');
    e.setFormatString(longText.c_str());
    std::printf("%zu ", std::strlen(e.getFormatString()));
    e.setFormatString("%p");
    std::printf("%s ", e.getFormatString());
    e.setFormatString(nullptr);
    std::printf("[%s]", e.getFormatString());
  });
  EXPECT_EQ(r.out, "512 %p []");
}

TEST(TraceEnvironment, SettingsAreReadOnceAndTheBufferNeverResized) {
  kivtest::TempDir tmp;
  auto r = withEnvironment(tmp, {}, true, [](KivClTraceEnvironment& e) {
    setenv("MYAPP_TRACE_DETAIL", "HIGH", 1);
    setenv("MYAPP_TRACE_BUFSIZE", "100", 1);
    std::printf("%u ", static_cast<unsigned>(e.getSettings().getFilter().getDetail()));
    e.determineSettingsFromEnvVars("myapp");
    std::printf("%u %u %lu", static_cast<unsigned>(e.getSettings().getFilter().getDetail()),
                e.getAllocatedBufferSize(), e.getBufferSize());
  });
  EXPECT_EQ(r.out, "1 3 65535 65487");
}

TEST(TraceEnvironment, ActivateSwitchesTheTraceOn) {
  kivtest::TempDir tmp;
  auto r = withEnvironment(tmp, {}, true, [](KivClTraceEnvironment& e) {
    std::printf("%d", e.isActive());
    e.activate();
    std::printf("%d", e.isActive());
  });
  EXPECT_EQ(r.out, "01");
}

TEST(TraceEnvironment, CompressionRateIsStoredOverUncompressed) {
  kivtest::TempDir tmp;
  auto r = withEnvironment(tmp, {}, true, [](KivClTraceEnvironment& e) {
    const KivClTraceEnvironment& c = e;
    std::printf("%g ", c.getCompressionRate());
    c.recordCompressionRate(0, 5);  // nothing uncompressed yet: no rate
    std::printf("%g ", c.getCompressionRate());
    c.recordCompressionRate(10, 0);
    c.recordCompressionRate(30, 10);
    std::printf("%g %llu %llu", c.getCompressionRate(),
                static_cast<unsigned long long>(c.getUncompressedTotal()),
                static_cast<unsigned long long>(c.getStoredTotal()));
  });
  EXPECT_EQ(r.out, "0 0 0.375 40 15");
}

TEST(TraceEnvironment, RefusedAllocationsThrowTheFatalExceptionAndLeakNothing) {
  // The settings, the buffer and the buffer manager come from the memory
  // manager: refusing any one of them ends in the fatal exception with
  // whatever was allocated before given back.
  const long runs = kivtest::forEachAllocationFailure([](kivtest::AllocationFailureRun& run) {
    const bool completed = run.inject([] {
      KivClTraceEnvironment environment("kivtraceenvallocfail", nullptr, true);
      EXPECT_EQ(environment.getBufferSize(), 65535u - 48u);
    });
    if (completed) {
      KivClTraceEnvironment environment("kivtraceenvallocfail", nullptr, true);
      EXPECT_EQ(environment.getAllocatedBufferSize(), 65535u);
    }
  });
  EXPECT_EQ(runs, 4);
}

}  // namespace
