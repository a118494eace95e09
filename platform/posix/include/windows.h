#pragma once

// The Windows calls that the library uses, on POSIX: a header of the name that library
// sources include, with only such calls as exist in exactly this form on Windows. The
// functions have C++ linkage and are defined once, in the library.
//
// Not emulated here or in any file of this layer: the wide-character forms, Unicode
// folding of names (bytes pass through as they are), security descriptors, overlapped
// (asynchronous) operation, and every call not declared below. The head of each source
// lists what its calls leave out.
//
// A call that finds no memory throws std::bad_alloc and leaves nothing open. Those that
// destructors call throw nothing, and neither does locking: closing and unlocking need no
// memory, deleting and locking fail with code 8.

#include <cstdint>

#define WINAPI

using BOOL = int;
using BYTE = unsigned char;
using BOOLEAN = unsigned char;
using WORD = unsigned short;
using DWORD = unsigned int;
using LONG = int;
using ULONGLONG = unsigned long long;
using ULONG_PTR = std::uintptr_t;
using LONG_PTR = std::intptr_t;
using SIZE_T = std::size_t;
using CHAR = char;
using PVOID = void*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = wchar_t*;  // four bytes a character here
using LPDWORD = DWORD*;
using PLONG = LONG*;
using LPBYTE = BYTE*;
using HANDLE = void*;
using HLOCAL = void*;
using HMODULE = struct HINSTANCE__*;
using HKEY = struct HKEY__*;
using LSTATUS = LONG;

constexpr BOOL FALSE = 0;
constexpr BOOL TRUE = 1;
constexpr DWORD MAX_PATH = 260;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(LONG_PTR{-1});

// Error codes.
constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD NO_ERROR = 0;
constexpr DWORD ERROR_INVALID_FUNCTION = 1;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
constexpr DWORD ERROR_NO_MORE_FILES = 18;
constexpr DWORD ERROR_WRITE_PROTECT = 19;
constexpr DWORD ERROR_SEEK = 25;
constexpr DWORD ERROR_GEN_FAILURE = 31;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_LOCK_VIOLATION = 33;
constexpr DWORD ERROR_HANDLE_EOF = 38;
constexpr DWORD ERROR_FILE_EXISTS = 80;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_DISK_FULL = 112;
constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
constexpr DWORD ERROR_INVALID_NAME = 123;
constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
constexpr DWORD ERROR_NO_DATA = 232;
constexpr DWORD ERROR_MORE_DATA = 234;
constexpr DWORD ERROR_DIRECTORY = 267;
constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
constexpr DWORD ERROR_NOACCESS = 998;
constexpr DWORD ERROR_IO_DEVICE = 1117;
constexpr DWORD ERROR_NO_SUCH_USER = 1317;
constexpr DWORD ERROR_INVALID_USER_BUFFER = 1784;
constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;

DWORD GetLastError();
void SetLastError(DWORD code);

// Messages.
constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

DWORD FormatMessageA(DWORD flags, LPCVOID source, DWORD messageId, DWORD languageId,
                     LPSTR buffer, DWORD size, void* arguments);
HLOCAL LocalFree(HLOCAL block);

// Files.
constexpr DWORD GENERIC_READ = 0x80000000;
constexpr DWORD GENERIC_WRITE = 0x40000000;
constexpr DWORD FILE_SHARE_READ = 1;
constexpr DWORD FILE_SHARE_WRITE = 2;
constexpr DWORD FILE_SHARE_DELETE = 4;
constexpr DWORD CREATE_NEW = 1;
constexpr DWORD CREATE_ALWAYS = 2;
constexpr DWORD OPEN_EXISTING = 3;
constexpr DWORD OPEN_ALWAYS = 4;
constexpr DWORD TRUNCATE_EXISTING = 5;
constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x01;
constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x02;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x20;
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
constexpr DWORD FILE_ATTRIBUTE_TEMPORARY = 0x100;
constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x400;
constexpr DWORD FILE_FLAG_BACKUP_SEMANTICS = 0x02000000;
constexpr DWORD FILE_FLAG_DELETE_ON_CLOSE = 0x04000000;
constexpr DWORD FILE_FLAG_RANDOM_ACCESS = 0x10000000;
constexpr DWORD MOVEFILE_REPLACE_EXISTING = 1;
constexpr DWORD MOVEFILE_WRITE_THROUGH = 8;
constexpr DWORD FILE_BEGIN = 0;
constexpr DWORD FILE_CURRENT = 1;
constexpr DWORD FILE_END = 2;
constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFF;
constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFF;
constexpr DWORD HANDLE_FLAG_INHERIT = 1;
constexpr DWORD LOCKFILE_FAIL_IMMEDIATELY = 1;
constexpr DWORD LOCKFILE_EXCLUSIVE_LOCK = 2;

