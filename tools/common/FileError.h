#pragma once

#include <stdexcept>
#include <string>

/// Something about a file that keeps the tool from doing its work: "FILE: TEXT".
class FileError : public std::runtime_error {
 public:
  FileError(const std::string& file, const std::string& text)
      : std::runtime_error(file + ": " + text) {}
};
