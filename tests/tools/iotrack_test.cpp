#include "iotrack/IoTrack.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "common/environment/ScopedEnvironment.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "tools/RunTool.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_TrackedFile.h"

namespace {

constexpr char kTotalsHead[] =
    "IO Tracking Totals\n"
    "Code Mark, Elapsed Time, Work Write Count, Work Write MB, Work Write Time, Work "
    "Read "
    "Count, Work Read MB, Work Read Time, Scratch Write Count, Scratch Write MB, Scratch "
    "Write Time, Scratch Read Count, Scratch Read MB, Scratch Read Time\n";
constexpr char kFileHead[] =
    "IO Tracking Totals\n"
    "Code Mark, Elapsed Time, Write Count, Write MB, Write Time, Read Count, Read MB, "
    "Read "
    "Time\n";
constexpr char kTotals[] =
    "in, put, 0.500000, 0, 0.000000, 0.000000, 2, 1.000000, 0.100000, 0, 0.000000, "
    "0.000000, 0, 0.000000, 0.000000\n"
    "solution, 2.500000, 4, 2.500000, 0.250000, 2, 1.000000, 0.100000, 4, 16.000000, "
    "2.000000, 4, 16.000000, 1.000000\n";
constexpr char kSummary[] =
    "IO Summary for All Files\n\nWORK DIRECTORY FILES\n"
    "run\\beam.deck, 0.000000, 0.000000, 1.000000, 4.000000\n"
    "run\\a, b.kdb, 2.500000, 0.250000, 0.000000, 0.000000\n"
    "\n\nSCRATCH DIRECTORY FILES\n"
    "D:\\scratch\\beam.mat, 16.000000, 2.000000, 16.000000, 1.000000\n\n";

class KstIoTrackTest : public testing::Test {
 protected:
  KstIoTrackTest() { WriteJob("beam"); }
  ~KstIoTrackTest() override { thr_GlobalSingleton<utl_IOTracker_Container>::Destroy(); }

  std::string Path(const std::string& name) const { return dir_.File(name); }
  void Write(const std::string& name, const std::string& bytes) const {
    WriteWholeFile(Path(name), bytes);
  }
  void WriteJob(const std::string& job) const {
    Write(job + ".ioTotal", std::string(kTotalsHead) + kTotals);
    Write(job + ".ioFileSummary", kSummary);
  }

  static ToolRun Run(const std::vector<std::string>& arguments) {
    return RunWith(KstIoTrack, arguments);
  }
  static Json Read(const std::string& job) {
    return Json::parse(Run({"--json", job}).out)["jobs"][0];
  }

  // What of the table of files begins with that file's name.
  static std::string FilesIn(const std::string& out) {
    const std::string head = " kind     file\n";
    return out.substr(out.find(head) + head.size());
  }

  const TempDir dir_;
};

TEST_F(KstIoTrackTest, HelpTeachesByExampleAndVersionIsTheProducts) {
  EXPECT_EQ(Run({"--help"}).status, kGood);
  EXPECT_NE(Run({"--help"}).out.find("kst_iotrack beam --by time"), std::string::npos);
  EXPECT_EQ(Run({"--version"}).out, "kst_iotrack 6.6-7\n");
}

TEST_F(KstIoTrackTest, WrongUseHasStatusTwo) {
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {},
           {"--by", "size", Path("beam")},
           {"--top", "-1", Path("beam")},
           {"--top", "many", Path("beam")},
           {"--csv", "marks", Path("beam")},
           {"--csv", "files", "--json", Path("beam")}}) {
    const ToolRun run = Run(arguments);
    EXPECT_EQ(run.status, kTrouble);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.starts_with("kst_iotrack: ")) << run.err;
    EXPECT_NE(run.err.find("Try kst_iotrack --help\n"), std::string::npos) << run.err;
  }
}

TEST_F(KstIoTrackTest, ShowsDirectoriesRateAndFiles) {
  const ToolRun run = Run({Path("beam")});
  EXPECT_EQ(run.status, kGood) << run.err;
  EXPECT_EQ(
      run.out,
      Path("beam") +
          ": 3 files, 2 lines of totals\n"
          "\n"
          "         MB           s        MB/s  directory\n"
          "      2.500       0.250        10.0  work, written\n"
          "      1.000       4.000         0.2  work, read\n"
          "     16.000       2.000         8.0  scratch, written\n"
          "     16.000       1.000        16.0  scratch, read\n"
          "\n"
          "  elapsed s          MB        MB/s  rate over time"
          "                            up to the mark\n"
          "      0.500       1.000         2.0  #####                                    "
          " "
          "in, put\n"
          "      2.500      34.500        17.2  ######################################## "
          " "
          "solution\n"
          "\n"
          " MB written     MB read           s     count kind     file\n"
          "     16.000      16.000       3.000         - scratch  D:\\scratch\\beam.mat\n"
          "      2.500       0.000       0.250         - work     run\\a, b.kdb\n"
          "      0.000       1.000       4.000         - work     run\\beam.deck\n");
}

