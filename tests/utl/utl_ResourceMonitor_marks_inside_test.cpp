// The lines of marks: labels, numbers, the time of day.

#include "common/environment/DecimalComma.h"
#include "common/failing/FailingCall.h"
#include "common/failing/FakeProcess.h"
#include "utl/ResourceMonitorTest.h"

namespace {

TEST_F(ResourceMonitorOnTest, MarksAreNumberedAndReachTheFileAtOnce) {
  Monitor().Initialize("beam");
  for (std::size_t marks = 1; marks < 30; ++marks) {
    const UseLog log = Log();
    EXPECT_FALSE(log.finished);
    ASSERT_EQ(log.marks.size(), marks);
    EXPECT_EQ(log.marks.back().Phase(), "beam." + std::to_string(marks));
    Monitor().Mark("again");
  }
}

TEST_F(ResourceMonitorOnTest, LabelsTakeFortyColumns) {
  const std::string fifty = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWX";
  const struct {
    std::string label, field;
  } cases[] = {
      {"", std::string(40, ' ')},
      {"a", In40("a")},
      {fifty.substr(0, 39), " " + fifty.substr(0, 39)},
      {fifty.substr(0, 40), fifty.substr(0, 40)},
      {fifty.substr(0, 41), "abcdefghijklmnopqrs_vwxyzABCDEFGHIJKLMNO"},
      {fifty.substr(0, 42), "abcdefghijklmnopqrs_wxyzABCDEFGHIJKLMNOP"},
      {fifty, "abcdefghijklmnopqrs_EFGHIJKLMNOPQRSTUVWX"},
      {std::string(100, '<') + std::string(100, '>'),
       std::string(19, '<') + "_" + std::string(20, '>')},
      {"two words ", In40("two words ")},
      {" in front", In40(" in front")},
      {"100 %s %d %n", In40("100 %s %d %n")},
      {"1 2.0 3,4", In40("1 2.0 3,4")},
      {"a\tb", In40("a\tb")},
      {"\xC3\xA4\xFF", In40("\xC3\xA4\xFF")},  // bytes count
  };
  Monitor().Initialize("beam");
  for (const auto& c : cases) {
    Monitor().Mark(c.label.c_str());
    Monitor().Mark(cow_String(c.label.c_str()));
  }
  const UseLog log = FinishedLog();
  std::size_t mark = 1;
  for (const auto& c : cases) {
    EXPECT_EQ(log.marks.at(mark++).Label(), c.field) << c.label;
    EXPECT_EQ(log.marks.at(mark++).Label(), c.field) << c.label;
  }
}

TEST_F(ResourceMonitorTest, WholeLabels) {
  const ScopedEnvironment mode("KES_RESOURCE_MONITOR", "FULL");
  Monitor().Initialize("beam");
  const std::size_t lengths[] = {0, 1, 39, 40, 41, 200, 100000};
  for (std::size_t length : lengths) {
    Monitor().Mark(std::string(length, 'x').c_str());
  }
  Monitor().Mark("two words");
  const UseLog log = FinishedLog(true);
  EXPECT_EQ(log.marks[0].Label(), "beam-Start");
  for (std::size_t i = 0; i < std::size(lengths); ++i) {
    EXPECT_EQ(log.marks[i + 1].Label(), std::string(lengths[i], 'x'));
  }
  EXPECT_EQ(log.marks[std::size(lengths) + 1].Label(), "two words");
  EXPECT_EQ(log.marks.back().Label(), "beam-End");
}

TEST_F(ResourceMonitorOnTest, ALabelEndsAtItsFirstZeroByte) {
  // The length of what is in front of it decides whether it is shortened.
  const std::string bytes = "front" + std::string(1, '\0') + std::string(60, 'b');
  const std::string late = std::string(50, 'f') + std::string(1, '\0') + "bb";
  Monitor().Initialize("beam");
  Monitor().Mark(cow_String(std::string_view(bytes)));
  Monitor().Mark(cow_String(std::string_view(late)));
  const UseLog log = FinishedLog();
  EXPECT_EQ(log.marks.at(1).Label(), In40("front"));
  EXPECT_EQ(log.marks.at(2).Label(), std::string(19, 'f') + "_" + std::string(20, 'f'));
}

TEST_F(ResourceMonitorOnTest, NoLabelIsTheEmptyOne) {
  const char* none = nullptr;
  Monitor().Initialize("beam");
  Monitor().Mark(none);
  EXPECT_EQ(FinishedLog().marks.at(1).Label(), std::string(40, ' '));
}

TEST_F(ResourceMonitorOnTest, ALineFeedInALabelBreaksItsLineAndNoOther) {
  Monitor().Initialize("beam");
  Monitor().Mark("a\nb");
  Monitor().Mark("next");
  const std::string text = LogText();
  EXPECT_NE(text.find("\nbeam.2 "), std::string::npos);
  EXPECT_NE(text.find(" a\nb "), std::string::npos);
  EXPECT_NE(text.find("\nbeam.3 "), std::string::npos);
}

TEST_F(ResourceMonitorOnTest, TheColumnsOfARealRun) {
  Monitor().Initialize("beam");
  SpendProcessorTime();
  Monitor().Mark("busy");
  const UseLog log = FinishedLog();
  ASSERT_EQ(log.columns.size(), 18u);
  ASSERT_EQ(log.marks.size(), 3u);
  const UseMark* before = nullptr;
  for (const UseMark& mark : log.marks) {
    const auto number = [&](const char* column) { return log.Number(mark, column); };
    EXPECT_EQ(mark.fields.size(), 18u);
    EXPECT_NEAR(number("CPU"), number("UserCPU") + number("SysCPU"), 0.1501);
    EXPECT_GT(number("WS"), 100'000);
    EXPECT_GE(number("WSP"), number("WS"));
    EXPECT_GT(number("PeakPageFileUsage"), 0);
    EXPECT_GE(number("PageFaults"), 0);
    EXPECT_EQ(number("ProcessID"), static_cast<int>(GetCurrentProcessId()));
    for (std::size_t reserved : {14u, 15u, 16u}) {
      EXPECT_EQ(mark.fields[reserved], "0");
    }
    if (before != nullptr) {
      for (const char* column : {"UserCPU", "SysCPU", "WSP", "PageFaults"}) {
        EXPECT_GE(number(column), log.Number(*before, column)) << column;
      }
    }
    before = &mark;
  }
  EXPECT_GE(log.Number(log.marks[1], "CPU"), log.Number(log.marks[0], "CPU") + 0.1);
}

TEST_F(ResourceMonitorOnTest, EveryCounterHasItsColumn) {
  FakeProcess process;
  SetMemory(process, 101, 1);
  process.user = 30'000'000;
  process.kernel = 40'000'000;
  Monitor().Initialize("beam");
  const UseLog log = FinishedLog();
  const struct {
    const char* column;
    double number;
  } expected[] = {{"UserCPU", 3},
                  {"SysCPU", 4},
                  {"WSP", 101},
                  {"WS", 102},
                  {"CPU", 7},
                  {"QPPP", 103},
                  {"QPP", 104},
                  {"QNPPP", 105},
                  {"QNPP", 106},
                  {"PageFaults", 107},
                  {"PeakPageFileUsage", 108}};
  for (const auto& one : expected) {
    EXPECT_EQ(log.Number(log.marks[0], one.column), one.number) << one.column;
  }
}

TEST_F(ResourceMonitorOnTest, CountersAreCutToThirtyTwoBits) {
  constexpr SIZE_T kGiB = SIZE_T{1} << 30;
  const struct {
    SIZE_T bytes;
    const char* field;
  } cases[] = {
      {2 * kGiB - 1, "2147483647"},
      {2 * kGiB, "-2147483648"},
      {2 * kGiB + 1, "-2147483647"},
      {3 * kGiB, "-1073741824"},
      {4 * kGiB - 1, "-1"},
      {4 * kGiB, "0"},
      {4 * kGiB + 5, "5"},
      {1024 * kGiB + 7, "7"},
      {~SIZE_T{0}, "-1"},
  };
  FakeProcess process;
  Monitor().Initialize("beam");
  for (const auto& c : cases) {
    SetMemory(process, c.bytes, 0);
    Monitor().Mark("large");
  }
  const UseLog log = FinishedLog();
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    for (std::size_t column : kMemoryColumns) {
      EXPECT_EQ(log.marks.at(i + 1).fields[column], cases[i].field) << column;
    }
  }
}

TEST_F(ResourceMonitorOnTest, ProcessorTimesAreRoundedToTenths) {
  const struct {
    ULONGLONG user, kernel;
    const char *userField, *kernelField, *sumField;
  } cases[] = {
      {0, 0, "0.0", "0.0", "0.0"},
      {499'999, 500'001, "0.0", "0.1", "0.1"},
      {2'500'000, 7'500'000, "0.2", "0.8", "1.0"},  // halves go to the even digit
      {3'500'000, 1, "0.3", "0.0", "0.4"},          // 0.35 is a little less
      {9'999'999, 0, "1.0", "0.0", "1.0"},
      {36'000'000'000'0, 0, "36000.0", "0.0", "36000.0"},
      {0xFFFFFFFF, 0x100000000, "429.5", "429.5", "859.0"},
      {~ULONGLONG{0}, 0, "1844674407371.0", "0.0", "1844674407371.0"},
  };
  FakeProcess process;
  Monitor().Initialize("beam");
  for (const auto& c : cases) {
    process.user = c.user;
    process.kernel = c.kernel;
    Monitor().Mark("busy");
  }
  const UseLog log = FinishedLog();
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(log.marks.at(i + 1).fields[3], cases[i].userField) << i;
    EXPECT_EQ(log.marks.at(i + 1).fields[4], cases[i].kernelField) << i;
    EXPECT_EQ(log.marks.at(i + 1).fields[7], cases[i].sumField) << i;
  }
}

