#include <fmt/format.h>

#include <cmath>

#include "common/Spread.h"
#include "iotrack/IoTrack.h"

namespace {

constexpr std::size_t kRows = 20;  // of a table over time, at most
constexpr int kWidth = 40;         // of its picture

double Rate(double megabytes, double seconds) {
  return seconds > 0 ? megabytes / seconds : 0;
}

void Add(TrackedSums& sum, const TrackedSums& other) {
  sum.written.count += other.written.count;
  sum.written.megabytes += other.written.megabytes;
  sum.written.seconds += other.written.seconds;
  sum.read.count += other.read.count;
  sum.read.megabytes += other.read.megabytes;
  sum.read.seconds += other.read.seconds;
}

struct Directories {
  TrackedSums work;
  TrackedSums scratch;
};

// What the summary has, which is later than the last mark, or else the last line of the
// totals. The summary has no counts, and lacks what is neither work nor scratch.
Directories SumsOf(const TrackedJob& job) {
  Directories sums;
  if (!job.lines.empty()) {
    sums = {job.lines.back().work, job.lines.back().scratch};
  }
  Directories files;
  for (const TrackedFile& file : job.files) {
    Add(file.isScratch ? files.scratch : files.work, file.sums);
  }
  const auto takeLater = [](Transfer& transfer, const Transfer& summary) {
    transfer.megabytes = std::max(transfer.megabytes, summary.megabytes);
    transfer.seconds = std::max(transfer.seconds, summary.seconds);
  };
  takeLater(sums.work.written, files.work.written);
  takeLater(sums.work.read, files.work.read);
  takeLater(sums.scratch.written, files.scratch.written);
  takeLater(sums.scratch.read, files.scratch.read);
  return sums;
}

double Megabytes(const TotalsLine& line) {
  return line.work.Megabytes() + line.scratch.Megabytes();
}

double Elapsed(const TrackedJob& job) {
  return job.lines.empty() ? 0 : job.lines.back().elapsed;
}

void PrintTransfer(const char* name, const Transfer& transfer, const Console& console) {
  console.out << fmt::format("{:>11.3f} {:>11.3f} {:>11.1f}  {}\n", transfer.megabytes,
                             transfer.seconds, Rate(transfer.megabytes, transfer.seconds),
                             name);
}

// Of many lines, every row stands for several.
void PrintRates(const TrackedJob& job, const Console& console) {
  struct Row {
    const TotalsLine* line;
    double megabytes;
    double rate;
  };
  std::vector<Row> rows;
  const std::size_t count = std::min(kRows, job.lines.size());
  double most = 0;
  TotalsLine before;
  for (std::size_t i = 0; i < count; ++i) {
    const TotalsLine& line = job.lines[(i + 1) * job.lines.size() / count - 1];
    const double megabytes = Megabytes(line) - Megabytes(before);
    const double rate = Rate(megabytes, line.elapsed - before.elapsed);
    rows.push_back({&line, megabytes, rate});
    most = std::max(most, rate);
    before = line;
  }
  if (rows.empty()) {
    return;
  }
  console.out << fmt::format("\n{:>11} {:>11} {:>11}  {:{}}  {}\n", "elapsed s", "MB",
                             "MB/s", "rate over time", kWidth, "up to the mark");
  for (const Row& row : rows) {
    const double part = most > 0 && std::isfinite(most) && row.rate > 0
                            ? std::min(row.rate / most, 1.0)
                            : 0;
    const int full = static_cast<int>(std::lround(part * kWidth));
    console.out << fmt::format("{:>11.3f} {:>11.3f} {:>11.1f}  {:#<{}}{:{}}  {}\n",
                               row.line->elapsed, row.megabytes, row.rate, "", full, "",
                               kWidth - full, Shown(row.line->label.value_or("")));
  }
}

struct JobFile {
  const TrackedJob* job;
  const TrackedFile* file;
};

double Measure(const TrackedFile& file, const std::string& by) {
  if (by == "count") {
    return file.hasCounts ? static_cast<double>(file.sums.Count()) : -1;
  }
  return by == "time" ? file.sums.Seconds() : file.sums.Megabytes();
}

SeriesList SpreadsOf(const std::vector<TrackedJob>& jobs) {
  SeriesList list;
  for (const TrackedJob& job : jobs) {
    const Directories sums = SumsOf(job);
    const auto add = [&](const std::string& name, const Transfer& transfer) {
      list.Of(name + ", MB").Add(job.name, transfer.megabytes);
      list.Of(name + ", s").Add(job.name, transfer.seconds);
    };
    list.Of("elapsed, s").Add(job.name, Elapsed(job));
    list.Of("all transfers, s")
        .Add(job.name, sums.work.Seconds() + sums.scratch.Seconds());
    add("work, written", sums.work.written);
    add("work, read", sums.work.read);
    add("scratch, written", sums.scratch.written);
    add("scratch, read", sums.scratch.read);
  }
  return list;
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
  return fmt::format("{},{},{},{},{},{}", count(sums.written), sums.written.megabytes,
                     sums.written.seconds, count(sums.read), sums.read.megabytes,
                     sums.read.seconds);
}

}  // namespace

void PrintJob(const TrackedJob& job, const Console& console) {
  const Directories sums = SumsOf(job);
  console.out << fmt::format("{}: {} files, {} lines of totals\n\n", Shown(job.name),
                             job.files.size(), job.lines.size());
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
    const double megabytes = sums.work.Megabytes() + sums.scratch.Megabytes();
    const double seconds = sums.work.Seconds() + sums.scratch.Seconds();
    console.out << fmt::format("{:>11.3f} {:>11.3f} {:>11.3f} {:>11.1f}  {}{}\n",
                               Elapsed(job), megabytes, seconds, Rate(megabytes, seconds),
                               Shown(job.name), job.cut.empty() ? "" : " (cut off)");
  }
  PrintSpreads("all jobs", SpreadsOf(jobs), console);
}

void PrintFiles(const std::vector<TrackedJob>& jobs, const std::string& by,
                std::size_t top, const Console& console) {
  std::vector<JobFile> files;
  for (const TrackedJob& job : jobs) {
    for (const TrackedFile& file : job.files) {
      files.push_back({&job, &file});
    }
  }
  std::stable_sort(files.begin(), files.end(),
                   [&](const JobFile& left, const JobFile& right) {
                     return Measure(*left.file, by) > Measure(*right.file, by);
                   });
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
      console.out << fmt::format("{},{},{},{},{}\n", CsvField(job.name),
                                 CsvField(line.label.value_or("")), line.elapsed,
                                 CsvOf(line.work, true), CsvOf(line.scratch, true));
    }
  }
}
