// Version, host and process: what does not depend on the machine.

#include <string>

#include "common/environment/ScopedEnvironment.h"
#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_Version.h"

namespace {

utl_Version& Release() {
  return omi_Singleton<utl_Version>::Instance();
}

class Host : public Subject {
 public:
  explicit Host(Random& random) {
    if (random.OneIn(2)) {
      SetEnvironment("KESTRA_DEVL_MODE", random.OneIn(3) ? "true" : "TRUE");
    }
  }

  void Run(Random& random, Log& log) override {
    constexpr void (Host::*kOperations[])(Random&, Log&) = {
        &Host::Number, &Host::Number, &Host::Product, &Host::Product,
        &Host::Title,  &Host::Title,  &Host::Machine, &Host::Variable};
    (this->*random.Pick(kOperations))(random, log);
  }

 private:
  void Number(Random& random, Log& log) {
    const int major = SomeInt(random);
    const int minor = SomeInt(random);
    const int update = SomeInt(random);
    const auto type = static_cast<utl_VersionTypeEnum>(random.Below(8));
    const std::string suffix = SomeText(random);
    const bool noSuffix = random.OneIn(6);
    log.Call("utl_Version.VersionNumberFromValues", major, minor, update, int{type},
             suffix, noSuffix)
        .Result([&] {
          return Release().VersionNumberFromValues(major, minor, update, type,
                                                   noSuffix ? nullptr : suffix.c_str());
        });
  }
  void Product(Random& random, Log& log) {
    const std::string name = SomeText(random);
    const int what = random.Below(6);
    log.Call("utl_Version, product", name, what).Result([&] {
      utl_Version& release = Release();
      switch (what) {
        case 0:
          release.SetProductStudio();
          break;
        case 1:
          release.SetProductLens();
          break;
        case 2:
          release.SetLearnerEdition();
          break;
        case 3:
          release.SetExecutableName(utl_FilePath(cow_String(std::string_view(name)), ""));
          break;
        default:
          release.SetProductName(cow_String(std::string_view(name)));
      }
    });
  }
  void Title(Random& random, Log& log) {
    const bool development = random.OneIn(2);
    log.Call("utl_Version.Title", development).Result([&] {
      const utl_Version& release = Release();
      return Verbatim{ShownAll(
          release.Title(development), release.ProductName(), release.IsProductStudio(),
          release.IsProductLens(), release.IsLearnerEdition(), release.Sequence(),
          release.VersionNumber(), release.GetDebugInfoEnabledForVersionType(),
          release.SolaraVersion(), release.PythonVersion(), release.FoxVersion())};
    });
  }
  void Machine(Random&, Log& log) {
    log.Call("utl_hostInfo").Result([] {
      return Verbatim{ShownAll(utl_getPlatform(), utl_getHostName().IsEmpty(),
                               utl_getUserName(), utl_getNumberCpus() >= 1,
                               utl_getCpusClockSpeed() != 0, utl_getDate().Length(),
                               utl_getTime().Length(), utl_sleep(0))};
    });
  }
  void Variable(Random& random, Log& log) {
    constexpr const char* kVariables[] = {"KESTRA_SEQ", "WORK"};
    constexpr const char* kValues[] = {"snap_1", "  x ", "Z:\\work", "/home/u/w",
                                       "a/b\\c.d"};
    const char* const name = random.Pick(kVariables);
    const char* const value = random.OneIn(4) ? nullptr : random.Pick(kValues);
    log.Call("set variable", name, value == nullptr ? "" : value).Result([&] {
      SetEnvironment(name, value);
    });
  }
};

}  // namespace

std::unique_ptr<Subject> MakeHost(World&, Random& random) {
  return std::make_unique<Host>(random);
}
