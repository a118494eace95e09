#include "common/Progress.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <string>
#include <thread>

namespace {

class ProgressTest : public testing::Test {
 protected:
  // What is shown of half the work when it has taken more than a second.
  std::string ShownHalf(bool isTerminal) {
    const Console console{out_, err_, isTerminal};
    Progress progress(console, 10);
    progress.Add(-7);
    std::this_thread::sleep_for(std::chrono::milliseconds(1100));
    progress.Add(5);
    return err_.str();
  }

  std::ostringstream out_;
  std::ostringstream err_;
};

TEST_F(ProgressTest, BarShowsThePartAfterASecondAndIsWipedAway) {
  const std::string full(20, '#');
  const std::string empty(20, ' ');
  const std::string shown = ShownHalf(true);
  EXPECT_NE(shown.find("[" + full + empty + "]  50 %"), std::string::npos) << shown;
  EXPECT_EQ(err_.str(), shown + '\r' + std::string(48, ' ') + '\r');
  EXPECT_EQ(out_.str(), "");
}

TEST_F(ProgressTest, WhatNobodyWatchesShowsNothing) {
  ShownHalf(false);
  EXPECT_EQ(err_.str(), "");
}

}  // namespace
