#include "platform/platform.h"

#include <windows.h>

#include <cstdlib>
#include <new>

namespace {

// The conversions of std::filesystem would take narrow text for UTF-8. What cannot be
// converted is replaced as the system's own calls replace it.

std::wstring Wide(const std::string& text) {
  const int length = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');  // no code page has more characters than bytes
  wide.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), length)));
  return wide;
}

std::string Narrow(const std::wstring& wide) {
  const int length = static_cast<int>(wide.size());
  const auto convert = [&](char* room, int size) {
    return WideCharToMultiByte(CP_ACP, 0, wide.data(), length, room, size, nullptr,
                               nullptr);
  };
  std::string text(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
  convert(text.data(), static_cast<int>(text.size()));
  return text;
}

}  // namespace

namespace platform {

std::filesystem::path NativePath(const char* name) {
  return Wide(name);
}

bool NameOf(const std::filesystem::path& path, std::string& name) {
  name = Narrow(path.native());
  return Wide(name) == path.native();
}

char* Environment(const char* name) {
  return std::getenv(name);
}

bool OpenFilesCanBeReplaced() {
  return false;
}

// Flushing a file flushes its name, too.
unsigned FlushName(const char*) {
  return ERROR_SUCCESS;
}

void* OwnersAlone() {
  return nullptr;
}

void GiveRights(void*, void*) {}

bool HaveSameRights(void*, void*) {
  return true;
}

LargeBlocks::~LargeBlocks() = default;

char* LargeBlocks::Take(std::size_t size) {
  return static_cast<char*>(::operator new(size));
}

void LargeBlocks::GiveBack(char* block, std::size_t) noexcept {
  ::operator delete(block);
}

// Windows has no such signals: the writes fail anyway.
void IgnoreSignalsOfWriting() {}

}  // namespace platform
