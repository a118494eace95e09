// The outputs that show one file each.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "utl/tracker/TrackerTest.h"

namespace {

class IOTrackerIndividualTest : public IOTrackerTest {
 protected:
  static utl_IOTracker& Start(const char* level = "1") {
    SetEnvironment("KES_IO_INDIVIDUAL", "1");
    return StartTracker(level);
  }

  std::size_t LinesOf(const std::string& name) const {
    return Exists(name) ? Read(name).lines.size() : 0;
  }
};

TEST_F(IOTrackerIndividualTest, OnlyANumberAbove0SwitchesThemOn) {
  const struct {
    const char* value;
    bool on;
  } cases[] = {{nullptr, false}, {"", false}, {"0", false}, {"-1", false},
               {"yes", false},   {"1", true}, {"2", true},  {"7x", true}};
  for (const auto& one : cases) {
    SetEnvironment("KES_IO_INDIVIDUAL", one.value);
    utl_IOTracker& tracker = StartTracker("1");
    tracker.COpen(1, "f");
    tracker.Mark("m");
    EndTracker();
    EXPECT_EQ(Exists("f_ioTotal"), one.on) << (one.value == nullptr ? "" : one.value);
    std::filesystem::remove(File("f_ioTotal"));
  }
}

TEST_F(IOTrackerIndividualTest, ALineAMarkOrTimePoint) {
  utl_IOTracker& tracker = Start();
  tracker.COpen(1, "a");
  tracker.CWrite(1, kMegabyte, 0.5);
  tracker.CRead(1, 2 * kMegabyte, 0.25);
  tracker.Mark("one");
  tracker.UOpen(1, "b");
  tracker.UWrite(1, kMegabyte, 1);
  tracker.CWrite(1, kMegabyte, 0.5);
  tracker.TimePoint();
  tracker.CClose(1);
  tracker.Mark("three");
  tracker.WriteIncrements("no line");
  EndTracker();
  const TrackerFile a = Read("a_ioTotal");
  EXPECT_TRUE(a.hasLabels);
  EXPECT_EQ(a.columns, kTrackerFileColumns);
  ASSERT_EQ(a.lines.size(), 3U);
  EXPECT_EQ(a.lines[0].label, "one");
  EXPECT_EQ(a.lines[0].Of(""), (Numbers{1, 1, 0.5, 1, 2, 0.25}));
  EXPECT_FALSE(a.lines[1].hasLabel);
  EXPECT_EQ(a.lines[1].Of(""), (Numbers{2, 2, 1, 1, 2, 0.25}));
  EXPECT_EQ(a.lines[2].Of(""), (Numbers{2, 2, 1, 1, 2, 0.25}));
  const TrackerFile b = Read("b_ioTotal");
  ASSERT_EQ(b.lines.size(), 2U);
  EXPECT_EQ(b.lines[1].label, "three");
  EXPECT_EQ(b.lines[1].Of(""), (Numbers{1, 1, 1, 0, 0, 0}));
  const TrackerFile totals = Read("ioTotal");
  ASSERT_EQ(totals.lines.size(), 3U);
  EXPECT_EQ(a.lines[2].elapsed, totals.lines[2].elapsed);
}

TEST_F(IOTrackerIndividualTest, ExactText) {
  utl_IOTracker& tracker = Start();
  tracker.UOpen(1, "a");
  tracker.UWrite(1, kMegabyte, 0.5);
  tracker.Mark("m");
  EndTracker();
  const std::vector<std::string> lines = ReadTextLines(File("a_ioTotal"));
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0], "IO Tracking Totals");
  EXPECT_EQ(lines[1],
            "Code Mark, Elapsed Time, Write Count, Write MB, Write Time, Read Count, "
            "Read MB, Read Time");
  EXPECT_THAT(lines[2], testing::StartsWith("m, 0."));
  EXPECT_THAT(lines[2],
              testing::EndsWith(", 1, 1.000000, 0.500000, 0, 0.000000, 0.000000"));
}

