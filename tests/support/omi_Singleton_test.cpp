#include "omi/omi_Singleton.h"

#include <gtest/gtest.h>

namespace {

struct Counted {
  Counted() { ++made; }
  ~Counted() { ++destroyed; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

  static int made;
  static int destroyed;
};

int Counted::made = 0;
int Counted::destroyed = 0;

TEST(omi_Singleton, LookCreatesNothing) {
  EXPECT_EQ(omi_Singleton<Counted>::Look(), nullptr);
  EXPECT_EQ(Counted::made, 0);
}

TEST(omi_Singleton, InstanceIsMadeOnceAndStays) {
  Counted& first = omi_Singleton<Counted>::Instance();
  EXPECT_EQ(&omi_Singleton<Counted>::Instance(), &first);
  EXPECT_EQ(omi_Singleton<Counted>::Look(), &first);
  EXPECT_EQ(Counted::made, 1);
  omi_SingletonBase<Counted>::Finalize();
}

TEST(omi_Singleton, FinalizeDestroysOnce) {
  omi_Singleton<Counted>::Instance();
  omi_SingletonBase<Counted>::Finalize();
  omi_SingletonBase<Counted>::Finalize();
  EXPECT_EQ(Counted::destroyed, 1);
  EXPECT_EQ(omi_Singleton<Counted>::Look(), nullptr);
}

TEST(omi_Singleton, FinalizeWithoutObjectDoesNothing) {
  omi_SingletonBase<Counted>::Finalize();
  EXPECT_EQ(Counted::destroyed, 0);
}

TEST(omi_Singleton, IsMadeAnewAfterFinalize) {
  omi_Singleton<Counted>::Instance();
  omi_SingletonBase<Counted>::Finalize();
  omi_Singleton<Counted>::Instance();
  EXPECT_EQ(Counted::made, 2);
  omi_SingletonBase<Counted>::Finalize();
}

}  // namespace
