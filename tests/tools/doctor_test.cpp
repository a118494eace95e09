#include "doctor/Doctor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>

#include "common/environment/ScopedEnvironment.h"
#include "common/temp/TempDir.h"
#include "tools/RunTool.h"

namespace {

ToolRun RunDoctor(const std::vector<std::string>& arguments) {
  return RunWith(KstDoctor, arguments);
}

TEST(KstDoctorTest, TellsHostDirectoriesAndVariables) {
  const TempDir scratch;
  const ScopedEnvironment first("SCRATCH", scratch.Path().c_str());
  const ScopedEnvironment second("KES_IO_TRACK", "3\x1b[2J");
  const ToolRun run = RunDoctor({});
  EXPECT_EQ(run.status, kGood);
  EXPECT_NE(run.out.find("win86_64"), std::string::npos);
  EXPECT_NE(run.out.find("KES_IO_TRACK  3\\x1b[2J\n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find(" GB free\n"), std::string::npos);
  const auto json = nlohmann::json::parse(RunDoctor({"--json"}).out);
  EXPECT_GE(json["host"]["processors"], 1);
  EXPECT_GT(json["output directory"]["free bytes"], 0);
  EXPECT_EQ(json["variables"].size(), std::size(kVariables));
}

TEST(KstDoctorTest, FindsThatThereIsNoScratchDirectory) {
  const ScopedEnvironment first("SCRATCH", nullptr);
  const ScopedEnvironment second("TMPDIR", "/none");
  const ToolRun run = RunDoctor({});
  EXPECT_EQ(run.status, kFinding);
  EXPECT_NE(run.out.find("no directory for temporary files: SCRATCH is unset, TMPDIR is "
                         "/none\n"),
            std::string::npos)
      << run.out;
}

TEST(KstDoctorTest, WrongUseHasStatusTwo) {
  EXPECT_EQ(RunDoctor({"--frobnicate"}).status, kTrouble);
  EXPECT_EQ(RunDoctor({"--help"}).status, kGood);
}

// What the library's sources ask the environment for by name.
TEST(KstDoctorTest, KnowsEveryVariableThatTheLibraryReads) {
  const std::regex asked(
      R"re((?:Environment\w*\(|variable : \{|, |Variable\()"([A-Z_]+)")re");
  std::set<std::string> known;
  for (const KnownVariable& variable : kVariables) {
    known.emplace(variable.name);
  }
  std::set<std::string> found;
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(KSTUTL_SOURCE "/utl/impl")) {
    if (entry.path().extension() != ".cpp") {
      continue;
    }
    const std::string source = ReadWholeFile(entry.path().string());
    if (source.find("Environment") == std::string::npos) {
      continue;
    }
    for (std::sregex_iterator it(source.begin(), source.end(), asked), end; it != end;
         ++it) {
      found.insert((*it)[1]);
    }
  }
  EXPECT_EQ(found, known);
}

}  // namespace
