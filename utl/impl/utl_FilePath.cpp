#include "utl/utl_FilePath.h"

#include <windows.h>

#include <direct.h>
#include <io.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <algorithm>
#include <string_view>

#include "utl/impl/text/utl_expandEnvironment.h"
#include "utl/impl/text/utl_PathText.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_UrlParser.h"

template class cow_List<utl_FilePath>;
template class cow_1DArray<utl_FilePath>;

namespace {

constexpr std::string_view kNetworkConnectors = "Network connectors";
constexpr int kPathSize = 260;
constexpr int kExists = 0;
constexpr int kMayWrite = 2;
constexpr int kMayRead = 4;

bool StartsWithOneBackslash(std::string_view directory) {
  return directory.starts_with('\\') && (directory.size() == 1 || directory[1] != '\\');
}

std::string_view WithoutLeadingBackslashes(std::string_view name) {
  name.remove_prefix(std::min(name.find_first_not_of('\\'), name.size()));
  return name.empty() ? "\\" : name;
}

bool Accessible(const cow_String& path, int mode) {
  return _access(path.c_str(), mode) == 0;
}

}  // namespace

utl_FilePath::utl_FilePath(cow_String fileName, cow_String directory) {
  SetFilePath(std::move(fileName), std::move(directory));
}

utl_FilePath::utl_FilePath(const std::filesystem::path& path) {
  SetPlainPath(utl_fromNativePath(path).Replace('/', '\\'), "");
}

utl_FilePath::operator std::filesystem::path() const {
  return utl_nativePath(AbsolutePathName());
}

utl_FilePath utl_FilePath::FromParts(cow_String directory, cow_String subdirectory,
                                     cow_String baseName, cow_String extension) {
  utl_FilePath path;
  path.directory_ = std::move(directory);
  path.subdirectory_ = std::move(subdirectory);
  path.baseName_ = std::move(baseName);
  path.extension_ = std::move(extension);
  return path;
}

void utl_FilePath::SetFilePath(cow_String fileName, cow_String directory) {
  isUrl_ = utl_UrlParser::IsUrl(fileName) || utl_UrlParser::IsUrl(directory);
  isNetworkConnector_ = false;
  if (isUrl_) {
    baseName_ = std::move(fileName);
    return;
  }
  const bool nameIsConnector = std::string_view(fileName).starts_with(kNetworkConnectors);
  if (nameIsConnector || std::string_view(directory).starts_with(kNetworkConnectors)) {
    isNetworkConnector_ = true;
    baseName_ =
        nameIsConnector ? std::move(fileName) : cow_String(kNetworkConnectors) + fileName;
    return;
  }

  directory.Replace('/', '\\');
  fileName.Replace('/', '\\');
  utl_expandEnvironment(directory);
  utl_expandEnvironment(fileName);
  SetPlainPath(fileName, directory);
}

// REQUIRES: both are separated by `\` and expanded.
void utl_FilePath::SetPlainPath(const cow_String& fileName, const cow_String& directory) {
  subdirectory_ = baseName_ = extension_ = cow_String();

  std::string_view name = fileName;
  if (name.empty() || name == ".") {
    directory_ = directory.IsEmpty() || directory == "." ? utl_getcwd() : directory;
    utl_addSeparator(directory_);
    return;
  }
  if (utl_isAbsoluteName(name)) {
    directory_ = cow_String();
  } else {
    if (utl_hasDrive(name)) {
      directory_ = CurrentDirectoryOfDrive(name[0]);
      name.remove_prefix(2);
    } else {
      directory_ = Anchor(name, directory);
      if (name.starts_with('\\')) {
        name = WithoutLeadingBackslashes(name);
      }
    }
    if (!directory_.IsEmpty()) {
      utl_addSeparator(directory_);
    }
  }
  SplitName(name);
}

// The directory for a name that has neither drive nor root.
cow_String utl_FilePath::Anchor(std::string_view name, std::string_view directory) const {
  if (utl_isAbsoluteDirectory(directory)) {
    return cow_String(directory);
  }
  if (utl_hasDrive(directory)) {
    return name.starts_with('\\') ? cow_String(directory.substr(0, 2))
                                  : CurrentDirectoryOfDrive(directory[0]);
  }
  cow_String current = utl_getcwd();
  if (StartsWithOneBackslash(directory)) {
    return current.Substr(0, 2) + directory;
  }
  return current;
}

