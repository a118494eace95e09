// The tracker as a whole: its interface, its making, its sums.

#include "utl/utl_IOTracker.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "common/expect/ExceptionContract.h"
#include "utl/tracker/TrackerTest.h"

namespace {

static_assert(std::is_abstract_v<utl_IOTracker>);
static_assert(!std::is_copy_constructible_v<utl_IOTracker_Container>);

// One pointer, and the record's fields in their order.
static_assert(sizeof(utl_IOTracker_Container) == sizeof(void*));
using Record = utl_IOTrackerRecord;
static_assert(offsetof(Record, writeCount) == 0 && offsetof(Record, writeMB) == 8 &&
              offsetof(Record, writeTime) == 16 && offsetof(Record, readCount) == 24 &&
              offsetof(Record, readMB) == 32 && offsetof(Record, readTime) == 40 &&
              offsetof(Record, bytesWritten) == 48 && offsetof(Record, bytesRead) == 56 &&
              offsetof(Record, opens) == 64 && offsetof(Record, kind) == 68 &&
              offsetof(Record, seeks) == 72 && sizeof(Record) == 80);

using T = utl_IOTracker;

TEST_F(IOTrackerTest, OrderOfTheInterface) {
  using exception_contract::Slot;
  const std::intptr_t slots[] = {
      Slot(&T::Mark),      Slot(&T::TimePoint),       Slot(&T::COpen),
      Slot(&T::CClose),    Slot(&T::CRename),         Slot(&T::CWrite),
      Slot(&T::CRead),     Slot(&T::CSeek),           Slot(&T::CSetKind),
      Slot(&T::CKind),     Slot(&T::CTotals),         Slot(&T::CIncrements),
      Slot(&T::CCount),    Slot(&T::CPath),           Slot(&T::UOpen),
      Slot(&T::UClose),    Slot(&T::URename),         Slot(&T::UWrite),
      Slot(&T::URead),     Slot(&T::USeek),           Slot(&T::USetKind),
      Slot(&T::UKind),     Slot(&T::UTotals),         Slot(&T::UIncrements),
      Slot(&T::UCount),    Slot(&T::UPath),           Slot(&T::Now),
      Slot(&T::Level),     Slot(&T::SumTotals),       Slot(&T::SumIncrements),
      Slot(&T::SetSuffix), Slot(&T::WriteIncrements), Slot(&T::FlushOutputs)};
  std::intptr_t expected = 2;  // after the destructor's two
  for (const std::intptr_t slot : slots) {
    EXPECT_EQ(slot, expected++);
  }
  EXPECT_EQ(expected, 2 + 1 + 32);
}

TEST_F(IOTrackerTest, NewRecordIsZeroAndUnclassified) {
  const Record record;
  EXPECT_EQ(Quantities(record), (Numbers{0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(record.bytesWritten + record.bytesRead + record.opens + record.seeks, 0);
  EXPECT_EQ(record.kind, 2);
}

TEST_F(IOTrackerTest, EnvironmentGivesTheLevel) {
  const struct {
    const char* value;  // null: not set
    int level;          // 0: no tracker
  } cases[] = {{nullptr, 0},     {"", 0},   {"0", 0},
               {"on", 0},        {"-1", 0}, {"-99999999999999999999", 0},
               {"x1", 0},        {"1", 1},  {" 1", 1},
               {"1x", 1},        {"+2", 2}, {"2", 2},
               {"3", 3},         {"4", 3},  {"99999999999999999999", 3},
               {"4294967296", 3}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.value == nullptr ? "unset" : one.value);
    TrackerHolder::Destroy();
    SetEnvironment("KES_IO_TRACK", one.value);
    utl_IOTracker* const tracker = TrackerHolder::Instance().Tracker();
    EXPECT_EQ(tracker == nullptr ? 0 : tracker->Level(), one.level);
  }
}

TEST_F(IOTrackerTest, EnvironmentIsReadWhenTheHolderIsMade) {
  utl_IOTracker_Container& holder = TrackerHolder::Instance();
  SetEnvironment("KES_IO_TRACK", "1");
  EXPECT_EQ(holder.Tracker(), nullptr);
  EXPECT_EQ(TrackerHolder::Instance().Tracker(), nullptr);
  TrackerHolder::Destroy();
  EXPECT_NE(TrackerHolder::Instance().Tracker(), nullptr);
}

TEST_F(IOTrackerTest, EachHolderHasATrackerOfItsOwn) {
  StartTracker("1").CWrite(1, 1, 0);
  EXPECT_EQ(StartTracker("2").CCount(), 0);
}

TEST_F(IOTrackerTest, TimeGoesOnFromTheMaking) {
  utl_IOTracker& tracker = StartTracker("1");
  const double first = tracker.Now();
  EXPECT_GE(first, 0);
  while (tracker.Now() == first) {
  }
  EXPECT_GT(tracker.Now(), first);
}

TEST_F(IOTrackerTest, TablesAreApart) {
  utl_IOTracker& tracker = StartTracker("1");
  tracker.COpen(1, "c");
  tracker.UOpen(1, "u");
  tracker.CWrite(1, 1, 0);
  EXPECT_EQ(tracker.CCount(), 1);
  EXPECT_EQ(tracker.UCount(), 1);
  EXPECT_STREQ(tracker.CPath(0), "c");
  EXPECT_STREQ(tracker.UPath(0), "u");
  utl_IOTrackerRecord record;
  EXPECT_TRUE(tracker.UTotals(1, record));
  EXPECT_EQ(record.writeCount, 0);
}

TEST_F(IOTrackerTest, SumsAreOverBothTables) {
  utl_IOTracker& tracker = StartTracker("3");
  tracker.COpen(1, "c");
  tracker.CWrite(1, kMegabyte, 1);
  tracker.UOpen(1, "u");
  tracker.UWrite(1, 2 * kMegabyte, 2);
  tracker.USeek(1, 0);
  tracker.CWrite(2, 4 * kMegabyte, 4);  // never classified
  tracker.UOpen(2, "s");
  tracker.USetKind(2, 0);
  tracker.URead(2, 8 * kMegabyte, 8);
  utl_IOTrackerRecord work, scratch;
  tracker.SumTotals(1, work);
  EXPECT_EQ(Quantities(work), (Numbers{3, 7, 7, 0, 0, 0}));
  EXPECT_EQ(work.bytesWritten, 7 * kMegabyte);
  EXPECT_EQ(work.opens, 2);
  EXPECT_EQ(work.seeks, 1);
  EXPECT_EQ(work.kind, 1);
  tracker.SumTotals(0, scratch);
  EXPECT_EQ(Quantities(scratch), (Numbers{0, 0, 0, 1, 8, 8}));
  EXPECT_EQ(scratch.kind, 0);
  tracker.SumIncrements(0, scratch);
  EXPECT_EQ(Quantities(scratch), (Numbers{0, 0, 0, 1, 8, 8}));
}

TEST_F(IOTrackerTest, AnyKindButScratchSumsTheWorkFiles) {
  utl_IOTracker& tracker = StartTracker("1");
  tracker.CWrite(2, kMegabyte, 1);
  for (const int kind : {1, 2, 3, -1}) {
    utl_IOTrackerRecord sum;
    tracker.SumTotals(kind, sum);
    EXPECT_EQ(sum.writeCount, 1) << kind;
    tracker.SumIncrements(kind, sum);
    EXPECT_EQ(sum.writeCount, 1) << kind;
  }
}

TEST_F(IOTrackerTest, SumsOfNothingAreZero) {
  utl_IOTracker& tracker = StartTracker("1");
  for (const int kind : {0, 1}) {
    utl_IOTrackerRecord sum = {1, 2, 3, 4, 5, 6, 7, 8, 9, 2, 10};
    tracker.SumTotals(kind, sum);
    EXPECT_EQ(Quantities(sum), (Numbers{0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(sum.bytesWritten + sum.bytesRead + sum.opens + sum.seeks, 0);
    EXPECT_EQ(sum.kind, kind);
  }
}

}  // namespace
