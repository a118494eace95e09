// What one of the tracker's tables counts, and how its entries are found.

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <utility>

#include "utl/tracker/TrackerTest.h"
#include "utl/utl_IOTracker.h"

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// The same operations of one table and the other.
struct Operations {
  const char* name;
  void (utl_IOTracker::*open)(std::int64_t, const char*);
  void (utl_IOTracker::*close)(std::int64_t);
  void (utl_IOTracker::*rename)(std::int64_t, const char*);
  void (utl_IOTracker::*write)(std::int64_t, std::int64_t, double);
  void (utl_IOTracker::*read)(std::int64_t, std::int64_t, double);
  void (utl_IOTracker::*seek)(std::int64_t, double);
  void (utl_IOTracker::*setKind)(std::int64_t, int);
  int (utl_IOTracker::*kind)(std::int64_t);
  bool (utl_IOTracker::*totals)(std::int64_t, utl_IOTrackerRecord&);
  bool (utl_IOTracker::*increments)(std::int64_t, utl_IOTrackerRecord&);
  int (utl_IOTracker::*count)();
  const char* (utl_IOTracker::*path)(int);

  friend void PrintTo(const Operations& table, std::ostream* out) { *out << table.name; }
};

using T = utl_IOTracker;

constexpr Operations kTables[] = {
    {"C", &T::COpen, &T::CClose, &T::CRename, &T::CWrite, &T::CRead, &T::CSeek,
     &T::CSetKind, &T::CKind, &T::CTotals, &T::CIncrements, &T::CCount, &T::CPath},
    {"U", &T::UOpen, &T::UClose, &T::URename, &T::UWrite, &T::URead, &T::USeek,
     &T::USetKind, &T::UKind, &T::UTotals, &T::UIncrements, &T::UCount, &T::UPath}};

class IOTrackerTableTest : public IOTrackerTest,
                           public testing::WithParamInterface<Operations> {
 protected:
  template <class Function, class... Arguments>
  auto Call(Function function, Arguments&&... arguments) {
    return (tracker_->*function)(std::forward<Arguments>(arguments)...);
  }

  void Start(const char* level = "1") { tracker_ = &StartTracker(level); }

  void Open(std::int64_t key, const char* path) { Call(GetParam().open, key, path); }
  void Close(std::int64_t key) { Call(GetParam().close, key); }
  void Rename(std::int64_t key, const char* path) { Call(GetParam().rename, key, path); }
  void Write(std::int64_t key, std::int64_t bytes, double seconds = 0) {
    Call(GetParam().write, key, bytes, seconds);
  }
  void Read(std::int64_t key, std::int64_t bytes, double seconds = 0) {
    Call(GetParam().read, key, bytes, seconds);
  }
  void Seek(std::int64_t key) { Call(GetParam().seek, key, 0.5); }
  void SetKind(std::int64_t key, int kind) { Call(GetParam().setKind, key, kind); }
  int Kind(std::int64_t key) { return Call(GetParam().kind, key); }
  int Count() { return Call(GetParam().count); }
  std::string Path(int index) { return Call(GetParam().path, index); }
  const char* PathText(int index) { return Call(GetParam().path, index); }

  // Fails the test for an unknown key.
  utl_IOTrackerRecord Totals(std::int64_t key) { return Known(GetParam().totals, key); }
  utl_IOTrackerRecord Increments(std::int64_t key) {
    return Known(GetParam().increments, key);
  }
  bool IsKnown(std::int64_t key) {
    utl_IOTrackerRecord record;
    return Call(GetParam().totals, key, record);
  }

  utl_IOTracker* tracker_ = nullptr;

 private:
  utl_IOTrackerRecord Known(bool (utl_IOTracker::*query)(std::int64_t,
                                                         utl_IOTrackerRecord&),
                            std::int64_t key) {
    utl_IOTrackerRecord record;
    EXPECT_TRUE(Call(query, key, record)) << key;
    return record;
  }
};

INSTANTIATE_TEST_SUITE_P(Tables, IOTrackerTableTest, testing::ValuesIn(kTables),
                         [](const auto& table) { return table.param.name; });

TEST_P(IOTrackerTableTest, NewTrackerHasNoEntries) {
  Start();
  EXPECT_EQ(Count(), 0);
  EXPECT_EQ(Path(0), "");
}

