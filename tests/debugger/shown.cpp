// Values for a debugger to show. A debugger stops in StopHere and looks one frame up.

#include <cstdlib>

#include "cow/cow_1DArrayList.h"
#include "cow/cow_List.h"
#include "cow/cow_Map.h"
#include "cow/cow_String.h"
#include "nex/nex_AssertException.h"
#include "utl/impl/multisection/utl_SectionDirectory.h"
#include "utl/utl_File.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_initialize.h"
#include "utl/utl_MultisectionFile.h"

extern "C" [[gnu::noinline]] void StopHere() {
  asm volatile("");
}

int main() {
  int count = 0;
  utl_initialize(count);
  [[maybe_unused]] const char garbage[] = "24 bytes of no string s\x80";
  const cow_String none;
  const cow_String brief = "brief";
  const cow_String fitting = "exactly twenty-three by";
  const cow_String extended = "a text of more than twenty-three bytes";
  const cow_String odd("a\0b\xff", 4);
  const atr_String message = "a message";
  cow_1DArrayList<cow_String> array;
  array.Append("one");
  array.Append(extended);
  cow_List<int> list;
  list.Append(2);
  list.Prepend(1);
  cow_Map<cow_String, int> map;
  map.Insert("key", 7);
  const cow_List<int> empty;
  const utl_FilePath path("sub/f.txt", "D:\\x");
  const utl_FilePath url("kstrdb://server/db", "");
  [[maybe_unused]] const utl_FileOffset offset = 5000000000;
  utl_MultisectionFile file("shown.kdb", utl_FileAccessWrite);
  file.setSectionData("loads", "12345678", 8);
  file.setSectionData("none", nullptr, 0);
  const utl_SectionInfo section = file.getSections()[0];
  StopHere();
  try {
    nex_AssertException("i < n").Throw("source", 12);
  } catch ([[maybe_unused]] const nex_TextException& failure) {
    StopHere();
  }
  return EXIT_SUCCESS;
}
