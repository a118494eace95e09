// What is in the tracker's files.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <io.h>
#include <sys/stat.h>

#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "common/environment/DecimalComma.h"
#include "common/failing/FakeClock.h"
#include "utl/tracker/TrackerTest.h"

namespace {

using Names = std::vector<std::string>;
using IOTrackerOutputsTest = IOTrackerTest;

// One file in each directory, used in a way of its own.
void UseFiles(utl_IOTracker& tracker) {
  tracker.COpen(1, "work");
  tracker.CWrite(1, kMegabyte, 0.5);
  tracker.CWrite(1, kMegabyte, 0.25);
  tracker.CRead(1, 4 * kMegabyte, 1.5);
  tracker.UOpen(1, "scratch");
  tracker.USetKind(1, 0);
  tracker.UWrite(1, kMegabyte / 2, 8);
  tracker.URead(1, 0, 0);
  tracker.URead(1, kMegabyte / 4, 16);
}

const Numbers kWorkNumbers = {2, 2, 0.75, 1, 4, 1.5};
const Numbers kScratchNumbers = {1, 0.5, 8, 2, 0.25, 16};
const Numbers kZeros(6);

TEST_F(IOTrackerOutputsTest, LongSettingsAreCutAt2048Characters) {
  // Names of such length are no file's: the text must neither be too long for the tracker
  // nor bring it down.
  const std::string text(5000, 'x');
  LoadArguments({"-outdir", text, "-job", text, "-tmpdir", text});
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  utl_IOTracker& tracker = StartTracker("2");
  tracker.SetSuffix(text.c_str());
  UseFiles(tracker);
  tracker.Mark(text.c_str());
  EndTracker();
  EXPECT_EQ(Files(), Names());
}

TEST_F(IOTrackerOutputsTest, NothingIsOpenedBeforeTheFirstLine) {
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  utl_IOTracker& tracker = StartTracker("3");
  UseFiles(tracker);
  tracker.FlushOutputs();
  EXPECT_EQ(Files(), Names());
  EndTracker();
  EXPECT_EQ(Files(), Names{"ioFileSummary"});
}

TEST_F(IOTrackerOutputsTest, TotalsAfterTwoMarks) {
  utl_IOTracker& tracker = StartTracker("1");
  const double before = tracker.Now();
  tracker.Mark("start");
  UseFiles(tracker);
  tracker.Mark("solved");
  const double after = tracker.Now();
  EndTracker();
  const TrackerFile totals = Read("ioTotal");
  EXPECT_TRUE(totals.hasLabels);
  EXPECT_EQ(totals.columns, kTrackerSumColumns);
  ASSERT_EQ(totals.lines.size(), 2U);
  EXPECT_EQ(totals.lines[0].label, "start");
  EXPECT_EQ(totals.lines[0].Of("Work "), kZeros);
  EXPECT_EQ(totals.lines[0].Of("Scratch "), kZeros);
  EXPECT_EQ(totals.lines[1].label, "solved");
  EXPECT_EQ(totals.lines[1].Of("Work "), kWorkNumbers);
  EXPECT_EQ(totals.lines[1].Of("Scratch "), kScratchNumbers);
  constexpr double kRounding = 1e-6;
  EXPECT_GE(totals.lines[0].elapsed, before - kRounding);
  EXPECT_GE(totals.lines[1].elapsed, totals.lines[0].elapsed);
  EXPECT_LE(totals.lines[1].elapsed, after + kRounding);
  EXPECT_FALSE(Exists("ioInc"));
}

TEST_F(IOTrackerOutputsTest, ExactTextOfTheTotals) {
  utl_IOTracker& tracker = StartTracker("1");
  UseFiles(tracker);
  tracker.Mark("a, b");
  EndTracker();
  const std::vector<std::string> lines = ReadTextLines(File("ioTotal"));
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0], "IO Tracking Totals");
  EXPECT_EQ(lines[1],
            "Code Mark, Elapsed Time, Work Write Count, Work Write MB, Work Write Time, "
            "Work Read Count, Work Read MB, Work Read Time, Scratch Write Count, "
            "Scratch Write MB, Scratch Write Time, Scratch Read Count, Scratch Read MB, "
            "Scratch Read Time");
  EXPECT_THAT(lines[2], testing::StartsWith("a, b, 0."));
  EXPECT_THAT(lines[2],
              testing::EndsWith(", 2, 2.000000, 0.750000, 1, 4.000000, 1.500000, 1, "
                                "0.500000, 8.000000, 2, 0.250000, 16.000000"));
}