// Only "\" separates the components of the path; the output directory needs no job here.
TEST_F(IOTrackerIndividualTest, Names) {
  std::filesystem::create_directories(File("out/d"));
  std::filesystem::create_directories(File("d"));
  const struct {
    std::vector<std::string> arguments;
    const char* path;
    const char* suffix;
    const char* name;
  } cases[] = {
      {{}, "f", nullptr, "f_ioTotal"},
      {{}, "f.dat", "s", "f.dat_ioTotal_s"},
      {{}, "not there\\f", nullptr, "f_ioTotal"},
      {{}, "C:\\x\\y\\f", nullptr, "f_ioTotal"},
      {{}, "d/f", nullptr, "d/f_ioTotal"},
      {{}, "x\\d/f", nullptr, "d/f_ioTotal"},
      {{}, "x\\", nullptr, "_ioTotal"},
      {{}, "", nullptr, "_ioTotal"},
      {{"-job", "beam"}, "f", nullptr, "f_ioTotal"},
      {{"-outdir", "out"}, "f", nullptr, "out/f_ioTotal"},
      {{"-outdir", "out"}, "x\\f", "s", "out/f_ioTotal_s"},
      {{"-outdir", "out"}, "d/f", nullptr, "out/d/f_ioTotal"},
      {{"-outdir", "out/", "-job", "beam"}, "f", nullptr, "out/f_ioTotal"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(one.path);
    LoadArguments(one.arguments);
    utl_IOTracker& tracker = Start();
    tracker.SetSuffix(one.suffix);
    tracker.COpen(1, one.path);
    tracker.Mark("m");
    EndTracker();
    EXPECT_TRUE(Exists(one.name));
    std::filesystem::remove(File(one.name));
  }
}

TEST_F(IOTrackerIndividualTest, OpeningIsToldOnTheStandardOutput) {
  std::filesystem::create_directory(File("out"));
  LoadArguments({"-outdir", "out"});
  utl_IOTracker& tracker = Start();
  tracker.COpen(1, "x\\a%s");
  tracker.UOpen(1, "b");
  testing::internal::CaptureStdout();
  tracker.Mark("m");
  tracker.Mark("n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "OpenCIndivualOut  --  file path = x\\a%s\n"
            "   outFileName = out\\a%s_ioTotal\n"
            "OpenCIndivualOut  --  file path = b\n"
            "   outFileName = out\\b_ioTotal\n");
  EXPECT_EQ(LinesOf("out/b_ioTotal"), 2U);
}

TEST_F(IOTrackerIndividualTest, OutputThatCannotBeOpenedIsNotTold) {
  utl_IOTracker& tracker = Start();
  tracker.COpen(1, "not there/f");
  tracker.COpen(2, "a<b");
  testing::internal::CaptureStdout();
  tracker.Mark("m");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(IOTrackerIndividualTest, RenamedFileKeepsItsOutput) {
  utl_IOTracker& tracker = Start();
  tracker.COpen(1, "a");
  tracker.Mark("1");
  tracker.CRename(1, "b");
  tracker.Mark("2");
  EndTracker();
  EXPECT_EQ(LinesOf("a_ioTotal"), 2U);
  EXPECT_FALSE(Exists("b_ioTotal"));
}

TEST_F(IOTrackerIndividualTest, LaterSuffixChangesNoOutput) {
  utl_IOTracker& tracker = Start();
  tracker.COpen(1, "a");
  tracker.Mark("1");
  tracker.SetSuffix("s");
  tracker.Mark("2");
  EndTracker();
  EXPECT_EQ(LinesOf("a_ioTotal"), 2U);
  EXPECT_FALSE(Exists("a_ioTotal_s"));
}

TEST_F(IOTrackerIndividualTest, RevivedFileGoesOnInItsOutput) {
  utl_IOTracker& tracker = Start();
  tracker.COpen(1, "a");
  tracker.Mark("1");
  tracker.CClose(1);
  tracker.COpen(2, "a");
  tracker.CWrite(2, kMegabyte, 1);
  tracker.Mark("2");
  EndTracker();
  ASSERT_EQ(LinesOf("a_ioTotal"), 2U);
  EXPECT_EQ(Read("a_ioTotal").lines[1]["Write Count"], 1);
}

TEST_F(IOTrackerIndividualTest, OfEqualNamesTheFirstFileGetsTheOutput) {
  utl_IOTracker& tracker = Start();
  const char* const paths[] = {"x\\a", "y\\a", "z\\A", " ", "./a", "d/..//a"};
  for (int i = 0; i < 6; ++i) {
    tracker.COpen(i, paths[i]);
  }
  tracker.UOpen(0, "a");
  tracker.CWrite(0, 1, 1);
  tracker.CWrite(9, 1, 1);  // no path: it would be " "
  for (int i = 0; i < 100; ++i) {
    tracker.Mark("m");
  }
  EndTracker();
  ASSERT_EQ(LinesOf("a_ioTotal"), 100U);
  for (const TrackerLine& line : Read("a_ioTotal").lines) {
    ASSERT_EQ(line["Write Count"], 1);
  }
  ASSERT_EQ(LinesOf(" _ioTotal"), 100U);
  EXPECT_EQ(Read(" _ioTotal").lines[0]["Write Count"], 0);
}

// The process has streams left, and every file has its output all the same.
TEST_F(IOTrackerIndividualTest, MoreFilesThanStreams) {
  constexpr int kFiles = 1200;
  utl_IOTracker& tracker = Start("2");
  for (int i = 0; i < kFiles; ++i) {
    tracker.COpen(i, ("f" + std::to_string(i)).c_str());
  }
  testing::internal::CaptureStdout();
  for (const char* label : {"1", "2", "3"}) {
    tracker.CWrite(kFiles - 1, kMegabyte, 1);
    tracker.Mark(label);
  }
  EXPECT_NE(testing::internal::GetCapturedStdout(), "");
  std::vector<std::FILE*> streams;
  for (int i = 0; i < 200; ++i) {
    streams.push_back(std::fopen(File("own" + std::to_string(i)).c_str(), "w"));
    EXPECT_NE(streams.back(), nullptr) << i;
  }
  for (std::FILE* stream : streams) {
    if (stream != nullptr) {
      std::fclose(stream);
    }
  }
  EndTracker();
  for (int i = 0; i < kFiles; ++i) {
    ASSERT_EQ(LinesOf("f" + std::to_string(i) + "_ioTotal"), 3U) << i;
  }
  const TrackerFile last = Read("f" + std::to_string(kFiles - 1) + "_ioTotal");
  EXPECT_EQ(last.lines[2].Of(""), (Numbers{3, 3, 3, 0, 0, 0}));
  EXPECT_EQ(Summary().work.size(), std::size_t{kFiles});
}

// Their lines are held back until a flush, those of the others are not.
TEST_F(IOTrackerIndividualTest, TheFirst200OutputsStayOpen) {
  constexpr int kFiles = 203;
  utl_IOTracker& tracker = Start();
  for (int i = 0; i < kFiles; ++i) {
    tracker.COpen(i, ("f" + std::to_string(i)).c_str());
  }
  testing::internal::CaptureStdout();
  tracker.Mark("1");
  std::vector<bool> isHeld;
  for (int i = 0; i < kFiles; ++i) {
    isHeld.push_back(ReadWholeFile(File("f" + std::to_string(i) + "_ioTotal")).empty());
  }
  testing::internal::GetCapturedStdout();  // flushes all streams
  std::vector<bool> expected(200, true);
  expected.resize(kFiles, false);
  EXPECT_EQ(isHeld, expected);
}

// Outputs that are opened for every line never come into being anew.
TEST_F(IOTrackerIndividualTest, LinesGoOnlyWhereTheHeadIs) {
  constexpr int kFiles = 300;
  utl_IOTracker& tracker = Start();
  for (int i = 0; i < kFiles; ++i) {
    tracker.COpen(i, ("f" + std::to_string(i)).c_str());
  }
  testing::internal::CaptureStdout();
  tracker.Mark("1");
  testing::internal::GetCapturedStdout();
  std::filesystem::remove(File("f299_ioTotal"));
  tracker.Mark("2");
  EXPECT_FALSE(Exists("f299_ioTotal"));
  EXPECT_EQ(LinesOf("f298_ioTotal"), 2U);
}

}  // namespace
