#include "usage/Usage.h"

int main(int argc, char** argv) {
  return KstUsage(argc, argv, ProcessConsole());
}
