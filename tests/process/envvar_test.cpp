// Environment variables: reading, the enabled test, setting, appending and
// removing, names and values at the size limits, and the hand-over of the
// assignment buffer when an object dies.
//
// Every test restores the variables it touches with kivtest::EnvGuard. The
// guard is declared before the variable objects, so that the objects (which
// the environment may point into) die first and the guard then restores the
// previous value.

#include "kiv_envvar.hpp"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>
#include <memory>
#include <string>

#include "kiv_test_support.hpp"

extern "C" char** environ;

namespace {

constexpr const char* kName = "KIV_TEST_ENVVAR";

// True when some entry of the environment points into `object`.
template <class T>
bool environmentPointsInto(const T& object) {
  const auto* begin = reinterpret_cast<const char*>(&object);
  const auto* end = begin + sizeof object;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    if (*entry >= begin && *entry < end) return true;
  }
  return false;
}

// ---------------------------------------------------------------------------
// Reading and the enabled test
// ---------------------------------------------------------------------------

TEST(EnvironmentVariable, EnabledForOnYesTrueAndOneInAnyCase) {
  kivtest::EnvGuard guard(kName);
  const KivClEnvironmentVariableQueryOnly variable(kName);
  for (const char* value : {"yes", "Yes", "YES", "on", "ON", "oN", "True", "true", "TRUE", "1"}) {
    guard.set(value);
    EXPECT_TRUE(variable.hasValueEnabled()) << value;
  }
}

TEST(EnvironmentVariable, NotEnabledForOtherValues) {
  kivtest::EnvGuard guard(kName);
  const KivClEnvironmentVariableQueryOnly variable(kName);
  for (const char* value : {"2", "enabled", "", "0", "no", "off", " yes", "yes ", "11", "y"}) {
    guard.set(value);
    EXPECT_FALSE(variable.hasValueEnabled()) << "'" << value << "'";
    EXPECT_TRUE(variable.hasValue());
  }
}

TEST(EnvironmentVariable, NotEnabledWhenUnset) {
  kivtest::EnvGuard guard(kName);
  guard.unset();
  const KivClEnvironmentVariableQueryOnly variable(kName);
  EXPECT_FALSE(variable.hasValue());
  EXPECT_EQ(variable.getValue(), nullptr);
  EXPECT_FALSE(variable.hasValueEnabled());
}

TEST(EnvironmentVariable, ReadsTheEnvironmentOnEveryCall) {
  kivtest::EnvGuard guard(kName);
  const KivClEnvironmentVariableQueryOnly variable(kName);
  guard.set("first");
  EXPECT_STREQ(variable.getValue(), "first");
  guard.set("second");
  EXPECT_STREQ(variable.getValue(), "second");
  guard.unset();
  EXPECT_FALSE(variable.hasValue());
}

TEST(EnvironmentVariable, AssertPopupSwitchIsReadLikeEveryOtherSwitch) {
  kivtest::EnvGuard guard("KIV_NO_ASSERT_POPUP");
  guard.set("On");
  EXPECT_TRUE(KivClEnvironmentVariableQueryOnly("KIV_NO_ASSERT_POPUP").hasValueEnabled());
  guard.unset();
  EXPECT_FALSE(KivClEnvironmentVariableQueryOnly("KIV_NO_ASSERT_POPUP").hasValueEnabled());
}

// ---------------------------------------------------------------------------
// Setting, appending, removing
// ---------------------------------------------------------------------------

TEST(EnvironmentVariable, EmptyValueSetsVariableToEmptyText) {
  kivtest::EnvGuard guard(kName);
  guard.unset();
  KivClEnvironmentVariable variable(kName, "");
  EXPECT_TRUE(variable.hasValue());
  EXPECT_STREQ(variable.getValue(), "");
  EXPECT_STREQ(getenv(kName), "");
}

TEST(EnvironmentVariable, ConstructorSetsValue) {
  kivtest::EnvGuard guard(kName);
  guard.unset();
  KivClEnvironmentVariable variable(kName, "value");
  EXPECT_STREQ(getenv(kName), "value");
  EXPECT_STREQ(variable.getName(), kName);
}

TEST(EnvironmentVariable, ConstructorWithNullValueRemovesVariable) {
  kivtest::EnvGuard guard(kName);
  guard.set("before");
  KivClEnvironmentVariable variable(kName, nullptr);
  EXPECT_FALSE(variable.hasValue());
  EXPECT_EQ(getenv(kName), nullptr);
}

