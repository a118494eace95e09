// What a run logs where the environment asks for it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "common/environment/ScopedEnvironment.h"
#include "truss_job.h"
#include "utl/utl_FilePath.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> LinesOf(const std::string& file) {
  std::vector<std::string> lines;
  std::istringstream text(ReadWholeFile(file));
  for (std::string line; std::getline(text, line);) {
    std::erase(line, '\r');
    lines.push_back(line);
  }
  return lines;
}

// The marks of a resource log and the timers with their calls, blanks left out.
struct UseLog {
  explicit UseLog(const std::string& file) {
    for (const std::string& line : LinesOf(file)) {
      std::istringstream in(line);
      const std::vector<std::string> words(std::istream_iterator<std::string>(in), {});
      if (line.starts_with("!Timer ") && words[1] != "Summary") {
        timers.push_back(words[1] + ' ' + words[3] + ' ' + words[4]);
      } else if (!line.starts_with('!')) {
        marks.push_back(words[words.size() - 16]);
      }
    }
  }

  std::vector<std::string> marks, timers;
};

// The lines of totals behind their head: the mark and the numbers.
struct Totals {
  std::string mark;
  double writes, writeMB, reads, readMB;
};

std::vector<Totals> ReadTotals(const std::string& file) {
  const std::vector<std::string> lines = LinesOf(file);
  std::vector<Totals> totals;
  for (std::size_t i = 2; i < lines.size(); ++i) {
    std::istringstream in(lines[i]);
    std::vector<std::string> words;
    for (std::string word; std::getline(in, word, ',');) {
      words.push_back(word);
    }
    EXPECT_EQ(words.size(), 14u) << lines[i];
    words.resize(14, "0");
    totals.push_back({words[0], std::stod(words[2]), std::stod(words[3]),
                      std::stod(words[5]), std::stod(words[6])});
  }
  return totals;
}

double Megabytes(const std::string& file) {
  return static_cast<double>(std::filesystem::file_size(file)) / 1048576;
}

// The line of a file in the summary, without its times.
std::string SummaryLine(const std::string& line) {
  const std::size_t first = line.find(", ");
  std::istringstream numbers(line.substr(first));
  char comma;
  double written, writeTime, read, readTime;
  numbers >> comma >> written >> comma >> writeTime >> comma >> read >> comma >> readTime;
  EXPECT_TRUE(numbers) << line;
  EXPECT_GE(writeTime, 0);
  EXPECT_GE(readTime, 0);
  char text[80];
  std::snprintf(text, sizeof text, ": %.6f, %.6f", written, read);
  return line.substr(0, first) + text;
}

std::string SummaryLine(const std::string& path, double written, double read) {
  char text[80];
  std::snprintf(text, sizeof text, ": %.6f, %.6f", written, read);
  return path + text;
}

class TrussLogsTest : public testing::Test {
 protected:
  std::string Log(const char* ending) const { return job_.File("job") + ending; }

  TrussJob job_{kTwoBarDeck};
};

TEST_F(TrussLogsTest, AreNotMadeUnasked) {
  const ScopedEnvironment monitor("KES_RESOURCE_MONITOR", nullptr);
  const ScopedEnvironment tracker("KES_IO_TRACK", nullptr);
  ASSERT_EQ(job_.Run().status, 0);
  for (const char* ending : {".use", ".ioTotal", ".ioInc", ".ioFileSummary"}) {
    EXPECT_FALSE(FileExists(Log(ending))) << ending;
  }
}

TEST_F(TrussLogsTest, HaveTheResourcesOfEveryPhase) {
  const ScopedEnvironment monitor("KES_RESOURCE_MONITOR", "ON");
  for (int run = 0; run < 2; ++run) {
    ASSERT_EQ(job_.Run().status, 0);
    const UseLog log(Log(".use"));
    const std::string name = job_.ShownDirPath() + "\\job";
    EXPECT_THAT(log.marks, ElementsAre(name + "-Start", "read", "assemble", "solve",
                                       "write", name + "-End"));
    EXPECT_THAT(log.timers, ElementsAre("1 read 1", "2 assemble 1", "3 solve 1",
                                        "4 write 1", "20 Self 1000"));
  }
}

TEST_F(TrussLogsTest, EndWithTheLastPhaseThatWasDone) {
  const ScopedEnvironment monitor("KES_RESOURCE_MONITOR", "ON");
  WriteWholeFile(job_.DeckPath(), "beam\n");
  ASSERT_EQ(job_.Run().status, 1);
  EXPECT_EQ(UseLog(Log(".use")).marks.size(), 2u) << "start and end";
  WriteWholeFile(job_.DeckPath(),
                 "material 1\nnode 1 0 0 0\nnode 2 1 0 0\nbar 1 1 2 1\nfix 1 xyz\n");
  ASSERT_EQ(job_.Run().status, 1);
  const UseLog log(Log(".use"));
  ASSERT_EQ(log.marks.size(), 4u);
  EXPECT_EQ(log.marks[2], "assemble");
  EXPECT_THAT(log.timers, ElementsAre("1 read 1", "2 assemble 1", "20 Self 1000"));
}

