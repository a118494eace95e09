#pragma once

// Internal to the library: what fails as utl_File does, outside its interface.

#include "cow/cow_String.h"

/// Throws utl_File's read exception for a file that ends before the bytes that are to be
/// read from it: code 38, operation "ReadFile".
[[noreturn]] void utl_fileFailAtEnd(const cow_String& path);

/// Flushes the name of a file to the disk. Throws utl_File's flush exception, operation
/// "FlushFileBuffers of the directory".
void utl_fileFlushName(const cow_String& path);
