#include "common/handle/Socket.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

BoundSocket::BoundSocket() : number_(socket(AF_INET, SOCK_STREAM, 0)) {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (bind(number_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    Close();
    throw std::runtime_error("no socket");
  }
}

void BoundSocket::Close() {
  if (number_ >= 0) {
    close(number_);
  }
  number_ = -1;
}

int PortOf(int socket) {
  sockaddr_in address = {};
  socklen_t size = sizeof address;
  const bool known =
      getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0;
  return known ? ntohs(address.sin_port) : -1;
}
