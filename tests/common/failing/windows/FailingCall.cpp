// The addresses by which the library's DLL calls the system are replaced by those of
// functions here.

#include "common/failing/FailingCall.h"

#include <winsock2.h>

#include <io.h>
#include <psapi.h>

#include <cstring>
#include <iterator>
#include <stdexcept>

#include "common/failing/FakeProcess.h"

namespace {

HANDLE WINAPI Create(LPCSTR name, DWORD access, DWORD share,
                     SECURITY_ATTRIBUTES* security, DWORD disposition, DWORD flags,
                     HANDLE templateFile) {
  redirection::Record(
      {access, share, disposition, flags, security != nullptr, templateFile != nullptr});
  return redirection::Fails(SystemCall::kCreateFile)
             ? INVALID_HANDLE_VALUE
             : CreateFileA(name, access, share, security, disposition, flags,
                           templateFile);
}

BOOL WINAPI Close(HANDLE handle) {
  const BOOL closed = CloseHandle(handle);
  return redirection::Fails(SystemCall::kCloseHandle) ? FALSE : closed;
}

HANDLE WINAPI FindFirst(LPCSTR pattern, WIN32_FIND_DATAA* data) {
  if (redirection::Fails(SystemCall::kFindFirstFileByNull)) return nullptr;
  if (redirection::Fails(SystemCall::kFindFirstFile)) return INVALID_HANDLE_VALUE;
  const HANDLE search = FindFirstFileA(pattern, data);
  redirection::RecordSearchBegin(search);
  return search;
}

BOOL WINAPI EndFind(HANDLE search) {
  redirection::RecordSearchEnd();
  return FindClose(search);
}

BOOL WINAPI FindNext(HANDLE search, WIN32_FIND_DATAA* data) {
  return redirection::Fails(SystemCall::kFindNextFile) ? FALSE
                                                       : FindNextFileA(search, data);
}

BOOL WINAPI Flush(HANDLE handle) {
  return redirection::Fails(SystemCall::kFlushFileBuffers) ? FALSE
                                                           : FlushFileBuffers(handle);
}

BOOL WINAPI Space(LPCSTR directory, ULARGE_INTEGER* toCaller, ULARGE_INTEGER* total,
                  ULARGE_INTEGER* onDrive) {
  if (redirection::Fails(SystemCall::kGetDiskFreeSpaceEx)) return FALSE;
  return redirection::ReplaceDiskSpace(directory, toCaller, onDrive) ||
         GetDiskFreeSpaceExA(directory, toCaller, total, onDrive);
}

BOOL WINAPI Information(HANDLE handle, BY_HANDLE_FILE_INFORMATION* information) {
  return redirection::Fails(SystemCall::kGetFileInformationByHandle)
             ? FALSE
             : GetFileInformationByHandle(handle, information);
}

DWORD WINAPI Size(HANDLE handle, LPDWORD sizeHigh) {
  return redirection::Fails(SystemCall::kGetFileSize) ? INVALID_FILE_SIZE
                                                      : GetFileSize(handle, sizeHigh);
}

BOOL WINAPI Read(HANDLE handle, LPVOID buffer, DWORD count, LPDWORD read,
                 OVERLAPPED* overlapped) {
  return redirection::Fails(SystemCall::kReadFile)
             ? FALSE
             : ReadFile(handle, buffer, count, read, overlapped);
}

BOOL WINAPI SetEnd(HANDLE handle) {
  return redirection::Fails(SystemCall::kSetEndOfFile) ? FALSE : SetEndOfFile(handle);
}

DWORD WINAPI Move(HANDLE handle, LONG distance, PLONG distanceHigh, DWORD method) {
  return redirection::Fails(SystemCall::kSetFilePointer)
             ? INVALID_SET_FILE_POINTER
             : SetFilePointer(handle, distance, distanceHigh, method);
}

BOOL WINAPI Inheritance(HANDLE handle, DWORD mask, DWORD flags) {
  redirection::RecordInheritance(handle, mask, flags);
  return redirection::Fails(SystemCall::kSetHandleInformation)
             ? FALSE
             : SetHandleInformation(handle, mask, flags);
}

void WINAPI Pause(DWORD milliseconds) {
  if (!redirection::ReplaceSleep(milliseconds)) {
    Sleep(milliseconds);
  }
}

BOOL WINAPI Write(HANDLE handle, LPCVOID buffer, DWORD count, LPDWORD written,
                  OVERLAPPED* overlapped) {
  return redirection::Fails(SystemCall::kWriteFile)
             ? FALSE
             : WriteFile(handle, buffer, redirection::WriteLimit(count), written,
                         overlapped);
}

BOOL WINAPI UserName(LPSTR name, LPDWORD size) {
  return redirection::Fails(SystemCall::kGetUserName) ? FALSE : GetUserNameA(name, size);
}

void WINAPI Clock(SYSTEMTIME* time) {
  GetLocalTime(time);
  redirection::AnswerLocalTime(*time);
}

HANDLE WINAPI OpenOther(DWORD access, BOOL inherit, DWORD processId) {
  redirection::RecordOpenProcess(access, inherit, processId);
  return redirection::Fails(SystemCall::kOpenProcess)
             ? nullptr
             : OpenProcess(access, inherit, processId);
}

BOOL WINAPI Times(HANDLE process, FILETIME* creation, FILETIME* exit, FILETIME* kernel,
                  FILETIME* user) {
  if (redirection::Fails(SystemCall::kGetProcessTimes)) return FALSE;
  const BOOL succeeded = GetProcessTimes(process, creation, exit, kernel, user);
  redirection::AnswerProcessTimes(*kernel, *user);
  return succeeded;
}

BOOL WINAPI Memory(HANDLE process, PROCESS_MEMORY_COUNTERS* counters, DWORD size) {
  if (redirection::Fails(SystemCall::kGetProcessMemoryInfo)) return FALSE;
  const BOOL succeeded = GetProcessMemoryInfo(process, counters, size);
  redirection::AnswerMemory(process, *counters, size);
  return succeeded;
}

BOOL WINAPI Modules(HANDLE process, HMODULE* modules, DWORD size, LPDWORD needed) {
  redirection::RecordModules(size);
  return redirection::Fails(SystemCall::kEnumProcessModules)
             ? FALSE
             : EnumProcessModules(process, modules, size, needed);
}

DWORD WINAPI ModuleName(HANDLE process, HMODULE module, LPWSTR name, DWORD size) {
  redirection::RecordModuleName(size);
  return GetModuleBaseNameW(process, module, name, size);
}

int Access(const char* path, int mode) {
  return redirection::Fails(SystemCall::kAccess) ? -1 : _access(path, mode);
}

int WINAPI HostName(char* name, int size) {
  return redirection::Fails(SystemCall::kGetHostName) ? -1 : gethostname(name, size);
}

int WINAPI SocketStart(WORD version, WSADATA* data) {
  if (redirection::Fails(SystemCall::kSocketStart)) return redirection::kSocketsNotReady;
  const int result = WSAStartup(version, data);
  redirection::RecordSocketStart(version, data->wVersion);
  return result;
}

int WINAPI SocketEnd() {
  redirection::RecordSocketEnd();
  return WSACleanup();
}

template <class Function>
ULONGLONG Address(Function* function) {
  return reinterpret_cast<ULONGLONG>(function);
}

struct Replacement {
  const char* name;  // in the table, where psapi.h's calls begin with "K32"
  ULONGLONG function;
};

const Replacement kReplacements[] = {
    {"CreateFileA", Address(&Create)},
    {"CloseHandle", Address(&Close)},
    {"FindClose", Address(&EndFind)},
    {"FindFirstFileA", Address(&FindFirst)},
    {"FindNextFileA", Address(&FindNext)},
    {"FlushFileBuffers", Address(&Flush)},
    {"GetDiskFreeSpaceExA", Address(&Space)},
    {"GetFileInformationByHandle", Address(&Information)},
    {"GetFileSize", Address(&Size)},
    {"GetLocalTime", Address(&Clock)},
    {"GetProcessTimes", Address(&Times)},
    {"GetUserNameA", Address(&UserName)},
    {"K32EnumProcessModules", Address(&Modules)},
    {"K32GetModuleBaseNameW", Address(&ModuleName)},
    {"K32GetProcessMemoryInfo", Address(&Memory)},
    {"OpenProcess", Address(&OpenOther)},
    {"ReadFile", Address(&Read)},
    {"SetEndOfFile", Address(&SetEnd)},
    {"SetFilePointer", Address(&Move)},
    {"SetHandleInformation", Address(&Inheritance)},
    {"Sleep", Address(&Pause)},
    {"WSACleanup", Address(&SocketEnd)},
    {"WSAStartup", Address(&SocketStart)},
    {"WriteFile", Address(&Write)},
    {"_access", Address(&Access)},
    {"gethostname", Address(&HostName)},
};

// A loaded module and the tables of its image, which hold offsets from its start.
class Module {
 public:
  explicit Module(const char* name)
      : start_(reinterpret_cast<char*>(GetModuleHandleA(name))) {}

