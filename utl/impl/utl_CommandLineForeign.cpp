#include "utl/utl_CommandLineForeign.h"

#include <cstring>

#include "cow/cow_String.h"
#include "utl/utl_CommandLine.h"

namespace {

const utl_CommandLine& Line() {
  return thr_GlobalSingleton<utl_CommandLine>::Instance();
}

// The name of an option that foreign callers pass, without its padding.
cow_String Stripped(const char* name, int length) {
  return cow_String(name, length).Trim(" ");
}

}  // namespace

void UTL_COMMANDLINEINTEGER(const char* name, int* value, int nameLength) {
  const cow_String option = Stripped(name, nameLength);
  *value = Line().IsMember(option) ? Line().ConstGetValueAsInt(option) : 0;
}

void UTL_COMMANDLINEISMEMBER(const char* name, int* status, int nameLength) {
  *status = Line().IsMember(Stripped(name, nameLength)) ? 0 : 1;
}

void UTL_COMMANDLINESTRING(const char* name, char* value, int* status, int nameLength,
                           int valueLength) {
  *status =
      utl_CommandLineStringC(Stripped(name, nameLength).c_str(), value, valueLength);
}

int utl_CommandLineStringC(const char* name, char* buffer, int length) {
  if (!Line().IsMember(name)) {
    return 0;
  }
  const cow_String value = Line().ConstGetValue(name);
  const int used = value.Length();
  if (used > length) {
    return 0;
  }
  std::memcpy(buffer, value.c_str(), static_cast<std::size_t>(used));
  std::memset(buffer + used, ' ', static_cast<std::size_t>(length - used));
  return used;
}

int utl_getArgs(const char* name, char* buffer) {
  if (!Line().IsMember(name)) {
    return 0;
  }
  const cow_String value = Line().ConstGetValue(name);
  std::memcpy(buffer, value.c_str(), static_cast<std::size_t>(value.Length()) + 1);
  return value.Length();
}
