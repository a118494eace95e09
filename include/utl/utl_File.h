#pragma once

#include "cow/cow_String.h"
#include "nex/nex_TextException.h"
#include "utl/utl_FileOffset.h"

/// How a file is opened. Any other number opens nothing.
enum utl_FileAccess : int {
  utl_FileAccessRead = 0,    ///< An existing file, for reading.
  utl_FileAccessUpdate = 1,  ///< An existing file, for reading and writing.
  utl_FileAccessWrite = 2,   ///< The same; the file is made, or emptied if it exists.
};

/// What other opens of the file are allowed meanwhile, in any process. The rule differs
/// by access on purpose: a reader shuts writers out only by asking for it, a writer lets
/// other writers in only by asking for it.
enum utl_FileSharing : int {
  utl_FileShareDefault = 0,    ///< Reader: reads and writes. Writer: reads.
  utl_FileShareRead = 1,       ///< Reads.
  utl_FileShareReadWrite = 2,  ///< Reads and writes.
};

/// A file behind a handle of the system, without a buffer of its own: every operation is
/// a system call.
///
/// The file is opened by the first operation and closed by the destructor. Operations
/// that find it not open yet open it, and may then throw what `Init` throws.
///
/// Letter case of the path does not matter, as utl_FilePath tells: writing "LOWER.TXT"
/// empties an existing "lower.txt".
///
/// Every failure is an exception, one class for each kind, raised at the call that
/// failed; its text names the system call, the system's error and the path. The classes
/// have no base of their own: catch nex_TextException for all of them. Nothing is tried
/// again (but see Replace) and nothing undone, except that a file that cannot grow keeps
/// its size.
///
/// On Linux a write beyond a limit of the file's size (`ulimit -f`), or to a pipe that
/// nobody reads, ends the process by a signal. A program that is to get the exception
/// instead has to ignore SIGXFSZ and SIGPIPE (`signal(SIGXFSZ, SIG_IGN)`) before it
/// writes, as utl_runMain does.
///
/// Threads: one object by one thread at a time.
///
///     utl_File file("C:\\work\\job.dat", utl_FileAccessWrite, utl_FileShareDefault);
///     file.Write(data, size);   // creates the file
class KSTUTL_EXPORT utl_File {
 public:
  /// No file: the empty path, for reading, utl_FileShareReadWrite.
  utl_File();
  /// Records the file; does not open it.
  utl_File(const cow_String& path, utl_FileAccess access, utl_FileSharing sharing);
  utl_File(const utl_File&) = delete;
  utl_File& operator=(const utl_File&) = delete;
  /// Takes the file with its handle; `other` is then no file.
  utl_File(utl_File&& other) noexcept;
  /// The same, and closes the file that this object had, as the destructor does.
  utl_File& operator=(utl_File&& other) noexcept(false);

  /// Closes the file. Throws utl_FileExceptionClose when that fails, but stays silent
  /// while another exception unwinds. An owner that must let it through needs a
  /// destructor with noexcept(false) too; std::unique_ptr does not let it through.
  ~utl_File() noexcept(false);

  /// Records the file and opens it. An object that is open already keeps the file it
  /// has: only path, access and sharing, in messages and checks, are the new ones.
  /// Throws as `Init`.
  void Open(const cow_String& path, utl_FileAccess access, utl_FileSharing sharing);

  /// Opens the file if it is not open. Throws utl_FileExceptionNoFile when it does not
  /// exist (reading and updating only) and utl_FileExceptionOpen for all else, a missing
  /// directory included; the next operation then tries again. Opening for writing makes
  /// sure that the I/O tracker's holder exists.
  void Init();

  /// Closes the file for now, so that others can replace it; the next operation opens it
  /// again, at its start and without emptying it. Throws utl_FileExceptionClose.
  void Release();

  /// Opens the file again if it is open and its path now names another file, because
  /// somebody has replaced it. Throws as `Init`, and utl_FileExceptionClose.
  void Renew();

