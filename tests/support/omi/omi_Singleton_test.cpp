#include "omi/omi_Singleton.h"

#include <gtest/gtest.h>

namespace {

int made = 0;
int destroyed = 0;

struct Counted {
  Counted() { ++made; }
  ~Counted() { ++destroyed; }
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;
};

using Singleton = omi_Singleton<Counted>;

class OmiSingletonTest : public testing::Test {
 protected:
  ~OmiSingletonTest() override { Singleton::Finalize(); }
  const int madeBefore_ = made;
  const int destroyedBefore_ = destroyed;
};

TEST_F(OmiSingletonTest, LookCreatesNothing) {
  EXPECT_EQ(Singleton::Look(), nullptr);
  EXPECT_EQ(made, madeBefore_);
}

TEST_F(OmiSingletonTest, InstanceIsMadeOnceAndStays) {
  Counted& first = Singleton::Instance();
  EXPECT_EQ(&Singleton::Instance(), &first);
  EXPECT_EQ(Singleton::Look(), &first);
  EXPECT_EQ(made, madeBefore_ + 1);
}

TEST_F(OmiSingletonTest, FinalizeDestroysOnce) {
  Singleton::Instance();
  omi_SingletonBase<Counted>::Finalize();
  omi_SingletonBase<Counted>::Finalize();
  EXPECT_EQ(destroyed, destroyedBefore_ + 1);
  EXPECT_EQ(Singleton::Look(), nullptr);
}

TEST_F(OmiSingletonTest, FinalizeWithoutObjectDoesNothing) {
  omi_SingletonBase<Counted>::Finalize();
  EXPECT_EQ(destroyed, destroyedBefore_);
}

TEST_F(OmiSingletonTest, IsMadeAnewAfterFinalize) {
  Singleton::Instance();
  omi_SingletonBase<Counted>::Finalize();
  Singleton::Instance();
  EXPECT_EQ(made, madeBefore_ + 2);
}

}  // namespace
