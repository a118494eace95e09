#include "common/temp/TempRoot.h"

#include <filesystem>

// Under Wine the files lie on drive Z:, where native tests have theirs too.
std::string TempRoot() {
  std::error_code ignored;
  if (std::filesystem::is_directory("Z:\\tmp", ignored)) {
    return "Z:\\tmp\\";
  }
  return std::filesystem::temp_directory_path().string();
}
