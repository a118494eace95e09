// Every short name in every short directory, as the rules have it.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "utl/FilePathModel.h"
#include "utl/utl_FilePath.h"

namespace {

using std::string;

std::vector<string> EveryStringUpTo(std::size_t longest, const string& alphabet) {
  std::vector<string> all = {""};
  for (std::size_t i = 0; all[i].length() < longest; ++i) {
    for (char c : alphabet) {
      all.push_back(all[i] + c);
    }
  }
  return all;
}

// While the current directory is `current`, on drive Z, the only one.
void ExpectModel(const string& name, const string& directory, const string& current) {
  const utl_FilePath path(name.c_str(), directory.c_str());
  const FilePathModel model(FilePathModel::WithBackslashes(name),
                            FilePathModel::WithBackslashes(directory), current,
                            [&](char letter) { return letter == 'Z' ? current : ""; });
  ASSERT_TRUE(model.Agrees(path))
      << "name '" << name << "', directory '" << directory
      << "': " << path.AbsolutePathName() << ", expected " << model.AbsolutePathName();
}

TEST(FilePathModelTest, AgreesOnEveryShortNameInEveryShortDirectory) {
  TempDir dir;
  const CurrentDirectory current(dir.Path());
  for (const string& name : EveryStringUpTo(3, "ZQ:\\/.")) {
    for (const string& directory : EveryStringUpTo(3, "ZQ:\\.")) {
      ASSERT_NO_FATAL_FAILURE(ExpectModel(name, directory, dir.ShownPath()));
    }
  }
  for (const string& name : EveryStringUpTo(5, "Z:\\.")) {
    for (const char* directory : {"", "Z:\\d", "\\d", "Q:"}) {
      ASSERT_NO_FATAL_FAILURE(ExpectModel(name, directory, dir.ShownPath()));
    }
  }
}

}  // namespace
