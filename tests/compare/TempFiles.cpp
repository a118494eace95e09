// Temporary files: some without a directory to lie in.

#include <string>

#include "common/environment/ScopedEnvironment.h"
#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_File.h"
#include "utl/utl_TempFile.h"

namespace {

class TempFiles : public Subject {
 public:
  TempFiles(World& world, Random& random) : world_(world) {
    if (random.OneIn(2)) {
      SetEnvironment("SCRATCH", world.shown.c_str());
    }
  }

  void Run(Random& random, Log& log) override {
    constexpr void (TempFiles::*kOperations[])(Random&, Log&) = {
        &TempFiles::Make,   &TempFiles::Make,  &TempFiles::Create,  &TempFiles::Create,
        &TempFiles::Create, &TempFiles::Open,  &TempFiles::Present, &TempFiles::Leave,
        &TempFiles::Name,   &TempFiles::Space, &TempFiles::Use,     &TempFiles::Release,
        &TempFiles::Place,  &TempFiles::Place, &TempFiles::Option};
    number_ = random.Below(kFiles);
    const auto operation = random.Pick(kOperations);
    if (files_[number_] || operation == &TempFiles::Place ||
        operation == &TempFiles::Option) {
      (this->*operation)(random, log);
    } else {
      Make(random, log);
    }
  }

  void Close() override { ReleaseAll(files_); }

 private:
  static constexpr int kFiles = 4;

  utl_TempFile& File() { return *files_[number_]; }

  void Make(Random& random, Log& log) {
    constexpr const char* kSuffixes[] = {"",   "",    ".scr", "scr",    ".",
                                         "..", "a.b", "\\",   "sub\\x", "?"};
    const char* const suffix = random.Pick(kSuffixes);
    log.Call("utl_TempFile.utl_TempFile", number_, suffix).Result([&] {
      files_[number_].Make(suffix);
    });
  }
  void Create(Random&, Log& log) {
    log.Call("utl_TempFile.Create", number_).Result([&] { File().Create(); });
  }
  void Open(Random&, Log& log) {
    log.Call("utl_TempFile.Open", number_).Result([&] { File().Open(); });
  }
  void Present(Random&, Log& log) {
    log.Call("utl_TempFile.OpenIfPresent", number_).Result([&] {
      return File().OpenIfPresent();
    });
  }
  void Leave(Random&, Log& log) {
    log.Call("utl_TempFile.Close", number_).Result([&] { File().Close(); });
  }
  void Name(Random&, Log& log) {
    log.Call("utl_TempFile.Name", number_).Result([&] { return File().Name(); });
  }
  void Space(Random&, Log& log) {
    log.Call("utl_TempFile.AvailableSpace", number_).Result([&] {
      return File().AvailableSpace() > 0;
    });
  }
  // Writes the file by another object, as callers do.
  void Use(Random& random, Log& log) {
    const auto access = static_cast<utl_FileAccess>(random.Below(3));
    const auto sharing = static_cast<utl_FileSharing>(random.Below(3));
    log.Call("utl_TempFile in utl_File", number_, int{access}, int{sharing}).Result([&] {
      utl_File file(File().Name(), access, sharing);
      file.Init();
      return file.FileSize();
    });
  }
  void Release(Random&, Log& log) {
    log.Call("utl_TempFile.~utl_TempFile", number_).Result([&] {
      files_[number_].Release();
    });
  }

  void Place(Random& random, Log& log) {
    const std::string path = SomePath(world_, random);
    const bool inScratch = random.OneIn(2);
    log.Call("directory for temporary files", path, inScratch).Result([&] {
      SetEnvironment(inScratch ? "SCRATCH" : "TMPDIR",
                     path.empty() ? nullptr : path.c_str());
    });
  }
  void Option(Random& random, Log& log) {
    const std::string path = random.OneIn(3) ? "" : SomePath(world_, random);
    log.Call("-tmpdir", path).Result([&] {
      cow_1DArrayList<cow_String> arguments;
      arguments.Append("-tmpdir");
      arguments.Append(cow_String(std::string_view(path)));
      utl_CommandLineLoader::SetArgsList(arguments);
    });
  }

  World& world_;
  Slot<utl_TempFile> files_[kFiles];
  int number_ = 0;
};

}  // namespace

std::unique_ptr<Subject> MakeTempFiles(World& world, Random& random) {
  return std::make_unique<TempFiles>(world, random);
}
