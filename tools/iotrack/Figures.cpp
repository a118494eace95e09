#include "iotrack/Figures.h"

#include <fmt/format.h>

#include <algorithm>

namespace {

void Add(TrackedSums& sum, const TrackedSums& other) {
  sum.written.count += other.written.count;
  sum.written.megabytes += other.written.megabytes;
  sum.written.seconds += other.written.seconds;
  sum.read.count += other.read.count;
  sum.read.megabytes += other.read.megabytes;
  sum.read.seconds += other.read.seconds;
}

}  // namespace

std::string Description(const TrackedJob& job) {
  return fmt::format("{}: {} file{}, {} line{} of totals", job.name, job.files.size(),
                     Plural(job.files.size()), job.lines.size(),
                     Plural(job.lines.size()));
}

double Rate(double megabytes, double seconds) {
  return seconds > 0 ? megabytes / seconds : 0;
}

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

Directories SumsOf(const std::vector<TrackedJob>& jobs) {
  Directories sums;
  for (const TrackedJob& job : jobs) {
    const Directories one = SumsOf(job);
    Add(sums.work, one.work);
    Add(sums.scratch, one.scratch);
  }
  return sums;
}

double Elapsed(const TrackedJob& job) {
  return job.lines.empty() ? 0 : job.lines.back().elapsed;
}

std::vector<RateRow> RatesOf(const TrackedJob& job, std::size_t most) {
  std::vector<RateRow> rows;
  const std::size_t count = std::min(most, job.lines.size());
  TotalsLine before;
  for (std::size_t i = 0; i < count; ++i) {
    const TotalsLine& line = job.lines[(i + 1) * job.lines.size() / count - 1];
    const double work = line.work.Megabytes() - before.work.Megabytes();
    const double scratch = line.scratch.Megabytes() - before.scratch.Megabytes();
    const double seconds = line.elapsed - before.elapsed;
    rows.push_back({&line, work + scratch, Rate(work + scratch, seconds),
                    Rate(work, seconds), Rate(scratch, seconds)});
    before = line;
  }
  return rows;
}

double Measure(const TrackedFile& file, const std::string& by) {
  if (by == "count") {
    return file.hasCounts ? static_cast<double>(file.sums.Count()) : -1;
  }
  return by == "time" ? file.sums.Seconds() : file.sums.Megabytes();
}

std::vector<JobFile> FilesBy(const std::vector<TrackedJob>& jobs, const std::string& by) {
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
  return files;
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
    list.Of("all transfers, s").Add(job.name, sums.Seconds());
    add("work, written", sums.work.written);
    add("work, read", sums.work.read);
    add("scratch, written", sums.scratch.written);
    add("scratch, read", sums.scratch.read);
  }
  return list;
}
