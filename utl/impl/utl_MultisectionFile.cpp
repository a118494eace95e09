#include "utl/utl_MultisectionFile.h"

#include <algorithm>
#include <utility>

#include "atr/atr_translate.h"
#include "nex/nex_AssertException.h"
#include "utl_crc32.h"
#include "utl_LockFileHolder.h"
#include "utl_MultisectionFormat.h"
#include "utl_SectionDirectory.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_MultisectionFile";
constexpr int kLine = 323;      // that of all errors, whichever function meets them
constexpr int kEndOfFile = 38;  // the system's error number

constexpr int kLockAttempts = 10;
constexpr unsigned kLockPause = 10;

atr_String Translated(const char* text) {
  return atr_translate(text).Result();
}

void Assert(bool condition, const char* text) {
  if (!condition) {
    nex_AssertException(text).Throw(kSource, kLine);
  }
}

utl_SectionRecord& Existing(utl_SectionDirectory& directory, const cow_String& name) {
  utl_SectionRecord* record = directory.Find(name);
  Assert(record != nullptr, "hasSection(name)");
  return *record;
}

[[noreturn]] void FailCorrupted(const cow_String& path, const cow_String& name) {
  atr_translate message("Data corrupted in section \"%s\"");
  atr_SubstituteFormat(message, 1, name);
  utl_MultisectionFail(path, message.Result());
}

// Reads `length` bytes from where the file stands; their checksum.
std::uint32_t ReadChecked(utl_File& file, const cow_String& path, char* to, int length) {
  std::uint32_t checksum = utl_kCrc32Start;
  while (length > 0) {
    const int count = file.Read(to, std::min(length, kMultisectionPiece));
    if (count == 0) {
      utl_MultisectionFailAtEnd(path);
    }
    checksum = utl_crc32(checksum, to, static_cast<std::size_t>(count));
    to += count;
    length -= count;
  }
  return checksum;
}

}  // namespace

void utl_MultisectionFail(const cow_String& path, const atr_String& message) {
  atr_translate prefix("\"%s\": ");
  atr_SubstituteFormat(prefix, 1, path);
  nex_TextException(cow_String(prefix.Result().c_str()) + message.c_str())
      .Throw(kSource, kLine);
}

void utl_MultisectionFailAtEnd(const cow_String& path) {
  utl_FileExceptionRead(kEndOfFile, path, "ReadFile").Throw(kSource, kLine);
}

utl_MultisectionFile::utl_MultisectionFile(const cow_String& path, utl_FileAccess access)
    : path_(path) {
  file_.Open(path, access, utl_FileShareDefault);
  lock_ = std::make_unique<utl_LockFileHolder>(path + ".lock", 0, kLockPause);
  directory_ = std::make_unique<utl_SectionDirectory>();
  if (access != utl_FileAccessRead && !lock_->acquire(kLockAttempts, kLockPause)) {
    utl_MultisectionFail(path, Translated("Cannot create the lock file."));
  }
  if (access == utl_FileAccessRead || access == utl_FileAccessUpdate) {
    utl_MultisectionReadDirectory(file_, path, *directory_);
  }
}

utl_MultisectionFile::~utl_MultisectionFile() noexcept(false) = default;

bool utl_MultisectionFile::hasSection(const cow_String& name) const {
  return directory_->Find(name) != nullptr;
}

int utl_MultisectionFile::getSectionLength(const cow_String& name) const {
  return Existing(*directory_, name).Length();
}

void utl_MultisectionFile::getSectionData(const cow_String& name, void* buffer) {
  const utl_SectionRecord& record = Existing(*directory_, name);
  if (record.data) {
    std::copy_n(record.data.get(), record.memoryLength, static_cast<char*>(buffer));
    return;
  }
  if (record.fileLength < 0) {
    FailCorrupted(path_, record.name);
  }
  if (record.offset != position_) {
    file_.Seek(record.offset);
  }
  position_ = kUnknownPosition;
  const std::uint32_t checksum =
      ReadChecked(file_, path_, static_cast<char*>(buffer), record.fileLength);
  position_ = record.offset + record.fileLength;
  if (checksum != record.checksum) {
    FailCorrupted(path_, record.name);
  }
}

void utl_MultisectionFile::setSectionData(const cow_String& name, const void* data,
                                          int length) {
  Assert(length >= 0, "length >= 0");
  const auto size = static_cast<std::size_t>(length);
  auto block = std::make_unique_for_overwrite<char[]>(size);
  const std::uint32_t checksum = utl_crc32Copy(utl_kCrc32Start, block.get(), data, size);

  utl_SectionRecord* record = directory_->Find(name);
  if (record == nullptr) {
    record = &directory_->Append({.name = name});
  }
  record->data = std::move(block);
  record->memoryLength = length;
  record->checksum = checksum;
}
