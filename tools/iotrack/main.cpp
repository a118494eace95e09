#include "iotrack/IoTrack.h"

int main(int argc, char** argv) {
  return KstIoTrack(argc, argv, ProcessConsole());
}