TEST_F(ResourceMonitorOnTest, WallIsWholeSecondsSinceTheStartOfDayTowardsZero) {
  const struct {
    int hour, minute, second, millisecond, wall;
  } cases[] = {
      {22, 58, 59, 900, 0},    {22, 59, 0, 0, 1},
      {22, 59, 0, 999, 1},     {22, 59, 1, 0, 2},
      {23, 59, 59, 999, 3660}, {0, 0, 0, 0, -82739},  // midnight
      {0, 0, 0, 1, -82738},                           // -82738.999
      {0, 0, 0, 999, -82738},  {0, 0, 1, 0, -82738},
      {22, 58, 58, 1, 0},  // -0.999: the clock was set back
      {22, 58, 58, 0, -1},
  };
  FakeProcess process;
  process.SetTime(22, 58, 59, 800);  // the 800 do not count
  Monitor().Initialize("beam");
  for (const auto& c : cases) {
    process.SetTime(c.hour, c.minute, c.second, c.millisecond);
    Monitor().Mark("tick");
  }
  const UseLog log = FinishedLog();
  EXPECT_EQ(log.marks[0].Wall(), 0);
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(log.marks.at(i + 1).Wall(), cases[i].wall) << i;
  }
}

TEST_F(ResourceMonitorOnTest, MemoryThatCannotBeReadIsZeroInThatMarkAlone) {
  Monitor().Initialize("beam");
  {
    const FailingCall failing(SystemCall::kGetProcessMemoryInfo, ERROR_ACCESS_DENIED);
    Monitor().Mark("unknown");
    EXPECT_TRUE(failing.Happened());
  }
  Monitor().Mark("known");
  const UseLog log = FinishedLog();
  for (std::size_t column : kMemoryColumns) {
    EXPECT_EQ(log.marks.at(1).fields[column], "0") << column;
  }
  EXPECT_EQ(log.Number(log.marks[1], "ProcessID"),
            static_cast<int>(GetCurrentProcessId()));
  EXPECT_GT(log.Number(log.marks.at(2), "WS"), 0);
}

