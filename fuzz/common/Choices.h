#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

/// An input read as decisions: what is not there any more counts as zero.
class Choices {
 public:
  Choices(const std::uint8_t* data, std::size_t size)
      : left_(reinterpret_cast<const char*>(data), size) {}

  bool AtEnd() const { return left_.empty(); }

  /// The image of a number in memory.
  template <class Value>
  Value Take() {
    Value value{};
    const std::string_view bytes = TakeBytes(sizeof value);
    std::memcpy(&value, bytes.data(), bytes.size());
    return value;
  }

  /// A number below `end`, which is 256 at most.
  int Below(int end) { return Take<std::uint8_t>() % end; }

  std::string_view TakeBytes(std::size_t count) {
    const std::string_view bytes = left_.substr(0, count);
    left_.remove_prefix(bytes.size());
    return bytes;
  }

 private:
  std::string_view left_;
};
