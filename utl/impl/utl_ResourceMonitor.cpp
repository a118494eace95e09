#include "utl/utl_ResourceMonitor.h"

#include <windows.h>

#include <io.h>
#include <psapi.h>
#include <share.h>

#include <string>

#include "platform/platform.h"
#include "thr/thr_currentProcess.h"
#include "utl/impl/text/utl_LineText.h"
#include "utl/impl/utl_ResourceSample.h"
#include "utl/utl_FilePath.h"

template class omi_Singleton<utl_ResourceMonitor>;

namespace {

// The values of the environment variable that have a meaning.
constexpr struct {
  std::string_view word;
  bool full, method, mallinfo;
} kModes[] = {{"FULL", true, false, false},
              {"METHOD", false, true, false},
              {"FULLMETHOD", true, true, false},
              {"MALLINFO", false, false, true}};

constexpr DWORD kProcessAccess = PROCESS_QUERY_INFORMATION | PROCESS_VM_READ;

// A longer label is shortened to its first bytes, a "_" and its last ones.
constexpr std::size_t kLabelWidth = 40;
constexpr std::size_t kLabelHead = 19;
constexpr std::size_t kLabelTail = 20;

constexpr int kSelfTimer = 20;
constexpr int kSelfCalls = 1000;
constexpr std::size_t kTimerNameWidth = 20;

// The commas are part of the format, although blanks separate the fields of a mark.
constexpr const char kColumns[] =
    "!Phase,Wall,Mark,UserCPU,SysCPU,WSP,WS,"
    "CPU,QPPP,QPP,QNPPP,QNPP,PageFaults,"
    "PeakPageFileUsage,0,0,0,ProcessID\n";
constexpr const char kSummaryTitle[] =
    "!Timer Summary                     # calls     CPU/call      CPU       Elapsed\n";

// The next number; the largest is followed by the smallest.
std::int32_t Next(std::int32_t number) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(number) + 1);
}

std::string Shortened(std::string_view label) {
  if (label.size() <= kLabelWidth) {
    return std::string(label);
  }
  std::string text(label.substr(0, kLabelHead));
  text += '_';
  return text += label.substr(label.size() - kLabelTail);
}

void AddNumbers(utl_LineText& line, const utl_ResourceSample& sample) {
  line.Text(" ").Fixed(sample.user, 1).Text(" ").Fixed(sample.system, 1);
  line.Text(" ").Number(sample.peakWorkingSet).Text(" ").Number(sample.workingSet);
  line.Text(" ").Fixed(sample.processor, 1);
  for (std::int32_t number :
       {sample.peakPagedPool, sample.pagedPool, sample.peakNonPagedPool,
        sample.nonPagedPool, sample.pageFaults, sample.peakPageFile, sample.reserved[0],
        sample.reserved[1], sample.reserved[2], sample.processId}) {
    line.Text(" ").Number(number);
  }
  line.Text(" \n");
}

const char* EnvironmentOrMark(const char* name) {
  const char* value = platform::Environment(name);
  return value != nullptr ? value : "?";
}

}  // namespace

utl_ResourceMonitor::utl_ResourceMonitor() = default;

utl_ResourceMonitor::~utl_ResourceMonitor() {
  try {
    WriteEnd();
  } catch (...) {
    // No memory for a line: the log lacks its end, and nobody can be told any more.
  }
  Release();
}

void utl_ResourceMonitor::Initialize(const char* jobName) {
  WriteEnd();
  Release();
  jobName_ = jobName;
  initialized_ = true;
  nextMark_ = 1;
  processId_ = thr_currentProcess();
  const char* mode = platform::Environment("KES_RESOURCE_MONITOR");
  if (mode == nullptr) {
    return;
  }
  ReadMode(mode);
  startOfDay_ = utl_wholeSecondsOfDay();
  OpenLog();
  if (!enabled_) {
    return;
  }
  WriteHead();
  OpenProcessHandle();
  Mark(jobName_ + "-Start");
  CalibrateTimer();
}

void utl_ResourceMonitor::ReadMode(std::string_view mode) {
  for (const auto& one : kModes) {
    if (mode == one.word) {
      full_ = one.full;
      method_ = one.method;
      mallinfo_ = one.mallinfo;
    }
  }
}

void utl_ResourceMonitor::OpenLog() {
  const cow_String path = utl_FilePath(jobName_ + ".use", "").AbsolutePathName();
  log_.reset(_fsopen(path.c_str(), "w", _SH_DENYNO));
  enabled_ = log_ != nullptr;
}

