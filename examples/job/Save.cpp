#include "Job.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_Stat.h"

void Save(const cow_String& path, const Blocks& blocks) {
  // Updating refuses a file that is locked or another kind; writing would empty it.
  const bool isNew = !utl_FilePath(path, "").Exists() || utl_Stat(path).size == 0;
  utl_MultisectionFile file(path, isNew ? utl_FileAccessWrite : utl_FileAccessUpdate);
  for (const auto& [name, bytes] : blocks) {
    file.setSectionData(name, bytes.c_str(), bytes.Length());
  }
  Tracked(&utl_IOTracker::CWrite, path, [&] {
    file.saveChanges();
    return utl_Stat(path).size;
  });
  utl_MultisectionFile saved(path, utl_FileAccessRead);  // while no other can write
  for (const auto& block : blocks) {
    const cow_String& name = block.first;
    std::string data(std::size_t(saved.getSectionLength(name)), '\0');
    Tracked(&utl_IOTracker::CRead, path, [&] {
      saved.getSectionData(name, data.data());
      return data.size();
    });
    Check(data == std::string_view(block.second), path,
          "section " + std::string(name) + " was not saved well");
  }
}
