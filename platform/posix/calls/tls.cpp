// Thread-local slots over POSIX keys: an index is a key's number.
//
// Not emulated: fibers (an Fls slot belongs to the thread), and the call-back for the
// thread that ends the process by returning from main.

#include <pthread.h>
#include <windows.h>

DWORD FlsAlloc(PFLS_CALLBACK_FUNCTION callback) {
  pthread_key_t key = 0;
  if (pthread_key_create(&key, callback) != 0) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FLS_OUT_OF_INDEXES;
  }
  return key;
}

// The system's keys have a sequence number, so that a freed index reads as null.
PVOID FlsGetValue(DWORD index) {
  return pthread_getspecific(index);
}

BOOL FlsSetValue(DWORD index, PVOID value) {
  if (pthread_setspecific(index, value) != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return TRUE;
}

DWORD TlsAlloc() {
  return FlsAlloc(nullptr);
}

PVOID TlsGetValue(DWORD index) {
  return FlsGetValue(index);
}

BOOL TlsSetValue(DWORD index, PVOID value) {
  return FlsSetValue(index, value);
}

BOOL TlsFree(DWORD index) {
  if (pthread_key_delete(index) != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return TRUE;
}
