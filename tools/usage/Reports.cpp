#include <fmt/format.h>

#include <cmath>

#include "usage/Figures.h"
#include "usage/Usage.h"

namespace {

constexpr std::size_t kRows = 20;  // of a picture, at most
constexpr int kWidth = 40;         // and its columns

void PrintPhases(const UsageLog& log, const Console& console) {
  console.out << fmt::format("\n{:>9} {:>9} {:>9} {:>10} {:>6}  {}\n", "wall s", "CPU s",
                             "MB", "faults", "marks", "phase");
  for (const UsagePhase& phase : PhasesOf(log)) {
    console.out << fmt::format("{:>9} {:>9} {:>9.1f} {:>10} {:>6}  {}\n", phase.wall,
                               Fixed(phase.processor, 1), Megabytes(phase.bytes),
                               phase.faults, phase.count, Shown(phase.name));
  }
}

void PrintTimers(const UsageLog& log, const Console& console) {
  if (log.timers.empty()) {
    return;
  }
  console.out << fmt::format("\n{:>9} {:>6} {:>9} {:>9} {:>11}  {}\n", "CPU s", "share",
                             "wall s", "calls", "CPU s/call", "timer");
  for (const auto& [timer, share, perCall] : CostsOf(log)) {
    console.out << fmt::format("{:>9} {:>4} % {:>9} {:>9} {:>11}  {}\n",
                               Fixed(timer.processor, 4), Fixed(share, 0),
                               Fixed(timer.elapsed, 1), timer.calls, Fixed(perCall, 6),
                               Shown(timer.name));
  }
}

void PrintMemory(const UsageLog& log, const Console& console) {
  const std::vector<const UsageMark*> marks = MarksOfMemory(log, kRows);
  std::int64_t most = 1;
  for (const UsageMark* mark : marks) {
    most = std::max(most, mark->bytes);
  }
  console.out << fmt::format("\n{:>9} {:>9}  memory over time\n", "wall s", "MB");
  for (const UsageMark* mark : marks) {
    const double part = static_cast<double>(mark->bytes) / static_cast<double>(most);
    console.out << fmt::format("{:>9} {:>9.1f}  {:#<{}}\n", mark->wall,
                               Megabytes(mark->bytes), "",
                               static_cast<int>(std::lround(part * kWidth)));
  }
}

// Two columns of numbers side by side.
void PrintPairs(const std::string& title, const std::vector<Named>& old,
                const std::vector<Named>& fresh, const Console& console) {
  console.out << fmt::format("\n{:>12} {:>12} {:>12} {:>8}  {}\n", "old", "new", "change",
                             "", title);
  const auto shown = [](const std::optional<double>& value) {
    return value ? Fixed(*value, 1) : "-";
  };
  for (const Pair& pair : PairsOf(old, fresh)) {
    const std::optional<double> change = pair.Change();
    const std::optional<double> percent = pair.Percent();
    console.out << fmt::format("{:>12} {:>12} {:>12} {:>8}  {}\n", shown(pair.before),
                               shown(pair.after), change ? Signed(*change, 1) : "",
                               percent ? Signed(*percent, 0) + " %" : "",
                               Shown(pair.name));
  }
}

Json JsonOf(const std::vector<Named>& old, const std::vector<Named>& fresh) {
  const auto number = [](const std::optional<double>& value) {
    return value ? Json(*value) : Json();
  };
  Json pairs = Json::array();
  for (const Pair& pair : PairsOf(old, fresh)) {
    pairs.push_back({{"name", pair.name},
                     {"old", number(pair.before)},
                     {"new", number(pair.after)},
                     {"change", number(pair.Change())},
                     {"percent", number(pair.Percent())}});
  }
  return pairs;
}

Json MarksOf(const UsageLog& log) {
  Json marks = Json::array();
  for (const UsageMark& mark : log.marks) {
    marks.push_back({{"wall", mark.wall},
                     {"label", mark.label},
                     {"user", mark.user},
                     {"system", mark.system},
                     {"processor", mark.processor},
                     {"bytes", mark.bytes},
                     {"peak bytes", mark.peakBytes},
                     {"page faults", mark.faults},
                     {"page file bytes", mark.pageFileBytes},
                     {"process", mark.process}});
  }
  return marks;
}

Json PhasesJson(const UsageLog& log) {
  Json phases = Json::array();
  for (const UsagePhase& phase : PhasesOf(log)) {
    phases.push_back({{"name", phase.name},
                      {"marks", phase.count},
                      {"wall", phase.wall},
                      {"processor", phase.processor},
                      {"bytes", phase.bytes},
                      {"page faults", phase.faults}});
  }
  return phases;
}

Json TimersOf(const UsageLog& log) {
  Json timers = Json::array();
  for (const UsageTimer& timer : log.timers) {
    timers.push_back({{"number", timer.number},
                      {"name", timer.name},
                      {"calls", timer.calls},
                      {"processor", timer.processor},
                      {"elapsed", timer.elapsed}});
  }
  return timers;
}

const char* Note(const UsageLog& log) {
  return log.IsCut() ? " (cut off)" : "";
}

}  // namespace

