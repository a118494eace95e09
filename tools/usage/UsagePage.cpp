#include <fmt/format.h>

#include "common/SpreadPage.h"
#include "usage/Figures.h"
#include "usage/Usage.h"

namespace {

constexpr char kName[] = "kst_usage";
constexpr std::size_t kTicks = 30;  // names below a curve, at most

std::string Number(const std::optional<double>& value) {
  return value ? Fixed(*value, 1) : "-";
}

std::string Description(const UsageLog& log) {
  return fmt::format("job {}, snapshot {}, version {}, host {}", log.job, log.snapshot,
                     log.version, log.host);
}

using Logs = std::vector<const UsageLog*>;

void AddNotes(Page& page, const Logs& logs, std::size_t asked) {
  if (logs.size() < asked) {
    page.Note(fmt::format("Of {} files {} could be read.", asked, logs.size()));
  }
  std::size_t count = 0;
  std::string first;
  for (const UsageLog* log : logs) {
    first = log->IsCut() && count == 0 ? log->file : first;
    count += log->IsCut() ? 1 : 0;
  }
  if (count > 0) {
    page.Note(first + (count > 1 ? fmt::format(" and {} more are", count - 1) : " is") +
              " cut off, the process still runs or has died.");
  }
}

void AddPhases(Page& page, const UsageLog& log) {
  page.Section("Phases",
               "A phase is what lies between two marks, and has the name of the second "
               "one. Marks of one name are one phase.");
  BarPlot plot;
  plot.caption = "Time of each phase";
  plot.unit = "s";
  plot.series = {{"wall", {}, {}}, {"CPU", {}, {}}};
  Table table;
  table.texts = {"phase"};
  table.numbers = {"wall s", "CPU s", "MB", "faults", "marks"};
  for (const UsagePhase& phase : PhasesOf(log)) {
    plot.names.push_back(phase.name);
    plot.series[0].values.push_back(WallOf(phase));
    plot.series[1].values.push_back(ProcessorOf(phase));
    table.rows.push_back({phase.name, fmt::format("{}", phase.wall),
                          Fixed(phase.processor, 1), Fixed(Megabytes(phase.bytes), 1),
                          fmt::format("{}", phase.faults),
                          fmt::format("{}", phase.count)});
  }
  page.Add(plot);
  page.Add(table);
}

void AddTimers(Page& page, const UsageLog& log) {
  page.Section("Timers by cost",
               log.IsCut() ? "A log has its timers when it is ended." : "");
  BarPlot plot;
  plot.caption = "Processor time of each timer";
  plot.unit = "s";
  plot.series = {{"CPU", {}, {}}};
  Table table;
  table.texts = {"timer"};
  table.numbers = {"CPU s", "share", "wall s", "calls", "CPU s/call"};
  for (const auto& [timer, share, perCall] : CostsOf(log)) {
    plot.names.push_back(timer.name);
    plot.series[0].values.push_back(timer.processor);
    table.rows.push_back({timer.name, Fixed(timer.processor, 4), Fixed(share, 0) + " %",
                          Fixed(timer.elapsed, 1), fmt::format("{}", timer.calls),
                          Fixed(perCall, 6)});
  }
  page.Add(plot);
  page.Add(table);
}

// Seconds are too coarse for a short job, whose marks then stand side by side.
bool HasTime(const UsageLog& log) {
  std::size_t steps = 0;
  for (std::size_t i = 1; i < log.marks.size(); ++i) {
    steps += log.marks[i].wall > log.marks[i - 1].wall ? 1 : 0;
  }
  return steps > 0 && 2 * steps + 2 >= log.marks.size();
}

double Place(const UsageLog& log, const UsageMark& mark, bool byTime) {
  return static_cast<double>(byTime ? mark.wall : &mark - log.marks.data());
}

CurvePlot PlotOfMemory(const Logs& logs, bool byTime) {
  CurvePlot plot;
  plot.caption = "Resident memory at each mark";
  plot.unit = "MB";
  plot.across = byTime ? "seconds since the beginning" : "mark";
  for (const UsageLog* log : logs) {
    Curve curve;
    curve.name = log->file;
    for (const UsageMark* mark : MarksOfMemory(*log, kCurvePoints)) {
      curve.x.push_back(Place(*log, *mark, byTime));
      curve.y.push_back(Megabytes(mark->bytes));
      curve.labels.push_back(NameOf(*log, *mark));
    }
    if (log->marks.size() > kCurvePoints) {
      plot.caption = "Resident memory, of several marks the one with most";
    }
    plot.curves.push_back(curve);
  }
  return plot;
}

void AddMemory(Page& page, const UsageLog& log) {
  page.Section("Memory over time");
  const bool byTime = HasTime(log);
  CurvePlot plot = PlotOfMemory({&log}, byTime);
  if (!byTime && log.marks.size() <= kTicks) {
    plot.ticks = plot.curves[0].labels;
  }
  page.Add(plot);
  Table table;
  table.texts = {"mark"};
  table.numbers = {"wall s", "CPU s", "MB", "peak MB", "faults"};
  for (const UsageMark& mark : log.marks) {
    table.rows.push_back({NameOf(log, mark), fmt::format("{}", mark.wall),
                          Fixed(mark.processor, 1), Fixed(Megabytes(mark.bytes), 1),
                          Fixed(Megabytes(mark.peakBytes), 1),
                          fmt::format("{}", mark.faults)});
  }
  page.Add(table);
}

Page PageOf(const UsageLog& log) {
  Page page(kName, FileNameOf(log.file));
  page.Line(fmt::format("{}: {}", log.file, Description(log)));
  AddNotes(page, {&log}, 1);
  const UsageMark& last = log.marks.back();
  page.Figure("wall time", fmt::format("{} s", last.wall));
  page.Figure("processor time", Fixed(last.processor, 1) + " s");
  page.Figure("largest memory", fmt::format("{:.1f} MB", Megabytes(last.peakBytes)));
  page.Figure("page faults", Grouped(last.faults));
  AddPhases(page, log);
  AddTimers(page, log);
  AddMemory(page, log);
  return page;
}

void AddPairs(Page& page, const std::string& unit, const std::vector<Pair>& pairs) {
  BarPlot plot;
  plot.caption = "Old and new";
  plot.unit = unit;
  plot.series = {{"old", {}, {}}, {"new", {}, {}}};
  Table table;
  table.texts = {"name"};
  table.numbers = {"old", "new", "change", "in percent"};
  for (const Pair& pair : pairs) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    const std::optional<double> change = pair.Change();
    const std::optional<double> percent = pair.Percent();
    plot.names.push_back(pair.name);
    plot.series[0].values.push_back(pair.before.value_or(kNone));
    plot.series[1].values.push_back(pair.after.value_or(kNone));
    table.rows.push_back({pair.name, Number(pair.before), Number(pair.after),
                          change ? Signed(*change, 1) : "",
                          percent ? Signed(*percent, 0) + " %" : ""});
  }
  if (!unit.empty()) {
    page.Add(plot);
  }
  page.Add(table);
}

