// Environment variables, whose names know no letter case.

#include <gtest/gtest.h>

#include "common/child/ChildProcess.h"
#include "common/environment/ScopedEnvironment.h"
#include "platform/platform.h"

TEST(EnvironmentTest, LetterCaseOfNamesDoesNotMatter) {
  const ScopedEnvironment variable("Kst_Environment1", "value");
  for (const char* name : {"Kst_Environment1", "KST_ENVIRONMENT1", "kst_environment1"}) {
    EXPECT_STREQ(platform::Environment(name), "value") << name;
  }
  for (const char* name : {"Kst_Environment", "Kst_Environment10", "", "Kst_"}) {
    EXPECT_EQ(platform::Environment(name), nullptr) << name;
  }
}

TEST(EnvironmentTest, ClearedVariable) {
  { const ScopedEnvironment variable("KST_ENVIRONMENT2", "value"); }
  EXPECT_EQ(platform::Environment("kst_environment2"), nullptr);
  const ScopedEnvironment nothing("KST_ENVIRONMENT2", "");
  EXPECT_EQ(platform::Environment("kst_environment2"), nullptr);
}

TEST_CHILD(tellEmptyVariable) {
  const char* value = platform::Environment("Kst_Environment3");
  return value != nullptr && *value == '\0' ? 0 : 1;
}

TEST(EnvironmentTest, EmptyVariableOfAChild) {
  SetEmptyForChildren("KST_ENVIRONMENT3");
  EXPECT_EQ(ChildProcess::Start("tellEmptyVariable").Wait(), 0);
  SetEnvironment("KST_ENVIRONMENT3", nullptr);
}
