#include "utl/utl_CommandLineLoader.h"

#include <utility>

#include "utl/utl_CommandLine.h"

void utl_CommandLineLoader::SetArgs(int argc, char** argv) {
  thr_GlobalSingleton<utl_CommandLine>::Instance().SetArgs(argc, argv);
}

void utl_CommandLineLoader::SetArgsList(cow_1DArrayList<cow_String> args) {
  thr_GlobalSingleton<utl_CommandLine>::Instance().SetArgsList(std::move(args));
}