TEST(EnvironmentVariable, EnvironmentKeepsPointerIntoTheObject) {
  kivtest::EnvGuard guard(kName);
  KivClEnvironmentVariable variable(kName, "inside");
  EXPECT_TRUE(environmentPointsInto(variable));
  const char* value = getenv(kName);
  ASSERT_NE(value, nullptr);
  EXPECT_GE(value, reinterpret_cast<const char*>(&variable));
  EXPECT_LT(value, reinterpret_cast<const char*>(&variable) + sizeof variable);
}

TEST(EnvironmentVariable, SetNewValueReplacesValue) {
  kivtest::EnvGuard guard(kName);
  KivClEnvironmentVariable variable(kName, "one");
  EXPECT_TRUE(variable.setNewValue("two, longer than one"));
  EXPECT_STREQ(getenv(kName), "two, longer than one");
  EXPECT_TRUE(variable.setNewValue("3"));
  EXPECT_STREQ(getenv(kName), "3");
}

TEST(EnvironmentVariable, SetNewValueReplacesValueSetElsewhere) {
  kivtest::EnvGuard guard(kName);
  guard.set("from setenv");
  KivClEnvironmentVariable variable(kName, "from the object");
  EXPECT_STREQ(getenv(kName), "from the object");
}

TEST(EnvironmentVariable, SetNewValueAcceptsItsOwnCurrentValue) {
  kivtest::EnvGuard guard(kName);
  KivClEnvironmentVariable variable(kName, "same");
  EXPECT_TRUE(variable.setNewValue(variable.getValue()));
  EXPECT_STREQ(getenv(kName), "same");
  // A tail of its own value, which overlaps the buffer.
  EXPECT_TRUE(variable.setNewValue(variable.getValue() + 2));
  EXPECT_STREQ(getenv(kName), "me");
}

TEST(EnvironmentVariable, AppendValueJoinsWithoutSeparator) {
  kivtest::EnvGuard guard(kName);
  guard.set("a");
  KivClEnvironmentVariable variable(kName, "a");
  EXPECT_TRUE(variable.appendValue("b"));
  EXPECT_STREQ(getenv(kName), "ab");
}

TEST(EnvironmentVariable, AppendValueToValueSetElsewhere) {
  kivtest::EnvGuard guard(kName);
  KivClEnvironmentVariable variable(kName, nullptr);
  guard.set("/usr/bin");
  EXPECT_TRUE(variable.appendValue(":/opt/bin"));
  EXPECT_STREQ(getenv(kName), "/usr/bin:/opt/bin");
}

TEST(EnvironmentVariable, AppendValueToUnsetVariableGivesTheText) {
  kivtest::EnvGuard guard(kName);
  guard.unset();
  KivClEnvironmentVariable variable(kName, nullptr);
  EXPECT_TRUE(variable.appendValue("b"));
  EXPECT_STREQ(getenv(kName), "b");
}

TEST(EnvironmentVariable, RepeatedAppendsToOwnValue) {
  kivtest::EnvGuard guard(kName);
  KivClEnvironmentVariable variable(kName, "x");
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(variable.appendValue("yz"));
  EXPECT_STREQ(getenv(kName), "xyzyzyz");
  EXPECT_TRUE(variable.appendValue(nullptr));
  EXPECT_TRUE(variable.appendValue(""));
  EXPECT_STREQ(getenv(kName), "xyzyzyz");
}

TEST(EnvironmentVariable, ResetValueRemovesVariable) {
  kivtest::EnvGuard guard(kName);
  guard.set("set elsewhere");
  KivClEnvironmentVariable variable(kName, nullptr);
  guard.set("set elsewhere again");
  EXPECT_TRUE(variable.resetValue());
  EXPECT_FALSE(variable.hasValue());
  EXPECT_EQ(getenv(kName), nullptr);
}

TEST(EnvironmentVariable, ResetValueRemovesVariableSetByTheObjectItself) {
  kivtest::EnvGuard guard(kName);
  KivClEnvironmentVariable variable(kName, "mine");
  ASSERT_TRUE(environmentPointsInto(variable));
  EXPECT_TRUE(variable.resetValue());
  EXPECT_FALSE(variable.hasValue());
  EXPECT_EQ(getenv(kName), nullptr);
  // No entry is left behind that still points into the object.
  EXPECT_FALSE(environmentPointsInto(variable));
  // And the variable can be set again.
  EXPECT_TRUE(variable.setNewValue("again"));
  EXPECT_STREQ(getenv(kName), "again");
}

