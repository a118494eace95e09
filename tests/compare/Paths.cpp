// What is resolved against the environment, the current directory and the command line:
// file paths, executables, job files, the driver's name.

#include <string>

#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_hostInfo.h"
#include "utl/utl_JobFileName.h"
#include "utl/utl_PathFinder.h"
#include "utl/utl_shellCommand.h"

namespace {

class Paths : public Subject {
 public:
  explicit Paths(World& world) : world_(world) {}

  void Run(Random& random, Log& log) override {
    constexpr void (Paths::*kOperations[])(Random&, Log&) = {
        &Paths::Resolve, &Paths::Resolve, &Paths::Resolve, &Paths::Resolve,
        &Paths::Again,   &Paths::Search,  &Paths::Search,  &Paths::Job,
        &Paths::Driver,  &Paths::Shell,   &Paths::Current};
    (this->*random.Pick(kOperations))(random, log);
  }

 private:
  cow_String SomeFile(Random& random) const {
    constexpr const char* kTexts[] = {"%V%",
                                      "$V",
                                      "$W/a",
                                      "%V%%W%",
                                      "$V$W",
                                      "%NONE%\\x",
                                      "$V.txt",
                                      "$VX",
                                      "%V",
                                      "kstrdb://me@node:40/db/f",
                                      "kstrdb:",
                                      "http://x/y",
                                      "Network connectors/x",
                                      "Network connectors\\a\\b",
                                      "network connectors/x",
                                      "\\\\host\\share\\f.txt",
                                      "//host/share",
                                      "\\\\host",
                                      "Q:data",
                                      "Q:\\",
                                      "Q:\\\\",
                                      "Z:\\\\",
                                      "Z:",
                                      "z:/",
                                      "Z:\\a\\..\\b",
                                      "$",
                                      "%%",
                                      "\\"};
    switch (random.Below(6)) {
      case 0: {
        const std::string text = SomeText(random);
        return cow_String(std::string_view(text)).Replace(':', '=');  // no other drives
      }
      case 1:
      case 2:
        return random.Pick(kTexts);
      default:
        return cow_String(std::string_view(SomePath(world_, random)));
    }
  }

  void Resolve(Random& random, Log& log) {
    const cow_String name = SomeFile(random);
    const cow_String directory = random.OneIn(2) ? SomeFile(random) : cow_String();
    const int style = random.Below(3);
    log.Call("utl_FilePath", name, directory, style).Result([&] {
      utl_FilePath path(name, directory);
      if (style > 0) {
        style == 1 ? path.Portable() : path.Native();
      }
      return path;
    });
  }
  void Again(Random& random, Log& log) {
    const cow_String name = SomeFile(random);
    const cow_String directory = SomeFile(random);
    log.Call("utl_FilePath.SetFilePath", name, directory).Result([&] {
      path_.SetFilePath(name, directory);
      return path_;
    });
  }

  void Search(Random& random, Log& log) {
    constexpr const char* kSubs[] = {"", "", "sub", "sub\\", "/sub", "no"};
    const std::string variable = SomeVariable(random);
    const char* const sub = random.Pick(kSubs);
    const std::string file =
        random.OneIn(2) ? SomeName(random) : std::string(random.OneIn(2) ? "prog" : "in");
    const int flags = random.Below(8);
    const bool readable = (flags & 1) != 0;
    const bool tryExe = (flags & 2) != 0;
    const bool third = (flags & 4) != 0;
    const cow_String name{std::string_view(file)};
    log.Call("utl_PathFinder", variable, sub, name, flags).Result([&] {
      return Verbatim{ShownAll(
          utl_PathFinder::getSubDirPath(variable.c_str(), sub, name, readable, tryExe,
                                        third),
          utl_PathFinder::getPath(variable.c_str(), name, readable, tryExe, third))};
    });
  }

  void Job(Random& random, Log& log) {
    const cow_String suffix{std::string_view(SomeText(random))};
    log.Call("utl_JobFileName", suffix).Result([&] { return utl_JobFileName(suffix); });
  }
  void Driver(Random&, Log& log) {
    log.Call("utl_getDriverName").Result([] { return utl_getDriverName(); });
  }
  void Shell(Random&, Log& log) {
    log.Call("shell commands").Result([] {
      return Verbatim{ShownAll(remoteShellCommand(), secureShellCommand())};
    });
  }
  void Current(Random&, Log& log) {
    log.Call("utl_getcwd").Result([] { return utl_getcwd(); });
  }

  World& world_;
  utl_FilePath path_;
};

}  // namespace

std::unique_ptr<Subject> MakePaths(World& world, Random&) {
  return std::make_unique<Paths>(world);
}
