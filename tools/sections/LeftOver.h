#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "utl/utl_processes.h"

/// What a save was writing to, "FILE.4711.tmp" of process 4711.
struct Temporary {
  std::filesystem::path path;
  std::uint32_t process = 0;
  std::optional<utl_Process> alive;  ///< who has this number now, on this host
  bool isWhole = false;              ///< not a byte too few or too many
};

/// What stands beside a section file while it is written, and after a crash.
struct LeftOver {
  std::filesystem::path lock;        ///< empty if there is none
  std::vector<Temporary> temporary;  ///< the newest first
};

/// Throws FileError if there is no file.
LeftOver FindLeftOver(const std::string& file);

/// Whether a program keeps others from writing the section file.
bool IsInUse(const std::string& file);
