#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "common/environment/ScopedEnvironment.h"
#include "common/failing/FakeProcess.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "utl/UseLog.h"
#include "utl/utl_ResourceMonitor.h"

/// What is in a text file, whatever its lines end with.
inline std::string ReadText(const std::string& path) {
  std::ifstream file(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A test with a monitor of its own, in a current directory of its own; the environment
/// says nothing of the monitor.
class ResourceMonitorTest : public testing::Test {
 protected:
  ~ResourceMonitorTest() override { Finalize(); }

  static utl_ResourceMonitor& Monitor() {
    return omi_Singleton<utl_ResourceMonitor>::Instance();
  }
  static void Finalize() { omi_SingletonBase<utl_ResourceMonitor>::Finalize(); }

  static std::string LogText(const std::string& job = "beam") {
    return ReadText(job + ".use");
  }
  static UseLog Log(const std::string& job = "beam", bool wholeLabels = false) {
    return ReadUseLog(LogText(job), job, wholeLabels);
  }
  /// The log of `beam`, ended.
  static UseLog FinishedLog(bool wholeLabels = false) {
    Finalize();
    return Log("beam", wholeLabels);
  }
  /// Works until the process's processor time has grown by 0.2 s.
  static void SpendProcessorTime() {
    const double until = ProcessorTime() + 0.2;
    while (ProcessorTime() < until) {
    }
  }
  /// Calls every operation of marks and timers, in each of its forms.
  static void MarkAndTime() {
    Monitor().Mark("one");
    Monitor().Mark(cow_String("two"));
    Monitor().MarkMethod("three");
    Monitor().MarkMethod(cow_String("four"));
    Monitor().StartTimer(0, "five");
    Monitor().StartTimer(0, cow_String("six"));
    Monitor().StopTimer(0);
  }
  /// Sets the memory counters, in the order of kMemoryColumns: `first`, `first` + `step`
  /// and so on; the last goes into one that is not written.
  static void SetMemory(FakeProcess& process, SIZE_T first, SIZE_T step) {
    PROCESS_MEMORY_COUNTERS& memory = process.memory;
    memory.PeakWorkingSetSize = first;
    memory.WorkingSetSize = first + step;
    memory.QuotaPeakPagedPoolUsage = first + 2 * step;
    memory.QuotaPagedPoolUsage = first + 3 * step;
    memory.QuotaPeakNonPagedPoolUsage = first + 4 * step;
    memory.QuotaNonPagedPoolUsage = first + 5 * step;
    memory.PageFaultCount = static_cast<DWORD>(first + 6 * step);
    memory.PeakPagefileUsage = first + 7 * step;
    memory.PagefileUsage = first + 8 * step;
  }
  /// Where the memory counters stand among a mark's fields.
  static constexpr std::size_t kMemoryColumns[] = {5, 6, 8, 9, 10, 11, 12, 13};

  /// A label as it stands in its 40 columns.
  static std::string In40(const std::string& label) {
    return std::string(40 - label.size(), ' ') + label;
  }

  static double ProcessorTime() {
    FILETIME creation, exit, kernel, user;
    GetProcessTimes(GetCurrentProcess(), &creation, &exit, &kernel, &user);
    return (kernel.dwLowDateTime + 0.0 + user.dwLowDateTime) / 1e7;  // of minutes
  }

  TempDir dir_;
  CurrentDirectory current_{dir_.Path()};
  ScopedEnvironment mode_{"KES_RESOURCE_MONITOR", nullptr};
  ScopedEnvironment sequence_{"KESTRA_SEQ", nullptr};
  ScopedEnvironment version_{"KESTRA_VERSION", nullptr};
  ScopedEnvironment computer_{"COMPUTERNAME", nullptr};
  ScopedEnvironment processor_{"PROCESSOR_IDENTIFIER", nullptr};
};

/// The same with the monitor asked for.
class ResourceMonitorOnTest : public ResourceMonitorTest {
 protected:
  ScopedEnvironment on_{"KES_RESOURCE_MONITOR", "ON"};
};
