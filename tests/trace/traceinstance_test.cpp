// The trace instance and the flat interface. Every case runs in a child
// process with its own trace variables, so that the singleton and the
// environment start fresh; the trace file lies in a temporary directory.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "kiv_test_support.hpp"
#include "kiv_trace.hpp"
#include "trace_child.hpp"

namespace {

using kivtest::childSucceeded;
using kivtest::readTraceFile;
using kivtest::runTraceChild;

using Variables = std::vector<std::pair<std::string, std::string>>;

// The variables of the key "insttest": the trace file in `dir`, plus more.
Variables variablesFor(const kivtest::TempDir& dir, Variables more = {}) {
  more.emplace_back("INSTTEST_TRACE_FILE", dir / "trace.trc");
  return more;
}

constexpr const char* kKey = "insttest";

void dumpText(KivEnTraceDetail detail, unsigned short componentId, const char* text) {
  kivTraceDump(detail, componentId, KIV_TRACE_TYPE_CSTRING, "function", "message", text,
               std::strlen(text));
}

TEST(TraceInstance, NotEnabledUnlessTheActiveVariableIsEnabled) {
  kivtest::TempDir dir;
  EXPECT_TRUE(childSucceeded(runTraceChild(variablesFor(dir), [] {
    KIV_CHILD_CHECK(!kivTraceIsEnabled());
    kivTraceCreateInstance(kKey, nullptr);
    KivClTraceInstance* singleton = KivClTraceInstance::getSingleton();
    KIV_CHILD_CHECK(singleton != nullptr);
    KIV_CHILD_CHECK(!kivTraceIsEnabled());
    KIV_CHILD_CHECK(KivClTraceInstance_getInstance() == nullptr);
    KIV_CHILD_CHECK(!singleton->isActive());
    // enable() does nothing while inactive; activate() alone does not enable.
    singleton->enable();
    KIV_CHILD_CHECK(!kivTraceIsEnabled());
    singleton->activate();
    KIV_CHILD_CHECK(singleton->isActive() && !kivTraceIsEnabled());
    singleton->enable();
    KIV_CHILD_CHECK(kivTraceIsEnabled() && singleton->isEnabled());
    KIV_CHILD_CHECK(KivClTraceInstance_getInstance() == singleton);
    singleton->disable();
    KIV_CHILD_CHECK(!kivTraceIsEnabled() && KivClTraceInstance_getInstance() == nullptr);
    KIV_CHILD_CHECK(KivClTraceInstance::getSingleton() == singleton);
    kivTraceDeleteInstance();
    KIV_CHILD_CHECK(KivClTraceInstance::getSingleton() == nullptr);
    kivTraceDeleteInstance();  // with no singleton: nothing happens
  })));
  for (const char* value : {"yes", "ON", "true", "1"}) {
    SCOPED_TRACE(value);
    EXPECT_TRUE(childSucceeded(runTraceChild(variablesFor(dir, {{"INSTTEST_TRACE_ACTIVE", value}}), [] {
      kivTraceCreateInstance(kKey, nullptr);
      KIV_CHILD_CHECK(kivTraceIsEnabled());
      KIV_CHILD_CHECK(KivClTraceInstance_getInstance() == KivClTraceInstance::getSingleton());
      kivTraceDeleteInstance();
      KIV_CHILD_CHECK(!kivTraceIsEnabled());
    })));
  }
  EXPECT_TRUE(childSucceeded(runTraceChild(variablesFor(dir, {{"INSTTEST_TRACE_ACTIVE", "no"}}), [] {
    kivTraceCreateInstance(kKey, nullptr);
    KIV_CHILD_CHECK(!kivTraceIsEnabled());
  })));
}

TEST(TraceInstance, ASecondCreateReturnsTheFirstInstance) {
  kivtest::TempDir dir;
  EXPECT_TRUE(childSucceeded(runTraceChild(variablesFor(dir), [] {
    KivClTraceInstance* first = KivClTraceInstance::createInstance(kKey, nullptr);
    KIV_CHILD_CHECK(KivClTraceInstance::createInstance("otherkey", "other") == first);
    KIV_CHILD_CHECK(KivClTraceInstance::createControllerInstance("third", nullptr) == first);
    const std::string name = first->getEnvironment().getName();
    KIV_CHILD_CHECK(name.find(":insttest:") != std::string::npos);
    KIV_CHILD_CHECK(first->getEnvironment().isKeepFile() == false);
  })));
}

TEST(TraceInstance, RecordsOnlyWhatTheSettingsFilterLetsPass) {
  kivtest::TempDir dir;
  const std::string file = dir / "trace.trc";
  // Filter detail LOW: a MED entry is not recorded, a LOW one is.
  EXPECT_TRUE(childSucceeded(runTraceChild(
      variablesFor(dir, {{"INSTTEST_TRACE_ACTIVE", "1"}, {"INSTTEST_TRACE_DETAIL", "LOW"}}), [] {
        kivTraceCreateInstance(kKey, nullptr);
        dumpText(KIV_TRACE_DETAIL_MED, 1, "medium");
        dumpText(KIV_TRACE_DETAIL_LOW, 1, "low");
        dumpText(KIV_TRACE_DETAIL_OFF, 1, "off");
        kivTraceDeleteInstance();
      })));
  std::vector<kivtest::ReadEntry> entries = readTraceFile(file, kKey);
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].data, "low");
  EXPECT_EQ(entries[0].detail, KIV_TRACE_DETAIL_LOW);
  EXPECT_EQ(entries[1].data, "off");
  std::remove(file.c_str());

  // Filter detail OFF: a function entry of detail LOW is recorded (as OFF),
  // a text of detail LOW is not.
  EXPECT_TRUE(childSucceeded(runTraceChild(
      variablesFor(dir, {{"INSTTEST_TRACE_ACTIVE", "1"}, {"INSTTEST_TRACE_DETAIL", "none"}}), [] {
        kivTraceCreateInstance(kKey, nullptr);
        kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_FUNCTION_ENTRY, "outer", "dropped",
                     "dropped", 7);
        dumpText(KIV_TRACE_DETAIL_LOW, 1, "low");
        kivTraceDump(KIV_TRACE_DETAIL_MED, 1, KIV_TRACE_TYPE_FUNCTION_EXIT, "outer", "", nullptr,
                     0);
        kivTraceDeleteInstance();
      })));
  entries = readTraceFile(file, kKey);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].type, KIV_TRACE_TYPE_FUNCTION_ENTRY);
  EXPECT_EQ(entries[0].detail, KIV_TRACE_DETAIL_OFF);
  EXPECT_EQ(entries[0].function, "outer");
  EXPECT_EQ(entries[0].message, "");  // message and data of the call are dropped
  const std::int64_t one = 1;
  EXPECT_EQ(entries[0].data, std::string(reinterpret_cast<const char*>(&one), 8));
}

