#include "utl/utl_File.h"

#include <windows.h>

#include <cstdint>
#include <exception>
#include <utility>

#include "atr/atr_translate.h"
#include "platform/platform.h"
#include "utl/impl/utl_fileErrors.h"
#include "utl/impl/utl_ScopedHandle.h"
#include "utl/utl_IOTracker.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_File";

// The last bytes of the file that Extend rewrites.
constexpr int kTail = 4;

constexpr int kReplaceAttempts = 20;
constexpr DWORD kReplacePause = 10;  // milliseconds

atr_String Translated(const char* text) {
  return atr_translate(text).Result();
}

// The one way from a failed system call to its exception; `line` is the throw site's.
template <class Exception>
[[noreturn]] void Fail(const char* operation, DWORD code, const cow_String& path,
                       int line = __builtin_LINE()) {
  Exception(static_cast<int>(code), path, Translated(operation)).Throw(kSource, line);
}

std::int64_t Joined(DWORD high, DWORD low) {
  return static_cast<std::int64_t>(std::uint64_t{high} << 32 | low);
}

DWORD ReaderShares(utl_FileSharing sharing) {
  return sharing == utl_FileShareRead ? FILE_SHARE_READ
                                      : FILE_SHARE_READ | FILE_SHARE_WRITE;
}

DWORD WriterShares(utl_FileSharing sharing) {
  return sharing == utl_FileShareReadWrite ? FILE_SHARE_READ | FILE_SHARE_WRITE
                                           : FILE_SHARE_READ;
}

