#include "utl/utl_TrackedOperation.h"

#include <exception>

#include "utl/utl_IOTracker.h"

utl_TrackedOperation::utl_TrackedOperation(utl_TrackedKind kind, const cow_String& path)
    : kind_(kind), path_(path), exceptions_(std::uncaught_exceptions()) {
  thr_GlobalSingleton<utl_IOTracker_Container>::Instance();
  timer_.Start();
}

utl_TrackedOperation::~utl_TrackedOperation() {
  const double seconds = timer_.Elapsed();
  if (std::uncaught_exceptions() > exceptions_) {
    return;
  }
  try {
    Report(seconds);
  } catch (...) {  // NOLINT(bugprone-empty-catch): there is no memory
  }
}

void utl_TrackedOperation::Report(double seconds) const {
  const auto* holder = thr_GlobalSingleton<utl_IOTracker_Container>::Look();
  utl_IOTracker* const tracker = holder != nullptr ? holder->Tracker() : nullptr;
  if (tracker == nullptr) {
    return;
  }
  // No descriptor and no stream has this object's address.
  const std::int64_t key = reinterpret_cast<std::intptr_t>(this);
  const auto bytes = static_cast<std::int64_t>(bytes_);
  tracker->COpen(key, path_.c_str());
  if (kind_ == utl_TrackedRead) {
    tracker->CRead(key, bytes, seconds);
  } else {
    tracker->CWrite(key, bytes, seconds);
  }
  tracker->CClose(key);
}
