// The program defines the calls itself: a program's functions come before those of the
// same name in a shared library, for the library's own calls too.

#include "common/failing/FailingCall.h"

#include <dlfcn.h>
#include <io.h>
#include <psapi.h>
#include <winsock2.h>

#include "common/failing/FakeProcess.h"

namespace {

// The library's function behind one of this program.
template <class Function>
Function* Next(Function* own) {
  Dl_info info = {};
  dladdr(reinterpret_cast<void*>(own), &info);
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, info.dli_sname));
}

}  // namespace

void redirection::Install() {}

HANDLE CreateFileA(LPCSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD flags, HANDLE templateFile) {
  static const auto next = Next(&CreateFileA);
  redirection::Record(
      {access, share, disposition, flags, security != nullptr, templateFile != nullptr});
  return redirection::Fails(SystemCall::kCreateFile)
             ? INVALID_HANDLE_VALUE
             : next(name, access, share, security, disposition, flags, templateFile);
}

BOOL CloseHandle(HANDLE handle) {
  static const auto next = Next(&CloseHandle);
  const BOOL closed = next(handle);
  return redirection::Fails(SystemCall::kCloseHandle) ? FALSE : closed;
}

HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data) {
  static const auto next = Next(&FindFirstFileA);
  if (redirection::Fails(SystemCall::kFindFirstFileByNull)) return nullptr;
  if (redirection::Fails(SystemCall::kFindFirstFile)) return INVALID_HANDLE_VALUE;
  HANDLE search = next(pattern, data);
  redirection::RecordSearchBegin(search);
  return search;
}

BOOL FindClose(HANDLE search) {
  static const auto next = Next(&FindClose);
  redirection::RecordSearchEnd();
  return next(search);
}

BOOL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* data) {
  static const auto next = Next(&FindNextFileA);
  return redirection::Fails(SystemCall::kFindNextFile) ? FALSE : next(search, data);
}

BOOL FlushFileBuffers(HANDLE handle) {
  static const auto next = Next(&FlushFileBuffers);
  return redirection::Fails(SystemCall::kFlushFileBuffers) ? FALSE : next(handle);
}

BOOL GetDiskFreeSpaceExA(LPCSTR directory, ULARGE_INTEGER* toCaller,
                         ULARGE_INTEGER* total, ULARGE_INTEGER* onDrive) {
  static const auto next = Next(&GetDiskFreeSpaceExA);
  if (redirection::Fails(SystemCall::kGetDiskFreeSpaceEx)) return FALSE;
  return redirection::ReplaceDiskSpace(directory, toCaller, onDrive) ||
         next(directory, toCaller, total, onDrive);
}

BOOL GetFileInformationByHandle(HANDLE handle, BY_HANDLE_FILE_INFORMATION* information) {
  static const auto next = Next(&GetFileInformationByHandle);
  return redirection::Fails(SystemCall::kGetFileInformationByHandle)
             ? FALSE
             : next(handle, information);
}

DWORD GetFileSize(HANDLE handle, LPDWORD sizeHigh) {
  static const auto next = Next(&GetFileSize);
  return redirection::Fails(SystemCall::kGetFileSize) ? INVALID_FILE_SIZE
                                                      : next(handle, sizeHigh);
}

BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD count, LPDWORD read,
              OVERLAPPED* overlapped) {
  static const auto next = Next(&ReadFile);
  return redirection::Fails(SystemCall::kReadFile)
             ? FALSE
             : next(handle, buffer, count, read, overlapped);
}

BOOL SetEndOfFile(HANDLE handle) {
  static const auto next = Next(&SetEndOfFile);
  return redirection::Fails(SystemCall::kSetEndOfFile) ? FALSE : next(handle);
}

DWORD SetFilePointer(HANDLE handle, LONG distance, PLONG distanceHigh, DWORD method) {
  static const auto next = Next(&SetFilePointer);
  return redirection::Fails(SystemCall::kSetFilePointer)
             ? INVALID_SET_FILE_POINTER
             : next(handle, distance, distanceHigh, method);
}

