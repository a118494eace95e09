# What cpack makes of the components: five Debian packages on Linux, one zip for Windows.

set(KSTUTL_PACKAGE_CONTACT "Kestra Library Team <library@kestra.example>"
  CACHE STRING "Who maintains the packages, as NAME <MAIL>")

set(CPACK_PACKAGE_NAME kstutl)
set(CPACK_PACKAGE_VENDOR Kestra)
set(CPACK_PACKAGE_CONTACT "${KSTUTL_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_COMPONENTS_ALL Runtime Development Tools Documentation)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

if(KSTUTL_TOOLS AND NOT WIN32)
  list(APPEND CPACK_COMPONENTS_ALL Python)
endif()

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME "KSTutl-${PROJECT_VERSION}-win64")
  include(CPack)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(deb_runtime "libkstutl${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}")
set(deb_text "It holds files and directories, paths, patterns and encodings, the process
environment with its logs, and files of named sections with checksums.")

# A package: its component, name, section, the end of its first line, and what it is for.
macro(kstutl_debian_package component name section summary text)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_COMPONENT_${upper}_DESCRIPTION
    "general utility library of Kestra - ${summary}\n${deb_text}\n\n${text}")
endmacro()
kstutl_debian_package(Runtime ${deb_runtime} libs "shared library"
  "This package is needed by programs that use the library.")
kstutl_debian_package(Development libkstutl-dev libdevel "development files"
  "This package has what programs in C++, C and Fortran are built with.")
kstutl_debian_package(Tools kstutl-tools science "programs"
  "This package has programs on top of the library.")
kstutl_debian_package(Python python3-kestra-utl python "readers in Python"
  "This package has the module kestra_utl, which reads section files, resource
logs and files of the I/O tracker, into arrays and data frames where numpy
and pandas are there.")
kstutl_debian_package(Documentation kstutl-doc doc "documentation"
  "This package has the pages on file formats and use, and the examples.")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${deb_runtime} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${deb_runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.9)")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-numpy, python3-pandas")

# What Debian has every package say of itself.
string(TIMESTAMP deb_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(packaging/changelog.in "${generated}/changelog" @ONLY)
configure_file(packaging/complete.cmake.in "${generated}/complete.cmake" @ONLY)
set(CPACK_PRE_BUILD_SCRIPTS "${generated}/complete.cmake")
# The system runs ldconfig by itself where this says so.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  "${CMAKE_CURRENT_SOURCE_DIR}/packaging/triggers")
set(CPACK_POST_BUILD_SCRIPTS "${CMAKE_CURRENT_SOURCE_DIR}/packaging/finish.cmake")
include(CPack)
