// Listing directories.
//
// Not emulated: short names (neither given nor matched), patterns that end in a dot
// and the old wildcards "<", ">" and "\"", reparse points (a link shows as what it
// leads to). A name that begins with a dot is hidden. The entries are those at the
// time of the first call, "." and ".." first, then in order without regard to case.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

#include "posix_error.h"
#include "posix_path.h"
#include "posix_status.h"

namespace posix {
namespace {

struct Search {
  std::string directory;
  std::vector<std::string> names;  // what is still to come, the next one last
};

std::mutex mutex;

// Never destroyed, as the destructors of others may still search at the end.
std::vector<std::unique_ptr<Search>>& Searches() {
  static auto& searches = *new std::vector<std::unique_ptr<Search>>;
  return searches;
}

// Small integers as file handles are, but never the number of a descriptor.
constexpr ULONG_PTR kFirstHandle = 0x20000000;

HANDLE HandleOf(size_t index) {
  return reinterpret_cast<HANDLE>(kFirstHandle + index);
}

// REQUIRES: `mutex` is held.
std::unique_ptr<Search>* FindSearch(HANDLE handle) {
  const auto value = reinterpret_cast<ULONG_PTR>(handle);
  if (value < kFirstHandle || value - kFirstHandle >= Searches().size()) return nullptr;
  std::unique_ptr<Search>& search = Searches()[value - kFirstHandle];
  return search ? &search : nullptr;
}

HANDLE Keep(std::unique_ptr<Search> search) {
  const std::lock_guard guard(mutex);
  auto& all = Searches();
  const auto slot = std::find(all.begin(), all.end(), nullptr);
  const auto index = static_cast<size_t>(slot - all.begin());
  if (slot == all.end()) all.emplace_back();
  all[index] = std::move(search);
  return HandleOf(index);
}

bool EqualLetters(char a, char b) {
  return std::tolower(static_cast<unsigned char>(a)) ==
         std::tolower(static_cast<unsigned char>(b));
}

// "*" is any text, "?" any character. Walks back to the last "*" only.
bool Matches(std::string_view name, std::string_view pattern) {
  size_t n = 0;
  size_t p = 0;
  size_t star = std::string_view::npos;
  size_t afterStar = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      afterStar = n;
    } else if (p < pattern.size() &&
               (pattern[p] == '?' || EqualLetters(pattern[p], name[n]))) {
      ++n;
      ++p;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      n = ++afterStar;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

bool IsDotOrDots(const std::string& name) {
  return name == "." || name == "..";
}

bool LessWithoutCase(char a, char b) {
  return std::toupper(static_cast<unsigned char>(a)) <
         std::toupper(static_cast<unsigned char>(b));
}

bool InOrder(const std::string& one, const std::string& other) {
  if (IsDotOrDots(one) != IsDotOrDots(other)) return IsDotOrDots(one);
  const auto before = [](const std::string& a, const std::string& b) {
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        LessWithoutCase);
  };
  return before(one, other) || (!before(other, one) && one < other);
}

DWORD List(Search& search, std::string_view pattern) {
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(search.directory.c_str()),
                                                   closedir);
  if (!stream) {
    if (errno == ENOENT) return ERROR_PATH_NOT_FOUND;
    return errno == ENOTDIR ? ERROR_INVALID_NAME : CodeFromErrno(errno);
  }
  if (pattern == "*.*") pattern = "*";
  while (const dirent* entry = readdir(stream.get())) {
    const std::string name = entry->d_name;
    const bool isRootsOwn = search.directory == "/" && IsDotOrDots(name);
    if (!isRootsOwn && name.size() < MAX_PATH && Matches(name, pattern)) {
      search.names.push_back(name);
    }
  }
  std::sort(search.names.begin(), search.names.end(), InOrder);
  std::reverse(search.names.begin(), search.names.end());
  return ERROR_SUCCESS;
}

void Fill(const std::string& name, const struct stat& status, WIN32_FIND_DATAA& data) {
  const bool isHidden = name[0] == '.' && !IsDotOrDots(name);
  const auto size = S_ISDIR(status.st_mode) ? 0 : static_cast<ULONGLONG>(status.st_size);
  data = {};
  data.dwFileAttributes = AttributesOf(status) | (isHidden ? FILE_ATTRIBUTE_HIDDEN : 0);
  data.ftCreationTime = CreationTime(status);
  data.ftLastAccessTime = FileTime(status.st_atim);
  data.ftLastWriteTime = FileTime(status.st_mtim);
  data.nFileSizeHigh = static_cast<DWORD>(size >> 32);
  data.nFileSizeLow = static_cast<DWORD>(size);
  std::memcpy(data.cFileName, name.c_str(), name.size() + 1);
}

// The next entry that still exists.
bool Next(Search& search, WIN32_FIND_DATAA& data) {
  while (!search.names.empty()) {
    const std::string name = search.names.back();
    search.names.pop_back();
    const std::string path = search.directory + "/" + name;
    struct stat status;
    if (stat(path.c_str(), &status) == 0 || lstat(path.c_str(), &status) == 0) {
      Fill(name, status, data);
      return true;
    }
  }
  return false;
}

// Splits a name into the directory, resolved, and the pattern behind it.
DWORD Split(const char* name, std::string& directory, std::string_view& pattern) {
  pattern = name == nullptr ? "" : name;
  if (pattern.empty()) return ERROR_PATH_NOT_FOUND;
  const size_t end = pattern.find_last_of("\\/:");
  std::string before;
  if (end != std::string_view::npos) {
    before = pattern.substr(0, end + 1);
    pattern.remove_prefix(end + 1);
  }
  Path resolved;
  const DWORD code = Resolve(before.empty() ? "." : before.c_str(), resolved);
  directory = resolved.path;
  return code == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : code;
}

}  // namespace
}  // namespace posix

using namespace posix;

HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data) {
  auto search = std::make_unique<Search>();
  std::string_view names;
  DWORD code = Split(pattern, search->directory, names);
  if (code == ERROR_SUCCESS) code = List(*search, names);
  if (code == ERROR_SUCCESS && !Next(*search, *data)) code = ERROR_FILE_NOT_FOUND;
  if (code != ERROR_SUCCESS) {
    SetLastError(code);
    return INVALID_HANDLE_VALUE;
  }
  return Keep(std::move(search));
}

BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) {
  const std::lock_guard guard(mutex);
  const auto* search = FindSearch(handle);
  if (search == nullptr) return Fail(ERROR_INVALID_HANDLE);
  return Next(**search, *data) ? TRUE : Fail(ERROR_NO_MORE_FILES);
}

BOOL FindClose(HANDLE handle) {
  const std::lock_guard guard(mutex);
  auto* search = FindSearch(handle);
  if (search == nullptr) return Fail(ERROR_INVALID_HANDLE);
  search->reset();
  return TRUE;
}
