#include "atr/atr_translate.h"
#include "omi/omi_SystemErrorCode.h"
#include "utl/utl_File.h"

namespace {

// The text of a failed system call.
atr_String CallMessage(const char* text, int code, const cow_String& path,
                       const atr_String& operation) {
  atr_translate message(text);
  atr_SubstituteFormat(message, 1, operation);
  atr_SubstituteFormat(message, 2,
                       omi_SystemErrorCode(omi_SystemErrorCode::kSystem, code).Text());
  atr_SubstituteFormat(message, 3, path);
  return message.Result();
}

// The text of a failure that has no error number.
atr_String PlainMessage(const char* text, const cow_String& path,
                        const atr_String& reason) {
  atr_translate message(text);
  atr_SubstituteFormat(message, 1, reason);
  atr_SubstituteFormat(message, 2, path);
  return message.Result();
}

// The path is given as the first argument, but the template has the second: the text has
// always shown the bare placeholder.
atr_String FullMessage(const cow_String& path) {
  atr_translate message("*** Error: Free disk space depleted\nfile name: %2$s");
  atr_SubstituteFormat(message, 1, path);
  return message.Result();
}

}  // namespace

utl_FileExceptionOpen::utl_FileExceptionOpen(int code, const cow_String& path,
                                             const atr_String& operation)
    : nex_TextException(CallMessage(
          "*** Error: File open failed (utl_File: %1$s)\nerror: %2$s\nfile: %3$s", code,
          path, operation)) {}

void utl_FileExceptionOpen::Propagate() const {
  throw *this;
}

utl_FileExceptionNoFile::utl_FileExceptionNoFile(const cow_String& path,
                                                 const atr_String& text)
    : nex_TextException(PlainMessage(
          "*** Error: No such file (utl_File: %1$s)\nfile name: %2$s", path, text)) {}

void utl_FileExceptionNoFile::Propagate() const {
  throw *this;
}

utl_FileExceptionClose::utl_FileExceptionClose(int code, const cow_String& path,
                                               const atr_String& operation)
    : nex_TextException(CallMessage(
          "***ERROR: File close failed (utl_File: %1$s)\nerror: %2$s\nfile: %3$s", code,
          path, operation)) {}

void utl_FileExceptionClose::Propagate() const {
  throw *this;
}

utl_FileExceptionSeek::utl_FileExceptionSeek(int code, const cow_String& path,
                                             const atr_String& operation)
    : nex_TextException(
          CallMessage("*** Error: Seek failed (utl_File: %1$s)\nerror: %2$s\nfile: %3$s",
                      code, path, operation)) {}

void utl_FileExceptionSeek::Propagate() const {
  throw *this;
}

utl_FileExceptionLocation::utl_FileExceptionLocation(int code, const cow_String& path,
                                                     const atr_String& operation)
    : nex_TextException(CallMessage(
          "*** Error: Get file location failed (utl_File: %1$s)\nerror: %2$s\nfile: %3$s",
          code, path, operation)) {}

void utl_FileExceptionLocation::Propagate() const {
  throw *this;
}

utl_FileExceptionFlush::utl_FileExceptionFlush(const cow_String& path,
                                               const atr_String& text)
    : nex_TextException(PlainMessage(
          "*** Error: Flush failed (utl_File: %1$s)\nfile name: %2$s", path, text)) {}

utl_FileExceptionFlush::utl_FileExceptionFlush(int code, const cow_String& path,
                                               const atr_String& operation)
    : nex_TextException(
          CallMessage("*** Error: Flush failed (utl_File: %1$s)\nerror: %2$s\nfile: %3$s",
                      code, path, operation)) {}

void utl_FileExceptionFlush::Propagate() const {
  throw *this;
}

utl_FileExceptionRead::utl_FileExceptionRead(int code, const cow_String& path,
                                             const atr_String& operation)
    : nex_TextException(
          CallMessage("*** Error: Read failed (utl_File: %1$s)\nerror: %2$s\nfile: %3$s",
                      code, path, operation)) {}

void utl_FileExceptionRead::Propagate() const {
  throw *this;
}

utl_FileExceptionWrite::utl_FileExceptionWrite(const cow_String& path,
                                               const atr_String& text)
    : nex_TextException(PlainMessage(
          "*** Error: Write failed (utl_File: %1$s)\nfile name: %2$s", path, text)) {}

utl_FileExceptionWrite::utl_FileExceptionWrite(int code, const cow_String& path,
                                               const atr_String& operation)
    : nex_TextException(
          CallMessage("*** Error: Write failed (utl_File: %1$s)\nerror: %2$s\nfile: %3$s",
                      code, path, operation)) {}

void utl_FileExceptionWrite::Propagate() const {
  throw *this;
}

utl_FileExceptionFull::utl_FileExceptionFull(const cow_String& path)
    : nex_TextException(FullMessage(path)) {}

void utl_FileExceptionFull::Propagate() const {
  throw *this;
}

utl_FileExceptionSize::utl_FileExceptionSize(int code, const cow_String& path,
                                             const atr_String& operation)
    : nex_TextException(CallMessage(
          "*** Error: Get file size failed (utl_File: %1$s)\nerror: %2$s\nfile: %3$s",
          code, path, operation)) {}

void utl_FileExceptionSize::Propagate() const {
  throw *this;
}

utl_FileExceptionExtend::utl_FileExceptionExtend(int code, const cow_String& path,
                                                 const atr_String& operation)
    : nex_TextException(CallMessage(
          "*** Error: Extend failed (utl_File: %1$s)\nerror: %2$s\nfile: %3$s", code,
          path, operation)) {}

void utl_FileExceptionExtend::Propagate() const {
  throw *this;
}
