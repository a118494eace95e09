// Listing directories.
//
// Not emulated: all that an entry has beside its name and its attributes directory,
// hidden (a name that begins with a dot), archive (any that is no directory) and reparse
// point (a link to a directory): the directory itself mostly has these, and a listing is
// several times faster than with a look at every entry. Short names (neither given nor
// matched) and the old wildcards "<", ">" and "\"". A link shows as what it points to,
// and as a file when that is nothing. Names of 260 bytes and more, which some file
// systems have, are left out: there is no place for them. The order is the directory's
// own. One search is used by one thread at a time.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_letters.h"
#include "platform/posix/state/posix_path.h"

namespace posix {
namespace {

constexpr size_t kMostSearches = 4096;
constexpr size_t kRecordsSize = size_t{32} * 1024;

struct Search {
  Search() = default;
  ~Search() {
    if (fd >= 0) {
      close(fd);
    }
  }
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  int fd = -1;
  std::string directory;
  std::string pattern;  // folded
  bool takesAll = false;
  // The records that the system has returned, and the part that is still to be used.
  ssize_t begin = 0;
  ssize_t end = 0;
  alignas(dirent64) char records[kRecordsSize];
};

// Small integers as file handles are, but never the number of a descriptor.
constexpr ULONG_PTR kFirstHandle = 0x20000000;

// The open searches; a handle gives the place.
std::array<std::atomic<Search*>, kMostSearches> searches;

// Null for anything but the handle of a search.
std::atomic<Search*>* PlaceOf(HANDLE handle) {
  const ULONG_PTR place = reinterpret_cast<ULONG_PTR>(handle) - kFirstHandle;
  return place < searches.size() ? &searches[place] : nullptr;
}

HANDLE Keep(std::unique_ptr<Search> search) {
  for (size_t place = 0; place < searches.size(); ++place) {
    Search* none = nullptr;
    if (searches[place].compare_exchange_strong(none, search.get())) {
      static_cast<void>(search.release());
      return reinterpret_cast<HANDLE>(kFirstHandle + place);
    }
  }
  SetLastError(ERROR_TOO_MANY_OPEN_FILES);
  return INVALID_HANDLE_VALUE;
}

// "*" is any text, "?" any byte. Walks back to the last "*" only.
bool Matches(std::string_view name, std::string_view pattern) {
  size_t n = 0;
  size_t p = 0;
  size_t star = std::string_view::npos;
  size_t afterStar = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      afterStar = n;
    } else if (p < pattern.size() && (pattern[p] == '?' || pattern[p] == name[n])) {
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

bool IsDotOrDots(const char* name) {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

bool IsListed(const Search& search, const char* name) {
  if (IsDotOrDots(name) && search.directory == "/") {
    return false;
  }
  return search.takesAll || Matches(Folded(name), search.pattern);
}

DWORD Open(Search& search) {
  const char* directory = search.directory.c_str();
  search.fd =
      Retried([&] { return open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
  if (search.fd >= 0) {
    return ERROR_SUCCESS;
  }
  if (errno != ENOENT && errno != ENOTDIR) {
    return CodeFromErrno(errno);
  }
  return Exists(search.directory) ? ERROR_INVALID_NAME : ERROR_PATH_NOT_FOUND;
}

// Reads on when all records have been used. A directory that has been removed counts as
// ended.
DWORD Refill(Search& search) {
  if (search.begin < search.end) {
    return ERROR_SUCCESS;
  }
  search.begin = search.end = 0;
  const ssize_t size =
      Retried([&] { return getdents64(search.fd, search.records, kRecordsSize); });
  if (size < 0 && errno != ENOENT) {
    return CodeFromErrno(errno);
  }
  if (size <= 0) {
    return ERROR_NO_MORE_FILES;
  }
  search.end = size;
  return ERROR_SUCCESS;
}

// REQUIRES: there is a record.
const dirent64& TakeRecord(Search& search) {
  const auto* record = reinterpret_cast<const dirent64*>(search.records + search.begin);
  search.begin += record->d_reclen;
  return *record;
}

// Whether the entry, or what a link leads to, is a directory.
bool IsDirectory(const Search& search, const dirent64& entry) {
  if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) {
    return entry.d_type == DT_DIR;
  }
  struct stat status;
  return fstatat(search.fd, entry.d_name, &status, 0) == 0 && S_ISDIR(status.st_mode);
}

DWORD AttributesOf(const Search& search, const dirent64& entry) {
  const bool isHidden = entry.d_name[0] == '.' && !IsDotOrDots(entry.d_name);
  const DWORD attributes = isHidden ? FILE_ATTRIBUTE_HIDDEN : 0;
  if (!IsDirectory(search, entry)) {
    return attributes | FILE_ATTRIBUTE_ARCHIVE;
  }
  return attributes | FILE_ATTRIBUTE_DIRECTORY |
         (entry.d_type == DT_LNK ? FILE_ATTRIBUTE_REPARSE_POINT : 0);
}

constexpr size_t kNameSize = sizeof WIN32_FIND_DATAA::cFileName;

// The record's length saves measuring most names: it is the name's or a little more.
size_t RoomOf(const dirent64& entry) {
  return entry.d_reclen - offsetof(dirent64, d_name);
}

bool Fits(const dirent64& entry) {
  return RoomOf(entry) <= kNameSize || std::strlen(entry.d_name) < kNameSize;
}

// The next entry; 0, or the code with which the listing ends.
DWORD Next(Search& search, WIN32_FIND_DATAA& data) {
  for (;;) {
    const DWORD code = Refill(search);
    if (code != ERROR_SUCCESS) {
      return code;
    }
    const dirent64& entry = TakeRecord(search);
    if (!Fits(entry) || !IsListed(search, entry.d_name)) {
      continue;
    }
    data.dwFileAttributes = AttributesOf(search, entry);
    std::memcpy(data.cFileName, entry.d_name, std::min(RoomOf(entry), kNameSize));
    return ERROR_SUCCESS;
  }
}

// Splits a name into the directory, with its spelling, and the pattern after it.
DWORD Split(const char* name, std::string& directory, std::string& pattern) {
  Path whole;
  const DWORD code = Read(name, NameKind::kPattern, whole);
  if (code != ERROR_SUCCESS) {
    return code == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : code;
  }
  if (whole.separatorAtEnd || whole.path == "/") {
    return ERROR_FILE_NOT_FOUND;
  }
  directory = Spelled(ParentOf(whole.path));
  pattern = whole.path.substr(whole.path.rfind('/') + 1);
  return ERROR_SUCCESS;
}

}  // namespace
}  // namespace posix

using namespace posix;

HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data) {
  std::unique_ptr<Search> search(new Search);  // records are left uninitialized
  DWORD code = Split(pattern, search->directory, search->pattern);
  search->pattern = Folded(search->pattern);
  search->takesAll = search->pattern == "*" || search->pattern == "*.*";
  if (code == ERROR_SUCCESS) {
    code = Open(*search);
  }
  if (code == ERROR_SUCCESS) {
    code = Next(*search, *data);
  }
  if (code == ERROR_SUCCESS) {
    return Keep(std::move(search));
  }
  SetLastError(code == ERROR_NO_MORE_FILES ? ERROR_FILE_NOT_FOUND : code);
  return INVALID_HANDLE_VALUE;
}

BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) {
  const auto* place = PlaceOf(handle);
  Search* search = place == nullptr ? nullptr : place->load();
  const DWORD code = search == nullptr ? ERROR_INVALID_HANDLE : Next(*search, *data);
  return code == ERROR_SUCCESS ? TRUE : Fail(code);
}

BOOL FindClose(HANDLE handle) {
  auto* place = PlaceOf(handle);
  const std::unique_ptr<Search> search(place == nullptr ? nullptr
                                                        : place->exchange(nullptr));
  return search ? TRUE : Fail(ERROR_INVALID_HANDLE);
}
