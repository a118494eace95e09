#include "utl/utl_File.h"

#include <windows.h>

#include <cstdint>
#include <exception>

#include "atr/atr_translate.h"
#include "utl/impl/ScopedHandle.h"
#include "utl/impl/utl_fileErrors.h"
#include "utl/utl_IOTracker.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_File";

// The last bytes of the file that Extend rewrites.
constexpr int kTail = 4;

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

HANDLE Create(const cow_String& path, DWORD access, DWORD shares, DWORD creation) {
  return CreateFileA(path.c_str(), access, shares, nullptr, creation,
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

// The error number of a call that answers whether it succeeded; 0 for success.
DWORD ErrorOf(BOOL succeeded) {
  return succeeded ? ERROR_SUCCESS : GetLastError();
}

// Moves the pointer by `distance` and answers the error number, 0 for success.
DWORD Move(HANDLE handle, std::int64_t distance, DWORD from, std::int64_t& position) {
  LONG high = static_cast<LONG>(distance >> 32);
  // The result alone does not tell a failure: a low half may be all ones.
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

// Where the last bytes begin, computed in double precision. What no longer fits is the
// processor's mark for it, a position that every system refuses.
std::int64_t TailOf(std::int64_t size) {
  const double tail = static_cast<double>(size) - kTail;
  return tail < 0x1p63 ? static_cast<std::int64_t>(tail) : INT64_MIN;
}

}  // namespace

void utl_fileFailAtEnd(const cow_String& path) {
  Fail<utl_FileExceptionRead>("ReadFile", ERROR_HANDLE_EOF, path, __LINE__);
}

utl_File::utl_File() = default;

utl_File::utl_File(const cow_String& path, utl_FileAccess access, utl_FileSharing sharing)
    : path_(path), access_(access), sharing_(sharing) {}

utl_File::~utl_File() noexcept(false) {
  if (!opened_) {
    return;
  }
  const DWORD code = ErrorOf(CloseHandle(handle_));
  if (code != ERROR_SUCCESS && std::uncaught_exceptions() == 0) {
    Fail<utl_FileExceptionClose>("CloseHandle", code, path_);
  }
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
  ScopedHandle handle(
      Create(path, GENERIC_READ | GENERIC_WRITE, WriterShares(sharing_), CREATE_ALWAYS));
  const DWORD code = GetLastError();
  thr_GlobalSingleton<utl_IOTracker_Container>::Instance();
  if (!handle.IsValid()) {
    Fail<utl_FileExceptionOpen>("CreateFile in OpenWrite", code, path);
  }
  return handle.Release();
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

  // How many bytes are read and written is not checked: what cannot be read is zero.
  const std::int64_t tail = TailOf(size);
  char bytes[kTail] = {};
  DWORD done = 0;
  check("SetFilePointer 3", MoveTo(handle, tail));
  check("ReadFile", ErrorOf(ReadFile(handle, bytes, kTail, &done, nullptr)));
  check("SetFilePointer 4", MoveTo(handle, tail));
  check("WriteFile", ErrorOf(WriteFile(handle, bytes, kTail, &done, nullptr)));
  check("SetFilePointer 5", MoveTo(handle, position));
}
