#include "common/failing/posix/RecordedDisk.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <utility>

#include "common/failing/posix/FailingSystemCall.h"
#include "common/failing/Redirection.h"
#include "common/temp/TempDir.h"

namespace {

using Kind = DiskRequest::Kind;
using Identity = std::pair<dev_t, ino_t>;

// Counts a call that changes a file or its name, for DieAtCall too.
bool Fails(PosixCall call) {
  redirection::Reach();
  return redirection::Fails(call);
}

// What is being recorded.
struct Recording {
  std::string directory;
  std::vector<DiskRequest>* requests;
  std::map<Identity, int> files;  // that have a name in the directory, or had one
  int count = 0;
};

Recording* recording = nullptr;

Identity IdentityOf(const struct stat& status) {
  return {status.st_dev, status.st_ino};
}

// The number of an open file, 0 for one that is not the directory's.
int NumberOf(int fd) {
  struct stat status;
  if (recording == nullptr || fstat(fd, &status) != 0) {
    return 0;
  }
  const auto found = recording->files.find(IdentityOf(status));
  return found == recording->files.end() ? 0 : found->second;
}

// A number for a file that has just been made. One that was deleted may have had the same
// identity.
int NewNumber(const struct stat& status) {
  return recording->files[IdentityOf(status)] = ++recording->count;
}

bool IsInDirectory(const char* path) {
  std::error_code error;
  return recording != nullptr &&
         std::filesystem::equivalent(std::filesystem::path(path).parent_path(),
                                     recording->directory, error);
}

// Whether it is the directory that is recorded.
bool IsDirectory(const struct stat& status) {
  struct stat directory;
  return recording != nullptr && stat(recording->directory.c_str(), &directory) == 0 &&
         IdentityOf(status) == IdentityOf(directory);
}

std::string LastName(const char* path) {
  return std::filesystem::path(path).filename().string();
}

void Note(DiskRequest request) {
  recording->requests->push_back(std::move(request));
}

void NoteForOpen(int fd, DiskRequest request) {
  request.file = NumberOf(fd);
  if (request.file != 0) {
    Note(std::move(request));
  }
}

void NoteNewFile(const char* path) {
  struct stat status;
  if (IsInDirectory(path) && lstat(path, &status) == 0) {
    Note({Kind::kSetName, NewNumber(status), 0, {}, LastName(path)});
  }
}

}  // namespace

void DiskImage::Do(const DiskRequest& request) {
  std::string& bytes = files[request.file];
  const auto offset = static_cast<std::size_t>(request.offset);
  switch (request.kind) {
    case Kind::kWrite:
      bytes.resize(std::max(bytes.size(), offset + request.bytes.size()));
      bytes.replace(offset, request.bytes.size(), request.bytes);
      break;
    case Kind::kGrow:
      bytes.resize(std::max(bytes.size(), offset));
      break;
    case Kind::kSetSize:
      bytes.resize(offset);
      break;
    case Kind::kSetName:
      names[request.name] = request.file;
      break;
    case Kind::kRemoveName:
      names.erase(request.name);
      break;
    case Kind::kFlush:
    case Kind::kFlushNames:
      break;
  }
}

std::map<std::string, std::string> DiskImage::Contents() const {
  std::map<std::string, std::string> contents;
  for (const auto& [name, file] : names) {
    contents[name] = files.at(file);
  }
  return contents;
}

RecordedDisk::RecordedDisk(const std::string& directory) {
  recording = new Recording{directory, &requests_, {}, 0};
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    struct stat status;
    lstat(entry.path().c_str(), &status);
    const int file = NewNumber(status);
    before_.names[entry.path().filename().string()] = file;
    before_.files[file] = ReadWholeFile(entry.path().string());
  }
}

RecordedDisk::~RecordedDisk() {
  delete std::exchange(recording, nullptr);
}

// What is noted is what has succeeded.

REDIRECT(int, open, const char* path, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  struct stat status;
  const bool isNew =
      recording != nullptr && (flags & O_CREAT) != 0 && lstat(path, &status) != 0;
  if (Fails(PosixCall::kOpen)) {
    return -1;
  }
  const int fd = REAL(open)(path, flags, mode);
  if (isNew && fd >= 0) {
    NoteNewFile(path);
  }
  return fd;
}

REDIRECT(ssize_t, write, int fd, const void* bytes, size_t count) {
  const int file = NumberOf(fd);
  if (Fails(PosixCall::kWrite)) {
    return -1;
  }
  if (file == 0) {
    return REAL(write)(fd, bytes, count);
  }
  const off_t offset = lseek(fd, 0, SEEK_CUR);
  const ssize_t written = REAL(write)(fd, bytes, count);
  if (written > 0) {
    const std::string_view all(static_cast<const char*>(bytes),
                               static_cast<size_t>(written));
    Note({Kind::kWrite, file, offset, std::string(all), {}});
  }
  return written;
}

REDIRECT(int, ftruncate, int fd, off_t size) {
  if (Fails(PosixCall::kSetSize)) {
    return -1;
  }
  const int result = REAL(ftruncate)(fd, size);
  if (result == 0) {
    NoteForOpen(fd, {Kind::kSetSize, 0, size, {}, {}});
  }
  return result;
}

REDIRECT(int, fallocate, int fd, int mode, off_t from, off_t length) {
  if (Fails(PosixCall::kAllocate)) {
    return -1;
  }
  const int result = REAL(fallocate)(fd, mode, from, length);
  if (result == 0) {
    NoteForOpen(fd, {Kind::kGrow, 0, from + length, {}, {}});
  }
  return result;
}

REDIRECT(int, fsync, int fd) {
  struct stat status;
  const bool isDirectory = fstat(fd, &status) == 0 && S_ISDIR(status.st_mode);
  if (isDirectory && redirection::Fails(SystemCall::kFlushDirectory)) {
    errno = EIO;
    return -1;
  }
  if (Fails(PosixCall::kFlush)) {
    return -1;
  }
  const int result = REAL(fsync)(fd);
  if (result == 0 && isDirectory && IsDirectory(status)) {
    Note({Kind::kFlushNames, 0, 0, {}, {}});
  } else if (result == 0) {
    NoteForOpen(fd, {Kind::kFlush, 0, 0, {}, {}});
  }
  return result;
}

REDIRECT(int, rename, const char* from, const char* to) {
  if (Fails(PosixCall::kRename)) {
    return -1;
  }
  const int result = REAL(rename)(from, to);
  struct stat status;
  if (result == 0 && IsInDirectory(to) && lstat(to, &status) == 0) {
    const int file = recording->files[IdentityOf(status)];
    Note({Kind::kSetName, file, 0, {}, LastName(to)});
    Note({Kind::kRemoveName, file, 0, {}, LastName(from)});
  }
  return result;
}

REDIRECT(int, unlink, const char* path) {
  if (Fails(PosixCall::kUnlink)) {
    return -1;
  }
  const int result = REAL(unlink)(path);
  if (result == 0 && IsInDirectory(path)) {
    Note({Kind::kRemoveName, 0, 0, {}, LastName(path)});
  }
  return result;
}
