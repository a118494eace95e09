#include "utl/utl_TrackedOperation.h"

#include <stdexcept>

#include "utl/tracker/TrackerTest.h"

namespace {

using TrackedOperationTest = IOTrackerTest;

TEST_F(TrackedOperationTest, IsReportedAtItsEnd) {
  utl_IOTracker& tracker = StartTracker("3");
  {
    utl_TrackedOperation writing(utl_TrackedWrite, "a.kdb");
    writing.SetBytes(3 * kMegabyte);
    EXPECT_EQ(tracker.CCount(), 0);
  }
  {
    utl_TrackedOperation reading(utl_TrackedRead, std::string("a.kdb"));
    reading.SetBytes(kMegabyte);
  }
  EXPECT_EQ(tracker.CCount(), 1);
  const utl_IOTrackerRecord record = Totals(tracker, "a.kdb");
  EXPECT_EQ(record.writeCount, 1);
  EXPECT_EQ(record.writeMB, 3);
  EXPECT_GE(record.writeTime, 0);
  EXPECT_EQ(record.readCount, 1);
  EXPECT_EQ(record.readMB, 1);
  EXPECT_EQ(record.opens, 3) << "twice here, once to ask";
}

TEST_F(TrackedOperationTest, OfUnsaidSizeMovesNothing) {
  utl_IOTracker& tracker = StartTracker("1");
  { const utl_TrackedOperation reading(utl_TrackedRead, "a"); }
  const utl_IOTrackerRecord record = Totals(tracker, "a");
  EXPECT_EQ(record.readCount, 1);
  EXPECT_EQ(record.readMB, 0);
}

TEST_F(TrackedOperationTest, ThatFailsIsNotReported) {
  utl_IOTracker& tracker = StartTracker("1");
  try {
    utl_TrackedOperation writing(utl_TrackedWrite, "a");
    writing.SetBytes(1);
    throw std::runtime_error("no space");
  } catch (const std::runtime_error&) {
    EXPECT_EQ(tracker.CCount(), 0);
  }
}

TEST_F(TrackedOperationTest, NestsWithOthers) {
  utl_IOTracker& tracker = StartTracker("1");
  {
    utl_TrackedOperation reading(utl_TrackedRead, "a");
    utl_TrackedOperation writing(utl_TrackedWrite, "b");
    reading.SetBytes(kMegabyte);
    writing.SetBytes(2 * kMegabyte);
  }
  EXPECT_EQ(Totals(tracker, "a").readMB, 1);
  EXPECT_EQ(Totals(tracker, "b").writeMB, 2);
}

TEST_F(TrackedOperationTest, ThatEndsAfterTheTrackerMakesNoOther) {
  StartTracker("1");
  {
    const utl_TrackedOperation reading(utl_TrackedRead, "a");
    TrackerHolder::Destroy();
  }
  EXPECT_EQ(TrackerHolder::Look(), nullptr);
}

TEST_F(TrackedOperationTest, MakesTheHolderButNoTracker) {
  { const utl_TrackedOperation reading(utl_TrackedRead, "a"); }
  ASSERT_NE(TrackerHolder::Look(), nullptr);
  EXPECT_EQ(TrackerHolder::Look()->Tracker(), nullptr);
}

}  // namespace