TEST(EnvironmentVariable, ResetOfUnsetVariableSucceeds) {
  kivtest::EnvGuard guard(kName);
  guard.unset();
  KivClEnvironmentVariable variable(kName, nullptr);
  EXPECT_TRUE(variable.resetValue());
  EXPECT_FALSE(variable.hasValue());
}

TEST(EnvironmentVariable, DestructorHandsValueOverToTheEnvironment) {
  kivtest::EnvGuard guard(kName);
  auto variable = std::make_unique<KivClEnvironmentVariable>(kName, "kept");
  ASSERT_TRUE(environmentPointsInto(*variable));
  variable.reset();
  // With the object's storage freed, the environment still has the value,
  // in storage of its own (a sanitizer build would catch a read of freed
  // memory here).
  EXPECT_STREQ(getenv(kName), "kept");
  EXPECT_TRUE(KivClEnvironmentVariableQueryOnly(kName).hasValue());
}

TEST(EnvironmentVariable, DestructorLeavesVariableSetElsewhereAlone) {
  kivtest::EnvGuard guard(kName);
  {
    KivClEnvironmentVariable variable(kName, "object");
    guard.set("guard");
  }
  EXPECT_STREQ(getenv(kName), "guard");
}

TEST(EnvironmentVariable, CopyDoesNotOwnTheEnvironmentEntry) {
  kivtest::EnvGuard guard(kName);
  KivClEnvironmentVariable original(kName, "original");
  {
    KivClEnvironmentVariable copy(original);
    EXPECT_STREQ(copy.getName(), kName);
    EXPECT_FALSE(environmentPointsInto(copy));
    EXPECT_STREQ(copy.getValue(), "original");
    EXPECT_TRUE(copy.setNewValue("copy"));
    EXPECT_TRUE(environmentPointsInto(copy));
    EXPECT_FALSE(environmentPointsInto(original));
  }
  // The dying copy handed its value over.
  EXPECT_STREQ(getenv(kName), "copy");
}

TEST(EnvironmentVariable, AssignmentHandsOverTheOldVariable) {
  kivtest::EnvGuard guard(kName);
  kivtest::EnvGuard otherGuard("KIV_TEST_ENVVAR_OTHER");
  KivClEnvironmentVariable target(kName, "target");
  const KivClEnvironmentVariable source("KIV_TEST_ENVVAR_OTHER", "source");
  target = source;
  EXPECT_FALSE(environmentPointsInto(target));
  EXPECT_STREQ(getenv(kName), "target");
  EXPECT_STREQ(target.getName(), "KIV_TEST_ENVVAR_OTHER");
  EXPECT_STREQ(target.getValue(), "source");
}

// ---------------------------------------------------------------------------
// Size limits and bad names
// ---------------------------------------------------------------------------

TEST(EnvironmentVariable, ValueOfMaximumLengthFits) {
  kivtest::EnvGuard guard(kName);
  const std::string value(KIV_ENVVAR_VALUE_MAX, 'v');
  KivClEnvironmentVariable variable(kName, value.c_str());
  ASSERT_NE(getenv(kName), nullptr);
  EXPECT_EQ(std::string(getenv(kName)), value);
  EXPECT_GE(KIV_ENVVAR_VALUE_MAX, 4096u);
}

TEST(EnvironmentVariable, TooLongValueIsRefusedAndEnvironmentUnchanged) {
  kivtest::EnvGuard guard(kName);
  KivClEnvironmentVariable variable(kName, "short");
  const std::string value(KIV_ENVVAR_VALUE_MAX + 1, 'v');
  EXPECT_FALSE(variable.setNewValue(value.c_str()));
  EXPECT_STREQ(getenv(kName), "short");
}

TEST(EnvironmentVariable, AppendBeyondCapacityIsRefused) {
  kivtest::EnvGuard guard(kName);
  const std::string value(KIV_ENVVAR_VALUE_MAX - 1, 'v');
  KivClEnvironmentVariable variable(kName, value.c_str());
  EXPECT_TRUE(variable.appendValue("w"));
  EXPECT_FALSE(variable.appendValue("x"));
  EXPECT_EQ(std::string(getenv(kName)), value + "w");
}

TEST(EnvironmentVariable, NameOfFortyCharactersWorks) {
  const std::string name = "KIV_TEST_" + std::string(KIV_ENVVAR_NAME_MAX - 9, 'N');
  ASSERT_EQ(name.size(), 40u);
  kivtest::EnvGuard guard(name);
  KivClEnvironmentVariable variable(name.c_str(), "forty");
  EXPECT_STREQ(variable.getName(), name.c_str());
  EXPECT_STREQ(getenv(name.c_str()), "forty");
}

