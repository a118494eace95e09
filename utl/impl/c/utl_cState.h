#pragma once

// Internal to the library: what the C interface has between its start and its end.

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "cow/cow_String.h"
#include "thr/thr_Mutex.h"
#include "utl/utl_File.h"
#include "utl/utl_MultisectionFile.h"

/// A number that no handle of this process has had.
std::uintptr_t utl_cNewHandle();

/// What a handle stands for.
template <class Object>
struct utl_COpen {
  Object object;
  bool isReadOnly;
};

/// Objects behind handles. A handle is a number in a pointer's clothes and never used
/// twice, so that one that was closed is known as such.
///
/// Threads: any. The object itself is its user's.
template <class Object>
class utl_CHandles {
 public:
  utl_CHandles() = default;
  utl_CHandles(const utl_CHandles&) = delete;
  utl_CHandles& operator=(const utl_CHandles&) = delete;

  /// A handle for the object.
  void* Add(std::unique_ptr<Object> object) {
    const std::lock_guard guard(mutex_);
    const std::uintptr_t handle = utl_cNewHandle();
    objects_.emplace(handle, std::move(object));
    return reinterpret_cast<void*>(handle);
  }
  /// The object, or null when this is no handle of one.
  Object* Find(const void* handle) {
    const std::lock_guard guard(mutex_);
    const auto found = objects_.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == objects_.end() ? nullptr : found->second.get();
  }
  /// Takes the object out; null when this is no handle of one.
  std::unique_ptr<Object> Take(const void* handle) {
    const std::lock_guard guard(mutex_);
    const auto node = objects_.extract(reinterpret_cast<std::uintptr_t>(handle));
    return node.empty() ? nullptr : std::move(node.mapped());
  }
  /// Any handle, or null when there is none.
  void* Any() {
    const std::lock_guard guard(mutex_);
    return objects_.empty() ? nullptr : reinterpret_cast<void*>(objects_.begin()->first);
  }

 private:
  thr_Mutex mutex_;
  std::map<std::uintptr_t, std::unique_ptr<Object>> objects_;
};

struct utl_CState {
  utl_CHandles<utl_COpen<utl_MultisectionFile>> sections;
  utl_CHandles<utl_COpen<utl_File>> files;
  bool hasLogs = false;
  /// The phases that run, each at the place of its timer.
  std::array<std::optional<cow_String>, 20> phases;
};

/// Null while the library is not started by the C interface.
extern utl_CState* utl_cState;
