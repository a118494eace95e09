// The environment that other subjects read: variables, the current directory, the
// command line's job.

#include <filesystem>
#include <string>

#include "common/environment/ScopedEnvironment.h"
#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_CommandLineLoader.h"

namespace {

class Environment : public Subject {
 public:
  explicit Environment(World& world) : world_(world) {}

  void Run(Random& random, Log& log) override {
    switch (random.Below(6)) {
      case 0:
        return Directory(random, log);
      case 1:
        return Job(random, log);
      default:
        return Variable(random, log);
    }
  }

 private:
  std::string SomeValue(Random& random) const {
    constexpr const char* kValues[] = {"a",
                                       "sub",
                                       " x",
                                       "$V",
                                       "$W",
                                       "%W%",
                                       "%V%x",
                                       "$V$V",
                                       "x$Wy",
                                       "Q",
                                       "kstrdb://h/p",
                                       "Z:\\d",
                                       "launcher",
                                       "/opt/bin/kst_driver",
                                       "\\\\host\\share",
                                       "launcher.exe"};
    switch (random.Below(5)) {
      case 0: {
        std::string list = SomePath(world_, random);
        for (int left = random.Below(4); left > 0; --left) {
          list += ";" + SomePath(world_, random);
        }
        return list;
      }
      case 1:
        return world_.shown + ";" + world_.shown + "\\sub;";
      case 2:
        return SomeOf(random, "abc$VW%/\\.; ", 1, 30);
      default:
        return random.Pick(kValues);
    }
  }

  void Variable(Random& random, Log& log) {
    const std::string name = SomeVariable(random);
    const std::string value = SomeValue(random);
    const bool clear = random.OneIn(6) || name == "NONE";
    log.Call("set variable", name, clear ? "" : value).Result([&] {
      SetEnvironment(name.c_str(), clear ? nullptr : value.c_str());
    });
  }

  void Directory(Random& random, Log& log) {
    constexpr const char* kDirectories[] = {"", "", "/sub", "/empty"};
    const std::string directory = random.Pick(kDirectories);
    log.Call("current directory", directory).Result([&] {
      std::error_code ignored;
      std::filesystem::current_path(world_.directory + directory, ignored);
    });
  }

  void Job(Random& random, Log& log) {
    constexpr const char* kOptions[] = {"-job", "-job", "-outdir"};
    const char* const option = random.Pick(kOptions);
    const std::string value = random.OneIn(2) ? SomePath(world_, random) : "beam";
    log.Call("load arguments", option, value).Result([&] {
      cow_1DArrayList<cow_String> arguments;
      arguments.Append(option);
      arguments.Append(cow_String(std::string_view(value)));
      utl_CommandLineLoader::SetArgsList(arguments);
    });
  }

  World& world_;
};

}  // namespace

std::unique_ptr<Subject> MakeEnvironment(World& world, Random&) {
  return std::make_unique<Environment>(world);
}
