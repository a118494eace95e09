#pragma once

#include <string>

#include "common/expect/ExpectThrow.h"
#include "omi/omi_SystemErrorCode.h"

/// The text of a file exception of a failed call: `head` is what stands before the
/// parenthesis.
///
///     CallText("*** Error: Seek failed", "SetFilePointer", 131, path)
inline std::string CallText(const std::string& head, const std::string& operation,
                            int code, const std::string& path) {
  return head + " (utl_File: " + operation +
         ")\nerror: " + omi_SystemErrorCode(omi_SystemErrorCode::kSystem, code).Text() +
         "\nfile: " + path;
}

/// The statement throws `Class` with this text, from somewhere in utl_File.
#define EXPECT_FILE_ERROR(statement, Class, text) \
  EXPECT_THROW_FROM(statement, Class, text, "utl/impl/utl_File")
