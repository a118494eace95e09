#include "utl/utl_DiskAttributes.h"

#include <windows.h>

#include <cstdio>
#include <string>

#include "atr/atr_translate.h"
#include "nex/nex_TextException.h"
#include "pnt/pnt_Debug.h"
#include "typ/typ_DebugFlags.h"
#include "utl/utl_FilePath.h"

namespace {

constexpr char kSource[] = "utl/impl/utl_DiskAttributes";
constexpr int kDebugFlag = 3;
constexpr int kPrintingLevel = 3;

struct Unit {
  const char* name;
  int shift;  // from bytes
};

constexpr Unit kBytes = {"bytes", 0};
constexpr Unit kKilobytes = {"kbytes", 10};
constexpr Unit kMegabytes = {"MB", 20};

// Exactly one of the larger unit is still printed in the smaller one.
Unit UnitFor(std::uint64_t bytes) {
  if (bytes > std::uint64_t{1} << kMegabytes.shift) {
    return kMegabytes;
  }
  return bytes > std::uint64_t{1} << kKilobytes.shift ? kKilobytes : kBytes;
}

std::string Line(const char* what, const cow_String& path, std::uint64_t bytes,
                 Unit unit) {
  return std::string("\n Free space ") + what + ' ' + path.c_str() + " =" +
         std::to_string(bytes >> unit.shift) + ' ' + unit.name + " \n";
}

void PrintSpace(const cow_String& path, std::uint64_t onDrive, std::uint64_t toCaller) {
  const Unit unit = UnitFor(onDrive);
  const std::string text =
      Line("on drive", path, onDrive, unit) + Line("to caller", path, toCaller, unit);
  pnt_StartDebug();
  std::fputs(text.c_str(), stdout);
  pnt_EndDebug();
}

atr_String FailureText(DWORD code, const cow_String& path) {
  atr_translate text("error: %u:  could not get free space for \"%s\"\n");
  atr_SubstituteFormat(text, 1, static_cast<unsigned>(code));
  atr_SubstituteFormat(text, 2, path);
  return text.Result();
}

}  // namespace

utl_DiskAttributes::utl_DiskAttributes(const cow_String& path) : path_(path) {
  const cow_String absolute = utl_FilePath(path, "").Portable().AbsolutePathName();
  const int colon = absolute.Find(":/");
  if (colon >= 1 && colon < absolute.Length()) {
    path_ = path.Substr(0, colon + 1) + '\\';
  }
}

utl_DiskAttributes::~utl_DiskAttributes() = default;

std::uint64_t utl_DiskAttributes::GetFreeDiskSpace() const {
  ULARGE_INTEGER toCaller = {};
  ULARGE_INTEGER total = {};
  ULARGE_INTEGER onDrive = {};
  if (!GetDiskFreeSpaceExA(path_.c_str(), &toCaller, &total, &onDrive)) {
    const DWORD code = GetLastError();
    nex_TextException(FailureText(code, path_)).Throw(kSource);
  }
  if (typ_DebugFlags::Level(kDebugFlag) >= kPrintingLevel) {
    PrintSpace(path_, onDrive.QuadPart, toCaller.QuadPart);
  }
  return toCaller.QuadPart;
}
