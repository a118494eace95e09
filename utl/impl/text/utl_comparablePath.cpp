#include "utl/impl/text/utl_comparablePath.h"

#include <direct.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "utl/impl/text/utl_PathText.h"

namespace {

constexpr int kCurrentDrive = 0;

struct Free {
  void operator()(char* text) const { std::free(text); }
};

std::string Folded(std::string_view path) {
  std::string folded(path);
  for (char& c : folded) {
    c = c == '/' ? '\\' : utl_smallLetter(c);
  }
  return folded;
}

// "" for a drive that does not exist.
std::string CurrentDirectory(int drive) {
  const std::unique_ptr<char, Free> directory(_getdcwd(drive, nullptr, 1));
  return directory ? Folded(directory.get()) : std::string();
}

// `path` is folded. "" when the current directory cannot be determined.
std::string Absolute(std::string_view path) {
  const bool hasDrive = utl_hasDrive(path);
  if (utl_hasHostStart(path) || utl_hasDriveAndRoot(path)) {
    return std::string(path);
  }
  const std::string_view name = hasDrive ? path.substr(2) : path;
  std::string start =
      CurrentDirectory(hasDrive ? utl_driveNumber(path[0]) : kCurrentDrive);
  if (start.empty()) {
    return start;
  }
  if (name.starts_with('\\')) {
    start.resize(2);
  }
  return (start += '\\') += name;
}

}  // namespace

std::string utl_comparablePath(std::string_view path) {
  const std::string absolute = Absolute(Folded(path));
  if (absolute.empty()) {
    return {};
  }
  std::string result = absolute.substr(0, 2);
  const std::size_t root = result.size();
  for (std::size_t start = root; start < absolute.size();) {
    const std::size_t end = std::min(absolute.find('\\', start), absolute.size());
    const std::string_view component(absolute.data() + start, end - start);
    if (component == "..") {
      if (result.size() > root) {
        result.resize(result.rfind('\\'));
      }
    } else if (!component.empty() && component != ".") {
      (result += '\\') += component;
    }
    start = end + 1;
  }
  return result += '\\';
}
