#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>

#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "omi/omi_Singleton.h"

/// Writes a log of what the process uses: at every named mark a line with wall time,
/// processor time and the process's memory counters, and at the end the sums of up to 21
/// named timers. docs/resource-log.md describes the file.
///
/// The monitor is off unless the environment variable KES_RESOURCE_MONITOR is set when
/// `Initialize` is called. While it is off, every operation costs the test of a flag, so
/// the calls can stay in production code. The variable's value, in exactly these letters,
/// chooses what is written:
///
///     FULL         labels are written whole, and not in 40 columns
///     METHOD       `MarkMethod` writes, too
///     FULLMETHOD   both
///     MALLINFO     `IsMallinfo` is true; the log is the same
///
/// Any other value, even the empty one, turns the monitor on without these.
///
///     auto& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
///     monitor.Initialize("beam");            // begins beam.use
///     monitor.StartTimer(0, "assembly");
///     ...
///     monitor.StopTimer(0);
///     monitor.Mark("stiffness assembled");
///     omi_SingletonBase<utl_ResourceMonitor>::Finalize();   // ends and closes the log
///
/// There is one object in a process. utl_finalize leaves it alone, so that the library's
/// end can still be marked: the executable ends it by `Finalize` as its last step.
///
/// Failures: nothing but std::bad_alloc is thrown. When the log cannot be opened the
/// monitor stays off. What cannot be written is lost, and a number that the system does
/// not report is 0.
///
/// Threads: for the main thread only; nothing is locked.
///
/// On Linux the log belongs to the process that called `Initialize`. A child of `fork`
/// that does not start another program writes nothing into it, not even by `Finalize`; by
/// `Initialize` it begins a log of its own, which replaces the parent's if the job has
/// the same name.
class KSTUTL_EXPORT utl_ResourceMonitor {
 public:
  /// Ends the log: if the monitor is on it writes the mark JOB-End and the timers'
  /// summary and closes the file.
  ~utl_ResourceMonitor();
  utl_ResourceMonitor(const utl_ResourceMonitor&) = delete;
  utl_ResourceMonitor& operator=(const utl_ResourceMonitor&) = delete;

  /// Begins a log if KES_RESOURCE_MONITOR is set: creates or empties the file JOB.use,
  /// JOB being `jobName`, and writes the head and the mark JOB-Start. The name is
  /// resolved by utl_FilePath against the current directory; null counts as "". The head
  /// shows the environment variables KESTRA_SEQ, KESTRA_VERSION, COMPUTERNAME and
  /// PROCESSOR_IDENTIFIER, "?" for each that is not set.
  ///
  /// It then starts and stops timer 20 a thousand times under the name "Self", so that
  /// the summary shows what timing itself costs. That timer is reserved.
  ///
  /// If a log is open already it is ended first, as by the destructor, and the
  /// environment is read anew.
  void Initialize(const char* jobName);
  void Initialize(const cow_String& jobName) { Initialize(jobName.c_str()); }

  /// Whether marks and timers have an effect; false before `Initialize`.
  bool IsEnabled() const { return enabled_; }

  /// Writes one line with `label` and flushes it to the file, so that the log is complete
  /// up to here even if the process dies. Lines are numbered from 1 on; JOB-Start has the
  /// first number. The label ends at its first zero byte; null is the empty label. Unless
  /// labels are written whole, it is shown in 40 columns, right-aligned: of more than 40
  /// bytes the first 19, "_" and the last 20. A line feed in it would end the line.
  void Mark(const cow_String& label) {
    if (enabled_) {
      WriteMark(label);
    }
  }
  /// The same, without making a string while the monitor is off.
  void Mark(const char* label) {
    if (enabled_) {
      WriteMark(label);
    }
  }

  /// Marks, if METHOD or FULLMETHOD asked for these marks.
  void MarkMethod(const cow_String& label) {
    if (method_) {
      Mark(label);
    }
  }
  void MarkMethod(const char* label) {
    if (method_) {
      Mark(label);
    }
  }

  /// Starts timer `id`, from 0 to 20; any other number is ignored. The first start gives
  /// the timer its name and sets it to zero; later ones keep the name. A timer that is
  /// started again before it is stopped measures from the last start.
  void StartTimer(int id, const cow_String& name) {
    if (enabled_) {
      BeginInterval(id, name);
    }
  }
  /// The same, without making a string while the monitor is off.
  void StartTimer(int id, const char* name) {
    if (enabled_) {
      BeginInterval(id, name);
    }
  }

  /// Adds to timer `id`, from 0 to 20, one call and the processor time and wall time
  /// since its start; any other number is ignored. A timer that was never started is not
  /// shown in the summary. Stopped again without a start, it adds the time since the last
  /// start once more.
  ///
  /// Wall times are differences between times of day, so an interval that passes midnight
  /// counts 86,400 seconds too little and may be negative.
  void StopTimer(int id) {
    if (enabled_) {
      EndInterval(id);
    }
  }

  /// Whether KES_RESOURCE_MONITOR was MALLINFO at `Initialize`, for callers that write
  /// memory statistics of their own. Nothing in the log depends on it.
  bool IsMallinfo() const { return mallinfo_; }

  /// The base name of the process's executable while the monitor is on, of at most 519
  /// characters; "" otherwise, or if the system does not report it. The text belongs to
  /// the monitor.
  const wchar_t* ModuleName() const { return moduleName_; }

  // The rest is implementation.

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
  void* process_ = nullptr;  // a handle of this process
  std::uint32_t processId_ = 0;
  wchar_t moduleName_[kModuleNameSize] = {};
};

extern template class KSTUTL_EXPORT omi_Singleton<utl_ResourceMonitor>;