  /// The system's handle of the file, for calls that this class does not offer. It stays
  /// this object's: do not close it.
  void* Handle() const;

  /// Moves to `offset` bytes from the start; an offset past the end is allowed and does
  /// not change the size. Throws utl_FileExceptionSeek.
  void Seek(const utl_FileOffset& offset);

  /// The current position. Throws utl_FileExceptionLocation.
  utl_FileOffset Location() const;

  /// Makes the system write everything to the disk. Throws utl_FileExceptionFlush, for a
  /// file opened for reading without asking the system.
  void Flush();

  /// Reads up to `count` bytes at the current position; returns their number, 0 at the
  /// end of the file. Throws utl_FileExceptionRead, for a negative count without asking
  /// the system.
  /// REQUIRES: `buffer` has room for `count` bytes.
  int Read(char* buffer, int count);

  /// Writes `count` bytes at the current position and returns `count`. Throws
  /// utl_FileExceptionFull when the system took only a part of them, whatever the cause,
  /// and utl_FileExceptionWrite for other failures: for a file opened for reading, and
  /// for a negative count, without asking the system.
  /// REQUIRES: `buffer` has `count` bytes.
  int Write(const char* buffer, int count);

  /// The same, but returns the number of bytes written when that is less than `count`.
  int WriteShortAllowed(const char* buffer, int count);

  /// The file's size. Throws utl_FileExceptionSize.
  utl_FileOffset FileSize() const;

  /// Makes the file exactly `size` bytes long, longer or shorter than it was, and
  /// rewrites its last four bytes. Disk space for what is added is allocated at once, so
  /// that a full disk shows here and not at a later write; on Linux this needs a file
  /// system that can do so, as local ones can. The position does not change.
  ///
  /// Throws utl_FileExceptionExtend; the file may then have its new size already, unless
  /// there is no space for it, and the position may be anywhere. A size below 4 fails
  /// like this, after the size was set, since there are no last four bytes. Throws a
  /// plain nex_TextException for a file opened for reading. The place of the last four
  /// bytes is computed as a double: above 2^53 bytes it is not exact.
  void Extend(const utl_FileOffset& size);

  /// Makes the file `path`, which is to replace the open file `original` (see Replace),
  /// and opens it for reading and writing; others may read it meanwhile. An existing file
  /// of this name is deleted, and so is a link, which is not followed: nothing that
  /// others have put there is written to.
  ///
  /// On Linux the file has the owner, group and permissions of `original` as far as this
  /// process may set them; a group that it may not set loses its permissions, and the
  /// owner may always read and write. On Windows it inherits the rights of the directory.
  ///
  /// Throws utl_FileExceptionOpen, also when the existing file cannot be deleted; this
  /// object is then unchanged. REQUIRES: this object is not open.
  void OpenNew(const cow_String& path, const utl_File& original);

  /// Puts this file, which OpenNew has made in the same directory, in the place of the
  /// one that `target` has open, atomically: whatever happens, the path of `target` names
  /// either the unchanged old file or the new one. Flush this file first. `target` then
  /// has the new file open, and this object has the old one, to close it. Where the path
  /// is a link, the file that it points to is replaced. Other names of the old file (hard
  /// links) keep the old file.
  ///
  /// On Linux others who have the file open keep the old one. Windows replaces no file
  /// that is open: there `target` is closed for a moment, and up to 20 attempts, 10 ms
  /// apart, are made while others have the file open, even for reading.
  ///
  /// Throws utl_FileExceptionWrite, and nothing is replaced, when `target` is opened for
  /// reading; with code 5 when this process could not give the new file the rights of the
  /// old one (Linux) or others have the old one open (Windows); and with the system's
  /// code when the renaming fails. `target` keeps the old file, which its next operation
  /// opens again if need be. Throws utl_FileExceptionFlush when the file was replaced,
  /// but the change may not be on the disk yet.
  void Replace(utl_File& target);

  // The rest is implementation.

