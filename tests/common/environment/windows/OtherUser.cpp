#include "common/environment/OtherUser.h"

#include <windows.h>

// Under Wine the rights are those of the user whom the emulator runs as: root may
// write everywhere, and a process cannot become another.
bool BecomeOtherUser() {
  const HANDLE handle = CreateFileA("Z:\\root\\", GENERIC_READ, 7, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    return true;
  }
  CloseHandle(handle);
  return false;
}

bool GiveToOtherUser(const std::string&) {
  return false;
}

void ForbidCreation(const std::string& directory) {
  SetFileAttributesA(directory.c_str(), FILE_ATTRIBUTE_READONLY);
}

void AllowCreation(const std::string& directory) {
  SetFileAttributesA(directory.c_str(), FILE_ATTRIBUTE_NORMAL);
}
