#include "utl/utl_noInherit.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cstdlib>
#include <string>

#include "common/child/ChildProcess.h"
#include "common/failing/FailingCall.h"
#include "common/failing/WatchedFileCalls.h"
#include "common/handle/AsHandle.h"
#include "common/handle/Pipe.h"
#include "common/handle/Socket.h"
#include "common/temp/TempDir.h"
#include "utl/utl_Stat.h"

namespace {

constexpr int kNoFile = 9999;  // a descriptor that nobody has

// A file that children inherit.
class InheritedFile {
 public:
  explicit InheritedFile(const std::string& path)
      : descriptor_(
            _open(path.c_str(), _O_RDWR | _O_CREAT | _O_BINARY, _S_IREAD | _S_IWRITE)) {}
  ~InheritedFile() { Close(); }
  InheritedFile(const InheritedFile&) = delete;
  InheritedFile& operator=(const InheritedFile&) = delete;

  int Descriptor() const { return descriptor_; }
  std::string Handle() const { return std::to_string(_get_osfhandle(descriptor_)); }
  std::string Index() const { return std::to_string(utl_Stat(descriptor_).fileIndex); }
  void Close() {
    if (descriptor_ >= 0) {
      _close(descriptor_);
    }
    descriptor_ = -1;
  }

 private:
  int descriptor_;
};

std::string AnswerOf(const char* child, const std::vector<std::string>& arguments) {
  ChildProcess process = ChildProcess::Start(child, arguments);
  return process.ReadLine();
}

// Whether a child has that file behind that handle. A handle of the same number may well
// be another file's in the child, so the file is asked for its index.
TEST_CHILD(tellWhetherFileIsInherited) {
  BY_HANDLE_FILE_INFORMATION found = {};
  const HANDLE handle = AsHandle(std::strtoll(argv[1], nullptr, 10));
  const bool open = GetFileInformationByHandle(handle, &found);
  const unsigned long long index =
      static_cast<unsigned long long>(found.nFileIndexHigh) << 32 | found.nFileIndexLow;
  ChildWriteLine(open && std::to_string(index) == argv[2] ? "inherited" : "not there");
  return 0;
}

std::string SeenByAChild(const InheritedFile& file) {
  return AnswerOf("tellWhetherFileIsInherited", {file.Handle(), file.Index()});
}

TEST_CHILD(tellWhetherSocketIsInherited) {
  const int port = PortOf(std::atoi(argv[1]));
  ChildWriteLine(std::to_string(port) == argv[2] ? "inherited" : "not there");
  return 0;
}

std::string SeenByAChild(const BoundSocket& socket) {
  return AnswerOf("tellWhetherSocketIsInherited",
                  {std::to_string(socket.Number()), std::to_string(socket.Port())});
}

}  // namespace

TEST(NoInheritFileTest, ChildDoesNotHaveTheFile) {
  const TempDir dir;
  const InheritedFile file(dir.File("f"));
  ASSERT_EQ(SeenByAChild(file), "inherited");
  EXPECT_TRUE(utl_noInheritFile(file.Descriptor()));
  EXPECT_EQ(SeenByAChild(file), "not there");
}

TEST(NoInheritFileTest, OtherFilesAreStillInherited) {
  const TempDir dir;
  const InheritedFile file(dir.File("f"));
  const InheritedFile other(dir.File("other"));
  EXPECT_TRUE(utl_noInheritFile(file.Descriptor()));
  EXPECT_EQ(SeenByAChild(other), "inherited");
}

TEST(NoInheritFileTest, FileStaysOpenHere) {
  const TempDir dir;
  const InheritedFile file(dir.File("f"));
  EXPECT_TRUE(utl_noInheritFile(file.Descriptor()));
  EXPECT_EQ(_write(file.Descriptor(), "x", 1), 1);
}

TEST(NoInheritFileTest, TwiceIsNoError) {
  const TempDir dir;
  const InheritedFile file(dir.File("f"));
  EXPECT_TRUE(utl_noInheritFile(file.Descriptor()));
  EXPECT_TRUE(utl_noInheritFile(file.Descriptor()));
  EXPECT_EQ(SeenByAChild(file), "not there");
}

TEST(NoInheritFileTest, BadDescriptors) {
  const TempDir dir;
  InheritedFile file(dir.File("f"));
  const int closed = file.Descriptor();
  file.Close();
  for (const int descriptor : {-1, kNoFile, closed, -1000, 0x7FFFFFFF}) {
    EXPECT_FALSE(utl_noInheritFile(descriptor)) << descriptor;
  }
}

TEST(NoInheritFileTest, BadDescriptorIsNoSystemCall) {
  const WatchedInheritance watched;
  EXPECT_FALSE(utl_noInheritFile(-1));
  EXPECT_EQ(watched.Calls(), 0);
}

TEST(NoInheritFileTest, AsksTheSystemToClearTheFlag) {
  const Pipe pipe;
  const WatchedInheritance watched;
  EXPECT_TRUE(utl_noInheritFile(pipe.Reader()));
  EXPECT_EQ(watched.Calls(), 1);
  EXPECT_EQ(watched.Handle(), AsHandle(_get_osfhandle(pipe.Reader())));
  EXPECT_EQ(watched.Mask(), 1U);
  EXPECT_EQ(watched.Flags(), 0U);
}

TEST(NoInheritFileTest, RefusalIsFalse) {
  const Pipe pipe;
  const FailingCall failing(SystemCall::kSetHandleInformation, ERROR_ACCESS_DENIED);
  EXPECT_FALSE(utl_noInheritFile(pipe.Reader()));
  EXPECT_TRUE(failing.Happened());
}

TEST(NoInheritSocketTest, ChildDoesNotHaveTheSocket) {
  const BoundSocket socket;
  ASSERT_EQ(SeenByAChild(socket), "inherited");
  EXPECT_TRUE(utl_noInheritSocket(socket.Number()));
  EXPECT_EQ(SeenByAChild(socket), "not there");
}

TEST(NoInheritSocketTest, SocketStaysOpenHere) {
  const BoundSocket socket;
  const int port = socket.Port();
  EXPECT_GT(port, 0);
  EXPECT_TRUE(utl_noInheritSocket(socket.Number()));
  EXPECT_EQ(socket.Port(), port);
}

TEST(NoInheritSocketTest, MinusOneIsNoSystemCall) {
  const WatchedInheritance watched;
  EXPECT_FALSE(utl_noInheritSocket(-1));
  EXPECT_EQ(watched.Calls(), 0);
}

TEST(NoInheritSocketTest, NumbersThatAreNoSocket) {
  BoundSocket socket;
  const int closed = socket.Number();
  socket.Close();
  for (const int number : {closed, 0x7FFFFFF0, 0}) {
    EXPECT_FALSE(utl_noInheritSocket(number)) << number;
  }
}

// Negative numbers widen with their sign.
TEST(NoInheritSocketTest, NumberWidensWithItsSign) {
  const WatchedInheritance watched;
  EXPECT_FALSE(utl_noInheritSocket(-1000));
  EXPECT_EQ(watched.Handle(), AsHandle(-1000));
  EXPECT_EQ(watched.Mask(), 1U);
  EXPECT_EQ(watched.Flags(), 0U);
}

TEST(NoInheritSocketTest, RefusalIsFalse) {
  const BoundSocket socket;
  const FailingCall failing(SystemCall::kSetHandleInformation, ERROR_ACCESS_DENIED);
  EXPECT_FALSE(utl_noInheritSocket(socket.Number()));
  EXPECT_TRUE(failing.Happened());
}
