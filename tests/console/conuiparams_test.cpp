// Tests of the console UI parameters: the process name, the initial values,
// the quoting variable, the usage and help copies and the stream switching
// of quiet mode.

#include "kiv_conuiparams.hpp"

#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "kiv_alloc_support.hpp"
#include "kiv_test_support.hpp"

namespace {

// The number of this process's open descriptors that lead to /dev/null.
int openDevNullDescriptors() {
  int count = 0;
  DIR* dir = opendir("/proc/self/fd");
  if (dir == nullptr) return -1;
  const int own = dirfd(dir);
  while (const dirent* entry = readdir(dir)) {
    if (entry->d_name[0] == '.' || std::atoi(entry->d_name) == own) continue;
    const std::string link = std::string("/proc/self/fd/") + entry->d_name;
    char target[256] = {};
    if (readlink(link.c_str(), target, sizeof target - 1) > 0 &&
        std::strcmp(target, "/dev/null") == 0) {
      ++count;
    }
  }
  closedir(dir);
  return count;
}

// A stream buffer that counts the flushes it receives.
class CountingBuffer : public std::stringbuf {
 public:
  int syncs = 0;

 protected:
  int sync() override {
    ++syncs;
    return std::stringbuf::sync();
  }
};

// --- the process name ------------------------------------------------------------------

TEST(ConsoleUIParams, ProcessNameIsTheLastComponentUpToItsFirstDot) {
  KivClConsoleUIParams params("/usr/local/bin/mytool.exe");
  EXPECT_STREQ(params.getProcessName(), "mytool");
  EXPECT_EQ(params.getProcessNameLength(), 6u);
}

TEST(ConsoleUIParams, ProcessNameIsCutTo25Characters) {
  KivClConsoleUIParams params("/opt/abcdefghijklmnopqrstuvwxyz0123456789");
  EXPECT_STREQ(params.getProcessName(), "abcdefghijklmnopqrstuvwxy");
  EXPECT_EQ(params.getProcessNameLength(), 25u);
  // The cut comes first: a "." beyond character 25 is never seen.
  KivClConsoleUIParams dotted("abcdefghijklmnopqrstuvwxyz.exe");
  EXPECT_STREQ(dotted.getProcessName(), "abcdefghijklmnopqrstuvwxy");
  EXPECT_EQ(dotted.getProcessNameLength(), 25u);
  KivClConsoleUIParams exact("abcdefghijklmnopqrstuvwxy");
  EXPECT_EQ(exact.getProcessNameLength(), 25u);
}

TEST(ConsoleUIParams, ProcessNameEdgeCases) {
  struct Case {
    const char* argv0;
    const char* name;
  };
  for (const Case& c :
       {Case{"tool", "tool"}, Case{"./tool", "tool"}, Case{"a.b.c", "a"}, Case{"/a.b/tool", "tool"},
        Case{"/a.b/tool.x.y", "tool"}, Case{".hidden", ""}, Case{"dir/", ""}, Case{"", ""},
        Case{"/", ""}, Case{"my tool.sh", "my tool"}}) {
    KivClConsoleUIParams params(c.argv0);
    EXPECT_STREQ(params.getProcessName(), c.name) << c.argv0;
    EXPECT_EQ(params.getProcessNameLength(), std::strlen(c.name)) << c.argv0;
  }
  KivClConsoleUIParams null(nullptr);
  EXPECT_STREQ(null.getProcessName(), "");
  EXPECT_EQ(null.getProcessNameLength(), 0u);
}

// --- initial values ----------------------------------------------------------------------

TEST(ConsoleUIParams, StartsWithTheDefaultSettings) {
  kivtest::EnvGuard quote("KIV_CONSOLEUI_QUOTE_STRINGS");
  quote.unset();
  KivClConsoleUIParams params("prog");
  EXPECT_FALSE(params.hasUsage());
  ASSERT_NE(params.getUsage(), nullptr);
  EXPECT_STREQ(params.getUsage(), "");
  EXPECT_EQ(params.getHelp(), nullptr);
  EXPECT_STREQ(params.getInputBuffer(), "");
  EXPECT_EQ(KivClConsoleUIParams::getInputBufferSize(), 81u);
  EXPECT_EQ(params.getProgressCounter(), 0u);
  EXPECT_FALSE(params.isQuiet());
  EXPECT_FALSE(params.isHideTaggedLines());
  EXPECT_FALSE(params.isDisableTaggedLines());
  EXPECT_FALSE(params.isQuoteStrings());
  EXPECT_EQ(params.getFormatWidth(), 36u);
  EXPECT_EQ(params.getFormatStyle(), KivEnFormatStyle::LEFT);
  EXPECT_EQ(params.getFormatFillChar(), '.');
  EXPECT_EQ(&params.getOutputStream(), &std::cout);
  EXPECT_EQ(&params.getErrorStream(), &std::cerr);
}

TEST(ConsoleUIParams, FormatStyleHasTheTableValues) {
  EXPECT_EQ(static_cast<std::int32_t>(KivEnFormatStyle::LEFT), 0);
  EXPECT_EQ(static_cast<std::int32_t>(KivEnFormatStyle::RIGHT), 1);
  EXPECT_EQ(static_cast<std::int32_t>(KivEnFormatStyle::CENTRED), 2);
  EXPECT_EQ(sizeof(KivEnFormatStyle), 4u);
}

TEST(ConsoleUIParams, SettersChangeTheSettings) {
  KivClConsoleUIParams params("prog");
  params.setFormatWidth(20);
  params.setFormatStyle(KivEnFormatStyle::CENTRED);
  params.setFormatFillChar('_');
  params.setHideTaggedLines(true);
  params.setDisableTaggedLines(true);
  params.setQuoteStrings(true);
  params.setProgressCounter(3);
  std::strcpy(params.getInputBuffer(), "answer");
  EXPECT_EQ(params.getFormatWidth(), 20u);
  EXPECT_EQ(params.getFormatStyle(), KivEnFormatStyle::CENTRED);
  EXPECT_EQ(params.getFormatFillChar(), '_');
  EXPECT_TRUE(params.isHideTaggedLines());
  EXPECT_TRUE(params.isDisableTaggedLines());
  EXPECT_TRUE(params.isQuoteStrings());
  EXPECT_EQ(params.getProgressCounter(), 3u);
  EXPECT_STREQ(static_cast<const KivClConsoleUIParams&>(params).getInputBuffer(), "answer");
}

TEST(ConsoleUIParams, QuoteStringsFollowsTheEnvironment) {
  kivtest::EnvGuard quote("KIV_CONSOLEUI_QUOTE_STRINGS");
  for (const char* value : {"yes", "Yes", "YES", "on", "True", "1"}) {
    quote.set(value);
    EXPECT_TRUE(KivClConsoleUIParams("prog").isQuoteStrings()) << value;
  }
  for (const char* value : {"2", "enabled", "", "no", "0", "off", "yes "}) {
    quote.set(value);
    EXPECT_FALSE(KivClConsoleUIParams("prog").isQuoteStrings()) << value;
  }
  quote.unset();
  EXPECT_FALSE(KivClConsoleUIParams("prog").isQuoteStrings());
}

TEST(ConsoleUIParams, QuoteStringsIsReadOnceAtConstruction) {
  kivtest::EnvGuard quote("KIV_CONSOLEUI_QUOTE_STRINGS");
  quote.set("yes");
  KivClConsoleUIParams params("prog");
  quote.unset();
  EXPECT_TRUE(params.isQuoteStrings());
}

// --- usage and help ------------------------------------------------------------------------

TEST(ConsoleUIParams, SetUsageKeepsPrivateCopies) {
  std::string usage = "(-key <key>)";
  std::string help = "Some help";
  KivClConsoleUIParams params("prog");
  params.setUsage(usage.c_str(), help.c_str());
  usage[1] = 'X';
  help[0] = 'X';
  EXPECT_TRUE(params.hasUsage());
  EXPECT_STREQ(params.getUsage(), "(-key <key>)");
  EXPECT_STREQ(params.getHelp(), "Some help");
  EXPECT_NE(params.getUsage(), usage.c_str());
}

TEST(ConsoleUIParams, NullUsageMeansNoUsageAndEmptyUsageIsAUsage) {
  KivClConsoleUIParams params("prog");
  params.setUsage("", nullptr);
  EXPECT_TRUE(params.hasUsage());
  EXPECT_STREQ(params.getUsage(), "");
  EXPECT_EQ(params.getHelp(), nullptr);
  params.setUsage(nullptr, "help only");
  EXPECT_FALSE(params.hasUsage());
  EXPECT_STREQ(params.getUsage(), "");
  EXPECT_STREQ(params.getHelp(), "help only");
  params.setUsage(nullptr, nullptr);
  EXPECT_FALSE(params.hasUsage());
  EXPECT_EQ(params.getHelp(), nullptr);
}

TEST(ConsoleUIParams, SetUsageAcceptsItsOwnTexts) {
  KivClConsoleUIParams params("prog");
  params.setUsage("[-a]", "help");
  params.setUsage(params.getUsage(), params.getHelp());
  EXPECT_STREQ(params.getUsage(), "[-a]");
  EXPECT_STREQ(params.getHelp(), "help");
  params.setUsage(params.getHelp(), params.getUsage());
  EXPECT_STREQ(params.getUsage(), "help");
  EXPECT_STREQ(params.getHelp(), "[-a]");
}

TEST(ConsoleUIParams, CopiesGoThroughTheMemoryManagerAndAreReleased) {
  const kivtest::ScopedUserMemoryManager counting;
  {
    KivClConsoleUIParams params("prog");
    EXPECT_EQ(counting.allocations(), 0);
    params.setUsage("[-a]", "help");
    EXPECT_EQ(counting.allocations(), 2);
    params.setUsage("[-b]", nullptr);
    EXPECT_EQ(counting.allocations(), 3);
    EXPECT_EQ(counting.releases(), 2);
  }
  EXPECT_EQ(counting.releases(), 3);
}

TEST(ConsoleUIParams, KeepsAVeryLongUsage) {
  const std::string usage(1 << 20, 'u');
  KivClConsoleUIParams params("prog");
  params.setUsage(usage.c_str(), usage.c_str());
  EXPECT_EQ(std::strlen(params.getUsage()), usage.size());
  EXPECT_EQ(std::string(params.getHelp()), usage);
}

// --- streams -----------------------------------------------------------------------------

TEST(ConsoleUIParams, SetOutputStreamRedirectsBothStreams) {
  KivClConsoleUIParams params("prog");
  std::ostringstream out;
  params.setOutputStream(out);
  EXPECT_EQ(&params.getOutputStream(), &out);
  EXPECT_EQ(&params.getErrorStream(), &out);
  params.getErrorStream() << "error text";
  EXPECT_EQ(out.str(), "error text");
}

TEST(ConsoleUIParams, QuietModeWritesBothStreamsToDevNull) {
  const int before = openDevNullDescriptors();
  ASSERT_GE(before, 0);
  {
    KivClConsoleUIParams params("prog");
    params.setQuietMode();
    EXPECT_TRUE(params.isQuiet());
    EXPECT_EQ(&params.getOutputStream(), &params.getErrorStream());
    EXPECT_NE(&params.getOutputStream(), &std::cout);
    EXPECT_NE(&params.getErrorStream(), &std::cerr);
    auto* file = dynamic_cast<std::ofstream*>(&params.getOutputStream());
    ASSERT_NE(file, nullptr);
    EXPECT_TRUE(file->is_open());
    EXPECT_EQ(openDevNullDescriptors(), before + 1);
    params.getOutputStream() << "discarded" << std::endl;
    params.getErrorStream() << "discarded too" << std::endl;
    EXPECT_TRUE(params.getOutputStream().good());
  }
  EXPECT_EQ(openDevNullDescriptors(), before);  // released by the destructor
}

TEST(ConsoleUIParams, SetOutputStreamHasNoEffectInQuietMode) {
  KivClConsoleUIParams params("prog");
  params.setQuietMode();
  std::ostream* quiet = &params.getOutputStream();
  std::ostringstream out;
  params.setOutputStream(out);
  EXPECT_EQ(&params.getOutputStream(), quiet);
  EXPECT_EQ(&params.getErrorStream(), quiet);
  EXPECT_TRUE(params.isQuiet());
}

TEST(ConsoleUIParams, SecondQuietModeReusesTheStream) {
  const int before = openDevNullDescriptors();
  KivClConsoleUIParams params("prog");
  params.setQuietMode();
  std::ostream* quiet = &params.getOutputStream();
  params.setQuietMode();
  EXPECT_EQ(&params.getOutputStream(), quiet);
  EXPECT_EQ(openDevNullDescriptors(), before + 1);
}

TEST(ConsoleUIParams, ForceOutputStreamOverridesQuietMode) {
  const int before = openDevNullDescriptors();
  {
    KivClConsoleUIParams params("prog");
    params.setQuietMode();
    std::ostream* quiet = &params.getOutputStream();
    std::ostringstream out;
    params.forceOutputStream(out);
    EXPECT_FALSE(params.isQuiet());
    EXPECT_EQ(&params.getOutputStream(), &out);
    EXPECT_EQ(&params.getErrorStream(), &std::cerr);
    // The quiet stream is kept, not deleted, and quiet mode can come back.
    EXPECT_EQ(openDevNullDescriptors(), before + 1);
    params.setQuietMode();
    EXPECT_EQ(&params.getOutputStream(), quiet);
    params.forceOutputStream(std::cout);
    // Out of quiet mode, setOutputStream works again.
    std::ostringstream other;
    params.setOutputStream(other);
    EXPECT_EQ(&params.getOutputStream(), &other);
    EXPECT_EQ(&params.getErrorStream(), &other);
  }
  EXPECT_EQ(openDevNullDescriptors(), before);  // no leak after the force
}

TEST(ConsoleUIParams, ForceOutputStreamWithoutQuietMode) {
  KivClConsoleUIParams params("prog");
  std::ostringstream first;
  params.setOutputStream(first);
  std::ostringstream forced;
  params.forceOutputStream(forced);
  EXPECT_EQ(&params.getOutputStream(), &forced);
  EXPECT_EQ(&params.getErrorStream(), &std::cerr);
  EXPECT_FALSE(params.isQuiet());
}

TEST(ConsoleUIParams, FlushOutputStreamFlushesTheStreams) {
  KivClConsoleUIParams params("prog");
  CountingBuffer buffer;
  std::ostream stream(&buffer);
  params.setOutputStream(stream);
  stream << "pending";
  params.flushOutputStream();
  EXPECT_EQ(buffer.syncs, 2);  // the same stream is both output and error stream
  params.forceOutputStream(stream);
  params.flushOutputStream();
  EXPECT_EQ(buffer.syncs, 3);
  EXPECT_EQ(buffer.str(), "pending");
}

}  // namespace
