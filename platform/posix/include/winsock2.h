#pragma once

// The start and end of the socket layer, on POSIX, where it needs neither.

#include <sys/socket.h>
#include <unistd.h>  // gethostname

#include <windows.h>

#define MAKEWORD(low, high) (static_cast<WORD>(((high) << 8) | (low)))
#define LOBYTE(word) (static_cast<BYTE>((word)&0xFF))
#define HIBYTE(word) (static_cast<BYTE>(((word) >> 8) & 0xFF))

struct WSADATA {
  WORD wVersion;
  WORD wHighVersion;
};

int WSAStartup(WORD version, WSADATA* data);
int WSACleanup();
