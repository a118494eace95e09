#include "utl/utl_IOTracker.h"

#include <utility>

#include "utl/impl/tracker/utl_IOTrackerRecorder.h"

template class thr_GlobalSingleton<utl_IOTracker_Container>;

utl_IOTracker::~utl_IOTracker() = default;

utl_IOTracker_Container::utl_IOTracker_Container() {
  utl_IOTrackerSettings settings = utl_IOTrackerSettings::Read();
  if (settings.level >= kTotalsLevel) {
    tracker_ = std::make_unique<utl_IOTrackerRecorder>(std::move(settings));
  }
}

utl_IOTracker_Container::~utl_IOTracker_Container() = default;

void utl_IOTracker_Mark(const char* label) {
  const auto* const holder = thr_GlobalSingleton<utl_IOTracker_Container>::Look();
  utl_IOTracker* const tracker = holder == nullptr ? nullptr : holder->Tracker();
  if (tracker != nullptr) {
    tracker->Mark(label);
  }
}
