#pragma once

// Internal to the library: what the parts of the multisection file's implementation
// share. The format is described in docs/multisection-file.md.

#include <cstddef>
#include <cstdint>

#include "atr/atr_String.h"
#include "cow/cow_String.h"
#include "utl/utl_File.h"

inline constexpr unsigned char kMultisectionTag[4] = {0x28, 0xC1, 0x1D, 0xAF};
inline constexpr int kMultisectionVersion = 1;
inline constexpr int kMultisectionHeaderSize = 12;
inline constexpr int kMultisectionEntrySize = 12;  // and the name

/// File to file, and file to checksum, in pieces that stay in the processor's cache.
inline constexpr int kMultisectionPiece = 256 * 1024;

class utl_SectionDirectory;

/// Throws the nex_TextException "PATH": MESSAGE.
[[noreturn]] void utl_MultisectionFail(const cow_String& path, const atr_String& message);

/// Throws the utl_FileExceptionRead that says that `path` ends too early.
[[noreturn]] void utl_MultisectionFailAtEnd(const cow_String& path);

/// Reads header and directory from the start of `file`.
void utl_MultisectionReadDirectory(utl_File& file, const cow_String& path,
                                   utl_SectionDirectory& directory);

/// Little-endian, whatever the machine.
inline void utl_PutInt(char* to, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) {
    to[i] = static_cast<char>(value >> (8 * i) & 0xFF);
  }
}

inline std::uint32_t utl_GetInt(const char* from) {
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; --i) {
    value = value << 8 | static_cast<unsigned char>(from[i]);
  }
  return value;
}
