// thr_ThreadSingleton: one object of a class per thread.

#pragma once

#include <memory>

#include "KSTutl_export.h"
#include "thr/thr_ThreadSlot.h"

/// Holds every thread's own object of the class T, made on the thread's first use and
/// destroyed when the thread ends.
///
/// All threads share one slot of the operating system; it exists as long as any thread
/// has an object. The object of a thread that ends the process by returning from main may
/// be left undestroyed: call `Destroy` before.
///
/// For one object over all modules of a process, the library that owns T says in T's
/// header, after the class,
///
///     extern template class KSTUTL_EXPORT thr_ThreadSingleton<T>;
///
/// and in exactly one source file `template class thr_ThreadSingleton<T>;`. Members and
/// statics are defined outside the class body because a module would otherwise have
/// copies.
///
/// Threads: any.
template <class T>
class thr_ThreadSingleton {
 public:
  thr_ThreadSingleton() = delete;

  /// The calling thread's object, created by its first call. What T's constructor throws
  /// passes through; throws `std::bad_alloc` when the system has no slot left.
  /// REQUIRES: T's destructor does not call this.
  static T& Instance();

  /// The calling thread's object, or null if there is none; creates nothing.
  static T* Look();

  /// Destroys the calling thread's object, if there is one; a later `Instance` creates
  /// it anew.
  static void Destroy();

  // The rest is implementation.

 private:
  static thr_ThreadSlot slot_;
};

template <class T>
thr_ThreadSlot thr_ThreadSingleton<T>::slot_;

template <class T>
T* thr_ThreadSingleton<T>::Look() {
  return static_cast<T*>(slot_.Get());
}

template <class T>
T& thr_ThreadSingleton<T>::Instance() {
  if (T* const object = Look()) {
    return *object;
  }
  std::unique_ptr<T> made(new T);
  slot_.Set(made.get(), &Destroy);
  return *made.release();
}

template <class T>
void thr_ThreadSingleton<T>::Destroy() {
  delete static_cast<T*>(slot_.Take());
}
