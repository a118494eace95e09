#include "utl/utl_initialize.h"
#include "utl/utl_MultisectionFile.h"

int main() {
  int count = 0;
  utl_initialize(count);
  double loads[2] = {1.5, -2.0};
  {
    utl_MultisectionFile file("job.kdb", utl_FileAccessWrite);
    file.setSectionData("loads", loads, sizeof loads);
    file.saveChanges();                   // the file is empty until here
    file.getSectionData("loads", loads);  // throws if the checksum is wrong
  }                                       // unlocked and closed
  utl_finalize(count);
  return loads[1] == -2.0 ? 0 : 1;
}