BOOL SetHandleInformation(HANDLE handle, DWORD mask, DWORD flags) {
  static const auto next = Next(&SetHandleInformation);
  redirection::RecordInheritance(handle, mask, flags);
  return redirection::Fails(SystemCall::kSetHandleInformation)
             ? FALSE
             : next(handle, mask, flags);
}

void Sleep(DWORD milliseconds) {
  static const auto next = Next(&Sleep);
  if (!redirection::ReplaceSleep(milliseconds)) {
    next(milliseconds);
  }
}

BOOL WriteFile(HANDLE handle, LPCVOID buffer, DWORD count, LPDWORD written,
               OVERLAPPED* overlapped) {
  static const auto next = Next(&WriteFile);
  return redirection::Fails(SystemCall::kWriteFile)
             ? FALSE
             : next(handle, buffer, redirection::WriteLimit(count), written, overlapped);
}

BOOL GetUserNameA(LPSTR name, LPDWORD size) {
  static const auto next = Next(&GetUserNameA);
  return redirection::Fails(SystemCall::kGetUserName) ? FALSE : next(name, size);
}

void GetLocalTime(SYSTEMTIME* time) {
  static const auto next = Next(&GetLocalTime);
  next(time);
  redirection::AnswerLocalTime(*time);
}

HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD processId) {
  static const auto next = Next(&OpenProcess);
  redirection::RecordOpenProcess(access, inherit, processId);
  return redirection::Fails(SystemCall::kOpenProcess) ? nullptr
                                                      : next(access, inherit, processId);
}

BOOL GetProcessTimes(HANDLE process, FILETIME* creation, FILETIME* exit, FILETIME* kernel,
                     FILETIME* user) {
  static const auto next = Next(&GetProcessTimes);
  if (redirection::Fails(SystemCall::kGetProcessTimes)) return FALSE;
  const BOOL succeeded = next(process, creation, exit, kernel, user);
  redirection::AnswerProcessTimes(*kernel, *user);
  return succeeded;
}

BOOL GetProcessMemoryInfo(HANDLE process, PROCESS_MEMORY_COUNTERS* counters, DWORD size) {
  static const auto next = Next(&GetProcessMemoryInfo);
  if (redirection::Fails(SystemCall::kGetProcessMemoryInfo)) return FALSE;
  const BOOL succeeded = next(process, counters, size);
  redirection::AnswerMemory(process, *counters, size);
  return succeeded;
}

BOOL EnumProcessModules(HANDLE process, HMODULE* modules, DWORD size, LPDWORD needed) {
  static const auto next = Next(&EnumProcessModules);
  redirection::RecordModules(size);
  return redirection::Fails(SystemCall::kEnumProcessModules)
             ? FALSE
             : next(process, modules, size, needed);
}

DWORD GetModuleBaseNameW(HANDLE process, HMODULE module, LPWSTR name, DWORD size) {
  static const auto next = Next(&GetModuleBaseNameW);
  redirection::RecordModuleName(size);
  return next(process, module, name, size);
}

int _access(const char* path, int mode) {
  static const auto next = Next(&_access);
  return redirection::Fails(SystemCall::kAccess) ? -1 : next(path, mode);
}

int gethostname(char* name, std::size_t size) noexcept {
  static const auto next = Next(&gethostname);
  return redirection::Fails(SystemCall::kGetHostName) ? -1 : next(name, size);
}

int WSAStartup(WORD version, WSADATA* data) {
  static const auto next = Next(&WSAStartup);
  if (redirection::Fails(SystemCall::kSocketStart)) return redirection::kSocketsNotReady;
  const int result = next(version, data);
  redirection::RecordSocketStart(version, data->wVersion);
  return result;
}

int WSACleanup() {
  static const auto next = Next(&WSACleanup);
  redirection::RecordSocketEnd();
  return next();
}
