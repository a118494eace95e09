#include "utl/UseLog.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::size_t kNumbers = 15;
constexpr std::size_t kLabelColumns = 40;
constexpr std::size_t kNameColumns = 20;

constexpr char kColumns[] =
    "!Phase,Wall,Mark,UserCPU,SysCPU,WSP,WS,CPU,QPPP,QPP,QNPPP,QNPP,PageFaults,"
    "PeakPageFileUsage,0,0,0,ProcessID";
constexpr char kTitle[] =
    "!Timer Summary                     # calls     CPU/call      CPU       Elapsed";

// One line, from which fields are taken off at either end.
class Line {
 public:
  explicit Line(std::string text) : text_(text), rest_(std::move(text)) {}

  [[noreturn]] void Fail(const std::string& wanted) const {
    throw std::runtime_error("expected " + wanted + ", at <" + rest_ + "> of line <" +
                             text_ + ">");
  }

  void TakeFront(const std::string& text) {
    if (!rest_.starts_with(text)) {
      Fail("<" + text + "> in front");
    }
    rest_.erase(0, text.size());
  }
  void TakeBack(const std::string& text) {
    if (!rest_.ends_with(text)) {
      Fail("<" + text + "> at the end");
    }
    rest_.erase(rest_.size() - text.size());
  }
  // The integer in front of the first blank, which goes, too.
  std::string TakeFirstNumber() {
    const std::size_t blank = rest_.find(' ');
    if (blank == std::string::npos) {
      Fail("a blank");
    }
    const std::string field = rest_.substr(0, blank);
    rest_.erase(0, blank + 1);
    return Checked(field, 0);
  }
  // The number after the last blank, which has so many digits after its point;
  // the blank stays.
  std::string TakeLastNumber(std::size_t digits) {
    const std::size_t blank = rest_.rfind(' ');
    if (blank == std::string::npos) {
      Fail("a blank");
    }
    const std::string field = rest_.substr(blank + 1);
    rest_.erase(blank + 1);
    return Checked(field, digits);
  }
  const std::string& Rest() const { return rest_; }

 private:
  std::string Checked(const std::string& field, std::size_t digits) const {
    const std::string body = field.starts_with('-') ? field.substr(1) : field;
    const std::size_t point = digits == 0 ? body.size() : body.size() - digits - 1;
    for (std::size_t i = 0; i < body.size(); ++i) {
      const bool isDigit = std::isdigit(static_cast<unsigned char>(body[i])) != 0;
      if (i == point ? body[i] != '.' : !isDigit) {
        Fail("a number, not " + field);
      }
    }
    if (body.empty() || point == 0 || point > body.size()) {
      Fail("a number, not " + field);
    }
    return field;
  }

  std::string text_;
  std::string rest_;
};

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> pieces(1);
  for (char c : text) {
    if (c == separator) {
      pieces.emplace_back();
    } else {
      pieces.back() += c;
    }
  }
  return pieces;
}

std::string Value(const std::string& line, const std::string& key) {
  Line rest(line);
  rest.TakeFront("!" + key + " = ");
  return rest.Rest();
}

// From the right, since the job's name and the label may hold blanks.
UseMark ReadMark(const std::string& text, const std::string& phase, bool wholeLabels) {
  Line line(text);
  UseMark mark;
  line.TakeBack(" ");
  for (std::size_t i = kNumbers; i > 0; --i) {
    const bool isTime = i == 1 || i == 2 || i == 5;
    const bool isReserved = i == 12 || i == 13 || i == 14;
    const std::string number = line.TakeLastNumber(isTime ? 1 : 0);
    if (isReserved && number != "0") {
      line.Fail("0, not " + number);
    }
    mark.fields.insert(mark.fields.begin(), number);
    line.TakeBack(" ");
  }
  line.TakeFront(phase + " ");
  const std::string wall = line.TakeFirstNumber();
  const std::string label = line.Rest();
  if (!wholeLabels && label.size() != kLabelColumns) {
    line.Fail("40 columns");
  }
  mark.fields.insert(mark.fields.begin(), {phase, wall, label});
  return mark;
}

UseTimer ReadTimer(const std::string& text) {
  const std::string sixBlanks(6, ' ');
  Line line(text);
  UseTimer timer;
  line.TakeFront("!Timer ");
  timer.id = std::stoi(line.TakeFirstNumber());
  line.TakeFront(":   ");
  line.TakeBack(" ");
  timer.elapsed = std::stod(line.TakeLastNumber(1));
  line.TakeBack(sixBlanks);
  timer.processor = std::stod(line.TakeLastNumber(4));
  line.TakeBack(sixBlanks);
  timer.processorPerCall = std::stod(line.TakeLastNumber(4));
  line.TakeBack(sixBlanks);
  timer.calls = std::stoi(line.TakeLastNumber(0));
  line.TakeBack("   ");
  if (line.Rest().size() < kNameColumns) {
    line.Fail("20 columns");
  }
  timer.name = line.Rest().substr(
      std::min(line.Rest().find_first_not_of(' '), line.Rest().size()));
  return timer;
}

// From the columns' header on, which is line `next`.
void ReadEnd(const std::vector<std::string>& lines, std::size_t next, UseLog& log) {
  log.finished = true;
  if (lines[next] != kColumns) {
    Line(lines[next]).Fail("the columns' header");
  }
  log.columns = Split(lines[next].substr(1), ',');
  if (++next == lines.size()) {
    throw std::runtime_error("no summary");
  }
  if (lines[next] != kTitle) {
    Line(lines[next]).Fail("the summary's title");
  }
  for (++next; next < lines.size(); ++next) {
    const UseTimer timer = ReadTimer(lines[next]);
    if (timer.id <= (log.timers.empty() ? -1 : log.timers.back().id) || timer.id > 20) {
      Line(lines[next]).Fail("the next timer");
    }
    log.timers.push_back(timer);
  }
}

}  // namespace

double UseLog::Number(const UseMark& mark, const std::string& column) const {
  const auto found = std::find(columns.begin(), columns.end(), column);
  if (found == columns.end()) {
    throw std::runtime_error("no column " + column);
  }
  return std::stod(mark.fields.at(static_cast<std::size_t>(found - columns.begin())));
}

UseLog ReadUseLog(const std::string& text, const std::string& job, bool wholeLabels) {
  std::vector<std::string> lines = Split(text, '\n');
  if (!lines.back().empty()) {
    Line(lines.back()).Fail("the end of the line");
  }
  lines.pop_back();
  if (lines.size() < 3) {
    throw std::runtime_error("no head");
  }

  UseLog log;
  log.snapshot = Value(lines[0], "Snapshot");
  log.version = Value(lines[1], "Version");
  log.host = Value(lines[2], "Host");
  std::size_t next = 3;
  for (; next < lines.size() && !lines[next].starts_with("!Phase,"); ++next) {
    const std::string phase = job + "." + std::to_string(next - 2);
    log.marks.push_back(ReadMark(lines[next], phase, wholeLabels));
  }
  if (log.marks.empty()) {
    throw std::runtime_error("no marks");
  }
  if (next < lines.size()) {
    ReadEnd(lines, next, log);
  }
  return log;
}
