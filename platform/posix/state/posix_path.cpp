// Names of files and directories.
//
// Not emulated: drives other than Z:, the current directories of other drives,
// network names and the "\\?\" and "\\.\" prefixes (all fail with code 3), device
// names (NUL, CON, ...: plain files here), alternate data streams ("file:stream" is
// a plain name), short names (PROGRA~1), the limit of 260 characters, and letter
// case beyond ASCII.

#include "platform/posix/state/posix_path.h"

#include <dirent.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/posix/state/posix_error.h"

namespace posix {
namespace {

bool IsSeparator(char c) {
  return c == '\\' || c == '/';
}

bool IsForbidden(char c) {
  return static_cast<unsigned char>(c) < 0x20 ||
         std::string_view("<>\"|?*").find(c) != std::string_view::npos;
}

// Any character before a colon is taken for a drive's letter.
bool HasDrive(std::string_view name) {
  return name.size() >= 2 && name[1] == ':';
}

// What an absent drive answers: its root is a missing path, a name in the root a
// missing file.
DWORD AbsentDriveCode(std::string_view behindDrive) {
  while (!behindDrive.empty() && IsSeparator(behindDrive[0]))
    behindDrive.remove_prefix(1);
  const bool inRoot =
      !behindDrive.empty() && behindDrive.find_first_of("\\/") == std::string_view::npos;
  return inRoot ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

void AddComponent(std::vector<std::string_view>& components, std::string_view component,
                  bool isLast) {
  if (component.empty() || component == ".") return;
  if (component == "..") {
    if (!components.empty()) components.pop_back();
    return;
  }
  // Inside a name one dot at a component's end falls away; at the name's end all
  // dots and blanks do.
  if (isLast) {
    component = component.substr(0, component.find_last_not_of(". ") + 1);
  } else if (component.size() > 1 && component.back() == '.' &&
             component[component.size() - 2] != '.') {
    component.remove_suffix(1);
  }
  if (!component.empty()) components.push_back(component);
}

std::vector<std::string_view> Components(std::string_view name) {
  std::vector<std::string_view> components;
  for (size_t start = 0; start <= name.size();) {
    size_t end = name.find_first_of("\\/", start);
    if (end == std::string_view::npos) end = name.size();
    AddComponent(components, name.substr(start, end - start), end == name.size());
    start = end + 1;
  }
  return components;
}

// The entry of `directory` that differs from `name` in letter case alone, or "".
std::string FindWithoutCase(const std::string& directory, const std::string& name) {
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(directory.c_str()), closedir);
  if (!stream) return "";
  while (const dirent* entry = readdir(stream.get())) {
    if (strcasecmp(entry->d_name, name.c_str()) == 0) return entry->d_name;
  }
  return "";
}

std::string Join(const std::vector<std::string_view>& components) {
  std::string path;
  for (const std::string_view component : components) {
    (path += '/') += component;
  }
  return path.empty() ? "/" : path;
}

std::string FindExisting(const std::vector<std::string_view>& components) {
  std::string found;
  bool missing = false;
  for (const std::string_view component : components) {
    found += '/';
    std::string next(component);
    if (!missing && !Exists(found + next)) {
      const std::string other = FindWithoutCase(found, next);
      missing = other.empty();
      if (!missing) next = other;
    }
    found += next;
  }
  return found;
}

}  // namespace

DWORD Resolve(const char* name, Path& result) {
  std::string_view rest = name == nullptr ? "" : name;
  for (const char c : rest) {
    if (IsForbidden(c)) return ERROR_INVALID_NAME;
  }
  if (rest.find_first_not_of(' ') == std::string_view::npos) return ERROR_PATH_NOT_FOUND;
  if (rest.size() >= 2 && IsSeparator(rest[0]) && IsSeparator(rest[1])) {
    return ERROR_PATH_NOT_FOUND;
  }
  if (HasDrive(rest)) {
    const bool absent = (rest[0] | 0x20) != 'z';
    rest.remove_prefix(2);
    if (absent) return AbsentDriveCode(rest);
  }
  std::string whole;
  if (rest.empty() || !IsSeparator(rest[0])) {
    whole = CurrentDirectory();
    if (whole.empty()) return ERROR_PATH_NOT_FOUND;
    whole += '/';
  }
  whole += rest;
  const std::vector<std::string_view> components = Components(whole);
  result.path = Join(components);
  result.separatorAtEnd = IsSeparator(whole.back()) && !components.empty() &&
                          (!rest.empty() && IsSeparator(rest.back()));
  if (!Exists(result.path)) result.path = FindExisting(components);
  return ERROR_SUCCESS;
}

std::string ReadAs(std::string_view path) {
  return Join(Components(path));
}

bool Exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

std::string CurrentDirectory() {
  const std::unique_ptr<char, void (*)(void*)> directory(getcwd(nullptr, 0), free);
  return directory ? directory.get() : "";
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
    if (c == '/') c = '\\';
  }
  return shown;
}

}  // namespace posix