TEST(TraceInstance, ComponentIdZeroPassesEveryComponentSet) {
  kivtest::TempDir dir;
  EXPECT_TRUE(childSucceeded(runTraceChild(
      variablesFor(dir, {{"INSTTEST_TRACE_ACTIVE", "1"}, {"INSTTEST_TRACE_COMPSET", "5"}}), [] {
        kivTraceCreateInstance(kKey, nullptr);
        dumpText(KIV_TRACE_DETAIL_LOW, 0, "zero");
        dumpText(KIV_TRACE_DETAIL_LOW, 5, "five");
        dumpText(KIV_TRACE_DETAIL_LOW, 6, "six");
        dumpText(KIV_TRACE_DETAIL_LOW, 13, "thirteen");  // bit 5 of byte 1
        kivTraceDeleteInstance();
      })));
  const std::vector<kivtest::ReadEntry> entries = readTraceFile(dir / "trace.trc", kKey);
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].data, "zero");
  EXPECT_EQ(entries[0].componentId, 0);
  EXPECT_EQ(entries[1].data, "five");
}

struct Call {
  void* userData;
  KivEnTraceDetail detail;
  unsigned short componentId;
  KivEnTraceDataType type;
  std::string function;
  std::string message;
  std::string data;
  unsigned long length;
};
std::vector<Call> g_calls;

