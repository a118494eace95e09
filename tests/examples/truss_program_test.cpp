#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <utility>

#include "common/environment/ScopedEnvironment.h"
#include "common/temp/CurrentDirectory.h"
#include "truss_job.h"
#include "utl/utl_MultisectionFile.h"

namespace {

// A second reader of the format: sections in their order.
class SectionFile {
 public:
  explicit SectionFile(std::string bytes) : bytes_(std::move(bytes)) {}

  std::vector<std::pair<std::string, std::string>> Sections() {
    EXPECT_EQ(Take(4), "\x28\xc1\x1d\xaf");
    EXPECT_EQ(Number(), 1u);
    struct Entry {
      std::string name;
      std::uint32_t length, checksum;
    };
    std::vector<Entry> entries(Number());
    for (Entry& entry : entries) {
      entry.name = Take(Number());
      entry.length = Number();
      entry.checksum = Number();
    }
    std::vector<std::pair<std::string, std::string>> sections;
    for (const Entry& entry : entries) {
      sections.emplace_back(entry.name, Take(entry.length));
      EXPECT_EQ(Checksum(sections.back().second), entry.checksum) << entry.name;
    }
    EXPECT_EQ(at_, bytes_.size());
    return sections;
  }

 private:
  std::string Take(std::size_t count) {
    EXPECT_LE(at_ + count, bytes_.size());
    at_ += count;
    return bytes_.substr(at_ - count, count);
  }
  std::uint32_t Number() {
    std::uint32_t number = 0;
    for (unsigned shift = 0; shift < 32; shift += 8) {
      number |= std::uint32_t{static_cast<unsigned char>(Take(1)[0])} << shift;
    }
    return number;
  }
  // CRC-32/MPEG-2, bit by bit.
  static std::uint32_t Checksum(const std::string& bytes) {
    std::uint32_t value = 0xFFFFFFFF;
    for (const char byte : bytes) {
      value ^= std::uint32_t{static_cast<unsigned char>(byte)} << 24;
      for (int bit = 0; bit < 8; ++bit) {
        value = value << 1 ^ (value >> 31) * 0x04C11DB7u;
      }
    }
    return value;
  }

  std::string bytes_;
  std::size_t at_ = 0;
};

void ExpectNumbers(const std::string& bytes, const std::vector<double>& expected) {
  ASSERT_EQ(bytes.size(), 8 * expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    double value = 0;
    std::memcpy(&value, bytes.data() + 8 * i, 8);
    EXPECT_NEAR(value, expected[i], 1e-12) << i;
  }
}

TEST(TrussProgramTest, SavesTheSectionsInTheirLayout) {
  const TrussJob job(kTwoBarDeck);
  ASSERT_EQ(job.Run().status, 0);
  const auto sections = SectionFile(ReadWholeFile(job.ResultPath())).Sections();
  const std::pair<std::string, std::string> input[] = {
      {"title", "Two bars"},
      {"node ids", Bytes<std::int32_t>({11, 2, 7})},
      {"bar ids", Bytes<std::int32_t>({300, 1})},
      {"bar nodes", Bytes<std::int32_t>({11, 7, 2, 7})},
      {"node places", Bytes<double>({-3, 0, 0, 3, 0, 0, 0, 4, 0})},
      {"bar areas", Bytes<double>({2, 4})},
      {"bar moduli", Bytes<double>({200, 100})}};
  ASSERT_EQ(sections.size(), 10u);
  for (std::size_t i = 0; i < std::size(input); ++i) {
    EXPECT_EQ(sections[i], input[i]);
  }
  EXPECT_EQ(sections[7].first, "displacements");
  ExpectNumbers(sections[7].second, {0, 0, 0, 0, 0, 0, 750.0 / 7200, -0.15625, 0});
  EXPECT_EQ(sections[8].first, "forces");
  ExpectNumbers(sections[8].second, {-5, -15});
  EXPECT_EQ(sections[9].first, "reactions");
  ExpectNumbers(sections[9].second, {3, 4, 0, -9, 12, 0, 0, 0, 0});
}

TEST(TrussProgramTest, PrintsTables) {
  const TrussJob job(kTwoBarDeck);
  const TrussRun run = job.Run();
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out, kTrussTitle +
                         "\n"
                         "Two bars\n"
                         "\n"
                         "      node   displacement x, y, z\n"
                         "        11              0.              0.              0.\n"
                         "         2              0.              0.              0.\n"
                         "         7        0.104167        -0.15625              0.\n"
                         "\n"
                         "       bar   tension\n"
                         "       300             -5.\n"
                         "         1            -15.\n"
                         "\n"
                         "      node   reaction x, y, z\n"
                         "        11              3.              4.              0.\n"
                         "         2             -9.             12.              0.\n"
                         "         7              0.              0.              0.\n"
                         "\n"
                         "Saved in " +
                         job.ResultPath() + " and read back.\n");
}

