#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <type_traits>
#include <vector>

#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "utl/utl_File.h"

class utl_LockFileHolder;
class utl_SectionDirectory;

/// What utl_MultisectionFile::getSections reports about a section.
struct utl_SectionInfo {
  cow_String name;
  int length = 0;  ///< in bytes; in a damaged file perhaps negative or more than it has
  std::uint32_t checksum = 0;  ///< of the bytes that were saved or set
};

/// Named binary sections in one file, each with a checksum, guarded against a second
/// writer by a lock file and rewritten through a temporary file.
/// docs/multisection-file.md describes the format; a file is at most 2,147,483,647 bytes
/// long.
///
/// There are two ways to save. saveChanges writes over the file, which stays the same
/// file but can be lost when that fails; saveChangesAtomically replaces the file, which
/// is never lost. Prefer the latter unless other programs rely on its being the same
/// file.
///
/// Threads: one object is used by one thread at a time. Processes: writers exclude each
/// other (see the constructor), readers take no lock and ignore it: one that reads during
/// saveChanges may find the file cut short or damaged. In a forked child the copy of an
/// object leaves the lock to the parent; it must not be used there.
///
///     utl_MultisectionFile file("job.kdb", utl_FileAccessUpdate);
///     if (file.hasSection("loads")) {
///       std::vector<double> loads = file.getSection<double>("loads");   // checked
///       loads.push_back(-2.5);
///       file.setSection<double>("loads", loads);
///     }
///     file.saveChangesAtomically();     // without it nothing of this reaches the file
///
/// Sections that were set are held in memory until they are saved; all others stay in the
/// file. Sections keep their order and are never removed. Names are compared byte by byte
/// up to their first zero byte; of several sections with one name, which another writer
/// may have made, the first is used and the others are kept.
///
/// A damaged file cannot make opening take much memory: it is taken for the directory
/// only once all of that is known to be in the file, and then in proportion to it: 28
/// bytes and the name for each section, and 8 more with the first search by name.
/// Searching takes few steps, whatever the names are.
///
/// Errors of the file's contents are thrown as a plain nex_TextException whose text is
/// the path in quotes, ": ", and a message:
///
///     "job.kdb": Data corrupted in section "title"
///
/// Errors of the file system are those of utl_File and pass through unchanged.
class KSTUTL_EXPORT utl_MultisectionFile {
 public:
  /// Opens `path`, locks it unless it is opened for reading, and reads its directory.
  ///
  /// `access`: utl_FileAccessRead and utl_FileAccessUpdate open an existing multisection
  /// file; utl_FileAccessWrite creates it, or empties an existing one, and begins
  /// without sections. With utl_FileAccessWrite the file is emptied BEFORE the lock is
  /// tried, so a failure to lock leaves an empty file.
  ///
  /// The lock is the file `path`.lock, made when none exists, and removed by the
  /// destructor. On Linux it has the permissions of the file. Up to ten attempts are
  /// made, each failed one (the last too) followed by a pause of 10 ms. While another
  /// object, in this process or another, has the file open for writing, the share mode
  /// prevents opening it before the lock is tried; so only a lock that a killed process
  /// left behind, or that was made by hand, is ever found.
  ///
  /// Throws nex_TextException with
  ///   "Cannot create the lock file."  the lock exists;
  ///   "Invalid file type"             the first four bytes are not the tag;
  ///   "Unsupported file format"       the version is not 1, or missing;
  ///   "Invalid string length"         a section name of negative length;
  ///   "Total size exceeds 2147483647 bytes"  already the directory does;
  /// utl_FileExceptionRead with code 38 (end of file) when the file ends within the
  /// directory; and utl_File's exceptions, of which utl_FileExceptionOpen with code 32
  /// means that another writer is at work. Nothing stays open or locked then.
  ///
  /// The lengths of the sections' data are not checked here: that a file is too short is
  /// found when the data is read.
  utl_MultisectionFile(const cow_String& path, utl_FileAccess access);

