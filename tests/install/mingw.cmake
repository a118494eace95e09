# A user's cross-build for Windows, who has nothing of this project but what is installed.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_Fortran_COMPILER x86_64-w64-mingw32-gfortran-posix)