TEST_F(KstIoTrackTest, FilesAreOrderedAndCut) {
  EXPECT_EQ(
      FilesIn(Run({Path("beam"), "--by", "time", "--top", "2"}).out),
      "      0.000       1.000       4.000         - work     run\\beam.deck\n"
      "     16.000      16.000       3.000         - scratch  D:\\scratch\\beam.mat\n");
  EXPECT_EQ(FilesIn(Run({Path("beam"), "--top", "0"}).out), "");
}

TEST_F(KstIoTrackTest, CountsComeFromIndividualFiles) {
  Write("beam.deck_ioTotal", std::string(kFileHead) +
                                 "x, 0.1, 0, 0.000000, 0.0, 2, 0.5, 0.1\n"
                                 "y, 0.1, 0, 0.000000, 0.0, 7, 1.000000, 0.1\n");
  Write("a, b.kdb_ioTotal",
        std::string(kFileHead) + "x, 0.1, 3, 2.6, 0.0, 2, 0.0, 0.1\n");
  EXPECT_EQ(FilesIn(Run({Path("beam"), "--by", "count"}).out),
            "      0.000       1.000       4.000         7 work     run\\beam.deck\n"
            "      2.500       0.000       0.250         - work     run\\a, b.kdb\n"
            "     16.000      16.000       3.000         - scratch  "
            "D:\\scratch\\beam.mat\n")
      << "of a, b.kdb more was written than the summary has: it is another file's";
  EXPECT_EQ(Read(Path("beam"))["files"][0]["read"]["count"], 7);
  EXPECT_EQ(Read(Path("beam"))["files"][1]["read"]["count"], nullptr);
}

TEST_F(KstIoTrackTest, FilesOfOneNameHaveNoCounts) {
  Write("beam.ioFileSummary",
        "IO Summary for All Files\n\nWORK DIRECTORY FILES\na\\x, 1, 1, 1, 1\n\n\n"
        "SCRATCH DIRECTORY FILES\nb\\X, 1, 1, 1, 1\n\n");
  Write("x_ioTotal", std::string(kFileHead) + "m, 0.1, 1, 1.0, 0.0, 1, 1.0, 0.1\n");
  EXPECT_EQ(Read(Path("beam"))["files"][0]["read"]["count"], nullptr);
}

TEST_F(KstIoTrackTest, AnyNameOfAJobLeadsToIt) {
  std::filesystem::create_directory(Path("run"));
  WriteJob("run/b.ioTotals");
  for (const char* job : {"beam.ioTotal", "beam.ioFileSummary", "beam.ioInc"}) {
    EXPECT_EQ(Read(Path(job))["files"].size(), 3u) << job;
  }
  EXPECT_EQ(Read(Path("run/b.ioTotals"))["files"].size(), 3u);
  Write("run/ioTotal", std::string(kTotalsHead) + kTotals);
  for (const char* job : {"run", "run/", "run/ioTotal"}) {
    const ToolRun run = Run({"--json", Path(job)});
    EXPECT_EQ(run.status, kFinding) << job;
    EXPECT_EQ(Json::parse(run.out)["jobs"][0]["totals"].size(), 2u) << job;
  }
  Write("beam.ioTotal_2", std::string(kTotalsHead) + kTotals);
  Write("beam.ioFileSummary_2", kSummary);
  std::filesystem::remove(Path("beam.ioTotal"));
  EXPECT_EQ(Run({Path("beam.ioFileSummary_2")}).status, kGood);
  EXPECT_EQ(Read(Path("beam.ioFileSummary_2"))["totals"].size(), 2u) << "suffix";
}

