#include "utl/impl/utl_loadArguments.h"

#include <string>
#include <vector>

#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_FilePath.h"

namespace {

// Makes a relative "outdir" absolute; one that begins with a separator stays as it is.
std::string AbsoluteDirectory(const std::string& directory) {
  const bool isRelative =
      !directory.empty() && directory[0] != '\\' && directory[0] != '/';
  return isRelative ? std::string(utl_FilePath(directory, "").AbsolutePathName())
                    : directory;
}

}  // namespace

void utl_loadArguments(int argc, char** argv) {
  if (argc <= 0) {
    return;
  }
  std::vector<std::string> arguments(argv, argv + argc);
  for (std::size_t i = 2; i < arguments.size(); ++i) {
    if (arguments[i - 1] == "-outdir" && !arguments[i].starts_with('-')) {
      arguments[i] = AbsoluteDirectory(arguments[i]);
    }
  }
  std::vector<char*> texts;
  texts.reserve(arguments.size());
  for (std::string& argument : arguments) {
    texts.push_back(argument.data());
  }
  utl_CommandLineLoader::SetArgs(argc, texts.data());
}
