// A path in all its parts: drive, directory, base name, extension.

#include "utl/utl_FilePathParser.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>

#include "bench_work.h"

namespace {

constexpr char kWindows[] = "C:\\home\\user\\project\\results\\job_17.out";
constexpr char kUnix[] = "/home/user/project/results/job_17.out";

struct Parts {
  cow_String directory;
  cow_String base;
  cow_String extension;
  char drive;
};

Parts Ours(const cow_String& path) {
  return {utl_FilePathParser::DirName(path), utl_FilePathParser::BaseName(path),
          utl_FilePathParser::Extension(path), utl_FilePathParser::Drive(path)};
}

struct StandardParts {
  std::filesystem::path directory;
  std::filesystem::path base;
  std::filesystem::path extension;
  std::filesystem::path drive;
};

StandardParts Standard(const std::filesystem::path& path) {
  return {path.parent_path(), path.stem(), path.extension(), path.root_name()};
}

struct NaiveParts {
  std::string directory;
  std::string base;
  std::string extension;
  char drive = '\0';
};

NaiveParts Naive(const std::string& path) {
  NaiveParts parts;
  const bool hasDrive = path.size() > 1 && path[1] == ':';
  parts.drive = hasDrive ? static_cast<char>(std::tolower(path[0])) : '\0';
  const char separator = path.find('/') == std::string::npos ? '\\' : '/';
  const std::string rest = path.substr(hasDrive ? 2 : 0);
  const std::size_t last = rest.rfind(separator);
  const std::size_t dot = rest.rfind('.');
  parts.directory = rest.substr(0, last);
  parts.base = rest.substr(last + 1, dot - last - 1);
  parts.extension = rest.substr(dot + 1);
  return parts;
}

template <class Parts>
std::string Shown(const Parts& parts) {
  return std::string(parts.directory) + '|' + std::string(parts.base) + '|' +
         std::string(parts.extension);
}

// The standard library knows only the separators of this system.
std::string Shown(const StandardParts& parts) {
  return parts.directory.string() + '|' + parts.base.string() + '|' +
         parts.extension.string().substr(1);
}

}  // namespace

void bench::AddWorks() {
  for (const char* const path : {kWindows, kUnix}) {
    const bool windows = path == kWindows;
    const Work work(windows ? "path in parts: Windows" : "path in parts: Unix");
    work.Coding(
        "ours", [path = cow_String(path)] { return Ours(path); },
        [path] { return Shown(Ours(path)); });
    work.Coding(
        "naive", [path = std::string(path)] { return Naive(path); },
        [path] { return Shown(Naive(path)); });
    std::string native(path);
    std::replace(native.begin(), native.end(), '\\', '/');
    const std::filesystem::path standard(native);
    if (windows) {  // the drive is part of its directory
      work.Measured("std::filesystem::path", [standard] { return Standard(standard); });
    } else {
      work.Coding(
          "std::filesystem::path", [standard] { return Standard(standard); },
          [standard] { return Shown(Standard(standard)); });
    }
    work.Counted();
  }
}