TEST_F(IOTrackerOutputsTest, LabelsAreWrittenAsTheyAre) {
  utl_IOTracker& tracker = StartTracker("1");
  const std::string labels[] = {
      "", "%s %d %n", ", ", "1, 2.000000", "\xFF\x01", std::string(100000, 'x')};
  for (const std::string& label : labels) {
    tracker.Mark(label.c_str());
  }
  tracker.Mark(nullptr);
  EndTracker();
  const TrackerFile totals = Read("ioTotal");
  ASSERT_EQ(totals.lines.size(), 7U);
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(totals.lines[i].label, labels[i]);
  }
  EXPECT_TRUE(totals.lines[6].hasLabel);
  EXPECT_EQ(totals.lines[6].label, "");
}

TEST_F(IOTrackerOutputsTest, MarkFunctionWritesThroughTheHolder) {
  StartTracker("1");
  utl_IOTracker_Mark("from C");
  EndTracker();
  ASSERT_EQ(Read("ioTotal").lines.size(), 1U);
  EXPECT_EQ(Read("ioTotal").lines[0].label, "from C");
}

TEST_F(IOTrackerOutputsTest, MarkFunctionWithoutATrackerDoesNothing) {
  SetEnvironment("KES_IO_TRACK", "1");
  utl_IOTracker_Mark("m");
  EXPECT_EQ(TrackerHolder::Look(), nullptr);
  for (const char* value : {"word", "0", "-1", ""}) {
    SetEnvironment("KES_IO_TRACK", value);
    EXPECT_EQ(TrackerHolder::Instance().Tracker(), nullptr) << value;
    utl_IOTracker_Mark("m");
    utl_IOTracker_Mark(nullptr);
    EndTracker();
  }
  utl_IOTracker_Mark("m");
  EXPECT_EQ(TrackerHolder::Look(), nullptr);
  EXPECT_EQ(Files(), Names());
}

TEST_F(IOTrackerOutputsTest, TimePointInMarkModeHasNoLabel) {
  utl_IOTracker& tracker = StartTracker("1");
  UseFiles(tracker);
  tracker.TimePoint();
  EndTracker();
  const TrackerFile totals = Read("ioTotal");
  EXPECT_TRUE(totals.hasLabels);
  ASSERT_EQ(totals.lines.size(), 1U);
  EXPECT_FALSE(totals.lines[0].hasLabel);
  EXPECT_EQ(totals.lines[0].Of("Work "), kWorkNumbers);
}

TEST_F(IOTrackerOutputsTest, OnlyTheNumber2StartsTimedMode) {
  for (const char* points : {"", "0", "1", "3", "-2", "22", "two", "4294967298"}) {
    SetEnvironment("KES_IO_TIMEPOINTS", points);
    StartTracker("1").Mark("m");
    EndTracker();
    EXPECT_TRUE(Read("ioTotal").hasLabels) << points;
  }
}

// A file of neither kind counts as work in the sums and is in no list.
TEST_F(IOTrackerOutputsTest, UnclassifiedFilesAreWorkInTheTotalsAlone) {
  utl_IOTracker& tracker = StartTracker("1");
  tracker.CWrite(1, kMegabyte, 1);
  tracker.UOpen(2, "neither");
  tracker.USetKind(2, 2);
  tracker.UWrite(2, kMegabyte, 1);
  tracker.Mark("m");
  EndTracker();
  EXPECT_EQ(Read("ioTotal").lines.at(0).Of("Work "), (Numbers{2, 2, 2, 0, 0, 0}));
  EXPECT_EQ(Read("ioTotal").lines.at(0).Of("Scratch "), kZeros);
  EXPECT_TRUE(Summary().work.empty());
  EXPECT_TRUE(Summary().scratch.empty());
}