TEST(TrussProgramTest, PrintsExponentsOfTwoDigits) {
  const TrussJob job(
      "material 1e12\nnode 1 0 0 0\nnode 2 1 0 0\nbar 1 1 2 1\n"
      "fix 1 xyz\nfix 2 yz\nload 2 1.5e5 0 0\nload 1 1e9 0 0\n");
  const std::string out = job.Run().out;
  EXPECT_NE(out.find("\n         2         1.5e-07              0.              0.\n"),
            std::string::npos)
      << out;
  EXPECT_NE(out.find("\n         1    -1.00015e+09              0.              0.\n"),
            std::string::npos)
      << out;
}

TEST(TrussProgramTest, SavesAnEmptyTitle) {
  const TrussJob job(std::string(kTwoBarDeck).substr(sizeof "title Two bars\n" - 1));
  ASSERT_EQ(job.Run().status, 0);
  const auto sections = SectionFile(ReadWholeFile(job.ResultPath())).Sections();
  EXPECT_EQ(sections[0], std::pair(std::string("title"), std::string()));
}

TEST(TrussProgramTest, ReplacesTheResultsOfAnEarlierRun) {
  const TrussJob job(kTwoBarDeck);
  ASSERT_EQ(job.Run().status, 0);
  const std::string first = ReadWholeFile(job.ResultPath());
  ASSERT_EQ(
      RunTruss({"-job", "job", "-outdir", job.DirPath(), ShippedDeck("space_truss")})
          .status,
      0);
  EXPECT_NE(ReadWholeFile(job.ResultPath()), first);
  ASSERT_EQ(job.Run().status, 0);
  EXPECT_EQ(ReadWholeFile(job.ResultPath()), first);
  EXPECT_FALSE(FileExists(job.ResultPath() + ".lock"));
}

TEST(TrussProgramTest, LeavesOtherSectionsOfTheResultFile) {
  const TrussJob job(kTwoBarDeck);
  {
    utl_MultisectionFile file(job.ResultPath().c_str(), utl_FileAccessWrite);
    file.setSectionData("remark", "kept", 4);
    file.saveChanges();
  }
  ASSERT_EQ(job.Run().status, 0);
  const auto sections = SectionFile(ReadWholeFile(job.ResultPath())).Sections();
  ASSERT_EQ(sections.size(), 11u);
  EXPECT_EQ(sections[0], std::pair(std::string("remark"), std::string("kept")));
  EXPECT_EQ(sections[1].first, "title");
}

