# What cmake --install puts where, in five components:
#   Runtime        what programs need that use the library
#   Development    headers, CMake and pkg-config files, the Fortran module's source
#   Tools          programs
#   Python         the package kestra_utl, on Linux; elsewhere there is its wheel
#   Documentation  pages and examples
# Everything is found relative to its neighbours, so that the whole may be moved.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DOCDIR "${CMAKE_INSTALL_DATAROOTDIR}/doc/kstutl")
set(headers "${CMAKE_INSTALL_INCLUDEDIR}/kstutl")
set(config_folder "${CMAKE_INSTALL_LIBDIR}/cmake/KSTutl")
set(generated "${CMAKE_CURRENT_BINARY_DIR}/install")

install(TARGETS KSTutl EXPORT KSTutl
  RUNTIME COMPONENT Runtime
  LIBRARY COMPONENT Runtime NAMELINK_COMPONENT Development
  ARCHIVE COMPONENT Development)
if(WIN32)
  get_target_property(names KSTutl KSTUTL_RUNTIME)
  list(TRANSFORM names PREPEND "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/")
  install(FILES ${names} DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Runtime)
  # The terms of those whose work is in these DLLs have to go with them.
  foreach(package libpcre2-8-0 gcc-mingw-w64-base mingw-w64-common)
    install(FILES "/usr/share/doc/${package}/copyright" OPTIONAL
      DESTINATION "${CMAKE_INSTALL_DOCDIR}/terms" RENAME "${package}.txt"
      COMPONENT Runtime)
  endforeach()
endif()

if(WIN32)
  kstutl_write_definitions("${generated}/KSTutl.def")
  install(FILES "${generated}/KSTutl.def"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Development)
endif()
install(DIRECTORY include/ "${CMAKE_CURRENT_BINARY_DIR}/include/"
  DESTINATION "${headers}" COMPONENT Development
  FILES_MATCHING PATTERN "*.h" PATTERN "*.f90")
install(EXPORT KSTutl FILE KSTutlExport.cmake NAMESPACE KSTutl::
  DESTINATION "${config_folder}" COMPONENT Development)
configure_package_config_file(cmake/KSTutlConfig.cmake.in "${generated}/KSTutlConfig.cmake"
  INSTALL_DESTINATION "${config_folder}" PATH_VARS headers)
write_basic_package_version_file("${generated}/KSTutlConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES
  "${generated}/KSTutlConfig.cmake" "${generated}/KSTutlConfigVersion.cmake"
  cmake/KSTutlCopyRuntime.cmake
  DESTINATION "${config_folder}" COMPONENT Development)

install(FILES debugger/kstutl_printers.py
  DESTINATION "${CMAKE_INSTALL_DATADIR}/kstutl/gdb" COMPONENT Development)
install(FILES debugger/KSTutl.natvis
  DESTINATION "${CMAKE_INSTALL_DATADIR}/kstutl/natvis" COMPONENT Development)

set(pc_folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH prefix_from_pc "/${pc_folder}" "/")
string(REGEX REPLACE "/$" "" prefix_from_pc "${prefix_from_pc}")
configure_file(cmake/kstutl.pc.in "${generated}/kstutl.pc" @ONLY)
install(FILES "${generated}/kstutl.pc" DESTINATION "${pc_folder}" COMPONENT Development)

# Programs, each with its page. They find the library beside them, but where the
# system does so anyway.
function(kstutl_install_tool target)
  install(TARGETS ${target} RUNTIME COMPONENT Tools)
  if(WIN32)
    return()
  endif()
  install(FILES packaging/man/${target}.1
    DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT Tools)
  if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/packaging/completion/${target}")
    install(FILES packaging/completion/${target}
      DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
      COMPONENT Tools)
  endif()
  file(RELATIVE_PATH libraries "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
  install(CODE "
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
      file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}/usr/${CMAKE_INSTALL_BINDIR}/${target}\")
    endif()" COMPONENT Tools)
endfunction()
if(KSTUTL_EXAMPLES)
  kstutl_install_tool(kst_truss)  # to try an installation with
endif()
if(KSTUTL_TOOLS)
  if(WIN32)
    # The terms of the library of plots, which is in two of them.
    install(FILES tools/common/page/licence.txt
      DESTINATION "${CMAKE_INSTALL_DOCDIR}/terms" RENAME libjs-chart.js.txt
      COMPONENT Tools)
  endif()
  get_property(programs DIRECTORY tools PROPERTY BUILDSYSTEM_TARGETS)
  foreach(program IN LISTS programs)
    get_target_property(type ${program} TYPE)
    if(type STREQUAL EXECUTABLE)
      kstutl_install_tool(${program})
    endif()
  endforeach()
endif()

# Where Debian's Python looks for modules, whatever its version.
if(KSTUTL_TOOLS AND NOT WIN32)
  install(DIRECTORY tools/python/kestra_utl DESTINATION lib/python3/dist-packages
    COMPONENT Python PATTERN "*.pyc" EXCLUDE PATTERN __pycache__ EXCLUDE)
endif()

install(FILES README.md SECURITY.md DESTINATION "${CMAKE_INSTALL_DOCDIR}"
  COMPONENT Documentation)
install(DIRECTORY docs examples DESTINATION "${CMAKE_INSTALL_DOCDIR}"
  COMPONENT Documentation)

# A project that this one is part of makes its own packages.
if(PROJECT_IS_TOP_LEVEL)
  include(KSTutlPackages)
endif()
