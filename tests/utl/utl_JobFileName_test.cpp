#include "utl/utl_JobFileName.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/child/ChildProcess.h"
#include "common/environment/ScopedEnvironment.h"
#include "common/expect/ExpectThrow.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "utl/utl_CommandLine.h"
#include "utl/utl_CommandLineLoader.h"

namespace {

class JobFileNameTest : public testing::Test {
 protected:
  ~JobFileNameTest() override { thr_GlobalSingleton<utl_CommandLine>::Destroy(); }

  static void Load(std::vector<std::string> arguments) {
    thr_GlobalSingleton<utl_CommandLine>::Destroy();
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    utl_CommandLineLoader::SetArgs(static_cast<int>(argv.size()), argv.data());
  }
  static std::string Name(const char* suffix) {
    return std::string(std::string_view(utl_JobFileName(suffix)));
  }

  TempDir dir_;
  CurrentDirectory current_{dir_.Path()};
  ScopedEnvironment auxiliary_{"SUPAUXNAME", nullptr};
};

TEST_F(JobFileNameTest, IsTheJobInTheCurrentDirectory) {
  Load({"prog", "-job", "beam"});
  EXPECT_EQ(Name(".dat"), dir_.ShownPath() + "\\beam.dat");
  EXPECT_EQ(Name("_2"), dir_.ShownPath() + "\\beam_2");
  EXPECT_EQ(Name(""), dir_.ShownPath() + "\\beam");
}

TEST_F(JobFileNameTest, IsInTheOutputDirectory) {
  Load({"prog", "-job", "beam", "-outdir", "D:\\out"});
  EXPECT_EQ(Name(".dat"), "D:\\out\\beam.dat");
  Load({"prog", "-job", "E:\\jobs\\beam", "-outdir", "D:\\out"});
  EXPECT_EQ(Name(".dat"), "E:\\jobs\\beam.dat");
  Load({"prog", "-job", "beam", "-outdir", "rel"});
  EXPECT_EQ(Name(".dat"), dir_.ShownPath() + "\\beam.dat");
  Load({"prog", "-job", "beam", "-outdir"});
  EXPECT_EQ(Name(".dat"), dir_.ShownPath() + "\\beam.dat");
}

TEST_F(JobFileNameTest, AuxiliaryNameGoesBeforeTheJob) {
  Load({"prog", "-job", "beam"});
  ScopedEnvironment aux("SUPAUXNAME", "aux");
  EXPECT_EQ(Name(".msg"), dir_.ShownPath() + "\\aux.msg");
  ScopedEnvironment blank("SUPAUXNAME", " x");
  EXPECT_EQ(Name(".msg"), dir_.ShownPath() + "\\beam.msg");
}

TEST_CHILD(printJobFileName) {
  utl_CommandLineLoader::SetArgs(argc, argv);
  ChildWriteLine(utl_JobFileName(".msg").c_str());
  return 0;
}

TEST_F(JobFileNameTest, AnEmptyAuxiliaryNameIsUsed) {
  SetEmptyForChildren("SUPAUXNAME");
  ChildProcess child = ChildProcess::Start("printJobFileName", {"-job", "beam"});
  EXPECT_EQ(child.ReadLine(), dir_.ShownPath() + "\\.msg");
  EXPECT_EQ(child.Wait(), 0);
}

TEST_F(JobFileNameTest, EnvironmentReferencesAreExpanded) {
  ScopedEnvironment out("KES_T_OUT", "D:\\out");
  ScopedEnvironment name("KES_T_NAME", "beam");
  Load({"prog", "-job", "%KES_T_NAME%", "-outdir", "$KES_T_OUT"});
  EXPECT_EQ(Name(".dat"), "D:\\out\\beam.dat");
}

TEST_F(JobFileNameTest, WithoutAnyNameThrows) {
  Load({"prog"});
  EXPECT_THROW_TEXT(utl_JobFileName(".dat"), utl_MissingCmdLineArgException,
                    "Command line argument job is required.");
}

}  // namespace
