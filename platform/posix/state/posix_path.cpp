// Names of files and directories.
//
// Not emulated: drives other than Z:, the current directories of other drives,
// network names and the "\\?\" and "\\.\" prefixes (all fail with code 3), device
// names (NUL, CON, ...: plain files here), alternate data streams ("file:stream" is
// a plain name), short names (PROGRA~1), and the limit of 260 characters.

#include "platform/posix/state/posix_path.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <vector>

#include "platform/posix/state/posix_current.h"
#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_spelling.h"

namespace posix {
namespace {

constexpr std::string_view kSeparators = "\\/";
constexpr std::string_view kWildcards = "*?";

bool IsSeparator(char c) {
  return kSeparators.find(c) != std::string_view::npos;
}

bool IsForbidden(char c) {
  return static_cast<unsigned char>(c) < 0x20 ||
         std::string_view("<>\"|").find(c) != std::string_view::npos;
}

bool HasForbidden(std::string_view text, NameKind kind) {
  return std::any_of(text.begin(), text.end(), IsForbidden) ||
         (kind == NameKind::kPlain &&
          text.find_first_of(kWildcards) != std::string_view::npos);
}

struct Components {
  std::vector<std::string_view> names;
  bool separatorAtEnd = false;
};

void AddComponent(Components& components, std::string_view name, bool isFollowed) {
  components.separatorAtEnd = isFollowed;
  if (name == ".") {
    return;
  }
  if (name == "..") {
    if (!components.names.empty()) {
      components.names.pop_back();
    }
    return;
  }
  if (isFollowed && name.ends_with('.')) {
    name.remove_suffix(1);
  }
  components.names.push_back(name);
}

// Dots and blanks at the end of a whole name fall away, and with them a component that
// has nothing else: "a\ " is "a\".
void TrimEnd(Components& components) {
  if (components.separatorAtEnd || components.names.empty()) {
    return;
  }
  std::string_view& last = components.names.back();
  last = last.substr(0, last.find_last_not_of(". ") + 1);
  if (last.empty()) {
    components.names.pop_back();
    components.separatorAtEnd = true;
  }
}

Components Split(std::string_view name) {
  Components components;
  for (size_t start = 0; start < name.size();) {
    const size_t end = std::min(name.find_first_of(kSeparators, start), name.size());
    if (end > start) {
      AddComponent(components, name.substr(start, end - start), end < name.size());
    }
    start = end + 1;
  }
  TrimEnd(components);
  if (components.names.empty()) {
    components.separatorAtEnd = false;  // the root's own separator
  }
  return components;
}

// Whether a component has a forbidden character; `begin` is where the given name begins,
// before which the current directory stands. What ".." has removed does not count.
bool HasForbidden(const Components& components, const char* begin, NameKind kind) {
  const auto& names = components.names;
  for (const std::string_view& name : names) {
    const bool mayBePattern = &name == &names.back() && !components.separatorAtEnd;
    if (name.data() >= begin &&
        HasForbidden(name, mayBePattern ? kind : NameKind::kPlain)) {
      return true;
    }
  }
  return false;
}

std::string Join(const std::vector<std::string_view>& components) {
  std::string path;
  for (const std::string_view component : components) {
    (path += '/') += component;
  }
  return path.empty() ? "/" : path;
}

// The error code on an absent drive: its root is a missing path, a name in the root a
// missing file.
DWORD AbsentDriveCode(const Components& components) {
  return components.names.size() == 1 ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

// A relative name with the current directory before it; "" when that cannot be
// determined.
std::string Absolute(std::string_view name) {
  if (!name.empty() && IsSeparator(name[0])) {
    return std::string(name);
  }
  std::string whole = CurrentDirectory();
  if (!whole.empty() && !name.empty()) {
    (whole += '/') += name;
  }
  return whole;
}

}  // namespace

bool HasDrive(std::string_view name) {
  return name.size() >= 2 && name[1] == ':';
}

DWORD Read(const char* name, NameKind kind, Path& result) {
  std::string_view rest = name == nullptr ? "" : name;
  const bool isOfNetwork =
      rest.size() >= 2 && IsSeparator(rest[0]) && IsSeparator(rest[1]);
  if (isOfNetwork || rest.find_first_not_of(' ') == std::string_view::npos) {
    return HasForbidden(rest, kind) ? ERROR_INVALID_NAME : ERROR_PATH_NOT_FOUND;
  }
  const bool hasDrive = HasDrive(rest);
  const bool isAbsent = hasDrive && (rest[0] | 0x20) != 'z';
  if (hasDrive) {
    if (HasForbidden(rest.substr(0, 1), NameKind::kPlain)) {
      return ERROR_INVALID_NAME;
    }
    rest.remove_prefix(2);
  }
  const std::string whole = isAbsent ? std::string(rest) : Absolute(rest);
  if (whole.empty()) {
    return ERROR_PATH_NOT_FOUND;
  }
  const Components components = Split(whole);
  if (HasForbidden(components, whole.data() + whole.size() - rest.size(), kind)) {
    return ERROR_INVALID_NAME;
  }
  // Two are left of three dots before a separator, and no name may be that.
  const auto& names = components.names;
  if (std::find(names.begin(), names.end(), "..") != names.end()) {
    return ERROR_INVALID_NAME;
  }
  result = {Join(names), components.separatorAtEnd};
  if (isAbsent) {
    return AbsentDriveCode(components);
  }
  return ERROR_SUCCESS;
}

// errno must keep what callers' own calls have set.
DWORD Resolve(const char* name, Path& result) {
  const int number = errno;
  const DWORD code = Read(name, NameKind::kPlain, result);
  if (code == ERROR_SUCCESS) {
    result.path = Spelled(result.path);
  }
  errno = number;
  return code;
}

std::string Spelled(const std::string& path) {
  if (Exists(path) || errno == ENAMETOOLONG) {
    return path;
  }
  // What exists as it is written comes before "/" and the first other component.
  size_t end = path.rfind('/');
  while (end > 0 && !Exists(path.substr(0, end))) {
    end = path.rfind('/', end - 1);
  }
  std::string found = path.substr(0, end);
  while (end < path.size()) {
    const size_t next = std::min(path.find('/', end + 1), path.size());
    const std::string name = path.substr(end + 1, next - end - 1);
    found += '/';
    const std::string spelling = FindSpelling(found, name);
    if (spelling.empty()) {
      return found + path.substr(end + 1);
    }
    found += Exists(found + name) ? name : spelling;
    end = next;
  }
  return found;
}

std::string ReadAs(std::string_view path) {
  return Join(Split(path).names);
}

bool Exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

std::string ParentOf(const std::string& path) {
  const size_t end = path.find_last_of('/');
  return end == 0 ? "/" : path.substr(0, end);
}

DWORD MissingCode(const std::string& path) {
  struct stat status;
  const bool there =
      stat(ParentOf(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
  return there ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

DWORD CodeOfFailure(const std::string& path) {
  return errno == ENOENT ? MissingCode(path) : CodeFromErrno(errno);
}

std::string Shown(const std::string& path) {
  std::string shown = "Z:" + path;
  for (char& c : shown) {
    if (c == '/') {
      c = '\\';
    }
  }
  return shown;
}

}  // namespace posix
