#include <iostream>
#include <stdexcept>

#include "Job.h"
#include "nex/nex_Exception.h"
#include "utl/utl_CommandLineLoader.h"
#include "utl/utl_FilePath.h"
#include "utl/utl_initialize.h"
#include "utl/utl_JobFileName.h"
#include "utl/utl_ResourceMonitor.h"
#include "utl/utl_Version.h"

// A relative directory would be dropped from the names of the job's files.
static void RequireAbsoluteOutdir(const utl_CommandLine& line) {
  const utl_FilePath inside(line.ConstGetValue("outdir", "") + "/job", "");
  if (inside.PathName().Find("\\") != 0 && inside.PathName().Find(":") != 1) {
    throw std::invalid_argument("outdir must be absolute");
  }
}

int RunJob(const char* program, int argc, char** argv,
           const std::function<void(const utl_CommandLine&)>& work) {
  int count = 0, status = 1;
  utl_initialize(count);
  try {
    std::cout << omi_Singleton<utl_Version>::Instance().Title(true) << '\n';
    utl_CommandLineLoader::SetArgs(argc, argv);
    const utl_CommandLine& line = thr_GlobalSingleton<utl_CommandLine>::Instance();
    RequireAbsoluteOutdir(line);
    auto& monitor = omi_Singleton<utl_ResourceMonitor>::Instance();
    monitor.Initialize(utl_JobFileName("").c_str());
    work(line);
    status = std::cout.flush() ? 0 : 1;
  } catch (const nex_Exception& failure) {
    std::cerr << failure.AsString() << '\n';
  } catch (const std::exception& failure) {
    std::cerr << program << ": " << failure.what() << '\n';
  }
  utl_finalize(count);
  omi_SingletonBase<utl_ResourceMonitor>::Finalize();
  return status;
}
