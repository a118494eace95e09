#pragma once

#include "omi/omi_Singleton.h"
#include "rgx/rgx_ReCompileCache.h"
#include "second_library_export.h"
#include "thr/thr_GlobalLock.h"
#include "thr/thr_GlobalSingleton.h"
#include "thr/thr_ThreadPool.h"
#include "thr/thr_ThreadSingleton.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_Version.h"

/// Classes that the second library owns; the test program uses them too.
struct SECOND_LIBRARY_EXPORT second_Global {
  int value = 0;
};
struct SECOND_LIBRARY_EXPORT second_Plain {
  int value = 0;
};
struct SECOND_LIBRARY_EXPORT second_PerThread {
  second_PerThread();
  ~second_PerThread();
  second_PerThread(const second_PerThread&) = delete;
  second_PerThread& operator=(const second_PerThread&) = delete;
  int value = 0;
};

extern template class SECOND_LIBRARY_EXPORT thr_GlobalSingleton<second_Global>;
extern template class SECOND_LIBRARY_EXPORT omi_Singleton<second_Plain>;
extern template class SECOND_LIBRARY_EXPORT thr_ThreadSingleton<second_PerThread>;

/// The objects that KSTutl keeps for the process, and for a thread the patterns; null for
/// what has not been made.
struct KSTutlObjects {
  const thr_ThreadPool* pool = nullptr;
  const utl_CommandLine* commandLine = nullptr;
  const utl_IOTracker_Container* tracker = nullptr;
  const utl_Version* version = nullptr;
  const rgx_ReCompileCache* patterns = nullptr;

  bool operator==(const KSTutlObjects&) const = default;
};

/// Those that are there, or all of them, as the calling module sees them: every module
/// has these functions for itself.
static inline KSTutlObjects LookAtKSTutlObjects() {
  return {thr_GlobalSingleton<thr_ThreadPool>::Look(),
          thr_GlobalSingleton<utl_CommandLine>::Look(),
          thr_GlobalSingleton<utl_IOTracker_Container>::Look(),
          omi_Singleton<utl_Version>::Look(),
          thr_ThreadSingleton<rgx_ReCompileCache>::Look()};
}
static inline KSTutlObjects MakeKSTutlObjects() {
  return {&thr_GlobalSingleton<thr_ThreadPool>::Instance(),
          &thr_GlobalSingleton<utl_CommandLine>::Instance(),
          &thr_GlobalSingleton<utl_IOTracker_Container>::Instance(),
          &omi_Singleton<utl_Version>::Instance(),
          &thr_ThreadSingleton<rgx_ReCompileCache>::Instance()};
}

/// What the second library sees.
SECOND_LIBRARY_EXPORT KSTutlObjects second_LookAtKSTutlObjects();
SECOND_LIBRARY_EXPORT KSTutlObjects second_MakeKSTutlObjects();
SECOND_LIBRARY_EXPORT thr_Mutex* second_GlobalLock();
SECOND_LIBRARY_EXPORT second_Global* second_GlobalInstance();
SECOND_LIBRARY_EXPORT second_Plain* second_PlainInstance();
SECOND_LIBRARY_EXPORT second_PerThread* second_PerThreadInstance();
SECOND_LIBRARY_EXPORT int second_PerThreadAlive();

/// Calls `thrower` and tells as what the second library caught its exception:
/// "nex_AssertException", "nex_TextException", "nex_Exception" or "nothing".
SECOND_LIBRARY_EXPORT const char* second_CatchByClass(void (*thrower)());
SECOND_LIBRARY_EXPORT const char* second_CatchByGroup(void (*thrower)());
SECOND_LIBRARY_EXPORT const char* second_CatchByRoot(void (*thrower)());

/// Throws a `nex_AssertException` with the text "from the second library".
[[noreturn]] SECOND_LIBRARY_EXPORT void second_Throw();
