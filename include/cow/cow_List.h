#pragma once

#include <deque>
#include <utility>

#include "cow/cow_Container.h"

/// Copy-on-write list, cheap to extend at both ends and iterated from its head.
///
///     cow_List<cow_String> names;
///     names.Append("b");
///     names.Prepend("a");
///     for (const cow_String& name : names) { ... }   // a, b
template <class T>
class cow_List : public cow_Container<std::deque<T>> {
 public:
  cow_List() noexcept = default;

  void Prepend(T value) { this->WriteOneMore().push_front(std::move(value)); }
  void Append(T value) { this->WriteOneMore().push_back(std::move(value)); }
};
