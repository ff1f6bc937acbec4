// Messages and catalogs when memory runs out: the heap copy of a long text,
// the proxy and catalog of the flat interface and the validation of a real
// catalog are refused in turn. Each refusal ends in the memory manager's
// fatal exception, gives every block back, and leaves the message or handle
// that exists answering the right text.
#include <gtest/gtest.h>

#include <string>

#include "kiv_allocfail_support.hpp"
#include "kiv_message.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_test_support.hpp"
#include "msg_test_helpers.hpp"

namespace {

using kivtest::AllocationFailureRun;

// Texts of more than 80 characters live on the heap.
const std::string gs_sLong =
    "The first message of this table is long enough to be kept on the heap: %1 and %2.";
const char* const gs_table[] = {
    "zero",
    gs_sLong.c_str(),
    "short %1",
    "Second: %1",
};
const unsigned long gs_tableSize = sizeof(gs_table) / sizeof(gs_table[0]);

const std::string gs_sFirst =
    "The first message of this table is long enough to be kept on the heap: one and two.";

class MessageAllocationFailure : public ::testing::Test {
 protected:
  std::string name(const std::string& base) const { return m_dir / base; }

  kivtest::TempDir m_dir;
  msgtest::LocaleGuard m_locale;
};

TEST_F(MessageAllocationFailure, LongTextsThrowAndTheMessageLoadsAgain) {
  KivClMessageCatalog catalog{KivClFilename(name("none").c_str())};
  catalog.useStringTable(gs_table, gs_tableSize);
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    KivClMessage held(catalog, 2, "held");
    const bool completed = run.inject([&] {
      const KivClMessage first(catalog, 1, "one", "two");
      const KivClMessage copy(first);
      held = copy;
      // The insert is the message's own text, read before it is replaced.
      held.setNewMessageId(3, held.getText());
    });
    if (!completed) {
      // Whatever step failed, the message holds one of its texts or none.
      const std::string text = held.getText();
      EXPECT_TRUE(text == "short held" || text == gs_sFirst || text.empty()) << text;
      held.setNewMessageId(3, gs_sFirst.c_str());
    }
    EXPECT_EQ(std::string(held.getText()), "Second: " + gs_sFirst);
    EXPECT_TRUE(held.isLoaded());
  });
  EXPECT_EQ(runs, 5);  // first, copy, assignment, new text, none
}

TEST_F(MessageAllocationFailure, StringTableProxyThrowsAndTheHandleAnswersAgain) {
  const std::string missing = name("missing");
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    KivClMessageCatalogProxy* handle = nullptr;
    const char* text = nullptr;
    const bool completed = run.inject([&] {
      handle = kivMsgCatOpenOrUseStringTable(missing.c_str(), gs_table, gs_tableSize);
      text = kivMsgCatGetVar(handle, 1, "one", "two", nullptr);
    });
    if (!completed && handle != nullptr) {
      text = kivMsgCatGetVar(handle, 1, "one", "two", nullptr);
    }
    if (handle != nullptr) {
      ASSERT_NE(text, nullptr);
      EXPECT_EQ(std::string(text), gs_sFirst);
      kivMsgCatClose(handle);
    } else {
      EXPECT_FALSE(completed);
    }
  });
  EXPECT_EQ(runs, 4);  // proxy, catalog, message text, none
}

TEST_F(MessageAllocationFailure, CatalogFileWithALongFirstMessageThrowsWhileOpening) {
  const std::string file = name("long.cat");
  msgtest::makeCatalog(file, "$set 1\n1 " + gs_sLong + "\n2 cat two %1\n");
  const long runs = kivtest::forEachAllocationFailure([&](AllocationFailureRun& run) {
    KivClMessageCatalogProxy* handle = nullptr;
    const bool completed = run.inject([&] { handle = kivMsgCatOpen(file.c_str()); });
    if (!completed) {
      EXPECT_EQ(handle, nullptr);
      handle = kivMsgCatOpen(file.c_str());
    }
    ASSERT_NE(handle, nullptr);
    EXPECT_TRUE(handle->getCatalog()->isOpen());
    EXPECT_STREQ(kivMsgCatGetVar(handle, 2, "x", nullptr), "cat two x");
    EXPECT_EQ(std::string(kivMsgCatGetVar(handle, 1, "one", "two", nullptr)), gs_sFirst);
    kivMsgCatClose(handle);
  });
  EXPECT_EQ(runs, 4);  // proxy, catalog, message 1 checked while opening, none
}

}  // namespace
