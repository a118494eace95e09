# The page of the resource log shows one, which a test reads.
set_source_files_properties(utl/utl_ResourceMonitor_inside_test.cpp PROPERTIES
  COMPILE_DEFINITIONS KST_RESOURCE_LOG_PAGE="${PROJECT_SOURCE_DIR}/docs/resource-log.md")

# So does that of the tracker's files.
set_source_files_properties(utl/tracker/utl_IOTracker_page_test.cpp PROPERTIES
  COMPILE_DEFINITIONS KST_IO_TRACKER_PAGE="${PROJECT_SOURCE_DIR}/docs/io-tracker.md")

# What public headers include is read from themselves.
set_source_files_properties(utl/EncoderHeaders_test.cpp PROPERTIES
  COMPILE_DEFINITIONS KST_PUBLIC_HEADERS="${PROJECT_SOURCE_DIR}/include/utl")

# Keys and values that the tree map does not have are refused with a sentence.
foreach(wrong "int,double" "std::string,int")
  add_test(NAME BtreeArgumentsTest.Refuses_${wrong}
    COMMAND "${CMAKE_CXX_COMPILER}" -std=c++20 -fsyntax-only
      "-I${PROJECT_SOURCE_DIR}/include" "-I${PROJECT_BINARY_DIR}/include"
      "-DMAP=omi_Btree<${wrong}>" "${CMAKE_CURRENT_SOURCE_DIR}/clients/wrong_map/wrong_map.cpp")
  set_tests_properties(BtreeArgumentsTest.Refuses_${wrong} PROPERTIES
    PASS_REGULAR_EXPRESSION "omi_Btree exists for <int, int>, <cow_String, int> and"
    LABELS ${folder})
endforeach()

# So are values of a section that would not be the same when they are read.
foreach(wrong std::string bool int*)
  add_test(NAME MultisectionArgumentsTest.Refuses_${wrong}
    COMMAND "${CMAKE_CXX_COMPILER}" -std=c++20 -fsyntax-only
      "-I${PROJECT_SOURCE_DIR}/include" "-I${PROJECT_BINARY_DIR}/include"
      "-DVALUE=${wrong}" "${CMAKE_CURRENT_SOURCE_DIR}/clients/wrong_section/wrong_section.cpp")
  set_tests_properties(MultisectionArgumentsTest.Refuses_${wrong} PROPERTIES
    PASS_REGULAR_EXPRESSION "a section has values without pointers and constructors, no bool"
    LABELS ${folder})
endforeach()

# A client of the library that ends it late.
add_client_library(late_end ${program})

add_unload_test(IOTrackerProcessTest.TaskOutlivesTheUnloadingOfTheLibrary
  unload_tracker ${folder})
