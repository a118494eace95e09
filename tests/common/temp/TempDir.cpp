#include "common/temp/TempDir.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

#include "common/temp/TempRoot.h"

namespace fs = std::filesystem;

TempDir::TempDir() {
  std::random_device random;
  do {
    path_ = TempRoot() + "kst_" + std::to_string(random());
  } while (!fs::create_directory(path_));
}

TempDir::~TempDir() {
  // Windows removes no read-only file.
  std::error_code ignored;
  for (fs::recursive_directory_iterator entry(path_, ignored), end; entry != end;
       entry.increment(ignored)) {
    if (!entry->is_symlink(ignored)) {
      fs::permissions(entry->path(), fs::perms::owner_write, fs::perm_options::add,
                      ignored);
    }
  }
  fs::remove_all(path_, ignored);
}

std::string TempDir::File(const std::string& name) const {
  return (fs::path(path_) / name).string();
}

std::string TempDir::ShownPath() const {
  std::string shown = path_;
  for (char& c : shown) {
    if (c == '/') {
      c = '\\';
    }
  }
  return shown[0] == '\\' ? "Z:" + shown : shown;
}

void WriteWholeFile(const std::string& path, const std::string& bytes) {
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) {
    throw std::runtime_error("cannot write " + path);
  }
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw std::runtime_error("cannot read " + path);
  }
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool FileExists(const std::string& path) {
  return fs::exists(path);
}
