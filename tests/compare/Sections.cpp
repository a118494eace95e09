// Multisection files: two objects on two files, one of which may be any file.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_NativePath.h"

namespace {

class Sections : public Subject {
 public:
  explicit Sections(World& world) : world_(world) {}

  void Run(Random& random, Log& log) override {
    constexpr void (Sections::*kOperations[])(Random&, Log&) = {
        &Sections::Open, &Sections::Has,  &Sections::Get,       &Sections::Get,
        &Sections::Set,  &Sections::Set,  &Sections::Set,       &Sections::Save,
        &Sections::Save, &Sections::Save, &Sections::Release,   &Sections::Damage,
        &Sections::Lock, &Sections::List, &Sections::GetNumbers};
    number_ = random.Below(kFiles);
    const auto operation = random.Pick(kOperations);
    if (files_[number_] || operation == &Sections::Damage ||
        operation == &Sections::Lock) {
      (this->*operation)(random, log);
    } else {
      Open(random, log);
    }
  }

  void Close() override { ReleaseAll(files_); }

 private:
  static constexpr int kFiles = 2;

  utl_MultisectionFile& File() { return *files_[number_]; }

  // In whatever letter case the library has made it.
  std::filesystem::path OnDisk(const std::string& name) const {
    return utl_nativePath(cow_String(std::string_view(world_.shown + '\\' + name)));
  }

  static cow_String SomeSection(Random& random) {
    constexpr const char* kSections[] = {"a", "a", "b", "loads", "", "two words", "\xE4"};
    if (random.OneIn(8)) {
      return cow_String(std::string_view(SomeText(random)));
    }
    return random.Pick(kSections);
  }

  void Open(Random& random, Log& log) {
    constexpr const char* kPaths[] = {"x.kdb", "x.kdb", "X.KDB", "sub\\y.kdb", "a"};
    constexpr int kAccess[] = {0, 1, 1, 2, 2, 3};
    const std::string name = random.Pick(kPaths);
    const std::string path = random.OneIn(8)   ? SomePath(world_, random)
                             : random.OneIn(2) ? name
                                               : world_.shown + '\\' + name;
    const auto access = static_cast<utl_FileAccess>(random.Pick(kAccess));
    log.Call("utl_MultisectionFile", number_, path, int{access}).Result([&] {
      files_[number_].Make(cow_String(std::string_view(path)), access);
    });
  }
  void Has(Random& random, Log& log) {
    const cow_String name = SomeSection(random);
    log.Call("utl_MultisectionFile.hasSection", number_, name).Result([&] {
      return File().hasSection(name);
    });
  }
  void Get(Random& random, Log& log) {
    const cow_String name = SomeSection(random);
    log.Call("utl_MultisectionFile.getSectionData", number_, name).Result([&] {
      const int length = File().getSectionLength(name);
      std::string bytes(static_cast<std::size_t>(length > 0 ? length : 0) + 1, '~');
      if (length < 1000000) {
        File().getSectionData(name, bytes.data());
      }
      return Verbatim{ShownAll(length, bytes)};
    });
  }
  void GetNumbers(Random& random, Log& log) {
    const cow_String name = SomeSection(random);
    log.Call("utl_MultisectionFile.getSection<int>", number_, name).Result([&] {
      const std::vector<int> numbers = File().getSection<int>(name);
      const std::string bytes(reinterpret_cast<const char*>(numbers.data()),
                              numbers.size() * sizeof(int));
      return Verbatim{ShownAll(static_cast<int>(numbers.size()), bytes)};
    });
  }
  void List(Random&, Log& log) {
    log.Call("utl_MultisectionFile.getSections", number_).Result([&] {
      std::string list;
      for (const utl_SectionInfo& section : File().getSections()) {
        list += std::string(section.name) + ' ' + std::to_string(section.length) + ' ' +
                std::to_string(section.checksum) + ';';
      }
      return Verbatim{ShownAll(list)};
    });
  }
  void Set(Random& random, Log& log) {
    constexpr int kLengths[] = {0, 1, 7, 100, 3000, 70000, -1, -2147483647 - 1};
    const cow_String name = SomeSection(random);
    const int length = random.Pick(kLengths);
    const std::string bytes(70000, static_cast<char>(random.Below(256)));
    log.Call("utl_MultisectionFile.setSectionData", number_, name, length).Result([&] {
      File().setSectionData(name, bytes.data(), length);
    });
  }
  void Save(Random&, Log& log) {
    log.Call("utl_MultisectionFile.saveChanges", number_).Result([&] {
      File().saveChanges();
    });
  }
  void Release(Random&, Log& log) {
    log.Call("utl_MultisectionFile.~utl_MultisectionFile", number_).Result([&] {
      files_[number_].Release();
    });
  }

  // Changes a byte of the file that nobody has open, or cuts it.
  void Damage(Random& random, Log& log) {
    const int place = random.Below(60);
    const int byte = random.Below(256);
    const bool cut = random.OneIn(3);
    log.Call("damage", place, byte, cut).Result([&] {
      for (const auto& subject : world_.subjects) {
        subject->Close();
      }
      const std::filesystem::path path = OnDisk("x.kdb");
      std::ifstream in(path, std::ios::binary);
      std::string bytes{std::istreambuf_iterator<char>(in), {}};
      in.close();
      const auto at = static_cast<std::size_t>(place);
      if (at < bytes.size()) {
        bytes[at] = static_cast<char>(byte);
        std::ofstream(path, std::ios::binary) << (cut ? bytes.substr(0, at) : bytes);
      }
    });
  }
  // A lock file that a process has left behind comes or goes.
  void Lock(Random& random, Log& log) {
    const bool make = random.OneIn(4);
    log.Call("lock file", make).Result([&] {
      for (const auto& subject : world_.subjects) {
        subject->Close();
      }
      const std::filesystem::path path = OnDisk("x.kdb.lock");
      if (make) {
        std::ofstream stream(path);
      } else {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
      }
    });
  }

  World& world_;
  Slot<utl_MultisectionFile> files_[kFiles];
  int number_ = 0;
};

}  // namespace

std::unique_ptr<Subject> MakeSections(World& world, Random&) {
  return std::make_unique<Sections>(world);
}
