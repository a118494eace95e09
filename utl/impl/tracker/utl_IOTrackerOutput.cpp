#include "utl/impl/tracker/utl_IOTrackerOutput.h"

#include <io.h>
#include <share.h>

#include <utility>

namespace {

constexpr double kFlushInterval = 10.0;  // seconds
constexpr int kDigits = 6;
constexpr int kExists = 0;

void Put(std::FILE* stream, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), stream);
}

}  // namespace

utl_IOTrackerText& utl_IOTrackerText::Text(std::string_view text) {
  text_.Text(text);
  return *this;
}

utl_IOTrackerText& utl_IOTrackerText::Column(int number) {
  text_.Text(", ").Number(number);
  return *this;
}

utl_IOTrackerText& utl_IOTrackerText::Column(double number) {
  return Text(", ").Number(number);
}

utl_IOTrackerText& utl_IOTrackerText::Number(double number) {
  text_.Fixed(number, kDigits);
  return *this;
}

void utl_addColumns(utl_IOTrackerText& line, const utl_IOTrackerRecord& record) {
  line.Column(record.writeCount).Column(record.writeMB).Column(record.writeTime);
  line.Column(record.readCount).Column(record.readMB).Column(record.readTime);
}

bool utl_IOTrackerOutput::Open(const std::string& name, std::string_view head) {
  if (std::exchange(tried_, true)) return false;
  stream_.reset(_fsopen(name.c_str(), "w", _SH_DENYNO));
  Write(head);
  return stream_ != nullptr;
}

void utl_IOTrackerOutput::Write(std::string_view text) {
  if (stream_) {
    Put(stream_.get(), text);
  } else if (!everyLine_.empty() && _access(everyLine_.c_str(), kExists) == 0) {
    const Stream stream(_fsopen(everyLine_.c_str(), "a", _SH_DENYNO));
    if (stream) Put(stream.get(), text);
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
  if (stream_) std::fflush(stream_.get());
}

void utl_IOTrackerOutput::OpenForEveryLine(const std::string& name) {
  stream_.reset();
  everyLine_ = name;
}
