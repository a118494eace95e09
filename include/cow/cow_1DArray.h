#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "cow/cow_Container.h"
#include "KSTutl_export.h"

/// Throws the nex_AssertException of an index outside an array.
[[noreturn]] KSTUTL_EXPORT void cow_ThrowIndexOutOfRange(int index, int length);

/// Copy-on-write array with checked access.
///
///     cow_1DArray<int> squares;
///     squares.Append(1);
///     squares.Append(4);
///     squares[1] == 4;   squares[2];   // throws nex_AssertException
template <class T>
class cow_1DArray : public cow_Container<std::vector<T>> {
 public:
  cow_1DArray() noexcept = default;

  /// The element at `index`, 0 first. Throws nex_AssertException with the text
  /// "index I is outside an array of N elements" unless 0 <= index < Length().
  const T& operator[](int index) const;
  /// The same for writing: elements that are shared are copied first. Do not copy the
  /// array while writing through the reference.
  T& operator[](int index);

  /// Makes room for `capacity` elements, so that appending up to there moves none.
  void Reserve(int capacity);
  void Append(T value);

  // The rest is implementation.

 private:
  std::size_t Checked(int index) const;
};

// Members are defined outside the class so that a library can export the array of a class
// of its own: see utl_FilePath.h.

template <class T>
const T& cow_1DArray<T>::operator[](int index) const {
  const std::size_t at = Checked(index);
  return (*this->Items())[at];
}

template <class T>
T& cow_1DArray<T>::operator[](int index) {
  const std::size_t at = Checked(index);
  return this->Write()[at];
}

template <class T>
void cow_1DArray<T>::Reserve(int capacity) {
  this->Write().reserve(static_cast<std::size_t>(capacity > 0 ? capacity : 0));
}

template <class T>
void cow_1DArray<T>::Append(T value) {
  this->WriteOneMore().push_back(std::move(value));
}

template <class T>
std::size_t cow_1DArray<T>::Checked(int index) const {
  if (index < 0 || index >= this->Length()) {
    cow_ThrowIndexOutOfRange(index, this->Length());
  }
  return static_cast<std::size_t>(index);
}
