#include "usage/UsageLog.h"

#include <algorithm>
#include <array>
#include <map>

#include "common/FileError.h"
#include "common/Lines.h"

namespace {

constexpr std::size_t kLabelWidth = 40;    // unless labels are written whole
constexpr std::size_t kNameWidth = 20;     // of a timer, at least
constexpr std::size_t kLongest = 1 << 16;  // text of a mark, however many lines
constexpr std::int64_t kDay = 86400;
// The clock may have been set back, for winter or a little. What falls farther passed
// midnight.
constexpr std::int64_t kSetBack = 7200;
constexpr int kLastTimer = 20;  // the monitor's own, which every ended log has
constexpr char kColumns[] =
    "!Phase,Wall,Mark,UserCPU,SysCPU,WSP,WS,CPU,QPPP,QPP,QNPPP,QNPP,PageFaults,"
    "PeakPageFileUsage,0,0,0,ProcessID";
constexpr char kTitle[] =
    "!Timer Summary                     # calls     CPU/call      CPU       Elapsed";

// Text of at least `width` columns without the blanks that fill it.
std::string Unfilled(std::string_view text, std::size_t width) {
  if (text.size() == width) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  }
  return std::string(text);
}

std::string Shortened(const std::string& label) {
  return label.size() <= kLabelWidth
             ? label
             : label.substr(0, 19) + "_" + label.substr(label.size() - 20);
}

bool IsLabel(const std::string& label, const std::string& whole) {
  return label == whole || label == Shortened(whole);
}

// A counter of which the low 32 bits were written.
std::int64_t Unsigned(std::int64_t value) {
  return value < 0 ? value + (std::int64_t{1} << 32) : value;
}

// Takes the numbers off a mark's line; `text` is then all that stands before them.
bool TakeNumbers(std::string_view& text, UsageMark& mark) {
  if (!text.ends_with(' ')) {
    return false;
  }
  text.remove_suffix(1);
  std::array<std::int64_t, 10> counts{};  // fields 18 to 9
  for (std::int64_t& count : counts) {
    const std::optional<std::int32_t> value = TakeLast<std::int32_t>(text, " ");
    if (!value) {
      return false;
    }
    count = Unsigned(*value);
  }
  const auto processor = TakeLast<double>(text, " ");
  const auto bytes = TakeLast<std::int32_t>(text, " ");
  const auto peakBytes = TakeLast<std::int32_t>(text, " ");
  const auto system = TakeLast<double>(text, " ");
  const auto user = TakeLast<double>(text, " ");
  if (!processor || !bytes || !peakBytes || !system || !user) {
    return false;
  }
  mark.process = counts[0];
  mark.pageFileBytes = counts[4];
  mark.faults = counts[5];
  mark.processor = *processor;
  mark.bytes = Unsigned(*bytes);
  mark.peakBytes = Unsigned(*peakBytes);
  mark.system = *system;
  mark.user = *user;
  return true;
}

// Reads what stands between phase and numbers, "WALL LABEL".
bool TakeWallAndLabel(std::string_view text, UsageMark& mark) {
  std::int32_t wall = 0;
  const char* const end = text.data() + text.size();
  const auto [next, error] = std::from_chars(text.data(), end, wall);
  if (error != std::errc() || next == end || *next != ' ') {
    return false;
  }
  mark.wall = wall;
  mark.label = Unfilled(text.substr(static_cast<std::size_t>(next - text.data()) + 1),
                        kLabelWidth);
  return true;
}

bool ReadMark(std::string_view line, const std::string& phase, UsageMark& mark) {
  if (!line.starts_with(phase)) {
    return false;
  }
  line.remove_prefix(phase.size());
  return TakeNumbers(line, mark) && TakeWallAndLabel(line, mark);
}

// The phase at the beginning of a mark's line.
std::string PhaseOf(const UsageLog& log, std::size_t number) {
  return log.job + '.' + std::to_string(number) + ' ';
}

// The job's name, which may hold what follows it, is the one that the first label has.
bool ReadFirstMark(std::string_view line, UsageLog& log) {
  constexpr std::string_view kFirst = ".1 ";
  UsageMark mark;
  std::string_view text = line;
  if (!TakeNumbers(text, mark)) {
    return false;
  }
  for (std::size_t at = text.find(kFirst); at != std::string_view::npos;
       at = text.find(kFirst, at + 1)) {
    log.job = std::string(line.substr(0, at));
    if (TakeWallAndLabel(text.substr(at + kFirst.size()), mark) &&
        IsLabel(mark.label, log.job + "-Start")) {
      log.marks = {mark};
      return true;
    }
  }
  return false;
}

class Reader {
 public:
  explicit Reader(const std::string& file) : lines_(file) { log_.file = file; }

  UsageLog Read() {
    ReadHead(log_.snapshot, "!Snapshot = ");
    ReadHead(log_.version, "!Version = ");
    ReadHead(log_.host, "!Host = ");
    NeedLine("ends before its first mark");
    if (!ReadFirstMark(line_, log_)) {
      lines_.Fail("is no first mark");
    }
    const bool isWhole = ReadMarks() && ReadTimers();
    log_.cutLine = isWhole ? 0 : lines_.Number();
    return std::move(log_);
  }

