#pragma once

// Internal to the library: the state of the C interface between its start and its end.

#include <array>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "cow/cow_String.h"
#include "thr/thr_Mutex.h"
#include "utl/utl_File.h"
#include "utl/utl_MultisectionFile.h"

/// A handle that this process has not had.
void* utl_cNewHandle();

/// What a handle stands for.
template <class Object>
struct utl_COpen {
  Object object;
  bool isReadOnly;
};

/// Objects that handles stand for. A handle is a number in a pointer's type and never
/// used twice, so that a closed one is recognised.
///
/// Threads: any. The objects themselves are not locked.
template <class Object>
class utl_CHandles {
 public:
  utl_CHandles() = default;
  utl_CHandles(const utl_CHandles&) = delete;
  utl_CHandles& operator=(const utl_CHandles&) = delete;

  /// A handle for the object.
  void* Add(std::unique_ptr<Object> object) {
    const std::lock_guard guard(mutex_);
    void* const handle = utl_cNewHandle();
    objects_.emplace(handle, std::move(object));
    return handle;
  }
  /// The object, or null when this is no handle of one.
  Object* Find(void* handle) {
    const std::lock_guard guard(mutex_);
    const auto found = objects_.find(handle);
    return found == objects_.end() ? nullptr : found->second.get();
  }
  /// Takes the object out; null when this is no handle of one.
  std::unique_ptr<Object> Take(void* handle) {
    const std::lock_guard guard(mutex_);
    const auto node = objects_.extract(handle);
    return node.empty() ? nullptr : std::move(node.mapped());
  }
  /// Any handle, or null when there is none.
  void* Any() {
    const std::lock_guard guard(mutex_);
    return objects_.empty() ? nullptr : objects_.begin()->first;
  }

 private:
  thr_Mutex mutex_;
  std::map<void*, std::unique_ptr<Object>> objects_;
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
