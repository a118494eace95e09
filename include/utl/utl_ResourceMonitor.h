#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "omi/omi_Singleton.h"

/// Writes a log of what the process uses: at each named mark one line with wall time,
/// processor time and the process's memory counters, at the end the totals of up to 21
/// named timers. docs/resource-log.md describes the file.
///
/// It is off unless the environment variable KES_RESOURCE_MONITOR is set when
/// `Initialize` is called. Off, every operation is the test of a flag, so that the calls
/// can stay in production code. The variable's value, case counting, chooses what is
/// written:
///
///     FULL         labels are written whole and not in 40 columns
///     METHOD       MarkMethod writes, too
///     FULLMETHOD   both
///     MALLINFO     IsMallinfo answers true; the log is the same
///
/// Any other value, the empty one too, turns the monitor on without these.
///
///     auto& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
///     monitor.Initialize("beam");            // begins beam.use
///     monitor.StartTimer(0, "assembly");
///     ...
///     monitor.StopTimer(0);
///     monitor.Mark("stiffness assembled");
///     omi_SingletonBase<utl_ResourceMonitor>::Finalize();   // summary; closes the log
///
/// One object a process. utl_finalize leaves it alone, so that the library's end can
/// still be marked: the executable ends it with `Finalize` as its last step.
///
/// Nothing is reported. When the log cannot be opened the monitor stays off; what cannot
/// be written is lost; a number that the system does not give is written as 0.
///
/// Threads: none. It is meant for the main thread; it takes no lock.
class KSTUTL_EXPORT utl_ResourceMonitor {
 public:
  /// Writes the end mark and the summary if the monitor is on, and closes the log.
  ~utl_ResourceMonitor();
  utl_ResourceMonitor(const utl_ResourceMonitor&) = delete;
  utl_ResourceMonitor& operator=(const utl_ResourceMonitor&) = delete;

  /// Reads KES_RESOURCE_MONITOR; when it is set, creates or empties the log, the file
  /// `jobName` with ".use" behind it (resolved by utl_FilePath against the current
  /// directory), and writes its head and the mark `jobName`-Start. The environment's
  /// KESTRA_SEQ, KESTRA_VERSION, COMPUTERNAME and PROCESSOR_IDENTIFIER go into the head,
  /// "?" for one that is unset. Null counts as "".
  ///
  /// It then starts and stops timer 20 a thousand times under the name "Self": the
  /// summary shows there what timing itself costs. So timer 20 is taken.
  ///
  /// Called again, it first ends the log that is open, as the destructor does.
  void Initialize(const char* jobName);
  void Initialize(const cow_String& jobName) { Initialize(jobName.c_str()); }

  /// Whether marks and timers do something; false before `Initialize`.
  bool IsEnabled() const { return enabled_; }

  /// Writes one line with `label` and has it reach the file, so that the log is complete
  /// up to here even if the process dies. A label counts up to its first zero byte;
  /// unless labels are written whole, one of more than 40 bytes is shortened to its
  /// first 19, "_" and its last 20. It should hold no line feed: the line would end
  /// there.
  void Mark(const cow_String& label) {
    if (enabled_) WriteMark(label);
  }
  /// The same; makes no string when the monitor is off.
  void Mark(const char* label) {
    if (enabled_) WriteMark(label);
  }

  /// Marks, if the environment asked for such marks.
  void MarkMethod(const cow_String& label) {
    if (method_) Mark(label);
  }
  void MarkMethod(const char* label) {
    if (method_) Mark(label);
  }

  /// Starts timer `id`, 0 to 20; another number is ignored. The first start names it and
  /// zeroes it; later ones keep the name. Started again before it is stopped, it
  /// measures from the last start.
  void StartTimer(int id, const cow_String& name) {
    if (enabled_) BeginInterval(id, name);
  }
  /// The same; makes no string when the monitor is off.
  void StartTimer(int id, const char* name) {
    if (enabled_) BeginInterval(id, name);
  }

  /// Adds the processor and wall time since the start to timer `id`, and one call. A
  /// number outside 0 to 20 is ignored. A timer that was never started does not get into
  /// the summary.
  ///
  /// Wall times are differences of times of day: an interval that passes midnight counts
  /// 86,400 seconds too little.
  void StopTimer(int id) {
    if (enabled_) EndInterval(id);
  }

  /// Whether the environment said MALLINFO: for callers that write memory statistics of
  /// their own. Nothing in the log depends on it.
  bool IsMallinfo() const { return mallinfo_; }

  /// The base name of the process's executable while the monitor is on, else "".
  const wchar_t* ModuleName() const { return moduleName_; }

 private:
  friend class omi_Singleton<utl_ResourceMonitor>;
  utl_ResourceMonitor();

  struct a_timer_record {
    bool inUse = false;
    cow_String name;
    double startUser = 0;  // times in seconds, wall times of the day
    double startSystem = 0;
    double startWall = 0;
    double user = 0;
    double system = 0;
    double elapsed = 0;
    std::int32_t calls = 0;
  };

  struct CloseStream {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
  };

  static constexpr int kTimers = 21;
  static constexpr int kModuleNameSize = 520;

  bool IsOwn() const;
  void WriteMark(const cow_String& label);
  void BeginInterval(int id, const cow_String& name);
  void EndInterval(int id);

  void ReadMode(std::string_view mode);
  void OpenLog();
  void WriteHead();
  void OpenProcessHandle();
  void CalibrateTimer();
  void WriteEnd();
  void WriteTimer(int id);
  void Write(std::string_view text);
  void Release();

  a_timer_record timers_[kTimers];
  cow_String reserved_;          // always empty
  std::int32_t startOfDay_ = 0;  // the time of day at Initialize, seconds
  bool initialized_ = false;
  bool enabled_ = false;  // only if initialized; the log is open
  bool full_ = false;
  bool method_ = false;
  bool mallinfo_ = false;
  std::int32_t nextMark_ = 0;
  cow_String jobName_;
  std::unique_ptr<std::FILE, CloseStream> log_;
  void* process_ = nullptr;  // a handle of the own process
  std::uint32_t processId_ = 0;
  wchar_t moduleName_[kModuleNameSize] = {};
};

extern template class KSTUTL_EXPORT omi_Singleton<utl_ResourceMonitor>;
