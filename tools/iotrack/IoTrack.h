#pragma once

#include "common/Output.h"
#include "common/Page.h"
#include "iotrack/TrackerFiles.h"

/// kst_iotrack: what jobs wrote and read, from the files of the I/O tracker.
int KstIoTrack(int argc, const char* const* argv, const Console& console);

// The reports.

/// Work against scratch and the rate over time.
void PrintJob(const TrackedJob& job, const Console& console);

/// A line for each job, then how they spread.
void PrintJobs(const std::vector<TrackedJob>& jobs, const Console& console);

/// The `top` files of all jobs by "mb", "time" or "count".
void PrintFiles(const std::vector<TrackedJob>& jobs, const std::string& by,
                std::size_t top, const Console& console);

/// Everything that was read; how the jobs spread, too.
Json JsonOf(const std::vector<TrackedJob>& jobs);

/// The page of the jobs that could be read, of so many as were asked for: one or many,
/// with the `top` files in its plots, and a table in the order of `by`. REQUIRES: there
/// is one at least.
Page IoTrackPage(const std::vector<TrackedJob>& jobs, const std::string& by,
                 std::size_t top, std::size_t asked);

/// All files, or all lines of totals, one a line.
void PrintFilesCsv(const std::vector<TrackedJob>& jobs, const Console& console);
void PrintTotalsCsv(const std::vector<TrackedJob>& jobs, const Console& console);
