#include "utl/utl_DirObject.h"

#include <windows.h>

#include <string_view>
#include <utility>

#include "utl/impl/utl_EntryPaths.h"

namespace {

// Owns a search of the system, if there is one.
class ScopedSearch {
 public:
  explicit ScopedSearch(HANDLE handle) noexcept : handle_(handle) {}
  ~ScopedSearch() {
    if (IsValid()) {
      FindClose(handle_);
    }
  }
  ScopedSearch(const ScopedSearch&) = delete;
  ScopedSearch& operator=(const ScopedSearch&) = delete;

  bool IsValid() const noexcept {
    return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE;
  }
  HANDLE Get() const noexcept { return handle_; }

 private:
  HANDLE handle_;
};

bool Contains(const cow_String& name, const cow_String& text) {
  return name.Find(text) < name.Length();
}

// Every match is prepended, so that the result's order is the reverse of the list's.

void PrependMatchingFiles(const cow_List<utl_FilePath>& files, const cow_String& text,
                          cow_List<utl_FilePath>& result) {
  for (const utl_FilePath& file : files) {
    const cow_String name = file.FileName();
    if (Contains(name, text)) {
      result.Prepend(utl_FilePath(name, ""));
    }
  }
}

void PrependMatchingDirs(const cow_List<utl_FilePath>& dirs, const cow_String& text,
                         cow_List<utl_FilePath>& result) {
  for (const utl_FilePath& dir : dirs) {
    const cow_String path = dir.AbsoluteDirectoryPath();
    if (Contains(path, text)) {
      result.Prepend(utl_FilePath(path, ""));
    }
  }
}

bool HasExtension(const cow_String& name, const cow_String& extension) {
  const int dot = name.FindLast('.');
  return dot > 0 && dot < name.Length() &&
         std::string_view(name).substr(static_cast<std::size_t>(dot)) == extension;
}

}  // namespace

utl_DirObject::utl_DirObject(utl_FilePath directory) : directory_(std::move(directory)) {
  Read();
}

void utl_DirObject::Read() {
  const cow_String prefix = directory_.AbsolutePathName() + '\\';
  WIN32_FIND_DATAA entry;
  const ScopedSearch search(FindFirstFileA((prefix + '*').c_str(), &entry));
  if (!search.IsValid()) {
    return;
  }
  utl_EntryPaths paths(prefix);
  do {
    const bool isDir = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    (isDir ? dirs_ : files_).Prepend(paths.Make(entry.cFileName));
    ++(isDir ? dirCount_ : fileCount_);
  } while (FindNextFileA(search.Get(), &entry));
}

cow_List<utl_FilePath> utl_DirObject::GetAllEntries() const {
  cow_List<utl_FilePath> result;
  for (const utl_FilePath& dir : dirs_) {
    result.Prepend(dir);
  }
  for (const utl_FilePath& file : files_) {
    result.Prepend(file);
  }
  return result;
}

cow_List<utl_FilePath> utl_DirObject::GetAllFileNames() const {
  return files_;
}

cow_List<utl_FilePath> utl_DirObject::GetAllDirNames() const {
  return dirs_;
}

// The texts are taken by value, as the interface has it; a copy shares their storage.
// NOLINTBEGIN(performance-unnecessary-value-param)

cow_List<utl_FilePath> utl_DirObject::PrefixMatchFilenames(cow_String text) const {
  cow_List<utl_FilePath> result;
  PrependMatchingFiles(files_, text, result);
  return result;
}

cow_List<utl_FilePath> utl_DirObject::PrefixMatchDirNames(cow_String text) const {
  cow_List<utl_FilePath> result;
  PrependMatchingDirs(dirs_, text, result);
  return result;
}

cow_List<utl_FilePath> utl_DirObject::PrefixMatchAllEntries(cow_String text) const {
  cow_List<utl_FilePath> result;
  PrependMatchingDirs(dirs_, text, result);
  PrependMatchingFiles(files_, text, result);
  return result;
}

cow_List<utl_FilePath> utl_DirObject::FindFileNamesWithExtension(
    cow_String extension) const {
  cow_List<utl_FilePath> result;
  for (const utl_FilePath& file : files_) {
    const cow_String name = file.FileName();
    if (HasExtension(name, extension)) {
      result.Prepend(utl_FilePath(name, ""));
    }
  }
  return result;
}

// NOLINTEND(performance-unnecessary-value-param)
