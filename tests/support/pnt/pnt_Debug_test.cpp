#include "pnt/pnt_Debug.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(PntDebugTest, OutputOfThreadsIsNotMixed) {
  constexpr int kLetters = 200;
  testing::internal::CaptureStdout();
  std::vector<std::thread> threads;
  for (const char letter : {'a', 'b', 'c', 'd'}) {
    threads.emplace_back([letter] {
      pnt_StartDebug();
      for (int i = 0; i < kLetters; ++i) {
        std::putchar(letter);
        std::fflush(stdout);
      }
      pnt_EndDebug();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  const std::string text = testing::internal::GetCapturedStdout();
  ASSERT_EQ(text.size(), 4U * kLetters);
  for (std::size_t i = 0; i < text.size(); i += kLetters) {
    EXPECT_EQ(text.substr(i, kLetters), std::string(kLetters, text[i]));
  }
}

TEST(PntDebugTest, EndFlushesStandardOutput) {
  testing::internal::CaptureStdout();
  pnt_StartDebug();
  std::printf("Free space");
  pnt_EndDebug();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Free space");
}

TEST(PntDebugTest, MarksNest) {
  pnt_StartDebug();
  pnt_StartDebug();
  pnt_EndDebug();
  pnt_EndDebug();
}

}  // namespace
