#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

/// The directory for this process's files, made on first use and removed when it ends.
///
///     const std::string path = FuzzDirectory::File("deck");
class FuzzDirectory {
 public:
  static std::string File(const std::string& name) {
    static const FuzzDirectory directory;
    return (directory.path_ / name).string();
  }

  static void Write(const std::string& path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }

  static std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  FuzzDirectory()
      : path_(std::filesystem::temp_directory_path() /
              ("kstutl_fuzz_" + std::to_string(GetCurrentProcessId()))) {
    std::filesystem::create_directory(path_);
  }
  ~FuzzDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::filesystem::path path_;
};
