#include "doctor/Doctor.h"

int main(int argc, char** argv) {
  return KstDoctor(argc, argv, ProcessConsole());
}