// The current directory of a drive; the directory field, unchanged, when the system does
// not know the drive.
cow_String utl_FilePath::CurrentDirectoryOfDrive(char letter) const {
  char path[kPathSize];
  return _getdcwd(utl_driveNumber(letter), path, sizeof path) != nullptr
             ? cow_String(path)
             : directory_;
}

// Sets subdirectory, base name and extension. REQUIRES: they are empty.
void utl_FilePath::SplitName(std::string_view name) {
  const bool isDrive = name.size() == 2 && utl_hasDrive(name);
  const bool isDriveRoot = name.size() == 3 && utl_hasDriveAndRoot(name);
  const cow_String driveRoot = isDrive ? cow_String(name) + '\\' : cow_String();
  if (isDrive) {
    name = driveRoot;
  } else if (name.size() > 1 && !isDriveRoot) {
    name = utl_withoutTrailingSeparators(name);
  }

  const std::size_t separator = name.rfind('\\');
  if (separator != std::string_view::npos) {
    subdirectory_ = cow_String(name.substr(0, separator + 1));
    name.remove_prefix(separator + 1);
    if (name.empty()) {
      name = ".";
    }
  }
  const std::size_t dot = std::min(name.rfind('.'), name.size());
  baseName_ = cow_String(name.substr(0, dot));
  extension_ = cow_String(name.substr(dot));
}

utl_FilePath& utl_FilePath::Portable() {
  if (IsPlain()) {
    for (cow_String* part : {&directory_, &subdirectory_, &baseName_}) {
      part->Replace('\\', '/');
    }
  }
  return *this;
}

utl_FilePath& utl_FilePath::Native() {
  if (IsPlain()) {
    for (cow_String* part : {&directory_, &subdirectory_, &baseName_}) {
      part->Replace('/', '\\');
    }
  }
  return *this;
}

bool utl_FilePath::Exists() const {
  return !IsPlain() || Accessible(AbsolutePathName(), kExists);
}

bool utl_FilePath::IsReadable() const {
  return !IsPlain() || Accessible(AbsolutePathName(), kMayRead);
}

bool utl_FilePath::IsWriteable() const {
  if (!IsPlain()) {
    return false;
  }
  const cow_String path = AbsolutePathName();
  if (Accessible(path, kExists)) {
    return Accessible(path, kMayWrite);
  }
  const HANDLE file =
      CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (file == INVALID_HANDLE_VALUE) {
    return false;
  }
  CloseHandle(file);
  return true;
}

bool utl_FilePath::IsExecutable() const {
  return IsPlain() && (extension_ == ".exe" || extension_ == ".bat") &&
         Accessible(AbsolutePathName(), kMayRead);
}

bool utl_FilePath::IsDir() const {
  struct _stat64i32 status;
  return IsPlain() && _stat64i32(AbsolutePathName().c_str(), &status) == 0 &&
         (status.st_mode & _S_IFDIR) != 0;
}

cow_String utl_FilePath::PathName() const {
  if (!IsPlain()) {
    return baseName_;
  }
  cow_String name = cow_String::Reserved(subdirectory_.Length() + baseName_.Length() +
                                         extension_.Length());
  name += subdirectory_;
  name += baseName_;
  name += extension_;
  return name;
}

cow_String utl_FilePath::AbsolutePathName() const {
  if (!IsPlain()) {
    return baseName_;
  }
  return AbsoluteDirectoryPath() + baseName_ + extension_;
}

cow_String utl_FilePath::AbsoluteDirectoryPath() const {
  if (!IsPlain()) {
    return {};
  }
  std::string_view directory = directory_;
  if (directory.ends_with('\\') && subdirectory_[0] == '\\') {
    directory = utl_withoutTrailingSeparators(directory);
  }
  return cow_String(directory) + subdirectory_;
}

cow_String utl_FilePath::FileName() const {
  if (!IsPlain()) {
    return baseName_;
  }
  cow_String name = cow_String::Reserved(baseName_.Length() + extension_.Length());
  name += baseName_;
  name += extension_;
  return name;
}
