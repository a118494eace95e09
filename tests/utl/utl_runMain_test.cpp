#include "utl/utl_runMain.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/child/ChildProcess.h"
#include "common/environment/ScopedEnvironment.h"
#include "common/temp/CurrentDirectory.h"
#include "common/temp/TempDir.h"
#include "nex/nex_TextException.h"
#include "utl/utl_File.h"
#include "utl/utl_initialize.h"
#include "utl/utl_IOTracker.h"
#include "utl/utl_JobFileName.h"
#include "utl/utl_MultisectionFile.h"
#include "utl/utl_NativePath.h"
#include "utl/utl_Phase.h"
#include "utl/utl_ResourceMonitor.h"
#include "utl/utl_TempFile.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;
using Work = std::function<void(const utl_CommandLine&)>;

struct Outcome {
  int status;
  std::string out, err;
};

class RunMainTest : public testing::Test {
 protected:
  static Outcome Told(const std::function<int()>& program) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Outcome run;
    run.status = program();
    run.out = testing::internal::GetCapturedStdout();
    run.err = testing::internal::GetCapturedStderr();
    std::erase(run.out, '\r');
    std::erase(run.err, '\r');
    return run;
  }
  // Runs a program "prog" with the arguments and that work.
  static Outcome RunProgram(std::vector<std::string> arguments, const Work& work) {
    arguments.insert(arguments.begin(), "prog");
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    return Told([&] {
      return utl_runMain("prog", static_cast<int>(argv.size()), argv.data(), work);
    });
  }
  static Outcome RunProgram(const Work& work) { return RunProgram({}, work); }

  std::string Native(const char* name) const {
    return utl_nativePath(dir_.File(name)).string();
  }

  TempDir dir_;
  CurrentDirectory current_{dir_.Path()};
  ScopedEnvironment auxiliary_{"SUPAUXNAME", nullptr};
  ScopedEnvironment monitor_{"KES_RESOURCE_MONITOR", nullptr};
  ScopedEnvironment tracker_{"KES_IO_TRACK", nullptr};
};

class OwnReport : public utl_FileExceptionOpen {
 public:
  using utl_FileExceptionOpen::utl_FileExceptionOpen;
  atr_String UserReport() const override { return "no"; }
  void Propagate() const override { throw *this; }
};

TEST_F(RunMainTest, AReportWithoutAPathHasNoAdvice) {
  const Outcome run = RunProgram([](const utl_CommandLine&) {
    throw OwnReport(5, "a.dat", "CreateFile in OpenWrite");
  });
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "prog: no\n");
}

TEST_F(RunMainTest, WorksWithTheCommandLine) {
  const Outcome run = RunProgram({"-cpus", "4"}, [](const utl_CommandLine& line) {
    std::cout << line.ConstGetValueAsInt("cpus") << ' ' << line.ConstGet(0) << '\n';
  });
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "4 prog\n");
  EXPECT_EQ(run.err, "");
}

TEST_F(RunMainTest, EndsTheLibrary) {
  EXPECT_EQ(RunProgram({"-one", "1"}, [](const utl_CommandLine&) {}).status, 0);
  EXPECT_EQ(thr_GlobalSingleton<utl_CommandLine>::Look(), nullptr);
  const Outcome again = RunProgram([](const utl_CommandLine& line) {
    std::cout << line.IsMember("one") << line.Size();
  });
  EXPECT_EQ(again.out, "01");
}

TEST_F(RunMainTest, EndsTheLibraryAfterAFailureToo) {
  RunProgram({"-one", "1"}, [](const utl_CommandLine&) { throw 1; });
  EXPECT_EQ(thr_GlobalSingleton<utl_CommandLine>::Look(), nullptr);
}

TEST_F(RunMainTest, OpensTheLogsOfTheJob) {
  const ScopedEnvironment monitor("KES_RESOURCE_MONITOR", "ON");
  const ScopedEnvironment tracker("KES_IO_TRACK", "1");
  const Outcome run = RunProgram({"-job", "beam"}, [](const utl_CommandLine&) {
    const utl_Phase phase(1, "solve");
  });
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(ReadWholeFile("beam.use"), HasSubstr("solve"));
  EXPECT_THAT(ReadWholeFile("beam.ioTotal"), HasSubstr("solve"));
  EXPECT_TRUE(FileExists("beam.ioFileSummary"));
}

TEST_F(RunMainTest, OpensTheLogsOfTheAuxiliaryName) {
  const ScopedEnvironment monitor("KES_RESOURCE_MONITOR", "ON");
  const ScopedEnvironment auxiliary("SUPAUXNAME", "auxiliary");
  EXPECT_EQ(RunProgram([](const utl_CommandLine&) {}).status, 0);
  EXPECT_TRUE(FileExists("auxiliary.use"));
}

