#pragma once

#include <string>

struct SplitWork {
  const char* name;
  int fields;
};
inline constexpr SplitWork kSplitWorks[] = {{"split 10 fields", 10},
                                            {"split 1000 fields", 1000}};

inline std::string SplitLine(int fields) {
  std::string line;
  for (int i = 0; i < fields; ++i) {
    line += (i > 0 ? ",value" : "value") + std::to_string(i);
  }
  return line;
}

template <class Fields>
std::string JoinedFields(const Fields& fields) {
  std::string text;
  for (const auto& field : fields) {
    text += std::string(field) + '|';
  }
  return text;
}
