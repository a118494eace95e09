#include <stdio.h>

#include "utl/utl_c.h"

int main(int argc, char** argv) {
  double loads[2] = {1.5, -2.0};
  kst_Sections* file = NULL;
  kst_start(argc, argv);
  if (kst_openSections("job.kdb", kst_Write, &file) != kst_Ok ||
      kst_setSection(file, "loads", loads, sizeof loads) != kst_Ok ||
      kst_saveSections(file) != kst_Ok ||
      kst_getSection(file, "loads", loads, sizeof loads) != kst_Ok ||
      kst_closeSections(file) != kst_Ok) {
    fprintf(stderr, "%s\n", kst_lastError());
    kst_end();
    return 1;
  }
  return kst_end() == kst_Ok && loads[1] == -2.0 ? 0 : 1;
}
