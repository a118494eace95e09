#pragma once

#include <windows.h>

#include <functional>
#include <vector>

/// Watches the starts and ends of the socket layer from the construction on. One object
/// at a time.
class WatchedSockets {
 public:
  /// `atEnd`, unless empty, is called at every end, before the layer goes down. A
  /// `granted` other than 0 is the version that callers get at each start.
  explicit WatchedSockets(std::function<void()> atEnd = {}, WORD granted = 0);
  ~WatchedSockets();
  WatchedSockets(const WatchedSockets&) = delete;
  WatchedSockets& operator=(const WatchedSockets&) = delete;

  /// The versions asked for, the major number in the low byte.
  const std::vector<WORD>& Starts() const;
  int Ends() const;
};
