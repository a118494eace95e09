#pragma once

#include <cstdlib>

/// How often each process of a test of contention works: `usual`, or what
/// KSTUTL_CONTENTION_ROUNDS says, for one who wants more.
inline int ContentionRounds(int usual) {
  const char* const given = std::getenv("KSTUTL_CONTENTION_ROUNDS");
  return given == nullptr ? usual : std::atoi(given);
}
