# The page of the resource log shows one, which a test reads.
set_source_files_properties(utl/utl_ResourceMonitor_test.cpp PROPERTIES
  COMPILE_DEFINITIONS KST_RESOURCE_LOG_PAGE="${PROJECT_SOURCE_DIR}/docs/resource-log.md")