HANDLE Create(const cow_String& path, DWORD access, DWORD shares, DWORD creation,
              SECURITY_ATTRIBUTES* security = nullptr) {
  return CreateFileA(path.c_str(), access, shares, security, creation,
                     FILE_FLAG_RANDOM_ACCESS | FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE OpenExisting(const cow_String& path, DWORD access, DWORD shares, const char* where,
                    const char* operation) {
  HANDLE handle = Create(path, access, shares, OPEN_EXISTING);
  if (handle != INVALID_HANDLE_VALUE) {
    return handle;
  }
  const DWORD code = GetLastError();
  if (code == ERROR_FILE_NOT_FOUND) {
    utl_FileExceptionNoFile(path, Translated(where)).Throw(kSource);
  }
  Fail<utl_FileExceptionOpen>(operation, code, path);
}

// Passes on the result of a Create for writing, and makes sure that the I/O tracker's
// holder exists.
HANDLE Written(HANDLE created, const cow_String& path) {
  const DWORD code = GetLastError();
  utl_ScopedHandle handle(created);
  thr_GlobalSingleton<utl_IOTracker_Container>::Instance();
  if (!handle.IsValid()) {
    Fail<utl_FileExceptionOpen>("CreateFile in OpenWrite", code, path);
  }
  return handle.Release();
}

// Makes a file that for now only its owner may use. Fails if the name is in use and
// cannot be freed.
HANDLE CreateNew(const cow_String& path) {
  if (!DeleteFileA(path.c_str()) && GetLastError() != ERROR_FILE_NOT_FOUND) {
    return INVALID_HANDLE_VALUE;
  }
  SECURITY_ATTRIBUTES security = {sizeof security, platform::OwnersAlone(), FALSE};
  // Shared for deletion, it can be renamed while it is open.
  return Create(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                CREATE_NEW, &security);
}

bool IsInUse(DWORD code) {
  return code == ERROR_ACCESS_DENIED || code == ERROR_SHARING_VIOLATION;
}

// The error number of a call that returns whether it succeeded; 0 for success.
DWORD ErrorOf(BOOL succeeded) {
  return succeeded ? ERROR_SUCCESS : GetLastError();
}

// Moves the file's pointer by `distance` and returns the error number, 0 for success.
DWORD Move(HANDLE handle, std::int64_t distance, DWORD from, std::int64_t& position) {
  LONG high = static_cast<LONG>(distance >> 32);
  // The result alone does not show a failure: a low half may be all ones.
  SetLastError(ERROR_SUCCESS);
  const DWORD low = SetFilePointer(handle, static_cast<LONG>(distance), &high, from);
  const DWORD code = low == INVALID_SET_FILE_POINTER ? GetLastError() : ERROR_SUCCESS;
  position = Joined(static_cast<DWORD>(high), low);
  return code;
}

DWORD MoveTo(HANDLE handle, std::int64_t offset) {
  std::int64_t position = 0;
  return Move(handle, offset, FILE_BEGIN, position);
}

DWORD Rename(const cow_String& from, const cow_String& to) {
  return ErrorOf(MoveFileExA(from.c_str(), to.c_str(),
                             MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
}

using FileInformation = BY_HANDLE_FILE_INFORMATION;

// All zero for what is not a file.
FileInformation InformationOf(HANDLE file) {
  FileInformation information;
  return GetFileInformationByHandle(file, &information) ? information : FileInformation{};
}

bool LeadsTo(const cow_String& path, const FileInformation& file) {
  const utl_ScopedHandle there(
      Create(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
             OPEN_EXISTING));
  const FileInformation other = InformationOf(there.Get());
  return there.IsValid() && file.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
         file.nFileIndexHigh == other.nFileIndexHigh &&
         file.nFileIndexLow == other.nFileIndexLow;
}

// Where the last bytes begin, computed in double precision. A value that does not fit
// becomes the processor's indefinite integer, a position that every system refuses.
std::int64_t TailOf(std::int64_t size) {
  const double tail = static_cast<double>(size) - kTail;
  return tail < 0x1p63 ? static_cast<std::int64_t>(tail) : INT64_MIN;
}

}  // namespace

void utl_fileFailAtEnd(const cow_String& path) {
  Fail<utl_FileExceptionRead>("ReadFile", ERROR_HANDLE_EOF, path);
}

void utl_fileFlushName(const cow_String& path) {
  const DWORD code = platform::FlushName(path.c_str());
  if (code != ERROR_SUCCESS) {
    Fail<utl_FileExceptionFlush>("FlushFileBuffers of the directory", code, path);
  }
}

utl_File::utl_File() = default;

utl_File::utl_File(const cow_String& path, utl_FileAccess access, utl_FileSharing sharing)
    : path_(path), access_(access), sharing_(sharing) {}

utl_File::utl_File(utl_File&& other) noexcept {
  Swap(other);
}

utl_File& utl_File::operator=(utl_File&& other) noexcept(false) {
  utl_File taken(std::move(other));
  Swap(taken);  // and `taken` closes what was open here
  return *this;
}

void utl_File::Swap(utl_File& other) noexcept {
  std::swap(opened_, other.opened_);
  std::swap(handle_, other.handle_);
  std::swap(path_, other.path_);
  std::swap(access_, other.access_);
  std::swap(sharing_, other.sharing_);
}

utl_File::~utl_File() noexcept(false) {
  const DWORD code = Close();
  if (code != ERROR_SUCCESS && std::uncaught_exceptions() == 0) {
    Fail<utl_FileExceptionClose>("CloseHandle", code, path_);
  }
}

// The error number, 0 for success and for a file that is not open.
unsigned utl_File::Close() noexcept {
  const bool wasOpened = std::exchange(opened_, false);
  return wasOpened ? ErrorOf(CloseHandle(handle_)) : ERROR_SUCCESS;
}

void utl_File::Open(const cow_String& path, utl_FileAccess access,
                    utl_FileSharing sharing) {
  path_ = path;
  access_ = access;
  sharing_ = sharing;
  Init();
}

void utl_File::Init() {
  Handle();
}

void utl_File::Release() {
  if (access_ == utl_FileAccessWrite) {
    access_ = utl_FileAccessUpdate;
  }
  const DWORD code = Close();
  if (code != ERROR_SUCCESS) {
    Fail<utl_FileExceptionClose>("CloseHandle", code, path_);
  }
}

void utl_File::Renew() {
  if (opened_ && !LeadsTo(path_, InformationOf(handle_))) {
    Release();
    Init();
  }
}

void* utl_File::Handle() const {
  if (!opened_) {
    switch (access_) {
      case utl_FileAccessRead:
        handle_ = OpenRead(path_);
        break;
      case utl_FileAccessUpdate:
        handle_ = OpenUpdate(path_);
        break;
      case utl_FileAccessWrite:
        handle_ = OpenWrite(path_);
        break;
    }
    opened_ = true;
  }
  return handle_;
}

void* utl_File::OpenRead(const cow_String& path) const {
  return OpenExisting(path, GENERIC_READ, ReaderShares(sharing_), "in OpenRead",
                      "CreateFile in OpenRead");
}

void* utl_File::OpenUpdate(const cow_String& path) const {
  return OpenExisting(path, GENERIC_READ | GENERIC_WRITE, WriterShares(sharing_),
                      "in OpenUpdate", "CreateFile in OpenUpdate");
}

void* utl_File::OpenWrite(const cow_String& path) const {
  return Written(
      Create(path, GENERIC_READ | GENERIC_WRITE, WriterShares(sharing_), CREATE_ALWAYS),
      path);
}

void utl_File::Seek(const utl_FileOffset& offset) {
  const DWORD code = MoveTo(Handle(), offset);
  if (code != ERROR_SUCCESS) {
    Fail<utl_FileExceptionSeek>("SetFilePointer", code, path_);
  }
}

utl_FileOffset utl_File::Location() const {
  std::int64_t position = 0;
  const DWORD code = Move(Handle(), 0, FILE_CURRENT, position);
  if (code != ERROR_SUCCESS) {
    Fail<utl_FileExceptionLocation>("SetFilePointer", code, path_);
  }
  return position;
}

void utl_File::Flush() {
  if (access_ == utl_FileAccessRead) {
    utl_FileExceptionFlush(path_, Translated("attempt to flush a read-only file."))
        .Throw(kSource);
  }
  if (!FlushFileBuffers(Handle())) {
    Fail<utl_FileExceptionFlush>("FlushFileBuffers", GetLastError(), path_);
  }
}

int utl_File::Read(char* buffer, int count) {
  if (count < 0) {
    Fail<utl_FileExceptionRead>("ReadFile", ERROR_INVALID_PARAMETER, path_);
  }
  DWORD done = 0;
  if (!ReadFile(Handle(), buffer, static_cast<DWORD>(count), &done, nullptr)) {
    Fail<utl_FileExceptionRead>("ReadFile", GetLastError(), path_);
  }
  return static_cast<int>(done);
}

int utl_File::Write(const char* buffer, int count) {
  const int written = WriteShortAllowed(buffer, count);
  if (written < count) {
    utl_FileExceptionFull(path_).Throw(kSource);
  }
  return written;
}

int utl_File::WriteShortAllowed(const char* buffer, int count) {
  if (access_ == utl_FileAccessRead) {
    utl_FileExceptionWrite(path_, Translated("attempt to write to a read-only file."))
        .Throw(kSource);
  }
  if (count < 0) {
    Fail<utl_FileExceptionWrite>("WriteFile", ERROR_INVALID_PARAMETER, path_);
  }
  DWORD done = 0;
  if (!WriteFile(Handle(), buffer, static_cast<DWORD>(count), &done, nullptr)) {
    Fail<utl_FileExceptionWrite>("WriteFile", GetLastError(), path_);
  }
  return static_cast<int>(done);
}

utl_FileOffset utl_File::FileSize() const {
  HANDLE handle = Handle();
  DWORD high = 0;
  SetLastError(ERROR_SUCCESS);  // as for SetFilePointer
  const DWORD low = GetFileSize(handle, &high);
  const DWORD code = low == INVALID_FILE_SIZE ? GetLastError() : ERROR_SUCCESS;
  if (code != ERROR_SUCCESS) {
    Fail<utl_FileExceptionSize>("GetFileSize", code, path_);
  }
  return Joined(high, low);
}

void utl_File::Extend(const utl_FileOffset& size) {
  if (access_ == utl_FileAccessRead) {
    nex_TextException(
        Translated("utl_File::Extend - attempt to extend a read-only file."))
        .Throw(kSource);
  }
  HANDLE handle = Handle();
  const auto check = [this](const char* operation, DWORD code,
                            int line = __builtin_LINE()) {
    if (code != ERROR_SUCCESS) {
      Fail<utl_FileExceptionExtend>(operation, code, path_, line);
    }
  };
  std::int64_t position = 0;
  check("SetFilePointer 1", Move(handle, 0, FILE_CURRENT, position));
  check("SetFilePointer 2", MoveTo(handle, size));
  check("SetEndOfFile", ErrorOf(SetEndOfFile(handle)));

  // The numbers of bytes read and written are not checked: bytes that cannot be read
  // count as zero.
  const std::int64_t tail = TailOf(size);
  char bytes[kTail] = {};
  DWORD done = 0;
  check("SetFilePointer 3", MoveTo(handle, tail));
  check("ReadFile", ErrorOf(ReadFile(handle, bytes, kTail, &done, nullptr)));
  check("SetFilePointer 4", MoveTo(handle, tail));
  check("WriteFile", ErrorOf(WriteFile(handle, bytes, kTail, &done, nullptr)));
  check("SetFilePointer 5", MoveTo(handle, position));
}

void utl_File::OpenNew(const cow_String& path, const utl_File& original) {
  void* const like = original.Handle();
  handle_ = Written(CreateNew(path), path);
  opened_ = true;
  path_ = path;
  access_ = utl_FileAccessUpdate;
  sharing_ = utl_FileShareDefault;
  platform::GiveRights(handle_, like);
}

void utl_File::Replace(utl_File& target) {
  target.Write("", 0);  // refuses a file opened for reading
  if (!platform::HaveSameRights(handle_, target.handle_)) {
    Fail<utl_FileExceptionWrite>("rights in Replace", ERROR_ACCESS_DENIED, target.path_);
  }
  target.access_ = utl_FileAccessUpdate;  // reopening must not empty it
  // Wine no longer knows the volume of a file that has replaced another one.
  const FileInformation self = InformationOf(handle_);
  const DWORD code = RenameOver(target);
  if (code != ERROR_SUCCESS && !LeadsTo(target.path_, self)) {
    target.TryToOpen();
    Fail<utl_FileExceptionWrite>("MoveFileEx in Replace", code, target.path_);
  }
  std::swap(opened_, target.opened_);
  std::swap(handle_, target.handle_);
  path_ = target.path_;
  if (code != ERROR_SUCCESS) {
    Fail<utl_FileExceptionFlush>("MoveFileEx in Replace", code, path_);
  }
}

// Returns the error number. The file of `target` is closed only where necessary, so that
// nobody else opens it for writing meanwhile. If closing fails, the renaming shows it.
unsigned utl_File::RenameOver(utl_File& target) {
  if (!platform::OpenFilesCanBeReplaced()) {
    target.Close();
  }
  DWORD code = Rename(path_, target.path_);
  for (int tries = 1; IsInUse(code) && tries < kReplaceAttempts; ++tries) {
    Sleep(kReplacePause);
    code = Rename(path_, target.path_);
  }
  return code;
}

// Opens the file again. If that fails, the next operation reports it.
void utl_File::TryToOpen() {
  try {
    Init();
  } catch (const nex_TextException&) {
    opened_ = false;
  }
}
