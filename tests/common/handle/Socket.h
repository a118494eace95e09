#pragma once

/// The port that a socket is bound to; -1 for a number that is no socket's.
int PortOf(int socket);

/// A socket that children inherit unless told otherwise, bound to a port of its own on
/// this machine; closed at the end.
class BoundSocket {
 public:
  /// Throws std::runtime_error when the system has none left.
  BoundSocket();
  ~BoundSocket() { Close(); }
  BoundSocket(const BoundSocket&) = delete;
  BoundSocket& operator=(const BoundSocket&) = delete;

  int Number() const { return number_; }
  int Port() const { return PortOf(number_); }
  void Close();

 private:
  int number_;
};
