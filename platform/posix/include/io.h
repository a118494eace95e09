#pragma once

// The descriptor calls of the Windows C run time, on POSIX. They include those that
// Windows declares in <fcntl.h>, <sys/stat.h>, <stdio.h>, <time.h> and <malloc.h>, since
// these names belong to the system's own headers here: a source that uses them includes
// both. Failures set errno, with the run time's numbers, which are the system's own for
// all that these calls report.

#include <cstddef>
#include <cstdint>
#include <cstdio>

constexpr int _O_RDONLY = 0x0000;
constexpr int _O_WRONLY = 0x0001;
constexpr int _O_RDWR = 0x0002;
constexpr int _O_APPEND = 0x0008;
constexpr int _O_TEMPORARY = 0x0040;
constexpr int _O_NOINHERIT = 0x0080;
constexpr int _O_CREAT = 0x0100;
constexpr int _O_TRUNC = 0x0200;
constexpr int _O_EXCL = 0x0400;
constexpr int _O_TEXT = 0x4000;
constexpr int _O_BINARY = 0x8000;
constexpr int _S_IFDIR = 0x4000;
constexpr int _S_IFREG = 0x8000;
constexpr int _S_IREAD = 0x0100;
constexpr int _S_IWRITE = 0x0080;

int _open(const char* path, int flags, ...);
int _close(int fd);
int _read(int fd, void* buffer, unsigned int count);
int _write(int fd, const void* buffer, unsigned int count);
long long _lseeki64(int fd, long long offset, int origin);
int _unlink(const char* path);
int _setmode(int fd, int mode);
std::intptr_t _get_osfhandle(int fd);
int _access(const char* path, int mode);
char* _mktemp(char* nameTemplate);

FILE* _fsopen(const char* path, const char* mode, int share);

// The times are left out: their names are macros of <sys/stat.h> here.
struct _stat64i32 {
  unsigned int st_dev;
  unsigned short st_ino;
  unsigned short st_mode;
  short st_nlink;
  int st_size;
};
// Structure and call share the name, as on Windows.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
int _stat64i32(const char* path, struct _stat64i32* status);
#pragma GCC diagnostic pop

struct tm;
using __time64_t = long long;
__time64_t _time64(__time64_t* time);
tm* _localtime64(const __time64_t* time);

std::size_t _msize(void* block);
