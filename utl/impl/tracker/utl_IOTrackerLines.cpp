#include "utl/impl/tracker/utl_IOTrackerLines.h"

#include <initializer_list>

const std::string_view kTrackerSumColumns =
    ", Work Write Count, Work Write MB, Work Write Time"
    ", Work Read Count, Work Read MB, Work Read Time"
    ", Scratch Write Count, Scratch Write MB, Scratch Write Time"
    ", Scratch Read Count, Scratch Read MB, Scratch Read Time";
const std::string_view kTrackerFileColumns =
    ", Write Count, Write MB, Write Time, Read Count, Read MB, Read Time";

namespace {

constexpr int kDigits = 6;

void AddNumbers(utl_LineText& line, std::initializer_list<double> numbers) {
  for (const double number : numbers) {
    line.Text(", ").Fixed(number, kDigits);
  }
}

}  // namespace

std::string utl_trackerHead(bool marks, std::string_view columns) {
  std::string head = "IO Tracking Totals\n";
  head += marks ? "Code Mark, Elapsed Time" : "Elapsed Time";
  return (head += columns) += '\n';
}

std::string utl_trackerLineStart(const char* label, double now) {
  utl_LineText start;
  if (label != nullptr) {
    start.Text(label).Text(", ");
  }
  return std::string(start.Fixed(now, kDigits));
}

void utl_addTrackerColumns(utl_LineText& line, const utl_IOTrackerRecord& record) {
  line.Text(", ").Number(record.writeCount);
  AddNumbers(line, {record.writeMB, record.writeTime});
  line.Text(", ").Number(record.readCount);
  AddNumbers(line, {record.readMB, record.readTime});
}

std::string utl_trackerSummaryLine(const char* path, const utl_IOTrackerRecord& totals) {
  utl_LineText line;
  line.Text(path);
  AddNumbers(line, {totals.writeMB, totals.writeTime, totals.readMB, totals.readTime});
  return std::string(line.Text("\n"));
}
