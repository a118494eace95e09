// Writes what the tests of the Python package read: sections, and, as far as the
// environment asks for them, a resource log and the I/O tracker's files, full of names
// and labels that are hard to read.
//
//   write_files -job JOB [-die]
//
// With -die the process ends as by a crash: nothing is written at the end.

#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

#include "utl/utl_IOTracker.h"
#include "utl/utl_JobFileName.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_ResourceMonitor.h"
#include "utl/utl_runMain.h"

namespace {

const char* const kLabels[] = {
    "pre-solve",
    "a label with blanks",
    "one, two, 3, 0.000000",
    "",
    "  in columns",
    "more than forty bytes of a label, of which some are left out",
    "of exactly forty bytes, neither more nor",
    "two\nlines",
    "caf\xE9",
    "1 0.1 0.2 11 12 0.3 13",
};

void WriteSections(const cow_String& path) {
  std::vector<unsigned char> bytes(300000);
  std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
  utl_MultisectionFile file(path, utl_FileAccessWrite);
  file.setSectionData("", "abc", 3);
  file.setSectionData("title", "Truss\n", 6);
  file.setSection<double>("loads", std::vector<double>{1.5, -2.0, 1e300});
  file.setSection<int>("node ids", std::vector<int>{1, -2, 2147483647});
  file.setSectionData("caf\xE9", "\xE9", 1);
  file.setSectionData("none", nullptr, 0);
  file.setSection<unsigned char>("bytes", bytes);
  file.saveChanges();
}

void Track(utl_IOTracker& tracker) {
  constexpr int kScratch = 0;
  constexpr std::int64_t kMegabyte = 1 << 20;
  tracker.COpen(1, "in, out\\a file.dat");
  tracker.CWrite(1, 2 * kMegabyte, 0.5);
  tracker.Mark("begin, 1, 2");
  tracker.UOpen(7, "caf\xE9.mat");
  tracker.USetKind(7, kScratch);
  tracker.UWrite(7, kMegabyte / 2, 0.25);
  tracker.URead(7, kMegabyte, 1);
  tracker.TimePoint();
  for (const char* const label : kLabels) {
    tracker.Mark(label);
  }
  tracker.FlushOutputs();
}

void Work(const utl_CommandLine& line) {
  WriteSections(utl_JobFileName(".kdb"));
  auto& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
  for (const char* const label : kLabels) {
    monitor.Mark(label);
  }
  monitor.MarkMethod("of a method");
  const char* const timers[] = {"pre-solve", "  a name, of more than twenty bytes",
                                "two\nlines"};
  int id = 0;
  for (const char* const timer : timers) {
    monitor.StartTimer(id, timer);
    monitor.StopTimer(id);
    id += 3;
  }
  auto& tracker = thr_GlobalSingleton<utl_IOTracker_Container>::Instance();
  if (tracker.Tracker() != nullptr) {
    Track(*tracker.Tracker());
  }
  if (line.IsMember("die")) {
    std::_Exit(0);
  }
}

}  // namespace

int main(int argc, char** argv) {
  return utl_runMain("write_files", argc, argv, Work);
}
