#pragma once

#include <string>
#include <utility>

#include "aio/aio_ostream.h"

/// Keeps what is written, a '|' for each flush.
class RecordingStream : public aio_ostream {
 public:
  void write(const char* data, int length) override {
    text_.append(data, static_cast<std::size_t>(length));
  }
  void flush() override { text_ += '|'; }
  bool good() const override { return true; }

  const std::string& Text() const { return text_; }
  /// What came since the last Take.
  std::string Take() { return std::exchange(text_, {}); }

  /// The same without the flushes.
  std::string TakeText() {
    std::string text = Take();
    std::erase(text, '|');
    return text;
  }

 private:
  std::string text_;
};
