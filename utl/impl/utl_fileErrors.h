#pragma once

// Internal to the library: the failure of a file that its user finds.

#include "cow/cow_String.h"

/// Throws utl_File's read exception for a file that ends before the bytes that are to be
/// read from it: code 38, operation "ReadFile".
[[noreturn]] void utl_fileFailAtEnd(const cow_String& path);
