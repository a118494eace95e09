#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#include "truss_job.h"
#include "utl/utl_MultisectionFile.h"

namespace {

// Two bars that carry 16 down and 6 sideways (closed form: see truss_solve_test.cpp).
constexpr char kDeck[] =
    "title Two bars\nmaterial 200\n"
    "node 11 -3 0 0\nnode 2 3 0 0\nnode 7 0 4 0\n"
    "bar 300 11 7 2\nmaterial 100\nbar 1 2 7 4\n"
    "fix 11 xyz\nfix 2 xyz\nfix 7 z\nload 7 6 -16 0\n";

template <class Value>
std::string Bytes(std::initializer_list<Value> values) {
  std::string bytes;
  for (const Value value : values) {
    using Bits = std::conditional_t<sizeof(Value) == 8, std::uint64_t, std::uint32_t>;
    const auto bits = std::bit_cast<Bits>(value);
    for (unsigned i = 0; i < sizeof(Value); ++i) {
      bytes += static_cast<char>(bits >> 8 * i);
    }
  }
  return bytes;
}

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

TEST(TrussProgram, SavesTheSectionsInTheirLayout) {
  const TrussJob job(kDeck);
  ASSERT_EQ(job.Run().status, 0);
  const auto sections = SectionFile(ReadWholeFile(job.ResultPath())).Sections();
  ASSERT_EQ(sections.size(), 6u);
  EXPECT_EQ(sections[0], std::pair(std::string("title"), std::string("Two bars")));
  EXPECT_EQ(sections[1].first, "nodes");
  EXPECT_EQ(sections[1].second, Bytes<std::int32_t>({3, 11, 2, 7}) +
                                    Bytes<double>({-3, 0, 0, 3, 0, 0, 0, 4, 0}));
  EXPECT_EQ(sections[2].first, "bars");
  EXPECT_EQ(sections[2].second, Bytes<std::int32_t>({2, 300, 1, 11, 7, 2, 7}) +
                                    Bytes<double>({2, 4, 200, 100}));
  EXPECT_EQ(sections[3].first, "displacements");
  ExpectNumbers(sections[3].second, {0, 0, 0, 0, 0, 0, 750.0 / 7200, -0.15625, 0});
  EXPECT_EQ(sections[4].first, "forces");
  ExpectNumbers(sections[4].second, {-5, -15});
  EXPECT_EQ(sections[5].first, "reactions");
  ExpectNumbers(sections[5].second, {3, 4, 0, -9, 12, 0, 0, 0, 0});
}

TEST(TrussProgram, PrintsTables) {
  const TrussJob job(kDeck);
  const TrussRun run = job.Run();
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            "Two bars\n"
            "\n"
            "      node   displacement x, y, z\n"
            "        11               0               0               0\n"
            "         2               0               0               0\n"
            "         7        0.104167        -0.15625               0\n"
            "\n"
            "       bar   tension\n"
            "       300              -5\n"
            "         1             -15\n"
            "\n"
            "      node   reaction x, y, z\n"
            "        11               3               4               0\n"
            "         2              -9              12               0\n"
            "         7               0               0               0\n"
            "\n"
            "Saved in " +
                job.ResultPath() + " and read back.\n");
}

TEST(TrussProgram, SavesAnEmptyTitle) {
  const TrussJob job(std::string(kDeck).substr(sizeof "title Two bars\n" - 1));
  ASSERT_EQ(job.Run().status, 0);
  const auto sections = SectionFile(ReadWholeFile(job.ResultPath())).Sections();
  EXPECT_EQ(sections[0], std::pair(std::string("title"), std::string()));
}

TEST(TrussProgram, ReplacesTheResultsOfAnEarlierRun) {
  const TrussJob job(kDeck);
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

TEST(TrussProgram, LeavesOtherSectionsOfTheResultFile) {
  const TrussJob job(kDeck);
  {
    utl_MultisectionFile file(job.ResultPath().c_str(), utl_FileAccessWrite);
    file.setSectionData("remark", "kept", 4);
    file.saveChanges();
  }
  ASSERT_EQ(job.Run().status, 0);
  const auto sections = SectionFile(ReadWholeFile(job.ResultPath())).Sections();
  ASSERT_EQ(sections.size(), 7u);
  EXPECT_EQ(sections[0], std::pair(std::string("remark"), std::string("kept")));
  EXPECT_EQ(sections[1].first, "title");
}

TEST(TrussProgram, TakesOptionsInAnyOrder) {
  const TrussJob job(kDeck);
  const TrussRun run =
      RunTruss({job.DeckPath(), "-outdir", job.DirPath(), "-job", "job"});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(FileExists(job.ResultPath()));
}

TEST(TrussProgram, AnswersWrongArgumentsWithItsUsage) {
  const std::vector<std::vector<std::string>> rows = {
      {},
      {"test.deck"},
      {"-job"},
      {"-job", "a"},
      {"-job", "", "test.deck"},
      {"-job", "a", "-outdir"},
      {"-job", "a", "-outdir", "", "test.deck"},
      {"-job", "a", "test.deck", "other.deck"},
      {"-job", "a", "-verbose"},
      {"-job", "a", "-verbose", "test.deck"},
      {"test.deck", "-job"}};
  for (const auto& row : rows) {
    const TrussRun run = RunTruss(row);
    EXPECT_EQ(run.status, 1) << testing::PrintToString(row);
    EXPECT_EQ(run.out, "") << testing::PrintToString(row);
    EXPECT_EQ(run.err, "usage: kst_truss -job NAME [-outdir DIR] DECK\n")
        << testing::PrintToString(row);
  }
}

// The library's message, whatever the system's text for the error in its middle.
void ExpectMessage(const TrussRun& run, const std::string& start,
                   const std::string& end) {
  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(run.err.starts_with(start)) << run.err;
  EXPECT_TRUE(run.err.ends_with(end)) << run.err;
}

TEST(TrussProgram, PrintsTheLibrarysMessageForAnAbsentDirectory) {
  const TrussJob job(kDeck);
  const std::string dir = job.DirPath() + "/none";
  ExpectMessage(
      RunTruss({"-job", "job", "-outdir", dir, job.DeckPath()}),
      "*** Error: File open failed (utl_File: CreateFile in OpenWrite)\nerror: ",
      "\nfile: " + dir + "/job.kdb\n");
}

TEST(TrussProgram, LeavesALockedResultFileAlone) {
  const TrussJob job(kDeck);
  ASSERT_EQ(job.Run().status, 0);
  const std::string before = ReadWholeFile(job.ResultPath());
  WriteWholeFile(job.ResultPath() + ".lock", "");
  const TrussRun run = job.Run();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "\"" + job.ResultPath() + "\": Cannot create the lock file.\n");
  EXPECT_EQ(ReadWholeFile(job.ResultPath()), before);
  EXPECT_TRUE(FileExists(job.ResultPath() + ".lock"));
}

TEST(TrussProgram, TakesTheEmptyFileOfAJobThatDiedBeforeItsFirstSave) {
  const TrussJob job(kDeck);
  WriteWholeFile(job.ResultPath(), "");
  const TrussRun run = job.Run();
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(SectionFile(ReadWholeFile(job.ResultPath())).Sections().size(), 6u);
}

TEST(TrussProgram, LeavesAFileOfAnotherKindAlone) {
  const TrussJob job(kDeck);
  WriteWholeFile(job.ResultPath(), "no section file");
  const TrussRun run = job.Run();
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "\"" + job.ResultPath() + "\": Invalid file type\n");
  EXPECT_EQ(ReadWholeFile(job.ResultPath()), "no section file");
}

}  // namespace
