#pragma once

#include <limits>
#include <stdexcept>

#include "cow/cow_Handle.h"

/// What the copy-on-write containers have in common: a shared standard container, read
/// through constant iterators. Copies share the elements until one of them is changed.
/// Iterators and references stay valid until the container they came from changes.
/// A container takes up to 2,147,483,647 elements; one more throws std::length_error.
///
/// Threads: as for a plain value. Copies that share elements may be used by different
/// threads at once; one container object by one thread at a time.
template <class Standard>
class cow_Container {
 public:
  using value_type = typename Standard::value_type;
  using const_iterator = typename Standard::const_iterator;

  int Length() const noexcept {
    return Items() != nullptr ? static_cast<int>(Items()->size()) : 0;
  }
  bool IsEmpty() const noexcept { return Length() == 0; }

  // Iterators made without a container compare equal, so an empty container needs none.
  const_iterator begin() const noexcept {
    return Items() != nullptr ? Items()->begin() : const_iterator();
  }
  const_iterator end() const noexcept {
    return Items() != nullptr ? Items()->end() : const_iterator();
  }

 protected:
  cow_Container() noexcept = default;

  // The elements for reading, null when there never was one.
  const Standard* Items() const noexcept {
    return shared_.Get() != nullptr ? &shared_.Get()->items : nullptr;
  }
  // The elements for writing: this container's alone.
  Standard& Write() { return shared_.Write().items; }
  // The same, for one more element.
  Standard& WriteOneMore() {
    if (Length() == std::numeric_limits<int>::max()) {
      throw std::length_error("cow_: more than 2147483647 elements");
    }
    return Write();
  }

  // The rest is implementation.

 private:
  struct Shared : cow_Shared {
    Standard items;
  };
  cow_Handle<Shared> shared_;
};
