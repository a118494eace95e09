// utl_File: three objects on a few names.

#include <string>

#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_File.h"

namespace {

class Files : public Subject {
 public:
  explicit Files(World& world) : world_(world) {}

  void Run(Random& random, Log& log) override {
    constexpr void (Files::*kOperations[])(Random&, Log&) = {
        &Files::Make,  &Files::Make,     &Files::Make,  &Files::Open,   &Files::Init,
        &Files::Seek,  &Files::Location, &Files::Flush, &Files::Read,   &Files::Read,
        &Files::Write, &Files::Write,    &Files::Size,  &Files::Extend, &Files::Release};
    number_ = random.Below(kFiles);
    const auto operation = random.Pick(kOperations);
    if (files_[number_]) {
      (this->*operation)(random, log);
    } else {
      Make(random, log);
    }
  }

  void Close() override { ReleaseAll(files_); }

 private:
  static constexpr int kFiles = 3;

  struct Opening {
    std::string path;
    utl_FileAccess access;
    utl_FileSharing sharing;
  };

  Opening SomeOpening(Random& random) const {
    constexpr int kAccess[] = {0, 0, 1, 1, 2, 2, 2, 3, -1};
    constexpr int kSharing[] = {0, 0, 0, 1, 2, 2, 3, -1};
    const std::string path = SomePath(world_, random);
    const int access = random.Pick(kAccess);
    const int sharing = random.Pick(kSharing);
    return {path, static_cast<utl_FileAccess>(access),
            static_cast<utl_FileSharing>(sharing)};
  }

  utl_File& File() { return *files_[number_]; }

  void Make(Random& random, Log& log) {
    const Opening opening = SomeOpening(random);
    const bool initialize = !random.OneIn(4);
    log.Call("utl_File.utl_File", number_, opening.path, int{opening.access},
             int{opening.sharing}, initialize)
        .Result([&] {
          files_[number_].Make(cow_String(std::string_view(opening.path)), opening.access,
                               opening.sharing);
          if (initialize) {
            File().Init();
          }
        });
  }
  void Open(Random& random, Log& log) {
    const Opening opening = SomeOpening(random);
    log.Call("utl_File.Open", number_, opening.path, int{opening.access},
             int{opening.sharing})
        .Result([&] {
          File().Open(cow_String(std::string_view(opening.path)), opening.access,
                      opening.sharing);
        });
  }
  void Init(Random&, Log& log) {
    log.Call("utl_File.Init", number_).Result([&] { File().Init(); });
  }

  void Seek(Random& random, Log& log) {
    constexpr std::int64_t kOffsets[] = {
        0,          0,           1,           4,
        10,         100,         4096,        65537,
        -1,         -4096,       0x7FFFFFFF,  0x80000000,
        0xFFFFFFFF, 0x100000000, 0x1FFFFFFFF, -0x80000000LL};
    const std::int64_t offset = random.Pick(kOffsets);
    log.Call("utl_File.Seek", number_, offset).Result([&] { File().Seek(offset); });
  }
  void Location(Random&, Log& log) {
    log.Call("utl_File.Location", number_).Result([&] { return File().Location(); });
  }
  void Flush(Random&, Log& log) {
    log.Call("utl_File.Flush", number_).Result([&] { File().Flush(); });
  }
  void Read(Random& random, Log& log) {
    constexpr int kCounts[] = {0, 1, 5, 16, 300, 4096, -1, -2147483647 - 1};
    const int count = random.Pick(kCounts);
    log.Call("utl_File.Read", number_, count).Result([&] {
      char buffer[4096];
      const int read = File().Read(buffer, count);
      return Verbatim{ShownAll(read, cow_String(buffer, read))};
    });
  }
  void Write(Random& random, Log& log) {
    constexpr int kCounts[] = {0, 1, 5, 16, 300, 4096, -1, -2147483647 - 1};
    const std::string bytes = SomeOf(random, "0123456789\r\n", 4096, 4096);
    const int count = random.Pick(kCounts);
    const bool shortAllowed = random.OneIn(2);
    log.Call("utl_File.Write", number_, count, shortAllowed).Result([&] {
      return shortAllowed ? File().WriteShortAllowed(bytes.data(), count)
                          : File().Write(bytes.data(), count);
    });
  }
  void Size(Random&, Log& log) {
    log.Call("utl_File.FileSize", number_).Result([&] { return File().FileSize(); });
  }
  void Extend(Random& random, Log& log) {
    constexpr std::int64_t kSizes[] = {0, 1, 3, 4, 5, 100, 4096, 70000, -1, -5};
    const std::int64_t size = random.Pick(kSizes);
    log.Call("utl_File.Extend", number_, size).Result([&] { File().Extend(size); });
  }
  void Release(Random&, Log& log) {
    log.Call("utl_File.~utl_File", number_).Result([&] { files_[number_].Release(); });
  }

  World& world_;
  Slot<utl_File> files_[kFiles];
  int number_ = 0;
};

}  // namespace

std::unique_ptr<Subject> MakeFiles(World& world, Random&) {
  return std::make_unique<Files>(world);
}
