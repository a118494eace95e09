#include "iotrack/TrackerFiles.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "common/FileError.h"
#include "common/Lines.h"
#include "utl/utl_NativePath.h"

namespace {

constexpr std::string_view kSeparator = ", ";
constexpr std::string_view kColumns[] = {"Code Mark, Elapsed Time, ", "Elapsed Time, "};
constexpr char kSumColumns[] =
    "Work Write Count, Work Write MB, Work Write Time, Work Read Count, Work Read MB, "
    "Work Read Time, Scratch Write Count, Scratch Write MB, Scratch Write Time, Scratch "
    "Read Count, Scratch Read MB, Scratch Read Time";
constexpr char kFileColumns[] =
    "Write Count, Write MB, Write Time, Read Count, Read MB, Read Time";

// The names of a job's files, without and with what stands before and behind.
constexpr std::string_view kTotals = "ioTotal";
constexpr std::string_view kSummary = "ioFileSummary";
constexpr std::string_view kKinds[] = {kTotals, "ioInc", kSummary};

bool IsFile(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_regular_file(utl_nativePath(path), ignored);
}

bool IsDirectory(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_directory(utl_nativePath(path), ignored);
}

struct JobNames {
  std::string head;  // "run/beam."
  std::string tail;  // "_suffix"

  std::string Of(std::string_view kind) const { return head + std::string(kind) + tail; }
  std::string Directory() const { return head.substr(0, head.find_last_of("/\\") + 1); }
};

JobNames NamesOf(const std::string& job) {
  const std::size_t name = job.find_last_of("/\\") + 1;
  for (const std::string_view kind : kKinds) {
    const std::size_t at = job.rfind(kind);
    if (at == std::string::npos || at < name || (at > name && job[at - 1] != '.')) {
      continue;
    }
    const std::string tail = job.substr(at + kind.size());
    if (tail.empty() || tail.front() == '_') {
      return {job.substr(0, at), tail};
    }
  }
  if (name == job.size()) {
    return {job, ""};
  }
  const JobNames names = {job + '.', ""};
  const bool isThere = IsFile(names.Of(kTotals)) || IsFile(names.Of(kSummary));
  return !isThere && IsDirectory(job) ? JobNames{job + '/', ""} : names;
}

bool TakeTime(std::string_view& text, double& value) {
  const std::optional<double> taken = TakeLast<double>(text, kSeparator);
  value = taken.value_or(0);
  return taken && value >= 0;
}

bool TakeTransfer(std::string_view& text, Transfer& transfer) {
  if (!TakeTime(text, transfer.seconds) || !TakeTime(text, transfer.megabytes)) {
    return false;
  }
  const auto count = TakeLast<std::int32_t>(text, kSeparator);
  transfer.count = count.value_or(-1);
  return transfer.count >= 0;
}

bool TakeSums(std::string_view& text, TrackedSums& sums) {
  return TakeTransfer(text, sums.read) && TakeTransfer(text, sums.written);
}

// Opens a file with the head of totals and checks that head. False for one that was cut
// off within it.
bool ReadHead(Lines& lines, const std::string& columns) {
  std::string line;
  if (!lines.Next(line)) {
    return false;
  }
  if (line != "IO Tracking Totals") {
    lines.Fail("is not of the I/O tracker");
  }
  if (!lines.Next(line)) {
    return false;
  }
  if (std::none_of(std::begin(kColumns), std::end(kColumns), [&](std::string_view head) {
        return line == std::string(head) + columns;
      })) {
    lines.Fail("does not name the columns of such a file");
  }
  return true;
}

// Calls `each` with every line, to take its numbers off the end of the text; what is left
// then is the label with a separator before it, or nothing. Whether the file is whole.
template <class Each>
bool ForEachLine(Lines& lines, Each each) {
  std::string line;
  while (lines.Next(line)) {
    // So that every number has a separator before it.
    const std::string separated = std::string(kSeparator) + line;
    std::string_view text = separated;
    if (!each(text)) {
      lines.Fail("is no line of numbers");
    }
  }
  return !lines.IsCut();
}

bool ReadTotals(Lines& lines, std::vector<TotalsLine>& all) {
  return ReadHead(lines, kSumColumns) && ForEachLine(lines, [&](std::string_view& text) {
           TotalsLine line;
           if (!TakeSums(text, line.scratch) || !TakeSums(text, line.work) ||
               !TakeTime(text, line.elapsed)) {
             return false;
           }
           if (!text.empty()) {
             line.label = text.substr(kSeparator.size());
           }
           all.push_back(line);
           return true;
         });
}

TrackedFile ReadFile(const std::string& line, bool isScratch, const Lines& lines) {
  std::string_view text = line;
  TrackedFile file;
  if (!TakeTime(text, file.sums.read.seconds) ||
      !TakeTime(text, file.sums.read.megabytes) ||
      !TakeTime(text, file.sums.written.seconds) ||
      !TakeTime(text, file.sums.written.megabytes) ||
      text.find('\0') != std::string_view::npos) {  // which ends a name
    lines.Fail("is no file of a summary");
  }
  file.path = text;
  file.isScratch = isScratch;
  return file;
}

// Whether the summary is whole.
bool ReadSummary(Lines& lines, std::vector<TrackedFile>& files) {
  std::string line;
  for (const char* expected : {"IO Summary for All Files", "", "WORK DIRECTORY FILES"}) {
    if (!lines.Next(line)) {
      return false;
    }
    if (line != expected) {
      lines.Fail("is not of a summary");
    }
  }
  const auto readFiles = [&](bool isScratch) {
    while (lines.Next(line)) {
      if (line.empty()) {
        return true;
      }
      files.push_back(ReadFile(line, isScratch, lines));
    }
    return false;
  };
  if (!readFiles(false)) {
    return false;
  }
  for (const char* expected : {"", "SCRATCH DIRECTORY FILES"}) {
    if (!lines.Next(line)) {
      return false;
    }
    if (line != expected) {
      lines.Fail("is not of a summary");
    }
  }
  if (!readFiles(true)) {
    return false;
  }
  if (lines.Next(line) || lines.IsCut()) {
    lines.Fail("stands behind the end of the summary");
  }
  return true;
}

// The name of the file's individual output, in small letters: files that share it cannot
// be told apart by it.
std::string IndividualName(const TrackedFile& file) {
  std::string name = file.path.substr(file.path.find_last_of('\\') + 1) + "_ioTotal";
  for (char& c : name) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return name;
}

// What the individual output's last line says, if it can be about this file.
void ReadCounts(const std::string& path, TrackedFile& file) {
  Lines lines(path);
  TrackedSums last;
  if (ReadHead(lines, kFileColumns)) {
    ForEachLine(lines, [&](std::string_view& text) { return TakeSums(text, last); });
  }
  if (last.written.megabytes > file.sums.written.megabytes ||
      last.read.megabytes > file.sums.read.megabytes) {
    return;
  }
  file.hasCounts = true;
  file.sums.written.count = last.written.count;
  file.sums.read.count = last.read.count;
}

void ReadIndividuals(const JobNames& names, std::vector<TrackedFile>& files) {
  std::map<std::string, int> uses;
  for (const TrackedFile& file : files) {
    ++uses[IndividualName(file)];
  }
  for (TrackedFile& file : files) {
    const std::string path = names.Directory() +
                             file.path.substr(file.path.find_last_of('\\') + 1) +
                             "_ioTotal" + names.tail;
    if (uses[IndividualName(file)] == 1 && IsFile(path)) {
      ReadCounts(path, file);
    }
  }
}

std::string CutOff(const std::string& path, const Lines& lines) {
  return path + " is cut off at line " + std::to_string(lines.Number());
}

}  // namespace

TrackedJob ReadTrackedJob(const std::string& name) {
  const JobNames names = NamesOf(name);
  TrackedJob job;
  job.name = name;
  const bool hasTotals = IsFile(names.Of(kTotals));
  const bool hasSummary = IsFile(names.Of(kSummary));
  if (!hasTotals && !hasSummary) {
    throw FileError(name,
                    "there is no " + names.Of(kTotals) + " and no " + names.Of(kSummary));
  }
  if (hasTotals) {
    Lines lines(names.Of(kTotals));
    if (!ReadTotals(lines, job.lines)) {
      job.cut = CutOff(names.Of(kTotals), lines);
    }
  }
  const std::string more = job.cut.empty() ? "" : job.cut + ", ";
  if (!hasSummary) {
    job.cut = more + "there is no " + names.Of(kSummary);
  } else {
    Lines lines(names.Of(kSummary));
    if (!ReadSummary(lines, job.files)) {
      job.cut = more + CutOff(names.Of(kSummary), lines);
    }
  }
  ReadIndividuals(names, job.files);
  return job;
}