TEST_F(KstIoTrackTest, ReadsWhatTheLibraryWrites) {
  const CurrentDirectory here(dir_.Path());
  const ScopedEnvironment track("KES_IO_TRACK", "2");
  const ScopedEnvironment individual("KES_IO_INDIVIDUAL", "1");
  auto& holder = thr_GlobalSingleton<utl_IOTracker_Container>::Instance();
  for (const char* label : {"first, 1, 2.0", "", "with blanks", "1, 2, 3"}) {
    utl_TrackedFile file("a, 1.dat", utl_FileAccessWrite, utl_FileShareDefault);
    file.Write(std::string(1 << 20, 'x').c_str(), 1 << 20);
    utl_IOTracker_Mark(label);
  }
  holder.Tracker()->TimePoint();
  thr_GlobalSingleton<utl_IOTracker_Container>::Destroy();
  const ToolRun run = Run({Path("ioTotal"), "--json"});
  EXPECT_EQ(run.status, kGood) << run.err;
  const Json job = Json::parse(run.out)["jobs"][0];
  std::vector<Json> labels;
  for (const Json& line : job["totals"]) {
    labels.push_back(line["label"]);
  }
  EXPECT_EQ(labels,
            (std::vector<Json>{"first, 1, 2.0", "", "with blanks", "1, 2, 3", nullptr}));
  ASSERT_EQ(job["files"].size(), 1u);
  EXPECT_EQ(job["files"][0]["path"], "a, 1.dat");
  EXPECT_EQ(job["files"][0]["written"]["megabytes"], 4.0);
  EXPECT_EQ(job["files"][0]["written"]["count"], 4);
  EXPECT_EQ(job["totals"][2]["work"]["written"]["count"], 3);
}

TEST_F(KstIoTrackTest, TimedModeHasNoLabels) {
  std::string bytes = std::string(kTotalsHead) + kTotals;
  bytes.replace(bytes.find("Code Mark, "), 11, "");
  bytes.replace(bytes.find("in, put, "), 9, "");
  bytes.replace(bytes.find("solution, "), 10, "");
  Write("beam.ioTotal", bytes);
  EXPECT_EQ(Run({Path("beam")}).status, kGood);
  EXPECT_EQ(Read(Path("beam"))["totals"][1]["label"], nullptr);
  EXPECT_EQ(Read(Path("beam"))["totals"][1]["elapsed"], 2.5);
}

TEST_F(KstIoTrackTest, EveryCutIsFound) {
  const std::string totals = std::string(kTotalsHead) + kTotals;
  for (const auto& [name, whole] :
       {std::pair<std::string, std::string>("beam.ioTotal", totals),
        {"beam.ioFileSummary", kSummary}}) {
    WriteJob("beam");
    for (std::size_t length = 0; length < whole.size(); ++length) {
      const std::string bytes = whole.substr(0, length);
      Write(name, bytes);
      // Lines can only be missing at the end unseen, and totals have no end of their own.
      const bool isSeen = name != "beam.ioTotal" || length < sizeof kTotalsHead - 1 ||
                          bytes.back() != '\n';
      EXPECT_EQ(Run({Path("beam")}).status, isSeen ? kFinding : kGood) << length;
    }
  }
}

TEST_F(KstIoTrackTest, EveryFileThatIsCutIsToldWithItsLine) {
  const std::string totals = std::string(kTotalsHead) + kTotals;
  const std::string head = "kst_iotrack: " + Path("beam") + ": " + Path("beam.ioTotal") +
                           " is cut off at line 4, ";
  const std::string end = ", the process still runs or has died\n";
  Write("beam.ioTotal", totals.substr(0, totals.size() - 1));
  Write("beam.ioFileSummary", std::string(kSummary).substr(0, 30));
  EXPECT_EQ(Run({Path("beam")}).err,
            head + Path("beam.ioFileSummary") + " is cut off at line 3" + end);
  std::filesystem::remove(Path("beam.ioFileSummary"));
  EXPECT_EQ(Run({Path("beam")}).err,
            head + "there is no " + Path("beam.ioFileSummary") + end);
}

TEST_F(KstIoTrackTest, AbsentSummaryIsToldAndAbsentJobRefused) {
  std::filesystem::remove(Path("beam.ioFileSummary"));
  const ToolRun run = Run({Path("beam")});
  EXPECT_EQ(run.status, kFinding);
  EXPECT_EQ(run.err, "kst_iotrack: " + Path("beam") + ": there is no " +
                         Path("beam.ioFileSummary") +
                         ", the process still runs or has died\n");
  EXPECT_NE(run.out.find("     16.000       2.000         8.0  scratch, written\n"),
            std::string::npos);
  const ToolRun none = Run({Path("none"), Path("beam")});
  EXPECT_EQ(none.status, kTrouble);
  EXPECT_TRUE(none.err.starts_with("kst_iotrack: " + Path("none") + ": there is no " +
                                   Path("none.ioTotal") + " and no "))
      << none.err;
  EXPECT_NE(none.out.find(Path("beam")), std::string::npos);
}

