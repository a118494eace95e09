// The command line for callers in other languages: five functions with C linkage that ask
// the process's utl_CommandLine. Fortran programs use the module in kst_utl.f90.
//
// The three names in capitals follow the convention for by-reference languages: every
// argument is a pointer, a text is not terminated but padded with blanks, and its length
// in bytes is passed by value after all other arguments (below 0 counts as 0). They
// strip blanks from both ends of an option's name; the other two take it as it is.
//
// Apart from one case nothing throws: a missing option shows in the result.
//
// Threads: any.

#pragma once

#include "KSTutl_export.h"

extern "C" {

/// Sets `value` to the option's value as a number (see utl_CommandLine for one that does
/// not fit); 0 when the option is absent or has no value. Throws
/// utl_CmdLineArgFormatException, which a foreign caller cannot catch, when the value has
/// a character that is not a digit.
KSTUTL_EXPORT void UTL_COMMANDLINEINTEGER(const char* name, int* value, int nameLength);

/// Sets `status` to 0 when the option is given and to 1 when it is not: a status, not a
/// truth value.
KSTUTL_EXPORT void UTL_COMMANDLINEISMEMBER(const char* name, int* status, int nameLength);

/// Does what utl_CommandLineStringC does for the stripped name; `status` is its result.
KSTUTL_EXPORT void UTL_COMMANDLINESTRING(const char* name, char* value, int* status,
                                         int nameLength, int valueLength);

/// Copies the option's value to `buffer`, fills the rest of the `length` bytes with
/// blanks and returns the value's length. No terminating zero is written. Returns 0 and
/// leaves the buffer alone when the option is absent or its value is longer than
/// `length`; 0 can also be the length of an empty value. REQUIRES: `length` bytes.
///
/// "beam" in 8 bytes: "beam    ", result 4.
KSTUTL_EXPORT int utl_CommandLineStringC(const char* name, char* buffer, int length);

/// Copies the option's value and a terminating zero to `buffer` and returns the value's
/// length; 0, with the buffer left alone, when the option is absent.
/// REQUIRES: a buffer that is large enough for any argument; its size is not checked.
KSTUTL_EXPORT int utl_getArgs(const char* name, char* buffer);
}