TEST_F(IOTrackerOutputsTest, Level2WritesIncrementsBesideTotals) {
  for (const char* level : {"2", "3"}) {
    utl_IOTracker& tracker = StartTracker(level);
    UseFiles(tracker);
    tracker.Mark("one");
    tracker.CWrite(1, kMegabyte, 1);
    tracker.CClose(1);
    tracker.Mark("two");
    tracker.TimePoint();
    EndTracker();
    const TrackerFile increments = Read("ioInc");
    const TrackerFile totals = Read("ioTotal");
    EXPECT_EQ(increments.columns, kTrackerSumColumns);
    ASSERT_EQ(increments.lines.size(), 3U);
    ASSERT_EQ(totals.lines.size(), 3U);
    EXPECT_EQ(increments.lines[0].Of("Work "), kWorkNumbers);
    EXPECT_EQ(increments.lines[0].Of("Scratch "), kScratchNumbers);
    EXPECT_EQ(increments.lines[1].Of("Work "), (Numbers{1, 1, 1, 0, 0, 0}));
    EXPECT_EQ(increments.lines[1].Of("Scratch "), kZeros);
    EXPECT_EQ(increments.lines[2].Of("Work "), kZeros);
    EXPECT_EQ(totals.lines[2].Of("Work "), (Numbers{3, 3, 1.75, 1, 4, 1.5}));
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(increments.lines[i].label, totals.lines[i].label);
      EXPECT_EQ(increments.lines[i].hasLabel, totals.lines[i].hasLabel);
      EXPECT_EQ(increments.lines[i].elapsed, totals.lines[i].elapsed);
    }
  }
}

// What was counted follows the file into the other sums; it is no increment there.
TEST_F(IOTrackerOutputsTest, ClassifiedFilesTakeTheirCountsAlong) {
  utl_IOTracker& tracker = StartTracker("2");
  tracker.COpen(1, "a");
  tracker.CWrite(1, kMegabyte, 1);
  tracker.Mark("work");
  tracker.CSetKind(1, 0);
  tracker.CRead(1, kMegabyte, 1);
  tracker.Mark("scratch");
  EndTracker();
  const TrackerFile totals = Read("ioTotal");
  const TrackerFile increments = Read("ioInc");
  EXPECT_EQ(totals.lines.at(0).Of("Work "), (Numbers{1, 1, 1, 0, 0, 0}));
  EXPECT_EQ(totals.lines.at(1).Of("Work "), kZeros);
  EXPECT_EQ(totals.lines.at(1).Of("Scratch "), (Numbers{1, 1, 1, 1, 1, 1}));
  EXPECT_EQ(increments.lines.at(1).Of("Work "), kZeros);
  EXPECT_EQ(increments.lines.at(1).Of("Scratch "), (Numbers{0, 0, 0, 1, 1, 1}));
}

TEST_F(IOTrackerOutputsTest, Level1ZeroesNoIncrements) {
  utl_IOTracker& tracker = StartTracker("1");
  UseFiles(tracker);
  tracker.Mark("m");
  utl_IOTrackerRecord record;
  EXPECT_TRUE(tracker.CIncrements(1, record));
  EXPECT_EQ(record.writeCount, 2);
  tracker.SumIncrements(0, record);
  EXPECT_EQ(record.writeCount, 1);
}

TEST_F(IOTrackerOutputsTest, IncrementsAreWrittenAtAnyLevelWhenAskedFor) {
  for (const char* level : {"1", "2", "3"}) {
    utl_IOTracker& tracker = StartTracker(level);
    UseFiles(tracker);
    tracker.WriteIncrements("label");
    utl_IOTrackerRecord record;
    EXPECT_TRUE(tracker.UIncrements(1, record));
    EXPECT_EQ(record.readCount + record.writeCount, 0);
    EXPECT_EQ(record.readMB + record.writeMB + record.readTime + record.writeTime, 0);
    EXPECT_EQ(record.bytesRead + record.bytesWritten + record.opens, 0);
    EXPECT_EQ(record.kind, 0);
    EXPECT_TRUE(tracker.UTotals(1, record));
    EXPECT_EQ(record.readCount, 2);
    tracker.CRead(1, kMegabyte, 0);
    tracker.WriteIncrements(nullptr);
    EndTracker();
    const TrackerFile increments = Read("ioInc");
    ASSERT_EQ(increments.lines.size(), 2U);
    EXPECT_EQ(increments.lines[0].label, "label");
    EXPECT_EQ(increments.lines[0].Of("Scratch "), kScratchNumbers);
    EXPECT_FALSE(increments.lines[1].hasLabel);
    EXPECT_EQ(increments.lines[1].Of("Work "), (Numbers{0, 0, 0, 1, 1, 0}));
    EXPECT_FALSE(Exists("ioTotal"));
  }
}

