#pragma once

#include <string>

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
