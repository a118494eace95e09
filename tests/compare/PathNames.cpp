// Path strings, taken apart without the file system.

#include <string>

#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_FilePathParser.h"

namespace {

class PathNames : public Subject {
 public:
  explicit PathNames(World& world) : world_(world) {}

  void Run(Random& random, Log& log) override {
    const cow_String path(std::string_view(SomePathText(random)));
    using Parser = utl_FilePathParser;
    log.Call("utl_FilePathParser", path).Result([&] {
      return Verbatim{ShownAll(
          Parser::IsWindowsStyle(path), Parser::IsUnixStyle(path), Parser::HasDrive(path),
          Parser::Drive(path), Parser::HasHost(path), Parser::Host(path),
          Parser::HasDirName(path), Parser::DirName(path), Parser::HasBaseName(path),
          Parser::BaseName(path), Parser::HasExtension(path), Parser::Extension(path))};
    });
  }

 private:
  std::string SomePathText(Random& random) const {
    constexpr const char* kParts[] = {
        "C:", "z:",  "\xC3:", "\\\\host", "\\\\", "//host",       "\\",
        "/",  "dir", "a.b",   ".",        "..",   ".tar",         "x.",
        " ",  "<",   "|",     "\x01",     "\xE4", "server\\share"};
    if (random.OneIn(4)) {
      return SomePath(world_, random);
    }
    if (random.OneIn(8)) {
      return SomeText(random);
    }
    std::string path;
    for (int left = random.Between(0, 6); left > 0; --left) {
      path += random.Pick(kParts);
      if (random.OneIn(2)) {
        path += random.OneIn(3) ? '/' : '\\';
      }
    }
    return path;
  }

  World& world_;
};

}  // namespace

std::unique_ptr<Subject> MakePathNames(World& world, Random&) {
  return std::make_unique<PathNames>(world);
}