TEST_F(KstIoTrackTest, DamageIsToldWithFileAndLine) {
  const std::string totals = std::string(kTotalsHead) + kTotals;
  const auto changed = [](std::string bytes, const std::string& what,
                          const std::string& by) {
    return bytes.replace(bytes.find(what), what.size(), by);
  };
  const struct {
    const char* name;
    std::string bytes;
    const char* text;
  } cases[] = {
      {"beam.ioTotal", "some text\n", "line 1: is not of the I/O tracker"},
      {"beam.ioTotal", std::string(70000, '\0'),
       "line 1: is longer than any line of such a file"},
      {"beam.ioTotal", kFileHead, "line 2: does not name the columns of such a file"},
      {"beam.ioTotal", changed(totals, "4, 2.5", "4, -2.5"),
       "line 4: is no line of numbers"},
      {"beam.ioTotal", changed(totals, "4, 2.5", "4, nan"),
       "line 4: is no line of numbers"},
      {"beam.ioTotal", changed(totals, "4, 2.5", "99999999999, 2.5"),
       "line 4: is no line of numbers"},
      {"beam.ioTotal", changed(totals, "in, put, 0.5", "0.5\n"),
       "line 3: is no line of numbers"},
      {"beam.ioFileSummary", totals, "line 1: is not of a summary"},
      {"beam.ioFileSummary", changed(kSummary, "SCRATCH", "scratch"),
       "line 8: is not of a summary"},
      {"beam.ioFileSummary", changed(kSummary, "16.000000, 2.0", "2.0"),
       "line 9: is no file of a summary"},
      {"beam.ioFileSummary", changed(kSummary, ".deck", std::string(".deck\0x", 7)),
       "line 4: is no file of a summary"},
      {"beam.ioFileSummary", std::string(kSummary) + "x",
       "line 11: stands behind the end of the summary"},
      {"beam.deck_ioTotal", totals, "line 2: does not name the columns of such a file"}};
  for (const auto& [name, bytes, text] : cases) {
    WriteJob("beam");
    Write(name, bytes);
    const ToolRun run = Run({Path("beam")});
    EXPECT_EQ(run.status, kTrouble);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "kst_iotrack: " + Path(name) + ": " + text + "\n");
  }
}

TEST_F(KstIoTrackTest, InfiniteTimesAreTaken) {
  std::string bytes = std::string(kTotalsHead) + kTotals;
  bytes.replace(bytes.find("0.250000"), 8, "inf");
  Write("beam.ioTotal", bytes);
  WriteJob("other");
  WriteJob("third");
  const ToolRun run = Run({Path("beam"), Path("other"), Path("third")});
  EXPECT_EQ(run.status, kGood);
  EXPECT_NE(run.out.find("        inf         inf       0.250         inf     3  work, "
                         "written, s, most in " +
                         Path("beam") + "\n"),
            std::string::npos)
      << run.out;
}

TEST_F(KstIoTrackTest, ManyJobsAreSummed) {
  WriteJob("second");
  const ToolRun run = Run({Path("beam"), Path("second"), "--top", "1"});
  EXPECT_EQ(run.status, kGood);
  EXPECT_NE(
      run.out.find("     32.000      16.000      16.000      16.000     2  scratch, "
                   "read, MB\n"),
      std::string::npos)
      << run.out;
  EXPECT_EQ(FilesIn(run.out),
            "     16.000      16.000       3.000         - scratch  "
            "D:\\scratch\\beam.mat of " +
                Path("beam") + "\n");
}

TEST_F(KstIoTrackTest, CsvHasALineForEachFileOrMark) {
  EXPECT_EQ(
      Run({"--csv", "files", Path("beam")}).out,
      "job,directory,path,write_count,write_mb,write_s,read_count,read_mb,read_s\n" +
          Path("beam") + ",work,run\\beam.deck,,0.0,0.0,,1.0,4.0\n" + Path("beam") +
          ",work,\"run\\a, b.kdb\",,2.5,0.25,,0.0,0.0\n" + Path("beam") +
          ",scratch,D:\\scratch\\beam.mat,,16.0,2.0,,16.0,1.0\n");
  const std::string totals = Run({"--csv", "totals", Path("beam")}).out;
  EXPECT_NE(totals.find(Path("beam") +
                        ",\"in, put\",0.5,0,0.0,0.0,2,1.0,0.1,0,0.0,0.0,0,0.0,0.0\n"),
            std::string::npos)
      << totals;
}

TEST_F(KstIoTrackTest, NamesCannotMoveTheCursor) {
  std::string totals = std::string(kTotalsHead) + kTotals;
  totals.replace(totals.find("solution"), 4, "\x1b[2J");
  std::string summary = kSummary;
  summary.replace(summary.find("beam.mat"), 4, "\x1b[2J");
  Write("beam.ioTotal", totals);
  Write("beam.ioFileSummary", summary);
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {}, {Path("beam")}, {"--json"}, {"--csv", "files"}, {"--csv", "totals"}}) {
    std::vector<std::string> all = {Path("beam")};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const ToolRun run = Run(all);
    EXPECT_EQ(run.status, kGood) << run.err;
    EXPECT_EQ(run.out.find('\x1b'), std::string::npos) << run.out;
  }
}

}  // namespace
