// The one value of the registry that the library asks for: the clock rate of
// processor 0.
//
// Not emulated: every other key and value (code 2), the access asked for, and the
// closing of keys (a closed one still answers).

#include <strings.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include <windows.h>

namespace {

constexpr char kProcessor[] = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";
const HKEY kProcessorKey = reinterpret_cast<HKEY>(ULONG_PTR{4});

// In MHz, 0 when the system does not report it.
DWORD ClockRate() {
  std::ifstream processors("/proc/cpuinfo");
  for (std::string line; std::getline(processors, line);) {
    const size_t colon = line.find(':');
    if (line.starts_with("cpu MHz") && colon != std::string::npos) {
      return static_cast<DWORD>(std::strtod(line.c_str() + colon + 1, nullptr));
    }
  }
  return 0;
}

LSTATUS Code(DWORD code) {
  return static_cast<LSTATUS>(code);
}

}  // namespace

LSTATUS RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD, DWORD, HKEY* result) {
  if (key != HKEY_LOCAL_MACHINE || strcasecmp(subKey, kProcessor) != 0) {
    return Code(ERROR_FILE_NOT_FOUND);
  }
  *result = kProcessorKey;
  return Code(ERROR_SUCCESS);
}

LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD, LPDWORD type, LPBYTE data,
                         LPDWORD size) {
  if (key != kProcessorKey) {
    return Code(ERROR_INVALID_HANDLE);
  }
  const DWORD rate = ClockRate();
  if (strcasecmp(name, "~MHz") != 0 || rate == 0) {
    return Code(ERROR_FILE_NOT_FOUND);
  }
  if (type != nullptr) {
    *type = REG_DWORD;
  }
  if (size == nullptr) {
    return Code(ERROR_SUCCESS);
  }
  const bool fits = *size >= sizeof rate;
  *size = sizeof rate;
  if (data == nullptr) {
    return Code(ERROR_SUCCESS);
  }
  if (!fits) {
    return Code(ERROR_MORE_DATA);
  }
  std::memcpy(data, &rate, sizeof rate);
  return Code(ERROR_SUCCESS);
}

LSTATUS RegCloseKey(HKEY key) {
  return Code(key == kProcessorKey ? ERROR_SUCCESS : ERROR_INVALID_HANDLE);
}
