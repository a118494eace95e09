// Status of files, tests of directories, free space: what is asked about a name.

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <string>

#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_DirPathUtils.h"
#include "utl/utl_DiskAttributes.h"
#include "utl/utl_FileOffset.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_Stat.h"

namespace {

// Whether the time is the present one, give or take the run.
bool IsRecent(std::int32_t seconds) {
  constexpr std::int64_t kHour = 3600;
  const std::int64_t age = static_cast<std::int64_t>(std::time(nullptr)) - seconds;
  return age > -kHour && age < 24 * kHour;
}

std::string Shown(const utl_Stat& status) {
  return ShownAll(status.record == &status.size, status.flag, status.size,
                  status.fileIndex != 0, status.linkCount, status.isDirectory,
                  status.isNormal, IsRecent(status.accessTime),
                  IsRecent(status.writeTime), IsRecent(status.creationTime),
                  status.error.Kind(), status.error.Code());
}

class Status : public Subject {
 public:
  explicit Status(World& world) : world_(world) {}

  void Run(Random& random, Log& log) override {
    constexpr void (Status::*kOperations[])(Random&, Log&) = {
        &Status::Named,      &Status::Named,     &Status::Descriptor, &Status::NotFound,
        &Status::Identity,   &Status::Directory, &Status::Separators, &Status::Space,
        &Status::Predicates, &Status::Native,    &Status::Handle,     &Status::Predicates,
        &Status::Predicates, &Status::Difference};
    (this->*random.Pick(kOperations))(random, log);
  }

 private:
  cow_String Path(Random& random) const {
    return cow_String(std::string_view(SomePath(world_, random)));
  }

  void Named(Random& random, Log& log) {
    const cow_String path = Path(random);
    log.Call("utl_Stat", path).Result([&] { return Verbatim{Shown(utl_Stat(path))}; });
  }
  void Descriptor(Random& random, Log& log) {
    constexpr int kDescriptors[] = {-1, -2, 1000, 100000, 2147483647, -2147483647 - 1};
    const int descriptor = random.Pick(kDescriptors);
    log.Call("utl_Stat", descriptor).Result([&] {
      return Verbatim{Shown(utl_Stat(descriptor))};
    });
  }
  void Handle(Random&, Log& log) {
    log.Call("utl_Stat of no handle").Result([] {
      return Verbatim{Shown(utl_Stat(static_cast<void*>(nullptr)))};
    });
  }
  void Native(Random& random, Log& log) {
    // The C++ libraries do not agree on what ends in a blank, a drive alone and "...\\".
    std::string text = SomePath(world_, random);
    while (text.ends_with(' ') || text.ends_with(':') || text.find("...") < text.size()) {
      text = SomePath(world_, random);
    }
    const cow_String path{std::string_view(text)};
    log.Call("utl_nativePath", path).Result([&] {
      // Where the library has no file it may still find a name.
      return utl_FilePath(path, "").Exists() &&
             std::filesystem::exists(utl_nativePath(path));
    });
  }
  void NotFound(Random& random, Log& log) {
    const cow_String path = Path(random);
    log.Call("utl_Stat.ThrowIfFileNotFound", path).Result([&] {
      utl_Stat(path).ThrowIfFileNotFound();
    });
  }
  void Identity(Random& random, Log& log) {
    const cow_String first = Path(random);
    const cow_String second = Path(random);
    log.Call("utl_Stat.fileIndex", first, second).Result([&] {
      return utl_Stat(first).fileIndex == utl_Stat(second).fileIndex;
    });
  }

  void Directory(Random& random, Log& log) {
    const cow_String path = Path(random);
    log.Call("utl_DirPathUtils.CheckDirectory", path).Result([&] {
      return utl_DirPathUtils::CheckDirectory(path);
    });
  }
  void Separators(Random& random, Log& log) {
    const cow_String path = Path(random);
    log.Call("utl_DirPathUtils.Separators", path).Result([&] {
      return Verbatim{ShownAll(utl_DirPathUtils::TrimSeparator(path),
                               utl_DirPathUtils::AddSeparator(path))};
    });
  }
  void Space(Random& random, Log& log) {
    const cow_String path = Path(random);
    log.Call("utl_DiskAttributes.GetFreeDiskSpace", path).Result([&] {
      return utl_DiskAttributes(path).GetFreeDiskSpace() > 0;
    });
  }

  void Predicates(Random& random, Log& log) {
    const cow_String name = Path(random);
    const cow_String directory = random.OneIn(4) ? Path(random) : cow_String();
    log.Call("utl_FilePath.Exists", name, directory).Result([&] {
      const utl_FilePath path(name, directory);
      return Verbatim{ShownAll(path.Exists(), path.IsReadable(), path.IsWriteable(),
                               path.IsExecutable(), path.IsDir())};
    });
  }

  void Difference(Random& random, Log& log) {
    const std::int64_t first = std::int64_t{4} * SomeInt(random);
    const std::int64_t second = SomeInt(random);
    log.Call("utl_FileOffset.DiffAsInt32", first, second).Result([&] {
      return utl_FileOffset(first).DiffAsInt32(second);
    });
  }

  World& world_;
};

}  // namespace

std::unique_ptr<Subject> MakeStatus(World& world, Random&) {
  return std::make_unique<Status>(world);
}