  /// Releases the lock, then closes the file. Does NOT save: changes since the last save
  /// are lost. Throws utl_FileExceptionClose if closing fails, unless another exception
  /// is unwinding the stack.
  ~utl_MultisectionFile() noexcept(false);

  utl_MultisectionFile(const utl_MultisectionFile&) = delete;
  utl_MultisectionFile& operator=(const utl_MultisectionFile&) = delete;
  /// Takes over the file, the lock and what was set. `other` may then only be destroyed
  /// or assigned to.
  utl_MultisectionFile(utl_MultisectionFile&& other) noexcept;
  /// The same; the file that this object had is then released as by the destructor.
  utl_MultisectionFile& operator=(utl_MultisectionFile&& other) noexcept(false);

  /// All sections, saved or only set, in the order of the file, including those with the
  /// name of an earlier one (see above).
  ///
  ///     for (const utl_SectionInfo& section : file.getSections()) {
  ///       std::cout << section.name << ": " << section.length << " bytes\n";
  ///     }
  std::vector<utl_SectionInfo> getSections() const;

  /// Whether there is a section of this name, saved or only set.
  bool hasSection(const cow_String& name) const;

  /// The section's length in bytes. In a damaged file it may be negative, or more than
  /// the file has. Throws nex_AssertException when there is no such section, with the
  /// text "job.kdb": There is no section "loads"
  int getSectionLength(const cow_String& name) const;

  /// Copies the section's bytes to `buffer`, which has room for getSectionLength bytes.
  ///
  /// Bytes from the file are checked against their checksum: when they differ,
  /// nex_TextException "Data corrupted in section "NAME"" is thrown, and the buffer
  /// holds the bytes as they are in the file. A negative length throws the same and
  /// leaves the buffer alone. Where the file ends before the section does,
  /// utl_FileExceptionRead with code 38 is thrown; the buffer's contents are then
  /// unspecified. Throws nex_AssertException when there is no such section, as
  /// getSectionLength does.
  void getSectionData(const cow_String& name, void* buffer);

  /// Checks section `number`, counted from 0 in the order of getSections, against its
  /// checksum, and throws what getSectionData throws. So sections with one name can be
  /// checked, too. A section is read in pieces, whatever its length. One that was set is
  /// always right. Throws nex_AssertException when there is no such number.
  void checkSection(int number);

  /// The section as values of type T, which lie in it one after the other in the form
  /// that they have in memory: int, double, a structure without pointers.
  ///
  /// Throws what getSectionData throws, and nex_TextException "Section "NAME" has 7
  /// bytes, which is no whole number of values of 8 bytes". Memory is taken only for
  /// bytes that the file has.
  template <class T>
  std::vector<T> getSection(const cow_String& name);

  /// Makes the section a copy of the `length` bytes at `data`: in its old place, or after
  /// all others when the name is new. Changes memory only.
  ///
  /// Throws nex_AssertException when `length` is negative, std::bad_alloc when there is
  /// no memory; nothing has changed then. `data` may be null when `length` is 0.
  void setSectionData(const cow_String& name, const void* data, int length);

  /// Makes the section a copy of these values, as getSection reads them:
  ///
  ///     file.setSection<double>("loads", loads);   // a vector, an array, a span
  ///
  /// Throws nex_TextException "Total size exceeds 2147483647 bytes" when these alone are
  /// more, std::bad_alloc when there is no memory; nothing has changed then.
  template <class T>
  void setSection(const cow_String& name, std::span<const T> values);

