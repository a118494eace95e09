#pragma once

// The files that this layer has open. A handle is the number of its descriptor, so that
// one stored in 32 bits widens to the same handle and a socket is a handle as it is; only
// descriptor 0 has another number, since no handle is null. Descriptors that were opened
// by other means (the standard ones, sockets) are handles as well.
//
// What is remembered belongs to the open file: it is forgotten when a descriptor is
// closed by any call, and also found under the numbers that dup has given.

#include <sys/types.h>

#include <memory>
#include <string>
#include <utility>

#include <windows.h>
#include "platform/posix/state/posix_identity.h"
#include "platform/posix/state/posix_lock.h"

namespace posix {

// Rights that an open asks for or shares: the bits of FILE_SHARE_*.
constexpr unsigned kRead = FILE_SHARE_READ;
constexpr unsigned kWrite = FILE_SHARE_WRITE;
constexpr unsigned kDelete = FILE_SHARE_DELETE;
constexpr unsigned kAllRights = kRead | kWrite | kDelete;

struct OpenFile {
  unsigned access = 0;
  unsigned share = kAllRights;
  Identity identity;  // the table sets its mark
  bool isRegular = false;
  bool isProcess = false;
  std::string removeAtEnd;  // the path to remove when the file is closed
};

/// The handle of a descriptor; INVALID_HANDLE_VALUE for a number that is none.
HANDLE HandleOf(int fd);
/// The descriptor of a handle, or -1; it need not be open.
int DescriptorOf(HANDLE handle);

/// Whether the descriptor is open, by whatever means.
bool IsOpen(int fd);

/// The access of an open descriptor in `access`; false when it is not open.
bool AccessOf(int fd, unsigned& access);

/// False when this layer has opened the file under this number, but not for all of
/// `rights`; for the system it may have opened it for more. Anything else that is wrong
/// with the descriptor is left to the system to report.
bool MayHave(int fd, unsigned rights);

/// Whether it stands for an open process.
bool IsProcess(int fd);

/// Enters a newly opened descriptor. False when another open of the same file has rights
/// that this one does not share, or does not share the rights that this one has; the
/// caller then closes the descriptor, as it does after std::bad_alloc.
bool EnterFile(int fd, const OpenFile& file);

/// Whether an open of the file does not permit its deletion. `fd` is any open descriptor
/// of it, or -1 to ask this process's opens alone.
bool DeletionIsDenied(int fd, dev_t device, ino_t inode);

/// Releases the share modes and locks of an open file, forgets it and closes its
/// descriptor: the errno value, 0 on success. Takes no memory.
int CloseFile(int fd) noexcept;

/// Owns a newly opened descriptor, or -1 for none, until it is released.
class NewDescriptor {
 public:
  explicit NewDescriptor(int fd) : fd_(fd) {}
  NewDescriptor(const NewDescriptor&) = delete;
  NewDescriptor& operator=(const NewDescriptor&) = delete;
  ~NewDescriptor() {
    if (fd_ >= 0) {
      CloseFile(fd_);
    }
  }

  int Get() const { return fd_; }
  int Release() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

/// Sets how the C run time reads and writes a descriptor, and returns how it did;
/// -1 when it is not open.
int ExchangeTextMode(int fd, int mode);

/// The locks of the open file behind a descriptor; null when it is not open.
std::shared_ptr<LockNotes> LocksOf(int fd);

}  // namespace posix
