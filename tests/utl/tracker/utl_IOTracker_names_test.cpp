// What the tracker's files are called.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "utl/tracker/TrackerTest.h"

namespace {

using Names = std::vector<std::string>;
using IOTrackerNamesTest = IOTrackerTest;

TEST_F(IOTrackerNamesTest, NamesOfTheFiles) {
  const struct {
    std::vector<std::string> arguments;
    const char* suffix;
    const char* directory;
    Names names;
  } cases[] = {
      {{}, nullptr, ".", {"ioFileSummary", "ioInc", "ioTotal"}},
      {{}, "s", ".", {"ioFileSummary_s", "ioInc_s", "ioTotal_s"}},
      {{"-job", "beam"}, "", ".", {"beam.ioFileSummary", "beam.ioInc", "beam.ioTotal"}},
      {{"-job", "beam"},
       "2",
       ".",
       {"beam.ioFileSummary_2", "beam.ioInc_2", "beam.ioTotal_2"}},
      // The output directory counts together with the job alone.
      {{"-outdir", "out"}, nullptr, ".", {"ioFileSummary", "ioInc", "ioTotal"}},
      {{"-outdir", "out"}, "s", ".", {"ioFileSummary_s", "ioInc_s", "ioTotal_s"}},
      {{"-outdir", "out", "-job", "beam"},
       nullptr,
       "out",
       {"beam.ioFileSummary", "beam.ioInc", "beam.ioTotal"}},
      {{"-outdir", "out/d", "-job", "beam"},
       "s",
       "out/d",
       {"beam.ioFileSummary_s", "beam.ioInc_s", "beam.ioTotal_s"}},
      {{"-outdir", "out\\d\\", "-job", "d.e"},
       nullptr,
       "out/d",
       {"d.e.ioFileSummary", "d.e.ioInc", "d.e.ioTotal"}},
      // The last of two is the one.
      {{"-job", "a", "-job", "b"},
       nullptr,
       ".",
       {"b.ioFileSummary", "b.ioInc", "b.ioTotal"}},
      // An option without value is set all the same.
      {{"-job"}, nullptr, ".", {".ioFileSummary", ".ioInc", ".ioTotal"}},
      {{"-job", "out/beam"},
       nullptr,
       "out",
       {"beam.ioFileSummary", "beam.ioInc", "beam.ioTotal"}},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(testing::PrintToString(one.arguments));
    EndTracker();
    std::filesystem::remove_all("out");
    for (const std::string& name : Files()) {
      std::filesystem::remove(name);
    }
    std::filesystem::create_directories("out/d");
    LoadArguments(one.arguments);
    utl_IOTracker& tracker = StartTracker("2");
    tracker.SetSuffix(one.suffix);
    tracker.Mark("m");
    EndTracker();
    EXPECT_EQ(Files(one.directory), one.names);
    if (one.directory != std::string(".")) {
      EXPECT_EQ(Files(), Names());
    }
  }
}

// "%s/%s" with an empty directory: the root.
TEST_F(IOTrackerNamesTest, OutputDirectoryWithoutValueIsTheRoot) {
  const std::string below = surroundings_.Dir().ShownPath().substr(3);
  LoadArguments({"-outdir", "-job", below + "\\beam"});
  StartTracker("1").Mark("m");
  EndTracker();
  EXPECT_EQ(Files(), (Names{"beam.ioFileSummary", "beam.ioTotal"}));
}

TEST_F(IOTrackerNamesTest, OptionsAreReadWhenTheTrackerIsMade) {
  LoadArguments({"-job", "early"});
  utl_IOTracker& tracker = StartTracker("1");
  LoadArguments({"-job", "late"});
  tracker.Mark("m");
  EXPECT_EQ(Files(), (Names{"early.ioTotal"}));
}

TEST_F(IOTrackerNamesTest, SuffixIsThatOfTheOpening) {
  utl_IOTracker& tracker = StartTracker("1");
  tracker.SetSuffix("a");
  tracker.Mark("1");
  tracker.SetSuffix("b");
  tracker.Mark("2");
  tracker.WriteIncrements("3");
  tracker.SetSuffix("c");
  EndTracker();
  EXPECT_EQ(Files(), (Names{"ioFileSummary_c", "ioInc_b", "ioTotal_a"}));
  EXPECT_EQ(Read("ioTotal_a").lines.size(), 2U);
}

TEST_F(IOTrackerNamesTest, NullOrNothingClearsTheSuffix) {
  for (const char* text : {"", static_cast<const char*>(nullptr)}) {
    utl_IOTracker& tracker = StartTracker("1");
    tracker.SetSuffix("a");
    tracker.SetSuffix(text);
    EndTracker();
    EXPECT_EQ(Files(), Names{"ioFileSummary"});
    std::filesystem::remove("ioFileSummary");
  }
}

TEST_F(IOTrackerNamesTest, OutputDirectoryIsCutAt2048Characters) {
  std::string directory = surroundings_.Dir().Path();
  while (directory.size() + 2 <= 2048) {
    directory += "/.";
  }
  if (directory.size() < 2048) {
    directory += '/';
  }
  ASSERT_EQ(directory.size(), 2048U);
  for (const char* more : {"", "/not there"}) {
    LoadArguments({"-outdir", directory + more, "-job", "beam"});
    StartTracker("1");
    EndTracker();
    EXPECT_TRUE(Exists("beam.ioFileSummary")) << more;
    std::filesystem::remove(File("beam.ioFileSummary"));
  }
}

TEST_F(IOTrackerNamesTest, JobIsCutAt2048Characters) {
  std::string job;
  while (job.size() < 2044) {
    job += "./";
  }
  job += "beam";
  ASSERT_EQ(job.size(), 2048U);
  for (const char* more : {"", "more"}) {
    LoadArguments({"-job", job + more});
    StartTracker("1");
    EndTracker();
    EXPECT_EQ(Files(), Names{"beam.ioFileSummary"}) << more;
    std::filesystem::remove("beam.ioFileSummary");
  }
}

TEST_F(IOTrackerNamesTest, SuffixIsCutAt2048Characters) {
  std::filesystem::create_directory("ioFileSummary_");
  std::string suffix = "/";
  while (suffix.size() < 2047) {
    suffix += "./";
  }
  suffix += 's';
  ASSERT_EQ(suffix.size(), 2048U);
  for (const char* more : {"", "more"}) {
    StartTracker("1").SetSuffix((suffix + more).c_str());
    EndTracker();
    EXPECT_EQ(Files("ioFileSummary_"), Names{"s"}) << more;
    std::filesystem::remove("ioFileSummary_/s");
  }
}

}  // namespace
