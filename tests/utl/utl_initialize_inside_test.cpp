#include "utl/utl_initialize.h"

#include <gtest/gtest.h>

#include "common/environment/ScopedEnvironment.h"
#include "common/failing/WatchedSockets.h"
#include "rgx/rgx_ReCompileCache.h"
#include "thr/thr_ThreadPool.h"
#include "typ/typ_DebugFlags.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_Version.h"

namespace {

using Holder = thr_GlobalSingleton<utl_IOTracker_Container>;

TEST(InitializeTest, MovesTheCallersCountByOneAtTheRealStartAndEnd) {
  int first = 10;
  int second = 20;
  utl_initialize(first);
  EXPECT_EQ(first, 11);
  utl_initialize(second);
  utl_initialize(first);
  EXPECT_EQ(first, 11);
  EXPECT_EQ(second, 20);

  utl_finalize(first);
  utl_finalize(first);
  EXPECT_EQ(first, 11);
  utl_finalize(second);
  EXPECT_EQ(first, 11);
  EXPECT_EQ(second, 19);
}

TEST(InitializeTest, TheLastEndTakesTheLibraryDown) {
  int count = 0;
  utl_initialize(count);
  utl_initialize(count);
  Holder::Instance();
  utl_finalize(count);
  EXPECT_NE(Holder::Look(), nullptr);
  utl_finalize(count);
  EXPECT_EQ(Holder::Look(), nullptr);
}

TEST(InitializeTest, TheEndReachesEveryObjectAndLibrary) {
  int count = 0;
  utl_initialize(count);
  omi_Singleton<utl_Version>::Instance();
  thr_GlobalSingleton<utl_CommandLine>::Instance();
  thr_GlobalSingleton<thr_ThreadPool>::Instance();
  thr_ThreadSingleton<rgx_ReCompileCache>::Instance();
  typ_DebugFlags::SetDebugFlags("utl", 3);
  utl_finalize(count);
  EXPECT_EQ(omi_Singleton<utl_Version>::Look(), nullptr);
  EXPECT_EQ(thr_GlobalSingleton<utl_CommandLine>::Look(), nullptr);
  EXPECT_EQ(thr_GlobalSingleton<thr_ThreadPool>::Look(), nullptr);
  EXPECT_EQ(thr_ThreadSingleton<rgx_ReCompileCache>::Look(), nullptr);
  EXPECT_EQ(typ_DebugFlags::Level("utl"), 0);
}

TEST(InitializeTest, ObjectsThatWereNeverMadeAreSkipped) {
  const ScopedEnvironment learner("KES_LEARNER", nullptr);
  const auto expectNone = [] {
    EXPECT_EQ(omi_Singleton<utl_Version>::Look(), nullptr);
    EXPECT_EQ(thr_GlobalSingleton<utl_CommandLine>::Look(), nullptr);
    EXPECT_EQ(thr_GlobalSingleton<thr_ThreadPool>::Look(), nullptr);
    EXPECT_EQ(Holder::Look(), nullptr);
  };
  int count = 0;
  utl_initialize(count);
  utl_finalize(count);
  utl_initialize(count);
  expectNone();
  utl_finalize(count);
  expectNone();
}

TEST(InitializeTest, StartsAnewAfterTheEnd) {
  int count = 0;
  for (int round = 0; round < 3; ++round) {
    utl_initialize(count);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(Holder::Instance().Tracker(), nullptr);
    utl_finalize(count);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(Holder::Look(), nullptr);
  }
}

TEST(InitializeTest, SocketsEndBetweenTheCommandLineAndTheTracker) {
  using CommandLine = thr_GlobalSingleton<utl_CommandLine>;
  using Version = omi_Singleton<utl_Version>;
  const WatchedSockets sockets([] {
    EXPECT_EQ(Version::Look(), nullptr);
    EXPECT_EQ(CommandLine::Look(), nullptr);
    EXPECT_NE(Holder::Look(), nullptr);
  });
  int count = 0;
  utl_initialize(count);
  EXPECT_EQ(sockets.Starts(), std::vector<WORD>{0x0002});
  Version::Instance();
  CommandLine::Instance();
  Holder::Instance();
  utl_finalize(count);
  EXPECT_EQ(sockets.Ends(), 1);
  EXPECT_EQ(Holder::Look(), nullptr);
}

// One end too many: the nesting goes below zero, and the next start only makes up for it.
TEST(InitializeTest, AnEndWithoutAStartIsMadeUpForByTheNextStart) {
  int count = 0;
  Holder::Instance();
  utl_finalize(count);
  EXPECT_EQ(count, 0);
  EXPECT_NE(Holder::Look(), nullptr);

  utl_initialize(count);
  EXPECT_EQ(count, 0);
  utl_initialize(count);
  EXPECT_EQ(count, 1);
  utl_finalize(count);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(Holder::Look(), nullptr);
}

}  // namespace