void PrintLog(const UsageLog& log, const Console& console) {
  const UsageMark& last = log.marks.back();
  console.out << fmt::format(
      "{}{}: job {}, snapshot {}, version {}, host {}\n"
      "wall {} s, CPU {} s ({} user, {} system), peak {:.1f} MB, "
      "{} page faults\n",
      Shown(log.file), Note(log), Shown(log.job), Shown(log.snapshot), Shown(log.version),
      Shown(log.host), last.wall, Fixed(last.processor, 1), Fixed(last.user, 1),
      Fixed(last.system, 1), Megabytes(last.peakBytes), last.faults);
  PrintPhases(log, console);
  PrintTimers(log, console);
  PrintMemory(log, console);
}

void PrintDifference(const UsageLog& old, const UsageLog& fresh, const Console& console) {
  console.out << fmt::format("old: {}{}\nnew: {}{}\n", Shown(old.file), Note(old),
                             Shown(fresh.file), Note(fresh));
  PrintPairs("whole job", Totals(old), Totals(fresh), console);
  PrintPairs("phase, wall s", PhaseTimes(old, WallOf), PhaseTimes(fresh, WallOf),
             console);
  PrintPairs("phase, CPU s", PhaseTimes(old, ProcessorOf), PhaseTimes(fresh, ProcessorOf),
             console);
  PrintPairs("timer, CPU s", TimerTimes(old), TimerTimes(fresh), console);
}

void PrintLogs(const std::vector<UsageLog>& logs, const Console& console) {
  console.out << fmt::format("{:>9} {:>9} {:>9} {:>6}  {}\n", "wall s", "CPU s",
                             "peak MB", "marks", "file");
  for (const UsageLog& log : logs) {
    const UsageMark& last = log.marks.back();
    console.out << fmt::format("{:>9} {:>9} {:>9.1f} {:>6}  {}{}\n", last.wall,
                               Fixed(last.processor, 1), Megabytes(last.peakBytes),
                               log.marks.size(), Shown(log.file), Note(log));
  }
  const Spreads spreads = SpreadsOf(logs);
  PrintSpreads("whole job", spreads.totals, console);
  PrintSpreads("phase, CPU s", spreads.phases, console);
  PrintSpreads("timer, CPU s", spreads.timers, console);
}

Json JsonOf(const std::vector<UsageLog>& logs) {
  Json all = Json::array();
  for (const UsageLog& log : logs) {
    all.push_back({{"file", log.file},
                   {"job", log.job},
                   {"snapshot", log.snapshot},
                   {"version", log.version},
                   {"host", log.host},
                   {"cut", log.IsCut()},
                   {"marks", MarksOf(log)},
                   {"phases", PhasesJson(log)},
                   {"timers", TimersOf(log)}});
  }
  const Spreads spreads = SpreadsOf(logs);
  return {{"logs", all},
          {"spread",
           {{"whole job", JsonOf(spreads.totals)},
            {"phases", JsonOf(spreads.phases)},
            {"timers", JsonOf(spreads.timers)}}}};
}

Json JsonOfDifference(const UsageLog& old, const UsageLog& fresh) {
  return {{"old", old.file},
          {"new", fresh.file},
          {"whole job", JsonOf(Totals(old), Totals(fresh))},
          {"phases, wall", JsonOf(PhaseTimes(old, WallOf), PhaseTimes(fresh, WallOf))},
          {"phases, processor",
           JsonOf(PhaseTimes(old, ProcessorOf), PhaseTimes(fresh, ProcessorOf))},
          {"timers, processor", JsonOf(TimerTimes(old), TimerTimes(fresh))}};
}

void PrintMarksCsv(const std::vector<UsageLog>& logs, const Console& console) {
  console.out << "file,job,number,wall,label,user,system,processor,bytes,peak_bytes,"
                 "page_faults,page_file_bytes,process\n";
  for (const UsageLog& log : logs) {
    int number = 0;
    for (const UsageMark& mark : log.marks) {
      console.out << fmt::format(
          "{},{},{},{},{},{},{},{},{},{},{},{},{}\n", CsvField(log.file),
          CsvField(log.job), ++number, mark.wall, CsvField(mark.label),
          CsvField(mark.user), CsvField(mark.system), CsvField(mark.processor),
          mark.bytes, mark.peakBytes, mark.faults, mark.pageFileBytes, mark.process);
    }
  }
}

void PrintTimersCsv(const std::vector<UsageLog>& logs, const Console& console) {
  console.out << "file,job,number,name,calls,processor,elapsed\n";
  for (const UsageLog& log : logs) {
    for (const UsageTimer& timer : log.timers) {
      console.out << fmt::format("{},{},{},{},{},{},{}\n", CsvField(log.file),
                                 CsvField(log.job), timer.number, CsvField(timer.name),
                                 timer.calls, CsvField(timer.processor),
                                 CsvField(timer.elapsed));
    }
  }
}
