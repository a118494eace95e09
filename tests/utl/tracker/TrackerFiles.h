#pragma once

#include <map>
#include <string>
#include <vector>

/// The tracker's files, read as docs/io-tracker.md says, without the library. What is not
/// as it says there fails the running test.

/// A line of a file of totals, of increments, or of one file.
struct TrackerLine {
  std::string label;  // "" where there is none
  bool hasLabel = false;
  double elapsed = 0;
  std::map<std::string, double> columns;  // under their names in the head

  double operator[](const std::string& column) const;
  /// The values of "X Write Count", "X Write MB" and so on, X being `prefix`, which ends
  /// in a blank unless it is empty.
  std::vector<double> Of(const std::string& prefix) const;
};

struct TrackerFile {
  bool hasLabels = false;  // whether the head has a column for them
  std::vector<std::string> columns;
  std::vector<TrackerLine> lines;
};

/// `path` read; without lines when it cannot be.
TrackerFile ReadTrackerFile(const std::string& path);

struct SummaryLine {
  std::string path;
  double writeMB, writeTime, readMB, readTime;
  bool operator==(const SummaryLine&) const = default;
};

struct SummaryFile {
  std::vector<SummaryLine> work;
  std::vector<SummaryLine> scratch;
};

SummaryFile ReadSummary(const std::string& path);

/// The lines of a text file, whose ends are those of the target's text files. A last line
/// without an end fails the test.
std::vector<std::string> ReadTextLines(const std::string& path);

/// The columns of a file of totals, and those of one file's.
extern const std::vector<std::string> kTrackerSumColumns;
extern const std::vector<std::string> kTrackerFileColumns;
