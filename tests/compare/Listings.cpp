// Listings of directories, sorted (left-out.md); that the lists agree with each other is
// compared.

#include <algorithm>
#include <string>
#include <vector>

#include "compare/Inputs.h"
#include "compare/Subject.h"
#include "utl/utl_DirObject.h"

namespace {

using Names = std::vector<std::string>;

Names NamesOf(const cow_List<utl_FilePath>& paths) {
  Names names;
  for (const utl_FilePath& path : paths) {
    names.emplace_back(path.AbsolutePathName());
  }
  return names;
}

std::string Sorted(Names names) {
  std::sort(names.begin(), names.end());
  return ShownElements(names);
}

class Listings : public Subject {
 public:
  explicit Listings(World& world) : world_(world) {}

  void Run(Random& random, Log& log) override {
    std::string name = SomePath(world_, random);
    // Of the root's entries one target leaves out some, and others change them.
    if (name.find_first_of("\\/") == 0 && name.find(world_.shown.substr(2)) != 0) {
      name.insert(0, 1, '.');
    }
    const cow_String path{std::string_view(name)};
    const cow_String text(random.OneIn(2) ? PlainName(random).substr(0, 1)
                                          : SomeOf(random, "abmst.\\", 0, 2));
    constexpr const char* kExtensions[] = {".dat", ".txt", ".Txt", ".exe",
                                           "",     ".",    "dat"};
    const cow_String extension = random.Pick(kExtensions);
    log.Call("utl_DirObject", path, text, extension).Result([&] {
      return Verbatim{Listed(utl_DirObject(utl_FilePath(path, "")), text, extension)};
    });
  }

 private:
  static std::string Listed(const utl_DirObject& directory, const cow_String& text,
                            const cow_String& extension) {
    const Names all = NamesOf(directory.GetAllEntries());
    Names joined = NamesOf(directory.GetAllFileNames());
    std::reverse(joined.begin(), joined.end());
    Names directories = NamesOf(directory.GetAllDirNames());
    joined.insert(joined.end(), directories.rbegin(), directories.rend());
    return ShownAll(directory.FileCount(), directory.DirCount(), all == joined) + ", " +
           Sorted(all) + ", " + Sorted(NamesOf(directory.PrefixMatchFilenames(text))) +
           ", " + Sorted(NamesOf(directory.PrefixMatchDirNames(text))) + ", " +
           Sorted(NamesOf(directory.PrefixMatchAllEntries(text))) + ", " +
           Sorted(NamesOf(directory.FindFileNamesWithExtension(extension)));
  }

  World& world_;
};

}  // namespace

std::unique_ptr<Subject> MakeListings(World& world, Random&) {
  return std::make_unique<Listings>(world);
}
