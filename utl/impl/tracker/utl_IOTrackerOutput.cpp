#include "utl/impl/tracker/utl_IOTrackerOutput.h"

#include <io.h>
#include <share.h>

namespace {

constexpr double kFlushInterval = 10.0;  // seconds
constexpr int kExists = 0;

void Put(std::FILE* stream, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stream);
}

}  // namespace

bool utl_IOTrackerOutput::Open(const std::string& name, std::string_view head) {
  new_ = false;
  stream_.reset(_fsopen(name.c_str(), "w", _SH_DENYNO));
  Write(head);
  return stream_ != nullptr;
}

void utl_IOTrackerOutput::Write(std::string_view text) {
  if (stream_) {
    Put(stream_.get(), text);
  } else if (!everyLine_.empty() && _access(everyLine_.c_str(), kExists) == 0) {
    const Stream stream(_fsopen(everyLine_.c_str(), "a", _SH_DENYNO));
    if (stream) {
      Put(stream.get(), text);
    }
  }
}

void utl_IOTrackerOutput::WriteLine(std::string_view line, double now) {
  Write(line);
  if (now - lastFlush_ > kFlushInterval) {
    Flush();
    lastFlush_ = now;
  }
}

void utl_IOTrackerOutput::Flush() {
  if (stream_) {
    std::fflush(stream_.get());
  }
}

void utl_IOTrackerOutput::OpenForEveryLine(const std::string& name) {
  stream_.reset();
  everyLine_ = name;
}
