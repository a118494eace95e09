#include "utl/tracker/TrackerFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <locale>
#include <sstream>

#include "common/temp/TempDir.h"

const std::vector<std::string> kTrackerSumColumns = {
    "Work Write Count",    "Work Write MB",    "Work Write Time",
    "Work Read Count",     "Work Read MB",     "Work Read Time",
    "Scratch Write Count", "Scratch Write MB", "Scratch Write Time",
    "Scratch Read Count",  "Scratch Read MB",  "Scratch Read Time"};

const std::vector<std::string> kTrackerFileColumns = {
    "Write Count", "Write MB", "Write Time", "Read Count", "Read MB", "Read Time"};

namespace {

constexpr char kComma[] = ", ";

// The last `count` fields of a line, whatever stands before them. What stands
// before may have commas of its own.
std::vector<std::string> LastFields(const std::string& line, std::size_t count,
                                    std::string& before) {
  std::vector<std::string> fields;
  std::size_t end = line.size();
  while (fields.size() < count) {
    const std::size_t comma = end == 0 ? std::string::npos : line.rfind(kComma, end - 1);
    const std::size_t start = comma == std::string::npos ? 0 : comma + 2;
    fields.insert(fields.begin(), line.substr(start, end - start));
    end = comma == std::string::npos ? 0 : comma;
    if (comma == std::string::npos) {
      break;
    }
  }
  before = line.substr(0, end);
  EXPECT_EQ(fields.size(), count) << line;
  return fields;
}

// What a line end becomes in a text file of the target's C run time.
std::string TextFileEnd() {
  const TempDir dir;
  std::FILE* const file = std::fopen(dir.File("line").c_str(), "w");
  std::fputs("\n", file);
  std::fclose(file);
  return ReadWholeFile(dir.File("line"));
}

// In the "C" locale, whatever the process's is.
double Number(const std::string& text) {
  const std::size_t point = std::min(text.find('.'), text.size());
  const auto areDigits = [&](std::size_t from, std::size_t to) {
    return from < to && std::all_of(text.begin() + static_cast<std::ptrdiff_t>(from),
                                    text.begin() + static_cast<std::ptrdiff_t>(to),
                                    [](char c) { return c >= '0' && c <= '9'; });
  };
  const bool isWhole = areDigits(0, text.size());
  const bool isFixed = areDigits(0, point) && text.size() == point + 7 &&
                       areDigits(point + 1, text.size());
  EXPECT_TRUE(isWhole || isFixed || text == "inf") << text;
  if (text == "inf") {
    return HUGE_VAL;
  }
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  double number = -1;
  stream >> number;
  return number;
}

bool IsCount(const std::string& column) {
  return column.ends_with("Count");
}

TrackerLine ParseLine(const std::string& text, const std::vector<std::string>& columns) {
  TrackerLine line;
  std::string before;
  const std::vector<std::string> fields = LastFields(text, columns.size() + 1, before);
  if (fields.size() <= columns.size()) {
    return line;
  }
  line.hasLabel = text.size() > before.size() && text.starts_with(before + kComma);
  line.label = before;
  line.elapsed = Number(fields[0]);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const std::string& field = fields[i + 1];
    const bool isWhole = field.find('.') == std::string::npos && field != "inf";
    EXPECT_EQ(isWhole, IsCount(columns[i])) << text;
    line.columns[columns[i]] = Number(field);
  }
  return line;
}

std::vector<std::string> SplitHead(const std::string& head) {
  std::vector<std::string> fields;
  std::size_t start = 0;
  while (start <= head.size()) {
    const std::size_t comma = std::min(head.find(kComma, start), head.size());
    fields.push_back(head.substr(start, comma - start));
    start = comma + 2;
  }
  return fields;
}

SummaryLine ParseSummaryLine(const std::string& text) {
  SummaryLine line = {};
  const std::vector<std::string> fields = LastFields(text, 4, line.path);
  if (fields.size() == 4) {
    line.writeMB = Number(fields[0]);
    line.writeTime = Number(fields[1]);
    line.readMB = Number(fields[2]);
    line.readTime = Number(fields[3]);
  }
  return line;
}

}  // namespace

double TrackerLine::operator[](const std::string& column) const {
  const auto found = columns.find(column);
  return found == columns.end() ? -1 : found->second;
}

std::vector<double> TrackerLine::Of(const std::string& prefix) const {
  std::vector<double> values;
  values.reserve(kTrackerFileColumns.size());
  for (const std::string& quantity : kTrackerFileColumns) {
    values.push_back((*this)[prefix + quantity]);
  }
  return values;
}

std::vector<std::string> ReadTextLines(const std::string& path) {
  std::vector<std::string> lines;
  if (!FileExists(path)) {
    return lines;
  }
  const std::string text = ReadWholeFile(path);
  static const std::string lineEnd = TextFileEnd();
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = text.find(lineEnd, start);
    if (end == std::string::npos) {
      ADD_FAILURE() << path << " ends with \"" << text.substr(start) << "\"";
      break;
    }
    lines.push_back(text.substr(start, end - start));
    start = end + lineEnd.size();
  }
  return lines;
}

TrackerFile ReadTrackerFile(const std::string& path) {
  TrackerFile file;
  const std::vector<std::string> lines = ReadTextLines(path);
  if (lines.size() < 2) {
    ADD_FAILURE() << path << " has " << lines.size() << " lines";
    return file;
  }
  EXPECT_EQ(lines[0], "IO Tracking Totals");
  file.columns = SplitHead(lines[1]);
  file.hasLabels = file.columns[0] == "Code Mark";
  if (file.hasLabels) {
    file.columns.erase(file.columns.begin());
  }
  EXPECT_EQ(file.columns.empty() ? "" : file.columns[0], "Elapsed Time");
  file.columns.erase(file.columns.begin());
  for (std::size_t i = 2; i < lines.size(); ++i) {
    file.lines.push_back(ParseLine(lines[i], file.columns));
  }
  return file;
}

SummaryFile ReadSummary(const std::string& path) {
  SummaryFile summary;
  const std::vector<std::string> lines = ReadTextLines(path);
  if (lines.size() < 7) {
    ADD_FAILURE() << path << " has " << lines.size() << " lines";
    return summary;
  }
  EXPECT_EQ(lines[0], "IO Summary for All Files");
  EXPECT_EQ(lines[1], "");
  EXPECT_EQ(lines[2], "WORK DIRECTORY FILES");
  std::size_t at = 3;
  for (; at < lines.size() && !lines[at].empty(); ++at) {
    summary.work.push_back(ParseSummaryLine(lines[at]));
  }
  for (const char* expected : {"", "", "SCRATCH DIRECTORY FILES"}) {
    EXPECT_EQ(at < lines.size() ? lines[at] : "the end", expected);
    ++at;
  }
  for (; at < lines.size() && !lines[at].empty(); ++at) {
    summary.scratch.push_back(ParseSummaryLine(lines[at]));
  }
  EXPECT_EQ(at + 1, lines.size());
  return summary;
}
