// The C run time's calls on descriptors.

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <filesystem>
#include <optional>

#include "common/environment/OtherUser.h"
#include "common/handle/AsHandle.h"
#include "common/handle/Pipe.h"
#include "platform/PlatformTest.h"

namespace {

constexpr int kNoFile = 9999;  // a descriptor that nobody has

// errno after a call that is to give -1.
template <typename Call>
int ErrnoOf(Call call) {
  errno = 0;
  const auto result = call();
  const int number = errno;
  EXPECT_EQ(result, -1);
  return number;
}

int OpenErrno(const std::string& path, int flags = _O_RDONLY) {
  return ErrnoOf([&] { return _open(path.c_str(), flags, _S_IREAD | _S_IWRITE); });
}

HANDLE HandleOf(int fd) {
  return AsHandle(_get_osfhandle(fd));
}

}  // namespace

class DescriptorTest : public PlatformTest {};

TEST_F(DescriptorTest, FlagValues) {
  EXPECT_EQ(_O_RDWR | _O_CREAT | _O_EXCL, 0x502);
  EXPECT_EQ(_O_CREAT | _O_EXCL, 0x500);
  EXPECT_EQ(_O_BINARY, 0x8000);
  EXPECT_EQ(_S_IREAD | _S_IWRITE, 0600);
}

TEST_F(DescriptorTest, OpenErrors) {
  EXPECT_EQ(OpenErrno(Name("missing")), ENOENT);
  EXPECT_EQ(OpenErrno(Name("missing") + "\\f"), ENOENT);
  EXPECT_EQ(OpenErrno(""), ENOENT);
  EXPECT_EQ(OpenErrno(Name("d")), EACCES);
  EXPECT_EQ(OpenErrno(dir_.Path() + "\\a*"), EINVAL);
  EXPECT_EQ(OpenErrno(dir_.Path() + "\\a\\"), EINVAL);
  EXPECT_EQ(OpenErrno(Name("a"), _O_CREAT | _O_EXCL), EEXIST);
  EXPECT_EQ(OpenErrno(Name("a"), _O_CREAT | _O_EXCL | _O_TRUNC), EEXIST);
  EXPECT_EQ(OpenErrno(Name("d"), _O_CREAT | _O_EXCL), EEXIST);
  const ScopedHandle alone(Open(Name("a"), GENERIC_READ, 0));
  EXPECT_EQ(OpenErrno(Name("a")), EACCES);
}

TEST_F(DescriptorTest, OpenModes) {
  const struct {
    int flags;
    const char* content;  // after writing "x"
  } cases[] = {{_O_WRONLY, "x123456789"},
               {_O_RDWR, "x123456789"},
               {_O_WRONLY | _O_TRUNC, "x"},
               {_O_WRONLY | _O_TRUNC | _O_EXCL, "x"},
               {_O_WRONLY | _O_CREAT, "x123456789"},
               {_O_RDWR | _O_CREAT | _O_TRUNC, "x"},
               {_O_WRONLY | _O_APPEND, "0123456789x"}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.flags);
    WriteWholeFile(Name("a"), "0123456789");
    const int fd = _open(Name("a").c_str(), one.flags | _O_BINARY, _S_IREAD | _S_IWRITE);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(_write(fd, "x", 1), 1);
    EXPECT_EQ(_close(fd), 0);
    EXPECT_EQ(ReadWholeFile(Name("a")), one.content);
  }
}

TEST_F(DescriptorTest, CreatedReadOnly) {
  const int fd = _open(Name("m").c_str(), _O_CREAT | _O_EXCL | _O_RDWR, _S_IREAD);
  ASSERT_GE(fd, 0);
  _close(fd);
  EXPECT_EQ(ErrnoOf([&] { return _access(Name("m").c_str(), 2); }), EACCES);
  EXPECT_EQ(ErrnoOf([&] { return _unlink(Name("m").c_str()); }), EACCES);
}

