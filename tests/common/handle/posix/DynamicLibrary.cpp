#include "common/handle/DynamicLibrary.h"

#include <dlfcn.h>

DynamicLibrary::DynamicLibrary(const char* path)
    : module_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {}

DynamicLibrary::AnyFunction DynamicLibrary::Function(const char* name) const {
  return module_ == nullptr ? nullptr
                            : reinterpret_cast<AnyFunction>(dlsym(module_, name));
}

void DynamicLibrary::Unload() {
  dlclose(module_);
}
