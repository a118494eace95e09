#include "utl/utl_Phase.h"

#include <exception>

#include "utl/utl_IOTracker.h"
#include "utl/utl_ResourceMonitor.h"

utl_Phase::utl_Phase(int timer, const cow_String& name)
    : timer_(timer), name_(name), exceptions_(std::uncaught_exceptions()) {
  omi_Singleton<utl_ResourceMonitor>::Instance().StartTimer(timer, name);
}

utl_Phase::~utl_Phase() {
  if (std::uncaught_exceptions() > exceptions_) {
    return;
  }
  try {
    auto& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
    monitor.StopTimer(timer_);
    monitor.Mark(name_);
    utl_IOTracker_Mark(name_.c_str());
  } catch (...) {  // NOLINT(bugprone-empty-catch): there is no memory
  }
}