TEST(TrussProgramTest, TakesOptionsInAnyOrder) {
  const TrussJob job(kTwoBarDeck);
  const TrussRun run =
      RunTruss({job.DeckPath(), "-outdir", job.DirPath(), "-job", "job"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(FileExists(job.ResultPath()));
}

void ExpectUsage(const std::vector<std::string>& arguments) {
  const TrussRun run = RunTruss(arguments);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_TRUE(run.out.starts_with("kst_truss -job NAME [OPTIONS] DECK\n")) << run.out;
}

TEST(TrussProgramTest, TellsItsUse) {
  ExpectUsage({});
  ExpectUsage({"-help"});
  ExpectUsage({"-job", "job", "-help", "test.deck"});
}

// The lines of the example in the usage, as a user would copy them.
TEST(TrussProgramTest, TheExampleInItsUsageRuns) {
  const std::string usage = RunTruss({}).out;
  const std::string example = usage.substr(usage.find("  title Two bars"));
  const TrussJob job(example);
  const TrussRun run = job.Run();
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("         1             -5.\n         2            -15.\n"),
            std::string::npos)
      << run.out;
}

// What the program answers to arguments it does not take, and that it begins nothing.
void ExpectRefusal(const std::vector<std::string>& arguments,
                   const std::string& message) {
  const TrussRun run = RunTruss(arguments);
  EXPECT_EQ(run.status, 1) << testing::PrintToString(arguments);
  EXPECT_EQ(run.out, "") << testing::PrintToString(arguments);
  EXPECT_EQ(run.err, "kst_truss: " + message + "\n") << testing::PrintToString(arguments);
}

constexpr char kHint[] = " (kst_truss -help tells more)";

TEST(TrussProgramTest, NeedsOneDeckThatIsNoOptionsValue) {
  ExpectRefusal({"-job", "a"}, std::string("expected the name of a deck") + kHint);
  ExpectRefusal({"-job", "a", "-digits", "3"},
                std::string("expected the name of a deck") + kHint);
  ExpectRefusal(
      {"one.deck", "-job", "a", "two.deck"},
      std::string("expected one deck, not \"one.deck\" and \"two.deck\"") + kHint);
}

TEST(TrussProgramTest, ShowsEndlessNamesInPart) {
  const TrussJob job(kTwoBarDeck);
  const std::string endless = 'a' + std::string(100000, 'b') + 'c';
  const std::string shown =
      'a' + std::string(97, 'b') + "..." + std::string(97, 'b') + 'c';
  const TrussRun run = job.Run({"-import", endless});
  EXPECT_TRUE(run.err.starts_with("kst_truss: " + shown + ": ")) << run.err;
  EXPECT_EQ(RunTruss({"-job", "job", "-outdir", job.DirPath(), endless}).err,
            "kst_truss: " + shown + ": cannot be read\n");
  ExpectRefusal({"-job", "a", endless, "b"},
                "expected one deck, not \"" + shown + "\" and \"b\"" + kHint);
  ExpectRefusal({"-job", "a", '-' + endless}, "unknown option -" + shown.substr(0, 97) +
                                                  "..." + shown.substr(101) + kHint);
  ExpectRefusal({"-job", "a", "-svg", endless, job.DeckPath()},
                "cannot write " + shown + kHint);
}

TEST(TrussProgramTest, RefusesOptionsThatItDoesNotKnow) {
  const TrussJob job(kTwoBarDeck);
  for (const char* option : {"-jobs", "-Job", "--job", "-", "-x.deck", "-5", "-helpme"}) {
    ExpectRefusal({"-job", "job", "-outdir", job.DirPath(), option, job.DeckPath()},
                  std::string("unknown option ") + option + kHint);
  }
  EXPECT_FALSE(FileExists(job.ResultPath()));
}

TEST(TrussProgramTest, RefusesOptionsWithoutTheirValue) {
  const TrussJob job(kTwoBarDeck);
  for (const char* option :
       {"-job", "-outdir", "-digits", "-export", "-import", "-svg"}) {
    const std::string message = std::string("expected a value after ") + option + kHint;
    ExpectRefusal({option}, message);
    ExpectRefusal({option, "", job.DeckPath()}, message);
    ExpectRefusal({option, "-tmpdir", "x", job.DeckPath()}, message);
    ExpectRefusal({job.DeckPath(), option}, message);
  }
}

TEST(TrussProgramTest, RefusesJobsThatAreNoNames) {
  const TrussJob job(kTwoBarDeck);
  const std::string end = "\" is no name for a job (kst_truss -help tells more)\n";
  for (const std::string& name :
       {std::string("a/b"), std::string("..\\a"), std::string(".."), std::string("C:a"),
        std::string("$HOME"), std::string("%HOME%"), std::string("a*"), std::string(" a"),
        std::string("a\"b"), std::string("a|b"), std::string("nul"), std::string("Com1"),
        std::string("aux.1"), std::string("\x01")}) {
    const TrussRun run =
        RunTruss({"-job", name, "-outdir", job.DirPath(), job.DeckPath()});
    EXPECT_EQ(run.status, 1) << name;
    EXPECT_EQ(run.out, "") << name;
    EXPECT_TRUE(run.err.ends_with(end)) << run.err;
  }
  EXPECT_FALSE(FileExists(job.ResultPath()));
}

TEST(TrussProgramTest, RefusesJobsWithEndlessNames) {
  const TrussJob job(kTwoBarDeck);
  ExpectRefusal({"-job", std::string(101, 'x'), "-outdir", job.DirPath(), job.DeckPath()},
                std::string("a job's name has 100 characters at the most") + kHint);
}

TEST(TrussProgramTest, TakesJobsWithBlanksAndLettersOfAnyKind) {
  const std::string longest(100, 'x');
  for (const char* name :
       {"tall mast", "null", "auxiliary", "m\xe4st", "a.b", longest.c_str()}) {
    const TrussJob job(kTwoBarDeck);
    const TrussRun run = job.Run({"-job", name});
    EXPECT_EQ(run.status, 0) << name << ": " << run.err;
  }
}

TEST(TrussProgramTest, NeedsAJob) {
  const TrussJob job(kTwoBarDeck);
  const std::string message = "Command line argument job is required.";
  ExpectRefusal({job.DeckPath()}, message);
  ExpectRefusal({"-outdir", job.DirPath(), job.DeckPath()}, message);
}

TEST(TrussProgramTest, RefusesDigitsThatAreNoNumber) {
  const TrussJob job(kTwoBarDeck);
  for (const char* digits : {"12x", "+5", "1.5", "many"}) {
    ExpectRefusal(
        {"-job", "job", "-outdir", job.DirPath(), "-digits", digits, job.DeckPath()},
        "Command line argument digits must have type integer");
  }
  EXPECT_FALSE(FileExists(job.ResultPath()));
}

TEST(TrussProgramTest, PrintsAsManyDigitsAsAskedFor) {
  const TrussJob job(kTwoBarDeck);
  const std::pair<const char*, const char*> rows[] = {
      {"0", "\n         7        0.1       -0.2         0.\n"},
      {"2", "\n         7         0.1       -0.16          0.\n"},
      {"13",
       "\n         7        0.1041666666667               -0.15625"
       "                     0.\n"},
  };
  for (const auto& [digits, line] : rows) {
    const TrussRun run = job.Run({"-digits", digits});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find(line), std::string::npos) << run.out;
  }
}

