# The truss program linked into the tests, its main under another name.
find_package(Eigen3 3.3 REQUIRED NO_MODULE NO_CMAKE_FIND_ROOT_PATH)
set(truss "${PROJECT_SOURCE_DIR}/examples/truss")
file(GLOB truss_sources CONFIGURE_DEPENDS "${truss}/*.cpp")
target_sources(${program} PRIVATE ${truss_sources})
set_source_files_properties("${truss}/main.cpp" PROPERTIES
  COMPILE_DEFINITIONS main=kst_truss_main SKIP_PRECOMPILE_HEADERS ON)
target_compile_definitions(${program} PRIVATE KST_TRUSS_DECKS="${truss}/decks/")
target_include_directories(${program} PRIVATE "${PROJECT_SOURCE_DIR}")
target_link_libraries(${program} PRIVATE Eigen3::Eigen)
# Eigen is unbearably slow without optimisation.
target_compile_options(${program} PRIVATE -O1)

# And as it is shipped: each deck, with an export taken back, and one that is none.
if(TARGET kst_truss)
  foreach(deck plane_truss space_truss tower)
    add_test(NAME TrussProgramTest.Solves_${deck}
      COMMAND kst_truss -job ${deck} -outdir "${CMAKE_CURRENT_BINARY_DIR}"
        -export ${deck}.bin -import ${deck}.bin "${truss}/decks/${deck}.deck")
  endforeach()
  add_test(NAME TrussProgramTest.RefusesItsGenerator
    COMMAND kst_truss -job bad -outdir "${CMAKE_CURRENT_BINARY_DIR}"
      "${truss}/decks/make_tower.awk")
  set_tests_properties(TrussProgramTest.RefusesItsGenerator PROPERTIES WILL_FAIL ON)
  set_tests_properties(
    TrussProgramTest.Solves_plane_truss TrussProgramTest.Solves_space_truss TrussProgramTest.Solves_tower
    TrussProgramTest.RefusesItsGenerator PROPERTIES TIMEOUT 300 LABELS examples)
endif()
