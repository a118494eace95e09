#include "utl/utl_Version.h"

#include <gtest/gtest.h>

#include "common/environment/ScopedEnvironment.h"
#include "utl/utl_initialize.h"

namespace {

// Every test has a version object of its own.
class VersionTest : public testing::Test {
 protected:
  ~VersionTest() override { omi_SingletonBase<utl_Version>::Finalize(); }

  static utl_Version& Version() { return omi_Singleton<utl_Version>::Instance(); }

  ScopedEnvironment developmentMode_{"KESTRA_DEVL_MODE", nullptr};
  ScopedEnvironment sequence_{"KESTRA_SEQ", nullptr};
  ScopedEnvironment work_{"WORK", nullptr};
  ScopedEnvironment learner_{"KES_LEARNER", nullptr};
};

TEST_F(VersionTest, KnowsTheBuildsNumbers) {
  EXPECT_EQ(Version().MajorVersion(), 6);
  EXPECT_EQ(Version().MinorVersion(), 6);
  EXPECT_EQ(Version().UpdateVersion(), 7);
  EXPECT_EQ(Version().CopyrightYear(), 2007);
  EXPECT_EQ(Version().VersionNumber(), "6.6-7");
  EXPECT_EQ(Version().PythonVersion(), "2.3.3");
  EXPECT_EQ(Version().FoxVersion(), "1.0");
}

TEST_F(VersionTest, IsAGeneralMaintenanceRelease) {
  EXPECT_TRUE(Version().GenMaintRelease());
  EXPECT_FALSE(Version().CustomRelease());
  EXPECT_FALSE(Version().DevelopmentRelease());
  EXPECT_FALSE(Version().IntermediateRelease());
  EXPECT_FALSE(Version().MaintenanceRelease());
  EXPECT_FALSE(Version().Prerelease());
  EXPECT_FALSE(Version().IsLearnerEdition());
  EXPECT_FALSE(Version().GetDebugInfoEnabledForVersionType());
}

TEST_F(VersionTest, NumbersByTypeOfRelease) {
  const struct {
    utl_VersionTypeEnum type;
    const char* number;
  } cases[] = {
      {VT_CUSTOM, "6.6-"},         {VT_DEVELOPMENT, "6.6-DEV"},
      {VT_GENMAINT, "6.6-7"},      {VT_INTERMEDIATE, "6.6-IP7b"},
      {VT_MAINTENANCE, "6.6-MNT"}, {VT_PRERELEASE, "6.6-PR7b"},
      {VT_LEARNER, "6.6-7"},       {static_cast<utl_VersionTypeEnum>(7), "6.6-"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Version().VersionNumberFromValues(6, 6, 7, c.type, "b"), c.number)
        << c.type;
  }
  EXPECT_EQ(Version().VersionNumberFromValues(10, 0, 12, VT_PRERELEASE, nullptr),
            "10.0-PR12");
}

TEST_F(VersionTest, ProductIsWhatItsNameSays) {
  EXPECT_EQ(Version().ProductName(), "KESTRA");
  EXPECT_FALSE(Version().IsProductStudio());
  EXPECT_FALSE(Version().IsProductLens());
  EXPECT_EQ(Version().SolaraVersion(), "");

  Version().SetProductStudio();
  EXPECT_EQ(Version().ProductName(), "KESTRA/Studio");
  EXPECT_TRUE(Version().IsProductStudio());
  EXPECT_FALSE(Version().IsProductLens());
  EXPECT_EQ(Version().SolaraVersion(), "12.0");

  Version().SetProductLens();
  EXPECT_EQ(Version().ProductName(), "KESTRA/Lens");
  EXPECT_TRUE(Version().IsProductLens());
  EXPECT_FALSE(Version().IsProductStudio());
  EXPECT_EQ(Version().SolaraVersion(), "");

  Version().SetProductName("KESTRA/Studio");
  EXPECT_TRUE(Version().IsProductStudio());
  Version().SetProductName("kestra/studio");
  EXPECT_FALSE(Version().IsProductStudio());
}

TEST_F(VersionTest, TitlesOfTheProducts) {
  EXPECT_EQ(Version().Title(false), "KESTRA Version 6.6-7");
  Version().SetProductStudio();
  EXPECT_EQ(Version().Title(false), "KESTRA/Studio Version 6.6-7");
  Version().SetExecutableName(utl_FilePath("C:\\bin\\kst.exe", ""));
  EXPECT_EQ(Version().Title(false), "KESTRA/Studio Version 6.6-7") << "it shows nowhere";
}

TEST_F(VersionTest, LearnerEditionIsNoReleaseAndShowsInTheTitle) {
  Version().SetLearnerEdition();
  EXPECT_TRUE(Version().IsLearnerEdition());
  EXPECT_FALSE(Version().CustomRelease() || Version().DevelopmentRelease() ||
               Version().GenMaintRelease() || Version().IntermediateRelease() ||
               Version().MaintenanceRelease() || Version().Prerelease());
  EXPECT_EQ(Version().Title(false), "KESTRA Learner Edition 6.6-7");
  EXPECT_FALSE(Version().GetDebugInfoEnabledForVersionType());
}

TEST_F(VersionTest, StartUpSwitchesToTheLearnerEditionOnlyForExactlyOn) {
  for (const char* value : {"ON", "on", "ON ", "1"}) {
    ScopedEnvironment learner("KES_LEARNER", value);
    int count = 0;
    utl_initialize(count);
    const bool isOn = std::string(value) == "ON";
    EXPECT_EQ(omi_Singleton<utl_Version>::Look() != nullptr, isOn) << value;
    EXPECT_EQ(Version().IsLearnerEdition(), isOn) << value;
    utl_finalize(count);
    EXPECT_EQ(omi_Singleton<utl_Version>::Look(), nullptr);
  }
}

TEST_F(VersionTest, SequenceIsReadAtEveryCall) {
  EXPECT_EQ(Version().Sequence(), "");
  ScopedEnvironment first("KESTRA_SEQ", "one");
  EXPECT_EQ(Version().Sequence(), "one");
  ScopedEnvironment second("KESTRA_SEQ", "two");
  EXPECT_EQ(Version().Sequence(), "two");
}

TEST_F(VersionTest, DevelopmentInformationNeedsExactlyTrueAtCreation) {
  ScopedEnvironment work("WORK", "D:\\views\\solver.main");
  for (const char* value : {"true", "TRUE ", "1"}) {
    ScopedEnvironment mode("KESTRA_DEVL_MODE", value);
    EXPECT_EQ(Version().Title(true), "KESTRA Version 6.6-7") << value;
    omi_SingletonBase<utl_Version>::Finalize();
  }
  EXPECT_EQ(Version().Title(true), Version().Title(false));
  ScopedEnvironment mode("KESTRA_DEVL_MODE", "TRUE");
  EXPECT_EQ(Version().Title(true), "KESTRA Version 6.6-7");
  omi_SingletonBase<utl_Version>::Finalize();
  EXPECT_EQ(Version().Title(true), "KESTRA Version 6.6-7, Work: solver");
  EXPECT_EQ(Version().Title(false), "KESTRA Version 6.6-7");
}

TEST_F(VersionTest, DevelopmentInformationFromWorkAndSequence) {
  ScopedEnvironment mode("KESTRA_DEVL_MODE", "TRUE");
  const struct {
    const char *work, *sequence, *info;
  } cases[] = {
      {nullptr, nullptr, ""},
      {nullptr, "0123456789", ""},   // ten characters: no date, and no name
      {nullptr, "0123456789a", ""},  // a date alone is not shown
      {nullptr, "a nightly", "Snapshot: nightly"},
      {nullptr, "0123 56789", "Snapshot: 56789"},
      {nullptr, "0123 56789a", "Snapshot: 56789a ( 56789 )"},
      {nullptr, "snap_12Mar nightly", "Snapshot: nightly ( 12Mar )"},
      {nullptr, "snap_12Mar nightly b", "Snapshot: nightly b ( 12Mar )"},
      {"/views/solver", nullptr, "Work: solver"},
      {"/views/solver", "snap_12Mar nightly", "Work: solver (nightly)"},
      {"/views/solver", "snap_12Mar_x", "Work: solver"},
  };
  for (const auto& c : cases) {
    ScopedEnvironment work("WORK", c.work);
    ScopedEnvironment sequence("KESTRA_SEQ", c.sequence);
    EXPECT_EQ(Version().Title(true), cow_String("KESTRA Version 6.6-7, ") + c.info);
  }
}

}  // namespace