// A line has 80 columns; every line is broken like the one before it.
TEST(TrussProgramTest, BreaksLinesThatAreTooLong) {
  const TrussJob job(kTwoBarDeck);
  const std::pair<const char*, const char*> rows[] = {
      {"14",
       "\n        11                      0.                      0.\n"
       "                      0.\n"
       "         2                      0.                      0.\n"
       "                      0.\n"
       "         7        0.10416666666667                -0.15625\n"
       "                      0.\n"},
      {"99",
       "\n         7        0.10416666666666667                   -0.15625\n"
       "                         0.\n"},
  };
  for (const auto& [digits, lines] : rows) {
    const TrussRun run = job.Run({"-digits", digits});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find(lines), std::string::npos) << run.out;
  }
}

TEST(TrussProgramTest, RefusesADirectoryThatIsNotThereBeforeItReadsTheDeck) {
  const TrussJob job("no deck\n");
  for (const std::string& directory :
       {job.File("none"), std::string("none"), std::string("a/b"), std::string("Q:\\out"),
        std::string("http://host/out"), std::string("Network connectors"), job.DeckPath(),
        std::string(100000, 'x')}) {
    const TrussRun run = RunTruss({"-job", "job", "-outdir", directory, job.DeckPath()});
    EXPECT_EQ(run.status, 1) << directory;
    EXPECT_EQ(run.out, "") << directory;
    EXPECT_TRUE(run.err.starts_with("kst_truss: there is no directory ")) << run.err;
  }
  EXPECT_FALSE(FileExists("job.kdb"));
}

TEST(TrussProgramTest, RefusesADirectoryWhereNothingCanBeWritten) {
  const TrussJob job("no deck\n");
  const std::string root = job.DirPath().substr(0, job.DirPath().find("tmp"));
  const std::string directory = root + "proc";  // not even root makes files there
  ExpectRefusal({"-job", "job", "-outdir", directory, job.DeckPath()},
                "cannot write " + directory + root.back() + "job.kdb" + kHint);
}

TEST(TrussProgramTest, RefusesADirectoryInTheResultsPlace) {
  const TrussJob job("no deck\n");
  std::filesystem::create_directory(job.ResultPath());
  ExpectRefusal({"-job", "job", "-outdir", job.DirPath(), job.DeckPath()},
                "cannot write " + job.ResultPath() + kHint);
}

TEST(TrussProgramTest, TakesARelativeDirectory) {
  const TrussJob job(kTwoBarDeck);
  std::filesystem::create_directory(job.File("out"));
  const CurrentDirectory inside(job.DirPath());
  for (const char* directory : {"out", "./out", "out/", ".\\out", "out/../out"}) {
    const TrussRun run = RunTruss({"-job", "job", "-outdir", directory, "test.deck"});
    EXPECT_EQ(run.status, 0) << directory << ": " << run.err;
    EXPECT_TRUE(FileExists("out/job.kdb")) << directory;
    std::filesystem::remove("out/job.kdb");
  }
  EXPECT_FALSE(FileExists("job.kdb"));
}

