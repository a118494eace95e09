// aio_ostrstream: an output stream into memory.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "aio/aio_ostream.h"
#include "KSTutl_export.h"

/// Collects what is written in pieces of memory that never move, so that writing stays
/// cheap however long the text grows.
///
///     aio_ostrstream out;
///     out.write("text", 4);
///     char* text = out.adoptString(&::operator new);   // "text" and a zero byte
///     ::operator delete(text);
///
/// Threads: used by one thread at a time.
class KSTUTL_EXPORT aio_ostrstream final : public aio_ostream {
 public:
  /// Fails when the stream is closed. Throws `std::bad_alloc` when there is no memory.
  void write(const char* data, int length) override {
    if (open_ && length > 0 && end_ - position_ >= length) {
      std::memcpy(position_, data, static_cast<std::size_t>(length));
      position_ += length;
    } else {
      WriteAcross(data, length);
    }
  }

  void flush() override {}
  bool good() const override { return good_; }

  /// Number of bytes of the text.
  std::int64_t length() const;

  /// Moves the write position back to `offset`, counted from the beginning. The text
  /// from there on is forgotten, so that what follows is exactly what is written next.
  /// An offset outside 0 to `length` changes nothing and is a failure.
  void seekp(std::int64_t offset);

  /// A copy of the text with a zero byte after it, in a block from `allocate` that the
  /// caller owns. The stream keeps its text. What `allocate` throws passes through; when
  /// it returns null, so does this.
  char* adoptString(void* (*allocate)(std::size_t)) const;

  /// Ends writing; the text is kept.
  void close();

  bool is_open() const { return open_; }

  // The rest is implementation.

 private:
  void WriteAcross(const char* data, int length);

  std::vector<std::unique_ptr<char[]>> chunks_;
  char* position_ = nullptr;  // in the last chunk; null while there is none
  char* end_ = nullptr;       // the last chunk's end
  bool open_ = true;
  bool good_ = true;
};