TEST_P(IOTrackerTableTest, OpenMakesAnEntry) {
  Start();
  Open(7, "model.dat");
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Path(0), "model.dat");
  EXPECT_EQ(Kind(7), 1);
  EXPECT_EQ(Quantities(Totals(7)), (Numbers{0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(Totals(7).kind, 1);
  EXPECT_EQ(Increments(7).kind, 1);
}

TEST_P(IOTrackerTableTest, ARenamedFileLeavesItsEarlierNameToTheFileThatHasTakenIt) {
  Start();
  Open(1, "a");
  Open(2, "b");
  Rename(2, "a");
  Rename(1, "c");
  Write(2, kMegabyte);
  Open(3, "a");
  EXPECT_EQ(Quantities(Totals(3)), Quantities(Totals(2)));
  EXPECT_NE(Quantities(Totals(3)), Quantities(Totals(1)));
}

TEST_P(IOTrackerTableTest, WritesAndReadsAreCounted) {
  Start();
  Open(7, "a");
  Write(7, kMegabyte, 0.25);
  Write(7, kMegabyte / 2, 0.5);
  Read(7, 3 * kMegabyte, 1);
  Read(7, 1, 2);
  Read(7, 0, 0);
  const Numbers expected = {2, 1.5, 0.75, 3, 3 + 1.0 / kMegabyte, 3};
  EXPECT_EQ(Quantities(Totals(7)), expected);
  EXPECT_EQ(Quantities(Increments(7)), expected);
}

// 2^52 bytes in all are summed without a rounding.
TEST_P(IOTrackerTableTest, MegabytesOfManyBytesAreExact) {
  Start();
  Open(7, "a");
  for (int i = 0; i < 1024; ++i) {
    Write(7, (std::int64_t{1} << 42) + (i % 2));
  }
  EXPECT_EQ(Totals(7).writeMB, double(1LL << 32) + 512.0 / kMegabyte);
}

TEST_P(IOTrackerTableTest, NegativeAndMissingNumbersCountAsZero) {
  Start();
  Open(7, "a");
  for (const double seconds : {-1.0, -0.5, kNan, -kNan, -kInfinity, -0.0}) {
    Write(7, -1, seconds);
    Read(7, std::numeric_limits<std::int64_t>::min(), seconds);
  }
  EXPECT_EQ(Quantities(Totals(7)), (Numbers{6, 0, 0, 6, 0, 0}));
  EXPECT_EQ(Quantities(Increments(7)), (Numbers{6, 0, 0, 6, 0, 0}));
}

TEST_P(IOTrackerTableTest, InfiniteTimeCountsAsZero) {
  Start();
  Open(7, "a");
  for (const double seconds : {kInfinity, 0.5, kInfinity}) {
    Write(7, kMegabyte, seconds);
    Read(7, kMegabyte, seconds);
  }
  EXPECT_EQ(Quantities(Totals(7)), (Numbers{3, 3, 0.5, 3, 3, 0.5}));
  EXPECT_EQ(Quantities(Increments(7)), (Numbers{3, 3, 0.5, 3, 3, 0.5}));
}

// Only a single number must be finite.
TEST_P(IOTrackerTableTest, SumOfTimesMayBecomeInfinite) {
  constexpr double kMost = std::numeric_limits<double>::max();
  Start();
  Write(7, 0, kMost);
  EXPECT_EQ(Totals(7).writeTime, kMost);
  Write(7, 0, kMost);
  EXPECT_EQ(Totals(7).writeTime, kInfinity);
}

TEST_P(IOTrackerTableTest, UnknownKeyIsAnsweredWithZeros) {
  Start();
  for (const auto query : {GetParam().totals, GetParam().increments}) {
    utl_IOTrackerRecord record = {1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 10};
    EXPECT_FALSE(Call(query, 7, record));
    EXPECT_EQ(Quantities(record), (Numbers{0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(record.bytesWritten + record.bytesRead + record.opens + record.seeks, 0);
    EXPECT_EQ(record.kind, 2);
  }
  EXPECT_EQ(Kind(7), 2);
}

TEST_P(IOTrackerTableTest, UnknownKeyIsNotMadeByOperationsThatNeedAnEntry) {
  Start("3");
  Close(7);
  Rename(7, "a");
  Seek(7);
  SetKind(7, 0);
  EXPECT_EQ(Count(), 0);
  EXPECT_FALSE(IsKnown(7));
}

TEST_P(IOTrackerTableTest, OperationUnderAnUnknownKeyMakesABlankEntry) {
  Start();
  Write(7, kMegabyte, 1);
  Read(8, kMegabyte, 1);
  Write(8, kMegabyte, 1);
  ASSERT_EQ(Count(), 2);
  EXPECT_EQ(Path(0), " ");
  EXPECT_EQ(Path(1), " ");
  EXPECT_EQ(Kind(7), 2);
  EXPECT_EQ(Quantities(Totals(7)), (Numbers{1, 1, 1, 0, 0, 0}));
  EXPECT_EQ(Quantities(Totals(8)), (Numbers{1, 1, 1, 1, 1, 1}));
}

TEST_P(IOTrackerTableTest, BlankEntryIsNoFileOfThatName) {
  Start();
  Write(7, 1);
  Open(8, " ");
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(Totals(8).writeCount, 0);
  EXPECT_EQ(Kind(8), 1);
}

TEST_P(IOTrackerTableTest, BlankEntryGetsAPathByRenaming) {
  Start();
  Write(7, 1);
  Rename(7, "later");
  EXPECT_EQ(Path(0), "later");
  EXPECT_EQ(Kind(7), 2);
  Open(8, "later");
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Totals(8).writeCount, 1);
}

TEST_P(IOTrackerTableTest, ClosingRetiresTheKey) {
  Start();
  Open(7, "a");
  Write(7, kMegabyte);
  Close(7);
  EXPECT_FALSE(IsKnown(7));
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Path(0), "a");
  utl_IOTrackerRecord sum;
  tracker_->SumTotals(1, sum);
  EXPECT_EQ(sum.writeMB, 1);
  Close(7);
  Write(7, 1);
  EXPECT_EQ(Path(1), " ");
}

TEST_P(IOTrackerTableTest, OpeningAPathAgainRevivesItsEntry) {
  Start();
  Open(7, "a");
  Write(7, kMegabyte, 1);
  SetKind(7, 0);
  Close(7);
  Open(9, "a");
  EXPECT_EQ(Count(), 1);
  Write(9, kMegabyte, 1);
  EXPECT_EQ(Quantities(Totals(9)), (Numbers{2, 2, 2, 0, 0, 0}));
  EXPECT_EQ(Kind(9), 0);
  Open(9, "a");  // without closing
  EXPECT_EQ(Count(), 1);
}

TEST_P(IOTrackerTableTest, OnePathUnderTwoKeys) {
  Start();
  Open(7, "a");
  Open(8, "a");
  Write(7, 1);
  Write(8, 1);
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Totals(7).writeCount, 2);
  Close(7);
  Write(8, 1);
  EXPECT_EQ(Totals(8).writeCount, 3);
}

TEST_P(IOTrackerTableTest, OpeningUnderAKeyInUseMovesTheKey) {
  Start();
  Open(7, "a");
  Write(7, 1);
  Open(7, "b");
  Write(7, 1);
  Write(7, 1);
  EXPECT_EQ(Totals(7).writeCount, 2);
  EXPECT_EQ(Count(), 2);
  Open(7, "a");
  EXPECT_EQ(Totals(7).writeCount, 1);
  EXPECT_EQ(Count(), 2);
}

TEST_P(IOTrackerTableTest, OpeningUnderTheKeyOfABlankEntryLeavesThatBehind) {
  Start();
  Write(7, 1);
  Open(7, "a");
  EXPECT_EQ(Totals(7).writeCount, 0);
  EXPECT_EQ(Path(0), " ");
  EXPECT_EQ(Path(1), "a");
}

TEST_P(IOTrackerTableTest, PathsAreComparedAsTheyAreGiven) {
  Start();
  Open(1, "a");
  Open(2, "A");
  Open(3, ".\\a");
  EXPECT_EQ(Count(), 3);
}

TEST_P(IOTrackerTableTest, RenamingKeepsCountsAndKind) {
  LoadArguments({"-tmpdir", "scratch"});
  Start();
  Open(7, "scratch/a");
  Write(7, 1);
  Rename(7, "b");
  EXPECT_EQ(Path(0), "b");
  EXPECT_EQ(Kind(7), 0);
  EXPECT_EQ(Totals(7).writeCount, 1);
  Open(8, "b");
  EXPECT_EQ(Totals(8).writeCount, 1);
  EXPECT_EQ(Count(), 1);
}

TEST_P(IOTrackerTableTest, TheOldNameOfARenamedFileIsANewFile) {
  Start();
  Open(7, "a");
  Write(7, 1);
  Rename(7, "b");
  Open(8, "a");
  EXPECT_EQ(Count(), 2);
  EXPECT_EQ(Totals(8).writeCount, 0);
  EXPECT_EQ(Totals(7).writeCount, 1);
}

TEST_P(IOTrackerTableTest, RenamingToItsOwnNameChangesNothing) {
  Start();
  Open(7, "a");
  Rename(7, "a");
  Open(8, "a");
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Path(0), "a");
}

TEST_P(IOTrackerTableTest, RenamingOntoAnotherFileReplacesIt) {
  Start();
  Open(1, "a");
  Write(1, 1);
  Open(2, "b");
  Read(2, 1);
  Rename(2, "a");
  EXPECT_EQ(Path(0), "a");
  EXPECT_EQ(Path(1), "a");
  Open(3, "a");
  EXPECT_EQ(Totals(3).readCount, 1);
  EXPECT_EQ(Totals(1).writeCount, 1) << "its key still leads to it";
  Rename(3, "c");
  Open(4, "a");
  EXPECT_EQ(Count(), 3);
}

TEST_P(IOTrackerTableTest, KindIsWhatWasSet) {
  Start();
  Open(7, "a");
  const struct {
    int set, expected;
  } cases[] = {{0, 0}, {1, 1}, {2, 2}, {0, 0}, {3, 2}, {1, 1}, {-1, 2}};
  for (const auto& one : cases) {
    SetKind(7, one.set);
    EXPECT_EQ(Kind(7), one.expected) << one.set;
    EXPECT_EQ(Totals(7).kind, one.expected);
    EXPECT_EQ(Increments(7).kind, one.expected);
  }
}

TEST_P(IOTrackerTableTest, BelowLevel3TheFurtherFieldsStayZero) {
  for (const char* level : {"1", "2"}) {
    Start(level);
    Open(7, "a");
    Write(7, 10);
    Read(7, 10);
    Seek(7);
    const utl_IOTrackerRecord totals = Totals(7);
    EXPECT_EQ(totals.bytesWritten, 0);
    EXPECT_EQ(totals.bytesRead, 0);
    EXPECT_EQ(totals.opens, 0);
    EXPECT_EQ(totals.seeks, 0);
  }
}

TEST_P(IOTrackerTableTest, Level3CountsBytesOpensAndSeeks) {
  Start("3");
  Open(7, "a");
  Open(8, "a");
  Write(7, 10);
  Write(7, 20);
  Write(7, -1);
  Read(7, 5);
  Seek(7);
  Seek(8);
  Seek(8);
  for (const utl_IOTrackerRecord& record : {Totals(7), Increments(7)}) {
    EXPECT_EQ(record.bytesWritten, 30);
    EXPECT_EQ(record.bytesRead, 5);
    EXPECT_EQ(record.opens, 2);
    EXPECT_EQ(record.seeks, 3);
    EXPECT_EQ(record.writeCount, 3);
  }
}

TEST_P(IOTrackerTableTest, CountsStayAtTheirLimit) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  Start("3");
  Open(7, "a");
  Open(8, "b");
  for (const std::int64_t bytes : {kMost - 1, std::int64_t{5}, kMost}) {
    Write(7, bytes);
    Read(7, bytes);
  }
  Write(8, 5);
  EXPECT_EQ(Totals(7).bytesWritten, kMost);
  EXPECT_EQ(Totals(7).bytesRead, kMost);
  utl_IOTrackerRecord sum;
  tracker_->SumTotals(1, sum);
  EXPECT_EQ(sum.bytesWritten, kMost);
  EXPECT_EQ(sum.writeCount, 4);
}

