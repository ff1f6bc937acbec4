// The exceptions: defaults, the catch hierarchy, copies that share their
// texts, and the location text of a throw site.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <type_traits>

#include "kiv_exception.hpp"

namespace {

const _KivStUserError gs_outOfMemory{KIV_MEMMGR_RUNTIME_OUT_OF_MEMORY,
                                     KivEnErrorClass::OUT_OF_MEMORY, KivEnErrorSeverity::FATAL,
                                     KivEnErrorAction::TERMINATE};

TEST(KivClException, DefaultHasEmptyCauseNullModuleLineZeroAndZeroRecord) {
  const KivClException e;
  ASSERT_NE(e.getCause(), nullptr);
  EXPECT_STREQ(e.getCause(), "");
  EXPECT_EQ(e.getModule(), nullptr);
  EXPECT_EQ(e.getLine(), 0u);
  EXPECT_EQ(e.getError(), _KivStUserError{});
  EXPECT_TRUE(e.isKivException());
}

TEST(KivClException, ConstructedWithoutCauseHasEmptyCause) {
  const KivClException e(gs_outOfMemory, "here.cpp:12", 12);
  ASSERT_NE(e.getCause(), nullptr);
  EXPECT_STREQ(e.getCause(), "");
  EXPECT_STREQ(e.getModule(), "here.cpp:12");
  EXPECT_EQ(e.getLine(), 12u);
  EXPECT_EQ(e.getError(), gs_outOfMemory);
}

TEST(KivClException, KeepsTheGivenCausePointer) {
  static const char cause[] = "disk on fire";
  const KivClException e(gs_outOfMemory, "x:1", 1, cause);
  EXPECT_EQ(e.getCause(), cause);
}

TEST(KivClException, NullCauseIsKeptAsTheEmptyText) {
  const KivClExceptionFatal e(gs_outOfMemory, "x:1", 1, nullptr);
  ASSERT_NE(e.getCause(), nullptr);
  EXPECT_STREQ(e.getCause(), "");
}

TEST(KivClExceptionFatal, IsCaughtByHandlerForKivClException) {
  bool caught = false;
  try {
    throw KivClExceptionFatal(gs_outOfMemory, "a.cpp:3", 3);
  } catch (const KivClException& e) {
    caught = true;
    EXPECT_EQ(e.getError(), gs_outOfMemory);
    EXPECT_NE(dynamic_cast<const KivClExceptionFatal*>(&e), nullptr);
  }
  EXPECT_TRUE(caught);
}

TEST(KivClExceptionFatal, IsCaughtByHandlerForTheAbstractBase) {
  bool caught = false;
  try {
    throw KivClExceptionFatal(gs_outOfMemory, "a.cpp:3", 3);
  } catch (const KivClExceptionABase& e) {
    caught = true;
    EXPECT_TRUE(e.isKivException());
    EXPECT_STREQ(e.getCause(), "");
  }
  EXPECT_TRUE(caught);
}

TEST(KivClException, PlainExceptionIsNotCaughtAsFatal) {
  bool caughtAsFatal = false;
  bool caughtAsPlain = false;
  try {
    try {
      throw KivClException(gs_outOfMemory, "b.cpp:9", 9);
    } catch (const KivClExceptionFatal&) {
      caughtAsFatal = true;
    }
  } catch (const KivClException&) {
    caughtAsPlain = true;
  }
  EXPECT_FALSE(caughtAsFatal);
  EXPECT_TRUE(caughtAsPlain);
}

TEST(KivClException, CopySharesTextsAndHasEqualRecord) {
  static const char cause[] = "cause";
  static const char module[] = "m.cpp:77";
  const KivClExceptionFatal original(gs_outOfMemory, module, 77, cause);
  const KivClExceptionFatal copy(original);
  EXPECT_EQ(copy.getCause(), original.getCause());
  EXPECT_EQ(copy.getModule(), original.getModule());
  EXPECT_EQ(copy.getLine(), 77u);
  EXPECT_EQ(copy.getError(), original.getError());

  KivClException assigned;
  assigned = original;
  EXPECT_EQ(assigned.getCause(), cause);
  EXPECT_EQ(assigned.getModule(), module);
  EXPECT_EQ(assigned.getError(), gs_outOfMemory);
}

TEST(KivClException, CopyIsPublicAndQueriesDoNotThrow) {
  static_assert(std::is_nothrow_copy_constructible_v<KivClException>);
  static_assert(std::is_nothrow_copy_constructible_v<KivClExceptionFatal>);
  static_assert(std::is_abstract_v<KivClExceptionABase>);
  static_assert(std::is_base_of_v<KivClExceptionABase, KivClException>);
  static_assert(std::is_base_of_v<KivClException, KivClExceptionFatal>);
  static_assert(std::has_virtual_destructor_v<KivClExceptionABase>);
  const KivClException e;
  EXPECT_TRUE(noexcept(e.getCause()));
  EXPECT_TRUE(noexcept(e.getModule()));
  EXPECT_TRUE(noexcept(e.getLine()));
  EXPECT_TRUE(noexcept(e.getError()));
  EXPECT_TRUE(noexcept(e.isKivException()));
}

TEST(KivThrowSite, LocationTextIsFileColonLineAndMatchesTheLine) {
  const unsigned throwLine = __LINE__ + 2;
  try {
    KIV_THROW(KivClException, gs_outOfMemory);
  } catch (const KivClException& e) {
    EXPECT_EQ(e.getLine(), throwLine);
    EXPECT_EQ(std::string(e.getModule()), std::string(__FILE__) + ":" + std::to_string(throwLine));
    EXPECT_STREQ(e.getCause(), "");
    EXPECT_EQ(e.getError(), gs_outOfMemory);
    return;
  }
  FAIL() << "KIV_THROW did not throw";
}

}  // namespace
