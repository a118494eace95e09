#include "platform/platform.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/posix/state/posix_directory.h"
#include "platform/posix/state/posix_error.h"
#include "platform/posix/state/posix_file.h"
#include "platform/posix/state/posix_letters.h"
#include "platform/posix/state/posix_path.h"

namespace platform {
namespace {

constexpr mode_t kPermissions = 0777;
constexpr mode_t kOwnersAlone = 0600;
constexpr mode_t kGroups = 0070;

bool StatusOf(void* file, struct stat& status) {
  return fstat(posix::DescriptorOf(file), &status) == 0;
}

// The name with "/" as its separator and without the drive Z:.
std::string WithSlashes(std::string_view name) {
  if (name.size() >= 2 && name[1] == ':' && std::tolower(name[0]) == 'z') {
    name.remove_prefix(2);
  }
  std::string text(name);
  std::replace(text.begin(), text.end(), '\\', '/');
  return text;
}

std::string_view WithoutTrailingSlash(std::string_view path) {
  if (path.size() > 1 && path.ends_with('/')) {
    path.remove_suffix(1);
  }
  return path;
}

}  // namespace

std::filesystem::path NativePath(const char* name) {
  std::filesystem::path path =
      std::filesystem::path(WithSlashes(name)).lexically_normal();
  posix::Path found;
  const bool isOther = !posix::Exists(path) &&
                       posix::Resolve(name, found) == ERROR_SUCCESS &&
                       posix::Exists(found.path);
  return isOther ? std::filesystem::path(found.path) : path;
}

bool NameOf(const std::filesystem::path& path, std::string& name) {
  const std::string& text = path.native();
  const std::string rooted = path.is_absolute() ? text : '/' + text;
  const std::string normal = std::filesystem::path(rooted).lexically_normal().native();
  if (posix::ReadAs(rooted) != WithoutTrailingSlash(normal)) {
    name = text;
    return false;
  }
  name = path.is_absolute() ? posix::Shown(text) : posix::Shown(text).substr(2);
  // A second character that is a colon makes a drive of the first.
  if (!path.is_absolute() && name.size() > 1 && name[1] == ':') {
    name.insert(0, ".\\");
  }
  return true;
}

char* Environment(const char* name) {
  char* const exact = std::getenv(name);
  if (exact != nullptr || environ == nullptr) {
    return exact;
  }
  const std::string folded = posix::Folded(name);
  for (char** entry = environ; *entry != nullptr; ++entry) {
    char* const end = std::strchr(*entry, '=');
    if (end != nullptr && posix::IsFolded({*entry, end}, folded)) {
      return end + 1;
    }
  }
  return nullptr;
}

bool OpenFilesCanBeReplaced() {
  return true;
}

unsigned FlushName(const char* name) {
  posix::Path path;
  const DWORD code = posix::Resolve(name, path);
  if (code != ERROR_SUCCESS) {
    return code;
  }
  const posix::NewDescriptor directory(posix::OpenDirectory(posix::ParentOf(path.path)));
  const bool flushed =
      directory.Get() < 0 ? errno == EACCES : posix::FlushDirectory(directory.Get());
  return flushed ? ERROR_SUCCESS : posix::CodeFromErrno(errno);
}

void* OwnersAlone() {
  static mode_t permissions = kOwnersAlone;
  return &permissions;
}

void GiveRights(void* file, void* like) {
  struct stat status;
  if (!StatusOf(like, status)) {
    return;
  }
  const int fd = posix::DescriptorOf(file);
  mode_t permissions = (status.st_mode & kPermissions) | kOwnersAlone;
  if (fchown(fd, status.st_uid, status.st_gid) != 0 &&
      fchown(fd, static_cast<uid_t>(-1), status.st_gid) != 0) {
    permissions &= ~kGroups;
  }
  fchmod(fd, permissions);
}

bool HaveSameRights(void* file, void* like) {
  struct stat one;
  struct stat other;
  return StatusOf(file, one) && StatusOf(like, other) && one.st_uid == other.st_uid &&
         one.st_gid == other.st_gid &&
         ((one.st_mode ^ other.st_mode) & kPermissions) == 0;
}

void IgnoreSignalsOfWriting() {
  for (const int number : {SIGPIPE, SIGXFSZ}) {
    struct sigaction action;
    if (sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_DFL) {
      std::signal(number, SIG_IGN);
    }
  }
}

}  // namespace platform