void utl_ResourceMonitor::WriteHead() {
  utl_LineText head;
  head.Text("!Snapshot = ").Text(EnvironmentOrMark("KESTRA_SEQ"));
  head.Text("\n!Version = ").Text(EnvironmentOrMark("KESTRA_VERSION"));
  head.Text("\n!Host = ").Text(EnvironmentOrMark("COMPUTERNAME"));
  head.Text(" ").Text(EnvironmentOrMark("PROCESSOR_IDENTIFIER")).Text("\n");
  Write(head);
}

void utl_ResourceMonitor::OpenProcessHandle() {
  process_ = OpenProcess(kProcessAccess, FALSE, processId_);
  if (process_ == nullptr) {
    return;
  }
  HMODULE program = nullptr;
  DWORD needed = 0;
  if (EnumProcessModules(process_, &program, sizeof(HMODULE), &needed)) {
    GetModuleBaseNameW(process_, program, moduleName_, kModuleNameSize);
    moduleName_[kModuleNameSize - 1] = L'\0';  // a name that fills it is not terminated
  }
}

void utl_ResourceMonitor::CalibrateTimer() {
  const cow_String name = "Self";
  for (int call = 0; call < kSelfCalls; ++call) {
    StartTimer(kSelfTimer, name);
    StopTimer(kSelfTimer);
  }
}

// Whether this process opened the log: a child of fork has its parent's.
bool utl_ResourceMonitor::IsOwn() const {
  return processId_ == thr_currentProcess();
}

void utl_ResourceMonitor::WriteMark(const cow_String& label) {
  if (!IsOwn()) {
    return;
  }
  const utl_ResourceSample sample = utl_takeSample(process_, startOfDay_, processId_);
  const std::string_view text = label.c_str();
  utl_LineText line;
  line.Text(jobName_).Text(".").Number(nextMark_);
  nextMark_ = Next(nextMark_);
  line.Text(" ").Number(sample.wall).Text(" ");
  if (full_) {
    line.Text(text);
  } else {
    line.Right(Shortened(text), kLabelWidth);
  }
  AddNumbers(line, sample);
  Write(line);
  std::fflush(log_.get());
}

void utl_ResourceMonitor::BeginInterval(int id, const cow_String& name) {
  if (static_cast<unsigned>(id) >= kTimers) {
    return;
  }
  a_timer_record& timer = timers_[id];
  if (!timer.inUse) {
    timer = {};
    timer.inUse = true;
    timer.name = name;
  }
  const utl_ProcessorTimes times = utl_processorTimes();
  timer.startUser = times.user;
  timer.startSystem = times.system;
  timer.startWall = utl_secondsOfDay();
}

void utl_ResourceMonitor::EndInterval(int id) {
  if (static_cast<unsigned>(id) >= kTimers) {
    return;
  }
  a_timer_record& timer = timers_[id];
  timer.calls = Next(timer.calls);
  const utl_ProcessorTimes times = utl_processorTimes();
  timer.user += times.user - timer.startUser;
  timer.system += times.system - timer.startSystem;
  timer.elapsed += utl_secondsOfDay() - timer.startWall;
}

void utl_ResourceMonitor::WriteEnd() {
  if (!enabled_ || !IsOwn()) {
    return;
  }
  WriteMark(jobName_ + "-End");
  Write(kColumns);
  Write(kSummaryTitle);
  for (int id = 0; id < kTimers; ++id) {
    if (timers_[id].inUse && timers_[id].calls > 0) {
      WriteTimer(id);
    }
  }
}

void utl_ResourceMonitor::WriteTimer(int id) {
  const a_timer_record& timer = timers_[id];
  const double processor = timer.user + timer.system;
  utl_LineText line;
  line.Text("!Timer ").Number(id).Text(" :");
  line.Text("   ").Right(timer.name.c_str(), kTimerNameWidth);
  line.Text("   ").Number(timer.calls).Text(" ");
  line.Text("     ").Fixed(processor / timer.calls, 4).Text(" ");
  line.Text("     ").Fixed(processor, 4).Text(" ");
  line.Text("     ").Fixed(timer.elapsed, 1).Text(" \n");
  Write(line);
}

void utl_ResourceMonitor::Write(std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), log_.get());
}

void utl_ResourceMonitor::Release() {
  log_.reset();
  if (process_ != nullptr) {
    CloseHandle(process_);
  }
  process_ = nullptr;
  enabled_ = full_ = method_ = mallinfo_ = false;
  jobName_ = {};
  reserved_ = {};
  for (a_timer_record& timer : timers_) {
    timer = {};
  }
  moduleName_[0] = L'\0';
}