TEST_F(IOTrackerOutputsTest, SummaryListsTheFirstTableAndThenTheSecond) {
  utl_IOTracker& tracker = StartTracker("1");
  tracker.UOpen(1, "u1");
  tracker.COpen(1, "c1");
  tracker.COpen(2, "c2, with a comma");
  tracker.UOpen(2, "u2");
  tracker.UOpen(3, "us");
  tracker.USetKind(3, 0);
  tracker.COpen(3, "cs");
  tracker.CSetKind(3, 0);
  tracker.CWrite(1, kMegabyte, 1);
  tracker.CRead(1, 2 * kMegabyte, 2);
  tracker.UWrite(3, 3 * kMegabyte, 3);
  tracker.CRename(2, "c2, renamed");
  tracker.CClose(2);
  EndTracker();
  const SummaryFile summary = Summary();
  EXPECT_EQ(summary.work, (std::vector<SummaryLine>{{"c1", 1, 1, 2, 2},
                                                    {"c2, renamed", 0, 0, 0, 0},
                                                    {"u1", 0, 0, 0, 0},
                                                    {"u2", 0, 0, 0, 0}}));
  EXPECT_EQ(summary.scratch,
            (std::vector<SummaryLine>{{"cs", 0, 0, 0, 0}, {"us", 3, 3, 0, 0}}));
}

TEST_F(IOTrackerOutputsTest, ExactTextOfTheSummary) {
  utl_IOTracker& tracker = StartTracker("1");
  UseFiles(tracker);
  EndTracker();
  EXPECT_EQ(
      ReadTextLines(File("ioFileSummary")),
      (std::vector<std::string>{"IO Summary for All Files", "", "WORK DIRECTORY FILES",
                                "work, 2.000000, 0.750000, 4.000000, 1.500000", "", "",
                                "SCRATCH DIRECTORY FILES",
                                "scratch, 0.500000, 8.000000, 0.250000, 16.000000", ""}));
}

TEST_F(IOTrackerOutputsTest, SummaryOfNothing) {
  StartTracker("1");
  EndTracker();
  EXPECT_EQ(
      ReadTextLines(File("ioFileSummary")),
      (std::vector<std::string>{"IO Summary for All Files", "", "WORK DIRECTORY FILES",
                                "", "", "SCRATCH DIRECTORY FILES", ""}));
}

TEST_F(IOTrackerOutputsTest, OldFilesAreReplaced) {
  for (const char* name : {"ioTotal", "ioInc", "ioFileSummary"}) {
    WriteWholeFile(File(name), std::string(10000, 'x'));
  }
  StartTracker("2").Mark("m");
  EndTracker();
  EXPECT_EQ(Read("ioTotal").lines.size(), 1U);
  EXPECT_EQ(Read("ioInc").lines.size(), 1U);
  EXPECT_TRUE(Summary().work.empty());
}

TEST_F(IOTrackerOutputsTest, NumbersDoNotDependOnTheLocale) {
  const DecimalComma comma;
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  utl_IOTracker& tracker = StartTracker("2");
  UseFiles(tracker);
  for (int i = 0; i < 1500; ++i) {
    tracker.CWrite(1, kMegabyte, 1);
  }
  tracker.Mark("m");
  EndTracker();
  const Numbers expected = {1502, 1502, 1500.75, 1, 4, 1.5};
  EXPECT_EQ(Read("ioTotal").lines.at(0).Of("Work "), expected);
  EXPECT_EQ(Read("ioInc").lines.at(0).Of("Work "), expected);
  EXPECT_EQ(Read("work_ioTotal").lines.at(0).Of(""), expected);
  EXPECT_EQ(Summary().work.at(0), (SummaryLine{"work", 1502, 1500.75, 4, 1.5}));
}

TEST_F(IOTrackerOutputsTest, LargeAndEndlessNumbers) {
  utl_IOTracker& tracker = StartTracker("1");
  constexpr double kHuge = std::numeric_limits<double>::max();
  tracker.COpen(1, "a");
  tracker.CWrite(1, std::numeric_limits<std::int64_t>::max(), kHuge);
  tracker.CRead(1, 1, kHuge);
  tracker.CRead(1, 1, kHuge);
  tracker.Mark("m");
  EndTracker();
  const TrackerLine line = Read("ioTotal").lines.at(0);
  EXPECT_EQ(line["Work Write MB"], 8796093022208.0);
  EXPECT_EQ(line["Work Write Time"], kHuge);
  EXPECT_EQ(line["Work Read Time"], HUGE_VAL);
}

TEST_F(IOTrackerOutputsTest, FlushBringsLinesIntoTheFiles) {
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  utl_IOTracker& tracker = StartTracker("2");
  UseFiles(tracker);
  tracker.Mark("m");
  tracker.FlushOutputs();
  EXPECT_EQ(Read("ioTotal").lines.size(), 1U);
  EXPECT_EQ(Read("ioInc").lines.size(), 1U);
  EXPECT_EQ(Read("work_ioTotal").lines.size(), 1U);
  EXPECT_EQ(Read("scratch_ioTotal").lines.size(), 1U);
}

