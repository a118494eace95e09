#include "common/handle/Pipe.h"

#include <fcntl.h>
#include <io.h>

#include <stdexcept>

Pipe::Pipe() {
  if (_pipe(ends_, 65536, _O_BINARY | _O_NOINHERIT) != 0) {
    throw std::runtime_error("no pipe");
  }
}

Pipe::~Pipe() {
  CloseWriter();
  _close(ends_[0]);
}

void Pipe::CloseWriter() {
  if (ends_[1] >= 0) _close(ends_[1]);
  ends_[1] = -1;
}

// Calls are not interrupted here.
Interruptions::Interruptions() = default;
Interruptions::~Interruptions() = default;

bool Interruptions::AreKnown() {
  return false;
}
