# A second shared library beside KSTutl, as the product has many: it shows that
# a process has one of everything, whichever module asks.
add_client_library(second_library ${program})

# The formats of {fmt}, from its headers alone: good for every target. They lie among the
# system's, which a cross-build must not see.
find_path(FMT_INCLUDE_DIR fmt/format.h REQUIRED NO_CMAKE_FIND_ROOT_PATH)
set(fmt_headers "${CMAKE_CURRENT_BINARY_DIR}/fmt_headers")
file(MAKE_DIRECTORY "${fmt_headers}")
file(CREATE_LINK "${FMT_INCLUDE_DIR}/fmt" "${fmt_headers}/fmt" SYMBOLIC)
target_include_directories(${program} SYSTEM PRIVATE "${fmt_headers}")
target_compile_definitions(${program} PRIVATE FMT_HEADER_ONLY)

add_unload_test(ThrThreadExitTest.OutlivesTheUnloadingOfTheLibrary
  unload_client ${folder})
