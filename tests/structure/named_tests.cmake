# Checks that every test and fuzz target that the pages name exists, so that none promises
# what nothing shows. ROOT is the repository.
cmake_minimum_required(VERSION 3.25)

# Sets `names` to the tests that a source makes: SUITE and SUITE.TEST, without the name of a
# test that CMake puts together.
function(find_tests text)
  set(found)
  string(REGEX MATCHALL "TEST(_F|_P)?\\([A-Za-z0-9_]+,[ \n]*[A-Za-z0-9_]+\\)" macros "${text}")
  foreach(macro IN LISTS macros)
    string(REGEX REPLACE "^.*\\(([A-Za-z0-9_]+),[ \n]*([A-Za-z0-9_]+)\\)$" "\\1;\\1.\\2"
      macro "${macro}")
    list(APPEND found ${macro})
  endforeach()
  string(REGEX MATCHALL "NAME [A-Za-z0-9]+Test\\.[A-Za-z0-9_]*" added "${text}")
  foreach(test IN LISTS added)
    string(REGEX REPLACE "^NAME ([A-Za-z0-9]+)(\\..*)$" "\\1;\\1\\2" test "${test}")
    list(APPEND found ${test})
  endforeach()
  set(names "${found}" PARENT_SCOPE)
endfunction()

# Sets `names` to the tests that a page names: SUITE, SUITE.TEST, and .TEST for another one
# of the same suite.
function(find_names text)
  set(found)
  set(suite)
  string(REPLACE ";" "," text "${text}")
  string(REGEX MATCHALL
    "[A-Z][A-Za-z0-9]*Test(\\.[A-Za-z0-9_]+)?[A-Za-z0-9]*|[ (\n]\\.[A-Z][A-Za-z0-9_]+"
    parts "${text}")
  foreach(name IN LISTS parts)
    if(name MATCHES "^[ (\n](\\..*)$")
      set(name "${suite}${CMAKE_MATCH_1}")
    elseif(name MATCHES "^[A-Za-z0-9]+Tests")
      continue()  # several suites in words
    endif()
    string(REGEX REPLACE "\\..*" "" suite "${name}")
    list(APPEND found "${name}")
  endforeach()
  string(REGEX MATCHALL "`[A-Za-z0-9_]+_fuzz`" targets "${text}")
  string(REPLACE "`" "" targets "${targets}")
  set(names ${found} ${targets} PARENT_SCOPE)
endfunction()

# First the check itself.
function(expect found expected)
  if(NOT found STREQUAL expected)
    message(SEND_ERROR "found \"${found}\", expected \"${expected}\"")
  endif()
endfunction()
find_tests("TEST_F(ATest, One) {}\nTEST(BTest,\n     Two) {}\nadd_test(NAME CTest.Three\nNAME DTest.\${name}\n")
expect("${names}" "ATest;ATest.One;BTest;BTest.Two;CTest;CTest.Three;DTest;DTest.")
find_names("| ATest.One, .Two; BTest (CTest.Three,\n.Four), the DTests. `x_fuzz`, tests/a.cpp")
expect("${names}" "ATest.One;ATest.Two;BTest;CTest.Three;CTest.Four;x_fuzz")

file(GLOB_RECURSE sources "${ROOT}/tests/*_test.cpp" "${ROOT}/tests/*.cmake"
  "${ROOT}/tests/CMakeLists.txt" "${ROOT}/fuzz/CMakeLists.txt")
list(FILTER sources EXCLUDE REGEX "/named_tests\\.cmake$")  # its own examples
set(tests)
foreach(source IN LISTS sources)
  file(READ "${source}" text)
  find_tests("${text}")
  list(APPEND tests ${names})
endforeach()
file(GLOB_RECURSE targets "${ROOT}/fuzz/*_fuzz.cpp")
foreach(target IN LISTS targets)
  get_filename_component(name "${target}" NAME_WE)
  list(APPEND tests "${name}")
endforeach()
list(REMOVE_DUPLICATES tests)

set(count 0)
foreach(page docs/reliability.md SECURITY.md tests/platform/differences.md
    tests/valgrind-left-out.txt)
  file(READ "${ROOT}/${page}" text)
  find_names("${text}")
  foreach(name IN LISTS names)
    math(EXPR count "${count} + 1")
    if(NOT name IN_LIST tests)
      message(SEND_ERROR "${page}: there is no test ${name}")
    endif()
  endforeach()
endforeach()
if(count LESS 100)
  message(SEND_ERROR "only ${count} names of tests found")
endif()