TEST_F(ResourceMonitorOnTest, WithoutProcessHandleMemoryIsZeroAndTimesAreKnown) {
  FakeProcess process;
  process.memory.WorkingSetSize = 4711;
  process.user = 30'000'000;
  {
    const FailingCall failing(SystemCall::kOpenProcess, ERROR_ACCESS_DENIED);
    Monitor().Initialize("beam");
    EXPECT_TRUE(failing.Happened());
  }
  Monitor().Mark("later");
  EXPECT_EQ(std::wstring(Monitor().ModuleName()), L"");
  EXPECT_EQ(process.memoryCalls, 0);
  EXPECT_EQ(process.moduleBytes, 0u);
  const UseLog log = FinishedLog();
  ASSERT_EQ(log.marks.size(), 3u);
  for (const UseMark& mark : log.marks) {
    EXPECT_EQ(mark.fields[3], "3.0");
    EXPECT_EQ(mark.fields[6], "0");
    EXPECT_EQ(log.Number(mark, "ProcessID"), static_cast<int>(GetCurrentProcessId()));
  }
}

TEST_F(ResourceMonitorOnTest, WithoutModulesOnlyTheNameIsMissing) {
  const FailingCall failing(SystemCall::kEnumProcessModules, ERROR_ACCESS_DENIED);
  Monitor().Initialize("beam");
  EXPECT_TRUE(failing.Happened());
  EXPECT_EQ(std::wstring(Monitor().ModuleName()), L"");
  const UseLog log = FinishedLog();
  EXPECT_GT(log.Number(log.marks[0], "WS"), 0);
}

TEST_F(ResourceMonitorOnTest, ProcessorTimesThatCannotBeReadAreZero) {
  FakeProcess process;
  process.user = 30'000'000;
  Monitor().Initialize("beam");
  {
    const FailingCall failing(SystemCall::kGetProcessTimes, ERROR_ACCESS_DENIED);
    Monitor().Mark("unknown");
    EXPECT_TRUE(failing.Happened());
  }
  const UseLog log = FinishedLog();
  for (std::size_t column : {3u, 4u, 7u}) {
    EXPECT_EQ(log.marks.at(1).fields[column], "0.0");
  }
  EXPECT_EQ(log.marks.at(2).fields[3], "3.0");
}

TEST_F(ResourceMonitorOnTest, NumbersDoNotDependOnTheLocale) {
  FakeProcess process;
  process.user = 123'456'000'000;
  process.memory.WorkingSetSize = 1'234'567;
  Monitor().Initialize("beam");
  Finalize();
  const std::string inC = LogText();
  {
    const DecimalComma locale;
    Monitor().Initialize("beam");
    Finalize();
  }
  EXPECT_EQ(LogText(), inC);
  EXPECT_NE(inC.find(" 12345.6 "), std::string::npos);
}

}  // namespace
