#include "usage/Usage.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "common/environment/ScopedEnvironment.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "tools/RunTool.h"
#include "utl/utl_ResourceMonitor.h"

namespace {

constexpr char kHead[] =
    "!Snapshot = snap_12Mar nightly\n!Version = 6.6-7\n!Host = node7 Intel64 Family 6\n";
constexpr char kEnd[] =
    "!Phase,Wall,Mark,UserCPU,SysCPU,WSP,WS,CPU,QPPP,QPP,QNPPP,QNPP,PageFaults,"
    "PeakPageFileUsage,0,0,0,ProcessID\n"
    "!Timer Summary                     # calls     CPU/call      CPU       Elapsed\n";
constexpr char kSelf[] =
    "!Timer 20 :                   Self   1000      0.0000      0.0007      0.1 \n";

std::string MarkLine(const std::string& phase, int wall, const std::string& label,
                     const std::string& processor, const std::string& bytes) {
  const std::string fill(label.size() < 40 ? 40 - label.size() : 0, ' ');
  return phase + ' ' + std::to_string(wall) + ' ' + fill + label + ' ' + processor +
         " 0.0 " + bytes + ' ' + bytes + ' ' + processor +
         " 0 0 0 0 10 4096 0 0 0 4711 \n";
}

std::string TimerLine(int number, const std::string& name, const std::string& cpu) {
  const std::string fill(name.size() < 20 ? 20 - name.size() : 0, ' ');
  return "!Timer " + std::to_string(number) + " :   " + fill + name + "   2      0.1000" +
         "      " + cpu + "      1.0 \n";
}

// A log of two phases, of which "solve" took as long as it says.
std::string Log(const std::string& solve) {
  return kHead + MarkLine("a.1", 0, "a-Start", "0.0", "1048576") +
         MarkLine("a.2", 1, "read", "0.5", "2097152") +
         MarkLine("a.3", 9, "solve", solve, "4194304") +
         MarkLine("a.4", 9, "a-End", solve, "1048576") + kEnd +
         TimerLine(1, "read", "0.2000") + TimerLine(2, "solve", "3.2500") + kSelf;
}

class KstUsageTest : public testing::Test {
 protected:
  std::string Path(const std::string& name) const { return dir_.File(name); }

  std::string Written(const std::string& name, const std::string& bytes) const {
    WriteWholeFile(Path(name), bytes);
    return Path(name);
  }

  static ToolRun Run(const std::vector<std::string>& arguments) {
    return RunWith(KstUsage, arguments);
  }

  // What the tool reads in one log, whatever its exit status.
  static Json Read(const std::string& file) {
    return Json::parse(Run({"--json", file}).out)["logs"][0];
  }

  // The log of a job of this name, as the library writes it.
  template <class Work>
  std::string Made(const char* mode, const std::string& job, Work work) const {
    const CurrentDirectory here(dir_.Path());
    const ScopedEnvironment on("KES_RESOURCE_MONITOR", mode);
    auto& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
    monitor.Initialize(job.c_str());
    work(monitor);
    omi_SingletonBase<utl_ResourceMonitor>::Finalize();
    return Path(job + ".use");
  }

  const TempDir dir_;
};

std::vector<std::string> Labels(const Json& log) {
  std::vector<std::string> labels;
  for (const Json& mark : log["marks"]) {
    labels.push_back(mark["label"]);
  }
  return labels;
}

TEST_F(KstUsageTest, HelpTeachesByExampleAndVersionIsTheProducts) {
  EXPECT_EQ(Run({"--help"}).status, kGood);
  EXPECT_NE(Run({"--help"}).out.find("kst_usage --diff old.use new.use"),
            std::string::npos);
  EXPECT_EQ(Run({"--version"}).out, "kst_usage 6.6-7\n");
}

TEST_F(KstUsageTest, WrongUseHasStatusTwo) {
  const std::string log = Written("a.use", Log("4.0"));
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{},
                                             {"--frobnicate", log},
                                             {"--diff", log},
                                             {"--diff", log, log, log},
                                             {"--diff", "--csv", "marks", log, log},
                                             {"--csv", "phases", log},
                                             {"--csv", "marks", "--json", log}}) {
    const ToolRun run = Run(arguments);
    EXPECT_EQ(run.status, kTrouble);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(run.err.starts_with("kst_usage: ")) << run.err;
    EXPECT_NE(run.err.find("Try kst_usage --help\n"), std::string::npos) << run.err;
  }
}