TEST_F(RunMainTest, WithoutAJobThereAreNoLogs) {
  const ScopedEnvironment monitor("KES_RESOURCE_MONITOR", "ON");
  const Outcome run = RunProgram([](const utl_CommandLine&) {});
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(std::filesystem::is_empty(dir_.Path()));
}

TEST_F(RunMainTest, AJobWithAnEmptyNameHasNoLogs) {
  const ScopedEnvironment monitor("KES_RESOURCE_MONITOR", "ON");
  const Work nothing = [](const utl_CommandLine&) {};
  EXPECT_EQ(RunProgram({"-job"}, nothing).status, 0);
  EXPECT_EQ(RunProgram({"-job", ""}, nothing).status, 0);
  EXPECT_TRUE(std::filesystem::is_empty(dir_.Path()));
}

TEST_F(RunMainTest, EndsTheLogsAfterAFailure) {
  const ScopedEnvironment monitor("KES_RESOURCE_MONITOR", "ON");
  const ScopedEnvironment tracker("KES_IO_TRACK", "1");
  const Outcome run = RunProgram({"-job", "beam"}, [](const utl_CommandLine&) {
    const utl_Phase phase(1, "solve");
    throw std::runtime_error("why");
  });
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "prog: why\n");
  EXPECT_THAT(ReadWholeFile("beam.use"), HasSubstr("beam-End"));
  EXPECT_TRUE(FileExists("beam.ioFileSummary"));
}

TEST_F(RunMainTest, WithoutArgumentsThereIsAnEmptyCommandLine) {
  const Work printSize = [](const utl_CommandLine& line) { std::cout << line.Size(); };
  EXPECT_EQ(Told([&] { return utl_runMain("prog", 0, nullptr, printSize); }).out, "0");
  EXPECT_EQ(Told([&] { return utl_runMain("prog", -1, nullptr, printSize); }).out, "0");
}

TEST_F(RunMainTest, ProgramWithoutANameIsCalledProgram) {
  const Work fails = [](const utl_CommandLine&) { throw 1; };
  EXPECT_THAT(Told([&] { return utl_runMain(nullptr, 0, nullptr, fails); }).err,
              StartsWith("program: "));
}

TEST_F(RunMainTest, EmptyWorkIsAFailure) {
  const Outcome run = RunProgram(Work());
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.err, StartsWith("prog: "));
}

TEST_F(RunMainTest, RefusesACallInsideAnother) {
  bool hasRun = false;
  int inner = 0;
  const Outcome run = RunProgram({"-job", "beam"}, [&](const utl_CommandLine& line) {
    inner =
        utl_runMain("inner", 0, nullptr, [&](const utl_CommandLine&) { hasRun = true; });
    std::cout << line.ConstGetValue("job");
  });
  EXPECT_EQ(inner, 1);
  EXPECT_FALSE(hasRun);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.out, "beam");
  EXPECT_EQ(run.err, "inner: utl_runMain is at work already.\n");
}

TEST_F(RunMainTest, InsideAStartedLibraryLeavesItStarted) {
  int count = 0;
  utl_initialize(count);
  EXPECT_EQ(RunProgram({"-one", "1"}, [](const utl_CommandLine&) {}).status, 0);
  EXPECT_NE(thr_GlobalSingleton<utl_CommandLine>::Look(), nullptr);
  utl_finalize(count);
  EXPECT_EQ(count, 0);
}

TEST_F(RunMainTest, RelativeOutputDirectoryIsThatOfTheProcess) {
  std::filesystem::create_directory("out");
  std::string name;
  const Work work = [&](const utl_CommandLine&) {
    name = utl_JobFileName(".dat").c_str();
  };
  RunProgram({"-job", "beam", "-outdir", "out"}, work);
  EXPECT_EQ(name, dir_.ShownPath() + "\\out\\beam.dat");
  RunProgram({"-job", "beam", "-outdir", dir_.File("out")}, work);
  EXPECT_EQ(name, dir_.ShownPath() + "\\out\\beam.dat");
  RunProgram({"-job", "beam", "-outdir", "D:\\out"}, work);
  EXPECT_EQ(name, "D:\\out\\beam.dat");
  RunProgram({"-job", "beam", "-outdir", "\\"}, work);
  EXPECT_EQ(name, "Z:\\beam.dat");
  RunProgram({"-outdir", "-job", "beam"}, work);
  EXPECT_EQ(name, dir_.ShownPath() + "\\beam.dat");
}

