// The system's message texts: the same short ones as under Wine.
//
// Not emulated: messages of modules and from strings, inserts, languages, line
// widths, and codes that this layer never reports (they fail with code 317).

#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/posix/state/posix_error.h"

namespace posix {
namespace {

struct Message {
  DWORD code;
  const char* text;
};

constexpr Message kMessages[] = {
    {0, "Success."},
    {1, "Invalid function."},
    {2, "File not found."},
    {3, "Path not found."},
    {4, "Too many open files."},
    {5, "Access denied."},
    {6, "Invalid handle."},
    {8, "Not enough memory."},
    {17, "Not same device."},
    {18, "No more files."},
    {19, "Write protected."},
    {25, "Seek error."},
    {31, "General failure."},
    {32, "Sharing violation."},
    {33, "Lock violation."},
    {38, "End of file."},
    {80, "File exists."},
    {87, "Invalid parameter."},
    {112, "Disk full."},
    {122, "Insufficient buffer."},
    {123, "Invalid name."},
    {126, "Module not found."},
    {131, "Negative seek."},
    {183, "File already exists."},
    {206, "File name is too long."},
    {232, "Pipe closed."},
    {234, "More data available."},
    {267, "Directory name invalid."},
    {317, "Message 0x%1 not found in file %2."},
    {998, "No access to memory location."},
    {1117, "I/O device error."},
    {1317, "No such user."},
    {1784, "Invalid user buffer."},
    {1921, "The filename cannot be resolved."},
};

const char* TextOf(DWORD code) {
  for (const Message& message : kMessages) {
    if (message.code == code) {
      return message.text;
    }
  }
  return nullptr;
}

}  // namespace
}  // namespace posix

using namespace posix;

DWORD FormatMessageA(DWORD flags, LPCVOID, DWORD messageId, DWORD, LPSTR buffer,
                     DWORD size, void*) {
  const auto failed = [](DWORD code) { return static_cast<DWORD>(Fail(code)); };
  if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0) {
    return failed(ERROR_INVALID_PARAMETER);
  }
  const char* found = TextOf(messageId);
  if (found == nullptr) {
    return failed(ERROR_MR_MID_NOT_FOUND);
  }
  const std::string text = std::string(found) + "\r\n";
  if ((flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0) {
    char* block = static_cast<char*>(std::malloc(text.size() + 1));
    if (block == nullptr) {
      return failed(ERROR_NOT_ENOUGH_MEMORY);
    }
    // The caller passes the address of the pointer that is to receive the block.
    std::memcpy(buffer, &block, sizeof block);
    buffer = block;
  } else if (size <= text.size()) {
    return failed(ERROR_INSUFFICIENT_BUFFER);
  }
  std::memcpy(buffer, text.c_str(), text.size() + 1);
  return static_cast<DWORD>(text.size());
}

HLOCAL LocalFree(HLOCAL block) {
  std::free(block);
  return nullptr;
}
