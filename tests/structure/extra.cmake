# What the sources may include.
add_test(NAME StructureTest.IncludesPointOneWay
  COMMAND "${CMAKE_COMMAND}" "-DROOT=${PROJECT_SOURCE_DIR}"
          -P "${CMAKE_CURRENT_SOURCE_DIR}/structure/includes.cmake")

# What the library does when it is loaded and unloaded.
set(library_objects $<TARGET_OBJECTS:kstutl_objects>)
if(NOT WIN32)
  list(APPEND library_objects $<TARGET_OBJECTS:kstutl_platform_calls>)
endif()
add_test(NAME StructureTest.NothingRunsAtLoadOrExit
  COMMAND "${CMAKE_COMMAND}" "-DNM=${CMAKE_NM}" "-DOBJECTS=${library_objects}"
          -P "${CMAKE_CURRENT_SOURCE_DIR}/structure/load_state.cmake")
set_tests_properties(StructureTest.IncludesPointOneWay StructureTest.NothingRunsAtLoadOrExit
  PROPERTIES TIMEOUT 60 LABELS structure)

# A client of every public header, built without optimisation.
file(GLOB every_header CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}/include"
  "${PROJECT_SOURCE_DIR}/include/*/*.h")
list(TRANSFORM every_header REPLACE "(.+)" "#include \"\\1\"\n")
list(JOIN every_header "" every_header)
file(CONFIGURE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/include/every_header.h"
  CONTENT "#pragma once\n\n${every_header}" @ONLY)
add_executable(every_header clients/every_header/every_header.cpp)
kstutl_compile_options(every_header)
target_compile_options(every_header PRIVATE -O0 -fno-inline)
target_include_directories(every_header PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/include")
target_link_libraries(every_header PRIVATE KSTutl::KSTutl)
add_test(NAME StructureTest.EveryHeaderServesAnUnoptimisedClient COMMAND every_header)
set_tests_properties(StructureTest.EveryHeaderServesAnUnoptimisedClient PROPERTIES
  TIMEOUT 60 LABELS structure ${KSTUTL_TEST_PROPERTIES})
