// The program's options -export and -import.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "common/expect/ExpectThrow.h"
#include "examples/truss/Truss.h"
#include "nex/nex_TextException.h"
#include "truss_job.h"

namespace {

constexpr char kTag[] = "KSTtruss";
constexpr char kEarlyEnd[] = ": *** ERROR: End of file on binary stream.";

// A number of elements and the elements, or a text in place of these.
template <class Value>
std::string List(std::initializer_list<Value> values) {
  return Bytes<std::int32_t>({static_cast<std::int32_t>(values.size())}) + Bytes(values);
}
std::string Text(const std::string& bytes) {
  return Bytes<std::int32_t>({static_cast<std::int32_t>(bytes.size())}) + bytes;
}

// Of two bars by another road than the program's; one list is empty.
Record SampleRecord() {
  return {
      "Two bars", {{"node ids", {7, 0x01020304}}}, {{"forces", {}}, {"places", {0.5}}}};
}

TEST(TrussExportTest, IsTheTagTheTitleAndTheLists) {
  const TempDir dir;
  const std::string file = dir.File("x.bin");
  WriteWholeFile(file, std::string(1000, 'x'));
  Export(file, SampleRecord());
  EXPECT_EQ(ReadWholeFile(file), kTag + Text("Two bars") +
                                     List<std::int32_t>({7, 0x01020304}) +
                                     List<double>({}) + List<double>({0.5}));
}

TEST(TrussExportTest, HoldsNodesBarsAndResults) {
  const TrussJob job(kTwoBarDeck);
  const std::string file = job.File("x.bin");
  const TrussRun run = job.Run({"-export", file});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(run.out.ends_with("read back.\nExported to " + file + ".\n")) << run.out;
  const std::string start = kTag + Text("Two bars") + List<std::int32_t>({11, 2, 7}) +
                            List<std::int32_t>({300, 1}) +
                            List<std::int32_t>({11, 7, 2, 7}) +
                            List<double>({-3, 0, 0, 3, 0, 0, 0, 4, 0}) +
                            List<double>({2, 4}) + List<double>({200, 100});
  const std::string bytes = ReadWholeFile(file);
  ASSERT_EQ(bytes.size(), start.size() + (4 + 72) + (4 + 16) + (4 + 72));
  EXPECT_EQ(bytes.substr(0, start.size()), start);
  double tension = 0;
  std::memcpy(&tension, bytes.data() + start.size() + 4 + 72 + 4, 8);
  EXPECT_NEAR(tension, -5, 1e-12);
}

TEST(TrussExportTest, IsTheSameInEveryRun) {
  const TrussJob job(kTwoBarDeck);
  for (const char* name : {"a", "b"}) {
    ASSERT_EQ(job.Run({"-export", job.File(name)}).status, 0);
  }
  EXPECT_EQ(ReadWholeFile(job.File("a")), ReadWholeFile(job.File("b")));
}

TEST(TrussExportTest, FailsOnAFullDiskWithOneLine) {
  const TrussJob job(kTwoBarDeck);
  const std::string root = job.DirPath().substr(0, job.DirPath().find("tmp"));
  const std::string full = root + "dev" + root.back() + "full";
  const TrussRun run = job.Run({"-export", full});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "kst_truss: " + full + ": " + std::strerror(ENOSPC) + "\n");
  EXPECT_EQ(run.out.find("Exported"), std::string::npos) << run.out;
  EXPECT_TRUE(FileExists(job.ResultPath())) << "the job itself is saved";
}

TEST(TrussImportTest, TakesTheJobsOwnExport) {
  const TrussJob job(kTwoBarDeck);
  const std::string file = job.File("x.bin");
  const TrussRun both = job.Run({"-export", file, "-import", file});
  EXPECT_EQ(both.status, 0) << both.err;
  EXPECT_TRUE(
      both.out.ends_with("Exported to " + file + ".\nThe same in " + file + ".\n"))
      << both.out;
  const std::string bytes = ReadWholeFile(file);
  const TrussRun later = job.Run({"-import", file});
  EXPECT_EQ(later.status, 0) << later.err;
  EXPECT_TRUE(later.out.ends_with("read back.\nThe same in " + file + ".\n"));
  EXPECT_EQ(ReadWholeFile(file), bytes);
}

class TrussImportOfTest : public testing::Test {
 protected:
  // What is said of a file of these bytes.
  void ExpectRefusal(const std::string& bytes, const std::string& reason) const {
    WriteWholeFile(file_, bytes);
    EXPECT_THROW_TEXT(Import(file_, SampleRecord()), nex_TextException, file_ + reason);
  }

