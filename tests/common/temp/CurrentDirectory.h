#pragma once

#include <filesystem>

/// Makes `path` the current directory for as long as the object lives, then goes back.
class CurrentDirectory {
 public:
  explicit CurrentDirectory(const std::filesystem::path& path)
      : earlier_(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~CurrentDirectory() { std::filesystem::current_path(earlier_); }
  CurrentDirectory(const CurrentDirectory&) = delete;
  CurrentDirectory& operator=(const CurrentDirectory&) = delete;

 private:
  std::filesystem::path earlier_;
};
