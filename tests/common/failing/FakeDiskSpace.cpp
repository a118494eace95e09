#include "common/failing/FakeDiskSpace.h"

#include "common/failing/Redirection.h"

namespace {

struct {
  bool isFaked = false;
  ULONGLONG toCaller = 0;
  ULONGLONG onDrive = 0;
  std::string asked;
} disk;

}  // namespace

FakeDiskSpace::FakeDiskSpace(ULONGLONG toCaller, ULONGLONG onDrive) {
  disk = {true, toCaller, onDrive, {}};
}

FakeDiskSpace::~FakeDiskSpace() {
  disk = {};
}

const std::string& FakeDiskSpace::Asked() const {
  return disk.asked;
}

REDIRECT(BOOL, GetDiskFreeSpaceExA, LPCSTR directory, ULARGE_INTEGER* toCaller,
         ULARGE_INTEGER* total, ULARGE_INTEGER* onDrive) {
  if (redirection::Fails(SystemCall::kGetDiskFreeSpaceEx)) {
    return FALSE;
  }
  if (!disk.isFaked) {
    return REAL(GetDiskFreeSpaceExA)(directory, toCaller, total, onDrive);
  }
  disk.asked = directory;
  toCaller->QuadPart = disk.toCaller;
  onDrive->QuadPart = disk.onDrive;
  return TRUE;
}