TEST_F(RunMainTest, TellsATextExceptionInOneLine) {
  const Outcome run = RunProgram([](const utl_CommandLine&) {
    nex_TextException("a deck\r\nwithout\tbars\x1b[31m\x7f \n").Throw("here", 1);
  });
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err, "prog: a deck without bars [31m\n");
}

TEST_F(RunMainTest, ALineEndAtTheBeginningOfAMessageIsLeftOutAndLettersStay) {
  const Outcome run = RunProgram(
      [](const utl_CommandLine&) { throw std::runtime_error("\n\tTr\xC3\xA4ger"); });
  EXPECT_EQ(run.err, "prog: Tr\xC3\xA4ger\n");
}

TEST_F(RunMainTest, TellsExceptionsOfAllKinds) {
  EXPECT_EQ(
      RunProgram([](const utl_CommandLine&) { throw std::runtime_error("why"); }).err,
      "prog: why\n");
  EXPECT_EQ(RunProgram([](const utl_CommandLine&) { throw std::bad_alloc(); }).err,
            "prog: There is not enough memory.\n");
  EXPECT_EQ(RunProgram([](const utl_CommandLine&) { throw 1; }).err,
            "prog: An exception of a class that is not known.\n");
  EXPECT_EQ(
      RunProgram([](const utl_CommandLine& line) { line.ConstGetValue("job"); }).err,
      "prog: Command line argument job is required.\n");
}

TEST_F(RunMainTest, OutputComesBeforeTheFailure) {
  const Outcome run = RunProgram([](const utl_CommandLine&) {
    std::cout << "half";
    throw 1;
  });
  EXPECT_EQ(run.out, "half");
}

TEST_CHILD(printsToNobody) {
  dup2(STDOUT_FILENO, STDERR_FILENO);
  close(STDOUT_FILENO);
  const int status = utl_runMain("prog", argc, argv,
                                 [](const utl_CommandLine&) { std::cout << "text"; });
  std::clearerr(stdout);
  return status;
}

TEST_F(RunMainTest, OutputThatCannotBeWrittenIsAFailure) {
  ChildProcess child = ChildProcess::Start("printsToNobody");
  EXPECT_EQ(child.ReadLine(), "prog: The standard output cannot be written.");
  EXPECT_EQ(child.Wait(), 1);
}

TEST_CHILD(printsUnbufferedToNobody) {
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  return ChildMain_printsToNobody(argc, argv);
}

// The flush at the end has nothing to write and succeeds.
TEST_F(RunMainTest, OutputThatCouldNotBeWrittenEarlierIsAFailure) {
  ChildProcess child = ChildProcess::Start("printsUnbufferedToNobody");
  EXPECT_EQ(child.ReadLine(), "prog: The standard output cannot be written.");
  EXPECT_EQ(child.Wait(), 1);
}

TEST_F(RunMainTest, LeftOverLockIsToldWithItsFile) {
  WriteWholeFile("job.kdb.lock", "");
  const Outcome run = RunProgram([this](const utl_CommandLine&) {
    utl_MultisectionFile(dir_.File("job.kdb"), utl_FileAccessWrite);
  });
  EXPECT_EQ(run.err, "prog: \"" + dir_.File("job.kdb") +
                         "\": Cannot create the lock file.\n"
                         "prog: If no other program has the file open, remove " +
                         Native("job.kdb.lock") + "\n");
}

TEST_F(RunMainTest, LockOfARelativePathIsToldWithItsWholePath) {
  WriteWholeFile("job.kdb.lock", "");
  const Outcome run = RunProgram([](const utl_CommandLine&) {
    utl_MultisectionFile("job.kdb", utl_FileAccessWrite);
  });
  EXPECT_THAT(run.err, testing::EndsWith("remove " + Native("job.kdb.lock") + "\n"));
}

TEST_F(RunMainTest, LockThatCannotBeMadeIsToldWithItsDirectory) {
  const Outcome run = RunProgram([this](const utl_CommandLine&) {
    // As the message would be if the directory permitted no new files.
    nex_TextException(cow_String("\"") + dir_.File("job.kdb") +
                      "\": Cannot create the lock file.")
        .Throw("here", 1);
  });
  EXPECT_THAT(run.err, testing::EndsWith("\nprog: New files must be permitted in " +
                                         Native("") + "\n"));
}

TEST_F(RunMainTest, PlacesForTemporaryFilesAreTold) {
  const ScopedEnvironment scratch("SCRATCH", nullptr);
  const ScopedEnvironment temporary("TMPDIR", nullptr);
  const Outcome run = RunProgram({"-tmpdir", "no_such"}, [](const utl_CommandLine&) {
    utl_TempFile(".scr").Create();
  });
  EXPECT_EQ(run.err,
            "prog: *** ERROR: Can't create unique temporary file name.\n"
            "prog: Name a directory with room for them by one of these: "
            "-tmpdir \"no_such\", SCRATCH unset, TMPDIR unset\n");
  const ScopedEnvironment other("SCRATCH", "neither");
  EXPECT_THAT(RunProgram([](const utl_CommandLine&) { utl_TempFile("").Create(); }).err,
              HasSubstr("-tmpdir not given, SCRATCH \"neither\", TMPDIR unset\n"));
}

