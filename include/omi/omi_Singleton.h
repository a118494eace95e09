// omi_Singleton: one object of a class per process, without locks.

#pragma once

/// Holds the process's one object of the class T, made on first use.
///
/// For one object over all modules of a process, the library that owns T says in T's
/// header, after the class,
///
///     extern template class KSTUTL_EXPORT omi_Singleton<T>;
///
/// and in exactly one source file `template class omi_Singleton<T>;`. Members and statics
/// are defined outside the class body because a module would otherwise have copies.
///
/// Threads: not locked. The first `Instance` and `Finalize` belong to the main thread.
template <class T>
class omi_Singleton {
 public:
  omi_Singleton() = delete;

  /// The object, created by the first call. What T's constructor throws passes through.
  static T& Instance();

  /// The object, or null if there is none; creates nothing.
  static T* Look();

  /// Destroys the object, if there is one; a later `Instance` creates it anew.
  static void Finalize();

  // The rest is implementation.

 private:
  static T* object_;
};

/// The name under which an object is ended: `omi_SingletonBase<T>::Finalize()`. Base and
/// singleton are one class, so that one `extern template` covers all of its state.
template <class T>
using omi_SingletonBase = omi_Singleton<T>;

template <class T>
T* omi_Singleton<T>::object_ = nullptr;

template <class T>
T& omi_Singleton<T>::Instance() {
  if (object_ == nullptr) {
    object_ = new T;
  }
  return *object_;
}

template <class T>
T* omi_Singleton<T>::Look() {
  return object_;
}

template <class T>
void omi_Singleton<T>::Finalize() {
  delete object_;
  object_ = nullptr;
}