 private:
  void Swap(utl_File& other) noexcept;
  unsigned Close() noexcept;
  unsigned RenameOver(utl_File& target);
  void TryToOpen();
  void* OpenRead(const cow_String& path) const;
  void* OpenUpdate(const cow_String& path) const;
  void* OpenWrite(const cow_String& path) const;

  // Opened by the first operation, even a const one.
  mutable bool opened_ = false;
  mutable void* handle_ = nullptr;
  cow_String path_;
  utl_FileAccess access_ = utl_FileAccessRead;
  utl_FileSharing sharing_ = utl_FileShareReadWrite;
};

// The failures. `code` is the system's error number; the message shows the system's own
// text for it, line end included. `operation` and `text` tell what failed:
// "SetFilePointer", "attempt to flush a read-only file.".

/// The file exists, or is to be made, and cannot be opened.
class KSTUTL_EXPORT utl_FileExceptionOpen : public nex_TextException {
 public:
  utl_FileExceptionOpen(int code, const cow_String& path, const atr_String& operation);
  [[noreturn]] void Propagate() const override;
};

/// The directory exists, the file does not.
class KSTUTL_EXPORT utl_FileExceptionNoFile : public nex_TextException {
 public:
  utl_FileExceptionNoFile(const cow_String& path, const atr_String& text);
  [[noreturn]] void Propagate() const override;
};

/// Its text begins with "***ERROR:", unlike all others; readers of logs look for it.
class KSTUTL_EXPORT utl_FileExceptionClose : public nex_TextException {
 public:
  utl_FileExceptionClose(int code, const cow_String& path, const atr_String& operation);
  [[noreturn]] void Propagate() const override;
};

/// The position could not be changed.
class KSTUTL_EXPORT utl_FileExceptionSeek : public nex_TextException {
 public:
  utl_FileExceptionSeek(int code, const cow_String& path, const atr_String& operation);
  [[noreturn]] void Propagate() const override;
};

/// The position could not be read.
class KSTUTL_EXPORT utl_FileExceptionLocation : public nex_TextException {
 public:
  utl_FileExceptionLocation(int code, const cow_String& path,
                            const atr_String& operation);
  [[noreturn]] void Propagate() const override;
};

/// The file could not be flushed to the disk, or is opened for reading.
class KSTUTL_EXPORT utl_FileExceptionFlush : public nex_TextException {
 public:
  utl_FileExceptionFlush(const cow_String& path, const atr_String& text);
  utl_FileExceptionFlush(int code, const cow_String& path, const atr_String& operation);
  [[noreturn]] void Propagate() const override;
};

/// Bytes could not be read.
class KSTUTL_EXPORT utl_FileExceptionRead : public nex_TextException {
 public:
  utl_FileExceptionRead(int code, const cow_String& path, const atr_String& operation);
  [[noreturn]] void Propagate() const override;
};

/// Bytes could not be written, or the file is opened for reading.
class KSTUTL_EXPORT utl_FileExceptionWrite : public nex_TextException {
 public:
  utl_FileExceptionWrite(const cow_String& path, const atr_String& text);
  utl_FileExceptionWrite(int code, const cow_String& path, const atr_String& operation);
  [[noreturn]] void Propagate() const override;
};

/// Only part of the bytes were written. The text does not show the path: its placeholder
/// stays as it is written, for readers of logs that compare the text.
class KSTUTL_EXPORT utl_FileExceptionFull : public nex_TextException {
 public:
  explicit utl_FileExceptionFull(const cow_String& path);
  [[noreturn]] void Propagate() const override;
};

/// The size could not be read.
class KSTUTL_EXPORT utl_FileExceptionSize : public nex_TextException {
 public:
  utl_FileExceptionSize(int code, const cow_String& path, const atr_String& operation);
  [[noreturn]] void Propagate() const override;
};

/// The size could not be changed.
class KSTUTL_EXPORT utl_FileExceptionExtend : public nex_TextException {
 public:
  utl_FileExceptionExtend(int code, const cow_String& path, const atr_String& operation);
  [[noreturn]] void Propagate() const override;
};
