#pragma once

#include <cstdio>
#include <string>

/// A C stream that lends its descriptor. The run time opens it, on Linux past the
/// library, so that no share mode stands in anybody's way: for names of its own.
class Stream {
 public:
  Stream(const std::string& path, const char* mode)
      : stream_(std::fopen(path.c_str(), mode)) {}
  ~Stream() {
    if (stream_ != nullptr) {
      std::fclose(stream_);
    }
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  /// -1 if it is not open.
  int Descriptor() const { return stream_ != nullptr ? fileno(stream_) : -1; }

 private:
  std::FILE* stream_;
};
