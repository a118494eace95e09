#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// Pairs of the library's names and the system's, which differ between the targets.

struct NativeForm {
  const char* name;
  const char* native;
};

/// Names with their native form, and paths with the library's name.
std::vector<NativeForm> NativeForms();
std::vector<NativeForm> FormsOfPaths();

struct NamelessPath {
  std::filesystem::path path;
  std::string shown;
};

/// Paths for which the library has no name, and their form in a message.
std::vector<NamelessPath> NamelessPaths();

/// The length of such a name ("Z:\d\d") as the system writes it.
std::size_t NativeLength(const std::string& name);
