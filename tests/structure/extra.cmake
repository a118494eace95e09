# What the sources may include.
add_test(NAME Structure.IncludesPointOneWay
  COMMAND "${CMAKE_COMMAND}" "-DROOT=${PROJECT_SOURCE_DIR}"
          -P "${CMAKE_CURRENT_SOURCE_DIR}/structure/includes.cmake")

# What the library does when it is loaded and unloaded.
set(library_objects $<TARGET_OBJECTS:kstutl_objects>)
if(NOT WIN32)
  list(APPEND library_objects $<TARGET_OBJECTS:kstutl_platform_calls>)
endif()
add_test(NAME Structure.NothingRunsAtLoadOrExit
  COMMAND "${CMAKE_COMMAND}" "-DNM=${CMAKE_NM}" "-DOBJECTS=${library_objects}"
          -P "${CMAKE_CURRENT_SOURCE_DIR}/structure/load_state.cmake")
set_tests_properties(Structure.IncludesPointOneWay Structure.NothingRunsAtLoadOrExit
  PROPERTIES TIMEOUT 60 LABELS structure)