void recordCall(void* userData, KivEnTraceDetail detail, unsigned short componentId,
                KivEnTraceDataType type, const char* function, const char* message,
                const void* data, unsigned long length) {
  g_calls.push_back({userData, detail, componentId, type, function, message,
                     data != nullptr ? std::string(static_cast<const char*>(data), length) : "",
                     length});
}

TEST(TraceInstance, AUserCallbackTakesEveryCallAndTheBufferNone) {
  kivtest::TempDir dir;
  const std::string file = dir / "trace.trc";
  EXPECT_TRUE(childSucceeded(runTraceChild(
      variablesFor(dir, {{"INSTTEST_TRACE_ACTIVE", "1"}, {"INSTTEST_TRACE_DETAIL", "HIGH"}}), [] {
        kivTraceCreateInstance(kKey, nullptr);
        KivClTraceInstance* instance = KivClTraceInstance_getInstance();
        KIV_CHILD_CHECK(instance != nullptr && instance->usesKivBackEnd());
        int userData = 0;
        instance->registerUserCallback(&recordCall, &userData);
        KIV_CHILD_CHECK(!instance->usesKivBackEnd());
        kivTraceDump(KIV_TRACE_DETAIL_HIGH, 300, KIV_TRACE_TYPE_DATA, "f", "m", "xyz", 3);
        kivTraceDump(KIV_TRACE_DETAIL_LOW, 7, KIV_TRACE_TYPE_FUNCTION_ENTRY, "g", "m", "xyz", 3);
        kivTraceDump(KIV_TRACE_DETAIL_MED, 7, KIV_TRACE_TYPE_FUNCTION_EXIT, "g", "m", "xyz", 3);
        KIV_CHILD_CHECK(g_calls.size() == 3);
        const Call& data = g_calls[0];
        KIV_CHILD_CHECK(data.userData == &userData && data.detail == KIV_TRACE_DETAIL_HIGH &&
                        data.componentId == 300 && data.type == KIV_TRACE_TYPE_DATA &&
                        data.function == "f" && data.message == "m" && data.data == "xyz" &&
                        data.length == 3);
        const std::int64_t one = 1, zero = 0;
        const Call& entry = g_calls[1];
        KIV_CHILD_CHECK(entry.detail == KIV_TRACE_DETAIL_OFF && entry.message.empty() &&
                        entry.length == 8 &&
                        entry.data == std::string(reinterpret_cast<const char*>(&one), 8));
        const Call& exit = g_calls[2];
        KIV_CHILD_CHECK(exit.detail == KIV_TRACE_DETAIL_MED &&
                        exit.data == std::string(reinterpret_cast<const char*>(&zero), 8));
        kivTraceFlush();
        // Back to the library's back end: the next call reaches the buffer.
        instance->registerUserCallback(nullptr, nullptr);
        KIV_CHILD_CHECK(instance->usesKivBackEnd());
        dumpText(KIV_TRACE_DETAIL_LOW, 1, "after");
        KIV_CHILD_CHECK(g_calls.size() == 3);
        kivTraceDeleteInstance();
      })));
  const std::vector<kivtest::ReadEntry> entries = readTraceFile(file, kKey);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].data, "after");
}

TEST(TraceInstance, NestingLevelChangesBeforeTheEntryIsRecorded) {
  kivtest::TempDir dir;
  EXPECT_TRUE(childSucceeded(runTraceChild(
      variablesFor(dir, {{"INSTTEST_TRACE_ACTIVE", "1"}}), [] {
        kivTraceCreateInstance(kKey, nullptr);
        KivClTraceInstance* instance = KivClTraceInstance_getInstance();
        kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_FUNCTION_ENTRY, "outer", "", nullptr, 0);
        kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_FUNCTION_ENTRY, "inner", "", nullptr, 0);
        KIV_CHILD_CHECK(instance->getNestingLevel() == 2);
        kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_FUNCTION_EXIT, "inner", "", nullptr, 0);
        kivTraceDump(KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_FUNCTION_EXIT, "outer", "", nullptr, 0);
        KIV_CHILD_CHECK(instance->getNestingLevel() == 0);
        kivTraceDeleteInstance();
      })));
  const std::vector<kivtest::ReadEntry> entries = readTraceFile(dir / "trace.trc", kKey);
  ASSERT_EQ(entries.size(), 4u);
  const std::int64_t levels[] = {1, 2, 1, 0};
  const char* functions[] = {"outer", "inner", "inner", "outer"};
  for (int i = 0; i < 4; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(entries[i].type, i < 2 ? KIV_TRACE_TYPE_FUNCTION_ENTRY : KIV_TRACE_TYPE_FUNCTION_EXIT);
    EXPECT_EQ(entries[i].function, functions[i]);
    EXPECT_EQ(entries[i].data, std::string(reinterpret_cast<const char*>(&levels[i]), 8));
  }
}

