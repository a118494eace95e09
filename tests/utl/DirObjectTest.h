#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "utl/utl_DirObject.h"

using Texts = std::vector<std::string>;

/// The directory of a name.
inline utl_DirObject Listing(const std::string& directory) {
  return utl_DirObject(utl_FilePath(directory.c_str(), ""));
}

/// What a query of a path gives, for every path of a list:
///
///     Each(listing.GetAllFileNames(), &utl_FilePath::FileName)
inline Texts Each(const cow_List<utl_FilePath>& paths,
                  cow_String (utl_FilePath::*query)() const) {
  Texts texts;
  for (const utl_FilePath& path : paths) {
    texts.emplace_back((path.*query)().c_str());
  }
  return texts;
}

inline Texts AbsoluteNames(const cow_List<utl_FilePath>& paths) {
  return Each(paths, &utl_FilePath::AbsolutePathName);
}

inline Texts FileNames(const cow_List<utl_FilePath>& paths) {
  return Each(paths, &utl_FilePath::FileName);
}

inline Texts Reversed(const Texts& texts) {
  return {texts.rbegin(), texts.rend()};
}

inline Texts Joined(Texts first, const Texts& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// A directory for the listings of a test, and what the system's own calls tell of it.
class DirObjectTest : public testing::Test {
 protected:
  void MakeFiles(std::initializer_list<const char*> names) const {
    for (const char* name : names) {
      WriteWholeFile(dir_.File(name), "");
    }
  }
  void MakeDirectories(std::initializer_list<const char*> names) const {
    for (const char* name : names) {
      std::filesystem::create_directory(dir_.File(name));
    }
  }

  /// The names in enumeration order.
  Texts FilesInOrder() const { return InOrder(0); }
  Texts DirsInOrder() const { return InOrder(FILE_ATTRIBUTE_DIRECTORY); }

  /// The absolute names of entries.
  Texts Below(const Texts& names) const {
    Texts paths;
    for (const std::string& name : names) {
      paths.push_back(dir_.ShownPath() + "\\" + name);
    }
    return paths;
  }

  utl_DirObject List() const { return Listing(dir_.ShownPath()); }

  TempDir dir_;

 private:
  Texts InOrder(DWORD attribute) const {
    Texts names;
    WIN32_FIND_DATAA data;
    HANDLE search = FindFirstFileA((dir_.ShownPath() + "\\*").c_str(), &data);
    EXPECT_NE(search, INVALID_HANDLE_VALUE);
    do {
      if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == attribute) {
        names.emplace_back(data.cFileName);
      }
    } while (FindNextFileA(search, &data));
    FindClose(search);
    return names;
  }
};
