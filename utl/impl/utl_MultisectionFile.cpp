#include "utl/utl_MultisectionFile.h"

#include <algorithm>
#include <utility>

#include "platform/platform.h"
#include "utl/impl/crc32/utl_crc32.h"
#include "utl/impl/multisection/utl_LockFileHolder.h"
#include "utl/impl/multisection/utl_MultisectionErrors.h"
#include "utl/impl/multisection/utl_MultisectionFormat.h"
#include "utl/impl/multisection/utl_SectionDirectory.h"
#include "utl/impl/utl_fileErrors.h"

namespace {

constexpr int kLockAttempts = 10;
constexpr unsigned kLockPause = 10;

int Existing(utl_SectionDirectory& directory, const cow_String& path,
             const cow_String& name) {
  const int section = directory.Find(name);
  if (section == utl_SectionDirectory::kNone) {
    utl_multisectionFailAbsent(path, name);
  }
  return section;
}

// Reads `length` bytes from the file's position, and keeps them if `to` is not null;
// returns their checksum.
std::uint32_t ReadChecked(utl_File& file, const cow_String& path, char* to, int length) {
  const std::size_t room = to == nullptr ? std::min(length, kMultisectionPiece) : 0;
  std::vector<char> piece(room);
  std::uint32_t checksum = kCrc32Start;
  while (length > 0) {
    char* const at = to == nullptr ? piece.data() : to;
    const int count = file.Read(at, std::min(length, kMultisectionPiece));
    if (count == 0) {
      utl_fileFailAtEnd(path);
    }
    checksum = utl_crc32(checksum, at, static_cast<std::size_t>(count));
    to += to == nullptr ? 0 : count;
    length -= count;
  }
  return checksum;
}

}  // namespace

utl_MultisectionFile::utl_MultisectionFile(const cow_String& path, utl_FileAccess access)
    : path_(path) {
  file_.Open(path, access, utl_FileShareDefault);
  lock_ =
      std::make_unique<utl_LockFileHolder>(path + ".lock", 0, kLockPause, file_.Handle());
  directory_ = std::make_unique<utl_SectionDirectory>();
  if (access != utl_FileAccessRead) {
    const bool isOpen = access == utl_FileAccessUpdate || access == utl_FileAccessWrite;
    if (isOpen && !platform::OpenFilesCanBeReplaced()) {
      file_.Release();  // the lock's holder may be about to replace it
    }
    if (!lock_->acquire(kLockAttempts, kLockPause)) {
      utl_multisectionFail(path, "Cannot create the lock file.");
    }
    file_.Renew();  // an earlier holder of the lock may have replaced it
    file_.Init();   // keeps others from opening it for writing
  }
  if (access == utl_FileAccessRead || access == utl_FileAccessUpdate) {
    utl_multisectionReadDirectory(file_, path, *directory_);
  }
}

utl_MultisectionFile::~utl_MultisectionFile() noexcept(false) = default;

utl_MultisectionFile::utl_MultisectionFile(utl_MultisectionFile&& other) noexcept {
  Swap(other);
}

utl_MultisectionFile& utl_MultisectionFile::operator=(
    utl_MultisectionFile&& other) noexcept(false) {
  utl_MultisectionFile taken(std::move(other));
  Swap(taken);  // and `taken` releases what was here
  return *this;
}

void utl_MultisectionFile::Swap(utl_MultisectionFile& other) noexcept {
  std::swap(file_, other.file_);
  std::swap(path_, other.path_);
  std::swap(lock_, other.lock_);
  std::swap(directory_, other.directory_);
  std::swap(position_, other.position_);
}

std::vector<utl_SectionInfo> utl_MultisectionFile::getSections() const {
  std::vector<utl_SectionInfo> sections;
  sections.reserve(static_cast<std::size_t>(directory_->Count()));
  for (int i = 0; i < directory_->Count(); ++i) {
    const utl_Section& section = (*directory_)[i];
    sections.push_back({directory_->Name(i), section.length, section.checksum});
  }
  return sections;
}

bool utl_MultisectionFile::hasSection(const cow_String& name) const {
  return directory_->Find(name) != utl_SectionDirectory::kNone;
}

int utl_MultisectionFile::getSectionLength(const cow_String& name) const {
  return (*directory_)[Existing(*directory_, path_, name)].length;
}

void utl_MultisectionFile::getSectionData(const cow_String& name, void* buffer) {
  const int number = Existing(*directory_, path_, name);
  const utl_Section& section = (*directory_)[number];
  if (section.data != nullptr) {
    std::copy_n(section.data, section.length, static_cast<char*>(buffer));
  } else {
    ReadSection(number, static_cast<char*>(buffer));
  }
}

void utl_MultisectionFile::checkSection(int number) {
  utl_multisectionAssert(0 <= number && number < directory_->Count(),
                         "0 <= number < getSections().size()");
  if ((*directory_)[number].data == nullptr) {
    ReadSection(number, nullptr);
  }
}

// Reads a section of the file and checks it; its bytes are dropped if `buffer` is null.
void utl_MultisectionFile::ReadSection(int number, char* buffer) {
  const utl_Section& section = (*directory_)[number];
  if (section.length < 0) {
    utl_multisectionFailCorrupted(path_, directory_->Name(number));
  }
  if (section.place != position_) {
    file_.Seek(section.place);
  }
  position_ = kUnknownPosition;
  const std::uint32_t checksum = ReadChecked(file_, path_, buffer, section.length);
  position_ = section.place + section.length;
  if (checksum != section.checksum) {
    utl_multisectionFailCorrupted(path_, directory_->Name(number));
  }
}

void utl_MultisectionFile::setSectionData(const cow_String& name, const void* data,
                                          int length) {
  utl_multisectionAssert(length >= 0, "length >= 0");
  utl_SectionBytes bytes = directory_->NewBytes(length);
  const std::uint32_t checksum =
      utl_crc32Copy(kCrc32Start, bytes.get(), data, static_cast<std::size_t>(length));
  directory_->Set(name, std::move(bytes), checksum);
}

// How many values of this size the section has. Throws unless the file has all its bytes.
std::size_t utl_MultisectionFile::CheckedCount(const cow_String& name,
                                               std::size_t valueSize) const {
  const int number = Existing(*directory_, path_, name);
  const utl_Section& section = (*directory_)[number];
  if (section.length < 0) {
    utl_multisectionFailCorrupted(path_, directory_->Name(number));
  }
  const auto length = static_cast<std::size_t>(section.length);
  if (length % valueSize != 0) {
    utl_multisectionFailUneven(path_, directory_->Name(number), section.length,
                               static_cast<unsigned>(valueSize));
  }
  if (section.data == nullptr && section.length > 0 &&
      section.place + section.length > static_cast<std::int64_t>(file_.FileSize())) {
    utl_fileFailAtEnd(path_);
  }
  return length / valueSize;
}

void utl_MultisectionFile::SetBytes(const cow_String& name,
                                    std::span<const std::byte> bytes) {
  if (bytes.size() > std::numeric_limits<int>::max()) {
    utl_multisectionFailTooLong(path_);
  }
  setSectionData(name, bytes.data(), static_cast<int>(bytes.size()));
}

void utl_MultisectionFile::saveChanges() {
  position_ = kUnknownPosition;
  utl_multisectionSave(file_, path_, *directory_);
}

void utl_MultisectionFile::saveChangesAtomically() {
  position_ = kUnknownPosition;
  utl_multisectionSaveAtomically(file_, path_, *directory_);
}
