#include "common/handle/Pipe.h"

#include <fcntl.h>
#include <io.h>

#include <stdexcept>

Pipe::Pipe() {
  if (_pipe(ends_, 65536, _O_BINARY | _O_NOINHERIT) != 0) {
    throw std::runtime_error("no pipe");
  }
}

namespace {

void Close(int& end) {
  if (end >= 0) {
    _close(end);
  }
  end = -1;
}

}  // namespace

Pipe::~Pipe() {
  CloseWriter();
  CloseReader();
}

void Pipe::CloseReader() {
  Close(ends_[0]);
}

void Pipe::CloseWriter() {
  Close(ends_[1]);
}

// The run time's pipes always wait.
void Pipe::DoNotBlock() {}

// Calls are not interrupted here.
Interruptions::Interruptions() = default;
Interruptions::~Interruptions() = default;

bool Interruptions::AreKnown() {
  return false;
}

// There is no such signal.
IgnoredPipeSignal::IgnoredPipeSignal() = default;
IgnoredPipeSignal::~IgnoredPipeSignal() = default;
