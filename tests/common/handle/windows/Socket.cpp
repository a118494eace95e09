#include "common/handle/Socket.h"

#include <winsock2.h>

#include <stdexcept>

namespace {

// Started once, for as long as the process lives.
void StartSockets() {
  WSADATA granted;
  [[maybe_unused]] static const int started = WSAStartup(MAKEWORD(2, 2), &granted);
}

}  // namespace

BoundSocket::BoundSocket() {
  StartSockets();
  const SOCKET made = socket(AF_INET, SOCK_STREAM, 0);
  number_ = static_cast<int>(made);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(made, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    Close();
    throw std::runtime_error("no socket");
  }
}

void BoundSocket::Close() {
  if (number_ >= 0) {
    closesocket(static_cast<SOCKET>(number_));
  }
  number_ = -1;
}

int PortOf(int socket) {
  StartSockets();
  sockaddr_in address = {};
  int size = sizeof address;
  const bool known = getsockname(static_cast<SOCKET>(socket),
                                 reinterpret_cast<sockaddr*>(&address), &size) == 0;
  return known ? ntohs(address.sin_port) : -1;
}
