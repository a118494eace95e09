#pragma once

#include <filesystem>

#include "cow/cow_1DArray.h"
#include "cow/cow_List.h"
#include "cow/cow_String.h"
#include "KSTutl_export.h"

/// A file name resolved once against a directory, the environment and the current
/// directory, and kept in four parts.
///
///     utl_FilePath path("sub/f.txt", "D:\\x");
///     path.AbsolutePathName();    // D:\x\sub\f.txt
///     path.PathName();            // sub\f.txt
///     path.BaseName();            // f
///
/// A name that is a URL (see utl_UrlParser), or that lies in the "Network connectors"
/// namespace, is kept whole: it is no plain path, and the file system is never asked
/// about it.
///
/// The letter case of file names does not matter, neither here nor when a file is opened.
/// Where a file system tells names apart by it, as most do on Linux, an existing file of
/// exactly this name comes first, then one whose name differs in letter case alone; of
/// several such files the system chooses. So writing "LOWER.TXT" empties "lower.txt"
/// where only that one exists. A new file gets its name as it is written.
///
/// Blanks and dots at the end of a name do not count, so that "a. " is the file "a". A
/// name of which nothing else is left after its last separator ends in that separator:
/// `dir\ ` is `dir\`.
///
/// Nothing but std::bad_alloc is thrown, except where stated: a query that the system
/// refuses gives false. Nothing waits: a FIFO or a device is not opened to be asked
/// about.
///
/// Threads: a plain value. Resolving (SetFilePath and the constructor with arguments)
/// reads the environment and the current directory of the process; while it runs no
/// other thread may change these.
class KSTUTL_EXPORT utl_FilePath {
 public:
  /// The empty plain path.
  utl_FilePath() = default;

  /// The same as SetFilePath on an empty path.
  utl_FilePath(cow_String fileName, cow_String directory);

  /// The file that `path` names for the standard library, under the name that
  /// utl_fromNativePath gives it: a plain path, made absolute by the current directory.
  /// References to the environment are not replaced. Throws as utl_fromNativePath does.
  utl_FilePath(const std::filesystem::path& path);

  /// The plain path of these parts, taken as they are: nothing is resolved or checked.
  /// For many files of one directory, whose paths then share its text. `directory` and
  /// `subdirectory` end in `\` or are empty; `extension` starts with its dot.
  ///
  ///     utl_FilePath::FromParts("", "D:\\x\\", "f", ".txt").PathName();   // D:\x\f.txt
  static utl_FilePath FromParts(cow_String directory, cow_String subdirectory,
                                cow_String baseName, cow_String extension);

  /// Resolves `fileName` against `directory`:
  /// - Every `/` becomes `\`; then references %NAME% and $NAME to environment variables
  ///   are replaced by their values, over and over, in both arguments. A variable that is
  ///   unset or whose name has 256 characters or more stays as written. Letter case of a
  ///   variable's name does not matter; where two names differ in it alone, which Linux
  ///   allows, the exact one comes first. So that a variable that refers to itself comes
  ///   to an end, each form is replaced at most 1,000 times in one argument, and an
  ///   argument that has grown beyond 1,048,576 bytes is left as it is then.
  /// - An absolute name (`\dir...`, `\\host...`, `C:\...`) ignores the directory. A name
  ///   such as "C:data" is taken relative to the current directory of drive C.
  /// - Any other name is anchored at the directory if that is absolute, has a drive or
  ///   starts with `\`. A relative directory is ignored and the current directory is
  ///   used, as with an empty one.
  /// - The name "" or "." stands for the directory itself.
  ///
  /// Only `\` separates afterwards; "." and ".." are not resolved. `C:\\`, with a second
  /// backslash, ends as the name "C:". A URL or network connector sets the base name
  /// alone and leaves the other parts as they were.
  void SetFilePath(cow_String fileName, cow_String directory);

  /// Turns every `\` of directory, subdirectory and base name into `/`. Plain paths only.
  /// Returns this path.
  utl_FilePath& Portable();

  /// Turns every `/` of directory, subdirectory and base name into `\`. Plain paths only.
  /// Returns this path.
  utl_FilePath& Native();

  /// Whether a file or directory of this name exists; true for a path that is not plain.
  bool Exists() const;

  /// Whether it exists; true for a path that is not plain. On both targets existence is
  /// all that counts, not whose file it is and what its permissions say: opening it may
  /// still be refused.
  bool IsReadable() const;

  /// Whether it may be written, or, when it does not exist, created: that is tried, and
  /// nothing is left behind. What exists may be written unless it is read-only: on
  /// Windows it has that attribute, on Linux its permissions let nobody write, neither
  /// the owner nor the group nor others. Whether this process is among those who may is
  /// not asked. False for a path that is not plain.
  bool IsWriteable() const;

  /// Whether the extension is ".exe" or ".bat", in lower case only, and the file
  /// IsReadable(). False for a path that is not plain.
  bool IsExecutable() const;

  /// Whether it is a directory. False for a path that ends in a separator, which the
  /// system's status call does not accept. False for a path that is not plain.
  bool IsDir() const;

  /// The name as given, resolved: `sub\f.txt`; the whole name of a path that is not
  /// plain.
  cow_String PathName() const;

  /// Directory and name: `D:\x\sub\f.txt`; the whole name of a path that is not plain.
  cow_String AbsolutePathName() const;

  /// Everything before the last component, with its separator: `D:\x\sub\`; "" for a path
  /// that is not plain.
  cow_String AbsoluteDirectoryPath() const;

  /// The last component: "f.txt"; the whole name of a path that is not plain.
  cow_String FileName() const;

  /// The last component up to its last dot: "f"; the whole name of a path that is not
  /// plain.
  cow_String BaseName() const { return baseName_; }

  /// The last component from its last dot on, dot included: ".txt"; "" when it has none.
  /// Meaningless for a path that is not plain.
  cow_String Extension() const { return extension_; }

  /// The absolute name in the system's own form, as utl_nativePath gives it:
  ///
  ///     for (const utl_FilePath& file : utl_DirObject(directory).GetAllFileNames()) {
  ///       std::ifstream in{std::filesystem::path(file)};
  operator std::filesystem::path() const;

  // The rest is implementation.

 private:
  void SetPlainPath(const cow_String& fileName, const cow_String& directory);
  bool IsPlain() const { return !isUrl_ && !isNetworkConnector_; }
  cow_String Anchor(std::string_view name, std::string_view directory) const;
  cow_String CurrentDirectoryOfDrive(char letter) const;
  void SplitName(std::string_view name);

  bool isUrl_ = false;
  bool isNetworkConnector_ = false;
  cow_String directory_;
  cow_String subdirectory_;
  cow_String baseName_;
  cow_String extension_;
};

extern template class KSTUTL_EXPORT cow_List<utl_FilePath>;
extern template class KSTUTL_EXPORT cow_1DArray<utl_FilePath>;
