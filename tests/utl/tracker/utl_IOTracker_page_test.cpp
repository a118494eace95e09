// The files that the page of the tracker's files shows.

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "common/temp/TempDir.h"
#include "utl/tracker/TrackerFiles.h"

namespace {

// The indented texts of the page that begin with this line, each up to the next line that
// is neither indented nor empty.
std::vector<std::vector<std::string>> Shown(const std::string& firstLine) {
  const std::string indent(4, ' ');
  std::vector<std::vector<std::string>> texts;
  std::ifstream page(KST_IO_TRACKER_PAGE);
  bool inside = false;
  for (std::string line; std::getline(page, line);) {
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    if (line == indent + firstLine) {
      inside = true;
      texts.emplace_back();
    } else if (!line.empty() && !line.starts_with(indent)) {
      inside = false;
    }
    if (inside) {
      texts.back().push_back(line.empty() ? line : line.substr(indent.size()));
    }
  }
  return texts;
}

class IOTrackerPageTest : public testing::Test {
 protected:
  // A file with the lines of a text of the page.
  std::string FileOf(std::vector<std::string> lines, bool endsWithEmptyLine) const {
    while (!lines.empty() && lines.back().empty()) {
      lines.pop_back();
    }
    if (endsWithEmptyLine) {
      lines.emplace_back();
    }
    std::ofstream file(dir_.File("shown"));
    for (const std::string& line : lines) {
      file << line << '\n';
    }
    return dir_.File("shown");
  }

  TempDir dir_;
};

TEST_F(IOTrackerPageTest, ShowsTotalsIncrementsAndAnIndividualFile) {
  std::vector<TrackerFile> files;
  for (const auto& lines : Shown("IO Tracking Totals")) {
    files.push_back(ReadTrackerFile(FileOf(lines, false)));
  }
  ASSERT_EQ(files.size(), 4U);
  const TrackerFile& totals = files[0];
  const TrackerFile& increments = files[2];
  const TrackerFile& individual = files[3];
  for (const TrackerFile* sums : {&files[0], &files[1], &files[2]}) {
    EXPECT_EQ(sums->columns, kTrackerSumColumns);
  }
  EXPECT_FALSE(files[1].hasLabels);
  ASSERT_EQ(totals.lines.size(), increments.lines.size());
  for (const std::string& column : kTrackerSumColumns) {
    double sum = 0;
    for (std::size_t i = 0; i < totals.lines.size(); ++i) {
      sum += increments.lines[i][column];
      EXPECT_NEAR(totals.lines[i][column], sum, 1e-5) << column;
      EXPECT_EQ(totals.lines[i].label, increments.lines[i].label);
      EXPECT_EQ(totals.lines[i].elapsed, increments.lines[i].elapsed);
    }
  }
  EXPECT_EQ(individual.columns, kTrackerFileColumns);
  ASSERT_EQ(individual.lines.size(), 2U);
  EXPECT_EQ(individual.lines[1].label, "solution");
  EXPECT_EQ(individual.lines[1].Of(""), totals.lines[2].Of("Scratch "));
}

TEST_F(IOTrackerPageTest, ShowsASummary) {
  const auto texts = Shown("IO Summary for All Files");
  ASSERT_EQ(texts.size(), 1U);
  const SummaryFile summary = ReadSummary(FileOf(texts[0], true));
  ASSERT_EQ(summary.work.size(), 2U);
  EXPECT_EQ(summary.work[1].path, "run\\beam.kdb");
  ASSERT_EQ(summary.scratch.size(), 1U);
  EXPECT_EQ(summary.scratch[0].readMB, 16);
}

}  // namespace
