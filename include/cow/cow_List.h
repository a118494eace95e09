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

  void Prepend(T value);
  void Append(T value);
};

// The rest is implementation. Members are defined outside the class so that a library can
// export the list of a class of its own: see utl_FilePath.h.

template <class T>
void cow_List<T>::Prepend(T value) {
  this->WriteOneMore().push_front(std::move(value));
}

template <class T>
void cow_List<T>::Append(T value) {
  this->WriteOneMore().push_back(std::move(value));
}
