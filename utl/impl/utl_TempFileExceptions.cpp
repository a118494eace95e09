#include "atr/atr_translate.h"
#include "utl/utl_TempFile.h"

namespace {

atr_String OpenMessage(const cow_String& fileName, const cow_String& systemText) {
  atr_translate message(
      "*** ERROR: Can't create temporary file: %1$s, system error: %2$s");
  atr_SubstituteFormat(message, 1, fileName);
  atr_SubstituteFormat(message, 2, systemText);
  return message.Result();
}

atr_String DirectoryMessage(const cow_String& directory) {
  atr_translate message("*** ERROR: Not a directory: %s");
  atr_SubstituteFormat(message, 1, directory);
  return message.Result();
}

}  // namespace

utl_TempFileException::utl_TempFileException(const atr_String& message)
    : nex_TextException(message) {}

void utl_TempFileException::Propagate() const {
  throw *this;
}

utl_TempFileOpenExc::utl_TempFileOpenExc(const cow_String& fileName,
                                         const cow_String& systemText)
    : utl_TempFileException(OpenMessage(fileName, systemText)) {}

void utl_TempFileOpenExc::Propagate() const {
  throw *this;
}

utl_TempFileDirExc::utl_TempFileDirExc(const cow_String& directory)
    : utl_TempFileException(DirectoryMessage(directory)) {}

void utl_TempFileDirExc::Propagate() const {
  throw *this;
}

utl_TempFileCantExc::utl_TempFileCantExc()
    : utl_TempFileException(
          atr_translate("*** ERROR: Can't create unique temporary file name.").Result()) {
}

void utl_TempFileCantExc::Propagate() const {
  throw *this;
}

utl_TempFileNoDirExc::utl_TempFileNoDirExc()
    : utl_TempFileException(
          atr_translate(
              "*** ERROR: Can't find directory in which to place temporary file.")
              .Result()) {}

void utl_TempFileNoDirExc::Propagate() const {
  throw *this;
}
