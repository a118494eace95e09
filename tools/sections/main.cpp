#include "sections/Sections.h"

int main(int argc, char** argv) {
  return KstSections(argc, argv, ProcessConsole());
}