TEST(TraceInstance, PendingEntriesReachTheFileAtTheProcessEnd) {
  kivtest::TempDir dir;
  const std::string file = dir / "trace.trc";
  // No deleteInstance: the static destructor at exit deletes the singleton,
  // which flushes the buffer to the file.
  EXPECT_TRUE(childSucceeded(runTraceChild(
      variablesFor(dir, {{"INSTTEST_TRACE_ACTIVE", "1"}}), [file] {
        kivTraceCreateInstance(kKey, nullptr);
        dumpText(KIV_TRACE_DETAIL_LOW, 1, "pending");
        KIV_CHILD_CHECK(kivtest::readFile(file).empty());
      })));
  std::vector<kivtest::ReadEntry> entries = readTraceFile(file, kKey);
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0].data, "pending");
  // Without the normal process end nothing is saved: the entry was only in
  // the buffer (the buffer is far from full, and autoflush is off).
  std::remove(file.c_str());
  EXPECT_TRUE(childSucceeded(runTraceChild(
      variablesFor(dir, {{"INSTTEST_TRACE_ACTIVE", "1"}}),
      [] {
        kivTraceCreateInstance(kKey, nullptr);
        dumpText(KIV_TRACE_DETAIL_LOW, 1, "lost");
      },
      true)));
  EXPECT_TRUE(readTraceFile(file, kKey).empty());
}

TEST(TraceInstance, FlushSavesWhileActiveAndDoesNothingWhileInactive) {
  kivtest::TempDir dir;
  const std::string file = dir / "trace.trc";
  EXPECT_TRUE(childSucceeded(runTraceChild(
      variablesFor(dir, {{"INSTTEST_TRACE_ACTIVE", "1"}}), [file] {
        kivTraceCreateInstance(kKey, nullptr);
        dumpText(KIV_TRACE_DETAIL_LOW, 1, "flushed");
        kivTraceFlush();
        KIV_CHILD_CHECK(readTraceFile(file, kKey).size() == 1);
        _exit(0);  // nothing else may reach the file
      })));
  EXPECT_EQ(readTraceFile(file, kKey).size(), 1u);
  std::remove(file.c_str());
  EXPECT_TRUE(childSucceeded(runTraceChild(variablesFor(dir), [file] {
    KivClTraceInstance* instance = KivClTraceInstance::createInstance(kKey, nullptr);
    // Entries through the back end directly, though the instance is off.
    KivClTraceInstance::dumpImp(instance, KIV_TRACE_DETAIL_LOW, 1, KIV_TRACE_TYPE_CSTRING, "f",
                                "m", "x", 1);
    instance->flush();
    KIV_CHILD_CHECK(kivtest::readFile(file).empty());
    _exit(0);
  })));
}

TEST(TraceInstance, OnlyTheControllerInstanceKeepsTheFileWithAutoclear) {
  kivtest::TempDir dir;
  const std::string file = dir / "trace.trc";
  const Variables variables = variablesFor(dir, {{"INSTTEST_TRACE_AUTOCLEAR", "yes"}});
  kivtest::writeFile(file, "earlier trace");
  EXPECT_TRUE(childSucceeded(runTraceChild(variables, [] {
    KivClTraceInstance::createControllerInstance(kKey, nullptr);
    KIV_CHILD_CHECK(KivClTraceInstance::getSingleton()->getEnvironment().isKeepFile());
  })));
  EXPECT_EQ(kivtest::readFile(file), "earlier trace");
  EXPECT_TRUE(childSucceeded(runTraceChild(variables, [] {
    kivTraceCreateInstance(kKey, nullptr);
  })));
  EXPECT_FALSE(std::filesystem::exists(file));
}

}  // namespace
