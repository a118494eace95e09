# The tools without their main functions.
if(NOT TARGET kstutl_tools)
  message(FATAL_ERROR "The tests of the tools need them: -DKSTUTL_TOOLS=ON")
endif()
target_link_libraries(${program} PRIVATE kstutl_tools)
target_compile_definitions(${program} PRIVATE
  KSTUTL_SOURCE="${PROJECT_SOURCE_DIR}" KSTUTL_CHART_JS="${KSTUTL_CHART_JS}")
