// The debug dumps hand their area to kivDebugImpDump. The library's own hook
// does nothing, so this program supplies its own (linked against the static
// library, it replaces the library's) and records every call, to check the
// kind, the title, the data and the byte length each debug dump passes on.

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "kiv_strep.hpp"

namespace {

struct HookCall {
  KivEnDump kind;
  std::string title;
  const unsigned char* data;
  unsigned long length;
};

std::vector<HookCall> gs_calls;

class DebugDumpHook : public testing::Test {
 protected:
  void SetUp() override { gs_calls.clear(); }
};

void expectCall(const HookCall& call, KivEnDump kind, const char* title, const void* data,
                unsigned long length) {
  EXPECT_EQ(call.kind, kind);
  EXPECT_EQ(call.title, title);
  EXPECT_EQ(static_cast<const void*>(call.data), data);
  EXPECT_EQ(call.length, length);
}

}  // namespace

extern "C" void kivDebugImpDump(KivEnDump kind, const char* title, const unsigned char* data,
                                unsigned long length) {
  gs_calls.push_back({kind, title ? title : "(null)", data, length});
}

namespace {

TEST_F(DebugDumpHook, HexFormsPassKindHexAndByteLength) {
  const unsigned long buffer[4] = {};
  const auto* bytes = reinterpret_cast<const unsigned char*>(buffer);
  kivDebugDumpHex("bytes", bytes, 3);
  kivDebugDumpHex("shorts", reinterpret_cast<const unsigned short*>(buffer), 3);
  kivDebugDumpHex("ints", reinterpret_cast<const unsigned int*>(buffer), 3);
  kivDebugDumpHex("longs", buffer, 3);
  ASSERT_EQ(gs_calls.size(), 4u);
  expectCall(gs_calls[0], KivEnDump::HEX, "bytes", buffer, 3);
  expectCall(gs_calls[1], KivEnDump::HEX, "shorts", buffer, 6);
  expectCall(gs_calls[2], KivEnDump::HEX, "ints", buffer, 12);
  expectCall(gs_calls[3], KivEnDump::HEX, "longs", buffer, 24);
}

TEST_F(DebugDumpHook, BinFormsPassKindBinAndByteLength) {
  const unsigned long buffer[4] = {};
  kivDebugDumpBin("bytes", reinterpret_cast<const unsigned char*>(buffer), 5);
  kivDebugDumpBin("shorts", reinterpret_cast<const unsigned short*>(buffer), 5);
  kivDebugDumpBin("ints", reinterpret_cast<const unsigned int*>(buffer), 5);
  kivDebugDumpBin("longs", buffer, 4);
  ASSERT_EQ(gs_calls.size(), 4u);
  expectCall(gs_calls[0], KivEnDump::BIN, "bytes", buffer, 5);
  expectCall(gs_calls[1], KivEnDump::BIN, "shorts", buffer, 10);
  expectCall(gs_calls[2], KivEnDump::BIN, "ints", buffer, 20);
  expectCall(gs_calls[3], KivEnDump::BIN, "longs", buffer, 32);
}

TEST_F(DebugDumpHook, DefaultFormsPassKindDumpAndByteLength) {
  const unsigned long buffer[4] = {};
  kivDebugDump("bytes", reinterpret_cast<const unsigned char*>(buffer), 1);
  kivDebugDump("shorts", reinterpret_cast<const unsigned short*>(buffer), 1);
  kivDebugDump("ints", reinterpret_cast<const unsigned int*>(buffer), 1);
  kivDebugDump("longs", buffer, 1);
  ASSERT_EQ(gs_calls.size(), 4u);
  expectCall(gs_calls[0], KivEnDump::DUMP, "bytes", buffer, 1);
  expectCall(gs_calls[1], KivEnDump::DUMP, "shorts", buffer, 2);
  expectCall(gs_calls[2], KivEnDump::DUMP, "ints", buffer, 4);
  expectCall(gs_calls[3], KivEnDump::DUMP, "longs", buffer, 8);
}

TEST_F(DebugDumpHook, ZeroCountPassesZeroLength) {
  const unsigned int value = 7;
  kivDebugDumpHex("none", &value, 0);
  ASSERT_EQ(gs_calls.size(), 1u);
  expectCall(gs_calls[0], KivEnDump::HEX, "none", &value, 0);
}

TEST_F(DebugDumpHook, CountWhoseByteLengthOverflowsPassesZeroLength) {
  const unsigned long value = 7;
  kivDebugDump("wrap", &value, ULONG_MAX / 8 + 1);
  kivDebugDumpBin("wrap", reinterpret_cast<const unsigned int*>(&value), ULONG_MAX);
  kivDebugDumpHex("fits", reinterpret_cast<const unsigned char*>(&value), ULONG_MAX);
  ASSERT_EQ(gs_calls.size(), 3u);
  expectCall(gs_calls[0], KivEnDump::DUMP, "wrap", &value, 0);
  expectCall(gs_calls[1], KivEnDump::BIN, "wrap", &value, 0);
  expectCall(gs_calls[2], KivEnDump::HEX, "fits", &value, ULONG_MAX);
}

TEST_F(DebugDumpHook, DumpFunctionsDoNotCallTheHook) {
  const unsigned char data[4] = {1, 2, 3, 4};
  testing::internal::CaptureStdout();
  kivDumpHex(data, 4);
  kivDumpBin(data, 4);
  kivDump(data, 4);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_FALSE(out.empty());
  EXPECT_TRUE(gs_calls.empty());
}

}  // namespace
