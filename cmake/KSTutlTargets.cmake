# What every target of this project shares: its warnings, and the Windows calls.

find_package(Threads REQUIRED)

# Ends the configuration because something is not there, and tells how to get it.
function(kstutl_missing what package)
  message(FATAL_ERROR "KSTutl needs ${what}, which was not found.\n"
    "On Debian and Ubuntu: apt-get install ${package}\n${ARGN}")
endfunction()

# Strict warnings; errors only where the project is built for itself, so that
# another compiler's new warning never breaks a client's build.
function(kstutl_compile_options target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
    -Woverloaded-virtual)
  # g++ 12 sees an overlap in what std::string's operator+ expands to.
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  # clang counts changes of sign among the conversions; g++ does not in C++.
  if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    target_compile_options(${target} PRIVATE -Wno-sign-conversion)
  endif()
  if(PROJECT_IS_TOP_LEVEL)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# kstutl_platform: <windows.h>, <io.h> and their kin for source files. On Windows they are
# the system's own; elsewhere those of platform/posix, and kstutl_platform_calls
# implements the calls.
add_library(kstutl_platform INTERFACE)
if(WIN32)
  target_compile_definitions(kstutl_platform INTERFACE
    WIN32_LEAN_AND_MEAN NOMINMAX)
  target_link_libraries(kstutl_platform INTERFACE psapi ws2_32 advapi32 ntdll)
else()
  target_include_directories(kstutl_platform INTERFACE
    "${PROJECT_SOURCE_DIR}/platform/posix/include")
  target_link_libraries(kstutl_platform INTERFACE Threads::Threads)

  file(GLOB_RECURSE platform_sources CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/platform/posix/*.cpp")
  add_library(kstutl_platform_calls STATIC ${platform_sources})
  kstutl_compile_options(kstutl_platform_calls)
  set_target_properties(kstutl_platform_calls PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_compile_features(kstutl_platform_calls PRIVATE cxx_std_20)
  target_include_directories(kstutl_platform_calls PRIVATE "${PROJECT_SOURCE_DIR}")
  target_link_libraries(kstutl_platform_calls PUBLIC kstutl_platform)
endif()

# Links the platform's calls into a shared library, which exports neither them nor what it
# makes of the standard library's templates. Calls of its own functions are bound when it
# is linked, not looked up at each start and reached through a table.
function(kstutl_link_platform_calls target)
  set(script "${PROJECT_SOURCE_DIR}/cmake/exports.map")
  target_link_libraries(${target} PRIVATE kstutl_platform_calls)
  target_link_options(${target} PRIVATE
    "LINKER:--exclude-libs,$<TARGET_FILE_NAME:kstutl_platform_calls>"
    "LINKER:--version-script=${script}" "LINKER:-Bsymbolic-functions")
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${script}")
endfunction()

# kstutl_pcre2: the regular-expression engine, static where it was cross-built.
find_path(PCRE2_INCLUDE_DIR pcre2.h)
find_library(PCRE2_LIBRARY pcre2-8)
if(NOT PCRE2_INCLUDE_DIR OR NOT PCRE2_LIBRARY)
  if(CMAKE_CROSSCOMPILING)
    message(FATAL_ERROR "KSTutl needs PCRE2 (8 bit, static) for ${CMAKE_SYSTEM_NAME}, "
      "which was not found.\n"
      "scripts/windows-libs builds it for the toolchain of this project.")
  endif()
  kstutl_missing("PCRE2 (8 bit)" libpcre2-dev
    "Elsewhere set PCRE2_INCLUDE_DIR and PCRE2_LIBRARY.")
endif()
add_library(kstutl_pcre2 INTERFACE)
target_include_directories(kstutl_pcre2 SYSTEM INTERFACE "${PCRE2_INCLUDE_DIR}")
target_link_libraries(kstutl_pcre2 INTERFACE "${PCRE2_LIBRARY}")
target_compile_definitions(kstutl_pcre2 INTERFACE
  PCRE2_CODE_UNIT_WIDTH=8 $<$<BOOL:${WIN32}>:PCRE2_STATIC>)

# The compiler's run-time DLLs, stripped, beside the library, which knows their names by
# its property KSTUTL_RUNTIME. They are shared because exceptions that cross a DLL's
# boundary need one run time in the process. The Fortran ones are there only if its
# compiler is.
function(kstutl_add_runtime library)
  set(folder "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
  foreach(name libgcc_s_seh-1 libstdc++-6 libwinpthread-1
               libgfortran-5 libquadmath-0)
    execute_process(
      COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=${name}.dll
      OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE
      COMMAND_ERROR_IS_FATAL ANY)
    if(NOT IS_ABSOLUTE "${file}")
      continue()
    endif()
    add_custom_command(OUTPUT "${folder}/${name}.dll"
      COMMAND "${CMAKE_COMMAND}" -E make_directory "${folder}"
      COMMAND "${CMAKE_STRIP}" -o "${folder}/${name}.dll" "${file}"
      DEPENDS "${file}" VERBATIM)
    list(APPEND names "${name}.dll")
    list(APPEND copies "${folder}/${name}.dll")
  endforeach()
  add_custom_target(kstutl_runtime ALL DEPENDS ${copies})
  add_dependencies(${library} kstutl_runtime)
  set_target_properties(${library} PROPERTIES
    KSTUTL_RUNTIME "${names}" EXPORT_PROPERTIES KSTUTL_RUNTIME)
endfunction()

# Writes KSTutl.def, a list of the functions with C linkage that the DLL exports: what
# linkers of other compilers make their import library of.
function(kstutl_write_definitions file)
  set(names)
  file(GLOB headers "${PROJECT_SOURCE_DIR}/include/utl/*.h")
  foreach(header IN LISTS headers)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${header}")
    file(READ "${header}" text)
    string(REPLACE ";" "," text "${text}")
    string(FIND "${text}" "extern \"C\"" start)
    if(start EQUAL -1)
      continue()
    endif()
    string(SUBSTRING "${text}" ${start} -1 text)
    string(REGEX MATCHALL "KSTUTL_EXPORT [^(,]*\\(" found "${text}")
    list(TRANSFORM found REPLACE "^.*[ *\n]([A-Za-z_0-9]+)\\($" "  \\1")
    list(APPEND names ${found})
  endforeach()
  list(SORT names)
  list(JOIN names "\n" names)
  file(CONFIGURE OUTPUT "${file}" CONTENT "LIBRARY KSTutl.dll\nEXPORTS\n@names@\n" @ONLY)
endfunction()
