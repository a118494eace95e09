#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// A line of a resource log. The page of the format is docs/resource-log.md.
struct UsageMark {
  std::int64_t wall = 0;  ///< seconds since the beginning, midnights put right
  std::string label;      ///< without the blanks that fill its column
  double user = 0;        ///< seconds
  double system = 0;
  double processor = 0;
  std::int64_t peakBytes = 0;  ///< the largest working set so far
  std::int64_t bytes = 0;      ///< the working set
  std::int64_t faults = 0;     ///< page faults so far
  std::int64_t pageFileBytes = 0;
  std::int64_t process = 0;
};

struct UsageTimer {
  int number = 0;
  std::string name;
  std::int64_t calls = 0;
  double processor = 0;  ///< seconds
  double elapsed = 0;    ///< as the file has it, without the days of midnights
};

struct UsageLog {
  std::string file;
  std::string job;
  std::string snapshot;
  std::string version;
  std::string host;
  std::vector<UsageMark> marks;  ///< one at least
  std::vector<UsageTimer> timers;
  std::int64_t cutLine = 0;  ///< the line that is cut off or not there; 0 for none

  /// Whether the process still runs, or has died.
  bool IsCut() const { return cutLine != 0; }
};

/// Throws FileError for what is no such log, or is damaged before its end.
UsageLog ReadUsageLog(const std::string& file);

/// What the process did up to a mark, after the mark before; marks of the same label are
/// one phase.
struct UsagePhase {
  std::string name;  ///< as NameOf has it
  std::int64_t count = 0;
  std::int64_t wall = 0;
  double processor = 0;
  std::int64_t bytes = 0;  ///< the largest of the working sets at its marks
  std::int64_t faults = 0;
};

/// The label of a mark, or "(start)" and "(end)" for those that begin and end a log, so
/// that jobs compare.
std::string NameOf(const UsageLog& log, const UsageMark& mark);

/// In the order in which they first came.
std::vector<UsagePhase> PhasesOf(const UsageLog& log);

/// Timers, those first that took most processor time.
std::vector<UsageTimer> TimersByCost(const UsageLog& log);
