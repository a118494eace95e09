#include "common/failing/WatchedSockets.h"

#include <winsock2.h>

#include <utility>

#include "common/failing/Redirection.h"

namespace {

constexpr int kSocketsNotReady = 10091;

struct {
  std::function<void()> atEnd;
  WORD granted = 0;
  std::vector<WORD> starts;
  int ends = 0;
} sockets;

}  // namespace

WatchedSockets::WatchedSockets(std::function<void()> atEnd, WORD granted) {
  sockets = {std::move(atEnd), granted, {}, 0};
}

WatchedSockets::~WatchedSockets() {
  sockets = {};
}

const std::vector<WORD>& WatchedSockets::Starts() const {
  return sockets.starts;
}

int WatchedSockets::Ends() const {
  return sockets.ends;
}

REDIRECT(int, WSAStartup, WORD version, WSADATA* data) {
  if (redirection::Fails(SystemCall::kSocketStart)) {
    return kSocketsNotReady;
  }
  const int result = REAL(WSAStartup)(version, data);
  sockets.starts.push_back(version);
  if (sockets.granted != 0) {
    data->wVersion = sockets.granted;
  }
  return result;
}

REDIRECT(int, WSACleanup) {
  ++sockets.ends;
  if (sockets.atEnd) {
    sockets.atEnd();
  }
  return REAL(WSACleanup)();
}