TEST_F(KstUsageTest, ShowsPhasesTimersAndMemory) {
  const std::string log = Written("a.use", Log("4.0"));
  const ToolRun run = Run({log});
  EXPECT_EQ(run.status, kGood);
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(run.out,
            log +
                ": job a, snapshot snap_12Mar nightly, version 6.6-7, host node7 Intel64 "
                "Family 6\n"
                "wall 9 s, CPU 4.0 s (4.0 user, 0.0 system), peak 1.0 MB, 10 page "
                "faults\n"
                "\n"
                "   wall s     CPU s        MB     faults  marks  phase\n"
                "        1       0.5       2.0          0      1  read\n"
                "        8       3.5       4.0          0      1  solve\n"
                "        0       0.0       1.0          0      1  (end)\n"
                "\n"
                "    CPU s  share    wall s     calls  CPU s/call  timer\n"
                "   3.2500   94 %       1.0         2    1.625000  solve\n"
                "   0.2000    6 %       1.0         2    0.100000  read\n"
                "   0.0007    0 %       0.1      1000    0.000001  Self\n"
                "\n"
                "   wall s        MB  memory over time\n"
                "        0       1.0  ##########\n"
                "        1       2.0  ####################\n"
                "        9       4.0  ########################################\n"
                "        9       1.0  ##########\n");
}

TEST_F(KstUsageTest, ReadsWhatTheLibraryWrites) {
  const std::vector<std::string> labels = {
      "pre-solve", "a, b", "two  blanks", "", std::string(41, 'x'), "1 2.0 3", "solve"};
  for (const char* mode : {"ON", "FULL", "METHOD", "FULLMETHOD"}) {
    const bool isWhole = std::string(mode).starts_with("FULL");
    const std::string file =
        Made(mode, "tall mast.1 x", [&](utl_ResourceMonitor& monitor) {
          monitor.StartTimer(3, "long name of a timer, -1  2");
          for (const std::string& label : labels) {
            monitor.Mark(label.c_str());
          }
          monitor.MarkMethod("method");
          monitor.StopTimer(3);
        });
    std::vector<std::string> expected = {"tall mast.1 x-Start"};
    expected.insert(expected.end(), labels.begin(), labels.end());
    if (std::string(mode).ends_with("METHOD")) {
      expected.emplace_back("method");
    }
    expected.emplace_back("tall mast.1 x-End");
    expected[5] = isWhole ? labels[4] : std::string(19, 'x') + "_" + std::string(20, 'x');
    EXPECT_EQ(Run({file}).status, kGood) << mode << Run({file}).err;
    const Json log = Read(file);
    EXPECT_EQ(Labels(log), expected) << mode;
    EXPECT_EQ(log["job"], "tall mast.1 x");
    EXPECT_GT(log["marks"][0]["bytes"], 0);
    EXPECT_EQ(log["timers"].size(), 2u);
    EXPECT_EQ(log["timers"][0]["number"], 3);
    EXPECT_EQ(log["timers"][0]["name"], "long name of a timer, -1  2");
    EXPECT_EQ(log["timers"][1]["calls"], 1000);
  }
}

TEST_F(KstUsageTest, ReadsLongAndEmptyNamesOfJobs) {
  for (const std::string& job : {std::string(45, 'j'), std::string()}) {
    for (const char* mode : {"ON", "FULL"}) {
      EXPECT_EQ(Read(Made(mode, job, [](utl_ResourceMonitor&) {}))["job"], job) << mode;
    }
  }
}

TEST_F(KstUsageTest, LabelMayHoldLineEnds) {
  const std::string file = Made("FULL", "a", [](utl_ResourceMonitor& monitor) {
    monitor.Mark("one\n\ntwo 1 2 3");
    monitor.Mark("three");
  });
  EXPECT_EQ(Labels(Read(file)),
            (std::vector<std::string>{"a-Start", "one\n\ntwo 1 2 3", "three", "a-End"}));
  EXPECT_NE(Run({file}).out.find("  one\\x0a\\x0atwo 1 2 3\n"), std::string::npos);
}

TEST_F(KstUsageTest, MidnightAndLargeNumbersArePutRight) {
  const std::string file =
      Written("a.use", kHead + MarkLine("a.1", 0, "a-Start", "0.0", "-2147483648") +
                           MarkLine("a.2", 600, "late", "0.0", "-1") +
                           MarkLine("a.3", 599, "clock set back", "0.0", "0") +
                           MarkLine("a.4", 700 - 86400, "next day", "0.0", "0") +
                           MarkLine("a.5", 500 - 86400 + 7400, "later", "0.0", "0") +
                           MarkLine("a.6", 800 - 2 * 86400, "third day", "0.0", "0"));
  const Json log = Read(file);
  EXPECT_EQ(log["marks"][0]["bytes"], 2147483648);
  EXPECT_EQ(log["marks"][1]["bytes"], 4294967295);
  EXPECT_EQ(log["marks"][2]["wall"], 599);
  EXPECT_EQ(log["marks"][3]["wall"], 700);
  EXPECT_EQ(log["marks"][4]["wall"], 7900);
  EXPECT_EQ(log["marks"][5]["wall"], 800);
}

