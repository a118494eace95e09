#pragma once

// Internal to the library.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

/// Finds names in a list that is numbered from 0 and only ever appended to.
///
/// The numbers are kept sorted by the names' hashes, and by the names themselves where
/// hashes are equal, so that no choice of names makes it slow. The next search sorts what
/// was appended into a new run, and merges that with the run before it while that one is
/// not the longer: a search looks at few runs, and a number is rarely moved. A number
/// takes eight bytes.
///
/// `Hash` is a parameter for the tests.
template <class Hash = std::hash<std::string_view>>
class utl_NameIndex {
 public:
  static constexpr int kNone = -1;

  /// The first of the names 0 to `count` - 1 that is `name`, or kNone. `nameOf(number)`
  /// gives a name, the same one in every call.
  template <class NameOf>
  int Find(std::string_view name, int count, NameOf nameOf) {
    Enter(count, nameOf);
    const std::uint32_t hash = HashOf(name);
    // Numbers grow from run to run, so the first one found is the first of that name.
    const Key* run = keys_.data();
    for (const std::ptrdiff_t length : runs_) {
      const Key* const end = run + length;
      const Key* found = FirstOfHash(run, length, hash);
      if (found != end && found->hash == hash) {
        found = std::lower_bound(found, end, name, [&](const Key& key, auto) {
          return key.hash == hash && nameOf(key.number) < name;
        });
        if (found != end && found->hash == hash && nameOf(found->number) == name) {
          return found->number;
        }
      }
      run = end;
    }
    return kNone;
  }

 private:
  struct Key {
    std::uint32_t hash;
    int number;
  };

  static std::uint32_t HashOf(std::string_view name) {
    return static_cast<std::uint32_t>(Hash()(name));
  }

  // The first key of a run whose hash is not less. std::lower_bound branches at every
  // step, which the processor mispredicts every other time.
  static const Key* FirstOfHash(const Key* run, std::ptrdiff_t length,
                                std::uint32_t hash) {
    while (length > 1) {
      const std::ptrdiff_t half = length / 2;
      run += half * (run[half - 1].hash < hash ? 1 : 0);
      length -= half;
    }
    return run + (run->hash < hash ? 1 : 0);
  }

  template <class NameOf>
  void Enter(int count, NameOf nameOf) {
    const auto isBefore = [&](const Key& a, const Key& b) {
      if (a.hash != b.hash) {
        return a.hash < b.hash;
      }
      const int order = nameOf(a.number).compare(nameOf(b.number));
      return order != 0 ? order < 0 : a.number < b.number;
    };
    int number = static_cast<int>(keys_.size());
    std::ptrdiff_t last = count - number;
    if (last == 0) {
      return;
    }
    runs_.reserve(runs_.size() + 1);
    keys_.resize(static_cast<std::size_t>(count));
    for (auto key = keys_.end() - last; key != keys_.end(); ++key, ++number) {
      *key = {HashOf(nameOf(number)), number};
    }
    std::sort(keys_.end() - last, keys_.end(), isBefore);
    for (; !runs_.empty() && runs_.back() <= last; runs_.pop_back()) {
      std::inplace_merge(keys_.end() - last - runs_.back(), keys_.end() - last,
                         keys_.end(), isBefore);
      last += runs_.back();
    }
    runs_.push_back(last);
  }

  std::vector<Key> keys_;
  std::vector<std::ptrdiff_t> runs_;  // the lengths of the sorted stretches of keys_
};
