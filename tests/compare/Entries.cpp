// The files and directories that the other subjects meet, made and changed by the C++
// library while nobody has them open: its own behaviour with open files is not compared.

#include <filesystem>
#include <fstream>
#include <string>

#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_DirObject.h"
#include "utl/utl_NativePath.h"

namespace {

namespace fs = std::filesystem;

class Entries : public Subject {
 public:
  Entries(World& world, Random& random) : world_(world) {
    fs::create_directory(Place("sub"));
    fs::create_directory(Place("empty"));
    for (int left = random.Between(2, 8); left > 0; --left) {
      const std::string name = PlainName(random);
      const std::string contents = Contents(random);
      Write(name, contents);
    }
  }

  void Run(Random& random, Log& log) override {
    const std::string name = PlainName(random);
    const int what = random.Below(6);
    const std::string contents = Contents(random);
    const std::string other = PlainName(random);
    log.Call("Entries", name, what).Result([&] {
      for (const auto& subject : world_.subjects) {
        subject->Close();
      }
      // The standard library removes a current directory on one target alone.
      fs::current_path(world_.directory);
      Change(name, what, contents, other);
    });
  }

 private:
  // The entry of that name, in whatever letter case the library has made it.
  fs::path Place(const std::string& name) const {
    return utl_nativePath(cow_String(std::string_view(world_.shown + '\\' + name)));
  }

  static std::string Contents(Random& random) {
    const int kind = random.Below(4);
    if (kind == 0) {
      return "";
    }
    return kind == 1 ? SomeBytes(random, 1, 300) : SomeOf(random, "abc\n", 1, 40);
  }

  void Write(const std::string& name, const std::string& contents) const {
    if (!fs::is_directory(Place(name))) {
      MakeWriteable(Place(name));
      std::ofstream(Place(name), std::ios::binary | std::ios::trunc) << contents;
    }
  }

  // Windows changes and removes no read-only file.
  static void MakeWriteable(const fs::path& path) {
    std::error_code ignored;
    fs::permissions(path, fs::perms::owner_write, fs::perm_options::add, ignored);
  }

  // A recorder may have left the name "Z:a" in a directory, as Wine permits. The standard
  // library takes that for the path of a file elsewhere, and its remove_all would never
  // come to an end.
  static void RemoveAll(const cow_String& path) {
    const utl_DirObject directory(utl_FilePath(path, ""));
    for (const utl_FilePath& entry : directory.GetAllDirNames()) {
      const cow_String name = entry.FileName();
      if (name != "." && name != "..") {
        RemoveAll(entry.AbsolutePathName());
      }
    }
    for (const utl_FilePath& entry : directory.GetAllFileNames()) {
      RemoveOne(entry.AbsolutePathName());
    }
    RemoveOne(path);
  }

  static void RemoveOne(const cow_String& path) {
    std::error_code ignored;
    MakeWriteable(utl_nativePath(path));
    fs::remove(utl_nativePath(path), ignored);
  }

  void Change(const std::string& name, int what, const std::string& contents,
              const std::string& other) const {
    std::error_code ignored;
    switch (what) {
      case 0:
      case 1:
        Write(name, contents);
        break;
      case 2:
        RemoveAll(world_.shown + '\\' + name);
        break;
      case 3:
        fs::create_directories(Place(name), ignored);
        break;
      case 4:
        if (!fs::exists(Place(other)) && fs::exists(Place(name))) {
          fs::rename(Place(name), Place(other), ignored);
        }
        break;
      default:
        if (fs::is_regular_file(Place(name))) {
          fs::permissions(
              Place(name),
              fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write,
              fs::perm_options::remove, ignored);
        }
    }
  }

  World& world_;
};

}  // namespace

std::unique_ptr<Subject> MakeEntries(World& world, Random& random) {
  return std::make_unique<Entries>(world, random);
}
