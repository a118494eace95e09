#pragma once

#include "common/Output.h"
#include "common/Page.h"
#include "usage/UsageLog.h"

/// kst_usage: phases, timers and memory of resource logs, one, two or many.
int KstUsage(int argc, const char* const* argv, const Console& console);

// The reports.

/// Phases, timers by cost, and memory over time of one log.
void PrintLog(const UsageLog& log, const Console& console);

/// Two logs side by side.
void PrintDifference(const UsageLog& old, const UsageLog& fresh, const Console& console);

/// A line for each log, then how all of them spread.
void PrintLogs(const std::vector<UsageLog>& logs, const Console& console);

/// Everything in the logs; of two or more also how they spread.
Json JsonOf(const std::vector<UsageLog>& logs);

/// What `PrintDifference` prints.
Json JsonOfDifference(const UsageLog& old, const UsageLog& fresh);

/// The page of one log, of two compared (`isDiff`), or of those of many that could be
/// read, of so many as were asked for. REQUIRES: there is one at least; two, to compare.
Page UsagePage(const std::vector<UsageLog>& logs, bool isDiff, std::size_t asked);

/// All marks, or all timers, one a line.
void PrintMarksCsv(const std::vector<UsageLog>& logs, const Console& console);
void PrintTimersCsv(const std::vector<UsageLog>& logs, const Console& console);
