// The start and end of the socket layer, which are only counted.
//
// Not emulated: the system's own socket calls and gethostname work without a start.

#include <atomic>

#include <winsock2.h>

namespace {

constexpr WORD kHighest = 0x0202;            // 2.2, the major number low
constexpr int kVersionNotSupported = 10092;  // WSAVERNOTSUPPORTED
constexpr int kSocketError = -1;

std::atomic<int> starts = 0;

bool IsAboveHighest(WORD version) {
  return LOBYTE(version) > 2 || (LOBYTE(version) == 2 && HIBYTE(version) > 2);
}

}  // namespace

int WSAStartup(WORD version, WSADATA* data) {
  data->wHighVersion = kHighest;
  data->wVersion = version == 0 || IsAboveHighest(version) ? kHighest : version;
  if (LOBYTE(version) == 0) {
    return kVersionNotSupported;
  }
  ++starts;
  return 0;
}

int WSACleanup() {
  int present = starts;
  while (present > 0 && !starts.compare_exchange_weak(present, present - 1)) {
  }
  return present > 0 ? 0 : kSocketError;
}
