#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "utl/utl_MultisectionFile.h"

/// A section file that is read.
class SectionFile {
 public:
  /// Throws the library's exceptions for what is no section file.
  explicit SectionFile(const std::string& path);

  const std::vector<utl_SectionInfo>& Sections() const { return sections_; }

  /// How many bytes all sections have together.
  std::int64_t Bytes() const;

  /// The section's bytes, checked. Throws for a damaged section and an absent one.
  std::string Data(const std::string& name);

  /// What is wrong with a section, by its number; empty when its checksum holds.
  std::string Damage(int number);

  /// How many bytes the file has after its last section; negative for what is missing.
  std::int64_t Surplus() const;

  /// Whether no byte is missing or left over, and every section has its checksum.
  bool IsComplete();

 private:
  // Why a section could not be read. For the handler of that failure.
  std::string ReadFailure() const;

  const std::string path_;
  utl_MultisectionFile file_;
  const std::vector<utl_SectionInfo> sections_;
};

/// Whether the file `path` is a section file without a byte too few or too many, whatever
/// its sections hold.
bool IsWholeSectionFile(const std::string& path);

/// Writes a new section file and saves it. Throws, and leaves no file, where there is one
/// already or the work fails.
class NewSectionFile {
 public:
  explicit NewSectionFile(const std::string& path);
  ~NewSectionFile();
  NewSectionFile(const NewSectionFile&) = delete;
  NewSectionFile& operator=(const NewSectionFile&) = delete;

  void Add(const std::string& name, const std::string& data);
  void Save();

 private:
  const std::string path_;
  std::unique_ptr<utl_MultisectionFile> file_;
  bool isSaved_ = false;
};
