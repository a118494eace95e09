#include "usage/Figures.h"

#include <algorithm>
#include <map>

namespace {

constexpr double kMegabyte = 1048576;

}  // namespace

double Megabytes(std::int64_t bytes) {
  return static_cast<double>(bytes) / kMegabyte;
}

std::vector<Named> Totals(const UsageLog& log) {
  const UsageMark& last = log.marks.back();
  return {{"wall s", static_cast<double>(last.wall)},
          {"CPU s", last.processor},
          {"peak MB", Megabytes(last.peakBytes)},
          {"page faults", static_cast<double>(last.faults)}};
}

double WallOf(const UsagePhase& phase) {
  return static_cast<double>(phase.wall);
}

double ProcessorOf(const UsagePhase& phase) {
  return phase.processor;
}

std::vector<Named> PhaseTimes(const UsageLog& log,
                              double (*quantity)(const UsagePhase&)) {
  std::vector<Named> list;
  for (const UsagePhase& phase : PhasesOf(log)) {
    list.push_back({phase.name, quantity(phase)});
  }
  return list;
}

std::vector<Named> TimerTimes(const UsageLog& log) {
  std::vector<Named> list;
  std::map<std::string, std::size_t> places;
  for (const UsageTimer& timer : TimersByCost(log)) {
    const auto [place, isNew] = places.try_emplace(timer.name, list.size());
    if (isNew) {
      list.push_back({timer.name, 0});
    }
    list[place->second].value += timer.processor;
  }
  return list;
}

std::vector<TimerCost> CostsOf(const UsageLog& log) {
  double sum = 0;
  for (const UsageTimer& timer : log.timers) {
    sum += timer.processor;
  }
  std::vector<TimerCost> costs;
  for (const UsageTimer& timer : TimersByCost(log)) {
    costs.push_back(
        {timer, sum > 0 ? timer.processor / sum * 100 : 0,
         timer.calls > 0 ? timer.processor / static_cast<double>(timer.calls) : 0});
  }
  return costs;
}

std::vector<const UsageMark*> MarksOfMemory(const UsageLog& log, std::size_t most) {
  const std::vector<UsageMark>& marks = log.marks;
  const std::size_t rows = std::min(most, marks.size());
  std::vector<const UsageMark*> chosen;
  for (std::size_t row = 0; row < rows; ++row) {
    const auto at = [&](std::size_t number) {
      return marks.begin() + static_cast<std::ptrdiff_t>(number * marks.size() / rows);
    };
    chosen.push_back(&*std::max_element(
        at(row), at(row + 1), [](const UsageMark& left, const UsageMark& right) {
          return left.bytes < right.bytes;
        }));
  }
  return chosen;
}

std::optional<double> Pair::Change() const {
  return before && after ? std::optional(*after - *before) : std::nullopt;
}

std::optional<double> Pair::Percent() const {
  return before && after && *before > 0 ? std::optional((*after / *before - 1) * 100)
                                        : std::nullopt;
}

std::vector<Pair> PairsOf(const std::vector<Named>& old,
                          const std::vector<Named>& fresh) {
  std::vector<Pair> pairs;
  std::map<std::string, std::size_t> places;
  const auto pairOf = [&](const std::string& name) -> Pair& {
    const auto [place, isNew] = places.try_emplace(name, pairs.size());
    if (isNew) {
      pairs.push_back({name, std::nullopt, std::nullopt});
    }
    return pairs[place->second];
  };
  for (const Named& one : old) {
    pairOf(one.name).before = one.value;
  }
  for (const Named& one : fresh) {
    pairOf(one.name).after = one.value;
  }
  return pairs;
}

Spreads SpreadsOf(const std::vector<UsageLog>& logs) {
  Spreads spreads;
  const auto add = [](SeriesList& list, const UsageLog& log,
                      const std::vector<Named>& values) {
    for (const Named& one : values) {
      list.Of(one.name).Add(log.file, one.value);
    }
  };
  for (const UsageLog& log : logs) {
    add(spreads.totals, log, Totals(log));
    add(spreads.phases, log, PhaseTimes(log, ProcessorOf));
    add(spreads.timers, log, TimerTimes(log));
  }
  return spreads;
}