// The file of another descriptor is the measure, since the umask has its part in it.
TEST_F(DescriptorTest, PermissionsOfNewFiles) {
  const auto created = [this](const char* name, int permissions) {
    _close(_open(Name(name).c_str(), _O_CREAT | _O_EXCL | _O_RDWR, permissions));
    return OtherUserMayRead(Name(name));
  };
  const std::optional<bool> usual = OtherUserMayRead(Name("a"));
  if (!usual) {
    GTEST_SKIP() << "this target has no other user than root";
  }
  EXPECT_EQ(created("everybody's", 0666), usual);
  EXPECT_EQ(created("own", _S_IREAD | _S_IWRITE), false);
  EXPECT_EQ(created("writable", _S_IWRITE), false);
  EXPECT_EQ(created("read-only", _S_IREAD), false);
}

// Whoever may write may read, and the owner always may.
TEST_F(DescriptorTest, NewFilesCanBeReadWhateverTheirPermissions) {
  for (const int permissions : {_S_IWRITE, _S_IREAD, 0}) {
    const std::string name = Name(std::to_string(permissions));
    _close(_open(name.c_str(), _O_CREAT | _O_EXCL | _O_RDWR, permissions));
    EXPECT_EQ(
        std::filesystem::status(name).permissions() & std::filesystem::perms::owner_read,
        std::filesystem::perms::owner_read)
        << permissions;
    EXPECT_EQ(OpenCode(name), 0u) << permissions;
  }
}

TEST_F(DescriptorTest, ReadsAndWrites) {
  const int fd = _open(Name("a").c_str(), _O_RDWR | _O_BINARY);
  char buffer[20] = {};
  EXPECT_EQ(_read(fd, buffer, 4), 4);
  EXPECT_EQ(_read(fd, buffer, 20), 6);
  EXPECT_EQ(_read(fd, buffer, 20), 0);
  EXPECT_EQ(_write(fd, "ab", 2), 2);
  EXPECT_EQ(_write(fd, "", 0), 0);
  EXPECT_EQ(_lseeki64(fd, 0, SEEK_END), 12);
  EXPECT_EQ(_lseeki64(fd, -2, SEEK_CUR), 10);
  EXPECT_EQ(_read(fd, buffer, 20), 2);
  EXPECT_EQ(_lseeki64(fd, 1LL << 33, SEEK_SET), 1LL << 33);
  EXPECT_EQ(ErrnoOf([&] { return _lseeki64(fd, -1, SEEK_SET); }), EINVAL);
  EXPECT_EQ(ErrnoOf([&] { return _lseeki64(fd, 0, 5); }), EINVAL);
  EXPECT_EQ(ErrnoOf([&] { return _lseeki64(fd, 0, -1); }), EINVAL);
  EXPECT_EQ(ErrnoOf([&] { return _read(fd, nullptr, 1); }), EINVAL);
  EXPECT_EQ(ErrnoOf([&] { return _write(fd, nullptr, 1); }), EINVAL);
  EXPECT_EQ(_close(fd), 0);
}

TEST_F(DescriptorTest, WrongAccess) {
  const int reader = _open(Name("a").c_str(), _O_RDONLY);
  const int writer = _open(Name("a").c_str(), _O_WRONLY);
  char byte;
  EXPECT_EQ(ErrnoOf([&] { return _write(reader, "x", 1); }), EBADF);
  EXPECT_EQ(ErrnoOf([&] { return _read(writer, &byte, 1); }), EBADF);
  EXPECT_EQ(_read(writer, &byte, 0), 0);
  _close(reader);
  _close(writer);
}

TEST_F(DescriptorTest, BadDescriptors) {
  char byte = 0;
  constexpr int kHandleOfZero = 0x40000000;  // on POSIX, and no descriptor
  for (const int fd : {-1, kNoFile, kHandleOfZero, INT_MAX}) {
    EXPECT_EQ(ErrnoOf([&] { return _read(fd, &byte, 1); }), EBADF);
    EXPECT_EQ(ErrnoOf([&] { return _write(fd, &byte, 1); }), EBADF);
    EXPECT_EQ(ErrnoOf([&] { return _lseeki64(fd, 0, SEEK_SET); }), EBADF);
    EXPECT_EQ(ErrnoOf([&] { return _setmode(fd, _O_BINARY); }), EBADF);
    EXPECT_EQ(ErrnoOf([&] { return _get_osfhandle(fd); }), EBADF);
    EXPECT_EQ(ErrnoOf([&] { return _close(fd); }), EBADF);
  }
}

