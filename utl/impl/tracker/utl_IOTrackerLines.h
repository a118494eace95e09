#pragma once

// The form of the lines in the tracker's files.

#include <string>
#include <string_view>

#include "utl/impl/text/utl_LineText.h"
#include "utl/utl_IOTracker.h"

/// The columns of totals and of increments, and those of the output of one file.
extern const std::string_view kTrackerSumColumns;
extern const std::string_view kTrackerFileColumns;

/// The head of an output with those columns. With `marks` its lines may begin with a
/// mark.
std::string utl_trackerHead(bool marks, std::string_view columns);

/// The start of a line, before its columns: the label, unless it is null, and the time in
/// seconds.
std::string utl_trackerLineStart(const char* label, double now);

/// The columns of one record: count, megabytes and time of what was written, the same of
/// what was read.
void utl_addTrackerColumns(utl_LineText& line, const utl_IOTrackerRecord& record);

/// A file's line in the summary.
std::string utl_trackerSummaryLine(const char* path, const utl_IOTrackerRecord& totals);