TEST_F(TrussLogsTest, LieInTheCurrentDirectoryWithoutAnother) {
  const ScopedEnvironment monitor("KES_RESOURCE_MONITOR", "ON");
  const ScopedEnvironment tracker("KES_IO_TRACK", "1");
  const auto earlier = std::filesystem::current_path();
  std::filesystem::current_path(job_.DirPath());
  const TrussRun run = RunTruss({"-job", "job", "test.deck"});
  std::filesystem::current_path(earlier);
  EXPECT_EQ(run.status, 0) << run.err;
  for (const char* ending : {".use", ".ioTotal", ".ioFileSummary"}) {
    EXPECT_TRUE(FileExists(Log(ending))) << ending;
  }
}

TEST_F(TrussLogsTest, HaveWhatEveryPhaseWroteAndRead) {
  const ScopedEnvironment tracker("KES_IO_TRACK", "1");
  const std::string exported = job_.File("x.bin");
  ASSERT_EQ(job_.Run({"-export", exported, "-import", exported}).status, 0);
  const std::vector<Totals> totals = ReadTotals(Log(".ioTotal"));
  ASSERT_EQ(totals.size(), 4u);
  const double deck = Megabytes(job_.DeckPath());
  for (int phase = 0; phase < 3; ++phase) {
    EXPECT_EQ(totals[phase].writes, 0);
    EXPECT_EQ(totals[phase].reads, 1);
    EXPECT_NEAR(totals[phase].readMB, deck, 1e-6);
  }
  EXPECT_EQ(totals[0].mark, "read");
  EXPECT_EQ(totals[1].mark, "assemble");
  EXPECT_EQ(totals[2].mark, "solve");
  EXPECT_EQ(totals[3].mark, "write");
  EXPECT_EQ(totals[3].writes, 2) << "the results and the export";
  EXPECT_NEAR(totals[3].writeMB, Megabytes(job_.ResultPath()) + Megabytes(exported),
              1e-6);
  EXPECT_EQ(totals[3].reads, 1 + 10 + 1) << "deck, sections, export";
}

TEST_F(TrussLogsTest, SumUpEveryFile) {
  const ScopedEnvironment tracker("KES_IO_TRACK", "1");
  const std::string exported = job_.File("x.bin");
  ASSERT_EQ(job_.Run({"-export", exported, "-import", exported}).status, 0);
  const std::vector<std::string> lines = LinesOf(Log(".ioFileSummary"));
  ASSERT_EQ(lines.size(), 10u);
  EXPECT_EQ(lines[2], "WORK DIRECTORY FILES");
  const std::string deck =
      utl_FilePath(job_.DeckPath().c_str(), "").AbsolutePathName().c_str();
  EXPECT_EQ(SummaryLine(lines[3]), SummaryLine(deck, 0, Megabytes(job_.DeckPath())));
  const double sections = (8 + (3 * 4 + 9 * 8) + (6 * 4 + 4 * 8) + 20 * 8) / 1048576.0;
  EXPECT_EQ(SummaryLine(lines[4]),
            SummaryLine(job_.ShownResultPath(), Megabytes(job_.ResultPath()), sections));
  EXPECT_EQ(SummaryLine(lines[5]),
            SummaryLine(exported, Megabytes(exported), Megabytes(exported)));
  EXPECT_EQ(lines[8], "SCRATCH DIRECTORY FILES");
}

TEST_F(TrussLogsTest, KeepFilesOfTheScratchDirectoryApart) {
  const ScopedEnvironment tracker("KES_IO_TRACK", "1");
  std::filesystem::create_directory(job_.File("scratch"));
  const std::string exported = job_.File("scratch/x.bin");
  ASSERT_EQ(job_.Run({"-tmpdir", job_.File("scratch"), "-export", exported}).status, 0);
  const std::vector<std::string> lines = LinesOf(Log(".ioFileSummary"));
  ASSERT_EQ(lines.size(), 10u);
  EXPECT_EQ(lines[7], "SCRATCH DIRECTORY FILES");
  EXPECT_EQ(SummaryLine(lines[8]), SummaryLine(exported, Megabytes(exported), 0));
}

TEST_F(TrussLogsTest, OfAFailedImportHaveNoReadOfIt) {
  const ScopedEnvironment tracker("KES_IO_TRACK", "1");
  WriteWholeFile(job_.File("x.bin"), "no export");
  ASSERT_EQ(job_.Run({"-import", job_.File("x.bin")}).status, 1);
  EXPECT_EQ(ReadTotals(Log(".ioTotal")).size(), 3u) << "the last phase is not done";
  EXPECT_EQ(LinesOf(Log(".ioFileSummary")).size(), 9u) << "deck and results";
}

}  // namespace
