# A second shared library beside KSTutl, as the product has many: it shows that
# a process has one of everything, whichever module asks.

add_library(second_library SHARED support/second_library/second_library.cpp)
kstutl_compile_options(second_library)
generate_export_header(second_library
  EXPORT_FILE_NAME "${CMAKE_CURRENT_BINARY_DIR}/include/second_library_export.h")
set_target_properties(second_library PROPERTIES
  CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
target_include_directories(second_library PUBLIC "${CMAKE_CURRENT_BINARY_DIR}/include")
target_link_libraries(second_library PUBLIC KSTutl::KSTutl)
target_link_libraries(${program} PRIVATE second_library)

# A process that does not link the library, but loads it and lets go of it.
set(dynamic_library ${common_sources})
list(FILTER dynamic_library INCLUDE REGEX "/DynamicLibrary\\.cpp$")
add_executable(unload_client support/unload/unload_client.cpp ${dynamic_library})
kstutl_compile_options(unload_client)
target_include_directories(unload_client PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
target_link_libraries(unload_client PRIVATE ${CMAKE_DL_LIBS} Threads::Threads)
add_dependencies(unload_client KSTutl)
add_test(NAME thr_ThreadExit.OutlivesTheUnloadingOfTheLibrary
  COMMAND unload_client "$<TARGET_FILE:KSTutl>")
set_tests_properties(thr_ThreadExit.OutlivesTheUnloadingOfTheLibrary PROPERTIES
  TIMEOUT 60 LABELS support ${KSTUTL_TEST_PROPERTIES})
