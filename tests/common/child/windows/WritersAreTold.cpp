#include "common/child/WritersAreTold.h"

#include <windows.h>

bool WritersAreTold() {
  return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr;
}
