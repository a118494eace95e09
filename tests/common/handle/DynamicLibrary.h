#pragma once

/// A shared library that is loaded while the program runs.
class DynamicLibrary {
 public:
  using AnyFunction = void (*)();

  explicit DynamicLibrary(const char* path);
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  /// The function of that (mangled) name; null when the library was not loaded or lacks
  /// it.
  AnyFunction Function(const char* name) const;
  /// Unloads the library; its functions must not be called any more.
  void Unload();

 private:
  void* module_;
};