TEST_F(DescriptorTest, PositionThatLooksLikeAFailure) {
  const int fd = _open(Name("a").c_str(), _O_RDWR | _O_BINARY);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(_lseeki64(fd, 0xFFFFFFFF, SEEK_SET), 0xFFFFFFFF);
  EXPECT_EQ(_lseeki64(fd, 1, SEEK_CUR), 0x100000000);
  _close(fd);
}

TEST_F(DescriptorTest, FullDisk) {
  const int fd = _open("Z:\\dev\\full", _O_WRONLY | _O_BINARY);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(ErrnoOf([&] { return _write(fd, "x", 1); }), ENOSPC);
  _close(fd);
}

TEST_F(DescriptorTest, TextModeIsKeptAndTold) {
  const int text = _open(Name("a").c_str(), _O_RDONLY);
  const int binary = _open(Name("a").c_str(), _O_RDONLY | _O_BINARY);
  EXPECT_EQ(_setmode(text, _O_BINARY), _O_TEXT);
  EXPECT_EQ(_setmode(text, _O_TEXT), _O_BINARY);
  EXPECT_EQ(_setmode(binary, _O_BINARY), _O_BINARY);
  EXPECT_EQ(ErrnoOf([&] { return _setmode(binary, 123); }), EINVAL);
  _close(text);
  _close(binary);
}

TEST_F(DescriptorTest, HandleOfADescriptor) {
  const int fd = _open(Name("a").c_str(), _O_RDONLY | _O_BINARY);
  const HANDLE handle = HandleOf(fd);
  EXPECT_EQ(SizeOf(handle), 10);
  EXPECT_EQ(ReadText(handle, 3), "012");
  // A handle kept in 32 bits widens, with its sign, to itself.
  const auto narrow = static_cast<int>(_get_osfhandle(fd));
  EXPECT_EQ(_get_osfhandle(fd), narrow);
  EXPECT_EQ(_close(fd), 0);
  EXPECT_EQ(CodeOf([&] { return GetFileSize(handle, nullptr) != INVALID_FILE_SIZE; }),
            DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(DescriptorTest, DescriptorsDenyDeletion) {
  const int fd = _open(Name("a").c_str(), _O_RDONLY);
  EXPECT_EQ(ErrnoOf([&] { return _unlink(Name("a").c_str()); }), EACCES);
  _close(fd);
  EXPECT_EQ(_unlink(Name("a").c_str()), 0);
  EXPECT_EQ(ErrnoOf([&] { return _unlink(Name("a").c_str()); }), ENOENT);
  EXPECT_EQ(ErrnoOf([&] { return _unlink(Name("d").c_str()); }), EACCES);
  EXPECT_EQ(ErrnoOf([&] { return _unlink(""); }), ENOENT);
}

// The system's own calls close and open, which the layer does not see: what it knows of
// a descriptor is not to be taken for the next one's of the same number.
class ReusedNumberTest : public PlatformTest {
 protected:
  ReusedNumberTest() { WriteWholeFile(Name("next"), "abcdef"); }

  // Closes a descriptor, opens "next" in its place, in text mode, and closes that, too.
  void Reuse(int number, int access) {
    close(number);
    next_ = open(Name("next").c_str(), access);
    EXPECT_EQ(next_, number);
  }
  ~ReusedNumberTest() override {
    if (next_ >= 0) {
      close(next_);
    }
  }

  int next_ = -1;
};

TEST_F(ReusedNumberTest, AccessIsThatOfTheNextFile) {
  char byte = 0;
  for (const int first : {_O_WRONLY, _O_RDONLY}) {
    Reuse(_open(Name("a").c_str(), first | _O_BINARY), O_RDWR);
    EXPECT_EQ(_read(next_, &byte, 1), 1);
    EXPECT_EQ(_write(next_, "x", 1), 1);
    DWORD done = 0;
    EXPECT_TRUE(ReadFile(HandleOf(next_), &byte, 0, &done, nullptr));
    EXPECT_TRUE(WriteFile(HandleOf(next_), &byte, 0, &done, nullptr));
    EXPECT_TRUE(FlushFileBuffers(HandleOf(next_)));
    EXPECT_TRUE(SetEndOfFile(HandleOf(next_)));
    close(next_);
  }
  Reuse(_open(Name("a").c_str(), _O_RDWR | _O_BINARY), O_RDONLY);
  EXPECT_EQ(ErrnoOf([&] { return _write(next_, "x", 1); }), EBADF);
  EXPECT_EQ(CodeOf([&] { return FlushFileBuffers(HandleOf(next_)); }),
            DWORD{ERROR_ACCESS_DENIED});
}

TEST_F(ReusedNumberTest, TextModeIsThatOfTheNextFile) {
  const int first = _open(Name("a").c_str(), _O_RDONLY | _O_BINARY);
  EXPECT_EQ(_setmode(first, _O_BINARY), _O_BINARY);
  Reuse(first, O_RDONLY);
  EXPECT_EQ(_setmode(next_, _O_BINARY), _O_TEXT);
  Reuse(next_, O_RDONLY);
  EXPECT_EQ(_setmode(next_, _O_TEXT), _O_TEXT);
}

TEST_F(ReusedNumberTest, TextModeOfWhatWasOpenedElsewhere) {
  const Pipe pipe;
  const int ends[] = {pipe.Reader(), pipe.Writer()};
  for (const int end : ends) {
    _setmode(end, _O_BINARY);
  }
  EXPECT_EQ(_setmode(pipe.Reader(), _O_TEXT), _O_BINARY);
  EXPECT_EQ(_setmode(pipe.Writer(), _O_BINARY), _O_BINARY);
  EXPECT_EQ(_setmode(pipe.Reader(), _O_BINARY), _O_TEXT);
}

TEST_F(ReusedNumberTest, ShareModeEndsWithTheFile) {
  const int first = _open(Name("a").c_str(), _O_RDWR | _O_BINARY);
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ, FILE_SHARE_READ),
            DWORD{ERROR_SHARING_VIOLATION});
  Reuse(first, O_RDWR);
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ, FILE_SHARE_READ), 0u);
  EXPECT_EQ(_unlink(Name("a").c_str()), 0);
}

