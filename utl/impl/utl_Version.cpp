#include "utl/utl_Version.h"

#include <string>

#include "platform/platform.h"

template class omi_Singleton<utl_Version>;

namespace {

// The release comes from the build.
constexpr int kMajorVersion = KSTUTL_VERSION_MAJOR;
constexpr int kMinorVersion = KSTUTL_VERSION_MINOR;
constexpr int kUpdateVersion = KSTUTL_VERSION_UPDATE;
constexpr int kCopyrightYear = 2007;
constexpr utl_VersionTypeEnum kBuildType = VT_GENMAINT;

constexpr char kStudio[] = "KESTRA/Studio";
constexpr char kLens[] = "KESTRA/Lens";

// A shorter sequence carries no snapshot date.
constexpr int kLongestSequenceWithoutDate = 10;
constexpr int kDatePosition = 5;
constexpr int kDateLength = 5;

// By release type; the Learner Edition has no row.
constexpr struct {
  const char* suffixWord;
  bool debugInfoEnabled;
} kTypes[] = {{"", true},    {"DEV", true}, {"", false},
              {"IP", false}, {"MNT", true}, {"PR", false}};

cow_String Environment(const char* name) {
  return platform::Environment(name);
}

cow_String Decimal(int number) {
  return std::to_string(number).c_str();
}

}  // namespace

utl_Version::utl_Version()
    : type_(kBuildType),
      productName_("KESTRA"),
      developmentMode_(Environment("KESTRA_DEVL_MODE") == "TRUE") {}

int utl_Version::MajorVersion() const {
  return kMajorVersion;
}
int utl_Version::MinorVersion() const {
  return kMinorVersion;
}
int utl_Version::UpdateVersion() const {
  return kUpdateVersion;
}
int utl_Version::CopyrightYear() const {
  return kCopyrightYear;
}

void utl_Version::SetProductStudio() {
  productName_ = kStudio;
}
void utl_Version::SetProductLens() {
  productName_ = kLens;
}
bool utl_Version::IsProductStudio() const {
  return productName_ == kStudio;
}
bool utl_Version::IsProductLens() const {
  return productName_ == kLens;
}

cow_String utl_Version::Sequence() const {
  return Environment("KESTRA_SEQ");
}

cow_String utl_Version::VersionNumber() const {
  return VersionNumberFromValues(kMajorVersion, kMinorVersion, kUpdateVersion, type_, "");
}

cow_String utl_Version::VersionNumberFromValues(int major, int minor, int update,
                                                utl_VersionTypeEnum type,
                                                const char* suffix) const {
  cow_String number = Decimal(major) + "." + Decimal(minor) + "-";
  switch (type) {
    case VT_DEVELOPMENT:
    case VT_MAINTENANCE:
      return number + kTypes[type].suffixWord;
    case VT_GENMAINT:
    case VT_LEARNER:
      return number + Decimal(update);
    case VT_INTERMEDIATE:
    case VT_PRERELEASE:
      return number + kTypes[type].suffixWord + Decimal(update) + cow_String(suffix);
    case VT_CUSTOM:
      break;
  }
  return number;
}

bool utl_Version::GetDebugInfoEnabledForVersionType() const {
  return kTypes[kBuildType].debugInfoEnabled;
}

cow_String utl_Version::SolaraVersion() const {
  return IsProductStudio() ? "12.0" : "";
}
cow_String utl_Version::PythonVersion() const {
  return "2.3.3";
}
cow_String utl_Version::FoxVersion() const {
  return "1.0";
}

cow_String utl_Version::Title(bool withDevelopmentInfo) const {
  cow_String title = productName_;
  title += IsLearnerEdition() ? " Learner Edition " : " Version ";
  title += VersionNumber();
  if (developmentMode_ && withDevelopmentInfo) {
    title += ", " + DevelopmentInfo();
  }
  return title;
}

cow_String utl_Version::DevelopmentInfo() const {
  const cow_String sequence = Sequence();
  cow_String date;
  if (sequence.Length() > kLongestSequenceWithoutDate) {
    date = sequence.Substr(kDatePosition, kDateLength);
  }
  const cow_String snapshot = sequence.Substr(sequence.Find(" ") + 1, sequence.Length());

  if (const char* work = platform::Environment("WORK")) {
    cow_String info = "Work: " + utl_FilePath(work, "").BaseName();
    if (!snapshot.IsEmpty()) {
      info += " (" + snapshot + ")";
    }
    return info;
  }
  if (snapshot.IsEmpty()) {
    return {};
  }
  cow_String info = "Snapshot: " + snapshot;
  if (!date.IsEmpty()) {
    info += " ( " + date + " )";
  }
  return info;
}