TEST(TrussProgramTest, TakesAnAbsoluteDirectoryInEveryForm) {
  const TrussJob job(kTwoBarDeck);
  const std::string shown = job.ShownDirPath();
  std::string portable = shown;
  std::replace(portable.begin(), portable.end(), '\\', '/');
  const ScopedEnvironment variable("KST_TRUSS_OUT", shown.c_str());
  for (const std::string& directory :
       {shown, shown + "\\", portable, shown.substr(2), portable.substr(2),
        std::string("$KST_TRUSS_OUT"), std::string("%KST_TRUSS_OUT%/.")}) {
    const TrussRun run = RunTruss({"-job", "job", "-outdir", directory, job.DeckPath()});
    EXPECT_EQ(run.status, 0) << directory << ": " << run.err;
    EXPECT_TRUE(FileExists(job.ResultPath())) << directory;
    std::filesystem::remove(job.ResultPath());
  }
}

TEST(TrussProgramTest, SavesInTheCurrentDirectoryWithoutAnother) {
  const TrussJob job(kTwoBarDeck);
  const CurrentDirectory inside(job.DirPath());
  EXPECT_EQ(RunTruss({"-job", "job", "test.deck"}).status, 0);
  EXPECT_TRUE(FileExists(job.ResultPath()));
}

TEST(TrussProgramTest, TakesTheJobsNameFromTheEnvironmentFirst) {
  const TrussJob job(kTwoBarDeck);
  {
    const ScopedEnvironment name("SUPAUXNAME", "other");
    EXPECT_EQ(RunTruss({"-outdir", job.DirPath(), job.DeckPath()}).status, 0);
    EXPECT_TRUE(FileExists(job.DirPath() + "/other.kdb"));
    EXPECT_EQ(job.Run().status, 0);
    EXPECT_FALSE(FileExists(job.ResultPath()));
  }
  const ScopedEnvironment name("SUPAUXNAME", " other");
  EXPECT_EQ(job.Run().status, 0);
  EXPECT_TRUE(FileExists(job.ResultPath()));
}

TEST(TrussProgramTest, ResolvesTheDecksName) {
  const TrussJob job(kTwoBarDeck);
  const ScopedEnvironment variable("KST_TRUSS_DECKS", job.ShownDirPath().c_str());
  for (const char* deck :
       {"$KST_TRUSS_DECKS/test.deck", "%KST_TRUSS_DECKS%\\test.deck"}) {
    const TrussRun run = RunTruss({"-job", "job", "-outdir", job.DirPath(), deck});
    EXPECT_EQ(run.status, 0) << run.err;
  }
}

TEST(TrussProgramTest, TakesTheLastValue) {
  const TrussJob job(kTwoBarDeck);
  const TrussRun run = job.Run({"-job", "other"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(FileExists(job.File("other.kdb")));
}

TEST(TrussProgramTest, IsTheLearnerEditionWhereTheEnvironmentSaysSo) {
  const TrussJob job(kTwoBarDeck);
  const ScopedEnvironment learner("KES_LEARNER", "ON");
  const TrussRun run = job.Run();
  EXPECT_TRUE(run.out.starts_with("KESTRA Learner Edition 6.6-7\n\nTwo bars\n"))
      << run.out;
}

TEST(TrussProgramTest, LeavesALockedResultFileAlone) {
  const TrussJob job(kTwoBarDeck);
  ASSERT_EQ(job.Run().status, 0);
  const std::string before = ReadWholeFile(job.ResultPath());
  WriteWholeFile(job.ResultPath() + ".lock", "");
  const TrussRun run = job.Run();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "kst_truss: \"" + job.ShownResultPath() +
                         "\": Cannot create the lock file.\n"
                         "kst_truss: If no other program has the file open, remove " +
                         job.ResultPath() + ".lock\n");
  EXPECT_EQ(ReadWholeFile(job.ResultPath()), before);
  EXPECT_TRUE(FileExists(job.ResultPath() + ".lock"));
}

TEST(TrussProgramTest, TakesTheEmptyFileOfAJobThatDiedBeforeItsFirstSave) {
  const TrussJob job(kTwoBarDeck);
  WriteWholeFile(job.ResultPath(), "");
  const TrussRun run = job.Run();
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(SectionFile(ReadWholeFile(job.ResultPath())).Sections().size(), 10u);
}

TEST(TrussProgramTest, LeavesAFileOfAnotherKindAlone) {
  const TrussJob job(kTwoBarDeck);
  WriteWholeFile(job.ResultPath(), "no section file");
  const TrussRun run = job.Run();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "kst_truss: \"" + job.ShownResultPath() + "\": Invalid file type\n");
  EXPECT_EQ(ReadWholeFile(job.ResultPath()), "no section file");
}

}  // namespace