TEST_F(KstUsageTest, PhasesOfOneLabelAreOne) {
  const Json log =
      Read(Written("a.use", kHead + MarkLine("a.1", 0, "a-Start", "0.0", "1") +
                                MarkLine("a.2", 2, "step", "1.0", "1") +
                                MarkLine("a.3", 5, "output", "1.5", "1") +
                                MarkLine("a.4", 9, "step", "3.5", "1")));
  ASSERT_EQ(log["phases"].size(), 2u);
  EXPECT_EQ(log["phases"][0]["marks"], 2);
  EXPECT_EQ(log["phases"][0]["wall"], 6);
  EXPECT_EQ(log["phases"][0]["processor"], 3.0);
}

TEST_F(KstUsageTest, CutLogIsReadToItsLastWholeLine) {
  const std::string whole = Log("4.0");
  const std::string first = kHead + MarkLine("a.1", 0, "a-Start", "0.0", "1048576");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const std::string bytes = whole.substr(0, length);
    const std::string file = Written("a.use", bytes);
    const ToolRun run = Run({"--json", file});
    if (length < first.size()) {
      EXPECT_EQ(run.status, kTrouble) << length;
      EXPECT_TRUE(run.err.starts_with("kst_usage: " + file + ": line ")) << run.err;
      continue;
    }
    EXPECT_EQ(run.status, kFinding) << length;
    const auto ends =
        static_cast<std::size_t>(std::count(bytes.begin(), bytes.end(), '\n'));
    EXPECT_EQ(run.err, "kst_usage: " + file + ": is cut off at line " +
                           std::to_string(ends + 1) +
                           ", the process still runs or has died\n");
    const Json log = Json::parse(run.out)["logs"][0];
    EXPECT_EQ(log["cut"], true);
    EXPECT_EQ(log["marks"].size(), std::min<std::size_t>(ends - 3, 4)) << length;
  }
}

TEST_F(KstUsageTest, DamageIsToldWithItsLine) {
  const std::string whole = Log("4.0");
  const auto changed = [&](const std::string& what, const std::string& by) {
    std::string bytes = whole;
    return bytes.replace(bytes.find(what), what.size(), by);
  };
  const struct {
    std::string bytes;
    const char* text;
  } cases[] = {
      {"", "line 1: is no resource log, or only its beginning"},
      {std::string("\x7f"
                   "ELF\0\n",
                   6),
       "line 1: is not of a resource log"},
      {std::string(100000, 'x'), "line 1: is longer than any line of such a file"},
      {std::string(kHead) + "nonsense\n", "line 4: is no first mark"},
      {changed("a-Start", "b-Start"), "line 4: is no first mark"},
      {changed("a.2 1", "a.7 1"), "line 5: mark 2 is damaged"},
      {changed("0.5 0.0", "0.5 0,0"), "line 6: mark 2 is damaged"},
      {changed("0.5 0.0", "0.5 nan"), "line 6: mark 2 is damaged"},
      {changed(" 4711 \na.3", " 99999999999 \na.3"), "line 6: mark 2 is damaged"},
      {changed("!Phase,Wall", "!Phase,wall"), "line 8: mark 5 is damaged"},
      {changed("!Timer Summary ", "!Timers "), "line 9: is not the title of the timers"},
      {changed("!Timer 2", "!Timer 1"), "line 11: is no timer"},
      {changed("!Timer 2 ", "!Timer 21 "), "line 11: is no timer"},
      {changed("3.2500", "x"), "line 11: is no timer"},
      {whole + "more\n", "line 13: is no timer"}};
  for (const auto& [bytes, text] : cases) {
    const std::string file = Written("a.use", bytes);
    const ToolRun run = Run({file});
    EXPECT_EQ(run.status, kTrouble);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "kst_usage: " + file + ": " + text + "\n");
  }
}

TEST_F(KstUsageTest, FileThatCannotBeReadKeepsNoOtherFromIt) {
  const std::string log = Written("a.use", Log("4.0"));
  const ToolRun run = Run({Path("none.use"), dir_.Path(), log});
  EXPECT_EQ(run.status, kTrouble);
  EXPECT_EQ(run.err, "kst_usage: " + Path("none.use") + ": cannot be read\nkst_usage: " +
                         dir_.Path() + ": cannot be read\n");
  EXPECT_NE(run.out.find(log), std::string::npos);
}

