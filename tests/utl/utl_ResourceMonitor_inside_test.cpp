// What switches the monitor on, the file it writes, its beginning and its end.

#include "utl/utl_ResourceMonitor.h"

#include <fstream>

#include "common/child/ChildProcess.h"
#include "common/failing/FakeProcess.h"
#include "common/failing/ShortWrites.h"
#include "utl/ResourceMonitorTest.h"
#include "utl/utl_initialize.h"

namespace {

TEST_F(ResourceMonitorTest, WithoutTheVariableNothingIsDoneOrAsked) {
  FakeProcess process;
  Monitor().Initialize("beam");
  EXPECT_FALSE(Monitor().IsEnabled());
  MarkAndTime();
  Finalize();
  EXPECT_TRUE(std::filesystem::is_empty(dir_.Path()));
  EXPECT_EQ(process.Calls(), 0);
  EXPECT_EQ(process.openProcessId, 0u);
}

TEST_F(ResourceMonitorOnTest, BeforeInitializeNothingIsDoneOrAsked) {
  FakeProcess process;
  EXPECT_FALSE(Monitor().IsEnabled());
  MarkAndTime();
  Finalize();
  EXPECT_TRUE(std::filesystem::is_empty(dir_.Path()));
  EXPECT_EQ(process.Calls(), 0);
}

TEST_F(ResourceMonitorTest, TheVariablesValueChoosesExactly) {
  const struct {
    const char* value;
    bool full, method, mallinfo;
  } cases[] = {
      {"FULL", true, false, false},         {"METHOD", false, true, false},
      {"FULLMETHOD", true, true, false},    {"MALLINFO", false, false, true},
      {"full", false, false, false},        {"Method", false, false, false},
      {"fullMETHOD", false, false, false},  {"mallinfo", false, false, false},
      {"FULL ", false, false, false},       {" FULL", false, false, false},
      {"FULLM", false, false, false},       {"METHODFULL", false, false, false},
      {"FULLMETHODS", false, false, false}, {"METHOD,FULL", false, false, false},
      {"MALLINFOX", false, false, false},   {"ON", false, false, false},
      {"0", false, false, false},           {" ", false, false, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    const ScopedEnvironment mode("KES_RESOURCE_MONITOR", c.value);
    Monitor().Initialize("beam");
    EXPECT_TRUE(Monitor().IsEnabled());
    EXPECT_EQ(Monitor().IsMallinfo(), c.mallinfo);
    Monitor().MarkMethod("method");
    Monitor().MarkMethod(cow_String("method"));
    const UseLog log = FinishedLog(c.full);
    ASSERT_EQ(log.marks.size(), c.method ? 4u : 2u);
    EXPECT_EQ(log.marks[0].Label(), c.full ? "beam-Start" : In40("beam-Start"));
    if (c.method) {
      EXPECT_EQ(log.marks[1].Label(), c.full ? "method" : In40("method"));
      EXPECT_EQ(log.marks[2].Label(), log.marks[1].Label());
    }
  }
}

// The calls behind a stream are redirected where the run time's calls are the library's.
TEST_F(ResourceMonitorOnTest, LogIsWholeWhenCallsWriteAPart) {
  const ShortWrites three(3);
  Monitor().Initialize("beam");
  Monitor().Mark("one");
  const UseLog log = FinishedLog();
  ASSERT_EQ(log.marks.size(), 3u);
  EXPECT_EQ(log.marks[1].Label(), In40("one"));
  EXPECT_TRUE(log.finished);
}

TEST_CHILD(monitorAndTell) {
  utl_ResourceMonitor& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
  monitor.Initialize(argv[1]);
  monitor.MarkMethod("method");
  ChildWriteLine(monitor.IsEnabled() ? "on" : "off");
  omi_SingletonBase<utl_ResourceMonitor>::Finalize();
  return 0;
}

// A process can inherit an empty variable on both targets, but set one for itself
// only on one of them.
TEST_F(ResourceMonitorTest, AnEmptyValueTurnsItOnPlainly) {
  SetEmptyForChildren("KES_RESOURCE_MONITOR");
  ChildProcess child = ChildProcess::Start("monitorAndTell", {"beam"});
  EXPECT_EQ(child.ReadLine(), "on");
  EXPECT_EQ(child.Wait(), 0);
  const UseLog log = Log();
  ASSERT_EQ(log.marks.size(), 2u);
  EXPECT_EQ(log.marks[0].Label(), In40("beam-Start"));
}

TEST_F(ResourceMonitorOnTest, EmptyHeadVariablesAreNotUnsetOnes) {
  for (const char* name :
       {"KESTRA_SEQ", "KESTRA_VERSION", "COMPUTERNAME", "PROCESSOR_IDENTIFIER"}) {
    SetEmptyForChildren(name);
  }
  ChildProcess child = ChildProcess::Start("monitorAndTell", {"beam"});
  EXPECT_EQ(child.Wait(), 0);
  EXPECT_TRUE(LogText().starts_with("!Snapshot = \n!Version = \n!Host =  \nbeam.1 "))
      << LogText();
}

TEST_F(ResourceMonitorOnTest, HeadOfUnsetVariables) {
  Monitor().Initialize("beam");
  EXPECT_TRUE(LogText().starts_with("!Snapshot = ?\n!Version = ?\n!Host = ? ?\nbeam.1 "))
      << LogText();
}

TEST_F(ResourceMonitorOnTest, HeadFromTheEnvironment) {
  const std::string longText(5000, 's');
  const ScopedEnvironment sequence("KESTRA_SEQ", longText.c_str());
  const ScopedEnvironment version("KESTRA_VERSION", "6.6-7 %s%n");
  const ScopedEnvironment computer("COMPUTERNAME", "HOST 1");
  const ScopedEnvironment processor("PROCESSOR_IDENTIFIER", "Family 6, Model 85");
  Monitor().Initialize("beam");
  EXPECT_TRUE(LogText().starts_with("!Snapshot = " + longText +
                                    "\n!Version = 6.6-7 %s%n\n"
                                    "!Host = HOST 1 Family 6, Model 85\nbeam.1 "));
}

TEST_F(ResourceMonitorOnTest, EachUnsetHeadVariableIsAQuestionMark) {
  const char* names[] = {"KESTRA_SEQ", "KESTRA_VERSION", "COMPUTERNAME",
                         "PROCESSOR_IDENTIFIER"};
  const char* heads[] = {"!Snapshot = ?\n!Version = x\n!Host = x x\n",
                         "!Snapshot = x\n!Version = ?\n!Host = x x\n",
                         "!Snapshot = x\n!Version = x\n!Host = ? x\n",
                         "!Snapshot = x\n!Version = x\n!Host = x ?\n"};
  for (std::size_t unset = 0; unset < std::size(names); ++unset) {
    for (const char* name : names) {
      SetEnvironment(name, name == names[unset] ? nullptr : "x");
    }
    Monitor().Initialize("beam");
    EXPECT_TRUE(LogText().starts_with(heads[unset])) << names[unset];
  }
}

// Every byte of a log, with numbers chosen by the test.
TEST_F(ResourceMonitorOnTest, WholeLog) {
  const ScopedEnvironment sequence("KESTRA_SEQ", "snap_12Mar nightly");
  const ScopedEnvironment version("KESTRA_VERSION", "6.6-7");
  const ScopedEnvironment computer("COMPUTERNAME", "NODE7");
  const ScopedEnvironment processor("PROCESSOR_IDENTIFIER", "Intel64");
  const std::string id = std::to_string(static_cast<int>(GetCurrentProcessId()));
  FakeProcess process;
  process.SetTime(10, 59, 58, 250);
  process.user = 1'500'000;
  process.kernel = 500'000;
  SetMemory(process, 11, 1);
  Monitor().Initialize("beam");
  Monitor().StartTimer(3, "assembly");
  process.SetTime(11, 0, 1, 0);
  process.user = 12'500'000;
  process.kernel = 1'500'000;
  Monitor().StopTimer(3);
  process.memory.WorkingSetSize = 1'000'000;
  Monitor().Mark("stiffness assembled");
  Finalize();
  EXPECT_EQ(
      LogText(),
      "!Snapshot = snap_12Mar nightly\n"
      "!Version = 6.6-7\n"
      "!Host = NODE7 Intel64\n"
      "beam.1 0                               beam-Start"
      " 0.1 0.1 11 12 0.2 13 14 15 16 17 18 0 0 0 " +
          id +
          " \n"
          "beam.2 3                      stiffness assembled"
          " 1.2 0.1 11 1000000 1.4 13 14 15 16 17 18 0 0 0 " +
          id +
          " \n"
          "beam.3 3                                 beam-End"
          " 1.2 0.1 11 1000000 1.4 13 14 15 16 17 18 0 0 0 " +
          id +
          " \n"
          "!Phase,Wall,Mark,UserCPU,SysCPU,WSP,WS,CPU,QPPP,QPP,QNPPP,QNPP,PageFaults,"
          "PeakPageFileUsage,0,0,0,ProcessID\n"
          "!Timer Summary                     # calls     CPU/call      CPU       "
          "Elapsed\n"
          "!Timer 3 :               assembly   1      1.2000      1.2000      2.8 \n"
          "!Timer 20 :                   Self   1000      0.0000      0.0000      0.0 "
          "\n");
}

// The page of the format begins its log, indented, with this line.
TEST(ResourceLogPageTest, ShowsALogThatItsReaderReads) {
  std::string page = ReadText(KST_RESOURCE_LOG_PAGE);
  page.erase(0, page.find("    !Snapshot = snap"));
  page.erase(page.find("\n\n") + 1);
  std::string text;
  for (std::size_t at = 0; at < page.size();) {
    const std::size_t next = page.find('\n', at) + 1;
    text += page.substr(at + 4, next - at - 4);
    at = next;
  }
  const UseLog log = ReadUseLog(text, "Z:\\tmp\\tall mast", false);
  EXPECT_EQ(log.version, "6.6-7");
  ASSERT_EQ(log.marks.size(), 6u);
  EXPECT_EQ(log.marks[1].Label(), std::string(36, ' ') + "read");
  EXPECT_EQ(log.Number(log.marks[1], "WS"), 14'180'352);
  ASSERT_EQ(log.timers.size(), 5u);
  EXPECT_EQ(log.timers[2].name, "solve");
  EXPECT_EQ(log.timers[2].elapsed, 1.1);
}

TEST_F(ResourceMonitorOnTest, LinesEndAsTheTargetsTextFilesDo) {
  std::ofstream("text") << "\n";
  const std::string end = ReadWholeFile("text");
  Monitor().Initialize("beam");
  Finalize();
  const std::string bytes = ReadWholeFile("beam.use");
  EXPECT_TRUE(bytes.starts_with("!Snapshot = ?" + end + "!Version = ?" + end));
  EXPECT_TRUE(bytes.ends_with(" " + end));
}

TEST_F(ResourceMonitorOnTest, TheLogIsNamedAfterTheJob) {
  std::filesystem::create_directory("sub");
  const ScopedEnvironment variable("UTL_JOB_DIR", "sub");
  const struct {
    std::string job, file;
  } cases[] = {
      {"beam", "beam.use"},
      {"beam.v2", "beam.v2.use"},
      {"two words", "two words.use"},
      {"sub/beam", "sub/beam.use"},
      {"sub\\plate", "sub/plate.use"},
      {dir_.File("frame"), "frame.use"},
      {dir_.ShownPath() + "\\shell", "shell.use"},
      {"%UTL_JOB_DIR%/a", "sub/a.use"},
      {"$UTL_JOB_DIR/b", "sub/b.use"},
      {"", ".use"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.job);
    Monitor().Initialize(c.job.c_str());
    Finalize();
    ASSERT_TRUE(FileExists(c.file));
    const UseLog log = ReadUseLog(ReadText(c.file), c.job, false);
    EXPECT_EQ(log.marks.size(), 2u);
    EXPECT_EQ(log.timers.size(), 1u);
  }
}

TEST_F(ResourceMonitorOnTest, NoJobNameIsAnEmptyOne) {
  Monitor().Initialize(nullptr);
  EXPECT_TRUE(Monitor().IsEnabled());
  Finalize();
  const UseLog log = Log("");
  EXPECT_EQ(log.marks[0].Phase(), ".1");
  EXPECT_EQ(log.marks[0].Label(), In40("-Start"));
  EXPECT_EQ(log.marks[1].Label(), In40("-End"));
}

TEST_F(ResourceMonitorOnTest, ALongJobNameIsWrittenWholeInPhases) {
  const std::string job(120, 'j');
  Monitor().Initialize(job.c_str());
  Finalize();
  const UseLog log = Log(job);
  EXPECT_EQ(log.marks[0].Phase(), job + ".1");
  EXPECT_EQ(log.marks[0].Label(),
            std::string(19, 'j') + "_" + std::string(14, 'j') + "-Start");
}

TEST_F(ResourceMonitorOnTest, AnOldLogIsEmptied) {
  WriteWholeFile("beam.use", std::string(100000, 'x'));
  Monitor().Initialize("beam");
  EXPECT_EQ(Log().marks.size(), 1u);
}

TEST_F(ResourceMonitorOnTest, ALogThatCannotBeOpenedLeavesItOff) {
  std::filesystem::create_directory("taken.use");
  const std::string jobs[] = {"missing/beam",          "taken",
                              std::string(300, 'j'),   std::string(100000, 'j'),
                              "kstrdb://server/job",   "http://server/job",
                              "Network connectors/job"};
  for (const std::string& job : jobs) {
    SCOPED_TRACE(job.substr(0, 100));
    FakeProcess process;
    Monitor().Initialize(job.c_str());
    EXPECT_FALSE(Monitor().IsEnabled());
    EXPECT_EQ(process.openProcessId, 0u);
    process.timeCalls = 0;
    MarkAndTime();
    Finalize();
    EXPECT_EQ(process.Calls(), 0);
  }
  EXPECT_TRUE(std::filesystem::is_empty("taken.use"));
  std::filesystem::remove("taken.use");
  EXPECT_TRUE(std::filesystem::is_empty(dir_.Path()));
}

TEST_F(ResourceMonitorOnTest, EveryModeIsOffWithoutALog) {
  for (const char* value : {"FULL", "METHOD", "FULLMETHOD", "MALLINFO"}) {
    const ScopedEnvironment mode("KES_RESOURCE_MONITOR", value);
    Monitor().Initialize("missing/beam");
    EXPECT_FALSE(Monitor().IsEnabled()) << value;
    Monitor().MarkMethod("method");
  }
}

TEST_F(ResourceMonitorOnTest, AfterALogThatCannotBeOpenedAnotherCan) {
  Monitor().Initialize("missing/beam");
  Monitor().Initialize("beam");
  EXPECT_TRUE(Monitor().IsEnabled());
  EXPECT_EQ(FinishedLog().marks.size(), 2u);
}

TEST_F(ResourceMonitorOnTest, WhatCannotBeWrittenIsLostInSilence) {
  std::error_code error;
  std::filesystem::create_symlink("/dev/full", "beam.use", error);
  if (error) {
    GTEST_SKIP() << "no way to a full disk here: " << error.message();
  }
  Monitor().Initialize("beam");
  EXPECT_TRUE(Monitor().IsEnabled());
  Monitor().Mark("lost");
  Monitor().Mark(std::string(100000, 'x').c_str());
  Finalize();
  Monitor().Initialize("plate");
  Finalize();
  EXPECT_EQ(Log("plate").marks.size(), 2u);
}

TEST_F(ResourceMonitorOnTest, TheProcessIsOpenedForItsNumbersAlone) {
  FakeProcess process;
  Monitor().Initialize("beam");
  EXPECT_EQ(process.openAccess, 0x410u);
  EXPECT_EQ(process.openInherit, FALSE);
  EXPECT_EQ(process.openProcessId, GetCurrentProcessId());
  EXPECT_EQ(process.moduleBytes, sizeof(HMODULE));
  EXPECT_EQ(process.nameCharacters, 520u);
  EXPECT_EQ(process.memorySize, 72u);
}

TEST_F(ResourceMonitorOnTest, KnowsTheExecutablesBaseName) {
  EXPECT_EQ(std::wstring(Monitor().ModuleName()), L"");
  Monitor().Initialize("beam");
  const std::wstring name = Monitor().ModuleName();
  EXPECT_EQ(name.substr(0, name.find(L'.')), L"utl_inside_tests");
}

TEST_F(ResourceMonitorOnTest, TheEndClosesLogAndProcess) {
  FakeProcess process;
  Monitor().Initialize("beam");
  const HANDLE handle = process.memoryProcess;
  FILETIME times[4];
  EXPECT_TRUE(GetProcessTimes(handle, times, times + 1, times + 2, times + 3));
  const auto openAlone = [] {
    return CreateFileA("beam.use", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  };
  EXPECT_EQ(openAlone(), INVALID_HANDLE_VALUE);
  Finalize();
  EXPECT_FALSE(GetProcessTimes(handle, times, times + 1, times + 2, times + 3));
  const HANDLE alone = openAlone();
  EXPECT_NE(alone, INVALID_HANDLE_VALUE);
  CloseHandle(alone);
}

TEST_F(ResourceMonitorOnTest, ASecondInitializeEndsTheFirstLog) {
  Monitor().Initialize("first");
  Monitor().StartTimer(0, "timer");
  Monitor().StopTimer(0);
  Monitor().Mark("one");
  Monitor().Initialize("second");
  const UseLog first = Log("first");
  ASSERT_EQ(first.marks.size(), 3u);
  EXPECT_EQ(first.marks[2].Label(), In40("first-End"));
  EXPECT_EQ(first.timers.size(), 2u);
  Finalize();
  const UseLog second = Log("second");
  EXPECT_EQ(second.marks.size(), 2u);
  EXPECT_EQ(second.timers.size(), 1u);
  EXPECT_EQ(second.timers[0].calls, 1000);
}

TEST_F(ResourceMonitorOnTest, ASecondInitializeOfTheSameJobStartsItsLogAnew) {
  Monitor().Initialize("beam");
  Monitor().Mark("one");
  Monitor().Initialize("beam");
  EXPECT_EQ(FinishedLog().marks.size(), 2u);
}

TEST_F(ResourceMonitorTest, ASecondInitializeReadsTheEnvironmentAnew) {
  {
    const ScopedEnvironment mode("KES_RESOURCE_MONITOR", "FULLMETHOD");
    Monitor().Initialize("first");
  }
  {
    const ScopedEnvironment mode("KES_RESOURCE_MONITOR", "ON");
    Monitor().Initialize("second");
    Monitor().MarkMethod("not written");
  }
  Monitor().Initialize("third");
  EXPECT_FALSE(Monitor().IsEnabled());
  EXPECT_EQ(std::wstring(Monitor().ModuleName()), L"");
  EXPECT_TRUE(Log("first", true).finished);
  EXPECT_TRUE(Log("second").finished);
  EXPECT_EQ(Log("second").marks.size(), 2u);
  EXPECT_FALSE(FileExists("third.use"));
}

TEST_F(ResourceMonitorOnTest, TheEndWithoutMonitorDoesNothing) {
  Finalize();
  EXPECT_EQ(omi_Singleton<utl_ResourceMonitor>::Look(), nullptr);
  Monitor().Initialize("beam");
  Finalize();
  Finalize();
  EXPECT_EQ(omi_Singleton<utl_ResourceMonitor>::Look(), nullptr);
  EXPECT_TRUE(Log().finished);
}

TEST_F(ResourceMonitorOnTest, OutlivesTheLibrarysEnd) {
  int count = 0;
  utl_initialize(count);
  Monitor().Initialize("beam");
  utl_finalize(count);
  EXPECT_TRUE(Monitor().IsEnabled());
  Monitor().Mark("library ended");
  const UseLog log = FinishedLog();
  ASSERT_EQ(log.marks.size(), 3u);
  EXPECT_EQ(log.marks[1].Label(), In40("library ended"));
}

TEST_CHILD(markUntilKilled) {
  utl_ResourceMonitor& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
  monitor.Initialize("beam");
  monitor.StartTimer(0, "timer");
  for (int i = 1; i <= std::stoi(argv[1]); ++i) {
    monitor.Mark(("mark " + std::to_string(i)).c_str());
    monitor.StopTimer(0);
  }
  ChildWriteLine("marked");
  ChildReadLine();
  return 0;
}

TEST_F(ResourceMonitorOnTest, TheLogOfAKilledProcessHasEveryMark) {
  for (int marks : {0, 1, 500}) {
    ChildProcess child = ChildProcess::Start("markUntilKilled", {std::to_string(marks)});
    ASSERT_EQ(child.ReadLine(), "marked");
    child.Kill();
    EXPECT_EQ(child.Wait(), 137);
    const UseLog log = Log();
    EXPECT_FALSE(log.finished);
    ASSERT_EQ(log.marks.size(), static_cast<std::size_t>(marks) + 1);
    EXPECT_EQ(log.marks[0].Label(), In40("beam-Start"));
    for (int i = 1; i <= marks; ++i) {
      EXPECT_EQ(log.marks[static_cast<std::size_t>(i)].Label(),
                In40("mark " + std::to_string(i)));
    }
  }
}

}  // namespace
