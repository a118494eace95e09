// Variables that differ in letter case alone, which only this system has.

#include <gtest/gtest.h>
#include <unistd.h>

#include "common/environment/ScopedEnvironment.h"
#include "platform/platform.h"

TEST(EnvironmentPosixTest, ExactNameComesFirst) {
  const ScopedEnvironment upper("KST_ENVIRONMENT4", "upper");
  const ScopedEnvironment lower("kst_environment4", "lower");
  EXPECT_STREQ(platform::Environment("KST_ENVIRONMENT4"), "upper");
  EXPECT_STREQ(platform::Environment("kst_environment4"), "lower");
  EXPECT_NE(platform::Environment("Kst_Environment4"), nullptr);
}

TEST(EnvironmentPosixTest, NoEnvironment) {
  char** const before = environ;
  environ = nullptr;
  EXPECT_EQ(platform::Environment("KST_ENVIRONMENT4"), nullptr);
  char malformed[] = "KST_ENVIRONMENT4";
  char* entries[] = {malformed, nullptr};
  environ = entries;
  EXPECT_EQ(platform::Environment("kst_environment4"), nullptr);
  environ = before;
}
