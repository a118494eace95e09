#include <fmt/format.h>

#include "common/SpreadPage.h"
#include "iotrack/Figures.h"
#include "iotrack/IoTrack.h"

namespace {

// Small jobs have to show something, too.
std::string Megabytes(double value) {
  return Fixed(value, value < 10 ? 3 : 1) + " MB";
}

std::string Number(double value) {
  return Fixed(value, 3);
}

void AddNotes(Page& page, const std::vector<TrackedJob>& jobs, std::size_t asked) {
  if (jobs.size() < asked) {
    page.Note(fmt::format("Of {} jobs {} could be read.", asked, jobs.size()));
  }
  std::size_t count = 0;
  std::string first;
  for (const TrackedJob& job : jobs) {
    first = !job.cut.empty() && count == 0 ? job.name + ": " + job.cut : first;
    count += job.cut.empty() ? 0 : 1;
  }
  if (count > 0) {
    page.Note(first + ", the process still runs or has died" +
              (count > 1 ? fmt::format("; the like of {} more.", count - 1) : "."));
  }
}

void AddFigures(Page& page, const Directories& sums) {
  const double written = sums.work.written.megabytes + sums.scratch.written.megabytes;
  const double read = sums.work.read.megabytes + sums.scratch.read.megabytes;
  page.Figure("written", Megabytes(written));
  page.Figure("read", Megabytes(read));
  page.Figure("time of transfers", Number(sums.Seconds()) + " s");
}

void AddDirectories(Page& page, const Directories& sums) {
  page.Section("Work against scratch");
  BarPlot megabytes;
  megabytes.caption = "Megabytes";
  megabytes.unit = "MB";
  megabytes.names = {"work", "scratch"};
  megabytes.series = {
      {"written", {sums.work.written.megabytes, sums.scratch.written.megabytes}, {}},
      {"read", {sums.work.read.megabytes, sums.scratch.read.megabytes}, {}}};
  megabytes.isStacked = true;
  page.Add(megabytes);
  BarPlot seconds = megabytes;
  seconds.caption = "Time of transfers";
  seconds.unit = "s";
  seconds.series[0].values = {sums.work.written.seconds, sums.scratch.written.seconds};
  seconds.series[1].values = {sums.work.read.seconds, sums.scratch.read.seconds};
  page.Add(seconds);
  Table table;
  table.texts = {"directory"};
  table.numbers = {"MB", "s", "MB/s"};
  const auto add = [&](const char* name, const Transfer& transfer) {
    table.rows.push_back({name, Number(transfer.megabytes), Number(transfer.seconds),
                          Fixed(Rate(transfer.megabytes, transfer.seconds), 1)});
  };
  add("work, written", sums.work.written);
  add("work, read", sums.work.read);
  add("scratch, written", sums.scratch.written);
  add("scratch, read", sums.scratch.read);
  page.Add(table);
}

void AddRates(Page& page, const TrackedJob& job) {
  page.Section("Rate over time",
               "What was written and read from one mark to the next, by the time between "
               "them.");
  CurvePlot plot;
  plot.caption =
      job.lines.size() > kCurvePoints ? "Rate, of several marks together" : "Rate";
  plot.unit = "MB/s";
  plot.across = "seconds since the beginning";
  plot.isStepped = true;
  plot.curves = {{"work", {}, {}, {}}, {"scratch", {}, {}, {}}};
  Table table;
  table.texts = {"up to the mark"};
  table.numbers = {"elapsed s", "MB", "MB/s"};
  const auto add = [](Curve& curve, double x, double y, const std::string& label) {
    curve.x.push_back(x);
    curve.y.push_back(y);
    curve.labels.push_back(label);
  };
  for (const RateRow& row : RatesOf(job, kCurvePoints)) {
    const std::string label = row.line->label.value_or("");
    if (table.rows.empty()) {
      add(plot.curves[0], 0, row.workRate, label);
      add(plot.curves[1], 0, row.scratchRate, label);
    }
    add(plot.curves[0], row.line->elapsed, row.workRate, label);
    add(plot.curves[1], row.line->elapsed, row.scratchRate, label);
    table.rows.push_back(
        {label, Number(row.line->elapsed), Number(row.megabytes), Fixed(row.rate, 1)});
  }
  if (!table.rows.empty()) {
    page.Add(plot);
  }
  page.Add(table);
}

// The first files in the order of a measure, with what they wrote and read of it.
BarPlot PlotOfTop(const std::vector<TrackedJob>& jobs, const std::string& by,
                  std::size_t top, double (*measure)(const Transfer&)) {
  BarPlot plot;
  plot.isStacked = true;
  plot.most = top;
  plot.series = {{"written", {}, {}}, {"read", {}, {}}};
  for (const auto& [job, file] : FilesBy(jobs, by)) {
    if (plot.names.size() < top && Measure(*file, by) >= 0) {
      plot.names.push_back(file->path);
      plot.series[0].values.push_back(measure(file->sums.written));
      plot.series[1].values.push_back(measure(file->sums.read));
    }
  }
  return plot;
}

void AddFiles(Page& page, const std::vector<TrackedJob>& jobs, const std::string& by,
              std::size_t top) {
  page.Section("Files");
  const std::string head = fmt::format("The {} files with the most ", top);
  BarPlot plot = PlotOfTop(jobs, "mb", top,
                           [](const Transfer& transfer) { return transfer.megabytes; });
  plot.caption = head + "megabytes";
  plot.unit = "MB";
  page.Add(plot);
  plot = PlotOfTop(jobs, "time", top,
                   [](const Transfer& transfer) { return transfer.seconds; });
  plot.caption = head + "time";
  plot.unit = "s";
  page.Add(plot);
  plot = PlotOfTop(jobs, "count", top, [](const Transfer& transfer) {
    return static_cast<double>(transfer.count);
  });
  plot.caption = head + "operations";
  plot.unit = "operations";
  page.Add(plot);
  Table table;
  table.texts = {"file", "kind"};
  if (jobs.size() > 1) {
    table.texts.emplace_back("job");
  }
  table.numbers = {"MB written", "MB read", "s", "count"};
  for (const auto& [job, file] : FilesBy(jobs, by)) {
    std::vector<std::string> row = {file->path, file->isScratch ? "scratch" : "work"};
    if (jobs.size() > 1) {
      row.push_back(job->name);
    }
    for (const std::string& number :
         {Number(file->sums.written.megabytes), Number(file->sums.read.megabytes),
          Number(file->sums.Seconds()),
          file->hasCounts ? std::to_string(file->sums.Count()) : "-"}) {
      row.push_back(number);
    }
    table.rows.push_back(row);
  }
  page.Add(table);
}

void AddJobs(Page& page, const std::vector<TrackedJob>& jobs) {
  page.Section("Each job");
  Series elapsed{"elapsed", {}, {}};
  Series megabytes{"megabytes", {}, {}};
  Series seconds{"seconds", {}, {}};
  Table table;
  table.texts = {"job"};
  table.numbers = {"elapsed s", "MB", "s", "MB/s"};
  for (const TrackedJob& job : jobs) {
    const Directories sums = SumsOf(job);
    elapsed.Add(job.name, Elapsed(job));
    megabytes.Add(job.name, sums.Megabytes());
    seconds.Add(job.name, sums.Seconds());
    table.rows.push_back({job.name + (job.cut.empty() ? "" : " (cut off)"),
                          Number(Elapsed(job)), Number(sums.Megabytes()),
                          Number(sums.Seconds()),
                          Fixed(Rate(sums.Megabytes(), sums.Seconds()), 1)});
  }
  page.Add(PlotOfFiles(elapsed, "Elapsed time", "s"));
  page.Add(PlotOfFiles(megabytes, "Megabytes written and read", "MB"));
  page.Add(PlotOfFiles(seconds, "Time of transfers", "s"));
  page.Add(table);
  page.Section("Spread", AboutOutliers("jobs"));
  AddSpreadTable(page, SpreadsOf(jobs));
}

}  // namespace

Page IoTrackPage(const std::vector<TrackedJob>& jobs, const std::string& by,
                 std::size_t top, std::size_t asked) {
  const bool isOne = asked == 1;
  Page page("kst_iotrack", isOne ? FileNameOf(jobs[0].name)
                                 : fmt::format("I/O of {} jobs", jobs.size()));
  page.Line(isOne ? "I/O of " + Description(jobs[0])
                  : jobs.front().name + " to " + jobs.back().name);
  AddNotes(page, jobs, asked);
  const Directories sums = SumsOf(jobs);
  AddFigures(page, sums);
  if (isOne) {
    page.Figure("elapsed", Number(Elapsed(jobs[0])) + " s");
  } else {
    page.Figure("jobs", Grouped(std::ssize(jobs)));
    AddJobs(page, jobs);
  }
  AddDirectories(page, sums);
  if (isOne) {
    AddRates(page, jobs[0]);
  }
  AddFiles(page, jobs, by, top);
  return page;
}
