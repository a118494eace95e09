#pragma once

// Internal to the library: what the parts of the multisection file's implementation
// share. The format is described in docs/multisection-file.md.

#include <cstdint>

#include "cow/cow_String.h"

class utl_File;
class utl_SectionDirectory;

inline constexpr unsigned char kMultisectionTag[4] = {0x28, 0xC1, 0x1D, 0xAF};
inline constexpr int kMultisectionVersion = 1;
inline constexpr int kMultisectionHeaderSize = 12;
inline constexpr int kMultisectionEntrySize = 12;  // and its name

/// Bytes are copied and checked in pieces of this size, which stay in the processor's
/// cache.
inline constexpr int kMultisectionPiece = 256 * 1024;

/// Reads header and directory from the start of `file`.
void utl_multisectionReadDirectory(utl_File& file, const cow_String& path,
                                   utl_SectionDirectory& directory);

/// What utl_MultisectionFile's saveChanges and saveChangesAtomically do.
void utl_multisectionSave(utl_File& file, const cow_String& path,
                          utl_SectionDirectory& directory);
void utl_multisectionSaveAtomically(utl_File& file, const cow_String& path,
                                    utl_SectionDirectory& directory);

/// Little-endian, whatever the machine.
inline void utl_putInt(char* to, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) {
    to[i] = static_cast<char>(value >> (8 * i) & 0xFF);
  }
}

inline std::uint32_t utl_getInt(const char* from) {
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; --i) {
    value = value << 8 | static_cast<unsigned char>(from[i]);
  }
  return value;
}