struct SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
};

struct OVERLAPPED {
  ULONG_PTR Internal;
  ULONG_PTR InternalHigh;
  DWORD Offset;
  DWORD OffsetHigh;
  HANDLE hEvent;
};

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

struct BY_HANDLE_FILE_INFORMATION {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD dwVolumeSerialNumber;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD nNumberOfLinks;
  DWORD nFileIndexHigh;
  DWORD nFileIndexLow;
};

// Sizes and times are left out: a listing does not ask for them (see find.cpp).
struct WIN32_FIND_DATAA {
  DWORD dwFileAttributes;
  CHAR cFileName[MAX_PATH];
};

union ULARGE_INTEGER {
  __extension__ struct {
    DWORD LowPart;
    DWORD HighPart;
  };
  ULONGLONG QuadPart;
};

HANDLE CreateFileA(LPCSTR name, DWORD access, DWORD share, SECURITY_ATTRIBUTES* security,
                   DWORD disposition, DWORD flags, HANDLE templateFile);
BOOL CloseHandle(HANDLE handle);
BOOL DeleteFileA(LPCSTR name);
BOOL MoveFileExA(LPCSTR from, LPCSTR to, DWORD flags);
BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD count, LPDWORD read,
              OVERLAPPED* overlapped);
BOOL WriteFile(HANDLE handle, LPCVOID buffer, DWORD count, LPDWORD written,
               OVERLAPPED* overlapped);
DWORD SetFilePointer(HANDLE handle, LONG distance, PLONG distanceHigh, DWORD method);
BOOL SetEndOfFile(HANDLE handle);
DWORD GetFileSize(HANDLE handle, LPDWORD sizeHigh);
BOOL FlushFileBuffers(HANDLE handle);
BOOL GetFileInformationByHandle(HANDLE handle, BY_HANDLE_FILE_INFORMATION* information);
BOOL SetHandleInformation(HANDLE handle, DWORD mask, DWORD flags);
BOOL LockFileEx(HANDLE handle, DWORD flags, DWORD reserved, DWORD lengthLow,
                DWORD lengthHigh, OVERLAPPED* overlapped);
BOOL UnlockFileEx(HANDLE handle, DWORD reserved, DWORD lengthLow, DWORD lengthHigh,
                  OVERLAPPED* overlapped);

// Directories and disks.
HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data);
BOOL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* data);
BOOL FindClose(HANDLE search);
BOOL GetDiskFreeSpaceExA(LPCSTR directory, ULARGE_INTEGER* freeToCaller,
                         ULARGE_INTEGER* total, ULARGE_INTEGER* totalFree);

// Threads: slots with one value for each thread; an Fls slot's call-back gets each
// thread's value, when it is not null, at the thread's end.
using PFLS_CALLBACK_FUNCTION = void (*)(PVOID);
constexpr DWORD TLS_OUT_OF_INDEXES = 0xFFFFFFFF;
constexpr DWORD FLS_OUT_OF_INDEXES = 0xFFFFFFFF;

DWORD TlsAlloc();
PVOID TlsGetValue(DWORD index);
BOOL TlsSetValue(DWORD index, PVOID value);
BOOL TlsFree(DWORD index);
DWORD FlsAlloc(PFLS_CALLBACK_FUNCTION callback);
PVOID FlsGetValue(DWORD index);
BOOL FlsSetValue(DWORD index, PVOID value);

// Modules.
constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_PIN = 1;
constexpr DWORD GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS = 4;

BOOL GetModuleHandleExA(DWORD flags, LPCSTR name, HMODULE* module);

// Process, time and machine.
constexpr DWORD PROCESS_VM_READ = 0x0010;
constexpr DWORD PROCESS_QUERY_INFORMATION = 0x0400;

struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};

struct SYSTEM_INFO {
  DWORD dwPageSize;
  DWORD dwNumberOfProcessors;
};

void Sleep(DWORD milliseconds);
DWORD GetCurrentProcessId();
HANDLE GetCurrentProcess();
HANDLE OpenProcess(DWORD access, BOOL inherit, DWORD processId);
BOOL GetProcessTimes(HANDLE process, FILETIME* creation, FILETIME* exit, FILETIME* kernel,
                     FILETIME* user);
void GetLocalTime(SYSTEMTIME* time);
void GetSystemInfo(SYSTEM_INFO* information);
BOOL GetUserNameA(LPSTR buffer, LPDWORD size);

// Registry.
constexpr DWORD KEY_READ = 0x20019;
constexpr DWORD REG_DWORD = 4;
inline const HKEY HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(ULONG_PTR{0x80000002});

LSTATUS RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD options, DWORD access, HKEY* result);
LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type,
                         LPBYTE data, LPDWORD size);
LSTATUS RegCloseKey(HKEY key);
