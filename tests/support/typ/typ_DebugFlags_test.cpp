#include "typ/typ_DebugFlags.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace {

class TypDebugFlagsTest : public testing::Test {
 protected:
  ~TypDebugFlagsTest() override { typ_DebugFlags::Clear(); }
};

TEST_F(TypDebugFlagsTest, FlagNeverSetHasLevelZero) {
  EXPECT_EQ(typ_DebugFlags::Level("utl"), 0);
  EXPECT_EQ(typ_DebugFlags::Level(""), 0);
  EXPECT_EQ(typ_DebugFlags::Level(3), 0);
}

TEST_F(TypDebugFlagsTest, EveryNameIsAFlag) {
  typ_DebugFlags::SetDebugFlags("utl_File", 3);
  typ_DebugFlags::SetDebugFlags("rgx", 1);
  EXPECT_EQ(typ_DebugFlags::Level("utl_File"), 3);
  EXPECT_EQ(typ_DebugFlags::Level("rgx"), 1);
  EXPECT_EQ(typ_DebugFlags::Level("utl"), 0);
  EXPECT_EQ(typ_DebugFlags::Level("RGX"), 0);
}

TEST_F(TypDebugFlagsTest, LastLevelCounts) {
  typ_DebugFlags::SetDebugFlags("rgx", 2);
  typ_DebugFlags::SetDebugFlags("rgx", 0);
  EXPECT_EQ(typ_DebugFlags::Level("rgx"), 0);
}

TEST_F(TypDebugFlagsTest, NumberThreeIsUtl) {
  typ_DebugFlags::SetDebugFlags("utl", 3);
  EXPECT_EQ(typ_DebugFlags::Level(3), 3);
}

TEST_F(TypDebugFlagsTest, OtherNumbersHaveLevelZero) {
  typ_DebugFlags::SetDebugFlags("utl", 3);
  for (const int number : {-1, 0, 1, 2, 4, 100}) {
    EXPECT_EQ(typ_DebugFlags::Level(number), 0) << number;
  }
}

TEST_F(TypDebugFlagsTest, EmptyNameIsIgnored) {
  typ_DebugFlags::SetDebugFlags("", 3);
  EXPECT_EQ(typ_DebugFlags::Level(""), 0);
}

TEST_F(TypDebugFlagsTest, ClearSetsEveryFlagBack) {
  typ_DebugFlags::SetDebugFlags("utl", 3);
  typ_DebugFlags::SetDebugFlags("rgx", 1);
  typ_DebugFlags::Clear();
  EXPECT_EQ(typ_DebugFlags::Level("utl"), 0);
  EXPECT_EQ(typ_DebugFlags::Level("rgx"), 0);
}

TEST_F(TypDebugFlagsTest, ThreadsSetTheirFlagsAtTheSameTime) {
  std::vector<std::thread> threads;
  for (int i = 1; i <= 8; ++i) {
    threads.emplace_back([i] {
      for (int level = 0; level <= 100; ++level) {
        typ_DebugFlags::SetDebugFlags(std::to_string(i).c_str(), level);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  for (int i = 1; i <= 8; ++i) {
    EXPECT_EQ(typ_DebugFlags::Level(std::to_string(i).c_str()), 100);
  }
}

}  // namespace
