#pragma once

// Internal to the library: a failure of a file that is found outside utl_File.

#include "cow/cow_String.h"

/// Throws utl_File's read exception for a file that ends before the bytes that are to be
/// read from it: code 38, operation "ReadFile".
[[noreturn]] void utl_fileFailAtEnd(const cow_String& path);
