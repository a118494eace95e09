#pragma once

#include "omi/omi_Singleton.h"
#include "second_library_export.h"
#include "thr/thr_GlobalLock.h"
#include "thr/thr_GlobalSingleton.h"
#include "thr/thr_ThreadPool.h"
#include "thr/thr_ThreadSingleton.h"

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

/// What the second library sees.
SECOND_LIBRARY_EXPORT thr_Mutex* second_GlobalLock();
SECOND_LIBRARY_EXPORT thr_ThreadPool* second_Pool();
SECOND_LIBRARY_EXPORT thr_ThreadPool* second_LookPool();
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
