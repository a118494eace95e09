// Marks, phases and the I/O tracker in C.

#include <optional>
#include <utility>

#include "utl/impl/c/utl_cCall.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_ResourceMonitor.h"

namespace {

utl_ResourceMonitor& Monitor() {
  return omi_Singleton<utl_ResourceMonitor>::Instance();
}

void Mark(const char* label) {
  Monitor().Mark(label);
  utl_IOTracker_Mark(label);
}

// The entry of a phase.
std::optional<cow_String>& Phase(utl_CState& state, int timer) {
  if (timer < 0 || timer >= static_cast<int>(state.phases.size())) {
    utl_cFail(kst_BadArgument, "timer is not from 0 to 19");
  }
  return state.phases[static_cast<std::size_t>(timer)];
}

// Null when there is none.
utl_IOTracker* Tracker() {
  return thr_GlobalSingleton<utl_IOTracker_Container>::Instance().Tracker();
}

bool IsUnits(int table) {
  switch (table) {
    case kst_Descriptors:
      return false;
    case kst_Units:
      return true;
  }
  utl_cFail(kst_BadArgument, "table is neither of the two");
}

// Calls the operation of one of the tables, if there is a tracker.
template <class Operation, class... Argument>
void Report(int table, Operation descriptors, Operation units, Argument... arguments) {
  const Operation operation = IsUnits(table) ? units : descriptors;
  if (utl_IOTracker* const tracker = Tracker()) {
    (tracker->*operation)(arguments...);
  }
}

}  // namespace

kst_Status kst_openLogs(const char* job) {
  return utl_cCall("kst_openLogs", [&](utl_CState& state) {
    utl_cRequire(job, "job");
    state.hasLogs = true;
    Monitor().Initialize(job);
    Tracker();  // from now on there is one to be marked
  });
}

kst_Status kst_mark(const char* label) {
  return utl_cCall("kst_mark", [&](utl_CState&) {
    utl_cRequire(label, "label");
    Mark(label);
  });
}

kst_Status kst_beginPhase(int timer, const char* name) {
  return utl_cCall("kst_beginPhase", [&](utl_CState& state) {
    std::optional<cow_String>& phase = Phase(state, timer);
    utl_cRequire(name, "name");
    if (phase.has_value()) {
      utl_cFail(kst_BadArgument, "the timer runs already, for " + *phase);
    }
    phase = name;
    Monitor().StartTimer(timer, *phase);
  });
}

kst_Status kst_endPhase(int timer) {
  return utl_cCall("kst_endPhase", [&](utl_CState& state) {
    std::optional<cow_String>& phase = Phase(state, timer);
    if (!phase.has_value()) {
      utl_cFail(kst_BadArgument, "the timer does not run");
    }
    const cow_String name = *std::exchange(phase, std::nullopt);
    Monitor().StopTimer(timer);
    Mark(name.c_str());
  });
}

kst_Status kst_isTracking(int* isTracking) {
  return utl_cCall("kst_isTracking", [&](utl_CState&) {
    utl_cRequire(isTracking, "isTracking");
    *isTracking = Tracker() != nullptr ? 1 : 0;
  });
}

kst_Status kst_trackOpen(int table, int64_t key, const char* path) {
  return utl_cCall("kst_trackOpen", [&](utl_CState&) {
    utl_cRequire(path, "path");
    Report(table, &utl_IOTracker::COpen, &utl_IOTracker::UOpen, key, path);
  });
}

kst_Status kst_trackClose(int table, int64_t key) {
  return utl_cCall("kst_trackClose", [&](utl_CState&) {
    Report(table, &utl_IOTracker::CClose, &utl_IOTracker::UClose, key);
  });
}

kst_Status kst_trackRead(int table, int64_t key, int64_t bytes, double seconds) {
  return utl_cCall("kst_trackRead", [&](utl_CState&) {
    Report(table, &utl_IOTracker::CRead, &utl_IOTracker::URead, key, bytes, seconds);
  });
}

kst_Status kst_trackWrite(int table, int64_t key, int64_t bytes, double seconds) {
  return utl_cCall("kst_trackWrite", [&](utl_CState&) {
    Report(table, &utl_IOTracker::CWrite, &utl_IOTracker::UWrite, key, bytes, seconds);
  });
}

kst_Status kst_trackTotals(int table, int64_t key, kst_Totals* totals) {
  return utl_cCall("kst_trackTotals", [&](utl_CState&) {
    utl_cRequire(totals, "totals");
    const bool isUnits = IsUnits(table);
    utl_IOTracker* const tracker = Tracker();
    utl_IOTrackerRecord record;
    if (tracker == nullptr ||
        !(isUnits ? tracker->UTotals(key, record) : tracker->CTotals(key, record))) {
      utl_cFail(kst_NotFound, "nothing is counted for this key");
    }
    *totals = {record.readCount,    record.bytesRead, record.writeCount,
               record.bytesWritten, record.readTime,  record.writeTime};
  });
}