Page PageOfDifference(const UsageLog& old, const UsageLog& fresh) {
  Page page(kName, "Two runs compared");
  page.Line(fmt::format("old: {}: {}", old.file, Description(old)));
  page.Line(fmt::format("new: {}: {}", fresh.file, Description(fresh)));
  AddNotes(page, {&old, &fresh}, 2);
  page.Section("Whole job");
  AddPairs(page, "", PairsOf(Totals(old), Totals(fresh)));
  page.Section("Phases, wall time");
  AddPairs(page, "s", PairsOf(PhaseTimes(old, WallOf), PhaseTimes(fresh, WallOf)));
  page.Section("Phases, processor time");
  AddPairs(page, "s",
           PairsOf(PhaseTimes(old, ProcessorOf), PhaseTimes(fresh, ProcessorOf)));
  page.Section("Timers, processor time");
  AddPairs(page, "s", PairsOf(TimerTimes(old), TimerTimes(fresh)));
  page.Section("Memory over time");
  CurvePlot plot = PlotOfMemory({&old, &fresh}, HasTime(old) && HasTime(fresh));
  plot.curves[0].name = "old";
  plot.curves[1].name = "new";
  page.Add(plot);
  return page;
}

Page PageOf(const std::vector<UsageLog>& logs, std::size_t asked) {
  const Spreads spreads = SpreadsOf(logs);
  Page page(kName, fmt::format("{} resource logs", logs.size()));
  page.Line(fmt::format("{} to {}", logs.front().file, logs.back().file));
  Logs all;
  for (const UsageLog& log : logs) {
    all.push_back(&log);
  }
  AddNotes(page, all, asked);
  // Wall time, processor time, memory, as Totals has them.
  const std::vector<Series>& totals = spreads.totals.All();
  page.Figure("logs", Grouped(std::ssize(logs)));
  page.Figure("longest wall time", fmt::format("{:.0f} s", SpreadOf(totals[0]).most));
  page.Figure("processor time of all", Fixed(SpreadOf(totals[1]).sum, 1) + " s");
  page.Figure("largest memory", fmt::format("{:.1f} MB", SpreadOf(totals[2]).most));
  page.Section("Each log");
  page.Add(PlotOfFiles(totals[0], "Wall time", "s"));
  page.Add(PlotOfFiles(totals[1], "Processor time", "s"));
  page.Add(PlotOfFiles(totals[2], "Largest memory", "MB"));
  Table table;
  table.texts = {"file"};
  table.numbers = {"wall s", "CPU s", "peak MB", "faults", "marks"};
  for (const UsageLog& log : logs) {
    const UsageMark& last = log.marks.back();
    table.rows.push_back(
        {log.file + (log.IsCut() ? " (cut off)" : ""), fmt::format("{}", last.wall),
         Fixed(last.processor, 1), Fixed(Megabytes(last.peakBytes), 1),
         fmt::format("{}", last.faults), fmt::format("{}", log.marks.size())});
  }
  page.Add(table);
  page.Section("Spread of the whole job", AboutOutliers("logs"));
  AddSpreadTable(page, spreads.totals);
  page.Section("Spread of the phases, processor time");
  AddSpreads(page, spreads.phases, "Least, mean and most of all logs", "s");
  page.Section("Spread of the timers, processor time");
  AddSpreads(page, spreads.timers, "Least, mean and most of all logs", "s");
  return page;
}

}  // namespace

Page UsagePage(const std::vector<UsageLog>& logs, bool isDiff, std::size_t asked) {
  if (isDiff) {
    return PageOfDifference(logs[0], logs[1]);
  }
  return asked == 1 ? PageOf(logs[0]) : PageOf(logs, asked);
}