TEST_F(RunMainTest, FileThatCannotBeMadeIsToldWithItsDirectory) {
  const Outcome run = RunProgram([this](const utl_CommandLine&) {
    utl_File(dir_.File("none") + "/a.dat", utl_FileAccessWrite, utl_FileShareDefault)
        .Init();
  });
  EXPECT_THAT(run.err,
              StartsWith("prog: *** Error: File open failed (utl_File: CreateFile in "
                         "OpenWrite) error: "));
  EXPECT_THAT(run.err, testing::EndsWith(
                           "\nprog: This directory must exist and permit new files: " +
                           (utl_nativePath(dir_.File("none")) / "").string() + "\n"));
}

TEST_F(RunMainTest, DirectoryInTheFilesPlaceIsTold) {
  std::filesystem::create_directory("a.dir");
  for (const utl_FileAccess access : {utl_FileAccessWrite, utl_FileAccessUpdate}) {
    const Outcome run = RunProgram([&](const utl_CommandLine&) {
      utl_File(dir_.File("a.dir"), access, utl_FileShareDefault).Init();
    });
    EXPECT_THAT(run.err,
                testing::EndsWith("\nprog: " + Native("a.dir") + " is a directory\n"));
  }
}

TEST_F(RunMainTest, FileThatAnotherWritesNeedsNoAdvice) {
  const Outcome run = RunProgram([this](const utl_CommandLine&) {
    utl_File first(dir_.File("a"), utl_FileAccessWrite, utl_FileShareDefault);
    first.Init();
    utl_File(dir_.File("a"), utl_FileAccessUpdate, utl_FileShareDefault).Init();
  });
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}

TEST_F(RunMainTest, EndlessNameNeedsNoAdvice) {
  const std::string name(1000000, 'a');
  const Outcome run = RunProgram([&](const utl_CommandLine&) {
    utl_File(name, utl_FileAccessWrite, utl_FileShareDefault).Init();
  });
  EXPECT_THAT(run.err, testing::EndsWith("file: " + name + "\n"));
  EXPECT_EQ(std::ranges::count(run.err, '\n'), 1);
}

TEST_F(RunMainTest, FileThatCannotBeReadNeedsNoAdvice) {
  const Outcome run = RunProgram([this](const utl_CommandLine&) {
    utl_File(dir_.File("none") + "/a", utl_FileAccessRead, utl_FileShareDefault).Init();
  });
  EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
}

// The terminate handler's text comes through a pipe: standard error is the child's own.
TEST_CHILD(terminates) {
  utl_installTerminateHandler("first");
  utl_installTerminateHandler("prog");
  dup2(STDOUT_FILENO, STDERR_FILENO);
  nex_TextException("a deck\nwithout bars").Throw("here", 1);
}

TEST(TerminateHandlerTest, TellsWhatNobodyCatches) {
  ChildProcess child = ChildProcess::Start("terminates");
  EXPECT_EQ(child.ReadLine(), "prog: a deck without bars");
  EXPECT_NE(child.Wait(), 0);
}

TEST_CHILD(terminatesWithoutException) {
  utl_installTerminateHandler(nullptr);
  dup2(STDOUT_FILENO, STDERR_FILENO);
  std::terminate();
}

TEST(TerminateHandlerTest, WithoutAnExceptionSaysSo) {
  ChildProcess child = ChildProcess::Start("terminatesWithoutException");
  EXPECT_EQ(child.ReadLine(), "program: It was ended by std::terminate.");
  EXPECT_NE(child.Wait(), 0);
}

TEST_CHILD(terminatesForWantOfADirectory) {
  utl_installTerminateHandler("prog");
  dup2(STDOUT_FILENO, STDERR_FILENO);
  SetEnvironment("SCRATCH", nullptr);
  SetEnvironment("TMPDIR", nullptr);
  utl_TempFile("").Create();
  return 0;
}

TEST(TerminateHandlerTest, TellsWhatToDo) {
  ChildProcess child = ChildProcess::Start("terminatesForWantOfADirectory");
  EXPECT_EQ(child.ReadLine(),
            "prog: *** ERROR: Can't create unique temporary file name.");
  EXPECT_THAT(child.ReadLine(), HasSubstr("-tmpdir not given"));
  EXPECT_NE(child.Wait(), 0);
}

}  // namespace