  /// Rewrites the whole file: first to the temporary file `path`.PID.tmp (PID is the
  /// decimal process number), which is flushed to disk with its name, then from there
  /// over the file itself, which is flushed, too. Afterwards no section is held in
  /// memory. The temporary file is always deleted; only a process that dies meanwhile
  /// leaves it behind, and then the file is intact or the temporary file is complete
  /// (docs/multisection-file.md says how to tell).
  ///
  /// The temporary file is always a new one: a file or link of its name is deleted
  /// first, and never written to. On Linux it has the permissions of the file.
  ///
  /// Sections that were not set are copied without checking their checksum: what was
  /// damaged stays so, and is still detected when it is read. This applies to a negative
  /// length too, which misplaces all sections after it when the file is opened again.
  ///
  /// Throws nex_TextException "Total size exceeds 2147483647 bytes" before anything is
  /// touched; utl_FileExceptionRead with code 38 when the file lacks bytes of a section,
  /// before the file is touched; utl_File's exceptions. A file opened for reading fails
  /// with its read-only error. After a failure the file is as it was unless the last
  /// step, the copy over it, had begun: a full disk or a device error in that step
  /// damages the file, and the temporary file is still deleted. saveChangesAtomically has
  /// no such step. Sections that had already been written to the temporary file count as
  /// saved: their new bytes are no longer in memory, and their places may lie outside the
  /// file. Set them again, or abandon the object.
  void saveChanges();

  /// Saves as saveChanges does, with the same bytes as the result, but atomically:
  /// whatever happens, an error of the file system, the end of the process or a loss of
  /// power, `path` names the whole old file or the whole new one. The temporary file is
  /// flushed to disk and renamed over the file, and the renaming is flushed, too. The
  /// object then has the new file, under the same lock.
  ///
  /// The file is then another one:
  /// - On Linux it has the owner, group and permissions of the old one (access control
  ///   lists and extended attributes are not kept); when this process may not give it
  ///   those, saving fails. On Windows it inherits the rights of its directory.
  /// - Where `path` is a link, it stays one, and the file that it points to is replaced,
  ///   provided that both are on one file system. Hard links keep the old file.
  /// - On Linux a reader that has the old file open keeps it; one that opens `path` gets
  ///   the old or the new file, never something in between. Windows replaces no file that
  ///   others have open: saving waits up to 200 ms for them, and then fails. Who opens
  ///   the file there at the very moment of its replacement may be refused.
  ///
  /// Throws what saveChanges throws, and utl_FileExceptionWrite when the file cannot be
  /// replaced: with code 5 for the reasons above, with the system's code for others, and
  /// for a file opened for reading. Nothing has changed then, in the file or in this
  /// object: what was set is still set, and saving may be tried again. Two exceptions are
  /// thrown after the file was replaced, and this object then has the new one:
  /// utl_FileExceptionFlush for `path`, when the renaming may not be on the disk yet, and
  /// utl_FileExceptionClose, when the old file could not be closed.
  void saveChangesAtomically();

  // The rest is implementation.

 private:
  void ReadSection(int number, char* buffer);
  void Swap(utl_MultisectionFile& other) noexcept;
  std::size_t CheckedCount(const cow_String& name, std::size_t valueSize) const;
  void SetBytes(const cow_String& name, std::span<const std::byte> bytes);

  // Destroyed from the last to the first: the lock goes before the file is closed.
  utl_File file_;
  cow_String path_;
  std::unique_ptr<utl_LockFileHolder> lock_;
  std::unique_ptr<utl_SectionDirectory> directory_;

  // The position of file_ after a section was read, so that the next one needs no seek.
  static constexpr auto kUnknownPosition = std::numeric_limits<std::int64_t>::min();
  std::int64_t position_ = kUnknownPosition;
};

/// The types whose values can be written to a file and read back as they lie in memory.
template <class T>
inline constexpr bool utl_isSectionValue =
    std::is_trivially_copyable_v<T>&& std::is_default_constructible_v<T> &&
    !std::is_pointer_v<T> && !std::is_const_v<T>;

template <class T>
std::vector<T> utl_MultisectionFile::getSection(const cow_String& name) {
  static_assert(utl_isSectionValue<T> && !std::is_same_v<T, bool>,
                "a section has values without pointers and constructors, no bool");
  std::vector<T> values(CheckedCount(name, sizeof(T)));
  getSectionData(name, values.data());
  return values;
}

template <class T>
void utl_MultisectionFile::setSection(const cow_String& name, std::span<const T> values) {
  static_assert(utl_isSectionValue<T>,
                "a section has values without pointers and constructors");
  SetBytes(name, std::as_bytes(values));
}
