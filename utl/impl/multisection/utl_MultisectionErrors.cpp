#include "utl/impl/multisection/utl_MultisectionErrors.h"

#include "atr/atr_translate.h"
#include "nex/nex_AssertException.h"
#include "nex/nex_TextException.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_MultisectionFile";
constexpr int kLine = 323;  // of all these errors, whichever function meets them

cow_String InFile(const cow_String& path, const atr_String& message) {
  atr_translate prefix("\"%s\": ");
  atr_SubstituteFormat(prefix, 1, path);
  return cow_String(prefix.Result().c_str()) + message.c_str();
}

[[noreturn]] void Fail(const cow_String& path, const atr_String& message) {
  nex_TextException(InFile(path, message)).Throw(kSource, kLine);
}

}  // namespace

void utl_multisectionFail(const cow_String& path, const char* message) {
  Fail(path, atr_translate(message).Result());
}

void utl_multisectionFailTooLong(const cow_String& path) {
  utl_multisectionFail(path, "Total size exceeds 2147483647 bytes");
}

void utl_multisectionFailCorrupted(const cow_String& path, std::string_view section) {
  atr_translate message("Data corrupted in section \"%s\"");
  atr_SubstituteFormat(message, 1, cow_String(section));
  Fail(path, message.Result());
}

void utl_multisectionFailUneven(const cow_String& path, std::string_view section,
                                int length, unsigned valueSize) {
  atr_translate message(
      "Section \"%1$s\" has %2$s bytes, which is no whole number of values of %3$s "
      "bytes");
  atr_SubstituteFormat(message, 1, cow_String(section));
  atr_SubstituteFormat(message, 2, length);
  atr_SubstituteFormat(message, 3, valueSize);
  Fail(path, message.Result());
}

void utl_multisectionFailAbsent(const cow_String& path, const cow_String& section) {
  atr_translate message("There is no section \"%s\"");
  atr_SubstituteFormat(message, 1, section);
  nex_AssertException(InFile(path, message.Result())).Throw(kSource, kLine);
}

void utl_multisectionAssert(bool condition, const char* text) {
  if (!condition) {
    nex_AssertException(text).Throw(kSource, kLine);
  }
}
