#pragma once

#include <cmath>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

inline constexpr std::size_t kNumbers = 1024;

/// Numbers of one kind, and how the library writes them.
template <class Value>
struct NumberWork {
  /// The text of another coding with what the library adds: the point of a real number
  /// that is whole.
  std::string InStyle(const std::string& text) const {
    const bool whole = text.find_first_of(".e") == std::string::npos;
    return std::is_integral_v<Value> || !whole ? text : text + ".";
  }

  std::string name;
  std::vector<Value> values;
};

inline std::vector<NumberWork<double>> RealWorks() {
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> real(-1000, 1000);
  NumberWork<double> full{"one double 53 bits", {}};
  NumberWork<double> decimals{"one double three decimals", {}};
  NumberWork<double> whole{"one double whole", {}};
  for (std::size_t i = 0; i < kNumbers; ++i) {
    const double value = real(random);
    full.values.push_back(value);
    decimals.values.push_back(std::round(value * 1000) / 1000);
    whole.values.push_back(std::round(value * 1000));
  }
  return {full, decimals, whole};
}

inline NumberWork<int> IntWork() {
  std::mt19937 random(1);
  std::uniform_int_distribution<int> value(-1000000, 1000000);
  NumberWork<int> work{"one int", {}};
  for (std::size_t i = 0; i < kNumbers; ++i) {
    work.values.push_back(value(random));
  }
  return work;
}
