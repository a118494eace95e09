#include "sections/SectionFile.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "common/Tool.h"
#include "nex/nex_Exception.h"
#include "utl/utl_NativePath.h"

namespace {

constexpr std::int64_t kHeader = 12;
constexpr std::int64_t kEntry = 12;  // and the name

}  // namespace

SectionFile::SectionFile(const std::string& path)
    : path_(path), file_(path, utl_FileAccessRead), sections_(file_.getSections()) {}

std::int64_t SectionFile::Bytes() const {
  std::int64_t bytes = 0;
  for (const utl_SectionInfo& section : sections_) {
    bytes += std::max(section.length, 0);
  }
  return bytes;
}

std::string SectionFile::Data(const std::string& name) {
  try {
    const std::vector<char> data = file_.getSection<char>(name);
    return {data.begin(), data.end()};
  } catch (const utl_FileExceptionRead&) {
    throw FileError(path_, "section \"" + name + "\": " + ReadFailure());
  }
}

std::string SectionFile::ReadFailure() const {
  return Surplus() < 0 ? "the file ends within it" : Shown(CurrentFailure());
}

std::string SectionFile::Damage(int number) {
  try {
    file_.checkSection(number);
    return "";
  } catch (const utl_FileExceptionRead&) {
    return ReadFailure();
  } catch (const nex_Exception&) {
    return "its bytes do not have its checksum";
  }
}

std::int64_t SectionFile::Surplus() const {
  std::int64_t size = kHeader + Bytes();
  for (const utl_SectionInfo& section : sections_) {
    size += kEntry + static_cast<std::int64_t>(std::string_view(section.name).size());
  }
  return static_cast<std::int64_t>(std::filesystem::file_size(utl_nativePath(path_))) -
         size;
}

bool SectionFile::IsComplete() {
  const int count = static_cast<int>(sections_.size());
  for (int number = 0; number < count; ++number) {
    if (!Damage(number).empty()) {
      return false;
    }
  }
  return Surplus() == 0;
}

bool IsWholeSectionFile(const std::string& path) {
  try {
    return SectionFile(path).Surplus() == 0;
  } catch (const nex_Exception&) {
    return false;
  }
}

NewSectionFile::NewSectionFile(const std::string& path) : path_(path) {
  if (std::filesystem::exists(utl_nativePath(path))) {
    throw FileError(path, "is there already, and nothing is overwritten");
  }
  file_ = std::make_unique<utl_MultisectionFile>(path, utl_FileAccessWrite);
}

NewSectionFile::~NewSectionFile() {
  file_.reset();
  if (!isSaved_) {
    std::error_code ignored;
    std::filesystem::remove(utl_nativePath(path_), ignored);
  }
}

void NewSectionFile::Add(const std::string& name, const std::string& data) {
  file_->setSection<char>(name, data);
}

void NewSectionFile::Save() {
  file_->saveChangesAtomically();
  isSaved_ = true;
}
