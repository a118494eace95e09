// thr_GlobalSingleton: one object of a class per process, safe for threads.

#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#include "thr/thr_currentProcess.h"
#include "thr/thr_GlobalLock.h"
#include "thr/thr_Mutex.h"

/// Holds the process's one object of the class T, made on first use.
///
/// For one object over all modules of a process, the library that owns T says in T's
/// header, after the class,
///
///     extern template class KSTUTL_EXPORT thr_GlobalSingleton<T>;
///
/// and in exactly one source file `template class thr_GlobalSingleton<T>;`. Members and
/// statics are defined outside the class body because a module would otherwise have
/// copies.
///
/// Threads: every operation but `Destroy` may be called from any thread.
template <class T>
class thr_GlobalSingleton {
 public:
  thr_GlobalSingleton() = delete;

  /// The object, created by the first call while `Mutex` is held. What T's constructor
  /// throws passes through, and the next call tries again.
  /// REQUIRES: T's constructor does not call this.
  static T& Instance();

  /// The object, or null if there is none; creates nothing.
  static T* Look();

  /// The class-wide lock that guards the creation; T's own operations may lock with it.
  /// It is created by the first call, under `thr_GlobalLock`.
  static thr_Mutex& Mutex();

  /// Destroys the object under `Mutex`, then the mutex itself under `thr_GlobalLock`;
  /// `Look` finds the object until its destructor has ended. Nothing happens when there
  /// is neither. A later `Instance` creates both anew. An object that this process has
  /// from its parent, by `fork`, is only forgotten, and so is the mutex: neither is
  /// touched or waited for (see thr_currentProcess).
  /// REQUIRES: no other thread uses the object or the mutex any more.
  static void Destroy();

  // The rest is implementation.

 private:
  static void Forget();

  static std::atomic<T*> object_;
  static std::atomic<thr_Mutex*> mutex_;
  static std::uint32_t process_;  // the object's
};

template <class T>
std::atomic<T*> thr_GlobalSingleton<T>::object_{nullptr};

template <class T>
std::atomic<thr_Mutex*> thr_GlobalSingleton<T>::mutex_{nullptr};

template <class T>
std::uint32_t thr_GlobalSingleton<T>::process_ = 0;

template <class T>
T* thr_GlobalSingleton<T>::Look() {
  return object_.load(std::memory_order_acquire);
}

template <class T>
T& thr_GlobalSingleton<T>::Instance() {
  if (T* const object = Look()) {
    return *object;
  }
  const std::lock_guard<thr_Mutex> guard(Mutex());
  if (T* const object = Look()) {
    return *object;
  }
  T* const made = new T;
  process_ = thr_currentProcess();
  object_.store(made, std::memory_order_release);
  return *made;
}

template <class T>
thr_Mutex& thr_GlobalSingleton<T>::Mutex() {
  if (thr_Mutex* const mutex = mutex_.load(std::memory_order_acquire)) {
    return *mutex;
  }
  const std::lock_guard<thr_Mutex> guard(thr_GlobalLock::Instance());
  if (mutex_.load(std::memory_order_relaxed) == nullptr) {
    mutex_.store(new thr_Mutex, std::memory_order_release);
  }
  return *mutex_.load(std::memory_order_relaxed);
}

template <class T>
void thr_GlobalSingleton<T>::Destroy() {
  thr_Mutex* const mutex = mutex_.load(std::memory_order_acquire);
  if (mutex == nullptr) {
    return;
  }
  if (Look() != nullptr && process_ != thr_currentProcess()) {
    Forget();
    return;
  }
  mutex->lock();
  delete object_.load(std::memory_order_relaxed);
  object_.store(nullptr, std::memory_order_release);
  const std::lock_guard<thr_Mutex> guard(thr_GlobalLock::Instance());
  mutex->unlock();
  delete mutex;
  mutex_.store(nullptr, std::memory_order_release);
}

template <class T>
void thr_GlobalSingleton<T>::Forget() {
  // Keeps them reachable, so that leak checkers do not report them.
  static struct {
    T* object;
    thr_Mutex* mutex;
  } kept;
  kept = {object_.exchange(nullptr), mutex_.exchange(nullptr)};
}
