#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The files of a job's I/O tracker. Their page is docs/io-tracker.md.

/// What was written, or read.
struct Transfer {
  std::int64_t count = 0;
  double megabytes = 0;
  double seconds = 0;
};

struct TrackedSums {
  Transfer written;
  Transfer read;

  double Megabytes() const { return written.megabytes + read.megabytes; }
  double Seconds() const { return written.seconds + read.seconds; }
  std::int64_t Count() const { return written.count + read.count; }
};

/// A line of totals.
struct TotalsLine {
  std::optional<std::string> label;
  double elapsed = 0;  ///< seconds
  TrackedSums work;
  TrackedSums scratch;
};

/// A file of the summary. `hasCounts` is set, and the counts are those up to the last
/// mark, if the file has an individual output of its own.
struct TrackedFile {
  std::string path;
  bool isScratch = false;
  bool hasCounts = false;
  TrackedSums sums;
};

struct TrackedJob {
  std::string name;  ///< as it was asked for
  std::vector<TotalsLine> lines;
  std::vector<TrackedFile> files;
  std::string cut;  ///< what tells that the process still runs or has died, or ""
};

/// Reads what there is of a job's files: the summary, the totals, and the individual
/// outputs beside them. `name` is the job's ("run/beam"), a directory for files without a
/// job ("run/"), or one of the files themselves. Throws FileError for what is damaged,
/// and where there is neither totals nor summary.
TrackedJob ReadTrackedJob(const std::string& name);
