#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

/// Base of what a cow_Handle shares: it counts its holders. A copy is a new object with
/// one holder of its own.
class cow_Shared {
 protected:
  cow_Shared() noexcept = default;
  cow_Shared(const cow_Shared&) noexcept {}
  cow_Shared& operator=(const cow_Shared&) = delete;
  ~cow_Shared() = default;

  // The rest is implementation.

 private:
  template <class T>
  friend class cow_Handle;
  std::atomic<std::int64_t> holders_{1};
};

/// The copy-on-write handle under every cow_ class: a pointer, possibly null, to an
/// object derived from cow_Shared. Copies of a handle share the object; the last one
/// deletes it; a writer first makes sure that it is the only holder.
///
/// Threads: different handles to one object may be copied, read, detached and
/// destroyed by different threads at once; one handle is used by one thread at a time.
///
///     struct Node : cow_Shared { std::vector<int> items; };
///     cow_Handle<Node> a;             // null, no storage
///     a.Write().items.push_back(1);   // made on the first write
///     cow_Handle<Node> b = a;         // shares
///     b.Write().items.push_back(2);   // b gets its own copy, a still holds {1}
template <class T>
class cow_Handle {
 public:
  cow_Handle() noexcept = default;
  /// Takes over a fresh object (made by `new T`, one holder) or null.
  explicit cow_Handle(T* fresh) noexcept : object_(fresh) {}

  cow_Handle(const cow_Handle& other) noexcept : object_(other.object_) {
    if (object_ != nullptr) {
      Hold(*object_);
    }
  }
  cow_Handle(cow_Handle&& other) noexcept
      : object_(std::exchange(other.object_, nullptr)) {}
  cow_Handle& operator=(cow_Handle other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~cow_Handle() {
    if (object_ != nullptr) {
      Drop(object_);
    }
  }

  /// The shared object for reading, null when there is none.
  const T* Get() const noexcept { return object_; }

  /// Whether there is an object and this is its only holder, so that it may be
  /// written in place.
  bool IsUnique() const noexcept { return object_ != nullptr && IsHeldOnce(*object_); }

  /// The object for writing in place. REQUIRES: IsUnique().
  T& Unique() noexcept { return *object_; }

  /// The object for writing: made when there is none, copied first when it is shared.
  T& Write() {
    if (object_ == nullptr) {
      *this = cow_Handle(new T());
    } else if (!IsUnique()) {
      *this = cow_Handle(new T(*object_));
    }
    return *object_;
  }

  // The same for a class that keeps the pointer itself.

  /// Adds a holder.
  static void Hold(T& object) noexcept {
    object.holders_.fetch_add(1, std::memory_order_relaxed);
  }
  /// Removes a holder, and deletes the object after the last one.
  static void Drop(T* object) noexcept {
    // The only holder need not lock the count: nobody else can change it. Release, so
    // that the last holder sees what the others did before they left.
    if (IsHeldOnce(*object) ||
        object->holders_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
      delete object;
    }
  }
  static bool IsHeldOnce(const T& object) noexcept {
    return object.holders_.load(std::memory_order_acquire) == 1;
  }

  // The rest is implementation.

 private:
  T* object_ = nullptr;
};
