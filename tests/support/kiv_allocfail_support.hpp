// Allocation-failure injection over the counting user memory manager: an
// operation is run again and again, with the first, the second, the third
// ... request to the memory manager refused, until a run gets through
// without reaching the refused request. Every run must end in the expected
// exception (or in an error record that the case checks itself), must give
// back every block it got, and must leave its objects usable.
//
// A case is a callable taking an AllocationFailureRun&. It builds its
// objects, hands the operation under test to inject() (once per run),
// checks the state after a failure, runs the operation again with no
// failure and checks the real result. All objects of a case live inside the
// callable, so that when it returns every block must be back.
#ifndef KIV_ALLOCFAIL_SUPPORT_HPP
#define KIV_ALLOCFAIL_SUPPORT_HPP

#include <gtest/gtest.h>

#include <string>
#include <typeinfo>

#include "kiv_alloc_support.hpp"
#include "kiv_error.hpp"
#include "kiv_exception.hpp"
#include "kiv_test_support.hpp"

namespace kivtest {

/// The record of the memory manager's exception when a user allocator has
/// nothing left.
inline _KivStUserError userOutOfMemoryRecord() {
  return {KIV_MEMMGR_USER_OUT_OF_MEMORY, KivEnErrorClass::OUT_OF_MEMORY, KivEnErrorSeverity::FATAL,
          KivEnErrorAction::TERMINATE};
}

/// One run of a case: the number of the request that is refused and the
/// means to run the operation under test with that request refused.
class AllocationFailureRun {
 public:
  /// How an injected operation ended.
  enum class Outcome {
    COMPLETED,  ///< returned, and no request was refused on the way
    THROWN,     ///< threw the expected exception (checked)
    ABSORBED,   ///< returned although a request was refused (the case checks the report)
  };

  AllocationFailureRun(ScopedUserMemoryManager& memory, long failAt)
      : m_memory(memory), m_lFailAt(failAt) {}

  /// The number of the refused request, counted from 0 at inject().
  long failAt() const { return m_lFailAt; }

  /// Runs `operation` with request failAt() (counted from now) refused and
  /// every other one served, then serves every request again. A
  /// KivClException is caught and must be exactly an `ExceptionType` with `expected`
  /// as its record and the empty cause; any other exception fails the test.
  /// An operation that returns although a request was refused is
  /// ABSORBED: the case must then check how the operation reported it.
  template <typename ExceptionType = KivClExceptionFatal, typename Operation>
  Outcome injectAbsorbing(Operation operation,
                          const _KivStUserError& expected = userOutOfMemoryRecord()) {
    EXPECT_FALSE(m_bInjected) << "one injected operation per run";
    m_bInjected = true;
    const long before = m_memory.requests();
    m_memory.failAfter(m_lFailAt);
    Outcome outcome = Outcome::COMPLETED;
    try {
      operation();
    } catch (const KivClException& e) {
      outcome = Outcome::THROWN;
      EXPECT_TRUE(typeid(e) == typeid(ExceptionType))
          << "an exception of another type than expected for request " << m_lFailAt;
      expectRecord(e, expected);
    } catch (...) {
      m_memory.neverFail();
      ADD_FAILURE() << "an exception that is no KivClException for request " << m_lFailAt;
      throw;
    }
    m_memory.neverFail();
    m_bReached = m_memory.requests() - before > m_lFailAt;
    if (outcome == Outcome::COMPLETED && m_bReached) outcome = Outcome::ABSORBED;
    if (outcome == Outcome::THROWN) {
      EXPECT_TRUE(m_bReached) << "threw without a refused request";
    }
    return outcome;
  }

  /// As injectAbsorbing, for operations that report every allocation
  /// failure by the exception: an absorbed failure fails the test.
  /// \returns true when the operation completed, false when it threw.
  template <typename ExceptionType = KivClExceptionFatal, typename Operation>
  bool inject(Operation operation, const _KivStUserError& expected = userOutOfMemoryRecord()) {
    const Outcome outcome = injectAbsorbing<ExceptionType>(operation, expected);
    EXPECT_NE(outcome, Outcome::ABSORBED)
        << "request " << m_lFailAt << " was refused, but the operation went on as if not";
    return outcome == Outcome::COMPLETED;
  }

  /// For failures that the request counter cannot see (an allocation in a
  /// child process): the case saw the failure through an error record.
  void markReached() { m_bReached = true; }

  /// Whether the refused request was reached in this run.
  bool reached() const { return m_bReached; }
  /// Whether inject() or injectAbsorbing() was called.
  bool injected() const { return m_bInjected; }

 private:
  static void expectRecord(const KivClException& e, const _KivStUserError& expected) {
    const _KivStUserError& actual = e.getError();
    EXPECT_EQ(actual.id, expected.id) << errorIdName(actual.id);
    EXPECT_EQ(actual.errorClass, expected.errorClass) << errorClassName(actual.errorClass);
    EXPECT_EQ(actual.severity, expected.severity);
    EXPECT_EQ(actual.action, expected.action);
    ASSERT_NE(e.getCause(), nullptr);
    EXPECT_STREQ(e.getCause(), "");
  }

  ScopedUserMemoryManager& m_memory;
  long m_lFailAt;
  bool m_bInjected = false;
  bool m_bReached = false;
};

/// Runs `testCase` for every refused request number 0, 1, 2, ... until a
/// run does not reach it, each time with a fresh counting memory manager,
/// and checks after each run that every block allocated went back.
/// \returns the number of runs (the last one included), so that a test can
///          check that its operation really allocates.
template <typename Case>
long forEachAllocationFailure(Case testCase, long maxRuns = 100000) {
  for (long failAt = 0; failAt < maxRuns; ++failAt) {
    SCOPED_TRACE("request " + std::to_string(failAt) + " refused");
    bool reached = false;
    {
      ScopedUserMemoryManager memory;
      {
        AllocationFailureRun run(memory, failAt);
        testCase(run);
        EXPECT_TRUE(run.injected()) << "the case never injected a failure";
        reached = run.reached();
      }
      EXPECT_EQ(memory.allocations(), memory.releases()) << "blocks allocated and not released";
    }
    if (::testing::Test::HasFailure()) return failAt + 1;
    if (!reached) return failAt + 1;
  }
  ADD_FAILURE() << "every one of " << maxRuns << " runs reached its refused request";
  return maxRuns;
}

}  // namespace kivtest

#endif
