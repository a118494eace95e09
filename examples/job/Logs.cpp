#include "Job.h"
#include "omi/omi_Timer.h"
#include "utl/utl_ResourceMonitor.h"

void InPhase(int timer, const char* name, const std::function<void()>& work) {
  auto& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
  monitor.StartTimer(timer, name);
  work();
  monitor.StopTimer(timer);
  monitor.Mark(name);
  utl_IOTracker_Mark(name);
}

void Tracked(Operation operation, const cow_String& file,
             const std::function<std::int64_t()>& work) {
  constexpr std::int64_t kKey = 1;  // one file at a time
  omi_Timer timer;
  timer.Start();
  const std::int64_t bytes = work();
  timer.Stop();
  auto& holder = thr_GlobalSingleton<utl_IOTracker_Container>::Instance();
  if (utl_IOTracker* tracker = holder.Tracker()) {
    tracker->COpen(kKey, file.c_str());
    (tracker->*operation)(kKey, bytes, timer.Elapsed());
    tracker->CClose(kKey);
  }
}