TEST_F(KstUsageTest, DifferenceShowsTwoRunsSideBySide) {
  const std::string old = Written("old.use", Log("4.0"));
  std::string bytes = Log("6.0");
  bytes.replace(bytes.find("read 0.5"), 4, "load");
  const std::string fresh = Written("new.use", bytes);
  const ToolRun run = Run({"--diff", old, fresh});
  EXPECT_EQ(run.status, kGood);
  for (const char* line : {"         4.0          6.0         +2.0    +50 %  CPU s\n",
                           "         0.5            -                        read\n",
                           "           -          0.5                        load\n",
                           "         3.5          5.5         +2.0    +57 %  solve\n"}) {
    EXPECT_NE(run.out.find(line), std::string::npos) << line << run.out;
  }
  const Json json = Json::parse(Run({"--diff", "--json", old, fresh}).out);
  EXPECT_EQ(json["old"], old);
  EXPECT_EQ(json["new"], fresh);
  EXPECT_EQ(json["whole job"][1], (Json{{"name", "CPU s"},
                                        {"old", 4.0},
                                        {"new", 6.0},
                                        {"change", 2.0},
                                        {"percent", 50.0}}));
  EXPECT_EQ(json["phases, processor"][0]["name"], "read");
  EXPECT_EQ(json["phases, processor"][0]["new"], nullptr);
  EXPECT_EQ(json["phases, processor"][0]["change"], nullptr);
  EXPECT_EQ(Run({"--diff", "--json", old, Path("none")}).out, "");
  EXPECT_EQ(Run({"--diff", old, Path("none")}).status, kTrouble);
  EXPECT_EQ(Run({"--diff", old, Path("none")}).out, "");
}

TEST_F(KstUsageTest, ManyLogsAreSummedAndTheOutlierFound) {
  std::vector<std::string> arguments;
  for (const char* time : {"4.0", "4.1", "9.0", "4.2"}) {
    arguments.push_back(Written(std::string("r") + time, Log(time)));
  }
  const ToolRun run = Run(arguments);
  EXPECT_EQ(run.status, kGood);
  const std::string slowest = Path("r9.0");
  EXPECT_NE(run.out.find("     21.300       5.325       4.000       9.000     4  CPU s, "
                         "most in " +
                         slowest + ", outlier " + slowest + "\n"),
            std::string::npos)
      << run.out;
  arguments.emplace_back("--json");
  const Json spread = Json::parse(Run(arguments).out)["spread"];
  EXPECT_EQ(spread["whole job"][0]["outliers"].size(), 0u) << "equal wall times";
  EXPECT_EQ(spread["phases"][1]["name"], "solve");
  EXPECT_EQ(spread["phases"][1]["most in"], slowest);
  EXPECT_EQ(spread["phases"][1]["outliers"], Json::array({slowest}));
}

TEST_F(KstUsageTest, CsvHasALineForEachMarkOrTimer) {
  std::string bytes = Log("4.0");
  bytes.replace(bytes.find("  read"), 6, "aa,\"b\x1b");
  const std::string file = Written("a.use", bytes);
  const std::string marks = Run({"--csv", "marks", file}).out;
  EXPECT_TRUE(
      marks.starts_with("file,job,number,wall,label,user,system,processor,bytes,"
                        "peak_bytes,page_faults,page_file_bytes,process\n"));
  EXPECT_NE(
      marks.find(file + ",a,2,1,\"aa,\"\"b\\x1b\",0.5,0.0,0.5,2097152,2097152,10,4096,"
                        "4711\n"),
      std::string::npos)
      << marks;
  EXPECT_EQ(std::count(marks.begin(), marks.end(), '\n'), 5);
  const std::string timers = Run({"--csv", "timers", file}).out;
  EXPECT_NE(timers.find(file + ",a,2,solve,2,3.25,1.0\n"), std::string::npos) << timers;
}

TEST_F(KstUsageTest, NamesCannotMoveTheCursor) {
  std::string bytes = Log("4.0");
  bytes.replace(bytes.find("nightly"), 4, "\x1b[2J");
  bytes.replace(bytes.find("  solve"), 4, "\x1b[2J");
  bytes.replace(bytes.rfind(" solve"), 4, "\x1b[2J");
  const std::string file = Written("a.use", bytes);
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {file}, {file, file}, {"--diff", file, file}, {"--json", file}}) {
    const ToolRun run = Run(arguments);
    EXPECT_EQ((run.out + run.err).find('\x1b'), std::string::npos) << run.out;
  }
}

}  // namespace
