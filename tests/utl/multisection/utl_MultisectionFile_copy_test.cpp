// A section file in a copy of the process that goes on without a program of its own.

#include <memory>

#include "common/child/ProcessCopy.h"
#include "utl/multisection/MultisectionTest.h"

namespace {

using MultisectionCopyTest = ProcessCopyTest<MultisectionTest>;

TEST_F(MultisectionCopyTest, LockOfTheParentStaysAndIsGivenBackByIt) {
  auto file = std::make_unique<utl_MultisectionFile>(path_, utl_FileAccessWrite);
  Set(*file, "a", "data");
  ExpectInCopy([&] {
    file.reset();
    return OtherFiles() == "model.dat.lock";
  });
  EXPECT_EQ(OtherFiles(), "model.dat.lock");
  file->saveChanges();
  EXPECT_EQ(Get(*file, "a"), "data");
  file.reset();
  EXPECT_EQ(OtherFiles(), "");
}

}  // namespace
