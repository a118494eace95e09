# What a failure that nobody asks for does to a program that has a file locked.
execute_process(COMMAND ${PROGRAM} -fail
  RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE error)
set(expected "kst_option: Command line argument absent is required.\n")
string(REPLACE "\r" "" error "${error}")
if(NOT status EQUAL 1 OR NOT output STREQUAL "" OR NOT error STREQUAL expected)
  message(FATAL_ERROR "status ${status}, output: ${output}, error: ${error}")
endif()
if(EXISTS "${CMAKE_CURRENT_BINARY_DIR}/frame.kdb.lock")
  message(FATAL_ERROR "the lock is still there")
endif()
if(NOT EXISTS "${CMAKE_CURRENT_BINARY_DIR}/frame.kdb")
  message(FATAL_ERROR "no file was opened")
endif()