 private:
  void NeedLine(const std::string& otherwise) {
    if (!lines_.Next(line_)) {
      lines_.Fail(otherwise);
    }
  }

  void ReadHead(std::string& value, std::string_view name) {
    NeedLine("is no resource log, or only its beginning");
    if (!line_.starts_with(name)) {
      lines_.Fail("is not of a resource log");
    }
    value = line_.substr(name.size());
  }

  // Whether the log goes on after the marks. A label may hold line ends; what is no mark
  // then becomes one with the lines that follow.
  bool ReadMarks() {
    std::string text;
    while (lines_.Next(line_)) {
      if (line_ == kColumns && text.empty()) {
        return true;
      }
      const std::size_t number = log_.marks.size() + 1;
      const bool isNext =
          line_ == kColumns || line_.starts_with(PhaseOf(log_, number + 1));
      text += text.empty() ? line_ : "\n" + line_;
      UsageMark mark;
      if (!isNext && ReadMark(text, PhaseOf(log_, number), mark)) {
        AddMark(mark);
        text.clear();
      } else if (isNext || !text.starts_with(PhaseOf(log_, number)) ||
                 text.size() > kLongest) {
        lines_.Fail("mark " + std::to_string(number) + " is damaged");
      }
    }
    return false;
  }

  void AddMark(UsageMark& mark) {
    mark.wall += days_;
    if (mark.wall < log_.marks.back().wall - kSetBack) {
      mark.wall += kDay;
      days_ += kDay;
    }
    log_.marks.push_back(mark);
  }

  // Whether they are all there.
  bool ReadTimers() {
    if (!lines_.Next(line_)) {
      return false;
    }
    if (line_ != kTitle) {
      lines_.Fail("is not the title of the timers");
    }
    int last = -1;
    while (lines_.Next(line_)) {
      UsageTimer timer;
      if (!ReadTimer(timer) || timer.number <= last || timer.number > kLastTimer) {
        lines_.Fail("is no timer");
      }
      last = timer.number;
      log_.timers.push_back(timer);
    }
    return last == kLastTimer && !lines_.IsCut();
  }

  bool ReadTimer(UsageTimer& timer) const {
    constexpr std::string_view kHead = "!Timer ";
    constexpr std::string_view kBetween = "      ";
    constexpr std::string_view kAround = "   ";
    std::string_view text = line_;
    if (!text.starts_with(kHead) || !text.ends_with(' ')) {
      return false;
    }
    text.remove_suffix(1);
    const auto elapsed = TakeLast<double>(text, kBetween);
    const auto processor = TakeLast<double>(text, kBetween);
    const auto perCall = TakeLast<double>(text, kBetween);
    const auto calls = TakeLast<std::int32_t>(text, kAround);
    const std::size_t name = text.find(" :   ");
    if (!elapsed || !processor || !perCall || !calls || name == std::string_view::npos) {
      return false;
    }
    std::string_view number = text.substr(kHead.size() - 1, name - kHead.size() + 1);
    const auto read = TakeLast<std::int32_t>(number, " ");
    timer = {read.value_or(-1), Unfilled(text.substr(name + 5), kNameWidth), *calls,
             *processor, *elapsed};
    return number.empty();
  }

  Lines lines_;
  std::string line_;
  UsageLog log_;
  std::int64_t days_ = 0;  // that have passed, in seconds
};

}  // namespace

UsageLog ReadUsageLog(const std::string& file) {
  return Reader(file).Read();
}

std::string NameOf(const UsageLog& log, const UsageMark& mark) {
  if (&mark == log.marks.data()) {
    return "(start)";
  }
  return IsLabel(mark.label, log.job + "-End") ? "(end)" : mark.label;
}

std::vector<UsagePhase> PhasesOf(const UsageLog& log) {
  std::vector<UsagePhase> phases;
  std::map<std::string, std::size_t> places;
  for (std::size_t i = 1; i < log.marks.size(); ++i) {
    const UsageMark& before = log.marks[i - 1];
    const UsageMark& mark = log.marks[i];
    const std::string name = NameOf(log, mark);
    const auto [place, isNew] = places.try_emplace(name, phases.size());
    if (isNew) {
      phases.push_back({name, 0, 0, 0, 0, 0});
    }
    UsagePhase& phase = phases[place->second];
    ++phase.count;
    phase.wall += mark.wall - before.wall;
    phase.processor += mark.processor - before.processor;
    phase.bytes = std::max(phase.bytes, mark.bytes);
    phase.faults += mark.faults - before.faults;
  }
  return phases;
}

std::vector<UsageTimer> TimersByCost(const UsageLog& log) {
  std::vector<UsageTimer> timers = log.timers;
  std::stable_sort(timers.begin(), timers.end(),
                   [](const UsageTimer& left, const UsageTimer& right) {
                     return left.processor > right.processor;
                   });
  return timers;
}
