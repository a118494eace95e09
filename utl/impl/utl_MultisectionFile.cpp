#include "utl/utl_MultisectionFile.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "atr/atr_translate.h"
#include "nex/nex_AssertException.h"
#include "utl/impl/crc32/utl_crc32.h"
#include "utl/impl/multisection/utl_LockFileHolder.h"
#include "utl/impl/multisection/utl_MultisectionFormat.h"
#include "utl/impl/multisection/utl_SectionDirectory.h"

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

int Existing(utl_SectionDirectory& directory, const cow_String& name) {
  const int section = directory.Find(name);
  Assert(section != utl_kNoSection, "hasSection(name)");
  return section;
}

[[noreturn]] void FailCorrupted(const cow_String& path, std::string_view name) {
  atr_translate message("Data corrupted in section \"%s\"");
  atr_SubstituteFormat(message, 1, cow_String(name));
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
  return directory_->Find(name) != utl_kNoSection;
}

int utl_MultisectionFile::getSectionLength(const cow_String& name) const {
  return directory_->Length(Existing(*directory_, name));
}

void utl_MultisectionFile::getSectionData(const cow_String& name, void* buffer) {
  const int section = Existing(*directory_, name);
  const int length = directory_->Length(section);
  if (const char* data = directory_->Data(section)) {
    std::copy_n(data, length, static_cast<char*>(buffer));
    return;
  }
  if (length < 0) {
    FailCorrupted(path_, directory_->Name(section));
  }
  const std::int64_t place = directory_->Place(section);
  if (place != position_) {
    file_.Seek(place);
  }
  position_ = kUnknownPosition;
  const std::uint32_t checksum =
      ReadChecked(file_, path_, static_cast<char*>(buffer), length);
  position_ = place + length;
  if (checksum != directory_->Checksum(section)) {
    FailCorrupted(path_, directory_->Name(section));
  }
}

void utl_MultisectionFile::setSectionData(const cow_String& name, const void* data,
                                          int length) {
  Assert(length >= 0, "length >= 0");
  const auto size = static_cast<std::size_t>(length);
  auto block = std::make_unique_for_overwrite<char[]>(size);
  const std::uint32_t checksum = utl_crc32Copy(utl_kCrc32Start, block.get(), data, size);
  directory_->Set(name, std::move(block), length, checksum);
}
