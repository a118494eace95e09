#include "common/handle/DynamicLibrary.h"

#include <windows.h>

DynamicLibrary::DynamicLibrary(const char* path) : module_(LoadLibraryA(path)) {}

DynamicLibrary::AnyFunction DynamicLibrary::Function(const char* name) const {
  return module_ == nullptr ? nullptr
                            : reinterpret_cast<AnyFunction>(
                                  GetProcAddress(static_cast<HMODULE>(module_), name));
}

void DynamicLibrary::Unload() {
  FreeLibrary(static_cast<HMODULE>(module_));
}
