#pragma once

#include <cstdint>

#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "nex/nex_TextException.h"

/// The name of one scratch file, which is removed with the object. The object reads and
/// writes nothing: take `Name()` and use utl_File or the like; `Create` makes sure that
/// the file exists, that it is this object's and, on Linux, that other users may neither
/// read nor write it.
///
/// A file that was created and closed belongs to nobody. Another object of the same name,
/// in this process or another, may open it with `Open`, and removes it at its own end,
/// whoever made it; the name is then free for a third one's `Create`. To be safe keep the
/// file open (`Create` without `Close`) for as long as it is in use: nobody can remove it
/// meanwhile, and others may still open it for reading and writing.
///
/// The directory is the first of these that is a directory: the command-line option
/// "tmpdir", the environment variables SCRATCH and TMPDIR. There is no other; the
/// current directory and the system's own for temporary files are never used. One that
/// does not exist, or is a file, is passed over.
///
/// The name is made once, by the first operation, and is then the object's until its end:
/// DIRECTORY\KstTempFileLNNNNN.SUFFIX, where L is a letter from a to z that makes the
/// name (without the suffix) a new one, and NNNNN are the last five digits of the
/// process's number, with zeros before a shorter one. So a process has at most 26 files
/// without suffix in a directory at a time, and shares them with the processes whose
/// numbers end in the same five digits: 1234567 and 34567 both make KstTempFilea34567.
/// Files with a suffix are not looked for when a name is made: two objects with one
/// suffix may have the same name, and the second `Create` fails.
///
/// An object belongs to the process that made its name. In a child of `fork` the file
/// stays, whatever happens to the child's copy of the object.
///
/// While the name is not made, every operation but `Close` makes it and may throw
///   utl_TempFileCantExc         there is no directory, or no letter is left;
///   nex_SystemErrorException    a candidate's status cannot be read for another reason
///                               than that it does not exist (code 2): it is the empty
///                               text, or its parent does not exist;
///   nex_TextException           the directory's free space is unknown, as that of a
///                               relative path (see utl_DiskAttributes).
/// The object then has no name, and the next operation tries again.
///
/// Threads: one object by one thread at a time.
///
///     utl_TempFile scratch(".scr");
///     scratch.Create();
///     utl_File file(scratch.Name(), utl_FileAccessUpdate, utl_FileShareReadWrite);
class KSTUTL_EXPORT utl_TempFile {
 public:
  /// Records the suffix, with or without its ".": "scr" and ".scr" are the same, "" is
  /// none. Touches nothing on disk.
  explicit utl_TempFile(const cow_String& suffix);
  utl_TempFile(const utl_TempFile&) = delete;
  utl_TempFile& operator=(const utl_TempFile&) = delete;
  /// Closes and removes the file, whoever made it; failures are ignored. An object
  /// without a name touches nothing; one whose name a parent process made only closes.
  ~utl_TempFile();

  /// Makes the file and holds it open for reading and writing. Throws
  /// utl_TempFileOpenExc, for instance if it exists; what the object held open before
  /// then stays open, and is closed otherwise.
  void Create();
  /// The same with the existing file. Throws utl_TempFileOpenExc if it does not.
  void Open();
  /// Opens the file if it exists, and returns whether it does. Throws utl_TempFileOpenExc
  /// if it exists and cannot be opened.
  bool OpenIfPresent();
  /// Closes the file if it is open. The name and the file stay, but a closed file is
  /// nobody's: another object that has the same name may open it, or remove it.
  void Close();

  /// Bytes that were free in the directory when the name was made.
  std::uint64_t AvailableSpace() const;
  /// The full path.
  const cow_String& Name() const;

  // The rest is implementation.

 private:
  void MakeName() const;
  void Keep(int descriptor);
  [[noreturn]] void ThrowCannotOpen(int error) const;

  // Made by the first operation, even a const one.
  mutable bool named_ = false;
  mutable std::uint64_t availableSpace_ = 0;
  mutable cow_String name_;  // the suffix until the name is made
  int descriptor_ = -1;
  mutable std::uint32_t process_ = 0;  // the one that made the name
};

/// All failures of temporary files.
class KSTUTL_EXPORT utl_TempFileException : public nex_TextException {
 public:
  explicit utl_TempFileException(const atr_String& message);
  [[noreturn]] void Propagate() const override;
};

/// The file could not be made or opened; `systemText` is the reason.
class KSTUTL_EXPORT utl_TempFileOpenExc : public utl_TempFileException {
 public:
  utl_TempFileOpenExc(const cow_String& fileName, const cow_String& systemText);
  [[noreturn]] void Propagate() const override;
};

/// For callers' own use, like utl_TempFileNoDirExc: utl_TempFile reports that it has no
/// directory by utl_TempFileCantExc.
class KSTUTL_EXPORT utl_TempFileDirExc : public utl_TempFileException {
 public:
  explicit utl_TempFileDirExc(const cow_String& directory);
  [[noreturn]] void Propagate() const override;
};

/// There is no directory for the file, or no name that is not in use.
class KSTUTL_EXPORT utl_TempFileCantExc : public utl_TempFileException {
 public:
  utl_TempFileCantExc();
  [[noreturn]] void Propagate() const override;
};

/// See utl_TempFileDirExc.
class KSTUTL_EXPORT utl_TempFileNoDirExc : public utl_TempFileException {
 public:
  utl_TempFileNoDirExc();
  [[noreturn]] void Propagate() const override;
};