TEST_P(IOTrackerTableTest, AnyNumberIsAKey) {
  Start();
  using Limits = std::numeric_limits<std::int64_t>;
  const std::int64_t keys[] = {
      0, -1, Limits::min(), Limits::max(), 0x7F0000000010, std::int64_t{1} << 32};
  for (const std::int64_t key : keys) {
    Open(key, std::to_string(key).c_str());
  }
  for (const std::int64_t key : keys) {
    Write(key, 1);
  }
  EXPECT_EQ(Count(), 6);
  for (const std::int64_t key : keys) {
    EXPECT_EQ(Totals(key).writeCount, 1) << key;
  }
}

TEST_P(IOTrackerTableTest, PathsAreCutAt1023Characters) {
  for (const std::size_t length : {0U, 1U, 1022U, 1023U, 1024U, 2048U, 100000U}) {
    Start();
    const std::string path(length, 'p');
    Open(7, path.c_str());
    EXPECT_EQ(Path(0), path.substr(0, 1023)) << length;
    Rename(7, ("q" + path).c_str());
    EXPECT_EQ(Path(0), ("q" + path).substr(0, 1023)) << length;
  }
}

TEST_P(IOTrackerTableTest, PathsThatDifferBehindTheCutAreOne) {
  Start();
  const std::string path(1023, 'p');
  Open(1, (path + "a").c_str());
  Open(2, (path + "b").c_str());
  Open(3, path.c_str());
  EXPECT_EQ(Count(), 1);
}

