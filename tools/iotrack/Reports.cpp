#include <fmt/format.h>

#include <cmath>

#include "iotrack/Figures.h"
#include "iotrack/IoTrack.h"

namespace {

constexpr std::size_t kRows = 20;  // of a table over time, at most
constexpr int kWidth = 40;         // of its picture

void PrintTransfer(const char* name, const Transfer& transfer, const Console& console) {
  console.out << fmt::format("{:>11} {:>11} {:>11}  {}\n", Fixed(transfer.megabytes, 3),
                             Fixed(transfer.seconds, 3),
                             Fixed(Rate(transfer.megabytes, transfer.seconds), 1), name);
}

void PrintRates(const TrackedJob& job, const Console& console) {
  const std::vector<RateRow> rows = RatesOf(job, kRows);
  if (rows.empty()) {
    return;
  }
  double most = 0;
  for (const RateRow& row : rows) {
    most = std::max(most, row.rate);
  }
  console.out << fmt::format("\n{:>11} {:>11} {:>11}  {:{}}  {}\n", "elapsed s", "MB",
                             "MB/s", "rate over time", kWidth, "up to the mark");
  for (const RateRow& row : rows) {
    const double part = most > 0 && std::isfinite(most) && row.rate > 0
                            ? std::min(row.rate / most, 1.0)
                            : 0;
    const int full = static_cast<int>(std::lround(part * kWidth));
    console.out << fmt::format("{:>11} {:>11} {:>11}  {:#<{}}{:{}}  {}\n",
                               Fixed(row.line->elapsed, 3), Fixed(row.megabytes, 3),
                               Fixed(row.rate, 1), "", full, "", kWidth - full,
                               Shown(row.line->label.value_or("")));
  }
}

Json JsonOf(const Transfer& transfer, bool hasCount) {
  return {{"count", hasCount ? Json(transfer.count) : Json()},
          {"megabytes", transfer.megabytes},
          {"seconds", transfer.seconds}};
}

Json JsonOf(const TrackedSums& sums, bool hasCounts) {
  return {{"written", JsonOf(sums.written, hasCounts)},
          {"read", JsonOf(sums.read, hasCounts)}};
}

Json LinesOf(const TrackedJob& job) {
  Json lines = Json::array();
  for (const TotalsLine& line : job.lines) {
    lines.push_back({{"label", line.label ? Json(*line.label) : Json()},
                     {"elapsed", line.elapsed},
                     {"work", JsonOf(line.work, true)},
                     {"scratch", JsonOf(line.scratch, true)}});
  }
  return lines;
}

Json FilesOf(const TrackedJob& job) {
  Json files = Json::array();
  for (const TrackedFile& file : job.files) {
    Json one = JsonOf(file.sums, file.hasCounts);
    one["path"] = file.path;
    one["directory"] = file.isScratch ? "scratch" : "work";
    files.push_back(one);
  }
  return files;
}

std::string CsvOf(const TrackedSums& sums, bool hasCounts) {
  const auto count = [&](const Transfer& transfer) {
    return hasCounts ? std::to_string(transfer.count) : "";
  };
  return fmt::format("{},{},{},{},{},{}", count(sums.written),
                     CsvField(sums.written.megabytes), CsvField(sums.written.seconds),
                     count(sums.read), CsvField(sums.read.megabytes),
                     CsvField(sums.read.seconds));
}

}  // namespace

void PrintJob(const TrackedJob& job, const Console& console) {
  const Directories sums = SumsOf(job);
  console.out << Shown(Description(job)) << "\n\n";
  console.out << fmt::format("{:>11} {:>11} {:>11}  directory\n", "MB", "s", "MB/s");
  PrintTransfer("work, written", sums.work.written, console);
  PrintTransfer("work, read", sums.work.read, console);
  PrintTransfer("scratch, written", sums.scratch.written, console);
  PrintTransfer("scratch, read", sums.scratch.read, console);
  PrintRates(job, console);
}

void PrintJobs(const std::vector<TrackedJob>& jobs, const Console& console) {
  console.out << fmt::format("{:>11} {:>11} {:>11} {:>11}  {}\n", "elapsed s", "MB", "s",
                             "MB/s", "job");
  for (const TrackedJob& job : jobs) {
    const Directories sums = SumsOf(job);
    const double megabytes = sums.Megabytes();
    const double seconds = sums.Seconds();
    console.out << fmt::format("{:>11} {:>11} {:>11} {:>11}  {}{}\n",
                               Fixed(Elapsed(job), 3), Fixed(megabytes, 3),
                               Fixed(seconds, 3), Fixed(Rate(megabytes, seconds), 1),
                               Shown(job.name), job.cut.empty() ? "" : " (cut off)");
  }
  PrintSpreads("all jobs", SpreadsOf(jobs), console);
}

void PrintFiles(const std::vector<TrackedJob>& jobs, const std::string& by,
                std::size_t top, const Console& console) {
  std::vector<JobFile> files = FilesBy(jobs, by);
  files.resize(std::min(files.size(), top));
  console.out << fmt::format("\n{:>11} {:>11} {:>11} {:>9} {:8} {}\n", "MB written",
                             "MB read", "s", "count", "kind", "file");
  for (const JobFile& one : files) {
    const TrackedFile& file = *one.file;
    const std::string count = file.hasCounts ? std::to_string(file.sums.Count()) : "-";
    console.out << fmt::format("{:>11.3f} {:>11.3f} {:>11.3f} {:>9} {:8} {}{}\n",
                               file.sums.written.megabytes, file.sums.read.megabytes,
                               file.sums.Seconds(), count,
                               file.isScratch ? "scratch" : "work", Shown(file.path),
                               jobs.size() > 1 ? " of " + Shown(one.job->name) : "");
  }
}

Json JsonOf(const std::vector<TrackedJob>& jobs) {
  Json all = Json::array();
  for (const TrackedJob& job : jobs) {
    const Directories sums = SumsOf(job);
    all.push_back({{"job", job.name},
                   {"cut", job.cut},
                   {"work", JsonOf(sums.work, false)},
                   {"scratch", JsonOf(sums.scratch, false)},
                   {"totals", LinesOf(job)},
                   {"files", FilesOf(job)}});
  }
  return {{"jobs", all}, {"spread", JsonOf(SpreadsOf(jobs))}};
}

void PrintFilesCsv(const std::vector<TrackedJob>& jobs, const Console& console) {
  console.out << "job,directory,path,write_count,write_mb,write_s,read_count,read_mb,"
                 "read_s\n";
  for (const TrackedJob& job : jobs) {
    for (const TrackedFile& file : job.files) {
      console.out << fmt::format("{},{},{},{}\n", CsvField(job.name),
                                 file.isScratch ? "scratch" : "work", CsvField(file.path),
                                 CsvOf(file.sums, file.hasCounts));
    }
  }
}

void PrintTotalsCsv(const std::vector<TrackedJob>& jobs, const Console& console) {
  console.out << "job,label,elapsed,work_write_count,work_write_mb,work_write_s,"
                 "work_read_count,work_read_mb,work_read_s,scratch_write_count,"
                 "scratch_write_mb,scratch_write_s,scratch_read_count,scratch_read_mb,"
                 "scratch_read_s\n";
  for (const TrackedJob& job : jobs) {
    for (const TotalsLine& line : job.lines) {
      console.out << fmt::format(
          "{},{},{},{},{}\n", CsvField(job.name), line.label ? CsvField(*line.label) : "",
          CsvField(line.elapsed), CsvOf(line.work, true), CsvOf(line.scratch, true));
    }
  }
}
