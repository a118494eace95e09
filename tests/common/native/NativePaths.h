#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// What the library's names are to the system, which differs between the targets.

struct NativeForm {
  const char* name;
  const char* native;
};

/// Names and what they are; paths and what they are to the library.
std::vector<NativeForm> NativeForms();
std::vector<NativeForm> FormsOfPaths();

struct NamelessPath {
  std::filesystem::path path;
  std::string shown;
};

/// Paths for which the library has no name, and how a message shows them.
std::vector<NamelessPath> NamelessPaths();

/// The length of such a name ("Z:\d\d") as the system writes it.
std::size_t NativeLength(const std::string& name);
