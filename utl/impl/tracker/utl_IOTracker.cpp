#include "utl/utl_IOTracker.h"

#include <utility>

#include "utl/impl/tracker/utl_IOTrackerRecorder.h"

template class thr_GlobalSingleton<utl_IOTracker_Container>;

utl_IOTracker::~utl_IOTracker() = default;

utl_IOTracker_Container::utl_IOTracker_Container() {
  utl_IOTrackerSettings settings = utl_IOTrackerSettings::Read();
  if (settings.level >= utl_kTotalsLevel) {
    tracker_ = std::make_unique<utl_IOTrackerRecorder>(std::move(settings));
  }
}

utl_IOTracker_Container::~utl_IOTracker_Container() = default;

void utl_IOTracker_Mark(const char* label) {
  const auto* const holder = thr_GlobalSingleton<utl_IOTracker_Container>::Look();
  if (holder == nullptr) return;
  if (utl_IOTracker* const tracker = holder->Tracker()) tracker->Mark(label);
}