// Lines are held back for ten seconds at the most, if other lines follow.
TEST_F(IOTrackerOutputsTest, LinesReachTheFilesEveryTenSeconds) {
  FakeClock clock;  // whose steps are exact in a double
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  utl_IOTracker& tracker = StartTracker("2");
  const auto linesInFiles = [this] {
    return std::vector{Read("ioTotal").lines.size(), Read("ioInc").lines.size(),
                       Read("work_ioTotal").lines.size()};
  };
  UseFiles(tracker);
  clock.Advance(std::chrono::seconds(10));
  tracker.Mark("first");
  EXPECT_TRUE(ReadWholeFile(File("ioTotal")).empty());
  EXPECT_TRUE(ReadWholeFile(File("ioInc")).empty());
  EXPECT_TRUE(ReadWholeFile(File("work_ioTotal")).empty());
  clock.Advance(std::chrono::milliseconds(250));
  tracker.Mark("second");
  EXPECT_EQ(linesInFiles(), (std::vector<std::size_t>{2, 2, 2}));
  clock.Advance(std::chrono::seconds(10));
  tracker.Mark("third");  // the ten seconds have begun anew
  EXPECT_EQ(linesInFiles(), (std::vector<std::size_t>{2, 2, 2}));
  clock.Advance(std::chrono::milliseconds(250));
  tracker.Mark("fourth");
  EXPECT_EQ(linesInFiles(), (std::vector<std::size_t>{4, 4, 4}));
}

TEST_F(IOTrackerOutputsTest, MissingDirectoryIsSkippedInSilence) {
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  LoadArguments({"-outdir", "not there", "-job", "beam"});
  testing::internal::CaptureStdout();
  utl_IOTracker& tracker = StartTracker("2");
  UseFiles(tracker);
  tracker.Mark("1");
  std::filesystem::create_directory("not there");
  tracker.Mark("2");  // what could not be opened is not tried again
  tracker.FlushOutputs();
  EXPECT_EQ(Files("not there"), Names());
  EndTracker();
  EXPECT_EQ(Files("not there"), Names{"beam.ioFileSummary"});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(IOTrackerOutputsTest, DirectoriesInThePlaceOfOutputsAreSkippedInSilence) {
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  for (const char* name : {"ioTotal", "ioInc", "ioFileSummary", "work_ioTotal"}) {
    std::filesystem::create_directory(name);
  }
  utl_IOTracker& tracker = StartTracker("2");
  UseFiles(tracker);
  tracker.Mark("m");
  EndTracker();
  EXPECT_EQ(Files(), Names{"scratch_ioTotal"});
}

// The descriptor of the next file that is opened.
int NextDescriptor() {
  const int fd = _open("probe", _O_RDWR | _O_CREAT, _S_IREAD | _S_IWRITE);
  _close(fd);
  return fd;
}

TEST_F(IOTrackerOutputsTest, FailingWritesPassInSilence) {
  utl_IOTracker& tracker = StartTracker("1");
  const int fd = NextDescriptor();
  tracker.Mark("m");
  ASSERT_EQ(_close(fd), 0) << "the totals' own";
  for (int i = 0; i < 1000; ++i) {
    tracker.Mark("m");
  }
  tracker.FlushOutputs();
  EndTracker();
  EXPECT_EQ(ReadWholeFile(File("ioTotal")), "");
  EXPECT_TRUE(Exists("ioFileSummary"));
}

// Every name leads to the device that is always full.
TEST_F(IOTrackerOutputsTest, FullDiskPassesInSilence) {
  SetEnvironment("KES_IO_INDIVIDUAL", "1");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  utl_IOTracker& tracker = StartTracker("2");
  tracker.SetSuffix("/../../../../../../../../dev/full");
  UseFiles(tracker);
  for (int i = 0; i < 1000; ++i) {
    tracker.Mark("m");
  }
  tracker.FlushOutputs();
  utl_IOTrackerRecord record;
  EXPECT_TRUE(tracker.CTotals(1, record));
  EXPECT_EQ(record.writeCount, 2);
  EndTracker();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::EndsWith("dev/full\n"))
      << "it was opened";
  EXPECT_EQ(Files(), Names());
}

}  // namespace
