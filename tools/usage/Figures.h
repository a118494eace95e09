#pragma once

#include <optional>

#include "common/Spread.h"
#include "usage/UsageLog.h"

// The figures that all reports on resource logs show.

double Megabytes(std::int64_t bytes);

struct Named {
  std::string name;
  double value;
};

/// Wall and processor time, memory and page faults of the whole job.
std::vector<Named> Totals(const UsageLog& log);

double WallOf(const UsagePhase& phase);
double ProcessorOf(const UsagePhase& phase);
std::vector<Named> PhaseTimes(const UsageLog& log, double (*quantity)(const UsagePhase&));

/// Processor times; timers of one name are one.
std::vector<Named> TimerTimes(const UsageLog& log);

/// A timer with its share of all timers' processor time, in hundredths.
struct TimerCost {
  UsageTimer timer;
  double share;
  double perCall;  ///< seconds
};

/// By cost.
std::vector<TimerCost> CostsOf(const UsageLog& log);

/// At most so many marks: of many, each is the one of several that has the most memory.
std::vector<const UsageMark*> MarksOfMemory(const UsageLog& log, std::size_t most);

/// What two logs have under a name, in the order of the older one.
struct Pair {
  std::string name;
  std::optional<double> before;
  std::optional<double> after;

  /// The change, and by how many hundredths; nothing if there is none to tell.
  std::optional<double> Change() const;
  std::optional<double> Percent() const;
};
std::vector<Pair> PairsOf(const std::vector<Named>& old, const std::vector<Named>& fresh);

struct Spreads {
  SeriesList totals;
  SeriesList phases;  ///< processor times, as the next
  SeriesList timers;
};
Spreads SpreadsOf(const std::vector<UsageLog>& logs);
