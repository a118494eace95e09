#pragma once

#include <memory>

#include "cow/cow_String.h"
#include "KSTutl_export.h"
#include "thr/thr_ThreadSingleton.h"

class rgx_CompiledPattern;
class rgx_Matcher;
template <class Value>
class rgx_DigitalTree;

/// The patterns that a thread has compiled, up to 100 of them, so that a pattern used in
/// a loop is compiled once. The functions of rgx_funcs.h use it; other code needs it only
/// for a look at what is stored.
///
/// When a 101st pattern is to be stored, 50 are removed: the first ones when the tree of
/// patterns is walked from its root, however recently they were used. The tree's shape,
/// and so the choice, depends on the patterns and the order in which they came.
///
/// Threads: each has its own, thr_ThreadSingleton<rgx_ReCompileCache>::Instance(), made
/// on first use and destroyed with the thread.
class KSTUTL_EXPORT rgx_ReCompileCache {
 public:
  rgx_ReCompileCache();
  rgx_ReCompileCache(const rgx_ReCompileCache&) = delete;
  rgx_ReCompileCache& operator=(const rgx_ReCompileCache&) = delete;
  ~rgx_ReCompileCache();

  /// How many patterns are stored.
  int Size() const noexcept;
  /// Whether the pattern is stored; compiles nothing.
  bool IsMember(const cow_String& pattern) const;

  /// The compiled form of `pattern`, which ends at its first zero byte; compiled and
  /// stored if it is not there. Valid until the next call. Throws nex_TextException, with
  /// nothing stored and nothing evicted, when it does not compile: see rgx_funcs.h.
  const rgx_CompiledPattern& Compiled(const cow_String& pattern);

  // The rest is implementation.
  rgx_Matcher& Matcher() noexcept { return *matcher_; }

 private:
  void Evict();

  int capacity_;
  std::unique_ptr<rgx_DigitalTree<std::shared_ptr<const rgx_CompiledPattern>>> patterns_;
  std::unique_ptr<rgx_Matcher> matcher_;
};

extern template class KSTUTL_EXPORT thr_ThreadSingleton<rgx_ReCompileCache>;
