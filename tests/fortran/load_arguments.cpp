// What the start-up code of an executable does, for the Fortran program beside this file.

#include "utl/utl_CommandLineLoader.h"

extern "C" void load_arguments() {
  cow_1DArrayList<cow_String> arguments;
  for (const char* argument :
       {"prog", "-job", "beam", "-cpus", "4", "-interactive", "-title", "a long title"}) {
    arguments.Append(argument);
  }
  utl_CommandLineLoader::SetArgsList(arguments);
}
