#pragma once

#include <cstdint>

#include "cow/cow_List.h"
#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "utl/utl_FilePath.h"

/// The entries of one directory as they were when the object was made; later changes
/// to the directory are not seen.
///
///     utl_DirObject jobs(utl_FilePath("Z:\\jobs", ""));
///     for (const utl_FilePath& file : jobs.GetAllFileNames())
///       Use(file.AbsolutePathName());            // Z:\jobs\b.dat, Z:\jobs\a.dat
///     jobs.FindFileNamesWithExtension(".dat");   // a.dat, b.dat
///
/// The system hands out the entries in an order of its own, the enumeration order: on
/// Windows mostly by name, without regard to letter case, on Linux any. "." and ".." are
/// directories among the others; a drive's root has neither. A link counts as what it
/// points to; one that points to nothing is a file (Wine leaves it out). FIFOs and
/// devices are files too.
///
/// The paths are made by utl_FilePath from the directory's absolute name, a backslash and
/// the entry's name. So an entry whose name looks like a reference to an environment
/// variable that is set ("$HOME", "%TMP%") has the variable's value in its path.
///
/// A value; copying it does not read again, and lists share their elements. Queries never
/// ask the file system about an entry and throw nothing but std::bad_alloc. Threads: a
/// plain value; making paths reads the environment and the current directory, as
/// utl_FilePath does.
class KSTUTL_EXPORT utl_DirObject {
 public:
  /// Reads the directory. One that is missing or may not be read, a file's name and a
  /// name that is no plain path have no entries; that is no error.
  explicit utl_DirObject(utl_FilePath directory);

  /// All files and then all directories, each in enumeration order.
  cow_List<utl_FilePath> GetAllEntries() const;
  /// The files, the one enumerated last first.
  cow_List<utl_FilePath> GetAllFileNames() const;
  /// The directories, the one enumerated last first.
  cow_List<utl_FilePath> GetAllDirNames() const;

  /// The files whose name contains `text`, at its start or anywhere else, by their bare
  /// names and in enumeration order. A path made of a bare name is resolved as any such
  /// name is, against the current directory: its PathName() and FileName() are useful,
  /// its AbsolutePathName() only if this directory is the current one.
  cow_List<utl_FilePath> PrefixMatchFilenames(cow_String text) const;

  /// For every directory whose AbsoluteDirectoryPath() contains `text` that same path, in
  /// enumeration order. An entry's AbsoluteDirectoryPath() is the directory that it lies
  /// in: of Z:\jobs with its entries ".", ".." and "old", the text "job" gives Z:\jobs
  /// three times, and "old" gives nothing.
  cow_List<utl_FilePath> PrefixMatchDirNames(cow_String text) const;

  /// The files of PrefixMatchFilenames and then the paths of PrefixMatchDirNames.
  cow_List<utl_FilePath> PrefixMatchAllEntries(cow_String text) const;

  /// The files of that extension, by their bare names and in enumeration order, as
  /// PrefixMatchFilenames gives them. The extension is a name's part from its last dot
  /// on, the dot included: ".dat". Letter case counts. A name whose last dot is its first
  /// character (".profile") has none here, and neither has a name without a dot.
  cow_List<utl_FilePath> FindFileNamesWithExtension(cow_String extension) const;

  /// How many files and how many directories there are.
  std::int32_t FileCount() const { return fileCount_; }
  std::int32_t DirCount() const { return dirCount_; }

  // The rest is implementation.

 private:
  void Read();

  utl_FilePath directory_;
  cow_List<utl_FilePath> files_;
  cow_List<utl_FilePath> dirs_;
  std::int32_t fileCount_ = 0;
  std::int32_t dirCount_ = 0;
};
