#pragma once

// Internal to the library: files that the C interface opens, and their failures.

#include "utl/impl/c/utl_cCall.h"
#include "utl/utl_File.h"

/// The same for the C++ interface. Throws kst_BadArgument for any other number.
utl_FileAccess utl_cAccess(int access);

/// Whether this failure of utl_File comes from the system's error `code`, which only its
/// text shows.
bool utl_cHasCode(const nex_TextException& failure, int code);
constexpr int kCSharingViolation = 32;
constexpr int kCEndOfFile = 38;

/// The object. Throws kst_ReadOnly if it was opened for reading.
template <class Object>
Object& utl_cWritable(utl_COpen<Object>& open) {
  if (open.isReadOnly) {
    utl_cFail(kst_ReadOnly, "opened for reading");
  }
  return open.object;
}

/// Does the work, which opens a file; kst_Locked where others do not share it.
template <class Open>
void utl_cWithOpening(Open open) {
  try {
    open();
  } catch (const utl_FileExceptionOpen& failure) {
    if (utl_cHasCode(failure, kCSharingViolation)) {
      utl_cFail(kst_Locked, failure.AsString().c_str());
    }
    throw;
  }
}
