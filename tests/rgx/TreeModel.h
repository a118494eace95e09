#pragma once

#include <map>
#include <string>
#include <vector>

/// A digital search tree in another form: every key stands under the string of bits that
/// leads to it from the root ("" for the root itself).
class TreeModel {
 public:
  const std::map<std::string, std::string>& Places() const { return keys_; }

  bool IsMember(const std::string& key) const { return keys_.count(PlaceOf(key)) != 0; }

  void Insert(const std::string& key) { keys_[PlaceOf(key)] = key; }

  void Remove(const std::string& key) {
    std::string place = PlaceOf(key);
    if (keys_.count(place) == 0) {
      return;
    }
    for (;;) {
      const std::string next = keys_.count(place + '1') != 0   ? place + '1'
                               : keys_.count(place + '0') != 0 ? place + '0'
                                                               : "";
      if (next.empty()) {
        break;
      }
      keys_[place] = keys_[next];
      place = next;
    }
    keys_.erase(place);
  }

  /// A place sorts before those below it, and "0" before "1": the order of the map is the
  /// pre-order of the tree.
  std::vector<std::string> Keys() const {
    std::vector<std::string> keys;
    for (const auto& [place, key] : keys_) {
      keys.push_back(key);
    }
    return keys;
  }

 private:
  std::string PlaceOf(const std::string& key) const {
    std::string place;
    for (auto node = keys_.find(place); node != keys_.end() && node->second != key;
         node = keys_.find(place)) {
      place += BitAt(key, place.size());
    }
    return place;
  }

  // Front and back in turn, and 0 for depths beyond the length.
  static char BitAt(const std::string& key, std::size_t depth) {
    std::string inTurn;
    for (std::size_t front = 0, back = key.size(); inTurn.size() <= key.size();) {
      inTurn += front < key.size() ? key[front] : '\0';
      ++front;
      inTurn += back > 0 ? key[back - 1] : '\0';
      back -= back > 0 ? 1 : 0;
    }
    return depth <= key.size() && (inTurn[depth] & 1) != 0 ? '1' : '0';
  }

  std::map<std::string, std::string> keys_;
};
