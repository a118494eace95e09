#pragma once

#include "common/Spread.h"
#include "iotrack/TrackerFiles.h"

// The figures that all reports on the I/O tracker's files show.

/// "beam: 2 files, 1 line of totals"
std::string Description(const TrackedJob& job);

/// Megabytes per second, 0 where there is no time.
double Rate(double megabytes, double seconds);

struct Directories {
  TrackedSums work;
  TrackedSums scratch;

  double Megabytes() const { return work.Megabytes() + scratch.Megabytes(); }
  double Seconds() const { return work.Seconds() + scratch.Seconds(); }
};

/// What the summary has, which is later than the last mark, or else the last line of the
/// totals. The summary has no counts, and lacks what is neither work nor scratch.
Directories SumsOf(const TrackedJob& job);
Directories SumsOf(const std::vector<TrackedJob>& jobs);

double Elapsed(const TrackedJob& job);

/// What was transferred up to a line of totals, after the row before.
struct RateRow {
  const TotalsLine* line;
  double megabytes;
  double rate;
  double workRate;
  double scratchRate;
};

/// At most so many rows: of many lines, each stands for several.
std::vector<RateRow> RatesOf(const TrackedJob& job, std::size_t most);

struct JobFile {
  const TrackedJob* job;
  const TrackedFile* file;
};

/// How much the file has by "mb", "time" or "count", less than nothing if that is
/// unknown.
double Measure(const TrackedFile& file, const std::string& by);

/// The files of all jobs, those with most first.
std::vector<JobFile> FilesBy(const std::vector<TrackedJob>& jobs, const std::string& by);

SeriesList SpreadsOf(const std::vector<TrackedJob>& jobs);
