// The monitor in a copy of the process that goes on without a program of its own: the log
// is the parent's.

#include "common/child/ProcessCopy.h"
#include "utl/ResourceMonitorTest.h"

namespace {

using ResourceMonitorCopyTest = ProcessCopyTest<ResourceMonitorOnTest>;

TEST_F(ResourceMonitorCopyTest, WritesNothing) {
  Monitor().Initialize("beam");
  Monitor().StartTimer(1, "timer");
  ExpectInCopy([] {
    MarkAndTime();
    Finalize();
    return omi_Singleton<utl_ResourceMonitor>::Look() == nullptr;
  });
  ExpectInCopy([] { return true; });
  Monitor().StopTimer(1);
  Monitor().Mark("one");
  const UseLog log = FinishedLog();
  ASSERT_EQ(log.marks.size(), 3U);
  EXPECT_EQ(log.marks[1].Label(), In40("one"));
  EXPECT_TRUE(log.finished);
  EXPECT_EQ(log.timers.size(), 2U);
}

TEST_F(ResourceMonitorCopyTest, MayBeginALogOfItsOwn) {
  Monitor().Initialize("beam");
  ExpectInCopy([] {
    Monitor().Initialize("copy");
    Monitor().Mark("own");
    Finalize();
    return true;
  });
  const UseLog copys = Log("copy");
  ASSERT_EQ(copys.marks.size(), 3U);
  EXPECT_EQ(copys.marks[1].Label(), In40("own"));
  EXPECT_TRUE(copys.finished);
  EXPECT_EQ(Log().marks.size(), 1U);
  EXPECT_EQ(FinishedLog().marks.size(), 2U);
  EXPECT_NE(copys.Number(copys.marks[0], "ProcessID"),
            Log().Number(Log().marks[0], "ProcessID"));
}

TEST_F(ResourceMonitorCopyTest, BeginsOneWhereTheParentHasNone) {
  ExpectInCopy([] {
    Monitor().Initialize("beam");
    Finalize();
    return true;
  });
  EXPECT_TRUE(Log().finished);
}

}  // namespace
