# What every target of this project shares: its warnings, and the Windows calls.

find_package(Threads REQUIRED)

# kstutl_platform: <windows.h>, <io.h> and their kin for source files. On
# Windows the system's own; elsewhere the headers of platform/posix, whose
# calls are compiled into the library.
add_library(kstutl_platform INTERFACE)
if(WIN32)
  target_compile_definitions(kstutl_platform INTERFACE
    WIN32_LEAN_AND_MEAN NOMINMAX)
  target_link_libraries(kstutl_platform INTERFACE psapi ws2_32 advapi32)
else()
  target_include_directories(kstutl_platform INTERFACE
    "${PROJECT_SOURCE_DIR}/platform/posix")
  target_link_libraries(kstutl_platform INTERFACE Threads::Threads)
endif()

# Strict warnings; errors only where the project is built for itself, so that
# another compiler's new warning never breaks a client's build.
function(kstutl_compile_options target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
    -Woverloaded-virtual)
  if(PROJECT_IS_TOP_LEVEL)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
