// What a run logs where the environment asks for it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "common/ScopedEnvironment.h"
#include "truss_job.h"

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

class TrussLogs : public testing::Test {
 protected:
  std::string Log(const char* ending) const { return job_.File("job") + ending; }

  TrussJob job_{kTwoBarDeck};
};

TEST_F(TrussLogs, AreNotMadeUnasked) {
  const ScopedEnvironment monitor("KES_RESOURCE_MONITOR", nullptr);
  const ScopedEnvironment tracker("KES_IO_TRACK", nullptr);
  ASSERT_EQ(job_.Run().status, 0);
  for (const char* ending : {".use", ".ioTotal", ".ioInc", ".ioFileSummary"}) {
    EXPECT_FALSE(FileExists(Log(ending))) << ending;
  }
}

TEST_F(TrussLogs, HaveTheResourcesOfEveryPhase) {
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

TEST_F(TrussLogs, EndWithTheLastPhaseThatWasDone) {
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

TEST_F(TrussLogs, LieInTheCurrentDirectoryWithoutAnother) {
  const ScopedEnvironment monitor("KES_RESOURCE_MONITOR", "ON");
  const auto earlier = std::filesystem::current_path();
  std::filesystem::current_path(job_.DirPath());
  const TrussRun run = RunTruss({"-job", "job", "test.deck"});
  std::filesystem::current_path(earlier);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(FileExists(Log(".use")));
}

}  // namespace
