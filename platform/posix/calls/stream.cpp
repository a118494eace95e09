// The C run time's streams on files, over its descriptor calls, so that names are
// those of the Windows calls and the file of a closed stream is known to be closed.
//
// What a stream buffers belongs to its process: a child of fork() has a copy, which its
// exit would write a second time. So a stream writes only in the process that opened it.
//
// Not emulated: every mode but "w" and "a" (code EINVAL); text mode's line ends, which
// pass as they are; share modes but for the one that denies nothing; a stream's
// descriptor, and fseek.

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>

#include <io.h>
#include <share.h>
#include <windows.h>

namespace {

constexpr int kForEverybody = 0666;  // less the umask

struct OpenStream {
  int fd;
  DWORD process;
};

// 0 for a mode that is not emulated.
int FlagsOf(const char* mode) {
  if (std::strcmp(mode, "w") == 0) {
    return _O_TRUNC;
  }
  return std::strcmp(mode, "a") == 0 ? _O_APPEND : 0;
}

// Writes in pieces, of which a call may take a part. A result below `size` is the
// failure.
ssize_t WriteStream(void* cookie, const char* buffer, size_t size) {
  const auto* const stream = static_cast<const OpenStream*>(cookie);
  if (stream->process != GetCurrentProcessId()) {
    return static_cast<ssize_t>(size);
  }
  constexpr size_t kPiece = size_t{1} << 30;
  size_t done = 0;
  while (done < size) {
    const auto piece = static_cast<unsigned int>(std::min(size - done, kPiece));
    const int written = _write(stream->fd, buffer + done, piece);
    if (written <= 0) {
      break;
    }
    done += static_cast<size_t>(written);
  }
  return static_cast<ssize_t>(done);
}

int CloseStream(void* cookie) {
  const std::unique_ptr<OpenStream> stream(static_cast<OpenStream*>(cookie));
  return _close(stream->fd);
}

}  // namespace

FILE* _fsopen(const char* path, const char* mode, int share) {
  const int flags = FlagsOf(mode);
  if (flags == 0 || share != _SH_DENYNO) {
    errno = EINVAL;
    return nullptr;
  }
  auto opened = std::make_unique<OpenStream>(OpenStream{-1, GetCurrentProcessId()});
  opened->fd = _open(path, _O_WRONLY | _O_CREAT | flags | _O_TEXT, kForEverybody);
  if (opened->fd < 0) {
    return nullptr;
  }
  FILE* const stream =
      fopencookie(opened.get(), mode, {nullptr, WriteStream, nullptr, CloseStream});
  if (stream == nullptr) {
    _close(opened->fd);
  } else {
    static_cast<void>(opened.release());  // the stream's own from here on
  }
  return stream;
}