TEST_F(ReusedNumberTest, ShareModeEndsWithTheFileWhenTheNumberIsNotReused) {
  close(_open(Name("a").c_str(), _O_RDWR | _O_BINARY));
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ, FILE_SHARE_READ), 0u);
  EXPECT_EQ(_unlink(Name("a").c_str()), 0);
}

// Neither is it removed because of the file whose number it has, nor for its own end.
TEST_F(ReusedNumberTest, TheNextFileIsNotDeletedAtItsEnd) {
  Reuse(_open(Name("m").c_str(), _O_CREAT | _O_RDWR | _O_TEMPORARY, 0600), O_RDWR);
  EXPECT_EQ(_close(next_), 0);
  next_ = -1;
  EXPECT_EQ(ReadWholeFile(Name("next")), "abcdef");
}

TEST_F(ReusedNumberTest, ClosingTheNextFileGivesBackWhatIsItsOwn) {
  const int first = _open(Name("a").c_str(), _O_RDWR | _O_BINARY);
  close(first);
  const int second = _open(Name("next").c_str(), _O_RDWR | _O_BINARY);
  ASSERT_EQ(second, first);
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ, FILE_SHARE_READ), 0u);
  EXPECT_EQ(OpenCode(Name("next"), GENERIC_READ, FILE_SHARE_READ),
            DWORD{ERROR_SHARING_VIOLATION});
  EXPECT_EQ(_close(second), 0);
  EXPECT_EQ(OpenCode(Name("next"), GENERIC_READ, FILE_SHARE_READ), 0u);
}

TEST_F(ReusedNumberTest, ACopyHasWhatItsFileHas) {
  const int first = _open(Name("a").c_str(), _O_WRONLY | _O_BINARY);
  const int copy = dup(first);
  EXPECT_EQ(_setmode(copy, _O_TEXT), _O_BINARY);
  EXPECT_EQ(_write(copy, "x", 1), 1);
  EXPECT_EQ(_close(copy), 0);
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ, FILE_SHARE_READ),
            DWORD{ERROR_SHARING_VIOLATION});
  EXPECT_EQ(_close(first), 0);
  EXPECT_EQ(OpenCode(Name("a"), GENERIC_READ, FILE_SHARE_READ), 0u);
}
