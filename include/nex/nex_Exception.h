#pragma once

#include "atr/atr_String.h"
#include "KSTutl_export.h"

class cls_WriteVisitor;

/// Root of all exceptions. An exception is made as a local object and raised by Throw,
/// which records where and raises a copy of the object as its own class:
///
///     constexpr char kSource[] = "utl/impl/utl_File";
///     utl_FileExceptionSeek(code, path, operation).Throw(kSource);
///
/// The order of the virtual functions is part of the interface.
///
/// Threads: an exception belongs to the thread that handles it; its functions change
/// nothing once it is raised.
class KSTUTL_EXPORT nex_Exception {
 public:
  virtual ~nex_Exception();
  /// The message for developers, with the source position:
  /// "utl/impl/utl_File, line 120: Seek failed".
  virtual atr_String DeveloperReport() const;
  /// The message for users: what AsString() gives.
  virtual atr_String UserReport() const;
  /// The message text.
  virtual atr_String AsString() const = 0;
  /// Throws a copy of this object as its own class. Every class overrides it.
  [[noreturn]] virtual void Propagate() const = 0;
  /// A copy made by `new`, owned by the caller. Classes outside this library do not
  /// override it: the copy of any text exception is a plain nex_TextException.
  virtual nex_Exception* Copy() const = 0;
  /// A number that tells the nex_ classes apart: 1 text, 2 system error, 3 assertion.
  virtual unsigned int DynTypeId() const = 0;
  /// Hands the exception to a database writer. Exceptions have no database form here, so
  /// nothing is written.
  virtual void DBWrite(const cls_WriteVisitor& visitor) const = 0;

  /// Records the position and raises the exception through Propagate. Without `line` it
  /// is the line of the call.
  /// REQUIRES: `sourceFile` lives as long as the exception and its copies (a literal).
  [[noreturn]] void Throw(const char* sourceFile, int line = __builtin_LINE());

  /// Where it was raised, kept by all copies; "" and 0 before.
  const char* SourceFile() const noexcept { return sourceFile_; }
  int SourceLine() const noexcept { return sourceLine_; }

 protected:
  nex_Exception() noexcept = default;
  nex_Exception(const nex_Exception&) noexcept = default;
  nex_Exception& operator=(const nex_Exception&) noexcept = default;

  // The rest is implementation.

 private:
  const char* sourceFile_ = "";
  int sourceLine_ = 0;
};
