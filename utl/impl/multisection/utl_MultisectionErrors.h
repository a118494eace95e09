#pragma once

// Internal to the library: the errors of a multisection file's contents.

#include <string_view>

#include "cow/cow_String.h"

/// Throws the nex_TextException "PATH": MESSAGE.
[[noreturn]] void utl_multisectionFail(const cow_String& path, const char* message);

/// Throws it for a file that is, or would be, longer than the format allows.
[[noreturn]] void utl_multisectionFailTooLong(const cow_String& path);

/// Throws it for a section whose bytes are not those of its checksum.
[[noreturn]] void utl_multisectionFailCorrupted(const cow_String& path,
                                                std::string_view section);

/// Throws it for a section that is no whole number of values of `valueSize` bytes.
[[noreturn]] void utl_multisectionFailUneven(const cow_String& path,
                                             std::string_view section, int length,
                                             unsigned valueSize);

/// Throws the nex_AssertException "PATH": There is no section "NAME".
[[noreturn]] void utl_multisectionFailAbsent(const cow_String& path,
                                             const cow_String& section);

/// Throws the nex_AssertException `text` unless `condition` holds.
void utl_multisectionAssert(bool condition, const char* text);
