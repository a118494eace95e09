#include <gtest/gtest.h>

#include "atr/atr_initialize.h"
#include "cow/cow_initialize.h"
#include "mem/mem_initialize.h"
#include "nex/nex_initialize.h"
#include "omi/omni_initialize.h"
#include "pnt/pnt_initialize.h"
#include "thr/thr_initialize.h"
#include "thr/thr_ThreadPool.h"
#include "typ/typ_DebugFlags.h"
#include "typ/typ_initialize.h"

namespace {

void InitializeAll(int& count) {
  mem_initialize(count);
  typ_initialize(count);
  thr_initialize(count);
  pnt_initialize(count);
  omni_initialize(count);
  atr_initialize(count);
  cow_initialize(count);
  nex_initialize(count);
}

void FinalizeAll(int& count) {
  nex_finalize(count);
  cow_finalize(count);
  atr_finalize(count);
  omni_finalize(count);
  pnt_finalize(count);
  thr_finalize(count);
  typ_finalize(count);
  mem_finalize(count);
}

TEST(SupportInitializeTest, CallersCounterIsLeftAloneHoweverOften) {
  int count = 5;
  InitializeAll(count);
  InitializeAll(count);
  FinalizeAll(count);
  FinalizeAll(count);
  InitializeAll(count);
  FinalizeAll(count);
  EXPECT_EQ(count, 5);
}

TEST(SupportInitializeTest, ThrFinalizeEndsThePool) {
  int count = 0;
  thr_GlobalSingleton<thr_ThreadPool>::Instance().AddThreads(1, 1);
  thr_finalize(count);
  EXPECT_EQ(thr_GlobalSingleton<thr_ThreadPool>::Look(), nullptr);
}

TEST(SupportInitializeTest, TypFinalizeClearsTheFlags) {
  int count = 0;
  typ_DebugFlags::SetDebugFlags("utl", 3);
  typ_finalize(count);
  EXPECT_EQ(typ_DebugFlags::Level(3), 0);
}

}  // namespace