TEST_P(IOTrackerTableTest, NullIsTheEmptyPath) {
  Start();
  Open(7, nullptr);
  Open(8, "");
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Path(0), "");
  EXPECT_EQ(Kind(7), 1);
  Open(9, "a");
  Rename(9, nullptr);
  EXPECT_EQ(Path(1), "");
}

TEST_P(IOTrackerTableTest, IndexOutOfRangeIsTheEmptyPath) {
  Start();
  Open(7, "a");
  for (const int index :
       {-1, 1, 24, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_EQ(Path(index), "") << index;
  }
}

TEST_P(IOTrackerTableTest, PathTextsStayWhileTheTableGrowsAndFilesAreRenamed) {
  Start();
  Open(0, "first");
  const char* const first = PathText(0);
  Rename(0, "renamed");
  const char* const renamed = PathText(0);
  for (int i = 1; i < 1000; ++i) {
    Open(i, ("f" + std::to_string(i)).c_str());
  }
  EXPECT_STREQ(first, "first");
  EXPECT_STREQ(renamed, "renamed");
  EXPECT_EQ(PathText(0), renamed);
}

TEST_P(IOTrackerTableTest, EntriesKeepTheOrderOfTheirMaking) {
  Start();
  for (int i = 0; i < 50; ++i) {
    Open(1000 - i, ("f" + std::to_string(i)).c_str());
    Write(1000 - i, i);
    if (i % 3 == 0) {
      Close(1000 - i);
    }
  }
  ASSERT_EQ(Count(), 50);
  for (int i = 0; i < 50; ++i) {
    EXPECT_EQ(Path(i), "f" + std::to_string(i));
  }
}

TEST_P(IOTrackerTableTest, HundredThousandFiles) {
  constexpr int kFiles = 100000;
  Start();
  for (int i = 0; i < kFiles; ++i) {
    Open(std::int64_t{8} * i, ("f" + std::to_string(i)).c_str());
  }
  for (int i = 0; i < kFiles; ++i) {
    Write(std::int64_t{8} * i, kMegabyte, 0.5);
  }
  ASSERT_EQ(Count(), kFiles);
  EXPECT_EQ(Path(kFiles - 1), "f99999");
  EXPECT_EQ(Totals(std::int64_t{8} * (kFiles / 2)).writeCount, 1);
  utl_IOTrackerRecord sum;
  tracker_->SumTotals(1, sum);
  EXPECT_EQ(Quantities(sum), (Numbers{kFiles, kFiles, kFiles / 2.0, 0, 0, 0}));
  EndTracker();
  EXPECT_EQ(Summary().work.size(), std::size_t{kFiles});
}

// A file opened, written and closed over and over, each time under another key.
TEST_P(IOTrackerTableTest, ManyKeysOfOneFile) {
  Start("3");
  for (int i = 0; i < 100000; ++i) {
    Open(i, "a");
    Write(i, 1);
    Close(i);
    Close(i);
  }
  Open(0, "a");
  EXPECT_EQ(Count(), 1);
  EXPECT_EQ(Totals(0).writeCount, 100000);
  EXPECT_EQ(Totals(0).opens, 100001);
}

}  // namespace
