# The page of the resource log shows one, which a test reads.
set_source_files_properties(utl/utl_ResourceMonitor_test.cpp PROPERTIES
  COMPILE_DEFINITIONS KST_RESOURCE_LOG_PAGE="${PROJECT_SOURCE_DIR}/docs/resource-log.md")

# So does that of the tracker's files.
set_source_files_properties(utl/utl_IOTracker_page_test.cpp PROPERTIES
  COMPILE_DEFINITIONS KST_IO_TRACKER_PAGE="${PROJECT_SOURCE_DIR}/docs/io-tracker.md")

# What public headers include is read from themselves.
set_source_files_properties(utl/EncoderHeaders_test.cpp PROPERTIES
  COMPILE_DEFINITIONS KST_PUBLIC_HEADERS="${PROJECT_SOURCE_DIR}/include/utl")

# A client of the library that ends it late.
add_library(late_end SHARED utl/late_end/late_end.cpp)
kstutl_compile_options(late_end)
generate_export_header(late_end
  EXPORT_FILE_NAME "${CMAKE_CURRENT_BINARY_DIR}/include/late_end_export.h")
set_target_properties(late_end PROPERTIES
  CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
target_include_directories(late_end PUBLIC
  "${CMAKE_CURRENT_BINARY_DIR}/include" "${CMAKE_CURRENT_SOURCE_DIR}/utl/late_end")
target_link_libraries(late_end PUBLIC KSTutl::KSTutl)
target_link_libraries(${program} PRIVATE late_end)

# A process that does not link the library, but loads it and lets go of it.
set(dynamic_library ${common_sources})
list(FILTER dynamic_library INCLUDE REGEX "/DynamicLibrary\\.cpp$")
add_executable(unload_tracker utl/unload/unload_tracker.cpp ${dynamic_library})
kstutl_compile_options(unload_tracker)
target_include_directories(unload_tracker PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
target_link_libraries(unload_tracker PRIVATE ${CMAKE_DL_LIBS} Threads::Threads)
add_dependencies(unload_tracker KSTutl)
add_test(NAME utl_IOTrackerProcessTest.TaskOutlivesTheUnloadingOfTheLibrary
  COMMAND unload_tracker "$<TARGET_FILE:KSTutl>")
set_tests_properties(utl_IOTrackerProcessTest.TaskOutlivesTheUnloadingOfTheLibrary PROPERTIES
  TIMEOUT 60 LABELS utl ${KSTUTL_TEST_PROPERTIES})
