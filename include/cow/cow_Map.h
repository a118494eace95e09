#pragma once

#include <map>
#include <utility>

#include "cow/cow_Container.h"

/// Copy-on-write map from unique keys to values. It iterates constant pairs, `first` the
/// key and `second` the value, in ascending order of the keys (operator<; for cow_String
/// the order of the unsigned bytes).
///
///     cow_Map<cow_String, cow_String> options;
///     options.Insert("job", "a");
///     options.Insert("job", "b");          // replaces
///     *options.Find("job") == "b";   options.Find("user") == nullptr;
template <class Key, class Value>
class cow_Map : public cow_Container<std::map<Key, Value>> {
 public:
  cow_Map() noexcept = default;

  /// Adds the pair; an existing key gets the new value.
  void Insert(Key key, Value value) {
    this->WriteOneMore().insert_or_assign(std::move(key), std::move(value));
  }
  bool IsMember(const Key& key) const { return Find(key) != nullptr; }

  /// The key's value, null when it is absent; valid until the map changes.
  const Value* Find(const Key& key) const {
    if (this->Items() == nullptr) {
      return nullptr;
    }
    const auto found = this->Items()->find(key);
    return found == this->end() ? nullptr : &found->second;
  }

  /// Removes the key and its value; an absent key changes nothing.
  void Remove(const Key& key) {
    if (IsMember(key)) {
      this->Write().erase(Key(key));
    }
  }
};
