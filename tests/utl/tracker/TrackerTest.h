#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "common/environment/ScopedEnvironment.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "utl/tracker/TrackerFiles.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_IOTracker.h"

using TrackerHolder = thr_GlobalSingleton<utl_IOTracker_Container>;

constexpr std::int64_t kMegabyte = 1048576;

/// What tests compare: quantities of records and lines.
using Numbers = std::vector<double>;

/// A current directory of its own, and nothing switched on. Whatever was made is ended
/// before the directory goes.
class TrackerSurroundings {
 public:
  TrackerSurroundings() = default;
  ~TrackerSurroundings() {
    TrackerHolder::Destroy();
    thr_GlobalSingleton<utl_CommandLine>::Destroy();
  }
  TrackerSurroundings(const TrackerSurroundings&) = delete;
  TrackerSurroundings& operator=(const TrackerSurroundings&) = delete;

  std::string File(const std::string& name) const { return dir_.File(name); }
  const TempDir& Dir() const { return dir_; }

 private:
  ScopedEnvironment track_{"KES_IO_TRACK", nullptr};
  ScopedEnvironment points_{"KES_IO_TIMEPOINTS", nullptr};
  ScopedEnvironment interval_{"KES_IO_TIMEINTERVAL", nullptr};
  ScopedEnvironment individual_{"KES_IO_INDIVIDUAL", nullptr};
  TempDir dir_;
  CurrentDirectory current_{dir_.Path()};
};

/// Stands for the arguments of the process, without the program's name.
inline void LoadArguments(const std::vector<std::string>& arguments) {
  thr_GlobalSingleton<utl_CommandLine>::Destroy();
  cow_1DArrayList<cow_String> list;
  for (const std::string& argument : arguments) {
    list.Append(argument.c_str());
  }
  utl_CommandLineLoader::SetArgsList(list);
}

/// Makes the tracker of that level, in place of an earlier one. REQUIRES: above "0".
inline utl_IOTracker& StartTracker(const char* level) {
  TrackerHolder::Destroy();
  SetEnvironment("KES_IO_TRACK", level);
  return *TrackerHolder::Instance().Tracker();
}

/// Ends it, which writes the summary.
inline void EndTracker() {
  TrackerHolder::Destroy();
}

/// The fields in their order: count, megabytes and time of writes, then of reads.
inline Numbers Quantities(const utl_IOTrackerRecord& record) {
  return {double(record.writeCount), record.writeMB, record.writeTime,
          double(record.readCount),  record.readMB,  record.readTime};
}

class IOTrackerTest : public testing::Test {
 protected:
  std::string File(const std::string& name) const { return surroundings_.File(name); }
  TrackerFile Read(const std::string& name) const { return ReadTrackerFile(File(name)); }
  SummaryFile Summary() const { return ReadSummary(File("ioFileSummary")); }
  bool Exists(const std::string& name) const { return FileExists(File(name)); }

  /// The totals of an entry, asked for under a new key, which counts as one opening.
  static utl_IOTrackerRecord Totals(utl_IOTracker& tracker, const std::string& path) {
    utl_IOTrackerRecord record;
    tracker.COpen(1, path.c_str());
    EXPECT_TRUE(tracker.CTotals(1, record));
    tracker.CClose(1);
    return record;
  }

  /// The names of the files in a directory, in the order of their bytes.
  static std::vector<std::string> Files(const std::string& directory = ".") {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
      if (entry.is_regular_file()) {
        names.push_back(entry.path().filename().string());
      }
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  TrackerSurroundings surroundings_;
};
