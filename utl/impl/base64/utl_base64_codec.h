#pragma once

// The implementation of utl_base64Encode and utl_base64Decode.

#include <cstddef>
#include <span>

#include "cow/cow_String.h"

/// One way to convert whole groups of 3 bytes and 4 characters. All give the same
/// results.
struct utl_Base64Kernel {
  const char* name;
  /// Writes the characters of `groups` groups of bytes.
  void (*encode)(const unsigned char* bytes, std::size_t groups, char* text) noexcept;
  /// Writes the bytes of the leading groups, at most `groups`, that consist of characters
  /// of the alphabet alone, and returns how many there were. Writes nothing after them.
  std::size_t (*decode)(const unsigned char* text, std::size_t groups,
                        unsigned char* bytes) noexcept;
  bool available;  ///< false: this processor lacks the instructions
};

/// Every kernel, the slowest (a group at a time, as the definition has it) first.
std::span<const utl_Base64Kernel> utl_base64Kernels();

/// The two functions with a given kernel and allocator.
class utl_Base64Codec {
 public:
  /// `allocate` returns blocks that ::operator delete releases, or null.
  utl_Base64Codec(const utl_Base64Kernel& kernel, void* (*allocate)(std::size_t))
      : kernel_(kernel), allocate_(allocate) {}

  cow_String Encode(const cow_String& data, bool lineBreaks) const;
  cow_String Decode(cow_String& text, bool strict) const;

 private:
  char* EncodeLine(const unsigned char* bytes, std::size_t count, char* text) const;

  const utl_Base64Kernel& kernel_;
  void* (*allocate_)(std::size_t);
};
