#pragma once

// The directory calls of the Windows C run time, on POSIX. The root is drive Z:.

char* _getcwd(char* buffer, int size);
char* _getdcwd(int drive, char* buffer, int size);
int _chdir(const char* path);
