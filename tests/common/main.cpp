#include <gtest/gtest.h>

#include <string_view>

#include "common/child/ChildProcess.h"

int main(int argc, char** argv) {
  if (argc > 2 && std::string_view(argv[1]) == "--child") {
    return RunChild(argc - 2, argv + 2);
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