  TempDir dir_;
  const std::string file_ = dir_.File("x.bin");
  const std::string good_ = (Export(file_, SampleRecord()), ReadWholeFile(file_));
};

TEST_F(TrussImportOfTest, TheRecord) {
  EXPECT_NO_THROW(Import(file_, SampleRecord()));
}

TEST_F(TrussImportOfTest, AFileCutAnywhere) {
  for (std::size_t size = 0; size < good_.size(); ++size) {
    SCOPED_TRACE(size);
    ExpectRefusal(good_.substr(0, size), kEarlyEnd);
  }
}

TEST_F(TrussImportOfTest, AFileWithAnyBitChanged) {
  for (std::size_t bit = 0; bit < 8 * good_.size(); ++bit) {
    SCOPED_TRACE(bit);
    std::string bytes = good_;
    bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ 1 << bit % 8);
    const std::size_t at = bit / 8;
    ExpectRefusal(bytes, at < 8    ? ": no export of this program"
                         : at < 20 ? ": other title than this job's"
                         : at < 32 ? ": other node ids than this job's"
                         : at < 36 ? ": other forces than this job's"
                                   : ": other places than this job's");
  }
}

TEST_F(TrussImportOfTest, AFileWithMoreBehindItsEnd) {
  ExpectRefusal(good_ + '\0', ": longer than an export");
}

TEST_F(TrussImportOfTest, ForeignFiles) {
  ExpectRefusal("", kEarlyEnd);
  ExpectRefusal("title Two bars\n", ": no export of this program");
  ExpectRefusal(std::string(1 << 16, '\xff'), ": no export of this program");
  ExpectRefusal("KSTtruss" + std::string(1 << 16, '\xff'),
                ": other title than this job's");
}

TEST_F(TrussImportOfTest, AMissingFile) {
  std::filesystem::remove(file_);
  EXPECT_THROW_TEXT(Import(file_, SampleRecord()), nex_TextException,
                    file_ + ": " + std::strerror(ENOENT));
}

// Which call refuses it is the system's affair.
TEST_F(TrussImportOfTest, ADirectory) {
  try {
    Import(dir_.Path(), SampleRecord());
    FAIL();
  } catch (const nex_TextException& refusal) {
    EXPECT_TRUE(std::string(refusal.AsString().c_str()).starts_with(dir_.Path() + ": "));
  }
}

struct OtherJob {
  const char* name;
  const char* from;  // what the other deck has in place of this
  const char* to;
  const char* block;
};

const OtherJob kOtherJobs[] = {
    {"Title", "Two bars", "Two rods", "title"},
    {"NumberOfNodes", "fix 11", "node 9 0 0 0\nfix 9 xyz\nfix 11", "node ids"},
    {"Coordinate", "0 4 0", "0 4.5 0", "node places"},
    {"Area", "7 4\nfix", "7 5\nfix", "bar areas"},
    {"Modulus", "material 100", "material 101", "bar moduli"},
    {"Load", "-16 0", "-17 0", "displacements"},
    {"LoadOnASupport", "load", "load 2 1 0 0\nload", "reactions"},
};

class TrussImportFromTest : public testing::TestWithParam<OtherJob> {};

TEST_P(TrussImportFromTest, AnotherJobIsRefused) {
  const TrussJob job(kTwoBarDeck);
  const std::string file = job.File("x.bin");
  ASSERT_EQ(job.Run({"-export", file}).status, 0);
  std::string other = kTwoBarDeck;
  other.replace(other.find(GetParam().from), std::strlen(GetParam().from), GetParam().to);
  const TrussRun run = TrussJob(other).Run({"-import", file});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err,
            "kst_truss: " + file + ": other " + GetParam().block + " than this job's\n");
  EXPECT_EQ(run.out.find("The same"), std::string::npos) << run.out;
}

INSTANTIATE_TEST_SUITE_P(Rows, TrussImportFromTest, testing::ValuesIn(kOtherJobs),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(TrussImportTest, ShowsWhatIsWrongInOneLine) {
  const TrussJob job(kTwoBarDeck);
  const std::string file = job.File("x.bin");
  ASSERT_EQ(job.Run({"-export", file}).status, 0);
  const std::string bytes = ReadWholeFile(file);
  const std::pair<std::string, std::string> rows[] = {
      {bytes.substr(0, bytes.size() / 2), kEarlyEnd},
      {bytes + "x", ": longer than an export"},
      {"x" + bytes, ": no export of this program"},
  };
  for (const auto& [content, reason] : rows) {
    WriteWholeFile(file, content);
    const TrussRun run = job.Run({"-import", file});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "kst_truss: " + file + reason + "\n");
  }
}

}  // namespace
