// The command line in C.

#include <limits>

#include "utl/impl/c/utl_cCall.h"
#include "utl/utl_CommandLine.h"

namespace {

const utl_CommandLine& Line() {
  return thr_GlobalSingleton<utl_CommandLine>::Instance();
}

}  // namespace

kst_Status kst_hasOption(const char* name, int* isThere) {
  return utl_cCall("kst_hasOption", [&](utl_CState&) {
    utl_cRequire(name, "name");
    utl_cRequire(isThere, "isThere");
    *isThere = Line().IsMember(name) ? 1 : 0;
  });
}

kst_Status kst_option(const char* name, char* buffer, size_t size, size_t* length) {
  return utl_cCall("kst_option", [&](utl_CState&) {
    utl_cRequire(name, "name");
    utl_cHandOut(Line().ConstGetValue(name), buffer, size, length);
  });
}

kst_Status kst_optionNumber(const char* name, int64_t* value) {
  return utl_cCall("kst_optionNumber", [&](utl_CState&) {
    utl_cRequire(name, "name");
    utl_cRequire(value, "value");
    const std::size_t number = Line().ConstGetValueAsSizeT(name);
    if (number > static_cast<std::size_t>(std::numeric_limits<int64_t>::max())) {
      utl_cFail(kst_BadValue,
                "the value of " + cow_String(name) + " is above 9223372036854775807");
    }
    *value = static_cast<int64_t>(number);
  });
}

kst_Status kst_argumentCount(size_t* count) {
  return utl_cCall("kst_argumentCount", [&](utl_CState&) {
    utl_cRequire(count, "count");
    *count = static_cast<std::size_t>(Line().Size());
  });
}

kst_Status kst_argument(size_t index, char* buffer, size_t size, size_t* length) {
  return utl_cCall("kst_argument", [&](utl_CState&) {
    if (index >= static_cast<std::size_t>(Line().Size())) {
      utl_cFail(kst_NotFound, "there are not so many arguments");
    }
    utl_cHandOut(Line().ConstGet(static_cast<int>(index)), buffer, size, length);
  });
}