TEST(EnvironmentVariable, LongerNameIsRefusedNotCut) {
  const std::string name = "KIV_TEST_" + std::string(KIV_ENVVAR_NAME_MAX - 8, 'N');
  ASSERT_EQ(name.size(), 41u);
  const std::string cut = name.substr(0, KIV_ENVVAR_NAME_MAX);
  kivtest::EnvGuard guard(name);
  kivtest::EnvGuard cutGuard(cut);
  guard.unset();
  cutGuard.set("untouched");
  KivClEnvironmentVariable variable(name.c_str(), "value");
  EXPECT_STREQ(variable.getName(), "");
  EXPECT_FALSE(variable.hasValue());
  EXPECT_FALSE(variable.setNewValue("value"));
  EXPECT_FALSE(variable.appendValue("value"));
  EXPECT_EQ(getenv(name.c_str()), nullptr);
  EXPECT_STREQ(getenv(cut.c_str()), "untouched");
  EXPECT_FALSE(environmentPointsInto(variable));
}

TEST(EnvironmentVariable, NullNameIsRefused) {
  KivClEnvironmentVariable variable(nullptr, "value");
  EXPECT_STREQ(variable.getName(), "");
  EXPECT_FALSE(variable.hasValue());
  EXPECT_FALSE(variable.setNewValue("value"));
  EXPECT_FALSE(environmentPointsInto(variable));
}

TEST(EnvironmentVariable, NameWithEqualsSignCannotBeSet) {
  kivtest::EnvGuard guard("KIV_TEST");
  guard.unset();
  KivClEnvironmentVariable variable("KIV_TEST=X", "value");
  EXPECT_FALSE(variable.setNewValue("value"));
  EXPECT_EQ(getenv("KIV_TEST"), nullptr);
  EXPECT_FALSE(environmentPointsInto(variable));
}

// ---------------------------------------------------------------------------
// KivClEnvironmentVariableQueryOnly
// ---------------------------------------------------------------------------

TEST(EnvironmentVariableQueryOnly, DefaultObjectHasNoValue) {
  kivtest::EnvGuard guard("?");
  guard.unset();
  const KivClEnvironmentVariableQueryOnly variable;
  EXPECT_STREQ(variable.getName(), "?");
  EXPECT_FALSE(variable.hasValue());
  EXPECT_EQ(variable.getValue(), nullptr);
  EXPECT_FALSE(variable.hasValueEnabled());
}

TEST(EnvironmentVariableQueryOnly, CopiesTheNameOfAnotherVariable) {
  kivtest::EnvGuard guard(kName);
  KivClEnvironmentVariable setter(kName, "shared");
  const KivClEnvironmentVariableQueryOnly reader(setter);
  EXPECT_STREQ(reader.getName(), kName);
  EXPECT_STREQ(reader.getValue(), "shared");
  const KivClEnvironmentVariableQueryOnly copy(reader);
  EXPECT_STREQ(copy.getValue(), "shared");
}

TEST(EnvironmentVariableQueryOnly, SetNewNameSwitchesVariable) {
  kivtest::EnvGuard guard(kName);
  kivtest::EnvGuard otherGuard("KIV_TEST_ENVVAR_OTHER");
  guard.set("first");
  otherGuard.set("second");
  KivClEnvironmentVariableQueryOnly variable;
  EXPECT_TRUE(variable.setNewName(kName));
  EXPECT_STREQ(variable.getValue(), "first");
  EXPECT_TRUE(variable.setNewName("KIV_TEST_ENVVAR_OTHER"));
  EXPECT_STREQ(variable.getValue(), "second");
}

TEST(EnvironmentVariableQueryOnly, SetNewNameRefusesNullAndTooLongNames) {
  kivtest::EnvGuard guard(kName);
  guard.set("x");
  KivClEnvironmentVariableQueryOnly variable(kName);
  EXPECT_FALSE(variable.setNewName(std::string(KIV_ENVVAR_NAME_MAX + 1, 'N').c_str()));
  EXPECT_STREQ(variable.getName(), "");
  EXPECT_FALSE(variable.hasValue());
  EXPECT_FALSE(variable.setNewName(nullptr));
  EXPECT_STREQ(variable.getName(), "");
}

}  // namespace
