#include "common/handle/BytesOnDisk.h"

#include <windows.h>

#include <stdexcept>

std::int64_t BytesOnDisk(const std::string& path) {
  DWORD high = 0;
  const DWORD low = GetCompressedFileSizeA(path.c_str(), &high);
  if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) {
    throw std::runtime_error("no file");
  }
  return static_cast<std::int64_t>(high) << 32 | low;
}
