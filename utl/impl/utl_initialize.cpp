#include "utl/utl_initialize.h"

#include <winsock2.h>

#include <string_view>

#include "atr/atr_initialize.h"
#include "cow/cow_initialize.h"
#include "mem/mem_initialize.h"
#include "nex/nex_initialize.h"
#include "omi/omni_initialize.h"
#include "platform/platform.h"
#include "pnt/pnt_initialize.h"
#include "rgx/rgx_funcs.h"
#include "thr/thr_initialize.h"
#include "typ/typ_initialize.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_Version.h"

namespace {

// How many starts have no end yet. May become negative: one end too many is not caught.
int nesting = 0;

// The order in which the libraries build on each other: each may include only those that
// start before it. cow alone is an exception: it includes nex, for its checked access.
//
// `count` is a copy of the client's counter: whatever the libraries do to it, the
// client's own moves by one.
void StartLibraries(int count) {
  mem_initialize(count);
  typ_initialize(count);
  thr_initialize(count);
  pnt_initialize(count);
  omni_initialize(count);
  atr_initialize(count);
  cow_initialize(count);
  nex_initialize(count);
  rgx_initialize(count);
  utl_InitializeWinsock();
}

// Only the exact word creates the version object.
void ApplyLearnerSwitch() {
  const char* learner = platform::Environment("KES_LEARNER");
  if (learner != nullptr && std::string_view(learner) == "ON") {
    omi_Singleton<utl_Version>::Instance().SetLearnerEdition();
  }
}

void EndSingletons() {
  omi_SingletonBase<utl_Version>::Finalize();
  thr_GlobalSingleton<utl_CommandLine>::Destroy();
  WSACleanup();
  thr_GlobalSingleton<utl_IOTracker_Container>::Destroy();
}

void EndLibraries(int count) {
  rgx_finalize(count);
  nex_finalize(count);
  cow_finalize(count);
  atr_finalize(count);
  omni_finalize(count);
  pnt_finalize(count);
  thr_finalize(count);
  typ_finalize(count);
  mem_finalize(count);
}

}  // namespace

void utl_initialize(int& count) {
  if (nesting++ != 0) {
    return;
  }
  ++count;
  StartLibraries(count);
  ApplyLearnerSwitch();
}

void utl_finalize(int& count) {
  if (--nesting != 0) {
    return;
  }
  --count;
  EndSingletons();
  EndLibraries(count);
}
