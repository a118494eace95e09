#include "aio/aio_ofstream.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <cstddef>

#include "thr/thr_currentProcess.h"

namespace {

constexpr std::size_t kHeld = 65536;
constexpr std::size_t kMaxWrite = std::size_t{1} << 30;  // _write returns an int

// Read and write for all, less the umask, as for any new file.
constexpr int kForEverybody = 0666;

int Create(const char* path) {
  return _open(path, _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY, kForEverybody);
}

}  // namespace

aio_ofstream::aio_ofstream(const char* path)
    : process_(thr_currentProcess()),
      descriptor_(Create(path)),
      good_(descriptor_ >= 0) {}

aio_ofstream::~aio_ofstream() {
  close();
}

void aio_ofstream::write(const char* data, int length) {
  if (!is_open()) {
    good_ = false;
  }
  if (!good_ || length <= 0) {
    return;
  }
  held_.append(data, static_cast<std::size_t>(length));
  if (held_.size() >= kHeld) {
    flush();
  }
}

void aio_ofstream::flush() {
  if (!held_.empty() && process_ != thr_currentProcess()) {
    good_ = false;
  }
  const char* data = held_.data();
  for (std::size_t left = held_.size(); good_ && left > 0;) {
    const auto piece = static_cast<unsigned>(std::min(left, kMaxWrite));
    const int written = _write(descriptor_, data, piece);
    if (written <= 0) {
      good_ = false;  // 0 is a full disk
      break;
    }
    data += written;
    left -= static_cast<std::size_t>(written);
  }
  held_.clear();
}

void aio_ofstream::close() {
  if (!is_open()) {
    return;
  }
  flush();
  if (_close(descriptor_) != 0) {
    good_ = false;
  }
  descriptor_ = -1;
}
