// Other processes. Which of them have a file open is told by the Restart Manager alone.
// It is loaded when it is asked: where it is missing, or does nothing as Wine's, nobody
// is told.

#include <windows.h>

#include <restartmanager.h>

#include <algorithm>

#include "platform/platform.h"

namespace platform {
namespace {

constexpr char kRestartManager[] = "rstrtmgr.dll";

class RestartManager {
 public:
  RestartManager()
      : module_(LoadLibraryExA(kRestartManager, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32)) {
    Load(start_, "RmStartSession");
    Load(add_, "RmRegisterResources");
    Load(list_, "RmGetList");
    Load(end_, "RmEndSession");
  }
  ~RestartManager() {
    if (module_ != nullptr) {
      FreeLibrary(module_);
    }
  }
  RestartManager(const RestartManager&) = delete;
  RestartManager& operator=(const RestartManager&) = delete;

  // The numbers of those that have the file open.
  std::vector<DWORD> UsersOf(const std::filesystem::path& file) const {
    std::vector<DWORD> users;
    DWORD session = 0;
    WCHAR key[CCH_RM_SESSION_KEY + 1] = {};
    if (!isThere_ || start_(&session, 0, key) != ERROR_SUCCESS) {
      return users;
    }
    const WCHAR* name = file.c_str();
    if (add_(session, 1, &name, 0, nullptr, 0, nullptr) == ERROR_SUCCESS) {
      users = UsersIn(session);
    }
    end_(session);
    return users;
  }

 private:
  template <class Function>
  void Load(Function*& function, const char* name) {
    if (module_ != nullptr) {
      function = reinterpret_cast<Function*>(
          reinterpret_cast<void*>(GetProcAddress(module_, name)));
    }
    isThere_ = isThere_ && function != nullptr;
  }

  std::vector<DWORD> UsersIn(DWORD session) const {
    std::vector<RM_PROCESS_INFO> room;
    UINT count = 0;
    DWORD code = ERROR_MORE_DATA;
    while (code == ERROR_MORE_DATA) {  // there may be more of them each time
      UINT needed = 0;
      DWORD reasons = 0;
      code = list_(session, &needed, &count, room.data(), &reasons);
      if (code == ERROR_MORE_DATA) {
        count = std::max(needed, count + 1);
        room.resize(count);
      }
    }
    std::vector<DWORD> users;
    for (UINT i = 0; code == ERROR_SUCCESS && i < count; ++i) {
      users.push_back(room[i].Process.dwProcessId);
    }
    return users;
  }

  HMODULE module_;
  bool isThere_ = true;
  decltype(RmStartSession)* start_ = nullptr;
  decltype(RmRegisterResources)* add_ = nullptr;
  decltype(RmGetList)* list_ = nullptr;
  decltype(RmEndSession)* end_ = nullptr;
};

// The file name of the program; empty when the system does not tell.
std::string ProgramOf(HANDLE process) {
  std::wstring path(UNICODE_STRING_MAX_CHARS, L'\0');
  DWORD length = UNICODE_STRING_MAX_CHARS;
  if (QueryFullProcessImageNameW(process, 0, path.data(), &length) == 0) {
    return "";
  }
  path.resize(length);
  std::string name;
  NameOf(std::filesystem::path(path).filename(), name);
  return name;
}

}  // namespace

bool FindProcess(std::uint32_t number, Process& found) {
  found = {number, ""};
  const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, number);
  if (process == nullptr) {
    return GetLastError() == ERROR_ACCESS_DENIED;
  }
  DWORD code = 0;
  // The system takes the last two bits of the number for nothing. A process that has
  // ended stays as long as somebody has a handle of it.
  const bool isIt = GetProcessId(process) == number &&
                    (GetExitCodeProcess(process, &code) == 0 || code == STILL_ACTIVE);
  found.name = ProgramOf(process);
  CloseHandle(process);
  return isIt;
}

std::vector<Process> WritersOf(const char* name) {
  std::vector<Process> writers;
  std::error_code error;
  const std::filesystem::path file = std::filesystem::absolute(NativePath(name), error);
  if (error) {
    return writers;
  }
  for (const DWORD number : RestartManager().UsersOf(file)) {
    Process writer;
    if (FindProcess(number, writer)) {
      writers.push_back(writer);
    }
  }
  return writers;
}

}  // namespace platform
