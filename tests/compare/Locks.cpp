// utl_flock through several descriptors of two files, and utl_noInherit.

#include <cerrno>
#include <string>

#include "compare/Inputs.h"
#include "compare/Stream.h"
#include "compare/Subject.h"
#include "utl/utl_flock.h"
#include "utl/utl_noInherit.h"
#include "utl/utl_Stat.h"

namespace {

class Locks : public Subject {
 public:
  explicit Locks(World& world) : world_(world) {}

  void Run(Random& random, Log& log) override {
    constexpr void (Locks::*kOperations[])(Random&, Log&) = {
        &Locks::Open, &Locks::Open,    &Locks::Lock,    &Locks::Lock, &Locks::Lock,
        &Locks::Lock, &Locks::Waiting, &Locks::Inherit, &Locks::Size, &Locks::Release};
    number_ = random.Below(kStreams);
    (this->*random.Pick(kOperations))(random, log);
  }

  void Close() override { ReleaseAll(streams_); }

 private:
  static constexpr int kStreams = 4;

  int Descriptor() const {
    return streams_[number_] ? streams_[number_]->Descriptor() : -1;
  }

  // The result, and the error number of a failure.
  static std::string Locked(int descriptor, int mode) {
    errno = 0;
    const int result = utl_flock(descriptor, mode);
    return ShownAll(result, result == 0 ? 0 : errno);
  }

  void Open(Random& random, Log& log) {
    constexpr const char* kNames[] = {"lock1", "lock1", "lock2"};
    constexpr const char* kModes[] = {"ab", "a+b", "r+b", "rb"};
    const std::string name = random.Pick(kNames);
    const char* const mode = random.Pick(kModes);
    log.Call("fopen", number_, name, mode).Result([&] {
      streams_[number_].Make(world_.directory + "/" + name, mode);
      return Descriptor() >= 0;
    });
  }
  void Lock(Random& random, Log& log) {
    constexpr int kModes[] = {5, 5, 6, 6, 6, 8, 8, 8, 0, 3, 4, 7, 9, 12, -1};
    const int mode = random.Pick(kModes);
    log.Call("utl_flock", number_, mode).Result([&] {
      return Verbatim{Locked(Descriptor(), mode)};
    });
  }
  // Waits only for what is to be had, since nobody else would ever unlock.
  void Waiting(Random& random, Log& log) {
    const bool exclusive = random.OneIn(2);
    log.Call("utl_flock, waiting", number_, exclusive).Result([&] {
      const std::string atOnce = Locked(Descriptor(), exclusive ? 6 : 5);
      if (!atOnce.starts_with("0")) {
        return Verbatim{atOnce};
      }
      const std::string unlocked = Locked(Descriptor(), 8);
      return Verbatim{unlocked + ", " + Locked(Descriptor(), exclusive ? 2 : 1)};
    });
  }
  void Inherit(Random& random, Log& log) {
    constexpr int kBad[] = {-1, -2, 1000, 100000};
    const int descriptor = random.OneIn(2) ? random.Pick(kBad) : Descriptor();
    const bool isOpen = descriptor == Descriptor();
    log.Call("utl_noInheritFile", number_, isOpen).Result([&] {
      return Verbatim{ShownAll(utl_noInheritFile(descriptor), utl_noInheritSocket(-1))};
    });
  }
  void Size(Random&, Log& log) {
    log.Call("utl_Stat of a stream", number_).Result([&] {
      const utl_Stat status(Descriptor());
      return Verbatim{ShownAll(status.size, status.linkCount, status.isDirectory)};
    });
  }
  void Release(Random&, Log& log) {
    log.Call("fclose", number_).Result([&] { streams_[number_].Release(); });
  }

  World& world_;
  Slot<Stream> streams_[kStreams];
  int number_ = 0;
};

}  // namespace

std::unique_ptr<Subject> MakeLocks(World& world, Random&) {
  return std::make_unique<Locks>(world);
}
