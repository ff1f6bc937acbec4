// The records of a model live in the library's memory manager: every one
// allocated is freed again, and an allocation that fails in the middle of a
// load leaves a consistent model that is freed without a leak.
#include <gtest/gtest.h>

#include <string>

#include "inifile_test_support.hpp"
#include "kiv_alloc_support.hpp"
#include "kiv_exception.hpp"
#include "kiv_inifile.hpp"

namespace {

const std::string gs_sText = "[a]\nx = 1\ny = 2\n[b]\nz = 3\n";

TEST(IniMemoryTest, EveryRecordIsAllocatedThroughTheManagerAndFreed) {
  const kivtest::ScopedUserMemoryManager memory;
  {
    KivClIniFile ini(kivtest::unusedIniName());
    ASSERT_TRUE(kivtest::loadText(ini, gs_sText));
    EXPECT_EQ(memory.allocations(), 5);  // two sections, three options
    ini.addSection("c");
    ini.addOption("c", "w", "4");
    ini.deleteSection("a");  // frees its two options
    EXPECT_EQ(memory.allocations(), 7);
    EXPECT_EQ(memory.releases(), 2);
  }
  EXPECT_EQ(memory.releases(), 7);
}

TEST(IniMemoryTest, FailedAllocationDuringALoadLeavesAConsistentModel) {
  // The allocation number failAt (counted from 1) fails.
  for (long failAt = 1; failAt <= 5; ++failAt) {
    kivtest::ScopedUserMemoryManager memory;
    memory.failAfter(failAt - 1);
    {
      KivClIniFile ini(kivtest::unusedIniName());
      EXPECT_THROW(kivtest::loadText(ini, gs_sText), KivClExceptionFatal) << failAt;
      EXPECT_EQ(ini.getCurrentSection(), nullptr);
      memory.neverFail();
      // The model holds what was read before the failure and can be used.
      ASSERT_TRUE(kivtest::loadText(ini, gs_sText, false));
      EXPECT_EQ(kivtest::valueOf(ini, "b", "z"), "3");
    }
    EXPECT_EQ(memory.releases(), memory.requests() - 1) << failAt;
  }
}

}  // namespace
