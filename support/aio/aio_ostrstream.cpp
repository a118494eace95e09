#include "aio/aio_ostrstream.h"

#include <algorithm>

namespace {

// Below the size from which the heap maps every block by itself.
constexpr std::int64_t kChunk = 65536;

}  // namespace

void aio_ostrstream::WriteAcross(const char* data, int length) {
  if (!open_) {
    good_ = false;
    return;
  }
  for (std::int64_t left = length; left > 0;) {
    if (position_ == end_) {
      chunks_.push_back(std::make_unique_for_overwrite<char[]>(kChunk));
      position_ = chunks_.back().get();
      end_ = position_ + kChunk;
    }
    const std::int64_t piece = std::min<std::int64_t>(left, end_ - position_);
    std::memcpy(position_, data, static_cast<std::size_t>(piece));
    position_ += piece;
    data += piece;
    left -= piece;
  }
}

std::int64_t aio_ostrstream::length() const {
  return static_cast<std::int64_t>(chunks_.size()) * kChunk - (end_ - position_);
}

void aio_ostrstream::seekp(std::int64_t offset) {
  if (!open_ || offset < 0 || offset > length()) {
    good_ = false;
    return;
  }
  const std::int64_t chunks = (offset + kChunk - 1) / kChunk;
  chunks_.resize(static_cast<std::size_t>(chunks));
  if (chunks == 0) {
    position_ = end_ = nullptr;
    return;
  }
  end_ = chunks_.back().get() + kChunk;
  position_ = end_ - (chunks * kChunk - offset);
}

char* aio_ostrstream::adoptString(void* (*allocate)(std::size_t)) const {
  const std::int64_t size = length();
  char* const text = static_cast<char*>(allocate(static_cast<std::size_t>(size) + 1));
  if (text == nullptr) {
    return nullptr;
  }
  char* target = text;
  std::int64_t left = size;
  for (const std::unique_ptr<char[]>& chunk : chunks_) {
    const std::int64_t piece = std::min(left, kChunk);
    target = std::copy_n(chunk.get(), piece, target);
    left -= piece;
  }
  *target = '\0';
  return text;
}

void aio_ostrstream::close() {
  open_ = false;
}
