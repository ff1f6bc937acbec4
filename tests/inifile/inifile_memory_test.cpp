// The records of a model live in the library's memory manager: every one
// allocated is freed again, and an allocation that fails in the middle of a
// load leaves a consistent model that is freed without a leak.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "inifile_test_support.hpp"
#include "kiv_exception.hpp"
#include "kiv_inifile.hpp"
#include "kiv_memmgr.hpp"

namespace {

long gs_lAllocations = 0;
long gs_lReleases = 0;
long gs_lFailAt = -1;  // the allocation (counted from 1) that fails; -1: none

void* countingMalloc(std::size_t size) {
  if (++gs_lAllocations == gs_lFailAt) return nullptr;
  return std::malloc(size);
}
void* countingRealloc(void* p, std::size_t size) { return std::realloc(p, size); }
void countingFree(void* p) {
  if (p != nullptr) ++gs_lReleases;
  std::free(p);
}

class IniMemoryTest : public ::testing::Test {
 protected:
  IniMemoryTest() {
    gs_lAllocations = gs_lReleases = 0;
    gs_lFailAt = -1;
    kivSetNewMemoryManager(&countingMalloc, &countingRealloc, &countingFree);
  }
  ~IniMemoryTest() override { kivSetNewMemoryManager(&std::malloc, &std::realloc, &std::free); }
};

const std::string gs_sText = "[a]\nx = 1\ny = 2\n[b]\nz = 3\n";

TEST_F(IniMemoryTest, EveryRecordIsAllocatedThroughTheManagerAndFreed) {
  {
    KivClIniFile ini(kivtest::unusedIniName());
    ASSERT_TRUE(kivtest::loadText(ini, gs_sText));
    EXPECT_EQ(gs_lAllocations, 5);  // two sections, three options
    ini.addSection("c");
    ini.addOption("c", "w", "4");
    ini.deleteSection("a");  // frees its two options
    EXPECT_EQ(gs_lAllocations, 7);
    EXPECT_EQ(gs_lReleases, 2);
  }
  EXPECT_EQ(gs_lReleases, 7);
}

TEST_F(IniMemoryTest, FailedAllocationDuringALoadLeavesAConsistentModel) {
  for (long failAt = 1; failAt <= 5; ++failAt) {
    gs_lAllocations = gs_lReleases = 0;
    gs_lFailAt = failAt;
    {
      KivClIniFile ini(kivtest::unusedIniName());
      EXPECT_THROW(kivtest::loadText(ini, gs_sText), KivClExceptionFatal) << failAt;
      EXPECT_EQ(ini.getCurrentSection(), nullptr);
      gs_lFailAt = -1;
      // The model holds what was read before the failure and can be used.
      ASSERT_TRUE(kivtest::loadText(ini, gs_sText, false));
      EXPECT_EQ(kivtest::valueOf(ini, "b", "z"), "3");
    }
    EXPECT_EQ(gs_lReleases, gs_lAllocations - 1) << failAt;
  }
}

}  // namespace
