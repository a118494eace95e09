#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "rgx/rgx_funcs.h"
#include "rgx/rgx_ReCompileCache.h"

namespace {

using Cache = thr_ThreadSingleton<rgx_ReCompileCache>;

// Runs `work(number)` on several threads at once and waits for all.
template <class Work>
void OnThreads(int count, Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) {
    threads.emplace_back(work, i);
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
}

TEST(RgxThreadsTest, EachThreadHasItsOwnCache) {
  Cache::Destroy();
  rgx_match("main", "");
  OnThreads(8, [](int) {
    EXPECT_EQ(Cache::Look(), nullptr);
    EXPECT_EQ(Cache::Instance().Size(), 0);
    rgx_match("other", "");
    EXPECT_TRUE(Cache::Instance().IsMember("other"));
    EXPECT_FALSE(Cache::Instance().IsMember("main"));
  });
  EXPECT_EQ(Cache::Instance().Size(), 1);
  EXPECT_FALSE(Cache::Instance().IsMember("other"));
}

// The slot that all threads share is made and given back again and again.
TEST(RgxThreadsTest, ThreadsThatComeAndGo) {
  Cache::Destroy();
  std::atomic<int> right{0};
  for (int round = 0; round < 40; ++round) {
    OnThreads(8, [&right, round](int number) {
      const cow_String pattern(std::to_string(number) + "(" + std::to_string(round) +
                               "+)");
      const cow_String subject(std::to_string(number) + std::to_string(round));
      right += rgx_match(pattern, subject).NthString(1) == std::to_string(round) ? 1 : 0;
    });
  }
  EXPECT_EQ(right, 40 * 8);
  EXPECT_EQ(Cache::Look(), nullptr);
}

TEST(RgxThreadsTest, EvictionsInManyThreadsAtOnce) {
  OnThreads(8, [](int number) {
    for (int i = 0; i < 400; ++i) {
      const cow_String text(std::to_string(1000 * number + i));
      EXPECT_EQ(rgx_match("^" + text + "$", text).String(), text);
    }
    // Full at 100, 150, 200, ... patterns.
    EXPECT_EQ(Cache::Instance().Size(), 100);
  });
}

TEST(RgxThreadsTest, ResultsAndPatternsMayBeSharedByCopy) {
  const cow_String pattern("(\\d+)");
  const cow_String subject("run 12 of 40");
  const rgx_ReIterator found = rgx_match(pattern, subject);
  OnThreads(8, [&](int) {
    for (int i = 0; i < 200; ++i) {
      rgx_ReIterator copy = found;
      copy.SetCurrentGroup(1);
      EXPECT_EQ(copy.String(), "12");
      EXPECT_EQ(rgx_subn(pattern, "<$1>", subject, 2), "run <12> of <12>");
    }
  });
}

}  // namespace
