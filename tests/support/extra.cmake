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
