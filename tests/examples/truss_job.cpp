#include "truss_job.h"

#include <gtest/gtest.h>

int kst_truss_main(int argc, char** argv);

TrussRun RunTruss(const std::vector<std::string>& arguments) {
  std::vector<std::string> words = {"kst_truss"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv(words.size() + 1);
  for (std::size_t i = 0; i < words.size(); ++i) {
    argv[i] = words[i].data();
  }
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  TrussRun run;
  run.status = kst_truss_main(static_cast<int>(words.size()), argv.data());
  run.out = testing::internal::GetCapturedStdout();
  run.err = testing::internal::GetCapturedStderr();
  std::erase(run.out, '\r');
  std::erase(run.err, '\r');
  return run;
}
