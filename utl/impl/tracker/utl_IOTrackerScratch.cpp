#include "utl/impl/tracker/utl_IOTrackerScratch.h"

#include <direct.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

constexpr int kCurrentDrive = 0;

struct Free {
  void operator()(char* text) const { std::free(text); }
};

// "\" for "/" and small letters for the capitals of ASCII, whatever the process's
// locale.
std::string Folded(std::string_view path) {
  std::string folded(path);
  for (char& c : folded) {
    if (c == '/') {
      c = '\\';
    } else if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    }
  }
  return folded;
}

bool HasDrive(std::string_view path) {
  return path.size() >= 2 && path[0] >= 'a' && path[0] <= 'z' && path[1] == ':';
}

// "" for a drive that is not there.
std::string CurrentDirectory(int drive) {
  const std::unique_ptr<char, Free> directory(_getdcwd(drive, nullptr, 1));
  return directory ? Folded(directory.get()) : std::string();
}

// `path` is folded. "" when the current directory cannot be told.
std::string Absolute(std::string_view path) {
  if (path.starts_with("\\\\")) return std::string(path);
  const bool hasDrive = HasDrive(path);
  const std::string_view name = hasDrive ? path.substr(2) : path;
  const bool hasRoot = name.starts_with('\\');
  if (hasDrive && hasRoot) return std::string(path);
  std::string start = CurrentDirectory(hasDrive ? path[0] - 'a' + 1 : kCurrentDrive);
  if (start.empty()) return start;
  if (hasRoot) start.resize(2);
  return (start += '\\') += name;
}

}  // namespace

std::string utl_comparablePath(std::string_view path) {
  const std::string absolute = Absolute(Folded(path));
  if (absolute.empty()) return {};
  std::string result = absolute.substr(0, 2);
  const std::size_t root = result.size();
  for (std::size_t start = root; start < absolute.size();) {
    const std::size_t end = std::min(absolute.find('\\', start), absolute.size());
    const std::string_view component(absolute.data() + start, end - start);
    if (component == "..") {
      if (result.size() > root) result.resize(result.rfind('\\'));
    } else if (!component.empty() && component != ".") {
      (result += '\\') += component;
    }
    start = end + 1;
  }
  return result += '\\';
}

utl_IOTrackerScratch::utl_IOTrackerScratch(std::string_view directory)
    : directory_(directory.empty() ? std::string() : utl_comparablePath(directory)) {}

bool utl_IOTrackerScratch::Holds(std::string_view path) const {
  if (directory_.empty()) return false;
  const std::string file = utl_comparablePath(path);
  return file.size() > directory_.size() && file.starts_with(directory_);
}