  template <class T>
  T* At(DWORD offset) const {
    return reinterpret_cast<T*>(start_ + offset);
  }

  IMAGE_IMPORT_DESCRIPTOR* Imports() const {
    const auto* dos = At<IMAGE_DOS_HEADER>(0);
    const auto* headers = At<IMAGE_NT_HEADERS>(static_cast<DWORD>(dos->e_lfanew));
    return At<IMAGE_IMPORT_DESCRIPTOR>(
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT]
            .VirtualAddress);
  }

 private:
  char* start_;
};

void Store(ULONGLONG& place, ULONGLONG value) {
  DWORD protection = 0;
  VirtualProtect(&place, sizeof place, PAGE_READWRITE, &protection);
  place = value;
  VirtualProtect(&place, sizeof place, protection, &protection);
}

// How many of the calls that a DLL imports from one other DLL were replaced.
std::size_t Replace(const Module& module, const IMAGE_IMPORT_DESCRIPTOR& imports) {
  std::size_t replaced = 0;
  const auto* names = module.At<IMAGE_THUNK_DATA>(imports.OriginalFirstThunk);
  auto* addresses = module.At<IMAGE_THUNK_DATA>(imports.FirstThunk);
  for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
    if (IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal)) {
      continue;
    }
    const char* name =
        module.At<IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(names->u1.AddressOfData))
            ->Name;
    for (const Replacement& replacement : kReplacements) {
      if (std::strcmp(name, replacement.name) == 0) {
        Store(addresses->u1.Function, replacement.function);
        ++replaced;
      }
    }
  }
  return replaced;
}

bool Redirect() {
  const Module module("KSTutl.dll");
  std::size_t replaced = 0;
  for (const auto* imports = module.Imports(); imports->Name != 0; ++imports) {
    replaced += Replace(module, *imports);
  }
  if (replaced != std::size(kReplacements)) {
    throw std::runtime_error("KSTutl.dll does not import every redirected call");
  }
  return true;
}

}  // namespace

void redirection::Install() {
  [[maybe_unused]] static const bool installed = Redirect();
}
